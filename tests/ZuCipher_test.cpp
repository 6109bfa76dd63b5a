#include "ZuCipher.h"

#include <cryptopp/filters.h>
#include <cryptopp/zlib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <new>
#include <set>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using test::thrownText;

constexpr auto kEnciphered = CipherEncoding::kEnciphered;
constexpr auto kCompressed = CipherEncoding::kCompressed;
constexpr CipherEncoding kBothEncodings[] = {kEnciphered, kCompressed};
constexpr std::size_t kOverhead = 32;

constexpr wchar_t kRefused[] = L"Cipher::decipher: wrong key or changed message";
constexpr wchar_t kTooShort[] = L"Cipher::decipher: message is too short";
constexpr wchar_t kOtherLayout[] = L"Cipher::decipher: not a message of this layout";
constexpr wchar_t kDamaged[] = L"Cipher::decipher: compressed text is damaged";
constexpr wchar_t kInflatesTooFar[] = L"Cipher::decipher: compressed text is too long";

// 17 bytes of UTF-8 with one- and two-byte characters.
constexpr std::string_view kText = "Gr\xC3\xBC\xC3\x9F\x65, \xD0\xBC\xD0\xB8\xD1\x80\r\n";

std::string bytesOfHex(std::string_view digits) {
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes.push_back(
            static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16)));
    }
    return bytes;
}

CipherKey countingKey() {
    return CipherKey::fromHex("000102030405060708090a0b0c0d0e0f101112131415161718191A1B1C1D1E1F");
}

CipherKey otherKey() {
    return CipherKey::fromHex("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1e");
}

detail::CipherNonce nonceOf(std::string_view bytes) {
    detail::CipherNonce nonce{};
    std::copy(bytes.begin(), bytes.end(), nonce.begin());
    return nonce;
}

std::wstring refusal(CipherEncoding encoding, std::string_view message, const CipherKey& key) {
    return thrownText([&] { Cipher::decipher(encoding, message, key); });
}

// A zlib stream of so many equal bytes, made without having them in memory.
std::string zlibStreamOfSpaces(std::size_t size) {
    const std::string block(1 << 20, ' ');
    std::string stream;
    CryptoPP::ZlibCompressor compressor(std::make_unique<CryptoPP::StringSink>(stream).release());
    for (std::size_t left = size; left != 0;) {
        const std::size_t part = std::min(left, block.size());
        compressor.Put(reinterpret_cast<const CryptoPP::byte*>(block.data()), part);
        left -= part;
    }
    compressor.MessageEnd();
    return stream;
}

// An authentic message of encoding 3 around any bytes.
std::string messageAroundStream(std::string_view stream) {
    const std::string nonce = "nonce of 12b";
    return "ZUC\x01" + nonce +
           detail::sealBytes(countingKey(), nonceOf(nonce), "ZUC\x01\x03", stream);
}

// --- Known answers ---------------------------------------------------------

struct GcmVector {
    std::string_view key;
    std::string_view nonce;
    std::string_view associated;
    std::string_view plain;
    std::string_view sealed;
};

constexpr std::string_view kZeroKey =
    "0000000000000000000000000000000000000000000000000000000000000000";
constexpr std::string_view kTestKey =
    "feffe9928665731c6d6a8f9467308308feffe9928665731c6d6a8f9467308308";
constexpr std::string_view kTestPlain =
    "d9313225f88406e5a55909c5aff5269a86a7a9531534f7da2e4c303d8a318a72"
    "1c3c0c95956809532fcf0e2449a6b525b16aedf5aa0de657ba637b391aafd255";

// Test cases 13 to 16 of the GCM submission, the ones with a 256-bit key and a
// 96-bit nonce; the tag stands behind the enciphered bytes.
constexpr GcmVector kGcmVectors[] = {
    {kZeroKey, "000000000000000000000000", "", "", "530f8afbc74536b9a963b4f1c4cb738b"},
    {kZeroKey, "000000000000000000000000", "", "00000000000000000000000000000000",
     "cea7403d4d606b6e074ec5d3baf39d18d0d1c8a799996bf0265b98b5d48ab919"},
    {kTestKey, "cafebabefacedbaddecaf888", "", kTestPlain,
     "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa"
     "8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662898015ad"
     "b094dac5d93471bdec1a502270e3cc6c"},
    {kTestKey, "cafebabefacedbaddecaf888", "feedfacedeadbeeffeedfacedeadbeefabaddad2",
     kTestPlain.substr(0, 120),
     "522dc1f099567d07f47f37a32a84427d643a8cdcbfe5c0c97598a2bd2555d1aa"
     "8cb08e48590dbb3da7b08b1056828838c5f61e6393ba7a0abcc9f662"
     "76fc6ece0f4e1768cddf8853bb2d551b"},
};

