/** @file
 * The facts that the agent reports about its machine: their names, records, collectors and queries. C++.
 *
 * @include subsystems/sysprops.cpp
 */
#pragma once
#include "api.h"

#include <map>
#include <string>
#include <utility>

/* System properties: the facts that the agent reports about its machine. Each is a wide text under a name of the
 * vocabulary below. Collectors gather them by group into records; a property is asked for by its name, or all come in
 * one map. Texts that come from the machine and are no valid UTF-8 are cut before the first invalid byte.
 *
 * The constants get their values when the library is loaded, before the static initialisers of a program that links it,
 * and lose them when it is unloaded. They are not const, but read-only all the same: callers compare with them, the
 * library never assigns, and callers must not.
 * Threads: safe to read.  Owns: the library. */

namespace velmora_com {
namespace vta {
namespace sysprops {

/** Name of the section that callers keep the properties in; no property itself. */
ZORCOMN_API extern std::wstring SystemInfo_Key;

/** Names of the properties, to be compared exactly. Which record holds which, the records below tell. */
///@{
ZORCOMN_API extern std::wstring PlatformId_Key;
ZORCOMN_API extern std::wstring ComputerName_Key;
ZORCOMN_API extern std::wstring UserName_Key;
ZORCOMN_API extern std::wstring DomainName_Key;
ZORCOMN_API extern std::wstring CPUPortable_Key;
ZORCOMN_API extern std::wstring CPUType_Key;
ZORCOMN_API extern std::wstring NumOfCPU_Key;
ZORCOMN_API extern std::wstring CPUSpeed_Key;
ZORCOMN_API extern std::wstring CPUSerialNumber_Key;
ZORCOMN_API extern std::wstring OSType_Key;
ZORCOMN_API extern std::wstring OSBitMode_Key;
ZORCOMN_API extern std::wstring OSPlatform_Key;
ZORCOMN_API extern std::wstring OSVersion_Key;
ZORCOMN_API extern std::wstring OSBuildNum_Key;
ZORCOMN_API extern std::wstring OSCsdVersion_Key;
ZORCOMN_API extern std::wstring OSOEMId_Key;
ZORCOMN_API extern std::wstring TotalPhysicalMemory_Key;
ZORCOMN_API extern std::wstring FreeMemory_Key;
ZORCOMN_API extern std::wstring IPAddress_Key;
ZORCOMN_API extern std::wstring IPHostName_Key;
ZORCOMN_API extern std::wstring IPXAddress_Key;
ZORCOMN_API extern std::wstring NETAddress_Key;
ZORCOMN_API extern std::wstring SubnetAddress_Key;
ZORCOMN_API extern std::wstring SubnetMask_Key;
ZORCOMN_API extern std::wstring LastUpdate_Key;
ZORCOMN_API extern std::wstring TimeZone_Key;
ZORCOMN_API extern std::wstring DefaultLangID_Key;
ZORCOMN_API extern std::wstring TotalDiskSpace_Key;
ZORCOMN_API extern std::wstring FreeDiskSpace_Key;
ZORCOMN_API extern std::wstring NumFileSystems_Key;
///@}

/** Parts of the names under which one map holds each file system: FileSystemName, the mount point in double quotes, a
 * blank, and one of the two others, as in FileSystem"/" Total_Disk_Space_in_MB. */
///@{
ZORCOMN_API extern std::wstring FileSystemName;
ZORCOMN_API extern std::wstring FileSystemFreeSpace;
ZORCOMN_API extern std::wstring FileSystemTotalSpace;
///@}

/** "N/A", the value of what no collector has found. */
ZORCOMN_API extern std::wstring DefaultProp_Val;

/** Distributions, and the files that tell them; for callers, the collectors here do not use them. */
///@{
ZORCOMN_API extern std::wstring suse_distribution;
ZORCOMN_API extern std::wstring redhat_distribution;
ZORCOMN_API extern std::wstring novell_distribution;
ZORCOMN_API extern std::string redhat_release_file;
ZORCOMN_API extern std::string ubuntu_release_file;
ZORCOMN_API extern std::string suse_release_file;
ZORCOMN_API extern std::string debian_release_file;
///@}

/** Identifiers of platforms ("PlatformID"). platform_pinecrest and platform_linux hold the same text. */
///@{
ZORCOMN_API extern std::wstring platform_pinecrest;
ZORCOMN_API extern std::wstring platform_rkos;
ZORCOMN_API extern std::wstring platform_linux;
ZORCOMN_API extern std::wstring platform_mac;
ZORCOMN_API extern std::wstring platform_gwa;
ZORCOMN_API extern std::wstring platform_solaris;
ZORCOMN_API extern std::wstring platform_hpux;
ZORCOMN_API extern std::wstring platform_aix;
///@}

/** Texts for what cannot be told. */
///@{
ZORCOMN_API extern std::wstring unknown;
ZORCOMN_API extern std::wstring unknown_domain;
///@}

/** Names of operating systems ("OSType"). workstation holds the same text as os_linux. */
///@{
ZORCOMN_API extern std::wstring os_linux;
ZORCOMN_API extern std::wstring os_mac;
ZORCOMN_API extern std::wstring os_solaris;
ZORCOMN_API extern std::wstring os_hpux;
ZORCOMN_API extern std::wstring os_aix;
ZORCOMN_API extern std::wstring os_gwa;
ZORCOMN_API extern std::wstring workstation;
///@}

/** Kinds of machine ("OSPlatform"). */
///@{
ZORCOMN_API extern std::wstring p_workstation;
ZORCOMN_API extern std::wstring p_server;
///@}

/** Makers ("OSOEMId"). */
///@{
ZORCOMN_API extern std::wstring os_mac_oemid;
ZORCOMN_API extern std::wstring os_solaris_oemid;
ZORCOMN_API extern std::wstring os_hpux_oemid;
ZORCOMN_API extern std::wstring os_aix_oemid;
///@}

/** Marks of server editions, separated by commas; the blanks around them belong to them, the last one too. */
///@{
ZORCOMN_API extern std::string server_strings;
ZORCOMN_API extern std::string suse_server_strings;
///@}

/** A file that may name the platform. */
ZORCOMN_API extern std::wstring os_platform_ini;

/* The records. Fields are read and written freely; each holds "N/A" until a collector writes it, but where another
 * start is named. Records are copied field by field. Threads: one record, one thread at a time. */

/** The processors. IsPortable starts empty. CPUSerialNumber is never written. Source: the collector GetCPUInformation.
 */
class CPUInformation {
public:
    /** Fills every field with its start. */
    ZORCOMN_API CPUInformation();
    /** Each holds the property of its name. */
    ///@{
    std::wstring CPUType, CPUSpeed, NumOfCPU, CPUSerialNumber, IsPortable;
    ///@}
};

/** The machine's names and the address that represents it. Source: the collector GetNetworkInformation. */
class NetworkInformation {
public:
    /** Fills every field with its start. */
    ZORCOMN_API NetworkInformation();
    /** Each holds the property of its name. */
    ///@{
    std::wstring DomainName, ComputerName, IPAddress, SubnetAddress, SubnetMask, NETAddress, IPXAddress, IPHostName;
    ///@}
};

/** Memory in bytes. Source: the collector GetMemoryInformation. */
class MemoryInformation {
public:
    /** Fills every field with its start. */
    ZORCOMN_API MemoryInformation();
    /** Each holds the property of its name. */
    ///@{
    std::wstring TotalPhysicalMemory, FreeMemory;
    ///@}
};

/** The operating system. PlatformID starts empty. Source: the collector GetOSInformation. */
class OSInformation {
public:
    /** Fills every field with its start. */
    ZORCOMN_API OSInformation();
    /** Each holds the property of its name. */
    ///@{
    std::wstring OSType, OSPlatform, OSVersion, OSCsdVersion, OSBuildNum, OSOEMId, PlatformID, OSBitMode;
    ///@}
};

/** Local file systems; space in megabytes of 2^20 bytes with two decimals. FileSystems starts empty. Source: the
 * collector GetDiskInformation. */
class DiskInformation {
public:
    /** Fills every field with its start. */
    ZORCOMN_API DiskInformation();
    /** Each holds the property of its name. */
    ///@{
    std::wstring TotalDiskSpace, FreeDiskSpace, NumberOfFileSystems;
    ///@}
    /** Mount point to (total, free) megabytes. */
    std::map<std::wstring, std::pair<std::wstring, std::wstring>> FileSystems;
};

/** Users, time zone, language and time of the collection. Source: the collector GetMiscInformation. */
class MiscInformation {
public:
    /** Fills every field with its start. */
    ZORCOMN_API MiscInformation();
    /** Each holds the property of its name. */
    ///@{
    std::wstring UserName, TimeZone, DefaultLangID, LastUpdate;
    ///@}
};

/** Collects system properties into records of its own. The records are never reset: what a collector fails to write
 * keeps the value of an earlier call on the same object; a fresh object has no stale values. Copying copies the
 * records.
 * Threads: one object, one thread at a time. Objects may collect side by side: what their collectors share in the
 * process is guarded, but for the last known local address (updateLocalIP).
 * No member is a cancellation point, and no other function of this header: a thread that is cancelled meanwhile ends
 * after the return. */
class ISysProps {
public:
    /** Makes an object whose records hold their starting values; collects nothing.
     * Error cell: untouched.  Threads: safe.  Owns: its records.
     */
    ZORCOMN_API ISysProps();
    /** Releases the records.
     * Error cell: untouched.  Threads: no other may use the object.  Owns: nothing.
     */
    ZORCOMN_API ~ISysProps();

