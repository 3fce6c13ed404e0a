// zorprops: reports the facts of this machine through the library, as an agent would ask for them.

#include "answers.h"
#include "command_line.h"
#include "machine.h"
#include "own_output.h"
#include "watch.h"
#include "workers.h"

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
    output.tell(answer.messages);
    if (error == 0)
        return answer.exitCode;
    output.tell(message(std::string("cannot write the output: ") + std::strerror(error)));
    return NotAnswered;
}

int show(Information information, OwnOutput &output) {
    if (information == Information::Version)
        return show(Answer{"zorprops " ZORPROPS_VERSION "\n"}, output);
    const size_t columns = styleOf(output).columns;
    return show(Answer{helpText(columns == 0 ? kUsualColumns : std::min<size_t>(columns, kUsualColumns))}, output);
}

int follow(const Request &request, OwnOutput &output) {
    std::signal(SIGCHLD, SIG_DFL); // whoever started this may have ignored it, and commands are waited for
    if (!request.localAddress.empty())
        setLocalAddress(request.localAddress);
    Patience patience;
    patience.limit = request.timeout;
    patience.messages = output.messages();
    if (output.messagesGoToTerminal())
        patience.showProgress = [&output](const std::string &line) { output.tell(line); };
    if (request.command == Command::Watch)
        return watch(request, output, patience);
    return show(answer(request, styleOf(output), patience), output);
}

volatile std::sig_atomic_t complaintsTo = STDERR_FILENO;

/** Where nothing can be caught any more: a library's destructor that needs memory, for one. */
[[noreturn]] void giveUp() {
    constexpr char kComplaint[] = "zorprops: cannot go on, most likely for want of memory\n";
    static_cast<void>(!write(complaintsTo, kComplaint, sizeof kComplaint - 1));
    _exit(NotAnswered);
}

int run(int argc, char **argv) {
    const auto parsed = parseCommandLine({argv + std::min(argc, 1), argv + argc});
    const auto *request = std::get_if<Request>(&parsed);
    OwnOutput output(request && request->verbose);
    complaintsTo = output.messages();
    int code = NotAnswered;
    try {
        if (const auto *error = std::get_if<UsageError>(&parsed))
            code = show(Answer{"", message(error->message + " (try zorprops --help)"), BadUsage}, output);
        else if (const auto *information = std::get_if<Information>(&parsed))
            code = show(*information, output);
        else
            code = follow(*request, output);
    } catch (const std::exception &error) {
        for (const char *const part : {"zorprops: ", error.what(), "\n"}) // there may be no memory to put them together
            output.tell(part);
    }
    if (Workers::haveLeftOneBehind())
        _exit(code);
    return code;
}

} // namespace

} // namespace zorprops

int main(int argc, char **argv) {
    std::set_terminate(zorprops::giveUp);
    try {
        return zorprops::run(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "zorprops: %s\n", error.what());
        return zorprops::NotAnswered;
    }
}
