#pragma once

// Nodes and choices for comparing a list with std::list over many random operations.

#include <array>
#include <cstddef>
#include <list>
#include <random>
#include <vector>

namespace zor::test {

constexpr int kRandomSteps = 100000;
constexpr size_t kRandomNodes = 40;

/** A fixed set of nodes, of which some are in the list and the others wait for an insertion. */
template <class Node> class NodePool {
public:
    explicit NodePool(uint32_t seed) : m_engine(seed) {
        for (Node &node : m_nodes)
            m_free.push_back(&node);
    }

    size_t below(size_t bound) { return std::uniform_int_distribution<size_t>(0, bound - 1)(m_engine); }
    bool isExhausted() const { return m_free.empty(); }
    Node *take() {
        std::swap(m_free[below(m_free.size())], m_free.back());
        Node *node = m_free.back();
        m_free.pop_back();
        return node;
    }
    void giveBack(Node *node) { m_free.push_back(node); }

private:
    std::mt19937 m_engine;
    std::array<Node, kRandomNodes> m_nodes{};
    std::vector<Node *> m_free;
};

/** Removes and returns the model's element at index; null when there is none. */
template <class Node> Node *removeFromModel(std::list<Node *> &model, size_t index) {
    if (index >= model.size())
        return nullptr;
    const auto at = std::next(model.begin(), static_cast<std::ptrdiff_t>(index));
    Node *node = *at;
    model.erase(at);
    return node;
}

} // namespace zor::test
