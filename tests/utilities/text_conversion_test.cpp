// Text conversion against the system's own converter: iconv called directly on the whole text is what callers must get.
// This test stands between the library and iconv_open (--wrap), counts, and can make it fail.

#include "zorcomn/utilities.h"

#include "source/platform/host.h"
#include "source/platform/posix.h"
#include "tests/support/failing_calls.h"
#include "tests/support/test_seed.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

using velmora_com::vta::isBigEndian;
using velmora_com::vta::qelcomn_ansi_to_wide;
using velmora_com::vta::qelcomn_wide_to_ansi;
using zor::test::seedOfThisRun;

namespace {

constexpr uint32_t kFailure = 0x80000008u;

int convertersOpened = 0;
bool convertersFail = false;

} // namespace

extern "C" {
iconv_t __real_iconv_open(const char *to, const char *from);
iconv_t __wrap_iconv_open(const char *to, const char *from) {
    ++convertersOpened;
    if (!convertersFail)
        return __real_iconv_open(to, from);
    errno = ENOMEM;
    return reinterpret_cast<iconv_t>(-1);
}
}

namespace {

/** The system's converter in one direction, opened once; converts whole texts and delivers what it got. */
class Reference {
public:
    Reference(const char *to, const char *from) : m_converter(iconv_open(to, from)) {
        if (!m_converter)
            std::abort();
    }

