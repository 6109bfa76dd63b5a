// Removal of settings and of diagnostics leftovers, and what it must not touch.

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

namespace fs = std::filesystem;

constexpr char kSurePrompt[] = "ARE YOU SURE?\nPress 'y' or 'n' key followed by <Enter>...\n";
constexpr char kMainMenu[] =
    "----------------------------------------------\nPellory Maintenance Utility - Main Menu\n";
const std::string kRule106(106, '-');
const std::string kHeading = "\n\n" + kRule106 + "\nCleaning up Pellory diagnostics logs...\n\n";
const std::string kData = "AppData/Roaming/Pellory For Outlook/";

std::string backslashed(fs::path path) { return utf8(path.make_preferred()); }

class CleanUpTest : public UtilityTest {
protected:
    explicit CleanUpTest(const std::wstring& name = L"user") : UtilityTest(name) {}

    // Chooses an entry of the main menu, answers its question, leaves, and
    // gives what came between the question and the next menu.
    std::string answerEntry(const std::string& entry, const std::vector<std::string>& answers) {
        UtilityProcess& utility = start();
        utility.answer(kMenuPrompt, entry);
        for (const std::string& answer : answers) {
            utility.answer(kSurePrompt, answer);
        }
        utility.answer(kMenuPrompt, "0");
        EXPECT_EQ(utility.exitCode(), 0);
        const std::string output = utility.output();
        const std::size_t begin = output.rfind(kSurePrompt) + sizeof(kSurePrompt) - 1;
        return output.substr(begin, output.find(kMainMenu, begin) - begin);
    }

    void leaveLogs() {
        for (const char* name : {"debug.config", "debug.log", "dump.log", "debug.log-1.bak",
                                 "debug.log-2.bak", "dump.log-1.bak", "settings_1.config"}) {
            write(folders_.addinData() / name, name);
        }
        write(folders_.diagnostics() / "README.txt", "text");
        write(folders_.zip(), "zip");
    }
};

TEST_F(CleanUpTest, RemovesLogsOnceAndNothingElse) {
    leaveLogs();
    EXPECT_EQ(answerEntry("7", {"y"}), kHeading + "Removing log directory " +
                                           backslashed(folders_.diagnostics()) +
                                           "\n"
                                           "Removing Pellory debug settings...\n"
                                           "Removing Pellory debug log...\n"
                                           "Removing Pellory dump log file...\n"
                                           "Removing 2 Pellory log file backups...\n"
                                           "Removing 1 Pellory dump file backups...\n"
                                           "Completed cleaning up diagnostics logs.\n\n" +
                                           kRule106 + "\n\n");
    EXPECT_EQ(commands(), Lines{"rmdir /s /q " + backslashed(folders_.diagnostics())});
    EXPECT_EQ(joined(changes()), "gone " + kData + "debug.config\n" + "gone " + kData +
                                     "debug.log\n" + "gone " + kData + "debug.log-1.bak\n" +
                                     "gone " + kData + "debug.log-2.bak\n" + "gone " + kData +
                                     "dump.log\n" + "gone " + kData + "dump.log-1.bak\n" +
                                     "gone Desktop/PelloryDiagnostics/\n"
                                     "gone Desktop/PelloryDiagnostics/PelloryDiagnosticsLogs.zip\n"
                                     "gone Desktop/PelloryDiagnostics/README.txt\n");
    EXPECT_EQ(answerEntry("7", {"Y"}),
              kHeading + "There was nothing to clean up.\n\n" + kRule106 + "\n\n");
}

TEST_F(CleanUpTest, AsksUntilItGetsAnAnswerAndANoKeepsAll) {
    leaveLogs();
    EXPECT_EQ(answerEntry("7", {"", "x", "0", "no"}), "");
    EXPECT_EQ(changes(), Lines());
}

TEST_F(CleanUpTest, TellsTheFileThatCannotBeRemovedAndGoesOn) {
    leaveLogs();
    const fs::path log = folders_.addinData() / "debug.log";
    const LockedFile lock(log);
    EXPECT_TRUE(answerEntry("7", {"y"})
                    .ends_with("Removing Pellory debug log...\nCould not delete file " +
                               backslashed(log) + " (Directory:deleteFile() failed)\n"));
    EXPECT_TRUE(fs::exists(folders_.addinData() / "dump.log"));
}

