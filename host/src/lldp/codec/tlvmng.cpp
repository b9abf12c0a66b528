// TLV list manager of the LLDP client library and the registration of the
// TLV codec families with it.
#include <cstdlib>

#include "lldpv2/lldp_client.h"
#include "lldpv2host/trace.h"

namespace {

// Whether the manager runs and which codec families are registered. The
// splitter and the decoders do not depend on it: the daemon uses them whether
// or not a module has started the manager.
bool g_managerStarted = false;
enum Family { kBasic, kDot1, kDot3, kDcbx, kFamilies };
bool g_registered[kFamilies] = {};

// Records the call and answers its injected fault, or 0.
uint32_t TracedCall(const char *name) { return lldpv2host::TraceCall(name); }

uint32_t SetRegistered(const char *name, Family family, bool registered) {
    const uint32_t fault = TracedCall(name);
    if (fault != 0) return fault;
    g_registered[family] = registered;
    return 0;
}

}  // namespace

extern "C" {

uint32_t LLDP_tlvmng_Init(void) {
    const uint32_t fault = TracedCall("LLDP_tlvmng_Init");
    if (fault != 0) return fault;
    g_managerStarted = true;
    return 0;
}

uint32_t LLDP_tlvmng_Exit(void) {
    const uint32_t fault = TracedCall("LLDP_tlvmng_Exit");
    if (fault != 0) return fault;
    g_managerStarted = false;
    return 0;
}

uint32_t LLDP_tlvmng_SplitTLV(const uint8_t *buf, uint16_t len, LLDP_TLV_LIST_S *list) {
    if (list == nullptr) return LLDP_ERR_GENERAL;
    // The caller's head may be uninitialised stack memory: reset, never free.
    list->head = nullptr;
    list->tail = nullptr;
    list->count = 0;
    if (buf == nullptr) return len == 0 ? 0 : LLDP_ERR_GENERAL;

    size_t pos = 0;
    while (len - pos >= 2) {
        const uint16_t type = static_cast<uint16_t>(buf[pos] >> 1);
        const uint16_t tlvLen = static_cast<uint16_t>(((buf[pos] & 0x01) << 8) | buf[pos + 1]);
        // The End TLV closes the stream; a TLV running past the buffer ends
        // the split with the TLVs before it.
        if (type == 0 || tlvLen > len - pos - 2) break;
        auto *node = static_cast<LLDP_TLV_NODE_S *>(std::malloc(sizeof(LLDP_TLV_NODE_S)));
        if (node == nullptr) {
            LLDP_tlvmng_FreeNbTLVNode(list);
            return LLDP_ERR_GENERAL;
        }
        node->next = nullptr;
        node->type = type;
        node->len = tlvLen;
        node->value = buf + pos + 2;
        if (list->tail == nullptr) list->head = node;
        else list->tail->next = node;
        list->tail = node;
        ++list->count;
        pos += 2u + tlvLen;
    }
    return 0;
}

uint32_t LLDP_tlvmng_FreeNbTLVNode(LLDP_TLV_LIST_S *list) {
    if (list == nullptr) return LLDP_ERR_GENERAL;
    LLDP_TLV_NODE_S *node = list->head;
    while (node != nullptr) {
        LLDP_TLV_NODE_S *next = node->next;
        std::free(node);
        node = next;
    }
    list->head = nullptr;
    list->tail = nullptr;
    list->count = 0;
    return 0;
}

uint32_t LLDP_libbasic_Reg(void) { return SetRegistered("LLDP_libbasic_Reg", kBasic, true); }
uint32_t LLDP_libbasic_UnReg(void) { return SetRegistered("LLDP_libbasic_UnReg", kBasic, false); }
uint32_t LLDP_libdot1_Reg(void) { return SetRegistered("LLDP_libdot1_Reg", kDot1, true); }
uint32_t LLDP_libdot1_UnReg(void) { return SetRegistered("LLDP_libdot1_UnReg", kDot1, false); }
uint32_t LLDP_libdot3_Reg(void) { return SetRegistered("LLDP_libdot3_Reg", kDot3, true); }
uint32_t LLDP_libdot3_UnReg(void) { return SetRegistered("LLDP_libdot3_UnReg", kDot3, false); }
uint32_t LLDP_libDcbx_Reg(void) { return SetRegistered("LLDP_libDcbx_Reg", kDcbx, true); }
uint32_t LLDP_libDcbx_UnReg(void) { return SetRegistered("LLDP_libDcbx_UnReg", kDcbx, false); }

}  // extern "C"
