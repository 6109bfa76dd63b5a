#include <gtest/gtest.h>

#include <limits>

#include "ZuDescriptors.h"
#include "ZuGeometry.h"
#include "ZuResourceService.h"
#include "support/FrameworkTest.h"
#include "support/RecordingBackend.h"

namespace zustd {
namespace {

using test::MessageLog;

constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kSmallest = std::numeric_limits<std::int32_t>::min();

TEST(Rect, width_inclusiveEdges_countsBoth) {
    constexpr Rect rect{10, 20, 19, 24};
    EXPECT_EQ(rect.width(), 10);
    EXPECT_EQ(rect.height(), 5);
    EXPECT_FALSE(rect.isEmpty());
    EXPECT_EQ((Rect{5, 5, 5, 5}).size(), (Size{1, 1}));
    EXPECT_TRUE(Rect().isEmpty());
    EXPECT_EQ(Rect().size(), (Size{0, 0}));
}

TEST(Rect, moveTo_negativePlace_clampsToZeroAndKeepsTheSize) {
    Rect rect{10, 20, 19, 24};
    rect.moveTo({-5, 7});
    EXPECT_EQ(rect, (Rect{0, 7, 9, 11}));
    rect.moveTo({3, -1});
    EXPECT_EQ(rect, (Rect{3, 0, 12, 4}));
}

TEST(Rect, setSize_nothingOrLess_leavesOnePixel) {
    Rect rect{10, 20, 19, 24};
    rect.setSize({0, -7});
    EXPECT_EQ(rect, (Rect{10, 20, 10, 20}));
}

TEST(Rect, intersects_touchingEdges_onlyWhenAPixelIsShared) {
    constexpr Rect rect{0, 0, 9, 9};
    EXPECT_TRUE(rect.intersects({9, 9, 20, 20}));
    EXPECT_FALSE(rect.intersects({10, 0, 20, 9}));
    EXPECT_FALSE(rect.intersects(Rect()));
    EXPECT_EQ(rect.intersection({5, 5, 20, 7}), (Rect{5, 5, 9, 7}));
    EXPECT_TRUE(rect.contains({9, 0}));
    EXPECT_FALSE(rect.contains({10, 0}));
}

TEST(Rect, arithmetic_absurdNumbers_saturates) {
    constexpr Rect whole{kSmallest, kSmallest, kLargest, kLargest};
    EXPECT_EQ(whole.width(), kLargest);
    EXPECT_EQ(Rect::at({kLargest, 0}, {kLargest, 1}).right, kLargest);
    EXPECT_EQ(whole.movedBy({kLargest, kSmallest}).right, kLargest);
    EXPECT_EQ(whole.shrunkBy(kSmallest, kLargest).left, kSmallest);
    EXPECT_EQ((Point{kSmallest, 0}).negated().x, kLargest);
}

TEST(Rect, unionWith_emptyOnes_addNothing) {
    constexpr Rect rect{5, 5, 6, 6};
    EXPECT_EQ(rect.unionWith(Rect()), rect);
    EXPECT_EQ(Rect().unionWith(rect), rect);
    EXPECT_EQ(rect.unionWith({0, 6, 5, 9}), (Rect{0, 5, 6, 9}));
}

TEST(FontDescriptor, reset_afterChanges_keepsTheFaceAndAnnouncesOnce) {
    const auto font = std::make_shared<FontDescriptor>();
    const auto log = std::make_shared<MessageLog>();
    font->connect(log, false);
    EXPECT_EQ(font->style().size, 11);
    EXPECT_TRUE(font->setBold(true));
    EXPECT_FALSE(font->setBold(true));
    EXPECT_TRUE(font->setFaceName(L"Some Sans"));
    EXPECT_TRUE(font->setSize(20));
    EXPECT_EQ(log->take(), L"propertyChanged propertyChanged propertyChanged");
    EXPECT_TRUE(font->reset());
    EXPECT_EQ(log->take(), L"propertyChanged");
    EXPECT_EQ(font->style(), (FontStyle{false, false, false, 11, L"Some Sans"}));
    EXPECT_FALSE(font->reset());
    EXPECT_EQ(log->take(), L"");
}

// A resource service of two texts.
class TwoTexts : public Service, public IResourceService {
public:
    using Service::Service;
    bool selectLocale(std::wstring_view) override { return false; }
    std::wstring getNamespaceName() const override { return L"xx-xx"; }
    const FileResource* getFileResource(std::uint64_t) const override { return nullptr; }
    std::shared_ptr<const StringTable> getStringTable() const override { return nullptr; }
    std::wstring getString(std::uint64_t key) const override {
        return key == 9001 ? L"Okay" : std::wstring();
    }
};

TEST(TextDescriptor, text_identifier_isLookedUpWhereItIsAskedFor) {
    const auto locator = std::make_shared<ServiceLocator>();
    TextDescriptor text(L"as it stands");
    EXPECT_EQ(text.text(*locator), L"as it stands");
    EXPECT_TRUE(text.setIdentifier(9001));
    EXPECT_FALSE(text.setIdentifier(9001));
    EXPECT_EQ(text.text(*locator), L"");
    EXPECT_FALSE(text.isEmpty());
    locator->registerService(makeService<TwoTexts>(), true, true);
    EXPECT_EQ(text.text(*locator), L"Okay");
    EXPECT_TRUE(text.setLiteral(L""));
    EXPECT_TRUE(text.isEmpty());
}

TEST(ColorsDescriptor, setColor_blackAndUnset_areToldApart) {
    ColorsDescriptor colors;
    EXPECT_FALSE(colors.color(ColorRole::kText).isSet);
    EXPECT_TRUE(colors.setColor(ColorRole::kText, Color::rgb(0, 0, 0)));
    EXPECT_FALSE(colors.setColor(ColorRole::kText, Color::rgb(0, 0, 0)));
    EXPECT_TRUE(colors.color(ColorRole::kText).isSet);
    EXPECT_FALSE(colors.color(ColorRole::kHoverLink).isSet);
}

}  // namespace
}  // namespace zustd
