// The collection's connection to the add-in, with a real COM server.

#include "AddinProbe.h"

#include <cstdlib>
#include <cstring>

#include "Actions.h"
#include "Console.h"
#include "ConsoleSession.h"
#include "ProbeProcess.h"
#include "TextFiles.h"
#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

// Registered for as long as this object lives, in the registry that programs of
// our width see or in that of the others. Touches nothing that was there before.
class RegisteredAddin {
public:
    explicit RegisteredAddin(const fs::path& library, REGSAM view = 0) : view_(view) {
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Classes", 0, KEY_ALL_ACCESS | view_,
                      &classes_);
        set(L"PelloryForOutlook.Connect", L"CLSID", kClass);
        set(std::wstring(L"CLSID\\") + kClass, L"InprocServer32", library.wstring());
    }
    RegisteredAddin(const RegisteredAddin&) = delete;
    RegisteredAddin& operator=(const RegisteredAddin&) = delete;
    ~RegisteredAddin() {
        for (const std::wstring& key : made_) {
            RegDeleteTreeW(classes_, key.c_str());
        }
        RegCloseKey(classes_);
    }

private:
    static constexpr const wchar_t* kClass = L"{5E0B2F6A-31C7-4E0B-9C55-6D5C6C1E7A10}";

    void set(const std::wstring& key, const wchar_t* below, const std::wstring& value) {
        DWORD disposition = 0;
        HKEY made = nullptr;
        RegCreateKeyExW(classes_, key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | view_, nullptr,
                        &made, &disposition);
        ASSERT_EQ(disposition, static_cast<DWORD>(REG_CREATED_NEW_KEY)) << "an add-in is there";
        made_.push_back(key);
        RegSetKeyValueW(made, below, nullptr, REG_SZ, value.c_str(),
                        static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(made);
    }

    REGSAM view_;
    HKEY classes_ = nullptr;
    Words made_;
};

const Words kStandard = {L"-logdiagnostics", L"-light", L"-noocat"};
const std::string kAttempt = "attempting to connect to Pellory add-in\r\n";
const std::string kSeen = kAttempt +
                          "created Pellory.Connect\r\n"
                          "add-in: mode=3\r\n";
const std::string kMine = debugConfig("n", "$(auto)", "7", "3");

class AddinProbeTest : public UtilityTest {
protected:
    const fs::path library_ = builtProgram("tests/support/test_addin.dll");
};

TEST_F(AddinProbeTest, addin_anyWayItEnds_isOneLineAndTheCollectionGoesOn) {
    const RegisteredAddin addin(library_);
    const std::tuple<const wchar_t*, std::string, std::string> kWays[] = {
        {L"fails", kSeen, "call to OnConnection method completed with hr=80004005"},
        {L"throws", kSeen, "Pellory add-in threw an exception"},
        {L"create throws", kAttempt, "Pellory add-in threw an exception"},
        {L"crashes", kSeen, "Pellory add-in crashed with exception c0000005"},
        {L"create crashes", kAttempt, "Pellory add-in crashed with exception c0000005"},
        {L"overflows", kSeen, "Pellory add-in crashed with exception c00000fd"},
        {L"exits", kSeen, "Pellory add-in ended its process with exit code 0"},
        {L"ends", kSeen, "Pellory add-in ended its process with exit code ffffffff"},
        {L"aborts", kSeen, "Pellory add-in ended its process with exit code 3"}};
    play.isProbeReal = true;
    write(data() / "debug.log", "a line");
    for (const auto& [way, before, line] : kWays) {
        SCOPED_TRACE(utf8(way));
        setVariable(L"PELLORY_ADDIN", way);
        fs::remove_all(diagnostics());
        const std::string story = run(kStandard);
        EXPECT_EQ(read(logs() / "misc-pelloryconnect.log"), before + line + "\r\n");
        EXPECT_NE(story.find("Testing connection to Pellory add-in\n"
                             "attempting to connect to Pellory add-in\n" +
                             std::string(before == kSeen ? "created Pellory.Connect\n" : "") +
                             line + "\nLogging outlook registry"),
                  std::string::npos)
            << story;
        EXPECT_TRUE(fs::exists(diagnostics() / "README.txt"));
        EXPECT_EQ(changed().find("debug.config"), std::string::npos);
    }
    setVariable(L"PELLORY_ADDIN", L"hangs");
    const std::string ended = "Pellory add-in did not finish within 1 seconds and was ended";
    fs::current_path(data());
    perform([] {
        probeAddin("probe.log", 1);
        return 0;
    });
    EXPECT_TRUE(play.story.ends_with("created Pellory.Connect\n" + ended + "\n")) << play.story;
    EXPECT_TRUE(read(data() / "probe.log").ends_with(ended + "\r\n"));
}

