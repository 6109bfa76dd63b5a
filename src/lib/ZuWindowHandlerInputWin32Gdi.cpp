// The part of a surface's window that the user works with: mouse, keyboard and focus.
#include "ZuWindowHandlerWin32Gdi.h"

#include <windowsx.h>

#include <optional>

#include "ZuNativeControlWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"

namespace zustd {

static_assert(kKeyTab == VK_TAB && kKeyEnter == VK_RETURN && kKeyEscape == VK_ESCAPE &&
              kKeySpace == VK_SPACE && kKeyPageUp == VK_PRIOR && kKeyPageDown == VK_NEXT &&
              kKeyEnd == VK_END && kKeyHome == VK_HOME && kKeyLeft == VK_LEFT && kKeyUp == VK_UP &&
              kKeyRight == VK_RIGHT && kKeyDown == VK_DOWN);
static_assert(MouseEvent::kWheelStep == WHEEL_DELTA);

namespace {

constexpr std::pair<UINT, MouseAction> kActions[] = {
    {WM_MOUSEMOVE, MouseAction::kMove},           {WM_MOUSELEAVE, MouseAction::kLeave},
    {WM_LBUTTONDOWN, MouseAction::kLeftDown},     {WM_LBUTTONUP, MouseAction::kLeftUp},
    {WM_LBUTTONDBLCLK, MouseAction::kLeftDouble}, {WM_RBUTTONDOWN, MouseAction::kRightDown},
    {WM_RBUTTONDBLCLK, MouseAction::kRightDown},  {WM_RBUTTONUP, MouseAction::kRightUp},
    {WM_MOUSEWHEEL, MouseAction::kWheel},         {WM_MOUSEHWHEEL, MouseAction::kHorizontalWheel},
};

bool isWheel(const MouseEvent& event) noexcept {
    return event.action == MouseAction::kWheel || event.action == MouseAction::kHorizontalWheel;
}

// What the message says; the Alt key it does not know.
std::uint32_t modifiersOf(WPARAM wide) noexcept {
    return (hasFlag(wide, MK_SHIFT) ? kModifierShift : 0) |
           (hasFlag(wide, MK_CONTROL) ? kModifierControl : 0) | (heldModifiers() & kModifierAlt);
}

// The event that a mouse message stands for, in pixels of the client area; empty for
// any other message.
std::optional<MouseEvent> mouseEventOf(const WindowMessage& message) noexcept {
    const auto* found = std::find_if(std::begin(kActions), std::end(kActions),
                                     [&](const auto& known) { return known.first == message.id; });
    if (found == std::end(kActions)) {
        return {};
    }
    MouseEvent event;
    event.action = found->second;
    if (event.action == MouseAction::kLeave) {
        event.modifiers = heldModifiers();
        return event;
    }
    POINT place{GET_X_LPARAM(message.extra), GET_Y_LPARAM(message.extra)};
    if (isWheel(event)) {
        event.wheel = GET_WHEEL_DELTA_WPARAM(message.wide);
        ScreenToClient(message.window, &place);
    }
    event.position = {place.x, place.y};
    event.modifiers = modifiersOf(message.wide);
    return event;
}

}  // namespace

// --- Mouse and keyboard ---------------------------------------------------------------------

bool WindowHandlerWin32Gdi::handleMouse(const WindowMessage& message, LRESULT& result) {
    if (message.id == WM_SETCURSOR && LOWORD(message.extra) == HTCLIENT &&
        reinterpret_cast<HWND>(message.wide) == window_) {
        services_.window->setCursor(services_.window->getCursor());
        result = TRUE;
        return true;
    }
    if (message.id == WM_CAPTURECHANGED) {
        if (reinterpret_cast<HWND>(message.extra) != window_) {
            surface().inputRouter()->cancelPress();
        }
        return true;
    }
    const std::optional<MouseEvent> event = mouseEventOf(message);
    if (!event) {
        return false;
    }
    if (isWheel(*event)) {
        return handleWheel(*event);
    }
    InputRouter& router = *surface().inputRouter();
    std::shared_ptr<Control> left;
    if (event->action == MouseAction::kLeave) {
        tracksLeaving_ = false;
        left = router.hovered();
    } else {
        trackLeaving(window_, tracksLeaving_);
    }
    // The pointer may be known to be on a native control by now.
    if (!left || left->backend() == nullptr) {
        router.routeMouse(*event);
    }
    return true;
}

// What nothing on this surface uses goes on to the controls that it lies on,
// and from the outermost surface to the host's window.
bool WindowHandlerWin32Gdi::handleWheel(const MouseEvent& event) const {
    Control& inner = surface();
    if (inner.inputRouter()->routeMouse(event)) {
        return true;
    }
    MouseEvent outside = event;
    Control* climbing = &inner;
    while (Control* parent = climbing->parentControl()) {
        outside.position = outside.position.movedBy(climbing->boundary().position());
        if (parent->isUsable() && parent->onMouse(outside)) {
            return true;
        }
        climbing = parent;
    }
    // The messages have climbed the tree already: surfaces outside of this one
    // must not send them again.
    return climbing != &inner;
}

bool WindowHandlerWin32Gdi::handleKey(const WindowMessage& message, LRESULT& result) {
    if (message.id == WM_GETDLGCODE) {
        // In a host's dialog: keys go to the router first.
        result = DLGC_WANTALLKEYS | DLGC_WANTARROWS | DLGC_WANTCHARS | DLGC_WANTTAB;
        return true;
    }
    if (message.id == WM_SYSCHAR) {
        // That of an unused key may open the window's menu.
        return std::exchange(swallowsCharacter_, false);
    }
    if (message.id != WM_KEYDOWN && message.id != WM_SYSKEYDOWN) {
        return false;
    }
    const KeyEvent event{static_cast<std::uint32_t>(message.wide), heldModifiers()};
    const bool used = surface().inputRouter()->routeKey(event);
    swallowsCharacter_ = used && message.id == WM_SYSKEYDOWN;
    return used;
}

// --- Focus ----------------------------------------------------------------------------------

bool WindowHandlerWin32Gdi::canHoldFocus(HWND window) const noexcept {
    return IsChild(window_, window) && IsWindowVisible(window) && IsWindowEnabled(window);
}

bool WindowHandlerWin32Gdi::handleFocus(const WindowMessage& message) {
    InputRouter& router = *surface().inputRouter();
    switch (message.id) {
        case WM_ACTIVATE:
            if (LOWORD(message.wide) == WA_INACTIVE) {
                rememberFocus();
            } else if (HIWORD(message.wide) == 0) {
                restoreFocus();
            }
            break;
        case WM_SETFOCUS: {
            // The window stands in for its drawn controls only.
            const std::shared_ptr<Control> focused = router.focused();
            const HWND native = focused ? nativeWindowOf(*focused) : nullptr;
            if (canHoldFocus(native)) {
                SetFocus(native);
            } else if (const auto kept = focused ? nullptr : std::exchange(keptFocus_, {}).lock()) {
                kept->takeFocus();
            }
            break;
        }
        case WM_KILLFOCUS: {
            // A surface on this one has a focus of its own.
            if (around(reinterpret_cast<HWND>(message.wide)) != this) {
                if (const std::shared_ptr<Control> focused = router.focused()) {
                    keptFocus_ = focused;
                }
                router.acceptFocus(nullptr);
            }
            break;
        }
        default:
            return false;
    }
    return true;
}

void WindowHandlerWin32Gdi::rememberFocus() {
    const HWND focused = GetFocus();
    const WindowHandlerWin32Gdi* holder = around(focused);
    // A window that is about to go has no handler any more.
    if (holder != nullptr && (focused == window_ || IsChild(window_, focused))) {
        keptFocusWindow_ = focused;
        keptFocus_ = holder->surface().inputRouter()->focused();
    }
}

void WindowHandlerWin32Gdi::restoreFocus() {
    const std::shared_ptr<Control> kept = std::exchange(keptFocus_, {}).lock();
    const HWND keptWindow = std::exchange(keptFocusWindow_, nullptr);
    if (kept && kept->takeFocus()) {
        return;
    }
    SetFocus(canHoldFocus(keptWindow) ? keptWindow : window_);
    if (keptWindow == nullptr) {
        focusFirst();
    }
}

void WindowHandlerWin32Gdi::giveFocus(Control& control) {
    const HWND root = GetAncestor(window_, GA_ROOT);
    WindowHandlerWin32Gdi* waiting = window_ != nullptr ? of(root) : this;
    if (waiting != nullptr && (window_ == nullptr || GetActiveWindow() != root)) {
        waiting->keptFocus_ = sharedReference(&control);
        waiting->keptFocusWindow_ = nullptr;
        return;
    }
    const HWND native = nativeWindowOf(control);
    SetFocus(native != nullptr ? native : window_);
}

}  // namespace zustd