    /** Tells one property. Runs the collector of its group on the object's record, even if it ran before.
     * @param name  a property's name, compared exactly; letter case counts.
     * @return the value as the record holds it after the collection: "N/A", or empty for "IsPortable" and "PlatformID",
     *         when it has never been found. Empty, and nothing collected, for a name in no group: unknown names,
     *         "SystemInfo" and "NumberOfFileSystems". Empty when there is no memory.
     * Error cell: untouched.  Threads: one object, one thread at a time.  Owns: nothing.
     */
    ZORCOMN_API std::wstring GetOneSystemProperty(const std::wstring &name);
    /** Collects every property, the file systems in the same map.
     * @param props  [out] cleared, then 29 properties (all but "IsPortable") and two names for each file system of the
     *               disk record, built as FileSystemName tells.
     * @return true. What was not found holds its earlier value, at first "N/A" ("PlatformID" and the processor's texts
     *         can be empty). Where memory runs out, props is empty.
     * Error cell: untouched.  Threads: one object, one thread at a time.  Owns: nothing.
     */
    ZORCOMN_API bool GetAllSystemProperties(std::map<std::wstring, std::wstring> &props);
    /** Collects every property, the file systems apart.
     * @param props        [out] cleared, then 30 properties, "IsPortable" among them.
     * @param fileSystems  [out] replaced by the disk record's table: mount point to (total, free) megabytes.
     * @return true, as the other form; where memory runs out, both are empty.
     * Error cell: untouched.  Threads: one object, one thread at a time.  Owns: nothing.
     */
    ZORCOMN_API bool GetAllSystemProperties(std::map<std::wstring, std::wstring> &props,
                                            std::map<std::wstring, std::pair<std::wstring, std::wstring>> &fileSystems);

