// Basic TLV codec of the client library: the local port and remote system
// records, the remote management addresses and the TLVs that no codec of the
// library decodes (reserved types and other organizationally specific TLVs).
#include <algorithm>
#include <cstring>
#include <map>
#include <utility>

#include "lldp/codec/codec_common.h"
#include "testing_hooks.h"

using namespace lldpv2host::lldp;
using namespace lldpv2host::lldp::detail;

namespace {

const LLDP_TLV_NODE_S *FirstOfType(const LLDP_TLV_LIST_S *list, uint16_t type) {
    for (const LLDP_TLV_NODE_S *n = list->head; n != nullptr; n = n->next) {
        if (n->type == type && n->value != nullptr) return n;
    }
    return nullptr;
}

// A chassis id or port id TLV: subtype and up to 255 id octets. False for a
// TLV too short to hold both.
bool TakeId(const LLDP_TLV_NODE_S *n, uint32_t &subtype, uint8_t *id, uint32_t &idLen) {
    if (n == nullptr || n->len < 2) return false;
    subtype = n->value[0];
    idLen = static_cast<uint32_t>(std::min<size_t>(n->len - 1u, kMaxIdLen));
    std::memcpy(id, n->value + 1, idLen);
    return true;
}

// A text TLV into a NUL-terminated field of capacity octets.
void TakeText(const LLDP_TLV_NODE_S *n, char *field, size_t capacity) {
    if (n == nullptr) return;
    const size_t len = std::min<size_t>(n->len, capacity - 1);
    std::memcpy(field, n->value, len);
    field[len] = '\0';
}

}  // namespace

