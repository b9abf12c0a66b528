// Client library writes (interface configuration, TLV transmit
// configuration, management-address transmit entries) and the port facts
// the module asks of the daemon.
#include <algorithm>
#include <cstring>

#include "lldp/daemon/buffers.h"
#include "lldp/daemon/wire.h"
#include "testing_hooks.h"

using namespace lldpv2host;
using namespace lldpv2host::daemon;

namespace {

// TLV groups of a request whose word 2 is 3: word 1 then replaces the
// transmit bits of the group named by word 3.
constexpr uint32_t kGroupBasic = (1u << 3) | (1u << 4) | (1u << 5) | (1u << 6);
constexpr uint32_t kGroupDot3 = (1u << 15) | (1u << 16) | (1u << 18);
constexpr uint32_t kReplaceGroup = 3;

bool HasVlan(const PortLocal &local, uint16_t vid) {
    return std::any_of(local.vlans.begin(), local.vlans.end(), [vid](const lldp::VlanName &v) { return v.vid == vid; });
}

bool HasProtoVlan(const PortLocal &local, uint16_t id) {
    return std::any_of(local.protoVlans.begin(), local.protoVlans.end(),
                       [id](const lldp::ProtoVlan &p) { return p.ppvid == id; });
}

// A transmit entry may only name an address that some member of the stack
// owns: the local management address table has to back every entry.
bool IsLocalManAddr(const ManKey &key) {
    for (Daemon *d : AllDaemons()) {
        if (d->localManAddrs.count(key) != 0) return true;
    }
    return false;
}

}  // namespace

extern "C" {

uint32_t LLDP_mor_SetIfCfg(uint32_t ifIndex, uint32_t agent, uint32_t value3, uint32_t item, uint32_t value5) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    switch (item) {
        case LLDP_IFCFG_ADMIN_STATUS:
            if (value5 > kAdminTxRx) return LLDP_ERR_BAD_VALUE;
            return ApplyAdminStatus(ifIndex, agent, static_cast<uint8_t>(value5));
        case LLDP_IFCFG_NOTIFICATION: {
            AgentState *a = AgentOf(ifIndex, agent);
            if (a == nullptr) return LLDP_ERR_NO_ENTRY;
            if (value3 > 1) return LLDP_ERR_BAD_VALUE;
            a->notification = value3 == 1;
            return 0;
        }
        default:
            return LLDP_ERR_BAD_VALUE;
    }
}

uint32_t LLDP_mor_SetTlvCfg(uint32_t ifIndex, uint32_t agent, uint32_t enable, const void *request) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    lldpv2host::testing::hooks::RecordTlvCfg(ifIndex, agent, enable, request);
    if (request == nullptr) return LLDP_ERR_BAD_VALUE;
    LLDP_TLV_CFG_REQ_S req;
    std::memcpy(&req, request, sizeof req);
    PortState *port = nullptr;
    AgentState *a = AgentOf(ifIndex, agent, &port);
    if (a == nullptr) return LLDP_ERR_NO_ENTRY;
    if (req.length != 1044 || (req.mask & ~kKnownTlvBits) != 0 || enable > 1) return LLDP_ERR_BAD_VALUE;

    if (req.word2 == kReplaceGroup) {
        uint32_t group = 0;
        if (req.word3 == 1) group = kGroupBasic;
        if (req.word3 == 3) group = kGroupDot3;
        if (group == 0) return LLDP_ERR_BAD_VALUE;
        a->tlvMask = (a->tlvMask & ~group) | (req.mask & group);
        MarkLocalChange(ifIndex, agent);
        return 0;
    }

    // Bits switched one by one; a VLAN id may come with the VLAN name or the
    // port and protocol VLAN TLV.
    std::optional<uint16_t> vid;
    if (req.dataLen == 2) {
        uint16_t v = 0;
        std::memcpy(&v, req.data, sizeof v);
        if (v == 0 || v > 4094) return LLDP_ERR_BAD_VALUE;
        const bool named = (req.mask & (1u << LLDP_TLVBIT_VLAN_NAME)) != 0;
        const bool proto = (req.mask & (1u << LLDP_TLVBIT_PROTO_VLAN)) != 0;
        if (named == proto) return LLDP_ERR_BAD_VALUE;
        if (named && !HasVlan(port->local, v)) return LLDP_ERR_BAD_VALUE;
        if (proto && !HasProtoVlan(port->local, v)) return LLDP_ERR_BAD_VALUE;
        vid = v;
    }
    const uint32_t bits = req.mask & ~(1u << LLDP_TLVBIT_MAN_ADDR);
    if (enable == 1) {
        a->tlvMask |= bits;
    } else {
        a->tlvMask &= ~bits;
    }
    if (vid && enable == 1) {
        if (req.mask & (1u << LLDP_TLVBIT_VLAN_NAME)) a->vlanNameId = vid;
        if (req.mask & (1u << LLDP_TLVBIT_PROTO_VLAN)) a->protoVlanId = vid;
    }
    MarkLocalChange(ifIndex, agent);
    return 0;
}

