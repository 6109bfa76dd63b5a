// The door to the host system for everything that is not drawing.
//
// A backend behind IApplicationServiceImpl does the work. The front is found in
// the service registry by its type.
#pragma once

#include "ZuAbstraction.h"
#include "ZuService.h"

namespace zustd {

class PropertyBag;
class WindowService;

// The state of an application in which it should tell the user and end.
inline constexpr std::uint32_t kApplicationStateCriticalError = 4;

// What a backend does for the front. Slot order is fixed; what the framework
// itself does not call is there for hosts.
class IApplicationServiceImpl : public IBackend {
public:
    // Window services for the active window (with allowForeground also for another program's), the
    // main window, no window, the desktop. Empty when there is no such window.
    virtual std::shared_ptr<WindowService> createActiveWindowService(bool allowForeground) = 0;
    virtual std::shared_ptr<WindowService> createMainWindowService() = 0;
    virtual std::shared_ptr<WindowService> createUnboundWindowService() = 0;
    virtual std::shared_ptr<WindowService> createDesktopWindowService() = 0;

    virtual std::wstring getApplicationName() const = 0;
    virtual void setApplicationName(const std::wstring& name) = 0;

    // Opens a document or address with the user's program for it; whether the system accepted it.
    virtual bool openDocument(const std::wstring& name) = 0;

    virtual std::wstring getComputerName() const = 0;
    // A stable identifier of the machine; empty when it cannot be told.
    virtual std::wstring getMachineSid() const = 0;

    // Directories: of the program, of the user's application data, of the user's documents, and
    // this application's own below the application data. Folders that the system does not name are
    // replaced by documents, then by "C:\", the only one with a backslash at its end. With create
    // the last one is made; that this fails is not reported.
    virtual std::wstring getApplicationDirectory() const = 0;
    virtual std::wstring getUserAppDataDirectory() const = 0;
    virtual std::wstring getUserDocumentsDirectory() const = 0;
    virtual std::wstring getApplicationDataDirectory(bool create) = 0;

    // The process-wide critical error. Setting one also puts the application
    // into kApplicationStateCriticalError.
    virtual bool hasCriticalError() const = 0;
    virtual std::uint32_t getCriticalError() const = 0;
    virtual void setCriticalError(std::uint32_t code) = 0;
    virtual std::wstring getCriticalErrorText(std::uint32_t code) const = 0;

    // While the hook is installed, key presses of this thread's windows are sent as
    // ApplicationService::kAppKeysPressed. A thread has one: whoever installs it takes it over from
    // another service. False when it cannot be installed.
    virtual bool installKeyboardHook() = 0;
    virtual void removeKeyboardHook() = 0;
    // Dispatches messages of this thread until it is told to quit; the code that it was told.
    virtual int runMessageLoop() = 0;
    virtual void quitMessageLoop(int exitCode) = 0;

    virtual std::uint32_t getApplicationState() const = 0;
    virtual void setApplicationState(std::uint32_t state) = 0;

    // The user's choices that the application remembers while it runs.
    virtual std::shared_ptr<PropertyBag> getPreferences() const = 0;
};

class ApplicationService : public Abstraction<IApplicationServiceImpl>, public Service {
public:
    // First word: the virtual key; second: bits of kKeyShift to kKeyAlt.
    static const MessageKind kAppKeysPressed;
    // First word: 1 when tooltips are to be shown, else 0. Sent by hosts.
    static const MessageKind kPrefShowTooltips;

    static constexpr std::intptr_t kKeyShift = 1;
    static constexpr std::intptr_t kKeyControl = 2;
    static constexpr std::intptr_t kKeyAlt = 4;

    using Service::Service;
    ~ApplicationService() override { releaseImplementation(); }

    // Each hands on to the backend, and fails the assertion "impl_" without one.
    std::shared_ptr<WindowService> createActiveWindowService(bool allowForeground) {
        return implementation().createActiveWindowService(allowForeground);
    }
    auto createMainWindowService() { return implementation().createMainWindowService(); }
    auto createUnboundWindowService() { return implementation().createUnboundWindowService(); }
    auto createDesktopWindowService() { return implementation().createDesktopWindowService(); }
    std::wstring getApplicationName() const { return implementation().getApplicationName(); }
    void setApplicationName(const std::wstring& name) { implementation().setApplicationName(name); }
    bool openDocument(const std::wstring& name) { return implementation().openDocument(name); }
    std::wstring getComputerName() const { return implementation().getComputerName(); }
    std::wstring getMachineSid() const { return implementation().getMachineSid(); }
    auto getApplicationDirectory() const { return implementation().getApplicationDirectory(); }
    auto getUserAppDataDirectory() const { return implementation().getUserAppDataDirectory(); }
    auto getUserDocumentsDirectory() const { return implementation().getUserDocumentsDirectory(); }
    std::wstring getApplicationDataDirectory(bool create) {
        return implementation().getApplicationDataDirectory(create);
    }
    bool hasCriticalError() const { return implementation().hasCriticalError(); }
    std::uint32_t getCriticalError() const { return implementation().getCriticalError(); }
    void setCriticalError(std::uint32_t code) { implementation().setCriticalError(code); }
    std::wstring getCriticalErrorText(std::uint32_t code) const {
        return implementation().getCriticalErrorText(code);
    }
    bool installKeyboardHook() { return implementation().installKeyboardHook(); }
    void removeKeyboardHook() { implementation().removeKeyboardHook(); }
    int runMessageLoop() { return implementation().runMessageLoop(); }
    void quitMessageLoop(int exitCode) { implementation().quitMessageLoop(exitCode); }
    std::uint32_t getApplicationState() const { return implementation().getApplicationState(); }
    void setApplicationState(std::uint32_t state) { implementation().setApplicationState(state); }
    auto getPreferences() const { return implementation().getPreferences(); }
};

// The preferences of the application service found from a registry; empty where there is none.
std::shared_ptr<PropertyBag> preferencesOf(const ServiceLocator& locator);

// Shows a message box under the application's name, owned by the active window if there is one, and
// returns the answer (see ZuWindowService). Style is a sum of message-box styles. Fails the
// assertion "ws" when no application service can give a window service.
int showMessage(const std::wstring& text, std::uint32_t style);

}  // namespace zustd
