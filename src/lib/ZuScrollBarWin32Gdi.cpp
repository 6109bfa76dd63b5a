#include "ZuScrollBarWin32Gdi.h"

namespace zustd {

void ScrollBarWin32Gdi::initializeFromDescriptor() {
    const DWORD direction = getAbstraction().isVertical() ? SBS_VERT : SBS_HORZ;
    synchronizeWindow({L"ScrollBar", direction});
}

void ScrollBarWin32Gdi::pushState() {
    const NativeScrollBar& bar = getAbstraction();
    // At once: every part would be painted for itself.
    push({.fMask = SIF_RANGE | SIF_PAGE | SIF_POS,
          .nMin = bar.minimum(),
          .nMax = bar.maximum(),
          .nPage = static_cast<UINT>(bar.pageSize()),
          .nPos = bar.position()});
    setEnableArrows(bar.position() > bar.minimum(), bar.position() < bar.highestPosition());
}

// Compared first: every push paints the bar. The system cuts a page to the range.
void ScrollBarWin32Gdi::push(SCROLLINFO info) {
    info.cbSize = sizeof(info);
    const NativeScrollBar& bar = getAbstraction();
    const std::int64_t range = std::int64_t{bar.maximum()} - bar.minimum() + 1;
    info.nPage = static_cast<UINT>(std::min<std::int64_t>(info.nPage, range));
    const SCROLLINFO present = read(info.fMask);
    if (present.nMin != info.nMin || present.nMax != info.nMax || present.nPage != info.nPage ||
        present.nPos != info.nPos) {
        // Otherwise the system may hide a bar without anything to scroll.
        info.fMask |= SIF_DISABLENOSCROLL;
        SetScrollInfo(window(), SB_CTL, &info, TRUE);
    }
}

SCROLLINFO ScrollBarWin32Gdi::read(UINT mask) const noexcept {
    SCROLLINFO info{.cbSize = sizeof(info), .fMask = mask};
    GetScrollInfo(window(), SB_CTL, &info);
    return info;
}

std::int32_t ScrollBarWin32Gdi::getPosition() const {
    return window() != nullptr ? read(SIF_POS).nPos : getAbstraction().minimum();
}

void ScrollBarWin32Gdi::setEnableArrows(bool towardsMinimum, bool towardsMaximum) {
    // A bar without anything to scroll stays where it is, greyed. Pushing a
    // range may have changed the state behind our back.
    const bool usable = canBeUsed();
    enableWindow(usable);
    if (usable) {
        EnableScrollBar(window(), SB_CTL,
                        (towardsMinimum ? 0U : UINT{ESB_DISABLE_LTUP}) |
                            (towardsMaximum ? 0U : UINT{ESB_DISABLE_RTDN}));
    }
}

bool ScrollBarWin32Gdi::canBeUsed() const {
    const NativeScrollBar& bar = getAbstraction();
    return bar.isUsable() && bar.minimum() < bar.highestPosition();
}

// Where a request of the bar leads to. The message itself has room for 16 bits
// of a position, hence the look at the bar.
std::int32_t ScrollBarWin32Gdi::positionFor(UINT request) const {
    const NativeScrollBar& bar = getAbstraction();
    const auto moved = [&bar](std::int64_t distance) {
        return saturate(bar.position() + distance);
    };
    switch (request) {
        case SB_LINEUP:
            return moved(-std::int64_t{bar.lineSize()});
        case SB_LINEDOWN:
            return moved(bar.lineSize());
        case SB_PAGEUP:
            return moved(-std::int64_t{bar.pageSize()});
        case SB_PAGEDOWN:
            return moved(bar.pageSize());
        case SB_TOP:
            return bar.minimum();
        case SB_BOTTOM:
            return bar.highestPosition();
        case SB_THUMBTRACK:
        case SB_THUMBPOSITION:
            return read(SIF_TRACKPOS).nTrackPos;
        default:
            return bar.position();
    }
}

void ScrollBarWin32Gdi::onCommand(UINT code) {
    tracking_ = code == SB_THUMBTRACK;
    getAbstraction().acceptPosition(positionFor(code));
}

}  // namespace zustd
