// A collection: what it says and runs, in order, on any machine, and what it leaves.

#include <algorithm>
#include <fstream>
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

std::string filled(std::string text, const std::map<std::string, std::string>& values) {
    for (const auto& [name, value] : values) {
        for (std::size_t at = 0; (at = text.find(name, at)) != text.npos; at += value.size()) {
            text.replace(at, name.size(), value);
        }
    }
    return text;
}

// Of both hives, the keys of each view: the first line makes the log and, but for the 32-bit part
// of a 64-bit machine, that of the errors. Two blanks stand behind all keys but the topmost, and
// two of them are shown with all that is below.
std::string permissionLines(bool is64) {
    const std::string classes = "\\Software\\Classes";
    const std::string office = "\\Software\\Microsoft\\Office";
    const std::string keys[] = {"",
                                "\\Software",
                                classes,
                                classes + "\\CLSID",
                                classes + "\\PelloryForOutlook.Connect",
                                "\\Software\\Microsoft",
                                office,
                                office + "\\Outlook"};
    using Views = std::map<std::string, std::string>;
    std::string text;
    for (const auto& [hive, name] :
         {std::pair{"HKEY_LOCAL_MACHINE", "hklm"}, {"HKEY_CURRENT_USER", "cu"}}) {
        for (const auto& [view, order] :
             is64 ? Views{{"64", "01235674"}, {"wow32", "1235674"}} : Views{{"32", "01234567"}}) {
            for (const char digit : order) {
                std::string key = keys[digit - '0'];
                key.insert(std::min<std::size_t>(key.size(), 9),
                           view == "wow32" ? "\\Wow6432Node" : "");
                const bool isFirst = digit == order[0];
                text += std::string("$ @ACL /verbose=2 /") +
                        (digit == '4' || digit == '7' ? "sub" : "") + "keyreg " + hive + key +
                        " /display" + (digit < '2' ? " " : "  ") + (isFirst ? ">" : ">>") +
                        "acl-reg-" + name + "-" + view + ".log " +
                        (isFirst && digit == '0' ? "2>" : "2>>") + "acl-errors-" + name + ".log\n";
            }
        }
    }
    for (const auto& [view, folder] :
         is64 ? Views{{"64", "64"}, {"64or32", "86"}} : Views{{"32", "32"}}) {
        const std::string line = "$ @ACL /verbose=2 /subdirectories \"@BENCH\\programs " + folder;
        text += line + "\" /display >acl-dir-" + view + ".log 2>>acl-errors-dir.log\n" + line +
                "\\Pellory for Outlook\\*.*\" /display >>acl-dir-" + view +
                ".log 2>>acl-errors-dir.log\n";
    }
    return text.substr(0, text.size() - 1);
}

// As the C runtime writes text.
std::string asFile(const std::string& text) { return filled(text + "\n", {{"\n", "\r\n"}}); }

// In which ways the archive comes: what the story has then, and how often it is waited.
struct Packing {
    std::set<std::string> words;
    int sleeps;
};
const Packing kPackings[] = {{{"packed"}, 0},          {{"packed"}, 0},
                             {{"packed", "waits"}, 4}, {{"hasZip", "waits"}, 300},
                             {{"hasZip", "half"}, 1},  {{"hasZip", "locked"}, 0},
                             {{"noScript"}, 0},        {{"nothing"}, 0}};

class CollectionTest : public UtilityTest {
protected:
    bool has(const std::string& word) const { return words_.contains(word); }
    bool oneIn(unsigned count) { return random_() % count == 0; }

    // Makes a user and a machine.
    void prepare() {
        const wchar_t* const names[] = {
            L"user",        L"it's (2) o'clock", L"B\u00fcro=a;b,c! 100%",
            L"Tom & Ann^2", L"%TEMP%TMP% user",  L"100% R&D (%TEMP%)"};
        const std::wstring name = names[random_() % std::size(names)];
        setVariable(L"TMP", temp_);
        moveTo(name);
        packing_ = kPackings[random_() % std::size(kPackings)];
        words_ = packing_.words;
        for (const char* word :
             {"vista", "64", "light", "asksOcat", "log", "dump", "config", "stale"}) {
            if (oneIn(2)) {
                words_.insert(word);
            }
        }
        words_.insert(oneIn(6) ? "share" : oneIn(6) ? "documents" : "desktop");
        setVariable(L"TMP", (bench() / "temp").wstring());
        setVariable(L"TESTROOT", (has("share") ? L"\\\\?\\" : L"") + root().wstring());
        setVariable(L"PROGRAMFILES", (bench() / "programs 32").wstring());
        setVariable(L"PROGRAMFILES(X86)", (bench() / "programs 86").wstring());
        setVariable(L"ProgramW6432", (bench() / "programs 64").wstring());
        setVariable(L"PROCESSOR_ARCHITEW6432", has("64") ? L"AMD64" : L"amd64");
        setVariable(L"USERNAME", name);
        play.windowsVersion = has("vista") ? 6 + random_() % 5 : 5;
        const fs::path own = has("64") ? "programs 86" : "programs 32";
        acl_ = makeTool("acl", {start() / "subinacl.exe", bench() / own / kKit,
                                has("64") ? bench() / "programs 64" / kKit : start() / "no.exe"});
        // Where nobody looks.
        makeTool("", {bench() / (has("64") ? "programs 32" : "programs 64") / kKit});
        ocat_ = makeTool(
            "ocat", {start() / "ocat/ocatcmd.exe", bench() / own / "Microsoft OCAT/ocatcmd.exe"});
        makeFiles();
    }

