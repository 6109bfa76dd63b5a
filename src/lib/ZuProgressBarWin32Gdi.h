// The Windows half of a progress bar: a msctls_progress32 control.
#pragma once

#include "ZuNativeControlWin32Gdi.h"
#include "ZuNativeProgressBar.h"

namespace zustd {

class ProgressBarWin32Gdi : public Implementation<NativeProgressBar, INativeProgressBarImpl>,
                            public NativeControlWin32Gdi {
public:
    // Outside of a surface the bar becomes a child of the host's window.
    explicit ProgressBarWin32Gdi(HWND hostWindow) noexcept
        : NativeControlWin32Gdi(hostWindow, L"ProgressBarWin32Gdi::handleMultiWindowMessage") {}

    void synchronizeWithAbstraction() override;
    void releaseNativeObject() override { destroyWindow(); }
    bool hasNativeObject() const override { return window() != nullptr; }

    void setRange(std::int32_t minimum, std::int32_t maximum) override;
    void setPosition(std::int32_t position) override;
    std::int32_t getPosition() const override;
    void setEnableMarqueeAnimation(bool enable) override;
    void setMarqueeInterval(std::uint32_t milliseconds) override;
    void setState(ProgressState state) override;
    std::int32_t getThickness() const override { return GetSystemMetrics(SM_CYVSCROLL); }

private:
    Outcome initializeFromDescriptor();

    bool marquee_ = false;
    std::uint32_t interval_ = 0;
};

}  // namespace zustd
