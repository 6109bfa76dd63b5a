// The markup view: its language, its sizes, its links, and whatever else comes.
#include <algorithm>
#include <chrono>
#include <map>
#include <regex>

#include "ZuLayout.h"
#include "ZuMarkupView.h"
#include "ZuText.h"
#include "ZuXml.h"
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

const MessageKind kShowHelp(L"showHelp.MarkupTest", MessageWords::kNumbers);
const MessageKind kUnsaid(L"unsaid.MarkupTest");
constexpr std::int32_t kNoLimit = INT32_MAX / 2;

// --- The view, against a model ---

// Writes down the fonts and colours of texts too.
class InkGraphics : public RecordingGraphics {
public:
    void drawText(std::wstring_view text, Point at, const Font& font, Color color) override {
        noteInk(text, textOf(at), font.style(), color);
    }
    void drawText(std::wstring_view text, const Rect& area, const Font& font, Color color,
                  const TextFormat&) override {
        noteInk(text, textOf(area), font.style(), color);
    }

private:
    void noteInk(std::wstring_view text, const std::wstring& at, const FontStyle& style,
                 Color color) {
        note(L"text", at, text, style.size, style.bold, style.italic, style.underline,
             style.faceName, color);
    }
};

struct Element : Control {
    std::wstring text;
    FontStyle style;
    std::wstring message;
    bool isLink = false;

    void drawSelf(GraphicsService& graphics) override {
        const auto font = made<RecordingFont>(style);
        const Color color = !isUsable() ? Color::rgb(0x6D, 0x6D, 0x6D)
                            : isLink    ? Color::rgb(0x00, 0x5F, 0xB8)
                                        : Color::rgb(0x00, 0x00, 0x00);
        if (isLink || text.find(L'\n') != std::wstring::npos) {
            graphics.drawText(text, area(), *font, color, {});
        } else {
            graphics.drawText(text, {0, 0}, *font, color);
        }
    }
};

// The view once more: a naive reader of its language, which makes plain controls.
class Model : public Control {
public:
    std::wstring markup;
    FontStyle font;
    bool wraps = false;
    std::int32_t givenWidth = 0;

