// Mutates documents and feeds them to both XML readers, beside a naive one; always
// from the same seed.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cwchar>
#include <map>
#include <sstream>
#include <stdexcept>

#include "ZuText.h"
#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;
using namespace std::string_literals;

// A handful of edits: tokens put in, stretches taken out, doubled and moved.
template <class Tokens>
void mutate(std::wstring& text, const Tokens& tokens, Random& random) {
    for (std::size_t edits = 1 + random.below(6); edits > 0; --edits) {
        const std::size_t at = random.below(text.size() + 1);
        const std::size_t length = random.below(12);
        switch (random.below(5)) {
            // clang-format off
            case 0: text.insert(at, random.pick(tokens)); break;
            case 1: text.erase(at, length); break;
            case 2: text.insert(text.size() - at, text.substr(at, length)); break;
            case 3: text.replace(at, length, random.pick(tokens)); break;
            default: text.resize(at); break;
                // clang-format on
        }
    }
}

// The dialect as its page describes it, over a plain text: slow, short and by
// another hand. Ends with what a reader under test says of the same document.
class NaiveReader {
public:
    std::vector<std::pair<std::wstring, SerializableUnion>> entries;
    SerializableUnion value;

    NaiveReader(std::wstring text, bool isStream) : text_(std::move(text)), isStream_(isStream) {
        text_.resize(isStream ? std::min(text_.find(L'\xFFFF'), text_.size()) : text_.size());
    }
    template <class Target>
    Reading read(const Target&) {
        try {
            std::is_same_v<Target, PropertyBag> ? readBag() : readDocument();
            return {"", at_};
        } catch (const std::string& failure) {
            return {failure, 0};
        }
    }
    std::wstring content(const SerializableUnion&) const { return xmlOf(value); }
    std::wstring content(const PropertyBag&) const {
        std::wstring all;
        for (const auto& [key, entry] : entries) {
            all += key + L"=" + xmlOf(entry) + L"\n";
        }
        return all;
    }

private:
    // Empty at the end, as is a tag without a name.
    std::wstring nextName(bool* found = nullptr) const {
        const std::size_t open = stop(text_, L"<", at_);
        if (found != nullptr) {
            *found = open < text_.size();
        }
        return open == text_.size()
                   ? L""
                   : text_.substr(open + 1, stop(text_, L"<> \n\r\t", open + 1) - open - 1);
    }
    bool readTag(const std::wstring& name, bool mustMatch) {
        const std::size_t start = at_;
        std::wstring tag;
        if (text_.find(L'<', at_) != std::wstring::npos) {
            tag = takeTag(true);
            if ((name[0] == L'/' ? tag : tag.substr(0, tag.find(L' '))) == name) {
                return true;
            }
        }
        if (mustMatch) {
            throw "invalid: <" + narrow(name) + "> expected, but found <" + narrow(tag) + ">";
        }
        at_ = start;
        return false;
    }
    std::wstring readText() {
        // clang-format off
        static constexpr std::pair<std::wstring_view, wchar_t> kEntities[] = {
            {L"&lt;", L'<'}, {L"&gt;", L'>'}, {L"&apos;", L'\''}, {L"&quot;", L'"'}, {L"&amp;", L'&'}};
        // clang-format on
        std::wstring text;
        const std::size_t end = stop(text_, L"<>", at_);
        while (at_ < end) {
            const std::wstring_view rest = std::wstring_view(text_).substr(at_, end - at_);
            const auto* entity = std::find_if(std::begin(kEntities), std::end(kEntities),
                                              [&](auto& e) { return rest.starts_with(e.first); });
            if (entity != std::end(kEntities)) {
                text += entity->second;
                at_ += entity->first.size();
            } else if (rest[0] != L'&') {
                text += text_[at_++];
            } else if (!isStream_) {
                ++at_;
            } else {
                at_ = std::min(text_.find(L';', at_) + 1, end);
                at_ = at_ == 0 ? end : at_;
                break;
            }
        }
        return text;
    }
    static bool isDeclaration(const std::wstring& tag) { return tag[0] == L'?' || tag[0] == L'!'; }
    static void require(bool condition, const char* failure) {
        if (!condition) {
            throw "failed: "s + failure;
        }
    }
    // The rest of text behind what stop characters end; all of it without one.
    static std::size_t stop(const std::wstring& text, const wchar_t* stops, std::size_t from) {
        return std::min(text.find_first_of(stops, from), text.size());
    }
    static bool attributesParse(const std::wstring& text) {
        const auto skipSpace = [&](std::size_t at) {
            return std::min(text.find_first_not_of(L" \n\r\t", at), text.size());
        };
        for (std::size_t at = skipSpace(0); at < text.size(); at = skipSpace(at)) {
            const std::size_t name = at;
            at = stop(text, L"= \n\r\t", at);
            if (at == name || text[at] != L'=') {
                return false;
            }
            at = skipSpace(at + 1);
            if (text[at] != L'\'' && text[at] != L'"') {
                at = stop(text, L" \n\r\t", at);
            } else if ((at = text.find(text[at], at + 1) + 1) == 0) {
                return false;
            }
        }
        return true;
    }
    std::wstring takeTag(bool mustParse) {
        const std::size_t open = text_.find(L'<', at_) + 1;
        at_ = text_.find(L'>', open) + 1;
        require(at_ != 0, "sourcePos <= sourceEnd");
        const std::wstring tag = text_.substr(open, at_ - 1 - open);
        const std::size_t blank = stop(tag, L" ", 0);
        require(!mustParse || attributesParse(tag.substr(blank)), "attributesOK");
        return tag;
    }
    // A text counts before its closing tag is missed.
    template <class Take>
    void readElement(const std::wstring& name, Take take) {
        if (readTag(name, false)) {
            take(readText());
            readTag(L"/" + name, true);
        }
    }
    void readUnion(SerializableUnion& target) {
        ValueKind kind = ValueKind::kNull;
        readElement(L"t", [&](const std::wstring& text) { kind = kindFromName(text); });
        target = SerializableUnion();
        if (kind == ValueKind::kArray) {
            readArray(target);
        } else if (kind == ValueKind::kObject) {
            target.setObject(nullptr);
        } else if (kind != ValueKind::kNull) {
            setText(target, kind, L"");
            readElement(L"v", [&](const std::wstring& text) { setText(target, kind, text); });
        }
    }
    static void setText(SerializableUnion& target, ValueKind kind, const std::wstring& text) {
        int date[6] = {};
        switch (kind) {
            // clang-format off
            case ValueKind::kString: return target.setString(text);
            case ValueKind::kLong: return target.setLong(Xml::toLong(text));
            case ValueKind::kDouble: return target.setDouble(Xml::toDouble(text));
            case ValueKind::kBool: return target.setBool(text[0] == L'y' || text[0] == L'Y');
            case ValueKind::kSizet: return target.setSizet(Xml::toSize(text));
            // clang-format on
            default:
                // Which takes FFFF for nothing at all.
                std::swscanf(text.substr(0, text.find(L'\xFFFF')).c_str(),
                             L"%04d-%02d-%02d %02d:%02d:%02d", &date[0], &date[1], &date[2],
                             &date[3], &date[4], &date[5]);
                target.setDateTime({date[0], date[1], date[2], date[3], date[4], date[5]});
        }
    }
    void readArray(SerializableUnion& target) {
        require(++depth_ <= 128, "depth <= kMaxDepth");
        target.setArraySize(0);
        std::uint64_t count = 0;
        readElement(L"c", [&](const std::wstring& text) { count = Xml::toSize(text); });
        std::vector<SerializableUnion>& elements = target.arrayRef();
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::size_t start = at_;
            readUnion(elements.emplace_back());
            if (at_ == start) {
                require(count - i <= 64, "implied <= kMaxImpliedElements");
                elements.resize(count);
                break;
            }
        }
        --depth_;
    }
    void readDocument() {
        while (isDeclaration(nextName())) {
            takeTag(false);
        }
        readUnion(value);
    }
    void readBag() {
        bool found = false;
        for (;;) {
            const std::wstring name = nextName(&found);
            if (!found || name == L"/bag" || name == L"hmap") {
                break;
            }
            takeTag(!isDeclaration(name));
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
        const std::wstring key = readText();
        readTag(L"/k", true);
        auto entry = std::find_if(entries.begin(), entries.end(),
                                  [&](const auto& known) { return known.first == key; });
        entry = entry != entries.end() ? entry : entries.insert(entry, {key, {}});
        readUnion(entry->second);
        readTag(L"/p", true);
    }

    std::wstring text_;
    bool isStream_;
    std::size_t at_ = 0;
    int depth_ = 0;
};

