#include "ZuMessaging.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using namespace test;
using Action = std::function<void()>;

const MessageKind kPing{L"ping.MessagingTest"};
const MessageKind kPong{L"pong.MessagingTest"};

struct Recorder : MessageSink {
    Lines& log;
    std::string name;
    Action action = [] {};
    Action atEnd = [] {};
    const MessageKind* refused = nullptr;
    bool isMet = false;

    Recorder(Lines& wantedLog, std::string wantedName)
        : log(wantedLog), name(std::move(wantedName)) {}
    ~Recorder() override { atEnd(); }
    bool onReceiveMessage(const MessageKind&, MessageWord, MessageWord) override {
        log.push_back(name);
        action();
        return true;
    }
    bool acceptsMessage(const MessageKind& kind) const override { return &kind != refused; }
    bool meetsRestriction(const MessageKind&, MessageWord, MessageWord) const override {
        return isMet;
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

// A source, its log and its sinks; the source can be let go of.
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

TEST_F(MessagingTest, send_strongAndWeakSinks_reachesStrongOnesFirstInOrder) {
    const auto w1 = connected("w1", true);
    const auto s1 = connected("s1");
    auto w2 = connected("w2", true);
    auto s2 = connected("s2");
    source_->connect(s1, true);
    source_->connect(w1, false);
    source_->connect(nullptr, false);
    EXPECT_EQ(sent(), (Lines{"s1", "s2", "w1", "w2"}));
    w2.reset();
    s2.reset();
    source_->disconnect(s1.get());
    source_->disconnect(nullptr);
    source_->disconnect(s1.get());
    EXPECT_EQ(s1.use_count(), 1);
    source_->connect(s1, false);
    EXPECT_EQ(sent(), (Lines{"s2", "s1", "w1"}));
    source_->disconnectAll();
    EXPECT_EQ(sent(), Lines());
    EXPECT_EQ(s1.use_count(), 1);
}

TEST_F(MessagingTest, disconnect_sinkWhoseEndChangesTheSource_keepsTheListsWhole) {
    // The first one's destructor removes the second and adds a few.
    Recorder* second = nullptr;
    Recorder* const first = connected("first").get();
    first->atEnd = [&] {
        source_->disconnect(second);
        for (int i = 0; i < 20; ++i) {
            connected("late");
        }
    };
    second = connected("second").get();
    connected("third");
    source_->disconnect(first);
    Lines expected(21, "late");
    expected[0] = "third";
    EXPECT_EQ(sent(), expected);
}

TEST_F(MessagingTest, filterRestrictionGatesAndDeferral_holdMessagesBack) {
    const auto deferring = std::make_shared<Deferring>();
    source_ = deferring;
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

TEST_F(MessagingTest, sinkThatThrows_isReportedAndStopsNobody) {
    connected("bad")->action = [] { throw std::runtime_error("handler"); };
    const auto worse = connected("worse", true);
    worse->action = [] { throw std::wstring(L"text"); };
    const auto good = connected("good", true);
    const TraceCapture trace;
    EXPECT_TRUE(send());
    EXPECT_EQ(log_, (Lines{"bad", "worse", "good"}));
    const std::string start =
        "receiveMessage::receiveMessage: tried onReceiveMessage() and failed: catched ";
    EXPECT_EQ(trace.messages(),
              (Lines{start + "std::exception: handler", start + "assertion exception: text"}));
}

TEST_F(MessagingTest, connectedOrDestroyedNow_isReachedOrSkippedInTheSameRound) {
    const auto late = std::make_shared<Recorder>(log_, "late");
    const auto weakLate = std::make_shared<Recorder>(log_, "weak late");
    auto gone = connected("gone", true);
    connected("a")->action = [&] { source_->connect(late, false); };
    const auto w = connected("w", true);
    auto victim = connected("victim", true);
    w->action = [&] {
        gone.reset();
        victim.reset();
        source_->connect(weakLate, true);
    };
    const auto x = connected("x", true);
    EXPECT_EQ(sent(), (Lines{"a", "late", "gone", "w", "x", "weak late"}));
    // A weak sink that lets go of itself lives until it has returned.
    victim = connected("self", true);
    bool ended = false;
    victim->atEnd = [&ended] { ended = true; };
    victim->action = [&] {
        victim.reset();
        EXPECT_FALSE(ended);
    };
    source_->disconnect(w.get());
    EXPECT_EQ(sent(), (Lines{"a", "late", "x", "weak late", "self"}));
    EXPECT_EQ(sent(), (Lines{"a", "late", "x", "weak late"}));
}

TEST_F(MessagingTest, disconnectedNow_getsNothingMoreAndNobodyIsSkipped) {
    // In turn, b takes out each of the six, before it, itself and behind it,
    // and at last all of them.
    const Lines names = {"a", "b", "c", "wa", "wb", "wc"};
    for (std::size_t victim = 0; victim <= names.size(); ++victim) {
        SCOPED_TRACE(victim);
        const bool all = victim == names.size();
        source_ = std::make_shared<MessageSource>();
        std::vector<std::shared_ptr<Recorder>> weak(3);
        std::vector<Recorder*> sinks;
        bool ended = false;
        for (std::size_t i = 0; i < names.size(); ++i) {
            weak[i % 3] = connected(names[i], i >= 3);
            sinks.push_back(weak[i % 3].get());
        }
        sinks[1]->action = [&] {
            const bool before = ended;
            all ? source_->disconnectAll() : source_->disconnect(sinks[victim]);
            EXPECT_EQ(ended, before) << "a sink lives until the round has ended";
        };
        sinks[all ? 1 : victim]->atEnd = [&ended] { ended = true; };
        Lines left = all ? Lines() : names;
        if (!all) {
            left.erase(left.begin() + static_cast<std::ptrdiff_t>(victim));
        }
        EXPECT_EQ(sent(), all ? (Lines{"a", "b"}) : victim > 1 ? left : names);
        EXPECT_EQ(ended, all || victim < 3);
        EXPECT_EQ(sent(), left);
    }
}

TEST_F(MessagingTest, sourceDestroyedNow_endsTheRoundAfterTheHandler) {
    for (const auto& [weak, nested] :
         {std::pair{false, false}, {false, true}, {true, false}, {true, true}}) {
        source_ = std::make_shared<MessageSource>();
        MessageSource* const raw = source_.get();
        const auto a = connected("a", weak);
        const auto b = connected("b", weak);
        a->action = [&, nested = nested] {
            if (nested && log_.size() == 1) {
                raw->sendMessage(kPing, MessageWord(), MessageWord());
            } else {
                source_.reset();
            }
        };
        EXPECT_TRUE(raw->sendMessage(kPing, MessageWord(), MessageWord()));
        EXPECT_EQ(std::exchange(log_, {}), Lines(nested ? 2 : 1, "a"));
    }
}

TEST_F(MessagingTest, nestedDelivery_isFinishedBeforeTheOuterGoesOn) {
    // The nested round takes out a sink that the outer one has passed already.
    const auto a = connected("a");
    a->action = [&] { source_->disconnect(log_.size() > 1 ? a.get() : nullptr); };
    connected("b")->action = [&] {
        if (log_.size() == 2) {
            send();
        }
    };
    connected("c");
    EXPECT_EQ(sent(), (Lines{"a", "b", "a", "b", "c", "c"}));
    EXPECT_EQ(a.use_count(), 1);
    EXPECT_EQ(sent(), (Lines{"b", "c"}));
}

TEST_F(MessagingTest, forwarder_sendsOnWhatItDoesNotHandleAndReportsEachStep) {
    auto forwarder = std::make_shared<Forwarder>();
    source_->connect(forwarder, false);
    bool wasForwarding = false;
    const auto behind = std::make_shared<Recorder>(log_, "behind");
    behind->action = [&] { wasForwarding = forwarder->isForwarding(); };
    forwarder->connect(behind, false);
    connected("beside");
    const auto isSent = [&](const Lines& expected, const std::function<bool()>& action) {
        forwarder->wasForwarding = wasForwarding = false;
        forwarder->action = action;
        EXPECT_EQ(sent(), expected);
        EXPECT_EQ(forwarder->wasForwarding, action != nullptr);
        EXPECT_EQ(wasForwarding, expected.size() == 2);
        EXPECT_FALSE(forwarder->isForwarding());
    };
    const auto failing = []() -> bool { throw std::runtime_error("handler"); };
    const TraceCapture trace;
    isSent({"behind", "beside"}, [] { return false; });
    isSent({"beside"}, [] { return true; });
    isSent({"behind", "beside"}, failing);
    forwarder->setDeliveryDeferred(true);
    isSent({"beside"}, failing);
    const Lines lines = trace.messages();
    const std::string start = "MessageForwarder::receiveMessage: tried ";
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0], start + "onReceiveMessage() and failed: catched std::exception: handler");
    EXPECT_EQ(lines[4],
              start + "sendMessage() and failed: catched assertion exception: deferDelivery");
    forwarder->setDeliveryDeferred(false);
    forwarder->setRestricted(true);
    isSent({"beside"}, nullptr);
    // Let go of from behind, it is alive until it returns.
    forwarder->setRestricted(false);
    forwarder->action = [] { return false; };
    behind->action = [&] { source_->disconnectAll(); };
    const std::weak_ptr<Forwarder> weak = std::exchange(forwarder, nullptr);
    EXPECT_EQ(sent(), Lines{"behind"});
    EXPECT_TRUE(weak.expired());
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
