// IEEE 802.3 TLV codec of the client library. Numbers come out in host
// order; a decoder answers LLDP_ERR_NO_ENTRY and leaves its output alone when
// the list holds no well-formed TLV of its kind.
#include "lldp/codec/codec_common.h"

using namespace lldpv2host::lldp;
using namespace lldpv2host::lldp::detail;

extern "C" {

uint32_t LLDP_libdot3_MacPhysicBufToData(const LLDP_TLV_LIST_S *list, LLDP_MAC_PHY_S *out) {
    if (list == nullptr || out == nullptr) return LLDP_ERR_GENERAL;
    MacPhy m;
    if (!FirstOrgTlv(list, kOuiDot3, kDot3MacPhy, ParseMacPhy, m)) return LLDP_ERR_NO_ENTRY;
    out->autoNeg = m.autoNeg;
    out->advertisedCap = m.advertisedCap;
    out->operMauType = m.mauType;
    return 0;
}

// The first three octets (support, pair, class); extension fields are not
// part of the record.
uint32_t LLDP_libdot3_PowerMDIBufToData(const LLDP_TLV_LIST_S *list, LLDP_POWER_MDI_S *out) {
    if (list == nullptr || out == nullptr) return LLDP_ERR_GENERAL;
    PowerMdi p;
    if (!FirstOrgTlv(list, kOuiDot3, kDot3PowerMdi, ParsePowerMdi, p)) return LLDP_ERR_NO_ENTRY;
    out->support = p.support;
    out->pairs = p.pair;
    out->powerClass = p.powerClass;
    return 0;
}

uint32_t LLDP_libdot3_MaxFrameSizeBufToData(const LLDP_TLV_LIST_S *list, uint16_t *size) {
    if (list == nullptr || size == nullptr) return LLDP_ERR_GENERAL;
    uint16_t v = 0;
    if (!FirstOrgTlv(list, kOuiDot3, kDot3MaxFrameSize, ParseMaxFrameSize, v)) return LLDP_ERR_NO_ENTRY;
    *size = v;
    return 0;
}

}  // extern "C"
