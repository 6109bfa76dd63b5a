#include "CleanUp.h"

#include <algorithm>
#include <string>

#include "Actions.h"
#include "Console.h"
#include "DebugLogging.h"
#include "Paths.h"
#include "ZuApplicationService.h"
#include "ZuCommand.h"
#include "ZuDirectory.h"
#include "ZuPlankton.h"
#include "ZuServiceLocator.h"
#include "ZuText.h"
#include "ZuWindowService.h"

namespace zuplutil {

namespace {

constexpr const wchar_t* kSettingsPattern = L"settings_*.config*";

constexpr const wchar_t* kRemoveSettingsQuestion =
    L"Would you like to remove your Pellory settings as well?\n\n"
    L"(answer 'No' in case you are planning to upgrade to a newer version\n"
    L" and you would like to keep your existing settings)";

const std::string kRule(106, '-');

// The removal line carries its path without quotes, so the interpreter takes a
// path with a blank, or another of its separators, for several. That line then
// removes nothing, unless one of the pieces happens to be a folder of its own.
bool wouldRemoveAnotherFolder(const std::string& path) {
    if (path.find_first_of("&|<>^%") != std::string::npos) {
        return true;
    }
    constexpr const char* kSeparators = " \t,;=";
    if (path.find_first_of(kSeparators) == std::string::npos) {
        return false;
    }
    std::size_t begin = path.find_first_not_of(kSeparators);
    while (begin != std::string::npos) {
        const std::size_t end = std::min(path.find_first_of(kSeparators, begin), path.size());
        if (zustd::isDirectory(zustd::widen(path.substr(begin, end - begin)))) {
            return true;
        }
        begin = path.find_first_not_of(kSeparators, end);
    }
    return false;
}

bool removeDiagnosticsDirectory() {
    const std::wstring directory = getDiagnosticsDirectory();
    if (!zustd::isDirectory(directory)) {
        return false;
    }
    printAndRecord("Removing log directory %s\n", zustd::narrow(directory).c_str());
    const std::string path = toNarrowPath(directory);
    if (wouldRemoveAnotherFolder(path)) {
        printAndRecord("Could not remove this directory; please delete it yourself.\n");
    } else {
        zustd::runCommand("rmdir /s /q " + path);
    }
    return true;
}

bool removeDataFile(const std::wstring& name, const char* message) {
    const std::wstring path = getAddinDataDirectory() + name;
    if (!zustd::isFile(path)) {
        return false;
    }
    printAndRecord("%s", message);
    removeFile(path);
    return true;
}

bool removeBackups(const std::wstring& pattern, const char* kind) {
    const std::wstring directory = getAddinDataDirectory();
    const std::vector<std::wstring> names =
        zustd::isDirectory(directory) ? listFiles(directory, pattern) : std::vector<std::wstring>();
    if (names.empty()) {
        return false;
    }
    printAndRecord("Removing %lu Pellory %s backups...\n", static_cast<unsigned long>(names.size()),
                   kind);
    for (const std::wstring& name : names) {
        removeFile(directory + L'\\' + name);
    }
    return true;
}

}  // namespace

bool hasSettingsFiles() {
    const std::wstring directory = getAddinDataDirectory();
    return zustd::isDirectory(directory) && !listFiles(directory, kSettingsPattern).empty();
}

void removeSettings(bool interactive) {
    if (!hasSettingsFiles()) {
        return;
    }
    const std::wstring directory = getAddinDataDirectory();
    const std::vector<std::wstring> names = listFiles(directory, kSettingsPattern);
    if (!interactive) {
        const int answer = zustd::showMessage(kRemoveSettingsQuestion,
                                              zustd::kMessageYesNo | zustd::kMessageIconQuestion);
        if (answer == zustd::kAnswerNone) {
            // Without a screen, say.
            throw zustd::SystemException(L"the question could not be shown; nothing was removed");
        }
        if (answer != zustd::kAnswerYes) {
            return;
        }
    }
    for (const std::wstring& name : names) {
        removeFile(directory + L'\\' + name);
    }
}

void removeDiagnosticsLogs() {
    printAndRecord("\n\n%s\n", kRule.c_str());
    printAndRecord("Cleaning up Pellory diagnostics logs...\n\n");
    bool removed = removeDiagnosticsDirectory();
    if (zustd::ServiceLocator::instance()->getService<zustd::ApplicationService>()) {
        removed |= removeDataFile(L"\\debug.config", "Removing Pellory debug settings...\n");
        removed |= removeDataFile(L"\\debug.log", "Removing Pellory debug log...\n");
        removed |= removeDataFile(L"\\dump.log", "Removing Pellory dump log file...\n");
        removed |= removeBackups(L"debug.log-*.bak", "log file");
        removed |= removeBackups(L"dump.log-*.bak", "dump file");
    }
    printAndRecord("%s", removed ? "Completed cleaning up diagnostics logs.\n\n"
                                 : "There was nothing to clean up.\n\n");
    printAndRecord("%s\n\n", kRule.c_str());
}

}  // namespace zuplutil
