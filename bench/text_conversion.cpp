// The library's text conversion beside what a program would call instead: iconv_open, iconv and iconv_close for each
// text. Read them as pairs: Library over System, by text and direction.

#include "zorcomn/utilities.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <iconv.h>

namespace {

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

} // namespace
