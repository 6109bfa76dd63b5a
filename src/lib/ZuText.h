// Text conversions and formatting that every other unit needs.
//
// Wide text is UTF-16 and is what the framework thinks in. Narrow text is in the process's active
// code page: UTF-8 where the system honours the executable's manifest, the user's ANSI code page on
// older systems. It is for the console, the C runtime and command lines only; files are encoded by
// the Encoder, which never depends on a code page.
#pragma once

#include <string>
#include <string_view>

namespace zustd {

// The wide form of a text in the active code page. Bytes that are not valid
// there become its default character, U+FFFD for UTF-8.
std::wstring widen(std::string_view narrow);

// The form of a wide text in the active code page. A character that the code page lacks becomes
// '_', which is no wildcard in a command line (under UTF-8, which lacks none, a lone surrogate
// becomes U+FFFD); lossy, when given, is set to whether that happened.
std::string narrow(std::wstring_view wide, bool* lossy = nullptr);

// printf-style formatting into a string of the length needed. Wide formats name their strings %ls
// (wide) or %hs (narrow), never %s. A format that the C runtime refuses gives an empty string.
std::string formatNarrow(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));
std::wstring formatWide(const wchar_t* format, ...);

// Equality without regard to the case of the 26 ASCII letters, the rule by
// which switches and executable names are compared.
bool equalsIgnoringAsciiCase(std::wstring_view left, std::wstring_view right) noexcept;

}  // namespace zustd