TEST(CipherKnownAnswers, sealAndOpen_gcmTestCases_giveTheirAnswers) {
    for (const GcmVector& vector : kGcmVectors) {
        const CipherKey key = CipherKey::fromHex(vector.key);
        const detail::CipherNonce nonce = nonceOf(bytesOfHex(vector.nonce));
        const std::string associated = bytesOfHex(vector.associated);
        const std::string sealed = bytesOfHex(vector.sealed);
        const std::string plain = bytesOfHex(vector.plain);
        EXPECT_EQ(detail::sealBytes(key, nonce, associated, plain), sealed) << vector.sealed;
        EXPECT_EQ(detail::openBytes(key, nonce, associated, sealed), plain) << vector.sealed;
        EXPECT_EQ(thrownText([&] { detail::openBytes(key, nonce, associated + "x", sealed); }),
                  kRefused);
    }
}

// Made by another implementation of AES-GCM and of zlib.
TEST(CipherKnownAnswers, decipher_messagesOfAnotherImplementation_giveTheirText) {
    EXPECT_EQ(Cipher::decipher(
                  kEnciphered,
                  bytesOfHex("5a554301a0a1a2a3a4a5a6a7a8a9aaaba16abf918654679342b53b03bfab40d37a6f"
                             "643e7b96fc08cf90c37b180f63e4c5"),
                  countingKey()),
              kText);
    EXPECT_EQ(Cipher::decipher(
                  kCompressed,
                  bytesOfHex("5a554301a0a1a2a3a4a5a6a7a8a9aaab9ec20f027f77e54f9e319a560c01ee32c874"
                             "99db97b7114794c63c9c0ee5c80a46dc7659551c9c6c7d4e"),
                  countingKey()),
              kText);
}

// --- Round trips ---------------------------------------------------------------

TEST(CipherRoundTrip, everySizeAroundBlockBorders_comesBack) {
    test::Random random(1);
    const CipherKey key = countingKey();
    for (std::size_t size = 0; size <= 300; ++size) {
        std::string text(size, '\0');
        std::generate(text.begin(), text.end(),
                      [&] { return static_cast<char>(random.below(256)); });
        const std::string message = Cipher::encipher(kEnciphered, text, key);
        EXPECT_EQ(message.size(), size + kOverhead);
        EXPECT_EQ(Cipher::decipher(kEnciphered, message, key), text) << size;
        const std::string packed = Cipher::encipher(kCompressed, text, key);
        EXPECT_EQ(Cipher::decipher(kCompressed, packed, key), text) << size;
    }
}

TEST(CipherRoundTrip, largeTexts_comeBackAndCompressWhereTheyCan) {
    test::Random random(2);
    std::string noise(1'000'000, '\0');
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<char>(random.below(256)); });
    std::string prose;
    while (prose.size() < 1'000'000) {
        prose += kText;
    }
    for (const CipherEncoding encoding : kBothEncodings) {
        for (const std::string& text : {noise, prose}) {
            const std::string message = Cipher::encipher(encoding, text, countingKey());
            EXPECT_TRUE(Cipher::decipher(encoding, message, countingKey()) == text);
        }
    }
    EXPECT_LT(Cipher::encipher(kCompressed, prose, countingKey()).size(), prose.size() / 50);
}

TEST(CipherRoundTrip, sameTextTwice_freshNonceAndNothingReadable) {
    std::set<std::string> nonces;
    for (int i = 0; i < 200; ++i) {
        const std::string message = Cipher::encipher(kEnciphered, kText, countingKey());
        EXPECT_TRUE(message.starts_with("ZUC\x01"));
        EXPECT_EQ(message.find(kText.substr(0, 8)), std::string::npos);
        nonces.insert(message.substr(4, 12));
    }
    EXPECT_EQ(nonces.size(), 200U);
}

// --- Refusals -------------------------------------------------------------------

TEST(CipherRefusal, everyChangedByte_isRefused) {
    for (const CipherEncoding encoding : kBothEncodings) {
        const std::string message = Cipher::encipher(encoding, kText, countingKey());
        for (std::size_t at = 0; at < message.size(); ++at) {
            for (const int change : {0x01, 0x80, 0xFF}) {
                std::string changed = message;
                changed[at] = static_cast<char>(changed[at] ^ change);
                EXPECT_EQ(refusal(encoding, changed, countingKey()),
                          at < 4 ? kOtherLayout : kRefused)
                    << at;
            }
        }
    }
}

