// The fast runs of the Encoder: long stretches converted several characters at a time.
//
// Internal to the Encoder. A run takes what it can from the front and leaves the
// rest to its caller, who converts character by character. None allocates or
// throws; what each may read and write beyond what it converts stands with it.
#pragma once

#include <cstddef>
#include <string_view>

namespace zustd::detail {

inline constexpr unsigned kBomLead = 0xEF;

// How many bytes a sequence has, by its first byte alone.
constexpr std::size_t sequenceLength(unsigned char lead) noexcept {
    return (lead & 0xE0U) == 0xE0U ? 3 : (lead & 0xC0U) == 0xC0U ? 2 : 1;
}

// The code unit of a whole sequence; reads so many bytes. A byte that starts
// none widens as a signed byte, so that 80 to BF come out as FF80 to FFBF.
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

// What a text takes in UTF-8, without the byte-order mark, and whether it needs
// one to be read back.
struct EncodedSize {
    std::size_t bytes;
    bool needsBom;
};
EncodedSize measureEncoded(std::wstring_view text) noexcept;

// Decodes whole sequences until the state machine is needed: at a byte that may
// begin the byte-order mark, unless that is done, and for the last bytes. Reads up
// to end; out has room for a unit for every byte up to end.
Decoding decodeRun(Decoding run, const unsigned char* end, bool bomDone) noexcept;

// Encodes all but the last few units. Reads up to end; out has room for what the
// text up to end takes, and is written there also behind what is encoded.
Encoding encodeRun(Encoding run, const wchar_t* end) noexcept;

// Encodes one unit; writes the one to three bytes that it takes.
Encoding encodeUnit(Encoding run) noexcept;

}  // namespace zustd::detail
