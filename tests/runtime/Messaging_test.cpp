#include "ZuMessaging.h"

#include <set>

#include "support/FrameworkTest.h"

namespace zustd::test {
namespace {

struct Round {
    static const MessageKind kPing;
};
ZU_MESSAGE_KIND(Round::kPing, MessageWords::kNumbers);
const MessageKind& kPing = Round::kPing;

// Forwarders that do things to each other whenever one hears a message or ends, as the seed says.
// A sink's place is behind its source's, so that messages come to an end.
template <class Node>
struct Play {
    static constexpr std::size_t kNodes = 6;
    Random random;
    Lines log{};
    int budget = 80;
    int born = 0;
    std::shared_ptr<Node> nodes[kNodes]{};

    Lines run() {
        while (budget > 0) {
            act();
        }
        std::fill(std::begin(nodes), std::end(nodes), nullptr);
        return log;
    }
    bool handles(const std::string& name) {
        log.push_back(name);
        for (std::size_t i = random.below(4); i > 0; --i) {
            act();
        }
        return random.below(2) == 0;
    }
    void ended(const std::string& name) {
        log.push_back("end of " + name);
        act();
    }
    void act() {
        if (--budget < 0) {
            return;
        }
        const std::size_t place = random.below(kNodes - 1);
        std::shared_ptr<Node>& source = nodeAt(place);
        std::shared_ptr<Node>& sink = nodeAt(place + 1 + random.below(kNodes - 1 - place));
        const bool weak = random.below(2) == 0;
        const std::size_t choice = random.below(11);
        if (choice < 3) {
            source->connect(sink, weak);
        } else if (choice < 6) {
            source->disconnect(sink.get());
            // That may have ended the source.
            choice < 5 ? nodeAt(place)->connect(sink, weak) : void();
        } else if (choice == 6) {
            source->disconnectAll();
        } else if (choice < 9) {
            (choice == 7 ? sink : source).reset();
        } else {
            log.push_back(source->send() ? "sent" : "refused");
        }
    }
    std::shared_ptr<Node>& nodeAt(std::size_t place) {
        return nodes[place] ? nodes[place] : nodes[place] = std::make_shared<Node>(*this);
    }
};

// By the last digit of its name a node cannot tell what it wants, is restricted without right, is
// restricted and a plain sink, fails instead of handing on, defers, or sends nothing.
bool is(const std::string& name, const char* digits) {
    return std::string_view(digits).find(name.back()) != std::string_view::npos;
}

struct RealNode : MessageForwarder {
    Play<RealNode>& play;
    std::string name = std::to_string(++play.born);

    explicit RealNode(Play<RealNode>& wantedPlay) : play(wantedPlay) {
        setRestricted(is(name, "34"));
        setDeliveryDeferred(is(name, "7"));
        setSendingEnabled(!is(name, "8"));
    }
    ~RealNode() override { play.ended(isForwarding() ? "handler" : name); }
    bool send() { return sendMessage(kPing, MessageWord(1), MessageWord(2)); }
    bool acceptsMessage(const MessageKind&) const override {
        return !is(name, "5") ? true : throw std::runtime_error("filter");
    }
    bool meetsRestriction(const MessageKind& kind, MessageWord a, MessageWord b) const override {
        return is(name, "4") ? a.number() == 1 && b.number() == 2
                             : MessageForwarder::meetsRestriction(kind, a, b);
    }
    void receiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
        is(name, "4") ? MessageSink::receiveMessage(kind, a, b)
                      : MessageForwarder::receiveMessage(kind, a, b);
    }
    bool maySend(const MessageKind& kind, MessageWord a, MessageWord b) const override {
        return !is(name, "9") && MessageForwarder::maySend(kind, a, b);
    }
    void deferDelivery(const MessageKind& kind, MessageWord a, MessageWord b,
                       const std::shared_ptr<MessageSink>& sink) override {
        EXPECT_TRUE(kind == kPing && a.number() == 1 && b.number() == 2);
        play.log.push_back("later " + dynamic_cast<RealNode&>(*sink).name);
    }
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
        const bool handled = play.handles(name);
        EXPECT_TRUE(kind == kPing && a.number() < b.number() && isForwarding() != is(name, "4"));
        return handled || is(name, "13579") ? handled : throw std::runtime_error("handler");
    }
};

// One list of numbered links; a round looks for the next higher number.
struct ModelNode : std::enable_shared_from_this<ModelNode> {
    struct Link {
        int number;
        std::shared_ptr<ModelNode> strong;
        std::weak_ptr<ModelNode> sink;
    };
    Play<ModelNode>& play;
    std::string name = std::to_string(++play.born);
    int lastNumber = 0;
    std::vector<Link> links{};

    explicit ModelNode(Play<ModelNode>& wantedPlay) : play(wantedPlay) {}
    ~ModelNode() { play.ended(name); }
    auto linkTo(const ModelNode* sink) {
        return std::ranges::find_if(
            links, [=](const Link& link) { return link.sink.lock().get() == sink; });
    }
    void connect(const std::shared_ptr<ModelNode>& sink, bool weak) {
        if (linkTo(sink.get()) == links.end()) {
            links.push_back({++lastNumber, weak ? nullptr : sink, sink});
        }
    }
    void disconnect(const ModelNode* sink) {
        if (const auto link = linkTo(sink); link != links.end()) {
            const Link gone = *link;
            links.erase(link);
        }
    }
    void disconnectAll() { const auto gone = std::exchange(links, {}); }
    bool send() {
        if (is(name, "89")) {
            return false;
        }
        const std::weak_ptr<ModelNode> self = weak_from_this();
        std::set<std::string> had;
        for (const bool weak : {false, true}) {
            for (int number = 1; number <= lastNumber; ++number) {
                const auto link = std::ranges::find(links, number, &Link::number);
                const bool isOne = link != links.end() && weak == !link->strong;
                auto sink = isOne ? link->sink.lock() : nullptr;
                if (sink && had.insert(sink->name).second) {
                    if (is(name, "7")) {
                        play.log.push_back("later " + sink->name);
                    } else if (!is(sink->name, "35") && !play.handles(sink->name) &&
                               !is(sink->name, "4")) {
                        sink->send();
                    }
                }
                sink.reset();
                if (self.expired()) {
                    return true;
                }
            }
        }
        return true;
    }
};

TEST(MessageKind, kindsMadeAndEnded_areNumberedInARowAndFoundWhileTheyLive) {
    const MessageKind first(L"first");
    auto second = std::make_unique<MessageKind>(L"second");
    const MessageKind third(L"third");
    const auto number = std::stoul(first.compactId(), nullptr, 16);
    EXPECT_EQ(third.compactId(), formatWide(L"%04lX", number + 2));
    EXPECT_EQ(MessageKind::find(L"second"), second.get());
    second.reset();
    EXPECT_TRUE(!MessageKind::find(L"second") && MessageKind::find(L"first") == &first &&
                MessageKind::find(L"third") == &third);
    EXPECT_EQ(MessageKind::find(L"ping.Round"), &kPing);
}

TEST(Messaging, connectingDisconnectingAndEndingAtRandom_isDeliveredAsTheModelSays) {
    for (std::uint64_t seed = 1; seed <= 4000; ++seed) {
        SCOPED_TRACE(seed);
        ASSERT_EQ(Play<RealNode>{Random(seed)}.run(), Play<ModelNode>{Random(seed)}.run());
    }
    EXPECT_EQ(thrownText([] { MessageForwarder().deferDelivery(kPing, {}, {}, nullptr); }),
              L"deferDelivery");
}

}  // namespace
}  // namespace zustd::test
