// The one place that holds the state of the simulated switch: the model of
// lldpv2host/switch.h and the live interface iterators. The interface and
// device manager calls (ifm.cpp) read it under the shared lock.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <shared_mutex>
#include <string>
#include <vector>

#include "lldpv2/ifm.h"
#include "lldpv2host/switch.h"

struct IF_ITERATOR_S {
    uint32_t start = 0;  // the ifIndex it was made for
    bool live = false;   // handed out and not finalized yet
};

namespace lldpv2host {

struct NodeState {
    bool up = true;
    std::map<std::string, std::shared_ptr<NodeAttachment>, std::less<>> attachments;
};

class Switch {
public:
    // Never destroyed: a module unloaded at process exit still calls the
    // platform from its destructor after static objects have gone.
    static Switch &Get() {
        static Switch *instance = new Switch;
        return *instance;
    }

    mutable std::shared_mutex lock;

    std::map<uint16_t, NodeState> nodes;
    std::map<uint32_t, Interface> interfaces;
    std::map<uint32_t, std::set<uint32_t>> ifIndexesByType;
    std::map<uint16_t, std::set<uint32_t>> ifIndexesByNode;

    uint32_t localUnit = 1;
    std::set<uint16_t> startedUnits{1};

    // Every iterator ever made; finalized ones wait in freeIterators for the
    // next IF_IteratorInitialize, so that walking a port table allocates
    // nothing once a few iterators exist. A handle is valid while live.
    std::set<IF_ITERATOR_S *> iterators;
    std::vector<IF_ITERATOR_S *> freeIterators;
    size_t liveIterators = 0;
    bool IsLive(IF_ITERATOR_S *it) const { return it != nullptr && iterators.contains(it) && it->live; }

    std::map<uint64_t, std::shared_ptr<const SwitchObserver>> observers;
    uint64_t nextObserverId = 1;

    // Caller holds the lock exclusively.
    void IndexInterface(const Interface &intf) {
        ifIndexesByType[intf.type].insert(intf.ifIndex);
        ifIndexesByNode[intf.node].insert(intf.ifIndex);
    }
    void UnindexInterface(const Interface &intf) {
        EraseFrom(ifIndexesByType, intf.type, intf.ifIndex);
        EraseFrom(ifIndexesByNode, intf.node, intf.ifIndex);
    }

private:
    Switch() = default;

    template <typename K>
    static void EraseFrom(std::map<K, std::set<uint32_t>> &index, K key, uint32_t ifIndex) {
        auto it = index.find(key);
        if (it == index.end()) return;
        it->second.erase(ifIndex);
        if (it->second.empty()) index.erase(it);
    }
};

}  // namespace lldpv2host
