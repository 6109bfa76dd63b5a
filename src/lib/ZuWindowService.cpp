#include "ZuWindowService.h"

namespace zustd {

int WindowService::showMessage(const std::wstring& text, const std::wstring& caption,
                               std::uint32_t style) {
    return implementation().showMessage(text, caption, style);
}

}  // namespace zustd
