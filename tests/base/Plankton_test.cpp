#include "ZuPlankton.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <regex>
#include <stdexcept>

#include "ZuDateTime.h"
#include "ZuText.h"
#include "ZuWindows.h"
#include "support/FrameworkTest.h"

extern "C" {
extern void* __imp_OutputDebugStringW IMPORT_SLOT("OutputDebugStringW", "@4");
extern void* __imp_GetLocalTime IMPORT_SLOT("GetLocalTime", "@4");
extern void* __imp_GlobalMemoryStatusEx IMPORT_SLOT("GlobalMemoryStatusEx", "@4");
}

namespace zustd {
namespace {

using namespace test;

// Collects what is sent to the debugger.
struct DebuggerOutput : ReplacedImport {
    static inline Texts texts;
    static void WINAPI collect(const wchar_t* text) { texts.emplace_back(text); }

    DebuggerOutput() : ReplacedImport(__imp_OutputDebugStringW, reinterpret_cast<void*>(&collect)) {
        texts.clear();
    }
};

void WINAPI giveTime(SYSTEMTIME* time) { *time = {2016, 11, 5, 4, 13, 14, 15, 16}; }

BOOL WINAPI giveMemory(MEMORYSTATUSEX* status) {
    constexpr auto megabytes = [](DWORDLONG count) { return count << 20; };
    *status = {status->dwLength,  42,           megabytes(1), megabytes(2) + 9,
               megabytes(123456), megabytes(4), megabytes(5), megabytes(6) - 1,
               megabytes(7)};
    return TRUE;
}

TEST(Trace, lineInALogFileOrStandardOutput_hasStampThreadAndUtf8TextOf2027Units) {
    SYSTEMTIME now;
    GetLocalTime(&now);
    const ReplacedImport clock(__imp_GetLocalTime, reinterpret_cast<void*>(&giveTime));
    EXPECT_EQ(DateTime::now(), DateTime(2016, 11, 4, 13, 14, 15, 16));
    const std::string line =
        formatNarrow("%d-%02d-%02d 13:14:15:016 [%lu] ZULOG: %s 7", now.wYear, now.wMonth, now.wDay,
                     GetCurrentThreadId(), "\xD0\x96\xF0\x9F\x98\x80");
    const auto traceIt = [] { ZU_TRACE(kTraceLevelReport, L"%ls %d", L"\u0416\xD83D\xDE00", 7); };
    testing::internal::CaptureStdout();
    {
        const Tracing tracing(kTraceToLog, nullptr);
        traceIt();
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout().find(line), 0U);
    const TraceCapture trace;
    traceIt();
    EXPECT_EQ(trace.bytes(), line + "\r\n");
    zustd::trace(kTraceLevelReport, L"%ls", std::wstring(3000, L'\u4E00').c_str());
    writeTraceLine((std::wstring(5000, L'y') + L"\n").c_str());
    const Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), 3U);
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
    trace(L"third");
    CloseHandle(other);
    EXPECT_TRUE(std::regex_match(readBytes(path), std::regex(".* second\r\n.* third\r\n")));
}

TEST(Trace, debugger_getsRawLinesAndWhatTheLogFileCannotTake) {
    const TempFolder folder;
    const std::wstring missing = folder.file(L"missing\\a.log");
    const Texts lost = {L"ZUPRETRACE: cannot open log file\n", missing, L"\n"};
    for (const std::uint32_t mode : {0U, kTraceToLog, 2U, ~0U}) {
        const Tracing tracing(mode, missing.c_str());
        const DebuggerOutput debugger;
        SetLastError(12345);
        errno = 123;
        trace(L"%ls", L"raw");
        EXPECT_TRUE(GetLastError() == 12345 && errno == 123) << "asked for after the trace";
        EXPECT_EQ(debugger.texts, mode == kTraceToLog ? lost : Texts{L"ZULOG: raw\n"});
    }
}

TEST(Trace, thresholdsAndMissingSettings_letTheRightLinesPass) {
    const Lines all = {"info", "report", "memory"};
    for (const auto& [threshold, skipped] :
         {std::pair{-1, 0}, {10, 0}, {11, 1}, {20, 1}, {21, 2}, {50, 2}, {51, 3}}) {
        const TraceCapture trace(threshold);
        zustd::trace(L"info");
        ZU_TRACE(kTraceLevelReport, L"report");
        zustd::trace(kTraceLevelMemory, L"memory");
        EXPECT_EQ(trace.messages(), Lines(all.begin() + skipped, all.end())) << threshold;
    }
    const DebuggerOutput debugger;
    int evaluated = 0;
    ZU_TRACE(L"%d", ++evaluated);
    writeTraceLine(L"nobody listens");
    EXPECT_TRUE(evaluated == 0 && debugger.texts.empty());
}

