// Measures the framework beside its peers and prints one line for each pair.
//
// usage: zustd_bench [--quick] [Google Benchmark's own switches]
// The repetitions of all benchmarks are mixed at random, so that a busy moment
// of the machine falls on both sides. The table compares medians of real time,
// and in its last column the fastest repetitions, which other load on the
// machine disturbs least.
#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Rows.h"

namespace {

// A row this near to its limit is as good as there.
constexpr double kFarFromLimit = 1.5;

// Microseconds of real time, or kibibytes, for one run of a benchmark.
struct Times {
    double median = 0.0;
    double fastest = 0.0;
};

// Keeps the times and prints nothing before the table.
class TimesReporter final : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context& context) override {
        PrintBasicContext(&GetErrorStream(), context);
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                times_[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
            }
        }
    }

    // False when the benchmark was filtered out.
    bool find(const std::string& name, Times& times) const {
        const auto found = times_.find(name);
        if (found == times_.end()) {
            return false;
        }
        std::vector<double> sorted = found->second;
        std::sort(sorted.begin(), sorted.end());
        times = {sorted[sorted.size() / 2], sorted.front()};
        return true;
    }

private:
    std::map<std::string, std::vector<double>> times_;
};

const char* nameOf(bench::Unit unit) {
    constexpr const char* kNames[] = {"us", "ms", "KiB"};
    return kNames[static_cast<int>(unit)];
}

double scaled(double value, bench::Unit unit) {
    return unit == bench::Unit::kMilliseconds ? value / 1000 : value;
}

void printTable(const TimesReporter& reporter) {
    std::printf("\n%-23s | %-20s | %10s | %10s | %-4s | %6s | %7s\n", "row", "peer or limit",
                "ours", "theirs", "unit", "ratio", "fastest");
    int behind = 0;
    int far = 0;
    for (const bench::Row& row : bench::rows()) {
        Times ours;
        Times theirs;
        if (!reporter.find(row.ours, ours) || !reporter.find(row.theirs, theirs)) {
            continue;
        }
        const double ratio = ours.median / theirs.median;
        const bool isLimit = row.kind == bench::Kind::kLimit;
        behind += !isLimit && ratio > 1 ? 1 : 0;
        far += isLimit && ratio > kFarFromLimit ? 1 : 0;
        std::printf("%-23s | %-20s | %10.3f | %10.3f | %-4s | %6.2f | %7.2f\n", row.work.c_str(),
                    ((isLimit ? "= " : "") + row.peer).c_str(), scaled(ours.median, row.unit),
                    scaled(theirs.median, row.unit), nameOf(row.unit), ratio,
                    ours.fastest / theirs.fastest);
    }
    std::printf("\nBehind a peer (ratio above 1): %d rows. Beyond %.1f of a limit (=): %d rows.\n",
                behind, kFarFromLimit, far);
}

// The defaults come first: what the caller gives overrides them.
std::vector<std::string> withDefaults(int argc, char** argv) {
    bool quick = false;
    std::vector<std::string> given;
    for (int i = 1; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--quick") {
            quick = true;
        } else {
            given.emplace_back(argv[i]);
        }
    }
    std::vector<std::string> all{
        argv[0], "--benchmark_enable_random_interleaving=true",
        quick ? "--benchmark_repetitions=3" : "--benchmark_repetitions=21",
        quick ? "--benchmark_min_time=0.005" : "--benchmark_min_time=0.03"};
    all.insert(all.end(), given.begin(), given.end());
    return all;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> arguments = withDefaults(argc, argv);
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    int count = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) {
        return 1;
    }
    bench::addBagRows();
    bench::addEncoderRows();
    bench::addFileRows();
    bench::addLayoutRows();
    bench::addMessagingRows();
    bench::addProcessRows();
    bench::addServiceRows();
    bench::addTraceRows();

    TimesReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printTable(reporter);
    benchmark::Shutdown();
    return 0;
}
