#include "ZuHashMap.h"

#include <gtest/gtest.h>

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
            const std::wstring key = std::to_wstring(random.below(300));
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

TEST(HashMap, findOrInsert_withoutAllocator_failsTheAssertionButReads) {
    HashMap<int> map(nullptr);
    EXPECT_EQ(map.find(L"a"), nullptr);
    EXPECT_FALSE(map.remove(L"a"));
    EXPECT_EQ(thrownText([&] { map.findOrInsert(L"a", 1); }), L"valueAllocator_");
    EXPECT_TRUE(map.empty());
}

TEST(HashMap, findOrInsert_memoryRunsOut_leavesTheMapAsItWas) {
    const std::wstring key(100, L'k');
    for (long allowed = 0;; ++allowed) {
        HashMap<std::wstring> map;
        for (int i = 0; i < 6; ++i) {
            map.findOrInsert(std::to_wstring(i));
        }
        bool inserted = true;
        {
            const AllocationLimit limit(allowed);
            try {
                map.findOrInsert(key, std::wstring(100, L'v'));
            } catch (const std::bad_alloc&) {
                inserted = false;
            }
        }
        ASSERT_EQ(map.contains(key), inserted) << allowed;
        ASSERT_EQ(map.size(), inserted ? 7U : 6U);
        ASSERT_EQ(map.contains(L"5"), true);
        if (inserted) {
            EXPECT_GE(allowed, 3);
            break;
        }
    }
}

TEST(HashMap, keysOfAnyKind_areKeysOfTheirOwnInTheirOrder) {
    HashSet<> names;
    for (const std::wstring& key : Texts{L"b", L"", std::wstring(1, L'\0'), L"B"}) {
        EXPECT_TRUE(names.insert(key));
        EXPECT_FALSE(names.insert(key));
    }
    std::wstring order;
    names.forEach([&](const std::wstring& key) { order += key + L","; });
    EXPECT_EQ(order, std::wstring(L"b,,\0,B,", 7));
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
