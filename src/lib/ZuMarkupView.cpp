#include "ZuMarkupView.h"

#include "ZuScope.h"
#include "ZuWindowService.h"

namespace zustd {

namespace {

constexpr std::wstring_view kDelimiters = L" -";

// Sizes of fonts, in points, are taken to the nearest within these.
constexpr std::int32_t kSmallest = 1;
constexpr std::int32_t kLargest = 144;

}  // namespace

// --- Elements -------------------------------------------------------------------------------

MarkupText::MarkupText(std::wstring_view text, std::shared_ptr<Font> font, Size size)
    : text_(text), font_(std::move(font)), size_(size) {
    setTakesMouse(false);
}

void MarkupText::drawSelf(GraphicsService& graphics) {
    if (!font_) {
        return;
    }
    const Color front = frontColor(*this);
    if (text_.find(L'\n') == std::wstring::npos) {
        graphics.drawText(text_, Point(), *font_, front);
    } else {
        graphics.drawText(text_, area(), *font_, front, TextFormat());
    }
}

MarkupLink::MarkupLink(const std::wstring& text, std::wstring message, std::shared_ptr<Font> font,
                       Size size)
    : Link(text), message_(std::move(message)), font_(std::move(font)), size_(size) {}

FontStyle MarkupLink::fontStyle() const {
    FontStyle style = font_ ? font_->style() : FontStyle();
    style.underline = Link::fontStyle().underline || style.underline;
    return style;
}

// --- The view -------------------------------------------------------------------------------

MarkupView::MarkupView(std::wstring markup)
    : markup_(std::move(markup)), waiting_(!markup_.empty()) {
    // Texts of different sizes stand on one line.
    setArrangement({.vertical = Alignment::kEnd});
    // What a maximum size cuts off is not to be seen.
    setClipsChildren(true);
}

bool MarkupView::setMarkup(std::wstring_view markup) {
    if (markup_ == markup) {
        return false;
    }
    markup_ = markup;
    return parseAnew();
}

bool MarkupView::setWordWrap(bool wraps) {
    if (wordWrap_ == wraps) {
        return false;
    }
    wordWrap_ = wraps;
    return parseAnew();
}

bool MarkupView::setBoundary(const Rect& boundary) {
    const std::int32_t width = Rect::at({}, boundary.size()).width();
    if (!parsing_ && width != this->boundary().width()) {
        givenWidth_ = width;
    }
    return Control::setBoundary(boundary);
}

Size MarkupView::preferredSize() {
    Size size = sizeWithin(layoutArea());
    if (placement().autoSized) {
        size.height = sizeWithin(areaWithin(boundary().width())).height;
    }
    return size;
}

bool MarkupView::onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) {
    if (kind == kLeftClicked) {
        if (const auto* link = dynamic_cast<const MarkupLink*>(a.object<Control>())) {
            sendFromLink(*link);
            return true;
        }
    }
    return Control::onReceiveMessage(kind, a, b);
}

// --- Parsing --------------------------------------------------------------------------------

void MarkupView::parseMarkup() {
    if (parsing_) {
        waiting_ = true;
        return;
    }
    // Links that go away say so; their receivers may remove the view.
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    {
        const ControlUpdate update(*this);
        const ScopedValue parsing(parsing_, true);
        full_ = false;
        refresh();
        const bool hadServices = reachesServices();
        removeAllChildren();
        if (hadServices && !reachesServices()) {
            waiting_ = true;
            return;
        }
        // Whoever hears of the font under way may remove the view.
        const ScopedValue services(services_, Services{graphicsService(), windowService()});
        // What they have set meanwhile is what is parsed below.
        waiting_ = false;
        font_->reset();
        layoutArea_ = layoutArea();
        // A change of the markup under way must not pull it away from the reader.
        readMarkup(std::wstring(markup_), *font_, *this);
        takeSize();
    }
    if (waiting_) {
        parseWhenPossible();
        return;
    }
    showChildren();
    notify(kChangePreferredWidth, MessageWord(std::intptr_t{boundary().width()}));
    notify(kChangePreferredHeight, MessageWord(std::intptr_t{boundary().height()}));
}

void MarkupView::onSettings(const MarkupSettings& settings) {
    const auto [width, height] = settings.size;
    Rect placed = boundary();
    placed.setSize({width > 0 ? width : placed.width(), height > 0 ? height : placed.height()});
    // Whoever lies in the view learns of its size when parsing ends.
    place(placed);
    givenWidth_ = width > 0 ? placed.width() : givenWidth_;
    setArrangement(settings.arrangement);
    setPlacement(settings.placement);
    wordWrap_ = settings.wrapsWords;
    layoutArea_ = layoutArea();
}

