#include "display.h"

#include <algorithm>

#include <locale.h>
#include <wchar.h>

namespace zorprops {

namespace {

constexpr size_t kLeastFlexible = 12; // a column that gives way keeps as much

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

wchar_t codePoint(const std::string &text, size_t at, size_t length) {
    if (length == 1)
        return static_cast<unsigned char>(text[at]);
    unsigned int value = static_cast<unsigned char>(text[at]) & (0xFFu >> (length + 1));
    for (size_t i = 1; i < length; ++i)
        value = value << 6 | (static_cast<unsigned char>(text[at + i]) & 0x3Fu);
    return static_cast<wchar_t>(value);
}

/** The system's tables of characters. They are asked for when there is a character beyond ASCII, not before: the
 * program runs in the C locale, and opening another takes time. */
locale_t characterTables() {
    static const locale_t tables = [] {
        for (const char *name : {"C.UTF-8", "en_US.UTF-8", "UTF-8"})
            if (const locale_t locale = newlocale(LC_CTYPE_MASK, name, locale_t{}))
                return locale;
        return locale_t{};
    }();
    return tables;
}

size_t widthOfCharacter(wchar_t character) {
    if (character < 0x80 || !characterTables())
        return 1;
    const locale_t before = uselocale(characterTables());
    const int width = wcwidth(character);
    uselocale(before);
    return width < 0 ? 1 : static_cast<size_t>(width);
}

/** The bytes from here that fit into so many columns; at least one character. */
size_t fittingLength(const std::string &text, size_t from, size_t columns) {
    size_t width = 0, at = from;
    while (at < text.size()) {
        const size_t length = std::max<size_t>(characterLength(text, at), 1);
        width += widthOfCharacter(codePoint(text, at, length));
        if (width > columns && at > from)
            break;
        at += length;
    }
    return at - from;
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

size_t widthOf(const std::string &text) {
    size_t width = 0;
    for (size_t i = 0; i < text.size();) {
        const size_t length = std::max<size_t>(characterLength(text, i), 1);
        width += widthOfCharacter(codePoint(text, i, length));
        i += length;
    }
    return width;
}

std::vector<std::string> wrapped(const std::string &text, size_t columns) {
    std::vector<std::string> lines;
    size_t begin = 0;
    while (columns > 0) {
        const size_t length = fittingLength(text, begin, columns);
        if (length == text.size() - begin)
            break;
        size_t blank = begin + length;
        while (blank > begin && text[blank] != ' ')
            --blank;
        const bool hasBlank = blank > begin;
        lines.push_back(text.substr(begin, hasBlank ? blank - begin : length));
        begin = hasBlank ? blank + 1 : begin + length;
    }
    lines.push_back(text.substr(begin));
    return lines;
}

std::string Style::heading(const std::string &text) const {
    return isBold ? "\x1B[1m" + text + "\x1B[0m" : text;
}

Table::Table(std::vector<Align> alignment, size_t flexible) : m_alignment(std::move(alignment)), m_flexible(flexible) {}

void Table::add(std::vector<std::string> cells) {
    for (std::string &cell : cells)
        cell = printable(cell);
    m_rows.push_back(std::move(cells));
}

void Table::widen(size_t columns) {
    m_leastFirst = columns;
}

std::string Table::text(const std::string &indent, const Style &style) const {
    std::vector<size_t> widths(m_alignment.size());
    widths[0] = m_leastFirst;
    for (const auto &row : m_rows)
        for (size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], widthOf(row[i]));
    size_t others = indent.size() + 2 * (widths.size() - 1);
    for (size_t i = 0; i < widths.size(); ++i)
        others += i == m_flexible ? 0 : widths[i];
    size_t &flexible = widths[m_flexible];
    const size_t room = style.columns > others ? style.columns - others : 0;
    const bool isTooWide = style.columns > 0 && flexible > room;
    if (isTooWide && room < kLeastFlexible)
        return stacked(indent, style.columns);
    if (isTooWide)
        flexible = room;
    std::string lines;
    for (const auto &row : m_rows) {
        std::vector<std::string> cells = row;
        for (const std::string &part : wrapped(row[m_flexible], isTooWide ? flexible : 0)) {
            cells[m_flexible] = part;
            lines += line(indent, cells, widths);
            cells.assign(row.size(), "");
        }
    }
    return lines;
}

std::string Table::stacked(const std::string &indent, size_t columns) const {
    std::string lines;
    for (const auto &row : m_rows)
        for (size_t i = 0; i < row.size(); ++i) {
            const std::string before = indent + (i == 0 ? "" : "  ");
            for (const std::string &part : wrapped(row[i], std::max(columns, before.size() + 1) - before.size())) {
                const size_t end = part.find_last_not_of(' ') + 1;
                lines += end == 0 ? "" : before + part.substr(0, end) + '\n';
            }
        }
    return lines;
}

std::string Table::line(std::string text, const std::vector<std::string> &row,
                        const std::vector<size_t> &widths) const {
    for (size_t i = 0; i < row.size(); ++i) {
        const size_t width = widthOf(row[i]);
        const std::string padding(widths[i] > width ? widths[i] - width : 0, ' ');
        text += i == 0 ? "" : "  ";
        text += m_alignment[i] == Align::Left ? row[i] + padding : padding + row[i];
    }
    return text.substr(0, text.find_last_not_of(' ') + 1) + '\n';
}

} // namespace zorprops
