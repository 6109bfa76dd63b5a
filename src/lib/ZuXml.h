// The framework's small XML dialect: elements and text, nothing else.
//
// Every setting is kept in this dialect; docs/formats/xml-dialect.md gives its
// grammar. The functions that read it are templates over two character sources: a
// range in memory (XmlRange) and a wide input stream (XmlStream).
//
// Lenient on purpose: text between elements is passed over, an open tag may be
// missing (the value then keeps what it had), the header line and comments
// before a document are stepped over. Strict on purpose: a closing tag must be
// there, attributes must parse, a tag must end. Strictness comes out as
// std::invalid_argument ("</v> expected, but found <p>") or as a failed
// assertion; the Loader turns both into false.
//
// Every reader looks at each character a bounded number of times.
//
// Escaping is not symmetric: control characters are written as a backslash and
// their code, and read back as just these, on which older files rely.
#pragma once

#include <cstring>
#include <istream>
#include <streambuf>
#include <vector>

#include "ZuPlankton.h"

namespace zustd {

// One name="value" of a tag.
struct XmlAttribute {
    std::wstring name;
    std::wstring value;
};

// What every file in the dialect begins with, line feed included.
inline constexpr std::wstring_view kXmlHeader = L"<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n";

class Xml {
public:
    // --- Writing: each appends to the caller's string -----------------------

    // "<name>" or "</name>".
    static void appendTag(std::wstring& out, std::wstring_view name, bool closing = false);

    // One character as it stands in element text.
    static void escapeXmlChar(std::wstring& out, wchar_t c);
    static void appendEscaped(std::wstring& out, std::wstring_view text);

    // Decimal and upper-case hexadecimal numbers, zero-padded to a width; a
    // width below 1 means no padding, one above 127 counts as 127.
    static void appendLong(std::wstring& out, std::int32_t value, int width = 1);
    static void appendLongHex(std::wstring& out, std::uint32_t value, int width = 1);
    static void appendSize(std::wstring& out, std::uint64_t value, int width = 1);
    static void appendSizeHex(std::wstring& out, std::uint64_t value, int width = 1);
    // Six decimals.
    static void appendDouble(std::wstring& out, double value);

    // --- Values from text: what does not scan is 0 ---------------------------

    // Decimal, with a sign; beyond the range of the type its nearest end. A size
    // below 0 wraps around.
    static std::int32_t toLong(std::wstring_view text) noexcept;
    static std::uint64_t toSize(std::wstring_view text) noexcept;
    // An infinity beyond the range of the type.
    static double toDouble(std::wstring_view text);
    // True when the text begins with "y" or "Y".
    static bool toBool(std::wstring_view text) noexcept;

    // --- Reading -------------------------------------------------------------

    // Takes the next tag when it is <name> (closing: </name>) and returns whether
    // it was. On another tag or at the end of the input: with mustMatch throws
    // std::invalid_argument, without it the position stays. A begin that is past
    // the end fails an assertion.
    //
    // A stream that cannot put back another tag and the text before it throws the
    // text "Xml: insufficient putback space in streambuf"; both are lost.
    static bool readTag(const wchar_t*& begin, const wchar_t* end, std::wstring_view name,
                        bool closing, bool mustMatch);
    static bool readTag(std::wistream& stream, std::wstring_view name, bool closing,
                        bool mustMatch);

    // Replaces out by the element text up to the next "<" or ">", entities decoded.
    // An "&" that starts none of the five entities is dropped in a range; in a
    // stream, which must be able to put back one character, it ends the text.
    static void readText(const wchar_t*& begin, const wchar_t* end, std::wstring& out);
    static void readText(std::wistream& stream, std::wstring& out);

    // The name of the next tag, without taking anything; false when there is none,
    // and, with a trace line, when the stream cannot put it back.
    static bool peekTag(std::wistream& stream, std::wstring& name);

    // What stands behind a tag's name. False when it is no list of
    // attributes; out then holds those before the fault.
    static bool parseAttributes(std::wstring_view text, std::vector<XmlAttribute>& out);
};

// --- Character sources --------------------------------------------------------
//
// A source knows where it is (mark), can go back to the place marked last
// (rewind), and collects the characters that it steps over into a token. skip()
// steps over what peek() gave, takeLiteral() over the text given if it comes next,
// skipPlain() over everything up to the next "<", ">" or "&".

// The characters between two pointers.
class XmlRange {
public:
    using Mark = const wchar_t*;
    static constexpr int kEnd = -1;
    static constexpr bool kUnknownEntityEndsText = false;

    // Moves begin past what was read when the source goes out of scope.
    XmlRange(const wchar_t*& begin, const wchar_t* end) : begin_(begin), at_(begin), end_(end) {
        ZU_ASSERT_AS(at_ <= end_, L"sourcePos <= sourceEnd", ZU_LINE(1227));
    }
    XmlRange& operator=(XmlRange&&) = delete;
    ~XmlRange() { begin_ = at_; }

