// Random documents for both XML readers, beside a naive one; always from the same seed.
#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cwchar>
#include <map>

#include "ZuPropertyBag.h"
#include "ZuScope.h"
#include "ZuText.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;
using std::wstring;

constexpr std::wstring_view kKinds[] = {L"null",     L"string", L"long",  L"double", L"bool",
                                        L"datetime", L"sizet",  L"array", L"object"};

wstring escaped(const wstring& text) {
    wstring out;
    Xml::appendEscaped(out, text);
    return out;
}

// What a single value is written as once it was read, by the runtime's means.
wstring writtenAgain(const wstring& kind, const wstring& text) {
    // The runtime knows digits and blanks of other alphabets as well.
    const wstring plain(text.begin(),
                        std::find_if(text.begin(), text.end(), [](wchar_t c) { return c > 126; }));
    const wchar_t* const at = plain.c_str();
    wchar_t* scanned = nullptr;
    const double value = std::wcstod(at, &scanned);
    char digits[512];
    const auto end = std::to_chars(digits, std::end(digits), scanned == at ? 0.0 : value,
                                   std::chars_format::fixed, 6);
    int f[6] = {};
    std::swscanf(at, L"%04d-%02d-%02d %02d:%02d:%02d", &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]);
    return kind == L"string"   ? escaped(text)
           : kind == L"long"   ? std::to_wstring(std::wcstol(at, nullptr, 10))
           : kind == L"sizet"  ? std::to_wstring(std::wcstoull(at, nullptr, 10))
           : kind == L"double" ? wstring(digits, end.ptr)
           : kind == L"bool"
               ? (*at == L'y' || *at == L'Y' ? L"y" : L"n")
               : formatWide(L"%04d-%02d-%02d %02d:%02d:%02d", f[0], f[1], f[2], f[3], f[4], f[5]);
}

struct NaiveValue {
    wstring kind = L"null";
    wstring text;
    std::vector<NaiveValue> elements;

    bool isSingle() const { return kind != L"null" && kind != L"object" && kind != L"array"; }
    wstring written() const {
        wstring all = L"<t>" + kind + L"</t>" + (isSingle() ? L"<v>" + text + L"</v>" : L"");
        if (kind == L"array") {
            all += L"<c>" + std::to_wstring(elements.size()) + L"</c>";
        }
        for (const NaiveValue& element : elements) {
            all += element.written();
        }
        return all;
    }
};

