// The collection's connection to the add-in, with a real COM server.

#include "AddinProbe.h"

#include <objbase.h>

#include <optional>
#include <thread>

#include "Actions.h"
#include "Console.h"
#include "ConsoleSession.h"
#include "ProbeProcess.h"
#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

// Registered as long as it lives, where programs of our width look or where the others do.
class RegisteredAddin {
public:
    explicit RegisteredAddin(const fs::path& library = builtProgram("tests/support/test_addin.dll"),
                             const char* view = "")
        : view_(view) {
        if (reg("query", kProgram) == 0) {
            throw std::runtime_error("an add-in is there");
        }
        reg("add", kProgram + "\\CLSID /ve /d " + kClass);
        reg("add", "CLSID\\" + kClass + "\\InprocServer32 /ve /d " + backslashed(library));
    }
    RegisteredAddin& operator=(RegisteredAddin&&) = delete;
    ~RegisteredAddin() {
        reg("delete", kProgram + " /f");
        reg("delete", "CLSID\\" + kClass + " /f");
    }

private:
    int reg(const std::string& action, const std::string& key) const {
        return std::system(
            ("reg " + action + " HKLM\\Software\\Classes\\" + key + view_ + " >nul 2>nul").c_str());
    }

    const std::string kProgram = "PelloryForOutlook.Connect";
    const std::string kClass = "{5E0B2F6A-31C7-4E0B-9C55-6D5C6C1E7A10}";
    const std::string view_;
};

const std::string kAttempt = "attempting to connect to Pellory add-in\n";
const std::string kCreated = "created Pellory.Connect\n";
const std::string kMine = debugConfig("n", "$(auto)", "7", "3");

using AddinProbeTest = UtilityTest;

TEST_F(AddinProbeTest, addin_anyWayItEnds_isOneLineOnTheScreenAndInTheLog) {
    const RegisteredAddin addin;
    const std::pair<const wchar_t*, std::string> kWays[] = {
        {L"fails", "call to OnConnection method completed with hr=80004005"},
        {L"null", "pIDTExtensibility2 is null"},
        // The other width's compiler has no exceptions that pass from library to program.
        {sizeof(void*) == 8 ? L"throws" : L"0xE06D7363", "Pellory add-in threw an exception"},
        {L"0xE06D7363", "Pellory add-in threw an exception"},
        {L"crashes", "Pellory add-in crashed with exception c0000005"},
        {L"0x0", "Pellory add-in ended its process with exit code 0"},
        {L"0xC0000000", "Pellory add-in crashed with exception c0000000"},
        {L"0xEFFFFFFF", "Pellory add-in crashed with exception efffffff"},
        {L"0xF0000000", "Pellory add-in ended its process with exit code f0000000"},
        {L"hangs", "Pellory add-in did not finish within 2 seconds and was ended"}};
    const zustd::FileHandle hanging(CreateMutexW(nullptr, FALSE, L"PelloryTestAddin"));
    for (const auto& [way, line] : kWays) {
        setVariable(L"PELLORY_ADDIN", way);
        clearTranscript();
        probeAddin("probe.log", *way == L'h' ? 2 : 60);
        EXPECT_EQ(getTranscript(), kAttempt + kCreated + line + "\n");
        EXPECT_EQ(read("probe.log"), asFile(getTranscript()));
        fs::remove("probe.log");
    }
    EXPECT_EQ(WaitForSingleObject(hanging.get(), 1000), DWORD{WAIT_ABANDONED});
}

TEST_F(AddinProbeTest, shippedProgram_realCommands_packsWhatTheyFound) {
    moveTo(L"B\u00fcro=a;b,c! it's \u30c7 \u0420\U0001F600 100% R&D^2 (%TEMP%TMP%)");
    const RegisteredAddin addin;
    setVariable(L"PELLORY_ADDIN", L"wanders");
    FileContents logs = {{"debug.config", kMine},
                         {"debug.log", "a line\r\n"},
                         {"dump.log", std::string("\0\1\2", 3)},
                         {"debug.log-2016.bak", "older"},
                         {"dump.log-2016.bak", "older dump"}};
    for (const auto& [name, content] : logs) {
        write(data() / name, content);
    }
    UtilityProcess utility(shippedProgram(), L"-logdiagnostics -light -noocat");
    EXPECT_EQ(utility.exitCode(), 0u);
    SCOPED_TRACE(utility.output());
    // Names stand before what they hold, which is not packed.
    logs["misc-pelloryconnect.log"] =
        asFile(kAttempt + kCreated + "call to OnConnection method completed with hr=0\n");
    logs["misc-envvars.log"] = "";
    logs["dir-plappdata.log"] = "Pellory data dir = ";
    const std::string packed = read(zip());
    for (const auto& [name, content] : logs) {
        EXPECT_NE(packed.find(name + kEmptyField + content), packed.npos) << name;
    }
    EXPECT_EQ(packed.find("nobody's business"), packed.npos);
    // In their order, also where others write to the same stream.
    EXPECT_TRUE(utility.output().starts_with(kBanner + "\n\n---"));
    EXPECT_TRUE(utility.output().ends_with("'**DELETED**')\n" + std::string(106, '-') + "\n"));
    EXPECT_EQ(filesBelow(diagnostics()).size(), 2u);
}

