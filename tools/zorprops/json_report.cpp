#include "json_report.h"

#include "vocabulary.h"

#include <nlohmann/json.hpp>

namespace zorprops {

namespace {

using Json = nlohmann::ordered_json;

std::string textOf(const Json &json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace

std::string asJson(const Report &report) {
    Json properties = Json::object(), fileSystems = Json::array();
    for (const auto &[name, value] : report.properties)
        properties[name] = value;
    for (const FileSystem &fileSystem : report.fileSystems)
        fileSystems.push_back({{"mountPoint", fileSystem.mountPoint},
                               {"totalMB", fileSystem.totalMegabytes},
                               {"freeMB", fileSystem.freeMegabytes}});
    return textOf(Json::object({{"properties", properties}, {"fileSystems", fileSystems}}));
}

std::string asJson(const std::vector<std::string> &names, const std::vector<std::string> &values) {
    Json properties = Json::object();
    for (size_t i = 0; i < names.size(); ++i)
        properties[names[i]] = values[i];
    return textOf(properties);
}

std::string asJson(const std::vector<Interface> &interfaces) {
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
    return textOf(Json::object({{"interfaces", list}}));
}

std::string asJson(const Users &users) {
    return textOf(
        Json::object({{"networkUsers", users.network}, {"localUsers", users.local}, {"combined", users.combined}}));
}

std::string listAsJson() {
    Json list = Json::object();
    for (const Group &group : groups())
        list[group.title] = group.names;
    return textOf(list);
}

} // namespace zorprops
