#include "ZuCipher.h"

#include <cryptopp/filters.h>
#include <cryptopp/zlib.h>
#include <gtest/gtest.h>

#include <process.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <set>

#include "ZuEncoder.h"
#include "ZuWindows.h"
#include "support/FrameworkTest.h"

extern "C" void* __imp_malloc IMPORT_SLOT("malloc", "");

namespace zustd {
namespace {

using namespace test;

constexpr auto kEnciphered = CipherEncoding::kEnciphered;
constexpr auto kCompressed = CipherEncoding::kCompressed;
constexpr CipherEncoding kBothEncodings[] = {kEnciphered, kCompressed};
constexpr std::size_t kOverhead = 32;

constexpr wchar_t kRefused[] = L"Cipher::decipher: wrong key or changed message";
constexpr wchar_t kTooShort[] = L"Cipher::decipher: message is too short";
constexpr wchar_t kOtherLayout[] = L"Cipher::decipher: not a message of this layout";
constexpr wchar_t kDamaged[] = L"Cipher::decipher: compressed text is damaged";
constexpr wchar_t kInflatesTooFar[] = L"Cipher::decipher: compressed text is too long";
constexpr wchar_t kBytesBehind[] = L"Cipher::decipher: bytes behind the compressed text";

// 17 bytes of UTF-8 with one- and two-byte characters.
constexpr std::string_view kText = "Gr\xC3\xBC\xC3\x9F\x65, \xD0\xBC\xD0\xB8\xD1\x80\r\n";

std::string bytesOfHex(std::string_view digits) {
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16));
    }
    return bytes;
}

const std::string kKeyStart = "000102030405060708090a0b0c0d0e0f101112131415161718191A1B1C1D1E";
const CipherKey kKey = CipherKey::fromHex(kKeyStart + "1F");
const CipherKey kOtherKey = CipherKey::fromHex(kKeyStart + "1e");

std::wstring refusal(CipherEncoding encoding, std::string_view message,
                     const CipherKey& key = kKey) {
    return thrownText([&] { Cipher::decipher(encoding, message, key); });
}

// A zlib stream of so many blanks, made without having them in memory.
std::string zlibStreamOfSpaces(std::size_t size) {
    const std::string block(1 << 20, ' ');
    std::string stream;
    CryptoPP::ZlibCompressor compressor(std::make_unique<CryptoPP::StringSink>(stream).release());
    for (std::size_t part = 0; size != 0; size -= part) {
        part = std::min(size, block.size());
        compressor.Put(reinterpret_cast<const CryptoPP::byte*>(block.data()), part);
    }
    compressor.MessageEnd();
    return stream;
}

// An authentic message of encoding 3 around any bytes.
std::string messageAroundStream(std::string_view stream) {
    return "ZUC\x01" + std::string(12, '\0') + detail::sealBytes(kKey, {}, "ZUC\x01\x03", stream);
}

TEST(CipherKnownAnswers, foreignMessages_giveTheirText) {
    // Made by another implementation of AES-GCM and of zlib.
    const std::string enciphered = bytesOfHex(
        "5a554301a0a1a2a3a4a5a6a7a8a9aaaba16abf918654679342b53b03bfab40d37a6f643e7b96fc08cf90c37b"
        "180f63e4c5");
    const std::string compressed = bytesOfHex(
        "5a554301a0a1a2a3a4a5a6a7a8a9aaab9ec20f027f77e54f9e319a560c01ee32c87499db97b7114794c63c9c"
        "0ee5c80a46dc7659551c9c6c7d4e");
    EXPECT_EQ(Cipher::decipher(kEnciphered, enciphered, kKey), kText);
    EXPECT_EQ(Cipher::decipher(kCompressed, compressed, kKey), kText);
}

