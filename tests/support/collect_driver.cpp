// Runs a collection with an environment that a 64-bit program is not given by
// the system: the 32-bit view of a 64-bit machine is told by variables that are
// deleted at every start. A copy of this program runs on an older Windows.
//
// usage: collect_driver [light] [ocat] [NAME=value...]
//        collect_driver probe         the add-in's connection alone, in a second
//        collect_driver steps WHAT    such steps without end, until CTRL-C

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "Actions.h"
#include "Console.h"
#include "ConsoleSession.h"
#include "Diagnostics.h"
#include "ProbeProcess.h"
#include "TextFiles.h"
#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuServiceLocator.h"
#include "ZuWindows.h"

namespace {

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
    if (zuplutil::runAsProbeProcess(argc, argv)) {
        return 0;
    }
    bool light = false;
    bool ocat = false;
    for (int i = 1; i < argc; ++i) {
        const std::wstring argument = argv[i];
        if (argument == L"steps") {
            takeSteps(argv[i + 1]);
        }
        if (argument == L"probe") {
            zuplutil::probeAddin("probe.log", 1);
            return 0;
        }
        if (argument.find(L'=') != std::wstring::npos) {
            _wputenv(argument.c_str());
        }
        light = light || argument == L"light";
        ocat = ocat || argument == L"ocat";
    }
    const auto service = zustd::makeService<zustd::ApplicationService>();
    auto backend = std::make_unique<zustd::ApplicationServiceWin32Gdi>();
    backend->setApplicationName(L"Pellory For Outlook");
    zustd::joinImplementation(*service, std::move(backend));
    zustd::ServiceLocator::instance()->registerService(service, true, true);
    zuplutil::collectDiagnostics(light, ocat);
    return 0;
}
