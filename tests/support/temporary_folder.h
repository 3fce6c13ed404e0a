#pragma once

// A folder of its own for a test, removed with all it holds at the end.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace zor::test {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "zorcomn-test-XXXXXX").string();
        if (!mkdtemp(name.data()))
            throw std::runtime_error("mkdtemp failed");
        m_path = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    const std::string &path() const { return m_path; }
    /** The path of a name inside the folder. */
    std::string operator/(const std::string &name) const { return m_path + "/" + name; }

    std::string write(const std::string &name, const std::string &content) const {
        const std::string path = *this / name;
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    /** An executable shell script, for a test's PATH. */
    std::string writeScript(const std::string &name, const std::string &body) const {
        const std::string path = write(name, "#!/bin/sh\n" + body + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
        return path;
    }

private:
    std::string m_path;
};

inline std::string readFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace zor::test
