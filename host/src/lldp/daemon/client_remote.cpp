// Client library queries of the remote systems table: by TFAI, by
// (time mark, port, agent), and the get-next by TFAI over every node.
#include <algorithm>
#include <cstring>

#include "lldp/daemon/buffers.h"
#include "lldp/daemon/wire.h"

using namespace lldpv2host;
using namespace lldpv2host::daemon;

namespace {

// The daemon that owns the port of tfai, if its node is up.
Daemon *OwnerOf(uint32_t ifIndex) {
    Daemon *d = nullptr;
    if (PortOf(ifIndex, &d) == nullptr || !NodeUp(d->node)) return nullptr;
    return d;
}

// The neighbour tfai names, visible under its time mark. Its daemon
// remembers it: the module asks for its flags next.
const Neighbour *Exact(const LLDP_TFAI_S &tfai, const Daemon **owner = nullptr) {
    const Daemon *d = OwnerOf(tfai.ifIndex);
    if (d == nullptr) return nullptr;
    const Neighbour *n = d->neighbours.Find(RemKey{tfai.ifIndex, tfai.agent, tfai.remIndex});
    if (n == nullptr || n->changeTime < tfai.timeMark) return nullptr;
    d->neighbours.Remember(n);
    if (owner != nullptr) *owner = d;
    return n;
}

const AgentState *AgentOfNeighbour(const Daemon &d, const RemKey &key) {
    auto port = d.ports.find(key.ifIndex);
    if (port == d.ports.end()) return nullptr;
    return &port->second.agents[key.agent - 1];
}

void CopyText(char *dst, size_t cap, const std::optional<std::string> &text) {
    if (!text) return;
    const size_t n = std::min(text->size(), cap - 1);
    std::memcpy(dst, text->data(), n);
    dst[n] = '\0';
}

uint16_t TooManyFlag(const Daemon &d, const Neighbour &n) {
    const AgentState *agent = AgentOfNeighbour(d, n.key);
    return Net16(agent != nullptr && TooMany(*agent) ? 1 : 0);
}

// The remote systems record from the decoded information p of n.
LLDP_REM_SYSTEM_S SystemRecord(const Daemon &d, const Neighbour &n, const lldp::Lldpdu &p) {
    LLDP_REM_SYSTEM_S r;
    std::memset(&r, 0, sizeof r);
    const size_t chassisLen = std::min<size_t>(p.chassisId.size(), sizeof r.chassisId);
    r.chassisIdSubtype = Net32(p.chassisIdSubtype);
    std::memcpy(r.chassisId, p.chassisId.data(), chassisLen);
    r.chassisIdLen = Net32(static_cast<uint32_t>(chassisLen));
    const size_t portLen = std::min<size_t>(p.portId.size(), sizeof r.portId);
    r.portIdSubtype = Net32(p.portIdSubtype);
    std::memcpy(r.portId, p.portId.data(), portLen);
    r.portIdLen = Net32(static_cast<uint32_t>(portLen));
    CopyText(r.portDesc, sizeof r.portDesc, p.portDesc);
    CopyText(r.sysName, sizeof r.sysName, p.sysName);
    CopyText(r.sysDesc, sizeof r.sysDesc, p.sysDesc);
    r.capSupported = Net16(p.capSupported);
    r.capEnabled = Net16(p.capEnabled);
    r.remoteChanges = Net16(n.remoteChanges ? 1 : 0);
    r.tooManyNeighbors = TooManyFlag(d, n);
    r.lastField = Net16(p.ttl);
    return r;
}

// The same record, its columns copied from where n.sys locates them in the
// stored TLV stream; what decoding the stream would give.
LLDP_REM_SYSTEM_S SystemRecord(const Daemon &d, const Neighbour &n) {
    if (!n.sys.valid) return SystemRecord(d, n, n.Decode());
    const SystemFields &f = n.sys;
    const uint8_t *tlvs = n.Tlvs();
    LLDP_REM_SYSTEM_S r;
    std::memset(&r, 0, sizeof r);
    const size_t chassisLen = std::min<size_t>(f.chassisIdLen, sizeof r.chassisId);
    r.chassisIdSubtype = Net32(f.chassisIdSubtype);
    std::memcpy(r.chassisId, tlvs + f.chassisIdOff, chassisLen);
    r.chassisIdLen = Net32(static_cast<uint32_t>(chassisLen));
    const size_t portLen = std::min<size_t>(f.portIdLen, sizeof r.portId);
    r.portIdSubtype = Net32(f.portIdSubtype);
    std::memcpy(r.portId, tlvs + f.portIdOff, portLen);
    r.portIdLen = Net32(static_cast<uint32_t>(portLen));
    char *texts[3] = {r.portDesc, r.sysName, r.sysDesc};
    static_assert(sizeof r.portDesc == sizeof r.sysName && sizeof r.sysName == sizeof r.sysDesc);
    for (unsigned t = 0; t < 3; ++t) {
        if (((f.textPresent >> t) & 1u) == 0) continue;
        std::memcpy(texts[t], tlvs + f.textOff[t], std::min<size_t>(f.textLen[t], sizeof r.portDesc - 1));
    }
    r.capSupported = Net16(f.capSupported);
    r.capEnabled = Net16(f.capEnabled);
    r.remoteChanges = Net16(n.remoteChanges ? 1 : 0);
    r.tooManyNeighbors = TooManyFlag(d, n);
    r.lastField = Net16(n.ttl);
    return r;
}

Feature FeatureOfKind(uint32_t kind) {
    switch (kind) {
        case LLDP_REM_KIND_SYSTEM: return kFeatAll;
        case LLDP_REM_KIND_PORT_VLAN: return kFeatPortVlan;
        case LLDP_REM_KIND_LINK_AGG: return kFeatLinkAgg;
        case LLDP_REM_KIND_MAC_PHY: return kFeatMacPhy;
        case LLDP_REM_KIND_POWER: return kFeatPower;
        case LLDP_REM_KIND_MAX_FRAME: return kFeatMaxFrame;
        case LLDP_REM_KIND_ETS_CBS:
        case LLDP_REM_KIND_ETS_TCS:
        case LLDP_REM_KIND_ETS_WILLING: return kFeatEtsConf;
        case LLDP_REM_KIND_PFC_WILLING:
        case LLDP_REM_KIND_PFC_MBC:
        case LLDP_REM_KIND_PFC_CAP: return kFeatPfc;
        default: return kFeatureCount;
    }
}

// The result of a kind other than LLDP_REM_KIND_SYSTEM for a neighbour that
// has the kind's data, into out; its length.
size_t KindResult(uint32_t kind, const Neighbour &n, uint8_t (&out)[8]) {
    const lldp::Lldpdu p = n.Decode();
    switch (kind) {
        case LLDP_REM_KIND_PORT_VLAN: PutU16(out, *p.portVlanId); return 2;
        case LLDP_REM_KIND_LINK_AGG:
            out[0] = p.linkAgg->status;
            PutU32(out + 1, p.linkAgg->portId);
            return 5;
        case LLDP_REM_KIND_MAC_PHY:
            out[0] = p.macPhy->autoNeg;
            PutU16(out + 1, p.macPhy->advertisedCap);
            PutU16(out + 3, p.macPhy->mauType);
            return 5;
        case LLDP_REM_KIND_POWER:
            out[0] = p.powerMdi->support;
            out[1] = p.powerMdi->pair;
            out[2] = p.powerMdi->powerClass;
            return 3;
        case LLDP_REM_KIND_MAX_FRAME: PutU16(out, *p.maxFrameSize); return 2;
        case LLDP_REM_KIND_ETS_CBS: PutU32(out, p.etsConfig->cbs ? 1 : 0); return 4;
        case LLDP_REM_KIND_ETS_TCS: PutU32(out, p.etsConfig->maxTcs); return 4;
        case LLDP_REM_KIND_ETS_WILLING: PutU32(out, p.etsConfig->willing ? 1 : 0); return 4;
        case LLDP_REM_KIND_PFC_WILLING: PutU32(out, p.pfc->willing ? 1 : 0); return 4;
        case LLDP_REM_KIND_PFC_MBC: PutU32(out, p.pfc->mbc ? 1 : 0); return 4;
        case LLDP_REM_KIND_PFC_CAP: PutU32(out, p.pfc->cap); return 4;
        default: return 0;
    }
}

}  // namespace

