#include "ZuProgressBarWin32Gdi.h"

#include <commctrl.h>

namespace zustd {

namespace {

WPARAM nativeState(ProgressState state) noexcept {
    switch (state) {
        case ProgressState::kError:
            return PBST_ERROR;
        case ProgressState::kPaused:
            return PBST_PAUSED;
        case ProgressState::kNormal:
            break;
    }
    return PBST_NORMAL;
}

}  // namespace

ProgressBarWin32Gdi::ProgressBarWin32Gdi(HWND hostWindow) noexcept
    : NativeControlWin32Gdi(hostWindow, L"ProgressBarWin32Gdi::handleMultiWindowMessage") {}

void ProgressBarWin32Gdi::synchronizeWithAbstraction() {
    guarded(L"ProgressBarWin32Gdi::synchronizeWithAbstraction", [this] {
        if (initializeFromDescriptor() == Outcome::kNoSurface) {
            return;
        }
        const NativeProgressBar& bar = getAbstraction();
        setRange(bar.minimum(), bar.maximum());
        setState(bar.state());
        setEnableMarqueeAnimation(bar.isMarquee());
        setMarqueeInterval(bar.marqueeInterval());
        if (!bar.isMarquee()) {
            setPosition(bar.position());
        }
    });
}

ProgressBarWin32Gdi::Outcome ProgressBarWin32Gdi::initializeFromDescriptor() {
    initializeCommonControls();
    const DWORD style = getAbstraction().isMarquee() ? PBS_MARQUEE : 0;
    const Outcome outcome = synchronizeWindow(getAbstraction(), {PROGRESS_CLASSW, style, 0});
    if (outcome == Outcome::kMade) {
        marquee_ = false;
        interval_ = 0;
    }
    return outcome;
}

void ProgressBarWin32Gdi::setRange(std::int32_t minimum, std::int32_t maximum) {
    guarded(L"ProgressBarWin32Gdi::setRange", [&] {
        if (window() == nullptr) {
            return;
        }
        PBRANGE present{};
        send(PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&present));
        if (present.iLow != minimum || present.iHigh != maximum) {
            send(PBM_SETRANGE32, static_cast<WPARAM>(minimum), maximum);
        }
    });
}

void ProgressBarWin32Gdi::setPosition(std::int32_t position) {
    guarded(L"ProgressBarWin32Gdi::setPosition", [&] {
        if (window() != nullptr && getPosition() != position) {
            send(PBM_SETPOS, static_cast<WPARAM>(position));
        }
    });
}

std::int32_t ProgressBarWin32Gdi::getPosition() const {
    return guarded(L"ProgressBarWin32Gdi::getPosition", std::int32_t{}, [this] {
        return window() != nullptr ? static_cast<std::int32_t>(send(PBM_GETPOS))
                                   : getAbstraction().minimum();
    });
}

// The style is part of the window's shape: a bar that changes is made anew.
void ProgressBarWin32Gdi::setEnableMarqueeAnimation(bool enable) {
    guarded(L"ProgressBarWin32Gdi::setEnableMarqueeAnimation", [&] {
        if (window() == nullptr) {
            return;
        }
        const bool hasStyle = (GetWindowLongW(window(), GWL_STYLE) & PBS_MARQUEE) != 0;
        if (hasStyle != enable) {
            synchronizeWithAbstraction();
        } else if (enable != marquee_) {
            marquee_ = enable;
            interval_ = 0;
            setMarqueeInterval(getAbstraction().marqueeInterval());
        }
    });
}

void ProgressBarWin32Gdi::setMarqueeInterval(std::uint32_t milliseconds) {
    guarded(L"ProgressBarWin32Gdi::setMarqueeInterval", [&] {
        if (window() != nullptr && marquee_ && milliseconds != interval_) {
            interval_ = milliseconds;
            send(PBM_SETMARQUEE, TRUE, static_cast<LPARAM>(milliseconds));
        }
    });
}

void ProgressBarWin32Gdi::setState(ProgressState state) {
    guarded(L"ProgressBarWin32Gdi::setState", [&] {
        if (window() != nullptr && static_cast<WPARAM>(send(PBM_GETSTATE)) != nativeState(state)) {
            send(PBM_SETSTATE, nativeState(state));
        }
    });
}

std::int32_t ProgressBarWin32Gdi::getThickness() const { return GetSystemMetrics(SM_CYVSCROLL); }

}  // namespace zustd
