// The daemon's answers in their byte form: the buffers of the per-port and
// per-node items and the records of the get-next queries.
#pragma once

#include <cstdint>
#include <vector>

#include "lldp/daemon/daemon.h"
#include "lldpv2/dcbx_lib.h"
#include "lldpv2/lldp_client.h"

namespace lldpv2host::daemon {

std::vector<uint8_t> StatusBuffer(const AgentState &agent, uint32_t neighbours);
std::vector<uint8_t> StatsBuffer(const AgentCounters &c);
std::vector<uint8_t> NodeStatsBuffer(const NodeStats &s);
std::vector<uint8_t> TlvCfgBuffer(const AgentState &agent);
std::vector<uint8_t> SysInfoBuffer(const LocalSystemData &sys);
// LLDP_ITEM_LOC_PORT: 4-byte header and the TLV stream.
std::vector<uint8_t> LocalPortBuffer(const Daemon &d, const PortState &port, uint32_t agent);
// Remote information, the 1-byte header and the stored TLV stream, copied
// into an answer of capacity bytes like CopyOut; false when it does not fit.
bool CopyRemoteInfo(const Neighbour &n, uint32_t capacity, void *buf, uint16_t *len);
DCBX_ADMIN_S AdminRecord(const DcbxAdmin &admin);  // network order
LLDP_LOC_MANADDR_S LocalManAddrRecord(const LocalManAddr &m);  // network order

// The management address record of a transmit entry (host order, as the TLV
// configuration carries it) and back; nullopt for a record naming no address.
LLDP_MANADDR_REC_S ManAddrRecordOf(const ManKey &key);
std::optional<ManKey> ManKeyOf(const LLDP_MANADDR_REC_S &rec);

// Copies bytes into an answer of capacity bytes; false when it does not fit.
bool CopyOut(const std::vector<uint8_t> &bytes, uint32_t capacity, void *buf, uint16_t *len);
bool CopyOut(const void *data, size_t n, uint32_t capacity, void *buf, uint16_t *len);

}  // namespace lldpv2host::daemon
