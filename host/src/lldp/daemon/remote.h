// A neighbour as a daemon stores it: the remote system information received
// on one (port, agent), keyed by the remote index the agent gave it.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "lldp/lldpdu.h"

namespace lldpv2host::daemon {

// Key of a neighbour inside the switch (the TFAI without its time mark).
struct RemKey {
    uint32_t ifIndex = 0;
    uint32_t agent = 0;
    uint32_t remIndex = 0;
    auto operator<=>(const RemKey &) const = default;
};

struct RemKeyHash {
    size_t operator()(const RemKey &k) const {
        uint64_t h = (uint64_t{k.ifIndex} << 34) ^ (uint64_t{k.agent} << 30) ^ k.remIndex;
        h ^= h >> 29;
        h *= 0xBF58476D1CE4E5B9ull;
        return static_cast<size_t>(h ^ (h >> 32));
    }
};

// What a neighbour's information carries; each remote query that skips
// neighbours without some data names the feature it needs.
enum Feature : unsigned {
    kFeatAll = 0,      // every neighbour
    kFeatPortVlan,     // 802.1 port VLAN id
    kFeatLinkAgg,      // 802.1 link aggregation
    kFeatMacPhy,       // 802.3 MAC/PHY
    kFeatPower,        // 802.3 power via MDI
    kFeatMaxFrame,     // 802.3 maximum frame size
    kFeatEtsConf,      // DCBX ETS configuration
    kFeatEtsReco,      // DCBX ETS recommendation
    kFeatPfc,          // DCBX PFC
    kFeatApp,          // DCBX application priority, at least one entry
    kFeatManAddr,      // at least one management address
    kFeatUnknown,      // at least one TLV of a reserved type
    kFeatOrgDef,       // at least one organizationally specific TLV not decoded
    kFeatProtoVlan,    // at least one port and protocol VLAN id
    kFeatVlanName,     // at least one VLAN name
    kFeatProtocol,     // at least one protocol identity
    kFeatVidDigest,    // VID usage digest
    kFeatManVid,       // management VID
    kFeatureCount
};

// The information is kept as its TLV stream only (valid TLVs, End TLV
// included), compact and in one piece; queries decode what they need.
struct Neighbour {
    RemKey key;
    uint32_t changeTime = 0;  // clock (hundredths) of the insert or the last change of content
    uint32_t expiry = 0;      // clock at which the information ages out
    uint32_t features = 0;    // bit per Feature
    uint16_t ttl = 0;
    uint8_t manAddrCount = 0;
    bool remoteChanges = false;
    std::vector<uint8_t> tlvs;

    bool Has(Feature f) const { return (features >> f) & 1u; }
    lldp::Lldpdu Decode() const { return lldp::DecodeLldpdu(tlvs).pdu; }
};

// The features of a decoded LLDPDU.
uint32_t FeaturesOf(const lldp::Lldpdu &pdu);

}  // namespace lldpv2host::daemon
