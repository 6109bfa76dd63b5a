// A native tree of nodes with images, check boxes and one selected node.
//
// The nodes are owned here, in a TreeModel. As for a grid's rows every operation goes through the
// backend's slot: a backend derives from TreeViewImplementation.
//
// The selected node is never below a collapsed one: selecting a node expands what is above it, and
// a node that the program collapses takes the selection over from below it, without a message.
//
// Switch redrawing off around changes of many nodes: only the model changes
// then, and switching it on again brings the native object up to date at once.
#pragma once

#include "ZuControl.h"
#include "ZuTreeFiller.h"

namespace zustd {

// What a backend does for a tree view. Slot order is fixed. Nodes exist, or the
// model's assertions fail; kNoNode comes back where there is none.
class INativeTreeViewImpl : public IBackend {
public:
    // 1: nothing is shown while off; counts, as many on as off.
    virtual void setEnableRedraw(bool enable) = 0;
    // 2 to 6
    virtual TreeNode addRootNode(const std::wstring& key, const std::wstring& caption) = 0;
    virtual TreeNode addChildNode(TreeNode parent, const std::wstring& key,
                                  const std::wstring& caption) = 0;
    virtual TreeNode addSiblingNode(TreeNode sibling, const std::wstring& key,
                                    const std::wstring& caption) = 0;
    virtual void removeNode(TreeNode node) = 0;
    virtual void clear() = 0;
    // 7 to 9
    virtual std::size_t getNodeCount() const = 0;
    virtual TreeNode getNextNode(TreeNode node) const = 0;
    virtual TreeNode getPreviousNode(TreeNode node) const = 0;
    // 10, 11
    virtual std::wstring getNodeCaption(TreeNode node) const = 0;
    virtual void setNodeCaption(TreeNode node, const std::wstring& caption) = 0;
    // 12 to 19
    virtual TreeNode getFirstRootNode() const = 0;
    virtual TreeNode getLastRootNode() const = 0;
    virtual TreeNode getFirstChildNode(TreeNode node) const = 0;
    virtual TreeNode getLastChildNode(TreeNode node) const = 0;
    virtual TreeNode getNextSiblingNode(TreeNode node) const = 0;
    virtual TreeNode getPreviousSiblingNode(TreeNode node) const = 0;
    virtual TreeNode getLastSiblingNode(TreeNode node) const = 0;
    virtual TreeNode getParentNode(TreeNode node) const = 0;
    // 20: expands what is above and scrolls. The node stays in sight while the
    // native object is still being filled, unless the user scrolls it away.
    virtual void ensureNodeVisible(TreeNode node) = 0;
    // 21: on the tree view's client area; empty for a node scrolled away or below a collapsed one.
    virtual Rect getNodeBoundary(TreeNode node) const = 0;
    // 22 to 27
    virtual bool getNodeExpanded(TreeNode node) const = 0;
    virtual void setNodeExpanded(TreeNode node, bool expanded) = 0;
    virtual void expandAllNodes() = 0;
    virtual void expandAllNodes(TreeNode node) = 0;
    virtual void collapseAllNodes() = 0;
    virtual void collapseAllNodes(TreeNode node) = 0;
    // 28, 29
    virtual bool getNodeChecked(TreeNode node) const = 0;
    virtual void setNodeChecked(TreeNode node, bool checked) = 0;
    // 30, 31: an index into the bitmap list, or TreeModel::kNoBitmap.
    virtual std::int32_t getNodeBitmap(TreeNode node) const = 0;
    virtual void setNodeBitmap(TreeNode node, std::int32_t bitmap) = 0;
    // 32, 33
    virtual std::wstring getNodeKey(TreeNode node) const = 0;
    virtual TreeNode findNode(const std::wstring& key) const = 0;
    // 34, 35: emphasized nodes are shown in bold.
    virtual bool getNodeEmphasized(TreeNode node) const = 0;
    virtual void setNodeEmphasized(TreeNode node, bool emphasized) = 0;
    // 36 to 38
    virtual TreeNode getSelectedNode() const = 0;
    virtual void selectNode(TreeNode node) = 0;
    virtual void clearNodeSelection() = 0;
};

class NativeTreeView : public NativeControl<INativeTreeViewImpl> {
public:
    // First word: the tree view; second: the node, or kNoNode.
    static const MessageKind kCheckStateChanged;
    // Before the user does it; a receiver may call refuseExpanding().
    static const MessageKind kNodeCollapsing;
    static const MessageKind kNodeExpanding;
    static const MessageKind kRightClicked;
    // Also when a native object selects a node by itself as it gets the focus without a selection.
    static const MessageKind kSelectionChanged;

