// lldpV2LocManAddrTable (table id 11): the management addresses the switch
// advertises. Every node's daemon keeps its own part: an exact get takes the
// first node that knows the address, a get-next the smallest next entry.
#include <cstring>

#include "basic/basic_tables.h"
#include "common/export.h"
#include "common/reply.h"
#include "common/walks.h"

namespace lldpv2 {
namespace {

constexpr uint32_t kTable = 11;
constexpr uint32_t kSubtype = MorId(kTable, 1);
constexpr uint32_t kAddress = MorId(kTable, 2);
constexpr uint32_t kAddrLen = MorId(kTable, 3);
constexpr uint32_t kIfSubtype = MorId(kTable, 4);
constexpr uint32_t kIfId = MorId(kTable, 5);
constexpr uint32_t kOid = MorId(kTable, 6);
constexpr uint32_t kSelector = 2;
constexpr uint32_t kBufferSize = 4096;

void RecordToHost(LLDP_LOC_MANADDR_S *rec) {
    rec->addrLen = NetToHost32(rec->addrLen);
    rec->ifSubtype = NetToHost32(rec->ifSubtype);
    rec->ifId = NetToHost32(rec->ifId);
    rec->tail = NetToHost32(rec->tail);
}

void FillPara(uint32_t selector, const LLDP_MANADDR_KEY_S &key, LLDP_INDEX_PARA_S *para) {
    LLDP_mor_InitIndexPara(para);
    para->selector = selector;
    para->manAddr = key;
    para->manAddr.subtype = HostToNet32(key.subtype);
    para->manAddr.len = HostToNet32(key.len);
}

uint32_t QueryNode(uint16_t node, uint32_t selector, const LLDP_MANADDR_KEY_S &key, LLDP_LOC_MANADDR_S *out) {
    if (IF_IsNodeUp(node) != 1) return kErrNoProcessor;
    LLDP_INDEX_PARA_S para;
    FillPara(selector, key, &para);
    uint8_t buf[kBufferSize];
    uint16_t len = sizeof(buf);
    const uint32_t rc = LLDP_mor_Get(0, 1, LLDP_ITEM_LOC_MANADDR, node, &para, &len, buf);
    if (rc != kOk) return rc;
    if (len < sizeof(*out)) return kErrNoInstance;
    std::memcpy(out, buf, sizeof(*out));
    RecordToHost(out);
    return kOk;
}

uint32_t Read(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    LLDP_MANADDR_KEY_S key{};
    const IndexWalk walk = WalkIndex(request, [&](const Param &p) -> uint32_t {
        if (p.morId == kAddress) return ReadManAddrPara(p.handle, &key);
        if (p.morId == kSubtype) {
            key.subtype = p.U32();
            return (key.subtype == 1 || key.subtype == 2) ? kOk : kErrNoInstance;
        }
        return (p.morId < kSubtype || p.morId > kOid) ? kErrUnserved : kOk;
    });
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
    const uint32_t position = walk.position;

    LLDP_LOC_MANADDR_S rec{};
    if (opType == MOR_OP_GET) {
        const uint32_t rc = LLDP_mibpub_GetLocManAddrTable(kSelector, &key, &rec);
        if (rc != kOk) return Fail(reply, rc, position);
    } else {
        const uint32_t rc = LLDP_mibpub_GetNextLocManAddrTableByIndex(kSelector, &key, &rec);
        if (rc != kOk) return Fail(reply, rc, position);
        AppendEnum(reply, kSubtype, key.subtype);
        AppendOctets(reply, kAddress, key.addr, key.len);
    }
    AppendUnsigned(reply, kAddrLen, rec.addrLen);
    AppendEnum(reply, kIfSubtype, rec.ifSubtype);
    AppendUnsigned(reply, kIfId, rec.ifId);
    AppendNullOid(reply, kOid);
    return kOk;
}

}  // namespace

uint32_t LocalManAddrProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&] { return Read(opType, request, reply); });
}

}  // namespace lldpv2

using namespace lldpv2;

extern "C" {

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetLocManAddrTable(uint32_t selector, const LLDP_MANADDR_KEY_S *key,
                                                      LLDP_LOC_MANADDR_S *record) {
    if (key->subtype != 1 && key->subtype != 2) return kErrNoInstance;
    if (key->len < 1 || key->len > 31) return kErrNoInstance;
    NodeArray nodes;
    if (!nodes.valid()) return kErrNoInstance;
    for (uint16_t node : nodes) {
        LLDP_LOC_MANADDR_S rec{};
        if (QueryNode(node, selector, *key, &rec) == kOk) {
            *record = rec;
            return kOk;
        }
    }
    return kErrNoInstance;
}

LLDPV2_EXPORT uint32_t LLDP_mibpub_GetNextLocManAddrTableByIndex(uint32_t selector, LLDP_MANADDR_KEY_S *key,
                                                                 LLDP_LOC_MANADDR_S *record) {
    if (key->subtype > 2) return kErrNoNext;
    struct Candidate {
        LLDP_MANADDR_KEY_S key;
        LLDP_LOC_MANADDR_S rec;
    };
    Candidate best{};
    const uint32_t rc = SmallestOverNodes(
        &best,
        [&](uint16_t node, Candidate *c) {
            LLDP_INDEX_PARA_S para;
            FillPara(selector, *key, &para);
            if (!NodeGetNext(LLDP_ITEM_LOC_MANADDR, node, &para, sizeof(c->rec), &c->rec)) return false;
            c->key = para.manAddr;
            c->key.subtype = NetToHost32(c->key.subtype);
            c->key.len = NetToHost32(c->key.len);
            return true;
        },
        [](const Candidate &a, const Candidate &b) { return LLDP_util_CmpManAddrIndex(&a.key, &b.key) < 0; });
    if (rc != kOk) return kErrNoNext;
    RecordToHost(&best.rec);
    *key = best.key;
    *record = best.rec;
    return kOk;
}

}  // extern "C"
