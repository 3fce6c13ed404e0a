// The system's version file.

#include "tests/fuzz/readers.h"

#include "source/platform/host.h"

#include <optional>
#include <vector>

namespace zor::test::readers {

namespace {

std::optional<std::vector<std::optional<std::string>>> lookUp(const std::string &bytes) {
    return host::lookUpInPropertyList(bytes, {"ProductVersion", "ProductBuildVersion"});
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
    return nullptr;
}

} // namespace zor::test::readers
