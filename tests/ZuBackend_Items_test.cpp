// Trees and grids with the system's own controls: what these show is read back
// from them, and what the user does is done with the mouse and the keyboard.

#include <gtest/gtest.h>

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

namespace zustd {
namespace {

using namespace test;

constexpr std::size_t kMany = 100'000;

std::wstring numbered(std::size_t number) { return L"item " + std::to_wstring(number); }

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

void rightClick(POINT place) {
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

    // --- Trees
    static std::wstring lineOf(std::size_t depth, const std::wstring& text, int image, bool checked,
                               bool bold, const wchar_t* button, bool selected) {
        return std::wstring(depth, L' ') + text + L' ' + std::to_wstring(image) +
               (checked ? L"c" : L"") + (bold ? L"b" : L"") + button + (selected ? L"s" : L"");
    }
    static const wchar_t* buttonOf(bool hasChildren, bool expanded) {
        return !hasChildren ? L"" : expanded ? L"-" : L"+";
    }
    // What can be seen when the whole tree is scrolled through.
    void readBelow(HTREEITEM first, std::size_t depth, std::vector<std::wstring>& lines) const {
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
    std::vector<std::wstring> shownTree() const {
        std::vector<std::wstring> lines;
        readBelow(TreeView_GetRoot(nativeWindowOf(*tree_)), 0, lines);
        return lines;
    }
    std::vector<std::wstring> wantedTree() const {
        const TreeModel& model = tree_->model();
        std::vector<std::wstring> lines;
        for (TreeNode node = model.firstRoot(); node != kNoNode;
             node = model.isExpanded(node) ? model.next(node) : model.nextBeyond(node)) {
            std::size_t depth = 0;
            for (TreeNode above = model.parent(node); above != kNoNode;
                 above = model.parent(above)) {
                ++depth;
            }
            lines.push_back(lineOf(depth, model.caption(node), model.bitmap(node),
                                   tree_->hasCheckBoxes() && model.isChecked(node),
                                   model.isEmphasized(node),
                                   buttonOf(model.childCount(node) != 0, model.isExpanded(node)),
                                   model.selected() == node));
        }
        return lines;
    }
    // The first node that can be seen and that the window has not; the last one
    // when it has all of them.
    TreeNode firstToCome() const {
        const TreeModel& model = tree_->model();
        TreeNode last = kNoNode;
        for (TreeNode node = model.firstRoot(); node != kNoNode;
             node = model.isExpanded(node) ? model.next(node) : model.nextBeyond(node)) {
            last = node;
            if (model.nativeWord(node) == 0) {
                break;
            }
        }
        return last;
    }
    // Until the window has so many nodes; false when they never come.
    bool waitForNodes(std::size_t count) const {
        runMessages(20'000,
                    [&] { return static_cast<std::size_t>(send(*tree_, TVM_GETCOUNT)) >= count; });
        return static_cast<std::size_t>(send(*tree_, TVM_GETCOUNT)) >= count;
    }
    // Until it shows what it should.
    bool waitForTree() const {
        const auto wanted = wantedTree();
        EXPECT_TRUE(waitForNodes(wanted.size()));
        runMessages(2000, [&] { return shownTree() == wanted; });
        return shownTree() == wanted;
    }
    TreeNode addNode(const wchar_t* key, const wchar_t* parent = nullptr) {
        return parent != nullptr ? tree_->addChildNode(tree_->findNode(parent), key, key)
                                 : tree_->addRootNode(key, key);
    }
    POINT placeOf(const wchar_t* key) {
        const Rect caption = tree_->getNodeBoundary(tree_->findNode(key));
        EXPECT_FALSE(caption.isEmpty()) << narrow(key);
        return onScreen(nativeWindowOf(*tree_), {caption.left + 4, caption.top + 4});
    }
    POINT partOf(const wchar_t* key, UINT part) {
        const HWND window = nativeWindowOf(*tree_);
        const std::int32_t y = tree_->getNodeBoundary(tree_->findNode(key)).top + 7;
        return onScreen(window, partAt<TVHITTESTINFO>(window, TVM_HITTEST, part, y));
    }

    // --- Grids
    std::wstring shownRow(std::size_t row) const {
        wchar_t text[64] = L"";
        std::wstring line;
        LVITEMW item{};
        item.mask = LVIF_TEXT | LVIF_IMAGE | LVIF_STATE;
        item.iItem = static_cast<int>(row);
        item.stateMask = LVIS_SELECTED | LVIS_STATEIMAGEMASK;
        item.pszText = text;
        item.cchTextMax = 64;
        EXPECT_TRUE(ask(*grid_, LVM_GETITEMW, item));
        const UINT check = (item.state & LVIS_STATEIMAGEMASK) >> 12;
        line = lineOf(0, text, item.iImage == I_IMAGENONE ? -1 : item.iImage, check == 2, false,
                      L"", (item.state & LVIS_SELECTED) != 0);
        item.iSubItem = 1;
        item.pszText = text;
        ask(*grid_, LVM_GETITEMTEXTW, item, row);
        return line + L'|' + text;
    }
    std::vector<std::wstring> shownGrid() const {
        std::vector<std::wstring> lines;
        for (LRESULT row = 0; row < send(*grid_, LVM_GETITEMCOUNT); ++row) {
            lines.push_back(shownRow(static_cast<std::size_t>(row)));
        }
        return lines;
    }
    std::vector<std::wstring> wantedGrid() const {
        const GridModel& model = grid_->model();
        std::vector<std::wstring> lines;
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
    POINT placeOfRow(std::size_t row, bool onCheckBox = false) {
        const HWND window = nativeWindowOf(*grid_);
        RECT area{LVIR_LABEL, 0, 0, 0};
        EXPECT_TRUE(ask(*grid_, LVM_GETITEMRECT, area, row));
        const std::int32_t y = (area.top + area.bottom) / 2;
        return onScreen(
            window, onCheckBox ? partAt<LVHITTESTINFO>(window, LVM_HITTEST, LVHT_ONITEMSTATEICON, y)
                               : Point{area.left + 5, y});
    }

    std::shared_ptr<ItemLog> log_ = std::make_shared<ItemLog>();
    std::shared_ptr<NativeWindow> window_ = makeWindowService(nullptr)->createNativeWindow();
    std::shared_ptr<NativeTreeView> tree_;
    std::shared_ptr<NativeGridView> grid_;
};

// --- Trees ----------------------------------------------------------------------------------

TEST_F(BackendItemsTest, tree_mouseAndKeys_sendExactlyWhatTheUserDid) {
    for (const wchar_t* key : {L"a", L"b", L"c"}) {
        addNode(key);
    }
    addNode(L"a1", L"a");
    EXPECT_EQ(log_->take(), L"");
    click(placeOf(L"b"));
    EXPECT_EQ(log_->take(), L"selectionChanged:b");
    click(placeOf(L"b"));
    EXPECT_EQ(log_->take(), L"");
    click(partOf(L"c", TVHT_ONITEMSTATEICON));
    EXPECT_EQ(log_->take(), L"checkStateChanged:c");
    EXPECT_TRUE(tree_->getNodeChecked(tree_->findNode(L"c")));
    pressKeys({VK_SPACE});
    EXPECT_EQ(log_->take(), L"checkStateChanged:b");
    pressKeys({VK_UP});
    EXPECT_EQ(log_->take(), L"selectionChanged:a");
    click(partOf(L"a", TVHT_ONITEMBUTTON));
    EXPECT_EQ(log_->take(), L"nodeExpanding:a");
    rightClick(placeOf(L"a1"));
    EXPECT_EQ(log_->take(), L"rightClicked:a1");
    pressKeys({VK_APPS});
    EXPECT_EQ(log_->take(), L"rightClicked:a");
    EXPECT_EQ(shownTree(), wantedTree());
    pressKeys({VK_LEFT});
    EXPECT_EQ(log_->take(), L"nodeCollapsing:a");
    click(placeOf(L"a"));
    click(placeOf(L"a"));
    EXPECT_EQ(log_->take(), L"nodeExpanding:a");
    EXPECT_TRUE(tree_->getNodeExpanded(tree_->findNode(L"a")));
    click(placeOf(L"a1"));
    EXPECT_EQ(log_->take(), L"selectionChanged:a1");
    log_->onMessage = [this](const MessageKind& kind) {
        if (kind == NativeTreeView::kNodeCollapsing) {
            tree_->refuseExpanding();
        }
    };
    click(partOf(L"a", TVHT_ONITEMBUTTON));
    EXPECT_EQ(log_->take(), L"nodeCollapsing:a");
    EXPECT_EQ(shownTree(), (std::vector<std::wstring>{L"a -1-", L" a1 -1s", L"b -1c", L"c -1c"}));
}

TEST_F(BackendItemsTest, tree_randomChanges_theControlFollowsAlsoWhenMadeAnew) {
    Random random(5);
    for (std::size_t number = 0; number < 900; ++number) {
        const std::wstring text = numbered(number);
        TreeNode node = tree_->getFirstRootNode();
        for (std::size_t i = random.below(tree_->getNodeCount() + 1); i > 1; --i) {
            node = tree_->getNextNode(node);
        }
        const bool on = random.below(2) == 0;
        const std::size_t what = node == kNoNode ? 0 : random.below(15);
        switch (what) {
            // clang-format off
            case 0: tree_->addRootNode(text, text); break;
            case 1: case 2: case 3: tree_->addChildNode(node, text, text); break;
            case 4: case 5: tree_->addSiblingNode(node, text, text); break;
            case 6: tree_->removeNode(node); break;
            case 7: tree_->setNodeCaption(node, L"caption " + text); break;
            case 8: tree_->setNodeExpanded(node, on); break;
            case 9: tree_->setNodeChecked(node, on); break;
            case 10: tree_->setNodeEmphasized(node, on); break;
            case 11: tree_->setNodeBitmap(node, on ? 2 : -1); break;
            case 12: tree_->selectNode(node); break;
            case 13: on ? tree_->expandAllNodes(node) : tree_->collapseAllNodes(node); break;
            default: tree_->setCheckBoxes(on); break;
                // clang-format on
        }
        // Also after bursts of a hundred changes, which are not mirrored one by one.
        if (number < 200 || number % 100 == 0) {
            ASSERT_EQ(shownTree(), wantedTree()) << number << " " << what;
        }
    }
    EXPECT_GT(tree_->getNodeCount(), 100U);
    const auto shown = shownTree();
    tree_->releaseTree();
    window_->synchronizeTree();
    EXPECT_EQ(shownTree(), shown);
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(BackendItemsTest, tree_placesAndSmallSubtrees_staySoundAfterEveryKindOfChange) {
    tree_->setEnableRedraw(false);
    for (std::size_t i = 0; i < 200; ++i) {
        const TreeNode root = tree_->addRootNode(numbered(i), L"root");
        tree_->addChildNode(tree_->addChildNode(root, L"", L"child"), L"", L"grandchild");
    }
    tree_->ensureNodeVisible(tree_->findNode(numbered(150)));
    tree_->setEnableRedraw(true);
    const TreeNode node = tree_->findNode(numbered(150));
    ASSERT_FALSE(tree_->getNodeBoundary(node).isEmpty());
    tree_->expandAllNodes(node);
    EXPECT_FALSE(tree_->getNodeBoundary(node).isEmpty());
    tree_->selectNode(tree_->getLastChildNode(tree_->getFirstChildNode(node)));
    tree_->collapseAllNodes(node);
    EXPECT_EQ(tree_->getSelectedNode(), node);
    EXPECT_EQ(shownTree(), wantedTree());
    // Long bursts fill the window anew and do not scroll it.
    for (std::size_t i = 0; i < 140; ++i) {
        tree_->removeNode(tree_->findNode(numbered(i)));
    }
    ASSERT_FALSE(tree_->getNodeBoundary(node).isEmpty());
    EXPECT_EQ(shownTree(), wantedTree());
    EXPECT_TRUE(tree_->getNodeBoundary(kNoNode).isEmpty());
}

TEST_F(BackendItemsTest, tree_manyNodes_comeWhenTheyCanBeSeenASliceAtATime) {
    for (std::size_t i = 0; i < kMany; ++i) {
        if (i % 1000 == 0) {
            addNode(numbered(i).c_str());
        } else {
            tree_->addChildNode(tree_->getLastRootNode(), numbered(i), numbered(i));
        }
    }
    EXPECT_EQ(send(*tree_, TVM_GETCOUNT), 100);
    EXPECT_EQ(shownTree(), wantedTree());
    tree_->setNodeExpanded(tree_->findNode(numbered(2000)), true);
    EXPECT_EQ(shownTree(), wantedTree());
    tree_->expandAllNodes();
    EXPECT_LT(send(*tree_, TVM_GETCOUNT), LRESULT{kMany / 10});
    // What the program asks for is there at once.
    const TreeNode deep = tree_->findNode(numbered(30500));
    tree_->selectNode(deep);
    tree_->ensureNodeVisible(deep);
    EXPECT_FALSE(tree_->getNodeBoundary(deep).isEmpty());
    EXPECT_LT(send(*tree_, TVM_GETCOUNT), LRESULT{kMany / 2});
    EXPECT_TRUE(waitForNodes(kMany / 2));
    EXPECT_FALSE(tree_->getNodeBoundary(deep).isEmpty());
    for (std::size_t i = 0; i < kMany; ++i) {
        tree_->removeNode(tree_->findNode(numbered(kMany - 1 - i)));
    }
    EXPECT_EQ(send(*tree_, TVM_GETCOUNT), 0);
}

TEST_F(BackendItemsTest, tree_changesWhileNodesArrive_arriveAsWell) {
    Random random(9);
    for (std::size_t i = 0; i < 4000; ++i) {
        const TreeNode parent = i < 20 ? kNoNode : tree_->findNode(numbered(random.below(i)));
        parent == kNoNode ? addNode(numbered(i).c_str())
                          : tree_->addChildNode(parent, numbered(i), numbered(i));
    }
    std::size_t next = 4000;
    for (int round = 0; round < 3; ++round) {
        tree_->collapseAllNodes();
        tree_->expandAllNodes();
        // The last ones in a burst that is not mirrored one by one.
        for (int i = 0; i < 700; ++i, ++next) {
            const TreeNode node = tree_->findNode(numbered(random.below(next)));
            if (node == kNoNode) {
                continue;
            }
            const std::wstring text = numbered(next);
            switch (i < 60 ? random.below(8) : 2) {
                // clang-format off
                case 0: case 1: tree_->addChildNode(node, text, text); break;
                case 2: case 3: tree_->addSiblingNode(node, text, text); break;
                case 4: tree_->removeNode(firstToCome()); break;
                case 5: tree_->setNodeExpanded(node, i % 2 == 0); break;
                case 6: tree_->setNodeCaption(node, text); break;
                default: runMessages(1); break;
                    // clang-format on
            }
        }
        ASSERT_TRUE(waitForTree()) << round;
    }
    EXPECT_GT(wantedTree().size(), 2000U);
}

TEST_F(BackendItemsTest, tree_receiversWhoRemoveNodesOrTheTree_areSurvived) {
    for (const MessageKind* kind :
         {&NativeTreeView::kSelectionChanged, &NativeTreeView::kNodeExpanding,
          &NativeTreeView::kRightClicked, &NativeTreeView::kCheckStateChanged}) {
        for (const bool drop : {false, true}) {
            addNode(L"a");
            addNode(L"b");
            addNode(L"b1", L"b");
            log_->take();
            bool done = false;
            log_->onMessage = [&](const MessageKind& sent) {
                if (&sent == kind) {
                    done = true;
                    if (drop) {
                        window_->removeChild(tree_.get());
                    } else {
                        tree_->clear();
                    }
                }
            };
            click(placeOf(L"b"));
            if (!done) {
                kind == &NativeTreeView::kRightClicked ? rightClick(placeOf(L"b"))
                                                       : click(partOf(L"b", TVHT_ONITEMSTATEICON));
                runMessages(50);
            }
            if (!done) {
                click(partOf(L"b", TVHT_ONITEMBUTTON));
            }
            log_->take();
            EXPECT_TRUE(done);
            EXPECT_EQ(tree_->getNodeCount(), drop ? 3U : 0U);
            log_->onMessage = nullptr;
            tree_->clear();
            if (drop) {
                window_->addChild(tree_);
            }
        }
    }
}

// --- Grids ----------------------------------------------------------------------------------

TEST_F(BackendItemsTest, grid_mouseAndKeys_sendExactlyWhatTheUserDid) {
    addRows({L"alpha", L"beta", L"bravo", L"delta"});
    click(placeOfRow(1));
    EXPECT_EQ(log_->take(), L"selectionChanged:beta leftClicked:beta");
    click(placeOfRow(2, true));
    EXPECT_EQ(log_->take(), L"checkStateChanged:bravo");
    EXPECT_TRUE(grid_->getRowChecked(2));
    pressKeys({VK_SPACE});
    EXPECT_EQ(log_->take(), L"checkStateChanged:beta");
    pressKeys({VK_SHIFT, VK_DOWN});
    EXPECT_EQ(log_->take(), L"selectionChanged:beta");
    EXPECT_EQ(grid_->getSelectedRows(), (std::vector<std::size_t>{1, 2}));
    pressKeys({VK_APPS});
    EXPECT_EQ(log_->take(), L"rightClicked:bravo");
    rightClick(placeOfRow(3));
    EXPECT_EQ(log_->take(), L"selectionChanged:delta rightClicked:delta");
    send(*grid_, WM_CHAR, 'b', 1);
    EXPECT_EQ(log_->take(), L"selectionChanged:beta");
    send(*grid_, WM_CHAR, 'r', 1);
    EXPECT_EQ(log_->take(), L"selectionChanged:bravo");
    EXPECT_EQ(shownGrid(), wantedGrid());
    const HWND header = ListView_GetHeader(nativeWindowOf(*grid_));
    sendMouse(header, WM_LBUTTONDOWN, {80, 5}, MK_LBUTTON);
    sendMouse(header, WM_MOUSEMOVE, {100, 5}, MK_LBUTTON);
    sendMouse(header, WM_LBUTTONUP, {100, 5});
    EXPECT_EQ(grid_->columns()[0].width, 100);
    grid_->synchronizeTree();
    EXPECT_EQ(send(*grid_, LVM_GETCOLUMNWIDTH, 0), 100);
}

TEST_F(BackendItemsTest, grid_randomChanges_theControlFollowsAlsoWhenMadeAnew) {
    Random random(6);
    grid_->setBitmaps(tree_->bitmaps());
    for (std::size_t number = 0; number < 900; ++number) {
        const std::wstring text = numbered(number);
        const bool on = random.below(2) == 0;
        const std::size_t row = random.below(grid_->getRowCount() + 1);
        const std::size_t what = row == grid_->getRowCount() ? 0 : random.below(12);
        switch (what) {
            // clang-format off
            case 0: case 1: grid_->addRow(text); break;
            case 2: grid_->removeRow(row); break;
            case 3: case 4: case 5: grid_->setCell(row, random.below(2), text); break;
            case 6: grid_->setRowChecked(row, on); break;
            case 7: grid_->setRowBitmap(row, on ? 1 : -1); break;
            case 8: case 9: on ? grid_->selectRow(row) : grid_->deselectRow(row); break;
            case 10: grid_->setCheckBoxes(on); break;
            default:
                if (number % 5 == 0) { grid_->setMultiSelect(on); }
                else { on ? grid_->selectAllRows() : grid_->deselectAllRows(); }
                break;
                // clang-format on
        }
        if (number % 8 == 0) {
            ASSERT_EQ(shownGrid(), wantedGrid()) << number << " " << what;
        }
    }
    EXPECT_GT(grid_->getRowCount(), 50U);
    EXPECT_EQ(log_->take(), L"");
}

TEST_F(BackendItemsTest, grid_receiversWhoRemoveRowsOrTheGrid_areSurvived) {
    addRows({L"alpha", L"beta", L"bravo"});
    log_->onMessage = [&](const MessageKind& kind) {
        if (kind == NativeGridView::kSelectionChanged) {
            grid_->clear();
        }
    };
    rightClick(placeOfRow(1));
    EXPECT_EQ(log_->take(), L"selectionChanged:beta rightClicked:none");
    for (const MessageKind* kind :
         {&NativeGridView::kSelectionChanged, &NativeGridView::kLeftClicked,
          &NativeGridView::kCheckStateChanged, &NativeGridView::kRightClicked}) {
        addRows({L"alpha", L"beta"});
        runMessages(20);
        log_->onMessage = [&](const MessageKind& sent) {
            if (&sent == kind) {
                window_->removeChild(grid_.get());
            }
        };
        kind == &NativeGridView::kRightClicked
            ? rightClick(placeOfRow(1))
            : click(placeOfRow(1, kind == &NativeGridView::kCheckStateChanged));
        log_->take();
        EXPECT_EQ(grid_->parentControl(), nullptr) << narrow(std::wstring(kind->name()));
        log_->onMessage = nullptr;
        grid_->clear();
        window_->addChild(grid_);
    }
}

TEST_F(BackendItemsTest, grid_aBurstOfRowsAndCells_putsOneMessageIntoTheQueue) {
    runMessages(20);
    for (std::size_t i = 0; i < 1000; ++i) {
        grid_->setCell(grid_->addRow(numbered(i)), 0, L"text");
    }
    int posted = 0;
    for (MSG message; PeekMessageW(&message, nativeWindowOf(*grid_), 0, 0, PM_REMOVE);) {
        posted += message.message == WM_NULL ? 1 : 0;
        DispatchMessageW(&message);
    }
    EXPECT_EQ(posted, 1);
    EXPECT_EQ(shownGrid(), wantedGrid());
}

// --- Both -----------------------------------------------------------------------------------

TEST_F(BackendItemsTest, otherScalingFactor_givesOtherImages) {
    const auto heightOf = [](LRESULT list) {
        int width = 0;
        int height = 0;
        ImageList_GetIconSize(reinterpret_cast<HIMAGELIST>(list), &width, &height);
        return height;
    };
    for (const int factor : {1, 2}) {
        WindowServiceWin32Gdi::setScalingFactor(factor);
        window_->synchronizeTree();
        EXPECT_EQ(heightOf(send(*tree_, TVM_GETIMAGELIST, TVSIL_NORMAL)), 16 * factor);
        EXPECT_EQ(heightOf(send(*tree_, TVM_GETIMAGELIST, TVSIL_STATE)), 16 * factor);
        EXPECT_EQ(heightOf(send(*grid_, LVM_GETIMAGELIST, LVSIL_STATE)), 16 * factor);
    }
}

TEST_F(BackendItemsTest, grid_manyRows_areAllThere) {
    for (std::size_t i = 0; i < kMany; ++i) {
        grid_->setCell(grid_->addRow(numbered(i)), 0, numbered(i));
    }
    EXPECT_EQ(send(*grid_, LVM_GETITEMCOUNT), LRESULT{kMany});
    for (std::size_t i = 0; i < kMany; i += 997) {
        EXPECT_EQ(shownRow(i), numbered(i) + L" -1|");
    }
    for (std::size_t i = 0; i < kMany; ++i) {
        grid_->removeRow(grid_->findRow(numbered(i * 7919 % kMany)));
    }
    EXPECT_EQ(send(*grid_, LVM_GETITEMCOUNT), 0);
}

TEST_F(BackendItemsTest, thousandRounds_leaveNoObjectsBehind) {
    grid_->setBitmaps(tree_->bitmaps());
    addNode(L"a");
    addRows({L"alpha"});
    runMessages(20);
    const auto round = [this](bool remake) {
        window_->removeChild(tree_.get());
        window_->removeChild(grid_.get());
        if (remake) {
            window_->addChild(tree_);
            window_->addChild(grid_);
            UpdateWindow(nativeWindowOf(*tree_));
            UpdateWindow(nativeWindowOf(*grid_));
        }
    };
    round(true);
    const int windows = liveWindows();
    const int drawing = drawingObjectCount();
    for (int i = 0; i < 1000; ++i) {
        round(true);
    }
    EXPECT_EQ(liveWindows(), windows);
    EXPECT_EQ(drawingObjectCount(), drawing);
    round(false);
    // The tree, the grid and its header.
    EXPECT_LE(liveWindows(), windows - 3);
    EXPECT_LT(drawingObjectCount(), drawing);
    EXPECT_GT(drawing, 0);
}

}  // namespace
}  // namespace zustd
