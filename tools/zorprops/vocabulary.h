#pragma once

// The names of the properties, in the groups and order that a reader expects.

#include <string>
#include <vector>

namespace zorprops {

struct Group {
    const char *title;
    std::vector<std::string> names;
};

/** All properties of the full report; no name twice. */
const std::vector<Group> &groups();

/** The names most like the given one, the nearest first; at most three. */
std::vector<std::string> nearestNames(const std::string &name);

/** How many characters have to be put in, taken out or replaced to make one text of the other, whatever their case. */
size_t editDistance(const std::string &one, const std::string &other);

} // namespace zorprops
