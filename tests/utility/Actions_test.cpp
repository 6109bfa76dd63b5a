// Menus, switches, the add-in's logging and the clean-up: what they say and what they change.

#include <array>

#include "Console.h"
#include "DebugLogging.h"
#include "Paths.h"
#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

const std::string kSorry = "\n\nSorry, this menu option is not available.\n\n";

const std::string kKeyPrompt =
    "\nPress any key to continue...\n\n"
    "(or press CTRL-C to abort Pellory Maintenance Utility)\n";

std::string reportOf(bool isOn, const std::string& before = {}, const std::string& details = {}) {
    const std::string rule(84, '-');
    return "\n" + rule + "\n" + before + "Pellory Debug Logging is currently " +
           (isOn ? "enabled.\n\nPlease note:\nOutlook might appear to run a little slower than "
                   "usual while Pellory debug logging is enabled.  This is normal.\n"
                 : "disabled.\n") +
           details + rule + "\n\n";
}

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
std::string mainMenu(const std::string& on, const std::string& off, const std::string& remove) {
    return kRule46 + "Pellory Maintenance Utility - Main Menu\n" + kRule46 +
           "0. Exit Pellory Utility\n1. Collect diagnostics for support\n"
           "2. Enable Pellory debug logging " +
           on + "\n3. Disable Pellory debug logging " + off +
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

// What stands between the first of these and the next of those.
std::string between(const std::string& text, const std::string& from, const std::string& to) {
    const std::size_t begin = text.find(from) + from.size();
    return text.substr(begin, text.find(to, begin) - begin);
}

using MenusTest = UtilityTest;

TEST_F(MenusTest, input_notAnEntry_isRefusedOrAskedForAgainAndAnswersAreRecorded) {
    Lines lines;
    std::string expected = kBanner + kUsualMenu;
    std::string recorded = expected;
    const auto answer = [&](const std::string& line, const std::string& echo,
                            const std::string& more) {
        lines.push_back(line);
        expected += more;
        recorded += echo + more;
    };
    for (const char digit : std::string("35689156789")) {
        const bool isFirst = lines.size() < 5;
        answer({digit}, std::string("\n>") + digit + "\n",
               (digit == '1' ? "" : kSorry) + (isFirst ? kUsualMenu : kDiagnosticsMenu));
    }
    answer("0", "\n>0\n", kUsualMenu);
    // The rest of a line that is too long is dropped, and the end of the input asked for again.
    for (const std::string line :
         {"12", " 1", "1 ", "", "a", "+", "/", ":", kEndOfInput, kEndOfInput}) {
        answer(line, "", kMenuPrompt);
    }
    answer(std::string(255, ' ') + "1", "", kMenuPrompt);
    fs::remove_all(data());
    give();
    // At the end of the input CTRL-C, which the system tells of, is waited for, a second each.
    std::freopen("NUL", "r", stdin);
    std::fgetc(stdin);
    EXPECT_EQ(run({}, lines), expected);
    std::clearerr(stdin);
    EXPECT_EQ(play.slept, 2000u);
    EXPECT_EQ(getTranscript(), recorded + "\n>0\n");
    EXPECT_EQ(changed(), "");
    EXPECT_EQ(play.codePage, 437u);
}

TEST_F(MenusTest, entries_chosen_doAsTheySay) {
    write(data() / "settings_home.config", "");
    const std::string off = mainMenu("", kNone, "");
    const std::string on = mainMenu(kNone, "", "");
    EXPECT_EQ(run({}, {"2", "2", "3", "3"}), kBanner + off + reportOf(true) + on + kSorry + on +
                                                 reportOf(false) + off + kSorry + off);
    const std::string begin = "appears.\n" + std::string(98, '-') + "\n\n";
    for (const auto& [entry, said] : {std::pair{"2", "Using standard logging level.\n"},
                                      {"3", ""},
                                      {"4", "Including OCAT logs if possible.\n"}}) {
        EXPECT_EQ(between(run({}, {"1", entry, "0"}), begin, "Running on"), said);
    }
}

TEST_F(MenusTest, guidedCollection_outlookStartingAndEnding_followsIt) {
    const fs::path log = data() / "own.log";
    const std::string mine = debugConfig("n", backslashed(log), "2", "4");
    write(config(), mine);
    write(data() / "dump.log", "before");
    play.processes = {L"outlook.exe"};
    int asked = 0;
    play.typed = [&]() -> std::string {
        ++asked;
        if (asked == 4 || asked == 8) {
            play.processes.clear();
        } else if (asked == 6) {
            EXPECT_EQ(read(config()), debugConfig("y", "$(auto)", "10", "1"));
            EXPECT_FALSE(fs::exists(data() / "dump.log"));
            play.processes = {L"outlook.exe"};
        } else if (asked == 7) {
            write(log, "meanwhile");
            write(data() / "debug.log", "another's");
        }
        return asked <= 2 ? "1\n" : asked <= 8 ? "\n" : "0\n";
    };
    perform(utility({}));
    const std::string rule = std::string(128, '-') + "\n";
    const std::string running = kStillRunning + kKeyPrompt;
    const std::string notRunning = kNotRunning + kKeyPrompt;
    EXPECT_EQ(
        play.story.substr(0, play.story.find("\nStarting collection")),
        kBanner + kStillRunning + kUsualMenu + kStillRunning + kDiagnosticsMenu + running +
            running + reportOf(true) + notRunning + notRunning + rule +
            R"(Now please go to Outlook again and click (not double-click) once on an email in your inbox (opening it is not necessary).
Wait until Pellory makes a suggestion for this email in the Pellory task pane or toolbar.
If you did not train any folders in Outlook yet, you can do so now with the Pellory Folder Wizard and repeat the above steps.
In addition to the above, in case you reported a specific issue with Pellory, it's a good idea to try to reproduce this issue now.
When done, shut down Outlook again and press any key here to continue...

Please note:
Outlook might appear run a little slower than usual while collection of diagnostics is active.  This is normal.
)" + rule + kKeyPrompt +
            running + reportOf(false) + "\n\n" + std::string(98, '-'));
    EXPECT_NE(play.story.find("Using standard logging level.\nRunning on"), play.story.npos);
    EXPECT_EQ(read(config()), mine);
    EXPECT_FALSE(fs::exists(log));
    EXPECT_EQ(read(data() / "debug.log"), "another's");
}

