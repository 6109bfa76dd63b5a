// The markup view: its language, its sizes, its links, and whatever else comes.
#include <algorithm>
#include <chrono>
#include <map>
#include <regex>

#include "ZuMarkupView.h"
#include "ZuText.h"
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

const MessageKind kShowHelp(L"showHelp.MarkupTest", MessageWords::kNumbers);
const MessageKind kUnsaid(L"unsaid.MarkupTest");

// --- The language ---

// The flags of a font, and its size where it is not the usual one.
std::wstring inShort(const FontStyle& style) {
    return std::wstring(style.bold ? L"b" : L"") + (style.italic ? L"i" : L"") +
           (style.underline ? L"u" : L"") + (style.size == 11 ? L"" : std::to_wstring(style.size));
}

// Writes down what it is told, and what the font is by then.
class Told : public IMarkupHandler {
public:
    Texts lines;
    FontDescriptor font;

    void onRun(const std::wstring& text) override { add(L"run " + text); }
    void onLineBreak() override { add(L"break"); }
    void onLink(const std::wstring& text, const std::wstring& message) override {
        add(L"link " + text + L"->" + message);
    }
    MarkupSettings settings() const override { return settings_; }
    void onSettings(const MarkupSettings& now) override {
        settings_ = now;
        add(formatWide(L"set %d,%d %d,%d %d,%d %d,%d %d %d", now.size.width, now.size.height,
                       now.maximumSize.width, now.maximumSize.height, now.margins.width,
                       now.margins.height, now.spacing.width, now.spacing.height, now.autoSized,
                       now.wrapsWords));
    }

private:
    void add(const std::wstring& line) { lines.push_back(line + L"|" + inShort(font.style())); }

    MarkupSettings settings_;
};

// The language once more, plainly.
class NaiveReader : public Told {
public:
    void read(const std::wstring& markup) {
        std::wstring run;
        for (std::size_t i = 0; i < markup.size(); ++i) {
            const std::size_t close = markup.find(L'>', i);
            if (markup[i] != L'<') {
                run += markup[i];
                continue;
            }
            take(std::exchange(run, {}));
            if (close == std::wstring::npos) {
                run = markup.substr(i);
                break;
            }
            takeTag(markup.substr(i + 1, close - i - 1));
            i = close;
        }
        take(run);
    }

private:
    static std::wstring decoded(std::wstring text) {
        for (const auto& [entity, character] :
             {std::pair{L"&lt;", L"<"}, {L"&gt;", L">"}, {L"&apos;", L"'"}, {L"&quot;", L"\""}}) {
            text = std::regex_replace(text, std::wregex(entity), character);
        }
        return std::regex_replace(text, std::wregex(L"&amp;"), L"&");
    }
    static std::int32_t number(const std::wstring& text) {
        const long long value = std::wcstoll(text.c_str(), nullptr, 10);
        return static_cast<std::int32_t>(std::clamp(value, -2147483648LL, 2147483647LL));
    }
    // In their order, up to the first that is none.
    static std::vector<std::pair<std::wstring, std::wstring>> attributesOf(std::wstring text) {
        static const std::wregex kOne(
            L"\\s*([^=\\s]+)=\\s*(\"([^\"]*)\"|'([^']*)'|([^\"'\\s]\\S*|$))([^]*)");
        std::vector<std::pair<std::wstring, std::wstring>> found;
        for (std::wsmatch match; std::regex_match(text, match, kOne); text = match.str(6)) {
            found.emplace_back(match[1], match.str(3) + match.str(4) + match.str(5));
        }
        return found;
    }

