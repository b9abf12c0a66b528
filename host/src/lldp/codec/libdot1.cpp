// IEEE 802.1 TLV codec of the client library. Numbers come out in host
// order. The single-value decoders answer LLDP_ERR_NO_ENTRY and leave their
// output alone when the list holds no well-formed TLV of their kind; the list
// decoders answer 0 with an empty (null) list then.
#include <cstring>

#include "lldp/codec/codec_common.h"

using namespace lldpv2host::lldp;
using namespace lldpv2host::lldp::detail;

namespace {

// Builds a C list of T from every well-formed TLV of (802.1 OUI, subtype);
// fill(node, body, len) parses one TLV into a fresh node, false when it is
// malformed.
template <typename T, typename Fill>
uint32_t BuildList(const LLDP_TLV_LIST_S *list, uint8_t subtype, T **out, Fill fill) {
    if (out == nullptr) return LLDP_ERR_GENERAL;
    *out = nullptr;
    if (list == nullptr) return LLDP_ERR_GENERAL;
    T *tail = nullptr;
    bool failed = false;
    ForEachOrgTlv(list, kOuiDot1, subtype, [&](const uint8_t *body, size_t len) {
        T *node = NewNode<T>();
        if (node == nullptr) {
            failed = true;
            return true;
        }
        if (!fill(*node, body, len)) {
            std::free(node);
            return false;
        }
        if (tail == nullptr) *out = node;
        else tail->next = node;
        tail = node;
        return false;
    });
    if (failed) {
        FreeChain(*out);
        *out = nullptr;
        return LLDP_ERR_GENERAL;
    }
    return 0;
}

template <typename T, typename Parse>
uint32_t DecodeSingle(const LLDP_TLV_LIST_S *list, uint8_t subtype, Parse parse, T *out) {
    if (list == nullptr || out == nullptr) return LLDP_ERR_GENERAL;
    T value{};
    if (!FirstOrgTlv(list, kOuiDot1, subtype, parse, value)) return LLDP_ERR_NO_ENTRY;
    *out = value;
    return 0;
}

}  // namespace

extern "C" {

uint32_t LLDP_libdot1_PortVlanIdBufToData(const LLDP_TLV_LIST_S *list, uint16_t *pvid) {
    return DecodeSingle(list, kDot1PortVlanId, ParsePortVlanId, pvid);
}

uint32_t LLDP_libdot1_ManVlanIdBufToData(const LLDP_TLV_LIST_S *list, uint16_t *vid) {
    return DecodeSingle(list, kDot1ManagementVid, ParseManagementVid, vid);
}

uint32_t LLDP_libdot1_VlanNameBufToData(const LLDP_TLV_LIST_S *list, LLDP_VLAN_NAME_S **out) {
    return BuildList(list, kDot1VlanName, out, [](LLDP_VLAN_NAME_S &node, const uint8_t *body, size_t len) {
        VlanName v;
        if (!ParseVlanName(body, len, v)) return false;
        node.vlanId = v.vid;
        node.nameLen = static_cast<uint8_t>(v.name.size());
        std::memcpy(node.name, v.name.data(), v.name.size());
        return true;
    });
}

void LLDP_libdot1_FreeVlanNameData(LLDP_VLAN_NAME_S *head) { FreeChain(head); }

uint32_t LLDP_libdot1_PPVlanIdBufToData(const LLDP_TLV_LIST_S *list, LLDP_PPVID_S **out) {
    return BuildList(list, kDot1PortProtoVlanId, out, [](LLDP_PPVID_S &node, const uint8_t *body, size_t len) {
        ProtoVlan p;
        if (!ParseProtoVlan(body, len, p)) return false;
        node.flags = p.flags;
        node.ppvid = p.ppvid;
        return true;
    });
}

void LLDP_libdot1_FreePPVlanIdData(LLDP_PPVID_S *head) { FreeChain(head); }

uint32_t LLDP_libdot1_ProtocolIdBufToData(const LLDP_TLV_LIST_S *list, LLDP_PROTOCOL_ID_S **out) {
    return BuildList(list, kDot1ProtocolId, out, [](LLDP_PROTOCOL_ID_S &node, const uint8_t *body, size_t len) {
        std::vector<uint8_t> id;
        if (!ParseProtocolId(body, len, id)) return false;
        node.len = static_cast<uint8_t>(id.size());
        if (!id.empty()) std::memcpy(node.id, id.data(), id.size());
        return true;
    });
}

void LLDP_libdot1_FreeProtocolIdData(LLDP_PROTOCOL_ID_S *head) { FreeChain(head); }

// The digest's four octets as they stand in the TLV.
uint32_t LLDP_libdot1_VidUsageBufToData(const LLDP_TLV_LIST_S *list, uint8_t digest[4]) {
    if (list == nullptr || digest == nullptr) return LLDP_ERR_GENERAL;
    std::array<uint8_t, 4> d{};
    if (!FirstOrgTlv(list, kOuiDot1, kDot1VidUsageDigest, ParseVidUsage, d)) return LLDP_ERR_NO_ENTRY;
    std::memcpy(digest, d.data(), 4);
    return 0;
}

uint32_t LLDP_libdot1_LinkAggBufToData(const LLDP_TLV_LIST_S *list, LLDP_LINK_AGG_S *out) {
    if (list == nullptr || out == nullptr) return LLDP_ERR_GENERAL;
    LinkAggregation l;
    if (!FirstOrgTlv(list, kOuiDot1, kDot1LinkAgg, ParseLinkAgg, l)) return LLDP_ERR_NO_ENTRY;
    out->status = l.status;
    out->portId = l.portId;
    return 0;
}

}  // extern "C"
