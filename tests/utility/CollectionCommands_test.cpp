// The command lines of a collection, in order, for every kind of machine, mode
// and installation of the optional tools.

#include <sstream>

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

// A section stands for every collection for which all words of its heading
// hold. $DATA is the add-in's data directory, $DIAG the diagnostics folder,
// $ACL and $OCAT the tools' programs.
constexpr char kExpected[] = R"(
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
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE /display >acl-reg-hklm-32.log 2>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software /display >>acl-reg-hklm-32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Classes /display  >>acl-reg-hklm-32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Classes\CLSID /display  >>acl-reg-hklm-32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /subkeyreg HKEY_LOCAL_MACHINE\Software\Classes\PelloryForOutlook.Connect /display  >>acl-reg-hklm-32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Microsoft /display  >>acl-reg-hklm-32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Microsoft\Office /display  >>acl-reg-hklm-32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /subkeyreg HKEY_LOCAL_MACHINE\Software\Microsoft\Office\Outlook /display  >>acl-reg-hklm-32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER /display >acl-reg-cu-32.log 2>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software /display >>acl-reg-cu-32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Classes /display  >>acl-reg-cu-32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Classes\CLSID /display  >>acl-reg-cu-32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /subkeyreg HKEY_CURRENT_USER\Software\Classes\PelloryForOutlook.Connect /display  >>acl-reg-cu-32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Microsoft /display  >>acl-reg-cu-32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Microsoft\Office /display  >>acl-reg-cu-32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /subkeyreg HKEY_CURRENT_USER\Software\Microsoft\Office\Outlook /display  >>acl-reg-cu-32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /subdirectories "$PF" /display >acl-dir-32.log 2>>acl-errors-dir.log
$ACL /verbose=2 /subdirectories "$PF\Pellory for Outlook\*.*" /display >>acl-dir-32.log 2>>acl-errors-dir.log
[64 acl]
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE /display >acl-reg-hklm-64.log 2>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software /display >>acl-reg-hklm-64.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Classes /display  >>acl-reg-hklm-64.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Classes\CLSID /display  >>acl-reg-hklm-64.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Microsoft /display  >>acl-reg-hklm-64.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Microsoft\Office /display  >>acl-reg-hklm-64.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /subkeyreg HKEY_LOCAL_MACHINE\Software\Microsoft\Office\Outlook /display  >>acl-reg-hklm-64.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /subkeyreg HKEY_LOCAL_MACHINE\Software\Classes\PelloryForOutlook.Connect /display  >>acl-reg-hklm-64.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Wow6432Node /display >acl-reg-hklm-wow32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Wow6432Node\Classes /display  >>acl-reg-hklm-wow32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Wow6432Node\Classes\CLSID /display  >>acl-reg-hklm-wow32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Wow6432Node\Microsoft /display  >>acl-reg-hklm-wow32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_LOCAL_MACHINE\Software\Wow6432Node\Microsoft\Office /display  >>acl-reg-hklm-wow32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /subkeyreg HKEY_LOCAL_MACHINE\Software\Wow6432Node\Microsoft\Office\Outlook /display  >>acl-reg-hklm-wow32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /subkeyreg HKEY_LOCAL_MACHINE\Software\Wow6432Node\Classes\PelloryForOutlook.Connect /display  >>acl-reg-hklm-wow32.log 2>>acl-errors-hklm.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER /display >acl-reg-cu-64.log 2>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software /display >>acl-reg-cu-64.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Classes /display  >>acl-reg-cu-64.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Classes\CLSID /display  >>acl-reg-cu-64.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Microsoft /display  >>acl-reg-cu-64.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Microsoft\Office /display  >>acl-reg-cu-64.log 2>>acl-errors-cu.log
$ACL /verbose=2 /subkeyreg HKEY_CURRENT_USER\Software\Microsoft\Office\Outlook /display  >>acl-reg-cu-64.log 2>>acl-errors-cu.log
$ACL /verbose=2 /subkeyreg HKEY_CURRENT_USER\Software\Classes\PelloryForOutlook.Connect /display  >>acl-reg-cu-64.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Wow6432Node /display >acl-reg-cu-wow32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Wow6432Node\Classes /display  >>acl-reg-cu-wow32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Wow6432Node\Classes\CLSID /display  >>acl-reg-cu-wow32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Wow6432Node\Microsoft /display  >>acl-reg-cu-wow32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /keyreg HKEY_CURRENT_USER\Software\Wow6432Node\Microsoft\Office /display  >>acl-reg-cu-wow32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /subkeyreg HKEY_CURRENT_USER\Software\Wow6432Node\Microsoft\Office\Outlook /display  >>acl-reg-cu-wow32.log 2>>acl-errors-cu.log
$ACL /verbose=2 /subkeyreg HKEY_CURRENT_USER\Software\Wow6432Node\Classes\PelloryForOutlook.Connect /display  >>acl-reg-cu-wow32.log 2>>acl-errors-cu.log
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

