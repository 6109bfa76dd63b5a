// A native list of rows with columns, images, check boxes and a selection.
//
// The rows are owned here, in a GridModel that a native object can be filled from, or read from on
// demand, at any time. Every operation on rows goes through the backend's slot: a backend derives
// from GridViewImplementation, which changes the model and then tells the backend what to do to its
// native object. What the user does comes back through the accept operations.
//
// Within a ControlUpdate only the model changes; at its end the native object
// is brought up to date at once. Put one around changes of many rows.
#pragma once

#include "ZuControl.h"
#include "ZuGridModel.h"

namespace zustd {

// What a backend does for a grid. Slot order is fixed. The portable half has checked the rows.
class INativeGridViewImpl : public IBackend {
public:
    // The operations of NativeGridView by the same names.
    virtual std::size_t addRow(const std::wstring& key) = 0;
    virtual void removeRow(std::size_t row) = 0;
    virtual void clear() = 0;
    virtual std::size_t getRowCount() const = 0;
    virtual std::wstring getRowKey(std::size_t row) const = 0;
    virtual std::size_t findRow(const std::wstring& key) const = 0;
    virtual std::wstring getCell(std::size_t row, std::size_t column) const = 0;
    virtual void setCell(std::size_t row, std::size_t column, const std::wstring& text) = 0;
    virtual std::int32_t getRowBitmap(std::size_t row) const = 0;
    virtual void setRowBitmap(std::size_t row, std::int32_t bitmap) = 0;
    virtual bool getRowChecked(std::size_t row) const = 0;
    virtual void setRowChecked(std::size_t row, bool checked) = 0;
    virtual void selectRow(std::size_t row) = 0;
    virtual void deselectRow(std::size_t row) = 0;
    virtual void selectAllRows() = 0;
    virtual void deselectAllRows() = 0;
    virtual std::vector<std::size_t> getSelectedRows() const = 0;
    // Gives the columns the widths of the abstraction; one of width 0 is measured anew.
    virtual void resizeColumns() = 0;
    // Loads the images of the abstraction's bitmap list anew.
    virtual void synchronizeBitmaps() = 0;
};

// How a column is headed and laid out.
struct GridColumn {
    std::wstring caption;
    // In pixels at a scaling factor of 1; 0 for what caption and content need
    // when the column is shown first and when resizeColumns() is called. Rows
    // that change later do not move the columns.
    std::int32_t width = 0;
    Alignment alignment = Alignment::kStart;

    friend bool operator==(const GridColumn&, const GridColumn&) = default;
};

class NativeGridView : public NativeControl<INativeGridViewImpl> {
public:
    // First word: the grid. Second word: the row, or kNullSize where none is meant.
    static const MessageKind kBeforeDisplayRowTooltip;
    static const MessageKind kCheckStateChanged;
    static const MessageKind kLeftClicked;
    static const MessageKind kRightClicked;
    // Once for a change of any number of rows.
    static const MessageKind kSelectionChanged;

    NativeGridView() { setFocusable(true); }
    ~NativeGridView() override { releaseImplementation(); }

    // Fail the assertions "font_" and "bitmaps_" when there is none.
    FontDescriptor& font() const { return ZU_REQUIRED(font_); }
    BitmapListDescriptor& bitmaps() const { return ZU_REQUIRED(bitmaps_); }
    bool hasFont() const noexcept { return font_ != nullptr; }
    bool hasBitmaps() const noexcept { return bitmaps_ != nullptr; }
    bool setFont(const FontRef& font) { return changeDescriptor(font_, font); }
    bool setBitmaps(const BitmapListRef& bitmaps) { return changeDescriptor(bitmaps_, bitmaps); }

