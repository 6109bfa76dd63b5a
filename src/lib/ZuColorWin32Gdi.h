// Colours on their way between the portable toolkit and GDI.
#pragma once

#include "ZuDescriptors.h"
#include "ZuHandleWin32Gdi.h"

namespace zustd {

// GDI's form of a colour, black when it is unset.
constexpr COLORREF nativeColor(Color color) noexcept {
    return color.red | COLORREF{color.green} << 8U | COLORREF{color.blue} << 16U;
}

// A colour of the user's settings, by its COLOR_ index.
inline Color systemColor(int index) noexcept {
    const COLORREF color = GetSysColor(index);
    return Color::rgb(GetRValue(color), GetGValue(color), GetBValue(color));
}

// Answers requests for a widget's background; keeps the brush of the last colour.
class BackgroundBrush {
public:
    // Of this object, until another colour is wanted.
    LRESULT answer(HDC context, Color color) {
        if (!brush_ || color != color_) {
            brush_.reset(CreateSolidBrush(nativeColor(color)));
            color_ = color;
        }
        SetBkColor(context, nativeColor(color));
        return reinterpret_cast<LRESULT>(brush_.get());
    }

private:
    BrushHandle brush_;
    Color color_;
};

}  // namespace zustd
