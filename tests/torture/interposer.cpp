// The calls. A few instructions per function keep the registers, ask decide() where to go on, and go there: to the
// system's own function, or to one that fails. So no function's parameters need be known here.

#include "tests/torture/interposer.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <dlfcn.h>
#include <execinfo.h>
#include <netdb.h>
#include <sys/syscall.h>

extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *old, size_t size);
extern "C" void __libc_free(void *memory);

namespace zor::torture {

namespace {

enum Answer {
    MinusOne,      // -1, errno
    Null,          // null or 0, errno
    Number,        // the error number itself
    Transfer,      // as MinusOne; and one way more, in which half is transferred
    AfterCall,     // the call is made, and -1 returned all the same
    StreamRead,    // nothing is read, and the stream has its error
    SystemCall,    // as MinusOne, unless the process could not go on
    HostLookUp,    // the error number; the answer null, the resolver's number NETDB_INTERNAL
    AccountLookUp, // the error number; the answer null
    ResolverNumber // an EAI_ number
};

constexpr int kMaxErrors = 6;

struct Entry {
    const char *name;
    Answer answer;
    int errors[kMaxErrors];
    void *system; // looked up when first called
};

struct Registers {
    uint64_t arguments[6];
    uint64_t rest[17];
};

Plan currentPlan;
Record noRecord;
std::atomic<Record *> currentRecord{&noRecord};
bool wantsStackOfFault = false;
std::atomic<bool> armed{false};
std::atomic<int32_t> allocations{0}, calls{0};
std::atomic<int64_t> live{0};
std::atomic<const char *> persistent{nullptr}; // the function whose later calls fail, too

__attribute__((tls_model("initial-exec"))) thread_local uint64_t pendingResult;
__attribute__((tls_model("initial-exec"))) thread_local bool isInside = false;

extern "C" __attribute__((visibility("hidden"))) uint64_t zor_torture_fail() {
    return pendingResult;
}

int variantsOf(const Entry &entry) {
    int count = 0;
    while (count < kMaxErrors && entry.errors[count] != 0)
        ++count;
    return entry.answer == Transfer ? count + 1 : count;
}

void keepRecord(const char *name, int error) {
    Record &record = *currentRecord;
    std::snprintf(record.name, sizeof record.name, "%s", name);
    record.error = error;
    if (wantsStackOfFault && record.hit == 0) {
        isInside = true;
        record.depth = backtrace(record.stack, 24);
        isInside = false;
    }
    record.hit = 1;
}

/** Whether a call fails now, and how. */
bool isDue(const Entry &entry, int &variant) {
    if (!armed || isInside || (currentPlan.fault != Fault::Call && currentPlan.fault != Fault::CallsFrom))
        return false;
    variant = currentPlan.variant;
    if (persistent.load() != nullptr)
        return persistent.load() == entry.name;
    const int32_t number = ++calls;
    currentRecord.load()->counted = number;
    if (number != currentPlan.nth)
        return false;
    currentRecord.load()->variants = variantsOf(entry);
    if (variant >= variantsOf(entry))
        return false;
    if (currentPlan.fault == Fault::CallsFrom && (variant >= kMaxErrors || entry.errors[variant] == EINTR))
        return false; // what is asked again and again would be so for ever
    if (currentPlan.fault == Fault::CallsFrom)
        persistent = entry.name;
    return true;
}

/** Whether the process could not go on, or would only wait, without this system call. */
bool isVital(uint64_t number) {
    return number == SYS_exit_group || number == SYS_futex || number == SYS_close_range || number == SYS_close ||
           number == SYS_chdir;
}

void *failing(const Entry &entry, Registers &registers, int variant) {
    using Close = int (*)(void *);
    const int error = variant < kMaxErrors ? entry.errors[variant] : 0;
    if (entry.answer == Transfer && error == 0) {
        if (registers.arguments[2] < 2)
            return entry.system;
        registers.arguments[2] /= 2;
        keepRecord(entry.name, 0);
        return entry.system;
    }
    keepRecord(entry.name, error);
    pendingResult = static_cast<uint64_t>(-1);
    switch (entry.answer) {
    case Null:
        pendingResult = 0;
        break;
    case Number:
    case ResolverNumber:
        pendingResult = static_cast<uint64_t>(static_cast<int64_t>(error));
        break;
    case AccountLookUp:
    case HostLookUp:
        *reinterpret_cast<void **>(registers.arguments[4]) = nullptr;
        if (entry.answer == HostLookUp)
            *reinterpret_cast<int *>(registers.arguments[5]) = NETDB_INTERNAL;
        pendingResult = static_cast<uint64_t>(error);
        break;
    case AfterCall: {
        void *const answer = machineAnswer(entry.name, registers.arguments);
        reinterpret_cast<Close>(answer ? answer : entry.system)(reinterpret_cast<void *>(registers.arguments[0]));
        break;
    }
    case StreamRead:
        reinterpret_cast<FILE *>(registers.arguments[std::strcmp(entry.name, "fread") == 0 ? 3 : 4])->_flags |= 0x20;
        pendingResult = 0;
        break;
    default:
        break;
    }
    if (entry.answer != Number && entry.answer != AccountLookUp && entry.answer != ResolverNumber)
        errno = error;
    return reinterpret_cast<void *>(zor_torture_fail);
}

} // namespace

extern "C" __attribute__((visibility("hidden"))) void *zor_torture_decide(Entry *entry, Registers *registers) {
    if (!entry->system)
        entry->system = systemFunction(entry->name);
    const bool isSpared = entry->answer == SystemCall && isVital(registers->arguments[0]);
    int variant = 0;
    if (!isSpared && isDue(*entry, variant))
        return failing(*entry, *registers, variant);
    if (void *const answer = machineAnswer(entry->name, registers->arguments))
        return answer;
    return entry->system;
}

#define WHOLE(...)
#define ENTRY(symbol, function, answer, ...)                                                                           \
    extern "C" __attribute__((visibility("hidden"))) Entry zor_torture_entry_##symbol;                                 \
    Entry zor_torture_entry_##symbol = {function, answer, {__VA_ARGS__}, nullptr};                                     \
    asm(".pushsection .text\n"                                                                                         \
        ".globl " function "\n.type " function ",@function\n" function ":\n"                                           \
        "sub $184,%rsp\n"                                                                                              \
        "mov %rdi,0(%rsp)\nmov %rsi,8(%rsp)\nmov %rdx,16(%rsp)\nmov %rcx,24(%rsp)\nmov %r8,32(%rsp)\n"                 \
        "mov %r9,40(%rsp)\nmov %rax,48(%rsp)\n"                                                                        \
        "movups %xmm0,56(%rsp)\nmovups %xmm1,72(%rsp)\nmovups %xmm2,88(%rsp)\nmovups %xmm3,104(%rsp)\n"                \
        "movups %xmm4,120(%rsp)\nmovups %xmm5,136(%rsp)\nmovups %xmm6,152(%rsp)\nmovups %xmm7,168(%rsp)\n"             \
        "lea zor_torture_entry_" #symbol "(%rip),%rdi\nmov %rsp,%rsi\n"                                                \
        "call zor_torture_decide\n"                                                                                    \
        "mov %rax,%r11\n"                                                                                              \
        "mov 0(%rsp),%rdi\nmov 8(%rsp),%rsi\nmov 16(%rsp),%rdx\nmov 24(%rsp),%rcx\nmov 32(%rsp),%r8\n"                 \
        "mov 40(%rsp),%r9\nmov 48(%rsp),%rax\n"                                                                        \
        "movups 56(%rsp),%xmm0\nmovups 72(%rsp),%xmm1\nmovups 88(%rsp),%xmm2\nmovups 104(%rsp),%xmm3\n"                \
        "movups 120(%rsp),%xmm4\nmovups 136(%rsp),%xmm5\nmovups 152(%rsp),%xmm6\nmovups 168(%rsp),%xmm7\n"             \
        "add $184,%rsp\n"                                                                                              \
        "jmp *%r11\n"                                                                                                  \
        ".size " function ",.-" function "\n.popsection");
#define FAULT(name, answer, ...) ENTRY(name, #name, answer, __VA_ARGS__)
#include "tests/torture/calls.def"
#undef FAULT
// These give the machine's own times; they never fail.
ENTRY(time, "time", Null, 0)
ENTRY(times, "times", Null, 0)
ENTRY(rand, "rand", Null, 0)
ENTRY(freeifaddrs, "freeifaddrs", Null, 0)
ENTRY(setutxent, "setutxent", Null, 0)

#define FAULT(name, ...) #name,
const char *const kFaultyCalls[] = {
#include "tests/torture/calls.def"
    nullptr};
#undef FAULT
#undef WHOLE
#define FAULT(...)
#define WHOLE(...) #__VA_ARGS__,
const char *const kWholeCalls[] = {
#include "tests/torture/calls.def"
    nullptr};

void setPlan(const Plan &plan, Record *record, bool wantsStack) {
    currentPlan = plan;
    *record = {};
    currentRecord = record;
    wantsStackOfFault = wantsStack;
    allocations = calls = 0;
    persistent = nullptr;
}

void arm() {
    armed = true;
}

void disarm() {
    armed = false;
}

bool isArmed() {
    return armed;
}

int64_t liveAllocations() {
    return live;
}

void *systemFunction(const char *name) {
    isInside = true;
    void *const function = dlsym(RTLD_NEXT, name);
    isInside = false;
    return function;
}

namespace {

bool isAllocationDue(const char *name) {
    const bool isPlanned = currentPlan.fault == Fault::Allocation || currentPlan.fault == Fault::AllocationsFrom;
    if (!isPlanned || !armed || isInside)
        return false;
    const int32_t number = ++allocations;
    currentRecord.load()->counted = number;
    if (number < currentPlan.nth || (number > currentPlan.nth && currentPlan.fault == Fault::Allocation))
        return false;
    keepRecord(name, ENOMEM);
    errno = ENOMEM;
    return true;
}

void *counted(void *memory) {
    live += memory ? 1 : 0;
    return memory;
}

} // namespace

} // namespace zor::torture

using namespace zor::torture;

extern "C" __attribute__((visibility("default"))) void *malloc(size_t size) {
    return isAllocationDue("malloc") ? nullptr : counted(__libc_malloc(size));
}

extern "C" __attribute__((visibility("default"))) void *calloc(size_t count, size_t size) {
    return isAllocationDue("calloc") ? nullptr : counted(__libc_calloc(count, size));
}

extern "C" __attribute__((visibility("default"))) void *realloc(void *old, size_t size) {
    if (isAllocationDue("realloc"))
        return nullptr;
    void *const memory = __libc_realloc(old, size);
    live += !old && memory ? 1 : 0;
    return memory;
}

extern "C" __attribute__((visibility("default"))) void free(void *memory) {
    live -= memory ? 1 : 0;
    __libc_free(memory);
}
