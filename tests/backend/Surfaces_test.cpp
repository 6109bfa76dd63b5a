// Windows, dialogs, menus and what is painted on them.
#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuNativePopupMenu.h"
#include "ZuNativeTextBox.h"
#include "support/SurfaceTest.h"
// Behind the wrapper.
#include <cderr.h>
#include <commdlg.h>

extern "C" {
extern void* __imp_CommDlgExtendedError IMPORT_SLOT("CommDlgExtendedError", "@0");
extern void* __imp_DefWindowProcW IMPORT_SLOT("DefWindowProcW", "@16");
extern void* __imp_GetOpenFileNameW IMPORT_SLOT("GetOpenFileNameW", "@4");
}

namespace zustd::test {
namespace {

constexpr LRESULT kSystems = 77;
LRESULT WINAPI answerAsSystem(HWND, UINT, WPARAM, LPARAM) noexcept { return kSystems; }

int systemColorsHeard = 0;

LRESULT CALLBACK answerAsHost(HWND window, UINT id, WPARAM wide, LPARAM extra) noexcept {
    systemColorsHeard += id == WM_SYSCOLORCHANGE ? 1 : 0;
    const bool isKnown = id == WM_COMMAND || id == WM_HSCROLL;
    return isKnown ? 99 : DefWindowProcW(window, id, wide, extra);
}

TEST_F(SurfaceTest, resize_byTheUser_laysOutAgainAndKeepsToTheLimits) {
    window_->setArrangement({.flow = Flow::kRows});
    const auto child = show(makeWindow({9, 9}), Rect::at({}, {50, 20}));
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
    window_->setPlacement({.minimum = {1, 0}, .maximum = {0, 1}});
    MINMAXINFO limits{{}, {}, {}, {1, 2}, {3, 4}};
    send(native(), WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
    EXPECT_TRUE(limits.ptMinTrackSize.x > 1 && limits.ptMinTrackSize.y == 2);
    EXPECT_TRUE(limits.ptMaxTrackSize.x == 3 && limits.ptMaxTrackSize.y > 4);
    EXPECT_TRUE(GetClassLongPtrW(native(), GCLP_HICON) && GetClassLongPtrW(native(), GCLP_HICONSM));
    EXPECT_EQ(FindWindowW(L"ZuNativeWindow", nullptr), native()) << "how others find it";
    const auto button = show(service().createNativeButton(), {0, 0, 9, 9});
    DestroyWindow(native());
    EXPECT_FALSE(window_->hasNativeObject() || child->hasNativeObject() ||
                 button->hasNativeObject());
    EXPECT_EQ(windowServiceBackend(&service())->window(), nullptr);
    resources_->selectLocale(L"de-DE");
    EXPECT_FALSE(window_->hasNativeObject()) << "made by another language";
}

TEST_F(SurfaceTest, message_ofAnyKind_isAnsweredOrLeftToTheSystem) {
    const auto user = addProbe({0, 0, 49, 49});
    const auto child = show(makeWindow({9, 9}), {2, 1, 9, 9}, addProbe({}, user.get()).get());
    user->takeFocus();
    const auto self = reinterpret_cast<WPARAM>(native());
    const POINT onUser = onScreen(native(), {5, 5});
    const LPARAM place = MAKELPARAM(onUser.x, onUser.y);
    const ReplacedImport system(__imp_DefWindowProcW, reinterpret_cast<void*>(&answerAsSystem));
    send(nativeWindowOf(*child), WM_MOUSEWHEEL, 0, place + 1);
    EXPECT_EQ(user->lastMouse.position, (Point{6, 5})) << "on behalf of what lies on it";
    RECT area{10, 10, 300, 200};
    // clang-format off
    const std::tuple<UINT, WPARAM, LPARAM, LRESULT> kRows[] = {
        {WM_SYSCOLORCHANGE, 0, 0, kSystems}, {WM_THEMECHANGED, 0, 0, kSystems}, {WM_CHAR, 0, 0, kSystems},
        {WM_SYSCHAR, 0, 0, kSystems}, {WM_KEYDOWN, 0, 0, kSystems}, {WM_MOUSEWHEEL, 0, 0, kSystems},
        {WM_CTLCOLORSTATIC, 0, 0, kSystems}, {WM_PAINT, 0, 0, 0}, {WM_PRINTCLIENT, 0, 0, 0},
        {WM_CAPTURECHANGED, 0, 0, 0}, {WM_MOUSEMOVE, 0, 0, 0}, {WM_MOUSELEAVE, 0, 0, 0}, {WM_SETFOCUS, 0, 0, 0},
        {WM_SIZE, SIZE_MINIMIZED, 0, kSystems}, {WM_SETCURSOR, self, HTCLIENT, TRUE},
        {WM_SETCURSOR, self, HTCAPTION, kSystems}, {WM_SETCURSOR, 0, HTCLIENT, kSystems},
        {WM_GETDLGCODE, 0, 0, DLGC_WANTALLKEYS | DLGC_WANTARROWS | DLGC_WANTCHARS | DLGC_WANTTAB},
        {WM_SYSKEYDOWN, 'U', 0, 0}, {WM_SYSCHAR, 'U', 0, 0}, {WM_SYSCHAR, 'U', 0, kSystems},
        {WM_KEYDOWN, 'U', 0, 0}, {WM_SYSCHAR, 'U', 0, kSystems},
        {WM_MOUSEWHEEL, MK_SHIFT, place, 0}, {WM_ACTIVATE, MAKEWPARAM(WA_ACTIVE, 1), 0, 0},
        {WM_KILLFOCUS, self, 0, 0}, {WM_DPICHANGED, 0, reinterpret_cast<LPARAM>(&area), 0}};
    // clang-format on
    for (const auto& [id, wide, extra, answer] : kRows) {
        EXPECT_EQ(send(native(), id, wide, extra), answer) << id << ": " << wide;
    }
    EXPECT_EQ(windowRect(native()), portableRect(area));
    EXPECT_TRUE(user->hasFocus() && user->lastMouse.position == (Point{5, 5}));
    send(native(), WM_KILLFOCUS, reinterpret_cast<WPARAM>(GetDesktopWindow()));
    EXPECT_FALSE(user->hasFocus());
    send(native(), WM_SETFOCUS);
    EXPECT_TRUE(user->hasFocus());
    send(native(), WM_CLOSE);
    EXPECT_FALSE(window_->isVisible());
}

// The real pointer, in a window that is made anew meanwhile.
TEST_F(SurfaceTest, pointer_comesAndGoes_isToldEachTime) {
    const auto probe = addProbe({0, 0, 99, 99});
    for (const int x : {50, 999, 51, 999, 52, 53, 999}) {
        if (x == 53) {
            window_->releaseTree();
            window_->synchronizeTree();
        }
        const POINT place = onScreen(native(), {x, 50});
        SetCursorPos(place.x, place.y);
        runMessages(5000, [&] { return probe->lastMouse.position.x == x || x == 999; });
        runMessages(5000, [&] { return probe->isHovered() == (x != 999); });
        EXPECT_EQ(probe->isHovered(), x != 999) << x;
    }
}

TEST_F(SurfaceTest, service_placesPointerAndAreas_areTheWindows) {
    const POINT place = onScreen(native(), {7, 9});
    EXPECT_EQ(service().getClientPosition(), (Point{place.x - 7, place.y - 9}));
    SetCursorPos(place.x, place.y);
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
    service().releaseMouse();
    EXPECT_EQ(GetCapture(), nullptr);
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
    for (const bool isOn : {false, true}) {
        service().enableWindow(isOn);
        EXPECT_EQ(IsWindowEnabled(native()) != FALSE, isOn);
    }
    int differences = 0;
    for (int i = 0x100; i <= 0x7FFF; ++i) {
        differences += WindowServiceWin32Gdi::getNewId() - i;
    }
    EXPECT_EQ(differences, 0) << "each once";
    service().setCursor(MouseCursor::kHand);
    SetCursor(nullptr);
    send(native(), WM_SETCURSOR, reinterpret_cast<WPARAM>(native()), HTCLIENT);
    EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, MAKEINTRESOURCEW(32649)));
}

// What the dialogs for files are to answer, a failure or 0 for none, and what they got for names.
constexpr DWORD kFileChosen = ~0U;
std::deque<DWORD> fileAnswers;
std::wstring fileNames;

BOOL WINAPI chooseFile(OPENFILENAMEW* request) noexcept {
    static constexpr wchar_t kFilter[] = L"Texts\0*.txt\0*.log\0*.log\0All Files\0*.*\0";
    EXPECT_EQ(std::memcmp(request->lpstrFilter, kFilter, sizeof(kFilter)), 0);
    fileNames += request->lpstrFile + std::wstring(L";");
    wcscpy(request->lpstrFile, L"C:\\chosen.txt");
    fileAnswers.pop_front();
    return fileAnswers.front() == kFileChosen;
}
DWORD WINAPI tellFileAnswer() noexcept { return fileAnswers.front(); }

TEST_F(SurfaceTest, selectFileToOpen_anyAnswer_isTheChosenFileOrNone) {
    const ReplacedImport dialogs(__imp_GetOpenFileNameW, reinterpret_cast<void*>(&chooseFile));
    const ReplacedImport failures(__imp_CommDlgExtendedError,
                                  reinterpret_cast<void*>(&tellFileAnswer));
    const std::wstring name(kFileNameBufferSize - 1, L'n');
    const std::tuple<std::deque<DWORD>, std::wstring, std::wstring, std::size_t> kRows[] = {
        {{0, kFileChosen}, L"C:\\chosen.txt", name + L";", 0},
        {{0, 0}, L"", name + L";", 0},
        {{0, FNERR_INVALIDFILENAME, kFileChosen}, L"C:\\chosen.txt", name + L";;", 0},
        {{0, 1}, L"", name + L";", 2}};
    for (const auto& [answers, chosen, names, reports] : kRows) {
        const TraceCapture trace;
        fileAnswers = answers;
        fileNames.clear();
        EXPECT_EQ(service().selectFileToOpen(name, {L"*.txt", L"", L"*.log"},
                                             {L"Texts", L"None", L""}, false),
                  chosen);
        EXPECT_EQ(fileNames, names);
        EXPECT_EQ(trace.messages().size(), reports);
    }
}

TEST_F(SurfaceTest, paint_failingOrNested_showsWhatThereIsAndTheRestLater) {
    const auto left = addProbe(Rect::at({10, 10}, {50, 50}));
    left->whileDrawing = [] { throw std::wstring(L"torn"); };
    EXPECT_EQ(pixelOf(native(), {59, 59}), 0xC01020U);
    EXPECT_EQ(pixelOf(native(), {60, 60}), _byteswap_ulong(GetSysColor(COLOR_BTNFACE)) >> 8);
    left->whileDrawing = [&] {
        if (left->drawn == 2) {
            left->red = 0x40;
            RedrawWindow(native(), nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        }
    };
    left->refresh();
    UpdateWindow(native());
    EXPECT_EQ(pixelOf(native(), {10, 10}), 0x401020U) << "painted again";
    EXPECT_EQ(left->drawn, 3);
}

TEST_F(SurfaceTest, colours_changed_reachAllThatIsOnTheSurface) {
    const auto field = show(service().createNativeTextBox(), {0, 40, 89, 64});
    const auto combo = show(service().createNativeComboBox(), {0, 80, 89, 104});
    combo->setEditable(true);
    const auto bar = show(service().createNativeProgressBar(), {120, 60, 159, 69});
    const auto probe = addProbe({120, 90, 159, 109});
    const auto dialog = makeDialog();
    dialog->synchronizeTree();
    const HWND label = CreateWindowW(L"STATIC", L"", WS_CHILD | WS_VISIBLE, 120, 20, 40, 20,
                                     native(), nullptr, nullptr, nullptr);
    const HWND list = nativeWindowOf(*combo);
    const Canvas canvas({10, 10});
    const auto context = reinterpret_cast<WPARAM>(canvas.context());
    const std::tuple<Control*, HWND, UINT, HWND> kRows[] = {
        {window_.get(), native(), WM_CTLCOLORSTATIC, label},
        {window_.get(), native(), WM_CTLCOLORSTATIC, nativeWindowOf(*bar)},
        {dialog.get(), nativeWindowOf(*dialog), WM_CTLCOLORSTATIC, label},
        {field.get(), native(), WM_CTLCOLOREDIT, nativeWindowOf(*field)},
        {combo.get(), native(), WM_CTLCOLOREDIT, list},
        {combo.get(), list, WM_CTLCOLORLISTBOX, FindWindowExW(list, nullptr, L"Edit", nullptr)}};
    std::uint8_t red = 0x10;
    for (const auto& [control, asked, message, child] : kRows) {
        auto colors = std::make_shared<ColorsDescriptor>();
        colors->setColor(ColorRole::kBackground, Color::rgb(++red, 0x34, 0x56));
        colors->setColor(ColorRole::kText, Color::rgb(0xFE, 0xDC, red));
        control->setColors(colors);
        EXPECT_EQ(send(asked, message, context, reinterpret_cast<LPARAM>(child)),
                  reinterpret_cast<LRESULT>(GetStockObject(DC_BRUSH)));
        EXPECT_EQ(GetBkColor(canvas.context()), COLORREF{RGB(red, 0x34, 0x56)}) << message;
        EXPECT_EQ(GetTextColor(canvas.context()), COLORREF{RGB(0xFE, 0xDC, red)}) << message;
    }
    EXPECT_EQ(pixelOf(native(), {5, 5}), 0x123456U);
    EXPECT_EQ(pixelOf(nativeWindowOf(*field), {60, 20}), 0x143456U);
    EXPECT_EQ(send(native(), WM_ERASEBKGND, context), 1);
    send(native(), WM_PRINTCLIENT, context);
    EXPECT_EQ(canvas.pixel(5, 5), 0x123456U);
    SetWindowLongPtrW(label, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&answerAsHost));
    probe->red = 0x77;
    send(native(), WM_SYSCOLORCHANGE);
    EXPECT_EQ(systemColorsHeard, 1);
    EXPECT_EQ(pixelOf(native(), {120, 90}), 0x771020U);
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
    bool isOuterSeen = false;
    const auto owner = std::make_shared<FunctionSink>([&](const MessageKind& kind, auto...) {
        isOuterSeen |= kind == Control::kEnterFocus && IsWindowVisible(nativeWindowOf(*outer));
    });
    probe->connect(owner, false);
    for (const int result : {5, 6}) {
        const Steps steps{lookAtOuter, lookAtInner, [&] { outer->hide(result); }};
        EXPECT_EQ(outer->show(true), result);
        EXPECT_TRUE(innerResult == kAnswerNone && !outer->isOpen() && !inner->isOpen());
        EXPECT_TRUE(IsWindowEnabled(native()) && IsWindowVisible(native()));
        EXPECT_TRUE(GetActiveWindow() == native() && probe->hasFocus());
        EXPECT_TRUE(std::exchange(isOuterSeen, false)) << "gone before its owner was active";
        MSG woken{};
        EXPECT_TRUE(PeekMessageW(&woken, reinterpret_cast<HWND>(-1), 0, 0, PM_REMOVE) &&
                    woken.message == WM_NULL);
    }
}

TEST_F(SurfaceTest, dialog_releasedOrDropped_returnsAndShowsNothing) {
    auto dialog = makeDialog();
    NativeDialog& shown = *dialog;
    dialog->show(false);
    dialog->releaseTree();
    EXPECT_FALSE(dialog->isOpen());
    const auto probe = addProbe({0, 0, 49, 49});
    probe->takeFocus();
    const auto user = std::make_shared<FunctionSink>([&](auto&&...) { dialog->releaseTree(); });
    probe->connect(user, false);
    const Steps steps{[&] { dialog.reset(); }};
    EXPECT_EQ(shown.show(true), kAnswerNone) << "by who loses the focus";
    EXPECT_FALSE(dialog->isOpen() || dialog->hasNativeObject() || !IsWindowEnabled(native()));
    probe->disconnect(user.get());
    EXPECT_EQ(shown.show(true), kAnswerNone);
    const auto end = [&](auto&&...) { window_->removeAllChildren(); };
    show(service().createNativeButton(), {})->connect(std::make_shared<FunctionSink>(end), false);
    send(GetWindow(native(), GW_CHILD), WM_KEYDOWN, VK_ESCAPE);
    EXPECT_TRUE(window_->children().empty());
}

TEST_F(SurfaceTest, dialog_quitOrHiddenByItsService_endsAndIgnoresWhatMayNotCloseIt) {
    const auto dialog = makeDialog(NativeDialog::kStyleNotClosable | NativeDialog::kStyleResizable);
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
        EXPECT_TRUE(GetWindowLongW(shown, GWL_STYLE) & WS_THICKFRAME);
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
    // A widget outside of a surface lies on it, and keeps what it says to itself.
    const std::tuple<std::shared_ptr<Control>, UINT, int> kRows[] = {
        {service->createNativeButton(), WM_COMMAND, BN_CLICKED},
        {service->createNativeTextBox(), WM_COMMAND, EN_CHANGE},
        {service->createNativeComboBox(), WM_COMMAND, CBN_EDITCHANGE},
        {service->createNativeScrollBar(false), WM_HSCROLL, SB_TOP}};
    for (const auto& [widget, id, what] : kRows) {
        widget->synchronizeTree();
        const HWND shown = nativeWindowOf(*widget);
        EXPECT_EQ(GetParent(shown), host);
        EXPECT_EQ(send(host, id, MAKEWPARAM(what, what), reinterpret_cast<LPARAM>(shown)), 0);
        service->setFocus(*widget);
        EXPECT_EQ(GetFocus(), shown);
    }
    EXPECT_EQ(send(host, WM_NOTIFY) + send(host, WM_DRAWITEM), 0) << "from nobody";
    service->closeWindow();
    runMessages(1000, [&] { return !IsWindow(host); });
    EXPECT_FALSE(IsWindow(host));
}

TEST_F(SurfaceTest, popup_atAnyPlace_staysOnTheScreenAndOutOfTheWay) {
    const auto popup = makeDialog(NativeDialog::kStylePopup);
    const auto field = addProbe({0, 0, 9, 9}, popup.get());
    popup->setBoundary(Rect::at({1270, 1020}, {120, 90}));
    popup->show(false);
    const HWND shown = nativeWindowOf(*popup);
    const Rect screen = workAreaAround(shown);
    EXPECT_EQ(windowRect(shown).position(), (Point{screen.right - 119, screen.bottom - 89}));
    popup->setBoundary(Rect::at({-30, 40}, {120, 90}));
    EXPECT_EQ(windowRect(shown).position(), (Point{0, 40}));
    EXPECT_EQ(send(shown, WM_MOUSEACTIVATE, 0, HTCLIENT), MA_NOACTIVATE);
    const auto hit = [shown](Point at) {
        const POINT place = onScreen(shown, at);
        return send(shown, WM_NCHITTEST, 0, MAKELPARAM(place.x, place.y));
    };
    EXPECT_TRUE(hit({5, 5}) == HTCLIENT && hit({50, 50}) == HTTRANSPARENT);
    send(shown, WM_ACTIVATE, WA_ACTIVE);
    EXPECT_FALSE(field->hasFocus());
}

TEST_F(SurfaceTest, menu_shown_hasItsItemsAndAnswersWithTheChosenOne) {
    auto menu = service().createNativePopupMenu();
    menu->setItems({{100000, L"&First", 120, true, true, {}},
                    {},
                    {200000, L"Second", 0, false, false, {}},
                    {1, L"More", 0, true, false, {{300000, L"Inner", 0, true, true, {}}}}});
    menu->connect(log_, false);
    const auto other = makeWindow({50, 50});
    SetForegroundWindow(nativeWindowOf(*other));
    const auto look = [&] {
        const auto shown = reinterpret_cast<HMENU>(
            send(FindWindowW(L"#32768", nullptr), 0x01E1 /* MN_GETHMENU */));
        std::wstring states;
        for (UINT i = 0; i < 4; ++i) {
            states += std::to_wstring(GetMenuState(shown, i, MF_BYPOSITION) & 0xFFF) + L" ";
        }
        EXPECT_EQ(states, L"8 2048 3 272 ") << "checked, a line, disabled, with one below";
        EXPECT_EQ(GetForegroundWindow(), native());
        EXPECT_EQ(windowRect(FindWindowW(L"#32768", nullptr)).position(), (Point{200, 200}));
    };
    const auto key = [](WORD code) { return [code] { pressKeys({code}); }; };
    const Steps keys{look, key('F'), key(VK_UP), key(VK_RIGHT), key(VK_RETURN), key(VK_ESCAPE)};
    for (const std::uint32_t chosen : {100000U, 300000U, 0U}) {
        EXPECT_EQ(menu->show({200, 200}), chosen);
    }
    EXPECT_EQ(log_->take(), L"selected selected");
    MSG woken{};
    EXPECT_TRUE(PeekMessageW(&woken, native(), 0, 0, PM_REMOVE) && woken.message == WM_NULL);
    menu = makeWindowService(nullptr)->createNativePopupMenu();
    menu->setItems({{100000, L"First", 120, true, true, {}}});
    NativePopupMenu& shown = *menu;
    const Steps steps{[&] { menu.reset(); }, key(VK_DOWN), key(VK_RETURN)};
    EXPECT_EQ(shown.show({200, 200}), 100000U) << "dropped while it was open";
}

}  // namespace
}  // namespace zustd::test
