#include "CleanUp.h"

#include <algorithm>
#include <iterator>
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

struct DataFile {
    const wchar_t* name;
    const char* message;
};
constexpr DataFile kDataFiles[] = {{L"\\debug.config", "Removing Pellory debug settings...\n"},
                                   {L"\\debug.log", "Removing Pellory debug log...\n"},
                                   {L"\\dump.log", "Removing Pellory dump log file...\n"}};

struct Backups {
    const wchar_t* pattern;
    const char* kind;
};
constexpr Backups kBackups[] = {{L"debug.log-*.bak", "log file"}, {L"dump.log-*.bak", "dump file"}};

std::vector<std::wstring> findBackups(const std::wstring& data, const Backups& backups) {
    std::vector<std::wstring> paths;
    if (zustd::isDirectory(data)) {
        for (const std::wstring& name : listFiles(data, backups.pattern)) {
            paths.push_back(data + L'\\' + name);
        }
    }
    return paths;
}

void removeData(const std::wstring& data) {
    for (const DataFile& file : kDataFiles) {
        if (zustd::isFile(data + file.name)) {
            printAndRecord("%s", file.message);
            removeFile(data + file.name);
        }
    }
    for (const Backups& backups : kBackups) {
        const std::vector<std::wstring> paths = findBackups(data, backups);
        if (!paths.empty()) {
            printAndRecord("Removing %lu Pellory %s backups...\n",
                           static_cast<unsigned long>(paths.size()), backups.kind);
        }
        std::for_each(paths.begin(), paths.end(), &removeFile);
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
    if (places.data.empty()) {
        return found;
    }
    for (const DataFile& file : kDataFiles) {
        if (zustd::isFile(places.data + file.name)) {
            found.push_back(places.data + file.name);
        }
    }
    for (const Backups& backups : kBackups) {
        const std::vector<std::wstring> paths = findBackups(places.data, backups);
        found.insert(found.end(), paths.begin(), paths.end());
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
    const Places places = findPlaces();
    const bool isAnything = !findLeftovers(places).empty();
    std::for_each(places.folders.begin(), places.folders.end(), &removeLogDirectory);
    if (!places.data.empty()) {
        removeData(places.data);
    }
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