    void take(const std::wstring& run) {
        if (inLink_) {
            linkText_ += decoded(run);
        } else if (!run.empty()) {
            onRun(decoded(run));
        }
    }
    void takeTag(const std::wstring& tag) {
        const std::wstring name = tag.substr(0, tag.find(L' '));
        const auto attributes = attributesOf(tag.substr(name.size()));
        MarkupSettings now = settings();
        const std::map<std::wstring, bool (FontDescriptor::*)(bool)> flags = {
            {L"b", &FontDescriptor::setBold},
            {L"i", &FontDescriptor::setItalic},
            {L"u", &FontDescriptor::setUnderline}};
        if (const auto flag = flags.find(name.substr(name.starts_with(L"/")));
            flag != flags.end()) {
            (font.*flag->second)(!name.starts_with(L"/"));
        } else if (name == L"/font") {
            font.reset();
        } else if (name == L"br/") {
            onLineBreak();
        } else if (name == L"/a" && std::exchange(inLink_, false) && !linkText_.empty()) {
            onLink(linkText_, message_);
        } else if (name == L"a") {
            inLink_ = true;
            linkText_ = message_ = L"";
        }
        const std::map<std::wstring, std::int32_t*> numbers = {
            {L"maxwidth", &now.maximumSize.width}, {L"maxheight", &now.maximumSize.height},
            {L"hmargin", &now.margins.width},      {L"vmargin", &now.margins.height},
            {L"hspacing", &now.spacing.width},     {L"vspacing", &now.spacing.height},
            {L"width", &now.size.width},           {L"height", &now.size.height}};
        for (const auto& [attribute, value] : attributes) {
            const auto known = numbers.find(attribute);
            if (name == L"font" && attribute == L"size") {
                font.setSize(number(value));
            } else if (name == L"a" && attribute == L"leftclickmessage") {
                message_ = decoded(value);
            } else if (known != numbers.end()) {
                const bool isExtent = attribute == L"width" || attribute == L"height";
                *known->second = std::max(number(value), isExtent ? 1 : INT32_MIN);
            } else if (attribute == L"autosize") {
                now.autoSized = value == L"true";
            } else if (attribute == L"wordwrap") {
                now.wrapsWords = value == L"true";
            }
        }
        if (name == L"control") {
            onSettings(now);
        }
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
        L"<br/>", L"<br />", L"<B>", L"<control ", L"<control ", L"wordwrap=\"true\"", L"wordwrap=TRUE ",
        L"autosize='true'", L"autosize='t'", L"width='70'", L"width = '8'", L" height='-3'",
        L"maxwidth=\"2147483647\"", L"maxheight=300 ", L"hmargin=\"-2147483648\"", L"vmargin='4'",
        L"hspacing=5x ", L"vspacing=\"-9999999999\"", L"other=1 ", L"leftclickmessage='m&gt;.&quot;' ",
        L"leftclickmessage=\"", L"&lt;", L"&gt;", L"&amp;", L"&amp;lt;", L"&quot;", L"&apos;", L"&", L"&nbsp;",
        L"-", L"well-known words ", L"\n", L"\t", L"'", L"/", L"\xD800"};
    // clang-format on
    std::wstring markup;
    for (std::size_t count = random.below(40); count > 0; --count) {
        markup += random.pick(kParts);
        markup += random.below(4) == 0 ? L">" : L"";
    }
    return markup;
}

TEST(Markup, read_randomText_isAsANaiveReaderReadsIt) {
    for (std::uint64_t seed = 0; seed < 4000; ++seed) {
        Random random(seed);
        const std::wstring markup = randomMarkup(random);
        NaiveReader expected;
        expected.read(markup);
        Told told;
        readMarkup(markup, told.font, told);
        ASSERT_EQ(told.lines, expected.lines) << random.label() << ": " << narrow(markup);
    }
}

// --- The view ---

class MarkupTest : public ToolkitTest {
protected:
    MarkupTest() { window_->setBoundary({0, 0, 399, 299}); }

