#include "ZuHashMap.h"

#include <bit>
#include <chrono>

#include "ZuWindows.h"

namespace zustd {

namespace {

// The state of SipHash, with one round a word and three at the end.
class SipHash {
public:
    explicit SipHash(const HashSecret& secret) noexcept
        : a_(secret.low ^ 0x736F6D6570736575ULL),
          b_(secret.high ^ 0x646F72616E646F6DULL),
          c_(secret.low ^ 0x6C7967656E657261ULL),
          d_(secret.high ^ 0x7465646279746573ULL) {}

    void add(std::uint64_t word) noexcept {
        d_ ^= word;
        round();
        a_ ^= word;
    }
    std::uint64_t finish() noexcept {
        c_ ^= 0xFF;
        round();
        round();
        round();
        return a_ ^ b_ ^ c_ ^ d_;
    }

private:
    void round() noexcept {
        a_ += b_;
        b_ = std::rotl(b_, 13) ^ a_;
        a_ = std::rotl(a_, 32);
        c_ += d_;
        d_ = std::rotl(d_, 16) ^ c_;
        a_ += d_;
        d_ = std::rotl(d_, 21) ^ a_;
        c_ += b_;
        b_ = std::rotl(b_, 17) ^ c_;
        c_ = std::rotl(c_, 32);
    }

    std::uint64_t a_;
    std::uint64_t b_;
    std::uint64_t c_;
    std::uint64_t d_;
};

std::uint64_t loadWord(const unsigned char* bytes) noexcept {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

// The last bytes of a key, fewer than eight, below the lowest byte of its size.
std::uint64_t lastWord(const unsigned char* bytes, std::size_t size) noexcept {
    std::uint64_t word = std::uint64_t{size} << 56;
    const std::size_t left = size % 8;
    if (size >= 8 && left != 0) {
        // The word that ends where the key does, without what was hashed before.
        return word | loadWord(bytes + left - 8) >> (64 - 8 * left);
    }
    for (std::size_t i = 0; i < left; ++i) {
        word |= std::uint64_t{bytes[i]} << (8 * i);
    }
    return word;
}

// What differs from process to process and cannot be known before: two clocks,
// the process and thread numbers, and where stack, heap and code were placed.
HashSecret makeSecret() noexcept {
    const auto ticksOf = [](auto moment) {
        return static_cast<std::uint64_t>(moment.time_since_epoch().count());
    };
    const std::uint64_t seen[] = {ticksOf(std::chrono::steady_clock::now()),
                                  ticksOf(std::chrono::system_clock::now()),
                                  GetCurrentProcessId(),
                                  GetCurrentThreadId(),
                                  reinterpret_cast<std::uintptr_t>(&seen),
                                  reinterpret_cast<std::uintptr_t>(GetProcessHeap()),
                                  reinterpret_cast<std::uintptr_t>(&makeSecret)};
    const std::uint64_t low = hashBytes({}, seen, sizeof(seen));
    return {low, hashBytes({low, 1}, seen, sizeof(seen))};
}

}  // namespace

std::uint64_t hashBytes(const HashSecret& secret, const void* bytes, std::size_t size) noexcept {
    SipHash hash(secret);
    const auto* at = static_cast<const unsigned char*>(bytes);
    for (const unsigned char* const end = at + size / 8 * 8; at != end; at += 8) {
        hash.add(loadWord(at));
    }
    hash.add(lastWord(at, size));
    return hash.finish();
}

std::uint64_t hashBytes(const void* bytes, std::size_t size) noexcept {
    static const HashSecret secret = makeSecret();
    return hashBytes(secret, bytes, size);
}

}  // namespace zustd
