// A hash container that keeps its entries in the order of insertion.
//
// HashMap owns its entries one by one, at addresses that stay the same until the
// entry is removed; a table of buckets beside them finds an entry by key. Entries
// are cut from blocks that grow with the table. The hash is keyed anew in every
// process: a file cannot be made whose keys all fall into one bucket.
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <memory_resource>
#include <new>
#include <vector>

#include "ZuPlankton.h"

namespace zustd {

// The key of a hash: who does not know it cannot make texts of one hash.
struct HashSecret {
    std::uint64_t low = 0;
    std::uint64_t high = 0;
};

// A 64-bit hash of bytes, under a key of one's own or under this process's.
std::uint64_t hashBytes(const HashSecret& secret, const void* bytes, std::size_t size) noexcept;
std::uint64_t hashBytes(const void* bytes, std::size_t size) noexcept;

// How a key type is looked up: View is what find() takes, hash() is its hash, isSame() compares.
template <class K>
struct HashKey;

// Numbers, by their bytes.
template <>
struct HashKey<std::uint64_t> {
    using View = std::uint64_t;
    // What a table asks of a key type.
    static std::uint64_t hash(View key) noexcept { return hashBytes(&key, sizeof(key)); }
    static bool isSame(View left, View right) noexcept { return left == right; }
};

// Texts are looked up without a copy.
template <>
struct HashKey<std::wstring> {
    using View = std::wstring_view;
    // What a table asks of a key type.
    static std::uint64_t hash(View key) noexcept {
        return hashBytes(key.data(), key.size() * sizeof(wchar_t));
    }
    // Eight bytes at a time: keys are short, and a call of the C library costs more than they do.
    static bool isSame(View left, View right) noexcept {
        constexpr std::size_t kStep = sizeof(std::uint64_t) / sizeof(wchar_t);
        const auto wordOf = [](const wchar_t* text) {
            std::uint64_t word;
            std::memcpy(&word, text, sizeof(word));
            return word;
        };
        const auto differ = [&](std::size_t at) {
            return wordOf(left.data() + at) != wordOf(right.data() + at);
        };
        if (left.size() != right.size() || left.size() < kStep) {
            return left == right;
        }
        const std::size_t last = left.size() - kStep;
        for (std::size_t at = 0; at < last; at += kStep) {
            if (differ(at)) {
                return false;
            }
        }
        return !differ(last);
    }
};

// A key that holds a text of usual length in itself: a table of such keys takes
// no memory a key. Never changes.
class ShortKey {
public:
    explicit ShortKey(std::wstring_view text) : size_(text.size()) {
        wchar_t* characters = inPlace_;
        if (size_ > kRoom) {
            far_ = std::make_unique_for_overwrite<wchar_t[]>(size_);
            characters = far_.get();
        }
        text.copy(characters, size_);
    }
    ShortKey& operator=(ShortKey&&) = delete;
    ~ShortKey() = default;

    operator std::wstring_view() const noexcept { return {far_ ? far_.get() : inPlace_, size_}; }

private:
    static constexpr std::size_t kRoom = 32;

    std::size_t size_;
    std::unique_ptr<wchar_t[]> far_;
    wchar_t inPlace_[kRoom];
};

template <>
struct HashKey<ShortKey> : HashKey<std::wstring> {};

// A table from keys to values. Not synchronised. References and iterators to an entry stay valid
// until that entry is removed or the map cleared. The destructor of a value may use the map, or
// destroy it: its entry cannot be found any more, nor can any other one once the map is being
// cleared. A constructor of a value may not.
template <class V, class K = std::wstring>
class HashMap {
public:
    using KeyView = typename HashKey<K>::View;

    // A key and its value; the map's own.
    struct Entry {
        template <class... Args>
        explicit Entry(KeyView entryKey, Args&&... args)
            : key(entryKey), value(std::forward<Args>(args)...) {}

        const K key;
        V value;

    private:
        friend class HashMap;
        Entry* previous_ = nullptr;
        Entry* next_ = nullptr;
    };

    // From entry to entry in the order of insertion.
    class Iterator {
    public:
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;

        Iterator() = default;
        explicit Iterator(const Entry* entry) noexcept : entry_(entry) {}

