// Loaded libraries: a table of fifty, counted by path, that speaks the DllMain protocol. MutexDynamicLibraryList guards
// the table; module code (constructors, DllMain) runs with it held. Two operations look for a module without it, since
// DllMain may call them. So that they never meet an entry being freed, entryGuard, a leaf lock that is never held while
// module code runs, guards the change of a slot against them.

#include "zorcomn/portability.h"

#include "source/platform/fork.h"
#include "source/platform/posix.h"
#include "source/portability/dynamic_libraries.h"
#include "source/portability/error_cell.h"
#include "source/portability/transcoding.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <string>

#include <dlfcn.h>

qelDynamicLibrary *pDynamicLibraryList[50];
zor::Mutex MutexDynamicLibraryList = PTHREAD_MUTEX_INITIALIZER;

namespace zor {

namespace {

constexpr uint32_t kProcessAttach = 1;
constexpr uint32_t kProcessDetach = 0; // Kept: the only other reason there is.
constexpr int32_t kAttached = 1;
constexpr size_t kErrorTextBound = 510;
constexpr size_t kWideErrorTextBound = 2047;

Mutex entryGuard = PTHREAD_MUTEX_INITIALIZER;

ForkRepair listForks(MutexDynamicLibraryList);
const ForkRepair entryForks(entryGuard);

/** Kept: one error text for the whole process, without a lock; callers hold pointers to it. Calls that overlap may mix
 * their texts, but whatever they do stays inside and in front of the last terminator, which is never overwritten. */
template <class Character, size_t bound> class ErrorText {
public:
    void clear() { put(0, 0); }
    void append(const Character *text) {
        size_t end = 0;
        while (end < bound && __atomic_load_n(&m_text[end], __ATOMIC_RELAXED) != 0)
            ++end;
        for (Character next; end < bound && (next = *text) != 0; ++text)
            put(end++, next);
        put(end, 0);
    }
    /** Clears the text and points a caller who wants it there. */
    void beginFor(const Character **caller) {
        clear();
        if (caller)
            *caller = m_text;
    }

private:
    void put(size_t index, Character character) { __atomic_store_n(&m_text[index], character, __ATOMIC_RELAXED); }

    Character m_text[bound + 1];
};

ErrorText<char, kErrorTextBound> loaderText;
ErrorText<char, kErrorTextBound> symbolText;
ErrorText<wchar_t, kWideErrorTextBound> wideText;

/** The loader's last message to this thread; empty when there is none. */
const char *lastLoaderMessage() {
    const char *const message = dlerror();
    return message ? message : "";
}

void clearTableOnFirstCall() ZORCOMN_REQUIRES(MutexDynamicLibraryList) {
    static bool isCleared ZORCOMN_GUARDED_BY(MutexDynamicLibraryList) = false;
    if (isCleared)
        return;
    std::fill(std::begin(pDynamicLibraryList), std::end(pDynamicLibraryList), nullptr);
    isCleared = true; // last: a child of a fork in between clears it again
}

template <class Condition> qelDynamicLibrary **findSlot(Condition condition) {
    qelDynamicLibrary **const end = std::end(pDynamicLibraryList);
    qelDynamicLibrary **const slot = std::find_if(std::begin(pDynamicLibraryList), end, condition);
    return slot == end ? nullptr : slot;
}

qelDynamicLibrary **findModule(const void *module) {
    return findSlot([module](const qelDynamicLibrary *entry) { return entry && entry->module == module; });
}

/** Whether a slot holds a library that is loaded. One whose last use has been given back is seen here only in a child,
 * forked while another thread was closing it: it may be closed or not, and counts as gone. For who holds the table. */
bool isLoaded(const qelDynamicLibrary *entry) {
    return entry && entry->referenceCount >= 1;
}

/** Changes a slot, MutexDynamicLibraryList being held; what the slot held is the caller's. */
std::unique_ptr<qelDynamicLibrary> exchangeSlot(qelDynamicLibrary **slot, std::unique_ptr<qelDynamicLibrary> entry)
    ZORCOMN_REQUIRES(MutexDynamicLibraryList) ZORCOMN_EXCLUDES(entryGuard) {
    const MutexLock lock(entryGuard);
    return std::unique_ptr<qelDynamicLibrary>(std::exchange(*slot, entry.release()));
}

/** Why a load failed: the text of one call, which no other thread changes. */
struct Reason {
    Reason() = default;
    Reason(const Reason &) = delete;
    Reason &operator=(const Reason &) = delete;

