// Loading, attaching, looking up and freeing libraries. Every test runs in a child, since the table is process-wide.

#include "zorcomn/portability.h"

#include "source/portability/dynamic_libraries.h"
#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

using namespace zor::test;

constexpr int32_t kUntouched = -7;
constexpr size_t kErrorTextBound = 510;

std::string modulePath(const std::string &name) {
    return std::string(ZORCOMN_TEST_MODULES "/module_") + name + ".so";
}

std::wstring widened(const std::string &ascii) {
    return {ascii.begin(), ascii.end()};
}

bool isOpen(const std::string &path) {
    void *const handle = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

std::ptrdiff_t entriesInTable() {
    return std::count_if(std::begin(pDynamicLibraryList), std::end(pDynamicLibraryList),
                         [](const qelDynamicLibrary *entry) { return entry != nullptr; });
}

using DllMainHook = int32_t (*)(void *, uint32_t, void *);

/** Keeps a module open, so that its hook can be set before it is loaded and outlives its being freed. */
class OpenModule {
public:
    explicit OpenModule(const std::string &path) : m_handle(dlopen(path.c_str(), RTLD_LAZY)) {}
    ~OpenModule() {
        if (m_handle)
            dlclose(m_handle);
    }
    OpenModule(const OpenModule &) = delete;
    OpenModule &operator=(const OpenModule &) = delete;

    void *handle() const { return m_handle; }
    void onDllMain(DllMainHook hook) const { *static_cast<DllMainHook *>(dlsym(m_handle, "onDllMain")) = hook; }

private:
    void *m_handle;
};

struct DllMainCall {
    void *module;
    uint32_t reason;
    void *reserved;
    int lockState;
};
std::vector<DllMainCall> dllMainCalls;
int32_t dllMainResult = 1;

int32_t recordDllMain(void *module, uint32_t reason, void *reserved) {
    const int lockState = pthread_mutex_trylock(&MutexDynamicLibraryList);
    if (lockState == 0)
        pthread_mutex_unlock(&MutexDynamicLibraryList);
    dllMainCalls.push_back({module, reason, reserved, lockState});
    return dllMainResult;
}

TEST(LoadLibrary, SamePathTwice_SameHandleClosedAfterTheSecondFree) {
    EXPECT_TRUE(childPasses([] {
        const std::string path = modulePath("bare");
        const char *text = nullptr;
        void *const first = qelLoadLibrary(path.c_str(), &text);
        ASSERT_NE(first, nullptr) << text;
        EXPECT_STREQ(text, "");
        EXPECT_EQ(qelLoadLibrary(path.c_str(), nullptr), first);
        EXPECT_EQ(entriesInTable(), 1);
        EXPECT_STREQ(pDynamicLibraryList[0]->name, path.c_str());
        EXPECT_EQ(pDynamicLibraryList[0]->module, first);
        EXPECT_EQ(pDynamicLibraryList[0]->dllMain, nullptr);
        EXPECT_EQ(pDynamicLibraryList[0]->referenceCount, 2);
        EXPECT_EQ(pDynamicLibraryList[0]->threadCallsDisabled, 0);
        EXPECT_EQ(qelFreeLibrary(first), 1);
        EXPECT_TRUE(isOpen(path));
        EXPECT_EQ(qelFreeLibrary(first), 1);
        EXPECT_FALSE(isOpen(path));
        EXPECT_EQ(entriesInTable(), 0);
    }));
}

TEST(LoadLibrary, DllMain_IsCalledOnceForEachReasonUnderTheLock_Kept) {
    EXPECT_TRUE(childPasses([] {
        const OpenModule module(modulePath("full"));
        module.onDllMain(recordDllMain);
        dllMainCalls.reserve(8);
        for (int load = 0; load < 3; ++load)
            ASSERT_EQ(qelLoadLibrary(modulePath("full").c_str(), nullptr), module.handle());
        EXPECT_NE(pDynamicLibraryList[0]->dllMain, nullptr);
        ASSERT_EQ(dllMainCalls.size(), 1u);
        for (int load = 0; load < 3; ++load)
            EXPECT_EQ(qelFreeLibrary(module.handle()), 1);
        ASSERT_EQ(dllMainCalls.size(), 2u);
        for (const uint32_t reason : {1u, 0u}) {
            const DllMainCall &call = dllMainCalls[1 - reason];
            EXPECT_EQ(call.module, module.handle());
            EXPECT_EQ(call.reason, reason);
            EXPECT_EQ(call.reserved, nullptr);
            EXPECT_EQ(call.lockState, EBUSY);
        }
    }));
}

TEST(LoadLibrary, DllMainRefusing_FailsAndLeavesTheLibraryOpen_Kept) {
    EXPECT_TRUE(childPasses([] {
        nErrno = kUntouched;
        const char *text = nullptr;
        size_t live;
        {
            const std::string path = modulePath("refusing");
            AllocationScope allocations;
            EXPECT_EQ(qelLoadLibrary(path.c_str(), &text), nullptr);
            live = allocations.live();
        }
        EXPECT_STREQ(text, "dllmain returned false");
        EXPECT_EQ(nErrno, kUntouched);
        EXPECT_EQ(live, 0u);
        EXPECT_EQ(entriesInTable(), 0);
        EXPECT_TRUE(isOpen(modulePath("refusing")));
        EXPECT_EQ(pthread_mutex_trylock(&MutexDynamicLibraryList), 0);
    }));
}

TEST(LoadLibrary, DllMainReturningAnythingBut1_Refuses) {
    EXPECT_TRUE(childPasses([] {
        const OpenModule module(modulePath("dllmain"));
        module.onDllMain(recordDllMain);
        for (const int32_t result : {2, -1, 0}) {
            dllMainResult = result;
            EXPECT_EQ(qelLoadLibrary(modulePath("dllmain").c_str(), nullptr), nullptr) << result;
        }
        EXPECT_EQ(entriesInTable(), 0);
    }));
}

uint32_t reasonToEnd;

int32_t endThread(void *, uint32_t reason, void *) {
    if (reason == reasonToEnd)
        pthread_exit(nullptr);
    return 1;
}

void *loadModule(void *path) {
    return qelLoadLibrary(static_cast<const char *>(path), nullptr);
}

void *freeModule(void *module) {
    qelFreeLibrary(module);
    return module;
}

/** Makes a call on a thread of its own, which must end in it. */
void expectEndIn(void *(*call)(void *), void *argument) {
    pthread_t thread;
    void *result = &thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, call, argument), 0);
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, nullptr) << "the thread came back";
    ASSERT_EQ(pthread_mutex_trylock(&MutexDynamicLibraryList), 0);
    EXPECT_EQ(pthread_mutex_unlock(&MutexDynamicLibraryList), 0);
}

