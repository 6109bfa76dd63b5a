// The markup view: its language, its sizes, its links, and whatever else comes.
#include "ZuMarkupView.h"
#include "ZuText.h"
#include "support/ToolkitTest.h"

namespace zustd::test {
namespace {

const MessageKind kShowHelp(L"show<Help.MarkupTest", MessageWords::kNumbers);
const MessageKind kUnsaid(L"unsaid.MarkupTest");

// Writes down texts with their fonts and colours, where these are not the usual ones.
class InkGraphics : public RecordingGraphics {
public:
    Texts journal;
    void drawText(std::wstring_view text, Point, const Font& font, Color color) override {
        const auto& [underline, bold, italic, size, face] = font.style();
        const std::wstring how = formatWide(L" %d%d%d %d", bold, italic, underline, size);
        journal.push_back(std::wstring(text) + (face.empty() ? L"" : L" " + face) +
                          (how == L" 000 11" ? L"" : how) +
                          (color == Color::rgb(0, 0, 0) ? L"" : L" " + textOf(color)));
    }
    void drawText(std::wstring_view text, const Rect& area, const Font& font, Color color,
                  const TextFormat&) override {
        drawText(text, {}, font, color);
        journal.back() += L" in " + textOf(area);
    }
};

class MarkupTest : public ToolkitTest {
protected:
    MarkupTest() { window_->setBoundary({0, 0, 399, 299}); }

    // The view's sizes, now, preferred, and for a width of 50; then its elements as drawn.
    std::wstring look() const {
        const auto graphics = made<InkGraphics>();
        Texts& drawn = recordingOf<InkGraphics>(*graphics).journal;
        view_->arrange();
        std::wstring all;
        for (const Size size :
             {view_->boundary().size(), view_->preferredSize(), view_->preferredSizeForWidth(50)}) {
            all += textOf(Point{size.width, size.height}) + L" ";
        }
        for (const auto& child : view_->children()) {
            drawn.clear();
            child->drawAsRoot(*graphics);
            const std::wstring place = textOf(child->boundary().position()) + L" ";
            all += L"|" + (drawn.empty() ? L"hidden" : place + drawn.back());
        }
        return all;
    }

