// The reporter's trees, read back by a reader of JSON; and its own reading of a report, of whatever bytes. Each line of
// the input is a part of the report: a letter says which, a second chooses the name.

#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"
#include "tools/zorprops/json_report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>

namespace zor::test::readers {

namespace {

using namespace zorprops;
using Json = nlohmann::json;

const char *nameIn(const std::vector<Word> &words, char choice) {
    return words[static_cast<unsigned char>(choice) % words.size()].name;
}

Report reportIn(const std::string &bytes) {
    Report report;
    for (Bytes input(bytes); !input.atEnd();) {
        const std::string line = input.line();
        if (line.size() < 2)
            continue;
        const std::string text = line.substr(2);
        const size_t bar = std::min(text.find('|'), text.size());
        switch (line[0]) {
        case 'h':
            report.host[nameIn(hostFacts(), line[1])] = text;
            break;
        case 'f':
            report.fileSystems.push_back({text.substr(0, bar), text.substr(std::min(bar + 1, text.size())), "1.5"});
            break;
        case 'F':
            report.fileSystems.push_back({text, "2", "1", uint64_t{1} << (line[1] & 63), 0});
            break;
        case 'l':
            report.late.insert(nameIn(properties(), line[1]));
            break;
        case 'u':
            report.unread.insert(text);
            break;
        default:
            report.properties[nameIn(properties(), line[1])] = text;
        }
    }
    return report;
}

/** By a writer that refuses all else. */
bool isUtf8(const std::string &text) {
    try {
        static_cast<void>(Json(text).dump());
        return true;
    } catch (const Json::exception &) {
        return false;
    }
}

/** Whether what was read back is the text, in which U+FFFD stands for bytes that are no UTF-8. */
bool isToldAs(const Json &told, const std::string &text) {
    return told.is_string() && (isUtf8(text) ? told.get<std::string>() == text
                                             : told.get<std::string>().find("\xEF\xBF\xBD") != std::string::npos);
}

const char *brokenTreeRule(const Report &report, const Json &tree) {
    if (tree.is_discarded() || tree["schema"] != kSchema)
        return "a report is JSON";
    if (tree["properties"].size() != report.properties.size() || tree["values"].size() != report.properties.size() ||
        tree["fileSystems"].size() != report.fileSystems.size() || tree["host"].size() != hostFacts().size() + 1)
        return "nothing is lost, nothing is added";
    for (const auto &[name, text] : report.properties) {
        if (!isToldAs(tree["properties"][name], text))
            return "the texts are told as they are";
        const bool isTold = report.late.count(name) == 0 && report.unread.count(name) == 0;
        const Value value = valueOf(*findProperty(name), text);
        const Json &leaf = tree["values"][name];
        if (leaf.is_null() != (!isTold || value.kind == Value::Unknown))
            return "what is not known, and only that, is null";
        if (isTold &&
            ((value.kind == Value::Number) != leaf.is_number() || (value.kind == Value::Boolean) != leaf.is_boolean()))
            return "values have their kinds";
    }
    for (size_t i = 0; i < report.fileSystems.size(); ++i)
        if (!isToldAs(tree["fileSystems"][i]["mountPoint"], report.fileSystems[i].mountPoint))
            return "mount points are told as they are";
    return nullptr;
}

bool isPrintable(const std::string &text) {
    return std::none_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 && c != '\n'; });
}

} // namespace

const char *report_json(const std::string &bytes) {
    std::string message;
    if (readReport(bytes, message).has_value() == !message.empty())
        return "a report is read, or a message says why not";
    const Report report = reportIn(bytes);
    const std::string text = asTree(report, Notation::Json);
    const Json tree = Json::parse(text, nullptr, false);
    if (const char *rule = brokenTreeRule(report, tree))
        return rule;
    if (Json::parse(asFacts(report), nullptr, false)["zorprops"] != tree)
        return "facts are the same tree";
    const std::string yaml = asTree(report, Notation::Yaml);
    if (!isPrintable(yaml) || !isUtf8(yaml))
        return "YAML has no character that a reader stumbles over";
    message.clear();
    const auto snapshot = readReport(text, message);
    if (!snapshot || !message.empty())
        return "a report is read back";
    if (!changesBetween(*snapshot, *snapshot, true).empty())
        return "nothing changes between a report and itself";
    const auto isWhole = [](const auto &entry) { return isUtf8(entry.second); };
    if (std::all_of(report.properties.begin(), report.properties.end(), isWhole))
        for (const auto &[name, value] : report.properties)
            if (!value.empty() && std::count(snapshot->values.begin(), snapshot->values.end(),
                                             std::pair<std::string, std::string>(name, value)) != 1)
                return "a text is read back as it was";
    return nullptr;
}

} // namespace zor::test::readers
