#pragma once

// Flat paths, apart from the class that remembers one; these throw where memory runs out.

#include <optional>
#include <string>

namespace zor {

/** FileNameFlattener(path): the flat path; nothing when a ".." has nothing before it to take away. */
std::optional<std::string> flatPath(const std::string &path);

/** FileNameFlattener(path, base): the flat path; nothing when either cannot be flattened. */
std::optional<std::string> flatPath(const std::string &path, const std::string &base);

} // namespace zor
