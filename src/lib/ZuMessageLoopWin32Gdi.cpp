#include "ZuMessageLoopWin32Gdi.h"

#include "ZuAccessKeys.h"
#include "ZuNativeDialog.h"
#include "ZuWindowHandlerWin32Gdi.h"

namespace zustd {

namespace {

// The innermost session of this thread.
constinit thread_local ModalSession* innermostSession = nullptr;

void collectWithKey(const std::shared_ptr<Control>& control, wchar_t key, Controls& out) {
    if (!control->isVisible() || !control->isEnabled()) {
        return;
    }
    if (accessKeyOf(control->accessText()) == key) {
        out.push_back(control);
    }
    for (const std::shared_ptr<Control>& child : Controls(control->children())) {
        collectWithKey(child, key, out);
    }
}

// The control that got the focus, null for none; several with one access key get it in turn, and
// are not pressed.
std::shared_ptr<Control> pressAccessKey(Control& outermost, wchar_t key) {
    const std::shared_ptr<Control> top = sharedReference<Control>(&outermost);
    Controls found;
    if (top && key != 0) {
        collectWithKey(top, key, found);
    }
    if (found.empty()) {
        return nullptr;
    }
    const auto focused = std::find_if(found.begin(), found.end(),
                                      [](const auto& control) { return control->hasFocus(); });
    std::shared_ptr<Control> next =
        focused == found.end() || focused + 1 == found.end() ? found.front() : focused[1];
    next->takeFocus();
    if (found.size() == 1) {
        next->activate();
    }
    return next;
}

bool translateKey(const MSG& message) {
    const auto* handler = WindowHandlerWin32Gdi::around(message.hwnd);
    if (handler == nullptr) {
        return false;
    }
    Control* top = &handler->surface();
    while (top->parentControl() != nullptr) {
        top = top->parentControl();
    }
    const wchar_t key = accessKeyOf(static_cast<wchar_t>(message.wParam));
    switch (message.message) {
        case WM_KEYDOWN:
        case WM_SYSKEYDOWN:
            if (message.message == WM_SYSKEYDOWN || message.wParam == VK_TAB) {
                // From the first use of the keyboard on, underlines and focus frames show.
                SendMessageW(GetAncestor(message.hwnd, GA_ROOT), WM_CHANGEUISTATE,
                             MAKEWPARAM(UIS_CLEAR, UISF_HIDEACCEL | UISF_HIDEFOCUS), {});
            }
            return false;
        case WM_SYSCHAR:
            return message.wParam != VK_SPACE && pressAccessKey(*top, key);
        case WM_CHAR:
            return message.wParam > VK_SPACE && dynamic_cast<NativeDialog*>(top) != nullptr &&
                   hasFlag(SendMessageW(message.hwnd, WM_GETDLGCODE, {}, {}), DLGC_BUTTON) &&
                   pressAccessKey(*top, key);
        default:
            return false;
    }
}

}  // namespace

bool handleNextMessage(MSG& message) {
    // -1 stands for an error: there is nothing to wait for then.
    if (GetMessageW(&message, nullptr, 0, 0) <= 0) {
        return false;
    }
    const bool used = guarded(ZU_OPERATION, false, [&] { return translateKey(message); });
    if (!used) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return true;
}

ModalSession::ModalSession(HWND owner) : outer_(innermostSession), owner_(owner) {
    innermostSession = this;
    if (WindowHandlerWin32Gdi* handler = WindowHandlerWin32Gdi::of(owner_)) {
        handler->setBlocked(true);
    } else {
        disabledOwner_ = EnableWindow(owner_, FALSE) == FALSE;
    }
}

ModalSession::~ModalSession() {
    end(result_);
    innermostSession = outer_;
}

HWND ModalSession::ownerFor(HWND wanted) noexcept {
    HWND owner = wanted != GetDesktopWindow() ? GetAncestor(wanted, GA_ROOT) : nullptr;
    while (const HWND blocker = dialogOver(owner)) {
        owner = blocker;
    }
    return owner;
}

HWND ModalSession::dialogOver(HWND owner) noexcept {
    const ModalSession* session = owner != nullptr ? innermostSession : nullptr;
    while (session != nullptr && (session->ended_ || session->owner_ != owner)) {
        session = session->outer_;
    }
    return session != nullptr ? session->dialog_ : nullptr;
}

void ModalSession::end(int result) noexcept {
    if (ended_) {
        return;
    }
    ended_ = true;
    result_ = result;
    if (WindowHandlerWin32Gdi* handler = WindowHandlerWin32Gdi::of(owner_)) {
        handler->setBlocked(false);
    } else if (disabledOwner_) {
        EnableWindow(owner_, TRUE);
    }
    // The loop may be waiting.
    PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
}

// Not const: what it handles ends the session.
// NOLINTNEXTLINE(readability-make-member-function-const)
bool ModalSession::run() {
    MSG message{};
    while (!ended_) {
        if (!handleNextMessage(message)) {
            if (message.message == WM_QUIT) {
                PostQuitMessage(static_cast<int>(message.wParam));
            }
            return false;
        }
    }
    return true;
}

}  // namespace zustd
