#include "Pages.h"

#include <array>

namespace zustd::gallery {

std::span<const Page> pages() noexcept {
    static constexpr std::array<Page, 7> kPages = {{
        {L"buttons", L"Buttons", &buildButtons},
        {L"texts", L"Texts and lists", &buildTexts},
        {L"ranges", L"Progress, scrolling", &buildRanges},
        {L"tree", L"Tree", &buildTree},
        {L"grid", L"Grid", &buildGrid},
        {L"dialogs", L"Menus, dialogs", &buildDialogs},
        {L"drawing", L"Drawing", &buildDrawing},
    }};
    return kPages;
}

}  // namespace zustd::gallery