        const Entry& operator*() const noexcept { return *entry_; }
        const Entry* operator->() const noexcept { return entry_; }
        Iterator& operator++() noexcept {
            entry_ = entry_->next_;
            return *this;
        }
        Iterator operator++(int) noexcept {
            Iterator before = *this;
            ++*this;
            return before;
        }
        friend bool operator==(Iterator, Iterator) = default;

    private:
        const Entry* entry_ = nullptr;
    };

    static constexpr std::size_t kSmallestBucketCount = 8;

    // The allocator gives the memory for entries and outlives the map. A map
    // made with a null allocator can be read but not filled.
    explicit HashMap(std::pmr::memory_resource* valueAllocator = std::pmr::new_delete_resource())
        : valueAllocator_(valueAllocator), buckets_(kSmallestBucketCount) {}

    HashMap& operator=(HashMap&&) = delete;
    ~HashMap() {
        // What destructors put in goes as well.
        do {
            clear();
        } while (first_ != nullptr);
    }

    std::size_t size() const noexcept { return size_; }
    bool empty() const noexcept { return size_ == 0; }
    std::size_t bucketCount() const noexcept { return buckets_.size(); }

    // The entries in the order of insertion.
    Iterator begin() const noexcept { return Iterator(first_); }
    Iterator end() const noexcept { return {}; }

    // The key's value, or null.
    V* find(KeyView key) noexcept {
        Bucket& bucket = bucketOf(key, HashKey<K>::hash(key));
        return bucket.entry != nullptr ? &bucket.entry->value : nullptr;
    }
    const V* find(KeyView key) const noexcept { return const_cast<HashMap*>(this)->find(key); }
    bool contains(KeyView key) const noexcept { return find(key) != nullptr; }

    // The key's entry, made from args at the end of the order when the key is new; second tells
    // whether it was. Fails the assertion "valueAllocator_" when an entry is needed and there is no
    // allocator. When memory runs out the map is as it was.
    template <class... Args>
    std::pair<Entry&, bool> findOrInsert(KeyView key, Args&&... args) {
        const std::uint64_t hash = HashKey<K>::hash(key);
        Bucket* bucket = &bucketOf(key, hash);
        if (bucket->entry != nullptr) {
            return {*bucket->entry, false};
        }
        ZU_ASSERT(valueAllocator_);
        if ((size_ + 1) * kLoadDenominator > buckets_.size() * kLoadNumerator) {
            resizeBuckets(buckets_.size() * 2);
            bucket = &bucketOf(key, hash);
        }
        Entry* entry = makeEntry(key, std::forward<Args>(args)...);
        *bucket = {entry, static_cast<std::uint32_t>(hash)};
        append(entry);
        return {*entry, true};
    }

    // Removes the key's entry; false when there is none.
    bool remove(KeyView key) noexcept {
        static_assert(std::is_nothrow_move_constructible_v<V>);
        Bucket& bucket = bucketOf(key, HashKey<K>::hash(key));
        Entry* entry = bucket.entry;
        if (entry == nullptr) {
            return false;
        }
        // Destroyed last, when the map no longer needs to be there.
        [[maybe_unused]] const V removed = std::move(entry->value);
        closeGap(static_cast<std::size_t>(&bucket - buckets_.data()));
        unlink(entry);
        std::destroy_at(entry);
        free_ = ::new (static_cast<void*>(entry)) FreeSlot{free_};
        return true;
    }

    // Removes every entry and goes back to the smallest number of buckets.
    void clear() noexcept {
        Entry* entry = std::exchange(first_, nullptr);
        Block* block = std::exchange(blocks_, nullptr);
        std::pmr::memory_resource* const allocator = valueAllocator_;
        last_ = nullptr;
        free_ = nullptr;
        size_ = 0;
        buckets_.resize(kSmallestBucketCount);
        buckets_.shrink_to_fit();
        std::fill(buckets_.begin(), buckets_.end(), Bucket{});
        // From here on the map may be used anew, or be gone.
        while (entry != nullptr) {
            std::destroy_at(std::exchange(entry, entry->next_));
        }
        while (block != nullptr) {
            Block* const done = std::exchange(block, block->next);
            allocator->deallocate(done, done->bytes, alignof(Block));
        }
    }

private:
    // The hash is kept beside the entry so that a search passes the buckets of
    // other keys without a look at their entries.
    struct Bucket {
        Entry* entry = nullptr;
        std::uint32_t hash = 0;
    };

