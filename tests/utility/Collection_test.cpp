// A collection: what it says and runs, in order, on any machine, and what it leaves.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <random>
#include <set>
#include <sstream>

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

constexpr char kScript[] =
    "Set objArgs = WScript.Arguments\n\t\tSourceFolder = objArgs(0)\n\t\tDestZipFile = objArgs(1)\n"
    "\t\tCreateObject(\"Scripting.FileSystemObject\").CreateTextFile(DestZipFile, True).Write "
    "\"PK\" & Chr(5) & Chr(6) & String(18, vbNullChar)\n"
    "\t\tSet objShell = CreateObject(\"Shell.Application\")\n"
    "\t\tSet source = objShell.NameSpace(SourceFolder).Items\n"
    "\t\tset destination = objShell.NameSpace(DestZipFile)\n"
    "\t\tdestination.CopyHere(source)\n\t\twScript.Sleep 10000\n";

// A section stands for every collection for which all words of its heading hold, with "!" do not
// hold. Lines with "$ " are run, all others said.
constexpr char kStory[] = R"([]


@98
Starting collection of diagnostics.

This can take a while. Please wait until the message "Completed collection of diagnostics" appears.
@98

[light]
Using standard logging level.
[asksOcat]
Including OCAT logs if possible.
[!64]
Running on 32-bit system
[64]
Running on 64-bit system, as 64-bit process.
[]
Current working dir is @START
[share]
The desktop is on a network share; collecting in @WORK
[stale]
Deleting old log files in @LOGS
[]
Switching to diagnostics logs directory @LOGS
Copying Pellory debug settings and log...
[config]
$ copy "@DATA\debug.config" .
[log]
$ copy "@DATA\debug.log" .
[dump]
$ copy "@DATA\dump.log" .
[]
$ copy "@DATA\debug.log-*.bak" .
$ copy "@DATA\dump.log-*.bak" .
Testing connection to Pellory add-in
Pellory add-in ended its process with exit code 0
Logging outlook registry settings and classes...
[vista]
@REG32
[vista !light]
$ reg EXPORT HKCU\Software\Classes reg-32-hkcu-classes.log /y /reg:32
$ reg EXPORT HKLM\Software\Classes reg-32-hklm-classes.log /y /reg:32
[!vista]
$ reg EXPORT HKCU\Software\Microsoft\Office\Outlook reg-32-hkcu-outlook.log
$ reg EXPORT HKLM\Software\Microsoft\Office\Outlook reg-32-hklm-outlook.log
[!vista !light]
$ reg EXPORT HKCU\Software\Classes reg-32-hkcu-classes.log
$ reg EXPORT HKLM\Software\Classes reg-32-hklm-classes.log
[64]
@REG64
[64 !light]
$ reg EXPORT HKCU\Software\Classes reg-64-hkcu-classes.log /y /reg:64
[]
Logging installed products...
$ wmic /output:installedproducts.log product get name,version,vendor,installlocation,installdate
Logging directories...
$ dir "C:\program files\Pellory For Outlook" /S >dir-programfiles.log
[64]
$ dir "C:\program files (x86)\Pellory For Outlook" /S >dir-programfiles86.log
[]
$ echo Pellory data dir = "@DATA" >dir-plappdata.log
$ dir "@DATA" /S >>dir-plappdata.log
[vista]
$ dir "C:\users\@USER\appdata\local\Microsoft\Outlook" /S >dir-ollappdatalocal.log
$ dir "C:\users\@USER\appdata\roaming\Microsoft\Outlook" /S >dir-olappdataroaming.log
[!vista]
$ dir "C:\Documents and Settings\@USER\Local Settings\Application Data\Microsoft\Outlook" /S >dir-ollappdatalocal.log
$ dir "C:\Documents and Settings\@USER\Application Data\Microsoft\Outlook" /S >dir-olappdataroaming.log
[]
Logging system information...
$ systeminfo  >misc-systeminfo.log
Logging environment variables...
$ set  >misc-envvars.log
Logging running processes...
$ tasklist /V >misc-tasklist.log
$ tasklist /SVC >>misc-tasklist.log
[vista]
Logging outlook application events...
$ wevtutil qe Application  /c:1000 /rd:true /f:text  /q:"*[System[Provider[@Name='Outlook']]]" >evt-appoutlook.log
$ wevtutil qe Application  /c:1000 /rd:true /f:text  >evt-application.log
$ wevtutil qe System  /c:1000 /rd:true /f:text  >evt-system.log
[!light]
Logging file & registry permissions...
[!light !acl]
subinacl.exe not found. Will not collect permission settings on registry keys
[!light acl]
@PERMISSIONS
[asksOcat]
Running Outlook Configuration Analyzer Tool - this may take up to 10 minutes - please wait...
[asksOcat !ocat]
OCAT not found
[asksOcat ocat]
$ "@OCAT" -dat "ocat-report-offline.xml" -l "report-offline" -r "offline scan"  >ocat-output-offline.log
$ "@OCAT" -dat "ocat-report-online.xml" -l "report-online" >ocat-output-online.log
[]
Main collection phase complete.
Zipping log files...
[locked]
Could not delete file @ZIP (Directory:deleteFile() failed)
[noScript]
Could not open file @WORK\plutil_zip.vbs for writing @SCRIPT
[!locked]
$ CScript "@WORK\plutil_zip.vbs" "@LOGS" "@ZIP"
[noScript]
Could not delete file @WORK\plutil_zip.vbs (Directory:deleteFile() failed)
[waits]
Waiting until the archive is complete...
[packed]
Log files zipped.
Removing temp log directory @LOGS...
$ rmdir /s /q "@LOGS"
[!packed]
Could not pack the log files; they are kept in @LOGS
[]


