// The command lines of a collection, in order, for every kind of machine, mode
// and installation of the optional tools.

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "DiagnosticsCommands.h"
#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

// A section stands for every collection for which all words of its heading
// hold. $DATA is the add-in's data directory, $DIAG the diagnostics folder,
// $ACL and $OCAT the tools' programs. Lines with $HIVE are run for the machine's,
// then for the user's. Lines with "> " are said, in these collections alone.
constexpr char kExpected[] = R"(
[light]
> Using standard logging level.
[asksOcat]
> Including OCAT logs if possible.
> Running Outlook Configuration Analyzer Tool - this may take up to 10 minutes - please wait...
[32]
> Running on 32-bit system
[64]
> Running on 64-bit system, as 64-bit process.
[vista]
> Logging outlook application events...
[extended]
> Logging file & registry permissions...
[extended noAcl]
> subinacl.exe not found. Will not collect permission settings on registry keys
[asksOcat noOcat]
> OCAT not found
[]
copy "$DATA\debug.log-*.bak" .
copy "$DATA\dump.log-*.bak" .
[vista]
reg EXPORT HKCU\Software\Microsoft\Office\Outlook reg-32-hkcu-outlook.log /y /reg:32
reg EXPORT HKLM\Software\Microsoft\Office\Outlook reg-32-hklm-outlook.log /y /reg:32
reg QUERY HKLM\Software\Classes /s /f pellory /reg:32 >reg-32-hklm-classes-plquery.log
reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f outlook /reg:32 >reg-32-hklm-uninstall-outlookquery.log
reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f office /reg:32 >reg-32-hklm-uninstall-officequery.log
reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f pellory /reg:32 >reg-32-hklm-uninstall-plquery.log
[vista extended]
reg EXPORT HKCU\Software\Classes reg-32-hkcu-classes.log /y /reg:32
reg EXPORT HKLM\Software\Classes reg-32-hklm-classes.log /y /reg:32
[older]
reg EXPORT HKCU\Software\Microsoft\Office\Outlook reg-32-hkcu-outlook.log
reg EXPORT HKLM\Software\Microsoft\Office\Outlook reg-32-hklm-outlook.log
[older extended]
reg EXPORT HKCU\Software\Classes reg-32-hkcu-classes.log
reg EXPORT HKLM\Software\Classes reg-32-hklm-classes.log
[64]
reg EXPORT HKCU\Software\Microsoft\Office\Outlook reg-64-hkcu-outlook.log /y /reg:64
reg EXPORT HKLM\Software\Microsoft\Office\Outlook reg-64-hklm-outlook.log /y /reg:64
reg QUERY HKLM\Software\Classes /s /f pellory /reg:64 >reg-64-hklm-classes-plquery.log
reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f outlook /reg:64 >reg-64-hklm-uninstall-outlookquery.log
reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f office /reg:64 >reg-64-hklm-uninstall-officequery.log
reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f pellory /reg:64 >reg-64-hklm-uninstall-plquery.log
[64 extended]
reg EXPORT HKCU\Software\Classes reg-64-hkcu-classes.log /y /reg:64
[]
wmic /output:installedproducts.log product get name,version,vendor,installlocation,installdate
dir "C:\program files\Pellory For Outlook" /S >dir-programfiles.log
[64]
dir "C:\program files (x86)\Pellory For Outlook" /S >dir-programfiles86.log
[]
echo Pellory data dir = "$DATA" >dir-plappdata.log
dir "$DATA" /S >>dir-plappdata.log
[vista]
dir "C:\users\%username%\appdata\local\Microsoft\Outlook" /S >dir-ollappdatalocal.log
dir "C:\users\%username%\appdata\roaming\Microsoft\Outlook" /S >dir-olappdataroaming.log
[older]
dir "C:\Documents and Settings\%username%\Local Settings\Application Data\Microsoft\Outlook" /S >dir-ollappdatalocal.log
dir "C:\Documents and Settings\%username%\Application Data\Microsoft\Outlook" /S >dir-olappdataroaming.log
[]
systeminfo  >misc-systeminfo.log
set  >misc-envvars.log
tasklist /V >misc-tasklist.log
tasklist /SVC >>misc-tasklist.log
[vista]
wevtutil qe Application  /c:1000 /rd:true /f:text  /q:"*[System[Provider[@Name='Outlook']]]" >evt-appoutlook.log
wevtutil qe Application  /c:1000 /rd:true /f:text  >evt-application.log
wevtutil qe System  /c:1000 /rd:true /f:text  >evt-system.log
[32 acl]
$ACL /verbose=2 /keyreg $HIVE /display >acl-reg-$SHORT-32.log 2>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software /display >>acl-reg-$SHORT-32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Classes /display  >>acl-reg-$SHORT-32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Classes\CLSID /display  >>acl-reg-$SHORT-32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /subkeyreg $HIVE\Software\Classes\PelloryForOutlook.Connect /display  >>acl-reg-$SHORT-32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Microsoft /display  >>acl-reg-$SHORT-32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Microsoft\Office /display  >>acl-reg-$SHORT-32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /subkeyreg $HIVE\Software\Microsoft\Office\Outlook /display  >>acl-reg-$SHORT-32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /subdirectories "$PF" /display >acl-dir-32.log 2>>acl-errors-dir.log
$ACL /verbose=2 /subdirectories "$PF\Pellory for Outlook\*.*" /display >>acl-dir-32.log 2>>acl-errors-dir.log
[64 acl]
$ACL /verbose=2 /keyreg $HIVE /display >acl-reg-$SHORT-64.log 2>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software /display >>acl-reg-$SHORT-64.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Classes /display  >>acl-reg-$SHORT-64.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Classes\CLSID /display  >>acl-reg-$SHORT-64.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Microsoft /display  >>acl-reg-$SHORT-64.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Microsoft\Office /display  >>acl-reg-$SHORT-64.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /subkeyreg $HIVE\Software\Microsoft\Office\Outlook /display  >>acl-reg-$SHORT-64.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /subkeyreg $HIVE\Software\Classes\PelloryForOutlook.Connect /display  >>acl-reg-$SHORT-64.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Wow6432Node /display >acl-reg-$SHORT-wow32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Wow6432Node\Classes /display  >>acl-reg-$SHORT-wow32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Wow6432Node\Classes\CLSID /display  >>acl-reg-$SHORT-wow32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Wow6432Node\Microsoft /display  >>acl-reg-$SHORT-wow32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /keyreg $HIVE\Software\Wow6432Node\Microsoft\Office /display  >>acl-reg-$SHORT-wow32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /subkeyreg $HIVE\Software\Wow6432Node\Microsoft\Office\Outlook /display  >>acl-reg-$SHORT-wow32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /subkeyreg $HIVE\Software\Wow6432Node\Classes\PelloryForOutlook.Connect /display  >>acl-reg-$SHORT-wow32.log 2>>acl-errors-$SHORT.log
$ACL /verbose=2 /subdirectories "$64PF" /display >acl-dir-64.log 2>>acl-errors-dir.log
$ACL /verbose=2 /subdirectories "$64PF\Pellory for Outlook\*.*" /display >>acl-dir-64.log 2>>acl-errors-dir.log
$ACL /verbose=2 /subdirectories "$PF" /display >acl-dir-64or32.log 2>>acl-errors-dir.log
$ACL /verbose=2 /subdirectories "$PF\Pellory for Outlook\*.*" /display >>acl-dir-64or32.log 2>>acl-errors-dir.log
[ocat]
$OCAT -dat "ocat-report-offline.xml" -l "report-offline" -r "offline scan"  >ocat-output-offline.log
$OCAT -dat "ocat-report-online.xml" -l "report-online" >ocat-output-online.log
[]
CScript "$DIAG\plutil_zip.vbs" "$DIAG\PelloryLogs" "$DIAG\PelloryDiagnosticsLogs.zip"
explorer "$DIAG"
)";

