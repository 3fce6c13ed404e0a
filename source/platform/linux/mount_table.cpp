#include "source/platform/linux/mount_table.h"

#include "source/platform/linux/text_fields.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>

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

// Kept by the kernel alone, on a device of this machine or in memory: nobody else is asked.
constexpr std::string_view kPromptTypes[] = {
    "affs",     "bcachefs", "befs",    "bfs",     "binfmt_misc", "bpf",      "btrfs",     "cgroup",   "cgroup2",
    "configfs", "cramfs",   "debugfs", "devpts",  "devtmpfs",    "efs",      "erofs",     "exfat",    "ext2",
    "ext3",     "ext4",     "f2fs",    "fusectl", "hfs",         "hfsplus",  "hugetlbfs", "iso9660",  "jffs2",
    "jfs",      "minix",    "mqueue",  "msdos",   "nilfs2",      "nsfs",     "ntfs",      "ntfs3",    "proc",
    "pstore",   "ramfs",    "romfs",   "rootfs",  "securityfs",  "reiserfs", "selinuxfs", "squashfs", "sysfs",
    "tmpfs",    "tracefs",  "ubifs",   "udf",     "ufs",         "vfat",     "xfs",       "zfs",
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

/** Which mounts the paths of this process lead to. Worked out for all at once, from its root downwards, as the kernel
 * walks: a mount is entered through the one it is mounted in, unless another is met before on the way. */
class MountTree {
public:
    explicit MountTree(const std::vector<Mount> &mounts) : m_mounts(mounts), m_nodes(mounts.size() + 1) {
        connect();
        std::vector<size_t> entered{m_top};
        m_nodes[m_top].isEntered = true;
        for (size_t next = 0; next < entered.size(); ++next) // each mount has one parent, so that it comes once at most
            for (const auto &[point, child] : m_nodes[entered[next]].children)
                if (enter(entered[next], child, point))
                    entered.push_back(child);
    }

    /** Whether the mount's own path leads to it. */
    bool isReached(size_t mount) const { return m_nodes[mount].isEntered && (mount == m_top || !coverOf(mount)); }
    /** Whether the way leads through a remote mount. */
    bool isBehindRemote(size_t mount) const { return m_nodes[mount].isBehindRemote; }
    /** Whether the way leads through what may not answer. */
    bool isBehindDoubt(size_t mount) const { return m_nodes[mount].isBehindDoubt; }
    /** Whether this is the process's own root. */
    bool isTop(size_t mount) const { return mount == m_top; }

private:
    struct Node {
        std::unordered_map<std::string_view, size_t> children; // by mount point; of several the last
        bool isEntered = false;
        bool isBehindRemote = false;
        bool isBehindDoubt = false;
    };

    bool isRootOutOfSight() const { return m_top == m_mounts.size(); }
    std::string_view pointOf(size_t node) const {
        return node == m_mounts.size() ? std::string_view("/") : std::string_view(m_mounts[node].mountPoint);
    }

    /** Sorts the mounts by what they are mounted in, and finds the process's own root. */
    void connect() {
        std::unordered_map<uint64_t, size_t> indices;
        for (size_t i = 0; i < m_mounts.size(); ++i)
            indices.emplace(m_mounts[i].id, i);
        const size_t outOfSight = m_mounts.size();
        std::optional<size_t> root;
        for (size_t i = 0; i < m_mounts.size(); ++i) {
            const auto parent = indices.find(m_mounts[i].parentId);
            const bool isOnRoot = m_mounts[i].mountPoint == "/";
            if (parent != indices.end() && parent->second != i)
                m_nodes[parent->second].children[m_mounts[i].mountPoint] = i;
            else if (!isOnRoot && parent == indices.end())
                m_nodes[outOfSight].children[m_mounts[i].mountPoint] = i;
            else if (isOnRoot && !root)
                root = i;
        }
        // Where the root is a folder within a mount, that mount is out of sight, and others are mounted in it.
        m_top = root && m_nodes[outOfSight].children.empty() ? *root : outOfSight;
        // Kernels before 3.2 list the root in memory that the system started with, under the one it runs on.
        if (!isRootOutOfSight() && m_mounts[m_top].type == "rootfs")
            m_top = coverOf(m_top).value_or(m_top);
    }

    /** What is mounted on the mount's own root. */
    std::optional<size_t> coverOf(size_t node) const {
        const auto cover = m_nodes[node].children.find(pointOf(node));
        return cover == m_nodes[node].children.end() ? std::nullopt : std::optional<size_t>(cover->second);
    }

    /** The first mount inside a mount, below its root, that a walk along path meets; none on a path that leads past. */
    std::optional<size_t> firstInside(size_t node, std::string_view path) const {
        const auto &children = m_nodes[node].children;
        const size_t above = pointOf(node) == "/" ? 0 : pointOf(node).size();
        if (path.substr(0, above) != pointOf(node).substr(0, above) || path.substr(above, 1) != "/")
            return std::nullopt;
        for (size_t end = above; end < path.size();) {
            end = std::min(path.find('/', end + 1), path.size());
            const auto met = children.find(path.substr(0, end));
            if (met != children.end())
                return met->second;
        }
        return std::nullopt;
    }

    /** Walks from one mount into one that is mounted in it; whether that is possible. */
    bool enter(size_t parent, size_t child, std::string_view point) {
        const bool isCover = point == pointOf(parent);
        if (isCover ? parent == m_top : (parent != m_top && coverOf(parent)) || firstInside(parent, point) != child)
            return false;
        Node &node = m_nodes[child];
        node = Node{std::move(node.children), true, m_nodes[parent].isBehindRemote, m_nodes[parent].isBehindDoubt};
        if (!isCover && parent != m_mounts.size()) {
            const std::string &type = m_mounts[parent].type;
            node.isBehindRemote |= parent != m_top && isRemote(type);
            node.isBehindDoubt |= parent == m_top ? isRemote(type) : !isAmong(kPromptTypes, type);
        }
        return true;
    }

    const std::vector<Mount> &m_mounts;
    std::vector<Node> m_nodes; // a mount each, and the one out of sight
    size_t m_top = 0;
};

} // namespace