    /** Fills the operating system record. Sources: the property list
     * "/System/Library/CoreServices/SystemVersion.plist", the machine type of uname, and at most two commands of the
     * system, run in the shell through PATH and waited for.
     * @param info  [in, out] PlatformID "MAC", OSType "Mac OS X" and OSOEMId "Apple Macintosh" in any case.
     *              OSVersion: the first three parts of "ProductVersion"; a version of one part is followed by a dot.
     *              OSCsdVersion: the third part; untouched when there is none.
     *              OSBuildNum: "ProductBuildVersion"; the product version where the list lacks it.
     *              OSPlatform: "Server" when the major number is above 9 and the first 30 bytes that
     *              "serverinfo --productname" prints (up to minor number 7: "sw_vers -productName") hold "server" in
     *              any letter case, else "Workstation".
     *              OSBitMode: "1" for a machine type that holds "_64", else "0" for one that holds "86", else by
     *              "sysctl hw | grep 64bit | awk '{ print $2 }'": "1" for a number other than 0, "0" for anything
     *              else, "-1" when the command cannot be started.
     * @return true; false when the list is missing, unreadable, empty or larger than memory holds, begins with a zero
     *         byte, does not parse, has no dictionary as its root or no "ProductVersion", when what it holds for either
     *         key is no text or one of more than 255 bytes, or when memory runs out. All fields but the first three are
     *         then untouched, and, but for a lack of memory, no command is run.
     * Error cell: untouched.  Threads: safe on different records; blocks while a command runs.  Owns: nothing.
     */
    ZORCOMN_API bool GetOSInformation(OSInformation &info);
    /** Fills the processor record. Sources: on the target the kernel's processor count, Gestalt and the model name; on
     * other systems what their kernel tells of the first processor and the firmware of the machine.
     * @param info  [in, out] NumOfCPU: processors in use; untouched when not known.
     *              CPUSpeed: whole megahertz, cut off, as "1333 MHz"; "0 MHz" when not known.
     *              CPUType: the names of architecture and processor (see the Convert functions) with a blank between
     *              them, or the one that is known; empty when neither is. A processor that Gestalt does not tell is
     *              a "68000", code 0.
     *              IsPortable: "1", "0", or "-1" when the model is not known; untouched with an empty CPUType.
     *              CPUSerialNumber: never written.
     * Where another program serves the kernel's files, as in some containers, each has a second to answer; what does
     * not is not known.
     * @return false when neither name is known or memory runs out, else true.
     * Error cell: untouched.  Threads: safe on different records.  Owns: nothing.
     */
    ZORCOMN_API bool GetCPUInformation(CPUInformation &info);
    /** Fills the memory record, in bytes. Sources: the kernel's memory size and its count of free pages.
     * @param info  [in, out] TotalPhysicalMemory: untouched when not known.
     *              FreeMemory: free pages times page size, rounded down by get_closest_floor in twentieths of
     *              the total; unrounded when the total is not known.
     * Where another program serves the kernel's files, as in some containers, each has a second to answer; what does
     * not is not known.
     * @return false when the free pages are not known or memory runs out, with FreeMemory untouched; else true.
     * Error cell: untouched.  Threads: safe on different records.  Owns: nothing.
     */
    ZORCOMN_API bool GetMemoryInformation(MemoryInformation &info);
    /** Fills the disk record with the local file systems that have blocks, in megabytes of 2^20 bytes with two decimals
     * (and the decimal point of the process's locale). Sources: the system's table of mounts, and each local file
     * system's own figures, all free blocks, also those kept for the superuser, rounded down by get_closest_floor in
     * twentieths of the total. Each file system counts once, however often it is mounted: on "/", else where all of it
     * is, else where a folder of it is, the first that answers; a single file in a container, whose root shows the same
     * disk, counts nothing. Remote file systems are not asked, and neither is what lies behind one: that does not
     * count, unless it can be seen on another way, too. Where a local file system is served by a program, or lies
     * behind such a one, it has a second to answer, and all of these together have two; one that does not is left out.
     * @param info  [in, out] NumberOfFileSystems, TotalDiskSpace, FreeDiskSpace: count and sums; the free sum is
     *              rounded once, not the sum of rounded amounts. "0" and "0.00" when there are none or none is told.
     *              FileSystems: mount point to total and free; of several on one mount point the first is listed, and
     *              those that the system still tells are counted. The table is not cleared: entries of an earlier run
     *              stay, those found again are refreshed. A mount point that is no valid UTF-8 is listed up to where it
     *              ceases to be.
     * @return true.
     * Error cell: untouched.  Threads: safe on different records.  Owns: nothing.
     */
    ZORCOMN_API bool GetDiskInformation(DiskInformation &info);
    /** Fills the network record: the machine's names, and the one address that represents it. That is the last known
     * local address (updateLocalIP) while an interface carries it in exactly this text; else the first address of its
     * family, IPv6 when the last known one holds a ':', else IPv4, in the order of NetInterfaceList::getIndexes();
     * else the first interface's first address. Loopback interfaces do not count. Sources: the host name,
     * getDomainName, getFqdnAddress and NetInterfaceList.
     * @param info  [in, out] ComputerName, DomainName, IPHostName: "N/A" when not known. IPXAddress: "N/A".
     *              IPAddress: dotted, or IPv6 in the form of expandIPV6Address. SubnetAddress, SubnetMask: of that
     *              address. NETAddress: the hardware address of the interface that carries it, twelve lower-case
     *              hexadecimal digits. The four fields of the address are untouched when the result is false.
     * @return true when NetInterfaceList::initialize lists an address, also when memory runs out while one is chosen
     *         (what memory did not suffice for is then empty or untouched); false when it lists none, cannot read the
     *         system's list or finds no memory.
     * Error cell: untouched.  Threads: safe on different records, beside no updateLocalIP; blocks while the resolver
     * works, which is asked once.  Owns: nothing.
     */
    ZORCOMN_API bool GetNetworkInformation(NetworkInformation &info);
    /** Fills the record of logged-on users, time zone, language and time of the collection. Sources: the login records
     * (see CollectAllLoggedonUsers, whose diagnostics it writes to standard output), tzname[0], the environment
     * variable LANG, and the system's clock in local time. tzset is not called: until something in the process has
     * called it or has broken a local time down, TimeZone is the C library's initial name.
     * @param info  [in, out] UserName: the users, or "NA" (not "N/A") when nobody is logged on; untouched when memory
     *              runs out.
     *              TimeZone: the name of the standard-time zone, empty when the C library has none.
     *              DefaultLangID: "0809" when LANG holds "en_UK", else "0411" when it holds "ja_JP", else "0409".
     *              LastUpdate: month/day/year hour:minute:second; untouched when the time cannot be told.
     * @return true.
     * Error cell: untouched.  Threads: safe on different records; blocks while users are looked up.  Owns: nothing.
     */
    ZORCOMN_API bool GetMiscInformation(MiscInformation &info);

