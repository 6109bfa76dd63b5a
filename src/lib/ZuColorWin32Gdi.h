// Colours on their way between the portable toolkit and GDI.
#pragma once

#include "ZuDescriptors.h"
#include "ZuWindows.h"

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

// Answers a request for a widget's background.
inline LRESULT answerBackground(HDC context, Color color) noexcept {
    SetBkColor(context, nativeColor(color));
    SetDCBrushColor(context, nativeColor(color));
    return reinterpret_cast<LRESULT>(GetStockObject(DC_BRUSH));
}

}  // namespace zustd
