// Comparisons, bit-order helpers and the address-length table of the client
// library.
#include <cstring>

#include "lldpv2/lldp_client.h"

namespace {

template <typename T>
int32_t Cmp(T a, T b) {
    return a < b ? -1 : (a > b ? 1 : 0);
}

uint8_t ReverseBits(uint8_t b) {
    b = static_cast<uint8_t>(((b & 0xF0) >> 4) | ((b & 0x0F) << 4));
    b = static_cast<uint8_t>(((b & 0xCC) >> 2) | ((b & 0x33) << 2));
    b = static_cast<uint8_t>(((b & 0xAA) >> 1) | ((b & 0x55) << 1));
    return b;
}

}  // namespace

extern "C" {

// Address length by management address subtype (IANA address family number)
// where the family has one fixed length, else 0: 1 IPv4 4, 2 IPv6 16,
// 6 IEEE 802 MAC 6, 13 DECnet Phase IV 2, 19 XTP over IPv4 4, 20 XTP over
// IPv6 16, 22 Fibre Channel port name 8, 23 Fibre Channel node name 8. One
// entry per possible subtype octet.
const uint8_t g_aucManaAddrLen[256] = {
    0, 4, 16, 0, 0, 0, 6, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 4, 16, 0, 8, 8,
};

int32_t LLDP_util_CmpTfai(const LLDP_TFAI_S *a, const LLDP_TFAI_S *b) {
    if (int32_t c = Cmp(a->timeMark, b->timeMark)) return c;
    if (int32_t c = Cmp(a->ifIndex, b->ifIndex)) return c;
    if (int32_t c = Cmp(a->agent, b->agent)) return c;
    return Cmp(a->remIndex, b->remIndex);
}

// The order of the instances of an index (subtype, OCTET STRING) in an SNMP
// walk: the address is a variable-length string, so its length sub-identifier
// comes before its octets: subtype, then length, then the octets.
int32_t LLDP_util_CmpManAddrIndex(const LLDP_MANADDR_KEY_S *a, const LLDP_MANADDR_KEY_S *b) {
    if (int32_t c = Cmp(a->subtype, b->subtype)) return c;
    if (int32_t c = Cmp(a->len, b->len)) return c;
    const size_t n = a->len < LLDP_MANADDR_CAPACITY ? a->len : LLDP_MANADDR_CAPACITY;
    const int c = std::memcmp(a->addr, b->addr, n);
    return Cmp(c, 0);
}

// OUI octets (as many as the shorter OUI has, at most 4), then OUI length,
// subtype and index, all unsigned. The OUI column is a fixed 3-octet string,
// which an SNMP index carries without a length, so its octets rank first.
int32_t LLDP_util_CmpOrgDefSubIndex(const LLDP_ORGDEF_SUBINDEX_S *a, const LLDP_ORGDEF_SUBINDEX_S *b) {
    uint32_t n = a->ouiLen < b->ouiLen ? a->ouiLen : b->ouiLen;
    if (n > sizeof a->oui) n = sizeof a->oui;
    if (const int c = std::memcmp(a->oui, b->oui, n)) return Cmp(c, 0);
    if (int32_t c = Cmp(a->ouiLen, b->ouiLen)) return c;
    if (int32_t c = Cmp(a->subtype, b->subtype)) return c;
    return Cmp(a->index, b->index);
}

void LLDP_util_Overturn(uint32_t count, uint8_t *bytes) {
    if (bytes == nullptr) return;
    for (uint32_t i = 0; i < count; ++i) bytes[i] = ReverseBits(bytes[i]);
}

uint16_t LLDP_util_OverturnS(uint16_t value) {
    return static_cast<uint16_t>((ReverseBits(static_cast<uint8_t>(value)) << 8) |
                                 ReverseBits(static_cast<uint8_t>(value >> 8)));
}

// bit 0 is the least significant bit of the first octet, bit 8 that of the
// second. A bit beyond count octets gives LLDP_ERR_BAD_VALUE and *isSet 0.
uint32_t LLDP_util_BitIsSet(const uint8_t *bytes, uint32_t count, uint32_t bit, uint16_t *isSet) {
    if (bytes == nullptr || isSet == nullptr) return LLDP_ERR_GENERAL;
    *isSet = 0;
    if (bit / 8 >= count) return LLDP_ERR_BAD_VALUE;
    *isSet = static_cast<uint16_t>((bytes[bit / 8] >> (bit % 8)) & 1);
    return 0;
}

// The port-and-protocol VLAN flags of IEEE 802.1Q: bit 1 supported, bit 2
// enabled. The status is always 0: every flags octet is valid (other bits are
// reserved and ignored).
uint32_t LLDP_util_GetValidProtoVlanValid(uint8_t flags, uint16_t *supported, uint16_t *enabled) {
    if (supported == nullptr || enabled == nullptr) return LLDP_ERR_GENERAL;
    *supported = (flags >> 1) & 1;
    *enabled = (flags >> 2) & 1;
    return 0;
}

}  // extern "C"
