// What the backends of all native controls have in common: a child window in
// step with its Control.
//
// The window is made by the first synchronisation, as a child of the surface that the
// control is on, and made anew, with the focus, for another style or surface, which a
// window cannot change. A control that is hidden or disabled leaves the focus to the
// window of its surface. Focus, hovering and the keys that the control has no use for go
// to the input router of the surface; the rest is up to the derived backend. That
// compares before it pushes: a window that is given again what it has may flicker, lose
// what the user has marked, or tell of a change.
#pragma once

#include <array>

#include "ZuColorWin32Gdi.h"
#include "ZuControl.h"
#include "ZuFont.h"
#include "ZuMessageDispatchWin32Gdi.h"
#include "ZuScope.h"
// Behind the wrapper.
#include <commctrl.h>
#include <windowsx.h>

namespace zustd {

// The window of the surface that a control is on; null outside of a surface
// and on one that has no window yet. A surface is on the one around it.
HWND surfaceWindowOf(const Control& control);

// Held modifier keys, as InputRouter wants them.
std::uint32_t heldModifiers() noexcept;

// Asks for WM_MOUSELEAVE, unless that is on its way already.
void trackLeaving(HWND window, bool& tracks) noexcept;

// The whole of what a window says as its text.
std::wstring windowText(HWND window);

class NativeControlWin32Gdi : public IMultiWindowMessageHandlerWin32Gdi {
public:
    ~NativeControlWin32Gdi() override { NativeControlWin32Gdi::destroyWindow(); }

    // Null as long as there is none.
    HWND window() const noexcept { return attachment_.window(); }

protected:
    // While one lives, notifications come from the backend's own doing and say
    // nothing about the user.
    class Mirroring : ScopedValue<bool> {
    public:
        explicit Mirroring(NativeControlWin32Gdi& own) : ScopedValue(own.mirroring_, true) {}
    };
    bool isMirroring() const noexcept { return mirroring_; }

    // The name is that of the derived class's handleMultiWindowMessage; not copied.
    NativeControlWin32Gdi(HWND hostWindow, const wchar_t* operation) noexcept;

    // What a window is made with; the style is without WS_CHILD, WS_VISIBLE and WS_DISABLED.
    struct Shape {
        const wchar_t* windowClass;
        DWORD style;
        DWORD extendedStyle;
    };
    // Makes the window if need be, and anew for another surface or style; none without a
    // parent. Pushes place, visibility and enabled state. onMade follows for a window that
    // was made: it has nothing of what the derived backend has pushed. Throws
    // SystemException when the system refuses it.
    void synchronizeWindow(const Shape& shape, const std::function<void()>& onMade = {},
                           bool anew = false);
    // Null stands for the default font.
    void synchronizeFont(const std::shared_ptr<FontDescriptor>& font);
    // Sends a text by the message that it goes with, unless it was the last one.
    void pushText(UINT id, const std::wstring& text);
    void enableWindow(bool enable) const noexcept;
    // A window that is destroyed while it answers only disappears; it goes at the end of
    // the outermost answer, for it would not survive its end amid a message.
    void letWindowAnswer(const WindowMessage& message, LRESULT& result) noexcept;
    bool isAnswering() const noexcept { return answering_ != 0; }
    virtual void destroyWindow() noexcept;

    virtual Control& control() const = 0;
    // What the window answers.
    LRESULT send(UINT id, WPARAM wide = {}, LPARAM extra = {}) const noexcept {
        return SendMessageW(window(), id, wide, extra);
    }
    // A message whose second word alone counts: a value, or the address of what it is about.
    LRESULT sendData(UINT id, LPARAM data) const noexcept { return send(id, {}, data); }
    LRESULT sendData(UINT id, const void* data) const noexcept {
        return sendData(id, reinterpret_cast<LPARAM>(data));
    }

