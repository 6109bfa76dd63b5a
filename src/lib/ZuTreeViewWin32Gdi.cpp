#include "ZuTreeViewWin32Gdi.h"

#include <windowsx.h>

#include <cstring>

namespace zustd {

namespace {

constexpr DWORD kStyle = WS_TABSTOP | WS_CLIPSIBLINGS | TVS_HASBUTTONS | TVS_HASLINES |
                         TVS_LINESATROOT | TVS_SHOWSELALWAYS | TVS_DISABLEDRAGDROP;
constexpr UINT kStates = TVIS_BOLD | TVIS_STATEIMAGEMASK;
// A burst is long with so many changes and this part of all nodes more.
constexpr std::size_t kLongBurst = 64;
constexpr std::size_t kLongBurstPart = 16;
// So many nodes with children and this part of all nodes more are expanded or
// collapsed one by one.
constexpr std::size_t kFewParents = 8;
constexpr std::size_t kFewParentsPart = 64;

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
    if (awaitsVisible_ != kNoNode && isRedrawEnabled()) {
        scrollTo(std::exchange(awaitsVisible_, kNoNode));
    }
}

TreeViewWin32Gdi::Outcome TreeViewWin32Gdi::initializeFromDescriptor() {
    NativeTreeView& tree = getAbstraction();
    initializeCommonControls();
    if (hasCheckBoxes_ != tree.hasCheckBoxes()) {
        destroyWindow();
        hasCheckBoxes_ = tree.hasCheckBoxes();
    }
    const Outcome outcome = synchronizeWindow(tree, {WC_TREEVIEWW, kStyle, WS_EX_CLIENTEDGE});
    if (outcome == Outcome::kMade) {
        forgetPushed();
        filled_ = false;
        send(TVM_SETUNICODEFORMAT, TRUE);
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
    TVITEMW top{};
    top.mask = TVIF_PARAM;
    top.hItem = TreeView_GetFirstVisible(window());
    const bool hadTop = filled_ && top.hItem != nullptr && TreeView_GetItem(window(), &top);
    {
        const BulkMirroring bulk(*this);
        // With a selection every removed item would hand it on to the next one.
        send(TVM_SELECTITEM, TVGN_CARET, 0);
        send(TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(TVI_ROOT));
        model.clearNativeWords();
        reveal(model.selected());
        insertAll();
    }
    // Where things are is known only with redrawing on again.
    filled_ = true;
    awaitsFilling_ = false;
    markFresh();
    select(model.selected());
    if (const TreeNode node = hadTop ? nodeOf(top.lParam) : kNoNode; node != kNoNode) {
        send(TVM_SELECTITEM, TVGN_FIRSTVISIBLE, reinterpret_cast<LPARAM>(itemOf(node)));
    }
}

// The system walks along all siblings to the place after the last one, as it
// does to that after any given one, but not to the place before all others. So
// what is below a collapsed node comes from its last node to its first. On the
// levels that can be seen that is no help: some versions count the visible items
// behind a new one anew, which costs far more than the walk.
void TreeViewWin32Gdi::insertAll() {
    const TreeModel& model = getAbstraction().model();
    for (TreeNode node = model.firstRoot(); node != kNoNode;) {
        insert(node, TVI_LAST);
        if (model.isExpanded(node)) {
            node = model.next(node);
        } else {
            insertHidden(node);
            node = model.nextBeyond(node);
        }
    }
}

// What is below a node, backwards.
void TreeViewWin32Gdi::insertHidden(TreeNode top) {
    const TreeModel& model = getAbstraction().model();
    for (TreeNode node = model.lastChild(top); node != kNoNode;) {
        insert(node, TVI_FIRST);
        TreeNode next = model.lastChild(node);
        for (; next == kNoNode && node != top; node = model.parent(node)) {
            next = model.previousSibling(node);
        }
        node = next;
    }
}

void TreeViewWin32Gdi::insert(TreeNode node, HTREEITEM after) {
    TreeModel& model = getAbstraction().model();
    const TreeNode parent = model.parent(node);
    TVINSERTSTRUCTW item{};
    item.hParent =
        parent != kNoNode ? reinterpret_cast<HTREEITEM>(model.nativeWord(parent)) : TVI_ROOT;
    item.hInsertAfter = after;
    item.item.mask = TVIF_TEXT | TVIF_PARAM | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_STATE;
    item.item.pszText = LPSTR_TEXTCALLBACKW;
    item.item.lParam = wordOf(node);
    item.item.iImage = nativeImage(model.bitmap(node));
    item.item.iSelectedImage = item.item.iImage;
    item.item.state = stateOf(node) | (model.isExpanded(node) ? UINT{TVIS_EXPANDED} : 0U);
    item.item.stateMask = kStates | TVIS_EXPANDED;
    const LRESULT made = send(TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    if (made == 0) {
        throw SystemException(L"Could not insert item");
    }
    model.setNativeWord(node, made);
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
    awaitsFilling_ = false;
}

// --- Single changes -------------------------------------------------------------------------

// Whether the change at hand is one of a burst that has become long.
bool TreeViewWin32Gdi::leavesToFilling() {
    const std::size_t count = getAbstraction().model().nodeCount();
    if (deferRedraw() <= kLongBurst + count / kLongBurstPart) {
        return false;
    }
    markStale();
    awaitsFilling_ = true;
    return true;
}

void TreeViewWin32Gdi::catchUp() {
    // Nor while the window works on items that would be replaced.
    if (awaitsFilling_ && !isMirroring() && !isAnswering() && isRedrawEnabled() &&
        !getAbstraction().isUpdating()) {
        synchronizeWithAbstraction();
    }
}

void TreeViewWin32Gdi::mirrorAdded(TreeNode node) {
    guarded(L"TreeViewWin32Gdi::mirrorAdded", [&] {
        if (!filled_ || leavesToFilling()) {
            return;
        }
        const TreeModel& model = getAbstraction().model();
        const Mirroring mirroring(*this);
        const TreeNode previous = model.previousSibling(node);
        if (model.nextSibling(node) == kNoNode) {
            insert(node, TVI_LAST);
        } else {
            insert(node, previous != kNoNode ? itemOf(previous) : TVI_FIRST);
        }
        // The system takes one without children for collapsed.
        const TreeNode parent = model.parent(node);
        if (parent != kNoNode && model.childCount(parent) == 1) {
            expand(parent);
        }
    });
}

void TreeViewWin32Gdi::mirrorRemoving(TreeNode node) {
    guarded(L"TreeViewWin32Gdi::mirrorRemoving", [&] {
        const TreeModel& model = getAbstraction().model();
        const HTREEITEM item = itemOf(node);
        if (item == nullptr || leavesToFilling()) {
            return;
        }
        const Mirroring mirroring(*this);
        if (model.selected() != kNoNode && model.isAncestorOf(node, model.selected())) {
            select(kNoNode);
        }
        send(TVM_DELETEITEM, 0, reinterpret_cast<LPARAM>(item));
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
        item.pszText = LPSTR_TEXTCALLBACKW;
        item.iImage = nativeImage(getAbstraction().model().bitmap(node));
        item.iSelectedImage = item.iImage;
        item.state = stateOf(node);
        item.stateMask = kStates;
        send(TVM_SETITEMW, 0, reinterpret_cast<LPARAM>(&item));
    });
}

void TreeViewWin32Gdi::mirrorExpanded(TreeNode node) {
    guarded(L"TreeViewWin32Gdi::mirrorExpanded", [&] {
        TreeModel& model = getAbstraction().model();
        const Mirroring mirroring(*this);
        if (!model.isExpanded(node) && model.selected() != kNoNode && model.selected() != node &&
            model.isAncestorOf(node, model.selected())) {
            model.select(node);
            select(node);
        }
        expand(node);
    });
}

void TreeViewWin32Gdi::mirrorAllExpanded(TreeNode top) {
    guarded(L"TreeViewWin32Gdi::mirrorAllExpanded", [&] {
        TreeModel& model = getAbstraction().model();
        // The outermost collapsed node above the selected one takes it over.
        TreeNode wanted = model.selected();
        for (TreeNode node = wanted; node != kNoNode; node = model.parent(node)) {
            if (node != model.selected() && !model.isExpanded(node) &&
                (top == kNoNode || model.isAncestorOf(top, node))) {
                wanted = node;
            }
        }
        model.select(wanted);
        if (!mirrorSubtree(top)) {
            fill();
        }
    });
}

// False, with nothing done, when filling anew is less work.
bool TreeViewWin32Gdi::mirrorSubtree(TreeNode top) {
    const TreeModel& model = getAbstraction().model();
    const TreeNode end = top == kNoNode ? kNoNode : model.nextBeyond(top);
    const std::size_t most = kFewParents + model.nodeCount() / kFewParentsPart;
    std::vector<TreeNode> parents;
    for (TreeNode node = top == kNoNode ? model.firstRoot() : top; node != end;
         node = model.next(node)) {
        if (model.childCount(node) != 0) {
            if (parents.size() == most) {
                return false;
            }
            parents.push_back(node);
        }
    }
    const Mirroring mirroring(*this);
    select(model.selected());
    const BulkMirroring bulk(*this);
    for (const TreeNode parent : parents) {
        expand(parent);
    }
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
    const HTREEITEM item = itemOf(node);
    if (item != TreeView_GetSelection(window())) {
        reveal(node);
        send(TVM_SELECTITEM, TVGN_CARET, reinterpret_cast<LPARAM>(item));
    }
}

// Brings the window's item into the model's state; whether it was in another.
bool TreeViewWin32Gdi::expand(TreeNode node) {
    const HTREEITEM item = itemOf(node);
    const bool expanded = getAbstraction().model().isExpanded(node);
    const LRESULT state =
        send(TVM_GETITEMSTATE, reinterpret_cast<WPARAM>(item), TVIS_EXPANDED) & TVIS_EXPANDED;
    if (item == nullptr || expanded == (state != 0)) {
        return false;
    }
    send(TVM_EXPAND, expanded ? TVE_EXPAND : TVE_COLLAPSE, reinterpret_cast<LPARAM>(item));
    return true;
}

// Expands what is above a node.
void TreeViewWin32Gdi::reveal(TreeNode node) {
    TreeModel& model = getAbstraction().model();
    for (TreeNode above = node != kNoNode ? model.parent(node) : kNoNode; above != kNoNode;
         above = model.parent(above)) {
        model.setExpanded(above, true);
        expand(above);
    }
}

void TreeViewWin32Gdi::scrollTo(TreeNode node) {
    if (const HTREEITEM item = itemOf(node)) {
        reveal(node);
        send(TVM_ENSUREVISIBLE, 0, reinterpret_cast<LPARAM>(item));
    }
}

void TreeViewWin32Gdi::ensureNodeVisible(TreeNode node) {
    guarded(L"TreeViewWin32Gdi::ensureNodeVisible", [&] {
        if (!getAbstraction().model().contains(node)) {
            return;
        }
        settle();
        const Mirroring mirroring(*this);
        reveal(node);
        if (filled_ && window() != nullptr && !isStale() && isRedrawEnabled()) {
            scrollTo(node);
        } else {
            awaitsVisible_ = node;
        }
    });
}

Rect TreeViewWin32Gdi::getNodeBoundary(TreeNode node) const {
    return guarded(L"TreeViewWin32Gdi::getNodeBoundary", Rect(), [&] {
        if (awaitsFilling_) {
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
    if (header->code == TVN_GETDISPINFOW) {
        TVITEMW& item = reinterpret_cast<NMTVDISPINFOW*>(header)->item;
        if (const TreeNode node = nodeOf(item.lParam); node != kNoNode && (item.mask & TVIF_TEXT)) {
            // Read only, and before anything else can change.
            item.pszText = const_cast<wchar_t*>(getAbstraction().model().caption(node).c_str());
        }
        return true;
    }
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
    if (itemOf(node) == change.itemNew.hItem) {
        return true;
    }
    tree.acceptExpanded(node, expanding);
    const Mirroring mirroring(*this);
    expand(node);
    return false;
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
    if (itemOf(node) != nullptr && expand(node)) {
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
