#include "ZuPlankton.h"

#include <bit>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <regex>
#include <thread>

#include "ZuDateTime.h"
#include "ZuHashMap.h"
#include "ZuId.h"
#include "ZuLateLoading.h"
#include "ZuObjectPool.h"
#include "ZuVersion.h"
#include "ZuWindows.h"
#include "support/FrameworkTest.h"

extern "C" {
extern void* __imp_OutputDebugStringW IMPORT_SLOT("OutputDebugStringW", "@4");
extern void* __imp_GetLocalTime IMPORT_SLOT("GetLocalTime", "@4");
extern void* __imp_GlobalMemoryStatusEx IMPORT_SLOT("GlobalMemoryStatusEx", "@4");
extern void* __imp_LoadLibraryExW IMPORT_SLOT("LoadLibraryExW", "@12");
extern void* __imp_SetDllDirectoryW IMPORT_SLOT("SetDllDirectoryW", "@4");
void* slot = nullptr;
const zustd::LateFunction zustdLateFunctions[] = {{&slot, "user32.dll", "GetFocus"},
                                                  {&slot, "gdi32.dll", "LineTo"},
                                                  {&slot, "msi.dll", "Gone"},
                                                  {&slot, "comctl32.dll", "ImageList_Draw"}};
const std::size_t zustdLateFunctionCount = std::size(zustdLateFunctions);
}

namespace zustd::test {
namespace {

Texts collected;
void WINAPI collect(const wchar_t* text) { collected.emplace_back(text); }

void WINAPI giveTime(SYSTEMTIME* time) { *time = {2016, 11, 5, 4, 13, 14, 15, 16}; }

void WINAPI giveMemory(MEMORYSTATUSEX* to) {
    constexpr DWORDLONG kM = 1 << 20;
    *to = {to->dwLength, 42, kM, 2 * kM + 9, 123456 * kM, 4 * kM, 5 * kM, 6 * kM - 1, 7 * kM};
}

TEST(Trace, lineInALogFileOrStandardOutput_hasStampThreadAndUtf8TextOf2027Units) {
    const DateTime now = DateTime::now();
    const ReplacedImport clock(__imp_GetLocalTime, reinterpret_cast<void*>(&giveTime));
    EXPECT_EQ(DateTime::now(), DateTime(2016, 11, 4, 13, 14, 15, 16));
    const std::string line =
        formatNarrow("%d-%02d-%02d 13:14:15:016 [%lu] ZULOG: %s 7", now.year(), now.month(),
                     now.day(), GetCurrentThreadId(), "\xD0\x96\xF0\x9F\x98\x80");
    const auto traceIt = [] { ZU_TRACE(kTraceLevelReport, L"%ls %d", L"\u0416\xD83D\xDE00", 7); };
    testing::internal::CaptureStdout();
    {
        const Tracing tracing(kTraceToLog, nullptr);
        traceIt();
        EXPECT_NE(_tell(1), 0) << "whoever ends the process loses it";
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), line + "\n");
    const TraceCapture trace;
    // Somebody else who has it open is in nobody's way.
    const std::fstream other(std::filesystem::path(trace.path()), std::ios::in | std::ios::app);
    traceIt();
    EXPECT_EQ(trace.bytes(), line + "\r\n");
    zustd::trace(kTraceLevelReport, L"%ls", std::wstring(3000, L'\u4E00').c_str());
    writeTraceLine((std::wstring(5000, L'y') + L"\n").c_str());
    const Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[1].size(), 3U * 2027);
    EXPECT_EQ(lines[2].substr(lines[2].find('y')), std::string(2048, 'y'));
}

TEST(Trace, debugger_getsRawLinesAndWhatTheLogFileCannotTake) {
    const std::wstring missing = L"Q:\\missing\\a.log";
    const Texts lost = {L"ZUPRETRACE: cannot open log file\n", missing, L"\n"};
    for (const std::uint32_t mode : {0U, 1U, 2U, ~0U}) {
        const Tracing tracing(mode, missing.c_str());
        const ReplacedImport output(__imp_OutputDebugStringW, reinterpret_cast<void*>(&collect));
        SetLastError(12345);
        errno = 123;
        trace(L"%ls", L"raw");
        EXPECT_TRUE(GetLastError() == 12345 && errno == 123) << "asked for after the trace";
        EXPECT_EQ(std::exchange(collected, {}), mode == 1 ? lost : Texts{L"ZULOG: raw\n"});
    }
}

