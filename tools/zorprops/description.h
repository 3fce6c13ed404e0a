#pragma once

// The command line in one place: parsing, --help, the man page and the shells' completions are all made from these
// tables, so that none of them can say something else.

#include <string>
#include <vector>

namespace zorprops {

enum class Command { Report, Get, List, Interfaces, Users, Diff, Watch, Completion, Manual };

/** What the words after a command are. */
enum class Words { None, Names, Files, Shell };

struct CommandDescription {
    Command command;
    const char *name; // empty: what runs without one
    Words words;
    size_t fewest, most;
    const char *wordsShown; // as help shows them
    const char *help;
};

enum class Option { Format, Json, LocalIp, Loopback, Null, Timeout, Interval, Count, All, Verbose, Help, Version };

struct OptionDescription {
    Option option;
    const char *name;                  // without its dashes
    char letter;                       // 0: none
    const char *value;                 // null: takes none
    std::vector<const char *> choices; // of the value, if they are few
    std::vector<Command> commands;     // empty: goes with every one
    const char *help;
};

enum ExitCode { Answered = 0, NotAnswered = 1, BadUsage = 2, NoValue = 3, TimeRanOut = 4 };

struct ExitCodeDescription {
    ExitCode code;
    const char *meaning;
};

const std::vector<CommandDescription> &commands();
const std::vector<OptionDescription> &options();
const std::vector<ExitCodeDescription> &exitCodes();
const CommandDescription &describe(Command command);
/** Whether an option goes with a command. */
bool goesWith(const OptionDescription &option, Command command);

extern const char *const kPurpose;               // one line
extern const std::vector<const char *> kRemarks; // paragraphs
extern const std::vector<const char *> kShells;
struct Example {
    const char *command, *help;
};
extern const std::vector<Example> kExamples;

/** The text of --help, its lines no wider than so many columns. */
std::string helpText(size_t columns);
/** The man page, in the man macros. */
std::string manualPage();
/** The completions for bash, zsh or fish; empty for another shell. */
std::string completions(const std::string &shell);

} // namespace zorprops
