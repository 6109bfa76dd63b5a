// The native widgets' portable halves, and the bridge to their backends.
#include <sstream>

#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;
using WidgetTest = ToolkitTest;

// --- The bridge ---

// Tells a journal when it goes.
class CountedButton : public Recording<Implementation<NativeButton, INativeButtonImpl>> {
public:
    explicit CountedButton(Journal& journal) : journal_(journal) {}
    ~CountedButton() override { journal_.emplace_back(L"destroyed"); }
    void releaseNativeObject() override {
        if (hasNativeObject()) {
            // The portable half is still whole.
            journal_.push_back(getAbstraction().caption().literal());
        }
        Recording::releaseNativeObject();
    }

private:
    Journal& journal_;
};

TEST_F(WidgetTest, destruction_nativeObject_goesWhileTheWidgetIsWhole) {
    for (const bool synchronized : {true, false}) {
        Journal journal;
        {
            const auto button = makeControl<NativeButton>();
            joinImplementation(*button, std::make_unique<CountedButton>(journal));
            button->setCaption(std::make_shared<TextDescriptor>(L"Caption"));
            if (synchronized) {
                button->synchronizeTree();
            }
        }
        EXPECT_EQ(journal,
                  synchronized ? (Journal{L"Caption", L"destroyed"}) : Journal{L"destroyed"});
    }
}

TEST_F(WidgetTest, missingHalvesAndDescriptors_failWithTheMembersName) {
    const TraceCapture trace;
    EXPECT_EQ(thrownText([&] { host_->createNativeTextBox()->watermark(); }), L"watermark_");
    EXPECT_EQ(trace.messages()[0].rfind("asserted: 'watermark_', in src/lib/ZuNativeTextBox,", 0),
              0U);
    EXPECT_EQ(thrownText([&] { host_->createNativeButton()->caption(); }), L"caption_");
    EXPECT_EQ(thrownText([&] { host_->createNativeComboBox()->caption(); }), L"caption_");
    EXPECT_EQ(thrownText([&] { host_->createNativeGridView()->bitmaps(); }), L"bitmaps_");
    EXPECT_EQ(thrownText([&] { host_->createNativeGridView()->font(); }), L"font_");
    EXPECT_EQ(thrownText([&] { makeControl<NativeButton>()->implementation(); }), L"impl_");
    EXPECT_EQ(thrownText([&] { RecordingButton().getAbstraction(); }), L"abstraction_ != 0");
    // A backend for something else.
    const auto box = makeControl<NativeComboBox>();
    using Wrong = Implementation<NativeComboBox, INativeButtonImpl>;
    joinImplementation(*box, std::make_unique<Recording<Wrong>>());
    EXPECT_EQ(thrownText([&] { box->addItem(L"x"); }), L"impl_");
}

// --- Button ---

TEST_F(WidgetTest, click_checkBoxAndRadioButtons_toggleAndUncheckTheirGroupAlone) {
    const auto check = shown(host_->createNativeButton());
    const auto first = shown(host_->createNativeButton());
    const auto second = shown(host_->createNativeButton());
    check->setKind(ButtonKind::kCheck);
    first->setKind(ButtonKind::kRadio);
    second->setKind(ButtonKind::kRadio);
    check->click();
    EXPECT_TRUE(recordingOf<RecordingButton>(*check).checked);
    check->click();
    EXPECT_FALSE(check->isChecked());
    check->click();
    EXPECT_EQ(log_->take(), L"leftClicked leftClicked leftClicked");
    check->setEnabled(false);
    check->click();
    EXPECT_EQ(log_->take(), L"");
    first->click();
    second->click();
    second->click();
    EXPECT_FALSE(first->isChecked());
    EXPECT_TRUE(second->isChecked() && check->isChecked());
    // By key, past the one that cannot be used and around.
    const auto third = shown(host_->createNativeButton());
    third->setKind(ButtonKind::kRadio);
    first->setEnabled(false);
    EXPECT_TRUE(second->onKey({kKeyUp, 0}));
    EXPECT_TRUE(third->isChecked() && third->hasFocus() && !second->isChecked());
    EXPECT_TRUE(third->onKey({kKeyRight, 0}));
    EXPECT_TRUE(second->isChecked() && second->hasFocus());
    EXPECT_FALSE(second->onKey({kKeyUp, kModifierControl}) || check->onKey({kKeyUp, 0}));
    // One that joins the group checked is the one.
    check->setKind(ButtonKind::kRadio);
    EXPECT_TRUE(check->isChecked() && !second->isChecked());
}

