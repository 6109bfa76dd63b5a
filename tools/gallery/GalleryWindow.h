// The gallery's window: a list of the pages, the languages, and the page shown.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Page.h"
#include "ZuNativeWindow.h"
#include "ZuResourceService.h"

namespace zustd::gallery {

struct Language {
    // Of the screenshots' files, and of the choice in the window.
    std::wstring name;
    std::wstring locale;
};

// Those that the compiled-in resources have texts in, the default one first.
std::vector<Language> languages();

class GalleryWindow {
public:
    // Makes the window and shows the first page. The services outlive it.
    GalleryWindow(WindowService& windows, ResourceService& resources);

    void showPage(const Page& page);
    void chooseLanguage(const Language& language);
    // The one shown, and whether all of it could be built.
    const Page& page() const noexcept { return *shown_; }
    bool isWhole() const noexcept { return isWhole_; }
    // Their lines, of which one is marked, take the arrow keys.
    Control& pageList() const noexcept { return *pageList_; }
    Control& languageList() const noexcept { return *languageList_; }
    NativeWindow& window() const noexcept { return *window_; }
    // Of the page shown.
    const std::vector<Scene>& scenes() const noexcept { return builder_->scenes(); }

private:
    void addChoices(Control& bar);

    ResourceService& resources_;
    std::shared_ptr<NativeWindow> window_;
    std::shared_ptr<Control> pageList_;
    std::shared_ptr<Control> languageList_;
    std::shared_ptr<Control> content_;
    std::shared_ptr<Control> page_;
    std::unique_ptr<PageBuilder> builder_;
    const Page* shown_ = nullptr;
    bool isWhole_ = false;
};

}  // namespace zustd::gallery