    struct FreeSlot {
        FreeSlot* next;
    };

    // The entries stand behind it.
    struct alignas(Entry) alignas(void*) Block {
        Block* next;
        std::size_t bytes;
    };

    static constexpr std::size_t kLoadNumerator = 3;
    static constexpr std::size_t kLoadDenominator = 4;
    static constexpr std::size_t kSmallestBlock = 4;
    static constexpr std::size_t kLargestBlock = 1024;
    static_assert(sizeof(Entry) >= sizeof(FreeSlot));

    // The bucket that holds the key, or the empty one where it belongs.
    Bucket& bucketOf(KeyView key, std::uint64_t hash) noexcept {
        const std::size_t mask = buckets_.size() - 1;
        const auto shortHash = static_cast<std::uint32_t>(hash);
        std::size_t index = shortHash & mask;
        while (buckets_[index].entry != nullptr &&
               (buckets_[index].hash != shortHash ||
                !HashKey<K>::isSame(buckets_[index].entry->key, key))) {
            index = (index + 1) & mask;
        }
        return buckets_[index];
    }

    void resizeBuckets(std::size_t count) {
        std::vector<Bucket> larger(count);
        for (const Bucket& bucket : buckets_) {
            if (bucket.entry == nullptr) {
                continue;
            }
            std::size_t index = bucket.hash & (count - 1);
            while (larger[index].entry != nullptr) {
                index = (index + 1) & (count - 1);
            }
            larger[index] = bucket;
        }
        buckets_ = std::move(larger);
    }

    // Empties a bucket and moves those behind it up that would no longer be found past the gap.
    void closeGap(std::size_t gap) noexcept {
        const std::size_t mask = buckets_.size() - 1;
        std::size_t index = gap;
        for (;;) {
            index = (index + 1) & mask;
            if (buckets_[index].entry == nullptr) {
                break;
            }
            const std::size_t home = buckets_[index].hash & mask;
            if (((index - home) & mask) >= ((index - gap) & mask)) {
                buckets_[gap] = buckets_[index];
                gap = index;
            }
        }
        buckets_[gap] = Bucket{};
    }

    template <class... Args>
    Entry* makeEntry(KeyView key, Args&&... args) {
        if (free_ == nullptr) {
            addBlock();
        }
        FreeSlot* slot = free_;
        FreeSlot* rest = slot->next;
        try {
            Entry* entry = ::new (static_cast<void*>(slot)) Entry(key, std::forward<Args>(args)...);
            free_ = rest;
            return entry;
        } catch (...) {
            free_ = ::new (static_cast<void*>(slot)) FreeSlot{rest};
            throw;
        }
    }

    void addBlock() {
        const std::size_t count = std::min(std::max(size_, kSmallestBlock), kLargestBlock);
        const std::size_t bytes = sizeof(Block) + count * sizeof(Entry);
        void* memory = valueAllocator_->allocate(bytes, alignof(Block));
        blocks_ = ::new (memory) Block{blocks_, bytes};
        std::byte* slot = static_cast<std::byte*>(memory) + bytes;
        for (std::size_t i = 0; i < count; ++i) {
            slot -= sizeof(Entry);
            free_ = ::new (static_cast<void*>(slot)) FreeSlot{free_};
        }
    }

    void append(Entry* entry) noexcept {
        entry->previous_ = last_;
        (last_ != nullptr ? last_->next_ : first_) = entry;
        last_ = entry;
        ++size_;
    }

    void unlink(Entry* entry) noexcept {
        (entry->previous_ != nullptr ? entry->previous_->next_ : first_) = entry->next_;
        (entry->next_ != nullptr ? entry->next_->previous_ : last_) = entry->previous_;
        --size_;
    }

    std::pmr::memory_resource* valueAllocator_;
    std::vector<Bucket> buckets_;
    Entry* first_ = nullptr;
    Entry* last_ = nullptr;
    std::size_t size_ = 0;
    FreeSlot* free_ = nullptr;
    Block* blocks_ = nullptr;
};

// A table from numbers (identifiers, keys of rows, handles) to values.
template <class V>
using SizeMap = HashMap<V, std::uint64_t>;

}  // namespace zustd
