#include "ZuXml.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <sstream>

#include "ZuPropertyBag.h"
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
        // Texts may be written in blocks: the same at every place in some.
        for (std::size_t place = 0; place < 19; ++place) {
            wstring text = wstring(19, L'a').replace(place, 1, self);
            wstring out;
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
    // The largest has no padding to speak of, and no width either.
    wstring out;
    Xml::appendDouble(out, -std::numeric_limits<double>::max());
    EXPECT_EQ(Xml::toDouble(out), -std::numeric_limits<double>::max());
    out.clear();
    Xml::appendSizeHex(out, 0);
    Xml::appendLongHex(out, 0);
    EXPECT_EQ(out, L"00");
}

TEST(XmlReader, failures_whileTracing_leaveTheirReportLines) {
    const TraceCapture trace;
    PropertyBag bag;
    readFromRange(bag, L"<v");
    readFromRange(bag, L"<hmap><p></v>");
    const wstring text = L"x<v>foreign";
    const wchar_t* begin = text.data() + 1;
    thrownText([&] { Xml::readTag(begin, text.data(), L"v", false, false); });
    EXPECT_EQ(begin, text.data() + 1) << "a position past the end stays";
    const Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[1], "throwing: 'sourcePos <= sourceEnd', in src/lib/ZuXml, line 1227");
    EXPECT_TRUE(
        lines[2].starts_with("throwing: '<k> expected, but found </v>', in src/lib/ZuXml, line "));
    EXPECT_EQ(lines[4], lines[1]);
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
        EXPECT_THROW(tag(L"q", true, true), std::invalid_argument);
    }
    std::vector<XmlAttribute> attributes;
    EXPECT_TRUE(Xml::parseAttributes(L" a=\"1 2\" b='\"'c= x'y", attributes));
    EXPECT_FALSE(Xml::parseAttributes(L"d=1 e", attributes));
    wstring found;
    for (const XmlAttribute& attribute : attributes) {
        found += attribute.name + L":" + attribute.value + L";";
    }
    EXPECT_EQ(found, L"a:1 2;b:\";c:x'y;d:1;");
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
    const std::string complaint =
        "Xml::peekTag: insufficient putback space in streambuf; need at least 40 putbackchars";
    for (const std::size_t memory : {0U, 38U, 39U}) {
        const bool isEnough = memory == 39;
        const TraceCapture trace(kTraceLevelInfo);
        ForgetfulBuffer buffers[] = {{text, memory}, {text, memory}};
        std::wistream in(&buffers[0]);
        wstring name;
        EXPECT_EQ(Xml::peekTag(in, name), isEnough) << memory;
        EXPECT_TRUE(!isEnough || name == L"property");
        in.rdbuf(&buffers[1]);
        EXPECT_EQ(thrownText([&] { Xml::readTag(in, L"v", false, false); }),
                  isEnough ? L"nothing" : L"Xml: insufficient putback space in streambuf");
        Lines lines = trace.messages();
        lines.resize(isEnough ? lines.size() : 2);
        EXPECT_EQ(lines, Lines(isEnough ? 0 : 2, complaint));
    }
    // Where all is there nothing goes back, and one character behind a text.
    PropertyBag bag;
    bag.setString(L"a&b", L"c&d");
    bag.setArray(L"array", std::vector<SerializableUnion>(3));
    ForgetfulBuffer whole(wstring(kXmlHeader) + xmlOf(bag), 0);
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
