// The Windows half of a native window.
//
// On another surface, and when the window service that made it has a window,
// it is a child window; otherwise a window of its own. Closing one of its own
// hides it, unless a receiver of kClose objects.
#pragma once

#include "ZuNativeWindow.h"
#include "ZuWindowHandlerWin32Gdi.h"

namespace zustd {

class WindowWin32Gdi : public Implementation<NativeWindow, INativeWindowImpl>,
                       public WindowHandlerWin32Gdi {
public:
    explicit WindowWin32Gdi(SurfaceServices services) noexcept
        : WindowHandlerWin32Gdi(std::move(services), ZU_SIBLING(windowProcedure)) {}

    void synchronizeWithAbstraction() override;
    void releaseNativeObject() override { destroyWindow(); }
    bool hasNativeObject() const override { return window() != nullptr; }
    Control& surface() const override { return getAbstraction(); }
    void setShown(bool shown) override { getAbstraction().setVisible(shown); }

protected:
    void onCloseRequest() override {
        if (getAbstraction().acceptClose()) {
            getAbstraction().setVisible(false);
        }
    }

private:
    bool findParent(HWND& parent) const;
    void createWindow(HWND parent);
    void synchronizePlace();
    void synchronizeVisible();

    HWND parent_ = nullptr;
    Point position_;
    bool visible_ = false;
};

}  // namespace zustd
