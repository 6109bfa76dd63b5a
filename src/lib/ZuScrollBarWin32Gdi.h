// The Windows half of a scroll bar: a ScrollBar control.
#pragma once

#include "ZuNativeControlWin32Gdi.h"
#include "ZuNativeScrollBar.h"

namespace zustd {

class ScrollBarWin32Gdi
    : public ControlBackendWin32Gdi<Implementation<NativeScrollBar, INativeScrollBarImpl>> {
public:
    explicit ScrollBarWin32Gdi(HWND hostWindow) noexcept
        : ControlBackendWin32Gdi(hostWindow, ZU_BACKEND_OPERATIONS) {}

    void setRange(std::int32_t minimum, std::int32_t maximum) override {
        push({.fMask = SIF_RANGE, .nMin = minimum, .nMax = maximum});
    }
    void setPageSize(std::int32_t size) override {
        push({.fMask = SIF_PAGE, .nPage = static_cast<UINT>(size)});
    }
    void setPosition(std::int32_t position) override { push({.fMask = SIF_POS, .nPos = position}); }
    std::int32_t getPosition() const override;
    bool isTracking() const override { return tracking_; }
    void setEnableArrows(bool towardsMinimum, bool towardsMaximum) override;
    std::int32_t getThickness() const override {
        return GetSystemMetrics(getAbstraction().isVertical() ? SM_CXVSCROLL : SM_CYHSCROLL);
    }

protected:
    void initializeFromDescriptor() override;
    void pushState() override;
    bool canBeUsed() const override;
    void onCommand(UINT code) override;

private:
    void push(SCROLLINFO info);
    SCROLLINFO read(UINT mask) const noexcept;
    std::int32_t positionFor(UINT request) const;

    bool tracking_ = false;
};

}  // namespace zustd