std::wstring contentOf(const SerializableUnion& value) { return xmlOf(value); }
std::wstring contentOf(const PropertyBag& bag) {
    std::wstring all;
    std::vector<std::wstring> keys;
    bag.keys(keys);
    for (const std::wstring& key : keys) {
        all += key + L"=" + xmlOf(bag.getUnion(key)) + L"\n";
    }
    return all;
}

// What became of a document; by either source the same as by the naive reader.
template <class Value>
std::string checkDocument(const std::wstring& document) {
    std::string failure;
    for (const bool isStream : {true, false}) {
        Value value;
        NaiveReader naive(document, isStream);
        const Reading expected = naive.read(value);
        const MemoryWatch memory;
        const Reading reading = (isStream ? readFromStream : readFromRange)(value, document);
        EXPECT_LE(memory.peak(), 16384 + 100 * document.size());
        EXPECT_EQ(reading, expected) << isStream;
        EXPECT_EQ(contentOf(value), naive.content(value)) << isStream;
        failure = reading.failure;
    }
    return failure;
}

// The text of some bag, or what edits have made of it.
std::wstring randomDocument(Random& random) {
    static const std::wstring kTokens[] = {
        // clang-format off
        L"<", L">", L"</", L"&", L"&amp;", L"&lt;", L"&x;", L" ", L"=", L"'", L"\"", L"-1", L"1e9",
        L"\xFFFF", L"\xD800", L"\n", L"<t>array</t>", L"<c>2</c>", L"<t>array</t><c>64</c>", L"<t>array</t><c>65</c>", L"<c>99999999",
        L"<t>long</t>", L"<t>object</t>", L"<t>datetime</t>", L"<v>", L"</v>", L"<p>", L"<t>x</t>",
        L"<p><k>k</k>", L"</p>", L"<hmap>", L"</hmap>", L"</hmapx>", L"</bag>", L"<bag>", L"<?x?>", L"<!-- x -->",
        L"<v a='b'>", L"<x y>", L"<hmap a=b>", L"<>", L"a='1'b=\"2\" c=", L"20-1-1",
        // clang-format on
    };
    PropertyBag bag;
    random.fill(bag, 4, 4, 3);
    std::wstring document = xmlOf(bag);
    // Some nest about as deep, or leave out about as much, as is allowed.
    const std::size_t dice = random.below(16);
    const std::size_t place = std::min(document.find(L"<t>"), document.size());
    for (std::size_t level = dice == 0 ? 122 + random.below(12) : 0; level > 0; --level) {
        document.insert(place, L"<t>array</t><c>1</c>");
    }
    if (dice == 1) {
        document.insert(place, formatWide(L"<t>array</t><c>%d</c>", 60 + random.below(12)));
    }
    if (random.below(8) > (dice < 2 ? 5U : 0U)) {
        mutate(document, kTokens, random);
    }
    return (random.below(2) == 0 ? L"" : std::wstring(kXmlHeader)) + document;
}

