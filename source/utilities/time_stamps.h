#pragma once

// The two stamp shapes for a time that is handed in; the exported makers add the clock.

#include <array>
#include <cstdint>
#include <ctime>

namespace zor {

/** "2009-03-07 08:05:09"; the rest of the array is zero. */
std::array<char, 32> readableStamp(const std::tm &time);

/** "20090307080509", cut to size bytes and terminated. Null stands for a time that could not be broken down: "". */
void writeCompactStamp(const std::tm *time, char *buffer, uint16_t size);

/** The same as at most size wide characters; zeros fill a longer buffer, a shorter one gets no terminator. */
void writeCompactStamp(const std::tm *time, wchar_t *buffer, uint16_t size);

} // namespace zor
