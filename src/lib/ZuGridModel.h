// The rows of a grid: keys, cells, images, checks and selection.
//
// Rows are addressed by index and found by key in constant time. A row's cells
// are stored as far as they were set; the others are empty.
//
// Removing rows from the middle leaves the later rows' indices to be counted
// anew by the next look-up by key, so that removing many is one count.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ZuHashMap.h"

namespace zustd {

class GridModel {
public:
    static constexpr std::int32_t kNoBitmap = -1;

    std::size_t rowCount() const noexcept { return rows_.size(); }
    std::size_t selectedCount() const noexcept { return selectedCount_; }

    // Appends a row; the index. The key must be new and not empty, or the
    // assertion "!key.empty() && !rowsByKey_.contains(key)" fails.
    std::size_t addRow(std::wstring_view key);
    // The row must exist, here and below.
    void removeRow(std::size_t row);
    void clear() noexcept;

    // kNullSize when no row has the key.
    std::size_t findRow(std::wstring_view key);
    const std::wstring& key(std::size_t row) const { return *rows_[row]->key; }

    // The empty text for a column that was never set.
    const std::wstring& cell(std::size_t row, std::size_t column) const noexcept;
    // Each returns whether anything changed.
    bool setCell(std::size_t row, std::size_t column, const std::wstring& text);
    std::int32_t bitmap(std::size_t row) const { return rows_[row]->bitmap; }
    bool setBitmap(std::size_t row, std::int32_t bitmap);
    bool isChecked(std::size_t row) const { return rows_[row]->checked; }
    bool setChecked(std::size_t row, bool checked);
    bool isSelected(std::size_t row) const { return rows_[row]->selected; }
    bool setSelected(std::size_t row, bool selected);
    bool setAllSelected(bool selected);
    // In ascending order.
    std::vector<std::size_t> selectedRows() const;

private:
    struct Row {
        const std::wstring* key = nullptr;
        std::size_t index = 0;
        std::vector<std::wstring> cells;
        std::int32_t bitmap = kNoBitmap;
        bool checked = false;
        bool selected = false;
    };

    // The map owns the rows; it keeps their addresses.
    std::vector<Row*> rows_;
    HashMap<Row> rowsByKey_;
    std::size_t selectedCount_ = 0;
    // From this row on the stored indices are out of date.
    std::size_t firstStale_ = 0;
};

}  // namespace zustd
