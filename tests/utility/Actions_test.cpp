// Menus, switches, the add-in's logging and the clean-up: what they say, line by line, and what
// they change.

#include <array>
#include <optional>

#include "Console.h"
#include "DebugLogging.h"
#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

const std::string kSorry = "\n\nSorry, this menu option is not available.\n\n";

std::string warning(const std::string& state, const std::string& request) {
    const std::string rule(61, '=');
    return "\n\n" + rule + "\nAttention: It looks like Microsoft Outlook is " + state +
           " running.\n           Please " + request + " Outlook first before continuing...\n" +
           rule + "\n\n";
}
const std::string kStillRunning = warning("still", "shut down");
const std::string kNotRunning = warning("not", "start");

const std::string kRule46 = "----------------------------------------------\n";
const std::string kNone = "(not available)";
std::string mainMenu(const std::string& enable, const std::string& disable,
                     const std::string& remove) {
    return kRule46 + "Pellory Maintenance Utility - Main Menu\n" + kRule46 +
           "0. Exit Pellory Utility\n1. Collect diagnostics for support\n"
           "2. Enable Pellory debug logging " +
           enable + "\n3. Disable Pellory debug logging " + disable +
           "\n4. Show current Pellory debug logging settings\n5. Remove Pellory settings " +
           remove + "\n7. Remove Pellory diagnostics logs\n" + kRule46 + kMenuPrompt;
}
const std::string kUsualMenu = mainMenu("", kNone, kNone);
const std::string kDiagnosticsMenu =
    kRule46 + "Pellory Maintenance Utility - Diagnostics Menu\n" + kRule46 +
    "0. Go back to main menu\n1. Collect diagnostics (guided)\n"
    "2. Collect diagnostics (manual standard)\n3. Collect diagnostics (manual extended)\n"
    "4. Collect diagnostics (manual ocat)\n" +
    kRule46 + kMenuPrompt;

std::string surePrompt(const std::string& message) {
    return "\n" + message + "\n\nARE YOU SURE?\nPress 'y' or 'n' key followed by <Enter>...\n";
}

// Until the clock shows another time than that of the last backup.
void letTimePass() {
    SYSTEMTIME before;
    SYSTEMTIME now;
    GetLocalTime(&before);
    do {
        GetLocalTime(&now);
    } while (now.wMilliseconds == before.wMilliseconds);
}

using MenusTest = UtilityTest;

TEST_F(MenusTest, input_notAnEntry_isRefusedOrAskedForAgainAndAnswersAreRecorded) {
    Lines lines = {"3", "5", "6", "8", "9", "1", "5", "6", "7", "8", "9", "0"};
    std::string expected = kBanner + kUsualMenu;
    std::string recorded = expected;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string more =
            (i == 5 || i == 11 ? "" : kSorry) + (i < 5 || i == 11 ? kUsualMenu : kDiagnosticsMenu);
        expected += more;
        recorded += "\n>" + lines[i] + "\n" + more;
    }
    for (const char* line : {"12", " 1", "1 ", "", "a", "-1", "+", "/", ":", "\xD9\xA1", "0x"}) {
        lines.push_back(line);
        expected += kMenuPrompt;
        recorded += kMenuPrompt;
    }
    // The rest of a line that is too long is dropped, and the end of the input is none of the
    // run's.
    for (const std::string& line :
         {std::string(255, ' ') + "1", std::string(kEndOfInput), std::string(kEndOfInput)}) {
        lines.push_back(line);
        expected += kMenuPrompt;
        recorded += kMenuPrompt;
    }
    EXPECT_EQ(run({}, lines), expected);
    EXPECT_EQ(getTranscript(), recorded + "\n>0\n");
    EXPECT_EQ(changed(), "");
    EXPECT_EQ(play.codePage, 437u);
}

TEST_F(MenusTest, marks_filesChanged_follow) {
    write(data() / "settings_home.config", "");
    const std::string off = mainMenu("", kNone, "");
    const std::string on = mainMenu(kNone, "", "");
    EXPECT_EQ(run({}, {"2", "2", "3", "3"}), kBanner + off + reportOf(true) + on + kSorry + on +
                                                 reportOf(false) + off + kSorry + off);
}

TEST_F(MenusTest, diagnosticsMenu_chosen_collectsAsItSays) {
    for (const auto& [entry, light, ocat] :
         {std::tuple{"2", true, false}, {"3", false, false}, {"4", false, true}}) {
        const std::string story = run({}, {"1", entry, "0"});
        EXPECT_EQ(story.find("Using standard logging level.\n") != story.npos, light) << entry;
        EXPECT_EQ(story.find("Including OCAT logs") != story.npos, ocat) << entry;
    }
}

