// Texts, files, time stamps, identity, paths.

#include "tests/torture/cases.h"

#include "zorcomn/utilities.h"

#include <cstring>
#include <ctime>
#include <optional>

#include <pthread.h>
#include <unistd.h>

using namespace velmora_com::vta;

namespace zor::torture {

namespace {

const std::string kLong = "a text that no small buffer inside an object holds \xC3\xA4\xE2\x82\xAC";
const std::wstring kLongWide = L"a text that no small buffer inside an object holds \u00E4\u20AC";

/** A text that fails empty. */
template <class Text, class Body> void tellText(Outcome &outcome, Body body) {
    const Text text = faulty(body);
    outcome.field("text", text, {""});
}

/** The fields of a stamp, which are empty when the time cannot be broken down. */
void tellStamp(Outcome &outcome, const char *stamp) {
    outcome.field("stamp", stamp, {""});
}

std::vector<Case> texts() {
    return {
        {"qelcomn_wide_to_ansi",
         [](Outcome &outcome) {
             std::wstring text = kLongWide;
             tellText<std::string>(outcome, [&] { return qelcomn_wide_to_ansi(std::move(text)); });
         }},
        {"qelcomn_ansi_to_wide",
         [](Outcome &outcome) {
             std::string text = kLong;
             tellText<std::wstring>(outcome, [&] { return qelcomn_ansi_to_wide(std::move(text)); });
         }},
        {"qelcomn_ansi_to_wide",
         [](Outcome &outcome) { // of which a part is doubtful
             std::string text = "before \xF0\x9F\x98\x80 \xFF after";
             tellText<std::wstring>(outcome, [&] { return qelcomn_ansi_to_wide(std::move(text)); });
         }},
        {"qelcomn_unicode_to_utf8",
         [](Outcome &outcome) {
             char text[512] = "";
             const int32_t capacity = sizeof text;
             const uint32_t result =
                 faulty([&] { return qelcomn_unicode_to_utf8(kLongWide.c_str(), text, &capacity); });
             if (outcome.succeeded(result == 0))
                 outcome.field("text", text);
         }},
        {"qelcomn_unicode_to_utf8",
         [](Outcome &outcome) { // within one buffer
             wchar_t text[512] = L"within one buffer";
             const int32_t capacity = sizeof text;
             char *const narrow = reinterpret_cast<char *>(text);
             const uint32_t result = faulty([&] { return qelcomn_unicode_to_utf8(text, narrow, &capacity); });
             if (outcome.succeeded(result == 0))
                 outcome.field("text", narrow);
             else
                 outcome.require(std::wstring(text) == L"within one buffer", "the text is lost");
         }},
        {"qelcomn_utf8_to_unicode",
         [](Outcome &outcome) {
             wchar_t text[512] = L"";
             const int32_t capacity = 512;
             const uint32_t result = faulty([&] { return qelcomn_utf8_to_unicode(kLong.c_str(), text, &capacity); });
             if (outcome.succeeded(result == 0))
                 outcome.field("text", std::wstring(text));
         }},
        {"qelcomn_utf8_to_unicode",
         [](Outcome &outcome) { // with a part that is doubtful
             wchar_t text[512] = L"";
             const int32_t capacity = 512;
             const uint32_t result = faulty([&] { return qelcomn_utf8_to_unicode("doubt \xFF ful", text, &capacity); });
             if (outcome.succeeded(result == 0))
                 outcome.field("text", std::wstring(text), {""}); // nothing at all without a converter
         }},
        {"qelcomn_chop_semicolon qelcomn_append_backslash_check",
         [](Outcome &outcome) {
             char text[16] = "abc;def";
             faulty([&] {
                 qelcomn_chop_semicolon(text);
                 qelcomn_append_backslash_check(text);
             });
             outcome.field("text", text);
         }},
        {"qelcomn_long_to_wide_string",
         [](Outcome &outcome) {
             tellText<std::wstring>(outcome, [] { return qelcomn_long_to_wide_string(-1234567890L); });
         }},
        {"qelcomn_ulong_to_wide_string",
         [](Outcome &outcome) {
             tellText<std::wstring>(outcome, [] { return qelcomn_ulong_to_wide_string(1234567890UL); });
         }},
        {"qelcomn_long_to_ansi_string",
         [](Outcome &outcome) {
             tellText<std::string>(outcome, [] { return qelcomn_long_to_ansi_string(-1234567890123456789L); });
         }},
        {"qelcomn_convert_to_upper",
         [](Outcome &outcome) {
             std::string text = kLong;
             tellText<std::string>(outcome, [&] { return qelcomn_convert_to_upper(std::move(text)); });
         }},
        {"qelcomn_convert_to_lower",
         [](Outcome &outcome) {
             std::string text = kLong;
             tellText<std::string>(outcome, [&] { return qelcomn_convert_to_lower(std::move(text)); });
         }},
        {"qelcomn_strip_leading_whitespace",
         [](Outcome &outcome) {
             std::string text = "  " + kLong;
             tellText<std::string>(outcome, [&] { return qelcomn_strip_leading_whitespace(std::move(text)); });
         }},
        {"qelcomn_strip_trailing_whitespace",
         [](Outcome &outcome) {
             std::string text = kLong + "  ";
             tellText<std::string>(outcome, [&] { return qelcomn_strip_trailing_whitespace(std::move(text)); });
         }},
        {"isBigEndian",
         [](Outcome &outcome) { outcome.field("result", std::to_string(faulty([] { return isBigEndian(); }))); }},
    };
}

std::vector<Case> files() {
    return {
        {"qeCreateFile",
         [](Outcome &outcome) {
             writeWork("old", "content");
             const std::string path = workPath("old");
             qeFileObject *file = nullptr;
             const uint32_t result = faulty([&] { return qeCreateFile(path.c_str(), 0x40000000u, 0, 2, 0, &file); });
             const bool isOpen = outcome.succeeded(result == 0);
             outcome.require(isOpen == (file != nullptr), "an object without success");
             outcome.require(readWork("old") == (isOpen ? "" : "content"), "a call that failed emptied the file");
             if (file)
                 qeCloseFile(file);
         }},
        {"qeReadFile qeGetFileSize",
         [](Outcome &outcome) {
             writeWork("file", "content");
             qeFileObject *file = nullptr;
             qeCreateFile(workPath("file").c_str(), 0x80000000u, 0, 3, 0, &file);
             char buffer[16] = "";
             uint32_t count = 0, size = 0;
             if (faulty([&] { return qeReadFile(file, buffer, 7, &count); }) == 0)
                 outcome.require(std::string(buffer, count) == std::string("content").substr(0, count),
                                 "read what is not in the file");
             else
                 outcome.failed();
             if (faulty([&] { return qeGetFileSize(file, &size); }) == 0)
                 outcome.field("size", std::to_string(size));
             else
                 outcome.failed();
             qeCloseFile(file);
         }},
        {"qeWriteFile qeCloseFile",
         [](Outcome &outcome) {
             qeFileObject *file = nullptr;
             qeCreateFile(workPath("file").c_str(), 0x40000000u, 0, 1, 0, &file);
             uint32_t count = 0;
             const bool isWritten = faulty([&] { return qeWriteFile(file, "content", 7, &count); }) == 0;
             const bool isClosed = faulty([&] { return qeCloseFile(file); }) == 0;
             if (!isClosed)
                 outcome.mayKeep(2); // the handle lives on, for good
             if (outcome.succeeded(isWritten && isClosed))
                 outcome.require(readWork("file") == std::string("content").substr(0, count), "another content");
         }},
        {"qeFolderExists",
         [](Outcome &outcome) {
             outcome.field("result", std::to_string(faulty([] { return qeFolderExists(workFolder().c_str()); })),
                           {"0"});
         }},
        {"qelcomn_get_file_sizeA",
         [](Outcome &outcome) {
             writeWork("file", "content");
             const std::string path = workPath("file");
             uint32_t size = 77;
             if (outcome.succeeded(faulty([&] { return qelcomn_get_file_sizeA(path.c_str(), &size); }) == 0))
                 outcome.field("size", std::to_string(size));
         }},
        {"qelcomn_get_disk_free_spaceA",
         [](Outcome &outcome) {
             int64_t bytes = 77;
             if (!outcome.succeeded(faulty([&] { return qelcomn_get_disk_free_spaceA("/proc", &bytes); }) == 0))
                 outcome.require(bytes == 77, "a number without success");
             else
                 outcome.field("bytes", std::to_string(bytes));
         }},
        {"qelcomn_deltree",
         [](Outcome &outcome) {
             const std::string folder = workPath("tree");
             qelcomn_MakeRecursiveDirectoryA((folder + "/below/").c_str());
             writeWork("tree/file", "content");
             writeWork("tree/below/file", "content");
             if (outcome.succeeded(faulty([&] { return qelcomn_deltree(folder.c_str()); }) == 0))
                 outcome.require(access(folder.c_str(), F_OK) != 0, "the folder is there");
         }},
        {"qelcomn_delsubtree",
         [](Outcome &outcome) {
             qelcomn_MakeRecursiveDirectoryA(workPath("below/").c_str());
             writeWork("file", "content");
             writeWork("below/file", "content");
             const int32_t result = faulty([] { return qelcomn_delsubtree(workFolder().c_str()); });
             outcome.field("result", std::to_string(result), {"0", "-1"}); // failures inside are not told
         }},
        {"qelcomn_MakeRecursiveDirectoryA qelcomn_MakeRecursiveDirectoryW",
         [](Outcome &outcome) {
             const std::string path = workPath("a/b/c/");
             const std::wstring wide(path.begin(), path.end());
             const uint32_t first = faulty([&] { return qelcomn_MakeRecursiveDirectoryA(path.c_str()); });
             const uint32_t second = faulty([&] { return qelcomn_MakeRecursiveDirectoryW(wide.c_str()); });
             outcome.field("results", std::to_string(first) + std::to_string(second)); // failure in any case
         }},
        {"qelcomn_copy_file",
         [](Outcome &outcome) { // into a folder that is not there yet
             const std::string content(700, 'x');
             writeWork("source", content);
             const std::string source = workPath("source"), copy = workPath("below/copy");
             if (outcome.succeeded(faulty([&] { return qelcomn_copy_file(source.c_str(), copy.c_str(), 0); }) == 1))
                 outcome.require(readWork("below/copy") == content, "the copy is another");
         }},
    };
}

std::vector<Case> stampsAndIdentity() {
    return {
        {"qelcomn_CreateGmtTimeStampA qelcomn_CreateLocalTimeStampA",
         [](Outcome &outcome) {
             char first[15] = "untouched", second[15] = "untouched";
             faulty([&] {
                 qelcomn_CreateGmtTimeStampA(first, sizeof first);
                 qelcomn_CreateLocalTimeStampA(second, sizeof second);
             });
             tellStamp(outcome, first);
             tellStamp(outcome, second);
         }},
        {"qelcomn_CreateGmtTimeStampW qelcomn_CreateLocalTimeStampW qelcomn_delay",
         [](Outcome &outcome) {
             wchar_t first[16] = L"untouched", second[16] = L"untouched";
             faulty([&] {
                 qelcomn_CreateGmtTimeStampW(first, 16);
                 qelcomn_CreateLocalTimeStampW(second, 16);
                 qelcomn_delay();
             });
             tellStamp(outcome, Outcome::narrow(first).c_str());
             tellStamp(outcome, Outcome::narrow(second).c_str());
         }},
        {"qelcomn_get_time_stamp_ansi",
         [](Outcome &outcome) { tellText<std::string>(outcome, [] { return qelcomn_get_time_stamp_ansi(); }); }},
        {"qelcomn_get_time_stamp_wide",
         [](Outcome &outcome) { tellText<std::wstring>(outcome, [] { return qelcomn_get_time_stamp_wide(); }); }},
        {"zorcomn_timegm",
         [](Outcome &outcome) {
             std::tm time = {};
             time.tm_year = 106;
             outcome.field("seconds", std::to_string(faulty([&] { return zorcomn_timegm(&time); })), {"-1"});
         }},
        {"zorcomn_gettimezone",
         [](Outcome &outcome) {
             std::wstring name;
             if (outcome.succeeded(faulty([&] { return zorcomn_gettimezone(name); })))
                 outcome.field("name", name);
         }},
        {"get_system_uptime_osx qelcomn_get_system_uptime",
         [](Outcome &outcome) {
             const std::string unknown = std::to_string(INT32_MAX);
             outcome.field("first", std::to_string(faulty([] { return get_system_uptime_osx(); })), {unknown});
             outcome.field("second", std::to_string(faulty([] { return qelcomn_get_system_uptime(); })), {unknown});
         }},
        {"qelcomn_get_agent_softwareid qelcomn_get_agent_softwareid_W",
         [](Outcome &outcome) {
             char narrow[32] = "";
             wchar_t wide[32] = L"";
             faulty([&] {
                 qelcomn_get_agent_softwareid(narrow, 32);
                 qelcomn_get_agent_softwareid_W(wide, 32);
             });
             outcome.field("narrow", narrow);
             outcome.field("wide", std::wstring(wide));
         }},
        {"qelcomn_GetFileResourceStringVersionStamp",
         [](Outcome &outcome) {
             const std::string path = modulePath("module_version.so");
             char stamp[32] = "untouched";
             if (outcome.succeeded(faulty([&] {
                                       return qelcomn_GetFileResourceStringVersionStamp(path.c_str(), stamp,
                                                                                        sizeof stamp);
                                   }) == 1))
                 outcome.field("stamp", stamp);
             else
                 outcome.require(stamp[0] == '\0', "a stamp without success");
         }},
        {"qelcomn_GetFileResourceVersionStamp",
         [](Outcome &outcome) {
             const std::string path = modulePath("module_version.so");
             char stamp[32] = "untouched";
             if (outcome.succeeded(faulty([&] {
                                       return qelcomn_GetFileResourceVersionStamp(path.c_str(), stamp, sizeof stamp);
                                   }) == 1))
                 outcome.field("stamp", stamp);
         }},
        {"qelcomn_get_user_name",
         [](Outcome &outcome) {
             char users[256] = "";
             if (outcome.succeeded(faulty([&] { return qelcomn_get_user_name(users, sizeof users); }) == 0))
                 outcome.field("users", users,
                               {by("popen access", "corp\\carol,alice,bob"),
                                by("getpwnam_r getgrgid_r", "example.org\\alice,bob,carol")});
         }},
        {"qelcomn_IsPlatformMatch",
         [](Outcome &outcome) {
             const uint32_t result =
                 faulty([] { return qelcomn_IsPlatformMatch("MACX:10:4:11", "WNT:4:0:0|MAC:10:3:0-10:5:0"); });
             outcome.field("result", std::to_string(result), {"2147483656"});
         }},
        {"FileNameFlattener::FileNameFlattener FileNameFlattener::Flatten FileNameFlattener::GetFlatPath",
         [](Outcome &outcome) {
             const std::string path = "some/../folder/./with/a/name/that/is/long/enough/to/be/allocated";
             const std::string base = "/a/base/that/is/long/enough/to/be/allocated/./as/well/..";
             std::string flat = "untouched";
             const int32_t result = faulty([&] { return FileNameFlattener(path, base).GetFlatPath(flat); });
             if (outcome.succeeded(result == 1))
                 outcome.field("path", flat);
             else
                 outcome.require(flat == "untouched", "a path without success");
         }},
        {"FileNameFlattener::FileNameFlattener",
         [](Outcome &outcome) { // against the working directory
             const std::string path = "a/relative/path/that/is/long/enough/to/be/allocated/../anyhow";
             std::string flat = "untouched";
             std::optional<FileNameFlattener> flattener;
             faulty([&] { flattener.emplace(path); });
             if (outcome.succeeded(faulty([&] { return flattener->GetFlatPath(flat); }) == 1))
                 outcome.field("path", flat,
                               {by("getcwd __getcwd_chk", "/a/relative/path/that/is/long/enough/to/be/anyhow")});
         }},
        {"FileNameFlattener::Flatten",
         [](Outcome &outcome) { // again
             FileNameFlattener flattener("a/relative/path/that/is/long/enough/to/be/allocated/../anyhow");
             std::string flat;
             if (outcome.succeeded(faulty([&] { return flattener.Flatten(); }) == 1) &&
                 outcome.succeeded(flattener.GetFlatPath(flat) == 1))
                 outcome.field("path", flat);
             else
                 outcome.require(flattener.GetFlatPath(flat) == 0, "a path after failure");
         }},
        {"FileNameResolver::FileNameResolver FileNameResolver::GetAbsolutePath",
         [](Outcome &outcome) {
             writeWork("a-file-with-a-long-name", "content");
             symlink("./a-file-with-a-long-name", workPath("a-link-with-a-long-name").c_str());
             const std::string path = workPath("./a-link-with-a-long-name");
             std::string found = "untouched";
             const int32_t result = faulty([&] { return FileNameResolver(path).GetAbsolutePath(found); });
             if (outcome.succeeded(result == 1))
                 outcome.field("path", found);
             else
                 outcome.require(found == "untouched", "a path without success");
         }},
        {"FileNameResolver::FileNameResolver",
         [](Outcome &outcome) { // relative to the working directory
             writeWork("a-file-with-a-long-name", "content");
             const std::string path = "a-file-with-a-long-name";
             std::string found;
             if (outcome.succeeded(faulty([&] { return FileNameResolver(path).GetAbsolutePath(found); }) == 1))
                 outcome.field("path", found);
         }},
        {"qelcomn_filenameresolver_create qelcomn_filenameresolver_get_absolute_filename "
         "qelcomn_filenameresolver_destroy",
         [](Outcome &outcome) {
             writeWork("file", "content");
             const std::string path = workPath("./file");
             void *resolver = nullptr;
             if (!outcome.succeeded(faulty([&] { return qelcomn_filenameresolver_create(path.c_str(), &resolver); }) ==
                                    0))
                 return;
             char found[512] = "";
             uint32_t size = sizeof found;
             if (outcome.succeeded(faulty([&] {
                                       return qelcomn_filenameresolver_get_absolute_filename(resolver, found, &size);
                                   }) == 0))
                 outcome.field("path", found);
             faulty([&] { qelcomn_filenameresolver_destroy(resolver); });
         }},
    };
}

} // namespace

std::vector<Case> utilityCases() {
    std::vector<Case> cases;
    for (const auto &part : {texts(), files(), stampsAndIdentity()})
        cases.insert(cases.end(), part.begin(), part.end());
    return cases;
}

} // namespace zor::torture
