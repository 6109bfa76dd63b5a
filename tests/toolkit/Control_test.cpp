// The control: tree, messages, geometry, drawing and arrangement.
#include "support/ToolkitTest.h"

namespace zustd::test {
namespace {

class Painted : public Control {
public:
    explicit Painted(Rect boundary = {0, 0, 9, 9}) { setBoundary(boundary); }

protected:
    void drawSelf(GraphicsService& graphics) override { graphics.drawRectangle(area()); }
};

class ControlTest : public ToolkitTest {
protected:
    ControlTest() {
        box_->addChild(inner_);
        inner_->addChild(button_);
        button_->setBoundary({5, 5, 54, 24});
    }

    std::shared_ptr<Painted> box_ = makeControl<Painted>(Rect{10, 10, 59, 59});
    std::shared_ptr<Painted> inner_ = makeControl<Painted>(Rect{3, 4, 12, 13});
    std::shared_ptr<NativeButton> button_ = host_->createNativeButton();
};

TEST_F(ControlTest, children_refused_stayWhereTheyAre) {
    EXPECT_EQ(thrownText([&] { box_->requireParent(); }), L"getParent()");
    for (const auto& refused : {box_, inner_, std::shared_ptr<Painted>()}) {
        EXPECT_EQ(thrownText([&] { inner_->addChild(refused); }),
                  L"child && !child->isAncestorOf(*this)");
    }
    EXPECT_TRUE(!box_->removeChild(nullptr) && !box_->removeChild(button_.get()));
    EXPECT_TRUE(inner_->notify(Control::kUnselected));
    inner_->setSendingEnabled(false);
    EXPECT_FALSE(inner_->notify(Control::kUnselected));
}

TEST_F(ControlTest, changes_ofDrawnAndNativeControls_showOnceAndReachDown) {
    const auto colors = std::make_shared<ColorsDescriptor>();
    window_->addChild(box_);
    say(inner_->setBoundary({5, 5, 2, 1}));
    say(inner_->setBoundary({5, 5, 5, 5}));
    say(box_->setEnabled(false));
    say(box_->setEnabled(false));
    say(box_->setColors(colors));
    say(box_->setColors(nullptr));
    say(colors->setColor(ColorRole::kText, Color::rgb(1, 2, 4)));
    window_->arrange();
    window_->acceptSize({300, 80});
    window_->showAnew();
    inner_->removeAllChildren();
    inner_->addChild(button_);
    expectTold(
        L"made 18,19,67,38; invalidate 10,10,59,59; invalidate 13,14,22,23; invalidate "
        L"15,15,15,15; "
        L"sync 20,20,69,39; 1; 0; invalidate 10,10,59,59; sync 20,20,69,39 disabled; 1; 0; "
        L"invalidate 10,10,59,59; sync 20,20,69,39 disabled; 1; invalidate 10,10,59,59; sync "
        L"20,20,69,39 disabled; 1; 1; invalidate; sync 20,20,69,39 disabled; invalidate; sync "
        L"20,20,69,39 disabled; sync 0,0,299,79; sync 20,20,69,39 disabled; invalidate; released; "
        L"invalidate 15,15,15,15; made 20,20,69,39 disabled");
    {
        const ControlUpdate outer(*button_);
        const ControlUpdate inner(*button_);
        const ControlUpdate drawn(*box_);
        const ControlUpdate unchanged(*inner_);
        button_->setChecked(true);
        button_->setBoundary({1, 1, 50, 20});
        box_->addChild(makeControl<Control>());
        expectTold(L"");
    }
    { const ControlUpdate nothing(*button_); }
    say(window_->removeChild(box_.get()));
    expectTold(
        L"invalidate 10,10,59,59; sync 16,16,65,35 disabled; released; invalidate 10,10,59,59; 1");
}

TEST_F(ControlTest, drawing_reachesDrawnControlsInTheAreaOnceEach) {
    class Endless : public Control {
        void drawSelf(GraphicsService& graphics) override { drawAsRoot(graphics); }
    };
    button_->setColors(std::make_shared<ColorsDescriptor>());
    button_->colors()->setColor(ColorRole::kBackground, Color::rgb(1, 2, 3));
    EXPECT_EQ(seen(*box_), L"frame 0,0,49,49; frame 3,4,12,13");
    EXPECT_EQ(thrownText([&] { draw(*makeControl<Endless>()); }), L"!drawing_");
    const auto dialog = host_->createNativeDialog();
    dialog->show(false);
    dialog->acceptClose();
    EXPECT_FALSE(dialog->isOpen());
}

TEST_F(ControlTest, arrangement_childrenThatAsk_keepsToMarginsAndLimits) {
    box_->removeAllChildren();
    for (int i = 0; i < 3; ++i) {
        box_->addChild(makeControl<Painted>(Rect{0, 0, 29, 9}));
    }
    box_->setArrangement({.flow = Flow::kRows, .spacing = {4, 4}, .margin = {2, 3}});
    box_->setPlacement({.minimum = {200, 18}, .maximum = {0, 17}});
    EXPECT_EQ(box_->preferredSizeForWidth(70), (Size{200, 17}));
    box_->setArrangement({.flow = Flow::kRows, .spacing = {4, 4}, .margin = {2, 3}, .wrap = true});
    // 0 asks without a width.
    for (const auto& [maximum, width, expected] : {std::tuple{0, 0, Size{102, 16}},
                                                   {0, 68, {68, 30}},
                                                   {0, -9, {34, 44}},
                                                   {1, 500, {1, 44}}}) {
        box_->setPlacement({.maximum = {maximum, 0}});
        EXPECT_EQ(width != 0 ? box_->preferredSizeForWidth(width) : box_->preferredSize(),
                  expected);
    }
    box_->setPlacement({});
    // Only who wants another size is put into place again.
    const std::shared_ptr<Control> child = box_->children()[0];
    for (const auto& [kind, left] : {std::pair{&Control::kUnselected, 50},
                                     {&Control::kChangePreferredWidth, 2},
                                     {&Control::kChangePreferredHeight, 2}}) {
        child->moveTo({50, 5});
        child->notify(*kind);
        EXPECT_EQ(child->boundary().left, left);
    }
    child->moveTo({50, 5});
    window_->addChild(box_);
    EXPECT_EQ(child->boundary().left, 2);
}

}  // namespace
}  // namespace zustd::test
