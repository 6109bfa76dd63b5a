#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <numeric>
#include <optional>
#include <thread>

#include "ZuDateTime.h"
#include "ZuHashMap.h"
#include "ZuId.h"
#include "ZuObjectPool.h"
#include "ZuSerializable.h"
#include "ZuText.h"
#include "ZuVersion.h"
#include "ZuWindows.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

TEST(TextFormat, formats_resultOfAnyLength_areWhole) {
    for (const std::size_t length : {0U, 1U, 126U, 127U, 128U, 129U, 5000U}) {
        const std::wstring text(length, L'\u0416');
        EXPECT_EQ(formatWide(L"<%ls>", text.c_str()), L"<" + text + L">") << length;
        const std::string narrowText(length, 'x');
        EXPECT_EQ(formatNarrow("<%s>", narrowText.c_str()), "<" + narrowText + ">") << length;
    }
    EXPECT_EQ(formatWide(L"%ls|%hs|%04d|%ld|%llu|%I64d|%X|%0.2lf", L"wide", "narrow", 7, -5L,
                         18446744073709551615ULL, -9LL, 255, 0.125),
              L"wide|narrow|0007|-5|18446744073709551615|-9|FF|0.12");
}

TEST(TextConversion, narrow_plainTextComesBack_anyOtherIsLossyAndNoWildcard) {
    bool lossy = true;
    EXPECT_EQ(narrow(L"C:\\a b.txt", &lossy), "C:\\a b.txt");
    EXPECT_FALSE(lossy);
    EXPECT_EQ(widen(narrow(L"")), L"");
    EXPECT_EQ(widen(narrow(std::wstring(L"a\0b", 3))), std::wstring(L"a\0b", 3));
    // A lone surrogate is in no code page at all.
    EXPECT_EQ(narrow(L"a\xD800z", &lossy), GetACP() == CP_UTF8 ? "a\xEF\xBF\xBDz" : "a_z");
    EXPECT_TRUE(lossy);
}

TEST(TextEquality, equalsIgnoringAsciiCase_anyUnit_foldsTheTwentySixLettersOnly) {
    for (wchar_t unit = 0; unit < 0xFF00; ++unit) {
        const std::wstring texts[] = {{L'x', unit}, {L'X', static_cast<wchar_t>(unit + 32)}};
        const bool isLetter = unit >= L'A' && unit <= L'Z';
        ASSERT_EQ(equalsIgnoringAsciiCase(texts[0], texts[1]), isLetter) << texts[0];
        ASSERT_FALSE(equalsIgnoringAsciiCase(texts[0], texts[0] + unit));
    }
}

TEST(Version, buildKinds_areSaidBehindTheNumbers) {
    EXPECT_EQ(Version().toDisplayText(), L"0.0.852");
    EXPECT_EQ((Version{1, 8, -3, BuildKind::Beta}).toDisplayText(), L"1.8.-3 BETA");
    EXPECT_EQ((Version{1, 8, 4, BuildKind::Debug}).toDisplayText(), L"1.8.4 DEBUG");
}

TEST(DateTime, fields_orderByTimeAlsoAsFileStamps) {
    const DateTime times[] = {
        {2016, 9, 30, 23, 59, 59, 999}, {2016, 10, 1}, {2016, 10, 1, 0, 0, 2, 9}};
    EXPECT_TRUE(times[0] < times[1] && times[1] < times[2]);
    EXPECT_EQ(times[2].toFileStamp(), L"2016-10-01-00;00;02;009");
    EXPECT_EQ(times[1], DateTime(2016, 10, 1, 0, 0, 0, 0));
    EXPECT_EQ(DateTime(), DateTime(0, 0, 0));
}

TEST(Id, ofAnyObject_isNewAndSixteenDigits) {
    const Id first;
    const Id second;
    EXPECT_GT(first.id(), 0U);
    EXPECT_NE(first.id(), second.id());
    EXPECT_EQ(second.idText(), formatWide(L"%016llX", second.id()));
}

// Unions live in the shared pool.
TEST(ObjectPool, pieces_ofSeveralThreads_areNobodyElses) {
    std::atomic<std::ptrdiff_t> spoilt = 0;
    const auto useMany = [&](double mark) {
        for (int round = 0; round < 1000; ++round) {
            std::vector<SerializableUnion> values(2000);
            std::for_each(values.begin(), values.end(), [=](auto& each) { each.setDouble(mark); });
            spoilt += std::count_if(values.begin(), values.end(),
                                    [=](const auto& each) { return each.getDouble() != mark; });
        }
    };
    for (std::vector<std::jthread> threads; threads.size() < 4;) {
        threads.emplace_back(useMany, threads.size());
    }
    // Four threads' worth lies ready for one.
    const MemoryWatch watch;
    useMany(9);
    EXPECT_LT(watch.peak(), 2000 * (sizeof(SerializableUnion) + ObjectPool::kPieceSize / 2));
    EXPECT_EQ(spoilt, 0);
}

