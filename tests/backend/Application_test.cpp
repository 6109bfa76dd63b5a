// The door to the host system, its timers, and what comes from mouse and keyboard.
#include <shlobj.h>

#include <regex>
#include <thread>

#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuNativeTextBox.h"
#include "support/SurfaceTest.h"

extern "C" void* __imp_SHGetSpecialFolderPathW IMPORT_SLOT("SHGetSpecialFolderPathW", "@16");

namespace zustd::test {
namespace {

std::string reportsOf(const TraceCapture& trace) {
    std::string reports;
    for (const std::string& line : trace.messages()) {
        reports += line + "; ";
    }
    return std::regex_replace(reports, std::regex("ServiceWin32Gdi|could not get directory "), "");
}

class ApplicationTest : public SurfaceTest {
protected:
    ~ApplicationTest() override { setCriticalError(kCriticalErrorNone); }
    std::shared_ptr<ApplicationService> application_ = makeRecordingApplicationService();
};

TEST_F(ApplicationTest, names_ofHostAndFolders_areTheSystems) {
    wchar_t text[MAX_PATH] = L"";
    DWORD size = MAX_PATH;
    GetComputerNameW(text, &size);
    EXPECT_EQ(application_->getComputerName(), text);
    EXPECT_TRUE(application_->getMachineSid().starts_with(L"S-1-5-21-"));
    GetModuleFileNameW(nullptr, text, MAX_PATH);
    EXPECT_EQ(application_->getApplicationDirectory() + L"\\backend_tests.exe", text);
    dynamic_cast<ApplicationServiceWin32Gdi&>(application_->implementation())
        .setModuleInstance(GetModuleHandleW(L"kernel32.dll"));
    GetSystemDirectoryW(text, MAX_PATH);
    EXPECT_EQ(_wcsicmp(application_->getApplicationDirectory().c_str(), text), 0);
    application_->setApplicationName(L"Tests of the backend");
    const std::wstring data = application_->getUserAppDataDirectory() + L"\\Tests of the backend";
    for (const bool create : {false, true}) {
        EXPECT_EQ(application_->getApplicationDataDirectory(create), data);
        EXPECT_EQ(RemoveDirectoryW(data.c_str()) != FALSE, create) << "only when wanted";
    }
}

// How many folders the shell has.
int shellFolders = 0;

BOOL WINAPI findFolder(HWND, wchar_t* path, int folder, BOOL) noexcept {
    wcscpy(path, folder == CSIDL_APPDATA ? L"A:" : L"P:");
    return shellFolders > (folder == CSIDL_APPDATA ? 1 : 0);
}

TEST_F(ApplicationTest, shell_withoutFolders_isReplacedAndReported) {
    const TraceCapture trace(kTraceLevelInfo);
    const ReplacedImport shell(__imp_SHGetSpecialFolderPathW, reinterpret_cast<void*>(&findFolder));
    std::wstring found;
    for (shellFolders = 2; shellFolders >= 0; --shellFolders) {
        found += application_->getUserAppDataDirectory();
        found += application_->getUserDocumentsDirectory();
    }
    EXPECT_EQ(found, L"A:P:P:P:C:\\C:\\");
    const AllocationLimit none(0, true);
    thrownText([] { ApplicationServiceWin32Gdi(); });
    EXPECT_EQ(reportsOf(trace),
              "Application::getUserAppDataDirectory: CSIDL_APPDATA - trying CSIDL_PERSONAL; "
              "Application::getUserAppDataDirectory: CSIDL_PERSONAL - defaulting to C:\\; "
              "Application::getUserDocumentsDirectory: CSIDL_PERSONAL - defaulting to C:\\; "
              "asserted: preferences_, in src/lib/ZuApplication, line 322; "
              "throwing: 'preferences_', in src/lib/ZuApplication, line 322; ");
    EXPECT_FALSE(application_->openDocument(L"C:\\no such document"));
}

TEST_F(ApplicationTest, criticalErrorsMemoryAndLoop_asked_areTold) {
    const TraceCapture trace(kTraceLevelMemory);
    ApplicationService& a = *application_;
    std::wstring texts;
    for (std::uint32_t code = 0; code < 8; ++code) {
        a.setCriticalError(code);
        EXPECT_EQ(a.hasCriticalError(), code != 0);
        texts += a.getCriticalErrorText(code) + L"; ";
    }
    EXPECT_EQ(a.getApplicationState(), kApplicationStateCriticalError);
    const std::wregex request(
        L" - please exit the application and contact your support representative");
    EXPECT_EQ(std::regex_replace(texts, request, L"!"),
              L"No critical error; Unknown critical error!; Critical error: insufficient memory "
              L"available!; Critical error: pure virtual function call detected!; Critical error: "
              L"unhandled exception detected!; Critical error: abort detected!; Critical error: "
              L"system exception detected!; Unknown error type!; ");
    dynamic_cast<ApplicationServiceWin32Gdi&>(a.implementation()).logMemoryInfo();
    EXPECT_EQ(trace.messages().at(0), "ApplicationServiceWin32Gdi::logMemoryInfo:");
    a.quitMessageLoop(7);
    EXPECT_EQ(a.runMessageLoop(), 7);
}

TEST_F(ApplicationTest, windowService_windowOrNone_isBoundOrMissed) {
    const auto boundTo = [](const std::shared_ptr<WindowService>& made) {
        return made ? windowServiceBackend(made.get())->window() : nullptr;
    };
    const TraceCapture trace(kTraceLevelInfo);
    SetForegroundWindow(native());
    EXPECT_EQ(boundTo(application_->createActiveWindowService(false)), native());
    // A thread of its own has no active window.
    std::thread([&] {
        EXPECT_EQ(boundTo(application_->createActiveWindowService(false)), nullptr);
        EXPECT_EQ(boundTo(application_->createActiveWindowService(true)), native());
    }).join();
    EXPECT_EQ(boundTo(application_->createDesktopWindowService()), GetDesktopWindow());
    EXPECT_EQ(application_->createMainWindowService(), nullptr);
    WindowServiceWin32Gdi::setScalingFactor(0.0);
    EXPECT_EQ(service().getScalingFactor(), GetSystemMetrics(SM_CXSMICON) / 16.0);
    EXPECT_EQ(reportsOf(trace),
              "Application::createActiveWindowService: no active window found; "
              "Application::createActiveWindowService: cannot create active window service; "
              "Application::createActiveWindowService: no active window found; "
              "Application::createActiveWindowService: trying foreground window; "
              "Application::createMainWindowService: no main window found; "
              "Window::getScalingFactor: setting scalingFactor to 1.000000; ");
}

TEST_F(ApplicationTest, keyboardHook_newestOwner_hearsPressesWithModifiers) {
    SetForegroundWindow(native());
    const auto other = makeRecordingApplicationService();
    other->connect(std::make_shared<FunctionSink>([](auto&&...) { FAIL(); }), false);
    application_->connect(log_, false);
    EXPECT_TRUE(other->installKeyboardHook() && application_->installKeyboardHook());
    for (const std::size_t heard : {2U, 4U}) {
        pressKeys({VK_CONTROL, 'K'});
        runMessages(0);
        ASSERT_EQ(log_->entries.size(), heard);
        other->removeKeyboardHook();
    }
    EXPECT_EQ(log_->entries[1].a.number(), 'K');
    EXPECT_EQ(log_->entries[1].b.number(), ApplicationService::kKeyControl);
    application_->removeKeyboardHook();
    press({'K'});
    EXPECT_EQ(log_->entries.size(), 4U);
}

// Whoever stops it may do so by a tick, or when the tick is in the queue already.
TEST_F(SurfaceTest, timer_startedStoppedOrDestroyed_ticksAsWanted) {
    int ticks = 0;
    std::function<void()> next = [] {};
    const auto counter = std::make_shared<FunctionSink>([&](const MessageKind& kind, auto...) {
        ticks += kind == Timer::kTimerTick ? 1 : 0;
        std::exchange(next, [] {})();
    });
    const auto ticksUpTo = [&](int count) {
        runMessages(5000, [&] { return ticks >= count; });
        runMessages(60);
        return std::exchange(ticks, 0);
    };
    auto timer = service_->createTimer(L"test");
    EXPECT_TRUE(timer->getInterval() == 1000 && timer->isRepeating());
    timer->connect(counter, false);
    timer->start(60000, true);
    timer->setInterval(10);
    next = [] { throw 1; };
    EXPECT_GE(ticksUpTo(3), 3);
    timer->start(10, false);
    next = [&] {
        EXPECT_FALSE(timer->isRunning()) << "stopped before its tick";
        timer->start();
    };
    EXPECT_EQ(ticksUpTo(2), 2);
    timer->start(10, true);
    next = [&] { timer.reset(); };
    EXPECT_EQ(ticksUpTo(1), 1);
    timer = service_->createTimer(L"next");
    timer->connect(counter, false);
    timer->start(10, true);
    MSG tick{};
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 5000, QS_TIMER);
    ASSERT_TRUE(PeekMessageW(&tick, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE));
    for (const auto& end : std::initializer_list<std::function<void()>>{
             [&] { timer->stop(); }, [&] { timer->start(60000, true); }, [&] { timer.reset(); }}) {
        end();
        DispatchMessageW(&tick);
        EXPECT_EQ(MsgWaitForMultipleObjects(0, nullptr, FALSE, 60, QS_TIMER), DWORD{WAIT_TIMEOUT});
    }
    EXPECT_EQ(ticks, 0);
}

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
    sendMouse(native(), WM_LBUTTONDOWN, {15, 17}, MK_LBUTTON | MK_SHIFT);
    EXPECT_EQ(probe_->lastMouse.modifiers, kModifierShift);
    SetCapture(GetDesktopWindow());
    ReleaseCapture();
    sendMouse(native(), WM_LBUTTONUP, {15, 15});
    EXPECT_EQ(probe_->log->take(), L"enterLeftClicking leaveLeftClicking") << "taken";
    sendMouse(native(), WM_RBUTTONDOWN, {15, 15}, MK_RBUTTON);
    sendMouse(native(), WM_RBUTTONUP, {15, 15});
    EXPECT_EQ(probe_->log->take(), L"enterRightClicking leaveRightClicking rightClicked");
    sendMouse(native(), WM_LBUTTONDBLCLK, {15, 15});
    EXPECT_TRUE(probe_->lastMouse.action == MouseAction::kLeftDouble &&
                probe_->lastMouse.modifiers == 0);
}

