// Drawn widgets: what they measure, draw and send, and what scrolls them.
#include "ZuButton.h"
#include "ZuCaption.h"
#include "ZuForkControl.h"
#include "ZuIcon.h"
#include "ZuLabel.h"
#include "ZuLink.h"
#include "ZuMarkupView.h"
#include "ZuScrollable.h"
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

class DrawnTest : public ToolkitTest {
protected:
    DrawnTest() {
        window_->setBoundary({0, 0, 399, 299});
        colors_->setColor(ColorRole::kBackground, Color::rgb(1, 1, 1));
        colors_->setColor(ColorRole::kText, Color::rgb(2, 2, 2));
    }
    // What drawing it asks of the backend.
    std::wstring seen(Control& control) {
        told();
        drawn(control);
        return told();
    }

    ColorsRef colors_ = std::make_shared<ColorsDescriptor>();
    BitmapRef bitmap_ = std::make_shared<BitmapDescriptor>(7, Size{16, 16});
    FontRef font_ = std::make_shared<FontDescriptor>(FontStyle{false, false, false, 20, {}});
};

TEST_F(DrawnTest, text_sizeAndLook_followFontWrapMarginsAndState) {
    const auto caption = shown(makeControl<Caption>(L"Heading"), {0, 0, 9, 9});
    EXPECT_EQ(caption->preferredSize(), (Size{7 * 8, 16}));
    caption->setFont(font_);
    EXPECT_EQ(caption->preferredSize(), (Size{7 * 7, 25}));
    EXPECT_EQ(seen(*caption), L"text 0,0,9,9 Heading 20  #000000 0 2 010");
    const auto label = shown(makeControl<Label>(L"ten chars."), {10, 10, 59, 29});
    label->setArrangement({.margin = {3, 4}});
    EXPECT_EQ(label->preferredSizeForWidth(41), (Size{76, 24}));
    label->setWordWrap(true);
    EXPECT_EQ(label->preferredSizeForWidth(41), (Size{41, 2 * 16 + 8}));
    EXPECT_EQ(label->preferredSize(), (Size{76, 24}));
    label->setPlacement({.maximum = {41, 0}});
    EXPECT_EQ(label->preferredSize(), (Size{41, 40}));
    EXPECT_EQ(label->preferredSizeForWidth(500), (Size{41, 40}));
    label->setText(L"a&b");
    label->setAccessKeys(true);
    EXPECT_EQ(label->preferredSize().width, 6 + 14);
    const auto text = std::make_shared<TextDescriptor>(L"new");
    label->setTextDescriptor(text);
    label->setColors(colors_);
    label->setTextAlignment(TextAlignment::kEnd, TextAlignment::kCentre);
    EXPECT_EQ(seen(*label), L"fill 0,0,49,19 #010101; text 3,4,46,15 new 11  #020202 1 2 101");
    label->setEnabled(false);
    EXPECT_EQ(seen(*label), L"fill 0,0,49,19 #010101; text 3,4,46,15 new 11  #6d6d6d 1 2 101");
    say(text->setLiteral(L"newer"));
    say(label->setText(L"newer"));
    say(label->setText(L""));
    expectTold(L"invalidate 10,10,59,29; 1; 0; invalidate 10,10,59,29; 1");
    EXPECT_EQ(seen(*label), L"fill 0,0,49,19 #010101");
}

TEST_F(DrawnTest, joinedSurface_arrangedBefore_isArrangedAgain) {
    const auto page = makeControl<Control>();
    page->setArrangement({.flow = Flow::kColumns});
    page->addChild(makeControl<Label>(L"text"));
    page->addChild(makeControl<Icon>(bitmap_));
    page->arrange();
    EXPECT_EQ(page->children()[1]->boundary(), (Rect{0, 1, 0, 1}));
    window_->addChild(page);
    native().scalingFactor = 2.0;
    window_->showAnew();
    EXPECT_EQ(page->children()[1]->boundary(), (Rect{0, 16, 31, 47}));
}

TEST_F(DrawnTest, link_states_showAndSend) {
    const auto link = shown(makeControl<Link>(L"more"), {10, 10, 37, 25});
    EXPECT_EQ(seen(*link), L"text 0,0,27,15 more 11  #005fb8 0 0 000");
    mouse(MouseAction::kMove, {12, 12});
    click({12, 12});
    expectTold(
        L"invalidate 10,10,37,25; enterHovering; cursor 1; invalidate 10,10,37,25; enterFocus; "
        L"invalidate 10,10,37,25; enterLeftClicking; invalidate 10,10,37,25; leaveLeftClicking; "
        L"leftClicked 2,2");
    EXPECT_EQ(seen(*link), L"text 0,0,27,15 more 11 u #008ae6 0 0 000; focus 0,0,27,15");
    key(kKeyEnter);
    key(kKeySpace);
    key(kKeyEnter, kModifierAlt);
    link->setEnabled(false);
    link->click();
    expectTold(
        L"leftClicked; leftClicked; keyPressed 13,0; invalidate 10,10,37,25; invalidate "
        L"10,10,37,25; leaveHovering; invalidate 10,10,37,25; leaveFocus");
    EXPECT_EQ(seen(*link), L"text 0,0,27,15 more 11  #6d6d6d 0 0 000");
}