    std::shared_ptr<MarkupView> view_ = shown(makeControl<MarkupView>());
};

TEST_F(MarkupTest, tagsAttributesAndEntities_ofAnyForm_areReadAndPlaced) {
    const std::pair<const wchar_t*, const wchar_t*> kRows[] = {
        {L"a<b>b<i>c<u>d</b></i></u>&amp;lt;<font "
         L"size='20'>&quot;&apos;</font>&<u>&nbsp;</u><i>e<u>f</u></i><font size=12>g",
         L"143,25 143,25 143,25 |0,9 a|7,9 b 100 11|15,9 c 110 11|23,9 d 111 11|31,9 &lt;|59,0 \"' "
         L"000 20|73,9 &|80,9 &nbsp; 001 11|122,9 e 010 11|129,9 f 011 11|136,8 g 000 12"},
        {L"<font size=999 x=1>a<font size=\"-9999999999\">b<B>x</other>y<br />",
         L"28,149 28,149 28,149 |0,0 a 000 144|7,143 b 000 1|14,143 x 000 1|21,143 y 000 1"},
        {L"<u><a>li<b>nk</b></a></u>after<a></a></a>a\nb<a x>lost",
         L"84,16 84,16 84,16 |0,0 link 001 11 #005fb8 in 0,0,27,15|28,0 after|63,0 a\nb in "
         L"0,0,20,15"},
        {L"<br/>x<br/>y<br/><br/>z<y",
         L"21,80 21,80 21,80 |0,0  |0,16 x|hidden|0,32 y|hidden|0,48  |0,64 z|7,64 <y"},
        {L"<control wordwrap=\"true\" width=120 height=9 hmargin=3 vmargin='4' hspacing=5x "
         L"vspacing=\"-2\">well-known words more",
         L"88,38 88,38 48,66 |3,4 well-|43,4 known |3,18 words |50,18 more"},
        {L"<control width='-3' autosize='true' wordwrap='true'>a b",
         L"1,32 14,32 21,16 |0,0 a |0,16 b"},
        {L"<control width='40' autosize='true' wordwrap='true'>a b cc longer-words",
         L"40,64 49,64 49,48 |0,0 a |14,0 b |0,16 cc |0,32 longer-|0,48 words"},
        {L"<control autosize='true'>a b", L"21,16 21,16 21,16 |0,0 a b"},
        {L"<control maxwidth=\"1\" maxheight=20 wordwrap=\"true\">well-known word",
         L"1,20 1,20 1,20 |0,0 well-|0,16 known |0,32 word"},
        {L"<control width=20 wordwrap='true' autosize=TRUE hmargin=2>longest-word x",
         L"60,32 60,32 60,32 |2,0 longest-|2,16 word |37,16 x"},
        {L"<control hmargin=\"-2147483648\" vspacing=\"-9999999999\" vmargin=2147483647 "
         L"wordwrap=TRUE>x y",
         L"1,2147483647 0,2147483647 0,2147483647 |0,2147483647 x y"}};
    for (const auto& [markup, expected] : kRows) {
        view_ = shown(makeControl<MarkupView>(markup));
        EXPECT_EQ(look(), expected) << narrow(markup);
    }
}

TEST_F(MarkupTest, view_changed_isReadAndPlacedAnew) {
    const Rect small{0, 0, 59, 29};
    const Rect flat{0, 0, 99, 9};
    const Rect low{0, 0, 99, 19};
    const std::pair<std::function<void()>, const wchar_t*> kSteps[] = {
        {[&] { view_->setMarkup(L"wise <a>link</a> words<b>"); },
         L"105,16 105,16 105,16 |0,0 wise |35,0 link #005fb8 in 0,0,27,15|63,0  words"},
        {[&] { view_->setWordWrap(true); },
         L"105,16 105,16 35,48 |0,0 wise |35,0 link #005fb8 in 0,0,27,15|63,0  |70,0 words"},
        {[&] { view_->setBoundary(small); },
         L"60,30 35,48 35,48 |0,0 wise |0,16 link #005fb8 in 0,0,27,15|28,16  |0,32 words"},
        // Only a width that a layout gives is forgotten with the next.
        {[&] { view_->place(flat); },
         L"100,10 35,48 35,48 |0,0 wise |35,0 link #005fb8 in 0,0,27,15|63,0  |0,16 words"},
        {[&] { view_->setBoundary(low); },
         L"100,20 35,48 35,48 |0,0 wise |35,0 link #005fb8 in 0,0,27,15|63,0  |0,16 words"},
        {[&] { view_->font().setFaceName(L"C"); },
         L"35,48 35,48 35,48 |0,0 wise  C|0,16 link C #005fb8 in 0,0,27,15|28,16   C|0,32 words "
         L"C"}};
    for (const auto& [change, expected] : kSteps) {
        change();
        EXPECT_EQ(look(), expected);
    }
    // Of many words the view tells once.
    told();
    view_->font().setBold(false);
    view_->addWords(L"a b");
    view_->addLineBreak();
    EXPECT_TRUE(view_->setMarkup(L"<control wordwrap='false'>x"));
    expectTold(
        L"invalidate 0,0,34,47; invalidate 0,0,34,47; invalidate 0,0,0,0; invalidate 0,0,0,0; "
        L"invalidate 0,0,34,47; invalidate 0,0,34,47; invalidate 0,0,34,47; invalidate 0,0,34,47; "
        L"invalidate 0,0,6,15; invalidate 0,0,6,15; changePreferredWidth 7,0; "
        L"changePreferredHeight 16,0");
    EXPECT_FALSE(view_->setMarkup(view_->markup()) || view_->setWordWrap(false));
    view_->setMarkup(L"<control maxheight=5>a");
    EXPECT_TRUE(seen(*view_).starts_with(L"clip 0,0,6,4; "));
}

TEST_F(MarkupTest, receivers_whileTheMarkupIsRead_seeItsSizeAndHaveTheirWay) {
    std::wstring sizes;
    const auto whenBold = std::make_shared<FunctionSink>([&](const auto&...) {
        sizes += textOf(view_->boundary().size()) + L" ";
        view_->setMarkup(L"last");
    });
    view_->font().connect(whenBold, false);
    view_->setMarkup(L"<control width=9 height=8><control><b>bold");
    EXPECT_EQ(sizes, L"9,8 32,16 ");
    EXPECT_EQ(look(), L"28,16 28,16 28,16 |0,0 last");
}

TEST_F(MarkupTest, link_clicked_sendsASafeMessageFromTheView) {
    const TraceCapture trace(kTraceLevelInfo);
    const std::pair<std::wstring, const wchar_t*> kLinks[] = {
        {L"", L""},
        {L" leftclickmessage='nobody.Knows' other='scrolled.Control'", L""},
        {L" leftclickmessage='unsaid.MarkupTest'", L""},
        {L" leftclickmessage='scrolled.Control'", L"scrolled"},
        {L" leftclickmessage='show&lt;Help.MarkupTest'", L"show<Help"}};
    for (const auto& [attributes, sent] : kLinks) {
        view_->setMarkup(L"<a leftclickmessage='scrolled.Control'></a><a" + attributes +
                         L">link</a> text");
        log_->take();
        dynamic_cast<MarkupLink&>(*view_->children()[0]).click();
        EXPECT_EQ(log_->take(), sent) << narrow(attributes);
    }
    EXPECT_EQ(trace.messages()[1], "MarkupView::sendFromLink: no message 'nobody.Knows' to send");
    click({10, 5});
    EXPECT_TRUE(seen(*view_->children()[0]).ends_with(L"; focus 0,0,27,15"));
    EXPECT_EQ(view_->children()[0]->cursor(), MouseCursor::kHand);
    EXPECT_EQ(log_->entries.back().b.number(), 0);
    EXPECT_EQ(log_->entries.back().a.object<Control>(), view_.get());
    // The texts around it let the mouse through.
    click({40, 5});
    EXPECT_EQ(log_->entries.back().a.object<Control>(), view_.get());
}

TEST_F(MarkupTest, hostile_markup_staysLinearAndBounded) {
    const TraceCapture trace(kTraceLevelInfo);
    // What is not linear takes minutes.
    const std::tuple<std::wstring, std::wstring, int, std::size_t> kRows[] = {
        {L"", L"<", 1'000'000, 1},
        {L"", L"<b ", 300'000, 1},
        {L"<b =\"", L"= ", 300'000, 1},
        {L"<control wordwrap=\"true\">", L"- ", 400'000, MarkupView::kMaxElements},
        {L"", L"<br/>", 300'000, MarkupView::kMaxElements}};
    for (const auto& [start, stretch, times, count] : kRows) {
        std::wstring markup = start;
        for (int i = 0; i < times; ++i) {
            markup += stretch;
        }
        view_->setMarkup(markup);
        EXPECT_EQ(view_->children().size(), count) << narrow(start + stretch);
    }
    EXPECT_EQ(trace.messages(), Lines(2,
                                      "MarkupView::parseMarkup: more than 200000 elements; the "
                                      "rest is left out"));
}

}  // namespace
}  // namespace zustd::test
