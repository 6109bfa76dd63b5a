// Trees and grids: the models, and the mirrors that backends keep of them.
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

constexpr std::size_t kMany = 100'000;

std::wstring numbered(std::size_t number) { return L"k" + std::to_wstring(number); }

class ItemsTest : public ToolkitTest {
protected:
    void addRows(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            grid_->addRow(numbered(i));
        }
    }

    std::shared_ptr<NativeTreeView> tree_ = shown(host_->createNativeTreeView());
    std::shared_ptr<NativeGridView> grid_ = shown(host_->createNativeGridView());
    RecordingTreeView& nativeTree_ = recordingOf<RecordingTreeView>(*tree_);
    RecordingGridView& nativeGrid_ = recordingOf<RecordingGridView>(*grid_);
};

// --- Tree ---

TEST_F(ItemsTest, tree_stepsAndKeys_followTheOrderOfTheExpandedTree) {
    const TreeNode a = tree_->addRootNode(L"a", L"A");
    const TreeNode c = tree_->addRootNode(L"c", L"C");
    const TreeNode b = tree_->addSiblingNode(a, L"b", L"B");
    const TreeNode a1 = tree_->addChildNode(a, L"a1", L"A1");
    const TreeNode a2 = tree_->addChildNode(a, L"a2", L"A2");
    const TreeNode a11 = tree_->addChildNode(a1, L"", L"A11");
    // Each with its parent, the siblings beside it and the last one, and its
    // first and last child.
    const TreeNode order[][7] = {
        {a, kNoNode, kNoNode, b, c, a1, a2},
        {a1, a, kNoNode, a2, a2, a11, a11},
        {a11, a1, kNoNode, kNoNode, a11, kNoNode, kNoNode},
        {a2, a, a1, kNoNode, a2, kNoNode, kNoNode},
        {b, kNoNode, a, c, c, kNoNode, kNoNode},
        {c, kNoNode, b, kNoNode, c, kNoNode, kNoNode},
    };
    TreeNode previous = kNoNode;
    TreeNode node = tree_->getFirstRootNode();
    for (const auto& [expected, parent, before, behind, last, firstChild, lastChild] : order) {
        SCOPED_TRACE(testing::PrintToString(tree_->getNodeCaption(expected)));
        ASSERT_EQ(node, expected);
        EXPECT_EQ(tree_->getParentNode(node), parent);
        EXPECT_EQ(tree_->getPreviousSiblingNode(node), before);
        EXPECT_EQ(tree_->getNextSiblingNode(node), behind);
        EXPECT_EQ(tree_->getLastSiblingNode(node), last);
        EXPECT_EQ(tree_->getFirstChildNode(node), firstChild);
        EXPECT_EQ(tree_->getLastChildNode(node), lastChild);
        EXPECT_EQ(tree_->getPreviousNode(node), previous);
        EXPECT_EQ(tree_->findNode(tree_->getNodeKey(node)), node == a11 ? kNoNode : node);
        previous = node;
        node = tree_->getNextNode(node);
    }
    EXPECT_EQ(node, kNoNode);
    EXPECT_EQ(tree_->getLastRootNode(), c);
    EXPECT_EQ(thrownText([&] { tree_->addRootNode(L"a", L"again"); }),
              L"key.empty() || !nodesByKey_.contains(key)");
    EXPECT_EQ(tree_->getNodeCount(), 6U);
    EXPECT_EQ(nativeTree_.flattened(), nativeTree_.wanted());
}

TEST_F(ItemsTest, tree_removedNode_staysUnknownWhenItsPlaceIsUsedAgain) {
    const TreeNode a = tree_->addRootNode(L"a", L"A");
    const TreeNode a1 = tree_->addChildNode(a, L"a1", L"A1");
    tree_->selectNode(a1);
    tree_->removeNode(a);
    EXPECT_EQ(tree_->getNodeCount(), 0U);
    EXPECT_EQ(tree_->getSelectedNode(), kNoNode);
    const TreeNode b = tree_->addRootNode(L"a", L"B");
    const TreeNode b1 = tree_->addChildNode(b, L"a1", L"B1");
    for (const TreeNode gone : {a, a1, kNoNode}) {
        EXPECT_EQ(thrownText([&] { tree_->getNodeCaption(gone); }), L"contains(node)");
        EXPECT_EQ(thrownText([&] { tree_->removeNode(gone); }), L"contains(node)");
    }
    EXPECT_EQ(tree_->getNodeCaption(b1), L"B1");
    tree_->clear();
    tree_->addRootNode(L"a", L"again");
    EXPECT_FALSE(tree_->model().contains(b));
}

