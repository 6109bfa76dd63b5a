// The Windows half of a native dialog.
//
// The window is made by the first synchronisation and kept until the dialog is given up, or until
// it has another owner: the topmost window around that of the service which made it, or the modal
// dialog that keeps this one disabled. A modal dialog may be closed, destroyed, or lose its window
// while it is open: show() then returns as soon as the messages inside of it have been handled.
#pragma once

#include "ZuNativeDialog.h"
#include "ZuWindowHandlerWin32Gdi.h"

namespace zustd {

class ModalSession;

class DialogWin32Gdi : public Implementation<NativeDialog, INativeDialogImpl>,
                       public WindowHandlerWin32Gdi {
public:
    explicit DialogWin32Gdi(SurfaceServices services) noexcept
        : WindowHandlerWin32Gdi(std::move(services), ZU_SIBLING(dialogProcedure)) {}

    void synchronizeWithAbstraction() override;
    void releaseNativeObject() override;
    bool hasNativeObject() const override { return window() != nullptr; }
    int show(bool modal) override;
    void hide(int result) override {
        guarded(ZU_OPERATION, [this, result] { internalHide(result); });
    }
    Control& surface() const override { return getAbstraction(); }
    void setShown(bool shown) override;

    // Makes the window, with everything on it and the owner of the moment; whether it could.
    bool makeReady();
    // What show() and hide() do; the first two need a window, the first gives up the reference.
    // Who hears of the last one may drop the dialog, which its caller holds.
    int showModal(std::shared_ptr<Control> alive);
    void showNonModal();
    void internalHide(int result);

protected:
    bool onWindowMessage(const WindowMessage& message, LRESULT& result) override;
    void onCloseRequest() override { getAbstraction().acceptClose(); }
    void focusFirst() override;
    void onWindowLost() override { internalHide(kAnswerNone); }

private:
    bool hasStyle(std::uint32_t style) const { return hasFlag(getAbstraction().style(), style); }
    void createWindow(HWND owner);
    void place();
    void markDefaultButton();
    void pressItem(int identifier);
    bool letsMouseThrough(LPARAM place) const;

    HWND owner_ = nullptr;
    // Of the show() that blocks.
    ModalSession* session_ = nullptr;
    // Drawn as the default button.
    HWND defaultButton_ = nullptr;
    // And gives the look back when another one gets it.
    bool unmarksButton_ = false;
    Point position_;
};

}  // namespace zustd
