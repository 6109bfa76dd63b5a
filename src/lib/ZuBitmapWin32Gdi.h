// The Windows half of a bitmap: a PNG of the resource service as a 32-bit bitmap of its final size.
//
// The image is found, decoded and scaled once, by the first synchronisation. What is missing,
// broken or larger than kMostPixels leaves the bitmap empty, with the size that was asked for.
#pragma once

#include <span>

#include "ZuBitmap.h"
#include "ZuHandleWin32Gdi.h"

namespace zustd {

class IResourceService;

// The largest image that is taken, before scaling and after it: 64 MB.
inline constexpr std::int64_t kMostPixels = std::int64_t{16} << 20;

// Pixels of an image beside a line of text, as the system's small icons have at a factor of 1.
inline constexpr std::int32_t kSmallImageSize = 16;

// For whoever uses GDI+ by itself. Throws SystemException, and may be tried again then.
void startGdiPlus();

// A top-down bitmap of 32 bits a pixel, transparent black at first.
struct PixelBitmap {
    PixelBitmap() = default;
    // Neither extent is below 1. Throws SystemException without room for it.
    explicit PixelBitmap(Size extents);

    Size size;
    BitmapHandle handle;
    // In memory as long as the bitmap is; GDI's drawing arrives by GdiFlush().
    std::span<std::uint32_t> pixels;
};

class BitmapWin32Gdi : public Implementation<Bitmap, IBitmapImpl> {
public:
    // An image without a size is shown at its own size times the factor.
    BitmapWin32Gdi(const std::shared_ptr<IResourceService>& resources, double scalingFactor)
        : resources_(resources), scalingFactor_(scalingFactor) {}

    void synchronizeWithAbstraction() override;
    void releaseNativeObject() override { image_ = {}; }
    bool hasNativeObject() const override { return static_cast<bool>(image_.handle); }

    // Null for an empty bitmap; valid until releaseNativeObject().
    HBITMAP handle() const noexcept { return image_.handle.get(); }
    // Its colours are premultiplied with alpha.
    const PixelBitmap& image() const noexcept { return image_; }

private:
    std::weak_ptr<IResourceService> resources_;
    double scalingFactor_;
    PixelBitmap image_;
};

// As much of an image as fits, from the left top corner; without the
// premultiplication, which icons and image lists do when they draw.
void copyPlainPixels(const PixelBitmap& target, const BitmapWin32Gdi& bitmap) noexcept;

// What native controls blend with what lies below: an icon of the bitmap's size, with so many empty
// columns behind it; empty for an empty bitmap. Throws SystemException without room for its pixels.
IconHandle makeIcon(const BitmapWin32Gdi& bitmap, std::int32_t space);

// The backend of a bitmap; fails an assertion unless a window service made that.
BitmapWin32Gdi& bitmapBackend(const Bitmap& bitmap);

}  // namespace zustd
