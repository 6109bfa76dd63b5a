#include "ZuXml.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using test::Lines;
using test::thrownText;
using test::TraceCapture;

// --- Writing ------------------------------------------------------------------------

TEST(XmlWriter, escapeXmlChar_everyCodeUnit_changesControlsAndFiveMarksOnly) {
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const auto c = static_cast<wchar_t>(unit);
        std::wstring expected(1, c);
        switch (unit) {
            case '<':
                expected = L"&lt;";
                break;
            case '>':
                expected = L"&gt;";
                break;
            case '\'':
                expected = L"&apos;";
                break;
            case '"':
                expected = L"&quot;";
                break;
            case '&':
                expected = L"&amp;";
                break;
            case '\n':
                expected = L"\\n";
                break;
            default:
                if (unit < 32) {
                    const wchar_t* digits = L"0123456789ABCDEF";
                    expected = {L'\\', digits[unit / 16], digits[unit % 16]};
                }
        }
        std::wstring out = L"x";
        Xml::escapeXmlChar(out, c);
        ASSERT_EQ(out, L"x" + expected) << unit;
        // Texts may be written in blocks: the same at every place in some.
        for (std::size_t place = 0; place < 19; ++place) {
            std::wstring text(19, L'a');
            text[place] = c;
            out.clear();
            Xml::appendEscaped(out, text);
            ASSERT_EQ(out, text.replace(place, 1, expected)) << unit << " at " << place;
        }
    }
}

TEST(XmlWriter, appendTag_openAndClosing_areBracketed) {
    std::wstring out;
    Xml::appendTag(out, L"hmap");
    Xml::appendTag(out, L"hmap", true);
    EXPECT_EQ(out, L"<hmap></hmap>");
}

TEST(XmlWriter, numbers_withWidths_areZeroPadded) {
    constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr int kNoWidth = std::numeric_limits<int>::min();
    std::wstring out;
    const auto next = [&out](auto&& append, auto value, int width) {
        append(out, value, width);
        out += L' ';
    };
    for (const auto& [value, width] : {std::pair{0, 0},
                                       {-1, kNoWidth},
                                       {7, 3},
                                       {-7, 3},
                                       {-7, 1},
                                       {1234, 3},
                                       {kLowest, 0},
                                       {kLowest, 13}}) {
        next(Xml::appendLong, value, width);
    }
    EXPECT_EQ(out, L"0 -1 007 -07 -7 1234 -2147483648 -002147483648 ");
    out.clear();
    next(Xml::appendLongHex, 0xABCDEFU, 0);
    next(Xml::appendLongHex, 0x1FU, 4);
    next(Xml::appendSize, ~std::uint64_t{0}, -5);
    next(Xml::appendSize, std::uint64_t{42}, 6);
    next(Xml::appendSizeHex, ~std::uint64_t{0}, 0);
    next(Xml::appendSizeHex, std::uint64_t{0xB}, 4);
    EXPECT_EQ(out, L"ABCDEF 001F 18446744073709551615 000042 FFFFFFFFFFFFFFFF 000B ");
    out.clear();
    Xml::appendSize(out, 1, 100000);
    EXPECT_EQ(out, std::wstring(126, L'0') + L"1");
}

TEST(XmlWriter, appendDouble_sixDecimals_areWritten) {
    std::wstring out;
    for (const double value : {0.0, -0.0, 1.5, -2.0000005, 0.0000004, 123456789.125, 1e21}) {
        Xml::appendDouble(out, value);
        out += L' ';
    }
    EXPECT_EQ(out,
              L"0.000000 -0.000000 1.500000 -2.000001 0.000000 123456789.125000 "
              L"1000000000000000000000.000000 ");
    out.clear();
    Xml::appendDouble(out, -std::numeric_limits<double>::max());
    EXPECT_EQ(out.size(), 1U + 309 + 7);
    EXPECT_EQ(Xml::toDouble(out), -std::numeric_limits<double>::max());
}

