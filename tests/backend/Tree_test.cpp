// Trees with the system's own control: what it shows is read back from it, and
// what the user does is done with the mouse and the keyboard.
#include "support/ItemsTest.h"

namespace zustd {
namespace {

using namespace test;

class BackendTreeTest : public BackendItemsTest {
protected:
    static const wchar_t* buttonOf(bool hasChildren, bool expanded) {
        return !hasChildren ? L"" : expanded ? L"-" : L"+";
    }
    // What can be seen when the whole tree is scrolled through.
    void readBelow(HTREEITEM first, std::size_t depth, std::vector<std::wstring>& lines) const {
        const HWND window = nativeWindowOf(*tree_);
        for (HTREEITEM item = first; item != nullptr;
             item = TreeView_GetNextSibling(window, item)) {
            wchar_t text[64] = L"";
            TVITEMW shown{};
            shown.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_STATE | TVIF_CHILDREN;
            shown.hItem = item;
            shown.stateMask = 0xFFFF;
            shown.pszText = text;
            shown.cchTextMax = 64;
            EXPECT_TRUE(ask(*tree_, TVM_GETITEMW, shown));
            const bool expanded = (shown.state & TVIS_EXPANDED) != 0;
            const UINT check = (shown.state & TVIS_STATEIMAGEMASK) >> 12;
            EXPECT_TRUE(tree_->hasCheckBoxes() ? check == 1 || check == 2 : check == 0);
            lines.push_back(lineOf(depth, text, shown.iImage == I_IMAGENONE ? -1 : shown.iImage,
                                   check == 2, (shown.state & TVIS_BOLD) != 0,
                                   buttonOf(shown.cChildren != 0, expanded),
                                   item == TreeView_GetSelection(window)));
            if (shown.cChildren != 0 && expanded) {
                readBelow(TreeView_GetChild(window, item), depth + 1, lines);
            }
        }
    }
    std::vector<std::wstring> shownTree() const {
        std::vector<std::wstring> lines;
        readBelow(TreeView_GetRoot(nativeWindowOf(*tree_)), 0, lines);
        return lines;
    }
    std::vector<std::wstring> wantedTree() const {
        const TreeModel& model = tree_->model();
        std::vector<std::wstring> lines;
        for (TreeNode node = model.firstRoot(); node != kNoNode;
             node = model.isExpanded(node) ? model.next(node) : model.nextBeyond(node)) {
            std::size_t depth = 0;
            for (TreeNode above = model.parent(node); above != kNoNode;
                 above = model.parent(above)) {
                ++depth;
            }
            lines.push_back(lineOf(depth, model.caption(node), model.bitmap(node),
                                   tree_->hasCheckBoxes() && model.isChecked(node),
                                   model.isEmphasized(node),
                                   buttonOf(model.childCount(node) != 0, model.isExpanded(node)),
                                   model.selected() == node));
        }
        return lines;
    }
    // The first node that can be seen and that the window has not; the last one
    // when it has all of them.
    TreeNode firstToCome() const {
        const TreeModel& model = tree_->model();
        TreeNode last = kNoNode;
        for (TreeNode node = model.firstRoot(); node != kNoNode;
             node = model.isExpanded(node) ? model.next(node) : model.nextBeyond(node)) {
            last = node;
            if (model.nativeWord(node) == 0) {
                break;
            }
        }
        return last;
    }
    // Until the window has so many nodes; false when they never come.
    bool waitForNodes(std::size_t count) const {
        runMessages(20'000,
                    [&] { return static_cast<std::size_t>(send(*tree_, TVM_GETCOUNT)) >= count; });
        return static_cast<std::size_t>(send(*tree_, TVM_GETCOUNT)) >= count;
    }
    // Until it shows what it should.
    bool waitForTree() const {
        const auto wanted = wantedTree();
        EXPECT_TRUE(waitForNodes(wanted.size()));
        runMessages(2000, [&] { return shownTree() == wanted; });
        return shownTree() == wanted;
    }
    TreeNode addNode(const wchar_t* key, const wchar_t* parent = nullptr) {
        return parent != nullptr ? tree_->addChildNode(tree_->findNode(parent), key, key)
                                 : tree_->addRootNode(key, key);
    }
    POINT placeOf(const wchar_t* key) {
        const Rect caption = tree_->getNodeBoundary(tree_->findNode(key));
        EXPECT_FALSE(caption.isEmpty()) << narrow(key);
        return onScreen(nativeWindowOf(*tree_), {caption.left + 4, caption.top + 4});
    }
    POINT partOf(const wchar_t* key, UINT part) {
        const HWND window = nativeWindowOf(*tree_);
        const std::int32_t y = tree_->getNodeBoundary(tree_->findNode(key)).top + 7;
        return onScreen(window, partAt<TVHITTESTINFO>(window, TVM_HITTEST, part, y));
    }
};

TEST_F(BackendTreeTest, mouseAndKeys_sendExactlyWhatTheUserDid) {
    for (const wchar_t* key : {L"a", L"b", L"c"}) {
        addNode(key);
    }
    addNode(L"a1", L"a");
    EXPECT_EQ(log_->take(), L"");
    click(placeOf(L"b"));
    EXPECT_EQ(log_->take(), L"selectionChanged:b");
    click(placeOf(L"b"));
    EXPECT_EQ(log_->take(), L"");
    click(partOf(L"c", TVHT_ONITEMSTATEICON));
    EXPECT_EQ(log_->take(), L"checkStateChanged:c");
    EXPECT_TRUE(tree_->getNodeChecked(tree_->findNode(L"c")));
    pressKeys({VK_SPACE});
    EXPECT_EQ(log_->take(), L"checkStateChanged:b");
    pressKeys({VK_UP});
    EXPECT_EQ(log_->take(), L"selectionChanged:a");
    click(partOf(L"a", TVHT_ONITEMBUTTON));
    EXPECT_EQ(log_->take(), L"nodeExpanding:a");
    rightClick(placeOf(L"a1"));
    EXPECT_EQ(log_->take(), L"rightClicked:a1");
    pressKeys({VK_APPS});
    EXPECT_EQ(log_->take(), L"rightClicked:a");
    EXPECT_EQ(shownTree(), wantedTree());
    pressKeys({VK_LEFT});
    EXPECT_EQ(log_->take(), L"nodeCollapsing:a");
    click(placeOf(L"a"));
    click(placeOf(L"a"));
    EXPECT_EQ(log_->take(), L"nodeExpanding:a");
    EXPECT_TRUE(tree_->getNodeExpanded(tree_->findNode(L"a")));
    click(placeOf(L"a1"));
    EXPECT_EQ(log_->take(), L"selectionChanged:a1");
    log_->onMessage = [this](const MessageKind& kind) {
        if (kind == NativeTreeView::kNodeCollapsing) {
            tree_->refuseExpanding();
        }
    };
    click(partOf(L"a", TVHT_ONITEMBUTTON));
    EXPECT_EQ(log_->take(), L"nodeCollapsing:a");
    EXPECT_EQ(shownTree(), (std::vector<std::wstring>{L"a -1-", L" a1 -1s", L"b -1c", L"c -1c"}));
}

TEST_F(BackendTreeTest, randomChanges_theControlFollowsAlsoWhenMadeAnew) {
    Random random(5);
    for (std::size_t number = 0; number < 900; ++number) {
        const std::wstring text = numbered(number);
        TreeNode node = tree_->getFirstRootNode();
        for (std::size_t i = random.below(tree_->getNodeCount() + 1); i > 1; --i) {
            node = tree_->getNextNode(node);
        }
        const bool on = random.below(2) == 0;
        const std::size_t what = node == kNoNode ? 0 : random.below(15);
        switch (what) {
            // clang-format off
            case 0: tree_->addRootNode(text, text); break;
            case 1: case 2: case 3: tree_->addChildNode(node, text, text); break;
            case 4: case 5: tree_->addSiblingNode(node, text, text); break;
            case 6: tree_->removeNode(node); break;
            case 7: tree_->setNodeCaption(node, L"caption " + text); break;
            case 8: tree_->setNodeExpanded(node, on); break;
            case 9: tree_->setNodeChecked(node, on); break;
            case 10: tree_->setNodeEmphasized(node, on); break;
            case 11: tree_->setNodeBitmap(node, on ? 2 : -1); break;
            case 12: tree_->selectNode(node); break;
            case 13: on ? tree_->expandAllNodes(node) : tree_->collapseAllNodes(node); break;
            default: tree_->setCheckBoxes(on); break;
                // clang-format on
        }
        // Also after bursts of a hundred changes, which are not mirrored one by one.
        if (number < 200 || number % 100 == 0) {
            ASSERT_EQ(shownTree(), wantedTree()) << number << " " << what;
        }
    }
    EXPECT_GT(tree_->getNodeCount(), 100U);
    const auto shown = shownTree();
    tree_->releaseTree();
    window_->synchronizeTree();
    EXPECT_EQ(shownTree(), shown);
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(BackendTreeTest, placesAndSmallSubtrees_staySoundAfterEveryKindOfChange) {
    tree_->setEnableRedraw(false);
    for (std::size_t i = 0; i < 200; ++i) {
        const TreeNode root = tree_->addRootNode(numbered(i), L"root");
        tree_->addChildNode(tree_->addChildNode(root, L"", L"child"), L"", L"grandchild");
    }
    tree_->ensureNodeVisible(tree_->findNode(numbered(150)));
    tree_->setEnableRedraw(true);
    const TreeNode node = tree_->findNode(numbered(150));
    ASSERT_FALSE(tree_->getNodeBoundary(node).isEmpty());
    tree_->expandAllNodes(node);
    EXPECT_FALSE(tree_->getNodeBoundary(node).isEmpty());
    tree_->selectNode(tree_->getLastChildNode(tree_->getFirstChildNode(node)));
    tree_->collapseAllNodes(node);
    EXPECT_EQ(tree_->getSelectedNode(), node);
    EXPECT_EQ(shownTree(), wantedTree());
    // Long bursts fill the window anew and do not scroll it.
    for (std::size_t i = 0; i < 140; ++i) {
        tree_->removeNode(tree_->findNode(numbered(i)));
    }
    ASSERT_FALSE(tree_->getNodeBoundary(node).isEmpty());
    EXPECT_EQ(shownTree(), wantedTree());
    EXPECT_TRUE(tree_->getNodeBoundary(kNoNode).isEmpty());
    // What is to be seen while nothing is shown comes with the redrawing.
    tree_->setEnableRedraw(false);
    tree_->ensureNodeVisible(tree_->getLastRootNode());
    tree_->setEnableRedraw(true);
    EXPECT_FALSE(tree_->getNodeBoundary(tree_->getLastRootNode()).isEmpty());
    tree_->setEnableRedraw(false);
    tree_->ensureNodeVisible(node);
    tree_->removeNode(node);
    tree_->setEnableRedraw(true);
    EXPECT_EQ(shownTree(), wantedTree());
}

TEST_F(BackendTreeTest, childlessNodes_expandedOrNot_canBeOpenedWhenTheyHaveChildren) {
    const TreeNode a = addNode(L"a");
    tree_->addChildNode(a, L"a1", L"a1");
    tree_->selectNode(a);
    tree_->setNodeExpanded(a, true);
    tree_->removeNode(tree_->findNode(L"a1"));
    tree_->setNodeExpanded(a, false);
    tree_->addChildNode(a, L"a2", L"a2");
    EXPECT_EQ(shownTree(), wantedTree());
    click(partOf(L"a", TVHT_ONITEMBUTTON));
    EXPECT_EQ(log_->take(), L"nodeExpanding:a");
    EXPECT_EQ(shownTree(), wantedTree());
}

TEST_F(BackendTreeTest, selectedNode_justAdded_scrollsNoFurtherThanNeeded) {
    for (std::size_t i = 0; i < 100; ++i) {
        addNode(numbered(i).c_str());
    }
    runMessages(20);
    const TreeNode added = addNode(L"new");
    tree_->selectNode(added);
    runMessages(20);
    EXPECT_GT(tree_->getNodeBoundary(added).top, 200);
}

TEST_F(BackendTreeTest, windowMadeAnew_keepsTheFocusAndAHiddenOneStaysHidden) {
    addNode(L"a");
    click(placeOf(L"a"));
    EXPECT_EQ(log_->take(), L"selectionChanged:a");
    tree_->setCheckBoxes(false);
    EXPECT_EQ(GetFocus(), nativeWindowOf(*tree_));
    tree_->setVisible(false);
    addNode(L"b");
    tree_->removeNode(tree_->findNode(L"a"));
    runMessages(50);
    EXPECT_FALSE(IsWindowVisible(nativeWindowOf(*tree_)));
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(BackendTreeTest, manyNodes_comeWhenTheyCanBeSeenASliceAtATime) {
    for (std::size_t i = 0; i < kMany; ++i) {
        if (i % 1000 == 0) {
            addNode(numbered(i).c_str());
        } else {
            tree_->addChildNode(tree_->getLastRootNode(), numbered(i), numbered(i));
        }
    }
    EXPECT_EQ(send(*tree_, TVM_GETCOUNT), 100);
    EXPECT_EQ(shownTree(), wantedTree());
    tree_->setNodeExpanded(tree_->findNode(numbered(2000)), true);
    EXPECT_EQ(shownTree(), wantedTree());
    tree_->expandAllNodes();
    EXPECT_LT(send(*tree_, TVM_GETCOUNT), LRESULT{kMany / 10});
    // What the program asks for is there at once.
    const TreeNode deep = tree_->findNode(numbered(30500));
    tree_->selectNode(deep);
    tree_->ensureNodeVisible(deep);
    EXPECT_FALSE(tree_->getNodeBoundary(deep).isEmpty());
    EXPECT_LT(send(*tree_, TVM_GETCOUNT), LRESULT{kMany / 2});
    EXPECT_TRUE(waitForNodes(kMany / 2));
    EXPECT_FALSE(tree_->getNodeBoundary(deep).isEmpty());
    for (std::size_t i = 0; i < kMany; ++i) {
        tree_->removeNode(tree_->findNode(numbered(kMany - 1 - i)));
    }
    EXPECT_EQ(send(*tree_, TVM_GETCOUNT), 0);
}

TEST_F(BackendTreeTest, changesWhileNodesArrive_arriveAsWell) {
    Random random(9);
    for (std::size_t i = 0; i < 4000; ++i) {
        const TreeNode parent = i < 20 ? kNoNode : tree_->findNode(numbered(random.below(i)));
        parent == kNoNode ? addNode(numbered(i).c_str())
                          : tree_->addChildNode(parent, numbered(i), numbered(i));
    }
    std::size_t next = 4000;
    for (int round = 0; round < 3; ++round) {
        tree_->collapseAllNodes();
        tree_->expandAllNodes();
        // The last ones in a burst that is not mirrored one by one.
        for (int i = 0; i < 700; ++i, ++next) {
            const TreeNode node = tree_->findNode(numbered(random.below(next)));
            if (node == kNoNode) {
                continue;
            }
            const std::wstring text = numbered(next);
            switch (i < 60 ? random.below(8) : 2) {
                // clang-format off
                case 0: case 1: tree_->addChildNode(node, text, text); break;
                case 2: case 3: tree_->addSiblingNode(node, text, text); break;
                case 4: tree_->removeNode(firstToCome()); break;
                case 5: tree_->setNodeExpanded(node, i % 2 == 0); break;
                case 6: tree_->setNodeCaption(node, text); break;
                default: runMessages(1); break;
                    // clang-format on
            }
        }
        ASSERT_TRUE(waitForTree()) << round;
    }
    EXPECT_GT(wantedTree().size(), 2000U);
}

TEST_F(BackendTreeTest, receiversWhoRemoveNodesOrTheTree_areSurvived) {
    for (const MessageKind* kind :
         {&NativeTreeView::kSelectionChanged, &NativeTreeView::kNodeExpanding,
          &NativeTreeView::kNodeCollapsing, &NativeTreeView::kRightClicked,
          &NativeTreeView::kCheckStateChanged}) {
        for (const bool drop : {false, true}) {
            addNode(L"a");
            addNode(L"b");
            addNode(L"b1", L"b");
            log_->take();
            bool done = false;
            const HWND native = nativeWindowOf(*tree_);
            const bool isAsked =
                kind == &NativeTreeView::kNodeExpanding || kind == &NativeTreeView::kNodeCollapsing;
            log_->onMessage = [&](const MessageKind& sent) {
                if (&sent == kind) {
                    done = true;
                    if (drop) {
                        window_->removeChild(tree_.get());
                        // Its window is in the middle of a message still.
                        runMessages(10);
                        EXPECT_EQ(IsWindow(native) != FALSE, isAsked);
                    } else {
                        tree_->clear();
                    }
                }
            };
            click(placeOf(L"b"));
            if (!done) {
                kind == &NativeTreeView::kRightClicked ? rightClick(placeOf(L"b"))
                                                       : click(partOf(L"b", TVHT_ONITEMSTATEICON));
                runMessages(50);
            }
            for (int i = 0; i < 2 && !done; ++i) {
                click(partOf(L"b", TVHT_ONITEMBUTTON));
                runMessages(50);
            }
            log_->take();
            EXPECT_TRUE(done);
            EXPECT_EQ(tree_->getNodeCount(), drop ? 3U : 0U);
            EXPECT_EQ(IsWindow(native) == FALSE, drop);
            log_->onMessage = nullptr;
            tree_->clear();
            if (drop) {
                window_->addChild(tree_);
            }
        }
    }
}

TEST_F(BackendTreeTest, receiversWhoFillTheNodeUnderWay_areShownSo) {
    addNode(L"a");
    addNode(L"a1", L"a");
    std::vector<std::function<void()>> changes;
    changes.push_back([&] { tree_->addChildNode(tree_->findNode(L"a"), L"", L"more"); });
    changes.push_back(
        [&] { tree_->selectNode(tree_->addChildNode(tree_->findNode(L"a"), L"", L"more")); });
    changes.push_back([&] { tree_->setNodeExpanded(tree_->findNode(L"a"), true); });
    changes.push_back([&] {
        tree_->setEnableRedraw(false);
        tree_->addRootNode(L"", L"b");
        tree_->setEnableRedraw(true);
    });
    changes.push_back([&] { tree_->collapseAllNodes(); });
    for (const auto& change : changes) {
        log_->onMessage = [&](const MessageKind& kind) {
            if (kind == NativeTreeView::kNodeExpanding || kind == NativeTreeView::kNodeCollapsing) {
                change();
            }
        };
        // Expanded and collapsed.
        for (int i = 0; i < 2; ++i) {
            click(partOf(L"a", TVHT_ONITEMBUTTON));
            log_->take();
            EXPECT_EQ(shownTree(), wantedTree()) << i;
            if (tree_->getNodeExpanded(tree_->findNode(L"a"))) {
                tree_->selectNode(tree_->findNode(L"a1"));
            }
        }
        log_->onMessage = nullptr;
        tree_->removeNode(tree_->findNode(L"a"));
        addNode(L"a");
        addNode(L"a1", L"a");
    }
}

}  // namespace
}  // namespace zustd
