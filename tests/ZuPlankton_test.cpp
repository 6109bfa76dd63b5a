#include "ZuPlankton.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>

#include <cstdio>
#include <functional>
#include <regex>
#include <stdexcept>

#include "ZuWindows.h"
#include "support/FrameworkTest.h"

extern "C" {
extern void* __imp__localtime64_s;
extern void* __imp__get_heap_handle;
}

namespace zustd {
namespace {

using test::DebuggerOutput;
using test::Lines;
using test::readBytes;
using test::ReplacedImport;
using test::TempFolder;
using test::TraceCapture;

// Installs settings for as long as it lives.
class Tracing {
public:
    Tracing(std::uint32_t mode, const wchar_t* path, std::int32_t threshold = 0)
        : settings_{mode, path, threshold} {
        traceSettings = &settings_;
    }
    Tracing(const Tracing&) = delete;
    Tracing& operator=(const Tracing&) = delete;
    ~Tracing() { traceSettings = nullptr; }

private:
    TraceSettings settings_;
};

int failToConvert(std::tm*, const std::time_t*) { return 22; }
std::intptr_t noHeap() { return 0; }

// --- Trace lines --------------------------------------------------------------------

TEST(Trace, lineInALogFile_hasStampThreadAndUtf8Text) {
    const TraceCapture trace;
    SYSTEMTIME now;
    GetLocalTime(&now);
    ZU_TRACE(kTraceLevelReport, L"%ls %d", L"\u0416\xD83D\xDE00", 7);
    std::smatch match;
    const std::string bytes = trace.bytes();
    ASSERT_TRUE(std::regex_match(
        bytes, match,
        std::regex("(\\d{4})-(\\d\\d)-(\\d\\d) \\d\\d:\\d\\d:\\d\\d:\\d{3} \\[(\\d+)\\] "
                   "ZULOG: \xD0\x96\xF0\x9F\x98\x80 7\r\n")))
        << bytes;
    EXPECT_EQ(std::stoi(match[1]), now.wYear);
    EXPECT_EQ(std::stoi(match[2]), now.wMonth);
    EXPECT_EQ(std::stoul(match[4]), GetCurrentThreadId());
}

TEST(Trace, dateThatDoesNotConvert_becomesTheFirstDayOf1900) {
    const TraceCapture trace;
    {
        const ReplacedImport broken(__imp__localtime64_s, reinterpret_cast<void*>(&failToConvert));
        zustd::trace(kTraceLevelReport, L"dated");
    }
    EXPECT_TRUE(std::regex_match(trace.bytes(),
                                 std::regex("1900-01-01 \\d\\d:\\d\\d:\\d\\d:\\d{3} .*\r\n")))
        << trace.bytes();
}

TEST(Trace, messageOf3000Characters_isCutTo2027) {
    const TraceCapture trace;
    zustd::trace(kTraceLevelReport, L"%ls", std::wstring(3000, L'x').c_str());
    zustd::trace(kTraceLevelReport, L"%ls", std::wstring(2027, L'\u4E00').c_str());
    writeTraceLine((std::wstring(5000, L'y') + L"\n").c_str());
    const Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0], std::string(2027, 'x'));
    EXPECT_EQ(lines[1].size(), 3U * 2027);
    EXPECT_EQ(lines[2].substr(lines[2].find('y')), std::string(2048, 'y'));
}

TEST(Trace, logFile_betweenLines_isNotHeldOpen) {
    const TempFolder folder;
    const std::wstring path = folder.file(L"a.log");
    const Tracing tracing(kTraceToLog, path.c_str());
    trace(L"first");
    EXPECT_TRUE(test::deleteFile(path));
    // Another process that reads and writes the log is in nobody's way.
    HANDLE other =
        CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, CREATE_ALWAYS, 0, nullptr);
    trace(L"second");
    CloseHandle(other);
    trace(L"third");
    const std::string bytes = readBytes(path);
    EXPECT_NE(bytes.find("ZULOG: second\r\n"), std::string::npos);
    EXPECT_NE(bytes.find("ZULOG: third\r\n"), std::string::npos);
}

