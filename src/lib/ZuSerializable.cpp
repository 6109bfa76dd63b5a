#include "ZuSerializable.h"

#include <algorithm>
#include <array>
#include <limits>
#include <ostream>

// Ours, since the library's stands among all that a stream can do.
template void std::basic_ios<wchar_t>::clear(std::ios_base::iostate);

namespace zustd {

namespace {

constexpr std::size_t kWriteReserve = 1024;

// The kinds by number, as they stand in the text form.
constexpr std::array<std::wstring_view, 9> kKindElements = {
    L"<t>null</t>",     L"<t>string</t>", L"<t>long</t>",   L"<t>double</t>", L"<t>bool</t>",
    L"<t>datetime</t>", L"<t>sizet</t>",  L"<t>object</t>", L"<t>array</t>"};

std::wstring_view kindElement(ValueKind kind) noexcept {
    const auto number = static_cast<std::size_t>(kind);
    return kKindElements[number < kKindElements.size() ? number : 0];
}

constexpr std::wstring_view nameIn(std::wstring_view kindElement) noexcept {
    constexpr std::size_t kTags = std::wstring_view(L"<t></t>").size();
    return kindElement.substr(3, kindElement.size() - kTags);
}

// Between the numbers of a date.
constexpr std::wstring_view kDateSeparators = L"-- ::";

// One number of a scanned date: blanks, then a sign and digits, width
// characters at the most. False when there is no digit; text moves past it.
bool scanField(std::wstring_view& text, std::size_t width, std::int32_t& field) {
    text = {std::find_if_not(text.begin(), text.end(), xml::isBlank), text.end()};
    std::size_t size = !text.empty() && (text[0] == L'-' || text[0] == L'+') ? 1 : 0;
    const std::size_t firstDigit = size;
    while (size < width && size < text.size() && text[size] >= L'0' && text[size] <= L'9') {
        ++size;
    }
    if (size == firstDigit) {
        return false;
    }
    field = Xml::toLong(text.substr(0, size));
    text.remove_prefix(size);
    return true;
}

}  // namespace

// --- ISerializable -----------------------------------------------------------------

void detail::writeAppended(const ISerializable& source, std::wostream& stream) {
    std::wstring text;
    text.reserve(kWriteReserve);
    source.appendXml(text);
    // Past the stream's own writers: its width and fill are not the document's,
    // and a program that names one of them is linked with every locale there is.
    const auto size = static_cast<std::streamsize>(text.size());
    if (!stream.good() || stream.rdbuf()->sputn(text.data(), size) != size) {
        stream.setstate(std::ios_base::badbit);
    }
}

void detail::throwNotImplemented() { throwText(L"not implemented", ZU_HERE); }

// --- Single values -------------------------------------------------------------------

void detail::appendText(std::wstring& out, const DateTime& value) {
    const std::array fields = {value.year(), value.month(),  value.day(),
                               value.hour(), value.minute(), value.second()};
    Xml::appendLong(out, fields[0], 4);
    for (std::size_t i = 1; i < fields.size(); ++i) {
        out.push_back(kDateSeparators[i - 1]);
        Xml::appendLong(out, fields[i], 2);
    }
}

void detail::scanText(std::wstring_view text, DateTime& value) {
    std::array<std::int32_t, 6> fields{};
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (!scanField(text, i == 0 ? 4 : 2, fields[i])) {
            break;
        }
        // A blank in the format stands for any white space, scanned with the
        // next field.
        if (i == kDateSeparators.size() || kDateSeparators[i] == L' ') {
            continue;
        }
        if (!text.starts_with(kDateSeparators[i])) {
            break;
        }
        text.remove_prefix(1);
    }
    value = DateTime(fields[0], fields[1], fields[2], fields[3], fields[4], fields[5]);
}

// --- Kinds ---------------------------------------------------------------------------

std::wstring_view kindName(ValueKind kind) noexcept { return nameIn(kindElement(kind)); }

ValueKind kindFromName(std::wstring_view name) noexcept {
    for (std::size_t number = 1; number < kKindElements.size(); ++number) {
        if (name == nameIn(kKindElements[number])) {
            return static_cast<ValueKind>(number);
        }
    }
    return ValueKind::kNull;
}

// --- SerializableUnion -----------------------------------------------------------------

SerializableUnion::SerializableUnion(const SerializableUnion& other) : ReadsItself(other) {
    SerializableUnion::assign(other);
}

SerializableUnion::SerializableUnion(SerializableUnion&& other) noexcept
    : held_(std::move(other.held_)), kind_(std::exchange(other.kind_, ValueKind::kNull)) {}

SerializableUnion& SerializableUnion::operator=(const SerializableUnion& other) {
    assign(other);
    return *this;
}

SerializableUnion& SerializableUnion::operator=(SerializableUnion&& other) noexcept {
    // What was held goes last: other may live inside it.
    SerializableUnion taken(std::move(other));
    std::swap(held_, taken.held_);
    std::swap(kind_, taken.kind_);
    return *this;
}

void SerializableUnion::appendXml(std::wstring& text) const {
    text.append(kindElement(kind()));
    if (held_) {
        held_->appendXml(text);
    }
}

void SerializableUnion::setArraySize(std::int64_t count) {
    constexpr std::int64_t kMost = std::numeric_limits<std::ptrdiff_t>::max();
    store(Elements(static_cast<std::size_t>(std::clamp(count, std::int64_t{0}, kMost))));
}

bool SerializableUnion::tryGetString(std::wstring& out) const {
    out = heldOrEmpty<std::wstring>();
    return isString();
}

std::wstring& SerializableUnion::stringRef() {
    if (!isString()) {
        throwText(L"cannot get reference for null string", ZU_LINE(321));
    }
    return held<std::wstring>();
}

std::vector<SerializableUnion>& SerializableUnion::arrayRef() {
    if (!isArray()) {
        throwText(L"cannot get reference of null array", ZU_LINE(405));
    }
    return held<Elements>();
}

bool SerializableUnion::equals(const SerializableUnion& other) const {
    bool same = kind_ == other.kind_;
    if (same) {
        ValueKinds::visit(kind_, [&]<class T>() { same = held<T>() == other.held<T>(); });
    }
    return same;
}

void SerializableUnion::assign(const SerializableUnion& other) {
    if (this != &other &&
        !ValueKinds::visit(other.kind_, [&]<class T>() { store(T(other.held<T>())); })) {
        takeHeld();
    }
}

void SerializableUnion::requireReadable(const Elements& elements) {
    const xml::DepthGuard guard;
    for (const SerializableUnion& element : elements) {
        ZU_ASSERT_AS(!element.isObject(), L"!isObject()", ZU_HERE);
        if (element.isArray()) {
            requireReadable(element.held<Elements>());
        }
    }
}

// --- SerializableArray -------------------------------------------------------------------

void SerializableArray::appendXml(std::wstring& text) const {
    const xml::DepthGuard guard;
    text.append(L"<c>");
    Xml::appendSize(text, value.size());
    text.append(L"</c>");
    for (const SerializableUnion& element : value) {
        element.appendXml(text);
    }
}

}  // namespace zustd
