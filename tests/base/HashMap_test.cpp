#include "ZuHashMap.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <numeric>
#include <optional>

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
