// Owners of operating-system handles.
#pragma once

#include <utility>

namespace zustd {

// Owns one handle and closes it with Traits::close. Traits also names the
// handle's Type and its invalid value.
template <class Traits>
class Handle {
public:
    using Type = typename Traits::Type;

    Handle() noexcept = default;
    explicit Handle(Type handle) noexcept : handle_(handle) {}
    Handle(Handle&& other) noexcept : handle_(other.release()) {}
    Handle& operator=(Handle&& other) noexcept {
        reset(other.release());
        return *this;
    }
    ~Handle() { reset(); }

    explicit operator bool() const noexcept { return handle_ != Traits::invalid(); }
    Type get() const noexcept { return handle_; }
    // Gives the handle away, and closes nothing.
    Type release() noexcept { return std::exchange(handle_, Traits::invalid()); }
    // Takes another handle and closes the former one.
    void reset(Type handle = Traits::invalid()) noexcept {
        const Type old = std::exchange(handle_, handle);
        if (old != Traits::invalid()) {
            Traits::close(old);
        }
    }

private:
    Type handle_ = Traits::invalid();
};

}  // namespace zustd
