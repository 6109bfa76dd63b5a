// What the tests of surfaces share: windows and dialogs of the backend, and a
// control that tells what reaches it.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "ZuGeometryWin32Gdi.h"
#include "ZuGraphicsService.h"
#include "ZuNativeDialog.h"
#include "ZuNativeWindow.h"
#include "ZuWindowServiceWin32Gdi.h"
#include "support/DrawingTest.h"
#include "support/RecordingBackend.h"
#include "support/WindowTest.h"

namespace zustd::test {

// A drawn control of one colour that takes part in everything and logs it.
class Probe : public Control {
public:
    explicit Probe(const Rect& boundary) {
        setBoundary(boundary);
        setFocusable(true);
    }
    void initialize() override {
        Control::initialize();
        connect(log, false);
    }

    bool onMouse(const MouseEvent& event) override {
        lastMouse = event;
        return usesWheel && event.action == MouseAction::kWheel;
    }

    std::shared_ptr<MessageLog> log = std::make_shared<MessageLog>();
    MouseEvent lastMouse;
    bool usesWheel = false;
    int drawn = 0;
    std::uint8_t red = 0xC0;
    // Called when it has drawn itself.
    std::function<void()> whileDrawing = [] {};

protected:
    void drawSelf(GraphicsService& graphics) override {
        ++drawn;
        graphics.drawRectangle(area(), Color::rgb(red, 0x10, 0x20));
        whileDrawing();
    }
};

// Keeps a surface open.
class Objector : public MessageSink {
public:
    bool onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord b) override {
        if (kind == Control::kClose) {
            ++asked;
            *b.object<bool>() = objects;
        }
        return true;
    }
    bool objects = true;
    int asked = 0;
};

class SurfaceTest : public ::testing::Test {
protected:
    SurfaceTest() { movePointer({1279, 1023}); }

    std::shared_ptr<NativeWindow> makeWindow(Size size) {
        auto window = service_->createNativeWindow();
        window->setCaption(std::make_shared<TextDescriptor>(L"Window"));
        window->setSize(size);
        window->synchronizeTree();
        runMessages(10);
        return window;
    }
    static std::shared_ptr<Probe> addProbe(Control& holder, const Rect& boundary) {
        auto probe = makeControl<Probe>(boundary);
        holder.addChild(probe);
        return probe;
    }
    std::shared_ptr<NativeDialog> makeDialog(const std::shared_ptr<NativeWindow>& owner,
                                             std::uint32_t style = 0) {
        auto dialog = owner->windowService()->createNativeDialog(style);
        dialog->setSize({120, 90});
        return dialog;
    }

    std::shared_ptr<WindowService> service_ = makeWindowService(nullptr);
};

}  // namespace zustd::test