TEST_F(MenusTest, arguments_given_theFirstActionOfTheListIsDone) {
    const std::string invalid = "! invalid arguments\n";
    const std::pair<Words, std::string> kLines[] = {
        {{L""}, invalid},
        {{L"-pause", L"-noocat", L"-light", L"foo"}, invalid},
        {{L"addin-probe"}, invalid},
        {{L"addin-probe", L"1"}, invalid},
        {{L"enableDebugging", L"-enableDebuggin"}, invalid},
        // There are no settings files: nothing is asked and nothing is done.
        {{L"-logdiagnostics", L"-enableDebugging", L"-askremovesettings"}, ""},
        {{L"-disableDebugging", L"foo", L"-unknown", L"-ENABLEdebugging"}, reportOf(true)},
        {{L"-disableDebugging"}, reportOf(false)},
        {{L"-Pause", L"-enableDebugging"}, reportOf(true) + kKeyPrompt}};
    for (const auto& [arguments, said] : kLines) {
        const Lines keys(said.ends_with(kKeyPrompt) ? 1 : 0, "x");
        EXPECT_EQ(run(arguments, keys, said == invalid ? 1 : 0), kBanner + said);
    }
    EXPECT_TRUE(run({L"-disableDebugging", L"-LogDiagnostics"}).starts_with(kBanner + "\n\n---"));
    EXPECT_EQ(read(config()), debugConfig("y", "$(auto)", "10", "1"));
}

using DebugLoggingTest = UtilityTest;