TEST_F(DrawnTest, icon_drawn_centredScaledAndPaler) {
    const auto icon = shown(makeControl<Icon>(), {0, 0, 35, 19});
    {
        const TraceCapture trace(kTraceLevelInfo);
        EXPECT_EQ(seen(*icon), L"");
        EXPECT_EQ(trace.messages(),
                  Lines{"Icon::drawSelf: warning: bitmap set to visible but no bitmap provided"});
    }
    icon->setBitmap(bitmap_);
    EXPECT_EQ(seen(*icon), L"bitmap 7 10,2 1.00");
    icon->setOpacity(0.5);
    icon->setEnabled(false);
    EXPECT_EQ(seen(*icon), L"bitmap 7 10,2 0.20");
    icon->setOpacity(7.0);
    EXPECT_EQ(icon->opacity(), 1.0);
    native().scalingFactor = 2.0;
    EXPECT_EQ(icon->preferredSize(), (Size{32, 32}));
    icon->setBitmapVisible(false);
    EXPECT_EQ(seen(*icon), L"");
}

TEST_F(DrawnTest, button_states_changeItsFaceAndSize) {
    const auto button = shown(makeControl<Button>(L"&Go"), {0, 0, 59, 25});
    EXPECT_EQ(button->preferredSize(), (Size{14 + 20, 16 + 10}));
    // As it is, under the pointer, pressed, and pulled off.
    std::wstring looks = seen(*button) + L"; ";
    mouse(MouseAction::kMove, {5, 5});
    looks += seen(*button) + L"; ";
    mouse(MouseAction::kLeftDown, {5, 5});
    looks += seen(*button) + L"; ";
    mouse(MouseAction::kMove, {100, 100});
    EXPECT_EQ(looks + drawn(*button)[0],
              L"gradient 0,0,59,25 #f4f4f4 #e4e4e4; pen #adadad 1; frame 0,0,59,25; text "
              L"23,1,36,24 &Go 11  #000000 0 2 011; gradient 0,0,59,25 #f1f7fd #daecfb; pen "
              L"#0078d7 1; frame 0,0,59,25; text 23,1,36,24 &Go 11  #000000 0 2 011; gradient "
              L"0,0,59,25 #b8c8d4 #daecfb; pen #0078d7 1; frame 0,0,59,25; text 23,1,36,24 &Go 11  "
              L"#000000 0 2 011; focus 2,2,57,23; gradient 0,0,59,25 #f4f4f4 #e4e4e4");
    mouse(MouseAction::kLeftUp, {100, 100});
    // It toggles before the click is heard.
    button->setToggles(true);
    button->connect(std::make_shared<FunctionSink>([&](const MessageKind& kind, auto...) {
                        EXPECT_TRUE(button->isChecked() || kind != Control::kLeftClicked);
                    }),
                    false);
    EXPECT_TRUE(key(kKeySpace) && button->isChecked());
    button->setEnabled(false);
    button->setBitmap(bitmap_);
    native().scalingFactor = 2.0;
    EXPECT_EQ(button->preferredSize(), (Size{32 + 10 + 14 + 40, 32 + 20}));
    looks = seen(*button) + L"; ";
    button->setChecked(false);
    EXPECT_EQ(looks + drawn(*button)[0],
              L"gradient 0,0,59,25 #d3d3d3 #e4e4e4; pen #adadad 2; frame 0,0,59,25; bitmap 7 15,-3 "
              L"0.40; gradient 0,0,59,25 #eeeeee #e4e4e4");
}

