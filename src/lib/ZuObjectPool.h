// Memory for many small objects that come and go together, such as the values
// of a large settings file.
//
// The pool hands out pieces of one size from blocks that it takes from the heap and
// never gives back. Any thread may take and give back.
#pragma once

#include <cstddef>

namespace zustd {

class ObjectPool {
public:
    // What a piece holds; it is aligned as operator new aligns.
    static constexpr std::size_t kPieceSize = 48;

    // A piece without content; throws std::bad_alloc.
    static void* take();
    static void giveBack(void* object) noexcept;
};

// Base of a class whose objects live in the pool, unless a derived class makes them
// too large.
class PooledObject {
public:
    // The operator delete below, which is told the size, belongs to it.
    // NOLINTNEXTLINE(misc-new-delete-overloads)
    static void* operator new(std::size_t size) {
        return size <= ObjectPool::kPieceSize ? ObjectPool::take() : ::operator new(size);
    }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* object, std::size_t size) noexcept {
        size <= ObjectPool::kPieceSize ? ObjectPool::giveBack(object) : ::operator delete(object);
    }

protected:
    ~PooledObject() = default;
};

}  // namespace zustd
