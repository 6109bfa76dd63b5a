#include "Pages.h"

#include <array>

namespace zustd::gallery {

std::span<const Page> pages() noexcept {
    static constexpr auto kPages = std::to_array<Page>({
        {L"buttons", L"Buttons", &buildButtons},
        {L"texts", L"Texts and lists", &buildTexts},
        {L"ranges", L"Ranges", &buildRanges},
        {L"tree", L"Tree", &buildTree},
        {L"grid", L"Grid", &buildGrid},
        {L"dialogs", L"Menus, dialogs", &buildDialogs},
        {L"drawing", L"Drawing", &buildDrawing},
        {L"widgets", L"Drawn widgets", &buildWidgets},
        {L"layouts", L"Layouts", &buildLayouts},
        {L"markup", L"Markup", &buildMarkup},
    });
    static_assert(kPages.size() == GALLERY_PAGES, "each page's source has its line here");
    return kPages;
}

}  // namespace zustd::gallery
