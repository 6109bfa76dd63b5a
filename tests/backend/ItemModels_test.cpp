// Trees and grids against plain lists: both halves always say what the lists say.
#include <optional>

#include "support/ItemsTest.h"

extern "C" {
extern void* __imp_QueryPerformanceCounter IMPORT_SLOT("QueryPerformanceCounter", "@4");
extern void* __imp_SetTimer IMPORT_SLOT("SetTimer", "@16");
extern void* __imp_KillTimer IMPORT_SLOT("KillTimer", "@8");
extern void* __imp_SendMessageW IMPORT_SLOT("SendMessageW", "@16");
}

namespace zustd::test {
namespace {

// Each look at the clock takes a millisecond, so that a slice has 15 steps.
LONGLONG ticks;
BOOL WINAPI look(LARGE_INTEGER* time) {
    time->QuadPart = ticks += 10'000;
    return TRUE;
}

UINT_PTR awaited;
bool hasTimers;
UINT_PTR WINAPI startTimer(HWND, UINT_PTR number, UINT, TIMERPROC) {
    return awaited = hasTimers ? number : 0;
}
BOOL WINAPI stopTimer(HWND, UINT_PTR) {
    awaited = 0;
    return TRUE;
}

// The next item is refused.
bool refusesNext;
// Since redrawing was switched off; while there is nothing to tell the window.
bool isQuiet;
bool isIdle;
// What the system reserves is 0, items go unseen and not with the selection, and are
// scrolled to when they can be seen; what was not redrawn is up to the program.
LRESULT WINAPI sendStrictly(HWND window, UINT id, WPARAM wide, LPARAM extra) {
    constexpr UINT kPlain[]{WM_NULL,        TVM_INSERTITEMW,   TVM_SETITEMW,
                            TVM_DELETEITEM, TVM_ENSUREVISIBLE, TVM_SETTEXTCOLOR,
                            TVM_SETBKCOLOR, LVM_SETTEXTBKCOLOR};
    constexpr UINT kUnseen[]{TVM_DELETEITEM, TVM_INSERTITEMW, LVM_SETITEMCOUNT, LVM_DELETEITEM,
                             LVM_SETITEMSTATE};
    constexpr UINT kIdle[]{WM_NULL, LVM_GETBKCOLOR, LVM_SETTEXTBKCOLOR, LVM_SETCALLBACKMASK};
    const bool isScrolling = id == TVM_ENSUREVISIBLE || id == TVM_SELECTITEM;
    EXPECT_TRUE(wide == 0 || std::ranges::count(kPlain, id) == 0) << id;
    EXPECT_TRUE(id == WM_NULL || id > WM_SETFOCUS) << id;
    EXPECT_TRUE(id != LVM_SETCOLUMNWIDTH || HIWORD(extra) == 0);
    EXPECT_FALSE(isQuiet && isScrolling && extra != 0) << id;
    EXPECT_FALSE(isIdle && std::ranges::count(kIdle, id) == 0) << id;
    for (HTREEITEM item = id == TVM_DELETEITEM ? TreeView_GetSelection(window) : nullptr;
         item != nullptr; item = TreeView_GetParent(window, item)) {
        EXPECT_FALSE(item == reinterpret_cast<HTREEITEM>(extra) ||
                     reinterpret_cast<HTREEITEM>(extra) == TVI_ROOT);
    }
    DWORD_PTR result = 0;
    if (id != TVM_INSERTITEMW || !std::exchange(refusesNext, false)) {
        SendMessageTimeoutW(window, id, wide, extra, SMTO_NORMAL, INFINITE, &result);
    }
    EXPECT_TRUE(isQuiet || std::ranges::count(kUnseen, id) == 0) << id;
    isQuiet = id == WM_SETREDRAW ? wide == FALSE : id != CCM_SETUNICODEFORMAT && isQuiet;
    if (id == WM_SETREDRAW && !isQuiet) {
        ValidateRect(window, nullptr);
    }
    return static_cast<LRESULT>(result);
}

struct PlainNode {
    TreeNode node;
    std::size_t depth;
    std::wstring key;
    std::wstring caption;
    std::int32_t bitmap = -1;
    bool expanded = false;
    bool checked = false;
    bool emphasized = false;
};

class ItemModelsTest : public BackendItemsTest {
protected:
    ItemModelsTest() {
        awaited = 0;
        tree_->setBoundary({0, 0, 199, 139});
    }

