// What --help says and the man page, from the description.

#include "description.h"

#include "display.h"

#include <algorithm>

namespace zorprops {

namespace {

std::string callOf(const CommandDescription &command) {
    if (!*command.name)
        return "(none)";
    return command.name + std::string(*command.wordsShown ? " " : "") + command.wordsShown;
}

std::string callOf(const OptionDescription &option) {
    const std::string letter = option.letter ? std::string{'-', option.letter} + ", " : "";
    return letter + "--" + option.name + (option.value ? std::string(" ") + option.value : "");
}

/** Who an option is for, where that is not everybody. */
std::string audienceOf(const OptionDescription &option) {
    std::string names;
    if (option.commands.size() > 2)
        return names;
    for (const Command command : option.commands)
        names += (names.empty() ? "" : ", ") + std::string(describe(command).name);
    return names.empty() ? names : names + ": ";
}

std::string paragraph(const std::string &text, size_t columns) {
    std::string lines;
    for (const std::string &line : wrapped(text, columns))
        lines += line + "\n";
    return lines + "\n";
}

/** Text for the man macros: what they would take for orders is made plain. */
std::string roff(const std::string &text) {
    std::string result;
    for (const char c : text) {
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else if (c == '\'' || c == '.')
            result += std::string("\\&") + c;
        else
            result += c;
    }
    return result;
}

std::string item(const std::string &term, const std::string &text) {
    return ".TP\n.B \"" + roff(term) + "\"\n" + roff(text) + "\n";
}

} // namespace

std::string helpText(size_t columns) {
    constexpr char kIndent[] = "  ";
    const Style style{columns, false};
    const std::vector<Align> left{Align::Left, Align::Left};
    Table forCommands(left, 1), forOptions(left, 1), forCodes(left, 1), forExamples(left, 1);
    for (const CommandDescription &command : commands())
        forCommands.add({callOf(command), command.help});
    for (const OptionDescription &option : options())
        forOptions.add({callOf(option), audienceOf(option) + option.help});
    for (const ExitCodeDescription &code : exitCodes())
        forCodes.add({std::to_string(code.code), code.meaning});
    for (const Example &example : kExamples)
        forExamples.add({example.command, example.help});
    std::string text = paragraph(kPurpose, columns) + "Usage: zorprops [OPTION...] [COMMAND]\n\nCommands:\n" +
                       forCommands.text(kIndent, style) + "\nOptions:\n" + forOptions.text(kIndent, style) + "\n";
    for (const char *remark : kRemarks)
        text += paragraph(remark, columns);
    return text + "Exit code:\n" + forCodes.text(kIndent, style) + "\nExamples:\n" + forExamples.text(kIndent, style);
}

std::string manualPage() {
    std::string text = ".TH ZORPROPS 1 \"\" \"zorprops " ZORPROPS_VERSION
                       "\" \"User Commands\"\n.SH NAME\nzorprops \\- " +
                       roff("facts of this machine") + "\n.SH SYNOPSIS\n";
    for (const CommandDescription &command : commands())
        text += ".B zorprops\n.RI [ OPTION ...]\n" + (*command.name ? ".B " + roff(command.name) + "\n" : "") +
                (*command.wordsShown ? ".I " + roff(command.wordsShown) + "\n" : "") + ".br\n";
    text += ".SH DESCRIPTION\n" + roff(kPurpose) + "\n.SH COMMANDS\n";
    for (const CommandDescription &command : commands())
        text += item(callOf(command), command.help);
    text += ".SH OPTIONS\n";
    for (const OptionDescription &option : options())
        text += item(callOf(option), audienceOf(option) + option.help);
    text += ".SH NOTES\n";
    for (const char *remark : kRemarks)
        text += ".PP\n" + roff(remark) + "\n";
    text += ".SH EXIT STATUS\n";
    for (const ExitCodeDescription &code : exitCodes())
        text += item(std::to_string(code.code), code.meaning);
    text += ".SH EXAMPLES\n";
    for (const Example &example : kExamples)
        text += item(example.command, example.help);
    return text;
}

} // namespace zorprops
