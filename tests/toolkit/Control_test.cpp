// The control: tree, messages, geometry, drawing and arrangement.
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

// Draws its area, so that the journal tells where it was.
class Painted : public Control {
public:
    explicit Painted(Rect boundary = {0, 0, 9, 9}) { setBoundary(boundary); }
    unsigned arranged = 0;
    bool failsToDraw = false;

protected:
    void drawSelf(GraphicsService& graphics) override {
        ZU_ASSERT(!failsToDraw);
        graphics.drawRectangle(area());
    }
    void arrangeChildren() override {
        ++arranged;
        Control::arrangeChildren();
    }
};

class ControlTest : public ToolkitTest {
protected:
    std::shared_ptr<Painted> box_ = makeControl<Painted>(Rect{10, 10, 59, 59});
    std::shared_ptr<NativeButton> button_ = host_->createNativeButton();
    RecordingButton& native_ = recordingOf<RecordingButton>(*button_);
};

// --- Tree and messages ---

TEST_F(ControlTest, children_addedInsertedMovedRemoved_haveTheirOrderAndOneParent) {
    const auto parent = makeControl<Control>();
    auto other = makeControl<Control>();
    const Controls made{makeControl<Control>(), makeControl<Control>(), makeControl<Control>()};
    parent->addChild(made[0]);
    parent->insertChild(0, made[1]);
    parent->insertChild(77, made[2]);
    EXPECT_EQ(parent->children(), (Controls{made[1], made[0], made[2]}));
    EXPECT_FALSE(parent->removeChild(window_.get()));
    EXPECT_TRUE(parent->removeChild(made[0].get()));
    EXPECT_EQ(thrownText([&] { made[0]->requireParent(); }), L"getParent()");
    other->addChild(parent->children().front());
    EXPECT_EQ(parent->children(), Controls{made[2]});
    EXPECT_EQ(made[1]->parentControl(), other.get());
    for (const auto& refused : {parent, made[2], std::shared_ptr<Control>()}) {
        EXPECT_EQ(thrownText([&] { made[2]->addChild(refused); }),
                  L"child && !child->isAncestorOf(*this)");
    }
    other.reset();
    EXPECT_EQ(made[1]->parentControl(), nullptr);
}

TEST_F(ControlTest, services_nested_areTheSurfacesOwn) {
    const auto inner = makeControl<Control>();
    {
        const TraceCapture trace(kTraceLevelInfo);
        EXPECT_EQ(inner->scale(10.0), 10.0);
        EXPECT_EQ(trace.messages(),
                  (Lines{"Control::scale: no window service available; using no scaling factor"}));
    }
    EXPECT_EQ(inner->windowService(), nullptr);
    box_->addChild(inner);
    window_->addChild(box_);
    EXPECT_EQ(inner->windowService(), window_->windowService());
    EXPECT_EQ(inner->graphicsService(), window_->graphicsService());
    EXPECT_NE(inner->windowService(), host_);
    EXPECT_EQ(inner->surface(), window_.get());
    native().scalingFactor = 1.5;
    EXPECT_EQ(inner->scale(10.0), 15.0);
    EXPECT_EQ(inner->scale(std::int32_t{3}), 5);
}

// Handles one kind.
class Handler : public Control {
public:
    bool onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord) override {
        if (kind == kSelected) {
            removeAllChildren();
        }
        return kind == kSelected;
    }
};

TEST_F(ControlTest, notify_nested_reachesOwnSinksThenAncestorsUpToTheOneThatHandles) {
    const auto top = makeControl<Control>();
    const auto handler = makeControl<Handler>();
    top->addChild(handler);
    top->connect(log_, false);
    handler->addChild(makeControl<Control>());
    Control& child = *handler->children().front();
    child.connect(log_, false);
    EXPECT_TRUE(child.notify(Control::kUnselected, MessageWord(7)));
    ASSERT_EQ(log_->entries.size(), 2U);
    EXPECT_EQ(log_->entries[1].a.object<Control>(), &child);
    EXPECT_EQ(log_->entries[1].b.number(), 7);
    child.setSendingEnabled(false);
    EXPECT_FALSE(child.notify(Control::kUnselected));
    child.setSendingEnabled(true);
    EXPECT_EQ(log_->take(), L"unselected unselected");
    // The handler drops the sender; above it comes only what it has to say itself.
    child.notify(Control::kSelected);
    EXPECT_EQ(log_->take(), L"selected shouldRefresh");
    EXPECT_TRUE(handler->children().empty());
}

// --- Geometry and state ---

