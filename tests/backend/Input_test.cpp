// Mouse, keyboard and focus as the system has them.
#include "ZuNativeButton.h"
#include "ZuTooltip.h"
#include "ZuWindowHandlerWin32Gdi.h"
#include "support/SurfaceTest.h"

namespace zustd {
namespace {

using namespace test;

// --- Mouse ----------------------------------------------------------------------------------

TEST_F(SurfaceTest, mouse_pressAndRelease_clicksTheDrawnControl) {
    const auto window = makeWindow({200, 100});
    const HWND native = nativeWindowOf(*window);
    const auto probe = addProbe(*window, Rect::at({10, 10}, {50, 50}));
    probe->setFocusable(false);
    sendMouse(native, WM_MOUSEMOVE, {15, 17});
    sendMouse(native, WM_LBUTTONDOWN, {15, 17}, MK_LBUTTON | MK_SHIFT);
    EXPECT_EQ(GetCapture(), native);
    EXPECT_EQ(probe->lastMouse.position, (Point{5, 7}));
    EXPECT_EQ(probe->lastMouse.modifiers, kModifierShift);
    sendMouse(native, WM_LBUTTONUP, {20, 20});
    EXPECT_EQ(GetCapture(), nullptr);
    EXPECT_EQ(probe->log->take(), L"enterHovering enterLeftClicking leaveLeftClicking leftClicked");
    sendMouse(native, WM_LBUTTONDOWN, {15, 15}, MK_LBUTTON);
    // Somebody else takes the mouse: no click.
    SetCapture(GetDesktopWindow());
    ReleaseCapture();
    sendMouse(native, WM_LBUTTONUP, {15, 15});
    EXPECT_EQ(probe->log->take(), L"enterLeftClicking leaveLeftClicking");
    sendMouse(native, WM_RBUTTONDOWN, {15, 15}, MK_RBUTTON);
    sendMouse(native, WM_RBUTTONUP, {15, 15});
    EXPECT_EQ(probe->log->take(), L"enterRightClicking leaveRightClicking rightClicked");
    SendMessageW(native, WM_MOUSELEAVE, 0, 0);
    EXPECT_EQ(probe->log->take(), L"leaveHovering");
}

TEST_F(SurfaceTest, mouse_realPointer_entersClicksAndLeaves) {
    const auto window = makeWindow({200, 100});
    const HWND native = nativeWindowOf(*window);
    const auto probe = addProbe(*window, Rect::at({10, 10}, {50, 50}));
    probe->setFocusable(false);
    probe->setCursor(MouseCursor::kHand);
    click(onScreen(native, {30, 30}));
    runMessages(2000, [&] { return probe->log->entries.size() >= 4; });
    EXPECT_EQ(probe->log->take(), L"enterHovering enterLeftClicking leaveLeftClicking leftClicked");
    EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, MAKEINTRESOURCEW(32649)));
    movePointer({1279, 1023});
    runMessages(2000, [&] { return !probe->log->entries.empty(); });
    EXPECT_EQ(probe->log->take(), L"leaveHovering");
}

TEST_F(SurfaceTest, wheel_onAChildWindow_reachesWhatHoldsItOnceOnly) {
    const auto window = makeWindow({200, 100});
    const auto holder = addProbe(*window, Rect::at({10, 10}, {150, 80}));
    const auto child = window->windowService()->createNativeWindow();
    child->setBoundary(Rect::at({20, 5}, {100, 50}));
    holder->addChild(child);
    const auto probe = addProbe(*child, Rect::at({30, 0}, {50, 40}));
    const HWND native = nativeWindowOf(*child);
    const auto turn = [&] {
        const POINT place = onScreen(native, {33, 4});
        SendMessageW(native, WM_MOUSEWHEEL, MAKEWPARAM(MK_CONTROL, 2 * WHEEL_DELTA),
                     MAKELPARAM(place.x, place.y));
    };
    turn();
    EXPECT_EQ(probe->lastMouse.position, (Point{3, 4}));
    EXPECT_EQ(probe->lastMouse.wheel, 240);
    EXPECT_EQ(holder->lastMouse.position, (Point{53, 9}));
    EXPECT_EQ(holder->log->take(), L"ctrlScrolledmousewheel");
    probe->usesWheel = true;
    holder->lastMouse = {};
    turn();
    EXPECT_EQ(holder->lastMouse.wheel, 0);
    EXPECT_EQ(holder->log->take(), L"");
}

