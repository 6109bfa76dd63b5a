#include "PlayedSystem.h"

#include <io.h>
#include <shlobj.h>
#include <tlhelp32.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

// Types of functions are enough here, whatever else is said of them.
#pragma GCC diagnostic ignored "-Wignored-attributes"

namespace zuplutil::test {

Play play;

namespace {

Mode mode = Mode::kPass;
int untilDue = 0;

// Counts a call; whether it is the one that fails.
bool isDue(const char* name, bool changes) {
    if (mode == Mode::kPass || (mode == Mode::kKill && !changes) || --untilDue != 0) {
        return false;
    }
    if (mode == Mode::kKill) {
        TerminateProcess(GetCurrentProcess(), kKilled);
    }
    play.failedCall = name;
    play.isCollecting = play.story.find("Starting collection of") != play.story.npos;
    SetLastError(ERROR_ACCESS_DENIED);
    errno = ENOSPC;
    return true;
}

std::string waiting;
std::size_t next = 0;

int playSystem(const char* command) {
    std::string line = command;
    if (line.starts_with("cmd /S /C \"") && line.ends_with("\"")) {
        line = line.substr(11, line.size() - 12);
    }
    play.story += "$ " + line + "\n";
    play.onCommand(line);
    return 0;
}
int playPuts(const char* text, FILE* file) {
    play.story += (file == stderr ? "! " : "") + std::string(text);
    return 0;
}
int playFlush(FILE* file) {
    waiting.erase(0, file == stdin ? waiting.size() : 0);
    return file == stdout || file == stdin ? 0 : std::fflush(file);
}
// Of what is typed, so much at most; the rest of a line waits.
std::string take(std::size_t most) {
    if (waiting.empty()) {
        waiting = play.typed();
    }
    const std::string taken = waiting.substr(0, std::min(waiting.find('\n') + 1, most));
    waiting.erase(0, taken.size());
    return taken;
}
int playGetc(FILE*) {
    const std::string taken = take(1);
    return taken.empty() ? EOF : taken[0];
}
char* playGets(char* line, int size, FILE*) {
    const std::string taken = take(static_cast<std::size_t>(size) - 1);
    return taken.empty() ? nullptr : std::strcpy(line, taken.c_str());
}

// What has happened can be waited for, as a process that has ended.
HANDLE happened() { return CreateEventW(nullptr, TRUE, TRUE, nullptr); }

HANDLE WINAPI playSnapshot(DWORD what, DWORD) {
    next = 0;
    return what == TH32CS_SNAPPROCESS ? happened() : INVALID_HANDLE_VALUE;
}
// There is one before those of the play, which nobody compares.
BOOL WINAPI playEntry(HANDLE, PROCESSENTRY32W* entry) {
    if (next > play.processes.size() || entry->dwSize != sizeof(*entry)) {
        return FALSE;
    }
    std::wcscpy(entry->szExeFile, next == 0 ? L"outlook.exe" : play.processes[next - 1].c_str());
    ++next;
    return TRUE;
}
BOOL WINAPI playProcess(LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD,
                        LPVOID, LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION started) {
    if (!play.onProbe()) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    started->hProcess = happened();
    started->hThread = happened();
    return TRUE;
}
DWORD WINAPI playSleep(DWORD milliseconds) {
    play.slept += milliseconds;
    play.onSleep();
    return 0;
}
// As the system does: without room, how much is needed.
DWORD WINAPI playShortPath(LPCWSTR, LPWSTR path, DWORD size) {
    const std::wstring now = play.shortPath();
    const bool fits = now.size() < size;
    std::copy_n(now.c_str(), fits ? now.size() + 1 : 0, path);
    return static_cast<DWORD>(now.size() + (fits || now.empty() ? 0 : 1));
}
BOOL WINAPI playVersion(LPOSVERSIONINFOW version) {
    version->dwMajorVersion = play.windowsVersion;
    return version->dwOSVersionInfoSize == 276;
}
UINT WINAPI playCodePage() { return play.codePage; }
BOOL WINAPI playSetCodePage(UINT codePage) {
    play.codePage = codePage;
    return TRUE;
}

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
};
extern Call calls[];

template <std::size_t kIndex, class Function>
struct Wrapped;

#define WRAPPED(CONVENTION)                                                                        \
    template <std::size_t kIndex, class Result, class... Arguments>                                \
    struct Wrapped<kIndex, Result(CONVENTION*)(Arguments...)> {                                    \
        static Result CONVENTION call(Arguments... arguments) {                                    \
            const Call& call = calls[kIndex];                                                      \
            const bool fails = isDue(call.name, call.changes);                                     \
            Result result = Result(call.failure);                                                  \
            if (!fails || call.isDone) {                                                           \
                const bool isPlayed = mode != Mode::kPass && call.played != nullptr;               \
                const Mode former = std::exchange(mode, Mode::kPass);                              \
                result = reinterpret_cast<Result(CONVENTION*)(Arguments...)>(                      \
                    isPlayed ? call.played : call.original)(arguments...);                         \
                mode = former;                                                                     \
            }                                                                                      \
            return fails ? Result(call.failure) : result;                                          \
        }                                                                                          \
    };
WRAPPED(__cdecl)
#ifndef _WIN64
WRAPPED(__stdcall)
#endif

using OpenFunction = int(__cdecl*)(const wchar_t*, int, int);
using SleepFunction = DWORD(WINAPI*)(DWORD);

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
    CALL(SHGetSpecialFolderPathW, 0), CALL(SetConsoleCtrlHandler, 0),
    PLAY(GetConsoleOutputCP, 0, playCodePage), PLAY(SetConsoleOutputCP, 0, playSetCodePage),
    PLAY(CreateProcessW, 0, playProcess), PLAY(CreateToolhelp32Snapshot, -1, playSnapshot),
    PLAY(Process32FirstW, 0, playEntry), PLAY(Process32NextW, 0, playEntry), PLAY(GetVersionExW, 0, playVersion),
    PLAY(GetShortPathNameW, 0, playShortPath),
    CALL_AS(system, decltype(&system), -1, true, false, reinterpret_cast<void*>(&playSystem)),
    CALL_AS(fputs, decltype(&fputs), EOF, false, true, reinterpret_cast<void*>(&playPuts)),
    PLAY(fflush, EOF, playFlush), PLAY(fgetc, EOF, playGetc), PLAY(fgets, 0, playGets),
    CALL_AS(Sleep, SleepFunction, 0, false, false, reinterpret_cast<void*>(&playSleep)),
};
// clang-format on

