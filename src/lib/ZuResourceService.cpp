#include "ZuResourceService.h"

#include "ZuWindows.h"

namespace zustd {

namespace {

// Empty when the system names none.
std::wstring userLocaleName() {
    wchar_t name[LOCALE_NAME_MAX_LENGTH] = L"";
    const int length = GetUserDefaultLocaleName(name, LOCALE_NAME_MAX_LENGTH);
    return length > 0 ? name : L"";
}

}  // namespace

bool ResourceService::selectLocale(std::wstring_view locale) {
    return implementation().selectLocale(locale);
}

std::wstring ResourceService::getNamespaceName() const {
    return implementation().getNamespaceName();
}

const FileResource* ResourceService::getFileResource(std::uint64_t identifier) const {
    return implementation().getFileResource(identifier);
}

std::shared_ptr<const StringTable> ResourceService::getStringTable() const {
    return implementation().getStringTable();
}

std::wstring ResourceService::getString(std::uint64_t key) const {
    const std::shared_ptr<const StringTable> table = getStringTable();
    const std::wstring* text = table->find(key);
    return text != nullptr ? *text : std::wstring();
}

bool ResourceService::selectUserLocale() { return selectLocale(userLocaleName()); }

}  // namespace zustd
