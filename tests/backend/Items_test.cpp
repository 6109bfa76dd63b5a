// Trees and grids with the system's own controls: what the user does with the
// mouse and the keyboard, and how they look.
#include <cstring>

#include "support/ItemsTest.h"
// Behind the wrapper.
#include <uxtheme.h>
#include <vssym32.h>

extern "C" void* __imp_OpenThemeData IMPORT_SLOT("OpenThemeData", "@8");

namespace zustd {
namespace {

using namespace test;

class GridUserTest : public BackendItemsTest {
protected:
    Point placeOf(std::size_t row) const {
        RECT area{LVIR_LABEL, 0, 0, 0};
        EXPECT_TRUE(ask(*grid_, LVM_GETITEMRECT, area, row));
        return {area.left + 5, area.top + 5};
    }
    Point boxOf(std::size_t row) const {
        return partAt<LVHITTESTINFO>(*grid_, LVM_HITTEST, LVHT_ONITEMSTATEICON, placeOf(row).y);
    }
};

TEST_F(GridUserTest, mouseAndKeys_sendExactlyWhatTheUserDid) {
    addRows({L"alpha", L"beta", L"br", L"delta"});
    const Point below{99, 250};
    const auto shiftDown = [] { pressKeys({VK_SHIFT, VK_DOWN}); };
    const auto controlSpace = [] { pressKeys({VK_CONTROL, VK_SPACE}); };
    const std::pair<std::function<void()>, const wchar_t*> actions[]{
        {[&] { clickAt(*grid_, placeOf(1)); }, L" selectionChanged:1 leftClicked:1"},
        {[&] { clickAt(*grid_, boxOf(2)); }, L" checkStateChanged:2"},
        {[] { pressKeys({VK_SPACE}); }, L" checkStateChanged:1"},
        {shiftDown, L" selectionChanged:1"},
        {[] { pressKeys({VK_APPS}); }, L" rightClicked:2"},
        {controlSpace, L" selectionChanged:1"},
        {[&] { clickAt(*grid_, placeOf(3), true); }, L" selectionChanged:3 rightClicked:3"},
        {[&] { send(*grid_, WM_CHAR, 'B', 1); }, L" selectionChanged:1"},
        {[&] { send(*grid_, WM_CHAR, 'r', 1); }, L" selectionChanged:2"},
        {[&] { clickAt(*grid_, below); }, L" selectionChanged:-1 leftClicked:-1"},
    };
    for (const auto& [act, wanted] : actions) {
        act();
        runMessages(60);
        EXPECT_EQ(std::exchange(log_->text, {}), wanted);
    }
    EXPECT_EQ(shownGrid(), (Texts{L"alpha -1 1|", L"beta -1 2|", L"br -1 2|", L"delta -1 1|"}));
    const HWND header = ListView_GetHeader(nativeWindowOf(*grid_));
    sendMouse(header, WM_LBUTTONDOWN, {80, 5}, MK_LBUTTON);
    sendMouse(header, WM_MOUSEMOVE, {100, 5}, MK_LBUTTON);
    sendMouse(header, WM_LBUTTONUP, {100, 5});
    EXPECT_EQ(grid_->columns()[0].width, 100);
    grid_->synchronizeTree();
    EXPECT_EQ(send(*grid_, LVM_GETCOLUMNWIDTH, 0), 100);
    sendMouse(header, WM_LBUTTONDBLCLK, {100, 5}, MK_LBUTTON);
    EXPECT_EQ(grid_->columns()[0].width, 0);
    EXPECT_NE(send(*grid_, LVM_GETCOLUMNWIDTH, 0), 100);
}

TEST_F(GridUserTest, receiversWhoClearAndDropTheGrid_areSurvived) {
    // At the check box, the selection, the click and the right click.
    for (const int what : {0, 1, 2, 3}) {
        addRows({L"alpha", L"beta"});
        what > 1 ? grid_->selectRow(1) : void();
        const HWND native = nativeWindowOf(*grid_);
        log_->onMessage = [this](const MessageKind&) {
            grid_->clear();
            window_->removeChild(grid_.get());
        };
        clickAt(*grid_, what == 0 ? boxOf(1) : placeOf(1), what == 3);
        EXPECT_FALSE(IsWindow(native)) << what;
        window_->addChild(grid_);
        EXPECT_EQ(shownGrid(), Texts());
    }
    addRows({L"alpha", L"beta"});
    log_->text = {};
    log_->onMessage = [this](const MessageKind&) { grid_->clear(); };
    clickAt(*grid_, placeOf(1), true);
    EXPECT_EQ(log_->text, L" selectionChanged:1 rightClicked:-1");
}

TEST_F(GridUserTest, rowTooltip_asked_isWhatAReceiverSays) {
    addRows({L"alpha"});
    wchar_t text[8] = L"";
    NMLVGETINFOTIPW request{};
    request.hdr = {nativeWindowOf(*grid_), 0, LVN_GETINFOTIPW};
    request.pszText = text;
    request.cchTextMax = 8;
    log_->onMessage = [this](const MessageKind&) { grid_->setRowTooltip(L"one that is cut"); };
    for (request.iItem = 0; request.iItem < 8; request.iItem += 7) {
        ask(*window_, WM_NOTIFY, request);
        EXPECT_STREQ(text, L"one tha");
    }
    EXPECT_EQ(log_->text, L" beforeDisplayRowTooltip:0");
}

TEST_F(BackendItemsTest, treeMadeAnew_keepsTheFocusAndAHiddenOneStaysHidden) {
    addNodes({L"a", L"b"});
    const Rect label = tree_->getNodeBoundary(node(L"b"));
    const POINT place = onScreen(nativeWindowOf(*tree_), {label.left + 4, label.top + 4});
    click(place);
    runMessages(60);
    mouse_event(MOUSEEVENTF_RIGHTDOWN | MOUSEEVENTF_RIGHTUP, 0, 0, 0, 0);
    runMessages(60);
    EXPECT_EQ(log_->text,
              named(L" selectionChanged:", node(L"b")) + named(L" rightClicked:", node(L"b")));
    tree_->setCheckBoxes(false);
    EXPECT_EQ(GetFocus(), nativeWindowOf(*tree_));
    tree_->setVisible(false);
    tree_->removeNode(node(L"a"));
    runMessages(0);
    EXPECT_FALSE(IsWindowVisible(nativeWindowOf(*tree_)));
}

TEST_F(BackendItemsTest, treeFilledAnew_staysWhereItWasScrolledTo) {
    for (std::size_t i = 0; i < 200; ++i) {
        tree_->addRootNode(numbered(i), L"root");
    }
    const TreeNode middle = tree_->addChildNode(node(numbered(150)), L"", L"child");
    tree_->setEnableRedraw(false);
    tree_->ensureNodeVisible(middle);
    EXPECT_TRUE(tree_->getNodeBoundary(middle).isEmpty());
    tree_->setEnableRedraw(true);
    const Rect seen = tree_->getNodeBoundary(middle);
    const auto item = tree_->model().nativeWord(middle);
    RECT caption{};
    std::memcpy(&caption, &item, sizeof(item));
    ask(*tree_, TVM_GETITEMRECT, caption, TRUE);
    EXPECT_EQ(seen, (Rect{caption.left, caption.top, caption.right - 1, caption.bottom - 1}));
    // So many that the window is filled anew.
    for (std::size_t i = 0; i < 120; ++i) {
        tree_->removeNode(node(numbered(i)));
    }
    EXPECT_EQ(tree_->getNodeBoundary(middle), seen);
    EXPECT_TRUE(tree_->getNodeBoundary(kNoNode).isEmpty());
}

// --- How it looks ---------------------------------------------------------------------------

TEST_F(BackendItemsTest, columns_areAsDescribedAndGrowWhenTheyAreResized) {
    const auto expectShown = [this](const std::vector<GridColumn>& columns) {
        const int formats[]{LVCFMT_LEFT, LVCFMT_CENTER, LVCFMT_RIGHT};
        grid_->setColumns(columns);
        EXPECT_EQ(Header_GetItemCount(ListView_GetHeader(nativeWindowOf(*grid_))),
                  static_cast<int>(columns.size()));
        for (std::size_t i = 0; i < columns.size(); ++i) {
            wchar_t text[16] = L"";
            LVCOLUMNW column{LVCF_TEXT | LVCF_FMT, 0, 0, text, 16, 0, 0, 0, 0, 0, 0};
            EXPECT_TRUE(ask(*grid_, LVM_GETCOLUMNW, column, i));
            EXPECT_EQ(text, columns[i].caption);
            EXPECT_EQ(column.fmt & LVCFMT_JUSTIFYMASK, formats[i]);
        }
    };
    const auto width = [this](WPARAM column) { return send(*grid_, LVM_GETCOLUMNWIDTH, column); };
    expectShown({{L"Other", 90}});
    expectShown({{L"Name", 0}, {L"Name", 0, Alignment::kCentre}, {L"", 0, Alignment::kEnd}});
    EXPECT_EQ(width(2), 12);
    const LRESULT empty = width(0);
    addRows({L"a row whose caption takes more room than others"});
    grid_->setCell(0, 1, grid_->getCell(0, 0));
    EXPECT_EQ(width(0), empty);
    grid_->resizeColumns();
    EXPECT_GT(width(1), empty + 100);
    EXPECT_EQ(width(0), width(1) + 20 + 16);
    expectShown({{L"Name", 0}});
    const LRESULT list = send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL);
    grid_->synchronizeBitmaps();
    EXPECT_NE(send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL), list);
}

