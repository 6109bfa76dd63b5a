#include "ZuTreeViewWin32Gdi.h"

#include <cstring>

namespace zustd {

namespace {

constexpr DWORD kStyle = WS_TABSTOP | WS_CLIPSIBLINGS | TVS_HASBUTTONS | TVS_HASLINES |
                         TVS_LINESATROOT | TVS_SHOWSELALWAYS | TVS_DISABLEDRAGDROP;
// A burst is long with so many changes and one more for each so many nodes.
constexpr std::size_t kLongBurst = 64;
constexpr std::size_t kLongBurstPart = 16;

}  // namespace

// --- State to window ------------------------------------------------------------------------

void TreeViewWin32Gdi::synchronizeWithAbstraction() {
    guarded(L"TreeViewWin32Gdi::synchronizeWithAbstraction", [this] { synchronize(); });
}

void TreeViewWin32Gdi::synchronize() {
    settle();
    const Mirroring mirroring(*this);
    if (initializeFromDescriptor() == Outcome::kNoSurface) {
        return;
    }
    pushLook();
    if (!filled_ || (isStale() && isRedrawEnabled())) {
        fill();
    }
    if (isRedrawEnabled() && !isAnswering()) {
        if (std::exchange(isBehind_, false)) {
            workOn();
        }
        showAwaited();
    }
}

void TreeViewWin32Gdi::setEnableRedraw(bool enable) {
    TreeViewImplementation::setEnableRedraw(enable);
    guarded(L"TreeViewWin32Gdi::setEnableRedraw", [this] {
        catchUp();
        if (isReady() && isRedrawEnabled()) {
            showAwaited();
        }
    });
}

TreeViewWin32Gdi::Outcome TreeViewWin32Gdi::initializeFromDescriptor() {
    NativeTreeView& tree = getAbstraction();
    initializeCommonControl(ICC_TREEVIEW_CLASSES);
    const bool anew = std::exchange(hasCheckBoxes_, tree.hasCheckBoxes()) != tree.hasCheckBoxes();
    const Outcome outcome = synchronizeWindow(tree, {WC_TREEVIEWW, kStyle, WS_EX_CLIENTEDGE}, anew);
    if (outcome == Outcome::kMade) {
        forgetPushed();
        forgetWork();
        filled_ = false;
        send(TVM_SETUNICODEFORMAT, TRUE);
        send(TVM_SETEXTENDEDSTYLE, TVS_EX_DOUBLEBUFFER, TVS_EX_DOUBLEBUFFER);
    }
    return outcome;
}

void TreeViewWin32Gdi::pushLook() {
    NativeTreeView& tree = getAbstraction();
    synchronizeFont(tree.font());
    if (const auto colors = changedColors()) {
        send(TVM_SETTEXTCOLOR, 0, static_cast<LPARAM>(colors->text));
        send(TVM_SETBKCOLOR, 0, static_cast<LPARAM>(colors->background));
    }
    if (updateImages(tree.bitmaps().get())) {
        send(TVM_SETIMAGELIST, TVSIL_NORMAL, reinterpret_cast<LPARAM>(images()));
    }
    if (updateCheckImages(hasCheckBoxes_, 0)) {
        send(TVM_SETIMAGELIST, TVSIL_STATE, reinterpret_cast<LPARAM>(checkImages()));
    }
}

void TreeViewWin32Gdi::releaseNativeObject() {
    releaseItems();
    filled_ = false;
    forgetWork();
}

// --- Single changes -------------------------------------------------------------------------

// Whether the change at hand is one of a burst that has become long.
bool TreeViewWin32Gdi::isInLongBurst() {
    const std::size_t count = getAbstraction().model().nodeCount();
    const bool isLong = deferRedraw() > kLongBurst + count / kLongBurstPart;
    isBehind_ = isBehind_ || isLong;
    return isLong;
}

// A change that failed is made up for with the window's next message: the rest
// would have no place.
void TreeViewWin32Gdi::orAnew(bool succeeded) noexcept {
    if (!succeeded) {
        beginAnew();
        isBehind_ = true;
    }
}

void TreeViewWin32Gdi::catchUp() {
    // Nor while the window works on items that would be replaced.
    if (!isBehind_ || isMirroring() || isAnswering() || !isRedrawEnabled() ||
        getAbstraction().isUpdating()) {
        return;
    }
    isBehind_ = false;
    if (isStale()) {
        synchronizeWithAbstraction();
    } else {
        workOn();
    }
}

void TreeViewWin32Gdi::showButton(TreeNode node, bool hasChildren) {
    TVITEMW item{};
    item.mask = TVIF_CHILDREN | TVIF_STATE;
    item.hItem = itemOf(node);
    // It has no item below it: some versions would leave it expanded for good.
    item.stateMask = TVIS_EXPANDED;
    item.cChildren = hasChildren ? 1 : 0;
    if (item.hItem != nullptr) {
        send(TVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    }
}

void TreeViewWin32Gdi::mirrorAdded(TreeNode node) {
    orAnew(guarded(L"TreeViewWin32Gdi::mirrorAdded", [&] {
        if (!filled_) {
            return;
        }
        const TreeModel& model = getAbstraction().model();
        const Mirroring mirroring(*this);
        if (const TreeNode parent = model.parent(node);
            parent != kNoNode && model.childCount(parent) == 1) {
            showButton(parent, true);
        }
        if (!PendingNodes::isNext(model, node)) {
            return;
        }
        if (isInLongBurst()) {
            pending_.add(model, node);
        } else {
            insert(node);
        }
    }));
}

void TreeViewWin32Gdi::mirrorRemoving(TreeNode node) {
    orAnew(guarded(L"TreeViewWin32Gdi::mirrorRemoving", [&] {
        const TreeModel& model = getAbstraction().model();
        const Mirroring mirroring(*this);
        pending_.forget(model, node);
        if (const HTREEITEM item = itemOf(node); item != nullptr) {
            const bool isUnderWay =
                model.contains(underWay_) && model.isAncestorOf(node, underWay_);
            if (isInLongBurst() || isUnderWay) {
                markStale();
                isBehind_ = true;
                return;
            }
            if (model.selected() != kNoNode && model.isAncestorOf(node, model.selected())) {
                select(kNoNode);
            }
            send(TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(item));
        }
        if (const TreeNode parent = model.parent(node);
            parent != kNoNode && model.childCount(parent) == 1) {
            showButton(parent, false);
        }
    }));
}

void TreeViewWin32Gdi::mirrorCleared() {
    guarded(L"TreeViewWin32Gdi::mirrorCleared", [this] { fill(); });
}

void TreeViewWin32Gdi::mirrorNode(TreeNode node) {
    guarded(L"TreeViewWin32Gdi::mirrorNode", [&] {
        TVITEMW item{};
        item.hItem = itemOf(node);
        if (item.hItem == nullptr) {
            return;
        }
        const Mirroring mirroring(*this);
        // The caption as well: the window repaints the item and measures it anew.
        item.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_STATE;
        item.pszText = textOf(node);
        item.iImage = nativeImage(getAbstraction().model().bitmap(node));
        item.iSelectedImage = item.iImage;
        item.state = stateOf(node);
        item.stateMask = kStates;
        send(TVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    });
}

void TreeViewWin32Gdi::mirrorExpanded(TreeNode node) {
    orAnew(guarded(L"TreeViewWin32Gdi::mirrorExpanded", [&] {
        const Mirroring mirroring(*this);
        expand(node);
        workLater();
    }));
}

void TreeViewWin32Gdi::mirrorAllExpanded(TreeNode top) {
    orAnew(guarded(L"TreeViewWin32Gdi::mirrorAllExpanded", [&] {
        if (!mirrorSubtree(top)) {
            fill();
        }
    }));
}

void TreeViewWin32Gdi::mirrorSelection() {
    guarded(L"TreeViewWin32Gdi::mirrorSelection", [this] {
        if (filled_) {
            const Mirroring mirroring(*this);
            select(getAbstraction().model().selected());
        }
    });
}

void TreeViewWin32Gdi::select(TreeNode node) {
    const HTREEITEM selected = TreeView_GetSelection(window());
    if (node != kNoNode && (selected == nullptr || itemOf(node) != selected)) {
        reveal(node);
    }
    if (const HTREEITEM item = itemOf(node); item != selected) {
        if (item != nullptr) {
            // Where it is to be scrolled to is known only with redrawing on.
            settle();
        }
        send(TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(item));
    }
}

// Does nothing without a node that waits for it.
void TreeViewWin32Gdi::showAwaited() {
    const TreeNode node = std::exchange(awaitsVisible_, kNoNode);
    if (!getAbstraction().model().contains(node)) {
        return;
    }
    settle();
    const Mirroring mirroring(*this);
    reveal(node);
    if (const HTREEITEM item = itemOf(node)) {
        send(TVM_ENSUREVISIBLE, 0, reinterpret_cast<LPARAM>(item));
    }
}

void TreeViewWin32Gdi::ensureNodeVisible(TreeNode node) {
    guarded(L"TreeViewWin32Gdi::ensureNodeVisible", [&] {
        TreeModel& model = getAbstraction().model();
        if (!model.contains(node)) {
            return;
        }
        bool changed = false;
        for (TreeNode above = model.parent(node); above != kNoNode; above = model.parent(above)) {
            changed = model.setExpanded(above, true) || changed;
        }
        awaitsVisible_ = node;
        if (isReady() && isRedrawEnabled()) {
            showAwaited();
        } else if (changed) {
            markStale();
        }
    });
}

Rect TreeViewWin32Gdi::getNodeBoundary(TreeNode node) const {
    return guarded(L"TreeViewWin32Gdi::getNodeBoundary", Rect(), [&] {
        if (isBehind_) {
            // A message brings the window up to date.
            send(WM_NULL);
        }
        const auto item = reinterpret_cast<std::uintptr_t>(itemOf(node));
        RECT caption{};
        RECT client{};
        RECT seen{};
        // The message takes the item where it leaves the rectangle.
        std::memcpy(&caption, &item, sizeof(item));
        if (item == 0 || send(TVM_GETITEMRECT, TRUE, reinterpret_cast<LPARAM>(&caption)) == FALSE ||
            !GetClientRect(window(), &client) || !IntersectRect(&seen, &caption, &client)) {
            return Rect();
        }
        return Rect{seen.left, seen.top, seen.right - 1, seen.bottom - 1};
    });
}

}  // namespace zustd
