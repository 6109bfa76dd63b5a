// What actions are made of: file operations that remember their path, commands,
// and the frame that turns a failure into one printed line. An interrupted run
// neither deletes nor runs anything any more (see stopIfInterrupted).
#pragma once

#include <string>
#include <vector>

namespace zuplutil {

// What failed, on which path, and why. Thrown by the operations below.
struct ActionFailure {
    const char* what;
    std::wstring path;
    std::string reason;
};

// The framework's file operations with the path in the failure.
void removeFile(const std::wstring& path);
void makeDirectory(const std::wstring& path);
// The paths of the files that match; none when there is no such directory.
std::vector<std::wstring> listFiles(const std::wstring& directory, const std::wstring& pattern);

// The framework's command execution.
void runCommand(const std::string& command);

// Call inside a catch block: prints one line that says what failed.
void reportFailure() noexcept;

// Runs an action, and prints what failed when it throws. Whether it ran to its end.
template <class Action>
bool runAction(const Action& action) noexcept {
    try {
        action();
        return true;
    } catch (...) {
        reportFailure();
        return false;
    }
}

}  // namespace zuplutil