TEST_F(MenusTest, program_running_countsAsOutlookByTheBeginningOfItsName) {
    const std::pair<Words, bool> programs[] = {{{L"OUTLOOK.EXE"}, true},
                                               {{L"a.exe", L"outlook.exe.tmp"}, true},
                                               {{L"xoutlook.exe"}, false},
                                               {{L"outlook.com", L"outlook.ex"}, false}};
    for (const auto& [names, counts] : programs) {
        play.processes = names;
        const std::string story = run({}, {"4"});
        EXPECT_TRUE(story.starts_with(kBanner + (counts ? kStillRunning : "") + kUsualMenu));
        EXPECT_NE(story.find(std::string("\n  outlook is running=") + (counts ? "yes\n" : "no\n")),
                  story.npos);
    }
}

TEST_F(MenusTest, guidedCollection_outlookStartingAndEnding_followsIt) {
    const std::string mine = debugConfig("n", "$(auto)", "2", "4");
    write(config(), mine);
    write(data() / "debug.log", "before");
    play.processes = {L"outlook.exe"};
    int asked = 0;
    play.typed = [&]() -> std::string {
        ++asked;
        if (asked <= 2) {
            return "1\n";
        }
        if (asked == 4 || asked == 8) {
            play.processes.clear();
        } else if (asked == 6) {
            EXPECT_EQ(read(config()), debugConfig("y", "$(auto)", "10", "1"));
            EXPECT_FALSE(fs::exists(data() / "debug.log"));
            play.processes = {L"outlook.exe"};
        } else if (asked == 7) {
            write(data() / "debug.log", "meanwhile");
            letTimePass();
        }
        return asked <= 8 ? "\n" : "0\n";
    };
    perform(utility({}));
    const std::string rule = std::string(128, '-') + "\n";
    const std::string running = kStillRunning + kKeyPrompt;
    const std::string notRunning = kNotRunning + kKeyPrompt;
    EXPECT_EQ(
        play.story.substr(0, play.story.find("\nStarting collection")),
        kBanner + kStillRunning + kUsualMenu + kStillRunning + kDiagnosticsMenu + running +
            running + reportOf(true) + notRunning + notRunning + rule +
            "Now please go to Outlook again and click (not double-click) once on an email in your "
            "inbox (opening it is not necessary).\n"
            "Wait until Pellory makes a suggestion for this email in the Pellory task pane or "
            "toolbar.\n"
            "If you did not train any folders in Outlook yet, you can do so now with the Pellory "
            "Folder Wizard and repeat the above steps.\n"
            "In addition to the above, in case you reported a specific issue with Pellory, it's a "
            "good idea to try to reproduce this issue now.\n"
            "When done, shut down Outlook again and press any key here to continue...\n"
            "\nPlease note:\n"
            "Outlook might appear run a little slower than usual while collection of diagnostics "
            "is active.  This is normal.\n" +
            rule + kKeyPrompt + running + reportOf(false) + "\n\n" + std::string(98, '-'));
    EXPECT_NE(play.story.find("Using standard logging level.\nRunning on"), play.story.npos);
    EXPECT_EQ(asked, 10);
    EXPECT_EQ(read(config()), mine);
    EXPECT_FALSE(fs::exists(data() / "debug.log"));
}

using SwitchesTest = UtilityTest;

TEST_F(SwitchesTest, arguments_given_theFirstActionOfTheListIsDone) {
    const std::tuple<Words, std::string, int> kLines[] = {
        {{L""}, "! invalid arguments\n", 1},
        {{L"-pause", L"-noocat", L"-light", L"foo"}, "! invalid arguments\n", 1},
        {{L"addin-probe", L"1"}, "! invalid arguments\n", 1},
        {{L"enableDebugging"}, "! invalid arguments\n", 1},
        {{L"-enableDebuggin"}, "! invalid arguments\n", 1},
        // There are no settings files: nothing is asked and nothing is done.
        {{L"-logdiagnostics", L"-enableDebugging", L"-askremovesettings"}, "", 0},
        {{L"-disableDebugging", L"foo", L"-unknown", L"-ENABLEdebugging"}, reportOf(true), 0},
        {{L"-disableDebugging"}, reportOf(false), 0},
        {{L"-Pause", L"-enableDebugging"}, reportOf(true) + kKeyPrompt, 0}};
    for (const auto& [arguments, said, exitCode] : kLines) {
        EXPECT_EQ(run(arguments, said.ends_with(kKeyPrompt) ? Lines{"x"} : Lines(), exitCode),
                  kBanner + said);
    }
    EXPECT_TRUE(run({L"-disableDebugging", L"-LogDiagnostics"}).starts_with(kBanner + "\n\n---"));
    EXPECT_EQ(read(config()), debugConfig("y", "$(auto)", "10", "1"));
}

