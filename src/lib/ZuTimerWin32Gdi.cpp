#include "ZuTimerWin32Gdi.h"

#include <algorithm>

namespace zustd {

namespace {

constinit thread_local std::weak_ptr<TimerWindowWin32Gdi> windowOfThread;

}  // namespace

void CALLBACK TimerWindowWin32Gdi::tick(HWND, UINT, UINT_PTR number, DWORD) noexcept {
    guarded(ZU_OPERATION, [&] {
        // The last timer may be destroyed by its own tick; its window then goes when this ends.
        const std::shared_ptr<TimerWindowWin32Gdi> self = windowOfThread.lock();
        if (!self) {
            return;
        }
        if (const auto found = self->timers.find(number); found != self->timers.end()) {
            found->second->getAbstraction().acceptTick();
        }
    });
}

std::shared_ptr<TimerWindowWin32Gdi> TimerWindowWin32Gdi::ofThisThread() {
    std::shared_ptr<TimerWindowWin32Gdi> shared = windowOfThread.lock();
    if (!shared) {
        shared = std::make_shared<TimerWindowWin32Gdi>();
        shared->window = ZU_SYSTEM(makeHiddenWindow(HWND_MESSAGE));
        windowOfThread = shared;
    }
    return shared;
}

bool TimerWin32Gdi::start() {
    stop();
    guarded(ZU_OPERATION, [this] {
        window_->timers.emplace(++window_->lastNumber, this);
        number_ = window_->lastNumber;
        const UINT interval = std::clamp<UINT>(interval_, USER_TIMER_MINIMUM, USER_TIMER_MAXIMUM);
        if (SetTimer(window_->window.get(), number_, interval, &TimerWindowWin32Gdi::tick) == 0) {
            stop();
        }
    });
    return isRunning();
}

void TimerWin32Gdi::stop() {
    if (const UINT_PTR number = std::exchange(number_, 0)) {
        window_->timers.erase(number);
        KillTimer(window_->window.get(), number);
    }
}

void TimerWin32Gdi::setInterval(std::uint32_t milliseconds) {
    interval_ = milliseconds;
    if (isRunning()) {
        start();
    }
}

}  // namespace zustd
