// The service that finds compiled-in files by number and texts by key.
//
// Look-ups are done by a backend that a host installs. They are made in the
// current namespace, chosen by a locale's language alone, the part in front of the
// first "-" or "_" in either case: "de-AT" and "DE_de" choose "de-xx". A language
// without a namespace gets the neutral one, "xx-xx", and so does a file that the
// language's namespace lacks.
//
// What is not there comes out empty. A look-up before a namespace is chosen fails
// the assertion "namespaceResource_ != 0", or "impl_" without a backend. For the
// main thread, as the registry is.
#pragma once

#include "ZuAbstraction.h"
#include "ZuHashMap.h"
#include "ZuResources.h"
#include "ZuService.h"

namespace zustd {

// Texts by key, in the order of the table's file.
using StringTable = SizeMap<std::wstring>;

// What a backend does.
class IResourceServiceImpl : public IBackend {
public:
    // Chooses the namespace for a locale; an empty name stands for the library's
    // default. False, and nothing changed, when the library has none for it.
    virtual bool selectLocale(std::wstring_view locale) = 0;
    // The current namespace's name, such as "de-xx".
    virtual std::wstring getNamespaceName() const = 0;
    // The file with this number, or null. Valid as long as the library.
    virtual const FileResource* getFileResource(std::uint64_t identifier) const = 0;
    // The texts of the current namespace, parsed once; never null. Empty when there
    // is no table or when it cannot be read, which is traced.
    virtual std::shared_ptr<const StringTable> getStringTable() const = 0;
};

// The same for those who look things up.
class IResourceService : public IResourceServiceImpl {
public:
    // One text of the table; empty when it has none under this key.
    virtual std::wstring getString(std::uint64_t key) const = 0;
};

// The text for whoever shows it: empty also when the look-up fails, which is
// traced; nothing is thrown.
std::wstring shownString(const IResourceService& resources, std::uint64_t key);

class ResourceService : public Abstraction<IResourceServiceImpl>,
                        public Service,
                        public IResourceService {
public:
    // Another namespace was chosen: what shows texts or images shows those of
    // before. First word: the service's name of the namespace, a text.
    static const MessageKind kLanguageChanged;

    using Service::Service;
    ~ResourceService() override { releaseImplementation(); }

    // Sends kLanguageChanged when the namespace is another one then.
    bool selectLocale(std::wstring_view locale) override;
    std::wstring getNamespaceName() const override { return implementation().getNamespaceName(); }
    const FileResource* getFileResource(std::uint64_t identifier) const override {
        return implementation().getFileResource(identifier);
    }
    std::shared_ptr<const StringTable> getStringTable() const override {
        return implementation().getStringTable();
    }
    std::wstring getString(std::uint64_t key) const override;

    // selectLocale() with the user's display language; where the system names
    // none, with the locale of his formats.
    bool selectUserLocale();

    // The library that the backend looks things up in; empty before there is one.
    const std::wstring& libraryName() const noexcept { return libraryName_; }
    // For the backend.
    void setLibraryName(std::wstring name) {
        libraryName_ = std::move(name);
        announced_.clear();
    }

private:
    std::wstring libraryName_;
    // The namespace that the sinks know of.
    std::wstring announced_;
};

}  // namespace zustd
