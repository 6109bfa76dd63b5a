#include "CleanUp.h"

#include <algorithm>
#include <iterator>

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

// The removal line carries its path without quotes, so the interpreter takes a
// path with a blank, or another of its separators, for several. That line then
// removes nothing, unless one of the pieces happens to be a folder of its own.
bool wouldRemoveAnotherFolder(const std::wstring& path) {
    constexpr const wchar_t* kSeparators = L" \t\v\f,;=\u00A0";
    std::size_t end = 0;
    for (std::size_t begin;
         (begin = path.find_first_not_of(kSeparators, end)) != std::wstring::npos;) {
        end = std::min(path.find_first_of(kSeparators, begin), path.size());
        const std::wstring piece = path.substr(begin, end - begin);
        if (piece != path && zustd::isDirectory(piece)) {
            return true;
        }
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

void removeLogDirectory(const std::wstring& directory) {
    if (!zustd::isDirectory(directory)) {
        return;
    }
    printAndRecord("Removing log directory %s\n", zustd::narrow(directory).c_str());
    if (!wouldRemoveAnotherFolder(directory)) {
        runCommand("rmdir /s /q " + toUnquotedText(directory));
    }
    if (zustd::isDirectory(directory)) {
        printAndRecord("Could not remove this directory; please delete it yourself.\n");
    }
}

// What debug logging leaves in the add-in's data directory.
struct DataFiles {
    const wchar_t* pattern;
    const char* name;
    // Whether their number is told.
    bool counted;
};
constexpr DataFiles kDataFiles[] = {{L"debug.config", "debug settings", false},
                                    {L"debug.log", "debug log", false},
                                    {L"dump.log", "dump log file", false},
                                    {L"debug.log-*.bak", "log file backups", true},
                                    {L"dump.log-*.bak", "dump file backups", true}};

void removeData(const std::wstring& data) {
    for (const DataFiles& each : kDataFiles) {
        const std::vector<std::wstring> files = listFiles(data, each.pattern);
        const std::string count = each.counted ? std::to_string(files.size()) + " " : "";
        if (!files.empty()) {
            printAndRecord("Removing %sPellory %s...\n", count.c_str(), each.name);
        }
        std::for_each(files.begin(), files.end(), &removeFile);
    }
}

// Where there may be something to remove.
struct Places {
    std::vector<std::wstring> folders;
    // Empty without an application service.
    std::wstring data;
};

Places findPlaces() {
    Places places{{getDiagnosticsDirectory()}, {}};
    if (std::wstring work = getWorkDirectory(places.folders[0]); work != places.folders[0]) {
        places.folders.push_back(std::move(work));
    }
    if (zustd::ServiceLocator::instance()->getService<zustd::ApplicationService>()) {
        places.data = getAddinDataDirectory();
    }
    return places;
}

std::vector<std::wstring> findLeftovers(const Places& places) {
    std::vector<std::wstring> found;
    std::copy_if(places.folders.begin(), places.folders.end(), std::back_inserter(found),
                 &zustd::isDirectory);
    for (const DataFiles& each : kDataFiles) {
        const std::vector<std::wstring> files = listFiles(places.data, each.pattern);
        found.insert(found.end(), files.begin(), files.end());
    }
    return found;
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

bool hasSettingsFiles() { return !listFiles(getAddinDataDirectory(), kSettingsPattern).empty(); }

void removeSettings(bool interactive) {
    const std::vector<std::wstring> files = listFiles(getAddinDataDirectory(), kSettingsPattern);
    if (!files.empty() && (interactive || isRemovalWanted())) {
        std::for_each(files.begin(), files.end(), &removeFile);
    }
}

void removeDiagnosticsLogs() {
    printAndRecord("\n\n%s\n", kRule.c_str());
    printAndRecord("Cleaning up Pellory diagnostics logs...\n\n");
    const Places places = findPlaces();
    const bool isAnything = !findLeftovers(places).empty();
    std::for_each(places.folders.begin(), places.folders.end(), &removeLogDirectory);
    removeData(places.data);
    // All of it is asked for anew: what was not seen before was not removed.
    const std::vector<std::wstring> left = findLeftovers(findPlaces());
    for (const std::wstring& path : left) {
        printAndRecord("Not everything could be removed: %s is still there.\n\n",
                       zustd::narrow(path).c_str());
    }
    if (left.empty()) {
        printAndRecord("%s", isAnything ? "Completed cleaning up diagnostics logs.\n\n"
                                        : "There was nothing to clean up.\n\n");
    }
    printAndRecord("%s\n\n", kRule.c_str());
}

}  // namespace zuplutil
