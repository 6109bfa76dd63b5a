#include "ZuTooltip.h"

#include "ZuApplicationService.h"
#include "ZuNativeDialog.h"
#include "ZuPropertyBag.h"
#include "ZuTimer.h"
#include "ZuWindowService.h"

namespace zustd {

namespace {

// At a scaling factor of 1.
constexpr Size kMargin{6, 3};
constexpr Color kPaper = Color::rgb(0xFF, 0xFF, 0xE1);
constexpr Color kFrame = Color::rgb(0x76, 0x76, 0x76);

TooltipOptions optionsOf(const Control& control) {
    return control.tooltipOptions() ? *control.tooltipOptions() : TooltipOptions();
}

// The window's object of this name, which is made when there is none.
template <class T, class Make>
std::shared_ptr<T> named(WindowService& window, const std::wstring& key, Make&& make) {
    auto object = std::dynamic_pointer_cast<T>(window.getNamedObject(key));
    if (!object && (object = make())) {
        window.setNamedObject(key, object);
    }
    return object;
}

std::shared_ptr<NativeDialog> dialogFor(const Control& control, WindowService& window) {
    return named<NativeDialog>(window, tooltipDialogKey(control), [&window] {
        auto dialog = window.createNativeDialog(NativeDialog::kStylePopup);
        if (dialog) {
            dialog->addChild(makeControl<Tooltip>());
        }
        return dialog;
    });
}

void fillDialog(NativeDialog& dialog, const Control& control, const TooltipOptions& options) {
    Tooltip& content = static_cast<Tooltip&>(*dialog.children().front());
    content.setText(control.tooltip().text(control));
    content.setFont(options.font);
    content.setColors(options.colors);
    content.setPlacement({.maximum = options.maximumSize});
    const Size size = content.preferredSize();
    content.setBoundary(Rect::at({}, size));
    dialog.setSize(size);
}

void displayTooltip(Control& control, Point place) {
    control.notify(Control::kBeforeDisplayTooltip);
    const std::shared_ptr<WindowService> window = control.windowService();
    // A receiver may have hidden the tooltip, which takes the timer away.
    if (!window || !control.isShown() || control.tooltip().text(control).empty() ||
        !window->getNamedObject(tooltipTimerKey(control))) {
        return;
    }
    const std::shared_ptr<NativeDialog> dialog = dialogFor(control, *window);
    if (!dialog) {
        return;
    }
    const TooltipOptions options = optionsOf(control);
    fillDialog(*dialog, control, options);
    // Coordinates left of or above the main screen are taken for its edge.
    dialog->moveTo(window->getClientPosition().movedBy(place).movedBy(options.offset));
    dialog->show(false);
}

// Shows the tooltip when the delay has passed. Held by the timer; holds the control weakly.
class TooltipDelay : public MessageSink {
public:
    TooltipDelay(const std::shared_ptr<Control>& control, Point place)
        : control_(control), place_(place) {}

    bool onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord) override {
        const bool passed = kind == Timer::kTimerTick;
        if (const auto control = passed ? control_.lock() : nullptr) {
            displayTooltip(*control, place_);
        }
        return passed;
    }

private:
    std::weak_ptr<Control> control_;
    Point place_;
};

}  // namespace

std::wstring tooltipTimerKey(const Control& control) { return L"TTTIMER:" + control.idText(); }

std::wstring tooltipDialogKey(const Control& control) { return L"TTDIALOG:" + control.idText(); }

Tooltip::Tooltip() {
    changeFormat(&TextFormat::wordWrap, true);
    setTakesMouse(false);
    setArrangement({.margin = kMargin});
}

Size Tooltip::preferredSize() {
    const Size text = textSize();
    const Size maximum = placement().maximum;
    if (maximum.isEmpty()) {
        return text.grownBy(arrangement().margin);
    }
    const std::int32_t room = innerWidth(maximum.width);
    return sizeAround(text.width > room ? textSize(room) : text);
}

void Tooltip::drawSelf(GraphicsService& graphics) {
    graphics.drawRectangle(area(), color(ColorRole::kBackground, kPaper));
    graphics.setPen(color(ColorRole::kBorder, kFrame), 1);
    graphics.drawRectangle(area());
    drawTextIn(graphics, innerArea(), color(ColorRole::kText, Color::black()));
}

void Tooltip::onJoinedSurface() {
    setArrangement({.margin = {scale(kMargin.width), scale(kMargin.height)}});
}

// The timer and the dialog stay until the tooltip is hidden.
void Control::showTooltip(Point place) {
    const std::shared_ptr<Control> held = sharedReference(this);
    const auto window = surface() != nullptr ? windowService() : nullptr;
    const auto preferences = preferencesOf(*this);
    const bool wanted = !preferences || preferences->getBool(L"showTooltips", true);
    if (tooltip_.isEmpty() || !held || !window || !wanted) {
        return;
    }
    const auto timer = named<Timer>(*window, tooltipTimerKey(*this),
                                    [&window] { return window->createTimer(L"ttTimer"); });
    if (!timer) {
        return;
    }
    // Its window is made when it is shown.
    dialogFor(*this, *window);
    timer->disconnectAll();
    timer->connect(std::make_shared<TooltipDelay>(held, place), false);
    timer->start(optionsOf(*this).delay, false);
}

void Control::hideTooltip() const {
    const std::shared_ptr<WindowService> window = windowService();
    if (!window) {
        return;
    }
    std::wstring key = tooltipTimerKey(*this);
    if (const auto timer = std::dynamic_pointer_cast<Timer>(window->getNamedObject(key))) {
        timer->stop();
        window->removeNamedObject(key);
    }
    key = tooltipDialogKey(*this);
    if (const auto dialog = std::dynamic_pointer_cast<NativeDialog>(window->getNamedObject(key))) {
        window->removeNamedObject(key);
        dialog->hide(kAnswerNone);
    }
}

}  // namespace zustd
