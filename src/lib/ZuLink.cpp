#include "ZuLink.h"

namespace zustd {

FontStyle Link::fontStyle() const {
    FontStyle style = DrawnText::fontStyle();
    style.underline = style.underline || (isHovered() && isUsable());
    return style;
}

void Link::drawSelf(GraphicsService& graphics) {
    Control::drawSelf(graphics);
    const ColorRole role = isHovered() ? ColorRole::kHoverLink : ColorRole::kLink;
    drawTextIn(graphics, innerArea(), inkColor(*this, role));
    if (hasFocus()) {
        graphics.drawFocusFrame(area());
    }
}

}  // namespace zustd