// --- Keyboard and focus ---------------------------------------------------------------------

TEST_F(SurfaceTest, keys_drawnControls_getThemAndTabMovesOnAcrossSurfaces) {
    const auto window = makeWindow({300, 200});
    const auto first = addProbe(*window, Rect::at({0, 0}, {50, 50}));
    const auto child = window->windowService()->createNativeWindow();
    child->setBoundary(Rect::at({100, 0}, {100, 100}));
    window->addChild(child);
    const auto second = addProbe(*child, Rect::at({0, 0}, {50, 50}));
    EXPECT_TRUE(first->takeFocus());
    EXPECT_EQ(GetFocus(), nativeWindowOf(*window));
    pressKeys({'K'});
    runMessages(2000, [&] { return first->log->entries.size() == 2; });
    EXPECT_EQ(first->log->entries.back().b.number(), 'K');
    EXPECT_EQ(first->log->take(), L"enterFocus keyPressed");
    pressKeys({VK_TAB});
    runMessages(2000, [&] { return second->hasFocus(); });
    EXPECT_FALSE(first->hasFocus());
    EXPECT_TRUE(second->hasFocus());
    EXPECT_EQ(GetFocus(), nativeWindowOf(*child));
    pressKeys({VK_SHIFT, VK_TAB});
    runMessages(2000, [&] { return first->hasFocus(); });
    EXPECT_EQ(GetFocus(), nativeWindowOf(*window));
    EXPECT_FALSE(second->hasFocus());
}

TEST_F(SurfaceTest, focus_windowLeftAndActivatedAgain_isRestored) {
    const auto window = makeWindow({300, 200});
    const auto other = makeWindow({100, 100});
    const auto child = window->windowService()->createNativeWindow();
    child->setBoundary(Rect::at({100, 0}, {100, 100}));
    window->addChild(child);
    const auto first = addProbe(*window, Rect::at({0, 0}, {50, 50}));
    const auto second = addProbe(*child, Rect::at({0, 0}, {50, 50}));
    SetActiveWindow(nativeWindowOf(*window));
    second->takeFocus();
    SetActiveWindow(nativeWindowOf(*other));
    EXPECT_FALSE(second->hasFocus());
    SetActiveWindow(nativeWindowOf(*window));
    EXPECT_TRUE(second->hasFocus());
    EXPECT_EQ(GetFocus(), nativeWindowOf(*child));
    // What takes the focus meanwhile has it afterwards, and activates nothing.
    SetActiveWindow(nativeWindowOf(*other));
    EXPECT_TRUE(first->takeFocus());
    EXPECT_EQ(GetActiveWindow(), nativeWindowOf(*other));
    SetActiveWindow(nativeWindowOf(*window));
    EXPECT_TRUE(first->hasFocus());
    EXPECT_EQ(GetFocus(), nativeWindowOf(*window));
}

