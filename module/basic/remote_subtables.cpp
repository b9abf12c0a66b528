// The sub-tables of a remote system row: lldpV2RemManAddrTable (table id 13),
// lldpV2RemUnknownTLVTable (14) and lldpV2RemOrgDefInfoTable (15). A get
// searches the neighbour's decoded TLVs; a get-next asks every node for its
// next entry and keeps the smallest (TFAI first, then the sub-index).
#include <algorithm>
#include <cstring>

#include "basic/basic_tables.h"
#include "common/guards.h"
#include "common/lldpdu_fetch.h"
#include "common/remote_index.h"
#include "common/walks.h"

namespace lldpv2 {
namespace {

// One remote sub-table: its key after the TFAI, the record of the daemon's
// get-next, and how both travel.
struct ManAddrTable : ManAddrKey {
    static constexpr uint32_t kSelector = LLDP_REMSUB_MANADDR;
    using Result = LLDP_REM_MANADDR_REC_S;
    static void RecordToHost(Result *r) {
        r->ifSubtype = NetToHost32(r->ifSubtype);
        r->ifId = NetToHost32(r->ifId);
        r->tail = NetToHost32(r->tail);
    }
    [[nodiscard]] static uint32_t AppendKey(MOR_MSG reply, const Key &k) {
        return FirstFailure({
            AppendEnum(reply, mib::lldpV2RemManAddrSubtype, k.subtype),
            AppendOctets(reply, mib::lldpV2RemManAddr, k.addr, std::min<uint32_t>(k.len, sizeof(k.addr))),
        });
    }
    [[nodiscard]] static uint32_t AppendData(MOR_MSG reply, uint32_t ifSubtype, uint32_t ifId) {
        return FirstFailure({
            AppendEnum(reply, mib::lldpV2RemManAddrIfSubtype, ifSubtype),
            AppendUnsigned(reply, mib::lldpV2RemManAddrIfId, ifId),
            AppendNullOid(reply, mib::lldpV2RemManAddrOID),
        });
    }
    [[nodiscard]] static uint32_t AppendRecord(MOR_MSG reply, const Result &r) { return AppendData(reply, r.ifSubtype, r.ifId); }
};

struct UnknownTlvTable {
    static constexpr uint32_t kSelector = LLDP_REMSUB_UNKNOWN;
    static constexpr uint32_t kInfoColumn = mib::lldpV2RemUnknownTLVInfo;
    static constexpr auto Lookup = GetRemUnknownTlv;
    using LookupKey = UnknownTlvKey;
    using Key = uint32_t;  // TLV type

    static uint32_t ReadColumn(const Param &p, LookupKey *key) {
        switch (p.morId) {
            case mib::lldpV2RemUnknownTLVType:
                key->type = p.U32();
                return (key->type >= 9 && key->type <= 126) ? kOk : kErrNoInstance;
            case mib::lldpV2RemUnknownTLVInfo: return kOk;
            default: return kErrUnserved;
        }
    }
    static Key SubOf(const LookupKey &key) { return key.type; }
    using Result = LLDP_REM_UNKNOWN_REC_S;

    static void Put(const Key &k, LLDP_INDEX_PARA_S *para) { para->tlvType = HostToNet32(k); }
    static Key Take(const LLDP_INDEX_PARA_S &para) { return NetToHost32(para.tlvType); }
    static bool Less(const Key &a, const Key &b) { return a < b; }
    static void RecordToHost(Result *r) { r->len = NetToHost32(r->len); }
    [[nodiscard]] static uint32_t AppendKey(MOR_MSG reply, const Key &k) { return AppendUnsigned(reply, mib::lldpV2RemUnknownTLVType, k); }
    // Cut to the column's size, as a get cuts the decoded TLV.
    [[nodiscard]] static uint32_t AppendRecord(MOR_MSG reply, const Result &r) {
        return AppendOctets(reply, mib::lldpV2RemUnknownTLVInfo, r.info, std::min(r.len, kUnknownInfoMax));
    }
};

struct OrgDefInfoTable {
    static constexpr uint32_t kSelector = LLDP_REMSUB_ORGDEF;
    static constexpr uint32_t kInfoColumn = mib::lldpV2RemOrgDefInfo;
    static constexpr auto Lookup = GetRemOrgDefInfo;
    using LookupKey = OrgDefKey;

    static uint32_t ReadColumn(const Param &p, LookupKey *key) {
        switch (p.morId) {
            case mib::lldpV2RemOrgDefInfoOUI:
                key->ouiLen = p.Len();
                p.Copy(sizeof(key->oui), key->oui);
                return key->ouiLen == 3 ? kOk : kErrNoInstance;
            case mib::lldpV2RemOrgDefInfoSubtype:
                key->subtype = p.U32();
                return (key->subtype >= 1 && key->subtype <= 255) ? kOk : kErrNoInstance;
            case mib::lldpV2RemOrgDefInfoIndex:
                key->index = p.U32();
                return (key->index & 0x80000000u) == 0 ? kOk : kErrNoInstance;
            case mib::lldpV2RemOrgDefInfo: return kOk;
            default: return kErrUnserved;
        }
    }
    using Key = LLDP_ORGDEF_SUBINDEX_S;
    static Key SubOf(const LookupKey &key) {
        Key sub{};
        std::memcpy(sub.oui, key.oui, sizeof(sub.oui));
        sub.ouiLen = key.ouiLen;
        sub.subtype = key.subtype;
        sub.index = key.index;
        return sub;
    }
    using Result = LLDP_REM_ORGDEF_REC_S;

