// A program that is started, spoken to over pipes, and measured.
#pragma once

#include <cstddef>
#include <map>
#include <string>

#include "ZuHandleWin32Gdi.h"

namespace bench {

// Variables of the environment; an empty value takes one away.
using Environment = std::map<std::wstring, std::wstring>;

// The path of a program that was built beside this one.
std::wstring builtProgram(const std::wstring& name);

// One process; it is ended with this object at the latest.
class Process {
public:
    // Starts a program in a folder. Its output goes to a pipe that it takes for a
    // terminal, so that nothing is held back.
    Process(const std::wstring& program, const std::wstring& arguments, const std::wstring& folder,
            const Environment& environment = {});
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    // Reads until a text comes, or to the end; whether it came.
    bool waitFor(const std::string& text);
    // Reads to the end and waits for it; the exit code.
    int wait();
    // The most memory that it had so far, in kibibytes. While it runs.
    double peakMemory() const;
    const std::string& output() const noexcept { return output_; }

private:
    using Pipe = zustd::Handle<zustd::NullHandleTraits<HANDLE, &CloseHandle>>;

    bool read();

    Pipe process_;
    Pipe input_;
    Pipe reader_;
    std::string output_;
};

}  // namespace bench
