// Scenarios: a whole simulated switch described in YAML, the switch model
// (lldpv2host/switch.h) and the LLDP daemons (lldpv2host/lldp.h) alike:
// nodes, interfaces, the global LLDP configuration, the local system data,
// each port's local data, agent configuration and DCBX admin data, and the
// neighbours, given field by field or as the hex of a raw LLDPDU, each
// received through the daemons' receive rules at a given time. Neighbours age
// out by their TTL as the clock runs, unless they are refreshed.
//
// Loading replaces the current switch and daemons. A scenario with a mistake
// is refused whole, with "<file>:<line>: <what is wrong>", and leaves the
// switch as it was: everything is checked before anything is applied.
//
// The format, with every key optional unless marked:
//
//   system:                      # local system data (one for the stack)
//     chassis-id: {subtype: mac-address, value: "02:00:5e:10:00:01"}
//     name: core-sw-1
//     description: "..."
//     capabilities: {supported: [bridge, router], enabled: [bridge]}
//   lldp:                        # global configuration (MIB ranges apply)
//     tx-interval: 30            # also hold-multiplier, reinit-delay,
//                                # tx-fast-init, notification-interval,
//                                # tx-credit-max, msg-fast-tx, tx-delay
//   clock: 0                     # hundredths; the clock after loading
//   nodes:                       # required, at least one
//     - id: 1                    # required
//       up: true
//       management-addresses:    # the node's local management addresses
//         - {address: 192.0.2.1, if-subtype: 2, if-id: 1, oid: 1.3.6.1.4.1.1}
//   interfaces:
//     - ifindex: 1               # required
//       node: 1                  # required
//       type: gigabit-ethernet   # required: a name of InterfaceTypes() or a code
//       name: ge-1/0/1
//       valid: true              # also temporary, sub-interface, lldp-data,
//                                # type-readable
//       linux: eth0              # the Linux interface the port is (text, 1..15
//                                # octets, no '/' or blank, once per scenario);
//                                # none: a simulated port
//       mac: "02:00:5e:10:01:01" # the port's MAC address (6 octets; default none)
//       link: up                 # up or down (default up); a port that is down
//                                # neither sends nor receives
//       speed: 1000              # link speed in Mbit/s, 0..4294967295 (default
//                                # 0, unknown)
//       lldp:                    # LLDP port data (LLDP port types only)
//         port-id: {subtype: interface-name, value: ge-1/0/1}
//         description: "uplink"
//         pvid: 1
//         vlans: [{id: 1, name: default}]
//         proto-vlans: [{id: 100, supported: true, enabled: true}]
//         management-vid: 100
//         link-aggregation: {capable: true, enabled: false, port-id: 0}
//         mac-phy: {autoneg-supported: true, autoneg-enabled: true,
//                   advertised-cap: 0x6C01, mau-type: 30}
//         power: {port-class: pse, supported: true, enabled: true,
//                 pair-control: false, pairs: 1, class: 1}
//         max-frame-size: 1522
//         neighbour-limit: 64
//         dcbx:
//           ets: {willing: false, cbs: false, traffic-classes: 8,
//                 priority-tc: [0, 1, 2, 3, 4, 5, 6, 7],
//                 bandwidth: [...8 values], tsa: [ets, ets, ...]}
//           ets-recommendation: {priority-tc: [...], bandwidth: [...], tsa: [...]}
//           pfc: {willing: false, mbc: false, cap: 8, enabled: [3]}
//           applications: [{selector: ethertype, protocol: 0x8906, priority: 3}]
//         agents:
//           - agent: nearest-bridge  # required: 1..3 or its name
//             admin-status: tx-and-rx
//             notification: false
//             tlvs: [port-desc, sys-name, sys-desc, sys-cap, port-vlan, ...]
//             vlan-name-id: 1
//             proto-vlan-id: 100
//             management-address: {address: 192.0.2.1, transmit: true}
//   neighbours:
//     - port: 1                  # required: ifindex or interface name
//       agent: nearest-bridge
//       at: 0                    # clock at which the LLDPDU is received
//       refresh: false           # true: received again every txInterval from
//                                # 'at' on (the stack's txInterval at each
//                                # reception), so it does not age out while
//                                # the clock runs
//       silent: {every: 600, for: 200}
//                                # seconds: refreshed, but silent during the
//                                # last 'for' seconds of every 'every' seconds
//                                # counted from 'at' (every 2..86400, for
//                                # 1..every-1); with a TTL below 'for' it ages
//                                # out while silent and comes back as a new
//                                # neighbour; implies refresh: true
//       lldpdu: "020704..."      # the LLDPDU's TLVs in hex, or the fields:
//       chassis-id: {subtype: local, value: ip-phone-7}   # required
//       port-id: {subtype: interface-name, value: eth0}   # required
//       ttl: 120
//       port-description, system-name, system-description, capabilities,
//       management-addresses, port-vlan, proto-vlans, vlan-names,
//       protocol-ids, vid-usage-digest, management-vid, link-aggregation,
//       mac-phy, power, max-frame-size, ets, ets-recommendation, pfc,
//       applications (as for a port), unknown-tlvs: [{type: 100, info: "0102"}],
//       org-tlvs: [{oui: "00-11-22", subtype: 1, info: "0a0b"}]
#pragma once

#include <string>

namespace lldpv2host {

// Loads a scenario; false with *error set (when error is not null) if it is refused.
bool LoadScenarioFile(const std::string &path, std::string *error);
// name stands for the file in error messages.
bool LoadScenarioText(const std::string &text, std::string *error, const std::string &name = "<scenario>");
// The compiled-in default scenario: a two-node stack with ports of several
// type classes, all three agents and varied neighbours, refreshed so that
// they stay, but for one that goes silent and comes back every ten minutes
// and one that ages out two minutes after loading.
bool LoadDefaultScenario(std::string *error = nullptr);
const char *DefaultScenarioText();

}  // namespace lldpv2host
