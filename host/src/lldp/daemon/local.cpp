// The LLDPDU an agent sends: the stack's system data, the port's local data
// and DCBX admin data, as far as the agent's TLV transmit configuration lets
// them out.
#include <algorithm>

#include "lldp/daemon/daemon.h"
#include "lldpv2/lldp_client.h"

namespace lldpv2host::daemon {

namespace {

bool Bit(uint32_t mask, uint32_t bit) { return (mask >> bit) & 1u; }

}  // namespace

lldp::Lldpdu LocalPdu(const Daemon &d, const PortState &port, uint32_t agentNo) {
    const LocalSystemData &sys = LocalSystem();
    const PortLocal &local = port.local;
    const AgentState &agent = port.agents[agentNo - 1];
    const uint32_t mask = agent.tlvMask;
    lldp::Lldpdu pdu;
    pdu.chassisIdSubtype = sys.chassisIdSubtype;
    pdu.chassisId = sys.chassisId;
    pdu.portIdSubtype = local.portIdSubtype;
    pdu.portId = local.portId;
    // IEEE 802.1AB: TTL = min(65535, msgTxInterval * msgTxHold + 1).
    pdu.ttl = static_cast<uint16_t>(
        std::min<uint32_t>(65535, uint32_t{d.config.txInterval} * d.config.holdMultiplier + 1));

    if (Bit(mask, LLDP_TLVBIT_PORT_DESC)) pdu.portDesc = local.portDesc;
    if (Bit(mask, LLDP_TLVBIT_SYS_NAME)) pdu.sysName = sys.sysName;
    if (Bit(mask, LLDP_TLVBIT_SYS_DESC)) pdu.sysDesc = sys.sysDesc;
    if (Bit(mask, LLDP_TLVBIT_SYS_CAP)) {
        pdu.hasSysCap = true;
        pdu.capSupported = sys.capSupported;
        pdu.capEnabled = sys.capEnabled;
    }
    if (agent.manAddrTx && agent.manAddrTx->txEnable) {
        const ManKey &key = agent.manAddrTx->key;
        lldp::ManagementAddress m;
        m.subtype = static_cast<uint8_t>(key.subtype);
        m.address = key.addr;
        auto known = d.localManAddrs.find(key);
        if (known != d.localManAddrs.end()) {
            m.ifSubtype = known->second.ifSubtype;
            m.ifId = known->second.ifId;
            m.oid = known->second.oid;
        } else {
            m.ifSubtype = 1;  // unknown
            m.ifId = 0;
        }
        pdu.manAddrs.push_back(std::move(m));
    }
    if (Bit(mask, LLDP_TLVBIT_PORT_VLAN) && local.pvid != 0) pdu.portVlanId = local.pvid;
    if (Bit(mask, LLDP_TLVBIT_PROTO_VLAN)) {
        const uint16_t want = agent.protoVlanId ? *agent.protoVlanId
                                                : (local.protoVlans.empty() ? 0 : local.protoVlans.front().ppvid);
        for (const lldp::ProtoVlan &pv : local.protoVlans) {
            if (pv.ppvid == want) {
                pdu.protoVlans.push_back(pv);
                break;
            }
        }
    }
    if (Bit(mask, LLDP_TLVBIT_VLAN_NAME)) {
        std::optional<uint16_t> want = agent.vlanNameId;
        if (!want && !local.vlans.empty()) {
            want = std::min_element(local.vlans.begin(), local.vlans.end(),
                                    [](const lldp::VlanName &a, const lldp::VlanName &b) { return a.vid < b.vid; })
                       ->vid;
        }
        for (const lldp::VlanName &v : local.vlans) {
            if (want && v.vid == *want) {
                pdu.vlanNames.push_back(v);
                break;
            }
        }
    }
    if (Bit(mask, LLDP_TLVBIT_MAN_VID) && local.managementVid) pdu.managementVid = local.managementVid;
    if (Bit(mask, LLDP_TLVBIT_LINK_AGG) && local.linkAgg) pdu.linkAgg = local.linkAgg;
    if (Bit(mask, LLDP_TLVBIT_DCBX)) {
        const DcbxAdmin &dcbx = port.dcbx;
        if (dcbx.etsValid) {
            pdu.etsConfig = dcbx.ets;
            pdu.etsRecommendation = dcbx.reco;
        }
        if (dcbx.pfcValid) pdu.pfc = dcbx.pfc;
        if (dcbx.appValid) pdu.appPriority = dcbx.apps;
    }
    if (Bit(mask, LLDP_TLVBIT_MAC_PHY) && local.macPhy) pdu.macPhy = local.macPhy;
    if (Bit(mask, LLDP_TLVBIT_POWER) && local.power) pdu.powerMdi = local.power;
    if (Bit(mask, LLDP_TLVBIT_MAX_FRAME) && local.maxFrameSize) pdu.maxFrameSize = local.maxFrameSize;
    return pdu;
}

}  // namespace lldpv2host::daemon