extern "C" {

uint32_t LLDP_libbasic_LocPortTableBufToData(const LLDP_TLV_LIST_S *list, LLDP_LOC_PORT_S *out) {
    if (list == nullptr || out == nullptr) return LLDP_ERR_GENERAL;
    TakeText(FirstOfType(list, kTlvPortDesc), out->portDesc, sizeof out->portDesc);
    if (!TakeId(FirstOfType(list, kTlvPortId), out->portIdSubtype, out->portId, out->portIdLen)) {
        return LLDP_ERR_NO_ENTRY;
    }
    return 0;
}

uint32_t LLDP_libbasic_V2RemTableBufToData(const LLDP_TLV_LIST_S *list, LLDP_REM_SYSTEM_S *out) {
    if (list == nullptr || out == nullptr) return LLDP_ERR_GENERAL;
    TakeText(FirstOfType(list, kTlvPortDesc), out->portDesc, sizeof out->portDesc);
    TakeText(FirstOfType(list, kTlvSysName), out->sysName, sizeof out->sysName);
    TakeText(FirstOfType(list, kTlvSysDesc), out->sysDesc, sizeof out->sysDesc);
    if (const LLDP_TLV_NODE_S *n = FirstOfType(list, kTlvSysCap)) {
        uint16_t supported = 0;
        uint16_t enabled = 0;
        if (ParseSysCap(n->value, n->len, supported, enabled)) {
            out->capSupported = supported;
            out->capEnabled = enabled;
        }
    }
    const bool chassis = TakeId(FirstOfType(list, kTlvChassisId), out->chassisIdSubtype, out->chassisId,
                                out->chassisIdLen);
    const bool port = TakeId(FirstOfType(list, kTlvPortId), out->portIdSubtype, out->portId, out->portIdLen);
    return chassis && port ? 0 : LLDP_ERR_NO_ENTRY;
}

// Management addresses by subtype: each distinct subtype, in order of its
// first appearance, takes the next of the 25 slots; the addresses of that
// subtype follow in order in the slot's list. Subtypes beyond the 25th are
// dropped. The header octet of the daemon's buffer carries nothing the
// decoding needs.
LLDP_REM_MANADDR_DATA_S *LLDP_libbasic_ManAddrTLVBufToData(const LLDP_TLV_LIST_S *list, uint8_t header) {
    (void)header;
    if (list == nullptr) return nullptr;
    LLDP_REM_MANADDR_DATA_S *data = nullptr;
    LLDP_REM_MANADDR_S *tails[LLDP_MANADDR_SLOTS] = {};
    for (const LLDP_TLV_NODE_S *n = list->head; n != nullptr; n = n->next) {
        ManagementAddress m;
        if (n->type != kTlvManAddr || n->value == nullptr || !ParseManAddr(n->value, n->len, m)) continue;
        if (data == nullptr) {
            data = NewNode<LLDP_REM_MANADDR_DATA_S>();
            if (data == nullptr) return nullptr;
        }
        size_t slot = 0;
        const bool ownSlot = lldpv2host::testing::hooks::ManAddrSlotPerAddress();
        while (slot < LLDP_MANADDR_SLOTS && data->slot[slot] != nullptr &&
               (ownSlot || data->slot[slot]->subtype != m.subtype)) {
            ++slot;
        }
        if (slot == LLDP_MANADDR_SLOTS) continue;
        auto *e = NewNode<LLDP_REM_MANADDR_S>();
        if (e == nullptr) {
            LLDP_libbasic_FreeManAddrTLVData(data);
            return nullptr;
        }
        e->ifId = m.ifId;
        e->subtype = m.subtype;
        e->addrLen = static_cast<uint8_t>(m.address.size());
        std::memcpy(e->addr, m.address.data(), m.address.size());
        e->ifSubtype = m.ifSubtype;
        if (tails[slot] == nullptr) data->slot[slot] = e;
        else tails[slot]->next = e;
        tails[slot] = e;
    }
    return data;
}

void LLDP_libbasic_FreeManAddrTLVData(LLDP_REM_MANADDR_DATA_S *data) {
    if (data == nullptr) return;
    for (LLDP_REM_MANADDR_S *head : data->slot) FreeChain(head);
    std::free(data);
}

// Reserved TLV types (9..126) go to *unknown; organizationally specific TLVs
// that none of the library's codecs decodes go to *orgDef, numbered 1, 2, ...
// per (OUI, subtype) in order of appearance. Org TLVs shorter than their
// OUI and subtype are passed over.
uint32_t LLDP_libbasic_ParseUnknownTLV(const LLDP_TLV_LIST_S *list, LLDP_ORGDEF_TLV_S **orgDef,
                                       LLDP_UNKNOWN_TLV_S **unknown) {
    if (orgDef != nullptr) *orgDef = nullptr;
    if (unknown != nullptr) *unknown = nullptr;
    if (list == nullptr) return LLDP_ERR_GENERAL;
    LLDP_ORGDEF_TLV_S *orgTail = nullptr;
    LLDP_UNKNOWN_TLV_S *unknownTail = nullptr;
    std::map<std::pair<Oui, uint8_t>, uint32_t> counts;
    auto fail = [&]() {
        if (orgDef != nullptr) {
            FreeChain(*orgDef);
            *orgDef = nullptr;
        }
        if (unknown != nullptr) {
            FreeChain(*unknown);
            *unknown = nullptr;
        }
        return LLDP_ERR_GENERAL;
    };
    for (const LLDP_TLV_NODE_S *n = list->head; n != nullptr; n = n->next) {
        if (n->value == nullptr && n->len != 0) continue;
        if (n->type >= kFirstReservedTlvType && n->type <= kLastReservedTlvType) {
            if (unknown == nullptr) continue;
            auto *e = NewNode<LLDP_UNKNOWN_TLV_S>();
            if (e == nullptr) return fail();
            e->type = n->type;
            e->len = static_cast<uint16_t>(std::min<size_t>(n->len, sizeof e->info));
            if (e->len != 0) std::memcpy(e->info, n->value, e->len);
            lldpv2host::testing::hooks::FillInfo(e->info, &e->len, sizeof e->info);
            if (unknownTail == nullptr) *unknown = e;
            else unknownTail->next = e;
            unknownTail = e;
            continue;
        }
        Oui oui{};
        uint8_t subtype = 0;
        if (n->type != kTlvOrgSpecific || !SplitOrgHeader(n->value, n->len, oui, subtype)) continue;
        if (IsDecodedOrgTlv(oui, subtype)) continue;
        const uint32_t index = ++counts[{oui, subtype}];
        if (orgDef == nullptr) continue;
        auto *e = NewNode<LLDP_ORGDEF_TLV_S>();
        if (e == nullptr) return fail();
        std::memcpy(e->oui, oui.data(), 3);
        e->subtype = subtype;
        e->index = index;
        e->len = static_cast<uint16_t>(std::min<size_t>(n->len - kOrgHeaderLen, sizeof e->info));
        if (e->len != 0) std::memcpy(e->info, n->value + kOrgHeaderLen, e->len);
        lldpv2host::testing::hooks::FillInfo(e->info, &e->len, sizeof e->info);
        if (orgTail == nullptr) *orgDef = e;
        else orgTail->next = e;
        orgTail = e;
    }
    return 0;
}

// Both result lists start every node with its next pointer.
uint32_t LLDP_libbasic_FreeUnknownTLV(void *head, LLDP_TLV_NODE_FREE_PF freeNode) {
    struct Link {
        Link *next;
    };
    auto *node = static_cast<Link *>(head);
    while (node != nullptr) {
        Link *next = node->next;
        if (freeNode != nullptr) freeNode(node);
        else std::free(node);
        node = next;
    }
    return 0;
}

void LLDP_tlv_FreeOrgUnknownNode(void *node) { std::free(node); }
void LLDP_tlv_FreeBasicUnknownNode(void *node) { std::free(node); }

}  // extern "C"