std::vector<Mount> parseMountTable(std::string_view mountinfo) {
    std::vector<Mount> mounts;
    while (const std::optional<std::string_view> line = takeLine(mountinfo))
        if (std::optional<Mount> mount = parseMount(*line))
            mounts.push_back(*std::move(mount));
    return mounts;
}

bool isLocal(const std::string &type, const std::string &mountPoint) {
    if (isAmong(kLayeredTypes, type))
        return mountPoint == "/";
    return !isRemote(type) && !isAmong(kUnstoredTypes, type);
}

bool isServedElsewhere(const std::string &type) {
    return isRemote(type) || type.compare(0, 7, "fuseblk") == 0;
}

std::vector<std::vector<LocalMount>> findLocalMounts(const std::vector<Mount> &mounts) {
    const MountTree tree(mounts);
    std::unordered_map<std::string_view, size_t> places; // of each device's list
    std::vector<std::vector<LocalMount>> lists;
    enum class Shown { asRoot, whole, part };
    for (const Shown shown : {Shown::asRoot, Shown::whole, Shown::part})
        for (size_t i = 0; i < mounts.size(); ++i) {
            const Mount &mount = mounts[i];
            const Shown how = mount.mountPoint == "/" ? Shown::asRoot : mount.root == "/" ? Shown::whole : Shown::part;
            if (how != shown || !isLocal(mount.type, mount.mountPoint) || !tree.isReached(i) || tree.isBehindRemote(i))
                continue;
            const size_t place = places.emplace(mount.device, lists.size()).first->second;
            lists.resize(std::max(lists.size(), place + 1));
            const bool isPrompt = tree.isTop(i) || isAmong(kPromptTypes, mount.type);
            lists[place].push_back({&mount, !isPrompt || tree.isBehindDoubt(i)});
        }
    return lists;
}

std::vector<Volume> chooseVolumes(const std::vector<Mount> &mounts, const AskSpace &ask) {
    const std::vector<std::vector<LocalMount>> lists = findLocalMounts(mounts);
    const bool isContainer = std::any_of(lists.begin(), lists.end(), [](const std::vector<LocalMount> &list) {
        return isAmong(kLayeredTypes, list.front().mount->type);
    });
    std::vector<Volume> volumes;
    for (const std::vector<LocalMount> &list : lists) {
        std::optional<Volume> file;
        for (const LocalMount &candidate : list) {
            const std::optional<VolumeSpace> space = ask(candidate);
            if (space && space->isFolder) {
                volumes.push_back({candidate.mount, *space});
                file.reset();
                break;
            }
            if (space && !file && !isContainer)
                file = Volume{candidate.mount, *space};
        }
        if (file)
            volumes.push_back(*file);
    }
    // The pointers lead into the table.
    std::sort(volumes.begin(), volumes.end(),
              [](const Volume &one, const Volume &other) { return one.mount < other.mount; });
    return volumes;
}

} // namespace zor::host
