#include "Page.h"

#include <algorithm>

#include "ZuFont.h"
#include "ZuGraphicsService.h"
#include "ZuNativeButton.h"

namespace zustd::gallery {

namespace {

constexpr std::int32_t kHeadingSize = 12;
constexpr std::int32_t kFieldInset = 5;
constexpr std::int32_t kLowestField = 20;

class Handler : public MessageSink {
public:
    Handler(const MessageKind& kind, std::function<void(MessageWord)> handler)
        : kind_(kind), handler_(std::move(handler)) {}

    bool onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord b) override {
        if (&kind != &kind_) {
            return false;
        }
        handler_(b);
        return true;
    }

private:
    const MessageKind& kind_;
    std::function<void(MessageWord)> handler_;
};

}  // namespace

Text::Text(std::wstring text, bool isHeading) : text_(std::move(text)), isHeading_(isHeading) {
    setTakesMouse(false);
}

Size Text::preferredSize() {
    const auto graphics = graphicsService();
    const auto font = this->font();
    return graphics && font ? graphics->measureTextSize(text_, *font) : Size{};
}

void Text::drawSelf(GraphicsService& graphics) {
    if (const auto font = this->font()) {
        const Color own = color(ColorRole::kText);
        Rect line = area();
        line.top = std::min(line.top + scale(inset_), line.bottom);
        graphics.drawText(text_, line, *font, own.isSet ? own : Color::rgb(0, 0, 0),
                          {.ellipsis = true});
    }
}

std::shared_ptr<Font> Text::font() const {
    FontStyle style;
    style.bold = isHeading_;
    style.size = isHeading_ ? kHeadingSize : 0;
    const auto windows = windowService();
    return windows ? windows->getFont(style) : nullptr;
}

PageBuilder::PageBuilder(WindowService& windows, Control& page) : windows_(windows), page_(page) {
    page.setArrangement({.flow = Flow::kColumns,
                         .spacing = {0, page.scale(6)},
                         .margin = {page.scale(12), page.scale(10)}});
}

void PageBuilder::section(const std::wstring& heading) {
    if (!heading.empty()) {
        page_.addChild(makeControl<Text>(heading, true));
    }
    row_ = makeControl<Control>();
    row_->setArrangement({.flow = Flow::kRows,
                          .vertical = Alignment::kCentre,
                          .spacing = {page_.scale(8), page_.scale(6)},
                          .wrap = true,
                          .measure = false});
    page_.addChild(row_);
}

void PageBuilder::breakLine() { row_->children().back()->setPlacement({.breaksLineAfter = true}); }

void PageBuilder::finish() {
    for (const std::shared_ptr<Control>& widget : measured_) {
        widget->setSize(widget->preferredSize());
    }
    page_.arrange();
}

void PageBuilder::on(Control& control, const MessageKind& kind,
                     std::function<void(MessageWord)> handler) {
    control.connect(std::make_shared<Handler>(kind, std::move(handler)), false);
}

void PageBuilder::scene(const std::wstring& caption, Scene scene) {
    const auto button = add(windows_.createNativeButton());
    button->setCaption(literal(caption));
    on(*button, NativeButton::kLeftClicked, [open = scene.open](MessageWord) { open(); });
    scenes_.push_back(std::move(scene));
}

void PageBuilder::place(const std::shared_ptr<Control>& widget, Size size) {
    if (!widget) {
        throw SystemException(L"The window service has no such widget");
    }
    if (size.isEmpty()) {
        measured_.push_back(widget);
    } else {
        widget->setSize({page_.scale(size.width), page_.scale(size.height)});
    }
    row_->addChild(widget);
}

void PageBuilder::placeLabel(const std::wstring& label, std::int32_t width,
                             std::int32_t fieldHeight) {
    // Between the upper edge of a field and its first line; a bar has its text,
    // or would have it, in the middle.
    const auto name = makeControl<Text>(label, false);
    name->setInset(fieldHeight < kLowestField ? 0 : kFieldInset);
    place(name, {width, fieldHeight});
}

std::shared_ptr<TextDescriptor> literal(const std::wstring& text) {
    return std::make_shared<TextDescriptor>(text);
}

std::shared_ptr<TextDescriptor> numbered(std::uint64_t key) {
    auto text = std::make_shared<TextDescriptor>();
    text->setIdentifier(key);
    return text;
}

}  // namespace zustd::gallery
