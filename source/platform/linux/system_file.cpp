// How a path is known to be the kernel's own without asking what may not answer: the mount on the folder itself is told
// by the kernel (statmount, 6.8), and the walk from there fails where it would leave that mount (openat2, 5.6). An
// older kernel's table of mounts tells as much, at more cost; that table itself is then read unseen.

#include "source/platform/linux/system_file.h"

#include "source/platform/linux/mount_table.h"
#include "source/platform/posix.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <iterator>

#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#ifndef SYS_openat2
#define SYS_openat2 437 // these have the same number on every architecture
#endif
#ifndef SYS_statmount
#define SYS_statmount 457
#endif

namespace zor::host {

namespace {

constexpr size_t kChunkBytes = 4096; // one page, as much as the kernel prepares at a time
constexpr size_t kMaxMountTableBytes = size_t{32} * 1024 * 1024;
constexpr char kEmptyLine[] = "\n\n";

// Without O_NONBLOCK, a pipe put in the file's place would hold us up for ever.
constexpr int kReading = O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;

constexpr struct KernelFolder {
    std::string_view path;
    uint64_t magic;
} kKernelFolders[] = {{"/proc/", PROC_SUPER_MAGIC}, {"/sys/", SYSFS_MAGIC}};

const KernelFolder *folderOf(std::string_view path) {
    for (const KernelFolder &folder : kKernelFolders)
        if (path.substr(0, folder.path.size()) == folder.path)
            return &folder;
    return nullptr;
}

/** Whether the kernel's own file system is mounted on an open folder, as the mount tells; the file system is not asked.
 * Nothing where the kernel does not tell. */
std::optional<bool> isKernels(const KernelFolder &folder, int opened) {
    constexpr unsigned int kUniqueMountId = 0x4000; // what the headers at hand may lack
    constexpr size_t kMountIdOffset = 0x90;
    constexpr uint64_t kSuperBlockBasics = 1;
    // The number of a mount is never given again, so that one answer for it is enough. One that does not fit a word, as
    // on 32 bits, is asked for each time.
    static std::atomic<size_t> known[std::size(kKernelFolders)];
    std::atomic<size_t> &knownHere = known[&folder - kKernelFolders];
    struct statx facts = {}; // an emulator may hand on what it knows of it alone
    if (statx(opened, "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT, kUniqueMountId, &facts) != 0 ||
        (facts.stx_mask & kUniqueMountId) == 0)
        return std::nullopt;
    uint64_t mountId = 0;
    std::memcpy(&mountId, reinterpret_cast<const char *>(&facts) + kMountIdOffset, sizeof mountId);
    if (mountId == 0)
        return std::nullopt;
    if (mountId == knownHere.load(std::memory_order_relaxed))
        return true;
    struct {
        uint32_t size, spare;
        uint64_t mountId, wanted;
    } const request = {24, 0, mountId, kSuperBlockBasics};
    struct {
        uint32_t size, options;
        uint64_t told;
        uint32_t deviceMajor, deviceMinor;
        uint64_t magic;
        uint64_t rest[124];
    } answer = {};
    if (syscall(SYS_statmount, &request, &answer, sizeof answer, 0u) != 0 || (answer.told & kSuperBlockBasics) == 0)
        return std::nullopt;
    if (answer.magic != folder.magic)
        return false;
    if (mountId <= SIZE_MAX)
        knownHere.store(static_cast<size_t>(mountId), std::memory_order_relaxed);
    return true;
}

/** Opens what is below an open folder, unless a mount is in between: EXDEV. */
Descriptor openOnSameMount(int folder, const char *below, int flags) {
    open_how how = {};
    how.flags = static_cast<uint64_t>(static_cast<unsigned int>(flags));
    how.resolve = RESOLVE_NO_XDEV;
    return Descriptor(
        static_cast<int>(retryInterrupted([&] { return syscall(SYS_openat2, folder, below, &how, sizeof how); })));
}

Descriptor openPath(const char *path, int flags) {
    return Descriptor(retryInterrupted([&] { return open(path, flags); }));
}

std::optional<std::string> readHere(int file, size_t maxBytes, bool isFirstParagraph);

/** Whether the table names a mount on the folder, or below it, that somebody else serves. */
bool holdsForeignMount(std::string_view folder) {
    const Descriptor file = openPath(kMountTablePath, kReading);
    if (!file)
        return false; // without the table nothing tells of one
    const std::optional<std::string> table = readHere(file.get(), kMaxMountTableBytes, false);
    if (!table)
        return true;
    const std::vector<Mount> mounts = parseMountTable(*table);
    return std::any_of(mounts.begin(), mounts.end(), [&](const Mount &mount) {
        return (mount.mountPoint + '/').compare(0, folder.size(), folder) == 0 && isServedElsewhere(mount.type);
    });
}

struct Opened {
    Descriptor file; // none: errno tells why
    bool isForeign;  // not opened, since that might take for ever
};

Opened openUnlessForeign(const char *path, int flags) {
    const KernelFolder *const folder = folderOf(path);
    if (!folder)
        return {openPath(path, flags), false};
    const Descriptor root = openPath(std::string(folder->path).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (!root)
        return {Descriptor(), false};
    const std::optional<bool> isOwn = isKernels(*folder, root.get());
    // The table itself is the last resort, and is read unseen.
    if (isOwn ? !*isOwn : std::strcmp(path, kMountTablePath) != 0 && holdsForeignMount(folder->path))
        return {Descriptor(), true};
    Descriptor file = openOnSameMount(root.get(), path + folder->path.size(), flags);
    if (!file && errno == EXDEV)
        return {Descriptor(), true};
    if (!file && (errno == ENOSYS || errno == EPERM)) // an older kernel; a sandbox that does not know the call
        return {openPath(path, flags), false};
    return {std::move(file), false};
}

/** Appends up to room bytes of a file; how many there were, 0 at the end, -1 on failure. */
ssize_t appendChunk(int file, std::string &content, size_t room) {
    char chunk[kChunkBytes];
    const ssize_t got = retryInterrupted([&] { return read(file, chunk, std::min(sizeof chunk, room)); });
    if (got > 0)
        content.append(chunk, static_cast<size_t>(got));
    return got;
}

/** Reads to the end of the file, or past its first empty line; nothing on failure or beyond maxBytes. */
std::optional<std::string> readHere(int file, size_t maxBytes, bool isFirstParagraph) {
    std::string content;
    while (!isFirstParagraph || content.find(kEmptyLine) == std::string::npos) {
        const ssize_t got = appendChunk(file, content, maxBytes + 1 - content.size());
        if (got == 0)
            return content;
        if (got < 0 || content.size() > maxBytes)
            return std::nullopt;
    }
    return content;
}

/** readHere for the other process, which does nothing but system calls. */
ssize_t readThere(const char *path, char *content, size_t room, bool isFirstParagraph) {
    const long file = syscall(SYS_openat, AT_FDCWD, path, kReading);
    size_t length = 0;
    while (file >= 0 && length < room &&
           (!isFirstParagraph || std::string_view(content, length).find(kEmptyLine) == std::string_view::npos)) {
        const size_t wanted = std::min(kChunkBytes, room - length);
        const long got = syscall(SYS_read, static_cast<int>(file), content + length, wanted);
        if (got == 0)
            return static_cast<ssize_t>(length);
        if (got < 0)
            return -1;
        length += static_cast<size_t>(got);
    }
    return file >= 0 ? static_cast<ssize_t>(length) : -1;
}

std::optional<std::string> readFile(const char *path, size_t maxBytes, bool isFirstParagraph,
                                    std::chrono::milliseconds limit) {
    const Opened opened = openUnlessForeign(path, kReading);
    if (opened.file)
        return readHere(opened.file.get(), maxBytes, isFirstParagraph);
    if (!opened.isForeign)
        return std::nullopt;
    std::optional<std::string> content =
        askApart([&](char *answer, size_t room) { return readThere(path, answer, room, isFirstParagraph); },
                 maxBytes + 1, limit);
    return content && content->size() <= maxBytes ? content : std::nullopt;
}

} // namespace

Reach reachOf(const char *path) {
    const Opened opened = openUnlessForeign(path, O_PATH | O_CLOEXEC);
    return opened.isForeign ? Reach::foreign : opened.file ? Reach::here : Reach::nowhere;
}

std::optional<std::string> readSystemFile(const char *path, size_t maxBytes, std::chrono::milliseconds limit) {
    return readFile(path, maxBytes, false, limit);
}

std::optional<std::string> readFirstParagraph(const char *path, size_t maxBytes, std::chrono::milliseconds limit) {
    std::optional<std::string> content = readFile(path, maxBytes, true, limit);
    if (content && content->find(kEmptyLine) != std::string::npos)
        content->resize(content->find(kEmptyLine) + 1);
    return content;
}

} // namespace zor::host