TEST_F(DebugLoggingTest, report_anyFileAndProgram_tellsOfThem) {
    const std::string missing = "  Could not find debug.config file " + backslashed(config()) +
                                "\n  Debugging is disabled\n";
    const std::string bag = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<bag>\n<hmap>\n";
    const std::string defaults = "no\n  logFile=$(auto)\n  logLevel=10\n  logOptions=1\n\n";
    // What the file holds, the programs that run, the report's first lines and its settings. A
    // broken file goes by its path's first letter. Outlook counts by the beginning of its name.
    const std::tuple<std::string, Words, std::string, std::string> kFiles[] = {
        {debugConfig("y", "D:\\\xD0\xAF.log", "-5", "255"),
         {L"OUTLOOK.EXE"},
         "",
         "yes\n  logFile=D:\\\xD0\xAF.log\n  logLevel=-5\n  logOptions=255\n\n"},
        {bag + "</hmap>\n</bag>\n",
         {L"a.exe", L"outlook.exe.tmp"},
         "",
         "no\n  logFile=\n  logLevel=-1\n  logOptions=-1\n\n"},
        {bag, {L"xoutlook.exe", L"outlook.ex"}, "  Could not load debug.config file C\n", defaults},
        {"", {}, missing, defaults}};
    for (const auto& [content, programs, state, settings] : kFiles) {
        play.processes = programs;
        const bool isThere = state.empty();
        fs::remove(config());
        write(content.empty() ? config() / "file" : config(), content);
        const bool isOn = settings[0] == 'y';
        const std::string details =
            "\nDetailed debug settings:\n-----------------------\n  logEnabled=" + settings +
            "  outlook is running=" + (isThere ? "yes" : "no") + "\n\n";
        const std::string menu =
            (isThere ? kStillRunning : "") + (isOn ? mainMenu(kNone, "", kNone) : kUsualMenu);
        EXPECT_EQ(run({}, {"4"}), kBanner + menu + reportOf(isOn, state, details) + menu);
    }
}

TEST_F(DebugLoggingTest, logging_switched_movesLogsAsideAndNamesWhatItCannot) {
    const std::string stamp = "-\\d{4}-\\d\\d-\\d\\d-\\d\\d;\\d\\d;\\d\\d;\\d{3}\\.bak\n";
    const fs::path dump = data() / "dump.log";
    write(data() / "debug.log", "one");
    write(dump, "two");
    give();
    const zustd::FileHandle lock = locked(dump);
    const std::string story = run({L"-enableDebugging"});
    const std::string begin =
        kBanner + "could not rename " + backslashed(dump) + " to " + backslashed(dump);
    EXPECT_PRED2(hasForm, between(story, begin, "\n---"), stamp);
    EXPECT_TRUE(story.ends_with(".bak\n" + reportOf(true))) << story;
    EXPECT_PRED2(hasForm, changed(),
                 "gone " + kData + "debug.log\nnew " + kData + "debug.config\nnew " + kData +
                     "debug.log" + stamp);
}

