// The input router: mouse, focus, keys, dialogs and tooltips.
#include "ZuTooltip.h"
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;
using enum MouseAction;

// Two drawn controls side by side.
class InputTest : public ToolkitTest {
protected:
    InputTest() {
        left_->setFocusable(true);
        right_->setFocusable(true);
    }
    // Lets a function hear what a control says.
    static std::shared_ptr<FunctionSink> listen(Control& control, FunctionSink::Function function) {
        auto sink = std::make_shared<FunctionSink>(std::move(function));
        control.connect(sink, false);
        return sink;
    }
    // What is sent while the mouse does this.
    std::wstring sent(MouseAction action, Point position = {}) {
        mouse(action, position);
        return log_->take();
    }

    std::shared_ptr<Control> left_ = shown(makeControl<Control>(), {0, 0, 49, 49});
    std::shared_ptr<Control> right_ = shown(makeControl<Control>(), {50, 0, 99, 49});
};

// --- Mouse ---

TEST_F(InputTest, mouse_movesPressesAndReleases_sendsInOrder) {
    const std::tuple<MouseAction, std::int32_t, const wchar_t*> steps[] = {
        // clang-format off
        {kMove, 10, L"enterHovering"},
        {kMove, 20, L""},
        {kMove, 60, L"leaveHovering enterHovering"},
        {kLeave, 0, L"leaveHovering"},
        // Released elsewhere, it is no click, and nothing else hovers meanwhile.
        {kLeftDown, 60, L"enterFocus enterLeftClicking"},
        {kMove, 10, L""},
        {kLeftUp, 10, L"leaveLeftClicking"},
        // The other button belongs to the running press.
        {kRightDown, 10, L"leaveFocus enterFocus enterRightClicking"},
        {kLeftDown, 60, L""},
        {kRightUp, 10, L"leaveRightClicking rightClicked"},
        // Moved by more than four pixels, it is a drag.
        {kLeftDown, 10, L"enterLeftClicking"},
        {kMove, 14, L"enterHovering"},
        {kMove, 15, L"dragging"},
        {kMove, 80, L"leaveHovering dragging"},
        {kLeftUp, 80, L"leaveLeftClicking dropped"}};
    // clang-format on
    right_->setCursor(MouseCursor::kHand);
    left_->setDraggable(true);
    for (const auto& [action, x, expected] : steps) {
        const bool used = mouse(action, {x, 10});
        EXPECT_EQ(log_->take(), expected);
        EXPECT_TRUE(used || (action != kLeftUp && action != kRightUp));
        EXPECT_EQ(native().captured, router().pressed() != nullptr);
    }
    EXPECT_EQ(native().systemFocus, left_.get());
    mouse(kMove, {60, 10});
    EXPECT_EQ(native().cursor, MouseCursor::kHand);
    right_->setCursor(MouseCursor::kText);
    EXPECT_EQ(native().cursor, MouseCursor::kText);
    mouse(kLeftDown, {10, 10});
    EXPECT_TRUE(sent(kMove, {10, 5}).ends_with(L"dragging"));
    mouse(kLeftUp, {10, 5});
    mouse(kMove, {60, 10});
    click({60, 12});
    EXPECT_EQ(pointOfWord(log_->entries.back().b), (Point{10, 12}));
    left_->setEnabled(false);
    log_->take();
    EXPECT_EQ(sent(kLeftDown, {10, 10}), L"");
    EXPECT_EQ(sent(kMove, {10, 10}), L"leaveHovering enterHovering");
    EXPECT_EQ(sent(kLeftUp, {10, 10}), L"");
}

TEST_F(InputTest, controlAt_throughWhatTakesNoMouse_findsTheOneBelow) {
    const auto cover = shown(makeControl<Control>(), {0, 0, 199, 99});
    EXPECT_EQ(window_->controlAt({10, 10}), cover.get());
    cover->setTakesMouse(false);
    EXPECT_EQ(window_->controlAt({10, 10}), left_.get());
    cover->tooltip().setLiteral(L"found for its tooltip");
    EXPECT_EQ(window_->controlAt({10, 10}), cover.get());
    cover->tooltip().setLiteral({});
    EXPECT_EQ(window_->controlAt({150, 80}), window_.get());
    EXPECT_EQ(window_->controlAt({200, 80}), nullptr);
    left_->setVisible(false);
    EXPECT_EQ(window_->controlAt({10, 10}), window_.get());
}

// Removes itself when it is pressed; uses the wheel.
class Vanishing : public Control {
public:
    bool onMouse(const MouseEvent& event) override {
        position = event.position;
        if (event.action == kLeftDown && parentControl() != nullptr) {
            requireParent().removeChild(this);
        }
        return true;
    }
    Point position;
};

