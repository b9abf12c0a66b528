// The neighbours' 802.1 TLVs that each node's daemon lists per neighbour:
// port and protocol VLANs (table id 35), VLAN names (36), protocol
// identities (37), the VID usage digest (38) and the management VID (39).
// A get decodes the neighbour's stored TLVs; a get-next asks every node that
// is up for its next row and keeps the smallest, by TFAI and then by the
// sub-index.
#include <algorithm>
#include <array>
#include <cstring>

#include "common/guards.h"
#include "common/lldpdu_fetch.h"
#include "common/remote_index.h"
#include "common/walks.h"
#include "dot1/dot1_tables.h"

namespace lldpv2 {
namespace {

constexpr uint32_t kMaxProtocolIdLen = 255;

uint32_t CheckVlanSub(uint32_t value) { return LLDP_mibpub_CheckVlan(value, 0); }
uint32_t CheckProtocolSub(uint32_t value) { return LLDP_mibpub_CheckProtocolIndex(value); }

// A 16-bit VLAN id at byte 0 of a 4-byte result, network order.
uint32_t VidOfResult(const std::array<uint8_t, 4> &r) {
    uint16_t v = 0;
    std::memcpy(&v, r.data(), sizeof(v));
    return NetToHost16(v);
}

struct RemProtoVlan : ProtoVlanRow<mib::lldpV2Xdot1RemProtoVlanSupported, mib::lldpV2Xdot1RemProtoVlanEnabled> {
    static constexpr bool kIndexedByTfa = false;
    static constexpr uint32_t kSelector = LLDP_REMSUB_PROTO_VLAN;
    static constexpr RemoteIndexForm kForm = {mib::lldpV2Xdot1RemProtoVlanId, CheckVlanSub, mib::lldpV2Xdot1RemProtoVlanSupported, mib::lldpV2Xdot1RemProtoVlanEnabled};
    static constexpr uint32_t kSubIndexType = MOR_TYPE_UNSIGNED;
    // PPVID 0 is a row of its own, which a get-next entering the neighbour
    // must not pass over.
    static constexpr bool kRowZeroFirst = true;

    static uint32_t Decode(const LLDP_TLV_LIST_S *list, uint32_t ppvid, Row *row) {
        Owned<LLDP_PPVID_S, LLDP_libdot1_FreePPVlanIdData> data;
        if (LLDP_libdot1_PPVlanIdBufToData(list, data.out()) != 0) return kErrNoInstance;
        return LLDP_mibpub_SetProtoVlanTable(data.get(), ppvid, 1, row) == 1 ? kOk : kErrNoInstance;
    }
};

struct RemVlanName : VlanNameRow<mib::lldpV2Xdot1RemVlanName> {
    static constexpr bool kIndexedByTfa = false;
    static constexpr uint32_t kSelector = LLDP_REMSUB_VLAN_NAME;
    static constexpr RemoteIndexForm kForm = {mib::lldpV2Xdot1RemVlanId, CheckVlanSub, mib::lldpV2Xdot1RemVlanName, mib::lldpV2Xdot1RemVlanName};
    static constexpr uint32_t kSubIndexType = MOR_TYPE_ENUM;
    static constexpr bool kRowZeroFirst = true;

    static uint32_t Decode(const LLDP_TLV_LIST_S *list, uint32_t vlanId, Row *row) {
        Owned<LLDP_VLAN_NAME_S, LLDP_libdot1_FreeVlanNameData> data;
        if (LLDP_libdot1_VlanNameBufToData(list, data.out()) != 0) return kErrNoInstance;
        return LLDP_mibpub_GetVlanNameByVlanId(data.get(), vlanId, row);
    }
};

// A protocol identity as the daemon's get-next answers it.
struct ProtocolIdentity {
    uint32_t len;
    uint8_t id[256];
};
static_assert(sizeof(ProtocolIdentity) == 260, "a protocol identity result is 260 bytes");

struct RemProtocol {
    static constexpr bool kIndexedByTfa = false;
    static constexpr uint32_t kSelector = LLDP_REMSUB_PROTOCOL;
    static constexpr RemoteIndexForm kForm = {mib::lldpV2Xdot1RemProtocolIndex, CheckProtocolSub, mib::lldpV2Xdot1RemProtocolId, mib::lldpV2Xdot1RemProtocolId};
    static constexpr uint32_t kSubIndexType = MOR_TYPE_UNSIGNED;
    // Protocol indexes count from 1 in TLV order.
    static constexpr bool kRowZeroFirst = false;
    using Row = ProtocolIdentity;
    using Result = ProtocolIdentity;

