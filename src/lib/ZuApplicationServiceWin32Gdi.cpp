#include "ZuApplicationServiceWin32Gdi.h"

#include <sddl.h>
#include <shellapi.h>
#include <shlobj.h>

#include <array>

#include "ZuFile.h"
#include "ZuLateLoading.h"
#include "ZuMessageLoopWin32Gdi.h"
#include "ZuPropertyBag.h"
#include "ZuWindowServiceWin32Gdi.h"

namespace zustd {

namespace {

constexpr std::size_t kNameBuffer = 512;
constexpr std::wstring_view kLastResort = L"C:\\";

// The backend whose hook is installed on this thread.
constinit thread_local ApplicationServiceWin32Gdi* hookedService = nullptr;

// A special folder's path without creating it; empty when the shell has none.
std::wstring specialFolder(int csidl) {
    return guarded(L"ApplicationServiceWin32Gdi::specialFolder", std::wstring(), [csidl] {
        std::array<wchar_t, MAX_PATH + 1> path{};
        return SHGetSpecialFolderPathW(nullptr, path.data(), csidl, FALSE) ? path.data()
                                                                           : std::wstring();
    });
}

std::shared_ptr<WindowService> tryMakeWindowService(const wchar_t* operation, HWND window) {
    return guarded(operation, std::shared_ptr<WindowService>(),
                   [window] { return makeWindowService(window); });
}

template <class Body>
std::wstring guardedText(const wchar_t* operation, Body&& body) {
    return guarded(operation, std::wstring(), std::forward<Body>(body));
}

bool isKeyDown(int key) noexcept { return (GetKeyState(key) & 0x8000) != 0; }

std::intptr_t modifierKeys() noexcept {
    return (isKeyDown(VK_SHIFT) ? ApplicationService::kKeyShift : 0) |
           (isKeyDown(VK_CONTROL) ? ApplicationService::kKeyControl : 0) |
           (isKeyDown(VK_MENU) ? ApplicationService::kKeyAlt : 0);
}

LRESULT CALLBACK keyboardHook(int code, WPARAM key, LPARAM state) noexcept {
    constexpr LPARAM kReleased = LPARAM{1} << 31;
    if (code == HC_ACTION && (state & kReleased) == 0 && hookedService != nullptr) {
        guarded(L"ApplicationServiceWin32Gdi::keyboardHook", [&] {
            hookedService->getAbstraction().sendMessage(
                ApplicationService::kAppKeysPressed, MessageWord(static_cast<std::intptr_t>(key)),
                MessageWord(modifierKeys()));
        });
    }
    return CallNextHookEx(nullptr, code, key, state);
}

}  // namespace

ApplicationServiceWin32Gdi::ApplicationServiceWin32Gdi()
    : preferences_(makeSharedOrNull<PropertyBag>()) {
    ZU_ASSERT_AS(preferences_, L"preferences_", ZU_LINE(322));
}

ApplicationServiceWin32Gdi::~ApplicationServiceWin32Gdi() {
    if (hookedService == this) {
        hookedService = nullptr;
    }
}

std::shared_ptr<WindowService> ApplicationServiceWin32Gdi::createActiveWindowService(
    bool allowForeground) {
    // Whoever asks for a window hears what keeps this machine from having any.
    requireWindowLibraries();
    if (const HWND window = getActiveWindow()) {
        return tryMakeWindowService(L"ApplicationServiceWin32Gdi::createActiveWindowService",
                                    window);
    }
    ZU_TRACE(L"ApplicationServiceWin32Gdi::createActiveWindowService: no active window found");
    if (allowForeground) {
        ZU_TRACE(
            L"ApplicationServiceWin32Gdi::createActiveWindowService: trying foreground window");
        if (const HWND window = GetForegroundWindow()) {
            return tryMakeWindowService(L"ApplicationServiceWin32Gdi::createActiveWindowService",
                                        window);
        }
        ZU_TRACE(
            L"ApplicationServiceWin32Gdi::createActiveWindowService: no foreground window found");
    }
    ZU_TRACE(
        L"ApplicationServiceWin32Gdi::createActiveWindowService: cannot create active window "
        L"service");
    return nullptr;
}

std::shared_ptr<WindowService> ApplicationServiceWin32Gdi::createMainWindowService() {
    if (const HWND window = getMainWindow()) {
        return tryMakeWindowService(L"ApplicationServiceWin32Gdi::createMainWindowService", window);
    }
    ZU_TRACE(L"ApplicationServiceWin32Gdi::createMainWindowService: no main window found");
    return nullptr;
}

std::shared_ptr<WindowService> ApplicationServiceWin32Gdi::createUnboundWindowService() {
    return tryMakeWindowService(L"ApplicationServiceWin32Gdi::createUnboundWindowService", nullptr);
}

std::shared_ptr<WindowService> ApplicationServiceWin32Gdi::createDesktopWindowService() {
    if (const HWND window = GetDesktopWindow()) {
        return tryMakeWindowService(L"ApplicationServiceWin32Gdi::createDesktopWindowService",
                                    window);
    }
    ZU_TRACE(L"ApplicationServiceWin32Gdi::createDesktopWindowService: no desktop window found");
    return nullptr;
}

std::wstring ApplicationServiceWin32Gdi::getApplicationName() const {
    return guardedText(L"ApplicationServiceWin32Gdi::getApplicationName",
                       [&] { return applicationName_; });
}

void ApplicationServiceWin32Gdi::setApplicationName(const std::wstring& name) {
    guarded(L"ApplicationServiceWin32Gdi::setApplicationName", [&] { applicationName_ = name; });
}

bool ApplicationServiceWin32Gdi::openDocument(const std::wstring& document) {
    // By contract of the call, values up to 32 are errors.
    constexpr INT_PTR kLastError = 32;
    return isWholeName(document) &&
           guarded(L"ApplicationServiceWin32Gdi::openDocument", false, [&] {
               const HINSTANCE result = ShellExecuteW(nullptr, L"open", document.c_str(), nullptr,
                                                      nullptr, SW_SHOWNORMAL);
               return reinterpret_cast<INT_PTR>(result) > kLastError;
           });
}

std::wstring ApplicationServiceWin32Gdi::getComputerName() const {
    return guardedText(L"ApplicationServiceWin32Gdi::getComputerName", [&]() -> std::wstring {
        std::array<wchar_t, kNameBuffer> name{};
        DWORD size = kNameBuffer;
        return GetComputerNameW(name.data(), &size) ? std::wstring(name.data(), size)
                                                    : std::wstring();
    });
}

std::wstring ApplicationServiceWin32Gdi::getMachineSid() const {
    return guardedText(L"ApplicationServiceWin32Gdi::getMachineSid", [&]() -> std::wstring {
        const std::wstring computer = getComputerName();
        if (computer.empty()) {
            return {};
        }
        alignas(SID) std::array<unsigned char, kNameBuffer> sid{};
        std::array<wchar_t, kNameBuffer> domain{};
        DWORD sidSize = kNameBuffer;
        DWORD domainSize = kNameBuffer;
        SID_NAME_USE use{};
        if (!LookupAccountNameW(nullptr, computer.c_str(), sid.data(), &sidSize, domain.data(),
                                &domainSize, &use)) {
            return {};
        }
        wchar_t* text = nullptr;
        if (!ConvertSidToStringSidW(sid.data(), &text)) {
            return {};
        }
        const LocalMemory owner(text);
        return text;
    });
}

std::wstring ApplicationServiceWin32Gdi::getApplicationDirectory() const {
    return guardedText(
        L"ApplicationServiceWin32Gdi::getApplicationDirectory", [&]() -> std::wstring {
            std::array<wchar_t, MAX_PATH> path{};
            const DWORD size =
                GetModuleFileNameW(moduleInstance_, path.data(), static_cast<DWORD>(path.size()));
            const std::wstring whole(path.data(), size);
            return whole.substr(0, whole.rfind(L'\\'));
        });
}

std::wstring ApplicationServiceWin32Gdi::getUserAppDataDirectory() const {
    return guardedText(
        L"ApplicationServiceWin32Gdi::getUserAppDataDirectory", [&]() -> std::wstring {
            if (std::wstring directory = specialFolder(CSIDL_APPDATA); !directory.empty()) {
                return directory;
            }
            if (std::wstring directory = specialFolder(CSIDL_PERSONAL); !directory.empty()) {
                ZU_TRACE(
                    L"ApplicationServiceWin32Gdi::getUserAppDataDirectory: could not get directory "
                    L"CSIDL_APPDATA - trying CSIDL_PERSONAL");
                return directory;
            }
            ZU_TRACE(
                L"ApplicationServiceWin32Gdi::getUserAppDataDirectory: could not get directory "
                L"CSIDL_PERSONAL - defaulting to C:\\");
            return std::wstring(kLastResort);
        });
}

std::wstring ApplicationServiceWin32Gdi::getUserDocumentsDirectory() const {
    return guardedText(
        L"ApplicationServiceWin32Gdi::getUserDocumentsDirectory", [&]() -> std::wstring {
            if (std::wstring directory = specialFolder(CSIDL_PERSONAL); !directory.empty()) {
                return directory;
            }
            ZU_TRACE(
                L"ApplicationServiceWin32Gdi::getUserDocumentsDirectory: could not get directory "
                L"CSIDL_PERSONAL - defaulting to C:\\");
            return std::wstring(kLastResort);
        });
}

std::wstring ApplicationServiceWin32Gdi::getApplicationDataDirectory(bool create) {
    return guardedText(
        L"ApplicationServiceWin32Gdi::getApplicationDataDirectory", [&]() -> std::wstring {
            std::wstring directory = getUserAppDataDirectory() + L'\\' + getApplicationName();
            if (create && isWholeName(directory) &&
                GetFileAttributesW(directory.c_str()) == INVALID_FILE_ATTRIBUTES) {
                // Whoever writes into the directory notices soon enough that it is
                // not there.
                static_cast<void>(CreateDirectoryW(directory.c_str(), nullptr));
            }
            return directory;
        });
}

bool ApplicationServiceWin32Gdi::hasCriticalError() const {
    return getCriticalError() != kCriticalErrorNone;
}

std::uint32_t ApplicationServiceWin32Gdi::getCriticalError() const { return criticalError(); }

void ApplicationServiceWin32Gdi::setCriticalError(std::uint32_t code) {
    zustd::setCriticalError(code);
    setApplicationState(kApplicationStateCriticalError);
}

std::wstring ApplicationServiceWin32Gdi::getCriticalErrorText(std::uint32_t code) const {
    return guardedText(L"ApplicationServiceWin32Gdi::getCriticalErrorText", [&]() -> std::wstring {
        constexpr const wchar_t* kRequest =
            L" - please exit the application and contact your support representative";
        static constexpr std::array<const wchar_t*, 7> kTexts = {
            L"No critical error",
            L"Unknown critical error",
            L"Critical error: insufficient memory available",
            L"Critical error: pure virtual function call detected",
            L"Critical error: unhandled exception detected",
            L"Critical error: abort detected",
            L"Critical error: system exception detected",
        };
        if (code == kCriticalErrorNone) {
            return kTexts[code];
        }
        return std::wstring(code < kTexts.size() ? kTexts[code] : L"Unknown error type") + kRequest;
    });
}

bool ApplicationServiceWin32Gdi::installKeyboardHook() {
    if (hookedService != nullptr && hookedService != this) {
        hookedService->removeKeyboardHook();
    }
    if (!keyboardHook_) {
        keyboardHook_.reset(
            SetWindowsHookExW(WH_KEYBOARD, &keyboardHook, nullptr, GetCurrentThreadId()));
    }
    if (keyboardHook_) {
        hookedService = this;
    }
    return static_cast<bool>(keyboardHook_);
}

void ApplicationServiceWin32Gdi::removeKeyboardHook() {
    keyboardHook_.reset();
    if (hookedService == this) {
        hookedService = nullptr;
    }
}

int ApplicationServiceWin32Gdi::runMessageLoop() {
    MSG message{};
    while (handleNextMessage(message)) {
    }
    return message.message == WM_QUIT ? static_cast<int>(message.wParam) : 0;
}

void ApplicationServiceWin32Gdi::quitMessageLoop(int exitCode) { PostQuitMessage(exitCode); }

std::uint32_t ApplicationServiceWin32Gdi::getApplicationState() const { return applicationState_; }

void ApplicationServiceWin32Gdi::setApplicationState(std::uint32_t state) {
    applicationState_ = state;
}

std::shared_ptr<PropertyBag> ApplicationServiceWin32Gdi::getPreferences() const {
    return preferences_;
}

HINSTANCE ApplicationServiceWin32Gdi::getModuleInstance() const { return moduleInstance_; }

void ApplicationServiceWin32Gdi::setModuleInstance(HINSTANCE module) { moduleInstance_ = module; }

HANDLE ApplicationServiceWin32Gdi::getSecondHostHandle() const { return secondHostHandle_; }

void ApplicationServiceWin32Gdi::setSecondHostHandle(HANDLE handle) { secondHostHandle_ = handle; }

HWND ApplicationServiceWin32Gdi::getActiveWindow() const { return GetActiveWindow(); }

HWND ApplicationServiceWin32Gdi::getMainWindow() const { return nullptr; }

void ApplicationServiceWin32Gdi::logMemoryInfo() const {
    if (isTraced(kTraceLevelMemory)) {
        trace(kTraceLevelMemory, L"%ls\n%ls", L"ApplicationServiceWin32Gdi::logMemoryInfo:",
              getMemoryInfo().c_str());
    }
}

}  // namespace zustd