TEST(HashMap, anyOperations_againstAList_haveTheSameEntriesInTheSameOrder) {
    Random random(20160101);
    SCOPED_TRACE(random.label());
    const MemoryWatch memory;
    {
        HashMap<int, ShortKey> map;
        std::vector<std::pair<std::wstring, int*>> model;
        for (int step = 0; step < 20000; ++step) {
            const std::wstring key(random.below(80), random.pick(L"bB\xFFFF"));
            const auto place = std::find_if(model.begin(), model.end(),
                                            [&](const auto& item) { return item.first == key; });
            ASSERT_EQ(map.find(key), place != model.end() ? place->second : nullptr);
            if (random.below(5) < 3) {
                const auto [entry, created] = map.findOrInsert(key, step);
                ASSERT_EQ(created, place == model.end());
                if (created) {
                    ASSERT_EQ(entry.value, step);
                    model.emplace_back(key, &entry.value);
                }
            } else {
                ASSERT_EQ(map.remove(key), place != model.end());
                if (place != model.end()) {
                    model.erase(place);
                }
            }
            if (step % 5000 == 4999) {
                map.clear();
                model.clear();
            }
            ASSERT_EQ(map.size(), model.size());
            ASSERT_EQ(map.empty(), model.empty());
            ASSERT_LE(map.size() * 4, map.bucketCount() * 3);
            ASSERT_TRUE(!map.empty() || map.bucketCount() == 8);
            if (step % 50 == 0) {
                auto expected = model.begin();
                for (const auto& entry : map) {
                    ASSERT_EQ(std::wstring_view(entry.key), (expected++)->first);
                }
            }
        }
        map.findOrInsert(L"left", 1);
        EXPECT_NE(memory.held(), 0);
    }
    EXPECT_EQ(memory.held(), 0);
}

// Hashes that meet are too rare to wait for in a map.
TEST(HashKey, textsOfAnyLength_areTheSameUnlessOneUnitDiffers) {
    for (std::size_t size = 0; size < 20; ++size) {
        const std::wstring text(size, L'k');
        EXPECT_TRUE(HashKey<std::wstring>::isSame(text, std::wstring(text))) << size;
        EXPECT_FALSE(HashKey<std::wstring>::isSame(text, text + L'k')) << size;
        for (std::size_t at = 0; at < size; ++at) {
            std::wstring other = text;
            other[at] = L'x';
            EXPECT_FALSE(HashKey<std::wstring>::isSame(text, other)) << size << ' ' << at;
        }
    }
}

TEST(HashMap, findOrInsert_memoryRunsOut_leavesTheMapAsItWas) {
    const std::wstring key(100, L'k');
    std::optional<HashMap<std::wstring>> map;
    const auto refill = [&] {
        map.emplace();
        for (int i = 0; i < 6; ++i) {
            map->findOrInsert(std::to_wstring(i));
        }
    };
    const auto check = [&](bool inserted) {
        EXPECT_EQ(map->contains(key), inserted);
        EXPECT_EQ(map->size(), inserted ? 7U : 6U);
        EXPECT_TRUE(map->remove(map->begin()->key)) << "by the entry's own key";
        refill();
    };
    refill();
    EXPECT_GE(failEachAllocation([&] { return map->findOrInsert(key, key).second; }, check), 3);
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
                    std::uint64_t found = 0;
                    // Null while it is destroyed itself.
                    for (auto entry = map ? map->begin() : Map().begin(); entry != Map().end();
                         ++entry) {
                        found += entry->key != key && map->contains(entry->key);
                    }
                    EXPECT_TRUE(!map || (map->size() == found && !map->contains(key)));
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
    const std::pair<std::size_t, std::uint64_t> kExpected[] = {
        {1, 0x68A914128E01E473},  {2, 0x10BAC45C41E3669},   {7, 0x2F098AB0C751325A},
        {8, 0xEAD411E67EBE2EEA},  {9, 0x75927F9D95124362},  {16, 0x8972188433A5C5B7},
        {17, 0x4883C49A2C009C1D}, {63, 0x385D3E39E5F37359},
    };
    std::string bytes(64, '\0');
    std::iota(bytes.begin(), bytes.end(), '\0');
    for (const auto& [size, expected] : kExpected) {
        EXPECT_EQ(hashBytes({}, bytes.data(), size), expected) << size;
        EXPECT_NE(hashBytes({0, 1}, bytes.data(), size), hashBytes({1, 0}, bytes.data(), size));
        EXPECT_NE(hashBytes(bytes.data(), size), expected) << "anybody could make colliding keys";
    }
    EXPECT_EQ(HashKey<std::wstring>::hash(L"ab"), hashBytes(L"ab", 4));
    EXPECT_EQ(HashKey<std::uint64_t>::hash(0x3132), hashBytes("21\0\0\0\0\0", 8));
}

}  // namespace
}  // namespace zustd
