// What items a native tree is given, in what order and in which slices, whatever
// changes meanwhile.
#include "ZuTreeFiller.h"

#include <algorithm>
#include <map>
#include <set>

#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;

std::chrono::steady_clock::time_point now;
// Each look at the clock takes as long as a step.
std::chrono::steady_clock::time_point tick() { return now += std::chrono::milliseconds(1); }

// A native tree as plain lists of children; those of kNoNode are the roots.
class ListedItems : public ITreeItems {
public:
    explicit ListedItems(TreeModel& model) : model_(model) {}

    TreeModel& model() const override { return model_; }
    std::size_t itemCount() const override { return count_; }
    void insert(TreeNode node) override {
        if (failsIn != 0 && --failsIn == 0) {
            throw std::bad_alloc();
        }
        const TreeNode previous = model_.previousSibling(node);
        const TreeNode parent = model_.parent(node);
        std::vector<TreeNode>& siblings = lists_[parent];
        const auto place = std::find(siblings.begin(), siblings.end(), previous);
        ASSERT_EQ(model_.nativeWord(node), 0);
        ASSERT_TRUE(parent == kNoNode || model_.nativeWord(parent) != 0);
        ASSERT_TRUE(previous == kNoNode || place != siblings.end());
        siblings.insert(previous == kNoNode ? siblings.begin() : place + 1, node);
        model_.setNativeWord(node, 1);
        ++count_;
        if (siblings.size() == 1 && parent != kNoNode && model_.isExpanded(parent)) {
            expanded.insert(parent);
        }
    }
    bool isItemExpanded(TreeNode node) const override { return expanded.contains(node); }
    bool expandItem(TreeNode node) override {
        EXPECT_NE(model_.nativeWord(node), 0);
        return model_.isExpanded(node) ? !lists_[node].empty() && expanded.insert(node).second
                                       : expanded.erase(node) != 0;
    }
    bool await(bool more) override {
        awaits = more && hasTimer;
        return hasTimer || !more;
    }

    void remove(TreeNode node) {
        for (const TreeNode child : std::exchange(lists_[node], {})) {
            remove(child);
        }
        std::vector<TreeNode>& siblings = lists_[model_.parent(node)];
        std::erase(siblings, node);
        if (siblings.empty()) {
            expanded.erase(model_.parent(node));
        }
        --count_;
    }
    void clear() {
        lists_.clear();
        expanded.clear();
        model_.clearNativeWords();
        count_ = 0;
    }
    // What is seen when the whole tree is scrolled through.
    std::vector<TreeNode> rows(TreeNode parent = kNoNode) {
        std::vector<TreeNode> seen;
        for (const TreeNode node : lists_[parent]) {
            seen.push_back(node);
            const std::vector<TreeNode> below =
                expanded.contains(node) ? rows(node) : std::vector<TreeNode>();
            seen.insert(seen.end(), below.begin(), below.end());
        }
        return seen;
    }

    std::set<TreeNode> expanded;
    std::size_t failsIn = 0;
    bool hasTimer = true;
    bool awaits = false;

private:
    TreeModel& model_;
    std::map<TreeNode, std::vector<TreeNode>> lists_;
    std::size_t count_ = 0;
};

class TreeFillerTest : public ::testing::Test {
protected:
    void refill() {
        state_ = TreeState::kEmpty;
        items_.clear();
        filler_.restart();
        state_ = TreeState::kCurrent;
    }
    bool isThere(TreeNode node) const { return model_.nativeWord(node) != 0; }
    void add(TreeNode node, bool atOnce) {
        if (filler_.isNext(node)) {
            atOnce ? items_.insert(node) : filler_.add(node);
        }
    }
    void remove(TreeNode node) {
        filler_.drop(node);
        if (isThere(node)) {
            items_.remove(node);
        }
        model_.remove(node);
    }
    void expand(TreeNode node, bool expanded) {
        if (model_.setExpanded(node, expanded) && isThere(node)) {
            filler_.settle(node);
            EXPECT_EQ(items_.expanded.contains(node), expanded && model_.childCount(node) != 0);
        }
    }
    // Tells the native tree only then, as a window does that expands many.
    void expandAll(TreeNode top, bool expanded) {
        for (TreeNode node = top; node != model_.nextBeyond(top); node = model_.next(node)) {
            model_.setExpanded(node, expanded);
        }
        if (!filler_.settleAll(top)) {
            refill();
        }
    }
    // As the user does, by the native tree itself.
    void click(TreeNode node) {
        if (!isThere(node) || model_.isExpanded(node) != items_.expanded.contains(node)) {
            return;
        }
        if (model_.isExpanded(node)) {
            filler_.drop(node);
            items_.expanded.erase(node);
        } else if (model_.childCount(node) != 0) {
            filler_.open(node);
            EXPECT_EQ(items_.awaits, filler_.hasWork());
            items_.expanded.insert(node);
        }
        model_.setExpanded(node, !model_.isExpanded(node));
    }
    void reveal(TreeNode node) {
        for (TreeNode above = model_.parent(node); above != kNoNode; above = model_.parent(above)) {
            expand(above, true);
        }
        filler_.reveal(node);
        EXPECT_TRUE(isThere(node));
        EXPECT_EQ(items_.awaits, filler_.hasWork());
        const std::vector<TreeNode> rows = items_.rows();
        EXPECT_NE(std::find(rows.begin(), rows.end(), node), rows.end());
    }
    void work() {
        const std::size_t before = items_.itemCount();
        filler_.work();
        EXPECT_LE(items_.itemCount() - before, TreeFiller::kSliceTime.count() * 2U);
        EXPECT_EQ(items_.awaits, filler_.hasWork());
    }
    std::vector<TreeNode> wantedRows() const {
        std::vector<TreeNode> rows;
        for (TreeNode node = model_.firstRoot(); node != kNoNode;
             node = model_.isExpanded(node) ? model_.next(node) : model_.nextBeyond(node)) {
            rows.push_back(node);
        }
        return rows;
    }
    TreeNode anyNode(Random& random) const {
        TreeNode node = model_.firstRoot();
        for (std::size_t steps = random.below(model_.nodeCount() + 1); steps > 1; --steps) {
            node = model_.next(node);
        }
        return node;
    }
    void change(Random& random) {
        const TreeNode node = anyNode(random);
        const bool on = random.below(2) == 0;
        switch (node == kNoNode ? 0 : random.below(16)) {
            // clang-format off
            case 0: add(model_.addChild(kNoNode, L"", L""), on); break;
            case 1: case 2: add(model_.addChild(node, L"", L""), on); break;
            case 3: case 4: add(model_.addSibling(node, L"", L""), on); break;
            case 5: remove(node); break;
            case 6: case 7: expand(node, true); break;
            case 8: expand(node, on); break;
            case 9: case 10: expandAll(node, random.below(3) != 0); break;
            case 11: case 12: click(node); break;
            case 13: on ? reveal(node) : refill(); break;
            default: work(); break;
                // clang-format on
        }
    }

