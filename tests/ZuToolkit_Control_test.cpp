#include <gtest/gtest.h>

#include "ZuControl.h"
#include "support/FrameworkTest.h"
#include "support/RecordingBackend.h"

namespace zustd {
namespace {

using namespace test;

// Draws its area, so that the journal tells where it was.
class Painted : public Control {
public:
    explicit Painted(Rect boundary = {0, 0, 9, 9}) { setBoundary(boundary); }
    unsigned arranged = 0;

protected:
    void drawSelf(GraphicsService& graphics) override { graphics.drawRectangle(area()); }
    void arrangeChildren() override {
        ++arranged;
        Control::arrangeChildren();
    }
};

// A window of 200 by 100 pixels with its services.
class ControlTest : public ::testing::Test {
protected:
    ControlTest() {
        window_->setBoundary({0, 0, 199, 99});
        window_->synchronizeTree();
        journal().clear();
    }

    RecordingWindowService& native() {
        return recordingOf<RecordingWindowService>(*window_->windowService());
    }
    Journal& journal() { return native().journal; }
    RecordingGraphics& graphics() {
        return recordingOf<RecordingGraphics>(*window_->graphicsService());
    }
    Journal paint(const Rect& area) {
        graphics().drawArea = area;
        graphics().journal.clear();
        window_->drawAsRoot(*window_->graphicsService());
        return graphics().journal;
    }