    NativeTreeView() { setFocusable(true); }
    ~NativeTreeView() override { releaseImplementation(); }

    // May be null.
    const FontRef& font() const noexcept { return font_; }
    const BitmapListRef& bitmaps() const noexcept { return bitmaps_; }
    bool setFont(const FontRef& font) { return changeDescriptor(font_, font); }
    bool setBitmaps(const BitmapListRef& bitmaps) { return changeDescriptor(bitmaps_, bitmaps); }
    bool hasCheckBoxes() const noexcept { return checkBoxes_; }
    // A tree view that has a native object gets a new one.
    bool setCheckBoxes(bool checkBoxes) { return change(checkBoxes_, checkBoxes); }

    // The operations of INativeTreeViewImpl. Each fails the assertion "impl_" without backend and
    // "contains(node)" for a node that there is not; only ensureNodeVisible does nothing then, and
    // getNodeBoundary is empty, since what is on the screen may be asked for at any time. Changes
    // by the program send no message.
    void setEnableRedraw(bool enable) {
        const std::shared_ptr<Control> self = sharedReference<Control>(this);
        implementation().setEnableRedraw(enable);
    }
    TreeNode addRootNode(const std::wstring& key, const std::wstring& caption) {
        return changing().addRootNode(key, caption);
    }
    TreeNode addChildNode(TreeNode parent, const std::wstring& key, const std::wstring& caption) {
        return changing().addChildNode(parent, key, caption);
    }
    auto addSiblingNode(TreeNode sibling, const std::wstring& key, const std::wstring& caption) {
        return changing().addSiblingNode(sibling, key, caption);
    }
    void removeNode(TreeNode node) { changing().removeNode(node); }
    void clear() { changing().clear(); }
    std::size_t getNodeCount() const { return nodes().getNodeCount(); }
    TreeNode getNextNode(TreeNode node) const { return nodes().getNextNode(node); }
    TreeNode getPreviousNode(TreeNode node) const { return nodes().getPreviousNode(node); }
    std::wstring getNodeCaption(TreeNode node) const { return nodes().getNodeCaption(node); }
    void setNodeCaption(TreeNode node, const std::wstring& caption) {
        changing().setNodeCaption(node, caption);
    }
    TreeNode getFirstRootNode() const { return nodes().getFirstRootNode(); }
    TreeNode getLastRootNode() const { return nodes().getLastRootNode(); }
    TreeNode getFirstChildNode(TreeNode node) const { return nodes().getFirstChildNode(node); }
    TreeNode getLastChildNode(TreeNode node) const { return nodes().getLastChildNode(node); }
    TreeNode getNextSiblingNode(TreeNode node) const { return nodes().getNextSiblingNode(node); }
    auto getPreviousSiblingNode(TreeNode node) const {
        return nodes().getPreviousSiblingNode(node);
    }
    TreeNode getLastSiblingNode(TreeNode node) const { return nodes().getLastSiblingNode(node); }
    TreeNode getParentNode(TreeNode node) const { return nodes().getParentNode(node); }
    void ensureNodeVisible(TreeNode node) { implementation().ensureNodeVisible(node); }
    Rect getNodeBoundary(TreeNode node) const { return nodes().getNodeBoundary(node); }
    bool getNodeExpanded(TreeNode node) const { return nodes().getNodeExpanded(node); }
    void setNodeExpanded(TreeNode node, bool on) { changing().setNodeExpanded(node, on); }
    void expandAllNodes() { changing().expandAllNodes(); }
    void expandAllNodes(TreeNode node) { changing().expandAllNodes(node); }
    void collapseAllNodes() { changing().collapseAllNodes(); }
    void collapseAllNodes(TreeNode node) { changing().collapseAllNodes(node); }
    bool getNodeChecked(TreeNode node) const { return nodes().getNodeChecked(node); }
    void setNodeChecked(TreeNode node, bool checked) { changing().setNodeChecked(node, checked); }
    std::int32_t getNodeBitmap(TreeNode node) const { return nodes().getNodeBitmap(node); }
    void setNodeBitmap(TreeNode node, std::int32_t bitmap) {
        changing().setNodeBitmap(node, bitmap);
    }
    std::wstring getNodeKey(TreeNode node) const { return nodes().getNodeKey(node); }
    TreeNode findNode(const std::wstring& key) const { return nodes().findNode(key); }
    bool getNodeEmphasized(TreeNode node) const { return nodes().getNodeEmphasized(node); }
    void setNodeEmphasized(TreeNode node, bool on) { changing().setNodeEmphasized(node, on); }
    TreeNode getSelectedNode() const { return nodes().getSelectedNode(); }
    void selectNode(TreeNode node) { changing().selectNode(node); }
    void clearNodeSelection() { changing().clearNodeSelection(); }

