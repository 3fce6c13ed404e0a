#include "text_report.h"

#include "vocabulary.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace zorprops {

namespace {

constexpr char kIndent[] = "  ";

size_t widestName() {
    size_t width = 0;
    for (const Word &word : properties())
        width = std::max(width, std::string(word.name).size());
    return width;
}

/** A table of names and values; one width for all groups, so that the values stand in one column. Where the line is too
 * narrow for that, each group has its own. */
Table namesAndValues(const Style &style) {
    constexpr size_t kWide = 60;
    Table table({Align::Left, Align::Left}, 1);
    if (style.columns == 0 || style.columns >= kWide)
        table.widen(widestName());
    return table;
}

std::string withAvailable(const std::map<std::string, std::string> &host, const char *total, const char *available,
                          const char *end) {
    const auto whole = host.find(total), part = host.find(available);
    std::string text = whole == host.end() ? "" : readableBytes(whole->second);
    if (part != host.end())
        text += (text.empty() ? "" : ", ") + readableBytes(part->second) + end;
    return text;
}

std::string hostGroup(const std::map<std::string, std::string> &host, const Style &style) {
    const auto value = [&](const char *name) {
        const auto found = host.find(name);
        return found == host.end() ? std::string() : found->second;
    };
    std::string system = value("operatingSystem");
    const std::string version = value("operatingSystemVersion");
    if (system.find(version) == std::string::npos)
        system += (system.empty() ? "" : " ") + version;
    const std::string uptime = value("uptime");
    const struct {
        const char *name;
        std::string value;
    } rows[] = {
        {"Operating system", system},
        {"Kernel", value("kernel")},
        {"Architecture", value("architecture")},
        {"Processor", value("processor")},
        {"Memory", withAvailable(host, "memoryTotal", "memoryAvailable", " available")},
        {"Disk", withAvailable(host, "diskTotal", "diskAvailable", " available to users")},
        {"Address", value("address")},
        {"Time zone", value("zone")},
        {"Locale", value("locale")},
        {"Up for", uptime.empty() ? "" : readableSeconds(uptime)},
        {"Container", value("container")},
        {"Virtual machine", value("virtualMachine")},
    };
    Table table = namesAndValues(style);
    for (const auto &row : rows)
        if (!row.value.empty())
            table.add({row.name, row.value});
    return style.heading("This host") + "\n" + table.text(kIndent, style) + "\n";
}

std::string fileSystemTable(const std::vector<FileSystem> &fileSystems, const Style &style) {
    Table table({Align::Left, Align::Right, Align::Right}, 0);
    table.add({"Mount point", "Total MB", "Free MB"});
    for (const FileSystem &fileSystem : fileSystems)
        table.add({fileSystem.mountPoint, fileSystem.totalMegabytes, fileSystem.freeMegabytes});
    return style.heading("File systems") + "\n" + table.text(kIndent, style);
}

void addNames(Table &table, const char *title, const std::vector<std::string> &names) {
    if (names.empty())
        table.add({title, "(none)"});
    for (const std::string &name : names)
        table.add({&name == &names.front() ? title : "", name});
}

std::string lines(const std::string &text, const Style &style) {
    std::string result;
    for (const std::string &line : wrapped(text, style.columns))
        result += line + "\n";
    return result;
}

} // namespace

