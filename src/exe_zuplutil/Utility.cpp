#include "Utility.h"

#include <memory>
#include <string>
#include <vector>

#include "Actions.h"
#include "Console.h"
#include "ConsoleSession.h"
#include "DebugLogging.h"
#include "Menus.h"
#include "ProbeProcess.h"
#include "Switches.h"
#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuResourceService.h"
#include "ZuResourceServiceGeneric.h"
#include "ZuResources.h"
#include "ZuServiceLocator.h"
#include "ZuText.h"
#include "ZuVersion.h"

namespace zuplutil {

namespace {

void showBanner() {
#ifdef NDEBUG
    constexpr zustd::BuildKind kind = zustd::BuildKind::Release;
#else
    constexpr zustd::BuildKind kind = zustd::BuildKind::Debug;
#endif
    const zustd::Version version{1, 8, zustd::Version::kDefaultBuild, kind,
                                 L"Diagnostics and maintenance for the Pellory add-in."};
    printAndRecord("\nPellory Maintenance Utility v%s\n",
                   zustd::narrow(version.toDisplayText()).c_str());
    printAndRecord("%s\n\n", zustd::narrow(version.notice).c_str());
}

// The registry's root holds the services until the process ends.
void registerResourceService() {
    auto service = zustd::makeService<zustd::ResourceService>();
    zustd::ResourceServiceGeneric::install(*service, zustd::compiledInResources());
    zustd::ServiceLocator::instance()->registerService(service, true, true);
}

void registerApplicationService() {
    auto service = zustd::makeService<zustd::ApplicationService>();
    auto backend = std::make_unique<zustd::ApplicationServiceWin32Gdi>();
    backend->setModuleInstance(nullptr);
    backend->setSecondHostHandle(nullptr);
    backend->setApplicationName(kApplicationName);
    zustd::joinImplementation(*service, std::move(backend));
    zustd::ServiceLocator::instance()->registerService(service, true, true);
}

int run(int argc, wchar_t** argv) {
    std::vector<std::wstring> switches;
    std::vector<std::wstring> others;
    splitArguments(argc, argv, switches, others);
    if (switches.empty() && others.empty()) {
        runAction(&mendDebugSettings);
        mainMenu();
        return 0;
    }
    return runSwitches(switches);
}

}  // namespace

int runUtility(int argc, wchar_t** argv) {
    if (runAsProbeProcess(argc, argv)) {
        return 0;
    }
    const ConsoleSession session;
    int exitCode = 1;
    runAction([&] {
        showBanner();
        registerResourceService();
        registerApplicationService();
        exitCode = run(argc, argv);
    });
    return exitCode;
}

}  // namespace zuplutil
