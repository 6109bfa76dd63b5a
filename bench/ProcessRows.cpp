// The utility as a program: its start, its memory, and a collection in which no
// tool takes any time.
#include <shlobj.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include "Process.h"
#include "Rows.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

// A program, and what it says before it waits for a line.
struct Program {
    std::wstring path;
    std::string prompt;
};

double microsecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
        .count();
}

std::wstring temporaryFolder() { return fs::temp_directory_path().wstring(); }

// --- Starts ----------------------------------------------------------------------------------

Measure startToEnd(const Program& program) {
    return [program] {
        const auto start = std::chrono::steady_clock::now();
        Process process(program.path, L"-nosuchswitch", temporaryFolder());
        process.wait();
        return microsecondsSince(start);
    };
}

Measure startToPrompt(const Program& program) {
    return [program] {
        const auto start = std::chrono::steady_clock::now();
        Process process(program.path, L"", temporaryFolder());
        require(process.waitFor(program.prompt), "the first prompt");
        return microsecondsSince(start);
    };
}

Measure memoryAtPrompt(const Program& program) {
    return [program] {
        Process process(program.path, L"", temporaryFolder());
        require(process.waitFor(program.prompt), "the first prompt");
        return process.peakMemory();
    };
}

void addStartRows() {
    const Program ours{builtProgram(L"zuplutil"), "<Enter>..."};
    const Program empty{builtProgram(L"bench_empty"), "ready"};
    const Program imports{builtProgram(L"bench_imports"), "ready"};
    const struct {
        const char* work;
        Measure (*measure)(const Program& program);
        Unit unit;
    } kRows[] = {{"start, wrong switch", startToEnd, Unit::kMilliseconds},
                 {"start to the prompt", startToPrompt, Unit::kMilliseconds},
                 {"memory at the prompt", memoryAtPrompt, Unit::kKibibytes}};
    for (const auto& row : kRows) {
        addOurs(row.work, row.measure(ours));
        addPeer(row.work, "same DLLs", row.measure(imports), Kind::kPeer, row.unit);
        addPeer(row.work, "empty program", row.measure(empty), Kind::kLimit, row.unit);
    }
}

// --- A collection ----------------------------------------------------------------------------

// The folder that a collection makes, which must not be there before.
fs::path diagnosticsFolder() {
    wchar_t desktop[MAX_PATH] = L"";
    SHGetSpecialFolderPathW(nullptr, desktop, CSIDL_DESKTOPDIRECTORY, TRUE);
    return fs::path(desktop) / "PelloryDiagnostics";
}

double collect(const std::wstring& commands) {
    const fs::path made = diagnosticsFolder();
    require(!fs::exists(made), "a diagnostics folder of somebody else's: remove it first");
    const auto start = std::chrono::steady_clock::now();
    Process process(builtProgram(L"zuplutil"), L"-logdiagnostics", temporaryFolder(),
                    {{L"COMSPEC", builtProgram(L"bench_empty")}, {L"BENCH_COMMANDS", commands}});
    process.wait();
    const double taken = microsecondsSince(start);
    require(fs::exists(made), "the collection");
    fs::remove_all(made);
    return taken;
}

double runCommands(const std::wstring& commands) {
    const auto start = std::chrono::steady_clock::now();
    Process process(builtProgram(L"bench_commands"), L"\"" + commands + L"\"", temporaryFolder(),
                    {{L"COMSPEC", builtProgram(L"bench_empty")}});
    require(process.wait() == 0, "the commands of a collection");
    return microsecondsSince(start);
}

// A collection notes its commands first, for the peer to run the same.
std::wstring notedCommands() {
    static const std::wstring file = [] {
        const fs::path path = fs::path(temporaryFolder()) / "zustd_bench_commands.txt";
        fs::remove(path);
        collect(path.wstring());
        std::ifstream in(path);
        std::size_t count = 0;
        for (std::string line; std::getline(in, line);) {
            ++count;
        }
        require(count > 20, "commands of a collection");
        return path.wstring();
    }();
    return file;
}

}  // namespace

void addProcessRows() {
    addStartRows();
    addOurs("collection", [] {
        notedCommands();
        return collect({});
    });
    addPeer(
        "collection", "bare system()", [] { return runCommands(notedCommands()); }, Kind::kLimit,
        Unit::kMilliseconds);
}

}  // namespace bench
