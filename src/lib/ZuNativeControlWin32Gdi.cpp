#include "ZuNativeControlWin32Gdi.h"

#include "ZuFontWin32Gdi.h"
#include "ZuGeometryWin32Gdi.h"
#include "ZuWindowHandlerWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"

namespace zustd {

void trackLeaving(HWND window, bool& tracks) noexcept {
    if (!tracks) {
        TRACKMOUSEEVENT request{
            .cbSize = sizeof(request), .dwFlags = TME_LEAVE, .hwndTrack = window};
        tracks = TrackMouseEvent(&request) != FALSE;
    }
}

std::wstring windowText(HWND window) {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(
        GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

HWND surfaceWindowOf(const Control& control) {
    const Control* above = control.surface() == &control ? control.parentControl() : &control;
    const Control* surface = above != nullptr ? above->surface() : nullptr;
    const auto service = surface != nullptr ? surface->windowService() : nullptr;
    const WindowServiceWin32Gdi* backend = windowServiceBackend(service.get());
    return backend != nullptr ? backend->window() : nullptr;
}

std::uint32_t heldModifiers() noexcept {
    const auto isDown = [](int key) { return GetKeyState(key) < 0; };
    return (isDown(VK_SHIFT) ? kModifierShift : 0) | (isDown(VK_CONTROL) ? kModifierControl : 0) |
           (isDown(VK_MENU) ? kModifierAlt : 0);
}

NativeControlWin32Gdi::NativeControlWin32Gdi(HWND hostWindow, const wchar_t* operation) noexcept
    : hostWindow_(hostWindow), operation_(operation) {}

void NativeControlWin32Gdi::synchronizeWindow(const Shape& shape,
                                              const std::function<void()>& onMade, bool anew) {
    const HWND parent = control().surface() != nullptr ? surfaceWindowOf(control()) : hostWindow_;
    const bool hadFocus = hasSystemFocus();
    if (window() != nullptr && (anew || parent != GetParent(window()) || shape.style != style_)) {
        destroyWindow();
    }
    if (parent == nullptr) {
        return;
    }
    const bool isNew = window() == nullptr;
    if (isNew) {
        createWindow(shape, parent);
    }
    place(parent);
    synchronizeColors();
    if (isNew && hadFocus && IsWindowVisible(window()) && IsWindowEnabled(window())) {
        SetFocus(window());
    }
    if (isNew && onMade) {
        onMade();
    }
}

bool NativeControlWin32Gdi::hasSystemFocus() const noexcept {
    const HWND focused = GetFocus();
    return window() != nullptr && (focused == window() || IsChild(window(), focused));
}

// Those of the surface behind count too: a check box shows what it lies on.
void NativeControlWin32Gdi::synchronizeColors() {
    const ColorsDescriptor* own = control().colors().get();
    const std::array wanted{control().color(ColorRole::kBackground),
                            control().color(ColorRole::kText),
                            own != nullptr ? own->color(ColorRole::kBackground) : Color{},
                            own != nullptr ? own->color(ColorRole::kText) : Color{}};
    if (std::exchange(colors_, wanted) != wanted) {
        RedrawWindow(window(), nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
    }
}

void NativeControlWin32Gdi::createWindow(const Shape& shape, HWND parent) {
    constexpr INITCOMMONCONTROLSEX kClasses{
        sizeof(kClasses), ICC_LISTVIEW_CLASSES | ICC_TREEVIEW_CLASSES | ICC_PROGRESS_CLASS};
    InitCommonControlsEx(&kClasses);
    const Rect area = control().boundaryOnSurface();
    const auto identifier = static_cast<UINT_PTR>(WindowServiceWin32Gdi::getNewId());
    WindowHandle made(ZU_SYSTEM(
        CreateWindowExW(shape.extendedStyle, shape.windowClass, L"", shape.style | WS_CHILD,
                        area.left, area.top, area.width(), area.height(), parent,
                        reinterpret_cast<HMENU>(identifier), GetModuleHandleW(nullptr), nullptr)));
    ZU_SYSTEM(attachment_.attach(made.get(), *this, operation_));
    made.release();
    style_ = shape.style;
    text_.clear();
    font_.reset();
}

// One call for each difference: most synchronisations change none of these.
void NativeControlWin32Gdi::place(HWND parent) {
    const Rect area = control().boundaryOnSurface();
    if (windowRect(window(), parent) != area) {
        // Where the old place was not painted yet, there is nothing to carry along.
        SetWindowPos(window(), nullptr, area.left, area.top, area.width(), area.height(),
                     SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOOWNERZORDER | SWP_NOCOPYBITS);
    }
    const bool hadFocus = hasSystemFocus();
    const bool usable = canBeUsed();
    enableWindow(usable);
    // Not IsWindowVisible, which asks the parents too.
    const bool isShowing = hasFlag(GetWindowLongW(window(), GWL_STYLE), WS_VISIBLE);
    if (control().isShown() != isShowing) {
        ShowWindow(window(), isShowing ? SW_HIDE : SW_SHOWNA);
    }
    // The keys must not go to a window that cannot use them, or to none.
    if (hadFocus && !(usable && control().isShown()) && IsWindowVisible(parent) &&
        IsWindowEnabled(parent)) {
        SetFocus(parent);
    }
}

void NativeControlWin32Gdi::enableWindow(bool enable) const noexcept {
    if (enable != (IsWindowEnabled(window()) != FALSE)) {
        EnableWindow(window(), enable ? TRUE : FALSE);
    }
}

void NativeControlWin32Gdi::pushText(UINT id, const std::wstring& text) {
    if (std::exchange(text_, text) != text) {
        sendData(id, text.c_str());
    }
}

void NativeControlWin32Gdi::synchronizeFont(const std::shared_ptr<FontDescriptor>& font) {
    const std::shared_ptr<WindowService> service = control().windowService();
    std::shared_ptr<Font> wanted = service ? service->getFont(font) : nullptr;
    if (wanted && wanted != font_) {
        send(WM_SETFONT, reinterpret_cast<WPARAM>(fontBackend(*wanted).handle()), TRUE);
        font_ = std::move(wanted);
    }
}

void NativeControlWin32Gdi::destroyWindow() noexcept {
    part_.detach();
    if (const HWND window = attachment_.detach()) {
        if (isAnswering() && guarded(operation_, [&] { doomed_.push_back(window); })) {
            ShowWindow(window, SW_HIDE);
        } else {
            DestroyWindow(window);
        }
    }
    tracksLeaving_ = false;
}

void NativeControlWin32Gdi::letWindowAnswer(const WindowMessage& message,
                                            LRESULT& result) noexcept {
    ++answering_;
    result = answerByDefault(message);
    if (--answering_ == 0) {
        for (const HWND window : std::exchange(doomed_, {})) {
            DestroyWindow(window);
        }
    }
}

bool NativeControlWin32Gdi::handleMultiWindowMessage(const WindowMessage& message,
                                                     LRESULT& result) {
    // Whoever hears of it may drop the control.
    const std::shared_ptr<Control> alive = sharedReference(&control());
    if (isOwn(message.window)) {
        return handleOwnMessage(message, result);
    }
    switch (message.id) {
        case WM_COMMAND:
            if (!isMirroring()) {
                onCommand(HIWORD(message.wide));
            }
            return true;
        case WM_HSCROLL:
        case WM_VSCROLL:
            onCommand(LOWORD(message.wide));
            return true;
        case WM_NOTIFY:
            onNotify(*reinterpret_cast<NMHDR*>(message.extra), result);
            return true;
        default:
            return hasField() && colorField(message, result);
    }
}

bool NativeControlWin32Gdi::handleOwnMessage(const WindowMessage& message, LRESULT& result) {
    if (message.id == WM_NCDESTROY) {
        return false;
    }
    const auto* asked =
        message.id == WM_GETDLGCODE ? reinterpret_cast<const MSG*>(message.extra) : nullptr;
    if (asked != nullptr && (asked->message == WM_KEYDOWN || asked->message == WM_SYSKEYDOWN)) {
        // In a dialog's message loop: the keys that the surface gets come here
        // first, since the input router knows drawn controls and the dialog does not.
        result = answerByDefault(message) | DLGC_WANTMESSAGE;
        return true;
    }
    if (message.id == WM_LBUTTONDOWN || message.id == WM_RBUTTONDOWN || message.id == WM_KEYDOWN ||
        message.id == WM_SYSKEYDOWN) {
        // Whoever hears of it may end the window, or take the control from its surface.
        control().hideTooltip();
    }
    // The router keeps its surface while it is at work.
    Control* surface = control().surface();
    InputRouter* router = surface != nullptr ? surface->inputRouter() : nullptr;
    if (router == nullptr) {
        return isOwn(message.window) && onWindowMessage(message, result);
    }
    switch (message.id) {
        case WM_SETFOCUS:
        case WM_KILLFOCUS:
            reportFocus(*router, message);
            break;
        case WM_MOUSEMOVE:
        case WM_MOUSELEAVE:
            reportHover(*router, message);
            break;
        case WM_KEYDOWN:
        case WM_SYSKEYDOWN:
            if (routeUnusedKey(*router, message)) {
                return true;
            }
            break;
        case WM_CHAR:
        case WM_SYSCHAR:
            if (std::exchange(swallowsCharacter_, false)) {
                return true;
            }
            break;
        default:
            break;
    }
    // Whoever heard of the focus or of the pointer may have ended the window.
    return isOwn(message.window) && onWindowMessage(message, result);
}

bool NativeControlWin32Gdi::colorField(const WindowMessage& message, LRESULT& result) {
    const auto& colors = control().colors();
    const Color background = colors ? colors->color(ColorRole::kBackground) : Color{};
    const Color text = colors ? colors->color(ColorRole::kText) : Color{};
    if (message.id < WM_CTLCOLORMSGBOX || message.id > WM_CTLCOLORSTATIC) {
        return false;
    }
    result = answerByDefault(message);
    const auto context = reinterpret_cast<HDC>(message.wide);
    if (text.isSet && control().isUsable()) {
        SetTextColor(context, nativeColor(text));
    }
    if (background.isSet) {
        result = answerBackground(context, background);
    }
    return true;
}

void NativeControlWin32Gdi::reportFocus(InputRouter& router, const WindowMessage& message) {
    if (message.id == WM_SETFOCUS) {
        router.acceptFocus(&control());
    } else if (const auto next = reinterpret_cast<HWND>(message.wide);
               next == nullptr ||
               WindowHandlerWin32Gdi::around(next) != WindowHandlerWin32Gdi::around(window())) {
        // The surface's own window has the focus for its drawn controls; one
        // that lies on it has a focus of its own.
        router.acceptFocus(nullptr);
    }
}

void NativeControlWin32Gdi::reportHover(InputRouter& router, const WindowMessage& message) {
    MouseEvent event;
    event.modifiers = heldModifiers();
    if (message.id == WM_MOUSELEAVE) {
        tracksLeaving_ = false;
        // What the pointer went to may have told before.
        if (router.hovered().get() != &control()) {
            return;
        }
        event.action = MouseAction::kLeave;
    } else {
        POINT inControl{GET_X_LPARAM(message.extra), GET_Y_LPARAM(message.extra)};
        ClientToScreen(message.window, &inControl);
        ScreenToClient(window(), &inControl);
        event.position = control().toSurface({inControl.x, inControl.y});
        trackLeaving(message.window, tracksLeaving_);
    }
    router.routeMouse(event);
}

bool NativeControlWin32Gdi::routeUnusedKey(InputRouter& router, const WindowMessage& message) {
    const KeyEvent event{static_cast<std::uint32_t>(message.wide), heldModifiers()};
    const bool used = !usesKey(event) && router.routeKeyFrom(control(), event);
    // The characters of these keys make edit controls beep.
    swallowsCharacter_ = used && !NativeControlWin32Gdi::usesKey(event);
    return used;
}

}  // namespace zustd
