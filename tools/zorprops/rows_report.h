#pragma once

// The answers as lines for other programs: comma-separated values, and the text format that Prometheus scrapes.

#include "items.h"
#include "machine.h"

#include <string>
#include <vector>

namespace zorprops {

/** Rows of name, value and unit below their headings; a value that is not known is empty. */
std::string asCsv(const std::vector<Item> &items);
std::string asCsv(const std::vector<Interface> &interfaces);
std::string asCsv(const Users &users);
std::string listAsCsv();

/** The report as metrics: texts as labels of metrics that are 1, numbers in base units. What differs with every look
 * and is no number is left out, since each of its values would be a series of its own. */
std::string asPrometheus(const Report &report, long long now);

} // namespace zorprops
