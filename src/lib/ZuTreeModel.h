// The nodes of a tree view: order, captions, keys, images and states.
//
// A node is named by a handle that stays valid until the node is removed and
// is not used again for another one. Steps from node to node, and the look-up
// by key, take constant time; the next and the previous node in the order of
// the screen, children before siblings, take it on average. What asks for all
// nodes above one takes a step for each.
//
// Nodes live in one vector with links by index, so that 100,000 of them are a
// handful of allocations besides their texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ZuHashMap.h"

namespace zustd {

enum class TreeNode : std::uint64_t {};
inline constexpr TreeNode kNoNode{0};

class TreeModel {
public:
    static constexpr std::int32_t kNoBitmap = -1;

    std::size_t nodeCount() const noexcept { return nodeCount_; }
    // False for kNoNode and for a node that was removed.
    bool contains(TreeNode node) const noexcept;
    // A node's place, in 32 bits; a later node may have it. The node that has it now,
    // or kNoNode.
    static std::uint32_t placeOf(TreeNode node) noexcept {
        return static_cast<std::uint32_t>(node);
    }
    TreeNode nodeAt(std::uint32_t place) const noexcept;

    // A new node as the last root, as the last child of a parent, or directly
    // after a sibling. The key may be empty; one that is in use fails the
    // assertion "key.empty() || !nodesByKey_.contains(key)".
    // Nodes passed here and below must exist, or the assertion
    // "contains(node)" fails.
    TreeNode addRoot(std::wstring_view key, const std::wstring& caption);
    TreeNode addChild(TreeNode parent, std::wstring_view key, const std::wstring& caption);
    TreeNode addSibling(TreeNode sibling, std::wstring_view key, const std::wstring& caption);
    // With all below it.
    void remove(TreeNode node);
    void clear() noexcept;

    // kNoNode where there is none.
    TreeNode firstRoot() const noexcept { return handleOf(firstRoot_); }
    TreeNode lastRoot() const noexcept { return handleOf(lastRoot_); }
    TreeNode firstChild(TreeNode node) const { return handleOf(at(node).firstChild); }
    TreeNode lastChild(TreeNode node) const { return handleOf(at(node).lastChild); }
    TreeNode parent(TreeNode node) const { return handleOf(at(node).parent); }
    TreeNode nextSibling(TreeNode node) const { return handleOf(at(node).next); }
    TreeNode previousSibling(TreeNode node) const { return handleOf(at(node).previous); }
    TreeNode lastSibling(TreeNode node) const;
    // In the order of the fully expanded tree.
    TreeNode next(TreeNode node) const;
    TreeNode previous(TreeNode node) const;
    // The first node in that order which is not below this one.
    TreeNode nextBeyond(TreeNode node) const { return handleOf(beyond(indexOf(node))); }
    std::size_t childCount(TreeNode node) const { return at(node).childCount; }
    // True for the node itself, too.
    bool isAncestorOf(TreeNode ancestor, TreeNode node) const;
    // The outermost collapsed node above this one, or the node itself where all
    // above it are expanded; kNoNode for kNoNode.
    TreeNode standInFor(TreeNode node) const;

    // kNoNode when no node has the key.
    TreeNode find(std::wstring_view key) const noexcept;
    const std::wstring& key(TreeNode node) const;
    const std::wstring& caption(TreeNode node) const { return at(node).caption; }
    // Each returns whether anything changed.
    bool setCaption(TreeNode node, const std::wstring& caption) {
        return assign(at(node).caption, caption);
    }
    std::int32_t bitmap(TreeNode node) const { return at(node).bitmap; }
    bool setBitmap(TreeNode node, std::int32_t bitmap) { return assign(at(node).bitmap, bitmap); }
    bool isExpanded(TreeNode node) const { return at(node).expanded; }
    bool setExpanded(TreeNode node, bool expanded) { return assign(at(node).expanded, expanded); }
    bool isChecked(TreeNode node) const { return at(node).checked; }
    bool setChecked(TreeNode node, bool checked) { return assign(at(node).checked, checked); }
    bool isEmphasized(TreeNode node) const { return at(node).emphasized; }
    bool setEmphasized(TreeNode node, bool emphasized) {
        return assign(at(node).emphasized, emphasized);
    }

    // kNoNode when nothing is selected; removing the node selects nothing.
    TreeNode selected() const noexcept { return selected_; }
    // kNoNode selects nothing.
    bool select(TreeNode node);

    // A word that the backend keeps with a node, 0 at first.
    std::intptr_t nativeWord(TreeNode node) const { return at(node).nativeWord; }
    void setNativeWord(TreeNode node, std::intptr_t word) { at(node).nativeWord = word; }
    void clearNativeWords() noexcept;

private:
    using Index = std::uint32_t;
    static constexpr Index kNone = 0xFFFFFFFF;

    struct Node {
        Index parent = kNone;
        Index firstChild = kNone;
        Index lastChild = kNone;
        Index previous = kNone;
        Index next = kNone;
        // Counts the nodes that had this place; odd while one has it.
        std::uint32_t generation = 0;
        std::uint32_t childCount = 0;
        std::int32_t bitmap = kNoBitmap;
        std::intptr_t nativeWord = 0;
        std::wstring caption;
        // Of the map's entry; null for a node without a key.
        const std::wstring* key = nullptr;
        bool expanded = false;
        bool checked = false;
        bool emphasized = false;
    };

    template <class T>
    static bool assign(T& member, const T& value) {
        if (member == value) {
            return false;
        }
        member = value;
        return true;
    }

    TreeNode handleOf(Index index) const noexcept;
    Index indexOf(TreeNode node) const;
    const Node& at(TreeNode node) const { return nodes_[indexOf(node)]; }
    Node& at(TreeNode node) { return nodes_[indexOf(node)]; }
    Index take(std::wstring_view key, const std::wstring& caption);
    void link(Index index, Index parent, Index previous) noexcept;
    void unlink(Index index) noexcept;
    void release(Index index) noexcept;
    Index beyond(Index index) const noexcept;

    std::vector<Node> nodes_;
    std::vector<Index> free_;
    HashMap<Index> nodesByKey_;
    Index firstRoot_ = kNone;
    Index lastRoot_ = kNone;
    std::size_t nodeCount_ = 0;
    TreeNode selected_ = kNoNode;
};

}  // namespace zustd
