// The door to the host system.
#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuScope.h"
#include "ZuText.h"
#include "ZuWindowHandlerWin32Gdi.h"
#include "support/FrameworkTest.h"
#include "support/SurfaceTest.h"
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

class ApplicationTest : public SurfaceTest {
protected:
    ApplicationTest() {
        auto backend = std::make_unique<ApplicationServiceWin32Gdi>();
        backend_ = backend.get();
        joinImplementation(*application_, std::move(backend));
    }
    ~ApplicationTest() override { setCriticalError(kCriticalErrorNone); }

    std::shared_ptr<ApplicationService> application_ = makeService<ApplicationService>();
    ApplicationServiceWin32Gdi* backend_ = nullptr;
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
    backend_->setModuleInstance(GetModuleHandleW(L"kernel32.dll"));
    GetSystemDirectoryW(text, MAX_PATH);
    EXPECT_EQ(_wcsicmp(application_->getApplicationDirectory().c_str(), text), 0);
    backend_->setSecondHostHandle(backend_);
    EXPECT_EQ(backend_->getSecondHostHandle(), backend_);
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
    if (application_->getUserAppDataDirectory() != L"C:\\") {
        GTEST_SKIP() << "the user's folders lie elsewhere";
    }
    application_->setApplicationName(L"Tests");
    const std::string prefix = "ApplicationServiceWin32Gdi::getUser";
    const struct {
        const wchar_t* parent;
        const wchar_t* made;
        std::wstring appData;
        std::wstring documents;
        std::vector<std::string> traced;
    } kSteps[] = {
        {L"",
         L"",
         L"C:\\",
         L"C:\\",
         {prefix + "AppDataDirectory: could not get directory CSIDL_PERSONAL - defaulting to C:\\",
          prefix +
              "DocumentsDirectory: could not get directory CSIDL_PERSONAL - defaulting to C:\\"}},
        {L"",
         L"\\Documents",
         root + L"\\Documents",
         root + L"\\Documents",
         {prefix +
          "AppDataDirectory: could not get directory CSIDL_APPDATA - trying CSIDL_PERSONAL"}},
        {L"\\AppData",
         L"\\AppData\\Roaming",
         root + L"\\AppData\\Roaming",
         root + L"\\Documents",
         {}}};
    for (const auto& step : kSteps) {
        CreateDirectoryW((root + step.parent).c_str(), nullptr);
        CreateDirectoryW((root + step.made).c_str(), nullptr);
        const TraceCapture trace(kTraceLevelInfo);
        EXPECT_EQ(application_->getUserAppDataDirectory(), step.appData);
        EXPECT_EQ(application_->getUserDocumentsDirectory(), step.documents);
        EXPECT_EQ(trace.messages(), step.traced);
    }
    const std::wstring data = root + L"\\AppData\\Roaming\\Tests";
    for (const bool create : {false, true, true}) {
        EXPECT_EQ(application_->getApplicationDataDirectory(create), data);
        EXPECT_EQ(GetFileAttributesW(data.c_str()) != INVALID_FILE_ATTRIBUTES, create);
    }
    for (const std::wstring& made :
         {data, root + L"\\AppData\\Roaming", root + L"\\AppData", root + L"\\Documents", root}) {
        EXPECT_TRUE(RemoveDirectoryW(made.c_str()));
    }
}

TEST_F(ApplicationTest, criticalError_anyCode_hasItsTextAndState) {
    const std::pair<std::uint32_t, const wchar_t*> kTexts[] = {
        {1, L"Unknown critical error"},
        {2, L"Critical error: insufficient memory available"},
        {3, L"Critical error: pure virtual function call detected"},
        {4, L"Critical error: unhandled exception detected"},
        {5, L"Critical error: abort detected"},
        {6, L"Critical error: system exception detected"},
        {7, L"Unknown error type"}};
    EXPECT_FALSE(application_->hasCriticalError());
    EXPECT_EQ(application_->getApplicationState(), 0U);
    EXPECT_EQ(application_->getCriticalErrorText(0), L"No critical error");
    for (const auto& [code, text] : kTexts) {
        EXPECT_EQ(application_->getCriticalErrorText(code),
                  std::wstring(text) +
                      L" - please exit the application and contact your support representative");
    }
    application_->setCriticalError(5);
    EXPECT_TRUE(application_->hasCriticalError());
    EXPECT_EQ(application_->getCriticalError(), 5U);
    EXPECT_EQ(application_->getApplicationState(), 4U);
}