// A collection, by the headings' words that hold, whether OCAT was asked for, and
// the tools that are there: the first one that is looked for is used.
struct Case {
    std::string words;
    bool withOcat;
    Lines tools;

    bool has(const std::string& word) const {
        return word == "light"      ? !has("extended")
               : word == "noAcl"    ? !has("acl")
               : word == "noOcat"   ? !has("ocat")
               : word == "asksOcat" ? withOcat
                                    : (" " + words + " ").find(" " + word + " ") != words.npos;
    }
    std::string tool(const std::string& name) const {
        const auto found = std::find_if(tools.begin(), tools.end(), [&](const std::string& tool) {
            return tool.ends_with(name);
        });
        return found == tools.end() ? name : *found;
    }
};

// In the 32-bit view nobody looks into the 64-bit programs.
const std::string kKit = "/Windows Resource Kits/tools/subinacl.exe";
const std::string kAcl32 = "programs 32" + kKit;
const std::string kAcl64 = "programs 64" + kKit;
const std::string kAcl86 = "programs 86" + kKit;
const std::string kAclBeside = "user/start/subinacl.exe";
const std::string kOcat32 = "programs 32/Microsoft OCAT/ocatcmd.exe";
const std::string kOcat86 = "programs 86/Microsoft OCAT/ocatcmd.exe";
const std::string kOcatBeside = "user/start/ocat/ocatcmd.exe";

