// Trees and grids and what they hold, compared with plain lists.
#include <algorithm>
#include <map>

#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

constexpr std::size_t kMany = 100'000;

std::wstring numbered(std::size_t number) { return L"k" + std::to_wstring(number); }

class ItemsTest : public ToolkitTest {
protected:
    std::shared_ptr<NativeTreeView> tree_ = shown(host_->createNativeTreeView());
    std::shared_ptr<NativeGridView> grid_ = shown(host_->createNativeGridView());
};

// --- Tree ---

// A tree as lists of children; those of kNoNode are the roots.
struct PlainNode {
    TreeNode parent = kNoNode;
    std::wstring key;
    std::wstring caption;
    std::int32_t bitmap = -1;
    bool expanded = false;
    bool checked = false;
    bool emphasized = false;
};

struct PlainTree {
    TreeNode any(Random& random) {
        const std::vector<TreeNode>* level = &lists[kNoNode];
        TreeNode node = kNoNode;
        while (!level->empty() && (node == kNoNode || random.below(3) != 0)) {
            node = random.pick(*level);
            level = &lists[node];
        }
        return node;
    }
    void insert(TreeNode node, const PlainNode& said, TreeNode after) {
        std::vector<TreeNode>& list = lists[said.parent];
        const auto place = std::find(list.begin(), list.end(), after);
        list.insert(place == list.end() ? place : place + 1, node);
        nodes[node] = said;
    }
    void remove(TreeNode node) {
        for (const TreeNode child : std::vector<TreeNode>(lists[node])) {
            remove(child);
        }
        std::erase(lists[nodes[node].parent], node);
        selected = selected == node ? kNoNode : selected;
        nodes.erase(node);
        gone.push_back(node);
    }
    void expand(TreeNode top, bool expanded) {
        nodes[top].expanded = expanded;
        for (const TreeNode child : lists[top]) {
            expand(child, expanded);
        }
    }
    // What is above is expanded, or takes over.
    void select(TreeNode node) {
        selected = node;
        for (node = nodes[node].parent; node != kNoNode; node = nodes[node].parent) {
            nodes[node].expanded = true;
        }
    }
    void lift() {
        for (TreeNode node = selected; node != kNoNode; node = nodes[node].parent) {
            selected = nodes[node].expanded ? selected : node;
        }
    }
    void expectSame(const NativeTreeView& tree, TreeNode parent, TreeNode& previous) {
        const auto at = [](const std::vector<TreeNode>& list, std::size_t i) {
            return i < list.size() ? list[i] : kNoNode;
        };
        const std::vector<TreeNode>& list = lists[parent];
        for (std::size_t i = 0; i < list.size(); ++i) {
            const TreeNode node = list[i];
            const std::vector<TreeNode>& below = lists[node];
            const PlainNode& said = nodes[node];
            ASSERT_EQ(previous == kNoNode ? tree.getFirstRootNode() : tree.getNextNode(previous),
                      node);
            ASSERT_EQ(tree.getPreviousNode(node), previous);
            ASSERT_EQ(tree.getParentNode(node), parent);
            ASSERT_EQ(tree.getPreviousSiblingNode(node), at(list, i - 1));
            ASSERT_EQ(tree.getNextSiblingNode(node), at(list, i + 1));
            ASSERT_EQ(tree.getLastSiblingNode(node), list.back());
            ASSERT_EQ(tree.getFirstChildNode(node), at(below, 0));
            ASSERT_EQ(tree.getLastChildNode(node), at(below, below.size() - 1));
            ASSERT_EQ(tree.model().childCount(node), below.size());
            ASSERT_EQ(tree.findNode(said.key), said.key.empty() ? kNoNode : node);
            ASSERT_EQ(tree.model().nodeAt(TreeModel::placeOf(node)), node);
            ASSERT_EQ(tree.getNodeKey(node), said.key);
            ASSERT_EQ(tree.getNodeCaption(node), said.caption);
            ASSERT_EQ(tree.getNodeBitmap(node), said.bitmap);
            ASSERT_EQ(tree.getNodeExpanded(node), said.expanded);
            ASSERT_EQ(tree.getNodeChecked(node), said.checked);
            ASSERT_EQ(tree.getNodeEmphasized(node), said.emphasized);
            previous = node;
            expectSame(tree, node, previous);
        }
    }

