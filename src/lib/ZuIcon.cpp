#include "ZuIcon.h"

#include <cmath>

#include "ZuWindowService.h"

namespace zustd {

namespace {

// How opaque an image is on a control that cannot be used.
constexpr double kDisabledOpacity = 0.4;

}  // namespace

DrawnBitmap drawnBitmap(const Control& control, const BitmapRef& descriptor) {
    const auto window = descriptor ? control.windowService() : nullptr;
    const auto bitmap = window ? window->getBitmap(*descriptor) : nullptr;
    Size size = bitmap ? bitmap->size() : Size();
    // What has a size in its descriptor comes scaled already.
    if (bitmap && descriptor->size().isEmpty()) {
        size = {control.scale(size.width), control.scale(size.height)};
    }
    return {bitmap, size};
}

void drawBitmapAt(GraphicsService& graphics, const Control& control, const DrawnBitmap& image,
                  Point place, double opacity) {
    const double alpha = control.isUsable() ? opacity : opacity * kDisabledOpacity;
    if (image.size == image.bitmap->size() || image.size.isEmpty()) {
        graphics.drawBitmap(*image.bitmap, place, alpha);
    } else {
        graphics.drawStretchedBitmap(*image.bitmap, Rect::at(place, image.size), alpha);
    }
}

bool Icon::setOpacity(double opacity) {
    return change(opacity_, std::isnan(opacity) ? 1.0 : std::clamp(opacity, 0.0, 1.0));
}

void Icon::drawSelf(GraphicsService& graphics) {
    Control::drawSelf(graphics);
    if (!bitmapVisible_) {
        return;
    }
    const DrawnBitmap image = drawnBitmap(*this, bitmap_);
    if (!image.bitmap) {
        ZU_TRACE(L"Icon::drawSelf: warning: bitmap set to visible but no bitmap provided");
        return;
    }
    const Size size = boundary().size();
    drawBitmapAt(graphics, *this, image,
                 {(size.width - image.size.width) / 2, (size.height - image.size.height) / 2},
                 opacity_);
}

}  // namespace zustd
