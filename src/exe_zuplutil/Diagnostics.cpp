#include "Diagnostics.h"

#include <optional>
#include <string>

#include "Actions.h"
#include "Console.h"
#include "DebugLogging.h"
#include "DiagnosticsCommands.h"
#include "Paths.h"
#include "ProbeProcess.h"
#include "TextFiles.h"
#include "ZipArchive.h"
#include "ZuApplicationService.h"
#include "ZuCommand.h"
#include "ZuDirectory.h"
#include "ZuServiceLocator.h"
#include "ZuText.h"
#include "ZuWindows.h"

namespace zuplutil {

namespace {

constexpr char kProbeLog[] = "misc-pelloryconnect.log";

constexpr char kSupportAddress[] = "support@pellory.example";

const std::string kRule98(98, '-');
const std::string kRule106(106, '-');

// The machine and the folders of one collection.
struct Collection {
    bool light = false;
    bool packed = false;
    bool is64 = false;
    bool isVistaOrLater = false;
    std::string systemDrive;
    // The program folder, 32-bit where is64, and the 64-bit one where is64.
    std::string programFiles;
    std::string programFiles64;
    std::wstring startDirectory;
    std::wstring diagnosticsDirectory;
    // The diagnostics folder too, unless commands cannot run there.
    std::wstring workDirectory;
    std::wstring logsDirectory;
    std::wstring addinDataDirectory;

