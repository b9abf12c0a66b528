// The receive side of the daemons (IEEE 802.1AB receive rules, MSAP
// identity, too many neighbours, the events they give), the clock calls and
// the per-agent control calls of lldpv2host/lldp.h.
#include <algorithm>
#include <cstring>
#include <span>
#include <tuple>

#include "data_generation.h"
#include "lldp/daemon/daemon.h"
#include "lldp/daemon/sub_rows.h"
#include "lldpv2/lldp_client.h"

namespace lldpv2host::daemon {

uint32_t FeaturesOf(const lldp::Lldpdu &pdu) {
    uint32_t f = 1u << kFeatAll;
    auto set = [&f](Feature feature, bool on) {
        if (on) f |= 1u << feature;
    };
    set(kFeatPortVlan, pdu.portVlanId.has_value());
    set(kFeatLinkAgg, pdu.linkAgg.has_value());
    set(kFeatMacPhy, pdu.macPhy.has_value());
    set(kFeatPower, pdu.powerMdi.has_value());
    set(kFeatMaxFrame, pdu.maxFrameSize.has_value());
    set(kFeatEtsConf, pdu.etsConfig.has_value());
    set(kFeatEtsReco, pdu.etsRecommendation.has_value());
    set(kFeatPfc, pdu.pfc.has_value());
    set(kFeatApp, pdu.appPriority.has_value() && !pdu.appPriority->empty());
    set(kFeatManAddr, !pdu.manAddrs.empty());
    set(kFeatUnknown, !pdu.unknownTlvs.empty());
    set(kFeatOrgDef, !pdu.orgTlvs.empty());
    set(kFeatProtoVlan, !pdu.protoVlans.empty());
    set(kFeatVlanName, !pdu.vlanNames.empty());
    set(kFeatProtocol, !pdu.protocolIds.empty());
    set(kFeatVidDigest, pdu.vidUsageDigest.has_value());
    set(kFeatManVid, pdu.managementVid.has_value());
    return f;
}

namespace {

std::vector<uint8_t> MsapOf(const lldp::Lldpdu &pdu) {
    std::vector<uint8_t> id;
    id.push_back(pdu.chassisIdSubtype);
    id.push_back(static_cast<uint8_t>(pdu.chassisId.size()));
    id.insert(id.end(), pdu.chassisId.begin(), pdu.chassisId.end());
    id.push_back(pdu.portIdSubtype);
    id.insert(id.end(), pdu.portId.begin(), pdu.portId.end());
    return id;
}

// Where the columns of a remote systems row lie in tlvs, the encoding of
// pdu. Every field found is checked against pdu, so that copying them gives
// what decoding tlvs gives; when one differs (a field cut to fit its TLV) or
// lies beyond 16-bit offsets, the result is not valid and queries decode.
SystemFields SystemFieldsOf(std::span<const uint8_t> tlvs, const lldp::Lldpdu &pdu) {
    SystemFields f;
    const std::optional<std::string> *texts[3] = {&pdu.portDesc, &pdu.sysName, &pdu.sysDesc};
    bool chassis = false, port = false, caps = false;
    const uint8_t *b = tlvs.data();
    size_t off = 0;
    while (off + 2 <= tlvs.size()) {
        const uint8_t type = b[off] >> 1;
        const size_t len = ((b[off] & 1u) << 8) | b[off + 1];
        const size_t info = off + 2;
        if (type == lldp::kTlvEnd || info + len > tlvs.size() || info + len > UINT16_MAX) break;
        auto same = [&](size_t at, size_t n, const uint8_t *want, size_t wantLen) {
            return n == wantLen && (n == 0 || std::memcmp(b + at, want, n) == 0);
        };
        switch (type) {
            case lldp::kTlvChassisId:
            case lldp::kTlvPortId: {
                bool &seen = type == lldp::kTlvChassisId ? chassis : port;
                if (seen || len < 1) return f;
                const uint8_t subtype = type == lldp::kTlvChassisId ? pdu.chassisIdSubtype : pdu.portIdSubtype;
                const std::vector<uint8_t> &id = type == lldp::kTlvChassisId ? pdu.chassisId : pdu.portId;
                if (b[info] != subtype || !same(info + 1, len - 1, id.data(), id.size())) return f;
                seen = true;
                (type == lldp::kTlvChassisId ? f.chassisIdSubtype : f.portIdSubtype) = subtype;
                (type == lldp::kTlvChassisId ? f.chassisIdOff : f.portIdOff) = static_cast<uint16_t>(info + 1);
                (type == lldp::kTlvChassisId ? f.chassisIdLen : f.portIdLen) = static_cast<uint16_t>(len - 1);
                break;
            }
            case lldp::kTlvPortDesc:
            case lldp::kTlvSysName:
            case lldp::kTlvSysDesc: {
                const unsigned t = type - lldp::kTlvPortDesc;
                const std::optional<std::string> &text = *texts[t];
                if (((f.textPresent >> t) & 1u) != 0 || !text) return f;
                if (!same(info, len, reinterpret_cast<const uint8_t *>(text->data()), text->size())) return f;
                f.textPresent |= static_cast<uint8_t>(1u << t);
                f.textOff[t] = static_cast<uint16_t>(info);
                f.textLen[t] = static_cast<uint16_t>(len);
                break;
            }
            case lldp::kTlvSysCap:
                if (caps || len != 4 || !pdu.hasSysCap) return f;
                f.capSupported = static_cast<uint16_t>((b[info] << 8) | b[info + 1]);
                f.capEnabled = static_cast<uint16_t>((b[info + 2] << 8) | b[info + 3]);
                if (f.capSupported != pdu.capSupported || f.capEnabled != pdu.capEnabled) return f;
                caps = true;
                break;
            default:
                break;
        }
        off = info + len;
    }
    // Every field of pdu must have been found.
    for (unsigned t = 0; t < 3; ++t) {
        if (texts[t]->has_value() != (((f.textPresent >> t) & 1u) != 0)) return f;
    }
    f.valid = chassis && port && caps == pdu.hasSysCap;
    return f;
}

// The data of n that derive from pdu, whose encoding n holds.
void Describe(Neighbour &n, const lldp::Lldpdu &pdu) {
    n.ttl = pdu.ttl;
    n.features = FeaturesOf(pdu);
    n.manAddrCount = static_cast<uint8_t>(std::min<size_t>(pdu.manAddrs.size(), 255));
    n.sys = SystemFieldsOf(n.TlvSpan(), pdu);
}

// Stores pdu as the information of n; the address returned replaces n's.
Neighbour *Store(Daemon &d, Neighbour *n, const lldp::Lldpdu &pdu) {
    const std::vector<uint8_t> tlvs = lldp::EncodeLldpdu(pdu);
    n = d.neighbours.SetTlvs(n, tlvs, SubEntriesOf(tlvs));
    Describe(*n, pdu);
    return n;
}

uint32_t ExpiryOf(uint16_t ttl) { return Clock() + uint32_t{ttl} * 100u; }

void Reindex(Daemon &d, Neighbour &n, uint32_t newExpiry) {
    d.ageing.erase({n.expiry, n.key});
    n.expiry = newExpiry;
    d.ageing.insert({n.expiry, n.key});
}

// A free remote index of the agent: the next in sequence, skipping 0 and the
// indexes still in use after a wrap.
uint32_t AllocRemIndex(const Daemon &d, uint32_t ifIndex, uint32_t agentNo, AgentState &agent) {
    for (;;) {
        uint32_t idx = agent.nextRemIndex++;
        if (agent.nextRemIndex == 0 || agent.nextRemIndex > 0x7FFFFFFFu) agent.nextRemIndex = 1;
        if (idx == 0 || idx > 0x7FFFFFFFu) continue;
        if (!d.neighbours.Contains(RemKey{ifIndex, agentNo, idx})) return idx;
    }
}

// Why the receive rules discarded a frame, for the event.
const char *DiscardText(lldp::DiscardReason reason) {
    switch (reason) {
        case lldp::DiscardReason::kMissingChassisId: return "missing chassis id TLV";
        case lldp::DiscardReason::kMissingPortId: return "missing port id TLV or TLVs out of order";
        case lldp::DiscardReason::kMissingTtl: return "missing TTL TLV or TLVs out of order";
        case lldp::DiscardReason::kBadChassisId: return "bad TLV length (chassis id)";
        case lldp::DiscardReason::kBadPortId: return "bad TLV length (port id)";
        case lldp::DiscardReason::kBadTtl: return "bad TLV length (TTL)";
        case lldp::DiscardReason::kTruncatedMandatory: return "truncated";
        case lldp::DiscardReason::kDuplicateMandatory: return "duplicate chassis id, port id or TTL TLV";
        case lldp::DiscardReason::kNone: break;
    }
    return "discarded";
}

void EmitPduEvent(LldpEvent::Kind kind, uint32_t ifIndex, uint32_t agent, uint32_t remIndex,
                  const lldp::Lldpdu &pdu) {
    if (!EventSinksActive()) return;
    EmitNeighbourEvent(kind, ifIndex, agent, remIndex, pdu.chassisIdSubtype, pdu.chassisId, pdu.portIdSubtype,
                       pdu.portId);
}

}  // namespace

ReceiveResult ReceiveFrame(uint32_t ifIndex, uint32_t agentNo, const uint8_t *data, size_t len) {
    ReceiveResult result;
    PortState *port = nullptr;
    Daemon *d = nullptr;
    AgentState *agent = AgentOf(ifIndex, agentNo, &port, &d);
    if (agent == nullptr) return result;
    result.outcome = ReceiveOutcome::Ignored;
    if (!NodeUp(d->node) || !PortLinkUp(*d, *port)) return result;
    if (agent->adminStatus != kAdminRxOnly && agent->adminStatus != kAdminTxRx) return result;

    lldp::DecodeResult decoded = lldp::DecodeLldpdu(data, len);
    if (!decoded.accepted) {
        agent->counters.framesDiscarded++;
        agent->counters.framesInError++;
        result.outcome = ReceiveOutcome::Discarded;
        if (EventSinksActive()) {
            LldpEvent e;
            e.kind = LldpEvent::Kind::Discarded;
            e.time = Clock();
            e.ifIndex = ifIndex;
            e.agent = agentNo;
            e.reason = DiscardText(decoded.reason);
            EmitEvent(e);
        }
        return result;
    }
    agent->counters.framesIn++;
    agent->counters.tlvsDiscarded += decoded.tlvsDiscarded;
    agent->counters.tlvsUnrecognized += decoded.tlvsUnrecognized;

    lldp::Lldpdu &pdu = decoded.pdu;
    const std::vector<uint8_t> msap = MsapOf(pdu);
    auto known = agent->msap.find(msap);
    const uint32_t now = Clock();

    if (pdu.ttl == 0) {
        if (known == agent->msap.end()) {
            result.outcome = ReceiveOutcome::ShutdownUnknown;
            return result;
        }
        result.remIndex = known->second;
        EraseNeighbour(*d, RemKey{ifIndex, agentNo, known->second});
        d->stats.deletes++;
        d->stats.lastChangeTime = now;
        result.outcome = ReceiveOutcome::Deleted;
        EmitPduEvent(LldpEvent::Kind::Deleted, ifIndex, agentNo, result.remIndex, pdu);
        return result;
    }

    if (known != agent->msap.end()) {
        const RemKey key{ifIndex, agentNo, known->second};
        Neighbour *n = d->neighbours.FindMutable(key);
        result.remIndex = key.remIndex;
        Reindex(*d, *n, ExpiryOf(pdu.ttl));
        // Two LLDPDUs carry the same information when they differ at most in TTL.
        const uint16_t ttl = pdu.ttl;
        pdu.ttl = n->ttl;
        const std::vector<uint8_t> tlvs = lldp::EncodeLldpdu(pdu);
        const std::span<const uint8_t> stored = n->TlvSpan();
        const bool same = std::equal(tlvs.begin(), tlvs.end(), stored.begin(), stored.end());
        pdu.ttl = ttl;
        if (same) {
            if (n->ttl != ttl) {
                // Same content: the index keeps its entry, with the new address if the record moved.
                Neighbour *moved = Store(*d, n, pdu);
                if (moved != n) {
                    d->index.Erase(key);
                    d->index.Insert(moved);
                    n = moved;
                }
            }
            if (n->remoteChanges) {
                n->remoteChanges = false;
                NoteDataChange();
            }
            result.outcome = ReceiveOutcome::Refreshed;
            return result;
        }
        d->index.Erase(key);
        n = Store(*d, n, pdu);
        n->changeTime = now;
        n->remoteChanges = true;
        d->index.Insert(n);
        d->stats.lastChangeTime = now;
        result.outcome = ReceiveOutcome::Updated;
        EmitPduEvent(LldpEvent::Kind::Updated, ifIndex, agentNo, result.remIndex, pdu);
        return result;
    }

    if (agent->msap.size() >= port->neighbourLimit) {
        const uint32_t until = ExpiryOf(pdu.ttl);
        if (!TooMany(*agent) || until > agent->tooManyUntil) agent->tooManyUntil = until;
        agent->tooManySeen = true;
        NoteDataChange();
        agent->counters.framesDiscarded++;
        d->stats.drops++;
        ScheduleTooManyEnd(d->node, ifIndex, agentNo, agent->tooManyUntil);
        result.outcome = ReceiveOutcome::Dropped;
        EmitPduEvent(LldpEvent::Kind::Dropped, ifIndex, agentNo, 0, pdu);
        return result;
    }

    const RemKey key{ifIndex, agentNo, AllocRemIndex(*d, ifIndex, agentNo, *agent)};
    const std::vector<uint8_t> tlvs = lldp::EncodeLldpdu(pdu);
    Neighbour *raw = d->neighbours.Create(key, tlvs, SubEntriesOf(tlvs));
    Describe(*raw, pdu);
    raw->changeTime = now;
    raw->expiry = ExpiryOf(pdu.ttl);
    raw->remoteChanges = false;
    agent->msap.emplace(msap, key.remIndex);
    d->index.Insert(raw);
    d->ageing.insert({raw->expiry, raw->key});
    d->stats.inserts++;
    d->stats.lastChangeTime = now;
    result.remIndex = raw->key.remIndex;
    result.outcome = ReceiveOutcome::Inserted;
    EmitPduEvent(LldpEvent::Kind::Inserted, ifIndex, agentNo, result.remIndex, pdu);
    NewNeighbour(*d, *port, agentNo);
    return result;
}

uint32_t ApplyAdminStatus(uint32_t ifIndex, uint32_t agentNo, uint8_t value) {
    if (value > kAdminTxRx) return LLDP_ERR_BAD_VALUE;
    PortState *port = nullptr;
    Daemon *d = nullptr;
    AgentState *a = AgentOf(ifIndex, agentNo, &port, &d);
    if (a == nullptr) return LLDP_ERR_NO_ENTRY;
    const bool received = a->adminStatus == kAdminRxOnly || a->adminStatus == kAdminTxRx;
    const bool receives = value == kAdminRxOnly || value == kAdminTxRx;
    a->adminStatus = value;
    if (received && !receives) ClearAgentNeighbours(*d, *port, agentNo, true);
    AdminChanged(*d, *port, agentNo);
    return 0;
}

}  // namespace lldpv2host::daemon

