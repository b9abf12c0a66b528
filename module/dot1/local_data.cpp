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

constexpr uint32_t kLocPortVlanId = MorId(27, 1);
constexpr uint32_t kLocProtoVlanSupported = MorId(28, 2);
constexpr uint32_t kLocProtoVlanEnabled = MorId(28, 3);
constexpr uint32_t kLocVlanName = MorId(29, 2);
constexpr uint32_t kLocManVid = MorId(32, 1);
constexpr uint32_t kLocLinkAggStatus = MorId(33, 1);
constexpr uint32_t kLocLinkAggPortId = MorId(33, 2);

// What the daemon's local 802.1 get-next (item 19) answers, by kind.
enum LocalKind : uint32_t {
    kKindPortVlan = 1,
    kKindProtoVlan = 2,
    kKindVlanName = 3,
    kKindManVid = 4,
    kKindLinkAgg = 5,
};

// Interface types whose link aggregation row can be read; type 56 is left
// out on purpose, although the other local tables accept it.
constexpr std::array<uint32_t, 14> kLinkAggPortTypes = {18, 19, 21, 88, 68, 69, 22, 23, 25, 89, 70, 71, 26, 28};

// The decoder's value when the LLDPDU carries no management VID.
constexpr uint16_t kNoVid = 0xFFFF;
constexpr uint32_t kMaxVlanNameLen = 32;

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
    struct Candidate {
        LLDP_DOT1_ROWKEY_S key;
        Result result;
    };
    Candidate best{};
    const uint32_t rc = SmallestOverNodes(
        &best,
        [&](uint16_t node, Candidate *c) {
            LLDP_INDEX_PARA_S para;
            LLDP_mor_InitIndexPara(&para);
            para.selector = kind;
            para.ifIndex = HostToNet32(key->ifIndex);
            if (twoPart) para.index2 = HostToNet32(key->index2);
            if (!NodeGetNext(LLDP_ITEM_DOT1_LOC, node, &para, sizeof(c->result), &c->result)) return false;
            c->key.ifIndex = NetToHost32(para.ifIndex);
            c->key.index2 = twoPart ? NetToHost32(para.index2) : 0;
            return true;
        },
        [twoPart](const Candidate &a, const Candidate &b) {
            if (!twoPart) return a.key.ifIndex < b.key.ifIndex;
            return KeyLess({{a.key.ifIndex, b.key.ifIndex}, {a.key.index2, b.key.index2}});
        });
    if (rc != kOk) return rc;
    *key = best.key;
    *result = best.result;
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

struct LocPortVlan {
    static constexpr uint32_t kKind = kKindPortVlan;
    // The index goes as Unsigned32 here but as an enumeration in tables 32
    // and 33; the agent has always seen them so.
    static constexpr uint32_t kIndexType = MOR_TYPE_UNSIGNED;
    static constexpr std::span<const uint32_t> kPortTypes{kDot1PortTypes};
    using Value = uint16_t;
    using Result = std::array<uint8_t, 4>;
    static uint32_t Get(uint32_t ifIndex, Value *v) { return LLDP_mibpub_GetXdot1LocTable(ifIndex, v); }
    static Value FromResult(const Result &r) { return VidOfResult(r); }
    static void Append(MOR_MSG reply, Value v) { AppendUnsigned(reply, kLocPortVlanId, v); }
};

struct LocManVid {
    static constexpr uint32_t kKind = kKindManVid;
    static constexpr uint32_t kIndexType = MOR_TYPE_ENUM;
    static constexpr std::span<const uint32_t> kPortTypes{kDot1PortTypes};
    using Value = uint16_t;
    using Result = std::array<uint8_t, 4>;
    static uint32_t Get(uint32_t ifIndex, Value *v) { return GetLocManVid(ifIndex, v); }
    static Value FromResult(const Result &r) { return VidOfResult(r); }
    static void Append(MOR_MSG reply, Value v) { AppendUnsigned(reply, kLocManVid, v); }
};

struct LocLinkAgg {
    static constexpr uint32_t kKind = kKindLinkAgg;
    static constexpr uint32_t kIndexType = MOR_TYPE_ENUM;
    static constexpr std::span<const uint32_t> kPortTypes{kLinkAggPortTypes};
    using Value = LLDP_LINK_AGG_S;
    using Result = LLDP_LINK_AGG_S;
    static uint32_t Get(uint32_t ifIndex, Value *v) { return GetLocLinkAgg(ifIndex, v); }
    static Value FromResult(const Result &r) {
        Value v = r;
        v.portId = NetToHost32(r.portId);
        return v;
    }
    static void Append(MOR_MSG reply, const Value &v) {
        uint8_t status = v.status;
        LLDP_util_Overturn(1, &status);
        AppendOctets(reply, kLocLinkAggStatus, &status, 1);
        AppendUnsigned(reply, kLocLinkAggPortId, v.portId);
    }
};

