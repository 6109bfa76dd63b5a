// In what order a native tree is given its nodes, whatever changes meanwhile.
#include "ZuPendingNodes.h"
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

// A native object that keeps its siblings in order.
class PendingNodesTest : public ::testing::Test {
protected:
    void give(TreeNode node) {
        const TreeNode before = model_.previousSibling(node);
        const TreeNode parent = model_.parent(node);
        ASSERT_EQ(model_.nativeWord(node), 0);
        ASSERT_TRUE(before == kNoNode || model_.nativeWord(before) != 0);
        ASSERT_TRUE(parent == kNoNode || model_.nativeWord(parent) != 0);
        model_.setNativeWord(node, 1);
    }
    void giveNext() {
        if (const TreeNode node = pending_.take(model_); node != kNoNode) {
            give(node);
        }
    }
    void add(TreeNode node, bool atOnce) {
        atOnce&& PendingNodes::isNext(model_, node) ? give(node) : pending_.add(model_, node);
    }
    void remove(TreeNode node) {
        pending_.forget(model_, node);
        model_.remove(node);
    }
    void expand(TreeNode node, bool expanded) {
        model_.setExpanded(node, expanded);
        if (model_.nativeWord(node) != 0) {
            expanded ? pending_.open(model_, node) : pending_.forget(model_, node);
        }
    }
    // As a window does that expands many nodes one after the other.
    void expandLater(TreeNode node, bool expanded) {
        model_.setExpanded(node, expanded);
        unsettled_.push_back(node);
    }
    void settle() {
        if (!unsettled_.empty()) {
            if (model_.contains(unsettled_.front())) {
                expand(unsettled_.front(), model_.isExpanded(unsettled_.front()));
            }
            unsettled_.pop_front();
        }
    }
    void giveAll() {
        while (!unsettled_.empty()) {
            settle();
        }
        while (!pending_.isEmpty() && !HasFatalFailure()) {
            giveNext();
        }
        for (TreeNode node = model_.firstRoot(); node != kNoNode;
             node = model_.isExpanded(node) ? model_.next(node) : model_.nextBeyond(node)) {
            ASSERT_NE(model_.nativeWord(node), 0);
        }
    }
    TreeNode anyNode(Random& random) const {
        TreeNode node = model_.firstRoot();
        for (std::size_t steps = random.below(model_.nodeCount() + 1); steps > 1; --steps) {
            node = model_.next(node);
        }
        return node;
    }

    TreeModel model_;
    PendingNodes pending_;
    std::deque<TreeNode> unsettled_;
};

TEST_F(PendingNodesTest, anyFewChanges_inTheEndAllThatCanBeSeenIsThereInOrder) {
    for (std::size_t seed = 1; seed <= 3000; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        model_.clear();
        unsettled_.clear();
        pending_.restart(model_);
        const std::size_t changes = 6 + random.below(60);
        for (std::size_t i = 0; i < changes; ++i) {
            const TreeNode node = anyNode(random);
            const std::size_t what = node == kNoNode ? 0 : random.below(15);
            const bool atOnce = random.below(2) == 0;
            switch (what) {
                // clang-format off
                case 0: add(model_.addChild(kNoNode, L"", L""), atOnce); break;
                case 1: case 2: add(model_.addChild(node, L"", L""), atOnce); break;
                case 3: case 4: add(model_.addSibling(node, L"", L""), atOnce); break;
                case 5: remove(node); break;
                case 6: expand(node, true); break;
                case 7: expand(node, atOnce); break;
                case 8: expandLater(node, random.below(3) != 0); break;
                case 9: case 10: settle(); break;
                default: giveNext(); break;
                    // clang-format on
            }
        }
        giveAll();
        ASSERT_FALSE(HasFatalFailure());
    }
}

}  // namespace
}  // namespace zustd
