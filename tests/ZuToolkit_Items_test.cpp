// Trees and grids: the models, and the mirrors that backends keep of them.
#include <gtest/gtest.h>

#include "support/FrameworkTest.h"
#include "support/RecordingBackend.h"

namespace zustd {
namespace {

using namespace test;

constexpr std::size_t kMany = 100'000;

std::wstring numbered(std::size_t number) { return L"k" + std::to_wstring(number); }

class ItemsTest : public ::testing::Test {
protected:
    ItemsTest() {
        window_->synchronizeTree();
        window_->addChild(tree_);
        window_->addChild(grid_);
        tree_->connect(log_, false);
        grid_->connect(log_, false);
    }
    RecordingTreeView& nativeTree() { return recordingOf<RecordingTreeView>(*tree_); }
    RecordingGridView& nativeGrid() { return recordingOf<RecordingGridView>(*grid_); }

    std::shared_ptr<WindowService> host_ = makeRecordingWindowService();
    std::shared_ptr<NativeWindow> window_ = host_->createNativeWindow();
    std::shared_ptr<NativeTreeView> tree_ = host_->createNativeTreeView();
    std::shared_ptr<NativeGridView> grid_ = host_->createNativeGridView();
    std::shared_ptr<MessageLog> log_ = std::make_shared<MessageLog>();
};

// --- Tree ---

TEST_F(ItemsTest, tree_steps_followTheOrderOfTheExpandedTree) {
    const TreeNode a = tree_->addRootNode(L"a", L"A");
    const TreeNode c = tree_->addRootNode(L"c", L"C");
    const TreeNode b = tree_->addSiblingNode(a, L"b", L"B");
    const TreeNode a1 = tree_->addChildNode(a, L"a1", L"A1");
    const TreeNode a2 = tree_->addChildNode(a, L"a2", L"A2");
    const TreeNode a11 = tree_->addChildNode(a1, L"", L"A11");
    const std::vector<TreeNode> order{a, a1, a11, a2, b, c};
    TreeNode node = tree_->getFirstRootNode();
    for (std::size_t i = 0; i < order.size(); ++i) {
        ASSERT_EQ(node, order[i]) << i;
        EXPECT_EQ(tree_->getPreviousNode(node), i == 0 ? kNoNode : order[i - 1]) << i;
        node = tree_->getNextNode(node);
    }
    EXPECT_EQ(node, kNoNode);
    EXPECT_EQ(tree_->getLastRootNode(), c);
    EXPECT_EQ(tree_->getFirstChildNode(a), a1);
    EXPECT_EQ(tree_->getLastChildNode(a), a2);
    EXPECT_EQ(tree_->getParentNode(a11), a1);
    EXPECT_EQ(tree_->getParentNode(a), kNoNode);
    EXPECT_EQ(tree_->getNextSiblingNode(a1), a2);
    EXPECT_EQ(tree_->getPreviousSiblingNode(a1), kNoNode);
    EXPECT_EQ(tree_->getLastSiblingNode(a1), a2);
    EXPECT_EQ(tree_->getLastSiblingNode(a), c);
    EXPECT_EQ(tree_->findNode(L"a2"), a2);
    EXPECT_EQ(tree_->findNode(L"zz"), kNoNode);
    EXPECT_EQ(tree_->findNode(L""), kNoNode);
    EXPECT_EQ(tree_->getNodeKey(a11), L"");
    EXPECT_EQ(tree_->getNodeCount(), 6U);
    EXPECT_EQ(nativeTree().flattened(), nativeTree().wanted());
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
    EXPECT_EQ(thrownText([&] { tree_->getNodeCaption(a); }), L"contains(node)");
    EXPECT_EQ(thrownText([&] { tree_->getNodeCaption(a1); }), L"contains(node)");
    EXPECT_EQ(thrownText([&] { tree_->removeNode(kNoNode); }), L"contains(node)");
    EXPECT_EQ(thrownText([&] { tree_->addChildNode(a, L"x", L"X"); }), L"contains(node)");
    EXPECT_EQ(tree_->getNodeCaption(b1), L"B1");
    tree_->clear();
    EXPECT_EQ(thrownText([&] { tree_->getNodeCaption(b1); }), L"contains(node)");
    tree_->addRootNode(L"a", L"again");
    EXPECT_FALSE(tree_->model().contains(b));
}

TEST_F(ItemsTest, tree_keyInUse_isRefusedAndNothingIsAdded) {
    tree_->addRootNode(L"a", L"A");
    EXPECT_EQ(thrownText([&] { tree_->addRootNode(L"a", L"B"); }),
              L"key.empty() || !nodesByKey_.contains(key)");
    EXPECT_EQ(tree_->getNodeCount(), 1U);
    EXPECT_EQ(nativeTree().flattened(), nativeTree().wanted());
}

TreeNode anyNode(Random& random, const TreeModel& model) {
    TreeNode node = model.firstRoot();
    for (std::size_t steps = random.below(model.nodeCount()); steps > 0; --steps) {
        node = model.next(node);
    }
    return node;
}

void changeSomething(Random& random, NativeTreeView& tree, std::size_t number) {
    if (tree.getNodeCount() == 0 || random.below(8) == 0) {
        tree.addRootNode(numbered(number), numbered(number));
        return;
    }
    const TreeNode node = anyNode(random, tree.model());
    switch (random.below(12)) {
        case 0:
        case 1:
        case 2:
            tree.addChildNode(node, numbered(number), numbered(number));
            break;
        case 3:
        case 4:
            tree.addSiblingNode(node, L"", numbered(number));
            break;
        case 5:
            tree.removeNode(node);
            break;
        case 6:
            tree.setNodeCaption(node, L"caption " + numbered(number));
            break;
        case 7:
            tree.setNodeExpanded(node, random.below(2) == 0);
            break;
        case 8:
            tree.setNodeChecked(node, random.below(2) == 0);
            break;
        case 9:
            tree.setNodeEmphasized(node, random.below(2) == 0);
            break;
        case 10:
            tree.selectNode(node);
            break;
        default:
            random.below(2) == 0 ? tree.expandAllNodes(node) : tree.collapseAllNodes();
            break;
    }
}

TEST_F(ItemsTest, tree_randomChanges_theMirrorFollows) {
    Random random(11);
    for (std::size_t number = 0; number < 4000; ++number) {
        const bool bulk = random.below(50) == 0;
        if (bulk) {
            tree_->setEnableRedraw(false);
            changeSomething(random, *tree_, number + 100'000);
        }
        changeSomething(random, *tree_, number);
        if (bulk) {
            tree_->setEnableRedraw(true);
        }
        if (number % 16 == 0) {
            ASSERT_EQ(nativeTree().flattened() == nativeTree().wanted(), true) << number;
        }
    }
    EXPECT_GT(tree_->getNodeCount(), 100U);
    EXPECT_EQ(log_->take().find(L"Changed"), std::wstring::npos);
}

TEST_F(ItemsTest, tree_redrawOff_buildsOnceAtTheEnd) {
    const unsigned before = nativeTree().rebuilt;
    tree_->setEnableRedraw(false);
    tree_->setEnableRedraw(false);
    for (std::size_t i = 0; i < kMany; ++i) {
        tree_->addRootNode(numbered(i), numbered(i));
    }
    tree_->setEnableRedraw(true);
    EXPECT_TRUE(nativeTree().flattened().empty());
    tree_->setEnableRedraw(true);
    EXPECT_EQ(nativeTree().rebuilt, before + 1);
    EXPECT_EQ(nativeTree().flattened().size(), kMany);
    for (std::size_t i = 0; i < kMany; i += 997) {
        ASSERT_EQ(tree_->getNodeCaption(tree_->findNode(numbered(i))), numbered(i));
    }
    tree_->clear();
    EXPECT_TRUE(nativeTree().flattened().empty());
    // One more than off is no harm.
    tree_->setEnableRedraw(true);
    EXPECT_EQ(nativeTree().rebuilt, before + 1);
}

TEST_F(ItemsTest, tree_deepChain_isRemovedAndExpandedWithoutRecursion) {
    TreeModel model;
    TreeNode node = model.addChild(kNoNode, L"top", L"");
    const TreeNode top = node;
    for (std::size_t i = 0; i < kMany; ++i) {
        node = model.addChild(node, L"", L"");
    }
    EXPECT_TRUE(model.isAncestorOf(top, node));
    EXPECT_EQ(model.nextBeyond(top), kNoNode);
    model.remove(top);
    EXPECT_EQ(model.nodeCount(), 0U);
    EXPECT_FALSE(model.contains(node));
}

TEST_F(ItemsTest, tree_userActions_areSentOnceAndNotMirroredBack) {
    const TreeNode a = tree_->addRootNode(L"a", L"A");
    const unsigned before = nativeTree().synchronized;
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
    EXPECT_EQ(nativeTree().synchronized, before);
}

class Refuser : public MessageSink {
public:
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord) override {
        if (kind == NativeTreeView::kNodeCollapsing) {
            dynamic_cast<NativeTreeView*>(a.object<Control>())->refuseExpanding();
        }
        return true;
    }
};

TEST_F(ItemsTest, tree_collapsingRefused_isToldToTheBackend) {
    const TreeNode a = tree_->addRootNode(L"a", L"A");
    tree_->connect(std::make_shared<Refuser>(), false);
    EXPECT_FALSE(tree_->acceptExpanding(a, false));
    EXPECT_TRUE(tree_->acceptExpanding(a, true));
}

// --- Grid ---

TEST_F(ItemsTest, grid_rowOutOfRange_failsItsAssertion) {
    grid_->addRow(L"a");
    const wchar_t* text = L"row != NullSize && row < getRowCount()";
    EXPECT_EQ(thrownText([&] { grid_->getRowKey(1); }), text);
    EXPECT_EQ(thrownText([&] { grid_->setCell(kNullSize, 0, L""); }), text);
    EXPECT_EQ(thrownText([&] { grid_->selectRow(1); }), text);
    EXPECT_EQ(thrownText([&] { grid_->removeRow(kNullSize); }), text);
    EXPECT_EQ(grid_->getRowKey(0), L"a");
    EXPECT_EQ(thrownText([&] { grid_->addRow(L"a"); }),
              L"!key.empty() && !rowsByKey_.contains(key)");
}

TEST_F(ItemsTest, grid_rowsRemoved_keysFindTheNewPlaces) {
    for (std::size_t i = 0; i < 10; ++i) {
        grid_->addRow(numbered(i));
    }
    grid_->removeRow(8);
    grid_->removeRow(2);
    grid_->addRow(L"last");
    EXPECT_EQ(grid_->findRow(L"k1"), 1U);
    EXPECT_EQ(grid_->findRow(L"k2"), kNullSize);
    EXPECT_EQ(grid_->findRow(L"k9"), 7U);
    EXPECT_EQ(grid_->findRow(L"k3"), 2U);
    EXPECT_EQ(grid_->findRow(L"last"), 8U);
    for (std::size_t row = 0; row < grid_->getRowCount(); ++row) {
        EXPECT_EQ(grid_->findRow(grid_->getRowKey(row)), row);
    }
    EXPECT_EQ(nativeGrid().rows, nativeGrid().wanted());
}

TEST_F(ItemsTest, grid_selection_singleAndMultiple) {
    for (std::size_t i = 0; i < 5; ++i) {
        grid_->addRow(numbered(i));
    }
    grid_->selectRow(3);
    grid_->selectRow(1);
    EXPECT_EQ(grid_->getSelectedRows(), (std::vector<std::size_t>{1, 3}));
    grid_->selectAllRows();
    EXPECT_EQ(grid_->getSelectedRows().size(), 5U);
    grid_->deselectRow(0);
    EXPECT_EQ(nativeGrid().rows, nativeGrid().wanted());
    grid_->setMultiSelect(false);
    EXPECT_EQ(grid_->getSelectedRows(), (std::vector<std::size_t>{1}));
    grid_->selectRow(4);
    EXPECT_EQ(grid_->getSelectedRows(), (std::vector<std::size_t>{4}));
    grid_->selectAllRows();
    EXPECT_EQ(grid_->getSelectedRows(), (std::vector<std::size_t>{4}));
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
        const std::size_t row = count == 0 ? 0 : random.below(count);
        switch (count == 0 ? 0 : random.below(8)) {
            case 0:
            case 1:
                grid_->addRow(numbered(number));
                break;
            case 2:
                grid_->removeRow(row);
                break;
            case 3:
                grid_->setCell(row, random.below(3), numbered(number));
                break;
            case 4:
                grid_->setRowChecked(row, random.below(2) == 0);
                break;
            case 5:
                grid_->setRowBitmap(row, static_cast<std::int32_t>(random.below(4)));
                break;
            case 6:
                random.below(2) == 0 ? grid_->selectRow(row) : grid_->deselectRow(row);
                break;
            default:
                random.below(20) == 0 ? grid_->clear() : grid_->deselectAllRows();
                break;
        }
        if (!update) {
            ASSERT_EQ(nativeGrid().rows == nativeGrid().wanted(), true) << number;
        }
    }
}

TEST_F(ItemsTest, grid_update_bringsManyRowsAtOnce) {
    const unsigned before = nativeGrid().rebuilt;
    {
        const ControlUpdate update(*grid_);
        for (std::size_t i = 0; i < kMany; ++i) {
            grid_->setCell(grid_->addRow(numbered(i)), 0, numbered(i));
        }
        EXPECT_TRUE(nativeGrid().rows.empty());
    }
    EXPECT_EQ(nativeGrid().rebuilt, before + 1);
    EXPECT_EQ(nativeGrid().rows.size(), kMany);
    EXPECT_EQ(nativeGrid().rows[kMany - 1].firstCell, numbered(kMany - 1));
    EXPECT_EQ(grid_->findRow(numbered(77'777)), 77'777U);
    grid_->addRow(L"one more");
    EXPECT_EQ(nativeGrid().rebuilt, before + 1);
    EXPECT_EQ(nativeGrid().rows.back().key, L"one more");
}

TEST_F(ItemsTest, grid_userActions_areSentOnceForAnyNumberOfRows) {
    for (std::size_t i = 0; i < 5; ++i) {
        grid_->addRow(numbered(i));
    }
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
}

class RowExplainer : public MessageSink {
public:
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
        if (kind == NativeGridView::kBeforeDisplayRowTooltip) {
            dynamic_cast<NativeGridView*>(a.object<Control>())
                ->setRowTooltip(L"row " + std::to_wstring(b.number()));
        }
        return true;
    }
};

TEST_F(ItemsTest, grid_rowTooltip_isAskedForWhenNeeded) {
    grid_->addRow(L"a");
    EXPECT_EQ(grid_->acceptTooltipRequest(0), L"");
    grid_->connect(std::make_shared<RowExplainer>(), false);
    EXPECT_EQ(grid_->acceptTooltipRequest(0), L"row 0");
}

}  // namespace
}  // namespace zustd
