#include "ZuEncoderRuns.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace zustd::detail {

namespace {

constexpr bool isPairLead(unsigned char byte) noexcept { return (byte & 0xE0U) == 0xC0U; }

bool isAsciiWord(std::uint64_t word) noexcept { return (word & 0x8080808080808080ULL) == 0; }

__m128i loadBlock(const void* at) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(at));
}

void storeBlock(void* at, __m128i block) noexcept {
    _mm_storeu_si128(static_cast<__m128i*>(at), block);
}

// Widens the ASCII characters at the front, two blocks of sixteen at a time.
Decoding decodeAsciiBlocks(Decoding run, const unsigned char* end) noexcept {
    constexpr std::ptrdiff_t kBytes = 32;
    while (end - run.at > kBytes) {
        const __m128i first = loadBlock(run.at);
        const __m128i second = loadBlock(run.at + kBytes / 2);
        if (_mm_movemask_epi8(first | second) != 0) {
            break;
        }
        const __m128i zero = _mm_setzero_si128();
        storeBlock(run.out, _mm_unpacklo_epi8(first, zero));
        storeBlock(run.out + 8, _mm_unpackhi_epi8(first, zero));
        storeBlock(run.out + 16, _mm_unpacklo_epi8(second, zero));
        storeBlock(run.out + 24, _mm_unpackhi_epi8(second, zero));
        run.at += kBytes;
        run.out += kBytes;
    }
    return run;
}

// Widens the ASCII characters at the front, and single sequences of two bytes
// among them. Whole words go at once, and blocks from the third word on; where a
// word has anything else in it, the processor guesses the branches of single
// characters, while a count would have to be known before it could look at the
// next word.
Decoding decodeAsciiRun(Decoding run, const unsigned char* end) noexcept {
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    int words = 0;
    while (static_cast<std::size_t>(end - run.at) > kWord) {
        std::uint64_t word;
        std::memcpy(&word, run.at, kWord);
        if (isAsciiWord(word)) {
            for (std::size_t i = 0; i < kWord; ++i) {
                run.out[i] = run.at[i];
            }
            run.at += kWord;
            run.out += kWord;
            if (++words == 3) {
                run = decodeAsciiBlocks(run, end);
            }
            continue;
        }
        words = 0;
        const unsigned char* const first = run.at;
        while (*run.at < 0x80) {
            *run.out++ = *run.at++;
        }
        if (run.at == first || !isPairLead(*run.at)) {
            return run;
        }
        *run.out++ = decodeSequence(run.at, 2);
        run.at += 2;
    }
    while (run.at != end && *run.at < 0x80) {
        *run.out++ = *run.at++;
    }
    return run;
}

// Whether a word is four sequences of two bytes; the lead of each is the lower
// byte of its lane.
bool isPairWord(std::uint64_t word) noexcept {
    return (word & 0x00E000E000E000E0ULL) == 0x00C000C000C000C0ULL;
}

// Decodes the sequences of two bytes at the front, four at a time, and single
// ASCII characters among them.
Decoding decodePairRun(Decoding run, const unsigned char* end) noexcept {
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    constexpr std::size_t kPairs = kWord / 2;
    while (static_cast<std::size_t>(end - run.at) >= kWord) {
        std::uint64_t word;
        std::memcpy(&word, run.at, kWord);
        if (isPairWord(word)) {
            const std::uint64_t units =
                (word & 0x001F001F001F001FULL) << 6 | (word >> 8 & 0x003F003F003F003FULL);
            std::memcpy(run.out, &units, kWord);
            run.at += kWord;
            run.out += kPairs;
            continue;
        }
        const unsigned char* const first = run.at;
        while (isPairLead(*run.at)) {
            *run.out++ = decodeSequence(run.at, 2);
            run.at += 2;
        }
        if (run.at == first || *run.at >= 0x80) {
            break;
        }
        *run.out++ = *run.at++;
    }
    return run;
}

// Units of the lengths by their first ones, and eight of them at a time in the
// registers that every processor of this platform has.
constexpr wchar_t kFirstPair = 0x80;
constexpr wchar_t kFirstTriple = 0x800;
constexpr wchar_t kFirstThatNeedsBom = 0xF000;
constexpr std::ptrdiff_t kBlock = 8;

// So many units are left when a block is encoded, one byte each at the least: what
// is written behind a block stays within what they take.
constexpr std::ptrdiff_t kLeft = 2;

bool isBlockLeft(const Encoding& run, const wchar_t* end) noexcept {
    return end - run.at >= kBlock + kLeft;
}

__m128i filledWith(unsigned unit) noexcept {
    return _mm_set1_epi16(static_cast<short>(static_cast<std::uint16_t>(unit)));
}

bool isEveryBitSet(__m128i mask) noexcept { return _mm_movemask_epi8(mask) == 0xFFFF; }

