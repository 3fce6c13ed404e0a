#pragma once

// What the command line asks for.

#include <string>
#include <variant>
#include <vector>

namespace zorprops {

enum class Command { Report, Get, List, Interfaces, Users };

struct Options {
    Command command = Command::Report;
    bool json = false;
    bool verbose = false;           // the library's diagnostics go to standard error instead of nowhere
    bool loopback = false;          // interfaces: the loopback ones too
    std::vector<std::string> names; // get: what is asked for
    std::string localAddress;       // in the form that the library compares; empty: not given
};

/** The command line asked for a text, --help or --version. */
struct Information {
    std::string text;
};

/** The command line cannot be followed; one line. */
struct UsageError {
    std::string message;
};

/** Once in a process; reorders argv. */
std::variant<Options, Information, UsageError> parseOptions(int argc, char **argv);

} // namespace zorprops
