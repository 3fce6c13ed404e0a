#include "tests/fuzz/rules.h"

#include "source/platform/host.h"
#include "source/platform/linux/mount_table.h"

#include <cstdio>
#include <set>

namespace zor::test {

namespace {

using host::Mount;

std::optional<std::vector<std::optional<std::string>>> lookUp(const std::string &bytes) {
    return host::lookUpInPropertyList(bytes, {"ProductVersion", "ProductBuildVersion"});
}

std::string escaped(const std::string &text) {
    std::string result;
    for (const char c : text) {
        char code[8];
        std::snprintf(code, sizeof code, "\\%03o", static_cast<unsigned>(static_cast<unsigned char>(c)));
        result += code;
    }
    return result;
}

/** The same mounts as the kernel could also have written them: every byte escaped. */
std::string tableOf(const std::vector<Mount> &mounts) {
    std::string table;
    for (const Mount &mount : mounts)
        table += std::to_string(mount.id) + ' ' + std::to_string(mount.parentId) + ' ' + mount.device + ' ' +
                 escaped(mount.root) + ' ' + escaped(mount.mountPoint) + " rw - " + escaped(mount.type) + " x rw\n";
    return table;
}

bool areEqual(const Mount &one, const Mount &other) {
    return one.id == other.id && one.parentId == other.parentId && one.device == other.device &&
           one.root == other.root && one.mountPoint == other.mountPoint && one.type == other.type;
}

bool areEqual(const std::vector<Mount> &some, const std::vector<Mount> &others) {
    if (some.size() != others.size())
        return false;
    for (size_t i = 0; i < some.size(); ++i)
        if (!areEqual(some[i], others[i]))
            return false;
    return true;
}

} // namespace

const char *brokenPropertyListRule(const std::string &bytes) {
    const auto texts = lookUp(bytes);
    if (!texts)
        return nullptr;
    if (texts->size() != 2)
        return "every key has an answer";
    if (lookUp(bytes + " \n<!-- end -->") != texts)
        return "white space and comments may follow";
    if (lookUp(bytes + "x") || lookUp(bytes + "<dict/>"))
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

const char *brokenMountTableRule(const std::string &bytes) {
    const auto mounts = host::parseMountTable(bytes);
    if (!mounts)
        return nullptr;
    for (const Mount &mount : *mounts)
        if (mount.mountPoint.empty() || mount.mountPoint.front() != '/' ||
            mount.mountPoint.find('\0') != std::string::npos)
            return "a mount point is an absolute path";
    const auto again = host::parseMountTable(tableOf(*mounts));
    if (!again || !areEqual(*again, *mounts))
        return "escaping changes nothing";
    if (!bytes.empty() && host::parseMountTable(bytes.substr(0, bytes.size() - 1)))
        return "the last newline is needed";
    std::set<std::string> devices;
    for (const Mount &mount : host::chooseLocalMounts(*mounts))
        if (!devices.insert(mount.device).second || !host::isLocal(mount.type, mount.mountPoint))
            return "one local mount stands for each device";
    return nullptr;
}

} // namespace zor::test
