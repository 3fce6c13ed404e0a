// Numbers to text and back, and text of the process's encoding to wide characters. A radix, two numbers, a size, a
// text.

#include "zorcomn/portability.h"
#include "zorcomn/utilities.h"

#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"

#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <vector>

namespace zor::test::readers {

namespace {

std::string printed(const char *format, ...) __attribute__((format(printf, 1, 2)));
std::string printed(const char *format, ...) {
    char text[64];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}

std::string in32Bits(int32_t value, int32_t radix) {
    const auto bits = static_cast<uint32_t>(value);
    return radix == 10   ? printed("%" PRId32, value)
           : radix == 16 ? printed("%" PRIx32, bits)
                         : printed("%" PRIo32, bits);
}

std::string in64Bits(int64_t value, int32_t radix) {
    const auto bits = static_cast<uint64_t>(value);
    return radix == 10   ? printed("%" PRId64, value)
           : radix == 16 ? printed("%" PRIx64, bits)
                         : printed("%" PRIo64, bits);
}

/** Every character counts, codes as those of a signed char. */
int64_t modelValue(const char *text) {
    uint64_t value = 0;
    for (; *text; ++text)
        value = value * 10 + static_cast<uint64_t>(int64_t{static_cast<signed char>(*text)} - '0');
    return static_cast<int64_t>(value);
}

template <class Write> bool writes(Write write, size_t size, const std::string &expected) {
    std::vector<char> buffer(size, '#');
    return write(buffer.data()) == buffer.data() && buffer.data() == expected;
}

} // namespace

const char *radix_text(const std::string &bytes) {
    Bytes input(bytes);
    constexpr int32_t kRadixes[] = {10, 16, 8};
    const uint8_t choice = input.byte();
    const int32_t radix = kRadixes[choice % 3];
    const auto small = input.number<int32_t>();
    const auto large = input.number<int64_t>();
    const size_t size = input.byte();
    const std::string whole = input.rest();
    const char *const text = whole.c_str();
    if (!writes([&](char *buffer) { return qelItoa(small, buffer, radix); }, 12, in32Bits(small, radix)) ||
        !writes([&](char *buffer) { return qelItot(small, buffer, radix); }, 12, in32Bits(small, radix)) ||
        !writes([&](char *buffer) { return qelUltot(static_cast<uint64_t>(large), buffer, radix); }, 12,
                in32Bits(static_cast<int32_t>(static_cast<uint32_t>(large)), radix)) ||
        !writes([&](char *buffer) { return qelI64toa(large, buffer, radix); }, 23, in64Bits(large, radix)) ||
        !writes([&](char *buffer) { return qelI64tot(large, buffer, radix); }, 23, in64Bits(large, radix)))
        return "printf agrees";
    char buffer[23] = "#";
    const int32_t odd = choice;
    if (odd != 10 && odd != 16 && odd != 8 && (qelItoa(small, buffer, odd) || buffer[0] != '#'))
        return "no other radix";
    if (qelAtoi64(text) != modelValue(text) || qelTtoi64(text) != modelValue(text))
        return "every character counts";
    if (large >= 0 && qelAtoi64(in64Bits(large, 10).c_str()) != large)
        return "a number leads back";
    const long number = static_cast<long>(large);
    if (velmora_com::vta::qelcomn_long_to_ansi_string(number) != printed("%ld", number))
        return "printf agrees with the decimal texts";
    std::vector<wchar_t> wide(size + 1, L'#'), expected(size + 1, L'#');
    const size_t count = std::mbstowcs(expected.data(), text, size);
    if (qelStandardAtoU(text, size, wide.data()) != (count == static_cast<size_t>(-1) ? 0 : count) ||
        (count != static_cast<size_t>(-1) && wide != expected))
        return "the C library's converter agrees";
    return nullptr;
}

} // namespace zor::test::readers
