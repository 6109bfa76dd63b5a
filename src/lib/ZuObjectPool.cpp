#include "ZuObjectPool.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

namespace zustd {

namespace {

constexpr std::size_t kLargestBlock =
    std::size_t{64} * 1024 / ObjectPool::kPieceSize * ObjectPool::kPieceSize;

constinit ObjectPool sharedPool;

}  // namespace

void ObjectPool::SpinLock::lock() noexcept {
    while (busy_.test_and_set(std::memory_order_acquire)) {
        std::this_thread::yield();
    }
}

void* ObjectPool::take() {
    const std::lock_guard lock(lock_);
    if (free_ == nullptr) {
        auto* memory = static_cast<std::byte*>(::operator new(nextBlock_));
        for (std::size_t at = nextBlock_; at > 0;) {
            at -= kPieceSize;
            free_ = ::new (static_cast<void*>(memory + at)) Piece{free_};
        }
        nextBlock_ = std::min(nextBlock_ * 2, kLargestBlock);
    }
    return std::exchange(free_, free_->next);
}

void ObjectPool::giveBack(void* object) noexcept {
    auto* piece = ::new (object) Piece{};
    const std::lock_guard lock(lock_);
    piece->next = std::exchange(free_, piece);
}

ObjectPool& ObjectPool::shared() noexcept { return sharedPool; }

}  // namespace zustd
