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

// What disabled controls paint the outline from: a bit for each pixel that lets
// everything through, in rows of whole words.
BitmapHandle makeMask(const std::uint32_t* pixels, Size size) {
    const auto width = static_cast<std::size_t>(size.width);
    const std::size_t stride = (width + 15) / 16 * 2;
    std::vector<std::uint8_t> bits(stride * static_cast<std::size_t>(size.height));
    for (std::size_t i = 0; i < width * static_cast<std::size_t>(size.height); ++i) {
        if (pixels[i] >> 24 == 0) {
            const std::size_t x = i % width;
            bits[i / width * stride + x / 8] |= static_cast<std::uint8_t>(0x80 >> x % 8);
        }
    }
    return BitmapHandle(CreateBitmap(size.width, size.height, 1, 1, bits.data()));
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
    const MemoryDeviceContext context(CreateCompatibleDC(nullptr));
    BITMAPINFO read = format;
    if (!colors || !context ||
        GetDIBits(context.get(), bitmap.handle(), 0, static_cast<UINT>(size.height), bits, &read,
                  DIB_RGB_COLORS) == 0) {
        return {};
    }
    auto* pixel = static_cast<std::uint32_t*>(bits);
    const auto* const end = pixel + static_cast<std::ptrdiff_t>(size.width) * size.height;
    for (; pixel != end; ++pixel) {
        *pixel = withoutAlpha(*pixel);
    }
    const BitmapHandle mask = makeMask(static_cast<const std::uint32_t*>(bits), size);
    ICONINFO parts{TRUE, 0, 0, mask.get(), colors.get()};
    return mask ? IconHandle(CreateIconIndirect(&parts)) : IconHandle();
}

}  // namespace zustd