    // The elements in short: text, font, the message of a link, and "/" where a
    // line ends; those that take no room in round brackets.
    static std::wstring elementsOf(const MarkupView& view) {
        std::wstring all;
        for (const std::shared_ptr<Control>& child : view.children()) {
            const auto* link = dynamic_cast<const MarkupLink*>(child.get());
            const auto* text = dynamic_cast<const MarkupText*>(child.get());
            const std::wstring font = inShort((link ? link->markupFont() : text->font())->style());
            all += child->isVisible() ? L"[" : L"(";
            all += (link ? link->text() : text->text()) + (font.empty() ? L"" : L"|" + font);
            all += link ? L"->" + link->message() : L"";
            all += child->placement().breaksLineAfter ? L"/" : L"";
            all += child->isVisible() ? L"]" : L")";
        }
        return all;
    }
    std::wstring elements() const { return elementsOf(*view_); }
    Size size() const { return view_->boundary().size(); }
    Rect place(std::size_t element) const { return view_->children()[element]->boundary(); }
    void clickLink() { dynamic_cast<MarkupLink&>(*view_->children()[0]).click(); }

    std::shared_ptr<MarkupView> view_ = shown(makeControl<MarkupView>());
};

TEST_F(MarkupTest, parse_runsAndTags_becomeElements) {
    const std::pair<const wchar_t*, const wchar_t*> kRows[] = {
        {L"", L""},
        {L"a<b>b<i>c</b>d</i>e", L"[a][b|b][c|bi][d|i][e]"},
        {L"<font size=\"20\"><b>a</font>b", L"[a|b20][b]"},
        {L"<font size=\"99999999999\">a<font size=\"-5\">b", L"[a|144][b|1]"},
        {L"<br/>a<br/><br/>b", L"[ /][a/]( /)[ /][b]"},
        {L"<a leftclickmessage=\"m.C\">x<b>y</a><br/>z", L"[xy|b->m.C/]( |b/)[z|b]"},
        {L"<control wordwrap=\"true\">a well-known  end<b>x y-</b>",
         L"[a ][well-][known ][ ][end][x |b][y-|b]"},
        {L"a b<control wordwrap=\"true\">c d<control wordwrap=\"yes\">e f", L"[a b][c ][d][e f]"},
        {L"<control wordwrap=\"true\"><a>a link-text</a>", L"[a link-text->]"},
    };
    for (const auto& [markup, expected] : kRows) {
        view_->setMarkup(L"");
        view_->setWordWrap(false);
        view_->setMarkup(markup);
        EXPECT_EQ(elements(), expected) << narrow(markup);
    }
}

TEST_F(MarkupTest, control_attributes_setTheView) {
    view_->setMarkup(
        L"<control hmargin=\"3\" vmargin=\"4\" hspacing=\"5\" vspacing=\"6\" maxwidth=\"300\""
        L" maxheight=\"200\" autosize=\"true\" wordwrap=\"true\" width=\"100\">");
    EXPECT_EQ(view_->arrangement().spacing, (Size{5, 6}));
    EXPECT_EQ(view_->placement().maximum, (Size{300, 200}));
    EXPECT_TRUE(view_->wrapsWords());
    // Auto-sized: the width stays, the height is that of the (empty) text.
    EXPECT_EQ(size(), (Size{100, 8}));
    view_->setMarkup(L"<control vmargin=\"2\"><control height=\"50\">");
    EXPECT_EQ(size(), (Size{100, 4})) << "what is not set stays";
    view_->setMarkup(L"<control autosize=\"TRUE\" height=\"2147483647\">");
    EXPECT_EQ(size(), (Size{6, 4}));
    view_->setMarkup(L"<control autosize=\"true\" width=\"-7\">");
    EXPECT_EQ(size().width, 1);
}

TEST_F(MarkupTest, size_plain_isContentAndMargins) {
    view_->setMarkup(L"<control hmargin=\"10\" vmargin=\"20\">ab<b>c</b><br/>d");
    EXPECT_EQ(size(), (Size{2 * 10 + 14 + 8, 2 * 20 + 2 * 16}));
    EXPECT_EQ(place(0), (Rect{10, 20, 23, 35}));
    EXPECT_EQ(place(1), (Rect{24, 20, 31, 35}));
    EXPECT_EQ(place(3), (Rect{10, 36, 16, 51}));
    view_->setMarkup(L"");
    EXPECT_EQ(size(), (Size{20, 40}));
    EXPECT_EQ(view_->preferredSize(), (Size{20, 40}));
    view_->setMarkup(L"<control hmargin=\"0\" vmargin=\"0\"><br/>a<font size=\"20\">b");
    EXPECT_EQ(size(), (Size{14, 16 + 25})) << "an empty line, and fonts on one foot";
    EXPECT_EQ(place(1), (Rect{0, 16 + 9, 6, 16 + 24}));
}

