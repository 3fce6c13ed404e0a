#pragma once

// What the command line asks for.

#include "description.h"

#include <chrono>
#include <string>
#include <variant>
#include <vector>

namespace zorprops {

enum class Format { Text, Json, Yaml, Csv, Prometheus, Facts };

struct Request {
    Command command = Command::Report;
    Format format = Format::Text;
    bool verbose = false;           // the library's diagnostics go to standard error instead of nowhere
    bool loopback = false;          // interfaces: the loopback ones too
    bool null = false;              // get: nothing for what is not known
    bool all = false;               // diff, watch: restless facts too
    std::vector<std::string> words; // names, files or a shell
    std::string localAddress;       // in the form that the library compares; empty: not given
    std::chrono::milliseconds timeout{10000}, interval{10000};
    unsigned long count = 0; // watch: looks; 0: until interrupted
};

/** The command line asks for a text. */
enum class Information { Help, Version };

/** The command line cannot be followed; one line. */
struct UsageError {
    std::string message;
};

/** Reads a command line, without the program's name. */
std::variant<Request, Information, UsageError> parseCommandLine(const std::vector<std::string> &arguments);

} // namespace zorprops