// The dialect as its page describes it, over a plain text: slow, short and by
// another hand. Ends with what a reader under test says of the same document.
class NaiveReader {
public:
    NaiveReader(wstring text, bool isBag, bool isStream)
        : text_(std::move(text)), isBag_(isBag), isStream_(isStream) {
        text_.resize(isStream ? find(L"\xFFFF", 0) : text_.size());
    }
    Reading read() {
        const wstring failure = thrownText([&] { isBag_ ? readBag() : readDocument(); });
        return {failure, failure == L"nothing" ? at_ : 0};
    }
    wstring written() const {
        wstring all = L"<bag>\n<hmap>\n";
        for (const auto& [key, value] : entries_) {
            all += L"<p><k>" + escaped(key) + L"</k>" + value.written() + L"</p>\n";
        }
        return isBag_ ? all + L"</hmap>\n</bag>\n" : value_.written();
    }

private:
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
    bool isDeclarationNext() const { return nextName()[0] == L'?' || nextName()[0] == L'!'; }
    wstring takeTag(bool mustParse) {
        const std::size_t open = find(L"<", at_) + 1;
        at_ = text_.find(L'>', open) + 1;
        require(at_ != 0, L"sourcePos <= sourceEnd");
        const wstring tag = text_.substr(open, at_ - 1 - open);
        std::vector<XmlAttribute> attributes;
        const std::size_t blank = std::min(tag.find(L' '), tag.size());
        require(!mustParse || Xml::parseAttributes(tag.substr(blank), attributes), L"attributesOK");
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
        static const std::map<wstring, wchar_t> kEntities = {{L"&lt;", L'<'},
                                                             {L"&gt;", L'>'},
                                                             {L"&apos;", L'\''},
                                                             {L"&quot;", L'"'},
                                                             {L"&amp;", L'&'}};
        wstring text;
        const std::size_t end = find(L"<>", at_);
        while (at_ < end) {
            const wstring entity = text_.substr(at_, text_.find(L';', at_) + 1 - at_);
            if (kEntities.contains(entity)) {
                text += kEntities.at(entity);
                at_ += entity.size();
            } else if (text_[at_] == L'&' && isStream_) {
                at_ = std::min(at_ + entity.size(), end);
                break;
            } else if (text_[at_++] != L'&') {
                text += text_[at_ - 1];
            }
        }
        return text;
    }
    // A text counts before its closing tag is missed.
    void readElement(const wstring& name, wstring& text) {
        if (readTag(name, false)) {
            text = readText();
            readTag(L"/" + name, true);
        }
    }
    void readUnion(NaiveValue& target) {
        wstring kind;
        readElement(L"t", kind);
        target = {};
        require(kind != L"array" || depth_ < 128, L"depth <= kMaxDepth");
        const bool isKind =
            std::find(std::begin(kKinds), std::end(kKinds), kind) != std::end(kKinds);
        target.kind = isKind ? kind : L"null";
        if (kind == L"array") {
            readArray(target.elements);
        } else if (target.isSingle()) {
            const ScopeExit scan([&] { target.text = writtenAgain(kind, target.text); });
            readElement(L"v", target.text);
        }
    }
    void readArray(std::vector<NaiveValue>& elements) {
        ++depth_;
        wstring text;
        readElement(L"c", text);
        const std::uint64_t count = Xml::toSize(text);
        while (elements.size() < count) {
            const std::size_t start = at_;
            readUnion(elements.emplace_back());
            if (at_ == start) {
                require(count - elements.size() < 64, L"implied <= kMaxImpliedElements");
                elements.resize(count);
            }
        }
        --depth_;
    }
    void readDocument() {
        while (isDeclarationNext()) {
            takeTag(false);
        }
        readUnion(value_);
    }
    void readBag() {
        while (hasTag() && nextName() != L"/bag" && nextName() != L"hmap") {
            takeTag(!isDeclarationNext());
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
        readTag(L"k", true);
        const wstring key = readText();
        readTag(L"/k", true);
        auto entry = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const auto& known) { return known.first == key; });
        entry = entry != entries_.end() ? entry : entries_.insert(entry, {key, {}});
        readUnion(entry->second);
        readTag(L"/p", true);
    }

    wstring text_;
    bool isBag_;
    bool isStream_;
    std::size_t at_ = 0;
    int depth_ = 0;
    NaiveValue value_;
    std::vector<std::pair<wstring, NaiveValue>> entries_;
};

// What became of a document; by either source the same as by the naive reader.
template <class Value>
wstring checkDocument(const wstring& document) {
    Reading expected;
    for (const bool isStream : {true, false}) {
        Value value;
        NaiveReader naive(document, std::is_same_v<Value, PropertyBag>, isStream);
        expected = naive.read();
        const MemoryWatch memory;
        EXPECT_EQ((isStream ? readFromStream : readFromRange)(value, document), expected);
        EXPECT_LE(memory.peak(), 16384 + 100 * document.size());
        EXPECT_EQ(xmlOf(value), naive.written()) << isStream;
    }
    return expected.first;
}

wstring randomText(Random& random) {
    wstring text;
    switch (random.below(4)) {
        // clang-format off
        case 0: return escaped(random.text(40));
        case 1: return formatWide(L"%d-11-04 06:39:59", random.below(12000));
        // Whole, long and short fractions, ties among them.
        case 2: return formatWide(L"%.17g", std::ldexp(static_cast<std::int64_t>(random.below(~std::size_t{0})) >>
                                                       (11 + random.below(50)), -static_cast<int>(random.below(70))));
        // clang-format on
        default:
            for (std::size_t units = random.below(24); units > 0; --units) {
                text += random.pick(std::wstring_view(L"00123456789--:+ .eyY\t\v\f\x1F"));
            }
            return text + (random.below(4) == 0 ? L"e-" + std::to_wstring(random.below(800)) : L"");
    }
}

