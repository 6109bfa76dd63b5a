// Drawn widgets: what they measure, draw and send, and what scrolls them.
#include <algorithm>

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
    DrawnTest() { window_->setBoundary({0, 0, 399, 299}); }

    bool draws(Control& control, const std::wstring& entry) {
        const Journal journal = drawn(control);
        return std::find(journal.begin(), journal.end(), entry) != journal.end();
    }
};

// --- Texts ---

TEST_F(DrawnTest, text_preferredSize_followsFontWrapAndMargins) {
    const auto caption = shown(makeControl<Caption>(L"Heading"), {0, 0, 9, 9});
    EXPECT_EQ(caption->preferredSize(), (Size{7 * 8, 16}));
    caption->setFont(std::make_shared<FontDescriptor>(FontStyle{false, false, false, 20, {}}));
    EXPECT_EQ(caption->preferredSize(), (Size{7 * 7, 25}));
    const auto label = shown(makeControl<Label>(L"ten chars."), {0, 0, 9, 9});
    label->setArrangement({.margin = {3, 4}});
    EXPECT_EQ(label->preferredSizeForWidth(41), (Size{76, 24}));
    label->setWordWrap(true);
    EXPECT_EQ(label->preferredSizeForWidth(41), (Size{41, 2 * 16 + 8}));
    EXPECT_EQ(label->preferredSize(), (Size{76, 24}));
    label->setPlacement({.maximum = {41, 0}});
    EXPECT_EQ(label->preferredSize(), (Size{41, 40}));
    label->setText(L"a&b");
    EXPECT_EQ(label->preferredSize().width, 6 + 21);
    label->setAccessKeys(true);
    EXPECT_EQ(label->preferredSize().width, 6 + 14);
    // Outside of a surface there is nothing to measure with.
    EXPECT_EQ(makeControl<Label>(L"text")->preferredSize(), (Size{0, 0}));
}

TEST_F(DrawnTest, text_changed_showsAtOnce) {
    const auto label = shown(makeControl<Label>(L"old"), {10, 10, 59, 29});
    const auto text = std::make_shared<TextDescriptor>(L"new");
    label->setTextDescriptor(text);
    EXPECT_TRUE(draws(*label, L"text 0,0,49,19 new"));
    native().journal.clear();
    text->setLiteral(L"newer");
    EXPECT_EQ(native().journal, Journal{L"invalidate 10,10,59,29"});
    EXPECT_FALSE(label->setText(L"newer"));
    EXPECT_TRUE(label->setText(L"own"));
    EXPECT_EQ(text->literal(), L"newer");
    // Labels let the mouse through.
    EXPECT_EQ(window_->controlAt({20, 20}), window_.get());
}

TEST_F(DrawnTest, joinedSurface_arrangedBefore_isArrangedAgain) {
    const auto page = makeControl<Control>();
    page->setArrangement({.flow = Flow::kColumns});
    page->setBoundary({0, 0, 99, 99});
    const auto label = makeControl<Label>(L"text");
    page->addChild(label);
    page->arrange();
    EXPECT_EQ(label->boundary().size(), (Size{1, 1}));
    window_->addChild(page);
    EXPECT_EQ(label->boundary().size(), (Size{28, 16}));
    const auto icon = makeControl<Icon>(std::make_shared<BitmapDescriptor>(7, Size{16, 16}));
    page->addChild(icon);
    native().scalingFactor = 2.0;
    window_->showAnew();
    EXPECT_EQ(icon->boundary().size(), (Size{32, 32}));
}

