#include "ZuNativeGridView.h"

#include <algorithm>

namespace zustd {

const MessageKind NativeGridView::kBeforeDisplayRowTooltip(
    L"beforeDisplayRowTooltip.NativeGridView", MessageWords::kObject);
const MessageKind NativeGridView::kCheckStateChanged(L"checkStateChanged.NativeGridView",
                                                     MessageWords::kObject);
const MessageKind NativeGridView::kLeftClicked(L"leftClicked.NativeGridView",
                                               MessageWords::kObject);
const MessageKind NativeGridView::kRightClicked(L"rightClicked.NativeGridView",
                                                MessageWords::kObject);
const MessageKind NativeGridView::kSelectionChanged(L"selectionChanged.NativeGridView",
                                                    MessageWords::kObject);

namespace {

MessageWord wordOfRow(std::size_t row) noexcept {
    return MessageWord(static_cast<std::int64_t>(row));
}

}  // namespace

NativeGridView::NativeGridView() { setFocusable(true); }

NativeGridView::~NativeGridView() { releaseImplementation(); }

FontDescriptor& NativeGridView::font() const {
    ZU_ASSERT(font_);
    return *font_;
}

BitmapListDescriptor& NativeGridView::bitmaps() const {
    ZU_ASSERT(bitmaps_);
    return *bitmaps_;
}

bool NativeGridView::setFont(const std::shared_ptr<FontDescriptor>& font) {
    return changeDescriptor(font_, font);
}

bool NativeGridView::setBitmaps(const std::shared_ptr<BitmapListDescriptor>& bitmaps) {
    return changeDescriptor(bitmaps_, bitmaps);
}

bool NativeGridView::setColumns(const std::vector<GridColumn>& columns) {
    return change(columns_, columns);
}

bool NativeGridView::setHeader(bool header) { return change(header_, header); }

bool NativeGridView::setCheckBoxes(bool checkBoxes) { return change(checkBoxes_, checkBoxes); }

bool NativeGridView::setMultiSelect(bool multiSelect) {
    const ControlUpdate update(*this);
    if (!change(multiSelect_, multiSelect)) {
        return false;
    }
    if (!multiSelect && model_.selectedCount() > 1) {
        const std::size_t first = model_.selectedRows().front();
        model_.setAllSelected(false);
        model_.setSelected(first, true);
    }
    return true;
}

// --- Operations -----------------------------------------------------------------------------

std::size_t NativeGridView::addRow(const std::wstring& key) {
    const std::size_t row = implementation().addRow(key);
    noteChange();
    return row;
}

void NativeGridView::removeRow(std::size_t row) {
    checkRow(row);
    implementation().removeRow(row);
    noteChange();
}

void NativeGridView::clear() {
    implementation().clear();
    noteChange();
}

std::size_t NativeGridView::getRowCount() const { return implementation().getRowCount(); }

std::wstring NativeGridView::getRowKey(std::size_t row) const {
    checkRow(row);
    return implementation().getRowKey(row);
}

std::size_t NativeGridView::findRow(const std::wstring& key) const {
    return implementation().findRow(key);
}

std::wstring NativeGridView::getCell(std::size_t row, std::size_t column) const {
    checkRow(row);
    return implementation().getCell(row, column);
}

void NativeGridView::setCell(std::size_t row, std::size_t column, const std::wstring& text) {
    checkRow(row);
    implementation().setCell(row, column, text);
    noteChange();
}

std::int32_t NativeGridView::getRowBitmap(std::size_t row) const {
    checkRow(row);
    return implementation().getRowBitmap(row);
}

void NativeGridView::setRowBitmap(std::size_t row, std::int32_t bitmap) {
    checkRow(row);
    implementation().setRowBitmap(row, bitmap);
    noteChange();
}

bool NativeGridView::getRowChecked(std::size_t row) const {
    checkRow(row);
    return implementation().getRowChecked(row);
}

void NativeGridView::setRowChecked(std::size_t row, bool checked) {
    checkRow(row);
    implementation().setRowChecked(row, checked);
    noteChange();
}

void NativeGridView::selectRow(std::size_t row) {
    checkRow(row);
    implementation().selectRow(row);
    noteChange();
}

void NativeGridView::deselectRow(std::size_t row) {
    checkRow(row);
    implementation().deselectRow(row);
    noteChange();
}

void NativeGridView::selectAllRows() {
    implementation().selectAllRows();
    noteChange();
}

void NativeGridView::deselectAllRows() {
    implementation().deselectAllRows();
    noteChange();
}

std::vector<std::size_t> NativeGridView::getSelectedRows() const {
    return implementation().getSelectedRows();
}

void NativeGridView::resizeColumns() { implementation().resizeColumns(); }

void NativeGridView::synchronizeBitmaps() { implementation().synchronizeBitmaps(); }

void NativeGridView::checkRow(std::size_t row) const {
    ZU_ASSERT_AS(row != kNullSize && row < model_.rowCount(),
                 L"row != NullSize && row < getRowCount()", ZU_HERE);
}

// What was not mirrored during an update is shown at its end.
void NativeGridView::noteChange() {
    if (isUpdating()) {
        stateChanged();
    }
}

// --- What the user did ----------------------------------------------------------------------

void NativeGridView::acceptChecked(std::size_t row, bool checked) {
    checkRow(row);
    if (model_.setChecked(row, checked)) {
        notify(kCheckStateChanged, wordOfRow(row));
    }
}

void NativeGridView::acceptSelected(std::size_t first, std::size_t last, bool selected) {
    last = std::min(last, model_.rowCount() - 1);
    for (std::size_t row = first; row < model_.rowCount() && row <= last; ++row) {
        selectionChanged_ = model_.setSelected(row, selected) || selectionChanged_;
    }
}

void NativeGridView::acceptSelectionDone() {
    if (!selectionChanged_) {
        return;
    }
    selectionChanged_ = false;
    const std::vector<std::size_t> selected = model_.selectedRows();
    notify(kSelectionChanged, wordOfRow(selected.empty() ? kNullSize : selected.front()));
}

void NativeGridView::acceptLeftClick(std::size_t row) { notify(kLeftClicked, wordOfRow(row)); }

void NativeGridView::acceptRightClick(std::size_t row) { notify(kRightClicked, wordOfRow(row)); }

std::wstring NativeGridView::acceptTooltipRequest(std::size_t row) {
    checkRow(row);
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    rowTooltip_.clear();
    notify(kBeforeDisplayRowTooltip, wordOfRow(row));
    return rowTooltip_;
}

void NativeGridView::acceptColumnWidth(std::size_t column, std::int32_t width) {
    if (column < columns_.size()) {
        columns_[column].width = width;
    }
}

// --- GridViewImplementation -----------------------------------------------------------------

bool GridViewImplementation::mirrors() {
    if (!hasNativeObject()) {
        return false;
    }
    if (getAbstraction().isUpdating()) {
        stale_ = true;
    }
    return !stale_;
}

std::size_t GridViewImplementation::addRow(const std::wstring& key) {
    const std::size_t row = getAbstraction().model().addRow(key);
    if (mirrors()) {
        mirrorAdded(row);
    }
    return row;
}

void GridViewImplementation::removeRow(std::size_t row) {
    getAbstraction().model().removeRow(row);
    if (mirrors()) {
        mirrorRemoved(row);
    }
}

void GridViewImplementation::clear() {
    getAbstraction().model().clear();
    if (mirrors()) {
        mirrorCleared();
    }
}

std::size_t GridViewImplementation::getRowCount() const {
    return getAbstraction().model().rowCount();
}

std::wstring GridViewImplementation::getRowKey(std::size_t row) const {
    return getAbstraction().model().key(row);
}

std::size_t GridViewImplementation::findRow(const std::wstring& key) const {
    return getAbstraction().model().findRow(key);
}

std::wstring GridViewImplementation::getCell(std::size_t row, std::size_t column) const {
    return getAbstraction().model().cell(row, column);
}

void GridViewImplementation::setCell(std::size_t row, std::size_t column,
                                     const std::wstring& text) {
    if (getAbstraction().model().setCell(row, column, text) && mirrors()) {
        mirrorRow(row);
    }
}

std::int32_t GridViewImplementation::getRowBitmap(std::size_t row) const {
    return getAbstraction().model().bitmap(row);
}

void GridViewImplementation::setRowBitmap(std::size_t row, std::int32_t bitmap) {
    if (getAbstraction().model().setBitmap(row, bitmap) && mirrors()) {
        mirrorRow(row);
    }
}

bool GridViewImplementation::getRowChecked(std::size_t row) const {
    return getAbstraction().model().isChecked(row);
}

void GridViewImplementation::setRowChecked(std::size_t row, bool checked) {
    if (getAbstraction().model().setChecked(row, checked) && mirrors()) {
        mirrorRow(row);
    }
}

void GridViewImplementation::selectRow(std::size_t row) {
    GridModel& model = getAbstraction().model();
    if (!getAbstraction().isMultiSelect() && !model.isSelected(row)) {
        deselectAllRows();
    }
    if (model.setSelected(row, true) && mirrors()) {
        mirrorSelected(row, true);
    }
}

void GridViewImplementation::deselectRow(std::size_t row) {
    if (getAbstraction().model().setSelected(row, false) && mirrors()) {
        mirrorSelected(row, false);
    }
}

void GridViewImplementation::selectAllRows() {
    if (getAbstraction().isMultiSelect() && getAbstraction().model().setAllSelected(true) &&
        mirrors()) {
        mirrorAllSelected(true);
    }
}

void GridViewImplementation::deselectAllRows() {
    if (getAbstraction().model().setAllSelected(false) && mirrors()) {
        mirrorAllSelected(false);
    }
}

std::vector<std::size_t> GridViewImplementation::getSelectedRows() const {
    return getAbstraction().model().selectedRows();
}

}  // namespace zustd