    TreeModel model_;
    TreeState state_ = TreeState::kEmpty;
    ListedItems items_{model_};
    TreeFiller filler_{items_, state_, &tick};
};

TEST_F(TreeFillerTest, randomChanges_inTheEndShowWhatThePlainListsSay) {
    for (std::size_t seed = 1; seed <= 3000; ++seed) {
        SCOPED_TRACE(seed);
        Random random(seed);
        model_.clear();
        refill();
        for (std::size_t changes = 6 + random.below(60); changes > 0; --changes) {
            change(random);
        }
        while (filler_.hasWork() && !HasFailure()) {
            work();
        }
        ASSERT_EQ(items_.rows(), wantedRows());
        ASSERT_FALSE(HasFailure());
    }
}

TEST_F(TreeFillerTest, manyNodes_comeInSlicesOrWithoutATimerAtOnce) {
    const TreeNode top = model_.addChild(kNoNode, L"", L"");
    for (std::size_t i = 1; i < 100; ++i) {
        model_.addChild(i < 50 ? top : kNoNode, L"", L"");
    }
    model_.setExpanded(top, true);
    refill();
    EXPECT_EQ(items_.itemCount(), 15U);
    EXPECT_TRUE(items_.awaits);
    filler_.need(model_.lastRoot());
    EXPECT_EQ(items_.itemCount(), 100U);
    items_.hasTimer = false;
    refill();
    EXPECT_EQ(items_.itemCount(), 100U);
    EXPECT_FALSE(filler_.hasWork());
}

TEST_F(TreeFillerTest, refusedItem_hasTheTreeFilledAnewUnlessThatFailed) {
    const TreeNode top = model_.addChild(kNoNode, L"", L"");
    for (std::size_t i = 0; i < 50; ++i) {
        model_.addChild(top, L"", L"");
    }
    refill();
    model_.setExpanded(top, true);
    filler_.settle(top);
    filler_.workLater();
    EXPECT_EQ(state_, TreeState::kBehind);
    EXPECT_TRUE(items_.awaits);
    items_.failsIn = 3;
    EXPECT_THROW(filler_.work(), std::bad_alloc);
    EXPECT_EQ(state_, TreeState::kStale);
    EXPECT_FALSE(filler_.hasWork());
    items_.failsIn = 3;
    EXPECT_THROW(refill(), std::bad_alloc);
    EXPECT_EQ(state_, TreeState::kEmpty);
}

// Each in a native tree with few items and with many: as many parents as are
// settled one by one.
TEST_F(TreeFillerTest, parentsToSettle_moreThanFillingAnewIsWorth_areRefused) {
    items_.hasTimer = false;
    for (const std::size_t most : {8U, 128U}) {
        model_.clear();
        const TreeNode top = model_.addChild(kNoNode, L"", L"");
        while (model_.nodeCount() <= (most == 8 ? 0 : TreeFiller::kSlice)) {
            model_.addChild(kNoNode, L"", L"");
        }
        for (std::size_t parents = 1; parents < most; ++parents) {
            model_.addChild(model_.addChild(top, L"", L""), L"", L"");
        }
        model_.setExpanded(top, true);
        refill();
        EXPECT_TRUE(filler_.settleAll(top));
        EXPECT_TRUE(filler_.hasWork());
        EXPECT_FALSE(filler_.settleAll(top));
        filler_.work();
        model_.addChild(model_.addChild(kNoNode, L"", L""), L"", L"");
        refill();
        EXPECT_FALSE(filler_.settleAll(kNoNode));
        EXPECT_FALSE(filler_.hasWork());
    }
}

}  // namespace
}  // namespace zustd
