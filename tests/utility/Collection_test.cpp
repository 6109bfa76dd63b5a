// A collection: what it says and runs, in order, on any machine, and what it leaves.

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

// Lines with "$ " are run, all others said; each where what stands before it holds.
constexpr char kStory[] = R"(

--------------------------------------------------------------------------------------------------
Starting collection of diagnostics.

This can take a while. Please wait until the message "Completed collection of diagnostics" appears.
--------------------------------------------------------------------------------------------------

[light]Using standard logging level.
[asksOcat]Including OCAT logs if possible.
[!64]Running on 32-bit system
[64]Running on 64-bit system, as 64-bit process.
Current working dir is @START
[share]The desktop is on a network share; collecting in @WORK
[stale]Deleting old log files in @WORK\PelloryLogs
Switching to diagnostics logs directory @WORK\PelloryLogs
Copying Pellory debug settings and log...
[config]$ copy "@DATA\debug.config" .
[log]$ copy "@DATA\debug.log" .
[dump]$ copy "@DATA\dump.log" .
$ copy "@DATA\debug.log-*.bak" .
$ copy "@DATA\dump.log-*.bak" .
Testing connection to Pellory add-in
[noProbe]could not start the connection test (system error 5)
[!noProbe]Pellory add-in ended its process with exit code 0
Logging outlook registry settings and classes...
[vista]@REG32
[vista !light]$ reg EXPORT HKCU\Software\Classes reg-32-hkcu-classes.log /y /reg:32
[vista !light]$ reg EXPORT HKLM\Software\Classes reg-32-hklm-classes.log /y /reg:32
[!vista]$ reg EXPORT HKCU\Software\Microsoft\Office\Outlook reg-32-hkcu-outlook.log
[!vista]$ reg EXPORT HKLM\Software\Microsoft\Office\Outlook reg-32-hklm-outlook.log
[!vista !light]$ reg EXPORT HKCU\Software\Classes reg-32-hkcu-classes.log
[!vista !light]$ reg EXPORT HKLM\Software\Classes reg-32-hklm-classes.log
[64]@REG64
[64 !light]$ reg EXPORT HKCU\Software\Classes reg-64-hkcu-classes.log /y /reg:64
Logging installed products...
$ wmic /output:installedproducts.log product get name,version,vendor,installlocation,installdate
Logging directories...
$ dir "C:\program files\Pellory For Outlook" /S >dir-programfiles.log
[64]$ dir "C:\program files (x86)\Pellory For Outlook" /S >dir-programfiles86.log
$ echo Pellory data dir = "@DATA" >dir-plappdata.log
$ dir "@DATA" /S >>dir-plappdata.log
[vista]$ dir "C:\users\@USER\appdata\local\Microsoft\Outlook" /S >dir-ollappdatalocal.log
[vista]$ dir "C:\users\@USER\appdata\roaming\Microsoft\Outlook" /S >dir-olappdataroaming.log
[!vista]$ dir "C:\Documents and Settings\@USER\Local Settings\Application Data\Microsoft\Outlook" /S >dir-ollappdatalocal.log
[!vista]$ dir "C:\Documents and Settings\@USER\Application Data\Microsoft\Outlook" /S >dir-olappdataroaming.log
Logging system information...
$ systeminfo  >misc-systeminfo.log
Logging environment variables...
$ set  >misc-envvars.log
Logging running processes...
$ tasklist /V >misc-tasklist.log
$ tasklist /SVC >>misc-tasklist.log
[vista]Logging outlook application events...
[vista]$ wevtutil qe Application  /c:1000 /rd:true /f:text  /q:"*[System[Provider[@Name='Outlook']]]" >evt-appoutlook.log
[vista]$ wevtutil qe Application  /c:1000 /rd:true /f:text  >evt-application.log
[vista]$ wevtutil qe System  /c:1000 /rd:true /f:text  >evt-system.log
[!light]Logging file & registry permissions...
[!light !acl]subinacl.exe not found. Will not collect permission settings on registry keys
[!light acl]@PERMISSIONS
[!light acl]@ACL/subdirectories "@BENCH\@PROGRAMS@BITS" /display >acl-dir-@BITS.log 2>>acl-errors-dir.log
[!light acl]@ACL/subdirectories "@BENCH\@PROGRAMS@BITS\Pellory for Outlook\*.*" /display >>acl-dir-@BITS.log 2>>acl-errors-dir.log
[!light acl 64]@ACL/subdirectories "@BENCH\@PROGRAMS86" /display >acl-dir-64or32.log 2>>acl-errors-dir.log
[!light acl 64]@ACL/subdirectories "@BENCH\@PROGRAMS86\Pellory for Outlook\*.*" /display >>acl-dir-64or32.log 2>>acl-errors-dir.log
[asksOcat]Running Outlook Configuration Analyzer Tool - this may take up to 10 minutes - please wait...
[asksOcat !ocat]OCAT not found
[asksOcat ocat]$ "@OCAT" -dat "ocat-report-offline.xml" -l "report-offline" -r "offline scan"  >ocat-output-offline.log
[asksOcat ocat]$ "@OCAT" -dat "ocat-report-online.xml" -l "report-online" >ocat-output-online.log
Main collection phase complete.
Zipping log files...
[locked]Could not delete file @DIAG\PelloryDiagnosticsLogs.zip (Directory:deleteFile() failed)
[noScript]Could not open file @WORK\plutil_zip.vbs for writing @SCRIPT
[!locked]$ CScript "@WORK\plutil_zip.vbs" "@WORK\PelloryLogs" "@DIAG\PelloryDiagnosticsLogs.zip"
[noScript]Could not delete file @WORK\plutil_zip.vbs (Directory:deleteFile() failed)
[waits]Waiting until the archive is complete...
[packed]Log files zipped.
[packed]Removing temp log directory @WORK\PelloryLogs...
[packed]$ rmdir /s /q "@WORK\PelloryLogs"
[!packed]Could not pack the log files; they are kept in @WORK\PelloryLogs