HTHEME WINAPI openNoTheme(HWND, LPCWSTR) { return nullptr; }

TEST_F(BackendItemsTest, checkBoxes_lookAsTheThemeHasThemOrPlain) {
    const auto check = [](const Canvas& wanted, const Control& control, UINT id, int checked) {
        const auto list = [&] {
            return reinterpret_cast<HIMAGELIST>(send(control, id, LVSIL_STATE));
        };
        const HIMAGELIST former = list();
        send(control, WM_THEMECHANGED);
        EXPECT_NE(list(), former);
        const Canvas shown({16, 16});
        ImageList_Draw(list(), checked, shown.context(), 0, 0, ILD_NORMAL);
        EXPECT_TRUE(shown.isLike(wanted));
    };
    const HTHEME theme = OpenThemeData(nullptr, L"BUTTON");
    ASSERT_NE(theme, nullptr);
    const Canvas themed({16, 16});
    SIZE size{};
    GetThemePartSize(theme, themed.context(), BP_CHECKBOX, CBS_CHECKEDNORMAL, nullptr, TS_DRAW,
                     &size);
    const RECT box{(16 - size.cx) / 2, (16 - size.cy) / 2, (16 + size.cx) / 2, (16 + size.cy) / 2};
    DrawThemeBackground(theme, themed.context(), BP_CHECKBOX, CBS_CHECKEDNORMAL, &box, nullptr);
    CloseThemeData(theme);
    check(themed, *tree_, TVM_GETIMAGELIST, 2);
    check(themed, *grid_, LVM_GETIMAGELIST, 1);
    const ReplacedImport noTheme(__imp_OpenThemeData, reinterpret_cast<void*>(&openNoTheme));
    const Canvas plain({16, 16});
    RECT whole{1, 1, 15, 15};
    DrawFrameControl(plain.context(), &whole, DFC_BUTTON,
                     DFCS_BUTTONCHECK | DFCS_FLAT | DFCS_CHECKED);
    EXPECT_FALSE(plain.isLike(themed));
    check(plain, *tree_, TVM_GETIMAGELIST, 2);
}

