// A dialog: a surface in a window of its own that answers a question.
//
// show(true) blocks until the dialog is closed, with its owner disabled, and returns the result;
// show(false) returns at once. Enter presses the default button, Escape closes with kAnswerCancel.
// A dialog may be shown again. One that is not closable ends only by hide().
//
// The boundary's size is that of the client area. Its place is on the screen
// for popups; other dialogs appear in the middle of their owner.
#pragma once

#include "ZuControl.h"
#include "ZuMessageBox.h"

namespace zustd {

class NativeButton;

// What a backend does for a dialog. Slot order is fixed.
class INativeDialogImpl : public IBackend {
public:
    // The dialog's result, or kAnswerNone for one that does not block or that could not be shown.
    virtual int show(bool modal) = 0;
    // Ends the dialog with a result; does nothing when it is not shown.
    virtual void hide(int result) = 0;
};

class NativeDialog : public NativeControl<INativeDialogImpl> {
public:
    // Styles, chosen when the dialog is made.
    static constexpr std::uint32_t kStyleResizable = 0x01;
    // No caption and no frame, never active, in front: for tooltips.
    static constexpr std::uint32_t kStylePopup = 0x02;
    // Without the close button, and deaf to all that closes other dialogs:
    // Escape, Alt+F4, WindowService::closeWindow(). No kClose is sent.
    static constexpr std::uint32_t kStyleNotClosable = 0x04;

    explicit NativeDialog(std::uint32_t style = 0) : router_(*this), style_(style) {}
    ~NativeDialog() override { releaseImplementation(); }

    std::uint32_t style() const noexcept { return style_; }
    // Fails the assertion "caption_" when there is none.
    TextDescriptor& caption() const { return ZU_REQUIRED(caption_); }
    bool hasCaption() const noexcept { return caption_ != nullptr; }
    bool setCaption(const TextRef& caption) { return changeDescriptor(caption_, caption); }
    // Pressed by Enter where the focused widget does not use it and is no push
    // button itself; may be null. Held weakly.
    std::shared_ptr<NativeButton> defaultButton() const { return defaultButton_.lock(); }
    void setDefaultButton(const std::shared_ptr<NativeButton>& button);
    // What Enter presses now, and what looks like it: the push button that has
    // the focus, or else the default button; may be null.
    std::shared_ptr<NativeButton> buttonForEnter() const;

    // Fails the assertion "impl_" when there is no backend. The dialog is not held
    // meanwhile: a modal one ends when its last owner drops it.
    int show(bool modal) { return implementation().show(modal); }
    void hide(int result) {
        const std::shared_ptr<Control> self = sharedReference<Control>(this);
        implementation().hide(result);
    }
    bool isOpen() const noexcept { return open_; }
    int result() const noexcept { return result_; }

    InputRouter* inputRouter() noexcept override { return &router_; }
    bool onKey(const KeyEvent& event) override;
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override;

    // For the backend.
    void acceptOpen() { acceptState(true, kAnswerNone); }
    void acceptClosed(int result) { acceptState(false, result); }
    // The user wants to close it, which its style or a receiver of kClose may prevent.
    void acceptClose();

private:
    void acceptState(bool open, int result) {
        open_ = open;
        result_ = result;
    }

    TextRef caption_;
    std::weak_ptr<NativeButton> defaultButton_;
    InputRouter router_;
    std::uint32_t style_;
    int result_ = kAnswerNone;
    bool open_ = false;
};

}  // namespace zustd
