#include "ZuHashMap.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using test::AllocationLimit;
using test::Random;

// Counts what is out; a value whose construction can be made to fail.
class CountingMemory : public std::pmr::memory_resource {
public:
    std::size_t bytesOut = 0;

private:
    void* do_allocate(std::size_t bytes, std::size_t alignment) override {
        bytesOut += bytes;
        return std::pmr::new_delete_resource()->allocate(bytes, alignment);
    }
    void do_deallocate(void* memory, std::size_t bytes, std::size_t alignment) override {
        bytesOut -= bytes;
        std::pmr::new_delete_resource()->deallocate(memory, bytes, alignment);
    }
    bool do_is_equal(const memory_resource& other) const noexcept override {
        return this == &other;
    }
};

struct Picky {
    explicit Picky(int wanted) : number(wanted) {
        if (wanted < 0) {
            throw std::runtime_error("negative");
        }
    }
    int number;
};

template <class Map>
std::vector<std::wstring> keysOf(const Map& map) {
    std::vector<std::wstring> keys;
    for (const auto& entry : map) {
        keys.push_back(entry.key);
    }
    return keys;
}

TEST(HashMap, anyOperations_againstAList_haveTheSameEntriesInTheSameOrder) {
    Random random(20160101);
    SCOPED_TRACE(random.label());
    CountingMemory memory;
    {
        HashMap<int> map(&memory);
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
                ASSERT_EQ(memory.bytesOut, 0U);
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
        EXPECT_NE(memory.bytesOut, 0U);
    }
    EXPECT_EQ(memory.bytesOut, 0U);
}

TEST(HashMap, findOrInsert_withoutAllocator_failsTheAssertionButReads) {
    HashMap<int> map(nullptr);
    EXPECT_EQ(map.find(L"a"), nullptr);
    EXPECT_FALSE(map.remove(L"a"));
    EXPECT_EQ(test::thrownText([&] { map.findOrInsert(L"a", 1); }), L"valueAllocator_");
    EXPECT_TRUE(map.empty());
    map.clear();
}

TEST(HashMap, findOrInsert_emptyAndEmbeddedZeroKeys_areKeysOfTheirOwn) {
    HashMap<int> map;
    map.findOrInsert(std::wstring_view(), 1);
    map.findOrInsert(std::wstring_view(L"\0", 1), 2);
    map.findOrInsert(L"a", 3);
    map.findOrInsert(L"A", 4);
    EXPECT_EQ(map.size(), 4U);
    EXPECT_EQ(*map.find(L""), 1);
    EXPECT_EQ(*map.find(L"a"), 3);
}

TEST(HashMap, findOrInsert_valueThatThrows_leavesTheMapAsItWas) {
    HashMap<Picky> map;
    for (int i = 0; i < 100; ++i) {
        EXPECT_THROW(map.findOrInsert(L"bad" + std::to_wstring(i), -1), std::runtime_error);
        map.findOrInsert(L"good" + std::to_wstring(i), i);
    }
    EXPECT_EQ(map.size(), 100U);
    EXPECT_FALSE(map.contains(L"bad7"));
    EXPECT_EQ(map.find(L"good7")->number, 7);
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

TEST(HashMap, hashBytes_anySingleBitChanged_differs) {
    std::string bytes(40, 'x');
    for (std::size_t size = 1; size <= bytes.size(); ++size) {
        const std::uint64_t hash = hashBytes(bytes.data(), size);
        EXPECT_NE(hash, hashBytes(bytes.data(), size - 1)) << size;
        for (std::size_t bit = 0; bit < 8 * size; ++bit) {
            bytes[bit / 8] = static_cast<char>('x' ^ 1 << bit % 8);
            EXPECT_NE(hash, hashBytes(bytes.data(), size)) << size << " " << bit;
            bytes[bit / 8] = 'x';
        }
    }
}

TEST(HashMap, remove_byTheEntrysOwnKey_removesIt) {
    HashMap<int> map;
    const std::wstring& key = map.findOrInsert(L"a key too long for a small string", 1).first.key;
    map.findOrInsert(L"b", 2);
    EXPECT_TRUE(map.remove(key));
    EXPECT_EQ(keysOf(map), std::vector<std::wstring>{L"b"});
}

TEST(HashSetAndSizeMap, usedAsTables_keepOrderAndTellNewFromOld) {
    HashSet<> names;
    EXPECT_TRUE(names.insert(L"b"));
    EXPECT_TRUE(names.insert(L"a"));
    EXPECT_FALSE(names.insert(L"b"));
    std::wstring order;
    names.forEach([&](const std::wstring& key) { order += key; });
    EXPECT_EQ(order, L"ba");

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
