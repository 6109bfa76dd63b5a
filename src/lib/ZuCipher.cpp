#include "ZuCipher.h"

#include <cryptopp/aes.h>
#include <cryptopp/filters.h>
#include <cryptopp/gcm.h>
#include <cryptopp/misc.h>
#include <cryptopp/osrng.h>
#include <cryptopp/zlib.h>

#include <algorithm>
#include <charconv>
#include <memory>
#include <mutex>
#include <optional>

#include "ZuPlankton.h"

namespace zustd {

namespace {

constexpr std::string_view kHeader = "ZUC\x01";
constexpr std::size_t kNonceEnd = kHeader.size() + detail::kCipherNonceSize;

struct InstalledKey {
    std::mutex mutex;
    std::optional<CipherKey> key;
};

// Made at the first use, since a host may install its key while statics are
// still being initialised.
InstalledKey& installedKey() {
    static InstalledKey instance;
    return instance;
}

void installKey(const std::optional<CipherKey>& key) {
    InstalledKey& installed = installedKey();
    const std::lock_guard lock(installed.mutex);
    installed.key = key;
}

const CryptoPP::byte* bytesOf(std::string_view text) noexcept {
    return reinterpret_cast<const CryptoPP::byte*>(text.data());
}

CryptoPP::byte* bytesOf(std::string& text) noexcept {
    return reinterpret_cast<CryptoPP::byte*>(text.data());
}

// Runs body; what Crypto++ throws becomes the report with this text.
template <class Body>
void reported(const wchar_t* text, SourcePlace place, Body&& body) {
    try {
        std::forward<Body>(body)();
    } catch (const CryptoPP::Exception&) {
        throwText(text, place);
    }
}

// The end of the inflating chain: takes one stream's text as it comes and
// gives up at the first byte too many.
class InflatedTextSink : public CryptoPP::Bufferless<CryptoPP::Sink> {
public:
    explicit InflatedTextSink(std::string& text) : text_(text) {}

    std::size_t Put2(const CryptoPP::byte* bytes, std::size_t length, int messageEnd,
                     bool /*blocking*/) override {
        if (length > kMaxCipherText - text_.size()) {
            throwText(L"Cipher::decipher: compressed text is too long", ZU_HERE);
        }
        // The inflater signals the stream's end, then passes on what follows.
        if (length != 0 && streamEnded_) {
            throwText(L"Cipher::decipher: bytes behind the compressed text", ZU_HERE);
        }
        const std::size_t size = text_.size() + length;
        if (size > text_.capacity()) {
            // Doubled as a string would do by itself, but never beyond the limit and
            // with nothing left behind in the memory of before.
            detail::WipedText larger(
                std::max(size, std::min(2 * text_.capacity(), kMaxCipherText)));
            larger.text().append(text_);
            text_.swap(larger.text());
        }
        text_.append(reinterpret_cast<const char*>(bytes), length);
        streamEnded_ |= messageEnd != 0;
        return 0;
    }

private:
    std::string& text_;
    bool streamEnded_ = false;
};

// Crypto++ owns what is attached to a filter and takes it by plain pointer.
// Its own Put would do for an inflater, but keeps what it could not take in
// from a destructor: out of memory there, the process would end. Here all that
// comes is in the queue before the inflater looks at it.
class Inflater : public CryptoPP::ZlibDecompressor {
public:
    explicit Inflater(std::string& text) {
        Detach(std::make_unique<InflatedTextSink>(text).release());
    }

