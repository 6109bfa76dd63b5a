// The Windows half of a timer.
//
// The window exists as long as any timer of its thread does. A system timer bears a number that no
// other one of the window ever had, so a tick that is still on its way when the timer stops, starts
// anew or is destroyed finds nobody and is dropped.
#pragma once

#include <map>

#include "ZuHandleWin32Gdi.h"
#include "ZuTimer.h"

namespace zustd {

class TimerWin32Gdi;

// The hidden window that a thread's timers share.
struct TimerWindowWin32Gdi {
    WindowHandle window;
    UINT_PTR lastNumber = 0;
    std::map<UINT_PTR, TimerWin32Gdi*> timers;

    // This thread's, made by the first who asks. Throws SystemException when there is
    // no window to be had.
    static std::shared_ptr<TimerWindowWin32Gdi> ofThisThread();
    // What the system calls for a timer of this thread.
    static void CALLBACK tick(HWND window, UINT message, UINT_PTR number, DWORD time) noexcept;
};

class TimerWin32Gdi : public Implementation<Timer, ITimerImpl> {
public:
    explicit TimerWin32Gdi(std::shared_ptr<TimerWindowWin32Gdi> window) noexcept
        : window_(std::move(window)) {}
    ~TimerWin32Gdi() override { TimerWin32Gdi::stop(); }

    bool start() override;
    void stop() override;
    bool isRunning() const override { return number_ != 0; }
    void setInterval(std::uint32_t milliseconds) override;
    std::uint32_t getInterval() const override { return interval_; }
    void setRepeating(bool repeating) override { repeating_ = repeating; }
    bool isRepeating() const override { return repeating_; }

private:
    std::shared_ptr<TimerWindowWin32Gdi> window_;
    UINT_PTR number_ = 0;
    std::uint32_t interval_ = 1000;
    bool repeating_ = true;
};

}  // namespace zustd