// --- Values from text ---------------------------------------------------------------

TEST(XmlScanner, integers_anyText_giveWhatScansAndZeroOtherwise) {
    const struct {
        const wchar_t* text;
        std::int32_t asLong;
        std::uint64_t asSize;
    } kCases[] = {
        {L"", 0, 0},
        {L"abc", 0, 0},
        {L"12", 12, 12},
        {L" \t\n+12 rest", 12, 12},
        {L"12.9", 12, 12},
        {L"-12", -12, ~std::uint64_t{0} - 11},
        {L"- 12", 0, 0},
        {L"--5", 0, 0},
        {L"0x10", 0, 0},
        {L"2147483647", 2147483647, 2147483647},
        {L"-2147483648", -2147483647 - 1, ~std::uint64_t{0} - 2147483647},
        {L"2147483648", 2147483647, 2147483648},
        {L"18446744073709551615", 2147483647, ~std::uint64_t{0}},
        {L"99999999999999999999999", 2147483647, ~std::uint64_t{0}},
        {L"\uFF11", 0, 0},
    };
    for (const auto& [text, asLong, asSize] : kCases) {
        EXPECT_EQ(Xml::toLong(text), asLong) << text;
        EXPECT_EQ(Xml::toSize(text), asSize) << text;
    }
}

TEST(XmlScanner, doublesAndBools_anyText_giveWhatScansAndZeroOtherwise) {
    const std::pair<const wchar_t*, double> kDoubles[] = {
        {L"", 0.0},      {L"x1", 0.0},  {L" 1.5z", 1.5}, {L"+2", 2.0},    {L"+-2", 0.0},
        {L"-.25", -.25}, {L"1e3", 1e3}, {L"1,5", 1.0},   {L"\u0661", 0.0}};
    for (const auto& [text, expected] : kDoubles) {
        EXPECT_EQ(Xml::toDouble(text), expected) << text;
    }
    for (const wchar_t* text : {L"y", L"Y", L"Yes", L"yellow"}) {
        EXPECT_TRUE(Xml::toBool(text)) << text;
    }
    for (const wchar_t* text : {L"", L"n", L"1", L"true", L" y"}) {
        EXPECT_FALSE(Xml::toBool(text)) << text;
    }
}

// --- Tags ---------------------------------------------------------------------------

// What a reading call did: its result or failure, and the text left behind it.
struct Taken {
    std::wstring result;
    std::wstring rest;
    friend bool operator==(const Taken&, const Taken&) = default;
};

std::ostream& operator<<(std::ostream& out, const Taken& taken) {
    return out << testing::PrintToString(taken.result) << ", left "
               << testing::PrintToString(taken.rest);
}

template <class Read>
std::wstring resultOf(Read&& read) {
    std::wstring result;
    const std::wstring text = thrownText([&] {
        try {
            result = read();
        } catch (const std::invalid_argument& failure) {
            const std::string what = failure.what();
            result = std::wstring(what.begin(), what.end());
        }
    });
    return text == L"nothing" ? result : text;
}

const wchar_t* yesNo(bool yes) { return yes ? L"yes" : L"no"; }

Taken tagFromRange(const std::wstring& text, const wchar_t* name, bool closing, bool mustMatch) {
    const wchar_t* begin = text.data();
    const wchar_t* end = begin + text.size();
    const std::wstring result =
        resultOf([&] { return yesNo(Xml::readTag(begin, end, name, closing, mustMatch)); });
    return {result, {begin, end}};
}

Taken tagFromStream(const std::wstring& text, const wchar_t* name, bool closing, bool mustMatch) {
    std::wistringstream in(text);
    const std::wstring result =
        resultOf([&] { return yesNo(Xml::readTag(in, name, closing, mustMatch)); });
    return {result, {std::istreambuf_iterator<wchar_t>(in), {}}};
}

