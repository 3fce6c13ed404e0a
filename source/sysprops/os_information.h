#pragma once

// The operating system record, apart from where its sources are: the version file's path and the machine type are
// arguments, so that made ones can be read.

#include "zorcomn/sysprops.h"

#include <string>

namespace zor {

/** Fills the record from the version file and, for the bit mode, from the machine type that uname tells.
 * @return false when the file tells no version; only the fixed fields are then written, and no command is run.
 */
bool collectOSInformation(const char *versionFile, const std::string &machine,
                          velmora_com::vta::sysprops::OSInformation &info);

} // namespace zor
