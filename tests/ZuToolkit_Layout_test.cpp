#include <gtest/gtest.h>

#include <algorithm>
#include <set>
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

Rect mirrored(const Rect& rect) { return {rect.top, rect.left, rect.bottom, rect.right}; }
Size mirrored(Size size) { return {size.height, size.width}; }

std::shared_ptr<Control> controlOf(const Item& item, bool asColumns = false) {
    const auto turn = [=](Size size) { return asColumns ? mirrored(size) : size; };
    auto control = makeControl<Control>();
    control->setSize(turn(item.size));
    control->setAutoSized(item.autoSized);
    control->setMinimumSize(turn(item.minimum));
    control->setMaximumSize(turn(item.maximum));
    control->setBreaksLineAfter(item.breaks);
    control->setVisible(item.visible);
    return control;
}

// One layout, written down for rows; the same mirrored is the one for columns.
struct Case {
    Rect area{0, 0, 99, 49};
    Size spacing{5, 3};
    Alignment across = Alignment::kStart;
    LayoutOptions options{};
    std::vector<Item> items{};

    std::vector<Rect> rows() const { return run(false); }
    std::vector<Rect> columns() const { return run(true); }

    mutable LayoutResult result{};

private:
    std::vector<Rect> run(bool asColumns) const {
        const auto turn = [=](auto what) { return asColumns ? mirrored(what) : what; };
        const auto parent = makeControl<Control>();
        Controls children;
        for (const Item& item : items) {
            children.push_back(controlOf(item, asColumns));
        }
        parent->setSpacing(turn(spacing).width, turn(spacing).height);
        // The other axis must not matter.
        const Alignment unused = Alignment::kCentre;
        parent->setAlignment(asColumns ? across : unused, asColumns ? unused : across);
        LayoutOptions turned = options;
        if (asColumns) {
            std::swap(turned.uniformWidth, turned.uniformHeight);
        }
        const auto layOut = asColumns ? layoutInColumns : layoutInRows;
        result = layOut(*parent, turn(area), children, turned);
        std::vector<Rect> rects;
        for (const auto& child : children) {
            rects.push_back(turn(child->boundary()));
        }
        return rects;
    }
};

using Rects = std::vector<Rect>;