    template <class Notice>
    LRESULT notify(const Control& control, UINT code, Notice notice) const {
        notice.hdr = {nativeWindowOf(control), 0, code};
        return SendMessageW(native(), WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&notice));
    }
    UINT checkOf(bool checked) const { return !boxes_ ? 0 : checked ? 2 : 1; }
    TreeNode at(std::size_t i) const { return i < nodes_.size() ? nodes_[i].node : kNoNode; }
    std::size_t indexOf(TreeNode node) const {
        const auto found = std::ranges::find(nodes_, node, &PlainNode::node);
        return static_cast<std::size_t>(found - nodes_.begin());
    }
    // The nearest nodes before and behind one that are so deep at the most.
    std::size_t before(std::size_t i, std::size_t depth) const {
        while (--i < nodes_.size() && nodes_[i].depth > depth) {
        }
        return i;
    }
    std::size_t endOf(std::size_t i) const {
        const std::size_t depth = nodes_[i].depth;
        while (++i < nodes_.size() && nodes_[i].depth > depth) {
        }
        return i;
    }
    std::size_t above(std::size_t i) const { return before(i, nodes_[i].depth - 1); }
    void insert(std::size_t i, std::size_t depth, TreeNode node) {
        nodes_.insert(nodes_.begin() + static_cast<std::ptrdiff_t>(i),
                      {node, depth, freeKey(), numbered(number_)});
    }
    void erase(std::size_t i, std::size_t end) {
        for (; end > i; --end) {
            selected_ = at(i) == selected_ ? kNoNode : selected_;
            nodes_.erase(nodes_.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
    // What is above a selection and collapsed takes it over.
    void expand(std::size_t i, std::size_t end, bool expanded) {
        for (; i < end; ++i) {
            nodes_[i].expanded = expanded;
        }
        for (i = indexOf(selected_); i < nodes_.size(); i = above(i)) {
            selected_ = nodes_[i].expanded ? selected_ : at(i);
        }
    }
    void show(std::size_t i) {
        while ((i = above(i)) < nodes_.size()) {
            nodes_[i].expanded = true;
        }
    }

    std::wstring freeKey() const { return number_ % 5 == 0 ? L"" : numbered(number_); }
    void change() {
        const std::wstring text = numbered(++number_);
        const std::wstring key = freeKey();
        const std::size_t count = nodes_.size();
        if (count == 0) {
            return insert(0, 1, tree_->addRootNode(key, text));
        }
        // Often what is above the selection.
        const std::size_t over = selected_ != kNoNode ? above(indexOf(selected_)) : count;
        const std::size_t i = over < count && random_.below(4) == 0 ? over : random_.below(count);
        const bool on = random_.below(2) == 0;
        PlainNode& said = nodes_[i];
        const TreeNode node = said.node;
        switch (random_.below(18)) {
            // clang-format off
            case 0: insert(count, 1, tree_->addRootNode(key, text)); break;
            case 1: burst(i); break;
            case 2: case 3: case 4: insert(endOf(i), said.depth + 1, tree_->addChildNode(node, key, text)); break;
            case 5: case 6: insert(endOf(i), said.depth, tree_->addSiblingNode(node, key, text)); break;
            // What is still to be expanded goes, too.
            case 7: on ? tree_->expandAllNodes(node) : void(); tree_->removeNode(node); erase(i, endOf(i)); break;
            case 8: tree_->setNodeCaption(node, said.caption = L"caption " + key); break;
            case 9: tree_->setNodeBitmap(node, said.bitmap = on ? 1 : -1); break;
            case 10: tree_->setNodeChecked(node, said.checked = on); break;
            case 11: tree_->setNodeEmphasized(node, said.emphasized = on); break;
            case 12: case 13: tree_->setNodeExpanded(node, on); expand(i, i + 1, on); break;
            // The second time there is nothing to tell.
            case 14: unfold(node, on); isIdle = true; unfold(node, on); isIdle = false; expand(i, endOf(i), on); break;
            case 15: tree_->selectNode(selected_ = node); show(i); break;
            case 16: tree_->ensureNodeVisible(node); show(i); break;
            default:
                if (number_ % 4 != 0) { tree_->clearNodeSelection(); selected_ = kNoNode; }
                else if (number_ % 32 == 0) { tree_->clear(); erase(0, count); }
                else { on ? tree_->expandAllNodes() : tree_->collapseAllNodes(); expand(0, count, on); }
                break;
                // clang-format on
        }
    }
    void unfold(TreeNode n, bool on) { on ? tree_->expandAllNodes(n) : tree_->collapseAllNodes(n); }
    // Now and then more at once than are shown one by one.
    void burst(std::size_t i) {
        for (std::size_t more = number_ % 8 == 0 ? 100 : 1; more > 0; --more, ++number_) {
            insert(endOf(i), nodes_[i].depth,
                   tree_->addSiblingNode(at(i), freeKey(), numbered(number_)));
        }
    }
    void release() {
        tree_->releaseTree();
        awaited = 0;
    }
    // What keeps changes from being shown one by one.
    void disturb() {
        switch (random_.below(9)) {
            // clang-format off
            case 0: case 1: case 2: update_ ? update_.reset() : void(update_.emplace(*tree_)); break;
            case 3: case 4: case 5:
                tree_->setEnableRedraw(isDrawn_ = !isDrawn_);
                if (!isDrawn_ && awaited != 0) {
                    change();
                    send(*tree_, WM_TIMER, awaited);
                    EXPECT_EQ(awaited, 0U);
                }
                break;
            case 6: tree_->setCheckBoxes(boxes_ = !boxes_); break;
            case 7: release(); break;
            default: refusesNext = true; change(); refusesNext = false; window_->synchronizeTree(); break;
                // clang-format on
        }
    }
    // The window asks out of turn: for what is refused, nothing that is there, what is so.
    void askAgain() {
        const HTREEITEM item = TreeView_GetSelection(nativeWindowOf(*tree_));
        const auto word = reinterpret_cast<WPARAM>(item);
        const bool isOpen = send(*tree_, TVM_GETITEMSTATE, word, TVIS_EXPANDED) != 0;
        const std::size_t how = random_.below(3);
        NMTREEVIEWW asked{};
        asked.action = isOpen != (how == 0) ? TVE_EXPAND : TVE_COLLAPSE;
        asked.itemNew.hItem = how == 1 ? nullptr : item;
        asked.itemNew.lParam = static_cast<LPARAM>(TreeModel::placeOf(selected_));
        onMessage_ = [&] { how == 0 ? tree_->refuseExpanding() : void(); };
        EXPECT_EQ(notify(*tree_, TVN_ITEMEXPANDINGW, asked), TRUE);
        onMessage_ = [] {};
        told_.clear();
        PlainNode& said = nodes_[indexOf(selected_)];
        said.expanded = how == 2 ? isOpen : said.expanded;
    }
    // The user, with the selected node; a receiver may refuse, change, or clear and end all.
    void act() {
        // One with children, if one is soon found.
        for (int tries = 3; tries > 0 && (selected_ == kNoNode ||
                                          endOf(indexOf(selected_)) == indexOf(selected_) + 1);
             --tries) {
            const std::size_t i = random_.below(nodes_.size());
            tree_->selectNode(selected_ = at(i));
            show(i);
        }
        settle();
        number_ % 4 == 0 && selected_ != kNoNode ? askAgain() : void();
        const TreeNode node = selected_;
        const std::size_t what = random_.below(2) == 0 ? 2 : random_.below(6);
        const Rect caption = tree_->getNodeBoundary(node);
        const UINT parts[]{TVHT_ONITEMSTATEICON, TVHT_ONITEMBUTTON, 0, 0, 0, 0};
        const Point place = partAt<TVHITTESTINFO>(*tree_, TVM_HITTEST, parts[what], caption.top);
        if (node == kNoNode || (what < 2 && (caption.isEmpty() || place.x < 0))) {
            return;
        }
        std::wstring wanted;
        const HWND window = nativeWindowOf(*tree_);
        SetFocus(nullptr);
        std::size_t i = indexOf(node);
        const bool opens = !nodes_[i].expanded;
        const std::size_t next = opens ? endOf(i) : i + 1;
        const bool isAsked = (what == 1 || what == 2) && endOf(i) > i + 1;

        if ((what == 0 || what == 5) && boxes_) {
            nodes_[i].checked = !nodes_[i].checked;
            wanted = named(L" checkStateChanged:", node);
        } else if (isAsked) {
            wanted = named(opens ? L" nodeExpanding:" : L" nodeCollapsing:", node);
        } else if (what == 3 && next < nodes_.size()) {
            selected_ = at(next);
            wanted = named(L" selectionChanged:", selected_);
        } else if (what == 4) {
            wanted = named(L" rightClicked:", node);
        }
        std::size_t reaction = random_.below(16);
        const bool refuses = reaction < 3;
        onMessage_ = [&] {
            const std::size_t once = std::exchange(reaction, 16);
            once < 3 ? tree_->refuseExpanding() : once < 6 ? change() : void();
            if (once == 6) {
                tree_->clear();
                erase(0, nodes_.size());
                window_->removeChild(tree_.get());
            }
        };
        const int keys[]{0, 0, opens ? VK_ADD : VK_SUBTRACT, VK_DOWN, 0, VK_SPACE};
        if (what < 2) {
            sendMouse(window, random_.below(2) == 0 ? WM_LBUTTONDOWN : WM_LBUTTONDBLCLK, place);
        } else if (what == 4 && opens && !caption.isEmpty()) {
            clickAt(*tree_, {caption.left + 4, caption.top + 4}, true);
        } else if (what == 4) {
            send(*tree_, WM_CONTEXTMENU, 0, -1);
        } else {
            send(*tree_, WM_KEYDOWN, static_cast<WPARAM>(keys[what]), 1);
        }
        EXPECT_TRUE(what != 0 || !IsWindow(window) || GetFocus() == window);
        onMessage_ = [] {};
        if (nativeWindowOf(*tree_) == nullptr) {
            EXPECT_FALSE(IsWindow(window));
            awaited = 0;
            window_->addChild(tree_);
        }
        i = indexOf(node);
        if (isAsked && !refuses && i < nodes_.size()) {
            const TreeNode former = selected_;
            // Without children that does not count any more.
            expand(i, i + 1, endOf(i) == i + 1 ? tree_->getNodeExpanded(node) : opens);
            wanted += selected_ == former ? L"" : named(L" selectionChanged:", selected_);
        }
        EXPECT_EQ(std::exchange(told_, {}), wanted) << what;
    }
    // Also with nodes above that the window has not got yet, or with a window to come.
    void reveal() {
        const TreeNode node = at(random_.below(nodes_.size()));
        const std::size_t how = random_.below(4);
        if (random_.below(2) == 0) {
            tree_->expandAllNodes();
            expand(0, nodes_.size(), true);
        }
        how == 0 ? release() : how == 1 ? tree_->setEnableRedraw(false) : void();
        for (const TreeNode shown : {at(random_.below(nodes_.size())), node}) {
            tree_->ensureNodeVisible(shown), show(indexOf(shown));
        }
        how == 1 ? tree_->setEnableRedraw(true) : void();
        window_->synchronizeTree();
        settle();
        EXPECT_FALSE(tree_->getNodeBoundary(node).isEmpty());
    }
    // One slice a message, until there are no more; what would come next may go meanwhile.
    void settle(bool loses = false) {
        send(*tree_, WM_NULL);
        for (int slices = 0; awaited != 0 && slices < 200; ++slices) {
            const auto waits = [&](auto& it) { return tree_->model().nativeWord(it.node) == 0; };
            const auto i = std::size_t(std::ranges::find_if(nodes_, waits) - nodes_.begin());
            i < nodes_.size() && loses ? (tree_->removeNode(at(i)), erase(i, endOf(i))) : void();
            const LRESULT before = send(*tree_, TVM_GETCOUNT);
            send(*tree_, WM_TIMER, awaited);
            EXPECT_LE(send(*tree_, TVM_GETCOUNT) - before, 15);
        }
        EXPECT_EQ(awaited, 0U);
    }
    void compare() {
        settle(true);
        Texts lines;
        for (std::size_t i = 0; i < nodes_.size(); i = nodes_[i].expanded ? i + 1 : endOf(i)) {
            const PlainNode& said = nodes_[i];
            lines.push_back(lineOf(said.depth, said.caption, said.bitmap, checkOf(said.checked),
                                   flagsOf(said.emphasized, endOf(i) > i + 1, said.expanded),
                                   at(i) == selected_));
        }
        EXPECT_EQ(shownTree(), lines);
        isIdle = true;
        number_ % 8 == 0 ? tree_->backend()->synchronizeWithAbstraction() : void();
        isIdle = false;
        if (const HTREEITEM item = TreeView_GetSelection(nativeWindowOf(*tree_))) {
            RECT area{};
            std::memcpy(&area, &item, sizeof(item));
            ask(*tree_, TVM_GETITEMRECT, area, TRUE);
            RECT client{};
            GetClientRect(nativeWindowOf(*tree_), &client);
            IntersectRect(&area, &area, &client);
            const Rect seen{area.left, area.top, area.right - 1, area.bottom - 1};
            EXPECT_TRUE(tree_->getNodeBoundary(selected_) == (IsRectEmpty(&area) ? Rect() : seen));
        }
        EXPECT_EQ(std::tuple(tree_->getNodeCount(), tree_->getSelectedNode(),
                             tree_->getFirstRootNode(), tree_->getLastRootNode()),
                  std::tuple(nodes_.size(), selected_, at(0), at(before(nodes_.size(), 1))));
        for (std::size_t i = 0; i < nodes_.size(); ++i) {
            compareNode(nodes_[i], at(i), i);
        }
    }
    void compareNode(const PlainNode& said, TreeNode node, std::size_t i) {
        const std::size_t end = endOf(i);
        const std::size_t previous = before(i, said.depth);
        const bool isFirst = previous == above(i);
        const bool isLast = end == nodes_.size() || nodes_[end].depth < said.depth;
        const TreeNode next = isLast ? kNoNode : at(end);
        const TreeNode firstChild = end == i + 1 ? kNoNode : at(i + 1);
        EXPECT_EQ((std::vector{tree_->getNextNode(node), tree_->getPreviousNode(node),
                               tree_->getParentNode(node), tree_->getPreviousSiblingNode(node),
                               tree_->getNextSiblingNode(node), tree_->getFirstChildNode(node),
                               tree_->getLastChildNode(node), tree_->findNode(said.key)}),
                  (std::vector{at(i + 1), at(i - 1), at(above(i)), isFirst ? kNoNode : at(previous),
                               next, firstChild,
                               firstChild != kNoNode ? at(before(end, said.depth + 1)) : kNoNode,
                               said.key.empty() ? kNoNode : node}));
        EXPECT_EQ(tree_->getLastSiblingNode(node), isLast ? node : tree_->getLastSiblingNode(next));
        EXPECT_EQ(tree_->getNodeKey(node) + tree_->getNodeCaption(node), said.key + said.caption);
        EXPECT_EQ(std::tuple(tree_->getNodeExpanded(node), tree_->getNodeBitmap(node),
                             tree_->getNodeChecked(node), tree_->getNodeEmphasized(node)),
                  std::tuple(said.expanded, said.bitmap, said.checked, said.emphasized));
    }

    Random random_{1};
    std::size_t number_ = 0;
    bool boxes_ = true;
    std::optional<ControlUpdate> update_;
    const ReplacedImport clock_{__imp_QueryPerformanceCounter, reinterpret_cast<void*>(&look)};
    const ReplacedImport timer_{__imp_SetTimer, reinterpret_cast<void*>(&startTimer)};
    const ReplacedImport noTimer_{__imp_KillTimer, reinterpret_cast<void*>(&stopTimer)};
    const ReplacedImport sending_{__imp_SendMessageW, reinterpret_cast<void*>(&sendStrictly)};
    // In the order of the screen, roots with a depth of 1.
    std::vector<PlainNode> nodes_;
    TreeNode selected_ = kNoNode;
    bool isDrawn_ = true;
};

TEST_F(ItemModelsTest, tree_randomChangesAndKeys_isAndShowsWhatAPlainListSays) {
    constexpr std::size_t kBetweenLooks[] = {1, 4, 100};
    const TraceCapture trace;
    for (std::uint64_t seed = 1; seed <= 100 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        random_ = Random(seed);
        // Without them the rest comes at once.
        hasTimers = seed % 2 != 0;
        const std::size_t betweenLooks = random_.pick(kBetweenLooks);
        for (std::size_t changes = 10 + random_.below(seed % 8 == 0 ? 400 : 100); changes > 0;
             --changes) {
            change();
            random_.below(20) == 0 ? disturb() : void();
            if (isDrawn_ && !update_ && nativeWindowOf(*tree_) != nullptr &&
                random_.below(betweenLooks) == 0) {
                const std::size_t what = nodes_.empty() ? 0 : random_.below(4);
                what == 1 ? reveal() : what > 1 ? act() : void();
                compare();
            }
        }
        update_.reset();
        tree_->setEnableRedraw(isDrawn_ = true);
        window_->synchronizeTree();
        compare();
        runMessages(0);
        tree_->clear();
        erase(0, nodes_.size());
    }
    for (const std::string& line : trace.messages()) {
        EXPECT_NE(line.find("refuses sendData(TVM_INSERTITEMW"), std::string::npos) << line;
    }
    EXPECT_EQ(told_, L"");
}

struct PlainRow {
    std::wstring key;
    std::wstring cells[2];
    std::int32_t bitmap = -1;
    bool checked = false;
    bool selected = false;
};

class GridModelsTest : public ItemModelsTest {
protected:
    // The row there is, or one before or behind all.
    std::size_t anyRow() { return random_.below(rows_.size() + 2) - 1; }
    void search() {
        const std::size_t start = anyRow();
        const std::size_t first = start < rows_.size() ? start : 0;
        const auto flags = static_cast<UINT>(random_.below(64));
        std::wstring part = rows_[random_.below(rows_.size())].cells[0];
        part.resize(std::min(part.size(), random_.below(10)));
        LRESULT wanted = -1;
        for (std::size_t i = rows_.size(); i-- > 0;) {
            const std::size_t row = (first + i) % rows_.size();
            const std::wstring& text = rows_[row].cells[0];
            const bool isIt = (flags & LVFI_PARTIAL) != 0
                                  ? text.starts_with(part)
                                  : (flags & LVFI_STRING) != 0 && text == part;
            wanted = isIt && (row >= first || (flags & LVFI_WRAP) != 0) ? LRESULT(row) : wanted;
        }
        part.empty() ? L' ' : part[0] = L'I';
        const NMLVFINDITEMW asked{{}, int(start), {flags, part.c_str(), 0, {}, 0}};
        EXPECT_EQ(notify(*grid_, LVN_ODFINDITEMW, asked), wanted) << flags;
    }
    void askForTooltip() {
        const std::size_t row = anyRow();
        const std::size_t room = random_.below(6);
        const std::wstring tip = number_ % 4 == 0 ? L"" : L"tip";
        wchar_t text[] = L"#####";
        onMessage_ = [&] { tip.empty() ? void() : grid_->setRowTooltip(tip); };
        const NMLVGETINFOTIPW asked{{}, 0, text, int(room), int(row), 0, 0};
        EXPECT_EQ(notify(*grid_, LVN_GETINFOTIPW, asked), 0);
        onMessage_ = [] {};
        const bool isTold = row < rows_.size() && room > 0;
        EXPECT_EQ(text, isTold && !tip.empty() ? tip.substr(0, room - 1) : L"#####");
        EXPECT_EQ(std::exchange(told_, {}),
                  isTold ? L" beforeDisplayRowTooltip:" + std::to_wstring(row) : L"");
    }

    std::vector<PlainRow> rows_;
};

TEST_F(GridModelsTest, grid_randomChanges_isAndShowsWhatAPlainListSays) {
    std::vector<PlainRow>& rows = rows_;
    Texts seen;
    const auto select = [&rows](std::size_t row, std::size_t end, bool on) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            rows[i].selected = i >= row && i < end ? on : rows[i].selected;
        }
    };
    for (std::size_t number = 0; number < 2000 && !HasFailure(); ++number) {
        SCOPED_TRACE(number);
        const std::size_t row = rows.empty() ? 0 : random_.below(rows.size());
        const std::size_t column = random_.below(2);
        const bool on = random_.below(2) == 0;
        const bool multiple = grid_->isMultiSelect();
        std::size_t count = 3;
        switch (rows.empty() ? 0 : random_.below(15)) {
            // clang-format off
            case 0: case 1: case 2:
                // Now and then so many that they fill a block of rows.
                isIdle = update_.has_value();
                for (count = number % 40 == 0 ? 700 : count; count > 0; --count) {
                    rows.push_back({numbered(++number_), {}});
                    ASSERT_EQ(grid_->addRow(rows.back().key), rows.size() - 1);
                }
                isIdle = false;
                break;
            case 3:
                for (count = number % 10 == 0 ? rows.size() : count; count > 0 && rows.size() > row; --count) {
                    grid_->removeRow(row);
                    ASSERT_EQ(grid_->findRow(rows[row].key), kNullSize);
                    rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(row));
                }
                break;
            case 4: case 5: case 6: grid_->setCell(row, column, rows[row].cells[column] = numbered(number)); break;
            case 7: grid_->setRowBitmap(row, rows[row].bitmap = on ? 0 : -1); EXPECT_EQ(thrownText([&] { grid_->addRow(rows[row].key); }), L"!key.empty() && !rowsByKey_.contains(key)"); break;
            case 8:
                if (on || row > 8 || !boxes_ || update_) { grid_->setRowChecked(row, rows[row].checked = on); break; }
                rows[row].checked = !rows[row].checked;
                sendMouse(nativeWindowOf(*grid_), WM_LBUTTONDOWN, boxOf(row));
                ASSERT_EQ(std::exchange(told_, {}), L" checkStateChanged:" + std::to_wstring(row));
                break;
            case 9:
                if (grid_->setMultiSelect(on); !on && !grid_->getSelectedRows().empty()) {
                    select(grid_->getSelectedRows().front() + 1, kNullSize, false);
                }
                break;
            case 10:
                grid_->selectAllRows(); select(0, multiple ? kNullSize : 0, true);
                if (on) { grid_->releaseTree(); window_->synchronizeTree(); }
                break;
            case 11: grid_->deselectAllRows(); select(0, kNullSize, false); break;
            case 12:
                if (number % 10 == 0) { grid_->clear(); rows.clear(); }
                else if (on) { grid_->setCheckBoxes(boxes_ = !boxes_); }
                else { update_ ? update_.reset() : void(update_.emplace(*grid_)); }
                break;
            default:
                on ? grid_->selectRow(row) : grid_->deselectRow(row);
                select(0, on && !multiple ? kNullSize : 0, false);
                select(row, row + 1, on);
                break;
                // clang-format on
        }
        std::vector<std::size_t> selected;
        Texts lines;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const PlainRow& said = rows[i];
            said.selected ? selected.push_back(i) : void();
            if (i % 7 == row % 7) {
                ASSERT_EQ(std::tuple(grid_->getRowKey(i), grid_->findRow(said.key),
                                     grid_->getCell(i, column), grid_->getRowBitmap(i)),
                          std::tuple(said.key, i, said.cells[column], said.bitmap));
                ASSERT_EQ(grid_->getRowChecked(i), said.checked);
            }
            lines.push_back(
                lineOf(0, said.cells[0], said.bitmap, checkOf(said.checked), L"", said.selected) +
                L'|' + said.cells[1]);
        }
        ASSERT_EQ(grid_->getSelectedRows(), selected);
        if (!rows.empty() && number % 4 == 0) {
            search();
            askForTooltip();
        }
        if ((number % 32 == 0 || rows.size() < 30) && !update_) {
            ASSERT_EQ(shownGrid(), lines);
            ASSERT_EQ(send(*grid_, LVM_GETCALLBACKMASK) != 0, boxes_);
            lines.resize(std::min(lines.size(), std::size_t{9}));
            ASSERT_TRUE(lines == seen || GetUpdateRect(nativeWindowOf(*grid_), nullptr, FALSE));
            ValidateRect(nativeWindowOf(*grid_), nullptr);
            seen = lines;
        }
    }
    EXPECT_EQ(told_, L"");
}

}  // namespace
}  // namespace zustd::test
