#include "ZuMessaging.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <set>
#include <stdexcept>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;

const MessageKind kPing{L"ping.MessagingTest"};
const MessageKind kPong{L"pong.MessagingTest"};

// --- The lists during deliveries, against a model ------------------------------------------

// Forwarders that do things to each other whenever one hears a message or ends,
// all of it chosen by the seed. A sink's place is behind its source's, so that
// messages come to an end.
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
    // Whether the message was handled.
    bool heard(const std::string& name) {
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
            source->send();
        }
    }
    std::shared_ptr<Node>& nodeAt(std::size_t place) {
        return nodes[place] ? nodes[place] : nodes[place] = std::make_shared<Node>(*this);
    }
};

// Every fifth cannot tell what it wants, some fail instead of handing on.
bool isDeaf(const std::string& name) { return name.back() == '5'; }
bool isFailing(const std::string& name) { return name.back() % 2 == 0; }

struct RealNode : MessageForwarder {
    Play<RealNode>& play;
    std::string name = std::to_string(++play.born);

    explicit RealNode(Play<RealNode>& wantedPlay) : play(wantedPlay) {}
    ~RealNode() override { play.ended(name); }
    void send() { sendMessage(kPing, MessageWord(1), MessageWord(2)); }
    bool acceptsMessage(const MessageKind&) const override {
        return !isDeaf(name) ? true : throw std::runtime_error("filter");
    }
    bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
        EXPECT_TRUE(&kind == &kPing && a.number() == 1 && b.number() == 2);
        const bool handled = play.heard(name);
        return handled || !isFailing(name) ? handled : throw std::runtime_error("handler");
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
    template <class Is>
    auto linkThat(Is&& is) {
        return std::find_if(links.begin(), links.end(), is);
    }
    auto linkTo(const ModelNode* sink) {
        return linkThat([=](const Link& link) { return link.sink.lock().get() == sink; });
    }
    void connect(const std::shared_ptr<ModelNode>& sink, bool weak) {
        if (sink && linkTo(sink.get()) == links.end()) {
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
    void send() {
        const std::weak_ptr<ModelNode> self = weak_from_this();
        std::set<std::string> had;
        for (const bool weak : {false, true}) {
            for (int number = 1; number <= lastNumber; ++number) {
                const auto link = linkThat([&](const Link& each) {
                    return each.number == number && weak == !each.strong;
                });
                auto sink = link != links.end() ? link->sink.lock() : nullptr;
                if (sink && had.insert(sink->name).second && !isDeaf(sink->name) &&
                    !play.heard(sink->name)) {
                    sink->send();
                }
                sink.reset();
                if (self.expired()) {
                    return;
                }
            }
        }
    }
};

TEST(Messaging, connectingDisconnectingAndEndingAtRandom_isDeliveredAsTheModelSays) {
    for (std::uint64_t seed = 1; seed <= 4000; ++seed) {
        ASSERT_EQ(Play<RealNode>{Random(seed)}.run(), Play<ModelNode>{Random(seed)}.run())
            << "seed " << seed;
    }
}

// --- Filters, gates and reports ---------------------------------------------------------------

struct Probe : MessageForwarder {
    Lines& log;
    std::string name;
    std::function<bool()> action = [] { return true; };
    const MessageKind* refused = nullptr;
    bool isMet = false;
    bool gate = true;
    bool defers = false;

    Probe(Lines& wantedLog, std::string wantedName) : log(wantedLog), name(std::move(wantedName)) {}
    bool onReceiveMessage(const MessageKind&, MessageWord, MessageWord) override {
        log.push_back(name);
        return isForwarding() && action();
    }
    bool acceptsMessage(const MessageKind& kind) const override { return &kind != refused; }
    bool meetsRestriction(const MessageKind&, MessageWord, MessageWord) const override {
        return isMet ? true : throw std::wstring(L"not met");
    }
    bool maySend(const MessageKind&, MessageWord, MessageWord) const override { return gate; }
    void deferDelivery(const MessageKind& kind, MessageWord a, MessageWord b,
                       const std::shared_ptr<MessageSink>& sink) override {
        defers ? log.push_back("later: " + dynamic_cast<Probe&>(*sink).name)
               : MessageForwarder::deferDelivery(kind, a, b, sink);
    }
};

// A source with a strong sink and a weak one.
class MessagingTest : public testing::Test {
protected:
    MessagingTest() {
        source_->connect(nullptr, false);
        source_->connect(strong_, false);
        source_->connect(weak_, true);
        source_->disconnect(nullptr);
    }
    // Sends once and says who got it, with a mark in front when a gate refused.
    Lines sent(const MessageKind& kind = kPing) {
        if (!source_->sendText(kind, L"")) {
            log_.insert(log_.begin(), "refused");
        }
        return std::exchange(log_, {});
    }

    Lines log_;
    std::shared_ptr<Probe> source_ = std::make_shared<Probe>(log_, "source");
    std::shared_ptr<Probe> strong_ = std::make_shared<Probe>(log_, "s");
    std::shared_ptr<Probe> weak_ = std::make_shared<Probe>(log_, "w");
};

TEST_F(MessagingTest, filterRestrictionGatesAndDeferral_holdMessagesBack) {
    strong_->refused = weak_->refused = &kPong;
    EXPECT_EQ(sent(kPong), Lines());
    strong_->setRestricted(true);
    EXPECT_EQ(sent(), Lines{"w"});
    strong_->isMet = true;
    EXPECT_EQ(sent(), (Lines{"s", "w"}));
    source_->setSendingEnabled(false);
    EXPECT_EQ(sent(), Lines{"refused"});
    source_->setSendingEnabled(true);
    source_->gate = false;
    EXPECT_EQ(sent(), Lines{"refused"});
    source_->gate = source_->defers = true;
    source_->setDeliveryDeferred(true);
    EXPECT_EQ(sent(), (Lines{"later: s", "later: w"}));
    source_->defers = false;
    EXPECT_EQ(thrownText([&] { sent(); }), L"deferDelivery");
}

TEST_F(MessagingTest, failingSinksAndForwarders_areReportedByTheStepThatFailed) {
    const auto behind = std::make_shared<Listener>();
    strong_->connect(behind, false);
    behind->next = [&] {
        EXPECT_TRUE(strong_->isForwarding());
        throw std::wstring(L"text");
    };
    const TraceCapture trace;
    EXPECT_EQ(sent(), (Lines{"s", "w"}));
    EXPECT_EQ(behind->log.size(), 0U) << "what is handled goes no further";
    strong_->action = []() -> bool { throw std::runtime_error("handler"); };
    EXPECT_EQ(sent(), (Lines{"s", "w"}));
    EXPECT_EQ(behind->log.size(), 1U);
    EXPECT_FALSE(strong_->isForwarding());
    strong_->action = [] { return false; };
    strong_->setDeliveryDeferred(true);
    weak_->setRestricted(true);
    EXPECT_EQ(sent(), Lines{"s"});
    // A failed assertion's own two lines are left out.
    Lines lines = trace.messages();
    std::erase_if(lines, [](const auto& line) { return line.find(": catched ") == line.npos; });
    const std::string start = "MessageForwarder::receiveMessage: tried ";
    EXPECT_EQ(lines,
              (Lines{start + "onReceiveMessage() and failed: catched std::exception: handler",
                     "receiveMessage::receiveMessage: tried onReceiveMessage() and failed: "
                     "catched assertion exception: text",
                     start + "sendMessage() and failed: catched assertion exception: deferDelivery",
                     "MessageSink::wantsMessage: catched assertion exception: not met"}));
}

TEST(MessageKind, kindsInOrder_haveConsecutiveIdsAndAreFoundWhileTheyLive) {
    EXPECT_EQ(kPing.compactId().size(), 4U);
    EXPECT_EQ(std::stoi(kPong.compactId(), nullptr, 16),
              std::stoi(kPing.compactId(), nullptr, 16) + 1);
    {
        const MessageKind extra(L"extra.MessagingTest");
        EXPECT_EQ(MessageKind::find(L"extra.MessagingTest"), &extra);
    }
    EXPECT_EQ(MessageKind::find(L"extra.MessagingTest"), nullptr);
    EXPECT_EQ(MessageKind::find(L"ping.MessagingTest"), &kPing);
}

}  // namespace
}  // namespace zustd