    Model() { setClipsChildren(true); }
    void parse() {
        removeAllChildren();
        font = {.size = 11, .faceName = font.faceName};
        inLink_ = false;
        static const std::wregex kToken(L"<([^>]*)>|[^<]+|<[^]*");
        for (std::wsregex_iterator token(markup.begin(), markup.end(), kToken), end; token != end;
             ++token) {
            (*token)[1].matched ? takeTag((*token)[1]) : take(token->str());
        }
        const auto [margin, spacing] = std::pair(arrangement().margin, arrangement().spacing);
        setArrangement({Flow::kRows, {}, Alignment::kEnd, spacing, margin, wraps});
        Size size = sizeIn(givenWidth > 0 ? givenWidth : kNoLimit);
        if (placement().autoSized && givenWidth > 0) {
            size.width = withinLimits({givenWidth, 1}).width;
        }
        place(Rect::at({}, size));
    }
    Size sizeIn(std::int32_t width) const {
        const std::int32_t most = placement().maximum.width;
        const Size margin = arrangement().margin;
        Rect area = Rect::at({margin.width, margin.height},
                             {innerWidth(most > 0 ? std::min(width, most) : width), kNoLimit});
        Size size = sizeAround(measureLayout(arrangement(), area, children()));
        // A word that is longer than the lines makes all of them longer.
        if (!placement().autoSized && innerWidth(size.width) > area.width()) {
            area.setSize({innerWidth(size.width), kNoLimit});
            size = sizeAround(measureLayout(arrangement(), area, children()));
        }
        return size;
    }
    Size preferredSize() override {
        Size size = sizeIn(givenWidth > 0 ? givenWidth : kNoLimit);
        size.height = placement().autoSized ? sizeIn(boundary().width()).height : size.height;
        return size;
    }

private:
    static std::wstring decoded(std::wstring text) {
        static const std::wregex kEntities[] = {std::wregex(L"&lt;"), std::wregex(L"&gt;"),
                                                std::wregex(L"&apos;"), std::wregex(L"&quot;"),
                                                std::wregex(L"&amp;")};
        for (std::size_t i = 0; i < 5; ++i) {
            text = std::regex_replace(text, kEntities[i], std::wstring(1, L"<>'\"&"[i]));
        }
        return text;
    }
    Element& add(const std::wstring& text) {
        const auto added = makeControl<Element>();
        added->text = text;
        added->style = font;
        added->style.size = std::clamp(font.size, 1, 144);
        added->setSize(
            {static_cast<std::int32_t>(text.size()) * (font.bold ? 8 : 7), added->style.size + 5});
        addChild(added);
        return *added;
    }
    void take(const std::wstring& run) {
        static const std::wregex kWord(L"[^ -]*[ -]|[^ -]+");
        const std::wstring text = decoded(run);
        if (inLink_) {
            linkText_ += text;
        } else if (!wraps) {
            add(text);
        } else {
            for (std::wsregex_iterator word(text.begin(), text.end(), kWord), end; word != end;
                 ++word) {
                add(word->str());
            }
        }
    }
    void breakLine() {
        const bool isOpen = !children().empty() && !children().back()->placement().breaksLineAfter;
        if (isOpen) {
            children().back()->setPlacement({.breaksLineAfter = true});
        }
        Element& blank = add(L" ");
        blank.setPlacement({.breaksLineAfter = true});
        blank.setVisible(!isOpen);
    }
    void takeTag(const std::wstring& tag) {
        const std::wstring name = tag.substr(0, tag.find(L' '));
        const bool on = !name.starts_with(L"/");
        const std::wstring bare = name.substr(on ? 0 : 1);
        font.bold = bare == L"b" ? on : font.bold;
        font.italic = bare == L"i" ? on : font.italic;
        font.underline = bare == L"u" ? on : font.underline;
        if (name == L"/font") {
            font = {.size = 11, .faceName = font.faceName};
        } else if (name == L"br/") {
            breakLine();
        } else if (name == L"/a" && std::exchange(inLink_, false) && !linkText_.empty()) {
            Element& link = add(linkText_);
            link.isLink = true;
            link.message = message_;
        } else if (name == L"a") {
            inLink_ = true;
            linkText_ = message_ = L"";
        }
        takeAttributes(name, std::wstring_view(tag).substr(name.size()));
    }
    void takeAttributes(const std::wstring& tag, std::wstring_view text) {
        std::vector<XmlAttribute> attributes;
        Xml::parseAttributes(text, attributes);
        Arrangement how = arrangement();
        Placement placed = placement();
        const std::map<std::wstring, std::int32_t*> numbers = {
            {L"control maxwidth", &placed.maximum.width},
            {L"control hmargin", &how.margin.width},
            {L"control maxheight", &placed.maximum.height},
            {L"control vmargin", &how.margin.height},
            {L"control hspacing", &how.spacing.width},
            {L"control vspacing", &how.spacing.height},
            {L"control width", &givenWidth},
            {L"font size", &font.size}};
        const std::map<std::wstring, bool*> flags = {{L"control autosize", &placed.autoSized},
                                                     {L"control wordwrap", &wraps}};
        for (const auto& [name, value] : attributes) {
            const std::wstring key = tag + L" " + name;
            if (const auto known = numbers.find(key); known != numbers.end()) {
                *known->second = std::max(Xml::toLong(value), name == L"width" ? 1 : INT32_MIN);
            } else if (const auto flag = flags.find(key); flag != flags.end()) {
                *flag->second = value == L"true";
            }
            message_ = key == L"a leftclickmessage" ? decoded(value) : message_;
        }
        setArrangement(how);
        setPlacement(placed);
    }

    bool inLink_ = false;
    std::wstring linkText_;
    std::wstring message_;
};

// Tags of all kinds, whole and in pieces.
std::wstring randomMarkup(Random& random) {
    // clang-format off
    static const wchar_t* const kParts[] = {
        L"<", L">", L"\"", L"=", L" ", L"a", L"<a ", L"<a>", L"</a>", L"<b>", L"</b>", L"<i>", L"</i>",
        L"<u>", L"</u>", L"<font ", L"size='20'", L"size=7 ", L"size=\"-99999999999\"", L"</font>",
        L"<br/>", L"<br/>", L"<br />", L"<B>", L"<control ", L"<control ", L"<control ", L"wordwrap=\"true\"",
        L"wordwrap=TRUE ", L"autosize='true'", L"autosize='t'", L"width='70'", L"width = '8'", L"width=210 ",
        L" height='-3'", L" height='40'", L"maxwidth=\"90\"", L"maxwidth='0'", L"maxheight=60 ", L"maxheight=-1 ",
        L"hmargin=\"3\"", L"vmargin='4'", L"hspacing=5x ", L"vspacing=\"-2\"", L"other=1 ", L"x=\"y ",
        L"leftclickmessage='m&gt;.&quot;' ", L"leftclickmessage=\"", L"&lt;", L"&gt;", L"&amp;", L"&amp;lt;",
        L"&quot;", L"&apos;", L"&", L"&nbsp;", L"-", L"well-known words ", L"\n", L"\t", L"'", L"/", L"\xD800",
        L"size=999 ", L"maxwidth=\"2147483647\"", L"hmargin=\"-2147483648\"", L"vspacing=\"-9999999999\"",
        L"</a>"};
    // clang-format on
    std::wstring markup;
    for (std::size_t count = random.below(40); count > 0; --count) {
        markup += random.pick(kParts);
        markup += random.below(4) == 0 ? L">" : L"";
    }
    return markup;
}

