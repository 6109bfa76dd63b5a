#include <gtest/gtest.h>

#include <vector>

#include "ZuLayout.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using test::Random;
using test::thrownText;

// A child of a layout: what it asks for.
struct Item {
    Size size;
    bool autoSized = false;
    Size minimum{};
    Size maximum{};
    bool breaks = false;
    bool visible = true;
};

std::shared_ptr<Control> controlOf(const Item& item) {
    auto control = makeControl<Control>();
    control->setSize(item.size);
    control->setAutoSized(item.autoSized);
    control->setMinimumSize(item.minimum);
    control->setMaximumSize(item.maximum);
    control->setBreaksLineAfter(item.breaks);
    control->setVisible(item.visible);
    return control;
}

Rect mirrored(const Rect& rect) { return {rect.top, rect.left, rect.bottom, rect.right}; }
Size mirrored(Size size) { return {size.height, size.width}; }

Item mirrored(Item item) {
    item.size = mirrored(item.size);
    item.minimum = mirrored(item.minimum);
    item.maximum = mirrored(item.maximum);
    return item;
}

// One layout, written down for rows; the same mirrored is the one for columns.
struct Case {
    Rect area{0, 0, 99, 49};
    Size spacing{5, 3};
    Alignment across = Alignment::kStart;
    LayoutOptions options;
    std::vector<Item> items;

    std::vector<Rect> rows() const { return run(false); }
    std::vector<Rect> columns() const {
        std::vector<Rect> rects = run(true);
        for (Rect& rect : rects) {
            rect = mirrored(rect);
        }
        return rects;
    }

    mutable LayoutResult result;

private:
    std::vector<Rect> run(bool asColumns) const {
        const auto parent = makeControl<Control>();
        Controls children;
        for (const Item& item : items) {
            children.push_back(controlOf(asColumns ? mirrored(item) : item));
        }
        const Size gaps = asColumns ? mirrored(spacing) : spacing;
        parent->setSpacing(gaps.width, gaps.height);
        // The other axis must not matter.
        const Alignment unused = Alignment::kCentre;
        parent->setAlignment(asColumns ? across : unused, asColumns ? unused : across);
        LayoutOptions turned = options;
        if (asColumns) {
            std::swap(turned.uniformWidth, turned.uniformHeight);
        }
        result = asColumns ? layoutInColumns(*parent, mirrored(area), children, turned)
                           : layoutInRows(*parent, area, children, turned);
        std::vector<Rect> rects;
        for (const auto& child : children) {
            rects.push_back(child->boundary());
        }
        return rects;
    }
};

using Rects = std::vector<Rect>;

void expectBoth(const Case& layout, const Rects& expected) {
    EXPECT_EQ(layout.rows(), expected);
    EXPECT_EQ(layout.columns(), expected);
}

Case threeItems(Alignment alignment) {
    Case layout;
    layout.options.alignment = alignment;
    layout.items = {{{10, 10}}, {{20, 15}}, {{12, 8}}};
    return layout;
}

TEST(Layout, alignments_leftover_isSpread) {
    // 42 pixels of children, 10 of gaps, 48 left.
    expectBoth(threeItems(Alignment::kStart), {{0, 0, 9, 9}, {15, 0, 34, 14}, {40, 0, 51, 7}});
    expectBoth(threeItems(Alignment::kEnd), {{48, 0, 57, 9}, {63, 0, 82, 14}, {88, 0, 99, 7}});
    expectBoth(threeItems(Alignment::kCentre), {{24, 0, 33, 9}, {39, 0, 58, 14}, {64, 0, 75, 7}});
    // The gap is 48 / 2, the spacing is not added.
    expectBoth(threeItems(Alignment::kJustify), {{0, 0, 9, 9}, {34, 0, 53, 14}, {78, 0, 89, 7}});
    // Any other number: at the start, without gaps.
    expectBoth(threeItems(static_cast<Alignment>(9)),
               {{0, 0, 9, 9}, {10, 0, 29, 14}, {30, 0, 41, 7}});
}

TEST(Layout, justify_oneChild_isAtTheStartWithoutGap) {
    Case layout = threeItems(Alignment::kJustify);
    layout.items.resize(1);
    expectBoth(layout, {{0, 0, 9, 9}});
}

TEST(Layout, acrossAlignment_lowerChildren_moveInTheirLine) {
    Case layout = threeItems(Alignment::kStart);
    layout.area = {0, 100, 99, 149};
    layout.across = Alignment::kEnd;
    expectBoth(layout, {{0, 105, 9, 114}, {15, 100, 34, 114}, {40, 107, 51, 114}});
    layout.across = Alignment::kJustify;
    expectBoth(layout, {{0, 105, 9, 114}, {15, 100, 34, 114}, {40, 107, 51, 114}});
    // Bottom 114, half the line 7: 114 - 5 - 7, 114 - 7 - 7, 114 - 4 - 7.
    layout.across = Alignment::kCentre;
    expectBoth(layout, {{0, 102, 9, 111}, {15, 100, 34, 114}, {40, 103, 51, 110}});
}

