// The rows of a grid: keys, cells, images, checks and selection.
//
// Rows are addressed by index and found by key. A row's cells are stored as far
// as they were set; the others are empty.
//
// Rows are kept in blocks of a few hundred. A block knows the index of its
// first row and a row knows its block, so that removing one moves the rest of
// its block and counts the later blocks anew, and no operation on a row, in
// whatever order, costs more than a look at one block and at the list of them.
#pragma once

#include "ZuHashMap.h"

namespace zustd {

class GridModel {
public:
    static constexpr std::int32_t kNoBitmap = -1;

    std::size_t rowCount() const noexcept { return rowsByKey_.size(); }
    std::size_t selectedCount() const noexcept { return selectedCount_; }

    // Appends a row; the index. The key must be new and not empty, or the
    // assertion "!key.empty() && !rowsByKey_.contains(key)" fails.
    std::size_t addRow(std::wstring_view key);
    // The row must exist, here and below.
    void removeRow(std::size_t row);
    void clear() noexcept;

    // kNullSize when no row has the key.
    std::size_t findRow(std::wstring_view key) const;
    const std::wstring& key(std::size_t row) const { return *at(row).key; }

    // The empty text for a column that was never set.
    const std::wstring& cell(std::size_t row, std::size_t column) const noexcept;
    // Each returns whether anything changed.
    bool setCell(std::size_t row, std::size_t column, const std::wstring& text);
    std::int32_t bitmap(std::size_t row) const { return at(row).bitmap; }
    bool setBitmap(std::size_t row, std::int32_t bitmap) {
        return std::exchange(at(row).bitmap, bitmap) != bitmap;
    }
    bool isChecked(std::size_t row) const { return at(row).checked; }
    bool setChecked(std::size_t row, bool checked) {
        return std::exchange(at(row).checked, checked) != checked;
    }
    bool isSelected(std::size_t row) const { return at(row).selected; }
    bool setSelected(std::size_t row, bool selected);
    bool setAllSelected(bool selected);
    // In ascending order.
    std::vector<std::size_t> selectedRows() const;

private:
    struct Block;
    struct Row {
        const std::wstring* key = nullptr;
        Block* block = nullptr;
        std::vector<std::wstring> cells;
        std::int32_t bitmap = kNoBitmap;
        bool checked = false;
        bool selected = false;
    };
    // Never empty.
    struct Block {
        // The index of the first row.
        std::size_t first = 0;
        std::vector<Row*> rows;
    };
    using Blocks = std::vector<std::unique_ptr<Block>>;

    // The block that a row is in.
    Blocks::const_iterator blockOf(std::size_t row) const noexcept;
    Row& at(std::size_t row) const noexcept;

    // The map owns the rows; it keeps their addresses.
    HashMap<Row> rowsByKey_;
    Blocks blocks_;
    std::size_t selectedCount_ = 0;
};

}  // namespace zustd