TEST(CipherRefusal, everyTruncationAndAddition_isRefused) {
    for (const CipherEncoding encoding : kBothEncodings) {
        const std::string message = Cipher::encipher(encoding, kText, countingKey());
        for (std::size_t size = 0; size < message.size(); ++size) {
            EXPECT_EQ(refusal(encoding, message.substr(0, size), countingKey()),
                      size < kOverhead ? kTooShort : kRefused)
                << size;
        }
        EXPECT_EQ(refusal(encoding, message + '\0', countingKey()), kRefused);
    }
}

TEST(CipherRefusal, wrongKey_isRefused) {
    for (const CipherEncoding encoding : kBothEncodings) {
        EXPECT_EQ(refusal(encoding, Cipher::encipher(encoding, kText, countingKey()), otherKey()),
                  kRefused);
    }
}

TEST(CipherRefusal, messageOfTheOtherEncoding_isRefused) {
    // The text is a zlib stream itself: nothing but the tag can tell.
    const std::string stream = zlibStreamOfSpaces(100);
    const std::string enciphered = Cipher::encipher(kEnciphered, stream, countingKey());
    EXPECT_EQ(refusal(kCompressed, enciphered, countingKey()), kRefused);
    const std::string compressed = Cipher::encipher(kCompressed, kText, countingKey());
    EXPECT_EQ(refusal(kEnciphered, compressed, countingKey()), kRefused);
}

TEST(CipherRefusal, unknownEncoding_isRefusedBothWays) {
    for (const int number : {0, 1, 4}) {
        const auto encoding = static_cast<CipherEncoding>(number);
        EXPECT_EQ(refusal(encoding, "", countingKey()), L"Cipher::decipher: unknown encoding");
        EXPECT_EQ(thrownText([&] { Cipher::encipher(encoding, kText, countingKey()); }),
                  L"Cipher::encipher: unknown encoding");
    }
}

TEST(CipherRefusal, refusedMessage_isTracedBeforeItIsThrown) {
    const test::TraceCapture trace;
    refusal(kEnciphered, Cipher::encipher(kEnciphered, kText, countingKey()), otherKey());
    const test::Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with(
        "throwing: 'Cipher::decipher: wrong key or changed message', in src/lib/ZuCipher, line "))
        << lines[0];
}

// --- Compressed text ---------------------------------------------------------------

TEST(CipherCompressed, authenticMessageWithBrokenStream_isRefused) {
    const std::string stream = zlibStreamOfSpaces(1000);
    ASSERT_EQ(Cipher::decipher(kCompressed, messageAroundStream(stream), countingKey()),
              std::string(1000, ' '));
    for (std::size_t fromEnd = 1; fromEnd <= 4; ++fromEnd) {
        std::string wrongSum = stream;
        wrongSum[stream.size() - fromEnd] =
            static_cast<char>(wrongSum[stream.size() - fromEnd] ^ 1);
        EXPECT_EQ(refusal(kCompressed, messageAroundStream(wrongSum), countingKey()), kDamaged);
    }
    for (std::size_t size = 1; size < stream.size(); ++size) {
        EXPECT_EQ(refusal(kCompressed, messageAroundStream(stream.substr(0, size)), countingKey()),
                  kDamaged)
            << size;
    }
    EXPECT_EQ(refusal(kCompressed, messageAroundStream(""), countingKey()),
              L"Cipher::decipher: compressed text is missing");
    EXPECT_EQ(refusal(kCompressed, messageAroundStream(stream + "x"), countingKey()),
              L"Cipher::decipher: bytes behind the compressed text");
    EXPECT_EQ(refusal(kCompressed, messageAroundStream(stream + stream), countingKey()),
              L"Cipher::decipher: bytes behind the compressed text");
    EXPECT_EQ(refusal(kCompressed, messageAroundStream(kText), countingKey()), kDamaged);
}

TEST(CipherCompressed, textAtTheLimit_passesAndOneByteMore_isRefused) {
    const std::string longest = messageAroundStream(zlibStreamOfSpaces(kMaxCipherText));
    EXPECT_EQ(Cipher::decipher(kCompressed, longest, countingKey()).size(), kMaxCipherText);
    const std::string tooLong = messageAroundStream(zlibStreamOfSpaces(kMaxCipherText + 1));
    EXPECT_EQ(refusal(kCompressed, tooLong, countingKey()), kInflatesTooFar);
}

