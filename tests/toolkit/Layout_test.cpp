#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "ZuControl.h"
#include "ZuLayout.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using test::Random;
using test::thrownText;

// A child of a layout: what it asks for.
struct Item {
    Size size;
    Size preferred;
    bool autoSized = false;
    Size minimum;
    Size maximum;
    bool breaks = false;
    bool visible = true;
};

class Child : public Control {
public:
    Size preferredSize() override { return preferred; }
    Size preferred;
};

Rect mirrored(const Rect& rect) { return {rect.top, rect.left, rect.bottom, rect.right}; }
Size mirrored(Size size) { return {size.height, size.width}; }

// What a layout makes of its children, written down for rows.
struct Outcome {
    std::vector<Rect> places;
    std::size_t lines = 0;
    std::size_t fitting = 0;
    Size content;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

// One layout, written down for rows; the same mirrored is the one for columns.
struct Case {
    Rect area;
    Arrangement how;
    std::vector<Item> items;

    Outcome run(bool asColumns, Size* measured = nullptr) const {
        const auto turn = [=](auto what) { return asColumns ? mirrored(what) : what; };
        Controls children;
        for (const Item& item : items) {
            const auto child = makeControl<Child>();
            child->setSize(turn(item.size));
            child->preferred = turn(item.preferred);
            child->setPlacement(
                {turn(item.minimum), turn(item.maximum), item.autoSized, item.breaks});
            child->setVisible(item.visible);
            children.push_back(child);
        }
        children.push_back(nullptr);
        Arrangement turned = how;
        turned.flow = asColumns ? Flow::kColumns : Flow::kRows;
        turned.spacing = turn(how.spacing);
        if (asColumns) {
            std::swap(turned.uniformWidth, turned.uniformHeight);
            std::swap(turned.horizontal, turned.vertical);
        }
        LayoutResult result;
        if (measured != nullptr) {
            *measured = turn(measureLayout(turned, turn(area), children));
        } else {
            result = layOut(turned, turn(area), children);
        }
        Outcome outcome{{}, result.lineCount, result.fittingCount, turn(result.contentSize)};
        for (std::size_t i = 0; i < items.size(); ++i) {
            outcome.places.push_back(turn(children[i]->boundary()));
        }
        return outcome;
    }

