// The markup view: its language, its sizes, its links, and whatever else comes.
#include <algorithm>
#include <chrono>

#include "ZuMarkupView.h"
#include "ZuText.h"
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

const MessageKind kShowHelp(L"showHelp.MarkupTest", MessageWords::kNumbers);
const MessageKind kUnsaid(L"unsaid.MarkupTest");

// The elements in short: text, then the font's flags and size where they are
// not the usual, the message of a link, and "/" for a line break.
std::wstring elementsOf(const MarkupView& view) {
    std::wstring all;
    const auto add = [&all](const std::wstring& text, const std::shared_ptr<Font>& font) {
        const FontStyle& style = font->style();
        all += L"[" + text;
        const std::wstring flags = std::wstring(style.bold ? L"b" : L"") +
                                   (style.italic ? L"i" : L"") + (style.underline ? L"u" : L"") +
                                   (style.size == 11 ? L"" : std::to_wstring(style.size));
        all += flags.empty() ? L"" : L"|" + flags;
    };
    for (const std::shared_ptr<Control>& child : view.children()) {
        if (const auto* link = dynamic_cast<const MarkupLink*>(child.get())) {
            add(link->text(), link->markupFont());
            all += L"->" + link->message();
        } else {
            const auto& text = dynamic_cast<const MarkupText&>(*child);
            add(text.text(), text.font());
            all += text.breaksLineAfter() ? L"/" : L"";
        }
        all += L"]";
    }
    return all;
}

class MarkupTest : public ToolkitTest {
protected:
    MarkupTest() { window_->setBoundary({0, 0, 399, 299}); }

    Size size() const { return view_->boundary().size(); }
    Rect place(std::size_t element) const { return view_->children()[element]->boundary(); }
    void clickLink() { dynamic_cast<MarkupLink&>(*view_->children()[0]).click(); }

    std::shared_ptr<MarkupView> view_ = shown(makeControl<MarkupView>());
};

// --- The language ---

TEST_F(MarkupTest, parse_runsAndTags_becomeElements) {
    const struct {
        const wchar_t* markup;
        const wchar_t* elements;
    } kRows[] = {
        {L"", L""},
        {L"one run-off", L"[one run-off]"},
        {L"a<b>b<i>c</b>d</i>e", L"[a][b|b][c|bi][d|i][e]"},
        {L"<u>a</u>b", L"[a|u][b]"},
        {L"<font size=\"20\">a<b>b</font>c", L"[a|20][b|b20][c]"},
        {L"<font size=\"8\" size='9' face=\"x\">a", L"[a|9]"},
        {L"<b>a</font>b", L"[a|b][b]"},
        {L"<br/>a<br/>", L"[ /][a][ /]"},
        {L"<br />a<br>b<B>c</em>d", L"[a][b][c][d]"},
        {L"<a leftclickmessage=\"m.C\">x<b>y</a>z", L"[xy|b->m.C][z|b]"},
        {L"a</a>b<a leftclickmessage=\"m\"></a>c", L"[a][b][c]"},
        {L"<a leftclickmessage=\"m\">x<a>y</a>z<a>lost", L"[y->][z]"},
        {L"&lt;b&gt; &amp;amp; &quot;&apos; AT&T &nbsp;", L"[<b> &amp; \"' AT&T &nbsp;]"},
        {L"a > b < c", L"[a > b ][< c]"},
        {L"a<<<b>c<", L"[a][c][<]"},
        {L"<>a</>b< b>c", L"[a][b][c]"},
        {L"<control wordwrap=\"true\">a well-known  end<b>x y-</b>",
         L"[a ][well-][known ][ ][end][x |b][y-|b]"},
        {L"a b<control wordwrap=\"true\">c d<control wordwrap=\"yes\">e f", L"[a b][c ][d][e f]"},
        {L"<control wordwrap=\"true\"><a>a link-text</a>", L"[a link-text->]"},
        {L"<font size=\"99999999999\">a<font size=\"-5\">b<font size=\"x\">c",
         L"[a|144][b|1][c|1]"},
    };
    for (const auto& row : kRows) {
        view_->setMarkup(L"");
        view_->setWordWrap(false);
        view_->setMarkup(row.markup);
        EXPECT_EQ(elementsOf(*view_), row.elements) << narrow(row.markup);
    }
}

