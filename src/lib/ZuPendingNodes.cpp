#include "ZuPendingNodes.h"

namespace zustd {

namespace {

bool isThere(const TreeModel& model, TreeNode node) { return model.nativeWord(node) != 0; }

// Whether the native object can have children of a node; of kNoNode always.
bool isOpen(const TreeModel& model, TreeNode parent) {
    return parent == kNoNode || (isThere(model, parent) && model.isExpanded(parent));
}

// The node below this one on the screen.
TreeNode nextSeen(const TreeModel& model, TreeNode node) {
    return model.isExpanded(node) ? model.next(node) : model.nextBeyond(node);
}

// The node above this one on the screen, if it can be seen; kNoNode for the first.
TreeNode seenAbove(const TreeModel& model, TreeNode node) {
    TreeNode above = model.previousSibling(node);
    if (above == kNoNode) {
        return model.parent(node);
    }
    while (model.isExpanded(above) && model.childCount(above) != 0) {
        above = model.lastChild(above);
    }
    return above;
}

}  // namespace

void PendingNodes::restart(const TreeModel& model) {
    runs_.clear();
    if (const TreeNode first = model.firstRoot(); first != kNoNode) {
        runs_.push_back(first);
    }
}

void PendingNodes::open(const TreeModel& model, TreeNode node) {
    // Runs that begin here are found again, as far as they can be seen.
    forget(model, node);
    std::deque<TreeNode> found;
    const TreeNode end = model.nextBeyond(node);
    bool follows = true;
    for (TreeNode next = model.firstChild(node); next != kNoNode && next != end;
         next = nextSeen(model, next)) {
        const bool there = isThere(model, next);
        if (!there && follows) {
            found.push_back(next);
        }
        follows = there;
    }
    runs_.insert(runs_.begin(), found.begin(), found.end());
}

void PendingNodes::add(const TreeModel& model, TreeNode node) {
    if (isNext(model, node)) {
        runs_.push_front(node);
    }
}

void PendingNodes::forget(const TreeModel& model, TreeNode node) {
    const TreeNode beyond = model.nextBeyond(node);
    for (TreeNode& first : runs_) {
        if (model.contains(first) && model.isAncestorOf(node, first)) {
            first = beyond;
        }
    }
    std::erase(runs_, kNoNode);
    // What stood behind nodes that nobody has asked for yet is next now.
    if (beyond != kNoNode && !isThere(model, beyond) && isOpen(model, model.parent(beyond)) &&
        (runs_.empty() || runs_.front() != beyond)) {
        runs_.push_front(beyond);
    }
}

bool PendingNodes::isNext(const TreeModel& model, TreeNode node) {
    if (!isOpen(model, model.parent(node))) {
        return false;
    }
    const TreeNode above = seenAbove(model, node);
    return above == kNoNode || isThere(model, above);
}

TreeNode PendingNodes::take(const TreeModel& model) {
    while (!runs_.empty()) {
        TreeNode& first = runs_.front();
        if (!model.contains(first) || isThere(model, first)) {
            runs_.pop_front();
            continue;
        }
        // When what stood between two runs has gone, the one above comes first.
        TreeNode node = first;
        for (TreeNode before = model.previousSibling(node);
             before != kNoNode && !isThere(model, before); before = model.previousSibling(node)) {
            node = before;
        }
        first = nextSeen(model, node);
        return node;
    }
    return kNoNode;
}

}  // namespace zustd
