// Text encodings: bytes of files and resources to wide text and back.
//
// The UTF-8 decoder is lenient in ways that files in the field rely on: continuation bytes are not
// checked, overlong forms decode to their value, lead bytes from F0 are read as three-byte
// sequences, a stray continuation byte widens as a signed byte. It is strict about one thing: as
// long as no byte-order mark was seen, a sequence that begins with EF must be the mark. The encoder
// writes surrogates as three bytes each and puts a mark in front exactly when the text needs it:
// every UTF-16 text survives a round trip. Failures are thrown as texts after their throw report.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace zustd {

// The numbers by which resources name their encoding.
inline constexpr int kEncodingUtf8 = 1;
inline constexpr int kEncodingEnciphered = 2;
inline constexpr int kEncodingEncipheredCompressed = 3;
inline constexpr int kEncodingPlain = 4;

class Encoder {
public:
    // Replaces out by the decoded bytes. kEncodingPlain makes each byte a code unit; the enciphered
    // encodings take the process's key (see ZuCipher). Throws for an unknown encoding and for bytes
    // that do not decode; out then holds what was decoded before the fault.
    static void decodeFrom(int encoding, std::string_view bytes, std::wstring& out);

    // bomRequired: text without a leading byte-order mark is refused.
    static void decodeFromUTF8(std::string_view bytes, std::wstring& out, bool bomRequired);

    // Replaces out by the UTF-8 form of text.
    static void encodeToUTF8(std::wstring_view text, std::string& out);
};

// Decodes UTF-8 one byte at a time; the whole of the decoder's rules.
class Utf8DecoderStateMachine {
public:
    explicit Utf8DecoderStateMachine(bool bomRequired) : bomRequired_(bomRequired) {}

    // Takes one byte; a code unit that it completes is added to output(). Throws on a broken or
    // missing byte-order mark; the machine takes no more bytes then.
    void feed(char byte);

    // The end of the input: throws when a sequence is incomplete or a required mark never came.
    void finish() const;

    // Code units decoded since the caller last emptied it.
    std::wstring& output() noexcept { return output_; }

    // Whether the next byte starts a sequence.
    bool isIdle() const noexcept { return pending_.size == 0; }
    // Whether sequences that begin with EF are ordinary characters by now.
    bool isBomDone() const noexcept { return bomDone_; }
    // Whether text may come (the mark is there or not required).
    bool isTextAllowed() const noexcept { return !bomRequired_ || bomSeen_; }

private:
    struct Pending {
        std::array<unsigned char, 3> bytes{};
        std::size_t size = 0;
    };

    void tryReduce();
    void reduceBom();

    Pending pending_;
    std::wstring output_;
    std::array<unsigned char, 3> bom_{0xEF, 0xBB, 0xBF};
    bool bomRequired_;
    bool bomSeen_ = false;
    bool bomDone_ = false;
};

}  // namespace zustd