TEST_F(DrawnTest, link_states_showAndSend) {
    const auto link = shown(makeControl<Link>(L"more"), {10, 10, 37, 25});
    EXPECT_EQ(link->cursor(), MouseCursor::kHand);
    mouse(MouseAction::kMove, {12, 12});
    click({12, 12});
    EXPECT_TRUE(draws(*link, L"focus 0,0,27,15"));
    EXPECT_EQ(log_->take(),
              L"enterHovering enterFocus enterLeftClicking leaveLeftClicking leftClicked");
    EXPECT_TRUE(key(kKeyEnter));
    EXPECT_TRUE(key(kKeySpace));
    EXPECT_EQ(log_->take(), L"leftClicked leftClicked");
    link->setEnabled(false);
    link->click();
    EXPECT_EQ(log_->take(), L"leaveHovering leaveFocus");
}

// --- Images ---

TEST_F(DrawnTest, icon_drawn_centredScaledAndPaler) {
    const auto icon = shown(makeControl<Icon>(), {0, 0, 35, 19});
    {
        const TraceCapture trace(kTraceLevelInfo);
        EXPECT_EQ(drawn(*icon), Journal{});
        EXPECT_EQ(trace.messages(),
                  Lines{"Icon::drawSelf: warning: bitmap set to visible but no bitmap provided"});
    }
    icon->setBitmap(std::make_shared<BitmapDescriptor>(7, Size{16, 16}));
    EXPECT_EQ(drawn(*icon), Journal{L"bitmap 7 10,2 1.00"});
    icon->setOpacity(0.5);
    icon->setEnabled(false);
    EXPECT_EQ(drawn(*icon), Journal{L"bitmap 7 10,2 0.20"});
    icon->setOpacity(7.0);
    EXPECT_EQ(icon->opacity(), 1.0);
    native().scalingFactor = 2.0;
    EXPECT_EQ(icon->preferredSize(), (Size{32, 32}));
    icon->setBitmapVisible(false);
    EXPECT_EQ(drawn(*icon), Journal{});
}

// --- Button ---

TEST_F(DrawnTest, button_states_changeItsFaceAndSize) {
    const auto button = shown(makeControl<Button>(L"&Go"), {0, 0, 59, 25});
    const auto face = [&] { return drawn(*button).at(0); };
    const std::wstring normal = face();
    EXPECT_TRUE(normal.starts_with(L"gradient 0,0,59,25 "));
    mouse(MouseAction::kMove, {5, 5});
    const std::wstring hovered = face();
    EXPECT_NE(hovered, normal);
    mouse(MouseAction::kLeftDown, {5, 5});
    EXPECT_TRUE(face() != hovered && face() != normal);
    // Pulled off, it is up again.
    mouse(MouseAction::kMove, {100, 100});
    EXPECT_EQ(face(), normal);
    mouse(MouseAction::kLeftUp, {100, 100});
    button->setEnabled(false);
    EXPECT_NE(face(), normal);
    EXPECT_EQ(button->preferredSize(), (Size{14 + 20, 16 + 10}));
    button->setBitmap(std::make_shared<BitmapDescriptor>(7, Size{24, 24}));
    native().scalingFactor = 2.0;
    EXPECT_EQ(button->preferredSize(), (Size{48 + 10 + 14 + 40, 48 + 20}));
}

TEST_F(DrawnTest, button_toggles_beforeTheClickIsHeard) {
    const auto button = shown(makeControl<Button>(L"Bold"), {0, 0, 59, 25});
    click({5, 5});
    EXPECT_FALSE(button->isChecked());
    button->setToggles(true);
    bool heard = false;
    button->connect(std::make_shared<FunctionSink>([&](const MessageKind& kind, auto...) {
                        heard |= kind == Control::kLeftClicked && button->isChecked();
                    }),
                    false);
    EXPECT_TRUE(key(kKeySpace));
    EXPECT_TRUE(heard);
    click({5, 5});
    EXPECT_FALSE(button->isChecked());
}

// --- Fork ---

