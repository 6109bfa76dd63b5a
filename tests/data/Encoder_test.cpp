#include "ZuEncoder.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ZuEncoderRuns.h"
#include "ZuText.h"
#include "ZuWindows.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;
using namespace std::string_literals;

const std::string kMark = "\xEF\xBB\xBF";
const std::wstring kMachine = L"Utf8DecoderStateMachine::tryReduce: ";
const std::wstring kIncompleteMark = kMachine + L"incomplete UTF8 Byte Order Mark encountered";
const std::wstring kMissingMark = kMachine + L"required UTF8 Byte Order Mark missing";
const std::wstring kNotDecoded =
    L"Encoder::decodeFromUTF8: utf8 string not fully decoded (incomplete trailing escape sequence)";

// What decoding gives: the text so far and the failure, if any.
using Decoded = std::pair<std::wstring, std::wstring>;

Decoded decode(std::string_view bytes, bool bomRequired) {
    std::wstring text = L"old";
    const auto failure = thrownText([&] { Encoder::decodeFromUTF8(bytes, text, bomRequired); });
    return {text, failure};
}

// The decoder's rules over whole sequences, by another hand.
Decoded decodeNaively(const std::string& bytes, bool bomRequired) {
    std::wstring text;
    bool isMarked = false;
    for (std::size_t at = 0, length = 0; at < bytes.size(); at += length) {
        const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[at + i]); };
        const bool isMark = byte(0) == 0xEF && !isMarked;
        length = byte(0) >= 0xE0 ? 3 : byte(0) >= 0xC0 ? 2 : 1;
        if (bomRequired && !isMarked && !isMark) {
            return {text, kMissingMark};
        }
        if (at + length > bytes.size()) {
            return {text, kNotDecoded};
        }
        if (isMark && bytes.compare(at, 3, kMark) != 0) {
            return {text, kIncompleteMark};
        }
        isMarked |= isMark;
        const int unit = length == 3     ? byte(0) % 16 * 4096 + byte(1) % 64 * 64 + byte(2) % 64
                         : length == 2   ? byte(0) % 32 * 64 + byte(1) % 64
                         : byte(0) < 128 ? byte(0)
                                         : 0xFF00 + byte(0);
        text.append(isMark ? 0 : 1, static_cast<wchar_t>(unit));
    }
    return {text, bomRequired && !isMarked ? kNotDecoded : L"nothing"};
}

// Without the mark in front.
std::string encodeNaively(const std::wstring& text) {
    std::string bytes;
    for (const unsigned unit : text) {
        const std::string all = {static_cast<char>(0xE0 + unit / 4096),
                                 static_cast<char>((unit < 0x800 ? 0xC0 : 0x80) + unit / 64 % 64),
                                 static_cast<char>((unit < 0x80 ? 0 : 0x80) + unit % 64)};
        bytes += unit < 0x80    ? std::string(1, static_cast<char>(unit))
                 : unit < 0x800 ? all.substr(1)
                                : all;
    }
    return bytes;
}

// Room for so many units, behind whose end nobody may look or write.
template <class Unit>
Unit* roomFor(std::size_t count) {
    constexpr std::size_t kSize = 0x200000;
    static char* const memory =
        static_cast<char*>(VirtualAlloc(nullptr, kSize + 4096, MEM_RESERVE, PAGE_NOACCESS));
    VirtualAlloc(memory, kSize, MEM_COMMIT, PAGE_READWRITE);
    return reinterpret_cast<Unit*>(memory + kSize) - count;
}

template <class Unit>
std::basic_string_view<Unit> guarded(const std::basic_string<Unit>& text) {
    Unit* const at = roomFor<Unit>(text.size());
    text.copy(at, text.size());
    return {at, text.size()};
}

