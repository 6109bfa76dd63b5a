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
    wstring out;
    Xml::appendSizeHex(out, 0);
    Xml::appendLongHex(out, 0);
    EXPECT_EQ(out, L"00");
}

TEST(XmlNumbers, doubles_thatTheRuntimeWouldScanOtherwiseOrSeldom_areTheDialects) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const wstring zeros(600, L'0');
    const std::pair<wstring, double> kDoubles[] = {
        {L"0x10", 0.0},
        {L"1e9223372036854775807", kInfinity},
        {L"-inf", -kInfinity},
        {L"1" + zeros + L"e-600", 1.0},
        {L"." + zeros + L"1e601", 1.0},
        {L"-1.7976931348623157e308", -std::numeric_limits<double>::max()}};
    for (const auto& [text, expected] : kDoubles) {
        EXPECT_EQ(Xml::toDouble(text), expected) << text;
        wstring out;
        Xml::appendDouble(out, expected);
        EXPECT_EQ(Xml::toDouble(out), expected) << out;
    }
}

TEST(XmlReader, tagsAndTexts_ofEitherSource_areTakenOneByOneAndFailuresTraced) {
    const wstring document = L" <p a='1'>a&amp;b</p>c&x;<q>";
    std::wistringstream stream(document);
    const wchar_t* at = document.data();
    const TraceCapture trace;
    for (const bool isStream : {true, false}) {
        const auto tag = [&](const wchar_t* name, bool closing, bool must) {
            return isStream
                       ? Xml::readTag(stream, name, closing, must)
                       : Xml::readTag(at, document.data() + document.size(), name, closing, must);
        };
        const auto text = [&] {
            wstring out = L"old";
            isStream ? Xml::readText(stream, out)
                     : Xml::readText(at, document.data() + document.size(), out);
            return out;
        };
        EXPECT_FALSE(tag(L"v", false, false) || tag(L"p", true, false));
        EXPECT_TRUE(tag(L"p", false, true));
        EXPECT_EQ(text(), L"a&b");
        EXPECT_TRUE(tag(L"p", true, false));
        EXPECT_EQ(text(), isStream ? L"c" : L"cx;");
        EXPECT_THROW(tag(L"q", true, true), std::invalid_argument);
    }
    const wchar_t* const start = at;
    EXPECT_EQ(thrownText([&] { Xml::readTag(at, at - 1, L"v", false, false); }),
              L"sourcePos <= sourceEnd");
    EXPECT_EQ(at, start) << "a position past the end stays";
    PropertyBag bag;
    readFromRange(bag, L"<v");
    const std::string place = "', in src/lib/ZuXml, line ";
    const Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[0].find("throwing: '</q> expected, but found <q>" + place), 0U);
    EXPECT_EQ(lines[3], "throwing: 'sourcePos <= sourceEnd" + place + "1227");
    EXPECT_EQ(lines[5], lines[3]);
}

TEST(XmlReader, parseAttributes_anyList_givesPairsUpToTheFault) {
    const std::pair<const wchar_t*, const wchar_t*> kCases[] = {
        // clang-format off
        {L" \n\r\ta=\"1 2\" b='\"' c=x'y ", L"a:1 2;b:\";c:x'y;ok"}, {L"a=1 b", L"a:1;refused"},
        {L"a='1'b= '2' c==b d=", L"a:1;b:2;c:=b;d:;ok"}, {L"=1", L"refused"}, {L"a =1", L"refused"},
        {L"a='1\"", L"refused"}, {L"a=\"", L"refused"}, {L"a=\"\"", L"a:;ok"}, {L"a= \n\r\t", L"a:;ok"}, {L"", L"ok"},
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

// Gives one character at a time and takes none back.
class ForgetfulBuffer : public std::wstreambuf {
public:
    explicit ForgetfulBuffer(wstring text) : text_(std::move(text)) {}

private:
    int_type underflow() override {
        wchar_t* const at = gptr() != nullptr ? gptr() : text_.data();
        if (at == text_.data() + text_.size()) {
            return traits_type::eof();
        }
        setg(at, at, at + 1);
        return traits_type::to_int_type(*at);
    }

    wstring text_;
};

TEST(XmlReader, streamThatCannotGoBack_failsInsteadOfLosingText) {
    // Thirty blanks, "<", eight letters and the stop: forty characters.
    const wstring text = wstring(30, L' ') + L"<property>";
    const TraceCapture trace(kTraceLevelInfo);
    ForgetfulBuffer forTag(text);
    std::wistream in(&forTag);
    EXPECT_EQ(thrownText([&] { Xml::readTag(in, L"v", false, false); }),
              L"Xml: insufficient putback space in streambuf");
    ForgetfulBuffer forPeek(text);
    in.rdbuf(&forPeek);
    wstring name;
    EXPECT_FALSE(Xml::peekTag(in, name));
    EXPECT_EQ(name, L"property");
    const std::string complaint =
        "Xml::peekTag: insufficient putback space in streambuf; need at least 40 putbackchars";
    const Lines lines = trace.messages();
    EXPECT_TRUE(lines.size() == 3 && lines[0] == complaint && lines[2] == complaint);
    std::wistringstream whole(text);
    EXPECT_TRUE(Xml::peekTag(whole, name) && Xml::readTag(whole, L"property", false, false));
    EXPECT_FALSE(Xml::peekTag(whole, name));
    // Where all is there nothing goes back, and one character behind a text.
    PropertyBag bag;
    bag.setArray(L"a&b", std::vector<SerializableUnion>(3));
    ForgetfulBuffer forBag(wstring(kXmlHeader) + xmlOf(bag) + L"rest");
    in.rdbuf(&forBag);
    PropertyBag back;
    back.readXml(in);
    EXPECT_EQ(xmlOf(back), xmlOf(bag));
    EXPECT_EQ(in.get(), L'\n');
}

}  // namespace
}  // namespace zustd
