// A native tree of nodes with images, check boxes and one selected node.
//
// The nodes are owned here, in a TreeModel that a native object can be filled
// from at any time. Every operation on nodes goes through the backend's slot:
// a backend derives from TreeViewImplementation, which changes the model and
// then tells the backend what to do to its native object. What the user does
// comes back through the accept operations.
//
// The selected node is never below a collapsed one: selecting a node expands
// what is above it, and a node that the program collapses takes the selection
// over from below it, without a message.
//
// Switch redrawing off around changes of many nodes: only the model changes
// then, and switching it on again brings the native object up to date at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "ZuControl.h"
#include "ZuTreeModel.h"

namespace zustd {

// What a backend does for a tree view. Slot order is fixed. Nodes exist, or the
// model's assertions fail; kNoNode comes back where there is none.
class INativeTreeViewImpl {
public:
    INativeTreeViewImpl() = default;
    INativeTreeViewImpl(const INativeTreeViewImpl&) = delete;
    INativeTreeViewImpl& operator=(const INativeTreeViewImpl&) = delete;
    virtual ~INativeTreeViewImpl() = default;

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
    // 20: expands what is above and scrolls.
    virtual void ensureNodeVisible(TreeNode node) = 0;
    // 21: on the tree view's client area; empty for a node that is scrolled
    // away or below a collapsed one.
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

class NativeTreeView : public Abstraction<INativeTreeViewImpl>, public Control {
public:
    // First word: the tree view; second: the node (nodeOfWord), or kNoNode.
    static const MessageKind kCheckStateChanged;
    // Before the user does it; a receiver may call refuseExpanding().
    static const MessageKind kNodeCollapsing;
    static const MessageKind kNodeExpanding;
    static const MessageKind kRightClicked;
    static const MessageKind kSelectionChanged;

    static TreeNode nodeOfWord(MessageWord word) noexcept {
        return static_cast<TreeNode>(word.number());
    }

    NativeTreeView();
    ~NativeTreeView() override;

    // May be null.
    const std::shared_ptr<FontDescriptor>& font() const noexcept { return font_; }
    const std::shared_ptr<BitmapListDescriptor>& bitmaps() const noexcept { return bitmaps_; }
    bool setFont(const std::shared_ptr<FontDescriptor>& font);
    bool setBitmaps(const std::shared_ptr<BitmapListDescriptor>& bitmaps);
    bool hasCheckBoxes() const noexcept { return checkBoxes_; }
    // A tree view that has a native object gets a new one.
    bool setCheckBoxes(bool checkBoxes);

    // The operations of INativeTreeViewImpl. Each fails the assertion "impl_"
    // without backend and "contains(node)" for a node that there is not; only
    // ensureNodeVisible does nothing then, and getNodeBoundary is empty, since
    // what is on the screen may be asked for at any time. Changes by the program
    // send no message.
    void setEnableRedraw(bool enable);
    TreeNode addRootNode(const std::wstring& key, const std::wstring& caption);
    TreeNode addChildNode(TreeNode parent, const std::wstring& key, const std::wstring& caption);
    TreeNode addSiblingNode(TreeNode sibling, const std::wstring& key, const std::wstring& caption);
    void removeNode(TreeNode node);
    void clear();
    std::size_t getNodeCount() const;
    TreeNode getNextNode(TreeNode node) const;
    TreeNode getPreviousNode(TreeNode node) const;
    std::wstring getNodeCaption(TreeNode node) const;
    void setNodeCaption(TreeNode node, const std::wstring& caption);
    TreeNode getFirstRootNode() const;
    TreeNode getLastRootNode() const;
    TreeNode getFirstChildNode(TreeNode node) const;
    TreeNode getLastChildNode(TreeNode node) const;
    TreeNode getParentNode(TreeNode node) const;
    TreeNode getLastSiblingNode(TreeNode node) const;
    TreeNode getNextSiblingNode(TreeNode node) const;
    TreeNode getPreviousSiblingNode(TreeNode node) const;
    Rect getNodeBoundary(TreeNode node) const;
    bool getNodeExpanded(TreeNode node) const;
    void setNodeExpanded(TreeNode node, bool expanded);
    void expandAllNodes();
    void expandAllNodes(TreeNode node);
    void collapseAllNodes();
    void collapseAllNodes(TreeNode node);
    bool getNodeChecked(TreeNode node) const;
    void setNodeChecked(TreeNode node, bool checked);
    std::int32_t getNodeBitmap(TreeNode node) const;
    void setNodeBitmap(TreeNode node, std::int32_t bitmap);
    std::wstring getNodeKey(TreeNode node) const;
    TreeNode findNode(const std::wstring& key) const;
    bool getNodeEmphasized(TreeNode node) const;
    void setNodeEmphasized(TreeNode node, bool emphasized);
    TreeNode getSelectedNode() const;
    void selectNode(TreeNode node);
    void clearNodeSelection();
    void ensureNodeVisible(TreeNode node);

