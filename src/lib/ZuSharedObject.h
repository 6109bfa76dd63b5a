// The base of every reference-counted framework object.
//
// Objects are made with std::make_shared and held by std::shared_ptr (strong)
// and std::weak_ptr (weak); the counts are atomic, so references may be copied
// and released on any thread. An object can hand out references to itself as
// long as somebody owns it.
#pragma once

#include <memory>
#include <new>
#include <type_traits>

namespace zustd {

class SharedObject : public std::enable_shared_from_this<SharedObject> {
public:
    SharedObject& operator=(SharedObject&&) = delete;
    virtual ~SharedObject() = default;
};

// A further strong reference to an object, typed as the object or as the base
// that the caller names. Empty when nobody owns the object yet (inside its
// constructor) or any more (inside its destructor), and for null.
template <class As = void, class T>
auto sharedReference(T* object) noexcept {
    using Base = std::conditional_t<std::is_void_v<As>, T, As>;
    const std::shared_ptr<SharedObject> owner =
        object != nullptr ? object->SharedObject::weak_from_this().lock() : nullptr;
    return owner ? std::shared_ptr<Base>(owner, object) : std::shared_ptr<Base>();
}

// A new object held by a shared reference; empty when there is no memory for
// it, for those who report that in their own terms.
template <class T>
std::shared_ptr<T> makeSharedOrNull() {
    try {
        return std::make_shared<T>();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace zustd