TEST_F(MarkupTest, control_attributes_setTheView) {
    view_->setMarkup(
        L"<control hmargin=\"3\" vmargin=\"4\" hspacing=\"5\" vspacing=\"6\" maxwidth=\"300\""
        L" maxheight=\"200\" autosize=\"true\" wordwrap=\"true\" width=\"100\" other=\"1\">");
    EXPECT_EQ(view_->horizontalMargin(), 3);
    EXPECT_EQ(view_->verticalMargin(), 4);
    EXPECT_EQ(view_->horizontalSpacing(), 5);
    EXPECT_EQ(view_->verticalSpacing(), 6);
    EXPECT_EQ(view_->maximumSize(), (Size{300, 200}));
    EXPECT_TRUE(view_->isAutoSized());
    EXPECT_TRUE(view_->wrapsWords());
    // Auto-sized: the width stays, the height is that of the (empty) text.
    EXPECT_EQ(size(), (Size{100, 8}));
    view_->setMarkup(L"<control autosize=\"TRUE\" width=\"-7\" height=\"2147483647\">");
    EXPECT_FALSE(view_->isAutoSized());
    EXPECT_EQ(size(), (Size{6, 8}));
    view_->setMarkup(L"<control autosize=\"true\" width=\"-7\">");
    EXPECT_EQ(size().width, 1);
}

// --- Size and place ---

TEST_F(MarkupTest, size_plain_isContentAndMargins) {
    view_->setMarkup(L"<control hmargin=\"10\" vmargin=\"20\">ab<b>c</b><br/>d");
    // Two of 7, one of 8, and the blank that ends the line.
    EXPECT_EQ(size(), (Size{2 * 10 + 14 + 8 + 7, 2 * 20 + 2 * 16}));
    EXPECT_EQ(place(0), (Rect{10, 20, 23, 35}));
    EXPECT_EQ(place(1), (Rect{24, 20, 31, 35}));
    EXPECT_EQ(place(3), (Rect{10, 36, 16, 51}));
    view_->setMarkup(L"");
    EXPECT_EQ(size(), (Size{20, 40}));
    EXPECT_EQ(view_->preferredSize(), (Size{20, 40}));
}

TEST_F(MarkupTest, size_fontsMixed_standOnOneLineAndLeaveEmptyOnes) {
    view_->setMarkup(L"<br/>a<font size=\"20\">b");
    EXPECT_EQ(size(), (Size{14, 16 + 25}));
    EXPECT_EQ(place(1), (Rect{0, 16 + 9, 6, 16 + 24}));
    EXPECT_EQ(place(2), (Rect{7, 16, 13, 16 + 24}));
}

TEST_F(MarkupTest, wrap_givenWidth_breaksAndKeepsIt) {
    view_->setMarkup(L"<control wordwrap=\"true\" width=\"50\">aaa bbb ccc-ddd");
    // Words of 28, the last one of 21.
    EXPECT_EQ(size(), (Size{49, 3 * 16}));
    view_->setBoundary({0, 0, 59, 63});
    EXPECT_EQ(place(1), (Rect{28, 0, 55, 15}));
    EXPECT_EQ(view_->preferredSize(), (Size{56, 32}));
    EXPECT_EQ(view_->preferredSizeForWidth(1000), (Size{28 + 28 + 28 + 21, 16}));
    view_->setMaximumSize({60, 30});
    EXPECT_EQ(view_->preferredSizeForWidth(1000), (Size{56, 30}));
    // A text that does not wrap goes past the width.
    view_->setMarkup(L"<control wordwrap=\"false\" maxwidth=\"0\" maxheight=\"0\">aaa bbb ccc");
    EXPECT_EQ(size(), (Size{77, 16}));
}

TEST_F(MarkupTest, grown_inContainers_pushesItsNeighboursAway) {
    const auto outer = shown(makeControl<Control>(), {0, 0, 399, 299});
    const auto page = makeControl<Control>();
    const auto below = makeControl<MarkupView>(L"below");
    const auto beside = makeControl<MarkupView>(L"beside");
    outer->setArrangement(Arrangement::kColumns);
    page->setArrangement(Arrangement::kRows);
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
    page->setArrangement(Arrangement::kRows);
    page->addChild(view_);
    view_->setMarkup(L"<control wordwrap=\"true\">aaa bbb ccc-ddd");
    view_->setMaximumSize({60, 0});
    page->arrange();
    EXPECT_EQ(size(), (Size{56, 32}));
    view_->setMaximumSize({0, 0});
    page->arrange();
    EXPECT_EQ(size(), (Size{105, 16}));
    // What shares a row is as high as its share of it asks for.
    view_->setAutoSized(true);
    for (const auto& [width, height] : {std::pair{60, 32}, {20, 64}, {300, 16}}) {
        page->setSize({width, 300});
        EXPECT_EQ(size(), (Size{width, height}));
    }
}