----------------------------------------------------------------------------------------------------------
Completed collection of diagnostics for Pellory support.

What to do next?
----------------
[packed]Please locate the file @DIAG\PelloryDiagnosticsLogs.zip
[!packed]The log files could not be packed. Please locate those in @WORK\PelloryLogs
and send @THEM to support@pellory.example along with any support ticket number that you may have received before.

[packed](You can find this file in a folder named '@DIAG' that has been created on your PC.)
[packed]
[hasZip](Please do not send @DIAG\PelloryDiagnosticsLogs.zip: these log files are not in it.)
[hasZip]
Please note:
------------
The log files@WITHIN could contain potentially sensitive information,
including, but not limited to your user name, your email addresses, your Outlook folder names,
installed product versions, installed Outlook add-in versions, and system event log messages.
However, the log files should normally not contain any email content.

In case of doubt, feel free to edit out any sensitive material in the files first before sending them to us.
(in that case, please replace any deleted sections with the text '**DELETED**')
----------------------------------------------------------------------------------------------------------
$ explorer "@DIAG"
)";

constexpr char kRegistry[] =
    R"($ reg EXPORT HKCU\Software\Microsoft\Office\Outlook reg-@W-hkcu-outlook.log /y /reg:@W
$ reg EXPORT HKLM\Software\Microsoft\Office\Outlook reg-@W-hklm-outlook.log /y /reg:@W
$ reg QUERY HKLM\Software\Classes /s /f pellory /reg:@W >reg-@W-hklm-classes-plquery.log
$ reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f outlook /reg:@W >reg-@W-hklm-uninstall-outlookquery.log
$ reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f office /reg:@W >reg-@W-hklm-uninstall-officequery.log
$ reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f pellory /reg:@W >reg-@W-hklm-uninstall-plquery.log)";

constexpr char kPermissions[] =
    R"(@ACL/keyreg HKEY_@H /display >acl-reg-@N-@BITS.log 2>acl-errors-@N.log