extern "C" {

uint32_t LLDP_mor_GetRemTableByTFAI(const LLDP_TFAI_S *tfai, uint32_t capacity, void *buf, uint16_t *len) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (len != nullptr) *len = 0;
    if (tfai == nullptr) return LLDP_ERR_BAD_VALUE;
    const Neighbour *n = Exact(*tfai);
    if (n == nullptr) return LLDP_ERR_NO_ENTRY;
    return CopyRemoteInfo(*n, capacity, buf, len) ? 0 : LLDP_ERR_GENERAL;
}

uint32_t LLDP_mor_GetRemTableByTFA(const LLDP_TFAI_S *tfai, uint32_t capacity, void *buf, uint16_t *len) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (len != nullptr) *len = 0;
    if (tfai == nullptr) return LLDP_ERR_BAD_VALUE;
    Daemon *d = OwnerOf(tfai->ifIndex);
    if (d == nullptr) return LLDP_ERR_NO_ENTRY;
    const RemKey first{tfai->ifIndex, tfai->agent, 0};
    const Neighbour *n = d->index.Next(first, true, kFeatAll, tfai->timeMark);
    if (n == nullptr || n->key.ifIndex != tfai->ifIndex || n->key.agent != tfai->agent) return LLDP_ERR_NO_ENTRY;
    return CopyRemoteInfo(*n, capacity, buf, len) ? 0 : LLDP_ERR_GENERAL;
}

