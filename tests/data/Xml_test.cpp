#include "ZuXml.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cwchar>
#include <map>
#include <regex>
#include <sstream>

#include "support/FrameworkTest.h"

namespace zustd::test {
namespace {

using std::wstring;

const wstring kSingleKinds[] = {L"string", L"long", L"double", L"bool", L"datetime", L"sizet"};

const std::map<wchar_t, wstring> kMarks = {{L'<', L"&lt;"},   {L'>', L"&gt;"},  {L'\'', L"&apos;"},
                                           {L'"', L"&quot;"}, {L'&', L"&amp;"}, {L'\n', L"\\n"}};

// As the dialect writes a text.
wstring escaped(const wstring& text) {
    wstring out;
    for (const wchar_t unit : text) {
        const wstring plain = unit < 32 ? formatWide(L"\\%02X", unit) : wstring(1, unit);
        out += kMarks.contains(unit) ? kMarks.at(unit) : plain;
    }
    return out;
}

// What a single value is written as once it was read, by the runtime's means.
wstring writtenAgain(const wstring& kind, const wstring& text) {
    // The runtime knows digits and blanks of other alphabets as well.
    const wstring plain(text.begin(), std::ranges::find_if(text, [](auto c) { return c > 126; }));
    const wchar_t* const at = plain.c_str();
    // The wide one of this runtime does not always round to the nearest.
    const std::string bytes = narrow(plain);
    char* scanned = nullptr;
    const double value = std::strtod(bytes.c_str(), &scanned);
    int f[6] = {};
    std::swscanf(at, L"%04d-%02d-%02d %02d:%02d:%02d", &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]);
    return kind == L"string"   ? escaped(text)
           : kind == L"long"   ? std::to_wstring(std::wcstol(at, nullptr, 10))
           : kind == L"sizet"  ? std::to_wstring(std::wcstoull(at, nullptr, 10))
           : kind == L"double" ? widen(formatNarrow("%.6f", scanned == bytes.c_str() ? 0.0 : value))
           : kind == L"bool"
               ? (*at == L'y' || *at == L'Y' ? L"y" : L"n")
               : formatWide(L"%04d-%02d-%02d %02d:%02d:%02d", f[0], f[1], f[2], f[3], f[4], f[5]);
}

// Reads a bag as the dialect's page describes it: slow, short and by another hand.
class NaiveReader {
public:
    NaiveReader(wstring text, bool isStream) : text_(std::move(text)), isStream_(isStream) {
        text_.resize(isStream ? find(L"\xFFFF", 0) : text_.size());
    }
    Reading read() {
        const wstring failure = thrownText([&] { readBag(); });
        return {failure, failure == L"nothing" ? at_ : 0};
    }
    wstring written() const {
        wstring all = L"<bag>\n<hmap>\n";
        for (const auto& [key, value] : entries_) {
            all += L"<p><k>" + escaped(key) + L"</k>" + value + L"</p>\n";
        }
        return all + L"</hmap>\n</bag>\n";
    }

private:
    using Entry = std::pair<wstring, wstring>;

