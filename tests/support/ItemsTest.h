// What the tests of trees and grids with the system's own controls share: a
// window with one of each, what they show, and a log of what they say about the
// user.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ZuNativeGridView.h"
#include "ZuNativeTreeView.h"
#include "ZuNativeWindow.h"
#include "ZuText.h"
#include "ZuWindowHandlerWin32Gdi.h"
#include "ZuWindowServiceWin32Gdi.h"
#include "ZuWindows.h"
#include "support/DrawingTest.h"
#include "support/FrameworkTest.h"
#include "support/WindowTest.h"
// Behind the wrapper.
#include <commctrl.h>

namespace zustd::test {

inline std::wstring numbered(std::size_t number) { return L"item " + std::to_wstring(number); }

// The messages of the items, as "kind:key", and what to do about them.
class ItemLog : public MessageSink {
public:
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
        const std::wstring name(kind.name());
        std::wstring key = L"none";
        if (auto* tree = dynamic_cast<NativeTreeView*>(a.object<Control>())) {
            const TreeNode node = NativeTreeView::nodeOfWord(b);
            key = node != kNoNode ? tree->getNodeKey(node) : key;
        } else if (auto* grid = dynamic_cast<NativeGridView*>(a.object<Control>())) {
            const auto row = static_cast<std::size_t>(b.number());
            key = row != kNullSize ? grid->getRowKey(row) : key;
        }
        if (name.find(L".Native") != std::wstring::npos) {
            text_ += (text_.empty() ? L"" : L" ") + name.substr(0, name.find(L'.')) + L":" + key;
            onMessage(kind);
        }
        return true;
    }
    // What has come when nothing more comes.
    std::wstring take() {
        runMessages(60);
        return std::exchange(text_, {});
    }
    std::function<void(const MessageKind&)> onMessage = [](const MessageKind&) {};

private:
    std::wstring text_;
};

inline void rightClick(POINT place) {
    movePointer(place);
    INPUT inputs[2]{};
    for (INPUT& input : inputs) {
        input.type = INPUT_MOUSE;
        input.mi.dwFlags = &input == inputs ? MOUSEEVENTF_RIGHTDOWN : MOUSEEVENTF_RIGHTUP;
    }
    SendInput(2, inputs, sizeof(INPUT));
}

inline LRESULT send(const Control& control, UINT id, WPARAM wide = 0, LPARAM extra = 0) {
    return SendMessageW(nativeWindowOf(control), id, wide, extra);
}

template <class Item>
LRESULT ask(const Control& control, UINT id, Item& item, WPARAM wide = 0) {
    return send(control, id, wide, reinterpret_cast<LPARAM>(&item));
}

// Leftmost point in a line of the control that it takes for such a part.
template <class Hit>
POINT partAt(const Control& control, UINT message, UINT part, std::int32_t y) {
    Hit hit{};
    for (hit.pt = {0, y}; hit.pt.x < 300 && (hit.flags & part) == 0; ++hit.pt.x) {
        ask(control, message, hit);
    }
    EXPECT_NE(hit.flags & part, 0U);
    return onScreen(nativeWindowOf(control), {hit.pt.x + 2, y});
}

inline std::wstring lineOf(std::size_t depth, const std::wstring& text, int image, bool checked,
                           bool bold, const wchar_t* button, bool selected) {
    return std::wstring(depth, L' ') + text + L' ' + std::to_wstring(image) +
           (checked ? L"c" : L"") + (bold ? L"b" : L"") + button + (selected ? L"s" : L"");
}

inline const wchar_t* buttonOf(bool hasChildren, bool expanded) {
    return !hasChildren ? L"" : expanded ? L"-" : L"+";
}

class BackendItemsTest : public ::testing::Test {
protected:
    using Actions = std::vector<std::pair<std::function<void()>, const wchar_t*>>;

    BackendItemsTest() {
        movePointer({1279, 1023});
        window_->setSize({400, 300});
        window_->synchronizeTree();
        tree_ = add(window_->windowService()->createNativeTreeView(), {0, 0, 199, 299});
        grid_ = add(window_->windowService()->createNativeGridView(), {200, 0, 399, 299});
        tree_->setBitmaps(std::make_shared<BitmapListDescriptor>(
            std::vector<std::uint64_t>{120, 123, 100}, Size{16, 16}));
        grid_->setBitmaps(tree_->bitmaps());
        tree_->setCheckBoxes(true);
        grid_->setCheckBoxes(true);
        grid_->setColumns({{L"Name", 80}, {L"Size", 60, Alignment::kEnd}});
        runMessages(20);
    }
    ~BackendItemsTest() override { WindowServiceWin32Gdi::setScalingFactor(0.0); }

    template <class Widget>
    std::shared_ptr<Widget> add(std::shared_ptr<Widget> widget, const Rect& boundary) {
        widget->setBoundary(boundary);
        window_->addChild(widget);
        widget->connect(log_, false);
        return widget;
    }
    // Each is sent exactly what the user did.
    void expectSent(const Actions& actions) {
        log_->take();
        for (std::size_t i = 0; i < actions.size(); ++i) {
            actions[i].first();
            EXPECT_EQ(log_->take(), actions[i].second) << i;
        }
    }