TEST_F(BackendItemsTest, fontsColoursAndScaling_reachBothWindows) {
    const auto expectColors = [this](COLORREF text, COLORREF background) {
        EXPECT_EQ(static_cast<COLORREF>(send(*tree_, TVM_GETTEXTCOLOR)), text);
        EXPECT_EQ(static_cast<COLORREF>(send(*tree_, TVM_GETBKCOLOR)), background);
        EXPECT_EQ(static_cast<COLORREF>(send(*grid_, LVM_GETTEXTCOLOR)), text);
        EXPECT_EQ(static_cast<COLORREF>(send(*grid_, LVM_GETBKCOLOR)), background);
        EXPECT_EQ(static_cast<COLORREF>(send(*grid_, LVM_GETTEXTBKCOLOR)), background);
    };
    expectColors(GetSysColor(COLOR_WINDOWTEXT), GetSysColor(COLOR_WINDOW));
    const LRESULT before = send(*tree_, WM_GETFONT);
    const auto large = std::make_shared<FontDescriptor>();
    large->setSize(20);
    tree_->setFont(large);
    grid_->setFont(large);
    EXPECT_NE(send(*tree_, WM_GETFONT), before);
    EXPECT_EQ(send(*tree_, WM_GETFONT), send(*grid_, WM_GETFONT));
    const auto colors = std::make_shared<ColorsDescriptor>();
    colors->setColor(ColorRole::kText, Color::rgb(0x10, 0x20, 0x30));
    colors->setColor(ColorRole::kBackground, Color::rgb(0x40, 0x50, 0x60));
    tree_->setColors(colors);
    grid_->setColors(colors);
    expectColors(RGB(0x10, 0x20, 0x30), RGB(0x40, 0x50, 0x60));
    WindowServiceWin32Gdi::setScalingFactor(2);
    window_->synchronizeTree();
    for (const WPARAM kind : {WPARAM{LVSIL_SMALL}, WPARAM{LVSIL_STATE}}) {
        for (const LRESULT list : {send(*tree_, TVM_GETIMAGELIST, kind & TVSIL_STATE),
                                   send(*grid_, LVM_GETIMAGELIST, kind)}) {
            int width = 0;
            int height = 0;
            ImageList_GetIconSize(reinterpret_cast<HIMAGELIST>(list), &width, &height);
            EXPECT_EQ(height, 32);
        }
    }
    EXPECT_EQ(send(*grid_, LVM_GETCOLUMNWIDTH, 1), 120);
}

}  // namespace
}  // namespace zustd
