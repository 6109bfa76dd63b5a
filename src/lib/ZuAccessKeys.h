// Access keys: in a caption "&" marks the character that presses, with Alt, what
// bears the caption; "&&" is the character itself.
#pragma once

#include <string>

namespace zustd {

// A caption as it is seen: without marks.
std::wstring withoutAccessKeys(std::wstring_view caption);
// As access keys are compared.
wchar_t accessKeyOf(wchar_t character) noexcept;
// The access key of a caption; 0 when it has none.
wchar_t accessKeyOf(std::wstring_view caption) noexcept;
// Marks the first letter of a caption that is not among the keys taken, and adds it to them. One
// that begins with no letter stays as it is.
void addAccessKey(std::wstring& caption, std::wstring& taken);

}  // namespace zustd
