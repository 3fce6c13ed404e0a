// The kernel's table of mounts.

#include "tests/fuzz/readers.h"

#include "source/platform/linux/mount_table.h"

#include <cstdio>
#include <set>

namespace zor::test::readers {

namespace {

using host::Mount;

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

/** The mount that a walk along the path meets first among those mounted in a parent, longer than the part behind. */
const Mount *nextOnPath(const std::vector<Mount> &mounts, uint64_t parent, const std::string &path, size_t behind) {
    const Mount *next = nullptr;
    for (const Mount &mount : mounts) {
        const std::string &point = mount.mountPoint;
        const bool isOnPath = point.size() > behind && (path + '/').compare(0, point.size() + 1, point + '/') == 0;
        if (isOnPath && mount.parentId == parent && mount.id != parent &&
            (!next || point.size() <= next->mountPoint.size()))
            next = &mount;
    }
    return next;
}

const Mount *coverOf(const std::vector<Mount> &mounts, const Mount &covered) {
    const Mount *cover = nullptr;
    for (const Mount &mount : mounts)
        if (mount.parentId == covered.id && mount.id != covered.id && mount.mountPoint == covered.mountPoint)
            cover = &mount;
    return cover;
}

/** The same answer as the reader's, found by walking the path; for tables in which each identifier comes once. */
bool isReachedStepByStep(const std::vector<Mount> &mounts, const Mount &wanted) {
    std::set<uint64_t> ids;
    for (const Mount &mount : mounts)
        if (!ids.insert(mount.id).second)
            return true;
    const Mount *reached = nullptr;
    for (const Mount &mount : mounts)
        if (mount.mountPoint == "/" && (ids.count(mount.parentId) == 0 || mount.parentId == mount.id)) {
            reached = &mount;
            break;
        }
    for (const Mount &mount : mounts)
        if (mount.mountPoint != "/" && ids.count(mount.parentId) == 0)
            return true; // a root out of sight
    if (!reached)
        return false;
    if (const Mount *cover = coverOf(mounts, *reached); cover && reached->type == "rootfs")
        reached = cover;
    for (size_t behind = 1; const Mount *next = nextOnPath(mounts, reached->id, wanted.mountPoint, behind);) {
        reached = next;
        while (const Mount *cover = coverOf(mounts, *reached))
            reached = cover;
        behind = reached->mountPoint.size();
    }
    return reached == &wanted;
}

} // namespace

const char *mount_table(const std::string &bytes) {
    const std::vector<Mount> mounts = host::parseMountTable(bytes);
    for (const Mount &mount : mounts)
        if (mount.mountPoint.empty() || mount.mountPoint.front() != '/' ||
            mount.mountPoint.find('\0') != std::string::npos)
            return "a mount point is an absolute path";
    if (!areEqual(host::parseMountTable(tableOf(mounts)), mounts))
        return "escaping changes nothing";
    if (!areEqual(host::parseMountTable("not a mount\n" + bytes), mounts))
        return "an odd line is passed over alone";
    const size_t end = bytes.rfind('\n') + 1; // 0 where there is none
    if (!areEqual(host::parseMountTable(bytes.substr(0, end)), mounts) ||
        (end == bytes.size() && end > 0 &&
         !areEqual(host::parseMountTable(bytes.substr(0, end - 1)),
                   host::parseMountTable(bytes.substr(0, bytes.rfind('\n', end - 2) + 1)))))
        return "a line that is cut short does not count";
    std::set<std::string> devices;
    for (const std::vector<host::LocalMount> &list : host::findLocalMounts(mounts)) {
        if (list.empty() || !devices.insert(list.front().mount->device).second)
            return "one list for each device";
        for (const host::LocalMount &candidate : list) {
            const Mount &mount = *candidate.mount;
            if (mount.device != list.front().mount->device || !host::isLocal(mount.type, mount.mountPoint))
                return "a device's own mounts stand for it, and they are local";
            if (!isReachedStepByStep(mounts, mount))
                return "a mount that no path leads to is left out";
        }
    }
    const auto answer = [](const host::LocalMount &) { return std::optional<host::VolumeSpace>({true, 1, 1, 1}); };
    if (host::chooseVolumes(mounts, answer).size() != devices.size())
        return "one mount stands for each device";
    return nullptr;
}

} // namespace zor::test::readers
