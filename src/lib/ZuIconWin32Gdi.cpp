#include "ZuIconWin32Gdi.h"

#include <vector>

namespace zustd {

namespace {

// What disabled controls paint the outline from: a bit for each pixel that lets
// everything through, in rows of whole words.
BitmapHandle makeMask(std::span<const std::uint32_t> pixels, Size size) {
    const auto width = static_cast<std::size_t>(size.width);
    const std::size_t stride = (width + 15) / 16 * 2;
    std::vector<std::uint8_t> bits(stride * static_cast<std::size_t>(size.height));
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        if (pixels[i] >> 24 == 0) {
            const std::size_t x = i % width;
            bits[i / width * stride + x / 8] |= static_cast<std::uint8_t>(0x80 >> x % 8);
        }
    }
    return BitmapHandle(CreateBitmap(size.width, size.height, 1, 1, bits.data()));
}

}  // namespace

IconHandle makeIcon(const BitmapWin32Gdi& bitmap, std::int32_t space) {
    if (!bitmap.hasNativeObject()) {
        return {};
    }
    const Size size{saturatedSum(bitmap.imageSize().width, space), bitmap.imageSize().height};
    const PixelBitmap colors(size);
    copyPlainPixels(colors, size, bitmap);
    const BitmapHandle mask = makeMask(colors.pixels, size);
    ICONINFO parts{TRUE, 0, 0, mask.get(), colors.handle.get()};
    return mask ? IconHandle(CreateIconIndirect(&parts)) : IconHandle();
}

}  // namespace zustd