    /* Whether a name belongs to a group, compared exactly; these collect nothing.
     * Error cell: untouched.  Threads: safe.  Owns: nothing. */

    /** @return true for "ComputerName", "DomainName", "IPAddress", "IPHostName", "IPXAddress", "NETAddress",
     * "SubnetAddress" and "SubnetMask". */
    ZORCOMN_API bool IsNetworkProperty(const std::wstring &name);
    /** @return true for "CPUType", "NumOfCPU", "CPUSpeed", "IsPortable" and "CPUSerialNumber". */
    ZORCOMN_API bool IsCPUProperty(const std::wstring &name);
    /** @return true for "TotalPhysicalMemory" and "FreeMemory". */
    ZORCOMN_API bool IsMemoryProperty(const std::wstring &name);
    /** @return true for "UserName", "TimeZone", "DefaultLangID" and "LastUpdate". */
    ZORCOMN_API bool IsMiscProperty(const std::wstring &name);
    /** @return true for "FreeDiskSpace" and "TotalDiskSpace"; false for "NumberOfFileSystems", though
     * GetOneDiskProperty answers it. */
    ZORCOMN_API bool IsDiskProperty(const std::wstring &name);
    /** @return true for "OSType", "OSBitMode", "OSPlatform", "OSVersion", "OSBuildNum", "OSCsdVersion", "OSOEMId" and
     * "PlatformID". */
    ZORCOMN_API bool IsOSProperty(const std::wstring &name);