TEST(Utf8Decoder, randomBytes_wholeAndByteByByte_decodeByTheDialectsRules) {
    // Long stretches of one kind with hostile bytes between: the fast runs must
    // stop and go on where the state machine does.
    static constexpr std::string_view kHostile =
        "\x80\xBF\xC0\xC3\xDF\xE0\xE2\xED\xEE\xEF\xEF\xBB\xBF\xF0\xF4\xFF";
    static const std::string kStretches[] = {"a", "\xC3\xA9", "\xD0\x96", "\xE4\xB8\xAD", "\x9F"};
    Random random(846);
    std::size_t whole = 0;
    for (int round = 0; round < 50'000; ++round) {
        std::string bytes = random.below(4) == 0 ? kMark : "";
        for (std::size_t runs = random.below(6); runs > 0; --runs) {
            const std::string& repeated = random.pick(kStretches);
            for (std::size_t count = random.below(20); count > 0; --count) {
                bytes += repeated;
            }
            for (std::size_t count = random.below(3) * random.below(8); count > 0; --count) {
                bytes += random.below(3) == 0 ? random.bytes(1)[0] : random.pick(kHostile);
            }
        }
        const bool bomRequired = random.below(4) == 0;
        SCOPED_TRACE(random.label() + " round " + std::to_string(round));
        const Decoded expected = decodeNaively(bytes, bomRequired);
        ASSERT_EQ(decode(guarded(bytes), bomRequired), expected);
        Utf8DecoderStateMachine machine(bomRequired);
        const std::wstring failure = thrownText([&] {
            std::for_each(bytes.begin(), bytes.end(), [&](char byte) { machine.feed(byte); });
            machine.finish();
        });
        ASSERT_EQ(Decoded(machine.output(), failure), expected);
        // A run alone keeps to its room.
        const auto* const at = reinterpret_cast<const unsigned char*>(guarded(bytes).data());
        wchar_t* const out = roomFor<wchar_t>(bytes.size());
        const bool isBomDone = random.below(2) == 0;
        const auto run = detail::decodeRun({at, out}, at + bytes.size(), isBomDone);
        ASSERT_EQ(std::wstring(out, run.out),
                  decodeNaively((isBomDone ? kMark : "") + std::string(at, run.at), false).first);
        whole += expected.second == L"nothing";
    }
    EXPECT_GT(whole, 5'000U) << "not so hostile that nothing decodes";
}

TEST(Encoder, failuresAndOtherEncodings_areTracedOrWidenEveryByte) {
    const TraceCapture trace;
    decode("A\xEF\xBF\xBD", false);
    decode("A", true);
    decode("\xC3", false);
    std::wstring out = L"old";
    thrownText([&] { Encoder::decodeFrom(7, "A", out); });
    EXPECT_EQ(out, L"");
    const auto line = [](const std::wstring& text, const char* number) {
        return "throwing: '" + narrow(text) + "', in src/lib/ZuEncoder, line " + number;
    };
    EXPECT_EQ(trace.messages(), (Lines{line(kIncompleteMark, "846"), line(kMissingMark, "852"),
                                       line(kNotDecoded, "185"),
                                       line(L"Encoder::decodeFrom: unknown encoding", "103")}));
    Encoder::decodeFrom(kEncodingPlain, "\xE9\x80\x00"s, out);
    EXPECT_EQ(out, L"\u00E9\u0080\0"s);
}

TEST(Utf8Encoder, randomTexts_ofStretchesAndNeighbours_areEncodedUnitByUnit) {
    static constexpr std::wstring_view kUnits =
        L"aZ\x7F\x80\xE9\x7FF\x800\x4E2D\xD83D\xDE00\x7FFF\x8000\xEFFF\xF000\xFEFF\xFFFF";
    Random random(1);
    std::string bytes = "old";
    std::wstring back;
    for (unsigned round = 0; round < 0x10000; ++round) {
        // Every unit among others.
        std::wstring text =
            std::wstring(round % 23, random.pick(kUnits)) + static_cast<wchar_t>(round);
        for (std::size_t runs = random.below(5); runs > 0; --runs) {
            text += random.below(2) == 0 ? std::wstring(random.below(30), random.pick(kUnits))
                                         : random.text(12);
            text += random.pick(kUnits.substr(random.below(3), 8));
        }
        // So long that a block's counts are added up more than once.
        text += std::wstring(round % 0x4000 == 0 ? 600'000 : 0, random.pick(kUnits));
        SCOPED_TRACE(random.label() + " round " + std::to_string(round));
        const bool needsMark =
            std::any_of(text.begin(), text.end(), [](wchar_t unit) { return unit >= 0xF000; });
        Encoder::encodeToUTF8(guarded(text), bytes);
        ASSERT_EQ(bytes, (needsMark ? kMark : "") + encodeNaively(text));
        Encoder::decodeFromUTF8(bytes, back, needsMark);
        ASSERT_EQ(back, text);
        // A run alone keeps to its room.
        const std::wstring_view at = guarded(text);
        char* const out = roomFor<char>(detail::measureEncoded(text).bytes);
        const auto run = detail::encodeRun({at.data(), out}, at.data() + at.size());
        ASSERT_TRUE(bytes.ends_with(std::string(out, run.out) +
                                    encodeNaively({run.at, at.data() + at.size()})));
    }
}

}  // namespace
}  // namespace zustd
