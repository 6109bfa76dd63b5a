// A program under test in a process of its own, with this process's environment.
//
//     UtilityProcess utility(shippedProgram(), L"-logdiagnostics", folder);
//     utility.waitFor("Starting collection");
//     utility.exitCode();  // 0
//
// It ends at the latest with this object.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>

namespace zuplutil::test {

class UtilityProcess {
public:
    UtilityProcess(const std::filesystem::path& program, const std::wstring& arguments,
                   const std::filesystem::path& folder) {
        SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        CreatePipe(&reader_, &startup.hStdOutput, &inherited, 1024 * 1024);
        SetHandleInformation(reader_, HANDLE_FLAG_INHERIT, 0);
        startup.hStdError = startup.hStdOutput;
        std::wstring line = L"\"" + program.wstring() + L"\" " + arguments;
        PROCESS_INFORMATION process{};
        EXPECT_TRUE(CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                   folder.c_str(), &startup, &process))
            << "cannot start the program under test: system error " << GetLastError();
        process_ = process.hProcess;
        CloseHandle(process.hThread);
        CloseHandle(startup.hStdOutput);
    }
    UtilityProcess(const UtilityProcess&) = delete;
    UtilityProcess& operator=(const UtilityProcess&) = delete;
    ~UtilityProcess() {
        kill();
        CloseHandle(process_);
        CloseHandle(reader_);
    }

    // Reads until the output has a text; false when it ends before.
    bool waitFor(const std::string& text) {
        char bytes[4096];
        DWORD count = 0;
        while (output_.find(text) == std::string::npos) {
            if (!ReadFile(reader_, bytes, sizeof(bytes), &count, nullptr)) {
                return false;
            }
            output_.append(bytes, count);
            std::erase(output_, '\r');
        }
        return true;
    }

    // Waits for the end of the program and of all that writes where it does.
    int exitCode() {
        waitFor("no program says this");
        WaitForSingleObject(process_, INFINITE);
        DWORD code = 0;
        GetExitCodeProcess(process_, &code);
        return static_cast<int>(code);
    }

    void kill() {
        TerminateProcess(process_, 1);
        WaitForSingleObject(process_, INFINITE);
    }

    // What was read, errors among it, with plain line feeds.
    const std::string& output() const { return output_; }

private:
    HANDLE process_ = nullptr;
    HANDLE reader_ = nullptr;
    std::string output_;
};

}  // namespace zuplutil::test
