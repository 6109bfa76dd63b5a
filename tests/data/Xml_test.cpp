#include "ZuXml.h"

#include <gtest/gtest.h>

#include <array>
#include <charconv>
#include <cmath>
#include <cwchar>
#include <limits>
#include <map>
#include <random>
#include <sstream>

#include "ZuText.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;
using std::wstring;

TEST(XmlWriter, everyCodeUnit_escaped_changesControlsAndFiveMarksOnly) {
    const std::map<unsigned, wstring> marks = {{'<', L"&lt;"},   {'>', L"&gt;"},  {'\'', L"&apos;"},
                                               {'"', L"&quot;"}, {'&', L"&amp;"}, {'\n', L"\\n"}};
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const wstring self(1, static_cast<wchar_t>(unit));
        const wstring expected = marks.contains(unit) ? marks.at(unit)
                                 : unit < 32          ? formatWide(L"\\%02X", unit)
                                                      : self;
        wstring out = L"x";
        Xml::escapeXmlChar(out, self[0]);
        ASSERT_EQ(out, L"x" + expected) << unit;
        // Texts may be written in blocks: the same at every place in some.
        for (std::size_t place = 0; place < 19; ++place) {
            wstring text = wstring(19, L'a').replace(place, 1, self);
            out.clear();
            Xml::appendEscaped(out, text);
            ASSERT_EQ(out, text.replace(place, 1, expected)) << unit << " at " << place;
        }
    }
}

TEST(XmlWriter, randomNumbersOfAnyWidth_besideTheRuntime_areTheSame) {
    Random random(127);
    SCOPED_TRACE(random.label());
    for (int round = 0; round < 20000; ++round) {
        const std::uint64_t number = random.below(~std::size_t{0}) >> random.below(64);
        const auto half = static_cast<std::uint32_t>(number);
        const auto value = static_cast<std::int32_t>(half);
        const int width = static_cast<int>(random.below(140)) - 5;
        const int padded = std::clamp(width, 0, 127);
        wstring out;
        Xml::appendLong(out, value, width);
        Xml::appendLongHex(out += L' ', half, width);
        Xml::appendSize(out += L' ', number, width);
        Xml::appendSizeHex(out += L' ', number, width);
        ASSERT_EQ(out, formatWide(L"%0*ld %0*lX %0*llu %0*llX", padded, long{value}, padded,
                                  static_cast<unsigned long>(half), padded, number, padded, number))
            << width;
    }
}

TEST(XmlWriter, doubles_ofAnySize_haveSixDecimals) {
    wstring out;
    for (const double value : {0.0, -0.0, 1.5, -2.0000005, 0.0000004, 123456789.125, 1e21}) {
        Xml::appendDouble(out += L' ', value);
    }
    EXPECT_EQ(out,
              L" 0.000000 -0.000000 1.500000 -2.000001 0.000000 123456789.125000 "
              L"1000000000000000000000.000000");
    out.clear();
    Xml::appendDouble(out, -std::numeric_limits<double>::max());
    EXPECT_EQ(Xml::toDouble(out), -std::numeric_limits<double>::max());
    // Whole, long and short fractions, ties among them, as the library writes them.
    std::mt19937_64 random(7);
    for (int i = 0; i < 200'000; ++i) {
        const auto mantissa = static_cast<std::int64_t>(random()) >> (11 + random() % 50);
        const double value =
            std::ldexp(static_cast<double>(mantissa), -static_cast<int>(random() % 70));
        std::array<char, 512> expected{};
        *std::to_chars(expected.begin(), expected.end(), value, std::chars_format::fixed, 6).ptr =
            0;
        out.clear();
        Xml::appendDouble(out, value);
        ASSERT_EQ(narrow(out), expected.data());
    }
}