using DebugLoggingTest = UtilityTest;

TEST_F(DebugLoggingTest, report_anyFile_tellsWhatItHoldsOrWhyItDoesNot) {
    const std::string missing = "  Could not find debug.config file " + backslashed(config()) +
                                "\n  Debugging is disabled\n";
    const std::string bag = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<bag>\n<hmap>\n";
    const std::string enabled = "<p><k>logEnabled</k><t>bool</t>";
    // What the file holds, or "/" for a folder of its name, the report's first
    // lines and the four settings. A broken file goes by its path's first letter.
    const std::tuple<std::string, std::string, std::array<const char*, 4>> kFiles[] = {
        {"", missing, {"no", "$(auto)", "10", "1"}},
        {debugConfig("n", "D:\\logs\\\xD0\xAF.log", "-5", "255"),
         "",
         {"no", "D:\\logs\\\xD0\xAF.log", "-5", "255"}},
        {bag + enabled + "<v>y</v></p>\n</hmap>\n</bag>\n", "", {"yes", "", "-1", "-1"}},
        {bag + "</hmap>\n</bag>\n", "", {"no", "", "-1", "-1"}},
        {bag + enabled, "  Could not load debug.config file C\n", {"no", "$(auto)", "10", "1"}},
        {"/", missing, {"no", "$(auto)", "10", "1"}}};
    for (const auto& [content, state, settings] : kFiles) {
        if (content == "/") {
            fs::remove(config());
            fs::create_directory(config());
        } else if (!content.empty()) {
            write(config(), content);
        }
        const bool isOn = *settings[0] == 'y';
        const std::string menu = isOn ? mainMenu(kNone, "", kNone) : kUsualMenu;
        EXPECT_EQ(run({}, {"4"}),
                  kBanner + menu +
                      reportOf(isOn, state,
                               std::string("\nDetailed debug settings:\n-----------------------\n"
                                           "  logEnabled=") +
                                   settings[0] + "\n  logFile=" + settings[1] +
                                   "\n  logLevel=" + settings[2] + "\n  logOptions=" + settings[3] +
                                   "\n\n  outlook is running=no\n\n") +
                      menu);
    }
}

TEST_F(DebugLoggingTest, logging_switched_movesLogsAsideAndNamesWhatItCannot) {
    const fs::path log = data() / "debug.log";
    const std::string path = backslashed(log);
    write(log, "one");
    write(data() / "dump.log", "dump");
    give();
    EXPECT_EQ(run({L"-enableDebugging"}), kBanner + reportOf(true));
    const std::string wanted = "new " + kData + "debug.config\ngone " + kData + "debug.log\nnew " +
                               kData + "debug.log" + kStamp + "gone " + kData + "dump.log\nnew " +
                               kData + "dump.log" + kStamp;
    EXPECT_PRED2(hasForm, changed(), wanted);
    EXPECT_EQ(read(config()), debugConfig("y", "$(auto)", "10", "1"));
    write(log, "two");
    {
        const LockedFile lock(log);
        const std::string story = run({L"-disableDebugging"});
        const std::string begin = kBanner + "could not rename " + path + " to " + path;
        EXPECT_TRUE(story.starts_with(begin)) << story;
        const std::size_t end = story.find('\n', begin.size()) + 1;
        EXPECT_PRED2(hasForm, story.substr(begin.size(), end - begin.size()), kStamp);
        EXPECT_EQ(story.substr(end), reportOf(false));
    }
    EXPECT_EQ(read(config()), debugConfig("n", "$(auto)", "10", "1"));
    EXPECT_EQ(read(log), "two");
    letTimePass();
    {
        const LockedFile lock(config());
        EXPECT_EQ(run({L"-enableDebugging"}), kBanner + reportOf(false));
    }
    fs::remove_all(data());
    give();
    EXPECT_EQ(run({L"-enableDebugging"}), kBanner + reportOf(false));
    EXPECT_EQ(changed(), "");
}

