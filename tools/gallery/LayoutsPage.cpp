#include <algorithm>

#include "Pages.h"
#include "ZuGraphicsService.h"
#include "ZuLayout.h"

namespace zustd::gallery {

namespace {

constexpr Alignment kAlignments[] = {Alignment::kStart, Alignment::kEnd, Alignment::kCentre,
                                     Alignment::kJustify};

// A coloured child of a layout.
class Block : public Control {
public:
    Block(Size size, Color color) : size_(size), color_(color) { setTakesMouse(false); }

    Size preferredSize() override { return {scale(size_.width), scale(size_.height)}; }

protected:
    void drawSelf(GraphicsService& graphics) override {
        graphics.drawRectangle(area(), color_);
        graphics.setPen(Color::rgb(0x40, 0x50, 0x70), 1);
        graphics.drawRectangle(area());
    }

private:
    Size size_;
    Color color_;
};

// A frame around children; its corner is pulled to another size.
class Sample : public Control {
public:
    explicit Sample(bool isResizable) : isResizable_(isResizable) {
        auto colors = std::make_shared<ColorsDescriptor>();
        colors->setColor(ColorRole::kBackground, Color::rgb(0xFF, 0xFF, 0xFF));
        setColors(colors);
        setClipsChildren(true);
        setDraggable(isResizable);
        setCursor(isResizable ? MouseCursor::kSizeAll : MouseCursor::kArrow);
    }

    bool sendMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
        if (isResizable_ && kind == kDragging) {
            const Point corner = pointOfWord(b);
            setSize({std::clamp(corner.x, scale(20), scale(440)),
                     std::clamp(corner.y, scale(20), scale(110))});
        }
        return Control::sendMessage(kind, a, b);
    }

protected:
    void drawSelf(GraphicsService& graphics) override {
        Control::drawSelf(graphics);
        graphics.setPen(Color::rgb(0x80, 0x90, 0xB0), 1);
        graphics.drawRectangle(area());
        const Rect own = area();
        for (std::int32_t i = 4; isResizable_ && i <= 12; i += 4) {
            graphics.drawLine({own.right - scale(i), own.bottom},
                              {own.right, own.bottom - scale(i)});
        }
    }

private:
    bool isResizable_;
};

std::shared_ptr<Sample> makeSample(Arrangement arrangement, Alignment alignment, int count,
                                   bool isResizable = false) {
    auto sample = makeControl<Sample>(isResizable);
    sample->setArrangement(arrangement);
    sample->setAlignment(alignment, alignment);
    sample->setMargins(3, 3);
    sample->setSpacing(4, 4);
    for (int i = 0; i < count; ++i) {
        const auto shade = static_cast<std::uint8_t>(0x80 + 0x70 * i / count);
        sample->addChild(makeControl<Block>(Size{18 + 7 * (i % 3), 10 + 3 * (i % 4)},
                                            Color::rgb(shade, 0xC0, 0xF0)));
    }
    return sample;
}

}  // namespace

void buildLayouts(PageBuilder& builder) {
    builder.section(L"Rows and columns: start, end, centre, justify");
    for (const Alignment alignment : kAlignments) {
        const auto rows = builder.add(makeSample(Arrangement::kRows, alignment, 3), {105, 30});
        rows->setAlignment(alignment, Alignment::kCentre);
    }
    builder.breakLine();
    for (const Alignment alignment : kAlignments) {
        const auto columns = makeSample(Arrangement::kColumns, alignment, 3);
        columns->setAlignment(Alignment::kCentre, alignment);
        builder.add(columns, {105, 70});
    }
    builder.section(L"Auto-sized children share the rest; a break after the third");
    const auto shared = makeSample(Arrangement::kRows, Alignment::kStart, 5);
    shared->children()[1]->setAutoSized(true);
    shared->children()[2]->setAutoSized(true);
    shared->children()[2]->setBreaksLineAfter(true);
    shared->children()[4]->setAutoSized(true);
    shared->children()[4]->setMaximumSize({200, 0});
    builder.add(shared, {450, 50});
    builder.section(L"Wrapped rows and columns: pull the corner");
    for (const Arrangement arrangement : {Arrangement::kRows, Arrangement::kColumns}) {
        const auto sample = makeSample(arrangement, Alignment::kStart, 24, true);
        sample->setWraps(true);
        builder.add(sample, {215, 90});
    }
}

}  // namespace zustd::gallery
