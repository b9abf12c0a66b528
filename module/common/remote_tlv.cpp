// Lookups of one organizationally defined or unknown TLV in the stored
// LLDPDU information of a neighbour.
#include <algorithm>
#include <cstring>

#include "common/guards.h"
#include "common/lldpdu_fetch.h"
#include "common/mibpub.h"

namespace lldpv2 {
namespace {

// Decoded unknown or organizationally defined TLVs, freed with the library's
// node release function on scope exit.
template <void (*FreeNode)(void *)>
void FreeTlvResults(void *head) {
    LLDP_libbasic_FreeUnknownTLV(head, FreeNode);
}
template <typename Node, void (*FreeNode)(void *)>
using TlvResultList = Owned<Node, FreeTlvResults<FreeNode>>;

// Fetches the neighbour's TLVs and lets parse collect the TLVs it wants;
// the split list is released as soon as parsing is done.
template <typename Parse>
uint32_t FetchAndParse(const LLDP_TFAI_S &tfai, Parse parse, uint32_t *parseResult) {
    RemoteLldpdu pdu;
    const uint32_t rc = pdu.Fetch(tfai);
    if (rc != kOk) return rc;
    *parseResult = pdu.DecodeOnce(parse);
    return kOk;
}

void CopyInfo(const uint8_t *info, uint32_t len, uint32_t limit, RemTlvInfo *out) {
    out->len = std::min(len, limit);
    std::memcpy(out->info, info, out->len);
}

}  // namespace

uint32_t GetRemOrgDefInfo(const OrgDefKey &key, RemTlvInfo *out) {
    if (IsPortAgentValid(key.tfai.ifIndex, key.tfai.agent) == 0) return kErrNoInstance;
    TlvResultList<LLDP_ORGDEF_TLV_S, LLDP_tlv_FreeOrgUnknownNode> orgDef;
    uint32_t parsed = 0;
    const uint32_t rc = FetchAndParse(
        key.tfai, [&](LLDP_TLV_LIST_S *list) { return LLDP_libbasic_ParseUnknownTLV(list, orgDef.out(), nullptr); },
        &parsed);
    if (rc != kOk) return rc;
    if (parsed != kOk) return kErrNoInstance;
    for (const LLDP_ORGDEF_TLV_S *n = orgDef.get(); n != nullptr; n = n->next) {
        if (std::memcmp(n->oui, key.oui, 3) == 0 && n->subtype == key.subtype && n->index == key.index) {
            CopyInfo(n->info, n->len, kOrgDefInfoMax, out);
            return kOk;
        }
    }
    return kErrNoInstance;
}

uint32_t GetRemUnknownTlv(const UnknownTlvKey &key, RemTlvInfo *out) {
    if (IsPortAgentValid(key.tfai.ifIndex, key.tfai.agent) == 0) return kErrNoInstance;
    TlvResultList<LLDP_UNKNOWN_TLV_S, LLDP_tlv_FreeBasicUnknownNode> unknown;
    uint32_t parsed = 0;
    const uint32_t rc = FetchAndParse(
        key.tfai, [&](LLDP_TLV_LIST_S *list) { return LLDP_libbasic_ParseUnknownTLV(list, nullptr, unknown.out()); },
        &parsed);
    if (rc != kOk) return rc;
    if (parsed != kOk) return kErrNoInstance;
    for (const LLDP_UNKNOWN_TLV_S *n = unknown.get(); n != nullptr; n = n->next) {
        if (n->type == key.type) {
            CopyInfo(n->info, n->len, kUnknownInfoMax, out);
            return kOk;
        }
    }
    return kErrNoInstance;
}

}  // namespace lldpv2