TEST_F(MarkupTest, wrap_givenWidth_breaksAndKeepsIt) {
    view_->setMarkup(L"<control wordwrap=\"true\" width=\"50\">aaa bbb ccc-ddd");
    // Words of 28, the last one of 21.
    EXPECT_EQ(size(), (Size{49, 3 * 16}));
    view_->setBoundary({0, 0, 59, 63});
    EXPECT_EQ(place(1), (Rect{28, 0, 55, 15}));
    EXPECT_EQ(view_->preferredSize(), (Size{56, 32}));
    EXPECT_EQ(view_->preferredSizeForWidth(1000), (Size{28 + 28 + 28 + 21, 16}));
    view_->setPlacement({.maximum = {60, 30}});
    EXPECT_EQ(view_->preferredSizeForWidth(1000), (Size{56, 30}));
    // A line that is full ends without an empty one, with and without gaps.
    view_->setMarkup(L"<control width=\"56\" maxheight=\"0\">aaa bbb <br/>ccc");
    EXPECT_EQ(size(), (Size{56, 2 * 16}));
    view_->setMarkup(L"<control hspacing=\"4\" width=\"60\">aaa bbb <br/><br/>ccc");
    EXPECT_EQ(size(), (Size{60, 3 * 16}));
    // A word that is longer than the lines makes all of them longer.
    view_->setMarkup(L"<control hspacing=\"0\" width=\"30\">a b aaaaaaaa b c d");
    EXPECT_EQ(size(), (Size{60, 3 * 16}));
    EXPECT_EQ(view_->preferredSize(), size());
    // A text that does not wrap goes past the width.
    view_->setMarkup(L"<control wordwrap=\"false\" maxwidth=\"0\">aaa bbb ccc");
    EXPECT_EQ(size(), (Size{77, 16}));
}

TEST_F(MarkupTest, grown_inContainers_pushesItsNeighboursAway) {
    const auto outer = shown(makeControl<Control>(), {0, 0, 399, 299});
    const auto page = makeControl<Control>();
    const auto below = makeControl<MarkupView>(L"below");
    const auto beside = makeControl<MarkupView>(L"beside");
    outer->setArrangement({.flow = Flow::kColumns});
    page->setArrangement({.flow = Flow::kRows});
    page->addChild(view_);
    page->addChild(beside);
    outer->addChild(page);
    outer->addChild(below);
    for (const wchar_t* markup : {L"a", L"longer<br/>and higher", L"", L"<font size=\"30\">x"}) {
        view_->setMarkup(markup);
        EXPECT_EQ(beside->boundary().left, view_->boundary().right + 1) << narrow(markup);
        EXPECT_EQ(below->boundary().top, std::max(size().height, 16)) << narrow(markup);
    }
}

TEST_F(MarkupTest, width_givenByALayout_doesNotStick) {
    const auto page = shown(makeControl<Control>(), {0, 0, 399, 299});
    page->setArrangement({.flow = Flow::kRows});
    page->addChild(view_);
    view_->setMarkup(L"<control wordwrap=\"true\">aaa bbb ccc-ddd");
    view_->setPlacement({.maximum = {60, 0}});
    page->arrange();
    EXPECT_EQ(size(), (Size{56, 32}));
    view_->setPlacement({});
    page->arrange();
    EXPECT_EQ(size(), (Size{105, 16}));
    // What shares a row is as high as its share of it asks for.
    view_->setPlacement({.autoSized = true});
    for (const auto& [width, height] : {std::pair{60, 32}, {20, 64}, {300, 16}}) {
        page->setSize({width, 300});
        EXPECT_EQ(size(), (Size{width, height}));
    }
}

