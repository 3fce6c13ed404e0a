#include "zorcomn/utilities.h"

#include "tests/support/child.h"
#include "tests/support/failing_calls.h"
#include "tests/support/temporary_folder.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

using velmora_com::vta::FileNameResolver;
using zor::test::childPasses;
using zor::test::TemporaryFolder;

namespace {

constexpr uint32_t kFailure = 0x80000008;

using Result = std::optional<std::string>;

Result resolved(const std::string &path) {
    std::string absolute = "before";
    const int32_t success = FileNameResolver(path).GetAbsolutePath(absolute);
    EXPECT_TRUE(success == 0 || success == 1) << success;
    if (success)
        return absolute;
    EXPECT_EQ(absolute, "before");
    return std::nullopt;
}

class Resolver : public ::testing::Test {
protected:
    Resolver() { m_folder.write("file", "content"); }
    void link(const std::string &text, const std::string &name) const {
        ASSERT_EQ(symlink(text.c_str(), (m_folder / name).c_str()), 0) << name;
    }
    void directory(const std::string &name) const { ASSERT_EQ(mkdir((m_folder / name).c_str(), 0700), 0) << name; }

    TemporaryFolder m_folder;
};

TEST_F(Resolver, RegularFile_IsItsFlatPath) {
    EXPECT_EQ(resolved(m_folder / "file"), m_folder / "file");
    EXPECT_EQ(resolved(m_folder / "./x/../file/"), m_folder / "file") << "x need not exist: the text decides";
}

TEST_F(Resolver, RelativePath_StandsAgainstTheWorkingDirectory) {
    EXPECT_TRUE(childPasses([this] {
        ASSERT_EQ(chdir(m_folder.path().c_str()), 0);
        char buffer[1024];
        ASSERT_NE(getcwd(buffer, sizeof buffer), nullptr);
        EXPECT_EQ(resolved("file"), buffer + std::string("/file"));
    }));
}

TEST_F(Resolver, WhatIsNoFile_DoesNotResolve) {
    directory("sub");
    ASSERT_EQ(mkfifo((m_folder / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(resolved(m_folder / "missing"), std::nullopt);
    EXPECT_EQ(resolved(m_folder / "sub"), std::nullopt);
    EXPECT_EQ(resolved(m_folder / "fifo"), std::nullopt);
    EXPECT_EQ(resolved("/dev/null"), std::nullopt);
    EXPECT_EQ(resolved(m_folder / "file/below"), std::nullopt);
    EXPECT_EQ(resolved("/.."), std::nullopt);
    EXPECT_EQ(resolved("/"), std::nullopt);
    EXPECT_EQ(resolved(""), std::nullopt);
    EXPECT_EQ(resolved(m_folder.path() + std::string("/file\0x", 7)), std::nullopt) << "a zero byte names no file";
}

TEST_F(Resolver, Links_LeadToTheirFile) {
    directory("sub");
    link("file", "relative");
    link(m_folder / "file", "absolute");
    link("../file", "sub/up");
    link("./sub/.././/file", "roundabout");
    link("b", "a");
    link("file", "b");
    link("sub/up", "down");
    EXPECT_EQ(resolved(m_folder / "relative"), m_folder / "file");
    EXPECT_EQ(resolved(m_folder / "absolute"), m_folder / "file");
    EXPECT_EQ(resolved(m_folder / "sub/up"), m_folder / "file");
    EXPECT_EQ(resolved(m_folder / "roundabout"), m_folder / "/file") << "a double separator stays";
    EXPECT_EQ(resolved(m_folder / "a"), m_folder / "file");
    EXPECT_EQ(resolved(m_folder / "down"), m_folder / "file");
}

TEST_F(Resolver, LinkedFolderOnTheWay_StaysInThePath) {
    directory("sub");
    m_folder.write("sub/inner", "content");
    link("sub", "folder");
    link("folder/inner", "through");
    EXPECT_EQ(resolved(m_folder / "folder/inner"), m_folder / "folder/inner");
    EXPECT_EQ(resolved(m_folder / "through"), m_folder / "folder/inner");
}

TEST_F(Resolver, LinkThatEndsAtNoFile_DoesNotResolve) {
    directory("sub");
    link("sub", "toFolder");
    link("toFolder", "toFolderTwice");
    link("missing", "dangling");
    link("/dev/null", "device");
    link("../../../../../../../../../../../../../../../file", "aboveTheRoot");
    link("/", "toTheRoot");
    for (const char *name : {"toFolder", "toFolderTwice", "dangling", "device", "aboveTheRoot", "toTheRoot"})
        EXPECT_EQ(resolved(m_folder / name), std::nullopt) << name;
}

TEST_F(Resolver, ChainOfAnyLength_IsFollowed_Kept) {
    std::string before = "file";
    for (int i = 0; i < 200; ++i) {
        const std::string name = "link" + std::to_string(i);
        link(before, name);
        before = name;
    }
    EXPECT_EQ(resolved(m_folder / before), m_folder / "file");
}

TEST_F(Resolver, LinkText_CountsUpTo1023Characters) {
    const auto padded = [](size_t length) { // "././././file"
        std::string text = length % 2 ? ".//" : "./";
        while (text.size() + 4 < length)
            text += "./";
        return text + "file";
    };
    ASSERT_EQ(padded(1023).size(), 1023u);
    ASSERT_EQ(padded(1024).size(), 1024u);
    link(padded(1023), "fits");
    link(padded(1024), "tooLong");
    m_folder.write("fil", "what the cut text would name");
    EXPECT_NE(resolved(m_folder / "fits"), std::nullopt);
    EXPECT_EQ(resolved(m_folder / "tooLong"), std::nullopt) << "refused, not cut";
}

// Each in a child with a deadline, since what must not happen is that the call never comes back.
TEST_F(Resolver, LoopOfLinks_EndsWithoutAFile) {
    directory("sub");
    link("self", "self");
    link("two", "one");
    link("one", "two");
    link("ring1", "tail"); // a tail that leads into a ring of three
    link("ring2", "ring1");
    link("ring3", "ring2");
    link("ring1", "ring3");
    link("sub/../again", "again");
    link(".", "sub/dot");
    link("dot/growing", "sub/growing"); // sub/dot/growing, sub/dot/dot/growing, ... until the system refuses
    for (const char *name : {"self", "one", "two", "tail", "ring2", "again", "sub/growing"})
        EXPECT_TRUE(childPasses([&] { EXPECT_EQ(resolved(m_folder / name), std::nullopt); }, 20)) << name;
}

TEST_F(Resolver, RelativeLinkInTheRoot_StandsAgainstTheWorkingDirectory_Kept) {
    directory("work");
    m_folder.write("work/file", "content");
    link("file", "link");
    ZORCOMN_SKIP_WITHOUT_NAMESPACES();
    EXPECT_TRUE(childPasses([this] {
        ASSERT_TRUE(zor::test::enterPrivateMounts());
        ASSERT_EQ(chroot(m_folder.path().c_str()), 0);
        ASSERT_EQ(chdir("/work"), 0);
        EXPECT_EQ(resolved("/link"), "/work//file");
        EXPECT_EQ(resolved("/file"), "/file");
    }));
}

TEST_F(Resolver, LinkThatCannotBeRead_DoesNotResolveAndLeavesErrno) {
    link("file", "link");
    const std::string path = m_folder / "link";
    const zor::test::FailingCall failing("readlink", 1, EIO);
    EXPECT_EQ(resolved(path), std::nullopt);
    EXPECT_EQ(errno, EIO);
    EXPECT_TRUE(failing.wasReached());
}

TEST_F(Resolver, NoMemory_IsAFailureAndLosesNothing) {
    link("file", "link");
    const std::string path = m_folder / "link";
    bool wasReached = true;
    for (int nth = 1; wasReached; ++nth) {
        char buffer[1024] = "#";
        uint32_t size = sizeof buffer;
        void *resolver = nullptr;
        uint32_t created;
        uint32_t got = kFailure;
        size_t left;
        {
            const zor::test::AllocationScope allocations;
            const zor::test::FailingCall failing("operator new", nth);
            created = qelcomn_filenameresolver_create(path.c_str(), &resolver);
            wasReached = failing.wasReached();
            got = qelcomn_filenameresolver_get_absolute_filename(resolver, buffer, &size);
            qelcomn_filenameresolver_destroy(resolver);
            left = allocations.live();
        }
        EXPECT_EQ(left, 0u) << nth;
        EXPECT_EQ(created, wasReached ? kFailure : 0) << nth;
        EXPECT_EQ(resolver == nullptr, wasReached) << nth << ": the caller's pointer stays on failure";
        EXPECT_EQ(got, wasReached ? kFailure : 0) << nth;
        EXPECT_EQ(buffer, wasReached ? "#" : m_folder / "file") << nth;
    }
}

/** The flat form's handle, destroyed at the end. */
class Handle {
public:
    explicit Handle(const std::string &path) {
        EXPECT_EQ(qelcomn_filenameresolver_create(path.c_str(), &m_resolver), 0u);
    }
    ~Handle() { EXPECT_EQ(qelcomn_filenameresolver_destroy(m_resolver), 0u); }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
    void *get() const { return m_resolver; }

private:
    void *m_resolver = nullptr;
};

TEST_F(Resolver, FlatForm_TellsTheSizeNeeded) {
    const std::string path = m_folder / "file";
    const auto needed = static_cast<uint32_t>(path.size() + 1);
    const Handle resolver(path);
    std::string buffer(needed + 1, '#');
    for (const uint32_t tooSmall : {0u, 1u, needed - 1}) {
        uint32_t size = tooSmall;
        EXPECT_EQ(qelcomn_filenameresolver_get_absolute_filename(resolver.get(), buffer.data(), &size), kFailure);
        EXPECT_EQ(size, needed);
        EXPECT_EQ(buffer, std::string(needed + 1, '#'));
    }
    for (const uint32_t enough : {needed, needed + 1, UINT32_MAX}) {
        buffer.assign(needed + 1, '#');
        uint32_t size = enough;
        EXPECT_EQ(qelcomn_filenameresolver_get_absolute_filename(resolver.get(), buffer.data(), &size), 0u);
        EXPECT_EQ(size, needed);
        EXPECT_STREQ(buffer.c_str(), path.c_str());
        EXPECT_EQ(buffer[needed], '#');
    }
}

TEST_F(Resolver, FlatForm_UnresolvedPathShowsInTheGetOperation) {
    const Handle resolver(m_folder / "missing");
    ASSERT_NE(resolver.get(), nullptr);
    char buffer[8] = "#";
    uint32_t size = 5;
    EXPECT_EQ(qelcomn_filenameresolver_get_absolute_filename(resolver.get(), buffer, &size), kFailure);
    EXPECT_EQ(size, 5u);
    EXPECT_STREQ(buffer, "#");
}

TEST_F(Resolver, FlatForm_NullArguments) {
    void *created = this;
    EXPECT_EQ(qelcomn_filenameresolver_create(nullptr, &created), kFailure);
    EXPECT_EQ(created, this);
    EXPECT_EQ(qelcomn_filenameresolver_create("/x", nullptr), kFailure);
    const Handle resolver(m_folder / "file");
    char buffer[1024] = "#";
    uint32_t size = sizeof buffer;
    EXPECT_EQ(qelcomn_filenameresolver_get_absolute_filename(nullptr, buffer, &size), kFailure);
    EXPECT_EQ(qelcomn_filenameresolver_get_absolute_filename(resolver.get(), nullptr, &size), kFailure);
    EXPECT_EQ(qelcomn_filenameresolver_get_absolute_filename(resolver.get(), buffer, nullptr), kFailure);
    EXPECT_EQ(size, sizeof buffer);
    EXPECT_STREQ(buffer, "#");
    EXPECT_EQ(qelcomn_filenameresolver_destroy(nullptr), 0u);
}

} // namespace
