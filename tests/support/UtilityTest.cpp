#include "UtilityTest.h"

#include <algorithm>
#include <iostream>

#include <shellapi.h>

#include "Console.h"
#include "ProbeProcess.h"
#include "Utility.h"
#include "ZipWriter.h"

namespace zuplutil::test {

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

std::string reportOf(bool enabled, const std::string& before, const std::string& details) {
    const std::string rule(84, '-');
    return "\n" + rule + "\n" + before + "Pellory Debug Logging is currently " +
           (enabled ? "enabled.\n\nPlease note:\nOutlook might appear to run a little slower than "
                      "usual while Pellory debug logging is enabled.  This is normal.\n"
                    : "disabled.\n") +
           details + rule + "\n\n";
}

FileContents filesBelow(const fs::path& folder) {
    FileContents files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        std::string path = utf8(entry.path().lexically_relative(folder));
        std::replace(path.begin(), path.end(), '\\', '/');
        files[path + (entry.is_directory() ? "/" : "")] =
            entry.is_directory() ? "" : read(entry.path());
    }
    return files;
}

FileContents readZip(const fs::path& archive) {
    const std::string bytes = read(archive);
    const auto number = [&bytes](std::size_t at) {
        std::uint32_t value = 0;
        bytes.copy(reinterpret_cast<char*>(&value), sizeof(value), at);
        return value;
    };
    // The entries lie one after another, each behind its record.
    FileContents files;
    for (std::size_t at = 0; at < bytes.size() && number(at) == 0x04034B50;) {
        const std::size_t size = number(at + 18);
        const std::size_t nameSize = number(at + 26);
        files[bytes.substr(at + 30, nameSize)] = bytes.substr(at + 30 + nameSize, size);
        at += 30 + nameSize + size;
    }
    return files;
}

std::string zipOf(const fs::path& folder) {
    ZipWriter writer;
    for (const auto& [name, content] : filesBelow(folder)) {
        writer.add(name, content);
    }
    return writer.bytes();
}

namespace {

// Names of variables between per cents are replaced, others stay; then a caret outside of quotes
// goes and what follows it stays; an operator outside of quotes ends the command. (This Wine's
// interpreter is more lenient.)
std::string interpreted(std::string line) {
    for (std::size_t at = 0; (at = line.find('%', at)) != line.npos;) {
        const std::size_t end = line.find('%', at + 1);
        const char* const value =
            end == line.npos ? nullptr : std::getenv(line.substr(at + 1, end - at - 1).c_str());
        line.replace(at, value != nullptr ? end + 1 - at : 1, value != nullptr ? value : "%");
        at += value != nullptr ? std::string_view(value).size() : 1;
    }
    std::string result;
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        quoted = quoted != (line[i] == '"');
        if (!quoted && line[i] == '^') {
            ++i;
        } else if (!quoted && (line[i] == '&' || line[i] == '|')) {
            break;
        }
        result += line[i];
    }
    return result;
}

}  // namespace

std::string reached(const std::string& line) {
    const std::string inner = interpreted("cmd /S /C \"" + line + "\"");
    return interpreted(inner.substr(11, inner.size() - 12));
}

void UtilityTest::moveTo(const std::wstring& name) {
    static int count = 0;
    play = {};
    discard();
    // Wine starts the desktop's process with the first window; not as a child of
    // a program under test.
    GetDesktopWindow();
    do {
        bench_ = fs::temp_directory_path() / ("pellory-" + std::to_string(GetCurrentProcessId()) +
                                              "-" + std::to_string(++count));
    } while (fs::exists(bench_));
    root_ = bench_ / name;
    fs::create_directories(root_ / "Documents");
    fs::create_directories(start());
    write(root_ / "Desktop/PelloryDiagnostics2/keep.txt", "a neighbour");
    write(root_ / "AppData/Roaming/Pellory For Outlook 2/debug.log", "another add-in's log");
    write(root_ / "AppData/Roaming/Pellory For Outlook 2/settings_1.config", "another's settings");
    write(data() / "training.dat", "nobody's business");
    setVariable(L"TESTROOT", root_.wstring());
    // Script host and Explorer of the tests' own.
    static const std::wstring path = _wgetenv(L"PATH");
    setVariable(L"PATH", builtProgram("standins").wstring() + L";" + path);
    setVariable(L"APPDATA", (root_ / "AppData/Roaming").wstring());
    fs::current_path(start());
    give();
}

