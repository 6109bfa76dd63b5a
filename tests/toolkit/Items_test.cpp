// Trees and grids: the models, and what backends are told of their changes.
#include <algorithm>
#include <map>

#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

constexpr std::size_t kMany = 100'000;

std::wstring numbered(std::size_t number) { return L"k" + std::to_wstring(number); }

// What a backend was told since the last call.
Journal told(Journaling& native) { return std::exchange(native.journal, {}); }

// Something that changes with true and with false, and what a backend is told.
using Changes = std::vector<std::pair<std::function<void(bool)>, Journal>>;

class ItemsTest : public ToolkitTest {
protected:
    void addRows(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            grid_->addRow(numbered(i));
        }
    }
    // A change is told at once, during an update all of them at its end.
    static void expectTold(Control& view, Journaling& native, const Changes& changes) {
        told(native);
        for (const auto& [change, expected] : changes) {
            change(true);
            EXPECT_EQ(told(native), expected);
            {
                const ControlUpdate update(view);
                change(false);
                EXPECT_EQ(told(native), Journal()) << testing::PrintToString(expected);
            }
            EXPECT_EQ(told(native), Journal{L"fill"}) << testing::PrintToString(expected);
        }
    }

    std::shared_ptr<NativeTreeView> tree_ = shown(host_->createNativeTreeView());
    std::shared_ptr<NativeGridView> grid_ = shown(host_->createNativeGridView());
    RecordingTreeView& nativeTree_ = recordingOf<RecordingTreeView>(*tree_);
    RecordingGridView& nativeGrid_ = recordingOf<RecordingGridView>(*grid_);
};

// --- Tree ---

TEST_F(ItemsTest, tree_changes_areToldOneByOneOrAllTogetherAfterwards) {
    const TreeNode a = tree_->addRootNode(L"a", L"");
    const TreeNode b = tree_->addChildNode(a, L"b", L"");
    const auto next = [this] { return numbered(tree_->getNodeCount()); };
    const Changes changes{
        {[&](bool on) { tree_->setNodeCaption(a, on ? L"A" : L"B"); }, {L"node a"}},
        {[&](bool on) { tree_->setNodeChecked(a, on); }, {L"node a"}},
        {[&](bool on) { tree_->setNodeEmphasized(b, on); }, {L"node b"}},
        {[&](bool on) { tree_->setNodeBitmap(b, on ? 1 : -1); }, {L"node b"}},
        {[&](bool on) { tree_->setNodeExpanded(a, on); }, {L"expanded a"}},
        {[&](bool on) { on ? tree_->expandAllNodes(b) : tree_->collapseAllNodes(b); },
         {L"allExpanded b"}},
        {[&](bool on) { on ? tree_->expandAllNodes() : tree_->collapseAllNodes(); },
         {L"allExpanded none"}},
        {[&](bool on) { on ? tree_->selectNode(b) : tree_->clearNodeSelection(); },
         {L"expanded a", L"selection b"}},
        {[&](bool) { tree_->addRootNode(next(), L""); }, {L"added k2"}},
        {[&](bool) { tree_->addChildNode(a, next(), L""); }, {L"added k4"}},
        {[&](bool) { tree_->addSiblingNode(a, next(), L""); }, {L"added k6"}},
        {[&](bool) { tree_->removeNode(tree_->getLastRootNode()); },
         {L"removing k3", L"selection none"}},
        {[&](bool) { tree_->clear(); }, {L"cleared"}},
    };
    expectTold(*tree_, nativeTree_, changes);
    tree_->setEnableRedraw(false);
    tree_->setEnableRedraw(false);
    tree_->addRootNode(L"a", L"");
    tree_->setEnableRedraw(true);
    EXPECT_EQ(told(nativeTree_), Journal());
    tree_->setEnableRedraw(true);
    tree_->setEnableRedraw(true);  // one more than off is no harm
    tree_->addRootNode(L"b", L"");
    EXPECT_EQ(told(nativeTree_), (Journal{L"fill", L"added b"}));
}

// Not far from the first one or the last one; kNoNode when there is none.
TreeNode anyNode(Random& random, const TreeModel& model) {
    TreeNode node = random.below(2) == 0 ? model.firstRoot() : model.lastRoot();
    for (std::size_t steps = node == kNoNode ? 0 : random.below(12); steps > 0; --steps) {
        const TreeNode child = random.below(2) == 0 ? model.firstChild(node) : kNoNode;
        const TreeNode next = child != kNoNode ? child : model.nextSibling(node);
        node = next != kNoNode ? next : node;
    }
    return node;
}

