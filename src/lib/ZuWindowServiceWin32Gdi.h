// The Windows half of a window service.
#pragma once

#include <memory>

#include "ZuWindowService.h"
#include "ZuWindows.h"

namespace zustd {

class WindowServiceWin32Gdi : public Implementation<WindowService, IWindowServiceImpl> {
public:
    // The window is not owned; null binds the service to no window.
    explicit WindowServiceWin32Gdi(HWND window) noexcept : window_(window) {}

    int showMessage(const std::wstring& text, const std::wstring& caption,
                    std::uint32_t style) override;

    HWND window() const noexcept { return window_; }

private:
    HWND window_;
};

// A window service with its backend.
std::shared_ptr<WindowService> makeWindowService(HWND window);

}  // namespace zustd