    const std::vector<GridColumn>& columns() const noexcept { return columns_; }
    bool setColumns(const std::vector<GridColumn>& columns) { return change(columns_, columns); }
    bool hasHeader() const noexcept { return header_; }
    bool setHeader(bool header) { return change(header_, header); }
    bool hasCheckBoxes() const noexcept { return checkBoxes_; }
    bool setCheckBoxes(bool checkBoxes) { return change(checkBoxes_, checkBoxes); }
    bool isMultiSelect() const noexcept { return multiSelect_; }
    // A grid that has a native object gets a new one.
    bool setMultiSelect(bool multiSelect);
    // What the tooltip of the row under the pointer says; asked for by the
    // backend after kBeforeDisplayRowTooltip was sent.
    void setRowTooltip(const std::wstring& text) { rowTooltip_ = text; }

    // The nineteen operations. Each fails the assertion "impl_" without backend, and
    // "row != NullSize && row < getRowCount()" for a row that there is not. Keys are unique and not
    // empty (see GridModel). Changes by the program send no message. Without multiple selection
    // selecting a row deselects the others, and selectAllRows does nothing.
    std::size_t addRow(const std::wstring& key) { return changing().addRow(key); }
    void removeRow(std::size_t row) { changing(row).removeRow(row); }
    void clear() { changing().clear(); }
    std::size_t getRowCount() const { return implementation().getRowCount(); }
    std::wstring getRowKey(std::size_t row) const { return known(row).getRowKey(row); }
    // kNullSize when no row has the key.
    std::size_t findRow(const std::wstring& key) const { return implementation().findRow(key); }
    std::wstring getCell(std::size_t row, std::size_t column) const {
        return known(row).getCell(row, column);
    }
    void setCell(std::size_t row, std::size_t column, const std::wstring& text) {
        changing(row).setCell(row, column, text);
    }
    std::int32_t getRowBitmap(std::size_t row) const { return known(row).getRowBitmap(row); }
    // An index into the bitmap list, or GridModel::kNoBitmap.
    void setRowBitmap(std::size_t row, std::int32_t bitmap) {
        changing(row).setRowBitmap(row, bitmap);
    }
    bool getRowChecked(std::size_t row) const { return known(row).getRowChecked(row); }
    void setRowChecked(std::size_t row, bool checked) { changing(row).setRowChecked(row, checked); }
    void selectRow(std::size_t row) { changing(row).selectRow(row); }
    void deselectRow(std::size_t row) { changing(row).deselectRow(row); }
    void selectAllRows() { changing().selectAllRows(); }
    void deselectAllRows() { changing().deselectAllRows(); }
    std::vector<std::size_t> getSelectedRows() const { return implementation().getSelectedRows(); }
    void resizeColumns() { implementation().resizeColumns(); }
    void synchronizeBitmaps() { implementation().synchronizeBitmaps(); }

    // For the backend: the rows; what the user did. The messages are sent without synchronising.
    GridModel& model() noexcept { return model_; }
    const GridModel& model() const noexcept { return model_; }
    void acceptChecked(std::size_t row, bool checked);
    // The state of the rows from first to last, inclusive.
    void acceptSelected(std::size_t first, std::size_t last, bool selected);
    // The end of one user action that changed the selection.
    void acceptSelectionDone();
    void acceptLeftClick(std::size_t row) { tell(kLeftClicked, row); }
    void acceptRightClick(std::size_t row) { tell(kRightClicked, row); }
    // The text for a row's tooltip.
    std::wstring acceptTooltipRequest(std::size_t row);
    void acceptColumnWidth(std::size_t column, std::int32_t width) {
        if (column < columns_.size()) {
            columns_[column].width = width;
        }
    }

private:
    using NativeControl::changing;
    // The backend, for a row that there is.
    INativeGridViewImpl& known(std::size_t row) const;
    INativeGridViewImpl& changing(std::size_t row) {
        known(row);
        return changing();
    }
    void tell(const MessageKind& kind, std::size_t row) {
        notify(kind, MessageWord(static_cast<std::int64_t>(row)));
    }