// A tree as lists of children; those of kNoNode are the roots.
using Lists = std::map<TreeNode, std::vector<TreeNode>>;

TreeNode at(const std::vector<TreeNode>& nodes, std::size_t i) {
    return i < nodes.size() ? nodes[i] : kNoNode;
}

void expectSameSteps(const NativeTreeView& tree, Lists& lists, TreeNode parent,
                     TreeNode& previous) {
    const std::vector<TreeNode>& nodes = lists[parent];
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const TreeNode node = nodes[i];
        const std::vector<TreeNode>& below = lists[node];
        ASSERT_EQ(previous == kNoNode ? tree.getFirstRootNode() : tree.getNextNode(previous), node);
        ASSERT_EQ(tree.getPreviousNode(node), previous);
        ASSERT_EQ(tree.getParentNode(node), parent);
        ASSERT_EQ(tree.getPreviousSiblingNode(node), at(nodes, i - 1));
        ASSERT_EQ(tree.getNextSiblingNode(node), at(nodes, i + 1));
        ASSERT_EQ(tree.getLastSiblingNode(node), nodes.back());
        ASSERT_EQ(tree.getFirstChildNode(node), at(below, 0));
        ASSERT_EQ(tree.getLastChildNode(node), at(below, below.size() - 1));
        ASSERT_EQ(tree.model().childCount(node), below.size());
        ASSERT_EQ(tree.findNode(tree.getNodeCaption(node)), node);
        previous = node;
        expectSameSteps(tree, lists, node, previous);
    }
}

