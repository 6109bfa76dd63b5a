#include "UtilityProcess.h"

#include <gtest/gtest.h>

namespace zuplutil::test {

namespace {

constexpr DWORD kPatience = 60000;

struct Pipe {
    HANDLE reader = nullptr;
    HANDLE writer = nullptr;

    Pipe() {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        CreatePipe(&reader, &writer, &inherited, 1024 * 1024);
    }
};

}  // namespace

UtilityProcess::UtilityProcess(const std::filesystem::path& program, const std::wstring& arguments,
                               const std::filesystem::path& folder, const std::string& input) {
    JOBOBJECT_ASSOCIATE_COMPLETION_PORT association{nullptr, port_};
    SetInformationJobObject(job_, JobObjectAssociateCompletionPortInformation, &association,
                            sizeof(association));
    const Pipe in;
    const Pipe out;
    reader_ = out.reader;
    SetHandleInformation(reader_, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(in.writer, HANDLE_FLAG_INHERIT, 0);
    DWORD count = 0;
    WriteFile(in.writer, input.data(), static_cast<DWORD>(input.size()), &count, nullptr);
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = in.reader;
    startup.hStdOutput = startup.hStdError = out.writer;
    std::wstring line = L"\"" + program.wstring() + L"\" " + arguments;
    PROCESS_INFORMATION process{};
    EXPECT_TRUE(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE,
                               CREATE_SUSPENDED, nullptr, folder.c_str(), &startup, &process))
        << "cannot start the program under test: system error " << GetLastError();
    process_ = process.hProcess;
    AssignProcessToJobObject(job_, process_);
    ResumeThread(process.hThread);
    for (const HANDLE handle : {process.hThread, in.reader, in.writer, out.writer}) {
        CloseHandle(handle);
    }
    watch_ = std::thread([this] {
        DWORD message = 0;
        ULONG_PTR key = 0;
        OVERLAPPED* which = nullptr;
        do {
            isInTime_ = GetQueuedCompletionStatus(port_, &message, &key, &which, kPatience);
        } while (isInTime_ && message != JOB_OBJECT_MSG_ACTIVE_PROCESS_ZERO);
        TerminateJobObject(job_, static_cast<UINT>(-1));
    });
}

UtilityProcess::~UtilityProcess() {
    TerminateJobObject(job_, static_cast<UINT>(-1));
    waitForAll();
    for (const HANDLE handle : {job_, port_, process_, reader_}) {
        CloseHandle(handle);
    }
}

void UtilityProcess::waitForAll() {
    if (watch_.joinable()) {
        watch_.join();
        EXPECT_TRUE(isInTime_) << "The program or a child of it did not end. There was: "
                               << output_;
    }
}

bool UtilityProcess::waitFor(const std::string& text) {
    for (;;) {
        const std::size_t found = output_.find(text, waitedFor_);
        if (found != std::string::npos) {
            waitedFor_ = found + text.size();
            return true;
        }
        char bytes[4096];
        DWORD count = 0;
        if (!ReadFile(reader_, bytes, sizeof(bytes), &count, nullptr)) {
            return false;
        }
        output_.append(bytes, count);
        std::erase(output_, '\r');
    }
}

int UtilityProcess::exitCode() {
    waitFor("no program says this");
    waitForAll();
    DWORD code = 0;
    GetExitCodeProcess(process_, &code);
    return static_cast<int>(code);
}

void UtilityProcess::killAlone() {
    TerminateProcess(process_, static_cast<UINT>(-1));
    waitForAll();
}

}  // namespace zuplutil::test
