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
    initializeCommonControl(ICC_PROGRESS_CLASS);
    const DWORD style = getAbstraction().isMarquee() ? PBS_MARQUEE : 0;
    const Outcome outcome = synchronizeWindow(getAbstraction(), {PROGRESS_CLASSW, style, 0});
    if (outcome == Outcome::kMade) {
        marquee_ = false;
        interval_ = 0;
    }
    return outcome;
}

void ProgressBarWin32Gdi::setRange(std::int32_t minimum, std::int32_t maximum) {
    PBRANGE present{};
    send(PBM_GETRANGE, TRUE, reinterpret_cast<LPARAM>(&present));
    if (present.iLow != minimum || present.iHigh != maximum) {
        send(PBM_SETRANGE32, static_cast<WPARAM>(minimum), maximum);
    }
}

void ProgressBarWin32Gdi::setPosition(std::int32_t position) {
    if (getPosition() != position) {
        send(PBM_SETPOS, static_cast<WPARAM>(position));
    }
}

std::int32_t ProgressBarWin32Gdi::getPosition() const {
    return window() != nullptr ? static_cast<std::int32_t>(send(PBM_GETPOS))
                               : getAbstraction().minimum();
}

// The style is part of the window's shape: a bar that changes is made anew.
void ProgressBarWin32Gdi::setEnableMarqueeAnimation(bool enable) {
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
}

void ProgressBarWin32Gdi::setMarqueeInterval(std::uint32_t milliseconds) {
    if (marquee_ && std::exchange(interval_, milliseconds) != milliseconds) {
        send(PBM_SETMARQUEE, TRUE, static_cast<LPARAM>(milliseconds));
    }
}

void ProgressBarWin32Gdi::setState(ProgressState state) {
    if (static_cast<WPARAM>(send(PBM_GETSTATE)) != nativeState(state)) {
        send(PBM_SETSTATE, nativeState(state));
    }
}

}  // namespace zustd