    // While kNodeExpanding or kNodeCollapsing is being sent: it does not happen.
    void refuseExpanding() noexcept { expandingRefused_ = true; }

    // For the backend: the nodes; what the user did. The messages are sent without synchronising.
    TreeModel& model() noexcept { return model_; }
    const TreeModel& model() const noexcept { return model_; }
    void acceptSelection(TreeNode node) {
        if (model_.select(node)) {
            tell(kSelectionChanged, node);
        }
    }
    void acceptChecked(TreeNode node, bool checked) {
        if (model_.setChecked(node, checked)) {
            tell(kCheckStateChanged, node);
        }
    }
    // Before a node is expanded or collapsed; false when it is refused.
    bool acceptExpanding(TreeNode node, bool expand);
    // After it was.
    void acceptExpanded(TreeNode node, bool expanded) { model_.setExpanded(node, expanded); }
    void acceptRightClick(TreeNode node) { tell(kRightClicked, node); }

private:
    INativeTreeViewImpl& nodes() const { return implementation(); }
    void tell(const MessageKind& kind, TreeNode node) {
        notify(kind, MessageWord(static_cast<std::int64_t>(node)));
    }

    FontRef font_;
    BitmapListRef bitmaps_;
    TreeModel model_;
    bool checkBoxes_ = false;
    bool expandingRefused_ = false;
};

// The portable part of every backend. Mirror operations are called when there is a
// native object and redrawing is on, and let no failure out.
class TreeViewImplementation : public Implementation<NativeTreeView, INativeTreeViewImpl> {
public:
    void setEnableRedraw(bool enable) override;
    TreeNode addRootNode(const std::wstring& key, const std::wstring& caption) override {
        return added(model().addRoot(key, caption));
    }
    TreeNode addChildNode(TreeNode parent, const std::wstring& key,
                          const std::wstring& caption) override {
        return added(model().addChild(parent, key, caption));
    }
    TreeNode addSiblingNode(TreeNode sibling, const std::wstring& key,
                            const std::wstring& caption) override {
        return added(model().addSibling(sibling, key, caption));
    }
    void removeNode(TreeNode node) override;
    void clear() override {
        model().clear();
        mirror(true, &Self::mirrorCleared);
    }
    std::size_t getNodeCount() const override { return model().nodeCount(); }
    TreeNode getNextNode(TreeNode node) const override { return model().next(node); }
    TreeNode getPreviousNode(TreeNode node) const override { return model().previous(node); }
    std::wstring getNodeCaption(TreeNode node) const override { return model().caption(node); }
    void setNodeCaption(TreeNode node, const std::wstring& caption) override {
        mirror(model().setCaption(node, caption), &Self::mirrorNode, node);
    }
    TreeNode getFirstRootNode() const override { return model().firstRoot(); }
    TreeNode getLastRootNode() const override { return model().lastRoot(); }
    TreeNode getFirstChildNode(TreeNode node) const override { return model().firstChild(node); }
    TreeNode getLastChildNode(TreeNode node) const override { return model().lastChild(node); }
    TreeNode getNextSiblingNode(TreeNode node) const override { return model().nextSibling(node); }
    TreeNode getPreviousSiblingNode(TreeNode node) const override {
        return model().previousSibling(node);
    }
    TreeNode getLastSiblingNode(TreeNode node) const override { return model().lastSibling(node); }
    TreeNode getParentNode(TreeNode node) const override { return model().parent(node); }
    bool getNodeExpanded(TreeNode node) const override { return model().isExpanded(node); }
    void setNodeExpanded(TreeNode node, bool expanded) override;
    void expandAllNodes() override { expandSubtree(kNoNode, true); }
    void expandAllNodes(TreeNode node) override { expandSubtree(node, true); }
    void collapseAllNodes() override { expandSubtree(kNoNode, false); }
    void collapseAllNodes(TreeNode node) override { expandSubtree(node, false); }
    bool getNodeChecked(TreeNode node) const override { return model().isChecked(node); }
    void setNodeChecked(TreeNode node, bool on) override {
        mirror(model().setChecked(node, on), &Self::mirrorNode, node);
    }
    std::int32_t getNodeBitmap(TreeNode node) const override { return model().bitmap(node); }
    void setNodeBitmap(TreeNode node, std::int32_t bitmap) override {
        mirror(model().setBitmap(node, bitmap), &Self::mirrorNode, node);
    }
    std::wstring getNodeKey(TreeNode node) const override { return model().key(node); }
    TreeNode findNode(const std::wstring& key) const override { return model().find(key); }
    bool getNodeEmphasized(TreeNode node) const override { return model().isEmphasized(node); }
    void setNodeEmphasized(TreeNode node, bool emphasized) override {
        mirror(model().setEmphasized(node, emphasized), &Self::mirrorNode, node);
    }
    TreeNode getSelectedNode() const override { return model().selected(); }
    void selectNode(TreeNode node) override;
    void clearNodeSelection() override { selectNode(kNoNode); }