namespace lldpv2host {

using namespace daemon;

const char *ReceiveOutcomeName(ReceiveOutcome outcome) {
    switch (outcome) {
        case ReceiveOutcome::Inserted: return "inserted";
        case ReceiveOutcome::Updated: return "updated";
        case ReceiveOutcome::Refreshed: return "refreshed";
        case ReceiveOutcome::Deleted: return "deleted";
        case ReceiveOutcome::ShutdownUnknown: return "shutdown-unknown";
        case ReceiveOutcome::Discarded: return "discarded";
        case ReceiveOutcome::Dropped: return "dropped";
        case ReceiveOutcome::Ignored: return "ignored";
        case ReceiveOutcome::NoSuchAgent: return "no-such-agent";
    }
    return "?";
}

ReceiveResult Receive(uint32_t ifIndex, uint32_t agent, const std::vector<uint8_t> &lldpdu) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    SyncPending();
    return ReceiveFrame(ifIndex, agent, lldpdu.data(), lldpdu.size());
}

uint32_t Now() {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    return Clock();
}

void SetClock(uint32_t t) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    MoveClock(t);
}

void AdvanceClock(uint32_t hundredths) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    const uint32_t now = Clock();
    const uint32_t to = hundredths > UINT32_MAX - now ? UINT32_MAX : now + hundredths;
    MoveClock(to);
}

