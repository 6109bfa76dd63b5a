// Trees and grids: what the user does with the mouse and the keyboard, and how they look.
#include "support/ItemsTest.h"

extern "C" void* __imp_OpenThemeData IMPORT_SLOT("OpenThemeData", "@8");

namespace zustd::test {
namespace {

void* WINAPI openNone(HWND, const wchar_t*) { return nullptr; }

TEST_F(BackendItemsTest, gridMouseAndKeys_sendExactlyWhatTheUserDid) {
    addRows({L"alpha", L"beta", L"br", L"delta"});
    const auto keys = [](std::vector<WORD> held) { return [held] { pressKeys(held); }; };
    const auto click = [this](Point place, bool right = false) {
        return [=, this] { clickAt(*grid_, place, right); };
    };
    const std::pair<std::function<void()>, const wchar_t*> actions[]{
        {click(boxOf(2)), L" checkStateChanged:2."},
        {keys({VK_APPS}), L" rightClicked:-1."},
        {keys({VK_DOWN}), L" selectionChanged:0."},
        {click(placeOf(1)), L" selectionChanged:1. leftClicked:1."},
        {keys({VK_SPACE}), L" checkStateChanged:1."},
        {keys({VK_SHIFT, VK_DOWN}), L" selectionChanged:1."},
        {keys({VK_APPS}), L" rightClicked:2."},
        {keys({VK_CONTROL, VK_SPACE}), L" selectionChanged:1."},
        {click({100, placeOf(3).y}, true), L" selectionChanged:3. rightClicked:3."},
        {click({99, 250}), L" selectionChanged:-1. leftClicked:-1."}};
    // Whatever a receiver does, it hears one thing after the other.
    onMessage_ = [this] {
        grid_->synchronizeBitmaps();
        grid_->removeRow(grid_->addRow(L"new"));
        told_ += L'.';
    };
    for (const auto& [act, wanted] : actions) {
        act();
        runMessages(60);
        EXPECT_EQ(std::exchange(told_, {}), wanted);
    }
    sendMouse(ListView_GetHeader(nativeWindowOf(*grid_)), WM_LBUTTONDBLCLK, {80, 5}, MK_LBUTTON);
    EXPECT_EQ(grid_->columns()[0].width, 0);
    EXPECT_NE(send(*grid_, LVM_GETCOLUMNWIDTH, 0), 80);
}

TEST_F(BackendItemsTest, treeFilledAnew_staysWhereItWasScrolledTo) {
    for (std::size_t i = 0; i < 200; ++i) {
        tree_->addRootNode(numbered(i), L"root");
    }
    const TreeNode middle = tree_->addChildNode(node(numbered(150)), L"", L"child");
    tree_->ensureNodeVisible(middle);
    const Rect seen = tree_->getNodeBoundary(middle);
    for (std::size_t i = 0; i < 120; ++i) {
        tree_->removeNode(node(numbered(i)));
    }
    EXPECT_EQ(tree_->getNodeBoundary(middle), seen);
    EXPECT_EQ(send(*tree_, TVM_GETCOUNT), 81);
    // What the user scrolls away stays away.
    send(*tree_, WM_VSCROLL, SB_TOP);
    window_->synchronizeTree();
    EXPECT_TRUE(tree_->getNodeBoundary(middle).isEmpty());
}

TEST_F(BackendItemsTest, columns_areAsDescribedAndGrowWhenTheyAreResized) {
    const auto width = [this](WPARAM column) { return send(*grid_, LVM_GETCOLUMNWIDTH, column); };
    const std::vector<GridColumn> columns{
        {L"Title", 0}, {L"Name", 0, Alignment::kCentre}, {L"", 0, Alignment::kEnd}};
    grid_->setColumns({{L"Other", 90}});
    EXPECT_EQ(Header_GetItemCount(ListView_GetHeader(nativeWindowOf(*grid_))), 1);
    grid_->setColumns(columns);
    for (std::size_t i = 0; i < columns.size(); ++i) {
        wchar_t text[16] = L"";
        LVCOLUMNW column{LVCF_TEXT | LVCF_FMT, 0, 0, text, 16, 0, 0, 0, 0, 0, 0};
        EXPECT_TRUE(ask(*grid_, LVM_GETCOLUMNW, column, i));
        EXPECT_EQ(text, columns[i].caption);
        const int formats[]{LVCFMT_LEFT, LVCFMT_CENTER, LVCFMT_RIGHT};
        EXPECT_EQ(column.fmt & LVCFMT_JUSTIFYMASK, formats[i]);
    }
    EXPECT_EQ(width(2), 12);
    addRows({L"a row whose caption takes more room than others"});
    grid_->setCell(0, 1, grid_->getCell(0, 0));
    grid_->resizeColumns();
    EXPECT_GT(width(1), 150);
    EXPECT_EQ(width(0), width(1) + 20 + 16);
    EXPECT_TRUE(grid_->columns() == columns) << "nobody has moved them";
    HDITEMW narrow{.mask = HDI_WIDTH};
    for (HDITEMW* const item : {&narrow, static_cast<HDITEMW*>(nullptr)}) {
        const HWND header = ListView_GetHeader(nativeWindowOf(*grid_));
        NMHEADERW moved{{header, 0, HDN_ITEMCHANGEDW}, 0, 0, item};
        ask(*grid_, WM_NOTIFY, moved);
        moved.hdr.code = HDN_BEGINDRAG;
        EXPECT_TRUE(ask(*grid_, WM_NOTIFY, moved)) << "columns keep their order";
    }
    grid_->resizeColumns();
    EXPECT_EQ(width(0), 1) << "0 stands for as much as is needed";
    const LRESULT list = send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL);
    grid_->synchronizeBitmaps();
    EXPECT_NE(send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL), list);
}