class MarkupTest : public ToolkitTest {
protected:
    MarkupTest() { window_->setBoundary({0, 0, 399, 299}); }

    std::wstring elements() const {
        std::wstring all;
        for (const auto& child : view_->children()) {
            all += dynamic_cast<const MarkupText&>(*child).text() + L"|";
        }
        return all;
    }
    void clickLink() { dynamic_cast<MarkupLink&>(*view_->children()[0]).click(); }

    std::shared_ptr<MarkupView> view_ = shown(makeControl<MarkupView>());
};

TEST_F(MarkupTest, view_changedAtRandom_readsPlacesAndDrawsAsTheModel) {
    const auto graphics = made<InkGraphics>();
    auto& canvas = recordingOf<InkGraphics>(*graphics);
    canvas.drawArea = {0, 0, INT32_MAX, INT32_MAX};
    for (std::uint64_t seed = 0; seed < 600 && !HasFailure(); ++seed) {
        Random random(seed);
        SCOPED_TRACE(random.label());
        const auto model = makeControl<Model>();
        model->markup = randomMarkup(random);
        const auto view = shown(makeControl<MarkupView>(model->markup));
        model->markup.empty() ? void() : model->parse();
        for (int step = 0; step < 5; ++step) {
            const auto width = static_cast<std::int32_t>(random.below(200));
            const bool enabled = random.below(3) != 0;
            view->setEnabled(enabled);
            model->setEnabled(enabled);
            const bool wraps = random.below(3) == 0;
            if (view->setWordWrap(wraps)) {
                model->wraps = wraps;
                model->parse();
            }
            const wchar_t* face = random.below(3) == 0 ? L"Courier" : L"";
            if (view->font().setFaceName(face)) {
                model->font.faceName = face;
                model->parse();
            }
            const std::wstring markup = randomMarkup(random);
            if (view->setMarkup(markup)) {
                model->markup = markup;
                model->parse();
                const auto& said = log_->entries;
                EXPECT_EQ(said[said.size() - 2].b.number(), model->boundary().width());
                EXPECT_EQ(said.back().b.number(), model->boundary().height());
            }
            // Only a width that a layout gives is forgotten with the next.
            const Rect boundary = Rect::at({}, {width, 30});
            if (random.below(4) == 0) {
                view->place(boundary);
                model->place(boundary);
            } else if (random.below(4) == 0) {
                const bool isOther = boundary.width() != model->boundary().width();
                model->givenWidth = isOther ? boundary.width() : model->givenWidth;
                view->setBoundary({0, 0, width - 1, 29});
                model->place(boundary);
            }
            model->arrange();
            EXPECT_EQ(view->boundary(), model->boundary());
            EXPECT_EQ(view->preferredSize(), model->preferredSize());
            EXPECT_EQ(view->preferredSizeForWidth(width), model->sizeIn(width));
            view->drawAsRoot(*graphics);
            const Journal drawn = std::exchange(canvas.journal, {});
            model->drawAsRoot(*graphics);
            ASSERT_EQ(drawn, std::exchange(canvas.journal, {})) << narrow(model->markup);
            ASSERT_EQ(view->children().size(), model->children().size());
            for (std::size_t i = 0; i < model->children().size(); ++i) {
                const auto* link = dynamic_cast<MarkupLink*>(view->children()[i].get());
                EXPECT_EQ(link ? link->message() : L"",
                          dynamic_cast<Element&>(*model->children()[i]).message);
            }
        }
        window_->removeChild(view.get());
    }
}

