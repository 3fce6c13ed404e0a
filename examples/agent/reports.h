#pragma once

#include <string>

/** Collects the report of this machine and writes it to a file of its own in folder, named by time and number, so that
 * names sort by age. Returns the file's name, empty when it could not be written. */
std::string writeReport(const std::string &folder, const std::string &title, int number);

/** Removes the oldest reports in folder, so that no more than keep stay. */
void pruneReports(const std::string &folder, size_t keep);