    // What can be seen when the whole tree is scrolled through.
    void readBelow(HTREEITEM first, std::size_t depth, Texts& lines) const {
        const HWND window = nativeWindowOf(*tree_);
        for (HTREEITEM item = first; item != nullptr;
             item = TreeView_GetNextSibling(window, item)) {
            wchar_t text[64] = L"";
            TVITEMW shown{};
            shown.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_STATE | TVIF_CHILDREN;
            shown.hItem = item;
            shown.stateMask = 0xFFFF;
            shown.pszText = text;
            shown.cchTextMax = 64;
            EXPECT_TRUE(ask(*tree_, TVM_GETITEMW, shown));
            const bool expanded = (shown.state & TVIS_EXPANDED) != 0;
            const UINT check = (shown.state & TVIS_STATEIMAGEMASK) >> 12;
            EXPECT_TRUE(tree_->hasCheckBoxes() ? check == 1 || check == 2 : check == 0);
            lines.push_back(lineOf(depth, text, shown.iImage == I_IMAGENONE ? -1 : shown.iImage,
                                   check == 2, (shown.state & TVIS_BOLD) != 0,
                                   buttonOf(shown.cChildren != 0, expanded),
                                   item == TreeView_GetSelection(window)));
            if (shown.cChildren != 0 && expanded) {
                readBelow(TreeView_GetChild(window, item), depth + 1, lines);
            }
        }
    }
    Texts shownTree() const {
        Texts lines;
        readBelow(TreeView_GetRoot(nativeWindowOf(*tree_)), 0, lines);
        return lines;
    }
    // Until it shows what it should: slices take as long as they take.
    bool followsTree() const {
        const Texts wanted = wantedTree();
        runMessages(20'000, [&] { return shownTree() == wanted; });
        return shownTree() == wanted;
    }
    Texts wantedTree() const {
        const TreeModel& model = tree_->model();
        Texts lines;
        for (TreeNode node = model.firstRoot(); node != kNoNode;
             node = model.isExpanded(node) ? model.next(node) : model.nextBeyond(node)) {
            std::size_t depth = 0;
            for (TreeNode above = node; model.parent(above) != kNoNode; ++depth) {
                above = model.parent(above);
            }
            lines.push_back(lineOf(depth, model.caption(node), model.bitmap(node),
                                   tree_->hasCheckBoxes() && model.isChecked(node),
                                   model.isEmphasized(node),
                                   buttonOf(model.childCount(node) != 0, model.isExpanded(node)),
                                   model.selected() == node));
        }
        return lines;
    }
    TreeNode node(const wchar_t* key) const { return tree_->findNode(key); }
    void addNodes(std::initializer_list<const wchar_t*> keys, const wchar_t* parent = nullptr) {
        for (const wchar_t* key : keys) {
            parent != nullptr ? tree_->addChildNode(node(parent), key, key)
                              : tree_->addRootNode(key, key);
        }
    }
    POINT placeOf(const wchar_t* key) const {
        const Rect caption = tree_->getNodeBoundary(node(key));
        EXPECT_FALSE(caption.isEmpty()) << narrow(key);
        return onScreen(nativeWindowOf(*tree_), {caption.left + 4, caption.top + 4});
    }
    POINT partOf(const wchar_t* key, UINT part) const {
        return partAt<TVHITTESTINFO>(*tree_, TVM_HITTEST, part,
                                     tree_->getNodeBoundary(node(key)).top + 7);
    }

    Texts shownGrid() const {
        Texts lines;
        for (int row = 0; row < send(*grid_, LVM_GETITEMCOUNT); ++row) {
            wchar_t text[64] = L"";
            LVITEMW item{};
            item.mask = LVIF_TEXT | LVIF_IMAGE | LVIF_STATE;
            item.iItem = row;
            item.stateMask = LVIS_SELECTED | LVIS_STATEIMAGEMASK;
            item.pszText = text;
            item.cchTextMax = 64;
            EXPECT_TRUE(ask(*grid_, LVM_GETITEMW, item));
            const std::wstring line = lineOf(0, text, item.iImage == I_IMAGENONE ? -1 : item.iImage,
                                             (item.state & LVIS_STATEIMAGEMASK) >> 12 == 2, false,
                                             L"", (item.state & LVIS_SELECTED) != 0);
            item.iSubItem = 1;
            item.pszText = text;
            ask(*grid_, LVM_GETITEMTEXTW, item, static_cast<WPARAM>(row));
            lines.push_back(line + L'|' + text);
        }
        return lines;
    }
    Texts wantedGrid() const {
        const GridModel& model = grid_->model();
        Texts lines;
        for (std::size_t row = 0; row < model.rowCount(); ++row) {
            lines.push_back(lineOf(0, model.cell(row, 0), model.bitmap(row),
                                   grid_->hasCheckBoxes() && model.isChecked(row), false, L"",
                                   model.isSelected(row)) +
                            L'|' + model.cell(row, 1));
        }
        return lines;
    }
    void addRows(std::initializer_list<const wchar_t*> keys) {
        for (const wchar_t* key : keys) {
            grid_->setCell(grid_->addRow(key), 0, key);
        }
    }
    POINT placeOfRow(std::size_t row, bool onCheckBox = false) const {
        RECT area{LVIR_LABEL, 0, 0, 0};
        EXPECT_TRUE(ask(*grid_, LVM_GETITEMRECT, area, row));
        const std::int32_t y = (area.top + area.bottom) / 2;
        return onCheckBox ? partAt<LVHITTESTINFO>(*grid_, LVM_HITTEST, LVHT_ONITEMSTATEICON, y)
                          : onScreen(nativeWindowOf(*grid_), {area.left + 5, y});
    }

    std::shared_ptr<ItemLog> log_ = std::make_shared<ItemLog>();
    std::shared_ptr<NativeWindow> window_ = makeWindowService(nullptr)->createNativeWindow();
    std::shared_ptr<NativeTreeView> tree_;
    std::shared_ptr<NativeGridView> grid_;
};

}  // namespace zustd::test