TEST_F(DebugLoggingTest, settings_ofAKilledRun_arePutBackUnlessChanged) {
    const std::string mine = debugConfig("n", "$(auto)", "7", "3") + "<!-- to the byte -->";
    const std::string ours = debugConfig("y", "$(auto)", "10", "1");
    const std::string theirs = debugConfig("y", "$(auto)", "3", "1");
    const fs::path keeping = data() / "debug.config.kept";
    write(config(), mine);
    const std::string path = " (" + backslashed(config()) + ")\n";
    run();
    std::optional<LockedFile> lock;
    perform([&] {
        using WhenMissing = TemporaryDebugSettings::WhenMissing;
        TemporaryDebugSettings settings({true, kAutomaticLogFile, 10, 1}, false,
                                        WhenMissing::kRemoveFile);
        // Another run beside it leaves its settings alone.
        TemporaryDebugSettings({true, L"x", 1, 1}, false, WhenMissing::kRemoveFile);
        EXPECT_EQ(read(config()), ours);
        lock.emplace(config());
        return 0;
    });
    const std::string stays = play.story;
    EXPECT_EQ(
        run().find("Could not put back the debug settings that an interrupted run changed" + path),
        kBanner.size());
    lock.reset();
    EXPECT_EQ(stays, "Could not keep the debug settings; they stay as they are" + path +
                         "Could not write debug.config file " + backslashed(config()) + "\n");
    const std::string kept = read(keeping);
    std::string damaged = kept;
    damaged[40] ^= 1;
    const std::string changed =
        "Debug settings have changed since a run was interrupted; they stay" + path;
    const std::string unusable =
        "What an interrupted run had kept of the debug settings was not readable" + path;
    // An item of a kind that nobody writes, with its length and check sum.
    const std::string unknown("\1\0\0\0\0\0\0\0\xC4\x9D\x1C\x81", 12);
    // What was kept ("/" for a folder in its place), what the file holds ("/" for
    // none), what is said, what the file holds then.
    const std::array<std::string, 4> kStates[] = {
        {kept, ours, mended(), mine},
        {kept, ours.substr(0, 90), mended(), mine},
        {kept, debugConfig("n", "$(auto)", "7", "3"), mended(), mine},
        {kept, mine.substr(0, mine.size() - 1), mended(), mine},
        {kept, "", mended(), mine},
        {kept, mine, "", mine},
        {kept, theirs, changed, theirs},
        {kept, "/", changed, "/"},
        {kept.substr(0, kept.size() - 1), ours, mended(), mine},
        {kept.substr(0, 40), mine, unusable, mine},
        {"", mine, unusable, mine},
        {damaged, ours, unusable, ours},
        {unknown + kept.substr(12 + mine.size()), ours, unusable, ours},
        {std::string(17 << 20, 'x'), mine, unusable, mine},
        {"/", ours, "", ours}};
    for (const auto& [left, before, said, after] : kStates) {
        SCOPED_TRACE(said + before);
        if (left == "/") {
            fs::create_directory(keeping);
        } else {
            write(keeping, left);
        }
        fs::remove(config());
        if (before != "/") {
            write(config(), before);
        }
        const std::string story = run();
        EXPECT_EQ(story.substr(0, story.find("------")), kBanner + said);
        EXPECT_EQ(fs::exists(config()) ? read(config()) : "/", after);
        EXPECT_EQ(fs::remove(keeping), left == "/");
    }
}

class CleanUpTest : public UtilityTest {
protected:
    // Makes leftovers of a user of this name.
    void prepare(const std::wstring& name) {
        moveTo(name);
        for (const char* file :
             {"debug.config", "debug.log", "dump.log", "debug.log-1.bak", "debug.log-2.bak",
              "dump.log-1.bak", "settings_1.config", "settings_.config.bak", "settings.config"}) {
            write(data() / file, file);
        }
        write(diagnostics() / "README.txt", "text");
        give();
        play.onCommand = [](const std::string& line) { obey(reached(line)); };
    }
    // Chooses an entry of the main menu and answers its question; what comes
    // between the question and the next menu.
    static std::string between(const std::string& story) {
        const std::size_t begin =
            story.rfind("<Enter>...\n", story.rfind(kRule46 + "Pellory")) + 11;
        return story.substr(begin, story.rfind(kRule46 + "Pellory") - begin);
    }
    std::string cleanUp() { return between(run({}, {"7", "Y"})); }

    const std::string rule_ = std::string(106, '-') + "\n";
    const std::string heading_ = "\n\n" + rule_ + "Cleaning up Pellory diagnostics logs...\n\n";
    const std::string completed_ = "Completed cleaning up diagnostics logs.\n\n" + rule_ + "\n";
    const std::string messages_ =
        "Removing Pellory debug settings...\nRemoving Pellory debug log...\n"
        "Removing Pellory dump log file...\nRemoving 2 Pellory log file backups...\n"
        "Removing 1 Pellory dump file backups...\n";
};