TEST(LoadLibrary, ThreadThatEndsInDllMain_LeavesTheTableFree) {
    EXPECT_TRUE(childPasses([] {
        std::string path = modulePath("dllmain");
        const OpenModule module(path);
        module.onDllMain(endThread);
        reasonToEnd = 1;
        expectEndIn(loadModule, path.data());
        EXPECT_EQ(entriesInTable(), 0);
        reasonToEnd = 0;
        EXPECT_EQ(qelLoadLibrary(path.c_str(), nullptr), module.handle());
        expectEndIn(freeModule, module.handle());
        module.onDllMain(recordDllMain);
        EXPECT_EQ(qelLoadLibrary(path.c_str(), nullptr), module.handle());
        EXPECT_EQ(entriesInTable(), 1) << "the place of what was given back last";
        EXPECT_EQ(qelFreeLibrary(module.handle()), 1);
    }));
}

TEST(LoadLibrary, DetachResult_IsNotLookedAt) {
    EXPECT_TRUE(childPasses([] {
        const OpenModule module(modulePath("dllmain"));
        ASSERT_EQ(qelLoadLibrary(modulePath("dllmain").c_str(), nullptr), module.handle());
        module.onDllMain(recordDllMain);
        dllMainResult = 0;
        EXPECT_EQ(qelFreeLibrary(module.handle()), 1);
        EXPECT_EQ(dllMainCalls.size(), 1u);
        EXPECT_EQ(entriesInTable(), 0);
    }));
}

