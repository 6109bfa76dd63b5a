#include "ZuXml.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <system_error>
#include <utility>

#include "ZuText.h"

namespace zustd {

namespace {

constexpr int kNarrowest = 1;
constexpr int kWidest = 127;
constexpr std::size_t kNumberBuffer = kWidest;
constexpr wchar_t kHexDigits[] = L"0123456789ABCDEF";

constexpr bool needsEscape(wchar_t c) noexcept {
    return c < L' ' || c == L'"' || c == L'&' || c == L'\'' || c == L'<' || c == L'>';
}

// Eight code units at a time, in the registers that every processor of this
// platform has. The masks have two bits for each unit that matches, in order.
constexpr std::ptrdiff_t kBlock = 8;

__m128i loadBlock(const wchar_t* at) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

__m128i equalTo(__m128i block, wchar_t c) noexcept {
    return _mm_cmpeq_epi16(block, _mm_set1_epi16(static_cast<short>(c)));
}

unsigned maskOf(__m128i matches) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(matches));
}

std::ptrdiff_t firstOf(unsigned mask) noexcept { return std::countr_zero(mask) / 2; }

unsigned markupIn(__m128i block) noexcept {
    // "<" and ">" differ in one bit.
    const __m128i folded = block | _mm_set1_epi16(L'<' ^ L'>');
    return maskOf(equalTo(folded, L'>') | equalTo(block, L'&'));
}

unsigned escapesIn(__m128i block) noexcept {
    // Saturating: 0 for all control characters, and for nothing else.
    const __m128i control = equalTo(_mm_subs_epu16(block, _mm_set1_epi16(31)), 0);
    const __m128i quotes = equalTo(block, L'"') | equalTo(block, L'\'');
    return markupIn(block) | maskOf(control | quotes);
}

// The first code unit that must be escaped, or end.
const wchar_t* findEscape(const wchar_t* at, const wchar_t* end) noexcept {
    for (; end - at >= kBlock; at += kBlock) {
        if (const unsigned mask = escapesIn(loadBlock(at)); mask != 0) {
            return at + firstOf(mask);
        }
    }
    return std::find_if(at, end, needsEscape);
}

// Digits of a number, most significant first, in a buffer of its own.
template <unsigned base>
class Digits {
public:
    Digits(std::uint64_t value, int width) noexcept {
        const auto padded = static_cast<std::size_t>(std::clamp(width, kNarrowest, kWidest));
        do {
            buffer_[--first_] = kHexDigits[value % base];
            value /= base;
        } while (value != 0);
        while (kNumberBuffer - first_ < padded) {
            buffer_[--first_] = L'0';
        }
    }
    std::wstring_view view() const noexcept {
        return {buffer_.data() + first_, kNumberBuffer - first_};
    }

private:
    std::array<wchar_t, kNumberBuffer> buffer_;
    std::size_t first_ = kNumberBuffer;
};

// A number of the usual sizes, 0 or from 2^-11 up to 2^53, with six places behind
// the point: exact, ties to the even digit.
struct SixPlaces {
    static constexpr std::uint64_t kMillion = 1'000'000;
    static constexpr std::uint64_t kHalf = 1ULL << 63;

    std::uint64_t whole;
    std::uint64_t millionths;

    static bool fits(double value) noexcept {
        return value == 0 || (value >= 0x1p-11 && value < 0x1p53);
    }
    explicit SixPlaces(double value) noexcept {
        const auto integer = static_cast<std::int64_t>(value);
        // The fraction in units of 2^-63, times a million, in two halves.
        const double part = (value - static_cast<double>(integer)) * 0x1p63;
        const auto fraction = static_cast<std::uint64_t>(static_cast<std::int64_t>(part));
        const std::uint64_t low = (fraction & 0xFFFFFFFF) * kMillion;
        const std::uint64_t high = (fraction >> 32) * kMillion + (low >> 32);
        // What lies behind the places; the lowest bit stands for all that are smaller.
        const std::uint64_t rest = high << 33 | std::uint64_t{(low & 0xFFFFFFFF) != 0};
        millionths = high >> 31;
        millionths += rest > kHalf || (rest == kHalf && millionths % 2 != 0) ? 1U : 0U;
        whole = static_cast<std::uint64_t>(integer) + millionths / kMillion;
        millionths %= kMillion;
    }
};

