// A program under test in a process of its own, with this process's environment.
//
//     UtilityProcess utility(shippedProgram(), L"-logdiagnostics", folder);
//     utility.waitFor("Starting collection");
//     utility.exitCode();  // 0
//
// It and all its children end at the latest with this object, or when time is up.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>
#include <thread>

namespace zuplutil::test {

class UtilityProcess {
public:
    UtilityProcess(const std::filesystem::path& program, const std::wstring& arguments,
                   const std::filesystem::path& folder) {
        JOBOBJECT_ASSOCIATE_COMPLETION_PORT association{nullptr, port_};
        SetInformationJobObject(job_, JobObjectAssociateCompletionPortInformation, &association,
                                sizeof(association));
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        CreatePipe(&reader_, &startup.hStdOutput, &inherited, 1024 * 1024);
        SetHandleInformation(reader_, HANDLE_FLAG_INHERIT, 0);
        startup.hStdError = startup.hStdOutput;
        std::wstring line = L"\"" + program.wstring() + L"\" " + arguments;
        PROCESS_INFORMATION process{};
        EXPECT_TRUE(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE,
                                   CREATE_SUSPENDED, nullptr, folder.c_str(), &startup, &process))
            << "cannot start the program under test: system error " << GetLastError();
        process_ = process.hProcess;
        AssignProcessToJobObject(job_, process_);
        ResumeThread(process.hThread);
        CloseHandle(process.hThread);
        CloseHandle(startup.hStdOutput);
        watch_ = std::thread([this] { watch(); });
    }
    UtilityProcess(const UtilityProcess&) = delete;
    UtilityProcess& operator=(const UtilityProcess&) = delete;
    ~UtilityProcess() {
        TerminateJobObject(job_, 1);
        waitForAll();
        for (const HANDLE handle : {job_, port_, process_, reader_}) {
            CloseHandle(handle);
        }
    }

    // Reads until a text has come behind the last one; false when the output ends before.
    bool waitFor(const std::string& text) {
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

    // Waits for the end of the program and of its children.
    int exitCode() {
        waitFor("no program says this");
        waitForAll();
        DWORD code = 0;
        GetExitCodeProcess(process_, &code);
        return static_cast<int>(code);
    }

    // Kills the program, and waits until its children have ended by themselves.
    void killAlone() {
        TerminateProcess(process_, 1);
        waitForAll();
    }

    // What was read, errors among it, with plain line feeds.
    const std::string& output() const { return output_; }

private:
    // Ends all of them when time is up.
    void watch() {
        DWORD message = 0;
        ULONG_PTR key = 0;
        OVERLAPPED* which = nullptr;
        do {
            isInTime_ = GetQueuedCompletionStatus(port_, &message, &key, &which, 60000);
        } while (isInTime_ && message != JOB_OBJECT_MSG_ACTIVE_PROCESS_ZERO);
        TerminateJobObject(job_, 1);
    }
    void waitForAll() {
        if (watch_.joinable()) {
            watch_.join();
            EXPECT_TRUE(isInTime_) << "The program or a child did not end. There was: " << output_;
        }
    }

    HANDLE job_ = CreateJobObjectW(nullptr, nullptr);
    HANDLE port_ = CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 1);
    HANDLE process_ = nullptr;
    HANDLE reader_ = nullptr;
    std::string output_;
    std::size_t waitedFor_ = 0;
    bool isInTime_ = false;
    std::thread watch_;
};

}  // namespace zuplutil::test
