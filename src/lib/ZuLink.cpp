#include "ZuLink.h"

namespace zustd {

Link::Link(const std::wstring& text) : DrawnText(text) {
    setFocusable(true);
    setCursor(MouseCursor::kHand);
}

void Link::click() {
    if (isUsable()) {
        notify(kLeftClicked, wordOfPoint({0, 0}));
    }
}

bool Link::onKey(const KeyEvent& event) {
    if (!isPressingKey(event)) {
        return false;
    }
    click();
    return true;
}

FontStyle Link::fontStyle() const {
    FontStyle style = DrawnText::fontStyle();
    style.underline = style.underline || (isHovered() && isUsable());
    return style;
}

void Link::drawSelf(GraphicsService& graphics) {
    drawBackground(graphics);
    const ColorRole role = isHovered() ? ColorRole::kHoverLink : ColorRole::kLink;
    drawTextIn(graphics, innerArea(), inkColor(*this, role));
    if (hasFocus()) {
        graphics.drawFocusFrame(area());
    }
}

}  // namespace zustd
