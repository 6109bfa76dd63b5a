#include "ZuMessaging.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include "support/FrameworkTest.h"

namespace zustd {
namespace {

using test::Lines;
using test::TraceCapture;
using Log = std::vector<std::string>;

const MessageKind kPing{L"ping.MessagingTest"};
const MessageKind kPong{L"pong.MessagingTest"};

class Recorder : public MessageSink {
public:
    Recorder(Log& log, std::string name, std::function<void()> action = {})
        : log_(log), name_(std::move(name)), action_(std::move(action)) {}
    ~Recorder() override {
        if (atEnd) {
            atEnd();
        }
    }

    std::function<void()> atEnd;
    bool acceptsPong = true;
    bool isMet = false;

    bool onReceiveMessage(const MessageKind&, MessageWord, MessageWord) override {
        log_.push_back(name_);
        if (action_) {
            action_();
        }
        // Dead sinks must not be running: this reads the object once more.
        return !name_.empty();
    }
    bool acceptsMessage(const MessageKind& kind) const override {
        return acceptsPong || kind == kPing;
    }
    bool meetsRestriction(const MessageKind&, MessageWord, MessageWord) const override {
        return isMet;
    }

private:
    Log& log_;
    std::string name_;
    std::function<void()> action_;
};

class Forwarder : public MessageForwarder {
public:
    std::function<bool()> action = [] { return false; };
    bool wasForwarding = false;

    bool onReceiveMessage(const MessageKind&, MessageWord, MessageWord) override {
        wasForwarding = isForwarding();
        return action();
    }
};

class Deferring : public MessageSource {
public:
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
    std::shared_ptr<Recorder> sink(const std::string& name, std::function<void()> action = {}) {
        return std::make_shared<Recorder>(log_, name, std::move(action));
    }
    std::shared_ptr<Recorder> connected(const std::string& name, bool weak = false,
                                        std::function<void()> action = {}) {
        auto made = sink(name, std::move(action));
        source_->connect(made, weak);
        return made;
    }
    bool send() { return source_->sendMessage(kPing, MessageWord(), MessageWord()); }
    // Sends once and says who got it.
    Log sent() {
        send();
        return std::exchange(log_, {});
    }