    // Whether the native object may differ from the model because of changes
    // that were not mirrored; the next synchronisation brings all of it.
    bool isStale() const noexcept { return state_ < TreeState::kBehind; }
    bool isRedrawEnabled() const noexcept { return redrawOff_ == 0; }

protected:
    TreeModel& model() const { return getAbstraction().model(); }

    // Called when the model has the node.
    virtual void mirrorAdded(TreeNode node) = 0;
    // Called before the node leaves the model, with the selection if that is in it or below.
    virtual void mirrorRemoving(TreeNode node) = 0;
    virtual void mirrorCleared() = 0;
    // Caption, image, check or emphasis of a node.
    virtual void mirrorNode(TreeNode node) = 0;
    virtual void mirrorExpanded(TreeNode node) = 0;
    // Of a node and all below it; of all nodes for kNoNode.
    virtual void mirrorAllExpanded(TreeNode top) = 0;
    virtual void mirrorSelection() = 0;

    // For a native object that shows the whole model.
    void markFresh() noexcept { state_ = TreeState::kCurrent; }
    // Of one that has been filled.
    void markStale() noexcept { state_ = isStale() ? state_ : TreeState::kStale; }

    TreeState state_ = TreeState::kEmpty;

private:
    using Self = TreeViewImplementation;

    // Whether to mirror now; otherwise the change is noted for later.
    bool mirrors();
    template <class... Args>
    void mirror(bool changed, void (Self::*how)(Args...), Args... args) {
        if (changed && mirrors()) {
            (this->*how)(args...);
        }
    }
    TreeNode added(TreeNode node) {
        mirror(true, &Self::mirrorAdded, node);
        return node;
    }
    void expandSubtree(TreeNode top, bool expanded);
    // The outermost collapsed node above the selected one takes over from it.
    void liftSelection() {
        mirror(model().select(model().standInFor(model().selected())), &Self::mirrorSelection);
    }

    std::uint32_t redrawOff_ = 0;
};

}  // namespace zustd
