// The interface and device managers, the local unit and the service state,
// answered from the switch model.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "lldpv2/ifm.h"
#include "lldpv2/lldp_client.h"
#include "lldpv2host/trace.h"
#include "switch_state.h"

using lldpv2host::Interface;
using lldpv2host::Switch;
using lldpv2host::TraceCall;

namespace {

// Caller holds the lock. Null for an unknown ifIndex.
const Interface *Find(const Switch &sw, uint32_t ifIndex) {
    auto it = sw.interfaces.find(ifIndex);
    return it == sw.interfaces.end() ? nullptr : &it->second;
}

bool HasBit(uint32_t bits, uint32_t n) { return n < 32 && (bits & (1u << n)) != 0; }

// Caller holds the lock. Whether the interface meets the selection's
// properties and conditions (its type has been matched already).
bool MeetsSelection(const Switch &sw, const Interface &intf, const IF_SELECT_S &sel) {
    if (HasBit(sel.properties, lldpv2host::kIfPropertyPlainPort) &&
        (!intf.valid || intf.temporary || intf.subInterface)) {
        return false;
    }
    if (HasBit(sel.conditions, lldpv2host::kIfConditionNodeUp)) {
        auto node = sw.nodes.find(intf.node);
        if (node == sw.nodes.end() || !node->second.up) return false;
    }
    return true;
}

}  // namespace

