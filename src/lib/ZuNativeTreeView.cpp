#include "ZuNativeTreeView.h"

#include "ZuScope.h"

namespace zustd {

using enum MessageWords;

ZU_MESSAGE_KIND(NativeTreeView::kCheckStateChanged, kObject);
ZU_MESSAGE_KIND(NativeTreeView::kNodeCollapsing, kObject);
ZU_MESSAGE_KIND(NativeTreeView::kNodeExpanding, kObject);
ZU_MESSAGE_KIND(NativeTreeView::kRightClicked, kObject);
ZU_MESSAGE_KIND(NativeTreeView::kSelectionChanged, kObject);

bool NativeTreeView::acceptExpanding(TreeNode node, bool expand) {
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    // Receivers may expand another node meanwhile.
    const ScopedValue refused(expandingRefused_, false);
    tell(expand ? kNodeExpanding : kNodeCollapsing, node);
    return !expandingRefused_;
}

bool TreeViewImplementation::mirrors() {
    if (!hasNativeObject()) {
        return false;
    }
    if (redrawOff_ != 0 || getAbstraction().isUpdating()) {
        markStale();
    }
    return !isStale();
}

void TreeViewImplementation::setEnableRedraw(bool enable) {
    if (!enable) {
        ++redrawOff_;
    } else if (redrawOff_ != 0 && --redrawOff_ == 0 && isStale() && hasNativeObject()) {
        synchronizeWithAbstraction();
    }
}

void TreeViewImplementation::removeNode(TreeNode node) {
    mirror(model().contains(node), &Self::mirrorRemoving, node);
    model().remove(node);
}

void TreeViewImplementation::setNodeExpanded(TreeNode node, bool expanded) {
    if (model().setExpanded(node, expanded)) {
        liftSelection();
        mirror(true, &Self::mirrorExpanded, node);
    }
}

void TreeViewImplementation::expandSubtree(TreeNode top, bool expanded) {
    const TreeNode end = top == kNoNode ? kNoNode : model().nextBeyond(top);
    bool changed = false;
    for (TreeNode node = top == kNoNode ? model().firstRoot() : top; node != end;
         node = model().next(node)) {
        changed = model().setExpanded(node, expanded) || changed;
    }
    if (changed) {
        liftSelection();
        mirror(true, &Self::mirrorAllExpanded, top);
    }
}

void TreeViewImplementation::selectNode(TreeNode node) {
    if (!model().select(node)) {
        return;
    }
    for (TreeNode above = node != kNoNode ? model().parent(node) : kNoNode; above != kNoNode;
         above = model().parent(above)) {
        mirror(model().setExpanded(above, true), &Self::mirrorExpanded, above);
    }
    mirror(true, &Self::mirrorSelection);
}

}  // namespace zustd