std::wstring_view skipSpace(std::wstring_view text) noexcept {
    return {std::find_if_not(text.begin(), text.end(), xml::isBlank), text.end()};
}

// [sign] digits, as far as they go; the magnitude stays at its largest value
// once it has overflowed.
struct ScannedInteger {
    bool negative = false;
    bool isTooLarge = false;
    std::uint64_t magnitude = 0;
};

ScannedInteger scanInteger(std::wstring_view text) noexcept {
    constexpr std::uint64_t kLargest = std::numeric_limits<std::uint64_t>::max();
    ScannedInteger result;
    text = skipSpace(text);
    if (!text.empty() && (text[0] == L'-' || text[0] == L'+')) {
        result.negative = text[0] == L'-';
        text.remove_prefix(1);
    }
    for (const wchar_t c : text) {
        if (c < L'0' || c > L'9') {
            break;
        }
        const auto digit = static_cast<std::uint64_t>(c - L'0');
        if (result.magnitude > (kLargest - digit) / 10) {
            result.magnitude = kLargest;
            result.isTooLarge = true;
            break;
        }
        result.magnitude = result.magnitude * 10 + digit;
    }
    return result;
}

// Of a decimal number that no double holds: whether it is too large for one,
// not too small.
bool isBeyondOne(std::string_view number) noexcept {
    const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
    const std::size_t point = std::min(number.find('.'), mark);
    std::string_view exponent = number.substr(std::min(mark + 1, number.size()));
    if (exponent.starts_with('+')) {
        exponent.remove_prefix(1);
    }
    std::int64_t power = 0;
    const auto [end, failure] =
        std::from_chars(exponent.data(), exponent.data() + exponent.size(), power);
    if (failure == std::errc::result_out_of_range) {
        return !exponent.starts_with('-');
    }
    return power > static_cast<std::int64_t>(number.find_first_of("123456789")) -
                       static_cast<std::int64_t>(point);
}

constexpr std::wstring_view kSpaces = L" \n\r\t";

// attributes = { space , name , "=" , { space } , attributeValue } , { space }
// attributeValue = quoted | unquoted
// Calls take(name, value) for each; false when the text is no such list.
template <class Take>
bool eachAttribute(std::wstring_view text, Take&& take) {
    const auto skipSpaces = [&text](std::size_t from) {
        text.remove_prefix(std::min(text.find_first_not_of(kSpaces, from), text.size()));
    };
    for (skipSpaces(0); !text.empty(); skipSpaces(0)) {
        const std::size_t equals = text.find_first_of(L"= \n\r\t");
        if (equals == std::wstring_view::npos || equals == 0 || text[equals] != L'=') {
            return false;
        }
        const std::wstring_view name = text.substr(0, equals);
        skipSpaces(equals + 1);
        const bool isQuoted = text.starts_with(L'"') || text.starts_with(L'\'');
        const std::size_t end =
            isQuoted ? text.find(text[0], 1) : std::min(text.find_first_of(kSpaces), text.size());
        if (end == std::wstring_view::npos) {
            return false;
        }
        const std::size_t quote = isQuoted ? 1 : 0;
        take(name, text.substr(quote, end - quote));
        text.remove_prefix(end + quote);
    }
    return true;
}

using Traits = std::wstreambuf::traits_type;

constinit thread_local int depth = 0;

}  // namespace

// --- Writing ------------------------------------------------------------------

void Xml::appendTag(std::wstring& out, std::wstring_view name, bool closing) {
    out.append(closing ? L"</" : L"<").append(name).push_back(L'>');
}

void Xml::escapeXmlChar(std::wstring& out, wchar_t c) {
    const auto* const entity =
        std::find_if(std::begin(xml::kEntities), std::end(xml::kEntities),
                     [c](const xml::Entity& each) { return each.character == c; });
    if (entity != std::end(xml::kEntities)) {
        out.append(entity->text);
    } else if (c == L'\n') {
        out.append(L"\\n");
    } else if (c < L' ') {
        out.append(L"\\").append(Digits<16>(c, 2).view());
    } else {
        out.push_back(c);
    }
}

