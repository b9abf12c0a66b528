// A neighbour as a daemon stores it: the remote system information received
// on one (port, agent), keyed by the remote index the agent gave it.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>

#include "lldp/lldpdu.h"

namespace lldpv2host::daemon {

// Key of a neighbour inside the switch (the TFAI without its time mark).
struct RemKey {
    uint32_t ifIndex = 0;
    uint32_t agent = 0;
    uint32_t remIndex = 0;
    auto operator<=>(const RemKey &) const = default;
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

// Where the columns of a remote systems row lie in a neighbour's TLV stream
// (offsets from its start), found when the information is stored, so that a
// query copies them without decoding the stream. When valid is false the
// query decodes the stream instead.
struct SystemFields {
    uint16_t chassisIdOff = 0;
    uint16_t chassisIdLen = 0;
    uint16_t portIdOff = 0;
    uint16_t portIdLen = 0;
    // Port description, system name, system description.
    uint16_t textOff[3] = {};
    uint16_t textLen[3] = {};
    uint16_t capSupported = 0;
    uint16_t capEnabled = 0;
    uint8_t chassisIdSubtype = 0;
    uint8_t portIdSubtype = 0;
    uint8_t textPresent = 0;  // bit per text
    bool valid = false;
};

// One row source of a remote sub-table in a neighbour's TLV stream: the TLV
// (or, for application priorities, the entry inside the TLV) at off, of a
// family of sub-tables; ordinal numbers the TLVs of one organizationally
// defined type (from 1) or the protocol identities, in stream order. A
// neighbour keeps these sorted by family and then by the sub-index of the
// rows they make, with equal sub-indexes left out (the first TLV stands),
// so that a get-next of a sub-table finds its row without decoding.
struct SubEntry {
    uint16_t off = 0;
    uint8_t family = 0;
    uint8_t ordinal = 0;
};

// The information is kept as its TLV stream only (valid TLVs, End TLV
// included), compact and in one piece: the stream follows the record in the
// same allocation (see NeighbourStore), so that reading a neighbour touches
// one run of cache lines. Queries decode what they need, except the remote
// systems row, whose columns sys locates.
struct Neighbour {
    RemKey key;
    uint32_t changeTime = 0;  // clock (hundredths) of the insert or the last change of content
    uint32_t expiry = 0;      // clock at which the information ages out
    uint32_t features = 0;    // bit per Feature
    uint32_t tlvLen = 0;      // octets of the TLV stream
    uint32_t capacity = 0;    // octets the allocation has for the stream
    uint16_t ttl = 0;
    uint8_t manAddrCount = 0;
    bool remoteChanges = false;
    SystemFields sys;
    uint16_t subCount = 0;  // SubEntry values after the TLV stream (at SubOffset)

    static size_t SubOffset(size_t tlvLen) { return (tlvLen + 3) & ~size_t{3}; }
    static size_t PayloadSize(size_t tlvLen, size_t subCount) { return SubOffset(tlvLen) + subCount * sizeof(SubEntry); }

    const uint8_t *Tlvs() const { return reinterpret_cast<const uint8_t *>(this + 1); }
    uint8_t *Tlvs() { return reinterpret_cast<uint8_t *>(this + 1); }
    std::span<const uint8_t> TlvSpan() const { return {Tlvs(), tlvLen}; }
    std::span<const SubEntry> SubEntries() const {
        return {reinterpret_cast<const SubEntry *>(Tlvs() + SubOffset(tlvLen)), subCount};
    }
    bool Has(Feature f) const { return (features >> f) & 1u; }
    lldp::Lldpdu Decode() const { return lldp::DecodeLldpdu(Tlvs(), tlvLen).pdu; }
};
static_assert(sizeof(Neighbour) % alignof(Neighbour) == 0, "the TLV stream follows the record");

// The features of a decoded LLDPDU.
uint32_t FeaturesOf(const lldp::Lldpdu &pdu);

}  // namespace lldpv2host::daemon
