// Benchmark report: for every pair "<work>/ours" and "<work>/baseline", the CPU time of the fastest
// repetition and the ratio.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

class RatioReport : public benchmark::BenchmarkReporter {
public:
    explicit RatioReport(double goal) : goal_(goal) {}

    bool ReportContext(const Context &context) override {
        PrintBasicContext(&GetErrorStream(), context);
        return true;
    }

    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs)
            if (run.run_type == Run::RT_Iteration)
                note(run.run_name.function_name, run.GetAdjustedCPUTime());
    }

    void Finalize() override {
        printf("%-24s %12s %12s   ratio (goal: at most %.2f)\n", "", "ours", "baseline", goal_);
        for (const auto &[name, ours] : fastest_) {
            if (!name.ends_with("/ours"))
                continue;
            const std::string work = name.substr(0, name.rfind('/'));
            const double baseline = fastest_.at(work + "/baseline");
            printf("%-24s %12.2f %12.2f   %.2f\n", work.c_str(), ours, baseline, ours / baseline);
        }
    }

private:
    void note(const std::string &name, double time) {
        const auto [place, is_new] = fastest_.emplace(name, time);
        place->second = std::min(place->second, time);
    }

    double goal_;
    std::map<std::string, double> fastest_;
};

// Runs everything registered; the repetitions of a pair are mixed, so that both sides see the same
// machine. Arguments of the command line come last and win.
inline int run_side_by_side(int argc, char **argv, double goal) {
    static char repetitions[] = "--benchmark_repetitions=11";
    static char mixed[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char *> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, {repetitions, mixed});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    RatioReport report{goal};
    benchmark::RunSpecifiedBenchmarks(&report);
    return 0;
}
