#include "ZuHashMap.h"

#include <gtest/gtest.h>

#include <functional>
#include <numeric>
#include <optional>
#include <set>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

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
                ASSERT_EQ(map.bucketCount(), 8U);
            }
            ASSERT_EQ(map.size(), model.size());
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
        EXPECT_TRUE(map->contains(L"5"));
        refill();
    };
    refill();
    EXPECT_GE(failEachAllocation([&] { return map->findOrInsert(key, key).second; }, check), 3);
}

TEST(HashMap, keysOfAnyKind_areKeysOfTheirOwnInTheirOrder) {
    // Removed by the entry's own key.
    HashMap<int> map;
    EXPECT_TRUE(map.remove(map.findOrInsert(L"too long for a small string", 1).first.key));
    EXPECT_TRUE(map.empty());

    SizeMap<std::wstring> rows;
    for (const std::uint64_t key : {0ULL, 1ULL << 63, ~0ULL, 1ULL << 32}) {
        rows.findOrInsert(key, std::to_wstring(key));
    }
    EXPECT_EQ(*rows.find(~0ULL), L"18446744073709551615");
    EXPECT_EQ(*rows.find(1ULL << 32), L"4294967296");
    EXPECT_EQ(rows.find(2), nullptr);
}

// Runs something when it goes.
struct Leaving {
    explicit Leaving(std::function<void()> runs) : last(std::move(runs)) {}
    Leaving(Leaving&& other) noexcept : last(std::exchange(other.last, nullptr)) {}
    ~Leaving() {
        if (last) {
            last();
        }
    }
    std::function<void()> last;
};

TEST(HashMap, valuesThatUseOrDestroyTheMapWhenTheyGo_findItWholeWithoutThemselves) {
    using Map = HashMap<Leaving>;
    const std::function<void(std::unique_ptr<Map>&)> kRemovals[] = {
        [](auto& map) { map->remove(L"1"); },
        [](auto& map) { map->clear(); },
        [](auto& map) { map.reset(); },
    };
    const std::function<void(std::unique_ptr<Map>&)> kLast[] = {
        [](auto& map) { map->clear(); },
        [](auto& map) { map->remove(L"2"); },
        [](auto& map) { map->findOrInsert(L"new", nullptr); },
        [](auto& map) { map.reset(); },
    };
    for (const auto& removal : kRemovals) {
        for (const auto& last : kLast) {
            const MemoryWatch memory;
            {
                auto map = std::make_unique<Map>();
                int runs = 0;
                for (int i = 0; i < 40; ++i) {
                    const std::wstring key = std::to_wstring(i);
                    map->findOrInsert(key, [&, i, key] {
                        // Null while it is destroyed itself.
                        if (map) {
                            EXPECT_FALSE(map->contains(key));
                            std::size_t size = 0;
                            for (const auto& entry : *map) {
                                EXPECT_TRUE(map->contains(entry.key));
                                ++size;
                            }
                            EXPECT_EQ(map->size(), size);
                        }
                        if (map && runs++ == 0) {
                            last(map);
                        }
                    });
                }
                removal(map);
            }
            EXPECT_EQ(memory.held(), 0);
        }
    }
}

TEST(Hash, ofBytes_isSipHashOneThree) {
    const std::pair<std::size_t, std::uint64_t> kExpected[] = {
        {1, 0x68A914128E01E473},  {2, 0x10BAC45C41E3669},   {7, 0x2F098AB0C751325A},
        {8, 0xEAD411E67EBE2EEA},  {9, 0x75927F9D95124362},  {16, 0x8972188433A5C5B7},
        {17, 0x4883C49A2C009C1D}, {63, 0x385D3E39E5F37359},
    };
    std::string bytes(64, '\0');
    std::iota(bytes.begin(), bytes.end(), '\0');
    for (const auto& [size, expected] : kExpected) {
        EXPECT_EQ(hashBytes({}, bytes.data(), size), expected) << size;
    }
}

// Keys that fall together under a constant that somebody might know: that of
// a former hash, and those that this one begins with.
TEST(Hash, keysMadeForKnownConstants_fallIntoBucketsAsByChance) {
    static const std::wstring kConstants[] = {
        L"\xA3F7\x1D64\x278E\xC5B9", L"\xF02D\xB7E4\x61D5\x9A3C", L"\x6575\x7073\x6D65\x736F",
        L"\x6F6D\x646E\x7261\x646F", L"\x7261\x6765\x656E\x6C79", L"\x6573\x7974\x6462\x7465",
        std::wstring(4, L'\0')};
    constexpr std::size_t kKeys = 8000;
    for (const std::wstring& constant : kConstants) {
        for (std::size_t place = 0; place < 4; ++place) {
            std::set<std::uint64_t> hashes;
            std::set<std::uint64_t> buckets;
            for (std::size_t number = 0; number < kKeys; ++number) {
                // What differs stands before the constant, which must not hide it.
                const std::wstring key = std::to_wstring(number + 1000) +
                                         std::wstring(place * 4, L'k') + constant + L"k";
                hashes.insert(HashKey<std::wstring>::hash(key));
                buckets.insert(HashKey<std::wstring>::hash(key) % (2 * kKeys));
            }
            EXPECT_EQ(hashes.size(), kKeys);
            // By chance 6,295; ten times its deviation less.
            EXPECT_GT(buckets.size(), 5900U) << place;
        }
    }
}

}  // namespace
}  // namespace zustd