TEST_F(DrawnTest, fork_toggled_showsItsBodyAndMakesRoom) {
    const auto page = shown(makeControl<Control>(), {0, 0, 199, 199});
    page->setArrangement({.flow = Flow::kColumns});
    const auto fork = makeControl<ForkControl>(L"More");
    const auto inner = makeControl<ForkControl>(L"inner");
    const auto label = makeControl<Label>(L"inside");
    const auto button = native().createNativeButton();
    const auto below = makeControl<Label>(L"below");
    label->setFocusable(true);
    inner->body().addChild(label);
    fork->body().addChild(inner);
    fork->body().addChild(button);
    button->setBoundary({0, 0, 49, 19});
    page->addChild(fork);
    page->addChild(below);
    page->arrange();
    const std::int32_t header = fork->headerHeight();
    EXPECT_EQ(below->boundary().top, header);
    EXPECT_EQ(seen(*fork),
              L"pen #000000 1; line 6,7 10,11; line 10,11 6,15; text 16,0,43,21 More 11  #000000 0 "
              L"2 010");
    click({30, 5});
    expectTold(
        L"invalidate 0,0,43,21; enterFocus; invalidate 0,0,43,21; enterLeftClicking; invalidate "
        L"0,0,43,21; leaveLeftClicking; invalidate 0,0,43,21; sync 16,44,90,66 hidden; invalidate "
        L"16,22,43,66; sync 16,44,90,66; invalidate 0,0,43,66; toggleExpandCollapse; invalidate "
        L"0,0,199,199; sync 16,44,90,66; changePreferredHeight 67,0; leftClicked 30,5");
    EXPECT_EQ(seen(*fork),
              L"pen #000000 1; line 4,9 8,13; line 8,13 12,9; text 16,0,90,21 More 11  #000000 0 2 "
              L"010; focus 0,0,90,21; pen #000000 1; line 22,29 26,33; line 26,33 22,37; text "
              L"32,22,66,43 inner 11  #000000 0 2 010");
    EXPECT_EQ(below->boundary().top, fork->boundary().bottom + 1);
    inner->setOpen(true);
    EXPECT_EQ(inner->boundary().height(), header + 16);
    EXPECT_EQ(fork->boundary().height(), 2 * header + 16 + 23);
    // A click beside what is inside does nothing, nor do keys for what is inside.
    click({190, header + 5});
    EXPECT_TRUE(label->takeFocus());
    EXPECT_FALSE(inner->onKey({kKeyLeft, 0}));
    EXPECT_TRUE(fork->isOpen() && inner->isOpen());
    inner->setOpen(false);
    EXPECT_TRUE(inner->hasFocus());
    EXPECT_EQ(fork->boundary().height(), 2 * header + 23);
    fork->takeFocus();
    EXPECT_TRUE(key(kKeyLeft) && !key(kKeyLeft));
    EXPECT_EQ(below->boundary().top, header);
    EXPECT_TRUE(key(kKeyRight) && fork->isOpen() && key(kKeySpace) && !fork->isOpen());
}

// --- Scrolling ---

// A content of a fixed size with one control at its lower right end.
class Sheet : public Control {
public:
    Size preferredSize() override { return wanted; }

    Size wanted{300, 500};
};

class ScrollTest : public DrawnTest {
protected:
    ScrollTest() {
        view_->setBoundary({0, 0, 99, 199});
        sheet().addChild(corner_);
        corner_->setBoundary({200, 450, 249, 469});
        corner_->setFocusable(true);
        told();
    }
    Sheet& sheet() { return view_->content(); }
    std::wstring arranged(Size wanted) {
        sheet().wanted = wanted;
        view_->arrange();
        told();
        view_->synchronizeTree();
        return textOf(sheet().boundary()) + L"; " + told();
    }

    std::shared_ptr<Scrollable<Sheet>> view_ =
        shown(makeControl<Scrollable<Sheet>>(), {0, 0, 99, 99});
    std::shared_ptr<Control> corner_ = makeControl<Control>();
};

TEST_F(ScrollTest, bars_appearOnlyWhenNeeded) {
    // Bars are 16 thick.
    EXPECT_EQ(view_->viewport().boundary(), (Rect{0, 0, 83, 183}));
    EXPECT_EQ(view_->highestPosition(), (Point{300 - 84, 500 - 184}));
    EXPECT_EQ(view_->scrollBar(true)->highestPosition(), 500 - 184);
    EXPECT_EQ(seen(*view_), L"clip 0,0,83,183; unclip");
    EXPECT_EQ(window_->controlAt({90, 190}), view_.get()) << "the corner between the bars";
    EXPECT_EQ(window_->controlAt({50, 50}), &sheet());
    EXPECT_EQ(arranged({300, 500}), L"0,0,299,499; sync 84,0,99,183; sync 0,184,83,199");
    // 200 high fits, but not beside the bar that the width needs.
    EXPECT_EQ(arranged({100, 200}),
              L"0,0,99,199; sync 84,0,99,183 hidden; sync 0,184,83,199 hidden");
    EXPECT_EQ(arranged({101, 200}), L"0,0,100,199; sync 84,0,99,183; sync 0,184,83,199");
    EXPECT_EQ(arranged({101, 184}), L"0,0,100,183; sync 84,0,99,183 hidden; sync 0,184,99,199");
    sheet().wanted = {10, 20};
    sheet().notify(Control::kChangePreferredHeight);
    EXPECT_EQ(sheet().boundary().size(), (Size{100, 200}));
    EXPECT_EQ(view_->preferredSize(), (Size{10, 20}));
    sheet().wanted = {300, 500};
    view_->arrange();
    view_->setContent(nullptr);
    EXPECT_FALSE(view_->scrollBar(true)->isVisible() || view_->scrollBar(false)->isVisible());
}

