// The system's version file.

#include "tests/fuzz/readers.h"

#include "source/platform/host.h"

#include <optional>
#include <vector>

namespace zor::test::readers {

namespace {

constexpr const char *kKeys[] = {"ProductVersion", "ProductBuildVersion"};

std::optional<std::vector<std::optional<std::string>>> lookUp(const std::string &bytes) {
    return host::lookUpInPropertyList(bytes, {kKeys[0], kKeys[1]});
}

/** Whether a list is written in the plain way alone: no remarks, instructions, entities, or blanks within tags. */
bool isPlain(const std::string &bytes) {
    for (const char *other : {"<!", "<?", "&", "\r", " >", "\t>", "\n>"})
        if (bytes.find(other) != std::string::npos)
            return false;
    return true;
}

/** Whether a string stands right behind a key. */
bool stands(const std::string &bytes, const std::string &key, const std::string &text) {
    const std::string before = "<key>" + key + "</key>", value = "<string>" + text + "</string>";
    for (size_t at = bytes.find(value); at != std::string::npos; at = bytes.find(value, at + 1)) {
        const std::string head = bytes.substr(0, bytes.find_last_not_of(" \t\n", at - 1) + 1);
        if (head.size() >= before.size() && head.compare(head.size() - before.size(), before.size(), before) == 0)
            return true;
    }
    return false;
}

} // namespace

const char *property_list(const std::string &bytes) {
    const auto texts = lookUp(bytes);
    if (!texts)
        return nullptr;
    if (texts->size() != 2)
        return "every key has an answer";
    if (lookUp(bytes + " \n<!-- end -->") != texts)
        return "white space and comments may follow";
    if (lookUp(bytes + "x") || lookUp(bytes + "<dict/>") || lookUp(bytes + "<?after all?>"))
        return "nothing else may follow";
    if (lookUp(bytes.substr(0, bytes.rfind("</"))) && bytes.find("</") != std::string::npos &&
        bytes.find("-->", bytes.rfind("</")) == std::string::npos &&
        bytes.find("?>", bytes.rfind("</")) == std::string::npos)
        return "the last end tag is needed";
    for (const auto &text : *texts)
        if (text && text->find('\0') != std::string::npos)
            return "no text holds a null byte";
    for (size_t i = 0; i < 2; ++i)
        if (const auto &text = texts->at(i);
            text && !text->empty() && isPlain(bytes) && !stands(bytes, kKeys[i], *text))
            return "a text stands behind its key";
    return nullptr;
}

} // namespace zor::test::readers