TEST(Layout, wrapOff_overflow_staysInOneLineAndOverflows) {
    Case layout = threeItems(Alignment::kEnd);
    layout.area = {10, 0, 39, 49};
    expectBoth(layout, {{10, 0, 19, 9}, {25, 0, 44, 14}, {50, 0, 61, 7}});
    layout.options.alignment = Alignment::kCentre;
    expectBoth(layout, {{10, 0, 19, 9}, {25, 0, 44, 14}, {50, 0, 61, 7}});
}

TEST(Layout, wrapOn_rightEdgeBeyond_opensALine) {
    Case layout = threeItems(Alignment::kStart);
    layout.options.wrap = true;
    // The second child ends at 34, the last pixel of the area.
    layout.area = {0, 0, 34, 49};
    expectBoth(layout, {{0, 0, 9, 9}, {15, 0, 34, 14}, {0, 18, 11, 25}});
    EXPECT_EQ(layout.result.lineCount, 2U);
    EXPECT_EQ(layout.result.contentSize, (Size{26, 35}));
    layout.area.right = 33;
    expectBoth(layout, {{0, 0, 9, 9}, {0, 13, 19, 27}, {0, 31, 11, 38}});
    EXPECT_EQ(layout.result.lineCount, 3U);
}

TEST(Layout, lineBreaks_requested_openLinesAndTheLastHasNoEffect) {
    Case layout = threeItems(Alignment::kStart);
    layout.items[0].breaks = true;
    layout.items[2].breaks = true;
    expectBoth(layout, {{0, 0, 9, 9}, {0, 13, 19, 27}, {25, 13, 36, 20}});
    EXPECT_EQ(layout.result.lineCount, 2U);
}

TEST(Layout, invisibleChild_asksForABreak_isPassedOverWithItsBreak) {
    Case layout = threeItems(Alignment::kStart);
    layout.items[1].visible = false;
    layout.items[1].breaks = true;
    const Rects rows = layout.rows();
    EXPECT_EQ(rows[0], (Rect{0, 0, 9, 9}));
    EXPECT_EQ(rows[2], (Rect{15, 0, 26, 7}));
}

TEST(Layout, autoSized_share_dividesAndTheLastGetsTheRest) {
    Case layout;
    layout.items = {{{50, 10}, true}, {{20, 10}}, {{50, 10}, true}, {{50, 10}, true}};
    // Widths 1, 20, 1, 1 and 15 of gaps: 62 left, 20 each and 22 for the last.
    expectBoth(layout, {{0, 0, 20, 9}, {26, 0, 45, 9}, {51, 0, 71, 9}, {77, 0, 99, 9}});
}

TEST(Layout, autoSized_limits_minimumStartsMaximumStops) {
    Case layout;
    layout.items = {{{50, 10}, true, {11, 0}, {15, 0}}, {{50, 10}, true, {-4, 0}, {0, 0}}};
    // Widths 11 and 1 and a gap of 5: 83 left, 41 for the first, which stops
    // at 15, 42 for the second; what the first left is nobody's.
    expectBoth(layout, {{0, 0, 14, 9}, {20, 0, 62, 9}});
    layout.options.alignment = Alignment::kEnd;
    // Row width 15 + 5 + 43 = 63.
    expectBoth(layout, {{37, 0, 51, 9}, {57, 0, 99, 9}});
}

TEST(Layout, autoSized_negativeLeftover_shrinksToAPixelAtLeast) {
    Case layout;
    layout.area = {0, 0, 29, 49};
    layout.items = {{{40, 10}}, {{50, 10}, true, {20, 0}}};
    // 40 + 5 + 20: 35 too many.
    expectBoth(layout, {{0, 0, 39, 9}, {45, 0, 45, 9}});
}

TEST(Layout, uniform_sizes_areTheLargestOfAllChildren) {
    Case layout = threeItems(Alignment::kStart);
    layout.options.uniformWidth = true;
    layout.options.uniformHeight = true;
    expectBoth(layout, {{0, 0, 19, 14}, {25, 0, 44, 14}, {50, 0, 69, 14}});
}

TEST(Layout, fittingCount_belowTheArea_isNotCounted) {
    Case layout = threeItems(Alignment::kStart);
    layout.area = {0, 0, 99, 27};
    layout.items[0].breaks = true;
    layout.items[1].breaks = true;
    layout.rows();
    // The second line ends at 27, the third at 38.
    EXPECT_EQ(layout.result.fittingCount, 2U);
}

class Preferring : public Control {
public:
    Size preferredSize() override { return {30, 12}; }
};

