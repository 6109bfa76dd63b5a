#include "ZuResourceService.h"

#include <vector>

#include "ZuPlankton.h"
#include "ZuWindows.h"

namespace zustd {

namespace {

// The first of the user's display languages; empty when the system names none.
std::wstring displayLanguage() {
    ULONG count = 0;
    ULONG length = 0;
    if (!GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, nullptr, &length) || length == 0) {
        return {};
    }
    // Names that are terminated each, and an empty one.
    std::vector<wchar_t> names(length);
    return GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, names.data(), &length)
               ? names.data()
               : std::wstring();
}

// Empty when the system names none.
std::wstring formatsLocale() {
    wchar_t name[LOCALE_NAME_MAX_LENGTH] = L"";
    const int length = GetUserDefaultLocaleName(name, LOCALE_NAME_MAX_LENGTH);
    return length > 0 ? name : L"";
}

}  // namespace

const MessageKind ResourceService::kLanguageChanged(L"languageChanged.ResourceService",
                                                    MessageWords::kText);

std::wstring shownString(const IResourceService& resources, std::uint64_t key) {
    return guarded(L"shownString", std::wstring(), [&] { return resources.getString(key); });
}

bool ResourceService::selectLocale(std::wstring_view locale) {
    if (!implementation().selectLocale(locale)) {
        return false;
    }
    std::wstring chosen = getNamespaceName();
    if (chosen != announced_) {
        announced_ = chosen;
        sendText(kLanguageChanged, chosen);
    }
    return true;
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

bool ResourceService::selectUserLocale() {
    const std::wstring language = displayLanguage();
    return selectLocale(language.empty() ? formatsLocale() : language);
}

}  // namespace zustd
