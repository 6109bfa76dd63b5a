#include "Pages.h"
#include "ZuNativeGridView.h"

namespace zustd::gallery {

namespace {

void fill(NativeGridView& grid, int rows) {
    const ControlUpdate update(grid);
    for (int i = 0; i < rows; ++i) {
        const std::wstring number = std::to_wstring(i + 1);
        const std::size_t row = grid.addRow(L"row" + number);
        grid.setCell(row, 0, L"Message " + number);
        grid.setCell(row, 1, i % 2 == 0 ? L"Inbox" : L"A folder with a name that is too long");
        grid.setCell(row, 2, std::to_wstring(i * 137 % 1000) + L" KB");
        grid.setRowBitmap(row, i % 2);
        grid.setRowChecked(row, i % 3 == 0);
    }
    grid.selectRow(1);
    grid.selectRow(2);
}

std::shared_ptr<NativeGridView> addGrid(PageBuilder& builder, Size size) {
    auto grid = builder.add(builder.windows().createNativeGridView(), size);
    grid->setColumns({{L"Subject", 170, Alignment::kStart},
                      {L"Folder", 150, Alignment::kCentre},
                      {L"Size", 80, Alignment::kEnd}});
    grid->setBitmaps(
        std::make_shared<BitmapListDescriptor>(std::vector<std::uint64_t>{100, 103}, Size{16, 16}));
    return grid;
}

}  // namespace

void buildGrid(PageBuilder& builder) {
    builder.section(L"Several selected, with checks");
    const auto many = addGrid(builder, {440, 180});
    many->setCheckBoxes(true);
    fill(*many, 20);
    builder.section(L"One selected, without header, disabled");
    const auto off = addGrid(builder, {440, 100});
    off->setHeader(false);
    off->setMultiSelect(false);
    off->setEnabled(false);
    fill(*off, 3);
}

}  // namespace zustd::gallery
