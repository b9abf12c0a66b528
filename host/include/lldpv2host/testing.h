// Test abilities of the host platform: ways to make the simulated switch
// answer what a switch platform may answer but a scenario cannot describe,
// and to watch what a module hands the LLDP daemons. Meant for tests; every
// ability is off until a test turns it on, and ResetTesting turns them all
// off again (ResetLldp and ResetSwitch leave them alone).
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "lldpv2host/lldp.h"

namespace lldpv2host::testing {

// Turns every ability below off and forgets what was recorded.
void ResetTesting();

// Management addresses as the TLV library decodes a neighbour's information
// (LLDP_libbasic_ManAddrTLVBufToData): normally the addresses of one subtype
// share a slot. With this on, every address opens a slot of its own, so that
// several slots have the same subtype.
void SetManAddrSlotPerAddress(bool on);

// With octets > 0, the information of every unknown and organizationally
// specific TLV is longer by that many filler octets (0xEE) in the TLV
// library's decoded lists (LLDP_libbasic_ParseUnknownTLV) and in the
// daemons' remote sub-table records (LLDP_mor_MibGetNext item 21), up to the
// capacity of the record: records longer than a TLV can carry.
void SetTlvInfoFiller(uint32_t octets);
inline constexpr uint8_t kTlvInfoFillerOctet = 0xEE;

// With this on, the DCBX library (DCBX_lib_GetETSConfDataFromTLVList,
// DCBX_lib_GetPFCDataFromTLVList) reports the credit-based shaper and the
// traffic-class count of ETS, and the MBC and capability of PFC, as absent.
void SetDcbxOptionalFieldsAbsent(bool on);

// Node `node` answers LLDP_mor_MibGetNext as node `like` would (its ports,
// neighbours and management addresses), with alter applied to every result
// it returns: two nodes then tie on the same key with results told apart.
// node must be up for the module to ask it; like need not be. An empty alter
// leaves the results as they are.
using ResultAlter = std::function<void(uint32_t item, uint32_t selector, uint8_t *result, uint16_t len)>;
void AnswerLike(uint16_t node, uint16_t like, ResultAlter alter);

// Every LLDP_mor_SetTlvCfg call: its arguments and the whole request block.
struct TlvCfgRequest {
    uint32_t ifIndex = 0;
    uint32_t agent = 0;
    uint32_t enable = 0;
    std::vector<uint8_t> block;  // LLDP_TLV_CFG_REQ_SIZE octets as handed over
    uint32_t Word(size_t i) const;
    uint16_t Half(size_t octet) const;  // the 16-bit field at that octet
};
// Starts recording (dropping what an earlier recording kept).
void RecordTlvCfgRequests();
// What was recorded since; recording goes on.
std::vector<TlvCfgRequest> TlvCfgRequests();

// Replaces the statistics of an agent or of a node's remote table (the
// daemon keeps counting from there).
uint32_t SetCounters(uint32_t ifIndex, uint32_t agent, const AgentCounters &counters);
uint32_t SetNodeStats(uint16_t node, const RemoteTableStats &stats);

}  // namespace lldpv2host::testing
