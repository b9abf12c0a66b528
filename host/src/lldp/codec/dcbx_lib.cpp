// DCBX decoding library: the ETS, PFC and application priority TLVs of
// IEEE 802.1Q (under the 802.1 OUI) read out of a TLV list. Every parser
// answers 0 and fills its whole record, or LLDP_ERR_NO_ENTRY (no well-formed
// TLV of its kind) and leaves the record alone.
#include <cstring>

#include "lldp/codec/codec_common.h"
#include "lldpv2/dcbx_lib.h"
#include "testing_hooks.h"

using namespace lldpv2host::lldp;
using namespace lldpv2host::lldp::detail;

namespace {

void FillEtsTables(DCBX_ETS_DATA_S *out, const std::array<uint8_t, 8> &priorityTc,
                   const std::array<uint8_t, 8> &bandwidth, const std::array<uint8_t, 8> &tsa) {
    std::memcpy(out->priorityTc, priorityTc.data(), 8);
    std::memcpy(out->bandwidth, bandwidth.data(), 8);
    std::memcpy(out->tsa, tsa.data(), 8);
}

}  // namespace

extern "C" {

uint32_t DCBX_lib_GetETSConfDataFromTLVList(const LLDP_TLV_LIST_S *list, DCBX_ETS_DATA_S *out) {
    if (list == nullptr || out == nullptr) return LLDP_ERR_GENERAL;
    EtsConfig e;
    if (!FirstOrgTlv(list, kOuiDot1, kDot1EtsConfig, ParseEtsConfig, e)) return LLDP_ERR_NO_ENTRY;
    std::memset(out, 0, sizeof *out);
    out->cbs = e.cbs ? 1 : 0;
    out->willing = e.willing ? 1 : 0;
    out->tcs = e.maxTcs;
    out->cbsPresent = lldpv2host::testing::hooks::DcbxOptionalFieldsAbsent() ? 0 : 1;
    out->tcsPresent = out->cbsPresent;
    FillEtsTables(out, e.priorityTc, e.bandwidth, e.tsa);
    return 0;
}

// The recommendation TLV has no willing, CBS or class count: those fields
// stay 0 and are marked absent.
uint32_t DCBX_lib_GetETSRecoDataFromTLVList(const LLDP_TLV_LIST_S *list, DCBX_ETS_DATA_S *out) {
    if (list == nullptr || out == nullptr) return LLDP_ERR_GENERAL;
    EtsRecommendation e;
    if (!FirstOrgTlv(list, kOuiDot1, kDot1EtsRecommendation, ParseEtsRecommendation, e)) return LLDP_ERR_NO_ENTRY;
    std::memset(out, 0, sizeof *out);
    FillEtsTables(out, e.priorityTc, e.bandwidth, e.tsa);
    return 0;
}

// subtype 9 (ETS configuration) or 10 (ETS recommendation); another subtype
// gives LLDP_ERR_BAD_VALUE.
uint32_t DCBX_lib_GetETSTSAFromTLVList(const LLDP_TLV_LIST_S *list, uint32_t subtype, DCBX_TSA_DATA_S *out) {
    if (list == nullptr || out == nullptr) return LLDP_ERR_GENERAL;
    std::array<uint8_t, 8> tsa{};
    if (subtype == DCBX_SUBTYPE_ETS_CONF) {
        EtsConfig e;
        if (!FirstOrgTlv(list, kOuiDot1, kDot1EtsConfig, ParseEtsConfig, e)) return LLDP_ERR_NO_ENTRY;
        tsa = e.tsa;
    } else if (subtype == DCBX_SUBTYPE_ETS_RECO) {
        EtsRecommendation e;
        if (!FirstOrgTlv(list, kOuiDot1, kDot1EtsRecommendation, ParseEtsRecommendation, e)) return LLDP_ERR_NO_ENTRY;
        tsa = e.tsa;
    } else {
        return LLDP_ERR_BAD_VALUE;
    }
    std::memcpy(out->tsa, tsa.data(), 8);
    return 0;
}

uint32_t DCBX_lib_GetPFCDataFromTLVList(const LLDP_TLV_LIST_S *list, DCBX_PFC_DATA_S *out) {
    if (list == nullptr || out == nullptr) return LLDP_ERR_GENERAL;
    Pfc p;
    if (!FirstOrgTlv(list, kOuiDot1, kDot1Pfc, ParsePfc, p)) return LLDP_ERR_NO_ENTRY;
    std::memset(out, 0, sizeof *out);
    out->willing = p.willing ? 1 : 0;
    out->mbc = p.mbc ? 1 : 0;
    out->cap = p.cap;
    out->mbcPresent = lldpv2host::testing::hooks::DcbxOptionalFieldsAbsent() ? 0 : 1;
    out->capPresent = out->mbcPresent;
    for (unsigned prio = 0; prio < 8; ++prio) out->enable[prio] = (p.enable >> prio) & 1;
    return 0;
}

// origin: DCBX_ORIGIN_LOCAL or DCBX_ORIGIN_REMOTE (anything else gives
// LLDP_ERR_BAD_VALUE). Both are decoded alike: the entries in TLV order,
// protocol in host order, whether or not DCBX_lib_CheckSelProtocol accepts
// them; the table lookups check the pair they are asked for.
uint32_t DCBX_lib_GetAPPDataFromTLVList(uint32_t origin, const LLDP_TLV_LIST_S *list, DCBX_APP_DATA_S *out) {
    if (list == nullptr || out == nullptr) return LLDP_ERR_GENERAL;
    if (origin != DCBX_ORIGIN_LOCAL && origin != DCBX_ORIGIN_REMOTE) return LLDP_ERR_BAD_VALUE;
    std::vector<AppPriority> entries;
    if (!FirstOrgTlv(list, kOuiDot1, kDot1AppPriority, ParseAppPriority, entries)) return LLDP_ERR_NO_ENTRY;
    std::memset(out, 0, sizeof *out);
    const size_t n = std::min<size_t>(entries.size(), DCBX_APP_MAX);
    for (size_t i = 0; i < n; ++i) {
        out->entry[i].protocol = entries[i].protocol;
        out->entry[i].priority = entries[i].priority;
        out->entry[i].selector = entries[i].selector;
    }
    out->count = static_cast<uint32_t>(n);
    return 0;
}

// Valid application identifiers (IEEE 802.1Q selector field):
//   1 ethertype: the protocol is an ethertype (0x0600 and above), or 0, the
//     default-priority entry;
//   2 TCP/SCTP port, 3 UDP/DCCP port, 4 TCP/SCTP/UDP/DCCP port: a port
//     number 1..65535 (port 0 is reserved);
// selectors 0 and 5..7 are reserved. The protocol must fit 16 bits.
uint32_t DCBX_lib_CheckSelProtocol(uint32_t selector, uint32_t protocol) {
    if (protocol > 0xFFFF) return LLDP_ERR_BAD_VALUE;
    switch (selector) {
    case 1: return (protocol == 0 || protocol >= 0x0600) ? 0 : LLDP_ERR_BAD_VALUE;
    case 2:
    case 3:
    case 4: return protocol != 0 ? 0 : LLDP_ERR_BAD_VALUE;
    default: return LLDP_ERR_BAD_VALUE;
    }
}

// The switch maps user priorities one to one.
uint32_t DCBX_lib_TransformUPMap(uint8_t priority) { return priority; }

}  // extern "C"
