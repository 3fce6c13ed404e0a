#pragma once

// How the lists of users become texts.

#include <set>
#include <string>

namespace zor {

/** The names in the set's order, with a comma between them. */
std::wstring joinNames(const std::set<std::wstring> &names);

/** Cuts a list of names to 128 characters, where it has that many: after the last whole name when the dots that say so
 * fit there. */
std::wstring limitNames(std::wstring names);

/** session::CollectAllLoggedonUsers, but where memory runs out, or the login records cannot be read, it throws. */
std::wstring allLoggedOnUsers();

} // namespace zor
