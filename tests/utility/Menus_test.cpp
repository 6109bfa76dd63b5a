// The menus: what they show, what they accept, and the guided collection.

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

namespace fs = std::filesystem;

constexpr char kSorry[] = "\n\nSorry, this menu option is not available.\n\n";

constexpr char kStillRunning[] =
    "\n\n=============================================================\n"
    "Attention: It looks like Microsoft Outlook is still running.\n"
    "           Please shut down Outlook first before continuing...\n"
    "=============================================================\n\n";

constexpr char kNotRunning[] =
    "\n\n=============================================================\n"
    "Attention: It looks like Microsoft Outlook is not running.\n"
    "           Please start Outlook first before continuing...\n"
    "=============================================================\n\n";

std::string mainMenu(const std::string& enable, const std::string& disable,
                     const std::string& remove) {
    return "----------------------------------------------\n"
           "Pellory Maintenance Utility - Main Menu\n"
           "----------------------------------------------\n"
           "0. Exit Pellory Utility\n"
           "1. Collect diagnostics for support\n"
           "2. Enable Pellory debug logging " +
           enable + "\n3. Disable Pellory debug logging " + disable +
           "\n4. Show current Pellory debug logging settings\n"
           "5. Remove Pellory settings " +
           remove +
           "\n7. Remove Pellory diagnostics logs\n"
           "----------------------------------------------\n" +
           kMenuPrompt;
}

const std::string kNone = "(not available)";
const std::string kUsualMenu = mainMenu("", kNone, kNone);

constexpr char kDiagnosticsMenu[] =
    "----------------------------------------------\n"
    "Pellory Maintenance Utility - Diagnostics Menu\n"
    "----------------------------------------------\n"
    "0. Go back to main menu\n"
    "1. Collect diagnostics (guided)\n"
    "2. Collect diagnostics (manual standard)\n"
    "3. Collect diagnostics (manual extended)\n"
    "4. Collect diagnostics (manual ocat)\n"
    "----------------------------------------------\n"
    "\nPress 0..9 followed by <Enter>...\n";

class MenusTest : public UtilityTest {
protected:
    fs::path config() const { return folders_.addinData() / "debug.config"; }
};

TEST_F(MenusTest, TheMainMenuIsLeftByZero) {
    EXPECT_EQ(runMenu({}), kBanner + kUsualMenu);
    EXPECT_EQ(changes(), Lines());
    EXPECT_EQ(commands(), Lines());
}

TEST_F(MenusTest, EntriesThatDoNotExistOrApplyAreRefused) {
    EXPECT_EQ(runMenu({"3", "5", "6", "8", "9"}), kBanner + kUsualMenu + kSorry + kUsualMenu +
                                                      kSorry + kUsualMenu + kSorry + kUsualMenu +
                                                      kSorry + kUsualMenu + kSorry + kUsualMenu);
    EXPECT_EQ(changes(), Lines());
}

TEST_F(MenusTest, LinesOfNotExactlyOneDigitRepeatThePrompt) {
    std::string expected = kBanner + kUsualMenu;
    std::vector<std::string> lines = {
        "12", " 1", "1 ", "", "a", "-1", "+", "\xD9\xA1", std::string(300, '1'), "0x"};
    for (std::size_t i = 0; i < lines.size(); ++i) {
        expected += kMenuPrompt;
    }
    // A line beyond the buffer is read in two pieces, or its rest is dropped.
    const std::string output = runMenu(lines);
    EXPECT_EQ(output.substr(0, expected.size()), expected);
    EXPECT_EQ(changes(), Lines());
}

TEST_F(MenusTest, TheMarksFollowTheFiles) {
    write(folders_.addinData() / "settings_home.config", "");
    const std::string off = mainMenu("", kNone, "");
    const std::string on = mainMenu(kNone, "", "");
    EXPECT_EQ(runMenu({"2", "2", "3", "3"}),
              kBanner + off + kEnabled + on + kSorry + on + kDisabled + off + kSorry + off);
    EXPECT_EQ(read(config()), debugConfig("n", "$(auto)", "10", "1"));
}

TEST_F(MenusTest, TheDiagnosticsMenuRefusesWhatItDoesNotHave) {
    std::string expected = kBanner + kUsualMenu;
    for (int i = 5; i <= 9; ++i) {
        expected += std::string(kDiagnosticsMenu) + kSorry;
    }
    EXPECT_EQ(runMenu({"1", "5", "6", "7", "8", "9", "0"}),
              expected + kDiagnosticsMenu + kUsualMenu);
}

