// Navigation over the compiled MIB trees that modules register: resolving an
// object identifier to its node by walking arcs, the leaf order used by
// get-next, and the plan of which subtree each registered tree serves.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "lldpv2/mib_node.h"

namespace lldpv2agent {

using Oid = std::vector<uint32_t>;

// Lexicographic comparison of object identifiers (<0, 0, >0).
int CompareOid(std::span<const uint32_t> a, std::span<const uint32_t> b);
bool IsPrefix(std::span<const uint32_t> prefix, std::span<const uint32_t> oid);
std::string OidToString(std::span<const uint32_t> oid);

inline bool IsLeaf(const MIB_NODE_S *n) {
    return n->kind == MIB_KIND_COLUMN || n->kind == MIB_KIND_SCALAR;
}

// The module id of a MOR id (its upper half) and the table id (bits 8..15).
constexpr uint32_t ModuleOf(uint32_t morId) { return morId & 0xFFFF0000u; }
constexpr uint32_t TableOf(uint32_t morId) { return (morId >> 8) & 0xFFu; }

// A leaf that a request can be answered for: it carries a MOR id, is
// accessible, and belongs to the tree's own modules (objects borrowed from
// another MIB module, such as ifIndex, are left to whoever serves that module).
bool IsServedLeaf(const MIB_NODE_S *n);

// Where an object identifier lies in a tree.
struct Location {
    // Deepest node whose OID is a prefix of the looked-up OID (the root when
    // even the first arc differs from the root's).
    const MIB_NODE_S *node = nullptr;
    // Number of arcs of the looked-up OID consumed by node's OID.
    size_t depth = 0;
    // False when the first arc does not match the root.
    bool inTree = false;
};

class MibTree {
public:
    MibTree(std::string name, const MIB_NODE_S *root);

    const std::string &Name() const { return name_; }
    const MIB_NODE_S *Root() const { return root_; }

    // The node's full OID (cached; nodes are immutable module data).
    const Oid &OidOf(const MIB_NODE_S *node) const;

    // Walks arcs from the root as far as oid matches.
    Location Locate(std::span<const uint32_t> oid) const;

    // The child of parent with the given arc, or null.
    static const MIB_NODE_S *Child(const MIB_NODE_S *parent, uint32_t arc);

    // Where a get-next for oid starts: the leaf oid points into together
    // with the instance part of oid, or, when oid names no leaf or instance,
    // the first leaf that follows oid with an empty instance. leaf is null
    // when no leaf of the tree follows oid.
    struct Start {
        const MIB_NODE_S *leaf = nullptr;
        std::span<const uint32_t> instance;
    };
    Start StartOf(std::span<const uint32_t> oid) const;

    // The first leaf at or below node, or following it, in walk order.
    static const MIB_NODE_S *FirstLeafFrom(const MIB_NODE_S *node) {
        return IsLeaf(node) ? node : node->nextLeaf;
    }
    // The first leaf that follows node's whole subtree.
    static const MIB_NODE_S *FirstLeafAfterSubtree(const MIB_NODE_S *node);


private:
    std::string name_;
    const MIB_NODE_S *root_;
    mutable std::unordered_map<const MIB_NODE_S *, Oid> oids_;
};

// One net-snmp registration: the subtree at prefix is answered from tree.
struct ServedSubtree {
    Oid prefix;
    const MibTree *tree = nullptr;
    bool operator==(const ServedSubtree &o) const { return prefix == o.prefix && tree == o.tree; }
};

// Which subtrees to register for the given trees, in OID order. Trees
// overlap (an extension tree repeats the base tree): every served leaf
// belongs to the first tree that serves it, and each tree gets the largest
// subtrees that hold only leaves it owns. No subtree of the plan lies inside
// another, so each OID reaches exactly one registration.
std::vector<ServedSubtree> PlanServedSubtrees(const std::vector<const MibTree *> &trees);

}  // namespace lldpv2agent
