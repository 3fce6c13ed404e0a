#pragma once

// As much of GoogleTest as the seam's tests use, for a target that has no C++ library to link: see
// scripts/darwin/run_10_5. Prints one line for each test and ends with the counts.

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace testing {

struct Case {
    const char *name;
    void (*run)();
    Case *next;
};
struct State {
    Case *first = nullptr;
    Case **last = &first;
    bool failed = false;
};
State &state();

class Test {
public:
    virtual ~Test() = default;
    virtual void TestBody() = 0;
};

struct Registration {
    explicit Registration(Case &added) {
        *state().last = &added;
        state().last = &added.next;
    }
};

/** Takes what a check says behind itself; nobody reads it where the check holds. */
class Check {
public:
    Check(bool holds, const char *text, const char *file, int line) : m_holds(holds) {
        if (holds)
            return;
        state().failed = true;
        std::printf("%s:%d: failed: %s ", file, line, text);
    }
    ~Check() {
        if (!m_holds)
            std::printf("\n");
    }
    Check &operator<<(const char *text) {
        if (!m_holds)
            std::printf("%s", text);
        return *this;
    }
    Check &operator<<(const std::string &text) { return *this << text.c_str(); }

private:
    bool m_holds;
};
/** Turns a check into nothing, so that an ASSERT can return it. */
struct Void {
    void operator=(const Check &) const {}
};

/** Whether a child that runs body is ended by a signal, having written text to its standard error. */
template <class Body> bool dies(Body body, std::string text) {
    for (size_t at = 0; (at = text.find('\\', at)) != std::string::npos; ++at)
        text.erase(at, 1); // the tests' patterns are texts with some letters escaped
    int ends[2];
    if (pipe(ends) != 0)
        return false;
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], 2);
        body();
        _exit(0);
    }
    close(ends[1]);
    std::string said;
    char part[256];
    for (ssize_t got; (got = read(ends[0], part, sizeof part)) > 0;)
        said.append(part, static_cast<size_t>(got));
    close(ends[0]);
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFSIGNALED(status) && said.find(text) != std::string::npos;
}

} // namespace testing

#define TEST_F(fixture, test)                                                                                          \
    struct fixture##_##test : fixture {                                                                                \
        void TestBody() override;                                                                                      \
        static void run() {                                                                                            \
            fixture##_##test one;                                                                                      \
            one.TestBody();                                                                                            \
        }                                                                                                              \
    };                                                                                                                 \
    testing::Case fixture##_##test##_case = {#fixture "." #test, fixture##_##test::run, nullptr};                      \
    testing::Registration fixture##_##test##_registration(fixture##_##test##_case);                                    \
    void fixture##_##test::TestBody()

#define EXPECT_TRUE(condition) testing::Check(static_cast<bool>(condition), #condition, __FILE__, __LINE__)
#define EXPECT_FALSE(condition) testing::Check(!(condition), "not " #condition, __FILE__, __LINE__)
#define EXPECT_EQ(left, right) testing::Check((left) == (right), #left " == " #right, __FILE__, __LINE__)
#define EXPECT_STREQ(left, right) testing::Check(std::strcmp(left, right) == 0, #left " == " #right, __FILE__, __LINE__)
#define EXPECT_DEATH(statement, text)                                                                                  \
    testing::Check(testing::dies([&] { statement; }, text), #statement " dies", __FILE__, __LINE__)
#define ASSERT_TRUE(condition)                                                                                         \
    if (!(condition))                                                                                                  \
    return testing::Void() = EXPECT_TRUE(false) << #condition
#define ASSERT_EQ(left, right)                                                                                         \
    if (!((left) == (right)))                                                                                          \
    return testing::Void() = EXPECT_TRUE(false) << #left " == " #right
