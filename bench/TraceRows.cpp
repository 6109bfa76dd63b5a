// What a trace call costs while tracing is off, and one line in a log.
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "Rows.h"
#include "ZuPlankton.h"

namespace bench {

namespace {

constexpr int kCalls = 1000;

// Stands for the work around a call: the compiler may keep nothing that it
// read from memory before.
void otherWork(int& i) {
    benchmark::DoNotOptimize(i);
    benchmark::ClobberMemory();
}

void traceOff(benchmark::State& state) {
    require(zustd::traceSettings == nullptr, "tracing is on");
    const std::wstring name = L"view.column.width";
    for (auto _ : state) {
        for (int i = 0; i < kCalls; ++i) {
            ZU_TRACE(L"row %d of %ls", i, (name + L".123").c_str());
            otherWork(i);
        }
    }
}

void emptyLoop(benchmark::State& state) {
    for (auto _ : state) {
        for (int i = 0; i < kCalls; ++i) {
            otherWork(i);
        }
    }
}

// --- Switched on -------------------------------------------------------------------------------

// A log that goes away behind.
class Log {
public:
    Log() : path_((std::filesystem::temp_directory_path() / "zustd_bench.log").wstring()) {
        std::filesystem::remove(path_);
    }
    ~Log() { std::filesystem::remove(path_); }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    const wchar_t* path() const { return path_.c_str(); }
    bool isWritten() const { return std::filesystem::file_size(path_) > 0; }

private:
    std::wstring path_;
};

void traceOn(benchmark::State& state) {
    const Log log;
    const zustd::TraceSettings settings{zustd::kTraceToLog, log.path(), 0};
    zustd::traceSettings = &settings;
    int row = 0;
    for (auto _ : state) {
        ZU_TRACE(L"row %d of %ls", ++row, L"view.column.width");
    }
    zustd::traceSettings = nullptr;
    require(log.isWritten(), "the traced lines");
}

// The same line, by the C runtime's formatted printing.
void printByHand(benchmark::State& state) {
    const Log log;
    int row = 0;
    for (auto _ : state) {
        SYSTEMTIME now{};
        GetLocalTime(&now);
        std::FILE* file = _wfopen(log.path(), L"ab");
        std::fprintf(file, "[%04d-%02d-%02d %02d:%02d:%02d.%03d %lu] ZULOG: row %d of %ls\n",
                     now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond,
                     now.wMilliseconds, GetCurrentThreadId(), ++row, L"view.column.width");
        std::fclose(file);
    }
    require(log.isWritten(), "the printed lines");
}

// The calls of the system that no open log can do without.
void appendByHand(benchmark::State& state) {
    const Log log;
    const std::string line(60, 'x');
    for (auto _ : state) {
        const HANDLE file =
            CreateFileW(log.path(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                        OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        DWORD written = 0;
        WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
        CloseHandle(file);
    }
    require(log.isWritten(), "the appended lines");
}

}  // namespace

void addTraceRows() {
    addOurs("trace to a log", traceOn);
    addPeer("trace to a log", "fprintf", printByHand);
    addPeer("trace to a log", "open, write, close", appendByHand, Kind::kLimit);
    addOurs("1000 traces, off", traceOff);
    addPeer("1000 traces, off", "empty loop", emptyLoop, Kind::kLimit);
}

}  // namespace bench
