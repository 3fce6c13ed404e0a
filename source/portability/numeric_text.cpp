// Numbers to text and back by radix, and text between the process's multibyte encoding and wide characters.

#include "zorcomn/portability.h"

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <type_traits>

namespace {

// The longest texts are octal: a digit for every three bits, rounded up. A sign in radix 10 needs no more than that.
template <class Number> constexpr size_t kLongestText = (sizeof(Number) * 8 + 2) / 3;
static_assert(kLongestText<int32_t> == 11 && kLongestText<int64_t> == 22, "the header promises 12 and 23 bytes");

/** Writes value in radix 10 as a signed number, in radix 16 and 8 as the bits it is made of; null for any other. */
template <class Number> char *writeNumber(Number value, char *buffer, int32_t radix) {
    static_assert(std::is_signed_v<Number>);
    if (!buffer)
        return nullptr;
    char *const end = buffer + kLongestText<Number>;
    if (radix == 10)
        *std::to_chars(buffer, end, value).ptr = '\0';
    else if (radix == 16 || radix == 8)
        *std::to_chars(buffer, end, static_cast<std::make_unsigned_t<Number>>(value), radix).ptr = '\0';
    else
        return nullptr;
    return buffer;
}

/** The result of the system's converters, their (size_t)-1 for a failure turned into 0. */
size_t zeroOnFailure(size_t converted) {
    return converted == static_cast<size_t>(-1) ? 0 : converted;
}

} // namespace

char *qelItoa(int32_t value, char *buffer, int32_t radix) {
    return writeNumber(value, buffer, radix);
}

char *qelItot(int32_t value, char *buffer, int32_t radix) {
    return qelItoa(value, buffer, radix);
}

// Kept: only the low 32 bits are printed, in radix 10 as a signed number, whatever the machine's long holds.
char *qelUltot(uint64_t value, char *buffer, int32_t radix) {
    return writeNumber(static_cast<int32_t>(static_cast<uint32_t>(value)), buffer, radix);
}

char *qelI64toa(int64_t value, char *buffer, int32_t radix) {
    return writeNumber(value, buffer, radix);
}

char *qelI64tot(int64_t value, char *buffer, int32_t radix) {
    return qelI64toa(value, buffer, radix);
}

// Kept: no sign, no blanks skipped, no stop at a non-digit; every character counts. Codes are those of a signed char
// on every machine, as on the home target, so bytes above 127 count as negative.
int64_t qelAtoi64(const char *text) {
    uint64_t value = 0; // unsigned: the product wraps
    for (; text && *text; ++text)
        value = value * 10 + static_cast<uint64_t>(static_cast<signed char>(*text) - 48);
    return static_cast<int64_t>(value);
}

int64_t qelTtoi64(const char *text) {
    return qelAtoi64(text);
}

size_t qelStandardAtoU(const char *source, size_t maximumCount, wchar_t *destination) {
    if (!source)
        return 0;
    std::mbstate_t fresh{};
    return zeroOnFailure(std::mbsrtowcs(destination, &source, maximumCount, &fresh));
}

size_t qelStandardUtoA(const wchar_t *source, size_t maximumBytes, char *destination) {
    if (!source)
        return 0;
    std::mbstate_t fresh{};
    return zeroOnFailure(std::wcsrtombs(destination, &source, maximumBytes, &fresh));
}
