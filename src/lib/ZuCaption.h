// A line of text, such as a heading: bold unless it is given a font, and ended
// by dots where it does not fit.
#pragma once

#include "ZuDrawnText.h"

namespace zustd {

class Caption : public DrawnText {
public:
    explicit Caption(const std::wstring& text = {}) : DrawnText(text) {
        changeFormat({.vertical = TextAlignment::kCentre, .ellipsis = true});
        setTakesMouse(false);
    }

protected:
    FontStyle fontStyle() const override {
        FontStyle style = DrawnText::fontStyle();
        style.bold = style.bold || !fontDescriptor();
        return style;
    }
};

}  // namespace zustd
