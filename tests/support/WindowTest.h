// What the tests of windows share: a user who presses keys and clicks, also
// while a dialog waits for him, and what he sees on the screen.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "ZuGeometry.h"
#include "ZuWindows.h"

namespace zustd::test {

// Real input, for the window that has the keyboard or lies at the point of the
// screen. Keys in a list are held together.
void pressKeys(const std::vector<WORD>& keys);
void movePointer(POINT place);
void click(POINT place);

// The middle of a window, and a point of its client area, on the screen.
POINT middleOf(HWND window);
POINT onScreen(HWND window, Point point);

// A mouse message for a point of the client area, handled at once.
LRESULT sendMouse(HWND window, UINT message, Point point, WPARAM wide = 0);

// A key as the message loop would get it from the keyboard.
void postKey(HWND window, WPARAM key);

std::wstring textOf(HWND window);
// What the window shows at a point of its client area, as 0xRRGGBB.
std::uint32_t pixelOf(HWND window, Point point);
// Windows of this thread, those inside of others too.
int liveWindows();
// The place that a new window or menu gets in the system's table of them: moves
// on as long as some are not given back.
unsigned nextUserHandle();

// Runs a round once, and then some dozens of times without that more windows, menus,
// fonts ... are there afterwards.
void expectNothingLeft(const std::function<void()>& round);

// The system refuses new windows while one lives.
class RefusedWindows {
public:
    RefusedWindows();
    RefusedWindows(const RefusedWindows&) = delete;
    RefusedWindows& operator=(const RefusedWindows&) = delete;
    ~RefusedWindows() { UnhookWindowsHookEx(hook_); }

private:
    HHOOK hook_;
};

// What the user does while somebody waits for him: a step every few
// milliseconds, taken inside of the loop that waits. A loop that goes on for
// long after the last one fails the test and is ended.
class Steps {
public:
    using Step = std::function<void()>;

    Steps(std::initializer_list<Step> steps);
    Steps(const Steps&) = delete;
    Steps& operator=(const Steps&) = delete;
    ~Steps();

private:
    static void CALLBACK onTimer(HWND, UINT, UINT_PTR, DWORD) noexcept;
    void next();

    std::deque<Step> steps_;
    Steps* outer_;
    UINT_PTR timer_;
    int idle_ = 0;
};

}  // namespace zustd::test
