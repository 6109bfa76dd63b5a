#include "ZuGridModel.h"

#include <algorithm>

#include "ZuGeometry.h"

namespace zustd {

namespace {

const std::wstring kEmptyCell;

constexpr std::size_t kSmallestRoom = 16;

bool assign(bool& member, bool value) noexcept {
    const bool changed = member != value;
    member = value;
    return changed;
}

}  // namespace

std::size_t GridModel::addRow(std::wstring_view key) {
    ZU_ASSERT(!key.empty() && !rowsByKey_.contains(key));
    // First the room, so that nothing can fail after the key is in the map.
    if (rows_.size() == rows_.capacity()) {
        rows_.reserve(rows_.size() * 2 + kSmallestRoom);
    }
    auto [entry, isNew] = rowsByKey_.findOrInsert(key);
    entry.value.key = &entry.key;
    entry.value.index = rows_.size();
    if (firstStale_ == rows_.size()) {
        ++firstStale_;
    }
    rows_.push_back(&entry.value);
    return rows_.size() - 1;
}

void GridModel::removeRow(std::size_t row) {
    selectedCount_ -= rows_[row]->selected ? std::size_t{1} : std::size_t{0};
    const std::wstring key = *rows_[row]->key;
    rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(row));
    rowsByKey_.remove(key);
    firstStale_ = std::min(firstStale_, row);
}

void GridModel::clear() noexcept {
    rows_.clear();
    rowsByKey_.clear();
    selectedCount_ = 0;
    firstStale_ = 0;
}

std::size_t GridModel::findRow(std::wstring_view key) {
    const Row* row = rowsByKey_.find(key);
    if (row == nullptr) {
        return kNullSize;
    }
    // Rows only ever move forward, so an index in front of the first stale one
    // is right.
    if (row->index >= firstStale_) {
        for (; firstStale_ < rows_.size(); ++firstStale_) {
            rows_[firstStale_]->index = firstStale_;
        }
    }
    return row->index;
}

const std::wstring& GridModel::cell(std::size_t row, std::size_t column) const noexcept {
    const std::vector<std::wstring>& cells = rows_[row]->cells;
    return column < cells.size() ? cells[column] : kEmptyCell;
}

bool GridModel::setCell(std::size_t row, std::size_t column, const std::wstring& text) {
    if (cell(row, column) == text) {
        return false;
    }
    std::vector<std::wstring>& cells = rows_[row]->cells;
    if (column >= cells.size()) {
        cells.resize(column + 1);
    }
    cells[column] = text;
    return true;
}

bool GridModel::setBitmap(std::size_t row, std::int32_t bitmap) {
    const bool changed = rows_[row]->bitmap != bitmap;
    rows_[row]->bitmap = bitmap;
    return changed;
}

bool GridModel::setChecked(std::size_t row, bool checked) {
    return assign(rows_[row]->checked, checked);
}

bool GridModel::setSelected(std::size_t row, bool selected) {
    if (!assign(rows_[row]->selected, selected)) {
        return false;
    }
    selectedCount_ = selected ? selectedCount_ + 1 : selectedCount_ - 1;
    return true;
}

bool GridModel::setAllSelected(bool selected) {
    const std::size_t wanted = selected ? rows_.size() : 0;
    if (selectedCount_ == wanted) {
        return false;
    }
    for (Row* row : rows_) {
        row->selected = selected;
    }
    selectedCount_ = wanted;
    return true;
}

std::vector<std::size_t> GridModel::selectedRows() const {
    std::vector<std::size_t> selected;
    selected.reserve(selectedCount_);
    for (std::size_t row = 0; selected.size() < selectedCount_; ++row) {
        if (rows_[row]->selected) {
            selected.push_back(row);
        }
    }
    return selected;
}

}  // namespace zustd
