#include "source/platform/linux/mount_table.h"

#include "source/platform/linux/text_fields.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

namespace zor::host {

namespace {

constexpr std::string_view kRemoteTypes[] = {
    "9p",    "acfs",  "afs",    "auristorfs", "beegfs", "ceph",     "cifs",      "coda",   "cvfs",
    "davfs", "fhgfs", "fuse",   "gfs",        "gfs2",   "gpfs",     "glusterfs", "lustre", "mfs",
    "ncp",   "ncpfs", "nfs",    "nfs4",       "ocfs2",  "orangefs", "panfs",     "prl_fs", "pvfs2",
    "smb3",  "smbfs", "vboxsf", "virtiofs",   "vmhgfs", "wekafs",
};

constexpr std::string_view kUnstoredTypes[] = {
    "anon_inodefs", "autofs",     "bdev",       "binder",     "binfmt_misc", "bpf",      "cgroup",  "cgroup2",
    "configfs",     "cpuset",     "debugfs",    "devfs",      "devpts",      "devtmpfs", "dmabuf",  "drm",
    "ecryptfs",     "efivarfs",   "functionfs", "fusectl",    "hugetlbfs",   "mqueue",   "nfsd",    "nsfs",
    "openpromfs",   "oprofilefs", "pidfs",      "pipefs",     "proc",        "pstore",   "ramfs",   "resctrl",
    "rootfs",       "rpc_pipefs", "secretmem",  "securityfs", "selinuxfs",   "shiftfs",  "smackfs", "sockfs",
    "spufs",        "sysfs",      "tmpfs",      "tracefs",    "usbfs",       "xenfs",
};

constexpr std::string_view kLayeredTypes[] = {"aufs", "overlay", "overlayfs", "unionfs"};

template <size_t count> bool isAmong(const std::string_view (&types)[count], const std::string &type) {
    return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

bool isRemote(const std::string &type) {
    // Programs serve these from anywhere; what they serve from a disk is "fuseblk".
    return type.compare(0, 5, "fuse.") == 0 || isAmong(kRemoteTypes, type);
}

/** Splits at single blanks; an empty part means that two blanks met. */
std::vector<std::string_view> splitAtBlanks(std::string_view line) {
    std::vector<std::string_view> parts;
    size_t begin = 0;
    for (size_t end; (end = line.find(' ', begin)) != std::string_view::npos; begin = end + 1)
        parts.push_back(line.substr(begin, end - begin));
    parts.push_back(line.substr(begin));
    return parts;
}

bool isOctalDigit(char c) {
    return c >= '0' && c <= '7';
}

/** Decodes the three octal digits behind each backslash; nothing when they are none, or stand for a null byte or more
 * than a byte. */
std::optional<std::string> decodeEscapes(std::string_view text) {
    std::string decoded;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            decoded += text[i];
            continue;
        }
        if (text.size() - i < 4 || !std::all_of(&text[i + 1], &text[i + 1] + 3, isOctalDigit))
            return std::nullopt;
        const int byte = (text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0');
        if (byte == 0 || byte > 255)
            return std::nullopt;
        decoded += static_cast<char>(byte);
        i += 3;
    }
    return decoded;
}

bool isDeviceNumber(std::string_view text) {
    const size_t colon = text.find(':');
    return colon != std::string_view::npos && decimalNumber(text.substr(0, colon)) &&
           decimalNumber(text.substr(colon + 1));
}

// id, parent, device, root, mount point, options, any number of optional fields, "-", type, source, options. Behind the
// type nothing is of use, and the source may be anything, even empty.
std::optional<Mount> parseMount(std::string_view line) {
    enum { id, parentId, device, root, mountPoint, options, optional };
    const std::vector<std::string_view> fields = splitAtBlanks(line);
    const auto required = static_cast<size_t>(optional);
    if (fields.size() < required || line.find('\0') != std::string_view::npos)
        return std::nullopt;
    const auto separator = std::find(fields.begin() + optional, fields.end(), "-");
    if (fields.end() - separator < 2 || std::find(fields.begin(), separator, "") != separator)
        return std::nullopt;
    const std::optional<uint64_t> ownId = decimalNumber(fields[id]);
    const std::optional<uint64_t> parent = decimalNumber(fields[parentId]);
    std::optional<std::string> mountedRoot = decodeEscapes(fields[root]);
    std::optional<std::string> path = decodeEscapes(fields[mountPoint]);
    std::optional<std::string> type = decodeEscapes(separator[1]);
    if (!ownId || !parent || !isDeviceNumber(fields[device]) || !mountedRoot || !path || path->front() != '/' ||
        !type || type->empty())
        return std::nullopt;
    return Mount{*ownId,           *parent,         std::string(fields[device]), *std::move(mountedRoot),
                 *std::move(path), *std::move(type)};
}

/** Finds out where a path leads, mount by mount, as the kernel does when it walks the path. */
class PathWalk {
public:
    explicit PathWalk(const std::vector<Mount> &mounts) : m_maxSteps(mounts.size()) {
        std::unordered_set<uint64_t> ids;
        for (const Mount &mount : mounts)
            ids.insert(mount.id);
        for (const Mount &mount : mounts) {
            // The parent of what is mounted on "/" is out of sight, or the mount itself.
            const bool isTop = mount.parentId == mount.id || ids.count(mount.parentId) == 0;
            (isTop ? m_top : m_children[mount.parentId])[mount.mountPoint] = &mount; // of several the last
        }
    }