TEST_F(DrawnTest, fork_toggled_showsItsBodyAndMakesRoom) {
    const auto page = shown(makeControl<Control>(), {0, 0, 199, 199});
    page->setArrangement({.flow = Flow::kColumns});
    const auto fork = makeControl<ForkControl>(L"More");
    const auto label = makeControl<Label>(L"inside");
    const auto button = native().createNativeButton();
    const auto below = makeControl<Label>(L"below");
    fork->body().addChild(label);
    fork->body().addChild(button);
    button->setBoundary({0, 0, 49, 19});
    page->addChild(fork);
    page->addChild(below);
    page->arrange();
    page->connect(log_, false);
    EXPECT_EQ(below->boundary().top, fork->headerHeight());
    EXPECT_FALSE(recordingOf<RecordingButton>(*button).shown.visible);
    log_->take();
    click({30, 5});
    EXPECT_TRUE(fork->isOpen());
    EXPECT_TRUE(recordingOf<RecordingButton>(*button).shown.visible);
    EXPECT_EQ(log_->take(),
              L"enterFocus enterLeftClicking leaveLeftClicking toggleExpandCollapse "
              L"changePreferredHeight leftClicked");
    EXPECT_EQ(fork->boundary().height(), fork->headerHeight() + 16 + button->boundary().height());
    EXPECT_EQ(below->boundary().top, fork->boundary().bottom + 1);
    // A click beside what is inside does nothing.
    click({150, fork->headerHeight() + 5});
    EXPECT_TRUE(fork->isOpen());
    EXPECT_TRUE(key(kKeyLeft));
    EXPECT_FALSE(key(kKeyLeft));
    EXPECT_EQ(below->boundary().top, fork->headerHeight());
    EXPECT_TRUE(key(kKeyRight));
    EXPECT_TRUE(key(kKeySpace));
    EXPECT_FALSE(fork->isOpen());
}

TEST_F(DrawnTest, fork_inAFork_growsBothAndTakesTheFocusWhenClosing) {
    const auto outer = shown(makeControl<ForkControl>(L"outer"), {0, 0, 199, 19});
    const auto inner = makeControl<ForkControl>(L"inner");
    const auto label = makeControl<Label>(L"text");
    label->setFocusable(true);
    inner->body().addChild(label);
    outer->body().addChild(inner);
    outer->setOpen(true);
    const std::int32_t header = outer->headerHeight();
    EXPECT_EQ(outer->boundary().height(), 2 * header);
    inner->setOpen(true);
    EXPECT_EQ(inner->boundary().height(), header + 16);
    EXPECT_EQ(outer->boundary().height(), 2 * header + 16);
    // Keys for what is inside are not its own.
    ASSERT_TRUE(label->takeFocus());
    EXPECT_FALSE(inner->onKey({kKeyLeft, 0}));
    EXPECT_TRUE(inner->isOpen());
    inner->setOpen(false);
    EXPECT_TRUE(inner->hasFocus());
    EXPECT_EQ(outer->boundary().height(), 2 * header);
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
    }
    Sheet& sheet() { return view_->content(); }
    RecordingScrollBar& bar(bool vertical) {
        return recordingOf<RecordingScrollBar>(*view_->scrollBar(vertical));
    }

    std::shared_ptr<Scrollable<Sheet>> view_ =
        shown(makeControl<Scrollable<Sheet>>(), {0, 0, 99, 99});
    std::shared_ptr<Control> corner_ = makeControl<Control>();
};

