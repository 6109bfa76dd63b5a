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

std::shared_ptr<Sample> makeSample(Arrangement arrangement, int count, bool isResizable = false) {
    auto sample = makeControl<Sample>(isResizable);
    arrangement.margin = {3, 3};
    arrangement.spacing = {4, 4};
    sample->setArrangement(arrangement);
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
        const Arrangement rows{
            .flow = Flow::kRows, .horizontal = alignment, .vertical = Alignment::kCentre};
        builder.add(makeSample(rows, 3), {105, 30});
    }
    builder.breakLine();
    for (const Alignment alignment : kAlignments) {
        const Arrangement columns{
            .flow = Flow::kColumns, .horizontal = Alignment::kCentre, .vertical = alignment};
        builder.add(makeSample(columns, 3), {105, 70});
    }
    builder.section(L"Auto-sized children share the rest; a break after the third");
    const auto shared = makeSample({.flow = Flow::kRows}, 5);
    shared->children()[1]->setPlacement({.autoSized = true});
    shared->children()[2]->setPlacement({.autoSized = true, .breaksLineAfter = true});
    shared->children()[4]->setPlacement({.maximum = {200, 0}, .autoSized = true});
    builder.add(shared, {450, 50});
    builder.section(L"Wrapped rows and columns: pull the corner");
    for (const Flow flow : {Flow::kRows, Flow::kColumns}) {
        builder.add(makeSample({.flow = flow, .wrap = true}, 24, true), {215, 90});
    }
}

}  // namespace zustd::gallery
