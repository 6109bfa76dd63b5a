// What the user does with a tree.
#include "ZuTreeViewWin32Gdi.h"

#include <windowsx.h>

namespace zustd {

bool TreeViewWin32Gdi::onNotification(const WindowMessage& message, LRESULT& result) {
    if (message.id != WM_NOTIFY) {
        return false;
    }
    auto* header = reinterpret_cast<NMHDR*>(message.extra);
    if (isMirroring()) {
        return false;
    }
    NativeTreeView& tree = getAbstraction();
    const auto& change = *reinterpret_cast<const NMTREEVIEWW*>(header);
    switch (header->code) {
        case TVN_SELCHANGEDW:
            selectionChanged_ = true;
            return true;
        case TVN_ITEMEXPANDINGW:
            result = acceptExpanding(change) ? FALSE : TRUE;
            return true;
        case TVN_ITEMEXPANDEDW:
            // Some versions pass the selection of a collapsed node on without a word.
            selectionChanged_ = true;
            if (const TreeNode node = nodeOf(change.itemNew.lParam);
                node != kNoNode && node != refused_) {
                tree.acceptExpanded(node, (change.itemNew.state & TVIS_EXPANDED) != 0);
            }
            return true;
        case NM_RCLICK:
            rightClicked_ = true;
            return true;
        default:
            return false;
    }
}

// Whether the system may go on with it. A receiver that fills the node, or the
// whole tree, may have replaced the item under way: then it is done here.
bool TreeViewWin32Gdi::acceptExpanding(const NMTREEVIEWW& change) {
    NativeTreeView& tree = getAbstraction();
    const TreeNode node = nodeOf(change.itemNew.lParam);
    const bool expanding = change.action == TVE_EXPAND;
    if (node == kNoNode) {
        return false;
    }
    underWay_ = node;
    const bool isAccepted = tree.acceptExpanding(node, expanding);
    underWay_ = kNoNode;
    if (window() == nullptr) {
        return false;
    }
    if (!isAccepted) {
        refused_ = node;
        return false;
    }
    if (!tree.model().contains(node)) {
        return false;
    }
    const Mirroring mirroring(*this);
    const bool isSettled = itemOf(node) != nullptr && isItemExpanded(node) == expanding;
    if (isSettled || itemOf(node) != change.itemNew.hItem) {
        tree.acceptExpanded(node, expanding);
        expand(node);
        awaitSlice();
        // The window may have moved its selection, and says nothing of it here.
        selectionChanged_ = true;
        return false;
    }
    if (expanding && isReady()) {
        const BulkMirroring bulk(*this);
        pending_.open(tree.model(), node);
        workSlice(&TreeViewWin32Gdi::insertNext);
    } else if (!expanding) {
        pending_.forget(tree.model(), node);
    }
    return true;
}

TreeNode TreeViewWin32Gdi::nodeAt(LPARAM point, UINT parts) const {
    TVHITTESTINFO hit{};
    hit.pt = {GET_X_LPARAM(point), GET_Y_LPARAM(point)};
    TVITEMW item{};
    item.mask = TVIF_PARAM;
    item.hItem = TreeView_HitTest(window(), &hit);
    const bool found =
        item.hItem != nullptr && (hit.flags & parts) != 0 && TreeView_GetItem(window(), &item);
    return found ? nodeOf(item.lParam) : kNoNode;
}

// Some versions ask whether a node may be collapsed and do it all the same.
void TreeViewWin32Gdi::undoRefused() {
    const TreeNode node = std::exchange(refused_, kNoNode);
    const Mirroring mirroring(*this);
    if (node != kNoNode && expand(node)) {
        awaitSlice();
        select(getAbstraction().model().selected());
    }
}

void TreeViewWin32Gdi::reportSelection() {
    if (!std::exchange(selectionChanged_, false) || window() == nullptr) {
        return;
    }
    TVITEMW item{};
    item.mask = TVIF_PARAM;
    item.hItem = TreeView_GetSelection(window());
    const bool found = item.hItem != nullptr && TreeView_GetItem(window(), &item);
    NativeTreeView& tree = getAbstraction();
    const TreeNode chosen = found ? nodeOf(item.lParam) : kNoNode;
    // What is above it may be about to be collapsed.
    const TreeNode seen = tree.model().standInFor(chosen);
    tree.acceptSelection(seen);
    if (seen != chosen && hasNativeObject()) {
        mirrorSelection();
    }
}

void TreeViewWin32Gdi::reportRightClick() {
    if (std::exchange(rightClicked_, false)) {
        getAbstraction().acceptRightClick(nodeAt(rightPoint_, TVHT_ONITEM));
    }
}

bool TreeViewWin32Gdi::toggle(TreeNode node) {
    if (!hasCheckBoxes_ || !getAbstraction().model().contains(node)) {
        return false;
    }
    const bool checked = !getAbstraction().model().isChecked(node);
    getAbstraction().acceptChecked(node, checked);
    // The receiver may have removed it.
    mirrorNode(node);
    return true;
}

bool TreeViewWin32Gdi::onWindowMessage(const WindowMessage& message, LRESULT& result) {
    ItemControlWin32Gdi::onWindowMessage(message, result);
    catchUp();
    switch (message.id) {
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
            if (const TreeNode node = nodeAt(message.extra, TVHT_ONITEMSTATEICON);
                hasCheckBoxes_ && node != kNoNode) {
                SetFocus(message.window);
                return toggle(node);
            }
            break;
        case WM_DESTROY: {
            // What the window says about its items then is not the user's doing.
            const Mirroring mirroring(*this);
            letWindowAnswer(message, result);
            return true;
        }
        case WM_TIMER:
            if (message.wide == reinterpret_cast<WPARAM>(this)) {
                continueWork();
                return true;
            }
            break;
        case WM_RBUTTONDOWN:
            rightPoint_ = message.extra;
            break;
        case WM_KEYDOWN:
            if (message.wide == VK_SPACE && toggle(getAbstraction().model().selected())) {
                return true;
            }
            break;
        case WM_CHAR:
            // The search for captions would get it.
            if (message.wide == L' ' && hasCheckBoxes_) {
                return true;
            }
            break;
        case WM_CONTEXTMENU:
            // By the keyboard; the right button has its notification.
            if (message.extra == -1) {
                getAbstraction().acceptRightClick(getAbstraction().model().selected());
                return true;
            }
            break;
        default:
            break;
    }
    if (letWindowAnswer(message, result)) {
        catchUp();
        undoRefused();
        reportSelection();
        reportRightClick();
    }
    return true;
}

}  // namespace zustd
