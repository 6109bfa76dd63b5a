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
