// Windows, dialogs, menus and what is painted on them.
#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuNativePopupMenu.h"
#include "ZuNativeTextBox.h"
#include "support/SurfaceTest.h"
// Behind the wrapper.
#include <dlgs.h>

namespace zustd::test {
namespace {

int systemColorsHeard = 0;

LRESULT CALLBACK answerAsHost(HWND window, UINT id, WPARAM wide, LPARAM extra) noexcept {
    systemColorsHeard += id == WM_SYSCOLORCHANGE ? 1 : 0;
    const bool isKnown = id == WM_COMMAND || id == WM_HSCROLL || id == WM_MOUSEWHEEL;
    return isKnown ? 99 : DefWindowProcW(window, id, wide, extra);
}

TEST_F(SurfaceTest, window_shownHiddenDisabledOrClosed_isAsItsControlSays) {
    const HWND shown = native();
    service().hideWindow();
    EXPECT_FALSE(IsWindowVisible(shown) || window_->isVisible());
    service().makeWindowVisibleAtPos({30, 40});
    EXPECT_TRUE(IsWindowVisible(shown) && window_->isVisible());
    EXPECT_EQ(service().getWindowPosition(), (Point{30, 40}));
    service().enableWindow(false);
    window_->setEnabled(false);
    window_->setEnabled(true);
    EXPECT_FALSE(IsWindowEnabled(shown));
    service().enableWindow(true);
    EXPECT_TRUE(IsWindowEnabled(shown));
    int asked = 0;
    const auto objector = std::make_shared<FunctionSink>(
        [&](const MessageKind& kind, MessageWord, MessageWord answer) {
            if (kind == Control::kClose) {
                *answer.object<bool>() = asked++ == 0;
            }
        });
    window_->connect(objector, false);
    send(shown, WM_CLOSE);
    EXPECT_TRUE(IsWindowVisible(shown));
    service().closeWindow();
    runMessages(1000, [&] { return asked == 2; });
    EXPECT_FALSE(IsWindowVisible(shown) || window_->isVisible());
}

TEST_F(SurfaceTest, resize_byTheUser_laysOutAgainAndKeepsToTheLimits) {
    window_->setArrangement({.flow = Flow::kRows});
    const auto child = show(service().createNativeWindow(), Rect::at({}, {50, 20}));
    child->setPlacement({.autoSized = true});
    window_->setPlacement({.minimum = {250, 150}, .maximum = {400, 350}});
    for (const auto& [asked, got] : {std::pair{10, Size{250, 150}}, {900, {400, 350}}}) {
        SetWindowPos(native(), nullptr, 0, 0, asked, asked, SWP_NOMOVE | SWP_NOZORDER);
        EXPECT_EQ(window_->boundary().size(), got);
        EXPECT_EQ(clientSizeOf(native()), got);
        EXPECT_EQ(child->boundary().width(), got.width);
        EXPECT_EQ(windowRect(nativeWindowOf(*child), native()), child->boundary());
    }
    for (const int tooSmall : {20, 30}) {
        window_->setSize({tooSmall, tooSmall});
        EXPECT_EQ(window_->boundary().size(), (Size{250, 150}));
    }
    RECT proposed{20, 30, 340, 270};
    send(native(), WM_DPICHANGED, MAKEWPARAM(96, 96), reinterpret_cast<LPARAM>(&proposed));
    EXPECT_EQ(windowRect(native()), portableRect(proposed));
    DestroyWindow(native());
    EXPECT_FALSE(window_->hasNativeObject() || child->hasNativeObject());
}

TEST_F(SurfaceTest, service_placesPointerAndAreas_areTheWindows) {
    EXPECT_EQ(service().getWindowSize(), windowRect(native()).size());
    const POINT place = onScreen(native(), {7, 9});
    EXPECT_EQ(service().getClientPosition(), (Point{place.x - 7, place.y - 9}));
    movePointer(place);
    EXPECT_EQ(service().getMousePosition(), (Point{7, 9}));
    EXPECT_TRUE(service().isWindowVisibleAtPos({place.x, place.y}));
    show(service().createNativeButton(), {0, 20, 9, 39});
    EXPECT_TRUE(service().isWindowVisibleAtPos({place.x, place.y + 15}));
    EXPECT_FALSE(service().isWindowVisibleAtPos({1279, 1023}));
    RECT area{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    EXPECT_EQ(service().getWorkArea(), portableRect(area));
    service().captureMouse();
    service_->releaseMouse();
    EXPECT_EQ(GetCapture(), native());
    const Rect whole{0, 0, 299, 199};
    const Rect part{5, 6, 20, 30};
    const std::pair<std::function<void()>, Rect> kRows[] = {
        {[&] { service().invalidate(part); }, part},
        {[] {}, {}},
        {[&] { service().invalidate(); }, whole},
        {[&] { service().invalidateWindow(); }, whole},
        {[&] { send(native(), WM_THEMECHANGED); }, whole}};
    for (const auto& [invalidate, invalid] : kRows) {
        service().updateWindow();
        invalidate();
        GetUpdateRect(native(), &area, FALSE);
        EXPECT_EQ(portableRect(area), invalid);
    }
    int differences = 0;
    for (int i = 0x100; i <= 0x7FFF; ++i) {
        differences += WindowServiceWin32Gdi::getNewId() - i;
    }
    EXPECT_EQ(differences, 0) << "each once";
    WindowServiceWin32Gdi::setScalingFactor(0.0);
    EXPECT_EQ(service().getScalingFactor(), GetSystemMetrics(SM_CXSMICON) / 16.0);
    static constexpr int kCursors[] = {32512, 32649, 32513, 32514, 32644, 32645, 32646, 32648};
    for (int i = 0; i < 8; ++i) {
        service().setCursor(static_cast<MouseCursor>(i));
        SetCursor(nullptr);
        send(native(), WM_SETCURSOR, reinterpret_cast<WPARAM>(native()), HTCLIENT);
        EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, MAKEINTRESOURCEW(kCursors[i])));
    }
}

TEST_F(SurfaceTest, selectFileToOpen_userChooses_getsTheFile) {
    const TempFolder folder;
    const std::wstring file = folder.file(L"chosen.txt");
    writeBytes(file, "x");
    const auto choose = [&] {
        EXPECT_FALSE(IsWindowEnabled(native()));
        const HWND list = GetDlgItem(GetActiveWindow(), cmb1);
        const HWND field = GetDlgItem(GetActiveWindow(), cmb13);
        EXPECT_EQ(textOf(list) + textOf(field), L"Textssuggested.txt");
        EXPECT_EQ(send(list, CB_FINDSTRINGEXACT, 0, reinterpret_cast<LPARAM>(L"*.log")), 1);
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
}

TEST_F(SurfaceTest, paint_failingNestedOrInPart_showsWhatThereIsAndTheRestLater) {
    const auto left = addProbe(Rect::at({10, 10}, {50, 50}));
    left->whileDrawing = [] { throw std::wstring(L"torn"); };
    EXPECT_EQ(pixelOf(native(), {59, 59}), 0xC01020U);
    Rect painted;
    left->whileDrawing = [&] {
        painted = windowServiceBackend(&service())->getDrawArea();
        if (left->drawn == 2) {
            left->red = 0x40;
            RedrawWindow(native(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        }
    };
    left->refresh();
    UpdateWindow(native());
    EXPECT_EQ(painted, left->boundary());
    EXPECT_EQ(pixelOf(native(), {10, 10}), 0x401020U) << "painted again";
    EXPECT_EQ(left->drawn, 3);
}

TEST_F(SurfaceTest, colours_changed_reachAllThatIsOnTheSurface) {
    const auto child = show(service().createNativeWindow(), {200, 0, 299, 99});
    const auto check = show(service().createNativeButton(), {0, 10, 89, 34});
    check->setKind(ButtonKind::kCheck);
    const auto field = show(service().createNativeTextBox(), {0, 40, 89, 64});
    const auto combo = show(service().createNativeComboBox(), {0, 80, 89, 104});
    combo->setEditable(true);
    const auto bar = show(service().createNativeProgressBar(), {120, 60, 159, 69});
    const HWND label = CreateWindowW(L"STATIC", L"", WS_CHILD | WS_VISIBLE, 120, 20, 40, 20,
                                     native(), nullptr, nullptr, nullptr);
    const HWND edit = nativeWindowOf(*field);
    const HWND list = nativeWindowOf(*combo);
    const Canvas canvas({10, 10});
    const auto context = reinterpret_cast<WPARAM>(canvas.context());
    const auto ask = [&](HWND asked, UINT message, HWND control) {
        return send(asked, message, context, reinterpret_cast<LPARAM>(control));
    };
    EXPECT_NE(ask(native(), WM_CTLCOLORSTATIC, label), 0) << "the system's own";
    const auto fill = [](Control& control, std::uint8_t red) {
        auto colors = std::make_shared<ColorsDescriptor>();
        colors->setColor(ColorRole::kBackground, Color::rgb(red, 0x34, 0x56));
        colors->setColor(ColorRole::kText, Color::rgb(0xFE, 0xDC, red));
        control.setColors(colors);
    };
    for (const auto red : std::initializer_list<std::uint8_t>{0x12, 0x13}) {
        fill(*window_, red);
        EXPECT_EQ(pixelOf(native(), {5, 5}), red << 16 | 0x3456U);
        EXPECT_EQ(pixelOf(nativeWindowOf(*check), {60, 20}), red << 16 | 0x3456U);
    }
    fill(*field, 0x14);
    fill(*combo, 0x15);
    EXPECT_EQ(pixelOf(edit, {60, 20}), 0x143456U);
    EXPECT_EQ(send(native(), WM_ERASEBKGND, context), 1);
    send(nativeWindowOf(*child), WM_PRINTCLIENT, context);
    EXPECT_EQ(canvas.pixel(5, 5), 0x133456U);
    const std::tuple<HWND, UINT, HWND, int> kRows[] = {
        {native(), WM_CTLCOLORSTATIC, label, 0x13},
        {native(), WM_CTLCOLORSTATIC, nativeWindowOf(*bar), 0x13},
        {native(), WM_CTLCOLOREDIT, edit, 0x14},
        {list, WM_CTLCOLORLISTBOX, FindWindowExW(list, nullptr, L"Edit", nullptr), 0x15}};
    for (const auto& [asked, message, control, red] : kRows) {
        EXPECT_NE(ask(asked, message, control), 0);
        EXPECT_EQ(GetBkColor(canvas.context()), COLORREF{RGB(red, 0x34, 0x56)}) << message;
        EXPECT_EQ(GetTextColor(canvas.context()), COLORREF{RGB(0xFE, 0xDC, red)}) << message;
    }
    SetWindowLongPtrW(label, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&answerAsHost));
    send(native(), WM_SYSCOLORCHANGE);
    EXPECT_EQ(systemColorsHeard, 1);
}

TEST_F(SurfaceTest, modalDialogs_nestedOverOneOwner_disableEachOtherAndEndTogether) {
    const auto probe = addProbe({0, 0, 49, 49});
    const auto outer = makeDialog();
    const auto field = addProbe({0, 0, 9, 9}, outer.get());
    const auto inner = makeDialog();
    const auto holder = makeWindow({50, 50});
    inner->show(false);
    SetActiveWindow(nativeWindowOf(*holder));
    inner->hide(0);
    EXPECT_EQ(GetActiveWindow(), nativeWindowOf(*holder)) << "was active, and the dialog not";
    SetActiveWindow(native());
    int innerResult = -1;
    const auto lookAtOuter = [&] {
        const HWND shown = nativeWindowOf(*outer);
        EXPECT_EQ(GetForegroundWindow(), shown);
        EXPECT_EQ(clientSizeOf(shown), (Size{120, 90}));
        EXPECT_TRUE(field->hasFocus());
        window_->setEnabled(true);
        send(native(), WM_CLOSE);
        service().enableWindow(true);
        innerResult = inner->show(true);
    };
    const auto lookAtInner = [&] {
        EXPECT_FALSE(IsWindowEnabled(nativeWindowOf(*outer)) || IsWindowEnabled(native()));
        EXPECT_EQ(GetWindow(nativeWindowOf(*inner), GW_OWNER), nativeWindowOf(*outer));
    };
    probe->takeFocus();
    for (const int result : {5, 6}) {
        const Steps steps{lookAtOuter, lookAtInner, [&] { outer->hide(result); }};
        EXPECT_EQ(outer->show(true), result);
        EXPECT_EQ(innerResult, kAnswerNone);
        EXPECT_FALSE(outer->isOpen() || inner->isOpen());
        EXPECT_TRUE(IsWindowEnabled(native()) && IsWindowVisible(native()));
        EXPECT_TRUE(GetActiveWindow() == native() && probe->hasFocus());
    }
}

// Whoever hears of the focus that moves, or of a press that ends, ends the dialog,
// its window, its owner or all, at any of these moments, or when it is open.
TEST_F(SurfaceTest, dialog_endedAtAnyMoment_returnsAndShowsNothing) {
    for (int round = 0; round < 10; ++round) {
        int heard = 0;
        for (int at = 0; at <= heard; ++at) {
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
                dialog && dialog->isOpen() ? ends[round / 2]() : void();
            }};
            EXPECT_EQ(shown.show(round % 2 == 0), round == 2 ? kAnswerOk : kAnswerNone) << at;
            runMessages(5000, [&] { return isLate; });
            EXPECT_FALSE(dialog && (dialog->isOpen() || IsWindowVisible(nativeWindowOf(*dialog))));
            EXPECT_EQ(dialog && dialog->hasNativeObject(), round / 2 == 1);
            EXPECT_TRUE(!window_ || !window_->hasNativeObject() || IsWindowEnabled(native()));
            probe->disconnect(ender.get());
        }
        EXPECT_GT(heard, 0);
    }
}

TEST_F(SurfaceTest, dialog_quitOrHiddenByItsService_endsAndIgnoresWhatMayNotCloseIt) {
    const auto dialog = makeDialog(NativeDialog::kStyleNotClosable);
    {
        const Steps steps{[&] { dialog->windowService()->closeWindow(); },
                          [&] { PostMessageW(nativeWindowOf(*dialog), WM_COMMAND, IDCANCEL, 0); },
                          [&] {
                              EXPECT_TRUE(dialog->isOpen());
                              dialog->windowService()->hideWindow();
                          }};
        EXPECT_EQ(dialog->show(true), kAnswerNone);
        const auto own = dialog->windowService();
        const HWND shown = nativeWindowOf(*dialog);
        const Rect centred = windowRect(shown);
        own->makeWindowVisibleAtPos({30, 40});
        dialog->setEnabled(false);
        EXPECT_TRUE(dialog->isOpen() && !IsWindowEnabled(shown));
        EXPECT_EQ(windowRect(shown).position(), (Point{30, 40}));
        dialog->setEnabled(true);
        dialog->hide(0);
        own->showWindow();
        EXPECT_TRUE(dialog->isOpen() && windowRect(shown) == centred);
        dialog->hide(0);
    }
    const Steps steps{[] { PostQuitMessage(42); }};
    EXPECT_EQ(dialog->show(true), kAnswerNone);
    EXPECT_FALSE(IsWindowVisible(nativeWindowOf(*dialog)));
    EXPECT_EQ(ApplicationServiceWin32Gdi().runMessageLoop(), 42) << "left for the application";
}

// A window of somebody else is disabled and shown as it is.
TEST_F(SurfaceTest, hostWindow_dialogAndService_leaveItAsItWas) {
    const HWND host = CreateWindowW(L"STATIC", L"Host", WS_POPUP | WS_VISIBLE, 100, 100, 300, 200,
                                    nullptr, nullptr, nullptr, nullptr);
    SetWindowLongPtrW(host, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&answerAsHost));
    const auto service = makeWindowService(host);
    const auto dialog = service->createNativeDialog();
    for (const bool isOn : {false, true}) {
        service->enableWindow(isOn);
        isOn ? service->showWindow() : service->hideWindow();
        const Steps steps{[&] {
            EXPECT_FALSE(IsWindowEnabled(host));
            EXPECT_EQ(GetWindow(nativeWindowOf(*dialog), GW_OWNER), host);
            const Rect own = windowRect(nativeWindowOf(*dialog));
            const Rect around = isOn ? windowRect(host) : workAreaAround(host);
            EXPECT_NEAR(own.left + own.right, around.left + around.right, 1);
            EXPECT_NEAR(own.top + own.bottom, around.top + around.bottom, 1);
            dialog->hide(3);
        }};
        EXPECT_EQ(dialog->show(true), 3);
        EXPECT_EQ(IsWindowEnabled(host) != FALSE, isOn);
        EXPECT_EQ(IsWindowVisible(host) != FALSE, isOn);
    }
    // A widget outside of a surface lies on it, which hears of what that has no use for.
    const std::tuple<std::shared_ptr<Control>, UINT, int, LRESULT> kRows[] = {
        {service->createNativeButton(), WM_COMMAND, BN_CLICKED, 0},
        {service->createNativeButton(), WM_COMMAND, BN_SETFOCUS, 99},
        {service->createNativeTextBox(), WM_COMMAND, EN_CHANGE, 0},
        {service->createNativeTextBox(), WM_HSCROLL, EN_CHANGE, 99},
        {service->createNativeComboBox(), WM_COMMAND, CBN_SELCHANGE, 0},
        {service->createNativeComboBox(), WM_COMMAND, CBN_EDITCHANGE, 0},
        {service->createNativeComboBox(), WM_COMMAND, CBN_SETFOCUS, 99},
        {service->createNativeComboBox(), WM_HSCROLL, CBN_SELCHANGE, 99},
        {service->createNativeScrollBar(false), WM_HSCROLL, SB_TOP, 0},
        {service->createNativeScrollBar(false), WM_COMMAND, SB_TOP, 99},
        {service->createNativeProgressBar(), WM_COMMAND, 0, 99}};
    for (const auto& [widget, id, what, answered] : kRows) {
        widget->synchronizeTree();
        const HWND shown = nativeWindowOf(*widget);
        EXPECT_EQ(GetParent(shown), host);
        EXPECT_EQ(send(host, id, MAKEWPARAM(what, what), reinterpret_cast<LPARAM>(shown)),
                  answered);
        service->setFocus(*widget);
        EXPECT_EQ(GetFocus(), shown);
    }
    EXPECT_EQ(send(host, WM_NOTIFY) + send(host, WM_DRAWITEM), 0) << "from nobody";
    const auto surface = service->createNativeWindow();
    surface->synchronizeTree();
    EXPECT_EQ(send(nativeWindowOf(*surface), WM_MOUSEWHEEL), 99);
    service->closeWindow();
    runMessages(1000, [&] { return !IsWindow(host); });
    EXPECT_FALSE(IsWindow(host));
}

