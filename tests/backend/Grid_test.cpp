// Grids with the system's own control: what it shows is read back from it, and
// what the user does is done with the mouse and the keyboard. What trees and
// grids have in common is tested with both.
#include "support/ItemsTest.h"
// Behind the wrapper.
#include <uxtheme.h>
#include <vssym32.h>

namespace zustd {
namespace {

using namespace test;

class BackendGridTest : public BackendItemsTest {
protected:
    std::wstring shownRow(std::size_t row) const {
        wchar_t text[64] = L"";
        std::wstring line;
        LVITEMW item{};
        item.mask = LVIF_TEXT | LVIF_IMAGE | LVIF_STATE;
        item.iItem = static_cast<int>(row);
        item.stateMask = LVIS_SELECTED | LVIS_STATEIMAGEMASK;
        item.pszText = text;
        item.cchTextMax = 64;
        EXPECT_TRUE(ask(*grid_, LVM_GETITEMW, item));
        const UINT check = (item.state & LVIS_STATEIMAGEMASK) >> 12;
        line = lineOf(0, text, item.iImage == I_IMAGENONE ? -1 : item.iImage, check == 2, false,
                      L"", (item.state & LVIS_SELECTED) != 0);
        item.iSubItem = 1;
        item.pszText = text;
        ask(*grid_, LVM_GETITEMTEXTW, item, row);
        return line + L'|' + text;
    }
    std::vector<std::wstring> shownGrid() const {
        std::vector<std::wstring> lines;
        for (LRESULT row = 0; row < send(*grid_, LVM_GETITEMCOUNT); ++row) {
            lines.push_back(shownRow(static_cast<std::size_t>(row)));
        }
        return lines;
    }
    std::vector<std::wstring> wantedGrid() const {
        const GridModel& model = grid_->model();
        std::vector<std::wstring> lines;
        for (std::size_t row = 0; row < model.rowCount(); ++row) {
            lines.push_back(lineOf(0, model.cell(row, 0), model.bitmap(row),
                                   grid_->hasCheckBoxes() && model.isChecked(row), false, L"",
                                   model.isSelected(row)) +
                            L'|' + model.cell(row, 1));
        }
        return lines;
    }
    void addRows(std::initializer_list<const wchar_t*> keys) {
        for (const wchar_t* key : keys) {
            grid_->setCell(grid_->addRow(key), 0, key);
        }
    }
    POINT placeOfRow(std::size_t row, bool onCheckBox = false) {
        const HWND window = nativeWindowOf(*grid_);
        RECT area{LVIR_LABEL, 0, 0, 0};
        EXPECT_TRUE(ask(*grid_, LVM_GETITEMRECT, area, row));
        const std::int32_t y = (area.top + area.bottom) / 2;
        return onScreen(
            window, onCheckBox ? partAt<LVHITTESTINFO>(window, LVM_HITTEST, LVHT_ONITEMSTATEICON, y)
                               : Point{area.left + 5, y});
    }
};

TEST_F(BackendGridTest, mouseAndKeys_sendExactlyWhatTheUserDid) {
    addRows({L"alpha", L"beta", L"bravo", L"delta"});
    click(placeOfRow(1));
    EXPECT_EQ(log_->take(), L"selectionChanged:beta leftClicked:beta");
    click(placeOfRow(2, true));
    EXPECT_EQ(log_->take(), L"checkStateChanged:bravo");
    EXPECT_TRUE(grid_->getRowChecked(2));
    pressKeys({VK_SPACE});
    EXPECT_EQ(log_->take(), L"checkStateChanged:beta");
    pressKeys({VK_SHIFT, VK_DOWN});
    EXPECT_EQ(log_->take(), L"selectionChanged:beta");
    EXPECT_EQ(grid_->getSelectedRows(), (std::vector<std::size_t>{1, 2}));
    pressKeys({VK_APPS});
    EXPECT_EQ(log_->take(), L"rightClicked:bravo");
    rightClick(placeOfRow(3));
    EXPECT_EQ(log_->take(), L"selectionChanged:delta rightClicked:delta");
    send(*grid_, WM_CHAR, 'b', 1);
    EXPECT_EQ(log_->take(), L"selectionChanged:beta");
    send(*grid_, WM_CHAR, 'r', 1);
    EXPECT_EQ(log_->take(), L"selectionChanged:bravo");
    EXPECT_EQ(shownGrid(), wantedGrid());
    const HWND header = ListView_GetHeader(nativeWindowOf(*grid_));
    sendMouse(header, WM_LBUTTONDOWN, {80, 5}, MK_LBUTTON);
    sendMouse(header, WM_MOUSEMOVE, {100, 5}, MK_LBUTTON);
    sendMouse(header, WM_LBUTTONUP, {100, 5});
    EXPECT_EQ(grid_->columns()[0].width, 100);
    grid_->synchronizeTree();
    EXPECT_EQ(send(*grid_, LVM_GETCOLUMNWIDTH, 0), 100);
}

TEST_F(BackendGridTest, randomChanges_theControlFollowsAlsoWhenMadeAnew) {
    Random random(6);
    grid_->setBitmaps(tree_->bitmaps());
    for (std::size_t number = 0; number < 900; ++number) {
        const std::wstring text = numbered(number);
        const bool on = random.below(2) == 0;
        const std::size_t row = random.below(grid_->getRowCount() + 1);
        const std::size_t what = row == grid_->getRowCount() ? 0 : random.below(12);
        switch (what) {
            // clang-format off
            case 0: case 1: grid_->addRow(text); break;
            case 2: grid_->removeRow(row); break;
            case 3: case 4: case 5: grid_->setCell(row, random.below(2), text); break;
            case 6: grid_->setRowChecked(row, on); break;
            case 7: grid_->setRowBitmap(row, on ? 1 : -1); break;
            case 8: case 9: on ? grid_->selectRow(row) : grid_->deselectRow(row); break;
            case 10: grid_->setCheckBoxes(on); break;
            default:
                if (number % 5 == 0) { grid_->setMultiSelect(on); }
                else { on ? grid_->selectAllRows() : grid_->deselectAllRows(); }
                break;
                // clang-format on
        }
        if (number % 8 == 0) {
            ASSERT_EQ(shownGrid(), wantedGrid()) << number << " " << what;
        }
    }
    EXPECT_GT(grid_->getRowCount(), 50U);
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(BackendGridTest, receiversWhoRemoveRowsOrTheGrid_areSurvived) {
    addRows({L"alpha", L"beta", L"bravo"});
    log_->onMessage = [&](const MessageKind& kind) {
        if (kind == NativeGridView::kSelectionChanged) {
            grid_->clear();
        }
    };
    rightClick(placeOfRow(1));
    EXPECT_EQ(log_->take(), L"selectionChanged:beta rightClicked:none");
    for (const MessageKind* kind :
         {&NativeGridView::kSelectionChanged, &NativeGridView::kLeftClicked,
          &NativeGridView::kCheckStateChanged, &NativeGridView::kRightClicked}) {
        addRows({L"alpha", L"beta"});
        runMessages(20);
        log_->onMessage = [&](const MessageKind& sent) {
            if (&sent == kind) {
                window_->removeChild(grid_.get());
            }
        };
        kind == &NativeGridView::kRightClicked
            ? rightClick(placeOfRow(1))
            : click(placeOfRow(1, kind == &NativeGridView::kCheckStateChanged));
        log_->take();
        EXPECT_EQ(grid_->parentControl(), nullptr) << narrow(std::wstring(kind->name()));
        log_->onMessage = nullptr;
        grid_->clear();
        window_->addChild(grid_);
    }
}

TEST_F(BackendGridTest, aBurstOfRowsAndCells_putsOneMessageIntoTheQueue) {
    runMessages(20);
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

TEST_F(BackendGridTest, manyRows_areAllThere) {
    for (std::size_t i = 0; i < kMany; ++i) {
        grid_->setCell(grid_->addRow(numbered(i)), 0, numbered(i));
    }
    EXPECT_EQ(send(*grid_, LVM_GETITEMCOUNT), LRESULT{kMany});
    for (std::size_t i = 0; i < kMany; i += 997) {
        EXPECT_EQ(shownRow(i), numbered(i) + L" -1|");
    }
    for (std::size_t i = 0; i < kMany; ++i) {
        grid_->removeRow(grid_->findRow(numbered(i * 7919 % kMany)));
    }
    EXPECT_EQ(send(*grid_, LVM_GETITEMCOUNT), 0);
}

TEST_F(BackendGridTest, rowTooltip_asked_isWhatAReceiverSays) {
    addRows({L"alpha"});
    wchar_t text[8] = L"";
    NMLVGETINFOTIPW request{};
    request.hdr = {nativeWindowOf(*grid_), 0, LVN_GETINFOTIPW};
    request.pszText = text;
    request.cchTextMax = 8;
    log_->onMessage = [this](const MessageKind&) { grid_->setRowTooltip(L"one that is cut"); };
    send(*window_, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&request));
    EXPECT_STREQ(text, L"one tha");
    request.iItem = 7;
    send(*window_, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&request));
    EXPECT_STREQ(text, L"one tha");
}

TEST_F(BackendGridTest, columnWithoutWidth_growsWhenItIsResized) {
    grid_->setColumns({{L"Name", 0}});
    const LRESULT empty = send(*grid_, LVM_GETCOLUMNWIDTH, 0);
    EXPECT_GT(empty, 0);
    addRows({L"a row whose caption takes more room than others"});
    EXPECT_EQ(send(*grid_, LVM_GETCOLUMNWIDTH, 0), empty);
    grid_->resizeColumns();
    EXPECT_GT(send(*grid_, LVM_GETCOLUMNWIDTH, 0), empty + 100);
}

// --- Trees and grids ------------------------------------------------------------------------

TEST_F(BackendGridTest, checkBoxes_lookAsTheThemeHasThem) {
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

TEST_F(BackendGridTest, fontsAndColours_reachBothWindows) {
    const auto large = std::make_shared<FontDescriptor>();
    large->setSize(20);
    const auto colors = std::make_shared<ColorsDescriptor>();
    colors->setColor(ColorRole::kText, Color::rgb(0x10, 0x20, 0x30));
    colors->setColor(ColorRole::kBackground, Color::rgb(0x40, 0x50, 0x60));
    const auto fontOf = [](const Control& control) { return send(control, WM_GETFONT); };
    const LRESULT before = fontOf(*tree_);
    tree_->setFont(large);
    grid_->setFont(large);
    tree_->setColors(colors);
    grid_->setColors(colors);
    EXPECT_NE(fontOf(*tree_), before);
    EXPECT_EQ(fontOf(*tree_), fontOf(*grid_));
    EXPECT_EQ(send(*tree_, TVM_GETTEXTCOLOR), RGB(0x10, 0x20, 0x30));
    EXPECT_EQ(send(*tree_, TVM_GETBKCOLOR), RGB(0x40, 0x50, 0x60));
    EXPECT_EQ(send(*grid_, LVM_GETTEXTCOLOR), RGB(0x10, 0x20, 0x30));
    EXPECT_EQ(send(*grid_, LVM_GETBKCOLOR), RGB(0x40, 0x50, 0x60));
    EXPECT_EQ(send(*grid_, LVM_GETTEXTBKCOLOR), RGB(0x40, 0x50, 0x60));
}

TEST_F(BackendGridTest, otherScalingFactor_givesOtherImages) {
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
        EXPECT_EQ(heightOf(send(*grid_, LVM_GETIMAGELIST, LVSIL_STATE)), 16 * factor);
    }
}
TEST_F(BackendGridTest, thousandRounds_leaveNoObjectsBehind) {
    grid_->setBitmaps(tree_->bitmaps());
    tree_->addRootNode(L"a", L"a");
    addRows({L"alpha"});
    runMessages(20);
    const auto round = [this](bool remake) {
        window_->removeChild(tree_.get());
        window_->removeChild(grid_.get());
        if (remake) {
            window_->addChild(tree_);
            window_->addChild(grid_);
            UpdateWindow(nativeWindowOf(*tree_));
            UpdateWindow(nativeWindowOf(*grid_));
        }
    };
    expectNothingLeft([&] { round(true); });
    const int windows = liveWindows();
    const int drawing = drawingObjectCount();
    round(false);
    // The tree, the grid and its header.
    EXPECT_LE(liveWindows(), windows - 3);
    EXPECT_LT(drawingObjectCount(), drawing);
}

}  // namespace
}  // namespace zustd