TEST_F(ControlTest, boundary_nestedAndReversed_addsUpToTheSurfaceAndKeepsAPixel) {
    window_->setBoundary({500, 500, 699, 599});
    const auto inner = makeControl<Painted>(Rect{3, 4, 12, 13});
    window_->addChild(box_);
    box_->addChild(inner);
    EXPECT_EQ(inner->boundaryOnSurface(), (Rect{13, 14, 22, 23}));
    EXPECT_EQ(inner->fromSurface({13, 14}), (Point{0, 0}));
    EXPECT_EQ(window_->boundaryOnSurface(), (Rect{0, 0, 199, 99}));
    native().journal.clear();
    EXPECT_TRUE(inner->setBoundary({5, 5, 2, 1}));
    EXPECT_EQ(inner->boundary(), (Rect{5, 5, 5, 5}));
    EXPECT_FALSE(inner->setBoundary({5, 5, 5, 5}));
    EXPECT_TRUE(inner->moveTo({-3, 2}));
    inner->setVisible(false);
    inner->setVisible(false);
    EXPECT_EQ(native().journal, (Journal{L"invalidate 13,14,22,23", L"invalidate 15,15,15,15",
                                         L"invalidate 15,15,15,15", L"invalidate 10,12,10,12",
                                         L"invalidate 10,12,10,12"}));
}

TEST_F(ControlTest, nativeWidget_containerAndUpdatesChange_followsOnceEach) {
    button_->setBoundary({5, 5, 54, 24});
    box_->addChild(button_);
    EXPECT_EQ(native_.created, 0U);
    window_->addChild(box_);
    EXPECT_EQ(native_.shown, (ShownState{{15, 15, 64, 34}, true, true}));
    box_->moveTo({20, 0});
    EXPECT_EQ(native_.shown.boundary, (Rect{25, 5, 74, 24}));
    box_->setVisible(false);
    EXPECT_FALSE(native_.shown.visible);
    box_->setVisible(true);
    box_->setEnabled(false);
    EXPECT_EQ(native_.shown, (ShownState{{25, 5, 74, 24}, true, false}));
    const unsigned before = native_.synchronized;
    {
        const ControlUpdate outer(*button_);
        button_->setChecked(true);
        {
            const ControlUpdate inner(*button_);
            button_->setBoundary({1, 1, 50, 20});
        }
        EXPECT_EQ(native_.synchronized, before);
    }
    EXPECT_EQ(native_.synchronized, before + 1);
    EXPECT_EQ(native_.shown.boundary, (Rect{21, 1, 70, 20}));
    window_->removeChild(box_.get());
    EXPECT_EQ(native_.released, 1U);
    window_->addChild(box_);
    EXPECT_EQ(native_.created, 2U);
}

TEST_F(ControlTest, descriptor_changed_showsInEveryControlThatHasIt) {
    const auto caption = std::make_shared<TextDescriptor>(L"old");
    const auto second = shown(host_->createNativeButton());
    const unsigned& other = recordingOf<RecordingButton>(*second).synchronized;
    window_->addChild(button_);
    EXPECT_TRUE(button_->setCaption(caption));
    EXPECT_FALSE(button_->setCaption(caption));
    second->setCaption(caption);
    const std::pair before(native_.synchronized, other);
    caption->setLiteral(L"new");
    second->setCaption(std::make_shared<TextDescriptor>(L"own"));
    caption->setLiteral(L"newer");
    EXPECT_EQ(native_.synchronized, before.first + 2);
    EXPECT_EQ(other, before.second + 2);
}

// --- Drawing ---

TEST_F(ControlTest, draw_nested_movesTheOriginClipsAndSkipsWhatIsNotPainted) {
    box_->addChild(makeControl<Painted>());
    const auto last = makeControl<Painted>(Rect{30, 30, 99, 39});
    box_->addChild(last);
    const auto hidden = makeControl<Painted>(Rect{0, 0, 49, 49});
    hidden->setVisible(false);
    box_->addChild(hidden);
    window_->addChild(box_);
    EXPECT_EQ(drawn(*window_),
              (Journal{L"frame 10,10,59,59", L"frame 10,10,19,19", L"frame 40,40,109,49"}));
    box_->setClipsChildren(true);
    EXPECT_EQ(
        drawn(*window_, {40, 40, 199, 99}),
        (Journal{L"frame 10,10,59,59", L"clip 10,10,59,59", L"frame 40,40,109,49", L"unclip"}));
    EXPECT_EQ(drawn(*window_, {60, 60, 199, 99}), Journal());
    last->failsToDraw = true;
    EXPECT_EQ(thrownText([&] { drawn(*window_); }), L"!failsToDraw");
    EXPECT_EQ(recordingOf<RecordingGraphics>(*window_->graphicsService()).journal.back(),
              L"unclip");
    EXPECT_EQ(window_->graphicsService()->origin(), (Point{0, 0}));
}