TEST_F(InputTest, removal_whilePressedHoveredFocused_leavesAllStates) {
    mouse(kMove, {10, 10});
    mouse(kLeftDown, {10, 10});
    log_->take();
    window_->removeChild(left_.get());
    EXPECT_EQ(log_->take(), L"leaveLeftClicking leaveHovering leaveFocus");
    EXPECT_FALSE(native().captured);
    EXPECT_EQ(router().focused(), nullptr);
    EXPECT_FALSE(mouse(kLeftUp, {10, 10}));
    // By its own handler.
    const auto vanishing = shown(makeControl<Vanishing>(), {100, 0, 149, 49});
    click({110, 10});
    EXPECT_EQ(vanishing->parentControl(), nullptr);
    EXPECT_FALSE(native().captured);
    log_->take();
    EXPECT_EQ(sent(kLeftDown, {60, 10}), L"enterFocus enterLeftClicking");
}

TEST_F(InputTest, receiverOfAnInsertion_putsTheChildElsewhere_hasItsWayButMakesNoCircle) {
    const auto third = shown(makeControl<Control>());
    const std::pair<std::function<void()>, const wchar_t*> changes[] = {
        {[&] { third->addChild(left_); }, L"nothing"},
        {[&] { left_->addChild(right_); }, L"child && !child->isAncestorOf(*this)"}};
    for (const auto& [change, failure] : changes) {
        left_->takeFocus();
        const auto hears = listen(*left_, [&, change = change](const MessageKind& kind, auto...) {
            if (&kind == &Control::kLeaveFocus) {
                change();
            }
        });
        EXPECT_EQ(thrownText([&] { right_->addChild(left_); }), failure);
        EXPECT_TRUE(right_->children().empty());
        left_->disconnect(hears.get());
        EXPECT_EQ(left_->parentControl() == third.get(), failure == changes[0].second);
    }
}

TEST_F(InputTest, receivers_redirectFocusOrEndThePress_areObeyed) {
    left_->takeFocus();
    const auto redirect = listen(*right_, [&](const MessageKind& kind, auto...) {
        if (&kind == &Control::kEnterFocus) {
            left_->takeFocus();
        }
    });
    EXPECT_FALSE(right_->takeFocus());
    EXPECT_EQ(router().focused(), left_);
    right_->disconnect(redirect.get());
    listen(*left_, [&](const MessageKind& kind, auto...) {
        if (&kind == &Control::kLeaveFocus) {
            right_->setEnabled(false);
        }
    });
    log_->take();
    EXPECT_EQ(sent(kLeftDown, {60, 10}).find(L"LeftClicking"), std::wstring::npos);
    EXPECT_EQ(router().pressed(), nullptr);
    EXPECT_FALSE(native().captured);
}

TEST_F(InputTest, wheel_unusedOrUsedByAnAncestor_isAnnouncedOrGiven) {
    mouse(kWheel, {10, 10}, -120);
    EXPECT_EQ(log_->entries[0].b.number(), -120);
    mouse(kWheel, {10, 10}, 120, kModifierControl);
    mouse(kWheel, {10, 10}, 120, kModifierShift);
    EXPECT_EQ(log_->take(), L"scrolledmousewheel ctrlScrolledmousewheel shiftScrolledmousewheel");
    const auto user = shown(makeControl<Vanishing>(), {100, 50, 199, 99});
    user->addChild(left_);
    EXPECT_TRUE(mouse(kWheel, {112, 63}, 120));
    EXPECT_EQ(user->position, (Point{12, 13}));
    EXPECT_EQ(log_->take().find(L"wheel"), std::wstring::npos);
}

// --- Focus and keys ---

