// Memory for many small objects that come and go together, such as the values
// of a large settings file.
//
// A pool hands out pieces of one size from blocks that it takes from the heap and
// never gives back. Any thread may take and give back.
#pragma once

#include <atomic>
#include <cstddef>

namespace zustd {

class ObjectPool {
public:
    ObjectPool& operator=(ObjectPool&&) = delete;

    // What a piece holds and how it is aligned.
    static constexpr std::size_t kPieceSize = 48;
    static constexpr std::size_t kAlignment = alignof(std::max_align_t);

    // A piece without content; throws std::bad_alloc.
    void* take();
    void giveBack(void* object) noexcept;

    // The pool of this framework's own small objects.
    static ObjectPool& shared() noexcept;

private:
    struct Piece {
        Piece* next;
    };
    // Held for a few instructions, or while the heap gives a block; whoever finds it
    // taken lets its holder run.
    class SpinLock {
    public:
        void lock() noexcept;
        void unlock() noexcept { busy_.clear(std::memory_order_release); }

    private:
        std::atomic_flag busy_;
    };

    SpinLock lock_;
    Piece* free_ = nullptr;
    std::size_t nextBlock_ = kPieceSize;
};

// Base of a class whose objects live in the shared pool, unless a derived class
// makes them too large.
class PooledObject {
public:
    // The operator delete below, which is told the size, belongs to it.
    // NOLINTNEXTLINE(misc-new-delete-overloads)
    static void* operator new(std::size_t size) {
        return size <= ObjectPool::kPieceSize ? ObjectPool::shared().take() : ::operator new(size);
    }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* object, std::size_t size) noexcept {
        size <= ObjectPool::kPieceSize ? ObjectPool::shared().giveBack(object)
                                       : ::operator delete(object);
    }

protected:
    ~PooledObject() = default;
};

}  // namespace zustd