// Where a tool is installed, and in every place after it: the first counts.
enum class Place { Beside, Programs, Programs64, Nowhere };

struct Case {
    bool vista;
    bool is64;
    bool extended;
    Place acl;
    bool withOcat;
    Place ocat;

    std::string label() const {
        return std::string(vista ? "vista" : "older") + (is64 ? " 64" : " 32") +
               (extended ? " extended" : " light") + ", permission tool in place " +
               std::to_string(static_cast<int>(acl)) + ", analyzer " +
               (withOcat ? "in place " + std::to_string(static_cast<int>(ocat)) : "off");
    }
    // In the 32-bit view nobody looks into the 64-bit programs.
    bool findsAcl() const {
        return extended && acl != Place::Nowhere && (is64 || acl != Place::Programs64);
    }
    bool findsOcat() const { return withOcat && ocat != Place::Nowhere; }
};

// Every machine, mode and presence of either tool crossed with each other; the
// places that a tool can be in take turns.
std::vector<Case> allCases() {
    using enum Place;
    std::vector<Case> cases;
    for (unsigned bits = 0; bits < 64; ++bits) {
        const auto has = [bits](unsigned bit) { return (bits >> bit & 1U) != 0; };
        const bool is64 = has(1);
        const Place aclPlaces[] = {Beside, Programs, is64 ? Programs64 : Beside};
        const Place ocatPlaces[] = {Programs, Beside};
        cases.push_back({has(0), is64, has(2),
                         has(4) ? aclPlaces[(bits >> 2) % 3] : (is64 ? Nowhere : Programs64),
                         has(3), has(5) ? ocatPlaces[has(1) != has(2) ? 1 : 0] : Nowhere});
    }
    return cases;
}

class CollectionCommandsTest : public UtilityTest {
protected:
    CollectionCommandsTest() { recordOnly(); }

    // The machine's program folders lie in the test's own.
    fs::path programs(const char* name) const { return folders_.bench() / name; }
    fs::path ownPrograms(const Case& given) const {
        return programs(given.is64 ? "programs 86" : "programs 32");
    }

    fs::path aclProgram(const Case& given, Place place) const {
        const fs::path installed = "Windows Resource Kits/tools/subinacl.exe";
        return place == Place::Beside     ? folders_.start() / "subinacl.exe"
               : place == Place::Programs ? ownPrograms(given) / installed
                                          : programs("programs 64") / installed;
    }
    fs::path ocatFolder(const Case& given, Place place) const {
        return place == Place::Beside ? folders_.start() / "ocat"
                                      : ownPrograms(given) / "Microsoft OCAT";
    }

    void installTools(const Case& given) {
        for (const char* name : {"programs 32", "programs 64", "programs 86"}) {
            fs::remove_all(programs(name));
        }
        fs::remove_all(folders_.start());
        fs::create_directories(folders_.start());
        for (const Place place : {Place::Beside, Place::Programs, Place::Programs64}) {
            if (place >= given.acl) {
                write(aclProgram(given, place), "");
            }
            if (place >= given.ocat && place != Place::Programs64) {
                write(ocatFolder(given, place) / "ocatcmd.exe", "");
            }
        }
    }

    Lines expected(const Case& given) const {
        const auto backslashes = [](fs::path path) { return utf8(path.make_preferred()); };
        const std::map<std::string, std::string> values = {
            {"$DATA", backslashes(folders_.addinData())},
            {"$DIAG", backslashes(folders_.diagnostics())},
            {"$PF", backslashes(ownPrograms(given))},
            {"$64PF", backslashes(programs("programs 64"))},
            {"$ACL", "\"" + backslashes(aclProgram(given, given.acl)) + "\""},
            {"$OCAT", "\"" + backslashes(ocatFolder(given, given.ocat)) + "\\ocatcmd.exe\""},
        };
        Lines lines;
        std::istringstream table(kExpected);
        bool applies = false;
        for (std::string line; std::getline(table, line);) {
            if (line.starts_with("[")) {
                applies = holds(line.substr(1, line.size() - 2), given);
            } else if (applies) {
                for (const auto& [name, value] : values) {
                    for (std::size_t at; (at = line.find(name)) != std::string::npos;) {
                        line.replace(at, name.size(), value);
                    }
                }
                lines.push_back(line);
            }
        }
        return lines;
    }