TEST(LoadLibrary, FiftyFirst_FailsUntilOneIsFreed) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        std::vector<std::string> paths;
        for (int copy = 0; copy < 51; ++copy) {
            paths.push_back(folder / (std::to_string(copy) + ".so"));
            std::filesystem::copy_file(modulePath("bare"), paths.back());
        }
        std::vector<void *> modules;
        for (size_t load = 0; load < 50; ++load) {
            modules.push_back(qelLoadLibrary(paths[load].c_str(), nullptr));
            ASSERT_NE(modules.back(), nullptr) << load;
            EXPECT_EQ(std::count(modules.begin(), modules.end(), modules.back()), 1);
        }
        nErrno = kUntouched;
        const char *text = nullptr;
        EXPECT_EQ(qelLoadLibrary(paths[50].c_str(), &text), nullptr);
        EXPECT_STREQ(text, "library list full");
        EXPECT_EQ(nErrno, 12);
        EXPECT_FALSE(isOpen(paths[50]));
        EXPECT_EQ(qelLoadLibrary(paths[49].c_str(), nullptr), modules[49]) << "a loaded one needs no slot";

        EXPECT_EQ(qelFreeLibrary(modules[7]), 1);
        void *const last = qelLoadLibrary(paths[50].c_str(), &text);
        EXPECT_NE(last, nullptr) << text;
        EXPECT_EQ(pDynamicLibraryList[7]->module, last) << "the first free slot";
        modules[7] = last;
        modules.push_back(modules[49]);
        for (void *module : modules)
            EXPECT_EQ(qelFreeLibrary(module), 1);
        EXPECT_EQ(entriesInTable(), 0);
    }));
}

TEST(LoadLibrary, FailedOpen_GivesTheLoadersMessageAndItsSlotBack) {
    EXPECT_TRUE(childPasses([] {
        const struct {
            std::string path;
            const char *message;
        } kRows[] = {
            {modulePath("unresolved"), "zorcomn_test_missing_data"},
            {modulePath("nowhere"), "module_nowhere"},
            {ZORCOMN_TEST_MODULES, ZORCOMN_TEST_MODULES},
        };
        for (const auto &row : kRows) {
            nErrno = kUntouched;
            const char *text = nullptr;
            size_t live;
            void *module;
            {
                AllocationScope allocations;
                module = qelLoadLibrary(row.path.c_str(), &text);
                live = allocations.live();
            }
            EXPECT_EQ(module, nullptr) << row.path;
            EXPECT_NE(std::strstr(text, row.message), nullptr) << text;
            EXPECT_EQ(live, 0u) << row.path;
            EXPECT_EQ(nErrno, kUntouched);
            EXPECT_EQ(entriesInTable(), 0);
        }
        for (int load = 0; load < 60; ++load) // more than there are slots
            qelLoadLibrary(modulePath("unresolved").c_str(), nullptr);
        EXPECT_NE(qelLoadLibrary(modulePath("bare").c_str(), nullptr), nullptr);
    }));
}

TEST(LoadLibrary, EachCallFailing_SaysSo) {
    EXPECT_TRUE(childPasses([] {
        const struct {
            const char *function;
            int32_t cell;
            const char *text;
        } kRows[] = {{"pthread_mutex_lock", 16, "locked"}, {"operator new", kUntouched, "out of memory"}};
        const std::string path = modulePath("bare");
        for (const auto &row : kRows) {
            nErrno = kUntouched;
            const char *text = nullptr;
            FailingCall failing(row.function);
            EXPECT_EQ(qelLoadLibrary(path.c_str(), &text), nullptr);
            EXPECT_TRUE(failing.wasReached());
            EXPECT_STREQ(text, row.text);
            EXPECT_EQ(nErrno, row.cell);
        }
        EXPECT_FALSE(isOpen(path));
        EXPECT_NE(qelLoadLibrary(path.c_str(), nullptr), nullptr) << "the lock was not given back";
    }));
}

TEST(LoadLibrary, NullPath_IsRefused) {
    EXPECT_TRUE(childPasses([] {
        nErrno = kUntouched;
        EXPECT_EQ(qelLoadLibrary(nullptr, nullptr), nullptr);
        EXPECT_EQ(nErrno, 22);
        nErrno = kUntouched;
        EXPECT_EQ(qelLoadLibraryW(nullptr, nullptr), nullptr);
        EXPECT_EQ(nErrno, 22);
    }));
}

