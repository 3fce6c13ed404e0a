#pragma once

// Text in a field of fixed size, as the kernel's records and answers carry it.

#include <algorithm>
#include <cstddef>
#include <string>

namespace zor::host {

/** The text of a field of size bytes, up to its first zero; all of it where it is filled to the end. */
inline std::string textIn(const char *field, size_t size) {
    return {field, std::find(field, field + size, '\0')};
}

template <size_t size> std::string textIn(const char (&field)[size]) {
    return textIn(field, size);
}

} // namespace zor::host
