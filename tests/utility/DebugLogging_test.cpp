// Switching the add-in's logging: the file, the backups, the report.

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

namespace fs = std::filesystem;

const std::string kRule84(84, '-');
const std::string kData = "AppData/Roaming/Pellory For Outlook/";
const std::string kStamp = "-\\d{4}-\\d\\d-\\d\\d-\\d\\d;\\d\\d;\\d\\d;\\d{3}\\.bak\n";

class DebugLoggingTest : public UtilityTest {
protected:
    fs::path config() const { return folders_.addinData() / "debug.config"; }

    // The report of menu entry 4.
    std::string report() {
        const std::string output = runMenu({"4"});
        const std::size_t begin = output.find("\n" + kRule84 + "\n");
        const std::size_t end = output.find(kRule84 + "\n\n", begin + 86);
        return output.substr(begin, end + 86 - begin);
    }
    static std::string details(const char* enabled, const char* file, const char* level,
                               const char* options) {
        return std::string("\nDetailed debug settings:\n-----------------------\n") +
               "  logEnabled=" + enabled + "\n  logFile=" + file + "\n  logLevel=" + level +
               "\n  logOptions=" + options + "\n\n  outlook is running=no\n\n" + kRule84 + "\n\n";
    }
    static std::string disabled() { return "Pellory Debug Logging is currently disabled.\n"; }
    static std::string enabled() {
        return "Pellory Debug Logging is currently enabled.\n\nPlease note:\n"
               "Outlook might appear to run a little slower than usual while Pellory debug "
               "logging is enabled.  This is normal.\n";
    }
};

TEST_F(DebugLoggingTest, ReportsTheDefaultsWithoutAFile) {
    EXPECT_EQ(report(), "\n" + kRule84 + "\n  Could not find debug.config file " +
                            utf8(config().make_preferred()) + "\n  Debugging is disabled\n" +
                            disabled() + details("no", "$(auto)", "10", "1"));
    EXPECT_EQ(changes(), Lines());
}

TEST_F(DebugLoggingTest, TakesAFolderForAMissingFile) {
    fs::create_directories(config());
    EXPECT_EQ(report(), "\n" + kRule84 + "\n  Could not find debug.config file " +
                            utf8(config().make_preferred()) + "\n  Debugging is disabled\n" +
                            disabled() + details("no", "$(auto)", "10", "1"));
}

TEST_F(DebugLoggingTest, ReportsABrokenFileByTheFirstLetterOfItsPath) {
    write(config(), "<bag>\n<hmap>\n<p><k>logEnabled</k><t>bool</t>");
    EXPECT_EQ(report(), "\n" + kRule84 + "\n  Could not load debug.config file C\n" + disabled() +
                            details("no", "$(auto)", "10", "1"));
}

TEST_F(DebugLoggingTest, DoesNotFillInMissingKeys) {
    write(config(),
          "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<bag>\n<hmap>\n"
          "<p><k>logEnabled</k><t>bool</t><v>y</v></p>\n</hmap>\n</bag>\n");
    EXPECT_EQ(report(), "\n" + kRule84 + "\n" + enabled() + details("yes", "", "-1", "-1"));
}

TEST_F(DebugLoggingTest, ReportsWhatTheFileHolds) {
    write(config(), debugConfig("n", "D:\\logs\\\xD0\xAF.log", "-5", "255"));
    EXPECT_EQ(report(), "\n" + kRule84 + "\n" + disabled() +
                            details("no", "D:\\logs\\\xD0\xAF.log", "-5", "255"));
}

TEST_F(DebugLoggingTest, MovesTheLogsAsideAtEverySwitch) {
    write(folders_.addinData() / "debug.log", "one");
    write(folders_.addinData() / "dump.log", "two");
    run({L"-enableDebugging"});
    EXPECT_PRED2(hasForm, joined(changes()),
                 "new " + kData + "debug.config\ngone " + kData + "debug.log\nnew " + kData +
                     "debug.log" + kStamp + "gone " + kData + "dump.log\nnew " + kData +
                     "dump.log" + kStamp);
    write(folders_.addinData() / "debug.log", "three");
    run({L"-disableDebugging"});
    EXPECT_EQ(changes().size(), 6u);
}

TEST_F(DebugLoggingTest, MovesACustomLogAsideInItsOwnFolder) {
    recordOnly();
    allow("Documents/");
    const fs::path log = (folders_.documents() / "own.log").make_preferred();
    write(log, "one");
    write(config(), debugConfig("n", utf8(log), "1", "2"));
    run({L"-logdiagnostics", L"-light", L"-noocat"});
    const Lines lines = changes();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "gone Documents/own.log");
    EXPECT_PRED2(hasForm, lines.back() + "\n", "new Documents/own.log" + kStamp);
}

TEST_F(DebugLoggingTest, AnEmptyLogNameMovesTheDumpLogOnly) {
    recordOnly();
    write(folders_.addinData() / "debug.log", "one");
    write(folders_.addinData() / "dump.log", "two");
    write(config(), debugConfig("n", "", "1", "2"));
    run({L"-logdiagnostics", L"-light", L"-noocat"});
    EXPECT_TRUE(fs::exists(folders_.addinData() / "debug.log"));
    EXPECT_FALSE(fs::exists(folders_.addinData() / "dump.log"));
}

TEST_F(DebugLoggingTest, NamesALogThatCannotBeMovedAndSwitchesAllTheSame) {
    const fs::path log = (folders_.addinData() / "debug.log").make_preferred();
    write(log, "one");
    const LockedFile lock(log);
    const std::string output = run({L"-enableDebugging"});
    const std::string path = utf8(log);
    ASSERT_TRUE(output.starts_with(kBanner + ("could not rename " + path + " to " + path)))
        << output;
    const std::string rest = output.substr(std::string(kBanner).size() + path.size() * 2 + 21);
    EXPECT_PRED2(hasForm, rest.substr(0, rest.find('\n') + 1), kStamp);
    EXPECT_EQ(rest.substr(rest.find('\n') + 1), kEnabled);
    EXPECT_EQ(read(config()), debugConfig("y", "$(auto)", "10", "1"));
}

TEST_F(DebugLoggingTest, AFileThatCannotBeWrittenStaysAsItIs) {
    write(config(), debugConfig("n", "$(auto)", "3", "4"));
    const LockedFile lock(config());
    EXPECT_EQ(run({L"-enableDebugging"}), std::string(kBanner) + kDisabled);
    EXPECT_EQ(read(config()), debugConfig("n", "$(auto)", "3", "4"));
}

TEST_F(DebugLoggingTest, DoesNotMakeTheAddinsFolder) {
    fs::remove_all(folders_.addinData());
    EXPECT_EQ(run({L"-enableDebugging"}), std::string(kBanner) + kDisabled);
    EXPECT_EQ(changes(), Lines());
}

}  // namespace
}  // namespace zuplutil::test
