#include "Pages.h"
#include "ZuNativeTreeView.h"

namespace zustd::gallery {

namespace {

constexpr Size kTree{215, 300};

std::shared_ptr<NativeTreeView> addTree(PageBuilder& builder, bool hasImages, bool hasChecks) {
    auto tree = builder.add(builder.windows().createNativeTreeView(), kTree);
    if (hasImages) {
        // Folder, open folder, message.
        tree->setBitmaps(std::make_shared<BitmapListDescriptor>(
            std::vector<std::uint64_t>{120, 123, 100}, Size{16, 16}));
    }
    tree->setCheckBoxes(hasChecks);
    tree->setEnableRedraw(false);
    for (int i = 1; i <= 3; ++i) {
        const std::wstring number = std::to_wstring(i);
        const TreeNode folder = tree->addRootNode(L"folder" + number, L"Folder " + number);
        tree->setNodeBitmap(folder, i == 1 ? 1 : 0);
        for (int k = 1; k <= 12; ++k) {
            const TreeNode item =
                tree->addChildNode(folder, L"item" + number + L"." + std::to_wstring(k),
                                   k == 2 ? L"A message whose caption does not fit"
                                          : L"Message " + std::to_wstring(k));
            tree->setNodeBitmap(item, 2);
            tree->setNodeChecked(item, k % 3 == 0);
        }
    }
    const TreeNode first = tree->findNode(L"folder1");
    tree->setNodeExpanded(first, true);
    tree->setNodeEmphasized(first, true);
    tree->selectNode(tree->findNode(L"item1.3"));
    tree->setEnableRedraw(true);
    return tree;
}

}  // namespace

void buildTree(PageBuilder& builder) {
    builder.section(L"Trees: images and checks, plain");
    addTree(builder, true, true);
    addTree(builder, false, false);
}

}  // namespace zustd::gallery
