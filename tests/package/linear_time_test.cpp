// Every exported function that takes a text of any length, on a mebibyte of what is worst for it: in processor time of
// the calling thread, under a limit that only a function whose time grows by the square can miss. What each took, and
// the ratio of two mebibytes to one, is printed.

#include "zorcomn/network.h"
#include "zorcomn/portability.h"
#include "zorcomn/session.h"
#include "zorcomn/sysprops.h"
#include "zorcomn/utilities.h"

#include "tests/support/emulator.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace velmora_com::vta;

constexpr size_t kMebibyte = 1 << 20;
constexpr double kLimitSeconds = 5;

double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

std::string repeated(const std::string &unit, size_t size) {
    std::string text;
    text.reserve(size + unit.size());
    while (text.size() < size)
        text += unit;
    text.resize(size);
    return text;
}

std::wstring repeatedWide(wchar_t unit, size_t size) {
    return std::wstring(size, unit);
}

template <class Text, class Call> void withBuffer(Text text, Call call) {
    call(text.data());
}

void utf8Of(const std::wstring &text) {
    std::vector<char> buffer(text.size() * 6 + 1);
    const auto capacity = static_cast<int32_t>(buffer.size());
    qelcomn_unicode_to_utf8(text.c_str(), buffer.data(), &capacity);
}

void wideOf(const std::string &text) {
    std::vector<wchar_t> buffer(text.size() + 1);
    const auto capacity = static_cast<int32_t>(buffer.size());
    qelcomn_utf8_to_unicode(text.c_str(), buffer.data(), &capacity);
}

void resolve(const std::string &path) {
    void *resolver = nullptr;
    if (qelcomn_filenameresolver_create(path.c_str(), &resolver) == 0)
        qelcomn_filenameresolver_destroy(resolver);
}

void split(const std::string &text) {
    std::vector<std::string> parts;
    session::split(text, '|', parts);
}

void parse(const std::wstring &name) {
    std::wstring domain, user;
    session::parseFullUserName(name, domain, user);
}

void tokenize(std::string text) {
    char *rest = nullptr;
    for (char *token = qelTstrtok_r(text.data(), "|", &rest); token; token = qelTstrtok_r(nullptr, "|", &rest)) {
    }
}

