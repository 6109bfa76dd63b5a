#include "ZuTimerWin32Gdi.h"

#include <algorithm>

namespace zustd {

namespace {

constinit thread_local std::weak_ptr<TimerWindowWin32Gdi> windowOfThread;

}  // namespace

TimerWindowWin32Gdi::TimerWindowWin32Gdi()
    : window_(CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                              GetModuleHandleW(nullptr), nullptr)) {
    if (!window_) {
        throwSystemException(L"Could not create timer window", ZU_HERE);
    }
}

UINT_PTR TimerWindowWin32Gdi::start(TimerWin32Gdi& timer, std::uint32_t milliseconds) {
    const UINT_PTR number = lastNumber_ + 1;
    timers_.emplace(number, &timer);
    const UINT interval = std::clamp<UINT>(milliseconds, USER_TIMER_MINIMUM, USER_TIMER_MAXIMUM);
    if (SetTimer(window_.get(), number, interval, &tick) == 0) {
        timers_.erase(number);
        return 0;
    }
    return lastNumber_ = number;
}

void TimerWindowWin32Gdi::stop(UINT_PTR number) noexcept {
    timers_.erase(number);
    KillTimer(window_.get(), number);
}

std::shared_ptr<TimerWindowWin32Gdi> TimerWindowWin32Gdi::ofThisThread() {
    std::shared_ptr<TimerWindowWin32Gdi> window = windowOfThread.lock();
    if (!window) {
        window = std::make_shared<TimerWindowWin32Gdi>();
        windowOfThread = window;
    }
    return window;
}

void CALLBACK TimerWindowWin32Gdi::tick(HWND window, UINT, UINT_PTR number, DWORD) noexcept {
    guarded(L"TimerWin32Gdi::handleMessage", [&] {
        // The last timer may be destroyed by its own tick; its window then goes
        // when this ends.
        const std::shared_ptr<TimerWindowWin32Gdi> self = windowOfThread.lock();
        if (!self || self->window_.get() != window) {
            return;
        }
        if (const auto found = self->timers_.find(number); found != self->timers_.end()) {
            found->second->getAbstraction().acceptTick();
        }
    });
}

bool TimerWin32Gdi::start() {
    return guarded(L"TimerWin32Gdi::start", false, [this] {
        stop();
        number_ = window_->start(*this, interval_);
        return number_ != 0;
    });
}

void TimerWin32Gdi::stop() {
    if (number_ != 0) {
        window_->stop(std::exchange(number_, 0));
    }
}

void TimerWin32Gdi::setInterval(std::uint32_t milliseconds) {
    interval_ = milliseconds;
    if (number_ != 0) {
        start();
    }
}

}  // namespace zustd