TEST(CipherCompressed, bombOf200MB_isRefusedWithinBoundedMemory) {
    const std::string bomb = messageAroundStream(zlibStreamOfSpaces(200'000'000));
    ASSERT_LT(bomb.size(), 1'000'000U);
    const test::MemoryWatch memory;
    EXPECT_EQ(refusal(kCompressed, bomb, countingKey()), kInflatesTooFar);
    // The text at its limit and, while it grows for the last time, its half.
    EXPECT_LT(memory.peak(), kMaxCipherText + kMaxCipherText / 2 + 4'000'000);
}

TEST(CipherLimit, textOrMessageTooLong_isRefused) {
    const std::string tooLong(kMaxCipherText + 1, ' ');
    for (const CipherEncoding encoding : kBothEncodings) {
        EXPECT_EQ(thrownText([&] { Cipher::encipher(encoding, tooLong, countingKey()); }),
                  L"Cipher::encipher: text is too long");
    }
    EXPECT_EQ(refusal(kEnciphered, "ZUC\x01" + tooLong + std::string(28, ' '), countingKey()),
              L"Cipher::decipher: text is too long");
}

TEST(CipherMemory, everyFailingAllocation_givesBadAllocAndNothingElse) {
    const CipherKey key = countingKey();
    const std::string message = Cipher::encipher(kCompressed, kText, key);
    for (const bool deciphering : {false, true}) {
        long allowed = 0;
        for (bool done = false; !done; ++allowed) {
            ASSERT_LT(allowed, 10'000);
            const test::AllocationLimit limit(allowed);
            try {
                const std::string result = deciphering ? Cipher::decipher(kCompressed, message, key)
                                                       : Cipher::encipher(kCompressed, kText, key);
                done = !limit.wasReached();
                EXPECT_TRUE(done) << "an allocation failed unseen: " << allowed;
            } catch (const std::bad_alloc&) {
                EXPECT_TRUE(limit.wasReached());
            }
        }
        EXPECT_GT(allowed, 5);
    }
}

// --- Keys -------------------------------------------------------------------------

TEST(CipherKeyValue, fromHex_anythingButSixtyFourDigits_isRefused) {
    const std::string digits(64, 'a');
    EXPECT_EQ(CipherKey::fromHex(digits).bytes()[31], 0xAA);
    for (const std::string& wrong :
         {std::string(), digits.substr(1), digits + "a", "0x" + digits.substr(2),
          digits.substr(1) + "g", digits.substr(1) + "\n", "@" + digits.substr(1),
          digits.substr(1) + "/", digits.substr(1) + ":", "\x90" + digits.substr(1)}) {
        EXPECT_EQ(thrownText([&] { CipherKey::fromHex(wrong); }),
                  L"CipherKey::fromHex: a key is 64 hexadecimal digits");
    }
}

TEST(CipherKeyValue, endOfLife_overwritesTheBytes) {
    alignas(CipherKey) unsigned char storage[sizeof(CipherKey)];
    std::fill(std::begin(storage), std::end(storage), static_cast<unsigned char>(0xEE));
    auto* key = new (storage) CipherKey(CipherKey::fromHex(std::string(64, 'c')));
    ASSERT_EQ(key->bytes()[0], 0xCC);
    key->~CipherKey();
    const volatile unsigned char* left = storage;
    for (std::size_t i = 0; i < CipherKey::kSize; ++i) {
        EXPECT_EQ(left[i], 0) << i;
    }
}

TEST(CipherInstalledKey, operationsWithoutKey_useTheInstalledOneOrAreRefused) {
    clearCipherKey();
    EXPECT_EQ(thrownText([] { Cipher::encipher(kEnciphered, kText); }),
              L"Cipher::encipher: no key installed");
    const std::string message = Cipher::encipher(kCompressed, kText, countingKey());
    const auto decipher = [&] { Cipher::decipher(kCompressed, message); };
    EXPECT_EQ(thrownText(decipher), L"Cipher::decipher: no key installed");

    setCipherKey(otherKey());
    EXPECT_EQ(thrownText(decipher), kRefused);
    setCipherKey(countingKey());
    EXPECT_EQ(Cipher::decipher(kCompressed, message), kText);
    EXPECT_EQ(Cipher::decipher(kEnciphered, Cipher::encipher(kEnciphered, kText), countingKey()),
              kText);
    clearCipherKey();
    EXPECT_EQ(thrownText(decipher), L"Cipher::decipher: no key installed");
}

}  // namespace
}  // namespace zustd
