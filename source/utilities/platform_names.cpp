// A short list is searched name by name. Where that could take long, the automaton of Aho and Corasick finds all names
// in one reading, so that the time grows with the lengths of platform and list alone.

#include "source/utilities/platform_names.h"

#include "source/portability/text_search.h"

#include <algorithm>

namespace zor {

namespace {

constexpr size_t kShort = 65536; // steps: platform times list

} // namespace

PlatformNames::PlatformNames(std::string_view platform, std::string_view list) : m_platform(platform) {
    if (list.size() <= kShort / std::max<size_t>(platform.size(), 1))
        return;
    m_nodes.push_back({});
    for (size_t begin = 0; begin < list.size();) {
        const std::string_view entry = list.substr(begin, list.find('|', begin) - begin);
        add(entry.substr(0, entry.find(':')));
        begin += entry.size() + 1;
    }
    link();
    read();
}

bool PlatformNames::occurs(std::string_view name) const {
    if (m_nodes.empty())
        return findText(m_platform.data(), m_platform.size(), name.data(), name.size()) != nullptr;
    uint32_t node = 0;
    for (const char byte : name)
        if ((node = childOf(node, byte)) == 0)
            return false;
    return m_nodes[node].occurs;
}

uint32_t PlatformNames::childOf(uint32_t node, char byte) const {
    uint32_t child = m_nodes[node].firstChild;
    while (child != 0 && m_nodes[child].byte != byte)
        child = m_nodes[child].nextSibling;
    return child;
}

/** The node of the longest end of a node's text and one byte more. */
uint32_t PlatformNames::after(uint32_t node, char byte) const {
    uint32_t child = childOf(node, byte);
    while (child == 0 && node != 0) {
        node = m_nodes[node].rest;
        child = childOf(node, byte);
    }
    return child;
}

void PlatformNames::add(std::string_view name) {
    uint32_t node = 0;
    for (const char byte : name) {
        uint32_t child = childOf(node, byte);
        if (child == 0) {
            child = static_cast<uint32_t>(m_nodes.size());
            m_nodes.push_back({0, m_nodes[node].firstChild, 0, byte, false});
            m_nodes[node].firstChild = child;
        }
        node = child;
    }
}

void PlatformNames::link() {
    m_order.reserve(m_nodes.size());
    m_order.push_back(0);
    for (size_t i = 0; i < m_order.size(); ++i) {
        const uint32_t node = m_order[i];
        for (uint32_t child = m_nodes[node].firstChild; child != 0; child = m_nodes[child].nextSibling) {
            if (node != 0)
                m_nodes[child].rest = after(m_nodes[node].rest, m_nodes[child].byte);
            m_order.push_back(child);
        }
    }
}

void PlatformNames::read() {
    m_nodes[0].occurs = true; // the empty name
    uint32_t node = 0;
    for (const char byte : m_platform) {
        node = after(node, byte);
        m_nodes[node].occurs = true;
    }
    for (size_t i = m_order.size(); i-- > 0;)
        if (m_nodes[m_order[i]].occurs)
            m_nodes[m_nodes[m_order[i]].rest].occurs = true;
}

} // namespace zor
