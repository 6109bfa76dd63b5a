#include "support/WindowTest.h"

#include <gtest/gtest.h>

namespace zustd::test {

namespace {

constexpr UINT kStepMilliseconds = 20;
constexpr int kMostIdleSteps = 250;

Steps* runningSteps = nullptr;

void sendKey(WORD key, DWORD flags) {
    INPUT input{INPUT_KEYBOARD, {}};
    input.ki = {key, static_cast<WORD>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC)), flags, 0, 0};
    SendInput(1, &input, sizeof(INPUT));
}

// Of all that the tests drew with (fonts, brushes, bitmaps ...) no more is left than what is kept,
// by the table of the process, since GetGuiResources does not work everywhere.
class NothingLeft : public ::testing::Environment {
    void TearDown() override {
        constexpr std::size_t kTableOffset = sizeof(void*) == 8 ? 0xF8 : 0x94;
        using Entry = std::array<BYTE, 24>;
        const auto processBlock = reinterpret_cast<const char* (*)()>(reinterpret_cast<void*>(
            GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetCurrentPeb")));
        const auto* table = *reinterpret_cast<const Entry* const*>(processBlock() + kTableOffset);
        const auto isUsed = [](const Entry& entry) { return entry[14] != 0; };
        const auto count = std::count_if(table, table + 0x10000, isUsed);
        EXPECT_TRUE(count > 0 && count < 500) << count;
    }
};
const auto* const nothingLeft = ::testing::AddGlobalTestEnvironment(new NothingLeft);

}  // namespace

void pressKeys(const std::vector<WORD>& keys) {
    for (const WORD key : keys) {
        sendKey(key, 0);
    }
    for (auto key = keys.rbegin(); key != keys.rend(); ++key) {
        sendKey(*key, KEYEVENTF_KEYUP);
    }
}

POINT onScreen(HWND window, Point point) {
    POINT place{point.x, point.y};
    ClientToScreen(window, &place);
    return place;
}

LRESULT sendMouse(HWND window, UINT message, Point point, WPARAM wide) {
    return SendMessageW(window, message, wide, MAKELPARAM(point.x, point.y));
}

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
    return _byteswap_ulong(color) >> 8;
}

Steps::Steps(std::initializer_list<Step> steps)
    : steps_(steps),
      outer_(std::exchange(runningSteps, this)),
      timer_(SetTimer(nullptr, 0, kStepMilliseconds, [](HWND, UINT, UINT_PTR, DWORD) noexcept {
          if (runningSteps != nullptr) {
              runningSteps->next();
          }
      })) {}

Steps::~Steps() {
    runningSteps = outer_;
    KillTimer(nullptr, timer_);
    MSG quit;
    PeekMessageW(&quit, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE);
    EXPECT_TRUE(steps_.empty()) << steps_.size() << " steps were not taken";
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
