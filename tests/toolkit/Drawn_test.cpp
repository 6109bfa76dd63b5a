// Drawn widgets: what they measure, draw and send, and what scrolls them.
#include "ZuButton.h"
#include "ZuCaption.h"
#include "ZuForkControl.h"
#include "ZuIcon.h"
#include "ZuLabel.h"
#include "ZuLink.h"
#include "ZuScrollable.h"
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

class DrawnTest : public ToolkitTest {
protected:
    DrawnTest() { window_->setBoundary({0, 0, 399, 299}); }

    BitmapRef bitmap_ = std::make_shared<BitmapDescriptor>(7, Size{16, 16});
};

TEST_F(DrawnTest, text_sizeAndLook_followFontWrapMarginsAndState) {
    const auto caption = shown(makeControl<Caption>(L"Heading"), {0, 0, 9, 9});
    EXPECT_EQ(caption->preferredSize(), (Size{7 * 8, 16}));
    caption->setFont(std::make_shared<FontDescriptor>(FontStyle{false, false, false, 20, {}}));
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
    label->setColors(std::make_shared<ColorsDescriptor>());
    label->colors()->setColor(ColorRole::kBackground, Color::rgb(1, 1, 1));
    label->colors()->setColor(ColorRole::kText, Color::rgb(2, 2, 2));
    label->setTextAlignment(TextAlignment::kEnd, TextAlignment::kCentre);
    EXPECT_EQ(seen(*label), L"fill 0,0,49,19 #010101; text 3,4,46,15 a&b 11  #020202 1 2 101");
    say(label->setText(L"a&b"));
    say(label->setText(L""));
    expectTold(L"0; invalidate 10,10,59,29; 1");
    EXPECT_EQ(seen(*label), L"fill 0,0,49,19 #010101");
}

TEST_F(DrawnTest, pressables_byMouseAndKey_showTheirStatesAndSendClicks) {
    const auto button = makeControl<Button>(L"&Go");
    button->setToggles(true);
    const std::pair<std::shared_ptr<DrawnText>, const wchar_t*> rows[] = {
        {makeControl<Link>(L"more"),
         L"text 0,0,59,25 more 11  #005fb8 0 0 000; invalidate 0,0,59,25; enterHovering; cursor 1; "
         L"invalidate 0,0,59,25; enterFocus; invalidate 0,0,59,25; enterLeftClicking; text "
         L"0,0,59,25 more 11 u #008ae6 0 0 000; focus 0,0,59,25; invalidate 0,0,59,25; "
         L"leaveLeftClicking; leftClicked 5,5; leftClicked; keyPressed 13,0; invalidate 0,0,59,25; "
         L"invalidate 0,0,59,25; leaveHovering; invalidate 0,0,59,25; leaveFocus; text 0,0,59,25 "
         L"more 11  #6d6d6d 0 0 000"},
        {button,
         L"gradient 0,0,59,25 #f4f4f4 #e4e4e4; pen #adadad 1; frame 0,0,59,25; text 23,1,36,24 &Go "
         L"11  #000000 0 2 011; invalidate 0,0,59,25; enterHovering; cursor 0; invalidate "
         L"0,0,59,25; enterFocus; invalidate 0,0,59,25; enterLeftClicking; gradient 0,0,59,25 "
         L"#b8c8d4 #daecfb; pen #0078d7 1; frame 0,0,59,25; text 23,1,36,24 &Go 11  #000000 0 2 "
         L"011; focus 2,2,57,23; invalidate 0,0,59,25; leaveLeftClicking; invalidate 0,0,59,25; "
         L"leftClicked 5,5; invalidate 0,0,59,25; leftClicked; keyPressed 13,0; invalidate "
         L"0,0,59,25; invalidate 0,0,59,25; leaveHovering; invalidate 0,0,59,25; leaveFocus; "
         L"gradient 0,0,59,25 #eeeeee #e4e4e4; pen #adadad 1; frame 0,0,59,25; text 23,1,36,24 &Go "
         L"11  #6d6d6d 0 2 011"}};
    for (const auto& [control, expected] : rows) {
        shown(control, {0, 0, 59, 25});
        told();
        draw(*control);
        mouse(MouseAction::kMove, {5, 5});
        mouse(MouseAction::kLeftDown, {5, 5});
        draw(*control);
        mouse(MouseAction::kLeftUp, {5, 5});
        key(kKeyEnter);
        key(kKeyEnter, kModifierAlt);
        control->setEnabled(false);
        draw(*control);
        expectTold(expected);
        window_->removeChild(control.get());
    }
}

