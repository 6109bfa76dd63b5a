#include <vector>

#include "PeerBag.h"
#include "rapidxml/rapidxml.hpp"

namespace bench {

namespace {

std::wstring_view textOf(const rapidxml::xml_node<wchar_t>* node) {
    return node != nullptr ? std::wstring_view(node->value(), node->value_size())
                           : std::wstring_view();
}

}  // namespace

void readWithRapidxml(const std::wstring& text, PeerBag& bag) {
    bag.clear();
    // The library parses in place.
    std::vector<wchar_t> buffer(text.c_str(), text.c_str() + text.size() + 1);
    rapidxml::xml_document<wchar_t> document;
    document.parse<rapidxml::parse_no_data_nodes>(buffer.data());
    const auto* table = document.first_node()->first_node();
    for (const auto* entry = table->first_node(); entry != nullptr; entry = entry->next_sibling()) {
        const auto* key = entry->first_node();
        const auto* kind = key->next_sibling();
        bag[std::wstring(textOf(key))] = peerValue(textOf(kind), textOf(kind->next_sibling()));
    }
}

}  // namespace bench
