#include "description.h"

#include <algorithm>

namespace zorprops {

const char *const kPurpose =
    "Reports the facts of this machine: what the management agent sends to its server, and what a "
    "person asks first.";

const std::vector<const char *> kShells = {"bash", "zsh", "fish"};

const std::vector<CommandDescription> &commands() {
    static const std::vector<CommandDescription> rows = {
        {Command::Report, "", Words::None, 0, 0, "", "this host, every property in groups, and the file systems"},
        {Command::Get, "get", Words::Names, 1, size_t(-1), "NAME...",
         "the value of one property, or name=value lines for several; letter case does not count"},
        {Command::List, "list", Words::None, 0, 0, "", "the names with type, unit and meaning, by group"},
        {Command::Interfaces, "interfaces", Words::None, 0, 0, "",
         "the network interfaces that are up, with their addresses"},
        {Command::Users, "users", Words::None, 0, 0, "",
         "who is logged on: network users, local users, and both as the report has them"},
        {Command::Diff, "diff", Words::Files, 1, 2, "OLD.json [NEW.json]",
         "what changed between two reports, or between one and this machine"},
        {Command::Watch, "watch", Words::None, 0, 0, "", "a line for each fact that changes, until interrupted"},
        {Command::Completion, "completion", Words::Shell, 1, 1, "SHELL",
         "the completions for bash, zsh or fish, to be read by that shell"},
        {Command::Manual, "manual", Words::None, 0, 0, "", "the man page, in the form that man reads"},
    };
    return rows;
}

const std::vector<OptionDescription> &options() {
    static const std::vector<OptionDescription> rows = {
        {Option::Format,
         "format",
         0,
         "FORMAT",
         {"text", "json", "yaml", "csv", "prometheus", "facts"},
         {Command::Report, Command::Get, Command::List, Command::Interfaces, Command::Users, Command::Diff,
          Command::Watch},
         "text, json, yaml, csv; for the report also prometheus (for the node exporter) and facts (for facter and "
         "Ansible); diff and watch know text and json"},
        {Option::Json,
         "json",
         0,
         nullptr,
         {},
         {Command::Report, Command::Get, Command::List, Command::Interfaces, Command::Users, Command::Diff,
          Command::Watch},
         "the same as --format=json"},
        {Option::LocalIp,
         "local-ip",
         0,
         "ADDRESS",
         {},
         {Command::Report, Command::Get, Command::Diff, Command::Watch},
         "the address that the machine last used: the one to report if the machine has it"},
        {Option::Loopback, "loopback", 0, nullptr, {}, {Command::Interfaces}, "the loopback interfaces too"},
        {Option::Null, "null", 0, nullptr, {}, {Command::Get}, "print nothing, or null, for what is not known"},
        {Option::Timeout,
         "timeout",
         0,
         "SECONDS",
         {},
         {Command::Report, Command::Get, Command::Users, Command::Diff, Command::Watch},
         "wait no longer for name servers, disks and commands, but report what is known by then; 10 if not given, 0 "
         "waits for ever"},
        {Option::Interval, "interval", 0, "SECONDS", {}, {Command::Watch}, "time between two looks; 10 if not given"},
        {Option::Count, "count", 0, "N", {}, {Command::Watch}, "end after so many looks"},
        {Option::All,
         "all",
         0,
         nullptr,
         {},
         {Command::Diff, Command::Watch},
         "also what is different with every look: times, uptime, available memory and disk space"},
        {Option::Verbose,
         "verbose",
         'v',
         nullptr,
         {},
         {},
         "pass the diagnostics of the user list on to standard error; else they go nowhere"},
        {Option::Help, "help", 'h', nullptr, {}, {}, "this text"},
        {Option::Version, "version", 0, nullptr, {}, {}, "the version"},
    };
    return rows;
}

const std::vector<ExitCodeDescription> &exitCodes() {
    static const std::vector<ExitCodeDescription> rows = {
        {Answered, "answered; diff: nothing changed"},
        {NotAnswered, "something is missing: no such property, a fact that could not be read, output that could not be "
                      "written; diff: something changed"},
        {BadUsage, "usage error; diff: a file that cannot be read or is no report"},
        {NoValue, "get: the name is known, but has no value on this machine"},
        {TimeRanOut, "not everything was told in time (--timeout)"},
    };
    return rows;
}

const std::vector<const char *> kRemarks = {
    "get also answers, for each mount point, FileSystem\"/\" Total_Disk_Space_in_MB and FileSystem\"/\" "
    "Free_Disk_Space_in_MB (quote the whole name for the shell), and what the report says about this host, as in "
    "host.memoryAvailable. SystemInfo, the name of a section, has no value.",
    "Properties are texts of the agent's contract: N/A, NA and -1 mean that something is not known. In JSON, values "
    "holds the same as numbers, true, false and null; free memory and disk space of the contract come in twentieths of "
    "the whole, those of this host exactly.",
    "Control characters are shown as \\xNN, and so are bytes of an interface's name that are no UTF-8; a property ends "
    "before its first such byte. But get with a single name writes the value as it is, and JSON has U+FFFD in the "
    "place "
    "of what is no UTF-8.",
    "On a terminal, lines are no wider than it (COLUMNS, if set, says how wide), and headings are bold unless NO_COLOR "
    "is "
    "set.",
};

const std::vector<Example> kExamples = {
    {"zorprops", "this machine"},
    {"zorprops get IPAddress", "one value, for a script"},
    {"zorprops --json > monday.json", "keep a report"},
    {"zorprops diff monday.json", "what has changed since"},
    {"zorprops watch --interval 60", "what changes from now on"},
    {"zorprops --format=prometheus", "for the node exporter's text-file collector"},
};

const CommandDescription &describe(Command command) {
    return *std::find_if(commands().begin(), commands().end(),
                         [&](const CommandDescription &row) { return row.command == command; });
}

bool goesWith(const OptionDescription &option, Command command) {
    return option.commands.empty() ||
           std::find(option.commands.begin(), option.commands.end(), command) != option.commands.end();
}

} // namespace zorprops