    static void require(bool condition, const wstring& failure) {
        if (!condition) {
            throw failure;
        }
    }
    std::size_t find(const wchar_t* stops, std::size_t from) const {
        return std::min(text_.find_first_of(stops, from), text_.size());
    }
    bool hasTag() const { return find(L"<", at_) < text_.size(); }
    wstring nextName() const {
        const std::size_t name = find(L"<", at_) + 1;
        return hasTag() ? text_.substr(name, find(L"<> \n\r\t", name) - name) : L"";
    }
    wstring takeTag(bool mustParse) {
        const std::size_t open = find(L"<", at_) + 1;
        at_ = text_.find(L'>', open) + 1;
        require(at_ != 0, L"sourcePos <= sourceEnd");
        const wstring tag = text_.substr(open, at_ - 1 - open);
        static const std::wregex attributes(
            L"([ \\n\\r\\t]*[^= \\n\\r\\t]+=[ \\n\\r\\t]*"
            L"(\"[^\"]*\"|'[^']*'|[^\"' \\n\\r\\t][^ \\n\\r\\t]*|$))*[ \\n\\r\\t]*");
        const std::size_t blank = std::min(tag.find(L' '), tag.size());
        require(!mustParse || std::regex_match(tag.substr(blank), attributes), L"attributesOK");
        return tag;
    }
    bool readTag(const wstring& name, bool mustMatch) {
        const std::size_t start = at_;
        const bool isFound = hasTag();
        const wstring tag = isFound ? takeTag(true) : L"";
        if (isFound && (name[0] == L'/' ? tag : tag.substr(0, tag.find(L' '))) == name) {
            return true;
        }
        require(!mustMatch,
                L"invalid: <" + name + L"> expected, but found <" + widen(narrow(tag)) + L">");
        at_ = start;
        return false;
    }
    wstring readText() {
        wstring text;
        for (const std::size_t end = find(L"<>", at_); at_ < end;) {
            const wstring entity = text_.substr(at_, find(L";", at_) + 1 - at_);
            const auto known =
                std::ranges::find(kMarks, entity, &std::pair<const wchar_t, wstring>::second);
            if (text_[at_] != L'&') {
                text += text_[at_++];
            } else if (known != kMarks.end()) {
                text += known->first;
                at_ += entity.size();
            } else if (isStream_) {
                at_ = std::min(at_ + entity.size(), end);
                break;
            } else {
                ++at_;
            }
        }
        return text;
    }
    wstring readElement(const wstring& name, bool isNeeded) {
        wstring text;
        if (readTag(name, isNeeded)) {
            text = readText();
            readTag(L"/" + name, true);
        }
        return text;
    }
    wstring readUnion() {
        const wstring kind = readElement(L"t", false);
        if (kind == L"array") {
            return readArray();
        }
        if (std::ranges::count(kSingleKinds, kind) == 0) {
            return kind == L"object" ? L"<t>object</t>" : L"<t>null</t>";
        }
        const wstring text = writtenAgain(kind, readElement(L"v", false));
        return L"<t>" + kind + L"</t><v>" + text + L"</v>";
    }
    wstring readArray() {
        require(++depth_ <= 128, L"depth <= kMaxDepth");
        const std::uint64_t count = Xml::toSize(readElement(L"c", false));
        wstring written = L"<t>array</t><c>" + std::to_wstring(count) + L"</c>";
        bool isImplied = false;
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::size_t start = at_;
            written += readUnion();
            require(at_ != start || isImplied || count - i <= 64,
                    L"implied <= kMaxImpliedElements");
            isImplied = at_ == start;
        }
        --depth_;
        return written;
    }
    void readBag() {
        for (wstring name; hasTag() && (name = nextName()) != L"/bag" && name != L"hmap";) {
            takeTag(name[0] != L'?' && name[0] != L'!');
        }
        if (nextName() == L"hmap") {
            readTag(L"hmap", true);
            while (nextName() != L"/hmap") {
                readEntry();
            }
            readTag(L"/hmap", true);
        }
        readTag(L"/bag", false);
    }
    void readEntry() {
        readTag(L"p", true);
        const wstring key = readElement(L"k", true);
        const wstring value = readUnion();
        const auto entry = std::ranges::find(entries_, key, &Entry::first);
        (entry == entries_.end() ? entries_.emplace_back(key, L"") : *entry).second = value;
        readTag(L"/p", true);
    }

    wstring text_;
    bool isStream_;
    std::size_t at_ = 0;
    int depth_ = 0;
    std::vector<Entry> entries_;
};

