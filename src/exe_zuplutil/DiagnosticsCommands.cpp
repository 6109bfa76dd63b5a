#include "DiagnosticsCommands.h"

#include "ZuPlankton.h"

namespace zuplutil {

namespace {

// clang-format off

const CommandTable kRegistryCommands = {
    {kVista, R"(reg EXPORT HKCU\Software\Microsoft\Office\Outlook reg-32-hkcu-outlook.log /y /reg:32)"},
    {kVista, R"(reg EXPORT HKLM\Software\Microsoft\Office\Outlook reg-32-hklm-outlook.log /y /reg:32)"},
    {kVista, R"(reg QUERY HKLM\Software\Classes /s /f pellory /reg:32 >reg-32-hklm-classes-plquery.log)"},
    {kVista, R"(reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f outlook /reg:32 >reg-32-hklm-uninstall-outlookquery.log)"},
    {kVista, R"(reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f office /reg:32 >reg-32-hklm-uninstall-officequery.log)"},
    {kVista, R"(reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f pellory /reg:32 >reg-32-hklm-uninstall-plquery.log)"},
    {kVista | kExtended, R"(reg EXPORT HKCU\Software\Classes reg-32-hkcu-classes.log /y /reg:32)"},
    {kVista | kExtended, R"(reg EXPORT HKLM\Software\Classes reg-32-hklm-classes.log /y /reg:32)"},

    // Older systems know neither "/y" nor a view switch.
    {kBeforeVista, R"(reg EXPORT HKCU\Software\Microsoft\Office\Outlook reg-32-hkcu-outlook.log)"},
    {kBeforeVista, R"(reg EXPORT HKLM\Software\Microsoft\Office\Outlook reg-32-hklm-outlook.log)"},
    {kBeforeVista | kExtended, R"(reg EXPORT HKCU\Software\Classes reg-32-hkcu-classes.log)"},
    {kBeforeVista | kExtended, R"(reg EXPORT HKLM\Software\Classes reg-32-hklm-classes.log)"},

    // There is no 64-bit export of the machine's classes.
    {k64Bit, R"(reg EXPORT HKCU\Software\Microsoft\Office\Outlook reg-64-hkcu-outlook.log /y /reg:64)"},
    {k64Bit, R"(reg EXPORT HKLM\Software\Microsoft\Office\Outlook reg-64-hklm-outlook.log /y /reg:64)"},
    {k64Bit, R"(reg QUERY HKLM\Software\Classes /s /f pellory /reg:64 >reg-64-hklm-classes-plquery.log)"},
    {k64Bit, R"(reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f outlook /reg:64 >reg-64-hklm-uninstall-outlookquery.log)"},
    {k64Bit, R"(reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f office /reg:64 >reg-64-hklm-uninstall-officequery.log)"},
    {k64Bit, R"(reg QUERY HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall /s /f pellory /reg:64 >reg-64-hklm-uninstall-plquery.log)"},
    {k64Bit | kExtended, R"(reg EXPORT HKCU\Software\Classes reg-64-hkcu-classes.log /y /reg:64)"},
};

const CommandTable kDirectoryCommands = {
    {kAlways, R"(dir "{systemDrive}\program files\Pellory For Outlook" /S >dir-programfiles.log)"},
    {k64Bit, R"(dir "{systemDrive}\program files (x86)\Pellory For Outlook" /S >dir-programfiles86.log)"},
    {kAlways, R"(echo Pellory data dir = "{addinDataDir}" >dir-plappdata.log)"},
    {kAlways, R"(dir "{addinDataDir}" /S >>dir-plappdata.log)"},
    {kVista, R"(dir "{systemDrive}\users\{userName}\appdata\local\Microsoft\Outlook" /S >dir-ollappdatalocal.log)"},
    {kVista, R"(dir "{systemDrive}\users\{userName}\appdata\roaming\Microsoft\Outlook" /S >dir-olappdataroaming.log)"},
    {kBeforeVista, R"(dir "{systemDrive}\Documents and Settings\{userName}\Local Settings\Application Data\Microsoft\Outlook" /S >dir-ollappdatalocal.log)"},
    {kBeforeVista, R"(dir "{systemDrive}\Documents and Settings\{userName}\Application Data\Microsoft\Outlook" /S >dir-olappdataroaming.log)"},
};

const CommandTable kEventCommands = {
    {kAlways, R"(wevtutil qe Application  /c:1000 /rd:true /f:text  /q:"*[System[Provider[@Name='Outlook']]]" >evt-appoutlook.log)"},
    {kAlways, R"(wevtutil qe Application  /c:1000 /rd:true /f:text  >evt-application.log)"},
    {kAlways, R"(wevtutil qe System  /c:1000 /rd:true /f:text  >evt-system.log)"},
};

const CommandTable kRegistryPermissionArguments = {
    {k32Bit, R"(/verbose=2 /keyreg {root} /display >acl-reg-{hive}-32.log 2>acl-errors-{hive}.log)"},
    {k32Bit, R"(/verbose=2 /keyreg {root}\Software /display >>acl-reg-{hive}-32.log 2>>acl-errors-{hive}.log)"},
    {k32Bit, R"(/verbose=2 /keyreg {root}\Software\Classes /display  >>acl-reg-{hive}-32.log 2>>acl-errors-{hive}.log)"},
    {k32Bit, R"(/verbose=2 /keyreg {root}\Software\Classes\CLSID /display  >>acl-reg-{hive}-32.log 2>>acl-errors-{hive}.log)"},
    {k32Bit, R"(/verbose=2 /subkeyreg {root}\Software\Classes\PelloryForOutlook.Connect /display  >>acl-reg-{hive}-32.log 2>>acl-errors-{hive}.log)"},
    {k32Bit, R"(/verbose=2 /keyreg {root}\Software\Microsoft /display  >>acl-reg-{hive}-32.log 2>>acl-errors-{hive}.log)"},
    {k32Bit, R"(/verbose=2 /keyreg {root}\Software\Microsoft\Office /display  >>acl-reg-{hive}-32.log 2>>acl-errors-{hive}.log)"},
    {k32Bit, R"(/verbose=2 /subkeyreg {root}\Software\Microsoft\Office\Outlook /display  >>acl-reg-{hive}-32.log 2>>acl-errors-{hive}.log)"},

    {k64Bit, R"(/verbose=2 /keyreg {root} /display >acl-reg-{hive}-64.log 2>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /keyreg {root}\Software /display >>acl-reg-{hive}-64.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /keyreg {root}\Software\Classes /display  >>acl-reg-{hive}-64.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /keyreg {root}\Software\Classes\CLSID /display  >>acl-reg-{hive}-64.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /keyreg {root}\Software\Microsoft /display  >>acl-reg-{hive}-64.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /keyreg {root}\Software\Microsoft\Office /display  >>acl-reg-{hive}-64.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /subkeyreg {root}\Software\Microsoft\Office\Outlook /display  >>acl-reg-{hive}-64.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /subkeyreg {root}\Software\Classes\PelloryForOutlook.Connect /display  >>acl-reg-{hive}-64.log 2>>acl-errors-{hive}.log)"},

    {k64Bit, R"(/verbose=2 /keyreg {root}\Software\Wow6432Node /display >acl-reg-{hive}-wow32.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /keyreg {root}\Software\Wow6432Node\Classes /display  >>acl-reg-{hive}-wow32.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /keyreg {root}\Software\Wow6432Node\Classes\CLSID /display  >>acl-reg-{hive}-wow32.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /keyreg {root}\Software\Wow6432Node\Microsoft /display  >>acl-reg-{hive}-wow32.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /keyreg {root}\Software\Wow6432Node\Microsoft\Office /display  >>acl-reg-{hive}-wow32.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /subkeyreg {root}\Software\Wow6432Node\Microsoft\Office\Outlook /display  >>acl-reg-{hive}-wow32.log 2>>acl-errors-{hive}.log)"},
    {k64Bit, R"(/verbose=2 /subkeyreg {root}\Software\Wow6432Node\Classes\PelloryForOutlook.Connect /display  >>acl-reg-{hive}-wow32.log 2>>acl-errors-{hive}.log)"},
};

const CommandTable kDirectoryPermissionArguments = {
    {k32Bit, R"(/verbose=2 /subdirectories "{programFiles}" /display >acl-dir-32.log 2>>acl-errors-dir.log)"},
    {k32Bit, R"(/verbose=2 /subdirectories "{programFiles}\Pellory for Outlook\*.*" /display >>acl-dir-32.log 2>>acl-errors-dir.log)"},
    {k64Bit, R"(/verbose=2 /subdirectories "{programFiles64}" /display >acl-dir-64.log 2>>acl-errors-dir.log)"},
    {k64Bit, R"(/verbose=2 /subdirectories "{programFiles64}\Pellory for Outlook\*.*" /display >>acl-dir-64.log 2>>acl-errors-dir.log)"},
    {k64Bit, R"(/verbose=2 /subdirectories "{programFiles}" /display >acl-dir-64or32.log 2>>acl-errors-dir.log)"},
    {k64Bit, R"(/verbose=2 /subdirectories "{programFiles}\Pellory for Outlook\*.*" /display >>acl-dir-64or32.log 2>>acl-errors-dir.log)"},
};

const CommandTable kOcatArguments = {
    {kAlways, R"(-dat "ocat-report-offline.xml" -l "report-offline" -r "offline scan"  >ocat-output-offline.log)"},
    {kAlways, R"(-dat "ocat-report-online.xml" -l "report-online" >ocat-output-online.log)"},
};

const CommandTable kProcessCommands = {
    {kAlways, R"(tasklist /V >misc-tasklist.log)"},
    {kAlways, R"(tasklist /SVC >>misc-tasklist.log)"},
};

const Values kMachineHive = {{"root", "HKEY_LOCAL_MACHINE"}, {"hive", "hklm"}};
const Values kUserHive = {{"root", "HKEY_CURRENT_USER"}, {"hive", "cu"}};

constexpr unsigned kWithTool = kExtended | kPermissionTool;
constexpr std::string_view kToolProgram = R"("{permissionTool}" )";
constexpr std::string_view kOcatProgram = R"("{ocatDir}\ocatcmd.exe" )";

}  // namespace

const Section kCopies = {kAlways, "Copying Pellory debug settings and log...", {
    {kDebugConfig, R"(copy "{addinDataDir}\debug.config" .)"},
    {kDebugLog, R"(copy "{addinDataDir}\debug.log" .)"},
    {kDumpLog, R"(copy "{addinDataDir}\dump.log" .)"},
    {kAlways, R"(copy "{addinDataDir}\debug.log-*.bak" .)"},
    {kAlways, R"(copy "{addinDataDir}\dump.log-*.bak" .)"},
}};

const std::vector<Section> kSections = {
    {kAlways, "Logging outlook registry settings and classes...", kRegistryCommands},
    {kAlways, "Logging installed products...", {{kAlways, "wmic /output:installedproducts.log product get name,version,vendor,installlocation,installdate"}}},
    {.when = kAlways, .announcement = "Logging directories...", .rows = kDirectoryCommands, .recorded = false},
    {kAlways, "Logging system information...", {{kAlways, "systeminfo  >misc-systeminfo.log"}}},
    {kAlways, "Logging environment variables...", {{kAlways, "set  >misc-envvars.log"}}},
    {kAlways, "Logging running processes...", kProcessCommands},
    {kVista, "Logging outlook application events...", kEventCommands},

    {kExtended, "Logging file & registry permissions..."},
    {kExtended | kNoPermissionTool, "subinacl.exe not found. Will not collect permission settings on registry keys"},
    {kWithTool, nullptr, kRegistryPermissionArguments, kToolProgram, kMachineHive},
    {kWithTool, nullptr, kRegistryPermissionArguments, kToolProgram, kUserHive},
    {kWithTool, nullptr, kDirectoryPermissionArguments, kToolProgram},

    {kWithOcat, "Running Outlook Configuration Analyzer Tool - this may take up to 10 minutes - please wait..."},
    {kWithOcat | kNoOcat, "OCAT not found"},
    {kWithOcat | kOcat, nullptr, kOcatArguments, kOcatProgram},
};

// clang-format on

bool applies(unsigned when, unsigned present) { return (when & ~present) == 0; }

std::string expand(std::string_view text, const Values& values, const Values& more) {
    std::string result;
    for (std::size_t open; (open = text.find('{')) != std::string_view::npos;) {
        const std::size_t close = text.find('}', open);
        ZU_ASSERT(close != std::string_view::npos);
        const std::string_view name = text.substr(open + 1, close - open - 1);
        auto value = values.find(name);
        if (value == values.end()) {
            value = more.find(name);
            ZU_ASSERT(value != more.end());
        }
        result.append(text, 0, open).append(value->second);
        text.remove_prefix(close + 1);
    }
    return result += text;
}

}  // namespace zuplutil
