#pragma once

// Takes a fuzzer's input apart: numbers, lines, and what is left. Where nothing is left there are zeros.

#include <cstddef>
#include <cstdint>
#include <string>

namespace zor::test {

class Bytes {
public:
    explicit Bytes(const std::string &bytes) : m_bytes(bytes) {}

    bool atEnd() const { return m_at >= m_bytes.size(); }

    uint8_t byte() { return atEnd() ? uint8_t{0} : static_cast<uint8_t>(m_bytes[m_at++]); }

    /** The lowest byte first, on every machine. */
    template <class Number> Number number() {
        uint64_t value = 0;
        for (size_t i = 0; i < sizeof(Number); ++i)
            value |= uint64_t{byte()} << 8 * i;
        return static_cast<Number>(value);
    }

    std::string take(size_t count) {
        const std::string taken = atEnd() ? std::string() : m_bytes.substr(m_at, count);
        m_at += taken.size();
        return taken;
    }

    /** Up to the next newline, which is taken too. */
    std::string line() {
        const std::string taken = atEnd() ? std::string() : m_bytes.substr(m_at, m_bytes.find('\n', m_at) - m_at);
        m_at += taken.size() + 1;
        return taken;
    }

    std::string rest() { return take(m_bytes.size()); }

private:
    const std::string &m_bytes;
    size_t m_at = 0;
};

} // namespace zor::test
