#include "zorcomn/utilities.h"

#include "tests/support/child.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <iterator>
#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

std::string modulePath(const std::string &name) {
    return ZORCOMN_TEST_MODULES "/module_" + name + ".so";
}

using Maker = int32_t (*)(const char *, char *, uint32_t);
constexpr Maker kMakers[] = {qelcomn_GetFileResourceStringVersionStamp, qelcomn_GetFileResourceVersionStamp};

/** A maker's result and the whole buffer of 40 bytes, those beyond size expected to be untouched. */
std::pair<int32_t, std::string> made(Maker maker, const std::string &path, uint32_t size) {
    std::string buffer(40, '#');
    const int32_t result = maker(path.c_str(), buffer.data(), size);
    EXPECT_EQ(buffer.substr(size), std::string(40 - size, '#')) << path << ' ' << size;
    EXPECT_EQ(dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD), nullptr) << "still loaded: " << path;
    EXPECT_TRUE(std::all_of(std::begin(pDynamicLibraryList), std::end(pDynamicLibraryList),
                            [](const qelDynamicLibrary *library) { return !library; }));
    return {result, buffer.substr(0, size)};
}

std::string zeroFilled(std::string text, uint32_t size) {
    text.resize(size);
    return text;
}

TEST(VersionStamp, GoodModule_TellsItsVersion) {
    EXPECT_EQ(made(kMakers[0], modulePath("version"), 40), std::pair(1, zeroFilled("4.8.0.1234", 40)));
    EXPECT_EQ(made(kMakers[1], modulePath("version"), 40), std::pair(1, zeroFilled("00040008000004d2", 40)));
}

TEST(VersionStamp, LargeNumbers_AreUnsigned) {
    EXPECT_EQ(made(kMakers[0], modulePath("high_version"), 40).second, zeroFilled("65535.8.0.1234", 40));
    EXPECT_EQ(made(kMakers[1], modulePath("high_version"), 40).second, zeroFilled("ffff0008000004d2", 40));
}

TEST(VersionStamp, SmallBuffer_GetsABoundedCopyWithoutTerminator_Kept) {
    const std::string texts[] = {"4.8.0.1234", "00040008000004d2"};
    for (size_t i = 0; i < 2; ++i)
        for (uint32_t size = 0; size <= 20; ++size)
            EXPECT_EQ(made(kMakers[i], modulePath("version"), size), std::pair(1, zeroFilled(texts[i], size))) << size;
}

TEST(VersionStamp, ModuleWithoutAnAnswer_LeavesTheBufferZeroed) {
    const zor::test::TemporaryFolder folder;
    const std::string paths[] = {modulePath("secretive"), modulePath("bare"), modulePath("unresolved"),
                                 modulePath("missing"), folder.write("text.so", "no module")};
    for (const Maker maker : kMakers)
        for (const std::string &path : paths)
            for (const uint32_t size : {0u, 1u, 40u})
                EXPECT_EQ(made(maker, path, size), std::pair(0, zeroFilled("", size))) << path;
}

// In a child, since the loader leaves such a library open.
TEST(VersionStamp, ModuleThatDoesNotWantToBeLoaded_LeavesTheBufferZeroed) {
    EXPECT_TRUE(zor::test::childPasses([] {
        for (const Maker maker : kMakers) {
            char buffer[] = "####";
            EXPECT_EQ(maker(modulePath("refusing").c_str(), buffer, 4), 0);
            EXPECT_EQ(std::string(buffer, 4), std::string(4, '\0'));
        }
    }));
}

TEST(VersionStamp, Null_IsRefused) {
    for (const Maker maker : kMakers) {
        char buffer[] = "####";
        EXPECT_EQ(maker(nullptr, buffer, 4), 0);
        EXPECT_EQ(std::string(buffer, 4), std::string(4, '\0')) << "zeroed all the same";
        EXPECT_EQ(maker(modulePath("version").c_str(), nullptr, 4), 0);
    }
}

} // namespace
