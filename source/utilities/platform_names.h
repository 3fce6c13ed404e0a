#pragma once

// Which names of a list of platforms occur in the name of one.

#include <cstdint>
#include <string_view>
#include <vector>

namespace zor {

class PlatformNames {
public:
    /** @param platform  the name to look in; it must outlive this.
     * @param list       entries with '|' between them, each a name that ends at its first ':'. */
    PlatformNames(std::string_view platform, std::string_view list);

    /** Whether a name of the list occurs in the platform's. */
    bool occurs(std::string_view name) const;

private:
    struct Node {
        uint32_t firstChild, nextSibling; // 0 for none: the root is nobody's child
        uint32_t rest;                    // the node of the longest end of this one's text that has a node
        char byte;
        bool occurs;
    };
    uint32_t childOf(uint32_t node, char byte) const;
    uint32_t after(uint32_t node, char byte) const;
    void add(std::string_view name);
    void link();
    void read();

    std::string_view m_platform;
    std::vector<Node> m_nodes;     // a tree of the names, the root first; empty for a short list
    std::vector<uint32_t> m_order; // by the length of the nodes' texts
};

} // namespace zor
