// The wire format of single TLVs, shared by the LLDPDU decoder and the TLV
// codecs of the client library: each parser checks the information string of
// one TLV against the layout of its type and fills the data model, or answers
// false for a malformed TLV (which a receiver discards).
#pragma once

#include <cstddef>
#include <cstdint>

#include "lldp/lldpdu.h"

namespace lldpv2host::lldp::detail {

inline uint16_t Get16(const uint8_t *p) { return static_cast<uint16_t>((p[0] << 8) | p[1]); }
inline uint32_t Get32(const uint8_t *p) {
    return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
           (static_cast<uint32_t>(p[2]) << 8) | p[3];
}

// Size limits of the information strings.
inline constexpr size_t kMaxIdLen = 255;         // chassis id and port id, without the subtype
inline constexpr size_t kMaxTextLen = 255;       // port description, system name/description
inline constexpr size_t kMaxManAddrLen = 31;     // management address, without its subtype
inline constexpr size_t kMaxOidLen = 128;
inline constexpr size_t kOrgHeaderLen = 4;       // OUI and subtype
inline constexpr size_t kMaxOrgInfoLen = kMaxTlvInfoLen - kOrgHeaderLen;  // 507
inline constexpr size_t kMaxVlanNameLen = 32;
inline constexpr size_t kMaxAppEntries = 168;    // (511 - 4 - 1) / 3

// Basic TLVs. info/len is the TLV information string.
bool ParseManAddr(const uint8_t *info, size_t len, ManagementAddress &out);
bool ParseSysCap(const uint8_t *info, size_t len, uint16_t &supported, uint16_t &enabled);

// Organizationally specific TLVs: body/len are the octets after the OUI and
// subtype.
bool ParsePortVlanId(const uint8_t *body, size_t len, uint16_t &pvid);
bool ParseProtoVlan(const uint8_t *body, size_t len, ProtoVlan &out);
bool ParseVlanName(const uint8_t *body, size_t len, VlanName &out);
bool ParseProtocolId(const uint8_t *body, size_t len, std::vector<uint8_t> &out);
bool ParseVidUsage(const uint8_t *body, size_t len, std::array<uint8_t, 4> &out);
bool ParseManagementVid(const uint8_t *body, size_t len, uint16_t &vid);
bool ParseLinkAgg(const uint8_t *body, size_t len, LinkAggregation &out);
bool ParseMacPhy(const uint8_t *body, size_t len, MacPhy &out);
bool ParsePowerMdi(const uint8_t *body, size_t len, PowerMdi &out);
bool ParseMaxFrameSize(const uint8_t *body, size_t len, uint16_t &size);
bool ParseEtsConfig(const uint8_t *body, size_t len, EtsConfig &out);
bool ParseEtsRecommendation(const uint8_t *body, size_t len, EtsRecommendation &out);
bool ParsePfc(const uint8_t *body, size_t len, Pfc &out);
bool ParseAppPriority(const uint8_t *body, size_t len, std::vector<AppPriority> &out);

// The OUI and subtype of an organizationally specific TLV's information
// string; false when it is shorter than 4 octets.
bool SplitOrgHeader(const uint8_t *info, size_t len, Oui &oui, uint8_t &subtype);

}  // namespace lldpv2host::lldp::detail