TEST_F(WidgetTest, preferredSize_button_countsNoAccessKeyAndScales) {
    const auto button = shown(host_->createNativeButton());
    button->setCaption(std::make_shared<TextDescriptor>(L"&Twelve chars && 1"));
    // 16 characters of 7 pixels plus 24; a line of 16 plus 10.
    EXPECT_EQ(button->preferredSize(), (Size{136, 26}));
    native().scalingFactor = 2.0;
    EXPECT_EQ(button->preferredSize(), (Size{160, 46}));
    button->setCaption(std::make_shared<TextDescriptor>(L"x"));
    EXPECT_EQ(button->preferredSize(), (Size{150, 46}));
}

// --- Text box, combo box ---

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
    EXPECT_EQ(log_->take(), L"textChanged textChanged");
    EXPECT_TRUE(box->setMaximumLength(3));
    EXPECT_EQ(recording.text, L"typ");
    box->setText(L"a\r\ncdef");
    EXPECT_EQ(box->text(), L"a\nc");
    EXPECT_FALSE(box->setText(L"a\nc"));
}

TEST_F(WidgetTest, comboBox_itemsBeforeAndAfterTheNativeObject_areMirrored) {
    const auto box = host_->createNativeComboBox();
    auto& recording = recordingOf<RecordingComboBox>(*box);
    EXPECT_EQ(box->addItem(L"one"), 0U);
    EXPECT_EQ(box->addItem(L"two"), 1U);
    shown(box);
    EXPECT_EQ(recording.items, (Texts{L"one", L"two"}));
    box->addItem(L"three");
    box->selectItem(2);
    box->removeItem(0);
    box->removeItem(99);
    EXPECT_EQ(recording.items, (Texts{L"two", L"three"}));
    EXPECT_EQ(recording.selected, 1U);
    EXPECT_EQ(box->getSelectedItem(), 1U);
    EXPECT_EQ(box->text(), L"three");
    EXPECT_EQ(box->findItem(L"three"), 1U);
    EXPECT_EQ(box->findItem(L"four"), kNullSize);
    EXPECT_EQ(box->getItemText(7), L"");
    box->removeItem(1);
    EXPECT_EQ(recording.selected, kNullSize);
    EXPECT_EQ(box->text() + log_->take(), L"");
    EXPECT_EQ(recording.rebuilt, 1U);
    // The user's turn.
    box->acceptSelection(0);
    ASSERT_EQ(log_->entries.size(), 2U);
    EXPECT_EQ(log_->entries[0].b.number(), 0);
    box->acceptSelection(0);
    EXPECT_EQ(log_->take(), L"selectionChanged textChanged");
    EXPECT_EQ(box->text(), L"two");
    box->acceptSelection(55);
    EXPECT_EQ(box->getSelectedItem(), kNullSize);
    EXPECT_EQ(box->text(), L"");
    // A list shows items alone, a field any text.
    EXPECT_FALSE(box->setText(L"three"));
    EXPECT_TRUE(box->setText(L"two"));
    EXPECT_EQ(box->getSelectedItem(), 0U);
    box->setEditable(true);
    EXPECT_TRUE(box->setText(L"three"));
    EXPECT_EQ(recording.selected, kNullSize);
    box->setEditable(false);
    EXPECT_EQ(box->text(), L"");
    box->clear();
    EXPECT_TRUE(recording.items.empty());
}

// --- Scroll bar, progress bar ---

