// A small strict reader of XML property lists.

#include "platform/host.h"

namespace zor::host {

std::optional<std::vector<std::optional<std::string>>> lookUpInPropertyList(const std::string &,
                                                                            const std::vector<std::string> &) {
    return std::nullopt;
}

} // namespace zor::host
