// Recursive delete. Of each folder all names are read first and then removed, once: what others add meanwhile stays, so
// that the walk ends whatever they do, and no system passes an entry over because others go. Every folder is opened
// relative to the one that holds it and never through a symbolic link; its entries are looked at and removed relative
// to the open folder. So the walk cannot leave the tree, not even when somebody puts a link in a folder's place
// meanwhile: a link, whatever it points to, is removed as a link. The searches come from the search table, one for each
// level, which bounds the depth and the descriptors; the working path bounds the names.

#include "zorcomn/utilities.h"

#include "source/platform/files.h"
#include "source/platform/posix.h"
#include "source/portability/directory_search.h"

#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include <sys/stat.h>

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

/** The names that a search still finds, each with its terminator; nothing without memory for them. */
std::optional<std::string> readNames(qelSearch &search) {
    return guarded(std::optional<std::string>(), [&] {
        std::string names;
        while (const dirent *entry = nextEntry(search)) {
            if (!isDots(entry->d_name))
                names.append(entry->d_name, std::strlen(entry->d_name) + 1);
        }
        return std::make_optional(std::move(names));
    });
}

class TreeDelete {
public:
    /** Sets out for a path; false, and nothing may follow, for one that is null, empty or does not fit. */
    bool begin(const char *path) {
        if (!path || !append(path) || m_length == 0)
            return false;
        while (m_length > 1 && m_path[m_length - 1] == '/') // behind a '/' a link would be followed
            cutTo(m_length - 1);
        return true;
    }

    bool isLink() const { return S_ISLNK(host::kindOf(host::kWorkingFolder, m_path)); }
    bool removeLink() { return host::removeFile(host::kWorkingFolder, m_path); }
    bool removeAll() { return removeFolder(host::kWorkingFolder, m_path); }
    Search startTop() { return start(host::kWorkingFolder, m_path); }

    /** Removes what the folder that a search reads holds now. */
    void empty(const Search &search) {
        qelSearch *const record = findSearch(search.get());
        const auto names = readNames(*record);
        m_hasRefused = m_hasRefused || !names;
        if (!names)
            return;
        for (size_t start = 0; start < names->size(); start += std::strlen(names->c_str() + start) + 1)
            removeEntry(descriptorOf(record->stream), names->c_str() + start);
    }
    /** Whether something was left because the tree is too deep, a name too long or memory short. */
    bool hasRefused() const { return m_hasRefused; }

private:
    static constexpr size_t kMaxLength = 259;

    bool append(const char *text) {
        const size_t length = m_length;
        if (!copyText(m_path + length, kMaxLength - length + 1, text)) {
            cutTo(length);
            return false;
        }
        m_length += std::strlen(m_path + length);
        return true;
    }
    void cutTo(size_t length) {
        m_length = length;
        m_path[length] = '\0';
    }

    Search start(int parent, const char *name) {
        Directory stream = host::openFolder(parent, name);
        if (!stream)
            return Search();
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
        if (host::removeFolder(parent, name))
            return true;
        m_hasRefused = m_hasRefused || foundNoSlot;
        return false;
    }

    void removeEntry(int folder, const char *name) {
        const size_t length = m_length;
        if (!append("/") || !append(name))
            m_hasRefused = true;
        else if (S_ISDIR(host::kindOf(folder, name)))
            removeFolder(folder, name);
        else
            host::removeFile(folder, name);
        cutTo(length);
    }

    char m_path[kMaxLength + 2] = {}; // room for the '/' behind a folder
    size_t m_length = 0;
    bool m_foundNoSlot = false;
    bool m_hasRefused = false;
};

} // namespace

} // namespace zor

int32_t qelcomn_deltree(const char *path) {
    const zor::UncancellableScope uncancellable;
    zor::TreeDelete tree;
    if (!tree.begin(path))
        return -1;
    return (tree.isLink() ? tree.removeLink() : tree.removeAll()) ? 0 : -1;
}

// Kept: failures inside do not stop the walk and are not told; the result is that of closing the search, so 1 is the
// usual one, and 0 says that nothing could be searched.
int32_t qelcomn_delsubtree(const char *path) {
    const zor::UncancellableScope uncancellable;
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