bool isEveryUnitBelow(__m128i units, unsigned limit) noexcept {
    const __m128i beyond = _mm_subs_epu16(units, filledWith(limit - 1));
    return isEveryBitSet(_mm_cmpeq_epi16(beyond, _mm_setzero_si128()));
}

__m128i choose(__m128i mask, __m128i yes, __m128i no) noexcept {
    return (mask & yes) | _mm_andnot_si128(mask, no);
}

// The low half of a register.
std::uint64_t lowWord(__m128i value) noexcept {
    std::uint64_t word;
    _mm_storel_epi64(reinterpret_cast<__m128i*>(&word), value);
    return word;
}

// Writes the lower half of a word.
void putHalf(char* out, std::uint64_t word) noexcept {
    const auto half = static_cast<std::uint32_t>(word);
    std::memcpy(out, &half, sizeof(half));
}

// Encodes a block of units below 800, ASCII and pairs in any order, and writes
// up to two bytes more than it takes; returns what it takes. Every unit is made a
// pair, or with a zero behind it; each two neighbours then move together, and
// the four groups of two to four bytes are written over each other's ends.
std::size_t encodeMixedBlock(__m128i units, __m128i isAscii, char* out) noexcept {
    const __m128i low = _mm_slli_epi16(units & filledWith(0x3F), 8);
    const __m128i pairs = _mm_srli_epi16(units, 6) | low | filledWith(0x80C0);
    const __m128i bytes = choose(isAscii, units, pairs);
    const __m128i second = bytes & _mm_set1_epi32(static_cast<int>(0xFFFF0000));
    const __m128i isFirstAscii = _mm_srai_epi32(_mm_slli_epi32(isAscii, 16), 16);
    const __m128i groups =
        (bytes ^ second) | choose(isFirstAscii, _mm_srli_epi32(second, 8), second);
    // The mask's ones are -1: four bytes for two units, less one for each ASCII.
    __m128i ends = _mm_add_epi32(_mm_madd_epi16(isAscii, filledWith(1)), _mm_set1_epi32(4));
    ends = _mm_add_epi32(ends, _mm_slli_si128(ends, 4));
    ends = _mm_add_epi32(ends, _mm_slli_si128(ends, 8));
    const std::uint64_t places = lowWord(_mm_packs_epi32(ends, ends));
    const std::uint64_t front = lowWord(groups);
    const std::uint64_t back = lowWord(_mm_unpackhi_epi64(groups, groups));
    putHalf(out, front);
    putHalf(out + (places & 0xFF), front >> 32);
    putHalf(out + (places >> 16 & 0xFF), back);
    putHalf(out + (places >> 32 & 0xFF), back >> 32);
    return static_cast<std::size_t>(places >> 48);
}

// Four blocks, of which it is asked first whether they have anything but ASCII.
constexpr std::ptrdiff_t kBlocks = 4 * kBlock;

bool areAsciiBlocks(const wchar_t* at) noexcept {
    const __m128i all = loadBlock(at) | loadBlock(at + kBlock) | loadBlock(at + 2 * kBlock) |
                        loadBlock(at + 3 * kBlock);
    return isEveryUnitBelow(all, kFirstPair);
}

// Encodes the ASCII units at the front, four blocks at a time.
Encoding encodeAsciiBlocks(Encoding run, const wchar_t* end) noexcept {
    while (end - run.at >= kBlocks && areAsciiBlocks(run.at)) {
        for (std::ptrdiff_t i = 0; i < kBlocks; i += 2 * kBlock) {
            storeBlock(run.out + i,
                       _mm_packus_epi16(loadBlock(run.at + i), loadBlock(run.at + i + kBlock)));
        }
        run.at += kBlocks;
        run.out += kBlocks;
    }
    return run;
}

// Encodes the blocks at the front that have no unit of three bytes. Leaves kLeft
// units, within whose bytes it may write.
Encoding encodeShortRun(Encoding run, const wchar_t* end) noexcept {
    run = encodeAsciiBlocks(run, end);
    int asciiBlocks = 0;
    while (isBlockLeft(run, end)) {
        const __m128i units = loadBlock(run.at);
        if (!isEveryUnitBelow(units, kFirstTriple)) {
            break;
        }
        const __m128i isAscii = _mm_cmplt_epi16(units, filledWith(kFirstPair));
        if (isEveryBitSet(isAscii)) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(run.out), _mm_packus_epi16(units, units));
            run.at += kBlock;
            run.out += kBlock;
            if (++asciiBlocks == 3) {
                run = encodeAsciiBlocks(run, end);
            }
            continue;
        }
        asciiBlocks = 0;
        run.out += encodeMixedBlock(units, isAscii, run.out);
        run.at += kBlock;
    }
    return run;
}

// The three bytes of a unit from 800 upwards, the first of them lowest.
constexpr std::uint32_t encodedTriple(std::uint32_t unit) noexcept {
    return 0x8080E0U | unit >> 12 | (unit << 2 & 0x3F00U) | (unit & 0x3FU) << 16;
}