TEST(LoadLibrary, FirstCall_ClearsTheTable) {
    EXPECT_TRUE(childPasses([] {
        qelDynamicLibrary stranger = {};
        pDynamicLibraryList[0] = pDynamicLibraryList[33] = &stranger;
        EXPECT_NE(qelLoadLibrary(modulePath("bare").c_str(), nullptr), nullptr);
        EXPECT_EQ(entriesInTable(), 1);
        EXPECT_NE(pDynamicLibraryList[0], &stranger);
    }));
}

TEST(LoadLibrary, PathOf5000Characters_FailsWithABoundedText) {
    EXPECT_TRUE(childPasses([] {
        const std::string path = "/" + std::string(4999, 'x');
        const char *text = nullptr;
        EXPECT_EQ(qelLoadLibrary(path.c_str(), &text), nullptr);
        EXPECT_EQ(std::strlen(text), kErrorTextBound);
        const wchar_t *wide = nullptr;
        EXPECT_EQ(qelLoadLibraryW(widened(path).c_str(), &wide), nullptr);
        EXPECT_EQ(std::wcslen(wide), kErrorTextBound);
    }));
}

std::string paddedPath(const std::string &folder, const std::string &name, size_t length) {
    return folder + std::string(length - folder.size() - name.size(), '/') + name;
}

TEST(LoadLibrary, PathOf260Characters_FindsItself) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        std::filesystem::copy_file(modulePath("bare"), folder / "bare.so");
        const std::string path = paddedPath(folder.path(), "bare.so", 260);
        void *const module = qelLoadLibrary(path.c_str(), nullptr);
        ASSERT_NE(module, nullptr);
        EXPECT_EQ(qelLoadLibrary(path.c_str(), nullptr), module);
        EXPECT_EQ(entriesInTable(), 1);
    }));
}

TEST(LoadLibrary, PathOver260Characters_IsKnownByItsFirst260_Kept) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        std::filesystem::copy_file(modulePath("full"), folder / "full.so");
        const OpenModule keeper(folder / "full.so");
        keeper.onDllMain(recordDllMain);
        const std::string path = paddedPath(folder.path(), "full.so", 300);
        EXPECT_EQ(qelLoadLibrary(path.c_str(), nullptr), keeper.handle());
        EXPECT_EQ(qelLoadLibrary(path.c_str(), nullptr), keeper.handle());
        EXPECT_EQ(entriesInTable(), 2);
        EXPECT_EQ(dllMainCalls.size(), 2u);
        EXPECT_EQ(std::strlen(pDynamicLibraryList[0]->name), 260u);
        EXPECT_EQ(qelLoadLibrary(path.substr(0, 260).c_str(), nullptr), keeper.handle());
        EXPECT_EQ(pDynamicLibraryList[0]->referenceCount, 2);
        for (int load = 0; load < 3; ++load)
            EXPECT_EQ(qelFreeLibrary(keeper.handle()), 1);
        EXPECT_EQ(entriesInTable(), 0);
        EXPECT_EQ(dllMainCalls.size(), 4u);
    }));
}

TEST(LoadLibraryW, AnyPath_IsLoadedUnderItsNarrowSpelling) {
    EXPECT_TRUE(childPasses([] {
        const TemporaryFolder folder;
        std::filesystem::copy_file(modulePath("bare"), folder / "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80.so");
        const std::wstring path = widened(folder.path()) + L"/gr\u00FC\u00DF \U0001F600.so";
        const wchar_t *text = nullptr;
        void *const module = qelLoadLibraryW(path.c_str(), &text);
        ASSERT_NE(module, nullptr);
        EXPECT_STREQ(text, L"");
        EXPECT_EQ(qelLoadLibrary((folder / "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80.so").c_str(), nullptr), module);
        EXPECT_EQ(qelFreeLibrary(module), 1);
        EXPECT_EQ(qelFreeLibrary(module), 1);
    }));
}

TEST(LoadLibraryW, Failure_GivesTheNarrowTextWidened) {
    EXPECT_TRUE(childPasses([] {
        const wchar_t *wide = nullptr;
        EXPECT_EQ(qelLoadLibraryW(widened(modulePath("refusing")).c_str(), &wide), nullptr);
        EXPECT_STREQ(wide, L"dllmain returned false");
        EXPECT_EQ(qelLoadLibraryW(widened(modulePath("refusing")).c_str(), nullptr), nullptr);
        EXPECT_STREQ(wide, L"") << "cleared, and filled only for a caller who asks";
    }));
}

