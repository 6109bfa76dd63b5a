#include "Actions.h"

#include <exception>

#include "Console.h"
#include "ConsoleSession.h"
#include "ZuCommand.h"
#include "ZuDirectory.h"
#include "ZuPlankton.h"
#include "ZuText.h"

namespace zuplutil {

namespace {

constexpr const char* kActionFailed = "Sorry, this action could not be completed.";

void printFailure(const std::string& reason) {
    printAndRecord("%s (%s)\n", kActionFailed, reason.c_str());
}

// Does something to a path, which a failure then names.
template <class Operation>
void change(const std::wstring& path, Operation* operation, const char* failure) {
    try {
        operation(path);
    } catch (const wchar_t* reason) {
        throw ActionFailure{failure, path, zustd::narrow(reason)};
    }
}

}  // namespace

void removeFile(const std::wstring& path) {
    stopIfInterrupted();
    change(path, &zustd::deleteFile, "Could not delete file");
}

void makeDirectory(const std::wstring& path) {
    change(path, &zustd::createDirectory, "Could not create directory");
}

std::vector<std::wstring> listFiles(const std::wstring& directory, const std::wstring& pattern) {
    std::vector<std::wstring> files;
    if (!zustd::isDirectory(directory)) {
        return files;
    }
    try {
        zustd::listDirectory(directory, pattern, nullptr, &files, true);
    } catch (std::uint32_t error) {
        throw ActionFailure{"Could not list directory", directory,
                            "system error " + std::to_string(error)};
    }
    return files;
}

void runCommand(const std::string& command) {
    stopIfInterrupted();
    zustd::runCommand(command);
}

void reportFailure() noexcept {
    try {
        try {
            throw;
        } catch (const ActionFailure& failure) {
            printAndRecord("%s %s (%s)\n", failure.what, zustd::narrow(failure.path).c_str(),
                           failure.reason.c_str());
        } catch (const std::wstring& text) {
            printFailure(zustd::narrow(text));
        } catch (const zustd::SystemException& failure) {
            printFailure(zustd::narrow(failure.message()));
        } catch (const std::exception& failure) {
            printFailure(failure.what());
        }
    } catch (...) {
        printAndRecord("%s\n", kActionFailed);
    }
}

}  // namespace zuplutil
