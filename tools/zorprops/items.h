#pragma once

// A report as one list of named values: for rows, comparisons and questions by name.

#include "machine.h"
#include "values.h"

#include <set>
#include <string>
#include <vector>

namespace zorprops {

struct Item {
    std::string name; // as get takes it
    std::string text; // as reported; empty for a fact of this host that is not known
    Value value;      // what it means
    const char *unit; // empty: none
    bool isRestless;
    bool isHost;
};

/** Every fact of this host, property and file system of a report, in the order of its groups. */
std::vector<Item> itemsOf(const Report &report);

/** The name that the library gives a figure of a mount point. */
std::string figureName(const std::string &mountPoint, bool isTotal);
/** Whether a name is that of a figure of a mount point, its fixed parts in any letter case. */
bool isFigureName(const std::string &name, std::string &mountPoint, bool &isTotal);

/** A difference between two reports; an empty text: there is none. */
struct Change {
    std::string name, before, after;
};

/** What a comparison needs of a report. */
struct Snapshot {
    std::vector<std::pair<std::string, std::string>> values; // name and text, in order
    std::set<std::string> untold;                            // names that say nothing: late or unread
};

Snapshot snapshotOf(const Report &report);

/** @param withRestless  also what is different with every look. */
std::vector<Change> changesBetween(const Snapshot &before, const Snapshot &after, bool withRestless);

} // namespace zorprops
