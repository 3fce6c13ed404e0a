#pragma once

// Text in columns: what stays on its line, how wide it is, and how it goes on when the line is full.

#include <string>
#include <vector>

namespace zorprops {

/** Text that stays on its line and leaves a terminal alone: control characters, and bytes that are no UTF-8, become
 * \xNN. */
std::string printable(const std::string &text);

/** The columns that a printable text takes: two for a wide character, none for one that combines with its neighbour. */
size_t widthOf(const std::string &text);

/** Lines of at most so many columns (0: no limit), broken at blanks, else where it must be; at least one line. */
std::vector<std::string> wrapped(const std::string &text, size_t columns);

/** How a text is shown. */
struct Style {
    size_t columns = 0; // of a line; 0: no limit
    bool isBold = false;

    std::string heading(const std::string &text) const;
};

enum class Align { Left, Right };

/** Rows of cells, each column as wide as its widest cell. Where the line is too narrow for them, one column gives way:
 * its cells go on in the next lines. */
class Table {
public:
    /** @param flexible  the index of the column that gives way. */
    Table(std::vector<Align> alignment, size_t flexible);

    void add(std::vector<std::string> cells);
    /** The first column gets at least so many columns. */
    void widen(size_t columns);
    /** The lines, without blanks at their ends. */
    std::string text(const std::string &indent, const Style &style) const;

private:
    std::string stacked(const std::string &indent, size_t columns) const;
    std::string line(std::string text, const std::vector<std::string> &row, const std::vector<size_t> &widths) const;

    std::vector<Align> m_alignment;
    size_t m_flexible;
    size_t m_leastFirst = 0;
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace zorprops
