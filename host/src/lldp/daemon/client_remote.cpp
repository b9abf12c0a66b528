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

// The neighbour tfai names, visible under its time mark.
const Neighbour *Exact(const LLDP_TFAI_S &tfai, const Daemon **owner = nullptr) {
    Daemon *d = OwnerOf(tfai.ifIndex);
    if (d == nullptr) return nullptr;
    auto it = d->neighbours.find(RemKey{tfai.ifIndex, tfai.agent, tfai.remIndex});
    if (it == d->neighbours.end() || it->second.changeTime < tfai.timeMark) return nullptr;
    if (owner != nullptr) *owner = d;
    return &it->second;
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
    const AgentState *agent = AgentOfNeighbour(d, n.key);
    r.tooManyNeighbors = Net16(agent != nullptr && TooMany(*agent) ? 1 : 0);
    r.lastField = Net16(p.ttl);
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

// The result of a kind for a neighbour that has the kind's data.
std::vector<uint8_t> KindResult(uint32_t kind, const Daemon &d, const Neighbour &n) {
    const lldp::Lldpdu p = n.Decode();
    std::vector<uint8_t> out;
    switch (kind) {
        case LLDP_REM_KIND_SYSTEM: {
            const LLDP_REM_SYSTEM_S r = SystemRecord(d, n, p);
            const auto *b = reinterpret_cast<const uint8_t *>(&r);
            out.assign(b, b + sizeof r);
            break;
        }
        case LLDP_REM_KIND_PORT_VLAN: Append16(out, *p.portVlanId); break;
        case LLDP_REM_KIND_LINK_AGG:
            out.push_back(p.linkAgg->status);
            Append32(out, p.linkAgg->portId);
            break;
        case LLDP_REM_KIND_MAC_PHY:
            out.push_back(p.macPhy->autoNeg);
            Append16(out, p.macPhy->advertisedCap);
            Append16(out, p.macPhy->mauType);
            break;
        case LLDP_REM_KIND_POWER:
            out = {p.powerMdi->support, p.powerMdi->pair, p.powerMdi->powerClass};
            break;
        case LLDP_REM_KIND_MAX_FRAME: Append16(out, *p.maxFrameSize); break;
        case LLDP_REM_KIND_ETS_CBS: Append32(out, p.etsConfig->cbs ? 1 : 0); break;
        case LLDP_REM_KIND_ETS_TCS: Append32(out, p.etsConfig->maxTcs); break;
        case LLDP_REM_KIND_ETS_WILLING: Append32(out, p.etsConfig->willing ? 1 : 0); break;
        case LLDP_REM_KIND_PFC_WILLING: Append32(out, p.pfc->willing ? 1 : 0); break;
        case LLDP_REM_KIND_PFC_MBC: Append32(out, p.pfc->mbc ? 1 : 0); break;
        case LLDP_REM_KIND_PFC_CAP: Append32(out, p.pfc->cap); break;
        default: break;
    }
    return out;
}

}  // namespace

extern "C" {

uint32_t LLDP_mor_GetRemTableByTFAI(const LLDP_TFAI_S *tfai, uint32_t capacity, void *buf, uint16_t *len) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (len != nullptr) *len = 0;
    if (tfai == nullptr) return LLDP_ERR_BAD_VALUE;
    const Neighbour *n = Exact(*tfai);
    if (n == nullptr) return LLDP_ERR_NO_ENTRY;
    return CopyOut(RemoteInfoBuffer(*n), capacity, buf, len) ? 0 : LLDP_ERR_GENERAL;
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
    return CopyOut(RemoteInfoBuffer(*n), capacity, buf, len) ? 0 : LLDP_ERR_GENERAL;
}

uint32_t LLDP_mor_GetNextRemTableByTFAI(uint32_t kind, uint32_t resultLen, LLDP_TFAI_S *tfai, void *result) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (tfai == nullptr) return LLDP_ERR_BAD_VALUE;
    const Feature feature = FeatureOfKind(kind);
    if (feature == kFeatureCount) return LLDP_ERR_BAD_VALUE;
    const RemKey after{tfai->ifIndex, tfai->agent, tfai->remIndex};
    const Neighbour *best = nullptr;
    const Daemon *owner = nullptr;
    for (Daemon *d : UpDaemons()) {
        const Neighbour *n = d->index.Next(after, false, feature, tfai->timeMark);
        if (n != nullptr && (best == nullptr || n->key < best->key)) {
            best = n;
            owner = d;
        }
    }
    if (best == nullptr) return LLDP_ERR_NO_ENTRY;
    const std::vector<uint8_t> out = KindResult(kind, *owner, *best);
    if (result == nullptr || resultLen < out.size()) return LLDP_ERR_GENERAL;
    std::memset(result, 0, resultLen);
    std::memcpy(result, out.data(), out.size());
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
    const AgentState *agent = AgentOfNeighbour(*d, n->key);
    r.tooManyNeighbors = Net16(agent != nullptr && TooMany(*agent) ? 1 : 0);
    std::memcpy(record, &r, sizeof r);
    return 0;
}

}  // extern "C"
