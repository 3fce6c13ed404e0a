// A copy that is cancelled where cancelled threads run no destructors, only the handlers they have pushed: the file
// that copies is compiled without exceptions here, so that unwinding passes it by.

#include "zorcomn/utilities.h"

#include "tests/support/descriptors.h"
#include "tests/support/temporary_folder.h"

#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>

namespace {

using namespace zor::test;

void *copyCancelled(void *folder) {
    const auto &place = *static_cast<const TemporaryFolder *>(folder);
    const std::string source = place / "source", copy = place / "copy";
    pthread_cancel(pthread_self());
    qelcomn_copy_file(source.c_str(), copy.c_str(), 1);
    ADD_FAILURE() << "reading and writing are cancellation points";
    return nullptr;
}

TEST(CopyWithoutUnwinding, Cancelled_LeavesNoDescriptorBehind) {
    const TemporaryFolder folder;
    folder.write("source", std::string(500000, 'x'));
    const size_t before = openDescriptors();
    pthread_t thread;
    void *result = nullptr;
    ASSERT_EQ(pthread_create(&thread, nullptr, copyCancelled, const_cast<TemporaryFolder *>(&folder)), 0);
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(qelcomn_copy_file((folder / "source").c_str(), (folder / "copy").c_str(), 1), 1);
    EXPECT_EQ(readFile(folder / "copy").size(), 500000u);
}

} // namespace