// An empty path would open the program itself.
// Between the failure and the widening of its reason: another thread's failure, which changes the text of the process.
TEST(LoadLibraryW, AnotherThreadFailingMeanwhile_DoesNotChangeTheReason) {
    EXPECT_TRUE(childPasses([] {
        const AfterCall meanwhile("pthread_mutex_unlock", 1, [] {
            std::thread([] { EXPECT_EQ(qelLoadLibrary("/nowhere/others.so", nullptr), nullptr); }).join();
        });
        const wchar_t *text = nullptr;
        EXPECT_EQ(qelLoadLibraryW(L"/nowhere/own.so", &text), nullptr);
        EXPECT_TRUE(meanwhile.wasReached());
        ASSERT_NE(text, nullptr);
        EXPECT_NE(std::wcsstr(text, L"/nowhere/own.so"), nullptr) << text;
        EXPECT_EQ(std::wcsstr(text, L"others"), nullptr) << text;
    }));
}

TEST(LoadLibraryW, PathOfWhichNothingConverts_IsRefused) {
    EXPECT_TRUE(childPasses([] {
        const wchar_t path[] = {static_cast<wchar_t>(0xD800), L'x', 0}; // a surrogate
        nErrno = kUntouched;
        EXPECT_EQ(qelLoadLibraryW(path, nullptr), nullptr);
        EXPECT_EQ(nErrno, 22);
        nErrno = kUntouched;
        const std::wstring real = widened(modulePath("bare"));
        FailingCall failing("operator new");
        EXPECT_EQ(qelLoadLibraryW(real.c_str(), nullptr), nullptr);
        EXPECT_TRUE(failing.wasReached());
        EXPECT_EQ(entriesInTable(), 0);
    }));
}

TEST(GetProcAddress, Symbol_IsFoundOrExplained) {
    EXPECT_TRUE(childPasses([] {
        const OpenModule module(modulePath("bare"));
        const char *text = nullptr;
        void *const address = qelGetProcAddress(module.handle(), "answer", &text);
        ASSERT_NE(address, nullptr);
        EXPECT_STREQ(text, "");
        EXPECT_EQ(reinterpret_cast<int32_t (*)()>(address)(), 42);
        EXPECT_EQ(qelGetProcAddress(module.handle(), "question", &text), nullptr);
        EXPECT_NE(std::strstr(text, "question"), nullptr) << text;
        const std::string longSymbol(5000, 'q');
        EXPECT_EQ(qelGetProcAddress(module.handle(), longSymbol.c_str(), &text), nullptr);
        EXPECT_EQ(std::strlen(text), kErrorTextBound);
        EXPECT_EQ(qelGetProcAddress(module.handle(), "answer", nullptr), address);
        EXPECT_STREQ(text, "");
        nErrno = kUntouched;
        EXPECT_EQ(qelGetProcAddress(module.handle(), nullptr, &text), nullptr);
        EXPECT_EQ(nErrno, 22);
    }));
}

TEST(LoadLibrary, ErrorText_IsOneForTheProcess_Kept) {
    EXPECT_TRUE(childPasses([] {
        const char *first = nullptr;
        EXPECT_EQ(qelLoadLibrary(nullptr, &first), nullptr);
        EXPECT_STREQ(first, "no path");
        std::thread([&] {
            const char *second = nullptr;
            EXPECT_EQ(qelLoadLibrary(modulePath("refusing").c_str(), &second), nullptr);
            EXPECT_EQ(second, first);
        }).join();
        EXPECT_STREQ(first, "dllmain returned false") << "overwritten by another thread";
        EXPECT_NE(qelLoadLibrary(modulePath("bare").c_str(), nullptr), nullptr);
        EXPECT_STREQ(first, "") << "cleared by a call that does not ask for it";
    }));
}

