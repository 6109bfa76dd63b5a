// How the window of a tree gets the items of its nodes, and what it does in
// slices.
#include "ZuTreeViewWin32Gdi.h"

#include <chrono>

namespace zustd {

namespace {

// More nodes with children than these are not expanded or collapsed one by one,
// in a window with few items and with many.
constexpr std::size_t kFewParents = 8;
constexpr std::size_t kManyParents = 128;
// What waits comes in slices of so many steps, or of fewer when they take that
// long, one with each message of the timer.
constexpr std::size_t kSlice = 2000;
constexpr std::chrono::milliseconds kSliceTime(15);

}  // namespace

// --- Items ----------------------------------------------------------------------------------

void TreeViewWin32Gdi::fill() {
    TreeModel& model = getAbstraction().model();
    if (filled_ && isAnswering()) {
        // The window may be at work on one of its items.
        markStale();
        isBehind_ = true;
        return;
    }
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
    return getAbstraction().model().standInFor(found ? nodeOf(item.lParam) : kNoNode);
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
    item.item.lParam = static_cast<LPARAM>(node);
    item.item.iImage = nativeImage(model.bitmap(node));
    item.item.iSelectedImage = item.item.iImage;
    item.item.state = stateOf(node) | (model.isExpanded(node) ? UINT{TVIS_EXPANDED} : 0U);
    item.item.stateMask = kStates | TVIS_EXPANDED;
    item.item.cChildren = model.childCount(node) != 0 ? 1 : 0;
    const LRESULT made = send(TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    if (made == 0) {
        throwSystemException(L"Could not insert item", ZU_HERE);
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

// Versions differ in how far they walk along the siblings to find a place. Some
// walk to the place after a given item, and to tell whether that is the last
// one, but know the end; so the end is named where it is known to be meant.
HTREEITEM TreeViewWin32Gdi::placeAfter(TreeNode previous) const {
    if (previous == kNoNode) {
        return TVI_FIRST;
    }
    const auto item = reinterpret_cast<HTREEITEM>(getAbstraction().model().nativeWord(previous));
    ZU_ASSERT(item != nullptr);
    const bool isLast =
        previous == lastOfLevel_ || TreeView_GetNextSibling(window(), item) == nullptr;
    return isLast ? TVI_LAST : item;
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

// --- What can be seen -----------------------------------------------------------------------

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

// The item alone.
bool TreeViewWin32Gdi::expandItem(TreeNode node) {
    const TreeModel& model = getAbstraction().model();
    const LPARAM item = model.nativeWord(node);
    const bool expanded = model.isExpanded(node);
    if (expanded == isItemExpanded(node)) {
        return false;
    }
    send(TVM_EXPAND, expanded ? TVE_EXPAND : TVE_COLLAPSE, item);
    if (!expanded && isItemExpanded(node)) {
        // Some versions do nothing as long as there is no item below it.
        TVITEMW state{};
        state.mask = TVIF_STATE;
        state.hItem = reinterpret_cast<HTREEITEM>(item);
        state.stateMask = TVIS_EXPANDED;
        send(TVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&state));
    }
    return true;
}

bool TreeViewWin32Gdi::isItemExpanded(TreeNode node) const {
    const LPARAM item = getAbstraction().model().nativeWord(node);
    return (send(TVM_GETITEMSTATE, static_cast<WPARAM>(item), TVIS_EXPANDED) & TVIS_EXPANDED) != 0;
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

// Brings a node into the window at once when it waits.
void TreeViewWin32Gdi::need(TreeNode node) {
    const TreeModel& model = getAbstraction().model();
    const TreeNode parent = model.contains(node) ? model.parent(node) : kNoNode;
    if (parent != kNoNode && (itemOf(parent) == nullptr || !model.isExpanded(parent))) {
        return;
    }
    if (itemOf(node) == nullptr && isReady() && !pending_.isEmpty()) {
        const BulkMirroring bulk(*this);
        while (itemOf(node) == nullptr && insertNext()) {
        }
    }
}

// --- Slices ---------------------------------------------------------------------------------

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

// False when nothing waits.
bool TreeViewWin32Gdi::insertNext() {
    const TreeNode node = pending_.take(getAbstraction().model());
    if (node == kNoNode) {
        return false;
    }
    try {
        insert(node);
    } catch (...) {
        // Once with the next message; filling that fails waits for a
        // synchronisation.
        const bool again = !isStale();
        beginAnew();
        isBehind_ = again;
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
        awaitSlice();
    }
}

// Not within another message of the window, which may work on its items; the
// timer's next one comes soon enough.
void TreeViewWin32Gdi::continueWork() {
    if (!isReady()) {
        // All of it comes anew.
        KillTimer(window(), reinterpret_cast<UINT_PTR>(this));
    } else if (!isMirroring() && !isAnswering()) {
        workOn();
        awaitSlice();
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

}  // namespace zustd
