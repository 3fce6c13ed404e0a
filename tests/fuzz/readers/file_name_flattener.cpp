// The flattener of paths, against the same rules carried out one replacement after the other. A path and a base, one
// line each.

#include "zorcomn/utilities.h"

#include "tests/fuzz/bytes.h"
#include "tests/fuzz/readers.h"

#include <optional>

#include <unistd.h>

namespace zor::test::readers {

namespace {

using velmora_com::vta::FileNameFlattener;

std::optional<std::string> model(std::string path, const std::string &base) {
    if (!path.empty() && path.back() == '/')
        path.pop_back();
    if (path.empty() || path.front() != '/')
        path = base + '/' + path;
    path += '/';
    for (size_t at; (at = path.find("/./")) != std::string::npos;)
        path.erase(at, 2);
    for (size_t at; (at = path.find("/../")) != std::string::npos;) {
        const size_t before = at == 0 ? std::string::npos : path.rfind('/', at - 1);
        if (before == std::string::npos)
            return std::nullopt;
        path.erase(before, at + 3 - before);
    }
    path.pop_back();
    return path;
}

std::optional<std::string> flat(const FileNameFlattener &flattener) {
    std::string path = "untouched";
    if (flattener.GetFlatPath(path) == 0)
        return path == "untouched" ? std::nullopt : std::optional<std::string>("touched on failure");
    return path;
}

} // namespace

const char *file_name_flattener(const std::string &bytes) {
    Bytes input(bytes);
    const std::string path = input.line(), base = input.rest();
    char buffer[1024];
    const std::string folder = getcwd(buffer, sizeof buffer) ? buffer : "";
    FileNameFlattener here(path);
    const auto alone = flat(here);
    if (alone != model(path, folder))
        return "the rules agree";
    if (here.Flatten() != (alone ? 1 : 0) || flat(here) != alone)
        return "flattening again changes nothing";
    const auto flatBase = model(base, folder);
    if (flat(FileNameFlattener(path, base)) != (flatBase ? model(path, *flatBase) : std::nullopt))
        return "the rules agree with a base";
    if (alone && !alone->empty() && alone->back() != '/' && flat(FileNameFlattener(*alone)) != alone)
        return "a flat path is flat already";
    return nullptr;
}

} // namespace zor::test::readers