    void inflate(std::string_view packed) {
        // In pieces, so that the queue stays small.
        constexpr std::size_t kPiece = 4096;
        for (std::size_t at = 0; at < packed.size(); at += kPiece) {
            const std::string_view piece = packed.substr(at, kPiece);
            m_inQueue.Put(bytesOf(piece), piece.size());
            Put2(nullptr, 0, 0, true);
        }
        Put2(nullptr, 0, -1, true);
    }
};

// Gives its result the room for the worst text beforehand, so that it stays in
// one place.
detail::WipedText deflate(std::string_view utf8) {
    detail::WipedText packed(utf8.size() + utf8.size() / 64 + 64);
    CryptoPP::ZlibCompressor compressor(
        std::make_unique<CryptoPP::StringSink>(packed.text()).release());
    compressor.Put(bytesOf(utf8), utf8.size());
    compressor.MessageEnd();
    return packed;
}

std::string inflate(std::string_view packed) {
    // To the inflater no bytes at all are no stream rather than a cut one.
    if (packed.empty()) {
        throwText(L"Cipher::decipher: compressed text is missing", ZU_HERE);
    }
    detail::WipedText inflated;
    reported(L"Cipher::decipher: compressed text is damaged", ZU_HERE,
             [&] { Inflater(inflated.text()).inflate(packed); });
    return inflated.handOut();
}

detail::CipherNonce freshNonce() {
    detail::CipherNonce nonce{};
    reported(L"Cipher::encipher: no random bytes from the system", ZU_HERE, [&] {
        CryptoPP::NonblockingRng generator;
        generator.GenerateBlock(nonce.data(), nonce.size());
    });
    return nonce;
}

// What the tag covers beside the enciphered bytes.
std::string associatedData(CipherEncoding encoding) {
    std::string data(kHeader);
    data.push_back(static_cast<char>(encoding));
    return data;
}

void requireKnown(CipherEncoding encoding, const wchar_t* text, SourcePlace place) {
    if (encoding != CipherEncoding::kEnciphered && encoding != CipherEncoding::kCompressed) {
        throwText(text, place);
    }
}

}  // namespace

CipherKey::CipherKey(std::span<const std::uint8_t, kSize> bytes) noexcept {
    std::copy(bytes.begin(), bytes.end(), bytes_.begin());
}

CipherKey CipherKey::fromHex(std::string_view digits) {
    constexpr const wchar_t* kText = L"CipherKey::fromHex: a key is 64 hexadecimal digits";
    constexpr std::array<std::uint8_t, kSize> kNoBytes{};
    CipherKey key{kNoBytes};
    if (digits.size() != 2 * kSize) {
        throwText(kText, ZU_HERE);
    }
    for (std::size_t i = 0; i < kSize; ++i) {
        const char* const pair = digits.data() + 2 * i;
        if (std::from_chars(pair, pair + 2, key.bytes_[i], 16).ptr != pair + 2) {
            throwText(kText, ZU_HERE);
        }
    }
    return key;
}

CipherKey::~CipherKey() { CryptoPP::SecureWipeBuffer(bytes_.data(), bytes_.size()); }

void setCipherKey(const CipherKey& key) { installKey(key); }

void clearCipherKey() { installKey(std::nullopt); }

std::string Cipher::encipher(CipherEncoding encoding, std::string_view utf8, const CipherKey& key) {
    requireKnown(encoding, L"Cipher::encipher: unknown encoding", ZU_HERE);
    if (utf8.size() > kMaxCipherText) {
        throwText(L"Cipher::encipher: text is too long", ZU_HERE);
    }
    std::optional<detail::WipedText> packed;
    if (encoding == CipherEncoding::kCompressed) {
        utf8 = packed.emplace(deflate(utf8)).text();
    }
    const detail::CipherNonce nonce = freshNonce();
    std::string message(kHeader);
    message.append(reinterpret_cast<const char*>(nonce.data()), nonce.size());
    message += detail::sealBytes(key, nonce, associatedData(encoding), utf8);
    return message;
}

std::string Cipher::decipher(CipherEncoding encoding, std::string_view message,
                             const CipherKey& key) {
    requireKnown(encoding, L"Cipher::decipher: unknown encoding", ZU_HERE);
    if (message.size() < kNonceEnd + detail::kCipherTagSize) {
        throwText(L"Cipher::decipher: message is too short", ZU_HERE);
    }
    if (!message.starts_with(kHeader)) {
        throwText(L"Cipher::decipher: not a message of this layout", ZU_HERE);
    }
    detail::CipherNonce nonce;
    std::copy_n(bytesOf(message) + kHeader.size(), nonce.size(), nonce.begin());
    const std::string_view sealed = message.substr(kNonceEnd);
    if (encoding == CipherEncoding::kEnciphered &&
        sealed.size() - detail::kCipherTagSize > kMaxCipherText) {
        throwText(L"Cipher::decipher: text is too long", ZU_HERE);
    }
    detail::WipedText opened(detail::openBytes(key, nonce, associatedData(encoding), sealed));
    return encoding == CipherEncoding::kCompressed ? inflate(opened.text()) : opened.handOut();
}

std::string Cipher::decipher(CipherEncoding encoding, std::string_view message) {
    InstalledKey& installed = installedKey();
    std::unique_lock lock(installed.mutex);
    if (!installed.key) {
        throwText(L"Cipher::decipher: no key installed", ZU_HERE);
    }
    const CipherKey key = *installed.key;
    lock.unlock();
    return decipher(encoding, message, key);
}

namespace detail {

WipedText::WipedText(std::size_t room) { text_.reserve(std::max(room, kLeastRoom)); }

WipedText::~WipedText() { CryptoPP::SecureWipeBuffer(bytesOf(text_), text_.size()); }

std::string sealBytes(const CipherKey& key, const CipherNonce& nonce, std::string_view associated,
                      std::string_view plain) {
    std::string sealed(plain.size() + kCipherTagSize, '\0');
    CryptoPP::GCM<CryptoPP::AES>::Encryption gcm;
    gcm.SetKeyWithIV(key.bytes().data(), key.bytes().size(), nonce.data(), nonce.size());
    gcm.EncryptAndAuthenticate(bytesOf(sealed), bytesOf(sealed) + plain.size(), kCipherTagSize,
                               nonce.data(), static_cast<int>(nonce.size()), bytesOf(associated),
                               associated.size(), bytesOf(plain), plain.size());
    return sealed;
}

std::string openBytes(const CipherKey& key, const CipherNonce& nonce, std::string_view associated,
                      std::string_view sealed) {
    const std::size_t size = sealed.size() - kCipherTagSize;
    // Holds the text before the tag is verified; a failure wipes it.
    WipedText plain(size);
    plain.text().resize(size);
    CryptoPP::GCM<CryptoPP::AES>::Decryption gcm;
    gcm.SetKeyWithIV(key.bytes().data(), key.bytes().size(), nonce.data(), nonce.size());
    if (!gcm.DecryptAndVerify(bytesOf(plain.text()), bytesOf(sealed) + size, kCipherTagSize,
                              nonce.data(), static_cast<int>(nonce.size()), bytesOf(associated),
                              associated.size(), bytesOf(sealed), size)) {
        throwText(L"Cipher::decipher: wrong key or changed message", ZU_HERE);
    }
    return plain.handOut();
}

}  // namespace detail

}  // namespace zustd
