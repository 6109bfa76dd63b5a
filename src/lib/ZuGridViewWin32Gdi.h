// The Windows half of a grid: a SysListView32 in report mode that asks the
// model for what it shows.
//
// The window knows the number of rows and which of them are selected, nothing else,
// so that filling costs the same for any number of rows. The user's changes of the
// selection are collected until the message that caused them is done with, and
// reported once; then comes the click.
#pragma once

#include "ZuItemControlWin32Gdi.h"
#include "ZuNativeGridView.h"

namespace zustd {

class GridViewWin32Gdi
    : public ControlBackendWin32Gdi<GridViewImplementation, ItemControlWin32Gdi> {
public:
    explicit GridViewWin32Gdi(HWND hostWindow) noexcept
        : ControlBackendWin32Gdi(hostWindow, ZU_BACKEND_OPERATIONS) {}

    void resizeColumns() override;
    void synchronizeBitmaps() override;

protected:
    // All but mirrorRow() show what changed with what comes until the next message.
    void mirrorAdded(std::size_t) override { mirrorCleared(); }
    void mirrorRemoved(std::size_t row) override;
    void mirrorCleared() override {
        deferRedraw();
        setRowCount();
    }
    void mirrorRow(std::size_t row) override;
    void mirrorSelected(std::size_t row, bool selected) override {
        deferRedraw();
        setSelected(row, selected);
    }
    void mirrorAllSelected(bool selected) override { mirrorSelected(kNullSize, selected); }

    void initializeFromDescriptor() override;
    void pushState() override;
    void onNotify(NMHDR& header, LRESULT& result) override;
    bool onItemMessage(const WindowMessage& message, LRESULT& result) override;
    void reportActions() override;
    bool toggleAt(LPARAM point) override;
    // With Control it is the window's, which selects the row then.
    bool toggleFocused() override {
        return !hasFlag(heldModifiers(), kModifierControl) && toggle(focusedRow());
    }
    void reportMenuKey() override { getAbstraction().acceptRightClick(focusedRow()); }

private:
    void pushItemLook();
    void pushColumns();
    void pushColumn(std::size_t column, bool isNew);
    void fill();
    void setRowCount();
    // kNullSize stands for all rows.
    void setSelected(std::size_t row, bool selected);
    std::int32_t widthOf(std::size_t column) const;
    // How many columns both the window and the program have.
    std::size_t columnCount() const {
        return std::min(columns_.size(), getAbstraction().columns().size());
    }
    // kNullSize when there is no such row.
    std::size_t rowOf(int index) const noexcept;
    void answerDisplay(LVITEMW& item) const;
    LRESULT find(const NMLVFINDITEMW& request) const;
    void showTooltip(NMLVGETINFOTIPW& request);
    void acceptSelection(int from, int to, UINT oldState, UINT newState);
    bool acceptHeader(const NMHEADERW& change);
    bool toggle(std::size_t row);
    std::size_t focusedRow() const noexcept {
        return rowOf(ListView_GetNextItem(window(), -1, LVNI_FOCUSED));
    }

    // As the window has them.
    std::vector<GridColumn> columns_;
    double scalingFactor_ = 1.0;
    // The code of the click under way, 0 for none, and the key of its row, empty beside
    // all rows.
    UINT click_ = 0;
    std::wstring clickedKey_;
};

}  // namespace zustd
