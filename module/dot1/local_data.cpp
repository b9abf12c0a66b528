// The 802.1 local data tables (table ids 27 to 33): what the switch itself
// advertises on each port. A get decodes the port's local LLDPDU; a get-next
// asks every node that is up for its next row and keeps the smallest.
#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "common/export.h"
#include "common/guards.h"
#include "common/lldpdu_fetch.h"
#include "common/walks.h"
#include "dot1/dot1_tables.h"

namespace lldpv2 {
namespace {

// Interface types whose link aggregation row can be read; type 56 is left
// out on purpose, although the other local tables accept it.
constexpr std::span<const uint32_t> kLinkAggPortTypes{kOrdinaryPortTypes};

// The decoder's value when the LLDPDU carries no management VID.
constexpr uint16_t kNoVid = 0xFFFF;

// Fetches the port's local LLDPDU and lets decode read its TLV list, which
// is freed before returning whatever decode answers.
template <typename Decode>
uint32_t DecodeLocalTlvs(uint32_t ifIndex, Decode decode) {
    LocalLldpdu pdu;
    const uint32_t rc = pdu.Fetch(ifIndex, Presence::PresetZero);
    if (rc != kOk) return rc;
    return decode(pdu.Split());
}

uint32_t GetLocManVid(uint32_t ifIndex, uint16_t *vid) {
    uint16_t value = kNoVid;
    const uint32_t rc = DecodeLocalTlvs(ifIndex, [&](const LLDP_TLV_LIST_S *list) {
        return LLDP_libdot1_ManVlanIdBufToData(list, &value) == 0 ? kOk : kErrNoInstance;
    });
    // Every failure, the daemon's included, means no management VID row.
    if (rc != kOk || value == kNoVid) return kErrNoInstance;
    *vid = value;
    return kOk;
}

uint32_t GetLocLinkAgg(uint32_t ifIndex, LLDP_LINK_AGG_S *agg) {
    LocalLldpdu pdu;
    const uint32_t rc = pdu.Fetch(ifIndex, Presence::PresetZero);
    if (rc != kOk) return rc;
    return LLDP_mibpub_GetLinkAggFromPkt(pdu.data() + kLocalHeaderLen, static_cast<uint16_t>(pdu.len() - kLocalHeaderLen),
                                         agg);
}

bool HasPortType(uint32_t ifIndex, std::span<const uint32_t> types) {
    uint32_t type = kUnknownPortType;
    if (LLDP_mibpub_GetPortType(ifIndex, &type) != kOk) return false;
    return std::find(types.begin(), types.end(), type) != types.end();
}

// The smallest local row after key over the nodes that are up: by interface
// index alone, or by interface index and second index. kErrNoNext when no
// node has one.
template <typename Result>
uint32_t NextLocalRow(uint32_t kind, bool twoPart, LLDP_DOT1_ROWKEY_S *key, Result *result) {
    if (!twoPart) {
        SubRowKey<PortOwner, NoSubIndex> at{key->ifIndex, {}};
        const uint32_t rc = NextSubRow(LLDP_ITEM_DOT1_LOC, kind, &at, result);
        if (rc != kOk) return rc;
        *key = LLDP_DOT1_ROWKEY_S{at.owner, 0};
        return kOk;
    }
    SubRowKey<PortOwner, Index2> at{key->ifIndex, key->index2};
    const uint32_t rc = NextSubRow(LLDP_ITEM_DOT1_LOC, kind, &at, result);
    if (rc != kOk) return rc;
    *key = LLDP_DOT1_ROWKEY_S{at.owner, at.sub};
    return kOk;
}

// A 16-bit VLAN id at byte 0 of a 4-byte get-next result, network order.
uint16_t VidOfResult(const std::array<uint8_t, 4> &r) {
    uint16_t v = 0;
    std::memcpy(&v, r.data(), sizeof(v));
    return NetToHost16(v);
}

// ---- Tables 27, 32 and 33: one row per port ---------------------------

// Every error of these tables, op types included, is reported at position 0.
template <typename Read>
uint32_t ServeAtPositionZero(uint32_t opType, MOR_MSG reply, Read read) {
    switch (ClassifyOp(opType)) {
        case Op::Phase: return kOk;
        case Op::Set: return Fail(reply, kErrReadOnly, 0);
        case Op::Get:
        case Op::GetNext: return read();
        case Op::Unserved: break;
    }
    return Fail(reply, kErrUnserved, 0);
}

// A 16-bit VLAN id row: the port VLAN id and the management VID tables.
template <uint32_t Kind, uint32_t IndexType, uint32_t (*GetRow)(uint32_t, uint16_t *), uint32_t Column>
struct LocVidRow {
    static constexpr uint32_t kKind = Kind;
    static constexpr uint32_t kIndexType = IndexType;
    static constexpr std::span<const uint32_t> kPortTypes{kDot1PortTypes};
    using Row = uint16_t;
    using Result = std::array<uint8_t, 4>;
    static uint32_t Get(uint32_t ifIndex, Row *v) { return GetRow(ifIndex, v); }
    static Row FromResult(const Result &r) { return VidOfResult(r); }
    [[nodiscard]] static uint32_t Append(MOR_MSG reply, Row v) { return AppendUnsigned(reply, Column, v); }
};
// The index goes as Unsigned32 in the port VLAN table but as an enumeration
// in tables 32 and 33; the agent has always seen them so.
using LocPortVlan =
    LocVidRow<LLDP_DOT1LOC_PORT_VLAN, MOR_TYPE_UNSIGNED, LLDP_mibpub_GetXdot1LocTable, mib::lldpV2Xdot1LocPortVlanId>;
using LocManVid = LocVidRow<LLDP_DOT1LOC_MAN_VID, MOR_TYPE_ENUM, GetLocManVid, mib::lldpV2Xdot1LocManVid>;

struct LocLinkAgg {
    static constexpr uint32_t kKind = LLDP_DOT1LOC_LINK_AGG;
    static constexpr uint32_t kIndexType = MOR_TYPE_ENUM;
    static constexpr std::span<const uint32_t> kPortTypes{kLinkAggPortTypes};
    using Row = LLDP_LINK_AGG_S;
    using Result = LLDP_LINK_AGG_S;
    static uint32_t Get(uint32_t ifIndex, Row *v) { return GetLocLinkAgg(ifIndex, v); }
    static Row FromResult(const Result &r) {
        Row v = r;
        v.portId = NetToHost32(r.portId);
        return v;
    }
    [[nodiscard]] static uint32_t Append(MOR_MSG reply, const Row &v) {
        uint8_t status = v.status;
        LLDP_util_Overturn(1, &status);
        return FirstFailure({
            AppendOctets(reply, mib::lldpV2Xdot1LocLinkAggStatus, &status, 1),
            AppendUnsigned(reply, mib::lldpV2Xdot1LocLinkAggPortId, v.portId),
        });
    }
};

// Get reads the port's LLDPDU; get-next does not look at the port type and
// takes the smallest next port over the nodes. Only the data columns are
// answered on a get, whichever the request named.
template <PortKeyedTable T>
uint32_t ServePortRow(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeAtPositionZero(opType, reply, [&]() -> uint32_t {
        const uint32_t ifIndex = RequestPort(request);
        if (opType == MOR_OP_GET) {
            if (!HasPortType(ifIndex, T::kPortTypes)) return Fail(reply, kErrNoInstance, 0);
            typename T::Row value{};
            const uint32_t rc = T::Get(ifIndex, &value);
            if (rc != kOk) return Fail(reply, rc, 0);
            return Written(reply, T::Append(reply, value));
        }
        LLDP_DOT1_ROWKEY_S key{ifIndex, 0};
        typename T::Result result{};
        if (NextLocalRow(T::kKind, false, &key, &result) != kOk) return Fail(reply, kErrNoNext, 0);
        return Written(reply, FirstFailure({
            AppendNumber(reply, kLocPortIfIndex, T::kIndexType, key.ifIndex),
            T::Append(reply, T::FromResult(result)),
        }));
    });
}

// ---- Tables 28 and 29: (port, second index) ---------------------------

struct LocProtoVlan : ProtoVlanRow<mib::lldpV2Xdot1LocProtoVlanSupported, mib::lldpV2Xdot1LocProtoVlanEnabled> {
    static constexpr uint32_t kKind = LLDP_DOT1LOC_PROTO_VLAN;
    static constexpr LocalIndex kForm = LocalIndex::ProtoVlan;
    static constexpr uint32_t kSecondIndex = kLocProtoVlanId;
    static constexpr uint32_t kSecondIndexType = MOR_TYPE_UNSIGNED;
    static uint32_t Get(const LLDP_DOT1_ROWKEY_S &k, Row *row) {
        return LLDP_mibpub_GetXdot1LocProtoVlanTable(k.ifIndex, k.index2, row);
    }
};

struct LocVlanName : VlanNameRow<mib::lldpV2Xdot1LocVlanName> {
    static constexpr uint32_t kKind = LLDP_DOT1LOC_VLAN_NAME;
    static constexpr LocalIndex kForm = LocalIndex::VlanName;
    static constexpr uint32_t kSecondIndex = kLocVlanId;
    static constexpr uint32_t kSecondIndexType = MOR_TYPE_ENUM;
    static uint32_t Get(const LLDP_DOT1_ROWKEY_S &k, Row *row) {
        return LLDP_mibpub_GetXdot1LocVlanName(k.ifIndex, k.index2, row);
    }
};

template <typename T>
uint32_t ReadTwoPartRow(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_DOT1_ROWKEY_S key{0, 0};
    const IndexWalk walk = ReadLocalIndex(request, T::kForm, 0, &key);
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
    typename T::Row row{};
    if (opType == MOR_OP_GET) {
        const uint32_t rc = T::Get(key, &row);
        if (rc != kOk) return Fail(reply, rc, walk.position);
        return Written(reply, T::Append(reply, row));
    }
    // A port entered without a second index starts at its row 0, which the
    // nodes' get-next (strictly after the key) would pass over. Tried even
    // when the index did not read cleanly.
    const bool rowZero = LLDP_mibpub_CheckLackIndex(request, T::kSecondIndex) == 1 &&
                         T::Get(LLDP_DOT1_ROWKEY_S{key.ifIndex, 0}, &row) == kOk;
    if (rowZero) {
        key.index2 = 0;
    } else {
        typename T::Result result{};
        if (NextLocalRow(T::kKind, true, &key, &result) != kOk) return Fail(reply, kErrNoNext);
        row = T::FromResult(result);
    }
    return Written(reply, FirstFailure({
        AppendEnum(reply, kLocPortIfIndex, key.ifIndex),
        AppendNumber(reply, T::kSecondIndex, T::kSecondIndexType, key.index2),
        T::Append(reply, row),
    }));
}

template <typename T>
uint32_t ServeTwoPartRow(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return ReadTwoPartRow<T>(opType, request, reply); });
}

