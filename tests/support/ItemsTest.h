// What the tests of trees and grids share: one of each, what they show and what they say.
#pragma once

#include "ZuNativeGridView.h"
#include "ZuNativeTreeView.h"
#include "support/SurfaceTest.h"
// Behind the wrapper.
#include <commctrl.h>

namespace zustd::test {

inline std::wstring numbered(std::size_t number) { return L"item " + std::to_wstring(number); }

inline std::wstring named(const wchar_t* kind, TreeNode node) {
    return kind + std::to_wstring(static_cast<std::uint64_t>(node));
}

// A line as a person sees it; a check box is 1 or, checked, 2.
inline std::wstring lineOf(std::size_t depth, const std::wstring& text, int image, UINT check,
                           const std::wstring& flags, bool selected) {
    return std::wstring(depth, L' ') + text + L' ' + std::to_wstring(image) + L' ' +
           std::to_wstring(check) + flags + (selected ? L"s" : L"");
}
inline std::wstring flagsOf(bool bold, bool hasChildren, bool expanded) {
    return std::wstring(bold ? L"b" : L"") + (!hasChildren ? L"" : expanded ? L"-" : L"+");
}

class BackendItemsTest : public SurfaceTest {
protected:
    BackendItemsTest() {
        window_->setSize({400, 300});
        tree_ = show(service().createNativeTreeView(), {0, 0, 199, 299});
        grid_ = show(service().createNativeGridView(), {200, 0, 399, 299});
        tree_->connect(sink_, true);
        grid_->connect(sink_, true);
        tree_->setBitmaps(std::make_shared<BitmapListDescriptor>(
            std::vector<std::uint64_t>{120, 123, 9999}, Size{16, 16}));
        grid_->setBitmaps(tree_->bitmaps());
        EXPECT_TRUE(tree_->setCheckBoxes(true) && grid_->setCheckBoxes(true)) << "had none";
        grid_->setColumns({{L"Name", 80}, {L"Size", 60, Alignment::kEnd}});
        runMessages(20);
    }
    ~BackendItemsTest() override { WindowServiceWin32Gdi::setScalingFactor(0.0); }

    using SurfaceTest::send;
    static LRESULT send(const Control& control, UINT id, WPARAM wide = 0, LPARAM extra = 0) {
        return SendMessageW(nativeWindowOf(control), id, wide, extra);
    }
    template <class Item>
    static LRESULT ask(const Control& control, UINT id, Item& item, WPARAM wide = 0) {
        return send(control, id, wide, reinterpret_cast<LPARAM>(&item));
    }
    // The user's click, handled at once: the control waits for the button to come up.
    static void clickAt(const Control& control, Point place, bool right = false) {
        const HWND window = nativeWindowOf(control);
        PostMessageW(window, right ? WM_RBUTTONUP : WM_LBUTTONUP, 0, MAKELPARAM(place.x, place.y));
        sendMouse(window, right ? WM_RBUTTONDOWN : WM_LBUTTONDOWN, place, MK_LBUTTON);
        runMessages(0);
    }
    // Within that part of a line of the control; beside it for none.
    template <class Hit>
    static Point partAt(const Control& control, UINT message, UINT flag, std::int32_t y) {
        Hit hit{};
        for (hit.pt = {199, y}; hit.pt.x >= 0 && (hit.flags & flag) == 0; --hit.pt.x) {
            ask(control, message, hit);
        }
        return {hit.pt.x, y};
    }

    // What can be seen when all of it is scrolled through.
    Texts shownTree() const {
        Texts lines;
        const HWND window = nativeWindowOf(*tree_);
        for (HTREEITEM item = TreeView_GetRoot(window); item != nullptr;
             item = TreeView_GetNextVisible(window, item)) {
            wchar_t text[64] = L"";
            constexpr UINT kMask =
                TVIF_TEXT | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_STATE | TVIF_CHILDREN;
            TVITEMW shown{kMask, item, 0, 0xFFFF, text, 64, 0, 0, 0, 0};
            EXPECT_TRUE(ask(*tree_, TVM_GETITEMW, shown));
            EXPECT_EQ(shown.iSelectedImage, shown.iImage);
            std::size_t depth = 1;
            for (HTREEITEM above = TreeView_GetParent(window, item); above != nullptr; ++depth) {
                above = TreeView_GetParent(window, above);
            }
            lines.push_back(lineOf(depth, text, shown.iImage == I_IMAGENONE ? -1 : shown.iImage,
                                   (shown.state & TVIS_STATEIMAGEMASK) >> 12,
                                   flagsOf((shown.state & TVIS_BOLD) != 0, shown.cChildren == 1,
                                           (shown.state & TVIS_EXPANDED) != 0),
                                   item == TreeView_GetSelection(window)));
        }
        return lines;
    }
    Texts shownGrid() const {
        Texts lines;
        for (int row = 0; row < send(*grid_, LVM_GETITEMCOUNT); ++row) {
            wchar_t text[64] = L"";
            LVITEMW item{.mask = LVIF_TEXT | LVIF_IMAGE | LVIF_STATE, .iItem = row};
            item.stateMask = LVIS_SELECTED | LVIS_STATEIMAGEMASK;
            item.pszText = text;
            item.cchTextMax = 64;
            EXPECT_TRUE(ask(*grid_, LVM_GETITEMW, item));
            lines.push_back(lineOf(0, text, item.iImage == I_IMAGENONE ? -1 : item.iImage,
                                   (item.state & LVIS_STATEIMAGEMASK) >> 12, L"",
                                   (item.state & LVIS_SELECTED) != 0));
            item.iSubItem = 1;
            item.pszText = text;
            ask(*grid_, LVM_GETITEMTEXTW, item, static_cast<WPARAM>(row));
            lines.back() += L'|' + std::wstring(text);
        }
        return lines;
    }

    Point placeOf(std::size_t row) const {
        RECT area{LVIR_LABEL, 0, 0, 0};
        EXPECT_TRUE(ask(*grid_, LVM_GETITEMRECT, area, row));
        return {area.left + 5, area.top + 5};
    }
    Point boxOf(std::size_t row) const {
        return partAt<LVHITTESTINFO>(*grid_, LVM_HITTEST, LVHT_ONITEMSTATEICON, placeOf(row).y);
    }
    TreeNode node(const std::wstring& key) const { return tree_->findNode(key); }
    void addRows(std::initializer_list<const wchar_t*> keys) {
        for (const wchar_t* key : keys) {
            grid_->setCell(grid_->addRow(key), 0, key);
        }
    }

    // The messages of trees and grids, as "kind:node" or "kind:row"; what to do about them.
    std::wstring told_;
    std::function<void()> onMessage_ = [] {};
    std::shared_ptr<MessageSink> sink_ =
        std::make_shared<FunctionSink>([this](const auto& kind, MessageWord, MessageWord b) {
            const std::wstring name(kind.name());
            if (name.find(L".Native") != std::wstring::npos) {
                told_ +=
                    L" " + name.substr(0, name.find(L'.')) + L":" + std::to_wstring(b.number());
                onMessage_();
            }
        });
    std::shared_ptr<NativeTreeView> tree_;
    std::shared_ptr<NativeGridView> grid_;
};

}  // namespace zustd::test