TEST_F(ItemsTest, tree_randomChanges_stepsAreThoseOfPlainLists) {
    Random random(11);
    Lists lists;
    for (std::size_t number = 0; number < 3000; ++number) {
        const std::wstring text = numbered(number);
        const TreeNode node = anyNode(random, tree_->model());
        const std::size_t what = node == kNoNode ? 0 : random.below(10);
        const TreeNode parent = what == 0 ? kNoNode : what < 5 ? node : tree_->getParentNode(node);
        std::vector<TreeNode>& nodes = lists[parent];
        const auto place = std::find(nodes.begin(), nodes.end(), node);
        if (what == 0) {
            nodes.push_back(tree_->addRootNode(text, text));
        } else if (what < 5) {
            nodes.push_back(tree_->addChildNode(node, text, text));
        } else if (what < 9) {
            nodes.insert(place + 1, tree_->addSiblingNode(node, text, text));
        } else {
            tree_->removeNode(node);
            nodes.erase(place);
        }
        if (number % 16 == 0) {
            TreeNode previous = kNoNode;
            expectSameSteps(*tree_, lists, kNoNode, previous);
            ASSERT_FALSE(HasFatalFailure()) << number;
            ASSERT_EQ(previous == kNoNode ? kNoNode : tree_->getNextNode(previous), kNoNode);
            ASSERT_EQ(tree_->getLastRootNode(), at(lists[kNoNode], lists[kNoNode].size() - 1));
        }
    }
    EXPECT_GT(tree_->getNodeCount(), 100U);
    EXPECT_EQ(log_->take().find(L"Changed"), std::wstring::npos);
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
    EXPECT_EQ(thrownText([&] { tree_->addRootNode(L"a1", L"again"); }),
              L"key.empty() || !nodesByKey_.contains(key)");
    tree_->clear();
    tree_->addRootNode(L"a", L"again");
    EXPECT_FALSE(tree_->model().contains(b));
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
    const TreeNode a = tree_->addRootNode(L"a", L"");
    const TreeNode b = tree_->addChildNode(a, L"b", L"");
    const TreeNode c = tree_->addChildNode(b, L"c", L"");
    for (const bool redraw : {true, false}) {
        tree_->setEnableRedraw(redraw);
        tree_->selectNode(c);
        EXPECT_TRUE(tree_->getNodeExpanded(a) && tree_->getNodeExpanded(b));
        told(nativeTree_);
        tree_->setNodeExpanded(b, false);
        EXPECT_EQ(tree_->getSelectedNode(), b);
        EXPECT_EQ(told(nativeTree_), redraw ? (Journal{L"selection b", L"expanded b"}) : Journal());
        tree_->selectNode(c);
        tree_->collapseAllNodes();
        EXPECT_EQ(tree_->getSelectedNode(), a);
        EXPECT_FALSE(tree_->getNodeExpanded(a));
    }
    EXPECT_EQ(log_->take(), L"");
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

TEST_F(ItemsTest, grid_changes_areToldOneByOneOrAllTogetherAfterwards) {
    addRows(4);
    const Changes changes{
        {[&](bool on) { grid_->setCell(1, 0, on ? L"A" : L"B"); }, {L"row 1"}},
        {[&](bool on) { grid_->setRowChecked(1, on); }, {L"row 1"}},
        {[&](bool on) { grid_->setRowBitmap(2, on ? 1 : -1); }, {L"row 2"}},
        {[&](bool on) { on ? grid_->selectRow(2) : grid_->deselectRow(2); }, {L"selected 2 1"}},
        {[&](bool on) { on ? grid_->selectAllRows() : grid_->deselectAllRows(); },
         {L"allSelected 1"}},
        {[&](bool) { grid_->addRow(numbered(grid_->getRowCount())); }, {L"added 4 k4"}},
        {[&](bool) { grid_->removeRow(0); }, {L"removed 0"}},
        {[&](bool) { grid_->clear(); }, {L"cleared"}},
    };
    expectTold(*grid_, nativeGrid_, changes);
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

TEST_F(ItemsTest, grid_selection_singleAndMultiple) {
    using Rows = std::vector<std::size_t>;
    addRows(5);
    grid_->selectRow(3);
    grid_->selectRow(1);
    EXPECT_EQ(grid_->getSelectedRows(), (Rows{1, 3}));
    grid_->setMultiSelect(false);
    EXPECT_EQ(grid_->getSelectedRows(), (Rows{1}));
    told(nativeGrid_);
    grid_->selectRow(4);
    grid_->selectAllRows();
    EXPECT_EQ(told(nativeGrid_), (Journal{L"allSelected 0", L"selected 4 1"}));
    EXPECT_EQ(grid_->getSelectedRows(), (Rows{4}));
    grid_->removeRow(4);
    EXPECT_TRUE(grid_->getSelectedRows().empty());
    EXPECT_EQ(log_->take().find(L"selectionChanged"), std::wstring::npos);
}

// --- Both ---

TEST_F(ItemsTest, userActions_areSentOnceNotToldBackAndMayBeAnswered) {
    const TreeNode node = tree_->addRootNode(L"a", L"A");
    addRows(5);
    told(nativeTree_);
    told(nativeGrid_);
    const auto answers = [&](const MessageKind& kind, auto, MessageWord b) {
        if (kind == NativeTreeView::kNodeCollapsing) {
            tree_->refuseExpanding();
        } else if (kind == NativeGridView::kBeforeDisplayRowTooltip) {
            grid_->setRowTooltip(L"row " + std::to_wstring(b.number()));
        }
    };
    for (int i = 0; i < 2; ++i) {
        tree_->acceptSelection(node);
        tree_->acceptChecked(node, true);
        grid_->acceptSelected(1, 99, true);
        grid_->acceptSelectionDone();
        grid_->acceptChecked(2, true);
    }
    ASSERT_EQ(log_->entries.size(), 4U);
    EXPECT_EQ(NativeTreeView::nodeOfWord(log_->entries[0].b), node);
    EXPECT_EQ(log_->entries[2].b.number(), 1);
    EXPECT_EQ(log_->take(),
              L"selectionChanged checkStateChanged selectionChanged checkStateChanged");
    EXPECT_EQ(grid_->getSelectedRows(), (std::vector<std::size_t>{1, 2, 3, 4}));
    EXPECT_TRUE(grid_->getRowChecked(2) && tree_->getNodeChecked(node));
    EXPECT_EQ(grid_->acceptTooltipRequest(0), L"");
    const auto answering = std::make_shared<FunctionSink>(answers);
    tree_->connect(answering, false);
    grid_->connect(answering, false);
    EXPECT_EQ(grid_->acceptTooltipRequest(0), L"row 0");
    EXPECT_FALSE(tree_->acceptExpanding(node, false));
    EXPECT_TRUE(tree_->acceptExpanding(node, true));
    EXPECT_EQ(told(nativeTree_), Journal());
    EXPECT_EQ(told(nativeGrid_), Journal());
}

}  // namespace
}  // namespace zustd
