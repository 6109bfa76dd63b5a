// The utility with an environment that a 64-bit program is not given by the
// system: the 32-bit view of a 64-bit machine is told by variables that are
// deleted at every start. A copy of this program runs on an older Windows. With
// PELLORY_RECORD_ONLY it notes commands itself, so that a collection takes
// milliseconds.
//
// usage: collect_driver [NAME=value...] [arguments of the utility]
//        collect_driver probe         the add-in's connection alone, in a second
//        collect_driver steps WHAT    such steps without end, until CTRL-C

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>

#include "Actions.h"
#include "Console.h"
#include "ConsoleSession.h"
#include "ImportSlots.h"
#include "ProbeProcess.h"
#include "StandIn.h"
#include "TextFiles.h"
#include "Utility.h"
#include "ZuText.h"

namespace {

int noteCommand(const char* command) {
    standin::note(L"PELLORY_RECORD", zustd::widen(command));
    return 0;
}

[[noreturn]] void takeSteps(const std::wstring& what) {
    const zuplutil::ConsoleSession session;
    const zuplutil::InterruptGuard outer([] {
        Sleep(200);
        std::fputs("interrupted\n", stdout);
        std::fflush(stdout);
        Sleep(200);
    });
    {
        const zuplutil::InterruptGuard inner([] { std::fputs("inner\n", stdout); });
    }
    for (;;) {
        if (what == L"print") {
            zuplutil::printAndRecord("print\n");
        } else if (what == L"command") {
            zuplutil::runCommand("step");
        } else {
            zuplutil::writeTextFile("step", "");
            zuplutil::removeFile(L"step");
        }
        std::fputs("step\n", stdout);
        std::fflush(stdout);
        Sleep(10);
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    while (argc > 1 && std::wcschr(argv[1], L'=') != nullptr) {
        _wputenv(argv[1]);
        argv[1] = argv[0];
        ++argv;
        --argc;
    }
    if (!standin::environmentVariable(L"PELLORY_RECORD_ONLY").empty()) {
        standin::replaceImport("system", reinterpret_cast<void*>(&noteCommand));
    }
    const std::wstring what = argc > 1 ? argv[1] : L"";
    if (what == L"steps") {
        takeSteps(argv[2]);
    }
    if (what == L"probe") {
        zuplutil::probeAddin("probe.log", 1);
        return 0;
    }
    return zuplutil::runUtility(argc, argv);
}