TEST(Layout, rowsAndColumns_anyCase_giveTheRectanglesWorkedOutByHand) {
    using enum Alignment;
    const std::vector<Item> kThree{{{10, 10}}, {{20, 15}}, {{12, 8}}};
    const std::vector<Item> kBroken{{{10, 10}, false, {}, {}, true},
                                    {{20, 15}, false, {}, {}, true},
                                    {{12, 8}, false, {}, {}, true}};
    const std::vector<Item> kLimited{{{50, 10}, true, {11, 0}, {15, 0}},
                                     {{50, 10}, true, {-4, 0}, {0, 0}}};
    // What it shows, the layout, its rectangles, and how many lines there are.
    const std::tuple<const char*, Case, Rects, std::size_t> kCases[] = {
        // clang-format off
        // 42 pixels of children, 10 of gaps, 48 left.
        {"start", {.items = kThree}, {{0, 0, 9, 9}, {15, 0, 34, 14}, {40, 0, 51, 7}}, 1},
        {"end", {.options = {.alignment = kEnd}, .items = kThree},
         {{48, 0, 57, 9}, {63, 0, 82, 14}, {88, 0, 99, 7}}, 1},
        {"centre", {.options = {.alignment = kCentre}, .items = kThree},
         {{24, 0, 33, 9}, {39, 0, 58, 14}, {64, 0, 75, 7}}, 1},
        {"justify: the gap is 48 / 2, the spacing is not added",
         {.options = {.alignment = kJustify}, .items = kThree},
         {{0, 0, 9, 9}, {34, 0, 53, 14}, {78, 0, 89, 7}}, 1},
        {"justify one child", {.options = {.alignment = kJustify}, .items = {{{10, 10}}}},
         {{0, 0, 9, 9}}, 1},
        {"any other number: at the start, without gaps",
         {.options = {.alignment = static_cast<Alignment>(9)}, .items = kThree},
         {{0, 0, 9, 9}, {10, 0, 29, 14}, {30, 0, 41, 7}}, 1},
        {"across at the end", {.area = {0, 100, 99, 149}, .across = kEnd, .items = kThree},
         {{0, 105, 9, 114}, {15, 100, 34, 114}, {40, 107, 51, 114}}, 1},
        {"across justified, which is at the end",
         {.area = {0, 100, 99, 149}, .across = kJustify, .items = kThree},
         {{0, 105, 9, 114}, {15, 100, 34, 114}, {40, 107, 51, 114}}, 1},
        // Bottom 114, half the line 7: 114 - 5 - 7, 114 - 7 - 7, 114 - 4 - 7.
        {"across in the centre", {.area = {0, 100, 99, 149}, .across = kCentre, .items = kThree},
         {{0, 102, 9, 111}, {15, 100, 34, 114}, {40, 103, 51, 110}}, 1},
        // Bottom 9, half the line 5: 9 - 5 - 5 would lie outside.
        {"across in the centre, at the edge", {.across = kCentre, .items = {{{10, 10}}}},
         {{0, 0, 9, 9}}, 1},
        // 70 pixels of children, 10 of gaps, 30 of room: a gap of -50 / 2.
        {"justify, overflowing", {.area = {0, 0, 29, 49}, .options = {.alignment = kJustify},
         .items = {{{5, 10}}, {{5, 10}}, {{60, 10}}}},
         {{0, 0, 4, 9}, {0, 0, 4, 9}, {0, 0, 59, 9}}, 1},
        {"no wrapping, end: overflows", {.area = {10, 0, 39, 49}, .options = {.alignment = kEnd},
         .items = kThree}, {{10, 0, 19, 9}, {25, 0, 44, 14}, {50, 0, 61, 7}}, 1},
        {"no wrapping, centre: overflows", {.area = {10, 0, 39, 49},
         .options = {.alignment = kCentre}, .items = kThree},
         {{10, 0, 19, 9}, {25, 0, 44, 14}, {50, 0, 61, 7}}, 1},
        // The second child ends at 34, the last pixel of the area.
        {"wrapping, just fits", {.area = {0, 0, 34, 49}, .options = {.wrap = true},
         .items = kThree}, {{0, 0, 9, 9}, {15, 0, 34, 14}, {0, 18, 11, 25}}, 2},
        {"wrapping, a pixel less", {.area = {0, 0, 33, 49}, .options = {.wrap = true},
         .items = kThree}, {{0, 0, 9, 9}, {0, 13, 19, 27}, {0, 31, 11, 38}}, 3},
        {"breaks, of which the last has no effect", {.items = kBroken},
         {{0, 0, 9, 9}, {0, 13, 19, 27}, {0, 31, 11, 38}}, 3},
        // Widths 1, 20, 1, 1 and 15 of gaps: 62 left, 20 each and 22 for the last.
        {"auto-sized ones share", {.items = {{{50, 10}, true}, {{20, 10}}, {{50, 10}, true},
         {{50, 10}, true}}}, {{0, 0, 20, 9}, {26, 0, 45, 9}, {51, 0, 71, 9}, {77, 0, 99, 9}}, 1},
        // Widths 11 and 1 and a gap of 5: 83 left, 41 for the first, which stops
        // at 15, 42 for the second; what the first left is nobody's.
        {"limits", {.items = kLimited}, {{0, 0, 14, 9}, {20, 0, 62, 9}}, 1},
        // Row width 15 + 5 + 43 = 63.
        {"limits, end", {.options = {.alignment = kEnd}, .items = kLimited},
         {{37, 0, 51, 9}, {57, 0, 99, 9}}, 1},
        // 40 + 5 + 20: 35 too many.
        {"shrinks to a pixel at least", {.area = {0, 0, 29, 49},
         .items = {{{40, 10}}, {{50, 10}, true, {20, 0}}}}, {{0, 0, 39, 9}, {45, 0, 45, 9}}, 1},
        {"uniform widths are the largest", {.options = {.uniformWidth = true}, .items = kThree},
         {{0, 0, 19, 9}, {25, 0, 44, 14}, {50, 0, 69, 7}}, 1},
        {"uniform heights", {.options = {.uniformHeight = true}, .items = kThree},
         {{0, 0, 9, 14}, {15, 0, 34, 14}, {40, 0, 51, 14}}, 1},
        {"an invisible child is passed over with its break",
         {.items = {{{10, 10}}, {{20, 15}, false, {}, {}, true, false}, {{12, 8}}}},
         {{0, 0, 9, 9}, {0, 0, 19, 14}, {15, 0, 26, 7}}, 1},
        // clang-format on
    };
    for (const auto& [what, layout, expected, lines] : kCases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(layout.rows(), expected);
        EXPECT_EQ(layout.columns(), expected);
        EXPECT_EQ(layout.result.lineCount, lines);
    }
    // The second line ends at 27, the third at 38.
    const Case low{.area = {0, 0, 99, 27}, .items = kBroken};
    low.rows();
    EXPECT_EQ(low.result.fittingCount, 2U);
    EXPECT_EQ(low.result.contentSize, (Size{20, 39}));
}

