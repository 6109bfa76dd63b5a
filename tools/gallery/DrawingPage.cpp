#include "Pages.h"
#include "ZuGraphicsService.h"

namespace zustd::gallery {

namespace {

constexpr Color kInk = Color::rgb(0x20, 0x20, 0x20);
constexpr Color kFrame = Color::rgb(0x80, 0x90, 0xB0);

// Draws with a function; for what needs no control of its own.
class Sketch : public Control {
public:
    using Drawing = void (*)(Control& self, GraphicsService& graphics);

    explicit Sketch(Drawing drawing) noexcept : drawing_(drawing) {}

protected:
    void drawSelf(GraphicsService& graphics) override {
        graphics.setPen(kFrame, 1);
        graphics.drawRectangle(area());
        drawing_(*this, graphics);
    }

private:
    Drawing drawing_;
};

void drawGradients(Control& self, GraphicsService& graphics) {
    const Rect area = self.area();
    graphics.drawGradient(area.shrunkBy(1, 1), Color::rgb(0xF8, 0xFA, 0xFF),
                          Color::rgb(0xA0, 0xC0, 0xF0), zuGradientVertical);
    graphics.drawFocusFrame(area.shrunkBy(5, 5));
}

void drawLines(Control& self, GraphicsService& graphics) {
    const Rect area = self.area();
    for (std::int32_t i = 1; i <= 6; ++i) {
        const std::int32_t x = area.width() * i / 7;
        graphics.setPen(kInk, i);
        graphics.drawLine({x, 8}, {x, area.height() / 2});
        graphics.setPen(kInk, 1);
        graphics.drawLine({8, area.height() - 8}, {x, area.height() / 2 + 6});
    }
}

void drawTexts(Control& self, GraphicsService& graphics) {
    const auto font = self.windowService()->getFont(FontStyle{});
    const Rect area = self.area().shrunkBy(4, 4);
    const std::wstring text = L"The &quick brown fox jumps over the lazy dog.";
    graphics.drawText(text, area, *font, kInk, {.ellipsis = true, .accelerators = true});
    graphics.drawText(text, area, *font, Color::rgb(0x20, 0x60, 0xC0),
                      {TextAlignment::kCentre, TextAlignment::kCentre, true, false, false});
    graphics.drawText(L"right, below", area, *font, Color::rgb(0xC0, 0x30, 0x20),
                      {.horizontal = TextAlignment::kEnd, .vertical = TextAlignment::kEnd});
}

void drawImages(Control& self, GraphicsService& graphics) {
    Point place{8, 8};
    for (const double alpha : {1.0, 0.6, 0.3}) {
        // Message, folder, folder in use: 16, 24 and 32 pixels wide.
        for (const std::uint64_t image : {100u, 121u, 125u}) {
            if (const auto bitmap = self.windowService()->getBitmap(BitmapDescriptor(image))) {
                graphics.drawBitmap(*bitmap, place, alpha);
                place.x += bitmap->size().width + 8;
            }
        }
        place = {8, place.y + self.scale(38)};
    }
    if (const auto bitmap = self.windowService()->getBitmap(BitmapDescriptor(102))) {
        graphics.drawStretchedBitmap(
            *bitmap, Rect::at({self.scale(120), 8}, {self.scale(80), self.scale(80)}));
    }
}

}  // namespace

void buildDrawing(PageBuilder& builder) {
    builder.section(L"Gradient and focus; lines");
    builder.add(makeControl<Sketch>(&drawGradients), {215, 90});
    builder.add(makeControl<Sketch>(&drawLines), {215, 90});
    builder.section(L"Texts; images");
    builder.add(makeControl<Sketch>(&drawTexts), {215, 130});
    builder.add(makeControl<Sketch>(&drawImages), {215, 130});
}

}  // namespace zustd::gallery
