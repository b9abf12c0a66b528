// Table processors of the IEEE 802.1 extension (table ids 21 to 40), the data
// getters and setters they export, and what the configuration, local and
// remote tables share: the dot1 port types, the MOR ids of the local index
// columns and the reader of the two-part local index.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "common/mibpub.h"
#include "common/port_types.h"
#include "common/registry.h"
#include "common/reply.h"

extern "C" {

// A VLAN name in MIB form; also the record in which a node's daemon answers
// the get-next of the VLAN name rows.
typedef struct LLDP_MIB_VLANNAME_S {
    char name[33];        /* at most 32 name octets and a NUL */
    uint8_t reserved[3];
    uint32_t len;         /* the name length of the TLV (network order as the daemon sends it) */
} LLDP_MIB_VLANNAME_S;
static_assert(offsetof(LLDP_MIB_VLANNAME_S, len) == 36, "the name length lies at byte 36");
static_assert(sizeof(LLDP_MIB_VLANNAME_S) == 40, "a VLAN name result is 40 bytes");

// A port-and-protocol VLAN row in MIB form: two TruthValues.
typedef struct LLDP_MIB_PROTOVLAN_S {
    uint32_t supported;
    uint32_t enabled;
} LLDP_MIB_PROTOVLAN_S;

// Key of a local row: interface index and, for the two-part tables, the
// VLAN id, port-and-protocol VLAN id or protocol index.
typedef struct LLDP_DOT1_ROWKEY_S {
    uint32_t ifIndex;
    uint32_t index2;
} LLDP_DOT1_ROWKEY_S;

// Local data (what the switch advertises on a port).
uint32_t LLDP_mibpub_GetXdot1LocTable(uint32_t ifIndex, uint16_t *pvid);
LLDP_VLAN_NAME_S *LLDP_mibpub_GetDot1LocVlanNameData(uint32_t ifIndex);
uint32_t LLDP_mibpub_GetVlanNameByVlanId(const LLDP_VLAN_NAME_S *data, uint32_t vlanId, LLDP_MIB_VLANNAME_S *result);
uint32_t LLDP_mibpub_GetXdot1LocVlanName(uint32_t ifIndex, uint32_t vlanId, LLDP_MIB_VLANNAME_S *result);
LLDP_PPVID_S *LLDP_mibpub_GetDot1LocProtoVlanData(uint32_t ifIndex);
uint32_t LLDP_mibpub_SetProtoVlanTable(const LLDP_PPVID_S *data, uint32_t ppvid, uint16_t mode,
                                       LLDP_MIB_PROTOVLAN_S *result);
uint32_t LLDP_mibpub_GetXdot1LocProtoVlanTable(uint32_t ifIndex, uint32_t ppvid, LLDP_MIB_PROTOVLAN_S *result);
uint32_t LLDP_mibpub_GetLinkAggFromPkt(const uint8_t *buf, uint16_t len, LLDP_LINK_AGG_S *result);
uint32_t GetLldpV2Xdot1LocProtocolTableByIndex(const LLDP_DOT1_ROWKEY_S *key);
uint32_t LLDP_mibpub_CheckVlan(uint32_t vlanId, uint16_t mode);
uint32_t LLDP_mibpub_CheckProtocolIndex(uint32_t index);

// Transmit switches of the 802.1 TLVs (TruthValue: 1 on, 2 off).
uint32_t LLDP_mibpub_GetXdot1ConfigPortVlan(uint32_t ifIndex, uint32_t agent, uint32_t *value);
uint32_t LLDP_mibpub_GetXdot1ConfigVlanNameTable(uint32_t ifIndex, uint32_t vlanId, uint32_t agent, uint32_t *value);
uint32_t LLDP_mibpub_GetXdot1ConfigProtoVlan(uint32_t ifIndex, uint32_t protoVlanId, uint32_t agent, uint32_t *value);
uint32_t LLDP_mibpub_GetXdot1ConfigProtocol(uint32_t ifIndex, uint32_t protocolIndex, uint32_t *value);
uint32_t LLDP_mibpub_GetXdot1ConfigVidUsageDigest(uint32_t ifIndex, uint32_t *value);
uint32_t LLDP_mibpub_GetXdot1ConfigManVid(uint32_t ifIndex, uint32_t agent, uint32_t *value);
uint32_t LLDP_mibpub_SetXdot1ConfigPortVlan(uint32_t ifIndex, uint32_t agent, uint32_t value);
uint32_t LLDP_mibpub_SetXdot1ConfigVlanNameTable(uint32_t ifIndex, uint32_t vlanId, uint32_t agent, uint32_t value);
uint32_t LLDP_mibpub_SetXdot1ConfigProtoVlan(uint32_t ifIndex, uint32_t protoVlanId, uint32_t agent, uint32_t value);
uint32_t LLDP_mibpub_SetXdot1ConfigManVid(uint32_t ifIndex, uint32_t agent, uint32_t value);
}

