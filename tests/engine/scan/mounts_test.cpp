#include "scan/mounts.h"

#include <gtest/gtest.h>

using namespace talo::scan;

TEST(FileSystemKinds, areToldByTheirNames)
{
    for (const char *type : {"ext4", "xfs", "btrfs", "vfat", "exfat", "ntfs3", "fuseblk", "tmpfs",
                             "devtmpfs", "overlay", "squashfs", "iso9660"})
        EXPECT_EQ(kindOfFileSystem(type), FileSystemKind::Local) << type;
    for (const char *type : {"proc", "sysfs", "cgroup2", "debugfs", "autofs", "bpf"})
        EXPECT_EQ(kindOfFileSystem(type), FileSystemKind::Pseudo) << type;
    for (const char *type :
         {"nfs", "nfs4", "cifs", "smb3", "9p", "fuse", "fuse.sshfs", "fuse.gvfsd-fuse", "ceph"})
        EXPECT_EQ(kindOfFileSystem(type), FileSystemKind::Network) << type;
}

TEST(Mounts, areReadFromTheKernelsTable)
{
    Mounts mounts;
    mounts.parse("22 27 0:21 / /proc rw,relatime shared:5 master:1 - proc proc rw\n"
                 "30 27 8:1 /sub /mnt/a\\040b\\134 rw - fuseblk /dev/sdb1 rw\n"
                 "nonsense\n"
                 "31 27 0:40 / /mnt/n rw - nfs4 server:/n rw");
    EXPECT_EQ(mounts.typeAt("/proc"), "proc");
    EXPECT_EQ(mounts.typeAt("/mnt/a b\\"), "fuseblk");
    EXPECT_EQ(mounts.typeAt("/mnt/n"), "nfs4");
    EXPECT_EQ(mounts.typeAt("/mnt"), "");
}

TEST(Mounts, areHiddenByALaterOneAbove)
{
    Mounts mounts;
    mounts.parse("30 27 0:40 / /mnt/n rw - nfs4 server:/n rw\n"
                 "31 27 8:1 / /mnt rw - ext4 /dev/sdb1 rw\n"
                 "32 31 0:41 / /mnt/m rw - cifs //server/m rw\n"
                 "33 27 0:42 / /mntx rw - nfs server:/x rw\n"
                 "34 32 0:43 / /mnt/m rw - tmpfs none rw\n");
    EXPECT_EQ(mounts.typeAt("/mnt/n"), "") << "a folder of the drive shows there now";
    EXPECT_EQ(mounts.typeAt("/mnt/m"), "tmpfs") << "the last one at a place shows";
    EXPECT_EQ(mounts.typeAt("/mntx"), "nfs");
}

TEST(Mounts, areThoseOfThisSystem)
{
    EXPECT_EQ(Mounts().typeAt("/proc"), "proc");
}
