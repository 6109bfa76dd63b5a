// The Windows half of a button: a BUTTON control.
//
// The control never checks itself. It reports the press, the portable half
// decides what is checked now, and the next synchronisation shows it.
#pragma once

#include "ZuBitmap.h"
#include "ZuHandleWin32Gdi.h"
#include "ZuNativeButton.h"
#include "ZuNativeControlWin32Gdi.h"

namespace zustd {

class ButtonWin32Gdi : public Implementation<NativeButton, INativeButtonImpl>,
                       public NativeControlWin32Gdi {
public:
    // Outside of a surface the button becomes a child of the host's window.
    explicit ButtonWin32Gdi(HWND hostWindow) noexcept;

    void synchronizeWithAbstraction() override;
    void releaseNativeObject() override;
    bool hasNativeObject() const override { return window() != nullptr; }

protected:
    bool onNotification(const WindowMessage& message, LRESULT& result) override;

private:
    Outcome initializeFromDescriptor();
    void setText();
    void setImage();

    // Drawn beside the caption; made from the bitmap of this address.
    IconHandle icon_;
    std::shared_ptr<Bitmap> bitmap_;
};

}  // namespace zustd
