#include "ZuVersion.h"

#include "ZuText.h"

namespace zustd {

std::wstring Version::toText() const { return formatWide(L"%ld.%ld.%ld", major, minor, build); }

std::wstring Version::toDisplayText() const {
    switch (kind) {
        case BuildKind::Beta:
            return toText() + L" BETA";
        case BuildKind::Debug:
            return toText() + L" DEBUG";
        case BuildKind::Release:
            break;
    }
    return toText();
}

}  // namespace zustd
