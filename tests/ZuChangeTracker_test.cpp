#include "ZuChangeTracker.h"

#include <gtest/gtest.h>

namespace zustd {
namespace {

using Log = std::vector<std::wstring>;

// Writes down every message as its name and text.
class Listener : public MessageSink {
public:
    Log log;

    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord) override {
        log.push_back(std::wstring(kind.name()) + L" " + a.text());
        return true;
    }
};

template <class Tracker>
struct Tracked {
    std::shared_ptr<Tracker> source = std::make_shared<Tracker>();
    std::shared_ptr<Listener> sink = std::make_shared<Listener>();

    Tracked() { source->connect(sink, false); }
    Log takeLog() { return std::exchange(sink->log, {}); }
};

// The counter's low half, to get near its end without two billion changes.
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
    EXPECT_FALSE(tracker.isChanged());
    setCounter(tracker, 0, 0x7FFFFFFE);
    tracker.markSaved();
    EXPECT_FALSE(tracker.isChanged());
    tracker.countChange();
    EXPECT_EQ(counter(tracker), 0x7FFFFFFFU);
    tracker.countChange();
    EXPECT_EQ(counter(tracker), 0x1'00000000U);
    EXPECT_TRUE(tracker.isChanged());
    setCounter(tracker, 1, 0x7FFFFFFE);
    EXPECT_TRUE(tracker.isChanged()) << "the high half counts too";
    setCounter(tracker, 0x7FFFFFFF, 0x7FFFFFFF);
    tracker.countChange();
    EXPECT_EQ(counter(tracker), 0U);
}

TEST(ChangeTracker, announcePropertyChanged_withClearCache_announcesTheCacheFirst) {
    Tracked<ChangeTracker> tracked;
    tracked.source->announcePropertyChanged(L"a", false);
    tracked.source->announcePropertyChanged(L"b", true);
    EXPECT_EQ(tracked.takeLog(),
              (Log{L"propertyChanged.ChangeTracker a", L"cacheCleared.ChangeTracker ",
                   L"propertyChanged.ChangeTracker b"}));
    EXPECT_EQ(counter(*tracked.source), 2U);
    tracked.source->announceCacheCleared();
    EXPECT_EQ(counter(*tracked.source), 2U) << "a cleared cache is no change";
    tracked.source->markSaved();
    EXPECT_FALSE(tracked.source->isChanged());
}

TEST(TrackingPropertyBag, changesOfAnyKind_areCountedAndAnnouncedOnce) {
    Tracked<TrackingPropertyBag> tracked;
    TrackingPropertyBag& bag = *tracked.source;
    bag.setLong(L"a", 0);
    bag.setLong(L"a", 0);
    bag.setString(L"b", L"x");
    bag.clear(L"a");
    EXPECT_EQ(tracked.takeLog(),
              (Log{L"propertyChanged.ChangeTracker a", L"propertyChanged.ChangeTracker b",
                   L"propertyChanged.ChangeTracker a"}));
    EXPECT_EQ(counter(bag), 3U);
    bag.markSaved();
    bag.setString(L"b", L"x");
    EXPECT_FALSE(bag.isChanged());
    bag.parse(L"<bag><hmap><p><k>z</k></p><p><k>y</k></p></hmap></bag>");
    EXPECT_EQ(tracked.takeLog(),
              (Log{L"propertyChanged.ChangeTracker z", L"propertyChanged.ChangeTracker y"}));
    EXPECT_TRUE(bag.isChanged());
}

// Has the bag read anew in the middle of an announcement.
class Rereader : public MessageSink {
public:
    explicit Rereader(TrackingPropertyBag& bag) : bag_(bag) {}

    bool onReceiveMessage(const MessageKind&, MessageWord, MessageWord) override {
        if (rounds_++ == 0) {
            bag_.parse(L"<hmap><p><k>after</k></p></hmap>");
        }
        return true;
    }

private:
    TrackingPropertyBag& bag_;
    int rounds_ = 0;
};

TEST(TrackingPropertyBag, sinkThatReadsTheBagAnew_leavesTheKeyOfItsMessageAlive) {
    const auto bag = std::make_shared<TrackingPropertyBag>();
    const auto listener = std::make_shared<Listener>();
    bag->connect(std::make_shared<Rereader>(*bag), false);
    bag->connect(listener, false);
    bag->setLong(L"a key that is too long for a small string", 1);
    EXPECT_EQ(listener->log,
              (Log{L"propertyChanged.ChangeTracker after",
                   L"propertyChanged.ChangeTracker a key that is too long for a small string"}));
}

}  // namespace
}  // namespace zustd
