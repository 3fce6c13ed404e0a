// Loaded libraries: a table of fifty, counted by path, that speaks the DllMain protocol. MutexDynamicLibraryList guards
// the table; module code (constructors, DllMain) runs with it held. Two operations look for a module without it, since
// DllMain may call them. So that they never meet an entry being freed, entryGuard, a leaf lock that is never held while
// module code runs, guards the change of a slot against them.

#include "zorcomn/portability.h"

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
pthread_mutex_t MutexDynamicLibraryList = PTHREAD_MUTEX_INITIALIZER;

namespace zor {

namespace {

constexpr uint32_t kProcessAttach = 1;
constexpr uint32_t kProcessDetach = 0; // Kept: the only other reason there is.
constexpr int32_t kAttached = 1;
constexpr size_t kErrorTextBound = 510;
constexpr size_t kWideErrorTextBound = 2047;

pthread_mutex_t entryGuard = PTHREAD_MUTEX_INITIALIZER;

/** Kept: one error text for the whole process, without a lock; callers hold pointers to it. Calls that overlap may mix
 * their texts, but whatever they do stays inside and in front of the last terminator, which is never overwritten. */
template <class Character, size_t bound> class ErrorText {
public:
    void clear() { put(0, 0); }
    void append(const Character *text) {
        size_t end = 0;
        while (end < bound && __atomic_load_n(&m_text[end], __ATOMIC_RELAXED) != 0)
            ++end;
        while (end < bound && *text)
            put(end++, *text++);
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

void clearTableOnFirstCall() {
    static bool isFirstCall = true; // guarded by MutexDynamicLibraryList
    if (std::exchange(isFirstCall, false))
        std::fill(std::begin(pDynamicLibraryList), std::end(pDynamicLibraryList), nullptr);
}

template <class Condition> qelDynamicLibrary **findSlot(Condition condition) {
    qelDynamicLibrary **const end = std::end(pDynamicLibraryList);
    qelDynamicLibrary **const slot = std::find_if(std::begin(pDynamicLibraryList), end, condition);
    return slot == end ? nullptr : slot;
}

qelDynamicLibrary **findModule(const void *module) {
    return findSlot([module](const qelDynamicLibrary *entry) { return entry && entry->module == module; });
}

/** Changes a slot, MutexDynamicLibraryList being held; what the slot held is the caller's. */
std::unique_ptr<qelDynamicLibrary> exchangeSlot(qelDynamicLibrary **slot, std::unique_ptr<qelDynamicLibrary> entry) {
    const MutexLock lock(entryGuard);
    return std::unique_ptr<qelDynamicLibrary>(std::exchange(*slot, entry.release()));
}

/** Opens a library and attaches it; failing, leaves the reason in the loader's text. */
bool openLibrary(qelDynamicLibrary &entry, const char *path) {
    char message[kErrorTextBound + 1] = "";
    if (load_shared_object_image(&entry.module, path, message) != 1) {
        loaderText.append(message);
        return false;
    }
    entry.dllMain = reinterpret_cast<qelDllMain>(qelGetProcAddress(entry.module, "DllMain", nullptr));
    // Kept: under the table's lock, so that a module is attached before anybody else gets its handle. One that refuses
    // stays open.
    if (entry.dllMain && entry.dllMain(entry.module, kProcessAttach, nullptr) != kAttached) {
        loaderText.append("dllmain returned false");
        return false;
    }
    return true;
}

void *failLoad(const char *text) {
    loaderText.append(text);
    return nullptr;
}

} // namespace

} // namespace zor

using namespace zor;

void *qelLoadLibrary(const char *path, const char **errorText) {
    loaderText.beginFor(errorText);
    if (!path)
        return failWith(kCellInvalid, failLoad("no path"));
    const MutexLock lock(MutexDynamicLibraryList);
    if (!lock)
        return failWith(kCellBusy, failLoad("locked"));
    clearTableOnFirstCall();
    // Kept: by the path's spelling as the table holds it, which is cut; a longer path never finds itself.
    if (qelDynamicLibrary **const loaded =
            findSlot([path](const qelDynamicLibrary *entry) { return entry && std::strcmp(entry->name, path) == 0; })) {
        ++(*loaded)->referenceCount;
        return (*loaded)->module;
    }
    qelDynamicLibrary **const slot = findSlot([](const qelDynamicLibrary *entry) { return !entry; });
    if (!slot)
        return failWith(kCellNoMemory, failLoad("library list full"));
    std::unique_ptr<qelDynamicLibrary> entry(new (std::nothrow) qelDynamicLibrary());
    if (!entry)
        return failLoad("out of memory");
    if (!openLibrary(*entry, path))
        return nullptr;
    entry->referenceCount = 1;
    std::memcpy(entry->name, path, boundedLength(path, kLibraryNameBound));
    void *const module = entry->module;
    exchangeSlot(slot, std::move(entry));
    return module;
}

void *qelLoadLibraryW(const wchar_t *path, const wchar_t **errorText) {
    wideText.beginFor(errorText);
    if (!path) {
        wideText.append(L"no path");
        return failWith<void *>(kCellInvalid, nullptr);
    }
    // Only the conversions are guarded: a thread that ends in the library's own code unwinds through here.
    const std::string narrow = guarded(std::string(), [path] { return utf8Of(path); });
    if (narrow.empty() && *path) { // an empty path would open the program itself
        wideText.append(L"path not convertible");
        return failWith<void *>(kCellInvalid, nullptr);
    }
    const char *narrowText = "";
    void *const module = qelLoadLibrary(narrow.c_str(), &narrowText);
    if (errorText) {
        const std::wstring wide = guarded(std::wstring(), [narrowText] { return wideOf(narrowText); });
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

    const MutexLock lock(MutexDynamicLibraryList);
    if (!lock)
        return failWith(kCellBusy, 0);
    qelDynamicLibrary **const slot = findModule(module); // again: it may have been freed meanwhile
    if (!slot)
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

int32_t qelLoadString(void *module, uint32_t id, char *buffer, int32_t size) {
    const auto loadString = reinterpret_cast<qelLoadStringEntry>(qelGetProcAddress(module, "loadString", nullptr));
    return loadString ? loadString(module, id, buffer, size) : 0;
}

int32_t load_shared_object_image(void **handle, const char *path, char *errorText) {
    if (!handle)
        return 0;
    *handle = dlopen(path, RTLD_LAZY);
    if (*handle)
        return 1;
    if (errorText)
        std::strncat(errorText, lastLoaderMessage(), kErrorTextBound);
    return 0;
}

int32_t unload_shared_object_image(void *handle) {
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