void MarkupView::addText(std::wstring_view text, bool breaksLine) {
    if (!hasRoom()) {
        return;
    }
    const auto [font, size] = measured(text);
    const auto element = makeControl<MarkupText>(text, font, size);
    element->setPlacement({.breaksLineAfter = breaksLine});
    addChild(element);
}

void MarkupView::addLink(const std::wstring& text, const std::wstring& message) {
    if (hasRoom()) {
        const auto [font, size] = measured(text);
        addChild(makeControl<MarkupLink>(text, message, font, size));
    }
}

void MarkupView::addWords(std::wstring_view text) {
    const ControlUpdate update(*this);
    while (!text.empty() && !full_) {
        const std::size_t delimiter = text.find_first_of(kDelimiters);
        const std::size_t size = delimiter == std::wstring_view::npos ? text.size() : delimiter + 1;
        addText(text.substr(0, size), false);
        text.remove_prefix(size);
    }
}

void MarkupView::addLineBreak() {
    // Whoever hears of an element may remove it again, and the view.
    const ControlUpdate update(*this);
    const auto last = [this] { return children().empty() ? nullptr : children().back(); };
    const std::shared_ptr<Control> before = last();
    addText(L" ", true);
    const std::shared_ptr<Control> blank = last();
    if (before && blank && blank != before && !before->placement().breaksLineAfter) {
        // Behind a full line the blank would wrap, and leave an empty one.
        blank->setVisible(false);
        Placement placed = before->placement();
        placed.breaksLineAfter = true;
        before->setPlacement(placed);
    }
}

bool MarkupView::hasRoom() {
    if (!full_ && children().size() >= kMaxElements) {
        full_ = true;
        ZU_TRACE(L"MarkupView::parseMarkup: more than %llu elements; the rest is left out",
                 static_cast<unsigned long long>(kMaxElements));
    }
    return !full_;
}

std::pair<std::shared_ptr<Font>, Size> MarkupView::measured(std::wstring_view text) {
    const auto [gs, ws] = parsing_ ? services_ : Services{graphicsService(), windowService()};
    ZU_ASSERT(gs);
    ZU_ASSERT(ws);
    FontStyle style = font_->style();
    style.size = std::clamp(style.size, kSmallest, kLargest);
    std::shared_ptr<Font>& font = fonts_[style];
    if (!font) {
        font = ws->getFont(style);
    }
    return {font, font ? gs->measureTextSize(text, *font) : Size{}};
}

// --- Size -----------------------------------------------------------------------------------

Arrangement MarkupView::rows() const {
    Arrangement rows = arrangement();
    rows.flow = Flow::kRows;
    rows.measure = true;
    rows.wrap = wordWrap_;
    return rows;
}

Rect MarkupView::areaWithin(std::int32_t width) const {
    const Size margin = arrangement().margin;
    return Rect::at({margin.width, margin.height},
                    {innerWidth(limited(width, placement().maximum.width)), kUnlimited});
}

Size MarkupView::sizeWithin(const Rect& area) {
    const auto measured = [this](const Rect& within) {
        return sizeAround(measureLayout(rows(), within, children()));
    };
    const Size size = measured(area);
    // A word that is longer than the lines makes all of them longer.
    const std::int32_t room = innerWidth(size.width);
    const bool widens = room > area.width() && !placement().autoSized;
    return widens ? measured(Rect::at(area.position(), {room, area.height()})) : size;
}

void MarkupView::takeSize() {
    Size size = sizeWithin(layoutArea_);
    if (placement().autoSized && givenWidth_ > 0) {
        size.width = withinLimits({givenWidth_, size.height}).width;
    }
    setBoundary(Rect::at(boundary().position(), size));
    layOut(rows(), innerArea(), children());
}

void MarkupView::arrangeChildren() {
    // Parsing sizes the view by itself.
    if (!parsing_) {
        layOut(rows(), innerArea(), children());
    }
}

void MarkupView::onDescriptorChanged() {
    if (parsing_) {
        return;
    }
    if (face_ != font_->style().faceName) {
        face_ = font_->style().faceName;
        parseAnew();
    }
    Control::onDescriptorChanged();
}

void MarkupView::parseWhenPossible() {
    if (waiting_ && reachesServices()) {
        parseMarkup();
    }
}

bool MarkupView::parseAnew() {
    waiting_ = true;
    parseWhenPossible();
    return true;
}

void MarkupView::sendFromLink(const MarkupLink& link) {
    const MessageKind* kind = MessageKind::find(link.message());
    if (kind == nullptr || kind->words() != MessageWords::kNumbers) {
        ZU_TRACE(L"MarkupView::sendFromLink: no message '%ls' to send", link.message().c_str());
        return;
    }
    notify(*kind);
}

}  // namespace zustd
