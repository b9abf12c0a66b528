// The sub-tables of a remote system row: lldpV2RemManAddrTable (table id 13),
// lldpV2RemUnknownTLVTable (14) and lldpV2RemOrgDefInfoTable (15). A get
// searches the neighbour's decoded TLVs; a get-next asks every node for its
// next entry and keeps the smallest (TFAI first, then the sub-index).
#include <algorithm>
#include <cstring>

#include "basic/basic_tables.h"
#include "common/guards.h"
#include "common/remote_index.h"
#include "common/walks.h"

namespace lldpv2 {
namespace {

constexpr uint32_t kRemInfoCapacity = 8192;

// One remote sub-table: its key after the TFAI, the record of the daemon's
// get-next, and how both travel.
struct ManAddrTable {
    static constexpr uint32_t kTable = 13;
    static constexpr uint32_t kSelector = LLDP_REMSUB_MANADDR;
    using Key = LLDP_MANADDR_KEY_S;
    using Record = LLDP_REM_MANADDR_REC_S;

    static void PutKey(const Key &k, LLDP_INDEX_PARA_S *para) {
        para->manAddr = k;
        para->manAddr.subtype = HostToNet32(k.subtype);
        para->manAddr.len = HostToNet32(k.len);
    }
    static Key TakeKey(const LLDP_INDEX_PARA_S &para) {
        Key k = para.manAddr;
        k.subtype = NetToHost32(k.subtype);
        k.len = NetToHost32(k.len);
        return k;
    }
    static bool Less(const Key &a, const Key &b) { return LLDP_util_CmpManAddrIndex(&a, &b) < 0; }
    static void RecordToHost(Record *r) {
        r->ifSubtype = NetToHost32(r->ifSubtype);
        r->ifId = NetToHost32(r->ifId);
        r->tail = NetToHost32(r->tail);
    }
    static void AppendKey(MOR_MSG reply, const Key &k) {
        AppendEnum(reply, MorId(kTable, 1), k.subtype);
        AppendOctets(reply, MorId(kTable, 2), k.addr, std::min<uint32_t>(k.len, sizeof(k.addr)));
    }
    static void AppendData(MOR_MSG reply, uint32_t ifSubtype, uint32_t ifId) {
        AppendEnum(reply, MorId(kTable, 3), ifSubtype);
        AppendUnsigned(reply, MorId(kTable, 4), ifId);
        AppendNullOid(reply, MorId(kTable, 5));
    }
    static void AppendRecord(MOR_MSG reply, const Record &r) { AppendData(reply, r.ifSubtype, r.ifId); }
};

struct UnknownTlvTable {
    static constexpr uint32_t kTable = 14;
    static constexpr uint32_t kSelector = LLDP_REMSUB_UNKNOWN;
    using Key = uint32_t;  // TLV type
    using Record = LLDP_REM_UNKNOWN_REC_S;

    static void PutKey(const Key &k, LLDP_INDEX_PARA_S *para) { para->tlvType = HostToNet32(k); }
    static Key TakeKey(const LLDP_INDEX_PARA_S &para) { return NetToHost32(para.tlvType); }
    static bool Less(const Key &a, const Key &b) { return a < b; }
    static void RecordToHost(Record *r) { r->len = NetToHost32(r->len); }
    static void AppendKey(MOR_MSG reply, const Key &k) { AppendUnsigned(reply, MorId(kTable, 1), k); }
    // Cut to the column's size, as a get cuts the decoded TLV.
    static void AppendRecord(MOR_MSG reply, const Record &r) {
        AppendOctets(reply, MorId(kTable, 2), r.info, std::min(r.len, kUnknownInfoMax));
    }
};

struct OrgDefInfoTable {
    static constexpr uint32_t kTable = 15;
    static constexpr uint32_t kSelector = LLDP_REMSUB_ORGDEF;
    using Key = LLDP_ORGDEF_SUBINDEX_S;
    using Record = LLDP_REM_ORGDEF_REC_S;