@ACL/keyreg HKEY_@H\Software /display >>acl-reg-@N-@BITS.log 2>>acl-errors-@N.log
@ACL/keyreg HKEY_@H\Software\Classes /display  >>acl-reg-@N-@BITS.log 2>>acl-errors-@N.log
@ACL/keyreg HKEY_@H\Software\Classes\CLSID /display  >>acl-reg-@N-@BITS.log 2>>acl-errors-@N.log
[!64]@ACL/subkeyreg HKEY_@H\Software\Classes\PelloryForOutlook.Connect /display  >>acl-reg-@N-@BITS.log 2>>acl-errors-@N.log
@ACL/keyreg HKEY_@H\Software\Microsoft /display  >>acl-reg-@N-@BITS.log 2>>acl-errors-@N.log
@ACL/keyreg HKEY_@H\Software\Microsoft\Office /display  >>acl-reg-@N-@BITS.log 2>>acl-errors-@N.log
@ACL/subkeyreg HKEY_@H\Software\Microsoft\Office\Outlook /display  >>acl-reg-@N-@BITS.log 2>>acl-errors-@N.log
[64]@ACL/subkeyreg HKEY_@H\Software\Classes\PelloryForOutlook.Connect /display  >>acl-reg-@N-@BITS.log 2>>acl-errors-@N.log
[64]@ACL/keyreg HKEY_@H\Software\Wow6432Node /display >acl-reg-@N-wow32.log 2>>acl-errors-@N.log
[64]@ACL/keyreg HKEY_@H\Software\Wow6432Node\Classes /display  >>acl-reg-@N-wow32.log 2>>acl-errors-@N.log
[64]@ACL/keyreg HKEY_@H\Software\Wow6432Node\Classes\CLSID /display  >>acl-reg-@N-wow32.log 2>>acl-errors-@N.log
[64]@ACL/keyreg HKEY_@H\Software\Wow6432Node\Microsoft /display  >>acl-reg-@N-wow32.log 2>>acl-errors-@N.log
[64]@ACL/keyreg HKEY_@H\Software\Wow6432Node\Microsoft\Office /display  >>acl-reg-@N-wow32.log 2>>acl-errors-@N.log
[64]@ACL/subkeyreg HKEY_@H\Software\Wow6432Node\Microsoft\Office\Outlook /display  >>acl-reg-@N-wow32.log 2>>acl-errors-@N.log
[64]@ACL/subkeyreg HKEY_@H\Software\Wow6432Node\Classes\PelloryForOutlook.Connect /display  >>acl-reg-@N-wow32.log 2>>acl-errors-@N.log
)";

// A folder of programs, and as it is given: no two per cents have a whole name between them.
const std::string kPrograms =
    "a%0%9%A%Z%a%z%-b%@%[%`%{%\xC2\xA0%\xC2\xA1%\xF0\x90\x8F\xBF%\xEE\x80\x80% ";
const std::string kKeptPrograms =
    "a%\"0\"%\"9\"%\"A\"%\"Z\"%\"a\"%\"z\"%-\"b\"%@%[%`%{%\xC2\xA0%\"\xC2\xA1\"%\xF0\x90\x8F\xBF%"
    "\"\xEE\x80\x80\"% ";

// What is put in the place of what, one after another.
using Values = std::vector<std::pair<std::string, std::string>>;
std::string filled(std::string text, const Values& values) {
    for (const auto& [name, value] : values) {
        for (std::size_t at = 0; (at = text.find(name, at)) != text.npos; at += value.size()) {
            text.replace(at, name.size(), value);
        }
    }
    return text;
}

class CollectionTest : public UtilityTest {
protected:
    bool has(const std::string& word) const { return words_.contains(word); }
    bool oneIn(unsigned count) { return random_() % count == 0; }

    void prepare() {
        lock_.reset();
        const wchar_t* const names[] = {L"user", L"it's (2) o'clock", L"B\u00fcro=a;b,c! 100%"};
        moveTo(names[random_() % std::size(names)]);
        const char* const packings[] = {"packed",       "packed waits", "hasZip waits grows",
                                        "hasZip half",  "noScript",     "noZip",
                                        "hasZip locked"};
        std::istringstream words(packings[random_() % std::size(packings)]);
        words_ = {std::istream_iterator<std::string>(words), {}};
        for (const char* word : {"vista", "64", "light", "asksOcat", "log", "dump", "config",
                                 "stale", "old", "share", "signs", "noProbe"}) {
            if (oneIn(2)) {
                words_.insert(word);
            }
        }
        setVariable(L"TMP", (bench() / "temp").wstring());
        setVariable(L"TESTROOT", (has("share") ? L"\\\\?\\" : L"") + root().wstring());
        setVariable(L"PROGRAMFILES", (bench() / pathOf(kPrograms + "32")).wstring());
        setVariable(L"PROGRAMFILES(X86)", (bench() / pathOf(kPrograms + "86")).wstring());
        setVariable(L"ProgramW6432", (bench() / pathOf(kPrograms + "64")).wstring());
        setVariable(L"PROCESSOR_ARCHITEW6432", has("64") ? L"AMD64" : L"amd64");
        setVariable(L"USERNAME", has("signs") ? L"Tom & Ann^2" : L"Tom");
        play.windowsVersion = has("vista") ? 6 + random_() % 5 : 5;
        makeFiles();
    }