// Get reads the port's LLDPDU; get-next does not look at the port type and
// takes the smallest next port over the nodes. Only the data columns are
// answered on a get, whichever the request named.
template <typename T>
uint32_t ServePortRow(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeAtPositionZero(opType, reply, [&]() -> uint32_t {
        const uint32_t ifIndex = RequestPort(request);
        if (opType == MOR_OP_GET) {
            if (!HasPortType(ifIndex, T::kPortTypes)) return Fail(reply, kErrNoInstance, 0);
            typename T::Value value{};
            const uint32_t rc = T::Get(ifIndex, &value);
            if (rc != kOk) return Fail(reply, rc, 0);
            T::Append(reply, value);
            return kOk;
        }
        LLDP_DOT1_ROWKEY_S key{ifIndex, 0};
        typename T::Result result{};
        if (NextLocalRow(T::kKind, false, &key, &result) != kOk) return Fail(reply, kErrNoNext, 0);
        AppendNumber(reply, kLocPortIfIndex, T::kIndexType, key.ifIndex);
        T::Append(reply, T::FromResult(result));
        return kOk;
    });
}

// ---- Tables 28 and 29: (port, second index) ---------------------------

struct LocProtoVlan {
    static constexpr uint32_t kKind = kKindProtoVlan;
    static constexpr LocalIndex kForm = LocalIndex::ProtoVlan;
    static constexpr uint32_t kSecondIndex = kLocProtoVlanId;
    static constexpr uint32_t kSecondIndexType = MOR_TYPE_UNSIGNED;
    using Row = LLDP_MIB_PROTOVLAN_S;
    using Result = std::array<uint32_t, 2>;  // supported, enabled
    static uint32_t Get(const LLDP_DOT1_ROWKEY_S &k, Row *row) {
        return LLDP_mibpub_GetXdot1LocProtoVlanTable(k.ifIndex, k.index2, row);
    }
    static Row FromResult(const Result &r) { return Row{TruthValue(NetToHost32(r[0])), TruthValue(NetToHost32(r[1]))}; }
    static void Append(MOR_MSG reply, const Row &row) {
        AppendEnum(reply, kLocProtoVlanSupported, row.supported);
        AppendEnum(reply, kLocProtoVlanEnabled, row.enabled);
    }
};

struct LocVlanName {
    static constexpr uint32_t kKind = kKindVlanName;
    static constexpr LocalIndex kForm = LocalIndex::VlanName;
    static constexpr uint32_t kSecondIndex = kLocVlanId;
    static constexpr uint32_t kSecondIndexType = MOR_TYPE_ENUM;
    using Row = LLDP_MIB_VLANNAME_S;
    using Result = LLDP_MIB_VLANNAME_S;
    static uint32_t Get(const LLDP_DOT1_ROWKEY_S &k, Row *row) {
        return LLDP_mibpub_GetXdot1LocVlanName(k.ifIndex, k.index2, row);
    }
    static Row FromResult(const Result &r) {
        Row row = r;
        row.len = NetToHost32(r.len);
        return row;
    }
    // The length is the TLV's, whatever the copied text holds.
    static void Append(MOR_MSG reply, const Row &row) {
        AppendOctets(reply, kLocVlanName, row.name, std::min(row.len, kMaxVlanNameLen));
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
        T::Append(reply, row);
        return kOk;
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
    AppendEnum(reply, kLocPortIfIndex, key.ifIndex);
    AppendNumber(reply, T::kSecondIndex, T::kSecondIndexType, key.index2);
    T::Append(reply, row);
    return kOk;
}

}  // namespace

uint32_t LocPortVlanProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServePortRow<LocPortVlan>(opType, request, reply);
}

uint32_t LocManVidProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServePortRow<LocManVid>(opType, request, reply);
}

uint32_t LocLinkAggProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServePortRow<LocLinkAgg>(opType, request, reply);
}

uint32_t LocProtoVlanProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return ReadTwoPartRow<LocProtoVlan>(opType, request, reply); });
}

uint32_t LocVlanNameProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return ReadTwoPartRow<LocVlanName>(opType, request, reply); });
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
    LLDP_VLAN_NAME_S *head = nullptr;
    const uint32_t rc = DecodeLocalTlvs(ifIndex, [&](const LLDP_TLV_LIST_S *list) {
        return LLDP_libdot1_VlanNameBufToData(list, &head) == 0 ? kOk : kErrNoInstance;
    });
    if (rc == kOk) return head;
    if (head != nullptr) LLDP_libdot1_FreeVlanNameData(head);
    return nullptr;
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
    LLDP_PPVID_S *head = nullptr;
    const uint32_t rc = DecodeLocalTlvs(ifIndex, [&](const LLDP_TLV_LIST_S *list) {
        return LLDP_libdot1_PPVlanIdBufToData(list, &head) == 0 ? kOk : kErrNoInstance;
    });
    if (rc == kOk) return head;
    if (head != nullptr) LLDP_libdot1_FreePPVlanIdData(head);
    return nullptr;
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