TEST_F(AddinProbeTest, shippedProgram_realCommands_packsWhatTheyFound) {
    moveTo(L"B\u00fcro=a;b,c! it's \u30c7 \u0420\U0001F600 100% R&D^2 (%TEMP%TMP%)");
    const RegisteredAddin addin(library_);
    setVariable(L"PELLORY_ADDIN", L"wanders");
    setVariable(L"PELLORY_EXPLORER", (bench() / "explored.txt").wstring());
    const std::map<std::string, std::string> logs = {
        {"debug.config", kMine},
        {"debug.log", "a line\r\n"},
        {"dump.log", std::string("\0\1\2", 3)},
        {"debug.log-2016-11-14-16;39;59;123.bak", "older"},
        {"dump.log-2016-11-14-16;39;59;123.bak", "older dump"},
        {"misc-pelloryconnect.log", kSeen + "call to OnConnection method completed with hr=0\r\n"}};
    for (const auto& [name, content] : logs) {
        write(data() / name, content);
    }
    fs::remove(data() / "misc-pelloryconnect.log");
    UtilityProcess utility(shippedProgram(), L"-logdiagnostics -light -noocat", start());
    EXPECT_EQ(utility.exitCode(), 0);
    SCOPED_TRACE(utility.output());
    auto packed = readZip(zip());
    for (const auto& [name, content] : logs) {
        EXPECT_EQ(packed[name], content) << name;
    }
    EXPECT_NE(packed["misc-envvars.log"].find("TESTROOT="), std::string::npos);
    EXPECT_TRUE(packed["dir-plappdata.log"].starts_with("Pellory data dir = "));
    EXPECT_FALSE(packed.contains("training.dat"));
    EXPECT_EQ(read(bench() / "explored.txt"), backslashed(diagnostics()));
    EXPECT_EQ(utility.output().find("a word to the screen"), std::string::npos);
    // In their order, also where others write to the same stream.
    EXPECT_TRUE(utility.output().starts_with(kBanner + "\n\n---"));
    EXPECT_TRUE(utility.output().ends_with("'**DELETED**')\n" + std::string(106, '-') + "\n"));
    EXPECT_EQ(filesBelow(diagnostics()).size(), 2u);
}

TEST_F(AddinProbeTest, utility_killedWhileProbing_takesTheAddinAlongAndTheNextRunMends) {
    const RegisteredAddin addin(library_);
    setVariable(L"PELLORY_ADDIN", L"hangs");
    UtilityProcess utility(shippedProgram(), L"-logdiagnostics -light", start());
    EXPECT_TRUE(utility.waitFor("created Pellory.Connect\n"));
    EXPECT_EQ(read(config()), debugConfig("y", "misc-pelloryconnect.log", "10", "1"));
    utility.killAlone();
    EXPECT_TRUE(run().starts_with(kBanner + mended()));
    EXPECT_FALSE(fs::exists(config()));
}

[[noreturn]] void takeSteps(const std::string& what) {
    const ConsoleSession session;
    const InterruptGuard outer([] {
        Sleep(200);
        std::fputs("interrupted\n", stdout);
        std::fflush(stdout);
        Sleep(200);
    });
    {
        const InterruptGuard inner([] { std::fputs("inner\n", stdout); });
    }
    for (;;) {
        if (what == "print") {
            printAndRecord("print\n");
        } else if (what == "command") {
            runCommand("rem");
        } else {
            writeTextFile("step", "");
            removeFile(L"step");
        }
        std::fputs("step\n", stdout);
        std::fflush(stdout);
    }
}

BOOL WINAPI ignoreConsoleEvent(DWORD) { return TRUE; }

