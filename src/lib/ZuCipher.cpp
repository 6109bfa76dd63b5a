#include "ZuCipher.h"

#include <cryptopp/aes.h>
#include <cryptopp/filters.h>
#include <cryptopp/gcm.h>
#include <cryptopp/misc.h>
#include <cryptopp/osrng.h>
#include <cryptopp/zlib.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

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

const CryptoPP::byte* bytesOf(std::string_view text) noexcept {
    return reinterpret_cast<const CryptoPP::byte*>(text.data());
}

CryptoPP::byte* bytesOf(std::string& text) noexcept {
    return reinterpret_cast<CryptoPP::byte*>(text.data());
}

// Crypto++ owns what is attached to a filter or a source and takes it by
// plain pointer.
template <class Attachment, class... Args>
Attachment* attach(Args&&... args) {
    return std::make_unique<Attachment>(std::forward<Args>(args)...).release();
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

// Text that is overwritten unless it is handed out. Whoever lets it grow takes
// care of the memory that it leaves.
class GuardedText {
public:
    explicit GuardedText(std::size_t size = 0) : text_(size, '\0') {}
    GuardedText(const GuardedText&) = delete;
    GuardedText& operator=(const GuardedText&) = delete;
    ~GuardedText() { CryptoPP::SecureWipeBuffer(bytesOf(text_), text_.size()); }

    std::string& text() noexcept { return text_; }
    std::string handOut() noexcept { return std::exchange(text_, std::string()); }

private:
    std::string text_;
};

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
        makeRoom(length);
        text_.append(reinterpret_cast<const char*>(bytes), length);
        streamEnded_ |= messageEnd != 0;
        return 0;
    }

private:
    // Doubles as a string would by itself, but never beyond the limit and with
    // nothing left behind in the memory of before.
    void makeRoom(std::size_t length) {
        const std::size_t size = text_.size() + length;
        if (size > text_.capacity()) {
            GuardedText larger;
            larger.text().reserve(std::max(size, std::min(2 * text_.capacity(), kMaxCipherText)));
            larger.text().append(text_);
            text_.swap(larger.text());
        }
    }

    std::string& text_;
    bool streamEnded_ = false;
};

void deflate(std::string_view utf8, std::string& packed) {
    // More than the worst text takes, so that it stays in one place.
    packed.reserve(utf8.size() + utf8.size() / 64 + 64);
    reported(L"Cipher::encipher: text does not compress", ZU_HERE, [&] {
        CryptoPP::StringSource(
            bytesOf(utf8), utf8.size(), true,
            attach<CryptoPP::ZlibCompressor>(attach<CryptoPP::StringSink>(packed)));
    });
}

std::string inflate(std::string_view packed) {
    // To the inflater no bytes at all are no stream rather than a cut one.
    if (packed.empty()) {
        throwText(L"Cipher::decipher: compressed text is missing", ZU_HERE);
    }
    GuardedText inflated;
    reported(L"Cipher::decipher: compressed text is damaged", ZU_HERE, [&] {
        CryptoPP::StringSource(
            bytesOf(packed), packed.size(), true,
            attach<CryptoPP::ZlibDecompressor>(attach<InflatedTextSink>(inflated.text())));
    });
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

bool isKnown(CipherEncoding encoding) noexcept {
    return encoding == CipherEncoding::kEnciphered || encoding == CipherEncoding::kCompressed;
}

// Feeds a filter of an authenticated cipher: the associated data first, then
// the bytes, then the end, at which a deciphering filter verifies the tag.
void pump(CryptoPP::BufferedTransformation& filter, std::string_view associated,
          std::string_view bytes) {
    filter.ChannelPut(CryptoPP::AAD_CHANNEL, bytesOf(associated), associated.size());
    filter.ChannelMessageEnd(CryptoPP::AAD_CHANNEL);
    CryptoPP::StringSource(bytesOf(bytes), bytes.size(), true,
                           attach<CryptoPP::Redirector>(filter));
}

unsigned hexDigitValue(char digit) noexcept {
    constexpr unsigned kNoDigit = 16;
    if (digit >= '0' && digit <= '9') {
        return static_cast<unsigned>(digit - '0');
    }
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a') + 10 : kNoDigit;
}

CipherKey keyOfProcess(const wchar_t* textWithoutKey, SourcePlace place) {
    InstalledKey& installed = installedKey();
    const std::lock_guard lock(installed.mutex);
    if (!installed.key) {
        throwText(textWithoutKey, place);
    }
    return *installed.key;
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
        const unsigned high = hexDigitValue(digits[2 * i]);
        const unsigned low = hexDigitValue(digits[2 * i + 1]);
        if (high > 15 || low > 15) {
            throwText(kText, ZU_HERE);
        }
        key.bytes_[i] = static_cast<std::uint8_t>(high << 4 | low);
    }
    return key;
}

