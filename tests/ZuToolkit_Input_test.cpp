#include <gtest/gtest.h>

#include "support/FrameworkTest.h"
#include "support/RecordingBackend.h"

namespace zustd {
namespace {

using namespace test;

// A window of 200 by 100 pixels with two drawn controls side by side.
class InputTest : public ::testing::Test {
protected:
    InputTest() {
        window_->setBoundary({0, 0, 199, 99});
        left_->setBoundary({0, 0, 49, 49});
        right_->setBoundary({50, 0, 99, 49});
        for (const auto& control : {left_, right_}) {
            control->setFocusable(true);
            control->connect(log_, false);
            window_->addChild(control);
        }
        window_->synchronizeTree();
    }

    bool mouse(MouseAction action, Point position, std::int32_t wheel = 0,
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
    InputRouter& router() { return *window_->inputRouter(); }
    RecordingWindowService& native() {
        return recordingOf<RecordingWindowService>(*window_->windowService());
    }

    std::shared_ptr<WindowService> host_ = makeRecordingWindowService();
    std::shared_ptr<NativeWindow> window_ = host_->createNativeWindow();
    std::shared_ptr<Control> left_ = makeControl<Control>();
    std::shared_ptr<Control> right_ = makeControl<Control>();
    std::shared_ptr<MessageLog> log_ = std::make_shared<MessageLog>();
};

TEST_F(InputTest, move_fromOneToTheOther_leavesThenEnters) {
    right_->setCursor(MouseCursor::kHand);
    mouse(MouseAction::kMove, {10, 10});
    EXPECT_EQ(log_->take(), L"enterHovering");
    mouse(MouseAction::kMove, {20, 10});
    EXPECT_EQ(log_->take(), L"");
    mouse(MouseAction::kMove, {60, 10});
    EXPECT_EQ(log_->take(), L"leaveHovering enterHovering");
    EXPECT_TRUE(right_->isHovered());
    EXPECT_EQ(native().cursor, MouseCursor::kHand);
    mouse(MouseAction::kLeave, {});
    EXPECT_EQ(log_->take(), L"leaveHovering");
    EXPECT_EQ(router().hovered(), nullptr);
}

TEST_F(InputTest, click_inside_pressesFocusesAndClicks) {
    EXPECT_TRUE(mouse(MouseAction::kLeftDown, {10, 12}));
    EXPECT_TRUE(left_->isLeftPressed());
    EXPECT_TRUE(native().captured);
    EXPECT_EQ(log_->take(), L"enterFocus enterLeftClicking");
    EXPECT_TRUE(mouse(MouseAction::kLeftUp, {11, 13}));
    EXPECT_FALSE(native().captured);
    ASSERT_EQ(log_->entries.size(), 2U);
    EXPECT_EQ(pointOfWord(log_->entries[1].b), (Point{11, 13}));
    EXPECT_EQ(log_->take(), L"leaveLeftClicking leftClicked");
    EXPECT_EQ(native().systemFocus, left_.get());
}

TEST_F(InputTest, release_elsewhere_isNoClick) {
    mouse(MouseAction::kLeftDown, {10, 10});
    mouse(MouseAction::kMove, {60, 10});
    EXPECT_FALSE(right_->isHovered());
    log_->take();
    mouse(MouseAction::kLeftUp, {60, 10});
    EXPECT_EQ(log_->take(), L"leaveLeftClicking");
}

TEST_F(InputTest, rightButton_overSelf_sendsItsOwnMessages) {
    mouse(MouseAction::kRightDown, {60, 10});
    // The other button belongs to the running press.
    mouse(MouseAction::kLeftDown, {10, 10});
    mouse(MouseAction::kRightUp, {60, 10});
    EXPECT_EQ(log_->take(), L"enterFocus enterRightClicking leaveRightClicking rightClicked");
}

TEST_F(InputTest, press_disabled_isRefusedButHoverIsKnown) {
    left_->setEnabled(false);
    EXPECT_FALSE(mouse(MouseAction::kLeftDown, {10, 10}));
    mouse(MouseAction::kMove, {10, 10});
    mouse(MouseAction::kLeftUp, {10, 10});
    EXPECT_EQ(log_->take(), L"enterHovering");
}

TEST_F(InputTest, controlAt_throughWhatTakesNoMouse_findsTheOneBelow) {
    const auto cover = makeControl<Control>();
    cover->setBoundary({0, 0, 199, 99});
    window_->addChild(cover);
    EXPECT_EQ(window_->controlAt({10, 10}), cover.get());
    cover->setTakesMouse(false);
    EXPECT_EQ(window_->controlAt({10, 10}), left_.get());
    EXPECT_EQ(window_->controlAt({150, 80}), window_.get());
    EXPECT_EQ(window_->controlAt({200, 80}), nullptr);
    left_->setVisible(false);
    EXPECT_EQ(window_->controlAt({10, 10}), window_.get());
}

TEST_F(InputTest, drag_beyondTheThreshold_sendsDraggingAndDropped) {
    left_->setDraggable(true);
    mouse(MouseAction::kLeftDown, {10, 10});
    mouse(MouseAction::kMove, {14, 10});
    log_->take();
    mouse(MouseAction::kMove, {15, 10});
    mouse(MouseAction::kMove, {80, 10});
    EXPECT_EQ(pointOfWord(log_->entries.back().b), (Point{80, 10}));
    mouse(MouseAction::kLeftUp, {80, 10});
    EXPECT_EQ(log_->take(), L"dragging leaveHovering dragging leaveLeftClicking dropped")
        << "hovering is entered by the first move";
}

// Removes itself when it is pressed.
class Vanishing : public Control {
public:
    bool onMouse(const MouseEvent& event) override {
        if (event.action == MouseAction::kLeftDown && parentControl() != nullptr) {
            requireParent().removeChild(this);
        }
        return true;
    }
};

TEST_F(InputTest, press_controlVanishes_endsWithoutHarm) {
    const auto vanishing = makeControl<Vanishing>();
    vanishing->setBoundary({100, 0, 149, 49});
    window_->addChild(vanishing);
    click({110, 10});
    EXPECT_EQ(vanishing->parentControl(), nullptr);
    EXPECT_FALSE(native().captured);
    click({10, 10});
    EXPECT_EQ(log_->take(), L"enterFocus enterLeftClicking leaveLeftClicking leftClicked");
}

TEST_F(InputTest, removal_ofPressedHoveredFocused_leavesAllStates) {
    mouse(MouseAction::kMove, {10, 10});
    mouse(MouseAction::kLeftDown, {10, 10});
    log_->take();
    window_->removeChild(left_.get());
    EXPECT_EQ(log_->take(), L"leaveLeftClicking leaveHovering leaveFocus");
    EXPECT_FALSE(native().captured);
    EXPECT_EQ(router().focused(), nullptr);
    EXPECT_FALSE(mouse(MouseAction::kLeftUp, {10, 10}));
}

TEST_F(InputTest, wheel_unused_isAnnouncedByModifier) {
    mouse(MouseAction::kWheel, {10, 10}, -120);
    EXPECT_EQ(log_->entries[0].b.number(), -120);
    mouse(MouseAction::kWheel, {10, 10}, 120, kModifierControl);
    mouse(MouseAction::kWheel, {10, 10}, 120, kModifierShift);
    EXPECT_EQ(log_->take(), L"scrolledmousewheel ctrlScrolledmousewheel shiftScrolledmousewheel");
}

class WheelUser : public Control {
public:
    bool onMouse(const MouseEvent& event) override {
        position = event.position;
        return event.action == MouseAction::kWheel;
    }
    Point position;
};

TEST_F(InputTest, wheel_ancestorUsesIt_getsItInItsOwnCoordinates) {
    const auto user = makeControl<WheelUser>();
    user->setBoundary({100, 50, 199, 99});
    const auto inner = makeControl<Control>();
    inner->setBoundary({10, 10, 19, 19});
    inner->connect(log_, false);
    user->addChild(inner);
    window_->addChild(user);
    EXPECT_TRUE(mouse(MouseAction::kWheel, {112, 63}, 120));
    EXPECT_EQ(user->position, (Point{12, 13}));
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(InputTest, tab_focusOrder_wrapsAroundAndSkipsTheUnusable) {
    const auto third = makeControl<Control>();
    third->setFocusable(true);
    third->setFocusOrder(-1);
    window_->addChild(third);
    EXPECT_TRUE(key(kKeyTab));
    EXPECT_EQ(router().focused(), third);
    EXPECT_TRUE(key(kKeyTab));
    EXPECT_EQ(router().focused(), left_);
    right_->setEnabled(false);
    EXPECT_TRUE(key(kKeyTab));
    EXPECT_EQ(router().focused(), third);
    EXPECT_TRUE(key(kKeyTab, kModifierShift));
    EXPECT_EQ(router().focused(), left_);
    EXPECT_FALSE(key(kKeyTab, kModifierControl));
}

TEST_F(InputTest, tab_acrossSurfaces_movesOnInsideTheInnerOne) {
    const auto inner = host_->createNativeWindow();
    const auto button = host_->createNativeButton();
    inner->addChild(button);
    window_->addChild(inner);
    right_->takeFocus();
    EXPECT_TRUE(key(kKeyTab));
    EXPECT_EQ(router().focused(), nullptr);
    EXPECT_EQ(inner->inputRouter()->focused(), button);
    EXPECT_TRUE(inner->inputRouter()->routeKeyFrom(*button, {kKeyTab, 0}));
    EXPECT_EQ(router().focused(), left_);
    EXPECT_EQ(inner->inputRouter()->focused(), nullptr);
}

TEST_F(InputTest, setFocus_notFocusableHiddenOrForeign_isRefused) {
    left_->setFocusable(false);
    EXPECT_FALSE(left_->takeFocus());
    right_->setVisible(false);
    EXPECT_FALSE(right_->takeFocus());
    const auto foreign = makeControl<Control>();
    foreign->setFocusable(true);
    EXPECT_FALSE(router().setFocus(foreign.get()));
    EXPECT_FALSE(foreign->takeFocus());
    EXPECT_EQ(router().focused(), nullptr);
}

TEST_F(InputTest, keys_unused_areAnnouncedAndNavigate) {
    left_->takeFocus();
    log_->take();
    EXPECT_FALSE(key('X'));
    EXPECT_EQ(log_->entries[0].b.number(), 'X');
    EXPECT_FALSE(key(kKeyDown));
    EXPECT_FALSE(key(kKeyUp));
    EXPECT_FALSE(key(kKeyUp, kModifierControl));
    EXPECT_EQ(log_->take(),
              L"keyPressed keyPressed selectNextItem keyPressed selectPreviousItem keyPressed "
              L"moveUp");
}

TEST_F(InputTest, dialogKeys_enterAndEscape_pressAndClose) {
    const auto dialog = host_->createNativeDialog();
    const auto button = host_->createNativeButton();
    button->connect(log_, false);
    dialog->addChild(button);
    dialog->setDefaultButton(button);
    dialog->show(false);
    EXPECT_TRUE(dialog->inputRouter()->routeKey({kKeyEnter, 0}));
    EXPECT_EQ(log_->take(), L"leftClicked");
    EXPECT_TRUE(dialog->inputRouter()->routeKey({kKeyEscape, 0}));
    EXPECT_FALSE(dialog->isOpen());
    EXPECT_EQ(dialog->result(), kAnswerCancel);
}

class StaysOpen : public MessageSink {
public:
    bool onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord b) override {
        if (kind == Control::kClose) {
            *b.object<bool>() = true;
        }
        return true;
    }
};

TEST_F(InputTest, close_receiverObjects_keepsTheDialogOpen) {
    const auto dialog = host_->createNativeDialog();
    const auto objector = std::make_shared<StaysOpen>();
    dialog->connect(objector, false);
    dialog->show(false);
    EXPECT_FALSE(dialog->acceptClose());
    EXPECT_TRUE(dialog->isOpen());
    dialog->disconnect(objector.get());
    EXPECT_TRUE(dialog->acceptClose());
    EXPECT_FALSE(dialog->isOpen());
}

// --- Tooltips ---

TEST_F(InputTest, tooltip_pointerRests_showsAfterTheDelayAtThePlace) {
    left_->tooltip().setLiteral(L"What it is");
    const auto options = std::make_shared<TooltipOptions>();
    options->delay = 250;
    options->offset = {3, 4};
    left_->setTooltipOptions(options);
    native().clientPosition = {100, 200};
    WindowService& service = *window_->windowService();
    mouse(MouseAction::kMove, {10, 20});
    const std::wstring timerKey = L"TTTIMER:" + left_->idText();
    const std::wstring dialogKey = L"TTDIALOG:" + left_->idText();
    const auto timer = std::dynamic_pointer_cast<Timer>(service.getNamedObject(timerKey));
    ASSERT_NE(timer, nullptr);
    EXPECT_EQ(timer->name(), L"ttTimer");
    EXPECT_EQ(timer->getInterval(), 250U);
    EXPECT_TRUE(timer->isRunning());
    log_->take();
    timer->acceptTick();
    EXPECT_EQ(log_->take(), L"beforeDisplayTooltip");
    EXPECT_FALSE(timer->isRunning());
    const auto dialog = std::dynamic_pointer_cast<NativeDialog>(service.getNamedObject(dialogKey));
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(dialog->isOpen());
    // 10 characters of 7 pixels, a line of 16, margins of 6 and 3.
    EXPECT_EQ(dialog->boundary(), Rect::at({113, 224}, {82, 22}));
    mouse(MouseAction::kMove, {60, 20});
    EXPECT_FALSE(dialog->isOpen());
    EXPECT_FALSE(service.getNamedObject(timerKey));
    EXPECT_FALSE(service.getNamedObject(dialogKey));
}

TEST_F(InputTest, tooltip_maximumSize_wrapsAndCutsAndZeroMeansNoLimit) {
    left_->tooltip().setLiteral(std::wstring(100, L'x'));
    const auto options = std::make_shared<TooltipOptions>();
    options->maximumSize = {82, 60};
    left_->setTooltipOptions(options);
    const auto sizeShown = [&] {
        mouse(MouseAction::kMove, {10, 20});
        WindowService& service = *window_->windowService();
        std::dynamic_pointer_cast<Timer>(service.getNamedObject(L"TTTIMER:" + left_->idText()))
            ->acceptTick();
        const auto dialog = std::dynamic_pointer_cast<NativeDialog>(
            service.getNamedObject(L"TTDIALOG:" + left_->idText()));
        mouse(MouseAction::kLeave, {});
        return dialog->boundary().size();
    };
    EXPECT_EQ(sizeShown(), (Size{82, 60}));
    options->maximumSize = {82, 0};
    EXPECT_EQ(sizeShown(), (Size{712, 22}));
}

TEST_F(InputTest, tooltip_leftOfTheScreen_isClampedToZero) {
    left_->tooltip().setLiteral(L"x");
    native().clientPosition = {-500, -500};
    mouse(MouseAction::kMove, {10, 20});
    WindowService& service = *window_->windowService();
    std::dynamic_pointer_cast<Timer>(service.getNamedObject(L"TTTIMER:" + left_->idText()))
        ->acceptTick();
    const auto dialog = std::dynamic_pointer_cast<NativeDialog>(
        service.getNamedObject(L"TTDIALOG:" + left_->idText()));
    EXPECT_EQ(dialog->boundary().position(), (Point{0, 0}));
}

TEST_F(InputTest, tooltip_noText_startsNoTimer) {
    mouse(MouseAction::kMove, {10, 20});
    EXPECT_FALSE(window_->windowService()->getNamedObject(L"TTTIMER:" + left_->idText()));
}

TEST_F(InputTest, tooltip_controlLeavesWhileWaiting_theTickShowsNothing) {
    left_->tooltip().setLiteral(L"x");
    mouse(MouseAction::kMove, {10, 20});
    WindowService& service = *window_->windowService();
    const std::wstring key = L"TTTIMER:" + left_->idText();
    const auto timer = std::dynamic_pointer_cast<Timer>(service.getNamedObject(key));
    window_->removeChild(left_.get());
    EXPECT_FALSE(timer->isRunning());
    EXPECT_FALSE(service.getNamedObject(key));
    timer->acceptTick();
    EXPECT_FALSE(service.getNamedObject(L"TTDIALOG:" + left_->idText()));
}

}  // namespace
}  // namespace zustd
