#include <cstddef>

#include "PeerBag.h"
#include "pugixml.hpp"

namespace bench {

namespace {

class StringWriter final : public pugi::xml_writer {
public:
    explicit StringWriter(std::wstring& text) : text_(text) {}
    void write(const void* data, std::size_t size) override {
        text_.append(static_cast<const wchar_t*>(data), size / sizeof(wchar_t));
    }

private:
    std::wstring& text_;
};

void appendElement(pugi::xml_node parent, const wchar_t* name, const wchar_t* text) {
    parent.append_child(name).append_child(pugi::node_pcdata).set_value(text);
}

}  // namespace

void readWithPugixml(const std::wstring& text, PeerBag& bag) {
    bag.clear();
    pugi::xml_document document;
    // The least that the text needs: elements, text and entities.
    document.load_buffer(text.data(), text.size() * sizeof(wchar_t),
                         pugi::parse_minimal | pugi::parse_escapes, pugi::encoding_wchar);
    const pugi::xml_node table = document.child(L"bag").child(L"hmap");
    for (pugi::xml_node entry = table.first_child(); entry; entry = entry.next_sibling()) {
        const pugi::xml_node key = entry.first_child();
        const pugi::xml_node kind = key.next_sibling();
        const pugi::xml_node value = kind.next_sibling();
        bag[key.child_value()] = peerValue(kind.child_value(), value.child_value());
    }
}

void writeWithPugixml(const PeerBag& bag, std::wstring& text) {
    pugi::xml_document document;
    pugi::xml_node table = document.append_child(L"bag").append_child(L"hmap");
    std::wstring scratch;
    for (const auto& [key, value] : bag) {
        pugi::xml_node entry = table.append_child(L"p");
        appendElement(entry, L"k", key.c_str());
        appendElement(entry, L"t", peerKind(value));
        appendElement(entry, L"v", peerText(value, scratch));
    }
    StringWriter writer(text);
    document.save(writer, L"", pugi::format_raw | pugi::format_no_declaration,
                  pugi::encoding_wchar);
}

}  // namespace bench