TEST(XmlReader, readTag_mustMatchOff_takesTheTagOrStaysBeforeIt) {
    const struct {
        const wchar_t* text;
        const wchar_t* name;
        bool closing;
        Taken expected;
    } kCases[] = {
        {L"<v>1", L"v", false, {L"yes", L"1"}},
        {L"</v>1", L"v", true, {L"yes", L"1"}},
        {L" \n\t\r<v>", L"v", false, {L"yes", L""}},
        {L"junk > ; <v>x", L"v", false, {L"yes", L"x"}},
        {L"<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<bag>x", L"bag", false, {L"yes", L"x"}},
        {L"<?a b c?><?d?><v>x", L"v", false, {L"yes", L"x"}},
        {L"<?a?><w>", L"v", false, {L"no", L"<?a?><w>"}},
        {L"<v a='1' b = \"2\">x", L"v", false, {L"attributesOK", L">x"}},
        {L"<v a='1' b= \"<\" c=\t3>x", L"v", false, {L"yes", L"x"}},
        {L"<v >x", L"v", false, {L"yes", L"x"}},
        {L"</v >x", L"v", true, {L"no", L"</v >x"}},
        {L"<v\t>x", L"v", false, {L"no", L"<v\t>x"}},
        {L" <w>x", L"v", false, {L"no", L" <w>x"}},
        {L"<V>x", L"v", false, {L"no", L"<V>x"}},
        {L"<vv>x", L"v", false, {L"no", L"<vv>x"}},
        {L"<v/>x", L"v", false, {L"no", L"<v/>x"}},
        {L"<v>x", L"v", true, {L"no", L"<v>x"}},
        {L"</v>x", L"v", false, {L"no", L"</v>x"}},
        {L"<<v>x", L"v", false, {L"no", L"<<v>x"}},
        {L"", L"v", false, {L"no", L""}},
        {L"no tag", L"v", false, {L"no", L"no tag"}},
        {L"<v", L"v", false, {L"sourcePos <= sourceEnd", L""}},
        {L"<", L"v", true, {L"sourcePos <= sourceEnd", L""}},
    };
    for (const auto& [text, name, closing, expected] : kCases) {
        EXPECT_EQ(tagFromRange(text, name, closing, false), expected) << text;
        EXPECT_EQ(tagFromStream(text, name, closing, false), expected) << text;
    }
}

TEST(XmlReader, readTag_mustMatchOn_saysWhatItExpectedAndFound) {
    const struct {
        const wchar_t* text;
        bool closing;
        const wchar_t* expected;
    } kCases[] = {
        {L"12</w>", true, L"</v> expected, but found </w>"},
        {L"<p>", true, L"</v> expected, but found <p>"},
        {L"<p a='b'>", false, L"<v> expected, but found <p a='b'>"},
        {L"</v >", true, L"</v> expected, but found </v >"},
        {L"text", false, L"<v> expected, but found <>"},
        {L"<?x?></p>", false, L"<v> expected, but found </p>"},
        {L"<p =1>", false, L"attributesOK"},
    };
    for (const auto& [text, closing, expected] : kCases) {
        EXPECT_EQ(tagFromRange(text, L"v", closing, true).result, expected);
        EXPECT_EQ(tagFromStream(text, L"v", closing, true).result, expected);
    }
}

TEST(XmlReader, failures_whileTracing_leaveTheirReportLines) {
    const TraceCapture trace;
    tagFromRange(L"<v", L"v", false, false);
    tagFromRange(L"<v a>", L"v", false, false);
    tagFromRange(L"<p>", L"v", true, true);
    const Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0], "asserted: 'sourcePos <= sourceEnd', in src/lib/ZuXml, line 1227");
    EXPECT_EQ(lines[1], "throwing: 'sourcePos <= sourceEnd', in src/lib/ZuXml, line 1227");
    EXPECT_EQ(lines[2].find("asserted: 'attributesOK', in src/lib/ZuXml, line "), 0U);
    EXPECT_EQ(lines[4].find("throwing: '</v> expected, but found <p>', in src/lib/ZuXml, line "),
              0U);
}

