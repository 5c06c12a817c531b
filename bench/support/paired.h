// Two pieces of work timed in turn, so that both meet the same machine.
#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <vector>

namespace kx3::bench {

/// Time of one call, in seconds.
template <class Work> double secondsOf(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

/// Alternate `ours` and `bare`; report ours, with the ratio of the medians as counter "ratio". Call
/// on a benchmark that uses manual time. Gives the median of ours in seconds.
template <class Ours, class Bare> double measurePair(benchmark::State &state, Ours ours, Bare bare) {
    std::vector<double> oursTimes;
    std::vector<double> bareTimes;
    for (auto _ : state) {
        oursTimes.push_back(secondsOf(ours));
        bareTimes.push_back(secondsOf(bare));
        state.SetIterationTime(oursTimes.back());
    }
    state.counters["ratio"] = median(oursTimes) / median(bareTimes);
    return median(oursTimes);
}

} // namespace kx3::bench
