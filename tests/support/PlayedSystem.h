// A layer over what the utility imports: commands, console, processes and waiting are played, as
// `play` says. Of the calls and allocations the one that is due fails, or ends the process before.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

namespace zuplutil::test {

enum class Mode { kPass, kFail, kKill };

struct Play {
    // What was printed, and commands as lines with "$ " before them.
    std::string story;
    // What the user types when asked; the input ends with an empty text.
    std::function<std::string()> typed = [] { return ""; };
    // A command is run, the add-in's process is to start, the utility sleeps.
    std::function<void(const std::string&)> onCommand = [](const std::string&) {};
    std::function<bool()> onProbe = [] { return true; };
    std::function<void()> onSleep = [] {};
    // The short form of any path, when asked; milliseconds slept.
    DWORD slept = 0;
    std::function<std::wstring()> shortPath = [] { return L""; };
    std::vector<std::wstring> processes;
    DWORD windowsVersion = 6;
    UINT codePage = 437;
    // The call that failed, null when none did; and whether a collection had begun then.
    const char* failedCall = nullptr;
    bool isCollecting = false;
};
extern Play play;

// Runs something with the n-th call failing, or killing; without n none does.
int perform(const std::function<int()>& action, int n = 0, Mode how = Mode::kFail);

// The exit code of a process that was killed.
constexpr UINT kKilled = 99;

}  // namespace zuplutil::test