TEST(Assertion, falseExpression_isReportedTwiceAndThrownAsItsText) {
    const TraceCapture trace;
    const auto require = [](const void* pointer) { ZU_ASSERT(pointer != nullptr); };
    const std::string place = "', in tests/base/Base_test, line " + std::to_string(__LINE__ - 1);
    EXPECT_EQ(thrownText([&] { require(nullptr); }), L"pointer != nullptr");
    require("");
    thrownText([] { detail::failAssertion(L"x_", {L"src/lib/ZuApplicationServiceWin32Gdi", 6}); });
    EXPECT_STREQ(detail::UnitName{L"src/exe_zuplutil/Paths.cpp"}.text, L"exe_zuplutil");
    const std::string backend = ", in src/lib/ZuApplicationServiceWin32Gdi, line 6";
    EXPECT_EQ(trace.messages(), (Lines{"asserted: 'pointer != nullptr" + place,
                                       "throwing: 'pointer != nullptr" + place,
                                       "asserted: x_" + backend, "throwing: 'x_'" + backend}));
}

TEST(CatchLadder, everyKindOfException_leavesItsLineAndTheNeutralResult) {
    const std::string longest(3000, 'n');
    const std::pair<std::function<void()>, std::string> kCases[] = {
        {[&] { throw longest; }, "assertion exception: " + longest},
        {[] { throw std::wstring(L"wide \u0416"); }, "assertion exception: wide \xD0\x96"},
        {[] { throw ComException(-2147221005, L"Invalid class string"); },
         "COM exception: HRESULT=800401f3: Invalid class string"},
        {[] { throw SystemException(L"system"); }, "system exception: system"},
        {[] { throw std::runtime_error("standard"); }, "std::exception: standard"},
        {[] { throw 5L; }, "unknown exception"},
        {[] { throw std::bad_alloc(); }, "std::bad_alloc: std::bad_alloc"},
    };
    for (const auto& [fail, text] : kCases) {
        const auto failInInt = [&fail = fail] { return fail(), 1; };
        setCriticalError(kCriticalErrorNone);
        const TraceCapture trace;
        EXPECT_TRUE(guarded(L"Class::call", -1, failInInt) == -1 && !guarded(L"Class::call", fail));
        EXPECT_EQ(trace.messages(), Lines(2, ("Class::call: catched " + text).substr(0, 2027)));
        EXPECT_EQ(criticalError(), text.starts_with("std::bad_alloc") ? 2U : 0U) << text;
    }
    EXPECT_TRUE(guarded(L"a", -1, [] { return 1; }) == 1 && guarded(L"a", [] {}));
}