TEST(XmlReader, parseAttributes_anyList_givesPairsOrRefuses) {
    const struct {
        const wchar_t* text;
        const wchar_t* expected;
    } kCases[] = {
        {L"", L"ok"},
        {L" \t\r\n", L"ok"},
        {L"a=\"1 2\" b='\"' c=x'y", L"a:1 2;b:\";c:x'y;ok"},
        {L"a=  'x'", L"a:x;ok"},
        {L"a='1'b='2'", L"a:1;b:2;ok"},
        {L"a=", L"a:;ok"},
        {L"a==b", L"a:=b;ok"},
        {L"a", L"refused"},
        {L"=1", L"refused"},
        {L"a =1", L"refused"},
        {L"a=1 b", L"a:1;refused"},
        {L"a='1", L"refused"},
        {L"a=\"1'", L"refused"},
        {L"/", L"refused"},
    };
    for (const auto& [text, expected] : kCases) {
        std::vector<XmlAttribute> attributes;
        const bool accepted = Xml::parseAttributes(text, attributes);
        std::wstring found;
        for (const XmlAttribute& attribute : attributes) {
            found += attribute.name + L":" + attribute.value + L";";
        }
        EXPECT_EQ(found + (accepted ? L"ok" : L"refused"), expected) << text;
    }
}

// --- Text ---------------------------------------------------------------------------

TEST(XmlReader, readText_entitiesAndBackslashes_decodeFiveEntitiesOnly) {
    const struct {
        const wchar_t* text;
        Taken expected;
    } kCases[] = {
        {L"a&lt;b &amp; c</v>", {L"a<b & c", L"</v>"}},
        {L"&lt;&gt;&apos;&quot;&amp;", {L"<>'\"&", L""}},
        {L"&amp;lt;", {L"&lt;", L""}},
        {L"plain>x", {L"plain", L">x"}},
        {L"", {L"", L""}},
        {L" \n\t x<", {L" \n\t x", L"<"}},
        {L"\\09\\n\\0D<", {L"\\09\\n\\0D", L"<"}},
        {L"\xD800\u0416&gt;\uFFFE", {L"\xD800\u0416>\uFFFE", L""}},
    };
    for (const auto& [text, expected] : kCases) {
        const std::wstring whole = text;
        const wchar_t* begin = whole.data();
        std::wstring out = L"old";
        Xml::readText(begin, whole.data() + whole.size(), out);
        EXPECT_EQ((Taken{out, begin}), expected) << text;
        std::wistringstream in(whole);
        out = L"old";
        Xml::readText(in, out);
        EXPECT_EQ((Taken{out, {std::istreambuf_iterator<wchar_t>(in), {}}}), expected) << text;
    }
}

TEST(XmlReader, readText_unknownEntity_isDroppedInARangeAndEndsAStreamsText) {
    const struct {
        const wchar_t* text;
        const wchar_t* fromRange;
        Taken fromStream;
    } kCases[] = {
        {L"a&copy;b<", L"acopy;b", {L"a", L"b<"}}, {L"&&amp;x<", L"&x", {L"", L"x<"}},
        {L"a&LT;b<", L"aLT;b", {L"a", L"b<"}},     {L"a&lt b<", L"alt b", {L"a", L"<"}},
        {L"x&am<", L"xam", {L"x", L"<"}},          {L"x&", L"x", {L"x", L""}},
    };
    for (const auto& [text, fromRange, fromStream] : kCases) {
        const std::wstring whole = text;
        const wchar_t* begin = whole.data();
        std::wstring out;
        Xml::readText(begin, whole.data() + whole.size(), out);
        EXPECT_EQ(out, fromRange) << text;
        std::wistringstream in(whole);
        Xml::readText(in, out);
        EXPECT_EQ((Taken{out, {std::istreambuf_iterator<wchar_t>(in), {}}}), fromStream) << text;
    }
}