    Log log_;
    std::shared_ptr<MessageSource> source_ = std::make_shared<MessageSource>();
};

// --- Lists --------------------------------------------------------------------------

TEST_F(MessagingTest, send_strongAndWeakSinks_reachesStrongOnesFirstInOrder) {
    const auto w1 = connected("w1", true);
    const auto s1 = connected("s1");
    auto w2 = connected("w2", true);
    auto s2 = connected("s2");
    source_->connect(s1, true);
    source_->connect(w1, false);
    source_->connect(nullptr, false);
    EXPECT_EQ(sent(), (Log{"s1", "s2", "w1", "w2"}));
    w2.reset();
    s2.reset();
    EXPECT_EQ(sent(), (Log{"s1", "s2", "w1"}));
    source_->disconnect(s1.get());
    source_->disconnect(nullptr);
    source_->disconnect(s1.get());
    EXPECT_FALSE(source_->isConnected(s1.get()));
    EXPECT_EQ(s1.use_count(), 1);
    source_->connect(s1, false);
    EXPECT_EQ(sent(), (Log{"s2", "s1", "w1"}));
    source_->disconnectAll();
    EXPECT_EQ(sent(), Log());
    EXPECT_EQ(s1.use_count(), 1);
}

TEST_F(MessagingTest, disconnect_sinkWhoseEndChangesTheSource_keepsTheListsWhole) {
    // Each sink's destructor removes another one and adds a few.
    Recorder* second = nullptr;
    auto made = sink("first");
    made->atEnd = [&] {
        source_->disconnect(second);
        for (int i = 0; i < 20; ++i) {
            connected("late");
        }
    };
    const Recorder* first = made.get();
    source_->connect(made, false);
    made.reset();
    second = connected("second").get();
    connected("third");
    source_->disconnect(first);
    Log expected(21, "late");
    expected[0] = "third";
    EXPECT_EQ(sent(), expected);
}

// --- Filters and gates --------------------------------------------------------------

TEST_F(MessagingTest, filterAndRestriction_decideWhatASinkWants) {
    const auto recorder = connected("r");
    recorder->acceptsPong = false;
    source_->sendMessage(kPong, MessageWord(), MessageWord());
    EXPECT_EQ(log_, Log());
    recorder->setRestricted(true);
    EXPECT_EQ(sent(), Log());
    recorder->isMet = true;
    EXPECT_EQ(sent(), Log{"r"});
    recorder->setRestricted(false);
    recorder->isMet = false;
    EXPECT_EQ(sent(), Log{"r"});
}

TEST_F(MessagingTest, gatesAndDeferral_holdMessagesBack) {
    const auto deferring = std::make_shared<Deferring>();
    source_ = deferring;
    const auto strong = connected("s");
    const auto weak = connected("w", true);
    deferring->setSendingEnabled(false);
    EXPECT_FALSE(send());
    deferring->setSendingEnabled(true);
    deferring->gate = false;
    EXPECT_FALSE(send());
    deferring->gate = true;
    deferring->setDeliveryDeferred(true);
    EXPECT_TRUE(send());
    EXPECT_EQ(log_, Log());
    EXPECT_EQ(deferring->later, (std::vector<std::shared_ptr<MessageSink>>{strong, weak}));
    deferring->setDeliveryDeferred(false);
    EXPECT_TRUE(send());
    EXPECT_EQ(log_, (Log{"s", "w"}));

    MessageSource plain;
    plain.connect(strong, false);
    plain.setDeliveryDeferred(true);
    EXPECT_EQ(test::thrownText([&] { plain.sendMessage(kPing, MessageWord(), MessageWord()); }),
              L"deferDelivery");
}

TEST_F(MessagingTest, sinkThatThrows_isReportedAndStopsNobody) {
    const auto bad = connected("bad", false, [] { throw std::runtime_error("handler"); });
    const auto worse = connected("worse", true, [] { throw std::wstring(L"text"); });
    const auto good = connected("good", true);
    const TraceCapture trace;
    EXPECT_TRUE(send());
    EXPECT_EQ(log_, (Log{"bad", "worse", "good"}));
    const std::string start =
        "receiveMessage::receiveMessage: tried onReceiveMessage() and failed: catched ";
    EXPECT_EQ(trace.messages(),
              (Lines{start + "std::exception: handler", start + "assertion exception: text"}));
}

TEST_F(MessagingTest, words_ofEveryKind_arriveAsTheyWereSent) {
    class Reader : public MessageSink {
    public:
        bool onReceiveMessage(const MessageKind& kind, MessageWord a, MessageWord b) override {
            isText = kind == kPing && a.text() == L"text" && b.number() == 0;
            isObject = kind == kPong && a.object<Reader>() == this && b.number() == -7;
            return true;
        }
        bool isText = false;
        bool isObject = false;
    };
    const auto reader = std::make_shared<Reader>();
    source_->connect(reader, false);
    EXPECT_TRUE(source_->sendText(kPing, L"text"));
    EXPECT_TRUE(reader->isText);
    source_->sendMessage(kPong, MessageWord::ofObject(reader.get()), MessageWord(-7));
    EXPECT_TRUE(reader->isObject);
}

// --- Mutation during delivery -------------------------------------------------------

TEST_F(MessagingTest, connectedNow_isReachedInTheSameRound) {
    const auto late = sink("late");
    const auto weakLate = sink("weak late");
    connected("a", false, [&] {
        source_->connect(late, false);
        source_->connect(weakLate, true);
    });
    connected("b");
    EXPECT_EQ(sent(), (Log{"a", "b", "late", "weak late"}));
    EXPECT_EQ(sent(), (Log{"a", "b", "late", "weak late"}));
}

TEST_F(MessagingTest, disconnectedNow_getsNothingMoreAndNobodyIsSkipped) {
    // In turn, b takes out each of the six: before it, itself and behind it.
    const Log names = {"a", "b", "c", "wa", "wb", "wc"};
    for (std::size_t victim = 0; victim < names.size(); ++victim) {
        source_ = std::make_shared<MessageSource>();
        std::vector<std::shared_ptr<Recorder>> keep;
        std::vector<const MessageSink*> sinks;
        bool ended = false;
        for (std::size_t i = 0; i < names.size(); ++i) {
            const bool weak = i >= 3;
            auto made = connected(names[i], weak, [&, i] {
                if (i == 1) {
                    const bool before = ended;
                    source_->disconnect(sinks[victim]);
                    EXPECT_EQ(ended, before) << "a sink lives until the round has ended";
                }
            });
            if (i == victim) {
                made->atEnd = [&ended] { ended = true; };
            }
            sinks.push_back(made.get());
            if (weak) {
                keep.push_back(std::move(made));
            }
        }
        Log expected = names;
        const auto reached = static_cast<std::ptrdiff_t>(victim);
        if (victim > 1) {
            expected.erase(expected.begin() + reached);
        }
        EXPECT_EQ(sent(), expected) << names[victim];
        EXPECT_EQ(ended, victim < 3) << names[victim];
        expected = names;
        expected.erase(expected.begin() + reached);
        EXPECT_EQ(sent(), expected) << names[victim];
    }
}

TEST_F(MessagingTest, allDisconnectedNow_endsTheRoundAndKeepsTheRunningSinkAlive) {
    bool ended = false;
    connected("a", false, [&] {
        source_->disconnectAll();
        EXPECT_FALSE(ended);
    })->atEnd = [&] { ended = true; };
    connected("b");
    const auto weak = connected("w", true);
    EXPECT_EQ(sent(), Log{"a"});
    EXPECT_TRUE(ended);
    EXPECT_EQ(sent(), Log());
}

TEST_F(MessagingTest, weakSinkDestroyedNow_isSkipped) {
    std::shared_ptr<Recorder> victim;
    const auto a = connected("a", true, [&] { victim.reset(); });
    victim = connected("victim", true);
    const auto b = connected("b", true);
    EXPECT_EQ(sent(), (Log{"a", "b"}));
    // A weak sink that lets go of itself lives until it has returned.
    std::shared_ptr<Recorder> self;
    self = connected("self", true, [&] { self.reset(); });
    EXPECT_EQ(sent(), (Log{"a", "b", "self"}));
    EXPECT_EQ(sent(), (Log{"a", "b"}));
}

TEST_F(MessagingTest, sourceDestroyedNow_endsTheRoundAfterTheHandler) {
    for (const bool weak : {false, true}) {
        for (const bool nested : {false, true}) {
            source_ = std::make_shared<MessageSource>();
            MessageSource* raw = source_.get();
            const auto a = connected("a", weak, [&] {
                if (nested && log_.size() == 1) {
                    raw->sendMessage(kPing, MessageWord(), MessageWord());
                } else {
                    source_.reset();
                }
            });
            const auto b = connected("b", weak);
            EXPECT_TRUE(raw->sendMessage(kPing, MessageWord(), MessageWord()));
            EXPECT_EQ(std::exchange(log_, {}), nested ? (Log{"a", "a"}) : Log{"a"});
        }
    }
}

TEST_F(MessagingTest, nestedDelivery_isFinishedBeforeTheOuterGoesOn) {
    // The nested round takes out a sink that the outer one has passed already.
    std::shared_ptr<Recorder> a;
    a = connected("a", false, [&] {
        if (log_.size() > 1) {
            source_->disconnect(a.get());
        }
    });
    connected("b", false, [&] {
        if (log_.size() == 2) {
            send();
        }
    });
    connected("c");
    EXPECT_EQ(sent(), (Log{"a", "b", "a", "b", "c", "c"}));
    EXPECT_EQ(a.use_count(), 1);
    EXPECT_EQ(sent(), (Log{"b", "c"}));
}

// --- Forwarders ---------------------------------------------------------------------

TEST_F(MessagingTest, forwarder_sendsOnWhatItDoesNotHandle) {
    const auto forwarder = std::make_shared<Forwarder>();
    source_->connect(forwarder, false);
    bool markedOutside = true;
    forwarder->connect(sink("behind", [&] { markedOutside = forwarder->isForwarding(); }), false);
    connected("beside");
    EXPECT_EQ(sent(), (Log{"behind", "beside"}));
    EXPECT_TRUE(forwarder->wasForwarding);
    EXPECT_TRUE(markedOutside);
    EXPECT_FALSE(forwarder->isForwarding());
    EXPECT_FALSE(forwarder->isDeliveryDeferred()) << "the mark and the deferral are two flags";
    forwarder->action = [] { return true; };
    EXPECT_EQ(sent(), Log{"beside"});
    forwarder->setRestricted(true);
    forwarder->wasForwarding = false;
    EXPECT_EQ(sent(), Log{"beside"});
    EXPECT_FALSE(forwarder->wasForwarding);
}

TEST_F(MessagingTest, forwarderThatFails_isReportedPerStepAndRestored) {
    const auto forwarder = std::make_shared<Forwarder>();
    source_->connect(forwarder, false);
    forwarder->connect(sink("behind"), false);
    forwarder->action = []() -> bool { throw std::runtime_error("handler"); };
    const TraceCapture trace;
    EXPECT_EQ(sent(), Log{"behind"});
    forwarder->action = [] { return false; };
    forwarder->setDeliveryDeferred(true);
    EXPECT_EQ(sent(), Log());
    EXPECT_FALSE(forwarder->isForwarding());
    const Lines lines = trace.messages();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[0],
              "MessageForwarder::receiveMessage: tried onReceiveMessage() and failed: catched "
              "std::exception: handler");
    EXPECT_EQ(lines[3],
              "MessageForwarder::receiveMessage: tried sendMessage() and failed: catched "
              "assertion exception: deferDelivery");
}

TEST_F(MessagingTest, forwarderDestroyedNow_fromBehind_isAliveUntilItReturns) {
    auto forwarder = std::make_shared<Forwarder>();
    const std::weak_ptr<Forwarder> weak = forwarder;
    forwarder->connect(sink("behind", [&] { source_->disconnectAll(); }), false);
    source_->connect(std::exchange(forwarder, nullptr), false);
    EXPECT_EQ(sent(), Log{"behind"});
    EXPECT_TRUE(weak.expired());
}

// --- Kinds --------------------------------------------------------------------------

TEST(MessageKind, kindsInOrder_haveConsecutiveIdsUpToTheLimit) {
    EXPECT_EQ(kPing.compactId().size(), 4U);
    EXPECT_EQ(std::stoi(kPong.compactId(), nullptr, 16),
              std::stoi(kPing.compactId(), nullptr, 16) + 1);
    EXPECT_EQ(MessageKind::find(L"ping.MessagingTest"), &kPing);
    std::vector<std::unique_ptr<MessageKind>> kinds;
    const std::wstring failure = test::thrownText([&] {
        for (int i = 0; i < 0x8000; ++i) {
            kinds.push_back(std::make_unique<MessageKind>(L"extra.MessagingTest"));
        }
    });
    EXPECT_EQ(failure, L"compactMsgCounter_ > 0 && compactMsgCounter_ < 0x8000");
    // Numbers are never given again: a second run in one process gets none.
    EXPECT_EQ(kinds.empty() ? L"7FFF" : kinds.back()->compactId(), L"7FFF");
    EXPECT_EQ(MessageKind::find(L"extra.MessagingTest"),
              kinds.empty() ? nullptr : kinds.back().get());
    while (!kinds.empty()) {
        kinds.pop_back();
    }
    EXPECT_EQ(MessageKind::find(L"extra.MessagingTest"), nullptr);
    EXPECT_EQ(MessageKind::find(L"pong.MessagingTest"), &kPong);
}

}  // namespace
}  // namespace zustd
