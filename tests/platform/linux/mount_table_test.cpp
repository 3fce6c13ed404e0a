#include "source/platform/linux/mount_table.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include <gtest/gtest.h>

using zor::host::chooseVolumes;
using zor::host::findLocalMounts;
using zor::host::isLocal;
using zor::host::LocalMount;
using zor::host::Mount;
using zor::host::parseMountTable;
using zor::host::VolumeSpace;

namespace {

constexpr char kRoot[] = "27 1 254:0 / / rw,relatime - ext4 /dev/vda rw\n";

using Paths = std::vector<std::string>;

bool isAmong(const std::string &path, const Paths &paths) {
    return std::find(paths.begin(), paths.end(), path) != paths.end();
}

/** The chosen mount points of a table, one after the other, where some are files and some do not answer. */
Paths chosen(const std::string &table, const Paths &files = {}, const Paths &failing = {}) {
    const std::vector<Mount> mounts = parseMountTable(table);
    Paths paths;
    for (
        const auto &[mount, space] : chooseVolumes(mounts, [&](const LocalMount &asked) {
            const std::string &path = asked.mount->mountPoint;
            return isAmong(path, failing) ? std::nullopt : std::optional<VolumeSpace>({!isAmong(path, files), 1, 1, 1});
        }))
        paths.push_back(mount->mountPoint);
    return paths;
}

/** The mount points that are asked, in order, when none answers; one that may hang has a question mark. */
Paths asked(const std::string &table) {
    const std::vector<Mount> mounts = parseMountTable(table);
    Paths paths;
    EXPECT_TRUE(chooseVolumes(mounts, [&](const LocalMount &asked) -> std::optional<VolumeSpace> {
                    paths.push_back(asked.mount->mountPoint + (asked.mayHang ? "?" : ""));
                    return std::nullopt;
                }).empty());
    return paths;
}

TEST(MountTable, Line_IsTakenApart) {
    const auto mounts = parseMountTable(
        "36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 shared:2 - ext3.sub /dev/root rw,errors=continue\n");
    ASSERT_EQ(mounts.size(), 1u);
    const Mount &mount = mounts.front();
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
    ASSERT_EQ(mounts.size(), 1u);
    EXPECT_EQ(mounts.front().root, "/a b");
    EXPECT_EQ(mounts.front().mountPoint, "/c\td\ne\\f#\xC3\xA9\xFF");
}

TEST(MountTable, SourceOrOptionsOfAnyKind_AreAccepted) {
    for (const char *line :
         {"36 35 98:0 / /a rw - ext4  rw\n", "36 35 98:0 / /a rw - ext4\n", "36 35 98:0 / /a rw - ext4 -\n",
          "36 35 98:0 / /a rw - ext4 a b c d\n", "36 35 0:4 net:[4026532281] /run/netns/x rw - nsfs nsfs rw\n"})
        EXPECT_EQ(parseMountTable(line).size(), 1u) << line;
    EXPECT_TRUE(parseMountTable("").empty());
}

TEST(MountTable, OddLine_IsPassedOverAlone) {
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
        EXPECT_TRUE(parseMountTable(line).empty()) << line;
        EXPECT_EQ(chosen(std::string(kRoot) + line), Paths{"/"}) << line;
        if (std::strchr(line, '\n')) {
            EXPECT_EQ(chosen(line + std::string(kRoot)), Paths{"/"}) << line;
        }
    }
    EXPECT_TRUE(parseMountTable(std::string_view("36 35 98:0 / /a\0 rw - ext4 /x rw\n", 34)).empty());
}

