// The command interpreter of the tests: COMSPEC names it. It notes the command
// lines that the utility runs and hands them to the real interpreter.
//
// PELLORY_RECORD       the file that receives one line per command
// PELLORY_RECORD_ONLY  when set, nothing is run

#include "StandIn.h"

#include <algorithm>
#include <string_view>

namespace {

// What follows the first " /c " of the raw command line: quotes and blanks as
// they were given.
std::wstring givenCommand() {
    const std::wstring line = GetCommandLineW();
    constexpr std::wstring_view kSwitch = L" /c ";
    const auto found =
        std::search(line.begin(), line.end(), kSwitch.begin(), kSwitch.end(),
                    [](wchar_t a, wchar_t b) { return a == b || (a == L'C' && b == L'c'); });
    return found == line.end() ? std::wstring() : std::wstring(found + kSwitch.size(), line.end());
}

int runForReal(const std::wstring& command) {
    std::wstring interpreter(MAX_PATH, L'\0');
    interpreter.resize(GetSystemDirectoryW(interpreter.data(), MAX_PATH));
    interpreter += L"\\cmd.exe";
    SetEnvironmentVariableW(L"COMSPEC", interpreter.c_str());
    std::wstring line = L"\"" + interpreter + L"\" /c " + command;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(interpreter.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                        nullptr, &startup, &process)) {
        return 1;
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD exitCode = 1;
    GetExitCodeProcess(process.hProcess, &exitCode);
    return static_cast<int>(exitCode);
}

}  // namespace

int wmain() {
    const std::wstring command = givenCommand();
    standin::note(L"PELLORY_RECORD", command);
    return standin::environmentVariable(L"PELLORY_RECORD_ONLY").empty() ? runForReal(command) : 0;
}