@106
Completed collection of diagnostics for Pellory support.

What to do next?
----------------
[packed]
Please locate the file @ZIP
and send it to support@pellory.example along with any support ticket number that you may have received before.

(You can find this file in a folder named '@DIAG' that has been created on your PC.)

[!packed]
The log files could not be packed. Please locate those in @LOGS
and send them to support@pellory.example along with any support ticket number that you may have received before.

[!packed hasZip]
(Please do not send @ZIP: these log files are not in it.)

[]
Please note:
------------
[packed]
The log files contained within the zip file could contain potentially sensitive information,
[!packed]
The log files could contain potentially sensitive information,
[]
including, but not limited to your user name, your email addresses, your Outlook folder names,
installed product versions, installed Outlook add-in versions, and system event log messages.
However, the log files should normally not contain any email content.

In case of doubt, feel free to edit out any sensitive material in the files first before sending them to us.
(in that case, please replace any deleted sections with the text '**DELETED**')
@106
$ explorer "@DIAG"
)";

constexpr char kRegistry[] =
    R"($ reg EXPORT HKCU\Software\Microsoft\Office\Outlook reg-@W-hkcu-outlook.log /y /reg:@W
$ reg EXPORT HKLM\Software\Microsoft\Office\Outlook reg-@W-hklm-outlook.log /y /reg:@W
$ reg QUERY HKLM\Software\Classes /s /f pellory /reg:@W >reg-@W-hklm-classes-plquery.log
$ reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f outlook /reg:@W >reg-@W-hklm-uninstall-outlookquery.log
$ reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f office /reg:@W >reg-@W-hklm-uninstall-officequery.log
$ reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f pellory /reg:@W >reg-@W-hklm-uninstall-plquery.log)";

std::string filled(std::string text,
                   const std::vector<std::pair<std::string, std::string>>& values) {
    for (const auto& [name, value] : values) {
        for (std::size_t at = 0; (at = text.find(name, at)) != text.npos; at += value.size()) {
            text.replace(at, name.size(), value);
        }
    }
    return text;
}

