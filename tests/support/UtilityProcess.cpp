#include "UtilityProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>

#include "StandIn.h"

namespace zuplutil::test {

namespace {

constexpr auto kPatience = std::chrono::seconds(30);
constexpr std::size_t kMostOutput = 4 * 1024 * 1024;

// Changes this process's own environment; what the variables were before.
Environment exchangeVariables(const Environment& changes) {
    Environment before;
    for (const auto& [name, value] : changes) {
        before[name] = standin::environmentVariable(name.c_str());
        SetEnvironmentVariableW(name.c_str(), value.empty() ? nullptr : value.c_str());
    }
    return before;
}

// What tells the C runtime of the program about its first three descriptors:
// their number, a byte of flags for each (open, text, and for the outputs a
// device), their handles.
std::string descriptorBlock(HANDLE input, HANDLE output, HANDLE errors) {
    std::string block("\3\0\0\0\x81\xC1\xC1", 7);
    for (const HANDLE handle : {input, output, errors}) {
        block.append(reinterpret_cast<const char*>(&handle), sizeof(handle));
    }
    return block;
}

void readAvailable(HANDLE pipe, std::string& text) {
    DWORD available = 0;
    while (PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr) && available > 0) {
        std::string bytes(available, '\0');
        DWORD count = 0;
        ReadFile(pipe, bytes.data(), available, &count, nullptr);
        bytes.resize(count);
        std::erase(bytes, '\r');
        text += bytes;
    }
}

void close(HANDLE& handle) {
    if (handle != nullptr) {
        CloseHandle(std::exchange(handle, nullptr));
    }
}

HANDLE makeJob() {
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof(limits));
    return job;
}

}  // namespace

UtilityProcess::Pipe UtilityProcess::makePipe(bool weWrite) {
    SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
    HANDLE reader = nullptr;
    HANDLE writer = nullptr;
    CreatePipe(&reader, &writer, &inherited, 1024 * 1024);
    const Pipe pipe = weWrite ? Pipe{writer, reader} : Pipe{reader, writer};
    SetHandleInformation(pipe.ours, HANDLE_FLAG_INHERIT, 0);
    return pipe;
}

UtilityProcess::UtilityProcess(const std::filesystem::path& program,
                               const std::vector<std::wstring>& arguments,
                               const std::filesystem::path& folder, const Environment& environment)
    : job_(makeJob()) {
    std::wstring line = L"\"" + program.wstring() + L"\"";
    for (const std::wstring& argument : arguments) {
        line += L" \"" + argument + L"\"";
    }
    const Environment before = exchangeVariables(environment);
    launch(program.wstring(), line, folder.wstring());
    exchangeVariables(before);
    for (Pipe* const pipe : {&input_, &output_, &errors_}) {
        close(pipe->theirs);
    }
}

UtilityProcess::~UtilityProcess() {
    kill();
    for (HANDLE* const handle : {&job_, &process_, &input_.ours, &output_.ours, &errors_.ours}) {
        close(*handle);
    }
}

void UtilityProcess::launch(const std::wstring& program, std::wstring line,
                            const std::wstring& folder) {
    std::string descriptors = descriptorBlock(input_.theirs, output_.theirs, errors_.theirs);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input_.theirs;
    startup.hStdOutput = output_.theirs;
    startup.hStdError = errors_.theirs;
    startup.cbReserved2 = static_cast<WORD>(descriptors.size());
    startup.lpReserved2 = reinterpret_cast<BYTE*>(descriptors.data());
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                        nullptr, folder.c_str(), &startup, &process)) {
        throw std::runtime_error("cannot start the program under test: system error " +
                                 std::to_string(GetLastError()));
    }
    process_ = process.hProcess;
    AssignProcessToJobObject(job_, process_);
    ResumeThread(process.hThread);
    CloseHandle(process.hThread);
}

void UtilityProcess::pump() {
    readAvailable(output_.ours, outputText_);
    readAvailable(errors_.ours, errorText_);
    if (outputText_.size() > kMostOutput) {
        kill();
    }
}

template <class Condition>
bool UtilityProcess::pumpUntil(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    for (;;) {
        // In this order: what an ending program wrote is read after it ended.
        const bool running = isRunning();
        pump();
        if (condition()) {
            return true;
        }
        if (!running) {
            return false;
        }
        if (std::chrono::steady_clock::now() > end) {
            // Whatever the test waits for next will not come either.
            kill();
            return false;
        }
        Sleep(5);
    }
}

bool UtilityProcess::waitFor(const std::string& text) {
    return pumpUntil([&] {
        const std::size_t found = outputText_.find(text, waitedFor_);
        if (found != std::string::npos) {
            waitedFor_ = found + text.size();
        }
        return found != std::string::npos;
    });
}

void UtilityProcess::answer(const std::string& prompt, const std::string& line) {
    if (!waitFor(prompt)) {
        ADD_FAILURE() << "waited in vain for: " << prompt << "\nThere was: " << outputText_;
        return;
    }
    const std::string bytes = line + "\r\n";
    DWORD written = 0;
    WriteFile(input_.ours, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void UtilityProcess::closeInput() { close(input_.ours); }

bool UtilityProcess::isRunning() const { return WaitForSingleObject(process_, 0) == WAIT_TIMEOUT; }

int UtilityProcess::exitCode() {
    if (!pumpUntil([this] { return !isRunning(); })) {
        ADD_FAILURE() << "The program did not end. There was: " << outputText_;
        kill();
        return kDidNotEnd;
    }
    pump();
    DWORD code = 0;
    GetExitCodeProcess(process_, &code);
    return static_cast<int>(code);
}

void UtilityProcess::kill() {
    TerminateJobObject(job_, static_cast<UINT>(kDidNotEnd));
    WaitForSingleObject(process_, 5000);
}

void UtilityProcess::killAlone() {
    TerminateProcess(process_, static_cast<UINT>(kDidNotEnd));
    for (int i = 0; i < 500 && processesAlive() > 0; ++i) {
        Sleep(10);
    }
}

std::string UtilityProcess::output() {
    pump();
    return outputText_;
}

std::string UtilityProcess::errors() {
    pump();
    return errorText_;
}

unsigned long UtilityProcess::processesAlive() const {
    JOBOBJECT_BASIC_ACCOUNTING_INFORMATION information{};
    QueryInformationJobObject(job_, JobObjectBasicAccountingInformation, &information,
                              sizeof(information), nullptr);
    return information.ActiveProcesses;
}

}  // namespace zuplutil::test
