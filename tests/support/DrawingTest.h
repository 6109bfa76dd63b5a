// What the tests of the Windows backend share: a canvas in memory whose pixels
// can be asked for, and the number of drawing objects that the process has.
#pragma once

#include <cstdint>
#include <functional>

#include "ZuBitmapWin32Gdi.h"
#include "ZuGeometry.h"
#include "ZuHandleWin32Gdi.h"

namespace zustd::test {

inline constexpr std::uint32_t kWhite = 0xFFFFFF;

// A white bitmap in memory.
class Canvas {
public:
    explicit Canvas(Size size);

    HDC context() const noexcept { return context_.get(); }
    Rect area() const noexcept { return Rect::at({}, size_); }
    // 0xRRGGBB; white outside.
    std::uint32_t pixel(std::int32_t x, std::int32_t y) const;
    // How many pixels inside an area are not white.
    int inkCount(const Rect& area) const;
    bool isLike(const Canvas& other) const;

private:
    Size size_;
    MemoryDeviceContext context_{CreateCompatibleDC(nullptr)};
    PixelBitmap bitmap_{size_};
    SelectedObject selected_{context_.get(), bitmap_.handle.get()};
};

// Fonts, brushes, bitmaps, contexts ... alive now.
int drawingObjectCount();

// Runs the message loop for so many milliseconds, or until done() says so.
void runMessages(
    std::uint32_t milliseconds, const std::function<bool()>& done = [] { return false; });

}  // namespace zustd::test
