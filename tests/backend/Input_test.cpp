// Mouse, keyboard and focus as the system has them.
#include "ZuNativeTextBox.h"
#include "support/SurfaceTest.h"

namespace zustd {
namespace {

using namespace test;

class InputTest : public SurfaceTest {
protected:
    std::shared_ptr<Probe> probe_ = addProbe({10, 10, 59, 59});
    std::shared_ptr<NativeButton> button_ =
        show(service().createNativeButton(), {100, 10, 189, 34});
    std::shared_ptr<NativeWindow> child_ =
        show(service().createNativeWindow(), {100, 60, 199, 159});
    std::shared_ptr<Probe> inner_ = addProbe({30, 0, 79, 39}, child_.get());
};

TEST_F(InputTest, mouse_messages_pressTheDrawnControl) {
    probe_->setFocusable(false);
    const auto take = [&] { return probe_->log->take(); };
    sendMouse(native(), WM_MOUSEMOVE, {15, 17});
    sendMouse(native(), WM_LBUTTONDOWN, {15, 17}, MK_LBUTTON | MK_SHIFT);
    EXPECT_EQ(GetCapture(), native());
    EXPECT_EQ(probe_->lastMouse.position, (Point{5, 7}));
    EXPECT_EQ(probe_->lastMouse.modifiers, kModifierShift);
    // Somebody else takes the mouse: no click.
    SetCapture(GetDesktopWindow());
    ReleaseCapture();
    sendMouse(native(), WM_LBUTTONUP, {15, 15});
    EXPECT_EQ(take(), L"enterHovering enterLeftClicking leaveLeftClicking");
    sendMouse(native(), WM_RBUTTONDOWN, {15, 15}, MK_RBUTTON);
    sendMouse(native(), WM_RBUTTONUP, {15, 15});
    EXPECT_EQ(GetCapture(), nullptr);
    EXPECT_EQ(take(), L"enterRightClicking leaveRightClicking rightClicked");
    sendMouse(native(), WM_LBUTTONDBLCLK, {15, 15}, MK_CONTROL);
    EXPECT_EQ(probe_->lastMouse.action, MouseAction::kLeftDouble);
    EXPECT_EQ(probe_->lastMouse.modifiers, kModifierControl);
}

TEST_F(InputTest, wheel_onAChildWindow_reachesWhatHoldsItOnceOnly) {
    const auto holder = addProbe({0, 60, 299, 199});
    holder->addChild(child_);
    for (const bool isUsed : {false, true}) {
        inner_->usesWheel = isUsed;
        holder->lastMouse = {};
        log_->take();
        const POINT place = onScreen(nativeWindowOf(*child_), {33, 4});
        send(nativeWindowOf(*child_), isUsed ? WM_MOUSEHWHEEL : WM_MOUSEWHEEL,
             MAKEWPARAM(MK_CONTROL, 2 * WHEEL_DELTA), MAKELPARAM(place.x, place.y));
        EXPECT_EQ(inner_->lastMouse.position, (Point{3, 4}));
        EXPECT_EQ(inner_->lastMouse.wheel, 240);
        EXPECT_EQ(holder->lastMouse.position, isUsed ? Point{} : (Point{133, 64}));
        EXPECT_EQ(holder->log->take(), isUsed ? L"" : L"ctrlScrolledmousewheel");
    }
}

TEST_F(InputTest, realPointer_fromControlToControlAndAway_isOverOneOfThem) {
    probe_->setCursor(MouseCursor::kHand);
    for (const Point place : {Point{20, 20}, {120, 20}, {20, 20}, {900, 900}, {120, 20}}) {
        movePointer(onScreen(native(), place));
        const auto isThere = [&] {
            return probe_->isHovered() == (place.x == 20) &&
                   button_->isHovered() == (place.x == 120);
        };
        runMessages(2000, isThere);
        runMessages(20);
        EXPECT_TRUE(isThere()) << place.x;
        EXPECT_TRUE(place.x != 20 || GetCursor() == LoadCursorW(nullptr, MAKEINTRESOURCEW(32649)));
    }
}

TEST_F(InputTest, focus_movedByKeysOrProgram_isWithOneControl) {
    const auto expectFocus = [&](const std::shared_ptr<Control>& focused) {
        for (const auto& control : Controls{probe_, button_, inner_}) {
            EXPECT_EQ(control->hasFocus(), control == focused);
        }
        EXPECT_EQ(GetFocus(), nativeWindowOf(focused == button_ ? *focused : *focused->surface()));
    };
    probe_->takeFocus();
    press({'K'});
    EXPECT_EQ(probe_->log->entries.back().b.number(), 'K');
    for (const auto& next : Controls{button_, inner_, probe_}) {
        press({VK_TAB});
        expectFocus(next);
    }
    for (const auto& next : Controls{inner_, button_, probe_}) {
        press({VK_SHIFT, VK_TAB});
        expectFocus(next);
    }
    // Only in a dialog a letter alone presses.
    button_->setCaption(std::make_shared<TextDescriptor>(L"&Press"));
    for (const std::vector<WORD>& keys : {std::vector<WORD>{'P'}, {VK_MENU, 'P'}}) {
        button_->takeFocus();
        log_->take();
        press(keys);
        EXPECT_EQ(log_->take().find(L"leftClicked") != std::wstring::npos, keys.size() == 2);
    }
    // A window that is left and activated again gives it back, or to what took it meanwhile.
    const auto holder = makeWindow({100, 100});
    const HWND other = nativeWindowOf(*holder);
    for (const auto& kept : Controls{inner_, button_, inner_, probe_}) {
        SetActiveWindow(native());
        EXPECT_TRUE(kept->takeFocus());
        expectFocus(kept);
        SetActiveWindow(other);
        EXPECT_FALSE(kept->hasFocus());
        SetActiveWindow(native());
        expectFocus(kept);
    }
    SetActiveWindow(other);
    EXPECT_TRUE(inner_->takeFocus());
    EXPECT_EQ(GetActiveWindow(), other);
    SetActiveWindow(native());
    expectFocus(inner_);
}

TEST_F(SurfaceTest, dialog_keys_moveTheFocusAndPressWhatTheyMean) {
    const auto dialog = makeDialog();
    const auto field = addProbe({0, 0, 9, 9}, dialog.get());
    const auto addButton = [&](const wchar_t* caption, ButtonKind kind) {
        auto button = show(service().createNativeButton(), {20, 0, 99, 24}, dialog.get());
        button->setCaption(std::make_shared<TextDescriptor>(caption));
        button->setKind(kind);
        return button;
    };
    const auto other = addButton(L"&Other", ButtonKind::kPush);
    const auto check = addButton(L"&Check", ButtonKind::kCheck);
    const auto first = addButton(L"&Radio", ButtonKind::kRadio);
    const auto second = addButton(L"&Radio", ButtonKind::kRadio);
    const auto standard = addButton(L"Standard", ButtonKind::kPush);
    const auto box = show(service().createNativeTextBox(), {20, 0, 99, 24}, dialog.get());
    box->setKind(TextBoxKind::kMultiLine);
    dialog->setDefaultButton(standard);
    dialog->show(false);
    const HWND shown = nativeWindowOf(*dialog);
    send(shown, WM_CHANGEUISTATE, MAKEWPARAM(UIS_SET, UISF_HIDEACCEL | UISF_HIDEFOCUS));
    const std::tuple<std::vector<WORD>, std::shared_ptr<Control>, const wchar_t*> kRows[] = {
        {{VK_RETURN}, field, L"enterFocus leftClicked"},
        {{VK_TAB}, other, L"leaveFocus enterFocus"},
        {{VK_RETURN}, other, L"leftClicked"},
        {{VK_MENU, 'C'}, check, L"leaveFocus enterFocus leftClicked"},
        {{'R'}, first, L"leaveFocus enterFocus"},
        {{'R'}, second, L"leaveFocus enterFocus"},
        {{'R'}, first, L"leaveFocus enterFocus"},
        {{'O'}, other, L"leaveFocus enterFocus leftClicked"},
        {{VK_SHIFT, VK_TAB}, field, L"leaveFocus enterFocus"},
        {{VK_SHIFT, VK_TAB}, box, L"leaveFocus enterFocus"},
        {{VK_RETURN}, box, L"textChanged"},
        {{VK_CONTROL, VK_RETURN}, box, L"leftClicked"}};
    for (const auto& [keys, focused, messages] : kRows) {
        press(keys);
        EXPECT_EQ(GetFocus(), focused == field ? shown : nativeWindowOf(*focused));
        std::wstring heard = log_->take();
        for (std::size_t at = 0; (at = heard.find(L"keyPressed ")) != std::wstring::npos;) {
            heard.erase(at, 11);
        }
        EXPECT_EQ(heard, messages) << keys.size();
        for (const auto& button : {other, standard}) {
            EXPECT_EQ((GetWindowLongW(nativeWindowOf(*button), GWL_STYLE) & BS_TYPEMASK) ==
                          BS_DEFPUSHBUTTON,
                      button == dialog->buttonForEnter());
        }
    }
    EXPECT_TRUE(check->isChecked());
    EXPECT_EQ(box->text(), L"\n");
    EXPECT_EQ(send(shown, WM_QUERYUISTATE), 0) << "the keyboard was used";
    // A command that comes from no control.
    send(shown, WM_COMMAND, IDOK);
    EXPECT_EQ(log_->entries.back().a.object<Control>(), standard.get());
}

}  // namespace
}  // namespace zustd
