// Rectangles, and the descriptors of fonts, texts and colours.
#include <limits>

#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kSmallest = std::numeric_limits<std::int32_t>::min();

TEST(Rect, edges_inclusive_countMoveAndMeetInWholePixels) {
    constexpr Rect rect{0, 0, 9, 4};
    EXPECT_EQ(rect.size(), (Size{10, 5}));
    EXPECT_TRUE(rect.intersects({9, 4, 20, 20}) && rect.contains({9, 0}));
    EXPECT_FALSE(rect.intersects({10, 0, 20, 9}) || rect.contains({10, 0}));
    EXPECT_EQ(rect.intersection({5, 3, 20, 7}), (Rect{5, 3, 9, 4}));
    EXPECT_EQ(rect.unionWith({2, -6, 15, 3}), (Rect{0, -6, 15, 4}));
    // Empty ones meet nothing and add nothing.
    EXPECT_FALSE(rect.intersects(Rect()));
    EXPECT_EQ(rect.unionWith(Rect()), rect);
    EXPECT_EQ(Rect().unionWith(rect), rect);
    Rect moved{10, 20, 19, 24};
    moved.moveTo({-5, 7});
    EXPECT_EQ(moved, (Rect{0, 7, 9, 11}));
    moved.setSize({0, -7});
    EXPECT_EQ(moved, (Rect{0, 7, 0, 7}));
}

TEST(Rect, arithmetic_absurdNumbers_saturates) {
    constexpr Rect whole{kSmallest, kSmallest, kLargest, kLargest};
    EXPECT_EQ(whole.width(), kLargest);
    EXPECT_EQ(Rect::at({kLargest, 0}, {kLargest, 1}).right, kLargest);
    EXPECT_EQ(whole.movedBy({kLargest, kSmallest}).right, kLargest);
    EXPECT_EQ(whole.shrunkBy(kSmallest, kLargest).left, kSmallest);
    EXPECT_EQ((Point{kSmallest, 0}).negated().x, kLargest);
}

TEST(Descriptors, setters_realChangesOnly_areReportedAndAnnouncedOnce) {
    const auto font = std::make_shared<FontDescriptor>();
    const auto log = std::make_shared<MessageLog>();
    font->connect(log, false);
    EXPECT_TRUE(font->setBold(true));
    EXPECT_FALSE(font->setBold(true));
    EXPECT_TRUE(font->setFaceName(L"Some Sans") && font->setSize(20));
    EXPECT_EQ(log->take(), L"propertyChanged propertyChanged propertyChanged");
    EXPECT_TRUE(font->reset());
    EXPECT_FALSE(font->reset());
    EXPECT_EQ(log->take(), L"propertyChanged");
    EXPECT_EQ(font->style(), (FontStyle{false, false, false, 11, L"Some Sans"}));
    ColorsDescriptor colors;
    EXPECT_TRUE(colors.setColor(ColorRole::kText, Color::rgb(0, 0, 0))) << "black is a colour";
    EXPECT_FALSE(colors.setColor(ColorRole::kText, Color::rgb(0, 0, 0)));
}

TEST(Descriptors, text_identifier_isLookedUpWhereItIsAskedFor) {
    const auto locator = std::make_shared<ServiceLocator>();
    TextDescriptor text(L"as it stands");
    EXPECT_EQ(text.text(*locator), L"as it stands");
    EXPECT_TRUE(text.setIdentifier(9001));
    EXPECT_FALSE(text.setIdentifier(9001));
    EXPECT_EQ(text.text(*locator), L"");
    EXPECT_FALSE(text.isEmpty());
    locator->registerService(makeService<NumberedTexts>(), true, true);
    EXPECT_EQ(text.text(*locator), L"text 9001");
    EXPECT_TRUE(text.setLiteral(L""));
    EXPECT_TRUE(text.isEmpty());
}

}  // namespace
}  // namespace zustd