TEST_F(SurfaceTest, menu_shown_hasItsItemsAndAnswersWithTheChosenOne) {
    auto menu = service().createNativePopupMenu();
    menu->setItems({{100000, L"&First", 120, true, true, {}},
                    {},
                    {200000, L"Second", 0, false, false, {}},
                    {1, L"More", 0, true, false, {{300000, L"Inner", 0, true, true, {}}}}});
    menu->connect(log_, false);
    const auto look = [&] {
        const auto shown = reinterpret_cast<HMENU>(
            send(FindWindowW(L"#32768", nullptr), 0x01E1 /* MN_GETHMENU */));
        std::wstring states;
        for (UINT i = 0; i < 4; ++i) {
            states += std::to_wstring(GetMenuState(shown, i, MF_BYPOSITION) & 0xFFF) + L" ";
        }
        EXPECT_EQ(states, L"8 2048 3 272 ") << "checked, a line, disabled, with one below";
        EXPECT_EQ(GetForegroundWindow(), native());
    };
    const auto key = [](WORD code) { return [code] { pressKeys({code}); }; };
    const Steps keys{look, key('F'), key(VK_UP), key(VK_RIGHT), key(VK_RETURN), key(VK_ESCAPE)};
    for (const std::uint32_t chosen : {100000U, 300000U, 0U}) {
        EXPECT_EQ(menu->show({200, 200}), chosen);
    }
    EXPECT_EQ(log_->take(), L"selected selected");
    menu = service_->createNativePopupMenu();
    menu->setItems({{100000, L"First", 0, true, true, {}}});
    NativePopupMenu& shown = *menu;
    const Steps steps{[&] { menu.reset(); }, key(VK_DOWN), key(VK_RETURN)};
    EXPECT_EQ(shown.show({200, 200}), 100000U) << "dropped while it was open";
}

}  // namespace
}  // namespace zustd::test