wstring randomText(Random& random) {
    const auto any = static_cast<std::int64_t>(random.below(~std::size_t{0}));
    const std::int64_t digits = any >> (11 + random.below(50));
    const double fraction = std::ldexp(digits, -static_cast<int>(random.below(70)));
    static constexpr const wchar_t* kStarts[] = {L"1", L"-0.", L".", L"+1", L"-inf"};
    static constexpr const wchar_t* kEnds[] = {L"", L"e", L"2e", L"1E+"};
    const wstring zeros(random.below(2) * random.below(700), L'0');
    const wstring texts[] = {random.pick(kStarts) + zeros + random.pick(kEnds) +
                                 std::to_wstring(any >> random.below(64)) +
                                 zeros.substr(0, random.below(2) * 20),
                             L"-1.7976931348623157e308",
                             L"2016-11-04 06:39:59",
                             formatWide(L"%.17g", fraction),
                             std::to_wstring(any >> random.below(64)),
                             escaped(random.text(40)),
                             random.below(2) == 0 ? L"-18446744073709551614" : L"2.9999997",
                             formatWide(L"%d.%06d5", random.below(99), random.below(999'999))};
    wstring text = random.pick(texts);
    for (std::size_t edits = random.below(5); edits > 0; --edits) {
        const wchar_t unit = random.pick(std::wstring_view(L"019--+: .eyY\t\n\v\f\x1\x10\x1F\x7F"));
        text.replace(random.below(text.size() + 1), random.below(3), 1, unit);
    }
    return text;
}

wstring randomValue(Random& random, int depth) {
    const std::size_t dice = random.below(10);
    if (dice < 6) {
        return L"<t>" + kSingleKinds[dice] + L"</t><v>" + randomText(random) + L"</v>";
    }
    const std::size_t count = dice > 7 && depth > 0 ? random.below(5) : 0;
    wstring all = dice == 6   ? L"<t>null</t>"
                  : dice == 7 ? L"<t>object</t>"
                              : L"<t>array</t><c>" + std::to_wstring(count) + L"</c>";
    for (std::size_t i = 0; i < count; ++i) {
        all += randomValue(random, depth - 1);
    }
    return all;
}

// clang-format off
const wstring kTokens[] = {
    L"", L"<", L">", L"</", L"&", L"&amp;", L"&lt;", L"&x;", L" ", L"=", L"'", L"\"", L"-1", L"1e9",
    L"\xFFFF", L"\xD800", L"\n", L"<t>array</t>", L"<c>2</c>", L"<t>array</t><c>64</c>", L"<t>array</t><c>65</c>",
    L"<c>99999999", L"<t>long</t>", L"<t>object</t>", L"<t>datetime</t>", L"<v>", L"</v>", L"<p>", L"<t>x</t>",
    L"<p><k>k</k>", L"</p>", L"<hmap>", L"</hmap>", L"</hmapx>", L"</bag>", L"<bag>", L"<?x?>", L"<!-- x -->",
    L"<v a='b'>", L"<x y>", L"<x =1>", L"<x a =1>", L"<hmap a=b>", L"<>", L"a='1'b=\"2\" c=", L"<bag ",
    L"<t>array</t><c>900000</c>", L"<t>string</t><v>", L"<t>double</t><v>0.", L"0", L"<t>sizet</t><v>"};
// clang-format on

wstring randomDocument(Random& random) {
    wstring document = random.below(2) == 0 ? L"<bag>\n<hmap>" : wstring(kXmlHeader) + L"<hmap>";
    for (std::size_t entries = random.below(5); entries > 0; --entries) {
        document += L"<p><k>" + escaped(random.text(4)) + L"</k>";
        // Some nest about as deep, or leave out about as much, as is allowed.
        const std::size_t dice = random.below(32);
        for (std::size_t level = dice == 0 ? 122 + random.below(12) : 0; level > 0; --level) {
            document += L"<t>array</t><c>1</c>";
        }
        document += dice == 1 ? formatWide(L"<t>array</t><c>%d</c>", 60 + random.below(12)) : L"";
        document += randomValue(random, 3) + L"</p>\n";
    }
    document += L"</hmap>\n</bag>";
    for (std::size_t edits = random.below(3) == 0 ? 0 : random.below(7); edits > 0; --edits) {
        const std::size_t at = random.below(document.size() + 1);
        const wstring moved = document.substr(random.below(document.size() + 1), random.below(12));
        document.replace(at, random.below(12), random.below(3) == 0 ? moved : random.pick(kTokens));
        document.resize(random.below(16) == 0 ? at : document.size());
    }
    return document;
}

TEST(Readers, randomDocuments_fromRangeAndStream_areReadAsTheDialectSaysAndWrittenAgain) {
    Random random(1227);
    for (int round = 0; round < 60'000; ++round) {
        const wstring value = L"<hmap><p><k></k>" + randomValue(random, 0) + L"</p></hmap>";
        const wstring document = round % 16 < 2 ? randomDocument(random) : value;
        const bool isStream = round % 2 != 0;
        NaiveReader naive(document, isStream);
        const Reading expected = naive.read();
        PropertyBag bag;
        const MemoryWatch memory;
        EXPECT_EQ(readDocument(bag, document, isStream), expected);
        EXPECT_LE(memory.peak(), 16384 + 100 * document.size());
        const wstring written = xmlOf(bag);
        EXPECT_TRUE(expected.first != L"nothing" || written == naive.written()) << written;
        ASSERT_FALSE(HasFailure()) << random.label() << " " << testing::PrintToString(document);
    }
}

// Readers that go back to the start again and again take minutes for one.
TEST(Readers, longDocuments_ofAnyConstruct_areReadInTimeInLineWithTheirLength) {
    Random random(3);
    for (int round = 0; round < 200; ++round) {
        wstring document = random.pick(kTokens) + random.pick(kTokens);
        const wstring stretch = random.pick(kTokens) + random.pick(kTokens) + L"=";
        while (document.size() < 200'000) {
            document += stretch;
        }
        document += L"'\"></v></k><end>";
        const auto begin = std::chrono::steady_clock::now();
        for (const bool isStream : {true, false}) {
            PropertyBag bag;
            readDocument(bag, document, isStream);
        }
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2))
            << document.substr(0, 100);
    }
}

TEST(XmlNumbers, widths_thatDocumentsDoNotHave_areThoseAskedForWithinBounds) {
    const wstring zeros(126, L'0');
    wstring out;
    Xml::appendLong(out, -5, 500);
    Xml::appendLongHex(out += L' ', 0xBEEF, 6);
    Xml::appendSize(out += L' ', 7, 500);
    Xml::appendSizeHex(out += L' ', ~0ULL);
    EXPECT_EQ(out, L"-" + zeros.substr(1) + L"5 00BEEF " + zeros + L"7 FFFFFFFFFFFFFFFF");
}

TEST(XmlReader, parseAttributes_listWithAFault_givesThePairsBeforeIt) {
    const wstring list = L" \n\r\ta=\"1 2\" b='\"' c=x'y d= '2'e==f\rg=4\nh=''\ti";
    std::vector<XmlAttribute> attributes;
    EXPECT_FALSE(Xml::parseAttributes(list, attributes));
    wstring found;
    for (const XmlAttribute& attribute : attributes) {
        found += attribute.name + L":" + attribute.value + L";";
    }
    EXPECT_EQ(found, L"a:1 2;b:\";c:x'y;d:2;e:=f;g:4;h:;");
}

TEST(XmlReader, tagsAndTexts_ofEitherSource_areTakenOneByOneAndFailuresTraced) {
    const wstring document = L" <p a='1'>a&amp;b</p>c&x;<q>";
    const wchar_t* const end = document.data() + document.size();
    const wchar_t* at = document.data();
    std::wistringstream stream(document);
    wstring text;
    EXPECT_TRUE(Xml::peekTag(stream, text) && text == L"p");
    const TraceCapture trace(kTraceLevelInfo);
    for (const bool isStream : {true, false}) {
        const auto tag = [&](const wchar_t* name, bool closing, bool must) {
            return isStream ? Xml::readTag(stream, name, closing, must)
                            : Xml::readTag(at, end, name, closing, must);
        };
        EXPECT_FALSE(tag(L"v", false, false) || tag(L"p", true, false));
        EXPECT_TRUE(tag(L"p", false, true));
        isStream ? Xml::readText(stream, text) : Xml::readText(at, end, text);
        EXPECT_TRUE(tag(L"p", true, false) && text == L"a&b");
        isStream ? Xml::readText(stream, text) : Xml::readText(at, end, text);
        EXPECT_EQ(text, isStream ? L"c" : L"cx;");
        EXPECT_EQ(isStream ? stream.peek() : *at, L'<');
        EXPECT_THROW(tag(L"q", true, true), std::invalid_argument);
    }
    EXPECT_FALSE(Xml::peekTag(stream, text));
    thrownText([&] { Xml::readTag(at = end, end - 1, L"v", false, false); });
    struct Forgetful : std::wstreambuf {
        const wchar_t* next = L"<ab>c<";
        int_type underflow() override { return *next; }
        int_type uflow() override { return *next++; }
    } forgetful;
    std::wistream once(&forgetful);
    const std::string noRoom = "insufficient putback space in streambuf";
    EXPECT_FALSE(Xml::peekTag(once, text));
    EXPECT_EQ(narrow(thrownText([&] { Xml::readText(once, text); })), "Xml: " + noRoom);
    const Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[4], "Xml::peekTag: " + noRoom + "; need at least 4 putbackchars");
    EXPECT_EQ(lines[0].find("throwing: '</q> expected, but found <q>', in src/lib/ZuXml, "), 0U);
    EXPECT_EQ(lines[3], "throwing: 'sourcePos <= sourceEnd', in src/lib/ZuXml, line 1227");
}

}  // namespace
}  // namespace zustd::test
