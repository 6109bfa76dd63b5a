// An identity that no other object of the process has.
#pragma once

#include <cstdint>
#include <string>

namespace zustd {

// Base of objects that others refer to by a key. Every constructed Id is new;
// an identity is never copied and never used again.
class Id {
public:
    Id() noexcept;
    Id& operator=(Id&&) = delete;
    virtual ~Id() = default;

    // 1 or more.
    std::uint64_t id() const noexcept { return id_; }

    // The identity as 16 upper-case hexadecimal digits, to build keys from.
    std::wstring idText() const;

private:
    std::uint64_t id_;
};

}  // namespace zustd
