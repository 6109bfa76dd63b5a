#include "ZuDrawnText.h"

#include "ZuAccessKeys.h"
#include "ZuWindowService.h"

namespace zustd {

namespace {

// In the order of ColorRole.
constexpr Color kUsualColors[kColorRoleCount] = {
    Color::black(),                // kText
    Color(),                       // kBackground
    Color::rgb(0x6D, 0x6D, 0x6D),  // kDisabledText
    Color::rgb(0x00, 0x78, 0xD7),  // kSelectedBackground
    Color::black(),                // kHoverText
    Color::rgb(0xDA, 0xEC, 0xFB),  // kHoverBackground
    Color::rgb(0xAD, 0xAD, 0xAD),  // kBorder
    Color::rgb(0x00, 0x5F, 0xB8),  // kLink
    Color::rgb(0x00, 0x8A, 0xE6),  // kHoverLink
};

}  // namespace

Color drawnColor(const Control& control, ColorRole role) noexcept {
    return control.color(role, kUsualColors[static_cast<std::size_t>(role)]);
}

Color frontColor(const Control& control, ColorRole role) noexcept {
    return drawnColor(control, control.isUsable() ? role : ColorRole::kDisabledText);
}

bool isPressingKey(const KeyEvent& event) noexcept {
    return (event.key == kKeySpace || event.key == kKeyEnter) &&
           !event.has(kModifierControl | kModifierAlt);
}

Size measuredText(const Control& control, std::wstring_view text, const FontStyle& style,
                  std::int32_t width) {
    const std::shared_ptr<WindowService> window = control.windowService();
    const std::shared_ptr<Font> font = window ? window->getFont(style) : nullptr;
    const std::shared_ptr<GraphicsService> graphics = font ? control.graphicsService() : nullptr;
    return graphics ? graphics->measureTextSize(text, *font, width) : Size();
}

bool DrawnText::setText(const std::wstring& text) {
    if (text_ && text_->resource().identifier == 0 && text_->literal() == text) {
        return false;
    }
    return setTextDescriptor(std::make_shared<TextDescriptor>(text));
}

bool DrawnText::setTextAlignment(TextAlignment horizontal, TextAlignment vertical) {
    TextFormat format = format_;
    format.horizontal = horizontal;
    format.vertical = vertical;
    return changeFormat(format);
}

Size DrawnText::preferredSize() {
    const std::int32_t maximum = placement().maximum.width;
    return sizeAround(textSize(maximum > 0 ? innerWidth(maximum) : 0));
}

Size DrawnText::preferredSizeForWidth(std::int32_t width) {
    return sizeAround(textSize(innerWidth(limited(width, placement().maximum.width))));
}

Size DrawnText::textSize(std::int32_t width) const {
    const std::wstring shown = format_.accelerators ? withoutAccessKeys(text()) : text();
    return measuredText(*this, shown, fontStyle(), format_.wordWrap ? width : 0);
}

void DrawnText::drawTextIn(GraphicsService& graphics, const Rect& area, Color color) const {
    const std::shared_ptr<WindowService> window = windowService();
    const auto font = window ? window->getFont(fontStyle()) : nullptr;
    const std::wstring shown = text();
    if (font && !shown.empty() && !area.isEmpty()) {
        graphics.drawText(shown, area, *font, color, format_);
    }
}

bool PressedText::onKey(const KeyEvent& event) {
    const bool presses = isPressingKey(event);
    if (presses) {
        click();
    }
    return presses;
}

}  // namespace zustd
