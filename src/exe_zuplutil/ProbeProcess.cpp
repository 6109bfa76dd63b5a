#include "ProbeProcess.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "AddinProbe.h"
#include "Console.h"
#include "ConsoleSession.h"
#include "Paths.h"
#include "TextFiles.h"
#include "ZuHandleWin32Gdi.h"
#include "ZuText.h"

namespace zuplutil {

namespace {

constexpr wchar_t kArgument[] = L"addin-probe";

enum class Progress : std::uint32_t { kRunning, kDone, kThrew };

// What parent and child share; all zero at first.
struct Report {
    DWORD parent;
    std::array<char, 4096> logFile;
    std::atomic<Progress> progress;
    // How much of the text there is.
    std::atomic<std::uint32_t> size;
    std::array<char, 16384> text;
};

using Section = zustd::Handle<zustd::NullHandleTraits<HANDLE, &CloseHandle>>;
using Process = Section;
using View = zustd::Handle<zustd::NullHandleTraits<void*, &UnmapViewOfFile>>;

View map(HANDLE section) {
    return View(MapViewOfFile(section, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, sizeof(Report)));
}

std::wstring sectionName(const std::wstring& id) {
    return L"Local\\PelloryMaintenanceUtility.probe." + id;
}

// --- The child ------------------------------------------------------------------

// Ends this process with its parent, whatever the add-in is at then.
DWORD WINAPI endWithParent(void* parent) {
    WaitForSingleObject(parent, INFINITE);
    TerminateProcess(GetCurrentProcess(), 1);
    return 0;
}

// Neither the system's box nor a debugger; and next to no stack.
LONG WINAPI endWithException(EXCEPTION_POINTERS* exception) {
    TerminateProcess(GetCurrentProcess(), exception->ExceptionRecord->ExceptionCode);
    return EXCEPTION_CONTINUE_SEARCH;
}

// False when the parent has gone already.
bool followParent(DWORD id) {
    const HANDLE parent = OpenProcess(SYNCHRONIZE, FALSE, id);
    if (parent != nullptr) {
        const Process thread(CreateThread(nullptr, 0, &endWithParent, parent, 0, nullptr));
    }
    return parent != nullptr;
}

void connect(Report& report) {
    const std::string logFile = report.logFile.data();
    try {
        connectToAddin([&](const std::string& line) {
            printAndRecord("%s\n", line.c_str());
            appendLine(logFile, line);
            // What was printed so far is handed over: the child's own output goes nowhere.
            report.size = static_cast<std::uint32_t>(
                getTranscript().copy(report.text.data(), report.text.size()));
        });
        report.progress = Progress::kDone;
    } catch (...) {
        report.progress = Progress::kThrew;
    }
}

// --- The parent -----------------------------------------------------------------

// Without a console, as the add-in has none in Outlook either.
Process startChild(const std::wstring& id) {
    std::wstring program(std::size_t{32} * 1024, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    std::wstring line = L"\"" + program + L"\" " + kArgument + L" " + id;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS,
                        nullptr, nullptr, &startup, &process)) {
        return {};
    }
    const Process thread(process.hThread);
    return Process(process.hProcess);
}

// Whether the child ended in time; it is ended otherwise.
bool waitForChild(HANDLE child, const Report& report, unsigned seconds) {
    constexpr DWORD kGlance = 50;
    constexpr DWORD kPatienceWithTheSystem = 2000;
    const auto end = [child] {
        TerminateProcess(child, 1);
        WaitForSingleObject(child, kPatienceWithTheSystem);
    };
    // It might hold the add-in's files open.
    const InterruptGuard guard(end);
    // Prints what has come since the last time. The add-in may have written all
    // over the report: nothing in it is believed.
    auto printNews = [&report, printed = std::size_t{0}]() mutable {
        const std::size_t size = std::min<std::size_t>(report.size, report.text.size());
        if (size > printed) {
            printAndRecord("%s", std::string(&report.text[printed], size - printed).c_str());
            printed = size;
        }
    };
    const ULONGLONG begin = GetTickCount64();
    for (;;) {
        const bool ended = WaitForSingleObject(child, kGlance) == WAIT_OBJECT_0;
        const bool isLate = !ended && GetTickCount64() - begin >= ULONGLONG{1000} * seconds;
        if (isLate) {
            end();
        }
        printNews();
        if (ended || isLate) {
            return ended;
        }
    }
}

// One line for what the add-in did to its process; empty when all went well.
std::string describeEnd(DWORD exitCode, Progress progress) {
    // Errors of the system's and of programs; above them are the small negative
    // numbers that programs end with.
    constexpr DWORD kFirstException = 0xC0000000;
    constexpr DWORD kLastException = 0xEFFFFFFF;
    // What compilers raise for a thrown object; not all can be caught here.
    constexpr DWORD kThrownObject = 0xE06D7363;
    if (progress == Progress::kThrew || exitCode == kThrownObject) {
        return "Pellory add-in threw an exception";
    }
    if (exitCode >= kFirstException && exitCode <= kLastException) {
        return zustd::formatNarrow("Pellory add-in crashed with exception %lx", exitCode);
    }
    if (progress != Progress::kDone || exitCode != 0) {
        return zustd::formatNarrow("Pellory add-in ended its process with exit code %lx", exitCode);
    }
    return {};
}

// How the probe failed; empty when it did not.
std::string probe(const std::string& logFile, unsigned seconds) {
    const auto notStarted = [] {
        return zustd::formatNarrow("could not start the connection test (system error %lu)",
                                   GetLastError());
    };
    const std::wstring id =
        std::to_wstring(GetCurrentProcessId()) + L"." + std::to_wstring(GetTickCount64());
    const Section section(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                             sizeof(Report), sectionName(id).c_str()));
    const View view = section ? map(section.get()) : View();
    if (!view) {
        return notStarted();
    }
    Report& report = *static_cast<Report*>(view.get());
    report.parent = GetCurrentProcessId();
    logFile.copy(report.logFile.data(), report.logFile.size() - 1);
    stopIfInterrupted();
    const Process child = startChild(id);
    if (!child) {
        return notStarted();
    }
    if (!waitForChild(child.get(), report, seconds)) {
        return zustd::formatNarrow("Pellory add-in did not finish within %u seconds and was ended",
                                   seconds);
    }
    DWORD exitCode = 0;
    GetExitCodeProcess(child.get(), &exitCode);
    return describeEnd(exitCode, report.progress);
}

}  // namespace

void probeAddin(const std::string& logName, unsigned seconds) {
    // As a whole path: the add-in may go to another directory.
    const std::string directory = toNarrowPath(getCurrentDirectory());
    const std::string logFile = directory.empty() ? logName : directory + "\\" + logName;
    if (const std::string failure = probe(logFile, seconds); !failure.empty()) {
        printAndRecord("%s\n", failure.c_str());
        appendLine(logFile, failure);
    }
}

bool runAsProbeProcess(int argc, wchar_t** argv) {
    if (argc != 3 || std::wcscmp(argv[1], kArgument) != 0) {
        return false;
    }
    const Section section(
        OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, sectionName(argv[2]).c_str()));
    const View view = map(section.get());
    if (!view) {
        return false;
    }
    Report& report = *static_cast<Report*>(view.get());
    SetUnhandledExceptionFilter(&endWithException);
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    if (followParent(report.parent)) {
        connect(report);
    }
    return true;
}

}  // namespace zuplutil
