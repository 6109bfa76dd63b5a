// Rectangles, and where a layout puts its children.
#include <numeric>

#include "support/ToolkitTest.h"

namespace zustd::test {
namespace {

struct Child : Control {
    Size preferredSize() override { return preferred; }
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
    Rect area;
    Controls children;
    bool shares = true;
    bool columns = how.flow == Flow::kColumns;

    Rect room = turned(area, columns);
    Size gap = turned(how.spacing, columns);

    std::vector<std::vector<std::size_t>> cut(std::vector<Rect>& places, Size& largest) const {
        std::vector<std::vector<std::size_t>> rows;
        int x = 0;
        bool breaks = true;
        for (std::size_t i = 0; i < children.size(); ++i) {
            auto& child = dynamic_cast<Child&>(*children[i]);
            const Placement& asked = child.placement();
            Size size = turned(how.measure ? child.preferred : child.boundary().size(), columns);
            size.width = asked.autoSized ? turned(asked.minimum, columns).width : size.width;
            if (!child.isVisible()) {
                places.push_back(turned(child.boundary(), columns));
                continue;
            }
            size = places.emplace_back(Rect::at({0, 0}, size)).size();
            largest = {std::max(largest.width, size.width), std::max(largest.height, size.height)};
            if (breaks || (how.wrap && std::max(x, 0) + size.width - 1 > room.right)) {
                rows.emplace_back();
                x = room.left;
            }
            rows.back().push_back(i);
            x += gap.width + size.width;
            breaks = asked.breaksLineAfter;
        }
        return rows;
    }
    // What is left of a row; who shares takes some of it.
    int share(const std::vector<std::size_t>& row, std::vector<Rect>& places) const {
        int rest = room.right - room.left + 1 - gap.width * (static_cast<int>(row.size()) - 1);
        int sharing = 0;
        for (const std::size_t i : row) {
            rest -= places[i].width();
            sharing += shares && children[i]->placement().autoSized ? 1 : 0;
        }
        for (int left = sharing, all = rest; const std::size_t i : row) {
            const Placement& asked = children[i]->placement();
            if (shares && asked.autoSized) {
                const int extra = --left != 0 ? all / sharing : all - all / sharing * (sharing - 1);
                const int most = turned(asked.maximum, columns).width;
                const int before = places[i].width();
                const int width = most != 0 ? std::min(before + extra, most) : before + extra;
                places[i].setSize({width, places[i].height()});
                rest -= places[i].width() - before;
            }
        }
        return rest;
    }
    std::vector<Rect> expected() const {
        const auto along = static_cast<std::size_t>(columns ? how.vertical : how.horizontal);
        const auto across = static_cast<std::size_t>(columns ? how.horizontal : how.vertical);
        std::vector<Rect> places;
        Size largest;
        const std::vector<std::vector<std::size_t>> rows = cut(places, largest);
        int top = room.top;
        int fitting = 0;
        Size content;
        for (const std::vector<std::size_t>& row : rows) {
            const int rest = share(row, places);
            const int gaps = static_cast<int>(row.size()) - 1;
            const int spreads[] = {gap.width, gap.width, gap.width, gaps > 0 ? rest / gaps : 0, 0};
            const int starts[] = {0, std::max(rest, 0), std::max(rest, 0) / 2, 0, 0};
            int left = room.left + starts[along];
            int height = 0;
            for (const std::size_t i : row) {
                height = std::max(height, places[i].height());
            }
            for (const std::size_t i : row) {
                const bool isWide = columns ? how.uniformHeight : how.uniformWidth;
                const bool isHigh = columns ? how.uniformWidth : how.uniformHeight;
                const Size size{isWide ? largest.width : places[i].width(),
                                isHigh ? largest.height : places[i].height()};
                const int below = height - size.height;
                const int drops[] = {0, below, height - 1 - size.height / 2 - height / 2, below, 0};
                Rect& place = places[i] =
                    Rect::at({std::max(left, 0), std::max(top + drops[across], 0)}, size);
                left = place.right + 1 + spreads[along];
                fitting += place.top >= room.top && place.bottom <= room.bottom ? 1 : 0;
                content = {std::max(content.width, place.right - room.left + 1),
                           std::max(content.height, place.bottom - room.top + 1)};
            }
            top += height + gap.height;
        }
        places.push_back({static_cast<int>(rows.size()), fitting, content.width, content.height});
        return places;
    }
    std::vector<Rect> run() const {
        Controls given = children;
        given.insert(given.begin(), nullptr);
        const LayoutResult result = layOut(how, area, given);
        const Size content = turned(result.contentSize, columns);
        std::vector<Rect> places;
        for (const auto& child : children) {
            places.push_back(turned(child->boundary(), columns));
        }
        places.push_back({static_cast<int>(result.lineCount), static_cast<int>(result.fittingCount),
                          content.width, content.height});
        return places;
    }
};

// Also areas before 0 and turned inside out, and limits below 0.
Plain anyLayout(Random& random) {
    const auto from = [&](std::int32_t lowest, std::size_t count) {
        return lowest + static_cast<std::int32_t>(random.below(count));
    };
    const auto oneIn = [&](std::size_t count) { return random.below(count) == 0; };
    const bool odd = oneIn(4);
    const Point start{from(odd ? -60 : 0, 60), from(odd ? -60 : 0, 60)};
    // clang-format off
    Plain layout{
        {oneIn(2) ? Flow::kRows : Flow::kColumns, static_cast<Alignment>(random.below(5)),
         static_cast<Alignment>(random.below(5)), {from(odd ? -4 : 0, 8), from(odd ? -4 : 0, 8)}, {},
         oneIn(2), oneIn(6), oneIn(6), oneIn(2)},
        {start.x, start.y, start.x + from(odd ? -40 : 0, 300), start.y + from(odd ? -40 : 0, 300)}, {}};
    for (std::size_t i = random.below(16); i > 0; --i) {
        const auto child = makeControl<Child>();
        child->setSize({from(1, 60), from(1, 40)});
        child->preferred = {from(-2, 60), from(-2, 40)};
        const int lowest = odd ? -9 : 0;
        child->setPlacement(
            {{from(-5, 30), from(-5, 30)},
             {oneIn(2) ? from(lowest, 60) : 0, oneIn(2) ? from(lowest, 60) : 0}, oneIn(4), oneIn(6)});
        child->setVisible(!oneIn(8));
        layout.children.push_back(child);
    }
    // clang-format on
    return layout;
}

TEST(Layout, randomChildren_inRowsAndColumns_areWhereThePlainReckoningHasThem) {
    for (std::uint64_t seed = 0; seed < 5000; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.label());
        Plain layout = anyLayout(random);
        const std::vector<Rect> expected = layout.expected();
        ASSERT_EQ(layout.run(), expected);
        layout.how.spacing = {std::abs(layout.how.spacing.width),
                              std::abs(layout.how.spacing.height)};
        layout.how.vertical = layout.how.horizontal = Alignment::kStart;
        const Plain measured{layout.how, Rect::at({0, 0}, layout.area.size()), layout.children,
                             false};
        const Rect last = measured.expected().back();
        ASSERT_EQ(
            turned(measureLayout(measured.how, measured.area, measured.children), measured.columns),
            (Size{last.right, last.bottom}));
    }
}

TEST(Layout, arrangedControl_asksForItsRoomAndPlacesWhoChanges) {
    const auto box = makeControl<Control>();
    box->setBoundary({0, 0, 49, 49});
    for (int i = 0; i < 3; ++i) {
        box->addChild(makeControl<Child>());
        dynamic_cast<Child&>(*box->children().back()).preferred = {30, 10};
    }
    // 0 asks without a width.
    for (const auto& [wraps, maximum, width, expected] : {std::tuple{false, 0, 70, Size{102, 16}},
                                                          {true, 0, 0, {102, 16}},
                                                          {true, 0, 68, {68, 30}},
                                                          {true, 0, -9, {34, 44}},
                                                          {true, 1, 500, {1, 44}}}) {
        box->setArrangement(
            {.flow = Flow::kRows, .spacing = {4, 4}, .margin = {2, 3}, .wrap = wraps});
        box->setPlacement({.maximum = {maximum, 0}});
        EXPECT_EQ(width != 0 ? box->preferredSizeForWidth(width) : box->preferredSize(), expected);
    }
    box->setPlacement({});
    // Only who wants another size is put into place again.
    Control& child = *box->children()[0];
    for (const auto& [kind, left] : {std::pair{&Control::kUnselected, 50},
                                     {&Control::kChangePreferredWidth, 2},
                                     {&Control::kChangePreferredHeight, 2}}) {
        child.moveTo({50, 5});
        child.notify(*kind);
        EXPECT_EQ(child.boundary().left, left);
    }
    child.moveTo({50, 5});
    makeRecordingWindowService()->createNativeWindow()->addChild(box);
    EXPECT_EQ(child.boundary().left, 2);
}

TEST(Rect, edges_atTheEndsOfTheRange_saturate) {
    constexpr Rect whole{INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX};
    EXPECT_EQ(whole.movedBy({INT32_MAX, INT32_MIN}), (Rect{-1, INT32_MIN, INT32_MAX, -1}));
    EXPECT_EQ(whole.shrunkBy(INT32_MIN, INT32_MAX), (Rect{INT32_MIN, -1, INT32_MAX, 0}));
}

}  // namespace
}  // namespace zustd::test