TEST(GetProcAddress, ErrorText_IsNotTheLoaders) {
    EXPECT_TRUE(childPasses([] {
        const char *loaderText = nullptr;
        const char *symbolText = nullptr;
        EXPECT_EQ(qelLoadLibrary(modulePath("refusing").c_str(), &loaderText), nullptr);
        const OpenModule module(modulePath("bare"));
        qelGetProcAddress(module.handle(), "question", &symbolText);
        EXPECT_NE(loaderText, symbolText);
        EXPECT_STREQ(loaderText, "dllmain returned false");
    }));
}

TEST(FreeLibrary, UnknownModule_IsRefused) {
    EXPECT_TRUE(childPasses([] {
        const OpenModule notLoaded(modulePath("bare"));
        for (void *module : {static_cast<void *>(nullptr), notLoaded.handle()}) {
            nErrno = kUntouched;
            EXPECT_EQ(qelFreeLibrary(module), 0);
            EXPECT_EQ(nErrno, 22);
        }
    }));
}

// The table's lock is held; the answer must come all the same.
TEST(FreeLibrary, UnknownModule_IsRefusedWithoutTheLock_Kept) {
    EXPECT_TRUE(childPasses([] {
        pthread_mutex_lock(&MutexDynamicLibraryList);
        nErrno = kUntouched;
        EXPECT_EQ(qelFreeLibrary(&nErrno), 0);
        EXPECT_EQ(nErrno, 22);
    }));
}

TEST(FreeLibrary, TableLockFailing_ReturnsZeroWithCell16) {
    EXPECT_TRUE(childPasses([] {
        void *const module = qelLoadLibrary(modulePath("bare").c_str(), nullptr);
        nErrno = kUntouched;
        {
            FailingCall failing("pthread_mutex_lock", 2); // the first one is the scan's own
            EXPECT_EQ(qelFreeLibrary(module), 0);
            EXPECT_TRUE(failing.wasReached());
        }
        EXPECT_EQ(nErrno, 16);
        EXPECT_EQ(qelFreeLibrary(module), 1);
    }));
}

TEST(FreeLibrary, UnloadFailing_ReturnsZeroAndForgetsTheModule) {
    EXPECT_TRUE(childPasses([] {
        const std::string path = modulePath("bare");
        size_t live;
        {
            AllocationScope allocations;
            void *const module = qelLoadLibrary(path.c_str(), nullptr);
            FailingCall failing("dlclose");
            EXPECT_EQ(qelFreeLibrary(module), 0);
            EXPECT_TRUE(failing.wasReached());
            live = allocations.live();
        }
        EXPECT_EQ(live, 0u);
        EXPECT_EQ(entriesInTable(), 0);
    }));
}

// Between looking for the module and taking the lock, somebody else frees it.
TEST(FreeLibrary, FreedMeanwhile_IsRefused) {
    EXPECT_TRUE(childPasses([] {
        void *const module = qelLoadLibrary(modulePath("bare").c_str(), nullptr);
        int32_t other = 0;
        AfterCall scanned("pthread_mutex_unlock", 1, [&] { other = qelFreeLibrary(module); });
        nErrno = kUntouched;
        EXPECT_EQ(qelFreeLibrary(module), 0);
        EXPECT_TRUE(scanned.wasReached());
        EXPECT_EQ(other, 1);
        EXPECT_EQ(nErrno, 22);
    }));
}

TEST(LoadString, Module_AnswersItself) {
    EXPECT_TRUE(childPasses([] {
        char buffer[64] = "untouched";
        const OpenModule bare(modulePath("bare"));
        EXPECT_EQ(qelLoadString(bare.handle(), 7, buffer, sizeof buffer), 0);
        EXPECT_STREQ(buffer, "untouched");
        for (const char *name : {"strings", "full"}) {
            const OpenModule module(modulePath(name));
            char expected[64];
            const int length = std::snprintf(expected, sizeof expected, "string 4000000000 of %p", module.handle());
            EXPECT_EQ(qelLoadString(module.handle(), 4000000000u, buffer, sizeof buffer), length);
            EXPECT_STREQ(buffer, expected);
            EXPECT_EQ(qelLoadString(module.handle(), 1, buffer, 4), static_cast<int32_t>(length - 9));
            EXPECT_STREQ(buffer, "str");
        }
    }));
}