void Xml::appendEscaped(std::wstring& out, std::wstring_view text) {
    const wchar_t* at = text.data();
    const wchar_t* const end = at + text.size();
    for (;;) {
        const wchar_t* const plain = std::exchange(at, findEscape(at, end));
        out.append(plain, at);
        if (at == end) {
            return;
        }
        escapeXmlChar(out, *at++);
    }
}

void Xml::appendLong(std::wstring& out, std::int32_t value, int width) {
    if (value < 0) {
        out.push_back(L'-');
        // The sign counts towards a width.
        width = std::clamp(width, kNarrowest, kWidest) - 1;
    }
    const auto magnitude = static_cast<std::uint64_t>(std::abs(std::int64_t{value}));
    out.append(Digits<10>(magnitude, width).view());
}

void Xml::appendLongHex(std::wstring& out, std::uint32_t value, int width) {
    out.append(Digits<16>(value, width).view());
}

void Xml::appendSize(std::wstring& out, std::uint64_t value, int width) {
    out.append(Digits<10>(value, width).view());
}

void Xml::appendSizeHex(std::wstring& out, std::uint64_t value, int width) {
    out.append(Digits<16>(value, width).view());
}

// The library's own writer of doubles would be a tenth of the executable.
void Xml::appendDouble(std::wstring& out, double value) {
    if (const double magnitude = std::fabs(value); SixPlaces::fits(magnitude)) {
        const SixPlaces places(magnitude);
        out.append(std::signbit(value) ? L"-" : L"").append(Digits<10>(places.whole, 1).view());
        out.append(L".").append(Digits<10>(places.millionths, 6).view());
        return;
    }
    const std::string digits = formatNarrow("%.6f", value);
    out.append(digits.begin(), digits.end());
}

// --- Values from text ----------------------------------------------------------

std::int32_t Xml::toLong(std::wstring_view text) noexcept {
    constexpr std::int64_t kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t kHighest = std::numeric_limits<std::int32_t>::max();
    const ScannedInteger scanned = scanInteger(text);
    const auto magnitude = static_cast<std::int64_t>(
        std::min(scanned.magnitude, static_cast<std::uint64_t>(-kLowest)));
    return static_cast<std::int32_t>(
        std::clamp(scanned.negative ? -magnitude : magnitude, kLowest, kHighest));
}

std::uint64_t Xml::toSize(std::wstring_view text) noexcept {
    const ScannedInteger scanned = scanInteger(text);
    // A negative number wraps around, as it always has in this format; one that
    // is too large is the largest, whatever its sign.
    return scanned.negative && !scanned.isTooLarge ? 0 - scanned.magnitude : scanned.magnitude;
}

double Xml::toDouble(std::wstring_view text) {
    text = skipSpace(text);
    if (text.starts_with(L'+') && !text.starts_with(L"+-")) {
        text.remove_prefix(1);
    }
    const auto isPlain = [](wchar_t c) { return c > 32 && c < 127; };
    const auto plainEnd = std::find_if_not(text.begin(), text.end(), isPlain);
    std::string digits;
    std::transform(text.begin(), plainEnd, std::back_inserter(digits),
                   [](wchar_t c) { return static_cast<char>(c); });
    const char* const begin = digits.data();
    double value = 0.0;
    const auto [end, failure] = std::from_chars(begin, begin + digits.size(), value);
    if (failure == std::errc::result_out_of_range) {
        const std::string_view number(begin, static_cast<std::size_t>(end - begin));
        value = isBeyondOne(number) ? std::numeric_limits<double>::infinity() : 0.0;
        return number.starts_with('-') ? -value : value;
    }
    return value;
}

bool Xml::toBool(std::wstring_view text) noexcept {
    return text.starts_with(L'y') || text.starts_with(L'Y');
}

// --- Reading --------------------------------------------------------------------

bool Xml::readTag(const wchar_t*& begin, const wchar_t* end, std::wstring_view name, bool closing,
                  bool mustMatch) {
    XmlRange in(begin, end);
    return xml::readTag(in, name, closing, mustMatch);
}

bool Xml::readTag(std::wistream& stream, std::wstring_view name, bool closing, bool mustMatch) {
    XmlStream in(stream);
    const bool taken = xml::readTag(in, name, closing, mustMatch);
    in.putBack();
    return taken;
}