TEST(Trace, logFileThatCannotBeOpened_goesToTheDebuggerInThreePieces) {
    const TempFolder folder;
    const std::wstring path = folder.file(L"missing\\a.log");
    const Tracing tracing(kTraceToLog, path.c_str());
    const DebuggerOutput debugger;
    trace(L"lost");
    trace(L"lost too");
    const std::vector<std::wstring> once = {L"ZUPRETRACE: cannot open log file\n", path, L"\n"};
    std::vector<std::wstring> twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    EXPECT_EQ(debugger.texts(), twice);
    EXPECT_FALSE(test::fileExists(folder.file(L"missing")));
}

TEST(Trace, otherModes_sendTheRawLineToTheDebugger) {
    const TempFolder folder;
    const std::wstring path = folder.file(L"a.log");
    for (const std::uint32_t mode : {0U, 2U, ~0U}) {
        const Tracing tracing(mode, path.c_str());
        const DebuggerOutput debugger;
        trace(L"%ls", L"raw");
        EXPECT_EQ(debugger.texts(), std::vector<std::wstring>{L"ZULOG: raw\n"});
    }
    EXPECT_FALSE(test::fileExists(path));
}

TEST(Trace, noPath_writesStampedLinesToStandardOutput) {
    const TempFolder folder;
    const std::wstring path = folder.file(L"stdout.txt");
    std::fflush(stdout);
    const int kept = _dup(1);
    const int file = _wopen(path.c_str(), _O_CREAT | _O_WRONLY | _O_BINARY, 0600);
    _dup2(file, 1);
    _close(file);
    {
        const Tracing tracing(kTraceToLog, nullptr);
        trace(L"said %ls", L"\u0416");
    }
    _dup2(kept, 1);
    _close(kept);
    EXPECT_TRUE(std::regex_match(
        readBytes(path), std::regex("\\d{4}-[-0-9]+ [:0-9]+ \\[\\d+\\] ZULOG: said \xD0\x96\r?\n")))
        << readBytes(path);
}

TEST(Trace, thresholds_againstLevels_letTheirLinesPass) {
    const std::pair<std::int32_t, Lines> kCases[] = {
        {10, {"info", "report", "memory"}},
        {11, {"report", "memory"}},
        {20, {"report", "memory"}},
        {21, {"memory"}},
        {50, {"memory"}},
        {51, {}},
        {-1, {"info", "report", "memory"}},
    };
    for (const auto& [threshold, expected] : kCases) {
        const TraceCapture trace(threshold);
        zustd::trace(L"info");
        ZU_TRACE(kTraceLevelReport, L"report");
        zustd::trace(kTraceLevelMemory, L"memory");
        EXPECT_EQ(trace.messages(), expected) << threshold;
    }
}

TEST(Trace, noSettings_nothingIsWrittenNorEvaluated) {
    int evaluated = 0;
    const DebuggerOutput debugger;
    ZU_TRACE(L"%d", ++evaluated);
    trace(kTraceLevelMemory, L"%ls", L"nobody listens");
    writeTraceLine(L"nobody listens\n");
    EXPECT_EQ(evaluated, 0);
    EXPECT_TRUE(debugger.texts().empty());
    const Tracing tracing(kTraceToDebugger, nullptr, kTraceLevelMemory);
    ZU_TRACE(kTraceLevelMemory, L"%d", ++evaluated);
    EXPECT_EQ(debugger.texts(), std::vector<std::wstring>{L"ZULOG: 1\n"});
}

// --- Failures -----------------------------------------------------------------------

TEST(Assertion, falseExpression_isReportedTwiceAndThrownAsItsText) {
    const TraceCapture trace;
    const auto require = [](const int* pointer) { ZU_ASSERT(pointer != nullptr); };
    const std::string line = std::to_string(__LINE__ - 1);
    EXPECT_EQ(test::thrownText([&] { require(nullptr); }), L"pointer != nullptr");
    const std::string report = "'pointer != nullptr', in tests/ZuPlankton_test, line " + line;
    EXPECT_EQ(trace.messages(), (Lines{"asserted: " + report, "throwing: " + report}));
    const int number = 0;
    require(&number);
    EXPECT_EQ(trace.messages().size(), 2U);
}

TEST(Assertion, backendUnit_isReportedWithoutQuotes) {
    const TraceCapture trace;
    test::thrownText([] {
        detail::failAssertion(L"preferences_", {L"src/lib/ZuApplicationServiceWin32Gdi", 61});
    });
    EXPECT_EQ(
        trace.messages(),
        (Lines{"asserted: preferences_, in src/lib/ZuApplicationServiceWin32Gdi, line 61",
               "throwing: 'preferences_', in src/lib/ZuApplicationServiceWin32Gdi, line 61"}));
}