    /* One property of a known group. Each runs its group's collector on the object's record, whatever the name, and
     * returns the field that holds the property, "N/A" for a name outside the group, an empty text when there is no
     * memory. The resolver is asked only for "DomainName" (when no NIS domain is set) and "IPHostName".
     * Error cell: untouched.  Threads: one object, one thread at a time.  Owns: nothing. */

    /** Collects the network record; the names are those of IsNetworkProperty. */
    ZORCOMN_API std::wstring GetOneNetworkProperty(const std::wstring &name);
    /** Collects the processor record; the names are those of IsCPUProperty. */
    ZORCOMN_API std::wstring GetOneCPUProperty(const std::wstring &name);
    /** Collects the memory record; the names are those of IsMemoryProperty. */
    ZORCOMN_API std::wstring GetOneMemoryProperty(const std::wstring &name);
    /** Collects the miscellaneous record; the names are those of IsMiscProperty. */
    ZORCOMN_API std::wstring GetOneMiscProperty(const std::wstring &name);
    /** Collects the disk record; the names are those of IsDiskProperty and "NumberOfFileSystems". */
    ZORCOMN_API std::wstring GetOneDiskProperty(const std::wstring &name);
    /** Collects the operating system record; the names are those of IsOSProperty. */
    ZORCOMN_API std::wstring GetOneOSProperty(const std::wstring &name);

