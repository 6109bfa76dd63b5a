// What the tests of trees and grids with the system's own controls share: a
// window with one of each, and a log of what they say about the user.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
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

inline constexpr std::size_t kMany = 100'000;

inline std::wstring numbered(std::size_t number) { return L"item " + std::to_wstring(number); }

// The messages of the items, as "kind:key", and what to do about them.
class ItemLog : public MessageSink {
public:
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
        const std::wstring name(kind.name());
        const std::size_t dot = name.find(L'.');
        if (name.compare(dot, 7, L".Native") != 0) {
            return true;
        }
        std::wstring key = L"none";
        if (auto* tree = dynamic_cast<NativeTreeView*>(a.object<Control>())) {
            const TreeNode node = NativeTreeView::nodeOfWord(b);
            key = node != kNoNode ? tree->getNodeKey(node) : key;
        } else if (auto* grid = dynamic_cast<NativeGridView*>(a.object<Control>())) {
            const auto row = static_cast<std::size_t>(b.number());
            key = row != kNullSize ? grid->getRowKey(row) : key;
        }
        text_ += (text_.empty() ? L"" : L" ") + name.substr(0, dot) + L":" + key;
        if (onMessage) {
            onMessage(kind);
        }
        return true;
    }
    // What has come when nothing more comes.
    std::wstring take() {
        runMessages(60);
        return std::exchange(text_, {});
    }
    std::function<void(const MessageKind&)> onMessage;

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

// Leftmost point of a row of the screen that the control takes for such a part.
template <class Hit>
Point partAt(HWND window, UINT message, UINT part, std::int32_t y) {
    for (std::int32_t x = 0; x < 300; ++x) {
        Hit hit{};
        hit.pt = {x, y};
        SendMessageW(window, message, 0, reinterpret_cast<LPARAM>(&hit));
        if ((hit.flags & part) != 0) {
            return {x + 3, y};
        }
    }
    ADD_FAILURE() << "no such part";
    return {};
}

class BackendItemsTest : public ::testing::Test {
protected:
    BackendItemsTest() {
        movePointer({1279, 1023});
        window_->setSize({400, 300});
        window_->synchronizeTree();
        tree_ = add(window_->windowService()->createNativeTreeView(), {0, 0, 199, 299});
        grid_ = add(window_->windowService()->createNativeGridView(), {200, 0, 399, 299});
        tree_->setBitmaps(std::make_shared<BitmapListDescriptor>(
            std::vector<std::uint64_t>{120, 123, 100}, Size{16, 16}));
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
    static LRESULT send(const Control& control, UINT id, WPARAM wide = 0, LPARAM extra = 0) {
        return SendMessageW(nativeWindowOf(control), id, wide, extra);
    }
    template <class Item>
    static LRESULT ask(const Control& control, UINT id, Item& item, WPARAM wide = 0) {
        return send(control, id, wide, reinterpret_cast<LPARAM>(&item));
    }
    static std::wstring lineOf(std::size_t depth, const std::wstring& text, int image, bool checked,
                               bool bold, const wchar_t* button, bool selected) {
        return std::wstring(depth, L' ') + text + L' ' + std::to_wstring(image) +
               (checked ? L"c" : L"") + (bold ? L"b" : L"") + button + (selected ? L"s" : L"");
    }

    std::shared_ptr<ItemLog> log_ = std::make_shared<ItemLog>();
    std::shared_ptr<NativeWindow> window_ = makeWindowService(nullptr)->createNativeWindow();
    std::shared_ptr<NativeTreeView> tree_;
    std::shared_ptr<NativeGridView> grid_;
};
}  // namespace zustd::test