    // What the grammar asks of a source.
    int peek() const noexcept { return at_ != end_ ? static_cast<int>(*at_) : kEnd; }
    void skip() noexcept { ++at_; }
    bool takeLiteral(std::wstring_view literal) noexcept {
        if (static_cast<std::size_t>(end_ - at_) < literal.size() ||
            std::memcmp(at_, literal.data(), literal.size() * sizeof(wchar_t)) != 0) {
            return false;
        }
        at_ += literal.size();
        return true;
    }
    void skipPlain() noexcept { at_ = findMarkup(at_, end_); }
    Mark mark() const noexcept { return at_; }
    void rewind(Mark mark) noexcept { at_ = mark; }
    void startToken() noexcept { token_ = at_; }
    // Valid as long as the range.
    std::wstring_view token() const noexcept {
        return {token_, static_cast<std::size_t>(at_ - token_)};
    }

private:
    // The first "<", ">" or "&", or end.
    static const wchar_t* findMarkup(const wchar_t* at, const wchar_t* end) noexcept;

    const wchar_t*& begin_;
    const wchar_t* at_;
    const wchar_t* end_;
    const wchar_t* token_ = nullptr;
};

// Keeps what it has looked at and not taken, and puts it back when it is done.
class XmlStream {
public:
    using Mark = std::size_t;
    static constexpr int kEnd = -1;
    static constexpr bool kUnknownEntityEndsText = true;

    // The stream outlives the source. The code unit FFFF reads as the end: wide
    // streams of this platform do not tell it from theirs.
    explicit XmlStream(std::wistream& stream) : buffer_(*stream.rdbuf()) {}
    XmlStream& operator=(XmlStream&&) = delete;

    // What the grammar asks of a source.
    int peek() { return at_ != seen_.size() || see() ? static_cast<int>(seen_[at_]) : kEnd; }
    void skip() noexcept { ++at_; }
    bool takeLiteral(std::wstring_view literal);
    void skipPlain();
    // Forgets what lies before.
    Mark mark();
    void rewind(Mark mark) noexcept { at_ = mark - forgotten_; }
    void startToken() noexcept { token_ = at_; }
    // Valid until more is looked at.
    std::wstring_view token() const noexcept {
        return std::wstring_view(seen_).substr(token_, at_ - token_);
    }

    // Gives the stream back what was not taken. Where it refuses, a trace line
    // says how much it would have needed, and the result is false.
    bool tryPutBack();
    // The same, but throws a std::wstring. To be called when all is read; after
    // a failure the stream stands behind what was looked at.
    void putBack();

private:
    // Takes one more character from the stream; false at its end, for good.
    bool see();