    static void PutKey(const Key &k, LLDP_INDEX_PARA_S *para) {
        para->orgDef = k;
        para->orgDef.ouiLen = HostToNet32(k.ouiLen);
        para->orgDef.subtype = HostToNet32(k.subtype);
        para->orgDef.index = HostToNet32(k.index);
    }
    static Key TakeKey(const LLDP_INDEX_PARA_S &para) {
        Key k = para.orgDef;
        k.ouiLen = NetToHost32(k.ouiLen);
        k.subtype = NetToHost32(k.subtype);
        k.index = NetToHost32(k.index);
        return k;
    }
    static bool Less(const Key &a, const Key &b) { return LLDP_util_CmpOrgDefSubIndex(&a, &b) < 0; }
    static void RecordToHost(Record *r) { r->len = NetToHost32(r->len); }
    static void AppendKey(MOR_MSG reply, const Key &k) {
        AppendOctets(reply, MorId(kTable, 1), k.oui, std::min<uint32_t>(k.ouiLen, sizeof(k.oui)));
        AppendUnsigned(reply, MorId(kTable, 2), k.subtype);
        AppendUnsigned(reply, MorId(kTable, 3), k.index);
    }
    // Cut to the column's size, as a get cuts the decoded TLV.
    static void AppendRecord(MOR_MSG reply, const Record &r) {
        AppendOctets(reply, MorId(kTable, 4), r.info, std::min(r.len, kOrgDefInfoMax));
    }
};

// Get-next over the nodes: the smallest (TFAI, sub-index) after the
// request's key, always asked from the request's key on every node.
template <typename T>
uint32_t ReadNext(const LLDP_TFAI_S &tfai, const typename T::Key &key, MOR_MSG reply, uint32_t position) {
    struct Candidate {
        LLDP_TFAI_S tfai;
        typename T::Key key;
        typename T::Record rec;
    };
    Candidate best{};
    const uint32_t rc = SmallestOverNodes(
        &best,
        [&](uint16_t node, Candidate *c) {
            LLDP_INDEX_PARA_S para;
            LLDP_mor_InitIndexPara(&para);
            para.selector = T::kSelector;
            para.tfai = tfai;
            T::PutKey(key, &para);
            if (!NodeGetNext(LLDP_ITEM_REM_SUBTABLE, node, &para, sizeof(c->rec), &c->rec)) return false;
            c->tfai = para.tfai;
            c->key = T::TakeKey(para);
            return true;
        },
        [](const Candidate &a, const Candidate &b) {
            const int32_t cmp = LLDP_util_CmpTfai(&a.tfai, &b.tfai);
            return cmp != 0 ? cmp < 0 : T::Less(a.key, b.key);
        });
    if (rc != kOk) return Fail(reply, rc, position);
    T::RecordToHost(&best.rec);
    AppendTfai(reply, best.tfai);
    T::AppendKey(reply, best.key);
    T::AppendRecord(reply, best.rec);
    return kOk;
}

// The management address of a neighbour, searched in its decoded TLVs: only
// the first slot whose head has the key's subtype is looked at.
uint32_t FindManAddr(const LLDP_TFAI_S &tfai, const LLDP_MANADDR_KEY_S &key, uint32_t *ifSubtype, uint32_t *ifId) {
    if (IsPortAgentValid(tfai.ifIndex, tfai.agent) != 1) return kErrNoInstance;
    uint8_t buf[kRemInfoCapacity];
    uint16_t len = 0;
    const uint32_t rc = LLDP_mor_GetRemTableByTFAI(&tfai, sizeof(buf), buf, &len);
    if (rc != kOk) return rc;
    Owned<LLDP_REM_MANADDR_DATA_S, LLDP_libbasic_FreeManAddrTLVData> data;
    {
        TlvList list;
        LLDP_mibpub_RemInfoToTLVList(buf, len, list.get());
        *data.out() = LLDP_libbasic_ManAddrTLVBufToData(list.get(), buf[0]);
    }
    if (data.get() == nullptr) return kErrNoInstance;
    for (const LLDP_REM_MANADDR_S *head : data.get()->slot) {
        if (head == nullptr || head->subtype != key.subtype) continue;
        for (const LLDP_REM_MANADDR_S *e = head; e != nullptr; e = e->next) {
            if (e->addrLen == key.len && std::memcmp(e->addr, key.addr, key.len) == 0) {
                *ifSubtype = e->ifSubtype;
                *ifId = e->ifId;
                return kOk;
            }
        }
        return kErrNoInstance;
    }
    return kErrNoInstance;
}

}  // namespace

uint32_t RemoteManAddrProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    using T = ManAddrTable;
    return ServeReadOnly(opType, reply, [&]() {
        LLDP_TFAI_S tfai;
        LLDP_mibpub_InitTfai(&tfai);
        T::Key key{};
        const IndexWalk walk = WalkIndex(request, [&](const Param &p) -> uint32_t {
            if (IsTfaiColumn(p.morId)) return ReadTfaiIndexPara(p.morId, p.handle, &tfai);
            switch (p.morId) {
                case MorId(T::kTable, 1): key.subtype = p.U32(); return kOk;  // no range test
                case MorId(T::kTable, 2): return ReadManAddrPara(p.handle, &key);
                case MorId(T::kTable, 3):
                case MorId(T::kTable, 4):
                case MorId(T::kTable, 5): return kOk;
                default: return kErrUnserved;
            }
        });
        if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
        if (opType == MOR_OP_GETNEXT) return ReadNext<T>(tfai, key, reply, walk.position);
        uint32_t ifSubtype = 0, ifId = 0;
        const uint32_t rc = FindManAddr(tfai, key, &ifSubtype, &ifId);
        if (rc != kOk) return Fail(reply, rc);
        T::AppendData(reply, ifSubtype, ifId);
        return kOk;
    });
}

