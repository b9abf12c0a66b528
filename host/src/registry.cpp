// The agent side of MIB tree registration: which compiled trees are
// registered, and who is told when that changes.
#include "lldpv2host/registry.h"

#include <map>
#include <memory>
#include <mutex>

#include "lldpv2/snmp_agent.h"
#include "lldpv2host/trace.h"

namespace lldpv2host {

namespace {

struct TreeRegistry {
    std::mutex lock;
    uint64_t nextSeq = 0;
    std::map<uint64_t, RegisteredTree> bySeq;            // registration order
    std::map<std::string, uint64_t, std::less<>> byName;  // name -> key of bySeq
    std::shared_ptr<const TreeObserver> observer;
};

// Never destroyed: modules deregister their trees from their destructors,
// which may run after static objects are gone.
TreeRegistry &Registry() {
    static TreeRegistry *registry = new TreeRegistry;
    return *registry;
}

void Notify(const std::shared_ptr<const TreeObserver> &observer, const RegisteredTree &tree, bool added) {
    if (observer && *observer) (*observer)(tree, added);
}

}  // namespace

std::vector<RegisteredTree> RegisteredTrees() {
    TreeRegistry &r = Registry();
    std::lock_guard guard(r.lock);
    std::vector<RegisteredTree> trees;
    trees.reserve(r.bySeq.size());
    for (const auto &[seq, tree] : r.bySeq) trees.push_back(tree);
    return trees;
}

std::optional<RegisteredTree> FindTree(const std::string &name) {
    TreeRegistry &r = Registry();
    std::lock_guard guard(r.lock);
    auto it = r.byName.find(name);
    if (it == r.byName.end()) return std::nullopt;
    return r.bySeq.at(it->second);
}

void SetTreeObserver(TreeObserver observer) {
    TreeRegistry &r = Registry();
    std::lock_guard guard(r.lock);
    r.observer = observer ? std::make_shared<const TreeObserver>(std::move(observer)) : nullptr;
}

void ClearTrees() {
    TreeRegistry &r = Registry();
    std::map<uint64_t, RegisteredTree> removed;
    std::shared_ptr<const TreeObserver> observer;
    {
        std::lock_guard guard(r.lock);
        removed.swap(r.bySeq);
        r.byName.clear();
        observer = r.observer;
    }
    for (const auto &[seq, tree] : removed) Notify(observer, tree, false);
}

}  // namespace lldpv2host

extern "C" {

uint32_t SNMP_RegisterMibTree(const char *name, uint32_t context, uint32_t version, const MIB_NODE_S *root) {
    if (uint32_t fault = lldpv2host::TraceCall("SNMP_RegisterMibTree", name)) return fault;
    if (name == nullptr || root == nullptr) return lldpv2host::kRegistryRefused;
    auto &r = lldpv2host::Registry();
    lldpv2host::RegisteredTree tree{name, context, version, root};
    std::shared_ptr<const lldpv2host::TreeObserver> observer;
    {
        std::lock_guard guard(r.lock);
        if (r.byName.contains(tree.name)) return lldpv2host::kRegistryRefused;
        uint64_t seq = r.nextSeq++;
        r.byName.emplace(tree.name, seq);
        r.bySeq.emplace(seq, tree);
        observer = r.observer;
    }
    lldpv2host::Notify(observer, tree, true);
    return 0;
}

uint32_t SNMP_DeregMibTree(const char *name, uint32_t /*context*/, uint32_t /*version*/, const MIB_NODE_S *root) {
    if (uint32_t fault = lldpv2host::TraceCall("SNMP_DeregMibTree", name)) return fault;
    if (name == nullptr) return lldpv2host::kRegistryRefused;
    auto &r = lldpv2host::Registry();
    lldpv2host::RegisteredTree tree;
    std::shared_ptr<const lldpv2host::TreeObserver> observer;
    {
        std::lock_guard guard(r.lock);
        auto it = r.byName.find(std::string_view(name));
        if (it == r.byName.end()) return lldpv2host::kRegistryRefused;
        auto node = r.bySeq.find(it->second);
        if (node->second.root != root) return lldpv2host::kRegistryRefused;
        tree = std::move(node->second);
        r.bySeq.erase(node);
        r.byName.erase(it);
        observer = r.observer;
    }
    lldpv2host::Notify(observer, tree, false);
    return 0;
}

}  // extern "C"
