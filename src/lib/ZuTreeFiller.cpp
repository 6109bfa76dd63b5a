#include "ZuTreeFiller.h"

namespace zustd {

namespace {

// More nodes with children than these are not expanded or collapsed one by one,
// in a native tree with few items and with many.
constexpr std::size_t kFewParents = 8;
constexpr std::size_t kManyParents = 128;

}  // namespace

// The node above this one on the screen, if it can be seen; kNoNode for the first.
TreeNode TreeFiller::seenAbove(TreeNode node) const {
    const TreeModel& model = items_.model();
    TreeNode above = model.previousSibling(node);
    if (above == kNoNode) {
        return model.parent(node);
    }
    while (model.isExpanded(above) && model.childCount(above) != 0) {
        above = model.lastChild(above);
    }
    return above;
}

bool TreeFiller::isNext(TreeNode node) const {
    if (!isOpen(items_.model().parent(node))) {
        return false;
    }
    const TreeNode above = seenAbove(node);
    return above == kNoNode || isThere(above);
}

void TreeFiller::drop(TreeNode node) {
    const TreeModel& model = items_.model();
    const TreeNode beyond = model.nextBeyond(node);
    std::erase_if(runs_, [&](TreeNode first) {
        return !model.contains(first) || model.isAncestorOf(node, first);
    });
    // What stood behind it, or behind nodes that nobody has asked for yet, is next now.
    if (beyond != kNoNode && !isThere(beyond) && isOpen(model.parent(beyond)) &&
        (runs_.empty() || runs_.front() != beyond)) {
        runs_.push_front(beyond);
    }
}

// What can be seen below a node comes ahead of what waits; runs that begin there are found again.
void TreeFiller::findRuns(TreeNode node) {
    const TreeModel& model = items_.model();
    drop(node);
    std::deque<TreeNode> found;
    const TreeNode end = model.nextBeyond(node);
    bool follows = true;
    for (TreeNode next = model.firstChild(node); next != kNoNode && next != end;
         next = nextSeen(next)) {
        const bool there = isThere(next);
        if (!there && follows) {
            found.push_back(next);
        }
        follows = there;
    }
    runs_.insert(runs_.begin(), found.begin(), found.end());
}

// The next node; kNoNode when none waits.
TreeNode TreeFiller::take() {
    const TreeModel& model = items_.model();
    while (!runs_.empty()) {
        TreeNode& first = runs_.front();
        if (!model.contains(first) || isThere(first)) {
            runs_.pop_front();
            continue;
        }
        // When what stood between two runs has gone, the one above comes first.
        TreeNode node = first;
        for (TreeNode before = model.previousSibling(node); before != kNoNode && !isThere(before);
             before = model.previousSibling(node)) {
            node = before;
        }
        first = nextSeen(node);
        return node;
    }
    return kNoNode;
}

// False when no node waits.
bool TreeFiller::insertNext() {
    const TreeNode node = take();
    if (node == kNoNode) {
        return false;
    }
    try {
        items_.insert(node);
    } catch (...) {
        state_ = state_ == TreeState::kEmpty ? state_ : TreeState::kStale;
        throw;
    }
    return true;
}

// What is to be collapsed goes first, since nothing has to come into it then.
// What is to be expanded is filled before the next one.
bool TreeFiller::workNext() {
    const TreeModel& model = items_.model();
    while (!unsettled_.empty() && !model.contains(unsettled_.front())) {
        unsettled_.pop_front();
    }
    const bool collapses = !unsettled_.empty() && !model.isExpanded(unsettled_.front());
    if ((collapses || !insertNext()) && !unsettled_.empty()) {
        const TreeNode node = unsettled_.front();
        unsettled_.pop_front();
        settle(node);
    }
    return hasWork();
}

void TreeFiller::workSlice(bool (TreeFiller::*step)()) {
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + kSliceTime;
    std::size_t count = 0;
    while ((this->*step)() && ++count < kSlice && steady_clock::now() < end) {
    }
    goOn();
}

void TreeFiller::goOn() {
    if (!items_.await(hasWork())) {
        while (workNext()) {
        }
    }
}

void TreeFiller::restart() {
    runs_.clear();
    unsettled_.clear();
    if (const TreeNode first = items_.model().firstRoot(); first != kNoNode) {
        runs_.push_back(first);
    }
    work();
}

void TreeFiller::settle(TreeNode node) {
    const TreeModel& model = items_.model();
    if (!isThere(node)) {
        return;
    }
    if (!model.isExpanded(node)) {
        drop(node);
    } else {
        findRuns(node);
        // Without any child there it would not expand.
        const TreeNode child = model.firstChild(node);
        if (child != kNoNode && !isThere(child)) {
            insertNext();
        }
    }
    items_.expandItem(node);
}

bool TreeFiller::settleAll(TreeNode top) {
    const TreeModel& model = items_.model();
    const TreeNode end = top == kNoNode ? kNoNode : model.nextBeyond(top);
    const std::size_t most = items_.itemCount() > kSlice ? kManyParents : kFewParents;
    std::vector<TreeNode> parents;
    for (TreeNode node = top == kNoNode ? model.firstRoot() : top; node != end;
         node = model.next(node)) {
        if (model.childCount(node) != 0 && isThere(node)) {
            if (parents.size() + unsettled_.size() >= most) {
                return false;
            }
            parents.push_back(node);
        }
    }
    unsettled_.insert(unsettled_.end(), parents.begin(), parents.end());
    return true;
}

void TreeFiller::need(TreeNode node) {
    const TreeModel& model = items_.model();
    if (model.contains(node) && isOpen(model.parent(node))) {
        while (!isThere(node) && workNext()) {
        }
    }
}

void TreeFiller::reveal(TreeNode node) {
    const TreeModel& model = items_.model();
    std::vector<TreeNode> path;
    for (TreeNode above = node; above != kNoNode; above = model.parent(above)) {
        path.push_back(above);
    }
    for (auto step = path.rbegin(); step != path.rend(); ++step) {
        need(*step);
        if (*step != node && isThere(*step) && !items_.isItemExpanded(*step)) {
            settle(*step);
        }
    }
    goOn();
}

}  // namespace zustd
