// The files that are compiled into the program and the records that describe them.
//
// A library of resources has roots, a root has namespaces, a namespace has files.
// The name of a namespace is language-region, such as "de-xx", where "xx" stands
// for any: "xx-xx" holds the English texts and all images, the others what differs
// in their language, under the same numbers.
#pragma once

#include <cstdint>

namespace zustd {

// The number of a namespace's string table. Images have numbers from 100 on.
inline constexpr std::uint64_t kStringTableIdentifier = 1;

// One file; the bytes are not terminated.
struct FileResource {
    std::uint64_t identifier;
    std::uint64_t size;
    const unsigned char* bytes;
};

// In all records below a count tells how many entries the pointer behind it
// leads to.

// The files of one language, or those for every language.
struct ResourceNamespace {
    const wchar_t* name;
    std::uint64_t fileCount;
    const FileResource* files;
};

// The namespaces of one product; a library uses one root, by its name.
struct ResourceRoot {
    const wchar_t* name;
    std::uint64_t namespaceCount;
    const ResourceNamespace* namespaces;
};

// A library: its name and its roots, of which one is used.
struct ResourceLibrary {
    const wchar_t* name;
    // Which of the roots is used.
    const wchar_t* rootName;
    // The locale for users who have none.
    const wchar_t* defaultLocale;
    std::uint64_t rootCount;
    const ResourceRoot* roots;
};

// The library that is compiled in, "libzueta". Its records are writable and
// there before the first constructor runs; its bytes are constant data.
ResourceLibrary& compiledInResources() noexcept;

}  // namespace zustd
