#include "ZuDialogWin32Gdi.h"

#include <windowsx.h>

#include "ZuGeometryWin32Gdi.h"
#include "ZuMessageLoopWin32Gdi.h"
#include "ZuNativeButton.h"

namespace zustd {

namespace {

// What is too large for the area begins at its start.
std::int32_t keptWithin(std::int32_t start, std::int32_t extent, std::int32_t first,
                        std::int32_t last) noexcept {
    return std::max(std::min(start, last + 1 - extent), first);
}

}  // namespace

void DialogWin32Gdi::synchronizeWithAbstraction() {
    guarded(ZU_OPERATION, [this] {
        if (window() == nullptr) {
            createWindow(ModalSession::ownerFor(creatorWindow()));
        }
        const NativeDialog& shown = getAbstraction();
        synchronizeCaption(shown.hasCaption() ? shown.caption().text(shown) : std::wstring());
        synchronizeEnabled();
        synchronizeSize();
        if (hasStyle(NativeDialog::kStylePopup) && shown.isOpen() &&
            shown.boundary().position() != position_) {
            place();
        }
        markDefaultButton();
    });
}

void DialogWin32Gdi::releaseNativeObject() {
    internalHide(kAnswerNone);
    destroyWindow();
}

int DialogWin32Gdi::show(bool modal) {
    return guarded(ZU_OPERATION, kAnswerNone, [this, modal] {
        // Whoever hears of a focus that moves may drop the dialog.
        std::shared_ptr<Control> alive = sharedReference<Control>(&getAbstraction());
        if (session_ != nullptr || !makeReady()) {
            return kAnswerNone;
        }
        if (modal) {
            return showModal(std::move(alive));
        }
        showNonModal();
        return kAnswerNone;
    });
}

void DialogWin32Gdi::setShown(bool shown) {
    if (!shown) {
        getAbstraction().hide(kAnswerNone);
    } else if (!getAbstraction().isOpen()) {
        if (IsWindowVisible(window())) {
            getAbstraction().acceptOpen();
        } else {
            show(false);
        }
    }
}

bool DialogWin32Gdi::makeReady() {
    if (window() != nullptr && !getAbstraction().isOpen() &&
        ModalSession::ownerFor(creatorWindow()) != owner_) {
        getAbstraction().releaseTree();
    }
    getAbstraction().synchronizeTree();
    if (window() == nullptr) {
        return false;
    }
    // The button has its window only now.
    markDefaultButton();
    return true;
}

int DialogWin32Gdi::showModal(std::shared_ptr<Control> alive) {
    ModalSession session(owner_);
    // The owner's controls lose what they had, and somebody hears of it.
    if (window() == nullptr || session_ != nullptr) {
        return kAnswerNone;
    }
    session.setDialog(window());
    session_ = &session;
    showNonModal();
    // From here on the dialog may be gone, unless no more messages come.
    alive.reset();
    if (!session.run()) {
        getAbstraction().hide(kAnswerNone);
    }
    return session.result();
}

void DialogWin32Gdi::showNonModal() {
    // At first: what moves may have to do with another screen, and tell.
    getAbstraction().acceptOpen();
    place();
    if (!getAbstraction().isOpen()) {
        return;
    }
    if (hasStyle(NativeDialog::kStylePopup)) {
        SetWindowPos(window(), HWND_TOPMOST, 0, 0, 0, 0,
                     SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE | SWP_SHOWWINDOW);
    } else {
        ShowWindow(window(), SW_SHOW);
    }
}

void DialogWin32Gdi::internalHide(int result) {
    if (!getAbstraction().isOpen()) {
        return;
    }
    getAbstraction().acceptClosed(result);
    // Those that this one owns cannot stay.
    while (auto* inner = dynamic_cast<DialogWin32Gdi*>(of(ModalSession::dialogOver(window())))) {
        inner->getAbstraction().hide(kAnswerNone);
    }
    const bool wasActive = GetActiveWindow() == window();
    if (ModalSession* session = std::exchange(session_, nullptr)) {
        session->end(result);
    }
    if (window() == nullptr) {
        return;
    }
    if (wasActive && IsWindowVisible(owner_) && IsWindowEnabled(owner_)) {
        SetActiveWindow(owner_);
    }
    ShowWindow(window(), SW_HIDE);
}

void DialogWin32Gdi::createWindow(HWND owner) {
    DWORD style = WS_POPUP | WS_CLIPCHILDREN;
    DWORD extendedStyle = WS_EX_CONTROLPARENT;
    if (hasStyle(NativeDialog::kStylePopup)) {
        extendedStyle |= WS_EX_NOACTIVATE | WS_EX_TOPMOST | WS_EX_TOOLWINDOW;
    } else {
        const bool isResizable = hasStyle(NativeDialog::kStyleResizable);
        style |= WS_CAPTION | (isResizable ? WS_THICKFRAME | WS_MAXIMIZEBOX : DWORD{DS_MODALFRAME});
        style |= hasStyle(NativeDialog::kStyleNotClosable) ? 0U : DWORD{WS_SYSMENU};
    }
    // Without menu, class, caption and font of its own, as the three zeros behind it say.
    struct alignas(DWORD) {
        DLGTEMPLATE head;
        std::array<WORD, 3> none;
    } description{.head = {.style = style, .dwExtendedStyle = extendedStyle}};
    adopt(ZU_SYSTEM(CreateDialogIndirectParamW(GetModuleHandleW(nullptr), &description.head, owner,
                                               &dialogProcedure, 0)));
    owner_ = owner;
    defaultButton_ = nullptr;
}

// In the middle of the owner, or of the screen; a popup where it wants to be.
// No part leaves the screen that it is on.
void DialogWin32Gdi::place() {
    const Size size = windowRect(window()).size();
    Rect screen = workAreaAround(owner_);
    Point start;
    if (hasStyle(NativeDialog::kStylePopup)) {
        start = position_ = getAbstraction().boundary().position();
        screen = workAreaOf(MonitorFromPoint({start.x, start.y}, MONITOR_DEFAULTTONEAREST));
    } else {
        const bool isOwnerSeen = IsWindowVisible(owner_) && !IsIconic(owner_);
        const Rect around = isOwnerSeen ? windowRect(owner_) : screen;
        start = {around.left + (around.width() - size.width) / 2,
                 around.top + (around.height() - size.height) / 2};
    }
    SetWindowPos(window(), nullptr, keptWithin(start.x, size.width, screen.left, screen.right),
                 keptWithin(start.y, size.height, screen.top, screen.bottom), 0, 0,
                 SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOOWNERZORDER);
}

// Only the look: what Enter presses is the portable dialog's matter.
void DialogWin32Gdi::markDefaultButton() {
    const auto button = getAbstraction().buttonForEnter();
    const HWND marked = button ? nativeWindowOf(*button) : nullptr;
    if (marked == defaultButton_) {
        return;
    }
    const auto mark = [](HWND window, UINT before, UINT after) {
        const bool marks =
            window != nullptr &&
            (static_cast<DWORD>(GetWindowLongW(window, GWL_STYLE)) & BS_TYPEMASK) == before;
        if (marks) {
            SendMessageW(window, BM_SETSTYLE, after, TRUE);
        }
        return marks;
    };
    if (unmarksButton_) {
        mark(defaultButton_, BS_DEFPUSHBUTTON, BS_PUSHBUTTON);
    }
    // One that is not the dialog's has the look for good if it brings it along.
    unmarksButton_ =
        mark(marked, BS_PUSHBUTTON, BS_DEFPUSHBUTTON) || button == getAbstraction().defaultButton();
    defaultButton_ = marked;
}

bool DialogWin32Gdi::onWindowMessage(const WindowMessage& message, LRESULT& result) {
    switch (message.id) {
        case WM_MOUSEACTIVATE:
            result = MA_NOACTIVATE;
            return hasStyle(NativeDialog::kStylePopup);
        case WM_NCHITTEST:
            result = HTTRANSPARENT;
            return hasStyle(NativeDialog::kStylePopup) && letsMouseThrough(message.extra);
        case WM_COMMAND:
            if (message.extra == 0) {
                pressItem(LOWORD(message.wide));
            }
            break;
        default:
            break;
    }
    return false;
}

// A command that comes from no control: from a host's loop that has its own
// ideas of Enter and Escape, or from a program that helps the user.
void DialogWin32Gdi::pressItem(int identifier) {
    if (const HWND item = GetDlgItem(window(), identifier)) {
        SendMessageW(window(), WM_COMMAND, MAKEWPARAM(identifier, BN_CLICKED),
                     reinterpret_cast<LPARAM>(item));
    } else if (identifier == IDCANCEL) {
        onCloseRequest();
    } else if (const auto button = getAbstraction().defaultButton(); button && identifier == IDOK) {
        button->click();
    }
}

// A tooltip below the pointer must not take the mouse from what it explains.
bool DialogWin32Gdi::letsMouseThrough(LPARAM place) const {
    POINT point{GET_X_LPARAM(place), GET_Y_LPARAM(place)};
    ScreenToClient(window(), &point);
    const Control* found = getAbstraction().controlAt({point.x, point.y});
    return found == nullptr || found == &getAbstraction();
}

void DialogWin32Gdi::focusFirst() {
    InputRouter& router = *getAbstraction().inputRouter();
    if (!hasStyle(NativeDialog::kStylePopup) && !router.focused()) {
        router.moveFocus(false);
    }
}

}  // namespace zustd
