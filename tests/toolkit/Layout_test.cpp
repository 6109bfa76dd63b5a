// Rectangles, and where a layout puts its children.
#include <numeric>

#include "support/ToolkitTest.h"

namespace zustd::test {
namespace {

// Wants another height at another width, as what wraps does.
struct Child : Control {
    Size preferredSize() override {
        return {preferred.width, preferred.height + boundary().width() % 3};
    }
    Size preferred;
};

Rect turned(const Rect& rect, bool columns) {
    return columns ? Rect{rect.top, rect.left, rect.bottom, rect.right} : rect;
}
Size turned(Size size, bool columns) { return columns ? Size{size.height, size.width} : size; }

// One layout, worked out step by step as plainly as can be, for rows; columns
// are the same with everything turned. The last of the places are the counts of
// lines and of fitting children, and the content's size.
struct Plain {
    Arrangement how;
    std::shared_ptr<Control> holder = makeControl<Control>();
    const Controls& children = holder->children();
    bool shares = true;
    bool columns = how.flow == Flow::kColumns;
    Rect area = holder->area();

    std::vector<std::vector<std::size_t>> cut(std::vector<Rect>& places, Size& largest) const {
        const Rect room = turned(area, columns);
        std::vector<std::vector<std::size_t>> rows;
        int x = 0;
        bool breaks = true;
        for (std::size_t i = 0; i < children.size(); ++i) {
            auto& child = dynamic_cast<Child&>(*children[i]);
            const Placement& asked = child.placement();
            const Size given = how.measure ? child.preferredSize() : child.boundary().size();
            Size size = turned(given, columns);
            size.width = asked.autoSized ? turned(asked.minimum, columns).width : size.width;
            places.push_back(Rect::at({0, 0}, size));
            if (!child.isVisible()) {
                places.back() = turned(child.boundary(), columns);
                continue;
            }
            size = places.back().size();
            largest = {std::max(largest.width, size.width), std::max(largest.height, size.height)};
            if (breaks || (how.wrap && std::max(x, 0) + size.width - 1 > room.right)) {
                rows.emplace_back();
                x = room.left;
            }
            rows.back().push_back(i);
            x += turned(how.spacing, columns).width + size.width;
            breaks = asked.breaksLineAfter;
        }
        return rows;
    }
    std::vector<Rect> expected() const {
        const Rect room = turned(area, columns);
        const Size gap = turned(how.spacing, columns);
        const Alignment along = columns ? how.vertical : how.horizontal;
        const Alignment across = columns ? how.horizontal : how.vertical;
        const bool isWide = columns ? how.uniformHeight : how.uniformWidth;
        const bool isHigh = columns ? how.uniformWidth : how.uniformHeight;
        std::vector<Rect> places;
        Size largest;
        const std::vector<std::vector<std::size_t>> rows = cut(places, largest);
        int top = room.top;
        int fitting = 0;
        Size content;
        for (const std::vector<std::size_t>& row : rows) {
            const int gaps = static_cast<int>(row.size()) - 1;
            const auto leftover = [&] {
                return std::accumulate(row.begin(), row.end(),
                                       room.right - room.left + 1 - gap.width * gaps,
                                       [&](int left, auto i) { return left - places[i].width(); });
            };
            int height = 0;
            int sharing = 0;
            for (const std::size_t i : row) {
                height = std::max(height, places[i].height());
                sharing += shares && children[i]->placement().autoSized ? 1 : 0;
            }
            const int shared = leftover();
            for (int left = sharing; const std::size_t i : row) {
                const Placement& asked = children[i]->placement();
                if (shares && asked.autoSized) {
                    const int share = shared / sharing;
                    const int extra = --left != 0 ? share : shared - share * (sharing - 1);
                    const int most = turned(asked.maximum, columns).width;
                    const int width = places[i].width() + extra;
                    places[i].setSize(
                        {most != 0 ? std::min(width, most) : width, places[i].height()});
                }
            }
            const int rest = leftover();
            const int spread = gaps > 0 ? rest / gaps : 0;
            int left = room.left + (along == Alignment::kEnd      ? std::max(rest, 0)
                                    : along == Alignment::kCentre ? std::max(rest, 0) / 2
                                                                  : 0);
            for (const std::size_t i : row) {
                const Size size{isWide ? largest.width : places[i].width(),
                                isHigh ? largest.height : places[i].height()};
                const int bottom = top + height - 1;
                const bool isLow = across == Alignment::kEnd || across == Alignment::kJustify;
                const int y = isLow                          ? bottom - size.height + 1
                              : across == Alignment::kCentre ? bottom - size.height / 2 - height / 2
                                                             : top;
                Rect& place = places[i] = Rect::at({std::max(left, 0), std::max(y, 0)}, size);
                left = place.right + 1 +
                       (along < Alignment::kJustify    ? gap.width
                        : along == Alignment::kJustify ? spread
                                                       : 0);
                fitting += place.top >= room.top && place.bottom <= room.bottom ? 1 : 0;
                content = {std::max(content.width, place.right - room.left + 1),
                           std::max(content.height, place.bottom - room.top + 1)};
            }
            top += height + gap.height;
        }
        places.push_back({static_cast<int>(rows.size()), fitting, content.width, content.height});
        return places;
    }
    std::vector<Rect> places() const {
        std::vector<Rect> places;
        for (const auto& child : children) {
            places.push_back(turned(child->boundary(), columns));
        }
        return places;
    }
    std::vector<Rect> run() const {
        Controls given = children;
        given.insert(given.begin(), nullptr);
        const LayoutResult result = layOut(how, area, given);
        const Size content = turned(result.contentSize, columns);
        std::vector<Rect> all = places();
        all.push_back({static_cast<int>(result.lineCount), static_cast<int>(result.fittingCount),
                       content.width, content.height});
        return all;
    }
    // What a control around the children prefers at a width.
    Size preferred(int width) {
        const Size margin = how.margin;
        const Placement& asked = holder->placement();
        const auto within = [](int extent, int minimum, int maximum) {
            extent = std::max(extent, minimum);
            return maximum > 0 ? std::min(extent, maximum) : extent;
        };
        Size most = asked.maximum;
        if (how.wrap && !columns) {
            most.width = std::max(within(width, width, most.width), 1);
        }
        const auto room = [](int all, int border) {
            return all > 0 ? std::max(all - 2 * border, 1) : kUnlimited;
        };
        area = Rect::at({}, {room(most.width, margin.width), room(most.height, margin.height)});
        shares = false;
        how.vertical = how.horizontal = Alignment::kStart;
        const Rect last = expected().back();
        const Size content = turned(Size{last.right, last.bottom}, columns);
        return {within(content.width + 2 * margin.width, asked.minimum.width, asked.maximum.width),
                within(content.height + 2 * margin.height, asked.minimum.height,
                       asked.maximum.height)};
    }
};

// Also areas before 0 and turned inside out, and limits below 0.
Plain anyLayout(Random& random) {
    const auto from = [&](std::int32_t lowest, std::size_t count) {
        return lowest + static_cast<std::int32_t>(random.below(count));
    };
    const auto oneIn = [&](std::size_t count) { return random.below(count) == 0; };
    const bool odd = oneIn(4);
    const auto upTo = [&](std::size_t count) {
        return Size{oneIn(2) ? from(odd ? -9 : 0, count) : 0, oneIn(2) ? from(odd ? -9 : 0, count) : 0};
    };
    // clang-format off
    Plain layout{
        {oneIn(2) ? Flow::kRows : Flow::kColumns, static_cast<Alignment>(random.below(5)),
         static_cast<Alignment>(random.below(5)), {from(odd ? -4 : 0, 8), from(odd ? -4 : 0, 8)},
         {from(odd ? -60 : 0, 60), from(odd ? -60 : 0, 60)}, oneIn(2), oneIn(6), oneIn(6), oneIn(2)}};
    layout.holder->setSize({from(1, 300), from(1, 300)});
    layout.holder->setArrangement(layout.how);
    layout.holder->setPlacement({{from(-5, 90), from(-5, 90)}, upTo(200)});
    layout.area = layout.holder->innerArea();
    for (std::size_t i = random.below(16); i > 0; --i) {
        const auto child = makeControl<Child>();
        child->setSize({from(1, 60), from(1, 40)});
        child->preferred = {from(-2, 60), from(-2, 40)};
        child->setPlacement({{from(-5, 30), from(-5, 30)}, upTo(60), oneIn(4), oneIn(6)});
        child->setVisible(!oneIn(8));
        layout.holder->addChild(child);
    }
    // clang-format on
    return layout;
}

TEST(Layout, randomChildren_inRowsAndColumns_areWhereThePlainReckoningHasThem) {
    for (std::uint64_t seed = 0; seed < 3000; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.label());
        Plain layout = anyLayout(random);
        Control& holder = *layout.holder;
        std::vector<Rect> expected = layout.expected();
        const std::vector<Rect> before = layout.places();
        ASSERT_EQ(layout.run(), expected);
        const auto wantsOtherHeight = [](const auto& child) {
            return child->isVisible() && child->placement().autoSized &&
                   child->preferredSize().height != child->boundary().height();
        };
        if (!layout.columns && layout.how.measure &&
            std::any_of(layout.children.begin(), layout.children.end(), wantsOtherHeight)) {
            expected = layout.expected();
        }
        for (std::size_t i = 0; i < before.size(); ++i) {
            layout.children[i]->place(turned(before[i], layout.columns));
        }
        holder.arrange();
        expected.resize(before.size());
        ASSERT_EQ(layout.places(), expected);
        Size& gap = layout.how.spacing;
        gap = {std::abs(gap.width), std::abs(gap.height)};
        holder.setArrangement(layout.how);
        const int width = static_cast<int>(random.below(300)) - 9;
        ASSERT_EQ(holder.preferredSize(), layout.preferred(kUnlimited));
        ASSERT_EQ(holder.preferredSizeForWidth(width), layout.preferred(width)) << width;
    }
}

TEST(Layout, counts_beyondWhatANumberHolds_failAsTheControls) {
    const TraceCapture trace;
    checkLayoutCount(0x7FFFFFFF, L"(childrenInRow)<=LONG_MAX");
    EXPECT_EQ(thrownText([] { checkLayoutCount(0x80000000, L"(childrenInRow)<=LONG_MAX"); }),
              L"(childrenInRow)<=LONG_MAX");
    EXPECT_TRUE(trace.messages().at(0).starts_with(
        "asserted: '(childrenInRow)<=LONG_MAX', in src/lib/ZuControl,"));
}

TEST(Rect, edges_atTheEndsOfTheRange_saturate) {
    constexpr Rect whole{INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX};
    EXPECT_EQ(whole.movedBy({INT32_MAX, INT32_MIN}), (Rect{-1, INT32_MIN, INT32_MAX, -1}));
    EXPECT_EQ(whole.shrunkBy(INT32_MIN, INT32_MAX), (Rect{INT32_MIN, -1, INT32_MAX, 0}));
}

}  // namespace
}  // namespace zustd::test