TEST_F(ControlTest, colors_unset_comeFromTheNearestAncestorThatSetsThem) {
    const auto outer = std::make_shared<ColorsDescriptor>();
    const auto inner = std::make_shared<ColorsDescriptor>();
    outer->setColor(ColorRole::kText, Color::rgb(1, 2, 3));
    outer->setColor(ColorRole::kBackground, Color::rgb(255, 255, 255));
    inner->setColor(ColorRole::kText, Color::rgb(7, 8, 9));
    window_->setColors(outer);
    button_->setColors(outer);
    window_->addChild(button_);
    EXPECT_EQ(drawn(*window_), (Journal{L"fill 0,0,199,99 #ffffff"}));
    box_->setColors(inner);
    window_->addChild(box_);
    EXPECT_EQ(box_->color(ColorRole::kText), Color::rgb(7, 8, 9));
    EXPECT_EQ(box_->color(ColorRole::kBackground), Color::rgb(255, 255, 255));
}

// --- Arrangement ---

TEST_F(ControlTest, arrangement_sizeChanges_arrangesTheChildrenAgain) {
    const auto first = makeControl<Painted>();
    const auto second = makeControl<Painted>(Rect{0, 0, 19, 9});
    box_->setSize({100, 20});
    box_->setArrangement({.flow = Flow::kRows, .spacing = {4, 0}, .margin = {2, 3}});
    box_->addChild(first);
    box_->addChild(second);
    second->setPlacement({.autoSized = true});
    box_->arrange();
    EXPECT_EQ(first->boundary(), (Rect{2, 3, 11, 12}));
    EXPECT_EQ(second->boundary(), (Rect{16, 3, 97, 12}));
    second->arranged = 0;
    box_->setSize({60, 20});
    EXPECT_EQ(second->boundary(), (Rect{16, 3, 57, 12}));
    EXPECT_EQ(second->arranged, 1U);
    EXPECT_EQ(box_->preferredSize(), (Size{4 + 10 + 4 + 1, 6 + 10}));
}

TEST_F(ControlTest, preferredSize_ofAnArrangement_keepsToWidthMarginsAndLimits) {
    for (int i = 0; i < 3; ++i) {
        box_->addChild(makeControl<Painted>(Rect{0, 0, 29, 9}));
    }
    const Size spacing{4, 4};
    const Size margin{2, 3};
    const Arrangement rows{.flow = Flow::kRows, .spacing = spacing, .margin = margin};
    const Arrangement columns{.flow = Flow::kColumns, .spacing = spacing, .margin = margin};
    Arrangement wrapped = rows;
    Arrangement wrappedColumns = columns;
    wrapped.wrap = wrappedColumns.wrap = true;
    // 0 asks without a width.
    const std::tuple<Arrangement, Placement, std::int32_t, Size> cases[] = {
        {{}, {.maximum = {9, 9}}, 0, {50, 50}},
        {rows, {}, 0, {102, 16}},
        {rows, {}, 70, {102, 16}},
        {rows, {.minimum = {200, 18}, .maximum = {0, 17}}, 0, {200, 17}},
        {columns, {}, 70, {34, 44}},
        {wrapped, {}, 0, {102, 16}},
        {wrapped, {}, 68, {68, 30}},
        {wrapped, {}, 67, {34, 44}},
        {wrapped, {}, -9, {34, 44}},
        {wrapped, {.maximum = {68, 0}}, 0, {68, 30}},
        {wrapped, {.maximum = {68, 0}}, 500, {68, 30}},
        {wrappedColumns, {.maximum = {0, 30}}, 0, {68, 30}},
        {wrappedColumns, {.maximum = {0, 29}}, 9, {102, 16}}};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto& [arrangement, placement, width, expected] = cases[i];
        box_->setArrangement(arrangement);
        box_->setPlacement(placement);
        EXPECT_EQ(width != 0 ? box_->preferredSizeForWidth(width) : box_->preferredSize(), expected)
            << i;
    }
}

// Wants to be higher whenever it is placed.
class Restless : public Control {
public:
    Size preferredSize() override { return {20, height}; }
    std::int32_t height = 10;

protected:
    void arrangeChildren() override {
        ++height;
        notify(kChangePreferredHeight);
    }
};

TEST_F(ControlTest, arrangement_childThatNeverHasEnough_comesToAnEnd) {
    const auto restless = makeControl<Restless>();
    box_->setArrangement({.flow = Flow::kColumns});
    box_->addChild(restless);
    window_->setArrangement({.flow = Flow::kColumns});
    window_->addChild(box_);
    const std::int32_t before = restless->height;
    restless->notify(Control::kChangePreferredHeight);
    EXPECT_GT(restless->height, before);
    EXPECT_LE(restless->height, before + 4);
}

}  // namespace
}  // namespace zustd
