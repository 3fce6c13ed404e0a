// Names of properties, as the library sorts them into groups and as the reporter looks them up, and what their values
// mean. A name and a text, one line each.

#include "zorcomn/sysprops.h"

#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"
#include "tools/zorprops/items.h"
#include "tools/zorprops/values.h"
#include "tools/zorprops/vocabulary.h"

#include <algorithm>
#include <vector>

namespace zor::test::readers {

namespace {

using namespace zorprops;

int groupsOf(const std::string &name) {
    velmora_com::vta::sysprops::ISysProps properties;
    const std::wstring wide(name.begin(), name.end());
    return properties.IsNetworkProperty(wide) + properties.IsCPUProperty(wide) + properties.IsMemoryProperty(wide) +
           properties.IsMiscProperty(wide) + properties.IsDiskProperty(wide) + properties.IsOSProperty(wide);
}

bool isListed(const std::string &name) {
    return std::any_of(properties().begin(), properties().end(), [&](const Word &word) { return name == word.name; });
}

std::string turned(std::string name) {
    for (char &c : name)
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return name;
}

std::string lowered(std::string name) {
    for (char &c : name)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return name;
}

bool isFigureOf(const std::string &name, const std::string &mountPoint, bool isTotal) {
    std::string found;
    bool isFoundTotal = !isTotal;
    return isFigureName(name, found, isFoundTotal) && found == mountPoint && isFoundTotal == isTotal;
}

const char *brokenValueRule(const Word &word, const std::string &text) {
    const Value value = valueOf(word, text);
    switch (value.kind) {
    case Value::Unknown:
        return value.text.empty() ? nullptr : "what is not known has no text";
    case Value::Number:
        return value.text.find_first_not_of("0123456789.") == std::string::npos && !value.text.empty() &&
                       text.compare(0, value.text.size(), value.text) == 0
                   ? nullptr
                   : "a number is the digits that it came from";
    case Value::Boolean:
        return text == "0" || text == "1" ? nullptr : "yes and no are 1 and 0";
    case Value::Text:
        return word.type == Type::Time ? value.text.size() == 19 ? nullptr : "a time has its form"
               : value.text == text    ? nullptr
                                       : "a text is what it says";
    }
    return "a value has a kind";
}

} // namespace

const char *property_names(const std::string &bytes) {
    Bytes input(bytes);
    const std::string name = input.line(), text = input.rest();
    if (groupsOf(name) > 1 || (groupsOf(name) == 1 && !isListed(name) && name != "NumberOfFileSystems"))
        return "a name has one group, and the reporter knows it";
    const Word *word = findProperty(name);
    if (word ? word->name != name && lowered(word->name) != lowered(name) : isListed(name))
        return "a name that is listed is found, and no other";
    if (findProperty(turned(name)) != word || findHostFact(turned(name)) != findHostFact(name))
        return "the letter case makes no difference";
    if (nearestNames(name.substr(0, 64)).size() != 3 || editDistance(name, turned(name)) != 0 ||
        editDistance(name, name + 'x') != 1)
        return "the nearest names are near";
    for (const bool isTotal : {true, false})
        if (!isFigureOf(figureName(text, isTotal), text, isTotal) ||
            !isFigureOf(turned(figureName("", isTotal)), "", isTotal))
            return "the name of a figure leads back to its mount point";
    for (const Word &known : properties())
        if (const char *rule = brokenValueRule(known, text))
            return rule;
    return nullptr;
}

} // namespace zor::test::readers
