#pragma once

// Runs a command for the sake of what it prints.

#include <cstddef>
#include <optional>
#include <string>

namespace zor {

/** Runs a command in the shell and waits for its end, though not for what it leaves behind. In a process with raised
 * privileges it is looked for in the system's folders alone, and gets nothing of the caller's environment.
 * @return the first maxBytes of its standard output, or all when it prints less, null bytes and all; nothing when it
 *         cannot be started. Throws where memory runs out, and when not all that it prints could be read: so when a
 * signal ends its shell. A command that prints more is ended by the closed pipe.
 */
std::optional<std::string> commandOutput(const char *command, size_t maxBytes);

/** What a command's shell prints last, behind all that the command does. */
constexpr char kEndOfOutput[] = "\004\004zorcomn: end\004\004";

} // namespace zor