const Case kCases[] = {
    {"vista 32", false, {kAcl32, kOcat32}},
    {"older 32 ocat", true, {kAclBeside, kOcat32}},
    {"vista 32 extended", true, {kAcl64, kAcl86, kOcat86}},
    {"older 32 extended", false, {kOcatBeside}},
    {"vista 32 extended acl ocat", true, {kAclBeside, kAcl32, kOcatBeside, kOcat32}},
    {"older 32 extended acl", false, {kAcl32, kAcl64}},
    {"older 64", true, {kAcl86, kOcat32}},
    {"vista 64 ocat", true, {kOcat86}},
    {"older 64 extended acl", false, {kAclBeside, kAcl86, kAcl64}},
    {"vista 64 extended acl ocat", true, {kAcl86, kAcl64, kOcatBeside, kOcat86}},
    {"vista 64 extended acl", true, {kAcl64, kAcl32}},
    {"older 64 extended ocat", true, {kAcl32, kOcat86}},
};

// What an interpreter makes of its line: names of variables between per cents
// are replaced, others stay; then a caret outside of quotes goes and what
// follows it stays; an operator outside of quotes ends the command. (This
// Wine's interpreter is more lenient.)
std::string interpreted(std::string line) {
    for (std::size_t at = 0; (at = line.find('%', at)) != line.npos;) {
        const std::size_t end = line.find('%', at + 1);
        const char* const value =
            end == line.npos ? nullptr : std::getenv(line.substr(at + 1, end - at - 1).c_str());
        line.replace(at, value != nullptr ? end + 1 - at : 1, value != nullptr ? value : "%");
        at += value != nullptr ? std::string_view(value).size() : 1;
    }
    std::string result;
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        quoted = quoted != (line[i] == '"');
        if (!quoted && line[i] == '^') {
            ++i;
        } else if (!quoted && (line[i] == '&' || line[i] == '|')) {
            break;
        }
        result += line[i];
    }
    return result;
}

class CollectionCommandsTest : public UtilityTest {
protected:
    explicit CollectionCommandsTest(const std::wstring& name = L"user") : UtilityTest(name) {
        recordOnly();
    }

    // The lines that are run; expects those that are said.
    Lines expected(const Case& given, const std::string& output) const {
        const auto tool = [&](const std::string& name) {
            return "\"" + backslashed(folders_.bench() / given.tool(name)) + "\"";
        };
        const std::map<std::string, std::string> values = {
            {"$DATA", backslashed(folders_.addinData())},
            {"$DIAG", backslashed(folders_.diagnostics())},
            {"$PF",
             backslashed(folders_.bench() / (given.has("64") ? "programs 86" : "programs 32"))},
            {"$64PF", backslashed(folders_.bench() / "programs 64")},
            {"$ACL", tool("subinacl.exe")},
            {"$OCAT", tool("ocatcmd.exe")},
            {"$HIVE", "HKEY_LOCAL_MACHINE"},
            {"$SHORT", "hklm"},
        };
        Lines lines;
        Lines userLines;
        std::istringstream table(kExpected);
        bool applies = false;
        for (std::string line; std::getline(table, line);) {
            if (line.starts_with("[")) {
                std::istringstream heading(line.substr(1, line.size() - 2));
                applies = true;
                for (std::string word; heading >> word;) {
                    applies = applies && given.has(word);
                }
            } else if (line.starts_with("> ")) {
                EXPECT_EQ(output.find(line.substr(2) + "\n") != std::string::npos, applies) << line;
            } else if (applies) {
                // The machine's hive in whole, then the user's.
                if (line.find("$HIVE") == std::string::npos) {
                    lines.insert(lines.end(), userLines.begin(), userLines.end());
                    userLines.clear();
                } else {
                    userLines.push_back(filled(
                        filled(line, {{"$HIVE", "HKEY_CURRENT_USER"}, {"$SHORT", "cu"}}), values));
                }
                lines.push_back(filled(line, values));
            }
        }
        return lines;
    }

    static std::string filled(std::string line, const std::map<std::string, std::string>& values) {
        for (const auto& [name, value] : values) {
            for (std::size_t at; (at = line.find(name)) != std::string::npos;) {
                line.replace(at, name.size(), value);
            }
        }
        return line;
    }

