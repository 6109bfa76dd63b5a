// Trees and grids with the system's own controls: what they show is read back
// from them, and what the user does is done with the mouse and the keyboard.
#include "support/ItemsTest.h"
// Behind the wrapper.
#include <uxtheme.h>
#include <vssym32.h>

namespace zustd {
namespace {

using namespace test;

// --- What the user does ---------------------------------------------------------------------

TEST_F(BackendItemsTest, tree_mouseAndKeys_sendExactlyWhatTheUserDid) {
    addNodes({L"a", L"b", L"c"});
    addNodes({L"a1"}, L"a");
    expectSent({
        {[&] { click(placeOf(L"b")); }, L"selectionChanged:b"},
        {[&] { click(placeOf(L"b")); }, L""},
        {[&] { click(partOf(L"c", TVHT_ONITEMSTATEICON)); }, L"checkStateChanged:c"},
        {[&] { pressKeys({VK_SPACE}); }, L"checkStateChanged:b"},
        {[&] { pressKeys({VK_UP}); }, L"selectionChanged:a"},
        {[&] { click(partOf(L"a", TVHT_ONITEMBUTTON)); }, L"nodeExpanding:a"},
        {[&] { rightClick(placeOf(L"a1")); }, L"rightClicked:a1"},
        {[&] { pressKeys({VK_APPS}); }, L"rightClicked:a"},
        {[&] { pressKeys({VK_LEFT}); }, L"nodeCollapsing:a"},
        {[&] { click(placeOf(L"a")), click(placeOf(L"a")); }, L"nodeExpanding:a"},
        {[&] { click(placeOf(L"a1")); }, L"selectionChanged:a1"},
    });
    log_->onMessage = [this](const MessageKind&) { tree_->refuseExpanding(); };
    expectSent({{[&] { click(partOf(L"a", TVHT_ONITEMBUTTON)); }, L"nodeCollapsing:a"}});
    EXPECT_EQ(shownTree(), (Texts{L"a -1-", L" a1 -1s", L"b -1c", L"c -1c"}));
    EXPECT_EQ(shownTree(), wantedTree());
}

TEST_F(BackendItemsTest, grid_mouseAndKeys_sendExactlyWhatTheUserDid) {
    addRows({L"alpha", L"beta", L"bravo", L"delta"});
    expectSent({
        {[&] { click(placeOfRow(1)); }, L"selectionChanged:beta leftClicked:beta"},
        {[&] { click(placeOfRow(2, true)); }, L"checkStateChanged:bravo"},
        {[&] { pressKeys({VK_SPACE}); }, L"checkStateChanged:beta"},
        {[&] {
             pressKeys({VK_SHIFT, VK_DOWN});
         },
         L"selectionChanged:beta"},
        {[&] { pressKeys({VK_APPS}); }, L"rightClicked:bravo"},
        {[&] {
             pressKeys({VK_CONTROL, VK_SPACE});
         },
         L"selectionChanged:beta"},
        {[&] {
             pressKeys({VK_CONTROL, VK_SPACE});
         },
         L"selectionChanged:beta"},
    });
    EXPECT_EQ(shownGrid(), (Texts{L"alpha -1|", L"beta -1cs|", L"bravo -1cs|", L"delta -1|"}));
    expectSent({
        {[&] { rightClick(placeOfRow(3)); }, L"selectionChanged:delta rightClicked:delta"},
        {[&] { send(*grid_, WM_CHAR, 'b', 1); }, L"selectionChanged:beta"},
        {[&] { send(*grid_, WM_CHAR, 'r', 1); }, L"selectionChanged:bravo"},
    });
    EXPECT_EQ(shownGrid(), wantedGrid());
    const HWND header = ListView_GetHeader(nativeWindowOf(*grid_));
    sendMouse(header, WM_LBUTTONDOWN, {80, 5}, MK_LBUTTON);
    sendMouse(header, WM_MOUSEMOVE, {100, 5}, MK_LBUTTON);
    sendMouse(header, WM_LBUTTONUP, {100, 5});
    EXPECT_EQ(grid_->columns()[0].width, 100);
    grid_->synchronizeTree();
    EXPECT_EQ(send(*grid_, LVM_GETCOLUMNWIDTH, 0), 100);
}

TEST_F(BackendItemsTest, receiversWhoRemoveItemsOrTheControl_areSurvived) {
    struct Case {
        const MessageKind& kind;
        std::function<void()> act;
    };
    const auto check = [this](Control& view, const Case& given, bool drop) {
        SCOPED_TRACE(std::string(drop ? "dropped at " : "cleared at ") +
                     narrow(std::wstring(given.kind.name())));
        const std::shared_ptr<Control> kept = sharedReference(&view);
        tree_->clear();
        grid_->clear();
        addNodes({L"a", L"b"});
        addNodes({L"b1"}, L"b");
        addRows({L"alpha", L"beta"});
        runMessages(20);
        const HWND native = nativeWindowOf(view);
        bool done = false;
        log_->onMessage = [&](const MessageKind& sent) {
            if (&sent == &given.kind) {
                done = true;
                tree_->clear();
                grid_->clear();
                if (drop) {
                    window_->removeChild(&view);
                    // Its window may be in the middle of a message still.
                    runMessages(10);
                }
            }
        };
        given.act();
        log_->take();
        log_->onMessage = [](const MessageKind&) {};
        EXPECT_TRUE(done);
        EXPECT_EQ(IsWindow(native) == FALSE, drop);
        if (drop) {
            window_->addChild(kept);
        }
        EXPECT_EQ(shownTree(), Texts());
        EXPECT_EQ(shownGrid(), Texts());
    };
    const auto clickButton = [&] { click(partOf(L"b", TVHT_ONITEMBUTTON)); };
    const Case ofTree[]{
        {NativeTreeView::kSelectionChanged, [&] { click(placeOf(L"b")); }},
        {NativeTreeView::kNodeExpanding, clickButton},
        {NativeTreeView::kNodeCollapsing,
         [&] { tree_->setNodeExpanded(node(L"b"), true), clickButton(); }},
        {NativeTreeView::kRightClicked, [&] { rightClick(placeOf(L"b")); }},
        {NativeTreeView::kCheckStateChanged, [&] { click(partOf(L"b", TVHT_ONITEMSTATEICON)); }},
    };
    const Case ofGrid[]{
        {NativeGridView::kSelectionChanged, [&] { click(placeOfRow(1)); }},
        {NativeGridView::kLeftClicked, [&] { click(placeOfRow(1)); }},
        {NativeGridView::kRightClicked, [&] { rightClick(placeOfRow(1)); }},
        {NativeGridView::kCheckStateChanged, [&] { click(placeOfRow(1, true)); }},
    };
    for (const bool drop : {false, true}) {
        for (const Case& given : ofTree) {
            check(*tree_, given, drop);
        }
        for (const Case& given : ofGrid) {
            check(*grid_, given, drop);
        }
    }
    addRows({L"alpha", L"beta"});
    log_->onMessage = [this](const MessageKind&) { grid_->clear(); };
    expectSent({{[&] { rightClick(placeOfRow(1)); }, L"selectionChanged:beta rightClicked:none"}});
}

TEST_F(BackendItemsTest, receiversWhoFillTheNodeUnderWay_areShownSo) {
    const std::function<void()> changes[]{
        [&] { tree_->addChildNode(node(L"a"), L"", L"more"); },
        [&] { tree_->selectNode(tree_->addChildNode(node(L"a"), L"", L"more")); },
        [&] { tree_->setNodeExpanded(node(L"a"), true); },
        [&] {
            tree_->setEnableRedraw(false);
            tree_->addRootNode(L"", L"b");
            tree_->setEnableRedraw(true);
        },
        [&] { tree_->collapseAllNodes(); },
    };
    for (const auto& change : changes) {
        tree_->clear();
        addNodes({L"a"});
        addNodes({L"a1"}, L"a");
        log_->onMessage = [&](const MessageKind& kind) {
            if (kind == NativeTreeView::kNodeExpanding || kind == NativeTreeView::kNodeCollapsing) {
                change();
            }
        };
        // Expanded and collapsed.
        for (int i = 0; i < 2; ++i) {
            click(partOf(L"a", TVHT_ONITEMBUTTON));
            log_->take();
            EXPECT_EQ(shownTree(), wantedTree()) << i;
            if (tree_->getNodeExpanded(node(L"a"))) {
                tree_->selectNode(node(L"a1"));
            }
        }
    }
}

TEST_F(BackendItemsTest, rowTooltip_asked_isWhatAReceiverSays) {
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

// --- What the program does ------------------------------------------------------------------

TEST_F(BackendItemsTest, tree_randomChanges_theControlFollowsAlsoWhenMadeAnew) {
    Random random(5);
    std::optional<ControlUpdate> update;
    bool isDrawn = true;
    for (std::size_t number = 0; number < 700; ++number) {
        const std::wstring text = numbered(number);
        TreeNode node = tree_->getFirstRootNode();
        for (std::size_t i = random.below(tree_->getNodeCount() + 1); i > 1; --i) {
            node = tree_->getNextNode(node);
        }
        const bool on = random.below(2) == 0;
        const std::size_t what = node == kNoNode ? 0 : random.below(15);
        switch (what) {
            // clang-format off
            case 0: tree_->addRootNode(text, text); break;
            case 1: case 2: case 3: tree_->addChildNode(node, text, text); break;
            case 4: case 5: tree_->addSiblingNode(node, text, text); break;
            case 6: tree_->removeNode(node); break;
            case 7: tree_->setNodeCaption(node, L"caption " + text); break;
            case 8: tree_->setNodeExpanded(node, on); break;
            case 9: tree_->setNodeChecked(node, on); break;
            case 10: tree_->setNodeEmphasized(node, on); break;
            case 11: tree_->setNodeBitmap(node, on ? 2 : -1); break;
            case 12: tree_->selectNode(node); break;
            case 13: on ? tree_->expandAllNodes(node) : tree_->collapseAllNodes(node); break;
            default: tree_->setCheckBoxes(on); break;
                // clang-format on
        }
        // Now and then several changes are not mirrored one by one.
        if (random.below(20) == 0) {
            update ? update.reset() : static_cast<void>(update.emplace(*tree_));
        }
        if (random.below(20) == 0) {
            tree_->setEnableRedraw(isDrawn = !isDrawn);
        }
        // Also after bursts of a hundred changes, which are not, either.
        if (!update && isDrawn && (number < 300 || number % 200 < 40)) {
            ASSERT_TRUE(followsTree()) << random.label() << ", change " << number << ": " << what;
        }
    }
    EXPECT_GT(tree_->getNodeCount(), 100U);
    update.reset();
    tree_->setEnableRedraw(true);
    tree_->releaseTree();
    window_->synchronizeTree();
    EXPECT_TRUE(followsTree());
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(BackendItemsTest, grid_randomChanges_theControlFollowsAlsoWhenMadeAnew) {
    Random random(6);
    std::optional<ControlUpdate> update;
    for (std::size_t number = 0; number < 900; ++number) {
        const std::wstring text = numbered(number);
        const bool on = random.below(2) == 0;
        const std::size_t row = random.below(grid_->getRowCount() + 1);
        const std::size_t what = row == grid_->getRowCount() ? 0 : random.below(13);
        switch (what) {
            // clang-format off
            case 0: case 1: grid_->addRow(text); break;
            case 2: grid_->removeRow(row); break;
            case 3: case 4: case 5: grid_->setCell(row, random.below(2), text); break;
            case 6: grid_->setRowChecked(row, on); break;
            case 7: grid_->setRowBitmap(row, on ? 1 : -1); break;
            case 8: case 9: on ? grid_->selectRow(row) : grid_->deselectRow(row); break;
            case 10: grid_->setCheckBoxes(on); break;
            case 11: if (number % 5 == 0) { grid_->setMultiSelect(on); } break;
            default: on ? grid_->selectAllRows() : grid_->deselectAllRows(); break;
                // clang-format on
        }
        if (random.below(20) == 0) {
            update ? update.reset() : static_cast<void>(update.emplace(*grid_));
        }
        if (number % 8 == 0 && !update) {
            ASSERT_EQ(shownGrid(), wantedGrid()) << random.label() << ", change " << number;
        }
    }
    EXPECT_GT(grid_->getRowCount(), 50U);
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(BackendItemsTest, places_staySoundAfterEveryKindOfChange) {
    tree_->setEnableRedraw(false);
    for (std::size_t i = 0; i < 200; ++i) {
        const TreeNode root = tree_->addRootNode(numbered(i), L"root");
        tree_->addChildNode(tree_->addChildNode(root, L"", L"child"), L"", L"grandchild");
    }
    const TreeNode middle = node(numbered(150).c_str());
    const auto isSeen = [this](TreeNode node) { return !tree_->getNodeBoundary(node).isEmpty(); };
    tree_->ensureNodeVisible(middle);
    EXPECT_FALSE(isSeen(middle));
    tree_->setEnableRedraw(true);
    EXPECT_TRUE(isSeen(middle));
    tree_->expandAllNodes(middle);
    EXPECT_TRUE(isSeen(middle));
    tree_->selectNode(tree_->getLastChildNode(tree_->getFirstChildNode(middle)));
    tree_->collapseAllNodes(middle);
    EXPECT_EQ(shownTree(), wantedTree());
    // Long bursts fill the window anew and do not scroll it.
    for (std::size_t i = 0; i < 140; ++i) {
        tree_->removeNode(node(numbered(i).c_str()));
    }
    EXPECT_TRUE(isSeen(middle));
    EXPECT_EQ(shownTree(), wantedTree());
    EXPECT_FALSE(isSeen(kNoNode));
    const TreeNode added = tree_->addRootNode(L"", L"new");
    tree_->selectNode(added);
    EXPECT_GT(tree_->getNodeBoundary(added).top, 200);
    tree_->setEnableRedraw(false);
    tree_->ensureNodeVisible(middle);
    tree_->removeNode(middle);
    tree_->setEnableRedraw(true);
    EXPECT_EQ(shownTree(), wantedTree());
}

TEST_F(BackendItemsTest, windowMadeAnew_keepsTheFocusAndAHiddenOneStaysHidden) {
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

TEST_F(BackendItemsTest, manyNodes_comeOneSliceAtATime) {
    constexpr std::size_t kMany = 20'000;
    addNodes({L"top"});
    for (std::size_t i = 0; i < kMany; ++i) {
        tree_->addChildNode(node(L"top"), numbered(i), numbered(i));
    }
    EXPECT_EQ(send(*tree_, TVM_GETCOUNT), 1);
    tree_->expandAllNodes();
    EXPECT_LT(send(*tree_, TVM_GETCOUNT), LRESULT{kMany / 2});
    runMessages(20'000, [&] { return send(*tree_, TVM_GETCOUNT) > LRESULT{kMany}; });
    EXPECT_EQ(shownTree(), wantedTree());
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
    EXPECT_EQ(shownGrid(), wantedGrid());
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
    EXPECT_GE(empty, 20 + 16 + 12);
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
    const LRESULT before = send(*tree_, WM_GETFONT);
    EXPECT_EQ(static_cast<COLORREF>(send(*tree_, TVM_GETBKCOLOR)), GetSysColor(COLOR_WINDOW));
    EXPECT_EQ(static_cast<COLORREF>(send(*grid_, LVM_GETTEXTCOLOR)), GetSysColor(COLOR_WINDOWTEXT));
    tree_->setFont(large);
    grid_->setFont(large);
    tree_->setColors(colors);
    grid_->setColors(colors);
    EXPECT_NE(send(*tree_, WM_GETFONT), before);
    EXPECT_EQ(send(*tree_, WM_GETFONT), send(*grid_, WM_GETFONT));
    EXPECT_EQ(send(*tree_, TVM_GETTEXTCOLOR), RGB(0x10, 0x20, 0x30));
    EXPECT_EQ(send(*tree_, TVM_GETBKCOLOR), RGB(0x40, 0x50, 0x60));
    EXPECT_EQ(send(*grid_, LVM_GETTEXTCOLOR), RGB(0x10, 0x20, 0x30));
    EXPECT_EQ(send(*grid_, LVM_GETBKCOLOR), RGB(0x40, 0x50, 0x60));
    EXPECT_EQ(send(*grid_, LVM_GETTEXTBKCOLOR), RGB(0x40, 0x50, 0x60));
    const auto heightOf = [](LRESULT list) {
        int width = 0;
        int height = 0;
        ImageList_GetIconSize(reinterpret_cast<HIMAGELIST>(list), &width, &height);
        return height;
    };
    for (const int factor : {1, 2}) {
        WindowServiceWin32Gdi::setScalingFactor(factor);
        window_->synchronizeTree();
        EXPECT_EQ(heightOf(send(*tree_, TVM_GETIMAGELIST, TVSIL_NORMAL)), 16 * factor);
        EXPECT_EQ(heightOf(send(*tree_, TVM_GETIMAGELIST, TVSIL_STATE)), 16 * factor);
        EXPECT_EQ(heightOf(send(*grid_, LVM_GETIMAGELIST, LVSIL_SMALL)), 16 * factor);
        EXPECT_EQ(heightOf(send(*grid_, LVM_GETIMAGELIST, LVSIL_STATE)), 16 * factor);
        EXPECT_EQ(send(*grid_, LVM_GETCOLUMNWIDTH, 1), 60 * factor);
    }
}

TEST_F(BackendItemsTest, windowsMadeAgainAndAgain_leaveNoObjectsBehind) {
    addNodes({L"a"});
    addRows({L"alpha"});
    std::pair<int, int> before;
    for (int i = 0; i < 20; ++i) {
        window_->removeChild(tree_.get());
        window_->removeChild(grid_.get());
        window_->addChild(tree_);
        window_->addChild(grid_);
        UpdateWindow(nativeWindowOf(*tree_));
        UpdateWindow(nativeWindowOf(*grid_));
        const std::pair<int, int> now{liveWindows(), drawingObjectCount()};
        EXPECT_EQ(now, i == 0 ? now : before);
        before = now;
    }
    const HWND native[]{nativeWindowOf(*tree_), nativeWindowOf(*grid_)};
    tree_->releaseTree();
    grid_->releaseTree();
    EXPECT_FALSE(IsWindow(native[0]) || IsWindow(native[1]));
    EXPECT_LT(drawingObjectCount(), before.second);
}

}  // namespace
}  // namespace zustd
