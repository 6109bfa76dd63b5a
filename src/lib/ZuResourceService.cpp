#include "ZuResourceService.h"

#include <string>

#include "ZuPlankton.h"
#include "ZuWindows.h"

namespace zustd {

namespace {

// The first of the user's display languages; empty when the system names none.
std::wstring displayLanguage() {
    ULONG count = 0;
    ULONG length = 0;
    GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, nullptr, &length);
    // Names that are terminated each.
    std::wstring names(length, L'\0');
    GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, names.data(), &length);
    return names.substr(0, names.find(L'\0'));
}

}  // namespace

ZU_MESSAGE_KIND(ResourceService::kLanguageChanged, MessageWords::kText);

std::wstring shownString(const IResourceService& resources, std::uint64_t key) {
    return guarded(ZU_OPERATION, std::wstring(), [&] { return resources.getString(key); });
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

std::wstring ResourceService::getString(std::uint64_t key) const {
    const auto table = getStringTable();
    const std::wstring* text = table->find(key);
    return text != nullptr ? *text : std::wstring();
}

bool ResourceService::selectUserLocale() {
    const std::wstring language = displayLanguage();
    wchar_t formats[LOCALE_NAME_MAX_LENGTH] = L"";
    GetUserDefaultLocaleName(formats, LOCALE_NAME_MAX_LENGTH);
    return selectLocale(language.empty() ? formats : language);
}

}  // namespace zustd
