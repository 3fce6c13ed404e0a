// The system calls under the seam, made up from FakeCalls. Buffers are filled exactly as far as the real calls may.

#include "fake_calls.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <AvailabilityMacros.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>
#include <TargetConditionals.h>
#include <cassert>
#include <mach/mach.h>
#include <netdb.h>
#include <sys/sysctl.h>

namespace zor::test {
FakeCalls fakeCalls;
}
using zor::test::fakeCalls;

namespace {

int answer(const std::string *fact, void *old, size_t *oldLength) {
    if (!fact) {
        errno = ENOENT;
        return -1;
    }
    fakeCalls.toldLength = *oldLength;
    if (fact->size() > *oldLength) {
        errno = ENOMEM;
        return -1;
    }
    std::memcpy(old, fact->data(), fact->size());
    *oldLength = fact->size();
    return 0;
}

template <class Map, class Key> const std::string *find(const Map &facts, const Key &key) {
    const auto found = facts.find(key);
    return found == facts.end() ? nullptr : &found->second;
}

enum TypeId : CFTypeID { kData = 1, kText, kDictionary, kNumber };
struct Object {
    TypeId type;
    std::string text;
    std::map<std::string, Object> values; // a dictionary's own, never released by who looked them up
};

const Object *create(TypeId type, const std::string &text) {
    ++fakeCalls.liveObjects;
    return new Object{type, text, {}};
}
const Object *object(const void *reference) {
    return static_cast<const Object *>(reference);
}

} // namespace

extern "C" {

int sysctl(int *name, unsigned int, void *old, size_t *oldLength, void *, size_t) {
    return answer(find(fakeCalls.kernelFacts, std::make_pair(name[0], name[1])), old, oldLength);
}
int sysctlbyname(const char *name, void *old, size_t *oldLength, void *, size_t) {
    return answer(find(fakeCalls.namedFacts, std::string(name)), old, oldLength);
}

hostent *gethostbyname(const char *name) {
    static hostent entry; // the call's own, as the real one keeps it
    const std::string *official = find(fakeCalls.officialNames, std::string(name));
    entry.h_name = official ? const_cast<char *>(official->c_str()) : nullptr;
    return official ? &entry : nullptr;
}

mach_port_t mach_host_self() {
    ++fakeCalls.hostPorts;
    return 7;
}
mach_port_t mach_task_self_ = 3;
kern_return_t mach_port_deallocate(mach_port_t task, mach_port_t name) {
    fakeCalls.hostPorts -= task == 3 && name == 7;
    return KERN_SUCCESS;
}
kern_return_t host_page_size(mach_port_t, vm_size_t *size) {
    if (!fakeCalls.pageSize)
        return 5;
    *size = *fakeCalls.pageSize;
    return KERN_SUCCESS;
}
kern_return_t host_statistics(mach_port_t, int flavor, host_info_t info, mach_msg_type_number_t *words) {
    if (!fakeCalls.freePages || flavor != HOST_VM_INFO || *words != 15)
        return 5;
    std::memcpy(info, &*fakeCalls.freePages, sizeof *fakeCalls.freePages);
    return KERN_SUCCESS;
}

#if !TARGET_CPU_ARM64
OSErr Gestalt(OSType selector, SInt32 *response) {
    const auto found = fakeCalls.gestalt.find(selector);
    if (found == fakeCalls.gestalt.end())
        return -5551;
    *response = static_cast<SInt32>(found->second);
    return noErr;
}
#endif

const CFAllocatorRef kCFAllocatorDefault = nullptr;

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8 *bytes, CFIndex length) {
    if (fakeCalls.dataFails)
        return nullptr;
    return reinterpret_cast<CFDataRef>(
        create(kData, std::string(reinterpret_cast<const char *>(bytes), static_cast<size_t>(length))));
}
#if MAC_OS_X_VERSION_MIN_REQUIRED >= 1060
CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef, CFDataRef, CFOptionFlags, CFPropertyListFormat *,
                                               CFErrorRef *) {
#else
CFPropertyListRef CFPropertyListCreateFromXMLData(CFAllocatorRef, CFDataRef, CFOptionFlags, CFStringRef *) {
#endif
    if (!fakeCalls.dictionary)
        return nullptr;
    auto *root = const_cast<Object *>(create(fakeCalls.rootIsText ? kText : kDictionary, ""));
    for (const auto &[key, text] : *fakeCalls.dictionary)
        root->values[key] = Object{fakeCalls.valuesAreNumbers ? kNumber : kText, text, {}};
    return root;
}
CFTypeID CFGetTypeID(CFTypeRef reference) {
    return object(reference)->type;
}
CFTypeID CFDictionaryGetTypeID() {
    return kDictionary;
}
CFTypeID CFStringGetTypeID() {
    return kText;
}
Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void *key, const void **value) {
    const Object *root = object(dictionary);
    const auto found = root->values.find(object(key)->text);
    if (found == root->values.end())
        return 0;
    *value = &found->second;
    return 1;
}
CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char *text, CFStringEncoding encoding) {
    if (fakeCalls.keyFails || encoding != kCFStringEncodingUTF8)
        return nullptr;
    return reinterpret_cast<CFStringRef>(create(kText, text));
}
Boolean CFStringGetCString(CFStringRef string, char *buffer, CFIndex size, CFStringEncoding) {
    const std::string &text = object(string)->text;
    if (text.size() + 1 > static_cast<size_t>(size))
        return 0;
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return 1;
}
void CFRelease(CFTypeRef reference) {
    --fakeCalls.liveObjects;
    delete object(reference);
}

int getfsstat(struct statfs *records, int bytes, int flags) {
    if (!fakeCalls.mounted || flags != MNT_NOWAIT || (records && fakeCalls.secondCallFails))
        return -1;
    const int mounted = static_cast<int>(fakeCalls.mounted->size());
    if (!records)
        return mounted - fakeCalls.mountedAtSecondCall;
    const int room = bytes / static_cast<int>(sizeof(struct statfs));
    std::copy_n(fakeCalls.mounted->begin(), std::min(room, mounted), records);
    return std::min(room, mounted);
}
int statfs(const char *path, struct statfs *record) {
    fakeCalls.askedForSpace.push_back(path);
    const auto found = fakeCalls.space.find(path);
    if (found == fakeCalls.space.end()) {
        errno = fakeCalls.spaceError;
        return -1;
    }
    *record = found->second;
    return 0;
}

void __assert_rtn(const char *function, const char *file, int line, const char *expression) {
    std::fprintf(stderr, "Assertion failed: (%s), function %s, file %s, line %d.\n", expression, function, file, line);
    std::abort();
}
}