    /** Remembers, for the process, the local address by which the agent last reached its server; the network collector
     * prefers it when an interface carries it in exactly this text.
     * @param ip  an address text, IPv6 in expanded form; empty: none is known. Not checked. Without memory for it, the
     *            one before stays.
     * Error cell: untouched.  Threads: unguarded; set it from one thread while none reads it.  Owns: keeps a copy.
     */
    ZORCOMN_API static void updateLocalIP(const std::wstring &ip);
    /** Tells the local address last set.
     * @return a copy; empty before the first one is set, and when there is no memory.
     * Error cell: untouched.  Threads: unguarded, as updateLocalIP.  Owns: nothing.
     */
    ZORCOMN_API static std::wstring GetLastKnownLocalIP();
    /** What the two functions above set and tell; unguarded. */
    ZORCOMN_API static std::wstring m_wstrLastKnownLocalIP;

private:
    CPUInformation m_cpu;
    NetworkInformation m_network;
    MemoryInformation m_memory;
    OSInformation m_os;
    DiskInformation m_disk;
    MiscInformation m_misc;
};

/** Converts wide text to UTF-8, as qelcomn_wide_to_ansi of utilities.h does.
 * @param text  ends at its first zero character, if it holds one.
 * @return the UTF-8 text, cut where text is invalid; empty when there is no memory.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API std::string sysprops_wide_to_ansi(std::wstring text);
/** Converts UTF-8 to wide text, as qelcomn_ansi_to_wide of utilities.h does.
 * @param text  ends at its first zero byte, if it holds one.
 * @return the wide text, cut where text is invalid; empty when there is no memory.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API std::wstring sysprops_ansi_to_wide(std::string text);
/** Tells the computer's name. Source: the node name of uname, cut before its first '.'.
 * @param name  [out] bytes as the system holds them; untouched on failure.
 * @return true; false when uname fails or there is no memory.
 * Error cell: untouched; errno as uname left it.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API bool getComputerName(std::string &name);
/** Tells the name of a user. Source: the user database (getpwuid_r).
 * @param uid   the user's identifier.
 * @param name  [out] bytes as the database holds them; untouched on failure.
 * @return true; false when there is no such user, the database cannot be read or there is no memory.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API bool GetPwUid(unsigned int uid, std::string &name);

/** Names a processor by its native Gestalt code ('cput').
 * @param code  0 to 4 for the 68000 family, 0x101 to 0x110 for PowerPC, four characters such as 'i586' for x86.
 * @param out   receives the name and its terminator, at most 11 bytes; its size is not passed, so give it 16 or more.
 *              Null is refused.
 * @return false for an unknown code or a null buffer, with the buffer untouched.
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API bool ConvertGestaltCPUTypeToString(long code, char *out);
/** Names an architecture by its Gestalt code ('sysa').
 * @param code  1 "MC680x0", 2 "PowerPC", 10 "Intel".
 * @param out   receives the name and its terminator, at most 8 bytes; its size is not passed. Null is refused.
 * @return false for an unknown code or a null buffer, with the buffer untouched.
 * Error cell: untouched.  Threads: safe.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API bool ConvertGestaltSysArchToString(long code, char *out);
/** Tells whether the machine is a portable: one whose model name holds "book" in any letter case. Source: the maker's
 * model name, on the target hw.model.
 * @param portable  [out] false when the model is not known.
 * @return whether the model is known.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
ZORCOMN_API bool IsPortableComputer(bool &portable);

/** Rounds an amount down to a step between two bounds. The last step, at the upper bound, is the result only for an
 * amount above it; an amount below the lower bound is raised to that.
 * @param value  the amount.
 * @param upper  the end of the last step.
 * @param lower  the start of the first step.
 * @param steps  how many; a step is (upper - lower) / steps, without rest for whole numbers. Takes time in proportion.
 * @return the highest of lower + step, lower + 2 * step, ... that lies strictly below value, so that an amount exactly
 *         on a step goes one step down; lower when there is none. A result of 0 is replaced by value itself. With no
 *         steps, the smaller of value and lower.
 * Instantiated in the library for unsigned long long and double.
 * Error cell: untouched.  Threads: safe.  Owns: nothing.
 */
template <typename T>
ZORCOMN_API T get_closest_floor(const T &value, const T &upper, const T &lower, const unsigned int &steps);
/** @cond */
extern template unsigned long long get_closest_floor<unsigned long long>(const unsigned long long &,
                                                                         const unsigned long long &,
                                                                         const unsigned long long &,
                                                                         const unsigned int &);
extern template double get_closest_floor<double>(const double &, const double &, const double &, const unsigned int &);
/** @endcond */

} // namespace sysprops
} // namespace vta
} // namespace velmora_com