// Of both hives, the keys of one view: the first line makes the log and, but for the 32-bit part of
// a 64-bit machine, that of the errors; two blanks stand behind all keys but the topmost.
std::string permissionLines(bool is64) {
    const std::string classes = "\\Software\\Classes";
    const std::string office = "\\Software\\Microsoft\\Office";
    const Lines keys32 = {"",
                          "\\Software",
                          classes,
                          classes + "\\CLSID",
                          classes + "\\PelloryForOutlook.Connect",
                          "\\Software\\Microsoft",
                          office,
                          office + "\\Outlook"};
    Lines keys64 = keys32;
    std::rotate(keys64.begin() + 4, keys64.begin() + 5, keys64.end());
    Lines keysWow(keys64.begin() + 1, keys64.end());
    for (std::string& key : keysWow) {
        key.insert(9, "\\Wow6432Node");
    }
    std::string text;
    for (const auto& [hive, name] :
         {std::pair{"HKEY_LOCAL_MACHINE", "hklm"}, {"HKEY_CURRENT_USER", "cu"}}) {
        const auto add = [&, hive = hive, name = name](const Lines& keys, const std::string& view) {
            for (const std::string& key : keys) {
                const bool isFirst = key == keys[0];
                const bool isTop = isFirst || key == "\\Software";
                const bool isWithin = key.ends_with("\\Outlook") || key.ends_with(".Connect");
                text += "$ @ACL /verbose=2 /" + std::string(isWithin ? "sub" : "") + "keyreg " +
                        hive + key + " /display" + (isTop ? " " : "  ") + (isFirst ? ">" : ">>") +
                        "acl-reg-" + name + "-" + view + ".log " +
                        (isFirst && view != "wow32" ? "2>" : "2>>") + "acl-errors-" + name +
                        ".log\n";
            }
        };
        add(is64 ? keys64 : keys32, is64 ? "64" : "32");
        if (is64) {
            add(keysWow, "wow32");
        }
    }
    const auto addFolder = [&](const std::string& folder, const std::string& view) {
        text += "$ @ACL /verbose=2 /subdirectories \"" + folder + "\" /display >acl-dir-" + view +
                ".log 2>>acl-errors-dir.log\n$ @ACL /verbose=2 /subdirectories \"" + folder +
                "\\Pellory for Outlook\\*.*\" /display >>acl-dir-" + view +
                ".log 2>>acl-errors-dir.log\n";
    };
    if (is64) {
        addFolder("@BENCH\\programs 64", "64");
    }
    addFolder(is64 ? "@BENCH\\programs 86" : "@BENCH\\programs 32", is64 ? "64or32" : "32");
    return text.substr(0, text.size() - 1);
}

// As the C runtime writes text.
std::string asFile(const std::string& text) { return filled(text + "\n", {{"\n", "\r\n"}}); }

// In which way the archive comes.
enum class Packing { kFine, kLate, kEndless, kHalf, kNothing, kNoScript, kLocked, kCount };

class CollectionTest : public UtilityTest {
protected:
    bool has(const std::string& word) const { return words_.contains(word); }
    // Half of all machines and modes have it.
    bool toss(const std::string& word) {
        const bool isThere = random_() % 2 == 0;
        if (isThere) {
            words_.insert(word);
        }
        return isThere;
    }

