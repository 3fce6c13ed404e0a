// Time stamps of any time at all, against printf. Six numbers and a size.

#include "zorcomn/utilities.h"

#include "source/utilities/time_stamps.h"
#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"
#include "tools/zorprops/values.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace zor::test::readers {

namespace {

/** Small numbers mostly, any at times. */
int field(Bytes &input) {
    const uint8_t size = input.byte();
    return size < 240 ? size % 100 : input.number<int32_t>();
}

} // namespace

const char *time_stamps(const std::string &bytes) {
    Bytes input(bytes);
    std::tm time{};
    int *const fields[] = {&time.tm_year, &time.tm_mon, &time.tm_mday, &time.tm_hour, &time.tm_min, &time.tm_sec};
    for (int *number : fields)
        *number = field(input);
    const auto size = static_cast<uint16_t>(1 + input.byte() % 100);
    char compact[128], readable[128];
    const long long year = time.tm_year + 1900LL, month = time.tm_mon + 1LL;
    std::snprintf(compact, sizeof compact, "%04lld%02lld%02d%02d%02d%02d", year, month, time.tm_mday, time.tm_hour,
                  time.tm_min, time.tm_sec);
    std::snprintf(readable, sizeof readable, "%4lld-%02lld-%02d %02d:%02d:%02d", year, month, time.tm_mday,
                  time.tm_hour, time.tm_min, time.tm_sec);
    if (std::string(readableStamp(time).data()) != std::string(readable).substr(0, 31))
        return "printf agrees with the stamp to read";
    std::vector<char> narrow(size, '#');
    writeCompactStamp(&time, narrow.data(), size);
    if (std::string(narrow.data()) != std::string(compact).substr(0, size - 1u))
        return "printf agrees with the compact stamp";
    std::vector<wchar_t> wide(size, L'#');
    writeCompactStamp(&time, wide.data(), size);
    const std::string cut = std::string(compact).substr(0, 31);
    for (size_t i = 0; i < size; ++i)
        if (wide[i] != static_cast<wchar_t>(i < cut.size() ? cut[i] : '\0'))
            return "the wide stamp is the narrow one, filled with zeros";
    const std::string text = input.rest();
    const std::string iso = zorprops::isoTime(text);
    if (!iso.empty() && (iso.size() != 19 || iso[10] != 'T' || iso.substr(11) != text.substr(11)))
        return "a time of the contract is told in the other order, or not at all";
    return nullptr;
}

} // namespace zor::test::readers
