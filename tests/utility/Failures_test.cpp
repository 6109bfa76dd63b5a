// Everything that the utility asks of the system fails once: each allocation and
// each call, the n-th for all n. And the utility is killed at every call that
// changes something.
//
// The whole program runs in this process, against the system's own functions
// below a layer that counts them and lets one fail. Commands, the console, the
// add-in's process and the list of processes are played.

#include <objbase.h>
#include <shlobj.h>
#include <tlhelp32.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "Actions.h"
#include "AddinProbe.h"
#include "Console.h"
#include "ImportSlots.h"
#include "StandIn.h"
#include "Utility.h"
#include "UtilityTest.h"
#include "ZipWriter.h"

// Types of functions are enough here, whatever else is said of them; and memory
// does come from where it goes.
#pragma GCC diagnostic ignored "-Wignored-attributes"
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

namespace {

// --- Which call fails ---------------------------------------------------------

enum class Mode { kPass, kFail, kKill };

Mode mode = Mode::kPass;
// What the run has come to, and what it had when the call was due.
bool isCollecting = false;
bool wasCollecting = false;
int untilDue = 0;
constexpr UINT kKilled = 99;

// Counts a call; whether it is the one that fails.
bool isDue(bool changes) {
    if (mode == Mode::kPass || (mode == Mode::kKill && !changes) || --untilDue != 0) {
        return false;
    }
    wasCollecting = isCollecting;
    if (mode == Mode::kKill) {
        TerminateProcess(GetCurrentProcess(), kKilled);
    }
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    errno = ENOSPC;
    return true;
}

int failedAllocations = 0;
const char* failed = "";

}  // namespace

