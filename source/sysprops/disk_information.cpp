// The disk record: the local file systems that have blocks, with their space in megabytes of 2^20 bytes.

#include "zorcomn/sysprops.h"

#include "source/platform/failure.h"
#include "source/platform/host.h"
#include "source/platform/posix.h"
#include "source/portability/transcoding.h"

#include <cerrno>
#include <cwchar>
#include <set>
#include <string>

namespace {

using velmora_com::vta::sysprops::get_closest_floor;
using zor::host::MountedFileSystem;

struct Space {
    double totalMegabytes;
    double freeMegabytes;
};

Space spaceOf(const MountedFileSystem &mounted) {
    const double blocksPerMegabyte = 1048576.0 / static_cast<double>(mounted.blockSizeBytes);
    return {static_cast<double>(mounted.blocks) / blocksPerMegabyte,
            static_cast<double>(mounted.freeBlocks) / blocksPerMegabyte};
}

/** A remote file system is not this machine's, and one without blocks is none on a disk. */
bool counts(const MountedFileSystem &mounted) {
    return mounted.isLocal && mounted.blockSizeBytes != 0 && mounted.blocks != 0;
}

// Kept: wide printing, whose decimal point is the one of the process's locale.
std::wstring withTwoDecimals(double megabytes) {
    wchar_t text[64]; // the largest amount of 64-bit blocks has 23 digits
    if (std::swprintf(text, sizeof text / sizeof *text, L"%0.2lf", megabytes) < 0)
        zor::fail(errno);
    return text;
}

std::wstring freeText(const Space &space) {
    return withTwoDecimals(get_closest_floor<double>(space.freeMegabytes, space.totalMegabytes, 0.0, 20));
}

} // namespace

namespace velmora_com {
namespace vta {
namespace sysprops {

bool ISysProps::GetDiskInformation(DiskInformation &info) {
    const zor::UncancellableScope uncancellable;
    return zor::guarded(true, [&] {
        int count = 0;
        Space sum = {0.0, 0.0};
        decltype(info.FileSystems) found;
        std::set<std::string> containers;
        for (const MountedFileSystem &mounted :
             zor::host::mountedFileSystems().value_or(std::vector<MountedFileSystem>())) {
            if (!counts(mounted))
                continue;
            // Each volume of a container has the container's whole space: the first stands for all of them.
            if (!mounted.container.empty() && !containers.insert(mounted.container).second)
                continue;
            const Space space = spaceOf(mounted);
            sum.totalMegabytes += space.totalMegabytes;
            sum.freeMegabytes += space.freeMegabytes;
            // Kept: of several on one mount point the first is listed, but all are counted.
            found.emplace(zor::wideOf(mounted.mountPoint),
                          std::make_pair(withTwoDecimals(space.totalMegabytes), freeText(space)));
            ++count;
        }
        // Kept: the table is not cleared; what an earlier run found on other mount points stays.
        found.insert(info.FileSystems.begin(), info.FileSystems.end());
        std::wstring number = std::to_wstring(count), total = withTwoDecimals(sum.totalMegabytes), free = freeText(sum);
        info.FileSystems = std::move(found); // from here on nothing can fail: the record is written as a whole
        info.NumberOfFileSystems = std::move(number);
        info.TotalDiskSpace = std::move(total);
        info.FreeDiskSpace = std::move(free);
        return true;
    });
}

} // namespace sysprops
} // namespace vta
} // namespace velmora_com
