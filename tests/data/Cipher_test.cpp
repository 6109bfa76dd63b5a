#include "ZuCipher.h"

#include <cryptopp/aes.h>
#include <cryptopp/filters.h>
#include <cryptopp/gcm.h>
#include <cryptopp/zlib.h>
#include <set>

#include "ZuEncoder.h"
#include "ZuWindows.h"
#include "support/FrameworkTest.h"

extern "C" void* __imp_malloc IMPORT_SLOT("malloc", "");

namespace zustd::test {
namespace {

using namespace std::string_literals;

constexpr auto kEnciphered = CipherEncoding::kEnciphered;
constexpr auto kCompressed = CipherEncoding::kCompressed;

const std::string kText = "Gr\xC3\xBC\xC3\x9F\x65, \xD0\xBC\xD0\xB8\xD1\x80\r\n";
const std::string kKeyStart = "000102030405060708090a0b0c0d0e0f101112131415161718191A1B1C1D1E";
const CipherKey kKey = CipherKey::fromHex(kKeyStart + "1F");
const CipherKey kOtherKey = CipherKey::fromHex(kKeyStart + "1e");

const CryptoPP::byte* bytesOf(const std::string& text) {
    return reinterpret_cast<const CryptoPP::byte*>(text.data());
}

std::string packed(const std::string& text, std::size_t times = 1) {
    std::string stream;
    CryptoPP::ZlibCompressor compressor(std::make_unique<CryptoPP::StringSink>(stream).release());
    for (; times > 0; --times) {
        compressor.Put(bytesOf(text), text.size());
    }
    compressor.MessageEnd();
    return stream;
}

std::string messageAround(const std::string& bytes, CipherEncoding encoding = kCompressed,
                          const std::string& nonce = std::string(12, '\7')) {
    const std::string associated = "ZUC\x01"s + static_cast<char>(encoding);
    std::string sealed(bytes.size() + 16, '\0');
    auto* const out = reinterpret_cast<CryptoPP::byte*>(sealed.data());
    CryptoPP::GCM<CryptoPP::AES>::Encryption gcm;
    gcm.SetKeyWithIV(kKey.bytes().data(), 32, bytesOf(nonce), 12);
    gcm.EncryptAndAuthenticate(out, out + bytes.size(), 16, bytesOf(nonce), 12, bytesOf(associated),
                               5, bytesOf(bytes), bytes.size());
    return "ZUC\x01" + nonce + sealed;
}

std::wstring refusal(CipherEncoding encoding, std::string_view bytes, const CipherKey& key = kKey) {
    const std::wstring text = thrownText([&] { Cipher::decipher(encoding, bytes, key); });
    return text.starts_with(L"Cipher::decipher: ") ? text.substr(18) : text;
}

TEST(Cipher, randomTexts_besideTheLibraryBelow_areTheSameUnderFreshNonces) {
    Random random(1);
    std::set<std::string> nonces;
    for (std::size_t size = 0; size <= 300; ++size) {
        std::string text = random.bytes(size % 10 == 0 ? size * 400 : size);
        text = random.below(3) > 0 ? text : std::string(text.size(), 'a');
        for (const CipherEncoding encoding : {kEnciphered, kCompressed}) {
            const std::string message = Cipher::encipher(encoding, text, kKey);
            const std::string nonce = message.substr(4, 12);
            const std::string bytes = encoding == kEnciphered ? text : packed(text);
            EXPECT_TRUE(message == messageAround(bytes, encoding, nonce)) << size;
            EXPECT_TRUE(Cipher::decipher(encoding, message, kKey) == text) << size;
            EXPECT_TRUE(nonces.insert(nonce).second);
        }
    }
}

TEST(Cipher, changedMessagesAndWrongKeys_areRefused) {
    const std::wstring refused = L"wrong key or changed message";
    for (const CipherEncoding encoding : {kEnciphered, kCompressed}) {
        const std::string message = Cipher::encipher(encoding, packed(kText), kKey);
        for (std::size_t at = 0; at < message.size(); ++at) {
            std::string other = message;
            other[at] ^= static_cast<char>(1 << at % 8);
            EXPECT_EQ(refusal(encoding, other), at < 4 ? L"not a message of this layout" : refused);
            EXPECT_EQ(refusal(encoding, message.substr(0, at)),
                      at < 32 ? L"message is too short" : refused);
        }
        EXPECT_EQ(refusal(encoding, message + '\0'), refused);
        EXPECT_EQ(refusal(encoding, message, kOtherKey), refused);
        EXPECT_EQ(refusal(encoding == kEnciphered ? kCompressed : kEnciphered, message), refused);
    }
    for (const CipherEncoding unknown : {CipherEncoding{0}, CipherEncoding{1}, CipherEncoding{4}}) {
        EXPECT_EQ(refusal(unknown, ""), L"unknown encoding");
        EXPECT_EQ(thrownText([&] { Cipher::encipher(unknown, kText, kKey); }),
                  L"Cipher::encipher: unknown encoding");
    }
}

TEST(Cipher, authenticMessagesWithBrokenOrEndlessStreams_areRefusedWithinBoundedMemory) {
    const std::string block(1 << 20, ' ');
    const std::string stream = packed(block);
    const auto refusalOf = [](const std::string& bytes) {
        return refusal(kCompressed, messageAround(bytes));
    };
    EXPECT_EQ(refusalOf(""), L"compressed text is missing");
    for (std::size_t size = 1; size < stream.size(); size += 1 + size / 16) {
        EXPECT_EQ(refusalOf(stream.substr(0, size)), L"compressed text is damaged");
    }
    EXPECT_EQ(refusalOf(kText), L"compressed text is damaged");
    EXPECT_EQ(refusalOf(stream + "x"), L"bytes behind the compressed text");
    const std::string longest(64 << 20, ' ');
    for (const CipherEncoding encoding : {kEnciphered, kCompressed}) {
        const std::string message = Cipher::encipher(encoding, longest, kKey);
        EXPECT_TRUE(Cipher::decipher(encoding, message, kKey) == longest);
    }
    const std::string bomb = messageAround(packed(block, 200));
    const MemoryWatch memory;
    EXPECT_EQ(refusal(kCompressed, bomb), L"compressed text is too long");
    // The text at its limit and, while it grows for the last time, its half.
    EXPECT_LT(memory.peak(), kMaxCipherText + kMaxCipherText / 2 + 4'000'000);
    const std::string tooLong = longest + ' ';
    EXPECT_EQ(refusal(kEnciphered, messageAround(tooLong)), L"text is too long");
    EXPECT_EQ(thrownText([&] { Cipher::encipher(kCompressed, tooLong, kKey); }),
              L"Cipher::encipher: text is too long");
}

// The library below takes much of its memory straight from the C runtime.
decltype(&std::malloc) realMalloc = nullptr;
void* limitedMalloc(std::size_t size) {
    return AllocationLimit::take() ? realMalloc(size) : nullptr;
}

TEST(Cipher, anyAllocationThatFailsOrNone_leavesNoBlockAndNoTextBehind) {
    realMalloc = reinterpret_cast<decltype(realMalloc)>(__imp_malloc);
    const ReplacedImport malloc(__imp_malloc, reinterpret_cast<void*>(&limitedMalloc));
    {
        // Makes the lock of the runtime's reserve for exceptions.
        const AllocationLimit limit(0, true);
        thrownText([] { throw std::wstring(); });
    }
    const std::string secret = "18 secret letters ";
    setCipherKey(kKey);
    Random random(13);
    for (const std::size_t size : {0U, 40U, 300U, 5'000U, 200'000U}) {
        std::string text;
        while (text.size() < size) {
            text += secret + std::to_string(random.below(~std::size_t{0}));
        }
        for (const CipherEncoding encoding : {kEnciphered, kCompressed}) {
            const std::string message = Cipher::encipher(encoding, text, kKey);
            for (const bool isBack : {false, true}) {
                const std::function<bool()> operation = [&] {
                    if (!isBack) {
                        return Cipher::encipher(encoding, text, kKey).size() >= message.size();
                    }
                    std::wstring out;
                    Encoder::decodeFrom(static_cast<int>(encoding), message, out);
                    return out.size() == text.size();
                };
                EXPECT_TRUE(operation()) << "what the library keeps is made";
                const MemoryWatch memory(secret);
                const auto check = [&](bool) { EXPECT_EQ(memory.held(), 0); };
                EXPECT_GT(failEachAllocation(operation, check), 10);
                EXPECT_FALSE(MemoryWatch::foundInFreed) << text.size();
            }
        }
    }
    clearCipherKey();
}

TEST(CipherKey, sixtyFourDigits_areTakenUsedAndWipedAtTheEnd) {
    const std::string most(63, 'a');
    for (const std::string wrong : {"", "aa", "g", "@", "/", ":", "\x90"}) {
        EXPECT_EQ(thrownText([&] { CipherKey::fromHex(wrong + most); }),
                  L"CipherKey::fromHex: a key is 64 hexadecimal digits");
    }
    alignas(CipherKey) unsigned char storage[sizeof(CipherKey)];
    auto* key = new (storage) CipherKey(CipherKey::fromHex(most + "9").bytes());
    ASSERT_EQ(key->bytes()[31], 0xA9);
    key->~CipherKey();
    const volatile unsigned char* left = storage;
    EXPECT_EQ(std::count(left, left + CipherKey::kSize, 0), CipherKey::kSize);
    const std::string message = Cipher::encipher(kCompressed, kText, kKey);
    std::wstring out = L"old";
    const auto failure = [&](int encoding) {  // By the numbers that resources have.
        return thrownText([&] { Encoder::decodeFrom(encoding, message, out); }) + out;
    };
    const std::wstring refused = L"Cipher::decipher: wrong key or changed message";
    setCipherKey(kOtherKey);
    EXPECT_EQ(failure(3), refused);
    setCipherKey(kKey);
    EXPECT_EQ(failure(3), L"nothingGr\u00FC\u00DFe, \u043C\u0438\u0440\r\n");
    EXPECT_EQ(failure(2), refused);
    clearCipherKey();
    EXPECT_EQ(failure(2), L"Cipher::decipher: no key installed");
}

}  // namespace
}  // namespace zustd::test