TEST_F(BackendItemsTest, checkBoxesWithoutTheme_drawnByTheSystem_fillTheirImages) {
    const ReplacedImport plain(__imp_OpenThemeData, reinterpret_cast<void*>(&openNone));
    send(*tree_, WM_THEMECHANGED);
    const auto list = reinterpret_cast<HIMAGELIST>(send(*tree_, TVM_GETIMAGELIST, TVSIL_STATE));
    for (const int state : {1, 2}) {
        const Canvas shown({16, 16});
        const Canvas wanted({16, 16});
        RECT box{1, 1, 15, 15};
        const UINT look = DFCS_BUTTONCHECK | DFCS_FLAT | (state == 2 ? UINT{DFCS_CHECKED} : 0U);
        ImageList_Draw(list, state, shown.context(), 0, 0, ILD_NORMAL);
        DrawFrameControl(wanted.context(), &box, DFC_BUTTON, look);
        EXPECT_TRUE(shown.isLike(wanted)) << state;
    }
}

TEST_F(BackendItemsTest, fontsColoursAndImages_reachBothWindowsScaled) {
    const LRESULT before = send(*tree_, WM_GETFONT);
    const auto large = std::make_shared<FontDescriptor>();
    large->setSize(20);
    const auto colors = std::make_shared<ColorsDescriptor>();
    colors->setColor(ColorRole::kText, Color::rgb(0x10, 0x20, 0x30));
    colors->setColor(ColorRole::kBackground, Color::rgb(0x40, 0x50, 0x60));
    tree_->setFont(large);
    grid_->setFont(large);
    tree_->setColors(colors);
    grid_->setColors(colors);
    WindowServiceWin32Gdi::setScalingFactor(2);
    window_->synchronizeTree();
    EXPECT_EQ(send(*grid_, LVM_GETCOLUMNWIDTH, 1), 120);
    // Made anew, they have all of it again.
    window_->releaseTree();
    window_->synchronizeTree();
    EXPECT_NE(send(*tree_, WM_GETFONT), before);
    EXPECT_EQ(send(*tree_, WM_GETFONT), send(*grid_, WM_GETFONT));
    EXPECT_EQ(send(*tree_, TVM_GETTEXTCOLOR), RGB(0x10, 0x20, 0x30));
    EXPECT_EQ(send(*tree_, TVM_GETBKCOLOR), RGB(0x40, 0x50, 0x60));
    EXPECT_EQ(send(*grid_, LVM_GETTEXTCOLOR), RGB(0x10, 0x20, 0x30));
    EXPECT_EQ(send(*grid_, LVM_GETTEXTBKCOLOR), RGB(0x40, 0x50, 0x60));
    const LRESULT boxes = send(*tree_, TVM_GETIMAGELIST, TVSIL_STATE);
    send(*tree_, WM_THEMECHANGED);
    EXPECT_NE(send(*tree_, TVM_GETIMAGELIST, TVSIL_STATE), boxes);
    // Their last image is none.
    for (const LRESULT handle : {send(*tree_, TVM_GETIMAGELIST, TVSIL_NORMAL),
                                 send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL)}) {
        const auto list = reinterpret_cast<HIMAGELIST>(handle);
        for (int i = 0; i < 3; ++i) {
            const Canvas shown({32, 32});
            ImageList_Draw(list, i, shown.context(), 0, 0, ILD_NORMAL);
            EXPECT_EQ(shown.pixel(16, 16) == kWhite, i == 2);
        }
    }
    for (const auto& [factor, items, checks] : {std::tuple{2.0, 32, 32}, {0.01, 1, 4}}) {
        WindowServiceWin32Gdi::setScalingFactor(factor);
        window_->synchronizeTree();
        for (const auto& [kind, extent] : {std::pair{TVSIL_NORMAL, items}, {TVSIL_STATE, checks}}) {
            const LRESULT list = send(*tree_, TVM_GETIMAGELIST, WPARAM(kind));
            int size[2]{};
            ImageList_GetIconSize(reinterpret_cast<HIMAGELIST>(list), &size[0], &size[1]);
            EXPECT_TRUE(size[0] == extent && size[1] == extent) << size[0];
        }
    }
}

}  // namespace
}  // namespace zustd::test
