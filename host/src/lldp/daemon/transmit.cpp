// The daemons in time: per agent the IEEE 802.1AB transmit side (the
// transmit timer with regular and fast-start frames, the transmit credit,
// local changes, shutdown LLDPDUs and the reinit delay), ageing, the
// simulated neighbours of scenarios, the stack's timer queue behind
// NextDeadline, and the frame and event sinks.
//
// Every agent with something to do at a later clock has one entry in the
// timer queue (Rt().timers); ageing stays in each daemon's ageing set.
// MoveClock takes the earliest of both until it reaches the target, with the
// clock set to each one's time, so that everything happens when it is due.
// Without a frame sink, an agent that has only regular frames ahead counts
// them up to the target at once: nothing on the way could change them (new
// neighbours, the only thing that could, come from the agent's simulated
// neighbours, and an agent with those goes frame by frame).
#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>

#include "data_generation.h"
#include "lldp/daemon/daemon.h"

namespace lldpv2host::daemon {
namespace {

// The largest LLDPDU an Ethernet frame carries.
constexpr size_t kMaxLldpdu = 1500;

bool Transmits(const AgentState &a) { return a.adminStatus == kAdminTxOnly || a.adminStatus == kAdminTxRx; }

uint64_t Period(const Daemon &d) { return uint64_t{std::max<uint16_t>(1, d.config.txInterval)} * 100; }
uint64_t FastPeriod(const Daemon &d) { return uint64_t{std::max<uint16_t>(1, d.config.msgFastTx)} * 100; }
uint8_t CreditMax(const Daemon &d) { return std::max<uint8_t>(1, d.config.txCreditMax); }

Daemon *FindDaemon(uint16_t node) {
    auto it = DaemonMap().find(node);
    return it == DaemonMap().end() ? nullptr : it->second.get();
}

bool WantsTx(const PortState &port, const AgentState &a) { return Transmits(a) && port.linkUp && !Rt().stopped; }

// The TLV stream the agent sends. An LLDPDU larger than a frame keeps the
// whole TLVs that fit with the End TLV; tooLong tells.
std::vector<uint8_t> BuildTx(const Daemon &d, const PortState &port, uint32_t agentNo, bool &tooLong) {
    std::vector<uint8_t> tlvs = lldp::EncodeLldpdu(LocalPdu(d, port, agentNo));
    tooLong = tlvs.size() > kMaxLldpdu;
    if (tooLong) {
        size_t keep = 0;
        for (size_t off = 0; off + 2 <= tlvs.size();) {
            const size_t next = off + 2 + (((tlvs[off] & 1u) << 8) | tlvs[off + 1]);
            if ((tlvs[off] >> 1) == lldp::kTlvEnd || next + 2 > kMaxLldpdu) break;
            keep = off = next;
        }
        tlvs.resize(keep);
        lldp::AppendTlvHeader(tlvs, lldp::kTlvEnd, 0);
    }
    return tlvs;
}

// Chassis id, port id, TTL 0 and End.
std::vector<uint8_t> ShutdownPdu(const PortState &port) {
    const LocalSystemData &sys = LocalSystem();
    lldp::Lldpdu pdu;
    pdu.chassisIdSubtype = sys.chassisIdSubtype;
    pdu.chassisId = sys.chassisId;
    pdu.portIdSubtype = port.local.portIdSubtype;
    pdu.portId = port.local.portId;
    pdu.ttl = 0;
    return lldp::EncodeLldpdu(pdu);
}

void EnsureTxPdu(const Daemon &d, const PortState &port, uint32_t agentNo, AgentState &a) {
    if (a.txPduValid) return;
    a.txPdu = BuildTx(d, port, agentNo, a.txPduTooLong);
    a.txPduValid = true;
}

// Sends one LLDPDU of the agent at t: counted, and handed to every frame sink.
void Send(const Daemon &d, const PortState &port, uint32_t agentNo, AgentState &a, uint64_t t, bool shutdown) {
    a.counters.framesOut++;
    std::vector<uint8_t> last;
    const std::vector<uint8_t> *bytes = &a.txPdu;
    if (shutdown) {
        last = ShutdownPdu(port);
        bytes = &last;
    } else {
        EnsureTxPdu(d, port, agentNo, a);
        if (a.txPduTooLong) a.counters.lengthErrors++;
    }
    const RealTime &rt = Rt();
    if (rt.frameSinks.empty()) return;
    TxFrame frame;
    frame.ifIndex = port.ifIndex;
    frame.agent = agentNo;
    frame.time = static_cast<uint32_t>(std::min<uint64_t>(t, UINT32_MAX));
    frame.shutdown = shutdown;
    frame.lldpdu = bytes->data();
    frame.len = bytes->size();
    for (const auto &[id, sink] : rt.frameSinks) sink(frame);
}

// Credits come back one per second while below the maximum.
void Accrue(const Daemon &d, AgentState &a, uint64_t t) {
    const uint8_t max = CreditMax(d);
    if (a.credit >= max) {
        a.credit = max;
        return;
    }
    if (t < a.creditAt) return;
    const uint64_t n = (t - a.creditAt) / 100 + 1;
    a.credit = n >= uint64_t{max} - a.credit ? max : static_cast<uint8_t>(a.credit + n);
    a.creditAt += n * 100;
}

bool TakeCredit(const Daemon &d, AgentState &a, uint64_t t) {
    Accrue(d, a, t);
    if (a.credit == 0) return false;
    if (a.credit == CreditMax(d)) a.creditAt = t + 100;
    a.credit--;
    return true;
}

// The transmit timer runs out at t: a frame is due, the timer restarts.
void Expire(const Daemon &d, AgentState &a, uint64_t t) {
    if (a.txFast > 0) a.txFast--;
    a.txDue = true;
    a.ttrAt = t + (a.txFast > 0 ? FastPeriod(d) : Period(d));
}

void FastStart(const Daemon &d, AgentState &a, uint64_t t) {
    a.txFast = std::max<uint8_t>(1, d.config.txFastInit);
    Expire(d, a, t);
}

// What the agent sends changed at t: a frame now, the timer restarts.
void LocalChange(const Daemon &d, AgentState &a, uint64_t t) {
    a.txDue = true;
    a.ttrAt = t + (a.txFast > 0 ? FastPeriod(d) : Period(d));
}

// Puts the agent's next wakeup into the timer queue (or takes it out).
void Schedule(const Daemon &d, const PortState &port, uint32_t agentNo, AgentState &a) {
    const uint64_t now = Clock();
    std::optional<uint64_t> want;
    if (a.txOn) {
        want = a.ttrAt;
        if (a.txDue) {
            Accrue(d, a, now);
            want = std::min(*want, a.credit > 0 ? now : a.creditAt);
        }
    } else if (WantsTx(port, a) && a.reinitUntil > now) {
        want = a.reinitUntil;
    }
    if (a.scheduled && want && *want == a.wakeAt) return;
    RealTime &rt = Rt();
    if (a.scheduled) rt.timers.erase(Timer{a.wakeAt, Timer::kAgent, d.node, port.ifIndex, agentNo});
    a.scheduled = want.has_value();
    if (want) {
        a.wakeAt = *want;
        rt.timers.insert(Timer{a.wakeAt, Timer::kAgent, d.node, port.ifIndex, agentNo});
    }
}

enum class Cause {
    Initial,  // the port was found: first frame now, no fast start
    Enable,   // admin enable, link up, end of the reinit delay: fast start
};

// Starts or stops the agent's transmit side as admin status, link state and
// the reinit delay say.
void Update(Daemon &d, PortState &port, uint32_t agentNo, Cause cause) {
    AgentState &a = port.Agent(agentNo);
    const uint64_t now = Clock();
    const bool wants = WantsTx(port, a);
    if (a.txOn && !wants) {
        // A frame can only go out while the link is up.
        if ((!Transmits(a) || Rt().stopped) && port.linkUp) Send(d, port, agentNo, a, now, true);
        if (!Transmits(a)) a.reinitUntil = now + uint64_t{d.config.reinitDelay} * 100;
        a.txOn = false;
        a.txDue = false;
        a.txFast = 0;
        a.txPduValid = false;
    } else if (!a.txOn && wants && a.reinitUntil <= now) {
        a.txOn = true;
        a.txFast = 0;
        a.txPduValid = false;
        a.credit = CreditMax(d);
        if (cause == Cause::Initial) {
            a.txDue = true;
            a.ttrAt = now + Period(d);
        } else {
            FastStart(d, a, now);
        }
    }
    Schedule(d, port, agentNo, a);
}

void SetLink(Daemon &d, PortState &port, bool up) {
    if (port.started && port.linkUp == up) return;
    const Cause cause = port.started ? Cause::Enable : Cause::Initial;
    port.started = true;
    port.linkUp = up;
    for (uint32_t agentNo = 1; agentNo <= 3; ++agentNo) {
        if (AgentAllowed(port.type, agentNo)) Update(d, port, agentNo, cause);
    }
}

// Counts, without a frame sink, the regular frames of an agent up to
// horizon, exactly as sending them one by one would.
void FastForward(const Daemon &d, const PortState &port, uint32_t agentNo, AgentState &a, uint64_t horizon) {
    if (!a.txOn || a.txFast > 0 || a.txDue || a.ttrAt > horizon) return;
    const RealTime &rt = Rt();
    if (!rt.simAgents.empty() && rt.simAgents.count({port.ifIndex, agentNo}) != 0) return;
    EnsureTxPdu(d, port, agentNo, a);
    const uint8_t max = CreditMax(d);
    const uint64_t period = Period(d);
    // Frame by frame until the credit is full before a frame; from then on
    // each frame (at least 5 s apart) finds it full again.
    while (a.ttrAt <= horizon) {
        const uint64_t t = a.ttrAt;
        Accrue(d, a, t);
        if (a.credit == max) break;
        Expire(d, a, t);
        if (!TakeCredit(d, a, t)) return;  // the frame waits; Schedule follows it
        a.txDue = false;
        a.counters.framesOut++;
        if (a.txPduTooLong) a.counters.lengthErrors++;
    }
    if (a.ttrAt > horizon) return;
    const uint64_t frames = (horizon - a.ttrAt) / period + 1;
    const uint64_t last = a.ttrAt + (frames - 1) * period;
    a.counters.framesOut += static_cast<uint32_t>(frames);
    if (a.txPduTooLong) a.counters.lengthErrors += static_cast<uint32_t>(frames);
    a.credit = static_cast<uint8_t>(max - 1);
    a.creditAt = last + 100;
    a.ttrAt = last + period;
}

void FireAgent(const Timer &tm, uint64_t horizon) {
    Daemon *d = FindDaemon(tm.node);
    if (d == nullptr) return;
    auto it = d->ports.find(tm.id);
    if (it == d->ports.end() || tm.agent < 1 || tm.agent > 3) return;
    PortState &port = it->second;
    AgentState &a = port.Agent(tm.agent);
    if (!a.scheduled || a.wakeAt != tm.at) return;
    a.scheduled = false;
    if (!a.txOn) {
        Update(*d, port, tm.agent, Cause::Enable);  // the reinit delay is over
        return;
    }
    const uint64_t t = Clock();
    if (t >= a.ttrAt) Expire(*d, a, t);
    if (a.txDue && TakeCredit(*d, a, t)) {
        a.txDue = false;
        Send(*d, port, tm.agent, a, t, false);
    }
    if (Rt().frameSinks.empty()) FastForward(*d, port, tm.agent, a, horizon);
    Schedule(*d, port, tm.agent, a);
}

void FireSim(const Timer &tm) {
    RealTime &rt = Rt();
    if (tm.id >= rt.sims.size()) return;
    const uint64_t t = Clock();
    {
        const SimNeighbour &s = rt.sims[tm.id];
        const bool silent = s.silentFor > 0 && (t - s.at) % s.every >= s.every - s.silentFor;
        if (!silent) {
            // Copies: the receive may add timers, never simulated neighbours,
            // but keep the frame independent of the vector all the same.
            const std::vector<uint8_t> frame = s.lldpdu;
            const ReceiveResult r = ReceiveFrame(s.ifIndex, s.agent, frame.data(), frame.size());
            if (r.outcome == ReceiveOutcome::NoSuchAgent) return;  // its port is gone
        }
    }
    const uint64_t period = uint64_t{std::max<uint16_t>(1, StackConfig().txInterval)} * 100;
    rt.timers.insert(Timer{t + period, Timer::kSim, 0, tm.id, 0});
}

// Ages out the neighbours of d whose information expired at or before now.
void AgeOut(Daemon &d, uint32_t now) {
    while (!d.ageing.empty() && d.ageing.begin()->first <= now) {
        const auto [expiry, key] = *d.ageing.begin();
        auto port = d.ports.find(key.ifIndex);
        if (port != d.ports.end()) port->second.Agent(key.agent).counters.ageouts++;
        d.stats.ageouts++;
        d.stats.lastChangeTime = expiry;
        if (EventSinksActive()) {
            if (const Neighbour *n = d.neighbours.Find(key)) EmitNeighbourEvent(LldpEvent::Kind::AgedOut, *n);
        }
        EraseNeighbour(d, key);
    }
}

// Agents whose LLDPDU changed since it was last sent get a frame now.
void CheckAgent(Daemon &d, PortState &port, uint32_t agentNo, bool force) {
    AgentState &a = port.Agent(agentNo);
    if (!a.txOn) {
        a.txPduValid = false;
        return;
    }
    // Nothing sent yet: the first frame, still due, is built when it goes.
    if (!a.txPduValid && !force) return;
    bool tooLong = false;
    std::vector<uint8_t> pdu = BuildTx(d, port, agentNo, tooLong);
    if (a.txPduValid && pdu == a.txPdu && !force) return;
    a.txPdu = std::move(pdu);
    a.txPduTooLong = tooLong;
    a.txPduValid = true;
    LocalChange(d, a, Clock());
    Schedule(d, port, agentNo, a);
}

void CheckLocalChanges() {
    RealTime &rt = Rt();
    if (rt.configGen != rt.sweptGen) {
        rt.sweptGen = rt.configGen;
        const bool force = rt.intervalChanged;
        rt.intervalChanged = false;
        rt.localChanged.clear();
        for (auto &[node, d] : DaemonMap()) {
            for (auto &[ifIndex, port] : d->ports) {
                for (uint32_t agentNo = 1; agentNo <= 3; ++agentNo) {
                    if (AgentAllowed(port.type, agentNo)) CheckAgent(*d, port, agentNo, force);
                }
            }
        }
        return;
    }
    if (rt.localChanged.empty()) return;
    std::set<std::pair<uint32_t, uint32_t>> changed;
    changed.swap(rt.localChanged);
    for (const auto &[ifIndex, agent] : changed) {
        Daemon *d = nullptr;
        PortState *port = PortOf(ifIndex, &d);
        if (port == nullptr) continue;
        for (uint32_t agentNo = 1; agentNo <= 3; ++agentNo) {
            if ((agent == 0 || agent == agentNo) && AgentAllowed(port->type, agentNo)) {
                CheckAgent(*d, *port, agentNo, false);
            }
        }
    }
}

}  // namespace

// ---------------------------------------------------------------------------
// Hooks of the other parts of the daemons

void ResetRealTime() {
    RealTime &rt = Rt();
    auto frameSinks = std::move(rt.frameSinks);
    auto eventSinks = std::move(rt.eventSinks);
    const uint64_t nextSinkId = rt.nextSinkId;
    rt = RealTime{};
    rt.frameSinks = std::move(frameSinks);
    rt.eventSinks = std::move(eventSinks);
    rt.nextSinkId = nextSinkId;
}

void MarkLocalChange(uint32_t ifIndex, uint32_t agent) {
    Rt().localChanged.insert({ifIndex, agent});
    NoteDataChange();
}

void MarkConfigChange(bool intervalChanged) {
    RealTime &rt = Rt();
    rt.configGen++;
    if (intervalChanged) rt.intervalChanged = true;
    NoteDataChange();
}

void MarkPortChanged(uint32_t ifIndex) {
    Rt().portsChanged.insert(ifIndex);
    NoteDataChange();
}
void MarkNodeChanged(uint16_t node) {
    Rt().nodesChanged.insert(node);
    NoteDataChange();
}

void UnschedulePort(uint16_t node, PortState &port) {
    for (uint32_t agentNo = 1; agentNo <= 3; ++agentNo) {
        AgentState &a = port.Agent(agentNo);
        if (a.scheduled) Rt().timers.erase(Timer{a.wakeAt, Timer::kAgent, node, port.ifIndex, agentNo});
        a.scheduled = false;
    }
}

void SyncPending() {
    RealTime &rt = Rt();
    if (rt.scanPorts) {
        rt.scanPorts = false;
        for (uint16_t node : Nodes()) rt.nodesChanged.insert(node);
    }
    if (!rt.nodesChanged.empty()) {
        std::set<uint16_t> nodes;
        nodes.swap(rt.nodesChanged);
        for (uint16_t node : nodes) {
            Daemon *d = DaemonOf(node);
            if (d == nullptr) continue;
            const bool up = NodeUp(node);
            for (const Interface &intf : InterfacesOfNode(node)) {
                if (!IsLldpPort(intf)) continue;
                if (PortState *port = PortOf(intf.ifIndex)) SetLink(*d, *port, up && intf.operUp);
            }
        }
    }
    if (!rt.portsChanged.empty()) {
        std::set<uint32_t> ports;
        ports.swap(rt.portsChanged);
        for (uint32_t ifIndex : ports) {
            const std::optional<Interface> intf = FindInterface(ifIndex);
            if (!intf || !IsLldpPort(*intf)) continue;
            Daemon *d = nullptr;
            PortState *port = PortOf(ifIndex, &d);
            if (port != nullptr) SetLink(*d, *port, intf->operUp && NodeUp(d->node));
        }
        rt.portsChanged.clear();  // the ports just made
    }
    CheckLocalChanges();
}

bool PortLinkUp(Daemon &d, PortState &port) {
    if (!port.started) {
        const std::optional<Interface> intf = FindInterface(port.ifIndex);
        SetLink(d, port, intf && intf->operUp && NodeUp(d.node));
    }
    return port.linkUp;
}

void AdminChanged(Daemon &d, PortState &port, uint32_t agent) {
    if (port.started) Update(d, port, agent, Cause::Enable);
}

void NewNeighbour(Daemon &d, PortState &port, uint32_t agent) {
    AgentState &a = port.Agent(agent);
    if (!a.txOn) return;
    FastStart(d, a, Clock());
    Schedule(d, port, agent, a);
}

void ScheduleTooManyEnd(uint16_t node, uint32_t ifIndex, uint32_t agent, uint32_t until) {
    Rt().timers.insert(Timer{until, Timer::kTooMany, node, ifIndex, agent});
}

void AddSimNeighbour(SimNeighbour s) {
    RealTime &rt = Rt();
    rt.simAgents.insert({s.ifIndex, s.agent});
    const uint64_t first = s.at + uint64_t{std::max<uint16_t>(1, StackConfig().txInterval)} * 100;
    rt.timers.insert(Timer{first, Timer::kSim, 0, static_cast<uint32_t>(rt.sims.size()), 0});
    rt.sims.push_back(std::move(s));
}

void MoveClock(uint32_t to) {
    uint32_t &clock = Clock();
    if (to < clock) {
        // Too many neighbours may be reported again.
        clock = to;
        NoteDataChange();
        return;
    }
    SyncPending();
    RealTime &rt = Rt();
    for (;;) {
        Daemon *ageing = nullptr;
        uint64_t ageAt = UINT64_MAX;
        for (const auto &[node, d] : DaemonMap()) {
            if (!d->ageing.empty() && d->ageing.begin()->first < ageAt) {
                ageAt = d->ageing.begin()->first;
                ageing = d.get();
            }
        }
        const uint64_t timerAt = rt.timers.empty() ? UINT64_MAX : rt.timers.begin()->at;
        const uint64_t at = std::min(ageAt, timerAt);
        if (at > to) break;
        clock = static_cast<uint32_t>(std::max<uint64_t>(clock, at));
        if (ageAt <= timerAt) {
            AgeOut(*ageing, clock);
            continue;
        }
        const Timer tm = *rt.timers.begin();
        rt.timers.erase(rt.timers.begin());
        if (tm.kind == Timer::kSim) FireSim(tm);
        if (tm.kind == Timer::kAgent) FireAgent(tm, to);
        if (tm.kind == Timer::kTooMany) NoteDataChange();
    }
    clock = to;
}

// ---------------------------------------------------------------------------
// Events

bool EventSinksActive() { return !Rt().eventSinks.empty(); }

void EmitEvent(const LldpEvent &event) {
    for (const auto &[id, sink] : Rt().eventSinks) sink(event);
}

void EmitNeighbourEvent(LldpEvent::Kind kind, uint32_t ifIndex, uint32_t agent, uint32_t remIndex,
                        uint8_t chassisSubtype, const std::vector<uint8_t> &chassisId, uint8_t portSubtype,
                        const std::vector<uint8_t> &portId) {
    LldpEvent e;
    e.kind = kind;
    e.time = Clock();
    e.ifIndex = ifIndex;
    e.agent = agent;
    e.remIndex = remIndex;
    e.chassisId = ReadableId(true, chassisSubtype, chassisId);
    e.portId = ReadableId(false, portSubtype, portId);
    EmitEvent(e);
}

void EmitNeighbourEvent(LldpEvent::Kind kind, const Neighbour &n) {
    const lldp::Lldpdu pdu = n.Decode();
    EmitNeighbourEvent(kind, n.key.ifIndex, n.key.agent, n.key.remIndex, pdu.chassisIdSubtype, pdu.chassisId,
                       pdu.portIdSubtype, pdu.portId);
}

std::string ReadableId(bool chassis, uint8_t subtype, const std::vector<uint8_t> &id) {
    auto hex = [&id] {
        std::string out;
        char b[4];
        for (size_t i = 0; i < id.size(); ++i) {
            std::snprintf(b, sizeof b, i == 0 ? "%02x" : ":%02x", id[i]);
            out += b;
        }
        return out;
    };
    if (subtype == (chassis ? 4 : 3) && id.size() == 6) return hex();
    if (subtype == (chassis ? 5 : 4) && !id.empty()) {
        char text[INET6_ADDRSTRLEN] = {};
        if (id[0] == 1 && id.size() == 5 && inet_ntop(AF_INET, id.data() + 1, text, sizeof text)) return text;
        if (id[0] == 2 && id.size() == 17 && inet_ntop(AF_INET6, id.data() + 1, text, sizeof text)) return text;
    }
    const bool printable =
        !id.empty() && std::all_of(id.begin(), id.end(), [](uint8_t c) { return c >= 0x20 && c < 0x7F; });
    return printable ? std::string(id.begin(), id.end()) : hex();
}

}  // namespace lldpv2host::daemon

