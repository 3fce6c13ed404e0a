// The resolver of links, on links made of the lines of the input: the first is the path, the others the texts of the
// links a, b, c and d. Checked against the same walk with the system's calls.

#include "zorcomn/utilities.h"

#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"
#include "tests/support/temporary_folder.h"

#include <filesystem>
#include <optional>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace zor::test::readers {

namespace {

using velmora_com::vta::FileNameFlattener;
using velmora_com::vta::FileNameResolver;

constexpr int kMostHops = 64; // of the model: more than there are links, so a walk that goes on is a circle
constexpr size_t kLongestText = 1023;

class Tree {
public:
    Tree() {
        std::filesystem::create_directories(m_folder / "d/e");
        m_folder.write("f", "x");
        m_folder.write("d/f", "x");
        for (const char *name : {"/a", "/b", "/d/c", "/d/e/l"})
            m_links.push_back(m_folder.path() + name);
    }
    const std::string &path() const { return m_folder.path(); }

    void relink(Bytes &input) const {
        for (const std::string &link : m_links) {
            unlink(link.c_str());
            const std::string text = input.line();
            if (symlink(text.c_str(), link.c_str()) != 0)
                continue; // an empty text, or one too long
        }
    }

private:
    TemporaryFolder m_folder;
    std::vector<std::string> m_links;
};

std::optional<std::string> flat(const FileNameFlattener &flattener) {
    std::string path;
    return flattener.GetFlatPath(path) != 0 ? std::optional<std::string>(path) : std::nullopt;
}

std::optional<std::string> model(const std::string &path) {
    std::optional<std::string> at = flat(FileNameFlattener(path));
    for (int hop = 0; at && hop < kMostHops; ++hop) {
        struct stat facts;
        if (at->find('\0') != std::string::npos || lstat(at->c_str(), &facts) != 0)
            return std::nullopt;
        if (S_ISREG(facts.st_mode))
            return at;
        char text[4096];
        const ssize_t length = S_ISLNK(facts.st_mode) ? readlink(at->c_str(), text, sizeof text) : -1;
        if (length < 0 || static_cast<size_t>(length) > kLongestText)
            return std::nullopt;
        at = flat(FileNameFlattener(std::string(text, static_cast<size_t>(length)), at->substr(0, at->rfind('/'))));
    }
    return std::nullopt;
}

std::optional<std::string> resolved(const std::string &path) {
    std::string file;
    return FileNameResolver(path).GetAbsolutePath(file) != 0 ? std::optional<std::string>(file) : std::nullopt;
}

/** What the flat form tells; false when its answers contradict each other. */
bool flatForm(const std::string &path, std::optional<std::string> &file) {
    void *resolver = nullptr;
    if (qelcomn_filenameresolver_create(path.c_str(), &resolver) != 0)
        return false;
    std::string buffer(8192, '#');
    auto size = static_cast<uint32_t>(buffer.size());
    if (qelcomn_filenameresolver_get_absolute_filename(resolver, buffer.data(), &size) == 0) {
        file = buffer.c_str();
        uint32_t little = size - 1;
        if (size != file->size() + 1 ||
            qelcomn_filenameresolver_get_absolute_filename(resolver, buffer.data(), &little) == 0 || little != size)
            return false;
    }
    return qelcomn_filenameresolver_destroy(resolver) == 0;
}

} // namespace

const char *file_name_resolver(const std::string &bytes) {
    static const Tree tree;
    Bytes input(bytes);
    const std::string name = input.line();
    tree.relink(input);
    const std::string path = tree.path() + '/' + name;
    const auto expected = model(path), file = resolved(path);
    if (file != expected)
        return "the same walk with the system's calls agrees";
    if (file && resolved(*file) != file)
        return "a regular file is where it is";
    std::optional<std::string> other;
    if (name.find('\0') == std::string::npos && (!flatForm(path, other) || other != file))
        return "the flat form agrees";
    return nullptr;
}

} // namespace zor::test::readers
