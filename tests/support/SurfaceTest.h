// What the backend's tests share: a window with its services, a control that tells its input.
#pragma once

#include "ZuGeometryWin32Gdi.h"
#include "ZuMessageLoopWin32Gdi.h"
#include "ZuResourceServiceGeneric.h"
#include "ZuWindowHandlerWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"
#include "support/DrawingTest.h"
#include "support/ToolkitTest.h"
#include "support/WindowTest.h"

namespace zustd::test {

// A drawn control of one colour that takes part in everything.
class Probe : public Control {
public:
    bool onMouse(const MouseEvent& event) override {
        lastMouse = event;
        return event.modifiers == kModifierShift;
    }
    bool onKey(const KeyEvent& event) override { return event.key == 'U'; }
    std::shared_ptr<MessageLog> log = std::make_shared<MessageLog>();
    MouseEvent lastMouse;
    int drawn = 0;
    std::uint8_t red = 0xC0;
    std::function<void()> whileDrawing = [] {};

protected:
    void drawSelf(GraphicsService& graphics) override {
        ++drawn;
        graphics.drawRectangle(area(), Color::rgb(red, 0x10, 0x20));
        whileDrawing();
    }
};

class SurfaceTest : public ::testing::Test {
protected:
    SurfaceTest() {
        SetCursorPos(1279, 1023);
        ResourceServiceGeneric::install(*resources_, compiledInResources());
        ServiceLocator::instance()->registerService(resources_, true, true);
        window_ = makeWindow({300, 200});
        EXPECT_EQ(GetActiveWindow(), native());
    }
    ~SurfaceTest() override { ServiceLocator::instance()->unregisterService(resources_); }

    std::shared_ptr<NativeWindow> makeWindow(Size size) {
        auto window = service_->createNativeWindow();
        window->setSize(size);
        window->synchronizeTree();
        runMessages(10);
        return window;
    }
    template <class Widget>
    std::shared_ptr<Widget> show(std::shared_ptr<Widget> widget, const Rect& boundary,
                                 Control* holder = nullptr) {
        widget->setBoundary(boundary);
        (holder != nullptr ? *holder : *window_).addChild(widget);
        widget->connect(log_, false);
        return widget;
    }
    std::shared_ptr<Probe> addProbe(const Rect& boundary, Control* holder = nullptr) {
        const auto probe = show(makeControl<Probe>(), boundary, holder);
        probe->setFocusable(true);
        probe->connect(probe->log, false);
        return probe;
    }
    std::shared_ptr<NativeDialog> makeDialog(std::uint32_t style = 0) {
        auto dialog = service().createNativeDialog(style);
        dialog->setBoundary(Rect::at({5, 5}, {120, 90}));
        return dialog;
    }
    HWND native() const { return nativeWindowOf(*window_); }
    WindowService& service() const { return *window_->windowService(); }
    static LRESULT send(HWND window, UINT id, WPARAM wide = 0, LPARAM extra = 0) {
        return SendMessageW(window, id, wide, extra);
    }
    static void press(const std::vector<WORD>& keys) {
        pressKeys(keys);
        for (MSG next; PeekMessageW(&next, nullptr, 0, 0, PM_NOREMOVE);) {
            handleNextMessage(next);
        }
    }
    static void type(HWND window, const std::wstring& text) {
        for (const wchar_t c : text) {
            send(window, WM_CHAR, c);
        }
    }

    std::shared_ptr<ResourceService> resources_ = makeService<ResourceService>();
    std::shared_ptr<WindowService> service_ = makeWindowService(GetDesktopWindow());
    std::shared_ptr<MessageLog> log_ = std::make_shared<MessageLog>();
    std::shared_ptr<NativeWindow> window_;
};

}  // namespace zustd::test