    // Makes a user and a machine.
    void prepare() {
        const wchar_t* const names[] = {
            L"user",        L"it's (2) o'clock", L"B\u00fcro=a;b,c! 100%",
            L"Tom & Ann^2", L"%TEMP%TMP% user",  L"100% R&D (%TEMP%)"};
        const std::wstring name = names[random_() % std::size(names)];
        moveTo(name);
        words_.clear();
        const bool isShare = random_() % 6 == 0;
        setVariable(L"TMP", isShare ? (bench() / "temp").wstring() : temp_);
        setVariable(L"TESTROOT", (isShare ? L"\\\\?\\" : L"") + root().wstring());
        if (isShare) {
            words_.insert("share");
            fs::create_directories(bench() / "temp");
        } else if (random_() % 6 == 0) {
            words_.insert("documents");
            fs::remove_all(root() / "Desktop");
        }
        place_ = has("documents") ? root() / "Documents" / "PelloryDiagnostics" : diagnostics();
        allowed_ = has("documents") ? "Documents/PelloryDiagnostics/" : kDiagnostics;
        work_ = isShare ? bench() / "temp" / "PelloryDiagnostics" : place_;
        for (const char* word : {"vista", "64", "light", "asksOcat"}) {
            toss(word);
        }
        play.windowsVersion = has("vista") ? 6 + random_() % 5 : 5;
        const auto programs = [&](const char* folder) { return (bench() / folder).wstring(); };
        setVariable(L"PROGRAMFILES", programs("programs 32"));
        setVariable(L"PROGRAMFILES(X86)", programs("programs 86"));
        setVariable(L"ProgramW6432", programs("programs 64"));
        setVariable(L"PROCESSOR_ARCHITEW6432", has("64") ? L"AMD64" : L"amd64");
        setVariable(L"USERNAME", name);
        acl_ = findTool("acl", "subinacl.exe", "", "Windows Resource Kits/tools/");
        ocat_ = findTool("ocat", "ocatcmd.exe", "ocat/", "Microsoft OCAT/");
        for (const auto& [word, file] : {std::pair{"log", "debug.log"}, {"dump", "dump.log"}}) {
            if (toss(word)) {
                write(data() / file, file);
            }
        }
        write(bench() / "own.log", "");
        logFile_ = std::array{std::string("$(auto)"), std::string(),
                              backslashed(bench() / "own.log")}[random_() % 3];
        if (toss("config")) {
            write(config(), debugConfig("n", logFile_, "3", "5"));
        }
        if (toss("stale")) {
            write(work_ / "PelloryLogs" / "stale.log", "");
        }
        packing_ = static_cast<Packing>(random_() % (2 * static_cast<unsigned>(Packing::kCount)));
        preparePacking();
        give();
    }

    // In the folder of the start, then in those of the programs: the first one is used. In the
    // 32-bit view nobody looks into the 64-bit programs.
    fs::path findTool(const std::string& word, const std::string& program, const char* here,
                      const std::string& installed) {
        fs::path found;
        for (const std::string& folder :
             {utf8(start()) + "/" + here, utf8(bench()) + "/programs 32/" + installed,
              utf8(bench()) + "/programs 86/" + installed,
              utf8(bench()) + "/programs 64/" + installed}) {
            const bool is64 = folder.find("programs 64") != folder.npos;
            const bool isOwn =
                folder.find(has("64") ? "programs 32" : "programs 86") == folder.npos &&
                (!is64 || (has("64") && word == "acl"));
            if (random_() % 3 == 0) {
                write(fs::path(std::u8string(folder.begin(), folder.end())) / program, "");
                found = found.empty() && isOwn
                            ? fs::path(std::u8string(folder.begin(), folder.end())) / program
                            : found;
            }
        }
        if (!found.empty()) {
            words_.insert(word);
        }
        return found;
    }

    void preparePacking() {
        const fs::path zip = place_ / "PelloryDiagnosticsLogs.zip";
        if (packing_ == Packing::kLocked || random_() % 2 == 0) {
            write(zip, "the last archive, which would be taken for the new one");
        }
        if (packing_ == Packing::kLocked) {
            lock_.emplace(zip);
            words_.insert({"locked", "hasZip"});
        } else if (packing_ == Packing::kNoScript) {
            fs::create_directories(work_ / "plutil_zip.vbs");
            words_.insert("noScript");
        } else if (packing_ == Packing::kHalf || packing_ == Packing::kEndless) {
            words_.insert("hasZip");
        } else if (packing_ != Packing::kNothing) {
            words_.insert("packed");
        }
        if (packing_ == Packing::kLate || packing_ == Packing::kEndless) {
            words_.insert("waits");
        }
    }

