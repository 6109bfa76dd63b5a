#include "GalleryWindow.h"

#include <algorithm>
#include <functional>

#include "ZuGraphicsService.h"
#include "ZuResources.h"

namespace zustd::gallery {

namespace {

// In pixels at a scaling factor of 1; twice that fits a screen of 1280 by 1024.
constexpr Size kWindowSize{620, 460};
constexpr std::int32_t kBarWidth = 136;

constexpr std::int32_t kLineHeight = 26;

}  // namespace

// A line of a list at the left; the one that was chosen is marked.
class Choice : public Control {
public:
    Choice(std::wstring text, std::function<void()> choose)
        : text_(std::move(text)), choose_(std::move(choose)) {
        setCursor(MouseCursor::kHand);
    }

    Size preferredSize() override { return {scale(kBarWidth), scale(kLineHeight)}; }
    // Tab stops at the marked line of a list; the arrow keys lead to the others.
    void mark(bool marked) {
        marked_ = marked;
        setFocusable(marked);
        refresh();
    }

protected:
    void drawSelf(GraphicsService& graphics) override {
        if (marked_ || isHovered()) {
            graphics.drawRectangle(
                area(), marked_ ? Color::rgb(0xB8, 0xD2, 0xF4) : Color::rgb(0xDF, 0xEA, 0xF8));
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
            choose_();
            return true;
        }
        return Control::sendMessage(kind, a, b);
    }
    bool onKey(const KeyEvent& event) override {
        if (event.key != kKeyUp && event.key != kKeyDown) {
            return false;
        }
        const Controls& lines = parentControl()->children();
        const auto self = std::find_if(lines.begin(), lines.end(),
                                       [this](const auto& line) { return line.get() == this; });
        if (event.key == kKeyUp ? self != lines.begin() : self + 1 != lines.end()) {
            const auto next =
                std::static_pointer_cast<Choice>(event.key == kKeyUp ? self[-1] : self[1]);
            next->choose_();
            next->takeFocus();
        }
        return true;
    }

private:
    std::wstring text_;
    std::function<void()> choose_;
    bool marked_ = false;
};

namespace {

// Marks one line of a list and no other.
void markOnly(const Control& list, std::size_t index) {
    for (std::size_t i = 0; i < list.children().size(); ++i) {
        static_cast<Choice&>(*list.children()[i]).mark(i == index);
    }
}

std::shared_ptr<Control> addColumn(Control& parent, Size margin = {}) {
    const auto column = makeControl<Control>();
    column->setArrangement({.flow = Flow::kColumns, .margin = margin});
    parent.addChild(column);
    return column;
}

}  // namespace

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
    bar->setArrangement(
        {.flow = Flow::kColumns, .spacing = {0, scaled(6)}, .margin = {0, scaled(10)}});
    window_->addChild(bar);
    bar->setBoundary(Rect::at({}, {scaled(kBarWidth), scaled(kWindowSize.height)}));
    addChoices(*bar);
    bar->arrange();
    markOnly(*languageList_, 0);

    content_ = makeControl<Control>();
    window_->addChild(content_);
    content_->setBoundary(Rect::at({scaled(kBarWidth), 0}, {scaled(kWindowSize.width - kBarWidth),
                                                            scaled(kWindowSize.height)}));
    window_->synchronizeTree();
    showPage(pages().front());
}

void GalleryWindow::addChoices(Control& bar) {
    pageList_ = addColumn(bar);
    for (const Page& page : pages()) {
        pageList_->addChild(makeControl<Choice>(page.title, [this, &page]() { showPage(page); }));
    }
    const auto heading = addColumn(bar, {bar.scale(10), 0});
    heading->addChild(makeControl<Text>(L"Language", true));
    languageList_ = addColumn(bar);
    for (const Language& language : languages()) {
        languageList_->addChild(
            makeControl<Choice>(language.locale, [this, language]() { chooseLanguage(language); }));
    }
}

// A page that cannot be built says so in its place.
void GalleryWindow::showPage(const Page& page) {
    content_->removeAllChildren();
    shown_ = &page;
    markOnly(*pageList_, static_cast<std::size_t>(&page - pages().data()));
    page_ = makeControl<Control>();
    content_->addChild(page_);
    builder_ = std::make_unique<PageBuilder>(*window_->windowService(), *page_);
    isWhole_ = guarded(L"GalleryWindow::showPage", [&] { page.build(*builder_); });
    if (!isWhole_) {
        builder_->section(L"This page could not be built");
    }
    page_->setBoundary(content_->area());
    builder_->finish();
    window_->synchronizeTree();
    window_->refresh();
}

void GalleryWindow::chooseLanguage(const Language& language) {
    resources_.selectLocale(language.locale);
    const std::vector<Language> all = languages();
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i].locale == language.locale) {
            markOnly(*languageList_, i);
        }
    }
    showPage(*shown_);
}

}  // namespace zustd::gallery
