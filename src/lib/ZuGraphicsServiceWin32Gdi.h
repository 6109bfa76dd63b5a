// The Windows half of a graphics service: drawing with GDI.
//
// While it is connected to a device context there is a stack of layers: the context itself at the
// bottom and one memory bitmap above it for each buffered paint that is open. A layer has its
// clipping areas, the last of which counts. Coordinates far beyond any screen are cut before GDI
// sees them. Measuring needs no connection.
#pragma once

#include "ZuGraphicsService.h"
#include "ZuHandleWin32Gdi.h"

namespace zustd {

class GraphicsServiceWin32Gdi : public Implementation<GraphicsService, IGraphicsServiceImpl> {
public:
    // Everything up to disconnect() is drawn on the context, whose origin is the surface's, and
    // only within the area. Fails the assertion "!drawBusy_" while connected.
    void connect(HDC context, const Rect& drawArea);
    // Leaves the context as it was found, whatever the paint has left open.
    void disconnect() noexcept;

    // What is drawn on now; null when not connected. Whoever changes it restores it.
    HDC context() const noexcept { return layers_.empty() ? nullptr : layers_.back().context; }

    // Exactly the one colour in the first row and the other in the last.
    void drawVerticalGradient(const Rect& area, Color from, Color to);
    static bool isVistaOrHigher() noexcept;

    void drawGradient(const Rect& area, Color from, Color to, GradientType gradientType) override;
    void drawBitmap(const Bitmap& bitmap, Point place, double alpha) override;
    void drawStretchedBitmap(const Bitmap& bitmap, const Rect& area, double alpha) override;
    void drawFocusFrame(const Rect& area) override;
    void drawLine(Point from, Point to) override;
    void drawRectangle(const Rect& area) override;
    void drawRectangle(const Rect& area, Color color) override;
    void drawText(std::wstring_view text, Point place, const Font& font, Color color) override;
    void drawText(std::wstring_view text, const Rect& area, const Font& font, Color color,
                  const TextFormat& format) override;
    Size measureTextSize(std::wstring_view text, const Font& font, std::int32_t width) override;
    std::int32_t measureTextWidth(std::wstring_view text, const Font& font) override;
    void beginBufferedPaint(const Rect& area) override;
    void endBufferedPaint() override;
    void beginClipping(const Rect& area) override;
    void endClipping() override;
    void setClippingArea(const Rect& area) override;
    void clearClippingArea() override { setClippingArea(top().area); }
    void setPen(Color color, std::int32_t width) override;
    Rect getDrawArea() const override { return layers_.empty() ? Rect{} : layers_.front().area; }

private:
    // Members end in the opposite order: the bitmap leaves its context first.
    struct Layer {
        MemoryDeviceContext memory;
        BitmapHandle bitmap;
        SelectedObject selected;
        HDC context = nullptr;
        Rect area;
        std::vector<Rect> clips;
    };

    Layer& top();
    void applyClip();
    void drawSlantedLine(Point from, Point to);
    void drawLines(std::wstring_view text, const Rect& area, UINT flags, std::int32_t lineHeight);

    std::vector<Layer> layers_;
    int savedContext_ = 0;
    // Black as long as it is unset.
    Color penColor_;
    std::int32_t penWidth_ = 1;
};

// A graphics service with its backend.
std::shared_ptr<GraphicsService> makeGraphicsService();

// The backend of a service; fails an assertion unless makeGraphicsService made that.
GraphicsServiceWin32Gdi& graphicsBackend(GraphicsService& graphics);

}  // namespace zustd
