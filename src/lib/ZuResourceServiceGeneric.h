// The resource service's backend for libraries of compiled-in records.
//
// A namespace's files and the neutral ones that it does not replace stand in one
// map; its string table is parsed when it is first asked for. Nothing that a
// caller holds goes away when another namespace is chosen.
#pragma once

#include "ZuAbstraction.h"
#include "ZuHashMap.h"
#include "ZuResourceService.h"
#include "ZuResources.h"

namespace zustd {

class ResourceServiceGeneric : public Implementation<ResourceService, IResourceServiceImpl> {
public:
    // Makes a backend for the library, joins it to the owner and chooses the
    // namespace by the user's language; false when the library has none for it. The
    // records outlive the owner's use of them.
    static bool install(ResourceService& owner, const ResourceLibrary& library);

    // Looks up in the library's root from now on; no namespace is chosen.
    void setLibrary(const ResourceLibrary& library) noexcept;

    bool selectLocale(std::wstring_view locale) override;
    std::wstring getNamespaceName() const override;
    const FileResource* getFileResource(std::uint64_t identifier) const override;
    std::shared_ptr<const StringTable> getStringTable() const override;

private:
    using FileMap = SizeMap<const FileResource*>;

    const ResourceNamespace& currentNamespace() const;

    const ResourceLibrary* library_ = nullptr;
    const ResourceRoot* root_ = nullptr;
    const ResourceNamespace* namespaceResource_ = nullptr;
    // There whenever a namespace is chosen.
    std::unique_ptr<const FileMap> files_;
    // Null until it is asked for.
    mutable std::shared_ptr<const StringTable> strings_;
};

}  // namespace zustd
