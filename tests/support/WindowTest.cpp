#include "support/WindowTest.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "support/DrawingTest.h"

namespace zustd::test {

namespace {

constexpr UINT kStepMilliseconds = 20;
constexpr int kMostIdleSteps = 250;
// One thing left by each round is more than what is counted moves on by itself.
constexpr int kRounds = 60;
constexpr int kSlack = 40;

Steps* runningSteps = nullptr;

INPUT keyInput(WORD key, DWORD flags) {
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC));
    input.ki.dwFlags = flags;
    return input;
}

BOOL CALLBACK countWindow(HWND, LPARAM count) {
    ++*reinterpret_cast<int*>(count);
    return TRUE;
}

INPUT mouseInput(DWORD flags) {
    INPUT input{};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = flags;
    return input;
}

}  // namespace

void pressKeys(const std::vector<WORD>& keys) {
    std::vector<INPUT> inputs;
    for (const WORD key : keys) {
        inputs.push_back(keyInput(key, 0));
    }
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
        inputs.push_back(keyInput(*key, KEYEVENTF_KEYUP));
    }
    SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
}

void movePointer(POINT place) { SetCursorPos(place.x, place.y); }

void click(POINT place) {
    movePointer(place);
    std::array<INPUT, 2> inputs{mouseInput(MOUSEEVENTF_LEFTDOWN), mouseInput(MOUSEEVENTF_LEFTUP)};
    SendInput(2, inputs.data(), sizeof(INPUT));
}

POINT middleOf(HWND window) {
    RECT area{};
    GetWindowRect(window, &area);
    return {(area.left + area.right) / 2, (area.top + area.bottom) / 2};
}

POINT onScreen(HWND window, Point point) {
    POINT place{point.x, point.y};
    ClientToScreen(window, &place);
    return place;
}

LRESULT sendMouse(HWND window, UINT message, Point point, WPARAM wide) {
    return SendMessageW(window, message, wide, MAKELPARAM(point.x, point.y));
}

void postKey(HWND window, WPARAM key) { PostMessageW(window, WM_KEYDOWN, key, 1); }

std::wstring textOf(HWND window) {
    std::vector<wchar_t> text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1);
    GetWindowTextW(window, text.data(), static_cast<int>(text.size()));
    return text.data();
}

std::uint32_t pixelOf(HWND window, Point point) {
    UpdateWindow(window);
    const HDC context = GetDC(window);
    const COLORREF color = GetPixel(context, point.x, point.y);
    ReleaseDC(window, context);
    return std::uint32_t{GetRValue(color)} << 16 | std::uint32_t{GetGValue(color)} << 8 |
           GetBValue(color);
}

int liveWindows() {
    int count = 0;
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM out) -> BOOL {
            countWindow(window, out);
            EnumChildWindows(window, &countWindow, out);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&count));
    EXPECT_GT(count, 0) << "nothing is counted";
    return count;
}

unsigned nextUserHandle() {
    const HMENU menu = CreateMenu();
    const auto place = static_cast<unsigned>(reinterpret_cast<UINT_PTR>(menu) & 0xFFFF);
    DestroyMenu(menu);
    return place;
}

void expectNothingLeft(const std::function<void()>& round) {
    round();
    const int windows = liveWindows();
    const unsigned handle = nextUserHandle();
    const int drawing = drawingObjectCount();
    for (int i = 0; i < kRounds; ++i) {
        round();
    }
    EXPECT_EQ(liveWindows(), windows);
    EXPECT_LT(nextUserHandle(), handle + kSlack);
    EXPECT_LT(drawingObjectCount(), drawing + kSlack);
    EXPECT_GT(drawing, 0);
}

RefusedWindows::RefusedWindows()
    : hook_(SetWindowsHookExW(
          WH_CBT,
          [](int code, WPARAM wide, LPARAM extra) -> LRESULT {
              return code == HCBT_CREATEWND ? 1 : CallNextHookEx(nullptr, code, wide, extra);
          },
          nullptr, GetCurrentThreadId())) {}

Steps::Steps(std::initializer_list<Step> steps)
    : steps_(steps),
      outer_(std::exchange(runningSteps, this)),
      timer_(SetTimer(nullptr, 0, kStepMilliseconds, &onTimer)) {}

Steps::~Steps() {
    runningSteps = outer_;
    KillTimer(nullptr, timer_);
    MSG quit;
    PeekMessageW(&quit, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE);
    EXPECT_TRUE(steps_.empty()) << steps_.size() << " steps were not taken";
}

void CALLBACK Steps::onTimer(HWND, UINT, UINT_PTR, DWORD) noexcept {
    if (runningSteps != nullptr) {
        runningSteps->next();
    }
}

void Steps::next() {
    if (!steps_.empty()) {
        const Step step = std::move(steps_.front());
        steps_.pop_front();
        step();
    } else if (++idle_ == kMostIdleSteps) {
        ADD_FAILURE() << "somebody still waits";
        PostQuitMessage(1);
    }
}

}  // namespace zustd::test
