#include "ZuMarkupView.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "ZuGraphicsService.h"
#include "ZuWindowService.h"
#include "ZuXml.h"

namespace zustd {

namespace {

// Where nothing limits the width; half of the range, as positions beyond it
// must still be numbers.
constexpr std::int32_t kUnlimited = std::numeric_limits<std::int32_t>::max() / 2;

constexpr std::wstring_view kDelimiters = L" -";

// The text of a run: the five entities are characters, every other "&" is one
// itself.
std::wstring decoded(std::wstring_view raw) {
    std::wstring text;
    text.reserve(raw.size());
    const wchar_t* at = raw.data();
    XmlRange in(at, raw.data() + raw.size());
    while (in.peek() != XmlRange::kEnd) {
        const wchar_t entity = xml::takeEntity(in);
        if (entity != 0) {
            text.push_back(entity);
        } else {
            text.push_back(static_cast<wchar_t>(in.peek()));
            in.skip();
        }
        text.append(xml::takePlainText(in));
    }
    return text;
}

// Those before the first fault.
std::vector<XmlAttribute> attributesOf(std::wstring_view text) {
    std::vector<XmlAttribute> attributes;
    Xml::parseAttributes(text, attributes);
    return attributes;
}

std::uint32_t keyOf(const FontStyle& style) noexcept {
    return static_cast<std::uint32_t>(style.size) * 8 + (style.bold ? 4U : 0U) +
           (style.italic ? 2U : 0U) + (style.underline ? 1U : 0U);
}

}  // namespace

// --- Elements -------------------------------------------------------------------------------

MarkupText::MarkupText(std::wstring_view text, std::shared_ptr<const MarkupFont> font, Size size)
    : text_(text), font_(std::move(font)), size_(size) {
    setTakesMouse(false);
}

void MarkupText::drawSelf(GraphicsService& graphics) {
    if (!font_->font) {
        return;
    }
    const Color ink = inkColor(*this);
    if (text_.find(L'\n') == std::wstring::npos) {
        graphics.drawText(text_, Point{0, 0}, *font_->font, ink);
    } else {
        graphics.drawText(text_, area(), *font_->font, ink, TextFormat());
    }
}

MarkupLink::MarkupLink(const std::wstring& text, std::wstring message,
                       std::shared_ptr<const MarkupFont> font, Size size)
    : Link(text), message_(std::move(message)), font_(std::move(font)), size_(size) {}

FontStyle MarkupLink::fontStyle() const {
    FontStyle style = font_->style;
    style.underline = Link::fontStyle().underline || style.underline;
    return style;
}

// --- The view -------------------------------------------------------------------------------

// Parsing has an end on every way out, and shows what it did once.
class MarkupView::ParseScope {
public:
    explicit ParseScope(MarkupView& view) : view_(view), update_(view) {
        view.parsing_ = true;
        view.waiting_ = false;
        view.full_ = false;
        view.link_ = {};
    }
    ParseScope(const ParseScope&) = delete;
    ParseScope& operator=(const ParseScope&) = delete;
    ~ParseScope() {
        view_.parsing_ = false;
        view_.link_ = {};
        view_.currentFont_.reset();
        view_.graphics_.reset();
        view_.window_.reset();
    }

private:
    MarkupView& view_;
    ControlUpdate update_;
};

MarkupView::MarkupView() : MarkupView(std::wstring()) {}

MarkupView::MarkupView(std::wstring markup)
    : markup_(std::move(markup)), waiting_(!markup_.empty()) {
    // Texts of different sizes stand on one line.
    setArrangement({.vertical = Alignment::kEnd});
    // What a maximum size cuts off is not to be seen.
    setClipsChildren(true);
}

void MarkupView::initialize() {
    Control::initialize();
    watch(font_.get());
}

bool MarkupView::setMarkup(std::wstring_view markup) {
    if (markup_ == markup) {
        return false;
    }
    markup_ = markup;
    waiting_ = true;
    parseWhenPossible();
    return true;
}

bool MarkupView::setWordWrap(bool wraps) {
    if (wordWrap_ == wraps) {
        return false;
    }
    wordWrap_ = wraps;
    waiting_ = true;
    parseWhenPossible();
    return true;
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

Size MarkupView::preferredSizeForWidth(std::int32_t width) {
    const std::int32_t maximum = placement().maximum.width;
    return sizeWithin(areaWithin(maximum > 0 ? std::min(width, maximum) : width));
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
        const ParseScope scope(*this);
        refresh();
        const bool hadServices = reachesServices();
        removeAllChildren();
        if (hadServices && !reachesServices()) {
            waiting_ = true;
            return;
        }
        // Whoever hears of the font under way may remove the view.
        graphics_ = graphicsService();
        window_ = windowService();
        // What they have set meanwhile is what is parsed below.
        waiting_ = false;
        font_->reset();
        layoutArea_ = layoutArea();
        // A change of the markup under way must not pull it away from here.
        const std::wstring kept = markup_;
        std::wstring_view rest = kept;
        while (!rest.empty()) {
            const std::size_t open = rest.find(L'<');
            addRun(rest.substr(0, open));
            rest.remove_prefix(std::min(open, rest.size()));
            const std::size_t close = rest.find(L'>');
            if (close == std::wstring_view::npos) {
                // A bracket that nothing closes is text like the rest.
                addRun(rest);
                break;
            }
            applyTag(rest.substr(1, close - 1));
            rest.remove_prefix(close + 1);
        }
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

void MarkupView::addText(std::wstring_view text, bool breaksLine) {
    if (!hasRoom()) {
        return;
    }
    const Size size = measureText(text);
    const auto element = makeControl<MarkupText>(text, currentFont(), size);
    element->setPlacement({.breaksLineAfter = breaksLine});
    addChild(element);
}

void MarkupView::addLink(const std::wstring& text, const std::wstring& message) {
    if (hasRoom()) {
        const Size size = measureText(text);
        addChild(makeControl<MarkupLink>(text, message, currentFont(), size));
    }
}

void MarkupView::addWords(std::wstring_view text) {
    while (!text.empty() && !full_) {
        const std::size_t delimiter = text.find_first_of(kDelimiters);
        const std::size_t size = delimiter == std::wstring_view::npos ? text.size() : delimiter + 1;
        addText(text.substr(0, size), false);
        text.remove_prefix(size);
    }
}

void MarkupView::addLineBreak() { addText(L" ", true); }

Rect MarkupView::layoutArea() const {
    const std::int32_t maximum = placement().maximum.width;
    std::int32_t width = givenWidth_ > 0 ? givenWidth_ : kUnlimited;
    if (maximum > 0) {
        width = std::min(width, maximum);
    }
    return areaWithin(width);
}

// Text between tags, as it stands in the markup.
void MarkupView::addRun(std::wstring_view raw) {
    if (raw.empty() || full_) {
        return;
    }
    const std::wstring text = decoded(raw);
    if (link_.isOpen) {
        link_.text += text;
    } else if (wordWrap_) {
        addWords(text);
    } else {
        addText(text, false);
    }
}

// --- Tags -----------------------------------------------------------------------------------

void MarkupView::applyTag(std::wstring_view tag) {
    const std::size_t blank = std::min(tag.find(L' '), tag.size());
    const std::wstring_view name = tag.substr(0, blank);
    const std::wstring_view attributes = tag.substr(std::min(blank + 1, tag.size()));
    if (name == L"br/") {
        addLineBreak();
    } else if (name == L"a") {
        openLink(attributes);
    } else if (name == L"/a") {
        closeLink();
    } else if (name == L"control") {
        applySettings(attributes);
    } else if (name == L"font") {
        for (const XmlAttribute& attribute : attributesOf(attributes)) {
            if (attribute.name == L"size") {
                font_->setSize(Xml::toLong(attribute.value));
            }
        }
        currentFont_.reset();
    } else {
        applyFontTag(name);
    }
}

void MarkupView::applyFontTag(std::wstring_view tag) {
    if (tag == L"b" || tag == L"/b") {
        font_->setBold(tag == L"b");
    } else if (tag == L"i" || tag == L"/i") {
        font_->setItalic(tag == L"i");
    } else if (tag == L"u" || tag == L"/u") {
        font_->setUnderline(tag == L"u");
    } else if (tag == L"/font") {
        // All of it: what is still bold, italic or underlined ends here too.
        font_->reset();
    } else {
        return;
    }
    currentFont_.reset();
}

// One that is open still is forgotten with its text.
void MarkupView::openLink(std::wstring_view attributes) {
    link_ = {};
    link_.isOpen = true;
    for (const XmlAttribute& attribute : attributesOf(attributes)) {
        if (attribute.name == L"leftclickmessage") {
            link_.message = decoded(attribute.value);
        }
    }
}

void MarkupView::closeLink() {
    const OpenLink link = std::exchange(link_, {});
    if (link.isOpen && !link.text.empty()) {
        addLink(link.text, link.message);
    }
}

void MarkupView::applySettings(std::wstring_view attributes) {
    for (const XmlAttribute& attribute : attributesOf(attributes)) {
        applySetting(attribute);
        layoutArea_ = layoutArea();
    }
}

void MarkupView::applySetting(const XmlAttribute& attribute) {
    const std::wstring& name = attribute.name;
    if (applyFlag(name, attribute.value == L"true")) {
        return;
    }
    const std::int32_t value = Xml::toLong(attribute.value);
    Arrangement arranged = arrangement();
    Placement placed = placement();
    // Whoever lies in the view learns of its size when parsing ends.
    if (name == L"width") {
        place(Rect::at(boundary().position(), {value, boundary().height()}));
        givenWidth_ = boundary().width();
    } else if (name == L"height") {
        place(Rect::at(boundary().position(), {boundary().width(), value}));
    } else if (name == L"maxwidth") {
        placed.maximum.width = value;
    } else if (name == L"maxheight") {
        placed.maximum.height = value;
    } else if (name == L"hmargin") {
        arranged.margin.width = value;
    } else if (name == L"vmargin") {
        arranged.margin.height = value;
    } else if (name == L"hspacing") {
        arranged.spacing.width = value;
    } else if (name == L"vspacing") {
        arranged.spacing.height = value;
    }
    setArrangement(arranged);
    setPlacement(placed);
}

// Whether there is a flag of this name.
bool MarkupView::applyFlag(const std::wstring& name, bool value) {
    if (name == L"autosize") {
        Placement placed = placement();
        placed.autoSized = value;
        setPlacement(placed);
        return true;
    }
    if (name == L"wordwrap") {
        wordWrap_ = value;
        return true;
    }
    return false;
}

// --- Adding elements ------------------------------------------------------------------------

bool MarkupView::hasRoom() {
    if (!full_ && children().size() >= kMaxElements) {
        full_ = true;
        ZU_TRACE(L"MarkupView::parseMarkup: more than %llu elements; the rest is left out",
                 static_cast<unsigned long long>(kMaxElements));
    }
    return !full_;
}

// Null until the services are needed: a text without elements needs none.
const std::shared_ptr<const MarkupFont>& MarkupView::currentFont() {
    if (currentFont_) {
        return currentFont_;
    }
    if (fontsFace_ != font_->style().faceName) {
        fonts_.clear();
        fontsFace_ = font_->style().faceName;
    }
    FontStyle style = font_->style();
    style.size = std::clamp(style.size, kSmallestFont, kLargestFont);
    std::shared_ptr<const MarkupFont>& known = fonts_[keyOf(style)];
    if (!known) {
        const std::shared_ptr<WindowService> ws = parsing_ ? window_ : windowService();
        ZU_ASSERT_AS(ws, L"ws", ZU_HERE);
        auto made = std::make_shared<MarkupFont>(MarkupFont{style, ws->getFont(style), 0});
        if (made->font) {
            made->lineHeight = graphics_->measureTextSize({}, *made->font).height;
        }
        if (!made->font) {
            // Perhaps it can be had the next time.
            currentFont_ = std::move(made);
            fonts_.erase(keyOf(style));
            return currentFont_;
        }
        known = std::move(made);
    }
    currentFont_ = known;
    return currentFont_;
}

Size MarkupView::measureText(std::wstring_view text) {
    if (!parsing_) {
        graphics_ = graphicsService();
    }
    ZU_ASSERT_AS(graphics_, L"gs", ZU_HERE);
    const std::shared_ptr<const MarkupFont> font = currentFont();
    if (!font->font) {
        return {};
    }
    if (text.find(L'\n') != std::wstring_view::npos) {
        return graphics_->measureTextSize(text, *font->font);
    }
    return {graphics_->measureTextWidth(text, *font->font), font->lineHeight};
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
    return Rect::at({margin.width, margin.height}, {innerWidth(width), kUnlimited});
}

Size MarkupView::sizeWithin(const Rect& area) {
    return sizeAround(measureLayout(rows(), area, children()));
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

void MarkupView::onJoinedSurface() {
    Control::onJoinedSurface();
    parseWhenPossible();
}

void MarkupView::onDescriptorChanged() {
    if (parsing_) {
        return;
    }
    currentFont_.reset();
    if (fontsFace_ != font_->style().faceName) {
        waiting_ = true;
        parseWhenPossible();
    }
    Control::onDescriptorChanged();
}

bool MarkupView::reachesServices() const { return windowService() && graphicsService(); }

void MarkupView::parseWhenPossible() {
    if (waiting_ && reachesServices()) {
        parseMarkup();
    }
}

// --- Links ----------------------------------------------------------------------------------

void MarkupView::sendFromLink(const MarkupLink& link) {
    const MessageKind* kind = MessageKind::find(link.message());
    if (kind == nullptr || kind->words() != MessageWords::kNumbers) {
        ZU_TRACE(L"MarkupView::sendFromLink: no message '%ls' to send", link.message().c_str());
        return;
    }
    notify(*kind);
}

}  // namespace zustd
