#include "ZuTrackingPropertyBag.h"

#include <gtest/gtest.h>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

// The counter's halves, to get near their ends without two billion changes.
using Halves = std::tuple<std::uint32_t&, std::uint32_t&>;
template <auto High, auto Low>
struct Counter {
    friend Halves halvesOf(ChangeTracker& tracker) { return {tracker.*High, tracker.*Low}; }
};
Halves halvesOf(ChangeTracker& tracker);
template struct Counter<&ChangeTracker::changeCountHigh_, &ChangeTracker::changeCountLow_>;

TEST(ChangeTracker, countChange_atTheEndOfEachHalf_carriesAndStartsOver) {
    constexpr std::uint32_t kLast = 0x7FFFFFFF;
    ChangeTracker tracker;
    using Numbers = std::tuple<std::uint32_t, std::uint32_t>;
    const std::pair<Numbers, Numbers> kRows[] = {{{0, kLast - 1}, {0, kLast}},
                                                 {{0, kLast}, {1, 0}},
                                                 {{7, 0}, {7, 1}},
                                                 {{kLast, kLast}, {0, 0}}};
    for (const auto& [before, after] : kRows) {
        halvesOf(tracker) = before;
        tracker.markSaved();
        EXPECT_FALSE(tracker.isChanged());
        tracker.countChange();
        EXPECT_EQ(halvesOf(tracker), after);
        EXPECT_TRUE(tracker.isChanged());
        std::get<0>(halvesOf(tracker)) ^= 1;
        EXPECT_TRUE(tracker.isChanged());
    }
}

TEST(TrackingPropertyBag, changes_areCountedAndAnnouncedOnceWhateverTheSinksDo) {
    const auto first = std::make_shared<Listener>();
    const auto listener = std::make_shared<Listener>();
    const std::wstring changed = L"propertyChanged.ChangeTracker ";
    const std::wstring cleared = L"cacheCleared.ChangeTracker ";
    auto bag = std::make_unique<TrackingPropertyBag>();
    bag->connect(first, false);
    bag->connect(listener, false);
    const auto heard = [&] { return std::exchange(listener->log, {}); };
    bag->setLong(L"a", 0);
    bag->setLong(L"a", 0);
    bag->clear(L"a");
    bag->announcePropertyChanged(L"c", true);
    EXPECT_EQ(heard(), (Texts{changed + L"a", changed + L"a", cleared, changed + L"c"}));
    EXPECT_EQ(std::get<1>(halvesOf(*bag)), 3U) << "a cleared cache is no change";
    bag->parse(L"<bag><hmap><p><k>z</k></p><p><k>y</k></p></hmap></bag>");
    EXPECT_EQ(heard(), (Texts{changed + L"z", changed + L"y"}));
    first->next = [&] { bag->parse(L"<hmap><p><k>after</k></p></hmap>"); };
    const std::wstring key = L"a key that is too long for a small string";
    bag->setLong(key, 1);
    EXPECT_EQ(heard(), (Texts{changed + L"after", changed + key}));
    listener->next = [&] { bag.reset(); };
    bag->announcePropertyChanged(L"c", true);
    EXPECT_EQ(heard(), Texts{cleared});
}

}  // namespace
}  // namespace zustd
