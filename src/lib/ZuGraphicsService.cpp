#include "ZuGraphicsService.h"

namespace zustd {

void GraphicsService::drawGradient(const Rect& area, Color from, Color to,
                                   GradientType gradientType) {
    implementation().drawGradient(area.movedBy(origin_), from, to, gradientType);
}

void GraphicsService::drawBitmap(const Bitmap& bitmap, Point place, double alpha) {
    implementation().drawBitmap(bitmap, place.movedBy(origin_), alpha);
}

void GraphicsService::drawStretchedBitmap(const Bitmap& bitmap, const Rect& area, double alpha) {
    implementation().drawStretchedBitmap(bitmap, area.movedBy(origin_), alpha);
}

void GraphicsService::drawFocusFrame(const Rect& area) {
    implementation().drawFocusFrame(area.movedBy(origin_));
}

void GraphicsService::drawLine(Point from, Point to) {
    implementation().drawLine(from.movedBy(origin_), to.movedBy(origin_));
}

void GraphicsService::drawRectangle(const Rect& area, Color fill) {
    implementation().drawRectangle(area.movedBy(origin_), fill);
}

void GraphicsService::drawText(std::wstring_view text, Point place, const Font& font, Color color) {
    implementation().drawText(text, place.movedBy(origin_), font, color);
}

void GraphicsService::drawText(std::wstring_view text, const Rect& area, const Font& font,
                               Color color, const TextFormat& format) {
    implementation().drawText(text, area.movedBy(origin_), font, color, format);
}

Size GraphicsService::measureTextSize(std::wstring_view text, const Font& font,
                                      std::int32_t width) {
    return implementation().measureTextSize(text, font, width);
}

std::int32_t GraphicsService::measureTextWidth(std::wstring_view text, const Font& font) {
    return implementation().measureTextWidth(text, font);
}

std::int32_t GraphicsService::measureTextHeight(std::wstring_view text, const Font& font,
                                                std::int32_t width) {
    return implementation().measureTextSize(text, font, width).height;
}

void GraphicsService::beginBufferedPaint(const Rect& area) {
    implementation().beginBufferedPaint(area.movedBy(origin_));
}

void GraphicsService::setClippingArea(const Rect& area) {
    implementation().setClippingArea(area.movedBy(origin_));
}

}  // namespace zustd