// --- Services ---

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
    page->setArrangement(Arrangement::kRows);
    page->addChild(view);
    EXPECT_EQ(elementsOf(*view), L"");
    window_->addChild(page);
    EXPECT_EQ(elementsOf(*view), L"[a][b|b]");
    EXPECT_EQ(view->boundary(), (Rect{0, 0, 14, 15}));
}

TEST_F(MarkupTest, font_otherFace_isTakenByTheNextText) {
    view_->setMarkup(L"a<b>b");
    view_->font().setFaceName(L"Courier");
    EXPECT_EQ(dynamic_cast<MarkupText&>(*view_->children()[1]).font()->style().faceName, L"Courier");
    EXPECT_EQ(elementsOf(*view_), L"[a][b|b]");
}

// --- Links ---

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
    EXPECT_EQ(elementsOf(*view_), L"[last]");
    EXPECT_EQ(view_->markup(), L"last");
    view_->setMarkup(L"<a leftclickmessage=\"showHelp.MarkupTest\">help</a>");
    clickLink();
    EXPECT_EQ(elementsOf(*view_), L"[last]");
    // In the middle of parsing.
    view_->font().connect(changer, false);
    view_->setMarkup(L"<b>x");
    EXPECT_EQ(elementsOf(*view_), L"[last]");
    const auto remover =
        std::make_shared<FunctionSink>([&](auto&&...) { window_->removeChild(view_.get()); });
    view_->font().disconnect(changer.get());
    view_->font().connect(remover, false);
    EXPECT_EQ(thrownText([&] { view_->setMarkup(L"a<u>b"); }), L"nothing");
    EXPECT_EQ(elementsOf(*view_), L"[a][b|u]");
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
    EXPECT_EQ(log_->take(), L"enterLeftClicking leaveLeftClicking leftClicked");
    EXPECT_TRUE(view_->children()[1]->hasFocus());
    const Journal journal = drawn(*view_);
    EXPECT_NE(std::find(journal.begin(), journal.end(), L"focus 35,0,62,15"), journal.end());
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
        {L"timerTick.Timer", true, L""},
        {L"shouldScrollChildIntoView.Control", true, L""},
        {L"propertyChanged.ChangeTracker", true, L""},
        {L"selectionChanged.NativeComboBox", true, L""},
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
        {repeated(L"<", 1'000'000) + L">", 0},
        {repeated(L"<a><b><i>", 100'000) + L"x", 0},
        {repeated(L"<b ", 300'000) + L"=\"" + repeated(L"= ", 100'000), 1},
        {repeated(L"<br/>", 100'000) + L"<control " +
             repeated(L"width=\"8\" height=\"9\" width=\"9\" ", 20'000) + L"x=\">y",
         100'001},
        {L"<b " + repeated(L"a='1'", 200'000) + L">y", 1},
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

TEST_F(MarkupTest, random_tagSoup_neverThrows) {
    // clang-format off
    static const wchar_t* const kParts[] = {
        L"<", L">", L"\"", L"=", L" ", L"a", L"<a ", L"</a>", L"<b>", L"<font ", L"size", L"</font>",
        L"<br/>", L"&lt;", L"&", L"-", L"<control ", L"width", L"wordwrap=\"true\"", L"\n",
        L"hmargin=\"-2147483648\"", L"maxwidth=\"2147483647\"", L"vspacing=\"-9999999999\"", L"'",
        L"/", L"\xD800"};
    // clang-format on
    for (std::uint64_t seed = 0; seed < 300; ++seed) {
        Random random(seed);
        std::wstring markup;
        for (std::size_t count = random.below(60); count > 0; --count) {
            markup += random.pick(kParts);
        }
        SCOPED_TRACE(random.label());
        EXPECT_EQ(thrownText([&] { view_->setMarkup(markup); }), L"nothing");
        view_->setBoundary(Rect::at({0, 0}, {static_cast<std::int32_t>(random.below(200)), 5}));
        drawn(*view_);
    }
}

}  // namespace
}  // namespace zustd
