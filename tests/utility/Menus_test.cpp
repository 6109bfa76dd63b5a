// The menus: what they show, what they accept, and the guided collection.

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

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

const std::string kDiagnosticsMenu =
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

using MenusTest = UtilityTest;

TEST_F(MenusTest, input_notAnEntry_isRefusedOrAskedForAgain) {
    Lines lines = {"3", "5", "6", "8", "9", "1", "5", "6", "7", "8", "9", "0"};
    std::string expected = kBanner + kUsualMenu;
    for (std::size_t i = 0; i < 11; ++i) {
        expected += i == 5 ? "" : kSorry;
        expected += i < 5 ? kUsualMenu : kDiagnosticsMenu;
    }
    expected += kUsualMenu;
    // A line beyond the buffer is read in two pieces, or its rest is dropped.
    for (const char* line : {"12", " 1", "1 ", "", "a", "-1", "+", "\xD9\xA1", "0x"}) {
        lines.push_back(line);
        expected += kMenuPrompt;
    }
    lines.push_back(std::string(300, '1'));
    EXPECT_EQ(runMenu(lines).substr(0, expected.size()), expected);
    EXPECT_EQ(changes(), Lines());
    EXPECT_EQ(commands(), Lines());
}

TEST_F(MenusTest, marks_filesChanged_follow) {
    write(folders_.addinData() / "settings_home.config", "");
    const std::string off = mainMenu("", kNone, "");
    const std::string on = mainMenu(kNone, "", "");
    EXPECT_EQ(runMenu({"2", "2", "3", "3"}),
              kBanner + off + kEnabled + on + kSorry + on + kDisabled + off + kSorry + off);
}

TEST_F(MenusTest, diagnosticsMenu_chosen_collectsAsItSaysAndRecordsTheAnswer) {
    recordOnly();
    UtilityProcess& utility = start();
    utility.answer(kMenuPrompt, "1");
    for (const auto& [entry, light, ocat] :
         {std::tuple{"2", true, false}, {"3", false, false}, {"4", false, true}}) {
        SCOPED_TRACE(entry);
        EXPECT_TRUE(utility.waitFor(kMenuPrompt));
        // Nothing more comes until the answer does.
        const std::size_t begin = utility.output().size();
        utility.answer("", entry);
        EXPECT_TRUE(utility.waitFor("Pellory Maintenance Utility - Diagnostics Menu"));
        const std::string output = utility.output().substr(begin);
        EXPECT_EQ(output.find("Using standard logging level.\n") != std::string::npos, light);
        EXPECT_EQ(output.find("Including OCAT logs") != std::string::npos, ocat);
        EXPECT_NE(read(folders_.logs() / "plutil.log")
                      .find(std::string("<Enter>...\r\n\r\n>") + entry + "\r\n"),
                  std::string::npos);
    }
    utility.answer(kMenuPrompt, "0");
    utility.answer(kMenuPrompt, "0");
    EXPECT_EQ(utility.exitCode(), 0);
    EXPECT_EQ(utility.output().find("\n>"), std::string::npos) << "the answers are not shown";
}

TEST_F(MenusTest, program_running_countsAsOutlookByTheBeginningOfItsName) {
    const std::pair<const wchar_t*, bool> programs[] = {{L"OUTLOOK.EXE", true},
                                                        {L"outlook.exe.tmp", true},
                                                        {L"xoutlook.exe", false},
                                                        {L"outlook.com", false}};
    for (const auto& [name, counts] : programs) {
        SCOPED_TRACE(utf8(name));
        const RunningProgram program(folders_, name);
        const std::string output = runMenu({"4"});
        EXPECT_TRUE(
            output.starts_with(kBanner + std::string(counts ? kStillRunning : "") + kUsualMenu));
        EXPECT_NE(output.find(std::string("  outlook is running=") + (counts ? "yes" : "no")),
                  std::string::npos);
    }
}

TEST_F(MenusTest, input_ended_repeatsThePrompt) {
    UtilityProcess& utility = start();
    utility.closeInput();
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(utility.waitFor(kMenuPrompt));
    }
    EXPECT_TRUE(utility.isRunning());
    utility.kill();
}

TEST_F(MenusTest, guidedCollection_outlookStartingAndEnding_followsIt) {
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