TEST_F(ScrollTest, bars_appearOnlyWhenNeeded) {
    // Bars are 16 thick.
    EXPECT_EQ(view_->viewport().boundary(), (Rect{0, 0, 83, 183}));
    EXPECT_EQ(bar(true).shown, (ShownState{{84, 0, 99, 183}, true, true}));
    EXPECT_EQ(bar(false).shown, (ShownState{{0, 184, 83, 199}, true, true}));
    EXPECT_EQ(view_->highestPosition(), (Point{300 - 84, 500 - 184}));
    EXPECT_EQ(view_->scrollBar(true)->highestPosition(), 500 - 184);
    EXPECT_TRUE(draws(*view_, L"clip 0,0,83,183"));
    EXPECT_EQ(window_->controlAt({90, 190}), view_.get()) << "the corner between the bars";
    EXPECT_EQ(window_->controlAt({50, 50}), &sheet());
    // 200 high fits, but not beside the bar that the width needs.
    sheet().wanted = {100, 200};
    view_->arrange();
    EXPECT_FALSE(bar(true).shown.visible);
    EXPECT_FALSE(bar(false).shown.visible);
    EXPECT_EQ(sheet().boundary(), (Rect{0, 0, 99, 199}));
    sheet().wanted = {101, 200};
    view_->arrange();
    EXPECT_TRUE(bar(true).shown.visible);
    EXPECT_TRUE(bar(false).shown.visible);
    sheet().wanted = {10, 20};
    sheet().notify(Control::kChangePreferredHeight);
    EXPECT_EQ(sheet().boundary().size(), (Size{100, 200}));
}

TEST_F(ScrollTest, wheelKeysAndBars_scroll) {
    click({50, 50});
    EXPECT_TRUE(view_->hasFocus());
    const struct {
        std::uint32_t key;
        Point position;
    } kKeys[] = {{kKeyDown, {0, 16}}, {kKeyPageDown, {0, 16 + 168}}, {kKeyEnd, {0, 316}},
                 {kKeyUp, {0, 300}},  {kKeyRight, {16, 300}},        {kKeyHome, {16, 0}},
                 {kKeyLeft, {0, 0}}};
    for (const auto& row : kKeys) {
        EXPECT_TRUE(key(row.key));
        EXPECT_EQ(view_->scrollPosition(), row.position) << row.key;
        EXPECT_EQ(sheet().boundary().position(), row.position.negated());
    }
    EXPECT_FALSE(key(kKeyPageUp));
    EXPECT_TRUE(mouse(MouseAction::kWheel, {5, 5}, -120));
    EXPECT_EQ(view_->scrollPosition(), (Point{0, 48}));
    EXPECT_EQ(view_->scrollBar(true)->position(), 48);
    EXPECT_TRUE(mouse(MouseAction::kWheel, {5, 5}, -120, kModifierShift));
    EXPECT_TRUE(mouse(MouseAction::kHorizontalWheel, {5, 5}, -60));
    EXPECT_EQ(view_->scrollPosition(), (Point{24, 48}));
    EXPECT_FALSE(mouse(MouseAction::kWheel, {5, 5}, -120, kModifierControl));
    // Each is 0.4 of a pixel.
    for (int i = 0; i < 5; ++i) {
        mouse(MouseAction::kWheel, {5, 5}, -1);
    }
    EXPECT_EQ(view_->scrollPosition(), (Point{24, 50}));
    log_->take();
    view_->scrollBar(true)->acceptPosition(7);
    EXPECT_EQ(view_->scrollPosition(), (Point{24, 7}));
    EXPECT_EQ(log_->take(), L"scrolled scrolledvertically");
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
}

TEST_F(DrawnTest, scrolledMarkup_wraps_atTheViewport) {
    const auto view = shown(makeControl<Scrollable<MarkupView>>(), {0, 0, 99, 39});
    view->content().setMarkup(L"<control wordwrap=\"true\">aaaa bbbb cccc dddd eeee ffff gggg");
    // Two words of 35 beside the bar, four lines of 16.
    EXPECT_EQ(view->content().boundary().size(), (Size{84, 64}));
    EXPECT_EQ(view->scrollBar(false), nullptr);
    view->setBoundary({0, 0, 299, 39});
    EXPECT_EQ(view->content().boundary().size(), (Size{300, 40}));
    view->content().setMarkup(L"<control wordwrap=\"true\">a wordThatIsTooLongForTheRoomHere" +
                              std::wstring(40, L'x') + L" b");
    EXPECT_GT(view->highestPosition().x, 0);
}

}  // namespace
}  // namespace zustd
