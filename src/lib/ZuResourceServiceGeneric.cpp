#include "ZuResourceServiceGeneric.h"

#include <cstddef>
#include <span>
#include <utility>

#include "ZuEncoder.h"
#include "ZuPlankton.h"
#include "ZuText.h"
#include "ZuXml.h"

namespace zustd {

namespace {

constexpr std::wstring_view kAnyLanguage = L"xx";

std::span<const FileResource> filesOf(const ResourceNamespace& resources) noexcept {
    return {resources.files, static_cast<std::size_t>(resources.fileCount)};
}

std::span<const ResourceNamespace> namespacesOf(const ResourceRoot& root) noexcept {
    return {root.namespaces, static_cast<std::size_t>(root.namespaceCount)};
}

const ResourceRoot* findRoot(const ResourceLibrary& library) noexcept {
    const std::span roots(library.roots, static_cast<std::size_t>(library.rootCount));
    for (const ResourceRoot& root : roots) {
        if (std::wstring_view(root.name) == library.rootName) {
            return &root;
        }
    }
    return nullptr;
}

// The part of a locale's or a namespace's name that names the language.
std::wstring_view languageOf(std::wstring_view name) noexcept {
    return name.substr(0, name.find_first_of(L"-_"));
}

const ResourceNamespace* findNamespace(const ResourceRoot& root,
                                       std::wstring_view language) noexcept {
    for (const ResourceNamespace& candidate : namespacesOf(root)) {
        if (equalsIgnoringAsciiCase(languageOf(candidate.name), language)) {
            return &candidate;
        }
    }
    return nullptr;
}

// Files of another namespace that are there already stay.
void addFiles(const ResourceNamespace& resources, SizeMap<const FileResource*>& files) {
    for (const FileResource& file : filesOf(resources)) {
        files.findOrInsert(file.identifier, &file);
    }
}

// element = "<" name ">" , text , "</" name ">" ; it must be there
template <class Convert>
void readRequiredElement(XmlRange& in, std::wstring_view name, Convert&& convert) {
    xml::readTag(in, name, false, true);
    std::wstring scratch;
    convert(xml::readText(in, scratch));
    xml::readTag(in, name, true, true);
}

// entry = key , text , "</s>" ; the first of two texts under one key stays
void readEntry(XmlRange& in, StringTable& table) {
    std::uint64_t key = 0;
    readRequiredElement(in, L"k", [&](std::wstring_view text) { key = Xml::toSize(text); });
    readRequiredElement(in, L"v", [&](std::wstring_view text) { table.findOrInsert(key, text); });
    xml::readTag(in, L"s", true, true);
}

// table = prolog , "<stringtable>" , { "<s>" , entry } , "</stringtable>"
void readStringTable(const FileResource& file, StringTable& table) {
    std::wstring text;
    Encoder::decodeFrom(
        kEncodingUtf8,
        {reinterpret_cast<const char*>(file.bytes), static_cast<std::size_t>(file.size)}, text);
    const wchar_t* begin = text.data();
    XmlRange in(begin, begin + text.size());
    xml::skipProlog(in);
    xml::readTag(in, L"stringtable", false, true);
    while (xml::readTag(in, L"s", false, false)) {
        readEntry(in, table);
    }
    xml::readTag(in, L"stringtable", true, true);
}

}  // namespace

bool ResourceServiceGeneric::install(ResourceService& owner, const ResourceLibrary& library) {
    auto backend = std::make_unique<ResourceServiceGeneric>();
    backend->setLibrary(library);
    joinImplementation(owner, std::move(backend));
    owner.setLibraryName(library.name);
    return owner.selectUserLocale();
}

void ResourceServiceGeneric::setLibrary(const ResourceLibrary& library) noexcept {
    library_ = &library;
    root_ = findRoot(library);
    namespaceResource_ = nullptr;
    files_.reset();
    strings_.reset();
}

bool ResourceServiceGeneric::selectLocale(std::wstring_view locale) {
    if (root_ == nullptr) {
        return false;
    }
    const std::wstring_view name = locale.empty() ? library_->defaultLocale : locale;
    const ResourceNamespace* neutral = findNamespace(*root_, kAnyLanguage);
    const ResourceNamespace* chosen = findNamespace(*root_, languageOf(name));
    if (chosen == nullptr) {
        chosen = neutral;
    }
    if (chosen == nullptr) {
        return false;
    }
    if (chosen == namespaceResource_) {
        return true;
    }
    auto files = std::make_unique<FileMap>();
    addFiles(*chosen, *files);
    if (neutral != nullptr) {
        addFiles(*neutral, *files);
    }
    files_ = std::move(files);
    strings_.reset();
    namespaceResource_ = chosen;
    return true;
}

std::wstring ResourceServiceGeneric::getNamespaceName() const { return currentNamespace().name; }

const FileResource* ResourceServiceGeneric::getFileResource(std::uint64_t identifier) const {
    currentNamespace();
    const FileResource* const* file = files_->find(identifier);
    return file != nullptr ? *file : nullptr;
}

std::shared_ptr<const StringTable> ResourceServiceGeneric::getStringTable() const {
    const FileResource* file = getFileResource(kStringTableIdentifier);
    if (!strings_) {
        auto table = std::make_shared<StringTable>();
        bool isFinal = true;
        const auto read = [&] {
            try {
                readStringTable(*file, *table);
            } catch (const std::bad_alloc&) {
                isFinal = false;
                throw;
            }
        };
        // Half a table would hide its fault until a text from the other half
        // is needed.
        if (file != nullptr && !guarded(L"ResourceServiceGeneric::getStringTable", read)) {
            table->clear();
        }
        // What memory did not suffice for may be there at the next call.
        if (!isFinal) {
            return table;
        }
        strings_ = std::move(table);
    }
    return strings_;
}

const ResourceNamespace& ResourceServiceGeneric::currentNamespace() const {
    ZU_ASSERT_AS(namespaceResource_ != nullptr, L"namespaceResource_ != 0", ZU_HERE);
    return *namespaceResource_;
}

}  // namespace zustd
