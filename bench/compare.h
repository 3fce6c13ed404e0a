#pragma once

// Two ways of doing the same work, run in turn in one process, so that whatever else the machine does strikes both.
// Each iteration is one round: a batch of the library's calls and one of the other's, whichever begins changing from
// round to round. bench/report.py makes the tables of docs/performance.md of the counters:
//
//     library_ns, other_ns     the shortest time of one item over all rounds, in nanoseconds
//     library_median_ns, ...   the median of the rounds'
//     library_cpu_ns, ...      the shortest in processor time of the whole process
//     ratio                    library over other in processor time, the median of the rounds'
//     low, high                a tenth of the rounds has a ratio below low, a tenth one above high
//     library_switches, ...    voluntary context switches for one item, where threads wait for each other
//
// A case is named group/what/other. Where the other is not installed the case says so and is skipped.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

namespace zor::bench {

/** What doing something took. */
struct Spent {
    double wall = 0, processor = 0; // seconds
    long switches = 0;              // times that a thread gave its processor up to wait
};

inline double seconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

inline double processorSeconds() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

inline long voluntarySwitches() {
    rusage used;
    getrusage(RUSAGE_SELF, &used);
    return used.ru_nvcsw;
}

template <class Work> Spent spentOn(Work work) {
    const long switches = voluntarySwitches();
    const double processor = processorSeconds();
    const auto start = std::chrono::steady_clock::now();
    work();
    Spent spent;
    spent.wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    spent.processor = processorSeconds() - processor;
    spent.switches = voluntarySwitches() - switches;
    return spent;
}

/** The value that so large a share of the values lies below. */
inline double quantile(std::vector<double> values, double share) {
    const auto place = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1) + 0.5);
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<size_t>(place)];
}

/** The rounds of one way. */
struct Rounds {
    std::vector<double> wall, processor;
    long switches = 0;
    void add(const Spent &spent) {
        wall.push_back(spent.wall);
        processor.push_back(spent.processor);
        switches += spent.switches;
    }
    void tell(benchmark::State &state, const std::string &name, double items) const {
        const auto least = [](const std::vector<double> &values) {
            return *std::min_element(values.begin(), values.end());
        };
        state.counters[name + "_ns"] = least(wall) * 1e9 / items;
        state.counters[name + "_median_ns"] = quantile(wall, 0.5) * 1e9 / items;
        state.counters[name + "_cpu_ns"] = least(processor) * 1e9 / items;
        state.counters[name + "_switches"] = static_cast<double>(switches) / static_cast<double>(wall.size()) / items;
    }
};

inline void tell(benchmark::State &state, const Rounds &library, const Rounds &other, double items) {
    if (library.wall.empty() || other.wall.empty())
        return;
    std::vector<double> ratios;
    for (size_t i = 0; i < library.processor.size(); ++i)
        ratios.push_back(library.processor[i] / other.processor[i]);
    state.counters["ratio"] = quantile(ratios, 0.5);
    state.counters["low"] = quantile(ratios, 0.1);
    state.counters["high"] = quantile(ratios, 0.9);
    state.counters["items"] = items;
    library.tell(state, "library", items);
    other.tell(state, "other", items);
}

/** Work that each way does on as many items; prepare runs before each, untimed. Either returns how many it did. */
template <class Prepare, class Library, class Other>
void compareWork(benchmark::State &state, int64_t items, Prepare prepare, Library library, Other other) {
    Rounds ours, theirs;
    bool isOtherFirst = false;
    for (auto _ : state) {
        int64_t done = 0, doneByOther = 0;
        for (const bool isOther : {isOtherFirst, !isOtherFirst}) {
            prepare();
            if (isOther)
                theirs.add(spentOn([&] { doneByOther = other(); }));
            else
                ours.add(spentOn([&] { done = library(); }));
        }
        isOtherFirst = !isOtherFirst;
        state.SetIterationTime(ours.wall.back());
        if (done != items || doneByOther != items) {
            state.SkipWithError("not everything was done");
            return;
        }
    }
    tell(state, ours, theirs, static_cast<double>(items));
}

/** As many calls as take this long make a batch. */
constexpr double kBatchSeconds = 5e-4;

template <class Call> int64_t callsInBatch(Call call) {
    for (int64_t calls = 1;; calls *= 2) {
        const double taken = spentOn([&] {
                                 for (int64_t i = 0; i < calls; ++i)
                                     call();
                             }).wall;
        if (taken >= kBatchSeconds || calls >= int64_t{1} << 30)
            return calls;
    }
}

/** Short calls, many to a round. */
template <class Library, class Other> void compareCalls(benchmark::State &state, Library library, Other other) {
    const int64_t calls = std::max(callsInBatch(library), callsInBatch(other));
    const auto batchOf = [calls](auto &call) {
        return [calls, &call] {
            for (int64_t i = 0; i < calls; ++i)
                call();
            return calls;
        };
    };
    compareWork(
        state, calls, [] {}, batchOf(library), batchOf(other));
}

/** Registers a case of so many rounds. */
template <class Run> void add(const std::string &name, int rounds, Run run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->Iterations(rounds)->UseManualTime()->Unit(benchmark::kNanosecond);
}

/** Registers a comparison of short calls. */
template <class Library, class Other> void addCalls(const std::string &name, Library library, Other other) {
    add(name, 31, [=](benchmark::State &state) { compareCalls(state, library, other); });
}

/** A case whose peer is not installed. */
inline void addMissing(const std::string &name, const char *package) {
    add(name, 1,
        [=](benchmark::State &state) { state.SkipWithError((std::string("not installed: ") + package).c_str()); });
}

/** How the work grows, without a peer: the counters item_ns and items. */
template <class Prepare, class Work>
void measureGrowth(benchmark::State &state, int64_t items, Prepare prepare, Work work) {
    Rounds rounds;
    for (auto _ : state) {
        prepare();
        int64_t done = 0;
        rounds.add(spentOn([&] { done = work(); }));
        state.SetIterationTime(rounds.wall.back());
        if (done != items) {
            state.SkipWithError("not everything was done");
            return;
        }
    }
    state.counters["items"] = static_cast<double>(items);
    rounds.tell(state, "library", static_cast<double>(items));
}

inline void makeFiles(const std::string &folder, int64_t count) {
    std::filesystem::create_directories(folder);
    for (int64_t i = 0; i < count; ++i)
        std::ofstream(folder + "/file" + std::to_string(i) + ".log");
}

} // namespace zor::bench