TEST_F(DrawnTest, imagesInIconsAndButtons_areCentredScaledAndPalerWhenDisabled) {
    const auto icon = shown(makeControl<Icon>(), {0, 0, 35, 19});
    const auto button = shown(makeControl<Button>(L"&Go"), {0, 0, 59, 25});
    EXPECT_EQ(button->preferredSize(), (Size{14 + 20, 16 + 10}));
    EXPECT_EQ(seen(*icon), L"");
    icon->setBitmap(bitmap_);
    EXPECT_EQ(seen(*icon), L"bitmap 7 10,2 1.00");
    icon->setOpacity(0.5);
    icon->setEnabled(false);
    EXPECT_EQ(seen(*icon), L"bitmap 7 10,2 0.20");
    native().scalingFactor = 2.0;
    EXPECT_EQ(icon->preferredSize(), (Size{32, 32}));
    button->setBitmap(bitmap_);
    EXPECT_EQ(button->preferredSize(), (Size{32 + 10 + 14 + 40, 32 + 20}));
    EXPECT_TRUE(seen(*button).ends_with(L"; bitmap 7 15,-3 1.00"));
    icon->setBitmapVisible(false);
    EXPECT_EQ(seen(*icon), L"");
    mouse(MouseAction::kLeftDown, {5, 5});
    mouse(MouseAction::kMove, {5, 55});
    EXPECT_TRUE(seen(*button).starts_with(L"gradient 0,0,59,25 #f4f4f4"));
}

TEST_F(DrawnTest, fork_toggled_showsItsBodyAndMakesRoom) {
    const auto page = makeControl<Control>();
    page->setArrangement({.flow = Flow::kColumns});
    const auto fork = makeControl<ForkControl>(L"More");
    const auto inner = makeControl<ForkControl>(L"inner");
    const auto label = makeControl<Label>(L"inside");
    const auto below = makeControl<Label>(L"below");
    label->setFocusable(true);
    inner->body().addChild(label);
    fork->body().addChild(inner);
    page->addChild(fork);
    page->addChild(below);
    page->setBoundary({0, 0, 199, 199});
    inner->setOpen(true);
    // Only on a surface texts have a size.
    window_->addChild(page);
    const std::int32_t header = fork->headerHeight();
    EXPECT_EQ(below->boundary().top, header);
    EXPECT_EQ(seen(*fork),
              L"pen #000000 1; line 6,7 10,11; line 10,11 6,15; text 16,0,43,21 More 11  #000000 0 "
              L"2 010");
    click({30, 5});
    EXPECT_TRUE(
        seen(*fork).starts_with(L"pen #000000 1; line 4,9 8,13; line 8,13 12,9; text 16,0,"));
    EXPECT_EQ(below->boundary().top, fork->boundary().bottom + 1);
    EXPECT_EQ(fork->boundary().height(), 2 * header + 16);
    EXPECT_EQ(textOf(label->boundaryOnSurface()), L"32,44,73,59");
    click({40, header + 5});
    EXPECT_EQ(fork->boundary().height(), 2 * header);
    inner->setOpen(true);
    // A click beside what is inside does nothing, nor do keys for what is inside.
    click({190, header + 5});
    EXPECT_TRUE(label->takeFocus());
    EXPECT_FALSE(inner->onKey({kKeyLeft, 0}));
    EXPECT_TRUE(fork->isOpen() && inner->isOpen());
    inner->setOpen(false);
    EXPECT_TRUE(inner->hasFocus());
    EXPECT_EQ(fork->boundary().height(), 2 * header);
    fork->takeFocus();
    EXPECT_TRUE(key(kKeyLeft) && !key(kKeyLeft));
    EXPECT_EQ(below->boundary().top, header);
    EXPECT_TRUE(key(kKeyRight) && fork->isOpen() && key(kKeySpace) && !fork->isOpen());
}

struct Sheet : Control {
    Size preferredSize() override { return wanted; }
    // Higher where it has less room.
    Size preferredSizeForWidth(std::int32_t width) override {
        return {wanted.width, wanted.height + (width < wanted.width ? 1 : 0)};
    }
    Size wanted{300, 500};
};

class ScrollTest : public DrawnTest {
protected:
    ScrollTest() {
        sheet().addChild(corner_);
        corner_->setBoundary({200, 450, 249, 469});
        corner_->setFocusable(true);
    }
    Sheet& sheet() { return view_->content(); }

    std::shared_ptr<Scrollable<Sheet>> view_ =
        shown(makeControl<Scrollable<Sheet>>(), {0, 0, 99, 199});
    std::shared_ptr<Control> corner_ = makeControl<Control>();
};

