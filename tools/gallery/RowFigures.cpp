#include "RowFigures.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "ZuNativeGridView.h"
#include "ZuNativeTreeView.h"
#include "ZuNativeWindow.h"
#include "ZuWindowHandlerWin32Gdi.h"
#include "ZuWindows.h"
// Behind the wrapper.
#include <commctrl.h>

namespace zustd::gallery {

namespace {

using Clock = std::chrono::steady_clock;

std::wstring keyOf(std::size_t row) { return L"row" + std::to_wstring(row); }

// In milliseconds.
struct Figure {
    double total = 0.0;
    // The longest time in which the window answered nothing.
    double stall = 0.0;
};

double since(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

// Until nothing more comes for longer than a control needs for its next step.
Figure handleMessages() {
    constexpr DWORD kQuiet = 60;
    const auto begin = Clock::now();
    Figure figure;
    while (MsgWaitForMultipleObjects(0, nullptr, FALSE, kQuiet, QS_ALLINPUT) == WAIT_OBJECT_0) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            const auto before = Clock::now();
            DispatchMessageW(&message);
            figure.stall = std::max(figure.stall, since(before));
            figure.total = since(begin);
        }
    }
    return figure;
}

// With everything that it sets off on the screen.
Figure measure(const std::function<void()>& work) {
    const auto begin = Clock::now();
    work();
    const double done = since(begin);
    const Figure after = handleMessages();
    return {done + after.total, std::max(done, after.stall)};
}

void print(const std::string& what, const Figure& ours) {
    std::printf("%-42s %10.1f %10.1f\n", what.c_str(), ours.total, ours.stall);
    std::fflush(stdout);
}

void print(const std::string& what, const std::function<void()>& work) {
    print(what, measure(work));
}

void printBeside(const std::string& what, const Figure& ours, const Figure& theirs) {
    std::printf("%-42s %10.1f %10.1f %10.1f %8.2f\n", what.c_str(), ours.total, ours.stall,
                theirs.total, ours.total / theirs.total);
    std::fflush(stdout);
}

// Always the same one.
std::vector<std::size_t> anyOrder(std::size_t count) {
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::uint64_t state = 1;
    for (std::size_t i = count; i > 1; --i) {
        state = state * 6364136223846793005U + 1442695040888963407U;
        std::swap(order[i - 1], order[(state >> 33) % i]);
    }
    return order;
}

// Filling and clearing.
struct Pair {
    Figure filled;
    Figure cleared;
};

// The system's control without anything around it, filled with one message for
// each row while nothing is shown.
class PlainControl {
public:
    PlainControl(HWND parent, const wchar_t* windowClass, DWORD style)
        : window_(CreateWindowExW(0, windowClass, L"", style | WS_CHILD | WS_VISIBLE, 0, 0, 400,
                                  300, parent, nullptr, nullptr, nullptr)) {}
    PlainControl(const PlainControl&) = delete;
    PlainControl& operator=(const PlainControl&) = delete;
    ~PlainControl() { DestroyWindow(window_); }

