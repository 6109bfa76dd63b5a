// Gives a native tree the items of those nodes that can be seen, bit by bit.
//
// A native tree has a node when the model keeps a native word for it. What is below a node is given
// when that is expanded; where it is long, it comes in slices, so that the window goes on answering
// meanwhile. It waits in runs. A run is known by its first node alone; the nodes below that one on
// the screen belong to it, down to one that the native tree has. So nodes come and go behind the
// first one of a run without a word about it. Of a collapsed node nothing waits: it is opened when
// it is expanded again. One that the native tree has not expanded yet holds up what stands behind
// it until then.
#pragma once

#include <chrono>
#include <deque>

#include "ZuTreeModel.h"

namespace zustd {

// How a native tree stands to its model.
enum class TreeState {
    // Has nothing of it, or could not be filled: that is for the next synchronisation.
    kEmpty,
    // Differs as a whole: is filled anew as soon as that may be.
    kStale,
    // Follows each change; what waits comes with the next message.
    kBehind,
    // Follows each change; what waits comes in slices of its own.
    kCurrent,
};

// What a filler does with the items of a native tree.
class ITreeItems {
public:
    virtual ~ITreeItems() = default;

    virtual TreeModel& model() const = 0;
    virtual std::size_t itemCount() const = 0;
    // Makes the item of a node, whose parent and previous sibling have theirs, and
    // keeps it as the node's native word; with a first child the parent's item is
    // expanded, if the model says so. Throws when the system refuses.
    virtual void insert(TreeNode node) = 0;
    virtual bool isItemExpanded(TreeNode node) const = 0;
    // Brings the expansion of a node's item in line with the model's.
    virtual void expandItem(TreeNode node) = 0;
    // Asks for TreeFiller::work() on a message of its own, or no longer; false when it cannot be.
    virtual bool await(bool more) = 0;
};

class TreeFiller {
public:
    // What waits comes in slices of so many steps, or of fewer when they take that long.
    static constexpr std::size_t kSlice = 2000;
    static constexpr std::chrono::milliseconds kSliceTime{15};

    // All outlive the filler. A failure to insert leaves a state other than kEmpty at
    // kStale: what would follow has no place.
    TreeFiller(ITreeItems& items, TreeState& state) noexcept : items_(items), state_(state) {}

    bool hasWork() const noexcept { return !runs_.empty() || !unsettled_.empty(); }

    // After the native tree has lost all of its items: the first slice of them.
    void restart();
    // The next slice, and a request for another one.
    void work() { workSlice(&TreeFiller::workNext); }
    // Asks for the next slice, if something waits; without one all of it comes now.
    void goOn();

    // Whether a node that was added can be given at once: what is above it on the screen is there.
    // Otherwise it belongs to a run, waits for a node that is to be opened, or cannot be seen.
    bool isNext(TreeNode node) const;
    // Has one that is next wait.
    void add(TreeNode node) { runs_.push_front(node); }
    // Before a node is removed, or collapsed by its native tree; what is behind it goes on waiting.
    void drop(TreeNode node);
    // Before a native tree expands a node by itself: a slice of what can be seen below.
    void open(TreeNode node) {
        findRuns(node);
        workSlice(&TreeFiller::insertNext);
    }

    // Brings what the native tree has of a node, and what can be seen below it, into
    // the model's state.
    void settle(TreeNode node);
    // Has those of a node and of all below it wait, of all for kNoNode; false, with
    // nothing done, when filling anew is less work.
    bool settleAll(TreeNode top);

    // Brings a node that waits into the native tree at once.
    void need(TreeNode node);
    // The same, with what is above it expanded.
    void reveal(TreeNode node);

private:
    bool isThere(TreeNode node) const { return items_.model().nativeWord(node) != 0; }
    // Whether the native tree can have children of a node; of kNoNode always.
    bool isOpen(TreeNode parent) const {
        return parent == kNoNode || (isThere(parent) && items_.model().isExpanded(parent));
    }
    // The node below this one on the screen.
    TreeNode nextSeen(TreeNode node) const {
        const TreeModel& model = items_.model();
        return model.isExpanded(node) ? model.next(node) : model.nextBeyond(node);
    }
    TreeNode seenAbove(TreeNode node) const;
    void findRuns(TreeNode node);
    TreeNode take();
    bool insertNext();
    bool workNext();
    void workSlice(bool (TreeFiller::*step)());

    ITreeItems& items_;
    TreeState& state_;
    std::deque<TreeNode> runs_;
    // Nodes that the native tree may have to expand or to collapse.
    std::deque<TreeNode> unsettled_;
};

}  // namespace zustd
