// The enciphered text encodings: AES-256 in GCM mode over UTF-8 text, plain or compressed.
//
// A message is laid out so:
//
//     offset  bytes  content
//     0       4      'Z' 'U' 'C' and the layout's version, 1
//     4       12     nonce
//     16      n      the text enciphered: n bytes of UTF-8 (encoding 2) or of
//                    one zlib stream that holds it (encoding 3)
//     16 + n  16     authentication tag
//
// The tag covers the first four bytes and the encoding's number as well
// (associated data, five bytes): a message of one encoding is refused under the
// other's number. Every message gets a fresh random nonce from the system's
// generator; one key is good for some four thousand million messages.
//
// The key belongs to the host; none is compiled in. The Encoder has none to pass
// along: for it a host installs its key once for the process.
//
// Deciphering hands out and inflates nothing before the tag is verified, and gives up a stream that
// grows beyond kMaxCipherText. All failures are thrown as texts after their throw report and say no
// more than which step failed. All operations may be called from any thread.
//
// No memory that deciphering gives back holds text: what a caller gets is the
// only copy, and the caller's to wipe.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace zustd {

// The values are the Encoder's encoding numbers.
enum class CipherEncoding : std::uint8_t {
    kEnciphered = 2,
    kCompressed = 3,
};

// The longest text, in bytes of UTF-8, that is enciphered or deciphered.
inline constexpr std::size_t kMaxCipherText = std::size_t{64} * 1024 * 1024;

// A key's 32 bytes, overwritten when the object ends.
class CipherKey {
public:
    static constexpr std::size_t kSize = 32;

    explicit CipherKey(std::span<const std::uint8_t, kSize> bytes) noexcept;
    // Throws unless digits are 64 hexadecimal digits and nothing else.
    static CipherKey fromHex(std::string_view digits);

    CipherKey(const CipherKey&) = default;
    CipherKey& operator=(const CipherKey&) = default;
    ~CipherKey();

    std::span<const std::uint8_t, kSize> bytes() const noexcept { return bytes_; }

private:
    std::array<std::uint8_t, kSize> bytes_;
};

// The process's key, for the operations below that take none. Installing one
// replaces the one before.
void setCipherKey(const CipherKey& key);
void clearCipherKey();

class Cipher {
public:
    // The message that holds utf8; two calls never give the same one. What
    // utf8 holds is not looked at. Throws for a text beyond kMaxCipherText.
    static std::string encipher(CipherEncoding encoding, std::string_view utf8,
                                const CipherKey& key);

    // The text that message holds. Throws for anything but a whole, unchanged
    // message of this encoding and key.
    static std::string decipher(CipherEncoding encoding, std::string_view message,
                                const CipherKey& key);

    // The same with the installed key; throws when there is none.
    static std::string decipher(CipherEncoding encoding, std::string_view message);
};

namespace detail {

// A text that is overwritten when it ends, unless it was handed out. Whoever lets
// it grow beyond its room takes care of the memory that it leaves.
class WipedText {
public:
    // No text is short: moving one on leaves no copy where it was.
    static constexpr std::size_t kLeastRoom = 64;
    explicit WipedText(std::size_t room = kLeastRoom);
    explicit WipedText(std::string&& text) noexcept : text_(std::move(text)) {}
    WipedText(WipedText&&) = default;
    WipedText& operator=(WipedText&&) = delete;
    ~WipedText();

    std::string& text() noexcept { return text_; }
    std::string handOut() noexcept { return std::move(text_); }

private:
    std::string text_;
};

inline constexpr std::size_t kCipherNonceSize = 12;
inline constexpr std::size_t kCipherTagSize = 16;
using CipherNonce = std::array<std::uint8_t, kCipherNonceSize>;

// One GCM operation without the layout around it. Sealed bytes are the enciphered bytes and the tag
// behind them, never fewer. A nonce must not be used twice under one key.
std::string sealBytes(const CipherKey& key, const CipherNonce& nonce, std::string_view associated,
                      std::string_view plain);
std::string openBytes(const CipherKey& key, const CipherNonce& nonce, std::string_view associated,
                      std::string_view sealed);

}  // namespace detail

}  // namespace zustd