    std::map<TreeNode, std::vector<TreeNode>> lists;
    std::map<TreeNode, PlainNode> nodes;
    std::vector<TreeNode> gone;
    TreeNode selected = kNoNode;
};

TEST_F(ItemsTest, tree_randomChanges_isWhatPlainListsSay) {
    Random random(11);
    PlainTree plain;
    for (std::size_t number = 0; number < 4000; ++number) {
        const std::wstring key = number % 5 == 0 ? L"" : numbered(number);
        const TreeNode node = plain.any(random);
        const bool on = random.below(2) == 0;
        PlainNode& said = plain.nodes[node];
        switch (node == kNoNode ? 0 : random.below(16)) {
            // clang-format off
            case 0: plain.insert(tree_->addRootNode(key, key), {kNoNode, key, key}, kNoNode); break;
            case 1: case 2: case 3:
                plain.insert(tree_->addChildNode(node, key, key), {node, key, key}, kNoNode); break;
            case 4: case 5: case 6:
                plain.insert(tree_->addSiblingNode(node, key, key), {said.parent, key, key}, node); break;
            case 7: tree_->removeNode(node); plain.remove(node); break;
            case 8: tree_->setNodeCaption(node, said.caption = L"caption " + key); break;
            case 9: tree_->setNodeBitmap(node, said.bitmap = on ? 1 : -1); break;
            case 10: tree_->setNodeChecked(node, said.checked = on); break;
            case 11: tree_->setNodeEmphasized(node, said.emphasized = on); break;
            case 12: tree_->setNodeExpanded(node, said.expanded = on); plain.lift(); break;
            case 13: on ? tree_->expandAllNodes(node) : tree_->collapseAllNodes(node);
                plain.expand(node, on); plain.lift(); break;
            case 14: tree_->selectNode(node); plain.select(node); break;
            default:
                if (number % 4 != 0) { tree_->clearNodeSelection(); plain.selected = kNoNode; }
                else if (on) { tree_->expandAllNodes(); plain.expand(kNoNode, true); }
                else if (number % 100 == 0) { tree_->clear(); plain.remove(kNoNode); }
                else { tree_->collapseAllNodes(); plain.expand(kNoNode, false); plain.lift(); }
                break;
                // clang-format on
        }
        plain.nodes.erase(kNoNode);
        ASSERT_EQ(tree_->getSelectedNode(), plain.selected) << number;
        ASSERT_EQ(tree_->getNodeCount(), plain.nodes.size()) << number;
        if (number % 16 == 0) {
            TreeNode last = kNoNode;
            plain.expectSame(*tree_, kNoNode, last);
            ASSERT_FALSE(HasFatalFailure()) << number;
            ASSERT_EQ(last == kNoNode ? kNoNode : tree_->getNextNode(last), kNoNode);
            const std::vector<TreeNode>& roots = plain.lists[kNoNode];
            ASSERT_EQ(tree_->getLastRootNode(), roots.empty() ? kNoNode : roots.back());
        }
    }
    ASSERT_GT(plain.gone.size(), 100U);
    for (const TreeNode node : plain.gone) {
        ASSERT_FALSE(tree_->model().contains(node));
        ASSERT_NE(tree_->model().nodeAt(TreeModel::placeOf(node)), node);
    }
    EXPECT_EQ(log_->take().find(L"Changed"), std::wstring::npos);
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

// --- Grid ---

struct PlainRow {
    std::wstring key;
    std::wstring cells[2];
    std::int32_t bitmap = -1;
    bool checked = false;
    bool selected = false;
};

TEST_F(ItemsTest, grid_randomChanges_isWhatAPlainListSays) {
    Random random(12);
    std::vector<PlainRow> rows;
    std::size_t next = 0;
    const auto select = [&rows](std::size_t from, std::size_t end, bool on) {
        for (std::size_t row = from; row < std::min(end, rows.size()); ++row) {
            rows[row].selected = on;
        }
    };
    for (int number = 0; number < 1500; ++number) {
        const std::size_t row = rows.empty() ? 0 : random.below(rows.size());
        const std::size_t column = random.below(2);
        const bool on = random.below(2) == 0;
        const bool multiple = grid_->isMultiSelect();
        switch (rows.empty() ? 0 : random.below(12)) {
            // clang-format off
            case 0: case 1:
                // In hundreds: a few of these fill a block of rows.
                for (std::size_t count = random.below(300) + 1; count > 0; --count) {
                    rows.push_back({numbered(next++), {}});
                    ASSERT_EQ(grid_->addRow(rows.back().key), rows.size() - 1);
                }
                break;
            case 2:
                while (rows.size() > row) {
                    const std::size_t place = on ? random.below(rows.size()) : row;
                    ASSERT_EQ(grid_->findRow(rows[place].key), place);
                    grid_->removeRow(place);
                    ASSERT_EQ(grid_->findRow(rows[place].key), kNullSize);
                    rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(place));
                }
                break;
            case 3: if (number % 10 == 0) { grid_->clear(); rows.clear(); } break;
            case 4: case 5:
                grid_->setCell(row, column, rows[row].cells[column] = numbered(next)); break;
            case 6: grid_->setRowBitmap(row, rows[row].bitmap = on ? 1 : -1); break;
            case 7: grid_->setRowChecked(row, rows[row].checked = on); break;
            case 8:
                if (grid_->setMultiSelect(on) && !on && !grid_->getSelectedRows().empty()) {
                    select(grid_->getSelectedRows().front() + 1, kNullSize, false);
                }
                break;
            case 9: grid_->selectAllRows(); select(0, multiple ? kNullSize : 0, true); break;
            case 10: grid_->deselectAllRows(); select(0, kNullSize, false); break;
            default:
                on ? grid_->selectRow(row) : grid_->deselectRow(row);
                select(0, on && !multiple ? kNullSize : 0, false);
                select(row, row + 1, on);
                break;
                // clang-format on
        }
        ASSERT_EQ(grid_->getRowCount(), rows.size());
        std::vector<std::size_t> selected;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (rows[i].selected) {
                selected.push_back(i);
            }
            if (i % 7 == row % 7) {
                ASSERT_EQ(grid_->getRowKey(i), rows[i].key) << number;
                ASSERT_EQ(grid_->findRow(rows[i].key), i) << number;
                ASSERT_EQ(grid_->getCell(i, column), rows[i].cells[column]) << number;
                ASSERT_EQ(grid_->getRowBitmap(i), rows[i].bitmap) << number;
                ASSERT_EQ(grid_->getRowChecked(i), rows[i].checked) << number;
            }
        }
        ASSERT_EQ(grid_->getSelectedRows(), selected) << number;
    }
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(ItemsTest, unknownItemOrKeyInUse_failsItsAssertion) {
    const TreeNode gone = tree_->addRootNode(L"a", L"A");
    tree_->removeNode(gone);
    const TreeNode a = tree_->addRootNode(L"a", L"B");
    grid_->addRow(L"a");
    const wchar_t* unknown = L"contains(node)";
    const wchar_t* outOfRange = L"row != NullSize && row < getRowCount()";
    const std::pair<std::function<void()>, const wchar_t*> uses[]{
        {[&] { tree_->getNodeCaption(gone); }, unknown},
        {[&] { tree_->removeNode(kNoNode); }, unknown},
        {[&] { tree_->addChildNode(kNoNode, L"", L""); }, unknown},
        {[&] { tree_->addChildNode(a, L"a", L""); }, L"key.empty() || !nodesByKey_.contains(key)"},
        {[&] { grid_->getRowKey(1); }, outOfRange},
        {[&] { grid_->setCell(kNullSize, 0, L""); }, outOfRange},
        {[&] { grid_->selectRow(1); }, outOfRange},
        {[&] { grid_->addRow(L"a"); }, L"!key.empty() && !rowsByKey_.contains(key)"},
    };
    for (const auto& [use, text] : uses) {
        EXPECT_EQ(thrownText(use), text);
    }
    EXPECT_EQ(tree_->getNodeCount(), 1U);
}

TEST_F(ItemsTest, changesWithoutNativeObject_areNotMirrored) {
    tree_->releaseTree();
    grid_->releaseTree();
    Journal& ofTree = recordingOf<RecordingTreeView>(*tree_).journal;
    Journal& ofGrid = recordingOf<RecordingGridView>(*grid_).journal;
    ofTree.clear();
    ofGrid.clear();
    tree_->addRootNode(L"a", L"");
    grid_->addRow(L"a");
    EXPECT_EQ(ofTree, Journal());
    EXPECT_EQ(ofGrid, Journal());
}

}  // namespace
}  // namespace zustd
