// Switching the add-in's logging: the file, the backups, the report.

#include <array>

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

const std::string kRule84(84, '-');

class DebugLoggingTest : public UtilityTest {
protected:
    DebugLoggingTest() {
        for (const char* name : {"debug.log", "dump.log"}) {
            write(folders_.addinData() / name, name);
        }
    }
};

TEST_F(DebugLoggingTest, report_anyFile_tellsWhatItHoldsOrWhyItDoesNot) {
    const std::string off = "Pellory Debug Logging is currently disabled.\n";
    const std::string on =
        "Pellory Debug Logging is currently enabled.\n\nPlease note:\n"
        "Outlook might appear to run a little slower than usual while Pellory debug logging is "
        "enabled.  This is normal.\n";
    const std::string missing = "  Could not find debug.config file " + backslashed(config()) +
                                "\n  Debugging is disabled\n" + off;
    const std::string bag = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<bag>\n<hmap>\n";
    const std::string enabled = "<p><k>logEnabled</k><t>bool</t>";
    // What the file holds, or "/" for a folder of its name, the report's first
    // lines and the four settings. A broken file goes by its path's first letter.
    const std::tuple<std::string, std::string, std::array<const char*, 4>> kFiles[] = {
        {"", missing, {"no", "$(auto)", "10", "1"}},
        {debugConfig("n", "D:\\logs\\\xD0\xAF.log", "-5", "255"),
         off,
         {"no", "D:\\logs\\\xD0\xAF.log", "-5", "255"}},
        {bag + enabled + "<v>y</v></p>\n</hmap>\n</bag>\n", on, {"yes", "", "-1", "-1"}},
        {bag + enabled,
         "  Could not load debug.config file C\n" + off,
         {"no", "$(auto)", "10", "1"}},
        {"/", missing, {"no", "$(auto)", "10", "1"}},
    };
    UtilityProcess& utility = start();
    for (const auto& [content, state, settings] : kFiles) {
        // The file has been read for the menu's marks by then.
        EXPECT_TRUE(utility.waitFor(kMenuPrompt));
        if (content == "/") {
            fs::remove(config());
            fs::create_directory(config());
        } else if (!content.empty()) {
            write(config(), content);
        }
        utility.answer("", "4");
        EXPECT_TRUE(utility.waitFor(
            "\n" + kRule84 + "\n" + state +
            "\nDetailed debug settings:\n-----------------------\n" + "  logEnabled=" +
            settings[0] + "\n  logFile=" + settings[1] + "\n  logLevel=" + settings[2] +
            "\n  logOptions=" + settings[3] + "\n\n  outlook is running=no\n\n" + kRule84 + "\n\n"))
            << content << utility.output();
    }
    utility.answer(kMenuPrompt, "0");
    EXPECT_EQ(utility.exitCode(), 0);
}

TEST_F(DebugLoggingTest, logs_switched_areMovedAside) {
    EXPECT_EQ(run({L"-enableDebugging"}), std::string(kBanner) + kEnabled);
    EXPECT_PRED2(hasForm, joined(changes()),
                 "new " + kData + "debug.config\ngone " + kData + "debug.log\nnew " + kData +
                     "debug.log" + kStamp + "gone " + kData + "dump.log\nnew " + kData +
                     "dump.log" + kStamp);
    EXPECT_EQ(read(config()), debugConfig("y", "$(auto)", "10", "1"));
    write(folders_.addinData() / "debug.log", "three");
    EXPECT_EQ(run({L"-disableDebugging"}), std::string(kBanner) + kDisabled);
    EXPECT_EQ(read(config()), debugConfig("n", "$(auto)", "10", "1"));
    EXPECT_EQ(changes().size(), 6u);
}

TEST_F(DebugLoggingTest, customLog_switched_isMovedAsideInItsOwnFolder) {
    recordOnly();
    allow("Documents/");
    write(config(), debugConfig("n", "", "1", "2"));
    run(kStandard);
    EXPECT_TRUE(fs::exists(folders_.addinData() / "debug.log"));
    EXPECT_FALSE(fs::exists(folders_.addinData() / "dump.log"));
    const fs::path log = folders_.documents() / "own.log";
    write(log, "one");
    write(config(), debugConfig("n", backslashed(log), "1", "2"));
    run(kStandard);
    EXPECT_FALSE(fs::exists(log));
    EXPECT_PRED2(hasForm, changes().back() + "\n", "new Documents/own.log" + kStamp);
}

TEST_F(DebugLoggingTest, log_locked_isNamedAndLoggingSwitched) {
    const fs::path log = folders_.addinData() / "debug.log";
    const LockedFile lock(log);
    const std::string output = run({L"-enableDebugging"});
    const std::string path = backslashed(log);
    ASSERT_TRUE(output.starts_with(kBanner + ("could not rename " + path + " to " + path)))
        << output;
    const std::string rest = output.substr(std::string(kBanner).size() + path.size() * 2 + 21);
    EXPECT_PRED2(hasForm, rest.substr(0, rest.find('\n') + 1), kStamp);
    EXPECT_EQ(rest.substr(rest.find('\n') + 1), kEnabled);
    EXPECT_EQ(read(config()), debugConfig("y", "$(auto)", "10", "1"));
}

TEST_F(DebugLoggingTest, settings_notWritable_stayAndNoFolderIsMade) {
    fs::remove_all(folders_.addinData());
    EXPECT_EQ(run({L"-enableDebugging"}), std::string(kBanner) + kDisabled);
    EXPECT_EQ(changes(), Lines());
    write(config(), debugConfig("n", "$(auto)", "3", "4"));
    const LockedFile lock(config());
    EXPECT_EQ(run({L"-enableDebugging"}), std::string(kBanner) + kDisabled);
    EXPECT_EQ(read(config()), debugConfig("n", "$(auto)", "3", "4"));
}

TEST_F(DebugLoggingTest, settings_ofAKilledRun_arePutBackUnlessChanged) {
    recordOnly();
    const std::string mine = debugConfig("n", "$(auto)", "7", "3") + "<!-- to the byte -->";
    const std::string ours = debugConfig("y", "$(auto)", "10", "1");
    const std::string theirs = debugConfig("y", "$(auto)", "3", "1");
    write(config(), mine);
    UtilityProcess& guided = start();
    guided.answer(kMenuPrompt, "1");
    guided.answer(kMenuPrompt, "1");
    EXPECT_TRUE(guided.waitFor(kEnabled));
    // Another run beside it leaves its settings alone.
    EXPECT_NE(run(kStandard).find("\nCould not keep the debug settings; they stay as they are (" +
                                  backslashed(config()) + ")\n"),
              std::string::npos);
    EXPECT_EQ(read(config()), ours);
    guided.kill();
    const fs::path keeping = folders_.addinData() / "debug.config.kept";
    const std::string kept = read(keeping);
    std::string damaged = kept;
    damaged[40] ^= 1;
    const std::string path = " (" + backslashed(config()) + ")\n";
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
        EXPECT_EQ(saidAtStart(), kBanner + said);
        EXPECT_EQ(fs::exists(config()) ? read(config()) : "/", after);
        EXPECT_EQ(fs::remove(keeping), left == "/");
    }
}

}  // namespace
}  // namespace zuplutil::test