TEST_F(ScrollTest, wheelKeysAndBars_scroll) {
    click({50, 50});
    EXPECT_TRUE(view_->hasFocus());
    // clang-format off
    const std::pair<std::uint32_t, Point> keys[] = {
        {kKeyDown, {0, 16}}, {kKeyPageDown, {0, 16 + 168}}, {kKeyEnd, {0, 316}}, {kKeyUp, {0, 300}},
        {kKeyPageUp, {0, 132}}, {kKeyRight, {16, 132}}, {kKeyHome, {16, 0}}, {kKeyLeft, {0, 0}}};
    // clang-format on
    for (const auto& [code, position] : keys) {
        EXPECT_TRUE(key(code));
        EXPECT_EQ(view_->scrollPosition(), position) << code;
        EXPECT_EQ(sheet().boundary().position(), position.negated());
    }
    EXPECT_FALSE(key(kKeyPageUp) || key(kKeyDown, kModifierControl));
    EXPECT_EQ(seen(*view_), L"focus 0,0,99,199; clip 0,0,83,183; unclip");
    told();
    say(mouse(MouseAction::kWheel, {5, 5}, -120));
    say(mouse(MouseAction::kWheel, {5, 5}, -120, kModifierShift));
    expectTold(
        L"invalidate 0,0,83,183; position 48; arrows 1 1; scrolled 48,0; scrolledvertically 48,0; "
        L"1; invalidate 0,0,83,183; position 48; arrows 1 1; scrolled 48,0; scrolledhorizontally "
        L"48,0; 1");
    EXPECT_TRUE(mouse(MouseAction::kHorizontalWheel, {5, 5}, -60));
    EXPECT_EQ(view_->scrollPosition(), (Point{24, 48}));
    EXPECT_FALSE(mouse(MouseAction::kWheel, {5, 5}, -120, kModifierControl));
    // Each is 0.4 of a pixel.
    for (int i = 0; i < 5; ++i) {
        mouse(MouseAction::kWheel, {5, 5}, -1);
    }
    EXPECT_EQ(view_->scrollPosition(), (Point{24, 50}));
    told();
    view_->scrollBar(true)->acceptPosition(7);
    expectTold(
        L"position 7; arrows 1 1; invalidate 0,0,83,183; scrolled 7,0; scrolledvertically 7,0");
    view_->scrollTo(Point{INT32_MAX, INT32_MIN});
    EXPECT_EQ(view_->scrollPosition(), (Point{216, 0}));
}

TEST_F(ScrollTest, focusAndRequests_comeIntoView) {
    corner_->takeFocus();
    EXPECT_EQ(view_->scrollPosition(), (Point{249 - 83, 469 - 183}));
    // Stays in view when the room shrinks.
    view_->setBoundary({0, 0, 99, 99});
    EXPECT_EQ(view_->scrollPosition().y, 469 - 83);
    view_->scrollTo(Point{0, 0});
    sheet().notify(Control::kShouldScrollChildIntoView, MessageWord::ofObject(corner_.get()));
    EXPECT_EQ(view_->scrollPosition().x, 249 - 83);
    EXPECT_FALSE(view_->scrollTo(*window_));
    view_->scrollTo(Point{216, 0});
    EXPECT_TRUE(view_->scrollTo(*corner_));
    EXPECT_EQ(view_->scrollPosition().x, 200);
}

TEST_F(DrawnTest, scrolledMarkup_wraps_atTheViewport) {
    const auto view = shown(makeControl<Scrollable<MarkupView>>(), {0, 0, 99, 39});
    view->content().setMarkup(L"<control wordwrap=\"true\">aaaa bbbb cccc dddd eeee ffff gggg");
    // Two words of 35 beside the bar, four lines of 16.
    EXPECT_EQ(view->content().boundary().size(), (Size{84, 64}));
    EXPECT_EQ(view->scrollBar(false), nullptr);
    view->setBoundary({0, 0, 299, 39});
    EXPECT_EQ(view->content().boundary().size(), (Size{300, 40}));
    // What cannot be broken keeps the others to its width.
    view->content().setMarkup(std::wstring(50, L'x') + L" b b b");
    EXPECT_EQ(view->content().boundary().size(), (Size{51 * 7, 32}));
}

}  // namespace
}  // namespace zustd