    std::string convert(const void *text, size_t bytes, size_t roomBytes) {
        std::vector<char> in(bytes), out(roomBytes);
        if (bytes > 0)
            std::memcpy(in.data(), text, bytes);
        char *inAt = in.data(), *outAt = out.data();
        size_t outLeft = roomBytes;
        iconv(m_converter.get(), nullptr, nullptr, nullptr, nullptr);
        iconv(m_converter.get(), &inAt, &bytes, &outAt, &outLeft);
        return std::string(out.data(), roomBytes - outLeft);
    }

private:
    zor::Converter m_converter;
};

std::string systemsUtf8(const std::wstring &text) {
    static Reference reference("UTF8", zor::host::wideEncodingName());
    return reference.convert(text.data(), text.size() * sizeof(wchar_t), 6 * text.size());
}

std::wstring systemsWide(const std::string &text) {
    static Reference reference(isBigEndian() ? "UCS-4BE" : "UCS-4LE", "UTF8");
    const std::string bytes = reference.convert(text.c_str(), text.size() + 1, 4 * (text.size() + 1)); // terminator too
    std::wstring wide(bytes.size() / sizeof(wchar_t), L'\0');
    if (!wide.empty())
        std::memcpy(wide.data(), bytes.data(), wide.size() * sizeof(wchar_t));
    return wide.c_str();
}

template <class Text> std::string hex(const Text &text) {
    std::ostringstream out;
    for (const auto unit : text)
        out << std::hex << (static_cast<uint32_t>(unit) & (sizeof unit == 1 ? 0xFFu : 0xFFFFFFFFu)) << ' ';
    return out.str();
}

void expectSystemsUtf8(const std::wstring &text) {
    ASSERT_EQ(hex(qelcomn_wide_to_ansi(text)), hex(systemsUtf8(text))) << "of " << hex(text);
}

void expectSystemsWide(const std::string &text) {
    ASSERT_EQ(hex(qelcomn_ansi_to_wide(text)), hex(systemsWide(text))) << "of " << hex(text);
}

struct Pair {
    const wchar_t *wide;
    const char *utf8;
};
constexpr Pair kWellFormed[] = {
    {L"", ""},
    {L"x", "x"},
    {L"sixteen letters!", "sixteen letters!"},
    {L"\x01\x7F", "\x01\x7F"},
    {L"\x80\x7FF", "\xC2\x80\xDF\xBF"},
    {L"\x800\xD7FF\xE000\xFFFF", "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"},
    {L"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
    {L"\xFEFFx\xFFFE", "\xEF\xBB\xBFx\xEF\xBF\xBE"}, // byte order mark and noncharacter are characters like others
    {L"Z\xFCrich, \x6771\x4EAC \U0001F600.", "Z\xC3\xBCrich, \xE6\x9D\xB1\xE4\xBA\xAC \xF0\x9F\x98\x80."},
};

TEST(TextConversion, WellFormedText_ConvertsBothWays) {
    for (const Pair &pair : kWellFormed) {
        EXPECT_EQ(hex(qelcomn_wide_to_ansi(pair.wide)), hex(std::string(pair.utf8)));
        EXPECT_EQ(hex(qelcomn_ansi_to_wide(pair.utf8)), hex(std::wstring(pair.wide)));
        expectSystemsUtf8(pair.wide);
        expectSystemsWide(pair.utf8);
    }
}

TEST(TextConversion, WellFormedText_OpensNoConverter) {
    for (const Pair &pair : kWellFormed) {
        const int before = convertersOpened;
        qelcomn_wide_to_ansi(pair.wide);
        qelcomn_ansi_to_wide(pair.utf8);
        EXPECT_EQ(convertersOpened, before) << pair.utf8;
    }
}

TEST(TextConversion, EveryCharacter_ConvertsAsTheSystemDoes) {
    for (uint32_t value = 1; value <= 0x110010; ++value) {
        const std::wstring wide{L'a', static_cast<wchar_t>(value), L'z'};
        const std::string utf8 = systemsUtf8(wide);
        ASSERT_EQ(qelcomn_wide_to_ansi(wide), utf8) << std::hex << value;
        if (value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF)) {
            ASSERT_EQ(qelcomn_ansi_to_wide(utf8), wide) << std::hex << value;
        }
    }
}

TEST(TextConversion, EveryPairOfBytes_ConvertsAsTheSystemDoes) {
    for (int first = 1; first <= 0xFF && !HasFatalFailure(); ++first)
        for (int second = 0; second <= 0xFF && !HasFatalFailure(); ++second)
            expectSystemsWide({'a', static_cast<char>(first), static_cast<char>(second)});
}

TEST(TextConversion, DoubtfulWideCharacter_DeliversTheSystemsPrefix) {
    for (const uint32_t value : {0xD800u, 0xDBFFu, 0xDC00u, 0xDFFFu, 0x110000u, 0x1FFFFFu, 0x200000u, 0x3FFFFFFu,
                                 0x4000000u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        const wchar_t doubtful = static_cast<wchar_t>(value);
        expectSystemsUtf8({doubtful});
        expectSystemsUtf8({doubtful, L'z'});
        expectSystemsUtf8({L'a', L'\x20AC', doubtful, L'z', L'\x20AC'});
        expectSystemsUtf8({L'a', doubtful, doubtful, doubtful, L'z'});
    }
}

constexpr const char *kDoubtful[] = {
    "\x80",                     // a continuation alone
    "\xBF\xBF",                 //
    "\xC3",                     // truncated: one of two, one and two of three, one to three of four
    "\xE2",                     //
    "\xE2\x82",                 //
    "\xF0",                     //
    "\xF0\x9F",                 //
    "\xF0\x9F\x98",             //
    "\xC0\x80",                 // overlong
    "\xC1\xBF",                 //
    "\xE0\x80\x80",             //
    "\xE0\x9F\xBF",             //
    "\xF0\x80\x80\x80",         //
    "\xF0\x8F\xBF\xBF",         //
    "\xED\xA0\x80",             // surrogates
    "\xED\xBF\xBF",             //
    "\xED\xA0\xBD\xED\xB8\x80", //
    "\xF4\x90\x80\x80",         // above the last character
    "\xF5\x80\x80\x80",         //
    "\xF7\xBF\xBF\xBF",         //
    "\xF8\x88\x80\x80\x80",     // five and six bytes, right, overlong and truncated
    "\xFB\xBF\xBF\xBF\xBF",     //
    "\xF8\x80\x80\x80\x80",     //
    "\xF8\x88\x80\x80",         //
    "\xFC\x84\x80\x80\x80\x80", //
    "\xFD\xBF\xBF\xBF\xBF\xBF", //
    "\xFC\x80\x80\x80\x80\x80", //
    "\xFD\xBF\xBF\xBF\xBF",     //
    "\xFE",                     // never part of a text
    "\xFF",                     //
    "\xC3\xC3\xBC",             // a start where a continuation should be
    "\xE2\x82z",                //
    "\xF0\x9F\x98z",            //
};

TEST(TextConversion, DoubtfulBytes_DeliverTheSystemsPrefix) {
    for (const std::string doubtful : kDoubtful) {
        expectSystemsWide(doubtful);
        expectSystemsWide(doubtful + "z");
        expectSystemsWide("a\xE2\x82\xAC" + doubtful);
        expectSystemsWide("a\xE2\x82\xAC" + doubtful + "z\xE2\x82\xAC");
        expectSystemsWide(std::string(64, 'a') + doubtful + std::string(64, 'z'));
    }
}

TEST(TextConversion, PrefixBeforeInvalidCharacter_IsASuccess_Kept) {
    const wchar_t surrogate[] = L"ab\xD800z";
    char utf8[32] = "########";
    int32_t capacity = sizeof utf8;
    EXPECT_EQ(qelcomn_unicode_to_utf8(surrogate, utf8, &capacity), 0u);
    EXPECT_STREQ(utf8, "ab");

    wchar_t wide[8] = L"#######";
    capacity = 8;
    EXPECT_EQ(qelcomn_utf8_to_unicode("ab\xFFz", wide, &capacity), 0u);
    EXPECT_STREQ(wide, L"ab");
    EXPECT_EQ(wide[3], L'#'); // only the text and its terminator are written
}

TEST(TextConversion, NoConverterForInvalidText_DeliversNothing) {
    convertersFail = true;
    char utf8[32] = "########";
    int32_t capacity = sizeof utf8;
    EXPECT_EQ(qelcomn_unicode_to_utf8(L"ab\xD800", utf8, &capacity), 0u);
    EXPECT_STREQ(utf8, "");
    wchar_t wide[8] = L"#######";
    capacity = 8;
    EXPECT_EQ(qelcomn_utf8_to_unicode("ab\xFF", wide, &capacity), 0u);
    EXPECT_STREQ(wide, L"");
    EXPECT_EQ(qelcomn_wide_to_ansi(L"\xD800"), "");
    EXPECT_EQ(qelcomn_ansi_to_wide("\xFF"), L"");
    convertersFail = false;
}

/** Random texts: pieces that are valid, doubtful or wild, in runs of random length. */
class RandomTexts {
public:
    explicit RandomTexts(uint32_t seed) : m_engine(seed) {}

    std::wstring wide() {
        std::wstring text;
        for (uint32_t pieces = below(6); pieces > 0; --pieces)
            for (uint32_t run = 1 + below(12), kind = below(kKinds); run > 0; --run)
                text += static_cast<wchar_t>(value(kind));
        return text;
    }

    std::string utf8() {
        std::string text;
        for (uint32_t pieces = below(6); pieces > 0; --pieces)
            for (uint32_t run = 1 + below(12), kind = below(kKinds); run > 0; --run)
                append(text, value(kind));
        for (uint32_t damages = below(4) / 2; damages > 0 && !text.empty(); --damages)
            damage(text, below(static_cast<uint32_t>(text.size())));
        return text.c_str(); // up to a zero, if damage made one
    }

private:
    static constexpr uint32_t kKinds = 9;

    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(m_engine() % limit); }

    /** A value by kind; ASCII and valid ones are likelier than the doubtful, or every text would end at once. */
    uint32_t value(uint32_t kind) {
        if (below(20) == 0)
            kind = below(kKinds + 4);
        switch (kind) {
        case 5:
            return 0x80 + below(0x780);
        case 6:
            return 0x800 + below(0xD000);
        case 7:
            return 0xE000 + below(0x2000);
        case 8:
            return 0x10000 + below(0x100000);
        case 9:
            return 0xD800 + below(0x800);
        case 10:
            return 0x110000 + below(0x100000);
        case 11:
            return 0x200000 + below(0x7FE00000);
        case 12:
            return 0x80000000u | static_cast<uint32_t>(m_engine());
        default:
            return 1 + below(0x7F);
        }
    }

    /** The value in UTF-8's scheme, up to six bytes; rarely in a longer spelling than it needs. */
    void append(std::string &text, uint32_t value) {
        if (value < 0x80 && below(100) != 0) {
            text += static_cast<char>(value);
            return;
        }
        value &= 0x7FFFFFFF;
        size_t length = 2;
        while (length < 6 && value >> (5 * length + 1) != 0)
            ++length;
        if (below(60) == 0)
            length = std::min<size_t>(length + 1 + below(2), 6);
        text += static_cast<char>(0xFF00u >> length | value >> (6 * (length - 1)));
        for (size_t left = length - 1; left > 0; --left)
            text += static_cast<char>(0x80 | ((value >> (6 * (left - 1))) & 0x3F));
    }

    void damage(std::string &text, size_t at) {
        switch (below(4)) {
        case 0:
            text.erase(at, 1);
            break;
        case 1:
            text.insert(at, 1, static_cast<char>(below(0x100)));
            break;
        case 2:
            text[at] = static_cast<char>(below(0x100));
            break;
        default:
            text.resize(at);
        }
    }

    std::mt19937 m_engine;
};

TEST(TextConversion, RandomTexts_ConvertAsTheSystemDoes) {
    RandomTexts random(seedOfThisRun());
    for (int round = 0; round < 20000 && !HasFatalFailure(); ++round) {
        expectSystemsUtf8(random.wide());
        expectSystemsWide(random.utf8());
    }
}

TEST(TextConversion, RandomTexts_CoverValidAndInvalid) {
    RandomTexts random(seedOfThisRun());
    int valid = 0, invalid = 0;
    for (int round = 0; round < 1000; ++round) {
        const std::string text = random.utf8();
        ++(systemsUtf8(systemsWide(text)) == text ? valid : invalid);
    }
    EXPECT_GT(valid, 200);
    EXPECT_GT(invalid, 200);
}

/** Memory whose end is the end of what may be touched. */
class MemoryAtTheEdge {
public:
    MemoryAtTheEdge() : m_page(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        m_base =
            static_cast<char *>(mmap(nullptr, 3 * m_page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (m_base == MAP_FAILED || mprotect(m_base + 2 * m_page, m_page, PROT_NONE) != 0)
            std::abort();
    }
    ~MemoryAtTheEdge() { munmap(m_base, 3 * m_page); }
    MemoryAtTheEdge(const MemoryAtTheEdge &) = delete;
    MemoryAtTheEdge &operator=(const MemoryAtTheEdge &) = delete;

    /** Room for so many units, up to the edge. */
    template <class Unit> Unit *room(size_t count) {
        if (count * sizeof(Unit) > 2 * m_page)
            std::abort();
        return reinterpret_cast<Unit *>(m_base + 2 * m_page) - count;
    }

private:
    size_t m_page;
    char *m_base;
};

TEST(TextConversion, RandomTexts_TouchNothingBehindEitherBuffer) {
    RandomTexts random(zor::test::seedOfThisRun());
    MemoryAtTheEdge sources, destinations;
    for (int round = 0; round < 5000; ++round) {
        const std::wstring wide = random.wide();
        wchar_t *const wideSource = std::wmemcpy(sources.room<wchar_t>(wide.size() + 1), wide.c_str(), wide.size() + 1);
        const int32_t bytes = static_cast<int32_t>(6 * wide.size() + 1);
        char *const utf8Destination = destinations.room<char>(static_cast<size_t>(bytes));
        ASSERT_EQ(qelcomn_unicode_to_utf8(wideSource, utf8Destination, &bytes), 0u);
        ASSERT_EQ(hex(std::string(utf8Destination)), hex(systemsUtf8(wide))) << "of " << hex(wide);

        const std::string utf8 = random.utf8();
        char *const utf8Source = sources.room<char>(utf8.size() + 1);
        std::memcpy(utf8Source, utf8.c_str(), utf8.size() + 1);
        const int32_t characters = static_cast<int32_t>(utf8.size() + 1);
        wchar_t *const wideDestination = destinations.room<wchar_t>(utf8.size() + 1);
        ASSERT_EQ(qelcomn_utf8_to_unicode(utf8Source, wideDestination, &characters), 0u);
        ASSERT_EQ(hex(std::wstring(wideDestination)), hex(systemsWide(utf8))) << "of " << hex(utf8);
    }
}

TEST(TextConversion, EveryLengthAroundABlock_Converts) {
    MemoryAtTheEdge sources, destinations;
    for (size_t before = 0; before < 70; ++before)
        for (size_t after = 0; after < 40; ++after) {
            const std::wstring wide = std::wstring(before, L'a') + L'\x20AC' + std::wstring(after, L'z');
            const std::string utf8 = std::string(before, 'a') + "\xE2\x82\xAC" + std::string(after, 'z');
            wchar_t *const wideText = sources.room<wchar_t>(wide.size() + 1);
            char *const utf8Text = destinations.room<char>(6 * wide.size() + 1);
            std::wmemcpy(wideText, wide.c_str(), wide.size() + 1);
            const int32_t bytes = static_cast<int32_t>(6 * wide.size() + 1);
            ASSERT_EQ(qelcomn_unicode_to_utf8(wideText, utf8Text, &bytes), 0u);
            ASSERT_EQ(utf8Text, utf8);
            ASSERT_EQ(qelcomn_ansi_to_wide(utf8), wide);
        }
}

TEST(UnicodeToUtf8, RefusedArguments_WriteNothing) {
    char buffer[8] = "#######";
    const int32_t room = sizeof buffer, none = 0, negative = -1, smallest = INT32_MIN;
    EXPECT_EQ(qelcomn_unicode_to_utf8(nullptr, buffer, &room), kFailure);
    EXPECT_EQ(qelcomn_unicode_to_utf8(L"", nullptr, &room), kFailure);
    EXPECT_EQ(qelcomn_unicode_to_utf8(L"", buffer, nullptr), kFailure);
    EXPECT_EQ(qelcomn_unicode_to_utf8(L"", buffer, &none), kFailure);
    EXPECT_EQ(qelcomn_unicode_to_utf8(L"", buffer, &negative), kFailure);
    EXPECT_EQ(qelcomn_unicode_to_utf8(L"", buffer, &smallest), kFailure);
    EXPECT_STREQ(buffer, "#######");
}

TEST(UnicodeToUtf8, CapacityOfSixBytesPerCharacterAndOne_IsTheLimit_Kept) {
    for (size_t length = 0; length < 40; ++length) {
        const std::wstring text(length, L'x');
        std::string buffer(6 * length + 9, '#');
        const int32_t exact = static_cast<int32_t>(6 * length + 1), oneLess = exact - 1;
        EXPECT_EQ(qelcomn_unicode_to_utf8(text.c_str(), buffer.data(), &oneLess), kFailure);
        EXPECT_EQ(buffer, std::string(6 * length + 9, '#'));
        EXPECT_EQ(qelcomn_unicode_to_utf8(text.c_str(), buffer.data(), &exact), 0u);
        EXPECT_EQ(buffer.substr(0, length + 1), std::string(length, 'x') + '\0');
        EXPECT_EQ(buffer.substr(length + 1), std::string(5 * length + 8, '#')); // nothing behind the terminator
        EXPECT_EQ(exact, static_cast<int32_t>(6 * length + 1));                 // read, never written
    }
}

TEST(UnicodeToUtf8, LongestSpellings_FillTheCapacityAtMost) {
    const std::wstring text(50, static_cast<wchar_t>(0x7FFFFFFF));
    std::string buffer(6 * text.size() + 2, '#');
    const int32_t capacity = static_cast<int32_t>(6 * text.size() + 1);
    EXPECT_EQ(qelcomn_unicode_to_utf8(text.c_str(), buffer.data(), &capacity), 0u);
    EXPECT_EQ(std::string(buffer.c_str()), systemsUtf8(text));
    EXPECT_EQ(buffer.back(), '#');
}

TEST(Utf8ToUnicode, RefusedArguments_WriteNothing) {
    wchar_t buffer[8] = L"#######";
    const int32_t room = 8, none = 0, negative = -1, smallest = INT32_MIN;
    EXPECT_EQ(qelcomn_utf8_to_unicode(nullptr, buffer, &room), kFailure);
    EXPECT_EQ(qelcomn_utf8_to_unicode("", nullptr, &room), kFailure);
    EXPECT_EQ(qelcomn_utf8_to_unicode("", buffer, nullptr), kFailure);
    EXPECT_EQ(qelcomn_utf8_to_unicode("", buffer, &none), kFailure);
    EXPECT_EQ(qelcomn_utf8_to_unicode("", buffer, &negative), kFailure);
    EXPECT_EQ(qelcomn_utf8_to_unicode("", buffer, &smallest), kFailure);
    EXPECT_STREQ(buffer, L"#######");
}

TEST(Utf8ToUnicode, CapacityOfOneCharacterPerByteAndOne_IsTheLimit_Kept) {
    for (size_t length = 0; length < 40; ++length) {
        const std::string text = std::string(length, 'x') + "\xC3\xBC"; // the limit counts bytes, not characters
        std::wstring buffer(length + 8, L'#');
        const int32_t exact = static_cast<int32_t>(length + 3), oneLess = exact - 1;
        EXPECT_EQ(qelcomn_utf8_to_unicode(text.c_str(), buffer.data(), &oneLess), kFailure);
        EXPECT_EQ(buffer, std::wstring(length + 8, L'#'));
        EXPECT_EQ(qelcomn_utf8_to_unicode(text.c_str(), buffer.data(), &exact), 0u);
        EXPECT_EQ(buffer.substr(0, length + 2), std::wstring(length, L'x') + L'\xFC' + L'\0');
        EXPECT_EQ(buffer.substr(length + 2), std::wstring(6, L'#'));
        EXPECT_EQ(exact, static_cast<int32_t>(length + 3));
    }
}

TEST(TextConversion, SourceInsideDestination_ConvertsAsFromACopy_Kept) {
    const std::wstring wide = L"\x20AC and \x20AC";
    const std::string utf8 = "\xE2\x82\xAC and \xE2\x82\xAC";
    for (size_t offset = 0; offset < 4; ++offset) {
        alignas(wchar_t) char buffer[128];
        const int32_t capacity = sizeof buffer, wideCapacity = sizeof buffer / sizeof(wchar_t);
        auto *const wideBuffer = reinterpret_cast<wchar_t *>(buffer);
        std::wmemcpy(wideBuffer + offset, wide.c_str(), wide.size() + 1);
        EXPECT_EQ(qelcomn_unicode_to_utf8(wideBuffer + offset, buffer, &capacity), 0u);
        EXPECT_EQ(buffer, utf8);
        std::wmemcpy(wideBuffer, wide.c_str(), wide.size() + 1);
        EXPECT_EQ(qelcomn_unicode_to_utf8(wideBuffer, buffer + offset, &capacity), 0u);
        EXPECT_EQ(buffer + offset, utf8);
        std::memcpy(buffer + offset, utf8.c_str(), utf8.size() + 1);
        EXPECT_EQ(qelcomn_utf8_to_unicode(buffer + offset, wideBuffer, &wideCapacity), 0u);
        EXPECT_EQ(wideBuffer, wide);
    }
}

TEST(TextConversion, SourceInsideDestinationWithoutMemory_IsRefused) {
    alignas(wchar_t) char buffer[64] = "ab\xE2\x82\xAC";
    const int32_t capacity = sizeof buffer / sizeof(wchar_t);
    const zor::test::FailingCall failing("operator new");
    EXPECT_EQ(qelcomn_utf8_to_unicode(buffer, reinterpret_cast<wchar_t *>(buffer), &capacity), kFailure);
    EXPECT_TRUE(failing.wasReached());
    EXPECT_STREQ(buffer, "ab\xE2\x82\xAC");
}

TEST(TextConversion, NoMemory_GivesAnEmptyString) {
    for (const int nth : {1, 2}) { // the work buffer, the result
        const std::wstring wide(50, L'x');
        const std::string narrow(50, 'x');
        std::wstring wideArgument = wide;
        std::string narrowArgument = narrow;
        {
            const zor::test::FailingCall failing("operator new", nth);
            EXPECT_EQ(qelcomn_wide_to_ansi(std::move(wideArgument)), "") << nth;
            EXPECT_TRUE(failing.wasReached()) << nth;
        }
        {
            const zor::test::FailingCall failing("operator new", nth);
            EXPECT_EQ(qelcomn_ansi_to_wide(std::move(narrowArgument)), L"") << nth;
            EXPECT_TRUE(failing.wasReached()) << nth;
        }
    }
}

TEST(TextConversion, ZeroInsideAString_EndsTheText) {
    EXPECT_EQ(qelcomn_wide_to_ansi(std::wstring(L"ab\0cd", 5)), "ab");
    EXPECT_EQ(qelcomn_ansi_to_wide(std::string("ab\0cd", 5)), L"ab");
}

TEST(TextConversion, LongText_ConvertsWhole) {
    std::wstring wide;
    std::string utf8;
    for (int round = 0; round < 20000; ++round) {
        wide += L"abc\x20AC";
        utf8 += "abc\xE2\x82\xAC";
    }
    EXPECT_TRUE(qelcomn_wide_to_ansi(wide) == utf8);
    EXPECT_TRUE(qelcomn_ansi_to_wide(utf8) == wide);
    EXPECT_TRUE(qelcomn_ansi_to_wide("\xFF" + utf8).empty());
    EXPECT_TRUE(qelcomn_ansi_to_wide(utf8 + "\xFF" + utf8) == wide);
    EXPECT_TRUE(qelcomn_wide_to_ansi(wide + L'\xD800' + wide) == utf8);
}

TEST(TextConversion, SuccessfulCall_LeavesErrnoAlone) {
    errno = 77;
    qelcomn_wide_to_ansi(L"\x20AC");
    qelcomn_ansi_to_wide("\xE2\x82\xAC");
    EXPECT_EQ(errno, 77);
}

} // namespace