    Pair measureBoth(const std::function<void()>& fill, UINT clear, LPARAM all) const {
        const auto atOnce = [this](const std::function<void()>& work) {
            return measure([&] {
                send(WM_SETREDRAW, FALSE, 0);
                work();
                send(WM_SETREDRAW, TRUE, 0);
                InvalidateRect(window_, nullptr, TRUE);
            });
        };
        const Figure filled = atOnce(fill);
        return {filled, atOnce([&] { send(clear, 0, all); })};
    }
    LRESULT send(UINT id, WPARAM wide, LPARAM extra) const {
        return SendMessageW(window_, id, wide, extra);
    }

private:
    HWND window_;
};

Pair measurePlainGrid(HWND parent, std::size_t count) {
    PlainControl plain(parent, WC_LISTVIEWW, LVS_REPORT);
    LVCOLUMNW column{};
    column.mask = LVCF_WIDTH;
    column.cx = 100;
    plain.send(LVM_INSERTCOLUMNW, 0, reinterpret_cast<LPARAM>(&column));
    const auto fill = [&] {
        for (std::size_t row = 0; row < count; ++row) {
            std::wstring text = keyOf(row);
            LVITEMW item{};
            item.mask = LVIF_TEXT;
            item.iItem = static_cast<int>(row);
            item.pszText = text.data();
            plain.send(LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
        }
    };
    return plain.measureBoth(fill, LVM_DELETEALLITEMS, 0);
}

Pair measurePlainTree(HWND parent, std::size_t count, std::size_t inEach) {
    PlainControl plain(parent, WC_TREEVIEWW, TVS_HASBUTTONS | TVS_LINESATROOT);
    const auto fill = [&] {
        LRESULT above = reinterpret_cast<LRESULT>(TVI_ROOT);
        for (std::size_t row = 0; row < count; ++row) {
            std::wstring text = keyOf(row);
            TVINSERTSTRUCTW item{};
            const bool isAbove = inEach != 0 && row % inEach == 0;
            item.hParent = isAbove ? TVI_ROOT : reinterpret_cast<HTREEITEM>(above);
            item.hInsertAfter = TVI_LAST;
            item.item.mask = TVIF_TEXT;
            item.item.pszText = text.data();
            const LRESULT made = plain.send(TVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
            above = isAbove ? made : above;
        }
    };
    return plain.measureBoth(fill, TVM_DELETEITEM, reinterpret_cast<LPARAM>(TVI_ROOT));
}

// --- Grid -----------------------------------------------------------------------------------

void addRows(NativeGridView& grid, std::size_t count) {
    for (std::size_t row = 0; row < count; ++row) {
        const std::wstring key = keyOf(row);
        grid.setCell(grid.addRow(key), 0, key);
    }
}

void printRemovals(NativeGridView& grid, std::size_t count) {
    const std::vector<std::size_t> mixed = anyOrder(count);
    const auto removeAll = [&](const std::function<std::size_t(std::size_t)>& nth) {
        for (std::size_t i = 0; i < count; ++i) {
            grid.removeRow(grid.findRow(keyOf(nth(i))));
        }
    };
    print("grid, remove by key, first ones first",
          [&] { removeAll([](std::size_t i) { return i; }); });
    addRows(grid, count);
    print("grid, remove by key, last ones first",
          [&] { removeAll([count](std::size_t i) { return count - 1 - i; }); });
    addRows(grid, count);
    print("grid, remove by key, in any order",
          [&] { removeAll([&](std::size_t i) { return mixed[i]; }); });
}

void printGrid(NativeWindow& window, std::size_t count) {
    const std::shared_ptr<NativeGridView> grid = window.windowService()->createNativeGridView();
    grid->setColumns({{L"Name", 150}});
    grid->setBoundary(Rect::at({}, {400, 300}));
    window.addChild(grid);
    handleMessages();
    const Pair plain = measurePlainGrid(nativeWindowOf(window), count);
    printBeside("grid, fill row by row", measure([&] { addRows(*grid, count); }), plain.filled);
    printBeside("grid, clear", measure([&] { grid->clear(); }), plain.cleared);
    printBeside("grid, fill within an update", measure([&] {
                    const ControlUpdate update(*grid);
                    addRows(*grid, count);
                }),
                plain.filled);
    print("grid, release", [&] { grid->releaseTree(); });
    print("grid, first show", [&] { grid->synchronizeTree(); });
    print("grid, find every row by key", [&] {
        for (std::size_t row = 0; row < count; ++row) {
            grid->findRow(keyOf(row));
        }
    });
    print("grid, select all", [&] { grid->selectAllRows(); });
    print("grid, deselect all", [&] { grid->deselectAllRows(); });
    printRemovals(*grid, count);
    window.removeChild(grid.get());
}

// --- Trees ----------------------------------------------------------------------------------

// The first of each group is above the others of it; 0 for no groups.
void addNodes(NativeTreeView& tree, std::size_t count, std::size_t inEach) {
    TreeNode above = kNoNode;
    for (std::size_t row = 0; row < count; ++row) {
        const std::wstring key = keyOf(row);
        if (inEach == 0 || row % inEach == 0) {
            above = tree.addRootNode(key, key);
        } else {
            tree.addChildNode(above, key, key);
        }
    }
}

void printTree(NativeWindow& window, std::size_t count, std::size_t inEach) {
    const std::shared_ptr<NativeTreeView> tree = window.windowService()->createNativeTreeView();
    tree->setBoundary(Rect::at({}, {400, 300}));
    window.addChild(tree);
    handleMessages();
    const Pair plain = measurePlainTree(nativeWindowOf(window), count, inEach);
    const std::string name = inEach == 0 ? "flat tree, " : "tree of two levels, ";
    printBeside(name + "fill node by node", measure([&] { addNodes(*tree, count, inEach); }),
                plain.filled);
    printBeside(name + "clear", measure([&] { tree->clear(); }), plain.cleared);
    printBeside(name + "fill, redraw off", measure([&] {
                    tree->setEnableRedraw(false);
                    addNodes(*tree, count, inEach);
                    tree->setEnableRedraw(true);
                }),
                plain.filled);
    print(name + "release", [&] { tree->releaseTree(); });
    print(name + "first show", [&] { tree->synchronizeTree(); });
    print(name + "find every node by key", [&] {
        for (std::size_t row = 0; row < count; ++row) {
            tree->findNode(keyOf(row));
        }
    });
    print(name + "expand all", [&] { tree->expandAllNodes(); });
    print(name + "select in the middle",
          [&] { tree->selectNode(tree->findNode(keyOf(count / 2))); });
    print(name + "collapse all", [&] { tree->collapseAllNodes(); });
    print(name + "expand all again", [&] { tree->expandAllNodes(); });
    print(name + "remove by key, any order", [&] {
        for (const std::size_t row : anyOrder(count)) {
            if (const TreeNode node = tree->findNode(keyOf(row)); node != kNoNode) {
                tree->removeNode(node);
            }
        }
    });
    window.removeChild(tree.get());
}

}  // namespace

void printRowFigures(WindowService& windows, std::size_t count) {
    const std::shared_ptr<NativeWindow> window = windows.createNativeWindow();
    window->setSize({400, 300});
    window->synchronizeTree();
    handleMessages();
    std::printf("%-42s %10s %10s %10s %8s\n", (std::to_string(count) + " rows or nodes").c_str(),
                "ours (ms)", "stall (ms)", "plain (ms)", "ratio");
    printGrid(*window, count);
    printTree(*window, count, 0);
    printTree(*window, count, 1000);
}

}  // namespace zustd::gallery
