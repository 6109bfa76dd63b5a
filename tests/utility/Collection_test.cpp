// What a collection leaves behind: the archive, the README, and nothing else.

#include "UtilityTest.h"

namespace zuplutil::test {
namespace {

// As the C runtime writes text.
std::string withCarriageReturns(const std::string& text) {
    std::string result;
    for (const char character : text) {
        result += character == '\n' ? "\r\n" : std::string(1, character);
    }
    return result;
}

// What is printed up to the archive, without what the console alone is told.
std::string transcriptOf(const TestFolders& folders, const std::string& whatItFound) {
    const std::string rule(98, '-');
    return kBanner + ("\n\n" + rule) +
           "\nStarting collection of diagnostics.\n\n"
           "This can take a while. Please wait until the message \"Completed collection of "
           "diagnostics\" appears.\n" +
           rule +
           "\n\n"
           "Using standard logging level.\n"
           "Running on 32-bit system\n"
           "Current working dir is " +
           backslashed(folders.start()) + "\n" + whatItFound +
           "Switching to diagnostics logs directory " + backslashed(folders.logs()) +
           "\n"
           "Copying Pellory debug settings and log...\n"
           "Testing connection to Pellory add-in\n"
           "attempting to connect to Pellory add-in\n"
           "could not get classid for Pellory.Connect\n"
           "Logging outlook registry settings and classes...\n"
           "Logging installed products...\n"
           "Logging system information...\n"
           "Logging environment variables...\n"
           "Logging running processes...\n"
           "Logging outlook application events...\n"
           "Main collection phase complete.\n";
}

std::string readmeOf(const TestFolders& folders) {
    return "Completed collection of diagnostics for Pellory support.\n\n"
           "What to do next?\n"
           "----------------\n"
           "Please locate the file " +
           backslashed(folders.zip()) +
           "\n"
           "and send it to support@pellory.example along with any support ticket number that you "
           "may have received before.\n\n"
           "(You can find this file in a folder named '" +
           backslashed(folders.diagnostics()) +
           "' that has been created on your PC.)\n\n"
           "Please note:\n"
           "------------\n"
           "The log files contained within the zip file could contain potentially sensitive "
           "information,\n"
           "including, but not limited to your user name, your email addresses, your Outlook "
           "folder "
           "names,\n"
           "installed product versions, installed Outlook add-in versions, and system event log "
           "messages.\n"
           "However, the log files should normally not contain any email content.\n\n"
           "In case of doubt, feel free to edit out any sensitive material in the files first "
           "before sending them to us.\n"
           "(in that case, please replace any deleted sections with the text '**DELETED**')\n";
}

class CollectionTest : public UtilityTest, public ::testing::WithParamInterface<const wchar_t*> {
protected:
    CollectionTest() : UtilityTest(GetParam()) {
        // Whose name is what an interpreter may take for the user's.
        const std::wstring name = GetParam();
        write(folders_.bench() / name.substr(0, name.find_first_of(L" &^%;=,")) / "debug.log",
              "the neighbour's");
    }
};

TEST_P(CollectionTest, nameWithSigns_collected_leavesArchiveAndReadmeAlone) {
    const wchar_t* const key = L"Software\\Microsoft\\Office\\Outlook";
    RegSetKeyValueW(HKEY_CURRENT_USER, key, L"PelloryTest", REG_SZ, L"mark", 10);
    const std::string config = debugConfig("n", "$(auto)", "3", "5");
    const std::map<std::string, std::string> logs = {
        {"debug.config", config},
        {"debug.log", "a line\r\n"},
        {"dump.log", std::string("\0\1\2", 3)},
        {"debug.log-2016-11-14-16;39;59;123.bak", "older"},
        {"dump.log-2016-11-14-16;39;59;123.bak", "older dump"}};
    for (const auto& [name, content] : logs) {
        write(folders_.addinData() / name, content);
    }
    const std::string output = run(kStandard);
    RegDeleteTreeW(HKEY_CURRENT_USER, key);
    SCOPED_TRACE(output);
    ASSERT_TRUE(fs::exists(folders_.zip()));
    auto zip = readZip(folders_.zip());
    for (const auto& [name, content] : logs) {
        EXPECT_EQ(zip.count(name), 1u) << name;
        EXPECT_EQ(zip[name], content) << name;
    }
    EXPECT_EQ(zip["plutil.log"], withCarriageReturns(transcriptOf(folders_, "") + "\n"));
    EXPECT_EQ(zip["misc-pelloryconnect.log"],
              "attempting to connect to Pellory add-in\r\n"
              "could not get classid for Pellory.Connect\r\n");
    const std::pair<const char*, std::string> parts[] = {
        {"reg-32-hkcu-outlook.log", std::string("P\0e\0l\0l\0o\0r\0y\0T", 15)},
        {"misc-envvars.log", "TESTROOT="},
        {"dir-plappdata.log", "Pellory data dir = "},
        {"dir-plappdata.log", "training.dat"}};
    for (const auto& [name, part] : parts) {
        // This Wine's dir takes a folder with a per cent in its name for a file.
        EXPECT_TRUE(zip[name].find(part) != std::string::npos ||
                    (part == "training.dat" && utf8(GetParam()).find('%') != std::string::npos))
            << name;
    }
    EXPECT_EQ(zip.count("training.dat"), 0u);

    EXPECT_EQ(read(folders_.diagnostics() / "README.txt"),
              withCarriageReturns(readmeOf(folders_) + "\n"));
    EXPECT_EQ(explored(), Lines{backslashed(folders_.diagnostics())});
    EXPECT_TRUE(output.ends_with("\nLog files zipped.\nRemoving temp log directory " +
                                 backslashed(folders_.logs()) + "...\n\n\n" +
                                 std::string(106, '-') + "\n" + readmeOf(folders_) +
                                 std::string(106, '-') + "\n"));
    EXPECT_NE(output.find("\nLogging directories...\n"), std::string::npos);

    // The logs that the probe found have become backups.
    EXPECT_PRED2(hasForm, joined(changes()),
                 "gone " + kData + "debug.log\nnew " + kData + "debug.log" + kStamp + "gone " +
                     kData + "dump.log\nnew " + kData + "dump.log" + kStamp +
                     "new Desktop/PelloryDiagnostics/\n"
                     "new Desktop/PelloryDiagnostics/PelloryDiagnosticsLogs.zip\n"
                     "new Desktop/PelloryDiagnostics/README.txt\n");
}

INSTANTIATE_TEST_SUITE_P(Names, CollectionTest,
                         ::testing::Values(L"B\u00fcro=a;b,c! it's \u30c7 \u0420\U0001F600",
                                           L"100% R&D^2 (%TEMP%TMP%)"));

using CollectionTwiceTest = UtilityTest;

TEST_F(CollectionTwiceTest, packing_failed_keepsAndNamesTheLogs) {
    const std::string logs = backslashed(folders_.logs());
    const std::string zip = backslashed(folders_.zip());
    const fs::path script = folders_.diagnostics() / "plutil_zip.vbs";
    // What fails: the script cannot be written, run or finished, the last archive
    // cannot be deleted. Whether there is an archive then, and what is said.
    const std::tuple<const char*, bool, std::string> kFailures[] = {
        {"write", false,
         "Could not delete file " + backslashed(script) + " (Directory:deleteFile() failed)\n"},
        {"run", false, ""},
        {"finish", true, ""},
        {"delete", true, "Could not delete file " + zip + " (Directory:deleteFile() failed)\n"}};
    for (const auto& [failure, hasArchive, line] : kFailures) {
        SCOPED_TRACE(failure);
        fs::remove_all(folders_.diagnostics());
        write(folders_.zip(), "the last archive, which would be taken for the new one");
        write(folders_.logs() / "stale.log", "the last log");
        environment_[L"PELLORY_ZIP_GATE"] = L"never";
        environment_[L"PELLORY_RECORD_ONLY"] = *failure == 'f' ? L"" : L"1";
        fs::create_directories(*failure == 'w' ? script : folders_.diagnostics());
        std::optional<LockedFile> lock;
        if (*failure == 'd') {
            lock.emplace(folders_.zip());
        }
        forgetCommands();
        const std::string output = run(kStandard);
        EXPECT_NE(
            output.find(line + "Could not pack the log files; they are kept in " + logs + "\n"),
            std::string::npos)
            << output;
        EXPECT_EQ(output.find("Log files zipped."), std::string::npos);
        EXPECT_EQ(fs::exists(folders_.zip()), hasArchive);
        const std::string readme = readmeOf(folders_);
        EXPECT_EQ(
            read(folders_.diagnostics() / "README.txt"),
            withCarriageReturns(
                readme.substr(0, readme.find("Please locate")) +
                "The log files could not be packed. Please locate those in " + logs +
                "\nand send them to support@pellory.example along with any support ticket "
                "number that you may have received before.\n\n" +
                (hasArchive ? "(Please do not send " + zip + ": these log files are not in it.)\n\n"
                            : "") +
                "Please note:\n------------\nThe log files could" +
                readme.substr(readme.find(" contain potentially")) + "\n"));
        EXPECT_EQ(joined(commands()).find("rmdir"), std::string::npos);
        EXPECT_FALSE(fs::exists(folders_.logs() / "stale.log"));
        EXPECT_TRUE(read(folders_.logs() / "plutil.log")
                        .starts_with(withCarriageReturns(
                            transcriptOf(folders_, "Deleting old log files in " + logs + "\n"))));
    }
}

TEST_F(CollectionTwiceTest, shell_stillPacking_isWaitedFor) {
    const fs::path gate = folders_.bench() / "gate";
    environment_[L"PELLORY_ZIP_GATE"] = gate.wstring();
    UtilityProcess& utility = start(kStandard);
    EXPECT_TRUE(utility.waitFor("\nWaiting until the archive is complete...\n"));
    write(gate, "");
    EXPECT_TRUE(utility.waitFor("Log files zipped.\nRemoving temp log directory "));
    EXPECT_EQ(utility.exitCode(), 0);
    EXPECT_TRUE(readZip(folders_.zip()).contains("plutil.log"));
    while (utility.processesAlive() > 0) {
        Sleep(5);
    }
}

TEST_F(CollectionTwiceTest, folderOrOldLog_inTheWay_endsTheCollection) {
    const fs::path old = folders_.logs() / "old.log";
    write(old, "still open");
    {
        const LockedFile lock(old);
        const std::string output = run(kStandard);
        EXPECT_TRUE(output.ends_with("Deleting old log files in " + backslashed(folders_.logs()) +
                                     "\nCould not delete file " + backslashed(old) +
                                     " (Directory:deleteFile() failed)\n"))
            << output;
        EXPECT_EQ(changes(), Lines());
    }
    fs::remove_all(folders_.diagnostics());
    write(folders_.diagnostics(), "a file of that name");
    allow("Desktop/PelloryDiagnostics");
    EXPECT_TRUE(run(kStandard).ends_with("Could not create directory " +
                                         backslashed(folders_.diagnostics()) +
                                         " (Directory:createDirectory() failed)\n"));
    EXPECT_EQ(commands(), Lines());
}

TEST_F(CollectionTwiceTest, desktop_onAShare_gathersInALocalFolder) {
    // Not a drive's path either: what the interpreter refuses begins like this.
    environment_[L"TESTROOT"] = L"\\\\?\\" + folders_.root().wstring();
    write(folders_.addinData() / "debug.log", "a line");
    const fs::path local = fs::temp_directory_path() / "PelloryDiagnostics";
    const std::string output = run(kStandard);
    EXPECT_NE(output.find("\nThe desktop is on a network share; collecting in " +
                          backslashed(local) + "\nSwitching to diagnostics logs directory " +
                          backslashed(local / "PelloryLogs") + "\n"),
              std::string::npos)
        << output;
    EXPECT_NE(output.find("\nPlease locate the file \\\\?\\" + backslashed(folders_.zip()) + "\n"),
              std::string::npos);
    EXPECT_EQ(readZip(folders_.zip())["debug.log"], "a line");
    EXPECT_TRUE(fs::exists(folders_.diagnostics() / "README.txt"));
    EXPECT_EQ(fs::remove_all(local), 0u) << "nothing is left there";
}

TEST_F(CollectionTwiceTest, desktop_missing_goesToTheDocuments) {
    recordOnly();
    allow("Documents/PelloryDiagnostics/");
    fs::remove_all(folders_.desktop());
    run(kStandard);
    EXPECT_TRUE(fs::exists(folders_.documents() / "PelloryDiagnostics/README.txt"));
    EXPECT_FALSE(fs::exists(folders_.desktop()));
}

}  // namespace
}  // namespace zuplutil::test