TEST(Readers, randomDocuments_fromRangeAndStream_areReadAsTheDialectSays) {
    Random random(1227);
    std::map<std::string, std::size_t> counts;
    constexpr std::size_t kDocuments = 8000;
    for (std::size_t count = 0; count < kDocuments && !HasFailure(); ++count) {
        PropertyBag bag;
        random.fill(bag, 4, 4, 3);
        PropertyBag back;
        // The end tag's line feed is left.
        ASSERT_EQ(readFromRange(back, xmlOf(bag)), (Reading{"", xmlOf(bag).size() - 1}));
        ASSERT_EQ(xmlOf(back), xmlOf(bag));
        const std::wstring document = randomDocument(random);
        SCOPED_TRACE(random.label() + " " + testing::PrintToString(document));
        ++counts[checkDocument<PropertyBag>(document).substr(0, 12)];
        const std::size_t value = document.find(L"<t>");
        checkDocument<SerializableUnion>(document.substr(value < document.size() ? value : 0));
    }
    // The edits must not be so wild, nor so tame, that one side goes untested.
    std::string covered;
    for (const auto& [failure, count] : counts) {
        covered += std::to_string(count) + " '" + failure + "'; ";
    }
    std::printf("%s\n", covered.c_str());
    EXPECT_GT(counts["failed: dept"], kDocuments / 200) << "nested to the limit";
    EXPECT_GT(counts["failed: impl"], kDocuments / 200) << "claimed more elements than there are";
    EXPECT_GT(counts[""], kDocuments / 50);
    EXPECT_LT(counts[""], kDocuments - kDocuments / 20);
}