const struct Case {
    const char *function; // as the list of exports has it
    const char *worst;
    std::function<void(size_t size)> call;
} kCases[] = {
    {"qelWildCardMatch", "a long run that nearly fits everywhere",
     [](size_t size) { qelWildCardMatch(("*" + repeated("a", size / 2) + "b").c_str(), repeated("a", size).c_str()); }},
    {"qelWildCardMatch", "runs that fit again and again",
     [](size_t size) { qelWildCardMatch(repeated("*ab*a", size).c_str(), repeated("aab", size).c_str()); }},
    {"qelWildCardMatch", "stars",
     [](size_t size) { qelWildCardMatch(repeated("*", size).c_str(), repeated("a", size).c_str()); }},
    {"qelTstrtok_r", "separators", [](size_t size) { tokenize(repeated("a|", size)); }},
    {"qelAtoi64", "digits", [](size_t size) { qelAtoi64(repeated("9", size).c_str()); }},
    {"qelTtoi64", "digits", [](size_t size) { qelTtoi64(repeated("9", size).c_str()); }},
    {"qelStandardAtoU", "plain text",
     [](size_t size) {
         std::vector<wchar_t> wide(size + 1);
         qelStandardAtoU(repeated("a", size).c_str(), size, wide.data());
     }},
    {"qelStandardUtoA", "plain text",
     [](size_t size) {
         std::vector<char> narrow(size + 1);
         qelStandardUtoA(repeatedWide(L'a', size).c_str(), size, narrow.data());
     }},
    {"qelLoadLibrary", "a path", [](size_t size) { qelLoadLibrary(repeated("a", size).c_str(), nullptr); }},
    {"qelLoadLibraryW", "a path", [](size_t size) { qelLoadLibraryW(repeatedWide(0xE9, size).c_str(), nullptr); }},
    {"qelCreateFileAW", "a path",
     [](size_t size) {
         qelCreateFileAW(repeated("/a", size).c_str(), ZORCOMN_READ, 0, nullptr, ZORCOMN_OPEN_EXISTING, 0, nullptr);
     }},
    {"qelFindFirstDirEnt", "a path",
     [](size_t size) {
         qelFindData data;
         qelFindFirstDirEnt(repeated("/*", size).c_str(), &data);
     }},
    {"qelcomn_unicode_to_utf8", "characters of four bytes", [](size_t size) { utf8Of(repeatedWide(0x1F600, size)); }},
    {"qelcomn_unicode_to_utf8", "combining marks", [](size_t size) { utf8Of(repeatedWide(0x301, size)); }},
    {"qelcomn_unicode_to_utf8", "an end that is none", [](size_t size) { utf8Of(repeatedWide(0xD800, size)); }},
    {"qelcomn_utf8_to_unicode", "characters of three bytes",
     [](size_t size) { wideOf(repeated("\xE4\xB8\xAD", size)); }},
    {"qelcomn_utf8_to_unicode", "overlong forms", [](size_t size) { wideOf(repeated("a\xC0\x80", size)); }},
    {"velmora_com::vta::qelcomn_wide_to_ansi", "characters of two bytes",
     [](size_t size) { qelcomn_wide_to_ansi(repeatedWide(0xE9, size)); }},
    {"velmora_com::vta::qelcomn_ansi_to_wide", "characters of two bytes",
     [](size_t size) { qelcomn_ansi_to_wide(repeated("\xC3\xA9", size)); }},
    {"velmora_com::vta::sysprops::sysprops_wide_to_ansi", "plain text",
     [](size_t size) { sysprops::sysprops_wide_to_ansi(repeatedWide(L'a', size)); }},
    {"velmora_com::vta::sysprops::sysprops_ansi_to_wide", "plain text",
     [](size_t size) { sysprops::sysprops_ansi_to_wide(repeated("a", size)); }},
    {"velmora_com::vta::qelcomn_convert_to_upper", "letters",
     [](size_t size) { qelcomn_convert_to_upper(repeated("a", size)); }},
    {"velmora_com::vta::qelcomn_convert_to_lower", "letters",
     [](size_t size) { qelcomn_convert_to_lower(repeated("A", size)); }},
    {"velmora_com::vta::qelcomn_strip_leading_whitespace", "blanks",
     [](size_t size) { qelcomn_strip_leading_whitespace(repeated(" ", size)); }},
    {"velmora_com::vta::qelcomn_strip_trailing_whitespace", "blanks before a letter",
     [](size_t size) { qelcomn_strip_trailing_whitespace(repeated(" ", size) + "a"); }},
    {"qelcomn_chop_semicolon", "no semicolon",
     [](size_t size) { withBuffer(repeated("a", size), qelcomn_chop_semicolon); }},
    {"qelcomn_append_backslash_check", "a path",
     [](size_t size) { withBuffer(repeated("a", size) + "  ", qelcomn_append_backslash_check); }},
    {"qelcomn_IsPlatformMatch", "a name that is nearly there",
     [](size_t size) {
         qelcomn_IsPlatformMatch(repeated("a", size / 2).c_str(), (repeated("a", size / 4) + "b").c_str());
     }},
    {"qelcomn_IsPlatformMatch", "many names",
     [](size_t size) {
         qelcomn_IsPlatformMatch(repeated("a", size / 2).c_str(), repeated("b|aaac|", size / 2).c_str());
     }},
    {"qelcomn_IsPlatformMatch", "many ranges",
     [](size_t size) { qelcomn_IsPlatformMatch("a:1", repeated("a:2:-3|", size).c_str()); }},
    {"qelcomn_MakeRecursiveDirectoryA", "a path",
     [](size_t size) { qelcomn_MakeRecursiveDirectoryA(repeated("/a", size).c_str()); }},
    {"qelcomn_deltree", "a path", [](size_t size) { qelcomn_deltree(repeated("/a", size).c_str()); }},
    {"qelcomn_filenameresolver_create", "a path that goes up and down",
     [](size_t size) { resolve(repeated("/a/../b/.", size)); }},
    {"velmora_com::vta::FileNameFlattener::FileNameFlattener", "dots",
     [](size_t size) { FileNameFlattener(repeated("/.", size)); }},
    {"velmora_com::vta::FileNameFlattener::FileNameFlattener", "down and all the way up",
     [](size_t size) { FileNameFlattener(repeated("/a", size / 2) + repeated("/..", size / 2), "/"); }},
    {"velmora_com::vta::FileNameFlattener::Flatten", "up beyond the root",
     [](size_t size) { FileNameFlattener(repeated("../", size)).Flatten(); }},
    {"velmora_com::vta::FileNameResolver::FileNameResolver", "dots",
     [](size_t size) { FileNameResolver(repeated("./", size)); }},
    {"velmora_com::vta::expandIPV6Address", "colons", [](size_t size) { expandIPV6Address(repeated(":", size)); }},
    {"velmora_com::vta::calculateSubNetAddrForV6", "colons",
     [](size_t size) { calculateSubNetAddrForV6(repeated(":", size), repeated(":", size)); }},
    {"velmora_com::vta::calculateSubNetAddrForV6", "one group",
     [](size_t size) { calculateSubNetAddrForV6(repeated("f", size), repeated("f", size)); }},
    {"velmora_com::vta::convertV6AddrToLiteralFormat", "colons and brackets",
     [](size_t size) { convertV6AddrToLiteralFormat(repeated("[:", size)); }},
    {"velmora_com::vta::convertV6AddrToLiteralFormat", "what nearly is a suffix",
     [](size_t size) { convertV6AddrToLiteralFormat(repeated(".ipv6-literal.ne", size)); }},
    {"velmora_com::vta::convertLiteralFormatToV6Addr", "dashes",
     [](size_t size) { convertLiteralFormatToV6Addr(repeated("-", size) + ".ipv6-literal.net"); }},
    {"velmora_com::vta::noOfOccurences", "all of them",
     [](size_t size) { noOfOccurences(repeated(":", size), ':', 7); }},
    {"velmora_com::vta::ANetworkUtil::formatV6addr", "brackets",
     [](size_t size) { ANetworkUtil().formatV6addr(repeated("[", size), true); }},
    {"velmora_com::vta::ANetworkUtil::zorCompareAddressFromPeerAddress", "a name that is nearly there",
     [](size_t size) {
         // The peer is found in the end, so that no resolver is asked.
         const std::string name = repeated("a", size / 4) + "b";
         ANetworkUtil().zorCompareAddressFromPeerAddress(name, "", repeated("a", size / 2) + "b");
     }},
    {"velmora_com::vta::session::split", "separators", [](size_t size) { split(repeated("|", size)); }},
    {"velmora_com::vta::session::trimmer", "what goes",
     [](size_t size) { session::trimmer(repeated("-", size).c_str()); }},
    {"velmora_com::vta::session::toLower", "capitals",
     [](size_t size) {
         std::string text = repeated("A", size);
         session::toLower(text);
     }},
    {"velmora_com::vta::session::parseFullUserName", "backslashes",
     [](size_t size) { parse(repeatedWide(L'\\', size)); }},
    {"velmora_com::vta::sysprops::ISysProps::IsNetworkProperty", "a name",
     [](size_t size) { sysprops::ISysProps().IsNetworkProperty(repeatedWide(L'I', size)); }},
    {"velmora_com::vta::sysprops::ISysProps::GetOneSystemProperty", "a name",
     [](size_t size) { sysprops::ISysProps().GetOneSystemProperty(repeatedWide(L'I', size)); }},
};

double secondsOf(const Case &measured, size_t size) {
    const double before = processorSeconds();
    measured.call(size);
    return processorSeconds() - before;
}

TEST(LinearTime, AMebibyteOfTheWorst_TakesNoTimeBySquare) {
    const bool isEmulated = !zor::test::underEmulator({}).empty(); // and so slower than any machine at hand
    const size_t size = isEmulated ? kMebibyte / 4 : kMebibyte;
    for (const Case &measured : kCases) {
        const double one = secondsOf(measured, size);
        ASSERT_LT(one, kLimitSeconds) << measured.function << ": " << measured.worst;
        const double two = secondsOf(measured, 2 * size);
        std::printf("%-66s %-40s %8.2f ms %8.2f ms  x %.1f\n", measured.function, measured.worst, one * 1e3, two * 1e3,
                    two / std::max(one, 1e-6));
    }
}

TEST(LinearTime, MeasuredFunctions_AreExported) {
    std::set<std::string> exported;
    std::ifstream list(ZORCOMN_EXPORTS);
    for (std::string name; std::getline(list, name);)
        exported.insert(name);
    for (const Case &measured : kCases)
        EXPECT_EQ(exported.count(measured.function), 1u) << measured.function;
}

} // namespace