    // While kNodeExpanding or kNodeCollapsing is being sent: it does not happen.
    void refuseExpanding() noexcept { expandingRefused_ = true; }

    IImplementation* backend() const noexcept override { return untypedImplementation(); }

    // For the backend: the nodes; what the user did. The messages are sent
    // without synchronising.
    TreeModel& model() noexcept { return model_; }
    const TreeModel& model() const noexcept { return model_; }
    void acceptSelection(TreeNode node);
    void acceptChecked(TreeNode node, bool checked);
    // Before a node is expanded or collapsed; false when it is refused.
    bool acceptExpanding(TreeNode node, bool expand);
    // After it was.
    void acceptExpanded(TreeNode node, bool expanded);
    void acceptRightClick(TreeNode node);

private:
    TreeNode noteChange(TreeNode node = kNoNode);

    std::shared_ptr<FontDescriptor> font_;
    std::shared_ptr<BitmapListDescriptor> bitmaps_;
    TreeModel model_;
    bool checkBoxes_ = false;
    bool expandingRefused_ = false;
};

// The portable part of every backend: keeps the nodes, and after each change
// calls a mirror operation when there is a native object and redrawing is on.
// Mirror operations let no failure out.
class TreeViewImplementation : public Implementation<NativeTreeView, INativeTreeViewImpl> {
public:
    void setEnableRedraw(bool enable) override;
    TreeNode addRootNode(const std::wstring& key, const std::wstring& caption) override;
    TreeNode addChildNode(TreeNode parent, const std::wstring& key,
                          const std::wstring& caption) override;
    TreeNode addSiblingNode(TreeNode sibling, const std::wstring& key,
                            const std::wstring& caption) override;
    void removeNode(TreeNode node) override;
    void clear() override;
    std::size_t getNodeCount() const override;
    TreeNode getNextNode(TreeNode node) const override;
    TreeNode getPreviousNode(TreeNode node) const override;
    std::wstring getNodeCaption(TreeNode node) const override;
    void setNodeCaption(TreeNode node, const std::wstring& caption) override;
    TreeNode getFirstRootNode() const override;
    TreeNode getLastRootNode() const override;
    TreeNode getFirstChildNode(TreeNode node) const override;
    TreeNode getLastChildNode(TreeNode node) const override;
    TreeNode getParentNode(TreeNode node) const override;
    TreeNode getLastSiblingNode(TreeNode node) const override;
    TreeNode getNextSiblingNode(TreeNode node) const override;
    TreeNode getPreviousSiblingNode(TreeNode node) const override;
    bool getNodeExpanded(TreeNode node) const override;
    void setNodeExpanded(TreeNode node, bool expanded) override;
    void expandAllNodes() override;
    void expandAllNodes(TreeNode node) override;
    void collapseAllNodes() override;
    void collapseAllNodes(TreeNode node) override;
    bool getNodeChecked(TreeNode node) const override;
    void setNodeChecked(TreeNode node, bool checked) override;
    std::int32_t getNodeBitmap(TreeNode node) const override;
    void setNodeBitmap(TreeNode node, std::int32_t bitmap) override;
    std::wstring getNodeKey(TreeNode node) const override;
    TreeNode findNode(const std::wstring& key) const override;
    bool getNodeEmphasized(TreeNode node) const override;
    void setNodeEmphasized(TreeNode node, bool emphasized) override;
    TreeNode getSelectedNode() const override;
    void selectNode(TreeNode node) override;
    void clearNodeSelection() override;

    // Whether the native object may differ from the model because of changes
    // that were not mirrored; the next synchronisation brings all of it.
    bool isStale() const noexcept { return stale_; }
    bool isRedrawEnabled() const noexcept { return redrawOff_ == 0; }

protected:
    virtual void mirrorAdded(TreeNode node) = 0;
    // Called before the node leaves the model.
    virtual void mirrorRemoving(TreeNode node) = 0;
    virtual void mirrorCleared() = 0;
    // Caption, image, check or emphasis of a node.
    virtual void mirrorNode(TreeNode node) = 0;
    virtual void mirrorExpanded(TreeNode node) = 0;
    // Of a node and all below it; of all nodes for kNoNode.
    virtual void mirrorAllExpanded(TreeNode top) = 0;
    virtual void mirrorSelection() = 0;

    // Called by the backend when its native object shows the whole model, and
    // when it will bring that up to date as a whole.
    void markFresh() noexcept { stale_ = false; }
    void markStale() noexcept { stale_ = true; }

private:
    // Whether to mirror now; otherwise the change is noted for later.
    bool mirrors();
    TreeNode added(TreeNode node);
    void expandSubtree(TreeNode top, bool expanded);
    void liftSelection();

    std::uint32_t redrawOff_ = 0;
    bool stale_ = true;
};

}  // namespace zustd
