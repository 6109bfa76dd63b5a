#include "ZuAccessKeys.h"

#include "ZuWindows.h"

namespace zustd {

std::wstring withoutAccessKeys(std::wstring_view caption) {
    std::wstring shown;
    for (std::size_t i = 0; i < caption.size(); ++i) {
        if (caption[i] == L'&' && i + 1 < caption.size()) {
            ++i;
        }
        shown.push_back(caption[i]);
    }
    return shown;
}

wchar_t accessKeyOf(wchar_t character) noexcept {
    CharUpperBuffW(&character, 1);
    return character;
}

wchar_t accessKeyOf(std::wstring_view caption) noexcept {
    for (std::size_t i = 0; i + 1 < caption.size(); ++i) {
        if (caption[i] == L'&' && caption[++i] != L'&') {
            return accessKeyOf(caption[i]);
        }
    }
    return 0;
}

void addAccessKey(std::wstring& caption, std::wstring& taken) {
    if (!IsCharAlphaW(caption[0])) {
        return;
    }
    for (std::size_t i = 0; i < caption.size(); ++i) {
        const wchar_t key = accessKeyOf(caption[i]);
        if (IsCharAlphaW(key) && taken.find(key) == std::wstring::npos) {
            taken.push_back(key);
            caption.insert(i, 1, L'&');
            return;
        }
    }
}

}  // namespace zustd
