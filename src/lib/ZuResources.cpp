#include "ZuResources.h"

#include <algorithm>

#include "ZuResourceFiles.h"

namespace zustd {

namespace {

// The image that shows a word, so that each language has its own.
constexpr std::uint64_t kLabelIdentifier = 321;

constexpr bool isTableAndLabel(std::span<const FileResource> files) {
    return files.size() == 2 && files[0].identifier == kStringTableIdentifier &&
           files[1].identifier == kLabelIdentifier;
}

// A file that is lost or forgotten on its way into the program shows here. The
// neutral namespace is the last one.
static_assert(std::all_of(resources::kNamespaces.begin(), resources::kNamespaces.end() - 1,
                          &isTableAndLabel),
              "a language of languages.tsv lacks its string table, or its label, which "
              "tools/icons/generate_icons.py makes");
static_assert(resources::kNamespaces.back().size() == 138, "string table and all images");

constinit std::array roots{
    ResourceRoot{L"default", resources::namespaces.size(), resources::namespaces.data()}};

constinit ResourceLibrary library{L"libzueta", L"default", L"en-us", roots.size(), roots.data()};

}  // namespace

ResourceLibrary& compiledInResources() noexcept { return library; }

}  // namespace zustd
