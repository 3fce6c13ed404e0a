#pragma once

// A machine whose files a test makes up: in a forked child, a mount namespace of its own holds made files at their real
// paths. Nothing of it is left when the child ends.

#include <string>
#include <vector>

namespace zor::test {

/** For a child only (see child.h), where mayUseNamespaces(). */
class PrivateMachine {
public:
    /** Enters the namespace. */
    PrivateMachine();

    /** Whether everything so far could be made. */
    bool isReady() const { return m_ready; }
    /** Puts a file with this content at an absolute path. One that does not exist yet has to be placed before others
     * of its folder: the whole folder is made anew for it. */
    void place(const std::string &path, const std::string &content, unsigned int mode = 0644);
    void placeScript(const std::string &path, const std::string &body);
    /** Shows what is at other - a device, a pipe - at a path too; the path's own file is made where there is none. */
    void show(const std::string &other, const std::string &path);
    /** Puts an empty folder in the place of one. */
    void empty(const std::string &folder);
    /** Makes the whole tree writable for this child: from here on, any file or folder may be made anywhere, and nothing
     * of it reaches the disk. Other file systems than the root's are left out, but for /proc and /dev. */
    void makeRootWritable();
    /** The path of a name in a folder that only this child sees. */
    std::string scratch(const std::string &name) const;

private:
    std::string fresh(const char *kind);
    void overlay(const std::string &folder, const std::string &target);
    bool mirror(const std::string &folder, const std::string &target);

    bool m_ready;
    int m_count = 0;
};

struct LoginRecord {
    short type;
    std::string id, user, line; // as many bytes as the record's fields hold; none are added
};
constexpr short kUserProcess = 7;

/** Writes a login database; the records' ids must differ. Afterwards this process reads that database. */
void writeLoginRecords(const std::string &path, const std::vector<LoginRecord> &records);

} // namespace zor::test
