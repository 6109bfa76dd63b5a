// A console program under test, driven as a person does: wait for the prompt,
// then answer.
//
//     UtilityProcess utility(program, {}, folder, {{L"TESTROOT", root}});
//     utility.answer("Press 0..9 followed by <Enter>...\n", "0");
//     utility.exitCode();  // 0
//
// Its streams are pipes, marked as a terminal so that nothing is held back. It
// ends with all its children at the latest with this object; a time-out or too
// much output ends it before.
#pragma once

#include <windows.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zuplutil::test {

// Changes to this process's own environment; an empty value takes a variable
// away.
using Environment = std::map<std::wstring, std::wstring>;

class UtilityProcess {
public:
    // What exitCode gives for a program that did not end by itself.
    static constexpr int kDidNotEnd = -1;

    UtilityProcess(const std::filesystem::path& program, const std::vector<std::wstring>& arguments,
                   const std::filesystem::path& folder, const Environment& environment);
    UtilityProcess(const UtilityProcess&) = delete;
    UtilityProcess& operator=(const UtilityProcess&) = delete;
    ~UtilityProcess();

    // Whether a text comes, behind the one that was last waited for.
    bool waitFor(const std::string& text);
    // Waits for a prompt and answers it; a prompt that does not come is a
    // failure of the test.
    void answer(const std::string& prompt, const std::string& line);
    void closeInput();

    bool isRunning() const;
    int exitCode();
    void kill();
    // Kills the program and waits until its children have ended by themselves.
    void killAlone();

    // What was written so far, with plain line feeds.
    std::string output();
    std::string errors();
    // The processes that it started, itself among them, and that still run.
    unsigned long processesAlive() const;

private:
    struct Pipe {
        HANDLE ours = nullptr;
        HANDLE theirs = nullptr;
    };
    static Pipe makePipe(bool weWrite);
    void launch(const std::wstring& program, std::wstring line, const std::wstring& folder);
    void pump();
    template <class Condition>
    bool pumpUntil(Condition condition);

    Pipe input_ = makePipe(true);
    Pipe output_ = makePipe(false);
    Pipe errors_ = makePipe(false);
    HANDLE job_ = nullptr;
    HANDLE process_ = nullptr;
    std::string outputText_;
    std::string errorText_;
    std::size_t waitedFor_ = 0;
};

}  // namespace zuplutil::test
