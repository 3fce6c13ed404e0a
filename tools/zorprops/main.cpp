// zorprops: reports the facts of this machine through the library, as an agent would ask for them.

#include "json_report.h"
#include "machine.h"
#include "options.h"
#include "own_output.h"
#include "text_report.h"
#include "vocabulary.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>

namespace zorprops {

namespace {

enum ExitCode { Answered = 0, NotAnswered = 1, BadUsage = 2 };

/** What goes to standard output and what to standard error. */
struct Answer {
    std::string output;
    std::string messages = {};
    ExitCode exitCode = Answered;
};

std::string message(const std::string &text) {
    return "zorprops: " + printable(text) + "\n";
}

/** The note that goes with the texts which are the target system's on every host. */
std::string hostNote([[maybe_unused]] const std::vector<std::string> &names) {
#if ZORPROPS_HOST_IS_TARGET
    return {};
#else
    constexpr const char *kFixed[] = {"OSType", "OSOEMId", "PlatformID"};
    const bool reportsFixed = std::any_of(names.begin(), names.end(), [&](const std::string &name) {
        return std::find(std::begin(kFixed), std::end(kFixed), name) != std::end(kFixed);
    });
    return reportsFixed ? message("note: this host is not the target system; OSType, OSOEMId and PlatformID are the "
                                  "target's fixed texts")
                        : std::string();
#endif
}

std::string unknownName(const std::string &name) {
    std::string nearest;
    for (const std::string &candidate : nearestNames(name))
        nearest += (nearest.empty() ? "" : ", ") + candidate;
    return message("no property is named '" + name + "'; the nearest are " + nearest);
}

Answer report(bool json) {
    const Report report = collectReport();
    return {json ? asJson(report) : asText(report), hostNote({"OSType"})};
}

Answer get(const std::vector<std::string> &names, bool json) {
    const std::vector<std::optional<std::string>> found = collectProperties(names);
    std::vector<std::string> values;
    std::string unknown;
    for (size_t i = 0; i < names.size(); ++i) {
        if (found[i])
            values.push_back(*found[i]);
        else
            unknown += unknownName(names[i]);
    }
    if (!unknown.empty())
        return {"", unknown, NotAnswered};
    return {json ? asJson(names, values) : asText(names, values), hostNote(names)};
}

Answer answer(const Options &options) {
    switch (options.command) {
    case Command::Get:
        return get(options.names, options.json);
    case Command::List:
        return {options.json ? listAsJson() : listAsText()};
    case Command::Interfaces: {
        const std::vector<Interface> interfaces = collectInterfaces(options.loopback);
        return {options.json ? asJson(interfaces) : asText(interfaces)};
    }
    case Command::Users: {
        const Users users = collectUsers();
        return {options.json ? asJson(users) : asText(users)};
    }
    case Command::Report:
        break;
    }
    return report(options.json);
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

int run(int argc, char **argv) {
    const auto parsed = parseOptions(argc, argv);
    const auto *options = std::get_if<Options>(&parsed);
    OwnOutput output(options && options->verbose);
    if (const auto *error = std::get_if<UsageError>(&parsed))
        return show({"", message(error->message + " (try zorprops --help)"), BadUsage}, output);
    if (const auto *information = std::get_if<Information>(&parsed))
        return show({information->text}, output);
    if (!options->localAddress.empty())
        setLocalAddress(options->localAddress);
    return show(answer(*options), output);
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
