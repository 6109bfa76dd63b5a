#include "ZuGridViewWin32Gdi.h"

#include <cmath>

#include "ZuFontWin32Gdi.h"
#include "ZuWindowService.h"

namespace zustd {

// --- State to window ------------------------------------------------------------------------

void GridViewWin32Gdi::initializeFromDescriptor() {
    settle();
    const NativeGridView& grid = getAbstraction();
    const DWORD selection = grid.isMultiSelect() ? 0 : LVS_SINGLESEL;
    const DWORD style = WS_TABSTOP | WS_CLIPSIBLINGS | LVS_REPORT | LVS_OWNERDATA |
                        LVS_SHOWSELALWAYS | LVS_SHAREIMAGELISTS | selection |
                        (grid.hasHeader() ? 0 : LVS_NOCOLUMNHEADER);
    synchronizeWindow({WC_LISTVIEWW, style, WS_EX_CLIENTEDGE}, [this] {
        startAnew();
        columns_.clear();
        markStale();
        constexpr DWORD kExtendedStyle =
            LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_INFOTIP;
        send(LVM_SETEXTENDEDLISTVIEWSTYLE, kExtendedStyle, kExtendedStyle);
    });
}

void GridViewWin32Gdi::pushState() {
    pushItemLook();
    if (isStale()) {
        fill();
    }
    // Their widths depend on the rows.
    pushColumns();
}

void GridViewWin32Gdi::pushItemLook() {
    const NativeGridView& grid = getAbstraction();
    pushLook(
        {LVM_SETTEXTCOLOR, LVM_SETBKCOLOR, LVM_SETIMAGELIST, LVSIL_SMALL, LVSIL_STATE, kUnchecked},
        grid.hasFont() ? sharedReference<FontDescriptor>(&grid.font()) : nullptr,
        grid.hasBitmaps() ? &grid.bitmaps() : nullptr, grid.hasCheckBoxes());
    sendData(LVM_SETTEXTBKCOLOR, send(LVM_GETBKCOLOR));
    send(LVM_SETCALLBACKMASK, grid.hasCheckBoxes() ? LVIS_STATEIMAGEMASK : 0U);
}

void GridViewWin32Gdi::fill() {
    const BulkMirroring bulk(*this);
    const GridModel& model = this->model();
    setRowCount();
    setSelected(kNullSize, false);
    if (model.selectedCount() == model.rowCount()) {
        setSelected(getAbstraction().isMultiSelect() ? kNullSize : 0, true);
    } else {
        // Ascending, so that the window appends to what it has.
        for (const std::size_t row : model.selectedRows()) {
            setSelected(row, true);
        }
    }
    markFresh();
}

void GridViewWin32Gdi::setRowCount() {
    sendMirroring(LVM_SETITEMCOUNT, model().rowCount(), LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
}

void GridViewWin32Gdi::setSelected(std::size_t row, bool selected) {
    const Mirroring mirroring(*this);
    ListView_SetItemState(window(), row, selected ? LVIS_SELECTED : 0U, LVIS_SELECTED);
}

// --- Columns --------------------------------------------------------------------------------

void GridViewWin32Gdi::pushColumns() {
    const std::vector<GridColumn>& wanted = getAbstraction().columns();
    const double factor = getAbstraction().scale(1.0);
    const bool isRescaled = std::exchange(scalingFactor_, factor) != factor;
    while (columns_.size() > wanted.size()) {
        columns_.pop_back();
        send(LVM_DELETECOLUMN, columns_.size());
    }
    for (std::size_t column = 0; column < wanted.size(); ++column) {
        const bool isNew = column >= columns_.size();
        if (isNew || columns_[column] != wanted[column] || isRescaled) {
            pushColumn(column, isNew);
        }
    }
}

void GridViewWin32Gdi::pushColumn(std::size_t column, bool isNew) {
    // In the order of Alignment.
    constexpr int kFormats[] = {LVCFMT_LEFT, LVCFMT_RIGHT, LVCFMT_CENTER, LVCFMT_LEFT};
    const GridColumn& wanted = getAbstraction().columns()[column];
    LVCOLUMNW native{};
    native.mask = LVCF_TEXT | LVCF_FMT | LVCF_WIDTH | LVCF_SUBITEM;
    native.fmt = kFormats[static_cast<std::size_t>(wanted.alignment)];
    native.cx = widthOf(column);
    native.pszText = const_cast<wchar_t*>(wanted.caption.c_str());
    native.iSubItem = static_cast<int>(column);
    const auto definition = reinterpret_cast<LPARAM>(&native);
    ZU_SYSTEM(isNew ? send(LVM_INSERTCOLUMNW, column, definition) >= 0
                    : send(LVM_SETCOLUMNW, column, definition) != FALSE);
    columns_.resize(std::max(columns_.size(), column + 1));
    columns_[column] = wanted;
}

// In pixels of the screen. The window itself would measure only what it shows,
// or ask for every text.
std::int32_t GridViewWin32Gdi::widthOf(std::size_t column) const {
    // Left and right of a text, at a scaling factor of 1.
    constexpr std::int32_t kCellPadding = 12;
    constexpr std::int32_t kCheckBoxSpace = 20;
    const NativeGridView& grid = getAbstraction();
    const GridModel& model = grid.model();
    const GridColumn& wanted = grid.columns()[column];
    if (wanted.width > 0) {
        return grid.scale(wanted.width);
    }
    const auto service = grid.windowService();
    const auto font =
        service ? service->getFont(grid.hasFont() ? grid.font().style() : FontStyle()) : nullptr;
    if (!font) {
        return grid.scale(kCellPadding);
    }
    FontWin32Gdi& backend = fontBackend(*font);
    std::int32_t width = 0;
    for (std::size_t row = 0; row < model.rowCount(); ++row) {
        width = std::max(width, backend.textWidth(model.cell(row, column)));
    }
    if (column == 0) {
        width += grid.hasBitmaps() ? grid.scale(grid.bitmaps().size().width) : 0;
        width += grid.hasCheckBoxes() ? grid.scale(kCheckBoxSpace) : 0;
    }
    return std::max(width, backend.textWidth(wanted.caption)) + grid.scale(kCellPadding);
}

void GridViewWin32Gdi::resizeColumns() {
    guarded(ZU_OPERATION, [this] {
        for (std::size_t column = 0; column < columnCount(); ++column) {
            sendMirroring(LVM_SETCOLUMNWIDTH, column, widthOf(column));
        }
    });
}

void GridViewWin32Gdi::synchronizeBitmaps() {
    guarded(ZU_OPERATION, [this] {
        if (window() != nullptr) {
            const Mirroring mirroring(*this);
            forgetImages();
            pushItemLook();
        }
    });
}

// --- Single changes -------------------------------------------------------------------------

// The window moves the selection of the later rows along.
void GridViewWin32Gdi::mirrorRemoved(std::size_t row) {
    deferRedraw();
    sendMirroring(LVM_DELETEITEM, row);
}

void GridViewWin32Gdi::mirrorRow(std::size_t row) {
    sendMirroring(LVM_REDRAWITEMS, row, static_cast<LPARAM>(row));
}

// --- What the window asks -------------------------------------------------------------------

std::size_t GridViewWin32Gdi::rowOf(int index) const noexcept {
    const auto row = static_cast<std::size_t>(index);
    return row < model().rowCount() ? row : kNullSize;
}

void GridViewWin32Gdi::answerDisplay(LVITEMW& item) const {
    const GridModel& model = this->model();
    const std::size_t row = rowOf(item.iItem);
    if (row == kNullSize) {
        return;
    }
    if (hasFlag(item.mask, LVIF_TEXT)) {
        // Read only, and before anything else can change.
        item.pszText =
            const_cast<wchar_t*>(model.cell(row, static_cast<std::size_t>(item.iSubItem)).c_str());
    }
    if (item.iSubItem != 0) {
        return;
    }
    if (hasFlag(item.mask, LVIF_IMAGE)) {
        item.iImage = nativeImage(model.bitmap(row));
    }
    if (hasFlag(item.mask, LVIF_STATE) && hasCheckBoxes()) {
        item.state = (item.state & ~UINT{LVIS_STATEIMAGEMASK}) | nativeCheck(model.isChecked(row));
    }
}

// What the user types is looked for in the first column, from the row that the
// window names and around.
LRESULT GridViewWin32Gdi::find(const NMLVFINDITEMW& request) const {
    const GridModel& model = this->model();
    const UINT flags = request.lvfi.flags;
    if (!hasFlag(flags, LVFI_STRING | LVFI_PARTIAL) || request.lvfi.psz == nullptr) {
        return -1;
    }
    const std::wstring wanted = request.lvfi.psz;
    const bool whole = !hasFlag(flags, LVFI_PARTIAL);
    const std::size_t count = model.rowCount();
    const std::size_t start = rowOf(request.iStart) != kNullSize ? rowOf(request.iStart) : 0;
    const std::size_t end = hasFlag(flags, LVFI_WRAP) ? start + count : count;
    for (std::size_t row = start; row < end; ++row) {
        const std::wstring& text = model.cell(row % count, 0);
        const std::size_t size = whole ? text.size() : std::min(text.size(), wanted.size());
        if (CompareStringOrdinal(text.data(), static_cast<int>(size), wanted.data(),
                                 static_cast<int>(wanted.size()), TRUE) == CSTR_EQUAL) {
            return static_cast<LRESULT>(row % count);
        }
    }
    return -1;
}

void GridViewWin32Gdi::showTooltip(NMLVGETINFOTIPW& request) {
    const std::size_t row = rowOf(request.iItem);
    if (row == kNullSize || request.pszText == nullptr || request.cchTextMax <= 0) {
        return;
    }
    const std::wstring text = getAbstraction().acceptTooltipRequest(row);
    // An empty one leaves the window's own, the whole of a text that is cut.
    if (!text.empty()) {
        const auto room = static_cast<std::size_t>(request.cchTextMax) - 1;
        request.pszText[text.copy(request.pszText, room)] = L'\0';
    }
}

// --- What the user does ---------------------------------------------------------------------

void GridViewWin32Gdi::onNotify(NMHDR& header, LRESULT& result) {
    switch (header.code) {
        case LVN_GETDISPINFOW:
            answerDisplay(reinterpret_cast<NMLVDISPINFOW&>(header).item);
            break;
        case LVN_ODFINDITEMW:
            result = find(reinterpret_cast<const NMLVFINDITEMW&>(header));
            break;
        case LVN_GETINFOTIPW:
            showTooltip(reinterpret_cast<NMLVGETINFOTIPW&>(header));
            break;
        case LVN_ITEMCHANGED: {
            const auto& change = reinterpret_cast<const NMLISTVIEW&>(header);
            acceptSelection(change.iItem, change.iItem, change.uOldState, change.uNewState);
            break;
        }
        case LVN_ODSTATECHANGED: {
            const auto& change = reinterpret_cast<const NMLVODSTATECHANGE&>(header);
            acceptSelection(change.iFrom, change.iTo, change.uOldState, change.uNewState);
            break;
        }
        case NM_CLICK:
        case NM_DBLCLK:
        case NM_RCLICK: {
            const std::size_t row = rowOf(reinterpret_cast<const NMITEMACTIVATE&>(header).iItem);
            clickedKey_ = row != kNullSize ? model().key(row) : L"";
            click_ = header.code;
            break;
        }
        default:
            break;
    }
}

void GridViewWin32Gdi::acceptSelection(int from, int to, UINT oldState, UINT newState) {
    if (isMirroring() || !hasFlag(oldState ^ newState, LVIS_SELECTED)) {
        return;
    }
    const bool selected = hasFlag(newState, LVIS_SELECTED);
    // -1 stands for all rows.
    if (from == -1) {
        getAbstraction().acceptSelected(0, kNullSize, selected);
    } else if (to >= 0) {
        getAbstraction().acceptSelected(rowOf(from), static_cast<std::size_t>(to), selected);
    }
}

// The user has given a column another width; true when there is nothing left
// for the window to do.
bool GridViewWin32Gdi::acceptHeader(const NMHEADERW& change) {
    if (isMirroring() || change.hdr.hwndFrom != ListView_GetHeader(window()) ||
        static_cast<std::size_t>(change.iItem) >= columnCount()) {
        return false;
    }
    const auto column = static_cast<std::size_t>(change.iItem);
    NativeGridView& grid = getAbstraction();
    std::int32_t width = 0;
    switch (change.hdr.code) {
        case HDN_ITEMCHANGEDA:
        case HDN_ITEMCHANGEDW:
            if (change.pitem == nullptr || !hasFlag(change.pitem->mask, HDI_WIDTH)) {
                return false;
            }
            // 0 stands for what the content needs.
            width = static_cast<std::int32_t>(
                std::max(std::lround(change.pitem->cxy / grid.scale(1.0)), 1L));
            break;
        case HDN_DIVIDERDBLCLICKA:
        case HDN_DIVIDERDBLCLICKW:
            break;
        default:
            return false;
    }
    grid.acceptColumnWidth(column, width);
    columns_[column].width = width;
    if (width == 0) {
        sendMirroring(LVM_SETCOLUMNWIDTH, column, widthOf(column));
    }
    return width == 0;
}

// There may be no such row; the click or key is not the window's then either.
bool GridViewWin32Gdi::toggle(std::size_t row) {
    SetFocus(window());
    if (row != kNullSize) {
        getAbstraction().acceptChecked(row, !model().isChecked(row));
        // The receiver may have ended the window, and nobody hears it then.
        mirrorRow(row);
    }
    return true;
}

bool GridViewWin32Gdi::toggleAt(LPARAM point) {
    LVHITTESTINFO hit{};
    hit.pt = {GET_X_LPARAM(point), GET_Y_LPARAM(point)};
    const std::size_t row = rowOf(ListView_HitTest(window(), &hit));
    return hasFlag(hit.flags, LVHT_ONITEMSTATEICON) && toggle(row);
}

bool GridViewWin32Gdi::onItemMessage(const WindowMessage& message, LRESULT&) {
    return message.id == WM_NOTIFY &&
           acceptHeader(*reinterpret_cast<const NMHEADERW*>(message.extra));
}

void GridViewWin32Gdi::reportActions() {
    NativeGridView& grid = getAbstraction();
    grid.acceptSelectionDone();
    // The button selected the row before, and who heard of that may have moved or
    // removed it.
    if (const UINT click = std::exchange(click_, 0); click == NM_RCLICK) {
        grid.acceptRightClick(model().findRow(clickedKey_));
    } else if (click != 0) {
        grid.acceptLeftClick(model().findRow(clickedKey_));
    }
}

}  // namespace zustd