TEST_F(ApplicationTest, windowServices_noneOrSome_areBoundAndTraced) {
    const auto windowOf = [](const std::shared_ptr<WindowService>& service) {
        return windowServiceBackend(service.get())->window();
    };
    const std::string prefix = "ApplicationServiceWin32Gdi::create";
    SetActiveWindow(nullptr);
    {
        const TraceCapture trace(kTraceLevelInfo);
        EXPECT_EQ(application_->createActiveWindowService(false), nullptr);
        EXPECT_EQ(application_->createMainWindowService(), nullptr);
        EXPECT_EQ(trace.messages(),
                  (std::vector<std::string>{
                      prefix + "ActiveWindowService: no active window found",
                      prefix + "ActiveWindowService: cannot create active window service",
                      prefix + "MainWindowService: no main window found"}));
        application_->createActiveWindowService(true);
        EXPECT_EQ(trace.messages()[4], prefix + "ActiveWindowService: trying foreground window");
    }
    EXPECT_EQ(windowOf(application_->createUnboundWindowService()), nullptr);
    EXPECT_EQ(windowOf(application_->createDesktopWindowService()), GetDesktopWindow());
    const auto window = makeWindow({100, 100});
    SetActiveWindow(nativeWindowOf(*window));
    EXPECT_EQ(windowOf(application_->createActiveWindowService(false)), nativeWindowOf(*window));
}

TEST_F(ApplicationTest, keyboardHook_newestOwner_hearsPressesWithModifiers) {
    const auto window = makeWindow({100, 100});
    SetForegroundWindow(nativeWindowOf(*window));
    const auto other = makeService<ApplicationService>();
    joinImplementation(*other, std::make_unique<ApplicationServiceWin32Gdi>());
    const auto log = std::make_shared<MessageLog>();
    const auto otherLog = std::make_shared<MessageLog>();
    application_->connect(log, false);
    other->connect(otherLog, false);
    EXPECT_TRUE(other->installKeyboardHook());
    EXPECT_TRUE(application_->installKeyboardHook());
    EXPECT_TRUE(application_->installKeyboardHook());
    pressKeys({VK_CONTROL, 'K'});
    runMessages(2000, [&] { return log->entries.size() >= 2; });
    runMessages(20);
    ASSERT_EQ(log->take(), L"appKeysPressed appKeysPressed");
    application_->removeKeyboardHook();
    pressKeys({'K'});
    runMessages(20);
    EXPECT_EQ(log->take() + otherLog->take(), L"");
}

TEST_F(ApplicationTest, create_noMemory_isEmptyAndReported) {
    WindowService& service = *service_;
    const std::wstring timer = L"timer";
    const std::pair<std::string, std::function<bool()>> kMakers[] = {
        {"createNativeDialog", [&] { return service.createNativeDialog() != nullptr; }},
        {"createNativeWindow", [&] { return service.createNativeWindow() != nullptr; }},
        {"createNativePopupMenu", [&] { return service.createNativePopupMenu() != nullptr; }},
        {"createNativeGridView", [&] { return service.createNativeGridView() != nullptr; }},
        {"createNativeTreeView", [&] { return service.createNativeTreeView() != nullptr; }},
        {"createNativeComboBox", [&] { return service.createNativeComboBox() != nullptr; }},
        {"createNativeButton", [&] { return service.createNativeButton() != nullptr; }},
        {"createNativeProgressBar", [&] { return service.createNativeProgressBar() != nullptr; }},
        {"createNativeTextBox", [&] { return service.createNativeTextBox() != nullptr; }},
        {"createNativeScrollBar", [&] { return service.createNativeScrollBar(true) != nullptr; }},
        {"createTimer", [&] { return service.createTimer(timer) != nullptr; }},
        {"getFont", [&] {
             return service.getFont(FontStyle{true, true, true, 77, {}}) != nullptr;
         }}};
    for (const auto& [name, maker] : kMakers) {
        const TraceCapture trace;
        bool isMade = true;
        {
            const AllocationLimit none(0);
            isMade = maker();
        }
        EXPECT_FALSE(isMade) << name;
        ASSERT_FALSE(trace.messages().empty()) << name;
        EXPECT_TRUE(trace.messages().back().starts_with("WindowServiceWin32Gdi::" + name +
                                                        ": catched std::bad_alloc: "))
            << trace.messages().back();
    }
}

}  // namespace
}  // namespace zustd
