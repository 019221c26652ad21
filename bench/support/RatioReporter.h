// A console reporter that also prints, after the run, how each measured
// function compares with its named baseline from the same run.
//
// Register pairs with `Compare(subject, baseline)` using the full benchmark
// names; the closing table gives both times and baseline/subject (above 1
// means the subject is faster). With --benchmark_repetitions it compares the
// medians, which a busy machine disturbs least.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace benchsupport {

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void Compare(std::string subject, std::string baseline) {
        pairs_.emplace_back(std::move(subject), std::move(baseline));
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if ((run.run_type == Run::RT_Iteration || median) && !Skipped(run, 0)) {
                std::string name = WithoutSuffix(run.run_name.str());
                if (median || medians_.count(name) == 0) {
                    seconds_[name] =
                        run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
                }
                if (median) {
                    medians_.insert(std::move(name));
                }
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // Prints the comparison table; returns the number of pairs with a side missing.
    int PrintRatios() const {
        int missing = 0;
        std::printf("\n%-52s %12s %12s %8s\n", "subject vs baseline", "subject", "baseline",
                    "ratio");
        for (const auto& [subject, baseline] : pairs_) {
            const auto s = seconds_.find(subject);
            const auto b = seconds_.find(baseline);
            if (s == seconds_.end() || b == seconds_.end()) {
                ++missing;
                continue;
            }
            std::printf("%-52s %10.3fms %10.3fms %7.2fx\n",
                        (subject + " vs " + Short(baseline)).c_str(), s->second * 1e3,
                        b->second * 1e3, b->second / s->second);
        }
        return missing;
    }

private:
    // Whether a run has no time to compare: Google Benchmark 1.7 says so in
    // `error_occurred`, 1.8 and later in `skipped`; the member present decides.
    template <typename R>
    static auto Skipped(const R& run, int) -> decltype(static_cast<bool>(run.error_occurred)) {
        return run.error_occurred;
    }
    template <typename R> static bool Skipped(const R& run, long) {
        return static_cast<int>(run.skipped) != 0;
    }

    // The name as registered, without the options Google Benchmark appends.
    static std::string WithoutSuffix(std::string name) {
        for (const char* option : {"/iterations:", "/min_time:", "/real_time"}) {
            const std::size_t at = name.find(option);
            if (at != std::string::npos) {
                name.resize(at);
            }
        }
        return name;
    }

    static std::string Short(const std::string& name) { return name.substr(0, name.find('/')); }

    std::vector<std::pair<std::string, std::string>> pairs_;
    std::map<std::string, double> seconds_;
    std::set<std::string> medians_; // names whose time is a median of repetitions
};

// Runs the registered benchmarks with `reporter` and prints its table.
inline int RunWithRatios(int argc, char** argv, RatioReporter& reporter) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}

} // namespace benchsupport