CipherKey::~CipherKey() { CryptoPP::SecureWipeBuffer(bytes_.data(), bytes_.size()); }

void setCipherKey(const CipherKey& key) {
    InstalledKey& installed = installedKey();
    const std::lock_guard lock(installed.mutex);
    installed.key = key;
}

void clearCipherKey() {
    InstalledKey& installed = installedKey();
    const std::lock_guard lock(installed.mutex);
    installed.key.reset();
}

std::string Cipher::encipher(CipherEncoding encoding, std::string_view utf8, const CipherKey& key) {
    if (!isKnown(encoding)) {
        throwText(L"Cipher::encipher: unknown encoding", ZU_HERE);
    }
    if (utf8.size() > kMaxCipherText) {
        throwText(L"Cipher::encipher: text is too long", ZU_HERE);
    }
    GuardedText packed;
    if (encoding == CipherEncoding::kCompressed) {
        deflate(utf8, packed.text());
        utf8 = packed.text();
    }
    const detail::CipherNonce nonce = freshNonce();
    std::string message(kHeader);
    message.append(reinterpret_cast<const char*>(nonce.data()), nonce.size());
    message += detail::sealBytes(key, nonce, associatedData(encoding), utf8);
    return message;
}

std::string Cipher::decipher(CipherEncoding encoding, std::string_view message,
                             const CipherKey& key) {
    if (!isKnown(encoding)) {
        throwText(L"Cipher::decipher: unknown encoding", ZU_HERE);
    }
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
    GuardedText opened;
    opened.text() = detail::openBytes(key, nonce, associatedData(encoding), sealed);
    return encoding == CipherEncoding::kCompressed ? inflate(opened.text()) : opened.handOut();
}

std::string Cipher::encipher(CipherEncoding encoding, std::string_view utf8) {
    return encipher(encoding, utf8, keyOfProcess(L"Cipher::encipher: no key installed", ZU_HERE));
}

std::string Cipher::decipher(CipherEncoding encoding, std::string_view message) {
    return decipher(encoding, message,
                    keyOfProcess(L"Cipher::decipher: no key installed", ZU_HERE));
}

namespace detail {

std::string sealBytes(const CipherKey& key, const CipherNonce& nonce, std::string_view associated,
                      std::string_view plain) {
    std::string sealed(plain.size() + kCipherTagSize, '\0');
    reported(L"Cipher::encipher: text could not be enciphered", ZU_HERE, [&] {
        CryptoPP::GCM<CryptoPP::AES>::Encryption gcm;
        gcm.SetKeyWithIV(key.bytes().data(), key.bytes().size(), nonce.data(), nonce.size());
        CryptoPP::AuthenticatedEncryptionFilter filter(
            gcm, attach<CryptoPP::ArraySink>(bytesOf(sealed), sealed.size()), false,
            kCipherTagSize);
        pump(filter, associated, plain);
    });
    return sealed;
}

std::string openBytes(const CipherKey& key, const CipherNonce& nonce, std::string_view associated,
                      std::string_view sealed) {
    if (sealed.size() < kCipherTagSize) {
        throwText(L"Cipher::decipher: message is too short", ZU_HERE);
    }
    // The filter writes here before the tag has come; a failure wipes it.
    GuardedText plain(sealed.size() - kCipherTagSize);
    reported(L"Cipher::decipher: wrong key or changed message", ZU_HERE, [&] {
        CryptoPP::GCM<CryptoPP::AES>::Decryption gcm;
        gcm.SetKeyWithIV(key.bytes().data(), key.bytes().size(), nonce.data(), nonce.size());
        CryptoPP::AuthenticatedDecryptionFilter filter(
            gcm, attach<CryptoPP::ArraySink>(bytesOf(plain.text()), plain.text().size()),
            CryptoPP::AuthenticatedDecryptionFilter::THROW_EXCEPTION, kCipherTagSize);
        pump(filter, associated, sealed);
    });
    return plain.handOut();
}

}  // namespace detail

}  // namespace zustd
