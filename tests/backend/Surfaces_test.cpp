// Windows, dialogs, menus and what is painted on them.
#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuNativePopupMenu.h"
#include "ZuNativeTreeView.h"
#include "ZuResourceServiceGeneric.h"
#include "ZuWindowHandlerWin32Gdi.h"
#include "support/FrameworkTest.h"
#include "support/SurfaceTest.h"
#include "support/ToolkitTest.h"
// Behind the wrapper.
#include <commctrl.h>
#include <dlgs.h>

namespace zustd {
namespace {

using namespace test;

// --- Windows --------------------------------------------------------------------------------

TEST_F(SurfaceTest, window_synchronised_hasClientAreaCaptionAndState) {
    const auto window = makeWindow({300, 200});
    HWND native = nativeWindowOf(*window);
    window->caption().setLiteral(L"Другое");
    EXPECT_EQ(textOf(native), L"Другое");
    for (const bool isMadeAnew : {false, true}) {
        window->setVisible(isMadeAnew);
        window->setEnabled(isMadeAnew);
        EXPECT_EQ(clientSizeOf(native), (Size{300, 200}));
        EXPECT_EQ(IsWindowVisible(native) != FALSE, isMadeAnew);
        EXPECT_EQ(IsWindowEnabled(native) != FALSE, isMadeAnew);
        window->releaseTree();
        EXPECT_FALSE(IsWindow(native));
        window->synchronizeTree();
        native = nativeWindowOf(*window);
    }
}

TEST_F(SurfaceTest, childWindow_onAMovedContainer_followsItAndItsNewSurface) {
    const auto window = makeWindow({300, 200});
    const auto container = addProbe(*window, Rect::at({20, 30}, {200, 150}));
    const auto child = window->windowService()->createNativeWindow();
    child->setBoundary(Rect::at({5, 6}, {40, 50}));
    container->addChild(child);
    const HWND native = nativeWindowOf(*child);
    ASSERT_NE(native, nullptr);
    EXPECT_EQ(GetParent(native), nativeWindowOf(*window));
    container->moveTo({60, 70});
    EXPECT_EQ(windowRect(native, GetParent(native)), Rect::at({65, 76}, {40, 50}));
    const auto other = makeWindow({100, 100});
    other->addChild(child);
    EXPECT_FALSE(IsWindow(native));
    EXPECT_EQ(GetParent(nativeWindowOf(*child)), nativeWindowOf(*other));
    DestroyWindow(nativeWindowOf(*other));
    EXPECT_EQ(nativeWindowOf(*child), nullptr);
    EXPECT_FALSE(other->hasNativeObject());
    EXPECT_EQ(windowServiceBackend(other->windowService().get())->window(), nullptr);
}

TEST_F(SurfaceTest, resize_byTheUser_laysOutAgainAndKeepsToTheLimits) {
    const auto window = makeWindow({300, 200});
    const HWND native = nativeWindowOf(*window);
    window->setArrangement({.flow = Flow::kRows});
    const auto probe = addProbe(*window, Rect::at({}, {50, 20}));
    probe->setPlacement({.autoSized = true});
    window->setPlacement({.minimum = {250, 150}});
    const auto drag = [&](int width, int height) {
        SetWindowPos(native, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER);
    };
    drag(500, 400);
    EXPECT_EQ(window->boundary().size(), clientSizeOf(native));
    EXPECT_EQ(probe->boundary().width(), clientSizeOf(native).width);
    drag(10, 10);
    EXPECT_EQ(window->boundary().size(), (Size{250, 150}));
    EXPECT_EQ(probe->boundary().width(), 250);
    EXPECT_EQ(clientSizeOf(native), (Size{250, 150}));
    window->setSize({20, 20});
    EXPECT_EQ(window->boundary().size(), (Size{250, 150}));
    // Another screen asks for another size.
    const RECT area{100, 110, 700, 610};
    SendMessageW(native, WM_DPICHANGED, MAKEWPARAM(144, 144), reinterpret_cast<LPARAM>(&area));
    EXPECT_EQ(windowRect(native), (Rect{100, 110, 699, 609}));
    EXPECT_EQ(window->boundary().size(), clientSizeOf(native));
}

TEST_F(SurfaceTest, close_receiverObjects_staysOpenOtherwiseHides) {
    auto window = makeWindow({100, 100});
    const HWND native = nativeWindowOf(*window);
    const auto objector = std::make_shared<Objector>();
    window->connect(objector, false);
    SendMessageW(native, WM_CLOSE, 0, 0);
    EXPECT_TRUE(IsWindowVisible(native));
    objector->objects = false;
    window->windowService()->closeWindow();
    runMessages(50);
    EXPECT_EQ(objector->asked, 2);
    EXPECT_FALSE(IsWindowVisible(native));
    EXPECT_FALSE(window->isVisible());
    // Whoever is asked may drop it.
    window->connect(std::make_shared<FunctionSink>([&](auto&&...) { window.reset(); }), false);
    SendMessageW(native, WM_CLOSE, 0, 0);
    EXPECT_FALSE(window || IsWindow(native));
}

TEST_F(SurfaceTest, service_showsAndHides_theSurfaceKnows) {
    const auto window = makeWindow({100, 100});
    const HWND native = nativeWindowOf(*window);
    WindowService& service = *window->windowService();
    service.hideWindow();
    EXPECT_FALSE(IsWindowVisible(native) || window->isVisible());
    window->setVisible(true);
    EXPECT_TRUE(IsWindowVisible(native));
    service.hideWindow();
    service.makeWindowVisibleAtPos({30, 40});
    EXPECT_TRUE(IsWindowVisible(native) && window->isVisible());
    EXPECT_EQ(service.getWindowPosition(), (Point{30, 40}));
    service.enableWindow(false);
    window->setEnabled(false);
    window->setEnabled(true);
    EXPECT_FALSE(IsWindowEnabled(native));
    service.enableWindow(true);
    EXPECT_TRUE(IsWindowEnabled(native));
    // A dialog that is hidden has ended, one that is shown is open.
    const auto dialog = makeDialog(window, NativeDialog::kStyleNotClosable);
    const Steps steps{[&] { dialog->windowService()->closeWindow(); },
                      [&] { PostMessageW(nativeWindowOf(*dialog), WM_SYSCOMMAND, SC_CLOSE, 0); },
                      [&] { PostMessageW(nativeWindowOf(*dialog), WM_COMMAND, IDCANCEL, 0); },
                      [&] {
                          EXPECT_TRUE(dialog->isOpen());
                          dialog->windowService()->hideWindow();
                      }};
    EXPECT_EQ(dialog->show(true), kAnswerNone);
    EXPECT_TRUE(IsWindowEnabled(native));
    dialog->windowService()->showWindow();
    EXPECT_TRUE(dialog->isOpen());
}

TEST_F(SurfaceTest, service_placesPointerAndAreas_areTheWindows) {
    const auto window = makeWindow({200, 100});
    const HWND native = nativeWindowOf(*window);
    WindowService& service = *window->windowService();
    EXPECT_EQ(service.getWindowSize(), windowRect(native).size());
    EXPECT_EQ(service_->getWindowSize(), Size{});
    const POINT place = onScreen(native, {7, 9});
    EXPECT_EQ(service.getClientPosition(), (Point{place.x - 7, place.y - 9}));
    movePointer(place);
    EXPECT_EQ(service.getMousePosition(), (Point{7, 9}));
    EXPECT_EQ(service_->getMousePosition(), (Point{place.x, place.y}));
    EXPECT_TRUE(service.isWindowVisibleAtPos({place.x, place.y}));
    EXPECT_FALSE(service.isWindowVisibleAtPos({1279, 1023}));
    RECT area{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    EXPECT_EQ(service.getWorkArea(), portableRect(area));
    service.captureMouse();
    service_->releaseMouse();
    EXPECT_EQ(GetCapture(), native);
    service.releaseMouse();
    EXPECT_EQ(GetCapture(), nullptr);
    service.updateWindow();
    EXPECT_FALSE(GetUpdateRect(native, nullptr, FALSE));
    service.invalidate({5, 6, 20, 30});
    EXPECT_TRUE(GetUpdateRect(native, &area, FALSE));
    EXPECT_EQ(portableRect(area), (Rect{5, 6, 20, 30}));
    service.invalidate();
    GetUpdateRect(native, &area, FALSE);
    EXPECT_EQ(portableRect(area), (Rect{0, 0, 199, 99}));
    const TraceCapture trace(kTraceLevelInfo);
    WindowServiceWin32Gdi::setScalingFactor(0.0);
    EXPECT_EQ(service.getScalingFactor(), GetSystemMetrics(SM_CXSMICON) / 16.0);
    EXPECT_EQ(trace.messages(),
              (Lines{"WindowServiceWin32Gdi::getScalingFactor: setting scalingFactor to " +
                     std::to_string(service.getScalingFactor())}));
    int cursor = 0;
    for (const int identifier : {32512, 32649, 32513, 32514, 32644, 32645, 32646, 32648}) {
        service.setCursor(static_cast<MouseCursor>(cursor++));
        EXPECT_EQ(GetCursor(), LoadCursorW(nullptr, MAKEINTRESOURCEW(identifier))) << cursor;
    }
}

TEST_F(SurfaceTest, selectFileToOpen_userChooses_getsTheFile) {
    const TempFolder folder;
    const std::wstring file = folder.file(L"chosen.txt");
    writeBytes(file, "x");
    const auto window = makeWindow({300, 200});
    std::vector<std::wstring> filters;
    const Steps steps{[] {}, [] { PostMessageW(GetActiveWindow(), WM_COMMAND, IDCANCEL, 0); },
                      [] {},
                      [&] {
                          EXPECT_FALSE(IsWindowEnabled(nativeWindowOf(*window)));
                          // The list of patterns is the combo box that ends like this.
                          const HWND list = GetDlgItem(GetActiveWindow(), cmb1);
                          for (LRESULT i = 0; i < SendMessageW(list, CB_GETCOUNT, 0, 0); ++i) {
                              wchar_t item[64] = L"";
                              SendMessageW(list, CB_GETLBTEXT, static_cast<WPARAM>(i),
                                           reinterpret_cast<LPARAM>(item));
                              filters.emplace_back(item);
                          }
                          const HWND field = GetDlgItem(GetActiveWindow(), cmb13);
                          EXPECT_EQ(textOf(field), L"suggested.txt");
                          SetWindowTextW(field, file.c_str());
                          PostMessageW(GetActiveWindow(), WM_COMMAND, IDOK, 0);
                      }};
    for (const std::wstring& chosen : {std::wstring(), file}) {
        EXPECT_EQ(window->windowService()->selectFileToOpen(
                      L"suggested.txt", {L"*.txt", L"", L"*.log"}, {L"Texts", L"None", L""}, false),
                  chosen);
    }
    EXPECT_EQ(filters, (Texts{L"Texts", L"*.log", L"All Files"}));
    EXPECT_TRUE(IsWindowEnabled(nativeWindowOf(*window)));
}

// --- Painting -------------------------------------------------------------------------------

TEST_F(SurfaceTest, paint_drawnChildren_coverTheBackgroundAndOnlyTheInvalidPart) {
    const auto window = makeWindow({200, 100});
    const HWND native = nativeWindowOf(*window);
    const auto left = addProbe(*window, Rect::at({10, 10}, {50, 50}));
    const auto right = addProbe(*window, Rect::at({100, 10}, {50, 50}));
    right->red = 0x40;
    const std::uint32_t background = pixelOf(native, {5, 5});
    EXPECT_EQ(nativeColor(systemColor(COLOR_BTNFACE)), GetSysColor(COLOR_BTNFACE));
    EXPECT_EQ(RGB(background >> 16, background >> 8, background), GetSysColor(COLOR_BTNFACE));
    EXPECT_EQ(pixelOf(native, {59, 59}), 0xC01020U);
    EXPECT_EQ(pixelOf(native, {60, 60}), background);
    const int leftBefore = left->drawn;
    right->refresh();
    EXPECT_EQ(pixelOf(native, {100, 10}), 0x401020U);
    EXPECT_EQ(left->drawn, leftBefore);
    left->moveTo({20, 20});
    EXPECT_EQ(pixelOf(native, {10, 10}), background);
}

TEST_F(SurfaceTest, paint_failingOrNested_showsWhatThereIsAndTheRestLater) {
    const auto window = makeWindow({200, 100});
    const HWND native = nativeWindowOf(*window);
    auto& service = *windowServiceBackend(window->windowService().get());
    const auto probe = addProbe(*window, Rect::at({10, 10}, {50, 50}));
    probe->whileDrawing = [] { throw std::wstring(L"torn"); };
    EXPECT_EQ(pixelOf(native, {10, 10}), 0xC01020U);
    EXPECT_TRUE(service.getDrawArea().isEmpty());
    Rect painted;
    probe->whileDrawing = [&] {
        painted = service.getDrawArea();
        if (probe->drawn == 2) {
            probe->red = 0x40;
            RedrawWindow(native, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
        }
    };
    probe->refresh();
    UpdateWindow(native);
    EXPECT_EQ(probe->drawn, 2);
    EXPECT_EQ(painted, probe->boundary());
    EXPECT_EQ(pixelOf(native, {10, 10}), 0x401020U) << "painted again";
    EXPECT_EQ(probe->drawn, 3);
}

TEST_F(SurfaceTest, systemColours_changed_reachWhatIsOnTheSurface) {
    const auto window = makeWindow({200, 100});
    const auto child = window->windowService()->createNativeWindow();
    child->setSize({100, 100});
    window->addChild(child);
    const auto tree = window->windowService()->createNativeTreeView();
    tree->setBoundary(Rect::at({}, {50, 50}));
    child->addChild(tree);
    const INT index = COLOR_WINDOW;
    const COLORREF before = GetSysColor(index);
    COLORREF color = RGB(0x11, 0x22, 0x33);
    SetSysColors(1, &index, &color);
    runMessages(50);
    EXPECT_EQ(static_cast<COLORREF>(SendMessageW(nativeWindowOf(*tree), TVM_GETBKCOLOR, 0, 0)),
              color);
    SetSysColors(1, &index, &before);
    runMessages(50);
    EXPECT_EQ(static_cast<COLORREF>(SendMessageW(nativeWindowOf(*tree), TVM_GETBKCOLOR, 0, 0)),
              before);
}

TEST_F(SurfaceTest, paint_backgroundColour_reachesChildWindowsAndNativeChildren) {
    const auto window = makeWindow({200, 100});
    const HWND native = nativeWindowOf(*window);
    const auto child = window->windowService()->createNativeWindow();
    child->setBoundary(Rect::at({50, 0}, {50, 50}));
    window->addChild(child);
    auto colors = std::make_shared<ColorsDescriptor>();
    colors->setColor(ColorRole::kBackground, Color::rgb(0x12, 0x34, 0x56));
    colors->setColor(ColorRole::kText, Color::rgb(0xFE, 0xDC, 0xBA));
    window->setColors(colors);
    EXPECT_EQ(pixelOf(native, {5, 5}), 0x123456U);
    EXPECT_EQ(pixelOf(nativeWindowOf(*child), {5, 5}), 0x123456U);
    const WindowHandle label(CreateWindowW(L"STATIC", L"", WS_CHILD | WS_VISIBLE, 120, 20, 40, 20,
                                           native, nullptr, nullptr, nullptr));
    EXPECT_EQ(pixelOf(label.get(), {5, 5}), 0x123456U);
    const Canvas canvas({10, 10});
    EXPECT_EQ(SendMessageW(native, WM_ERASEBKGND, reinterpret_cast<WPARAM>(canvas.context()), 0),
              1);
    SendMessageW(native, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(canvas.context()),
                 reinterpret_cast<LPARAM>(label.get()));
    EXPECT_EQ(GetTextColor(canvas.context()), RGB(0xFE, 0xDC, 0xBA));
}

// --- Dialogs --------------------------------------------------------------------------------

TEST_F(SurfaceTest, modalDialog_escape_endsTheLoopAndGivesBackTheOwner) {
    const auto window = makeWindow({300, 200});
    const HWND owner = nativeWindowOf(*window);
    const auto probe = addProbe(*window, Rect::at({0, 0}, {50, 50}));
    probe->takeFocus();
    const auto dialog = makeDialog(window);
    const auto field = addProbe(*dialog, Rect::at({0, 0}, {10, 10}));
    for (int round = 0; round < 2; ++round) {
        const Steps steps{[&] {
                              const HWND native = nativeWindowOf(*dialog);
                              EXPECT_FALSE(IsWindowEnabled(owner));
                              EXPECT_EQ(GetForegroundWindow(), native);
                              EXPECT_EQ(clientSizeOf(native), (Size{120, 90}));
                              EXPECT_LE(std::abs(middleOf(native).x - middleOf(owner).x), 1);
                              EXPECT_LE(std::abs(middleOf(native).y - middleOf(owner).y), 1);
                              EXPECT_TRUE(field->hasFocus());
                              EXPECT_FALSE(probe->hasFocus());
                              // Neither wakes the owner up.
                              window->setEnabled(true);
                              window->caption().setLiteral(std::to_wstring(round));
                              SendMessageW(owner, WM_CLOSE, 0, 0);
                              window->windowService()->enableWindow(true);
                              EXPECT_FALSE(IsWindowEnabled(owner));
                          },
                          [] { pressKeys({VK_ESCAPE}); }};
        EXPECT_EQ(dialog->show(true), kAnswerCancel);
        EXPECT_TRUE(IsWindowEnabled(owner));
        EXPECT_TRUE(IsWindowVisible(owner));
        EXPECT_EQ(GetActiveWindow(), owner);
        EXPECT_TRUE(probe->hasFocus());
        EXPECT_FALSE(dialog->isOpen());
    }
}

// Whoever hears of the focus that moves, or of a press that ends, ends the dialog,
// its window, its owner or all, at any of these moments, or when it is open.
TEST_F(SurfaceTest, dialog_endedAtAnyMoment_returnsAndShowsNothing) {
    for (int round = 0; round < 10; ++round) {
        int heard = 0;
        for (int at = 0; at <= heard; ++at) {
            SCOPED_TRACE(testing::Message() << round << " " << at);
            auto window = makeWindow({300, 200});
            const auto probe = addProbe(*window, Rect::at({0, 0}, {50, 50}));
            probe->takeFocus();
            sendMouse(nativeWindowOf(*window), WM_LBUTTONDOWN, {5, 5});
            auto dialog = makeDialog(window);
            NativeDialog& shown = *dialog;
            const std::function<void()> ends[] = {
                [&] { dialog.reset(); }, [&] { dialog->hide(kAnswerOk); },
                [&] { dialog->releaseTree(); }, [&] { DestroyWindow(nativeWindowOf(*window)); },
                [&] { window.reset(); }};
            heard = 0;
            const auto ender = std::make_shared<FunctionSink>([&](auto&&...) {
                if (heard++ == at) {
                    ends[round / 2]();
                }
            });
            probe->connect(ender, false);
            addProbe(*dialog, Rect::at({0, 0}, {10, 10}))->connect(ender, false);
            bool isLate = false;
            const Steps steps{[&] {
                isLate = true;
                if (dialog && dialog->isOpen()) {
                    ends[round / 2]();
                }
            }};
            EXPECT_EQ(shown.show(round % 2 == 0), round == 2 ? kAnswerOk : kAnswerNone);
            while (!isLate) {
                runMessages(1);
            }
            EXPECT_FALSE(dialog && (dialog->isOpen() || IsWindowVisible(nativeWindowOf(*dialog))));
            EXPECT_EQ(dialog && dialog->hasNativeObject(), round / 2 == 1);
            if (window && window->hasNativeObject()) {
                EXPECT_TRUE(IsWindowEnabled(nativeWindowOf(*window)));
                EXPECT_TRUE(at < heard || GetActiveWindow() == nativeWindowOf(*window));
            }
        }
        EXPECT_GT(heard, 0);
    }
}

TEST_F(SurfaceTest, modalDialog_quit_endsItAndIsLeftForTheApplication) {
    const auto window = makeWindow({300, 200});
    const auto dialog = makeDialog(window);
    {
        const Steps steps{[] { PostQuitMessage(42); }};
        EXPECT_EQ(dialog->show(true), kAnswerNone);
        EXPECT_FALSE(IsWindowVisible(nativeWindowOf(*dialog)));
        ApplicationServiceWin32Gdi application;
        EXPECT_EQ(application.runMessageLoop(), 42);
    }
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

TEST_F(SurfaceTest, modalDialogs_nestedOverOneOwner_disableEachOtherAndEndTogether) {
    const auto window = makeWindow({300, 200});
    const auto outer = makeDialog(window);
    const auto inner = makeDialog(window);
    int innerResult = -1;
    const Steps steps{[&] { innerResult = inner->show(true); },
                      [&] {
                          EXPECT_FALSE(IsWindowEnabled(nativeWindowOf(*outer)));
                          EXPECT_FALSE(IsWindowEnabled(nativeWindowOf(*window)));
                          EXPECT_EQ(GetWindow(nativeWindowOf(*inner), GW_OWNER),
                                    nativeWindowOf(*outer));
                          inner->hide(7);
                      },
                      [&] {
                          EXPECT_EQ(innerResult, 7);
                          EXPECT_EQ(GetActiveWindow(), nativeWindowOf(*outer));
                          innerResult = inner->show(true);
                      },
                      [&] { outer->hide(5); }};
    EXPECT_EQ(outer->show(true), 5);
    EXPECT_EQ(innerResult, kAnswerNone);
    EXPECT_FALSE(inner->isOpen());
    EXPECT_TRUE(IsWindowEnabled(nativeWindowOf(*window)));
}

TEST_F(SurfaceTest, popup_shown_staysInactiveInFrontAndOnTheScreen) {
    const auto window = makeWindow({300, 200});
    const auto popup = makeDialog(window, NativeDialog::kStylePopup);
    popup->moveTo({1270, 100});
    EXPECT_EQ(popup->show(false), kAnswerNone);
    const HWND native = nativeWindowOf(*popup);
    EXPECT_TRUE(popup->isOpen());
    EXPECT_TRUE(IsWindowVisible(native));
    EXPECT_EQ(GetActiveWindow(), nativeWindowOf(*window));
    EXPECT_EQ(windowRect(native), Rect::at({1160, 100}, {120, 90}));
    popup->moveTo({40, 50});
    EXPECT_EQ(windowRect(native).position(), (Point{40, 50}));
    EXPECT_EQ(SendMessageW(native, WM_NCHITTEST, 0, MAKELPARAM(50, 60)), HTTRANSPARENT);
    popup->hide(kAnswerNone);
    EXPECT_FALSE(IsWindowVisible(native));
}

// --- Menus ----------------------------------------------------------------------------------

class MenuTest : public SurfaceTest {
protected:
    std::shared_ptr<NativeWindow> window_ = makeWindow({300, 200});
    std::shared_ptr<NativePopupMenu> menu_ = window_->windowService()->createNativePopupMenu();
};

TEST_F(MenuTest, show_choiceByKeys_skipsWhatCannotBeChosen) {
    menu_->addItem(100000, L"&First");
    menu_->addSeparator();
    menu_->addItem(200000, L"Second");
    PopupMenuItem below;
    below.identifier = 1;
    below.caption = L"More";
    below.items.push_back({300000, L"Inner", 0, true, true, {}});
    auto items = menu_->items();
    items.push_back(below);
    menu_->setItems(items);
    const auto log = std::make_shared<MessageLog>();
    menu_->connect(log, false);
    const auto choose = [&](std::initializer_list<WORD> keys) {
        const Steps steps{[] {},
                          [&] {
                              for (const WORD key : keys) {
                                  pressKeys({key});
                              }
                          }};
        return menu_->show({200, 200});
    };
    EXPECT_EQ(choose({VK_DOWN, VK_DOWN, VK_RETURN}), 200000U);
    ASSERT_EQ(log->entries.size(), 1U);
    EXPECT_EQ(log->entries[0].b.number(), 200000);
    EXPECT_EQ(choose({'F'}), 100000U);
    EXPECT_EQ(choose({VK_UP, VK_RIGHT, VK_RETURN}), 300000U);
    EXPECT_EQ(choose({VK_ESCAPE, VK_ESCAPE}), 0U);
    EXPECT_EQ(log->take(), L"selected selected selected");
}

TEST_F(MenuTest, show_anyItem_hasItsStateAndImage) {
    const auto resources = makeService<ResourceService>();
    ResourceServiceGeneric::install(*resources, compiledInResources());
    window_->windowService()->registerService(resources, true, true);
    menu_->setItems({{1, L"Off", 120, false, true, {}}, {2, L"On", 0, true, false, {}}, {}});
    std::vector<MENUITEMINFOW> items(3);
    const Steps steps{[] {},
                      [&] {
                          const HWND seen = FindWindowW(L"#32768", nullptr);
                          const auto menu = reinterpret_cast<HMENU>(
                              SendMessageW(seen, 0x01E1 /* MN_GETHMENU */, 0, 0));
                          EXPECT_EQ(GetMenuItemCount(menu), 3);
                          for (UINT i = 0; i < 3; ++i) {
                              items[i].cbSize = sizeof(MENUITEMINFOW);
                              items[i].fMask = MIIM_FTYPE | MIIM_STATE | MIIM_BITMAP;
                              GetMenuItemInfoW(menu, i, TRUE, &items[i]);
                          }
                          pressKeys({VK_ESCAPE});
                      }};
    menu_->show({200, 200});
    EXPECT_EQ(items[0].fState & (MFS_CHECKED | MFS_DISABLED), UINT{MFS_CHECKED | MFS_DISABLED});
    EXPECT_NE(items[0].hbmpItem, nullptr);
    EXPECT_EQ(items[1].fState & (MFS_CHECKED | MFS_DISABLED), 0U);
    EXPECT_EQ(items[1].hbmpItem, nullptr);
    EXPECT_EQ(items[2].fType, UINT{MFT_SEPARATOR});
}

TEST_F(MenuTest, show_droppedWhileOpen_stillAnswers) {
    menu_->addItem(7, L"Only");
    NativePopupMenu& shown = *menu_;
    const std::weak_ptr<NativePopupMenu> watched = menu_;
    const Steps steps{[&] { menu_.reset(); }, [] { pressKeys({VK_DOWN}); },
                      [] { pressKeys({VK_RETURN}); }};
    EXPECT_EQ(shown.show({200, 200}), 7U);
    EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace zustd