uint32_t RemoteUnknownTlvProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    using T = UnknownTlvTable;
    return ServeReadOnly(opType, reply, [&]() {
        UnknownTlvKey key{};
        LLDP_mibpub_InitTfai(&key.tfai);
        const IndexWalk walk = WalkIndex(request, [&](const Param &p) -> uint32_t {
            if (IsTfaiColumn(p.morId)) return ReadTfaiIndexPara(p.morId, p.handle, &key.tfai);
            switch (p.morId) {
                case MorId(T::kTable, 1):
                    key.type = p.U32();
                    return (key.type >= 9 && key.type <= 126) ? kOk : kErrNoInstance;
                case MorId(T::kTable, 2): return kOk;
                default: return kErrUnserved;
            }
        });
        if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
        if (opType == MOR_OP_GETNEXT) return ReadNext<T>(key.tfai, key.type, reply, walk.position);
        RemTlvInfo info;
        const uint32_t rc = GetRemUnknownTlv(key, &info);
        if (rc != kOk) return Fail(reply, rc);
        AppendOctets(reply, MorId(T::kTable, 2), info.info, info.len);
        return kOk;
    });
}

uint32_t RemoteOrgDefInfoProc(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    using T = OrgDefInfoTable;
    return ServeReadOnly(opType, reply, [&]() {
        OrgDefKey key{};
        LLDP_mibpub_InitTfai(&key.tfai);
        const IndexWalk walk = WalkIndex(request, [&](const Param &p) -> uint32_t {
            if (IsTfaiColumn(p.morId)) return ReadTfaiIndexPara(p.morId, p.handle, &key.tfai);
            switch (p.morId) {
                case MorId(T::kTable, 1):
                    key.ouiLen = p.Len();
                    p.Copy(sizeof(key.oui), key.oui);
                    return key.ouiLen == 3 ? kOk : kErrNoInstance;
                case MorId(T::kTable, 2):
                    key.subtype = p.U32();
                    return (key.subtype >= 1 && key.subtype <= 255) ? kOk : kErrNoInstance;
                case MorId(T::kTable, 3):
                    key.index = p.U32();
                    return (key.index & 0x80000000u) == 0 ? kOk : kErrNoInstance;
                case MorId(T::kTable, 4): return kOk;
                default: return kErrUnserved;
            }
        });
        if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
        if (opType == MOR_OP_GETNEXT) {
            T::Key sub{};
            std::memcpy(sub.oui, key.oui, sizeof(sub.oui));
            sub.ouiLen = key.ouiLen;
            sub.subtype = key.subtype;
            sub.index = key.index;
            return ReadNext<T>(key.tfai, sub, reply, walk.position);
        }
        RemTlvInfo info;
        const uint32_t rc = GetRemOrgDefInfo(key, &info);
        if (rc != kOk) return Fail(reply, rc);
        AppendOctets(reply, MorId(T::kTable, 4), info.info, info.len);
        return kOk;
    });
}

}  // namespace lldpv2
