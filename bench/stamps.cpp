// A readable stamp of now beside what a user would write instead: time, localtime_r, strftime and a string.

#include "zorcomn/utilities.h"

#include <ctime>
#include <string>

#include <benchmark/benchmark.h>

namespace {

void readableStamp(benchmark::State &state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(velmora_com::vta::qelcomn_get_time_stamp_ansi());
}

void strftimeStamp(benchmark::State &state) {
    for (auto _ : state) {
        const std::time_t now = std::time(nullptr);
        std::tm fields;
        localtime_r(&now, &fields);
        char text[32];
        const size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields);
        benchmark::DoNotOptimize(std::string(text, length));
    }
}

BENCHMARK(strftimeStamp);
BENCHMARK(readableStamp);

} // namespace