TEST(MemoryReport, getMemoryInfo_hasItsFiveLinesAndCountsTheHeap) {
    const ReplacedImport memory(__imp_GlobalMemoryStatusEx, reinterpret_cast<void*>(&giveMemory));
    const std::vector<std::string> blocks(400, std::string(10'000, 'x'));
    const std::string text = narrow(getMemoryInfo());
    std::jthread(&getMemoryInfo).join();  // the heap is no longer locked
    const std::regex pattern(
        "memory used:      42%\nphysical memory:     1Mb /     2Mb total/free\n"
        "paging file:     123456Mb /     4Mb total/free\n"
        "virtual memory:      5Mb /     5Mb total/free\n"
        "heap size: entries=(\\d{3,}), size=([\\d.]+)Mb, allocData=([\\d.]+)Mb, "
        "freeData=(\\d+\\.\\d\\d)Mb, allocOverh=(\\d\\.\\d\\d)Mb, freeOverh=(0\\.\\d\\d)Mb");
    std::smatch found;
    ASSERT_TRUE(std::regex_match(text, found, pattern)) << text;
    const auto number = [&](std::size_t i) { return std::stod(found[i]); };
    EXPECT_GT(number(3), 400 * 10'001 / 1048576.0);
    EXPECT_NEAR(number(2), number(3) + number(4) + number(5) + number(6), 0.03);
    const TraceCapture trace;
    EXPECT_EQ((AllocationLimit(0), GetCrtHeapInfo()), L"");
    EXPECT_EQ(trace.messages().at(0), "GetCrtHeapInfo: catched std::bad_alloc: std::bad_alloc");
}

TEST(Text, formattedConvertedOrFolded_isWholeOrLossyAndNoWildcard) {
    for (const std::size_t length : {0U, 1U, 127U, 128U, 129U, 5000U}) {
        const std::wstring text(length, L'\u0416');
        EXPECT_EQ(formatWide(L"%ls", text.c_str()), text) << length;
        EXPECT_EQ(formatNarrow("%ls", std::wstring(length, L'x').c_str()).size(), length) << length;
    }
    bool lossy = true;
    const std::wstring plain(L"C:\\a\0b.txt", 10);
    EXPECT_TRUE(widen(narrow(plain, &lossy)) == plain && !lossy && widen(narrow(L"")).empty());
    EXPECT_EQ(narrow(L"a\xD800z", &lossy), GetACP() == CP_UTF8 ? "a\xEF\xBF\xBDz" : "a_z");
    EXPECT_TRUE(lossy);
    for (wchar_t unit = 0; unit < 0xFF00; ++unit) {
        const std::wstring low(1, static_cast<wchar_t>(unit + 32));
        ASSERT_EQ(equalsIgnoringAsciiCase({&unit, 1}, low), unit >= L'A' && unit <= L'Z') << low;
    }
}

TEST(SmallValues, versionsTimesAndIds_areToldApartAndWritten) {
    EXPECT_EQ(Version().toDisplayText(), L"0.0.852");
    EXPECT_EQ((Version{1, 8, -3, BuildKind::Beta}).toDisplayText(), L"1.8.-3 BETA");
    EXPECT_EQ((Version{1, 8, 4, BuildKind::Debug}).toDisplayText(), L"1.8.4 DEBUG");
    const DateTime midnight(2016, 10, 1);
    const DateTime later(2016, 10, 1, 0, 0, 2, 9);
    EXPECT_TRUE(DateTime(2016, 9, 30, 23, 59, 59, 999) < midnight && midnight < later);
    EXPECT_EQ(later.toFileStamp(), L"2016-10-01-00;00;02;009");
    EXPECT_TRUE(midnight == DateTime(2016, 10, 1, 0, 0, 0, 0) && DateTime() == DateTime(0, 0, 0));
    EXPECT_TRUE(kTraceLevelInfo == 10 && kTraceLevelReport == 20 && kTraceLevelMemory == 50);
    const Id ids[2];
    EXPECT_TRUE(ids[0].id() > 0 && ids[1].id() > 0 && ids[0].id() != ids[1].id());
    EXPECT_EQ(ids[1].idText(), formatWide(L"%016llX", ids[1].id()));
}

TEST(ObjectPool, pieces_ofSeveralThreads_areNobodyElses) {
    std::atomic<std::ptrdiff_t> ours = 0;
    const auto useMany = [&](double mark) {
        for (int round = 0; round < 1000; ++round) {
            std::vector<SerializableUnion> values(2000);
            std::ranges::for_each(values, [=](auto& each) { each.setDouble(mark); });
            ours += std::ranges::count(values, mark, &SerializableUnion::getDouble);
        }
    };
    for (std::vector<std::jthread> threads; threads.size() < 4;) {
        threads.emplace_back(useMany, threads.size());
    }
    const MemoryWatch watch;
    useMany(9);
    EXPECT_LT(watch.peak(), 2000 * (sizeof(SerializableUnion) + ObjectPool::kPieceSize / 2))
        << "four threads' worth lies ready for one";
    EXPECT_EQ(ours, 5 * 1000 * 2000);
}

TEST(HashMap, anyOperations_besideAList_haveTheSameEntriesInTheSameOrder) {
    Random random(20160101);
    SCOPED_TRACE(random.label());
    const MemoryWatch memory;
    {
        HashMap<int, ShortKey> map;
        std::vector<std::pair<std::wstring, int*>> model;
        std::size_t most = 6;
        for (int step = 0; step < 20000; ++step) {
            const std::wstring key(random.below(80), random.pick(L"bB\xFFFF"));
            const auto place = std::ranges::find(model, key, &std::pair<std::wstring, int*>::first);
            const bool isNew = place == model.end();
            ASSERT_EQ(map.find(key), isNew ? nullptr : place->second);
            if (random.below(5) < 3) {
                const auto [entry, created] = map.findOrInsert(key, step);
                ASSERT_TRUE(created == isNew && (!created || entry.value == step));
                model.resize(model.size() + created, {key, &entry.value});
            } else {
                ASSERT_EQ(map.remove(key), !isNew);
                model.erase(place, isNew ? place : place + 1);
            }
            if (step % 5000 == 4999) {
                map.clear();
                std::exchange(model, {});
                most = 6;
                ASSERT_LT(memory.held(), 500) << "no room is kept";
            }
            ASSERT_TRUE(map.size() == model.size() && map.empty() == model.empty());
            most = std::max(most, map.size());
            ASSERT_EQ(map.bucketCount(), std::bit_ceil((most * 4 + 2) / 3));
            const auto isOf = [](auto& entry, auto& item) { return &entry.value == item.second; };
            ASSERT_TRUE(std::ranges::equal(map, model, isOf));
        }
        map.findOrInsert(L"left", 1);
    }
    EXPECT_EQ(memory.held(), 0);
}

TEST(HashMap, valuesThatUseOrDestroyTheMapWhenTheyGo_findItWholeWithoutThemselves) {
    using Map = HashMap<std::shared_ptr<void>, std::uint64_t>;
    const std::function<void(std::unique_ptr<Map>&)> kChanges[] = {
        [](auto& map) { map->remove(1); },
        [](auto& map) { map->clear(); },
        [](auto& map) { map.reset(); },
        [](auto& map) { map->findOrInsert(~0ULL, nullptr); },
    };
    for (std::size_t dice = 0; dice < 12; ++dice) {
        const MemoryWatch memory;
        {
            auto map = std::make_unique<Map>();
            bool isFirst = true;
            for (std::uint64_t key = 0; key < 40; ++key) {
                const auto lookAround = [&, key](void*) {
                    const auto rest = [&](auto& e) { return e.key != key && map->contains(e.key); };
                    // Null while it is destroyed itself.
                    EXPECT_TRUE(!map || (!map->contains(key) && std::ranges::all_of(*map, rest)));
                    if (map && std::exchange(isFirst, false)) {
                        kChanges[dice / 3](map);
                    }
                };
                map->findOrInsert(key, std::shared_ptr<void>(nullptr, lookAround));
            }
            kChanges[dice % 3](map);
        }
        EXPECT_EQ(memory.held(), 0);
    }
}

TEST(Hash, ofBytes_isSipHashOneThreeUnderAKeyOfTheProcess) {
    std::string bytes(64, '\0');
    std::ranges::generate(bytes, [next = '\0']() mutable { return ++next; });
    std::uint64_t sum = 0;
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        const std::uint64_t hash = hashBytes({1, 2}, bytes.data(), size);
        EXPECT_NE(hashBytes(bytes.data(), size), hash) << "anybody could make colliding keys";
        sum = sum * 31 + hash;
        // Hashes that meet are too rare to wait for in a map.
        const std::wstring text(size, L'k');
        for (std::size_t at = 0; at <= size; ++at) {
            const std::wstring other = std::wstring(text).replace(at, 1, L"x");
            EXPECT_FALSE(HashKey<std::wstring>::isSame(text, other)) << size << ' ' << at;
        }
    }
    EXPECT_EQ(sum, 0xFA64CC37030D575EU) << "of another implementation";
    EXPECT_EQ(HashKey<std::wstring>::hash(L"ab"), hashBytes(L"ab", 4));
    EXPECT_EQ(HashKey<std::uint64_t>::hash(0x3132), hashBytes("21\0\0\0\0\0", 8));
}

// Cannot be told where to look, as a Windows 7 without its update, and keeps one to itself.
HMODULE WINAPI loadAsOfOld(const wchar_t* name, HANDLE, DWORD flags) {
    SetLastError(*name == L'd' ? ERROR_ACCESS_DENIED : ERROR_INVALID_PARAMETER);
    flags == 8 ? void() : collect(name);
    return flags == 8 && !_wcsnicmp(name, L"C:\\windows\\", 11) ? LoadLibraryW(name) : nullptr;
}

TEST(LateLoading, libraryOfAnOldSystem_isTakenFromItsFolderOrNamed) {
    const ReplacedImport old(__imp_LoadLibraryExW, reinterpret_cast<void*>(&loadAsOfOld));
    const ReplacedImport folder(__imp_SetDllDirectoryW, reinterpret_cast<void*>(&collect));
    restrictLibrarySearch();
    requireWindowLibraries();
    EXPECT_EQ(collected, (Texts{L"", L"user32.dll", L"gdi32.dll", L"comctl32.dll", L"ole32.dll",
                                L"msimg32.dll", L"oleaut32.dll", L"uxtheme.dll"}));
    const auto failure = [](LateFunction f) { return thrownText([&] { resolveLateFunction(f); }); };
    SetLastError(7);
    EXPECT_EQ(resolveLateFunction({&slot, "msi.dll", "MsiCloseHandle"}), slot);
    EXPECT_EQ(failure({&slot, "msi.dll", "G"}), L"Could not find G in msi.dll (system error 127)");
    EXPECT_EQ(failure({&slot, "gone.dll", "G"}), L"Could not load gone.dll (system error 126)");
    EXPECT_EQ(failure({&slot, "denied.dll", "G"}), L"Could not load denied.dll (system error 5)");
    EXPECT_EQ(GetLastError(), 7u);
}

}  // namespace
}  // namespace zustd::test
