#pragma once
#pragma GCC system_header // a record and a call of one name, as the target has them, warn elsewhere

// Stands in for the target's header: see sys/sysctl.h beside it. The record and its call get a name of their own, since
// the system that runs the tests has a statfs too.

#include <cstdint>

#define MNT_WAIT 1
#define MNT_NOWAIT 2
#define MNT_LOCAL 0x1000
#define statfs fake_statfs

struct statfs {
    uint32_t f_bsize;
    uint64_t f_blocks, f_bfree, f_bavail;
    struct {
        int32_t val[2];
    } f_fsid;
    uint32_t f_flags;
    char f_fstypename[16];
    char f_mntonname[1024];
    char f_mntfromname[1024];
};

extern "C" {
int getfsstat(struct statfs *records, int bytes, int flags);
int statfs(const char *path, struct statfs *record);
}