TEST(XmlReader, codeUnitFFFF_isTextInARangeAndTheEndOfAStream) {
    const std::wstring whole = L"a\xFFFFz<";
    const wchar_t* begin = whole.data();
    std::wstring out;
    Xml::readText(begin, whole.data() + whole.size(), out);
    EXPECT_EQ(out, L"a\xFFFFz");
    std::wistringstream in(whole);
    Xml::readText(in, out);
    EXPECT_EQ(out, L"a");
}

// --- Looking ahead ------------------------------------------------------------------

TEST(XmlPeek, peekTag_anyText_namesTheNextTagAndTakesNothing) {
    const std::pair<const wchar_t*, const wchar_t*> kCases[] = {
        {L"<p>x", L"p"},        {L" text \n</hmap>", L"/hmap"},
        {L"<p a='1'>", L"p"},   {L"<p\ta>", L"p"},
        {L"<p<q>", L"p"},       {L"<p", L"p"},
        {L"<>", L""},           {L"", L""},
        {L"text", L""},         {L"< p>", L""},
        {L"<?xml ?>", L"?xml"},
    };
    for (const auto& [text, expected] : kCases) {
        std::wistringstream in(text);
        std::wstring name = L"old";
        EXPECT_EQ(Xml::peekTag(in, name), expected[0] != 0) << text;
        EXPECT_EQ(name, expected) << text;
        EXPECT_EQ(std::wstring(std::istreambuf_iterator<wchar_t>(in), {}), text);
    }
}

// Gives one character at a time and remembers only so many.
class ForgetfulBuffer : public std::wstreambuf {
public:
    ForgetfulBuffer(std::wstring text, std::size_t memory)
        : text_(std::move(text)), memory_(memory) {}

private:
    int_type underflow() override {
        const std::size_t taken = taken_ + (gptr() != nullptr ? 1 : 0);
        if (taken >= text_.size()) {
            return traits_type::eof();
        }
        taken_ = taken;
        wchar_t* at = text_.data() + taken;
        setg(at - std::min(memory_, taken), at, at + 1);
        return traits_type::to_int_type(*at);
    }

    std::wstring text_;
    std::size_t memory_;
    std::size_t taken_ = 0;
};

TEST(XmlPeek, peekTag_withoutPutBackSpace_tracesTheCountAndReturnsFalse) {
    // Thirty blanks, "<", eight letters and the stop: forty characters.
    const std::wstring text = std::wstring(30, L' ') + L"<property>";
    std::wstring name;
    for (const std::size_t memory : {0U, 5U, 38U}) {
        const TraceCapture trace(kTraceLevelInfo);
        ForgetfulBuffer buffer(text, memory);
        std::wistream in(&buffer);
        EXPECT_FALSE(Xml::peekTag(in, name));
        EXPECT_EQ(trace.messages(),
                  Lines{"Xml::peekTag: insufficient putback space in streambuf; need at least 40 "
                        "putbackchars"})
            << memory;
    }
    const TraceCapture trace(kTraceLevelInfo);
    ForgetfulBuffer buffer(text, 39);
    std::wistream in(&buffer);
    EXPECT_TRUE(Xml::peekTag(in, name));
    EXPECT_EQ(name, L"property");
    EXPECT_EQ(trace.messages(), Lines());
}

TEST(XmlPeek, readTag_streamThatCannotGoBack_failsInsteadOfLosingText) {
    ForgetfulBuffer buffer(L"<w>", 1);
    std::wistream in(&buffer);
    EXPECT_EQ(thrownText([&] { Xml::readTag(in, L"v", false, false); }),
              L"XmlStream::rewind: insufficient putback space in streambuf");
}

}  // namespace
}  // namespace zustd
