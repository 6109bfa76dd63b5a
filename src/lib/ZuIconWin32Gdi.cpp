#include "ZuIconWin32Gdi.h"

#include <vector>

namespace zustd {

namespace {

// Icons want their colours as they are, bitmaps have them multiplied by alpha.
std::uint32_t withoutAlpha(std::uint32_t pixel) noexcept {
    const std::uint32_t alpha = pixel >> 24;
    if (alpha == 0 || alpha == 0xFF) {
        return pixel;
    }
    const auto channel = [pixel, alpha](unsigned shift) {
        return std::min<std::uint32_t>((pixel >> shift & 0xFF) * 0xFF / alpha, 0xFF) << shift;
    };
    return alpha << 24 | channel(16) | channel(8) | channel(0);
}

BITMAPINFO topDownFormat(Size size) noexcept {
    BITMAPINFO format{};
    format.bmiHeader.biSize = sizeof(format.bmiHeader);
    format.bmiHeader.biWidth = size.width;
    format.bmiHeader.biHeight = -size.height;
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = 32;
    format.bmiHeader.biCompression = BI_RGB;
    return format;
}

}  // namespace

IconHandle makeIcon(const BitmapWin32Gdi& bitmap) {
    const Size size = bitmap.imageSize();
    if (bitmap.handle() == nullptr || size.isEmpty()) {
        return {};
    }
    const BITMAPINFO format = topDownFormat(size);
    void* bits = nullptr;
    const BitmapHandle colors(
        CreateDIBSection(nullptr, &format, DIB_RGB_COLORS, &bits, nullptr, 0));
    // Alpha decides what shows; the mask is for screens of long ago.
    const BitmapHandle mask(CreateBitmap(size.width, size.height, 1, 1, nullptr));
    const MemoryDeviceContext context(CreateCompatibleDC(nullptr));
    BITMAPINFO read = format;
    if (!colors || !mask || !context ||
        GetDIBits(context.get(), bitmap.handle(), 0, static_cast<UINT>(size.height), bits, &read,
                  DIB_RGB_COLORS) == 0) {
        return {};
    }
    auto* pixel = static_cast<std::uint32_t*>(bits);
    const auto* const end = pixel + static_cast<std::ptrdiff_t>(size.width) * size.height;
    for (; pixel != end; ++pixel) {
        *pixel = withoutAlpha(*pixel);
    }
    ICONINFO parts{TRUE, 0, 0, mask.get(), colors.get()};
    return IconHandle(CreateIconIndirect(&parts));
}

}  // namespace zustd
