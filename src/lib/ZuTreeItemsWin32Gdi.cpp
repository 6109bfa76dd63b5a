#include "ZuTreeItemsWin32Gdi.h"

#include "ZuGeometryWin32Gdi.h"

namespace zustd {

void TreeItemsWin32Gdi::clearItems() {
    // With a selection every removed item would hand it on to the next one.
    selectItem(kNoNode);
    sendData(TVM_DELETEITEM, TVI_ROOT);
    model().clearNativeWords();
    lastOfLevel_ = kNoNode;
}

void TreeItemsWin32Gdi::insert(TreeNode node) {
    const TreeNode parent = model().parent(node);
    const TreeNode previous = model().previousSibling(node);
    TVINSERTSTRUCTW item{};
    item.hParent = parent != kNoNode ? itemOf(parent) : TVI_ROOT;
    item.hInsertAfter = placeAfter(previous);
    item.item = shownAs(node);
    item.item.mask |= TVIF_PARAM | TVIF_CHILDREN;
    item.item.lParam = static_cast<LPARAM>(TreeModel::placeOf(node));
    item.item.state |= model().isExpanded(node) ? UINT{TVIS_EXPANDED} : 0U;
    item.item.stateMask |= TVIS_EXPANDED;
    item.item.cChildren = model().childCount(node) != 0;
    model().setNativeWord(node, ZU_SYSTEM(sendData(TVM_INSERTITEMW, &item)));
    if (item.hInsertAfter == TVI_LAST) {
        lastOfLevel_ = node;
    }
    // The system takes one without children for collapsed.
    if (previous == kNoNode && parent != kNoNode && model().isExpanded(parent)) {
        expandItem(parent);
    }
}

// Versions differ in how far they walk along the siblings to find a place. Some
// walk to the place after a given item, and to tell whether that is the last
// one, but know the end; so the end is named where it is known to be meant.
HTREEITEM TreeItemsWin32Gdi::placeAfter(TreeNode previous) const {
    if (previous == kNoNode) {
        return TVI_FIRST;
    }
    const HTREEITEM item = itemOf(previous);
    ZU_ASSERT(item != nullptr);
    const bool isLast =
        previous == lastOfLevel_ || TreeView_GetNextSibling(window(), item) == nullptr;
    return isLast ? TVI_LAST : item;
}

// The window copies the caption.
TVITEMW TreeItemsWin32Gdi::shownAs(TreeNode node) const {
    const TreeModel& model = this->model();
    TVITEMW item{};
    item.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_STATE;
    item.hItem = itemOf(node);
    item.pszText = const_cast<wchar_t*>(model.caption(node).c_str());
    item.iImage = nativeImage(model.bitmap(node));
    item.iSelectedImage = item.iImage;
    item.state = model.isEmphasized(node) ? UINT{TVIS_BOLD} : 0U;
    item.state |= getAbstraction().hasCheckBoxes() ? nativeCheck(model.isChecked(node)) : 0U;
    item.stateMask = TVIS_BOLD | TVIS_STATEIMAGEMASK;
    return item;
}

// The caption as well: the window repaints the item and measures it anew.
void TreeItemsWin32Gdi::updateItem(TreeNode node) {
    if (itemOf(node) != nullptr) {
        TVITEMW item = shownAs(node);
        sendData(TVM_SETITEMW, &item);
    }
}

void TreeItemsWin32Gdi::showButton(TreeNode node, bool hasChildren) {
    TVITEMW item{};
    item.mask = TVIF_CHILDREN | TVIF_STATE;
    item.hItem = itemOf(node);
    // It has no item below it: some versions would leave it expanded for good.
    item.stateMask = TVIS_EXPANDED;
    item.cChildren = hasChildren;
    sendData(TVM_SETITEMW, &item);
}

void TreeItemsWin32Gdi::expandItem(TreeNode node) {
    const bool expanded = model().isExpanded(node);
    if (expanded != isItemExpanded(node)) {
        send(TVM_EXPAND, expanded ? TVE_EXPAND : TVE_COLLAPSE, wordOf(node));
    }
    if (!expanded && isItemExpanded(node)) {
        // Some versions do nothing as long as there is no item below it.
        showButton(node, model().childCount(node) != 0);
    }
}

bool TreeItemsWin32Gdi::isItemExpanded(TreeNode node) const {
    const auto item = static_cast<WPARAM>(wordOf(node));
    return hasFlag(send(TVM_GETITEMSTATE, item, TVIS_EXPANDED), TVIS_EXPANDED);
}

// The timer's number is one that the control does not use itself.
bool TreeItemsWin32Gdi::await(bool more) {
    const auto timer = reinterpret_cast<UINT_PTR>(this);
    if (more) {
        return SetTimer(window(), timer, USER_TIMER_MINIMUM, nullptr) != 0;
    }
    KillTimer(window(), timer);
    return true;
}

HTREEITEM TreeItemsWin32Gdi::itemOf(TreeNode node) const {
    return window() != nullptr && model().contains(node)
               ? reinterpret_cast<HTREEITEM>(model().nativeWord(node))
               : nullptr;
}

TreeNode TreeItemsWin32Gdi::nodeOf(const TVITEMW& item) const {
    const TreeNode node = model().nodeAt(static_cast<std::uint32_t>(item.lParam));
    return itemOf(node) == item.hItem ? node : kNoNode;
}

TreeNode TreeItemsWin32Gdi::nodeOf(HTREEITEM item) const {
    TVITEMW found{};
    found.mask = TVIF_PARAM;
    found.hItem = item;
    return item != nullptr && TreeView_GetItem(window(), &found) ? nodeOf(found) : kNoNode;
}

TreeNode TreeItemsWin32Gdi::nodeAt(LPARAM point, UINT parts) const {
    TVHITTESTINFO hit{};
    hit.pt = {GET_X_LPARAM(point), GET_Y_LPARAM(point)};
    const HTREEITEM item = TreeView_HitTest(window(), &hit);
    return hasFlag(hit.flags, parts) ? nodeOf(item) : kNoNode;
}

Rect TreeItemsWin32Gdi::boundaryOf(TreeNode node) const {
    const LPARAM item = wordOf(node);
    RECT caption{};
    RECT client{};
    RECT seen{};
    // The message takes the item where it leaves the rectangle.
    std::memcpy(&caption, &item, sizeof(item));
    if (item != 0 && send(TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&caption)) != FALSE) {
        GetClientRect(window(), &client);
        IntersectRect(&seen, &caption, &client);
    }
    return portableRect(seen);
}

}  // namespace zustd
