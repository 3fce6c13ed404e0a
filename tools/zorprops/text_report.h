#pragma once

// The answers as text for people, and for scripts that read lines.

#include "machine.h"

#include <string>
#include <vector>

namespace zorprops {

/** Text that stays on its line and leaves a terminal alone: control characters, and bytes that are no UTF-8, become
 * \xNN. */
std::string printable(const std::string &text);

std::string asText(const Report &report);
/** The value alone for one name, name=value lines for several. */
std::string asText(const std::vector<std::string> &names, const std::vector<std::string> &values);
std::string asText(const std::vector<Interface> &interfaces);
std::string asText(const Users &users);
std::string listAsText();

} // namespace zorprops
