#include "ZuMarkupFonts.h"

#include <algorithm>

#include "ZuWindowService.h"

namespace zustd {

std::shared_ptr<Font> MarkupFonts::get(FontStyle style, WindowService& window) {
    if (face_ != style.faceName) {
        fonts_.clear();
        face_ = style.faceName;
    }
    style.size = std::clamp(style.size, kSmallest, kLargest);
    const auto key = static_cast<std::uint32_t>(style.size) * 8 + (style.bold ? 4U : 0U) +
                     (style.italic ? 2U : 0U) + (style.underline ? 1U : 0U);
    std::shared_ptr<Font>& font = fonts_[key];
    if (!font) {
        font = window.getFont(style);
    }
    return font;
}

}  // namespace zustd