uint32_t SetAdminStatus(uint32_t ifIndex, uint32_t agentNo, AdminStatus status) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    uint8_t value = kAdminDisabled;
    switch (status) {
        case AdminStatus::TxOnly: value = kAdminTxOnly; break;
        case AdminStatus::RxOnly: value = kAdminRxOnly; break;
        case AdminStatus::TxAndRx: value = kAdminTxRx; break;
        case AdminStatus::Disabled: value = kAdminDisabled; break;
        default: return LLDP_ERR_BAD_VALUE;
    }
    return ApplyAdminStatus(ifIndex, agentNo, value);
}

AdminStatus GetAdminStatus(uint32_t ifIndex, uint32_t agentNo) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    AgentState *a = AgentOf(ifIndex, agentNo);
    if (a == nullptr) return AdminStatus::Disabled;
    switch (a->adminStatus) {
        case kAdminTxOnly: return AdminStatus::TxOnly;
        case kAdminRxOnly: return AdminStatus::RxOnly;
        case kAdminTxRx: return AdminStatus::TxAndRx;
        default: return AdminStatus::Disabled;
    }
}

uint32_t SetNotification(uint32_t ifIndex, uint32_t agentNo, bool enabled) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    AgentState *a = AgentOf(ifIndex, agentNo);
    if (a == nullptr) return LLDP_ERR_NO_ENTRY;
    a->notification = enabled;
    return 0;
}

