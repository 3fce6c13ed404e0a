#pragma once

// Reads the small text files in which the kernel tells facts. Each read is bounded, and what does not look whole is
// not handed on: half a file would turn into a wrong number. Other file systems may be mounted over the kernel's, as
// containers do with programs that tell them a machine of their own; such files are read apart, under a time limit.

#include "source/platform/linux/apart.h"

#include <cstddef>
#include <optional>
#include <string>

namespace zor::host {

constexpr char kMountTablePath[] = "/proc/self/mountinfo";

enum class Reach {
    here,    // the kernel's own file system there: it answers
    nowhere, // nothing is there
    foreign, // something else is mounted there, or on the way; whoever serves it may never answer
};
/** What a path below /proc or /sys leads to; that itself is not asked. */
Reach reachOf(const char *path);

/** The whole content of a file of at most maxBytes; nothing when it is missing, larger, or cannot be read to its end,
 * or, where it may never answer, not within the limit. */
std::optional<std::string> readSystemFile(const char *path, size_t maxBytes,
                                          std::chrono::milliseconds limit = kAnswerLimit);

/** The content of a file up to its first empty line, or to its end where it has none; nothing when that takes more than
 * maxBytes, or the file cannot be read so far (in time, as above). The rest of a long file costs nothing. */
std::optional<std::string> readFirstParagraph(const char *path, size_t maxBytes,
                                              std::chrono::milliseconds limit = kAnswerLimit);

} // namespace zor::host
