#include "ZuTimer.h"

namespace zustd {

ZU_MESSAGE_KIND(Timer::kTimerTick, MessageWords::kObject);

bool Timer::start(std::uint32_t milliseconds, bool repeating) {
    setInterval(milliseconds);
    setRepeating(repeating);
    return start();
}

void Timer::acceptTick() {
    const std::shared_ptr<Timer> self = sharedReference(this);
    if (!isRepeating()) {
        stop();
    }
    sendMessage(kTimerTick, MessageWord::ofObject(this), {});
}

}  // namespace zustd