void* operator new(std::size_t size) {
    const bool fails = mode == Mode::kFail && isDue(false);
    void* const memory = fails ? nullptr : std::malloc(size);
    failedAllocations += fails;
    failed = fails ? "operator new" : failed;
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace zuplutil::test {
namespace {

// --- What is played -----------------------------------------------------------

class Pause {
public:
    Pause() : former_(std::exchange(mode, Mode::kPass)) {}
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
    ~Pause() { mode = former_; }

private:
    Mode former_;
};

struct Play {
    std::string output;
    std::string choices;
    std::size_t chosen = 0;
    int keys = 0;
    int processes = 0;
    int apartments = 0;
} play;

int playSystem(const char* command) {
    const Pause pause;
    const std::string line = command;
    // The last argument in quotes, or of the removal the only one.
    const std::size_t end = line.rfind('"', line.size() - 2);
    const std::size_t last = line.rfind('"', end - 1) + 1;
    const fs::path archive = line.substr(last, end - last);
    if (line.find("CScript") != line.npos) {
        standin::ZipWriter writer;
        for (const auto& [name, content] : filesBelow(archive.parent_path() / "PelloryLogs")) {
            writer.add(name, content);
        }
        write(archive, writer.bytes());
    } else if (const std::size_t removal = line.find("/q "); removal != line.npos) {
        std::string folder = line.substr(removal + 3);
        std::erase(folder, '"');
        std::error_code left;
        fs::remove_all(folder, left);
    }
    return 0;
}

int playPuts(const char* text, FILE*) {
    const Pause pause;
    play.output += text;
    isCollecting = isCollecting || play.output.find("Starting collection of") != std::string::npos;
    return 0;
}
int playFlush(FILE* file) {
    const Pause pause;
    return file == stdout || file == stdin ? 0 : std::fflush(file);
}
int playGetc(FILE*) {
    ++play.keys;
    return play.output.ends_with("<Enter>...\n") ? 'y' : '\n';
}
char* playGets(char* line, int, FILE*) {
    line[0] = play.chosen < play.choices.size() ? play.choices[play.chosen++] : '0';
    std::strcpy(line + 1, "\n");
    return line;
}

// Outlook starts and ends as the user is asked for it.
HANDLE WINAPI playSnapshot(DWORD, DWORD) { return CreateEventW(nullptr, TRUE, TRUE, nullptr); }
BOOL WINAPI playFirst(HANDLE, PROCESSENTRY32W*) {
    play.processes = play.keys % 3 == 0 ? 0 : 1;
    return TRUE;
}
BOOL WINAPI playNext(HANDLE, PROCESSENTRY32W* entry) {
    std::wcscpy(entry->szExeFile, L"OUTLOOK.EXE");
    return play.processes-- > 0;
}

BOOL WINAPI playProcess(LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD,
                        LPVOID, LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION process) {
    // What has happened can be waited for, as a process that has ended.
    process->hProcess = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    process->hThread = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    return TRUE;
}
void WINAPI playSleep(DWORD) {}

HRESULT WINAPI playInitialize(LPVOID) {
    ++play.apartments;
    return S_FALSE;
}
void WINAPI playUninitialize() { --play.apartments; }
HRESULT WINAPI playClassId(LPCOLESTR, LPCLSID) { return S_OK; }
HRESULT WINAPI playInstance(REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID*) { return S_OK; }

// --- The layer ----------------------------------------------------------------

struct Call {
    const char* name;
    std::intptr_t failure;
    // What a kill can come before.
    bool changes;
    // Fails after it was done: what is closed is closed.
    bool isDone;
    void* wrapper;
    void* played;
    void* original = nullptr;
    int failed = 0;
};
extern Call calls[];

template <class Result>
Result converted(std::intptr_t value) {
    if constexpr (std::is_pointer_v<Result>) {
        return reinterpret_cast<Result>(value);
    } else {
        return static_cast<Result>(value);
    }
}

template <std::size_t kIndex, class Function>
struct Wrapped;

#define WRAPPED(CONVENTION)                                                                        \
    template <std::size_t kIndex, class Result, class... Arguments>                                \
    struct Wrapped<kIndex, Result(CONVENTION*)(Arguments...)> {                                    \
        static Result CONVENTION call(Arguments... arguments) {                                    \
            Call& call = calls[kIndex];                                                            \
            const bool isPlayed = mode != Mode::kPass && call.played != nullptr;                   \
            const auto function = reinterpret_cast<Result(CONVENTION*)(Arguments...)>(             \
                isPlayed ? call.played : call.original);                                           \
            if constexpr (std::is_void_v<Result>) {                                                \
                return function(arguments...);                                                     \
            } else {                                                                               \
                const bool fails = isDue(call.changes);                                            \
                call.failed += fails;                                                              \
                ::failed = fails ? call.name : ::failed;                                           \
                Result result = converted<Result>(call.failure);                                   \
                if (!fails || call.isDone) {                                                       \
                    result = function(arguments...);                                               \
                }                                                                                  \
                return fails ? converted<Result>(call.failure) : result;                           \
            }                                                                                      \
        }                                                                                          \
    };
WRAPPED(__cdecl)
#ifndef _WIN64
WRAPPED(__stdcall)
#endif

using OpenFunction = int(__cdecl*)(const wchar_t*, int, int);

// clang-format off
constexpr std::size_t kFirst = __COUNTER__ + 1;
#define CALL_AS(NAME, TYPE, FAILURE, CHANGES, IS_DONE, PLAYED) \
    {#NAME, FAILURE, CHANGES, IS_DONE, reinterpret_cast<void*>(&Wrapped<__COUNTER__ - kFirst, TYPE>::call), PLAYED}
#define CALL(NAME, FAILURE) CALL_AS(NAME, decltype(&NAME), FAILURE, false, false, nullptr)
#define CHANGE(NAME, FAILURE) CALL_AS(NAME, decltype(&NAME), FAILURE, true, false, nullptr)
#define CLOSE(NAME, FAILURE) CALL_AS(NAME, decltype(&NAME), FAILURE, false, true, nullptr)
#define PLAY(NAME, FAILURE, INSTEAD) CALL_AS(NAME, decltype(&NAME), FAILURE, false, false, reinterpret_cast<void*>(&INSTEAD))

Call calls[] = {
    CALL(GetFileAttributesW, -1), CALL(GetFileAttributesExW, 0), CALL(FindFirstFileW, -1), CALL(FindNextFileW, 0),
    CHANGE(CreateFileW, -1), CALL(GetFileSizeEx, 0), CALL(ReadFile, 0), CHANGE(WriteFile, 0), CHANGE(FlushFileBuffers, 0),
    CHANGE(SetFileInformationByHandle, 0), CHANGE(DeleteFileW, 0), CHANGE(RemoveDirectoryW, 0), CHANGE(_wremove, -1),
    CHANGE(_wmkdir, -1), CHANGE(_wrename, -1), CALL(_wchdir, -1), CALL(_wgetcwd, 0), CHANGE(fopen, 0), CALL(_wfopen, 0),
    CALL(fread, 0), CLOSE(fclose, EOF), CALL_AS(_wopen, OpenFunction, -1, true, false, nullptr), CALL(_lseeki64, -1),
    CHANGE(_write, -1), CLOSE(_close, -1), CALL(CreateFileMappingW, 0), CALL(MapViewOfFile, 0),
    CALL(SHGetSpecialFolderPathW, 0), CALL(GetConsoleOutputCP, 0), CALL(SetConsoleOutputCP, 0), CALL(SetConsoleCtrlHandler, 0),
    PLAY(CreateProcessW, 0, playProcess), PLAY(CreateToolhelp32Snapshot, -1, playSnapshot),
    PLAY(Process32FirstW, 0, playFirst), PLAY(Process32NextW, 0, playNext),
    PLAY(CoInitialize, E_OUTOFMEMORY, playInitialize), PLAY(CoUninitialize, 0, playUninitialize),
    PLAY(CLSIDFromProgID, E_OUTOFMEMORY, playClassId), PLAY(CoCreateInstance, E_OUTOFMEMORY, playInstance),
    CALL_AS(system, decltype(&system), -1, true, false, reinterpret_cast<void*>(&playSystem)),
    CALL_AS(fputs, decltype(&fputs), EOF, false, true, reinterpret_cast<void*>(&playPuts)),
    PLAY(fflush, EOF, playFlush), PLAY(fgetc, EOF, playGetc), PLAY(fgets, 0, playGets), PLAY(Sleep, 0, playSleep),
};
// clang-format on

// --- What is done, and what may come of it ------------------------------------

struct Action {
    const char* name;
    std::vector<std::wstring> arguments;
    // At the menus; the last one stays 0.
    const char* choices;
};

const Action kActions[] = {{"collection", {L"-logdiagnostics"}, ""},
                           {"guided", {}, "11"},
                           {"switch", {L"-enableDebugging"}, ""},
                           {"settings", {}, "5"},
                           {"clean-up", {}, "7"},
                           {"probe", {L"probe"}, ""}};
const Action kMend = {"mend", {}, ""};

const std::string kMine = debugConfig("n", "$(auto)", "7", "3");
const std::string kOn = debugConfig("y", "$(auto)", "10", "1");

class FailuresTest : public ::testing::Test {
protected:
    FailuresTest() {
        // One that is to be killed works in the folders of the process that waits.
        if (order_.empty()) {
            SetEnvironmentVariableW(L"TESTROOT", folders_.root().c_str());
            fs::current_path(folders_.start());
        }
        for (Call& call : calls) {
            call.original = standin::replaceImport(call.name, call.wrapper);
        }
    }
    ~FailuresTest() override {
        for (const Call& call : calls) {
            standin::replaceImport(call.name, call.original);
        }
        fs::current_path(fs::temp_directory_path());
        SetEnvironmentVariableW(L"TESTROOT", nullptr);
    }

    // A collection makes its folders.
    void prepare(const Action& action) {
        for (const fs::directory_entry& entry : fs::directory_iterator(folders_.addinData())) {
            if (entry.path().filename() != "training.dat") {
                fs::remove(entry);
            }
        }
        fs::current_path(folders_.start());
        fs::remove_all(folders_.diagnostics());
        fs::remove_all(folders_.documents() / "PelloryDiagnostics");
        write(folders_.addinData() / "debug.config", kMine);
        for (const char* name : {"debug.log", "dump.log", "debug.log-1.bak", "settings_1.config"}) {
            write(folders_.addinData() / name, name);
        }
        if (!action.arguments.empty()) {
            return;
        }
        write(folders_.diagnostics() / "README.txt", "the last one");
        write(folders_.logs() / "stale.log", "the last one");
    }

    // Runs the utility with the n-th call failing or killing; the exit code. What
    // it said is in play.output.
    static int perform(const Action& action, Mode how, int n) {
        std::vector<std::wstring> words = {L"zuplutil"};
        words.insert(words.end(), action.arguments.begin(), action.arguments.end());
        std::vector<wchar_t*> arguments;
        for (std::wstring& word : words) {
            arguments.push_back(word.data());
        }
        play.output.clear();
        play.output.reserve(std::size_t{1} << 20);
        play.choices = action.choices;
        play.chosen = 0;
        play.keys = 0;
        isCollecting = wasCollecting = false;
        clearTranscript();
        untilDue = n;
        mode = how;
        const int exitCode = action.name == std::string("probe")
                                 ? probe()
                                 : runUtility(static_cast<int>(arguments.size()), arguments.data());
        mode = Mode::kPass;
        return exitCode;
    }

    // What the add-in's process does.
    static int probe() {
        runAction([] {
            connectToAddin([](const std::string& line) { printAndRecord("%s\n", line.c_str()); });
        });
        return play.apartments;
    }

    static bool said(const char* text) { return play.output.find(text) != std::string::npos; }
    static bool saidWhatFailed() {
        return said("Sorry, this ") || said("Could not ") || said("Cannot ") || said("still there");
    }

    // What the run left, against what it said.
    void expectHonest(const std::string& action, const FileContents& left) const {
        // What cannot tell the desktop takes the documents.
        const std::string place = said("user\\Documents") ? "Documents/PelloryDiagnostics/"
                                                          : "Desktop/PelloryDiagnostics/";
        const bool isPacked = said("Please locate the file ");
        if (action == "collection" || action == "guided") {
            EXPECT_TRUE(said("Completed collection of diagnostics for") || saidWhatFailed());
            EXPECT_TRUE(!isPacked || said("Log files zipped."));
            EXPECT_TRUE(!isPacked ||
                        readZip(folders_.root() / place / "PelloryDiagnosticsLogs.zip")
                            .contains("plutil.log") ||
                        saidWhatFailed());
            EXPECT_TRUE(!said("could not be packed") || left.contains(place + "PelloryLogs/"));
        } else if (action == "switch") {
            EXPECT_TRUE(!said("currently enabled") || left.at(kData + "debug.config") == kOn);
        } else if (action == "probe") {
            EXPECT_TRUE(said("Extensibility2 is null\n") || said("could not ") || saidWhatFailed());
        } else if (action == "settings") {
            EXPECT_TRUE(!left.contains(kData + "settings_1.config") || saidWhatFailed());
        } else if (said("Completed cleaning up")) {
            for (const auto& [path, content] : left) {
                EXPECT_TRUE(!path.starts_with("Desktop/PelloryDiagnostics/") &&
                            !path.starts_with(kData + "debug") && !path.starts_with(kData + "dump"))
                    << path;
            }
        }
    }

    // The user's files after the next run: as they were or as asked.
    void expectKept(const std::string& action) const {
        const FileContents left = filesBelow(folders_.root());
        const std::string config = kData + "debug.config";
        const bool isCleanUp = action == "clean-up";
        EXPECT_TRUE(left.contains(config)
                        ? left.at(config) == kMine || (action == "switch" && left.at(config) == kOn)
                        : isCleanUp)
            << (left.contains(config) ? left.at(config) : "none");
        for (const char* name : {"debug.log", "dump.log", "debug.log-1.bak", "settings_1.config"}) {
            const bool mayGo = action == "settings" ? *name == 's' : isCleanUp && *name == 'd';
            EXPECT_TRUE(mayGo || std::any_of(left.begin(), left.end(),
                                             [&](const auto& file) {
                                                 return file.first.starts_with(kData + name) &&
                                                        file.second == name;
                                             }))
                << name;
        }
        EXPECT_FALSE(left.contains(config + ".kept"));
        for (const std::string& change : differences(before_, left)) {
            const std::string path = change.substr(change.find(' ') + 1);
            EXPECT_TRUE(path.starts_with("Desktop/PelloryDiagnostics/") ||
                        path.starts_with("Documents/PelloryDiagnostics/") ||
                        path.starts_with(kData + "debug.") || path.starts_with(kData + "dump.") ||
                        path == kData + "settings_1.config")
                << change;
        }
    }

    // The number of the action and that of the change before which to be killed.
    const std::wstring order_ = standin::environmentVariable(L"PELLORY_KILL");
    TestFolders folders_{L"user"};
    FileContents before_ = filesBelow(folders_.root());
};

TEST_F(FailuresTest, everyCall_failsOnce_isToldAndLeavesTheUsersFiles) {
    int injected = 0;
    for (const Action& action : kActions) {
        const int before = injected;
        bool isOver = false;
        for (int n = 1; !isOver; ++n) {
            prepare(action);
            const int exitCode = perform(action, Mode::kFail, n);
            const bool isInjected = untilDue <= 0;
            injected += isInjected;
            // The collection that the guided one ends with is the other one's matter.
            isOver = !isInjected || (wasCollecting && action.arguments.empty());
            EXPECT_TRUE(exitCode == 0 || (exitCode == 1 && saidWhatFailed()));
            EXPECT_NE(fs::current_path(), folders_.logs());
            expectHonest(action.name, filesBelow(folders_.root()));
            const std::string output = play.output;
            perform(kMend, Mode::kFail, 0);
            expectKept(action.name);
            if (HasFailure()) {
                FAIL() << action.name << " " << n << " " << failed << output;
            }
        }
        std::printf("%s: %d injected, %d outcomes\n", action.name, injected - before,
                    injected - before);
    }
    std::printf("by call: operator new %d", failedAllocations);
    for (const Call& call : calls) {
        std::printf(", %s %d", call.name, call.failed);
    }
    std::printf("\n");
}

// The commands and changes of a run, one after another, are its last.
TEST_F(FailuresTest, killBeforeEveryChange_nextRun_putsTheUsersFilesRight) {
    if (!order_.empty()) {
        const auto n = static_cast<int>(std::wcstol(order_.c_str() + 1, nullptr, 10));
        perform(kActions[order_[0] - L'0'], Mode::kKill, n);
        return;
    }
    const Environment environment = {{L"TESTROOT", folders_.root().wstring()}};
    for (const int number : {0, 1, 2}) {
        const Action& action = kActions[number];
        int kills = 0;
        for (DWORD exitCode = kKilled; exitCode == kKilled; ++kills) {
            prepare(action);
            Environment own = environment;
            own[L"PELLORY_KILL"] = std::to_wstring(number) + std::to_wstring(kills + 1);
            UtilityProcess process(builtProgram("bin/utility_collection_tests.exe"),
                                   {L"--gtest_filter=*killBeforeEveryChange*"}, folders_.start(),
                                   own);
            exitCode = static_cast<DWORD>(process.exitCode());
            perform(kMend, Mode::kFail, 0);
            expectKept(action.name);
            if (HasFailure()) {
                FAIL() << action.name << " " << kills << process.output();
            }
        }
        EXPECT_GT(kills, 5);
        std::printf("%s: %d kills, %d outcomes\n", action.name, kills - 1, kills - 1);
    }
}

}  // namespace
}  // namespace zuplutil::test
