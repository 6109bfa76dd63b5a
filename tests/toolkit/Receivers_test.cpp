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

// A control beside another one on a page, on a surface or on nothing. It has the
// focus and is pressed; nobody else holds any of them, not even weakly, so that
// their memory is gone with them.
struct Scene {
    Scene(bool onSurface, const std::function<std::shared_ptr<Control>()>& make) {
        if (onSurface) {
            top = host->createNativeWindow();
            top->setBoundary({0, 0, 199, 199});
            top->synchronizeTree();
        }
        top->addChild(makeControl<Control>());
        page = top->children()[0].get();
        page->setBoundary({0, 0, 99, 99});
        page->setArrangement({.flow = Flow::kRows});
        page->addChild(make());
        page->addChild(host->createNativeTextBox());
        control = page->children()[0].get();
        control->setFocusable(true);
        control->setBoundary({0, 0, 49, 49});
        if (onSurface) {
            top->inputRouter()->routeMouse({MouseAction::kMove, {5, 5}});
            top->inputRouter()->routeMouse({MouseAction::kLeftDown, {5, 5}});
            control->takeFocus();
        }
    }
    static void listenTo(Control& listened, const std::shared_ptr<MessageSink>& sink) {
        listened.connect(sink, false);
        for (const auto& child : listened.children()) {
            listenTo(*child, sink);
        }
    }
    // Takes the control away, its parent or all, puts the control elsewhere, or
    // empties the parent.
    enum End { kControl, kPage, kAll, kElsewhere, kChildren, kEnds };
    void end(int what) {
        const std::shared_ptr<Control> held = top;
        Control* holder = held ? holderOf(*held, what == kPage ? page : control) : nullptr;
        if (what == kAll) {
            top.reset();
        } else if (holder != nullptr && what == kElsewhere) {
            held->addChild(sharedReference(control));
        } else if (holder != nullptr && what == kChildren) {
            holder->removeAllChildren();
        } else if (holder != nullptr) {
            holder->removeChild(what == kPage ? page : control);
        }
    }
    static Control* holderOf(Control& holder, const Control* searched) {
        Control* found = nullptr;
        for (const auto& child : holder.children()) {
            found = child.get() == searched ? &holder : found ? found : holderOf(*child, searched);
        }
        return found;
    }
    // Every child knows its holder; the input's controls are still there.
    static void expectWhole(Control& holder) {
        for (const auto& child : holder.children()) {
            EXPECT_EQ(child->parentControl(), &holder);
            expectWhole(*child);
        }
        if (InputRouter* router = holder.inputRouter()) {
            for (const auto& control : {router->pressed(), router->hovered(), router->focused()}) {
                EXPECT_TRUE(!control || holder.isAncestorOf(*control));
            }
            EXPECT_EQ(recordingOf<RecordingWindowService>(*holder.windowService()).captured,
                      router->pressed() != nullptr);
        }
    }

    std::shared_ptr<WindowService> host = makeRecordingWindowService();
    std::shared_ptr<Control> top = makeControl<Control>();
    Control* page = nullptr;
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
    // Runs an operation as often as it sends messages, and ends the control at
    // another one of them each time. It must send some.
    template <class T, class Make>
    void survives(Make make, std::initializer_list<void (*)(T&)> operations) {
        int number = 0;
        for (const auto operation : operations) {
            int sent = 0;
            for (int round = 0; round < 2 * Scene::kEnds; ++round) {
                SCOPED_TRACE(testing::Message() << number << " " << round);
                for (int at = 0, count = 1; at < count; ++at) {
                    count = sentIn(round, make, operation, at);
                    sent += count;
                }
            }
            EXPECT_GT(sent, 0) << number++;
        }
    }

private:
    template <class T>
    static int sentIn(int round, const std::function<std::shared_ptr<Control>()>& make,
                      void (*operation)(T&), int at) {
        int count = 0;
        Scene scene(round % 2 == 0, make);
        const auto ends = std::make_shared<FunctionSink>([&](auto&&...) {
            if (count++ == at) {
                scene.end(round / 2);
            }
        });
        Scene::listenTo(*scene.top, ends);
        operation(dynamic_cast<T&>(*scene.control));
        if (round / 2 == Scene::kAll && count > at) {
            EXPECT_EQ(ends.use_count(), 1) << at;
        }
        if (scene.top) {
            Scene::expectWhole(*scene.top);
        }
        scene.top.reset();
        return count;
    }
};

Control& other(Control& control) { return *control.requireParent().children()[1]; }

