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
class Play {
public:
    explicit Play(std::uint64_t seed) : random_(seed) {}

    Lines run() {
        while (budget_ > 0) {
            act();
        }
        for (std::shared_ptr<Node>& node : nodes_) {
            node.reset();
        }
        log_.push_back(std::to_string(living_) + " living");
        return log_;
    }
    std::string born() { return "node " + std::to_string(++living_ + ended_); }
    // Whether the message was handled.
    bool heard(const std::string& name) {
        log_.push_back(name);
        const bool handled = random_.below(2) == 0;
        for (std::size_t i = random_.below(4); i > 0; --i) {
            act();
        }
        return handled;
    }
    void ended(const std::string& name) {
        log_.push_back("end of " + name);
        --living_;
        ++ended_;
        act();
    }

private:
    static constexpr std::size_t kNodes = 6;

    void act() {
        if (budget_ == 0) {
            return;
        }
        --budget_;
        const std::size_t place = random_.below(kNodes - 1);
        std::shared_ptr<Node>& source = nodeAt(place);
        std::shared_ptr<Node>& sink = nodeAt(place + 1 + random_.below(kNodes - 1 - place));
        const bool weak = random_.below(2) == 0;
        switch (random_.below(12)) {
            case 0:
                source->disconnect(sink.get());
                break;
            case 1:
            case 2:
                // The first may end the source, the second needs one.
                source->disconnect(sink.get());
                nodeAt(place)->connect(sink, weak);
                break;
            case 3:
                source->disconnectAll();
                break;
            case 4:
                sink.reset();
                break;
            case 5:
                source.reset();
                break;
            case 6:
            case 7:
                source->send();
                break;
            case 8:
                log_.push_back(source->isConnected(sink.get()) ? "connected" : "not connected");
                break;
            default:
                source->connect(sink, weak);
        }
    }
    std::shared_ptr<Node>& nodeAt(std::size_t place) {
        if (!nodes_[place]) {
            nodes_[place] = std::make_shared<Node>(*this);
        }
        return nodes_[place];
    }

    Random random_;
    Lines log_;
    int budget_ = 80;
    int living_ = 0;
    int ended_ = 0;
    std::shared_ptr<Node> nodes_[kNodes];
};

// Every fifth cannot tell what it wants, some fail instead of handing on.
bool isDeaf(const std::string& name) { return name.back() == '5'; }
bool isFailing(const std::string& name) { return name.back() % 2 == 0; }

struct RealNode : MessageForwarder {
    Play<RealNode>& play;
    std::string name;

    explicit RealNode(Play<RealNode>& wantedPlay) : play(wantedPlay), name(play.born()) {}
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
    std::string name;
    int lastNumber = 0;
    std::vector<Link> links;

