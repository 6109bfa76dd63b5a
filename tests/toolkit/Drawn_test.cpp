// Drawn widgets: what they measure, draw and send, and what scrolls them.
#include "ZuButton.h"
#include "ZuCaption.h"
#include "ZuForkControl.h"
#include "ZuIcon.h"
#include "ZuLabel.h"
#include "ZuLink.h"
#include "ZuScope.h"
#include "ZuScrollable.h"
#include "support/ToolkitTest.h"

namespace zustd::test {
namespace {

class DrawnTest : public ToolkitTest {
protected:
    DrawnTest() { window_->setBoundary({0, 0, 399, 299}); }

    BitmapRef bitmap_ = std::make_shared<BitmapDescriptor>(1, Size{16, 16});
};

TEST_F(DrawnTest, texts_sizeAndGround_followWrapMarginsAndColours) {
    const auto caption = shown(makeControl<Caption>(L"Heading"), {0, 0, 9, 9});
    EXPECT_EQ(seen(*caption), L"text 0,0,9,9 Heading 11  #000000 0 2 010 b");
    const auto label = shown(makeControl<Label>(L"ten chars."), {10, 10, 59, 29});
    label->setArrangement({.margin = {3, 4}});
    label->setWordWrap(true);
    EXPECT_EQ(label->preferredSizeForWidth(41), (Size{41, 2 * 16 + 8}));
    label->setPlacement({.maximum = {1, 0}});
    EXPECT_EQ(label->preferredSize(), (Size{1, 70 * 16 + 8}));
    EXPECT_EQ(label->preferredSizeForWidth(500), label->preferredSize());
    label->setPlacement({});
    label->setText(L"a&b");
    label->setAccessKeys(true);
    EXPECT_EQ(label->preferredSize().width, 6 + 14);
    label->setColors(std::make_shared<ColorsDescriptor>());
    label->colors()->setColor(ColorRole::kBackground, Color::rgb(1, 1, 1));
    TextDescriptor text;
    text.connect(log_, false);
    told();
    say(text.setIdentifier(7) + text.setIdentifier(7));
    say(label->setText(L"a&b"));
    say(label->setText(L""));
    expectTold(L"propertyChanged; 1; 0; invalidate 10,10,59,29; 1");
    for (const std::shared_ptr<Control>& filled :
         Controls{label, makeControl<Link>(), makeControl<Icon>(), makeControl<ScrollView>()}) {
        filled->setColors(label->colors());
        EXPECT_EQ(seen(*filled).substr(0, 5), L"fill ");
    }
    shown(makeControl<Icon>(), window_->area());
    EXPECT_TRUE(window_->controlAt({9, 9}) == window_.get() &&
                window_->controlAt({11, 11}) == window_.get());
    const auto link = shown(makeControl<Link>(L"more"), {0, 0, 59, 25});
    link->takeFocus();
    mouse(MouseAction::kMove, {5, 5});
    EXPECT_TRUE(told().ends_with(L"enterFocus; invalidate 0,0,59,25; enterHovering; cursor 1"));
    EXPECT_EQ(seen(*link), L"text 0,0,59,25 more 11 u #008ae6 0 0 000; focus 0,0,59,25");
}

// A drawn control in another one, and a native one in that.
TEST_F(DrawnTest, changes_ofDrawnAndNativeControls_showOnceAndReachDown) {
    const auto box = shown(makeControl<Control>(), {10, 10, 59, 59});
    const auto inner = makeControl<Control>();
    const auto button = host_->createNativeButton();
    const auto colors = std::make_shared<ColorsDescriptor>();
    button->setBoundary({5, 5, 54, 24});
    inner->addChild(button);
    inner->setBoundary({3, 4, 12, 13});
    inner->setFocusable(true);
    box->addChild(inner);
    // clang-format off
    const std::pair<std::function<void()>, const wchar_t*> steps[] = {
        {[&] { say(inner->setBoundary({5, 5, 2, 1})); }, L"invalidate 13,14,22,23; invalidate 15,15,15,15; sync 20,20,69,39; 1"},
        {[&] { say(inner->setBoundary({5, 5, 5, 5})); }, L"0"},
        {[&] { box->setEnabled(false); }, L"invalidate 10,10,59,59; sync 20,20,69,39 disabled"},
        {[&] { box->setColors(colors); }, L"invalidate 10,10,59,59; sync 20,20,69,39 disabled"},
        {[&] { colors->setColor(ColorRole::kBackground, Color::rgb(1, 2, 4)); }, L"invalidate 10,10,59,59; sync 20,20,69,39 disabled"},
        {[&] { draw(*box); }, L"fill 0,0,49,49 #010204"},
        {[&] { window_->showAnew(); }, L"sync 0,0,399,299; sync 20,20,69,39 disabled; invalidate"},
        {[&] { box->setEnabled(true); }, L"invalidate 10,10,59,59; sync 20,20,69,39"},
        {[&] { say(button->takeFocus()); inner->removeAllChildren(); }, L"enterFocus; 1; leaveFocus; released; invalidate 15,15,15,15"},
        {[&] { say(inner->takeFocus()); inner->removeAllChildren(); }, L"enterFocus; 1"},
        {[&] { inner->addChild(button); }, L"made 20,20,69,39"},
        {[&] { const ControlUpdate outer(*button); const ControlUpdate again(*button); const ControlUpdate drawn(*box);
               button->setChecked(true); button->setBoundary({1, 1, 50, 20}); box->addChild(makeControl<Control>()); tell(L"none"); },
         L"none; invalidate 10,10,59,59; sync 16,16,65,35"},
        {[&] { const ControlUpdate nothing(*button); say(thrownText([&] { inner->addChild(box); })); }, L"child && !child->isAncestorOf(*this)"},
        {[&] { window_->connect(std::make_shared<FunctionSink>([](auto& kind, auto, MessageWord stays) { if (kind == Control::kClose) { *stays.object<bool>() = true; } }), false);
               say(window_->acceptClose()); }, L"0"},
        {[&] { window_->removeChild(box.get()); }, L"leaveFocus; released; invalidate 10,10,59,59"},
        {[&] { box->setVisible(false); say(thrownText([&] { box->requireParent(); })); }, L"shouldRefresh; getParent()"}};
    // clang-format on
    told();
    for (const auto& [step, expected] : steps) {
        step();
        expectTold(expected);
    }
}

TEST_F(DrawnTest, button_byMouseAndKey_showsItsStatesAndSendsClicks) {
    const auto button = makeControl<Button>(L"&Go");
    button->setToggles(true);
    button->setColors(std::make_shared<ColorsDescriptor>());
    button->colors()->setColor(ColorRole::kBackground, Color::rgb(255, 0, 128));
    shown(button, {0, 0, 59, 25});
    told();
    draw(*button);
    mouse(MouseAction::kMove, {5, 5});
    mouse(MouseAction::kLeftDown, {5, 5});
    draw(*button);
    mouse(MouseAction::kLeftUp, {5, 5});
    draw(*button);
    key(kKeyEnter, kModifierAlt);
    key(kKeyEnter);
    button->setEnabled(false);
    draw(*button);
    expectTold(
        L"gradient 0,0,59,25 #ff9fcf #ff0080; pen #adadad 1; frame 0,0,59,25; text 23,1,36,24 &Go "
        L"11  #000000 0 2 011; invalidate 0,0,59,25; enterHovering; cursor 0; invalidate "
        L"0,0,59,25; enterFocus; invalidate 0,0,59,25; enterLeftClicking; gradient 0,0,59,25 "
        L"#b8c8d4 #daecfb; pen #0078d7 1; frame 0,0,59,25; text 23,1,36,24 &Go 11  #000000 0 2 "
        L"011; focus 2,2,57,23; invalidate 0,0,59,25; leaveLeftClicking; invalidate 0,0,59,25; "
        L"leftClicked 5,5; gradient 0,0,59,25 #c9dae8 #daecfb; pen #0078d7 1; frame 0,0,59,25; "
        L"text 23,1,36,24 &Go 11  #000000 0 2 011; focus 2,2,57,23; keyPressed 13,0; invalidate "
        L"0,0,59,25; leftClicked; invalidate 0,0,59,25; invalidate 0,0,59,25; leaveHovering; "
        L"invalidate 0,0,59,25; leaveFocus; gradient 0,0,59,25 #ff63b1 #ff0080; pen #adadad 1; "
        L"frame 0,0,59,25; text 23,1,36,24 &Go 11  #6d6d6d 0 2 011");
}

TEST_F(DrawnTest, imagesInIconsAndButtons_areCentredScaledAndPalerWhenDisabled) {
    const auto button = shown(makeControl<Button>(L"&Go"), {0, 0, 59, 25});
    const auto icon = shown(makeControl<Icon>(), {0, 0, 35, 19});
    EXPECT_EQ(button->preferredSize(), (Size{14 + 20, 16 + 10}));
    icon->setBitmap(bitmap_);
    EXPECT_EQ(seen(*icon), L"bitmap 1 10,2 1.00");
    EXPECT_TRUE(icon->setBitmapVisible(false) && seen(*icon) == L"");
    icon->setBitmapVisible(true);
    icon->setOpacity(0.5);
    icon->setEnabled(false);
    EXPECT_EQ(seen(*icon), L"bitmap 1 10,2 0.20");
    native().scalingFactor = 2.0;
    button->setBitmap(bitmap_);
    EXPECT_EQ(button->preferredSize(), (Size{32 + 10 + 14 + 40, 32 + 20}));
    EXPECT_TRUE(seen(*button).ends_with(L"; bitmap 1 15,-3 1.00"));
    icon->setBitmap(std::make_shared<BitmapDescriptor>(8));
    EXPECT_EQ(icon->preferredSize(), (Size{18, 10}));
    EXPECT_EQ(seen(*icon), L"stretched 8 9,5,26,14 0.20");
    click({5, 5});
    mouse(MouseAction::kLeftDown, {5, 5});
    mouse(MouseAction::kMove, {5, 55});
    EXPECT_TRUE(button->isLeftPressed() && !button->isChecked());
    EXPECT_TRUE(seen(*button).starts_with(L"gradient 0,0,59,25 #f4f4f4"));
}

TEST_F(DrawnTest, fork_toggledOrChanged_showsItsBodyAndTakesItsHeight) {
    const auto fork = makeControl<ForkControl>(L"More");
    const auto inner = makeControl<ForkControl>(L"inner");
    const auto label = makeControl<Label>(L"inside");
    const auto font = std::make_shared<FontDescriptor>();
    label->setFocusable(true);
    inner->body().addChild(label);
    fork->body().addChild(inner);
    inner->setOpen(true);
    // Only on a surface texts have a size.
    shown(fork, {0, 0, 98, 21});
    EXPECT_FALSE(fork->body().isVisible());
    const auto other = shown(makeControl<Control>(), {200, 0, 209, 9});
    other->setFocusable(true);
    const auto own = std::make_shared<FontDescriptor>();
    const auto joinAgain = [&] {
        window_->removeChild(fork.get());
        fork->setSize({99, 5});
        window_->addChild(fork);
        return fork->isOpen();
    };
    const auto changed = [](Control& control) { control.notify(Control::kChangePreferredHeight); };
    // Both heights, where the text is, messages, who has the focus. A header is 22, a text 16.
    // clang-format off
    const std::pair<std::function<bool()>, const wchar_t*> steps[] = {
        {[&] { return fork->setOpen(false); }, L"0 22 38 22 0"},
        {[&] { return click({30, 5}), fork->isOpen(); }, L"1 60 38 44 6 fork"},
        {[&] { return click({40, 27}), inner->isOpen(); }, L"0 44 22 44 7 inner"},
        {[&] { return changed(*label), true; }, L"1 44 22 44 1 inner"},
        {[&] { return told(), inner->setOpen(true) && told().starts_with(L"invalidate 16,22,66,43; invalidate 32,44,66,59; invalidate 16,22,66,59; toggle"); }, L"1 60 38 44 2 inner"},
        // A click beside what is inside does nothing, nor do keys for what is inside.
        {[&] { return click({95, 27}), fork->isOpen(); }, L"1 60 38 44 5 fork"},
        {[&] { return label->takeFocus() && inner->onKey({kKeyLeft, 0}); }, L"0 60 38 44 2"},
        {[&] { return label->setPlacement({.minimum = {9, 30}}), changed(*label), true; }, L"1 74 52 44 1"},
        {[&] { return inner->setFont(font) && font->setSize(20); }, L"1 83 61 53 1"},
        {[&] { return inner->setOpen(false); }, L"1 53 31 53 4 inner"},
        {[&] { return fork->takeFocus() && key(kKeyLeft); }, L"1 22 31 53 4 fork"},
        {[&] { return key(kKeyRight); }, L"1 53 31 53 2 fork"},
        {[&] { return key(kKeySpace) && fork->isOpen(); }, L"0 22 31 53 2 fork"},
        {[&] { return router().setFocus(nullptr) && fork->setFont(own); }, L"1 22 31 53 1"},
        {[&] { return told(), own->setSize(20) && told() != L""; }, L"1 22 31 53 0"},
        {[&] { return joinAgain(); }, L"0 5 31 53 1"},
        {[&] { return other->takeFocus() && fork->setOpen(true) && fork->setOpen(false); }, L"1 31 31 62 5"},
        {[&] { return fork->setOpen(true) && joinAgain(); }, L"1 62 31 62 3"},
        {[&] { return fork->setPlacement({.maximum = {0, 50}}) && own->setSize(30) && own->setSize(20); }, L"1 50 31 62 2"},
        {[&] { return fork->setPlacement({}) && own->setSize(11) && fork->takeFocus() && fork->setOpen(false); }, L"1 22 31 53 5 fork"}};
    // clang-format on
    for (const auto& [step, expected] : steps) {
        log_->take();
        std::wstring seen = step() ? L"1" : L"0";
        for (const auto number :
             {fork->boundary().height(), inner->boundary().height(), label->boundaryOnSurface().top,
              static_cast<std::int32_t>(log_->entries.size())}) {
            seen += L' ' + textOf(number);
        }
        seen += fork->hasFocus() ? L" fork" : inner->hasFocus() ? L" inner" : L"";
        EXPECT_EQ(seen, expected);
    }
    EXPECT_EQ(seen(*fork),
              L"pen #000000 1; line 6,7 10,11; line 10,11 6,15; text 16,0,98,21 More 11  #000000 0 "
              L"2 010; focus 0,0,98,21");
    fork->setColors(std::make_shared<ColorsDescriptor>());
    fork->colors()->setColor(ColorRole::kBackground, Color::rgb(9, 9, 9));
    fork->setOpen(true);
    native().scalingFactor = 2.0;
    window_->showAnew();
    mouse(MouseAction::kMove, {30, 5});
    EXPECT_EQ(seen(*fork),
              L"fill 0,0,98,64 #090909; pen #0078d7 2; line 8,10 16,18; line 16,18 24,10; text "
              L"32,0,98,27 More 11  #000000 0 2 010; focus 0,0,98,27; pen #000000 2; line 44,38 "
              L"52,46; line 52,46 44,54; text 64,28,98,64 inner 20  #000000 0 2 010");
}

struct Sheet : Control {
    Size preferredSize() override { return wanted; }
    // Higher where it has less room.
    Size preferredSizeForWidth(std::int32_t width) override {
        return {wanted.width, wanted.height + (width < wanted.width ? 1 : 0)};
    }
    void onJoinedSurface() override { tell(L"joined"); }
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
    }
}

TEST_F(ScrollTest, wheelKeysAndBars_scroll) {
    click({50, 50});
    EXPECT_TRUE(view_->hasFocus() && seen(*view_).starts_with(L"focus 0,0,99,199; clip"));
    // clang-format off
    const std::pair<std::uint32_t, Point> keys[] = {
        {kKeyDown, {0, 16}}, {kKeyPageDown, {0, 16 + 168}}, {kKeyEnd, {0, 316}}, {kKeyUp, {0, 300}},
        {kKeyPageUp, {0, 132}}, {kKeyRight, {16, 132}}, {kKeyHome, {16, 0}}, {kKeyLeft, {0, 0}}};
    // clang-format on
    for (const auto& [code, position] : keys) {
        EXPECT_TRUE(key(code) && view_->scrollBar(true)->position() == position.y) << code;
        EXPECT_EQ(sheet().boundary().position(), position.negated()) << code;
    }
    EXPECT_FALSE(key(kKeyPageUp) || key('X') || key(kKeyDown, kModifierControl));
    view_->scrollBar(false)->connect(log_, false);
    log_->take();
    EXPECT_TRUE(mouse(MouseAction::kHorizontalWheel, {5, 5}, 60));
    EXPECT_TRUE(mouse(MouseAction::kWheel, {5, 5}, -120, kModifierShift));
    EXPECT_EQ(log_->take(), L"scrolled scrolledhorizontally scrolled scrolledhorizontally");
    EXPECT_FALSE(mouse(MouseAction::kWheel, {5, 5}, -120, kModifierControl));
    log_->take();
    view_->scrollBar(false)->onKey({kKeyLeft, 0});
    EXPECT_EQ(log_->take(), L"scrolled scrolledhorizontally scrolled scrolledhorizontally");
    view_->scrollTo(Point{INT32_MAX, INT32_MIN});
    EXPECT_EQ(view_->scrollPosition(), (Point{216, 0}));
    const auto bar = view_->scrollBar(true);
    EXPECT_TRUE(bar->minimum() == 0 && bar->maximum() == 499 && bar->pageSize() == 184);
    EXPECT_EQ(bar->lineSize(), 16);
    view_->scrollBar(false)->acceptPosition(9);
    EXPECT_EQ(view_->scrollPosition().x, 9);
    native().scalingFactor = 0.01;
    EXPECT_TRUE(key(kKeyDown) && view_->scrollPosition().y == 1);
    view_->setContent(nullptr);
    EXPECT_FALSE(view_->scrollBar(true)->isVisible() || view_->scrollBar(false)->isVisible());
    EXPECT_EQ(window_->controlAt({50, 50}), view_.get());
}

TEST_F(ScrollTest, focusAndRequests_comeIntoView) {
    corner_->takeFocus();
    // Stays in view when the room shrinks; where others scroll is theirs.
    view_->setBoundary({0, 0, 79, 99});
    EXPECT_EQ(sheet().boundary().position(), (Point{63 - 249, 83 - 469}));
    EXPECT_EQ(view_->scrollBar(true)->position(), 469 - 83);
    EXPECT_TRUE(log_->take().ends_with(L"enterFocus"));
    corner_->notify(Control::kScrolledVertically, MessageWord(std::intptr_t{3}));
    EXPECT_EQ(log_->take(), L"scrolledvertically");
    view_->scrollTo(Point{0, 0});
    view_->setBoundary({0, 0, 99, 99});
    log_->take();
    sheet().notify(Control::kChangePreferredHeight);
    sheet().notify(Control::kShouldScrollChildIntoView, MessageWord::ofObject(corner_.get()));
    EXPECT_EQ(log_->take(), L"scrolled scrolledhorizontally scrolled scrolledvertically");
    EXPECT_EQ(view_->scrollPosition().x, 249 - 83);
    router().setFocus(nullptr);
    sheet().notify(Control::kUnselected);
    EXPECT_FALSE(view_->scrollTo(*window_) || view_->hasFocus());
}

}  // namespace
}  // namespace zustd::test