TEST(CipherRoundTrip, everySizeAndLargeTexts_comeBackUnderFreshNonces) {
    Random random(1);
    std::string prose;
    while (prose.size() < 1'000'000) {
        prose += kText;
    }
    Lines texts = {random.bytes(1'000'000), prose};
    for (std::size_t size = 0; size <= 300; ++size) {
        texts.push_back(random.bytes(size));
    }
    for (const std::string& text : texts) {
        const std::string message = Cipher::encipher(kEnciphered, text, kKey);
        const std::string packed = Cipher::encipher(kCompressed, text, kKey);
        EXPECT_EQ(message.size(), text.size() + kOverhead);
        EXPECT_TRUE(Cipher::decipher(kEnciphered, message, kKey) == text) << text.size();
        EXPECT_TRUE(Cipher::decipher(kCompressed, packed, kKey) == text) << text.size();
    }
    EXPECT_LT(Cipher::encipher(kCompressed, prose, kKey).size(), prose.size() / 50);
    std::set<std::string> nonces;
    for (int i = 0; i < 200; ++i) {
        const std::string message = Cipher::encipher(kEnciphered, kText, kKey);
        EXPECT_TRUE(message.starts_with("ZUC\x01"));
        EXPECT_EQ(message.find(kText.substr(0, 8)), std::string::npos);
        nonces.insert(message.substr(4, 12));
    }
    EXPECT_EQ(nonces.size(), 200U);
}

TEST(CipherRefusal, everyChangedByteTruncationAdditionAndWrongKey_isRefused) {
    for (const CipherEncoding encoding : kBothEncodings) {
        const std::string message = Cipher::encipher(encoding, kText, kKey);
        for (std::size_t at = 0; at < message.size(); ++at) {
            for (const int change : {0x01, 0x80, 0xFF}) {
                std::string changed = message;
                changed[at] = static_cast<char>(changed[at] ^ change);
                EXPECT_EQ(refusal(encoding, changed), at < 4 ? kOtherLayout : kRefused) << at;
            }
            EXPECT_EQ(refusal(encoding, message.substr(0, at)),
                      at < kOverhead ? kTooShort : kRefused)
                << at;
        }
        EXPECT_EQ(refusal(encoding, message + '\0'), kRefused);
        EXPECT_EQ(refusal(encoding, message, kOtherKey), kRefused);
    }
}

TEST(CipherRefusal, messageOfAnotherOrUnknownEncoding_isRefusedAndTraced) {
    // The text is a zlib stream itself: nothing but the tag can tell.
    const TraceCapture trace;
    const std::string stream = zlibStreamOfSpaces(100);
    EXPECT_EQ(refusal(kCompressed, Cipher::encipher(kEnciphered, stream, kKey)), kRefused);
    ASSERT_EQ(trace.messages().size(), 1U);
    EXPECT_TRUE(trace.messages()[0].starts_with(
        "throwing: 'Cipher::decipher: wrong key or changed message', in src/lib/ZuCipher, line "));
    EXPECT_EQ(refusal(kEnciphered, Cipher::encipher(kCompressed, kText, kKey)), kRefused);
    for (const int number : {0, 1, 4}) {
        const auto encoding = static_cast<CipherEncoding>(number);
        EXPECT_EQ(refusal(encoding, ""), L"Cipher::decipher: unknown encoding");
        EXPECT_EQ(thrownText([&] { Cipher::encipher(encoding, kText, kKey); }),
                  L"Cipher::encipher: unknown encoding");
    }
}

TEST(CipherCompressed, authenticMessageWithBrokenStream_isRefused) {
    const auto refusalAround = [](std::string_view stream) {
        return refusal(kCompressed, messageAroundStream(stream));
    };
    const std::string stream = zlibStreamOfSpaces(1000);
    ASSERT_EQ(refusalAround(stream), L"nothing");
    for (std::size_t size = 1; size < stream.size(); ++size) {
        EXPECT_EQ(refusalAround(stream.substr(0, size)), kDamaged) << size;
    }
    for (std::size_t at = stream.size() - 4; at < stream.size(); ++at) {
        std::string wrongSum = stream;
        wrongSum[at] = static_cast<char>(wrongSum[at] ^ 1);
        EXPECT_EQ(refusalAround(wrongSum), kDamaged);
    }
    EXPECT_EQ(refusalAround(kText), kDamaged);
    EXPECT_EQ(refusalAround(""), L"Cipher::decipher: compressed text is missing");
    EXPECT_EQ(refusalAround(stream + "x"), kBytesBehind);
    EXPECT_EQ(refusalAround(stream + stream), kBytesBehind);
}

