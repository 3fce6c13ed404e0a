// The wildcard matcher of the directory search, with rules of its own. The pattern is taken as runs of plain characters
// between stars, and each run is placed at its earliest fit, which leaves the most of the name to the runs after it; so
// no choice is ever taken back, and there is no recursion. The cost is that of reading both once; only a run with '?'
// in it may cost its length for each place that is tried.

#include "zorcomn/portability.h"

#include "source/portability/text_search.h"

#include <cstring>

namespace {

/** Whether a run of the pattern fits at the start of name; '?' stands for any one character. */
bool fitsAt(const char *run, size_t length, const char *name) {
    for (size_t i = 0; i < length; ++i) {
        if (name[i] == '\0' || (run[i] != '?' && run[i] != name[i]))
            return false;
    }
    return true;
}

/** The first place at which a run fits, not at the end itself; null for none. The search that takes time in proportion
 * to a long run prepares more than trying a short one everywhere costs. */
const char *firstFit(const char *run, size_t length, const char *rest, const char *end) {
    constexpr size_t kShortRun = 16;
    if (length > kShortRun && !std::memchr(run, '?', length))
        return zor::findText(rest, static_cast<size_t>(end - rest), run, length);
    for (; rest != end; ++rest)
        if (fitsAt(run, length, rest))
            return rest;
    return nullptr;
}

// Kept: a pattern matches every name that begins with what it matches; callers ask for prefixes that way.
// Kept: a star at the end of the name is a match, whatever the pattern holds after it ("a*b" matches "a"), and a star
// never hands the empty rest of the name to what follows it ("*x" tries no position after the last character).
bool matches(const char *pattern, const char *name) {
    const char *const end = name + std::strlen(name);
    size_t length = std::strcspn(pattern, "*");
    if (!fitsAt(pattern, length, name))
        return false;
    const char *star = pattern + length;
    const char *rest = name + length;
    while (*star != '\0' && rest != end) {
        const char *const run = star + 1;
        length = std::strcspn(run, "*");
        rest = firstFit(run, length, rest, end);
        if (!rest)
            return false;
        star = run + length;
        // The one case in which a later fit beats the earliest: the run ends the name, and a star follows it.
        if (*star != '\0' && length > 0 && fitsAt(run, length, end - length))
            return true;
        rest += length;
    }
    return true;
}

} // namespace

int32_t qelWildCardMatch(const char *pattern, const char *name) {
    if (!pattern)
        return 0;
    return matches(pattern, name ? name : "") ? 0 : 1;
}
