// Receivers that end whoever is sending to them.
#include "ZuButton.h"
#include "ZuForkControl.h"
#include "ZuMarkupView.h"
#include "ZuScope.h"
#include "ZuScrollable.h"
#include "support/ToolkitTest.h"

namespace zustd::test {
namespace {

using Make = std::function<std::shared_ptr<Control>()>;

class Telling : public Control {
public:
    Size preferredSize() override { return {50, ++height}; }
    std::int32_t height = 50;

protected:
    void drawSelf(GraphicsService&) override { notify(kUnselected); }
    void onInputStateChanged() override { notify(kUnselected); }
    void arrangeChildren() override {
        notify(kChangePreferredHeight);
        Control::arrangeChildren();
    }
};

// A control beside another one on a page of a window. It has the focus and is pressed; nobody else
// holds any of them, not even weakly, so that their memory is gone with them.
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
            const std::shared_ptr<Control> last = holder->children().back();
            last.get() != control ? last->addChild(sharedReference(control)) : void();
        } else if (holder != nullptr) {
            holder->removeChild(control);
        }
    }
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

// Runs each operation as often as it sends messages, and ends the control at another
// one of them each time, also at those of its end. It must send some. The second time the
// window is gone, and what would be painted anew tells by message.
template <class T>
void survives(const Make& make, std::initializer_list<void (*)(T&)> operations) {
    const ScopedValue<std::function<void(Control&)>> telling(
        whileNativeChanges, [](Control& control) { control.notify(Control::kUnselected); });
    for (const auto& operation : operations) {
        for (int what = 0; what < 2 * Scene::kEnds; ++what) {
            SCOPED_TRACE(testing::Message() << &operation - operations.begin() << " " << what);
            int count = 1;
            int sent = 0;
            for (int at = 0; at < count; ++at) {
                count = 0;
                Scene scene(make);
                if (what >= Scene::kEnds) {
                    scene.top->unregisterService(scene.top->windowService());
                }
                const auto ends = std::make_shared<FunctionSink>(
                    [&](auto&&...) { count++ == at ? scene.end(what % Scene::kEnds) : void(); });
                Scene::listenTo(*scene.top, ends);
                thrownText([&] { operation(dynamic_cast<T&>(*scene.control)); });
                sent = count;
                scene.top ? scene.holderOf(*scene.top) : nullptr;
                scene.top.reset();
                EXPECT_EQ(ends.use_count(), 1) << at;
            }
            EXPECT_TRUE(sent > 0 || what >= Scene::kEnds);
        }
    }
}

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
TEST(ReceiverTest, control_endedByAReceiver_survivesEveryOperationAndEvent) {
    using C = Control;
    survives<C>([] {
        auto control = makeControl<Telling>();
        control->setColors(std::make_shared<ColorsDescriptor>());
        control->setCursor(MouseCursor::kHand);
        control->setDraggable(true);
        control->addChild(makeRecordingWindowService()->createNativeButton());
        return control->addChild(makeControl<Control>()), control;
    }, {[](C& c) { ColorsRef(c.colors())->setColor(ColorRole::kText, Color::rgb(0, 0, 0)); },
        [](C& c) { c.insertChild(0, makeControl<MarkupView>(L"text")); }, key<kKeyDown>,
        [](C& c) { c.surface()->inputRouter()->acceptFocus(&other(c)); }, mouse<MouseAction::kLeave>,
        [](C& c) { c.surface()->drawAsRoot(*c.graphicsService()); }, mouse<MouseAction::kLeftUp>,
        [](C& c) { c.addChild(c.requireParent().children()[1]); }, [](C& c) { c.releaseTree(); },
        [](C& c) { c.surface()->addChild(sharedReference(&c)); }, [](C& c) { c.showChildren(); },
        [](C& c) { c.notify(Control::kChangePreferredHeight); }, mouse<MouseAction::kMove, 55>,
        [](C& c) { c.surface()->inputRouter()->cancelPress(); }, mouse<MouseAction::kWheel>,
        [](C& c) { c.requireParent().removeAllChildren(); }, [](C& c) { c.removeAllChildren(); },
        [](C& c) { c.removeChild(c.children()[0].get()); }, [](C& c) { c.place({0, 0, 9, 9}); },
        [](C& c) { other(c).addChild(c.children()[0]); }, [](C& c) { c.setColors(nullptr); },
        [](C& c) { c.setBoundary({1, 2, 30, 40}); }, [](C& c) { c.acceptHover(!c.isHovered()); },
        [](C& c) { c.requireParent().arrange(); }, [](C& c) { other(c).takeFocus(); }, key<'X'>,
        [](C& c) { c.setVisible(false); }, [](C& c) { c.synchronizeTree(); }, key<kKeyTab>,
        [](C& c) { c.arrange(); }, [](C& c) { c.showAnew(); }});
}

