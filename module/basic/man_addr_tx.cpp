// lldpV2ManAddrConfigTxPortsTable (table id 5): on which (port, agent) a
// local management address is advertised. Rows are created, changed and
// destroyed in the daemon through RowStatus.
#include <cstring>

#include "basic/basic_tables.h"
#include "common/reply.h"
#include "common/tlv_cfg.h"
#include "common/walks.h"

namespace lldpv2 {
namespace {

constexpr uint16_t kStrict = 1;
// Management address subtypes, and the address families of the daemon's record.
enum : uint32_t { kSubtypeIpv4 = 1, kSubtypeIpv6 = 2 };
enum : uint32_t { kFamilyIpv4 = 0, kFamilyIpv6 = 2 };
// RowStatus values a set accepts.
enum : uint32_t { kActive = 1, kCreateAndGo = 4, kDestroy = 6 };

struct Key {
    uint32_t ifIndex = 0;
    uint32_t agent = 0;
    LLDP_MANADDR_KEY_S addr{};
};

uint32_t Ipv4HostOrder(const uint8_t *b) {
    return (uint32_t{b[0]} << 24) | (uint32_t{b[1]} << 16) | (uint32_t{b[2]} << 8) | b[3];
}

bool SubtypeValid(uint32_t subtype) { return subtype == kSubtypeIpv4 || subtype == kSubtypeIpv6; }

// Whether the request's address is the one the TLV configuration holds.
bool MatchesConfigured(const Key &key, const LLDP_MANADDR_REC_S *rec) {
    if (rec == nullptr) return false;
    if (key.addr.subtype == kSubtypeIpv4) {
        if (rec->family == kFamilyIpv4) return rec->ipv4 == Ipv4HostOrder(key.addr.addr);
        return Ipv4HostOrder(key.addr.addr) == 0 && (rec->family == 1 || rec->family == 3);
    }
    return rec->family == kFamilyIpv6 && g_aucManaAddrLen[kSubtypeIpv6] == key.addr.len &&
           std::memcmp(rec->ipv6, key.addr.addr, sizeof(rec->ipv6)) == 0;
}

uint32_t ReadExact(const Key &key, MOR_MSG reply) {
    const uint32_t wantLen = key.addr.subtype == kSubtypeIpv4 ? 4 : 16;
    if (IsPortAgentValid(key.ifIndex, key.agent) != 1 || !SubtypeValid(key.addr.subtype) || key.addr.len != wantLen)
        return Fail(reply, kErrNoInstance);
    uint8_t buf[kLocalBufferSize];
    uint16_t len = sizeof(buf);
    if (LLDP_mor_Get(key.ifIndex, key.agent, LLDP_ITEM_TLV_CFG, LLDP_NODE_OF_IFINDEX, nullptr, &len, buf) != kOk ||
        len == 0)
        return Fail(reply, kErrNoInstance);
    TlvCfg cfg(TlvCfgRelease::Always);
    if (cfg.Parse(buf, len) != 0) return Fail(reply, kErrNoInstance);
    const LLDP_TLV_CFG_ENTRY_S &entry = cfg.get().entry[LLDP_TLVBIT_MAN_ADDR];
    if (!MatchesConfigured(key, static_cast<const LLDP_MANADDR_REC_S *>(entry.data)))
        return Fail(reply, kErrNoInstance);
    return Written(reply, FirstFailure({
        AppendEnum(reply, mib::lldpV2ManAddrConfigTxEnable, TruthValue(entry.enable)),
        AppendEnum(reply, mib::lldpV2ManAddrConfigRowStatus, kActive),
    }));
}

struct Candidate {
    LLDP_INDEX_PARA_S para;
    LLDP_MANADDR_TX_S rec;
    LLDP_MANADDR_KEY_S addr;
};

uint32_t ReadNext(const Key &key, uint32_t position, MOR_MSG reply) {
    Candidate best{};
    const uint32_t rc = SmallestOverNodes(
        &best,
        [&](uint16_t node, Candidate *c) {
            LLDP_mor_InitIndexPara(&c->para);
            c->para.ifIndex = HostToNet32(key.ifIndex);
            c->para.index2 = HostToNet32(key.agent);
            c->para.manAddr = key.addr;
            c->para.manAddr.subtype = HostToNet32(key.addr.subtype);
            c->para.manAddr.len = HostToNet32(key.addr.len);
            if (!NodeGetNext(LLDP_ITEM_MANADDR_TX, node, &c->para, sizeof(c->rec), &c->rec)) return false;
            c->addr = c->para.manAddr;
            c->addr.subtype = NetToHost32(c->addr.subtype);
            c->addr.len = NetToHost32(c->addr.len);
            return true;
        },
        [](const Candidate &a, const Candidate &b) {
            const uint32_t ai = NetToHost32(a.para.ifIndex), bi = NetToHost32(b.para.ifIndex);
            const uint32_t aa = NetToHost32(a.para.index2), ba = NetToHost32(b.para.index2);
            if (ai != bi || aa != ba) return KeyLess({{ai, bi}, {aa, ba}});
            return LLDP_util_CmpManAddrIndex(&a.addr, &b.addr) < 0;
        });
    if (rc != kOk) return Fail(reply, rc, position);
    const LLDP_PORT_AGENT_S pair{NetToHost32(best.para.ifIndex), NetToHost32(best.para.index2)};
    LLDP_mibpub_SetIndexToReplyMsg(reply, mib::lldpV2ManAddrConfigIfIndex, mib::lldpV2ManAddrConfigDestAddressIndex, &pair);
    return Written(reply, FirstFailure({
        AppendEnum(reply, mib::lldpV2ManAddrConfigLocManAddrSubtype, best.addr.subtype),
        AppendOctets(reply, mib::lldpV2ManAddrConfigLocManAddr, best.addr.addr, best.addr.len),
        AppendEnum(reply, mib::lldpV2ManAddrConfigTxEnable, TruthValue(NetToHost32(best.rec.txEnable))),
        AppendEnum(reply, mib::lldpV2ManAddrConfigRowStatus, NetToHost32(best.rec.rowStatus)),
    }));
}

uint32_t Read(uint32_t opType, MOR_MSG request, MOR_MSG reply) {
    Key key;
    const IndexWalk walk = WalkIndex(request, [&](const Param &p) -> uint32_t {
        switch (p.morId) {
            case mib::lldpV2ManAddrConfigIfIndex:
                key.ifIndex = p.U32();
                return IsLldpCapablePort(key.ifIndex, kStrict) == 1 ? kOk : kErrNoInstance;
            case mib::lldpV2ManAddrConfigDestAddressIndex: key.agent = p.U32(); return LLDP_mibpub_CheckAgent(key.agent, 0);
            case mib::lldpV2ManAddrConfigLocManAddrSubtype:
                key.addr.subtype = p.U32();
                return SubtypeValid(key.addr.subtype) ? kOk : kErrNoInstance;
            case mib::lldpV2ManAddrConfigLocManAddr:
                key.addr.len = p.Len();
                p.Copy(LLDP_MANADDR_CAPACITY, key.addr.addr);
                return kOk;
            case mib::lldpV2ManAddrConfigTxEnable:
            case mib::lldpV2ManAddrConfigRowStatus: return kOk;
            default: return kErrUnserved;
        }
    });
    if (walk.Ends(opType)) return Fail(reply, walk.code, walk.position);
    return opType == MOR_OP_GET ? ReadExact(key, reply) : ReadNext(key, walk.position, reply);
}

// Values and positions of the columns named by a set.
struct SetRequest {
    Key key;
    uint32_t txEnable = 0;
    uint32_t rowStatus = kActive;
    bool hasTxEnable = false;
    bool hasRowStatus = false;
    uint32_t ifIndexPos = 0, agentPos = 0, subtypePos = 0;
};

bool Ipv4Valid(uint32_t a) {
    const uint32_t first = a >> 24;
    if (a == 0 || a == 0xFFFFFFFF || first == 0) return false;
    // Unicast classes only: 128.0.0.0/2 and 192.0.0.0/3 above 127.
    if (first >= 128) return (a & 0xC0000000u) == 0x80000000u || (a & 0xE0000000u) == 0xC0000000u;
    return true;
}

bool AddressValid(const LLDP_MANADDR_KEY_S &addr) {
    if (addr.subtype == kSubtypeIpv4) return Ipv4Valid(Ipv4HostOrder(addr.addr));
    return addr.addr[0] != 0xFF;
}

void BuildRecord(const LLDP_MANADDR_KEY_S &addr, LLDP_MANADDR_REC_S *rec) {
    std::memset(rec, 0, sizeof(*rec));
    if (addr.subtype == kSubtypeIpv4) {
        rec->ipv4 = Ipv4HostOrder(addr.addr);
        rec->family = kFamilyIpv4;
    } else if (addr.subtype == kSubtypeIpv6) {
        rec->family = kFamilyIpv6;
        std::memcpy(rec->ipv6, addr.addr, sizeof(rec->ipv6));
    }
}

uint32_t SendBlock(const SetRequest &req, const LLDP_MANADDR_REC_S *rec, uint16_t txEnable, uint32_t operation) {
    LLDP_TLV_CFG_REQ_S block = TlvCfgRequest(1u << LLDP_TLVBIT_MAN_ADDR, kScopeManAddr);
    if (rec != nullptr) {
        block.dataLen = sizeof(*rec);
        std::memcpy(block.data, rec, sizeof(*rec));
    }
    return LLDP_mor_SetV2MibManAddrTlvCfg(req.key.ifIndex, req.key.agent, txEnable, operation, &block);
}

uint32_t Write(MOR_MSG request, MOR_MSG reply) {
    SetRequest req;
    for (const Param &p : Params(request)) {
        switch (p.morId) {
            case mib::lldpV2ManAddrConfigIfIndex: req.key.ifIndex = p.U32(), req.ifIndexPos = p.position; break;
            case mib::lldpV2ManAddrConfigDestAddressIndex: req.key.agent = p.U32(), req.agentPos = p.position; break;
            case mib::lldpV2ManAddrConfigLocManAddrSubtype: req.key.addr.subtype = p.U32(), req.subtypePos = p.position; break;
            case mib::lldpV2ManAddrConfigLocManAddr:
                req.key.addr.len = p.Len();
                p.Copy(LLDP_MANADDR_CAPACITY, req.key.addr.addr);
                break;
            case mib::lldpV2ManAddrConfigTxEnable: req.txEnable = p.U32(), req.hasTxEnable = true; break;
            case mib::lldpV2ManAddrConfigRowStatus:
                req.rowStatus = p.U32();
                req.hasRowStatus = true;
                if (req.rowStatus != kActive && req.rowStatus != kCreateAndGo && req.rowStatus != kDestroy)
                    return Fail(reply, kErrBadRowStatus, p.position);
                break;
            default: return Fail(reply, kErrUnserved, p.position);
        }
    }

    // The error a failed index test gives depends on what the set tried to do;
    // a destroy goes on regardless.
    const bool destroy = req.rowStatus == kDestroy;
    const uint32_t indexError = req.rowStatus == kCreateAndGo ? kErrSetRefused
                                : req.hasRowStatus            ? kErrRowNotUsable
                                                              : kErrRowMissing;
    bool indexOk = true;
    if (IsLldpCapablePort(req.key.ifIndex, kStrict) != 1) {
        if (!destroy) return Fail(reply, indexError, req.ifIndexPos);
        indexOk = false;
    } else if (!IsAgentIndexValid(req.key.agent)) {
        if (!destroy) return Fail(reply, indexError, req.agentPos);
        indexOk = false;
    } else if (!SubtypeValid(req.key.addr.subtype)) {
        if (!destroy) return Fail(reply, indexError, req.subtypePos);
        indexOk = false;
    }
    if (indexOk && req.rowStatus == kCreateAndGo && !AddressValid(req.key.addr))
        return Fail(reply, kErrSetRefused, req.subtypePos);

    LLDP_MANADDR_REC_S rec;
    BuildRecord(req.key.addr, &rec);
    const bool portAgentValid = IsPortAgentValid(req.key.ifIndex, req.key.agent) == 1;
    const uint16_t flag = req.txEnable == 1 ? 1 : 0;
    // Destroy and change send no record when it holds no address at all.
    const LLDP_MANADDR_REC_S *keyRecord = (rec.family == 0 && rec.ipv4 == 0) ? nullptr : &rec;

    if (req.rowStatus == kCreateAndGo) {
        if (!portAgentValid) return Fail(reply, kErrSetRefused);
        const uint32_t rc = SendBlock(req, &rec, flag, LLDP_MANADDR_OP_CREATE);
        if (rc == kOk) return kOk;
        if (rc == LLDP_ERR_ROW_EXISTS) return Fail(reply, kErrRowNotUsable);
        if (rc == LLDP_ERR_TABLE_FULL) return Fail(reply, kErrRowTableFull);
        return Fail(reply, kErrSetRefused);
    }
    if (destroy) {
        if (!portAgentValid) return kOk;
        const uint32_t rc = SendBlock(req, keyRecord, 0, LLDP_MANADDR_OP_DESTROY);
        return (rc == kOk || rc == LLDP_ERR_NO_SUCH_ROW) ? kOk : Fail(reply, kErrSetRefused);
    }
    if (!portAgentValid) return Fail(reply, kErrRowNotUsable);
    const uint32_t rc =
        SendBlock(req, keyRecord, flag, req.hasTxEnable ? LLDP_MANADDR_OP_CHANGE : LLDP_MANADDR_OP_CONFIRM);
    if (rc == kOk || rc == LLDP_ERR_ROW_EXISTS) return kOk;
    if (rc == LLDP_ERR_ROW_NOT_READY) return Fail(reply, req.hasRowStatus ? kErrRowNotUsable : kErrRowMissing);
    return Fail(reply, kErrSetRefused);
}

}  // namespace

const LLDP_TABLE_PROC_PF ManAddrTxProc = ServeReadWrite<Read, Write>;

}  // namespace lldpv2