TEST(XmlScanner, values_thatTheRuntimeWouldScanOtherwiseOrSeldom_areTheDialects) {
    constexpr std::uint64_t kMost = ~std::uint64_t{0};
    const std::tuple<const wchar_t*, std::int32_t, std::uint64_t> kIntegers[] = {
        // clang-format off
        {L"0x10", 0, 0}, {L"\uFF11", 0, 0}, {L"- 12", 0, 0}, {L"-2147483649", INT32_MIN, kMost - 2147483648},
        {L"18446744073709551616", INT32_MAX, kMost}, {L"-99999999999999999999", INT32_MIN, kMost},
        // clang-format on
    };
    for (const auto& [text, asLong, asSize] : kIntegers) {
        EXPECT_EQ(Xml::toLong(text), asLong) << text;
        EXPECT_EQ(Xml::toSize(text), asSize) << text;
    }
    const std::pair<wstring, double> kDoubles[] = {
        // clang-format off
        {L"\u0661", 0.0}, {L"0x10", 0.0},
        {L"1e9223372036854775807", std::numeric_limits<double>::infinity()},
        {L"1" + wstring(600, L'0') + L"e-600", 1.0}, {L"." + wstring(600, L'0') + L"1e601", 1.0},
        // clang-format on
    };
    for (const auto& [text, expected] : kDoubles) {
        EXPECT_EQ(Xml::toDouble(text), expected) << text;
    }
    for (const wchar_t* text : {L"y", L"Y", L"Yes", L"yellow", L"", L"n", L"1", L"true", L" y"}) {
        EXPECT_EQ(Xml::toBool(text), *text == L'y' || *text == L'Y') << text;
    }
}

TEST(XmlScanner, randomNumbers_besideTheRuntime_areTheSame) {
    Random random(400);
    SCOPED_TRACE(random.label());
    for (int round = 0; round < 50000; ++round) {
        wstring text;
        for (std::size_t length = random.below(24); length > 0; --length) {
            text += random.below(3) == 0 ? random.pick(L"+-.e \t\n\v\f,;z")
                                         : random.pick(L"00012345678999");
        }
        if (random.below(4) == 0) {
            text += L"e" + wstring(random.below(2), L'-') + std::to_wstring(random.below(800));
        }
        EXPECT_EQ(Xml::toDouble(text), std::wcstod(text.c_str(), nullptr)) << text;
        EXPECT_EQ(Xml::toLong(text), std::wcstol(text.c_str(), nullptr, 10)) << text;
        EXPECT_EQ(Xml::toSize(text), std::wcstoull(text.c_str(), nullptr, 10)) << text;
    }
}

TEST(XmlReader, failures_whileTracing_leaveTheirReportLines) {
    const TraceCapture trace;
    PropertyBag bag;
    readFromRange(bag, L"<v");
    readFromRange(bag, L"<v a>");
    readFromRange(bag, L"<hmap><p></v>");
    const wstring text = L"x<v>foreign";
    const wchar_t* begin = text.data() + 1;
    thrownText([&] { Xml::readTag(begin, text.data(), L"v", false, false); });
    EXPECT_EQ(begin, text.data() + 1) << "a position past the end stays";
    const Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[6], lines[1]);
    EXPECT_EQ(lines[1], "throwing: 'sourcePos <= sourceEnd', in src/lib/ZuXml, line 1227");
    EXPECT_TRUE(
        lines[4].starts_with("throwing: '<k> expected, but found </v>', in src/lib/ZuXml, line "));
}

TEST(XmlReader, tagsAndTexts_ofEitherSource_areTakenOneByOne) {
    const wstring document = L" <p a='1'>a&amp;b</p>c&x;<q>";
    std::wistringstream stream(document);
    const wchar_t* at = document.data();
    for (const bool isStream : {true, false}) {
        const auto read = [&](const auto& step) {
            return isStream ? step(stream) : step(at, document.data() + document.size());
        };
        const auto tag = [&](const wchar_t* name, bool closing, bool must) {
            return read(
                [&](auto&&... source) { return Xml::readTag(source..., name, closing, must); });
        };
        const auto text = [&] {
            wstring out = L"old";
            read([&](auto&&... source) { Xml::readText(source..., out); });
            return out;
        };
        EXPECT_FALSE(tag(L"v", false, false) || tag(L"p", true, false));
        EXPECT_TRUE(tag(L"p", false, true));
        EXPECT_EQ(text(), L"a&b");
        EXPECT_TRUE(tag(L"p", true, false));
        EXPECT_EQ(text(), isStream ? L"c" : L"cx;");
        wstring name;
        EXPECT_TRUE(!isStream || (Xml::peekTag(stream, name) && name == L"q"));
        EXPECT_THROW(tag(L"q", true, true), std::invalid_argument);
    }
}

