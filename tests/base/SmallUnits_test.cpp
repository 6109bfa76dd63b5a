#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <numeric>
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
    for (const std::size_t length : {0U, 1U, 127U, 128U, 129U, 5000U}) {
        const std::wstring text(length, L'\u0416');
        EXPECT_EQ(formatWide(L"%ls%I64d", text.c_str(), -9LL), text + L"-9") << length;
        const std::string narrowText(length, 'x');
        EXPECT_EQ(formatNarrow("%s%d", narrowText.c_str(), 7), narrowText + "7") << length;
    }
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

TEST(SmallValues, versionsTimesAndIds_areToldApartAndWritten) {
    EXPECT_EQ(Version().toDisplayText(), L"0.0.852");
    EXPECT_EQ((Version{1, 8, -3, BuildKind::Beta}).toDisplayText(), L"1.8.-3 BETA");
    EXPECT_EQ((Version{1, 8, 4, BuildKind::Debug}).toDisplayText(), L"1.8.4 DEBUG");
    const DateTime midnight(2016, 10, 1);
    const DateTime later(2016, 10, 1, 0, 0, 2, 9);
    EXPECT_TRUE(DateTime(2016, 9, 30, 23, 59, 59, 999) < midnight && midnight < later);
    EXPECT_EQ(later.toFileStamp(), L"2016-10-01-00;00;02;009");
    EXPECT_TRUE(midnight == DateTime(2016, 10, 1, 0, 0, 0, 0) && DateTime() == DateTime(0, 0, 0));
    const Id first;
    const Id second;
    EXPECT_GT(first.id(), 0U);
    EXPECT_NE(first.id(), second.id());
    EXPECT_EQ(second.idText(), formatWide(L"%016llX", second.id()));
}

// Unions live in the shared pool.
TEST(ObjectPool, pieces_ofSeveralThreads_areNobodyElses) {
    std::atomic<bool> isSpoilt = false;
    const auto useMany = [&](double mark) {
        for (int round = 0; round < 1000; ++round) {
            std::vector<SerializableUnion> values(2000);
            std::ranges::for_each(values, [=](auto& each) { each.setDouble(mark); });
            isSpoilt = isSpoilt || !std::ranges::all_of(values, [=](const auto& each) {
                           return each.getDouble() == mark;
                       });
        }
    };
    for (std::vector<std::jthread> threads; threads.size() < 4;) {
        threads.emplace_back(useMany, threads.size());
    }
    // Four threads' worth lies ready for one.
    const MemoryWatch watch;
    useMany(9);
    EXPECT_LT(watch.peak(), 2000 * (sizeof(SerializableUnion) + ObjectPool::kPieceSize / 2));
    EXPECT_FALSE(isSpoilt);
}

TEST(HashMap, anyOperations_besideAList_haveTheSameEntriesInTheSameOrder) {
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
            const bool isNew = place == model.end();
            ASSERT_EQ(map.find(key), isNew ? nullptr : place->second);
            if (random.below(5) < 3) {
                const auto [entry, created] = map.findOrInsert(key, step);
                ASSERT_EQ(created, isNew);
                ASSERT_TRUE(!created || entry.value == step);
                model.resize(model.size() + created, {key, &entry.value});
            } else {
                ASSERT_EQ(map.remove(key), !isNew);
                model.erase(place, isNew ? place : place + 1);
            }
            if (step % 5000 == 4999) {
                map.clear();
                model.clear();
            }
            ASSERT_EQ(map.size(), model.size());
            ASSERT_EQ(map.empty(), model.empty());
            ASSERT_LE(map.size() * 4, map.bucketCount() * 3);
            ASSERT_TRUE(!map.empty() || map.bucketCount() == 8);
            ASSERT_TRUE(step % 50 > 0 ||
                        std::equal(map.begin(), map.end(), model.begin(), model.end(),
                                   [](const auto& entry, const auto& item) {
                                       return std::wstring_view(entry.key) == item.first;
                                   }));
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
                    const auto isOther = [&](const auto& entry) {
                        return entry.key != key && map->contains(entry.key);
                    };
                    // Null while it is destroyed itself.
                    EXPECT_TRUE(!map || (!map->contains(key) &&
                                         std::all_of(map->begin(), map->end(), isOther)));
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
    std::iota(bytes.begin(), bytes.end(), '\0');
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
    EXPECT_EQ(sum, 0x1B96A084188025CEU) << "of another implementation";
    EXPECT_EQ(HashKey<std::wstring>::hash(L"ab"), hashBytes(L"ab", 4));
    EXPECT_EQ(HashKey<std::uint64_t>::hash(0x3132), hashBytes("21\0\0\0\0\0", 8));
}

}  // namespace
}  // namespace zustd
