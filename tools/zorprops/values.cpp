#include "values.h"

#include <algorithm>
#include <cctype>

namespace zorprops {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isInteger(const std::string &text) {
    return !text.empty() && text.size() <= 20 && std::all_of(text.begin(), text.end(), isDigit);
}

bool isDecimal(const std::string &text) {
    const size_t point = text.find('.');
    return isInteger(text.substr(0, point)) && (point == std::string::npos || isInteger(text.substr(point + 1)));
}

Value number(const std::string &text, bool isValid) {
    return isValid ? Value{Value::Number, text} : Value{};
}

} // namespace

std::string isoTime(const std::string &text) {
    constexpr char kForm[] = "00/00/0000 00:00:00";
    const bool hasForm = text.size() == sizeof kForm - 1 &&
                         std::equal(text.begin(), text.end(), kForm,
                                    [](char c, char form) { return form == '0' ? isDigit(c) : c == form; });
    return hasForm ? text.substr(6, 4) + "-" + text.substr(0, 2) + "-" + text.substr(3, 2) + "T" + text.substr(11) : "";
}

Value valueOf(const Word &word, const std::string &text) {
    if (text.empty() || text == "N/A" || (text == "NA" && equalIgnoringCase(word.name, "UserName")))
        return {};
    switch (word.type) {
    case Type::Integer: {
        const std::string unit = std::string(" ") + word.unit; // "1333 MHz"
        const bool hasUnit = text.size() > unit.size() && text.compare(text.size() - unit.size(), unit.npos, unit) == 0;
        const std::string digits = hasUnit ? text.substr(0, text.size() - unit.size()) : text;
        return number(digits, isInteger(digits) && !(hasUnit && digits == "0"));
    }
    case Type::Decimal:
        return number(text, isDecimal(text));
    case Type::Boolean:
        return text == "1" ? Value{Value::Boolean, "true"} : text == "0" ? Value{Value::Boolean, "false"} : Value{};
    case Type::Time: {
        const std::string iso = isoTime(text);
        return iso.empty() ? Value{} : Value{Value::Text, iso};
    }
    case Type::Text:
        break;
    }
    return {Value::Text, text};
}

} // namespace zorprops