    // The first of the places that has a tool.
    std::string makeTool(const std::string& word, const std::vector<fs::path>& places) {
        fs::path found;
        for (const fs::path& place : places) {
            if (oneIn(3)) {
                write(place, "");
                found = found.empty() ? place : found;
                words_.insert(word);
            }
        }
        return backslashed(found);
    }

    void makeFiles() {
        const std::string kit = "Windows Resource Kits/tools/subinacl.exe";
        const fs::path own = bench() / pathOf(kPrograms + (has("64") ? "86" : "32"));
        const fs::path all = bench() / pathOf(kPrograms + (has("64") ? "64" : "32"));
        acl_ = makeTool("acl", {start() / "subinacl.exe", own / kit, all / kit});
        write(bench() / pathOf(kPrograms + (has("64") ? "32" : "64")) / kit, "");
        ocat_ =
            makeTool("ocat", {start() / "ocat/ocatcmd.exe", own / "Microsoft OCAT/ocatcmd.exe"});
        work_ = has("share") ? bench() / "temp" / "PelloryDiagnostics" : diagnostics();
        fs::create_directories(bench() / "temp");
        const std::tuple<const char*, fs::path, std::string> files[] = {
            {"config", config(), debugConfig("n", "$(auto)", "3", "5")},
            {"log", data() / "debug.log", "one"},
            {"dump", data() / "dump.log", "another"},
            {"stale", work_ / "PelloryLogs/stale.log", ""},
            {"noScript", work_ / "plutil_zip.vbs/x", ""},
            {"old", zip(), "older"},
            {"locked", zip(), "older"}};
        for (const auto& [word, file, content] : files) {
            if (has(word)) {
                write(file, content);
            }
        }
        lock_ = has("locked") ? locked(zip()) : zustd::FileHandle();
        give();
    }

    void onCommand(const std::string& command) {
        if (!command.starts_with("CScript") || has("noScript")) {
            return obey(command);
        }
        EXPECT_EQ(read(work_ / "plutil_zip.vbs"), asFile(kScript + std::string("\n")));
        if (!has("noZip")) {
            obey(command);
            whole_ = read(zip());
            write(zip(), whole_.substr(0, whole_.size() / (has("waits") || has("half") ? 2 : 1)));
        }
    }

    // The shell copies on: some of it, then with the archive open, then the rest.
    void onSleep() {
        if (has("grows")) {
            write(zip(), read(zip()) + "!");
        } else if (has("waits") && play.slept == 1000) {
            write(zip(), whole_.substr(0, whole_.size() - 1));
        } else if (has("waits") && play.slept == 2000) {
            copying_.open(zip(), std::ios::app);
        } else if (has("waits") && play.slept == 4000) {
            copying_.close();
            write(zip(), whole_);
        }
    }

    std::string linesOf(const char* text) const {
        std::istringstream table(text);
        std::string lines;
        for (std::string line; std::getline(table, line);) {
            const std::size_t end = line.starts_with("[") ? line.find(']') + 1 : 0;
            std::istringstream words(line.substr(0, end == 0 ? 0 : end - 1).erase(0, 1));
            bool applies = true;
            for (std::string word; words >> word;) {
                applies = applies && (word[0] == '!' ? !has(word.substr(1)) : has(word));
            }
            lines += applies ? line.substr(end) + "\n" : "";
        }
        return lines;
    }