    static uint32_t Decode(const LLDP_TLV_LIST_S *list, uint32_t index, Row *row) {
        Owned<LLDP_PROTOCOL_ID_S, LLDP_libdot1_FreeProtocolIdData> data;
        if (LLDP_libdot1_ProtocolIdBufToData(list, data.out()) != 0) return kErrNoInstance;
        uint32_t n = 1;
        for (const LLDP_PROTOCOL_ID_S *p = data.get(); p != nullptr; p = p->next, ++n) {
            if (n != index) continue;
            row->len = p->len;
            std::memcpy(row->id, p->id, p->len);
            return kOk;
        }
        return kErrNoInstance;
    }
    static Row FromResult(const Result &r) {
        Row row = r;
        row.len = NetToHost32(r.len);
        return row;
    }
    [[nodiscard]] static uint32_t Append(MOR_MSG reply, const Row &row) {
        return AppendOctets(reply, mib::lldpV2Xdot1RemProtocolId, row.id, std::min(row.len, kMaxProtocolIdLen));
    }
};

struct RemVidUsageDigest {
    // The MIB indexes these rows by (time mark, port, agent) alone.
    static constexpr bool kIndexedByTfa = true;
    static constexpr uint32_t kSelector = LLDP_REMSUB_VID_USAGE_DIGEST;
    static constexpr RemoteIndexForm kForm = {0, nullptr, mib::lldpV2Xdot1RemVidUsageDigest, mib::lldpV2Xdot1RemVidUsageDigest};
    static constexpr uint32_t kSubIndexType = 0;
    static constexpr bool kRowZeroFirst = false;
    using Row = uint32_t;
    using Result = std::array<uint8_t, 4>;  // the digest octets as in the TLV

    static uint32_t Decode(const LLDP_TLV_LIST_S *list, uint32_t, Row *row) {
        Result digest{};
        if (LLDP_libdot1_VidUsageBufToData(list, digest.data()) != 0) return kErrNoInstance;
        *row = FromResult(digest);
        return kOk;
    }
    // The four octets read as one number, first octet most significant.
    static Row FromResult(const Result &r) {
        uint32_t v = 0;
        std::memcpy(&v, r.data(), sizeof(v));
        return NetToHost32(v);
    }
    [[nodiscard]] static uint32_t Append(MOR_MSG reply, Row digest) { return AppendUnsigned(reply, mib::lldpV2Xdot1RemVidUsageDigest, digest); }
};

struct RemManVid {
    // The MIB indexes these rows by (time mark, port, agent) alone.
    static constexpr bool kIndexedByTfa = true;
    static constexpr uint32_t kSelector = LLDP_REMSUB_MAN_VID;
    static constexpr RemoteIndexForm kForm = {0, nullptr, mib::lldpV2Xdot1RemManVid, mib::lldpV2Xdot1RemManVid};
    static constexpr uint32_t kSubIndexType = 0;
    static constexpr bool kRowZeroFirst = false;
    using Row = uint32_t;
    using Result = std::array<uint8_t, 4>;

