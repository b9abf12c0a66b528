// The interface type codes of the port classes, in one place: which ports
// run LLDP and which agents, and the narrower sets of the extension tables.
// The order of each list is the order in which a walk adds the types to its
// interface selection.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace lldpv2 {

// Ordinary LLDP ports: agents 1, 2 and 3. The first six are the Ethernet
// port types.
inline constexpr std::array<uint32_t, 14> kOrdinaryPortTypes = {18, 19, 21, 88, 68, 69, 22,
                                                                23, 25, 89, 70, 71, 26, 28};
// Second class: agents 2 and 3.
inline constexpr std::array<uint32_t, 2> kSecondClassPortTypes = {56, 67};
// Customer-bridge-only class: agent 3.
inline constexpr std::array<uint32_t, 2> kCustomerBridgeOnlyPortTypes = {82, 87};
// Nearest-bridge-only class: agent 1.
inline constexpr std::array<uint32_t, 2> kNearestBridgeOnlyPortTypes = {31, 35};

// Ethernet ports, the ones that carry DCBX.
inline constexpr std::span<const uint32_t, 6> kEthernetPortTypes{kOrdinaryPortTypes.data(), 6};
// Ports that carry the 802.1 local data and transmit switches: the Ethernet
// ones and aggregates (the first second-class type).
inline constexpr std::array<uint32_t, 7> kDot1PortTypes = {18, 19, 21, 88, 68, 69, 56};
// The aggregate type, whose ports run only the agents 2 and 3.
inline constexpr uint32_t kAggregatePortType = kSecondClassPortTypes[0];

// Whether type is one of types.
constexpr bool HasType(std::span<const uint32_t> types, uint32_t type) {
    for (uint32_t t : types)
        if (t == type) return true;
    return false;
}

}  // namespace lldpv2