    /** Whether the mount's own path leads to it, and not to one that covers it or a folder above it. */
    bool isReachable(const Mount &mount) const {
        const Mount *reached = firstOnPath(m_top, mount.mountPoint);
        // As many steps as there are mounts: a table that runs in a circle ends, too.
        for (size_t step = 0; reached && step < m_maxSteps; ++step) {
            const auto children = m_children.find(reached->id);
            const Mount *next =
                children == m_children.end() ? nullptr : firstOnPath(children->second, mount.mountPoint);
            if (!next)
                return reached == &mount;
            reached = next;
        }
        return false;
    }

private:
    using Mounts = std::unordered_map<std::string, const Mount *>; // by mount point

    /** The mount that a walk along path meets first. */
    static const Mount *firstOnPath(const Mounts &mounts, const std::string &path) {
        for (size_t end = 1;; end = std::min(path.find('/', end + 1), path.size())) {
            const auto met = mounts.find(path.substr(0, end));
            if (met != mounts.end())
                return met->second;
            if (end == path.size())
                return nullptr;
        }
    }

    size_t m_maxSteps;
    Mounts m_top;
    std::unordered_map<uint64_t, Mounts> m_children;
};

} // namespace

std::optional<std::vector<Mount>> parseMountTable(std::string_view mountinfo) {
    std::vector<Mount> mounts;
    while (const std::optional<std::string_view> line = takeLine(mountinfo)) {
        std::optional<Mount> mount = parseMount(*line);
        if (!mount)
            return std::nullopt;
        mounts.push_back(*std::move(mount));
    }
    if (!mountinfo.empty()) // cut short
        return std::nullopt;
    return mounts;
}

bool isLocal(const std::string &type, const std::string &mountPoint) {
    if (isAmong(kLayeredTypes, type))
        return mountPoint == "/";
    return !isRemote(type) && !isAmong(kUnstoredTypes, type);
}

std::vector<Mount> chooseLocalMounts(const std::vector<Mount> &mounts) {
    const PathWalk walk(mounts);
    std::unordered_map<std::string, const Mount *> chosen;
    for (const bool ofWholeTree : {true, false})
        for (const Mount &mount : mounts)
            if ((mount.root == "/") == ofWholeTree && isLocal(mount.type, mount.mountPoint) &&
                chosen.count(mount.device) == 0 && walk.isReachable(mount))
                chosen.emplace(mount.device, &mount);
    std::vector<Mount> inOrder;
    for (const Mount &mount : mounts) {
        const auto entry = chosen.find(mount.device);
        if (entry != chosen.end() && entry->second == &mount)
            inOrder.push_back(mount);
    }
    return inOrder;
}

} // namespace zor::host