TEST(CipherLimit, textAtTheLimit_passesAndLongerOnesAreRefusedWithinBoundedMemory) {
    const std::string longest = messageAroundStream(zlibStreamOfSpaces(kMaxCipherText));
    EXPECT_EQ(Cipher::decipher(kCompressed, longest, kKey).size(), kMaxCipherText);
    for (const std::size_t size : {kMaxCipherText + 1, std::size_t{200'000'000}}) {
        const std::string bomb = messageAroundStream(zlibStreamOfSpaces(size));
        const MemoryWatch memory;
        EXPECT_EQ(refusal(kCompressed, bomb), kInflatesTooFar);
        // The text at its limit and, while it grows for the last time, its half.
        EXPECT_LT(memory.peak(), kMaxCipherText + kMaxCipherText / 2 + 4'000'000);
    }
    const std::string tooLong(kMaxCipherText + 1, ' ');
    for (const CipherEncoding encoding : kBothEncodings) {
        EXPECT_EQ(thrownText([&] { Cipher::encipher(encoding, tooLong, kKey); }),
                  L"Cipher::encipher: text is too long");
    }
    EXPECT_EQ(refusal(kEnciphered, "ZUC\x01" + tooLong + std::string(28, ' ')),
              L"Cipher::decipher: text is too long");
}

// The library below takes much of its memory straight from the C runtime.
decltype(&std::malloc) realMalloc = nullptr;
void* limitedMalloc(std::size_t size) {
    return AllocationLimit::take() ? realMalloc(size) : nullptr;
}

TEST(CipherMemory, anyAllocationThatFailsOrNone_leavesNoBlockAndNoTextBehind) {
    realMalloc = reinterpret_cast<decltype(realMalloc)>(__imp_malloc);
    const ReplacedImport malloc(__imp_malloc, reinterpret_cast<void*>(&limitedMalloc));
    {
        // Makes the lock of the runtime's reserve for exceptions.
        const AllocationLimit limit(0, true);
        thrownText([] { throw std::wstring(); });
    }
    Random random(13);
    const std::string secret = "18 secret letters ";
    setCipherKey(kKey);
    std::string text;
    for (const std::size_t size : {0U, 40U, 300U, 5'000U, 200'000U}) {
        while (text.size() < size) {
            text += secret;
            for (std::size_t i = text.size() / 50; i > 0; --i) {
                text += static_cast<char>(random.below(0xE0));
            }
        }
        text += text.empty() ? "" : "..";  // a last sequence is whole
        for (const CipherEncoding encoding : kBothEncodings) {
            const std::string message = Cipher::encipher(encoding, text, kKey);
            const std::function<bool()> operations[] = {
                [&] { return !Cipher::encipher(encoding, text, kKey).empty(); },
                [&] {
                    std::wstring out;
                    Encoder::decodeFrom(static_cast<int>(encoding), message, out);
                    return out.size() <= text.size();
                }};
            for (const auto& operation : operations) {
                EXPECT_TRUE(operation()) << "what the library keeps is made";
                const MemoryWatch memory(secret);
                const auto check = [&](bool) { EXPECT_EQ(memory.held(), 0); };
                EXPECT_GT(failEachAllocation(operation, check), 10);
                EXPECT_FALSE(memory.foundInFreed()) << text.size();
            }
        }
    }
    clearCipherKey();
}

TEST(CipherKeyValue, sixtyFourDigits_areTakenAndWipedAtTheEnd) {
    const std::string most(63, 'a');
    EXPECT_EQ(CipherKey::fromHex(most + "a").bytes()[31], 0xAA);
    for (const std::string& wrong :
         {std::string(), most, most + "aa", "0x" + most.substr(1), most + "g", most + "\n",
          "@" + most, most + "/", most + ":", "\x90" + most}) {
        EXPECT_EQ(thrownText([&] { CipherKey::fromHex(wrong); }),
                  L"CipherKey::fromHex: a key is 64 hexadecimal digits");
    }
    // The end of its life overwrites the bytes.
    alignas(CipherKey) unsigned char storage[sizeof(CipherKey)];
    std::fill(std::begin(storage), std::end(storage), static_cast<unsigned char>(0xEE));
    auto* key = new (storage) CipherKey(CipherKey::fromHex(std::string(64, 'c')));
    ASSERT_EQ(key->bytes()[0], 0xCC);
    key->~CipherKey();
    const volatile unsigned char* left = storage;
    EXPECT_EQ(std::count(left, left + CipherKey::kSize, 0), CipherKey::kSize);
}

