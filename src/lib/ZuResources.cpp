#include "ZuResources.h"

#include <array>
#include <iterator>

#include "ZuResourceFiles.h"

namespace zustd {

namespace {

// The image that shows a word, so that each language has its own.
constexpr std::uint64_t kLabelIdentifier = 321;

template <std::size_t kCount>
constexpr bool isTableAndLabel(const FileResource (&files)[kCount]) {
    return kCount == 2 && files[0].identifier == kStringTableIdentifier &&
           files[1].identifier == kLabelIdentifier;
}

// A file that is lost or forgotten on its way into the program shows here.
static_assert(isTableAndLabel(resources::de_xx::kFiles));
static_assert(isTableAndLabel(resources::fr_xx::kFiles));
static_assert(isTableAndLabel(resources::nl_xx::kFiles));
static_assert(std::size(resources::xx_xx::kFiles) == 138, "string table and all images");

// The writable records, copies of the constant ones.
constinit auto germanFiles = std::to_array(resources::de_xx::kFiles);
constinit auto frenchFiles = std::to_array(resources::fr_xx::kFiles);
constinit auto dutchFiles = std::to_array(resources::nl_xx::kFiles);
constinit auto neutralFiles = std::to_array(resources::xx_xx::kFiles);

constinit std::array namespaces{
    ResourceNamespace{L"de-xx", germanFiles.size(), germanFiles.data()},
    ResourceNamespace{L"fr-xx", frenchFiles.size(), frenchFiles.data()},
    ResourceNamespace{L"nl-xx", dutchFiles.size(), dutchFiles.data()},
    ResourceNamespace{L"xx-xx", neutralFiles.size(), neutralFiles.data()},
};

constinit std::array roots{ResourceRoot{L"default", namespaces.size(), namespaces.data()}};

constinit ResourceLibrary library{L"libzueta", L"default", L"en-us", roots.size(), roots.data()};

}  // namespace

ResourceLibrary& compiledInResources() noexcept { return library; }

}  // namespace zustd
