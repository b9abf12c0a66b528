// The compiled-in default scenario. The same text is kept as
// host/scenarios/default.yaml, which a unit test compares with this one.
#include "lldpv2host/scenario.h"

namespace lldpv2host {

const char *DefaultScenarioText() {
    return R"yaml(# The default scenario: a two-node stack with ports of several type classes,
# all three LLDP agents in use and a varied set of neighbours. The neighbours
# are refreshed every txInterval and stay, except one that comes and goes and
# one that ages out, so that ageing can be watched.
system:
  chassis-id: {subtype: mac-address, value: "02:00:5e:10:00:01"}
  name: stack-sw-1
  description: "Two-node stackable switch, LLDP-V2 host platform"
  capabilities: {supported: [bridge, router], enabled: [bridge, router]}

lldp:
  tx-interval: 30
  hold-multiplier: 4
  reinit-delay: 2
  tx-fast-init: 4
  notification-interval: 30
  tx-credit-max: 5
  msg-fast-tx: 1

clock: 1000

nodes:
  - id: 1
    management-addresses:
      - {address: 192.0.2.1, if-subtype: 2, if-id: 1, oid: 1.3.6.1.2.1.2.2.1.1.1}
  - id: 2
    management-addresses:
      - {address: "2001:db8::2", if-subtype: 2, if-id: 201}

interfaces:
  # Node 1
  - ifindex: 1
    name: ge-1/0/1
    node: 1
    type: gigabit-ethernet
    lldp:
      description: "uplink to core-sw-2"
      pvid: 10
      vlans: [{id: 10, name: users}, {id: 20, name: voice}, {id: 100, name: mgmt}]
      proto-vlans: [{id: 100, supported: true, enabled: true}]
      management-vid: 100
      agents:
        - agent: nearest-bridge
          notification: true
          tlvs: [port-desc, sys-name, sys-desc, sys-cap, port-vlan, proto-vlan, vlan-name, management-vid,
                 link-agg, mac-phy, max-frame]
          vlan-name-id: 20
          proto-vlan-id: 100
          management-address: {address: 192.0.2.1, transmit: true}
        - agent: nearest-non-tpmr-bridge
          tlvs: [port-desc, sys-name, sys-cap]
  - ifindex: 2
    name: ge-1/0/2
    node: 1
    type: gigabit-ethernet
    lldp:
      description: "desk phone"
      pvid: 20
      vlans: [{id: 20, name: voice}]
      power: {port-class: pse, supported: true, enabled: true, pair-control: true, pairs: 1, class: 3}
  - ifindex: 3
    name: ge-1/0/3
    node: 1
    type: gigabit-ethernet
    lldp:
      description: "storage server, bond member"
      link-aggregation: {capable: true, enabled: true, port-id: 50}
  - ifindex: 4
    name: xe-1/0/1
    node: 1
    type: ten-gigabit-ethernet
    lldp:
      description: "storage fabric"
      mac-phy: {autoneg-supported: false, autoneg-enabled: false, advertised-cap: 0, mau-type: 113}
      max-frame-size: 9216
      dcbx:
        ets: {willing: false, cbs: false, traffic-classes: 8,
              priority-tc: [0, 0, 1, 1, 2, 2, 3, 3], bandwidth: [10, 20, 30, 40, 0, 0, 0, 0],
              tsa: [ets, ets, ets, ets, strict-priority, strict-priority, strict-priority, strict-priority]}
        ets-recommendation: {priority-tc: [0, 0, 1, 1, 2, 2, 3, 3], bandwidth: [25, 25, 25, 25, 0, 0, 0, 0],
                             tsa: [ets, ets, ets, ets, strict-priority, strict-priority, strict-priority, strict-priority]}
        pfc: {willing: false, mbc: false, cap: 4, enabled: [3, 4]}
        applications:
          - {selector: ethertype, protocol: 0x8906, priority: 3}
          - {selector: tcp-sctp-port, protocol: 3260, priority: 4}
      agents:
        - agent: nearest-bridge
          tlvs: [port-desc, sys-name, sys-desc, sys-cap, port-vlan, dcbx, mac-phy, max-frame]
  - ifindex: 5
    name: mgmt-1
    node: 1
    type: management-ethernet
  - ifindex: 50
    name: agg-1
    node: 1
    type: aggregate
    lldp:
      description: "aggregate to storage-srv-2"
  - ifindex: 60
    name: cnp-1
    node: 1
    type: customer-network-port
  - ifindex: 70
    name: lo-1
    node: 1
    type: loopback
  # Node 2
  - ifindex: 101
    name: ge-2/0/1
    node: 2
    type: gigabit-ethernet
  - ifindex: 102
    name: ge-2/0/2
    node: 2
    type: gigabit-ethernet
    lldp:
      agents:
        - agent: nearest-bridge
          admin-status: tx-only
  - ifindex: 103
    name: xe-2/0/1
    node: 2
    type: ten-gigabit-ethernet
    lldp:
      dcbx:
        pfc: {willing: true, mbc: false, cap: 8, enabled: [3]}
      agents:
        - agent: nearest-bridge
          tlvs: [port-desc, sys-name, sys-desc, sys-cap, dcbx, mac-phy]
          management-address: {address: "2001:db8::2", transmit: true}
  - ifindex: 104
    name: stack-2
    node: 2
    type: stack-port

neighbours:
  # A switch with 802.1, 802.3 and DCBX TLVs on both agents of the uplink.
  - port: ge-1/0/1
    agent: nearest-bridge
    at: 100
    refresh: true
    chassis-id: {subtype: mac-address, value: "02:00:5e:20:00:01"}
    port-id: {subtype: interface-name, value: "Eth1/17"}
    ttl: 120
    port-description: "downlink to stack-sw-1"
    system-name: core-sw-2
    system-description: "Core switch, release 4.2"
    capabilities: {supported: [bridge, router], enabled: [bridge, router]}
    management-addresses:
      - {address: 198.51.100.2, if-subtype: 2, if-id: 17}
      - {address: "2001:db8:100::2", if-subtype: 3, if-id: 17, oid: 1.3.6.1.2.1.2.2.1.1.17}
    port-vlan: 10
    proto-vlans: [{id: 100, supported: true, enabled: true}]
    vlan-names: [{id: 10, name: users}, {id: 20, name: voice}]
    management-vid: 100
    link-aggregation: {capable: true, enabled: false}
    mac-phy: {autoneg-supported: true, autoneg-enabled: true, advertised-cap: 0x6C01, mau-type: 30}
    max-frame-size: 9216
    ets: {willing: false, cbs: true, traffic-classes: 8, priority-tc: [0, 1, 2, 3, 4, 5, 6, 7],
          bandwidth: [20, 20, 20, 10, 10, 10, 5, 5], tsa: [ets, ets, ets, ets, ets, ets, ets, ets]}
    ets-recommendation: {priority-tc: [0, 1, 2, 3, 4, 5, 6, 7], bandwidth: [20, 20, 20, 10, 10, 10, 5, 5],
                         tsa: [ets, ets, ets, ets, ets, ets, ets, ets]}
    pfc: {willing: false, mbc: true, cap: 8, enabled: [3]}
    applications:
      - {selector: ethertype, protocol: 0x8906, priority: 3}
      - {selector: udp-dccp-port, protocol: 4791, priority: 5}
  - port: ge-1/0/1
    agent: nearest-non-tpmr-bridge
    at: 100
    refresh: true
    chassis-id: {subtype: mac-address, value: "02:00:5e:20:00:01"}
    port-id: {subtype: interface-name, value: "Eth1/17"}
    system-name: core-sw-2
    capabilities: {supported: [bridge, router], enabled: [bridge]}
  # An IP phone powered over the cable.
  - port: ge-1/0/2
    at: 200
    refresh: true
    chassis-id: {subtype: network-address, value: 192.0.2.77}
    port-id: {subtype: mac-address, value: "02:00:5e:30:00:07"}
    ttl: 180
    system-name: ip-phone-7
    system-description: "Desk IP phone"
    capabilities: {supported: [bridge, telephone], enabled: [telephone]}
    management-addresses:
      - {address: 192.0.2.77, if-subtype: 1, if-id: 0}
    port-vlan: 20
    vlan-names: [{id: 20, name: voice}]
    mac-phy: {autoneg-supported: true, autoneg-enabled: true, advertised-cap: 0x6C00, mau-type: 16}
    power: {port-class: pd, supported: false, enabled: true, pair-control: false, pairs: 1, class: 3}
  # A server in a link aggregation, with an unknown TLV and
  # organizationally specific TLVs of its maker.
  - port: ge-1/0/3
    at: 300
    refresh: true
    chassis-id: {subtype: local, value: storage-srv-2}
    port-id: {subtype: mac-address, value: "02:00:5e:40:00:02"}
    system-name: storage-srv-2
    system-description: "Storage server"
    capabilities: {supported: [station-only], enabled: [station-only]}
    management-addresses:
      - {address: 203.0.113.12, if-subtype: 2, if-id: 2}
    link-aggregation: {capable: true, enabled: true, port-id: 7}
    mac-phy: {autoneg-supported: true, autoneg-enabled: true, advertised-cap: 0x0001, mau-type: 30}
    max-frame-size: 9000
    unknown-tlvs:
      - {type: 100, info: "0102030405"}
    org-tlvs:
      - {oui: "ac-de-48", subtype: 1, info: "73746f726167652d70726f66696c65"}
      - {oui: "ac-de-48", subtype: 1, info: "0a0b0c"}
      - {oui: "ac-de-48", subtype: 7, info: "ff"}
  - port: agg-1
    agent: nearest-non-tpmr-bridge
    at: 300
    refresh: true
    chassis-id: {subtype: local, value: storage-srv-2}
    port-id: {subtype: interface-name, value: bond0}
    system-name: storage-srv-2
  # A DCBX storage target that is willing to take the switch's settings.
  - port: xe-1/0/1
    at: 400
    refresh: true
    chassis-id: {subtype: mac-address, value: "02:00:5e:50:00:03"}
    port-id: {subtype: interface-name, value: "p1p1"}
    system-name: storage-srv-3
    capabilities: {supported: [station-only], enabled: [station-only]}
    management-addresses:
      - {address: "2001:db8:200::3", if-subtype: 2, if-id: 4}
    mac-phy: {autoneg-supported: false, autoneg-enabled: false, advertised-cap: 0, mau-type: 113}
    ets: {willing: true, cbs: false, traffic-classes: 4, priority-tc: [0, 0, 1, 1, 2, 2, 3, 3],
          bandwidth: [25, 25, 25, 25, 0, 0, 0, 0], tsa: [ets, ets, ets, ets, strict-priority, strict-priority, strict-priority, strict-priority]}
    pfc: {willing: true, mbc: false, cap: 4, enabled: [3, 4]}
    applications:
      - {selector: tcp-sctp-port, protocol: 3260, priority: 4}
  # A provider edge seen by the customer-bridge agent.
  - port: cnp-1
    agent: nearest-customer-bridge
    at: 500
    refresh: true
    chassis-id: {subtype: mac-address, value: "02:00:5e:60:00:01"}
    port-id: {subtype: local, value: "uni-12"}
    system-name: provider-edge-1
    capabilities: {supported: [bridge, s-vlan], enabled: [s-vlan]}
  # Node 2: a neighbour given as the raw LLDPDU (edge-sw-4, port VLAN 20).
  - port: ge-2/0/1
    at: 600
    refresh: true
    lldpdu: "02070402005e0053040406056769302f3106020078080f75706c696e6b20746f20737461636b0a09656467652d73772d340e0400140004fe060080c20100140000"
  - port: xe-2/0/1
    at: 700
    refresh: true
    chassis-id: {subtype: mac-address, value: "02:00:5e:70:00:09"}
    port-id: {subtype: interface-name, value: "eth2"}
    system-name: storage-srv-9
    pfc: {willing: false, mbc: false, cap: 8, enabled: [3]}
  # A wireless access point that reboots every ten minutes: silent for five,
  # it ages out 120 s after it was last heard and comes back as a new
  # neighbour.
  - port: mgmt-1
    at: 800
    silent: {every: 600, for: 300}
    chassis-id: {subtype: mac-address, value: "02:00:5e:80:00:01"}
    port-id: {subtype: interface-name, value: "wlan-uplink"}
    ttl: 120
    system-name: access-point-1
    capabilities: {supported: [wlan-access-point, router], enabled: [wlan-access-point]}
  # A test set that was unplugged: no longer refreshed, it ages out 120 s
  # after it was last heard.
  - port: stack-2
    at: 900
    chassis-id: {subtype: local, value: test-set-5}
    port-id: {subtype: local, value: "port-a"}
    ttl: 120
    system-name: test-set-5
)yaml";
}

}  // namespace lldpv2host