namespace lldpv2host {

using namespace daemon;

std::array<uint8_t, 6> AgentGroupMac(uint32_t agent) {
    static constexpr uint8_t kLast[4] = {0, 0x0E, 0x03, 0x00};
    if (agent < 1 || agent > 3) return {};
    return {0x01, 0x80, 0xC2, 0x00, 0x00, kLast[agent]};
}

uint32_t AgentOfGroupMac(const uint8_t *mac) {
    for (uint32_t agent = 1; agent <= 3; ++agent) {
        const std::array<uint8_t, 6> g = AgentGroupMac(agent);
        if (std::equal(g.begin(), g.end(), mac)) return agent;
    }
    return 0;
}

const char *LldpEventKindName(LldpEvent::Kind kind) {
    switch (kind) {
        case LldpEvent::Kind::Inserted: return "inserted";
        case LldpEvent::Kind::Updated: return "updated";
        case LldpEvent::Kind::AgedOut: return "aged-out";
        case LldpEvent::Kind::Deleted: return "deleted";
        case LldpEvent::Kind::Dropped: return "dropped";
        case LldpEvent::Kind::Discarded: return "discarded";
    }
    return "?";
}

uint64_t AddFrameSink(FrameSink sink) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    RealTime &rt = Rt();
    const uint64_t id = rt.nextSinkId++;
    rt.frameSinks.emplace_back(id, std::move(sink));
    return id;
}

