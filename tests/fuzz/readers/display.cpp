// What the reporter shows of names that anybody chose, and the release file that it reads. The width of the line, then
// the text.

#include "tools/zorprops/display.h"
#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"
#include "tools/zorprops/host_facts.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace zor::test::readers {

namespace {

using namespace zorprops;

bool isUtf8(const std::string &text) {
    try {
        static_cast<void>(nlohmann::json(text).dump());
        return true;
    } catch (const nlohmann::json::exception &) {
        return false;
    }
}

std::string withoutBlanks(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    return text;
}

} // namespace

const char *display(const std::string &bytes) {
    Bytes input(bytes);
    const size_t columns = input.byte();
    const std::string text = input.rest();
    const std::string shown = printable(text);
    if (!isUtf8(shown) ||
        std::any_of(shown.begin(), shown.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }))
        return "what is shown is UTF-8 without control characters";
    if (printable(shown) != shown)
        return "what can be shown is shown as it is";
    if (widthOf(shown) > shown.size())
        return "no byte takes more than a column";
    std::string all;
    for (const std::string &line : wrapped(shown, columns)) {
        if (columns >= 2 && widthOf(line) > columns)
            return "no line is too wide";
        all += line;
    }
    if (withoutBlanks(all) != withoutBlanks(shown))
        return "wrapping loses nothing but blanks";
    Table table({Align::Left, Align::Right}, 1);
    table.add({text, "b"});
    table.add({"a", text});
    const std::string lines = table.text("  ", Style{columns});
    if (lines.find(" \n") != std::string::npos || !isUtf8(lines))
        return "no line of a table ends in a blank";
    const auto values = parseReleaseFile(text);
    for (const auto &[name, value] : values)
        if (name.empty() || name.find_first_of("=\n") != std::string::npos ||
            text.find(name + '=') == std::string::npos || value.find('\n') != std::string::npos)
            return "the release file has a line for each name";
    if (parseReleaseFile(text + "\n# nothing") != values)
        return "a remark changes nothing";
    return nullptr;
}

} // namespace zor::test::readers
