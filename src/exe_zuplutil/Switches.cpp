#include "Switches.h"

#include <algorithm>
#include <cstdio>

#include "Actions.h"
#include "CleanUp.h"
#include "Console.h"
#include "DebugLogging.h"
#include "Diagnostics.h"
#include "ZuText.h"

namespace zuplutil {

namespace {

bool isPresent(const std::vector<std::wstring>& switches, const wchar_t* name) {
    return std::any_of(switches.begin(), switches.end(), [name](const std::wstring& given) {
        return zustd::equalsIgnoringAsciiCase(given, name);
    });
}

// The first of these that is present is what is done.
struct SwitchAction {
    const wchar_t* name;
    void (*run)(const std::vector<std::wstring>& switches);
};

constexpr SwitchAction kActions[] = {
    {L"-askremovesettings", [](const auto&) { removeSettings(false); }},
    {L"-logdiagnostics",
     [](const auto& switches) {
         collectDiagnostics(isPresent(switches, L"-light"), !isPresent(switches, L"-noocat"));
     }},
    {L"-enableDebugging",
     [](const auto&) {
         enableDebugLogging();
         showDebugLoggingSettings(false);
     }},
    {L"-disableDebugging",
     [](const auto&) {
         disableDebugLogging();
         showDebugLoggingSettings(false);
     }},
};

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

}  // namespace zuplutil
