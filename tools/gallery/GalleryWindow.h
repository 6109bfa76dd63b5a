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

class Choice;

class GalleryWindow {
public:
    // Makes the window and shows the first page. The services outlive it.
    GalleryWindow(WindowService& windows, ResourceService& resources);

    void showPage(const Page& page);
    void chooseLanguage(const Language& language);
    NativeWindow& window() const noexcept { return *window_; }
    // Of the page shown.
    const std::vector<Scene>& scenes() const noexcept { return builder_->scenes(); }
    const Page& page() const noexcept { return *shown_; }
    // Whether a page so far could not be built.
    bool hasFailed() const noexcept { return failed_; }

private:
    void addChoices(Control& bar);

    ResourceService& resources_;
    std::shared_ptr<NativeWindow> window_;
    std::shared_ptr<Control> content_;
    std::shared_ptr<Control> page_;
    std::unique_ptr<PageBuilder> builder_;
    const Page* shown_ = nullptr;
    bool failed_ = false;
    // In the order of the pages, and of the languages.
    std::vector<std::shared_ptr<Choice>> pageChoices_;
    std::vector<std::shared_ptr<Choice>> languageChoices_;
};

}  // namespace zustd::gallery
