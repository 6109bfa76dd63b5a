// What the tests of windows share: a user who presses keys and clicks, also
// while a dialog waits for him, and what he sees on the screen.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "ZuGeometry.h"
#include "ZuHandleWin32Gdi.h"

namespace zustd::test {

// Real input, for who has the keyboard; keys in a list are held together.
void pressKeys(const std::vector<WORD>& keys);

POINT onScreen(HWND window, Point point);

// A mouse message for a point of the client area, handled at once.
LRESULT sendMouse(HWND window, UINT message, Point point, WPARAM wide = 0);

std::wstring textOf(HWND window);
// What the window shows at a point of its client area, as 0xRRGGBB.
std::uint32_t pixelOf(HWND window, Point point);

// The system refuses new windows while one lives.
class RefusedWindows {
    static LRESULT CALLBACK refuse(int code, WPARAM wide, LPARAM extra) noexcept {
        return code == HCBT_CREATEWND ? 1 : CallNextHookEx(nullptr, code, wide, extra);
    }
    HookHandle hook_{SetWindowsHookExW(WH_CBT, &refuse, nullptr, GetCurrentThreadId())};
};

// What the user does while somebody waits for him: a step every few milliseconds, taken inside of
// the loop that waits. A loop that goes on for long after the last one fails the test and is ended.
class Steps {
public:
    using Step = std::function<void()>;

    Steps(std::initializer_list<Step> steps);
    Steps(const Steps&) = delete;
    ~Steps();

private:
    void next();

    std::deque<Step> steps_;
    Steps* outer_;
    UINT_PTR timer_;
    int idle_ = 0;
};

}  // namespace zustd::test