    void onCommand(const std::string& given) {
        const std::string command = reached(given);
        if (!command.starts_with("CScript")) {
            return obey(command);
        }
        if (packing_ != Packing::kNoScript) {
            EXPECT_EQ(read(work_ / "plutil_zip.vbs"), asFile(kScript));
        }
        if (packing_ == Packing::kNothing || packing_ == Packing::kNoScript) {
            return;
        }
        obey(command);
        const fs::path zip = place_ / "PelloryDiagnosticsLogs.zip";
        whole_ = read(zip);
        if (words_.contains("waits") || packing_ == Packing::kHalf) {
            write(zip, whole_.substr(0, whole_.size() / 2));
        }
    }

    // The shell copies on: some of it, then with the archive open, then the rest.
    void onSleep() {
        const fs::path zip = place_ / "PelloryDiagnosticsLogs.zip";
        ++sleeps_;
        if (packing_ == Packing::kEndless) {
            write(zip, read(zip) + "!");
        } else if (packing_ == Packing::kLate && sleeps_ == 1) {
            write(zip, whole_.substr(0, whole_.size() - 1));
        } else if (packing_ == Packing::kLate && sleeps_ == 2) {
            copying_ = CreateFileW(zip.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                   OPEN_EXISTING, 0, nullptr);
        } else if (packing_ == Packing::kLate && sleeps_ == 4) {
            CloseHandle(copying_);
            write(zip, whole_);
        }
    }

    std::string expectedStory() const {
        std::string story = kBanner;
        std::istringstream table(kStory);
        bool applies = false;
        for (std::string line; std::getline(table, line);) {
            if (line.starts_with("[")) {
                std::istringstream heading(line.substr(1, line.size() - 2));
                applies = true;
                for (std::string word; heading >> word;) {
                    applies = applies && (word[0] == '!' ? !has(word.substr(1)) : has(word));
                }
            } else if (applies) {
                story += line + "\n";
            }
        }
        const std::string share = has("share") ? "\\\\?\\" : "";
        const std::string user = utf8(root().filename());
        return filled(story,
                      {{"@PERMISSIONS", permissionLines(has("64"))},
                       {"@REG32", filled(kRegistry, {{"@W", "32"}})},
                       {"@REG64", filled(kRegistry, {{"@W", "64"}})},
                       {"@98", std::string(98, '-')},
                       {"@106", std::string(106, '-')},
                       {"@START", backslashed(start())},
                       {"@LOGS", backslashed(work_ / "PelloryLogs")},
                       {"@WORK", backslashed(work_)},
                       {"@ZIP", share + backslashed(place_ / "PelloryDiagnosticsLogs.zip")},
                       {"@DIAG", share + backslashed(place_)},
                       {"@DATA", share + backslashed(data())},
                       {"@USER", user.find_first_of("&^%") == user.npos ? "%username%" : user},
                       {"@ACL", "\"" + backslashed(acl_) + "\""},
                       {"@OCAT", backslashed(ocat_)},
                       {"@BENCH", backslashed(bench())},
                       {"@SCRIPT", kScript}});
    }

