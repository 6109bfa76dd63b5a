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

}  // namespace

void addOurs(const std::string& work, Body body) { addBenchmark(work + "/ours", std::move(body)); }

void addPeer(const std::string& work, const std::string& peer, Body body) {
    const std::string name = work + "/" + peer;
    addBenchmark(name, std::move(body));
    allRows().push_back({work, peer, work + "/ours", name});
}

const std::vector<Row>& rows() { return allRows(); }

void require(bool same, const std::string& what) {
    if (!same) {
        std::fprintf(stderr, "zustd_bench: the two sides differ: %s\n", what.c_str());
        std::exit(EXIT_FAILURE);
    }
}

}  // namespace bench