TEST_F(CleanUpTest, logs_afterAYes_areRemovedOnceAndNothingElse) {
    prepare(L"user");
    const std::string folder = backslashed(diagnostics());
    const std::string sure = surePrompt("Any Pellory diagnostic logs will be removed...");
    const std::string menu = mainMenu("", kNone, "");
    // A question is asked until there is an answer to it; the rest of a line is dropped.
    EXPECT_EQ(run({}, {"7", "", "xy", "0", kEndOfInput, "no", "7", "N"}),
              kBanner + menu + sure + sure + sure + sure + sure + menu + sure + menu);
    EXPECT_TRUE(getTranscript().ends_with(sure + "\n>No\n" + menu + "\n>0\n"));
    EXPECT_EQ(changed(), "");
    const fs::path log = data() / "dump.log-1.bak";
    {
        const LockedFile lock(log);
        EXPECT_EQ(cleanUp(), heading_ + "Removing log directory " + folder + "\n$ rmdir /s /q " +
                                 folder + "\n" + messages_ + "Could not delete file " +
                                 backslashed(log) + " (Directory:deleteFile() failed)\n");
    }
    EXPECT_TRUE(getTranscript().find(sure + "\n>Yes\n" + heading_) != std::string::npos);
    EXPECT_EQ(cleanUp(), heading_ + "Removing 1 Pellory dump file backups...\n" + completed_);
    std::string gone;
    for (const char* file : {"debug.config", "debug.log", "debug.log-1.bak", "debug.log-2.bak",
                             "dump.log", "dump.log-1.bak"}) {
        gone += "gone " + kData + file + "\n";
    }
    EXPECT_EQ(changed(), gone + "gone " + kDiagnostics + "\ngone " + kDiagnostics + "README.txt\n");
    EXPECT_EQ(cleanUp(), heading_ + "There was nothing to clean up.\n\n" + rule_ + "\n");
}

TEST_F(CleanUpTest, settings_afterAYes_areRemoved) {
    prepare(L"user");
    const std::string sure = surePrompt(
        "Your current Pellory settings will be removed from this machine.\n"
        "You will need to reconfigure and retrain Pellory after this!");
    const std::string menu = mainMenu("", kNone, "");
    EXPECT_EQ(run({}, {"5", "n"}), kBanner + menu + sure + menu);
    EXPECT_EQ(changed(), "");
    const fs::path settings = data() / "settings_1.config";
    {
        const LockedFile lock(settings);
        EXPECT_EQ(between(run({}, {"5", "y"})), "Could not delete file " + backslashed(settings) +
                                                    " (Directory:deleteFile() failed)\n");
    }
    EXPECT_EQ(between(run({}, {"5", "y"})), "");
    EXPECT_EQ(changed(),
              "gone " + kData + "settings_.config.bak\ngone " + kData + "settings_1.config\n");
}

// The removal line's path has no quotes: where blanks part it, a part may be a folder of its own.
TEST_F(CleanUpTest, pathInParts_cleanedUp_isLeftAndNoOtherFolderReached) {
    for (const wchar_t* const name : {L"two & words", L"two,words", L"two;words", L"two=words"}) {
        prepare(name);
        const std::string folder = backslashed(diagnostics());
        const std::string stays = "Could not remove this directory; please delete it yourself.\n";
        const std::string end =
            "Not everything could be removed: " + folder + " is still there.\n\n" + rule_ + "\n";
        write(bench() / "two/keep.txt", "text");
        EXPECT_EQ(cleanUp(),
                  heading_ + "Removing log directory " + folder + "\n" + stays + messages_ + end);
        EXPECT_TRUE(fs::exists(bench() / "two/keep.txt"));
        fs::remove_all(bench() / "two");
        std::string escaped = folder;
        if (const std::size_t at = folder.find('&'); at != folder.npos) {
            escaped.insert(at, "^");
        }
        EXPECT_EQ(cleanUp(), heading_ + "Removing log directory " + folder + "\n$ rmdir /s /q " +
                                 escaped + "\n" + stays + end);
    }
}

TEST_F(CleanUpTest, pathWithSigns_cleanedUp_isRemovedAndNoPartOfIt) {
    prepare(L"R&D^2(%TEMP%)");
    EXPECT_EQ(cleanUp(), heading_ + "Removing log directory " + backslashed(diagnostics()) +
                             "\n$ rmdir /s /q " + backslashed(bench()) +
                             "\\R^&D^^2(%\"T\"EMP%)\\Desktop\\PelloryDiagnostics\n" + messages_ +
                             completed_);
    EXPECT_FALSE(fs::exists(diagnostics()));
}

}  // namespace
}  // namespace zuplutil::test
