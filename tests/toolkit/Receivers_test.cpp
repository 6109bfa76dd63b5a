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
    enum End { kControl, kPage, kAll, kElsewhere, kChildren };
    static constexpr int kEnds = 5;
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
    template <class T>
    void survives(const std::function<std::shared_ptr<T>()>& make,
                  std::initializer_list<void (*)(std::type_identity_t<T>&)> operations) {
        int number = 0;
        for (const auto operation : operations) {
            int sent = 0;
            for (int round = 0; round < 2 * Scene::kEnds; ++round) {
                SCOPED_TRACE(testing::Message() << number << " " << round);
                for (int at = 0; at < sentIn(round, make, operation, at, sent); ++at) {
                }
            }
            EXPECT_GT(sent, 0) << number;
            ++number;
        }
    }

private:
    template <class T>
    static int sentIn(int round, const std::function<std::shared_ptr<T>()>& make,
                      void (*operation)(T&), int at, int& sent) {
        int count = 0;
        Scene scene(round % 2 == 0, make);
        const auto ends = std::make_shared<FunctionSink>([&](auto&&...) {
            if (count++ == at) {
                scene.end(round / 2);
            }
        });
        Scene::listenTo(*scene.top, ends);
        operation(dynamic_cast<T&>(*scene.control));
        sent += count;
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

template <class T>
std::shared_ptr<T> made(std::shared_ptr<T> (WindowService::*make)(),
                        const std::function<void(T&)>& prepare) {
    const std::shared_ptr<T> widget = (*makeRecordingWindowService().*make)();
    prepare(*widget);
    return widget;
}

// clang-format off
TEST_F(ReceiverTest, control_endedByAReceiver_survivesEveryOperation) {
    const auto make = [] {
        auto control = makeControl<Telling>();
        const auto colors = std::make_shared<ColorsDescriptor>();
        colors->setColor(ColorRole::kText, Color::rgb(255, 0, 0));
        control->setColors(colors);
        control->setCursor(MouseCursor::kHand);
        control->setDraggable(true);
        control->addChild(makeRecordingWindowService()->createNativeButton());
        control->addChild(makeControl<Control>());
        return control;
    };
    survives<Control>(
        make, {[](auto& c) { c.addChild(c.requireParent().children()[1]); },
         [](auto& c) { c.insertChild(0, c.children()[1]); },
         [](auto& c) { c.insertChild(0, makeControl<MarkupView>(L"text")); },
         [](auto& c) { other(c).addChild(c.children()[0]); },
         [](auto& c) { c.surface() ? c.surface()->addChild(sharedReference(&c)) : c.refresh(); },
         [](auto& c) { c.removeChild(c.children()[0].get()); },
         [](auto& c) { c.removeAllChildren(); },
         [](auto& c) { c.requireParent().removeAllChildren(); },
         [](auto& c) { c.setBoundary({1, 2, 30, 40}); },
         [](auto& c) { c.setPlacement({.maximum = {1, 1}}); },
         [](auto& c) { c.arrange(); }, [](auto& c) { c.place({0, 0, 9, 9}); },
         [](auto& c) { c.requireParent().arrange(); }, [](auto& c) { c.showChildren(); },
         [](auto& c) { c.setVisible(false); }, [](auto& c) { c.setColors(nullptr); },
         [](auto& c) { ColorsRef(c.colors())->setColor(ColorRole::kText, Color::rgb(0, 0, 0)); },
         [](auto& c) { c.refresh(); }, [](auto& c) { c.synchronizeTree(); },
         [](auto& c) { c.releaseTree(); },
         [](auto& c) { c.notify(Control::kChangePreferredHeight); },
         [](auto& c) { c.surface() ? c.surface()->drawAsRoot(*c.graphicsService()) : c.refresh(); },
         [](auto& c) { c.acceptHover(!c.isHovered()); }});
}

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

TEST_F(ReceiverTest, surface_endedByAReceiver_survivesEveryEvent) {
    survives<Control>(
        [] {
            auto control = makeControl<Telling>();
            control->setDraggable(true);
            return control;
        },
        {mouse<MouseAction::kMove, 55>, mouse<MouseAction::kLeave>, mouse<MouseAction::kLeftUp>,
         mouse<MouseAction::kWheel>, key<kKeyTab>, key<kKeyDown>, key<'X'>,
         [](auto& c) { other(c).takeFocus(); },
         [](auto& c) { if (auto* top = c.surface()) {
                 // The system has taken the mouse away.
                 top->windowService()->releaseMouse();
                 top->inputRouter()->cancelPress();
             } },
         [](auto& c) { if (auto* top = c.surface()) { top->inputRouter()->acceptFocus(nullptr); } }});
}

TEST_F(ReceiverTest, drawnWidgets_endedByAReceiver_surviveEveryOperation) {
    survives<Label>([] { return makeControl<Label>(L"old"); },
                    {[](auto& c) { c.setText(L"new"); }, [](auto& c) { c.setWordWrap(true); }});
    survives<Link>([] { return makeControl<Link>(L"link"); }, {[](Link& c) { c.click(); }});
    const auto toggle = [] {
        auto button = makeControl<Button>(L"Go");
        button->setToggles(true);
        return button;
    };
    survives<Button>(toggle, {[](Button& c) { c.click(); }});
    const auto fork = [] {
        auto control = makeControl<ForkControl>(L"More");
        control->body().addChild(makeRecordingWindowService()->createNativeButton());
        control->body().addChild(makeControl<MarkupView>(L"text"));
        control->body().children()[0]->setFocusable(true);
        control->setFont(std::make_shared<FontDescriptor>());
        control->setOpen(true);
        return control;
    };
    survives<ForkControl>(
        fork, {[](auto& c) { c.setOpen(false); }, [](auto& c) { c.notify(Control::kLeftClicked); },
         [](auto& c) { c.body().notify(Control::kChangePreferredHeight); },
         [](auto& c) { FontRef(c.fontDescriptor())->setSize(30); }});
}

TEST_F(ReceiverTest, views_endedByAReceiver_surviveEveryOperation) {
    const auto markup = [] {
        return makeControl<MarkupView>(L"<a leftclickmessage=\"selected.Control\">link</a>");
    };
    survives<MarkupView>(markup, {[](auto& c) { c.setMarkup(L"<b>other"); },
         [](auto& c) { c.surface() ? c.parseMarkup() : c.refresh(); },
         [](auto& c) { c.setWordWrap(true); },
         [](auto& c) { sharedReference(&c.font())->setFaceName(L"Courier"); },
         [](auto& c) { if (!c.children().empty()) { c.children()[0]->onKey({kKeyEnter, 0}); } }});
    const auto scrolled = [] {
        auto view = makeControl<Scrollable<MarkupView>>();
        view->content().setMarkup(L"a<br/>b<br/>c<br/>" + std::wstring(20, L'd'));
        view->content().setPlacement({.minimum = {200, 200}});
        view->content().setBoundary({0, 0, 199, 199});
        return view;
    };
    survives<ScrollView>(
        scrolled, {[](auto& c) { c.setContent(c.requireParent().children()[1]); },
         [](auto& c) { c.setContent(nullptr); }, [](auto& c) { c.scrollTo({9, 9}); },
         [](auto& c) { c.onMouse({MouseAction::kWheel, {}, -120}); },
         [](auto& c) { c.contentControl()->notify(Control::kEnterLeftClicking); },
         [](auto& c) { c.contentControl()->notify(Control::kChangePreferredHeight); },
         [](auto& c) { if (c.scrollBar(true)) { c.scrollBar(true)->acceptPosition(5); } }});
}

TEST_F(ReceiverTest, nativeWidgets_endedByAReceiver_surviveEveryOperation) {
    for (const ButtonKind kind : {ButtonKind::kCheck, ButtonKind::kRadio}) {
        survives<NativeButton>([kind] {
            return made<NativeButton>(&WindowService::createNativeButton,
                                      [kind](auto& c) { c.setKind(kind); });
        }, {[](auto& c) { c.setChecked(true); }, [](NativeButton& c) { c.click(); },
            [](auto& c) { c.setKind(c.kind() == ButtonKind::kRadio ? ButtonKind::kPush
                                                                    : ButtonKind::kRadio); }});
    }
    survives<NativeComboBox>([] {
        return made<NativeComboBox>(&WindowService::createNativeComboBox, [](auto& c) {
            c.addItem(L"one");
            c.setEditable(true);
            c.setText(L"free");
        });
    }, {[](auto& c) { c.setEditable(false); }, [](auto& c) { c.setText(L"one"); },
        [](auto& c) { c.acceptSelection(0); }, [](auto& c) { c.acceptText(L"other"); }});
    survives<NativeTextBox>([] {
        return made<NativeTextBox>(&WindowService::createNativeTextBox,
                                   [](auto& c) { c.setText(L"long text"); });
    }, {[](auto& c) { c.setText(L"one"); }, [](auto& c) { c.setMaximumLength(3); },
        [](auto& c) { c.acceptText(L"other"); }});
    survives<NativeScrollBar>(
        [] { return makeRecordingWindowService()->createNativeScrollBar(true); },
        {[](auto& c) { c.setRange(7, 9); }, [](auto& c) { c.setPosition(5); }});
    survives<NativePopupMenu>([] { return makeRecordingWindowService()->createNativePopupMenu(); },
        {[](auto& c) { c.addItem(7, L"seven"); }, [](auto& c) { c.show({}); }});
}

TEST_F(ReceiverTest, itemViews_endedByAReceiver_surviveEveryOperation) {
    survives<NativeGridView>([] {
        return made<NativeGridView>(&WindowService::createNativeGridView, [](auto& c) {
            c.addRow(L"a");
            c.addRow(L"b");
            c.selectAllRows();
        });
    }, {[](auto& c) { c.setColumns({{L"Name", 80}}); }, [](auto& c) { c.setMultiSelect(false); },
        [](auto& c) {
            const ControlUpdate update(c);
            c.addRow(L"c");
        },
        [](auto& c) { c.acceptChecked(0, true); }, [](auto& c) {
            c.acceptSelected(0, 1, false);
            c.acceptSelectionDone();
        },
        [](auto& c) { c.acceptLeftClick(0); }, [](auto& c) { c.acceptTooltipRequest(0); }});
    survives<NativeTreeView>([] {
        return made<NativeTreeView>(&WindowService::createNativeTreeView,
                                    [](auto& c) { c.addRootNode(L"a", L""); });
    }, {[](auto& c) {
            c.setEnableRedraw(false);
            c.addRootNode(L"b", L"");
            c.setEnableRedraw(true);
        },
        [](auto& c) {
            const ControlUpdate update(c);
            c.clear();
        },
        [](auto& c) { c.acceptSelection(c.getFirstRootNode()); },
        [](auto& c) { c.acceptChecked(c.getFirstRootNode(), true); },
        [](auto& c) { c.acceptExpanding(c.getFirstRootNode(), true); }});
}

TEST_F(ReceiverTest, surfaces_endedByAReceiver_surviveEveryOperation) {
    survives<NativeDialog>([] {
        return made<NativeDialog>(&WindowService::createNativeDialog, [](auto& c) {
            c.addChild(c.windowService()->createNativeButton());
        });
    }, {[](auto& c) { c.setDefaultButton(makeControl<NativeButton>()); },
        [](auto& c) { c.show(false); }, [](auto& c) { c.acceptSize({70, 70}); },
        [](auto& c) { c.acceptClose(); }, [](auto& c) { c.hide(0); },
        [](auto& c) { c.onKey({kKeyEscape, 0}); },
        [](auto& c) { c.notify(Control::kEnterFocus); }});
}
// clang-format on

}  // namespace
}  // namespace zustd