// To the system null stands for every module that is loaded globally.
TEST(LoadString, NullModule_IsRefused) {
    EXPECT_TRUE(childPasses([] {
        ASSERT_NE(dlopen(modulePath("strings").c_str(), RTLD_LAZY | RTLD_GLOBAL), nullptr);
        char buffer[64] = "as it was";
        nErrno = kUntouched;
        EXPECT_EQ(qelLoadString(nullptr, 7, buffer, sizeof buffer), 0);
        EXPECT_STREQ(buffer, "as it was");
        EXPECT_EQ(nErrno, kUntouched);
    }));
}

TEST(DisableThreadLibraryCalls, FirstEntryOfTheModule_IsMarked) {
    EXPECT_TRUE(childPasses([] {
        EXPECT_EQ(qelDisableThreadLibraryCalls(nullptr), 0);
        const OpenModule notLoaded(modulePath("strings"));
        EXPECT_EQ(qelDisableThreadLibraryCalls(notLoaded.handle()), 0);
        void *const module = qelLoadLibrary(modulePath("bare").c_str(), nullptr);
        const std::string otherSpelling = ZORCOMN_TEST_MODULES "//module_bare.so";
        ASSERT_EQ(qelLoadLibrary(otherSpelling.c_str(), nullptr), module);
        EXPECT_EQ(qelDisableThreadLibraryCalls(module), 1);
        EXPECT_EQ(pDynamicLibraryList[0]->threadCallsDisabled, 1);
        EXPECT_EQ(pDynamicLibraryList[1]->threadCallsDisabled, 0);
    }));
}

std::vector<int32_t> disableResults;
int32_t disableOwnCalls(void *module, uint32_t, void *) {
    disableResults.push_back(qelDisableThreadLibraryCalls(module));
    return 1;
}

// While it is being attached a module is not in the table yet; while it is being detached it still is.
TEST(DisableThreadLibraryCalls, FromDllMain_AnswersAtOnce) {
    EXPECT_TRUE(childPasses([] {
        const OpenModule module(modulePath("dllmain"));
        module.onDllMain(disableOwnCalls);
        ASSERT_EQ(qelLoadLibrary(modulePath("dllmain").c_str(), nullptr), module.handle());
        EXPECT_EQ(pDynamicLibraryList[0]->threadCallsDisabled, 0);
        EXPECT_EQ(qelFreeLibrary(module.handle()), 1);
        EXPECT_EQ(disableResults, (std::vector<int32_t>{0, 1}));
    }));
}

TEST(SharedObjectImage, OpenedAndClosed) {
    void *handle = nullptr;
    char text[600] = "before";
    ASSERT_EQ(load_shared_object_image(&handle, modulePath("bare").c_str(), text), 1);
    EXPECT_STREQ(text, "before");
    EXPECT_EQ(unload_shared_object_image(handle), 1);
    EXPECT_FALSE(isOpen(modulePath("bare")));
}

TEST(SharedObjectImage, Failure_AppendsAtMost510Characters) {
    void *handle = &handle;
    char text[1024] = "before: ";
    EXPECT_EQ(load_shared_object_image(&handle, "/nowhere/nothing", text), 0);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(std::strncmp(text, "before: ", 8), 0) << text;
    EXPECT_NE(std::strstr(text, "/nowhere/nothing"), nullptr) << text << ": the loader's own words";
    std::strcpy(text, "before: ");
    EXPECT_EQ(load_shared_object_image(&handle, ("/" + std::string(4999, 'x')).c_str(), text), 0);
    EXPECT_EQ(std::strlen(text), std::strlen("before: ") + kErrorTextBound);
}

TEST(SharedObjectImage, NullArguments_AreRefused) {
    void *handle = nullptr;
    EXPECT_EQ(load_shared_object_image(nullptr, modulePath("bare").c_str(), nullptr), 0);
    EXPECT_EQ(load_shared_object_image(&handle, "/nowhere/nothing", nullptr), 0);
    EXPECT_EQ(unload_shared_object_image(nullptr), 0);
}

TEST(SharedObjectImage, UnloadFailing_ReturnsZero) {
    FailingCall failing("dlclose");
    EXPECT_EQ(unload_shared_object_image(&nErrno), 0);
    EXPECT_TRUE(failing.wasReached());
}

} // namespace
