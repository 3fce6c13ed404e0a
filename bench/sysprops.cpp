// The collectors on machines with many mounts, beside the C library's walk over the same table. Runs in a mount
// namespace of its own; without root every case says why it is skipped.

#include "zorcomn/sysprops.h"

#include "bench/compare.h"
#include "tests/support/temporary_folder.h"

#include <cstdio>
#include <filesystem>
#include <string>

#include <mntent.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

namespace {

using namespace zor::bench;

bool makeMounts(const std::string &folder, int64_t count) {
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return false;
    for (int64_t i = 0; i < count; ++i) {
        const std::string place = folder + "/" + std::to_string(i);
        std::filesystem::create_directory(place);
        if (mount("tmpfs", place.c_str(), "tmpfs", 0, "size=4k") != 0)
            return false;
    }
    return true;
}

void removeMounts(const std::string &folder, int64_t count) {
    for (int64_t i = 0; i < count; ++i)
        umount2((folder + "/" + std::to_string(i)).c_str(), MNT_DETACH);
}

int64_t walkMounts(int64_t count) {
    std::FILE *const table = setmntent("/proc/self/mounts", "r");
    int64_t seen = 0;
    while (const mntent *entry = table ? getmntent(table) : nullptr) {
        struct statvfs figures;
        seen += statvfs(entry->mnt_dir, &figures) == 0;
    }
    if (table)
        endmntent(table);
    return seen >= count ? count : 0;
}

const bool areAdded = [] {
    for (const int64_t count : {50, 200, 1000, 2000})
        add("growth/mounts/" + std::to_string(count), 11, [=](benchmark::State &state) {
            const zor::test::TemporaryFolder folder;
            if (!makeMounts(folder.path(), count))
                return state.SkipWithError("needs root and mount namespaces");
            compareWork(
                state, count, [] {},
                [=] {
                    velmora_com::vta::sysprops::DiskInformation info;
                    velmora_com::vta::sysprops::ISysProps machine;
                    return machine.GetDiskInformation(info) ? count : 0;
                },
                [=] { return walkMounts(count); });
            removeMounts(folder.path(), count);
        });
    return true;
}();

} // namespace
