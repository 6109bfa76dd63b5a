// What the toolkit's tests share: a surface of 200 by 100 pixels, a log, sinks of functions.
#pragma once

#include "ZuResourceService.h"
#include "support/FrameworkTest.h"
#include "support/RecordingBackend.h"

namespace zustd::test {

class ToolkitTest : public ::testing::Test {
protected:
    ToolkitTest() {
        window_->setBoundary({0, 0, 199, 99});
        window_->synchronizeTree();
        told();
    }
    ~ToolkitTest() override { native().scalingFactor = 1.0; }
    static void say(auto result) { tell(textOf(result)); }
    static void expectTold(const std::wstring& expected, int line = __builtin_LINE()) {
        EXPECT_EQ(told(), expected) << "at line " << line;
    }
    template <class Widget>
    std::shared_ptr<Widget> shown(std::shared_ptr<Widget> widget, const Rect& boundary = {}) {
        window_->addChild(widget);
        if (!boundary.isEmpty()) {
            widget->setBoundary(boundary);
        }
        widget->connect(log_, false);
        return widget;
    }
    RecordingWindowService& native() {
        return recordingOf<RecordingWindowService>(*window_->windowService());
    }
    void draw(Control& control) { control.drawAsRoot(*window_->graphicsService()); }
    std::wstring seen(Control& control) {
        told();
        draw(control);
        return told();
    }

    InputRouter& router() { return *window_->inputRouter(); }
    bool mouse(MouseAction action, Point position = {}, std::int32_t wheel = 0,
               std::uint32_t modifiers = 0) {
        return router().routeMouse({action, position, wheel, modifiers});
    }
    void click(Point position) {
        mouse(MouseAction::kLeftDown, position);
        mouse(MouseAction::kLeftUp, position);
    }
    bool key(std::uint32_t code, std::uint32_t modifiers = 0) {
        return router().routeKey({code, modifiers});
    }

    std::shared_ptr<WindowService> host_ = makeRecordingWindowService();
    std::shared_ptr<NativeWindow> window_ = host_->createNativeWindow();
    std::shared_ptr<MessageLog> log_ = std::make_shared<MessageLog>();
};

struct FunctionSink : MessageSink {
    using Function = std::function<void(const MessageKind&, MessageWord, MessageWord)>;
    explicit FunctionSink(Function function) : function_(std::move(function)) {}
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
        function_(kind, a, b);
        return true;
    }
    Function function_;
};

// Has the texts "text 9001" and so on, but none for the check box of a message box.
class NumberedTexts : public Service, public IResourceService {
public:
    using Service::Service;
    bool selectLocale(std::wstring_view) override { return false; }
    std::wstring getNamespaceName() const override { return L"xx-xx"; }
    const FileResource* getFileResource(std::uint64_t) const override { return nullptr; }
    std::shared_ptr<const StringTable> getStringTable() const override { return nullptr; }
    std::wstring getString(std::uint64_t key) const override {
        return key == kStringDoNotShowAgain ? std::wstring() : L"text " + std::to_wstring(key);
    }
};

}  // namespace zustd::test
