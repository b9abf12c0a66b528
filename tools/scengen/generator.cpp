#include "generator.h"

#include <cstdio>
#include <random>
#include <sstream>
#include <vector>

namespace scengen {

namespace {

std::string Hex(const std::vector<uint8_t> &bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (uint8_t b : bytes) {
        out += digits[b >> 4];
        out += digits[b & 15];
    }
    return out;
}

void Tlv(std::vector<uint8_t> &out, uint8_t type, const std::vector<uint8_t> &info) {
    out.push_back(static_cast<uint8_t>((type << 1) | ((info.size() >> 8) & 1)));
    out.push_back(static_cast<uint8_t>(info.size()));
    out.insert(out.end(), info.begin(), info.end());
}

std::vector<uint8_t> Bytes(uint8_t first, const std::string &text) {
    std::vector<uint8_t> b{first};
    b.insert(b.end(), text.begin(), text.end());
    return b;
}

// The extra TLVs (Options::extraTlvs): a TLV type of the reserved range, and
// an organizationally defined TLV under a locally administered OUI that no
// decoder knows; both carry 8 octets that differ per neighbour.
constexpr uint8_t kExtraTlvType = 25;
constexpr uint8_t kExtraOui[3] = {0x02, 0x00, 0x01};
constexpr uint8_t kExtraSubtype = 1;

std::vector<uint8_t> ExtraInfo(uint32_t i) {
    return {0xBE, 0x0C, 0x00, 0x01, static_cast<uint8_t>(i >> 24), static_cast<uint8_t>(i >> 16),
            static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i)};
}

// The MAC address of neighbour i: locally administered, unique per neighbour.
std::vector<uint8_t> Mac(uint32_t i) {
    return {0x02, 0x10, static_cast<uint8_t>(i >> 24), static_cast<uint8_t>(i >> 16), static_cast<uint8_t>(i >> 8),
            static_cast<uint8_t>(i)};
}

std::string MacText(uint32_t i) {
    const std::vector<uint8_t> m = Mac(i);
    char buf[18];
    std::snprintf(buf, sizeof buf, "%02x:%02x:%02x:%02x:%02x:%02x", m[0], m[1], m[2], m[3], m[4], m[5]);
    return buf;
}

std::string Ipv4(uint32_t i) {
    return "10." + std::to_string((i >> 16) & 0xFF) + "." + std::to_string((i >> 8) & 0xFF) + "." +
           std::to_string(i & 0xFF);
}

}  // namespace