    std::shared_ptr<WindowService> host_ = makeRecordingWindowService();
    std::shared_ptr<NativeWindow> window_ = host_->createNativeWindow();
};

// --- Tree ---

TEST_F(ControlTest, addChild_childOfAnother_movesIt) {
    const auto first = makeControl<Control>();
    const auto second = makeControl<Control>();
    const auto child = makeControl<Control>();
    first->addChild(child);
    EXPECT_EQ(&child->requireParent(), first.get());
    second->addChild(first->children().front());
    EXPECT_TRUE(first->children().empty());
    ASSERT_EQ(second->children().size(), 1U);
    EXPECT_EQ(child->parentControl(), second.get());
}

TEST_F(ControlTest, addChild_ancestorOrNull_isRefused) {
    const auto parent = makeControl<Control>();
    const auto child = makeControl<Control>();
    parent->addChild(child);
    const wchar_t* text = L"child && !child->isAncestorOf(*this)";
    EXPECT_EQ(thrownText([&] { child->addChild(parent); }), text);
    EXPECT_EQ(thrownText([&] { child->addChild(child); }), text);
    EXPECT_EQ(thrownText([&] { child->addChild(nullptr); }), text);
}

TEST_F(ControlTest, insertChild_places_keepOrder) {
    const auto parent = makeControl<Control>();
    const Controls made{makeControl<Control>(), makeControl<Control>(), makeControl<Control>()};
    parent->addChild(made[0]);
    parent->insertChild(0, made[1]);
    parent->insertChild(77, made[2]);
    EXPECT_EQ(parent->children(), (Controls{made[1], made[0], made[2]}));
    EXPECT_FALSE(parent->removeChild(window_.get()));
    EXPECT_TRUE(parent->removeChild(made[0].get()));
    EXPECT_EQ(parent->children(), (Controls{made[1], made[2]}));
    EXPECT_EQ(thrownText([&] { made[0]->requireParent(); }), L"getParent()");
}

TEST_F(ControlTest, destruction_parentFirst_leavesTheChildWithoutParent) {
    const auto child = makeControl<Control>();
    {
        const auto parent = makeControl<Control>();
        parent->addChild(child);
    }
    EXPECT_EQ(child->parentControl(), nullptr);
    EXPECT_EQ(child->getParent(), nullptr);
}

TEST_F(ControlTest, getService_nested_climbsToTheSurface) {
    const auto outer = makeControl<Control>();
    const auto inner = makeControl<Control>();
    EXPECT_EQ(inner->windowService(), nullptr);
    outer->addChild(inner);
    window_->addChild(outer);
    EXPECT_EQ(inner->windowService(), window_->windowService());
    EXPECT_EQ(inner->graphicsService(), window_->graphicsService());
    EXPECT_NE(inner->windowService(), host_);
    EXPECT_EQ(inner->surface(), window_.get());
}

// --- Messages ---

TEST_F(ControlTest, notify_nested_reachesOwnSinksThenTheAncestors) {
    const auto parent = makeControl<Control>();
    const auto child = makeControl<Control>();
    const auto log = std::make_shared<MessageLog>();
    parent->addChild(child);
    child->connect(log, false);
    parent->connect(log, false);
    EXPECT_TRUE(child->notify(Control::kSelected, MessageWord(7)));
    ASSERT_EQ(log->entries.size(), 2U);
    EXPECT_EQ(log->entries[1].a.object<Control>(), child.get());
    EXPECT_EQ(log->entries[1].b.number(), 7);
    child->setSendingEnabled(false);
    log->entries.clear();
    EXPECT_FALSE(child->notify(Control::kSelected));
    EXPECT_TRUE(log->entries.empty());
}

// Handles one kind.
class Handler : public Control {
public:
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
        if (kind == kSelected) {
            removeAllChildren();
            return true;
        }
        return Control::onReceiveMessage(kind, a, b);
    }
};

TEST_F(ControlTest, notify_parentHandlesAndDropsTheSender_endsThere) {
    const auto top = makeControl<Control>();
    const auto handler = makeControl<Handler>();
    const auto log = std::make_shared<MessageLog>();
    top->addChild(handler);
    top->connect(log, false);
    handler->addChild(makeControl<Control>());
    Control& child = *handler->children().front();
    child.notify(Control::kUnselected);
    EXPECT_EQ(log->take(), L"unselected");
    child.notify(Control::kSelected);
    // Only what the handler itself has to say.
    EXPECT_EQ(log->take(), L"shouldRefresh");
    EXPECT_TRUE(handler->children().empty());
}

// --- Geometry and state ---

TEST_F(ControlTest, boundaryOnSurface_nested_addsUpToTheSurfaceAlone) {
    window_->setBoundary({500, 500, 699, 599});
    const auto outer = makeControl<Painted>(Rect{10, 20, 109, 79});
    const auto inner = makeControl<Painted>(Rect{3, 4, 12, 13});
    window_->addChild(outer);
    outer->addChild(inner);
    EXPECT_EQ(inner->boundaryOnSurface(), (Rect{13, 24, 22, 33}));
    EXPECT_EQ(inner->fromSurface({13, 24}), (Point{0, 0}));
    EXPECT_EQ(window_->boundaryOnSurface(), (Rect{0, 0, 199, 99}));
}

TEST_F(ControlTest, setBoundary_reversed_keepsOnePixelAndMoveToClamps) {
    Painted control;
    EXPECT_TRUE(control.setBoundary({5, 5, 2, 1}));
    EXPECT_EQ(control.boundary(), (Rect{5, 5, 5, 5}));
    EXPECT_FALSE(control.setBoundary({5, 5, 5, 5}));
    EXPECT_TRUE(control.moveTo({-3, 2}));
    EXPECT_EQ(control.boundary(), (Rect{0, 2, 0, 2}));
}

TEST_F(ControlTest, setBoundary_drawn_repaintsOldAndNewPlace) {
    const auto child = makeControl<Painted>();
    window_->addChild(child);
    journal().clear();
    child->setBoundary({50, 50, 59, 59});
    EXPECT_EQ(journal(), (Journal{L"invalidate 0,0,9,9", L"invalidate 50,50,59,59"}));
    journal().clear();
    child->setVisible(false);
    child->setVisible(false);
    EXPECT_EQ(journal(), (Journal{L"invalidate 50,50,59,59"}));
}

TEST_F(ControlTest, refresh_withoutSurface_asksTheHolder) {
    const auto child = makeControl<Painted>();
    const auto log = std::make_shared<MessageLog>();
    child->connect(log, false);
    child->refresh();
    EXPECT_EQ(log->take(), L"shouldRefresh");
}

TEST_F(ControlTest, controlUpdate_severalChanges_showsOnce) {
    const auto button = host_->createNativeButton();
    window_->addChild(button);
    auto& recording = recordingOf<RecordingButton>(*button);
    const unsigned before = recording.synchronized;
    {
        const ControlUpdate outer(*button);
        const ControlUpdate inner(*button);
        button->setBoundary({1, 1, 50, 20});
        button->setChecked(true);
        button->setEnabled(false);
        EXPECT_EQ(recording.synchronized, before);
    }
    EXPECT_EQ(recording.synchronized, before + 1);
    EXPECT_EQ(recording.shown, (ShownState{{1, 1, 50, 20}, true, false}));
    EXPECT_TRUE(recording.checked);
}

TEST_F(ControlTest, containerMovesHidesDisables_nativeWidgetBelowFollows) {
    const auto box = makeControl<Painted>(Rect{10, 10, 109, 59});
    const auto button = host_->createNativeButton();
    button->setBoundary({5, 5, 54, 24});
    box->addChild(button);
    auto& recording = recordingOf<RecordingButton>(*button);
    EXPECT_EQ(recording.created, 0U);
    window_->addChild(box);
    EXPECT_EQ(recording.shown, (ShownState{{15, 15, 64, 34}, true, true}));
    box->moveTo({20, 0});
    EXPECT_EQ(recording.shown.boundary, (Rect{25, 5, 74, 24}));
    box->setVisible(false);
    EXPECT_FALSE(recording.shown.visible);
    box->setVisible(true);
    box->setEnabled(false);
    EXPECT_EQ(recording.shown, (ShownState{{25, 5, 74, 24}, true, false}));
    window_->removeChild(box.get());
    EXPECT_EQ(recording.released, 1U);
    window_->addChild(box);
    EXPECT_EQ(recording.created, 2U);
}

TEST_F(ControlTest, synchronize_firstTryFails_nextOneTriesAgain) {
    const auto button = host_->createNativeButton();
    auto& recording = recordingOf<RecordingButton>(*button);
    recording.failsToCreate = true;
    window_->addChild(button);
    button->setBoundary({0, 0, 30, 10});
    EXPECT_FALSE(button->hasNativeObject());
    recording.failsToCreate = false;
    window_->synchronizeTree();
    EXPECT_TRUE(button->hasNativeObject());
    EXPECT_EQ(recording.shown.boundary, (Rect{0, 0, 30, 10}));
}

// --- Descriptors ---

TEST_F(ControlTest, descriptor_changed_showsInEveryControlThatHasIt) {
    const auto caption = std::make_shared<TextDescriptor>(L"old");
    const auto first = host_->createNativeButton();
    const auto second = host_->createNativeButton();
    window_->addChild(first);
    window_->addChild(second);
    EXPECT_TRUE(first->setCaption(caption));
    EXPECT_FALSE(first->setCaption(caption));
    second->setCaption(caption);
    caption->setLiteral(L"new");
    EXPECT_EQ(recordingOf<RecordingButton>(*first).caption, L"new");
    EXPECT_EQ(recordingOf<RecordingButton>(*second).caption, L"new");
    second->setCaption(std::make_shared<TextDescriptor>(L"own"));
    const unsigned before = recordingOf<RecordingButton>(*second).synchronized;
    caption->setLiteral(L"newer");
    EXPECT_EQ(recordingOf<RecordingButton>(*first).caption, L"newer");
    EXPECT_EQ(recordingOf<RecordingButton>(*second).synchronized, before);
}

TEST_F(ControlTest, color_unset_comesFromTheNearestAncestorThatSetsIt) {
    const auto outer = makeControl<Control>();
    const auto inner = makeControl<Control>();
    outer->addChild(inner);
    const auto outerColors = std::make_shared<ColorsDescriptor>();
    const auto innerColors = std::make_shared<ColorsDescriptor>();
    outerColors->setColor(ColorRole::kText, Color::rgb(1, 2, 3));
    outerColors->setColor(ColorRole::kLink, Color::rgb(4, 5, 6));
    innerColors->setColor(ColorRole::kText, Color::rgb(7, 8, 9));
    outer->setColors(outerColors);
    inner->setColors(innerColors);
    EXPECT_EQ(inner->color(ColorRole::kText), Color::rgb(7, 8, 9));
    EXPECT_EQ(inner->color(ColorRole::kLink), Color::rgb(4, 5, 6));
    EXPECT_FALSE(inner->color(ColorRole::kBorder).isSet);
}

// --- Drawing ---

TEST_F(ControlTest, draw_nested_movesTheOriginAndSkipsWhatIsNotPainted) {
    const auto box = makeControl<Painted>(Rect{10, 10, 59, 59});
    box->addChild(makeControl<Painted>(Rect{0, 0, 9, 9}));
    box->addChild(makeControl<Painted>(Rect{30, 30, 39, 39}));
    const auto hidden = makeControl<Painted>(Rect{0, 0, 49, 49});
    hidden->setVisible(false);
    box->addChild(hidden);
    window_->addChild(box);
    window_->addChild(host_->createNativeButton());
    EXPECT_EQ(paint({0, 0, 199, 99}),
              (Journal{L"frame 10,10,59,59", L"frame 10,10,19,19", L"frame 40,40,49,49"}));
    EXPECT_EQ(paint({40, 40, 199, 99}), (Journal{L"frame 10,10,59,59", L"frame 40,40,49,49"}));
    EXPECT_EQ(paint({60, 60, 199, 99}), Journal());
}

TEST_F(ControlTest, draw_clippingControl_cutsItsChildren) {
    const auto box = makeControl<Painted>(Rect{10, 10, 19, 19});
    box->setClipsChildren(true);
    box->addChild(makeControl<Painted>(Rect{5, 5, 30, 30}));
    window_->addChild(box);
    EXPECT_EQ(paint({0, 0, 199, 99}), (Journal{L"frame 10,10,19,19", L"clip 10,10,19,19",
                                               L"frame 15,15,40,40", L"unclip"}));
}

class FailingPaint : public Painted {
public:
    using Painted::Painted;

protected:
    void drawSelf(GraphicsService&) override { ZU_ASSERT(!"painted"); }
};

TEST_F(ControlTest, draw_failsBelow_leavesOriginAndClippingAsTheyWere) {
    const auto box = makeControl<Painted>(Rect{10, 10, 19, 19});
    box->setClipsChildren(true);
    box->addChild(makeControl<FailingPaint>());
    window_->addChild(box);
    EXPECT_EQ(thrownText([&] { paint({0, 0, 199, 99}); }), L"!\"painted\"");
    EXPECT_EQ(graphics().journal.back(), L"unclip");
    EXPECT_EQ(window_->graphicsService()->origin(), (Point{0, 0}));
    box->removeAllChildren();
    EXPECT_EQ(paint({0, 0, 199, 99}), (Journal{L"frame 10,10,19,19"}));
}

TEST_F(ControlTest, draw_ownBackground_isFilled) {
    const auto colors = std::make_shared<ColorsDescriptor>();
    colors->setColor(ColorRole::kBackground, Color::rgb(255, 255, 255));
    window_->setColors(colors);
    EXPECT_EQ(paint({0, 0, 9, 9}), (Journal{L"fill 0,0,199,99 #ffffff"}));
}

// --- Scaling ---

TEST_F(ControlTest, scale_withAndWithoutService_multipliesOrReturnsTheInput) {
    const auto control = makeControl<Control>();
    {
        const TraceCapture trace(kTraceLevelInfo);
        EXPECT_EQ(control->scale(10.0), 10.0);
        EXPECT_EQ(trace.messages(),
                  (Lines{"Control::scale: no window service available; using no scaling factor"}));
    }
    window_->addChild(control);
    native().scalingFactor = 1.5;
    EXPECT_EQ(control->scale(10.0), 15.0);
    EXPECT_EQ(control->scale(std::int32_t{3}), 5);
}

// --- Arrangement ---

TEST_F(ControlTest, arrangement_sizeChanges_arrangesTheChildrenAgain) {
    const auto box = makeControl<Painted>(Rect{0, 0, 99, 19});
    box->setArrangement(Arrangement::kRows);
    box->setMargins(2, 3);
    box->setSpacing(4, 0);
    box->addChild(makeControl<Painted>(Rect{0, 0, 9, 9}));
    box->addChild(makeControl<Painted>(Rect{0, 0, 19, 9}));
    box->children()[1]->setAutoSized(true);
    box->arrange();
    EXPECT_EQ(box->children()[0]->boundary(), (Rect{2, 3, 11, 12}));
    EXPECT_EQ(box->children()[1]->boundary(), (Rect{16, 3, 97, 12}));
    box->setSize({60, 20});
    EXPECT_EQ(box->children()[1]->boundary(), (Rect{16, 3, 57, 12}));
    EXPECT_EQ(box->preferredSize(), (Size{4 + 10 + 4 + 1, 6 + 10}));
}

TEST_F(ControlTest, arrangement_autoSizedContainer_arrangesItsOwnChildrenOnce) {
    const auto outer = makeControl<Painted>(Rect{0, 0, 99, 49});
    outer->setArrangement(Arrangement::kColumns);
    const auto inner = makeControl<Painted>(Rect{0, 0, 49, 9});
    inner->setAutoSized(true);
    outer->addChild(inner);
    inner->arranged = 0;
    outer->arrange();
    EXPECT_EQ(inner->boundary(), (Rect{0, 0, 49, 49}));
    EXPECT_EQ(inner->arranged, 1U);
}

}  // namespace
}  // namespace zustd
