// The 802.1 configuration tables (table ids 21 to 26): one TruthValue per
// row that says whether an 802.1 TLV is transmitted, kept in the daemon's
// per (port, agent) TLV transmit configuration.
#include <cstring>

#include "common/export.h"
#include "common/guards.h"
#include "common/tlv_cfg.h"
#include "dot1/dot1_tables.h"

namespace lldpv2 {
namespace {

constexpr uint32_t kLastAgent = 3;
// The one row of every port in the protocol configuration table.
constexpr uint32_t kProtocolRow = 1;
// Ports of this interface type run only the agents 2 and 3.
constexpr uint32_t kSecondClassType = kAggregatePortType;


// dataLen of a transmit change that carries the VLAN id of the TLV.
constexpr uint16_t kTxRecordVlanMarker = 2;

constexpr uint32_t MaskOf(uint32_t tlvBit) { return 1u << tlvBit; }

uint32_t FirstAgent(uint32_t ifIndex) { return LLDP_util_SetIfFirstAgentID(ifIndex); }

// The next dot1 configuration port after ifIndex, 0 when there is none.
uint32_t NextConfigPort(uint32_t ifIndex) {
    IF_SELECT_S selection{};
    IF_Select_Init(IF_SELECT_KIND_BY_TYPE, &selection);
    for (uint32_t type : kDot1PortTypes) IF_SelectType_Set(type, &selection);
    return LLDP_mibpub_GetNextIfIndexByIfIndex(ifIndex, &selection);
}

bool SecondClassAgentMissing(uint32_t ifIndex, uint32_t agent) {
    uint32_t type = kUnknownPortType;
    LLDP_mibpub_GetPortType(ifIndex, &type);
    return type == kSecondClassType && agent != 2 && agent != 3;
}

// Every read here releases the configuration also when it does not parse.
template <typename Read>
uint32_t ReadTlvCfg(uint32_t ifIndex, uint32_t agent, Read read) {
    return lldpv2::ReadTlvCfg(ifIndex, agent, TlvCfgRelease::Always, read);
}

uint32_t ReadSwitch(uint32_t tlvBit, uint32_t ifIndex, uint32_t agent, uint32_t *value) {
    return ReadTlvCfg(ifIndex, agent, [&](const TlvCfg &cfg) { *value = cfg.Enabled(tlvBit) ? kTrue : kFalse; });
}

// The VLAN (or protocol VLAN) id the TLV is sent for: the configured one,
// else the port's smallest VLAN, else its port VLAN id.
uint32_t TransmittedId(uint32_t ifIndex, const LLDP_TLV_CFG_ENTRY_S &entry) {
    if (entry.hasId == 1) return entry.id;
    const uint16_t minVlan = LLDP_util_GetMinVlanForPort(ifIndex);
    return minVlan != 0xFFFF ? minVlan : LLDP_util_GetPortPVId(ifIndex);
}

// True only while the TLV is transmitted and for the id asked for.
uint32_t ReadVlanSwitch(uint32_t tlvBit, uint32_t ifIndex, uint32_t id, uint32_t agent, uint32_t *value) {
    return ReadTlvCfg(ifIndex, agent, [&](const TlvCfg &cfg) {
        const LLDP_TLV_CFG_ENTRY_S &entry = cfg.get().entry[tlvBit];
        *value = (entry.enable == 1 && TransmittedId(ifIndex, entry) == id) ? kTrue : kFalse;
    });
}

// Sends one transmit change; vid names the VLAN the TLV is to carry.
uint32_t SendTxRecord(uint32_t ifIndex, uint32_t agent, uint32_t tlvBit, bool enable, const uint16_t *vid) {
    LLDP_TLV_CFG_REQ_S record = TlvCfgRequest(MaskOf(tlvBit), kScopeSingleTlv);
    if (vid != nullptr) {
        record.dataLen = kTxRecordVlanMarker;
        std::memcpy(record.data, vid, sizeof(*vid));
    }
    return LLDP_mor_SetTlvCfg(ifIndex, agent, enable ? 1 : 0, &record) == 0 ? kOk : kErrSetRefused;
}

uint32_t WriteVlanSwitch(uint32_t tlvBit, uint32_t ifIndex, uint32_t id, uint32_t agent, uint32_t value) {
    if (id != 0) {
        if (value == kTrue) {
            const uint16_t vid = static_cast<uint16_t>(id);
            return SendTxRecord(ifIndex, agent, tlvBit, true, &vid);
        }
        // Turning off an id that is not the one transmitted leaves the TLV alone.
        uint32_t current = kFalse;
        if (ReadVlanSwitch(tlvBit, ifIndex, id, agent, &current) != kOk) return kErrSetRefused;
        if (current == kFalse) return kOk;
    }
    return SendTxRecord(ifIndex, agent, tlvBit, value == kTrue, nullptr);
}

// Calls write(agent) for every agent from the port's first one up to the
// last and combines the results.
template <typename Write>
uint32_t WriteAllAgents(uint32_t ifIndex, Write write) {
    uint32_t result = kOk;
    for (uint32_t agent = FirstAgent(ifIndex); agent <= kLastAgent; ++agent) result |= write(agent);
    return result;
}

// ---- Table 21: port VLAN id, per (port, agent) ------------------------

struct PortVlanIndex {
    LLDP_PORT_AGENT_S pair{0, 0};
    uint32_t value = kFalse;
};

IndexWalk ReadPortVlanIndex(MOR_MSG request, uint16_t mode, PortVlanIndex *index) {
    return WalkIndex(request, [&](const Param &p) -> uint32_t {
        const auto pair = ReadPairColumn(
            p, &index->pair,
            [mode](uint32_t port) { return IsDot1Port(port) ? kOk : (mode == 1 ? kErrSetRefused : kErrNoInstance); },
            [mode](uint32_t agent) { return LLDP_mibpub_CheckAgent(agent, mode); });
        if (pair) return *pair;
        if (p.morId != mib::lldpV2Xdot1ConfigPortVlanTxEnable) return kErrUnserved;
        if (mode == 1) index->value = p.U32();
        return kOk;
    });
}

uint32_t ReadPortVlan(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    PortVlanIndex index;
    const IndexWalk walk = ReadPortVlanIndex(request, 0, &index);
    LLDP_PORT_AGENT_S pair = index.pair;
    uint32_t value = kFalse;
    if (opType == MOR_OP_GET) {
        if (walk.code != kOk) return Fail(reply, walk.code, walk.position);
        if (SecondClassAgentMissing(pair.port, pair.agent)) return Fail(reply, kErrNoInstance, walk.position);
        const uint32_t rc = LLDP_mibpub_GetXdot1ConfigPortVlan(pair.port, pair.agent, &value);
        if (rc != kOk) return Fail(reply, rc, walk.position);
        return Written(reply, AppendEnum(reply, mib::lldpV2Xdot1ConfigPortVlanTxEnable, value));
    }
    if (walk.code == kErrUnserved) return Fail(reply, walk.code, walk.position);
    if (IsDot1Port(pair.port) && pair.agent < kLastAgent) {
        pair.agent = pair.agent == 0 ? FirstAgent(pair.port) : pair.agent + 1;
    } else {
        pair.port = NextConfigPort(pair.port);
        if (pair.port == 0) return Fail(reply, kErrNoNext);
        pair.agent = FirstAgent(pair.port);
    }
    // A row that cannot be read ends the walk rather than being skipped.
    if (LLDP_mibpub_GetXdot1ConfigPortVlan(pair.port, pair.agent, &value) != kOk) return Fail(reply, kErrNoNext);
    LLDP_mibpub_SetIndexToReplyMsg(reply, mib::lldpV2PortConfigIfIndex, mib::lldpV2PortConfigDestAddressIndex, &pair);
    return Written(reply, AppendEnum(reply, mib::lldpV2Xdot1ConfigPortVlanTxEnable, value));
}

uint32_t WritePortVlan(MOR_MSG request, MOR_MSG reply) {
    PortVlanIndex index;
    const IndexWalk walk = ReadPortVlanIndex(request, 1, &index);
    if (walk.code != kOk) return Fail(reply, walk.code, walk.position);
    if (SecondClassAgentMissing(index.pair.port, index.pair.agent)) return Fail(reply, kErrSetRefused, walk.position);
    const uint32_t rc = LLDP_mibpub_SetXdot1ConfigPortVlan(index.pair.port, index.pair.agent, index.value);
    return rc == kOk ? kOk : Fail(reply, rc, walk.position);
}

// ---- Tables 22 and 23: (port, VLAN id) and (port, protocol VLAN id) ----

// A transmit switch per (port, id): the index form and its id column, the
// switch column, and the getter and setter of the switch.
template <LocalIndex Form, uint32_t IdColumn, uint32_t IdType, uint32_t Column,
          uint32_t (*ReadFn)(uint32_t, uint32_t, uint32_t, uint32_t *), uint32_t (*WriteFn)(uint32_t, uint32_t, uint32_t, uint32_t)>
struct CfgSwitch {
    static constexpr LocalIndex kForm = Form;
    static constexpr uint32_t kIdColumn = IdColumn;
    static constexpr uint32_t kIdType = IdType;
    static constexpr uint32_t kColumn = Column;
    static constexpr auto Read = ReadFn;
    static constexpr auto Write = WriteFn;
};
using CfgVlanName = CfgSwitch<LocalIndex::VlanName, kLocVlanId, MOR_TYPE_ENUM, kCfgVlanNameTxEnable,
                              LLDP_mibpub_GetXdot1ConfigVlanNameTable, LLDP_mibpub_SetXdot1ConfigVlanNameTable>;
using CfgProtoVlan = CfgSwitch<LocalIndex::ProtoVlan, kLocProtoVlanId, MOR_TYPE_UNSIGNED, kCfgProtoVlanTxEnable,
                               LLDP_mibpub_GetXdot1ConfigProtoVlan, LLDP_mibpub_SetXdot1ConfigProtoVlan>;

// The get of a switch row: the index must have read cleanly, then read(&value)
// gives the switch of column.
template <typename Read>
uint32_t GetSwitchRow(MOR_MSG reply, const IndexWalk &walk, uint32_t column, Read read) {
    if (walk.code != kOk) return Fail(reply, walk.code, walk.position);
    uint32_t value = kFalse;
    const uint32_t rc = read(&value);
    if (rc != kOk) return Fail(reply, rc, walk.position);
    return Written(reply, AppendEnum(reply, column, value));
}

// Rows exist for every id 0..4094 of every dot1 configuration port whose
// transmit configuration can be read, all read for the port's first agent.
template <typename T>
uint32_t ReadVlanRow(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_DOT1_ROWKEY_S key{0, 0};
    const IndexWalk walk = ReadLocalIndex(request, T::kForm, 0, &key);
    if (opType == MOR_OP_GET) {
        return GetSwitchRow(reply, walk, T::kColumn, [&](uint32_t *value) {
            return T::Read(key.ifIndex, key.index2, FirstAgent(key.ifIndex), value);
        });
    }
    uint32_t value = kFalse;
    if (walk.code == kErrUnserved) return Fail(reply, walk.code, walk.position);
    uint32_t port = key.ifIndex;
    uint32_t id = key.index2;
    // A port given without an id is entered at its row 0.
    const bool rowZero = LLDP_mibpub_CheckLackIndex(request, T::kIdColumn) == 1 && IsDot1Port(port) &&
                         T::Read(port, 0, FirstAgent(port), &value) == kOk;
    if (!rowZero) {
        if (id >= kMaxVlanId || !IsDot1Port(port)) {
            port = NextConfigPort(port);
            id = 0;
        } else {
            ++id;
        }
        // A port whose configuration cannot be read is passed over whole.
        while (port != 0 && T::Read(port, id, FirstAgent(port), &value) != kOk) {
            port = NextConfigPort(port);
            id = 0;
        }
        if (port == 0) return Fail(reply, kErrNoNext);
    } else {
        id = 0;
    }
    return Written(reply, FirstFailure({
        AppendEnum(reply, kLocPortIfIndex, port),
        AppendNumber(reply, T::kIdColumn, T::kIdType, id),
        AppendEnum(reply, T::kColumn, value),
    }));
}

template <typename T>
uint32_t WriteVlanRow(MOR_MSG request, MOR_MSG reply) {
    LLDP_DOT1_ROWKEY_S key{0, 0};
    uint32_t value = kFalse;
    const IndexWalk walk = ReadLocalIndex(request, T::kForm, 1, &key, &value);
    if (walk.code != kOk) return Fail(reply, walk.code, walk.position);
    const uint32_t rc =
        WriteAllAgents(key.ifIndex, [&](uint32_t agent) { return T::Write(key.ifIndex, key.index2, agent, value); });
    return rc == kOk ? kOk : Fail(reply, rc, walk.position);
}

template <ConfigSwitchTable T>
uint32_t ServeVlanRows(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeTable(
        opType, reply, [&] { return ReadVlanRow<T>(opType, request, reply); },
        [&] { return WriteVlanRow<T>(request, reply); });
}

// ---- Table 24: (port, protocol index), one row per port ---------------

uint32_t ReadProtocolRow(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_DOT1_ROWKEY_S key{0, 0};
    const IndexWalk walk = ReadLocalIndex(request, LocalIndex::Protocol, 0, &key);
    if (opType == MOR_OP_GET) {
        return GetSwitchRow(reply, walk, kCfgProtocolTxEnable, [&](uint32_t *value) {
            return LLDP_mibpub_GetXdot1ConfigProtocol(key.ifIndex, key.index2, value);
        });
    }
    uint32_t value = kFalse;
    if (walk.code == kErrUnserved) return Fail(reply, walk.code, walk.position);
    uint32_t port = key.ifIndex;
    if (key.index2 != 0 || !IsDot1Port(port)) {
        port = NextConfigPort(port);
        if (port == 0) return Fail(reply, kErrNoNext);
    }
    LLDP_mibpub_GetXdot1ConfigProtocol(port, kProtocolRow, &value);
    return Written(reply, FirstFailure({
        AppendEnum(reply, kLocPortIfIndex, port),
        AppendUnsigned(reply, kLocProtocolIndex, kProtocolRow),
        AppendEnum(reply, kCfgProtocolTxEnable, value),
    }));
}

// ---- Table 25: VID usage digest, one row per port ---------------------

// Every error of this table but an unserved op type is reported at position 0.
uint32_t ReadVidUsageDigestRow(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    uint32_t port = RequestPort(request);
    if (opType == MOR_OP_GET) {
        if (!IsDot1Port(port)) return Fail(reply, kErrNoInstance, 0);
    } else {
        port = NextConfigPort(port);
        if (port == 0) return Fail(reply, kErrNoNext, 0);
        if (const uint32_t written = AppendEnum(reply, kLocPortIfIndex, port); written != kOk) return Fail(reply, written);
    }
    uint32_t value = kFalse;
    LLDP_mibpub_GetXdot1ConfigVidUsageDigest(port, &value);
    return Written(reply, AppendEnum(reply, mib::lldpV2Xdot1ConfigVidUsageDigestTxEnable, value));
}

// ---- Table 26: management VID, one row per port, all agents -----------

uint32_t ReadManVidRow(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    uint32_t port = RequestPort(request);
    uint32_t value = kFalse;
    if (opType == MOR_OP_GET) {
        if (!IsDot1Port(port)) return Fail(reply, kErrNoInstance, 0);
        const uint32_t rc = LLDP_mibpub_GetXdot1ConfigManVid(port, FirstAgent(port), &value);
        if (rc != kOk) return Fail(reply, rc, 0);
    } else {
        // The next port only: one that cannot be read ends the walk.
        port = NextConfigPort(port);
        if (port == 0 || LLDP_mibpub_GetXdot1ConfigManVid(port, FirstAgent(port), &value) != kOk)
            return Fail(reply, kErrNoNext);
        if (const uint32_t written = AppendEnum(reply, kLocPortIfIndex, port); written != kOk) return Fail(reply, written);
    }
    return Written(reply, AppendEnum(reply, mib::lldpV2Xdot1ConfigManVidTxEnable, value));
}

uint32_t WriteManVidRow(MOR_MSG request, MOR_MSG reply) {
    uint32_t port = 0;
    uint32_t value = kFalse;
    for (const Param &p : Params(request)) {
        switch (p.morId) {
            case kLocPortIfIndex:
                port = p.U32();
                if (!IsDot1Port(port)) return Fail(reply, kErrSetRefused, p.position);
                break;
            case mib::lldpV2Xdot1ConfigManVidTxEnable: value = p.U32(); break;
            default: return Fail(reply, kErrUnserved, p.position);
        }
    }
    const uint32_t rc =
        WriteAllAgents(port, [&](uint32_t agent) { return LLDP_mibpub_SetXdot1ConfigManVid(port, agent, value); });
    return rc == kOk ? kOk : Fail(reply, rc);
}

// A set is refused at position 0 like every other error of this table.
uint32_t ConfigVidUsageDigestProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeTable(
        opType, reply, [&] { return ReadVidUsageDigestRow(opType, request, reply); },
        [&] { return Fail(reply, kErrReadOnly, 0); });
}

}  // namespace

