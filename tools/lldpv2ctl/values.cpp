#include "values.h"

#include <arpa/inet.h>

#include <cstdio>

namespace lldpv2ctl {

namespace {

std::string Named(int64_t value, const std::vector<std::pair<int64_t, const char *>> &names) {
    for (const auto &[v, n] : names) {
        if (v == value) return n;
    }
    return std::to_string(value);
}

}  // namespace

std::string Hex(const std::string &bytes) {
    std::string out;
    char buf[4];
    for (unsigned char c : bytes) {
        if (!out.empty()) out += ':';
        std::snprintf(buf, sizeof buf, "%02x", c);
        out += buf;
    }
    return out;
}

bool IsPrintable(const std::string &bytes) {
    size_t i = 0;
    while (i < bytes.size()) {
        const auto c = static_cast<unsigned char>(bytes[i]);
        if (c < 0x80) {
            if (c < 0x20 || c == 0x7f) return false;
            ++i;
            continue;
        }
        size_t extra = (c & 0xE0) == 0xC0 ? 1 : (c & 0xF0) == 0xE0 ? 2 : (c & 0xF8) == 0xF0 ? 3 : 0;
        if (extra == 0 || i + extra >= bytes.size()) return false;
        for (size_t k = 1; k <= extra; ++k) {
            if ((static_cast<unsigned char>(bytes[i + k]) & 0xC0) != 0x80) return false;
        }
        i += extra + 1;
    }
    return true;
}

std::string TextOrHex(const std::string &bytes) { return IsPrintable(bytes) ? bytes : Hex(bytes); }

std::string AddressFamilyName(int64_t family) {
    return Named(family, {{1, "ipv4"}, {2, "ipv6"}, {6, "all802"}, {16, "dns"}});
}

std::string AddressText(int64_t family, const std::string &address) {
    char buf[INET6_ADDRSTRLEN];
    if (family == 1 && address.size() == 4 && inet_ntop(AF_INET, address.data(), buf, sizeof buf)) return buf;
    if (family == 2 && address.size() == 16 && inet_ntop(AF_INET6, address.data(), buf, sizeof buf)) return buf;
    if (family == 16 && IsPrintable(address)) return address;
    return Hex(address);
}

std::string ChassisIdSubtypeName(int64_t subtype) {
    return Named(subtype, {{1, "chassis-component"},
                           {2, "interface-alias"},
                           {3, "port-component"},
                           {4, "mac-address"},
                           {5, "network-address"},
                           {6, "interface-name"},
                           {7, "local"}});
}

std::string PortIdSubtypeName(int64_t subtype) {
    return Named(subtype, {{1, "interface-alias"},
                           {2, "port-component"},
                           {3, "mac-address"},
                           {4, "network-address"},
                           {5, "interface-name"},
                           {6, "agent-circuit-id"},
                           {7, "local"}});
}

namespace {

// A MAC address or a network address (family octet, then the address);
// everything else is text when printable.
std::string IdText(bool mac, bool network, const std::string &id) {
    if (mac && id.size() == 6) return Hex(id);
    if (network && !id.empty()) {
        const auto family = static_cast<unsigned char>(id[0]);
        const std::string address = id.substr(1);
        if ((family == 1 && address.size() == 4) || (family == 2 && address.size() == 16))
            return AddressText(family, address);
        return Hex(id);
    }
    return TextOrHex(id);
}

}  // namespace

std::string ChassisIdText(int64_t subtype, const std::string &id) { return IdText(subtype == 4, subtype == 5, id); }

std::string PortIdText(int64_t subtype, const std::string &id) { return IdText(subtype == 3, subtype == 4, id); }

std::vector<std::string> BitNames(const std::string &bits, const std::vector<const char *> &names) {
    std::vector<std::string> out;
    for (size_t octet = 0; octet < bits.size(); ++octet) {
        const auto c = static_cast<unsigned char>(bits[octet]);
        for (int b = 0; b < 8; ++b) {
            if ((c & (0x80 >> b)) == 0) continue;
            const size_t bit = octet * 8 + static_cast<size_t>(b);
            out.push_back(bit < names.size() ? names[bit] : "bit-" + std::to_string(bit));
        }
    }
    return out;
}

std::vector<std::string> CapabilityNames(const std::string &bits) {
    return BitNames(bits, {"other", "repeater", "bridge", "wlan-ap", "router", "telephone", "docsis", "station",
                           "cvlan", "svlan", "tpmr"});
}

std::string AgentName(const std::string &mac) {
    if (mac == std::string("\x01\x80\xc2\x00\x00\x0e", 6)) return "nearest-bridge";
    if (mac == std::string("\x01\x80\xc2\x00\x00\x03", 6)) return "nearest-non-tpmr-bridge";
    if (mac == std::string("\x01\x80\xc2\x00\x00\x00", 6)) return "nearest-customer-bridge";
    return Hex(mac);
}

std::string ManAddrIfSubtypeName(int64_t subtype) {
    return Named(subtype, {{1, "unknown"}, {2, "if-index"}, {3, "system-port-number"}});
}

std::string AdminStatusName(int64_t status) {
    return Named(status, {{1, "tx-only"}, {2, "rx-only"}, {3, "tx-and-rx"}, {4, "disabled"}});
}

std::string TsaName(int64_t tsa) {
    return Named(tsa, {{0, "strict-priority"}, {1, "credit-based-shaper"}, {2, "ets"}, {255, "vendor-specific"}});
}

std::string AppSelectorName(int64_t selector) {
    return Named(selector, {{1, "ethertype"}, {2, "tcp-sctp-port"}, {3, "udp-dccp-port"}, {4, "tcp-udp-port"}});
}

std::string PowerPortClassName(int64_t c) { return Named(c, {{1, "pse"}, {2, "pd"}}); }

std::string TimeTicksText(int64_t ticks) {
    const int64_t cs = ticks % 100, s = ticks / 100 % 60, m = ticks / 6000 % 60, h = ticks / 360000 % 24,
                  d = ticks / 8640000;
    char buf[64];
    if (d > 0) {
        std::snprintf(buf, sizeof buf, "%lld:%02lld:%02lld:%02lld.%02lld", static_cast<long long>(d),
                      static_cast<long long>(h), static_cast<long long>(m), static_cast<long long>(s),
                      static_cast<long long>(cs));
    } else {
        std::snprintf(buf, sizeof buf, "%lld:%02lld:%02lld.%02lld", static_cast<long long>(h),
                      static_cast<long long>(m), static_cast<long long>(s), static_cast<long long>(cs));
    }
    return buf;
}

std::string Join(const std::vector<std::string> &parts, const std::string &separator) {
    std::string out;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) out += separator;
        out += parts[i];
    }
    return out;
}

}  // namespace lldpv2ctl
