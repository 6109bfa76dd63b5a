#include "ZuApplicationServiceWin32Gdi.h"

#include <sddl.h>
#include <shellapi.h>
#include <shlobj.h>

#include "ZuFile.h"
#include "ZuLateLoading.h"
#include "ZuMessageLoopWin32Gdi.h"
#include "ZuNativeControlWin32Gdi.h"
#include "ZuPropertyBag.h"
#include "ZuWindowServiceWin32Gdi.h"

namespace zustd {

namespace {

constexpr std::size_t kNameBuffer = 512;

// The backend whose hook is installed on this thread.
constinit thread_local ApplicationServiceWin32Gdi* hookedService = nullptr;

// A special folder's path without creating it; empty when the shell has none.
std::wstring specialFolder(int csidl) {
    std::array<wchar_t, MAX_PATH> path{};
    return SHGetSpecialFolderPathW(nullptr, path.data(), csidl, FALSE) ? path.data()
                                                                       : std::wstring();
}

std::shared_ptr<WindowService> guardedService(const wchar_t* operation, HWND window) {
    return guarded(operation, std::shared_ptr<WindowService>(),
                   [window] { return makeWindowService(window); });
}

// Empty, and a line in the trace, where there is no such window.
std::shared_ptr<WindowService> serviceOf(HWND window, const wchar_t* operation,
                                         const wchar_t* kind) {
    if (window == nullptr) {
        ZU_TRACE(L"%ls: no %ls window found", operation, kind);
        return nullptr;
    }
    return guardedService(operation, window);
}

// For the user's documents, or what stands in for it.
std::wstring documentsFolder(const wchar_t* operation, bool isSecondChoice) {
    std::wstring directory = specialFolder(CSIDL_PERSONAL);
    if (directory.empty()) {
        ZU_TRACE(L"%ls: could not get directory CSIDL_PERSONAL - defaulting to C:\\", operation);
        directory = L"C:\\";
    } else if (isSecondChoice) {
        ZU_TRACE(L"%ls: could not get directory CSIDL_APPDATA - trying CSIDL_PERSONAL", operation);
    }
    return directory;
}

template <class Body>
std::wstring guardedText(const wchar_t* operation, Body&& body) {
    return guarded(operation, std::wstring(), std::forward<Body>(body));
}

static_assert(ApplicationService::kKeyShift == kModifierShift &&
              ApplicationService::kKeyControl == kModifierControl &&
              ApplicationService::kKeyAlt == kModifierAlt);

}  // namespace

ApplicationServiceWin32Gdi::ApplicationServiceWin32Gdi()
    : preferences_(makeSharedOrNull<PropertyBag>()) {
    ZU_ASSERT_AS(preferences_, L"preferences_", ZU_LINE(322));
}

std::shared_ptr<WindowService> ApplicationServiceWin32Gdi::createActiveWindowService(
    bool allowForeground) {
    constexpr const wchar_t* kOperation = ZU_OPERATION;
    // Whoever asks for a window hears what keeps this machine from having any.
    requireWindowLibraries();
    if (auto service = serviceOf(getActiveWindow(), kOperation, L"active")) {
        return service;
    }
    if (allowForeground) {
        constexpr const wchar_t* kForeground = L"foreground";
        ZU_TRACE(L"%ls: trying %ls window", kOperation, kForeground);
        if (auto service = serviceOf(GetForegroundWindow(), kOperation, kForeground)) {
            return service;
        }
    }
    ZU_TRACE(L"%ls: cannot create active window service", kOperation);
    return nullptr;
}

std::shared_ptr<WindowService> ApplicationServiceWin32Gdi::createMainWindowService() {
    return serviceOf(getMainWindow(), ZU_OPERATION, L"main");
}

std::shared_ptr<WindowService> ApplicationServiceWin32Gdi::createUnboundWindowService() {
    return guardedService(ZU_OPERATION, nullptr);
}

std::shared_ptr<WindowService> ApplicationServiceWin32Gdi::createDesktopWindowService() {
    return guardedService(ZU_OPERATION, GetDesktopWindow());
}

std::wstring ApplicationServiceWin32Gdi::getApplicationName() const {
    return guardedText(ZU_OPERATION, [&] { return applicationName_; });
}

void ApplicationServiceWin32Gdi::setApplicationName(const std::wstring& name) {
    guarded(ZU_OPERATION, [&] { applicationName_ = name; });
}

bool ApplicationServiceWin32Gdi::openDocument(const std::wstring& document) {
    // By contract of the call, values up to 32 are errors.
    constexpr INT_PTR kLastError = 32;
    return isWholeName(document) && guarded(ZU_OPERATION, false, [&] {
               const HINSTANCE result = ShellExecuteW(nullptr, L"open", document.c_str(), nullptr,
                                                      nullptr, SW_SHOWNORMAL);
               return reinterpret_cast<INT_PTR>(result) > kLastError;
           });
}

std::wstring ApplicationServiceWin32Gdi::getComputerName() const {
    return guardedText(ZU_OPERATION, [&]() -> std::wstring {
        std::array<wchar_t, kNameBuffer> name{};
        DWORD size = kNameBuffer;
        return GetComputerNameW(name.data(), &size) ? std::wstring(name.data(), size)
                                                    : std::wstring();
    });
}

std::wstring ApplicationServiceWin32Gdi::getMachineSid() const {
    return guardedText(ZU_OPERATION, [&]() -> std::wstring {
        const std::wstring computer = getComputerName();
        if (computer.empty()) {
            return {};
        }
        alignas(SID) std::array<unsigned char, kNameBuffer> sid{};
        std::array<wchar_t, kNameBuffer> domain{};
        DWORD sidSize = kNameBuffer;
        DWORD domainSize = kNameBuffer;
        SID_NAME_USE use{};
        wchar_t* text = nullptr;
        if (!LookupAccountNameW(nullptr, computer.c_str(), sid.data(), &sidSize, domain.data(),
                                &domainSize, &use) ||
            !ConvertSidToStringSidW(sid.data(), &text)) {
            return {};
        }
        return static_cast<const wchar_t*>(LocalMemory(text).get());
    });
}

std::wstring ApplicationServiceWin32Gdi::getApplicationDirectory() const {
    return guardedText(ZU_OPERATION, [&]() -> std::wstring {
        std::array<wchar_t, MAX_PATH> path{};
        const DWORD size =
            GetModuleFileNameW(moduleInstance_, path.data(), static_cast<DWORD>(path.size()));
        const std::wstring whole(path.data(), size);
        return whole.substr(0, whole.rfind(L'\\'));
    });
}

std::wstring ApplicationServiceWin32Gdi::getUserAppDataDirectory() const {
    constexpr const wchar_t* kOperation = ZU_OPERATION;
    return guardedText(kOperation, [] {
        std::wstring directory = specialFolder(CSIDL_APPDATA);
        return directory.empty() ? documentsFolder(kOperation, true) : directory;
    });
}

std::wstring ApplicationServiceWin32Gdi::getUserDocumentsDirectory() const {
    constexpr const wchar_t* kOperation = ZU_OPERATION;
    return guardedText(kOperation, [] { return documentsFolder(kOperation, false); });
}

std::wstring ApplicationServiceWin32Gdi::getApplicationDataDirectory(bool create) {
    return guardedText(ZU_OPERATION, [&]() -> std::wstring {
        std::wstring directory = getUserAppDataDirectory() + L'\\' + getApplicationName();
        if (create && isWholeName(directory) &&
            GetFileAttributesW(directory.c_str()) == INVALID_FILE_ATTRIBUTES) {
            // Whoever writes into it notices soon enough that it is not there.
            static_cast<void>(CreateDirectoryW(directory.c_str(), nullptr));
        }
        return directory;
    });
}

void ApplicationServiceWin32Gdi::setCriticalError(std::uint32_t code) {
    zustd::setCriticalError(code);
    setApplicationState(kApplicationStateCriticalError);
}

std::wstring ApplicationServiceWin32Gdi::getCriticalErrorText(std::uint32_t code) const {
    return guardedText(ZU_OPERATION, [&]() -> std::wstring {
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

LRESULT CALLBACK ApplicationServiceWin32Gdi::keyboardHook(int code, WPARAM key,
                                                          LPARAM state) noexcept {
    if (code == HC_ACTION && !hasFlag(HIWORD(state), KF_UP) && hookedService != nullptr) {
        guarded(ZU_OPERATION, [&] {
            hookedService->getAbstraction().sendMessage(
                ApplicationService::kAppKeysPressed, MessageWord(static_cast<std::intptr_t>(key)),
                MessageWord(static_cast<std::intptr_t>(heldModifiers())));
        });
    }
    return CallNextHookEx(nullptr, code, key, state);
}

bool ApplicationServiceWin32Gdi::installKeyboardHook() {
    if (hookedService != this) {
        if (hookedService != nullptr) {
            hookedService->removeKeyboardHook();
        }
        keyboardHook_.reset(
            SetWindowsHookExW(WH_KEYBOARD, &keyboardHook, nullptr, GetCurrentThreadId()));
        hookedService = keyboardHook_ ? this : nullptr;
    }
    return hookedService == this;
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

void ApplicationServiceWin32Gdi::logMemoryInfo() const {
    if (isTraced(kTraceLevelMemory)) {
        trace(kTraceLevelMemory, L"%ls:\n%ls", ZU_OPERATION, getMemoryInfo().c_str());
    }
}

}  // namespace zustd