void Xml::readText(const wchar_t*& begin, const wchar_t* end, std::wstring& out) {
    XmlRange in(begin, end);
    std::wstring scratch;
    out = xml::readText(in, scratch);
}

void Xml::readText(std::wistream& stream, std::wstring& out) {
    XmlStream in(stream);
    std::wstring scratch;
    out = xml::readText(in, scratch);
    in.putBack();
}

bool Xml::peekTag(std::wistream& stream, std::wstring& name) {
    XmlStream in(stream);
    std::wstring_view found;
    name.clear();
    if (xml::peekName(in, found)) {
        name = found;
    }
    return in.tryPutBack() && !name.empty();
}

bool Xml::parseAttributes(std::wstring_view text, std::vector<XmlAttribute>& out) {
    return eachAttribute(text, [&out](std::wstring_view name, std::wstring_view value) {
        out.push_back({std::wstring(name), std::wstring(value)});
    });
}

// --- Character sources -----------------------------------------------------------

const wchar_t* XmlRange::findMarkup(const wchar_t* at, const wchar_t* end) noexcept {
    for (; end - at >= kBlock; at += kBlock) {
        if (const unsigned mask = markupIn(loadBlock(at)); mask != 0) {
            return at + firstOf(mask);
        }
    }
    return std::find_if(at, end, [](wchar_t c) { return c == L'<' || c == L'>' || c == L'&'; });
}

bool XmlStream::see() {
    const auto c = ended_ ? Traits::eof() : buffer_.sgetc();
    ended_ = Traits::eq_int_type(c, Traits::eof());
    if (!ended_) {
        seen_.push_back(Traits::to_char_type(c));
        buffer_.sbumpc();
    }
    return !ended_;
}

bool XmlStream::takeLiteral(std::wstring_view literal) {
    const std::size_t start = at_;
    for (const wchar_t c : literal) {
        if (peek() != static_cast<int>(c)) {
            at_ = start;
            return false;
        }
        skip();
    }
    return true;
}

void XmlStream::skipPlain() {
    int c = peek();
    while (c != L'<' && c != L'>' && c != L'&' && c != kEnd) {
        skip();
        c = peek();
    }
}

XmlStream::Mark XmlStream::mark() {
    seen_.erase(0, at_);
    forgotten_ += std::exchange(at_, 0);
    return forgotten_;
}

bool XmlStream::tryPutBack() {
    const std::size_t count = seen_.size() - at_;
    for (; seen_.size() > at_; seen_.pop_back()) {
        if (Traits::eq_int_type(buffer_.sungetc(), Traits::eof())) {
            ZU_TRACE(
                L"Xml::peekTag: insufficient putback space in streambuf; need at least %lld "
                L"putbackchars",
                static_cast<long long>(count));
            return false;
        }
    }
    return true;
}

void XmlStream::putBack() {
    if (!tryPutBack()) {
        throwText(L"Xml: insufficient putback space in streambuf", ZU_HERE);
    }
}

// --- The grammar -------------------------------------------------------------------

namespace xml {

bool matchesTag(std::wstring_view text, std::wstring_view name, bool closing) {
    const std::size_t blank = text.find(L' ');
    if (blank != std::wstring_view::npos) {
        const bool attributesOK = eachAttribute(text.substr(blank + 1), [](auto, auto) {});
        ZU_ASSERT(attributesOK);
    }
    if (closing) {
        return text.starts_with(L'/') && text.substr(1) == name;
    }
    return text.substr(0, blank) == name;
}

void throwTagMismatch(std::wstring_view name, bool closing, std::wstring_view found) {
    std::wstring message;
    Xml::appendTag(message, name, closing);
    message += L" expected, but found ";
    Xml::appendTag(message, found);
    throwInvalidArgument(message, ZU_HERE);
}

DepthGuard::DepthGuard() {
    check();
    ++depth;
}

DepthGuard::~DepthGuard() { --depth; }

void DepthGuard::check() { ZU_ASSERT_AS(depth < kMaxDepth, L"depth <= kMaxDepth", ZU_HERE); }

}  // namespace xml

}  // namespace zustd