    // Some of the places have it; the first one is used.
    fs::path makeTool(const std::string& word, const std::vector<fs::path>& places) {
        fs::path found;
        for (const fs::path& place : places) {
            if (oneIn(3) && !fs::exists(place)) {
                write(place, "");
                found = found.empty() ? place : found;
            }
        }
        if (!found.empty() && found.filename() != "no.exe") {
            words_.insert(word);
        }
        return found;
    }

    void makeFiles() {
        if (has("documents")) {
            fs::remove_all(root() / "Desktop");
        }
        place_ = has("documents") ? root() / "Documents" / "PelloryDiagnostics" : diagnostics();
        zip_ = place_ / "PelloryDiagnosticsLogs.zip";
        work_ = has("share") ? bench() / "temp" / "PelloryDiagnostics" : place_;
        fs::create_directories(bench() / "temp");
        const std::pair<const char*, fs::path> files[] = {
            {"log", data() / "debug.log"},
            {"dump", data() / "dump.log"},
            {"stale", work_ / "PelloryLogs/stale.log"},
            {"noScript", work_ / "plutil_zip.vbs/x"}};
        for (const auto& [word, file] : files) {
            if (has(word)) {
                write(file, word);
            }
        }
        const std::string logs[] = {"$(auto)", "", backslashed(bench() / "own.log")};
        logFile_ = logs[random_() % 3];
        write(bench() / "own.log", "");
        if (has("config")) {
            write(config(), debugConfig("n", logFile_, "3", "5"));
        }
        if (has("locked") || oneIn(2)) {
            write(zip_, "the last archive, which would be taken for the new one");
        }
        if (has("locked")) {
            lock_.emplace(zip_);
        }
        allowed_ = has("documents") ? "Documents/PelloryDiagnostics/" : kDiagnostics;
        give();
    }

    void onCommand(const std::string& given) {
        const std::string command = reached(given);
        if (!has("nothing") || !command.starts_with("CScript")) {
            obey(command);
        }
        if (command.starts_with("CScript") && !has("noScript") && !has("nothing")) {
            EXPECT_EQ(read(work_ / "plutil_zip.vbs"), asFile(kScript));
            whole_ = read(zip_);
            write(zip_,
                  whole_.substr(0, has("waits") || has("half") ? whole_.size() / 2 : whole_.npos));
        }
    }

