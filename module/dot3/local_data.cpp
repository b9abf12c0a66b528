// What the switch advertises in its IEEE 802.3 TLVs on each port:
// lldpV2Xdot3LocPortTable (table id 76, MAC/PHY configuration/status),
// lldpV2Xdot3LocPowerTable (77, power via MDI) and
// lldpV2Xdot3LocMaxFrameSizeTable (78). A get decodes the port's local
// LLDPDU; a get-next asks the daemon for the next port with local data of the
// table's kind and decodes that port's LLDPDU.
#include "common/export.h"
#include "common/lldpdu_fetch.h"
#include "common/reply.h"
#include "dot3/dot3_tables.h"

namespace lldpv2 {
namespace {

// Every error of these tables is reported at this position.
constexpr uint32_t kErrorPosition = 0;

// Decodes the port's local LLDPDU with decode.
template <typename Record>
uint32_t LocalRecord(uint32_t ifIndex, Record *record, uint32_t (*decode)(const uint8_t *, uint16_t, Record *)) {
    LocalLldpdu pdu;
    const uint32_t rc = pdu.Fetch(ifIndex, Presence::PresetOne);
    if (rc != kOk) return rc;
    return decode(pdu.data() + kLocalHeaderLen, static_cast<uint16_t>(pdu.len() - kLocalHeaderLen), record);
}

// One local table: the TLV it answers, the daemon's kind of local data and
// the getter of a port's row.
template <typename Tlv, uint32_t Table, uint32_t Kind, uint32_t (*GetRow)(uint32_t, typename Tlv::Row *)>
struct LocalTable : Tlv {
    static constexpr uint32_t kTable = Table;
    static constexpr uint32_t kKind = Kind;
    static uint32_t Get(uint32_t ifIndex, typename Tlv::Row *row) { return GetRow(ifIndex, row); }
};
using LocPortTable = LocalTable<MacPhyTlv, kXdot3LocPortTable, LLDP_LOC_KIND_MAC_PHY, LLDP_mibpub_GetXdot3LocPort>;
using LocPowerTable = LocalTable<PowerTlv, kXdot3LocPowerTable, LLDP_LOC_KIND_POWER, LLDP_mibpub_GetXdot3LocPower>;
using LocMaxFrameSizeTable = LocalTable<MaxFrameSizeTlv, kXdot3LocMaxFrameSizeTable, LLDP_LOC_KIND_MAX_FRAME,
                                        LLDP_mibpub_GetXdot3LocMaxFrameSize>;

// The next port after *ifIndex with local data of the table's kind.
template <typename T>
uint32_t ReadNext(uint32_t *ifIndex, typename T::Row *row) {
    uint8_t buf[kLocalBufferSize];
    uint16_t len = 0;
    const uint32_t rc = LLDP_mor_V2MibGetNextLocTable(T::kKind, sizeof(buf), ifIndex, buf, &len);
    if (rc != kOk) return rc;
    // The walk ends at the first such port whose LLDPDU lacks the TLV (its
    // transmission switched off), even when a later port carries it: the
    // tables have always ended there. An answer without its header carries
    // no TLV either.
    if (len < kLocalHeaderLen) return kErrNoNext;
    const uint16_t tlvLen = static_cast<uint16_t>(len - kLocalHeaderLen);
    return T::Decode(buf + kLocalHeaderLen, tlvLen, row) == kOk ? kOk : kErrNoNext;
}

template <typename T>
uint32_t Read(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    uint32_t ifIndex = 0;
    const IndexWalk walk = WalkIndex(request, [&](const Param &p) -> uint32_t {
        if (p.morId == kLocPortIfIndex) {
            ifIndex = p.U32();
            return LLDP_util_IsDot3ValidIfIndex(ifIndex) == 1 ? kOk : kErrNoInstance;
        }
        return IsXdot3DataColumn(T::kTable, p.morId) ? kOk : kErrUnserved;
    });
    // Every index error of these tables, a foreign column included, is
    // reported as no such instance at position 0, like all their errors.
    if (walk.Ends(opType)) return Fail(reply, kErrNoInstance, kErrorPosition);

    typename T::Row row{};
    if (opType == MOR_OP_GET) {
        const uint32_t rc = T::Get(ifIndex, &row);
        if (rc != kOk) return Fail(reply, rc, kErrorPosition);
    } else {
        // A port that failed its check still positions the search.
        const uint32_t rc = ReadNext<T>(&ifIndex, &row);
        if (rc != kOk) return Fail(reply, rc, kErrorPosition);
        if (const uint32_t written = AppendEnum(reply, kLocPortIfIndex, ifIndex); written != kOk) return Fail(reply, written);
    }
    const uint32_t rc = T::Append(request, reply, T::kTable, row);
    return rc == kOk ? kOk : Fail(reply, rc, kErrorPosition);
}

// Unlike the shared frame, these tables report a set and an op type they do
// not serve at position 0 too, like every other error of theirs.
template <PortKeyedTable T>
uint32_t Serve(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    switch (ClassifyOp(opType)) {
        case Op::Phase: return kOk;
        case Op::Set: return Fail(reply, kErrReadOnly, kErrorPosition);
        case Op::Get:
        case Op::GetNext: return Read<T>(opType, request, reply);
        case Op::Unserved: break;
    }
    return Fail(reply, kErrUnserved, kErrorPosition);
}

}  // namespace

const std::array<TableRegistration, 3> kXdot3LocalTables = {{
    {kXdot3LocPortTable, Serve<LocPortTable>},
    {kXdot3LocPowerTable, Serve<LocPowerTable>},
    {kXdot3LocMaxFrameSizeTable, Serve<LocMaxFrameSizeTable>},
}};

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot3LocPort(uint32_t ifIndex, LLDP_MIB_XDOT3_MACPHY_S *mib) {
    LLDP_MAC_PHY_S record{};
    const uint32_t rc = LocalRecord(ifIndex, &record, LLDP_mibpub_GetMacPhyFromPkt);
    if (rc != kOk) return rc;
    return LLDP_mibpub_ConvertMacPhyToMibData(&record, mib);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot3LocPower(uint32_t ifIndex, LLDP_MIB_XDOT3_POWER_S *mib) {
    LLDP_POWER_MDI_S record{};
    const uint32_t rc = LocalRecord(ifIndex, &record, LLDP_mibpub_GetPowerMDIFromPkt);
    if (rc != kOk) return rc;
    return LLDP_mibpub_ConvertPowerMDIToMibData(&record, mib);
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetXdot3LocMaxFrameSize(uint32_t ifIndex, uint32_t *size) {
    uint16_t decoded = 0;
    const uint32_t rc = LocalRecord(ifIndex, &decoded, LLDP_mibpub_GetMaxFrameSizeFromPkt);
    if (rc != kOk) return rc;
    *size = decoded;
    return kOk;
}

}  // extern "C"
