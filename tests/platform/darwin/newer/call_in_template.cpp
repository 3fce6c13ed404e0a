// Compiles for 10.5, as the compiler misses what a template calls, but must be found by its names: strnlen came
// with 10.7. See scripts/darwin/check_10_5.
#include <cstring>

template <class Text> size_t lengthOf(const Text &text) {
    return strnlen(text, sizeof text);
}

size_t lengthOfField(const char (&field)[8]) {
    return lengthOf(field);
}