    // The same worked out step by step, as plainly as can be.
    Outcome expected() const;
};

Outcome Case::expected() const {
    struct Row {
        std::vector<std::size_t> children;
        int width = 0;
        int height = 0;
    };
    std::vector<Row> rows;
    Outcome outcome;
    int x = area.left;
    Size largest;
    bool breaksBefore = false;
    for (std::size_t i = 0; i < items.size(); ++i) {
        const Item& item = items[i];
        outcome.places.push_back(Rect::at({0, 0}, item.size));
        if (!item.visible) {
            continue;
        }
        Size size = how.measure ? item.preferred : item.size;
        size.width = std::max(item.autoSized ? item.minimum.width : size.width, 1);
        size.height = std::max(size.height, 1);
        largest = {std::max(largest.width, size.width), std::max(largest.height, size.height)};
        const bool reachesOut = how.wrap && std::max(x, 0) + size.width - 1 > area.right;
        if (rows.empty() || breaksBefore || reachesOut) {
            rows.push_back({{}, -how.spacing.width, 0});
            x = area.left;
        }
        Row& row = rows.back();
        row.children.push_back(i);
        row.width += how.spacing.width + size.width;
        row.height = std::max(row.height, size.height);
        x += how.spacing.width + size.width;
        breaksBefore = item.breaks;
        outcome.places[i].setSize(size);
    }
    int top = area.top;
    for (Row& row : rows) {
        const int all = area.right - area.left + 1;
        const int count = static_cast<int>(row.children.size());
        std::vector<std::size_t> sharing;
        std::copy_if(row.children.begin(), row.children.end(), std::back_inserter(sharing),
                     [&](std::size_t i) { return items[i].autoSized; });
        const int shares = static_cast<int>(sharing.size());
        const int leftover = all - row.width;
        for (int k = 0; k < shares; ++k) {
            Rect& place = outcome.places[sharing[static_cast<std::size_t>(k)]];
            const int maximum = items[sharing[static_cast<std::size_t>(k)]].maximum.width;
            const int share = leftover / shares;
            int width = place.width() + (k + 1 < shares ? share : leftover - share * (shares - 1));
            width = std::max(maximum != 0 ? std::min(width, maximum) : width, 1);
            row.width += width - place.width();
            place.setSize({width, place.height()});
        }
        const int room = std::max(all - row.width, 0);
        const int kind = static_cast<int>(how.horizontal);
        const int offset = kind == 1 ? room : kind == 2 ? room / 2 : 0;
        const int spread = kind == 3 && count > 1 ? (all - row.width) / (count - 1) : 0;
        int left = area.left + offset;
        for (const std::size_t i : row.children) {
            Rect& place = outcome.places[i];
            const int width = how.uniformWidth ? largest.width : place.width();
            const int height = how.uniformHeight ? largest.height : place.height();
            const int bottom = top + row.height - 1;
            const int y = how.vertical == Alignment::kStart ? top
                          : how.vertical == Alignment::kCentre
                              ? bottom - height / 2 - row.height / 2
                              : bottom - height + 1;
            place = Rect::at({std::max(left, 0), std::max(y, 0)}, {width, height});
            left = place.right + 1 + (kind < 3 ? how.spacing.width : spread);
            outcome.fitting += place.top >= area.top && place.bottom <= area.bottom ? 1 : 0;
            outcome.content = {std::max(outcome.content.width, place.right - area.left + 1),
                               std::max(outcome.content.height, place.bottom - area.top + 1)};
        }
        top += row.height + how.spacing.height;
    }
    outcome.lines = rows.size();
    return outcome;
}

std::int32_t from(Random& random, std::int32_t lowest, std::size_t count) {
    return lowest + static_cast<std::int32_t>(random.below(count));
}

bool oneIn(Random& random, std::size_t count) { return random.below(count) == 0; }

// Also areas before 0 and turned inside out, and limits below 0.
Case anyCase(Random& random) {
    Case layout;
    const bool odd = oneIn(random, 4);
    const auto start = [&] { return odd ? from(random, -60, 120) : from(random, 0, 50); };
    layout.area.left = start();
    layout.area.top = start();
    layout.area.right = layout.area.left + from(random, odd ? -40 : 0, 300);
    layout.area.bottom = layout.area.top + from(random, odd ? -40 : 0, 200);
    layout.how.spacing = {from(random, odd ? -4 : 0, 8), from(random, odd ? -4 : 0, 8)};
    layout.how.vertical = static_cast<Alignment>(random.below(4));
    layout.how.horizontal = static_cast<Alignment>(random.below(5));
    layout.how.uniformWidth = oneIn(random, 6);
    layout.how.uniformHeight = oneIn(random, 6);
    layout.how.measure = oneIn(random, 2);
    layout.how.wrap = oneIn(random, 2);
    for (std::size_t i = random.below(16); i > 0; --i) {
        Item item;
        item.size = {from(random, 1, 60), from(random, 1, 40)};
        item.preferred = {from(random, -2, 60), from(random, -2, 40)};
        item.autoSized = oneIn(random, 4);
        item.minimum = {from(random, -5, 30), from(random, 0, 50)};
        item.maximum = {oneIn(random, 2) ? from(random, odd ? -9 : 0, 60) : 0, from(random, 0, 9)};
        item.breaks = oneIn(random, 6);
        item.visible = !oneIn(random, 8);
        layout.items.push_back(item);
    }
    return layout;
}

TEST(Layout, randomChildren_inRowsAndColumns_areWhereThePlainReckoningHasThem) {
    for (std::uint64_t seed = 0; seed < 5000; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.label());
        Case layout = anyCase(random);
        const Outcome expected = layout.expected();
        const Outcome rows = layout.run(false);
        ASSERT_EQ(rows.places, expected.places);
        ASSERT_TRUE(rows == expected);
        ASSERT_TRUE(layout.run(true) == expected) << "columns";
        // Measured is what nobody shares and nothing spreads.
        layout.area = Rect::at({0, 0}, layout.area.size());
        layout.how.spacing = {std::abs(layout.how.spacing.width),
                              std::abs(layout.how.spacing.height)};
        layout.how.vertical = layout.how.horizontal = Alignment::kStart;
        Size measured[2];
        for (const bool asColumns : {false, true}) {
            const Outcome untouched = layout.run(asColumns, &measured[asColumns ? 1 : 0]);
            for (std::size_t i = 0; i < layout.items.size(); ++i) {
                ASSERT_EQ(untouched.places[i], Rect::at({0, 0}, layout.items[i].size));
            }
        }
        for (Item& item : layout.items) {
            item.size.width = item.autoSized ? item.minimum.width : item.size.width;
            item.preferred.width = item.autoSized ? item.minimum.width : item.preferred.width;
            item.autoSized = false;
        }
        ASSERT_EQ(measured[0], layout.expected().content);
        ASSERT_EQ(measured[1], layout.expected().content) << "columns";
    }
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

TEST(Layout, childThatFailsToMeasure_movesNoneOfTheOthers) {
    class Failing : public Control {
    public:
        Size preferredSize() override { throw std::runtime_error("no size"); }
    };
    const Controls children{makeControl<Child>(), makeControl<Failing>()};
    children[0]->setBoundary({7, 8, 9, 10});
    EXPECT_THROW(layOut({.spacing = {4, 4}}, {20, 20, 99, 99}, children), std::runtime_error);
    EXPECT_EQ(children[0]->boundary(), (Rect{7, 8, 9, 10}));
}

TEST(Layout, manyChildren_takeTheirSizeEach) {
    Controls children(10'000);
    std::generate(children.begin(), children.end(), [] { return makeControl<Control>(); });
    const test::MemoryWatch memory;
    layOut({}, {0, 0, 999, 999}, children);
    EXPECT_LT(memory.peak(), children.size() * (sizeof(Size) + 1));
}

}  // namespace
}  // namespace zustd