BOOL WINAPI ignoreConsoleEvent(DWORD) { return TRUE; }

void say(const char* text) {
    std::fputs(text, stdout);
    std::fflush(stdout);
}

// An interrupted run ends its step, and then begins nothing any more.
[[noreturn]] void takeSteps() {
    const ConsoleSession session;
    std::optional<InterruptGuard> inner;
    std::optional<InterruptGuard> late;
    const std::function<void()> beginnings[] = {
        [] { printAndRecord("late\n"); },      [] { runCommand("echo late"); },
        [] { removeFile(L"late"); },           [&] { late.emplace([] {}), say("late\n"); },
        [&] { inner.reset(), say("late\n"); }, [] { const ConsoleSession second; }};
    const InterruptGuard outer([&] {
        say("interrupted\n");
        for (const auto& begin : beginnings) {
            std::thread(begin).detach();
        }
        Sleep(500);
    });
    inner.emplace([] { say("inner "); });
    InterruptGuard([] { say("gone "); });
    for (;;) {
        InterruptGuard::runStep([] {
            printAndRecord("step ");
            Sleep(20);
            printAndRecord("done\n");
        });
    }
}

TEST_F(AddinProbeTest, utility_endedWhileProbing_takesTheAddinAlongAndTheSettingsComeBack) {
    if (std::getenv("PELLORY_STEPS") != nullptr) {
        takeSteps();
    }
    const RegisteredAddin addin;
    setVariable(L"PELLORY_ADDIN", L"hangs");
    write(config(), kMine);
    // One that can tell of CTRL-C. It stays: programs that find none make their own.
    FreeConsole();
    ASSERT_TRUE(AllocConsole()) << GetLastError();
    SetConsoleCtrlHandler(&ignoreConsoleEvent, TRUE);
    const HANDLE hanging = CreateMutexW(nullptr, FALSE, L"PelloryTestAddin");
    for (const bool isKilled : {true, false}) {
        SetConsoleOutputCP(437);
        UtilityProcess utility(shippedProgram(), L"-logdiagnostics -light");
        utility.waitFor(kCreated);
        if (isKilled) {
            utility.kill();
            EXPECT_EQ(WaitForSingleObject(hanging, 60000), DWORD{WAIT_ABANDONED});
            EXPECT_TRUE(run().starts_with(kBanner + "An interrupted run had changed"));
        } else {
            GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
            EXPECT_EQ(utility.exitCode(), 0xC000013Au);
            EXPECT_TRUE(utility.output().ends_with(kCreated)) << utility.output();
            EXPECT_EQ(GetConsoleOutputCP(), 437u);
            EXPECT_FALSE(fs::exists(config().string() + ".kept"));
        }
        EXPECT_EQ(read(config()), kMine);
    }
    setVariable(L"PELLORY_STEPS", L"1");
    UtilityProcess steps(builtProgram("bin/utility_collection_tests.exe"),
                         L"--gtest_filter=*endedWhileProbing*");
    setVariable(L"PELLORY_STEPS", L"");
    steps.waitFor("done\n");
    GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
    EXPECT_EQ(steps.exitCode(), 0xC000013Au);
    EXPECT_TRUE(steps.output().ends_with("step done\ninner interrupted\n")) << steps.output();
    EXPECT_EQ(GetConsoleOutputCP(), 437u);
}

TEST_F(AddinProbeTest, addinOfTheOtherWidth_probed_isNamedWithTheProgramToUse) {
    constexpr bool kWeAre64 = sizeof(void*) == 8;
    constexpr WORD kOwn = kWeAre64 ? IMAGE_FILE_MACHINE_AMD64 : IMAGE_FILE_MACHINE_I386;
    constexpr WORD kOther = kWeAre64 ? IMAGE_FILE_MACHINE_I386 : IMAGE_FILE_MACHINE_AMD64;
    const char* const otherView = kWeAre64 ? " /reg:32" : " /reg:64";
    const std::string line =
        kWeAre64 ? "Pellory add-in is there for 32-bit Outlook: please use zuplutil32.exe\n"
                 : "Pellory add-in is there for 64-bit Outlook: please use zuplutil.exe\n";
    const std::string noObject = "could not instantiate Pellory.Connect\n";
    BOOL isBeside = FALSE;
    IsWow64Process(GetCurrentProcess(), &isBeside);
    const std::string noClass = "could not get classid for Pellory.Connect\n";
    const std::tuple<const char*, WORD, std::string> kCases[] = {
        {otherView, kOwn, kWeAre64 || isBeside ? noClass + line : noObject},
        {"", kOther, noObject + line},
        {"", kOwn, noObject}};
    for (const auto& [view, machine, wanted] : kCases) {
        // A library of which nothing but the machine can be read.
        write(bench() / "addin.dll", std::string(60, '\0') + numbers(4, {64, IMAGE_NT_SIGNATURE}) +
                                         numbers(2, {machine}) + std::string(118, '\0'));
        const RegisteredAddin addin(bench() / "addin.dll", view);
        std::string said;
        connectToAddin([&](const std::string& text) { said += text + "\n"; });
        EXPECT_EQ(said, kAttempt + wanted) << view << machine;
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        CoUninitialize();
    }
}

}  // namespace
}  // namespace zuplutil::test