const bool isInstalled = [] {
    auto* const base = reinterpret_cast<char*>(GetModuleHandleW(nullptr));
    const auto& headers = *reinterpret_cast<IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const DWORD table =
        headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* library = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + table);
         library->Name != 0; ++library) {
        auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + library->OriginalFirstThunk);
        auto* slot = reinterpret_cast<void**>(base + library->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++slot) {
            const auto* const imported = reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(
                base + static_cast<std::uintptr_t>(names->u1.AddressOfData));
            for (Call& call : calls) {
                // A function may be imported under several names of the compiler's.
                if (std::strcmp(imported->Name, call.name) == 0) {
                    call.original = std::exchange(*slot, call.wrapper);
                }
            }
        }
    }
    return std::all_of(std::begin(calls), std::end(calls),
                       [](const Call& call) { return call.original != nullptr; });
}();

}  // namespace

int perform(const std::function<int()>& action, int n, Mode how) {
    play.story.clear();
    play.story.reserve(std::size_t{1} << 20);
    waiting.clear();
    play.failedCall = nullptr;
    play.slept = 0;
    play.codePage = 437;
    untilDue = n;
    // Of a layer that lacks a call nothing is played.
    mode = isInstalled ? how : Mode::kPass;
    const int result = action();
    mode = Mode::kPass;
    return result;
}

}  // namespace zuplutil::test

void* operator new(std::size_t size) {
    const bool fails = zuplutil::test::isDue("operator new", false);
    void* const memory = fails ? nullptr : HeapAlloc(GetProcessHeap(), 0, size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void operator delete(void* memory) noexcept { HeapFree(GetProcessHeap(), 0, memory); }
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