TEST_F(InputTest, tab_focusOrder_wrapsAroundAndSkipsTheUnusable) {
    const auto third = shown(makeControl<Control>());
    third->setFocusable(true);
    third->setFocusOrder(-1);
    const std::tuple<std::uint32_t, bool, std::shared_ptr<Control>> presses[] = {
        {0, true, third},
        {0, true, left_},
        {0, true, third},
        {kModifierShift, true, left_},
        {kModifierControl, false, left_}};
    for (const auto& [modifiers, isUsed, focused] : presses) {
        EXPECT_EQ(key(kKeyTab, modifiers), isUsed);
        EXPECT_EQ(router().focused(), focused);
        right_->setEnabled(false);
    }
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

TEST_F(InputTest, focusAndKeys_ofWhatCanHaveThem_areAnnouncedAndNavigate) {
    const auto foreign = makeControl<Control>();
    foreign->setFocusable(true);
    EXPECT_FALSE(router().setFocus(foreign.get()));
    EXPECT_FALSE(foreign->takeFocus());
    right_->setVisible(false);
    EXPECT_FALSE(right_->takeFocus());
    left_->setFocusable(false);
    EXPECT_FALSE(left_->takeFocus());
    EXPECT_EQ(router().focused(), nullptr);
    left_->setFocusable(true);
    EXPECT_TRUE(left_->takeFocus());
    log_->take();
    EXPECT_FALSE(key('X'));
    EXPECT_EQ(log_->entries[0].b.number(), 'X');
    EXPECT_FALSE(key(kKeyDown) || key(kKeyUp) || key(kKeyUp, kModifierControl));
    EXPECT_EQ(log_->take(),
              L"keyPressed keyPressed selectNextItem keyPressed selectPreviousItem keyPressed "
              L"moveUp");
}

TEST_F(InputTest, dialog_escapeAndObjections_closeOrKeepItOpen) {
    const auto dialog = host_->createNativeDialog();
    dialog->show(false);
    const auto objector = listen(*dialog, [](const auto& kind, auto, auto b) {
        if (kind == Control::kClose) {
            *b.template object<bool>() = true;
        }
    });
    EXPECT_FALSE(dialog->acceptClose());
    EXPECT_TRUE(dialog->isOpen());
    dialog->disconnect(objector.get());
    EXPECT_TRUE(dialog->inputRouter()->routeKey({kKeyEscape, 0}));
    EXPECT_FALSE(dialog->isOpen());
    EXPECT_EQ(dialog->result(), kAnswerCancel);
    // One that has to be answered does not even ask.
    const auto stubborn = host_->createNativeDialog(NativeDialog::kStyleNotClosable);
    stubborn->connect(log_, false);
    stubborn->show(false);
    log_->take();
    EXPECT_TRUE(stubborn->inputRouter()->routeKey({kKeyEscape, 0}));
    EXPECT_TRUE(stubborn->isOpen());
    EXPECT_EQ(log_->take().find(L"close"), std::wstring::npos);
}

// --- Tooltips ---

class TooltipTest : public InputTest {
protected:
    TooltipTest() { left_->setTooltipOptions(options_); }

    // The named objects of a waiting and of a shown tooltip, or null.
    template <class Object>
    std::shared_ptr<Object> named(const wchar_t* prefix) {
        return std::dynamic_pointer_cast<Object>(
            window_->windowService()->getNamedObject(prefix + left_->idText()));
    }
    std::shared_ptr<Timer> timer() { return named<Timer>(L"TTTIMER:"); }
    std::shared_ptr<NativeDialog> dialog() { return named<NativeDialog>(L"TTDIALOG:"); }

    // Where the tooltip of a text appears for a pointer that rests.
    Rect placeOf(const std::wstring& text) {
        left_->tooltip().setLiteral(text);
        mouse(kMove, {10, 20});
        timer()->acceptTick();
        const auto shown = dialog();
        mouse(kLeave);
        return shown->boundary();
    }

    std::shared_ptr<TooltipOptions> options_ = std::make_shared<TooltipOptions>();
};

TEST_F(TooltipTest, pointerRests_showsAfterTheDelayUntilItMovesOn) {
    mouse(kMove, {10, 20});
    EXPECT_EQ(timer(), nullptr) << "there is no text";
    mouse(kLeave);
    left_->tooltip().setLiteral(L"What it is");
    options_->delay = 250;
    mouse(kMove, {10, 20});
    const auto waiting = timer();
    ASSERT_NE(waiting, nullptr);
    EXPECT_EQ(waiting->name(), L"ttTimer");
    EXPECT_EQ(waiting->getInterval(), 250U);
    EXPECT_TRUE(waiting->isRunning());
    log_->take();
    waiting->acceptTick();
    EXPECT_EQ(log_->take(), L"beforeDisplayTooltip");
    EXPECT_FALSE(waiting->isRunning());
    const auto shown = dialog();
    ASSERT_NE(shown, nullptr);
    EXPECT_TRUE(shown->isOpen());
    mouse(kMove, {60, 20});
    EXPECT_FALSE(shown->isOpen() || timer() || dialog());
    // Whoever leaves while it waits is shown nothing.
    mouse(kMove, {10, 20});
    const auto late = timer();
    window_->removeChild(left_.get());
    EXPECT_FALSE(late->isRunning() || timer());
    late->acceptTick();
    EXPECT_EQ(dialog(), nullptr);
}

TEST_F(TooltipTest, placeAndSize_offsetScreenAndLimits_areKept) {
    native().clientPosition = {100, 200};
    options_->offset = {3, 4};
    // 10 characters of 7 pixels, a line of 16, margins of 6 and 3.
    EXPECT_EQ(placeOf(L"What it is"), Rect::at({113, 224}, {82, 22}));
    options_->maximumSize = {82, 60};
    EXPECT_EQ(placeOf(std::wstring(100, L'x')).size(), (Size{82, 60}));
    options_->maximumSize = {82, 0};
    EXPECT_EQ(placeOf(std::wstring(100, L'x')).size(), (Size{712, 22})) << "zero is no limit";
    native().clientPosition = {-500, -500};
    EXPECT_EQ(placeOf(L"x").position(), (Point{0, 0}));
}

}  // namespace
}  // namespace zustd
