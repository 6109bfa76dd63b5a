#include "Process.h"

#include <psapi.h>

#include <utility>

#include "Rows.h"

namespace bench {

namespace {

// What tells the C runtime of a program about its first three descriptors: their
// number, flags for each (open, text, and for the outputs a device), handles.
std::string descriptorBlock(HANDLE input, HANDLE output) {
    std::string block("\3\0\0\0\x81\xC1\xC1", 7);
    for (const HANDLE handle : {input, output, output}) {
        block.append(reinterpret_cast<const char*>(&handle), sizeof(handle));
    }
    return block;
}

// Changes the environment, which a started program inherits.
Environment exchangeVariables(const Environment& changes) {
    Environment before;
    for (const auto& [name, value] : changes) {
        std::wstring former(32768, L'\0');
        former.resize(GetEnvironmentVariableW(name.c_str(), former.data(), 32768));
        before[name] = former;
        SetEnvironmentVariableW(name.c_str(), value.empty() ? nullptr : value.c_str());
    }
    return before;
}

}  // namespace

std::wstring builtProgram(const std::wstring& name) {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), MAX_PATH));
    return path.substr(0, path.rfind(L'\\') + 1) + name + L".exe";
}

Process::Process(const std::wstring& program, const std::wstring& arguments,
                 const std::wstring& folder, const Environment& environment) {
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    HANDLE ends[4] = {};
    CreatePipe(&ends[0], &ends[1], &inherited, 0);
    CreatePipe(&ends[2], &ends[3], &inherited, 1024 * 1024);
    const Pipe theirInput(ends[0]);
    const Pipe theirOutput(ends[3]);
    input_ = Pipe(ends[1]);
    reader_ = Pipe(ends[2]);
    SetHandleInformation(input_.get(), HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(reader_.get(), HANDLE_FLAG_INHERIT, 0);

    std::string descriptors = descriptorBlock(theirInput.get(), theirOutput.get());
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = theirInput.get();
    startup.hStdOutput = startup.hStdError = theirOutput.get();
    startup.cbReserved2 = static_cast<WORD>(descriptors.size());
    startup.lpReserved2 = reinterpret_cast<BYTE*>(descriptors.data());
    std::wstring line = L"\"" + program + L"\" " + arguments;
    PROCESS_INFORMATION started{};
    const Environment before = exchangeVariables(environment);
    const bool runs = CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0,
                                     nullptr, folder.c_str(), &startup, &started) != 0;
    exchangeVariables(before);
    require(runs, "start of a program");
    CloseHandle(started.hThread);
    process_ = Pipe(started.hProcess);
}

Process::~Process() {
    TerminateProcess(process_.get(), 1);
    WaitForSingleObject(process_.get(), INFINITE);
}

bool Process::read() {
    char bytes[4096];
    DWORD count = 0;
    if (!ReadFile(reader_.get(), bytes, sizeof(bytes), &count, nullptr) || count == 0) {
        return false;
    }
    output_.append(bytes, count);
    return true;
}

bool Process::waitFor(const std::string& text) {
    while (output_.find(text) == std::string::npos) {
        if (!read()) {
            return false;
        }
    }
    return true;
}

int Process::wait() {
    while (read()) {
    }
    WaitForSingleObject(process_.get(), INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process_.get(), &code);
    return static_cast<int>(code);
}

double Process::peakMemory() const {
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof(counters);
    K32GetProcessMemoryInfo(process_.get(), &counters, sizeof(counters));
    return static_cast<double>(counters.PeakWorkingSetSize) / 1024;
}

}  // namespace bench
