// The command line, by the C library's own getopt_long: a library with types and subcommands of its own takes a fifth
// of /bin/true's run time, and one property is to be had in twice that time.

#include "options.h"

#include "zorcomn/network.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

#include <arpa/inet.h>
#include <getopt.h>
#include <netinet/in.h>

namespace zorprops {

namespace {

constexpr char kHelp[] = R"(Reports the facts of this machine that the management agent sends to its server.

Usage: zorprops [OPTION...] [COMMAND]

Commands:
  (none)                every property, in groups, and the file systems
  get NAME...           the value of one property, or name=value lines for several
  list                  the names of the properties, by group
  interfaces            the network interfaces that are up, with their addresses
  users                 who is logged on: network users, local users, and both as the report has them

Options:
  --json                write JSON
  --local-ip ADDRESS    the address that the machine last used: the one to report if the machine has it
  --loopback            interfaces: the loopback ones too
  -v, --verbose         pass the diagnostics of the user list on to standard error; else they go nowhere
  -h, --help            this text
  --version             the version

get also answers, for each mount point, FileSystem"/" Total_Disk_Space_in_MB and FileSystem"/" Free_Disk_Space_in_MB
(quote the whole name for the shell). SystemInfo, the name of a section, has no value.

Control characters, and bytes that are no UTF-8, are shown as \xNN. But get with a single name writes the value as it
is, and JSON has U+FFFD in the place of what is no UTF-8.

Exit code: 0 answered; 1 not answered: no such property, or the output could not be written; 2 usage error.
)";

enum OptionCode { Json = 1, LocalIp, Loopback, Version, Verbose = 'v', Help = 'h' };

constexpr option kOptions[] = {
    {"json", no_argument, nullptr, Json},
    {"local-ip", required_argument, nullptr, LocalIp},
    {"loopback", no_argument, nullptr, Loopback},
    {"verbose", no_argument, nullptr, Verbose},
    {"help", no_argument, nullptr, Help},
    {"version", no_argument, nullptr, Version},
    {nullptr, 0, nullptr, 0},
};

constexpr struct {
    const char *name;
    Command command;
} kCommands[] = {
    {"get", Command::Get}, {"list", Command::List}, {"interfaces", Command::Interfaces}, {"users", Command::Users}};

using Parsed = std::variant<Options, Information, UsageError>;

/** An address as the library's lists spell it; empty when the text is none. */
std::string canonicalAddress(const std::string &text) {
    const std::string address = text.substr(0, text.find('%')); // the lists know no scopes
    in6_addr bytes;
    char canonical[INET6_ADDRSTRLEN];
    for (const int family : {AF_INET, AF_INET6})
        if (inet_pton(family, address.c_str(), &bytes) == 1 && inet_ntop(family, &bytes, canonical, sizeof canonical))
            return velmora_com::vta::expandIPV6Address(canonical);
    return {};
}

/** The option that getopt_long has just refused. A letter stands for itself, since the word that it is in may go on. */
std::string refusedOption(char **argv) {
    const bool isWord = optopt == 0 || std::any_of(std::begin(kOptions), std::end(kOptions),
                                                   [](const option &known) { return known.val == optopt; });
    return isWord ? std::string(argv[optind - 1]) : std::string{'-', static_cast<char>(optopt)};
}

/** Takes the options in; what is left in argv from optind on are the command and its names. */
std::optional<Parsed> parseFlags(int argc, char **argv, Options &options) {
    opterr = 0; // the messages are our own
    for (;;) {
        switch (getopt_long(argc, argv, ":hv", kOptions, nullptr)) {
        case -1:
            return std::nullopt;
        case Json:
            options.json = true;
            break;
        case Loopback:
            options.loopback = true;
            break;
        case Verbose:
            options.verbose = true;
            break;
        case LocalIp:
            options.localAddress = canonicalAddress(optarg);
            if (options.localAddress.empty())
                return UsageError{"--local-ip: not an IP address: " + std::string(optarg)};
            break;
        case Help:
            return Information{kHelp};
        case Version:
            return Information{"zorprops " ZORPROPS_VERSION "\n"};
        case ':':
            return UsageError{"the option needs a value: " + std::string(argv[optind - 1])};
        default:
            return UsageError{"no such option: " + refusedOption(argv)};
        }
    }
}

/** Takes the command and its names in. */
Parsed parseCommand(const std::vector<std::string> &words, Options options) {
    if (!words.empty()) {
        const auto known = std::find_if(std::begin(kCommands), std::end(kCommands),
                                        [&](const auto &row) { return words.front() == row.name; });
        if (known == std::end(kCommands))
            return UsageError{"no such command: " + words.front()};
        options.command = known->command;
        options.names.assign(words.begin() + 1, words.end());
    }
    if (options.command == Command::Get && options.names.empty())
        return UsageError{"get needs the name of a property"};
    if (options.command != Command::Get && !options.names.empty())
        return UsageError{words.front() + " takes no names: " + options.names.front()};
    if (options.command != Command::Interfaces && options.loopback)
        return UsageError{"--loopback goes with interfaces only"};
    return options;
}

} // namespace

Parsed parseOptions(int argc, char **argv) {
    Options options;
    if (const std::optional<Parsed> ended = parseFlags(argc, argv, options))
        return *ended;
    return parseCommand({argv + optind, argv + argc}, options);
}

} // namespace zorprops
