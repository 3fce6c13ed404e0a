// The exported functions where a program has little: on a thread's narrow stack, before main, while it ends.

#include "zorcomn/lists_locks.h"
#include "zorcomn/portability.h"

#include "tests/package/calls.h"
#include "tests/support/child.h"
#include "tests/support/emulator.h"
#include "tests/support/private_machine.h"
#include "tests/support/sanitized.h"
#include "tests/support/temporary_folder.h"

#include <climits>
#include <cstdlib>
#include <iterator>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

using zor::test::childPasses;
using zor::test::TemporaryFolder;

namespace {

int32_t countDown(int32_t *number) {
    return qelInterlockedDecrement(number);
}

uint32_t waitForThread() {
    const HANDLE thread = qelCreateThread(
        nullptr, 0, [](void *) { return 7u; }, nullptr, 0, nullptr);
    const uint32_t result = qelWaitForSingleObject(thread, 60000);
    qelCloseHandle(thread);
    return result;
}

bool libraryLoads(const char *path) {
    const char *error = nullptr;
    void *const module = qelLoadLibrary(path, &error);
    char text[32];
    qelLoadString(module, 1, text, sizeof text);
    return module && qelGetProcAddress(module, "loadString", &error) && qelFreeLibrary(module) == 1;
}

int32_t lockUsed() {
    qeSELock *lock = nullptr;
    qeSO_SELockCreate(&lock);
    const int32_t taken = qeSO_SELock(lock, 0, 0);
    qeSO_SELockRelease(lock);
    qeSO_Release(lock);
    return taken;
}

/** Makes a folder with a file and a link, copies, searches and deletes. */
int32_t filesUsed() {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", std::string(5000, 'x'));
    qelcomn_copy_file(file.c_str(), (folder / "deep/below/copy").c_str(), 1);
    qelFindData found;
    const int32_t search = qelFindFirstDirEnt((folder / "*").c_str(), &found);
    while (qelFindNextDirEnt(search, &found) == 1) {
    }
    qelFindCloseDirEnt(search);
    char name[300];
    qelGetTempFileName(folder.path().c_str(), "a", 0, name);
    uint32_t size = 0;
    qelcomn_get_file_sizeA(file.c_str(), &size);
    const HANDLE opened = qelCreateFileAW(file.c_str(), 0x80000000u, 0, nullptr, 3, 0, nullptr);
    char bytes[100];
    uint32_t got = 0;
    qelReadFile(opened, bytes, sizeof bytes, &got, nullptr);
    qelCloseHandle(opened);
    return qelcomn_deltree((folder / "deep").c_str());
}

const std::vector<Call> kPortabilityCalls = {
    CALL(waitForThread()),
    CALL(libraryLoads(ZORCOMN_TEST_MODULES "/module_full.so")),
    CALL(libraryLoads("/no/such/library")),
    CALL(lockUsed()),
    CALL(filesUsed()),
    CALL(qelGetTickCount()),
    CALL(qelTlsFree(qelTlsAlloc())),
};

/** Makes all calls there are. */
void makeEveryCall() {
    for (const auto *calls : {&kPortabilityCalls, &kNetworkCalls, &kSessionCalls, &kPropertyCalls, &kUtilityCalls})
        for (const Call &call : *calls)
            call.make();
}

/** In a child on a login database of the test's own. */
::testing::AssertionResult passes(const std::function<void()> &body) {
    return childPasses([&] {
        const TemporaryFolder folder;
        zor::test::writeLoginRecords(folder / "utmp", {{zor::test::kUserProcess, "1", "root", "pts/1"},
                                                       {zor::test::kUserProcess, "2", "no-such-user", "pts/2"}});
        body();
    });
}

constexpr char kEarlyVariable[] = "ZORCOMN_TEST_CALLS_BEFORE_MAIN";

/** Calls before anything of the program or, where it is linked in, of the library is set up. */
struct BeforeMain {
    BeforeMain() {
        if (!std::getenv(kEarlyVariable))
            return;
        int32_t number = 3;
        const bool answers[] = {countDown(&number) == 2,
                                waitForThread() == 2,
                                lockUsed() == 1,
                                filesUsed() == 0,
                                libraryLoads(ZORCOMN_TEST_MODULES "/module_full.so"),
                                listed(true),
                                collected(&ISysProps::GetCPUInformation),
                                usersCollected() < 1000,
                                identify() >= 0,
                                LogInSystemLog(SyslogInfo, "before main"),
                                !getFqdnAddress().empty()};
        int wrong = 0;
        for (size_t i = std::size(answers); i > 0; --i)
            wrong = answers[i - 1] ? wrong : static_cast<int>(i);
        _exit(wrong);
    }
};
const BeforeMain beforeMain __attribute__((init_priority(101)));

constexpr size_t kNarrowBytes = size_t{64} * 1024;

} // namespace

TEST(NarrowStack, EveryCall_FitsInto64KiB) {
    if (zor::test::kIsSanitized)
        GTEST_SKIP() << "a sanitizer needs stack of its own";
    if (static_cast<size_t>(PTHREAD_STACK_MIN) > kNarrowBytes)
        GTEST_SKIP() << "the system allows no such stack";
    EXPECT_TRUE(passes([] {
        pthread_attr_t attributes;
        ASSERT_EQ(pthread_attr_init(&attributes), 0);
        ASSERT_EQ(pthread_attr_setstacksize(&attributes, kNarrowBytes), 0);
        pthread_t thread;
        ASSERT_EQ(pthread_create(
                      &thread, &attributes,
                      [](void *) -> void * {
                          makeEveryCall();
                          return nullptr;
                      },
                      nullptr),
                  0);
        EXPECT_EQ(pthread_join(thread, nullptr), 0);
        pthread_attr_destroy(&attributes);
    }));
}

TEST(EndingProcess, ExitHandler_MayCallEverything) {
    EXPECT_TRUE(passes([] {
        EXPECT_TRUE(childPasses([] {
            std::atexit([] {
                makeEveryCall();
                _exit(0); // here at last: the child's verdict
            });
            std::exit(5);
        }));
    }));
}

TEST(EndingThread, ItsDestructors_MayCallEverything) {
    EXPECT_TRUE(passes([] {
        struct AtTheEnd {
            ~AtTheEnd() { makeEveryCall(); }
        };
        std::thread([] { thread_local const AtTheEnd atTheEnd; }).join();
        static pthread_key_t key;
        ASSERT_EQ(pthread_key_create(&key, [](void *) { makeEveryCall(); }), 0);
        std::thread([] { EXPECT_EQ(pthread_setspecific(key, &key), 0); }).join();
    }));
}

TEST(BeginningProcess, StaticInitialiser_MayCallEverything) {
    const zor::test::ChildResult result = zor::test::runInChild([] {
        setenv(kEarlyVariable, "1", 1);
        std::vector<std::string> words = zor::test::underEmulator({ZORCOMN_THIS_PROGRAM});
        execvp(words[0].c_str(), zor::test::argumentVector(words).data());
        return 1;
    });
    EXPECT_TRUE(result.exited);
    EXPECT_EQ(result.code, 0) << result.output;
}
