// The utilities beside what a program would call instead: iconv_open, iconv and iconv_close for each text (read as
// pairs, Library over System, by text and direction); time, localtime_r, strftime and a string for a readable stamp of
// now; timegm for the seconds of a UTC time; std::filesystem for deleting trees and copying files.

#include "zorcomn/utilities.h"

#include "bench/compare.h"
#include "tests/support/temporary_folder.h"

#include <cstdint>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <iconv.h>

namespace {

using namespace zor::bench;
using zor::test::TemporaryFolder;

// ---- text conversion

std::string repeat(const std::string &piece, size_t bytes) {
    std::string text;
    while (text.size() + piece.size() <= bytes)
        text += piece;
    return text + std::string(bytes - text.size(), '.');
}

const std::string kAscii = "The quick brown fox jumps over the lazy dog. ";
// What the agent reports: names in the languages of the machine's users, among plain text.
const std::string kMixed = "ComputerName=z\xC3\xBCrich-7; UserName=J\xC3\xB6rg Meier, \xE6\x9D\xB1\xE4\xBA\xAC; "
                           "IPAddress=192.168.1.20; SubnetMask=255.255.255.0; OSType=Mac OS X; OSVersion=10.4.11; "
                           "FileSystem=/Volumes/\xF0\x9F\x98\x80 Gr\xC3\xBC\xC3\x9F"
                           "e; TotalDiskSpace=76293.95; TimeZone=CET; ";
// One character of each length in turn.
const std::string kDense = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";

/** A text of so many bytes, both ways, and room for either result. */
struct Subject {
    Subject(const std::string &piece, size_t bytes)
        : narrow(repeat(piece, bytes)), wide(velmora_com::vta::qelcomn_ansi_to_wide(narrow)),
          narrowRoom(6 * wide.size() + 1), wideRoom(narrow.size() + 1) {}

    std::string narrow;
    std::wstring wide;
    std::vector<char> narrowRoom;
    std::vector<wchar_t> wideRoom;
};

const char *const kWideEncoding = velmora_com::vta::isBigEndian() ? "UCS-4BE" : "UCS-4LE";

void convertBySystem(const char *to, const char *from, const void *in, size_t inBytes, void *out, size_t outBytes) {
    const iconv_t converter = iconv_open(to, from);
    char *input = static_cast<char *>(const_cast<void *>(in));
    char *output = static_cast<char *>(out);
    iconv(converter, &input, &inBytes, &output, &outBytes);
    iconv_close(converter);
}

void toUtf8ByLibrary(benchmark::State &state, const std::string &piece) {
    Subject subject(piece, static_cast<size_t>(state.range(0)));
    const int32_t capacity = static_cast<int32_t>(subject.narrowRoom.size());
    for (auto round : state) {
        qelcomn_unicode_to_utf8(subject.wide.c_str(), subject.narrowRoom.data(), &capacity);
        benchmark::ClobberMemory();
    }
    if (subject.narrow != subject.narrowRoom.data())
        state.SkipWithError("wrong result");
}

void toUtf8BySystem(benchmark::State &state, const std::string &piece) {
    Subject subject(piece, static_cast<size_t>(state.range(0)));
    for (auto round : state) {
        convertBySystem("UTF8", "WCHAR_T", subject.wide.c_str(), sizeof(wchar_t) * (subject.wide.size() + 1),
                        subject.narrowRoom.data(), subject.narrowRoom.size());
        benchmark::ClobberMemory();
    }
    if (subject.narrow != subject.narrowRoom.data())
        state.SkipWithError("wrong result");
}

void toWideByLibrary(benchmark::State &state, const std::string &piece) {
    Subject subject(piece, static_cast<size_t>(state.range(0)));
    const int32_t capacity = static_cast<int32_t>(subject.wideRoom.size());
    for (auto round : state) {
        qelcomn_utf8_to_unicode(subject.narrow.c_str(), subject.wideRoom.data(), &capacity);
        benchmark::ClobberMemory();
    }
    if (subject.wide != subject.wideRoom.data())
        state.SkipWithError("wrong result");
}

void toWideBySystem(benchmark::State &state, const std::string &piece) {
    Subject subject(piece, static_cast<size_t>(state.range(0)));
    for (auto round : state) {
        convertBySystem(kWideEncoding, "UTF8", subject.narrow.c_str(), subject.narrow.size() + 1,
                        subject.wideRoom.data(), sizeof(wchar_t) * subject.wideRoom.size());
        benchmark::ClobberMemory();
    }
    if (subject.wide != subject.wideRoom.data())
        state.SkipWithError("wrong result");
}

BENCHMARK_CAPTURE(toUtf8ByLibrary, ascii, kAscii)->Arg(16)->Arg(1024);
BENCHMARK_CAPTURE(toUtf8BySystem, ascii, kAscii)->Arg(16)->Arg(1024);
BENCHMARK_CAPTURE(toUtf8ByLibrary, mixed, kMixed)->Arg(16)->Arg(1024);
BENCHMARK_CAPTURE(toUtf8BySystem, mixed, kMixed)->Arg(16)->Arg(1024);
BENCHMARK_CAPTURE(toUtf8ByLibrary, dense, kDense)->Arg(1024);
BENCHMARK_CAPTURE(toUtf8BySystem, dense, kDense)->Arg(1024);
BENCHMARK_CAPTURE(toWideByLibrary, ascii, kAscii)->Arg(16)->Arg(1024);
BENCHMARK_CAPTURE(toWideBySystem, ascii, kAscii)->Arg(16)->Arg(1024);
BENCHMARK_CAPTURE(toWideByLibrary, mixed, kMixed)->Arg(16)->Arg(1024);
BENCHMARK_CAPTURE(toWideBySystem, mixed, kMixed)->Arg(16)->Arg(1024);
BENCHMARK_CAPTURE(toWideByLibrary, dense, kDense)->Arg(1024);
BENCHMARK_CAPTURE(toWideBySystem, dense, kDense)->Arg(1024);

// ---- time stamps

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

void secondsByLibrary(benchmark::State &state) {
    for (auto _ : state) {
        std::tm fields = {};
        fields.tm_year = 108;
        benchmark::DoNotOptimize(velmora_com::vta::zorcomn_timegm(&fields));
    }
}

void secondsByTimegm(benchmark::State &state) {
    for (auto _ : state) {
        std::tm fields = {};
        fields.tm_year = 108;
        benchmark::DoNotOptimize(timegm(&fields));
    }
}

BENCHMARK(secondsByTimegm);
BENCHMARK(secondsByLibrary);
BENCHMARK(strftimeStamp);
BENCHMARK(readableStamp);

// ---- trees and copies

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

BENCHMARK(deleteTree)->Arg(1000)->Arg(10000)->Arg(40000)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(copy)
    ->Arg(kMebibyte)
    ->Arg(64 * kMebibyte)
    ->Arg(256 * kMebibyte)
    ->Iterations(9)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
