#include "PeerBag.h"

#include <charconv>
#include <cstddef>
#include <vector>

namespace bench {

namespace {

template <class Number>
Number numberFrom(std::wstring_view text) {
    std::array<char, 64> digits;
    std::size_t size = 0;
    while (size < text.size() && size < digits.size()) {
        digits[size] = static_cast<char>(text[size]);
        ++size;
    }
    Number number{};
    std::from_chars(digits.data(), digits.data() + size, number);
    return number;
}

// "2016-11-14 16:39:59": every field has its place.
PeerDate dateFrom(std::wstring_view text) {
    constexpr std::array<std::size_t, 6> kPlaces = {0, 5, 8, 11, 14, 17};
    PeerDate date{};
    for (std::size_t i = 0; i < date.size(); ++i) {
        const std::size_t end = kPlaces[i] + (i == 0 ? 4 : 2);
        for (std::size_t at = kPlaces[i]; at < end && at < text.size(); ++at) {
            date[i] = date[i] * 10 + (text[at] - L'0');
        }
    }
    return date;
}

template <class... Number>
void numberTo(std::wstring& out, Number... number) {
    std::array<char, 64> digits;
    char* end = std::to_chars(digits.data(), digits.data() + digits.size(), number...).ptr;
    out.assign(digits.data(), end);
}

void dateTo(std::wstring& out, const PeerDate& date) {
    out = L"0000-00-00 00:00:00";
    constexpr std::array<std::size_t, 6> kLastDigits = {3, 6, 9, 12, 15, 18};
    for (std::size_t i = 0; i < date.size(); ++i) {
        std::size_t at = kLastDigits[i];
        for (std::int32_t rest = date[i]; rest > 0; rest /= 10) {
            out[at--] = static_cast<wchar_t>(L'0' + rest % 10);
        }
    }
}

PeerDate dateOf(const zustd::DateTime& date) {
    return {date.year(), date.month(), date.day(), date.hour(), date.minute(), date.second()};
}

}  // namespace

PeerValue peerValue(std::wstring_view kind, std::wstring_view text) {
    if (kind == L"string") {
        return std::wstring(text);
    }
    if (kind == L"long") {
        return numberFrom<std::int32_t>(text);
    }
    if (kind == L"double") {
        return numberFrom<double>(text);
    }
    if (kind == L"bool") {
        return text == L"y";
    }
    if (kind == L"datetime") {
        return dateFrom(text);
    }
    if (kind == L"sizet") {
        return numberFrom<std::uint64_t>(text);
    }
    return {};
}

const wchar_t* peerKind(const PeerValue& value) noexcept {
    static constexpr std::array<const wchar_t*, 7> kNames = {
        L"null", L"string", L"long", L"double", L"bool", L"datetime", L"sizet"};
    return kNames[value.index()];
}

const wchar_t* peerText(const PeerValue& value, std::wstring& scratch) {
    if (const auto* text = std::get_if<std::wstring>(&value)) {
        return text->c_str();
    }
    if (const auto* truth = std::get_if<bool>(&value)) {
        return *truth ? L"y" : L"n";
    }
    if (const auto* number = std::get_if<std::int32_t>(&value)) {
        numberTo(scratch, *number);
    } else if (const auto* real = std::get_if<double>(&value)) {
        numberTo(scratch, *real, std::chars_format::fixed, 6);
    } else if (const auto* size = std::get_if<std::uint64_t>(&value)) {
        numberTo(scratch, *size);
    } else if (const auto* date = std::get_if<PeerDate>(&value)) {
        dateTo(scratch, *date);
    }
    return scratch.c_str();
}

bool isSame(const zustd::PropertyBag& ours, const PeerBag& theirs) {
    if (ours.size() != theirs.size()) {
        return false;
    }
    for (const auto& [key, value] : theirs) {
        const zustd::SerializableUnion stored = ours.getUnion(key);
        PeerValue own;
        if (stored.isString()) {
            own = stored.getString();
        } else if (stored.isLong()) {
            own = stored.getLong();
        } else if (stored.isDouble()) {
            own = stored.getDouble();
        } else if (stored.isBool()) {
            own = stored.getBool();
        } else if (stored.isDateTime()) {
            own = dateOf(stored.getDateTime());
        } else if (stored.isSizet()) {
            own = stored.getSizet();
        }
        if (own != value) {
            return false;
        }
    }
    return true;
}

}  // namespace bench