    // What the parent hears of the control: the code of a command that is not the backend's
    // own doing, or of a request to scroll, and a notification with what is answered to it.
    virtual void onCommand(UINT) {}
    virtual void onNotify(NMHDR&, LRESULT&) {}
    // A message of the own window, after focus, hovering and unused keys.
    virtual bool onWindowMessage(const WindowMessage&, LRESULT&) { return false; }
    // Whether the control needs the key; others go to the surface.
    virtual bool usesKey(const KeyEvent& event) const {
        return event.key != kKeyTab && event.key != kKeyEnter && event.key != kKeyEscape;
    }

    // Whether the window is to be enabled.
    virtual bool canBeUsed() const { return control().isUsable(); }

    // A window inside of the control's, such as the field of a combo box: its focus
    // and keys are the control's until either window goes.
    void attachPart(HWND part) { part_.attach(part, *this, operation_); }
    // Whether the window is a field, whose colours colorField() says.
    virtual bool hasField() const noexcept { return false; }
    // Answers a request for the colours of a field: with those that the control
    // itself sets, since a field on a coloured surface stays as the system paints
    // fields. False for any other message.
    bool colorField(const WindowMessage& message, LRESULT& result);

    bool handleMultiWindowMessage(const WindowMessage& message, LRESULT& result) override;

private:
    bool isOwn(HWND window) const noexcept {
        return window == attachment_.window() || window == part_.window();
    }
    bool handleOwnMessage(const WindowMessage& message, LRESULT& result);
    void createWindow(const Shape& shape, HWND parent);
    void place(HWND parent);
    void synchronizeColors();
    bool hasSystemFocus() const noexcept;
    void reportHover(InputRouter& router, const WindowMessage& message);
    void reportFocus(InputRouter& router, const WindowMessage& message);
    bool routeUnusedKey(InputRouter& router, const WindowMessage& message);

    WindowAttachment attachment_;
    WindowAttachment part_;
    HWND hostWindow_;
    const wchar_t* operation_;
    DWORD style_ = 0;
    // Kept as long as the window draws with it.
    std::shared_ptr<Font> font_;
    std::wstring text_;
    // Background and text as they reach the control, and its own.
    std::array<Color, 4> colors_{};
    // Messages that the window is answering, and windows that go afterwards.
    std::uint32_t answering_ = 0;
    std::vector<HWND> doomed_;
    bool mirroring_ = false;
    bool tracksLeaving_ = false;
    // A routed key's character is swallowed as well.
    bool swallowsCharacter_ = false;
};

// What failures of a backend are reported under; not copied.
struct BackendOperations {
    const wchar_t* handling;
    const wchar_t* synchronizing;
};

// Those of the class in whose constructor this stands.
#define ZU_BACKEND_OPERATIONS                                                                      \
    (::zustd::BackendOperations{ZU_SIBLING(handleMultiWindowMessage),                              \
                                ZU_SIBLING(synchronizeWithAbstraction)})

// The backend of a kind of native control from its portable part. Outside of a
// surface the control becomes a child of the host's window, which may be null.
template <class Portable, class Native = NativeControlWin32Gdi>
class ControlBackendWin32Gdi : public Portable, public Native {
public:
    void synchronizeWithAbstraction() override {
        guarded(synchronizing_, [this] {
            const NativeControlWin32Gdi::Mirroring mirroring(*this);
            initializeFromDescriptor();
            if (Native::window() != nullptr) {
                pushState();
            }
        });
    }
    void releaseNativeObject() override { Native::destroyWindow(); }
    bool hasNativeObject() const override { return Native::window() != nullptr; }

protected:
    ControlBackendWin32Gdi(HWND hostWindow, const BackendOperations& operations) noexcept
        : Native(hostWindow, operations.handling), synchronizing_(operations.synchronizing) {}

    Control& control() const override { return Portable::getAbstraction(); }
    // The two halves of a synchronisation: the window, and what it shows if there is one.
    virtual void initializeFromDescriptor() = 0;
    virtual void pushState() = 0;

private:
    const wchar_t* synchronizing_;
};

}  // namespace zustd
