// The Windows half of a button: a BUTTON control.
//
// The control never checks itself. It reports the press, the portable half
// decides what is checked now, and the next synchronisation shows it. The focus
// alone presses nothing, where the system's radio buttons would be pressed.
#pragma once

#include "ZuBitmapWin32Gdi.h"
#include "ZuNativeButton.h"
#include "ZuNativeControlWin32Gdi.h"

namespace zustd {

class ButtonWin32Gdi
    : public ControlBackendWin32Gdi<Implementation<NativeButton, INativeButtonImpl>> {
public:
    explicit ButtonWin32Gdi(HWND hostWindow) noexcept
        : ControlBackendWin32Gdi(hostWindow, ZU_BACKEND_OPERATIONS) {}

protected:
    void initializeFromDescriptor() override;
    void pushState() override;
    void onCommand(UINT code) override;
    bool onWindowMessage(const WindowMessage& message, LRESULT& result) override;
    // The space bar presses it; what else is pressed the surface may use.
    bool usesKey(const KeyEvent& event) const override { return event.key == kKeySpace; }

private:
    void setText() { pushText(WM_SETTEXT, getAbstraction().accessText()); }
    void setImage();

    // Drawn beside the caption.
    IconHandle icon_;
    // What the icon was made from; held, so that another one is another address.
    std::shared_ptr<Bitmap> bitmap_;
    // Between it and the caption.
    std::int32_t space_ = 0;
};

}  // namespace zustd
