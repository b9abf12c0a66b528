// The request shapes that recur across tables: the walk over (port, agent)
// rows, and the walk over the stack's nodes that keeps the smallest answer.
#pragma once

#include <concepts>
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
[[nodiscard]] uint32_t NextReadablePair(uint16_t strict, LLDP_PORT_AGENT_S *pair, Fetch fetch) {
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
[[nodiscard]] uint32_t SmallestOverNodes(Candidate *best, Ask ask, Less less) {
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
[[nodiscard]] inline bool NodeGetNext(uint32_t item, uint16_t node, LLDP_INDEX_PARA_S *para, uint16_t resultSize, void *result) {
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

// ---- Keys of the daemon's node-by-node get-next -----------------------
//
// A row of a sub-table is keyed by its owner (a port, or a neighbour's TFAI)
// and the sub-index after it. A key part is described by a codec: its Key
// type, Put (into the index parameter, in the byte order the daemon wants),
// Take (back from the rewritten parameter) and Less (its own order).

template <typename C>
concept KeyCodec = requires(const typename C::Key &k, LLDP_INDEX_PARA_S *out, const LLDP_INDEX_PARA_S &in) {
    C::Put(k, out);
    { C::Take(in) } -> std::same_as<typename C::Key>;
    { C::Less(k, k) } -> std::convertible_to<bool>;
};

// Owner: a neighbour, in the daemon's TFAI order.
struct TfaiOwner {
    using Key = LLDP_TFAI_S;
    static void Put(const Key &k, LLDP_INDEX_PARA_S *para) { para->tfai = k; }
    static Key Take(const LLDP_INDEX_PARA_S &para) { return para.tfai; }
    static bool Less(const Key &a, const Key &b) { return LLDP_util_CmpTfai(&a, &b) < 0; }
};

// One 32-bit key part that travels in network order in field.
template <uint32_t LLDP_INDEX_PARA_S::*Field>
struct NetU32 {
    using Key = uint32_t;
    static void Put(const Key &k, LLDP_INDEX_PARA_S *para) { para->*Field = HostToNet32(k); }
    static Key Take(const LLDP_INDEX_PARA_S &para) { return NetToHost32(para.*Field); }
    static bool Less(const Key &a, const Key &b) { return a < b; }
};

// Owner: a port, by interface index.
using PortOwner = NetU32<&LLDP_INDEX_PARA_S::ifIndex>;

// A copy of record with the named 32-bit fields turned between host and
// network order (the same swap both ways).
template <auto... Fields, typename Record>
constexpr Record Swapped(Record record) {
    ((record.*Fields = HostToNet32(record.*Fields)), ...);
    return record;
}

// Key part: a management address (subtype and length in network order), in
// the daemon's order of management addresses.
struct ManAddrKey {
    using Key = LLDP_MANADDR_KEY_S;
    static void Put(const Key &k, LLDP_INDEX_PARA_S *para) { para->manAddr = Swapped<&Key::subtype, &Key::len>(k); }
    static Key Take(const LLDP_INDEX_PARA_S &para) { return Swapped<&Key::subtype, &Key::len>(para.manAddr); }
    static bool Less(const Key &a, const Key &b) { return LLDP_util_CmpManAddrIndex(&a, &b) < 0; }
};

// Sub-index: none (one row per owner).
struct NoSubIndex {
    struct Key {};
    static void Put(const Key &, LLDP_INDEX_PARA_S *) {}
    static Key Take(const LLDP_INDEX_PARA_S &) { return {}; }
    static bool Less(const Key &, const Key &) { return false; }
};

// Sub-index: the second index (VLAN, class, priority, protocol index).
using Index2 = NetU32<&LLDP_INDEX_PARA_S::index2>;

// Sub-index: the second and third index (application selector and protocol).
struct Index23 {
    struct Key {
        uint32_t index2 = 0;
        uint32_t index3 = 0;
    };
    static void Put(const Key &k, LLDP_INDEX_PARA_S *para) {
        para->index2 = HostToNet32(k.index2);
        para->index3 = HostToNet32(k.index3);
    }
    static Key Take(const LLDP_INDEX_PARA_S &para) { return {NetToHost32(para.index2), NetToHost32(para.index3)}; }
    static bool Less(const Key &a, const Key &b) { return KeyLess({{a.index2, b.index2}, {a.index3, b.index3}}); }
};

// The whole key: owner first, then the sub-index.
template <KeyCodec Owner, KeyCodec Sub>
struct SubRowKey {
    typename Owner::Key owner{};
    typename Sub::Key sub{};

    void Put(LLDP_INDEX_PARA_S *para) const {
        Owner::Put(owner, para);
        Sub::Put(sub, para);
    }
    static SubRowKey Take(const LLDP_INDEX_PARA_S &para) { return {Owner::Take(para), Sub::Take(para)}; }
    static bool Less(const SubRowKey &a, const SubRowKey &b) {
        if (Owner::Less(a.owner, b.owner)) return true;
        if (Owner::Less(b.owner, a.owner)) return false;
        return Sub::Less(a.sub, b.sub);
    }
};

// The cross-node get-next of a sub-table: asks every node that is up for the
// row of (item, selector) that follows *key, keeps the smallest (the earlier
// node on a tie), and sets *key and *result to it. resultSize bytes of result
// are asked for. kErrNoNext when no node has a further row.
template <KeyCodec Owner, KeyCodec Sub, typename Result>
[[nodiscard]] uint32_t NextSubRow(uint32_t item, uint32_t selector, SubRowKey<Owner, Sub> *key, Result *result,
                    uint16_t resultSize = sizeof(Result)) {
    using Key = SubRowKey<Owner, Sub>;
    struct Candidate {
        Key key;
        Result result;
    };
    Candidate best{};
    const uint32_t rc = SmallestOverNodes(
        &best,
        [&](uint16_t node, Candidate *c) {
            LLDP_INDEX_PARA_S para;
            LLDP_mor_InitIndexPara(&para);
            para.selector = selector;
            key->Put(&para);
            if (!NodeGetNext(item, node, &para, resultSize, &c->result)) return false;
            c->key = Key::Take(para);
            return true;
        },
        [](const Candidate &a, const Candidate &b) { return Key::Less(a.key, b.key); });
    if (rc != kOk) return rc;
    *key = best.key;
    *result = best.result;
    return kOk;
}

}  // namespace lldpv2
