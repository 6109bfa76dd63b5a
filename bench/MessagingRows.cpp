// One message sent to all receivers.
#include <boost/signals2.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Rows.h"
#include "ZuMessaging.h"

namespace bench {

namespace {

// Deliveries take fractions of a microsecond: one run sends so many.
constexpr int kSends = 100;

const zustd::MessageKind kMeasured(L"measured.Bench");

class CountingSink final : public zustd::MessageSink {
public:
    explicit CountingSink(std::intptr_t& sum) : sum_(sum) {}
    bool onReceiveMessage(const zustd::MessageKind&, zustd::MessageWord a,
                          zustd::MessageWord) override {
        sum_ += a.number();
        return true;
    }

private:
    std::intptr_t& sum_;
};

// The sink's own operation called without a source.
void callSinks(benchmark::State& state, int receivers) {
    std::intptr_t sum = 0;
    std::vector<std::shared_ptr<zustd::MessageSink>> sinks;
    for (int i = 0; i < receivers; ++i) {
        sinks.push_back(std::make_shared<CountingSink>(sum));
    }
    for (auto _ : state) {
        for (int i = 0; i < kSends; ++i) {
            for (const auto& sink : sinks) {
                zustd::MessageSink* called = sink.get();
                // Which class it is of is not known here.
                benchmark::DoNotOptimize(called);
                called->onReceiveMessage(kMeasured, zustd::MessageWord(1), zustd::MessageWord());
            }
        }
    }
}

// Without its lock: our sources are not synchronised either.
using Signal = boost::signals2::signal_type<
    void(const zustd::MessageKind&, zustd::MessageWord, zustd::MessageWord),
    boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

void sendOurs(benchmark::State& state, int receivers) {
    std::intptr_t sum = 0;
    zustd::MessageSource source;
    for (int i = 0; i < receivers; ++i) {
        source.connect(std::make_shared<CountingSink>(sum), false);
    }
    for (auto _ : state) {
        for (int i = 0; i < kSends; ++i) {
            source.sendMessage(kMeasured, zustd::MessageWord(1), zustd::MessageWord());
        }
    }
    const auto sent = static_cast<std::intptr_t>(state.iterations()) * kSends;
    require(sum == sent * receivers, "messages that arrived");
}

void sendTheirs(benchmark::State& state, int receivers) {
    std::intptr_t sum = 0;
    Signal signal;
    for (int i = 0; i < receivers; ++i) {
        signal.connect([&sum](const zustd::MessageKind&, zustd::MessageWord a, zustd::MessageWord) {
            sum += a.number();
        });
    }
    for (auto _ : state) {
        for (int i = 0; i < kSends; ++i) {
            signal(kMeasured, zustd::MessageWord(1), zustd::MessageWord());
        }
    }
    const auto sent = static_cast<std::intptr_t>(state.iterations()) * kSends;
    require(sum == sent * receivers, "signals that arrived");
}

}  // namespace

void addMessagingRows() {
    for (const int receivers : {1, 100}) {
        const std::string work = "100 messages to " + std::to_string(receivers);
        addOurs(work, [receivers](benchmark::State& state) { sendOurs(state, receivers); });
        addPeer(work, "Boost.Signals2",
                [receivers](benchmark::State& state) { sendTheirs(state, receivers); });
        addPeer(
            work, "virtual call",
            [receivers](benchmark::State& state) { callSinks(state, receivers); }, Kind::kLimit);
    }
}

}  // namespace bench
