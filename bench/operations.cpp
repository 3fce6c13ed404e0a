// Representative operations, one after the other, each a number of times on inputs that are always the same: what
// bench/counts counts the instructions and the system calls of. Under callgrind only the operations themselves are
// collected, and a dump is made for each; for strace an access() that finds nothing marks where one begins and ends.
//
// zorcomn_operations FOLDER: an empty folder, for files.

#include "zorcomn/lists_locks.h"
#include "zorcomn/network.h"
#include "zorcomn/portability.h"
#include "zorcomn/sysprops.h"
#include "zorcomn/utilities.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include <unistd.h>
#include <valgrind/callgrind.h>

namespace {

using namespace velmora_com::vta;

constexpr int kWarmUp = 4;
constexpr int kCalls = 16; // bench/counts divides by it

void mark(const char *what, const char *name) {
    access((std::string("/operation/") + what + "/" + name).c_str(), F_OK);
}

template <class Operation> void count(const char *name, Operation operation) {
    for (int i = 0; i < kWarmUp; ++i)
        operation();
    mark("begin", name);
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    for (int i = 0; i < kCalls; ++i)
        operation();
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name);
    mark("end", name);
}

void countPortability(const std::string &folder) {
    static const HANDLE event = qelCreateEvent(nullptr, 1, 1, nullptr);
    static const HANDLE never = qelCreateEvent(nullptr, 1, 0, nullptr);
    static const HANDLE mutex = qelCreateMutex(nullptr, 0, nullptr);
    static const uint32_t index = qelTlsAlloc();
    static volatile int32_t cell = 0;
    static char text[70];
    static qelGuid guid;
    count("event: set", [] { qelSetEvent(event); });
    count("event: wait, set", [] { qelWaitForSingleObject(event, 0xFFFFFFFFu); });
    count("event: reset", [] { qelResetEvent(never); });
    count("event: create and close", [] { qelCloseHandle(qelCreateEvent(nullptr, 1, 0, nullptr)); });
    count("mutex: wait and release", [] {
        qelWaitForSingleObject(mutex, 0xFFFFFFFFu);
        qelReleaseMutex(mutex);
    });
    count("thread-local: set and get", [] {
        qelTlsSetValue(index, text);
        qelTlsGetValue(index);
    });
    count("interlocked: increment", [] { qelInterlockedIncrement(&cell); });
    count("interlocked: exchange", [] { qelInterlockedExchange(&cell, 1); });
    count("GUID: make", [] { qelCoCreateGuid(&guid); });
    count("GUID: as text", [] { qelUuidToStringA(&guid, text); });
    count("number: as text", [] { qelI64toa(-1234567890123, text, 10); });
    count("wildcards: match", [] { qelWildCardMatch("f*le?*.log", "file-number-17.log"); });

    for (int i = 0; i < 20; ++i)
        std::ofstream(folder + "/file" + std::to_string(i + 10) + ".log");
    static const std::string pattern = folder + "/file*.log";
    count("search: 20 files", [] {
        qelFindData data;
        const int32_t search = qelFindFirstDirEnt(pattern.c_str(), &data);
        while (qelFindNextDirEnt(search, &data) == 1) {
        }
        qelFindCloseDirEnt(search);
    });
    static const std::string file = folder + "/file10.log";
    count("file: open, write, size, close", [] {
        uint32_t written = 0;
        const HANDLE opened = qelCreateFileAW(file.c_str(), 0xC0000000u, 0, nullptr, 2, 0, nullptr);
        qelWriteFile(opened, text, sizeof text, &written, nullptr);
        qelGetFileSize(opened, nullptr);
        qelCloseHandle(opened);
    });
}