TEST(MountTable, LineCutShort_DoesNotCount) {
    const std::string table = std::string(kRoot) + "36 35 98:0 / /a rw master:1 - ext4 /x rw\n";
    for (size_t length = sizeof kRoot; length < table.size(); ++length)
        EXPECT_EQ(parseMountTable(table.substr(0, length)).size(), 1u) << length;
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

TEST(LocalType, ServedElsewhere_IsTold) {
    for (const char *type : {"fuse", "fuse.lxcfs", "fuseblk", "fuseblk.ntfs-3g", "nfs", "cifs", "9p", "virtiofs"})
        EXPECT_TRUE(zor::host::isServedElsewhere(type)) << type;
    for (const char *type :
         {"proc", "sysfs", "fusectl", "tmpfs", "autofs", "binfmt_misc", "cgroup2", "ext4", "overlay"})
        EXPECT_FALSE(zor::host::isServedElsewhere(type)) << type;
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

constexpr char kContainer[] = "50 1 0:60 / / rw - overlay overlay rw,lowerdir=/l\n"
                              "51 50 0:61 / /merged rw - overlay overlay rw\n"
                              "52 50 254:1 /lib/hosts /etc/hosts rw - ext4 /dev/vda1 rw\n"
                              "53 50 254:1 /lib/name /etc/hostname rw - ext4 /dev/vda1 rw\n";

TEST(LocalMounts, Overlay_CountsOnTheRootOnly) {
    EXPECT_EQ(chosen(kContainer, {"/etc/hosts", "/etc/hostname"}), Paths{"/"});
}

TEST(LocalMounts, FileInAContainer_IsNoFurtherDisk) {
    EXPECT_EQ(chosen("50 1 0:60 / / rw - overlay overlay rw\n"
                     "52 50 254:1 /lib/hosts /etc/hosts rw - ext4 /dev/vda1 rw\n",
                     {"/etc/hosts"}),
              Paths{"/"});
    // A folder is: the container was given it.
    EXPECT_EQ(chosen(std::string(kContainer) + "54 50 254:1 /srv /data rw - ext4 /dev/vda1 rw\n",
                     {"/etc/hosts", "/etc/hostname"}),
              (Paths{"/", "/data"}));
}

TEST(LocalMounts, File_StandsForADeviceWithoutFolders) {
    const std::string table = std::string(kRoot) + "40 27 8:1 /one /etc/one rw - ext4 /dev/sda1 rw\n"
                                                   "41 27 8:1 /two /etc/two rw - ext4 /dev/sda1 rw\n";
    EXPECT_EQ(chosen(table, {"/etc/one", "/etc/two"}), (Paths{"/", "/etc/one"}));
    EXPECT_EQ(chosen(table, {"/etc/one"}), (Paths{"/", "/etc/two"}));
    EXPECT_EQ(chosen(table, {"/etc/one", "/etc/two"}, {"/etc/one"}), (Paths{"/", "/etc/two"}));
    EXPECT_EQ(chosen(table, {"/etc/one"}, {"/etc/two"}), (Paths{"/", "/etc/one"}));
}

TEST(LocalMounts, Root_WinsOverOthersOfItsDevice) {
    EXPECT_EQ(chosen("40 27 254:0 / /all rw - btrfs /dev/vda rw\n"
                     "27 1 254:0 /@ / rw - btrfs /dev/vda rw\n"),
              Paths{"/"});
}

TEST(LocalMounts, MountThatDoesNotAnswer_LeavesItsPlaceToTheNext) {
    const std::string table = std::string(kRoot) + "40 27 8:1 /part /one rw - ext4 /dev/sda1 rw\n"
                                                   "41 27 8:1 / /two rw - ext4 /dev/sda1 rw\n"
                                                   "42 27 8:1 / /three rw - ext4 /dev/sda1 rw\n"
                                                   "43 27 254:0 / /all rw - ext4 /dev/vda rw\n";
    EXPECT_EQ(chosen(table, {}, {"/two"}), (Paths{"/", "/three"}));
    EXPECT_EQ(chosen(table, {}, {"/two", "/three"}), (Paths{"/", "/one"}));
    EXPECT_EQ(chosen(table, {}, {"/", "/two", "/three", "/one"}), Paths{"/all"});
    EXPECT_EQ(asked(table), (Paths{"/", "/all", "/two", "/three", "/one"}));
}

TEST(LocalMounts, BelowARemoteMount_AreNeverAsked) {
    for (const std::string type : {"nfs", "nfs4", "cifs", "fuse.sshfs", "9p", "glusterfs"}) {
        const std::string remote = "40 27 0:50 / /net rw - " + type + " server rw\n";
        EXPECT_EQ(asked(std::string(kRoot) + remote + "41 40 8:1 / /net/disk rw - ext4 /dev/sda1 rw\n"), Paths{"/"})
            << type;
        EXPECT_EQ(asked(std::string(kRoot) + remote +
                        "41 40 0:51 / /net/a rw - tmpfs tmpfs rw\n"
                        "42 41 8:1 / /net/a/b rw - ext4 /dev/sda1 rw\n"
                        "43 42 8:1 /x /net/a/b rw - ext4 /dev/sda1 rw\n"),
                  Paths{"/"})
            << type;
        // Seen from elsewhere it is asked there.
        EXPECT_EQ(asked(std::string(kRoot) + remote +
                        "41 40 8:1 / /net/disk rw - ext4 /dev/sda1 rw\n"
                        "42 27 8:1 /x /disk rw - ext4 /dev/sda1 rw\n"),
                  (Paths{"/", "/disk"}))
            << type;
        // On the remote one's own mount point, and from there on, no path leads through it.
        EXPECT_EQ(asked(std::string(kRoot) + remote +
                        "41 40 8:1 / /net rw - ext4 /dev/sda1 rw\n"
                        "42 41 8:2 / /net/disk rw - ext4 /dev/sda2 rw\n"),
                  (Paths{"/", "/net", "/net/disk"}))
            << type;
        // A remote one below local ones holds nobody up.
        EXPECT_EQ(asked(std::string(kRoot) +
                        "39 27 8:1 / /net rw - ext4 /dev/sda1 rw\n"
                        "40 39 0:50 / /net/x rw - " +
                        type + " server rw\n41 39 8:2 / /net/y rw - ext4 /dev/sda2 rw\n"),
                  (Paths{"/", "/net", "/net/y"}))
            << type;
    }
}

TEST(LocalMounts, RemoteRoot_LeavesItsDisksInDoubt) {
    EXPECT_EQ(asked("27 1 0:50 / / rw - nfs4 server rw\n"
                    "40 27 8:1 / /scratch rw - ext4 /dev/sda1 rw\n"),
              Paths{"/scratch?"});
}

TEST(LocalMounts, WhatMayHang_IsToldApart) {
    EXPECT_EQ(asked(std::string(kRoot) + "40 27 8:1 / /ntfs rw - fuseblk /dev/sda1 rw\n"
                                         "41 40 8:2 / /ntfs/disk rw - ext4 /dev/sda2 rw\n"
                                         "42 40 8:3 / /ntfs rw - xfs /dev/sda3 rw\n"
                                         "43 27 0:70 / /media rw - autofs systemd-1 rw\n"
                                         "44 43 8:4 / /media/disk rw - ext4 /dev/sda4 rw\n"
                                         "45 27 8:5 / /other rw - somefs /dev/sda5 rw\n"
                                         "46 27 0:71 / /run rw - tmpfs tmpfs rw\n"
                                         "47 46 8:6 / /run/disk rw - btrfs /dev/sda6 rw\n"),
              (Paths{"/", "/ntfs", "/media/disk?", "/other?", "/run/disk"}));
    EXPECT_EQ(asked(std::string(kRoot) + "40 27 8:1 / /ntfs rw - fuseblk /dev/sda1 rw\n"
                                         "41 40 8:2 / /ntfs/disk rw - ext4 /dev/sda2 rw\n"),
              (Paths{"/", "/ntfs?", "/ntfs/disk?"}));
    EXPECT_EQ(asked(std::string(kContainer) + "54 50 254:1 /srv /data rw - ext4 /dev/vda1 rw\n"),
              (Paths{"/", "/etc/hosts", "/etc/hostname", "/data"}));
}

TEST(LocalMounts, MountOverTheOwnRoot_CoversNothing) {
    const std::string table = std::string(kRoot) + "40 27 8:1 / /data rw - ext4 /dev/sda1 rw\n"
                                                   "41 27 0:50 / / rw - tmpfs tmpfs rw\n"
                                                   "42 41 8:2 / /disk rw - ext4 /dev/sda2 rw\n";
    EXPECT_EQ(chosen(table), (Paths{"/", "/data"}));
    EXPECT_EQ(chosen(table + "43 41 8:3 / / rw - ext4 /dev/sda3 rw\n"), (Paths{"/", "/data"}));
    EXPECT_EQ(chosen(std::string(kRoot) + "41 27 8:2 / / rw - ext4 /dev/sda2 rw\n"), Paths{"/"});
}

TEST(LocalMounts, MountOverARootOutOfSight_CoversNothing) {
    // The root is a folder within a mount that is not in the table; what lies in that has it as its parent, too.
    EXPECT_EQ(chosen("40 27 0:21 / /proc rw - proc proc rw\n"
                     "41 27 8:1 / /data rw - ext4 /dev/sda1 rw\n"
                     "42 27 8:2 / / rw - ext4 /dev/sda2 rw\n"
                     "43 42 8:3 / /disk rw - ext4 /dev/sda3 rw\n"),
              Paths{"/data"});
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

/** Chosen from within a time that no more than a linear search keeps. */
Paths chosenSoon(const std::string &table) {
    const auto start = std::chrono::steady_clock::now();
    Paths paths = chosen(table);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
    return paths;
}

TEST(LocalMounts, TwoHundredThousandOnOnePoint_AreChosenFromSoon) {
    std::string table = kRoot;
    for (int i = 100; i < 200100; ++i)
        table += std::to_string(i) + ' ' + std::to_string(i == 100 ? 27 : i - 1) + " 8:" + std::to_string(i) +
                 " / /stack rw - ext4 /dev/sda rw\n";
    EXPECT_EQ(chosenSoon(table), (Paths{"/", "/stack"}));
}

TEST(LocalMounts, TwoHundredThousandInEachOther_AreChosenFromSoon) {
    // As deep as a path may be, again and again.
    std::string table = kRoot, path;
    for (int i = 100; i < 200100; ++i) {
        const bool isFirst = i % 1000 == 100;
        path = isFirst ? "/" + std::to_string(i) : path + "/d";
        table += std::to_string(i) + ' ' + std::to_string(isFirst ? 27 : i - 1) + " 8:1 /x " + path +
                 " rw - ext4 /dev/sda rw\n";
    }
    EXPECT_EQ(chosenSoon(table), (Paths{"/", "/100"}));
}

TEST(LocalMounts, TwoHundredThousandDevices_AreAllChosen) {
    std::string table = kRoot;
    for (int i = 100; i < 200100; ++i)
        table += std::to_string(i) + " 27 8:" + std::to_string(i) + " / /disks/" + std::to_string(i) +
                 " rw - ext4 /dev/sda rw\n";
    EXPECT_EQ(chosenSoon(table).size(), 200001u);
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