TEST_F(ScrollTest, bars_appearOnlyWhenNeeded) {
    EXPECT_EQ(seen(*view_), L"clip 0,0,83,183; unclip");
    EXPECT_EQ(window_->controlAt({90, 190}), view_.get()) << "the corner between the bars";
    EXPECT_EQ(window_->controlAt({50, 50}), &sheet());
    // Bars are 16 thick: 200 high fits, but not beside the bar that the width needs.
    const std::tuple<Size, const wchar_t*, const wchar_t*> rows[] = {
        {{300, 500}, L"-216,-316,83,183", L"sync 84,0,99,183; sync 0,184,83,199"},
        {{200, 300}, L"-116,-116,83,183", L"sync 84,0,99,183; sync 0,184,83,199"},
        {{100, 200}, L"0,0,99,199", L"sync 84,0,99,183 hidden; sync 0,184,83,199 hidden"},
        {{101, 200}, L"0,0,100,199", L"sync 84,0,99,183; sync 0,184,83,199"},
        {{101, 184}, L"-1,0,99,183", L"sync 84,0,99,183 hidden; sync 0,184,99,199"},
        {{10, 20}, L"0,0,99,199", L"sync 84,0,99,183 hidden; sync 0,184,99,199 hidden"}};
    for (const auto& [wanted, boundary, bars] : rows) {
        sheet().wanted = wanted;
        view_->scrollTo(Point{999, 999});
        sheet().notify(wanted.width > 100 ? Control::kChangePreferredWidth
                                          : Control::kChangePreferredHeight);
        told();
        view_->synchronizeTree();
        expectTold(bars);
        EXPECT_EQ(textOf(sheet().boundary()), boundary);
        EXPECT_EQ(view_->preferredSize(), wanted);
    }
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
    view_->scrollBar(true)->connect(log_, false);
    told();
    EXPECT_TRUE(mouse(MouseAction::kWheel, {5, 5}, -120));
    expectTold(
        L"invalidate 0,0,83,183; position 48; arrows 1 1; scrolled 48,0; scrolledvertically 48,0");
    log_->take();
    EXPECT_TRUE(mouse(MouseAction::kHorizontalWheel, {5, 5}, 60));
    EXPECT_TRUE(mouse(MouseAction::kWheel, {5, 5}, -120, kModifierShift));
    EXPECT_EQ(log_->take(), L"scrolled scrolledhorizontally scrolled scrolledhorizontally");
    EXPECT_FALSE(mouse(MouseAction::kWheel, {5, 5}, -120, kModifierControl));
    told();
    EXPECT_TRUE(view_->scrollBar(true)->onKey({kKeyDown, 0}));
    expectTold(
        L"position 64; arrows 1 1; scrolled 64,0; scrolledvertically 64,0; invalidate 0,0,83,183; "
        L"scrolled 64,0; scrolledvertically 64,0");
    EXPECT_EQ(view_->scrollPosition(), (Point{72, 64}));
    view_->scrollTo(Point{INT32_MAX, INT32_MIN});
    EXPECT_EQ(view_->scrollPosition(), (Point{216, 0}));
    view_->setContent(nullptr);
    EXPECT_FALSE(view_->scrollBar(true)->isVisible() || view_->scrollBar(false)->isVisible());
}

TEST_F(ScrollTest, focusAndRequests_comeIntoView) {
    corner_->takeFocus();
    EXPECT_EQ(view_->scrollPosition(), (Point{249 - 83, 469 - 183}));
    // Stays in view when the room shrinks; where others scroll is theirs.
    view_->setBoundary({0, 0, 79, 99});
    corner_->notify(Control::kScrolledVertically, MessageWord(std::intptr_t{3}));
    EXPECT_EQ(view_->scrollPosition(), (Point{249 - 63, 469 - 83}));
    view_->scrollTo(Point{0, 0});
    view_->setBoundary({0, 0, 99, 99});
    EXPECT_EQ(view_->scrollPosition(), Point());
    sheet().notify(Control::kShouldScrollChildIntoView, MessageWord::ofObject(corner_.get()));
    EXPECT_EQ(view_->scrollPosition().x, 249 - 83);
    EXPECT_FALSE(view_->scrollTo(*window_));
    view_->scrollTo(Point{216, 0});
    EXPECT_TRUE(view_->scrollTo(*corner_));
    EXPECT_EQ(view_->scrollPosition().x, 200);
    click(corner_->toSurface({1, 1}));
    EXPECT_TRUE(corner_->hasFocus());
}

}  // namespace
}  // namespace zustd
