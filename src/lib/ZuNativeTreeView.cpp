#include "ZuNativeTreeView.h"

namespace zustd {

const MessageKind NativeTreeView::kCheckStateChanged(L"checkStateChanged.NativeTreeView",
                                                     MessageWords::kObject);
const MessageKind NativeTreeView::kNodeCollapsing(L"nodeCollapsing.NativeTreeView",
                                                  MessageWords::kObject);
const MessageKind NativeTreeView::kNodeExpanding(L"nodeExpanding.NativeTreeView",
                                                 MessageWords::kObject);
const MessageKind NativeTreeView::kRightClicked(L"rightClicked.NativeTreeView",
                                                MessageWords::kObject);
const MessageKind NativeTreeView::kSelectionChanged(L"selectionChanged.NativeTreeView",
                                                    MessageWords::kObject);

namespace {

MessageWord wordOfNode(TreeNode node) noexcept {
    return MessageWord(static_cast<std::int64_t>(node));
}

}  // namespace

NativeTreeView::NativeTreeView() { setFocusable(true); }

NativeTreeView::~NativeTreeView() { releaseImplementation(); }

bool NativeTreeView::setFont(const std::shared_ptr<FontDescriptor>& font) {
    return changeDescriptor(font_, font);
}

bool NativeTreeView::setBitmaps(const std::shared_ptr<BitmapListDescriptor>& bitmaps) {
    return changeDescriptor(bitmaps_, bitmaps);
}

bool NativeTreeView::setCheckBoxes(bool checkBoxes) { return change(checkBoxes_, checkBoxes); }

// --- Operations -----------------------------------------------------------------------------

void NativeTreeView::setEnableRedraw(bool enable) {
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    implementation().setEnableRedraw(enable);
}

TreeNode NativeTreeView::addRootNode(const std::wstring& key, const std::wstring& caption) {
    return noteChange(implementation().addRootNode(key, caption));
}

TreeNode NativeTreeView::addChildNode(TreeNode parent, const std::wstring& key,
                                      const std::wstring& caption) {
    return noteChange(implementation().addChildNode(parent, key, caption));
}

TreeNode NativeTreeView::addSiblingNode(TreeNode sibling, const std::wstring& key,
                                        const std::wstring& caption) {
    return noteChange(implementation().addSiblingNode(sibling, key, caption));
}

void NativeTreeView::removeNode(TreeNode node) {
    implementation().removeNode(node);
    noteChange();
}

void NativeTreeView::clear() {
    implementation().clear();
    noteChange();
}

std::size_t NativeTreeView::getNodeCount() const { return implementation().getNodeCount(); }

TreeNode NativeTreeView::getNextNode(TreeNode node) const {
    return implementation().getNextNode(node);
}

TreeNode NativeTreeView::getPreviousNode(TreeNode node) const {
    return implementation().getPreviousNode(node);
}

std::wstring NativeTreeView::getNodeCaption(TreeNode node) const {
    return implementation().getNodeCaption(node);
}

void NativeTreeView::setNodeCaption(TreeNode node, const std::wstring& caption) {
    implementation().setNodeCaption(node, caption);
    noteChange();
}

TreeNode NativeTreeView::getFirstRootNode() const { return implementation().getFirstRootNode(); }

TreeNode NativeTreeView::getLastRootNode() const { return implementation().getLastRootNode(); }

TreeNode NativeTreeView::getFirstChildNode(TreeNode node) const {
    return implementation().getFirstChildNode(node);
}

TreeNode NativeTreeView::getLastChildNode(TreeNode node) const {
    return implementation().getLastChildNode(node);
}

TreeNode NativeTreeView::getNextSiblingNode(TreeNode node) const {
    return implementation().getNextSiblingNode(node);
}

TreeNode NativeTreeView::getPreviousSiblingNode(TreeNode node) const {
    return implementation().getPreviousSiblingNode(node);
}

TreeNode NativeTreeView::getLastSiblingNode(TreeNode node) const {
    return implementation().getLastSiblingNode(node);
}

TreeNode NativeTreeView::getParentNode(TreeNode node) const {
    return implementation().getParentNode(node);
}

void NativeTreeView::ensureNodeVisible(TreeNode node) { implementation().ensureNodeVisible(node); }

Rect NativeTreeView::getNodeBoundary(TreeNode node) const {
    return implementation().getNodeBoundary(node);
}

bool NativeTreeView::getNodeExpanded(TreeNode node) const {
    return implementation().getNodeExpanded(node);
}

void NativeTreeView::setNodeExpanded(TreeNode node, bool expanded) {
    implementation().setNodeExpanded(node, expanded);
    noteChange();
}

void NativeTreeView::expandAllNodes() {
    implementation().expandAllNodes();
    noteChange();
}

void NativeTreeView::expandAllNodes(TreeNode node) {
    implementation().expandAllNodes(node);
    noteChange();
}

void NativeTreeView::collapseAllNodes() {
    implementation().collapseAllNodes();
    noteChange();
}

void NativeTreeView::collapseAllNodes(TreeNode node) {
    implementation().collapseAllNodes(node);
    noteChange();
}

bool NativeTreeView::getNodeChecked(TreeNode node) const {
    return implementation().getNodeChecked(node);
}

void NativeTreeView::setNodeChecked(TreeNode node, bool checked) {
    implementation().setNodeChecked(node, checked);
    noteChange();
}

std::int32_t NativeTreeView::getNodeBitmap(TreeNode node) const {
    return implementation().getNodeBitmap(node);
}

void NativeTreeView::setNodeBitmap(TreeNode node, std::int32_t bitmap) {
    implementation().setNodeBitmap(node, bitmap);
    noteChange();
}

std::wstring NativeTreeView::getNodeKey(TreeNode node) const {
    return implementation().getNodeKey(node);
}

TreeNode NativeTreeView::findNode(const std::wstring& key) const {
    return implementation().findNode(key);
}

bool NativeTreeView::getNodeEmphasized(TreeNode node) const {
    return implementation().getNodeEmphasized(node);
}

void NativeTreeView::setNodeEmphasized(TreeNode node, bool emphasized) {
    implementation().setNodeEmphasized(node, emphasized);
    noteChange();
}

TreeNode NativeTreeView::getSelectedNode() const { return implementation().getSelectedNode(); }

void NativeTreeView::selectNode(TreeNode node) {
    implementation().selectNode(node);
    noteChange();
}

void NativeTreeView::clearNodeSelection() {
    implementation().clearNodeSelection();
    noteChange();
}

// What was not mirrored during an update is shown at its end.
TreeNode NativeTreeView::noteChange(TreeNode node) {
    if (isUpdating()) {
        stateChanged();
    }
    return node;
}

// --- What the user did ----------------------------------------------------------------------

void NativeTreeView::acceptSelection(TreeNode node) {
    if (model_.select(node)) {
        notify(kSelectionChanged, wordOfNode(node));
    }
}

void NativeTreeView::acceptChecked(TreeNode node, bool checked) {
    if (model_.setChecked(node, checked)) {
        notify(kCheckStateChanged, wordOfNode(node));
    }
}

bool NativeTreeView::acceptExpanding(TreeNode node, bool expand) {
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    expandingRefused_ = false;
    notify(expand ? kNodeExpanding : kNodeCollapsing, wordOfNode(node));
    return !expandingRefused_;
}

void NativeTreeView::acceptExpanded(TreeNode node, bool expanded) {
    model_.setExpanded(node, expanded);
}

void NativeTreeView::acceptRightClick(TreeNode node) { notify(kRightClicked, wordOfNode(node)); }

// --- TreeViewImplementation -----------------------------------------------------------------

bool TreeViewImplementation::mirrors() {
    if (!hasNativeObject()) {
        return false;
    }
    if (redrawOff_ != 0 || getAbstraction().isUpdating()) {
        stale_ = true;
    }
    return !stale_;
}

TreeNode TreeViewImplementation::added(TreeNode node) {
    if (mirrors()) {
        mirrorAdded(node);
    }
    return node;
}

void TreeViewImplementation::setEnableRedraw(bool enable) {
    if (!enable) {
        ++redrawOff_;
        return;
    }
    if (redrawOff_ == 0 || --redrawOff_ != 0) {
        return;
    }
    if (stale_ && hasNativeObject()) {
        synchronizeWithAbstraction();
    }
}

TreeNode TreeViewImplementation::addRootNode(const std::wstring& key, const std::wstring& caption) {
    return added(getAbstraction().model().addChild(kNoNode, key, caption));
}

TreeNode TreeViewImplementation::addChildNode(TreeNode parent, const std::wstring& key,
                                              const std::wstring& caption) {
    TreeModel& model = getAbstraction().model();
    ZU_ASSERT_AS(model.contains(parent), L"contains(node)", ZU_HERE);
    return added(model.addChild(parent, key, caption));
}

TreeNode TreeViewImplementation::addSiblingNode(TreeNode sibling, const std::wstring& key,
                                                const std::wstring& caption) {
    return added(getAbstraction().model().addSibling(sibling, key, caption));
}

void TreeViewImplementation::removeNode(TreeNode node) {
    TreeModel& model = getAbstraction().model();
    ZU_ASSERT_AS(model.contains(node), L"contains(node)", ZU_HERE);
    if (mirrors()) {
        mirrorRemoving(node);
    }
    model.remove(node);
    if (mirrors()) {
        mirrorSelection();
    }
}

void TreeViewImplementation::clear() {
    getAbstraction().model().clear();
    if (mirrors()) {
        mirrorCleared();
    }
}

std::size_t TreeViewImplementation::getNodeCount() const {
    return getAbstraction().model().nodeCount();
}

TreeNode TreeViewImplementation::getNextNode(TreeNode node) const {
    return getAbstraction().model().next(node);
}

TreeNode TreeViewImplementation::getPreviousNode(TreeNode node) const {
    return getAbstraction().model().previous(node);
}

std::wstring TreeViewImplementation::getNodeCaption(TreeNode node) const {
    return getAbstraction().model().caption(node);
}

void TreeViewImplementation::setNodeCaption(TreeNode node, const std::wstring& caption) {
    if (getAbstraction().model().setCaption(node, caption) && mirrors()) {
        mirrorNode(node);
    }
}

TreeNode TreeViewImplementation::getFirstRootNode() const {
    return getAbstraction().model().firstRoot();
}

TreeNode TreeViewImplementation::getLastRootNode() const {
    return getAbstraction().model().lastRoot();
}

TreeNode TreeViewImplementation::getFirstChildNode(TreeNode node) const {
    return getAbstraction().model().firstChild(node);
}

TreeNode TreeViewImplementation::getLastChildNode(TreeNode node) const {
    return getAbstraction().model().lastChild(node);
}

TreeNode TreeViewImplementation::getNextSiblingNode(TreeNode node) const {
    return getAbstraction().model().nextSibling(node);
}

TreeNode TreeViewImplementation::getPreviousSiblingNode(TreeNode node) const {
    return getAbstraction().model().previousSibling(node);
}

TreeNode TreeViewImplementation::getLastSiblingNode(TreeNode node) const {
    return getAbstraction().model().lastSibling(node);
}

TreeNode TreeViewImplementation::getParentNode(TreeNode node) const {
    return getAbstraction().model().parent(node);
}

bool TreeViewImplementation::getNodeExpanded(TreeNode node) const {
    return getAbstraction().model().isExpanded(node);
}

void TreeViewImplementation::setNodeExpanded(TreeNode node, bool expanded) {
    if (getAbstraction().model().setExpanded(node, expanded)) {
        liftSelection();
        if (mirrors()) {
            mirrorExpanded(node);
        }
    }
}

void TreeViewImplementation::expandAllNodes() { expandSubtree(kNoNode, true); }

void TreeViewImplementation::expandAllNodes(TreeNode node) { expandSubtree(node, true); }

void TreeViewImplementation::collapseAllNodes() { expandSubtree(kNoNode, false); }

void TreeViewImplementation::collapseAllNodes(TreeNode node) { expandSubtree(node, false); }

void TreeViewImplementation::expandSubtree(TreeNode top, bool expanded) {
    TreeModel& model = getAbstraction().model();
    const TreeNode end = top == kNoNode ? kNoNode : model.nextBeyond(top);
    bool changed = false;
    for (TreeNode node = top == kNoNode ? model.firstRoot() : top; node != end;
         node = model.next(node)) {
        changed = model.setExpanded(node, expanded) || changed;
    }
    if (changed) {
        liftSelection();
        if (mirrors()) {
            mirrorAllExpanded(top);
        }
    }
}

// The outermost collapsed node above the selected one takes over from it.
void TreeViewImplementation::liftSelection() {
    TreeModel& model = getAbstraction().model();
    if (model.select(model.standInFor(model.selected())) && mirrors()) {
        mirrorSelection();
    }
}

bool TreeViewImplementation::getNodeChecked(TreeNode node) const {
    return getAbstraction().model().isChecked(node);
}

void TreeViewImplementation::setNodeChecked(TreeNode node, bool checked) {
    if (getAbstraction().model().setChecked(node, checked) && mirrors()) {
        mirrorNode(node);
    }
}

std::int32_t TreeViewImplementation::getNodeBitmap(TreeNode node) const {
    return getAbstraction().model().bitmap(node);
}

void TreeViewImplementation::setNodeBitmap(TreeNode node, std::int32_t bitmap) {
    if (getAbstraction().model().setBitmap(node, bitmap) && mirrors()) {
        mirrorNode(node);
    }
}

std::wstring TreeViewImplementation::getNodeKey(TreeNode node) const {
    return getAbstraction().model().key(node);
}

TreeNode TreeViewImplementation::findNode(const std::wstring& key) const {
    return getAbstraction().model().find(key);
}

bool TreeViewImplementation::getNodeEmphasized(TreeNode node) const {
    return getAbstraction().model().isEmphasized(node);
}

void TreeViewImplementation::setNodeEmphasized(TreeNode node, bool emphasized) {
    if (getAbstraction().model().setEmphasized(node, emphasized) && mirrors()) {
        mirrorNode(node);
    }
}

TreeNode TreeViewImplementation::getSelectedNode() const {
    return getAbstraction().model().selected();
}

void TreeViewImplementation::selectNode(TreeNode node) {
    TreeModel& model = getAbstraction().model();
    if (!model.select(node)) {
        return;
    }
    for (TreeNode above = node != kNoNode ? model.parent(node) : kNoNode; above != kNoNode;
         above = model.parent(above)) {
        if (model.setExpanded(above, true) && mirrors()) {
            mirrorExpanded(above);
        }
    }
    if (mirrors()) {
        mirrorSelection();
    }
}

void TreeViewImplementation::clearNodeSelection() { selectNode(kNoNode); }

}  // namespace zustd
