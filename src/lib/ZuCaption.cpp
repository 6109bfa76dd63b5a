#include "ZuCaption.h"

namespace zustd {

Caption::Caption(const std::wstring& text) : DrawnText(text) {
    TextFormat format;
    format.vertical = TextAlignment::kCentre;
    format.ellipsis = true;
    changeFormat(format);
    setTakesMouse(false);
}

FontStyle Caption::fontStyle() const {
    FontStyle style = DrawnText::fontStyle();
    style.bold = style.bold || !fontDescriptor();
    return style;
}

}  // namespace zustd
