// The platform's interface type codes: their names and which LLDP agents
// each type class allows.
#include <charconv>
#include <map>

#include "lldpv2host/switch.h"

namespace lldpv2host {

namespace {

struct TypeEntry {
    const char *name;
    PortClass portClass;
};

// Codes by the port class they belong to; codes not listed are not LLDP ports.
const std::map<uint32_t, TypeEntry> &TypeTable() {
    static const std::map<uint32_t, TypeEntry> table = {
        // Ordinary LLDP ports.
        {18, {"ethernet", PortClass::Ordinary}},
        {19, {"fast-ethernet", PortClass::Ordinary}},
        {21, {"gigabit-ethernet", PortClass::Ordinary}},
        {22, {"forty-gigabit-ethernet", PortClass::Ordinary}},
        {23, {"fifty-gigabit-ethernet", PortClass::Ordinary}},
        {25, {"hundred-gigabit-ethernet", PortClass::Ordinary}},
        {26, {"two-hundred-gigabit-ethernet", PortClass::Ordinary}},
        {28, {"four-hundred-gigabit-ethernet", PortClass::Ordinary}},
        {68, {"ten-gigabit-ethernet", PortClass::Ordinary}},
        {69, {"twenty-five-gigabit-ethernet", PortClass::Ordinary}},
        {70, {"multi-gigabit-ethernet", PortClass::Ordinary}},
        {71, {"combo-ethernet", PortClass::Ordinary}},
        {88, {"breakout-ethernet", PortClass::Ordinary}},
        {89, {"eight-hundred-gigabit-ethernet", PortClass::Ordinary}},
        // Link aggregations: no nearest-bridge agent.
        {56, {"aggregate", PortClass::Aggregate}},
        {67, {"stack-aggregate", PortClass::Aggregate}},
        // Ports towards a provider network: customer-bridge agent only.
        {82, {"customer-network-port", PortClass::CustomerBridgeOnly}},
        {87, {"s-channel", PortClass::CustomerBridgeOnly}},
        // Out-of-band ports: nearest-bridge agent only.
        {31, {"management-ethernet", PortClass::NearestBridgeOnly}},
        {35, {"stack-port", PortClass::NearestBridgeOnly}},
        // Interfaces without LLDP.
        {1, {"console", PortClass::NotLldp}},
        {24, {"loopback", PortClass::NotLldp}},
        {27, {"null-interface", PortClass::NotLldp}},
        {29, {"vlan-interface", PortClass::NotLldp}},
        {40, {"tunnel", PortClass::NotLldp}},
        {41, {"serial", PortClass::NotLldp}},
    };
    return table;
}

const std::map<std::string, uint32_t, std::less<>> &CodesByName() {
    static const std::map<std::string, uint32_t, std::less<>> byName = [] {
        std::map<std::string, uint32_t, std::less<>> m;
        for (const auto &[code, entry] : TypeTable()) m.emplace(entry.name, code);
        return m;
    }();
    return byName;
}

std::optional<uint32_t> ParseDecimal(std::string_view s) {
    uint32_t v = 0;
    auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (s.empty() || ec != std::errc() || end != s.data() + s.size()) return std::nullopt;
    return v;
}

}  // namespace

PortClass PortClassOf(uint32_t type) {
    auto it = TypeTable().find(type);
    return it == TypeTable().end() ? PortClass::NotLldp : it->second.portClass;
}

bool AgentAllowed(uint32_t type, uint32_t agent) {
    switch (PortClassOf(type)) {
    case PortClass::Ordinary:
        return agent >= 1 && agent <= 3;
    case PortClass::Aggregate:
        return agent == 2 || agent == 3;
    case PortClass::CustomerBridgeOnly:
        return agent == 3;
    case PortClass::NearestBridgeOnly:
        return agent == 1;
    case PortClass::NotLldp:
        break;
    }
    return false;
}

uint32_t FirstAgentOf(uint32_t type) {
    switch (PortClassOf(type)) {
    case PortClass::Aggregate:
        return 2;
    case PortClass::CustomerBridgeOnly:
        return 3;
    default:
        return 1;
    }
}

const std::vector<InterfaceTypeInfo> &InterfaceTypes() {
    static const std::vector<InterfaceTypeInfo> types = [] {
        std::vector<InterfaceTypeInfo> v;
        for (const auto &[code, entry] : TypeTable()) v.push_back({code, entry.name});
        return v;
    }();
    return types;
}

std::optional<uint32_t> InterfaceTypeByName(const std::string &name) {
    if (auto it = CodesByName().find(name); it != CodesByName().end()) return it->second;
    std::string_view s(name);
    if (s.starts_with("type-")) s.remove_prefix(5);
    return ParseDecimal(s);
}

std::string InterfaceTypeName(uint32_t code) {
    auto it = TypeTable().find(code);
    if (it != TypeTable().end()) return it->second.name;
    return "type-" + std::to_string(code);
}

}  // namespace lldpv2host
