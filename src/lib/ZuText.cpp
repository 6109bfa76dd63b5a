#include "ZuText.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <limits>
#include <stdexcept>

#include "ZuPlankton.h"
#include "ZuWindows.h"

namespace zustd {

namespace {

int lengthOf(std::size_t size) {
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        throwTraced(L"text too long to convert", ZU_HERE,
                    std::length_error("text too long to convert"));
    }
    return static_cast<int>(size);
}

wchar_t foldAscii(wchar_t c) noexcept {
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

// Both of this runtime's functions cut, terminate and return the length needed.
template <class Character>
std::basic_string<Character> formatted(int (*print)(Character*, std::size_t, const Character*,
                                                    std::va_list),
                                       const Character* format, std::va_list arguments) {
    std::basic_string<Character> result(128, Character{});
    for (;;) {
        std::va_list again;
        va_copy(again, arguments);
        const int printed = print(result.data(), result.size(), format, again);
        va_end(again);
        const auto size = static_cast<std::size_t>(std::max(printed, 0));
        const bool isWhole = size < result.size();
        result.resize(isWhole ? size : size + 1);
        if (isWhole) {
            return result;
        }
    }
}

}  // namespace

std::wstring widen(std::string_view narrow) {
    if (narrow.empty()) {
        return {};
    }
    const int narrowLength = lengthOf(narrow.size());
    const int size = MultiByteToWideChar(CP_ACP, 0, narrow.data(), narrowLength, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_ACP, 0, narrow.data(), narrowLength, result.data(), size);
    return result;
}

std::string narrow(std::wstring_view wide, bool* lossy) {
    // UTF-8 accepts no default character; a lone surrogate, its only misfit,
    // becomes U+FFFD by itself.
    const bool isUtf8 = GetACP() == CP_UTF8;
    const auto convert = [&](char* out, int size) {
        return WideCharToMultiByte(CP_ACP, isUtf8 ? 0 : WC_NO_BEST_FIT_CHARS, wide.data(),
                                   lengthOf(wide.size()), out, size, isUtf8 ? nullptr : "_",
                                   nullptr);
    };
    std::string result;
    if (!wide.empty()) {
        result.resize(static_cast<std::size_t>(convert(nullptr, 0)));
        convert(result.data(), static_cast<int>(result.size()));
    }
    if (lossy != nullptr) {
        *lossy = widen(result) != wide;
    }
    return result;
}

std::string formatNarrow(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string result = formatted(std::vsnprintf, format, arguments);
    va_end(arguments);
    return result;
}

std::wstring formatWide(const wchar_t* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::wstring result = formatted<wchar_t>(std::vswprintf, format, arguments);
    va_end(arguments);
    return result;
}

bool equalsIgnoringAsciiCase(std::wstring_view left, std::wstring_view right) noexcept {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](wchar_t a, wchar_t b) { return foldAscii(a) == foldAscii(b); });
}

}  // namespace zustd
