// Trees and grids with the system's own controls: what the user does with the
// mouse and the keyboard, and how they look.
#include <optional>

#include "support/ItemsTest.h"
// Behind the wrapper.
#include <uxtheme.h>
#include <vssym32.h>

extern "C" {
extern void* __imp_OpenThemeData IMPORT_SLOT("OpenThemeData", "@8");
extern void* __imp_ImageList_Create IMPORT_SLOT("ImageList_Create", "@20");
extern void* __imp_ImageList_Add IMPORT_SLOT("ImageList_Add", "@12");
}

namespace zustd::test {
namespace {

HTHEME WINAPI openNone(HWND, const wchar_t*) { return nullptr; }
HIMAGELIST WINAPI makeNone(int, int, UINT, int, int) { return nullptr; }
int WINAPI addNone(HIMAGELIST, HBITMAP, HBITMAP) { return -1; }

// An image without anything: one dot that nobody sees keeps it from being opaque.
void drawNone(const Canvas& canvas) { SetPixel(canvas.context(), 0, 0, RGB(254, 254, 254)); }

TEST_F(BackendItemsTest, gridMouseAndKeys_sendExactlyWhatTheUserDid) {
    addRows({L"alpha", L"beta", L"br", L"delta"});
    const auto keys = [](std::vector<WORD> held) { return [held] { pressKeys(held); }; };
    const auto click = [this](Point place, bool right = false) {
        return [=, this] { clickAt(*grid_, place, right); };
    };
    const auto type = [this](wchar_t c) { return [=, this] { send(*grid_, WM_CHAR, c, 1); }; };
    const std::pair<std::function<void()>, const wchar_t*> actions[]{
        {click(boxOf(2)), L" checkStateChanged:2"},
        {keys({VK_APPS}), L" rightClicked:-1"},
        {keys({VK_DOWN}), L" selectionChanged:0"},
        {click(placeOf(1)), L" selectionChanged:1 leftClicked:1"},
        {keys({VK_SPACE}), L" checkStateChanged:1"},
        {keys({VK_SHIFT, VK_DOWN}), L" selectionChanged:1"},
        {keys({VK_APPS}), L" rightClicked:2"},
        {keys({VK_CONTROL, VK_SPACE}), L" selectionChanged:1"},
        {click({100, placeOf(3).y}, true), L" selectionChanged:3 rightClicked:3"},
        {type('B'), L" selectionChanged:1"},
        {type('r'), L" selectionChanged:2"},
        {click({99, 250}), L" selectionChanged:-1 leftClicked:-1"}};
    for (const auto& [act, wanted] : actions) {
        act();
        runMessages(60);
        EXPECT_EQ(std::exchange(told_, {}), wanted);
    }
    EXPECT_EQ(shownGrid(), (Texts{L"alpha -1 1|", L"beta -1 2|", L"br -1 2|", L"delta -1 1|"}));
}

TEST_F(BackendItemsTest, receiversWhoClearAndDropTheGrid_areSurvived) {
    // At the check box, the selection, the click, the right click; and between the latter.
    for (const int what : {0, 1, 2, 3, 4}) {
        addRows({L"alpha", L"beta"});
        what == 2 || what == 3 ? grid_->selectRow(1) : void();
        const HWND native = nativeWindowOf(*grid_);
        onMessage_ = [&] {
            grid_->clear();
            if (what != 4) {
                window_->removeChild(grid_.get());
            }
        };
        clickAt(*grid_, what == 0 ? boxOf(1) : placeOf(1), what > 2);
        EXPECT_EQ(IsWindow(native) != FALSE, what == 4) << what;
        window_->addChild(grid_);
        EXPECT_EQ(shownGrid(), Texts());
    }
    EXPECT_TRUE(told_.ends_with(L" selectionChanged:1 rightClicked:-1"));
}

TEST_F(BackendItemsTest, treeFilledAnew_staysWhereItWasScrolledToAndHidden) {
    for (std::size_t i = 0; i < 200; ++i) {
        tree_->addRootNode(numbered(i), L"root");
    }
    const TreeNode middle = tree_->addChildNode(node(numbered(150)), L"", L"child");
    Rect seen;
    // At first with a parent to expand.
    for (const int round : {1, 2}) {
        send(*tree_, WM_VSCROLL, SB_TOP);
        tree_->setEnableRedraw(false);
        tree_->ensureNodeVisible(middle);
        EXPECT_TRUE(tree_->getNodeBoundary(middle).isEmpty());
        tree_->setEnableRedraw(true);
        seen = tree_->getNodeBoundary(middle);
        EXPECT_FALSE(seen.isEmpty()) << round;
    }
    // One that goes leaves the others' items, very many have the window filled anew.
    const HWND native = nativeWindowOf(*tree_);
    const HTREEITEM first = TreeView_GetFirstVisible(native);
    TreeView_SetItemState(native, first, TVIS_CUT, TVIS_CUT);
    tree_->removeNode(node(numbered(199)));
    EXPECT_NE(TreeView_GetItemState(native, first, TVIS_CUT), 0U);
    for (std::size_t i = 0; i < 120; ++i) {
        tree_->removeNode(node(numbered(i)));
    }
    EXPECT_EQ(tree_->getNodeBoundary(middle), seen);
    EXPECT_EQ(send(*tree_, TVM_GETCOUNT), 80);
    EXPECT_EQ(TreeView_GetItemState(native, TreeView_GetFirstVisible(native), TVIS_CUT), 0U);
    // What the user scrolls away stays away.
    send(*tree_, WM_VSCROLL, SB_TOP);
    window_->synchronizeTree();
    EXPECT_TRUE(tree_->getNodeBoundary(middle).isEmpty());
    tree_->setVisible(false);
    tree_->removeNode(middle);
    runMessages(0);
    EXPECT_FALSE(IsWindowVisible(native));
}

TEST_F(BackendItemsTest, checkBoxes_withAndWithoutTheme_areInTheMiddleOfTheirImages) {
    const auto colors = std::make_shared<ColorsDescriptor>();
    colors->setColor(ColorRole::kBackground, Color::rgb(0x40, 0x50, 0x60));
    tree_->setColors(colors);
    grid_->setColors(colors);
    for (const auto& [extent, isThemed] :
         {std::pair{8, true}, {32, true}, {8, false}, {32, false}}) {
        const HTHEME theme = isThemed ? OpenThemeData(nullptr, L"BUTTON") : nullptr;
        std::optional<ReplacedImport> plain;
        isThemed ? void()
                 : void(plain.emplace(__imp_OpenThemeData, reinterpret_cast<void*>(&openNone)));
        WindowServiceWin32Gdi::setScalingFactor(extent / 16.0);
        window_->synchronizeTree();
        for (const LRESULT handle : {send(*tree_, TVM_GETIMAGELIST, TVSIL_STATE),
                                     send(*grid_, LVM_GETIMAGELIST, LVSIL_STATE)}) {
            const auto list = reinterpret_cast<HIMAGELIST>(handle);
            for (int i = ImageList_GetImageCount(list), state = 2; i-- > 0; --state) {
                const Canvas shown({extent, extent});
                const Canvas wanted({extent, extent});
                ImageList_Draw(list, i, shown.context(), 0, 0, ILD_NORMAL);
                SIZE size{extent, extent};
                const int part = state == 2 ? CBS_CHECKEDNORMAL : CBS_UNCHECKEDNORMAL;
                GetThemePartSize(theme, shown.context(), BP_CHECKBOX, part, nullptr, TS_DRAW, &size);
                const LONG side = std::min<LONG>(size.cx, extent - 2);
                const LONG corner = (extent - side) / 2;
                RECT box{corner, corner, corner + side, corner + side};
                if (state > 0) {
                    SetDCBrushColor(wanted.context(), RGB(0x40, 0x50, 0x60));
                    FillRect(wanted.context(), &box, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
                    isThemed ? void(DrawThemeBackground(theme, wanted.context(), BP_CHECKBOX, part, &box, nullptr))
                             : void(DrawFrameControl(wanted.context(), &box, DFC_BUTTON, DFCS_BUTTONCHECK | DFCS_FLAT | (state == 2 ? UINT{DFCS_CHECKED} : 0U)));
                }
                state == 0 ? drawNone(wanted) : void();
                EXPECT_TRUE(shown.isLike(wanted)) << extent << isThemed << i << state;
            }
        }
    }
}

TEST_F(BackendItemsTest, imagesThatTheSystemRefuses_areReported) {
    const std::tuple<void*&, void*, const char*> refusals[]{
        {__imp_ImageList_Create, reinterpret_cast<void*>(&makeNone), "Could not create image list"},
        {__imp_ImageList_Add, reinterpret_cast<void*>(&addNone), "Could not add image"}};
    for (const auto& [slot, refusal, wanted] : refusals) {
        const LRESULT list = send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL);
        const TraceCapture trace;
        {
            const ReplacedImport refused(slot, refusal);
            grid_->synchronizeBitmaps();
        }
        ASSERT_FALSE(trace.messages().empty());
        EXPECT_NE(trace.messages()[0].find(wanted), std::string::npos) << trace.messages()[0];
        EXPECT_EQ(send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL), list);
        grid_->synchronizeBitmaps();
        EXPECT_NE(send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL), list);
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
        const Canvas blank({32, 32});
        drawNone(blank);
        for (int i = 0; i < 3; ++i) {
            const Canvas shown({32, 32});
            ImageList_Draw(list, i, shown.context(), 0, 0, ILD_NORMAL);
            EXPECT_EQ(shown.isLike(blank), i == 2);
        }
        int size[2]{};
        ImageList_GetIconSize(list, &size[0], &size[1]);
        EXPECT_TRUE(size[0] == 32 && size[1] == 32);
    }
}

}  // namespace
}  // namespace zustd::test