uint32_t SetTlvTxMask(uint32_t ifIndex, uint32_t agentNo, uint32_t mask) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    AgentState *a = AgentOf(ifIndex, agentNo);
    if (a == nullptr) return LLDP_ERR_NO_ENTRY;
    if ((mask & ~kKnownTlvBits) != 0) return LLDP_ERR_BAD_VALUE;
    a->tlvMask = mask;
    MarkLocalChange(ifIndex, agentNo);
    return 0;
}

uint32_t TlvTxMask(uint32_t ifIndex, uint32_t agentNo) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    AgentState *a = AgentOf(ifIndex, agentNo);
    return a == nullptr ? 0 : a->tlvMask;
}

uint32_t SetNeighbourLimit(uint32_t ifIndex, uint32_t limit) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    PortState *p = PortOf(ifIndex);
    if (p == nullptr) return LLDP_ERR_NO_ENTRY;
    if (limit == 0) return LLDP_ERR_BAD_VALUE;
    p->neighbourLimit = limit;
    return 0;
}

AgentCounters Counters(uint32_t ifIndex, uint32_t agentNo) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    AgentState *a = AgentOf(ifIndex, agentNo);
    return a == nullptr ? AgentCounters{} : a->counters;
}

RemoteTableStats NodeStats(uint16_t node) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    Daemon *d = DaemonOf(node);
    if (d == nullptr) return {};
    return RemoteTableStats{d->stats.inserts, d->stats.deletes, d->stats.drops, d->stats.ageouts,
                            d->stats.lastChangeTime};
}

