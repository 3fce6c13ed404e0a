// The two-way search of Crochemore and Perrin: the sought text is cut where its own repetitions begin anew; the right
// part is compared first, from left to right, then the left part. A mismatch on the right shifts by what fitted, one on
// the left by the period, and what is known to fit after a shift by the period is not compared again.

#include "source/portability/text_search.h"

#include <algorithm>
#include <cstring>

namespace zor {

namespace {

struct Cut {
    size_t at;     // of the right part
    size_t period; // of the right part
};

/** The suffix of a text that is the greatest in the order of bytes, or in the reverse order. */
Cut greatestSuffix(const char *text, size_t length, bool isReverse) {
    size_t suffix = 0, period = 1, rival = 1, equal = 0;
    while (rival + equal < length) {
        const auto mine = static_cast<unsigned char>(text[suffix + equal]);
        const auto others = static_cast<unsigned char>(text[rival + equal]);
        if (mine == others) {
            if (++equal == period) {
                rival += period;
                equal = 0;
            }
        } else if ((others < mine) != isReverse) {
            rival += equal + 1;
            equal = 0;
            period = rival - suffix;
        } else {
            suffix = rival++;
            period = 1;
            equal = 0;
        }
    }
    return {suffix, period};
}

Cut criticalCut(const char *text, size_t length) {
    const Cut forward = greatestSuffix(text, length, false), backward = greatestSuffix(text, length, true);
    return forward.at > backward.at ? forward : backward;
}

} // namespace

const char *findText(const char *text, size_t textLength, const char *sought, size_t length) {
    if (length == 0)
        return text;
    if (length > textLength)
        return nullptr;
    if (length == 1)
        return static_cast<const char *>(std::memchr(text, static_cast<unsigned char>(*sought), textLength));
    const Cut cut = criticalCut(sought, length);
    // Where the whole text repeats itself by the period, a shift by it keeps all but the last period in place.
    const bool repeats = cut.at + cut.period <= length && std::memcmp(sought, sought + cut.period, cut.at) == 0;
    const size_t shift = repeats ? cut.period : std::max(cut.at, length - cut.at) + 1;
    size_t known = 0; // that many bytes at the front fit
    for (size_t place = 0; place <= textLength - length;) {
        size_t i = std::max(cut.at, known);
        while (i < length && sought[i] == text[place + i])
            ++i;
        if (i < length) {
            place += i - cut.at + 1;
            known = 0;
            continue;
        }
        for (i = cut.at; i > known && sought[i - 1] == text[place + i - 1];)
            --i;
        if (i <= known)
            return text + place;
        place += shift;
        known = repeats ? length - shift : 0;
    }
    return nullptr;
}

} // namespace zor
