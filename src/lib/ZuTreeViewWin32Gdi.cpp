#include "ZuTreeViewWin32Gdi.h"

namespace zustd {

// --- State to window ------------------------------------------------------------------------

void TreeViewWin32Gdi::pushState() {
    const NativeTreeView& tree = getAbstraction();
    pushLook({TVM_SETTEXTCOLOR, TVM_SETBKCOLOR, TVM_SETIMAGELIST, TVSIL_NORMAL, TVSIL_STATE},
             tree.font(), tree.bitmaps().get(), tree.hasCheckBoxes());
    if (state_ == TreeState::kEmpty || (isStale() && isRedrawEnabled())) {
        if (!model().contains(awaitsVisible_)) {
            awaitsVisible_ = std::exchange(held_, kNoNode);
        }
        fill();
    }
    showAwaited();
}

void TreeViewWin32Gdi::initializeFromDescriptor() {
    constexpr DWORD kStyle = WS_TABSTOP | WS_CLIPSIBLINGS | TVS_HASBUTTONS | TVS_HASLINES |
                             TVS_LINESATROOT | TVS_SHOWSELALWAYS | TVS_DISABLEDRAGDROP;
    settle();
    const auto onMade = [this] {
        startAnew();
        hasBoxes_ = getAbstraction().hasCheckBoxes();
        state_ = TreeState::kEmpty;
        send(TVM_SETEXTENDEDSTYLE, TVS_EX_DOUBLEBUFFER, TVS_EX_DOUBLEBUFFER);
    };
    synchronizeWindow({WC_TREEVIEWW, kStyle, WS_EX_CLIENTEDGE}, onMade,
                      hasBoxes_ != getAbstraction().hasCheckBoxes());
}

void TreeViewWin32Gdi::fill() {
    if (isAnswering() && itemCount() != 0) {
        // The window may be at work on one of its items.
        state_ = TreeState::kStale;
        return;
    }
    // The node at the upper edge, or what hides it by now.
    const TreeNode top = model().standInFor(firstSeen());
    {
        const BulkMirroring bulk(*this);
        state_ = TreeState::kEmpty;
        clearItems();
        filler_.restart();
        filler_.need(top);
    }
    // Where things are is known only with redrawing on again.
    state_ = TreeState::kCurrent;
    select(model().selected());
    if (top != kNoNode) {
        scrollTo(top);
    }
}

void TreeViewWin32Gdi::workOn() {
    state_ = TreeState::kCurrent;
    // Not one that has been scrolled away meanwhile.
    const TreeNode held = boundaryOf(held_).isEmpty() ? kNoNode : held_;
    {
        const BulkMirroring bulk(*this);
        filler_.work();
    }
    hold(held);
}

// Not while the window works on items that would be replaced.
void TreeViewWin32Gdi::catchUp() {
    if (window() == nullptr || isMirroring() || isAnswering() || getAbstraction().isUpdating()) {
        return;
    }
    if (state_ == TreeState::kStale && isRedrawEnabled()) {
        synchronizeWithAbstraction();
    } else if (state_ == TreeState::kBehind) {
        workOn();
    }
}

// --- Single changes -------------------------------------------------------------------------

// Whether the change at hand is one of a burst that has become long.
bool TreeViewWin32Gdi::isInLongBurst() {
    // So many changes and one more for each so many nodes.
    constexpr std::size_t kLongBurst = 64;
    constexpr std::size_t kLongBurstPart = 16;
    return deferRedraw() > kLongBurst + model().nodeCount() / kLongBurstPart;
}

void TreeViewWin32Gdi::mirrorAdded(TreeNode node) {
    mirror(ZU_OPERATION, [&] {
        const TreeNode parent = model().parent(node);
        if (parent != kNoNode && model().childCount(parent) == 1) {
            showButton(parent, true);
        }
        if (!filler_.isNext(node)) {
            return;
        }
        if (isInLongBurst()) {
            filler_.add(node);
            state_ = TreeState::kBehind;
        } else {
            insert(node);
        }
    });
}

void TreeViewWin32Gdi::mirrorRemoving(TreeNode node) {
    mirror(ZU_OPERATION, [&] {
        const TreeModel& model = this->model();
        filler_.drop(node);
        if (itemOf(node) != nullptr) {
            const bool isUnderWay =
                model.contains(underWay_) && model.isAncestorOf(node, underWay_);
            if (isInLongBurst() || isUnderWay) {
                state_ = TreeState::kStale;
                return;
            }
            if (model.selected() != kNoNode && model.isAncestorOf(node, model.selected())) {
                selectItem(kNoNode);
            }
            removeItem(node);
        }
        const TreeNode parent = model.parent(node);
        if (parent != kNoNode && !hasItems(parent)) {
            // The system takes one without items for one without children, of which
            // some may wait until it is expanded.
            showButton(parent, model.childCount(parent) > 1);
        }
    });
}

void TreeViewWin32Gdi::mirrorExpanded(TreeNode node) {
    mirror(ZU_OPERATION, [&] {
        deferRedraw();
        filler_.settle(node);
        // The rest comes with the next message, together with what else does until then.
        state_ = TreeState::kBehind;
    });
}

void TreeViewWin32Gdi::mirrorAllExpanded(TreeNode top) {
    mirror(ZU_OPERATION, [&] {
        if (filler_.settleAll(top)) {
            workOn();
        } else {
            fill();
        }
    });
}

void TreeViewWin32Gdi::select(TreeNode node) {
    if (isReady() && selectedNode() != node) {
        reveal(node);
        selectItem(node);
    }
}

// Brings a node into the window, with what is above it expanded. Redrawing is on then:
// only so is it known where to scroll to.
void TreeViewWin32Gdi::reveal(TreeNode node) {
    const BulkMirroring bulk(*this);
    filler_.reveal(node);
}

// Does nothing without a node that waits for it, and as long as it would not be seen.
// A node that could not be brought into the window goes on waiting.
void TreeViewWin32Gdi::showAwaited() {
    if (isReady() && isRedrawEnabled() && model().contains(awaitsVisible_)) {
        reveal(awaitsVisible_);
        hold(std::exchange(awaitsVisible_, kNoNode));
    }
}

// Scrolls to a node, again after each slice of what waits: that would push it out.
void TreeViewWin32Gdi::hold(TreeNode node) {
    // Below a collapsed node it would have the window expand that.
    makeVisible(model().standInFor(node));
    held_ = filler_.hasWork() ? node : kNoNode;
}

void TreeViewWin32Gdi::ensureNodeVisible(TreeNode node) {
    guarded(ZU_OPERATION, [&] {
        if (!model().contains(node)) {
            return;
        }
        for (TreeNode above = model().parent(node); above != kNoNode;
             above = model().parent(above)) {
            model().setExpanded(above, true);
        }
        awaitsVisible_ = node;
        if (!isRedrawEnabled()) {
            markStale();
        }
        showAwaited();
    });
}

Rect TreeViewWin32Gdi::getNodeBoundary(TreeNode node) const {
    return guarded(ZU_OPERATION, Rect(), [&] {
        // A message brings the window up to date.
        send(WM_NULL);
        return boundaryOf(node);
    });
}

// --- What the user does ---------------------------------------------------------------------

void TreeViewWin32Gdi::onNotify(NMHDR& header, LRESULT& result) {
    if (isMirroring()) {
        return;
    }
    const auto& change = reinterpret_cast<const NMTREEVIEWW&>(header);
    switch (header.code) {
        case TVN_SELCHANGEDW:
            selectionChanged_ = true;
            break;
        case TVN_ITEMEXPANDINGW:
            result = acceptExpanding(change) ? FALSE : TRUE;
            break;
        case TVN_ITEMEXPANDEDW:
            // Some versions pass the selection of a collapsed node on without a word.
            selectionChanged_ = true;
            if (const TreeNode node = nodeOf(change.itemNew); node != kNoNode && node != refused_) {
                getAbstraction().acceptExpanded(node, hasFlag(change.itemNew.state, TVIS_EXPANDED));
            }
            break;
        case NM_RCLICK:
            rightClicked_ = true;
            break;
        default:
            break;
    }
}

// Whether the system may go on with it. A receiver that fills the node, or the
// whole tree, may have replaced the item under way: then it is done here.
bool TreeViewWin32Gdi::acceptExpanding(const NMTREEVIEWW& change) {
    NativeTreeView& tree = getAbstraction();
    const TreeNode node = nodeOf(change.itemNew);
    const bool expanding = change.action == TVE_EXPAND;
    if (node == kNoNode) {
        return false;
    }
    underWay_ = node;
    const bool isAccepted = tree.acceptExpanding(node, expanding);
    underWay_ = kNoNode;
    if (!isAccepted) {
        refused_ = node;
    }
    if (!isAccepted || window() == nullptr || !model().contains(node)) {
        return false;
    }
    const BulkMirroring bulk(*this);
    const HTREEITEM item = itemOf(node);
    if (item != change.itemNew.hItem || isItemExpanded(node) == expanding) {
        tree.acceptExpanded(node, expanding);
        filler_.settle(node);
        filler_.goOn();
        // The window may have moved its selection, and says nothing of it here.
        selectionChanged_ = true;
        return false;
    }
    if (expanding && isReady()) {
        filler_.open(node);
    } else {
        filler_.drop(node);
    }
    return true;
}

// Some versions ask whether a node may be collapsed and do it all the same.
void TreeViewWin32Gdi::undoRefused() {
    const TreeNode node = std::exchange(refused_, kNoNode);
    if (itemOf(node) != nullptr) {
        const BulkMirroring bulk(*this);
        filler_.settle(node);
        filler_.goOn();
        select(model().selected());
    }
}

void TreeViewWin32Gdi::reportSelection() {
    if (std::exchange(selectionChanged_, false) && window() != nullptr) {
        // What is above it may be about to be collapsed.
        getAbstraction().acceptSelection(model().standInFor(selectedNode()));
        mirrorSelection();
    }
}

void TreeViewWin32Gdi::reportActions() {
    undoRefused();
    reportSelection();
    if (std::exchange(rightClicked_, false)) {
        getAbstraction().acceptRightClick(nodeAt(rightPoint_, TVHT_ONITEM));
    }
}

bool TreeViewWin32Gdi::toggle(TreeNode node) {
    if (!model().contains(node)) {
        return false;
    }
    SetFocus(window());
    getAbstraction().acceptChecked(node, !model().isChecked(node));
    // The receiver may have removed it, or the window.
    mirrorNode(node);
    return true;
}

bool TreeViewWin32Gdi::onItemMessage(const WindowMessage& message, LRESULT& result) {
    switch (message.id) {
        case WM_DESTROY: {
            // What the window says about its items then is not the user's doing.
            const Mirroring mirroring(*this);
            letWindowAnswer(message, result);
            state_ = TreeState::kEmpty;
            return true;
        }
        case WM_TIMER:
            // To the window it is nobody's; at its end what waits comes.
            if (isAwaited(message.wide) && isReady()) {
                state_ = TreeState::kBehind;
            } else if (isAwaited(message.wide)) {
                await(false);
            }
            break;
        case WM_RBUTTONDOWN:
            rightPoint_ = message.extra;
            break;
        default:
            break;
    }
    return false;
}

}  // namespace zustd
