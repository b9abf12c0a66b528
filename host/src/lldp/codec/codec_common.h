// Walks over a TLV list for the codecs of the client library.
#pragma once

#include <cstdlib>
#include <new>

#include "lldp/codec/tlv_format.h"
#include "lldpv2/lldp_client.h"

namespace lldpv2host::lldp::detail {

// Calls fn(body, bodyLen) for each organizationally specific TLV of the list
// with the given OUI and subtype, in list order, until fn returns true.
// Returns whether fn returned true.
template <typename Fn>
bool ForEachOrgTlv(const LLDP_TLV_LIST_S *list, const Oui &oui, uint8_t subtype, Fn fn) {
    if (list == nullptr) return false;
    for (const LLDP_TLV_NODE_S *n = list->head; n != nullptr; n = n->next) {
        Oui o{};
        uint8_t s = 0;
        if (n->type != kTlvOrgSpecific || n->value == nullptr || !SplitOrgHeader(n->value, n->len, o, s)) continue;
        if (o != oui || s != subtype) continue;
        if (fn(n->value + kOrgHeaderLen, static_cast<size_t>(n->len) - kOrgHeaderLen)) return true;
    }
    return false;
}

// The first well-formed TLV of a single-instance org type, parsed by parse
// into out; malformed ones are passed over as a receiver discards them.
template <typename T, typename Parse>
bool FirstOrgTlv(const LLDP_TLV_LIST_S *list, const Oui &oui, uint8_t subtype, Parse parse, T &out) {
    return ForEachOrgTlv(list, oui, subtype, [&](const uint8_t *body, size_t len) { return parse(body, len, out); });
}

// A zeroed heap node of a C list, released with std::free.
template <typename T>
T *NewNode() {
    return static_cast<T *>(std::calloc(1, sizeof(T)));
}

// Frees a singly linked C list whose nodes start with their next pointer.
template <typename T>
void FreeChain(T *head) {
    while (head != nullptr) {
        T *next = head->next;
        std::free(head);
        head = next;
    }
}

}  // namespace lldpv2host::lldp::detail