    FontRef font_;
    BitmapListRef bitmaps_;
    std::vector<GridColumn> columns_;
    GridModel model_;
    std::wstring rowTooltip_;
    bool header_ = true;
    bool checkBoxes_ = false;
    bool multiSelect_ = true;
    bool selectionChanged_ = false;
};

// The portable part of every backend. Mirror operations are called when there is a
// native object and no update is running, and let no failure out.
class GridViewImplementation : public Implementation<NativeGridView, INativeGridViewImpl> {
public:
    std::size_t addRow(const std::wstring& key) override {
        const std::size_t row = model().addRow(key);
        mirror(true, &Self::mirrorAdded, row);
        return row;
    }
    void removeRow(std::size_t row) override {
        model().removeRow(row);
        mirror(true, &Self::mirrorRemoved, row);
    }
    void clear() override {
        model().clear();
        mirror(true, &Self::mirrorCleared);
    }
    std::size_t getRowCount() const override { return model().rowCount(); }
    std::wstring getRowKey(std::size_t row) const override { return model().key(row); }
    std::size_t findRow(const std::wstring& key) const override { return model().findRow(key); }
    std::wstring getCell(std::size_t row, std::size_t column) const override {
        return model().cell(row, column);
    }
    void setCell(std::size_t row, std::size_t column, const std::wstring& text) override {
        mirror(model().setCell(row, column, text), &Self::mirrorRow, row);
    }
    std::int32_t getRowBitmap(std::size_t row) const override { return model().bitmap(row); }
    void setRowBitmap(std::size_t row, std::int32_t bitmap) override {
        mirror(model().setBitmap(row, bitmap), &Self::mirrorRow, row);
    }
    bool getRowChecked(std::size_t row) const override { return model().isChecked(row); }
    void setRowChecked(std::size_t row, bool on) override {
        mirror(model().setChecked(row, on), &Self::mirrorRow, row);
    }
    void selectRow(std::size_t row) override {
        if (!getAbstraction().isMultiSelect() && !model().isSelected(row)) {
            deselectAllRows();
        }
        mirror(model().setSelected(row, true), &Self::mirrorSelected, row, true);
    }
    void deselectRow(std::size_t row) override {
        mirror(model().setSelected(row, false), &Self::mirrorSelected, row, false);
    }
    void selectAllRows() override {
        const bool changed = getAbstraction().isMultiSelect() && model().setAllSelected(true);
        mirror(changed, &Self::mirrorAllSelected, true);
    }
    void deselectAllRows() override {
        mirror(model().setAllSelected(false), &Self::mirrorAllSelected, false);
    }
    std::vector<std::size_t> getSelectedRows() const override { return model().selectedRows(); }

    // Whether the native object may differ from the model because of changes
    // that were not mirrored; the next synchronisation brings all of it.
    bool isStale() const noexcept { return stale_; }

protected:
    GridModel& model() const { return getAbstraction().model(); }

    // The model has changed so; the row is the new or the former one.
    virtual void mirrorAdded(std::size_t row) = 0;
    virtual void mirrorRemoved(std::size_t row) = 0;
    virtual void mirrorCleared() = 0;
    // Cells, image or check of a row.
    virtual void mirrorRow(std::size_t row) = 0;
    virtual void mirrorSelected(std::size_t row, bool selected) = 0;
    virtual void mirrorAllSelected(bool selected) = 0;

    // When the native object shows the whole model; when it is another one.
    void markFresh() noexcept { stale_ = false; }
    void markStale() noexcept { stale_ = true; }

private:
    using Self = GridViewImplementation;

    // Whether to mirror now; otherwise the change is noted for later.
    bool mirrors();
    template <class... Args>
    void mirror(bool changed, void (Self::*how)(Args...), Args... args) {
        if (changed && mirrors()) {
            (this->*how)(args...);
        }
    }

    bool stale_ = true;
};

}  // namespace zustd
