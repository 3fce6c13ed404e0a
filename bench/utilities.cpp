// The utilities beside what a program would call instead: iconv, ICU and GLib for texts, strftime for stamps,
// std::filesystem for trees and copies.

#include "zorcomn/utilities.h"

#include "bench/compare.h"
#include "tests/support/temporary_folder.h"

#include <cstdint>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <iconv.h>

#ifdef ZORCOMN_HAS_ICU
#include <unicode/ustring.h>
#endif
#ifdef ZORCOMN_HAS_GLIB
#include <glib.h>
#endif
#ifdef ZORCOMN_HAS_LIBUV
#include <uv.h>
#endif
#ifdef ZORCOMN_HAS_APR
#include <apr_file_io.h>
#include <apr_general.h>
#endif

namespace {

using namespace zor::bench;
using benchmark::DoNotOptimize;
using zor::test::TemporaryFolder;

// ---- text conversion

std::string repeat(const std::string &piece, size_t bytes) {
    std::string text;
    text.reserve(bytes);
    while (text.size() + piece.size() <= bytes)
        text += piece;
    return text + std::string(bytes - text.size(), '.');
}

struct Language {
    const char *name;
    std::string piece;
};

const Language kLanguages[] = {
    {"ASCII", "The quick brown fox jumps over the lazy dog. "},
    // What the agent reports: names in the languages of the machine's users, among plain text.
    {"mixed", "ComputerName=z\xC3\xBCrich-7; UserName=J\xC3\xB6rg Meier, \xE6\x9D\xB1\xE4\xBA\xAC; "
              "IPAddress=192.168.1.20; SubnetMask=255.255.255.0; OSType=Mac OS X; OSVersion=10.4.11; "
              "FileSystem=/Volumes/\xF0\x9F\x98\x80 Gr\xC3\xBC\xC3\x9F"
              "e; TotalDiskSpace=76293.95; TimeZone=CET; "},
    // One character of each length in turn.
    {"dense", "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
};

/** A text of so many bytes, both ways, and room for either result. */
struct Subject {
    Subject(const std::string &piece, size_t bytes)
        : narrow(repeat(piece, bytes)), wide(velmora_com::vta::qelcomn_ansi_to_wide(narrow)),
          narrowRoom(6 * wide.size() + 1), wideRoom(narrow.size() + 1) {
#ifdef ZORCOMN_HAS_ICU
        utf16Room.resize(narrow.size() + 1);
        UErrorCode error = U_ZERO_ERROR;
        int32_t length = 0;
        u_strFromUTF8(utf16Room.data(), static_cast<int32_t>(utf16Room.size()), &length, narrow.c_str(),
                      static_cast<int32_t>(narrow.size()), &error);
        utf16.assign(utf16Room.data(), static_cast<size_t>(length));
#endif
    }

    std::string narrow;
    std::wstring wide;
    std::vector<char> narrowRoom;
    std::vector<wchar_t> wideRoom;
#ifdef ZORCOMN_HAS_ICU
    std::vector<UChar> utf16Room;
    std::basic_string<UChar> utf16;
#endif

    void toUtf8() {
        const auto capacity = static_cast<int32_t>(narrowRoom.size());
        qelcomn_unicode_to_utf8(wide.c_str(), narrowRoom.data(), &capacity);
        benchmark::ClobberMemory();
    }
    void toWide() {
        const auto capacity = static_cast<int32_t>(wideRoom.size());
        qelcomn_utf8_to_unicode(narrow.c_str(), wideRoom.data(), &capacity);
        benchmark::ClobberMemory();
    }
};

void convertBySystem(const char *to, const char *from, const void *in, size_t inBytes, void *out, size_t outBytes) {
    const iconv_t converter = iconv_open(to, from);
    char *input = static_cast<char *>(const_cast<void *>(in));
    char *output = static_cast<char *>(out);
    iconv(converter, &input, &inBytes, &output, &outBytes);
    iconv_close(converter);
    benchmark::ClobberMemory();
}

using Convert = void (*)(Subject &);

struct Converter {
    const char *name;
    Convert toUtf8, toWide;
};

const Converter kConverters[] = {
    {"iconv, opened for each text",
     [](Subject &subject) {
         convertBySystem("UTF8", "WCHAR_T", subject.wide.c_str(), sizeof(wchar_t) * (subject.wide.size() + 1),
                         subject.narrowRoom.data(), subject.narrowRoom.size());
     },
     [](Subject &subject) {
         convertBySystem("WCHAR_T", "UTF8", subject.narrow.c_str(), subject.narrow.size() + 1, subject.wideRoom.data(),
                         sizeof(wchar_t) * subject.wideRoom.size());
     }},
#ifdef ZORCOMN_HAS_ICU
    {"ICU (UTF-16, which it works in)",
     [](Subject &subject) {
         UErrorCode error = U_ZERO_ERROR;
         int32_t length = 0;
         u_strToUTF8(subject.narrowRoom.data(), static_cast<int32_t>(subject.narrowRoom.size()), &length,
                     subject.utf16.c_str(), -1, &error);
         benchmark::ClobberMemory();
     },
     [](Subject &subject) {
         UErrorCode error = U_ZERO_ERROR;
         int32_t length = 0;
         u_strFromUTF8(subject.utf16Room.data(), static_cast<int32_t>(subject.utf16Room.size()), &length,
                       subject.narrow.c_str(), -1, &error);
         benchmark::ClobberMemory();
     }},
#endif
#ifdef ZORCOMN_HAS_GLIB
    {"GLib",
     [](Subject &subject) {
         char *const made =
             g_ucs4_to_utf8(reinterpret_cast<const gunichar *>(subject.wide.c_str()), -1, nullptr, nullptr, nullptr);
         DoNotOptimize(made);
         g_free(made);
     },
     [](Subject &subject) {
         gunichar *const made = g_utf8_to_ucs4(subject.narrow.c_str(), -1, nullptr, nullptr, nullptr);
         DoNotOptimize(made);
         g_free(made);
     }},
#endif
    {"a copy of the wide text",
     [](Subject &subject) {
         std::memcpy(subject.wideRoom.data(), subject.wide.c_str(), (subject.wide.size() + 1) * sizeof(wchar_t));
         benchmark::ClobberMemory();
     },
     [](Subject &subject) {
         std::memcpy(subject.wideRoom.data(), subject.wide.c_str(), (subject.wide.size() + 1) * sizeof(wchar_t));
         benchmark::ClobberMemory();
     }},
};

void addTexts() {
    for (const Language &language : kLanguages)
        for (const size_t bytes : {16, 1024})
            for (const Converter &converter : kConverters) {
                const auto subject = std::make_shared<Subject>(language.piece, bytes);
                const std::string what = std::string(language.name) + ", " + std::to_string(bytes) + " bytes";
                addCalls(
                    "texts/to UTF-8, " + what + "/" + converter.name, [=] { subject->toUtf8(); },
                    [=] { converter.toUtf8(*subject); });
                addCalls(
                    "texts/to wide, " + what + "/" + converter.name, [=] { subject->toWide(); },
                    [=] { converter.toWide(*subject); });
            }
#ifndef ZORCOMN_HAS_ICU
    addMissing("texts/to UTF-8/ICU", "libicu-dev");
#endif
#ifndef ZORCOMN_HAS_GLIB
    addMissing("texts/to UTF-8/GLib", "libglib2.0-dev");
#endif
#ifndef ZORCOMN_HAS_SIMDUTF
    addMissing("texts/to UTF-8/simdutf", "libsimdutf-dev, which Debian 12 does not have");
#endif
    for (const size_t kibibytes : {1, 16, 256, 4096, 65536})
        add("growth/text/" + std::to_string(kibibytes * 1024), kibibytes < 4096 ? 51 : 5, [=](benchmark::State &state) {
            Subject subject(kLanguages[1].piece, kibibytes * 1024);
            const auto bytes = static_cast<int64_t>(subject.narrow.size());
            compareWork(
                state, bytes, [] {},
                [&] {
                    subject.toWide();
                    return bytes;
                },
                [&] {
                    kConverters[0].toWide(subject);
                    return bytes;
                });
        });
}

// ---- time stamps

void stampByStrftime() {
    const std::time_t now = std::time(nullptr);
    std::tm fields;
    localtime_r(&now, &fields);
    char text[32];
    const size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &fields);
    DoNotOptimize(std::string(text, length));
}

void addStamps() {
    const auto ours = [] { DoNotOptimize(velmora_com::vta::qelcomn_get_time_stamp_ansi()); };
    addCalls("time/readable stamp/time, localtime_r, strftime", ours, stampByStrftime);
#ifdef ZORCOMN_HAS_GLIB
    addCalls("time/readable stamp/GLib", ours, [] {
        GDateTime *const now = g_date_time_new_now_local();
        char *const text = g_date_time_format(now, "%Y-%m-%d %H:%M:%S");
        DoNotOptimize(text);
        g_free(text);
        g_date_time_unref(now);
    });
#endif
    addCalls(
        "time/seconds of a UTC time/timegm",
        [] {
            std::tm fields = {};
            fields.tm_year = 108;
            DoNotOptimize(velmora_com::vta::zorcomn_timegm(&fields));
        },
        [] {
            std::tm fields = {};
            fields.tm_year = 108;
            DoNotOptimize(timegm(&fields));
        });
}

// ---- trees and copies

void deleteTree(benchmark::State &state, int64_t files) {
    constexpr int64_t kFilesPerFolder = 100;
    const TemporaryFolder folder;
    const std::string tree = folder / "tree";
    const auto makeTree = [&] {
        for (int64_t i = 0; i < files / kFilesPerFolder; ++i)
            makeFiles(tree + "/" + std::to_string(i), kFilesPerFolder);
    };
    compareWork(
        state, files, makeTree, [&] { return qelcomn_deltree(tree.c_str()) == 0 ? files : 0; },
        [&] { return std::filesystem::remove_all(tree) > 0 ? files : 0; });
}

using Copy = bool (*)(const std::string &source, const std::string &destination);

bool copyByFilesystem(const std::string &source, const std::string &destination) {
    return std::filesystem::copy_file(source, destination);
}

#ifdef ZORCOMN_HAS_LIBUV
bool copyByLibuv(const std::string &source, const std::string &destination) {
    uv_fs_t request;
    const int result =
        uv_fs_copyfile(nullptr, &request, source.c_str(), destination.c_str(), UV_FS_COPYFILE_EXCL, nullptr);
    uv_fs_req_cleanup(&request);
    return result == 0;
}
#endif

#ifdef ZORCOMN_HAS_APR
bool copyByApr(const std::string &source, const std::string &destination) {
    static apr_pool_t *const parent = [] {
        apr_initialize();
        apr_pool_t *made = nullptr;
        apr_pool_create(&made, nullptr);
        return made;
    }();
    apr_pool_t *pool = nullptr;
    apr_pool_create(&pool, parent);
    const apr_status_t status = apr_file_copy(source.c_str(), destination.c_str(), APR_FILE_SOURCE_PERMS, pool);
    apr_pool_destroy(pool);
    return status == APR_SUCCESS;
}
#endif

void copy(benchmark::State &state, int64_t bytes, Copy other) {
    const TemporaryFolder folder;
    const std::string source = folder.write("source", std::string(static_cast<size_t>(bytes), 'x'));
    const std::string destination = folder / "copy";
    compareWork(
        state, bytes, [&] { std::filesystem::remove(destination); },
        [&] { return qelcomn_copy_file(source.c_str(), destination.c_str(), 1) == 1 ? bytes : 0; },
        [&] { return other(source, destination) ? bytes : 0; });
}

constexpr int64_t kMebibyte = 1024 * 1024;

void addFiles() {
    add("files/delete a tree of 1,000/std::filesystem", 11, [](benchmark::State &state) { deleteTree(state, 1000); });
    const auto addCopy = [](const std::string &name, Copy other) {
        for (const int64_t mebibytes : {1, 64})
            add("files/copy " + std::to_string(mebibytes) + " MiB/" + name, 15,
                [=](benchmark::State &state) { copy(state, mebibytes * kMebibyte, other); });
    };
    addCopy("std::filesystem", copyByFilesystem);
#ifdef ZORCOMN_HAS_LIBUV
    addCopy("libuv", copyByLibuv);
#else
    addMissing("files/copy 64 MiB/libuv", "libuv1-dev");
#endif
#ifdef ZORCOMN_HAS_APR
    addCopy("APR", copyByApr);
#else
    addMissing("files/copy 64 MiB/APR", "libapr1-dev");
#endif
}

const bool areAdded = [] {
    addTexts();
    addStamps();
    addFiles();
    return true;
}();

} // namespace