// The switch keeps no protocol identities of its own: the table has no row.
// Its get-next ends with 0x61010051, whatever the index.
uint32_t LocProtocolProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&]() -> uint32_t {
        LLDP_DOT1_ROWKEY_S key{0, 0};
        const IndexWalk walk = ReadLocalIndex(request, LocalIndex::Protocol, 0, &key);
        if (walk.code == kErrUnserved) return Fail(reply, walk.code, walk.position);
        if (opType == MOR_OP_GETNEXT) return Fail(reply, kErrStoppedGetNext, walk.position);
        if (walk.code != kOk) return Fail(reply, walk.code, walk.position);
        return Fail(reply, GetLldpV2Xdot1LocProtocolTableByIndex(&key), walk.position);
    });
}

// No VID usage digest is kept either: a get reads the port type only to
// answer no such instance, a get-next ends at once.
uint32_t LocVidUsageDigestProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeAtPositionZero(opType, reply, [&]() -> uint32_t {
        if (opType == MOR_OP_GETNEXT) return Fail(reply, kErrStoppedGetNext, 0);
        uint32_t type = kUnknownPortType;
        LLDP_mibpub_GetPortType(RequestPort(request), &type);
        return Fail(reply, kErrNoInstance, 0);
    });
}

}  // namespace