TEST(ReceiverTest, widgets_endedByAReceiver_surviveEveryOperation) {
    const auto host = makeRecordingWindowService();
    survives<Button>([&] {
        auto button = makeControl<Button>(L"Go");
        return button->setToggles(true), button;
    }, {[](auto& c) { c.click(); }});
    survives<NativeButton>([&] {
        auto button = host->createNativeButton();
        return button->setKind(ButtonKind::kCheck), button;
    }, {[](auto& c) { c.setChecked(true); }, [](auto& c) { c.click(); },
        [](auto& c) { c.setKind(ButtonKind::kRadio); }});
    survives<ForkControl>([&] {
        auto control = makeControl<ForkControl>(L"More");
        control->body().addChild(host->createNativeButton());
        control->body().addChild(makeControl<MarkupView>(L"text"));
        control->setFont(std::make_shared<FontDescriptor>());
        return control->setOpen(true), control;
    }, {[](auto& c) { c.setOpen(false); }, [](auto& c) { c.notify(Control::kLeftClicked); },
        [](auto& c) { c.body().notify(Control::kChangePreferredHeight); },
        [](auto& c) { FontRef(c.fontDescriptor())->setSize(30); }});
    survives<ScrollView>([&] {
        auto view = makeControl<Scrollable<MarkupView>>();
        view->content().setMarkup(L"a<br/>b<br/>c<br/>" + std::wstring(20, L'd'));
        view->content().setPlacement({.minimum = {200, 200}});
        return view->content().setBoundary({0, 0, 199, 199}), view;
    }, {[](auto& c) { c.setContent(c.requireParent().children()[1]); },
        [](auto& c) { c.setContent(nullptr); }, [](auto& c) { c.scrollTo({9, 9}); },
        [](auto& c) { c.contentControl()->notify(Control::kEnterLeftClicking); },
        [](auto& c) { c.contentControl()->notify(Control::kChangePreferredHeight); },
        [](auto& c) { c.scrollBar(true)->acceptPosition(5); }});
    survives<NativeComboBox>([&] {
        auto box = host->createNativeComboBox();
        box->addItem(L"one");
        box->setEditable(true);
        return box->setText(L"free"), box;
    }, {[](auto& c) { c.setEditable(false); }, [](auto& c) { c.setText(L"one"); },
        [](auto& c) { c.acceptSelection(0); }, [](auto& c) { c.acceptText(L"other"); }});
    survives<NativeTextBox>([&] { return host->createNativeTextBox(); },
        {[](auto& c) { c.setText(L"one"); }, [](auto& c) { c.refresh(); }});
    survives<NativeGridView>([&] {
        auto grid = host->createNativeGridView();
        return grid->addRow(L"key"), grid;
    }, {[](auto& c) { c.acceptTooltipRequest(0); }});
    survives<NativeTreeView>([&] { return host->createNativeTreeView(); },
        {[](auto& c) { c.acceptExpanding(kNoNode, true); }});
    survives<MarkupView>([] { return makeControl<MarkupView>(L"a<a>link</a>"); },
        {[](auto& c) { c.setMarkup(L"b<br/>c"); }, [](auto& c) { c.setWordWrap(true); }});
    survives<NativeScrollBar>([&] { return host->createNativeScrollBar(true); },
        {[](auto& c) { c.setRange(7, 9); }});
    survives<NativeDialog>([&] { return host->createNativeDialog(); },
       {[](auto& c) { c.setDefaultButton(makeControl<NativeButton>()); },
        [](auto& c) { c.show(false); },
        [](auto& c) { c.acceptClose(); }, [](auto& c) { c.hide(0); }});
}
// clang-format on

}  // namespace
}  // namespace zustd::test
