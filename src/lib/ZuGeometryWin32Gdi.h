// Rectangles and sizes on their way between the portable toolkit and the system.
#pragma once

#include "ZuGeometry.h"
#include "ZuWindows.h"
// Behind the wrapper.
#include <windowsx.h>

namespace zustd {

// The system leaves out a rectangle's right and bottom.
constexpr RECT nativeRect(const Rect& area) noexcept {
    return {area.left, area.top, saturatedSum(area.right, 1), saturatedSum(area.bottom, 1)};
}
constexpr Rect portableRect(const RECT& area) noexcept {
    return {area.left, area.top, saturatedSum(area.right, -1), saturatedSum(area.bottom, -1)};
}

// Where a window lies on the screen, or in another one's client area; empty for none.
inline Rect windowRect(HWND window, HWND within = HWND_DESKTOP) noexcept {
    RECT area{};
    GetWindowRect(window, &area);
    MapWindowRect(HWND_DESKTOP, within, &area);
    return portableRect(area);
}

// What a window shows of itself; empty when there is no such window.
inline Size clientSizeOf(HWND window) noexcept {
    RECT client{};
    GetClientRect(window, &client);
    return portableRect(client).size();
}

// What windows may use of a screen.
inline Rect workAreaOf(HMONITOR screen) noexcept {
    MONITORINFO monitor{.cbSize = sizeof(monitor)};
    GetMonitorInfoW(screen, &monitor);
    return portableRect(monitor.rcWork);
}

// That of the screen that a window is on, or of the first one.
inline Rect workAreaAround(HWND window) noexcept {
    return workAreaOf(MonitorFromWindow(window, MONITOR_DEFAULTTOPRIMARY));
}

}  // namespace zustd