// Encodes the units at the front that take three bytes, two at a time as one
// word: stores are what an encoder waits for. Leaves kLeft units, within whose
// bytes it may write.
Encoding encodeLongRun(Encoding run, const wchar_t* end) noexcept {
    while (end - run.at >= 2 + kLeft && run.at[0] >= kFirstTriple && run.at[1] >= kFirstTriple) {
        const std::uint64_t word =
            encodedTriple(run.at[0]) | std::uint64_t{encodedTriple(run.at[1])} << 24;
        std::memcpy(run.out, &word, sizeof(word));
        run.at += 2;
        run.out += 6;
    }
    return run;
}

}  // namespace

// Each length has a branch, and the longest a loop of its own: the processor
// guesses them before it knows where the next sequence begins.
Decoding decodeRun(Decoding run, const unsigned char* end, bool bomDone) noexcept {
    constexpr std::ptrdiff_t kLongest = 3;
    while (end - run.at >= kLongest) {
        const unsigned lead = *run.at;
        if (lead < 0x80) {
            // A word at a time pays from the second character on.
            *run.out++ = *run.at++;
            if (*run.at < 0x80) {
                run = decodeAsciiRun(run, end);
            }
        } else if (isPairLead(*run.at)) {
            *run.out++ = decodeSequence(run.at, 2);
            run.at += 2;
            if (isPairLead(*run.at)) {
                run = decodePairRun(run, end);
            }
        } else if (lead < 0xC0) {
            *run.out++ = decodeSequence(run.at, 1);
            run.at += 1;
        } else if (lead != kBomLead || bomDone) {
            do {
                *run.out++ = decodeSequence(run.at, 3);
                run.at += 3;
            } while (end - run.at >= kLongest && *run.at >= 0xE0U && *run.at != kBomLead);
        } else {
            break;
        }
    }
    return run;
}

Encoding encodeRun(Encoding run, const wchar_t* end) noexcept {
    while (isBlockLeft(run, end)) {
        if (run.at[0] >= kFirstTriple && run.at[1] >= kFirstTriple) {
            run = encodeLongRun(run, end);
            continue;
        }
        run = encodeShortRun(run, end);
        if (isBlockLeft(run, end)) {
            // What kept this block from being short is in it.
            while (*run.at < kFirstTriple) {
                run = encodeUnit(run);
            }
            run = encodeUnit(run);
        }
    }
    return run;
}

Encoding encodeUnit(Encoding run) noexcept {
    const unsigned unit = *run.at++;
    if (unit < kFirstPair) {
        *run.out++ = static_cast<char>(unit);
    } else if (unit < kFirstTriple) {
        *run.out++ = static_cast<char>(0xC0U | unit >> 6);
        *run.out++ = static_cast<char>(0x80U | (unit & 0x3FU));
    } else {
        *run.out++ = static_cast<char>(0xE0U | unit >> 12);
        *run.out++ = static_cast<char>(0x80U | (unit >> 6 & 0x3FU));
        *run.out++ = static_cast<char>(0x80U | (unit & 0x3FU));
    }
    return run;
}

EncodedSize measureEncoded(std::wstring_view text) noexcept {
    // Units are compared as signed numbers, moved so that their order stays; the
    // counts in a register's lanes are added up before they can overflow.
    constexpr std::size_t kMostBlocks = 0x4000;
    const auto from = [](wchar_t first) { return filledWith(0x8000U ^ (first - 1U)); };
    EncodedSize size{text.size(), false};
    __m128i special = _mm_setzero_si128();
    while (text.size() >= kBlock) {
        if (text.size() >= kBlocks && areAsciiBlocks(text.data())) {
            text.remove_prefix(kBlocks);
            continue;
        }
        const std::size_t blocks = std::min(text.size() / kBlock, kMostBlocks);
        __m128i count = _mm_setzero_si128();
        for (std::size_t i = 0; i < blocks; ++i) {
            const __m128i units = loadBlock(text.data() + i * kBlock) ^ filledWith(0x8000);
            count = _mm_sub_epi16(count, _mm_add_epi16(_mm_cmpgt_epi16(units, from(kFirstPair)),
                                                       _mm_cmpgt_epi16(units, from(kFirstTriple))));
            special |= _mm_cmpgt_epi16(units, from(kFirstThatNeedsBom));
        }
        std::uint16_t counts[kBlock];
        std::memcpy(counts, &count, sizeof(counts));
        for (const std::uint16_t longer : counts) {
            size.bytes += longer;
        }
        text.remove_prefix(blocks * kBlock);
    }
    size.needsBom = _mm_movemask_epi8(special) != 0;
    for (const wchar_t unit : text) {
        size.bytes += (unit >= kFirstPair ? 1U : 0U) + (unit >= kFirstTriple ? 1U : 0U);
        size.needsBom |= unit >= kFirstThatNeedsBom;
    }
    return size;
}

}  // namespace zustd::detail