/* One property each, for callers with no object: every call collects anew through an ISysProps of its own, so that it
 * costs a run of its group's collector and knows nothing of earlier calls. Global namespace, C++ linkage.
 *
 * Results: what ISysProps::GetOneSystemProperty gives for the property named on a fresh object, as a rule "N/A" when it
 * is not found; empty when there is no memory. Sources: those of the group's collector above.
 * Error cell: untouched.  Threads: as the group's collector.  Owns: nothing. */

/** Architecture and kind of the processors ("CPUType"). */
ZORCOMN_API std::wstring qelcomn_get_cpu_type();
/** Clock of the processors, as "1000 MHz" ("CPUSpeed"). */
ZORCOMN_API std::wstring qelcomn_get_cpu_speed();
/** Number of processors ("NumOfCPU"). */
ZORCOMN_API std::wstring qelcomn_get_number_of_processors();
/** Serial number of the processor, which no collector finds: "N/A" ("CPUSerialNumber"). */
ZORCOMN_API std::wstring qelcomn_get_cpu_serial_number();
/** Domain of the machine ("DomainName"). */
ZORCOMN_API std::wstring qelcomn_get_domain_name();
/** Name of the machine ("ComputerName"). */
ZORCOMN_API std::wstring qelcomn_get_computer_name();
/** Address that represents the machine ("IPAddress"). */
ZORCOMN_API std::wstring qelcomn_get_ip_address();
/** Subnet of that address ("SubnetAddress"). */
ZORCOMN_API std::wstring qelcomn_get_subnet_address();
/** Mask of that subnet ("SubnetMask"). */
ZORCOMN_API std::wstring qelcomn_get_subnet_mask();
/** Hardware address of the interface that carries that address ("NETAddress"). */
ZORCOMN_API std::wstring qelcomn_get_mac_address();
/** IPX address, which no collector finds: "N/A" ("IPXAddress"). */
ZORCOMN_API std::wstring qelcomn_get_ipx_address();
/** Fully qualified name of the machine ("IPHostName"). */
ZORCOMN_API std::wstring qelcomn_get_fqdn_address();
/** Physical memory in bytes ("TotalPhysicalMemory"). */
ZORCOMN_API std::wstring qelcomn_get_total_memory();
/** Free memory in bytes, in twentieths of the total ("FreeMemory"). */
ZORCOMN_API std::wstring qelcomn_get_free_memory();
/** Always empty: "NumberOfFileSystems" belongs to no group; ISysProps::GetOneDiskProperty tells it. */
ZORCOMN_API std::wstring qelcomn_get_number_of_file_systems();
/** Megabytes of all local file systems ("TotalDiskSpace"). */
ZORCOMN_API std::wstring qelcomn_get_total_disk_space();
/** Free megabytes of all local file systems, in twentieths of the total ("FreeDiskSpace"). */
ZORCOMN_API std::wstring qelcomn_get_free_disk_space();
/** Name of the operating system ("OSType"). */
ZORCOMN_API std::wstring qelcomn_get_os_type();
/** "Server" or "Workstation" ("OSPlatform"). */
ZORCOMN_API std::wstring qelcomn_get_os_platform();
/** Version of the operating system ("OSVersion"). */
ZORCOMN_API std::wstring qelcomn_get_os_version();
/** Third part of that version ("OSCsdVersion"). */
ZORCOMN_API std::wstring qelcomn_get_os_service_pack();
/** Build of the operating system ("OSBuildNum"). */
ZORCOMN_API std::wstring qelcomn_get_os_build_number();
/** Maker of the operating system ("OSOEMId"). */
ZORCOMN_API std::wstring qelcomn_get_os_oem_id();
/** Identifier of the platform; empty, not "N/A", when not known ("PlatformID"). */
ZORCOMN_API std::wstring qelcomn_get_os_platform_id();
/** Users logged on, "NA" for none. Not the function of the same name with two arguments in utilities.h. Property
 * "UserName". */
