// The items of a SysTreeView32: one for each node that the window has been given.
//
// An item carries its node's place, a word of the system being too narrow for a
// node where it has 32 bits; a node has its item as native word. What is asked for
// is done at once; when that is, and for which nodes, is up to the caller.
#pragma once

#include "ZuItemControlWin32Gdi.h"
#include "ZuNativeTreeView.h"

namespace zustd {

// Without window there are no items.
class TreeItemsWin32Gdi
    : public ControlBackendWin32Gdi<TreeViewImplementation, ItemControlWin32Gdi>,
      public ITreeItems {
public:
    TreeModel& model() const override { return TreeViewImplementation::model(); }
    std::size_t itemCount() const override { return static_cast<std::size_t>(send(TVM_GETCOUNT)); }
    void insert(TreeNode node) override;
    bool isItemExpanded(TreeNode node) const override;
    void expandItem(TreeNode node) override;
    bool await(bool more) override;

protected:
    using ControlBackendWin32Gdi::ControlBackendWin32Gdi;

    // Whether a WM_TIMER with this number is what was awaited.
    bool isAwaited(WPARAM timer) const noexcept { return timer == reinterpret_cast<WPARAM>(this); }

    // Removes all items, also those of a former window.
    void clearItems();
    // With what is below it.
    void removeItem(TreeNode node) { sendData(TVM_DELETEITEM, itemOf(node)); }
    // Caption, image and state.
    void updateItem(TreeNode node);
    bool hasItems(TreeNode node) const {
        return TreeView_GetChild(window(), itemOf(node)) != nullptr;
    }
    // Of a node without items below it.
    void showButton(TreeNode node, bool hasChildren);
    // For kNoNode, or without item, none.
    void selectItem(TreeNode node) { send(TVM_SELECTITEM, TVGN_CARET, wordOf(node)); }
    void scrollTo(TreeNode node) { send(TVM_SELECTITEM, TVGN_FIRSTVISIBLE, wordOf(node)); }
    void makeVisible(TreeNode node) { sendMirroring(TVM_ENSUREVISIBLE, 0, wordOf(node)); }

    // Null as long as the window does not have the node.
    HTREEITEM itemOf(TreeNode node) const;
    // The window may still have items of nodes that are gone: kNoNode for these.
    TreeNode nodeOf(const TVITEMW& item) const;
    // The node under a point of the client area, if that is one of these parts.
    TreeNode nodeAt(LPARAM point, UINT parts) const;
    HTREEITEM selectedItem() const { return TreeView_GetSelection(window()); }
    TreeNode selectedNode() const { return nodeOf(selectedItem()); }
    TreeNode firstSeen() const { return nodeOf(TreeView_GetFirstVisible(window())); }
    // Of the caption, as far as it is on the client area.
    Rect boundaryOf(TreeNode node) const;

private:
    LPARAM wordOf(TreeNode node) const { return reinterpret_cast<LPARAM>(itemOf(node)); }
    TreeNode nodeOf(HTREEITEM item) const;
    TVITEMW shownAs(TreeNode node) const;
    HTREEITEM placeAfter(TreeNode previous) const;

    // One behind which its level has nothing; kNoNode when none is known.
    TreeNode lastOfLevel_ = kNoNode;
};

}  // namespace zustd
