// Small compiled trees built at run time, with the links a MIB compiler
// writes (parent, first child, next sibling in arc order, next leaf in walk
// order), for tests of the agent's tree handling.
#pragma once

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lldpv2/mib_node.h"
#include "mib_tree.h"

namespace lldpv2test {

class FakeTree {
public:
    FakeTree() { root_ = Node(nullptr, 1, "iso", MIB_KIND_BRANCH); }

    MIB_NODE_S *Root() { return root_; }

    MIB_NODE_S *Branch(MIB_NODE_S *parent, uint32_t arc, const char *name, uint32_t kind = MIB_KIND_BRANCH) {
        return Node(parent, arc, name, kind);
    }

    // A leaf with syntax code and optional ranges or named values.
    MIB_NODE_S *Leaf(MIB_NODE_S *parent, uint32_t arc, const char *name, uint32_t kind, uint32_t syntax,
                     uint32_t access, uint32_t morId, std::vector<MIB_RANGE_S> ranges = {},
                     std::vector<std::pair<const char *, uint64_t>> named = {}) {
        MIB_NODE_S *n = Node(parent, arc, name, kind);
        auto &s = syntaxes_.emplace_back();
        s.code = syntax;
        if (!ranges.empty() || !named.empty()) {
            auto &r = restrictions_.emplace_back();
            if (!ranges.empty()) {
                auto &store = rangeStore_.emplace_back(ranges.begin(), ranges.end());
                auto &ptrs = rangePtrs_.emplace_back();
                for (const auto &range : store) ptrs.push_back(&range);
                r.kind = MIB_RESTRICT_RANGES;
                r.count = static_cast<uint32_t>(ptrs.size());
                r.ranges = ptrs.data();
            } else {
                auto &values = namedStore_.emplace_back();
                for (auto &[label, value] : named) values.push_back({label, value});
                r.kind = MIB_RESTRICT_NAMED;
                r.count = static_cast<uint32_t>(values.size());
                r.named = values.data();
            }
            s.restriction = &r;
        }
        n->syntax = &s;
        n->access = access;
        n->morId = morId;
        n->status = MIB_NODE_STATUS_CURRENT;
        if (parent->kind == MIB_KIND_ENTRY) n->indexList = parent->indexList;
        return n;
    }

    // Makes entry's index list the given columns (call before adding the
    // entry's columns).
    void Index(MIB_NODE_S *entry, std::vector<const MIB_NODE_S *> columns) {
        auto &cols = indexColumns_.emplace_back(std::move(columns));
        auto &list = indexLists_.emplace_back();
        list.count = static_cast<uint32_t>(cols.size());
        list.columns = cols.data();
        entry->indexList = &list;
        for (MIB_NODE_S *c : children_[entry]) c->indexList = &list;
    }

    // Links siblings in arc order and the next-leaf chain in walk order.
    void Finish() {
        std::vector<MIB_NODE_S *> order;
        std::function<void(MIB_NODE_S *)> visit = [&](MIB_NODE_S *n) {
            order.push_back(n);
            std::vector<MIB_NODE_S *> &kids = children_[n];
            std::sort(kids.begin(), kids.end(), [](auto *a, auto *b) { return a->arc < b->arc; });
            n->firstChild = kids.empty() ? nullptr : kids.front();
            for (size_t i = 0; i < kids.size(); ++i) kids[i]->nextSibling = i + 1 < kids.size() ? kids[i + 1] : nullptr;
            for (MIB_NODE_S *k : kids) visit(k);
        };
        visit(root_);
        const MIB_NODE_S *next = nullptr;
        for (auto it = order.rbegin(); it != order.rend(); ++it) {
            (*it)->nextLeaf = next;
            if (lldpv2agent::IsLeaf(*it)) next = *it;
        }
        // A non-leaf points at the first leaf at or after it.
        for (auto it = order.rbegin(); it != order.rend(); ++it) {
            if (lldpv2agent::IsLeaf(*it)) continue;
            const MIB_NODE_S *first = nullptr;
            auto pos = std::find(order.begin(), order.end(), *it);
            for (auto j = pos + 1; j != order.end(); ++j) {
                if (lldpv2agent::IsLeaf(*j)) {
                    first = *j;
                    break;
                }
            }
            (*it)->nextLeaf = first;
        }
    }

private:
    MIB_NODE_S *Node(MIB_NODE_S *parent, uint32_t arc, const char *name, uint32_t kind) {
        MIB_NODE_S &n = nodes_.emplace_back();
        n.name = name;
        n.kind = kind;
        n.parent = parent;
        n.arc = arc;
        n.defaultValue = "";
        n.access = (kind == MIB_KIND_BRANCH || kind == MIB_KIND_SCALAR_GROUP) ? MIB_ACCESS_BRANCH : 0;
        if (parent != nullptr) {
            children_[parent].push_back(&n);
            if (parent->firstChild == nullptr) parent->firstChild = &n;
        }
        return &n;
    }

    MIB_NODE_S *root_;
    std::deque<MIB_NODE_S> nodes_;
    std::deque<MIB_SYNTAX_S> syntaxes_;
    std::deque<MIB_RESTRICTION_S> restrictions_;
    std::deque<std::vector<MIB_RANGE_S>> rangeStore_;
    std::deque<std::vector<const MIB_RANGE_S *>> rangePtrs_;
    std::deque<std::vector<MIB_NAMED_VALUE_S>> namedStore_;
    std::deque<std::vector<const MIB_NODE_S *>> indexColumns_;
    std::deque<MIB_INDEX_LIST_S> indexLists_;
    std::map<MIB_NODE_S *, std::vector<MIB_NODE_S *>> children_;
};

}  // namespace lldpv2test