// What a document of half a million characters repeats, and what stands around it.
// Readers that look at each character a few times take some milliseconds for
// one; those that go back to the start again and again, minutes.
TEST(Readers, longDocuments_ofAnyConstruct_areReadInTimeInLineWithTheirLength) {
    static const wchar_t* const kConstructs[][3] = {
        // clang-format off
        {L"<bag ", L"a='1'", L">"}, {L"<t a", L"='1' a", L"=1>"}, {L"<bag ", L"a=1 ", L">"},
        {L"<t ", L"a= ", L">"}, {L"<bag a=", L"'", L">"}, {L"<bag a=\"", L"'a=", L">"},
        {L"", L"<?x?>", L"<hmap>"}, {L"", L"<!-- x", L"-->"}, {L"", L"<x>", L"</bag>"},
        {L"", L"text ", L"<t>"}, {L"", L"<", L">"}, {L"", L">", L"<bag>"}, {L"", L" ", L"<t>"},
        {L"<hmap>", L"<p><k>k</k></p>", L"</hmap>"}, {L"<hmap>", L"\t x", L"</hmap>"},
        {L"<hmap><p><k>", L"&amp;k", L"</k>"}, {L"<hmap><p><k>", L"&", L"</k>"},
        {L"<t>string</t><v>", L"&x;", L"</v>"}, {L"<t>string</t><v>", L"&am", L"</v>"},
        {L"<t>double</t><v>", L"1", L"</v>"}, {L"<t>sizet</t><v>", L" ", L"1</v>"},
        {L"<t>double</t><v>0.", L"0", L"1e400</v>"}, {L"<t>datetime</t><v>", L"0", L"</v>"},
        {L"<t>array</t><c>900000</c>", L"<t>long</t>", L""}, {L"", L"<t>array</t><c>65</c>", L""},
        {L"<t>array</t><c>900000</c>", L"<t>null</t> ", L"<v>"},
        // clang-format on
    };
    const std::wstring nested = [] {
        std::wstring arrays;
        for (int level = 0; level < 127; ++level) {
            arrays += L"<t>array</t><c>65</c>";
        }
        return arrays + L"<t>array</t><c>64</c>";
    }();
    const auto check = [](const std::wstring& document) {
        const auto start = std::chrono::steady_clock::now();
        for (const auto& read : kBothReaders) {
            PropertyBag bag;
            read(bag, document);
            SerializableUnion value;
            read(value, document);
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10))
            << testing::PrintToString(document.substr(0, 60));
    };
    for (const auto& [start, repeated, end] : kConstructs) {
        std::wstring document = start;
        while (document.size() < 500000) {
            document += repeated;
        }
        check(document + end);
    }
    // Elements that are missing on each level, all before one far tag.
    check(nested + std::wstring(500000, L'x') + L"<end>");
}

}  // namespace
}  // namespace zustd
