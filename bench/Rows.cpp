#include "Rows.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace bench {

namespace {

std::vector<Row>& allRows() {
    static std::vector<Row> rows;
    return rows;
}

// Processor time is coarse on this platform; real time is not.
void addBenchmark(const std::string& name, Body body) {
    benchmark::RegisterBenchmark(name.c_str(), std::move(body))
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
}

void addBenchmark(const std::string& name, Measure measure) {
    const auto body = [measure = std::move(measure)](benchmark::State& state) {
        for (auto _ : state) {
            // Taken for seconds and told as microseconds.
            state.SetIterationTime(measure() * 1e-6);
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), body)
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMicrosecond);
}

template <class Side>
void addPeerSide(const std::string& work, const std::string& peer, Side side, Kind kind,
                 Unit unit) {
    const std::string name = work + "/" + peer;
    addBenchmark(name, std::move(side));
    allRows().push_back({work, peer, work + "/ours", name, kind, unit});
}

}  // namespace

void addOurs(const std::string& work, Body body) { addBenchmark(work + "/ours", std::move(body)); }

void addPeer(const std::string& work, const std::string& peer, Body body, Kind kind) {
    addPeerSide(work, peer, std::move(body), kind, Unit::kMicroseconds);
}

void addOurs(const std::string& work, Measure measure) {
    addBenchmark(work + "/ours", std::move(measure));
}

void addPeer(const std::string& work, const std::string& peer, Measure measure, Kind kind,
             Unit unit) {
    addPeerSide(work, peer, std::move(measure), kind, unit);
}

const std::vector<Row>& rows() { return allRows(); }

void require(bool same, const std::string& what) {
    if (!same) {
        std::fprintf(stderr, "zustd_bench: the two sides differ: %s\n", what.c_str());
        std::exit(EXIT_FAILURE);
    }
}

}  // namespace bench
