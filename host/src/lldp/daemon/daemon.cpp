#include "lldp/daemon/daemon.h"

#include "data_generation.h"

#include "lldpv2/lldp_client.h"

namespace lldpv2host::daemon {
namespace {

constexpr const char *kAttachKey = "lldp";

struct Registry {
    std::recursive_mutex lock;
    LldpGlobalConfig config;
    LocalSystemData local;
    uint32_t clock = 0;
    // The daemons by node. The switch model holds them as node attachments
    // too; this map keeps each one alive while a call uses it, and follows
    // the model's changes through its observer.
    std::map<uint16_t, std::shared_ptr<Daemon>> daemons;
    // Every node that is up has its daemon in daemons; cleared by the
    // changes that may add an up node without one.
    bool upNodesHaveDaemons = false;
    RealTime rt;
};

void OnSwitchEvent(const SwitchEvent &event);

// Never destroyed: a module unloaded at process exit may still call the
// client library after static objects are gone.
Registry &Reg() {
    static Registry *reg = [] {
        auto *r = new Registry;
        AddSwitchObserver(OnSwitchEvent);
        return r;
    }();
    return *reg;
}

// Drops the port state of ifIndex from every daemon that holds it but no
// longer owns it as an LLDP port of the same type.
void ReconcilePort(uint32_t ifIndex) {
    std::optional<Interface> intf = FindInterface(ifIndex);
    for (auto &[node, d] : Reg().daemons) {
        auto it = d->ports.find(ifIndex);
        if (it == d->ports.end()) continue;
        const bool keep = intf && intf->node == node && IsLldpPort(*intf) && intf->type == it->second.type;
        if (keep) continue;
        for (uint32_t agent = 1; agent <= 3; ++agent) ClearAgentNeighbours(*d, it->second, agent, false);
        UnschedulePort(node, it->second);
        d->ports.erase(it);
    }
}

void OnSwitchEvent(const SwitchEvent &event) {
    Registry &reg = Reg();
    std::lock_guard<std::recursive_mutex> guard(reg.lock);
    switch (event.kind) {
        case SwitchEvent::Kind::Reset:
            reg.daemons.clear();
            reg.upNodesHaveDaemons = false;
            reg.config = LldpGlobalConfig{};
            reg.local = LocalSystemData{};
            reg.clock = 0;
            ResetRealTime();
            NoteDataChange();
            break;
        case SwitchEvent::Kind::NodeRemoved:
            if (auto it = reg.daemons.find(event.node); it != reg.daemons.end()) {
                for (auto &[ifIndex, port] : it->second->ports) UnschedulePort(event.node, port);
                reg.daemons.erase(it);
            }
            break;
        case SwitchEvent::Kind::NodeAdded:
            reg.upNodesHaveDaemons = false;
            break;
        case SwitchEvent::Kind::NodeUpChanged:
            reg.upNodesHaveDaemons = false;
            MarkNodeChanged(event.node);
            break;
        case SwitchEvent::Kind::InterfaceAdded:
            MarkPortChanged(event.ifIndex);
            break;
        case SwitchEvent::Kind::InterfaceChanged:
        case SwitchEvent::Kind::InterfaceRemoved:
            ReconcilePort(event.ifIndex);
            MarkPortChanged(event.ifIndex);
            break;
    }
}

struct Range {
    uint32_t id;
    uint32_t min;
    uint32_t max;
};

// MIB ranges of the global values, by the id of LLDP_mor_SetGlobalCfg.
constexpr Range kRanges[] = {
    {LLDP_GLB_TX_INTERVAL, 5, 32768},           {LLDP_GLB_HOLD_MULTIPLIER, 2, 10},
    {LLDP_GLB_REINIT_DELAY, 1, 10},             {LLDP_GLB_TX_FAST_INIT, 1, 8},
    {LLDP_GLB_NOTIFICATION_INTERVAL, 5, 3600},  {LLDP_GLB_TX_CREDIT_MAX, 1, 100},
    {LLDP_GLB_MSG_FAST_TX, 1, 3600},
};

void Assign(LldpGlobalConfig &cfg, uint32_t id, uint32_t value) {
    switch (id) {
        case LLDP_GLB_TX_INTERVAL: cfg.txInterval = static_cast<uint16_t>(value); break;
        case LLDP_GLB_HOLD_MULTIPLIER: cfg.holdMultiplier = static_cast<uint8_t>(value); break;
        case LLDP_GLB_REINIT_DELAY: cfg.reinitDelay = static_cast<uint16_t>(value); break;
        case LLDP_GLB_TX_FAST_INIT: cfg.txFastInit = static_cast<uint8_t>(value); break;
        case LLDP_GLB_NOTIFICATION_INTERVAL: cfg.notificationInterval = static_cast<uint16_t>(value); break;
        case LLDP_GLB_TX_CREDIT_MAX: cfg.txCreditMax = static_cast<uint8_t>(value); break;
        case LLDP_GLB_MSG_FAST_TX: cfg.msgFastTx = static_cast<uint16_t>(value); break;
        default: break;
    }
}

// Applies cfg to the stack and to the daemon of every node.
void ApplyEverywhere(const LldpGlobalConfig &cfg) {
    MarkConfigChange(cfg.txInterval != Reg().config.txInterval);
    Reg().config = cfg;
    for (Daemon *d : AllDaemons()) d->config = cfg;
}

PortLocal DefaultLocal(const Interface &intf) {
    PortLocal local;
    const std::string name = intf.name.empty() ? "port-" + std::to_string(intf.ifIndex) : intf.name;
    local.portIdSubtype = 5;
    local.portId.assign(name.begin(), name.end());
    local.portDesc = name;
    local.pvid = 1;
    local.vlans.push_back(lldp::VlanName{1, "default"});
    if (PortClassOf(intf.type) == PortClass::Ordinary) {
        local.macPhy = lldp::MacPhy{0x03, 0x6C01, 30};  // auto-negotiation on, 1000BASE-T full duplex
        local.linkAgg = lldp::LinkAggregation{0x01, 0};  // capable, not aggregated
    }
    local.maxFrameSize = 1522;
    return local;
}

}  // namespace

std::recursive_mutex &StateLock() { return Reg().lock; }
LldpGlobalConfig &StackConfig() { return Reg().config; }
LocalSystemData &LocalSystem() { return Reg().local; }
uint32_t &Clock() { return Reg().clock; }
RealTime &Rt() { return Reg().rt; }
const std::map<uint16_t, std::shared_ptr<Daemon>> &DaemonMap() { return Reg().daemons; }

Daemon *DaemonOf(uint16_t node) {
    Registry &reg = Reg();
    auto it = reg.daemons.find(node);
    if (it != reg.daemons.end()) return it->second.get();
    if (!HasNode(node)) return nullptr;
    auto d = std::make_shared<Daemon>();
    d->node = node;
    d->config = reg.config;
    if (!Attach(node, kAttachKey, d)) return nullptr;
    reg.daemons.emplace(node, d);
    return d.get();
}

Daemon *UpDaemonOf(uint16_t node) { return NodeUp(node) ? DaemonOf(node) : nullptr; }

std::vector<Daemon *> AllDaemons() {
    std::vector<Daemon *> out;
    for (uint16_t node : Nodes()) {
        if (Daemon *d = DaemonOf(node)) out.push_back(d);
    }
    return out;
}

const std::map<uint16_t, std::shared_ptr<Daemon>> &DaemonsOfUpNodes() {
    Registry &reg = Reg();
    if (!reg.upNodesHaveDaemons) {
        reg.upNodesHaveDaemons = true;
        for (uint16_t node : Nodes()) {
            if (NodeUp(node) && DaemonOf(node) == nullptr) reg.upNodesHaveDaemons = false;
        }
    }
    return reg.daemons;
}

std::vector<Daemon *> UpDaemons() {
    std::vector<Daemon *> out;
    for (uint16_t node : Nodes()) {
        if (Daemon *d = UpDaemonOf(node)) out.push_back(d);
    }
    return out;
}

bool IsLldpPort(const Interface &intf) {
    return intf.valid && !intf.temporary && !intf.subInterface && PortClassOf(intf.type) != PortClass::NotLldp;
}

PortState *PortOf(uint32_t ifIndex, Daemon **daemon) {
    std::optional<Interface> intf = FindInterface(ifIndex);
    if (!intf || !IsLldpPort(*intf)) return nullptr;
    Daemon *d = DaemonOf(intf->node);
    if (d == nullptr) return nullptr;
    auto it = d->ports.find(ifIndex);
    if (it != d->ports.end() && it->second.type != intf->type) {
        ReconcilePort(ifIndex);
        it = d->ports.end();
    }
    if (it == d->ports.end()) {
        PortState port;
        port.ifIndex = ifIndex;
        port.type = intf->type;
        port.local = DefaultLocal(*intf);
        it = d->ports.emplace(ifIndex, std::move(port)).first;
        MarkPortChanged(ifIndex);
    }
    if (daemon != nullptr) *daemon = d;
    return &it->second;
}

AgentState *AgentOf(uint32_t ifIndex, uint32_t agent, PortState **port, Daemon **daemon) {
    if (agent < 1 || agent > 3) return nullptr;
    Daemon *d = nullptr;
    PortState *p = PortOf(ifIndex, &d);
    if (p == nullptr || !AgentAllowed(p->type, agent)) return nullptr;
    if (port != nullptr) *port = p;
    if (daemon != nullptr) *daemon = d;
    return &p->Agent(agent);
}

uint32_t EffectiveAgent(const PortState &port, uint32_t agent) {
    if (agent >= 1 && agent <= 3 && AgentAllowed(port.type, agent)) return agent;
    return FirstAgentOf(port.type);
}

uint32_t CheckGlobalValue(uint32_t id, uint32_t value) {
    for (const Range &r : kRanges) {
        if (r.id == id) return (value >= r.min && value <= r.max) ? 0 : LLDP_ERR_BAD_VALUE;
    }
    return LLDP_ERR_BAD_VALUE;
}

bool TooMany(const AgentState &agent) { return agent.tooManySeen && Clock() < agent.tooManyUntil; }

void EraseNeighbour(Daemon &d, const RemKey &key) {
    const Neighbour *n = d.neighbours.Find(key);
    if (n == nullptr) return;
    d.index.Erase(key);
    d.ageing.erase({n->expiry, key});
    auto port = d.ports.find(key.ifIndex);
    if (port != d.ports.end() && key.agent >= 1 && key.agent <= 3) {
        AgentState &agent = port->second.Agent(key.agent);
        for (auto m = agent.msap.begin(); m != agent.msap.end(); ++m) {
            if (m->second == key.remIndex) {
                agent.msap.erase(m);
                break;
            }
        }
    }
    d.neighbours.Erase(key);
}

void ClearAgentNeighbours(Daemon &d, PortState &port, uint32_t agent, bool count) {
    AgentState &a = port.Agent(agent);
    std::vector<RemKey> keys;
    for (const auto &[msap, remIndex] : a.msap) keys.push_back(RemKey{port.ifIndex, agent, remIndex});
    for (const RemKey &key : keys) {
        if (EventSinksActive()) {
            if (const Neighbour *n = d.neighbours.Find(key)) EmitNeighbourEvent(LldpEvent::Kind::Deleted, *n);
        }
        EraseNeighbour(d, key);
    }
    a.msap.clear();
    if (a.tooManySeen) NoteDataChange();
    a.tooManySeen = false;
    if (count && !keys.empty()) {
        d.stats.deletes += static_cast<uint32_t>(keys.size());
        d.stats.lastChangeTime = Clock();
    }
}

}  // namespace lldpv2host::daemon