TreeNode anyNode(Random& random, const TreeModel& model) {
    TreeNode node = model.firstRoot();
    for (std::size_t steps = random.below(model.nodeCount()); steps > 0; --steps) {
        node = model.next(node);
    }
    return node;
}

void changeSomething(Random& random, NativeTreeView& tree, std::size_t number) {
    const std::wstring text = numbered(number);
    if (tree.getNodeCount() == 0 || random.below(8) == 0) {
        tree.addRootNode(text, text);
        return;
    }
    const TreeNode node = anyNode(random, tree.model());
    const bool on = random.below(2) == 0;
    switch (random.below(12)) {
        // clang-format off
        case 0: case 1: case 2: tree.addChildNode(node, text, text); break;
        case 3: case 4: tree.addSiblingNode(node, L"", text); break;
        case 5: tree.removeNode(node); break;
        case 6: tree.setNodeCaption(node, L"caption " + text); break;
        case 7: tree.setNodeExpanded(node, on); break;
        case 8: tree.setNodeChecked(node, on); break;
        case 9: tree.setNodeEmphasized(node, on); break;
        case 10: tree.selectNode(node); break;
        default: on ? tree.expandAllNodes(node) : tree.collapseAllNodes(); break;
            // clang-format on
    }
}

TEST_F(ItemsTest, tree_randomChanges_theMirrorFollows) {
    Random random(11);
    for (std::size_t number = 0; number < 4000; ++number) {
        const bool bulk = random.below(50) == 0;
        tree_->setEnableRedraw(!bulk);
        changeSomething(random, *tree_, number);
        tree_->setEnableRedraw(true);
        if (number % 16 == 0) {
            ASSERT_EQ(nativeTree_.flattened() == nativeTree_.wanted(), true) << number;
        }
    }
    EXPECT_GT(tree_->getNodeCount(), 100U);
    EXPECT_EQ(log_->take().find(L"Changed"), std::wstring::npos);
}

TEST_F(ItemsTest, manyItems_addedAtOnce_areBuiltOnceAtTheEnd) {
    tree_->setEnableRedraw(false);
    tree_->setEnableRedraw(false);
    const unsigned treeBefore = nativeTree_.rebuilt;
    const unsigned gridBefore = nativeGrid_.rebuilt;
    {
        const ControlUpdate update(*grid_);
        for (std::size_t i = 0; i < kMany; ++i) {
            tree_->addRootNode(numbered(i), numbered(i));
            grid_->setCell(grid_->addRow(numbered(i)), 0, numbered(i));
        }
        EXPECT_TRUE(nativeGrid_.rows.empty());
    }
    tree_->setEnableRedraw(true);
    EXPECT_TRUE(nativeTree_.flattened().empty());
    tree_->setEnableRedraw(true);
    grid_->addRow(L"one more");
    tree_->setEnableRedraw(true);  // one more than off is no harm
    EXPECT_EQ(nativeTree_.rebuilt, treeBefore + 1);
    EXPECT_EQ(nativeGrid_.rebuilt, gridBefore + 1);
    EXPECT_EQ(nativeTree_.flattened().size(), kMany);
    EXPECT_EQ(nativeGrid_.rows.size(), kMany + 1);
    for (std::size_t i = 0; i < kMany; i += 997) {
        ASSERT_EQ(tree_->getNodeCaption(tree_->findNode(numbered(i))), numbered(i));
        ASSERT_EQ(grid_->findRow(numbered(i)), i);
        ASSERT_EQ(nativeGrid_.rows[i].firstCell, numbered(i));
    }
}

TEST_F(ItemsTest, tree_deepChain_isRemovedWithoutRecursion) {
    TreeModel model;
    const TreeNode top = model.addChild(kNoNode, L"top", L"");
    TreeNode node = top;
    for (std::size_t i = 0; i < kMany; ++i) {
        node = model.addChild(node, L"", L"");
    }
    EXPECT_TRUE(model.isAncestorOf(top, node));
    EXPECT_EQ(model.nextBeyond(top), kNoNode);
    model.remove(top);
    EXPECT_EQ(model.nodeCount(), 0U);
    EXPECT_FALSE(model.contains(node));
}

