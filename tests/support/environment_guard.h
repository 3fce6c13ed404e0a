#pragma once

// Sets or removes an environment variable for the life of a test and puts back what was there.

#include <cstdlib>
#include <optional>
#include <string>

namespace zor::test {

class EnvironmentGuard {
public:
    EnvironmentGuard(const char *name, std::optional<std::string> value) : m_name(name) {
        if (const char *before = std::getenv(name))
            m_before = before;
        assign(value);
    }
    ~EnvironmentGuard() { assign(m_before); }
    EnvironmentGuard(const EnvironmentGuard &) = delete;
    EnvironmentGuard &operator=(const EnvironmentGuard &) = delete;

private:
    void assign(const std::optional<std::string> &value) {
        if (value)
            setenv(m_name.c_str(), value->c_str(), 1);
        else
            unsetenv(m_name.c_str());
    }

    std::string m_name;
    std::optional<std::string> m_before;
};

} // namespace zor::test
