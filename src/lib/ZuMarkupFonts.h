// The fonts of a markup view's elements, one for each state of the font.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "ZuFont.h"

namespace zustd {

class WindowService;

// Those of one face: another one drops them.
class MarkupFonts {
public:
    // Sizes, in points, are taken to the nearest within these.
    static constexpr std::int32_t kSmallest = 1;
    static constexpr std::int32_t kLargest = 144;

    // Null when the service has none; it is asked again the next time.
    std::shared_ptr<Font> get(FontStyle style, WindowService& window);

private:
    std::wstring face_;
    std::unordered_map<std::uint32_t, std::shared_ptr<Font>> fonts_;
};

}  // namespace zustd
