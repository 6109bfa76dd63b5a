// The command line: which switch wins, what it prints, how it ends.

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

class SwitchesTest : public UtilityTest {
protected:
    void refuses(const std::vector<std::wstring>& arguments) {
        UtilityProcess& utility = start(arguments);
        EXPECT_EQ(utility.exitCode(), 1);
        EXPECT_EQ(utility.output(), kBanner);
        EXPECT_EQ(utility.errors(), "invalid arguments\n");
        EXPECT_EQ(changes(), Lines());
    }
    bool hasCollected() const { return std::filesystem::exists(folders_.diagnostics()); }
    bool hasConfig() const {
        return std::filesystem::exists(folders_.addinData() / "debug.config");
    }
};

TEST_F(SwitchesTest, ArgumentsWithoutActionAreRefused) {
    for (const auto& arguments : std::vector<std::vector<std::wstring>>{{L"foo"},
                                                                        {L""},
                                                                        {L"-pause"},
                                                                        {L"-light"},
                                                                        {L"-noocat", L"-light"},
                                                                        {L"-unknown"},
                                                                        {L"enableDebugging"},
                                                                        {L"/enableDebugging"},
                                                                        {L"-enableDebuggin"}}) {
        SCOPED_TRACE(utf8(arguments.front()));
        refuses(arguments);
    }
}

TEST_F(SwitchesTest, EnablesAndDisablesLogging) {
    EXPECT_EQ(run({L"-enableDebugging"}), std::string(kBanner) + kEnabled);
    EXPECT_EQ(read(folders_.addinData() / "debug.config"), debugConfig("y", "$(auto)", "10", "1"));
    EXPECT_EQ(run({L"-disableDebugging"}), std::string(kBanner) + kDisabled);
    EXPECT_EQ(read(folders_.addinData() / "debug.config"), debugConfig("n", "$(auto)", "10", "1"));
    EXPECT_EQ(commands(), Lines());
}

TEST_F(SwitchesTest, CaseOtherArgumentsAndUnknownSwitchesDoNotMatter) {
    EXPECT_EQ(run({L"foo", L"-unknown", L"-ENABLEdebugging", L"-EnableDebugging"}),
              std::string(kBanner) + kEnabled);
}

TEST_F(SwitchesTest, TheEarlierActionWinsWhereverItStands) {
    recordOnly();
    write(folders_.addinData() / "debug.config", debugConfig("y", "$(auto)", "10", "1"));
    EXPECT_EQ(run({L"-disableDebugging", L"-enableDebugging"}), std::string(kBanner) + kEnabled);
    run({L"-disableDebugging", L"-LogDiagnostics", L"-light", L"-noocat"});
    EXPECT_TRUE(hasCollected());
    EXPECT_EQ(read(folders_.addinData() / "debug.config"), debugConfig("y", "$(auto)", "10", "1"));
}

TEST_F(SwitchesTest, RemovalOfSettingsComesBeforeEverything) {
    // There are no settings files: nothing is asked and nothing is done.
    EXPECT_EQ(run({L"-logdiagnostics", L"-enableDebugging", L"-askremovesettings"}), kBanner);
    EXPECT_EQ(changes(), Lines());
}

TEST_F(SwitchesTest, PausesAfterTheAction) {
    UtilityProcess& utility = start({L"-Pause", L"-enableDebugging"});
    EXPECT_TRUE(utility.waitFor(kEnabled));
    utility.answer(kKeyPrompt, "x");
    EXPECT_EQ(utility.exitCode(), 0);
    EXPECT_EQ(utility.output(), std::string(kBanner) + kEnabled + kKeyPrompt);
    EXPECT_EQ(utility.errors(), "");
    EXPECT_TRUE(hasConfig());
}

}  // namespace
}  // namespace zuplutil::test
