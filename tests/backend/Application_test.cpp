// The door to the host system, and its timers.
#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuScope.h"
#include "ZuText.h"
#include "ZuTimer.h"
#include "support/SurfaceTest.h"

namespace zustd {
namespace {

using namespace test;

std::shared_ptr<ApplicationService> makeApplication() {
    auto application = makeService<ApplicationService>();
    joinImplementation(*application, std::make_unique<ApplicationServiceWin32Gdi>());
    return application;
}

class ApplicationTest : public SurfaceTest {
protected:
    ~ApplicationTest() override { setCriticalError(kCriticalErrorNone); }
    std::shared_ptr<ApplicationService> application_ = makeApplication();
};

TEST_F(ApplicationTest, names_ofHostAndFolders_areTheSystems) {
    wchar_t text[MAX_PATH] = L"";
    DWORD size = MAX_PATH;
    GetComputerNameW(text, &size);
    EXPECT_EQ(application_->getComputerName(), text);
    // The computer is an account where it has a stable identifier.
    const std::wstring sid = application_->getMachineSid();
    EXPECT_TRUE(sid.empty() || sid.starts_with(L"S-1-")) << narrow(sid);
    GetModuleFileNameW(nullptr, text, MAX_PATH);
    EXPECT_EQ(application_->getApplicationDirectory() + L"\\backend_tests.exe", text);
    dynamic_cast<ApplicationServiceWin32Gdi&>(application_->implementation())
        .setModuleInstance(GetModuleHandleW(L"kernel32.dll"));
    GetSystemDirectoryW(text, MAX_PATH);
    EXPECT_EQ(_wcsicmp(application_->getApplicationDirectory().c_str(), text), 0);
    EXPECT_FALSE(application_->openDocument(L"C:\\no such document"));
}

// Where the user's folders lie below TESTROOT: nobody else's are touched.
TEST_F(ApplicationTest, userFolders_missing_areReplacedAndTraced) {
    const TempFolder folder;
    const std::wstring root = folder.file(L"root");
    wchar_t former[MAX_PATH] = L"";
    GetEnvironmentVariableW(L"TESTROOT", former, MAX_PATH);
    const ScopeExit restored([&]() noexcept { SetEnvironmentVariableW(L"TESTROOT", former); });
    SetEnvironmentVariableW(L"TESTROOT", root.c_str());
    const std::string prefix = "ApplicationServiceWin32Gdi::getUser";
    const std::string missing = "Directory: could not get directory CSIDL_";
    const TraceCapture trace(kTraceLevelInfo);
    if (application_->getUserAppDataDirectory() != L"C:\\") {
        GTEST_SKIP() << "the user's folders lie elsewhere";
    }
    EXPECT_EQ(application_->getUserDocumentsDirectory(), L"C:\\");
    CreateDirectoryW(root.c_str(), nullptr);
    CreateDirectoryW((root + L"\\Documents").c_str(), nullptr);
    EXPECT_EQ(application_->getUserDocumentsDirectory(), root + L"\\Documents");
    application_->setApplicationName(L"Tests");
    for (const bool create : {false, true, true}) {
        const std::wstring data = root + L"\\Documents\\Tests";
        EXPECT_EQ(application_->getApplicationDataDirectory(create), data);
        EXPECT_EQ(GetFileAttributesW(data.c_str()) != INVALID_FILE_ATTRIBUTES, create);
    }
    Lines expected{prefix + "AppData" + missing + "PERSONAL - defaulting to C:\\",
                   prefix + "Documents" + missing + "PERSONAL - defaulting to C:\\"};
    expected.resize(5, prefix + "AppData" + missing + "APPDATA - trying CSIDL_PERSONAL");
    EXPECT_EQ(trace.messages(), expected);
    CreateDirectoryW((root + L"\\AppData").c_str(), nullptr);
    CreateDirectoryW((root + L"\\AppData\\Roaming").c_str(), nullptr);
    EXPECT_EQ(application_->getUserAppDataDirectory(), root + L"\\AppData\\Roaming");
}

TEST_F(ApplicationTest, criticalError_anyCode_hasItsTextAndState) {
    const std::wstring kTexts[] = {L"Unknown critical error",
                                   L"Critical error: insufficient memory available",
                                   L"Critical error: pure virtual function call detected",
                                   L"Critical error: unhandled exception detected",
                                   L"Critical error: abort detected",
                                   L"Critical error: system exception detected",
                                   L"Unknown error type"};
    const wchar_t* kRequest =
        L" - please exit the application and contact your support representative";
    EXPECT_FALSE(application_->hasCriticalError());
    EXPECT_EQ(application_->getApplicationState(), 0U);
    EXPECT_EQ(application_->getCriticalErrorText(0), L"No critical error");
    std::uint32_t code = 0;
    for (const std::wstring& text : kTexts) {
        application_->setCriticalError(++code);
        EXPECT_EQ(application_->getCriticalError(), code);
        EXPECT_EQ(application_->getCriticalErrorText(code), text + kRequest);
    }
    EXPECT_TRUE(application_->hasCriticalError());
    EXPECT_EQ(application_->getApplicationState(), 4U);
}

TEST_F(ApplicationTest, windowServices_noneOrSome_areBoundAndTraced) {
    const auto windowOf = [](const std::shared_ptr<WindowService>& service) {
        return windowServiceBackend(service.get())->window();
    };
    const std::string prefix = "ApplicationServiceWin32Gdi::create";
    EXPECT_EQ(windowOf(application_->createUnboundWindowService()), nullptr);
    EXPECT_EQ(windowOf(application_->createDesktopWindowService()), GetDesktopWindow());
    SetActiveWindow(native());
    EXPECT_EQ(windowOf(application_->createActiveWindowService(false)), native());
    window_.reset();
    SetActiveWindow(nullptr);
    const TraceCapture trace(kTraceLevelInfo);
    EXPECT_EQ(application_->createActiveWindowService(false), nullptr);
    EXPECT_EQ(application_->createMainWindowService(), nullptr);
    EXPECT_EQ(trace.messages(),
              (Lines{prefix + "ActiveWindowService: no active window found",
                     prefix + "ActiveWindowService: cannot create active window service",
                     prefix + "MainWindowService: no main window found"}));
    application_->createActiveWindowService(true);
    EXPECT_EQ(trace.messages()[4], prefix + "ActiveWindowService: trying foreground window");
}

TEST_F(ApplicationTest, keyboardHook_newestOwner_hearsPressesWithModifiers) {
    SetForegroundWindow(native());
    const auto other = makeApplication();
    const auto otherLog = std::make_shared<MessageLog>();
    application_->connect(log_, false);
    other->connect(otherLog, false);
    EXPECT_TRUE(other->installKeyboardHook());
    EXPECT_TRUE(application_->installKeyboardHook());
    EXPECT_TRUE(application_->installKeyboardHook());
    pressKeys({VK_CONTROL, 'K'});
    runMessages(2000, [&] { return log_->entries.size() >= 2; });
    ASSERT_EQ(log_->entries.size(), 2U);
    EXPECT_EQ(log_->entries[1].a.number(), 'K');
    EXPECT_EQ(log_->entries[1].b.number(), ApplicationService::kKeyControl);
    EXPECT_EQ(log_->take(), L"appKeysPressed appKeysPressed");
    application_->removeKeyboardHook();
    press({'K'});
    EXPECT_EQ(log_->take() + otherLog->take(), L"");
}

TEST_F(ApplicationTest, create_noMemory_isEmptyAndReported) {
    WindowService& s = service();
    ApplicationService& a = *application_;
    const std::wstring name = L"a longer name";
    const std::pair<std::string, std::function<bool()>> kMakers[] = {
        {"createNativeDialog", [&] { return s.createNativeDialog() != nullptr; }},
        {"createNativeWindow", [&] { return s.createNativeWindow() != nullptr; }},
        {"createNativePopupMenu", [&] { return s.createNativePopupMenu() != nullptr; }},
        {"createNativeGridView", [&] { return s.createNativeGridView() != nullptr; }},
        {"createNativeTreeView", [&] { return s.createNativeTreeView() != nullptr; }},
        {"createNativeComboBox", [&] { return s.createNativeComboBox() != nullptr; }},
        {"createNativeButton", [&] { return s.createNativeButton() != nullptr; }},
        {"createNativeProgressBar", [&] { return s.createNativeProgressBar() != nullptr; }},
        {"createNativeTextBox", [&] { return s.createNativeTextBox() != nullptr; }},
        {"createNativeScrollBar", [&] { return s.createNativeScrollBar(true) != nullptr; }},
        {"createTimer", [&] { return s.createTimer(name) != nullptr; }},
        {"ApplicationServiceWin32Gdi::setApplicationName",
         [&] { return a.setApplicationName(name), a.getApplicationName() == name; }},
        {"ApplicationServiceWin32Gdi::getApplicationDirectory",
         [&] { return !a.getApplicationDirectory().empty(); }},
        {"ApplicationServiceWin32Gdi::specialFolder",
         [&] { return a.getUserDocumentsDirectory() != L"C:\\"; }},
        {"ApplicationServiceWin32Gdi::getCriticalErrorText",
         [&] { return !a.getCriticalErrorText(1).empty(); }},
        {"ApplicationServiceWin32Gdi::createUnboundWindowService",
         [&] { return a.createUnboundWindowService() != nullptr; }},
        {"getFont", [&] {
             return s.getFont(FontStyle{true, true, true, 77, {}}) != nullptr;
         }}};
    const TraceCapture trace;
    for (const auto& [operation, maker] : kMakers) {
        bool isMade = true;
        {
            const AllocationLimit none(0);
            isMade = maker();
        }
        EXPECT_FALSE(isMade) << operation;
        const std::string owner = operation.starts_with("App") ? "" : "WindowServiceWin32Gdi::";
        EXPECT_TRUE(
            trace.messages().back().starts_with(owner + operation + ": catched std::bad_alloc: "))
            << trace.messages().back();
    }
}

class TimerTest : public SurfaceTest {
protected:
    TimerTest() { timer_->connect(counter_, false); }
    // Waits for ticks, and for some that should not come.
    int ticksUpTo(int count) {
        runMessages(5000, [&] { return ticks_ >= count; });
        runMessages(60);
        return std::exchange(ticks_, 0);
    }

