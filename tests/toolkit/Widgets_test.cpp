// The native widgets' portable halves, and the bridge to their backends.
#include <typeinfo>

#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuResourceServiceGeneric.h"
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;
using WidgetTest = ToolkitTest;

// --- The bridge ---

// Looks at its portable object when the native object goes and at its own end.
template <class Backend>
class Ending : public Backend {
public:
    ~Ending() override { look(); }
    void releaseNativeObject() override {
        look();
        Backend::releaseNativeObject();
    }
    static inline int looks = 0;

private:
    void look() {
        const auto& abstraction = this->getAbstraction();
        looks += typeid(abstraction) == typeid(std::remove_cvref_t<decltype(abstraction)>);
    }
};

template <class Backend, class... Args>
int looksAtWhole(Args... args) {
    made<Ending<Backend>>(args...);
    return Ending<Backend>::looks;
}

TEST_F(WidgetTest, destruction_ofAnyPortableObject_endsTheBackendWhileThatIsWhole) {
    const int looks[] = {looksAtWhole<RecordingButton>(),
                         looksAtWhole<RecordingTextBox>(),
                         looksAtWhole<RecordingWindow>(),
                         looksAtWhole<RecordingDialog>(),
                         looksAtWhole<RecordingPopupMenu>(),
                         looksAtWhole<RecordingScrollBar>(),
                         looksAtWhole<RecordingProgressBar>(),
                         looksAtWhole<RecordingComboBox>(),
                         looksAtWhole<RecordingGridView>(),
                         looksAtWhole<RecordingTreeView>(),
                         looksAtWhole<RecordingFont>(FontStyle()),
                         looksAtWhole<RecordingTimer>(),
                         looksAtWhole<RecordingBitmap>(ResourceDescriptor(), Size()),
                         looksAtWhole<RecordingGraphics>(),
                         looksAtWhole<RecordingWindowService>(),
                         looksAtWhole<ResourceServiceGeneric>(),
                         looksAtWhole<ApplicationServiceWin32Gdi>()};
    for (std::size_t i = 0; i < std::size(looks); ++i) {
        EXPECT_EQ(looks[i], 2) << i;
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
    check->setKind(ButtonKind::kCheck);
    check->click();
    EXPECT_TRUE(check->isChecked());
    check->setEnabled(false);
    check->click();
    EXPECT_EQ(log_->take(), L"leftClicked");
    std::vector<std::shared_ptr<NativeButton>> radios;
    for (int i = 0; i < 3; ++i) {
        radios.push_back(shown(host_->createNativeButton()));
        radios.back()->setKind(ButtonKind::kRadio);
        radios.back()->click();
        radios.back()->click();
    }
    EXPECT_TRUE(check->isChecked() && radios[2]->isChecked());
    EXPECT_FALSE(radios[0]->isChecked() || radios[1]->isChecked());
    // By key, around and past the one that cannot be used.
    radios[0]->setEnabled(false);
    EXPECT_TRUE(radios[2]->onKey({kKeyRight, 0}));
    EXPECT_TRUE(radios[1]->isChecked() && radios[1]->hasFocus() && !radios[2]->isChecked());
    EXPECT_TRUE(radios[1]->onKey({kKeyUp, 0}));
    EXPECT_TRUE(radios[2]->isChecked() && radios[2]->hasFocus());
    EXPECT_FALSE(radios[2]->onKey({kKeyUp, kModifierControl}) || check->onKey({kKeyUp, 0}));
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
    button->setBitmap(std::make_shared<BitmapDescriptor>(7, Size{0x7FFFFFFF, 1}));
    EXPECT_EQ(button->preferredSize(), (Size{0x7FFFFFFF, 46}));
}

TEST_F(WidgetTest, preferredSize_ofTheOthers_followsTextKindAndSystem) {
    const auto text = shown(host_->createNativeTextBox());
    EXPECT_EQ(text->preferredSize(), (Size{160, 16 + 8}));
    text->setKind(TextBoxKind::kMultiLine);
    EXPECT_EQ(text->preferredSize(), (Size{160, 4 * 16 + 8}));
    const auto box = shown(host_->createNativeComboBox());
    box->addItem(L"short");
    EXPECT_EQ(box->preferredSize(), (Size{100, 16 + 8}));
    box->addItem(L"fourteen chars");
    EXPECT_EQ(box->preferredSize(), (Size{14 * 7 + 32, 16 + 8}));
    EXPECT_EQ(shown(host_->createNativeProgressBar())->preferredSize(), (Size{160, 12}));
    EXPECT_EQ(shown(host_->createNativeScrollBar(false), {0, 0, 49, 5})->preferredSize(),
              (Size{50, 16}));
    // Outside of a surface they keep what they have.
    const std::shared_ptr<Control> alone[] = {
        makeControl<NativeButton>(), makeControl<NativeTextBox>(), makeControl<NativeComboBox>()};
    for (const auto& widget : alone) {
        widget->setSize({30, 40});
        EXPECT_EQ(widget->preferredSize(), (Size{30, 40}));
    }
}

// --- Text box, combo box ---

TEST_F(WidgetTest, text_fromUserAndProgram_sendsOnceAndDoesNotEcho) {
    const auto box = shown(host_->createNativeTextBox());
    const unsigned& synchronized = recordingOf<RecordingTextBox>(*box).synchronized;
    const unsigned before = synchronized;
    EXPECT_TRUE(box->setText(L"typed"));
    EXPECT_FALSE(box->setText(L"typed"));
    EXPECT_EQ(synchronized, before + 1);
    box->acceptText(L"typed on");
    box->acceptText(L"typed on");
    EXPECT_EQ(synchronized, before + 1);
    EXPECT_EQ(log_->take(), L"textChanged textChanged");
    EXPECT_TRUE(box->setMaximumLength(3));
    EXPECT_EQ(synchronized, before + 2);
    EXPECT_EQ(box->text(), L"typ");
    box->setText(L"a\r\ncdef");
    EXPECT_EQ(box->text(), L"a\nc");
    EXPECT_FALSE(box->setText(L"a\nc"));
}

TEST_F(WidgetTest, comboBox_itemsAndChoice_areToldAndSentOnce) {
    const auto box = host_->createNativeComboBox();
    Journal& told = recordingOf<RecordingComboBox>(*box).journal;
    EXPECT_EQ(box->addItem(L"one"), 0U);
    EXPECT_EQ(box->addItem(L"two"), 1U);
    EXPECT_TRUE(told.empty());
    shown(box);
    box->addItem(L"three");
    box->selectItem(2);
    box->removeItem(0);
    box->removeItem(99);
    EXPECT_EQ(box->text(), L"three");
    box->removeItem(1);
    EXPECT_EQ(box->text() + box->getItemText(7) + log_->take(), L"");
    EXPECT_EQ(told, (Journal{L"fill", L"added 2", L"selection 2", L"removed 0", L"selection 1",
                             L"removed 1", L"selection -1"}));
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
    // A list shows items alone.
    EXPECT_FALSE(box->setText(L"three"));
    EXPECT_TRUE(box->setText(L"two"));
    EXPECT_EQ(box->getSelectedItem(), 0U);
}

// --- Scroll bar, progress bar ---

TEST_F(WidgetTest, scrollBar_rangeAndPage_keepThePositionInside) {
    const auto bar = shown(host_->createNativeScrollBar(true));
    bar->setRange(0, 99);
    bar->setPageSize(20);
    Journal& told = recordingOf<RecordingScrollBar>(*bar).journal;
    told.clear();
    EXPECT_TRUE(bar->setPosition(200));
    EXPECT_EQ(log_->take(), L"scrolled scrolledvertically");
    bar->setPageSize(50);
    bar->setRange(10, 5);
    EXPECT_EQ(told,
              (Journal{L"position 80", L"arrows 1 0", L"range 0 99", L"page 50", L"position 50",
                       L"arrows 1 0", L"range 10 10", L"page 50", L"position 10", L"arrows 0 0"}));
    EXPECT_EQ(bar->highestPosition(), 10);
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
    bar->setPosition(70);
    bar->setRange(0, 50);
    bar->setPosition(-3);
    bar->setMarqueeInterval(0);
    EXPECT_EQ(
        recordingOf<RecordingProgressBar>(*bar).journal,
        (Journal{L"position 70", L"range 0 50", L"position 50", L"position 0", L"interval 1"}));
}

// --- Popup menu ---

TEST_F(WidgetTest, popupMenu_findItem_looksIntoSubmenusAndForNoSeparator) {
    const auto menu = host_->createNativePopupMenu();
    PopupMenuItem more;
    more.identifier = 2;
    more.items.push_back({3, L"Three", 0, true, false, {}});
    menu->setItems({{}, more});
    ASSERT_NE(menu->findItem(3), nullptr);
    EXPECT_EQ(menu->findItem(3)->caption, L"Three");
    EXPECT_EQ(menu->findItem(0), nullptr);
}

// --- Message kinds ---

// Of each class one, and those that no other test hears of.
TEST(ToolkitMessages, kinds_byName_areThere) {
    for (const wchar_t* name :
         {L"timerTick.Timer", L"changePreferredWidth.Control", L"moveDown.Control",
          L"shouldReselectCurrentChild.Control", L"beforeDisplayRowTooltip.NativeGridView",
          L"nodeCollapsing.NativeTreeView", L"selectionChanged.NativeComboBox",
          L"textChanged.NativeTextBox"}) {
        EXPECT_NE(MessageKind::find(name), nullptr) << testing::PrintToString(name);
    }
}

}  // namespace
}  // namespace zustd
