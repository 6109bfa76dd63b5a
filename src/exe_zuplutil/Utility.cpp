#include "Utility.h"

#include <algorithm>
#include <cstdio>

#include "Actions.h"
#include "CleanUp.h"
#include "Console.h"
#include "ConsoleSession.h"
#include "DebugLogging.h"
#include "Diagnostics.h"
#include "Menus.h"
#include "ProbeProcess.h"
#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuResourceService.h"
#include "ZuResourceServiceGeneric.h"
#include "ZuResources.h"
#include "ZuServiceLocator.h"
#include "ZuText.h"
#include "ZuVersion.h"

namespace zuplutil {

namespace {

using Switches = std::vector<std::wstring>;

bool isPresent(const Switches& switches, const wchar_t* name) {
    return std::any_of(switches.begin(), switches.end(), [name](const std::wstring& given) {
        return zustd::equalsIgnoringAsciiCase(given, name);
    });
}

// The first of these that is present is what is done.
struct SwitchAction {
    const wchar_t* name;
    void (*run)(const Switches& switches);
};
// clang-format off
constexpr SwitchAction kActions[] = {
    {L"-askremovesettings", [](const Switches&) { removeSettings(false); }},
    {L"-logdiagnostics", [](const Switches& all) { collectDiagnostics(isPresent(all, L"-light"), !isPresent(all, L"-noocat")); }},
    {L"-enableDebugging", [](const Switches&) { enableDebugLogging(); showDebugLoggingSettings(false); }},
    {L"-disableDebugging", [](const Switches&) { disableDebugLogging(); showDebugLoggingSettings(false); }},
};
// clang-format on

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
void registerAtRoot(const std::shared_ptr<zustd::Service>& service) {
    zustd::ServiceLocator::instance()->registerService(service, true, true);
}

void registerResourceService() {
    auto service = zustd::makeService<zustd::ResourceService>();
    zustd::ResourceServiceGeneric::install(*service, zustd::compiledInResources());
    registerAtRoot(service);
}

void registerApplicationService() {
    auto service = zustd::makeService<zustd::ApplicationService>();
    auto backend = std::make_unique<zustd::ApplicationServiceWin32Gdi>();
    backend->setApplicationName(kApplicationName);
    zustd::joinImplementation(*service, std::move(backend));
    registerAtRoot(service);
}

int run(int argc, wchar_t** argv) {
    Switches switches;
    Switches others;
    splitArguments(argc, argv, switches, others);
    if (switches.empty() && others.empty()) {
        runAction(&mendDebugSettings);
        mainMenu();
        return 0;
    }
    return runSwitches(switches);
}

}  // namespace

void splitArguments(int argc, wchar_t** argv, std::vector<std::wstring>& switches,
                    std::vector<std::wstring>& others) {
    for (int i = 1; i < argc; ++i) {
        (argv[i][0] == L'-' ? switches : others).emplace_back(argv[i]);
    }
}

int runSwitches(const std::vector<std::wstring>& switches) {
    const auto action = std::find_if(
        std::begin(kActions), std::end(kActions),
        [&](const SwitchAction& candidate) { return isPresent(switches, candidate.name); });
    if (action == std::end(kActions)) {
        std::fputs("invalid arguments\n", stderr);
        return 1;
    }
    // Where the settings are is the shell's to say, which a call without an
    // action need not load.
    runAction(&mendDebugSettings);
    runAction([&] { action->run(switches); });
    if (isPresent(switches, L"-pause")) {
        waitForKey();
    }
    return 0;
}

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
