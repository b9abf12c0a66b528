// Client library queries by item: LLDP_mor_MibGet, LLDP_mor_Get,
// LLDP_mor_V2MibGetNextLocTable and LLDP_mor_InitIndexPara.
#include <cstring>

#include "lldp/daemon/buffers.h"
#include "lldp/daemon/wire.h"

using namespace lldpv2host;
using namespace lldpv2host::daemon;

namespace {

constexpr uint32_t kAnyNode = 0xFFFFFFFFu;

// The port of an item that is asked per port: its daemon must be node (when
// node is not kAnyNode) and up.
uint32_t ResolvePort(uint32_t ifIndex, uint32_t node, PortState **port, Daemon **d) {
    *port = PortOf(ifIndex, d);
    if (*port == nullptr) return LLDP_ERR_NO_ENTRY;
    if (node != kAnyNode && (*d)->node != node) return LLDP_ERR_NO_ENTRY;
    if (!NodeUp((*d)->node)) return LLDP_ERR_GENERAL;
    return 0;
}

// The node that answers node-wide items asked without a node: the node of
// ifIndex, or the first node that is up.
Daemon *DefaultDaemon(uint32_t ifIndex) {
    if (ifIndex != 0) {
        Daemon *d = nullptr;
        if (PortOf(ifIndex, &d) != nullptr) return NodeUp(d->node) ? d : nullptr;
        return nullptr;
    }
    std::vector<Daemon *> up = UpDaemons();
    return up.empty() ? nullptr : up.front();
}

// Builds the answer of item for (ifIndex, agent) on node (kAnyNode: the node
// that owns the port) into out.
uint32_t ItemAnswer(uint32_t ifIndex, uint32_t agent, uint32_t item, uint32_t node, const LLDP_INDEX_PARA_S *para,
                    std::vector<uint8_t> &out) {
    PortState *port = nullptr;
    Daemon *d = nullptr;
    switch (item) {
        case LLDP_ITEM_GLOBAL_CFG:
            out = GlobalBuffer(StackConfig());
            return 0;
        case LLDP_ITEM_LOC_SYSTEM:
            out = SysInfoBuffer(LocalSystem());
            return 0;
        case LLDP_ITEM_IF_STATUS:
        case LLDP_ITEM_IF_STATS:
        case LLDP_ITEM_TLV_CFG: {
            if (uint32_t rc = ResolvePort(ifIndex, node, &port, &d); rc != 0) return rc;
            if (agent < 1 || agent > 3 || !AgentAllowed(port->type, agent)) return LLDP_ERR_NO_ENTRY;
            const AgentState &a = port->Agent(agent);
            if (item == LLDP_ITEM_IF_STATUS) {
                out = StatusBuffer(a, static_cast<uint32_t>(a.msap.size()));
            } else if (item == LLDP_ITEM_IF_STATS) {
                out = StatsBuffer(a.counters);
            } else {
                out = TlvCfgBuffer(a);
            }
            return 0;
        }
        case LLDP_ITEM_LOC_PORT:
            if (uint32_t rc = ResolvePort(ifIndex, node, &port, &d); rc != 0) return rc;
            out = LocalPortBuffer(*d, *port, agent);
            return 0;
        case LLDP_ITEM_DCBX_ADMIN: {
            if (uint32_t rc = ResolvePort(ifIndex, node, &port, &d); rc != 0) return rc;
            const DCBX_ADMIN_S rec = AdminRecord(port->dcbx);
            const auto *p = reinterpret_cast<const uint8_t *>(&rec);
            out.assign(p, p + sizeof rec);
            return 0;
        }
        case LLDP_ITEM_GLOBAL_STATS: {
            d = node == kAnyNode ? DefaultDaemon(ifIndex) : UpDaemonOf(static_cast<uint16_t>(node));
            if (d == nullptr) return LLDP_ERR_GENERAL;
            out = NodeStatsBuffer(d->stats);
            return 0;
        }
        case LLDP_ITEM_LOC_MANADDR: {
            if (para == nullptr) return LLDP_ERR_BAD_VALUE;
            d = node == kAnyNode ? DefaultDaemon(ifIndex) : UpDaemonOf(static_cast<uint16_t>(node));
            if (d == nullptr) return LLDP_ERR_GENERAL;
            const uint32_t len = Host32(para->manAddr.len);
            if (len == 0 || len > LLDP_MANADDR_CAPACITY) return LLDP_ERR_BAD_VALUE;
            ManKey key{Host32(para->manAddr.subtype), std::vector<uint8_t>(para->manAddr.addr, para->manAddr.addr + len)};
            auto it = d->localManAddrs.find(key);
            if (it == d->localManAddrs.end()) return LLDP_ERR_NO_ENTRY;
            const LLDP_LOC_MANADDR_S rec = LocalManAddrRecord(it->second);
            const auto *p = reinterpret_cast<const uint8_t *>(&rec);
            out.assign(p, p + sizeof rec);
            return 0;
        }
        default:
            return LLDP_ERR_BAD_VALUE;
    }
}

}  // namespace