// What the user does on the surface; 0 and 55 are the control and its neighbour.
template <MouseAction kAction, std::int32_t kX = 40>
void mouse(Control& c) {
    if (Control* top = c.surface()) {
        top->inputRouter()->routeMouse({kAction, {kX, 40}, 120});
    }
}
template <std::uint32_t kKey>
void key(Control& c) {
    if (Control* top = c.surface()) {
        top->inputRouter()->routeKey({kKey, 0});
    }
}

// clang-format off
TEST_F(ReceiverTest, control_endedByAReceiver_survivesEveryOperationAndEvent) {
    using C = Control;
    const auto make = [] {
        auto control = makeControl<Telling>();
        const auto colors = std::make_shared<ColorsDescriptor>();
        control->setColors(colors);
        control->setCursor(MouseCursor::kHand);
        control->setDraggable(true);
        control->addChild(makeRecordingWindowService()->createNativeButton());
        control->addChild(makeControl<Control>());
        return control;
    };
    survives<C>(make, {
        [](C& c) { c.addChild(c.requireParent().children()[1]); },
        [](C& c) { c.insertChild(0, c.children()[1]); },
        [](C& c) { c.insertChild(0, makeControl<MarkupView>(L"text")); },
        [](C& c) { other(c).addChild(c.children()[0]); },
        [](C& c) { c.surface() ? c.surface()->addChild(sharedReference(&c)) : c.refresh(); },
        [](C& c) { c.removeChild(c.children()[0].get()); }, [](C& c) { c.removeAllChildren(); },
        [](C& c) { c.requireParent().removeAllChildren(); },
        [](C& c) { c.setBoundary({1, 2, 30, 40}); }, [](C& c) { c.setPlacement({.maximum = {1, 1}}); },
        [](C& c) { c.arrange(); }, [](C& c) { c.place({0, 0, 9, 9}); },
        [](C& c) { c.requireParent().arrange(); }, [](C& c) { c.showChildren(); },
        [](C& c) { c.setVisible(false); }, [](C& c) { c.setColors(nullptr); },
        [](C& c) { ColorsRef(c.colors())->setColor(ColorRole::kText, Color::rgb(0, 0, 0)); },
        [](C& c) { c.refresh(); }, [](C& c) { c.synchronizeTree(); }, [](C& c) { c.releaseTree(); },
        [](C& c) { c.notify(Control::kChangePreferredHeight); },
        [](C& c) { c.surface() ? c.surface()->drawAsRoot(*c.graphicsService()) : c.refresh(); },
        [](C& c) { c.acceptHover(!c.isHovered()); }});
    survives<C>(make, {
        mouse<MouseAction::kMove, 55>, mouse<MouseAction::kLeave>, mouse<MouseAction::kLeftUp>,
        mouse<MouseAction::kWheel>, key<kKeyTab>, key<kKeyDown>, key<'X'>,
        [](C& c) { other(c).takeFocus(); },
        [](C& c) { if (auto* top = c.surface()) {
            // The system has taken the mouse away.
            top->windowService()->releaseMouse();
            top->inputRouter()->cancelPress();
        } },
        [](C& c) { if (auto* top = c.surface()) { top->inputRouter()->acceptFocus(nullptr); } }});
}

TEST_F(ReceiverTest, drawnWidgets_endedByAReceiver_surviveEveryOperation) {
    using Fork = ForkControl;
    using Markup = MarkupView;
    using Scroll = ScrollView;
    survives<Label>([] { return makeControl<Label>(L"old"); },
        {[](Label& c) { c.setText(L"new"); }, [](Label& c) { c.setWordWrap(true); }});
    survives<Link>([] { return makeControl<Link>(L"link"); }, {[](Link& c) { c.click(); }});
    survives<Button>([] {
        auto button = makeControl<Button>(L"Go");
        button->setToggles(true);
        return button;
    }, {[](Button& c) { c.click(); }});
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
    survives<Markup>([] {
        return makeControl<MarkupView>(L"<a leftclickmessage=\"selected.Control\">link</a>");
    }, {[](Markup& c) { c.setMarkup(L"<b>other"); }, [](Markup& c) { c.setWordWrap(true); },
        [](Markup& c) { c.surface() ? c.parseMarkup() : c.refresh(); },
        [](Markup& c) { sharedReference(&c.font())->setFaceName(L"Courier"); },
        [](Markup& c) { if (!c.children().empty()) { c.children()[0]->onKey({kKeyEnter, 0}); } }});
    survives<Scroll>([] {
        auto view = makeControl<Scrollable<MarkupView>>();
        view->content().setMarkup(L"a<br/>b<br/>c<br/>" + std::wstring(20, L'd'));
        view->content().setPlacement({.minimum = {200, 200}});
        view->content().setBoundary({0, 0, 199, 199});
        return view;
    }, {[](Scroll& c) { c.setContent(c.requireParent().children()[1]); },
        [](Scroll& c) { c.setContent(nullptr); }, [](Scroll& c) { c.scrollTo({9, 9}); },
        [](Scroll& c) { c.onMouse({MouseAction::kWheel, {}, -120}); },
        [](Scroll& c) { c.contentControl()->notify(Control::kEnterLeftClicking); },
        [](Scroll& c) { c.contentControl()->notify(Control::kChangePreferredHeight); },
        [](Scroll& c) { if (c.scrollBar(true)) { c.scrollBar(true)->acceptPosition(5); } }});
}

