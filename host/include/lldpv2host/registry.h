// What modules registered with the host platform's SNMP agent side: compiled
// MIB trees, with an observer for the agent that serves them. (The MOR
// callbacks of the modules are kept by the MOR layer, lldpv2host/mor_host.h.)
//
// SNMP_RegisterMibTree refuses (kRegistryRefused) a null name or root and a
// name that is already registered. SNMP_DeregMibTree refuses a name that is
// not registered and a root other than the one registered under the name.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "lldpv2/mib_node.h"

namespace lldpv2host {

// Status of a refused registration or deregistration.
constexpr uint32_t kRegistryRefused = 0x40010001;

struct RegisteredTree {
    std::string name;
    uint32_t context = 0;
    uint32_t version = 0;
    const MIB_NODE_S *root = nullptr;
};

// Trees currently registered, in registration order.
std::vector<RegisteredTree> RegisteredTrees();
// The tree registered under name.
std::optional<RegisteredTree> FindTree(const std::string &name);

// Called after a tree is added (added = true) or removed (added = false), on
// the thread that made the call and without any platform lock held, so the
// observer may call back into the platform. Replaces the previous observer;
// an empty function removes it.
using TreeObserver = std::function<void(const RegisteredTree &tree, bool added)>;
void SetTreeObserver(TreeObserver observer);

// Removes every tree, telling the observer about each (for test fixtures).
void ClearTrees();

}  // namespace lldpv2host
