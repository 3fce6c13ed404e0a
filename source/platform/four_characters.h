#pragma once

// Codes that are spelled as four characters, the first one in the highest byte.

#include <cstdint>

namespace zor {

constexpr uint32_t fourCharacterCode(const char (&name)[5]) {
    uint32_t code = 0;
    for (int i = 0; i < 4; ++i)
        code = code << 8 | static_cast<unsigned char>(name[i]);
    return code;
}

} // namespace zor