    std::wstring zipPath() const { return diagnosticsDirectory + L"\\PelloryDiagnosticsLogs.zip"; }
    unsigned conditions() const {
        return (isVistaOrLater ? kVista : kBeforeVista) | (is64 ? k64Bit : k32Bit) |
               (light ? kAlways : kExtended);
    }
};

// Goes back to the directory that the process was in, however the collection
// ends: the log folder could not be removed otherwise.
class DirectoryReturn {
public:
    explicit DirectoryReturn(std::wstring directory) : directory_(std::move(directory)) {}
    DirectoryReturn(const DirectoryReturn&) = delete;
    DirectoryReturn& operator=(const DirectoryReturn&) = delete;
    ~DirectoryReturn() { setCurrentDirectory(directory_); }

private:
    std::wstring directory_;
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
    printAndRecord("\n\n%s\n", kRule98.c_str());
    printAndRecord("Starting collection of diagnostics.\n\n");
    printAndRecord(
        "This can take a while. Please wait until the message \"Completed collection of "
        "diagnostics\" appears.\n");
    printAndRecord("%s\n\n", kRule98.c_str());
    if (light) {
        printAndRecord("Using standard logging level.\n");
    }
    if (includeOcat) {
        printAndRecord("Including OCAT logs if possible.\n");
    }
}

// A 64-bit process on a 64-bit system has no PROCESSOR_ARCHITEW6432 and
// reports the 32-bit case; support reads the logs that way.
void inspectMachine(Collection& collection) {
    collection.systemDrive = zustd::getEnvironmentVariable("SYSTEMDRIVE");
    collection.is64 = zustd::getEnvironmentVariable("PROCESSOR_ARCHITEW6432") == "AMD64";
    collection.isVistaOrLater = isWindowsVistaOrLater();
    if (collection.is64) {
        collection.programFiles = zustd::getEnvironmentVariable("PROGRAMFILES(X86)");
        collection.programFiles64 = zustd::getEnvironmentVariable("ProgramW6432");
        printAndRecord("Running on 64-bit system, as %s process.\n", "64-bit");
    } else {
        collection.programFiles = zustd::getEnvironmentVariable("PROGRAMFILES");
        printAndRecord("Running on 32-bit system\n");
    }
    collection.startDirectory = getCurrentDirectory();
    printAndRecord("Current working dir is %s\n", zustd::narrow(collection.startDirectory).c_str());
}

// Makes the folders that archive and logs go to; all is gathered where the work
// folder is when a share refuses the other one.
void makeDirectories(Collection& collection) {
    std::wstring& diagnostics = collection.diagnosticsDirectory = getDiagnosticsDirectory();
    const std::wstring& work = collection.workDirectory = getWorkDirectory();
    collection.logsDirectory = work + L"\\PelloryLogs";
    if (!zustd::isDirectory(work)) {
        makeDirectory(work);
    }
    if (work == diagnostics) {
        return;
    }
    printAndRecord("The desktop is on a network share; collecting in %s\n",
                   zustd::narrow(work).c_str());
    if (!zustd::isDirectory(diagnostics) && !runAction([&] { makeDirectory(diagnostics); })) {
        diagnostics = work;
    }
}

// Makes the folders, or empties the log folder of a former run, and enters it;
// false when it cannot be entered.
bool enterLogsDirectory(Collection& collection) {
    makeDirectories(collection);
    const std::wstring& logs = collection.logsDirectory;
    const std::string logsText = zustd::narrow(logs);
    if (zustd::isDirectory(logs)) {
        printAndRecord("Deleting old log files in %s\n", logsText.c_str());
        for (const std::wstring& name : listFiles(logs, L"*.*")) {
            removeFile(logs + L'\\' + name);
        }
    } else {
        makeDirectory(logs);
    }
    if (zustd::isDirectory(logs) && setCurrentDirectory(logs)) {
        printAndRecord("Switching to diagnostics logs directory %s\n", logsText.c_str());
        return true;
    }
    printAndRecord("Cannot switch to diagnostics log directory %s; aborting...\n",
                   logsText.c_str());
    return false;
}

void run(const CommandTable& table, const Collection& collection, const Values& values,
         const std::string& prefix = {}) {
    for (const CommandRow& row : table) {
        if (applies(row, collection.conditions())) {
            runCommand(prefix + expand(row.command, values));
        }
    }
}

void copyAddinLogs(Collection& collection) {
    const auto as = zustd::ServiceLocator::instance()->getService<zustd::ApplicationService>();
    ZU_ASSERT_AS(as, L"as", ZU_LINE(644));
    collection.addinDataDirectory = as->getApplicationDataDirectory(false);
    printAndRecord("Copying Pellory debug settings and log...\n");
    const std::wstring& data = collection.addinDataDirectory;
    for (const wchar_t* name : {L"\\debug.config", L"\\debug.log", L"\\dump.log"}) {
        if (zustd::isFile(data + name)) {
            runCommand("copy \"" + toCommandText(data + name) + "\" .");
        }
    }
    for (const char* name : {"\\debug.log", "\\dump.log"}) {
        runCommand("copy \"" + toCommandText(data) + name + "-*.bak\" .");
    }
}

void testAddinConnection() {
    printAndRecord("Testing connection to Pellory add-in\n");
    // The add-in's own log goes into the current directory meanwhile.
    const TemporaryDebugSettings settings({true, zustd::widen(kProbeLog), 10, 1}, false,
                                          TemporaryDebugSettings::WhenMissing::kRemoveFile);
    probeAddin(kProbeLog);
}

void collectRegistry(const Collection& collection) {
    printAndRecord("Logging outlook registry settings and classes...\n");
    run(kRegistryCommands, collection, {});
}

void collectProducts() {
    printAndRecord("Logging installed products...\n");
    runCommand(
        "wmic /output:installedproducts.log product get "
        "name,version,vendor,installlocation,installdate");
}

void collectDirectories(const Collection& collection) {
    printOnly("Logging directories...\n");
    // The interpreter knows the user's name, but takes one with signs of its own
    // for more than a name.
    const std::string userName = zustd::getEnvironmentVariable("USERNAME");
    run(kDirectoryCommands, collection,
        {{"systemDrive", keepPerCents(collection.systemDrive)},
         {"userName", userName.find_first_of("&^%") == std::string::npos ? "%username%"
                                                                         : keepPerCents(userName)},
         {"addinDataDir", toCommandText(collection.addinDataDirectory)}});
}

void collectSystem(const Collection& collection) {
    printAndRecord("Logging system information...\n");
    runCommand("systeminfo  >misc-systeminfo.log");
    printAndRecord("Logging environment variables...\n");
    runCommand("set  >misc-envvars.log");
    printAndRecord("Logging running processes...\n");
    runCommand("tasklist /V >misc-tasklist.log");
    runCommand("tasklist /SVC >>misc-tasklist.log");
    if (collection.isVistaOrLater) {
        printAndRecord("Logging outlook application events...\n");
        run(kEventCommands, collection, {});
    }
}

// The permission tool's path: in the directory that the utility was started
// in, else where it is installed.
std::optional<std::string> findPermissionTool(const Collection& collection) {
    constexpr const wchar_t* kInstalled = L"\\Windows Resource Kits\\tools\\subinacl.exe";
    std::vector<std::wstring> places = {collection.startDirectory + L"\\subinacl.exe",
                                        zustd::widen(collection.programFiles) + kInstalled};
    if (!collection.programFiles64.empty()) {
        places.push_back(zustd::widen(collection.programFiles64) + kInstalled);
    }
    for (const std::wstring& place : places) {
        if (zustd::isFile(place)) {
            return toCommandText(place);
        }
    }
    return std::nullopt;
}

void collectPermissions(const Collection& collection) {
    printAndRecord("Logging file & registry permissions...\n");
    const std::optional<std::string> tool = findPermissionTool(collection);
    if (!tool) {
        printAndRecord(
            "subinacl.exe not found. Will not collect permission settings on registry keys\n");
        return;
    }
    const std::string prefix = "\"" + *tool + "\" ";
    run(kRegistryPermissionArguments, collection,
        {{"root", "HKEY_LOCAL_MACHINE"}, {"hive", "hklm"}}, prefix);
    run(kRegistryPermissionArguments, collection, {{"root", "HKEY_CURRENT_USER"}, {"hive", "cu"}},
        prefix);
    run(kDirectoryPermissionArguments, collection,
        {{"programFiles", keepPerCents(collection.programFiles)},
         {"programFiles64", keepPerCents(collection.programFiles64)}},
        prefix);
}

void runOcat(const Collection& collection) {
    printAndRecord(
        "Running Outlook Configuration Analyzer Tool - this may take up to 10 minutes - please "
        "wait...\n");
    for (const std::wstring& directory :
         {collection.startDirectory + L"\\ocat",
          zustd::widen(collection.programFiles) + L"\\Microsoft OCAT"}) {
        if (zustd::isDirectory(directory)) {
            run(kOcatArguments, collection, {},
                "\"" + toCommandText(directory) + "\\ocatcmd.exe\" ");
            return;
        }
    }
    printAndRecord("OCAT not found\n");
}

// Nothing that fails here ends the collection: what was gathered is kept and
// named. A former archive that cannot be deleted must not pass for the new one.
void packLogs(Collection& collection) {
    printAndRecord("Zipping log files...\n");
    const std::wstring zipPath = collection.zipPath();
    if (zustd::isFile(zipPath) && !runAction([&] { removeFile(zipPath); })) {
        return;
    }
    runAction([&] {
        zipFolder(toNarrowPath(collection.logsDirectory),
                  toNarrowPath(collection.diagnosticsDirectory) + "\\PelloryDiagnosticsLogs.zip",
                  toNarrowPath(collection.workDirectory));
    });
    collection.packed = waitUntilPacked(zipPath, collection.logsDirectory);
    if (collection.packed) {
        printAndRecord("Log files zipped.\n");
    }
}

void removeLogs(const Collection& collection) {
    setCurrentDirectory(collection.startDirectory);
    const std::string logsText = zustd::narrow(collection.logsDirectory);
    if (!collection.packed) {
        printAndRecord("Could not pack the log files; they are kept in %s\n", logsText.c_str());
        return;
    }
    if (zustd::isDirectory(collection.logsDirectory)) {
        printAndRecord("Removing temp log directory %s...\n", logsText.c_str());
        runCommand("rmdir /s /q \"" + toCommandText(collection.logsDirectory) + "\"");
    }
    if (collection.workDirectory != collection.diagnosticsDirectory) {
        RemoveDirectoryW(collection.workDirectory.c_str());
    }
}

void tellWhatToSend(const Collection& collection) {
    const std::string zipText = zustd::narrow(collection.zipPath());
    if (collection.packed) {
        printAndRecord("Please locate the file %s\n", zipText.c_str());
    } else {
        printAndRecord("The log files could not be packed. Please locate those in %s\n",
                       zustd::narrow(collection.logsDirectory).c_str());
    }
    printAndRecord(
        "and send %s to %s along with any support ticket number that you may have received "
        "before.\n\n",
        collection.packed ? "it" : "them", kSupportAddress);
    if (collection.packed) {
        printAndRecord(
            "(You can find this file in a folder named '%s' that has been created on your "
            "PC.)\n\n",
            zustd::narrow(collection.diagnosticsDirectory).c_str());
    } else if (zustd::isFile(collection.zipPath())) {
        printAndRecord("(Please do not send %s: these log files are not in it.)\n\n",
                       zipText.c_str());
    }
}

// What the user is told at the end, and finds again in README.txt.
void tellWhatToDo(const Collection& collection) {
    printAndRecord("Completed collection of diagnostics for Pellory support.\n\n");
    printAndRecord("What to do next?\n");
    printAndRecord("----------------\n");
    tellWhatToSend(collection);
    printAndRecord("Please note:\n");
    printAndRecord("------------\n");
    printAndRecord("The log files %scould contain potentially sensitive information,\n",
                   collection.packed ? "contained within the zip file " : "");
    printAndRecord(
        "including, but not limited to your user name, your email addresses, your Outlook folder "
        "names,\n");
    printAndRecord(
        "installed product versions, installed Outlook add-in versions, and system event log "
        "messages.\n");
    printAndRecord("However, the log files should normally not contain any email content.\n\n");
    printAndRecord(
        "In case of doubt, feel free to edit out any sensitive material in the files first before "
        "sending them to us.\n");
    printAndRecord(
        "(in that case, please replace any deleted sections with the text '**DELETED**')\n");
}

void finish(const Collection& collection) {
    printAndRecord("\n\n%s\n", kRule106.c_str());
    clearTranscript();
    tellWhatToDo(collection);
    const std::string directory = toNarrowPath(collection.diagnosticsDirectory);
    writeTextFile(directory + "\\README.txt", getTranscript());
    printAndRecord("%s\n", kRule106.c_str());
    runCommand("explorer \"" + keepPerCents(directory) + "\"");
}

}  // namespace

void collectDiagnostics(bool light, bool includeOcat) {
    announce(light, includeOcat);
    Collection collection;
    collection.light = light;
    inspectMachine(collection);
    const DirectoryReturn directoryReturn(collection.startDirectory);
    if (!enterLogsDirectory(collection)) {
        return;
    }
    copyAddinLogs(collection);
    testAddinConnection();
    collectRegistry(collection);
    collectProducts();
    collectDirectories(collection);
    collectSystem(collection);
    if (!light) {
        collectPermissions(collection);
    }
    if (includeOcat) {
        runOcat(collection);
    }
    printAndRecord("Main collection phase complete.\n");
    writeTextFile("plutil.log", getTranscript());
    packLogs(collection);
    removeLogs(collection);
    finish(collection);
}

}  // namespace zuplutil