TEST_F(ReceiverTest, nativeWidgets_endedByAReceiver_surviveEveryOperation) {
    using Combo = NativeComboBox;
    using Dialog = NativeDialog;
    using Push = NativeButton;
    using Text = NativeTextBox;
    survives<Push>([] {
        auto button = makeRecordingWindowService()->createNativeButton();
        button->setKind(ButtonKind::kRadio);
        return button;
    }, {[](Push& c) { c.setChecked(true); }, [](Push& c) { c.click(); },
        [](Push& c) { c.setKind(ButtonKind::kPush); }});
    survives<Combo>([] {
        auto box = makeRecordingWindowService()->createNativeComboBox();
        box->addItem(L"one");
        box->setEditable(true);
        box->setText(L"free");
        return box;
    }, {[](Combo& c) { c.setEditable(false); }, [](Combo& c) { c.setText(L"one"); },
        [](Combo& c) { c.acceptSelection(0); }, [](Combo& c) { c.acceptText(L"other"); }});
    survives<Text>([] {
        auto box = makeRecordingWindowService()->createNativeTextBox();
        box->setText(L"long text");
        return box;
    }, {[](Text& c) { c.setText(L"one"); }, [](Text& c) { c.setMaximumLength(3); },
        [](Text& c) { c.acceptText(L"other"); }});
    survives<NativeScrollBar>([] { return makeRecordingWindowService()->createNativeScrollBar(true); },
        {[](NativeScrollBar& c) { c.setRange(7, 9); }, [](NativeScrollBar& c) { c.setPosition(5); }});
    survives<NativePopupMenu>([] { return makeRecordingWindowService()->createNativePopupMenu(); },
        {[](NativePopupMenu& c) { c.addItem(7, L"seven"); }, [](NativePopupMenu& c) { c.show({}); }});
    survives<Dialog>([] {
        auto dialog = makeRecordingWindowService()->createNativeDialog();
        dialog->addChild(dialog->windowService()->createNativeButton());
        return dialog;
    }, {[](Dialog& c) { c.setDefaultButton(makeControl<NativeButton>()); },
        [](Dialog& c) { c.show(false); }, [](Dialog& c) { c.acceptSize({70, 70}); },
        [](Dialog& c) { c.acceptClose(); }, [](Dialog& c) { c.hide(0); },
        [](Dialog& c) { c.onKey({kKeyEscape, 0}); },
        [](Dialog& c) { c.notify(Control::kEnterFocus); }});
}

TEST_F(ReceiverTest, itemViews_endedByAReceiver_surviveEveryOperation) {
    using Grid = NativeGridView;
    using Tree = NativeTreeView;
    survives<Grid>([] {
        auto grid = makeRecordingWindowService()->createNativeGridView();
        grid->addRow(L"a");
        grid->addRow(L"b");
        grid->selectAllRows();
        return grid;
    }, {[](Grid& c) { c.setColumns({{L"Name", 80}}); }, [](Grid& c) { c.setMultiSelect(false); },
        [](Grid& c) { const ControlUpdate update(c); c.addRow(L"c"); },
        [](Grid& c) { c.acceptSelected(0, 1, false); c.acceptSelectionDone(); },
        [](Grid& c) { c.acceptChecked(0, true); }, [](Grid& c) { c.acceptLeftClick(0); },
        [](Grid& c) { c.acceptTooltipRequest(0); }});
    survives<Tree>([] {
        auto tree = makeRecordingWindowService()->createNativeTreeView();
        tree->addRootNode(L"a", L"");
        return tree;
    }, {[](Tree& c) { c.setEnableRedraw(false); c.addRootNode(L"b", L""); c.setEnableRedraw(true); },
        [](Tree& c) { const ControlUpdate update(c); c.clear(); },
        [](Tree& c) { c.acceptSelection(c.getFirstRootNode()); },
        [](Tree& c) { c.acceptChecked(c.getFirstRootNode(), true); },
        [](Tree& c) { c.acceptExpanding(c.getFirstRootNode(), true); }});
}
// clang-format on

}  // namespace
}  // namespace zustd