TEST(CipherInstalledKey, operationsWithoutKey_useTheInstalledOneOrAreRefused) {
    const std::string message = Cipher::encipher(kCompressed, kText, kKey);
    const auto failure = [&] {
        return thrownText([&] { EXPECT_EQ(Cipher::decipher(kCompressed, message), kText); });
    };
    setCipherKey(kOtherKey);
    EXPECT_EQ(failure(), kRefused);
    setCipherKey(kKey);
    EXPECT_EQ(failure(), L"nothing");
    std::wstring out = L"old";
    for (const CipherEncoding encoding : kBothEncodings) {
        Encoder::decodeFrom(static_cast<int>(encoding), Cipher::encipher(encoding, kText, kKey),
                            out);
        EXPECT_EQ(out, L"Gr\u00FC\u00DFe, \u043C\u0438\u0440\r\n");
    }
    EXPECT_EQ(thrownText([&] { Encoder::decodeFrom(kEncodingEnciphered, message, out); }),
              kRefused);
    EXPECT_EQ(out, L"");
    clearCipherKey();
    EXPECT_EQ(failure(), L"Cipher::decipher: no key installed");
}

// The program that enciphers files lies beside this one.
intptr_t runTool(std::vector<std::wstring> arguments) {
    std::wstring program(MAX_PATH, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), MAX_PATH));
    program.replace(program.rfind(L'\\') + 1, std::wstring::npos, L"encipher.exe");
    std::vector<const wchar_t*> pointers = {L"encipher"};
    for (const std::wstring& argument : arguments) {
        pointers.push_back(argument.c_str());
    }
    pointers.push_back(nullptr);
    return _wspawnv(_P_WAIT, program.c_str(), pointers.data());
}

TEST(EncipherTool, files_comeBackOrAreRefusedWithoutAnOutput) {
    const TempFolder folder;
    const auto file = [&](const wchar_t* name, const std::string& bytes) {
        writeBytes(folder.file(name), bytes);
        return folder.file(name);
    };
    const std::string digits = " " + kKeyStart + "1F\r\n";
    const std::wstring key = file(L"key", digits);
    const std::wstring otherKey = file(L"other", kKeyStart + "1e");
    const std::wstring out = folder.file(L"out");
    const std::wstring back = folder.file(L"back");
    const std::wstring in = file(L"in", std::string(kText));
    std::set<std::string> nonces;
    for (const wchar_t* encoding : {L"2", L"3"}) {
        ASSERT_EQ(runTool({L"-e", encoding, L"-k", key, in, out}), 0);
        const std::string message = readBytes(out);
        EXPECT_TRUE(nonces.insert(message.substr(4, 12)).second) << "of two processes";
        EXPECT_EQ(Cipher::decipher(static_cast<CipherEncoding>(*encoding - L'0'), message, kKey),
                  kText);
        EXPECT_EQ(runTool({L"-d", L"-e", encoding, L"-k", otherKey, out, back}), 3);
        EXPECT_FALSE(fileExists(back));
        ASSERT_EQ(runTool({L"-d", L"-e", encoding, L"-k", key, out, back}), 0);
        EXPECT_EQ(readBytes(back), kText);
        EXPECT_TRUE(deleteFile(back) && deleteFile(out));
    }
    const std::pair<intptr_t, std::vector<std::wstring>> cases[] = {
        {1, {L"-k", key, in, out}},
        {1, {L"-e", L"4", L"-k", key, in, out}},
        {2, {L"-e", L"2", L"-k", file(L"short", kKeyStart + "1"), in, out}},
        {2, {L"-e", L"2", L"-k", key, folder.file(L"missing"), out}},
        {3, {L"-e", L"2", L"-k", key, file(L"smile", "\xF0\x9F\x98\x80"), out}}};
    for (const auto& [expected, arguments] : cases) {
        EXPECT_EQ(runTool(arguments), expected);
        EXPECT_FALSE(fileExists(out));
    }
    // Nothing takes the place of what is read, nor of a device.
    const std::wstring link = folder.file(L"link");
    ASSERT_TRUE(CreateHardLinkW(link.c_str(), in.c_str(), nullptr));
    for (const std::wstring& other : {in, folder.file(L".\\IN"), link, key, kFullDevice}) {
        EXPECT_EQ(runTool({L"-e", L"2", L"-k", key, in, other}), 2);
    }
    EXPECT_EQ(readBytes(in), kText);
    EXPECT_EQ(readBytes(key), digits);
    EXPECT_TRUE(isFullDevice());
}

}  // namespace
}  // namespace zustd
