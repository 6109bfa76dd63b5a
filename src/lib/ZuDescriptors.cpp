#include "ZuDescriptors.h"

#include "ZuResourceService.h"

namespace zustd {

std::wstring TextDescriptor::text(const ServiceLocator& locator) const {
    if (resource_.identifier == 0) {
        return literal_;
    }
    const auto resources = locator.getService<IResourceService>();
    return resources ? shownString(*resources, resource_.identifier) : std::wstring();
}

bool TextDescriptor::show(const ResourceDescriptor& resource, const std::wstring& literal) {
    if (resource_.identifier == resource.identifier && literal_ == literal) {
        return false;
    }
    resource_ = resource;
    literal_ = literal;
    announcePropertyChanged(L"text", false);
    return true;
}

}  // namespace zustd