TEST_F(MarkupTest, services_missing_failTheirAssertions) {
    const auto view = makeControl<MarkupView>(L"text");
    EXPECT_EQ(thrownText([&] { view->parseMarkup(); }), L"gs");
    view->registerService(makeService<GraphicsService>(), true, true);
    const TraceCapture trace(kTraceLevelInfo);
    EXPECT_EQ(thrownText([&] { view->addLineBreak(); }), L"ws");
    EXPECT_NE(trace.bytes().find("src/lib/ZuMarkupView"), std::string::npos);
    // Nothing to show, nothing to measure.
    view->setMarkup(L"<b>");
    EXPECT_EQ(thrownText([&] { view->parseMarkup(); }), L"nothing");
}

TEST_F(MarkupTest, receivers_changingTheMarkupOrRemovingTheView_areSafe) {
    std::function<void()> act = [&] { view_->setMarkup(L"last"); };
    const auto sink = std::make_shared<FunctionSink>([&](const MessageKind& kind, auto...) {
        if (kind == Control::kLeaveHovering || kind == kShowHelp) {
            act();
        }
    });
    view_->connect(sink, false);
    view_->setMarkup(L"<a leftclickmessage=\"showHelp.MarkupTest\">link</a>");
    clickLink();
    EXPECT_EQ(elements(), L"last|");
    for (const wchar_t* shown : {L"last|", L""}) {
        view_->setMarkup(L"<a>link</a>");
        mouse(MouseAction::kMove, {10, 5});
        view_->setMarkup(L"outer");
        EXPECT_EQ(elements(), shown);
        act = [&] { window_->removeChild(view_.get()); };
    }
    window_->addChild(view_);
    EXPECT_EQ(elements(), L"outer|");
}

TEST_F(MarkupTest, link_clicked_sendsASafeMessageFromTheView) {
    const std::pair<std::wstring, const wchar_t*> kLinks[] = {
        {L"", L""},
        {L"nobody.Knows", L""},
        {kUnsaid.name().data(), L""},
        {Control::kScrolled.name().data(), L"scrolled"},
        {kShowHelp.name().data(), L"showHelp"}};
    const TraceCapture trace(kTraceLevelInfo);
    for (const auto& [name, sent] : kLinks) {
        view_->setMarkup(L"<a leftclickmessage=\"" + name + L"\">link</a> text");
        log_->take();
        clickLink();
        EXPECT_EQ(log_->take(), sent) << narrow(name);
    }
    EXPECT_EQ(trace.messages().at(1),
              "MarkupView::sendFromLink: no message 'nobody.Knows' to send");
    clickLink();
    EXPECT_EQ(log_->entries.back().a.object<Control>(), view_.get());
    EXPECT_EQ(log_->entries.back().b.number(), 0);
    click({40, 5});
    EXPECT_EQ(log_->take(), L"showHelp enterLeftClicking leaveLeftClicking leftClicked")
        << "words take no mouse";
    mouse(MouseAction::kMove, {10, 5});
    const auto graphics = made<InkGraphics>();
    view_->drawAsRoot(*graphics);
    EXPECT_EQ(recordingOf<InkGraphics>(*graphics).journal[1],
              L"text 0,0,27,15 link 11 0 0 1  #008ae6");
}

TEST_F(MarkupTest, hostile_markup_staysLinearAndBounded) {
    const auto repeated = [](const wchar_t* part, std::size_t count) {
        std::wstring all;
        while (count-- > 0) {
            all += part;
        }
        return all;
    };
    const std::pair<std::wstring, std::size_t> kRows[] = {
        {repeated(L"<", 1'000'000), 1},
        {repeated(L"<b ", 300'000) + L"=\"" + repeated(L"= ", 100'000), 1},
        {L"<control " + repeated(L"width=\"8\" height='9'maxwidth=9", 20'000) + L"x=\">y", 1},
        {repeated(L"<a>x</a><font size='9'>y</font>", 50'000), 100'000},
        {L"<control wordwrap=\"true\">" + repeated(L"- ", 400'000), MarkupView::kMaxElements},
        {repeated(L"<br/>", 300'000), MarkupView::kMaxElements}};
    const TraceCapture trace(kTraceLevelInfo);
    const auto start = std::chrono::steady_clock::now();
    for (const auto& [markup, count] : kRows) {
        view_->setMarkup(markup);
        EXPECT_EQ(view_->children().size(), count) << narrow(markup.substr(0, 40));
    }
    EXPECT_EQ(trace.messages(),
              Lines(2, "MarkupView::parseMarkup: more than 200000 elements; the rest is left out"));
    // What is not linear takes minutes.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

}  // namespace
}  // namespace zustd
