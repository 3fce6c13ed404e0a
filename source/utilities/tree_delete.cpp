// Recursive delete. Every folder is opened relative to the one that holds it and never through a symbolic link; its
// entries are looked at and removed relative to the open folder. So the walk cannot leave the tree, not even when
// somebody puts a link in a folder's place meanwhile: a link, whatever it points to, is removed as a link. The searches
// come from the search table, one for each level, which bounds the depth; the working path bounds the names.

#include "zorcomn/utilities.h"

#include "source/platform/posix.h"
#include "source/portability/directory_search.h"

#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zor {

namespace {

struct SearchKind {
    using Value = int32_t;
    static Value none() { return kNoSearch; }
    static void close(Value value) { qelFindCloseDirEnt(value); }
};
using Search = Unique<SearchKind>;

bool isDots(const char *name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

/** The kind of what an entry is itself, not of what a link points to; 0 when nothing is known. */
mode_t kindOf(int folder, const char *name) {
    struct stat facts;
    return fstatat(folder, name, &facts, AT_SYMLINK_NOFOLLOW) == 0 ? facts.st_mode & S_IFMT : 0;
}

class TreeDelete {
public:
    /** Sets out for a path; false, and nothing may follow, for one that is null, empty or does not fit. */
    bool begin(const char *path) {
        if (!path || !*path || !append(path))
            return false;
        while (m_length > 1 && m_path[m_length - 1] == '/') // behind a '/' a link would be followed
            cutTo(m_length - 1);
        return true;
    }

    bool isLink() const { return S_ISLNK(kindOf(AT_FDCWD, m_path)); }
    bool removeLink() { return unlinkat(AT_FDCWD, m_path, 0) == 0; }
    bool removeAll() { return removeFolder(AT_FDCWD, m_path); }
    Search startTop() { return start(AT_FDCWD, m_path); }

    /** Empties the folder that a search reads. Some systems pass entries over while others are removed, so that the
     * folder is read again until nothing more could be removed. */
    void empty(const Search &search) {
        qelSearch *const record = findSearch(search.get());
        while (removeEntries(*record))
            rewinddir(record->stream);
    }
    /** Whether something was left because the tree is too deep or a name too long. */
    bool hasRefused() const { return m_hasRefused; }

private:
    static constexpr size_t kMaxLength = 259;
    static constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

    bool append(const char *text) {
        const size_t length = strnlen(text, kMaxLength + 1);
        if (m_length + length > kMaxLength)
            return false;
        std::memcpy(m_path + m_length, text, length);
        cutTo(m_length + length);
        return true;
    }
    void cutTo(size_t length) {
        m_length = length;
        m_path[length] = '\0';
    }

    Search start(int parent, const char *name) {
        Descriptor folder(retryInterrupted([&] { return openat(parent, name, kFolderFlags); }));
        Directory stream(folder ? fdopendir(folder.get()) : nullptr);
        if (!stream)
            return Search();
        folder.release();
        m_path[m_length] = '/';
        const int32_t search = openSearch(std::move(stream), m_path, m_length + 1, "*");
        m_path[m_length] = '\0';
        m_foundNoSlot = search == kNoSearch;
        return Search(search);
    }

    /** Removes the folder that the working path names; what cannot be searched may still be an empty folder. */
    bool removeFolder(int parent, const char *name) {
        m_foundNoSlot = false;
        if (const Search search = start(parent, name))
            empty(search);
        const bool foundNoSlot = std::exchange(m_foundNoSlot, false);
        if (unlinkat(parent, name, AT_REMOVEDIR) == 0)
            return true;
        m_hasRefused = m_hasRefused || foundNoSlot;
        return false;
    }

    bool removeEntry(int folder, const char *name) {
        const size_t length = m_length;
        const bool fits = append("/") && append(name);
        m_hasRefused = m_hasRefused || !fits;
        bool isRemoved = false;
        if (fits)
            isRemoved = S_ISDIR(kindOf(folder, name)) ? removeFolder(folder, name) : unlinkat(folder, name, 0) == 0;
        cutTo(length);
        return isRemoved;
    }

    /** Goes once through a folder; true when anything was removed. */
    bool removeEntries(qelSearch &search) {
        bool isAnyRemoved = false;
        while (const dirent *entry = nextEntry(search)) {
            if (!isDots(entry->d_name) && removeEntry(dirfd(search.stream), entry->d_name))
                isAnyRemoved = true;
        }
        return isAnyRemoved;
    }

    char m_path[kMaxLength + 2] = {}; // room for the '/' behind a folder
    size_t m_length = 0;
    bool m_foundNoSlot = false;
    bool m_hasRefused = false;
};

} // namespace

} // namespace zor

int32_t qelcomn_deltree(const char *path) {
    zor::TreeDelete tree;
    if (!tree.begin(path))
        return -1;
    return (tree.isLink() ? tree.removeLink() : tree.removeAll()) ? 0 : -1;
}

// Kept: failures inside do not stop the walk and are not told; the result is that of closing the search, so 1 is the
// usual one, and 0 says that nothing could be searched.
int32_t qelcomn_delsubtree(const char *path) {
    zor::TreeDelete tree;
    if (!tree.begin(path) || tree.isLink())
        return -1;
    zor::Search search = tree.startTop();
    if (!search)
        return 0;
    tree.empty(search);
    const int32_t closed = qelFindCloseDirEnt(search.release());
    return tree.hasRefused() ? -1 : closed;
}
