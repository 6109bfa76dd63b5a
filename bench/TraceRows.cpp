// What a trace call costs while tracing is off.
#include <string>

#include "Rows.h"
#include "ZuPlankton.h"

namespace bench {

namespace {

constexpr int kCalls = 1000;

// Stands for the work around a call: the compiler may keep nothing that it
// read from memory before.
void otherWork(int& i) {
    benchmark::DoNotOptimize(i);
    benchmark::ClobberMemory();
}

void traceOff(benchmark::State& state) {
    require(zustd::traceSettings == nullptr, "tracing is on");
    const std::wstring name = L"view.column.width";
    for (auto _ : state) {
        for (int i = 0; i < kCalls; ++i) {
            ZU_TRACE(L"row %d of %ls", i, (name + L".123").c_str());
            otherWork(i);
        }
    }
}

void emptyLoop(benchmark::State& state) {
    for (auto _ : state) {
        for (int i = 0; i < kCalls; ++i) {
            otherWork(i);
        }
    }
}

}  // namespace

void addTraceRows() {
    addOurs("1000 traces, off", traceOff);
    addPeer("1000 traces, off", "empty loop", emptyLoop);
}

}  // namespace bench