    // The shell copies on: some of it, then with the archive open, then the rest.
    void onSleep() {
        ++sleeps_;
        if (has("hasZip") && has("waits")) {
            write(zip_, read(zip_) + "!");
        } else if (has("waits") && sleeps_ == 1) {
            write(zip_, whole_.substr(0, whole_.size() - 1));
        } else if (has("waits") && sleeps_ == 2) {
            copying_.open(zip_, std::ios::app);
        } else if (has("waits") && sleeps_ == 4) {
            copying_.close();
            write(zip_, whole_);
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
        story = filled(story, {{"@PERMISSIONS", permissionLines(has("64"))},
                               {"@REG32", filled(kRegistry, {{"@W", "32"}})},
                               {"@REG64", filled(kRegistry, {{"@W", "64"}})}});
        return filled(story, {{"@98", std::string(98, '-')},
                              {"@106", std::string(106, '-')},
                              {"@START", backslashed(start())},
                              {"@LOGS", backslashed(work_ / "PelloryLogs")},
                              {"@WORK", backslashed(work_)},
                              {"@ZIP", share + backslashed(zip_)},
                              {"@DIAG", share + backslashed(place_)},
                              {"@DATA", share + backslashed(data())},
                              {"@USER", hasSigns() ? user : "%username%"},
                              {"@ACL", "\"" + backslashed(acl_) + "\""},
                              {"@OCAT", backslashed(ocat_)},
                              {"@BENCH", backslashed(bench())},
                              {"@SCRIPT", kScript}});
    }

    bool hasSigns() const { return utf8(root()).find_first_of("&^%") != std::string::npos; }

    // Commands as they reach their programs, where the path has signs of the interpreter's: then
    // without quotes, which may be moved within a path.
    std::string comparable(const std::string& story, bool isGiven) const {
        std::istringstream lines(story);
        std::string result;
        for (std::string line; std::getline(lines, line);) {
            if (hasSigns() && line.starts_with("$ ")) {
                line = "$ " + (isGiven ? reached(line.substr(2)) : line.substr(2));
                std::erase(line, '"');
            }
            result += line + "\n";
        }
        return result;
    }

    // What stands in the two files that the utility writes itself.
    static std::string recorded(const std::string& story, const std::string& from,
                                const std::string& to) {
        const std::size_t begin = story.find(from);
        std::istringstream lines(story.substr(begin, story.find(to, begin) - begin));
        std::string result;
        for (std::string line; std::getline(lines, line);) {
            result += line.starts_with("$ ") || line == "Logging directories..." ? "" : line + "\n";
        }
        return asFile(result);
    }

    void expectLeft(const std::string& story) const {
        const FileContents left = filesBelow(place_);
        FileContents logs = has("packed") ? readZip(zip_) : filesBelow(work_ / "PelloryLogs");
        EXPECT_EQ(logs.size(), 2u);
        EXPECT_EQ(logs["plutil.log"], recorded(story, "\n", "Zipping log files"));
        EXPECT_EQ(logs["misc-pelloryconnect.log"],
                  "Pellory add-in ended its process with exit code 0\r\n");
        EXPECT_EQ(left.at("README.txt"), recorded(story, "Completed collection of diagnostics for",
                                                  "\n" + std::string(106, '-')));
        EXPECT_EQ(fs::exists(zip_), has("packed") || has("hasZip"));
        EXPECT_EQ(fs::exists(work_), work_ == place_ || !has("packed"));
        EXPECT_TRUE(left.size() == 2 || !has("packed"));
        EXPECT_EQ(fs::current_path(), start());
        // The logs that the settings name have become backups, where there were settings.
        std::string wanted;
        for (const char* const file : {"debug.log", "dump.log"}) {
            if (has("config") &&
                (*file == 'd' && file[1] == 'u' ? has("dump") : has("log") && logFile_[0] == '$')) {
                wanted += std::string("gone .*") + file + "\nnew .*" + file + kStamp;
            }
        }
        EXPECT_PRED2(hasForm, changed(), wanted + "((new|gone|changed) " + allowed_ + ".*\n)*");
        EXPECT_EQ(fs::exists(bench() / "own.log"),
                  !has("config") || logFile_.find(':') == logFile_.npos);
    }
    void TearDown() override { setVariable(L"TMP", temp_); }

    const std::string kKit = "Windows Resource Kits/tools/subinacl.exe";
    const std::wstring temp_ = fs::temp_directory_path().wstring();
    std::mt19937 random_{20161114};
    std::set<std::string> words_;
    Packing packing_;
    fs::path place_;
    fs::path zip_;
    fs::path work_;
    fs::path acl_;
    fs::path ocat_;
    std::string logFile_;
    std::optional<LockedFile> lock_;
    std::string whole_;
    std::ofstream copying_;
    int sleeps_ = 0;
};

TEST_F(CollectionTest, anyMachineModeAndUser_collected_saysRunsAndLeavesWhatIsExpected) {
    for (int number = 0; number < 60 && !HasFailure(); ++number) {
        prepare();
        SCOPED_TRACE("seed 20161114, case " + std::to_string(number));
        sleeps_ = 0;
        play.onCommand = [this](const std::string& command) { onCommand(command); };
        play.onSleep = [this] { onSleep(); };
        play.onProbe = [this] {
            EXPECT_EQ(read(config()), debugConfig("y", "misc-pelloryconnect.log", "10", "1"));
            EXPECT_EQ(fs::current_path(), work_ / "PelloryLogs");
        };
        const std::string story = run({has("asksOcat") ? L"foo" : L"-noocat", L"-LogDiagnostics",
                                       has("light") ? L"-Light" : L"-unknown"});
        EXPECT_EQ(comparable(story, true), comparable(expectedStory(), false));
        expectLeft(story);
        EXPECT_EQ(sleeps_, packing_.sleeps);
        lock_.reset();
    }
}

// What an interpreter receives from outside. Only a 32-bit process can be told of the other view.
TEST_F(CollectionTest, shippedProgram_ownOrBothViews_givesTheCommandsOfTheTestedOne) {
    const bool is32 = sizeof(void*) == 4;
    setVariable(L"PROCESSOR_ARCHITEW6432", is32 ? L"AMD64" : L"");
    play.windowsVersion = 10;
    write(start() / "subinacl.exe", "");
    play.onCommand = obey;
    const std::string played = run({L"-logdiagnostics"});
    EXPECT_EQ(played.find("\\Software\\Wow6432Node\\Classes") != played.npos, is32);
    setVariable(L"COMSPEC", builtProgram("bin/utility_collection_tests.exe").wstring());
    UtilityProcess utility(shippedProgram(), L"-logdiagnostics", start());
    setVariable(L"COMSPEC", L"");
    EXPECT_EQ(utility.exitCode(), 0);
    EXPECT_EQ(utility.output(),
              filled(played, {{"Pellory add-in ended its process with exit code 0",
                               "attempting to connect to Pellory add-in\n"
                               "could not get classid for Pellory.Connect"}}));
}

}  // namespace
}  // namespace zuplutil::test
