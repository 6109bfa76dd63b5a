#include "ZuBitmapWin32Gdi.h"

#include <objidl.h>
// GDI+ needs what is above.
#include <gdiplus/gdiplus.h>

#include <cmath>

#include "ZuResourceService.h"
#include "ZuScope.h"

namespace zustd {

namespace {

void check(Gdiplus::Status status) {
    requireSystem(status == Gdiplus::Ok, L"Could not read image", ZU_HERE);
}

void closeStream(IStream* stream) noexcept { stream->Release(); }
using Stream = Handle<NullHandleTraits<IStream*, &closeStream>>;

std::int64_t pixelCount(Size size) noexcept { return std::int64_t{size.width} * size.height; }

bool isDrawable(Size size) noexcept { return !size.isEmpty() && pixelCount(size) <= kMostPixels; }

// What a PNG says about its size, so that an absurd one costs nothing; empty
// for anything else. Its first chunk must be the header.
Size sizeOfPng(std::span<const unsigned char> bytes) noexcept {
    static constexpr std::array<unsigned char, 8> kSignature = {0x89, 'P',  'N',  'G',
                                                                '\r', '\n', 0x1A, '\n'};
    struct {
        std::array<unsigned char, 8> signature;
        std::array<unsigned char, 8> chunk;
        // Their most significant byte comes first.
        unsigned long width;
        unsigned long height;
    } start{};
    std::memcpy(&start, bytes.data(), std::min(bytes.size(), sizeof(start)));
    return start.signature == kSignature ? Size{saturate(_byteswap_ulong(start.width)),
                                                saturate(_byteswap_ulong(start.height))}
                                         : Size{};
}

Size scaledSize(Size size, double factor) noexcept {
    const auto scaled = [factor](std::int32_t extent) {
        return std::max(saturate(std::llround(extent * factor)), 1);
    };
    return {scaled(size.width), scaled(size.height)};
}

Stream streamOf(std::span<const unsigned char> bytes) {
    IStream* made = nullptr;
    const HRESULT result = CreateStreamOnHGlobal(nullptr, TRUE, &made);
    Stream stream(made);
    if (FAILED(result) ||
        FAILED(made->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr)) ||
        FAILED(made->Seek({}, STREAM_SEEK_SET, nullptr))) {
        throwTraced(L"std::bad_alloc", ZU_HERE, std::bad_alloc());
    }
    return stream;
}

// Draws an image over the whole of a bitmap that is transparent so far.
void drawScaled(Gdiplus::Bitmap& image, Size imageSize, Gdiplus::Bitmap& target, Size size) {
    Gdiplus::Graphics graphics(&target);
    Gdiplus::ImageAttributes attributes;
    // Pixels at the edge have themselves for neighbours, and the middle of a
    // pixel is where its colour lies; otherwise the edges would fade.
    check(attributes.SetWrapMode(Gdiplus::WrapModeTileFlipXY));
    check(graphics.SetPixelOffsetMode(Gdiplus::PixelOffsetModeHalf));
    check(graphics.SetInterpolationMode(Gdiplus::InterpolationModeHighQualityBicubic));
    check(graphics.SetCompositingMode(Gdiplus::CompositingModeSourceCopy));
    check(graphics.DrawImage(&image, Gdiplus::Rect(0, 0, size.width, size.height), 0, 0,
                             imageSize.width, imageSize.height, Gdiplus::UnitPixel, &attributes));
}

std::uint32_t withoutPremultiplication(std::uint32_t pixel) noexcept {
    const std::uint32_t alpha = pixel >> 24;
    if (alpha == 0) {
        return pixel;
    }
    std::uint32_t result = pixel & 0xFF000000;
    for (unsigned shift = 0; shift < 24; shift += 8) {
        const std::uint32_t channel = (pixel >> shift & 0xFF) * 0xFF / alpha;
        result |= std::min<std::uint32_t>(channel, 0xFF) << shift;
    }
    return result;
}

// What disabled controls paint the outline from: white for each pixel that lets
// everything through, black for the others.
BitmapHandle makeMask(const PixelBitmap& image) {
    const PixelBitmap mask(image.size);
    std::transform(
        image.pixels.begin(), image.pixels.end(), mask.pixels.begin(),
        [](std::uint32_t pixel) { return pixel >> 24 == 0 ? RGB(0xFF, 0xFF, 0xFF) : 0; });
    return BitmapHandle(static_cast<HBITMAP>(CopyImage(
        mask.handle.get(), IMAGE_BITMAP, image.size.width, image.size.height, LR_MONOCHROME)));
}

// Decodes a PNG to a size, or to its own size times a factor when that is empty; an
// empty image when the bytes are no PNG or it is too large.
PixelBitmap decodePng(std::span<const unsigned char> bytes, Size size, double scalingFactor) {
    const Size own = sizeOfPng(bytes);
    const Size target = size.isEmpty() ? scaledSize(own, scalingFactor) : size;
    if (!isDrawable(own) || !isDrawable(target)) {
        return {};
    }
    startGdiPlus();
    const Stream stream = streamOf(bytes);
    Gdiplus::Bitmap image(stream.get());
    PixelBitmap bitmap(target);
    Gdiplus::Bitmap view(target.width, target.height, target.width * 4, PixelFormat32bppPARGB,
                         reinterpret_cast<BYTE*>(bitmap.pixels.data()));
    drawScaled(image, own, view, target);
    return bitmap;
}

}  // namespace

