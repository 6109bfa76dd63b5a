// The collection's connection to the add-in, with a real COM server.

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

// Registered for as long as this object lives, in the registry that programs of
// our width see or in that of the others. Touches nothing that was there before.
class RegisteredAddin {
public:
    explicit RegisteredAddin(const fs::path& library, REGSAM view = 0) : view_(view) {
        const std::wstring path = library.wstring();
        set(kProgram, L"\\CLSID", kClass);
        set(kServer, L"\\InprocServer32", path);
    }
    RegisteredAddin(const RegisteredAddin&) = delete;
    RegisteredAddin& operator=(const RegisteredAddin&) = delete;
    ~RegisteredAddin() {
        for (const std::wstring& key : made_) {
            RegDeleteTreeW(classes(), key.c_str());
        }
    }

private:
    static constexpr const wchar_t* kClass = L"{5E0B2F6A-31C7-4E0B-9C55-6D5C6C1E7A10}";
    static constexpr const wchar_t* kProgram = L"PelloryForOutlook.Connect";
    static inline const std::wstring kServer = std::wstring(L"CLSID\\") + kClass;

    HKEY classes() const {
        static std::map<REGSAM, HKEY> opened;
        if (opened[view_] == nullptr) {
            RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Classes", 0, KEY_ALL_ACCESS | view_,
                          &opened[view_]);
        }
        return opened[view_];
    }
    void set(const std::wstring& key, const std::wstring& below, const std::wstring& value) {
        DWORD disposition = 0;
        HKEY made = nullptr;
        RegCreateKeyExW(classes(), key.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS | view_, nullptr,
                        &made, &disposition);
        ASSERT_EQ(disposition, static_cast<DWORD>(REG_CREATED_NEW_KEY)) << "an add-in is there";
        made_.push_back(key);
        RegSetKeyValueW(made, below.c_str() + 1, nullptr, REG_SZ, value.c_str(),
                        static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(made);
    }

    REGSAM view_;
    std::vector<std::wstring> made_;
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

TEST_F(AddinProbeTest, addin_misbehaving_isOneLineAndTheCollectionGoesOn) {
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

TEST_F(AddinProbeTest, utility_killedWhileProbing_takesTheAddinAlongAndTheNextRunMends) {
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
            EXPECT_TRUE(saidAtStart().starts_with(
                std::string(kBanner) +
                "Could not put back the debug settings that an interrupted run changed ("));
        }
        EXPECT_EQ(saidAtStart(), kBanner + mended());
        EXPECT_EQ(read(config()), mine);
        EXPECT_EQ(fs::exists(config()), !mine.empty());
    }
}

TEST_F(AddinProbeTest, settings_notPutBack_areLeftToTheNextRun) {
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
    EXPECT_EQ(saidAtStart(), kBanner + mended());
    EXPECT_EQ(read(config()), mine);
}

BOOL WINAPI ignoreConsoleEvent(DWORD) { return TRUE; }

TEST_F(AddinProbeTest, ctrlC_whileProbing_putsTheSettingsBackWithoutAnotherStep) {
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

TEST_F(AddinProbeTest, settings_missing_areMissingAfterwardsAndLogsStay) {
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
        kWeAre64 ? "Pellory add-in is there for 32-bit Outlook: please use zuplutil32.exe\r\n"
                 : "Pellory add-in is there for 64-bit Outlook: please use zuplutil.exe\r\n";
    const std::string noClass = "could not get classid for Pellory.Connect\r\n";
    const std::string noObject = "could not instantiate Pellory.Connect\r\n";
    const fs::path library = folders_.bench() / "addin.dll";
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
    for (const auto& [view, bytes, said] : kCases) {
        write(library, bytes);
        const RegisteredAddin addin(library, view);
        EXPECT_EQ(probe(), kAttempt + said) << view << bytes.size();
    }
}

}  // namespace
}  // namespace zuplutil::test