ZORCOMN_API std::wstring qelcomn_get_user_name();
/** Name of the standard-time zone ("TimeZone"). */
ZORCOMN_API std::wstring qelcomn_get_time_zone();
/** Windows locale identifier of the language, four hexadecimal digits ("DefaultLangID"). */
ZORCOMN_API std::wstring qelcomn_get_language();
/** Time of this call: month/day/year hour:minute:second ("LastUpdate"). */
ZORCOMN_API std::wstring qelcomn_get_last_update_time();

/** A placeholder.
 * @param index  whatever it is.
 * @return "N/A". */
ZORCOMN_API std::wstring qelcomn_get_file_system_name(int index);
/** A placeholder.
 * @param name  whatever it is.
 * @return "N/A". */
ZORCOMN_API std::wstring qelcomn_get_file_system_free_space_by_name(const std::wstring &name);
/** A placeholder.
 * @param name  whatever it is.
 * @return "N/A". */
ZORCOMN_API std::wstring qelcomn_get_file_system_total_space_by_name(const std::wstring &name);

/** Does what ISysProps::updateLocalIP does.
 * @param ip  as there.
 * Error cell: untouched.  Threads: unguarded, as there.  Owns: keeps a copy.
 */
ZORCOMN_API void qelcomn_set_local_ip_addr(std::wstring ip);
