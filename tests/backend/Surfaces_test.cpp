// Windows, dialogs, menus and what is painted on them.
#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuNativePopupMenu.h"
#include "ZuNativeTextBox.h"
#include "ZuNativeTreeView.h"
#include "support/SurfaceTest.h"
// Behind the wrapper.
#include <commctrl.h>
#include <dlgs.h>

namespace zustd {
namespace {

using namespace test;

// --- Windows --------------------------------------------------------------------------------

TEST_F(SurfaceTest, window_shownHiddenDisabledOrClosed_isAsItsControlSays) {
    const HWND shown = native();
    service().hideWindow();
    EXPECT_FALSE(IsWindowVisible(shown) || window_->isVisible());
    window_->setVisible(true);
    EXPECT_TRUE(IsWindowVisible(shown));
    service().hideWindow();
    service().makeWindowVisibleAtPos({30, 40});
    EXPECT_TRUE(IsWindowVisible(shown) && window_->isVisible());
    EXPECT_EQ(service().getWindowPosition(), (Point{30, 40}));
    service().enableWindow(false);
    window_->setEnabled(false);
    window_->setEnabled(true);
    EXPECT_FALSE(IsWindowEnabled(shown));
    service().enableWindow(true);
    EXPECT_TRUE(IsWindowEnabled(shown));
    bool objects = true;
    int asked = 0;
    const auto objector = std::make_shared<FunctionSink>(
        [&](const MessageKind& kind, MessageWord, MessageWord answer) {
            if (kind == Control::kClose) {
                ++asked;
                *answer.object<bool>() = objects;
            }
        });
    window_->connect(objector, false);
    send(shown, WM_CLOSE);
    EXPECT_TRUE(IsWindowVisible(shown));
    objects = false;
    service().closeWindow();
    runMessages(1000, [&] { return asked == 2; });
    EXPECT_FALSE(IsWindowVisible(shown) || window_->isVisible());
    // Whoever is asked may drop it.
    window_->connect(std::make_shared<FunctionSink>([&](auto&&...) { window_.reset(); }), false);
    send(shown, WM_CLOSE);
    EXPECT_FALSE(window_ || IsWindow(shown));
}

TEST_F(SurfaceTest, resize_byTheUser_laysOutAgainAndKeepsToTheLimits) {
    window_->setArrangement({.flow = Flow::kRows});
    const auto child = show(service().createNativeWindow(), Rect::at({}, {50, 20}));
    child->setPlacement({.autoSized = true});
    window_->setPlacement({.minimum = {250, 150}, .maximum = {400, 350}});
    const auto drag = [&](int width, int height) {
        SetWindowPos(native(), nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER);
    };
    const std::pair<Size, Size> kDrags[] = {{{10, 10}, {250, 150}}, {{900, 900}, {400, 350}}};
    for (const auto& [asked, got] : kDrags) {
        drag(asked.width, asked.height);
        EXPECT_EQ(window_->boundary().size(), got);
        EXPECT_EQ(clientSizeOf(native()), got);
        EXPECT_EQ(child->boundary().width(), got.width);
    }
    window_->setSize({20, 20});
    EXPECT_EQ(window_->boundary().size(), (Size{250, 150}));
    // Another screen asks for another size.
    const RECT area{100, 110, 500, 410};
    send(native(), WM_DPICHANGED, MAKEWPARAM(144, 144), reinterpret_cast<LPARAM>(&area));
    EXPECT_EQ(windowRect(native()), (Rect{100, 110, 499, 409}));
    EXPECT_EQ(window_->boundary().size(), clientSizeOf(native()));
    DestroyWindow(native());
    EXPECT_FALSE(window_->hasNativeObject() || child->hasNativeObject());
    EXPECT_EQ(windowServiceBackend(&service())->window(), nullptr);
}

TEST_F(SurfaceTest, service_placesPointerAndAreas_areTheWindows) {
    EXPECT_EQ(service().getWindowSize(), windowRect(native()).size());
    EXPECT_EQ(service_->getWindowSize(), Size{});
    const POINT place = onScreen(native(), {7, 9});
    EXPECT_EQ(service().getClientPosition(), (Point{place.x - 7, place.y - 9}));
    movePointer(place);
    EXPECT_EQ(service().getMousePosition(), (Point{7, 9}));
    EXPECT_EQ(service_->getMousePosition(), (Point{place.x, place.y}));
    EXPECT_TRUE(service().isWindowVisibleAtPos({place.x, place.y}));
    EXPECT_FALSE(service().isWindowVisibleAtPos({1279, 1023}));
    RECT area{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    EXPECT_EQ(service().getWorkArea(), portableRect(area));
    service().captureMouse();
    service_->releaseMouse();
    EXPECT_EQ(GetCapture(), native());
    service().releaseMouse();
    EXPECT_EQ(GetCapture(), nullptr);
    const auto missing = [&] {
        GetUpdateRect(native(), &area, FALSE);
        return portableRect(area);
    };
    service().updateWindow();
    EXPECT_TRUE(missing().isEmpty());
    service().invalidate({5, 6, 20, 30});
    EXPECT_EQ(missing(), (Rect{5, 6, 20, 30}));
    service().invalidate();
    EXPECT_EQ(missing(), (Rect{0, 0, 299, 199}));
    service().updateWindow();
    service().invalidateWindow();
    EXPECT_EQ(missing(), (Rect{0, 0, 299, 199}));
    const TraceCapture trace(kTraceLevelInfo);
    WindowServiceWin32Gdi::setScalingFactor(0.0);
    EXPECT_EQ(service().getScalingFactor(), GetSystemMetrics(SM_CXSMICON) / 16.0);
    EXPECT_EQ(trace.messages(),
              (Lines{"WindowServiceWin32Gdi::getScalingFactor: setting scalingFactor to " +
                     std::to_string(service().getScalingFactor())}));
    int cursor = 0;
    for (const int identifier : {32512, 32649, 32513, 32514, 32644, 32645, 32646, 32648}) {
        service().setCursor(static_cast<MouseCursor>(cursor++));
        EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, MAKEINTRESOURCEW(identifier))) << cursor;
    }
}

TEST_F(SurfaceTest, selectFileToOpen_userChooses_getsTheFile) {
    const TempFolder folder;
    const std::wstring file = folder.file(L"chosen.txt");
    writeBytes(file, "x");
    Texts filters;
    const auto choose = [&] {
        EXPECT_FALSE(IsWindowEnabled(native()));
        // The list of patterns is the combo box that ends like this.
        const HWND list = GetDlgItem(GetActiveWindow(), cmb1);
        for (LRESULT i = 0; i < send(list, CB_GETCOUNT); ++i) {
            wchar_t item[64] = L"";
            send(list, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(item));
            filters.emplace_back(item);
        }
        const HWND field = GetDlgItem(GetActiveWindow(), cmb13);
        EXPECT_EQ(textOf(field), L"suggested.txt");
        SetWindowTextW(field, file.c_str());
        PostMessageW(GetActiveWindow(), WM_COMMAND, IDOK, 0);
    };
    const Steps steps{[] {}, [] { PostMessageW(GetActiveWindow(), WM_COMMAND, IDCANCEL, 0); },
                      [] {}, choose};
    for (const std::wstring& chosen : {std::wstring(), file}) {
        EXPECT_EQ(service().selectFileToOpen(L"suggested.txt", {L"*.txt", L"", L"*.log"},
                                             {L"Texts", L"None", L""}, false),
                  chosen);
    }
    EXPECT_EQ(filters, (Texts{L"Texts", L"*.log", L"All Files"}));
    EXPECT_TRUE(IsWindowEnabled(native()));
}

// --- Painting -------------------------------------------------------------------------------

TEST_F(SurfaceTest, paint_failingNestedOrInPart_showsWhatThereIsAndTheRestLater) {
    const auto left = addProbe(Rect::at({10, 10}, {50, 50}));
    const auto right = addProbe(Rect::at({100, 10}, {50, 50}));
    left->whileDrawing = [] { throw std::wstring(L"torn"); };
    const std::uint32_t background = pixelOf(native(), {5, 5});
    EXPECT_EQ(RGB(background >> 16, background >> 8, background), GetSysColor(COLOR_BTNFACE));
    EXPECT_EQ(pixelOf(native(), {59, 59}), 0xC01020U);
    EXPECT_EQ(pixelOf(native(), {60, 60}), background);
    auto& backend = *windowServiceBackend(&service());
    EXPECT_TRUE(backend.getDrawArea().isEmpty());
    Rect painted;
    left->whileDrawing = [&] {
        painted = backend.getDrawArea();
        if (left->drawn == 2) {
            left->red = 0x40;
            RedrawWindow(native(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        }
    };
    const int drawnRight = right->drawn;
    left->refresh();
    UpdateWindow(native());
    EXPECT_EQ(left->drawn, 2);
    EXPECT_EQ(right->drawn, drawnRight);
    EXPECT_EQ(painted, left->boundary());
    EXPECT_EQ(pixelOf(native(), {10, 10}), 0x401020U) << "painted again";
    EXPECT_EQ(left->drawn, 3);
    left->moveTo({20, 20});
    EXPECT_EQ(pixelOf(native(), {10, 10}), background);
}

TEST_F(SurfaceTest, colours_changed_reachAllThatIsOnTheSurface) {
    const auto child = show(service().createNativeWindow(), {200, 0, 299, 99});
    const auto tree = show(service().createNativeTreeView(), {20, 20, 49, 49}, child.get());
    const auto check = show(service().createNativeButton(), {0, 10, 89, 34});
    check->setKind(ButtonKind::kCheck);
    const auto field = show(service().createNativeTextBox(), {0, 40, 89, 64});
    const auto combo = show(service().createNativeComboBox(), {0, 80, 89, 104});
    combo->setEditable(true);
    const WindowHandle label(CreateWindowW(L"STATIC", L"", WS_CHILD | WS_VISIBLE, 120, 20, 40, 20,
                                           native(), nullptr, nullptr, nullptr));
    const HWND inside = FindWindowExW(nativeWindowOf(*combo), nullptr, L"Edit", nullptr);
    const std::uint32_t usual = pixelOf(nativeWindowOf(*field), {60, 20});
    const auto fill = [](Control& control, std::uint8_t red) {
        auto colors = std::make_shared<ColorsDescriptor>();
        colors->setColor(ColorRole::kBackground, Color::rgb(red, 0x34, 0x56));
        colors->setColor(ColorRole::kText, Color::rgb(0xFE, 0xDC, red));
        control.setColors(colors);
        return std::uint32_t{red} << 16 | 0x3456U;
    };
    for (const auto red : std::initializer_list<std::uint8_t>{0x12, 0x13}) {
        const std::uint32_t color = fill(*window_, red);
        EXPECT_EQ(pixelOf(native(), {5, 5}), color);
        EXPECT_EQ(pixelOf(nativeWindowOf(*check), {60, 20}), color);
        EXPECT_EQ(pixelOf(nativeWindowOf(*field), {60, 20}), usual);
    }
    for (const HWND inherits : {nativeWindowOf(*child), label.get()}) {
        InvalidateRect(inherits, nullptr, TRUE);
        EXPECT_EQ(pixelOf(inherits, {5, 5}), 0x133456U);
    }
    const std::uint32_t own[] = {fill(*field, 0x14), fill(*combo, 0x15)};
    EXPECT_EQ(pixelOf(nativeWindowOf(*field), {60, 20}), own[0]);
    UpdateWindow(inside);
    EXPECT_EQ(pixelOf(nativeWindowOf(*combo), {50, 18}), own[1]);
    const Canvas canvas({10, 10});
    const auto context = reinterpret_cast<WPARAM>(canvas.context());
    EXPECT_EQ(send(native(), WM_ERASEBKGND, context), 1);
    const std::tuple<HWND, UINT, HWND, COLORREF> kTexts[] = {
        {native(), WM_CTLCOLORSTATIC, label.get(), RGB(0xFE, 0xDC, 0x13)},
        {native(), WM_CTLCOLOREDIT, nativeWindowOf(*field), RGB(0xFE, 0xDC, 0x14)},
        {nativeWindowOf(*combo), WM_CTLCOLORLISTBOX, inside, RGB(0xFE, 0xDC, 0x15)}};
    for (const auto& [asked, message, control, color] : kTexts) {
        send(asked, message, context, reinterpret_cast<LPARAM>(control));
        EXPECT_EQ(GetTextColor(canvas.context()), color) << message;
    }
    const INT index = COLOR_WINDOW;
    for (const COLORREF color : {COLORREF{RGB(0x11, 0x22, 0x33)}, GetSysColor(index)}) {
        SetSysColors(1, &index, &color);
        runMessages(50);
        EXPECT_EQ(static_cast<COLORREF>(send(nativeWindowOf(*tree), TVM_GETBKCOLOR)), color);
    }
}

// --- Dialogs --------------------------------------------------------------------------------

TEST_F(SurfaceTest, modalDialogs_nestedOverOneOwner_disableEachOtherAndEndTogether) {
    const auto probe = addProbe({0, 0, 49, 49});
    const auto outer = makeDialog();
    const auto field = addProbe({0, 0, 9, 9}, outer.get());
    const auto inner = makeDialog();
    int innerResult = -1;
    const auto lookAtOuter = [&] {
        const HWND shown = nativeWindowOf(*outer);
        EXPECT_FALSE(IsWindowEnabled(native()));
        EXPECT_EQ(GetForegroundWindow(), shown);
        EXPECT_EQ(clientSizeOf(shown), (Size{120, 90}));
        EXPECT_LE(std::abs(middleOf(shown).x - middleOf(native()).x), 1);
        EXPECT_LE(std::abs(middleOf(shown).y - middleOf(native()).y), 1);
        EXPECT_TRUE(field->hasFocus() && !probe->hasFocus());
        // None of these wakes the owner up.
        window_->setEnabled(true);
        send(native(), WM_CLOSE);
        service().enableWindow(true);
        EXPECT_FALSE(IsWindowEnabled(native()));
        innerResult = inner->show(true);
    };
    const auto lookAtInner = [&] {
        EXPECT_FALSE(IsWindowEnabled(nativeWindowOf(*outer)) || IsWindowEnabled(native()));
        EXPECT_EQ(GetWindow(nativeWindowOf(*inner), GW_OWNER), nativeWindowOf(*outer));
        pressKeys({VK_ESCAPE});
    };
    const auto again = [&] {
        EXPECT_EQ(innerResult, kAnswerCancel);
        EXPECT_EQ(GetActiveWindow(), nativeWindowOf(*outer));
        innerResult = inner->show(true);
    };
    probe->takeFocus();
    for (const int result : {5, 6}) {
        const Steps steps{lookAtOuter, lookAtInner, again, [&] { outer->hide(result); }};
        EXPECT_EQ(outer->show(true), result);
        EXPECT_EQ(innerResult, kAnswerNone);
        EXPECT_FALSE(outer->isOpen() || inner->isOpen());
        EXPECT_TRUE(IsWindowEnabled(native()) && IsWindowVisible(native()));
        EXPECT_EQ(GetActiveWindow(), native());
        EXPECT_TRUE(probe->hasFocus());
    }
}

// Whoever hears of the focus that moves, or of a press that ends, ends the dialog,
// its window, its owner or all, at any of these moments, or when it is open.
TEST_F(SurfaceTest, dialog_endedAtAnyMoment_returnsAndShowsNothing) {
    for (int round = 0; round < 10; ++round) {
        int heard = 0;
        for (int at = 0; at <= heard; ++at) {
            SCOPED_TRACE(testing::Message() << round << " " << at);
            window_ = makeWindow({300, 200});
            const auto probe = addProbe({0, 0, 49, 49});
            probe->takeFocus();
            sendMouse(native(), WM_LBUTTONDOWN, {5, 5});
            auto dialog = makeDialog();
            NativeDialog& shown = *dialog;
            const std::function<void()> ends[] = {
                [&] { dialog.reset(); }, [&] { dialog->hide(kAnswerOk); },
                [&] { dialog->releaseTree(); }, [&] { DestroyWindow(native()); },
                [&] { window_.reset(); }};
            heard = 0;
            const auto ender = std::make_shared<FunctionSink>([&](auto&&...) {
                if (heard++ == at) {
                    ends[round / 2]();
                }
            });
            probe->connect(ender, false);
            addProbe({0, 0, 9, 9}, dialog.get())->connect(ender, false);
            bool isLate = false;
            const Steps steps{[&] {
                isLate = true;
                if (dialog && dialog->isOpen()) {
                    ends[round / 2]();
                }
            }};
            EXPECT_EQ(shown.show(round % 2 == 0), round == 2 ? kAnswerOk : kAnswerNone);
            runMessages(5000, [&] { return isLate; });
            EXPECT_FALSE(dialog && (dialog->isOpen() || IsWindowVisible(nativeWindowOf(*dialog))));
            EXPECT_EQ(dialog && dialog->hasNativeObject(), round / 2 == 1);
            if (window_ && window_->hasNativeObject()) {
                EXPECT_TRUE(IsWindowEnabled(native()));
                EXPECT_TRUE(at < heard || GetActiveWindow() == native());
            }
        }
        EXPECT_GT(heard, 0);
    }
}

TEST_F(SurfaceTest, dialog_quitOrHiddenByItsService_endsAndIgnoresWhatMayNotCloseIt) {
    const auto dialog = makeDialog(NativeDialog::kStyleNotClosable);
    {
        const Steps steps{
            [&] { dialog->windowService()->closeWindow(); },
            [&] { PostMessageW(nativeWindowOf(*dialog), WM_SYSCOMMAND, SC_CLOSE, 0); },
            [&] { PostMessageW(nativeWindowOf(*dialog), WM_COMMAND, IDCANCEL, 0); },
            [&] {
                EXPECT_TRUE(dialog->isOpen());
                dialog->windowService()->hideWindow();
            }};
        EXPECT_EQ(dialog->show(true), kAnswerNone);
        dialog->windowService()->showWindow();
        EXPECT_TRUE(dialog->isOpen());
        dialog->hide(0);
    }
    const Steps steps{[] { PostQuitMessage(42); }};
    EXPECT_EQ(dialog->show(true), kAnswerNone);
    EXPECT_FALSE(IsWindowVisible(nativeWindowOf(*dialog)));
    EXPECT_EQ(ApplicationServiceWin32Gdi().runMessageLoop(), 42) << "left for the application";
}

// A window of somebody else is disabled and shown as it is.
TEST_F(SurfaceTest, hostWindow_dialogAndService_leaveItAsItWas) {
    const WindowHandle host(CreateWindowW(L"STATIC", L"Host", WS_POPUP | WS_VISIBLE, 100, 100, 300,
                                          200, nullptr, nullptr, nullptr, nullptr));
    const auto service = makeWindowService(host.get());
    for (const bool isEnabled : {true, false}) {
        service->enableWindow(isEnabled);
        EXPECT_EQ(IsWindowEnabled(host.get()) != FALSE, isEnabled);
        const auto dialog = service->createNativeDialog();
        dialog->setSize({120, 90});
        const Steps steps{[&] {
            EXPECT_FALSE(IsWindowEnabled(host.get()));
            EXPECT_EQ(GetWindow(nativeWindowOf(*dialog), GW_OWNER), host.get());
            dialog->hide(3);
        }};
        EXPECT_EQ(dialog->show(true), 3);
        EXPECT_EQ(IsWindowEnabled(host.get()) != FALSE, isEnabled);
        isEnabled ? service->hideWindow() : service->showWindow();
        EXPECT_EQ(IsWindowVisible(host.get()) != FALSE, !isEnabled);
    }
    service->closeWindow();
    runMessages(1000, [&] { return !IsWindow(host.get()); });
    EXPECT_FALSE(IsWindow(host.get()));
}

TEST_F(SurfaceTest, popup_shown_staysInactiveInFrontAndOnTheScreen) {
    const auto popup = makeDialog(NativeDialog::kStylePopup);
    addProbe({0, 0, 9, 9}, popup.get());
    popup->moveTo({1270, 100});
    EXPECT_EQ(popup->show(false), kAnswerNone);
    const HWND shown = nativeWindowOf(*popup);
    EXPECT_TRUE(IsWindowVisible(shown));
    EXPECT_EQ(GetActiveWindow(), native());
    EXPECT_EQ(windowRect(shown), Rect::at({1160, 100}, {120, 90}));
    popup->moveTo({40, 50});
    EXPECT_EQ(windowRect(shown).position(), (Point{40, 50}));
    EXPECT_EQ(send(shown, WM_NCHITTEST, 0, MAKELPARAM(50, 60)), HTTRANSPARENT);
    EXPECT_EQ(send(shown, WM_NCHITTEST, 0, MAKELPARAM(49, 59)), HTCLIENT);
    EXPECT_EQ(send(shown, WM_MOUSEACTIVATE), MA_NOACTIVATE);
    popup->hide(kAnswerNone);
    EXPECT_FALSE(IsWindowVisible(shown));
}

// --- Menus ----------------------------------------------------------------------------------

TEST_F(SurfaceTest, menu_shown_hasItsItemsAndAnswersWithTheChosenOne) {
    auto menu = service().createNativePopupMenu();
    menu->setItems({{100000, L"&First", 120, true, true, {}},
                    {},
                    {200000, L"Second", 0, false, false, {}},
                    {1, L"More", 0, true, false, {{300000, L"Inner", 0, true, true, {}}}}});
    menu->connect(log_, false);
    Texts states;
    const auto look = [&] {
        const auto shown = reinterpret_cast<HMENU>(
            send(FindWindowW(L"#32768", nullptr), 0x01E1 /* MN_GETHMENU */));
        for (UINT i = 0; i < 4; ++i) {
            MENUITEMINFOW item{};
            item.cbSize = sizeof(item);
            item.fMask = MIIM_FTYPE | MIIM_STATE | MIIM_BITMAP;
            GetMenuItemInfoW(shown, i, TRUE, &item);
            states.push_back(std::to_wstring(item.fState & 0xF) +
                             (item.hbmpItem != nullptr ? L"i" : L"") +
                             (item.fType == MFT_SEPARATOR ? L"-" : L""));
        }
    };
    const auto choose = [&](std::initializer_list<WORD> keys) {
        const Steps steps{look, [&] {
                              for (const WORD key : keys) {
                                  pressKeys({key});
                              }
                          }};
        return menu->show({200, 200});
    };
    EXPECT_EQ(choose({VK_DOWN, VK_RETURN}), 100000U);
    EXPECT_EQ(states, (Texts{L"8i", L"0-", L"3", L"0"})) << "checked, disabled, with an image";
    EXPECT_EQ(log_->entries.back().b.number(), 100000);
    EXPECT_EQ(choose({'F'}), 100000U);
    EXPECT_EQ(choose({VK_UP, VK_RIGHT, VK_RETURN}), 300000U);
    EXPECT_EQ(choose({VK_ESCAPE}), 0U);
    EXPECT_EQ(log_->take(), L"selected selected selected");
    NativePopupMenu& shown = *menu;
    const Steps steps{[&] { menu.reset(); }, [] { pressKeys({VK_DOWN}); },
                      [] { pressKeys({VK_RETURN}); }};
    EXPECT_EQ(shown.show({200, 200}), 100000U) << "dropped while it was open";
}

// --- Mouse, keyboard and focus --------------------------------------------------------------

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
    sendMouse(native(), WM_LBUTTONUP, {20, 20});
    EXPECT_EQ(GetCapture(), nullptr);
    EXPECT_EQ(take(), L"enterHovering enterLeftClicking leaveLeftClicking leftClicked");
    sendMouse(native(), WM_LBUTTONDOWN, {15, 15}, MK_LBUTTON);
    // Somebody else takes the mouse: no click.
    SetCapture(GetDesktopWindow());
    ReleaseCapture();
    sendMouse(native(), WM_LBUTTONUP, {15, 15});
    EXPECT_EQ(take(), L"enterLeftClicking leaveLeftClicking");
    sendMouse(native(), WM_RBUTTONDOWN, {15, 15}, MK_RBUTTON);
    sendMouse(native(), WM_RBUTTONUP, {15, 15});
    EXPECT_EQ(take(), L"enterRightClicking leaveRightClicking rightClicked");
    sendMouse(native(), WM_LBUTTONDBLCLK, {15, 15}, MK_CONTROL);
    EXPECT_EQ(probe_->lastMouse.action, MouseAction::kLeftDouble);
    EXPECT_EQ(probe_->lastMouse.modifiers, kModifierControl);
    sendMouse(native(), WM_LBUTTONUP, {15, 15});
    take();
    send(native(), WM_MOUSELEAVE);
    EXPECT_EQ(take(), L"leaveHovering");
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
    for (const Point place :
         {Point{20, 20}, {120, 20}, {20, 20}, {900, 900}, {120, 20}, {900, 900}}) {
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
    probe_->log->take();
    click(onScreen(native(), {30, 30}));
    runMessages(2000, [&] { return probe_->log->entries.size() >= 5; });
    EXPECT_EQ(probe_->log->take(),
              L"enterHovering enterFocus enterLeftClicking leaveLeftClicking leftClicked");
}

TEST_F(InputTest, focus_movedByKeysOrProgram_isWithOneControl) {
    const auto expectFocus = [&](const std::shared_ptr<Control>& focused) {
        for (const auto& control : Controls{probe_, button_, inner_}) {
            EXPECT_EQ(control->hasFocus(), control == focused);
        }
        EXPECT_EQ(GetFocus(), nativeWindowOf(focused == button_ ? *focused : *focused->surface()));
    };
    EXPECT_TRUE(probe_->takeFocus());
    press({'K'});
    EXPECT_EQ(probe_->log->entries.back().b.number(), 'K');
    EXPECT_EQ(probe_->log->take(), L"enterFocus keyPressed");
    for (const auto& next : Controls{button_, inner_, probe_}) {
        press({VK_TAB});
        expectFocus(next);
    }
    for (const auto& next : Controls{inner_, button_, probe_}) {
        press({VK_SHIFT, VK_TAB});
        expectFocus(next);
    }
    for (const auto& next : Controls{inner_, button_, inner_, probe_}) {
        EXPECT_TRUE(next->takeFocus());
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
    // A window that is left and activated again gives it back.
    const auto other = makeWindow({100, 100});
    inner_->takeFocus();
    SetActiveWindow(native());
    for (const auto& kept : Controls{inner_, button_, probe_}) {
        kept->takeFocus();
        SetActiveWindow(nativeWindowOf(*other));
        EXPECT_FALSE(kept->hasFocus());
        SetActiveWindow(native());
        expectFocus(kept);
    }
    // What takes the focus meanwhile has it afterwards, and activates nothing.
    SetActiveWindow(nativeWindowOf(*other));
    EXPECT_TRUE(inner_->takeFocus());
    EXPECT_EQ(GetActiveWindow(), nativeWindowOf(*other));
    SetActiveWindow(native());
    expectFocus(inner_);
}

TEST_F(SurfaceTest, dialog_keys_moveTheFocusAndPressWhatTheyMean) {
    const auto dialog = makeDialog();
    const auto field = addProbe({0, 0, 9, 9}, dialog.get());
    const auto addButton = [&](const wchar_t* caption, ButtonKind kind) {
        auto button = service().createNativeButton();
        button->setCaption(std::make_shared<TextDescriptor>(caption));
        button->setKind(kind);
        return show(button, {20, 0, 99, 24}, dialog.get());
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
        {{}, field, L"enterFocus"},
        {{VK_RETURN}, field, L"leftClicked"},
        {{VK_TAB}, other, L"leaveFocus enterFocus"},
        {{VK_RETURN}, other, L"leftClicked"},
        {{VK_MENU, 'C'}, check, L"leaveFocus enterFocus leftClicked"},
        {{VK_RETURN}, check, L"leftClicked"},
        {{'O'}, other, L"leaveFocus enterFocus leftClicked"},
        {{'R'}, first, L"leaveFocus enterFocus"},
        {{'R'}, second, L"leaveFocus enterFocus"},
        {{'R'}, first, L"leaveFocus enterFocus"},
        {{VK_SHIFT, VK_TAB}, check, L"leaveFocus enterFocus"},
        {{VK_MENU, 'R'}, first, L"leaveFocus enterFocus"},
        {{VK_SHIFT, VK_TAB}, check, L"leaveFocus enterFocus"},
        {{VK_SHIFT, VK_TAB}, other, L"leaveFocus enterFocus"},
        {{VK_SHIFT, VK_TAB}, field, L"leaveFocus enterFocus"},
        {{VK_SHIFT, VK_TAB}, box, L"leaveFocus enterFocus"},
        {{VK_RETURN}, box, L"textChanged"},
        {{VK_CONTROL, VK_RETURN}, box, L"leftClicked"},
        {{VK_TAB}, field, L"leaveFocus enterFocus"}};
    for (const auto& [keys, focused, messages] : kRows) {
        press(keys);
        EXPECT_TRUE(focused->hasFocus()) << messages;
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
    // Commands that come from no control.
    for (const int identifier : {IDOK, GetDlgCtrlID(nativeWindowOf(*other))}) {
        send(shown, WM_COMMAND, static_cast<WPARAM>(identifier));
        EXPECT_EQ(log_->entries.back().a.object<Control>(),
                  identifier == IDOK ? standard.get() : other.get());
        EXPECT_EQ(log_->take(), L"leftClicked");
    }
}

}  // namespace
}  // namespace zustd
