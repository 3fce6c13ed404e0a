// Help, man page and completions say what the description says, and the shells take them.

#include "tests/support/temporary_folder.h"
#include "tests/tools/other_programs.h"
#include "tests/tools/program.h"

#include "tools/zorprops/description.h"
#include "tools/zorprops/vocabulary.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

using namespace zorprops;
using zor::test::runProgram;
using zor::test::shell;
using zor::test::TemporaryFolder;

namespace {

/** The man page as it is read: without its orders. */
std::string plainManual() {
    std::string text = manualPage();
    for (const char *order : {"\\-", "\\&", "\\e"})
        for (size_t at = 0; (at = text.find(order, at)) != std::string::npos;)
            text.replace(at, 2, order[1] == '-' ? "-" : order[1] == 'e' ? "\\" : "");
    return text;
}

/** What bash offers for the last of these words. */
std::vector<std::string> offered(const std::vector<std::string> &words) {
    std::string line = "eval \"$(" + zor::test::zorprops() + " completion bash)\"; COMP_WORDS=(";
    for (const std::string &word : words)
        line += "'" + word + "' ";
    line += "); COMP_CWORD=" + std::to_string(words.size() - 1) + "; _zorprops; printf '%s\\n' \"${COMPREPLY[@]}\"";
    TemporaryFolder folder;
    std::istringstream output(shell("bash '" + folder.write("complete", line) + "'").output);
    std::vector<std::string> replies;
    for (std::string reply; std::getline(output, reply);)
        replies.push_back(reply);
    return replies;
}

} // namespace

TEST(Description, EveryCommandOptionAndCode_IsInHelpAndManual) {
    const std::string help = runProgram({"--help"}).output, manual = plainManual();
    EXPECT_EQ(runProgram({"-h"}).output, help);
    EXPECT_EQ(runProgram({"manual"}).output, manualPage());
    for (const CommandDescription &command : commands()) {
        const std::string call = std::string(command.name) + (*command.wordsShown ? " " : "") + command.wordsShown;
        EXPECT_NE(help.find("\n  " + (*command.name ? call : "(none)") + " "), std::string::npos) << call;
        EXPECT_NE(manual.find(".B \"" + (*command.name ? call : "(none)") + "\"\n"), std::string::npos) << call;
    }
    for (const OptionDescription &option : options()) {
        const std::string call =
            "--" + std::string(option.name) + (option.value ? " " : "") + (option.value ? option.value : "");
        EXPECT_NE(help.find(call + " "), std::string::npos) << call;
        EXPECT_NE(manual.find(call + "\"\n"), std::string::npos) << call;
    }
    for (const ExitCodeDescription &code : exitCodes()) {
        EXPECT_NE(help.find("\n  " + std::to_string(code.code) + "  "), std::string::npos) << code.meaning;
        EXPECT_NE(manual.find(code.meaning), std::string::npos) << code.meaning;
    }
}

TEST(Description, EveryOption_HasTextsAndOneName) {
    for (const OptionDescription &option : options()) {
        EXPECT_NE(std::string(option.help), "") << option.name;
        EXPECT_EQ(std::count_if(options().begin(), options().end(),
                                [&](const OptionDescription &other) {
                                    return other.name == std::string(option.name) ||
                                           (option.letter != 0 && other.letter == option.letter);
                                }),
                  1)
            << option.name;
    }
}

TEST(Description, EveryCommandAndOption_IsInEachCompletion) {
    for (const char *shellName : kShells) {
        const std::string text = completions(shellName);
        EXPECT_EQ(runProgram({"completion", shellName}).output, text);
        const bool isFish = std::string(shellName) == "fish";
        for (const CommandDescription &command : commands())
            EXPECT_NE(text.find(command.name), std::string::npos) << shellName << " " << command.name;
        for (const OptionDescription &option : options())
            EXPECT_NE(text.find((isFish ? "-l " : "--") + std::string(option.name)), std::string::npos)
                << shellName << " " << option.name;
        for (const Word &word : properties())
            EXPECT_NE(text.find(word.name), std::string::npos) << shellName << " " << word.name;
    }
}

TEST(Completion, Bash_OffersWhatFits) {
    ZORCOMN_SKIP_WITHOUT_PROGRAM("bash");
    using Replies = std::vector<std::string>;
    EXPECT_EQ(offered({"zorprops", "in"}), Replies{"interfaces"});
    EXPECT_EQ(offered({"zorprops", "get", "OSV"}), Replies{"OSVersion"});
    EXPECT_EQ(offered({"zorprops", "get", "osv"}), Replies{"OSVersion"});
    EXPECT_EQ(offered({"zorprops", "get", "OSType", "host.k"}), Replies{"host.kernel"});
    EXPECT_EQ(offered({"zorprops", "--loc"}), Replies{"--local-ip"});
    EXPECT_EQ(offered({"zorprops", "interfaces", "--lo"}), Replies{"--loopback"});
    EXPECT_EQ(offered({"zorprops", "--format", "pro"}), Replies{"prometheus"});
    EXPECT_EQ(offered({"zorprops", "--format", "=", "pro"}), Replies{"prometheus"});
    EXPECT_EQ(offered({"zorprops", "completion", "z"}), Replies{"zsh"});
}

TEST(Completion, Fish_OffersWhatFits) {
    ZORCOMN_SKIP_WITHOUT_PROGRAM("fish");
    TemporaryFolder folder;
    const std::string file = folder.write("zorprops.fish", completions("fish"));
    EXPECT_EQ(shell("fish -n '" + file + "'").output, "");
    const std::string run = "HOME='" + folder.path() + "' fish -c 'source " + file + "; complete -C \"";
    EXPECT_EQ(shell(run + "zorprops get OSV\"'").output, "OSVersion\n");
    EXPECT_EQ(shell(run + "zorprops interf\"' | cut -f 1").output, "interfaces\n");
    EXPECT_EQ(shell(run + "zorprops interfaces --lo\"' | cut -f 1").output, "--loopback\n");
}

TEST(Completion, Zsh_TakesItsFile) {
    ZORCOMN_SKIP_WITHOUT_PROGRAM("zsh");
    TemporaryFolder folder;
    const std::string file = folder.write("_zorprops", completions("zsh"));
    EXPECT_EQ(shell("zsh -n '" + file + "'").output, "");
    const zor::test::ShellResult loaded = shell("zsh -f -c 'fpath=(" + folder.path() +
                                                " $fpath); autoload -U compinit; compinit -D -u; echo "
                                                "${_comps[zorprops]}; source " +
                                                file + "; whence -w _zorprops'");
    EXPECT_EQ(loaded.output, "_zorprops\n_zorprops: function\n");
}

TEST(Manual, IsTakenWithoutAWarning) {
    ZORCOMN_SKIP_WITHOUT_PROGRAM("man");
    TemporaryFolder folder;
    const std::string file = folder.write("zorprops.1", manualPage());
    const zor::test::ShellResult page = shell("LC_ALL=C MANWIDTH=80 man --warnings=w -l '" + file + "' | col -b");
    EXPECT_EQ(page.output.find("warning"), std::string::npos) << page.output;
    EXPECT_NE(page.output.find("--local-ip ADDRESS"), std::string::npos) << page.output;
    EXPECT_NE(page.output.find("shown as \\xNN"), std::string::npos) << page.output;
}
