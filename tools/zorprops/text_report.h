#pragma once

// The answers as text for people, and for scripts that read lines.

#include "display.h"
#include "items.h"
#include "machine.h"

#include <string>
#include <vector>

namespace zorprops {

std::string asText(const Report &report, const Style &style);
/** The value alone when one name was asked for, name=value lines for several.
 * @param withoutUnknown  nothing in the place of what is not known. */
std::string asText(const std::vector<Item> &answers, bool isSingle, bool withoutUnknown);
std::string asText(const std::vector<Interface> &interfaces, const Style &style);
std::string asText(const Users &users, const Style &style);
std::string listAsText(const Style &style);
std::string asText(const Change &change);

/** An amount of bytes as people read it: '23.5 GiB'. */
std::string readableBytes(const std::string &bytes);
/** A time span: '2 days 3 h 5 min'. */
std::string readableSeconds(const std::string &seconds);

} // namespace zorprops
