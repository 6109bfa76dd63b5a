// Icons from bitmaps: what native controls blend with what lies below.
#pragma once

#include "ZuBitmapWin32Gdi.h"
#include "ZuHandleWin32Gdi.h"

namespace zustd {

// An icon of the bitmap's size, with so many empty columns behind it; empty for
// an empty bitmap and when the system has none to give. Throws SystemException
// when there is no room for its pixels.
IconHandle makeIcon(const BitmapWin32Gdi& bitmap, std::int32_t space);

}  // namespace zustd
