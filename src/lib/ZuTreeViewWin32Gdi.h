// The Windows half of a tree view: a SysTreeView32 that mirrors the model.
//
// The window is given the nodes that can be seen: what is below a node when
// that is first expanded. Where these are many, they come in slices, each on a
// message of its own, so that the window goes on answering meanwhile; so does
// the expanding and collapsing of many nodes at once. Check boxes are pictures
// of an item's state that this backend switches by itself. After changes that
// were not mirrored one by one the window is filled anew as a whole, with the
// scroll position kept. That goes for the removal of many nodes in one go, too:
// for each one that is removed alone the system may look at all of its items.
#pragma once

#include <deque>

#include "ZuItemControlWin32Gdi.h"
#include "ZuNativeTreeView.h"
#include "ZuPendingNodes.h"

namespace zustd {

class TreeViewWin32Gdi : public TreeViewImplementation, public ItemControlWin32Gdi {
public:
    // The window, which may be null, is the parent of a tree view outside of
    // any surface.
    explicit TreeViewWin32Gdi(HWND hostWindow) noexcept
        : ItemControlWin32Gdi(hostWindow, L"TreeViewWin32Gdi::handleMultiWindowMessage") {}

    void synchronizeWithAbstraction() override;
    void setEnableRedraw(bool enable) override;
    void releaseNativeObject() override;
    bool hasNativeObject() const override { return window() != nullptr; }
    // Without native object, or with redrawing off, when there is one again.
    void ensureNodeVisible(TreeNode node) override;
    // Of the node's caption, as far as the window shows it by now.
    Rect getNodeBoundary(TreeNode node) const override;

protected:
    void mirrorAdded(TreeNode node) override;
    void mirrorRemoving(TreeNode node) override;
    void mirrorCleared() override;
    void mirrorNode(TreeNode node) override;
    void mirrorExpanded(TreeNode node) override;
    void mirrorAllExpanded(TreeNode top) override;
    void mirrorSelection() override;

    bool onNotification(const WindowMessage& message, LRESULT& result) override;
    bool onWindowMessage(const WindowMessage& message, LRESULT& result) override;

private:
    // What the model says about an item's state, but for TVIS_EXPANDED.
    static constexpr UINT kStates = TVIS_BOLD | TVIS_STATEIMAGEMASK;

    Outcome initializeFromDescriptor();
    void synchronize();
    void pushLook();
    // Whether single changes can be brought into the window.
    bool isReady() const noexcept { return window() != nullptr && filled_ && !isStale(); }
    bool isInLongBurst();
    void orAnew(bool succeeded) noexcept;
    void catchUp();
    void showButton(TreeNode node, bool hasChildren);
    void select(TreeNode node);
    void showAwaited();

    // Items
    void fill();
    TreeNode firstSeen() const;
    void insert(TreeNode node);
    HTREEITEM placeAfter(TreeNode previous) const;
    wchar_t* textOf(TreeNode node) const;
    UINT stateOf(TreeNode node) const;
    HTREEITEM itemOf(TreeNode node) const;
    TreeNode nodeOf(LPARAM word) const;
    bool expand(TreeNode node);
    bool expandItem(TreeNode node);
    bool isItemExpanded(TreeNode node) const;
    void reveal(TreeNode node);
    void need(TreeNode node);

    // Slices
    bool mirrorSubtree(TreeNode top);
    bool hasWork() const noexcept { return !pending_.isEmpty() || !unsettled_.empty(); }
    bool insertNext();
    bool workNext();
    void workSlice(bool (TreeViewWin32Gdi::*step)());
    bool awaitSlice();
    void workOn();
    void workLater();
    void continueWork();
    void beginAnew() noexcept;
    void forgetWork() noexcept;

    // The user
    bool acceptExpanding(const NMTREEVIEWW& change);
    TreeNode nodeAt(LPARAM point, UINT parts) const;
    void undoRefused();
    void reportSelection();
    void reportRightClick();
    bool toggle(TreeNode node);

    bool hasCheckBoxes_ = false;
    // Whether the window has been filled at all.
    bool filled_ = false;
    // Something is to be done with the window's next message, or when redrawing
    // is on again.
    bool isBehind_ = false;
    // What the user did with the message under way.
    bool selectionChanged_ = false;
    bool rightClicked_ = false;
    TreeNode refused_ = kNoNode;
    // While its receivers are asked whether it may be expanded or collapsed.
    TreeNode underWay_ = kNoNode;
    TreeNode awaitsVisible_ = kNoNode;
    // What the window has not been given.
    PendingNodes pending_;
    // Nodes that the window may have to expand or to collapse.
    std::deque<TreeNode> unsettled_;
    // One behind which its level has nothing; kNoNode when none is known.
    TreeNode lastOfLevel_ = kNoNode;
    // Where the right button went down last.
    LPARAM rightPoint_ = 0;
};

}  // namespace zustd