namespace lldpv2host {

using namespace daemon;

LldpGlobalConfig GlobalConfig() {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    return StackConfig();
}

uint32_t SetGlobalValue(uint32_t id, uint32_t value) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (uint32_t rc = CheckGlobalValue(id, value); rc != 0) return rc;
    LldpGlobalConfig cfg = StackConfig();
    Assign(cfg, id, value);
    ApplyEverywhere(cfg);
    return 0;
}

uint32_t SetGlobalConfig(const LldpGlobalConfig &cfg) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    const std::pair<uint32_t, uint32_t> values[] = {
        {LLDP_GLB_TX_INTERVAL, cfg.txInterval},   {LLDP_GLB_HOLD_MULTIPLIER, cfg.holdMultiplier},
        {LLDP_GLB_REINIT_DELAY, cfg.reinitDelay}, {LLDP_GLB_TX_FAST_INIT, cfg.txFastInit},
        {LLDP_GLB_NOTIFICATION_INTERVAL, cfg.notificationInterval},
        {LLDP_GLB_TX_CREDIT_MAX, cfg.txCreditMax}, {LLDP_GLB_MSG_FAST_TX, cfg.msgFastTx},
    };
    for (auto [id, value] : values) {
        if (CheckGlobalValue(id, value) != 0) return LLDP_ERR_BAD_VALUE;
    }
    ApplyEverywhere(cfg);
    return 0;
}

void ResetLldp() {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    Registry &reg = Reg();
    for (auto &[node, d] : reg.daemons) Detach(node, kAttachKey);
    reg.daemons.clear();
    reg.upNodesHaveDaemons = false;
    reg.config = LldpGlobalConfig{};
    reg.local = LocalSystemData{};
    reg.clock = 0;
    ResetRealTime();
    NoteDataChange();
}

std::vector<uint16_t> DaemonNodes() {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    std::vector<uint16_t> out;
    for (const auto &[node, d] : Reg().daemons) out.push_back(node);
    return out;
}

}  // namespace lldpv2host
