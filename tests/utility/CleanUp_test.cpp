// Removal of settings and of diagnostics leftovers, and what it must not touch.

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

constexpr char kSurePrompt[] = "ARE YOU SURE?\nPress 'y' or 'n' key followed by <Enter>...\n";
constexpr char kMainMenu[] =
    "----------------------------------------------\nPellory Maintenance Utility - Main Menu\n";
const std::string kRule106(106, '-');
const std::string kHeading = "\n\n" + kRule106 + "\nCleaning up Pellory diagnostics logs...\n\n";
const std::string kCannotDelete = "Could not delete file ";

class CleanUpTest : public UtilityTest {
protected:
    explicit CleanUpTest(const std::wstring& name = L"user") : UtilityTest(name) {}

    UtilityProcess& startWithLeftovers() {
        for (const char* file :
             {"debug.config", "debug.log", "dump.log", "debug.log-1.bak", "debug.log-2.bak",
              "dump.log-1.bak", "settings_1.config", "settings_.config.bak", "settings.config"}) {
            write(folders_.addinData() / file, file);
        }
        write(folders_.diagnostics() / "README.txt", "text");
        write(folders_.zip(), "zip");
        return start();
    }

    // Chooses an entry of the main menu and answers its question; what comes
    // between the question and the next menu.
    std::string answerEntry(const std::string& entry, const Lines& answers) {
        utility_.answer(kMenuPrompt, entry);
        for (const std::string& answer : answers) {
            utility_.answer(kSurePrompt, answer);
        }
        EXPECT_TRUE(utility_.waitFor(kMainMenu));
        const std::string output = utility_.output();
        const std::size_t begin = output.rfind(kSurePrompt) + sizeof(kSurePrompt) - 1;
        return output.substr(begin, output.find(kMainMenu, begin) - begin);
    }
    void leave() {
        utility_.answer(kMenuPrompt, "0");
        EXPECT_EQ(utility_.exitCode(), 0);
    }

    UtilityProcess& utility_ = startWithLeftovers();
};

TEST_F(CleanUpTest, logs_afterAYes_areRemovedOnceAndNothingElse) {
    EXPECT_EQ(answerEntry("7", {"", "x", "0", "no"}), "");
    EXPECT_EQ(changes(), Lines());
    const fs::path log = folders_.addinData() / "dump.log-1.bak";
    {
        const LockedFile lock(log);
        EXPECT_EQ(answerEntry("7", {"y"}),
                  kHeading + "Removing log directory " + backslashed(folders_.diagnostics()) +
                      "\n"
                      "Removing Pellory debug settings...\n"
                      "Removing Pellory debug log...\n"
                      "Removing Pellory dump log file...\n"
                      "Removing 2 Pellory log file backups...\n"
                      "Removing 1 Pellory dump file backups...\n" +
                      kCannotDelete + backslashed(log) + " (Directory:deleteFile() failed)\n");
    }
    EXPECT_EQ(commands(), Lines{"rmdir /s /q " + backslashed(folders_.diagnostics())});
    EXPECT_EQ(answerEntry("7", {"y"}), kHeading +
                                           "Removing 1 Pellory dump file backups...\n"
                                           "Completed cleaning up diagnostics logs.\n\n" +
                                           kRule106 + "\n\n");
    EXPECT_EQ(joined(changes()), "gone " + kData + "debug.config\n" + "gone " + kData +
                                     "debug.log\n" + "gone " + kData + "debug.log-1.bak\n" +
                                     "gone " + kData + "debug.log-2.bak\n" + "gone " + kData +
                                     "dump.log\n" + "gone " + kData + "dump.log-1.bak\n" +
                                     "gone Desktop/PelloryDiagnostics/\n"
                                     "gone Desktop/PelloryDiagnostics/PelloryDiagnosticsLogs.zip\n"
                                     "gone Desktop/PelloryDiagnostics/README.txt\n");
    EXPECT_EQ(answerEntry("7", {"Y"}),
              kHeading + "There was nothing to clean up.\n\n" + kRule106 + "\n\n");
    leave();
}

TEST_F(CleanUpTest, settings_afterAYes_areRemoved) {
    EXPECT_EQ(answerEntry("5", {"n"}), "");
    EXPECT_EQ(changes(), Lines());
    {
        const LockedFile lock(folders_.addinData() / "settings_1.config");
        EXPECT_TRUE(answerEntry("5", {"y"}).starts_with(kCannotDelete));
    }
    EXPECT_EQ(answerEntry("5", {"y"}), "");
    EXPECT_EQ(joined(changes()),
              "gone " + kData + "settings_.config.bak\ngone " + kData + "settings_1.config\n");
    leave();
}

class CleanUpWithBlanksTest : public CleanUpTest {
protected:
    CleanUpWithBlanksTest() : CleanUpTest(L"two & words") {}
};

