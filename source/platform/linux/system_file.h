#pragma once

// Reads the small text files in which the kernel tells facts. Each read is bounded, and what does not look whole is
// not handed on: half a file would turn into a wrong number.

#include <cstddef>
#include <optional>
#include <string>

namespace zor::host {

/** The whole content of a file of at most maxBytes; nothing when it is missing, larger, or cannot be read to its end.
 */
std::optional<std::string> readSystemFile(const char *path, size_t maxBytes);

/** The content of a file up to its first empty line, or to its end where it has none; nothing when that takes more than
 * maxBytes, or the file cannot be read so far. The rest of a long file costs nothing. */
std::optional<std::string> readFirstParagraph(const char *path, size_t maxBytes);

} // namespace zor::host
