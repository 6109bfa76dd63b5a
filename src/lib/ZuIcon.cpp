#include "ZuIcon.h"

#include <algorithm>
#include <cmath>

#include "ZuWindowService.h"

namespace zustd {

namespace {

std::shared_ptr<Bitmap> bitmapOf(const Control& control, const BitmapDescriptor& descriptor) {
    const std::shared_ptr<WindowService> window = control.windowService();
    return window ? window->getBitmap(descriptor) : nullptr;
}

// What has a size in its descriptor comes scaled already.
Size sizeOf(const Control& control, const BitmapDescriptor& descriptor, const Bitmap& bitmap) {
    const Size size = bitmap.size();
    return descriptor.size().isEmpty() ? Size{control.scale(size.width), control.scale(size.height)}
                                       : size;
}

}  // namespace

Size drawnBitmapSize(const Control& control, const BitmapRef& descriptor) {
    const auto bitmap = descriptor ? bitmapOf(control, *descriptor) : nullptr;
    return bitmap ? sizeOf(control, *descriptor, *bitmap) : Size();
}

bool drawBitmapAt(GraphicsService& graphics, const Control& control,
                  const BitmapDescriptor& descriptor, Point place, double opacity) {
    const std::shared_ptr<Bitmap> bitmap = bitmapOf(control, descriptor);
    if (!bitmap) {
        return false;
    }
    const Size size = sizeOf(control, descriptor, *bitmap);
    const double alpha = control.isUsable() ? opacity : opacity * kDisabledOpacity;
    if (size == bitmap->size() || size.isEmpty()) {
        graphics.drawBitmap(*bitmap, place, alpha);
    } else {
        graphics.drawStretchedBitmap(*bitmap, Rect::at(place, size), alpha);
    }
    return true;
}

Icon::Icon(const std::shared_ptr<BitmapDescriptor>& bitmap) : bitmap_(bitmap) {
    setTakesMouse(false);
}

bool Icon::setOpacity(double opacity) {
    return change(opacity_, std::isnan(opacity) ? 1.0 : std::clamp(opacity, 0.0, 1.0));
}

Size Icon::preferredSize() { return sizeAround(drawnBitmapSize(*this, bitmap_)); }

void Icon::drawSelf(GraphicsService& graphics) {
    Control::drawSelf(graphics);
    if (!bitmapVisible_) {
        return;
    }
    const Size size = drawnBitmapSize(*this, bitmap_);
    const Point place{(boundary().width() - size.width) / 2,
                      (boundary().height() - size.height) / 2};
    if (!bitmap_ || !drawBitmapAt(graphics, *this, *bitmap_, place, opacity_)) {
        ZU_TRACE(L"Icon::drawSelf: warning: bitmap set to visible but no bitmap provided");
    }
}

}  // namespace zustd
