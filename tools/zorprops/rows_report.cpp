#include "rows_report.h"

#include "display.h"
#include "vocabulary.h"

namespace zorprops {

namespace {

/** A field by RFC 4180. */
std::string field(const std::string &text) {
    if (text.find_first_of("\",\r\n") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char c : text)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

std::string row(const std::vector<std::string> &fields) {
    std::string line;
    for (size_t i = 0; i < fields.size(); ++i)
        line += (i == 0 ? "" : ",") + field(fields[i]);
    return line + "\r\n";
}

/** The value of a label; what is no UTF-8 is shown, since one such byte makes the collector refuse the whole file. */
std::string label(const std::string &text) {
    std::string escaped;
    for (const char c : printable(text))
        escaped += c == '\\' || c == '"' ? std::string{'\\', c} : std::string(1, c);
    return "\"" + escaped + "\"";
}

std::string head(const char *name, const char *help) {
    return std::string("# HELP zorprops_") + name + " " + help + "\n# TYPE zorprops_" + name + " gauge\n";
}

std::string metric(const char *name, const char *help, const std::string &value) {
    return value.empty() ? "" : head(name, help) + "zorprops_" + name + " " + value + "\n";
}

std::string scaled(const std::string &digits, const char *zeros) {
    return digits.empty() || digits == "0" ? digits : digits + zeros;
}

struct Series {
    std::string labels, value;
};

std::string metrics(const char *name, const char *help, const std::vector<Series> &series) {
    std::string text;
    for (const Series &one : series)
        text += std::string("zorprops_") + name + "{" + one.labels + "} " + one.value + "\n";
    return text.empty() ? text : head(name, help) + text;
}

} // namespace

std::string asCsv(const std::vector<Item> &items) {
    std::string text = row({"name", "value", "unit"});
    for (const Item &item : items)
        text += row({item.name, item.value.text, item.unit});
    return text;
}

std::string asCsv(const std::vector<Interface> &interfaces) {
    std::string text = row({"index", "name", "hardwareAddress", "family", "address", "mask", "subnet"});
    for (const Interface &interface : interfaces)
        for (const Address &address : interface.addresses)
            text += row({std::to_string(interface.index), interface.name, interface.hardwareAddress,
                         address.isIpv6 ? "IPv6" : "IPv4", address.address, address.mask, address.subnet});
    return text;
}

std::string asCsv(const Users &users) {
    std::string text = row({"kind", "name"});
    for (const std::string &name : users.network)
        text += row({"network", name});
    for (const std::string &name : users.local)
        text += row({"local", name});
    return text;
}

std::string listAsCsv() {
    std::string text = row({"name", "group", "type", "unit", "meaning"});
    for (const Word &word : properties())
        text += row({word.name, titleOf(word.source), nameOf(word.type), word.unit, word.meaning});
    for (const Word &word : hostFacts())
        text += row({kHostPrefix + std::string(word.name), "This host", nameOf(word.type), word.unit, word.meaning});
    return text;
}

std::string asPrometheus(const Report &report, long long now) {
    std::vector<Series> texts, numbers, totals, availables;
    std::string speed;
    for (const Item &item : itemsOf(report)) {
        const std::string name = "name=" + label(item.name);
        if (item.value.kind == Value::Text && !item.isRestless)
            texts.push_back({name + ",value=" + label(item.text), "1"});
        else if (item.value.kind == Value::Boolean)
            numbers.push_back({name + ",unit=\"\"", item.value.text == "true" ? "1" : "0"});
        else if (item.value.kind == Value::Number)
            numbers.push_back({name + ",unit=" + label(item.unit), item.value.text});
        if (item.name == "CPUSpeed" && item.value.kind == Value::Number)
            speed = item.value.text;
    }
    for (const FileSystem &fileSystem : report.fileSystems) {
        const std::string name = "mountpoint=" + label(fileSystem.mountPoint);
        if (fileSystem.totalBytes)
            totals.push_back({name, std::to_string(*fileSystem.totalBytes)});
        if (fileSystem.availableBytes)
            availables.push_back({name, std::to_string(*fileSystem.availableBytes)});
    }
    const auto host = [&](const char *name) {
        const auto found = report.host.find(name);
        return found == report.host.end() ? std::string() : found->second;
    };
    return metrics("fact_info", "A fact of the report that is a text.", texts) +
           metrics("fact_value", "A fact of the report that is a number, in the unit that it is reported in.",
                   numbers) +
           metric("memory_size_bytes", "Memory that the kernel manages.", host("memoryTotal")) +
           metric("memory_available_bytes", "Memory that programs can still have.", host("memoryAvailable")) +
           metrics("filesystem_size_bytes", "Space of a local file system.", totals) +
           metrics("filesystem_available_bytes", "Space of a local file system that users can still have.",
                   availables) +
           metric("processor_speed_hertz", "Clock of the processors.", scaled(speed, "000000")) +
           metric("uptime_seconds", "Time since the system's start.", host("uptime")) +
           metric("report_complete", "Whether everything was told in time and could be read.",
                  report.isComplete() ? "1" : "0") +
           metric("report_timestamp_seconds", "When the report was collected.", std::to_string(now));
}

} // namespace zorprops
