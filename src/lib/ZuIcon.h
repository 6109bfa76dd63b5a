// An image, drawn in the middle of its control.
#pragma once

#include "ZuControl.h"
#include "ZuGraphicsService.h"

namespace zustd {

// A descriptor's image, and its size on a control's screen; null and empty
// without a descriptor, image or window service.
struct DrawnBitmap {
    std::shared_ptr<Bitmap> bitmap;
    Size size;
};
// An image of its own size is scaled too.
DrawnBitmap drawnBitmap(const Control& control, const BitmapRef& descriptor);
// Draws an image that is not null, stretched to its size where it has another
// one; paler on a control that cannot be used.
void drawBitmapAt(GraphicsService& graphics, const Control& control, const DrawnBitmap& image,
                  Point place, double opacity);

class Icon : public Control {
public:
    explicit Icon(const BitmapRef& bitmap = nullptr) : bitmap_(bitmap) { setTakesMouse(false); }

    // Null for none.
    bool setBitmap(const BitmapRef& bitmap) { return changeDescriptor(bitmap_, bitmap); }
    // An icon whose bitmap is not visible keeps its size and draws nothing.
    bool setBitmapVisible(bool visible) { return change(bitmapVisible_, visible); }
    // From 0, invisible, to 1, opaque; taken to the nearest of these.
    bool setOpacity(double opacity);

    // The image's size plus the margins.
    Size preferredSize() override { return sizeAround(drawnBitmap(*this, bitmap_).size); }

protected:
    void drawSelf(GraphicsService& graphics) override;

private:
    BitmapRef bitmap_;
    double opacity_ = 1.0;
    bool bitmapVisible_ = true;
};

}  // namespace zustd