TEST_F(AddinProbeTest, ctrlC_whileProbing_putsTheSettingsBackWithoutAnotherStep) {
    if (const char* const steps = std::getenv("PELLORY_STEPS")) {
        takeSteps(steps);
    }
    const RegisteredAddin addin(library_);
    setVariable(L"PELLORY_ADDIN", L"hangs");
    write(config(), kMine);
    // One that can tell of CTRL-C. It stays: programs that find none make their own.
    FreeConsole();
    ASSERT_TRUE(AllocConsole()) << GetLastError();
    SetConsoleCtrlHandler(&ignoreConsoleEvent, TRUE);
    for (const wchar_t* const steps : {L"", L"print", L"command", L"removal"}) {
        setVariable(L"PELLORY_STEPS", steps);
        const bool isProbe = *steps == L'\0';
        UtilityProcess utility(
            isProbe ? shippedProgram() : builtProgram("bin/utility_collection_tests.exe"),
            isProbe ? L"-logdiagnostics -light" : L"--gtest_filter=*ctrlC*", start());
        EXPECT_TRUE(utility.waitFor(isProbe ? "created Pellory.Connect\n" : "step\n"));
        GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
        EXPECT_EQ(utility.exitCode(), static_cast<int>(0xC000013A));
        // What the main thread was at is all that may come behind it.
        const std::string last = isProbe ? "created Pellory.Connect\n" : "interrupted\n";
        const std::size_t more = utility.output().size() - utility.output().rfind(last);
        EXPECT_LE(more, last.size() + (isProbe ? 0 : std::strlen("print\nstep\n")))
            << utility.output();
    }
    setVariable(L"PELLORY_STEPS", L"");
    EXPECT_EQ(read(config()), kMine);
    EXPECT_EQ(changed().find("kept"), std::string::npos);
    fs::remove(start() / "step");
}

// A library of which nothing but the machine can be read.
std::string libraryFor(WORD machine) {
    std::string bytes(64, '\0');
    bytes[60] = 64;
    return bytes + std::string("PE\0\0", 4) + static_cast<char>(machine & 0xFF) +
           static_cast<char>(machine >> 8) + std::string(18, '\0');
}

TEST_F(AddinProbeTest, addinOfTheOtherWidth_probed_isNamedWithTheProgramToUse) {
    constexpr bool kWeAre64 = sizeof(void*) == 8;
    constexpr WORD kOwn = kWeAre64 ? IMAGE_FILE_MACHINE_AMD64 : IMAGE_FILE_MACHINE_I386;
    constexpr WORD kOther = kWeAre64 ? IMAGE_FILE_MACHINE_I386 : IMAGE_FILE_MACHINE_AMD64;
    const REGSAM otherView = kWeAre64 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
    const std::string line =
        kWeAre64 ? "Pellory add-in is there for 32-bit Outlook: please use zuplutil32.exe\n"
                 : "Pellory add-in is there for 64-bit Outlook: please use zuplutil.exe\n";
    const std::string noClass = "could not get classid for Pellory.Connect\n";
    const std::string noObject = "could not instantiate Pellory.Connect\n";
    const fs::path library = bench() / "addin.dll";
    // A system of 32 bits has one view.
    BOOL isBeside = FALSE;
    IsWow64Process(GetCurrentProcess(), &isBeside);
    const bool twoViews = kWeAre64 || isBeside != FALSE;
    // In which registry, what the library is, what is said.
    const std::tuple<REGSAM, std::string, std::string> kCases[] = {
        {otherView, libraryFor(kOwn), twoViews ? noClass + line : noObject},
        {0, libraryFor(kOther), noObject + line},
        {0, libraryFor(kOwn), noObject},
        {0, libraryFor(kOther).substr(0, 70), noObject},
        {0, "PE", noObject}};
    for (const auto& [view, bytes, wanted] : kCases) {
        write(library, bytes);
        const RegisteredAddin addin(library, view);
        std::string said;
        connectToAddin([&](const std::string& text) { said += text + "\n"; });
        EXPECT_EQ(said, "attempting to connect to Pellory add-in\n" + wanted)
            << view << bytes.size();
    }
}

}  // namespace
}  // namespace zuplutil::test
