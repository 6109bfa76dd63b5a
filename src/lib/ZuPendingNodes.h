// Which nodes of a tree a native object still has to be given, and in what
// order, when it gets them bit by bit.
//
// A native object has a node when the model keeps a native word for it. It is
// given what can be seen first: the children of a node wait for nothing until
// that is expanded. What is expanded may be long, so it waits in runs. A run is
// known by its first node alone; the nodes below that one on the screen belong
// to it, down to one that the native object has. So nodes come and go behind
// the first one of a run without a word about it. Of a collapsed node nothing
// has to wait: it is opened when it is expanded again. One that the native
// object has not expanded yet holds up what stands behind it until then.
#pragma once

#include <deque>

#include "ZuTreeModel.h"

namespace zustd {

class PendingNodes {
public:
    bool isEmpty() const noexcept { return runs_.empty(); }
    void clear() noexcept { runs_.clear(); }

    // After the native object has lost all of its nodes: it needs all that can
    // be seen.
    void restart(const TreeModel& model);
    // After a node that is there was expanded: what can be seen below it comes
    // ahead of what waits by now.
    void open(const TreeModel& model, TreeNode node);
    // After a node was added, which is not to be given at once.
    void add(const TreeModel& model, TreeNode node);
    // Before a node is removed; what waits behind it goes on waiting.
    void forget(const TreeModel& model, TreeNode node);

    // Whether a node that was added can be given at once: what is above it on
    // the screen is there. Otherwise it belongs to a run, waits for a node that
    // is to be opened, or cannot be seen.
    static bool isNext(const TreeModel& model, TreeNode node);

    // The next node, which the caller gives to the native object before it
    // comes back; kNoNode when nothing waits.
    TreeNode take(const TreeModel& model);

private:
    std::deque<TreeNode> runs_;
};

}  // namespace zustd