TEST_F(MarkupTest, services_missing_failTheirAssertions) {
    const auto view = makeControl<MarkupView>(L"text");
    EXPECT_EQ(thrownText([&] { view->parseMarkup(); }), L"gs");
    const auto graphics = makeService<GraphicsService>();
    view->registerService(graphics, true, true);
    EXPECT_EQ(thrownText([&] { view->parseMarkup(); }), L"ws");
    view->unregisterService(graphics);
    // Nothing to show, nothing to measure.
    view->setMarkup(L"<b>");
    view->parseMarkup();
    EXPECT_EQ(view->preferredSize(), (Size{0, 0}));
    TraceCapture trace;
    EXPECT_EQ(thrownText([&] { view->addLineBreak(); }), L"gs");
    ASSERT_FALSE(trace.messages().empty());
    EXPECT_NE(trace.bytes().find("src/lib/ZuMarkupView"), std::string::npos);
}

TEST_F(MarkupTest, markup_setBefore_isParsedOnTheSurface) {
    const auto page = makeControl<Control>();
    const auto view = makeControl<MarkupView>(L"a<b>b");
    page->setArrangement({.flow = Flow::kRows});
    page->addChild(view);
    EXPECT_EQ(elementsOf(*view), L"");
    window_->addChild(page);
    EXPECT_EQ(elementsOf(*view), L"[a][b|b]");
    EXPECT_EQ(view->boundary(), (Rect{0, 0, 14, 15}));
}

TEST_F(MarkupTest, font_otherFace_isTakenByTheNextText) {
    view_->setMarkup(L"a<b>b");
    view_->font().setFaceName(L"Courier");
    EXPECT_EQ(dynamic_cast<MarkupText&>(*view_->children()[1]).font()->style().faceName,
              L"Courier");
    EXPECT_EQ(elements(), L"[a][b|b]");
}

TEST_F(MarkupTest, receivers_setMarkup_atAnyTimeIsSafeAndShownOnce) {
    const auto changer = std::make_shared<FunctionSink>([&](const MessageKind& kind, auto...) {
        if (kind == Control::kLeaveHovering || kind == kShowHelp ||
            kind == ChangeTracker::kPropertyChanged) {
            view_->setMarkup(L"last");
        }
    });
    view_->connect(changer, false);
    view_->setMarkup(L"<a leftclickmessage=\"m.C\">link</a>");
    view_->children()[0]->connect(changer, false);
    mouse(MouseAction::kMove, {10, 5});
    view_->setMarkup(L"outer");
    EXPECT_EQ(elements(), L"[last]");
    EXPECT_EQ(view_->markup(), L"last");
    view_->setMarkup(L"<a leftclickmessage=\"showHelp.MarkupTest\">help</a>");
    clickLink();
    EXPECT_EQ(elements(), L"[last]");
    // In the middle of parsing.
    view_->font().connect(changer, false);
    view_->setMarkup(L"<b>x");
    EXPECT_EQ(elements(), L"[last]");
    const auto remover =
        std::make_shared<FunctionSink>([&](auto&&...) { window_->removeChild(view_.get()); });
    view_->font().disconnect(changer.get());
    view_->font().connect(remover, false);
    EXPECT_EQ(thrownText([&] { view_->setMarkup(L"a<u>b"); }), L"nothing");
    EXPECT_EQ(elements(), L"[a][b|u]");
    EXPECT_EQ(view_->surface(), nullptr);
}

