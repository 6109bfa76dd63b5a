// What the tests of the Windows backend share: a canvas in memory whose pixels
// can be asked for, and the number of drawing objects that the process has.
#pragma once

#include <cstdint>
#include <functional>

#include "ZuGeometry.h"
#include "ZuHandleWin32Gdi.h"

namespace zustd::test {

inline constexpr std::uint32_t kWhite = 0xFFFFFF;
inline constexpr std::uint32_t kBlack = 0x000000;

// A white bitmap in memory.
class Canvas {
public:
    explicit Canvas(Size size);

    HDC context() const noexcept { return context_.get(); }
    Rect area() const noexcept { return Rect::at({}, size_); }
    // 0xRRGGBB; white outside.
    std::uint32_t pixel(std::int32_t x, std::int32_t y) const;
    // The smallest area around all pixels that are not white.
    Rect ink() const;
    // How many pixels inside an area are not white.
    int inkCount(const Rect& area) const;
    bool isLike(const Canvas& other) const;

private:
    MemoryDeviceContext context_;
    BitmapHandle bitmap_;
    SelectedObject selected_;
    Size size_;
    const std::uint32_t* pixels_ = nullptr;
};

// Fonts, brushes, bitmaps, contexts ... of this process, alive now.
int drawingObjectCount();

// Runs the message loop for so many milliseconds, or until done() says so.
void runMessages(
    std::uint32_t milliseconds, const std::function<bool()>& done = [] { return false; });

}  // namespace zustd::test
