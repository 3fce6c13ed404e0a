#pragma once

// Two ways of doing the same work, run in turn, so that whatever else the machine does strikes both. The time shown is
// the library's, the counter ratio the median of the library's times over the median of the other's, per_item what the
// library takes for one entry or byte: with more items it must not grow.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace zor::bench {

template <class Work> double secondsOf(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/** Runs prepare, untimed, before each; the work returns how many items it did, which must be as many as asked for. */
template <class Prepare, class Library, class Other>
void compare(benchmark::State &state, int64_t items, Prepare prepare, Library library, Other other) {
    std::vector<double> libraryTimes, otherTimes;
    for (auto _ : state) {
        int64_t done = 0, doneByOther = 0;
        prepare();
        libraryTimes.push_back(secondsOf([&] { done = library(); }));
        prepare();
        otherTimes.push_back(secondsOf([&] { doneByOther = other(); }));
        state.SetIterationTime(libraryTimes.back());
        if (done != items || doneByOther != items) {
            state.SkipWithError("not everything was done");
            break;
        }
    }
    if (libraryTimes.empty())
        return;
    state.counters["ratio"] = median(libraryTimes) / median(otherTimes);
    state.counters["per_item"] = median(libraryTimes) / static_cast<double>(items);
}

inline void makeFiles(const std::string &folder, int64_t count) {
    std::filesystem::create_directories(folder);
    for (int64_t i = 0; i < count; ++i)
        std::ofstream(folder + "/file" + std::to_string(i) + ".log");
}

} // namespace zor::bench
