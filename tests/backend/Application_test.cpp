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
    GetModuleFileNameW(nullptr, text, MAX_PATH);
    EXPECT_EQ(application_->getApplicationDirectory() + L"\\backend_tests.exe", text);
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
    const TraceCapture trace(kTraceLevelInfo);
    if (application_->getUserAppDataDirectory() != L"C:\\") {
        GTEST_SKIP() << "the user's folders lie elsewhere";
    }
    CreateDirectoryW(root.c_str(), nullptr);
    CreateDirectoryW((root + L"\\Documents").c_str(), nullptr);
    application_->setApplicationName(L"Tests");
    const std::wstring data = root + L"\\Documents\\Tests";
    for (const bool create : {false, true}) {
        EXPECT_EQ(application_->getApplicationDataDirectory(create), data);
        EXPECT_EQ(GetFileAttributesW(data.c_str()) != INVALID_FILE_ATTRIBUTES, create);
    }
    const std::string start =
        "ApplicationServiceWin32Gdi::getUserAppDataDirectory: could not get directory CSIDL_";
    Lines expected(3, start + "APPDATA - trying CSIDL_PERSONAL");
    expected[0] = start + "PERSONAL - defaulting to C:\\";
    EXPECT_EQ(trace.messages(), expected);
}

TEST_F(ApplicationTest, criticalError_anyCode_hasItsTextAndState) {
    const std::wstring kTexts[] = {L"Unknown critical error",
                                   L"Critical error: insufficient memory available",
                                   L"Critical error: pure virtual function call detected",
                                   L"Critical error: unhandled exception detected",
                                   L"Critical error: abort detected",
                                   L"Critical error: system exception detected",
                                   L"Unknown error type"};
    EXPECT_EQ(application_->getApplicationState(), 0U);
    EXPECT_EQ(application_->getCriticalErrorText(0), L"No critical error");
    std::uint32_t code = 0;
    for (const std::wstring& text : kTexts) {
        application_->setCriticalError(++code);
        EXPECT_EQ(application_->getCriticalError(), code);
        EXPECT_EQ(application_->getCriticalErrorText(code),
                  text + L" - please exit the application and contact your support representative");
    }
    EXPECT_EQ(application_->getApplicationState(), 4U);
}

TEST_F(ApplicationTest, windowServices_noneOrSome_areBoundAndTraced) {
    const auto windowOf = [](const std::shared_ptr<WindowService>& service) {
        return windowServiceBackend(service.get())->window();
    };
    EXPECT_EQ(windowOf(application_->createUnboundWindowService()), nullptr);
    EXPECT_EQ(windowOf(application_->createDesktopWindowService()), GetDesktopWindow());
    SetActiveWindow(native());
    EXPECT_EQ(windowOf(application_->createActiveWindowService(false)), native());
    window_.reset();
    SetActiveWindow(nullptr);
    const TraceCapture trace(kTraceLevelInfo);
    EXPECT_EQ(application_->createActiveWindowService(false), nullptr);
    application_->createActiveWindowService(true);
    const std::string start = "ApplicationServiceWin32Gdi::createActiveWindowService: ";
    EXPECT_EQ(trace.messages()[1], start + "cannot create active window service");
    EXPECT_EQ(trace.messages()[2], start + "no active window found");
    EXPECT_EQ(trace.messages()[3], start + "trying foreground window");
}

TEST_F(ApplicationTest, keyboardHook_newestOwner_hearsPressesWithModifiers) {
    SetForegroundWindow(native());
    const auto other = makeApplication();
    other->connect(std::make_shared<FunctionSink>([](auto&&...) { FAIL(); }), false);
    application_->connect(log_, false);
    EXPECT_TRUE(other->installKeyboardHook() && application_->installKeyboardHook());
    pressKeys({VK_CONTROL, 'K'});
    runMessages(2000, [&] { return log_->entries.size() >= 2; });
    ASSERT_EQ(log_->entries.size(), 2U);
    EXPECT_EQ(log_->entries[1].a.number(), 'K');
    EXPECT_EQ(log_->entries[1].b.number(), ApplicationService::kKeyControl);
    application_->removeKeyboardHook();
    press({'K'});
    EXPECT_EQ(log_->entries.size(), 2U);
}

TEST_F(ApplicationTest, create_noMemory_isEmptyAndReported) {
    WindowService& s = service();
    const std::wstring name = L"a longer name";
    const TraceCapture trace;
    bool isAnyMade = true;
    {
        const AllocationLimit none(0);
        isAnyMade = s.createNativeDialog() || s.createNativeWindow() || s.createNativePopupMenu() ||
                    s.createNativeGridView() || s.createNativeTreeView() ||
                    s.createNativeComboBox() || s.createNativeButton() ||
                    s.createNativeProgressBar() || s.createNativeTextBox() ||
                    s.createNativeScrollBar(true) || s.createTimer(name) ||
                    s.getFont(FontStyle{true, true, true, 77, {}}) ||
                    application_->createUnboundWindowService() ||
                    !application_->getApplicationDirectory().empty() ||
                    !application_->getCriticalErrorText(1).empty();
        application_->setApplicationName(name);
    }
    EXPECT_FALSE(isAnyMade);
    EXPECT_NE(application_->getApplicationName(), name);
    const Lines messages = trace.messages();
    EXPECT_EQ(messages.size(), 16U);
    for (const std::string& message : messages) {
        EXPECT_NE(message.find("ServiceWin32Gdi::"), std::string::npos) << message;
        EXPECT_NE(message.find(": catched std::bad_alloc: "), std::string::npos) << message;
    }
}

// Ticks, until somebody stops, restarts or destroys the timer; also by a tick, or when
// the tick's message is in the queue already.
TEST_F(SurfaceTest, timer_startedStoppedOrDestroyed_ticksAsWanted) {
    int ticks = 0;
    std::function<void()> next = [] {};
    const auto counter = std::make_shared<FunctionSink>([&](const MessageKind& kind, auto...) {
        ticks += kind == Timer::kTimerTick ? 1 : 0;
        std::exchange(next, [] {})();
    });
    // Waits for ticks, and for some that should not come.
    const auto ticksUpTo = [&](int count) {
        runMessages(5000, [&] { return ticks >= count; });
        runMessages(60);
        return std::exchange(ticks, 0);
    };
    auto timer = service_->createTimer(L"test");
    timer->connect(counter, false);
    EXPECT_TRUE(timer->start(60000, true));
    timer->setInterval(10);
    next = [] { throw 1; };
    EXPECT_GE(ticksUpTo(3), 3);
    timer->start(10, false);
    next = [&] {
        EXPECT_FALSE(timer->isRunning()) << "stopped before its tick";
        timer->start();
    };
    EXPECT_EQ(ticksUpTo(2), 2);
    EXPECT_FALSE(timer->isRunning());
    timer->start(10, true);
    next = [&] { timer.reset(); };
    EXPECT_EQ(ticksUpTo(1), 1);
    // The shared window went with it.
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
    }
    EXPECT_EQ(ticks, 0);
}

}  // namespace
}  // namespace zustd
