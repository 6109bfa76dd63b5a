#include <gtest/gtest.h>

#include "support/FrameworkTest.h"
#include "support/RecordingBackend.h"

namespace zustd {
namespace {

using namespace test;

class WidgetTest : public ::testing::Test {
protected:
    WidgetTest() {
        window_->setBoundary({0, 0, 199, 99});
        window_->synchronizeTree();
    }
    // A widget on the window, listened to.
    template <class W>
    std::shared_ptr<W> shown(std::shared_ptr<W> widget) {
        window_->addChild(widget);
        widget->connect(log_, false);
        return widget;
    }

    std::shared_ptr<WindowService> host_ = makeRecordingWindowService();
    std::shared_ptr<NativeWindow> window_ = host_->createNativeWindow();
    std::shared_ptr<MessageLog> log_ = std::make_shared<MessageLog>();
};

// --- The bridge ---

TEST_F(WidgetTest, bridge_unjoinedOrWrongInterface_failsItsAssertions) {
    RecordingButton backend;
    EXPECT_EQ(thrownText([&] { backend.getAbstraction(); }), L"abstraction_ != 0");
    const auto button = makeControl<NativeButton>();
    EXPECT_EQ(button->backend(), nullptr);
    EXPECT_EQ(thrownText([&] { button->implementation(); }), L"impl_");
    const auto joined = host_->createNativeButton();
    EXPECT_EQ(dynamic_cast<INativeTextBoxImpl*>(joined->backend()), nullptr);
    EXPECT_NE(dynamic_cast<INativeButtonImpl*>(joined->backend()), nullptr);
}

// Tells a counter when it goes.
class CountedButton : public Implementation<NativeButton, INativeButtonImpl> {
public:
    explicit CountedButton(Journal& journal) : journal_(journal) {}
    ~CountedButton() override { journal_.emplace_back(L"destroyed"); }
    void synchronizeWithAbstraction() override { native_ = true; }
    void releaseNativeObject() override {
        if (native_) {
            // The portable half is still whole.
            journal_.push_back(getAbstraction().caption().literal());
            native_ = false;
        }
    }
    bool hasNativeObject() const override { return native_; }

private:
    Journal& journal_;
    bool native_ = false;
};

TEST_F(WidgetTest, destruction_nativeObject_goesWhileTheWidgetIsWhole) {
    Journal journal;
    {
        auto button = makeControl<NativeButton>();
        joinImplementation(*button, std::make_unique<CountedButton>(journal));
        button->setCaption(std::make_shared<TextDescriptor>(L"Caption"));
        button->synchronizeTree();
    }
    EXPECT_EQ(journal, (Journal{L"Caption", L"destroyed"}));
    journal.clear();
    {
        auto button = makeControl<NativeButton>();
        joinImplementation(*button, std::make_unique<CountedButton>(journal));
    }
    EXPECT_EQ(journal, (Journal{L"destroyed"}));
}

TEST_F(WidgetTest, missingDescriptors_getters_failWithTheMembersName) {
    EXPECT_EQ(thrownText([&] { host_->createNativeButton()->caption(); }), L"caption_");
    EXPECT_EQ(thrownText([&] { host_->createNativeButton()->font(); }), L"font_");
    EXPECT_EQ(thrownText([&] { host_->createNativeComboBox()->caption(); }), L"caption_");
    EXPECT_EQ(thrownText([&] { host_->createNativeTextBox()->watermark(); }), L"watermark_");
    EXPECT_EQ(thrownText([&] { host_->createNativeGridView()->font(); }), L"font_");
    EXPECT_EQ(thrownText([&] { host_->createNativeGridView()->bitmaps(); }), L"bitmaps_");
    const TraceCapture trace;
    thrownText([&] { host_->createNativeTextBox()->watermark(); });
    EXPECT_EQ(trace.messages()[0].rfind("asserted: 'watermark_', in src/lib/ZuNativeTextBox,", 0),
              0U);
}

// --- Button ---

TEST_F(WidgetTest, click_checkBox_togglesAndSends) {
    const auto box = shown(host_->createNativeButton());
    box->setKind(ButtonKind::kCheck);
    box->click();
    EXPECT_TRUE(recordingOf<RecordingButton>(*box).checked);
    box->click();
    EXPECT_FALSE(box->isChecked());
    EXPECT_EQ(log_->take(), L"leftClicked leftClicked");
    box->setEnabled(false);
    box->click();
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(WidgetTest, click_radioButton_unchecksItsGroupAlone) {
    const auto first = shown(host_->createNativeButton());
    const auto second = shown(host_->createNativeButton());
    const auto check = shown(host_->createNativeButton());
    first->setKind(ButtonKind::kRadio);
    second->setKind(ButtonKind::kRadio);
    check->setKind(ButtonKind::kCheck);
    check->setChecked(true);
    first->click();
    second->click();
    second->click();
    EXPECT_FALSE(first->isChecked());
    EXPECT_TRUE(second->isChecked());
    EXPECT_TRUE(check->isChecked());
}

TEST_F(WidgetTest, preferredSize_button_countsNoAccessKeyAndScales) {
    const auto button = shown(host_->createNativeButton());
    button->setCaption(std::make_shared<TextDescriptor>(L"&Twelve chars && 1"));
    // 16 characters of 7 pixels plus 24; a line of 16 plus 10.
    EXPECT_EQ(button->preferredSize(), (Size{136, 26}));
    recordingOf<RecordingWindowService>(*window_->windowService()).scalingFactor = 2.0;
    EXPECT_EQ(button->preferredSize(), (Size{160, 46}));
    button->setCaption(std::make_shared<TextDescriptor>(L"x"));
    EXPECT_EQ(button->preferredSize(), (Size{150, 46}));
}

// --- Text box ---

TEST_F(WidgetTest, text_fromUserAndProgram_sendsOnceAndDoesNotEcho) {
    const auto box = shown(host_->createNativeTextBox());
    auto& recording = recordingOf<RecordingTextBox>(*box);
    EXPECT_TRUE(box->setText(L"typed"));
    EXPECT_FALSE(box->setText(L"typed"));
    EXPECT_EQ(recording.text, L"typed");
    const unsigned before = recording.synchronized;
    box->acceptText(L"typed on");
    box->acceptText(L"typed on");
    EXPECT_EQ(recording.synchronized, before);
    EXPECT_EQ(box->text(), L"typed on");
    EXPECT_EQ(log_->take(), L"textChanged textChanged");
    EXPECT_TRUE(box->setMaximumLength(3));
    EXPECT_EQ(box->text(), L"typ");
    EXPECT_EQ(recording.text, L"typ");
    box->setText(L"abcdef");
    EXPECT_EQ(box->text(), L"abc");
}

// --- Combo box ---

TEST_F(WidgetTest, comboBox_itemsBeforeAndAfterTheNativeObject_areMirrored) {
    const auto box = host_->createNativeComboBox();
    auto& recording = recordingOf<RecordingComboBox>(*box);
    EXPECT_EQ(box->addItem(L"one"), 0U);
    EXPECT_EQ(box->addItem(L"two"), 1U);
    EXPECT_TRUE(recording.items.empty());
    shown(box);
    EXPECT_EQ(recording.items, (std::vector<std::wstring>{L"one", L"two"}));
    box->addItem(L"three");
    box->selectItem(2);
    box->removeItem(0);
    box->removeItem(99);
    EXPECT_EQ(recording.items, (std::vector<std::wstring>{L"two", L"three"}));
    EXPECT_EQ(recording.selected, 1U);
    EXPECT_EQ(box->getSelectedItem(), 1U);
    EXPECT_EQ(box->text(), L"three");
    EXPECT_EQ(box->findItem(L"three"), 1U);
    EXPECT_EQ(box->findItem(L"four"), kNullSize);
    EXPECT_EQ(box->getItemText(7), L"");
    box->removeItem(1);
    EXPECT_EQ(recording.selected, kNullSize);
    EXPECT_EQ(box->text(), L"");
    EXPECT_EQ(log_->take(), L"");
    EXPECT_EQ(recording.rebuilt, 1U);
    box->clear();
    EXPECT_EQ(box->getItemCount(), 0U);
    EXPECT_TRUE(recording.items.empty());
}

TEST_F(WidgetTest, comboBox_userSelects_sendsSelectionThenText) {
    const auto box = shown(host_->createNativeComboBox());
    box->addItem(L"one");
    box->addItem(L"two");
    box->acceptSelection(1);
    ASSERT_EQ(log_->entries.size(), 2U);
    EXPECT_EQ(log_->entries[0].b.number(), 1);
    EXPECT_EQ(log_->take(), L"selectionChanged textChanged");
    box->acceptSelection(1);
    EXPECT_EQ(log_->take(), L"");
    EXPECT_EQ(box->text(), L"two");
    box->acceptSelection(55);
    EXPECT_EQ(box->getSelectedItem(), kNullSize);
}

// --- Scroll bar, progress bar ---

TEST_F(WidgetTest, scrollBar_rangeAndPage_keepThePositionInside) {
    const auto bar = shown(host_->createNativeScrollBar(true));
    auto& recording = recordingOf<RecordingScrollBar>(*bar);
    bar->setRange(0, 99);
    bar->setPageSize(20);
    EXPECT_TRUE(bar->setPosition(200));
    EXPECT_EQ(bar->position(), 80);
    EXPECT_EQ(recording.position, 80);
    EXPECT_TRUE(recording.canGoBack);
    EXPECT_FALSE(recording.canGoOn);
    EXPECT_EQ(log_->take(), L"scrolled scrolledvertically");
    bar->setPageSize(50);
    EXPECT_EQ(bar->position(), 50);
    bar->setRange(10, 5);
    EXPECT_EQ(bar->position(), 10);
    EXPECT_EQ(bar->highestPosition(), 10);
    EXPECT_FALSE(recording.canGoBack);
}

TEST_F(WidgetTest, scrollBar_keysAndWheel_moveIt) {
    const auto bar = shown(host_->createNativeScrollBar(false));
    bar->setRange(0, 99);
    bar->setPageSize(10);
    bar->setLineSize(2);
    EXPECT_TRUE(bar->onKey({kKeyRight, 0}));
    EXPECT_FALSE(bar->onKey({kKeyDown, 0}));
    EXPECT_EQ(bar->position(), 2);
    EXPECT_TRUE(bar->onKey({kKeyPageDown, 0}));
    EXPECT_TRUE(bar->onKey({kKeyEnd, 0}));
    EXPECT_EQ(bar->position(), 90);
    EXPECT_FALSE(bar->onKey({kKeyEnd, 0}));
    EXPECT_TRUE(bar->onMouse({MouseAction::kHorizontalWheel, {}, -MouseEvent::kWheelStep, 0}));
    EXPECT_EQ(bar->position(), 84);
    EXPECT_FALSE(bar->onMouse({MouseAction::kWheel, {}, -MouseEvent::kWheelStep, 0}));
    EXPECT_EQ(log_->take().substr(0, 29), L"scrolled scrolledhorizontally");
}

TEST_F(WidgetTest, progressBar_values_areTakenIntoTheRange) {
    const auto bar = shown(host_->createNativeProgressBar());
    auto& recording = recordingOf<RecordingProgressBar>(*bar);
    bar->setPosition(70);
    bar->setRange(0, 50);
    EXPECT_EQ(bar->position(), 50);
    EXPECT_EQ(recording.position, 50);
    EXPECT_EQ(recording.maximum, 50);
    bar->setPosition(-3);
    EXPECT_EQ(recording.position, 0);
    EXPECT_TRUE(bar->setEnableMarqueeAnimation(true));
    EXPECT_TRUE(recording.marquee);
    EXPECT_TRUE(bar->setMarqueeInterval(0));
    EXPECT_EQ(recording.interval, 1U);
    EXPECT_TRUE(bar->setState(ProgressState::kError));
    EXPECT_EQ(recording.state, ProgressState::kError);
}

// --- Popup menu, timer ---

TEST_F(WidgetTest, popupMenu_choice_isReturnedAndSent) {
    const auto menu = host_->createNativePopupMenu();
    menu->connect(log_, false);
    menu->addItem(1, L"One");
    menu->addSeparator();
    PopupMenuItem more;
    more.identifier = 2;
    more.items.push_back({3, L"Three", 0, true, false, {}});
    menu->setItems({menu->items()[0], menu->items()[1], more});
    ASSERT_NE(menu->findItem(3), nullptr);
    EXPECT_EQ(menu->findItem(3)->caption, L"Three");
    EXPECT_EQ(menu->findItem(0), nullptr);
    log_->take();
    auto& recording = recordingOf<RecordingPopupMenu>(*menu);
    EXPECT_EQ(menu->show({5, 6}), 0U);
    EXPECT_EQ(log_->take(), L"");
    recording.choice = 3;
    EXPECT_EQ(menu->show({5, 6}), 3U);
    EXPECT_EQ(log_->take(), L"selected");
    EXPECT_EQ(recording.shownAt, (Point{5, 6}));
}

TEST_F(WidgetTest, timer_notRepeating_stopsBeforeItsTick) {
    const auto timer = host_->createTimer(L"t");
    timer->connect(log_, false);
    timer->start(0, false);
    EXPECT_EQ(timer->getInterval(), 1U);
    EXPECT_TRUE(timer->isRunning());
    timer->acceptTick();
    EXPECT_FALSE(timer->isRunning());
    timer->start(10, true);
    timer->acceptTick();
    EXPECT_TRUE(timer->isRunning());
    EXPECT_EQ(log_->take(), L"timerTick timerTick");
}

// --- Message kinds ---

TEST(ToolkitMessages, kinds_byName_areThere) {
    const wchar_t* names[] = {L"timerTick.Timer",
                              L"beforeDisplayTooltip.Control",
                              L"changePreferredHeight.Control",
                              L"changePreferredWidth.Control",
                              L"close.Control",
                              L"ctrlScrolledmousewheel.Control",
                              L"dragging.Control",
                              L"dropped.Control",
                              L"enterFocus.Control",
                              L"enterHovering.Control",
                              L"enterLeftClicking.Control",
                              L"enterRightClicking.Control",
                              L"keyPressed.Control",
                              L"leaveFocus.Control",
                              L"leaveHovering.Control",
                              L"leaveLeftClicking.Control",
                              L"leaveRightClicking.Control",
                              L"leftClicked.Control",
                              L"moveDown.Control",
                              L"moveUp.Control",
                              L"rightClicked.Control",
                              L"scrolled.Control",
                              L"scrolledhorizontally.Control",
                              L"scrolledmousewheel.Control",
                              L"scrolledvertically.Control",
                              L"selectNextItem.Control",
                              L"selectPreviousItem.Control",
                              L"selected.Control",
                              L"shiftScrolledmousewheel.Control",
                              L"shouldRefresh.Control",
                              L"shouldReselectCurrentChild.Control",
                              L"shouldScrollChildIntoView.Control",
                              L"toggleExpandCollapse.Control",
                              L"unselected.Control",
                              L"beforeDisplayRowTooltip.NativeGridView",
                              L"checkStateChanged.NativeGridView",
                              L"leftClicked.NativeGridView",
                              L"rightClicked.NativeGridView",
                              L"selectionChanged.NativeGridView",
                              L"checkStateChanged.NativeTreeView",
                              L"nodeCollapsing.NativeTreeView",
                              L"nodeExpanding.NativeTreeView",
                              L"rightClicked.NativeTreeView",
                              L"selectionChanged.NativeTreeView",
                              L"selectionChanged.NativeComboBox",
                              L"textChanged.NativeComboBox",
                              L"textChanged.NativeTextBox"};
    for (const wchar_t* name : names) {
        EXPECT_NE(MessageKind::find(name), nullptr) << ::testing::PrintToString(std::wstring(name));
    }
}

}  // namespace
}  // namespace zustd
