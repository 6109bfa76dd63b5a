#include "GalleryWindow.h"

#include <algorithm>
#include <functional>

#include "ZuDrawnText.h"
#include "ZuGraphicsService.h"
#include "ZuResources.h"

namespace zustd::gallery {

namespace {

// In pixels at a scaling factor of 1; twice that fits a screen of 1280 by 1024.
constexpr Size kWindowSize{620, 460};
constexpr std::int32_t kBarWidth = 136;

// What parts the pages from the languages.
class Rule : public Control {
public:
    Size preferredSize() override { return {scale(kBarWidth), scale(16)}; }

protected:
    void drawSelf(GraphicsService& graphics) override {
        const Rect line = area().shrunkBy(scale(10), scale(8));
        graphics.setPen(Color::rgb(0xC4, 0xCC, 0xD8), 1);
        graphics.drawLine(line.position(), {line.right, line.top});
    }
};

}  // namespace

// A line of the list at the left: pressed by the mouse, by Space or by Enter.
class Choice : public Control {
public:
    Choice(std::wstring text, std::function<void()> chosen)
        : text_(std::move(text)), chosen_(std::move(chosen)) {
        setCursor(MouseCursor::kHand);
        setFocusable(true);
    }

    // Marks the one choice that is shown.
    static void mark(const std::vector<std::shared_ptr<Choice>>& choices, std::size_t index) {
        for (std::size_t i = 0; i < choices.size(); ++i) {
            choices[i]->change(choices[i]->marked_, i == index);
        }
    }
    Size preferredSize() override { return {scale(kBarWidth), scale(26)}; }
    bool onKey(const KeyEvent& event) override {
        return isPressingKey(event) && (notify(kLeftClicked), true);
    }

protected:
    void drawSelf(GraphicsService& graphics) override {
        if (marked_ || isHovered()) {
            graphics.drawRectangle(
                area(), marked_ ? Color::rgb(0xC6, 0xDC, 0xF6) : Color::rgb(0xE2, 0xEC, 0xF9));
        }
        FontStyle style;
        style.bold = marked_;
        if (const auto font = windowService()->getFont(style)) {
            graphics.drawText(text_, area().shrunkBy(scale(10), 0), *font,
                              Color::rgb(0x20, 0x20, 0x20),
                              {.vertical = TextAlignment::kCentre, .ellipsis = true});
        }
        if (hasFocus()) {
            graphics.drawFocusFrame(area().shrunkBy(scale(2), scale(2)));
        }
    }
    void onInputStateChanged() override { refresh(); }
    bool sendMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
        if (&kind == &kLeftClicked) {
            chosen_();
            return true;
        }
        return Control::sendMessage(kind, a, b);
    }

private:
    std::wstring text_;
    std::function<void()> chosen_;
    bool marked_ = false;
};

std::vector<Language> languages() {
    const ResourceLibrary& library = compiledInResources();
    const ResourceRoot& root = library.roots[0];
    const std::wstring usual = library.defaultLocale;
    std::vector<Language> found{{usual.substr(0, usual.find(L'-')), usual}};
    // The neutral namespace, which is the last one, has the default language.
    for (std::size_t i = 0; i + 1 < root.namespaceCount; ++i) {
        const std::wstring place = root.namespaces[i].name;
        const std::wstring name = place.substr(0, place.find(L'-'));
        found.push_back({name, name + L'-' + name});
    }
    return found;
}

GalleryWindow::GalleryWindow(WindowService& windows, ResourceService& resources)
    : resources_(resources), window_(windows.createNativeWindow()) {
    if (!window_) {
        throw SystemException(L"There is no window to be had");
    }
    window_->setCaption(literal(L"Gallery"));
    auto colors = std::make_shared<ColorsDescriptor>();
    colors->setColor(ColorRole::kBackground, Color::rgb(0xF4, 0xF6, 0xFA));
    window_->setColors(colors);
    const auto scaled = [this](std::int32_t value) { return window_->scale(value); };
    window_->setSize({scaled(kWindowSize.width), scaled(kWindowSize.height)});

    const auto bar = makeControl<Control>();
    bar->setArrangement(Arrangement::kColumns);
    bar->setMargins(0, scaled(10));
    window_->addChild(bar);
    bar->setBoundary(Rect::at({}, {scaled(kBarWidth), scaled(kWindowSize.height)}));
    addChoices(*bar);
    bar->arrange();

    content_ = makeControl<Control>();
    window_->addChild(content_);
    content_->setBoundary(Rect::at({scaled(kBarWidth), 0}, {scaled(kWindowSize.width - kBarWidth),
                                                            scaled(kWindowSize.height)}));
    window_->synchronizeTree();
    showPage(pages().front());
}

void GalleryWindow::addChoices(Control& bar) {
    const auto add = [&bar](auto& choices, const std::wstring& text, std::function<void()> chosen) {
        choices.push_back(makeControl<Choice>(text, std::move(chosen)));
        bar.addChild(choices.back());
    };
    for (const Page& page : pages()) {
        add(pageChoices_, page.title, [this, &page] { showPage(page); });
    }
    bar.addChild(makeControl<Rule>());
    for (const Language& language : languages()) {
        add(languageChoices_, language.locale, [this, language] { chooseLanguage(language); });
    }
    Choice::mark(languageChoices_, 0);
}

// A page that cannot be built says so in its place.
void GalleryWindow::showPage(const Page& page) {
    content_->removeAllChildren();
    shown_ = &page;
    Choice::mark(pageChoices_, static_cast<std::size_t>(&page - pages().data()));
    page_ = makeControl<Control>();
    content_->addChild(page_);
    builder_ = std::make_unique<PageBuilder>(*window_->windowService(), *page_);
    if (!guarded(L"GalleryWindow::showPage", [&] { page.build(*builder_); })) {
        failed_ = true;
        builder_->section(L"This page could not be built");
    }
    page_->setBoundary(content_->area());
    builder_->finish();
    window_->synchronizeTree();
    window_->refresh();
}

void GalleryWindow::chooseLanguage(const Language& language) {
    resources_.selectLocale(language.locale);
    const std::vector<Language> known = languages();
    const auto chosen = std::find_if(known.begin(), known.end(), [&](const Language& one) {
        return one.locale == language.locale;
    });
    Choice::mark(languageChoices_, static_cast<std::size_t>(chosen - known.begin()));
    showPage(*shown_);
}

}  // namespace zustd::gallery
