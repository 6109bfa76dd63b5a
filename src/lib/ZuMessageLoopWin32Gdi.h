// The message loop of the application and those of its modal dialogs.
//
// Alt with a letter presses what has the letter underlined, wherever the focus is on
// the surface, and in a dialog the letter alone does so while a button has the focus.
// All else about keys works below a host's own loop too.
//
// Sessions of a thread are nested: a dialog whose owner is disabled by another one
// belongs to that one, and a dialog that ends takes those that it owns along.
#pragma once

#include "ZuWindows.h"

namespace zustd {

// Waits for the thread's next message and handles it; false for WM_QUIT and when waiting fails.
bool handleNextMessage(MSG& message);

class ModalSession {
public:
    // Disables the owner if it is enabled; null for a dialog without owner.
    explicit ModalSession(HWND owner);
    ModalSession& operator=(ModalSession&&) = delete;
    ~ModalSession();

    // Whom a dialog has for owner that wants the window around this one: the innermost dialog that
    // keeps it disabled. The desktop and a window that has gone count as none.
    static HWND ownerFor(HWND wanted) noexcept;
    // The dialog that keeps the owner disabled; null when there is none.
    static HWND dialogOver(HWND owner) noexcept;

    // Once it has a window.
    void setDialog(HWND dialog) noexcept { dialog_ = dialog; }
    int result() const noexcept { return result_; }
    // Enables the owner, which can be activated then, and ends the loop. The first call counts.
    void end(int result) noexcept;
    // Until the session ends; false when the messages end before, WM_QUIT left to the loop outside.
    bool run();

private:
    ModalSession* outer_;
    HWND owner_;
    HWND dialog_ = nullptr;
    bool disabledOwner_ = false;
    bool ended_ = false;
    int result_ = 0;
};

}  // namespace zustd
