#include "ZuVersion.h"

#include "ZuText.h"

namespace zustd {

std::wstring Version::toText() const { return formatWide(L"%ld.%ld.%ld", major, minor, build); }

std::wstring Version::toDisplayText() const {
    const wchar_t* const mark = kind == BuildKind::Beta    ? L" BETA"
                                : kind == BuildKind::Debug ? L" DEBUG"
                                                           : L"";
    return toText() + mark;
}

}  // namespace zustd
