#include "ZuTreeModel.h"

namespace zustd {

namespace {

const std::wstring kNoKey;

}  // namespace

// A handle is the node's place with its generation above it. A generation is
// odd while the place is taken, so that no handle is kNoNode.
TreeNode TreeModel::handleOf(Index index) const noexcept {
    return index == kNone
               ? kNoNode
               : static_cast<TreeNode>((std::uint64_t{nodes_[index].generation} << 32) | index);
}

bool TreeModel::contains(TreeNode node) const noexcept {
    const auto bits = static_cast<std::uint64_t>(node);
    const auto index = static_cast<std::size_t>(bits & 0xFFFFFFFF);
    const auto generation = static_cast<std::uint32_t>(bits >> 32);
    return index < nodes_.size() && (generation & 1) != 0 && nodes_[index].generation == generation;
}

TreeNode TreeModel::nodeAt(std::uint32_t place) const noexcept {
    const TreeNode node = place < nodes_.size() ? handleOf(place) : kNoNode;
    return contains(node) ? node : kNoNode;
}

TreeModel::Index TreeModel::indexOf(TreeNode node) const {
    ZU_ASSERT(contains(node));
    return static_cast<Index>(static_cast<std::uint64_t>(node));
}

// --- Changes --------------------------------------------------------------------------------

TreeNode TreeModel::addRoot(std::wstring_view key, const std::wstring& caption) {
    const Index index = take(key, caption);
    link(index, kNone, lastRoot_);
    return handleOf(index);
}

TreeNode TreeModel::addChild(TreeNode parent, std::wstring_view key, const std::wstring& caption) {
    const Index above = indexOf(parent);
    const Index index = take(key, caption);
    link(index, above, nodes_[above].lastChild);
    return handleOf(index);
}

TreeNode TreeModel::addSibling(TreeNode sibling, std::wstring_view key,
                               const std::wstring& caption) {
    const Index before = indexOf(sibling);
    const Index index = take(key, caption);
    link(index, nodes_[before].parent, before);
    return handleOf(index);
}

// A new node that is linked to nothing yet.
TreeModel::Index TreeModel::take(std::wstring_view key, const std::wstring& caption) {
    ZU_ASSERT(key.empty() || !nodesByKey_.contains(key));
    std::wstring copy = caption;
    if (free_.empty()) {
        ZU_ASSERT(nodes_.size() < kNone);
        nodes_.emplace_back();
        // Room to give the place back, which must not fail.
        free_.reserve(nodes_.capacity());
        free_.push_back(static_cast<Index>(nodes_.size() - 1));
    }
    const Index index = free_.back();
    const std::wstring* storedKey = nullptr;
    if (!key.empty()) {
        storedKey = &nodesByKey_.findOrInsert(key, index).first.key;
    }
    free_.pop_back();
    Node& node = nodes_[index];
    const std::uint32_t generation = node.generation + 1;
    node = Node();
    node.generation = generation;
    node.caption = std::move(copy);
    node.key = storedKey;
    ++nodeCount_;
    return index;
}

// Behind previous, or in front of all siblings for kNone.
void TreeModel::link(Index index, Index parent, Index previous) noexcept {
    Index& first = parent == kNone ? firstRoot_ : nodes_[parent].firstChild;
    Index& last = parent == kNone ? lastRoot_ : nodes_[parent].lastChild;
    const Index next = previous == kNone ? first : nodes_[previous].next;
    nodes_[index].parent = parent;
    nodes_[index].previous = previous;
    nodes_[index].next = next;
    (previous == kNone ? first : nodes_[previous].next) = index;
    (next == kNone ? last : nodes_[next].previous) = index;
    if (parent != kNone) {
        ++nodes_[parent].childCount;
    }
}

void TreeModel::unlink(Index index) noexcept {
    const Node& node = nodes_[index];
    Index& first = node.parent == kNone ? firstRoot_ : nodes_[node.parent].firstChild;
    Index& last = node.parent == kNone ? lastRoot_ : nodes_[node.parent].lastChild;
    (node.previous == kNone ? first : nodes_[node.previous].next) = node.next;
    (node.next == kNone ? last : nodes_[node.next].previous) = node.previous;
    if (node.parent != kNone) {
        --nodes_[node.parent].childCount;
    }
}

void TreeModel::release(Index index) noexcept {
    if (handleOf(index) == selected_) {
        selected_ = kNoNode;
    }
    Node& node = nodes_[index];
    if (node.key != nullptr) {
        // The key is part of the entry that goes.
        const std::wstring_view key = *node.key;
        node.key = nullptr;
        nodesByKey_.remove(key);
    }
    node.caption = std::wstring();
    ++node.generation;
    free_.push_back(index);
    --nodeCount_;
}

// From the leaves upwards, without recursion: trees may be deep.
void TreeModel::remove(TreeNode node) {
    const Index top = indexOf(node);
    unlink(top);
    for (Index current = top;;) {
        while (nodes_[current].firstChild != kNone) {
            current = nodes_[current].firstChild;
        }
        if (current == top) {
            release(top);
            return;
        }
        const Index parent = nodes_[current].parent;
        const Index next = nodes_[current].next;
        nodes_[parent].firstChild = next;
        release(current);
        current = next != kNone ? next : parent;
    }
}

void TreeModel::clear() noexcept {
    // The generations stay, so that no old handle fits a new node.
    while (firstRoot_ != kNone) {
        remove(handleOf(firstRoot_));
    }
}

// --- Steps ----------------------------------------------------------------------------------

TreeNode TreeModel::lastSibling(TreeNode node) const {
    const Index parent = at(node).parent;
    return handleOf(parent == kNone ? lastRoot_ : nodes_[parent].lastChild);
}

TreeNode TreeModel::next(TreeNode node) const {
    const Index index = indexOf(node);
    const Index child = nodes_[index].firstChild;
    return handleOf(child != kNone ? child : beyond(index));
}

TreeNode TreeModel::previous(TreeNode node) const {
    const Node& here = at(node);
    if (here.previous == kNone) {
        return handleOf(here.parent);
    }
    Index index = here.previous;
    while (nodes_[index].lastChild != kNone) {
        index = nodes_[index].lastChild;
    }
    return handleOf(index);
}

TreeModel::Index TreeModel::beyond(Index index) const noexcept {
    while (index != kNone && nodes_[index].next == kNone) {
        index = nodes_[index].parent;
    }
    return index == kNone ? kNone : nodes_[index].next;
}

bool TreeModel::isAncestorOf(TreeNode ancestor, TreeNode node) const {
    const Index wanted = indexOf(ancestor);
    Index index = indexOf(node);
    while (index != kNone && index != wanted) {
        index = nodes_[index].parent;
    }
    return index != kNone;
}

TreeNode TreeModel::standInFor(TreeNode node) const {
    TreeNode seen = node;
    for (TreeNode above = node; above != kNoNode; above = parent(above)) {
        seen = isExpanded(above) ? seen : above;
    }
    return seen;
}

// --- Properties -----------------------------------------------------------------------------

TreeNode TreeModel::find(std::wstring_view key) const noexcept {
    const Index* index = nodesByKey_.find(key);
    return index != nullptr ? handleOf(*index) : kNoNode;
}

const std::wstring& TreeModel::key(TreeNode node) const {
    const std::wstring* key = at(node).key;
    return key != nullptr ? *key : kNoKey;
}

bool TreeModel::select(TreeNode node) {
    if (node != kNoNode) {
        indexOf(node);
    }
    return assign(selected_, node);
}

void TreeModel::clearNativeWords() noexcept {
    for (Node& node : nodes_) {
        node.nativeWord = 0;
    }
}

}  // namespace zustd
