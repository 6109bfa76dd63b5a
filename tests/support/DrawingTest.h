// A canvas in memory whose pixels can be asked for, and a loop of messages that ends.
#pragma once

#include "ZuBitmapWin32Gdi.h"

namespace zustd::test {

inline constexpr std::uint32_t kWhite = 0xFFFFFF;

class Canvas {
public:
    explicit Canvas(Size size) : size_(size) {
        PatBlt(context(), 0, 0, size.width, size.height, WHITENESS);
    }

    HDC context() const noexcept { return context_.get(); }
    Rect area() const noexcept { return Rect::at({}, size_); }
    // 0xRRGGBB
    std::uint32_t pixel(std::int32_t x, std::int32_t y) const {
        GdiFlush();
        return bitmap_.pixels[static_cast<std::size_t>(y * size_.width + x)] & 0xFFFFFF;
    }
    bool isLike(const Canvas& other) const {
        GdiFlush();
        const auto isLike = [](auto a, auto b) { return ((a ^ b) & 0xFFFFFF) == 0; };
        return std::ranges::equal(bitmap_.pixels, other.bitmap_.pixels, isLike);
    }

private:
    Size size_;
    MemoryDeviceContext context_{CreateCompatibleDC(nullptr)};
    PixelBitmap bitmap_{size_};
    SelectedObject selected_{context_.get(), bitmap_.handle.get()};
};

// Runs the message loop for so many milliseconds, or until done() says so.
inline void runMessages(
    std::uint32_t milliseconds, const std::function<bool()>& done = [] { return false; }) {
    const ULONGLONG end = GetTickCount64() + milliseconds;
    while (!done()) {
        MSG message;
        if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            DispatchMessageW(&message);
        } else if (const ULONGLONG at = GetTickCount64(); at < end) {
            MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - at), QS_ALLINPUT);
        } else {
            return;
        }
    }
}

}  // namespace zustd::test
