// Directory search, recursive delete and file copy beside what a program would call instead. Each case runs both in
// turn, so that whatever else the machine does strikes both; the time shown is the library's, the counter ratio the
// median of the library's times over the median of the other's, per_item what the library takes for one entry or byte:
// with more items it must not grow.

#include "zorcomn/portability.h"
#include "zorcomn/utilities.h"

#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

namespace {

using zor::test::TemporaryFolder;

template <class Work> double secondsOf(Work work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
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

void makeFiles(const std::string &folder, int64_t count) {
    std::filesystem::create_directories(folder);
    for (int64_t i = 0; i < count; ++i)
        std::ofstream(folder + "/file" + std::to_string(i) + ".log");
}

int64_t searchWithLibrary(const std::string &folder) {
    qelFindData data;
    const int32_t search = qelFindFirstDirEnt((folder + "/file*.log").c_str(), &data);
    int64_t count = 0;
    if (search == -1)
        return count;
    do
        count += data.lastWriteTime != 0;
    while (qelFindNextDirEnt(search, &data) == 1);
    qelFindCloseDirEnt(search);
    return count;
}

int64_t searchByHand(const std::string &folder) {
    DIR *const stream = opendir(folder.c_str());
    char path[520];
    std::memcpy(path, folder.c_str(), folder.size());
    path[folder.size()] = '/';
    int64_t count = 0;
    while (const dirent *entry = readdir(stream)) {
        if (fnmatch("file*.log", entry->d_name, 0) != 0)
            continue;
        std::strcpy(path + folder.size() + 1, entry->d_name);
        struct stat facts;
        count += stat(path, &facts) == 0 && facts.st_mtime != 0;
    }
    closedir(stream);
    return count;
}

void search(benchmark::State &state) {
    const TemporaryFolder folder;
    makeFiles(folder.path(), state.range(0));
    compare(
        state, state.range(0), [] {}, [&] { return searchWithLibrary(folder.path()); },
        [&] { return searchByHand(folder.path()); });
}

void deleteTree(benchmark::State &state) {
    constexpr int64_t kFilesPerFolder = 100;
    const TemporaryFolder folder;
    const std::string tree = folder / "tree";
    const auto makeTree = [&] {
        for (int64_t i = 0; i < state.range(0) / kFilesPerFolder; ++i)
            makeFiles(tree + "/" + std::to_string(i), kFilesPerFolder);
    };
    compare(
        state, state.range(0), makeTree, [&] { return qelcomn_deltree(tree.c_str()) == 0 ? state.range(0) : 0; },
        [&] { return std::filesystem::remove_all(tree) > 0 ? state.range(0) : 0; });
}

void copy(benchmark::State &state) {
    const TemporaryFolder folder;
    const std::string source = folder.write("source", std::string(static_cast<size_t>(state.range(0)), 'x'));
    const std::string destination = folder / "copy";
    compare(
        state, state.range(0), [&] { std::filesystem::remove(destination); },
        [&] { return qelcomn_copy_file(source.c_str(), destination.c_str(), 1) == 1 ? state.range(0) : 0; },
        [&] { return std::filesystem::copy_file(source, destination) ? state.range(0) : 0; });
}

constexpr int64_t kMebibyte = 1024 * 1024;

BENCHMARK(search)->Arg(1000)->Arg(10000)->Arg(40000)->Iterations(31)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(deleteTree)->Arg(1000)->Arg(10000)->Arg(40000)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(copy)
    ->Arg(kMebibyte)
    ->Arg(64 * kMebibyte)
    ->Arg(256 * kMebibyte)
    ->Iterations(9)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
