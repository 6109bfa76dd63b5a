#include <gtest/gtest.h>

#include <deque>
#include <functional>

#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuGraphicsService.h"
#include "ZuNativeButton.h"
#include "ZuNativeDialog.h"
#include "ZuNativePopupMenu.h"
#include "ZuNativeWindow.h"
#include "ZuResourceServiceGeneric.h"
#include "ZuWindowHandlerWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

// Handles what has arrived for this thread.
void handleMessages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

[[maybe_unused]] void waitFor(const std::function<bool()>& arrived) {
    for (int i = 0; i < 200 && !arrived(); ++i) {
        Sleep(5);
        handleMessages();
    }
}

class Steps;
Steps* runningSteps = nullptr;

// What the user does while something waits for him: one step every few
// milliseconds, from the loop that waits. A loop that goes on for long without
// one is ended.
class Steps : NotCopied {
public:
    using Step = std::function<void()>;

    explicit Steps(std::initializer_list<Step> steps) : steps_(steps) {
        runningSteps = this;
        timer_ = SetTimer(nullptr, 0, 20, [](HWND, UINT, UINT_PTR, DWORD) {
            if (runningSteps != nullptr) {
                runningSteps->next();
            }
        });
    }
    ~Steps() {
        runningSteps = nullptr;
        KillTimer(nullptr, timer_);
        MSG quit;
        PeekMessageW(&quit, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE);
        EXPECT_TRUE(steps_.empty()) << steps_.size() << " steps were not taken";
    }

private:
    void next() {
        if (!steps_.empty()) {
            const Step step = std::move(steps_.front());
            steps_.pop_front();
            step();
        } else if (++idle_ == 300) {
            ADD_FAILURE() << "still waiting";
            PostQuitMessage(1);
        }
    }

    std::deque<Step> steps_;
    UINT_PTR timer_;
    int idle_ = 0;
};

// A key for whatever has the focus.
void press(WORD key) {
    std::array<INPUT, 2> inputs{};
    for (INPUT& input : inputs) {
        input.type = INPUT_KEYBOARD;
        input.ki.wVk = key;
        input.ki.wScan = static_cast<WORD>(MapVirtualKeyW(key, MAPVK_VK_TO_VSC));
    }
    inputs[1].ki.dwFlags = KEYEVENTF_KEYUP;
    SendInput(2, inputs.data(), sizeof(INPUT));
}

class SurfaceTest : public ::testing::Test {
protected:
    std::shared_ptr<NativeWindow> makeWindow(Size size) {
        auto window = service_->createNativeWindow();
        window->setCaption(std::make_shared<TextDescriptor>(L"Window"));
        window->setSize(size);
        window->synchronizeTree();
        handleMessages();
        return window;
    }

    std::shared_ptr<WindowService> service_ = makeWindowService(nullptr);
};

TEST_F(SurfaceTest, window_synchronised_hasClientAreaCaptionAndState) {
    const auto window = makeWindow({300, 200});
    const HWND native = nativeWindowOf(*window);
    ASSERT_NE(native, nullptr);
    RECT client{};
    GetClientRect(native, &client);
    EXPECT_EQ(client.right, 300);
    EXPECT_EQ(client.bottom, 200);
    EXPECT_TRUE(IsWindowVisible(native));
    window->setVisible(false);
    EXPECT_FALSE(IsWindowVisible(native));
    window->setEnabled(false);
    EXPECT_FALSE(IsWindowEnabled(native));
}

TEST_F(SurfaceTest, dialog_escape_endsTheLoopAndEnablesTheOwner) {
    const auto window = makeWindow({300, 200});
    const HWND owner = nativeWindowOf(*window);
    const auto dialog = window->windowService()->createNativeDialog();
    dialog->setSize({100, 80});
    Steps steps{[&] {
                    EXPECT_FALSE(IsWindowEnabled(owner));
                    EXPECT_EQ(GetActiveWindow(), nativeWindowOf(*dialog));
                    EXPECT_EQ(GetForegroundWindow(), nativeWindowOf(*dialog));
                },
                [&] { press(VK_ESCAPE); }};
    EXPECT_EQ(dialog->show(true), kAnswerCancel);
    EXPECT_TRUE(IsWindowEnabled(owner));
    EXPECT_EQ(GetActiveWindow(), owner);
}

}  // namespace
}  // namespace zustd