const std::array<TableRegistration, 7> kDot1LocalTables = {{
    {mib::table::lldpV2Xdot1LocEntry, ServePortRow<LocPortVlan>},
    {mib::table::lldpV2Xdot1LocProtoVlanEntry, ServeTwoPartRow<LocProtoVlan>},
    {mib::table::lldpV2Xdot1LocVlanNameEntry, ServeTwoPartRow<LocVlanName>},
    {mib::table::lldpV2Xdot1LocProtocolEntry, LocProtocolProc},
    {mib::table::lldpV2Xdot1LocVidUsageDigestEntry, LocVidUsageDigestProc},
    {mib::table::lldpV2Xdot1LocManVidEntry, ServePortRow<LocManVid>},
    {mib::table::lldpV2Xdot1LocLinkAggEntry, ServePortRow<LocLinkAgg>},
}};

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot1LocTable(uint32_t ifIndex, uint16_t *pvid) {
    uint16_t value = kNoVid;
    const uint32_t rc = DecodeLocalTlvs(ifIndex, [&](const LLDP_TLV_LIST_S *list) {
        return LLDP_libdot1_PortVlanIdBufToData(list, &value) == 0 ? kOk : kErrNoInstance;
    });
    if (rc != kOk) return rc;
    *pvid = value;
    return kOk;
}

