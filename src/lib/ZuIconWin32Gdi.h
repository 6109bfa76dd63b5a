// Icons from bitmaps: what native controls blend with what lies below.
#pragma once

#include "ZuBitmapWin32Gdi.h"
#include "ZuHandleWin32Gdi.h"

namespace zustd {

// An icon of the bitmap's size; empty for an empty bitmap and when the system
// has none to give.
IconHandle makeIcon(const BitmapWin32Gdi& bitmap);

}  // namespace zustd