TEST_F(CleanUpTest, RemovesSettingsAfterAYes) {
    for (const char* name : {"settings_1.config", "settings_.config.bak", "settings.config"}) {
        write(folders_.addinData() / name, name);
    }
    EXPECT_EQ(answerEntry("5", {"n"}), "");
    EXPECT_EQ(changes(), Lines());
    EXPECT_EQ(answerEntry("5", {"y"}), "");
    EXPECT_EQ(joined(changes()),
              "gone " + kData + "settings_.config.bak\ngone " + kData + "settings_1.config\n");
}

TEST_F(CleanUpTest, TellsTheSettingsFileThatCannotBeRemoved) {
    const fs::path file = folders_.addinData() / "settings_1.config";
    write(file, "open");
    const LockedFile lock(file);
    EXPECT_EQ(answerEntry("5", {"y"}),
              "Could not delete file " + backslashed(file) + " (Directory:deleteFile() failed)\n");
}

class CleanUpWithBlanksTest : public CleanUpTest {
protected:
    CleanUpWithBlanksTest() : CleanUpTest(L"two words") {}
};

TEST_F(CleanUpWithBlanksTest, RunsTheLineThatDoesNotReachTheFolder) {
    leaveLogs();
    answerEntry("7", {"y"});
    EXPECT_EQ(commands(), Lines{"rmdir /s /q " + backslashed(folders_.diagnostics())});
    EXPECT_TRUE(fs::exists(folders_.zip()));
}

TEST_F(CleanUpWithBlanksTest, DoesNotRunALineThatReachesAnotherFolder) {
    leaveLogs();
    const fs::path other = folders_.root().parent_path() / "two";
    write(other / "keep.txt", "text");
    EXPECT_TRUE(answerEntry("7", {"y"})
                    .starts_with(
                        kHeading + "Removing log directory " + backslashed(folders_.diagnostics()) +
                        "\nCould not remove this directory; please delete it yourself.\n"));
    EXPECT_EQ(commands(), Lines());
    EXPECT_TRUE(fs::exists(other / "keep.txt"));
    EXPECT_TRUE(fs::exists(folders_.zip()));
}

class AskRemoveSettingsTest : public UtilityTest {
protected:
    // Presses a button of the utility's message box and gives the box's text.
    static std::string pressInMessageBox(UtilityProcess& utility, int button) {
        HWND box = nullptr;
        for (int i = 0; i < 600 && box == nullptr && utility.isRunning(); ++i) {
            Sleep(50);
            box = FindWindowW(L"#32770", L"Pellory For Outlook");
        }
        if (box == nullptr) {
            ADD_FAILURE() << "No message box came up: is there a display for windows? (run the "
                             "tests with ./dev test, or below xvfb-run)";
            return {};
        }
        std::wstring text(1024, L'\0');
        const HWND label = GetDlgItem(box, 0xFFFF);
        text.resize(static_cast<std::size_t>(
            SendMessageW(label, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
        PostMessageW(box, WM_COMMAND, static_cast<WPARAM>(button), 0);
        return utf8(text);
    }

    void askAndAnswer(int button, const std::string& expectedChanges) {
        write(folders_.addinData() / "settings_1.config", "settings");
        UtilityProcess& utility = start({L"-askremovesettings", L"-logdiagnostics"});
        EXPECT_EQ(pressInMessageBox(utility, button),
                  "Would you like to remove your Pellory settings as well?\n\n"
                  "(answer 'No' in case you are planning to upgrade to a newer version\n"
                  " and you would like to keep your existing settings)");
        EXPECT_EQ(utility.exitCode(), 0);
        EXPECT_EQ(utility.output(), kBanner);
        EXPECT_EQ(joined(changes()), expectedChanges);
        EXPECT_EQ(commands(), Lines());
    }
};

TEST_F(AskRemoveSettingsTest, RemovesThemAfterAYes) {
    askAndAnswer(IDYES, "gone " + kData + "settings_1.config\n");
}

TEST_F(AskRemoveSettingsTest, KeepsThemAfterANo) { askAndAnswer(IDNO, ""); }

}  // namespace
}  // namespace zuplutil::test