    static uint32_t Decode(const LLDP_TLV_LIST_S *list, uint32_t, Row *row) {
        uint16_t vid = 0xFFFF;
        if (LLDP_libdot1_ManVlanIdBufToData(list, &vid) != 0) return kErrNoInstance;
        *row = vid;
        return kOk;
    }
    static Row FromResult(const Result &r) { return VidOfResult(r); }
    [[nodiscard]] static uint32_t Append(MOR_MSG reply, Row vid) { return AppendUnsigned(reply, mib::lldpV2Xdot1RemManVid, vid); }
};

// The row (tfai, sub) from the neighbour's stored TLVs; the daemon's error
// as it stands.
template <typename T>
uint32_t GetRow(const LLDP_TFAI_S &tfai, uint32_t sub, typename T::Row *row) {
    RemoteLldpdu info;
    const uint32_t rc = info.Fetch(tfai);
    if (rc != kOk) return rc;
    return T::Decode(info.Split(), sub, row);
}

// The smallest row after (tfai, sub) over the nodes that are up.
template <typename T>
uint32_t NextRow(LLDP_TFAI_S *tfai, uint32_t *sub, typename T::Result *result) {
    SubRowKey<TfaiOwner, Index2> key{*tfai, *sub};
    const uint32_t rc = NextSubRow(LLDP_ITEM_REM_SUBTABLE, T::kSelector, &key, result);
    if (rc != kOk) return rc;
    *tfai = key.owner;
    *sub = key.sub;
    return kOk;
}

// Errors go at the position where the index stopped reading, as in the
// port VLAN and link aggregation tables; a get answers the data columns
// only, a get-next the TFAI, the sub-index and the data columns.
template <typename T>
uint32_t ReadRow(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_TFAI_S tfai;
    uint32_t sub = 0;
    const IndexWalk walk = ReadRemoteIndex(request, T::kForm, &tfai, &sub);
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
    typename T::Row row{};
    // Asked by its MIB index, without a remote index, a row indexed by
    // (time mark, port, agent) is the first neighbour of that pair that
    // carries the TLV: the one a walk shows for it.
    const bool byTfa = T::kIndexedByTfa && LLDP_mibpub_CheckLackIndex(request, kRemIndex) == 1;
    if (opType == MOR_OP_GET) {
        if (byTfa) {
            LLDP_TFAI_S at = tfai;
            typename T::Result result{};
            if (NextRow<T>(&at, &sub, &result) != kOk || at.timeMark != tfai.timeMark || at.ifIndex != tfai.ifIndex ||
                at.agent != tfai.agent)
                return Fail(reply, kErrNoInstance, walk.position);
            return Written(reply, T::Append(reply, T::FromResult(result)));
        }
        const uint32_t rc = GetRow<T>(tfai, sub, &row);
        if (rc != kOk) return Fail(reply, rc, walk.position);
        return Written(reply, T::Append(reply, row));
    }
    // After a (port, agent) named by the MIB index come the rows of the
    // following pairs, not further neighbours of the same pair.
    if (byTfa && LLDP_mibpub_CheckLackIndex(request, kRemLocalDestMac) == 0) tfai.remIndex = 0xFFFFFFFF;
    // The daemon's get-next answers strictly after the key, so a neighbour
    // entered without a sub-index is first asked for its row 0.
    const bool rowZero = T::kRowZeroFirst && LLDP_mibpub_CheckLackIndex(request, T::kForm.subIndex) == 1 &&
                         GetRow<T>(tfai, 0, &row) == kOk;
    if (rowZero) {
        sub = 0;
    } else {
        typename T::Result result{};
        if (NextRow<T>(&tfai, &sub, &result) != kOk) return Fail(reply, kErrNoNext, walk.position);
        row = T::FromResult(result);
    }
    if (const uint32_t written = AppendTfai(reply, tfai); written != kOk) return Fail(reply, written);
    const uint32_t subIndex = T::kForm.subIndex != 0 ? AppendNumber(reply, T::kForm.subIndex, T::kSubIndexType, sub) : kOk;
    return Written(reply, FirstFailure({subIndex, T::Append(reply, row)}));
}

template <RemoteSubTable T>
uint32_t Serve(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return ReadRow<T>(opType, request, reply); });
}

}  // namespace

const std::array<TableRegistration, 5> kRemoteListTables = {{
    {mib::table::lldpV2Xdot1RemProtoVlanEntry, Serve<RemProtoVlan>},
    {mib::table::lldpV2Xdot1RemVlanNameEntry, Serve<RemVlanName>},
    {mib::table::lldpV2Xdot1RemProtocolEntry, Serve<RemProtocol>},
    {mib::table::lldpV2Xdot1RemVidUsageDigestEntry, Serve<RemVidUsageDigest>},
    {mib::table::lldpV2Xdot1RemManVidEntry, Serve<RemManVid>},
}};

}  // namespace lldpv2