wstring randomValue(Random& random, int depth) {
    NaiveValue value{wstring(random.pick(kKinds)), randomText(random), {}};
    if (value.kind != L"array") {
        return value.written();
    }
    const std::size_t count = depth > 0 ? random.below(5) : 0;
    wstring all = L"<t>array</t><c>" + std::to_wstring(count) + L"</c>";
    for (std::size_t i = 0; i < count; ++i) {
        all += randomValue(random, depth - 1);
    }
    return all;
}

// A bag, and what some edits have made of it.
wstring randomDocument(Random& random) {
    static const wstring kTokens[] = {
        // clang-format off
        L"", L"<", L">", L"</", L"&", L"&amp;", L"&lt;", L"&x;", L" ", L"=", L"'", L"\"", L"-1", L"1e9",
        L"\xFFFF", L"\xD800", L"\n", L"<t>array</t>", L"<c>2</c>", L"<t>array</t><c>64</c>", L"<t>array</t><c>65</c>", L"<c>99999999",
        L"<t>long</t>", L"<t>object</t>", L"<t>datetime</t>", L"<v>", L"</v>", L"<p>", L"<t>x</t>",
        L"<p><k>k</k>", L"</p>", L"<hmap>", L"</hmap>", L"</hmapx>", L"</bag>", L"<bag>", L"<?x?>", L"<!-- x -->",
        L"<v a='b'>", L"<x y>", L"<hmap a=b>", L"<>", L"a='1'b=\"2\" c=",
        // clang-format on
    };
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
    std::map<wstring, std::size_t> counts;
    for (int round = 0; round < 30'000; ++round) {
        const bool isBag = round % 8 == 0;
        const wstring document = isBag ? randomDocument(random) : randomValue(random, 0);
        if (isBag) {
            ++counts[checkDocument<PropertyBag>(document).substr(0, 7)];
        }
        const std::size_t value = std::min(document.find(L"<t>"), document.size());
        checkDocument<SerializableUnion>(document.substr(value));
        ASSERT_FALSE(HasFailure()) << random.label() << " " << testing::PrintToString(document);
    }
    // The edits must not be so wild, nor so tame, that one side goes untested.
    EXPECT_GT(counts[L"depth <"], 20U) << "nested to the limit";
    EXPECT_GT(counts[L"implied"], 20U) << "claimed more elements than there are";
    EXPECT_GT(counts[L"nothing"], 500U);
    EXPECT_LT(counts[L"nothing"], 3000U);
}

// Readers that look at each character a few times take some milliseconds for
// one; those that go back to the start again and again, minutes.
TEST(Readers, longDocuments_ofAnyConstruct_areReadInTimeInLineWithTheirLength) {
    wstring nested;
    for (int level = 0; level < 127; ++level) {
        nested += L"<t>array</t><c>65</c>";
    }
    // clang-format off
    const wstring starts[] = {
        L"", L"<hmap>", L"<hmap><p><k>", L"<bag ", L"<bag a=\"", L"<t ", L"<t>string</t><v>", L"<t>double</t><v>0.",
        L"<t>sizet</t><v>", L"<t>datetime</t><v>", L"<t>array</t><c>900000</c>", nested + L"<t>array</t><c>64</c>"};
    const wstring stretches[] = {
        L"a='1'", L"a= ", L"'", L"<?x?>", L"<x>", L"text ", L"<", L">", L" ", L"<p><k>k</k></p>", L"&amp;k", L"&",
        L"&x;", L"0", L"<t>long</t>", L"<t>null</t> ", L"<t>array</t><c>65</c>"};
    // clang-format on
    for (const wstring& start : starts) {
        for (const wstring& stretch : stretches) {
            wstring document = start;
            while (document.size() < 200'000) {
                document += stretch;
            }
            document += L"'\"></v></k><end>";
            const auto begin = std::chrono::steady_clock::now();
            for (const auto& read : {&readFromRange, &readFromStream}) {
                PropertyBag bag;
                read(bag, document);
                SerializableUnion value;
                read(value, document);
            }
            EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2))
                << start << stretch;
        }
    }
}

}  // namespace
}  // namespace zustd
