// A window for native controls, and what is sent to a window behind its back.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "ZuControl.h"
#include "ZuGeometryWin32Gdi.h"
#include "ZuGraphicsServiceWin32Gdi.h"
#include "ZuHandleWin32Gdi.h"
#include "ZuLabel.h"
#include "ZuNativeButton.h"
#include "ZuNativeComboBox.h"
#include "ZuNativeDialog.h"
#include "ZuNativeProgressBar.h"
#include "ZuNativeScrollBar.h"
#include "ZuNativeTextBox.h"
#include "ZuNativeWindow.h"
#include "ZuResourceServiceGeneric.h"
#include "ZuWindowHandlerWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"
#include "ZuWindows.h"
#include "support/DrawingTest.h"
#include "support/ToolkitTest.h"
#include "support/WindowTest.h"
// Behind the wrapper.
#include <commctrl.h>

namespace zustd::test {

class NativeControlTest : public ::testing::Test {
protected:
    NativeControlTest() {
        window_->setSize({400, 300});
        window_->synchronizeTree();
    }

    // Puts a widget on the window and listens to it.
    template <class Widget>
    HWND show(const std::shared_ptr<Widget>& widget,
              const Rect& boundary = Rect::at({}, {90, 25})) {
        widget->setBoundary(boundary);
        window_->addChild(widget);
        log_ = std::make_shared<MessageLog>();
        widget->connect(log_, false);
        return nativeWindowOf(*widget);
    }
    WindowService& service() { return *window_->windowService(); }
    static std::wstring classOf(HWND window) {
        wchar_t name[64] = L"";
        GetClassNameW(window, name, 64);
        return name;
    }
    static LRESULT send(HWND window, UINT id, WPARAM wide = 0, LPARAM extra = 0) {
        return SendMessageW(window, id, wide, extra);
    }
    static void type(HWND window, const std::wstring& text) {
        for (const wchar_t c : text) {
            send(window, WM_CHAR, c);
        }
    }
    static std::shared_ptr<TextDescriptor> text(const wchar_t* literal) {
        return std::make_shared<TextDescriptor>(literal);
    }

    std::shared_ptr<NativeWindow> window_ = makeWindowService(nullptr)->createNativeWindow();
    std::shared_ptr<MessageLog> log_;
};

// What is sent to this thread's windows while one lives, as far as it changes them.
class Sent {
public:
    struct Message {
        UINT id;
        WPARAM wide;
        LPARAM extra;
        friend bool operator==(const Message&, const Message&) = default;
    };

    Sent() : hook_(SetWindowsHookExW(WH_CALLWNDPROC, &note, nullptr, GetCurrentThreadId())) {
        messages().clear();
    }
    static std::vector<Message>& messages() {
        static std::vector<Message> all;
        return all;
    }

private:
    static LRESULT CALLBACK note(int code, WPARAM own, LPARAM extra) noexcept {
        static constexpr UINT kChanging[] = {
            WM_SETTEXT,   WM_SETFONT,       WM_ENABLE,      WM_SHOWWINDOW,    WM_WINDOWPOSCHANGING,
            BM_SETCHECK,  BM_SETIMAGE,      EM_LIMITTEXT,   EM_SETREADONLY,   EM_SETCUEBANNER,
            CB_SETCURSEL, CB_SETITEMHEIGHT, CB_ADDSTRING,   CB_SETCUEBANNER,  PBM_SETRANGE32,
            PBM_SETPOS,   PBM_SETSTATE,     PBM_SETMARQUEE, SBM_SETSCROLLINFO};
        const auto& sent = *reinterpret_cast<const CWPSTRUCT*>(extra);
        if (std::find(std::begin(kChanging), std::end(kChanging), sent.message) !=
            std::end(kChanging)) {
            messages().push_back({sent.message, sent.wParam, sent.lParam});
        }
        return CallNextHookEx(nullptr, code, own, extra);
    }

    HookHandle hook_;
};

}  // namespace zustd::test
