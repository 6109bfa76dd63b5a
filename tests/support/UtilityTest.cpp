#include "UtilityTest.h"

#include <shellapi.h>

#include <array>

#include "Console.h"
#include "ProbeProcess.h"
#include "Utility.h"

namespace zuplutil::test {

static const fs::path kTemporary = fs::temp_directory_path();

void UtilityTest::moveTo(const std::wstring& name) {
    static int count = 0;
    play = {};
    // Wine starts the desktop's process with the first window; not below a program under test.
    GetDesktopWindow();
    bench_ =
        kTemporary / ("pellory-" + std::to_string(GetCurrentProcessId())) / std::to_string(++count);
    // A killed process may have left one.
    fs::remove_all(bench_);
    root_ = bench_ / name;
    fs::create_directories(root_ / "Documents");
    fs::create_directories(start());
    write(root_ / "Desktop/PelloryDiagnostics2/keep.txt", "a neighbour");
    write(root_ / "AppData/Roaming/Pellory For Outlook 2/debug.log", "another add-in's log");
    write(root_ / "AppData/Roaming/Pellory For Outlook 2/settings_1.config", "another's settings");
    write(data() / "training.dat", "nobody's business");
    setVariable(L"TESTROOT", root_.wstring());
    setVariable(L"TMP", kTemporary.wstring());
    // Script host and Explorer of the tests' own.
    static const std::wstring path = _wgetenv(L"PATH");
    setVariable(L"PATH", builtProgram("standins").wstring() + L";" + path);
    fs::current_path(start());
    give();
}

UtilityTest::~UtilityTest() {
    std::error_code ignored;
    fs::current_path(kTemporary);
    fs::remove_all(bench_.parent_path(), ignored);
}

void UtilityTest::TearDown() {
    EXPECT_PRED2(hasForm, changed(),
                 "((gone|new|changed) (" + kDiagnostics + "|" + kData + "(?!training)).*\n)*");
}

std::function<int()> UtilityTest::utility(const Words& arguments) {
    clearTranscript();
    return [words = arguments]() mutable {
        wchar_t name[] = L"zuplutil";
        std::array<wchar_t*, 8> pointers = {name};
        std::size_t count = 1;
        for (std::wstring& word : words) {
            pointers[count++] = word.data();
        }
        return runUtility(static_cast<int>(count), pointers.data());
    };
}

void UtilityTest::obey(std::string command) {
    const bool isQuoted = std::erase(command, '"') != 0;
    command = std::regex_replace(command, std::regex(R"(\\\\\?\\)"), "");
    std::smatch parts;
    if (std::regex_match(command, parts, std::regex("CScript (.*vbs) (.*PelloryLogs) (.*)"))) {
        if (fs::is_regular_file(pathOf(parts[1]))) {
            write(pathOf(parts[3]), zipOf(filesBelow(pathOf(parts[2]))));
        }
    } else if (command.starts_with("rmdir /s /q ")) {
        const std::regex argument(isQuoted ? ".+" : "[^ \t\v\f,;=]+");
        for (std::sregex_iterator at(command.begin() + 12, command.end(), argument), end; at != end;
             ++at) {
            std::error_code left;
            fs::remove_all(pathOf(at->str()), left);
        }
    }
}

std::string UtilityTest::run(const Words& arguments, const Lines& answers, int exitCode) {
    std::size_t next = 0;
    play.typed = [&] {
        EXPECT_EQ(play.codePage, GetACP());
        const std::string answer = next < answers.size() ? answers[next++] : "0";
        SetLastError(answer == kEndOfInput ? ERROR_OPERATION_ABORTED : GetLastError());
        return answer == kEndOfInput ? "" : answer + "\n";
    };
    EXPECT_EQ(perform(utility(arguments)), exitCode);
    EXPECT_EQ(next, answers.size()) << "not all was asked for: " << play.story;
    return play.story;
}

std::string UtilityTest::changed() const {
    FileContents after = filesBelow(root_);
    std::string text;
    for (const auto& [path, content] : before_) {
        const auto now = after.extract(path);
        text += !now                      ? "gone " + path + "\n"
                : now.mapped() == content ? ""
                                          : "changed " + path + "\n";
    }
    for (const auto& [path, content] : after) {
        text += "new " + path + "\n";
    }
    return text;
}

}  // namespace zuplutil::test

// A test program is the add-in's process, too.
int main(int argc, char** argv) {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    if (zuplutil::runAsProbeProcess(count, words)) {
        return 0;
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
