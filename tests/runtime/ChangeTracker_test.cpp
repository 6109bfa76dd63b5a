#include "ZuTrackingPropertyBag.h"

#include <gtest/gtest.h>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

// The counter's halves, to get near their ends without two billion changes.
template <std::uint32_t ChangeTracker::*Low, std::uint32_t ChangeTracker::*High>
struct Counter {
    friend void setCounter(ChangeTracker& tracker, std::uint32_t high, std::uint32_t low) {
        tracker.*Low = low;
        tracker.*High = high;
    }
    friend std::uint64_t counter(const ChangeTracker& tracker) {
        return std::uint64_t{tracker.*High} << 32 | tracker.*Low;
    }
};
void setCounter(ChangeTracker& tracker, std::uint32_t high, std::uint32_t low);
std::uint64_t counter(const ChangeTracker& tracker);
template struct Counter<&ChangeTracker::changeCountLow_, &ChangeTracker::changeCountHigh_>;

TEST(ChangeTracker, countChange_atTheEndOfEachHalf_carriesAndStartsOver) {
    ChangeTracker tracker;
    setCounter(tracker, 0, 0x7FFFFFFE);
    tracker.markSaved();
    EXPECT_FALSE(tracker.isChanged());
    tracker.countChange();
    EXPECT_EQ(counter(tracker), 0x7FFFFFFFU);
    tracker.countChange();
    EXPECT_EQ(counter(tracker), 0x1'00000000U);
    setCounter(tracker, 1, 0x7FFFFFFE);
    EXPECT_TRUE(tracker.isChanged()) << "the high half counts too";
    setCounter(tracker, 0x7FFFFFFF, 0x7FFFFFFF);
    tracker.countChange();
    EXPECT_EQ(counter(tracker), 0U);
}

TEST(TrackingPropertyBag, changesOfAnyKind_areCountedAndAnnouncedOnce) {
    const auto listener = std::make_shared<Listener>();
    const std::wstring changed = L"propertyChanged.ChangeTracker ";
    TrackingPropertyBag bag;
    bag.connect(listener, false);
    bag.setLong(L"a", 0);
    bag.setLong(L"a", 0);
    bag.clear(L"a");
    bag.announcePropertyChanged(L"c", true);
    EXPECT_EQ(
        std::exchange(listener->log, {}),
        (Texts{changed + L"a", changed + L"a", L"cacheCleared.ChangeTracker ", changed + L"c"}));
    EXPECT_EQ(counter(bag), 3U) << "a cleared cache is no change";
    bag.markSaved();
    bag.setLong(L"a", 0);
    EXPECT_FALSE(bag.isChanged());
    bag.parse(L"<bag><hmap><p><k>z</k></p><p><k>y</k></p></hmap></bag>");
    EXPECT_EQ(listener->log, (Texts{changed + L"z", changed + L"y"}));
    EXPECT_TRUE(bag.isChanged());
}

TEST(TrackingPropertyBag, sinkThatReadsTheBagAnewOrEndsIt_leavesTheMessageAlive) {
    auto bag = std::make_unique<TrackingPropertyBag>();
    const auto listener = std::make_shared<Listener>();
    const auto first = std::make_shared<Listener>();
    bag->connect(first, false);
    bag->connect(listener, false);
    first->next = [&] { bag->parse(L"<hmap><p><k>after</k></p></hmap>"); };
    bag->setLong(L"a key that is too long for a small string", 1);
    listener->next = [&] { bag.reset(); };
    bag->announcePropertyChanged(L"c", true);
    EXPECT_EQ(listener->log,
              (Texts{L"propertyChanged.ChangeTracker after",
                     L"propertyChanged.ChangeTracker a key that is too long for a small string",
                     L"cacheCleared.ChangeTracker "}));
}

}  // namespace
}  // namespace zustd