    static Key Swap(const Key &k) { return Swapped<&Key::ouiLen, &Key::subtype, &Key::index>(k); }
    static void Put(const Key &k, LLDP_INDEX_PARA_S *para) { para->orgDef = Swap(k); }
    static Key Take(const LLDP_INDEX_PARA_S &para) { return Swap(para.orgDef); }
    static bool Less(const Key &a, const Key &b) { return LLDP_util_CmpOrgDefSubIndex(&a, &b) < 0; }
    static void RecordToHost(Result *r) { r->len = NetToHost32(r->len); }
    [[nodiscard]] static uint32_t AppendKey(MOR_MSG reply, const Key &k) {
        return FirstFailure({
            AppendOctets(reply, mib::lldpV2RemOrgDefInfoOUI, k.oui, std::min<uint32_t>(k.ouiLen, sizeof(k.oui))),
            AppendUnsigned(reply, mib::lldpV2RemOrgDefInfoSubtype, k.subtype),
            AppendUnsigned(reply, mib::lldpV2RemOrgDefInfoIndex, k.index),
        });
    }
    // Cut to the column's size, as a get cuts the decoded TLV.
    [[nodiscard]] static uint32_t AppendRecord(MOR_MSG reply, const Result &r) {
        return AppendOctets(reply, mib::lldpV2RemOrgDefInfo, r.info, std::min(r.len, kOrgDefInfoMax));
    }
};

// Get-next over the nodes: the smallest (TFAI, sub-index) after the
// request's key, always asked from the request's key on every node.
template <RemoteSubTable T>
uint32_t ReadNext(const LLDP_TFAI_S &tfai, const typename T::Key &key, MOR_MSG reply, uint32_t position) {
    SubRowKey<TfaiOwner, T> at{tfai, key};
    typename T::Result rec{};
    const uint32_t rc = NextSubRow(LLDP_ITEM_REM_SUBTABLE, T::kSelector, &at, &rec);
    if (rc != kOk) return Fail(reply, rc, position);
    T::RecordToHost(&rec);
    return Written(reply, FirstFailure({
        AppendTfai(reply, at.owner),
        T::AppendKey(reply, at.sub),
        T::AppendRecord(reply, rec),
    }));
}

// The management address of a neighbour, searched in its decoded TLVs: only
// the first slot whose head has the key's subtype is looked at.
uint32_t FindManAddr(const LLDP_TFAI_S &tfai, const LLDP_MANADDR_KEY_S &key, uint32_t *ifSubtype, uint32_t *ifId) {
    if (IsPortAgentValid(tfai.ifIndex, tfai.agent) != 1) return kErrNoInstance;
    RemoteLldpdu pdu;
    const uint32_t rc = pdu.Fetch(tfai);
    if (rc != kOk) return rc;
    Owned<LLDP_REM_MANADDR_DATA_S, LLDP_libbasic_FreeManAddrTLVData> data(pdu.DecodeOnce(
        [&](const LLDP_TLV_LIST_S *list) { return LLDP_libbasic_ManAddrTLVBufToData(list, pdu.data()[0]); }));
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

// The unknown TLV and organizationally defined tables: a get looks the TLV
// up in the neighbour's decoded TLVs, a get-next asks the nodes.
template <typename T>
uint32_t ServeRemoteTlv(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    return ServeReadOnly(opType, reply, [&]() {
        typename T::LookupKey key{};
        LLDP_mibpub_InitTfai(&key.tfai);
        const IndexWalk walk = WalkIndex(request, [&](const Param &p) -> uint32_t {
            if (IsTfaiColumn(p.morId)) return ReadTfaiIndexPara(p.morId, p.handle, &key.tfai);
            return T::ReadColumn(p, &key);
        });
        if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
        if (opType == MOR_OP_GETNEXT) return ReadNext<T>(key.tfai, T::SubOf(key), reply, walk.position);
        RemTlvInfo info;
        const uint32_t rc = T::Lookup(key, &info);
        if (rc != kOk) return Fail(reply, rc);
        return Written(reply, AppendOctets(reply, T::kInfoColumn, info.info, info.len));
    });
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
                case mib::lldpV2RemManAddrSubtype: key.subtype = p.U32(); return kOk;  // no range test
                case mib::lldpV2RemManAddr: return ReadManAddrPara(p.handle, &key);
                case mib::lldpV2RemManAddrIfSubtype:
                case mib::lldpV2RemManAddrIfId:
                case mib::lldpV2RemManAddrOID: return kOk;
                default: return kErrUnserved;
            }
        });
        if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
        if (opType == MOR_OP_GETNEXT) return ReadNext<T>(tfai, key, reply, walk.position);
        uint32_t ifSubtype = 0, ifId = 0;
        const uint32_t rc = FindManAddr(tfai, key, &ifSubtype, &ifId);
        if (rc != kOk) return Fail(reply, rc);
        return Written(reply, T::AppendData(reply, ifSubtype, ifId));
    });
}

const LLDP_TABLE_PROC_PF RemoteUnknownTlvProc = ServeRemoteTlv<UnknownTlvTable>;
const LLDP_TABLE_PROC_PF RemoteOrgDefInfoProc = ServeRemoteTlv<OrgDefInfoTable>;

}  // namespace lldpv2