std::string readableBytes(const std::string &bytes) {
    constexpr const char *kUnits[] = {"bytes", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    double amount = std::strtod(bytes.c_str(), nullptr);
    size_t unit = 0;
    for (; amount >= 1024 && unit + 1 < std::size(kUnits); ++unit)
        amount /= 1024;
    char text[48];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", amount, kUnits[unit]);
    return text;
}

std::string readableSeconds(const std::string &seconds) {
    const unsigned long long total = std::strtoull(seconds.c_str(), nullptr, 10);
    const unsigned long long days = total / 86400, hours = total / 3600 % 24, minutes = total / 60 % 60;
    std::string text;
    if (days > 0)
        text += std::to_string(days) + (days == 1 ? " day " : " days ");
    if (total >= 3600)
        text += std::to_string(hours) + " h ";
    if (total >= 60)
        return text + std::to_string(minutes) + " min";
    return std::to_string(total) + " s";
}

std::string asText(const Report &report, const Style &style) {
    std::string text = hostGroup(report.host, style);
    std::string withoutValue;
    for (const Source source : kSources) {
        Table table = namesAndValues(style);
        bool isEmpty = true;
        for (const Word &word : properties()) {
            const auto found = report.properties.find(word.name);
            if (word.source != source || found == report.properties.end())
                continue;
            const bool isLate = report.late.count(word.name) > 0, isUnread = report.unread.count(word.name) > 0;
            const bool isKnown = valueOf(word, found->second).kind != Value::Unknown;
            if (isKnown || isLate || isUnread) {
                table.add({word.name, isLate ? "(not told in time)" : isUnread ? "(not readable)" : found->second});
                isEmpty = false;
            } else {
                withoutValue += (withoutValue.empty() ? "" : ", ") + std::string(word.name);
            }
        }
        if (!isEmpty)
            text += style.heading(titleOf(source)) + "\n" + table.text(kIndent, style) + "\n";
    }
    text += fileSystemTable(report.fileSystems, style);
    return withoutValue.empty() ? text : text + "\n" + lines("No value on this system: " + withoutValue, style);
}

std::string asText(const std::vector<Item> &answers, bool isSingle, bool withoutUnknown) {
    std::string text;
    for (const Item &answer : answers) {
        const bool isLeftOut = withoutUnknown && answer.value.kind == Value::Unknown;
        if (!isSingle)
            text += printable(answer.name) + "=" + (isLeftOut ? "" : printable(answer.text)) + "\n";
        else if (!isLeftOut)
            text += answer.text + "\n";
    }
    return text;
}

std::string asText(const std::vector<Interface> &interfaces, const Style &style) {
    if (interfaces.empty())
        return "No interface is up with an address.\n";
    std::string text;
    for (const Interface &interface : interfaces) {
        Table addresses({Align::Left, Align::Left, Align::Left}, 0);
        addresses.add({"Address", "Mask", "Subnet"});
        for (const Address &address : interface.addresses)
            addresses.add({address.address, address.mask, address.subnet});
        text += (text.empty() ? "" : "\n") +
                lines(std::to_string(interface.index) + ": " + printable(interface.name) + "  hardware address " +
                          printable(interface.hardwareAddress),
                      style) +
                addresses.text(kIndent, style);
    }
    return text;
}

std::string asText(const Users &users, const Style &style) {
    Table table({Align::Left, Align::Left}, 1);
    addNames(table, "Network users", users.network);
    addNames(table, "Local users", users.local);
    table.add({"Combined", users.combined.empty() ? "(none)" : users.combined});
    return table.text("", style);
}

std::string listAsText(const Style &style) {
    std::string text;
    const auto add = [&](const char *title, const std::vector<Word> &words, const char *prefix, const Source *source) {
        Table table({Align::Left, Align::Left, Align::Left, Align::Left}, 3);
        for (const Word &word : words)
            if (!source || word.source == *source)
                table.add({std::string(prefix) + word.name, nameOf(word.type), word.unit, word.meaning});
        text += (text.empty() ? "" : "\n") + style.heading(title) + "\n" + table.text(kIndent, style);
    };
    for (const Source &source : kSources)
        add(titleOf(source), properties(), "", &source);
    add("This host", hostFacts(), kHostPrefix, nullptr);
    return text;
}

std::string asText(const Change &change) {
    const auto shown = [](const std::string &text) { return text.empty() ? std::string("(none)") : printable(text); };
    return printable(change.name) + ": " + shown(change.before) + " -> " + shown(change.after) + "\n";
}

} // namespace zorprops