TEST_F(MarkupTest, link_clickedOrByKey_sendsItsMessageFromTheView) {
    view_->setMarkup(L"text <a leftclickmessage=\"showHelp.MarkupTest\">help</a> <a>two</a>");
    click({40, 5});
    ASSERT_FALSE(log_->entries.empty());
    EXPECT_EQ(log_->entries.back().name, L"showHelp.MarkupTest");
    EXPECT_EQ(log_->entries.back().a.object<Control>(), view_.get());
    EXPECT_EQ(log_->entries.back().b.number(), 0);
    log_->take();
    click({10, 5});
    EXPECT_EQ(log_->entries.back().a.object<Control>(), view_.get()) << "words take no mouse";
    EXPECT_EQ(log_->take(), L"enterLeftClicking leaveLeftClicking leftClicked");
    EXPECT_TRUE(view_->children()[1]->hasFocus());
    const Journal journal = drawn(*view_);
    for (const wchar_t* entry : {L"focus 35,0,62,15", L"clip 0,0,90,15", L"text 0,0 text "}) {
        EXPECT_NE(std::find(journal.begin(), journal.end(), entry), journal.end()) << entry;
    }
    EXPECT_TRUE(key(kKeyEnter));
    EXPECT_EQ(log_->take(), L"showHelp");
    EXPECT_TRUE(key(kKeyTab));
    EXPECT_TRUE(view_->children()[3]->hasFocus());
}

TEST_F(MarkupTest, link_withoutSafeMessage_sendsNothing) {
    const std::tuple<std::wstring, bool, const wchar_t*> links[] = {
        {L"", false, L""},
        {L"nobody.Knows", false, L""},
        {L"close.Control", true, L""},
        {L"unsaid.MarkupTest", true, L""},
        {L"scrolled.Control", true, L"scrolled"}};
    for (const auto& [name, isKind, sent] : links) {
        view_->setMarkup(L"<a leftclickmessage=\"" + name + L"\">link</a>");
        log_->take();
        clickLink();
        EXPECT_EQ(log_->take(), sent) << narrow(name);
        EXPECT_EQ(MessageKind::find(name) != nullptr, isKind) << narrow(name);
    }
}

// --- Whatever comes ---

TEST_F(MarkupTest, hostile_markup_staysLinearAndBounded) {
    const auto repeated = [](const wchar_t* part, std::size_t count) {
        std::wstring all;
        while (count-- > 0) {
            all += part;
        }
        return all;
    };
    const struct {
        std::wstring markup;
        std::size_t elements;
    } kRows[] = {
        {repeated(L"<", 1'000'000), 1},
        {repeated(L"<a><b><i>", 100'000) + L"x", 0},
        {repeated(L"<b ", 300'000) + L"=\"" + repeated(L"= ", 100'000), 1},
        {repeated(L"<br/>", 100'000) + L"<control " +
             repeated(L"width=\"8\" height=\"9\" width=\"9\" ", 20'000) + L"x=\">y",
         100'001},
        {repeated(L"<br/>", 100'000) + L"<control " +
             repeated(L"hmargin='1'vspacing='2'maxwidth='9'", 20'000) + L">",
         100'000},
        {repeated(L"<a>x</a><font size='9'>y</font>", 50'000), 100'000},
        {repeated(L"&", 1'000'000), 1},
        {L"<control wordwrap=\"true\">" + repeated(L"- ", 400'000), MarkupView::kMaxElements},
        {repeated(L"<br/>", 300'000), MarkupView::kMaxElements},
    };
    const auto start = std::chrono::steady_clock::now();
    for (const auto& row : kRows) {
        view_->setMarkup(row.markup);
        EXPECT_EQ(view_->children().size(), row.elements) << narrow(row.markup.substr(0, 40));
    }
    // What is not linear takes minutes.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST_F(MarkupTest, view_randomText_showsWithoutFailing) {
    for (std::uint64_t seed = 0; seed < 300; ++seed) {
        Random random(seed);
        const std::wstring markup = randomMarkup(random);
        SCOPED_TRACE(random.label());
        EXPECT_EQ(thrownText([&] { view_->setMarkup(markup); }), L"nothing");
        view_->setBoundary(Rect::at({0, 0}, {static_cast<std::int32_t>(random.below(200)), 5}));
        drawn(*view_);
    }
}

}  // namespace
}  // namespace zustd