    std::shared_ptr<Timer> timer_ = service_->createTimer(L"test");
    int ticks_ = 0;
    std::function<void()> next_ = [] {};
    std::shared_ptr<FunctionSink> counter_ =
        std::make_shared<FunctionSink>([this](const MessageKind& kind, auto...) {
            ticks_ += kind == Timer::kTimerTick ? 1 : 0;
            std::exchange(next_, [] {})();
        });
};

TEST_F(TimerTest, start_anyWay_ticksUntilStoppedOrDestroyed) {
    EXPECT_EQ(timer_->getInterval(), 1000U);
    EXPECT_TRUE(timer_->start(60000, true));
    timer_->setInterval(10);
    EXPECT_EQ(timer_->getInterval(), 10U);
    next_ = [] { throw 1; };
    EXPECT_GE(ticksUpTo(3), 3);
    timer_->stop();
    EXPECT_FALSE(timer_->isRunning());
    timer_->start(10, false);
    next_ = [&] {
        EXPECT_FALSE(timer_->isRunning()) << "stopped before its tick";
        timer_->start();
    };
    EXPECT_EQ(ticksUpTo(2), 2);
    EXPECT_FALSE(timer_->isRunning());
    timer_->start(10, true);
    next_ = [&] { timer_.reset(); };
    EXPECT_EQ(ticksUpTo(1), 1);
    // The shared window went with its last timer; the next one gets another.
    timer_ = service_->createTimer(L"next");
    timer_->connect(counter_, false);
    timer_->start(10, false);
    EXPECT_EQ(ticksUpTo(1), 1);
}

// The tick's message is in the queue already when the timer stops.
TEST_F(TimerTest, stopOrRestart_tickUnderWay_isDropped) {
    timer_->start(10, true);
    MSG tick{};
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 5000, QS_TIMER);
    ASSERT_TRUE(PeekMessageW(&tick, nullptr, WM_TIMER, WM_TIMER, PM_REMOVE));
    timer_->stop();
    DispatchMessageW(&tick);
    timer_->start(60000, true);
    DispatchMessageW(&tick);
    timer_.reset();
    DispatchMessageW(&tick);
    EXPECT_EQ(ticks_, 0);
}

}  // namespace
}  // namespace zustd