UtilityTest::~UtilityTest() { discard(); }

void UtilityTest::discard() const {
    std::error_code ignored;
    fs::current_path(fs::temp_directory_path());
    fs::remove_all(bench_, ignored);
}

void UtilityTest::TearDown() {
    EXPECT_PRED2(hasForm, changed(),
                 "((gone|new|changed) (" + allowed_ + "|" + kData + "(?!training)).*\n)*");
}

std::function<int()> UtilityTest::utility(const Words& arguments) {
    static Words words;
    static std::vector<wchar_t*> pointers;
    words = arguments;
    words.insert(words.begin(), L"zuplutil");
    pointers.clear();
    for (std::wstring& word : words) {
        pointers.push_back(word.data());
    }
    clearTranscript();
    return [] { return runUtility(static_cast<int>(pointers.size()), pointers.data()); };
}

void UtilityTest::obey(std::string command) {
    const bool isQuoted = std::erase(command, '"') != 0;
    for (std::size_t at; (at = command.find("\\\\?\\")) != command.npos;) {
        command.erase(at, 4);
    }
    if (command.starts_with("CScript ")) {
        const std::size_t source = command.find(".vbs ") + 5;
        const std::size_t archive = command.find("PelloryLogs ", source) + 12;
        if (fs::is_regular_file(pathOf(command.substr(8, source - 9)))) {
            write(pathOf(command.substr(archive)),
                  zipOf(pathOf(command.substr(source, archive - 1 - source))));
        }
    } else if (command.starts_with("rmdir /s /q ")) {
        std::error_code left;
        for (std::size_t at = 12; at < command.size();) {
            const std::size_t end =
                isQuoted ? command.size()
                         : std::min(command.find_first_of(" \t\v\f,;=", at), command.size());
            fs::remove_all(pathOf(command.substr(at, end - at)), left);
            at = end + 1;
        }
    }
}

std::string UtilityTest::run(const Words& arguments, const Lines& answers, int exitCode) {
    std::size_t next = 0;
    play.typed = [&] {
        EXPECT_EQ(play.codePage, GetACP());
        const std::string answer = next < answers.size() ? answers[next++] : "0";
        return answer == kEndOfInput ? "" : answer + "\n";
    };
    EXPECT_EQ(perform(utility(arguments)), exitCode);
    EXPECT_EQ(next, answers.size()) << "not all was asked for: " << play.story;
    play.typed = nullptr;
    return play.story;
}

std::string UtilityTest::changed() const {
    const FileContents after = filesBelow(root_);
    FileContents both = before_;
    both.insert(after.begin(), after.end());
    std::string text;
    for (const auto& [path, content] : both) {
        const bool isThere = after.contains(path);
        if (!isThere || !before_.contains(path) || after.at(path) != before_.at(path)) {
            text += (!isThere                 ? "gone "
                     : before_.contains(path) ? "changed "
                                              : "new ") +
                    path + "\n";
        }
    }
    return text;
}

LockedFile::LockedFile(const fs::path& file)
    : handle_(CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                          nullptr)) {
    EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
}

}  // namespace zuplutil::test

// A test program is the add-in's process, too, and the interpreter that says what it is given.
int main(int argc, char** argv) {
    const std::string line = zuplutil::test::utf8(GetCommandLineW());
    if (const std::size_t at = line.find(" /c cmd /S /C \""); at != line.npos) {
        const std::string command = line.substr(at + 15, line.size() - at - 16);
        std::cout << "$ " << command << std::endl;
        zuplutil::test::UtilityTest::obey(command);
        return 0;
    }
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    if (zuplutil::runAsProbeProcess(count, words)) {
        return 0;
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