TEST(CatchLadder, everyKindOfException_leavesItsLineAndTheNeutralResult) {
    const std::string op = "Class::operation: catched ";
    const std::string long1500(1500, 'n');
    const struct {
        std::function<void()> fail;
        std::string line;
    } kCases[] = {
        {[] { throw std::string("narrow"); }, op + "assertion exception: narrow"},
        {[&] { throw long1500; }, op + "assertion exception: " + long1500},
        {[] { throw std::wstring(L"wide \u0416"); }, op + "assertion exception: wide \xD0\x96"},
        {[] { throw ComException(-2147221005, L"Invalid class string"); },
         op + "COM exception: HRESULT=800401f3: Invalid class string"},
        {[] { throw SystemException(L"system"); }, op + "system exception: system"},
        {[] { throw std::runtime_error("standard"); }, op + "std::exception: standard"},
        {[] { throw L"Directory:deleteFile() failed"; }, op + "unknown exception"},
        {[] { throw 5L; }, op + "unknown exception"},
        {[] { throw std::bad_alloc(); }, op + "std::bad_alloc: std::bad_alloc"},
        {[] { throw std::bad_array_new_length(); },
         op + "std::bad_alloc: std::bad_array_new_length"},
    };
    for (const auto& [fail, line] : kCases) {
        setCriticalError(kCriticalErrorNone);
        const TraceCapture trace;
        EXPECT_EQ(guarded(L"Class::operation", -1,
                          [&] {
                              fail();
                              return 1;
                          }),
                  -1);
        EXPECT_FALSE(guarded(L"Class::operation", fail));
        EXPECT_EQ(trace.messages(), (Lines{line, line}));
        EXPECT_EQ(criticalError(), line.find("bad_alloc") != std::string::npos ? 2U : 0U) << line;
    }
    setCriticalError(kCriticalErrorNone);
    EXPECT_EQ(guarded(L"Class::operation", -1, [] { return 1; }), 1);
    EXPECT_TRUE(guarded(L"Class::operation", [] {}));
}

TEST(CatchLadder, outOfMemory_withoutTracing_isStillRecorded) {
    setCriticalError(kCriticalErrorNone);
    guarded(L"Class::operation", [] { throw std::bad_alloc(); });
    EXPECT_EQ(criticalError(), 2U);
    setCriticalError(kCriticalErrorNone);
}

TEST(MemoryReport, getMemoryInfo_hasItsFiveLines) {
    const std::wstring report = getMemoryInfo();
    EXPECT_TRUE(std::regex_match(
        std::string(report.begin(), report.end()),
        std::regex("memory used:   [ 0-9]{5}%\n"
                   "physical memory: [ 0-9]{5,}Mb / [ 0-9]{5,}Mb total/free\n"
                   "paging file:     [ 0-9]{5,}Mb / [ 0-9]{5,}Mb total/free\n"
                   "virtual memory:  [ 0-9]{5,}Mb / [ 0-9]{5,}Mb total/free\n"
                   "heap size: entries=[1-9]\\d*, size=\\d+\\.\\d\\dMb, allocData=\\d+\\.\\d\\dMb, "
                   "freeData=\\d+\\.\\d\\dMb, allocOverh=\\d+\\.\\d\\dMb, "
                   "freeOverh=\\d+\\.\\d\\dMb")))
        << report;
}

TEST(MemoryReport, GetCrtHeapInfo_withoutAHeap_isEmptyAndReported) {
    const TraceCapture trace;
    {
        const ReplacedImport none(__imp__get_heap_handle, reinterpret_cast<void*>(&noHeap));
        EXPECT_EQ(GetCrtHeapInfo(), L"");
    }
    ASSERT_EQ(trace.messages().size(), 3U);
    EXPECT_EQ(trace.messages()[0].find("asserted: 'crt_heap', in src/lib/ZuPlankton, line "), 0U);
    EXPECT_EQ(trace.messages()[2], "GetCrtHeapInfo: catched assertion exception: crt_heap");
}

}  // namespace
}  // namespace zustd
