#include "text_report.h"

#include "vocabulary.h"

#include <algorithm>

namespace zorprops {

namespace {

/** The length of the UTF-8 character that starts here; 0 where none does. */
size_t characterLength(const std::string &text, size_t at) {
    const auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
    const auto isTail = [&](size_t i) { return (byte(i) & 0xC0u) == 0x80u; };
    const unsigned int first = byte(at), second = byte(at + 1);
    if (first < 0x80)
        return 1;
    if (first >= 0xC2 && first <= 0xDF)
        return isTail(at + 1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool overlong = first == 0xE0 && second < 0xA0, surrogate = first == 0xED && second >= 0xA0;
        return isTail(at + 1) && isTail(at + 2) && !overlong && !surrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool overlong = first == 0xF0 && second < 0x90, tooBig = first == 0xF4 && second >= 0x90;
        return isTail(at + 1) && isTail(at + 2) && isTail(at + 3) && !overlong && !tooBig ? 4 : 0;
    }
    return 0;
}

/** Whether a terminal may take the character for an order: the control characters of ASCII and of ISO 6429. */
bool isControl(const std::string &text, size_t at) {
    const auto first = static_cast<unsigned char>(text[at]);
    return first < 0x20 || first == 0x7F || (first == 0xC2 && static_cast<unsigned char>(text[at + 1]) < 0xA0);
}

std::string escaped(const std::string &bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
    }
    return text;
}

/** The width in characters. */
size_t widthOf(const std::string &text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(),
                                             [](char c) { return (static_cast<unsigned char>(c) & 0xC0u) != 0x80u; }));
}

enum class Align { Left, Right };

/** Rows of cells, each column as wide as its widest cell. */
class Table {
public:
    explicit Table(std::vector<Align> alignment) : m_alignment(std::move(alignment)) {}

    void add(std::vector<std::string> cells) {
        for (std::string &cell : cells)
            cell = printable(cell);
        m_rows.push_back(std::move(cells));
    }

    std::string text(const std::string &indent) const {
        std::vector<size_t> widths(m_alignment.size());
        for (const auto &row : m_rows)
            for (size_t i = 0; i < row.size(); ++i)
                widths[i] = std::max(widths[i], widthOf(row[i]));
        std::string lines;
        for (const auto &row : m_rows)
            lines += line(indent, row, widths);
        return lines;
    }

private:
    std::string line(std::string text, const std::vector<std::string> &row, const std::vector<size_t> &widths) const {
        for (size_t i = 0; i < row.size(); ++i) {
            const std::string padding(widths[i] - widthOf(row[i]), ' ');
            text += i == 0 ? "" : "  ";
            text += m_alignment[i] == Align::Left ? row[i] + padding : padding + row[i];
        }
        return text.substr(0, text.find_last_not_of(' ') + 1) + '\n';
    }

    std::vector<Align> m_alignment;
    std::vector<std::vector<std::string>> m_rows;
};

std::string fileSystemTable(const std::vector<FileSystem> &fileSystems) {
    Table table({Align::Left, Align::Right, Align::Right});
    table.add({"Mount point", "Total MB", "Free MB"});
    for (const FileSystem &fileSystem : fileSystems)
        table.add({fileSystem.mountPoint, fileSystem.totalMegabytes, fileSystem.freeMegabytes});
    return "File systems\n" + table.text("  ");
}

void addNames(Table &table, const char *title, const std::vector<std::string> &names) {
    if (names.empty())
        table.add({title, "(none)"});
    for (const std::string &name : names)
        table.add({&name == &names.front() ? title : "", name});
}

} // namespace

std::string printable(const std::string &text) {
    std::string result;
    for (size_t i = 0; i < text.size();) {
        const size_t length = characterLength(text, i);
        const std::string character = text.substr(i, std::max<size_t>(length, 1));
        result += length == 0 || isControl(text, i) ? escaped(character) : character;
        i += character.size();
    }
    return result;
}

std::string asText(const Report &report) {
    size_t nameWidth = 0; // one for all groups, so that the values stand in one column
    for (const auto &property : report.properties)
        nameWidth = std::max(nameWidth, property.first.size());
    std::string text;
    for (const Group &group : groups()) {
        Table table({Align::Left, Align::Left});
        for (const std::string &name : group.names)
            if (const auto found = report.properties.find(name); found != report.properties.end())
                table.add({name + std::string(nameWidth - name.size(), ' '), found->second});
        text += group.title + ("\n" + table.text("  ")) + "\n";
    }
    return text + fileSystemTable(report.fileSystems);
}

std::string asText(const std::vector<std::string> &names, const std::vector<std::string> &values) {
    if (values.size() == 1)
        return values.front() + "\n";
    std::string lines;
    for (size_t i = 0; i < names.size(); ++i)
        lines += printable(names[i]) + "=" + printable(values[i]) + "\n";
    return lines;
}

std::string asText(const std::vector<Interface> &interfaces) {
    if (interfaces.empty())
        return "No interface is up with an address.\n";
    std::string text;
    for (const Interface &interface : interfaces) {
        Table addresses({Align::Left, Align::Left, Align::Left});
        addresses.add({"Address", "Mask", "Subnet"});
        for (const Address &address : interface.addresses)
            addresses.add({address.address, address.mask, address.subnet});
        text += (text.empty() ? "" : "\n") + std::to_string(interface.index) + ": " + printable(interface.name) +
                "  hardware address " + printable(interface.hardwareAddress) + "\n" + addresses.text("  ");
    }
    return text;
}

std::string asText(const Users &users) {
    Table table({Align::Left, Align::Left});
    addNames(table, "Network users", users.network);
    addNames(table, "Local users", users.local);
    table.add({"Combined", users.combined.empty() ? "(none)" : users.combined});
    return table.text("");
}

std::string listAsText() {
    std::string text;
    for (const Group &group : groups()) {
        text += (text.empty() ? "" : "\n") + std::string(group.title) + "\n";
        for (const std::string &name : group.names)
            text += "  " + name + "\n";
    }
    return text;
}

} // namespace zorprops