void countListsAndLocks() {
    static qeSELock *lock = nullptr;
    static qeSLL *list = nullptr;
    static qeSLL2 *row = nullptr;
    qeSO_ProcessAttach();
    qeSO_ThreadAttach();
    qeSO_SELockCreate(&lock);
    qeSLL_Create(&list);
    qeSLL2_Create(&row);
    count("lock: exclusive", [] {
        qeSO_SELockExclusive(lock, 1);
        qeSO_SELockRelease(lock);
    });
    count("lock: shared", [] {
        qeSO_SELockSharedWaitForExclusive(lock, 1);
        qeSO_SELockRelease(lock);
    });
    count("list, single links: push and pop", [] {
        static qeLLNode node{};
        qeSLL_XInsertHead(list, &node);
        qeSLL_XRemoveHead(list);
    });
    count("list, double links: append and take", [] {
        static qeLL2Node node{};
        qeSLL2_XInsertTail(row, &node);
        qeSLL2_XRemoveHead(row);
    });
}

std::string repeated(const char *piece, size_t bytes) {
    std::string text;
    while (text.size() + std::strlen(piece) <= bytes)
        text += piece;
    return text + std::string(bytes - text.size(), '.');
}

void countText(const char *toUtf8, const char *toWide, const char *piece) {
    static std::string narrow;
    static std::wstring wide;
    static char narrowRoom[6 * 1024 + 1];
    static wchar_t wideRoom[1024 + 1];
    narrow = repeated(piece, 1024);
    wide = qelcomn_ansi_to_wide(narrow);
    count(toUtf8, [] {
        const int32_t capacity = sizeof narrowRoom;
        qelcomn_unicode_to_utf8(wide.c_str(), narrowRoom, &capacity);
    });
    count(toWide, [] {
        const int32_t capacity = sizeof wideRoom / sizeof *wideRoom;
        qelcomn_utf8_to_unicode(narrow.c_str(), wideRoom, &capacity);
    });
}

void countUtilities(const std::string &folder) {
    countText("text: ASCII, 1 KiB, to UTF-8", "text: ASCII, 1 KiB, to wide", "The quick brown fox jumps. ");
    countText(
        "text: mixed, 1 KiB, to UTF-8", "text: mixed, 1 KiB, to wide",
        "ComputerName=z\xC3\xBCrich-7; UserName=J\xC3\xB6rg Meier, \xE6\x9D\xB1\xE4\xBA\xAC; Volume=\xF0\x9F\x98\x80;");
    countText("text: dense, 1 KiB, to UTF-8", "text: dense, 1 KiB, to wide", "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    static const std::string small = "machine-17.example.org";
    count("text: 22 bytes, as a string", [] { qelcomn_wide_to_ansi(qelcomn_ansi_to_wide(small)); });
    count("stamp: readable", [] { qelcomn_get_time_stamp_ansi(); });
    count("stamp: compact", [] {
        char stamp[15];
        qelcomn_CreateLocalTimeStampA(stamp, sizeof stamp);
    });
    count("time: seconds of UTC", [] {
        std::tm fields{};
        fields.tm_year = 108;
        zorcomn_timegm(&fields);
    });
    static const std::string source = folder + "/source", copy = folder + "/copy";
    std::ofstream(source) << std::string(size_t{1} << 20, 'x');
    count("file: copy 1 MiB", [] { qelcomn_copy_file(source.c_str(), copy.c_str(), 1); });
    static const std::string nested = folder + "/made/a/b/c/file";
    count("folders: make four", [] { qelcomn_MakeRecursiveDirectoryA(nested.c_str()); });
}

void countAddresses() {
    static const std::string address = "2001:db8::17:1";
    count("address: expand IPv6", [] { expandIPV6Address(address); });
    static const std::string full = expandIPV6Address(address);
    static const std::string mask = "ffff:ffff:ffff:0:0:0:0:0";
    count("address: subnet of IPv6", [] { calculateSubNetAddrForV6(full, mask); });
    static unsigned char card[] = {0, 0x16, 0x3E, 0x5A, 0xB0, 0x01};
    count("address: hardware address as text", [] { formatMACAddress(card); });
    static const std::wstring name = L"CPUSerialNumber2";
    count("property: unknown name", [] { sysprops::ISysProps().GetOneSystemProperty(name); });
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2)
        return 2;
    // The C library takes short cuts until a process has started its first thread; the agent has threads.
    std::thread([] {}).join();
    const std::string folder = argv[1];
    countPortability(folder);
    countListsAndLocks();
    countUtilities(folder);
    countAddresses();
}
