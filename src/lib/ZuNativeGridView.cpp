#include "ZuNativeGridView.h"

namespace zustd {

using enum MessageWords;

ZU_MESSAGE_KIND(NativeGridView::kBeforeDisplayRowTooltip, kObject);
ZU_MESSAGE_KIND(NativeGridView::kCheckStateChanged, kObject);
ZU_MESSAGE_KIND(NativeGridView::kLeftClicked, kObject);
ZU_MESSAGE_KIND(NativeGridView::kRightClicked, kObject);
ZU_MESSAGE_KIND(NativeGridView::kSelectionChanged, kObject);

bool NativeGridView::setMultiSelect(bool multiSelect) {
    const ControlUpdate update(*this);
    if (!change(multiSelect_, multiSelect)) {
        return false;
    }
    if (!multiSelect) {
        const std::vector<std::size_t> selected = model_.selectedRows();
        for (const std::size_t row : selected) {
            model_.setSelected(row, row == selected.front());
        }
    }
    return true;
}

INativeGridViewImpl& NativeGridView::known(std::size_t row) const {
    ZU_ASSERT_AS(row < model_.rowCount(), L"row != NullSize && row < getRowCount()", ZU_HERE);
    return implementation();
}

void NativeGridView::acceptChecked(std::size_t row, bool checked) {
    known(row);
    if (model_.setChecked(row, checked)) {
        tell(kCheckStateChanged, row);
    }
}

void NativeGridView::acceptSelected(std::size_t first, std::size_t last, bool selected) {
    for (std::size_t row = first; row < model_.rowCount() && row <= last; ++row) {
        selectionChanged_ = model_.setSelected(row, selected) || selectionChanged_;
    }
}

void NativeGridView::acceptSelectionDone() {
    if (std::exchange(selectionChanged_, false)) {
        const std::vector<std::size_t> selected = model_.selectedRows();
        tell(kSelectionChanged, selected.empty() ? kNullSize : selected.front());
    }
}

std::wstring NativeGridView::acceptTooltipRequest(std::size_t row) {
    known(row);
    const std::shared_ptr<Control> self = sharedReference<Control>(this);
    rowTooltip_.clear();
    tell(kBeforeDisplayRowTooltip, row);
    return rowTooltip_;
}

bool GridViewImplementation::mirrors() {
    stale_ = stale_ || getAbstraction().isUpdating();
    return hasNativeObject() && !stale_;
}

}  // namespace zustd