namespace lldpv2 {

// Index and configuration columns that several dot1 tables read.
inline constexpr uint32_t kLocPortIfIndex = mib::lldpV2LocPortIfIndex;
inline constexpr uint32_t kLocProtoVlanId = mib::lldpV2Xdot1LocProtoVlanId;
inline constexpr uint32_t kLocVlanId = mib::lldpV2Xdot1LocVlanId;
inline constexpr uint32_t kLocProtocolIndex = mib::lldpV2Xdot1LocProtocolIndex;
inline constexpr uint32_t kCfgVlanNameTxEnable = mib::lldpV2Xdot1ConfigVlanNameTxEnable;
inline constexpr uint32_t kCfgProtoVlanTxEnable = mib::lldpV2Xdot1ConfigProtoVlanTxEnable;
inline constexpr uint32_t kCfgProtocolTxEnable = mib::lldpV2Xdot1ConfigProtocolTxEnable;

// The longest VLAN name a row answers.
inline constexpr uint32_t kMaxVlanNameLen = 32;

// The protocol VLAN and VLAN name rows as the local and the remote tables
// answer them: the record of the daemon's get-next, its conversion, and the
// data columns.
template <uint32_t SupportedColumn, uint32_t EnabledColumn>
struct ProtoVlanRow {
    using Row = LLDP_MIB_PROTOVLAN_S;
    using Result = std::array<uint32_t, 2>;  // supported, enabled (network order)
    static Row FromResult(const Result &r) { return Row{TruthValue(NetToHost32(r[0])), TruthValue(NetToHost32(r[1]))}; }
    [[nodiscard]] static uint32_t Append(MOR_MSG reply, const Row &row) {
        return FirstFailure({
            AppendEnum(reply, SupportedColumn, row.supported),
            AppendEnum(reply, EnabledColumn, row.enabled),
        });
    }
};
template <uint32_t NameColumn>
struct VlanNameRow {
    using Row = LLDP_MIB_VLANNAME_S;
    using Result = LLDP_MIB_VLANNAME_S;
    static Row FromResult(const Result &r) {
        Row row = r;
        row.len = NetToHost32(r.len);
        return row;
    }
    // The length is the TLV's, whatever the copied text holds.
    [[nodiscard]] static uint32_t Append(MOR_MSG reply, const Row &row) {
        return AppendOctets(reply, NameColumn, row.name, std::min(row.len, kMaxVlanNameLen));
    }
};

// The largest VLAN id a row may carry.
inline constexpr uint32_t kMaxVlanId = 4094;

// Whether the port's type can be read and lies in kDot1PortTypes.
bool IsDot1Port(uint32_t ifIndex);
// The lldpV2LocPortIfIndex of a request, 0 when it names none (the tables
// keyed by the port alone read it so, wherever it stands).
uint32_t RequestPort(MOR_MSG request);

// The two-part local indexes: (port, PPVID) of lldpV2Xdot1LocProtoVlanTable,
// (port, VLAN id) of lldpV2Xdot1LocVlanNameTable and (port, protocol index)
// of lldpV2Xdot1LocProtocolTable. The configuration tables 23, 22 and 24
// read their index with the same readers.
enum class LocalIndex { ProtoVlan, VlanName, Protocol };

// Reads the index of the request into key (missing parts stay 0) and stops
// at the first error. mode 1 (a set) turns index errors into kErrSetRefused
// and stores the value of the matching configuration column in *txEnable.
IndexWalk ReadLocalIndex(MOR_MSG request, LocalIndex form, uint16_t mode, LLDP_DOT1_ROWKEY_S *key,
                         uint32_t *txEnable = nullptr);

// The index of the 802.1 remote tables: the TFAI, and in some tables a
// sub-index after it. The port is checked with LLDP_mibpub_CheckPort, the
// agent with LLDP_mibpub_CheckAgent and the sub-index with checkSub; the
// table's data columns firstData..lastData are accepted and skipped.
struct RemoteIndexForm {
    uint32_t subIndex;  // MOR id of the sub-index column; 0 when the TFAI is the whole key
    uint32_t (*checkSub)(uint32_t value);
    uint32_t firstData;
    uint32_t lastData;
};

// Reads the index into tfai and *subIndex (missing parts stay 0) and stops
// at the first error.
IndexWalk ReadRemoteIndex(MOR_MSG request, const RemoteIndexForm &form, LLDP_TFAI_S *tfai, uint32_t *subIndex);

// The processors of each group of tables, by table id: configuration
// (21 to 26), local data (27 to 33) and the remote lists (35 to 39).
extern const std::array<TableRegistration, 6> kDot1ConfigTables;
extern const std::array<TableRegistration, 7> kDot1LocalTables;
extern const std::array<TableRegistration, 5> kRemoteListTables;

// The remote port VLAN (34) and link aggregation (40) tables.
uint32_t RemPortVlanProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);
uint32_t RemLinkAggProc(uint32_t opType, MOR_MSG request, MOR_MSG reply);

}  // namespace lldpv2
