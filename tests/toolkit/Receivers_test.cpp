// Receivers that end whoever is sending to them.
#include "ZuButton.h"
#include "ZuForkControl.h"
#include "ZuLabel.h"
#include "ZuLink.h"
#include "ZuMarkupView.h"
#include "ZuScrollable.h"
#include "support/ToolkitTest.h"

namespace zustd {
namespace {

using namespace test;
using Make = std::function<std::shared_ptr<Control>()>;

// Tells something from inside of its hooks.
class Telling : public Control {
protected:
    void drawSelf(GraphicsService&) override { notify(kUnselected); }
    void onInputStateChanged() override { notify(kUnselected); }
    void arrangeChildren() override {
        notify(kUnselected);
        Control::arrangeChildren();
    }
};

// A control beside another one on a page of a window. It has the focus and is
// pressed; nobody else holds any of them, not even weakly, so that their memory
// is gone with them.
struct Scene {
    explicit Scene(const Make& make) {
        top->setBoundary({0, 0, 199, 199});
        top->synchronizeTree();
        top->addChild(makeControl<Control>());
        Control& page = *top->children()[0];
        page.setBoundary({0, 0, 99, 99});
        page.setArrangement({.flow = Flow::kRows});
        page.addChild(make());
        page.addChild(host->createNativeTextBox());
        control = page.children()[0].get();
        control->setFocusable(true);
        control->setBoundary({0, 0, 49, 49});
        top->inputRouter()->routeMouse({MouseAction::kMove, {5, 5}});
        top->inputRouter()->routeMouse({MouseAction::kLeftDown, {5, 5}});
        control->takeFocus();
    }
    static void listenTo(Control& listened, const std::shared_ptr<MessageSink>& sink) {
        listened.connect(sink, false);
        for (const auto& child : listened.children()) {
            listenTo(*child, sink);
        }
    }
    enum End { kRemoved, kElsewhere, kAllGone, kEnds };
    void end(int what) {
        const std::shared_ptr<Control> held = top;
        Control* holder = held ? holderOf(*held) : nullptr;
        if (what == kAllGone) {
            top.reset();
        } else if (holder != nullptr && what == kElsewhere) {
            held->addChild(sharedReference(control));
        } else if (holder != nullptr) {
            holder->removeChild(control);
        }
    }
    // Every child knows its holder.
    Control* holderOf(Control& holder) const {
        Control* found = nullptr;
        for (const auto& child : holder.children()) {
            EXPECT_EQ(child->parentControl(), &holder);
            found = child.get() == control ? &holder : found ? found : holderOf(*child);
        }
        return found;
    }

