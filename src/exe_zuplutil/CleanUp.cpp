#include "CleanUp.h"

#include <algorithm>
#include <string>
#include <vector>

#include "Actions.h"
#include "Console.h"
#include "DebugLogging.h"
#include "Paths.h"
#include "ZuApplicationService.h"
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

// What became of what was to go; the disk is asked.
struct Outcome {
    bool removed = false;
    std::vector<std::wstring> left;

    // Whether the path is gone.
    bool note(const std::wstring& path) {
        if (zustd::isDirectory(path) || zustd::isFile(path)) {
            left.push_back(path);
            return false;
        }
        return removed = true;
    }
};

// The removal line carries its path without quotes, so the interpreter takes a
// path with a blank, or another of its separators, for several. That line then
// removes nothing, unless one of the pieces happens to be a folder of its own.
bool wouldRemoveAnotherFolder(const std::wstring& path) {
    constexpr const wchar_t* kSeparators = L" \t\v\f,;=\u00A0";
    if (path.find_first_of(kSeparators) == std::wstring::npos) {
        return false;
    }
    std::size_t begin = path.find_first_not_of(kSeparators);
    while (begin != std::wstring::npos) {
        const std::size_t end = std::min(path.find_first_of(kSeparators, begin), path.size());
        if (zustd::isDirectory(path.substr(begin, end - begin))) {
            return true;
        }
        begin = path.find_first_not_of(kSeparators, end);
    }
    return false;
}

// The path as the interpreter reads it outside of quotes.
std::string toUnquotedText(const std::wstring& path) {
    std::wstring text = zustd::widen(toCommandText(path));
    for (std::size_t at = 0; (at = text.find_first_of(L"&^", at)) != std::wstring::npos; at += 2) {
        text.insert(at, 1, L'^');
    }
    return zustd::narrow(text);
}

void removeLogDirectory(const std::wstring& directory, Outcome& outcome) {
    if (!zustd::isDirectory(directory)) {
        return;
    }
    printAndRecord("Removing log directory %s\n", zustd::narrow(directory).c_str());
    if (!wouldRemoveAnotherFolder(directory)) {
        runCommand("rmdir /s /q " + toUnquotedText(directory));
    }
    if (!outcome.note(directory)) {
        printAndRecord("Could not remove this directory; please delete it yourself.\n");
    }
}

void removeDataFile(const std::wstring& name, const char* message, Outcome& outcome) {
    const std::wstring path = getAddinDataDirectory() + name;
    if (zustd::isFile(path)) {
        printAndRecord("%s", message);
        removeFile(path);
        outcome.note(path);
    }
}

void removeBackups(const std::wstring& pattern, const char* kind, Outcome& outcome) {
    const std::wstring directory = getAddinDataDirectory();
    const std::vector<std::wstring> names =
        zustd::isDirectory(directory) ? listFiles(directory, pattern) : std::vector<std::wstring>();
    if (names.empty()) {
        return;
    }
    printAndRecord("Removing %lu Pellory %s backups...\n", static_cast<unsigned long>(names.size()),
                   kind);
    for (const std::wstring& name : names) {
        removeFile(directory + L'\\' + name);
        outcome.note(directory + L'\\' + name);
    }
}

bool isRemovalWanted() {
    const int answer = zustd::showMessage(
        kRemoveSettingsQuestion,
        zustd::kMessageYesNo | zustd::kMessageIconQuestion | zustd::kMessageDefaultSecond);
    if (answer == zustd::kAnswerNone) {
        printAndRecord("Could not ask whether to remove the settings; none were removed.\n");
    }
    return answer == zustd::kAnswerYes;
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
    if (!interactive && !isRemovalWanted()) {
        return;
    }
    for (const std::wstring& name : names) {
        removeFile(directory + L'\\' + name);
    }
}

void removeDiagnosticsLogs() {
    printAndRecord("\n\n%s\n", kRule.c_str());
    printAndRecord("Cleaning up Pellory diagnostics logs...\n\n");
    Outcome outcome;
    removeLogDirectory(getDiagnosticsDirectory(), outcome);
    if (getWorkDirectory() != getDiagnosticsDirectory()) {
        removeLogDirectory(getWorkDirectory(), outcome);
    }
    if (zustd::ServiceLocator::instance()->getService<zustd::ApplicationService>()) {
        removeDataFile(L"\\debug.config", "Removing Pellory debug settings...\n", outcome);
        removeDataFile(L"\\debug.log", "Removing Pellory debug log...\n", outcome);
        removeDataFile(L"\\dump.log", "Removing Pellory dump log file...\n", outcome);
        removeBackups(L"debug.log-*.bak", "log file", outcome);
        removeBackups(L"dump.log-*.bak", "dump file", outcome);
    }
    for (const std::wstring& path : outcome.left) {
        printAndRecord("Not everything could be removed: %s is still there.\n\n",
                       zustd::narrow(path).c_str());
    }
    if (outcome.left.empty()) {
        printAndRecord("%s", outcome.removed ? "Completed cleaning up diagnostics logs.\n\n"
                                             : "There was nothing to clean up.\n\n");
    }
    printAndRecord("%s\n\n", kRule.c_str());
}

}  // namespace zuplutil