    // Commands as they reach their programs, where the path has signs of the interpreter's: then
    // without quotes, which may be moved within a path.
    std::string comparable(const std::string& story, bool isGiven) const {
        if (utf8(root()).find_first_of("&^%") == std::string::npos) {
            return story;
        }
        std::istringstream lines(story);
        std::string result;
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with("$ ")) {
                line = "$ " + (isGiven ? reached(line.substr(2)) : line.substr(2));
                std::erase(line, '"');
            }
            result += line + "\n";
        }
        return result;
    }

    // What stands in the two files that the utility writes itself.
    static std::string recorded(const std::string& story, const char* from, const char* to) {
        const std::size_t begin = story.find(from);
        std::istringstream lines(story.substr(begin, story.find(to, begin) - begin));
        std::string result;
        for (std::string line; std::getline(lines, line);) {
            result += line.starts_with("$ ") || line == "Logging directories..." ? "" : line + "\n";
        }
        return asFile(result);
    }

    void expectLeft(const std::string& story) {
        const FileContents left = filesBelow(place_);
        FileContents logs = has("packed") ? readZip(place_ / "PelloryDiagnosticsLogs.zip")
                                          : filesBelow(work_ / "PelloryLogs");
        EXPECT_EQ(logs.size(), 2u);
        EXPECT_EQ(logs["plutil.log"], recorded(story, "\n", "Zipping log files"));
        EXPECT_EQ(logs["misc-pelloryconnect.log"],
                  "Pellory add-in ended its process with exit code 0\r\n");
        EXPECT_EQ(left.at("README.txt"),
                  recorded(story, "Completed collection of diagnostics for",
                           std::string("\n" + std::string(106, '-')).c_str()));
        EXPECT_EQ(left.contains("PelloryDiagnosticsLogs.zip"), has("packed") || has("hasZip"));
        EXPECT_EQ(fs::exists(work_), work_ == place_ || !has("packed"));
        EXPECT_EQ(left.size(), has("packed") ? 2u : left.size());
        EXPECT_EQ(fs::current_path(), start());
        // The logs that the settings name have become backups, where there were settings.
        std::string wanted;
        for (const std::string file : {"debug.log", "dump.log"}) {
            const bool isSwitched =
                file == "dump.log" ? has("dump") : has("log") && logFile_ == "$(auto)";
            wanted += has("config") && isSwitched
                          ? "gone " + kData + file + "\nnew " + kData + file + kStamp
                          : "";
        }
        EXPECT_EQ(fs::exists(bench() / "own.log"),
                  !has("config") || !logFile_.ends_with("own.log"));
        std::string found;
        for (const std::string& change : changes()) {
            found += change.find(kData) == change.npos ? "" : change + "\n";
        }
        EXPECT_PRED2(hasForm, found, wanted);
        UtilityTest::TearDown();
    }
    void TearDown() override {}

    std::mt19937 random_{20161114};
    const std::wstring temp_ = fs::temp_directory_path().wstring();
    std::set<std::string> words_;
    fs::path place_;
    fs::path work_;
    fs::path acl_;
    fs::path ocat_;
    std::string logFile_;
    Packing packing_ = Packing::kFine;
    std::optional<LockedFile> lock_;
    std::string whole_;
    HANDLE copying_ = nullptr;
    int sleeps_ = 0;
};

TEST_F(CollectionTest, anyMachineModeAndUser_collected_saysRunsAndLeavesWhatIsExpected) {
    for (int number = 0; number < 60; ++number) {
        prepare();
        SCOPED_TRACE("case " + std::to_string(number));
        sleeps_ = 0;
        play.onCommand = [this](const std::string& command) { onCommand(command); };
        play.onSleep = [this] { onSleep(); };
        play.onProbe = [this] {
            EXPECT_EQ(read(config()), debugConfig("y", "misc-pelloryconnect.log", "10", "1"));
            EXPECT_EQ(fs::current_path(), work_ / "PelloryLogs");
        };
        Words arguments = {L"-LogDiagnostics"};
        if (has("light")) {
            arguments.push_back(L"-Light");
        }
        if (!has("asksOcat")) {
            arguments.insert(arguments.begin(), L"-noocat");
        }
        const std::string story = run(arguments);
        EXPECT_EQ(comparable(story, true), comparable(expectedStory(), false));
        expectLeft(story);
        EXPECT_EQ(sleeps_, packing_ == Packing::kEndless ? 300
                           : packing_ == Packing::kLate  ? 4
                           : packing_ == Packing::kHalf  ? 1
                                                         : 0);
        lock_.reset();
        if (HasFailure()) {
            FAIL() << "seed 20161114";
        }
    }
}

}  // namespace
}  // namespace zuplutil::test
