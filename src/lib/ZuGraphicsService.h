// Drawing on a window: shapes, images, text and its measures.
//
// Every surface (a native window or dialog) has a graphics service registered
// in it. Measuring works at any time; drawing works while the surface paints,
// between the backend's connecting it to the paint and disconnecting it.
//
// Coordinates are those of the control that draws: the front keeps the origin of the moment and
// adds it to everything that it hands on, so a backend sees coordinates of the surface alone.
#pragma once

#include "ZuBitmap.h"
#include "ZuFont.h"
#include "ZuService.h"

namespace zustd {

// Named as the failed assertion of drawGradient names them.
enum GradientType : std::uint32_t { zuGradientVertical, zuGradientHorizontal };

enum class TextAlignment : std::uint32_t { kStart, kEnd, kCentre };

// How a text fills its area.
struct TextFormat {
    TextAlignment horizontal = TextAlignment::kStart;
    TextAlignment vertical = TextAlignment::kStart;
    // Breaks lines at words; otherwise only at line feeds.
    bool wordWrap = false;
    // A line that is too long ends in dots.
    bool ellipsis = false;
    // "&" underlines the next character, "&&" is the character itself.
    bool accelerators = false;

    friend constexpr bool operator==(const TextFormat&, const TextFormat&) = default;
};

// What a backend does. Slot order is fixed. Colours are always set. A failure
// may leave these operations; painting as a whole is what the surface guards.
class IGraphicsServiceImpl : public IBackend {
public:
    // From one colour at the top to another at the bottom. Fails the assertion
    // "gradientType == zuGradientVertical" for any other kind.
    virtual void drawGradient(const Rect& area, Color from, Color to,
                              GradientType gradientType) = 0;
    // The image at its own size. Fails the assertion "alpha >= 0 && alpha <= 1.0"; 0 is invisible,
    // 1 opaque, and the image's own transparency counts besides.
    virtual void drawBitmap(const Bitmap& bitmap, Point place, double alpha) = 0;
    // The image stretched to an area.
    virtual void drawStretchedBitmap(const Bitmap& bitmap, const Rect& area, double alpha) = 0;
    // The dotted frame that marks the focus, just inside the area.
    virtual void drawFocusFrame(const Rect& area) = 0;
    // Both ends included, with the pen of the moment.
    virtual void drawLine(Point from, Point to) = 0;
    // The outline with the pen of the moment; a filled area.
    virtual void drawRectangle(const Rect& area) = 0;
    virtual void drawRectangle(const Rect& area, Color fill) = 0;
    // A line of text from a left top corner; a text in an area, cut at its edges.
    virtual void drawText(std::wstring_view text, Point place, const Font& font, Color color) = 0;
    virtual void drawText(std::wstring_view text, const Rect& area, const Font& font, Color color,
                          const TextFormat& format) = 0;
    // The size that a text takes: of its lines as they are, or wrapped at words to a width when
    // that is not 0. An empty text has no width and the height of a line.
    virtual Size measureTextSize(std::wstring_view text, const Font& font, std::int32_t width) = 0;
    // The width of one line; what a layout calls for every word.
    virtual std::int32_t measureTextWidth(std::wstring_view text, const Font& font) = 0;
    // What is drawn until the end goes to the screen in one piece.
    virtual void beginBufferedPaint(const Rect& area) = 0;
    virtual void endBufferedPaint() = 0;
    // Restricts drawing further, to be undone in reverse order.
    virtual void beginClipping(const Rect& area) = 0;
    virtual void endClipping() = 0;
    // The restriction as a whole: replaced; taken away.
    virtual void setClippingArea(const Rect& area) = 0;
    virtual void clearClippingArea() = 0;
    // For lines and outlines, until it is set anew: who draws with a pen sets it first. An outline
    // grows inwards, a line to both sides. Fails the assertion "width > 0".
    virtual void setPen(Color color, std::int32_t width) = 0;
    // The part of the surface that is being painted; empty between paints.
    virtual Rect getDrawArea() const = 0;
};

class GraphicsService : public Abstraction<IGraphicsServiceImpl>, public Service {
public:
    using Service::Service;
    ~GraphicsService() override { releaseImplementation(); }

    // Where the drawing control's left top corner lies on the surface.
    Point origin() const noexcept { return origin_; }
    void setOrigin(Point origin) noexcept { origin_ = origin; }

    // As in IGraphicsServiceImpl, in coordinates relative to the origin. Each
    // fails the assertion "impl_" as long as there is no backend.
    void drawGradient(const Rect& area, Color from, Color to, GradientType gradientType) {
        implementation().drawGradient(placed(area), from, to, gradientType);
    }
    void drawBitmap(const Bitmap& bitmap, Point place, double alpha = 1.0) {
        implementation().drawBitmap(bitmap, placed(place), alpha);
    }
    void drawStretchedBitmap(const Bitmap& bitmap, const Rect& area, double alpha = 1.0) {
        implementation().drawStretchedBitmap(bitmap, placed(area), alpha);
    }
    void drawFocusFrame(const Rect& area) { implementation().drawFocusFrame(placed(area)); }
    void drawLine(Point from, Point to) { implementation().drawLine(placed(from), placed(to)); }
    void drawRectangle(const Rect& area) { implementation().drawRectangle(placed(area)); }
    void drawRectangle(const Rect& area, Color fill) {
        implementation().drawRectangle(placed(area), fill);
    }
    void drawText(std::wstring_view text, Point place, const Font& font, Color color) {
        implementation().drawText(text, placed(place), font, color);
    }
    void drawText(std::wstring_view text, const Rect& area, const Font& font, Color color,
                  const TextFormat& format) {
        implementation().drawText(text, placed(area), font, color, format);
    }
    Size measureTextSize(std::wstring_view text, const Font& font, std::int32_t width = 0) {
        return implementation().measureTextSize(text, font, width);
    }
    std::int32_t measureTextWidth(std::wstring_view text, const Font& font) {
        return implementation().measureTextWidth(text, font);
    }
    auto measureTextHeight(std::wstring_view text, const Font& font, std::int32_t width = 0) {
        return implementation().measureTextSize(text, font, width).height;
    }
    void beginBufferedPaint(const Rect& area) { implementation().beginBufferedPaint(placed(area)); }
    void endBufferedPaint() { implementation().endBufferedPaint(); }
    void beginClipping(const Rect& area) { implementation().beginClipping(placed(area)); }
    void endClipping() { implementation().endClipping(); }
    void setClippingArea(const Rect& area) { implementation().setClippingArea(placed(area)); }
    void clearClippingArea() { implementation().clearClippingArea(); }
    void setPen(Color color, std::int32_t width) { implementation().setPen(color, width); }
    Rect getDrawArea() const { return implementation().getDrawArea().movedBy(origin_.negated()); }

private:
    template <class T>
    T placed(const T& what) const noexcept {
        return what.movedBy(origin_);
    }

    Point origin_;
};

}  // namespace zustd
