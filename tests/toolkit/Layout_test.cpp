// Rectangles, descriptors, and where a layout puts its children.
#include <algorithm>
#include <stdexcept>

#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

class Child : public Control {
public:
    Size preferredSize() override { return preferred; }
    Size preferred;
};

Rect turned(const Rect& rect) { return {rect.top, rect.left, rect.bottom, rect.right}; }
Size turned(Size size) { return {size.height, size.width}; }

// What a layout makes of its children, written down for rows.
struct Outcome {
    std::vector<Rect> places;
    std::size_t lines = 0;
    std::size_t fitting = 0;
    Size content;

    friend bool operator==(const Outcome&, const Outcome&) = default;
};

// One layout for rows.
struct Case {
    Rect area;
    Arrangement how;
    std::vector<std::shared_ptr<Child>> items;

    // The one for columns.
    Case mirrored() const {
        Case other{turned(area), how, {}};
        other.how.flow = Flow::kColumns;
        other.how.spacing = turned(how.spacing);
        std::swap(other.how.uniformWidth, other.how.uniformHeight);
        std::swap(other.how.horizontal, other.how.vertical);
        for (const auto& item : items) {
            const Placement& from = item->placement();
            other.items.push_back(makeControl<Child>());
            other.items.back()->setBoundary(turned(item->boundary()));
            other.items.back()->preferred = turned(item->preferred);
            other.items.back()->setPlacement(
                {turned(from.minimum), turned(from.maximum), from.autoSized, from.breaksLineAfter});
            other.items.back()->setVisible(item->isVisible());
        }
        return other;
    }
    Controls children() const {
        Controls all(items.begin(), items.end());
        all.push_back(nullptr);
        return all;
    }
    Outcome run() const {
        const LayoutResult result = layOut(how, area, children());
        const bool columns = how.flow == Flow::kColumns;
        Outcome outcome{{},
                        result.lineCount,
                        result.fittingCount,
                        columns ? turned(result.contentSize) : result.contentSize};
        for (const auto& item : items) {
            outcome.places.push_back(columns ? turned(item->boundary()) : item->boundary());
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
        Child& item = *items[i];
        const Placement& asked = item.placement();
        outcome.places.push_back(item.boundary());
        if (!item.isVisible()) {
            continue;
        }
        Size size = how.measure ? item.preferred : item.boundary().size();
        size.width = std::max(asked.autoSized ? asked.minimum.width : size.width, 1);
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
        breaksBefore = asked.breaksLineAfter;
        outcome.places[i].setSize(size);
    }
    int top = area.top;
    for (Row& row : rows) {
        const int all = area.right - area.left + 1;
        const int count = static_cast<int>(row.children.size());
        std::vector<std::size_t> sharing;
        std::copy_if(row.children.begin(), row.children.end(), std::back_inserter(sharing),
                     [&](std::size_t i) { return items[i]->placement().autoSized; });
        const int shares = static_cast<int>(sharing.size());
        const int leftover = all - row.width;
        for (int k = 0; k < shares; ++k) {
            Rect& place = outcome.places[sharing[static_cast<std::size_t>(k)]];
            const int maximum =
                items[sharing[static_cast<std::size_t>(k)]]->placement().maximum.width;
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

// Also areas before 0 and turned inside out, and limits below 0.
Case anyCase(Random& random) {
    const auto from = [&](std::int32_t lowest, std::size_t count) {
        return lowest + static_cast<std::int32_t>(random.below(count));
    };
    const auto oneIn = [&](std::size_t count) { return random.below(count) == 0; };
    const bool odd = oneIn(4);
    const Point start{from(odd ? -60 : 0, 60), from(odd ? -60 : 0, 60)};
    Case layout{
        {start.x, start.y, start.x + from(odd ? -40 : 0, 300), start.y + from(odd ? -40 : 0, 200)},
        {.flow = Flow::kRows,
         .horizontal = static_cast<Alignment>(random.below(5)),
         .vertical = static_cast<Alignment>(random.below(4)),
         .spacing = {from(odd ? -4 : 0, 8), from(odd ? -4 : 0, 8)},
         .wrap = oneIn(2),
         .uniformWidth = oneIn(6),
         .uniformHeight = oneIn(6),
         .measure = oneIn(2)},
        {}};
    for (std::size_t i = random.below(16); i > 0; --i) {
        const auto item = makeControl<Child>();
        item->setSize({from(1, 60), from(1, 40)});
        item->preferred = {from(-2, 60), from(-2, 40)};
        item->setPlacement({{from(-5, 30), from(0, 50)},
                            {oneIn(2) ? from(odd ? -9 : 0, 60) : 0, from(0, 9)},
                            oneIn(4),
                            oneIn(6)});
        item->setVisible(!oneIn(8));
        layout.items.push_back(item);
    }
    return layout;
}

TEST(Layout, randomChildren_inRowsAndColumns_areWhereThePlainReckoningHasThem) {
    for (std::uint64_t seed = 0; seed < 5000; ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.label());
        Case layout = anyCase(random);
        const Case columns = layout.mirrored();
        const Outcome expected = layout.expected();
        ASSERT_TRUE(columns.run() == expected) << "columns";
        ASSERT_TRUE(layout.run() == expected);
        // Measured is what nobody shares and nothing spreads.
        layout.area = Rect::at({0, 0}, layout.area.size());
        layout.how.spacing = {std::abs(layout.how.spacing.width),
                              std::abs(layout.how.spacing.height)};
        layout.how.vertical = layout.how.horizontal = Alignment::kStart;
        const Case mirrored = layout.mirrored();
        const Size sizes[] = {
            measureLayout(layout.how, layout.area, layout.children()),
            turned(measureLayout(mirrored.how, mirrored.area, mirrored.children()))};
        for (const auto& item : layout.items) {
            if (item->placement().autoSized) {
                item->preferred.width = item->placement().minimum.width;
                item->setSize({item->preferred.width, item->boundary().height()});
                item->setPlacement({.breaksLineAfter = item->placement().breaksLineAfter});
            }
        }
        ASSERT_EQ(sizes[0], layout.expected().content);
        ASSERT_EQ(sizes[1], sizes[0]) << "columns";
    }
}

TEST(Layout, countsAndFailures_areCheckedBeforeAnyChildMoves) {
    class Failing : public Control {
    public:
        Size preferredSize() override { throw std::runtime_error("no size"); }
    };
    const test::TraceCapture trace;
    checkLayoutCount(0x7FFFFFFF, L"(childrenInRow)<=LONG_MAX");
    EXPECT_EQ(thrownText([] { checkLayoutCount(0x80000000, L"(childrenInRow)<=LONG_MAX"); }),
              L"(childrenInRow)<=LONG_MAX");
    EXPECT_TRUE(trace.messages().at(0).starts_with(
        "asserted: '(childrenInRow)<=LONG_MAX', in src/lib/ZuControl,"));
    const Controls children{makeControl<Child>(), makeControl<Failing>()};
    children[0]->setBoundary({7, 8, 9, 10});
    EXPECT_THROW(layOut({.spacing = {4, 4}}, {20, 20, 99, 99}, children), std::runtime_error);
    EXPECT_EQ(children[0]->boundary(), (Rect{7, 8, 9, 10}));
    Controls many(10'000);
    std::generate(many.begin(), many.end(), [] { return makeControl<Control>(); });
    const MemoryWatch memory;
    layOut({}, {0, 0, 999, 999}, many);
    EXPECT_LT(memory.peak(), many.size() * (sizeof(Size) + 1));
}

// --- Rectangles and descriptors ---

TEST(Rect, edges_inclusive_countMoveMeetAndSaturate) {
    constexpr std::int32_t largest = INT32_MAX;
    constexpr std::int32_t smallest = INT32_MIN;
    constexpr Rect rect{0, 0, 9, 4};
    EXPECT_EQ(rect.size(), (Size{10, 5}));
    EXPECT_TRUE(rect.intersects({9, 4, 20, 20}) && rect.contains({9, 0}));
    EXPECT_FALSE(rect.intersects({10, 0, 20, 9}) || rect.contains({10, 0}) ||
                 rect.contains({0, 5}) || rect.contains({0, -1}));
    EXPECT_EQ(rect.intersection({5, 3, 20, 7}), (Rect{5, 3, 9, 4}));
    EXPECT_EQ(rect.unionWith({2, -6, 15, 3}), (Rect{0, -6, 15, 4}));
    // Empty ones meet nothing and add nothing.
    EXPECT_FALSE(rect.intersects(Rect()));
    EXPECT_EQ(rect.unionWith(Rect()), rect);
    EXPECT_EQ(Rect().unionWith(rect), rect);
    constexpr Rect whole{smallest, smallest, largest, largest};
    EXPECT_EQ(whole.width(), largest);
    EXPECT_EQ(Rect::at({largest, 0}, {largest, 1}).right, largest);
    EXPECT_EQ(whole.movedBy({largest, smallest}).right, largest);
    EXPECT_EQ(whole.shrunkBy(smallest, largest).left, smallest);
    EXPECT_EQ((Point{smallest, 0}).negated().x, largest);
}

TEST(Descriptors, setters_realChangesOnly_areReportedAndAnnouncedOnce) {
    const auto font = std::make_shared<FontDescriptor>();
    const auto log = std::make_shared<MessageLog>();
    font->connect(log, false);
    EXPECT_TRUE(font->setBold(true) && font->setFaceName(L"Some Sans") && font->setSize(20));
    EXPECT_FALSE(font->setBold(true));
    EXPECT_TRUE(font->reset());
    EXPECT_FALSE(font->reset());
    EXPECT_EQ(log->take(), L"propertyChanged propertyChanged propertyChanged propertyChanged");
    EXPECT_EQ(font->style(), (FontStyle{false, false, false, 11, L"Some Sans"}));
    ColorsDescriptor colors;
    EXPECT_TRUE(colors.setColor(ColorRole::kText, Color::rgb(0, 0, 0))) << "black is a colour";
    EXPECT_FALSE(colors.setColor(ColorRole::kText, Color::rgb(0, 0, 0)));
    // A number is looked up where it is asked for.
    const auto locator = std::make_shared<ServiceLocator>();
    TextDescriptor text(L"as it stands");
    EXPECT_EQ(text.text(*locator), L"as it stands");
    EXPECT_TRUE(text.setIdentifier(9001));
    EXPECT_FALSE(text.setIdentifier(9001) || text.isEmpty());
    EXPECT_EQ(text.text(*locator), L"");
    locator->registerService(makeService<NumberedTexts>(), true, true);
    EXPECT_EQ(text.text(*locator), L"text 9001");
    EXPECT_TRUE(text.setLiteral(L"") && text.isEmpty());
}

}  // namespace
}  // namespace zustd
