#include "ZuSurfaceInputWin32Gdi.h"

#include <windowsx.h>

#include "ZuNativeControlWin32Gdi.h"

namespace zustd {

namespace {

std::optional<MouseAction> actionOf(UINT id) noexcept {
    switch (id) {
        case WM_MOUSEMOVE:
            return MouseAction::kMove;
        case WM_MOUSELEAVE:
            return MouseAction::kLeave;
        case WM_LBUTTONDOWN:
            return MouseAction::kLeftDown;
        case WM_LBUTTONUP:
            return MouseAction::kLeftUp;
        case WM_LBUTTONDBLCLK:
            return MouseAction::kLeftDouble;
        case WM_RBUTTONDOWN:
        case WM_RBUTTONDBLCLK:
            return MouseAction::kRightDown;
        case WM_RBUTTONUP:
            return MouseAction::kRightUp;
        case WM_MOUSEWHEEL:
            return MouseAction::kWheel;
        case WM_MOUSEHWHEEL:
            return MouseAction::kHorizontalWheel;
        default:
            return {};
    }
}

// What the message says; the Alt key it does not know.
std::uint32_t modifiersOf(WPARAM wide) noexcept {
    return ((wide & MK_SHIFT) != 0 ? kModifierShift : 0) |
           ((wide & MK_CONTROL) != 0 ? kModifierControl : 0) | (heldModifiers() & kModifierAlt);
}

}  // namespace

std::optional<MouseEvent> mouseEventOf(const WindowMessage& message) noexcept {
    const std::optional<MouseAction> action = actionOf(message.id);
    if (!action) {
        return {};
    }
    MouseEvent event;
    event.action = *action;
    if (*action == MouseAction::kLeave) {
        event.modifiers = heldModifiers();
        return event;
    }
    POINT place{GET_X_LPARAM(message.extra), GET_Y_LPARAM(message.extra)};
    if (*action == MouseAction::kWheel || *action == MouseAction::kHorizontalWheel) {
        event.wheel = GET_WHEEL_DELTA_WPARAM(message.wide);
        ScreenToClient(message.window, &place);
    }
    event.position = {place.x, place.y};
    event.modifiers = modifiersOf(message.wide);
    return event;
}

std::optional<KeyEvent> keyEventOf(const WindowMessage& message) noexcept {
    if (message.id != WM_KEYDOWN && message.id != WM_SYSKEYDOWN) {
        return {};
    }
    return KeyEvent{static_cast<std::uint32_t>(message.wide), heldModifiers()};
}

}  // namespace zustd