TEST(Assertion, falseExpression_isReportedTwiceAndThrownAsItsText) {
    const TraceCapture trace;
    const auto require = [](const int* pointer) { ZU_ASSERT(pointer != nullptr); };
    const std::string place =
        "', in tests/base/Plankton_test, line " + std::to_string(__LINE__ - 2);
    EXPECT_EQ(thrownText([&] { require(nullptr); }), L"pointer != nullptr");
    const int number = 0;
    require(&number);
    // A backend's first line has no quotes.
    thrownText([] { detail::failAssertion(L"x_", {L"src/lib/ZuApplicationServiceWin32Gdi", 6}); });
    const std::string backend = ", in src/lib/ZuApplicationServiceWin32Gdi, line 6";
    EXPECT_EQ(trace.messages(), (Lines{"asserted: 'pointer != nullptr" + place,
                                       "throwing: 'pointer != nullptr" + place,
                                       "asserted: x_" + backend, "throwing: 'x_'" + backend}));
}

TEST(CatchLadder, everyKindOfException_leavesItsLineAndTheNeutralResult) {
    const std::string long1500(1500, 'n');
    const std::pair<std::function<void()>, std::string> kCases[] = {
        // clang-format off
        {[&] { throw long1500; }, "assertion exception: " + long1500},
        {[] { throw std::wstring(L"wide \u0416"); }, "assertion exception: wide \xD0\x96"},
        {[] { throw ComException(-2147221005, L"Invalid class string"); },
         "COM exception: HRESULT=800401f3: Invalid class string"},
        {[] { throw SystemException(L"system"); }, "system exception: system"},
        {[] { throw std::runtime_error("standard"); }, "std::exception: standard"},
        {[] { throw 5L; }, "unknown exception"},
        {[] { throw std::bad_alloc(); }, "std::bad_alloc: std::bad_alloc"},
        // clang-format on
    };
    for (const auto& [fail, text] : kCases) {
        const auto failInInt = [&fail = fail] { return fail(), 1; };
        setCriticalError(kCriticalErrorNone);
        const TraceCapture trace;
        EXPECT_EQ(guarded(L"Class::operation", -1, failInInt), -1);
        EXPECT_FALSE(guarded(L"Class::operation", fail));
        EXPECT_EQ(trace.messages(), Lines(2, "Class::operation: catched " + text));
        EXPECT_EQ(criticalError(), text.starts_with("std::bad_alloc") ? 2U : 0U) << text;
    }
    EXPECT_TRUE(guarded(L"a", -1, [] { return 1; }) == 1 && guarded(L"a", [] {}));
}

TEST(MemoryReport, getMemoryInfo_hasItsFiveLinesAndCountsTheHeap) {
    const ReplacedImport memory(__imp_GlobalMemoryStatusEx, reinterpret_cast<void*>(&giveMemory));
    const std::vector<std::string> blocks(400, std::string(10'000, 'x'));
    const std::string text = narrow(getMemoryInfo());
    const std::regex pattern(
        "memory used:      42%\n"
        "physical memory:     1Mb /     2Mb total/free\n"
        "paging file:     123456Mb /     4Mb total/free\n"
        "virtual memory:      5Mb /     5Mb total/free\n"
        "heap size: entries=(\\d{3,}), size=([\\d.]+)Mb, allocData=([\\d.]+)Mb, "
        "freeData=(\\d+\\.\\d\\d)Mb, allocOverh=(\\d\\.\\d\\d)Mb, freeOverh=(0\\.\\d\\d)Mb");
    std::smatch found;
    ASSERT_TRUE(std::regex_match(text, found, pattern)) << text;
    const auto number = [&](std::size_t i) { return std::stod(found[i]); };
    EXPECT_GT(number(3), 400 * 10'001 / 1048576.0);
    EXPECT_NEAR(number(2), number(3) + number(4) + number(5) + number(6), 0.03);
}

}  // namespace
}  // namespace zustd