uint32_t LLDP_mor_GetNextRemTableByTFAI(uint32_t kind, uint32_t resultLen, LLDP_TFAI_S *tfai, void *result) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (tfai == nullptr) return LLDP_ERR_BAD_VALUE;
    const Feature feature = FeatureOfKind(kind);
    if (feature == kFeatureCount) return LLDP_ERR_BAD_VALUE;
    const RemKey after{tfai->ifIndex, tfai->agent, tfai->remIndex};
    const Neighbour *best = nullptr;
    const Daemon *owner = nullptr;
    // First the daemons with neighbours on the key's port. When one of them
    // answers on that port, no other daemon can hold a key between: theirs
    // are on higher ports. Otherwise the others are asked too.
    for (bool onPort : {true, false}) {
        for (const auto &[node, d] : DaemonsOfUpNodes()) {
            if (d->index.HoldsPort(after.ifIndex) != onPort || !NodeUp(node)) continue;
            const Neighbour *n = d->index.Next(after, false, feature, tfai->timeMark);
            if (n != nullptr && (best == nullptr || n->key < best->key)) {
                best = n;
                owner = d.get();
            }
        }
        if (best != nullptr && best->key.ifIndex == after.ifIndex) break;
    }
    if (best == nullptr) return LLDP_ERR_NO_ENTRY;
    if (kind == LLDP_REM_KIND_SYSTEM) {
        const LLDP_REM_SYSTEM_S r = SystemRecord(*owner, *best);
        if (result == nullptr || resultLen < sizeof r) return LLDP_ERR_GENERAL;
        std::memset(result, 0, resultLen);
        std::memcpy(result, &r, sizeof r);
    } else {
        uint8_t out[8] = {};
        const size_t n = KindResult(kind, *best, out);
        if (result == nullptr || resultLen < n) return LLDP_ERR_GENERAL;
        std::memset(result, 0, resultLen);
        std::memcpy(result, out, n);
    }
    owner->neighbours.Remember(best);
    tfai->ifIndex = best->key.ifIndex;
    tfai->agent = best->key.agent;
    tfai->remIndex = best->key.remIndex;
    return 0;
}

uint32_t LLDP_mor_GetRemTableRcAndTmnByTFAI(const LLDP_TFAI_S *tfai, uint32_t capacity, void *record) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (tfai == nullptr || record == nullptr || capacity < sizeof(LLDP_REM_SYSTEM_S)) return LLDP_ERR_BAD_VALUE;
    const Daemon *d = nullptr;
    const Neighbour *n = Exact(*tfai, &d);
    if (n == nullptr) return LLDP_ERR_NO_ENTRY;
    LLDP_REM_SYSTEM_S r;
    std::memset(&r, 0, sizeof r);
    r.remoteChanges = Net16(n->remoteChanges ? 1 : 0);
    r.tooManyNeighbors = TooManyFlag(*d, *n);
    std::memcpy(record, &r, sizeof r);
    return 0;
}

}  // extern "C"