TEST(Layout, measureRows_anything_movesNoChild) {
    const auto parent = makeControl<Control>();
    parent->setSpacing(5, 3);
    const Controls children{controlOf({{10, 10}}), controlOf({{20, 15}, true, {7, 0}}), nullptr,
                            controlOf({{12, 8}})};
    children[1]->setBreaksLineAfter(true);
    EXPECT_EQ(measureRows(*parent, {0, 0, 999, 999}, children, {}), (Size{22, 26}));
    EXPECT_EQ(measureColumns(*parent, {0, 0, 999, 999}, children, {}), (Size{37, 14}));
    EXPECT_EQ(children[1]->boundary(), (Rect{0, 0, 19, 14}));
    LayoutOptions uniform;
    uniform.uniformWidth = true;
    uniform.uniformHeight = true;
    EXPECT_EQ(measureRows(*parent, {0, 0, 999, 999}, children, uniform), (Size{29, 33}));
    EXPECT_EQ(layoutInRows(*parent, {0, 0, 999, 999}, children, uniform).lineCount, 2U);
}

TEST(Layout, counts_beyond32Bits_failTheirAssertionForTheControl) {
    const test::TraceCapture trace;
    checkLayoutCount(0x7FFFFFFF, L"(childrenInRow)<=LONG_MAX");
    EXPECT_EQ(thrownText([] { checkLayoutCount(0x80000000, L"(childrenInRow)<=LONG_MAX"); }),
              L"(childrenInRow)<=LONG_MAX");
    ASSERT_EQ(trace.messages().size(), 2U);
    EXPECT_TRUE(trace.messages()[0].starts_with(
        "asserted: '(childrenInRow)<=LONG_MAX', in src/lib/ZuControl,"));
}

std::int32_t below(Random& random, std::size_t count) {
    return static_cast<std::int32_t>(random.below(count));
}

Case randomCase(Random& random) {
    Case layout;
    layout.area = Rect::at({below(random, 50), below(random, 50)}, {1 + below(random, 300), 1000});
    layout.spacing = {below(random, 8), below(random, 8)};
    layout.across = static_cast<Alignment>(random.below(4));
    // A centred child may sit a pixel above its line.
    layout.spacing.height += layout.across == Alignment::kCentre ? 1 : 0;
    layout.options.alignment = static_cast<Alignment>(random.below(3));
    layout.options.wrap = random.below(2) == 0;
    for (std::size_t i = random.below(20); i > 0; --i) {
        Item item;
        item.size = {1 + below(random, 60), 1 + below(random, 40)};
        item.autoSized = random.below(4) == 0;
        item.minimum.width = below(random, 20);
        item.maximum.width = below(random, 2) * (20 + below(random, 60));
        item.breaks = random.below(6) == 0;
        layout.items.push_back(item);
    }
    return layout;
}

TEST(Layout, randomChildren_keepOrderAndLimitsAndFillTheirLineWithoutOverlap) {
    for (std::uint64_t seed = 0; seed < 2000; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.label());
        Case layout = randomCase(random);
        const Rects rows = layout.rows();
        ASSERT_EQ(rows, layout.columns());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const Item& item = layout.items[i];
            ASSERT_FALSE(rows[i].isEmpty());
            ASSERT_GE(rows[i].left, layout.area.left);
            ASSERT_TRUE(item.autoSized || rows[i].size() == item.size);
            ASSERT_TRUE(!item.autoSized || item.maximum.width == 0 ||
                        rows[i].width() <= item.maximum.width);
            for (std::size_t j = 0; j < i; ++j) {
                ASSERT_FALSE(rows[i].intersects(rows[j])) << j << " " << i;
            }
            // Neighbours go on to the right, or to a line below.
            ASSERT_TRUE(i == 0 || rows[i].left > rows[i - 1].right ||
                        rows[i].bottom > rows[i - 1].bottom);
        }
        // In one wide line, the unlimited ones share what is left, and the last
        // of them ends at its end.
        layout.options.wrap = false;
        layout.area.right = layout.area.left + 2999;
        layout.items.push_back({{1, 1}, true});
        for (Item& item : layout.items) {
            item.breaks = false;
            item.maximum = {};
        }
        const Rects line = layout.rows();
        ASSERT_EQ(line.back().right, layout.area.right);
        std::set<std::int32_t> shares;
        for (std::size_t i = 0; i + 1 < line.size(); ++i) {
            if (layout.items[i].autoSized) {
                shares.insert(line[i].width() - std::max(layout.items[i].minimum.width, 1));
            }
        }
        ASSERT_LE(shares.size(), 1U);
    }
}

TEST(Layout, manyChildren_takeNoMemoryEach) {
    const auto parent = makeControl<Control>();
    Controls children(10'000);
    std::generate(children.begin(), children.end(), [] { return makeControl<Control>(); });
    const test::MemoryWatch memory;
    layoutInRows(*parent, {0, 0, 999, 999}, children, {});
    EXPECT_LT(memory.peak(), children.size());
}

}  // namespace
}  // namespace zustd
