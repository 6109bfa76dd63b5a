#include "ZuApplicationService.h"

#include "ZuServiceLocator.h"
#include "ZuWindowService.h"

namespace zustd {

const MessageKind ApplicationService::kAppKeysPressed{L"appKeysPressed.ApplicationService"};
const MessageKind ApplicationService::kPrefShowTooltips{L"prefShowTooltips.ApplicationService"};

std::shared_ptr<WindowService> ApplicationService::createActiveWindowService(bool allowForeground) {
    return implementation().createActiveWindowService(allowForeground);
}

std::shared_ptr<WindowService> ApplicationService::createMainWindowService() {
    return implementation().createMainWindowService();
}

std::shared_ptr<WindowService> ApplicationService::createUnboundWindowService() {
    return implementation().createUnboundWindowService();
}

std::shared_ptr<WindowService> ApplicationService::createDesktopWindowService() {
    return implementation().createDesktopWindowService();
}

std::wstring ApplicationService::getApplicationName() const {
    return implementation().getApplicationName();
}

void ApplicationService::setApplicationName(const std::wstring& name) {
    implementation().setApplicationName(name);
}

bool ApplicationService::openDocument(const std::wstring& document) {
    return implementation().openDocument(document);
}

std::wstring ApplicationService::getComputerName() const {
    return implementation().getComputerName();
}

std::wstring ApplicationService::getMachineSid() const { return implementation().getMachineSid(); }

std::wstring ApplicationService::getApplicationDirectory() const {
    return implementation().getApplicationDirectory();
}

std::wstring ApplicationService::getUserAppDataDirectory() const {
    return implementation().getUserAppDataDirectory();
}

std::wstring ApplicationService::getUserDocumentsDirectory() const {
    return implementation().getUserDocumentsDirectory();
}

std::wstring ApplicationService::getApplicationDataDirectory(bool create) {
    return implementation().getApplicationDataDirectory(create);
}

bool ApplicationService::hasCriticalError() const { return implementation().hasCriticalError(); }

std::uint32_t ApplicationService::getCriticalError() const {
    return implementation().getCriticalError();
}

void ApplicationService::setCriticalError(std::uint32_t code) {
    implementation().setCriticalError(code);
}

std::wstring ApplicationService::getCriticalErrorText(std::uint32_t code) const {
    return implementation().getCriticalErrorText(code);
}

bool ApplicationService::installKeyboardHook() { return implementation().installKeyboardHook(); }

void ApplicationService::removeKeyboardHook() { implementation().removeKeyboardHook(); }

int ApplicationService::runMessageLoop() { return implementation().runMessageLoop(); }

void ApplicationService::quitMessageLoop(int exitCode) {
    implementation().quitMessageLoop(exitCode);
}

std::uint32_t ApplicationService::getApplicationState() const {
    return implementation().getApplicationState();
}

void ApplicationService::setApplicationState(std::uint32_t state) {
    implementation().setApplicationState(state);
}

std::shared_ptr<PropertyBag> ApplicationService::getPreferences() const {
    return implementation().getPreferences();
}

int showMessage(const std::wstring& text, std::uint32_t style) {
    const auto root = ServiceLocator::instance();
    const auto as = root ? root->getService<ApplicationService>() : nullptr;
    std::shared_ptr<WindowService> ws;
    if (as && as->hasImplementation()) {
        ws = as->createActiveWindowService(false);
        if (!ws) {
            ws = as->createMainWindowService();
        }
        if (!ws) {
            ws = as->createUnboundWindowService();
        }
    }
    ZU_ASSERT_AS(ws, L"ws", ZU_LINE(37));
    return ws->showMessage(text, as->getApplicationName(), style);
}

}  // namespace zustd
