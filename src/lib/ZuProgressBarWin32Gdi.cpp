#include "ZuProgressBarWin32Gdi.h"

namespace zustd {

void ProgressBarWin32Gdi::initializeFromDescriptor() {
    const DWORD style = getAbstraction().isMarquee() ? PBS_MARQUEE : 0;
    synchronizeWindow({PROGRESS_CLASSW, style}, [this] { interval_ = 0; });
}

void ProgressBarWin32Gdi::pushState() {
    const NativeProgressBar& bar = getAbstraction();
    setRange(bar.minimum(), bar.maximum());
    setState(bar.state());
    setMarqueeInterval(bar.marqueeInterval());
    if (!bar.isMarquee()) {
        setPosition(bar.position());
    }
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
void ProgressBarWin32Gdi::setEnableMarqueeAnimation(bool) {
    if (window() != nullptr) {
        synchronizeWithAbstraction();
    }
}

void ProgressBarWin32Gdi::setMarqueeInterval(std::uint32_t milliseconds) {
    if (getAbstraction().isMarquee() && std::exchange(interval_, milliseconds) != milliseconds) {
        send(PBM_SETMARQUEE, TRUE, static_cast<LPARAM>(milliseconds));
    }
}

void ProgressBarWin32Gdi::setState(ProgressState state) {
    // In the order of ProgressState.
    constexpr WPARAM kStates[] = {PBST_NORMAL, PBST_ERROR, PBST_PAUSED};
    const WPARAM wanted = kStates[static_cast<std::size_t>(state)];
    if (static_cast<WPARAM>(send(PBM_GETSTATE)) != wanted) {
        send(PBM_SETSTATE, wanted);
    }
}

}  // namespace zustd