TEST_F(DebugLoggingTest, settings_ofAKilledRun_arePutBackUnlessChanged) {
    const std::string mine = debugConfig("n", "$(auto)", "7", "3") + "<!-- to the byte -->";
    const std::string ours = debugConfig("y", "$(auto)", "10", "1");
    const std::string theirs = debugConfig("y", "$(auto)", "3", "1");
    const fs::path keeping = data() / "debug.config.kept";
    write(config(), mine);
    const std::string path = " (" + backslashed(config()) + ")\n";
    const std::string mended =
        "An interrupted run had changed the debug settings; they are put back" + path;
    run();
    const auto told = [&] { return run({L"-askremovesettings"}).substr(kBanner.size()); };
    zustd::FileHandle lock;
    perform([&] {
        constexpr auto kRemove = TemporaryDebugSettings::WhenMissing::kRemoveFile;
        TemporaryDebugSettings settings({true, kAutomaticLogFile, 10, 1}, false, kRemove);
        // Another run beside it leaves its settings alone.
        TemporaryDebugSettings({true, L"x", 1, 1}, false, kRemove);
        EXPECT_EQ(read(config()), ours);
        lock = locked(config());
        return 0;
    });
    EXPECT_EQ(play.slept, 0U);
    EXPECT_EQ(play.story, "Could not keep the debug settings; they stay as they are" + path +
                              "Could not write debug.config file " + backslashed(config()) + "\n");
    EXPECT_EQ(told(),
              "Could not put back the debug settings that an interrupted run changed" + path);
    lock.reset();
    const std::string kept = read(keeping);
    const std::string changed =
        "Debug settings have changed since a run was interrupted; they stay" + path;
    const std::string unusable =
        "What an interrupted run had kept of the debug settings was not readable" + path;
    // An item of a kind that nobody writes, with its length and check sum.
    const std::string unknown = numbers(4, {1, 0, 0x811C9DC4});
    // That there was nothing, and a content of ours, as every release writes them.
    const std::string none = numbers(4, {0x30554D50, 0, 0xB149D095});
    const std::string own = numbers(4, {0x30554D52, 1, 0x633E83D}) + "x";
    // What was kept ("/": a folder), what the file holds ("/": none), what is said, and what then.
    const std::array<std::string, 4> kStates[] = {
        {kept, ours, mended, mine},
        {kept, ours.substr(0, 90), mended, mine},
        {kept, ours + mine.substr(ours.size()), mended, mine},
        {kept, mine, "", mine},
        {kept, theirs, changed, theirs},
        {kept, "/", changed, "/"},
        {kept.substr(0, kept.size() - 1), ours, mended, mine},
        {kept.substr(0, 40), mine, unusable, mine},
        {"", mine, unusable, mine},
        {std::string(kept).replace(40, 1, "!"), ours, unusable, ours},
        {unknown + kept.substr(12 + mine.size()), ours, unusable, ours},
        {std::string(17 << 20, 'x'), mine, unusable, mine},
        {none + own, "x", mended, "/"},
        {none, ours, changed, ours},
        {"/", ours, "", ours}};
    for (const auto& [left, before, said, after] : kStates) {
        SCOPED_TRACE(said + before);
        write(left == "/" ? keeping / "x" : keeping, left);
        fs::remove(config());
        if (before != "/") {
            write(config(), before);
        }
        EXPECT_EQ(told(), said);
        EXPECT_EQ(fs::exists(config()) ? read(config()) : "/", after);
        EXPECT_EQ(fs::remove_all(keeping) != 0, left == "/");
    }
    write(config(), std::string(17 << 20, 'x'));
    run({L"-enableDebugging"});
    EXPECT_FALSE(fs::exists(keeping));
}

const std::string kRule106 = std::string(106, '-') + "\n";
const std::string kCleaning = "\n\n" + kRule106 + "Cleaning up Pellory diagnostics logs...\n\n";
const std::string kCleaned = "Completed cleaning up diagnostics logs.\n\n" + kRule106 + "\n";

class CleanUpTest : public UtilityTest {
protected:
    // What follows when an entry is chosen from the main menu, and its question has a yes.
    std::string chosen(const char* entry) {
        // A caret lets the sign behind it pass.
        play.onCommand = [](const std::string& line) {
            obey(std::regex_replace(line, std::regex("\\^(.)"), "$1"));
        };
        return between(run({}, {entry, "Y"}), "key followed by <Enter>...\n", kRule46 + "Pellory");
    }
};

TEST_F(CleanUpTest, filesOfAKind_afterAYes_areRemovedOnceAndNothingElse) {
    for (const char* file :
         {"debug.config", "debug.log", "dump.log", "debug.log-1.bak", "debug.log-2.bak",
          "dump.log-1.bak", "settings_1.config", "settings_.config.bak", "settings.config"}) {
        write(data() / file, file);
    }
    give();
    const std::string sure = surePrompt("Any Pellory diagnostic logs will be removed...");
    const std::string menu = mainMenu("", kNone, "");
    // A question is asked until there is an answer to it; the rest of a line is dropped.
    EXPECT_EQ(run({}, {"7", "", "xy", "0", kEndOfInput, "no", "7", "N"}),
              kBanner + menu + sure + sure + sure + sure + sure + menu + sure + menu);
    EXPECT_TRUE(getTranscript().ends_with(sure + "\n>No\n" + menu + "\n>0\n"));
    EXPECT_EQ(chosen("7"), kCleaning +
                               "Removing Pellory debug settings...\n"
                               "Removing Pellory debug log...\nRemoving Pellory dump log file...\n"
                               "Removing 2 Pellory log file backups...\n"
                               "Removing 1 Pellory dump file backups...\n" +
                               kCleaned);
    EXPECT_TRUE(getTranscript().find(sure + "\n>Yes\n" + kCleaning) != std::string::npos);
    EXPECT_EQ(chosen("7"), kCleaning + "There was nothing to clean up.\n\n" + kRule106 + "\n");
    const std::string sureOfSettings = surePrompt(
        "Your current Pellory settings will be removed from this machine.\n"
        "You will need to reconfigure and retrain Pellory after this!");
    EXPECT_EQ(run({}, {"5", "n"}), kBanner + menu + sureOfSettings + menu);
    zustd::FileHandle open = locked(data() / "settings_1.config", FILE_SHARE_DELETE);
    EXPECT_EQ(chosen("5"), "Could not remove all Pellory settings.\n");
    open.reset();
    EXPECT_PRED2(hasForm, changed(),
                 "(gone " + kData + "(debug|dump).*\n){6}(gone " + kData +
                     "settings_(.config.bak|1.config)\n){2}");
}