extern "C" {

uint32_t IF_GetDataByIfIndex(uint32_t ifIndex, uint32_t attribute, void *out) {
    if (uint32_t fault = TraceCall("IF_GetDataByIfIndex", ifIndex, attribute)) return fault;
    if (out == nullptr) return lldpv2host::kIfBadArgument;
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    const Interface *intf = Find(sw, ifIndex);
    if (intf == nullptr) return lldpv2host::kIfNoSuchInterface;
    uint32_t value = 0;
    switch (attribute) {
    case IF_ATTR_TYPE:
        if (!intf->typeReadable) return lldpv2host::kIfAttributeUnreadable;
        value = intf->type;
        break;
    case IF_ATTR_LLDP_DATA:
        value = intf->lldpData;
        break;
    default:
        return lldpv2host::kIfUnknownAttribute;
    }
    std::memcpy(out, &value, sizeof value);
    return 0;
}

uint16_t IF_IsValidIfIndex(uint32_t ifIndex) {
    TraceCall("IF_IsValidIfIndex", ifIndex);
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    const Interface *intf = Find(sw, ifIndex);
    return intf != nullptr && intf->valid ? 1 : 0;
}

uint16_t IF_IsSubIf(uint32_t ifIndex) {
    TraceCall("IF_IsSubIf", ifIndex);
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    const Interface *intf = Find(sw, ifIndex);
    return intf != nullptr && intf->subInterface ? 1 : 0;
}

uint16_t IF_IsTempIf(uint32_t ifIndex) {
    TraceCall("IF_IsTempIf", ifIndex);
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    const Interface *intf = Find(sw, ifIndex);
    return intf != nullptr && intf->temporary ? 1 : 0;
}

uint16_t IF_IsNodeUp(uint16_t node) {
    TraceCall("IF_IsNodeUp", node);
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    auto it = sw.nodes.find(node);
    return it != sw.nodes.end() && it->second.up ? 1 : 0;
}

void IF_Select_Init(uint32_t kind, IF_SELECT_S *selection) {
    TraceCall("IF_Select_Init", kind);
    if (selection == nullptr) return;
    *selection = IF_SELECT_S{};
    selection->kind = kind;
}

void IF_SelectType_Set(uint32_t typeCode, IF_SELECT_S *selection) {
    TraceCall("IF_SelectType_Set", typeCode);
    if (selection == nullptr) return;
    uint32_t count = std::min<uint32_t>(selection->typeCount, IF_SELECT_MAX_TYPES);
    if (std::find(selection->types, selection->types + count, typeCode) != selection->types + count) return;
    if (count == IF_SELECT_MAX_TYPES) return;
    selection->types[count] = typeCode;
    selection->typeCount = count + 1;
}

void IF_SelectProperty_Set(uint32_t property, IF_SELECT_S *selection) {
    TraceCall("IF_SelectProperty_Set", property);
    if (selection != nullptr && property < 32) selection->properties |= 1u << property;
}

void IF_SelectCondition_Set(uint32_t condition, IF_SELECT_S *selection) {
    TraceCall("IF_SelectCondition_Set", condition);
    if (selection != nullptr && condition < 32) selection->conditions |= 1u << condition;
}

IF_ITERATOR IF_IteratorInitialize(uint32_t ifIndex, IF_SELECT_S * /*selection*/) {
    if (TraceCall("IF_IteratorInitialize", ifIndex) != 0) return nullptr;
    Switch &sw = Switch::Get();
    std::unique_lock guard(sw.lock);
    IF_ITERATOR_S *it = nullptr;
    if (!sw.freeIterators.empty()) {
        it = sw.freeIterators.back();
        sw.freeIterators.pop_back();
    } else {
        it = new IF_ITERATOR_S;
        sw.iterators.insert(it);
        sw.freeIterators.reserve(sw.iterators.size());
    }
    it->start = ifIndex;
    it->live = true;
    ++sw.liveIterators;
    return it;
}

uint32_t IF_GetNextIfIndexByIfSelect(IF_SELECT_S *selection, IF_ITERATOR iterator, uint32_t ifIndex) {
    TraceCall("IF_GetNextIfIndexByIfSelect", ifIndex);
    if (selection == nullptr) return 0;
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    if (!sw.IsLive(iterator)) return 0;
    // The smallest match over the selected types: per type, the first
    // interface above ifIndex that meets the selection.
    uint32_t best = 0;
    uint32_t count = std::min<uint32_t>(selection->typeCount, IF_SELECT_MAX_TYPES);
    for (uint32_t i = 0; i < count; ++i) {
        auto byType = sw.ifIndexesByType.find(selection->types[i]);
        if (byType == sw.ifIndexesByType.end()) continue;
        const std::set<uint32_t> &ifIndexes = byType->second;
        for (auto it = ifIndexes.upper_bound(ifIndex); it != ifIndexes.end(); ++it) {
            if (best != 0 && *it >= best) break;
            if (MeetsSelection(sw, sw.interfaces.at(*it), *selection)) {
                best = *it;
                break;
            }
        }
    }
    return best;
}

void IF_IteratorFinalize(IF_ITERATOR *iterator) {
    TraceCall("IF_IteratorFinalize");
    if (iterator == nullptr || *iterator == nullptr) return;
    Switch &sw = Switch::Get();
    {
        std::unique_lock guard(sw.lock);
        // A handle that is not live (finalized twice, or never made here)
        // is left alone rather than freed.
        if (sw.IsLive(*iterator)) {
            (*iterator)->live = false;
            --sw.liveIterators;
            sw.freeIterators.push_back(*iterator);
        }
    }
    *iterator = nullptr;
}

uint16_t *DEV_GetAllNodes(uint32_t *count) {
    if (count != nullptr) *count = 0;
    if (TraceCall("DEV_GetAllNodes") != 0) return nullptr;
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    if (sw.nodes.empty()) return nullptr;
    auto *nodes = static_cast<uint16_t *>(std::malloc(sw.nodes.size() * sizeof(uint16_t)));
    if (nodes == nullptr) return nullptr;
    size_t n = 0;
    for (const auto &[node, state] : sw.nodes) nodes[n++] = node;
    if (count != nullptr) *count = static_cast<uint32_t>(n);
    return nodes;
}

uint32_t LIP_GetLocalLip(void) {
    TraceCall("LIP_GetLocalLip");
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    return sw.localUnit;
}

uint16_t LLDP_util_IsServiceStarted(uint16_t unit, const char *service, uint32_t /*flags*/) {
    TraceCall("LLDP_util_IsServiceStarted", unit, service);
    if (service == nullptr || std::strcmp(service, "LLDP") != 0) return 0;
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    return sw.startedUnits.contains(unit) ? 1 : 0;
}

uint32_t LLDP_util_SetIfFirstAgentID(uint32_t ifIndex) {
    TraceCall("LLDP_util_SetIfFirstAgentID", ifIndex);
    Switch &sw = Switch::Get();
    std::shared_lock guard(sw.lock);
    const Interface *intf = Find(sw, ifIndex);
    return intf == nullptr ? 1 : lldpv2host::FirstAgentOf(intf->type);
}

}  // extern "C"