TEST_F(MenusTest, TheDiagnosticsMenuCollectsAsItSays) {
    recordOnly();
    const std::pair<const char*, std::pair<bool, bool>> entries[] = {
        {"2", {true, false}}, {"3", {false, false}}, {"4", {false, true}}};
    for (const auto& [entry, kind] : entries) {
        SCOPED_TRACE(entry);
        const std::string output = runMenu({"1", entry, "0"});
        EXPECT_EQ(output.find("Using standard logging level.\n") != std::string::npos, kind.first);
        EXPECT_EQ(output.find("Including OCAT logs") != std::string::npos, kind.second);
        // The answers are recorded but not shown.
        const std::string log = read(folders_.logs() / "plutil.log");
        EXPECT_NE(log.find("<Enter>...\r\n\r\n>1\r\n-----"), std::string::npos);
        EXPECT_NE(log.find(std::string("<Enter>...\r\n\r\n>") + entry + "\r\n"), std::string::npos);
        EXPECT_EQ(output.find("\n>"), std::string::npos);
    }
}

TEST_F(MenusTest, AProgramCountsAsOutlookByTheBeginningOfItsName) {
    const std::pair<const wchar_t*, bool> programs[] = {{L"outlook.exe", true},
                                                        {L"OUTLOOK.EXE", true},
                                                        {L"outlook.exe.tmp", true},
                                                        {L"xoutlook.exe", false},
                                                        {L"outlook.com", false}};
    for (const auto& [name, counts] : programs) {
        SCOPED_TRACE(utf8(name));
        const RunningProgram program(folders_, name);
        EXPECT_EQ(runMenu({}), kBanner + std::string(counts ? kStillRunning : "") + kUsualMenu);
        const std::string details = runMenu({"4"});
        EXPECT_NE(details.find(std::string("  outlook is running=") + (counts ? "yes" : "no")),
                  std::string::npos);
    }
}

TEST_F(MenusTest, TheEndOfInputRepeatsThePrompt) {
    UtilityProcess& utility = start();
    utility.closeInput();
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(utility.waitFor(kMenuPrompt));
    }
    EXPECT_TRUE(utility.isRunning());
    utility.kill();
}

TEST_F(MenusTest, TheGuidedCollectionFollowsOutlook) {
    recordOnly();
    const std::string mine = debugConfig("n", "$(auto)", "2", "4");
    write(config(), mine);
    write(folders_.addinData() / "debug.log", "before");
    auto outlook = std::make_unique<RunningProgram>(folders_, L"outlook.exe");
    UtilityProcess& utility = start();
    utility.answer(kMenuPrompt, "1");
    utility.answer(kMenuPrompt, "1");
    utility.answer(std::string(kStillRunning) + kKeyPrompt, "");
    EXPECT_TRUE(utility.waitFor(kStillRunning));
    outlook.reset();
    utility.answer(kKeyPrompt, "");

    utility.answer(std::string(kEnabled) + kNotRunning + kKeyPrompt, "");
    EXPECT_EQ(read(config()), debugConfig("y", "$(auto)", "10", "1"));
    EXPECT_FALSE(fs::exists(folders_.addinData() / "debug.log"));
    EXPECT_TRUE(utility.waitFor(kNotRunning));
    outlook = std::make_unique<RunningProgram>(folders_, L"outlook.exe");
    utility.answer(kKeyPrompt, "");

    const std::string rule(128, '-');
    EXPECT_TRUE(utility.waitFor(
        rule +
        "\nNow please go to Outlook again and click (not double-click) once on an email in your "
        "inbox (opening it is not necessary).\n"
        "Wait until Pellory makes a suggestion for this email in the Pellory task pane or "
        "toolbar.\n"
        "If you did not train any folders in Outlook yet, you can do so now with the Pellory "
        "Folder Wizard and repeat the above steps.\n"
        "In addition to the above, in case you reported a specific issue with Pellory, it's a good "
        "idea to try to reproduce this issue now.\n"
        "When done, shut down Outlook again and press any key here to continue...\n"
        "\nPlease note:\n"
        "Outlook might appear run a little slower than usual while collection of diagnostics is "
        "active.  This is normal.\n" +
        rule + "\n"));
    write(folders_.addinData() / "debug.log", "meanwhile");
    utility.answer(kKeyPrompt, "");
    EXPECT_TRUE(utility.waitFor(kStillRunning));
    outlook.reset();
    utility.answer(kKeyPrompt, "");

    EXPECT_TRUE(utility.waitFor(std::string(kDisabled) + "\n\n" + std::string(98, '-')));
    EXPECT_TRUE(utility.waitFor("Using standard logging level.\nRunning on"));
    utility.answer(kMenuPrompt, "0");
    utility.answer(kMenuPrompt, "0");
    EXPECT_EQ(utility.exitCode(), 0);
    EXPECT_EQ(read(config()), mine);
    EXPECT_FALSE(fs::exists(folders_.addinData() / "debug.log"));
}

}  // namespace
}  // namespace zuplutil::test
