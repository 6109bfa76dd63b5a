// A program under test in a process of its own, with this process's environment.
//
//     UtilityProcess utility(shippedProgram(), L"-logdiagnostics", folder);
//     utility.waitFor("Starting collection");
//     utility.exitCode();  // 0
//
// It and all its children end at the latest with this object, or when time is up.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>
#include <thread>

namespace zuplutil::test {

class UtilityProcess {
public:
    // The input is typed ahead.
    UtilityProcess(const std::filesystem::path& program, const std::wstring& arguments,
                   const std::filesystem::path& folder, const std::string& input = {});
    UtilityProcess(const UtilityProcess&) = delete;
    UtilityProcess& operator=(const UtilityProcess&) = delete;
    ~UtilityProcess();

    // Reads until a text has come behind the last one; false when the output ends before.
    bool waitFor(const std::string& text);
    // Waits for the end of the program and of its children.
    int exitCode();
    // Kills the program, and waits until its children have ended by themselves.
    void killAlone();
    // What was read, errors among it, with plain line feeds.
    const std::string& output() const { return output_; }

private:
    void waitForAll();

    HANDLE job_ = CreateJobObjectW(nullptr, nullptr);
    HANDLE port_ = CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 1);
    HANDLE process_ = nullptr;
    HANDLE reader_ = nullptr;
    std::string output_;
    std::size_t waitedFor_ = 0;
    // Ends all of them when time is up.
    bool isInTime_ = false;
    std::thread watch_;
};

}  // namespace zuplutil::test