    explicit ModelNode(Play<ModelNode>& wantedPlay) : play(wantedPlay), name(play.born()) {}
    ~ModelNode() { play.ended(name); }
    auto linkTo(const ModelNode* sink) {
        return std::find_if(links.begin(), links.end(),
                            [&](const Link& link) { return link.sink.lock().get() == sink; });
    }
    bool isConnected(const ModelNode* sink) { return linkTo(sink) != links.end(); }
    void connect(const std::shared_ptr<ModelNode>& sink, bool weak) {
        if (sink && !isConnected(sink.get())) {
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
                const auto link = std::find_if(links.begin(), links.end(), [&](const Link& each) {
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
        ASSERT_EQ(Play<RealNode>(seed).run(), Play<ModelNode>(seed).run()) << "seed " << seed;
    }
}

// --- Filters, gates and reports ---------------------------------------------------------------

struct Recorder : MessageSink {
    Lines& log;
    std::string name;
    std::function<void()> action = [] {};
    const MessageKind* refused = nullptr;
    bool isMet = false;

    Recorder(Lines& wantedLog, std::string wantedName)
        : log(wantedLog), name(std::move(wantedName)) {}
    bool onReceiveMessage(const MessageKind&, MessageWord, MessageWord) override {
        log.push_back(name);
        action();
        return true;
    }
    bool acceptsMessage(const MessageKind& kind) const override { return &kind != refused; }
    bool meetsRestriction(const MessageKind&, MessageWord, MessageWord) const override {
        return isMet ? true : throw std::wstring(L"not met");
    }
};

struct Forwarder : MessageForwarder {
    std::function<bool()> action;
    bool wasForwarding = false;
    bool onReceiveMessage(const MessageKind&, MessageWord, MessageWord) override {
        wasForwarding = isForwarding();
        return action();
    }
};

struct Deferring : MessageSource {
    std::vector<std::shared_ptr<MessageSink>> later;
    bool gate = true;
    bool maySend(const MessageKind&, MessageWord, MessageWord) const override { return gate; }
    void deferDelivery(const MessageKind&, MessageWord, MessageWord,
                       const std::shared_ptr<MessageSink>& sink) override {
        later.push_back(sink);
    }
};

class MessagingTest : public testing::Test {
protected:
    std::shared_ptr<Recorder> connected(const std::string& name, bool weak = false) {
        auto made = std::make_shared<Recorder>(log_, name);
        source_->connect(made, weak);
        return made;
    }
    bool send() { return source_->sendMessage(kPing, MessageWord(), MessageWord()); }
    // Sends once and says who got it.
    Lines sent() {
        send();
        return std::exchange(log_, {});
    }

    Lines log_;
    std::shared_ptr<MessageSource> source_ = std::make_shared<MessageSource>();
};

TEST_F(MessagingTest, filterRestrictionGatesAndDeferral_holdMessagesBack) {
    const auto deferring = std::make_shared<Deferring>();
    source_ = deferring;
    source_->connect(nullptr, false);
    source_->disconnect(nullptr);
    const auto strong = connected("s");
    const auto weak = connected("w", true);
    strong->refused = weak->refused = &kPong;
    source_->sendMessage(kPong, MessageWord(), MessageWord());
    EXPECT_EQ(log_, Lines());
    strong->setRestricted(true);
    EXPECT_EQ(sent(), Lines{"w"});
    strong->isMet = true;
    EXPECT_EQ(sent(), (Lines{"s", "w"}));
    deferring->setSendingEnabled(false);
    EXPECT_FALSE(send());
    deferring->setSendingEnabled(true);
    deferring->gate = false;
    EXPECT_FALSE(send());
    deferring->gate = true;
    deferring->setDeliveryDeferred(true);
    EXPECT_TRUE(send());
    EXPECT_EQ(log_, Lines());
    EXPECT_EQ(deferring->later, (std::vector<std::shared_ptr<MessageSink>>{strong, weak}));
    MessageSource plain;
    plain.connect(strong, false);
    plain.setDeliveryDeferred(true);
    EXPECT_EQ(thrownText([&] { plain.sendText(kPing, L""); }), L"deferDelivery");
}

TEST_F(MessagingTest, failingSinksAndForwarders_areReportedByTheStepThatFailed) {
    const auto forwarder = std::make_shared<Forwarder>();
    source_->connect(forwarder, false);
    bool wasForwarding = false;
    const auto behind = std::make_shared<Recorder>(log_, "behind");
    behind->action = [&] { wasForwarding = forwarder->isForwarding(); };
    forwarder->connect(behind, false);
    const auto beside = connected("beside");
    beside->action = [] { throw std::wstring(L"text"); };
    const auto isSent = [&](const Lines& expected, const std::function<bool()>& action) {
        forwarder->wasForwarding = wasForwarding = false;
        forwarder->action = action;
        EXPECT_EQ(sent(), expected);
        EXPECT_EQ(forwarder->wasForwarding, action != nullptr);
        EXPECT_EQ(wasForwarding, expected.size() == 2);
        EXPECT_FALSE(forwarder->isForwarding());
    };
    const TraceCapture trace;
    isSent({"behind", "beside"}, [] { return false; });
    beside->action = [] {};
    isSent({"beside"}, [] { return true; });
    isSent({"behind", "beside"}, []() -> bool { throw std::runtime_error("handler"); });
    forwarder->setDeliveryDeferred(true);
    isSent({"beside"}, [] { return false; });
    forwarder->setRestricted(true);
    beside->setRestricted(true);
    isSent({}, nullptr);
    Lines lines = trace.messages();
    std::erase_if(lines, [](const auto& line) { return line.find(": catched ") == line.npos; });
    const std::string start = "MessageForwarder::receiveMessage: tried ";
    EXPECT_EQ(lines,
              (Lines{"receiveMessage::receiveMessage: tried onReceiveMessage() and failed: "
                     "catched assertion exception: text",
                     start + "onReceiveMessage() and failed: catched std::exception: handler",
                     start + "sendMessage() and failed: catched assertion exception: deferDelivery",
                     "MessageSink::wantsMessage: catched assertion exception: not met"}));
}

TEST(MessageKind, kindsInOrder_haveConsecutiveIdsAndAreFoundWhileTheyLive) {
    EXPECT_EQ(kPing.compactId().size(), 4U);
    EXPECT_EQ(std::stoi(kPong.compactId(), nullptr, 16),
              std::stoi(kPing.compactId(), nullptr, 16) + 1);
    EXPECT_EQ(MessageKind::find(L"pong.MessagingTest"), &kPong);
    {
        const MessageKind extra(L"extra.MessagingTest");
        EXPECT_EQ(MessageKind::find(L"extra.MessagingTest"), &extra);
    }
    EXPECT_EQ(MessageKind::find(L"extra.MessagingTest"), nullptr);
    EXPECT_EQ(MessageKind::find(L"ping.MessagingTest"), &kPing);
}

}  // namespace
}  // namespace zustd