TEST_F(ItemsTest, tree_selectedNode_isNeverBelowACollapsedOne) {
    const TreeNode a = tree_->addRootNode(L"a", L"A");
    const TreeNode b = tree_->addChildNode(a, L"b", L"B");
    const TreeNode c = tree_->addChildNode(b, L"c", L"C");
    for (const bool redraw : {true, false}) {
        tree_->setEnableRedraw(redraw);
        tree_->selectNode(c);
        EXPECT_TRUE(tree_->getNodeExpanded(a) && tree_->getNodeExpanded(b));
        tree_->setNodeExpanded(b, false);
        EXPECT_EQ(tree_->getSelectedNode(), b);
        tree_->selectNode(c);
        tree_->collapseAllNodes();
        EXPECT_EQ(tree_->getSelectedNode(), a);
        EXPECT_FALSE(tree_->getNodeExpanded(a));
    }
    tree_->setEnableRedraw(true);
    EXPECT_EQ(nativeTree_.flattened(), nativeTree_.wanted());
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(ItemsTest, tree_userActions_areSentOnceNotMirroredBackAndMayBeRefused) {
    const TreeNode a = tree_->addRootNode(L"a", L"A");
    const unsigned before = nativeTree_.synchronized;
    tree_->acceptSelection(a);
    tree_->acceptSelection(a);
    tree_->acceptChecked(a, true);
    tree_->acceptRightClick(a);
    EXPECT_TRUE(tree_->acceptExpanding(a, true));
    tree_->acceptExpanded(a, true);
    ASSERT_EQ(log_->entries.size(), 4U);
    EXPECT_EQ(NativeTreeView::nodeOfWord(log_->entries[0].b), a);
    EXPECT_EQ(log_->take(), L"selectionChanged checkStateChanged rightClicked nodeExpanding");
    EXPECT_TRUE(tree_->getNodeExpanded(a));
    EXPECT_EQ(nativeTree_.synchronized, before);
    const auto refuser = std::make_shared<FunctionSink>([&](const MessageKind& kind, auto, auto) {
        if (kind == NativeTreeView::kNodeCollapsing) {
            tree_->refuseExpanding();
        }
    });
    tree_->connect(refuser, false);
    EXPECT_FALSE(tree_->acceptExpanding(a, false));
    EXPECT_TRUE(tree_->acceptExpanding(a, true));
}

// --- Grid ---

TEST(GridModelTest, rowsRemovedInAnyOrder_areFoundWhereTheyAre) {
    Random random(12);
    GridModel model;
    std::vector<std::wstring> keys;
    std::size_t next = 0;
    for (int round = 0; round < 6; ++round) {
        for (int i = 0; i < 1500; ++i) {
            keys.push_back(numbered(next++));
            EXPECT_EQ(model.addRow(keys.back()), keys.size() - 1);
        }
        for (std::size_t left = round == 5 ? 0 : keys.size() / 2; keys.size() > left;) {
            const std::size_t middle = random.below(keys.size());
            const std::size_t row = round == 0 ? 0 : round == 1 ? keys.size() - 1 : middle;
            ASSERT_EQ(model.findRow(keys[row]), row);
            model.removeRow(row);
            ASSERT_EQ(model.findRow(keys[row]), kNullSize);
            keys.erase(keys.begin() + static_cast<std::ptrdiff_t>(row));
            if (!keys.empty()) {
                const std::size_t other = random.below(keys.size());
                ASSERT_EQ(model.key(other), keys[other]);
                ASSERT_EQ(model.findRow(keys[other]), other);
            }
        }
    }
    EXPECT_EQ(model.rowCount(), 0U);
}

TEST_F(ItemsTest, grid_rowOutOfRangeOrKeyInUse_failsItsAssertion) {
    grid_->addRow(L"a");
    const wchar_t* text = L"row != NullSize && row < getRowCount()";
    EXPECT_EQ(thrownText([&] { grid_->getRowKey(1); }), text);
    EXPECT_EQ(thrownText([&] { grid_->setCell(kNullSize, 0, L""); }), text);
    EXPECT_EQ(thrownText([&] { grid_->selectRow(1); }), text);
    EXPECT_EQ(thrownText([&] { grid_->removeRow(kNullSize); }), text);
    EXPECT_EQ(thrownText([&] { grid_->addRow(L"a"); }),
              L"!key.empty() && !rowsByKey_.contains(key)");
}

TEST_F(ItemsTest, grid_rowsRemoved_keysFindTheNewPlaces) {
    addRows(10);
    grid_->removeRow(8);
    grid_->removeRow(2);
    grid_->addRow(L"last");
    const wchar_t* keys[] = {L"k0", L"k1", L"k3", L"k4", L"k5", L"k6", L"k7", L"k9", L"last"};
    for (std::size_t row = 0; row < std::size(keys); ++row) {
        EXPECT_EQ(grid_->getRowKey(row), keys[row]);
        EXPECT_EQ(grid_->findRow(keys[row]), row);
    }
    EXPECT_EQ(grid_->findRow(L"k2"), kNullSize);
}

TEST_F(ItemsTest, grid_selection_singleAndMultiple) {
    using Rows = std::vector<std::size_t>;
    addRows(5);
    grid_->selectRow(3);
    grid_->selectRow(1);
    EXPECT_EQ(grid_->getSelectedRows(), (Rows{1, 3}));
    grid_->selectAllRows();
    EXPECT_EQ(grid_->getSelectedRows().size(), 5U);
    grid_->deselectRow(0);
    EXPECT_EQ(nativeGrid_.rows, nativeGrid_.wanted());
    grid_->setMultiSelect(false);
    EXPECT_EQ(grid_->getSelectedRows(), (Rows{1}));
    grid_->selectRow(4);
    EXPECT_EQ(grid_->getSelectedRows(), (Rows{4}));
    grid_->selectAllRows();
    EXPECT_EQ(grid_->getSelectedRows(), (Rows{4}));
    grid_->removeRow(4);
    EXPECT_TRUE(grid_->getSelectedRows().empty());
    EXPECT_EQ(log_->take().find(L"selectionChanged"), std::wstring::npos);
}

TEST_F(ItemsTest, grid_randomChanges_theMirrorFollows) {
    Random random(5);
    for (std::size_t number = 0; number < 3000; ++number) {
        const auto update =
            random.below(40) == 0 ? std::make_unique<ControlUpdate>(*grid_) : nullptr;
        const std::size_t count = grid_->getRowCount();
        const std::size_t row = random.below(count + (count == 0));
        const bool on = random.below(2) == 0;
        switch (count == 0 ? 0 : random.below(8)) {
            // clang-format off
            case 0: case 1: grid_->addRow(numbered(number)); break;
            case 2: grid_->removeRow(row); break;
            case 3: grid_->setCell(row, random.below(3), numbered(number)); break;
            case 4: grid_->setRowChecked(row, on); break;
            case 5: grid_->setRowBitmap(row, static_cast<std::int32_t>(random.below(4))); break;
            case 6: on ? grid_->selectRow(row) : grid_->deselectRow(row); break;
            default: random.below(20) == 0 ? grid_->clear() : grid_->deselectAllRows(); break;
                // clang-format on
        }
        if (!update) {
            ASSERT_EQ(nativeGrid_.rows == nativeGrid_.wanted(), true) << number;
        }
    }
}

TEST_F(ItemsTest, grid_userActions_areSentOnceForAnyNumberOfRows) {
    addRows(5);
    grid_->acceptSelected(1, 99, true);
    grid_->acceptSelectionDone();
    grid_->acceptSelectionDone();
    ASSERT_EQ(log_->entries.size(), 1U);
    EXPECT_EQ(log_->entries[0].b.number(), 1);
    EXPECT_EQ(log_->take(), L"selectionChanged");
    EXPECT_EQ(grid_->getSelectedRows(), (std::vector<std::size_t>{1, 2, 3, 4}));
    grid_->acceptChecked(2, true);
    grid_->acceptChecked(2, true);
    grid_->acceptLeftClick(2);
    grid_->acceptRightClick(kNullSize);
    EXPECT_EQ(log_->take(), L"checkStateChanged leftClicked rightClicked");
    EXPECT_TRUE(grid_->getRowChecked(2));
    EXPECT_EQ(grid_->acceptTooltipRequest(0), L"");
    const auto explainer = [&](const MessageKind& kind, auto, MessageWord row) {
        if (kind == NativeGridView::kBeforeDisplayRowTooltip) {
            grid_->setRowTooltip(L"row " + std::to_wstring(row.number()));
        }
    };
    grid_->connect(std::make_shared<FunctionSink>(explainer), false);
    EXPECT_EQ(grid_->acceptTooltipRequest(0), L"row 0");
}

}  // namespace
}  // namespace zustd