extern "C" {

void LLDP_mor_InitIndexPara(LLDP_INDEX_PARA_S *para) {
    if (para != nullptr) std::memset(para, 0, sizeof *para);
}

uint32_t LLDP_mor_MibGet(uint32_t ifIndex, uint32_t agent, uint32_t item, uint32_t capacity, void *buf,
                         uint16_t *len) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (len != nullptr) *len = 0;
    std::vector<uint8_t> out;
    if (uint32_t rc = ItemAnswer(ifIndex, agent, item, kAnyNode, nullptr, out); rc != 0) return rc;
    return CopyOut(out, capacity, buf, len) ? 0 : LLDP_ERR_GENERAL;
}

uint32_t LLDP_mor_Get(uint32_t ifIndex, uint32_t agent, uint32_t item, uint32_t node, LLDP_INDEX_PARA_S *para,
                      uint16_t *len, void *buf) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (len == nullptr) return LLDP_ERR_BAD_VALUE;
    const uint32_t capacity = *len;
    *len = 0;
    const uint32_t which = node == LLDP_NODE_OF_IFINDEX ? kAnyNode : node;
    if (which != kAnyNode && which > 0xFFFF) return LLDP_ERR_BAD_VALUE;
    std::vector<uint8_t> out;
    if (uint32_t rc = ItemAnswer(ifIndex, agent, item, which, para, out); rc != 0) return rc;
    return CopyOut(out, capacity, buf, len) ? 0 : LLDP_ERR_GENERAL;
}

uint32_t LLDP_mor_V2MibGetNextLocTable(uint32_t kind, uint32_t capacity, uint32_t *ifIndex, void *buf,
                                       uint16_t *len) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (ifIndex == nullptr || kind > LLDP_LOC_KIND_MAX_FRAME) return LLDP_ERR_BAD_VALUE;
    if (len != nullptr) *len = 0;
    for (const Interface &intf : Interfaces()) {
        if (intf.ifIndex <= *ifIndex || !IsLldpPort(intf) || intf.lldpData == 0 || !NodeUp(intf.node)) continue;
        // The 802.3 kinds only on the ports that carry IEEE 802.3 data (those
        // a get of the local 802.3 tables accepts): a walk must show no row
        // a get refuses.
        if (kind != LLDP_LOC_KIND_ANY && PortClassOf(intf.type) != PortClass::Ordinary) continue;
        Daemon *d = nullptr;
        PortState *port = PortOf(intf.ifIndex, &d);
        if (port == nullptr) continue;
        const PortLocal &local = port->local;
        const bool has = kind == LLDP_LOC_KIND_ANY || (kind == LLDP_LOC_KIND_MAC_PHY && local.macPhy) ||
                         (kind == LLDP_LOC_KIND_POWER && local.power) ||
                         (kind == LLDP_LOC_KIND_MAX_FRAME && local.maxFrameSize);
        if (!has) continue;
        if (!CopyOut(LocalPortBuffer(*d, *port, FirstAgentOf(port->type)), capacity, buf, len)) {
            return LLDP_ERR_GENERAL;
        }
        *ifIndex = intf.ifIndex;
        return 0;
    }
    return LLDP_ERR_NO_ENTRY;
}

}  // extern "C"