// The removal line's path has no quotes: where blanks part it, a part may be a folder of its own.
TEST_F(CleanUpTest, pathOfAnySigns_cleanedUp_isLeftOrRemovedAndNoOtherFolderReached) {
    for (const std::string name :
         {"two & words", "two,words", "two;words", "two=words", "R&&D^2(%TEMP%)"}) {
        moveTo(pathOf(name).wstring());
        const bool isInParts = name[0] == 't';
        const std::string given =
            isInParts ? std::regex_replace(name, std::regex("&"), "^&") : "R^&^&D^^2(%\"T\"EMP%)";
        write(diagnostics() / "README.txt", "text");
        const std::string folder = backslashed(diagnostics());
        const std::string heading = kCleaning + "Removing log directory " + folder + "\n";
        const std::string stays =
            "Could not remove this directory; please delete it yourself.\n"
            "Not everything could be removed: " +
            folder + " is still there.\n\n" + kRule106 + "\n";
        if (isInParts) {
            write(bench() / "two/keep.txt", "text");
            EXPECT_EQ(chosen("7"), heading + stays);
            EXPECT_TRUE(fs::exists(bench() / "two/keep.txt"));
            fs::remove_all(bench() / "two");
        }
        EXPECT_EQ(chosen("7"), heading + "$ rmdir /s /q " + backslashed(bench()) + "\\" + given +
                                   "\\Desktop\\PelloryDiagnostics\n" +
                                   (isInParts ? stays : kCleaned));
        EXPECT_EQ(fs::exists(diagnostics()), isInParts);
    }
    // What was gathered elsewhere, since the desktop is on a share.
    setVariable(L"TESTROOT", L"\\\\?\\" + root().wstring());
    setVariable(L"TMP", bench().wstring());
    write(bench() / "PelloryDiagnostics/stale.log", "");
    chosen("7");
    EXPECT_FALSE(fs::exists(bench() / "PelloryDiagnostics"));
}

TEST_F(UtilityTest, path_beyondTheCodePageOrOnAShare_isReplaced) {
    const std::wstring path = L"C:\\\xD800";
    const std::string lossy = "C:\\\xEF\xBF\xBD";
    // The short forms that the system gives one after another, and the path that is used.
    const std::tuple<std::wstring, std::wstring, std::string> kForms[] = {
        {L"C:\\A~1", L"C:\\A~1", "C:\\A~1"},
        {L"C:\\A~1", L"C:\\A", "C:\\A"},
        {L"C:\\A~1", L"C:\\A~10", lossy},
        {L"", L"", lossy},
        {path, path, lossy}};
    for (const auto& form : kForms) {
        int asked = 0;
        play.shortPath = [&] { return ++asked == 1 ? std::get<0>(form) : std::get<1>(form); };
        perform([&] {
            EXPECT_EQ(toNarrowPath(path), std::get<2>(form));
            EXPECT_EQ(toNarrowPath(L"C:\\plain"), "C:\\plain");
            return 0;
        });
    }
    for (const std::wstring folder : {L"", L"/", L"\\a", L"a/", L"C:\\", L"\\/share", L"//share"}) {
        EXPECT_EQ(getWorkDirectory(folder) != folder, folder.ends_with(L"share")) << folder.size();
    }
}

}  // namespace
}  // namespace zuplutil::test
