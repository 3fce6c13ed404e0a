#pragma once

// What the search for a user's domain is made of, apart from the look-ups themselves.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zor {

/** The parts of text between separators; none where it has no separator. */
std::vector<std::string> partsOf(const std::string &text, char separator);

/** The parts of text between separators; the whole text as the only part where it has none. */
std::vector<std::string> splitOrWhole(const std::string &text, char separator);

/** Whether a shell takes text as one plain word: ASCII letters, digits, `. _ - @ + =`, and a backslash only before a
 * letter or digit. */
bool isShellSafe(const std::string &text);

/** The command that asks the directory for one attribute of a user; nothing when a name is not safe in a shell, or the
 * command is longer than its 255 characters: cut, it would ask for another user. */
std::optional<std::string> directoryCommand(const std::string &user, const std::string &attribute);

/** session::trimmer, but where memory runs out it throws. */
std::string trimmedName(const std::string &text);

/** session::FindDomainName, but where memory runs out it throws. */
bool findGroupDomain(const std::string &user, std::string &domain);

/** session::FindDomainNameViaDscl, but where memory runs out, or the directory's answer cannot be read, it throws. */
bool findDirectoryDomain(const std::string &user, const std::string &attribute, std::string &domain);

/** The domains that a directory answer, in lower case, names for the attribute, with '|' between them; empty for none.
 */
std::string domainsInAnswer(const std::string &answer, const std::string &attribute);

} // namespace zor