    std::string collect(const Case& given, const std::vector<std::wstring>& more = {}) {
        forgetCommands();
        std::vector<std::wstring> arguments = more;
        const auto programs = [&](const char* name) { return (folders_.bench() / name).wstring(); };
        arguments.push_back(L"PROGRAMFILES=" + programs("programs 32"));
        arguments.push_back(L"PROGRAMFILES(X86)=" + programs("programs 86"));
        arguments.push_back(L"ProgramW6432=" + programs("programs 64"));
        arguments.push_back(given.has("64") ? L"PROCESSOR_ARCHITEW6432=AMD64"
                                            : L"PROCESSOR_ARCHITEW6432=amd64");
        arguments.push_back(L"-logdiagnostics");
        arguments.push_back(given.has("extended") ? L"-else" : L"-light");
        arguments.push_back(given.withOcat ? L"-else" : L"-noocat");
        UtilityProcess& driver =
            start(arguments, builtProgram(given.has("older") ? "tests/support/collect_driver_xp.exe"
                                                             : "tests/support/collect_driver.exe"));
        EXPECT_EQ(driver.exitCode(), 0);
        return driver.output();
    }
};

TEST_F(CollectionCommandsTest, everyMachineModeAndTool_collected_runsTheExpectedLines) {
    allow("start/");
    for (const Case& given : kCases) {
        SCOPED_TRACE(given.words);
        for (const char* folder : {"programs 32", "programs 64", "programs 86", "user/start"}) {
            fs::remove_all(folders_.bench() / folder);
        }
        fs::create_directories(folders_.start());
        for (const std::string& tool : given.tools) {
            write(folders_.bench() / tool, "");
        }
        const std::string output = collect(given);
        ASSERT_EQ(joined(commands()), joined(expected(given, output)));
    }
}

TEST_F(CollectionCommandsTest, shippedProgram_collecting_runsThoseOfTheNativeView) {
    const std::pair<std::vector<std::wstring>, Case> runs[] = {
        {{L"-logdiagnostics"}, {"vista 32 extended", true, {}}},
        {{L"-logdiagnostics", L"-NoOcat"}, {"vista 32 extended", false, {}}},
        {{L"-light", L"-logdiagnostics"}, {"vista 32", true, {}}},
    };
    const auto runAll = [&](bool is64) {
        for (auto [arguments, given] : runs) {
            given.words.replace(given.words.find("32"), 2, is64 ? "64" : "32");
            forgetCommands();
            UtilityProcess& utility = start(arguments, shippedProgram());
            EXPECT_EQ(utility.exitCode(), 0);
            EXPECT_EQ(joined(commands()), joined(expected(given, utility.output())));
        }
    };
    runAll(false);
    if (sizeof(void*) == 4) {
        // A 64-bit system tells 32-bit programs, and only those, what it is.
        environment_[L"PROCESSOR_ARCHITEW6432"] = L"AMD64";
        runAll(true);
    }
}

TEST_F(CollectionCommandsTest, nameInBraces_expanded_needsAValue) {
    const Values values = {{"a", "{b}"}};
    EXPECT_EQ(expand("{a} {b}{a}", values, {{"a", "no"}, {"b", "c"}}), "{b} c{b}");
    for (const char* text : {"{b}", "{a", "{}", "{ab}"}) {
        EXPECT_THROW(expand(text, values), std::wstring) << text;
    }
}

class CommandNamesTest : public CollectionCommandsTest,
                         public ::testing::WithParamInterface<const wchar_t*> {
protected:
    CommandNamesTest() : CollectionCommandsTest(GetParam()) {}
};

// The line passes an interpreter, which starts another one on what stands
// between the outer quotes. Without quotes, which may be moved within a path.
TEST_P(CommandNamesTest, nameWithSigns_inACommand_reachesTheProgramAsItIs) {
    const std::string name = utf8(GetParam());
    const bool plain = name.find_first_of("&^%") == name.npos;
    const Case given{"vista 32", false, {}};
    Lines wanted = expected(given, collect(given, {L"USERNAME=" + std::wstring(GetParam())}));
    Lines reached = commands();
    for (Lines* const lines : {&wanted, &reached}) {
        for (std::string& line : *lines) {
            if (lines == &reached && !plain) {
                line = interpreted("cmd /S /C \"" + line + "\"");
                line = interpreted(line.substr(11, line.size() - 12));
            }
            const std::size_t user = plain ? line.npos : line.find("%username%");
            line.replace(std::min(user, line.size()), user == line.npos ? 0 : 10,
                         user == line.npos ? "" : name);
            if (!plain) {
                std::erase(line, '"');
            }
        }
    }
    EXPECT_EQ(joined(reached), joined(wanted));
}

INSTANTIATE_TEST_SUITE_P(Names, CommandNamesTest,
                         ::testing::Values(L"it's (2) o'clock", L"B\u00fcro=a;b,c! 100%",
                                           L"Tom & Ann^2", L"%TEMP%TMP% user",
                                           L"100% R&D (%TEMP%)"));

}  // namespace
}  // namespace zuplutil::test