std::string Generate(const Options &o, std::string *error) {
    auto fail = [error](const std::string &what) {
        if (error != nullptr) *error = what;
        return std::string();
    };
    if (o.nodes == 0 || o.nodes > 64) return fail("--nodes must be 1..64");
    if (o.portsPerNode == 0 || o.portsPerNode > 999) return fail("--ports must be 1..999");
    if (o.agents == 0 || o.agents > 3) return fail("--agents must be 1..3");
    if (o.timeSpread == 0) return fail("--time-spread must be at least 1");

    std::mt19937 rng(o.seed);
    const uint32_t ports = o.nodes * o.portsPerNode;
    const uint32_t slots = ports * o.agents;
    const uint32_t perAgent = (o.neighbours + slots - 1) / slots;
    std::ostringstream y;
    y << "# Generated: " << o.nodes << " nodes x " << o.portsPerNode << " ports, " << o.neighbours
      << " neighbours on agents 1.." << o.agents << " (seed " << o.seed << ").\n";
    y << "system:\n  chassis-id: {subtype: mac-address, value: \"02:00:5e:10:00:01\"}\n"
      << "  name: load-sw-1\n  capabilities: {supported: [bridge, router], enabled: [bridge]}\n";
    y << "clock: " << (o.timeSpread - 1) * 10 << "\n";
    y << "nodes:\n";
    for (uint32_t n = 1; n <= o.nodes; ++n) {
        y << "  - id: " << n << "\n    management-addresses: [{address: 192.0.2." << n << ", if-id: " << n * 1000
          << "}]\n";
    }
    y << "interfaces:\n";
    for (uint32_t n = 1; n <= o.nodes; ++n) {
        for (uint32_t p = 1; p <= o.portsPerNode; ++p) {
            const uint32_t ifIndex = n * 1000 + p;
            const bool fast = p % 8 == 0;
            y << "  - {ifindex: " << ifIndex << ", node: " << n << ", name: " << (fast ? "xe-" : "ge-") << n << "/0/"
              << p << ", type: " << (fast ? "ten-gigabit-ethernet" : "gigabit-ethernet")
              << ", lldp: {neighbour-limit: " << (perAgent < 1 ? 1 : perAgent) << "}}\n";
        }
    }
    if (o.neighbours == 0) return y.str();
    y << "neighbours:\n";
    for (uint32_t i = 0; i < o.neighbours; ++i) {
        const uint32_t slot = i % slots;
        const uint32_t port = slot / o.agents;
        const uint32_t agent = slot % o.agents + 1;
        const uint32_t node = port / o.portsPerNode + 1;
        const uint32_t ifIndex = node * 1000 + port % o.portsPerNode + 1;
        const uint32_t at = (i % o.timeSpread) * 10;
        const std::string name = "host-" + std::to_string(i);
        const uint16_t vlan = static_cast<uint16_t>(1 + rng() % 4094);
        const bool dcbx = o.dcbxEvery != 0 && i % o.dcbxEvery == 0;
        if (o.raw) {
            std::vector<uint8_t> pdu;
            std::vector<uint8_t> chassis{4};
            const std::vector<uint8_t> mac = Mac(i);
            chassis.insert(chassis.end(), mac.begin(), mac.end());
            Tlv(pdu, 1, chassis);
            Tlv(pdu, 2, Bytes(5, "eth" + std::to_string(i % 4)));
            Tlv(pdu, 3, {0xFF, 0xFF});
            Tlv(pdu, 5, std::vector<uint8_t>(name.begin(), name.end()));
            Tlv(pdu, 7, {0x00, 0x80, 0x00, 0x80});  // station only
            Tlv(pdu, 8, {5, 1, 10, static_cast<uint8_t>(i >> 16), static_cast<uint8_t>(i >> 8), static_cast<uint8_t>(i),
                         2, 0, 0, 0, 1, 0});
            Tlv(pdu, 127, {0x00, 0x80, 0xC2, 1, static_cast<uint8_t>(vlan >> 8), static_cast<uint8_t>(vlan)});
            if (dcbx) Tlv(pdu, 127, {0x00, 0x80, 0xC2, 11, 0x08, 0x08});  // PFC: cap 8, priority 3
            if (o.extraTlvs) {
                const std::vector<uint8_t> info = ExtraInfo(i);
                Tlv(pdu, kExtraTlvType, info);
                std::vector<uint8_t> org{kExtraOui[0], kExtraOui[1], kExtraOui[2], kExtraSubtype};
                org.insert(org.end(), info.begin(), info.end());
                Tlv(pdu, 127, org);
            }
            Tlv(pdu, 0, {});
            y << "  - {port: " << ifIndex << ", agent: " << agent << ", at: " << at << ", lldpdu: \"" << Hex(pdu)
              << "\"}\n";
            continue;
        }
        y << "  - port: " << ifIndex << "\n    agent: " << agent << "\n    at: " << at << "\n"
          << "    chassis-id: {subtype: mac-address, value: \"" << MacText(i) << "\"}\n"
          << "    port-id: {subtype: interface-name, value: eth" << i % 4 << "}\n"
          << "    ttl: 65535\n    system-name: " << name << "\n"
          << "    capabilities: {supported: [station-only], enabled: [station-only]}\n"
          << "    management-addresses: [{address: " << Ipv4(i) << ", if-id: 1}]\n"
          << "    port-vlan: " << vlan << "\n";
        if (dcbx) y << "    pfc: {willing: true, cap: 8, enabled: [3]}\n";
        if (o.extraTlvs) {
            const std::string info = Hex(ExtraInfo(i));
            y << "    unknown-tlvs: [{type: " << unsigned(kExtraTlvType) << ", info: \"" << info << "\"}]\n"
              << "    org-tlvs: [{oui: \"" << Hex({kExtraOui[0]}) << "-" << Hex({kExtraOui[1]}) << "-"
              << Hex({kExtraOui[2]}) << "\", subtype: " << unsigned(kExtraSubtype) << ", info: \"" << info << "\"}]\n";
        }
    }
    return y.str();
}

}  // namespace scengen
