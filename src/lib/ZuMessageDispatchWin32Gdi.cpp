#include "ZuMessageDispatchWin32Gdi.h"

#include <unordered_map>

#include "ZuPlankton.h"

namespace zustd {

LRESULT CALLBACK watchWindow(HWND window, UINT id, WPARAM wide, LPARAM extra) noexcept;

namespace {

struct Watch {
    // The window's procedure before it was watched.
    WNDPROC former;
    // Null for one that is watched for the sake of its children only.
    WindowAttachment* attachment;
};

// Those of this thread, until they end.
std::unordered_map<HWND, Watch>& watches() {
    static thread_local std::unordered_map<HWND, Watch> windows;
    return windows;
}

Watch* watchOf(HWND window) noexcept {
    const auto found = watches().find(window);
    return found != watches().end() ? &found->second : nullptr;
}

// Who answers what nobody handles: the system, for one that has ended meanwhile.
WNDPROC formerOf(HWND window) noexcept {
    const Watch* watch = watchOf(window);
    return watch != nullptr ? watch->former : &DefWindowProcW;
}

WindowAttachment* attachmentOf(HWND window) noexcept {
    const Watch* watch = window != nullptr ? watchOf(window) : nullptr;
    return watch != nullptr ? watch->attachment : nullptr;
}

// The same window again changes nothing. One of another thread cannot be watched.
bool startWatching(HWND window) {
    const bool isHere = GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId();
    if (isHere && watchOf(window) == nullptr) {
        const LONG_PTR former = GetWindowLongPtrW(window, GWLP_WNDPROC);
        // Known before the first message comes by the other way.
        watches()[window] = {reinterpret_cast<WNDPROC>(former), nullptr};
        SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&watchWindow));
    }
    return isHere;
}

// The child that a message to its parent is about; null when it is not such a message.
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

LRESULT CALLBACK watchWindow(HWND window, UINT id, WPARAM wide, LPARAM extra) noexcept {
    LRESULT result = 0;
    const auto handledBy = [&](const WindowAttachment* attachment) {
        return attachment != nullptr && guarded(attachment->operation_, false, [&] {
                   return attachment->handler_->handleMultiWindowMessage({window, id, wide, extra},
                                                                         result);
               });
    };
    if (handledBy(attachmentOf(senderOf(id, extra))) || handledBy(attachmentOf(window))) {
        return result;
    }
    const WNDPROC former = formerOf(window);
    if (id == WM_NCDESTROY) {
        if (WindowAttachment* attachment = attachmentOf(window)) {
            attachment->detach();
        }
        watches().erase(window);
    }
    return CallWindowProcW(former, window, id, wide, extra);
}

bool WindowAttachment::attach(HWND window, IMultiWindowMessageHandlerWin32Gdi& handler,
                              const wchar_t* operation) {
    const HWND parent = GetAncestor(window, GA_PARENT);
    const bool isWatched = startWatching(window) && (parent == nullptr || startWatching(parent));
    if (isWatched) {
        handler_ = &handler;
        operation_ = operation;
        window_ = window;
        watches()[window].attachment = this;
    }
    return isWatched;
}

HWND WindowAttachment::detach() noexcept {
    const HWND window = std::exchange(window_, nullptr);
    // Another thread knows nothing of it.
    if (Watch* watch = window != nullptr ? watchOf(window) : nullptr) {
        watch->attachment = nullptr;
    }
    return window;
}

LRESULT answerByDefault(const WindowMessage& message) noexcept {
    return CallWindowProcW(formerOf(message.window), message.window, message.id, message.wide,
                           message.extra);
}

}  // namespace zustd