    std::wstreambuf& buffer_;
    bool ended_ = false;
    std::wstring seen_;
    std::size_t at_ = 0;
    std::size_t token_ = 0;
    std::size_t forgotten_ = 0;
};

// --- The grammar -----------------------------------------------------------------

namespace xml {

// How deep values may nest: beyond any real setting, below what the stack holds.
inline constexpr int kMaxDepth = 128;

// Named, since a constant knows its length and a literal would count it anew.
inline constexpr std::wstring_view kTagOpen = L"<";
inline constexpr std::wstring_view kClosingTagOpen = L"</";
inline constexpr std::wstring_view kTagClose = L">";

// What may stand before a tag.
inline constexpr bool isSpace(int c) noexcept {
    return c <= L' ' && (c == L' ' || c == L'\n' || c == L'\r' || c == L'\t');
}

// What may stand before a number.
inline constexpr bool isBlank(int c) noexcept { return isSpace(c) || c == L'\v' || c == L'\f'; }

// exactTag = { space } , "<" , [ "/" ] , name , ">"
template <class Source>
inline bool takeExactTag(Source& in, std::wstring_view name, bool closing) {
    const auto start = in.mark();
    while (isSpace(in.peek())) {
        in.skip();
    }
    if (in.takeLiteral(closing ? kClosingTagOpen : kTagOpen) && in.takeLiteral(name) &&
        in.takeLiteral(kTagClose)) {
        return true;
    }
    in.rewind(start);
    return false;
}

// anyTag = { character - "<" } , "<" , { character - ">" } , ">"
// The text between the brackets; false at the end of the input. A tag that
// does not end fails an assertion.
template <class Source>
bool takeAnyTag(Source& in, std::wstring_view& text) {
    int c = in.peek();
    while (c != Source::kEnd && c != L'<') {
        in.skip();
        c = in.peek();
    }
    if (c == Source::kEnd) {
        return false;
    }
    in.skip();
    in.startToken();
    c = in.peek();
    while (c != Source::kEnd && c != L'>') {
        in.skip();
        c = in.peek();
    }
    ZU_ASSERT_AS(c != Source::kEnd, L"sourcePos <= sourceEnd", ZU_LINE(1227));
    text = in.token();
    return true;
}

// Whether a tag's text, name and attributes, is the expected tag. Attributes
// that do not parse fail the assertion "attributesOK" whatever the name.
bool matchesTag(std::wstring_view text, std::wstring_view name, bool closing);

// Throws std::invalid_argument that names both tags.
[[noreturn]] void throwTagMismatch(std::wstring_view name, bool closing, std::wstring_view found);

// otherTag = anyTag
template <class Source>
bool readOtherTag(Source& in, std::wstring_view name, bool closing, bool mustMatch) {
    const auto start = in.mark();
    std::wstring_view text;
    const bool found = takeAnyTag(in, text);
    if (found && matchesTag(text, name, closing)) {
        in.skip();
        return true;
    }
    if (mustMatch) {
        throwTagMismatch(name, closing, found ? text : std::wstring_view());
    }
    in.rewind(start);
    return false;
}

// tag = exactTag | otherTag
// Well-formed input has exact tags: they are taken without a call.
template <class Source>
inline bool readTag(Source& in, std::wstring_view name, bool closing, bool mustMatch) {
    return takeExactTag(in, name, closing) || readOtherTag(in, name, closing, mustMatch);
}

// What an entity's text stands for.
struct Entity {
    std::wstring_view text;
    wchar_t character;
};
inline constexpr Entity kEntities[] = {
    {L"&lt;", L'<'}, {L"&gt;", L'>'}, {L"&apos;", L'\''}, {L"&quot;", L'"'}, {L"&amp;", L'&'}};

// entity = "&lt;" | "&gt;" | "&apos;" | "&quot;" | "&amp;" ; 0 when it is none
template <class Source>
wchar_t takeEntity(Source& in) {
    for (const Entity& entity : kEntities) {
        if (in.takeLiteral(entity.text)) {
            return entity.character;
        }
    }
    return 0;
}

// unknownEntity = "&" , { character - ";" - "<" - ">" } , [ ";" ]
template <class Source>
void skipUnknownEntity(Source& in) {
    int c = in.peek();
    while (c != Source::kEnd && c != L';' && c != L'<' && c != L'>') {
        in.skip();
        c = in.peek();
    }
    if (c == L';') {
        in.skip();
    }
}

// plain = { character - "<" - ">" - "&" }
template <class Source>
std::wstring_view takePlainText(Source& in) {
    in.startToken();
    in.skipPlain();
    return in.token();
}

// text = plain , { ( entity | "&" ) , plain }
// The result points into the source or into scratch and is valid until either
// is used again.
template <class Source>
std::wstring_view readText(Source& in, std::wstring& scratch) {
    const std::wstring_view plain = takePlainText(in);
    if (in.peek() != L'&') {
        return plain;
    }
    scratch.assign(plain);
    while (in.peek() == L'&') {
        if (const wchar_t c = takeEntity(in); c != 0) {
            scratch.push_back(c);
        } else if (Source::kUnknownEntityEndsText) {
            skipUnknownEntity(in);
            return scratch;
        } else {
            in.skip();
        }
        scratch.append(takePlainText(in));
    }
    return scratch;
}

// The name of the next tag, valid as a token is; nothing is taken. False without one.
template <class Source>
bool peekName(Source& in, std::wstring_view& name) {
    const auto start = in.mark();
    int c = in.peek();
    while (c != Source::kEnd && c != L'<') {
        in.skip();
        c = in.peek();
    }
    const bool found = c == L'<';
    name = {};
    if (found) {
        in.skip();
        in.startToken();
        c = in.peek();
        while (c != Source::kEnd && c != L'<' && c != L'>' && !isSpace(c)) {
            in.skip();
            c = in.peek();
        }
        name = in.token();
    }
    in.rewind(start);
    return found;
}

// declaration = anyTag beginning with "?" or "!"
inline bool isDeclaration(std::wstring_view tag) noexcept {
    return tag.starts_with(L'?') || tag.starts_with(L'!');
}

// Steps over the next tag, whatever its name. Nobody looks at what stands in a
// declaration; the attributes of any other tag must parse.
template <class Source>
void skipTag(Source& in) {
    std::wstring_view text;
    if (takeAnyTag(in, text)) {
        isDeclaration(text) || matchesTag(text, {}, false);
        in.skip();
    }
}

// prolog = { declaration }
// The header line, and comments.
template <class Source>
void skipProlog(Source& in) {
    std::wstring_view name;
    while (peekName(in, name) && isDeclaration(name)) {
        skipTag(in);
    }
}

// value = [ "<" name ">" , text , "</" name ">" ]
// Calls convert(text) when the element is there.
template <class Source, class Convert>
void readElement(Source& in, std::wstring_view name, Convert&& convert) {
    if (readTag(in, name, false, false)) {
        std::wstring scratch;
        convert(readText(in, scratch));
        readTag(in, name, true, true);
    }
}

// Counts how deep values nest; fails an assertion beyond kMaxDepth.
class DepthGuard {
public:
    DepthGuard();
    DepthGuard& operator=(DepthGuard&&) = delete;
    ~DepthGuard();
    // Fails as one more guard would.
    static void check();
};

}  // namespace xml

}  // namespace zustd
