// GUIDs and their text. The input is the generator's clock and dice, and the octets of a GUID.

#include "zorcomn/portability.h"
#include "zorcomn/utilities.h"

#include "source/portability/guid.h"
#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <vector>

#include <sys/time.h>

namespace zor::test::readers {

namespace {

Bytes *source = nullptr;
long clockSeconds = 0;

int draw() {
    return source->number<int32_t>() & 0x7FFFFFFF;
}

/** Goes on by what the input says, sometimes not at all, sometimes back. */
timeval now() {
    static long microseconds = 0;
    const auto step = source->atEnd() ? 1 : source->number<int8_t>();
    microseconds += step;
    clockSeconds += microseconds < 0 ? -1 : microseconds > 999999 ? 1 : 0;
    microseconds = (microseconds + 1000000) % 1000000;
    timeval time{};
    time.tv_sec = clockSeconds;
    time.tv_usec = microseconds;
    return time;
}

} // namespace

const char *guid(const std::string &bytes) {
    Bytes input(bytes);
    source = &input;
    clockSeconds = 1200000000 + input.byte();
    qelGuid written;
    unsigned char octets[16];
    for (unsigned char &octet : octets)
        octet = input.byte();
    std::memcpy(&written, octets, sizeof octets);
    std::vector<char> text(37, '#');
    if (qelUuidToStringA(&written, text.data()) != text.data() || std::strlen(text.data()) != 36)
        return "a text has 36 characters";
    unsigned char back[16];
    const char *next = text.data();
    for (unsigned char &octet : back) {
        next += *next == '-';
        unsigned value = 0;
        if (!std::isxdigit(static_cast<unsigned char>(*next)) || std::sscanf(next, "%2x", &value) != 1)
            return "a text is made of hexadecimal digits";
        octet = static_cast<unsigned char>(value);
        next += 2;
    }
    if (std::memcmp(back, octets, sizeof back) != 0 || text[8] != '-' || text[13] != '-' || text[18] != '-' ||
        text[23] != '-')
        return "a text leads back to its octets";
    GuidState state;
    for (int i = 0; i < 8; ++i) {
        qelGuid made;
        createGuid(state, {now, draw}, made);
        std::memcpy(octets, &made, sizeof octets);
        if (octets[6] >> 4 != 1 || octets[8] >> 6 != 2 || octets[10] >> 7 != 1)
            return "a new GUID has its version, its variant, and a node that no network card has";
    }
    const uint32_t size = input.byte() % 48u;
    std::vector<char> braced(size + 1, '#');
    if (qelcomn_create_guid(&written, braced.data(), size) != 1 || braced[size] != '#')
        return "a text in braces keeps to its size";
    return nullptr;
}

} // namespace zor::test::readers
