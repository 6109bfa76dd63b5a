#include "UtilityTest.h"

#include <algorithm>
#include <regex>
#include <sstream>

#include "StandIn.h"

namespace zuplutil::test {

namespace {

Lines linesOf(const fs::path& file) {
    Lines lines;
    std::istringstream in(read(file));
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

// clang-format off
std::string debugConfig(const std::string& enabled, const std::string& logFile,
                        const std::string& level, const std::string& options) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<bag>\n<hmap>\n"
           "<p><k>logEnabled</k><t>bool</t><v>" + enabled + "</v></p>\n"
           "<p><k>logOptions</k><t>long</t><v>" + options + "</v></p>\n"
           "<p><k>logFile</k><t>string</t><v>" + logFile + "</v></p>\n"
           "<p><k>logLevel</k><t>long</t><v>" + level + "</v></p>\n"
           "</hmap>\n</bag>\n";
}
// clang-format on

fs::path builtProgram(const std::string& path) {
    std::wstring own(MAX_PATH, L'\0');
    own.resize(GetModuleFileNameW(nullptr, own.data(), MAX_PATH));
    return fs::path(own).parent_path().parent_path() / fs::path(path).make_preferred();
}

fs::path shippedProgram() {
    return builtProgram(sizeof(void*) == 8 ? "bin/zuplutil.exe" : "bin/zuplutil32.exe");
}

bool hasForm(const std::string& text, const std::string& expression) {
    return std::regex_match(text, std::regex(expression));
}

UtilityTest::UtilityTest(const std::wstring& name)
    : folders_(name), allowed_{"Desktop/PelloryDiagnostics/", kData} {
    // Wine starts the desktop's process with the first window; not as a child of
    // a program under test.
    GetDesktopWindow();
    environment_ = {
        {L"TESTROOT", folders_.root().wstring()},
        {L"APPDATA", folders_.roaming().wstring()},
        {L"COMSPEC", builtProgram("tests/support/command_recorder.exe").wstring()},
        {L"PELLORY_RECORD", (folders_.bench() / "commands.txt").wstring()},
        {L"PELLORY_EXPLORER", (folders_.bench() / "explored.txt").wstring()},
        {L"PATH",
         builtProgram("standins").wstring() + L';' + standin::environmentVariable(L"PATH")},
    };
}

void UtilityTest::TearDown() {
    for (const auto& process : processes_) {
        EXPECT_FALSE(process->isRunning()) << "the program was left running";
        EXPECT_EQ(process->processesAlive(), 0u) << "a child process was left";
        process->kill();
    }
    for (const std::string& change : changes()) {
        const std::string path = change.substr(change.find(' ') + 1);
        EXPECT_TRUE(
            path != kData + "training.dat" &&
            std::any_of(allowed_.begin(), allowed_.end(),
                        [&](const std::string& allowed) { return path.starts_with(allowed); }))
            << "must not happen: " << change;
    }
}

UtilityProcess& UtilityTest::start(const std::vector<std::wstring>& arguments,
                                   const fs::path& program) {
    if (!before_) {
        before_ = filesBelow(folders_.root());
    }
    const bool isQuick = program.empty() && !environment_[L"PELLORY_RECORD_ONLY"].empty();
    processes_.push_back(
        std::make_unique<UtilityProcess>(isQuick ? builtProgram("tests/support/collect_driver.exe")
                                         : program.empty() ? shippedProgram()
                                                           : program,
                                         arguments, folders_.start(), environment_));
    return *processes_.back();
}

std::string UtilityTest::run(const std::vector<std::wstring>& arguments, int exitCode) {
    UtilityProcess& process = start(arguments);
    process.closeInput();
    EXPECT_EQ(process.exitCode(), exitCode);
    return process.output();
}

std::string UtilityTest::runMenu(const std::vector<std::string>& choices) {
    UtilityProcess& process = start();
    for (const std::string& choice : choices) {
        process.answer(kMenuPrompt, choice);
    }
    process.answer(kMenuPrompt, "0");
    EXPECT_EQ(process.exitCode(), 0);
    return process.output();
}

std::string UtilityTest::saidAtStart() {
    const std::string all = runMenu({});
    return all.substr(0, all.find("------"));
}

Lines UtilityTest::commands() const {
    Lines lines = linesOf(folders_.bench() / "commands.txt");
    for (std::string& line : lines) {
        const std::string prefix = "cmd /S /C \"";
        EXPECT_TRUE(line.starts_with(prefix) && line.ends_with("\"")) << line;
        line = line.substr(prefix.size(), line.size() - prefix.size() - 1);
    }
    return lines;
}

Lines UtilityTest::explored() const { return linesOf(folders_.bench() / "explored.txt"); }

Lines UtilityTest::changes() const {
    return before_ ? differences(*before_, filesBelow(folders_.root())) : Lines();
}

void UtilityTest::forgetCommands() const { fs::remove(folders_.bench() / "commands.txt"); }

LockedFile::LockedFile(const fs::path& file)
    : handle_(CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                          nullptr)) {
    EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
}

RunningProgram::RunningProgram(const TestFolders& folders, const std::wstring& name) {
    const fs::path program = folders.bench() / name;
    fs::copy_file(builtProgram("tests/support/sleeper.exe"), program,
                  fs::copy_options::overwrite_existing);
    process_ = std::make_unique<UtilityProcess>(program, std::vector<std::wstring>(),
                                                folders.bench(), Environment());
}

RunningProgram::~RunningProgram() {
    process_->closeInput();
    process_->exitCode();
}

}  // namespace zuplutil::test
