#pragma once

// Runs the built zorprops as a user does, and takes down what it writes.

#include <map>
#include <string>
#include <vector>

namespace zor::test {

struct ProgramResult {
    int code = -1; // the exit code, or minus the signal that ended it
    std::string output, errors;
};

/** Where the program's standard output leads. */
enum class Standard { Pipe, PipeWithoutReader, FullDisk, Closed };

/** Runs zorprops with these arguments and, besides the test's own, these environment variables. */
ProgramResult runProgram(const std::vector<std::string> &arguments, Standard output = Standard::Pipe,
                         const std::map<std::string, std::string> &environment = {});

/** Runs zorprops with standard output and standard error on a terminal of so many columns; what both wrote is output.
 */
ProgramResult runOnTerminal(const std::vector<std::string> &arguments, unsigned short columns,
                            const std::map<std::string, std::string> &environment = {});

} // namespace zor::test
