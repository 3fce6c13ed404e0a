#pragma once

// Finds a text in another in time that grows with their lengths together, whatever they hold, and without memory of its
// own. The system's searches promise neither everywhere.

#include <cstddef>

namespace zor {

/** The first place of sought in text, both without terminators; null when it is not there. An empty one is at once. */
const char *findText(const char *text, size_t textLength, const char *sought, size_t length);

} // namespace zor
