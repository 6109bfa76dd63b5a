#include "ZuTimer.h"

#include <algorithm>

namespace zustd {

const MessageKind Timer::kTimerTick(L"timerTick.Timer", MessageWords::kObject);

bool Timer::start() { return implementation().start(); }

bool Timer::start(std::uint32_t milliseconds, bool repeating) {
    setInterval(milliseconds);
    setRepeating(repeating);
    return start();
}

void Timer::stop() { implementation().stop(); }

bool Timer::isRunning() const { return implementation().isRunning(); }

void Timer::setInterval(std::uint32_t milliseconds) {
    implementation().setInterval(std::max(milliseconds, std::uint32_t{1}));
}

std::uint32_t Timer::getInterval() const { return implementation().getInterval(); }

void Timer::setRepeating(bool repeating) { implementation().setRepeating(repeating); }

bool Timer::isRepeating() const { return implementation().isRepeating(); }

void Timer::acceptTick() {
    const std::shared_ptr<Timer> self = sharedReference(this);
    if (!isRepeating()) {
        stop();
    }
    sendMessage(kTimerTick, MessageWord::ofObject(this), {});
}

}  // namespace zustd