TEST_F(WidgetTest, scrollBar_rangeAndPage_keepThePositionInside) {
    const auto bar = shown(host_->createNativeScrollBar(true));
    auto& recording = recordingOf<RecordingScrollBar>(*bar);
    bar->setRange(0, 99);
    bar->setPageSize(20);
    EXPECT_TRUE(bar->setPosition(200));
    EXPECT_EQ(recording.position, 80);
    EXPECT_TRUE(recording.canGoBack && !recording.canGoOn);
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
    const std::tuple<std::uint32_t, bool, int> keys[] = {{kKeyRight, true, 2},
                                                         {kKeyDown, false, 2},
                                                         {kKeyPageDown, true, 12},
                                                         {kKeyEnd, true, 90},
                                                         {kKeyEnd, false, 90}};
    for (const auto& [key, isUsed, position] : keys) {
        EXPECT_EQ(bar->onKey({key, 0}), isUsed) << key;
        EXPECT_EQ(bar->position(), position) << key;
    }
    EXPECT_TRUE(bar->onMouse({MouseAction::kHorizontalWheel, {}, -MouseEvent::kWheelStep, 0}));
    EXPECT_EQ(bar->position(), 84);
    EXPECT_FALSE(bar->onMouse({MouseAction::kWheel, {}, -MouseEvent::kWheelStep, 0}));
    // A wheel without notches turns by less than a position.
    for (int i = 0; i < 12; ++i) {
        EXPECT_TRUE(bar->onMouse({MouseAction::kHorizontalWheel, {}, -10, 0}));
    }
    EXPECT_EQ(bar->position(), 78);
    EXPECT_TRUE(log_->take().starts_with(L"scrolled scrolledhorizontally"));
}

TEST_F(WidgetTest, progressBar_values_areTakenIntoTheRange) {
    const auto bar = shown(host_->createNativeProgressBar());
    auto& recording = recordingOf<RecordingProgressBar>(*bar);
    bar->setPosition(70);
    bar->setRange(0, 50);
    EXPECT_EQ(bar->position(), 50);
    EXPECT_EQ(recording.position, 50);
    bar->setPosition(-3);
    EXPECT_EQ(recording.position, 0);
    EXPECT_TRUE(bar->setMarqueeInterval(0));
    EXPECT_EQ(recording.interval, 1U);
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
    EXPECT_EQ(menu->show({}), 0U);
    EXPECT_EQ(log_->take(), L"");
    recording.choice = 3;
    EXPECT_EQ(menu->show({5, 6}), 3U);
    EXPECT_EQ(log_->take(), L"selected");
    EXPECT_EQ(recording.shownAt, (Point{5, 6}));
}

TEST_F(WidgetTest, timer_notRepeating_stopsBeforeItsTick) {
    const auto timer = host_->createTimer(L"t");
    timer->connect(log_, false);
    for (const bool repeating : {false, true}) {
        timer->start(0, repeating);
        EXPECT_TRUE(timer->isRunning());
        timer->acceptTick();
        EXPECT_EQ(timer->isRunning(), repeating);
    }
    EXPECT_EQ(timer->getInterval(), 1U);
    EXPECT_EQ(log_->take(), L"timerTick timerTick");
}

// --- Message kinds ---

TEST(ToolkitMessages, kinds_byName_areThere) {
    const std::pair<const wchar_t*, const wchar_t*> classes[] = {
        {L"Timer", L"timerTick"},
        {L"Control",
         L"beforeDisplayTooltip changePreferredHeight changePreferredWidth close "
         L"ctrlScrolledmousewheel dragging dropped enterFocus enterHovering enterLeftClicking "
         L"enterRightClicking keyPressed leaveFocus leaveHovering leaveLeftClicking "
         L"leaveRightClicking leftClicked moveDown moveUp rightClicked scrolled "
         L"scrolledhorizontally scrolledmousewheel scrolledvertically selectNextItem "
         L"selectPreviousItem selected shiftScrolledmousewheel shouldRefresh "
         L"shouldReselectCurrentChild shouldScrollChildIntoView toggleExpandCollapse unselected"},
        {L"NativeGridView",
         L"beforeDisplayRowTooltip checkStateChanged leftClicked rightClicked selectionChanged"},
        {L"NativeTreeView",
         L"checkStateChanged nodeCollapsing nodeExpanding rightClicked selectionChanged"},
        {L"NativeComboBox", L"selectionChanged textChanged"},
        {L"NativeTextBox", L"textChanged"}};
    for (const auto& [sender, names] : classes) {
        std::wistringstream list(names);
        for (std::wstring name; list >> name;) {
            name.append(L".").append(sender);
            EXPECT_NE(MessageKind::find(name), nullptr) << ::testing::PrintToString(name);
        }
    }
}

}  // namespace
}  // namespace zustd
