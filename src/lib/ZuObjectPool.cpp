#include "ZuObjectPool.h"

#include <algorithm>
#include <new>
#include <thread>

namespace zustd {

namespace {

constexpr std::size_t kLargestBlock = std::size_t{64} * 1024;

constinit ObjectPool sharedPool;

}  // namespace

// Held for a few instructions; whoever finds it taken lets its holder run.
class ObjectPool::Lock {
public:
    explicit Lock(std::atomic_flag& busy) noexcept : busy_(busy) {
        while (busy_.test_and_set(std::memory_order_acquire)) {
            std::this_thread::yield();
        }
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() { busy_.clear(std::memory_order_release); }

private:
    std::atomic_flag& busy_;
};

void* ObjectPool::take() {
    {
        const Lock lock(busy_);
        if (Piece* piece = free_) {
            free_ = piece->next;
            return piece;
        }
    }
    return cutBlock();
}

void ObjectPool::giveBack(void* object) noexcept {
    auto* piece = ::new (object) Piece{};
    const Lock lock(busy_);
    piece->next = free_;
    free_ = piece;
}

// The heap is asked outside of the lock: it may take long, and may throw.
ObjectPool::Piece* ObjectPool::cutBlock() {
    std::size_t size = 0;
    {
        const Lock lock(busy_);
        size = nextBlock_;
        nextBlock_ = std::min(size * 2, kLargestBlock / kPieceSize * kPieceSize);
    }
    auto* memory = static_cast<std::byte*>(::operator new(size));
    Piece* rest = nullptr;
    Piece* last = nullptr;
    for (std::size_t at = size - kPieceSize; at > 0; at -= kPieceSize) {
        rest = ::new (static_cast<void*>(memory + at)) Piece{rest};
        last = last == nullptr ? rest : last;
    }
    if (rest != nullptr) {
        const Lock lock(busy_);
        last->next = free_;
        free_ = rest;
    }
    return ::new (static_cast<void*>(memory)) Piece{};
}

ObjectPool& ObjectPool::shared() noexcept { return sharedPool; }

}  // namespace zustd
