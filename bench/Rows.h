// The rows of the benchmark: one kind of work, done by us and by its peers.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "benchmark/benchmark.h"

namespace bench {

// Runs the work once for each round of the state.
using Body = std::function<void(benchmark::State&)>;
// Does the work once and says what it took, in microseconds or kibibytes.
using Measure = std::function<double()>;

// What a row's figures are.
enum class Unit { kMicroseconds, kMilliseconds, kKibibytes };

// A peer does the same work; a limit does less, only what the work cannot do
// without.
enum class Kind { kPeer, kLimit };

// One line of the ratio table, by the names of the two benchmarks that it
// compares.
struct Row {
    std::string work;
    std::string peer;
    std::string ours;
    std::string theirs;
    Kind kind;
    Unit unit;
};

// Registers our side of some work as the benchmark "<work>/ours".
void addOurs(const std::string& work, Body body);
// Registers a peer's side as "<work>/<peer>" and the row of both.
void addPeer(const std::string& work, const std::string& peer, Body body, Kind kind = Kind::kPeer);
// The same for what takes so long that one run is one round, or what is no time.
void addOurs(const std::string& work, Measure measure);
void addPeer(const std::string& work, const std::string& peer, Measure measure, Kind kind,
             Unit unit);

const std::vector<Row>& rows();

// Ends the program when two sides do not do the same work: their times would
// mean nothing.
void require(bool same, const std::string& what);

void addBagRows();
void addEncoderRows();
void addFileRows();
void addLayoutRows();
void addMessagingRows();
void addProcessRows();
void addServiceRows();
void addTraceRows();

}  // namespace bench
