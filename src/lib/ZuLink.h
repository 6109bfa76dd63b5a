// A text that can be clicked, drawn as a link.
#pragma once

#include "ZuDrawnText.h"

namespace zustd {

class Link : public PressedText {
public:
    explicit Link(const std::wstring& text = {}) : PressedText(text) {
        setCursor(MouseCursor::kHand);
    }

protected:
    // Underlined while the pointer is over the link.
    FontStyle fontStyle() const override {
        FontStyle style = DrawnText::fontStyle();
        style.underline = style.underline || (isHovered() && isUsable());
        return style;
    }
    void drawSelf(GraphicsService& graphics) override {
        drawBackground(graphics);
        const ColorRole role = isHovered() ? ColorRole::kHoverLink : ColorRole::kLink;
        drawTextIn(graphics, innerArea(), frontColor(*this, role));
        if (hasFocus()) {
            graphics.drawFocusFrame(area());
        }
    }
};

}  // namespace zustd
