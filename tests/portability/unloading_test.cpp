// The built library, opened and closed as a plug-in host does: it stays mapped, since a thread whose handle is
// signalled still runs its last instructions there.

#include "zorcomn/portability.h"

#include "tests/support/child.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

using zor::test::childPasses;

uint32_t returnAtOnce(void *) {
    return 0;
}

template <class Function> Function *lookUp(void *library, const char *name) {
    return reinterpret_cast<Function *>(dlsym(library, name));
}

void startWaitAndClose(void *library) {
    const auto begin = lookUp<decltype(qelBeginThread)>(library, "qelBeginThread");
    const auto wait = lookUp<decltype(qelWaitForSingleObject)>(library, "qelWaitForSingleObject");
    const auto close = lookUp<decltype(qelCloseHandle)>(library, "qelCloseHandle");
    ASSERT_TRUE(begin && wait && close);
    const HANDLE thread = begin(nullptr, 0, returnAtOnce, nullptr, 0, nullptr);
    EXPECT_EQ(wait(thread, 0xFFFFFFFFu), 2u);
    EXPECT_EQ(close(thread), 1);
}

TEST(Unloading, Library_StaysMapped) {
    EXPECT_TRUE(childPasses([] {
        void *const library = dlopen(ZORCOMN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        startWaitAndClose(library);
        EXPECT_EQ(dlclose(library), 0);
        EXPECT_NE(dlopen(ZORCOMN_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
    }));
}

TEST(Unloading, RightAfterAThreadsEnd_HarmsNobody) {
    EXPECT_TRUE(childPasses([] {
        for (int round = 0; round < 100; ++round) {
            void *const library = dlopen(ZORCOMN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
            ASSERT_NE(library, nullptr) << dlerror();
            startWaitAndClose(library);
            EXPECT_EQ(dlclose(library), 0);
        }
    }));
}

} // namespace