TEST(Layout, measure_flag_asksForThePreferredSize) {
    const auto parent = makeControl<Control>();
    const Controls children{makeControl<Preferring>(), nullptr, makeControl<Preferring>()};
    LayoutOptions options;
    options.measure = true;
    layoutInRows(*parent, {0, 0, 99, 49}, children, options);
    EXPECT_EQ(children[0]->boundary(), (Rect{0, 0, 29, 11}));
    EXPECT_EQ(children[2]->boundary(), (Rect{30, 0, 59, 11}));
    layoutInColumns(*parent, {0, 0, 99, 49}, children, options);
    EXPECT_EQ(children[2]->boundary(), (Rect{0, 12, 29, 23}));
}

TEST(Layout, measureRows_anything_movesNoChild) {
    const auto parent = makeControl<Control>();
    parent->setSpacing(5, 3);
    const Controls children{controlOf({{10, 10}}), controlOf({{20, 15}, true, {7, 0}}),
                            controlOf({{12, 8}})};
    children[1]->setBreaksLineAfter(true);
    EXPECT_EQ(measureRows(*parent, {0, 0, 999, 999}, children, {}), (Size{22, 26}));
    EXPECT_EQ(measureColumns(*parent, {0, 0, 999, 999}, children, {}), (Size{37, 14}));
    EXPECT_EQ(children[1]->boundary(), (Rect{0, 0, 19, 14}));
    LayoutOptions uniform;
    uniform.uniformWidth = true;
    uniform.uniformHeight = true;
    EXPECT_EQ(measureRows(*parent, {0, 0, 999, 999}, children, uniform), (Size{29, 33}));
}

TEST(Layout, counts_beyond32Bits_failTheirAssertion) {
    EXPECT_EQ(thrownText([] { checkLayoutCount(0x7FFFFFFF, L"(childrenInRow)<=LONG_MAX"); }),
              L"nothing");
    EXPECT_EQ(thrownText([] { checkLayoutCount(0x80000000, L"(childrenInRow)<=LONG_MAX"); }),
              L"(childrenInRow)<=LONG_MAX");
}

TEST(Layout, counts_failing_areReportedForTheControl) {
    const test::TraceCapture trace;
    thrownText([] { checkLayoutCount(0x80000000, L"(autoSizedChildCount)<=LONG_MAX"); });
    const test::Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(
        lines[0].rfind("asserted: '(autoSizedChildCount)<=LONG_MAX', in src/lib/ZuControl,", 0),
        0U);
}

Case randomCase(Random& random) {
    Case layout;
    layout.area = Rect::at(
        {static_cast<std::int32_t>(random.below(50)), static_cast<std::int32_t>(random.below(50))},
        {static_cast<std::int32_t>(1 + random.below(300)), 1000});
    layout.spacing = {static_cast<std::int32_t>(random.below(8)),
                      static_cast<std::int32_t>(random.below(8))};
    layout.across = static_cast<Alignment>(random.below(4));
    // A centred child may sit a pixel above its line.
    layout.spacing.height += layout.across == Alignment::kCentre ? 1 : 0;
    layout.options.alignment = static_cast<Alignment>(random.below(3));
    layout.options.wrap = random.below(2) == 0;
    for (std::size_t i = random.below(20); i > 0; --i) {
        Item item;
        item.size = {static_cast<std::int32_t>(1 + random.below(60)),
                     static_cast<std::int32_t>(1 + random.below(40))};
        item.autoSized = random.below(4) == 0;
        item.minimum.width = static_cast<std::int32_t>(random.below(20));
        item.maximum.width = static_cast<std::int32_t>(random.below(2) * (20 + random.below(60)));
        item.breaks = random.below(6) == 0;
        layout.items.push_back(item);
    }
    return layout;
}

TEST(Layout, random_children_keepTheirOrderWithoutOverlap) {
    for (std::uint64_t seed = 0; seed < 2000; ++seed) {
        Random random(seed);
        const Case layout = randomCase(random);
        const Rects rows = layout.rows();
        ASSERT_EQ(rows, layout.columns()) << random.label();
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const Item& item = layout.items[i];
            ASSERT_FALSE(rows[i].isEmpty()) << random.label();
            ASSERT_GE(rows[i].left, layout.area.left) << random.label();
            if (!item.autoSized) {
                ASSERT_EQ(rows[i].size(), item.size) << random.label();
            } else if (item.maximum.width != 0) {
                ASSERT_LE(rows[i].width(), item.maximum.width) << random.label();
            }
            for (std::size_t j = 0; j < i; ++j) {
                ASSERT_FALSE(rows[i].intersects(rows[j])) << random.label() << " " << j << " " << i;
            }
        }
    }
}

TEST(Layout, random_unlimitedAutoSizedChild_fillsItsLine) {
    for (std::uint64_t seed = 0; seed < 500; ++seed) {
        Random random(seed);
        Case layout = randomCase(random);
        layout.options.wrap = false;
        layout.area.right = layout.area.left + 2999;
        Item filler;
        filler.size = {1, 1};
        filler.autoSized = true;
        for (Item& item : layout.items) {
            item.breaks = false;
            item.maximum = {};
        }
        layout.items.push_back(filler);
        ASSERT_EQ(layout.rows().back().right, layout.area.right) << random.label();
    }
}

}  // namespace
}  // namespace zustd
