// Helpers shared by the table processors. The LLDP_mibpub_ functions (and
// GetNextIfIndexByIfIndex) are exported for other modules of the agent; the
// rest are private to the module.
#pragma once

#include <cstdint>

#include "common/codes.h"
#include "lldpv2/platform.h"

extern "C" {

// Index of every per-port table: interface index and agent
// (destination-address index: 1 nearest bridge, 2 nearest non-TPMR bridge,
// 3 nearest customer bridge).
typedef struct LLDP_PORT_AGENT_S {
    uint32_t port;
    uint32_t agent;
} LLDP_PORT_AGENT_S;

// A table processor: (op type, request, reply) -> status.
typedef uint32_t (*LLDP_TABLE_PROC_PF)(uint32_t opType, MOR_MSG request, MOR_MSG reply);

void LLDP_mibpub_InitTfai(LLDP_TFAI_S *tfai);
void LLDP_mibpub_InitPortAgent(LLDP_PORT_AGENT_S *pair);
uint32_t LLDP_mibpub_CheckAgent(uint32_t agent, uint16_t mode);
uint32_t LLDP_mibpub_CheckAgentCfg(uint32_t agent, uint16_t mode);
uint32_t LLDP_mibpub_CheckPort(uint32_t ifIndex);
uint32_t LLDP_mibpub_GetPortType(uint32_t ifIndex, uint32_t *type);
uint32_t LLDP_mibpub_CheckLackIndex(MOR_MSG request, uint32_t morId);
uint32_t LLDP_mibpub_SetIndexToReplyMsg(MOR_MSG reply, uint32_t portMorId, uint32_t agentMorId,
                                        const LLDP_PORT_AGENT_S *pair);
uint32_t LLDP_mibpub_SetTfaiToReplyMsg(MOR_MSG reply, uint32_t timeMarkMorId, uint32_t portMorId,
                                       uint32_t agentMorId, uint32_t remIndexMorId, const LLDP_TFAI_S *tfai);
uint32_t LLDP_mibpub_LocInfoCreateTLVList(const uint8_t *buf, uint16_t len, LLDP_TLV_LIST_S *list);
uint32_t LLDP_mibpub_RemInfoToTLVList(const uint8_t *buf, uint16_t len, LLDP_TLV_LIST_S *list);
uint32_t LLDP_mibpub_LocInfoFreeTLVList(LLDP_TLV_LIST_S *list);

uint32_t LLDP_mibpub_GetNextIfIndexByIfIndex(uint32_t ifIndex, IF_SELECT_S *selection);
uint32_t GetNextIfIndexByIfIndex(uint32_t ifIndex);

// Registration of table processors, and the service check of the dispatcher.
uint32_t LLDP_mibpub_V2MibMorInit(void);
uint32_t LLDP_mibpub_V2MibMorFini(void);
uint32_t LLDP_mibpub_V2MIBRegisterTableProc(uint32_t tableId, LLDP_TABLE_PROC_PF proc);
uint32_t LLDP_mibpub_CheckToStartService(uint32_t opType);

// Initialisers of the table families.
void LLDPV2_MIB_InitBasic(void);
void LLDPV2_DOT1_MIB_Init(void);
void LLDPV2_DOT3_MIB_Init(void);
void DCBX_MIB_Init(void);
}

namespace lldpv2 {

// Interface type codes, sorted into the classes that decide which agents a
// port may run.
enum class PortClass { Ordinary, Second, CustomerBridgeOnly, NearestBridgeOnly, NotLldp };
inline constexpr uint32_t kUnknownPortType = 128;
PortClass ClassOfPortType(uint32_t type);
// Whether the agent (1..3) may run on a port of the class.
bool AgentAllowed(PortClass cls, uint32_t agent);

bool IsAgentIndexValid(uint32_t agent);
// 1 when the port is an LLDP port; customer-bridge-only ports count only when
// strict is not 1.
[[nodiscard]] uint32_t IsLldpCapablePort(uint32_t ifIndex, uint16_t strict);
// 1 when the agent may run on the port, judged from its type alone.
[[nodiscard]] uint32_t IsPortAgentValid(uint32_t ifIndex, uint32_t agent);

// Index readers: they store the value first and check it after, so that a
// get-next can still position its search on a bad index.
[[nodiscard]] uint32_t ReadAgentIndexPara(MOR_PARA para, uint32_t *agent);
[[nodiscard]] uint32_t ReadPortIndexPara(MOR_PARA para, uint32_t *port);
[[nodiscard]] uint32_t ReadTfaiIndexPara(uint32_t morId, MOR_PARA para, LLDP_TFAI_S *tfai);
[[nodiscard]] uint32_t ReadManAddrPara(MOR_PARA para, LLDP_MANADDR_KEY_S *key);

struct DestMac {
    uint8_t addr[6];
    uint32_t len;
};
[[nodiscard]] uint32_t GetDestMacAddress(uint32_t agent, DestMac *mac);

// Keys and results of the remote TLV lookups.
struct UnknownTlvKey {
    LLDP_TFAI_S tfai;
    uint32_t type;
};
struct OrgDefKey {
    LLDP_TFAI_S tfai;
    uint8_t oui[4];
    uint32_t ouiLen;
    uint32_t subtype;
    uint32_t index;
};
inline constexpr uint32_t kOrgDefInfoMax = 507;
inline constexpr uint32_t kUnknownInfoMax = 511;
struct RemTlvInfo {
    uint32_t len;
    uint8_t info[kUnknownInfoMax + 1];
};
[[nodiscard]] uint32_t GetRemOrgDefInfo(const OrgDefKey &key, RemTlvInfo *out);
[[nodiscard]] uint32_t GetRemUnknownTlv(const UnknownTlvKey &key, RemTlvInfo *out);

// Next (port, agent) pair after (port, agent) in interface order; 0 or
// kErrGeneral at the end. Strict walks skip customer-bridge-only ports.
[[nodiscard]] uint32_t GetNextPortAgent(uint16_t strict, uint32_t port, uint32_t agent, uint32_t *nextPort,
                          uint32_t *nextAgent);

}  // namespace lldpv2