    std::shared_ptr<WindowService> host = makeRecordingWindowService();
    std::shared_ptr<Control> top = host->createNativeWindow();
    Control* control = nullptr;
};

class ReceiverTest : public ::testing::Test {
protected:
    ReceiverTest() {
        whileNativeChanges = [](Control& control) { control.notify(Control::kUnselected); };
    }
    ~ReceiverTest() override {
        whileNativeChanges = [](Control&) {};
    }
    // Runs each operation as often as it sends messages, and ends the control at
    // another one of them each time. It must send some.
    template <class T>
    void survives(const Make& make, std::initializer_list<void (*)(T&)> operations) {
        for (const auto& operation : operations) {
            for (int what = 0; what < Scene::kEnds; ++what) {
                SCOPED_TRACE(testing::Message() << &operation - operations.begin() << " " << what);
                int count = 1;
                for (int at = 0; at < count; ++at) {
                    count = sentIn(what, make, operation, at);
                }
                EXPECT_GT(count, 0);
            }
        }
    }

private:
    template <class T>
    static int sentIn(int what, const Make& make, void (*operation)(T&), int at) {
        int count = 0;
        Scene scene(make);
        const auto ends = std::make_shared<FunctionSink>([&](auto&&...) {
            if (count++ == at) {
                scene.end(what);
            }
        });
        Scene::listenTo(*scene.top, ends);
        operation(dynamic_cast<T&>(*scene.control));
        if (scene.top) {
            scene.holderOf(*scene.top);
            const InputRouter& router = *scene.top->inputRouter();
            for (const auto& control : {router.pressed(), router.hovered(), router.focused()}) {
                EXPECT_TRUE(!control || scene.top->isAncestorOf(*control));
            }
        }
        scene.top.reset();
        EXPECT_EQ(ends.use_count(), 1) << at;
        return count;
    }
};

Control& other(Control& control) { return *control.requireParent().children()[1]; }

// What the user does on the surface; 55 is the neighbour.
template <MouseAction kAction, std::int32_t kX = 40>
void mouse(Control& c) {
    c.surface()->inputRouter()->routeMouse({kAction, {kX, 40}, 120});
}
template <std::uint32_t kKey>
void key(Control& c) {
    c.surface()->inputRouter()->routeKey({kKey, 0});
}

// clang-format off
TEST_F(ReceiverTest, control_endedByAReceiver_survivesEveryOperationAndEvent) {
    using C = Control;
    survives<C>([] {
        auto control = makeControl<Telling>();
        control->setColors(std::make_shared<ColorsDescriptor>());
        control->setCursor(MouseCursor::kHand);
        control->setDraggable(true);
        control->addChild(makeRecordingWindowService()->createNativeButton());
        control->addChild(makeControl<Control>());
        return control;
    }, {[](C& c) { c.addChild(c.requireParent().children()[1]); },
        [](C& c) { c.insertChild(0, c.children()[1]); },
        [](C& c) { c.insertChild(0, makeControl<MarkupView>(L"text")); },
        [](C& c) { other(c).addChild(c.children()[0]); },
        [](C& c) { c.surface()->addChild(sharedReference(&c)); },
        [](C& c) { c.removeChild(c.children()[0].get()); }, [](C& c) { c.removeAllChildren(); },
        [](C& c) { c.requireParent().removeAllChildren(); },
        [](C& c) { c.setBoundary({1, 2, 30, 40}); }, [](C& c) { c.setPlacement({.maximum = {1, 1}}); },
        [](C& c) { c.arrange(); }, [](C& c) { c.place({0, 0, 9, 9}); },
        [](C& c) { c.requireParent().arrange(); }, [](C& c) { c.showChildren(); },
        [](C& c) { c.setVisible(false); }, [](C& c) { c.setColors(nullptr); },
        [](C& c) { ColorsRef(c.colors())->setColor(ColorRole::kText, Color::rgb(0, 0, 0)); },
        [](C& c) { c.refresh(); }, [](C& c) { c.synchronizeTree(); }, [](C& c) { c.releaseTree(); },
        [](C& c) { c.notify(Control::kChangePreferredHeight); },
        [](C& c) { c.surface()->drawAsRoot(*c.graphicsService()); },
        [](C& c) { c.acceptHover(!c.isHovered()); }, [](C& c) { other(c).takeFocus(); },
        mouse<MouseAction::kMove, 55>, mouse<MouseAction::kLeave>, mouse<MouseAction::kLeftUp>,
        mouse<MouseAction::kWheel>, key<kKeyTab>, key<kKeyDown>, key<'X'>,
        [](C& c) { c.surface()->inputRouter()->cancelPress(); },
        [](C& c) { c.surface()->inputRouter()->acceptFocus(nullptr); }});
}

TEST_F(ReceiverTest, widgets_endedByAReceiver_surviveEveryOperation) {
    using Combo = NativeComboBox;
    using Dialog = NativeDialog;
    using Fork = ForkControl;
    using Grid = NativeGridView;
    using Scroll = ScrollView;
    using Tree = NativeTreeView;
    survives<Label>([] { return makeControl<Label>(L"old"); },
        {[](Label& c) { c.setText(L"new"); }, [](Label& c) { c.setWordWrap(true); }});
    survives<Link>([] { return makeControl<Link>(L"link"); }, {[](Link& c) { c.click(); }});
    survives<Button>([] {
        auto button = makeControl<Button>(L"Go");
        button->setToggles(true);
        return button;
    }, {[](Button& c) { c.click(); }});
    survives<NativeButton>([] {
        auto button = makeRecordingWindowService()->createNativeButton();
        button->setKind(ButtonKind::kCheck);
        return button;
    }, {[](NativeButton& c) { c.setChecked(true); }, [](NativeButton& c) { c.click(); },
        [](NativeButton& c) { c.setKind(ButtonKind::kRadio); }});
    survives<Fork>([] {
        auto control = makeControl<ForkControl>(L"More");
        control->body().addChild(makeRecordingWindowService()->createNativeButton());
        control->body().addChild(makeControl<MarkupView>(L"text"));
        control->setFont(std::make_shared<FontDescriptor>());
        control->setOpen(true);
        return control;
    }, {[](Fork& c) { c.setOpen(false); }, [](Fork& c) { c.notify(Control::kLeftClicked); },
        [](Fork& c) { c.body().notify(Control::kChangePreferredHeight); },
        [](Fork& c) { FontRef(c.fontDescriptor())->setSize(30); }});
    survives<Scroll>([] {
        auto view = makeControl<Scrollable<MarkupView>>();
        view->content().setMarkup(L"a<br/>b<br/>c<br/>" + std::wstring(20, L'd'));
        view->content().setPlacement({.minimum = {200, 200}});
        view->content().setBoundary({0, 0, 199, 199});
        return view;
    }, {[](Scroll& c) { c.setContent(c.requireParent().children()[1]); },
        [](Scroll& c) { c.setContent(nullptr); }, [](Scroll& c) { c.scrollTo({9, 9}); },
        [](Scroll& c) { c.contentControl()->notify(Control::kEnterLeftClicking); },
        [](Scroll& c) { c.contentControl()->notify(Control::kChangePreferredHeight); },
        [](Scroll& c) { c.scrollBar(true)->acceptPosition(5); }});
    survives<Combo>([] {
        auto box = makeRecordingWindowService()->createNativeComboBox();
        box->addItem(L"one");
        box->setEditable(true);
        box->setText(L"free");
        return box;
    }, {[](Combo& c) { c.setEditable(false); }, [](Combo& c) { c.setText(L"one"); },
        [](Combo& c) { c.acceptSelection(0); }, [](Combo& c) { c.acceptText(L"other"); }});
    survives<NativeTextBox>([] { return makeRecordingWindowService()->createNativeTextBox(); },
        {[](NativeTextBox& c) { c.setText(L"one"); }, [](NativeTextBox& c) { c.acceptText(L"two"); }});
    survives<NativeScrollBar>([] { return makeRecordingWindowService()->createNativeScrollBar(true); },
        {[](NativeScrollBar& c) { c.setRange(7, 9); }});
    survives<NativePopupMenu>([] { return makeRecordingWindowService()->createNativePopupMenu(); },
        {[](NativePopupMenu& c) { c.show({}); }});
    survives<Dialog>([] {
        auto dialog = makeRecordingWindowService()->createNativeDialog();
        dialog->addChild(dialog->windowService()->createNativeButton());
        return dialog;
    }, {[](Dialog& c) { c.setDefaultButton(makeControl<NativeButton>()); },
        [](Dialog& c) { c.show(false); }, [](Dialog& c) { c.acceptSize({70, 70}); },
        [](Dialog& c) { c.acceptClose(); }, [](Dialog& c) { c.hide(0); },
        [](Dialog& c) { c.notify(Control::kEnterFocus); }});
    survives<Grid>([] {
        auto grid = makeRecordingWindowService()->createNativeGridView();
        grid->addRow(L"a");
        grid->selectAllRows();
        return grid;
    }, {[](Grid& c) { const ControlUpdate update(c); c.addRow(L"c"); },
        [](Grid& c) { c.setColumns({{L"Name", 80}}); }, [](Grid& c) { c.setMultiSelect(false); }, [](Grid& c) { c.acceptChecked(0, true); },
        [](Grid& c) { c.acceptLeftClick(0); }, [](Grid& c) { c.acceptTooltipRequest(0); },
        [](Grid& c) { c.acceptSelected(0, 0, false); c.acceptSelectionDone(); }});
    survives<Tree>([] {
        auto tree = makeRecordingWindowService()->createNativeTreeView();
        tree->addRootNode(L"a", L"");
        return tree;
    }, {[](Tree& c) { const ControlUpdate update(c); c.clear(); },
        [](Tree& c) { c.acceptSelection(c.getFirstRootNode()); },
        [](Tree& c) { c.acceptChecked(c.getFirstRootNode(), true); },
        [](Tree& c) { c.acceptExpanding(c.getFirstRootNode(), true); }});
}
// clang-format on

}  // namespace
}  // namespace zustd
