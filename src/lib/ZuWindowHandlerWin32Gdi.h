// What windows and dialogs have in common: the window that a surface is shown in.
//
// The client area has the surface's size, whoever changes it. The focus is restored when the window
// becomes active again; a control that takes it meanwhile has it then. The window procedure keeps
// the surface alive for the time of a message. A surface that is destroyed gives its window up
// first (releaseNativeObject), and a window that goes on its own, with its parent, is forgotten.
#pragma once

#include "ZuColorWin32Gdi.h"
#include "ZuControl.h"
#include "ZuMessageDispatchWin32Gdi.h"

namespace zustd {

// The window of a native widget or of a surface; null where there is none.
HWND nativeWindowOf(const Control& control) noexcept;

// What a surface's backend works with.
struct SurfaceServices {
    // Its window is the owner or parent.
    std::weak_ptr<WindowService> creator;
    // The surface's own.
    std::shared_ptr<WindowService> window;
    std::shared_ptr<GraphicsService> graphics;
};

class WindowHandlerWin32Gdi {
public:
    WindowHandlerWin32Gdi& operator=(WindowHandlerWin32Gdi&&) = delete;
    virtual ~WindowHandlerWin32Gdi() { destroyWindow(); }

    // Whose window of this thread this is, or null. around() asks the window's parents too.
    static WindowHandlerWin32Gdi* of(HWND window) noexcept;
    static WindowHandlerWin32Gdi* around(HWND window) noexcept;

    // Null as long as there is none.
    HWND window() const noexcept { return window_; }
    virtual Control& surface() const = 0;
    // In step with the surface's state; a window that can be seen already stays as it is.
    virtual void setShown(bool shown) = 0;
    // What is being painted now; empty outside of a paint.
    Rect drawArea() const noexcept { return drawArea_; }

    // A modal dialog, or the window service, disables it whatever the surface's own state is.
    void setBlocked(bool blocked) {
        blocked_ = blocked;
        synchronizeEnabled();
    }
    void setTakesInput(bool takes) {
        takesInput_ = takes;
        synchronizeEnabled();
    }

    // Now, or when the window that the surface is in becomes active.
    void giveFocus(Control& control);

protected:
    // The operation's name is what failures are reported under; it is not copied.
    WindowHandlerWin32Gdi(SurfaceServices services, const wchar_t* operation) noexcept;

    // The window of the service that made the surface, or null; the desktop counts as none.
    HWND creatorWindow() const;

    // Takes over a window that was just made with one of the procedures below.
    void adopt(HWND window);
    void destroyWindow() noexcept;
    // Pushes what differs from what was pushed last.
    void synchronizeSize();
    void synchronizeCaption(const std::wstring& caption);
    void synchronizeEnabled();

    // What the system calls for each message, of a window or of a dialog.
    static LRESULT CALLBACK windowProcedure(HWND window, UINT id, WPARAM wide,
                                            LPARAM extra) noexcept;
    static INT_PTR CALLBACK dialogProcedure(HWND window, UINT id, WPARAM wide,
                                            LPARAM extra) noexcept;

    // The user, or the system, wants the window closed.
    virtual void onCloseRequest() = 0;
    // The window becomes active and no control of it has had the focus yet.
    virtual void focusFirst() {}
    // The window is gone without this handler's doing.
    virtual void onWindowLost() {}
    // Sees every message first; true when it is done with.
    virtual bool onWindowMessage(const WindowMessage&, LRESULT&) { return false; }

private:
    static bool deliver(const WindowMessage& message, LRESULT& result) noexcept;
    // Which one it was.
    HWND forgetWindow() noexcept;
    bool dispatch(const WindowMessage& message, LRESULT& result);
    bool handleFrame(const WindowMessage& message);
    bool handlePainting(const WindowMessage& message, LRESULT& result);
    bool handleMouse(const WindowMessage& message, LRESULT& result);
    bool handleWheel(const MouseEvent& event) const;
    bool handleKey(const WindowMessage& message, LRESULT& result);
    bool handleFocus(const WindowMessage& message);
    void applyLimits(MINMAXINFO& limits) const;
    void paintWindow();
    void paint(HDC context, const Rect& area);
    bool colorControl(const WindowMessage& message, LRESULT& result);
    void rememberFocus();
    void restoreFocus();
    bool canHoldFocus(HWND window) const noexcept;

    SurfaceServices services_;
    const wchar_t* operation_;
    HWND window_ = nullptr;
    // There as long as the window is.
    std::shared_ptr<MessageSink> languageListener_;
    std::wstring caption_;
    // Of the client area, as pushed or reported last.
    Size size_;
    bool enabled_ = true;
    bool blocked_ = false;
    bool takesInput_ = true;
    bool tracksLeaving_ = false;
    bool swallowsCharacter_ = false;
    Rect drawArea_;
    // What was to be painted in the middle of a paint.
    Rect missedArea_;
    // What had the focus when the window was left, or wants it.
    std::weak_ptr<Control> keptFocus_;
    HWND keptFocusWindow_ = nullptr;
};

}  // namespace zustd