const std::array<TableRegistration, 6> kDot1ConfigTables = {{
    {mib::table::lldpV2Xdot1ConfigPortVlanEntry, ServeReadWrite<ReadPortVlan, WritePortVlan>},
    {mib::table::lldpV2Xdot1ConfigVlanNameEntry, ServeVlanRows<CfgVlanName>},
    {mib::table::lldpV2Xdot1ConfigProtoVlanEntry, ServeVlanRows<CfgProtoVlan>},
    {mib::table::lldpV2Xdot1ConfigProtocolEntry, ServeRead<ReadProtocolRow>},
    {mib::table::lldpV2Xdot1ConfigVidUsageDigestEntry, ConfigVidUsageDigestProc},
    {mib::table::lldpV2Xdot1ConfigManVidEntry, ServeReadWrite<ReadManVidRow, WriteManVidRow>},
}};

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot1ConfigPortVlan(uint32_t ifIndex, uint32_t agent, uint32_t *value) {
    return ReadSwitch(LLDP_TLVBIT_PORT_VLAN, ifIndex, agent, value);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot1ConfigVlanNameTable(uint32_t ifIndex, uint32_t vlanId, uint32_t agent,
                                                              uint32_t *value) {
    return ReadVlanSwitch(LLDP_TLVBIT_VLAN_NAME, ifIndex, vlanId, agent, value);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot1ConfigProtoVlan(uint32_t ifIndex, uint32_t protoVlanId, uint32_t agent,
                                                          uint32_t *value) {
    return ReadVlanSwitch(LLDP_TLVBIT_PROTO_VLAN, ifIndex, protoVlanId, agent, value);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot1ConfigManVid(uint32_t ifIndex, uint32_t agent, uint32_t *value) {
    return ReadSwitch(LLDP_TLVBIT_MAN_VID, ifIndex, agent, value);
}

// No protocol identity TLV is ever sent: the one row of a port reads false,
// and the daemon is not asked.
LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot1ConfigProtocol(uint32_t ifIndex, uint32_t protocolIndex, uint32_t *value) {
    (void)ifIndex;
    if (protocolIndex != kProtocolRow) return kErrNoInstance;
    *value = kFalse;
    return kOk;
}

// Nor is a VID usage digest TLV.
LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot1ConfigVidUsageDigest(uint32_t ifIndex, uint32_t *value) {
    (void)ifIndex;
    *value = kFalse;
    return kOk;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_SetXdot1ConfigPortVlan(uint32_t ifIndex, uint32_t agent, uint32_t value) {
    return SendTxRecord(ifIndex, agent, LLDP_TLVBIT_PORT_VLAN, value == kTrue, nullptr);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_SetXdot1ConfigVlanNameTable(uint32_t ifIndex, uint32_t vlanId, uint32_t agent,
                                                              uint32_t value) {
    return WriteVlanSwitch(LLDP_TLVBIT_VLAN_NAME, ifIndex, vlanId, agent, value);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_SetXdot1ConfigProtoVlan(uint32_t ifIndex, uint32_t protoVlanId, uint32_t agent,
                                                          uint32_t value) {
    return WriteVlanSwitch(LLDP_TLVBIT_PROTO_VLAN, ifIndex, protoVlanId, agent, value);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_SetXdot1ConfigManVid(uint32_t ifIndex, uint32_t agent, uint32_t value) {
    return SendTxRecord(ifIndex, agent, LLDP_TLVBIT_MAN_VID, value == kTrue, nullptr);
}

}  // extern "C"
