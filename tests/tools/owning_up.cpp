#include "tests/tools/owning_up.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace zor::test {

using Json = nlohmann::ordered_json;

namespace {

bool names(const Json &list, const std::string &name) {
    return std::find(list.begin(), list.end(), name) != list.end();
}

bool isRestless(const std::string &name) {
    return name == "FreeMemory" || name == "FreeDiskSpace" || name == "LastUpdate";
}

} // namespace

std::string faultsOf(const ProgramResult &answer, const std::string &goodOutput, const std::set<std::string> &untold) {
    if (answer.code < 0)
        return "ended by signal " + std::to_string(-answer.code);
    if (answer.code != 0 && answer.errors.empty())
        return "failed without a sentence";
    if (answer.code != 0 && answer.output.empty())
        return {};
    const Json report = Json::parse(answer.output, nullptr, false);
    if (report.is_discarded())
        return "no report: " + answer.output.substr(0, 200);
    std::string faults;
    bool isWhole = true;
    const Json good = Json::parse(goodOutput);
    for (const auto &[name, value] : good["properties"].items()) {
        const bool isOwnedUpTo = names(report["unread"], name) || names(report["late"], name);
        isWhole = isWhole && !isOwnedUpTo;
        if (!isOwnedUpTo && !isRestless(name) && untold.count(name) == 0 && report["properties"][name] != value)
            faults += name + " is " + report["properties"][name].dump() + "; ";
    }
    if (isWhole != (answer.code == 0))
        faults += "exit code " + std::to_string(answer.code);
    return faults;
}

} // namespace zor::test