uint32_t LLDP_mor_SetV2MibManAddrTlvCfg(uint32_t ifIndex, uint32_t agent, uint16_t txEnable, uint32_t operation,
                                        const void *block) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    if (block == nullptr) return LLDP_ERR_BAD_VALUE;
    LLDP_TLV_CFG_REQ_S req;
    std::memcpy(&req, block, sizeof req);
    AgentState *a = AgentOf(ifIndex, agent);
    if (a == nullptr) return LLDP_ERR_GENERAL;
    std::optional<ManKey> key;
    if (req.dataLen == sizeof(LLDP_MANADDR_REC_S)) {
        LLDP_MANADDR_REC_S rec;
        std::memcpy(&rec, req.data, sizeof rec);
        key = ManKeyOf(rec);
        if (!key) return LLDP_ERR_BAD_VALUE;
    } else if (req.dataLen != 0) {
        return LLDP_ERR_BAD_VALUE;
    }
    const bool same = a->manAddrTx && key && a->manAddrTx->key == *key;
    // Every operation but a confirm may change what the agent sends; the
    // check at the next clock move finds out.
    if (operation != LLDP_MANADDR_OP_CONFIRM) MarkLocalChange(ifIndex, agent);
    switch (operation) {
        case LLDP_MANADDR_OP_CREATE:
            if (!key) return LLDP_ERR_BAD_VALUE;
            if (!IsLocalManAddr(*key)) return LLDP_ERR_NO_SUCH_ROW;
            if (same) return LLDP_ERR_ROW_EXISTS;
            if (a->manAddrTx) return LLDP_ERR_TABLE_FULL;
            a->manAddrTx = ManAddrTx{*key, txEnable == 1, 1};
            return 0;
        case LLDP_MANADDR_OP_CHANGE:
            if (!same) return LLDP_ERR_ROW_NOT_READY;
            a->manAddrTx->txEnable = txEnable == 1;
            return 0;
        case LLDP_MANADDR_OP_CONFIRM:
            return same ? 0 : LLDP_ERR_ROW_NOT_READY;
        case LLDP_MANADDR_OP_DESTROY:
            // Without an address record the entry of the agent goes, whichever it is.
            if (!a->manAddrTx || (key && !same)) return LLDP_ERR_NO_SUCH_ROW;
            a->manAddrTx.reset();
            return 0;
        default:
            return LLDP_ERR_BAD_VALUE;
    }
}

uint16_t LLDP_util_GetMinVlanForPort(uint32_t ifIndex) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    PortState *p = PortOf(ifIndex);
    if (p == nullptr || p->local.vlans.empty()) return 0xFFFF;
    uint16_t min = 0xFFFF;
    for (const lldp::VlanName &v : p->local.vlans) min = std::min(min, v.vid);
    return min;
}

uint16_t LLDP_util_GetPortPVId(uint32_t ifIndex) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    PortState *p = PortOf(ifIndex);
    return p == nullptr ? 0 : p->local.pvid;
}

uint16_t LLDP_util_IsDot3ValidIfIndex(uint32_t ifIndex) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    std::optional<Interface> intf = FindInterface(ifIndex);
    return intf && IsLldpPort(*intf) && PortClassOf(intf->type) == PortClass::Ordinary ? 1 : 0;
}

uint16_t LLDP_util_IsDot3SupportLldp(uint32_t ifIndex) {
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    std::optional<Interface> intf = FindInterface(ifIndex);
    if (!intf || !IsLldpPort(*intf) || PortClassOf(intf->type) != PortClass::Ordinary) return 0;
    PortState *p = PortOf(ifIndex);
    return p != nullptr && p->Agent(1).adminStatus != kAdminDisabled ? 1 : 0;
}

}  // extern "C"
