#include "lldp/codec/tlv_format.h"

#include <cstring>

namespace lldpv2host::lldp::detail {

bool ParseManAddr(const uint8_t *info, size_t len, ManagementAddress &out) {
    // address string length (subtype + address), subtype, address,
    // interface numbering subtype, interface number, OID length, OID
    if (len < 1) return false;
    const size_t addrStrLen = info[0];
    if (addrStrLen < 2 || addrStrLen > kMaxManAddrLen + 1) return false;
    const size_t oidLenPos = 1 + addrStrLen + 1 + 4;
    if (len < oidLenPos + 1) return false;
    const size_t oidLen = info[oidLenPos];
    if (oidLen > kMaxOidLen || len != oidLenPos + 1 + oidLen) return false;
    out.subtype = info[1];
    out.address.assign(info + 2, info + 1 + addrStrLen);
    out.ifSubtype = info[1 + addrStrLen];
    out.ifId = Get32(info + 2 + addrStrLen);
    out.oid.assign(info + oidLenPos + 1, info + oidLenPos + 1 + oidLen);
    return true;
}

bool ParseSysCap(const uint8_t *info, size_t len, uint16_t &supported, uint16_t &enabled) {
    if (len != 4) return false;
    supported = Get16(info);
    enabled = Get16(info + 2);
    return true;
}

bool ParsePortVlanId(const uint8_t *body, size_t len, uint16_t &pvid) {
    if (len != 2) return false;
    pvid = Get16(body);
    return true;
}

bool ParseProtoVlan(const uint8_t *body, size_t len, ProtoVlan &out) {
    if (len != 3) return false;
    out.flags = body[0];
    out.ppvid = Get16(body + 1);
    return true;
}

bool ParseVlanName(const uint8_t *body, size_t len, VlanName &out) {
    if (len < 3) return false;
    const size_t nameLen = body[2];
    if (nameLen > kMaxVlanNameLen || len != 3 + nameLen) return false;
    out.vid = Get16(body);
    out.name.assign(reinterpret_cast<const char *>(body + 3), nameLen);
    return true;
}

bool ParseProtocolId(const uint8_t *body, size_t len, std::vector<uint8_t> &out) {
    if (len < 1 || len != 1u + body[0]) return false;
    out.assign(body + 1, body + len);
    return true;
}

bool ParseVidUsage(const uint8_t *body, size_t len, std::array<uint8_t, 4> &out) {
    if (len != 4) return false;
    std::memcpy(out.data(), body, 4);
    return true;
}

bool ParseManagementVid(const uint8_t *body, size_t len, uint16_t &vid) {
    if (len != 2) return false;
    vid = Get16(body);
    return true;
}

bool ParseLinkAgg(const uint8_t *body, size_t len, LinkAggregation &out) {
    if (len != 5) return false;
    out.status = body[0];
    out.portId = Get32(body + 1);
    return true;
}

bool ParseMacPhy(const uint8_t *body, size_t len, MacPhy &out) {
    if (len != 5) return false;
    out.autoNeg = body[0];
    out.advertisedCap = Get16(body + 1);
    out.mauType = Get16(body + 3);
    return true;
}

bool ParsePowerMdi(const uint8_t *body, size_t len, PowerMdi &out) {
    // The basic form has 3 octets; later amendments append fields, which are
    // kept as they came.
    if (len < 3) return false;
    out.support = body[0];
    out.pair = body[1];
    out.powerClass = body[2];
    out.extension.assign(body + 3, body + len);
    return true;
}

bool ParseMaxFrameSize(const uint8_t *body, size_t len, uint16_t &size) {
    if (len != 2) return false;
    size = Get16(body);
    return true;
}

namespace {

// Priority assignment table (4 octets, priority 0 in the high nibble of the
// first), then 8 bandwidth octets and 8 TSA octets.
void ParseEtsTables(const uint8_t *p, std::array<uint8_t, 8> &priorityTc, std::array<uint8_t, 8> &bandwidth,
                    std::array<uint8_t, 8> &tsa) {
    for (size_t prio = 0; prio < 8; ++prio) {
        const uint8_t octet = p[prio / 2];
        priorityTc[prio] = (prio % 2 == 0) ? static_cast<uint8_t>(octet >> 4) : static_cast<uint8_t>(octet & 0x0F);
    }
    std::memcpy(bandwidth.data(), p + 4, 8);
    std::memcpy(tsa.data(), p + 12, 8);
}

}  // namespace

bool ParseEtsConfig(const uint8_t *body, size_t len, EtsConfig &out) {
    if (len != 21) return false;
    out.willing = (body[0] & 0x80) != 0;
    out.cbs = (body[0] & 0x40) != 0;
    out.maxTcs = body[0] & 0x07;
    ParseEtsTables(body + 1, out.priorityTc, out.bandwidth, out.tsa);
    return true;
}

bool ParseEtsRecommendation(const uint8_t *body, size_t len, EtsRecommendation &out) {
    if (len != 21) return false;
    ParseEtsTables(body + 1, out.priorityTc, out.bandwidth, out.tsa);
    return true;
}

bool ParsePfc(const uint8_t *body, size_t len, Pfc &out) {
    if (len != 2) return false;
    out.willing = (body[0] & 0x80) != 0;
    out.mbc = (body[0] & 0x40) != 0;
    out.cap = body[0] & 0x0F;
    out.enable = body[1];
    return true;
}

bool ParseAppPriority(const uint8_t *body, size_t len, std::vector<AppPriority> &out) {
    // A reserved octet, then 3-octet entries: priority (3 bits), reserved
    // (2 bits), selector (3 bits), protocol id (16 bits).
    if (len < 1 || (len - 1) % 3 != 0) return false;
    out.clear();
    for (size_t pos = 1; pos < len; pos += 3) {
        AppPriority e;
        e.priority = static_cast<uint8_t>(body[pos] >> 5);
        e.selector = body[pos] & 0x07;
        e.protocol = Get16(body + pos + 1);
        out.push_back(e);
    }
    return true;
}

bool SplitOrgHeader(const uint8_t *info, size_t len, Oui &oui, uint8_t &subtype) {
    if (len < kOrgHeaderLen) return false;
    oui = {info[0], info[1], info[2]};
    subtype = info[3];
    return true;
}

}  // namespace lldpv2host::lldp::detail