void startGdiPlus() {
    static const ULONG_PTR token = [] {
        const Gdiplus::GdiplusStartupInput input;
        ULONG_PTR made = 0;
        ZU_SYSTEM(Gdiplus::GdiplusStartup(&made, &input, nullptr) == Gdiplus::Ok);
        return made;
    }();
    static const ScopeExit session([]() noexcept { Gdiplus::GdiplusShutdown(token); });
}

PixelBitmap::PixelBitmap(Size extents) : size(extents) {
    const BITMAPINFO description{.bmiHeader = {.biSize = sizeof(BITMAPINFOHEADER),
                                               .biWidth = size.width,
                                               .biHeight = -size.height,
                                               .biPlanes = 1,
                                               .biBitCount = 32}};
    void* bits = nullptr;
    handle.reset(
        ZU_SYSTEM(CreateDIBSection(nullptr, &description, DIB_RGB_COLORS, &bits, nullptr, 0)));
    pixels = {static_cast<std::uint32_t*>(bits), static_cast<std::size_t>(pixelCount(size))};
}

void copyPlainPixels(const PixelBitmap& target, const BitmapWin32Gdi& bitmap) noexcept {
    const PixelBitmap& source = bitmap.image();
    GdiFlush();
    const auto sourceWidth = static_cast<std::size_t>(source.size.width);
    const auto targetWidth = static_cast<std::size_t>(target.size.width);
    const auto height = static_cast<std::size_t>(std::min(source.size.height, target.size.height));
    for (std::size_t row = 0; row < height; ++row) {
        const auto from =
            source.pixels.subspan(row * sourceWidth, std::min(sourceWidth, targetWidth));
        std::transform(from.begin(), from.end(), target.pixels.subspan(row * targetWidth).begin(),
                       &withoutPremultiplication);
    }
}

IconHandle makeIcon(const BitmapWin32Gdi& bitmap, std::int32_t space) {
    if (!bitmap.hasNativeObject()) {
        return {};
    }
    const Size size = bitmap.image().size;
    const PixelBitmap colors({saturatedSum(size.width, space), size.height});
    copyPlainPixels(colors, bitmap);
    const BitmapHandle mask = makeMask(colors);
    ICONINFO parts{.fIcon = TRUE, .hbmMask = mask.get(), .hbmColor = colors.handle.get()};
    return mask ? IconHandle(CreateIconIndirect(&parts)) : IconHandle();
}

void BitmapWin32Gdi::synchronizeWithAbstraction() {
    guarded(ZU_OPERATION, [this] {
        if (image_.handle) {
            return;
        }
        const std::shared_ptr<IResourceService> resources = resources_.lock();
        const FileResource* file =
            resources ? resources->getFileResource(getAbstraction().resource().identifier)
                      : nullptr;
        if (file != nullptr) {
            image_ = decodePng({file->bytes, static_cast<std::size_t>(file->size)},
                               getAbstraction().size(), scalingFactor_);
        }
        if (image_.handle) {
            getAbstraction().acceptSize(image_.size);
        }
    });
}

BitmapWin32Gdi& bitmapBackend(const Bitmap& bitmap) {
    auto* backend = dynamic_cast<BitmapWin32Gdi*>(&bitmap.implementation());
    ZU_ASSERT_AS(backend != nullptr, L"bitmap", ZU_HERE);
    return *backend;
}

}  // namespace zustd
