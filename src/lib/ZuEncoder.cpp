#include "ZuEncoder.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "ZuCipher.h"
#include "ZuPlankton.h"

namespace zustd {

namespace {

constexpr unsigned kBomLead = 0xEF;
constexpr wchar_t kFirstUnitThatNeedsBom = 0xF000;

// How many bytes a sequence has, by its first byte alone.
constexpr std::size_t sequenceLength(unsigned char lead) noexcept {
    return (lead & 0xE0U) == 0xE0U ? 3 : (lead & 0xC0U) == 0xC0U ? 2 : 1;
}

constexpr bool isPairLead(unsigned char byte) noexcept { return (byte & 0xE0U) == 0xC0U; }

// The code unit of a whole sequence. A byte that starts none widens as a
// signed byte, so that 80 to BF come out as FF80 to FFBF.
constexpr wchar_t decodeSequence(const unsigned char* bytes, std::size_t length) noexcept {
    switch (length) {
        case 3:
            return static_cast<wchar_t>((bytes[0] & 0x0FU) << 12 | (bytes[1] & 0x3FU) << 6 |
                                        (bytes[2] & 0x3FU));
        case 2:
            return static_cast<wchar_t>((bytes[0] & 0x1FU) << 6 | (bytes[1] & 0x3FU));
        default:
            return static_cast<wchar_t>(static_cast<signed char>(bytes[0]));
    }
}

bool isAsciiWord(std::uint64_t word) noexcept { return (word & 0x8080808080808080ULL) == 0; }

// The code units at the front of a word that are ASCII, counted up to the first
// that is not. The first in memory is the lowest in the word.
std::size_t asciiUnitsIn(const wchar_t* units) noexcept {
    std::uint64_t word;
    std::memcpy(&word, units, sizeof(word));
    return static_cast<std::size_t>(std::countr_zero(word & 0xFF80FF80FF80FF80ULL)) / 16;
}

// Where a conversion has come to. Handed around by value: positions in memory
// would have to be stored with every character.
struct Decoding {
    const unsigned char* at;
    wchar_t* out;
};

struct Encoding {
    const wchar_t* at;
    char* out;
};

// Widens the ASCII characters at the front, and single sequences of two bytes
// among them. Whole words go at once; where a word has anything else in it, the
// processor guesses the branches of single characters, while a count would have
// to be known before it could look at the next word.
Decoding decodeAsciiRun(Decoding run, const unsigned char* end) noexcept {
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    while (static_cast<std::size_t>(end - run.at) > kWord) {
        std::uint64_t word;
        std::memcpy(&word, run.at, kWord);
        if (isAsciiWord(word)) {
            for (std::size_t i = 0; i < kWord; ++i) {
                run.out[i] = run.at[i];
            }
            run.at += kWord;
            run.out += kWord;
            continue;
        }
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

// Decodes whole sequences until the state machine is needed: at a byte that
// may begin the byte-order mark and for the last bytes of the input, which may
// cut a sequence off. Each length has a branch, and the longest a loop of its
// own: the processor guesses them and need not wait for one sequence to know
// where the next begins.
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
            if (run.at != end && isPairLead(*run.at)) {
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

// Keeps a string as long as what was really decoded, also when decoding
// throws.
class DecodedText {
public:
    DecodedText(std::wstring& text, std::size_t room) : text_(text) {
        text_.resize(room);
        at = text_.data();
    }
    DecodedText(const DecodedText&) = delete;
    DecodedText& operator=(const DecodedText&) = delete;
    ~DecodedText() { text_.resize(static_cast<std::size_t>(at - text_.data())); }

    wchar_t* at = nullptr;

private:
    std::wstring& text_;
};

// Narrows the ASCII characters at the front, by whole words as the decoder
// does.
Encoding encodeAsciiRun(Encoding run, const wchar_t* end) noexcept {
    constexpr std::size_t kWord = sizeof(std::uint64_t) / sizeof(wchar_t);
    while (static_cast<std::size_t>(end - run.at) >= kWord) {
        const std::size_t count = asciiUnitsIn(run.at);
        for (std::size_t i = 0; i < kWord; ++i) {
            run.out[i] = static_cast<char>(run.at[i]);
        }
        run.at += count;
        run.out += count;
        if (count != kWord) {
            return run;
        }
    }
    while (run.at != end && *run.at < 0x80) {
        *run.out++ = static_cast<char>(*run.at++);
    }
    return run;
}

// The three bytes of a unit from 800 upwards, the first of them lowest.
constexpr std::uint32_t encodedTriple(std::uint32_t unit) noexcept {
    return 0x8080E0U | unit >> 12 | (unit << 2 & 0x3F00U) | (unit & 0x3FU) << 16;
}

// Writes the units at the front that take three bytes, two at a time as one
// word, of which what follows overwrites the last bytes: stores are what an
// encoder waits for. The last units of a text are left to encodeUnit.
Encoding encodeLongRun(Encoding run, const wchar_t* end) noexcept {
    while (end - run.at >= 4 && run.at[0] >= 0x800 && run.at[1] >= 0x800) {
        const std::uint64_t word =
            encodedTriple(run.at[0]) | std::uint64_t{encodedTriple(run.at[1])} << 24;
        std::memcpy(run.out, &word, sizeof(word));
        run.at += 2;
        run.out += 6;
    }
    return run;
}

// Writes one code unit.
Encoding encodeUnit(Encoding run) noexcept {
    const unsigned unit = *run.at++;
    if (unit < 0x80) {
        *run.out++ = static_cast<char>(unit);
    } else if (unit < 0x800) {
        const auto pair = static_cast<std::uint16_t>(0x80C0U | unit >> 6 | (unit & 0x3FU) << 8);
        std::memcpy(run.out, &pair, sizeof(pair));
        run.out += 2;
    } else {
        *run.out++ = static_cast<char>(0xE0U | unit >> 12);
        *run.out++ = static_cast<char>(0x80U | (unit >> 6 & 0x3FU));
        *run.out++ = static_cast<char>(0x80U | (unit & 0x3FU));
    }
    return run;
}

// How many code units of a block are this one or a greater one. Counted in a
// number of a unit's width, so that the compiler counts several units at once;
// a block is too short for it to overflow.
constexpr std::size_t kBlock = 0x1000;

std::size_t countFrom(wchar_t least, std::wstring_view block) noexcept {
    std::uint16_t count = 0;
    for (const wchar_t unit : block) {
        count = static_cast<std::uint16_t>(count + (unit >= least ? 1 : 0));
    }
    return count;
}

// What a text takes in UTF-8.
struct EncodedSize {
    std::size_t bytes = 0;
    bool needsBom = false;
};

EncodedSize measure(std::wstring_view text) noexcept {
    EncodedSize size;
    while (!text.empty()) {
        const std::wstring_view block = text.substr(0, kBlock);
        const std::size_t longer = countFrom(0x80, block);
        const std::size_t longest = longer != 0 ? countFrom(0x800, block) : 0;
        size.bytes += block.size() + longer + longest;
        size.needsBom |= longest != 0 && countFrom(kFirstUnitThatNeedsBom, block) != 0;
        text.remove_prefix(block.size());
    }
    return size;
}

}  // namespace

void Encoder::decodeFrom(int encoding, std::string_view bytes, std::wstring& out) {
    switch (encoding) {
        case kEncodingUtf8:
            decodeFromUTF8(bytes, out, false);
            return;
        case kEncodingPlain:
            out.resize(bytes.size());
            std::transform(bytes.begin(), bytes.end(), out.begin(), [](char byte) {
                return static_cast<wchar_t>(static_cast<unsigned char>(byte));
            });
            return;
        case kEncodingEnciphered:
        case kEncodingEncipheredCompressed: {
            out.clear();
            detail::WipedText utf8(Cipher::decipher(static_cast<CipherEncoding>(encoding), bytes));
            decodeFromUTF8(utf8.text(), out, false);
            return;
        }
        default:
            out.clear();
            throwText(L"Encoder::decodeFrom: unknown encoding", ZU_LINE(103));
    }
}

void Encoder::decodeFromUTF8(std::string_view bytes, std::wstring& out, bool bomRequired) {
    Utf8DecoderStateMachine machine(bomRequired);
    DecodedText decoded(out, bytes.size());
    const auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
    const auto* const end = at + bytes.size();
    while (at != end) {
        if (machine.isIdle() && machine.isTextAllowed()) {
            const Decoding run = decodeRun({at, decoded.at}, end, machine.isBomDone());
            at = run.at;
            decoded.at = run.out;
            if (at == end) {
                break;
            }
        }
        machine.feed(static_cast<char>(*at++));
        for (const wchar_t unit : machine.output()) {
            *decoded.at++ = unit;
        }
        machine.output().clear();
    }
    machine.finish();
}

void Encoder::encodeToUTF8(std::wstring_view text, std::string& out) {
    constexpr std::string_view kBom = "\xEF\xBB\xBF";
    const EncodedSize size = measure(text);
    out.resize(size.bytes + (size.needsBom ? kBom.size() : 0));
    Encoding run{text.data(), out.data()};
    if (size.needsBom) {
        run.out = std::copy(kBom.begin(), kBom.end(), run.out);
    }
    const wchar_t* const end = run.at + text.size();
    while (run.at != end) {
        // A word at a time pays from the second character on.
        if (*run.at < 0x80 && end - run.at >= 2 && run.at[1] < 0x80) {
            run = encodeAsciiRun(run, end);
            continue;
        }
        if (*run.at >= 0x800 && end - run.at >= 4 && run.at[1] >= 0x800) {
            run = encodeLongRun(run, end);
            continue;
        }
        const Encoding next = encodeUnit(run);
        const auto sourceCharsConsumed = next.at - run.at;
        ZU_ASSERT(sourceCharsConsumed == 1);
        run = next;
    }
}

void Utf8DecoderStateMachine::feed(char byte) {
    ZU_ASSERT(pending_.size < pending_.bytes.size());
    pending_.bytes[pending_.size++] = static_cast<unsigned char>(byte);
    tryReduce();
}

void Utf8DecoderStateMachine::finish() const {
    if (pending_.size != 0 || !isTextAllowed()) {
        throwText(
            L"Encoder::decodeFromUTF8: utf8 string not fully decoded (incomplete trailing escape "
            L"sequence)",
            ZU_LINE(185));
    }
}

void Utf8DecoderStateMachine::tryReduce() {
    const unsigned char lead = pending_.bytes[0];
    if (lead == kBomLead && !bomDone_) {
        reduceBom();
        return;
    }
    if (!isTextAllowed()) {
        throwText(L"Utf8DecoderStateMachine::tryReduce: required UTF8 Byte Order Mark missing",
                  ZU_LINE(852));
    }
    const std::size_t length = sequenceLength(lead);
    if (pending_.size == length) {
        output_.push_back(decodeSequence(pending_.bytes.data(), length));
        pending_.size = 0;
    }
}

void Utf8DecoderStateMachine::reduceBom() {
    if (pending_.size != bom_.size()) {
        return;
    }
    if (pending_.bytes != bom_) {
        throwText(
            L"Utf8DecoderStateMachine::tryReduce: incomplete UTF8 Byte Order Mark encountered",
            ZU_LINE(846));
    }
    bomSeen_ = true;
    bomDone_ = true;
    pending_.size = 0;
}

}  // namespace zustd
