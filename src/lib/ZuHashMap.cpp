#include "ZuHashMap.h"

#include "ZuWindows.h"

namespace zustd {

namespace {

// Odd constants with about as many ones as zeros, evenly spread.
constexpr std::uint64_t kMixA = 0x9A3C61D5B7E4F02DULL;
constexpr std::uint64_t kMixB = 0xC5B9278E1D64A3F7ULL;

// Both halves of the 128-bit product take part, so that every bit of the
// input reaches every bit of the result.
std::uint64_t mix(std::uint64_t a, std::uint64_t b) noexcept {
#ifdef __SIZEOF_INT128__
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
    constexpr std::uint64_t kLow = 0xFFFFFFFFULL;
    const std::uint64_t cross = (a & kLow) * (b & kLow);
    const std::uint64_t left = (a >> 32) * (b & kLow) + (cross >> 32);
    const std::uint64_t right = (a & kLow) * (b >> 32) + (left & kLow);
    const std::uint64_t high = (a >> 32) * (b >> 32) + (left >> 32) + (right >> 32);
    return ((right << 32) | (cross & kLow)) ^ high;
#endif
}

// Differs from process to process by the clock, the process number and where
// the system placed the stack.
std::uint64_t makeSeed() noexcept {
    LARGE_INTEGER ticks;
    QueryPerformanceCounter(&ticks);
    const auto place = reinterpret_cast<std::uintptr_t>(&ticks);
    return mix(static_cast<std::uint64_t>(ticks.QuadPart) ^ kMixA,
               (place + GetCurrentProcessId()) ^ kMixB);
}

std::uint64_t seed() noexcept {
    static const std::uint64_t value = makeSeed();
    return value;
}

// Bytes as a number; so many of them as the number type has.
template <class Word>
std::uint64_t load(const unsigned char* bytes) noexcept {
    Word word;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

// The last bytes of a key, 16 at the most. The two numbers overlap when there
// are fewer; together with the key's size they still tell all keys apart.
struct Tail {
    std::uint64_t low = 0;
    std::uint64_t high = 0;
};

Tail loadTail(const unsigned char* bytes, std::size_t size) noexcept {
    if (size >= 8) {
        return {load<std::uint64_t>(bytes), load<std::uint64_t>(bytes + size - 8)};
    }
    if (size >= 4) {
        return {load<std::uint32_t>(bytes), load<std::uint32_t>(bytes + size - 4)};
    }
    if (size >= 2) {
        return {load<std::uint16_t>(bytes), load<std::uint16_t>(bytes + size - 2)};
    }
    return {size == 1 ? *bytes : std::uint64_t{0}, 0};
}

}  // namespace

std::uint64_t hashBytes(const void* bytes, std::size_t size) noexcept {
    const auto* at = static_cast<const unsigned char*>(bytes);
    std::uint64_t hash = seed() ^ (size * kMixA);
    while (size > 16) {
        hash = mix(load<std::uint64_t>(at) ^ hash, load<std::uint64_t>(at + 8) ^ kMixB);
        at += 16;
        size -= 16;
    }
    const Tail tail = loadTail(at, size);
    return mix(mix(tail.low ^ hash, tail.high ^ kMixB), kMixA);
}

std::uint64_t hashNumber(std::uint64_t number) noexcept { return mix(number ^ seed(), kMixA); }

}  // namespace zustd