TEST_F(CleanUpWithBlanksTest, pathWithBlanks_cleanedUp_isLeftAndNoOtherFolderReached) {
    const std::string folder = backslashed(folders_.diagnostics());
    const std::string stays = "Could not remove this directory; please delete it yourself.\n";
    const std::string end =
        "Not everything could be removed: " + folder + " is still there.\n\n" + kRule106 + "\n\n";
    const fs::path other = folders_.root().parent_path() / "two";
    write(other / "keep.txt", "text");
    const std::string first = answerEntry("7", {"y"});
    EXPECT_TRUE(
        first.starts_with(kHeading + "Removing log directory " + folder + "\n" + stays + "Rem"));
    EXPECT_TRUE(first.ends_with("backups...\n" + end)) << first;
    EXPECT_EQ(commands(), Lines());
    EXPECT_TRUE(fs::exists(other / "keep.txt"));
    fs::remove_all(other);
    EXPECT_EQ(answerEntry("7", {"y"}),
              kHeading + "Removing log directory " + folder + "\n" + stays + end);
    std::string escaped = folder;
    escaped.insert(escaped.find('&'), "^");
    EXPECT_EQ(commands(), Lines{"rmdir /s /q " + escaped});
    EXPECT_TRUE(fs::exists(folders_.zip()));
    leave();
}

class CleanUpWithSignsTest : public CleanUpTest {
protected:
    CleanUpWithSignsTest() : CleanUpTest(L"R&D^2(%TEMP%)") {}
};

TEST_F(CleanUpWithSignsTest, pathWithSigns_cleanedUp_isRemovedAndNoPartOfIt) {
    write(folders_.bench() / "R/Desktop/PelloryDiagnostics/keep.txt", "text");
    write(folders_.bench() / "R&D2(%TEMP%)/Desktop/PelloryDiagnostics/keep.txt", "text");
    EXPECT_TRUE(answerEntry("7", {"y"})
                    .ends_with("Completed cleaning up diagnostics logs.\n\n" + kRule106 + "\n\n"));
    EXPECT_FALSE(fs::exists(folders_.diagnostics()));
    EXPECT_TRUE(fs::exists(folders_.bench() / "R/Desktop/PelloryDiagnostics/keep.txt"));
    EXPECT_TRUE(fs::exists(folders_.bench() / "R&D2(%TEMP%)/Desktop/PelloryDiagnostics/keep.txt"));
    EXPECT_EQ(commands(), Lines{"rmdir /s /q " + backslashed(folders_.bench()) +
                                "\\R^&D^^2(%\"T\"EMP%)\\Desktop\\PelloryDiagnostics"});
    leave();
}

// What a user does with the message box: press Enter, end the session, or press
// the button Yes.
enum class Deed { kEnter, kEnd, kYes };

// Does it once the box is there to be used, and gives the box's text.
std::string actInMessageBox(UtilityProcess& utility, Deed deed) {
    HWND box = nullptr;
    GUITHREADINFO thread{};
    thread.cbSize = sizeof(thread);
    for (int i = 0; i < 600 && thread.hwndFocus == nullptr && utility.isRunning(); ++i) {
        Sleep(50);
        if ((box = FindWindowW(L"#32770", L"Pellory For Outlook")) != nullptr) {
            GetGUIThreadInfo(GetWindowThreadProcessId(box, nullptr), &thread);
        }
    }
    if (thread.hwndFocus == nullptr) {
        ADD_FAILURE() << "No message box came up: is there a display for windows? (run the "
                         "tests with ./dev test, or below xvfb-run)";
        return {};
    }
    std::wstring text(1024, L'\0');
    const HWND label = GetDlgItem(box, 0xFFFF);
    text.resize(static_cast<std::size_t>(
        SendMessageW(label, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
    if (deed == Deed::kEnter) {
        PostMessageW(thread.hwndFocus, WM_KEYDOWN, VK_RETURN, 0);
    } else if (deed == Deed::kEnd) {
        PostThreadMessageW(GetWindowThreadProcessId(box, nullptr), WM_QUIT, 0, 0);
    } else {
        PostMessageW(box, WM_COMMAND, IDYES, 0);
    }
    return utf8(text);
}

using AskRemoveSettingsTest = UtilityTest;

TEST_F(AskRemoveSettingsTest, messageBox_answered_removesAfterAYesAlone) {
    for (const Deed deed : {Deed::kEnter, Deed::kEnd, Deed::kYes}) {
        write(folders_.addinData() / "settings_1.config", "settings");
        UtilityProcess& utility = start({L"-askremovesettings", L"-logdiagnostics"});
        EXPECT_EQ(actInMessageBox(utility, deed),
                  "Would you like to remove your Pellory settings as well?\n\n"
                  "(answer 'No' in case you are planning to upgrade to a newer version\n"
                  " and you would like to keep your existing settings)");
        EXPECT_EQ(utility.exitCode(), 0);
        EXPECT_EQ(utility.output(),
                  std::string(kBanner) +
                      (deed == Deed::kEnd
                           ? "Could not ask whether to remove the settings; none were removed.\n"
                           : ""));
        EXPECT_EQ(joined(changes()),
                  deed == Deed::kYes ? "gone " + kData + "settings_1.config\n" : "");
    }
    EXPECT_EQ(commands(), Lines());
}

}  // namespace
}  // namespace zuplutil::test
