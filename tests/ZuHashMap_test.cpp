#include "ZuHashMap.h"

#include <gtest/gtest.h>

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
        HashMap<int> map;
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
                    ASSERT_EQ(entry.key, (expected++)->first);
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
    HashSet<> names;
    EXPECT_TRUE(names.insert(L"b") && names.insert(L"a") && !names.insert(L"b"));
    std::wstring order;
    names.forEach([&](const std::wstring& key) { order += key; });
    EXPECT_EQ(order, L"ba");
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

}  // namespace
}  // namespace zustd
