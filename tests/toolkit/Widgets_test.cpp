// Descriptors, the window service and the native widgets' portable halves.
#include "support/ToolkitTest.h"

namespace zustd::test {
namespace {

using WidgetTest = ToolkitTest;

TEST_F(WidgetTest, click_checkBoxAndRadioButtons_toggleAndUncheckTheirGroupAlone) {
    std::vector<std::shared_ptr<NativeButton>> buttons;
    for (int i = 0; i < 5; ++i) {
        buttons.push_back(shown(host_->createNativeButton(), {i, i, i, i}));
        buttons.back()->setKind(i == 0 ? ButtonKind::kCheck : ButtonKind::kRadio);
        buttons.back()->click();
        EXPECT_TRUE(buttons.back()->isChecked());
        buttons.back()->click();
        EXPECT_EQ(buttons.back()->isChecked(), i != 0);
    }
    buttons[0]->setChecked(true);
    buttons[1]->setEnabled(false);
    buttons[1]->click();
    // By key, around and past the one that cannot be used.
    // clang-format off
    for (const auto& [from, key, modifiers, to] :
         {std::tuple{4U, kKeyRight, 0U, 2U}, {2U, kKeyUp, 0U, 4U}, {4U, kKeyLeft, 0U, 3U},
          {3U, kKeyDown, 0U, 4U}, {4U, kKeyUp, kModifierControl, 4U}, {4U, kKeySpace, 0U, 4U}}) {
        // clang-format on
        EXPECT_EQ(buttons[from]->onKey({key, modifiers}), from != to);
        EXPECT_TRUE(buttons[to]->isChecked() && buttons[to]->hasFocus()) << from;
        EXPECT_EQ(buttons[from]->isChecked(), from == to);
    }
    buttons[2]->setEnabled(false);
    buttons[3]->setEnabled(false);
    EXPECT_FALSE(buttons[4]->onKey({kKeyUp, 0}));
}

TEST_F(WidgetTest, argumentsAtTheEdges_areRefusedOrLeftAlone) {
    const std::wstring tooLong(kFileNameBufferSize, L'x');
    EXPECT_EQ(thrownText([&] { host_->selectFileToOpen(tooLong, {}, {}, false); }),
              L"initialFileName.size() < bufSize");
    EXPECT_EQ(thrownText([&] { host_->selectFileToOpen(L"", {}, {L""}, false); }),
              L"patterns.size() == patternNames.size()");
    EXPECT_EQ(thrownText([&] { host_->selectFileToOpen(L"", {}, {}, true); }),
              L"allowMultiSelect not implemented");
    EXPECT_FALSE(shown(makeControl<Control>())->takeFocus());
    TreeModel tree;
    EXPECT_EQ(thrownText([&] { tree.select(TreeNode{1ULL << 32}); }), L"contains(node)");
    const TreeNode root = tree.addRoot(L"key", L"");
    tree.remove(root);
    EXPECT_EQ(tree.find(L"key"), kNoNode);
    EXPECT_EQ(TreeModel::placeOf(tree.addRoot(L"key", L"")), TreeModel::placeOf(root));
    GridModel grid;
    const MemoryWatch memory;
    std::size_t count = 0;
    const auto addRow = [&] { return grid.addRow(std::to_wstring(count)) == count; };
    while (count < 512 && addRow()) {
        ++count;
    }
    EXPECT_LT(memory.held(), 1'000'000);
    failEachAllocation(addRow, [&](bool done) { EXPECT_EQ(grid.rowCount(), count += done); });
    EXPECT_TRUE(grid.setCell(0, 1, L"x"));
    EXPECT_FALSE(grid.setCell(0, 1, L"x") || grid.setAllSelected(false));
    const auto view = host_->createNativeGridView();
    EXPECT_TRUE(view->setMultiSelect(false) && !view->setMultiSelect(false));
    const std::wstring unknown = L"row != NullSize && row < getRowCount()";
    EXPECT_EQ(thrownText([&] { view->acceptChecked(0, true); }), unknown);
    EXPECT_EQ(thrownText([&] { view->acceptTooltipRequest(0); }), unknown);
}

TEST_F(WidgetTest, textBox_textOfTheProgram_isSentOnceAndCutToItsLength) {
    const auto box = shown(host_->createNativeTextBox());
    box->setText(L"typed");
    say(box->setMaximumLength(3) && !box->setMaximumLength(3) && !box->isReadOnly());
    expectTold(L"made 0,0,0,0; sync 0,0,0,0; textChanged; textChanged; sync 0,0,0,0; 1");
    // clang-format off
    for (const auto& [given, kept] :
         {std::pair{L"typed", L"typ"}, {L"a\r\ncdef", L"a\nc"}, {L"abc", L"abc"},
          {L"ab\xD83D\xDE01", L"ab"}, {L"a\xD83D\xDE00 b", L"a\xD83D\xDE00"}, {L"ab\xD83Dx", L"ab\xD83D"}}) {
        // clang-format on
        const bool changes = box->text() != kept;
        EXPECT_EQ(box->setText(given), changes);
        EXPECT_EQ(box->text(), kept);
    }
    EXPECT_TRUE(box->setReadOnly(true) && box->preferredSize() == (Size{160, 24}));
    box->setKind(TextBoxKind::kMultiLine);
    EXPECT_TRUE(box->isReadOnly() && box->preferredSize() == (Size{160, 72}));
}

TEST_F(WidgetTest, comboBox_itemsAndChoice_areToldAndSentOnce) {
    const auto box = shown(host_->createNativeComboBox());
    box->addItem(L"one");
    box->addItem(L"two");
    // After each of these the selected item and the field's text.
    // clang-format off
    const std::function<void()> steps[] = {
        [&] { say(box->addItem(L"three")); }, [&] { box->selectItem(2); }, [&] { box->removeItem(0); },
        [&] { box->removeItem(2); }, [&] { box->removeItem(1); }, [&] { box->acceptSelection(0); },
        [&] { box->acceptSelection(0); }, [&] { box->acceptSelection(1); },
        [&] { say(box->setText(L"three")); }, [&] { say(box->setText(L"two")); },
        [&] { say(box->setEditable(true)); }, [&] { say(box->setText(L"free")); },
        [&] { box->acceptText(L"freed"); }, [&] { say(box->setEditable(false) + box->setEditable(false)); },
        [&] { box->selectItem(1); }, [&] { say(box->setText(L"two")); }, [&] { box->addItem(L"one"); },
        [&] { box->removeItem(1); }, [&] { tell(box->getItemText(0) + box->getItemText(1)); }, [&] { box->clear(); }};
    // clang-format on
    for (const auto& step : steps) {
        step();
        tell(textOf(box->getSelectedItem()) + box->text());
    }
    expectTold(
        L"2; -1; 2three; 1three; 1three; -1; selectionChanged; textChanged; 0two; 0two; "
        L"selectionChanged -1,-1; textChanged; -1; 0; -1; textChanged; 1; 0two; 1; 0two; "
        L"textChanged; 1; -1free; textChanged; -1freed; textChanged; 1; -1; -1; textChanged; 1; "
        L"0two; 0two; 0two; two; 0two; -1");
    EXPECT_EQ(box->preferredSize(), (Size{100, 24}));
    box->addItem(L"fourteen chars");
    EXPECT_EQ(box->preferredSize(), (Size{130, 24}));
}

TEST_F(WidgetTest, scrollBar_rangeKeysAndWheel_keepThePositionInside) {
    const auto bar = shown(host_->createNativeScrollBar(true));
    const auto flat = shown(host_->createNativeScrollBar(false));
    flat->setRange(0, 99);
    flat->setPageSize(10);
    bar->setRange(0, 99);
    told();
    say(bar->setPageSize(20) + bar->setPageSize(20));
    say(bar->setPosition(200));
    say(bar->setPosition(80));
    say(bar->setPageSize(50));
    say(bar->setRange(10, 5));
    say(bar->onMouse({MouseAction::kWheel, {}, 1}));
    expectTold(
        L"range 0 99; page 20; arrows 0 1; 1; position 80; arrows 1 0; scrolled 80,0; "
        L"scrolledvertically 80,0; 1; 0; range 0 99; page 50; position 50; arrows 1 0; scrolled "
        L"50,0; scrolledvertically 50,0; 1; range 10 10; page 50; position 10; arrows 0 0; "
        L"scrolled 10,0; scrolledvertically 10,0; 1; 0");
    bar->setRange(-50, 99);
    bar->setPageSize(10);
    flat->setLineSize(2);
    const std::tuple<std::uint32_t, int, int> keys[] = {
        {kKeyRight, 10, 2},     {kKeyDown, 11, 2}, {kKeyPageDown, 21, 12},
        {kKeyPageDown, 31, 22}, {kKeyUp, 30, 22},  {kKeyPageUp, 20, 12},
        {kKeyLeft, 20, 10},     {kKeyEnd, 90, 90}, {kKeyTab, 90, 90}};
    for (const auto& [key, vertical, horizontal] : keys) {
        const bool moves[] = {bar->position() != vertical, flat->position() != horizontal};
        EXPECT_TRUE(bar->onKey({key, 0}) == moves[0] && flat->onKey({key, 0}) == moves[1]) << key;
        EXPECT_TRUE(bar->position() == vertical && flat->position() == horizontal) << key;
    }
    // A wheel without notches turns by less than a position.
    for (const auto& [turn, horizontal, vertical] :
         {std::tuple{120, 84, 87}, {30, 83, 87}, {30, 81, 86}}) {
        EXPECT_TRUE(flat->onMouse({MouseAction::kHorizontalWheel, {}, -turn}) &&
                    bar->onMouse({MouseAction::kWheel, {}, turn}));
        EXPECT_TRUE(flat->position() == horizontal && bar->position() == vertical) << turn;
    }
    EXPECT_FALSE(flat->onMouse({MouseAction::kWheel, {}, 120}) || flat->setRange(0, 99));
    EXPECT_TRUE(flat->setPageSize(-3) && flat->pageSize() == 1 && !bar->setLineSize(0));
    EXPECT_EQ(NativeScrollBar().preferredSize(), (Size{17, 1}));
    NativeProgressBar work;
    EXPECT_EQ(work.preferredSize(), (Size{160, 15}));
    EXPECT_TRUE(work.setPosition(5) && work.position() == 5);
    EXPECT_TRUE(work.setRange(9, 2) && !work.setRange(9, 3) && work.position() == 9);
    flat->setRange(7, 7);
    EXPECT_FALSE(flat->onMouse({MouseAction::kHorizontalWheel, {}, 30}));
}

}  // namespace
}  // namespace zustd::test