    std::string expectedStory() const {
        const std::string share = has("share") ? "\\\\?\\" : "";
        const std::string keys = linesOf(kPermissions);
        return kBanner +
               filled(linesOf(kStory),
                      {{"@PERMISSIONS\n", filled(keys, {{"@H", "LOCAL_MACHINE"}, {"@N", "hklm"}}) +
                                              filled(keys, {{"@H", "CURRENT_USER"}, {"@N", "cu"}})},
                       {"@REG32", filled(kRegistry, {{"@W", "32"}})},
                       {"@REG64", filled(kRegistry, {{"@W", "64"}})},
                       {"@BITS", has("64") ? "64" : "32"},
                       {"@START", backslashed(start())},
                       {"@WORK", backslashed(work_)},
                       {"@DIAG", share + backslashed(diagnostics())},
                       {"@DATA", share + backslashed(data())},
                       {"@USER", has("signs") ? "Tom ^& Ann^^2" : "%username%"},
                       {"@ACL", "$ \"" + acl_ + "\" /verbose=2 "},
                       {"@OCAT", ocat_},
                       {"@BENCH", backslashed(bench())},
                       {"@THEM", has("packed") ? "it" : "them"},
                       {"@WITHIN", has("packed") ? " contained within the zip file" : ""},
                       {"@SCRIPT", kScript},
                       {"@PROGRAMS", kPrograms},
                       {kPrograms, kKeptPrograms}});
    }

    // What stands in the two files that the utility writes itself.
    static std::string recorded(const std::string& story, const std::string& from,
                                const std::string& to) {
        const std::size_t begin = story.find(from);
        const std::string part = story.substr(begin, story.find(to, begin) - begin);
        const std::regex notRecorded("(\\$ |Logging directories).*\n");
        return asFile(std::regex_replace(part, notRecorded, "") + "\n");
    }

    void expectLeft(const std::string& story) const {
        const FileContents left = filesBelow(diagnostics());
        const FileContents logs = {
            {"plutil.log", recorded(story, "\n", "Zipping log files")},
            {"misc-pelloryconnect.log",
             recorded(story, has("noProbe") ? "could not" : "Pellory add-in ended", "\nLogging")}};
        EXPECT_EQ(has("packed") ? read(zip()) : zipOf(filesBelow(work_ / "PelloryLogs")),
                  zipOf(logs));
        EXPECT_EQ(left.at("README.txt"), recorded(story, "Completed collection of diagnostics for",
                                                  std::string(106, '-')));
        EXPECT_EQ(fs::exists(zip()), has("packed") || has("hasZip"));
        EXPECT_EQ(fs::exists(work_), work_ == diagnostics() || !has("packed"));
        EXPECT_TRUE(left.size() == 2 || !has("packed"));
        EXPECT_EQ(fs::current_path(), start());
    }

    std::mt19937 random_{20161114};
    std::set<std::string> words_;
    fs::path work_;
    std::string acl_;
    std::string ocat_;
    zustd::FileHandle lock_;
    std::string whole_;
    std::ofstream copying_;
};

TEST_F(CollectionTest, anyMachineModeAndUser_collected_saysRunsAndLeavesWhatIsExpected) {
    for (int number = 0; number < 60 && !HasFailure(); ++number) {
        prepare();
        SCOPED_TRACE("seed 20161114, case " + std::to_string(number));
        play.onCommand = [this](const std::string& command) { onCommand(command); };
        play.onSleep = [this] { onSleep(); };
        play.onProbe = [this] {
            EXPECT_EQ(read(config()), debugConfig("y", "misc-pelloryconnect.log", "10", "1"));
            EXPECT_EQ(fs::current_path(), work_ / "PelloryLogs");
            EXPECT_EQ(fs::exists(data() / "dump.log"), has("dump"));
            return !has("noProbe");
        };
        const std::string story = run({has("asksOcat") ? L"foo" : L"-noocat", L"-LogDiagnostics",
                                       has("light") ? L"-Light" : L"-unknown"});
        EXPECT_PRED2(hasForm, changed(),
                     "((new|gone|changed) (" + kDiagnostics + "|.*/d(ebug|ump)\\.log).*\n)*");
        EXPECT_EQ(story, expectedStory());
        expectLeft(story);
        EXPECT_EQ(play.slept / 1000.0, has("grows") ? 300 : has("waits") ? 4 : has("half") ? 1 : 0);
    }
}

}  // namespace
}  // namespace zuplutil::test