    static bool holds(const std::string& heading, const Case& given) {
        const std::map<std::string, bool> words = {
            {"vista", given.vista},      {"older", !given.vista},      {"64", given.is64},
            {"32", !given.is64},         {"extended", given.extended}, {"acl", given.findsAcl()},
            {"ocat", given.findsOcat()},
        };
        std::istringstream in(heading);
        for (std::string word; in >> word;) {
            if (!words.at(word)) {
                return false;
            }
        }
        return true;
    }

    void collect(const Case& given) {
        forgetCommands();
        std::vector<std::wstring> arguments = {
            L"PROGRAMFILES=" + programs("programs 32").wstring(),
            L"PROGRAMFILES(X86)=" + programs("programs 86").wstring(),
            L"ProgramW6432=" + programs("programs 64").wstring()};
        const std::pair<bool, const wchar_t*> options[] = {
            {!given.extended, L"light"},
            {given.withOcat, L"ocat"},
            {given.is64, L"PROCESSOR_ARCHITEW6432=AMD64"}};
        for (const auto& [wanted, option] : options) {
            if (wanted) {
                arguments.push_back(option);
            }
        }
        UtilityProcess& driver =
            start(arguments, builtProgram(given.vista ? "tests/support/collect_driver.exe"
                                                      : "tests/support/collect_driver_xp.exe"));
        EXPECT_EQ(driver.exitCode(), 0);
        expectMessages(given, driver.output());
    }

    static void expectMessages(const Case& given, const std::string& output) {
        const std::pair<const char*, bool> messages[] = {
            {"Using standard logging level.\n", !given.extended},
            {"Including OCAT logs if possible.\n", given.withOcat},
            {"Running on 32-bit system\n", !given.is64},
            {"Running on 64-bit system, as 64-bit process.\n", given.is64},
            {"Logging outlook application events...\n", given.vista},
            {"Logging file & registry permissions...\n", given.extended},
            {"subinacl.exe not found. Will not collect permission settings on registry keys\n",
             given.extended && !given.findsAcl()},
            {"Running Outlook Configuration Analyzer Tool - this may take up to 10 minutes - "
             "please wait...\n",
             given.withOcat},
            {"OCAT not found\n", given.withOcat && !given.findsOcat()}};
        for (const auto& [message, isExpected] : messages) {
            EXPECT_EQ(output.find(message) != std::string::npos, isExpected) << message;
        }
    }
};

TEST_F(CollectionCommandsTest, AreTheExpectedOnesForEveryMachineModeAndTool) {
    allow("start/");
    for (const Case& given : allCases()) {
        SCOPED_TRACE(given.label());
        installTools(given);
        collect(given);
        // Thousands of programs are started here, of which Wine may lose one
        // (see ./dev); it does not lose the same one twice.
        if (commands() != expected(given)) {
            collect(given);
        }
        EXPECT_EQ(joined(commands()), joined(expected(given)));
    }
}

TEST_F(CollectionCommandsTest, TheArchitectureIsComparedWithCase) {
    start({L"light", L"PROCESSOR_ARCHITEW6432=amd64"},
          builtProgram("tests/support/collect_driver.exe"))
        .exitCode();
    const Case given{true, false, false, Place::Nowhere, false, Place::Nowhere};
    EXPECT_EQ(joined(commands()), joined(expected(given)));
}

TEST_F(CollectionCommandsTest, OfTheShippedProgramAreThoseOfTheNativeView) {
    const std::pair<std::vector<std::wstring>, Case> runs[] = {
        {{L"-logdiagnostics"}, {true, false, true, Place::Nowhere, true, Place::Nowhere}},
        {{L"-logdiagnostics", L"-NoOcat"},
         {true, false, true, Place::Nowhere, false, Place::Nowhere}},
        {{L"-light", L"-logdiagnostics"},
         {true, false, false, Place::Nowhere, true, Place::Nowhere}},
    };
    const auto runAll = [&](bool is64) {
        for (auto [arguments, given] : runs) {
            given.is64 = is64;
            forgetCommands();
            expectMessages(given, run(arguments));
            EXPECT_EQ(joined(commands()), joined(expected(given)));
        }
    };
    runAll(false);
    if (sizeof(void*) == 4) {
        // A 64-bit system tells 32-bit programs, and only those, what it is.
        environment_[L"PROCESSOR_ARCHITEW6432"] = L"AMD64";
        runAll(true);
    }
}

}  // namespace
}  // namespace zuplutil::test
