#include "tests/support/private_machine.h"

#include "tests/support/child.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utmpx.h>

namespace zor::test {

namespace {

constexpr char kScratch[] = "/mnt";

bool writeFile(const std::string &path, const std::string &content, unsigned int mode) {
    std::ofstream(path, std::ios::binary) << content;
    return chmod(path.c_str(), static_cast<mode_t>(mode)) == 0;
}

template <size_t size> void fill(char (&field)[size], const std::string &text) {
    std::memcpy(field, text.data(), std::min(size, text.size()));
}

} // namespace

PrivateMachine::PrivateMachine() : m_ready(enterPrivateMounts() && mount("none", kScratch, "tmpfs", 0, nullptr) == 0) {}

std::string PrivateMachine::scratch(const std::string &name) const {
    return std::string(kScratch) + "/" + name;
}

std::string PrivateMachine::fresh(const char *kind) {
    return scratch(kind + std::to_string(m_count++));
}

void PrivateMachine::place(const std::string &path, const std::string &content, unsigned int mode) {
    if (access(path.c_str(), F_OK) == 0) {
        const std::string file = fresh("file");
        m_ready = m_ready && writeFile(file, content, mode) &&
                  mount(file.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) == 0;
        return;
    }
    const std::string folder = path.substr(0, path.rfind('/'));
    overlay(folder, folder);
    m_ready = m_ready && writeFile(path, content, mode);
}

/** Shows a folder at target, with changes that go into memory. */
void PrivateMachine::overlay(const std::string &folder, const std::string &target) {
    const std::string upper = fresh("upper"), work = fresh("work");
    const std::string options = "lowerdir=" + folder + ",upperdir=" + upper + ",workdir=" + work;
    m_ready = m_ready && mkdir(upper.c_str(), 0755) == 0 && mkdir(work.c_str(), 0755) == 0 &&
              (mount("none", target.c_str(), "overlay", 0, options.c_str()) == 0 || mirror(folder, target));
}

/** overlay where the kernel refuses one, as it does to an ordinary user over mounts of the machine's: each entry is
 * bound in a folder in memory. */
bool PrivateMachine::mirror(const std::string &folder, const std::string &target) {
    const std::filesystem::path made = fresh("mirror");
    std::error_code failed;
    std::filesystem::create_directory(made, failed);
    for (const auto &entry : std::filesystem::directory_iterator(folder, failed)) {
        const std::filesystem::path path = made / entry.path().filename();
        if (entry.is_symlink()) {
            std::filesystem::copy_symlink(entry, path, failed);
            continue;
        }
        const bool hasPlace = entry.is_directory() ? mkdir(path.c_str(), 0755) == 0 : writeFile(path, "", 0644);
        if (!hasPlace || mount(entry.path().c_str(), path.c_str(), nullptr, MS_BIND | MS_REC, nullptr) != 0)
            return false;
    }
    return !failed && mount(made.c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

void PrivateMachine::makeRootWritable() {
    const std::string root = fresh("root");
    m_ready = m_ready && mkdir(root.c_str(), 0755) == 0;
    overlay("/", root);
    for (const char *folder : {"/proc", "/dev"})
        m_ready = m_ready && mount(folder, (root + folder).c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
    m_ready =
        m_ready && chroot(root.c_str()) == 0 && chdir("/") == 0 && mount("none", kScratch, "tmpfs", 0, nullptr) == 0;
}

void PrivateMachine::placeScript(const std::string &path, const std::string &body) {
    place(path, "#!/bin/sh\n" + body + "\n", 0755);
}

void PrivateMachine::show(const std::string &other, const std::string &path) {
    if (access(path.c_str(), F_OK) != 0)
        place(path, "");
    m_ready = m_ready && mount(other.c_str(), path.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

void PrivateMachine::empty(const std::string &folder) {
    m_ready = m_ready && mount("none", folder.c_str(), "tmpfs", 0, nullptr) == 0;
}

void writeLoginRecords(const std::string &path, const std::vector<LoginRecord> &records) {
    std::ofstream(path, std::ios::binary | std::ios::trunc).flush();
    utmpxname(path.c_str());
    setutxent();
    for (const LoginRecord &record : records) {
        utmpx entry{};
        entry.ut_type = record.type;
        fill(entry.ut_id, record.id);
        fill(entry.ut_user, record.user);
        fill(entry.ut_line, record.line);
        pututxline(&entry);
    }
    endutxent();
}

} // namespace zor::test
