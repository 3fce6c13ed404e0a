// The shells' completions, from the description and the vocabulary: commands, the options that go with them, the
// choices of an option's value, names of properties, files.

#include "description.h"

#include "vocabulary.h"

namespace zorprops {

namespace {

void addWord(std::string &words, const std::string &word) {
    words += (words.empty() || word.empty() ? "" : " ") + word;
}

std::string names() {
    std::string words;
    for (const Word &word : properties())
        addWord(words, word.name);
    for (const Word &word : hostFacts())
        addWord(words, kHostPrefix + std::string(word.name));
    return words;
}

std::string commandNames() {
    std::string words;
    for (const CommandDescription &command : commands())
        if (*command.name)
            addWord(words, command.name);
    return words;
}

std::string joined(const std::vector<const char *> &texts) {
    std::string words;
    for (const char *text : texts)
        addWord(words, text);
    return words;
}

std::string optionWords(Command command) {
    std::string words;
    for (const OptionDescription &option : options()) {
        if (!goesWith(option, command))
            continue;
        addWord(words, std::string("--") + option.name);
        if (option.letter)
            addWord(words, std::string{'-', option.letter});
    }
    return words;
}

/** For single quotes, in which each of the three shells takes everything as it is. */
std::string quoted(const std::string &text) {
    std::string result;
    for (const char c : text)
        result += c == '\'' ? std::string("\xE2\x80\x99") : std::string(1, c); // an apostrophe that is none to a shell
    return result;
}

std::string bash() {
    std::string text = "# bash completion for zorprops\n"
                       "_zorprops() {\n"
                       "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command= i\n"
                       "    [[ $word == = ]] && word=\n"
                       "    [[ $before == = && $COMP_CWORD -gt 1 ]] && before=${COMP_WORDS[COMP_CWORD-2]}\n"
                       "    COMPREPLY=()\n"
                       "    case $before in\n";
    for (const OptionDescription &option : options())
        if (option.value)
            text +=
                "    --" + std::string(option.name) + ") " +
                (option.choices.empty() ? std::string()
                                        : "COMPREPLY=($(compgen -W '" + joined(option.choices) + "' -- \"$word\")); ") +
                "return ;;\n";
    text += "    esac\n"
            "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
            "        case ${COMP_WORDS[i]} in\n";
    std::string commandPattern = commandNames();
    for (char &c : commandPattern)
        c = c == ' ' ? '|' : c;
    text += "        " + commandPattern +
            ") command=${COMP_WORDS[i]}; break ;;\n        esac\n    done\n"
            "    if [[ $word == -* ]]; then\n        case $command in\n";
    for (const CommandDescription &command : commands())
        text += "        '" + std::string(command.name) + "') COMPREPLY=($(compgen -W '" +
                optionWords(command.command) + "' -- \"$word\")) ;;\n";
    text += "        esac\n        return\n    fi\n    case $command in\n";
    for (const CommandDescription &command : commands()) {
        const std::string name = "    '" + std::string(command.name) + "') ";
        if (!*command.name)
            text += name + "COMPREPLY=($(compgen -W '" + commandNames() + "' -- \"$word\")) ;;\n";
        else if (command.words == Words::Names)
            text += name + "local nocase=$(shopt -p nocasematch); shopt -s nocasematch\n" + "        for i in " +
                    names() + "; do [[ $i == \"$word\"* ]] && COMPREPLY+=(\"$i\"); done\n" +
                    "        eval \"$nocase\" ;;\n";
        else if (command.words == Words::Files)
            text += name + "COMPREPLY=($(compgen -f -- \"$word\")) ;;\n";
        else if (command.words == Words::Shell)
            text += name + "COMPREPLY=($(compgen -W '" + joined(kShells) + "' -- \"$word\")) ;;\n";
    }
    return text + "    esac\n}\ncomplete -F _zorprops zorprops\n";
}

/** Help in a specification of _arguments: brackets and colons would end it. */
std::string zshHelp(const std::string &help) {
    std::string text;
    for (const char c : quoted(help))
        text += c == '[' || c == ']' || c == ':' ? std::string{'\\', c} : std::string(1, c);
    return text;
}

std::string zshOption(const OptionDescription &option) {
    std::string value;
    if (option.value && option.choices.empty())
        value = ":" + std::string(option.value) + ":";
    else if (option.value)
        value = ":" + std::string(option.value) + ":(" + joined(option.choices) + ")";
    std::string text =
        "'--" + std::string(option.name) + (option.value ? "=" : "") + "[" + zshHelp(option.help) + "]" + value + "'";
    if (option.letter)
        text += std::string(" '-") + option.letter + "[" + zshHelp(option.help) + "]'";
    return text;
}

std::string zsh() {
    std::string text = "#compdef zorprops\n# zsh completion for zorprops\n_zorprops() {\n"
                       "    local -a known\n    local command=${words[(r)(";
    std::string pattern = commandNames();
    for (char &c : pattern)
        c = c == ' ' ? '|' : c;
    text += pattern + ")]}\n    known=(\n";
    for (const CommandDescription &command : commands())
        if (*command.name)
            text += "        '" + std::string(command.name) + ":" + zshHelp(command.help) + "'\n";
    text += "    )\n    case $command in\n";
    for (const CommandDescription &command : commands()) {
        text += "    '" + std::string(command.name) + "') _arguments -s";
        for (const OptionDescription &option : options())
            if (goesWith(option, command.command))
                text += " \\\n        " + zshOption(option);
        if (!*command.name)
            text += " \\\n        '1:command:{_describe command known}'";
        else if (command.words == Words::Names)
            text += " \\\n        '1:command:' '*:name:(" + names() + ")'";
        else if (command.words == Words::Files)
            text += " \\\n        '1:command:' '*:file:_files'";
        else if (command.words == Words::Shell)
            text += " \\\n        '1:command:' '2:shell:(" + joined(kShells) + ")'";
        else
            text += " \\\n        '1:command:'";
        text += " ;;\n";
    }
    return text + "    esac\n}\nif [[ $funcstack[1] == _zorprops ]]; then _zorprops \"$@\"; else compdef _zorprops "
                  "zorprops; fi\n";
}

std::string fish() {
    std::string text = "# fish completion for zorprops\ncomplete -c zorprops -f\n";
    const std::string none = " -n 'not __fish_seen_subcommand_from " + commandNames() + "'";
    for (const CommandDescription &command : commands()) {
        const std::string seen = " -n '__fish_seen_subcommand_from " + std::string(command.name) + "'";
        if (*command.name)
            text += "complete -c zorprops" + none + " -a " + command.name + " -d '" + quoted(command.help) + "'\n";
        if (command.words == Words::Names)
            text += "complete -c zorprops" + seen + " -a '" + names() + "'\n";
        else if (command.words == Words::Files)
            text += "complete -c zorprops" + seen + " -F\n";
        else if (command.words == Words::Shell)
            text += "complete -c zorprops" + seen + " -a '" + joined(kShells) + "'\n";
    }
    for (const OptionDescription &option : options()) {
        text += "complete -c zorprops -l " + std::string(option.name);
        if (option.letter)
            text += std::string(" -s ") + option.letter;
        if (option.value)
            text += " -x";
        if (!option.choices.empty())
            text += " -a '" + joined(option.choices) + "'";
        std::string with;
        for (const Command command : option.commands)
            addWord(with, describe(command).name);
        if (!option.commands.empty())
            text +=
                " -n '__fish_seen_subcommand_from " + with +
                (goesWith(option, Command::Report) ? "; or not __fish_seen_subcommand_from " + commandNames() : "") +
                "'";
        text += " -d '" + quoted(option.help) + "'\n";
    }
    return text;
}

} // namespace

std::string completions(const std::string &shell) {
    if (shell == "bash")
        return bash();
    if (shell == "zsh")
        return zsh();
    return shell == "fish" ? fish() : std::string();
}

} // namespace zorprops
