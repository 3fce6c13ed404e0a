// zorprops: reports the facts of this machine through the library, as an agent would ask for them.

#include "answers.h"
#include "command_line.h"
#include "machine.h"
#include "own_output.h"
#include "watch.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include <unistd.h>

namespace zorprops {

namespace {

constexpr unsigned int kUsualColumns = 80, kFewestColumns = 20;

/** How the output is to look: by the terminal that it goes to, else plain and without a limit. */
Style styleOf(const OwnOutput &output) {
    unsigned int columns = output.terminalColumns();
    if (columns == 0)
        return {};
    if (const char *wanted = std::getenv("COLUMNS"))
        if (const unsigned long number = std::strtoul(wanted, nullptr, 10); number > 0 && number < 10000)
            columns = static_cast<unsigned int>(number);
    const char *noColour = std::getenv("NO_COLOR"), *terminal = std::getenv("TERM");
    const bool isPlain = (noColour && *noColour) || !terminal || std::strcmp(terminal, "dumb") == 0;
    return {std::max(columns, kFewestColumns), !isPlain};
}

/** Shows an answer; the exit code. */
int show(const Answer &answer, OwnOutput &output) {
    const int error = answer.output.empty() ? 0 : output.finish(answer.output);
    std::fputs(answer.messages.c_str(), stderr);
    if (error == 0)
        return answer.exitCode;
    std::fputs(message(std::string("cannot write the output: ") + std::strerror(error)).c_str(), stderr);
    return NotAnswered;
}

int show(Information information, OwnOutput &output) {
    if (information == Information::Version)
        return show(Answer{"zorprops " ZORPROPS_VERSION "\n"}, output);
    const size_t columns = styleOf(output).columns;
    return show(Answer{helpText(columns == 0 ? kUsualColumns : std::min<size_t>(columns, kUsualColumns))}, output);
}

int run(int argc, char **argv) {
    const auto parsed = parseCommandLine({argv + std::min(argc, 1), argv + argc});
    const auto *request = std::get_if<Request>(&parsed);
    OwnOutput output(request && request->verbose);
    if (const auto *error = std::get_if<UsageError>(&parsed))
        return show(Answer{"", message(error->message + " (try zorprops --help)"), BadUsage}, output);
    if (const auto *information = std::get_if<Information>(&parsed))
        return show(*information, output);
    std::signal(SIGCHLD, SIG_DFL); // whoever started this may have ignored it, and commands are waited for
    if (!request->localAddress.empty())
        setLocalAddress(request->localAddress);
    const Patience patience{request->timeout, isatty(STDERR_FILENO) == 1, request->verbose,
                            [&output] { output.abandon(); }, {}};
    if (request->command == Command::Watch)
        return watch(*request, output, patience);
    return show(answer(*request, styleOf(output), patience), output);
}

} // namespace

} // namespace zorprops

int main(int argc, char **argv) {
    try {
        return zorprops::run(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "zorprops: %s\n", error.what());
        return zorprops::NotAnswered;
    }
}
