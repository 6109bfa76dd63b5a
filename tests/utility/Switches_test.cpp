// The command line: which switch wins, what it prints, how it ends.

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

using SwitchesTest = UtilityTest;

TEST_F(SwitchesTest, arguments_withoutAction_areRefused) {
    for (const auto& arguments :
         std::vector<std::vector<std::wstring>>{{L""},
                                                {L"-pause", L"-noocat", L"-light", L"foo"},
                                                {L"addin-probe", L"1"},
                                                {L"enableDebugging"},
                                                {L"/enableDebugging"},
                                                {L"-enableDebuggin"}}) {
        SCOPED_TRACE(utf8(arguments.front()));
        UtilityProcess& utility = start(arguments);
        EXPECT_EQ(utility.exitCode(), 1);
        EXPECT_EQ(utility.output(), kBanner);
        EXPECT_EQ(utility.errors(), "invalid arguments\n");
    }
    EXPECT_EQ(changes(), Lines());
}

TEST_F(SwitchesTest, severalActions_given_theEarlierInTheListWins) {
    // There are no settings files: nothing is asked and nothing is done.
    EXPECT_EQ(run({L"-logdiagnostics", L"-enableDebugging", L"-askremovesettings"}), kBanner);
    EXPECT_EQ(changes(), Lines());
    EXPECT_EQ(run({L"-disableDebugging", L"foo", L"-unknown", L"-ENABLEdebugging"}),
              std::string(kBanner) + kEnabled);
    recordOnly();
    run({L"-disableDebugging", L"-LogDiagnostics", L"-light", L"-noocat"});
    EXPECT_TRUE(fs::exists(folders_.diagnostics()));
    EXPECT_EQ(read(config()), debugConfig("y", "$(auto)", "10", "1"));
}

TEST_F(SwitchesTest, pause_given_waitsAfterTheAction) {
    UtilityProcess& utility = start({L"-Pause", L"-enableDebugging"});
    EXPECT_TRUE(utility.waitFor(kEnabled));
    utility.answer(kKeyPrompt, "x");
    EXPECT_EQ(utility.exitCode(), 0);
    EXPECT_EQ(utility.output(), std::string(kBanner) + kEnabled + kKeyPrompt);
    EXPECT_EQ(utility.errors(), "");
    EXPECT_TRUE(fs::exists(config()));
}

}  // namespace
}  // namespace zuplutil::test
