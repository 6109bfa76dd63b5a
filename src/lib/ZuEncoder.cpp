#include "ZuEncoder.h"

#include <algorithm>
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

constexpr std::size_t encodedLength(wchar_t unit) noexcept {
    return unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
}

bool isAsciiWord(const unsigned char* bytes) noexcept {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof(word));
    return (word & 0x8080808080808080ULL) == 0;
}

// Widens the ASCII characters at the front, eight at a time as long as it can.
void decodeAsciiRun(const unsigned char*& at, const unsigned char* end, wchar_t*& out) noexcept {
    while (end - at >= 8 && isAsciiWord(at)) {
        for (int i = 0; i < 8; ++i) {
            out[i] = at[i];
        }
        at += 8;
        out += 8;
    }
    while (at != end && *at < 0x80) {
        *out++ = *at++;
    }
}

// Decodes whole sequences until the state machine is needed: at a byte that
// may begin the byte-order mark and at a sequence that the input cuts off.
void decodeRun(const unsigned char*& at, const unsigned char* end, bool bomDone, wchar_t*& out) {
    for (;;) {
        decodeAsciiRun(at, end, out);
        if (at == end || (*at == kBomLead && !bomDone)) {
            return;
        }
        const std::size_t length = sequenceLength(*at);
        if (static_cast<std::size_t>(end - at) < length) {
            return;
        }
        *out++ = decodeSequence(at, length);
        at += length;
    }
}

// Keeps a string as long as what was really decoded, also when decoding
// throws.
class DecodedText {
public:
    DecodedText(std::wstring& text, std::size_t room) : text_(text) {
        text_.clear();
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

// Writes one code unit and returns how many it took.
std::size_t encodeUnit(std::wstring_view source, char*& out) noexcept {
    const unsigned unit = source.front();
    switch (encodedLength(source.front())) {
        case 1:
            *out++ = static_cast<char>(unit);
            break;
        case 2:
            *out++ = static_cast<char>(0xC0U | unit >> 6);
            *out++ = static_cast<char>(0x80U | (unit & 0x3FU));
            break;
        default:
            *out++ = static_cast<char>(0xE0U | unit >> 12);
            *out++ = static_cast<char>(0x80U | (unit >> 6 & 0x3FU));
            *out++ = static_cast<char>(0x80U | (unit & 0x3FU));
            break;
    }
    return 1;
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
        case kEncodingEncipheredCompressed:
            decodeFromUTF8(Cipher::decipher(static_cast<CipherEncoding>(encoding), bytes), out,
                           false);
            return;
        default:
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
            decodeRun(at, end, machine.isBomDone(), decoded.at);
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
    std::size_t size = 0;
    bool needsBom = false;
    for (const wchar_t unit : text) {
        size += encodedLength(unit);
        needsBom |= unit >= kFirstUnitThatNeedsBom;
    }
    constexpr std::string_view kBom = "\xEF\xBB\xBF";
    out.resize(size + (needsBom ? kBom.size() : 0));
    char* at = out.data();
    if (needsBom) {
        at = std::copy(kBom.begin(), kBom.end(), at);
    }
    while (!text.empty()) {
        const std::size_t sourceCharsConsumed = encodeUnit(text, at);
        ZU_ASSERT(sourceCharsConsumed == 1);
        text.remove_prefix(sourceCharsConsumed);
    }
}

void Utf8DecoderStateMachine::feed(char byte) {
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
