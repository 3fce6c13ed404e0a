#pragma once

// The answers as JSON, always valid UTF-8: what is none in the machine's names becomes U+FFFD. Keys keep their order.

#include "machine.h"

#include <string>
#include <vector>

namespace zorprops {

std::string asJson(const Report &report);
std::string asJson(const std::vector<std::string> &names, const std::vector<std::string> &values);
std::string asJson(const std::vector<Interface> &interfaces);
std::string asJson(const Users &users);
std::string listAsJson();

} // namespace zorprops