    char loaderMessage[kErrorTextBound + 1] = "";
    const char *text = loaderMessage;
};

void *failLoad(Reason &reason, const char *text) {
    reason.text = text;
    return nullptr;
}

/** Opens a library and attaches it. */
bool openLibrary(qelDynamicLibrary &entry, const char *path, Reason &reason) {
    if (load_shared_object_image(&entry.module, path, reason.loaderMessage) != 1)
        return false;
    entry.dllMain = reinterpret_cast<qelDllMain>(qelGetProcAddress(entry.module, "DllMain", nullptr));
    // Kept: under the table's lock, so that a module is attached before anybody else gets its handle. One that refuses
    // stays open.
    if (entry.dllMain && entry.dllMain(entry.module, kProcessAttach, nullptr) != kAttached) {
        failLoad(reason, "dllmain returned false");
        return false;
    }
    return true;
}

void *loadInto(qelDynamicLibrary **slot, const char *path, Reason &reason) ZORCOMN_REQUIRES(MutexDynamicLibraryList) {
    std::unique_ptr<qelDynamicLibrary> entry(new (std::nothrow) qelDynamicLibrary());
    if (!entry)
        return failLoad(reason, "out of memory");
    if (!openLibrary(*entry, path, reason))
        return nullptr;
    entry->referenceCount = 1;
    std::memcpy(entry->name, path, boundedLength(path, kLibraryNameBound));
    void *const module = entry->module;
    exchangeSlot(slot, std::move(entry));
    return module;
}

void *loadOrCount(const char *path, Reason &reason) {
    if (!path)
        return failWith(kCellInvalid, failLoad(reason, "no path"));
    const MutexLock lock(MutexDynamicLibraryList);
    if (!lock)
        return failWith(kCellBusy, failLoad(reason, "locked"));
    const HeldThroughFork held(listForks); // a module's constructors and DllMain may fork
    clearTableOnFirstCall();
    // Kept: by the path's spelling as the table holds it, which is cut; a longer path never finds itself.
    if (qelDynamicLibrary **const loaded = findSlot([path](const qelDynamicLibrary *entry) {
            return isLoaded(entry) && std::strcmp(entry->name, path) == 0;
        })) {
        ++(*loaded)->referenceCount;
        return (*loaded)->module;
    }
    qelDynamicLibrary **const slot = findSlot([](const qelDynamicLibrary *entry) { return !isLoaded(entry); });
    if (!slot)
        return failWith(kCellNoMemory, failLoad(reason, "library list full"));
    return loadInto(slot, path, reason);
}

/** A load with its two texts: the one for the process, as ever, and the one of this call. */
void *load(const char *path, const char **errorText, Reason &reason) {
    loaderText.beginFor(errorText);
    void *const module = loadOrCount(path, reason);
    loaderText.append(reason.text);
    return module;
}

} // namespace

} // namespace zor

using namespace zor;

void *qelLoadLibrary(const char *path, const char **errorText) {
    const UncancellableScope uncancellable;
    Reason reason;
    return load(path, errorText, reason);
}

void *qelLoadLibraryW(const wchar_t *path, const wchar_t **errorText) {
    const UncancellableScope uncancellable;
    wideText.beginFor(errorText);
    if (!path) {
        wideText.append(L"no path");
        return failWith<void *>(kCellInvalid, nullptr);
    }
    // Only the conversions are guarded: a thread that ends in the library's own code unwinds through here.
    const bool isEmpty = *path == L'\0'; // which would open the program itself
    const std::string narrow = guarded(std::string(), [path] { return utf8Of(path); });
    if (narrow.empty() && !isEmpty) {
        wideText.append(L"path not convertible");
        return failWith<void *>(kCellInvalid, nullptr);
    }
    Reason reason;
    void *const module = load(narrow.c_str(), nullptr, reason);
    if (errorText) {
        const std::wstring wide = guarded(std::wstring(), [&reason] { return wideOf(reason.text); });
        wideText.append(wide.c_str());
    }
    return module;
}

void *qelGetProcAddress(void *module, const char *symbol, const char **errorText) {
    symbolText.beginFor(errorText);
    if (!symbol)
        return failWith<void *>(kCellInvalid, nullptr);
    dlerror(); // so that a symbol whose value is null does not get an older message
    void *const address = dlsym(module, symbol);
    if (!address)
        symbolText.append(lastLoaderMessage());
    return address;
}

int32_t qelFreeLibrary(void *module) {
    // Kept: looks without the table's lock, so that a DllMain gets its answer for a module that is none.
    MutexLock scan(entryGuard);
    if (!findModule(module))
        return failWith(kCellInvalid, 0);
    scan.unlock();

    const UncancellableScope uncancellable;
    const MutexLock lock(MutexDynamicLibraryList);
    if (!lock)
        return failWith(kCellBusy, 0);
    const HeldThroughFork held(listForks);               // a module's DllMain and destructors may fork
    qelDynamicLibrary **const slot = findModule(module); // again: it may have been freed meanwhile
    if (!slot || !isLoaded(*slot))
        return failWith(kCellInvalid, 0);
    qelDynamicLibrary &library = **slot;
    if (--library.referenceCount >= 1)
        return 1;
    if (library.dllMain)
        library.dllMain(module, kProcessDetach, nullptr);
    const int32_t unloaded = unload_shared_object_image(module);
    exchangeSlot(slot, nullptr);
    return unloaded;
}

// What the module's entry does, being cancelled for one, is its own affair: nothing is held here meanwhile.
int32_t qelLoadString(void *module, uint32_t id, char *buffer, int32_t size) {
    if (!module)
        return 0; // to the system it would mean every loaded module
    const auto loadString = reinterpret_cast<qelLoadStringEntry>(qelGetProcAddress(module, "loadString", nullptr));
    return loadString ? loadString(module, id, buffer, size) : 0;
}

int32_t load_shared_object_image(void **handle, const char *path, char *errorText) {
    if (!handle)
        return 0;
    const UncancellableScope uncancellable;
    const ForkDelay delay;
    *handle = dlopen(path, RTLD_LAZY);
    if (*handle)
        return 1;
    if (errorText)
        std::strncat(errorText, lastLoaderMessage(), kErrorTextBound);
    return 0;
}

int32_t unload_shared_object_image(void *handle) {
    const UncancellableScope uncancellable;
    const ForkDelay delay;
    return handle && dlclose(handle) == 0 ? 1 : 0;
}

// Without the table's lock, which is held while the DllMain runs that calls here.
int32_t qelDisableThreadLibraryCalls(void *module) {
    if (!module)
        return 0;
    const MutexLock lock(entryGuard);
    qelDynamicLibrary **const slot = findModule(module);
    if (!slot)
        return 0;
    (*slot)->threadCallsDisabled = 1;
    return 1;
}
