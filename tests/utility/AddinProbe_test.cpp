// The collection's connection to the add-in, with a real COM server.

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

// Registered for as long as this object lives.
class RegisteredAddin {
public:
    explicit RegisteredAddin(const fs::path& library) {
        const std::wstring path = library.wstring();
        set(L"PelloryForOutlook.Connect\\CLSID", nullptr, kClass);
        set(std::wstring(L"CLSID\\") + kClass + L"\\InprocServer32", nullptr, path);
        set(std::wstring(L"CLSID\\") + kClass + L"\\InprocServer32", L"ThreadingModel",
            L"Apartment");
    }
    RegisteredAddin(const RegisteredAddin&) = delete;
    RegisteredAddin& operator=(const RegisteredAddin&) = delete;
    ~RegisteredAddin() {
        RegDeleteTreeW(HKEY_CLASSES_ROOT, L"PelloryForOutlook.Connect");
        RegDeleteTreeW(HKEY_CLASSES_ROOT, (std::wstring(L"CLSID\\") + kClass).c_str());
    }

private:
    static constexpr const wchar_t* kClass = L"{5E0B2F6A-31C7-4E0B-9C55-6D5C6C1E7A10}";

    static void set(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
        ASSERT_EQ(RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, value.c_str(),
                                  static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))),
                  ERROR_SUCCESS);
    }
};

constexpr char kAttempt[] = "attempting to connect to Pellory add-in\r\n";

constexpr char kSeen[] =
    "attempting to connect to Pellory add-in\r\n"
    "created Pellory.Connect\r\n"
    "add-in: logEnabled=1 logFile=misc-pelloryconnect.log logLevel=10 logOptions=1 mode=3\r\n"
    "call to OnConnection method completed with hr=0\r\n";

class AddinProbeTest : public UtilityTest {
protected:
    // With the log folder kept, since no command runs.
    std::string probe() {
        recordOnly();
        run(kStandard);
        return read(folders_.logs() / "misc-pelloryconnect.log");
    }

    const fs::path library_ = builtProgram("tests/support/test_addin.dll");
};

TEST_F(AddinProbeTest, WhateverTheAddinDoesIsOneLineAndTheCollectionGoesOn) {
    const RegisteredAddin addin(library_);
    const std::string mine = debugConfig("y", "$(auto)", "7", "3");
    write(config(), mine);
    const std::string seen = std::string(kSeen).substr(0, std::string(kSeen).find("call to"));
    const std::tuple<const wchar_t*, std::string, std::string> kWays[] = {
        {L"fails", seen, "call to OnConnection method completed with hr=80004005"},
        {L"wanders", seen, "call to OnConnection method completed with hr=0"},
        {L"throws", seen, "Pellory add-in threw an exception"},
        {L"create throws", kAttempt, "Pellory add-in threw an exception"},
        {L"crashes", seen, "Pellory add-in crashed with exception c0000005"},
        {L"create crashes", kAttempt, "Pellory add-in crashed with exception c0000005"},
        {L"overflows", seen, "Pellory add-in crashed with exception c00000fd"},
        {L"exits", seen, "Pellory add-in ended its process with exit code 0"},
        {L"ends", seen, "Pellory add-in ended its process with exit code ffffffff"},
        {L"aborts", seen, "Pellory add-in ended its process with exit code 3"}};
    for (const auto& [way, before, line] : kWays) {
        SCOPED_TRACE(utf8(way));
        environment_[L"PELLORY_ADDIN"] = way;
        fs::remove_all(folders_.diagnostics());
        recordOnly();
        const std::string output = run(kStandard);
        EXPECT_EQ(read(folders_.logs() / "misc-pelloryconnect.log"), before + line + "\r\n");
        EXPECT_NE(output.find("Testing connection to Pellory add-in\n"
                              "attempting to connect to Pellory add-in\n" +
                              std::string(before == seen ? "created Pellory.Connect\n" : "") +
                              line + "\nLogging outlook registry"),
                  std::string::npos)
            << output;
        EXPECT_EQ(output.find("a word"), std::string::npos);
        EXPECT_TRUE(fs::exists(folders_.diagnostics() / "README.txt"));
        EXPECT_EQ(joined(changes()).find(kData), std::string::npos) << joined(changes());
    }
    environment_[L"PELLORY_ADDIN"] = L"hangs";
    allow("start/");
    UtilityProcess& process = start({L"probe"}, builtProgram("tests/support/collect_driver.exe"));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_TRUE(process.output().ends_with(
        "Pellory add-in did not finish within 1 seconds and was ended\n"));
    EXPECT_TRUE(read(folders_.start() / "probe.log").ends_with("seconds and was ended\r\n"));
}