// The decoded VLAN names of the port's local LLDPDU, null on any failure;
// the caller frees them with LLDP_libdot1_FreeVlanNameData.
LLDPV2_EXPORT LLDP_VLAN_NAME_S *LLDP_mibpub_GetDot1LocVlanNameData(uint32_t ifIndex) {
    Owned<LLDP_VLAN_NAME_S, LLDP_libdot1_FreeVlanNameData> head;
    const uint32_t rc = DecodeLocalTlvs(ifIndex, [&](const LLDP_TLV_LIST_S *list) {
        return LLDP_libdot1_VlanNameBufToData(list, head.out()) == 0 ? kOk : kErrNoInstance;
    });
    return rc == kOk ? head.release() : nullptr;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetVlanNameByVlanId(const LLDP_VLAN_NAME_S *data, uint32_t vlanId,
                                                      LLDP_MIB_VLANNAME_S *result) {
    for (const LLDP_VLAN_NAME_S *v = data; v != nullptr; v = v->next) {
        if (v->vlanId != vlanId) continue;
        // A bounded text copy: it stops at a NUL, and the length stays the TLV's.
        std::memset(result->name, 0, sizeof(result->name));
        const size_t n = strnlen(reinterpret_cast<const char *>(v->name), kMaxVlanNameLen);
        std::memcpy(result->name, v->name, n);
        result->len = v->nameLen;
        return kOk;
    }
    return kErrNoInstance;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot1LocVlanName(uint32_t ifIndex, uint32_t vlanId,
                                                      LLDP_MIB_VLANNAME_S *result) {
    Owned<LLDP_VLAN_NAME_S, LLDP_libdot1_FreeVlanNameData> data(LLDP_mibpub_GetDot1LocVlanNameData(ifIndex));
    if (data.get() == nullptr) return kErrNoInstance;
    return LLDP_mibpub_GetVlanNameByVlanId(data.get(), vlanId, result);
}

// The decoded port-and-protocol VLAN ids of the port's local LLDPDU, null on
// any failure; the caller frees them with LLDP_libdot1_FreePPVlanIdData.
LLDPV2_EXPORT LLDP_PPVID_S *LLDP_mibpub_GetDot1LocProtoVlanData(uint32_t ifIndex) {
    Owned<LLDP_PPVID_S, LLDP_libdot1_FreePPVlanIdData> head;
    const uint32_t rc = DecodeLocalTlvs(ifIndex, [&](const LLDP_TLV_LIST_S *list) {
        return LLDP_libdot1_PPVlanIdBufToData(list, head.out()) == 0 ? kOk : kErrNoInstance;
    });
    return rc == kOk ? head.release() : nullptr;
}

// 1 when a record of ppvid matched (its flags in result), else 0. Mode 1
// takes a record whatever the flag check says.
LLDPV2_EXPORT uint32_t LLDP_mibpub_SetProtoVlanTable(const LLDP_PPVID_S *data, uint32_t ppvid, uint16_t mode,
                                                    LLDP_MIB_PROTOVLAN_S *result) {
    for (const LLDP_PPVID_S *p = data; p != nullptr; p = p->next) {
        uint16_t supported = 0;
        uint16_t enabled = 0;
        const uint32_t valid = LLDP_util_GetValidProtoVlanValid(p->flags, &supported, &enabled);
        if (p->ppvid != ppvid || (mode != 1 && valid != 0)) continue;
        result->supported = TruthValue(supported);
        result->enabled = TruthValue(enabled);
        return 1;
    }
    return 0;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot1LocProtoVlanTable(uint32_t ifIndex, uint32_t ppvid,
                                                            LLDP_MIB_PROTOVLAN_S *result) {
    Owned<LLDP_PPVID_S, LLDP_libdot1_FreePPVlanIdData> data(LLDP_mibpub_GetDot1LocProtoVlanData(ifIndex));
    if (data.get() == nullptr) return kErrNoInstance;
    return LLDP_mibpub_SetProtoVlanTable(data.get(), ppvid, 1, result) == 1 ? kOk : kErrNoInstance;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetLinkAggFromPkt(const uint8_t *buf, uint16_t len, LLDP_LINK_AGG_S *result) {
    TlvList list;
    LLDP_tlvmng_SplitTLV(buf, len, list.get());
    return LLDP_libdot1_LinkAggBufToData(list.get(), result) == 0 ? kOk : kErrNoInstance;
}

// The switch keeps no local protocol identities: no key names a row.
LLDPV2_EXPORT uint32_t GetLldpV2Xdot1LocProtocolTableByIndex(const LLDP_DOT1_ROWKEY_S *key) {
    (void)key;
    return kErrNoInstance;
}

}  // extern "C"
