#include "source/platform/linux/mount_table.h"

#include <gtest/gtest.h>

using zor::host::chooseLocalMounts;
using zor::host::isLocal;
using zor::host::Mount;
using zor::host::parseMountTable;

namespace {

constexpr char kRoot[] = "27 1 254:0 / / rw,relatime - ext4 /dev/vda rw\n";

/** The chosen mount points of a table, one after the other. */
std::vector<std::string> chosen(const std::string &table) {
    const std::optional<std::vector<Mount>> mounts = parseMountTable(table);
    EXPECT_TRUE(mounts) << table;
    std::vector<std::string> paths;
    for (const Mount &mount : chooseLocalMounts(mounts.value_or(std::vector<Mount>())))
        paths.push_back(mount.mountPoint);
    return paths;
}

using Paths = std::vector<std::string>;

TEST(MountTable, Line_IsTakenApart) {
    const auto mounts = parseMountTable(
        "36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 shared:2 - ext3.sub /dev/root rw,errors=continue\n");
    ASSERT_TRUE(mounts);
    ASSERT_EQ(mounts->size(), 1u);
    const Mount &mount = mounts->front();
    EXPECT_EQ(mount.id, 36u);
    EXPECT_EQ(mount.parentId, 35u);
    EXPECT_EQ(mount.device, "98:0");
    EXPECT_EQ(mount.root, "/mnt1");
    EXPECT_EQ(mount.mountPoint, "/mnt2");
    EXPECT_EQ(mount.type, "ext3.sub");
}

TEST(MountTable, Escapes_AreDecoded) {
    const auto mounts =
        parseMountTable("36 35 98:0 /a\\040b /c\\011d\\012e\\134f\\043\\303\\251\\377 rw - ext4 /x rw\n");
    ASSERT_TRUE(mounts);
    EXPECT_EQ(mounts->front().root, "/a b");
    EXPECT_EQ(mounts->front().mountPoint, "/c\td\ne\\f#\xC3\xA9\xFF");
}

TEST(MountTable, SourceOrOptionsOfAnyKind_AreAccepted) {
    for (const char *line :
         {"36 35 98:0 / /a rw - ext4  rw\n", "36 35 98:0 / /a rw - ext4\n", "36 35 98:0 / /a rw - ext4 -\n",
          "36 35 98:0 / /a rw - ext4 a b c d\n", "36 35 0:4 net:[4026532281] /run/netns/x rw - nsfs nsfs rw\n"})
        EXPECT_TRUE(parseMountTable(line)) << line;
    EXPECT_TRUE(parseMountTable(""));
}

TEST(MountTable, OddLine_MakesTheTableUnknown) {
    constexpr const char *kLines[] = {
        "\n",
        "36\n",
        "36 35 98:0 / /a rw\n",
        "36 35 98:0 / /a rw -\n",
        "36 35 98:0 / /a rw - \n",
        "36 35 98:0 / /a rw shared:1 ext4 /x rw\n",
        "36 35 98:0 / /a - ext4 /x rw\n",
        "x 35 98:0 / /a rw - ext4 /x rw\n",
        "36 -1 98:0 / /a rw - ext4 /x rw\n",
        "99999999999999999999 35 98:0 / /a rw - ext4 /x rw\n",
        "36 35 98 / /a rw - ext4 /x rw\n",
        "36 35 98: / /a rw - ext4 /x rw\n",
        "36 35 :0 / /a rw - ext4 /x rw\n",
        "36 35 98:0:0 / /a rw - ext4 /x rw\n",
        "36 35 98:0 / a rw - ext4 /x rw\n",
        "36 35 98:0  /a rw - ext4 /x rw\n",
        "36 35 98:0 /  rw - ext4 /x rw\n",
        "36  35 98:0 / /a rw - ext4 /x rw\n",
        " 36 35 98:0 / /a rw - ext4 /x rw\n",
        "36 35 98:0 / /a rw  - ext4 /x rw\n",
        "36 35 98:0 / /a\\ rw - ext4 /x rw\n",
        "36 35 98:0 / /a\\04 rw - ext4 /x rw\n",
        "36 35 98:0 / /a\\048 rw - ext4 /x rw\n",
        "36 35 98:0 / /a\\000 rw - ext4 /x rw\n",
        "36 35 98:0 / /a\\777 rw - ext4 /x rw\n",
        "36 35 98:0 /\\x41 /a rw - ext4 /x rw\n",
        "36 35 98:0 / /a rw - ext4 /x rw",
    };
    for (const char *line : kLines) {
        EXPECT_FALSE(parseMountTable(line)) << line;
        EXPECT_FALSE(parseMountTable(std::string(kRoot) + line)) << line;
    }
    EXPECT_FALSE(parseMountTable(std::string_view("36 35 98:0 / /a\0 rw - ext4 /x rw\n", 34)));
}

TEST(MountTable, EveryCutOfALine_MakesTheTableUnknown) {
    const std::string table = std::string(kRoot) + "36 35 98:0 / /a rw master:1 - ext4 /x rw\n";
    for (size_t length = sizeof kRoot; length < table.size(); ++length)
        EXPECT_FALSE(parseMountTable(table.substr(0, length))) << length;
}

TEST(LocalType, EachType_IsJudged) {
    for (const char *type : {"ext2", "ext4", "xfs", "btrfs", "vfat", "exfat", "ntfs3", "hfsplus", "iso9660", "squashfs",
                             "zfs", "f2fs", "jfs", "reiserfs", "ubifs", "fuseblk", "fuseblk.ntfs-3g", "erofs", "udf"})
        EXPECT_TRUE(isLocal(type, "/data")) << type;
    for (const char *type :
         {"nfs", "nfs4", "cifs", "smb3", "smbfs", "9p", "ceph", "afs", "glusterfs", "lustre", "ocfs2", "gfs2",
          "virtiofs", "vboxsf", "fuse", "fuse.sshfs", "fuse.glusterfs", "fuse.portal", "fuse."})
        EXPECT_FALSE(isLocal(type, "/data")) << type;
    for (const char *type :
         {"tmpfs",      "ramfs",  "devtmpfs",  "rootfs",  "proc",        "sysfs", "devpts",   "cgroup",  "cgroup2",
          "nsfs",       "mqueue", "hugetlbfs", "autofs",  "binfmt_misc", "bpf",   "configfs", "debugfs", "tracefs",
          "securityfs", "pstore", "efivarfs",  "fusectl", "rpc_pipefs",  "nfsd",  "selinuxfs"})
        EXPECT_FALSE(isLocal(type, "/data")) << type;
    for (const char *type : {"overlay", "aufs"}) {
        EXPECT_TRUE(isLocal(type, "/")) << type;
        EXPECT_FALSE(isLocal(type, "/merged")) << type;
    }
}

TEST(LocalMounts, PlainMachine_ListsItsDisksInOrder) {
    EXPECT_EQ(chosen("22 27 0:21 / /proc rw - proc proc rw\n"
                     "27 1 254:0 / / rw - ext4 /dev/vda rw\n"
                     "30 27 0:25 / /tmp rw - tmpfs tmpfs rw\n"
                     "31 27 254:2 / /home rw - xfs /dev/vdc rw\n"
                     "32 27 254:1 / /boot rw - vfat /dev/vdb rw\n"
                     "33 27 0:40 / /net rw - nfs4 server:/export rw\n"),
              (Paths{"/", "/home", "/boot"}));
}

TEST(LocalMounts, BindMounts_AreNoFurtherFileSystems) {
    EXPECT_EQ(chosen(std::string(kRoot) + "40 27 254:0 /srv /mnt rw - ext4 /dev/vda rw\n"
                                          "41 27 254:0 /etc/hosts /srv/hosts rw - ext4 /dev/vda rw\n"
                                          "42 27 254:0 / /all rw - ext4 /dev/vda rw\n"),
              (Paths{"/"}));
}

TEST(LocalMounts, WholeTree_ComesBeforeAnEarlierPart) {
    EXPECT_EQ(chosen(std::string(kRoot) + "40 27 8:1 /part /one rw - ext4 /dev/sda1 rw\n"
                                          "41 27 8:1 / /two rw - ext4 /dev/sda1 rw\n"
                                          "42 27 8:1 / /three rw - ext4 /dev/sda1 rw\n"),
              (Paths{"/", "/two"}));
}

TEST(LocalMounts, PartsAlone_AreToldByTheFirst) {
    EXPECT_EQ(chosen(std::string(kRoot) + "40 27 0:31 /@home /home rw - btrfs /dev/sda1 rw\n"
                                          "41 27 0:31 /@var /var rw - btrfs /dev/sda1 rw\n"),
              (Paths{"/", "/home"}));
}

TEST(LocalMounts, MountCoveredOnItsPath_IsLeftOut) {
    EXPECT_EQ(chosen(std::string(kRoot) + "40 27 8:1 / /data rw - ext4 /dev/sda1 rw\n"
                                          "41 40 0:50 / /data rw - tmpfs tmpfs rw\n"),
              (Paths{"/"}));
    EXPECT_EQ(chosen(std::string(kRoot) + "40 27 8:1 / /data rw - ext4 /dev/sda1 rw\n"
                                          "41 40 8:2 / /data rw - ext4 /dev/sda2 rw\n"),
              (Paths{"/", "/data"}));
    // A covered mount of the whole tree leaves its place to a part that is in sight.
    EXPECT_EQ(chosen(std::string(kRoot) + "40 27 8:1 / /data rw - ext4 /dev/sda1 rw\n"
                                          "41 40 0:50 / /data rw - tmpfs tmpfs rw\n"
                                          "42 27 8:1 /part /mnt rw - ext4 /dev/sda1 rw\n"),
              (Paths{"/", "/mnt"}));
}

TEST(LocalMounts, TmpfsOverABind_LeavesTheRest) {
    EXPECT_EQ(chosen(std::string(kRoot) + "40 27 254:0 /srv /mnt rw - ext4 /dev/vda rw\n"
                                          "41 40 0:50 / /mnt rw - tmpfs tmpfs rw\n"),
              (Paths{"/"}));
}

TEST(LocalMounts, MountBelowACoveredFolder_IsLeftOut) {
    // Its path leads into the file system that was mounted over the folder later.
    EXPECT_EQ(chosen(std::string(kRoot) + "40 27 8:1 / /data/disk rw - ext4 /dev/sda1 rw\n"
                                          "41 27 8:2 / /data rw - ext4 /dev/sda2 rw\n"),
              (Paths{"/", "/data"}));
    EXPECT_EQ(chosen(std::string(kRoot) + "40 27 8:1 / /data rw - ext4 /dev/sda1 rw\n"
                                          "41 40 8:2 / /data/disk rw - ext4 /dev/sda2 rw\n"
                                          "42 40 0:50 / /data rw - tmpfs tmpfs rw\n"),
              (Paths{"/"}));
}

TEST(LocalMounts, MountInsideAMount_IsReached) {
    EXPECT_EQ(chosen(std::string(kRoot) + "40 27 8:1 / /data rw - ext4 /dev/sda1 rw\n"
                                          "41 40 8:2 / /data/disk rw - ext4 /dev/sda2 rw\n"
                                          "42 27 8:3 / /data2 rw - ext4 /dev/sda3 rw\n"),
              (Paths{"/", "/data", "/data/disk", "/data2"}));
}

TEST(LocalMounts, RootOverRoot_IsTheUpperOne) {
    EXPECT_EQ(chosen("1 1 0:2 / / rw - rootfs rootfs rw\n"
                     "20 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
                     "21 20 8:2 / /home rw - ext4 /dev/sda2 rw\n"),
              (Paths{"/", "/home"}));
}

TEST(LocalMounts, RootOutOfSight_LeavesWhatIsMountedInside) {
    EXPECT_EQ(chosen("40 27 8:1 / /data rw - ext4 /dev/sda1 rw\n"
                     "41 40 8:2 / /data/disk rw - ext4 /dev/sda2 rw\n"),
              (Paths{"/data", "/data/disk"}));
}

TEST(LocalMounts, Overlay_CountsOnTheRootOnly) {
    EXPECT_EQ(chosen("50 1 0:60 / / rw - overlay overlay rw,lowerdir=/l\n"
                     "51 50 0:61 / /merged rw - overlay overlay rw\n"
                     "52 50 254:1 /lib/hosts /etc/hosts rw - ext4 /dev/vda1 rw\n"
                     "53 50 254:1 /lib/name /etc/hostname rw - ext4 /dev/vda1 rw\n"),
              (Paths{"/", "/etc/hosts"}));
}

TEST(LocalMounts, NetworkNamespaces_AreNoDisks) {
    EXPECT_EQ(chosen(std::string(kRoot) + "60 27 254:0 /run/netns /run/netns rw shared:9 - ext4 /dev/vda rw\n"
                                          "61 60 0:4 net:[4026532281] /run/netns/one rw - nsfs nsfs rw\n"),
              (Paths{"/"}));
}

TEST(LocalMounts, AutomountedDisk_CoversItsTrigger) {
    EXPECT_EQ(chosen(std::string(kRoot) + "60 27 0:70 / /media/disk rw - autofs systemd-1 rw\n"
                                          "61 60 8:1 / /media/disk rw - ext4 /dev/sda1 rw\n"),
              (Paths{"/", "/media/disk"}));
}

TEST(LocalMounts, TableInACircle_Ends) {
    EXPECT_EQ(chosen("1 2 8:1 / /a rw - ext4 x rw\n2 1 8:2 / /a rw - ext4 x rw\n"), Paths());
    EXPECT_EQ(chosen("9 0 8:3 / / rw - ext4 x rw\n1 9 8:1 / /a rw - ext4 x rw\n1 1 8:2 / /a rw - ext4 x rw\n").size(),
              2u);
}

TEST(LocalMounts, ThousandsOfMounts_AreChosenFrom) {
    std::string table = kRoot;
    for (int i = 100; i < 5100; ++i)
        table += std::to_string(i) + " 27 254:0 /pods/" + std::to_string(i) + " /run/pods/" + std::to_string(i) +
                 " rw - ext4 /dev/vda rw\n";
    EXPECT_EQ(chosen(table), (Paths{"/"}));
}

TEST(LocalMounts, HundredThousandCoveredMounts_AreLeftOut) {
    std::string table = "27 1 0:60 / / rw - overlay overlay rw\n";
    for (int i = 100; i < 100000; ++i)
        table += std::to_string(i) + " 27 254:0 /pods/" + std::to_string(i) + " /run/pods/" + std::to_string(i) +
                 " rw - ext4 /dev/vda rw\n";
    table += "100000 27 0:61 / /run rw - tmpfs tmpfs rw\n";
    EXPECT_EQ(chosen(table), (Paths{"/"}));
}

} // namespace
