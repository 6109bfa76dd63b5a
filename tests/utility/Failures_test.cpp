// Each allocation and each call of the system fails once, and each that changes something kills.

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

struct Action {
    std::string name;
    Words arguments;
    const char* choices;
};

const Action kActions[] = {{"collection", {L"-logdiagnostics"}, ""},
                           {"guided", {}, "11"},
                           {"switch", {L"-enableDebugging"}, ""},
                           {"settings", {}, "5"},
                           {"clean-up", {}, "7"}};

const char* const kFiles[] = {"debug.log", "dump.log", "debug.log-1.bak", "settings_1.config"};
const std::string kMine = debugConfig("n", "$(auto)", "7", "3");
const std::string kOn = debugConfig("y", "$(auto)", "10", "1");

bool said(const std::string& text) { return play.story.find(text) != std::string::npos; }
bool saidWhatFailed() {
    return said("Sorry, this ") || said("Could not ") || said("Cannot ") || said("still there");
}

class FailuresTest : public UtilityTest {
protected:
    void prepare(const Action& action) {
        fs::current_path(start());
        fs::remove_all(diagnostics());
        fs::remove_all(root() / "Documents" / "PelloryDiagnostics");
        fs::remove_all(data());
        write(config(), kMine);
        for (const char* name : kFiles) {
            write(data() / name, name);
        }
        if (action.arguments.empty()) {
            write(diagnostics() / "README.txt", "the last one");
            write(logs() / "stale.log", "the last one");
        }
    }

    static int performAction(const Action& action, int n, Mode how) {
        const char* next = action.choices;
        int keys = 0;
        play.typed = [&]() -> std::string {
            if (play.story.ends_with(kMenuPrompt)) {
                return {*next != '\0' ? *next++ : '0', '\n'};
            }
            // Outlook starts and ends as the user is asked for it.
            play.processes.assign(++keys % 3 == 0 ? 0 : 1, L"OUTLOOK.EXE");
            return play.story.ends_with("<Enter>...\n") ? "y\n" : "\n";
        };
        play.processes.clear();
        play.onCommand = &obey;
        return perform(utility(action.arguments), n, how);
    }

    // What the run left, against what it said.
    void expectHonest(const std::string& action) const {
        const FileContents left = filesBelow(root());
        // What cannot tell the desktop takes the documents.
        const bool isElsewhere = said("logs directory " + backslashed(root() / "Documents"));
        const std::string place = isElsewhere ? "Documents/PelloryDiagnostics/" : kDiagnostics;
        if (action == "collection" || action == "guided") {
            EXPECT_TRUE(said("Completed collection of diagnostics for") || saidWhatFailed());
            if (said("Please locate the file ")) {
                const std::string& archive = left.at(place + "PelloryDiagnosticsLogs.zip");
                EXPECT_TRUE(archive.find("plutil.log") != archive.npos || saidWhatFailed());
            }
            EXPECT_TRUE(!said("could not be packed") || left.contains(place + "PelloryLogs/"));
        } else if (action == "switch") {
            EXPECT_TRUE(!said("currently enabled") || left.at(kData + "debug.config") == kOn);
        } else if (action == "settings") {
            EXPECT_TRUE(!left.contains(kData + "settings_1.config") || saidWhatFailed());
        } else if (said("Completed cleaning up")) {
            for (const auto& [path, content] : left) {
                EXPECT_PRED2(hasForm, path, "(?!" + kDiagnostics + "|" + kData + "d).*");
            }
        }
    }

    // The user's files after the next run: as they were or as asked.
    void expectKept(const std::string& action) const {
        performAction({"mend", {}, ""}, 0, Mode::kFail);
        const FileContents left = filesBelow(root());
        const std::string config = kData + "debug.config";
        const bool isCleanUp = action == "clean-up";
        EXPECT_TRUE(left.contains(config)
                        ? left.at(config) == kMine || (action == "switch" && left.at(config) == kOn)
                        : isCleanUp);
        for (const char* name : kFiles) {
            const auto isFile = [&](const auto& file) {
                return file.first.starts_with(kData + name) && file.second == name;
            };
            const bool mayGo = action == "settings" ? *name == 's' : isCleanUp && *name == 'd';
            EXPECT_TRUE(mayGo || std::any_of(left.begin(), left.end(), isFile)) << name;
        }
        EXPECT_FALSE(left.contains(config + ".kept"));
        EXPECT_PRED2(hasForm, changed(),
                     "((new|changed|gone) ((Desktop|Documents)/PelloryDiagnostics/|" + kData +
                         "(debug\\.|dump\\.|settings_1\\.config|training\\.dat)).*\n)*");
    }
    void TearDown() override {}
};

TEST_F(FailuresTest, everyCall_failsOnce_isToldAndLeavesTheUsersFiles) {
    for (const Action& action : kActions) {
        int n = 0;
        int retries = 0;
        for (bool isOver = false; !isOver && !HasFailure();) {
            prepare(action);
            const int exitCode = performAction(action, ++n, Mode::kFail);
            SCOPED_TRACE(action.name + " " + std::to_string(n) + play.story);
            // The collection that the guided one ends with is the other one's matter.
            isOver = play.failedCall == nullptr || (play.isCollecting && action.arguments.empty());
            EXPECT_TRUE(exitCode == 0 || (exitCode == 1 && saidWhatFailed()));
            EXPECT_NE(fs::current_path(), logs());
            retries += play.slept == 50 ? 1 : 0;
            // Which opens what the utility itself writes, and nothing else.
            EXPECT_TRUE(isOver || play.failedCall != std::string("fopen") || saidWhatFailed());
            expectHonest(action.name);
            expectKept(action.name);
        }
        EXPECT_GT(n, 100);
        EXPECT_EQ(retries, *action.choices < '5' ? 1 : 0) << "to keep the debug settings";
    }
}

// The commands and changes of a run, one after another, are its last.
TEST_F(FailuresTest, killBeforeEveryChange_nextRun_putsTheUsersFilesRight) {
    // The number of the action and that of the change before which to be killed, and where.
    if (std::getenv("PELLORY_KILL") != nullptr) {
        const std::string order = std::getenv("PELLORY_KILL");
        const fs::path root = std::getenv("PELLORY_ROOT");
        setVariable(L"TESTROOT", root.wstring());
        fs::current_path(root / "start");
        performAction(kActions[order[0] - '0'], std::stoi(order.substr(1)), Mode::kKill);
        return;
    }
    setVariable(L"PELLORY_ROOT", root().wstring());
    for (const int number : {0, 1, 2}) {
        const Action& action = kActions[number];
        int kills = 0;
        for (UINT exitCode = kKilled; exitCode == kKilled && !HasFailure(); ++kills) {
            prepare(action);
            setVariable(L"PELLORY_KILL", std::to_wstring(number) + std::to_wstring(kills + 1));
            UtilityProcess process(builtProgram("bin/utility_collection_tests.exe"),
                                   L"--gtest_filter=*killBeforeEveryChange*");
            exitCode = process.exitCode();
            SCOPED_TRACE(action.name + " " + std::to_string(kills) + process.output());
            expectKept(action.name);
        }
        EXPECT_GT(kills, 5);
    }
    setVariable(L"PELLORY_KILL", L"");
}

}  // namespace
}  // namespace zuplutil::test
