// The headers' names for what callers compare with, against what the library answers; from C++ and, for the C99
// headers, from C.

#include <zorcomn/zorcomn.h>

#include <cstring>
#include <string>

#include <gtest/gtest.h>

extern "C" const char *wrongConstantInC(void);

TEST(Constants, Version_IsThatOfTheText) {
    EXPECT_EQ(ZORCOMN_VERSION, 40800);
    EXPECT_EQ(ZORCOMN_VERSION, ZORCOMN_VERSION_MAJOR * 10000 + ZORCOMN_VERSION_MINOR * 100 + ZORCOMN_VERSION_PATCH);
}

TEST(Constants, InC_AreWhatTheLibraryAnswers) {
    EXPECT_STREQ(wrongConstantInC(), "");
}

TEST(Constants, InvalidHandle_IsRefusedByTheWait) {
    nErrno = 0;
    EXPECT_EQ(qelWaitForSingleObject(ZORCOMN_INVALID_HANDLE, ZORCOMN_INFINITE), ZORCOMN_WAIT_FAILED);
    EXPECT_EQ(nErrno, ZORCOMN_CELL_REFUSED);
    EXPECT_EQ(qelBeginThread(nullptr, 0, nullptr, nullptr, 0, nullptr), ZORCOMN_INVALID_HANDLE);
}

TEST(Constants, WaitResults_AreTheLayersOwnNumbers) {
    const HANDLE event = qelCreateEvent(nullptr, 1, 1, nullptr);
    EXPECT_EQ(qelWaitForSingleObject(event, ZORCOMN_INFINITE), ZORCOMN_WAIT_SIGNALLED);
    qelResetEvent(event);
    EXPECT_EQ(qelWaitForSingleObject(event, 0), ZORCOMN_WAIT_TIMED_OUT);
    qelCloseHandle(event);
}

TEST(Constants, FailureOfThePlainFamilies_IsTheirs) {
    EXPECT_EQ(qeSO_SELockCreate(nullptr), ZORCOMN_FAILURE);
    qeSELock *lock = nullptr;
    EXPECT_EQ(qeSO_SELockCreate(&lock), ZORCOMN_SUCCESS);
    qeSO_Release(lock);
    EXPECT_EQ(qelcomn_unicode_to_utf8(nullptr, nullptr, nullptr), ZORCOMN_FAILURE);
}

TEST(Constants, AllOnes_IsNoIndexNoPositionNoSize) {
    EXPECT_EQ(qeSO_tls_index, ZORCOMN_ALL_ONES);
    EXPECT_EQ(qelSetFilePointer(nullptr, 0, nullptr, ZORCOMN_FROM_START), ZORCOMN_ALL_ONES);
    EXPECT_EQ(qelGetFileSize(nullptr, nullptr), ZORCOMN_ALL_ONES);
}

TEST(Constants, NotifyEvents_AreTheNumbersCalledWith) {
    EXPECT_EQ(ZORCOMN_LOCK_IS_FREE, 4352u);
    EXPECT_EQ(ZORCOMN_LOCK_IS_WITHDRAWN, 4354u);
}
