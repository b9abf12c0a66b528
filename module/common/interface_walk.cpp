// Walks over LLDP ports, and over (port, agent) pairs, in interface order.
#include <array>

#include "common/export.h"
#include "common/guards.h"
#include "common/port_types.h"
#include "common/mibpub.h"

namespace lldpv2 {
namespace {


void AddTypes(IF_SELECT_S *selection, std::span<const uint32_t> types) {
    for (uint32_t type : types) IF_SelectType_Set(type, selection);
}

}  // namespace

uint32_t GetNextPortAgent(uint16_t strict, uint32_t port, uint32_t agent, uint32_t *nextPort, uint32_t *nextAgent) {
    IF_SELECT_S selection{};
    IF_Select_Init(IF_SELECT_KIND_BY_TYPE, &selection);
    // The ordinary types, then the second and nearest-bridge-only classes;
    // the customer-bridge-only class only on a lenient walk.
    AddTypes(&selection, kOrdinaryPortTypes);
    AddTypes(&selection, kSecondClassPortTypes);
    AddTypes(&selection, kNearestBridgeOnlyPortTypes);
    if (strict != 1) AddTypes(&selection, kCustomerBridgeOnlyPortTypes);

    if (IF_IsValidIfIndex(port) != 0) {
        uint32_t type = kUnknownPortType;
        if (IF_GetDataByIfIndex(port, IF_ATTR_TYPE, &type) != 0) type = kUnknownPortType;
        const PortClass cls = ClassOfPortType(type);
        // The current port's type is not compared with the selection before
        // staying on it: the per-table pair check refuses such rows later.
        bool stay = true;
        if (strict == 1 && cls == PortClass::CustomerBridgeOnly) {
            stay = false;
        } else if (cls == PortClass::NearestBridgeOnly) {
            if (agent == 0) {
                *nextPort = port;
                *nextAgent = LLDP_util_SetIfFirstAgentID(port);
                return kOk;
            }
            stay = false;
        } else if (agent > 2) {
            stay = false;
        }
        if (stay) {
            *nextPort = port;
            if (agent == 0) {
                *nextAgent = LLDP_util_SetIfFirstAgentID(port);
            } else if (cls == PortClass::CustomerBridgeOnly) {
                *nextAgent = 3;
            } else {
                *nextAgent = agent + 1;
            }
            return kOk;
        }
    }

    const uint32_t next = LLDP_mibpub_GetNextIfIndexByIfIndex(port, &selection);
    if (next == 0) return kErrGeneral;
    *nextPort = next;
    *nextAgent = LLDP_util_SetIfFirstAgentID(next);
    return kOk;
}

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetNextIfIndexByIfIndex(uint32_t ifIndex, IF_SELECT_S *selection) {
    IF_ITERATOR iterator = IF_IteratorInitialize(ifIndex, selection);
    if (iterator == nullptr) return 0;
    const ScopeExit finalize([&iterator] { IF_IteratorFinalize(&iterator); });
    IF_SelectProperty_Set(IF_SELECT_PROPERTY_PLAIN_PORT, selection);
    IF_SelectCondition_Set(IF_SELECT_CONDITION_NODE_UP, selection);
    return IF_GetNextIfIndexByIfSelect(selection, iterator, ifIndex);
}

LLDPV2_EXPORT uint32_t GetNextIfIndexByIfIndex(uint32_t ifIndex) {
    IF_SELECT_S selection{};
    IF_Select_Init(IF_SELECT_KIND_BY_TYPE, &selection);
    AddTypes(&selection, kOrdinaryPortTypes);
    return LLDP_mibpub_GetNextIfIndexByIfIndex(ifIndex, &selection);
}

}  // extern "C"
