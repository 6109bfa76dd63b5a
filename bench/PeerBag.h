// A settings table as one would build it around an XML library: typed values
// in a standard hash map. Each peer reads it from and writes it to the text
// form of a property bag.
//
// Conversions between text and numbers are the peers' own business in real
// programs, and the C runtime's are slow; here the peers get the fastest ones
// that the standard library has.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>

#include "ZuPropertyBag.h"

namespace bench {

// Year, month, day, hour, minute, second.
using PeerDate = std::array<std::int32_t, 6>;
using PeerValue =
    std::variant<std::monostate, std::wstring, std::int32_t, double, bool, PeerDate, std::uint64_t>;
using PeerBag = std::unordered_map<std::wstring, PeerValue>;

// A value from the name of its kind and its text.
PeerValue peerValue(std::wstring_view kind, std::wstring_view text);

// The name of a value's kind.
const wchar_t* peerKind(const PeerValue& value) noexcept;
// A value's text; it may be written into scratch and lives as long.
const wchar_t* peerText(const PeerValue& value, std::wstring& scratch);

// The readers replace the content of the bag.
void readWithPugixml(const std::wstring& text, PeerBag& bag);
void writeWithPugixml(const PeerBag& bag, std::wstring& text);
// ASCII text only: the library's tables do not know wide characters.
void readWithRapidxml(const std::wstring& text, PeerBag& bag);

// Whether both hold the same keys and values.
bool isSame(const zustd::PropertyBag& ours, const PeerBag& theirs);

}  // namespace bench
