// The input router: mouse, focus and keys; tooltips.
#include "ZuTooltip.h"
#include "support/ToolkitTest.h"

namespace zustd::test {
namespace {

using enum MouseAction;

struct Probe : Control {
    bool onMouse(const MouseEvent& event) override {
        tell(L"mouse " + textOf(event.position));
        return false;
    }
    bool onKey(const KeyEvent& event) override {
        tell(L"key " + textOf(event.key));
        return false;
    }
};

class InputTest : public ToolkitTest {
protected:
    InputTest() {
        left_->setFocusable(true);
        right_->setFocusable(true);
        right_->addChild(inner_);
        inner_->setBoundary({10, 10, 29, 29});
        told();
    }
    std::wstring after(std::initializer_list<MouseEvent> events) {
        for (const MouseEvent& event : events) {
            say(router().routeMouse(event));
            EXPECT_EQ(native().captured, router().pressed() != nullptr);
        }
        return told();
    }

    std::shared_ptr<Probe> left_ = shown(makeControl<Probe>(), {0, 0, 49, 49});
    std::shared_ptr<Probe> right_ = shown(makeControl<Probe>(), {50, 0, 99, 49});
    std::shared_ptr<Probe> inner_ = makeControl<Probe>();
};

TEST_F(InputTest, mouse_movesPressesAndReleases_sendsInOrder) {
    right_->setCursor(MouseCursor::kHand);
    EXPECT_EQ(after({{kMove, {10, 5}}, {kMove, {60, 5}}}),
              L"enterHovering; cursor 0; mouse 10,5; 0; leaveHovering; enterHovering; cursor 1; "
              L"mouse 10,5; 0");
    EXPECT_TRUE(right_->setCursor(MouseCursor::kText) && !right_->setCursor(MouseCursor::kText));
    left_->setCursor(MouseCursor::kWait);
    // Released elsewhere, it is no click, and nothing else hovers meanwhile.
    EXPECT_EQ(after({{kLeave, {}}, {kLeftDown, {60, 5}}, {kMove, {10, 5}}, {kLeftUp, {10, 5}}}),
              L"cursor 2; leaveHovering; 0; mouse 10,5; enterFocus; enterLeftClicking; 1; mouse "
              L"-40,5; 0; mouse -40,5; leaveLeftClicking; 1");
    EXPECT_EQ(native().systemFocus, right_.get());
    // Moved by more than four pixels, it is a drag.
    left_->setDraggable(true);
    // clang-format off
    EXPECT_EQ(after({{kLeftDown, {10, 5}}, {kMove, {14, 1}}, {kMove, {15, 5}}, {kMove, {-7, 5}},
                     {kLeftUp, {10, 5}}, {kLeftDown, {10, 5}}, {kMove, {10, 10}}}),
              L"mouse 10,5; leaveFocus; enterFocus; enterLeftClicking; 1; enterHovering; cursor 3; mouse "
              L"14,1; 0; dragging 15,5; mouse 15,5; 0; leaveHovering; dragging -7,5; mouse -7,5; 0; mouse 10,5; "
              L"leaveLeftClicking; dropped 10,5; 1; mouse 10,5; enterLeftClicking; 1; enterHovering; cursor 3; "
              L"dragging 10,10; mouse 10,10; 0");
    // clang-format on
    native().captured = false;
    router().cancelPress();
    EXPECT_EQ(after({{kRightDown, {10, 5}}, {kMove, {30, 5}}, {kRightUp, {30, 5}}}),
              L"leaveLeftClicking; mouse 10,5; enterRightClicking; 1; mouse 30,5; 0; mouse 30,5; "
              L"leaveRightClicking; rightClicked 30,5; 1");
    EXPECT_EQ(after({{kWheel, {5, 5}, 7}, {kWheel, {5, 5}, 7, 1}, {kWheel, {5, 5}, 7, 2}}),
              L"mouse 5,5; scrolledmousewheel 7,0; 0; mouse 5,5; shiftScrolledmousewheel 7,0; 0; "
              L"mouse 5,5; ctrlScrolledmousewheel 7,0; 0");
    EXPECT_FALSE(mouse(kWheel, {-1, 5}, 7));
    // One that is disabled takes no press, and lets none through.
    left_->setEnabled(false);
    EXPECT_EQ(after({{kLeftDown, {10, 5}}, {kMove, {11, 5}}, {kLeftUp, {10, 5}}}),
              L"invalidate 0,0,49,49; leaveHovering; leaveFocus; 0; enterHovering; cursor 3; 0; 0");
    mouse(kLeftDown, {60, 5});
    window_->removeChild(right_.get());
    EXPECT_FALSE(native().captured || right_->isLeftPressed());
}

TEST_F(InputTest, keys_arrowsAndTab_askForItemsAndReachSurfacesOnTheSurface) {
    left_->takeFocus();
    log_->take();
    for (const std::uint32_t modifiers : {0U, kModifierControl}) {
        key(kKeyUp, modifiers);
        key(kKeyDown, modifiers);
    }
    EXPECT_EQ(log_->take(),
              L"keyPressed selectPreviousItem keyPressed selectNextItem keyPressed moveUp "
              L"keyPressed moveDown");
    // A surface on the surface has its turn with its own router.
    const auto below = host_->createNativeWindow();
    window_->addChild(below);
    below->addChild(inner_);
    inner_->setFocusable(true);
    key(kKeyTab, kModifierShift);
    EXPECT_TRUE(inner_->hasFocus() && !left_->hasFocus() && !router().focused());
    below->inputRouter()->routeKey({kKeyTab, kModifierShift});
    EXPECT_TRUE(right_->hasFocus() && !inner_->hasFocus());
}

TEST_F(InputTest, tooltip_pointerRests_showsAfterTheDelayUntilItMovesOn) {
    const auto timer = [&] {
        return std::dynamic_pointer_cast<Timer>(
            window_->windowService()->getNamedObject(L"TTTIMER:" + left_->idText()));
    };
    const auto dialog = [&] {
        return std::dynamic_pointer_cast<NativeDialog>(
            window_->windowService()->getNamedObject(L"TTDIALOG:" + left_->idText()));
    };
    const auto options = std::make_shared<TooltipOptions>();
    options->delay = 0;
    options->offset = {3, 4};
    options->maximumSize = {};
    left_->setTooltipOptions(options);
    left_->tooltip().setLiteral(L"What it is");
    native().clientPosition = {100, 200};
    // 10 characters of 7 pixels, a line of 16, margins of 6 and 3.
    const std::pair<double, const wchar_t*> rows[] = {
        {1.0,
         L"113,224,194,245; fill 0,0,81,21 #ffffe1; pen #767676 1; frame 0,0,81,21; text 6,3,75,18 "
         L"What it is 11  #000000 0 0 100; leaveHovering"},
        {2.0,
         L"113,224,216,251; fill 0,0,103,27 #ffffe1; pen #767676 1; frame 0,0,103,27; text "
         L"12,6,91,21 What it is 11  #010203 0 0 100 b; leaveHovering"}};
    for (const auto& [scaling, expected] : rows) {
        native().scalingFactor = scaling;
        if (scaling > 1.0) {
            options->font = std::make_shared<FontDescriptor>();
            options->font->setBold(true);
            options->colors = std::make_shared<ColorsDescriptor>();
            options->colors->setColor(ColorRole::kText, Color::rgb(1, 2, 3));
        }
        mouse(kMove, {10, 20});
        const auto waiting = timer();
        EXPECT_EQ(waiting->name() + textOf(waiting->getInterval()), L"ttTimer1");
        EXPECT_TRUE(waiting->isRunning() && dialog());
        left_->showTooltip({10, 20});
        log_->take();
        waiting->acceptTick();
        EXPECT_EQ(log_->take(), L"beforeDisplayTooltip");
        told();
        const auto shown = dialog();
        EXPECT_TRUE(shown->isOpen() && !waiting->isRunning());
        EXPECT_EQ(shown->controlAt({9, 9}), shown.get());
        say(shown->boundary());
        shown->drawAsRoot(*shown->graphicsService());
        mouse(kLeave);
        expectTold(expected);
        EXPECT_FALSE(shown->isOpen() || timer() || dialog());
    }
    EXPECT_EQ(Tooltip().preferredSize(), (Size{12, 6}));
    left_->setTooltipOptions(nullptr);
    left_->tooltip().setLiteral(std::wstring(3000, L'x'));
    mouse(kMove, {10, 20});
    EXPECT_EQ(timer()->getInterval(), 500);
    timer()->acceptTick();
    EXPECT_EQ(dialog()->boundary(), Rect::at({110, 240}, {400, 300}));
    for (const MouseAction action : {kWheel, kLeftDown}) {
        mouse(kLeave);
        mouse(kMove, {10, 20});
        mouse(action, {10, 20}, 120);
        EXPECT_FALSE(timer() || dialog());
    }
    mouse(kLeftUp);
    const auto application = makeRecordingApplicationService();
    application->getPreferences()->setBool(L"showTooltips", false);
    window_->registerService(application, true, true);
    left_->showTooltip({10, 20});
    EXPECT_FALSE(timer());
    window_->unregisterService(application);
    mouse(kLeave);
    // Whoever leaves while it waits is shown nothing.
    mouse(kMove, {10, 20});
    const auto late = timer();
    window_->removeChild(left_.get());
    EXPECT_FALSE(late->isRunning() || timer());
    late->acceptTick();
    EXPECT_EQ(dialog(), nullptr);
    left_->showTooltip({});
    right_->showTooltip({});
    EXPECT_FALSE(window_->windowService()->getNamedObject(tooltipTimerKey(*right_))) << "no text";
}

}  // namespace
}  // namespace zustd::test
