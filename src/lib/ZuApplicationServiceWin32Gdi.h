// The Windows half of the application service.
#pragma once

#include "ZuApplicationService.h"
#include "ZuHandleWin32Gdi.h"

namespace zustd {

// Behind the interface's slots the backend has its own, in a fixed order too.
class ApplicationServiceWin32Gdi
    : public Implementation<ApplicationService, IApplicationServiceImpl> {
public:
    ApplicationServiceWin32Gdi();
    ~ApplicationServiceWin32Gdi() override { ApplicationServiceWin32Gdi::removeKeyboardHook(); }

    std::shared_ptr<WindowService> createActiveWindowService(bool allowForeground) override;
    std::shared_ptr<WindowService> createMainWindowService() override;
    std::shared_ptr<WindowService> createUnboundWindowService() override;
    std::shared_ptr<WindowService> createDesktopWindowService() override;
    std::wstring getApplicationName() const override;
    void setApplicationName(const std::wstring& name) override;
    bool openDocument(const std::wstring& document) override;
    std::wstring getComputerName() const override;
    std::wstring getMachineSid() const override;
    std::wstring getApplicationDirectory() const override;
    std::wstring getUserAppDataDirectory() const override;
    std::wstring getUserDocumentsDirectory() const override;
    std::wstring getApplicationDataDirectory(bool create) override;
    bool hasCriticalError() const override { return getCriticalError() != kCriticalErrorNone; }
    std::uint32_t getCriticalError() const override { return criticalError(); }
    void setCriticalError(std::uint32_t code) override;
    std::wstring getCriticalErrorText(std::uint32_t code) const override;
    bool installKeyboardHook() override;
    void removeKeyboardHook() override;
    int runMessageLoop() override;
    void quitMessageLoop(int exitCode) override { PostQuitMessage(exitCode); }
    std::uint32_t getApplicationState() const override { return applicationState_; }
    void setApplicationState(std::uint32_t state) override { applicationState_ = state; }
    std::shared_ptr<PropertyBag> getPreferences() const override { return preferences_; }

    // The module whose path is the program's; null means the executable.
    virtual HINSTANCE getModuleInstance() const { return moduleInstance_; }
    virtual void setModuleInstance(HINSTANCE module) { moduleInstance_ = module; }
    // A handle that the host finds useful; stored and given back.
    virtual HANDLE getSecondHostHandle() const { return secondHostHandle_; }
    virtual void setSecondHostHandle(HANDLE handle) { secondHostHandle_ = handle; }
    // The calling thread's active window, or null.
    virtual HWND getActiveWindow() const { return GetActiveWindow(); }
    // Null: a console program has no main window.
    virtual HWND getMainWindow() const { return nullptr; }

    // Traces the memory report at kTraceLevelMemory.
    void logMemoryInfo() const;

private:
    static LRESULT CALLBACK keyboardHook(int code, WPARAM key, LPARAM state) noexcept;

    HINSTANCE moduleInstance_ = nullptr;
    HANDLE secondHostHandle_ = nullptr;
    std::wstring applicationName_;
    std::uint32_t applicationState_ = 0;
    std::shared_ptr<PropertyBag> preferences_;
    HookHandle keyboardHook_;
};

}  // namespace zustd
