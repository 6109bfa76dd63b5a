#include <gtest/gtest.h>

#include "ZuTimer.h"
#include "ZuWindowServiceWin32Gdi.h"
#include "support/DrawingTest.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

class TickCounter : public MessageSink {
public:
    int ticks = 0;
    std::function<void()> next = [] {};
    bool onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord) override {
        ticks += &kind == &Timer::kTimerTick ? 1 : 0;
        std::exchange(next, [] {})();
        return true;
    }
};

class TimerTest : public ::testing::Test {
protected:
    TimerTest() { timer_->connect(counter_, false); }
    void waitForTicks(int count) {
        runMessages(5000, [&] { return counter_->ticks >= count; });
    }

    std::shared_ptr<WindowService> windows_ = makeWindowService(nullptr);
    std::shared_ptr<Timer> timer_ = windows_->createTimer(L"test");
    std::shared_ptr<TickCounter> counter_ = std::make_shared<TickCounter>();
};

TEST_F(TimerTest, start_repeating_ticksUntilStopped) {
    EXPECT_FALSE(timer_->isRunning());
    EXPECT_EQ(timer_->getInterval(), 1000U);
    EXPECT_TRUE(timer_->start(10, true));
    waitForTicks(3);
    EXPECT_GE(counter_->ticks, 3);
    timer_->stop();
    EXPECT_FALSE(timer_->isRunning());
    const int ticks = counter_->ticks;
    runMessages(60);
    EXPECT_EQ(counter_->ticks, ticks);
}

TEST_F(TimerTest, start_notRepeating_ticksOnceAndCanBeStartedAgainByItsTick) {
    counter_->next = [&] {
        EXPECT_FALSE(timer_->isRunning()) << "stopped before its tick";
        timer_->start();
    };
    timer_->start(10, false);
    waitForTicks(2);
    runMessages(60);
    EXPECT_EQ(counter_->ticks, 2);
    EXPECT_FALSE(timer_->isRunning());
}

TEST_F(TimerTest, setInterval_whileRunning_countsFromNow) {
    timer_->start(60000, true);
    timer_->setInterval(10);
    waitForTicks(1);
    EXPECT_EQ(counter_->ticks, 1);
    EXPECT_EQ(timer_->getInterval(), 10u);
}

// The tick's message is in the queue already when the timer stops.
TEST_F(TimerTest, stopOrRestart_tickUnderWay_isDropped) {
    HWND window = nullptr;
    timer_->start(10, true);
    const ULONGLONG end = GetTickCount64() + 5000;
    MSG tick{};
    while (window == nullptr && GetTickCount64() < end) {
        if (PeekMessageW(&tick, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE)) {
            window = tick.hwnd;
        }
    }
    ASSERT_NE(window, nullptr);
    timer_->stop();
    DispatchMessageW(&tick);
    timer_->start(60000, true);
    DispatchMessageW(&tick);
    EXPECT_EQ(counter_->ticks, 0) << "the tick of a former start";
    timer_.reset();
    DispatchMessageW(&tick);
    EXPECT_EQ(counter_->ticks, 0);
}

TEST_F(TimerTest, destroy_inItsOwnTick_endsQuietly) {
    const std::weak_ptr<Timer> watched = timer_;
    counter_->next = [&] { timer_.reset(); };
    timer_->start(10, true);
    waitForTicks(1);
    runMessages(60);
    EXPECT_EQ(counter_->ticks, 1);
    EXPECT_TRUE(watched.expired());
    // The shared window went with its last timer; the next one gets another.
    timer_ = windows_->createTimer(L"next");
    timer_->connect(counter_, false);
    timer_->start(10, false);
    waitForTicks(2);
    EXPECT_EQ(counter_->ticks, 2);
}

TEST_F(TimerTest, tick_receiverFails_doesNotReachTheMessageLoop) {
    counter_->next = [] { throw 1; };
    timer_->start(10, true);
    waitForTicks(2);
    EXPECT_GE(counter_->ticks, 2);
}

}  // namespace
}  // namespace zustd
