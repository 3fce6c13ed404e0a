#include "json_report.h"

#include "vocabulary.h"

#include <nlohmann/json.hpp>

#include <cstdlib>

namespace zorprops {

namespace {

using Json = nlohmann::ordered_json;

std::string compact(const Json &json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

bool isLeaf(const Json &json) {
    return !json.is_structured() || json.empty();
}

/** Each member on a line of its own, a leaf in JSON's notation, which YAML has in it. */
void addYaml(std::string &text, const Json &json, size_t depth) {
    for (const auto &entry : json.items()) {
        const Json &value = entry.value();
        text += std::string(2 * depth, ' ') + (json.is_array() ? "-" : compact(Json(entry.key())) + ":");
        if (isLeaf(value)) {
            text += " " + compact(value) + "\n";
        } else {
            text += "\n";
            addYaml(text, value, depth + 1);
        }
    }
}

std::string textOf(const Json &json, Notation notation) {
    if (notation == Notation::Json)
        return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    if (isLeaf(json))
        return compact(json) + "\n";
    std::string text = "---\n";
    addYaml(text, json, 0);
    return text;
}

Json leafOf(const Value &value) {
    switch (value.kind) {
    case Value::Text:
        return value.text;
    case Value::Boolean:
        return value.text == "true";
    case Value::Number:
        if (value.text.find('.') != std::string::npos)
            return std::strtod(value.text.c_str(), nullptr);
        return static_cast<uint64_t>(std::strtoull(value.text.c_str(), nullptr, 10));
    case Value::Unknown:
        break;
    }
    return nullptr;
}

Json leafOf(const std::optional<uint64_t> &bytes) {
    return bytes ? Json(*bytes) : Json(nullptr);
}

/** An object with room for so many members: growing would copy those that are there. */
Json objectFor(size_t members) {
    Json object = Json::object();
    object.get_ref<Json::object_t &>().reserve(members);
    return object;
}

/** Adds a member whose key is new. */
void add(Json &object, const char *key, Json &&value) {
    object.get_ref<Json::object_t &>().emplace_back(key, std::move(value));
}

Json treeOf(const Report &report) {
    Json host = objectFor(hostFacts().size() + 1), texts = objectFor(report.properties.size()),
         values = objectFor(report.properties.size()), fileSystems = Json::array(), hostFileSystems = Json::array();
    for (const Word &word : hostFacts()) {
        const auto found = report.host.find(word.name);
        add(host, word.name, found == report.host.end() ? Json(nullptr) : leafOf(valueOf(word, found->second)));
    }
    for (const auto &[name, text] : report.properties) {
        const bool isTold = report.late.count(name) == 0 && report.unread.count(name) == 0;
        const Word *word = findProperty(name);
        add(texts, name.c_str(), text);
        add(values, name.c_str(), word && isTold ? leafOf(valueOf(*word, text)) : Json(nullptr));
    }
    for (const FileSystem &fileSystem : report.fileSystems) {
        fileSystems.push_back({{"mountPoint", fileSystem.mountPoint},
                               {"totalMB", fileSystem.totalMegabytes},
                               {"freeMB", fileSystem.freeMegabytes}});
        hostFileSystems.push_back({{"mountPoint", fileSystem.mountPoint},
                                   {"totalBytes", leafOf(fileSystem.totalBytes)},
                                   {"availableBytes", leafOf(fileSystem.availableBytes)}});
    }
    add(host, "fileSystems", std::move(hostFileSystems));
    Json tree = objectFor(7);
    add(tree, "schema", kSchema);
    add(tree, "host", std::move(host));
    add(tree, "properties", std::move(texts));
    add(tree, "values", std::move(values));
    add(tree, "fileSystems", std::move(fileSystems));
    add(tree, "late", report.late);
    add(tree, "unread", report.unread);
    return tree;
}

Json treeOf(const Change &change) {
    const auto leaf = [](const std::string &text) { return text.empty() ? Json(nullptr) : Json(text); };
    return Json::object({{"name", change.name}, {"before", leaf(change.before)}, {"after", leaf(change.after)}});
}

Json treeOf(const Word &word, const std::string &prefix, const char *group) {
    return Json::object({{"name", prefix + word.name},
                         {"group", group},
                         {"type", nameOf(word.type)},
                         {"unit", *word.unit ? Json(word.unit) : Json(nullptr)},
                         {"meaning", word.meaning}});
}

/** A leaf of a report as the text that the same fact has in a new one; a null has none. */
std::optional<std::string> textOfLeaf(const Json &leaf) {
    if (leaf.is_string())
        return leaf.get<std::string>();
    if (leaf.is_number() || leaf.is_boolean())
        return leaf.dump();
    return std::nullopt;
}

void addLeaves(Snapshot &snapshot, const std::string &prefix, const Json &object) {
    for (const auto &entry : object.items())
        if (const auto text = textOfLeaf(entry.value()); text && !text->empty())
            snapshot.values.emplace_back(prefix + entry.key(), *text);
}

void addFigures(Snapshot &snapshot, const Json &list) {
    for (const Json &fileSystem : list) {
        if (!fileSystem.is_object() || !fileSystem.contains("mountPoint"))
            continue;
        const auto mountPoint = textOfLeaf(fileSystem["mountPoint"]);
        for (const bool isTotal : {true, false}) {
            const char *key = isTotal ? "totalMB" : "freeMB";
            const auto figure = fileSystem.contains(key) ? textOfLeaf(fileSystem[key]) : std::nullopt;
            if (mountPoint && figure)
                snapshot.values.emplace_back(figureName(*mountPoint, isTotal), *figure);
        }
    }
}

} // namespace

std::string asTree(const Report &report, Notation notation) {
    return textOf(treeOf(report), notation);
}

std::string asTree(const std::vector<Item> &answers, bool withoutUnknown, Notation notation) {
    Json tree = Json::object();
    for (const Item &answer : answers) {
        const bool isUnknown = answer.value.kind == Value::Unknown;
        if (answer.isHost || (isUnknown && withoutUnknown))
            tree[answer.name] = leafOf(answer.value);
        else
            tree[answer.name] = answer.text;
    }
    return textOf(tree, notation);
}

std::string asTree(const std::vector<Interface> &interfaces, Notation notation) {
    Json list = Json::array();
    for (const Interface &interface : interfaces) {
        Json addresses = Json::array();
        for (const Address &address : interface.addresses)
            addresses.push_back({{"family", address.isIpv6 ? "IPv6" : "IPv4"},
                                 {"address", address.address},
                                 {"mask", address.mask},
                                 {"subnet", address.subnet}});
        list.push_back({{"index", interface.index},
                        {"name", interface.name},
                        {"hardwareAddress", interface.hardwareAddress},
                        {"addresses", addresses}});
    }
    return textOf(Json::object({{"interfaces", list}}), notation);
}

std::string asTree(const Users &users, Notation notation) {
    return textOf(
        Json::object({{"networkUsers", users.network}, {"localUsers", users.local}, {"combined", users.combined}}),
        notation);
}

std::string asTree(const std::vector<Change> &changes, Notation notation) {
    Json list = Json::array();
    for (const Change &change : changes)
        list.push_back(treeOf(change));
    return textOf(Json::object({{"changes", list}}), notation);
}

std::string listAsTree(Notation notation) {
    Json reported = Json::array(), host = Json::array();
    for (const Word &word : properties())
        reported.push_back(treeOf(word, "", titleOf(word.source)));
    for (const Word &word : hostFacts())
        host.push_back(treeOf(word, kHostPrefix, "This host"));
    return textOf(Json::object({{"properties", reported}, {"host", host}}), notation);
}

std::string asFacts(const Report &report) {
    return textOf(Json::object({{"zorprops", treeOf(report)}}), Notation::Json);
}

std::string asJsonLine(const std::string &time, const Change &change) {
    Json line = Json::object({{"time", time}});
    line.update(treeOf(change));
    return compact(line) + "\n";
}

std::optional<Snapshot> readReport(const std::string &text, std::string &message) {
    const Json json = Json::parse(text, nullptr, false);
    if (json.is_discarded() || !json.is_object() || !json.contains("properties") || !json["properties"].is_object()) {
        message = "no report in JSON";
        return std::nullopt;
    }
    if (json.contains("schema") && (!json["schema"].is_number_integer() || json["schema"].get<int64_t>() > kSchema)) {
        message = "a report of another form, perhaps by a newer zorprops";
        return std::nullopt;
    }
    Snapshot snapshot;
    if (json.contains("host") && json["host"].is_object())
        addLeaves(snapshot, kHostPrefix, json["host"]);
    else // from before a report had this group
        for (const Word &word : hostFacts())
            snapshot.untold.insert(kHostPrefix + std::string(word.name));
    addLeaves(snapshot, "", json["properties"]);
    if (json.contains("fileSystems") && json["fileSystems"].is_array())
        addFigures(snapshot, json["fileSystems"]);
    for (const char *key : {"late", "unread"})
        if (json.contains(key) && json[key].is_array())
            for (const Json &name : json[key])
                if (name.is_string())
                    snapshot.untold.insert(name.get<std::string>());
    return snapshot;
}

} // namespace zorprops
