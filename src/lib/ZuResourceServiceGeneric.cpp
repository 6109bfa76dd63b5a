#include "ZuResourceServiceGeneric.h"

#include <algorithm>

#include "ZuEncoder.h"
#include "ZuPlankton.h"
#include "ZuText.h"
#include "ZuXml.h"

namespace zustd {

namespace {

constexpr std::wstring_view kAnyLanguage = L"xx";

// The first record that is what is searched for, or null.
template <class Record, class Is>
const Record* findRecord(const Record* records, std::uint64_t count, Is is) {
    const Record* end = records + static_cast<std::size_t>(count);
    const Record* found = std::find_if(records, end, is);
    return found != end ? found : nullptr;
}

// The part of a locale's or a namespace's name that names the language.
std::wstring_view languageOf(std::wstring_view name) noexcept {
    return name.substr(0, name.find_first_of(L"-_"));
}

const ResourceNamespace* findNamespace(const ResourceRoot& root, std::wstring_view language) {
    return findRecord(root.namespaces, root.namespaceCount, [&](const ResourceNamespace& each) {
        return equalsIgnoringAsciiCase(languageOf(each.name), language);
    });
}

// Files of another namespace that are there already stay.
void addFiles(const ResourceNamespace& resources, SizeMap<const FileResource*>& files) {
    for (std::size_t i = 0; i < resources.fileCount; ++i) {
        files.findOrInsert(resources.files[i].identifier, &resources.files[i]);
    }
}

// element = "<" name ">" , text , "</" name ">" ; it must be there
std::wstring_view readRequiredElement(XmlRange& in, std::wstring_view name, std::wstring& scratch) {
    xml::readTag(in, name, false, true);
    const std::wstring_view text = xml::readText(in, scratch);
    xml::readTag(in, name, true, true);
    return text;
}

// entry = key , text , "</s>" ; the first of two texts under one key stays
void readEntry(XmlRange& in, StringTable& table) {
    std::wstring scratch;
    const std::uint64_t key = Xml::toSize(readRequiredElement(in, L"k", scratch));
    table.findOrInsert(key, readRequiredElement(in, L"v", scratch));
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
    root_ = findRecord(library.roots, library.rootCount, [&](const ResourceRoot& each) {
        return std::wstring_view(each.name) == library.rootName;
    });
    // Without it nobody gets at files and strings.
    namespaceResource_ = nullptr;
}

bool ResourceServiceGeneric::selectLocale(std::wstring_view locale) {
    if (root_ == nullptr) {
        return false;
    }
    const std::wstring_view name = locale.empty() ? library_->defaultLocale : locale;
    const ResourceNamespace* neutral = findNamespace(*root_, kAnyLanguage);
    const ResourceNamespace* own = findNamespace(*root_, languageOf(name));
    const ResourceNamespace* chosen = own != nullptr ? own : neutral;
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
    if (strings_) {
        return strings_;
    }
    auto table = std::make_shared<StringTable>();
    if (file == nullptr || guarded(ZU_OPERATION, [&] { readStringTable(*file, *table); })) {
        strings_ = table;
        return table;
    }
    // Half a table would hide its fault until a text from the other half is needed.
    return std::make_shared<StringTable>();
}

const ResourceNamespace& ResourceServiceGeneric::currentNamespace() const {
    ZU_ASSERT_AS(namespaceResource_ != nullptr, L"namespaceResource_ != 0", ZU_HERE);
    return *namespaceResource_;
}

}  // namespace zustd
