#include "ZuApplicationService.h"

#include "ZuServiceLocator.h"
#include "ZuWindowService.h"

namespace zustd {

ZU_MESSAGE_KIND(ApplicationService::kAppKeysPressed, MessageWords::kUnsaid);
ZU_MESSAGE_KIND(ApplicationService::kPrefShowTooltips, MessageWords::kUnsaid);

std::shared_ptr<PropertyBag> preferencesOf(const ServiceLocator& locator) {
    const auto as = locator.getService<ApplicationService>();
    return as && as->hasImplementation() ? as->getPreferences() : nullptr;
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
