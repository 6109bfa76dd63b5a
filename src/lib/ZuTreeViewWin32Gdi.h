// The Windows half of a tree view: a SysTreeView32 that mirrors the model.
//
// TreeFiller says which items the window gets and when, TreeItemsWin32Gdi makes them.
// After changes that were not mirrored one by one the window is filled anew as a whole,
// with the scroll position kept. That goes for the removal of many nodes in one go, too:
// for each one that is removed alone the system may look at all of its items.
#pragma once

#include "ZuTreeItemsWin32Gdi.h"

namespace zustd {

class TreeViewWin32Gdi : public TreeItemsWin32Gdi {
public:
    explicit TreeViewWin32Gdi(HWND hostWindow) noexcept
        : TreeItemsWin32Gdi(hostWindow, ZU_BACKEND_OPERATIONS) {}

    // Without native object, or with redrawing off, when there is one again.
    void ensureNodeVisible(TreeNode node) override;
    // Of the node's caption, as far as the window shows it by now.
    Rect getNodeBoundary(TreeNode node) const override;

protected:
    void mirrorAdded(TreeNode node) override;
    void mirrorRemoving(TreeNode node) override;
    void mirrorCleared() override {
        mirror(ZU_OPERATION, [this] { fill(); });
    }
    void mirrorNode(TreeNode node) override {
        mirror(ZU_OPERATION, [&] { updateItem(node); });
    }
    void mirrorExpanded(TreeNode node) override;
    void mirrorAllExpanded(TreeNode top) override;
    void mirrorSelection() override {
        mirror(ZU_OPERATION, [this] { select(model().selected()); });
    }

    void initializeFromDescriptor() override;
    void pushState() override;
    void catchUp() override;
    void onNotify(NMHDR& header, LRESULT& result) override;
    bool onItemMessage(const WindowMessage& message, LRESULT& result) override;
    void reportActions() override;
    bool toggleAt(LPARAM point) override { return toggle(nodeAt(point, TVHT_ONITEMSTATEICON)); }
    bool toggleFocused() override { return toggle(model().selected()); }
    void reportMenuKey() override { getAbstraction().acceptRightClick(model().selected()); }

private:
    // Whether single changes can be brought into the window.
    bool isReady() const noexcept { return window() != nullptr && !isStale(); }
    void fill();
    void workOn();
    bool isInLongBurst();
    // A change that failed is made up for with the window's next message: the rest
    // would have no place.
    template <class Body>
    void mirror(const wchar_t* operation, Body body) {
        const Mirroring mirroring(*this);
        if (!guarded(operation, body)) {
            state_ = TreeState::kStale;
        }
    }
    void select(TreeNode node);
    void reveal(TreeNode node);
    void showAwaited();
    void hold(TreeNode node);

    bool acceptExpanding(const NMTREEVIEWW& change);
    void undoRefused();
    void reportSelection();
    bool toggle(TreeNode node);

    // What the window was made for.
    bool hasBoxes_ = false;
    TreeFiller filler_{*this, state_};
    TreeNode awaitsVisible_ = kNoNode;
    // Stays in sight until nothing waits any more, or the user scrolls it away.
    TreeNode held_ = kNoNode;
    // While its receivers are asked whether it may be expanded or collapsed.
    TreeNode underWay_ = kNoNode;
    // What the user did with the message under way.
    bool selectionChanged_ = false;
    bool rightClicked_ = false;
    TreeNode refused_ = kNoNode;
    // Where the right button went down last.
    LPARAM rightPoint_ = 0;
};

}  // namespace zustd
