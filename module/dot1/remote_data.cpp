// The neighbours' port VLAN id (table id 34) and link aggregation (table id
// 40), keyed by the TFAI. A get decodes the neighbour's stored TLVs; a
// get-next asks the daemon for the next neighbour that carries the TLV.
#include "common/lldpdu_fetch.h"
#include "common/remote_index.h"
#include "dot1/dot1_tables.h"

namespace lldpv2 {
namespace {


constexpr RemoteIndexForm kPortVlanIndex = {0, nullptr, mib::lldpV2Xdot1RemPortVlanId, mib::lldpV2Xdot1RemPortVlanId};
constexpr RemoteIndexForm kLinkAggIndex = {0, nullptr, mib::lldpV2Xdot1RemLinkAggStatus, mib::lldpV2Xdot1RemLinkAggPortId};

// Ports of this interface type run only the agents 2 and 3.
constexpr uint32_t kSecondClassType = kAggregatePortType;

uint32_t GetRemPortVlan(const LLDP_TFAI_S &tfai, uint16_t *vid) {
    uint32_t type = kUnknownPortType;
    IF_GetDataByIfIndex(tfai.ifIndex, IF_ATTR_TYPE, &type);
    if (type == kSecondClassType && tfai.agent != 2 && tfai.agent != 3) return kErrNoInstance;
    RemoteLldpdu info;
    const uint32_t rc = info.Fetch(tfai);
    if (rc != kOk) return rc;
    // No sentinel test: whatever the TLV carries is the answer.
    uint16_t value = 0xFFFF;
    if (LLDP_libdot1_PortVlanIdBufToData(info.Split(), &value) != 0) return kErrNoInstance;
    *vid = value;
    return kOk;
}

// Unlike the port VLAN id, the link aggregation TLV is split here from the
// octet after the header rather than through the remote-buffer splitter.
uint32_t GetRemLinkAgg(const LLDP_TFAI_S &tfai, LLDP_LINK_AGG_S *agg) {
    RemoteLldpdu info;
    const uint32_t rc = info.Fetch(tfai);
    if (rc != kOk) return rc;
    const uint16_t len = info.len() > kRemoteHeaderLen ? static_cast<uint16_t>(info.len() - kRemoteHeaderLen) : 0;
    return LLDP_mibpub_GetLinkAggFromPkt(info.data() + kRemoteHeaderLen, len, agg);
}

// Daemon errors, the end of the table included, go back as they stand, at
// the position where the index stopped reading.
uint32_t ReadPortVlan(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_TFAI_S tfai;
    uint32_t unused = 0;
    const IndexWalk walk = ReadRemoteIndex(request, kPortVlanIndex, &tfai, &unused);
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
    uint16_t vid = 0;
    if (opType == MOR_OP_GET) {
        const uint32_t rc = GetRemPortVlan(tfai, &vid);
        if (rc != kOk) return Fail(reply, rc, walk.position);
    } else {
        // The port type is not looked at on a get-next.
        uint16_t result = 0;
        const uint32_t rc = LLDP_mor_GetNextRemTableByTFAI(LLDP_REM_KIND_PORT_VLAN, sizeof(result), &tfai, &result);
        if (rc != kOk) return Fail(reply, rc, walk.position);
        vid = NetToHost16(result);
        if (const uint32_t written = AppendTfai(reply, tfai); written != kOk) return Fail(reply, written);
    }
    return Written(reply, AppendUnsigned(reply, mib::lldpV2Xdot1RemPortVlanId, vid));
}

uint32_t ReadLinkAgg(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_TFAI_S tfai;
    uint32_t unused = 0;
    const IndexWalk walk = ReadRemoteIndex(request, kLinkAggIndex, &tfai, &unused);
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
    LLDP_LINK_AGG_S agg{};
    const uint32_t rc = ExactOrNext(
        opType, reply, walk.position, [&] { return GetRemLinkAgg(tfai, &agg); },
        [&] { return LLDP_mor_GetNextRemTableByTFAI(LLDP_REM_KIND_LINK_AGG, sizeof(agg), &tfai, &agg); });
    if (rc != kOk) return rc;
    if (opType != MOR_OP_GET) {
        agg.portId = NetToHost32(agg.portId);
        if (const uint32_t written = AppendTfai(reply, tfai); written != kOk) return Fail(reply, written);
    }
    uint8_t status = agg.status;
    LLDP_util_Overturn(1, &status);
    return Written(reply, FirstFailure({
        AppendOctets(reply, mib::lldpV2Xdot1RemLinkAggStatus, &status, 1),
        AppendUnsigned(reply, mib::lldpV2Xdot1RemLinkAggPortId, agg.portId),
    }));
}

}  // namespace

IndexWalk ReadRemoteIndex(MOR_MSG request, const RemoteIndexForm &form, LLDP_TFAI_S *tfai, uint32_t *subIndex) {
    LLDP_mibpub_InitTfai(tfai);
    return WalkIndex(request, [&](const Param &p) -> uint32_t {
        if (const auto rc = ReadPlainTfaiColumn(p, tfai)) return *rc;
        if (form.subIndex != 0 && p.morId == form.subIndex) {
            *subIndex = p.U32();
            return form.checkSub(*subIndex);
        }
        return (p.morId >= form.firstData && p.morId <= form.lastData) ? kOk : kErrUnserved;
    });
}

uint32_t RemPortVlanProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return ReadPortVlan(opType, request, reply); });
}

uint32_t RemLinkAggProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return ReadLinkAgg(opType, request, reply); });
}

}  // namespace lldpv2