TEST_F(SurfaceTest, dialog_nativeButtons_followTabEnterAndAccessKeys) {
    const auto window = makeWindow({300, 200});
    const auto dialog = makeDialog(window);
    const auto field = addProbe(*dialog, Rect::at({0, 0}, {10, 10}));
    const auto addButton = [&](const wchar_t* caption, std::int32_t top) {
        auto button = window->windowService()->createNativeButton();
        button->setCaption(std::make_shared<TextDescriptor>(caption));
        button->setBoundary(Rect::at({20, top}, {80, 25}));
        dialog->addChild(button);
        return button;
    };
    const auto other = addButton(L"&Other", 0);
    const auto check = addButton(L"&Check", 30);
    const auto standard = addButton(L"Standard", 60);
    check->setKind(ButtonKind::kCheck);
    dialog->setDefaultButton(standard);
    const auto log = std::make_shared<MessageLog>();
    for (const auto& button : {other, check, standard}) {
        button->connect(log, false);
    }
    const auto expect = [&](const std::shared_ptr<Control>& focused, const wchar_t* messages) {
        EXPECT_TRUE(focused->hasFocus()) << messages;
        const HWND native = nativeWindowOf(*focused);
        EXPECT_EQ(GetFocus(), native != nullptr ? native : nativeWindowOf(*dialog));
        EXPECT_EQ(log->take(), messages);
    };
    const Steps steps{
        [&] {
            const HWND native = nativeWindowOf(*standard);
            EXPECT_EQ(GetWindowLongW(native, GWL_STYLE) & 0x0F, BS_DEFPUSHBUTTON);
            expect(field, L"");
            pressKeys({VK_RETURN});
        },
        [&] {
            expect(field, L"leftClicked");
            // Commands that come from no control.
            const HWND item = nativeWindowOf(*other);
            for (const int identifier : {IDOK, GetDlgCtrlID(item)}) {
                SendMessageW(GetParent(item), WM_COMMAND, static_cast<WPARAM>(identifier), 0);
                EXPECT_EQ(log->entries.back().a.object<Control>(),
                          identifier == IDOK ? standard.get() : other.get());
                EXPECT_EQ(log->take(), L"leftClicked");
            }
            SendMessageW(nativeWindowOf(*dialog), WM_CHANGEUISTATE,
                         MAKEWPARAM(UIS_SET, UISF_HIDEACCEL | UISF_HIDEFOCUS), 0);
            pressKeys({VK_TAB});
            pressKeys({VK_RETURN});
        },
        [&] {
            expect(other, L"enterFocus leftClicked");
            EXPECT_EQ(SendMessageW(nativeWindowOf(*dialog), WM_QUERYUISTATE, 0, 0), 0);
            pressKeys({VK_MENU, 'C'});
        },
        [&] {
            expect(check, L"keyPressed keyPressed leaveFocus enterFocus leftClicked");
            EXPECT_TRUE(check->isChecked());
            pressKeys({VK_RETURN});
        },
        [&] {
            expect(check, L"leftClicked");
            pressKeys({VK_SHIFT, VK_TAB});
            pressKeys({VK_SHIFT, VK_TAB});
        },
        [&] {
            expect(field,
                   L"keyPressed keyPressed leaveFocus enterFocus "
                   L"keyPressed keyPressed leaveFocus");
            dialog->hide(1);
        }};
    EXPECT_EQ(dialog->show(true), 1);
}

TEST_F(SurfaceTest, focus_ofASurfaceInside_leavesTheOneAround) {
    const auto window = makeWindow({300, 200});
    const auto outer = addProbe(*window, Rect::at({0, 0}, {20, 20}));
    const auto field = window->windowService()->createNativeButton();
    field->setBoundary(Rect::at({30, 0}, {50, 20}));
    window->addChild(field);
    const auto child = window->windowService()->createNativeWindow();
    child->setBoundary(Rect::at({0, 50}, {100, 50}));
    window->addChild(child);
    const auto inner = addProbe(*child, Rect::at({0, 0}, {20, 20}));
    for (const std::shared_ptr<Control>& first :
         {std::shared_ptr<Control>(outer), std::shared_ptr<Control>(field)}) {
        EXPECT_TRUE(first->takeFocus());
        EXPECT_TRUE(inner->takeFocus());
        EXPECT_TRUE(inner->hasFocus());
        EXPECT_FALSE(first->hasFocus());
    }
}

}  // namespace
}  // namespace zustd