TEST(XmlReader, parseAttributes_anyList_givesPairsUpToTheFault) {
    const std::pair<const wchar_t*, const wchar_t*> kCases[] = {
        // clang-format off
        {L"a=\"1 2\" b='\"' c=x'y", L"a:1 2;b:\";c:x'y;ok"}, {L"a=1 b", L"a:1;refused"},
        {L"a='1'b= '2' c==b d=", L"a:1;b:2;c:=b;d:;ok"}, {L"=1", L"refused"},
        // clang-format on
    };
    for (const auto& [text, expected] : kCases) {
        std::vector<XmlAttribute> attributes;
        const bool accepted = Xml::parseAttributes(text, attributes);
        wstring found;
        for (const XmlAttribute& attribute : attributes) {
            found += attribute.name + L":" + attribute.value + L";";
        }
        EXPECT_EQ(found + (accepted ? L"ok" : L"refused"), expected) << text;
    }
}

// Gives one character at a time and remembers only so many.
class ForgetfulBuffer : public std::wstreambuf {
public:
    ForgetfulBuffer(wstring text, std::size_t memory) : text_(std::move(text)), memory_(memory) {}

private:
    int_type underflow() override {
        wchar_t* const at = gptr() != nullptr ? gptr() : text_.data();
        const auto taken = static_cast<std::size_t>(at - text_.data());
        if (taken == text_.size()) {
            return traits_type::eof();
        }
        setg(at - std::min(memory_, taken), at, at + 1);
        return traits_type::to_int_type(*at);
    }

    wstring text_;
    std::size_t memory_;
};

TEST(XmlPeek, streamThatCannotGoBack_failsInsteadOfLosingText) {
    // Thirty blanks, "<", eight letters and the stop: forty characters.
    const wstring text = wstring(30, L' ') + L"<property>";
    const Lines complaint = {
        "Xml::peekTag: insufficient putback space in streambuf; need at least 40 putbackchars"};
    for (const std::size_t memory : {0U, 5U, 38U, 39U}) {
        const TraceCapture trace(kTraceLevelInfo);
        ForgetfulBuffer buffer(text, memory);
        std::wistream in(&buffer);
        wstring name;
        EXPECT_EQ(Xml::peekTag(in, name), memory == 39) << memory;
        EXPECT_TRUE(memory != 39 || name == L"property");
        EXPECT_EQ(trace.messages(), memory == 39 ? Lines() : complaint) << memory;
    }
    ForgetfulBuffer buffer(L"<w>", 1);
    std::wistream in(&buffer);
    const TraceCapture trace(kTraceLevelInfo);
    EXPECT_EQ(thrownText([&] { Xml::readTag(in, L"v", false, false); }),
              L"Xml: insufficient putback space in streambuf");
    EXPECT_EQ(
        trace.messages().at(0),
        "Xml::peekTag: insufficient putback space in streambuf; need at least 3 putbackchars");
    // Where all is there nothing goes back, and one character behind a text.
    PropertyBag bag;
    bag.setString(L"a&b", L"c&d");
    bag.setArray(L"array", std::vector<SerializableUnion>(3));
    const wstring document = wstring(kXmlHeader) + xmlOf(bag);
    ForgetfulBuffer whole(document, 0);
    std::wistream wholeIn(&whole);
    PropertyBag back;
    back.readXml(wholeIn);
    EXPECT_EQ(xmlOf(back), xmlOf(bag));
    ForgetfulBuffer forText(L"a&lt;&amp;<", 0);
    std::wistream textIn(&forText);
    wstring out;
    Xml::readText(textIn, out);
    EXPECT_EQ(out, L"a<&");
    EXPECT_EQ(textIn.get(), L'<');
}

}  // namespace
}  // namespace zustd
