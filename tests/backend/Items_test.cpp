// Trees and grids with the system's own controls: what the user does with the
// mouse and the keyboard, and how they look.
#include <cstring>
#include <tuple>

#include "ZuText.h"
#include "support/ItemsTest.h"
// Behind the wrapper.
#include <uxtheme.h>
#include <vssym32.h>

namespace zustd {
namespace {

using namespace test;

class ItemUserTest : public BackendItemsTest {
protected:
    using Actions = std::vector<std::pair<std::function<void()>, const wchar_t*>>;

    // Each is sent exactly what the user did.
    void expectSent(const Actions& actions) {
        log_->take();
        for (std::size_t i = 0; i < actions.size(); ++i) {
            actions[i].first();
            EXPECT_EQ(log_->take(), actions[i].second) << i;
        }
    }
    static void rightClick(POINT place) {
        movePointer(place);
        mouse_event(MOUSEEVENTF_RIGHTDOWN | MOUSEEVENTF_RIGHTUP, 0, 0, 0, 0);
    }
    // Leftmost point in a line of the control that it takes for such a part.
    template <class Hit>
    static POINT partAt(const Control& control, UINT message, UINT part, std::int32_t y) {
        Hit hit{};
        for (hit.pt = {0, y}; hit.pt.x < 300 && (hit.flags & part) == 0; ++hit.pt.x) {
            ask(control, message, hit);
        }
        EXPECT_NE(hit.flags & part, 0U);
        return onScreen(nativeWindowOf(control), {hit.pt.x + 2, y});
    }
    POINT placeOf(const wchar_t* key, UINT part = TVHT_ONITEMLABEL) const {
        const Rect caption = tree_->getNodeBoundary(node(key));
        return partAt<TVHITTESTINFO>(*tree_, TVM_HITTEST, part, caption.top + 7);
    }
    POINT placeOfRow(std::size_t row, bool onCheckBox = false) const {
        RECT area{LVIR_LABEL, 0, 0, 0};
        EXPECT_TRUE(ask(*grid_, LVM_GETITEMRECT, area, row));
        const std::int32_t y = (area.top + area.bottom) / 2;
        return onCheckBox ? partAt<LVHITTESTINFO>(*grid_, LVM_HITTEST, LVHT_ONITEMSTATEICON, y)
                          : onScreen(nativeWindowOf(*grid_), {area.left + 5, y});
    }
};

TEST_F(ItemUserTest, tree_mouse_sendsExactlyWhatTheUserDid) {
    addNodes({L"a", L"b", L"c"});
    addNodes({L"a1"}, L"a");
    const auto clickButton = [&] { click(placeOf(L"a", TVHT_ONITEMBUTTON)); };
    expectSent({
        {[&] { click(placeOf(L"b")); }, L"selectionChanged:b"},
        {[&] { click(placeOf(L"b")); }, L""},
        {[&] { click(placeOf(L"c", TVHT_ONITEMSTATEICON)); }, L"checkStateChanged:c"},
        {[&] { pressKeys({VK_SPACE}); }, L"checkStateChanged:b"},
        {clickButton, L"nodeExpanding:a"},
        {[&] { rightClick(placeOf(L"a1")); }, L"rightClicked:a1"},
        {[&] {
             rightClick(onScreen(nativeWindowOf(*tree_), {99, 250}));
         },
         L"rightClicked:none"},
        {[&] { pressKeys({VK_APPS}); }, L"rightClicked:b"},
        {[&] { click(placeOf(L"a1")); }, L"selectionChanged:a1"},
        {clickButton, L"nodeCollapsing:a selectionChanged:a"},
        {[&] { click(placeOf(L"a")), click(placeOf(L"a")); }, L"nodeExpanding:a"},
    });
    log_->onMessage = [this](const MessageKind&) { tree_->refuseExpanding(); };
    expectSent({{clickButton, L"nodeCollapsing:a"}});
    EXPECT_EQ(shownTree(), (Texts{L"a -1 1-s", L" a1 -1 1", L"b -1 2", L"c -1 2"}));
}

TEST_F(ItemUserTest, grid_mouseAndKeys_sendExactlyWhatTheUserDid) {
    addRows({L"alpha", L"beta", L"bravo", L"delta"});
    const auto press = [](std::initializer_list<WORD> keys) {
        return [keys = std::vector<WORD>(keys)] { pressKeys({keys.front(), keys.back()}); };
    };
    const auto type = [this](char letter) {
        return [this, letter] { send(*grid_, WM_CHAR, static_cast<WPARAM>(letter), 1); };
    };
    const HWND grid = nativeWindowOf(*grid_);
    expectSent({
        {[&] { click(placeOfRow(1)); }, L"selectionChanged:beta leftClicked:beta"},
        {[&] { click(placeOfRow(2, true)); }, L"checkStateChanged:bravo"},
        {[&] { pressKeys({VK_SPACE}); }, L"checkStateChanged:beta"},
        {press({VK_SHIFT, VK_DOWN}), L"selectionChanged:beta"},
        {[&] { pressKeys({VK_APPS}); }, L"rightClicked:bravo"},
        {press({VK_CONTROL, VK_SPACE}), L"selectionChanged:beta"},
        {press({VK_CONTROL, VK_SPACE}), L"selectionChanged:beta"},
    });
    EXPECT_EQ(shownGrid(),
              (Texts{L"alpha -1 1|", L"beta -1 2s|", L"bravo -1 2s|", L"delta -1 1|"}));
    expectSent({
        {[&] { rightClick(placeOfRow(3)); }, L"selectionChanged:delta rightClicked:delta"},
        {type('b'), L"selectionChanged:beta"},
        {type('r'), L"selectionChanged:bravo"},
        {[&] {
             click(onScreen(grid, {99, 250}));
         },
         L"selectionChanged:none leftClicked:none"},
    });
    EXPECT_EQ(shownGrid(), (Texts{L"alpha -1 1|", L"beta -1 2|", L"bravo -1 2|", L"delta -1 1|"}));
    const HWND header = ListView_GetHeader(grid);
    sendMouse(header, WM_LBUTTONDOWN, {80, 5}, MK_LBUTTON);
    sendMouse(header, WM_MOUSEMOVE, {100, 5}, MK_LBUTTON);
    sendMouse(header, WM_LBUTTONUP, {100, 5});
    EXPECT_EQ(grid_->columns()[0].width, 100);
    grid_->synchronizeTree();
    EXPECT_EQ(send(*grid_, LVM_GETCOLUMNWIDTH, 0), 100);
}

TEST_F(ItemUserTest, receiversWhoClearAndDropTheControl_areSurvived) {
    const auto clickButton = [&] { click(placeOf(L"b", TVHT_ONITEMBUTTON)); };
    const std::tuple<std::shared_ptr<Control>, const MessageKind&, std::function<void()>> cases[]{
        {tree_, NativeTreeView::kSelectionChanged, [&] { click(placeOf(L"b")); }},
        {tree_, NativeTreeView::kNodeExpanding, clickButton},
        {tree_, NativeTreeView::kNodeCollapsing,
         [&] { tree_->setNodeExpanded(node(L"b"), true), clickButton(); }},
        {tree_, NativeTreeView::kRightClicked, [&] { rightClick(placeOf(L"b")); }},
        {tree_, NativeTreeView::kCheckStateChanged,
         [&] { click(placeOf(L"b", TVHT_ONITEMSTATEICON)); }},
        {grid_, NativeGridView::kSelectionChanged, [&] { click(placeOfRow(1)); }},
        {grid_, NativeGridView::kLeftClicked, [&] { click(placeOfRow(1)); }},
        {grid_, NativeGridView::kRightClicked, [&] { rightClick(placeOfRow(1)); }},
        {grid_, NativeGridView::kCheckStateChanged, [&] { click(placeOfRow(1, true)); }},
    };
    for (const auto& [view, kind, act] : cases) {
        SCOPED_TRACE(narrow(std::wstring(kind.name())));
        addNodes({L"a", L"b"});
        addNodes({L"b1"}, L"b");
        addRows({L"alpha", L"beta"});
        runMessages(20);
        const HWND native = nativeWindowOf(*view);
        log_->onMessage = [&, &view = view, &kind = kind](const MessageKind& sent) {
            if (&sent == &kind) {
                tree_->clear();
                grid_->clear();
                window_->removeChild(view.get());
                // Its window may be in the middle of a message still.
                runMessages(10);
            }
        };
        act();
        log_->take();
        log_->onMessage = [](const MessageKind&) {};
        EXPECT_FALSE(IsWindow(native));
        window_->addChild(view);
        EXPECT_EQ(shownTree(), Texts());
        EXPECT_EQ(shownGrid(), Texts());
    }
    addRows({L"alpha", L"beta"});
    log_->onMessage = [this](const MessageKind&) { grid_->clear(); };
    expectSent({{[&] { rightClick(placeOfRow(1)); }, L"selectionChanged:beta rightClicked:none"}});
}

TEST_F(ItemUserTest, rowTooltip_asked_isWhatAReceiverSays) {
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
    EXPECT_EQ(log_->take(), L"beforeDisplayRowTooltip:alpha");
}

TEST_F(ItemUserTest, windowMadeAnew_keepsTheFocusAndAHiddenOneStaysHidden) {
    addNodes({L"a"});
    expectSent({{[&] { click(placeOf(L"a")); }, L"selectionChanged:a"}});
    tree_->setCheckBoxes(false);
    EXPECT_EQ(GetFocus(), nativeWindowOf(*tree_));
    tree_->setVisible(false);
    addNodes({L"b"});
    tree_->removeNode(node(L"a"));
    runMessages(50);
    EXPECT_FALSE(IsWindowVisible(nativeWindowOf(*tree_)));
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(BackendItemsTest, treeFilledAnew_staysWhereItWasScrolledTo) {
    for (std::size_t i = 0; i < 200; ++i) {
        tree_->addRootNode(numbered(i), L"root");
    }
    const TreeNode middle = node(numbered(150));
    EXPECT_TRUE(tree_->getNodeBoundary(middle).isEmpty());
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

TEST_F(BackendItemsTest, aBurstOfRowsAndCells_putsOneMessageIntoTheQueue) {
    for (std::size_t i = 0; i < 1000; ++i) {
        grid_->setCell(grid_->addRow(numbered(i)), 0, L"text");
    }
    int posted = 0;
    for (MSG message; PeekMessageW(&message, nativeWindowOf(*grid_), 0, 0, PM_REMOVE);) {
        posted += message.message == WM_NULL ? 1 : 0;
        DispatchMessageW(&message);
    }
    EXPECT_EQ(posted, 1);
}

// --- How it looks ---------------------------------------------------------------------------

TEST_F(BackendItemsTest, columns_areAsDescribedAndGrowWhenTheyAreResized) {
    const auto expectShown = [this](const std::vector<GridColumn>& columns) {
        const HWND header = ListView_GetHeader(nativeWindowOf(*grid_));
        const int formats[]{LVCFMT_LEFT, LVCFMT_CENTER, LVCFMT_RIGHT};
        grid_->setColumns(columns);
        EXPECT_EQ(Header_GetItemCount(header), static_cast<int>(columns.size()));
        for (std::size_t i = 0; i < columns.size(); ++i) {
            wchar_t text[16] = L"";
            LVCOLUMNW column{};
            column.mask = LVCF_TEXT | LVCF_FMT;
            column.pszText = text;
            column.cchTextMax = 16;
            EXPECT_TRUE(ask(*grid_, LVM_GETCOLUMNW, column, i));
            EXPECT_EQ(text, columns[i].caption);
            EXPECT_EQ(column.fmt & LVCFMT_JUSTIFYMASK, formats[i]);
        }
    };
    const std::vector<GridColumn> three{
        {L"Name", 0}, {L"Kind", 50, Alignment::kCentre}, {L"Size", 60, Alignment::kEnd}};
    expectShown({{L"Other", 90}});
    expectShown(three);
    const LRESULT empty = send(*grid_, LVM_GETCOLUMNWIDTH, 0);
    EXPECT_GT(empty, 20 + 16 + 12);
    addRows({L"a row whose caption takes more room than others"});
    EXPECT_EQ(send(*grid_, LVM_GETCOLUMNWIDTH, 0), empty);
    grid_->resizeColumns();
    EXPECT_GT(send(*grid_, LVM_GETCOLUMNWIDTH, 0), empty + 100);
    expectShown({three[0]});
    const LRESULT list = send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL);
    grid_->synchronizeBitmaps();
    EXPECT_NE(send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL), list);
}

TEST_F(BackendItemsTest, checkBoxes_lookAsTheThemeHasThem) {
    const HTHEME theme = OpenThemeData(nullptr, L"BUTTON");
    ASSERT_NE(theme, nullptr);
    const Canvas wanted({16, 16});
    SIZE size{};
    GetThemePartSize(theme, wanted.context(), BP_CHECKBOX, CBS_CHECKEDNORMAL, nullptr, TS_DRAW,
                     &size);
    const RECT box{(16 - size.cx) / 2, (16 - size.cy) / 2, (16 + size.cx) / 2, (16 + size.cy) / 2};
    DrawThemeBackground(theme, wanted.context(), BP_CHECKBOX, CBS_CHECKEDNORMAL, &box, nullptr);
    CloseThemeData(theme);
    EXPECT_GT(wanted.inkCount(wanted.area()), 30);
    const auto check = [&](const Control& control, UINT id, WPARAM kind, int checked) {
        const auto list = [&] { return reinterpret_cast<HIMAGELIST>(send(control, id, kind)); };
        const HIMAGELIST former = list();
        send(control, WM_THEMECHANGED);
        EXPECT_NE(list(), former);
        const Canvas shown({16, 16});
        ImageList_Draw(list(), checked, shown.context(), 0, 0, ILD_NORMAL);
        EXPECT_TRUE(shown.isLike(wanted));
    };
    check(*tree_, TVM_GETIMAGELIST, TVSIL_STATE, 2);
    check(*grid_, LVM_GETIMAGELIST, LVSIL_STATE, 1);
}

TEST_F(BackendItemsTest, fontsColoursAndScaling_reachBothWindows) {
    const auto large = std::make_shared<FontDescriptor>();
    large->setSize(20);
    const auto colors = std::make_shared<ColorsDescriptor>();
    colors->setColor(ColorRole::kText, Color::rgb(0x10, 0x20, 0x30));
    colors->setColor(ColorRole::kBackground, Color::rgb(0x40, 0x50, 0x60));
    const auto expectColors = [this](COLORREF text, COLORREF background) {
        EXPECT_EQ(static_cast<COLORREF>(send(*tree_, TVM_GETTEXTCOLOR)), text);
        EXPECT_EQ(static_cast<COLORREF>(send(*tree_, TVM_GETBKCOLOR)), background);
        EXPECT_EQ(static_cast<COLORREF>(send(*grid_, LVM_GETTEXTCOLOR)), text);
        EXPECT_EQ(static_cast<COLORREF>(send(*grid_, LVM_GETBKCOLOR)), background);
        EXPECT_EQ(static_cast<COLORREF>(send(*grid_, LVM_GETTEXTBKCOLOR)), background);
    };
    const LRESULT before = send(*tree_, WM_GETFONT);
    expectColors(GetSysColor(COLOR_WINDOWTEXT), GetSysColor(COLOR_WINDOW));
    tree_->setFont(large);
    grid_->setFont(large);
    tree_->setColors(colors);
    grid_->setColors(colors);
    EXPECT_NE(send(*tree_, WM_GETFONT), before);
    EXPECT_EQ(send(*tree_, WM_GETFONT), send(*grid_, WM_GETFONT));
    expectColors(RGB(0x10, 0x20, 0x30), RGB(0x40, 0x50, 0x60));
    for (const int factor : {1, 2}) {
        WindowServiceWin32Gdi::setScalingFactor(factor);
        window_->synchronizeTree();
        for (const LRESULT list : {send(*tree_, TVM_GETIMAGELIST, TVSIL_NORMAL),
                                   send(*tree_, TVM_GETIMAGELIST, TVSIL_STATE),
                                   send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL),
                                   send(*grid_, LVM_GETIMAGELIST, LVSIL_STATE)}) {
            int width = 0;
            int height = 0;
            ImageList_GetIconSize(reinterpret_cast<HIMAGELIST>(list), &width, &height);
            EXPECT_EQ(height, 16 * factor);
        }
        EXPECT_EQ(send(*grid_, LVM_GETCOLUMNWIDTH, 1), 60 * factor);
    }
}

TEST_F(BackendItemsTest, windowsMadeAgainAndAgain_leaveNoObjectsBehind) {
    addNodes({L"a"});
    addRows({L"alpha"});
    expectNothingLeft([this] {
        for (const std::shared_ptr<Control>& view :
             {std::shared_ptr<Control>(tree_), std::shared_ptr<Control>(grid_)}) {
            const HWND native = nativeWindowOf(*view);
            window_->removeChild(view.get());
            EXPECT_FALSE(IsWindow(native));
            window_->addChild(view);
            UpdateWindow(nativeWindowOf(*view));
        }
    });
}

}  // namespace
}  // namespace zustd
