// The DCBX port check, the owner index columns, the admin record read and
// the get-next over the nodes, shared by every DCBX table.
#include "dcbx/dcbx_common.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "common/walks.h"

namespace lldpv2::dcbx {
namespace {

// Interface types of the ports that carry DCBX.
constexpr std::array<uint32_t, 6> kDcbxPortTypes = {18, 19, 21, 68, 69, 88};

// The daemon keeps one admin record per port, under the nearest-bridge agent.
constexpr uint32_t kAdminAgent = 1;
constexpr uint32_t kAdminCapacity = 4096;

// The largest get-next result: a whole basic row of three 32-bit values.
constexpr size_t kMaxRowValues = 3;

// The daemon's get-next item of each source.
constexpr uint32_t ItemOf(Source source) {
    switch (source) {
        case Source::Local: return LLDP_ITEM_DCBX_LOC;
        case Source::Admin: return LLDP_ITEM_DCBX_ADMIN;
        case Source::Remote: break;
    }
    return LLDP_ITEM_REM_SUBTABLE;
}

void AdminToHost(DCBX_ADMIN_S *rec) {
    rec->etsStatus = NetToHost16(rec->etsStatus);
    rec->pfcStatus = NetToHost16(rec->pfcStatus);
    rec->appStatus = NetToHost16(rec->appStatus);
    for (DCBX_APP_ENTRY_S &e : rec->app) e.protocol = NetToHost16(e.protocol);
    rec->appCount = NetToHost32(rec->appCount);
}

}  // namespace

uint32_t CheckDcbxPort(uint32_t ifIndex, uint16_t mode) {
    uint32_t type = kUnknownPortType;
    const bool dcbxPort = LLDP_mibpub_GetPortType(ifIndex, &type) == kOk &&
                          std::find(kDcbxPortTypes.begin(), kDcbxPortTypes.end(), type) != kDcbxPortTypes.end();
    if (dcbxPort) return kOk;
    return mode == kModeSet ? kErrSetRefused : kErrNoInstance;
}

std::optional<uint32_t> ReadOwnerColumn(Source source, const Param &p, Owner *owner) {
    if (source != Source::Remote) {
        if (p.morId != kLocPortIfIndex) return std::nullopt;
        owner->ifIndex = p.U32();
        return CheckDcbxPort(owner->ifIndex, kModeRead);
    }
    // The neighbour's port must be a plain interface, of any type.
    switch (p.morId) {
        case kRemTimeMark: owner->tfai.timeMark = p.U32(); return kOk;
        case kRemLocalIfIndex: owner->tfai.ifIndex = p.U32(); return LLDP_mibpub_CheckPort(owner->tfai.ifIndex);
        case kRemLocalDestMac:
            owner->tfai.agent = p.U32();
            return LLDP_mibpub_CheckAgent(owner->tfai.agent, kModeRead);
        case kRemIndex: owner->tfai.remIndex = p.U32(); return kOk;
        default: return std::nullopt;
    }
}

void AppendOwner(MOR_MSG reply, Source source, const Owner &owner) {
    if (source == Source::Remote) {
        AppendTfai(reply, owner.tfai);
    } else {
        AppendEnum(reply, kLocPortIfIndex, owner.ifIndex);
    }
}

uint32_t NextRow(Source source, uint32_t selector, RowKey *key, uint32_t *values, size_t count) {
    if (count > kMaxRowValues) return kErrNoNext;
    struct Candidate {
        RowKey key;
        uint32_t values[kMaxRowValues];
    };
    const bool remote = source == Source::Remote;
    Candidate best{};
    const uint32_t rc = SmallestOverNodes(
        &best,
        [&](uint16_t node, Candidate *c) {
            LLDP_INDEX_PARA_S para;
            LLDP_mor_InitIndexPara(&para);
            para.selector = selector;
            if (remote) {
                para.tfai = key->owner.tfai;
            } else {
                para.ifIndex = HostToNet32(key->owner.ifIndex);
            }
            para.index2 = HostToNet32(key->index2);
            para.index3 = HostToNet32(key->index3);
            const auto size = static_cast<uint16_t>(count * sizeof(uint32_t));
            if (!NodeGetNext(ItemOf(source), node, &para, size, c->values)) return false;
            if (remote) {
                c->key.owner.tfai = para.tfai;
            } else {
                c->key.owner.ifIndex = NetToHost32(para.ifIndex);
            }
            c->key.index2 = NetToHost32(para.index2);
            c->key.index3 = NetToHost32(para.index3);
            return true;
        },
        [&](const Candidate &a, const Candidate &b) {
            if (remote) {
                const int32_t cmp = LLDP_util_CmpTfai(&a.key.owner.tfai, &b.key.owner.tfai);
                if (cmp != 0) return cmp < 0;
            }
            return KeyLess({{a.key.owner.ifIndex, b.key.owner.ifIndex},
                            {a.key.index2, b.key.index2},
                            {a.key.index3, b.key.index3}});
        });
    if (rc != kOk) return rc;
    *key = best.key;
    for (size_t i = 0; i < count; ++i) values[i] = NetToHost32(best.values[i]);
    return kOk;
}

uint32_t ReadAdmin(uint32_t ifIndex, AdminStatus status, DCBX_ADMIN_S *rec) {
    if (ifIndex == 0) return kErrNoInstance;
    uint8_t buf[kAdminCapacity];
    uint16_t len = 0;
    const uint32_t rc = LLDP_mor_MibGet(ifIndex, kAdminAgent, LLDP_ITEM_DCBX_ADMIN, sizeof(buf), buf, &len);
    // A short record is no row, whatever the daemon answered.
    if (len < DCBX_ADMIN_MIN_LEN) return kErrNoInstance;
    if (rc != kOk) return rc;
    std::memcpy(rec, buf, sizeof(*rec));
    AdminToHost(rec);
    return rec->*status == 1 ? kOk : kErrNoInstance;
}

}  // namespace lldpv2::dcbx
