#include "ZuPropertyBag.h"

namespace zustd {

namespace {

constexpr std::wstring_view kTableTag = L"hmap";
constexpr std::wstring_view kTableEnd = L"/hmap";
constexpr std::wstring_view kEntryTag = L"p";
constexpr std::wstring_view kKeyTag = L"k";
constexpr std::wstring_view kEntryStart = L"<p><k>";
constexpr std::wstring_view kKeyEnd = L"</k>";
constexpr std::wstring_view kEntryEnd = L"</p>\n";

// What an entry with its tags takes as a rule; a wrong guess costs a copy of
// the text at the most.
constexpr std::size_t kTypicalEntryLength = 96;

}  // namespace

// --- The XML form ------------------------------------------------------------------

void PropertyBag::appendXml(std::wstring& text) const {
    text.reserve(text.size() + table_.size() * kTypicalEntryLength);
    text.append(L"<bag>\n<hmap>\n");
    for (const Table::Entry& entry : table_) {
        text.append(kEntryStart);
        Xml::appendEscaped(text, entry.key);
        text.append(kKeyEnd);
        entry.value.SerializableUnion::appendXml(text);
        text.append(kEntryEnd);
    }
    text.append(L"</hmap>\n</bag>\n");
}

void PropertyBag::readXml(std::wistream& stream) {
    XmlStream in(stream);
    readFrom(in);
    in.putBack();
}

void PropertyBag::parseXml(const wchar_t*& begin, const wchar_t* end) {
    {
        XmlRange in(begin, end);
        readFrom(in);
    }
    announceAll();
}

void PropertyBag::parse(const std::wstring& text) {
    const wchar_t* begin = text.data();
    parseXml(begin, begin + text.size());
}

// bag = { anyTag - "<hmap>" - "</bag>" } , [ table ] , [ "</bag>" ]
template <class Source>
void PropertyBag::readFrom(Source& in) {
    round_.reset();
    table_.clear();
    std::wstring_view name;
    // Whatever comes before the table: a bag that stayed empty for it would be
    // saved as such.
    while (xml::peekName(in, name) && name != kTableTag && name != L"/bag") {
        xml::skipTag(in);
    }
    if (name == kTableTag) {
        readTable(in);
    }
    // The one closing tag that nobody insists on.
    xml::readTag(in, L"bag", true, false);
}

// table = "<hmap>" , { "<p>" , "<k>" , text , "</k>" , union , "</p>" } , "</hmap>"
template <class Source>
void PropertyBag::readTable(Source& in) {
    std::wstring key;
    std::wstring scratch;
    std::wstring_view name;
    xml::readTag(in, kTableTag, false, true);
    for (;;) {
        if (!xml::takeExactTag(in, kEntryTag, false)) {
            if (xml::peekName(in, name) && name == kTableEnd) {
                break;
            }
            xml::readTag(in, kEntryTag, false, true);
        }
        xml::readTag(in, kKeyTag, false, true);
        key = xml::readText(in, scratch);
        xml::readTag(in, kKeyTag, true, true);
        table_.findOrInsert(key).first.value.readFrom(in);
        xml::readTag(in, kEntryTag, true, true);
    }
    xml::readTag(in, kTableTag, true, true);
}

// --- Getters and setters -------------------------------------------------------------

bool PropertyBag::getString(std::wstring_view key, std::wstring& out,
                            const std::wstring& defaultValue) const {
    const std::wstring* value = peek<std::wstring>(key);
    // The default may be the very string that is filled.
    out = value != nullptr ? *value : defaultValue;
    return value != nullptr;
}

std::uint64_t PropertyBag::getSize(std::wstring_view key, std::uint64_t defaultValue,
                                   bool acceptLong) const {
    const auto* number = acceptLong ? peek<std::int32_t>(key) : nullptr;
    const bool isSize = number != nullptr && *number >= 0;
    return getOr(key, isSize ? static_cast<std::uint64_t>(*number) : defaultValue);
}

void PropertyBag::setArray(std::wstring_view key, const std::vector<SerializableUnion>& value) {
    SerializableUnion::requireReadable(value);
    set(key, value);
}

void PropertyBag::clear(std::wstring_view key) {
    if (SerializableUnion* value = table_.find(key)) {
        *value = SerializableUnion();
        onChanged(key);
    }
}

bool PropertyBag::isNull(std::wstring_view key) const {
    const SerializableUnion* value = table_.find(key);
    return value == nullptr || value->isNull();
}

SerializableUnion PropertyBag::getUnion(std::wstring_view key) const {
    const SerializableUnion* value = table_.find(key);
    return value != nullptr ? *value : SerializableUnion();
}

void PropertyBag::setUnion(std::wstring_view key, const SerializableUnion& value) {
    if (value.isNull()) {
        clear(key);
        return;
    }
    if (value.isObject()) {
        return;
    }
    if (const auto* elements = value.peek<std::vector<SerializableUnion>>()) {
        SerializableUnion::requireReadable(*elements);
    }
    change(
        key, [&](const SerializableUnion& stored) { return stored.equals(value); },
        [&](SerializableUnion& stored) { stored.assign(value); });
}

void PropertyBag::keys(std::vector<std::wstring>& out) const {
    out.clear();
    out.reserve(table_.size());
    for (const Table::Entry& entry : table_) {
        out.emplace_back(std::wstring_view(entry.key));
    }
}

void PropertyBag::announceAll() {
    if (!round_) {
        round_ = std::make_shared<char>();
    }
    const std::weak_ptr<char> round = round_;
    auto entry = table_.begin();
    for (std::size_t left = table_.size(); left > 0 && !round.expired(); --left) {
        onChanged((entry++)->key);
    }
}

}  // namespace zustd
