#pragma once

// The answers as JSON, always valid UTF-8: what is none in the machine's names becomes U+FFFD. Keys keep their order.
// YAML and the facts for other engines are the same trees, written otherwise.

#include "items.h"
#include "machine.h"

#include <optional>
#include <string>
#include <vector>

namespace zorprops {

/** The number that a report's form has; changes when a reader of the old form would misread the new one. */
constexpr int kSchema = 1;

enum class Notation { Json, Yaml };

std::string asTree(const Report &report, Notation notation);
/** @param withoutUnknown  null in the place of what is not known. */
std::string asTree(const std::vector<Item> &answers, bool withoutUnknown, Notation notation);
std::string asTree(const std::vector<Interface> &interfaces, Notation notation);
std::string asTree(const Users &users, Notation notation);
std::string asTree(const std::vector<Change> &changes, Notation notation);
std::string listAsTree(Notation notation);
/** The report below one key, as facter and Ansible take it from a file. */
std::string asFacts(const Report &report);
/** One change and its time, on one line. */
std::string asJsonLine(const std::string &time, const Change &change);

/** Reads a report that was written as JSON, also one from before it had a schema.
 * @return none when it is no report; message then says why. */
std::optional<Snapshot> readReport(const std::string &text, std::string &message);

} // namespace zorprops
