#include "ZuButton.h"

#include "ZuIcon.h"

namespace zustd {

namespace {

// Between the border and the content, and between image and text; at a scaling factor of 1.
constexpr Size kPadding{10, 5};
constexpr std::int32_t kGap = 5;

constexpr Color kFace = Color::rgb(0xE4, 0xE4, 0xE4);

// A part of the way, in 256ths, from one colour to another.
Color mixed(Color from, Color to, int part) noexcept {
    const auto channel = [part](std::uint8_t a, std::uint8_t b) {
        return static_cast<std::uint8_t>(a + (b - a) * part / 256);
    };
    return Color::rgb(channel(from.red, to.red), channel(from.green, to.green),
                      channel(from.blue, to.blue));
}

constexpr Color kLight = Color::rgb(0xFF, 0xFF, 0xFF);

}  // namespace

Button::Button(const std::wstring& text) : PressedText(text) {
    changeFormat({.vertical = TextAlignment::kCentre, .ellipsis = true, .accelerators = true});
}

Size Button::preferredSize() {
    const Size content = contentSize(drawnBitmap(*this, bitmap_).size, textSize());
    return withinLimits(content.grownBy({scale(kPadding.width), scale(kPadding.height)}));
}

bool Button::sendMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    if (toggles_ && kind == kLeftClicked && a.object<Control>() == this) {
        setChecked(!checked_);
    }
    return PressedText::sendMessage(kind, a, b);
}

void Button::drawSelf(GraphicsService& graphics) {
    drawFace(graphics);
    const DrawnBitmap image = drawnBitmap(*this, bitmap_);
    const Size text = textSize();
    const Size content = contentSize(image.size, text);
    const std::int32_t padding = std::min(scale(kPadding.width), boundary().width() / 4);
    const Rect room = area().shrunkBy(padding, 1);
    std::int32_t left = std::max(room.left + (room.width() - content.width) / 2, room.left);
    if (image.bitmap) {
        drawBitmapAt(graphics, *this, image,
                     {left, room.top + (room.height() - image.size.height) / 2}, 1.0);
        left = saturate(std::int64_t{left} + image.size.width + scale(kGap));
    }
    const std::int32_t right = std::min(room.right, saturatedSum(left, text.width - 1));
    drawTextIn(graphics, {left, room.top, right, room.bottom},
               frontColor(*this, isHovered() ? ColorRole::kHoverText : ColorRole::kText));
    if (hasFocus()) {
        graphics.drawFocusFrame(area().shrunkBy(scale(2), scale(2)));
    }
}

void Button::drawFace(GraphicsService& graphics) const {
    Color face = color(ColorRole::kBackground, kFace);
    Color border = drawnColor(*this, ColorRole::kBorder);
    const bool usable = isUsable();
    const bool pressed = usable && isLeftPressed() && isHovered();
    if (usable && (isHovered() || checked_)) {
        face = drawnColor(*this, ColorRole::kHoverBackground);
        border = drawnColor(*this, ColorRole::kSelectedBackground);
    }
    // Lit from below it lies deeper than the window.
    const Color top = pressed || checked_ ? mixed(face, Color::black(), pressed ? 40 : 20)
                                          : mixed(face, kLight, usable ? 160 : 100);
    graphics.drawGradient(area(), top, face, zuGradientVertical);
    graphics.setPen(border, std::max(scale(1), 1));
    graphics.drawRectangle(area());
}

Size Button::contentSize(Size image, Size text) const {
    const bool both = !image.isEmpty() && !text.isEmpty();
    return {saturate(std::int64_t{image.width} + text.width + (both ? scale(kGap) : 0)),
            std::max(image.height, text.height)};
}

}  // namespace zustd
