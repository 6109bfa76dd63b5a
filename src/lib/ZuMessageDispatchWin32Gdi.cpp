#include "ZuMessageDispatchWin32Gdi.h"

#include <commctrl.h>

#include "ZuPlankton.h"

namespace zustd {

namespace {

// Tells our watchers from those of others on the same window.
constexpr UINT_PTR kControlWatcher = 1;
constexpr UINT_PTR kParentWatcher = 2;

// Where a control's window keeps its attachment for its parent's watcher.
constexpr wchar_t kAttachmentProperty[] = L"ZuWindowAttachment";

// The child that a message to its parent is about; null when it is not such a
// message.
HWND senderOf(UINT id, LPARAM extra) noexcept {
    switch (id) {
        case WM_NOTIFY:
            return extra != 0 ? reinterpret_cast<const NMHDR*>(extra)->hwndFrom : nullptr;
        case WM_DRAWITEM:
            return extra != 0 ? reinterpret_cast<const DRAWITEMSTRUCT*>(extra)->hwndItem : nullptr;
        case WM_COMMAND:
        case WM_HSCROLL:
        case WM_VSCROLL:
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORLISTBOX:
        case WM_CTLCOLORBTN:
        case WM_CTLCOLORSCROLLBAR:
        case WM_CTLCOLORSTATIC:
            return reinterpret_cast<HWND>(extra);
        default:
            return nullptr;
    }
}

}  // namespace

LRESULT CALLBACK watchWindow(HWND window, UINT id, WPARAM wide, LPARAM extra, UINT_PTR,
                             DWORD_PTR attachment) noexcept {
    const auto& watcher = *reinterpret_cast<const WindowAttachment*>(attachment);
    LRESULT result = 0;
    const bool handled = guarded(watcher.operation_, false, [&] {
        return watcher.handler_->handleMultiWindowMessage({window, id, wide, extra}, result);
    });
    return handled ? result : DefSubclassProc(window, id, wide, extra);
}

namespace {

LRESULT CALLBACK watchParent(HWND parent, UINT id, WPARAM wide, LPARAM extra, UINT_PTR,
                             DWORD_PTR) noexcept {
    const HWND sender = senderOf(id, extra);
    // The pointer means something in its own thread only.
    const HANDLE attachment =
        sender != nullptr && GetWindowThreadProcessId(sender, nullptr) == GetCurrentThreadId()
            ? GetPropW(sender, kAttachmentProperty)
            : nullptr;
    if (attachment != nullptr) {
        return watchWindow(parent, id, wide, extra, kParentWatcher,
                           reinterpret_cast<DWORD_PTR>(attachment));
    }
    return DefSubclassProc(parent, id, wide, extra);
}

}  // namespace

bool WindowAttachment::attach(HWND window, IMultiWindowMessageHandlerWin32Gdi& handler,
                              const wchar_t* operation) {
    detach();
    handler_ = &handler;
    operation_ = operation;
    if (!SetWindowSubclass(window, &watchWindow, kControlWatcher,
                           reinterpret_cast<DWORD_PTR>(this))) {
        return false;
    }
    SetPropW(window, kAttachmentProperty, this);
    window_ = window;
    // The same watcher again changes nothing; it stays as long as its window.
    const HWND parent = GetAncestor(window, GA_PARENT);
    return parent == nullptr || SetWindowSubclass(parent, &watchParent, kParentWatcher, 0);
}

void WindowAttachment::detach() noexcept {
    if (window_ != nullptr) {
        RemoveWindowSubclass(window_, &watchWindow, kControlWatcher);
        RemovePropW(window_, kAttachmentProperty);
        window_ = nullptr;
    }
}

LRESULT answerByDefault(const WindowMessage& message) noexcept {
    return DefSubclassProc(message.window, message.id, message.wide, message.extra);
}

}  // namespace zustd
