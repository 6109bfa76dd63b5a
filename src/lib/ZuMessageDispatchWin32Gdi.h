// Window messages on their way to the backends of native controls.
//
// A backend attaches itself to the window of its control and sees that window's messages before the
// control does, and what the control tells its parent. Windows are watched by a procedure of our
// own in front of theirs, and found in a table of their thread.
#pragma once

#include "ZuWindows.h"

namespace zustd {

struct WindowMessage {
    HWND window;
    UINT id;
    WPARAM wide;
    LPARAM extra;
};

// Who handles the messages of windows that are not its own class's.
class IMultiWindowMessageHandlerWin32Gdi {
public:
    IMultiWindowMessageHandlerWin32Gdi& operator=(IMultiWindowMessageHandlerWin32Gdi&&) = delete;
    virtual ~IMultiWindowMessageHandlerWin32Gdi() = default;

    // A message of an attached window, or one that its parent got about it: message.window tells
    // which. True when the message is done with and result holds the answer. An exception is
    // reported and counts as false. Whoever may be dropped meanwhile keeps itself alive.
    virtual bool handleMultiWindowMessage(const WindowMessage& message, LRESULT& result) = 0;
};

// A handler's hold on one window; ends with this object or with the window.
class WindowAttachment {
public:
    WindowAttachment& operator=(WindowAttachment&&) = delete;
    ~WindowAttachment() { detach(); }

    // For an attachment without window: watches this one and what its parent hears of it;
    // false, with nothing attached, when either is another thread's. Failures are reported
    // under the operation's name, which is not copied.
    bool attach(HWND window, IMultiWindowMessageHandlerWin32Gdi& handler, const wchar_t* operation);
    // From which window; null for none.
    HWND detach() noexcept;

    // Null without a window, and after the window's last message.
    HWND window() const noexcept { return window_; }

private:
    friend LRESULT CALLBACK watchWindow(HWND window, UINT id, WPARAM wide, LPARAM extra) noexcept;

    HWND window_ = nullptr;
    IMultiWindowMessageHandlerWin32Gdi* handler_ = nullptr;
    const wchar_t* operation_ = nullptr;
};

// Lets the window's own procedure answer a message, as if nobody watched it.
LRESULT answerByDefault(const WindowMessage& message) noexcept;

}  // namespace zustd