std::vector<uint8_t> LocalLldpdu(uint32_t ifIndex, uint32_t agentNo) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    Daemon *d = nullptr;
    PortState *p = PortOf(ifIndex, &d);
    if (p == nullptr) return {};
    return lldp::EncodeLldpdu(LocalPdu(*d, *p, EffectiveAgent(*p, agentNo)));
}

std::vector<NeighbourView> Neighbours(uint32_t ifIndex, uint32_t agentNo) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    std::vector<NeighbourView> out;
    for (Daemon *d : AllDaemons()) {
        d->neighbours.ForEach([&](const Neighbour &n) {
            if (ifIndex != 0 && n.key.ifIndex != ifIndex) return;
            if (agentNo != 0 && n.key.agent != agentNo) return;
            NeighbourView v;
            v.ifIndex = n.key.ifIndex;
            v.agent = n.key.agent;
            v.remIndex = n.key.remIndex;
            v.changeTime = n.changeTime;
            v.expiry = n.expiry;
            v.remoteChanges = n.remoteChanges;
            const lldp::Lldpdu pdu = n.Decode();
            v.chassisId = pdu.chassisId;
            v.portId = pdu.portId;
            v.tlvs.assign(n.Tlvs(), n.Tlvs() + n.tlvLen);
            out.push_back(std::move(v));
        });
    }
    std::sort(out.begin(), out.end(), [](const NeighbourView &a, const NeighbourView &b) {
        return std::tie(a.ifIndex, a.agent, a.remIndex) < std::tie(b.ifIndex, b.agent, b.remIndex);
    });
    return out;
}

size_t NeighbourCount() {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    size_t n = 0;
    for (Daemon *d : AllDaemons()) n += d->neighbours.size();
    return n;
}

}  // namespace lldpv2host
