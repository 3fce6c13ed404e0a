#pragma once

// A time zone read from a file, and threads that use the process's zone while a test looks at it.

#include <atomic>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace zor::test {

/** A number's last bytes, the most significant first. */
inline std::string bigEndian(int64_t number, int bytes) {
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text += static_cast<char>(static_cast<uint64_t>(number) >> shift & 0xFF);
    return text;
}

/** One block of a zone file, whose moments are numbers of so many bytes. */
inline std::string zoneBlock(int bytes) {
    std::string block = "TZif2" + std::string(15, '\0');
    for (const int count : {0, 0, 0, 2, 2, 8}) // indicators (2), leap seconds, moments, kinds, letters
        block += bigEndian(count, 4);
    block += bigEndian(100000000, bytes) + bigEndian(110000000, bytes);
    block += std::string("\1\0", 2); // the kind from each moment on
    block += bigEndian(-3 * 3600, 4) + std::string("\0\0", 2);
    block += bigEndian(-2 * 3600, 4) + std::string("\1\4", 2);
    return block + std::string("WST\0WDT\0", 8);
}

/** Writes a zone file as today's zones are: standard time WST, UTC-3, and daylight-saving time WDT, after the last
 * moment by a rule. Returns the path, for TZ behind a colon. */
inline std::string writeZoneFile(const std::string &path) {
    std::ofstream(path, std::ios::binary) << zoneBlock(4) << zoneBlock(8) << "\nWST3WDT,M3.2.0,M11.1.0\n";
    return path;
}

/** What a program does that knows nothing of the library's locks. */
inline void breakDownNow() {
    const std::time_t now = std::time(nullptr);
    std::tm ignored;
    localtime_r(&now, &ignored);
}

/** Runs each use over and over in a thread of its own for its lifetime. */
class UsingTheZone {
public:
    explicit UsingTheZone(const std::vector<std::function<void()>> &uses) {
        for (const auto &use : uses)
            m_threads.emplace_back([this, use] {
                while (!m_done)
                    use();
            });
    }
    ~UsingTheZone() {
        m_done = true;
        for (std::thread &thread : m_threads)
            thread.join();
    }
    UsingTheZone(const UsingTheZone &) = delete;
    UsingTheZone &operator=(const UsingTheZone &) = delete;

private:
    std::atomic<bool> m_done{false};
    std::vector<std::thread> m_threads;
};

} // namespace zor::test
