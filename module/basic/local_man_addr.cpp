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

constexpr uint32_t kSelector = LLDP_LOCMANADDR_BY_KEY;

void RecordToHost(LLDP_LOC_MANADDR_S *rec) {
    rec->addrLen = NetToHost32(rec->addrLen);
    rec->ifSubtype = NetToHost32(rec->ifSubtype);
    rec->ifId = NetToHost32(rec->ifId);
    rec->tail = NetToHost32(rec->tail);
}

void FillPara(uint32_t selector, const LLDP_MANADDR_KEY_S &key, LLDP_INDEX_PARA_S *para) {
    LLDP_mor_InitIndexPara(para);
    para->selector = selector;
    ManAddrKey::Put(key, para);
}

uint32_t QueryNode(uint16_t node, uint32_t selector, const LLDP_MANADDR_KEY_S &key, LLDP_LOC_MANADDR_S *out) {
    if (IF_IsNodeUp(node) != 1) return kErrNoProcessor;
    LLDP_INDEX_PARA_S para;
    FillPara(selector, key, &para);
    uint8_t buf[kLocalBufferSize];
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
        if (p.morId == mib::lldpV2LocManAddr) return ReadManAddrPara(p.handle, &key);
        if (p.morId == mib::lldpV2LocManAddrSubtype) {
            key.subtype = p.U32();
            return (key.subtype == 1 || key.subtype == 2) ? kOk : kErrNoInstance;
        }
        return (p.morId < mib::lldpV2LocManAddrSubtype || p.morId > mib::lldpV2LocManAddrOID) ? kErrUnserved : kOk;
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
        if (const uint32_t written = FirstFailure({
            AppendEnum(reply, mib::lldpV2LocManAddrSubtype, key.subtype),
            AppendOctets(reply, mib::lldpV2LocManAddr, key.addr, key.len),
        }); written != kOk) return Fail(reply, written);
    }
    return Written(reply, FirstFailure({
        AppendUnsigned(reply, mib::lldpV2LocManAddrLen, rec.addrLen),
        AppendEnum(reply, mib::lldpV2LocManAddrIfSubtype, rec.ifSubtype),
        AppendUnsigned(reply, mib::lldpV2LocManAddrIfId, rec.ifId),
        AppendNullOid(reply, mib::lldpV2LocManAddrOID),
    }));
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
    SubRowKey<ManAddrKey, NoSubIndex> at{*key, {}};
    LLDP_LOC_MANADDR_S rec{};
    if (NextSubRow(LLDP_ITEM_LOC_MANADDR, selector, &at, &rec) != kOk) return kErrNoNext;
    RecordToHost(&rec);
    *key = at.owner;
    *record = rec;
    return kOk;
}

}  // extern "C"
