#pragma once

// What each command answers: text for standard output, messages for standard error, and the exit code.

#include "command_line.h"
#include "display.h"
#include "items.h"
#include "workers.h"

#include <string>

namespace zorprops {

struct Answer {
    std::string output = {};
    std::string messages = {};
    ExitCode exitCode = Answered;
};

/** A line for standard error. */
std::string message(const std::string &text);

/** What a report does not tell, as messages, and the exit code for that. */
Answer complaintsAbout(const Report &report, const Patience &patience);

/** Any command but watch. */
Answer answer(const Request &request, const Style &style, const Patience &patience);

} // namespace zorprops
