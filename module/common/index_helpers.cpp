// Index records, their checks against the interfaces and the agent model,
// and the reply index writers.
#include <algorithm>
#include <array>
#include <cstring>

#include "common/export.h"
#include "common/port_types.h"
#include "common/mibpub.h"
#include "common/reply.h"

namespace lldpv2 {
namespace {

struct PortClassRow {
    PortClass cls;
    std::span<const uint32_t> types;
    std::array<bool, 4> agents;  // indexed by agent 1..3
};

// Interface type codes by class, and the agents each class allows.
constexpr std::array<PortClassRow, 4> kPortClasses = {{
    {PortClass::Ordinary, kOrdinaryPortTypes, {false, true, true, true}},
    {PortClass::Second, kSecondClassPortTypes, {false, false, true, true}},
    {PortClass::CustomerBridgeOnly, kCustomerBridgeOnlyPortTypes, {false, false, false, true}},
    {PortClass::NearestBridgeOnly, kNearestBridgeOnlyPortTypes, {false, true, false, false}},
}};

}  // namespace

PortClass ClassOfPortType(uint32_t type) {
    for (const auto &row : kPortClasses)
        if (HasType(row.types, type)) return row.cls;
    return PortClass::NotLldp;
}

bool AgentAllowed(PortClass cls, uint32_t agent) {
    if (agent < 1 || agent > 3) return false;
    for (const auto &row : kPortClasses)
        if (row.cls == cls) return row.agents[agent];
    return false;
}

bool IsAgentIndexValid(uint32_t agent) { return agent >= 1 && agent <= 3; }

uint32_t IsLldpCapablePort(uint32_t ifIndex, uint16_t strict) {
    uint32_t type = kUnknownPortType;
    if (LLDP_mibpub_GetPortType(ifIndex, &type) != kOk) return 0;
    switch (ClassOfPortType(type)) {
        case PortClass::Ordinary:
        case PortClass::Second:
        case PortClass::NearestBridgeOnly: return 1;
        case PortClass::CustomerBridgeOnly: return strict == 1 ? 0 : 1;
        case PortClass::NotLldp: break;
    }
    return 0;
}

uint32_t IsPortAgentValid(uint32_t ifIndex, uint32_t agent) {
    // The type is read directly: an interface that fails the port check can
    // still be judged by its type here.
    uint32_t type = kUnknownPortType;
    if (IF_GetDataByIfIndex(ifIndex, IF_ATTR_TYPE, &type) != 0) return 0;
    return AgentAllowed(ClassOfPortType(type), agent) ? 1 : 0;
}

uint32_t ReadAgentIndexPara(MOR_PARA para, uint32_t *agent) {
    *agent = MOR_GetData32(para);
    return IsAgentIndexValid(*agent) ? kOk : kErrNoInstance;
}

uint32_t ReadPortIndexPara(MOR_PARA para, uint32_t *port) {
    *port = MOR_GetData32(para);
    return IsLldpCapablePort(*port, 0) == 1 ? kOk : kErrNoInstance;
}

uint32_t ReadTfaiIndexPara(uint32_t morId, MOR_PARA para, LLDP_TFAI_S *tfai) {
    switch (morId) {
        case mib::lldpV2RemTimeMark: tfai->timeMark = MOR_GetData32(para); return kOk;
        case mib::lldpV2RemLocalIfIndex: return ReadPortIndexPara(para, &tfai->ifIndex);
        case mib::lldpV2RemLocalDestMACAddress: return ReadAgentIndexPara(para, &tfai->agent);
        default: tfai->remIndex = MOR_GetData32(para); return kOk;
    }
}

uint32_t ReadManAddrPara(MOR_PARA para, LLDP_MANADDR_KEY_S *key) {
    key->len = MOR_GetParaLen(para);
    if (key->len < 1 || key->len > 31) return kErrNoInstance;
    MOR_GetDataFromPara(para, LLDP_MANADDR_CAPACITY, key->addr);
    return kOk;
}

uint32_t GetDestMacAddress(uint32_t agent, DestMac *mac) {
    // Nearest bridge, nearest non-TPMR bridge, nearest customer bridge.
    static constexpr uint8_t kLastOctet[3] = {0x0E, 0x03, 0x00};
    if (!IsAgentIndexValid(agent)) return kErrNoInstance;
    const uint8_t addr[6] = {0x01, 0x80, 0xC2, 0x00, 0x00, kLastOctet[agent - 1]};
    std::memcpy(mac->addr, addr, sizeof(addr));
    mac->len = 6;
    return kOk;
}

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT void LLDP_mibpub_InitTfai(LLDP_TFAI_S *tfai) { *tfai = LLDP_TFAI_S{0, 0, 0, 0}; }

LLDPV2_EXPORT void LLDP_mibpub_InitPortAgent(LLDP_PORT_AGENT_S *pair) { *pair = LLDP_PORT_AGENT_S{0, 0}; }

LLDPV2_EXPORT uint32_t LLDP_mibpub_CheckAgent(uint32_t agent, uint16_t mode) {
    if (IsAgentIndexValid(agent)) return kOk;
    return mode == 1 ? kErrSetRefused : kErrNoInstance;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_CheckAgentCfg(uint32_t agent, uint16_t mode) {
    if (agent == 1) return kOk;
    return mode == 1 ? kErrSetRefused : kErrNoInstance;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_CheckPort(uint32_t ifIndex) {
    if (IF_IsValidIfIndex(ifIndex) != 1) return kErrNoInstance;
    if (IF_IsTempIf(ifIndex) == 1) return kErrNoInstance;
    if (IF_IsSubIf(ifIndex) == 1) return kErrNoInstance;
    return kOk;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetPortType(uint32_t ifIndex, uint32_t *type) {
    *type = kUnknownPortType;
    if (LLDP_mibpub_CheckPort(ifIndex) != kOk) return kErrGeneral;
    return IF_GetDataByIfIndex(ifIndex, IF_ATTR_TYPE, type);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_CheckLackIndex(MOR_MSG request, uint32_t morId) {
    return MOR_GetParaFromMsgByMOR(request, 0, morId) == nullptr ? 1 : 0;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_SetIndexToReplyMsg(MOR_MSG reply, uint32_t portMorId, uint32_t agentMorId,
                                                      const LLDP_PORT_AGENT_S *pair) {
    // The helper answers with the status of its last append, as its callers
    // in other modules expect; the earlier ones are not passed on.
    static_cast<void>(AppendEnum(reply, portMorId, pair->port));
    return AppendUnsigned(reply, agentMorId, pair->agent);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_SetTfaiToReplyMsg(MOR_MSG reply, uint32_t timeMarkMorId, uint32_t portMorId,
                                                     uint32_t agentMorId, uint32_t remIndexMorId,
                                                     const LLDP_TFAI_S *tfai) {
    // The status of the last append, like LLDP_mibpub_SetIndexToReplyMsg.
    static_cast<void>(AppendTimeMark(reply, timeMarkMorId, tfai->timeMark));
    static_cast<void>(AppendEnum(reply, portMorId, tfai->ifIndex));
    static_cast<void>(AppendUnsigned(reply, agentMorId, tfai->agent));
    return AppendUnsigned(reply, remIndexMorId, tfai->remIndex);
}

// A local information buffer starts with a 4-byte header, a remote one with
// a 1-byte header; the TLVs follow.
LLDPV2_EXPORT uint32_t LLDP_mibpub_LocInfoCreateTLVList(const uint8_t *buf, uint16_t len, LLDP_TLV_LIST_S *list) {
    if (len < 4) return kErrNoInstance;
    LLDP_tlvmng_SplitTLV(buf + 4, static_cast<uint16_t>(len - 4), list);
    return kOk;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_RemInfoToTLVList(const uint8_t *buf, uint16_t len, LLDP_TLV_LIST_S *list) {
    // No length check: the daemon always sends at least the header.
    return LLDP_tlvmng_SplitTLV(buf + 1, static_cast<uint16_t>(len - 1), list);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_LocInfoFreeTLVList(LLDP_TLV_LIST_S *list) { return LLDP_tlvmng_FreeNbTLVNode(list); }

}  // extern "C"