TEST_F(InputTest, focus_movedByKeysOrProgram_isWithOneControl) {
    const auto holder = makeWindow({100, 100});
    const HWND other = nativeWindowOf(*holder);
    for (const auto& kept : Controls{inner_, button_, inner_, probe_, inner_}) {
        // At last while another window is active.
        const HWND first = probe_->hasFocus() ? other : native();
        SetActiveWindow(first);
        EXPECT_TRUE(kept->takeFocus() && GetActiveWindow() == first);
        for (const HWND active : {native(), other, native()}) {
            SetActiveWindow(active);
            for (const auto& control : Controls{probe_, button_, inner_}) {
                EXPECT_EQ(control->hasFocus(), active == native() && control == kept);
            }
        }
        EXPECT_EQ(GetFocus(), nativeWindowOf(kept == button_ ? *kept : *kept->surface()));
    }
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
    addButton(L"&Other", ButtonKind::kPush)->setVisible(false);
    addButton(L"&Other", ButtonKind::kPush)->setEnabled(false);
    const auto first = addButton(L"&Radio", ButtonKind::kRadio);
    const auto second = addButton(L"&Radio", ButtonKind::kRadio);
    const auto standard = addButton(L"Standard", ButtonKind::kPush);
    const auto box = show(service().createNativeTextBox(), {20, 0, 99, 24}, dialog.get());
    box->setKind(TextBoxKind::kMultiLine);
    dialog->setDefaultButton(standard);
    dialog->show(false);
    const HWND shown = nativeWindowOf(*dialog);
    const wchar_t* const moved = L"leaveFocus enterFocus";
    // clang-format off
    const std::tuple<std::vector<WORD>, std::shared_ptr<Control>, const wchar_t*> kRows[] = {
        {{VK_RETURN}, field, L"enterFocus leftClicked"}, {{VK_TAB}, other, moved},
        {{VK_RETURN}, other, L"leftClicked"}, {{VK_MENU, 'C'}, check, L"leaveFocus enterFocus leftClicked"},
        {{'R'}, first, moved}, {{'R'}, second, moved}, {{'R'}, first, moved},
        {{'O'}, other, L"leaveFocus enterFocus leftClicked"}, {{VK_SHIFT, VK_TAB}, field, moved},
        {{VK_SHIFT, VK_TAB}, box, moved}, {{VK_RETURN}, box, L"textChanged"},
        {{VK_CONTROL, VK_RETURN}, box, L"leftClicked"}, {{VK_TAB}, field, moved}};
    // clang-format on
    for (const auto& [keys, focused, messages] : kRows) {
        press(keys);
        EXPECT_EQ(GetFocus(), focused == field ? shown : nativeWindowOf(*focused));
        const std::wregex pressed(L"keyPressed ");
        EXPECT_EQ(std::regex_replace(log_->take(), pressed, L""), messages) << keys.size();
        for (const auto& button : {other, standard}) {
            EXPECT_EQ((GetWindowLongW(nativeWindowOf(*button), GWL_STYLE) & BS_TYPEMASK) ==
                          BS_DEFPUSHBUTTON,
                      button == dialog->buttonForEnter());
        }
    }
    other->takeFocus();
    SetFocus(nullptr);
    EXPECT_TRUE(GetWindowLongW(nativeWindowOf(*standard), GWL_STYLE) & BS_DEFPUSHBUTTON);
    send(shown, WM_COMMAND, IDOK);
    EXPECT_EQ(log_->entries.back().a.object<Control>(), standard.get());
    send(shown, WM_COMMAND, WPARAM(GetDlgCtrlID(nativeWindowOf(*other))));
    send(shown, WM_COMMAND, IDHELP);
    EXPECT_EQ(log_->entries.back().a.object<Control>(), other.get());
    send(shown, WM_COMMAND, IDCANCEL);
    EXPECT_FALSE(dialog->isOpen());
}

}  // namespace
}  // namespace zustd::test
