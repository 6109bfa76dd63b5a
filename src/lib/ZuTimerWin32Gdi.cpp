#include "ZuTimerWin32Gdi.h"

#include <algorithm>

namespace zustd {

namespace {

constexpr const wchar_t* kClassName = L"zustd.TimerWindow";

constinit thread_local std::weak_ptr<TimerWindowWin32Gdi> windowOfThread;

UINT forSystem(std::uint32_t milliseconds) noexcept {
    return std::clamp<UINT>(milliseconds, USER_TIMER_MINIMUM, USER_TIMER_MAXIMUM);
}

// The program or library that this code is in.
HINSTANCE ownModule() noexcept {
    HMODULE module = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const wchar_t*>(&kClassName), &module);
    return module;
}

}  // namespace

TimerWindowWin32Gdi::TimerWindowWin32Gdi()
    : window_(CreateWindowExW(0, MAKEINTATOM(registeredClass()), L"", 0, 0, 0, 0, 0, HWND_MESSAGE,
                              nullptr, ownModule(), nullptr)) {
    if (!window_) {
        throwSystemException(L"Could not create timer window", ZU_HERE);
    }
}

UINT_PTR TimerWindowWin32Gdi::start(TimerWin32Gdi& timer, std::uint32_t milliseconds) {
    const UINT_PTR number = lastNumber_ + 1;
    timers_.emplace(number, &timer);
    if (SetTimer(window_.get(), number, forSystem(milliseconds), nullptr) == 0) {
        timers_.erase(number);
        return 0;
    }
    return lastNumber_ = number;
}

bool TimerWindowWin32Gdi::restart(UINT_PTR number, std::uint32_t milliseconds) noexcept {
    return SetTimer(window_.get(), number, forSystem(milliseconds), nullptr) != 0;
}

void TimerWindowWin32Gdi::stop(UINT_PTR number) noexcept {
    if (timers_.erase(number) != 0) {
        KillTimer(window_.get(), number);
    }
}

std::shared_ptr<TimerWindowWin32Gdi> TimerWindowWin32Gdi::ofThisThread() {
    std::shared_ptr<TimerWindowWin32Gdi> window = windowOfThread.lock();
    if (!window) {
        window = std::make_shared<TimerWindowWin32Gdi>();
        windowOfThread = window;
    }
    return window;
}

LRESULT CALLBACK TimerWindowWin32Gdi::receive(HWND window, UINT message, WPARAM wide,
                                              LPARAM extra) noexcept {
    if (message != WM_TIMER) {
        return DefWindowProcW(window, message, wide, extra);
    }
    guarded(L"TimerWin32Gdi::handleMessage", [&] {
        // The last timer may be destroyed by its own tick; its window then goes
        // when this ends.
        const std::shared_ptr<TimerWindowWin32Gdi> self = windowOfThread.lock();
        if (!self || self->window_.get() != window) {
            return;
        }
        if (const auto found = self->timers_.find(wide); found != self->timers_.end()) {
            found->second->getAbstraction().acceptTick();
        }
    });
    return 0;
}

ATOM TimerWindowWin32Gdi::registeredClass() {
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &TimerWindowWin32Gdi::receive;
    description.hInstance = ownModule();
    description.lpszClassName = kClassName;
    static const ATOM registered = RegisterClassExW(&description);
    return registered;
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
    guarded(L"TimerWin32Gdi::setInterval", [&] {
        interval_ = milliseconds;
        if (number_ != 0 && !window_->restart(number_, interval_)) {
            stop();
        }
    });
}

}  // namespace zustd
