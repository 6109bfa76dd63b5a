#include "ZuGridModel.h"

#include <algorithm>

#include "ZuGeometry.h"

namespace zustd {

namespace {

const std::wstring kEmptyCell;

constexpr std::size_t kBlockRows = 512;

}  // namespace

GridModel::Blocks::const_iterator GridModel::blockOf(std::size_t row) const noexcept {
    const auto isBefore = [](std::size_t index, const auto& block) { return index < block->first; };
    // No block has more rows than that, so none of the earlier ones has it.
    const auto found = blocks_.begin() + static_cast<std::ptrdiff_t>(row / kBlockRows);
    const bool hasRow = row - (*found)->first < (*found)->rows.size();
    return hasRow ? found : std::upper_bound(found, blocks_.end(), row, isBefore) - 1;
}

GridModel::Row& GridModel::at(std::size_t row) const noexcept {
    const Block& block = **blockOf(row);
    return *block.rows[row - block.first];
}

std::size_t GridModel::addRow(std::wstring_view key) {
    ZU_ASSERT(!key.empty() && !rowsByKey_.contains(key));
    const std::size_t index = rowCount();
    std::unique_ptr<Block> made;
    // First the room, so that nothing can fail after the key is in the map.
    if (blocks_.empty() || blocks_.back()->rows.size() == kBlockRows) {
        made = std::make_unique<Block>();
        made->first = index;
        made->rows.reserve(kBlockRows);
        if (blocks_.size() == blocks_.capacity()) {
            blocks_.reserve(blocks_.size() * 2 + 1);
        }
    }
    auto [entry, isNew] = rowsByKey_.findOrInsert(key);
    if (made) {
        blocks_.push_back(std::move(made));
    }
    entry.value.key = &entry.key;
    entry.value.block = blocks_.back().get();
    blocks_.back()->rows.push_back(&entry.value);
    return index;
}

void GridModel::removeRow(std::size_t row) {
    auto later = blocks_.begin() + (blockOf(row) - blocks_.begin());
    Block& block = **later;
    const auto place = block.rows.begin() + static_cast<std::ptrdiff_t>(row - block.first);
    const Row& gone = **place;
    selectedCount_ -= gone.selected ? std::size_t{1} : std::size_t{0};
    // The key is part of the entry that goes.
    rowsByKey_.remove(*gone.key);
    block.rows.erase(place);
    later = block.rows.empty() ? blocks_.erase(later) : later + 1;
    for (; later != blocks_.end(); ++later) {
        --(*later)->first;
    }
}

void GridModel::clear() noexcept {
    blocks_.clear();
    rowsByKey_.clear();
    selectedCount_ = 0;
}

std::size_t GridModel::findRow(std::wstring_view key) const {
    const Row* row = rowsByKey_.find(key);
    if (row == nullptr) {
        return kNullSize;
    }
    const std::vector<Row*>& rows = row->block->rows;
    return row->block->first +
           static_cast<std::size_t>(std::ranges::find(rows, row) - rows.begin());
}

const std::wstring& GridModel::cell(std::size_t row, std::size_t column) const noexcept {
    const std::vector<std::wstring>& cells = at(row).cells;
    return column < cells.size() ? cells[column] : kEmptyCell;
}

bool GridModel::setCell(std::size_t row, std::size_t column, const std::wstring& text) {
    if (cell(row, column) == text) {
        return false;
    }
    std::vector<std::wstring>& cells = at(row).cells;
    if (column >= cells.size()) {
        cells.resize(column + 1);
    }
    cells[column] = text;
    return true;
}

bool GridModel::setSelected(std::size_t row, bool selected) {
    const bool changed = std::exchange(at(row).selected, selected) != selected;
    if (changed) {
        selectedCount_ = selected ? selectedCount_ + 1 : selectedCount_ - 1;
    }
    return changed;
}

bool GridModel::setAllSelected(bool selected) {
    const std::size_t wanted = selected ? rowCount() : 0;
    if (selectedCount_ == wanted) {
        return false;
    }
    for (const auto& block : blocks_) {
        for (Row* row : block->rows) {
            row->selected = selected;
        }
    }
    selectedCount_ = wanted;
    return true;
}

std::vector<std::size_t> GridModel::selectedRows() const {
    std::vector<std::size_t> selected;
    selected.reserve(selectedCount_);
    for (auto block = blocks_.begin(); selected.size() < selectedCount_; ++block) {
        std::size_t index = (*block)->first;
        for (const Row* row : (*block)->rows) {
            if (row->selected) {
                selected.push_back(index);
            }
            ++index;
        }
    }
    return selected;
}

}  // namespace zustd
