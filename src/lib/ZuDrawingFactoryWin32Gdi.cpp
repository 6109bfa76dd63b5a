#include "ZuBitmapWin32Gdi.h"
#include "ZuDrawingCacheWin32Gdi.h"
#include "ZuFontWin32Gdi.h"
#include "ZuResourceService.h"
#include "ZuTimerWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"

namespace zustd {

namespace {

struct BitmapKey {
    std::uint64_t identifier;
    Size size;
    // The same number is another file in another language.
    const FileResource* file;

    friend bool operator==(const BitmapKey&, const BitmapKey&) = default;
};

auto& fontCache() {
    static DrawingCacheWin32Gdi<FontStyle, Font> cache;
    return cache;
}

auto& bitmapCache() {
    static DrawingCacheWin32Gdi<BitmapKey, Bitmap> cache;
    return cache;
}

}  // namespace

std::shared_ptr<Font> WindowServiceWin32Gdi::getCachedFont(const FontStyle& style) {
    return fontCache().find(style, [&] { return createFont(style); });
}

std::shared_ptr<Bitmap> WindowServiceWin32Gdi::getCachedBitmap(const ResourceDescriptor& resource,
                                                               Size size) {
    const auto resources = getAbstraction().getService<IResourceService>();
    const FileResource* file =
        resources ? resources->getFileResource(resource.identifier) : nullptr;
    return bitmapCache().find({resource.identifier, size, file},
                              [&] { return createBitmap(resource, size); });
}

std::shared_ptr<Font> WindowServiceWin32Gdi::createFont(const FontStyle& style) {
    auto font = std::make_shared<Font>(style);
    joinImplementation(*font, std::make_unique<FontWin32Gdi>(getScalingFactor()));
    font->synchronize();
    return font;
}

std::shared_ptr<Bitmap> WindowServiceWin32Gdi::createBitmap(const ResourceDescriptor& resource,
                                                            Size size) {
    auto bitmap = std::make_shared<Bitmap>(resource, size);
    joinImplementation(
        *bitmap, std::make_unique<BitmapWin32Gdi>(getAbstraction().getService<IResourceService>(),
                                                  getScalingFactor()));
    bitmap->synchronize();
    return bitmap;
}

FontHandle WindowServiceWin32Gdi::createFontHandle(const FontStyle& style) {
    return makeFontHandle(style, getScalingFactor());
}

std::shared_ptr<TimerWindowWin32Gdi> WindowServiceWin32Gdi::createTimerWindow() {
    return TimerWindowWin32Gdi::ofThisThread();
}

void WindowServiceWin32Gdi::clearDrawingCaches() noexcept {
    fontCache().clear();
    bitmapCache().clear();
}

}  // namespace zustd
