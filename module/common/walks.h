// The request shapes that recur across tables: the walk over (port, agent)
// rows, and the walk over the stack's nodes that keeps the smallest answer.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <utility>

#include "common/guards.h"
#include "common/mibpub.h"

namespace lldpv2 {

// Moves *pair to the next (port, agent) row after it whose data fetch(pair)
// can read; rows that cannot be read are skipped silently. kErrNoNext at the
// end of the interfaces.
template <typename Fetch>
uint32_t NextReadablePair(uint16_t strict, LLDP_PORT_AGENT_S *pair, Fetch fetch) {
    for (;;) {
        uint32_t port = 0;
        uint32_t agent = 0;
        if (GetNextPortAgent(strict, pair->port, pair->agent, &port, &agent) != kOk || port == 0) return kErrNoNext;
        pair->port = port;
        pair->agent = agent;
        if (fetch(*pair) == kOk) return kOk;
    }
}

// Asks every node that is up, in the order of DEV_GetAllNodes, for its
// candidate with ask(node, &candidate) (true when the node has one) and keeps
// the smallest by less; on a tie the earlier node's candidate stays.
// kErrNoNext when there is no node list or no candidate.
template <typename Candidate, typename Ask, typename Less>
uint32_t SmallestOverNodes(Candidate *best, Ask ask, Less less) {
    NodeArray nodes;
    if (!nodes.valid()) return kErrNoNext;
    bool found = false;
    for (uint16_t node : nodes) {
        if (IF_IsNodeUp(node) != 1) continue;
        Candidate candidate{};
        if (!ask(node, &candidate)) continue;
        if (!found || less(candidate, *best)) {
            *best = candidate;
            found = true;
        }
    }
    return found ? kOk : kErrNoNext;
}

// One node's get-next of a daemon item from para; true when the node has an
// entry, with para rewritten to its key and result filled.
inline bool NodeGetNext(uint32_t item, uint16_t node, LLDP_INDEX_PARA_S *para, uint16_t resultSize, void *result) {
    uint16_t len = resultSize;
    return LLDP_mor_MibGetNext(0, item, node, para, &len, result) == kOk && len != 0;
}

// Lexicographic order over (a, b) pairs of unsigned key parts: the first
// pair that differs decides.
constexpr bool KeyLess(std::initializer_list<std::pair<uint32_t, uint32_t>> parts) {
    for (const auto &[a, b] : parts)
        if (a != b) return a < b;
    return false;
}

}  // namespace lldpv2
