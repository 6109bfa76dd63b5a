#include "ZuTreeViewWin32Gdi.h"

#include <windowsx.h>

#include <chrono>
#include <cstring>

namespace zustd {

namespace {

constexpr DWORD kStyle = WS_TABSTOP | WS_CLIPSIBLINGS | TVS_HASBUTTONS | TVS_HASLINES |
                         TVS_LINESATROOT | TVS_SHOWSELALWAYS | TVS_DISABLEDRAGDROP;
constexpr UINT kStates = TVIS_BOLD | TVIS_STATEIMAGEMASK;
// A burst is long with so many changes and this part of all nodes more.
constexpr std::size_t kLongBurst = 64;
constexpr std::size_t kLongBurstPart = 16;
// More nodes with children than these are not expanded or collapsed one by one,
// in a window with few items and with many.
constexpr std::size_t kFewParents = 8;
constexpr std::size_t kManyParents = 128;
// What waits comes in slices of so many steps, or of fewer when they take that
// long, one with each message of the timer.
constexpr std::size_t kSlice = 2000;
constexpr std::chrono::milliseconds kSliceTime(15);

LPARAM wordOf(TreeNode node) noexcept { return static_cast<LPARAM>(node); }

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
    if (isRedrawEnabled()) {
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
    initializeCommonControls();
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

void TreeViewWin32Gdi::fill() {
    TreeModel& model = getAbstraction().model();
    const Mirroring mirroring(*this);
    const TreeNode top = filled_ ? firstSeen() : kNoNode;
    forgetWork();
    {
        const BulkMirroring bulk(*this);
        // With a selection every removed item would hand it on to the next one.
        send(TVM_SELECTITEM, TVGN_CARET, 0);
        send(TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(TVI_ROOT));
        model.clearNativeWords();
        pending_.restart(model);
        workSlice(&TreeViewWin32Gdi::workNext);
    }
    // Where things are is known only with redrawing on again.
    filled_ = true;
    markFresh();
    select(model.selected());
    if (top != kNoNode) {
        need(top);
        send(TVM_SELECTITEM, TVGN_FIRSTVISIBLE, reinterpret_cast<LPARAM>(itemOf(top)));
    }
}

// The node at the upper edge, or what hides it by now.
TreeNode TreeViewWin32Gdi::firstSeen() const {
    TVITEMW item{};
    item.mask = TVIF_PARAM;
    item.hItem = TreeView_GetFirstVisible(window());
    const bool found = item.hItem != nullptr && TreeView_GetItem(window(), &item);
    const TreeModel& model = getAbstraction().model();
    TreeNode seen = found ? nodeOf(item.lParam) : kNoNode;
    for (TreeNode above = seen; above != kNoNode; above = model.parent(above)) {
        seen = model.isExpanded(above) ? seen : above;
    }
    return seen;
}

// Versions differ in how far they walk along the siblings to find a place. Some
// walk to the place after a given item, and to tell whether that is the last
// one, but know the end; so the end is named where it is known to be meant.
HTREEITEM TreeViewWin32Gdi::placeAfter(TreeNode previous) const {
    if (previous == kNoNode) {
        return TVI_FIRST;
    }
    const auto item = reinterpret_cast<HTREEITEM>(getAbstraction().model().nativeWord(previous));
    const bool isLast = previous == lastOfLevel_ || item == nullptr ||
                        TreeView_GetNextSibling(window(), item) == nullptr;
    return isLast ? TVI_LAST : item;
}

void TreeViewWin32Gdi::insert(TreeNode node) {
    TreeModel& model = getAbstraction().model();
    const TreeNode parent = model.parent(node);
    const TreeNode previous = model.previousSibling(node);
    TVINSERTSTRUCTW item{};
    item.hParent =
        parent != kNoNode ? reinterpret_cast<HTREEITEM>(model.nativeWord(parent)) : TVI_ROOT;
    item.hInsertAfter = placeAfter(previous);
    item.item.mask =
        TVIF_TEXT | TVIF_PARAM | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_STATE | TVIF_CHILDREN;
    item.item.pszText = textOf(node);
    item.item.lParam = wordOf(node);
    item.item.iImage = nativeImage(model.bitmap(node));
    item.item.iSelectedImage = item.item.iImage;
    item.item.state = stateOf(node) | (model.isExpanded(node) ? UINT{TVIS_EXPANDED} : 0U);
    item.item.stateMask = kStates | TVIS_EXPANDED;
    item.item.cChildren = model.childCount(node) != 0 ? 1 : 0;
    const LRESULT made = send(TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    if (made == 0) {
        throw SystemException(L"Could not insert item");
    }
    model.setNativeWord(node, made);
    if (item.hInsertAfter == TVI_LAST) {
        lastOfLevel_ = node;
    }
    // The system takes one without children for collapsed.
    if (previous == kNoNode && parent != kNoNode && model.isExpanded(parent)) {
        expandItem(parent);
    }
}

// False when nothing waits.
bool TreeViewWin32Gdi::insertNext() {
    const TreeNode node = pending_.take(getAbstraction().model());
    if (node == kNoNode) {
        return false;
    }
    try {
        insert(node);
    } catch (...) {
        beginAnew();
        throw;
    }
    return true;
}

// What is to be collapsed goes first, since nothing has to come into it then.
// What is to be expanded is filled before the next one.
bool TreeViewWin32Gdi::workNext() {
    const TreeModel& model = getAbstraction().model();
    while (!unsettled_.empty() && !model.contains(unsettled_.front())) {
        unsettled_.pop_front();
    }
    const bool collapses = !unsettled_.empty() && !model.isExpanded(unsettled_.front());
    if (!collapses && insertNext()) {
        return true;
    }
    if (unsettled_.empty()) {
        return false;
    }
    const TreeNode node = unsettled_.front();
    unsettled_.pop_front();
    expand(node);
    return true;
}

void TreeViewWin32Gdi::workSlice(bool (TreeViewWin32Gdi::*step)()) {
    const auto end = std::chrono::steady_clock::now() + kSliceTime;
    std::size_t count = 0;
    while ((this->*step)() && ++count < kSlice && std::chrono::steady_clock::now() < end) {
    }
    if (!awaitSlice()) {
        while (workNext()) {
        }
    }
}

// The timer's number is one that the control does not use itself. False when
// there is none to be had.
bool TreeViewWin32Gdi::awaitSlice() {
    const auto timer = reinterpret_cast<UINT_PTR>(this);
    if (!hasWork()) {
        KillTimer(window(), timer);
        return true;
    }
    return SetTimer(window(), timer, USER_TIMER_MINIMUM, nullptr) != 0;
}

void TreeViewWin32Gdi::workOn() {
    if (hasWork() && isReady()) {
        const BulkMirroring bulk(*this);
        workSlice(&TreeViewWin32Gdi::workNext);
    }
}

// With the window's next message, together with what else comes until then.
void TreeViewWin32Gdi::workLater() {
    if (hasWork()) {
        deferRedraw();
        isBehind_ = true;
    }
}

// After a failure: what would follow has no place then. The next
// synchronisation fills the window.
void TreeViewWin32Gdi::beginAnew() noexcept {
    forgetWork();
    markStale();
}

void TreeViewWin32Gdi::forgetWork() noexcept {
    pending_.clear();
    unsettled_.clear();
    lastOfLevel_ = kNoNode;
    isBehind_ = false;
}

// Brings a node into the window at once when it waits.
void TreeViewWin32Gdi::need(TreeNode node) {
    if (itemOf(node) == nullptr && isReady() && !pending_.isEmpty()) {
        const BulkMirroring bulk(*this);
        while (itemOf(node) == nullptr && insertNext()) {
        }
    }
}

// The window copies it.
wchar_t* TreeViewWin32Gdi::textOf(TreeNode node) const {
    return const_cast<wchar_t*>(getAbstraction().model().caption(node).c_str());
}

UINT TreeViewWin32Gdi::stateOf(TreeNode node) const {
    const TreeModel& model = getAbstraction().model();
    const UINT bold = model.isEmphasized(node) ? TVIS_BOLD : 0;
    const UINT check = model.isChecked(node) ? kChecked : kUnchecked;
    return bold | (hasCheckBoxes_ ? INDEXTOSTATEIMAGEMASK(check) : 0);
}

// Null as long as the window does not have the node.
HTREEITEM TreeViewWin32Gdi::itemOf(TreeNode node) const {
    const TreeModel& model = getAbstraction().model();
    return filled_ && window() != nullptr && model.contains(node)
               ? reinterpret_cast<HTREEITEM>(model.nativeWord(node))
               : nullptr;
}

// The window may still have items of nodes that are gone.
TreeNode TreeViewWin32Gdi::nodeOf(LPARAM word) const {
    const auto node = static_cast<TreeNode>(word);
    return getAbstraction().model().contains(node) ? node : kNoNode;
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
    item.mask = TVIF_CHILDREN;
    item.hItem = itemOf(node);
    item.cChildren = hasChildren ? 1 : 0;
    if (item.hItem != nullptr) {
        send(TVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    }
}

void TreeViewWin32Gdi::mirrorAdded(TreeNode node) {
    guarded(L"TreeViewWin32Gdi::mirrorAdded", [&] {
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
        try {
            if (isInLongBurst()) {
                pending_.add(model, node);
            } else {
                insert(node);
            }
        } catch (...) {
            beginAnew();
            isBehind_ = true;
            throw;
        }
    });
}

void TreeViewWin32Gdi::mirrorRemoving(TreeNode node) {
    guarded(L"TreeViewWin32Gdi::mirrorRemoving", [&] {
        const TreeModel& model = getAbstraction().model();
        const Mirroring mirroring(*this);
        pending_.forget(model, node);
        if (const HTREEITEM item = itemOf(node); item != nullptr) {
            if (isInLongBurst()) {
                markStale();
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
    });
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
    guarded(L"TreeViewWin32Gdi::mirrorExpanded", [&] {
        const Mirroring mirroring(*this);
        expand(node);
        workLater();
    });
}

void TreeViewWin32Gdi::mirrorAllExpanded(TreeNode top) {
    guarded(L"TreeViewWin32Gdi::mirrorAllExpanded", [&] {
        if (!mirrorSubtree(top)) {
            fill();
        }
    });
}

// False, with nothing done, when filling anew is less work.
bool TreeViewWin32Gdi::mirrorSubtree(TreeNode top) {
    const TreeModel& model = getAbstraction().model();
    const TreeNode end = top == kNoNode ? kNoNode : model.nextBeyond(top);
    const auto items = static_cast<std::size_t>(send(TVM_GETCOUNT));
    const std::size_t most = items > kSlice ? kManyParents : kFewParents;
    std::vector<TreeNode> parents;
    for (TreeNode node = top == kNoNode ? model.firstRoot() : top; node != end;
         node = model.next(node)) {
        if (model.childCount(node) != 0 && itemOf(node) != nullptr) {
            if (parents.size() + unsettled_.size() >= most) {
                return false;
            }
            parents.push_back(node);
        }
    }
    const Mirroring mirroring(*this);
    unsettled_.insert(unsettled_.end(), parents.begin(), parents.end());
    workOn();
    return true;
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
        send(TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(item));
    }
}

// Brings what the window has of a node, and what can be seen below it now, into
// the model's state; whether the node was in another.
bool TreeViewWin32Gdi::expand(TreeNode node) {
    const TreeModel& model = getAbstraction().model();
    if (itemOf(node) == nullptr) {
        return false;
    }
    if (!model.isExpanded(node)) {
        pending_.forget(model, node);
        return expandItem(node);
    }
    pending_.open(model, node);
    if (const TreeNode child = model.firstChild(node);
        child != kNoNode && itemOf(child) == nullptr) {
        // Expands it as well.
        return insertNext();
    }
    return expandItem(node);
}

bool TreeViewWin32Gdi::isItemExpanded(TreeNode node) const {
    const LPARAM item = getAbstraction().model().nativeWord(node);
    return (send(TVM_GETITEMSTATE, static_cast<WPARAM>(item), TVIS_EXPANDED) & TVIS_EXPANDED) != 0;
}

// The item alone.
bool TreeViewWin32Gdi::expandItem(TreeNode node) {
    const TreeModel& model = getAbstraction().model();
    const LPARAM item = model.nativeWord(node);
    const bool expanded = model.isExpanded(node);
    if (expanded == isItemExpanded(node)) {
        return false;
    }
    send(TVM_EXPAND, expanded ? TVE_EXPAND : TVE_COLLAPSE, item);
    return true;
}

// Brings a node into the window and expands what is above it there.
void TreeViewWin32Gdi::reveal(TreeNode node) {
    const TreeModel& model = getAbstraction().model();
    std::vector<TreeNode> path;
    for (TreeNode above = node; above != kNoNode; above = model.parent(above)) {
        path.push_back(above);
    }
    for (auto step = path.rbegin(); step != path.rend(); ++step) {
        need(*step);
        if (*step != node && itemOf(*step) != nullptr && !isItemExpanded(*step)) {
            expand(*step);
        }
    }
    awaitSlice();
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

// --- What the user does ---------------------------------------------------------------------

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
    if (!tree.acceptExpanding(node, expanding)) {
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
        // The system's own move of the selection is not the user's.
        selectionChanged_ = true;
        return false;
    }
    if (expanding) {
        const BulkMirroring bulk(*this);
        pending_.open(tree.model(), node);
        workSlice(&TreeViewWin32Gdi::insertNext);
    } else {
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
    getAbstraction().acceptSelection(found ? nodeOf(item.lParam) : kNoNode);
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

// Not within another message of the window, which may work on its items; the
// timer's next one comes soon enough.
void TreeViewWin32Gdi::continueWork() {
    if (!isMirroring() && !isAnswering()) {
        workOn();
        awaitSlice();
    }
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
