// The wildcard matcher, against its rules as they are written down. A pattern and a name, one line each.

#include "zorcomn/portability.h"

#include "tests/fuzz/readers.h"

#include <algorithm>
#include <vector>

namespace zor::test::readers {

namespace {

constexpr size_t kMostSteps = 1 << 20; // of the model

/** Row by row from the end of both: whether the pattern from there matches the name from there. */
bool modelMatches(const std::string &pattern, const std::string &name) {
    std::vector<char> after(name.size() + 1, true), here(name.size() + 1);
    for (size_t i = pattern.size(); i-- > 0; after.swap(here)) {
        bool anyAfter = false; // of the places from here to the last character
        for (size_t j = name.size() + 1; j-- > 0;) {
            const bool atEnd = j == name.size();
            if (pattern[i] == '*') {
                anyAfter = anyAfter || (!atEnd && after[j]);
                here[j] = atEnd || anyAfter;
            } else {
                here[j] = !atEnd && (pattern[i] == '?' || pattern[i] == name[j]) && after[j + 1];
            }
        }
    }
    return after[0] != 0;
}

} // namespace

const char *wildcard(const std::string &bytes) {
    const std::string text = bytes.substr(0, bytes.find('\0'));
    const size_t end = std::min(text.find('\n'), text.size());
    const std::string pattern = text.substr(0, end), name = text.substr(std::min(end + 1, text.size()));
    const int32_t result = qelWildCardMatch(pattern.c_str(), name.c_str());
    if (result != 0 && result != 1)
        return "the result is 0 or 1";
    if (pattern.size() * (name.size() + 1) <= kMostSteps && result != (modelMatches(pattern, name) ? 0 : 1))
        return "the rules agree";
    return nullptr;
}

} // namespace zor::test::readers
