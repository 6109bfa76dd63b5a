#include "Page.h"

#include <algorithm>

#include "ZuFont.h"
#include "ZuGraphicsService.h"
#include "ZuNativeButton.h"

namespace zustd::gallery {

namespace {

constexpr std::int32_t kHeadingSize = 12;
// Of fields; the text of a label stands beside their first line.
constexpr std::int32_t kFieldHeight = 24;

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
        line.bottom = std::min(line.bottom, scale(kFieldHeight) - 1);
        graphics.drawText(text_, line, *font, own.isSet ? own : Color::rgb(0, 0, 0),
                          {.vertical = TextAlignment::kCentre, .ellipsis = true});
    }
}

std::shared_ptr<Font> Text::font() const {
    FontStyle style;
    style.bold = isHeading_;
    style.size = isHeading_ ? kHeadingSize : style.size;
    const auto windows = windowService();
    return windows ? windows->getFont(style) : nullptr;
}

PageBuilder::PageBuilder(WindowService& windows, Control& page) : windows_(windows), page_(page) {
    page.setArrangement(Arrangement::kColumns);
    page.setSpacing(0, page.scale(6));
    page.setMargins(page.scale(12), page.scale(10));
}

void PageBuilder::section(const std::wstring& heading) {
    if (!heading.empty()) {
        page_.addChild(makeControl<Text>(heading, true));
    }
    row_ = makeControl<Control>();
    row_->setArrangement(Arrangement::kRows);
    row_->setMeasuresChildren(false);
    row_->setWraps(true);
    row_->setSpacing(page_.scale(8), page_.scale(6));
    row_->setAlignment(Alignment::kStart, Alignment::kCentre);
    page_.addChild(row_);
}

void PageBuilder::breakLine() { row_->children().back()->setBreaksLineAfter(true); }

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

std::shared_ptr<TextDescriptor> literal(const std::wstring& text) {
    return std::make_shared<TextDescriptor>(text);
}

std::shared_ptr<TextDescriptor> numbered(std::uint64_t key) {
    auto text = std::make_shared<TextDescriptor>();
    text->setIdentifier(key);
    return text;
}

}  // namespace zustd::gallery