void RemoveFrameSink(uint64_t id) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    std::erase_if(Rt().frameSinks, [id](const auto &s) { return s.first == id; });
}

uint64_t AddEventSink(EventSink sink) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    RealTime &rt = Rt();
    const uint64_t id = rt.nextSinkId++;
    rt.eventSinks.emplace_back(id, std::move(sink));
    return id;
}

void RemoveEventSink(uint64_t id) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    std::erase_if(Rt().eventSinks, [id](const auto &s) { return s.first == id; });
}

std::optional<uint32_t> NextDeadline() {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    SyncPending();
    const RealTime &rt = Rt();
    uint64_t at = rt.timers.empty() ? UINT64_MAX : rt.timers.begin()->at;
    for (const auto &[node, d] : DaemonMap()) {
        if (!d->ageing.empty()) at = std::min<uint64_t>(at, d->ageing.begin()->first);
    }
    if (at > UINT32_MAX) return std::nullopt;
    return std::max(static_cast<uint32_t>(at), Clock());
}

void ShutdownAll() {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    SyncPending();
    Rt().stopped = true;
    for (const auto &[node, d] : DaemonMap()) {
        for (auto &[ifIndex, port] : d->ports) {
            if (!port.started) continue;
            for (uint32_t agentNo = 1; agentNo <= 3; ++agentNo) {
                if (AgentAllowed(port.type, agentNo)) Update(*d, port, agentNo, Cause::Enable);
            }
        }
    }
}

uint32_t ReinitUntil(uint32_t ifIndex, uint32_t agentNo) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    const AgentState *a = AgentOf(ifIndex, agentNo);
    if (a == nullptr || a->reinitUntil <= Clock()) return 0;
    return static_cast<uint32_t>(std::min<uint64_t>(a->reinitUntil, UINT32_MAX));
}

}  // namespace lldpv2host
