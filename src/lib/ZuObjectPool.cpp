#include "ZuObjectPool.h"

#include <algorithm>
#include <atomic>
#include <new>
#include <thread>
#include <utility>

namespace zustd {

namespace {

constexpr std::size_t kLargestBlock =
    std::size_t{64} * 1024 / ObjectPool::kPieceSize * ObjectPool::kPieceSize;

struct Piece {
    Piece* next;
};
constinit Piece* freePieces = nullptr;
constinit std::size_t nextBlock = ObjectPool::kPieceSize;
constinit std::atomic_flag busy;

// Held for a few instructions, or while the heap gives a block; whoever finds it
// taken lets its holder run.
class Lock {
public:
    Lock() noexcept {
        while (busy.test_and_set(std::memory_order_acquire)) {
            std::this_thread::yield();
        }
    }
    Lock& operator=(Lock&&) = delete;
    ~Lock() { busy.clear(std::memory_order_release); }
};

}  // namespace

void* ObjectPool::take() {
    const Lock lock;
    if (freePieces == nullptr) {
        auto* memory = static_cast<std::byte*>(::operator new(nextBlock));
        for (std::size_t at = nextBlock; at > 0;) {
            at -= kPieceSize;
            freePieces = ::new (static_cast<void*>(memory + at)) Piece{freePieces};
        }
        nextBlock = std::min(nextBlock * 2, kLargestBlock);
    }
    return std::exchange(freePieces, freePieces->next);
}

void ObjectPool::giveBack(void* object) noexcept {
    auto* piece = ::new (object) Piece{};
    const Lock lock;
    piece->next = std::exchange(freePieces, piece);
}

}  // namespace zustd
