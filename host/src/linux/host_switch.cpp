// The host itself as a one-node switch: which links are its ports, and the
// scenario that describes them (loaded like any scenario, so that it is
// checked the same way).
#include <arpa/inet.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "lldpv2host/live.h"
#include "lldpv2host/switch.h"

namespace lldpv2host::live {

namespace {

// A YAML double-quoted scalar.
std::string Quote(const std::string &s) {
    std::string out = "\"";
    for (unsigned char c : s) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20 || c == 0x7F) {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\x%02x", c);
            out += buf;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string AddressText(const AddressInfo &a) {
    char buf[INET6_ADDRSTRLEN] = {};
    if (!inet_ntop(a.family, a.address.data(), buf, sizeof buf)) return {};
    return buf;
}

bool AllZero(const Mac &mac) {
    return std::all_of(mac.begin(), mac.end(), [](uint8_t b) { return b == 0; });
}

// Addresses worth announcing: not host-scoped (127.0.0.1, ::1), not IPv6
// link-local (which names no interface of its own to a neighbour). The
// ports' own addresses come first, then those of the host's other
// interfaces (where its management address often is); IPv4 before IPv6.
std::vector<AddressInfo> ManagementAddresses(const std::vector<AddressInfo> &all, const std::vector<LinkInfo> &ports) {
    std::vector<AddressInfo> out;
    auto isPort = [&](uint32_t ifIndex) {
        return std::any_of(ports.begin(), ports.end(), [&](const LinkInfo &p) { return p.ifIndex == ifIndex; });
    };
    auto take = [&](const AddressInfo &a) {
        if (a.scope == RT_SCOPE_HOST || a.scope == RT_SCOPE_NOWHERE) return;
        if (a.family == AF_INET6 && a.scope == RT_SCOPE_LINK) return;
        const bool dup = std::any_of(out.begin(), out.end(), [&](const AddressInfo &o) { return o.address == a.address; });
        if (!dup) out.push_back(a);
    };
    for (int family : {AF_INET, AF_INET6}) {
        for (const LinkInfo &port : ports) {
            for (const AddressInfo &a : all) {
                if (a.ifIndex == port.ifIndex && a.family == family) take(a);
            }
        }
    }
    for (int family : {AF_INET, AF_INET6}) {
        for (const AddressInfo &a : all) {
            if (!isPort(a.ifIndex) && a.family == family) take(a);
        }
    }
    return out;
}

}  // namespace

std::string FormatMac(const Mac &mac) {
    char buf[18];
    std::snprintf(buf, sizeof buf, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    return buf;
}

const char *InterfaceTypeForSpeed(uint32_t speedMbps) {
    switch (speedMbps) {
        case 100: return "fast-ethernet";
        case 1000: return "gigabit-ethernet";
        case 2500:
        case 5000: return "multi-gigabit-ethernet";
        case 10000: return "ten-gigabit-ethernet";
        case 25000: return "twenty-five-gigabit-ethernet";
        case 40000: return "forty-gigabit-ethernet";
        case 50000: return "fifty-gigabit-ethernet";
        case 100000: return "hundred-gigabit-ethernet";
        case 200000: return "two-hundred-gigabit-ethernet";
        case 400000: return "four-hundred-gigabit-ethernet";
        case 800000: return "eight-hundred-gigabit-ethernet";
        default: return "ethernet";
    }
}

bool DescribeHost(HostInfo &host, std::string *error) {
    char name[256] = {};
    if (gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') std::snprintf(name, sizeof name, "localhost");
    host.hostname = name;
    utsname u{};
    if (uname(&u) == 0) {
        host.description = std::string(u.sysname) + " " + u.release + " " + u.machine;
    } else {
        host.description = "Linux";
    }
    return QueryHost(host.links, host.addresses, error);
}

std::optional<InterfaceSelection> InterfaceSelection::Parse(const std::string &text, std::string *error) {
    InterfaceSelection sel;
    if (text == "all") {
        sel.all = true;
        return sel;
    }
    std::stringstream in(text);
    std::string name;
    while (std::getline(in, name, ',')) {
        if (name.empty()) continue;
        if (name.size() >= 16 || name.find('/') != std::string::npos || name == "all") {
            if (error) *error = "'" + name + "' is not an interface name";
            return std::nullopt;
        }
        if (std::find(sel.names.begin(), sel.names.end(), name) == sel.names.end()) sel.names.push_back(name);
    }
    if (sel.names.empty()) {
        if (error) *error = "no interface named (give names separated by commas, or all)";
        return std::nullopt;
    }
    return sel;
}

bool InterfaceSelection::Wants(const LinkInfo &link) const {
    if (!link.ethernet || link.loopback) return false;
    if (all) return link.operUp;
    return std::find(names.begin(), names.end(), link.name) != names.end();
}

bool SelectLinks(const std::vector<LinkInfo> &links, const InterfaceSelection &selection,
                 std::vector<LinkInfo> &selected, std::vector<std::string> *missing, std::string *error) {
    selected.clear();
    if (selection.all) {
        for (const LinkInfo &l : links) {
            if (selection.Wants(l)) selected.push_back(l);
        }
        std::sort(selected.begin(), selected.end(),
                  [](const LinkInfo &a, const LinkInfo &b) { return a.ifIndex < b.ifIndex; });
        return true;
    }
    for (const std::string &name : selection.names) {
        auto it = std::find_if(links.begin(), links.end(), [&](const LinkInfo &l) { return l.name == name; });
        if (it == links.end()) {
            if (missing) missing->push_back(name);
            continue;
        }
        if (!it->ethernet || it->loopback) {
            if (error) *error = "interface " + name + " is not an Ethernet interface";
            return false;
        }
        selected.push_back(*it);
    }
    return true;
}

std::string HostScenarioText(const HostInfo &host, const std::vector<LinkInfo> &ports) {
    std::ostringstream y;
    y << "# The host " << Quote(host.hostname) << " as a one-node switch.\n";
    y << "system:\n";
    const auto chassis = std::find_if(ports.begin(), ports.end(), [](const LinkInfo &l) { return !AllZero(l.mac); });
    if (chassis != ports.end()) {
        y << "  chassis-id: {subtype: mac-address, value: \"" << FormatMac(chassis->mac) << "\"}\n";
    } else {
        y << "  chassis-id: {subtype: local, value: " << Quote(host.hostname) << "}\n";
    }
    y << "  name: " << Quote(host.hostname) << "\n";
    y << "  description: " << Quote(host.description) << "\n";
    y << "  capabilities: {supported: [station-only], enabled: [station-only]}\n";
    const std::vector<AddressInfo> addrs = ManagementAddresses(host.addresses, ports);
    y << "nodes:\n";
    y << "  - id: 1\n";
    if (!addrs.empty()) {
        y << "    management-addresses:\n";
        for (const AddressInfo &a : addrs) {
            y << "      - {address: \"" << AddressText(a) << "\", if-subtype: 2, if-id: " << a.ifIndex << "}\n";
        }
    }
    if (ports.empty()) return y.str();
    y << "interfaces:\n";
    for (const LinkInfo &l : ports) {
        y << "  - ifindex: " << l.ifIndex << "\n";
        y << "    node: 1\n";
        y << "    type: " << InterfaceTypeForSpeed(l.speedMbps) << "\n";
        y << "    name: " << Quote(l.name) << "\n";
        y << "    linux: " << Quote(l.name) << "\n";
        y << "    mac: \"" << FormatMac(l.mac) << "\"\n";
        y << "    link: " << (l.operUp ? "up" : "down") << "\n";
        y << "    speed: " << l.speedMbps << "\n";
        y << "    lldp:\n";
        y << "      port-id: {subtype: interface-name, value: " << Quote(l.name) << "}\n";
        y << "      description: " << Quote(l.name) << "\n";
        // A host speaks to its nearest bridge; it listens on the other two
        // group addresses but sends nothing there (01-80-C2-00-00-00 is
        // also the bridges' spanning tree address).
        y << "      agents:\n";
        y << "        - agent: nearest-bridge\n";
        y << "          admin-status: tx-and-rx\n";
        if (!addrs.empty()) {
            y << "          management-address: {address: \"" << AddressText(addrs.front()) << "\", transmit: true}\n";
        }
        y << "        - {agent: nearest-non-tpmr-bridge, admin-status: rx-only}\n";
        y << "        - {agent: nearest-customer-bridge, admin-status: rx-only}\n";
    }
    return y.str();
}

Interface InterfaceOfLink(const LinkInfo &link) {
    Interface intf;
    intf.ifIndex = link.ifIndex;
    intf.name = link.name;
    intf.node = 1;
    intf.type = InterfaceTypeByName(InterfaceTypeForSpeed(link.speedMbps)).value_or(18);
    intf.linuxName = link.name;
    intf.mac = link.mac;
    intf.operUp = link.operUp;
    intf.speedMbps = link.speedMbps;
    return intf;
}

}  // namespace lldpv2host::live
