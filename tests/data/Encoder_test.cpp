#include "ZuEncoder.h"

#include <gtest/gtest.h>

#include "ZuText.h"
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

Decoded decode(const std::string& bytes, bool bomRequired) {
    std::wstring text = L"old";
    const auto failure = thrownText([&] { Encoder::decodeFromUTF8(bytes, text, bomRequired); });
    return {text, failure};
}

// The state machine alone, fed byte by byte.
Decoded decodeByteByByte(const std::string& bytes, bool bomRequired) {
    Utf8DecoderStateMachine machine(bomRequired);
    const std::wstring failure = thrownText([&] {
        for (const char byte : bytes) {
            machine.feed(byte);
        }
        machine.finish();
    });
    return {machine.output(), failure};
}

TEST(Utf8Decoder, bytes_wellFormedAndNot_decodeByTheDialectsRules) {
    const std::wstring ok = L"nothing";
    const std::tuple<std::string, bool, Decoded> kCases[] = {
        // clang-format off
        {"", false, {L"", ok}},           {"", true, {L"", kNotDecoded}},
        {"A", false, {L"A", ok}},         {"A", true, {L"", kMissingMark}},
        {kMark, true, {L"", ok}},         {kMark + "A", true, {L"A", ok}},
        {kMark + "A", false, {L"A", ok}}, {"\xEF\xBB", true, {L"", kNotDecoded}},
        {"\xEF\xBB\xBE", true, {L"", kIncompleteMark}},
        {"\xC3\xA9", false, {L"\u00E9", ok}},     {"\xC3", false, {L"", kNotDecoded}},
        {"\xE2\x82\xAC", false, {L"\u20AC", ok}}, {"AB\xE2\x82", false, {L"AB", kNotDecoded}},
        {"\x80\xBF", false, {L"\xFF80\xFFBF", ok}}, {"\xC0\x80", false, {L"\0"s, ok}},
        {"\xC3"s + "AB", false, {L"\x00C1"s + L"B", ok}}, {"\xE2"s + "AB", false, {L"\x2042", ok}},
        {"\xF0\x9F\x98\x80", false, {L"\x07D8\xFF80", ok}},
        {"\xFF\xFF\xFF", false, {L"\xFFFF", ok}},
        {"\xED\xA0\xBD\xED\xB8\x80", false, {L"\xD83D\xDE00", ok}},
        {"A\xEF\xBF\xBD", false, {L"A", kIncompleteMark}},
        {"A" + kMark + "\xEF\xBF\xBD", false, {L"A\xFFFD", ok}},
        {kMark + kMark, false, {L"\xFEFF", ok}},  {"a\0b"s, false, {L"a\0b"s, ok}},
        // clang-format on
    };
    for (const auto& [bytes, bomRequired, expected] : kCases) {
        EXPECT_EQ(decode(bytes, bomRequired), expected) << testing::PrintToString(bytes);
        EXPECT_EQ(decodeByteByByte(bytes, bomRequired), expected) << testing::PrintToString(bytes);
    }
}

TEST(Utf8Decoder, failures_whileTracing_leaveTheirReportLines) {
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
}

TEST(Utf8Decoder, randomBytes_wholeAndByteByByte_decodeTheSame) {
    // Long plain stretches with hostile bytes between: the decoder's fast path
    // must stop and go on where the state machine does.
    static constexpr std::string_view kHostile =
        "\x80\xBF\xC0\xC3\xDF\xE0\xE2\xED\xEE\xEF\xEF\xBB\xBF\xF0\xF4\xFF";
    Random random(846);
    SCOPED_TRACE(random.label());
    for (int round = 0; round < 50000; ++round) {
        std::string bytes;
        for (std::size_t runs = random.below(6); runs > 0; --runs) {
            bytes.append(random.below(20), static_cast<char>('a' + random.below(26)));
            bytes.append(random.below(4) == 0 ? kMark : "");
            for (std::size_t count = random.below(14); count > 0; --count) {
                bytes.push_back(random.pick(kHostile));
            }
        }
        const bool bomRequired = random.below(4) == 0;
        ASSERT_EQ(decode(bytes, bomRequired), decodeByteByByte(bytes, bomRequired))
            << testing::PrintToString(bytes);
    }
}

TEST(EncoderNumbers, decodeFrom_plain_widensEveryByte) {
    std::wstring out = L"old";
    Encoder::decodeFrom(kEncodingPlain, "\xE9\x80\x00"s, out);
    EXPECT_EQ(out, L"\u00E9\u0080\0"s);
}

TEST(Utf8Encoder, everyCodeUnit_aloneAndBesideOthers_comesBack) {
    const std::pair<std::wstring, std::string> kExact[] = {
        // clang-format off
        {L"", ""}, {L"\0\x7F"s, "\0\x7F"s}, {L"\x80\x7FF", "\xC2\x80\xDF\xBF"},
        {L"\x800\xEFFF", "\xE0\xA0\x80\xEE\xBF\xBF"}, {L"\xD83D\xDE00", "\xED\xA0\xBD\xED\xB8\x80"},
        {L"a\xF000", kMark + "a\xEF\x80\x80"},        {L"\xFFFF", kMark + "\xEF\xBF\xBF"},
        {L"\xFEFF", kMark + kMark}, {L"\xFEFF" + std::wstring(5000, L'a'), kMark + kMark + std::string(5000, 'a')},
        // clang-format on
    };
    std::string bytes = "old";
    for (const auto& [text, expected] : kExact) {
        Encoder::encodeToUTF8(text, bytes);
        EXPECT_EQ(bytes, expected);
    }
    const std::wstring neighbours =
        L"aZ\0\x7F\x80\x7FF\x800\xD83D\xDBFF\xDC00\xDE00\xEFFF\xF000\xFEFF\xFFFE\xFFFF"s;
    std::wstring back;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const auto c = static_cast<wchar_t>(unit);
        Encoder::encodeToUTF8(std::wstring(1, c), bytes);
        ASSERT_EQ(bytes.starts_with(kMark), unit >= 0xF000) << unit;
        Encoder::decodeFromUTF8(bytes, back, unit >= 0xF000);
        ASSERT_EQ(back, std::wstring(1, c)) << unit;
        for (const wchar_t neighbour : neighbours) {
            const std::wstring text = {neighbour, c, neighbour};
            Encoder::encodeToUTF8(text, bytes);
            Encoder::decodeFromUTF8(bytes, back, false);
            ASSERT_EQ(back, text) << unit << " beside " << static_cast<unsigned>(neighbour);
        }
    }
}

}  // namespace
}  // namespace zustd
