// The rows of the benchmark: one kind of work, done by us and by its peers.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "benchmark/benchmark.h"

namespace bench {

// Runs the work once for each round of the state.
using Body = std::function<void(benchmark::State&)>;

// One line of the ratio table, by the names of the two benchmarks that it
// compares.
struct Row {
    std::string work;
    std::string peer;
    std::string ours;
    std::string theirs;
};

// Registers our side of some work as the benchmark "<work>/ours".
void addOurs(const std::string& work, Body body);
// Registers a peer's side as "<work>/<peer>" and the row of both.
void addPeer(const std::string& work, const std::string& peer, Body body);

const std::vector<Row>& rows();

// Ends the program when two sides do not do the same work: their times would
// mean nothing.
void require(bool same, const std::string& what);

void addBagRows();
void addEncoderRows();
void addLayoutRows();
void addMessagingRows();
void addTraceRows();

}  // namespace bench