TEST_F(AddinProbeTest, AUtilityKilledWhileItProbesTakesTheAddinAlongAndTheNextRunMends) {
    const RegisteredAddin addin(library_);
    environment_[L"PELLORY_ADDIN"] = L"hangs";
    recordOnly();
    for (const std::string& mine : {debugConfig("n", "$(auto)", "7", "3"), std::string()}) {
        if (mine.empty()) {
            fs::remove(config());
        } else {
            write(config(), mine);
        }
        UtilityProcess& utility = start(kStandard);
        EXPECT_TRUE(utility.waitFor("created Pellory.Connect\n"));
        EXPECT_EQ(read(config()), debugConfig("y", "misc-pelloryconnect.log", "10", "1"));
        utility.killAlone();
        if (!mine.empty()) {
            const LockedFile lock(config());
            EXPECT_TRUE(
                run({L"foo"}, 1)
                    .starts_with(
                        std::string(kBanner) +
                        "Could not put back the debug settings that an interrupted run changed ("));
        }
        EXPECT_EQ(run({L"foo"}, 1), kBanner + mended());
        EXPECT_EQ(read(config()), mine);
        EXPECT_EQ(fs::exists(config()), !mine.empty());
    }
}

TEST_F(AddinProbeTest, SettingsThatCannotBePutBackAreLeftToTheNextRun) {
    const RegisteredAddin addin(library_);
    environment_[L"PELLORY_ADDIN"] = L"waits";
    recordOnly();
    const std::string mine = debugConfig("n", "$(auto)", "7", "3");
    write(config(), mine);
    UtilityProcess& utility = start(kStandard);
    EXPECT_TRUE(utility.waitFor("created Pellory.Connect\n"));
    {
        const LockedFile lock(config());
        write(folders_.logs() / "go on", "");
        EXPECT_TRUE(utility.waitFor("completed with hr=0\nCould not write debug.config file " +
                                    backslashed(config()) + "\nLogging outlook registry"));
        EXPECT_EQ(utility.exitCode(), 0);
    }
    EXPECT_EQ(run({L"foo"}, 1), kBanner + mended());
    EXPECT_EQ(read(config()), mine);
}

BOOL WINAPI ignoreConsoleEvent(DWORD) { return TRUE; }

TEST_F(AddinProbeTest, CtrlCEndsTheAddinAndPutsTheSettingsBackWithoutAnotherStep) {
    const RegisteredAddin addin(library_);
    environment_[L"PELLORY_ADDIN"] = L"hangs";
    write(config(), debugConfig("n", "$(auto)", "7", "3"));
    recordOnly();
    allow("start/step");
    // One that can tell of CTRL-C. It stays: programs that find none make their own.
    FreeConsole();
    ASSERT_TRUE(AllocConsole()) << GetLastError();
    SetConsoleCtrlHandler(&ignoreConsoleEvent, TRUE);
    const fs::path driver = builtProgram("tests/support/collect_driver.exe");
    // A run, what it says when CTRL-C comes, and what it says last.
    const std::tuple<std::vector<std::wstring>, fs::path, std::string, std::string> kRuns[] = {
        {kStandard, shippedProgram(), "created Pellory.Connect\n", "created Pellory.Connect\n"},
        {{L"steps", L"print"}, driver, "step\n", "step\ninterrupted\n"},
        {{L"steps", L"command"}, driver, "step\n", "step\ninterrupted\n"},
        {{L"steps", L"removal"}, driver, "step\n", "step\ninterrupted\n"}};
    for (const auto& [arguments, program, seen, last] : kRuns) {
        UtilityProcess& utility = start(arguments, program);
        EXPECT_TRUE(utility.waitFor(seen));
        GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
        EXPECT_EQ(utility.exitCode(), static_cast<int>(0xC000013A));
        EXPECT_TRUE(utility.output().ends_with(last)) << utility.output();
    }
    EXPECT_EQ(joined(changes()).find(kData), std::string::npos) << joined(changes());
}

TEST_F(AddinProbeTest, WithoutSettingsThereAreNoneAfterwardsAndLogsStay) {
    write(folders_.addinData() / "debug.log", "a line\r\n");
    {
        const RegisteredAddin addin(library_);
        EXPECT_EQ(probe(), kSeen);
    }
    const RegisteredAddin addin(folders_.bench() / "missing.dll");
    EXPECT_EQ(probe(),
              "attempting to connect to Pellory add-in\r\n"
              "could not instantiate Pellory.Connect\r\n");
    EXPECT_FALSE(fs::exists(config()));
    EXPECT_EQ(read(folders_.addinData() / "debug.log"), "a line\r\n");
}

}  // namespace
}  // namespace zuplutil::test
