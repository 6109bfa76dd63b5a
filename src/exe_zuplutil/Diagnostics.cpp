#include "Diagnostics.h"

#include <algorithm>

#include "Actions.h"
#include "Console.h"
#include "DebugLogging.h"
#include "DiagnosticsCommands.h"
#include "Paths.h"
#include "ProbeProcess.h"
#include "TextFiles.h"
#include "ZipArchive.h"
#include "ZuCommand.h"
#include "ZuDirectory.h"
#include "ZuScope.h"
#include "ZuText.h"
#include "ZuWindows.h"

namespace zuplutil {

namespace {

constexpr char kProbeLog[] = "misc-pelloryconnect.log";

constexpr char kSupportAddress[] = "support@pellory.example";

const std::string kRule98(98, '-');
const std::string kRule106(106, '-');

struct Machine {
    bool is64;
    // The program folder, 32-bit where is64, and the 64-bit one where is64.
    std::string programFiles;
    std::string programFiles64;
    std::wstring startDirectory;
};

// Where archive and README go, where commands run, and where the logs are gathered.
struct Folders {
    std::wstring diagnostics;
    std::wstring work;
    std::wstring logs;

    std::wstring zip() const { return diagnostics + L"\\PelloryDiagnosticsLogs.zip"; }
};

bool isWindowsVistaOrLater() {
    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof(version);
    static_assert(sizeof(version) == 276);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    return GetVersionExW(&version) && version.dwMajorVersion >= 6;
#pragma GCC diagnostic pop
}

void announce(bool light, bool includeOcat) {
    printAndRecord(
        "\n\n%s\nStarting collection of diagnostics.\n\n"
        "This can take a while. Please wait until the message \"Completed collection of "
        "diagnostics\" appears.\n%s\n\n",
        kRule98.c_str(), kRule98.c_str());
    if (light) {
        printAndRecord("Using standard logging level.\n");
    }
    if (includeOcat) {
        printAndRecord("Including OCAT logs if possible.\n");
    }
}

// A 64-bit process reports the 32-bit case; support reads the logs that way.
Machine inspectMachine() {
    using zustd::getEnvironmentVariable;
    const bool is64 = getEnvironmentVariable("PROCESSOR_ARCHITEW6432") == "AMD64";
    Machine machine{is64, getEnvironmentVariable(is64 ? "PROGRAMFILES(X86)" : "PROGRAMFILES"),
                    is64 ? getEnvironmentVariable("ProgramW6432") : std::string(),
                    getCurrentDirectory()};
    printAndRecord(
        "%s\n", is64 ? "Running on 64-bit system, as 64-bit process." : "Running on 32-bit system");
    printAndRecord("Current working dir is %s\n", zustd::narrow(machine.startDirectory).c_str());
    return machine;
}

// Makes the first two; all goes where commands run when a share refuses the other.
Folders makeFolders() {
    std::wstring diagnostics = getDiagnosticsDirectory();
    const std::wstring work = getWorkDirectory(diagnostics);
    if (!zustd::isDirectory(work)) {
        makeDirectory(work);
    }
    if (work != diagnostics) {
        printAndRecord("The desktop is on a network share; collecting in %s\n",
                       zustd::narrow(work).c_str());
        if (!zustd::isDirectory(diagnostics) && !runAction([&] { makeDirectory(diagnostics); })) {
            diagnostics = work;
        }
    }
    return {diagnostics, work, work + L"\\PelloryLogs"};
}

// Makes the log folder, or empties it; false when it cannot be entered.
bool enterLogs(const std::wstring& logs) {
    const std::string logsText = zustd::narrow(logs);
    if (zustd::isDirectory(logs)) {
        printAndRecord("Deleting old log files in %s\n", logsText.c_str());
        for (const std::wstring& file : listFiles(logs, L"*.*")) {
            removeFile(file);
        }
    } else {
        makeDirectory(logs);
    }
    const bool entered = zustd::isDirectory(logs) && setCurrentDirectory(logs);
    printAndRecord(entered ? "Switching to diagnostics logs directory %s\n"
                           : "Cannot switch to diagnostics log directory %s; aborting...\n",
                   logsText.c_str());
    return entered;
}

// The first of the places that is there; empty when none is.
std::wstring findFirst(const std::vector<std::wstring>& places,
                       bool (*isThere)(const std::wstring&)) {
    const auto found = std::find_if(places.begin(), places.end(), isThere);
    return found == places.end() ? std::wstring() : *found;
}

// In the directory that the utility was started in, else where it is installed.
std::wstring findPermissionTool(const Machine& machine) {
    constexpr const wchar_t* kInstalled = L"\\Windows Resource Kits\\tools\\subinacl.exe";
    std::vector<std::wstring> places = {machine.startDirectory + L"\\subinacl.exe",
                                        zustd::widen(machine.programFiles) + kInstalled};
    if (!machine.programFiles64.empty()) {
        places.push_back(zustd::widen(machine.programFiles64) + kInstalled);
    }
    return findFirst(places, &zustd::isFile);
}

std::wstring findOcat(const Machine& machine) {
    return findFirst({machine.startDirectory + L"\\ocat",
                      zustd::widen(machine.programFiles) + L"\\Microsoft OCAT"},
                     &zustd::isDirectory);
}

// What decides which commands run, and what their names stand for.
struct Facts {
    unsigned conditions;
    Values values;
};

Facts gatherFacts(const Machine& machine, bool light, bool includeOcat) {
    const std::wstring data = getAddinDataDirectory(ZU_LINE(644));
    // Nobody looks for a tool that will not run.
    const std::wstring tool = light ? std::wstring() : findPermissionTool(machine);
    const std::wstring ocat = includeOcat ? findOcat(machine) : std::wstring();
    // The interpreter knows the user's name, but takes one with signs of its own
    // for more than a name.
    const std::string user = zustd::getEnvironmentVariable("USERNAME");
    const bool isPlainName = user.find_first_of("&^%") == std::string::npos;
    const auto either = [](bool holds, When yes, When no) -> unsigned { return holds ? yes : no; };
    return {either(isWindowsVistaOrLater(), kVista, kBeforeVista) |
                either(machine.is64, k64Bit, k32Bit) | either(!light, kExtended, kAlways) |
                either(zustd::isFile(data + L"\\debug.config"), kDebugConfig, kAlways) |
                either(zustd::isFile(data + L"\\debug.log"), kDebugLog, kAlways) |
                either(zustd::isFile(data + L"\\dump.log"), kDumpLog, kAlways) |
                either(!tool.empty(), kPermissionTool, kNoPermissionTool) |
                either(includeOcat, kWithOcat, kAlways) | either(!ocat.empty(), kOcat, kNoOcat),
            {{"systemDrive", keepPerCents(zustd::getEnvironmentVariable("SYSTEMDRIVE"))},
             {"userName", isPlainName ? "%username%" : keepPerCents(user)},
             {"addinDataDir", toCommandText(data)},
             {"programFiles", keepPerCents(machine.programFiles)},
             {"programFiles64", keepPerCents(machine.programFiles64)},
             {"permissionTool", toCommandText(tool)},
             {"ocatDir", toCommandText(ocat)}}};
}

void run(const Section& section, const Facts& facts) {
    if (!applies(section.when, facts.conditions)) {
        return;
    }
    if (section.announcement != nullptr) {
        const std::string line = section.announcement + std::string("\n");
        section.recorded ? printAndRecord("%s", line.c_str()) : printOnly(line.c_str());
    }
    for (const CommandRow& row : section.rows) {
        if (applies(row.when, facts.conditions)) {
            runCommand(expand(section.program, facts.values) +
                       expand(row.command, facts.values, section.values));
        }
    }
}

void testAddinConnection() {
    printAndRecord("Testing connection to Pellory add-in\n");
    // The add-in's own log goes into the current directory meanwhile.
    const TemporaryDebugSettings settings({true, zustd::widen(kProbeLog), 10, 1}, false,
                                          TemporaryDebugSettings::WhenMissing::kRemoveFile);
    probeAddin(kProbeLog);
}

// Nothing that fails here ends the collection. A former archive that cannot be
// deleted must not pass for the new one.
bool packLogs(const Folders& folders) {
    printAndRecord("Zipping log files...\n");
    const std::wstring zip = folders.zip();
    if (zustd::isFile(zip) && !runAction([&] { removeFile(zip); })) {
        return false;
    }
    runAction([&] {
        zipFolder(toNarrowPath(folders.logs),
                  toNarrowPath(folders.diagnostics) + "\\PelloryDiagnosticsLogs.zip",
                  toNarrowPath(folders.work));
    });
    if (!waitUntilPacked(zip, folders.logs)) {
        return false;
    }
    printAndRecord("Log files zipped.\n");
    return true;
}

void removeLogs(const Folders& folders, bool packed) {
    const std::string logsText = zustd::narrow(folders.logs);
    if (!packed) {
        printAndRecord("Could not pack the log files; they are kept in %s\n", logsText.c_str());
        return;
    }
    if (zustd::isDirectory(folders.logs)) {
        printAndRecord("Removing temp log directory %s...\n", logsText.c_str());
        runCommand("rmdir /s /q \"" + toCommandText(folders.logs) + "\"");
    }
    if (folders.work != folders.diagnostics) {
        RemoveDirectoryW(folders.work.c_str());
    }
}

// What the user is told at the end, and finds again in README.txt.
void tellWhatToDo(const Folders& folders, bool packed) {
    printAndRecord(
        "Completed collection of diagnostics for Pellory support.\n\n"
        "What to do next?\n"
        "----------------\n");
    const std::string zip = zustd::narrow(folders.zip());
    printAndRecord(packed ? "Please locate the file %s\n"
                          : "The log files could not be packed. Please locate those in %s\n",
                   packed ? zip.c_str() : zustd::narrow(folders.logs).c_str());
    printAndRecord(
        "and send %s to %s along with any support ticket number that you may have received "
        "before.\n\n",
        packed ? "it" : "them", kSupportAddress);
    if (packed) {
        printAndRecord(
            "(You can find this file in a folder named '%s' that has been created on your "
            "PC.)\n\n",
            zustd::narrow(folders.diagnostics).c_str());
    } else if (zustd::isFile(folders.zip())) {
        printAndRecord("(Please do not send %s: these log files are not in it.)\n\n", zip.c_str());
    }
    printAndRecord(
        "Please note:\n"
        "------------\n"
        "The log files %scould contain potentially sensitive information,\n"
        "including, but not limited to your user name, your email addresses, your Outlook folder "
        "names,\n"
        "installed product versions, installed Outlook add-in versions, and system event log "
        "messages.\n"
        "However, the log files should normally not contain any email content.\n\n"
        "In case of doubt, feel free to edit out any sensitive material in the files first before "
        "sending them to us.\n"
        "(in that case, please replace any deleted sections with the text '**DELETED**')\n",
        packed ? "contained within the zip file " : "");
}

void finish(const Folders& folders, bool packed) {
    printAndRecord("\n\n%s\n", kRule106.c_str());
    clearTranscript();
    tellWhatToDo(folders, packed);
    const std::string directory = toNarrowPath(folders.diagnostics);
    writeTextFile(directory + "\\README.txt", getTranscript());
    printAndRecord("%s\n", kRule106.c_str());
    runCommand("explorer \"" + keepPerCents(directory) + "\"");
}

}  // namespace

void collectDiagnostics(bool light, bool includeOcat) {
    announce(light, includeOcat);
    const Machine machine = inspectMachine();
    const Folders folders = makeFolders();
    // The log folder could not be removed while the process is in it.
    const auto goBack = [&] {
        return setCurrentDirectory(machine.startDirectory) ||
               setCurrentDirectory(folders.diagnostics);
    };
    const zustd::ScopeExit goBackAtTheLatest(goBack);
    if (!enterLogs(folders.logs)) {
        return;
    }
    const Facts facts = gatherFacts(machine, light, includeOcat);
    run(kCopies, facts);
    testAddinConnection();
    for (const Section& section : kSections) {
        run(section, facts);
    }
    printAndRecord("Main collection phase complete.\n");
    writeTextFile("plutil.log", getTranscript());
    const bool packed = packLogs(folders);
    goBack();
    removeLogs(folders, packed);
    finish(folders, packed);
}

}  // namespace zuplutil
