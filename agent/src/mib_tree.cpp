#include "mib_tree.h"

#include <algorithm>

namespace lldpv2agent {

int CompareOid(std::span<const uint32_t> a, std::span<const uint32_t> b) {
    size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
        if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
    }
    if (a.size() == b.size()) return 0;
    return a.size() < b.size() ? -1 : 1;
}

bool IsPrefix(std::span<const uint32_t> prefix, std::span<const uint32_t> oid) {
    return prefix.size() <= oid.size() && std::equal(prefix.begin(), prefix.end(), oid.begin());
}

std::string OidToString(std::span<const uint32_t> oid) {
    std::string s;
    for (uint32_t arc : oid) {
        s += '.';
        s += std::to_string(arc);
    }
    return s;
}

bool IsServedLeaf(const MIB_NODE_S *n) {
    return IsLeaf(n) && n->morId != 0 && n->access != MIB_ACCESS_NOT_ACCESSIBLE &&
           n->status != MIB_NODE_STATUS_BORROWED;
}

MibTree::MibTree(std::string name, const MIB_NODE_S *root) : name_(std::move(name)), root_(root) {}

const Oid &MibTree::OidOf(const MIB_NODE_S *node) const {
    auto it = oids_.find(node);
    if (it != oids_.end()) return it->second;
    Oid oid;
    for (const MIB_NODE_S *n = node; n != nullptr; n = n->parent) oid.push_back(n->arc);
    std::reverse(oid.begin(), oid.end());
    return oids_.emplace(node, std::move(oid)).first->second;
}

const MIB_NODE_S *MibTree::Child(const MIB_NODE_S *parent, uint32_t arc) {
    // Siblings are chained in increasing arc order.
    for (const MIB_NODE_S *c = parent->firstChild; c != nullptr && c->arc <= arc; c = c->nextSibling) {
        if (c->arc == arc) return c;
    }
    return nullptr;
}

Location MibTree::Locate(std::span<const uint32_t> oid) const {
    Location loc;
    loc.node = root_;
    if (oid.empty() || oid[0] != root_->arc) return loc;
    loc.inTree = true;
    loc.depth = 1;
    while (loc.depth < oid.size() && !IsLeaf(loc.node)) {
        const MIB_NODE_S *child = Child(loc.node, oid[loc.depth]);
        if (child == nullptr) break;
        loc.node = child;
        ++loc.depth;
    }
    return loc;
}

const MIB_NODE_S *MibTree::FirstLeafAfterSubtree(const MIB_NODE_S *node) {
    for (const MIB_NODE_S *n = node; n != nullptr; n = n->parent) {
        if (n->nextSibling != nullptr) return FirstLeafFrom(n->nextSibling);
    }
    return nullptr;
}

MibTree::Start MibTree::StartOf(std::span<const uint32_t> oid) const {
    Location loc = Locate(oid);
    if (!loc.inTree) {
        bool before = oid.empty() || oid[0] < root_->arc;
        return {before ? FirstLeafFrom(root_) : nullptr, {}};
    }
    const MIB_NODE_S *node = loc.node;
    if (IsLeaf(node)) return {node, oid.subspan(loc.depth)};
    if (loc.depth == oid.size()) return {FirstLeafFrom(node), {}};
    // oid leaves the tree below node: continue at the first child beyond it.
    uint32_t arc = oid[loc.depth];
    for (const MIB_NODE_S *c = node->firstChild; c != nullptr; c = c->nextSibling) {
        if (c->arc > arc) return {FirstLeafFrom(c), {}};
    }
    return {FirstLeafAfterSubtree(node), {}};
}

namespace {

struct OwnedLeaf {
    const Oid *oid;
    const MibTree *tree;
};

// Registers prefix for the one tree that owns every leaf in leaves (all of
// which lie under prefix), or splits prefix by its next arc.
void PlanRegion(const Oid &prefix, std::span<const OwnedLeaf> leaves, std::vector<ServedSubtree> &plan) {
    bool oneTree = std::all_of(leaves.begin(), leaves.end(),
                               [&](const OwnedLeaf &l) { return l.tree == leaves.front().tree; });
    if (oneTree) {
        plan.push_back({prefix, leaves.front().tree});
        return;
    }
    size_t depth = prefix.size();
    size_t begin = 0;
    while (begin < leaves.size()) {
        size_t end = begin + 1;
        uint32_t arc = (*leaves[begin].oid)[depth];
        while (end < leaves.size() && (*leaves[end].oid)[depth] == arc) ++end;
        Oid child = prefix;
        child.push_back(arc);
        PlanRegion(child, leaves.subspan(begin, end - begin), plan);
        begin = end;
    }
}

}  // namespace

std::vector<ServedSubtree> PlanServedSubtrees(const std::vector<const MibTree *> &trees) {
    // Each served leaf belongs to the first tree that serves it.
    std::vector<OwnedLeaf> owned;
    for (size_t t = 0; t < trees.size(); ++t) {
        const MibTree *tree = trees[t];
        for (const MIB_NODE_S *leaf = MibTree::FirstLeafFrom(tree->Root()); leaf != nullptr; leaf = leaf->nextLeaf) {
            if (!IsServedLeaf(leaf)) continue;
            const Oid &oid = tree->OidOf(leaf);
            bool earlier = std::any_of(trees.begin(), trees.begin() + static_cast<ptrdiff_t>(t), [&](const MibTree *e) {
                Location there = e->Locate(oid);
                return there.inTree && there.depth == oid.size() && IsServedLeaf(there.node);
            });
            if (!earlier) owned.push_back({&oid, tree});
        }
    }
    if (owned.empty()) return {};
    std::sort(owned.begin(), owned.end(), [](const OwnedLeaf &a, const OwnedLeaf &b) { return *a.oid < *b.oid; });

    // Start below the deepest node that holds every served leaf (never at a
    // leaf itself), then give each tree the largest subtrees that hold only
    // its own leaves, so that no registration lies inside another.
    Oid common(owned.front().oid->begin(), owned.front().oid->end() - 1);
    for (const OwnedLeaf &l : owned) {
        size_t n = 0;
        while (n < common.size() && n < l.oid->size() - 1 && common[n] == (*l.oid)[n]) ++n;
        common.resize(n);
    }
    std::vector<ServedSubtree> plan;
    PlanRegion(common, owned, plan);
    return plan;
}

}  // namespace lldpv2agent
