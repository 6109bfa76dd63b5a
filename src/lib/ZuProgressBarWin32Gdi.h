// The Windows half of a progress bar: a msctls_progress32 control.
#pragma once

#include "ZuNativeControlWin32Gdi.h"
#include "ZuNativeProgressBar.h"

namespace zustd {

class ProgressBarWin32Gdi
    : public ControlBackendWin32Gdi<Implementation<NativeProgressBar, INativeProgressBarImpl>> {
public:
    explicit ProgressBarWin32Gdi(HWND hostWindow) noexcept
        : ControlBackendWin32Gdi(hostWindow, ZU_BACKEND_OPERATIONS) {}

    void setRange(std::int32_t minimum, std::int32_t maximum) override;
    void setPosition(std::int32_t position) override;
    std::int32_t getPosition() const override;
    void setEnableMarqueeAnimation(bool enable) override;
    void setMarqueeInterval(std::uint32_t milliseconds) override;
    void setState(ProgressState state) override;
    std::int32_t getThickness() const override { return GetSystemMetrics(SM_CYVSCROLL); }

protected:
    void initializeFromDescriptor() override;
    void pushState() override;

private:
    // Of the animation that was started; 0 for none.
    std::uint32_t interval_ = 0;
};

}  // namespace zustd
