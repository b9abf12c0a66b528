// Scenario loading (lldpv2host/scenario.h): the YAML is read and checked
// completely into a plan of changes first; only a plan without a mistake is
// applied to the switch model and the daemons.
#include "lldpv2host/scenario.h"

#include <arpa/inet.h>
#include <malloc.h>
#include <yaml-cpp/depthguard.h>
#include <yaml-cpp/exceptions.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

#include "lldp/daemon/daemon.h"
#include "lldp/daemon/scenario_doc.h"
#include "lldpv2/lldp_client.h"

namespace lldpv2host {

using namespace daemon;

namespace {

// A mistake at a place of the file.
struct ScenarioError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

uint64_t g_sizeLimit = kDefaultScenarioSizeLimit;

// How deep a scenario nests at most: the deepest field (a DCBX list of a
// port's LLDP data) lies 7 levels down.
constexpr int kMaxNesting = 16;

// The mistakes of one file, in the order found, each once, at most
// kMaxScenarioErrors of them.
class Errors {
public:
    explicit Errors(size_t limit = kMaxScenarioErrors) : limit_(limit) {}
    void Add(const std::string &what) {
        if (std::find(list_.begin(), list_.end(), what) != list_.end()) return;
        if (list_.size() < limit_) {
            list_.push_back(what);
        } else {
            more_ = true;
        }
    }
    void SetMore() { more_ = true; }
    bool Empty() const { return list_.empty(); }
    const std::vector<std::string> &List() const { return list_; }
    bool More() const { return more_; }

private:
    size_t limit_;
    std::vector<std::string> list_;
    bool more_ = false;
};

// The mistakes kept of one part of a file while it is read: enough that the
// first kMaxScenarioErrors of the whole remain after dropping repetitions.
constexpr size_t kPartLimit = 2 * kMaxScenarioErrors;

std::string KindOf(const Doc &n) {
    if (!n.IsDefined() || n.IsNull()) return "nothing";
    if (n.IsMap()) return "a mapping";
    if (n.IsSequence()) return "a list";
    return "'" + n.Scalar() + "'";
}

// The offset of the first octet of s that does not belong to a well-formed
// UTF-8 sequence (no overlong forms, no surrogates, at most U+10FFFF).
std::optional<size_t> Utf8Error(const std::string &s) {
    const auto *b = reinterpret_cast<const unsigned char *>(s.data());
    const size_t n = s.size();
    for (size_t i = 0; i < n;) {
        const unsigned char c = b[i];
        size_t len = 0;
        uint32_t cp = 0;
        if (c < 0x80) {
            ++i;
            continue;
        } else if ((c & 0xE0) == 0xC0) {
            len = 2;
            cp = c & 0x1F;
        } else if ((c & 0xF0) == 0xE0) {
            len = 3;
            cp = c & 0x0F;
        } else if ((c & 0xF8) == 0xF0) {
            len = 4;
            cp = c & 0x07;
        } else {
            return i;
        }
        if (i + len > n) return i;
        for (size_t k = 1; k < len; ++k) {
            if ((b[i + k] & 0xC0) != 0x80) return i;
            cp = (cp << 6) | (b[i + k] & 0x3F);
        }
        const uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
        if (cp < least[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return i;
        i += len;
    }
    return std::nullopt;
}

class Reader {
public:
    Reader(std::string file, Errors *errors) : file_(std::move(file)), errors_(errors) {}

    std::string At(const Doc &at) const {
        const int line = at.Mark().is_null() ? 0 : at.Mark().line + 1;
        return file_ + ":" + std::to_string(line) + ": ";
    }

    [[noreturn]] void Fail(const Doc &at, const std::string &what) const { throw ScenarioError(At(at) + what); }

    // Reads one item (a section, a node, an interface, a neighbour); its
    // first mistake is recorded and reading goes on with the next item.
    template <typename F>
    void Item(F &&read) const {
        try {
            read();
        } catch (const ScenarioError &e) {
            errors_->Add(e.what());
        }
    }

    // Refuses keys of a map that are not in allowed.
    void Keys(const Doc &map, const std::string &what, std::initializer_list<std::string_view> allowed) const {
        if (!map.IsMap()) Fail(map, what + ": expected a mapping, found " + KindOf(map));
        for (const auto &kv : map) {
            const std::string key = kv.first.KeyText();
            if (std::none_of(allowed.begin(), allowed.end(), [&](std::string_view a) { return key == a; })) {
                Fail(kv.first, what + ": unknown key '" + key + "'");
            }
        }
    }

    void Seq(const Doc &n, const std::string &what) const {
        if (!n.IsSequence()) Fail(n, what + ": expected a list, found " + KindOf(n));
    }

    std::string Str(const Doc &n, const std::string &what) const {
        if (!n.IsScalar()) Fail(n, what + ": expected a text value, found " + KindOf(n));
        return n.Scalar();
    }

    uint64_t UInt(const Doc &n, const std::string &what, uint64_t min, uint64_t max) const {
        const std::string s = Str(n, what);
        const std::string range = std::to_string(min) + ".." + std::to_string(max);
        uint64_t v = 0;
        const bool negative = s.size() > 1 && s[0] == '-' && std::isdigit(static_cast<unsigned char>(s[1]));
        if (negative) Fail(n, what + ": " + s + " is negative (expected " + range + ")");
        try {
            size_t used = 0;
            if (s.empty() || s[0] == '+' || !std::isdigit(static_cast<unsigned char>(s[0]))) {
                throw std::invalid_argument(s);
            }
            v = std::stoull(s, &used, 0);
            if (used != s.size()) throw std::invalid_argument(s);
        } catch (const std::out_of_range &) {
            Fail(n, what + ": " + s + " is outside " + range);
        } catch (const std::exception &) {
            Fail(n, what + ": '" + s + "' is not a number (expected " + range + ")");
        }
        if (v < min || v > max) Fail(n, what + ": " + s + " is outside " + range);
        return v;
    }

    bool Bool(const Doc &n, const std::string &what) const {
        const std::string s = Str(n, what);
        if (s == "true" || s == "yes" || s == "on") return true;
        if (s == "false" || s == "no" || s == "off") return false;
        Fail(n, what + ": '" + s + "' is not true or false");
    }

    // A number, or one of the names of a table.
    uint64_t Named(const Doc &n, const std::string &what, const std::map<std::string, uint64_t> &names,
                   uint64_t min, uint64_t max) const {
        const std::string s = Str(n, what);
        auto it = names.find(s);
        if (it != names.end()) return it->second;
        if (!s.empty() && std::isdigit(static_cast<unsigned char>(s[0]))) return UInt(n, what, min, max);
        std::string known;
        for (const auto &[name, v] : names) known += (known.empty() ? "" : ", ") + name;
        Fail(n, what + ": unknown value '" + s + "' (known: " + known + ")");
    }

    // Octets written as hex digits, optionally separated by ':', '-', ' ' or '.'.
    std::vector<uint8_t> Hex(const Doc &n, const std::string &what) const {
        std::string s = Str(n, what);
        if (s.rfind("0x", 0) == 0 || s.rfind("0X", 0) == 0) s = s.substr(2);
        std::string digits;
        for (char c : s) {
            if (c == ':' || c == '-' || c == ' ' || c == '.') continue;
            if (!std::isxdigit(static_cast<unsigned char>(c))) Fail(n, what + ": '" + s + "' is not hex");
            digits += c;
        }
        if (digits.size() % 2 != 0) Fail(n, what + ": odd number of hex digits");
        std::vector<uint8_t> out;
        for (size_t i = 0; i < digits.size(); i += 2) {
            out.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
        }
        return out;
    }

    std::vector<uint8_t> Mac(const Doc &n, const std::string &what) const {
        std::vector<uint8_t> mac = Hex(n, what);
        if (mac.size() != 6) Fail(n, what + ": a MAC address has 6 octets");
        return mac;
    }

    // An IPv4 or IPv6 address as (IANA family, octets).
    std::pair<uint8_t, std::vector<uint8_t>> Ip(const Doc &n, const std::string &what) const {
        const std::string s = Str(n, what);
        uint8_t v6[16];
        if (inet_pton(AF_INET, s.c_str(), v6) == 1) return {1, std::vector<uint8_t>(v6, v6 + 4)};
        if (inet_pton(AF_INET6, s.c_str(), v6) == 1) return {2, std::vector<uint8_t>(v6, v6 + 16)};
        Fail(n, what + ": '" + s + "' is not an IPv4 or IPv6 address");
    }

    std::vector<uint8_t> Oid(const Doc &n, const std::string &what) const {
        const std::string s = Str(n, what);
        std::vector<uint32_t> ids;
        std::stringstream in(s);
        std::string part;
        while (std::getline(in, part, '.')) {
            if (part.empty() || part.find_first_not_of("0123456789") != std::string::npos || part.size() > 10) {
                Fail(n, what + ": '" + s + "' is not a dotted object identifier");
            }
            const unsigned long v = std::stoul(part);
            if (v > UINT32_MAX) Fail(n, what + ": sub-identifier " + part + " is too large");
            ids.push_back(static_cast<uint32_t>(v));
        }
        if (ids.size() < 2 || ids[0] > 2 || (ids[0] < 2 && ids[1] > 39)) {
            Fail(n, what + ": '" + s + "' is not a valid object identifier");
        }
        std::vector<uint8_t> ber = lldp::EncodeOid(ids);
        if (ber.size() > 128) Fail(n, what + ": object identifier longer than 128 octets");
        return ber;
    }

    Errors &errors() const { return *errors_; }

private:
    std::string file_;
    Errors *errors_;
};

const std::map<std::string, uint64_t> kChassisSubtypes = {
    {"chassis-component", 1}, {"interface-alias", 2}, {"port-component", 3}, {"mac-address", 4},
    {"network-address", 5},   {"interface-name", 6},  {"local", 7}};
const std::map<std::string, uint64_t> kPortSubtypes = {
    {"interface-alias", 1}, {"port-component", 2},   {"mac-address", 3}, {"network-address", 4},
    {"interface-name", 5},  {"agent-circuit-id", 6}, {"local", 7}};
const std::map<std::string, uint64_t> kCapabilities = {
    {"other", 0},          {"repeater", 1},     {"bridge", 2}, {"wlan-access-point", 3},
    {"router", 4},         {"telephone", 5},    {"docsis-cable-device", 6}, {"station-only", 7},
    {"c-vlan", 8},         {"s-vlan", 9},       {"two-port-mac-relay", 10}};
const std::map<std::string, uint64_t> kAgents = {
    {"nearest-bridge", 1}, {"nearest-non-tpmr-bridge", 2}, {"nearest-customer-bridge", 3}};
const std::map<std::string, uint64_t> kAdmin = {
    {"tx-only", kAdminTxOnly}, {"rx-only", kAdminRxOnly}, {"tx-and-rx", kAdminTxRx}, {"disabled", kAdminDisabled}};
const std::map<std::string, uint64_t> kTlvBits = {
    {"port-desc", LLDP_TLVBIT_PORT_DESC},   {"sys-name", LLDP_TLVBIT_SYS_NAME},
    {"sys-desc", LLDP_TLVBIT_SYS_DESC},     {"sys-cap", LLDP_TLVBIT_SYS_CAP},
    {"port-vlan", LLDP_TLVBIT_PORT_VLAN},   {"proto-vlan", LLDP_TLVBIT_PROTO_VLAN},
    {"vlan-name", LLDP_TLVBIT_VLAN_NAME},   {"dcbx", LLDP_TLVBIT_DCBX},
    {"mac-phy", LLDP_TLVBIT_MAC_PHY},       {"power", LLDP_TLVBIT_POWER},
    {"link-agg", LLDP_TLVBIT_LINK_AGG},     {"max-frame", LLDP_TLVBIT_MAX_FRAME},
    {"management-vid", LLDP_TLVBIT_MAN_VID}};
const std::map<std::string, uint64_t> kTsa = {
    {"strict-priority", 0}, {"credit-based-shaper", 1}, {"ets", 2}, {"vendor-specific", 255}};
const std::map<std::string, uint64_t> kAppSelectors = {
    {"ethertype", 1}, {"tcp-sctp-port", 2}, {"udp-dccp-port", 3}, {"tcp-sctp-udp-dccp-port", 4}};
const std::map<std::string, uint64_t> kPortClass = {{"pse", 1}, {"pd", 0}};

// An identifier (chassis id or port id): {subtype, value} or {subtype, hex};
// value is a MAC address for the MAC subtype, an IP address for the network
// address subtype (stored with its IANA family octet), else text.
std::pair<uint8_t, std::vector<uint8_t>> ReadId(const Reader &r, const Doc &n, const std::string &what,
                                                bool chassis) {
    r.Keys(n, what, {"subtype", "value", "hex"});
    if (!n["subtype"]) r.Fail(n, what + ": 'subtype' is required");
    const uint8_t subtype =
        static_cast<uint8_t>(r.Named(n["subtype"], what + " subtype", chassis ? kChassisSubtypes : kPortSubtypes, 1, 255));
    std::vector<uint8_t> value;
    if (n["hex"] && n["value"]) r.Fail(n, what + ": give 'value' or 'hex', not both");
    if (n["hex"]) {
        value = r.Hex(n["hex"], what + " hex");
    } else if (n["value"]) {
        const bool mac = subtype == (chassis ? 4 : 3);
        const bool net = subtype == (chassis ? 5 : 4);
        if (mac) {
            value = r.Mac(n["value"], what + " value");
        } else if (net) {
            auto [family, octets] = r.Ip(n["value"], what + " value");
            value.push_back(family);
            value.insert(value.end(), octets.begin(), octets.end());
        } else {
            const std::string s = r.Str(n["value"], what + " value");
            value.assign(s.begin(), s.end());
        }
    } else {
        r.Fail(n, what + ": 'value' or 'hex' is required");
    }
    if (value.empty() || value.size() > 255) r.Fail(n, what + ": an identifier has 1..255 octets");
    return {subtype, value};
}

std::pair<uint16_t, uint16_t> ReadCaps(const Reader &r, const Doc &n) {
    r.Keys(n, "capabilities", {"supported", "enabled"});
    uint16_t sets[2] = {0, 0};
    const char *names[2] = {"supported", "enabled"};
    for (int i = 0; i < 2; ++i) {
        if (!n[names[i]]) continue;
        r.Seq(n[names[i]], std::string("capabilities ") + names[i]);
        for (const auto &c : n[names[i]]) {
            sets[i] |= static_cast<uint16_t>(1u << r.Named(c, "capability", kCapabilities, 0, 15));
        }
    }
    if ((sets[1] & ~sets[0]) != 0) r.Fail(n, "capabilities: an enabled capability must also be supported");
    return {sets[0], sets[1]};
}

// A text field (SnmpAdminString): UTF-8, at most max octets.
std::string Text(const Reader &r, const Doc &n, const std::string &what, size_t max) {
    const std::string s = r.Str(n, what);
    if (s.size() > max) r.Fail(n, what + ": longer than " + std::to_string(max) + " octets");
    if (std::optional<size_t> bad = Utf8Error(s)) {
        r.Fail(n, what + ": not UTF-8 at byte " + std::to_string(*bad));
    }
    return s;
}

lldp::ManagementAddress ReadManAddr(const Reader &r, const Doc &n) {
    r.Keys(n, "management address", {"address", "subtype", "hex", "if-subtype", "if-id", "oid"});
    lldp::ManagementAddress m;
    if (n["address"]) {
        auto [family, octets] = r.Ip(n["address"], "management address");
        m.subtype = family;
        m.address = octets;
    } else if (n["subtype"] && n["hex"]) {
        m.subtype = static_cast<uint8_t>(r.UInt(n["subtype"], "management address subtype", 1, 255));
        m.address = r.Hex(n["hex"], "management address hex");
        if (m.address.empty() || m.address.size() > 31) r.Fail(n["hex"], "management address: 1..31 octets");
    } else {
        r.Fail(n, "management address: 'address' (or 'subtype' and 'hex') is required");
    }
    m.ifSubtype = static_cast<uint8_t>(n["if-subtype"] ? r.UInt(n["if-subtype"], "if-subtype", 1, 3) : 2);
    m.ifId = static_cast<uint32_t>(n["if-id"] ? r.UInt(n["if-id"], "if-id", 0, UINT32_MAX) : 0);
    if (n["oid"]) m.oid = r.Oid(n["oid"], "oid");
    return m;
}

std::array<uint8_t, 8> Eight(const Reader &r, const Doc &n, const std::string &what, uint64_t max,
                             const std::map<std::string, uint64_t> *names = nullptr) {
    r.Seq(n, what);
    if (n.size() != 8) r.Fail(n, what + ": exactly 8 values");
    std::array<uint8_t, 8> out{};
    for (size_t i = 0; i < 8; ++i) {
        out[i] = static_cast<uint8_t>(names ? r.Named(n[i], what, *names, 0, max) : r.UInt(n[i], what, 0, max));
    }
    return out;
}

lldp::EtsConfig ReadEts(const Reader &r, const Doc &n) {
    r.Keys(n, "ets", {"willing", "cbs", "traffic-classes", "priority-tc", "bandwidth", "tsa"});
    lldp::EtsConfig e;
    if (n["willing"]) e.willing = r.Bool(n["willing"], "ets willing");
    if (n["cbs"]) e.cbs = r.Bool(n["cbs"], "ets cbs");
    const uint64_t tcs = n["traffic-classes"] ? r.UInt(n["traffic-classes"], "ets traffic-classes", 1, 8) : 8;
    e.maxTcs = static_cast<uint8_t>(tcs % 8);
    if (n["priority-tc"]) e.priorityTc = Eight(r, n["priority-tc"], "ets priority-tc", 7);
    if (n["bandwidth"]) e.bandwidth = Eight(r, n["bandwidth"], "ets bandwidth", 100);
    if (n["tsa"]) e.tsa = Eight(r, n["tsa"], "ets tsa", 255, &kTsa);
    return e;
}

lldp::EtsRecommendation ReadEtsReco(const Reader &r, const Doc &n) {
    r.Keys(n, "ets-recommendation", {"priority-tc", "bandwidth", "tsa"});
    lldp::EtsRecommendation e;
    if (n["priority-tc"]) e.priorityTc = Eight(r, n["priority-tc"], "ets-recommendation priority-tc", 7);
    if (n["bandwidth"]) e.bandwidth = Eight(r, n["bandwidth"], "ets-recommendation bandwidth", 100);
    if (n["tsa"]) e.tsa = Eight(r, n["tsa"], "ets-recommendation tsa", 255, &kTsa);
    return e;
}

lldp::Pfc ReadPfc(const Reader &r, const Doc &n) {
    r.Keys(n, "pfc", {"willing", "mbc", "cap", "enabled"});
    lldp::Pfc p;
    if (n["willing"]) p.willing = r.Bool(n["willing"], "pfc willing");
    if (n["mbc"]) p.mbc = r.Bool(n["mbc"], "pfc mbc");
    p.cap = static_cast<uint8_t>(n["cap"] ? r.UInt(n["cap"], "pfc cap", 0, 15) : 8);
    if (n["enabled"]) {
        r.Seq(n["enabled"], "pfc enabled");
        for (const auto &e : n["enabled"]) p.enable |= static_cast<uint8_t>(1u << r.UInt(e, "pfc enabled priority", 0, 7));
    }
    return p;
}

std::vector<lldp::AppPriority> ReadApps(const Reader &r, const Doc &n) {
    r.Seq(n, "applications");
    if (n.size() > 168) r.Fail(n, "applications: at most 168 entries");
    std::vector<lldp::AppPriority> apps;
    for (const auto &a : n) {
        r.Keys(a, "application", {"selector", "protocol", "priority"});
        for (const char *k : {"selector", "protocol", "priority"}) {
            if (!a[k]) r.Fail(a, std::string("application: '") + k + "' is required");
        }
        lldp::AppPriority p;
        p.selector = static_cast<uint8_t>(r.Named(a["selector"], "application selector", kAppSelectors, 1, 7));
        p.protocol = static_cast<uint16_t>(r.UInt(a["protocol"], "application protocol", 0, 0xFFFF));
        p.priority = static_cast<uint8_t>(r.UInt(a["priority"], "application priority", 0, 7));
        apps.push_back(p);
    }
    return apps;
}

lldp::LinkAggregation ReadLinkAgg(const Reader &r, const Doc &n) {
    r.Keys(n, "link-aggregation", {"capable", "enabled", "port-id"});
    lldp::LinkAggregation l;
    if (n["capable"] && r.Bool(n["capable"], "link-aggregation capable")) l.status |= 0x01;
    if (n["enabled"] && r.Bool(n["enabled"], "link-aggregation enabled")) l.status |= 0x02;
    if (n["port-id"]) l.portId = static_cast<uint32_t>(r.UInt(n["port-id"], "link-aggregation port-id", 0, UINT32_MAX));
    return l;
}

lldp::MacPhy ReadMacPhy(const Reader &r, const Doc &n) {
    r.Keys(n, "mac-phy", {"autoneg-supported", "autoneg-enabled", "advertised-cap", "mau-type"});
    lldp::MacPhy m;
    if (n["autoneg-supported"] && r.Bool(n["autoneg-supported"], "mac-phy autoneg-supported")) m.autoNeg |= 0x01;
    if (n["autoneg-enabled"] && r.Bool(n["autoneg-enabled"], "mac-phy autoneg-enabled")) m.autoNeg |= 0x02;
    if (n["advertised-cap"]) m.advertisedCap = static_cast<uint16_t>(r.UInt(n["advertised-cap"], "mac-phy advertised-cap", 0, 0xFFFF));
    if (n["mau-type"]) m.mauType = static_cast<uint16_t>(r.UInt(n["mau-type"], "mac-phy mau-type", 0, 0xFFFF));
    return m;
}

lldp::PowerMdi ReadPower(const Reader &r, const Doc &n) {
    r.Keys(n, "power", {"port-class", "supported", "enabled", "pair-control", "pairs", "class"});
    lldp::PowerMdi p;
    if (n["port-class"] && r.Named(n["port-class"], "power port-class", kPortClass, 0, 1) == 1) p.support |= 0x01;
    if (n["supported"] && r.Bool(n["supported"], "power supported")) p.support |= 0x02;
    if (n["enabled"] && r.Bool(n["enabled"], "power enabled")) p.support |= 0x04;
    if (n["pair-control"] && r.Bool(n["pair-control"], "power pair-control")) p.support |= 0x08;
    if (n["pairs"]) p.pair = static_cast<uint8_t>(r.UInt(n["pairs"], "power pairs", 1, 2));
    if (n["class"]) p.powerClass = static_cast<uint8_t>(r.UInt(n["class"], "power class", 1, 5));
    return p;
}

std::vector<lldp::VlanName> ReadVlans(const Reader &r, const Doc &n) {
    r.Seq(n, "vlans");
    std::vector<lldp::VlanName> vlans;
    std::set<uint16_t> seen;
    for (const auto &v : n) {
        r.Keys(v, "vlan", {"id", "name"});
        if (!v["id"]) r.Fail(v, "vlan: 'id' is required");
        lldp::VlanName vn;
        vn.vid = static_cast<uint16_t>(r.UInt(v["id"], "vlan id", 1, 4094));
        if (!seen.insert(vn.vid).second) r.Fail(v["id"], "vlan id: " + std::to_string(vn.vid) + " given twice");
        vn.name = v["name"] ? Text(r, v["name"], "vlan name", 32) : "VLAN" + std::to_string(vn.vid);
        vlans.push_back(vn);
    }
    return vlans;
}

std::vector<lldp::ProtoVlan> ReadProtoVlans(const Reader &r, const Doc &n) {
    r.Seq(n, "proto-vlans");
    std::vector<lldp::ProtoVlan> out;
    for (const auto &v : n) {
        r.Keys(v, "proto-vlan", {"id", "supported", "enabled"});
        if (!v["id"]) r.Fail(v, "proto-vlan: 'id' is required");
        lldp::ProtoVlan p;
        p.ppvid = static_cast<uint16_t>(r.UInt(v["id"], "proto-vlan id", 0, 4094));
        if (!v["supported"] || r.Bool(v["supported"], "proto-vlan supported")) p.flags |= lldp::kPpvidSupported;
        if (v["enabled"] && r.Bool(v["enabled"], "proto-vlan enabled")) p.flags |= lldp::kPpvidEnabled;
        out.push_back(p);
    }
    return out;
}

// ---------------------------------------------------------------------------
// The plan

struct NeighbourPlan {
    uint32_t ifIndex = 0;
    uint32_t agent = 1;
    uint32_t at = 0;
    bool refresh = false;      // received again every txInterval
    uint32_t silentEvery = 0;  // seconds; 0: never silent
    uint32_t silentFor = 0;
    std::vector<uint8_t> lldpdu;
    uint32_t line = 0;  // where the file gives it, for an error found on applying
};

struct Plan {
    std::optional<LocalSystemData> system;
    std::optional<LldpGlobalConfig> config;
    std::optional<uint32_t> clock;
    std::vector<std::pair<uint16_t, bool>> nodes;
    std::vector<Interface> interfaces;
    std::vector<std::function<void(Daemon &)>> nodeSetup;  // by node, see nodeOf
    std::vector<uint16_t> nodeOf;
    std::vector<std::pair<uint32_t, std::function<void(PortState &)>>> portSetup;
    std::vector<NeighbourPlan> neighbours;
    std::set<std::pair<uint32_t, uint32_t>> notReceiving;  // (ifIndex, agent) whose admin status does not receive
    size_t addresses = 0;  // local management addresses of the nodes
    std::string file;
    uint32_t lastAt = 0;  // the latest 'at' of the neighbours
};

void ReadSystem(const Reader &r, const Doc &n, Plan &plan) {
    r.Keys(n, "system", {"chassis-id", "name", "description", "capabilities"});
    LocalSystemData sys;
    if (n["chassis-id"]) std::tie(sys.chassisIdSubtype, sys.chassisId) = ReadId(r, n["chassis-id"], "chassis-id", true);
    if (n["name"]) sys.sysName = Text(r, n["name"], "system name", 255);
    if (n["description"]) sys.sysDesc = Text(r, n["description"], "system description", 255);
    if (n["capabilities"]) std::tie(sys.capSupported, sys.capEnabled) = ReadCaps(r, n["capabilities"]);
    plan.system = sys;
}

// The values the daemon takes for a global setting, as "min..max".
std::string GlobalRange(uint32_t id) {
    constexpr uint32_t kProbe = 1u << 17;
    uint32_t lo = 0;
    while (lo < kProbe && CheckGlobalValue(id, lo) != 0) ++lo;
    uint32_t hi = lo;
    while (hi + 1 < kProbe && CheckGlobalValue(id, hi + 1) == 0) ++hi;
    return std::to_string(lo) + ".." + std::to_string(hi);
}

void ReadGlobal(const Reader &r, const Doc &n, Plan &plan) {
    r.Keys(n, "lldp", {"tx-interval", "hold-multiplier", "reinit-delay", "tx-fast-init", "notification-interval",
                       "tx-credit-max", "msg-fast-tx", "tx-delay"});
    LldpGlobalConfig c;
    struct Field {
        const char *key;
        uint32_t id;
        std::function<void(uint32_t)> set;
    };
    const Field fields[] = {
        {"tx-interval", LLDP_GLB_TX_INTERVAL, [&](uint32_t v) { c.txInterval = static_cast<uint16_t>(v); }},
        {"hold-multiplier", LLDP_GLB_HOLD_MULTIPLIER, [&](uint32_t v) { c.holdMultiplier = static_cast<uint8_t>(v); }},
        {"reinit-delay", LLDP_GLB_REINIT_DELAY, [&](uint32_t v) { c.reinitDelay = static_cast<uint16_t>(v); }},
        {"tx-fast-init", LLDP_GLB_TX_FAST_INIT, [&](uint32_t v) { c.txFastInit = static_cast<uint8_t>(v); }},
        {"notification-interval", LLDP_GLB_NOTIFICATION_INTERVAL,
         [&](uint32_t v) { c.notificationInterval = static_cast<uint16_t>(v); }},
        {"tx-credit-max", LLDP_GLB_TX_CREDIT_MAX, [&](uint32_t v) { c.txCreditMax = static_cast<uint8_t>(v); }},
        {"msg-fast-tx", LLDP_GLB_MSG_FAST_TX, [&](uint32_t v) { c.msgFastTx = static_cast<uint16_t>(v); }},
    };
    for (const Field &f : fields) {
        if (!n[f.key]) continue;
        r.Item([&] {
            const uint32_t v = static_cast<uint32_t>(r.UInt(n[f.key], f.key, 0, UINT32_MAX));
            if (CheckGlobalValue(f.id, v) != 0) {
                r.Fail(n[f.key], std::string(f.key) + ": " + std::to_string(v) + " is out of range (expected " +
                                     GlobalRange(f.id) + ")");
            }
            f.set(v);
        });
    }
    if (n["tx-delay"]) c.txDelay = static_cast<uint16_t>(r.UInt(n["tx-delay"], "tx-delay", 1, 8192));
    plan.config = c;
}

void ReadNodes(const Reader &r, const Doc &n, Plan &plan) {
    r.Seq(n, "nodes");
    if (n.size() == 0) r.Fail(n, "nodes: at least one node is required");
    std::set<uint16_t> seen;
    for (const auto &node : n) r.Item([&] {
        r.Keys(node, "node", {"id", "up", "management-addresses"});
        if (!node["id"]) r.Fail(node, "node: 'id' is required");
        const uint16_t id = static_cast<uint16_t>(r.UInt(node["id"], "node id", 0, 0xFFFF));
        if (!seen.insert(id).second) r.Fail(node["id"], "node id: " + std::to_string(id) + " given twice");
        const bool up = node["up"] ? r.Bool(node["up"], "node up") : true;
        plan.nodes.emplace_back(id, up);
        if (node["management-addresses"]) {
            r.Seq(node["management-addresses"], "management-addresses");
            std::vector<LocalManAddr> addrs;
            std::set<ManKey> keys;
            for (const auto &a : node["management-addresses"]) {
                const lldp::ManagementAddress m = ReadManAddr(r, a);
                LocalManAddr l{ManKey{m.subtype, m.address}, m.ifSubtype, m.ifId, m.oid};
                if (!keys.insert(l.key).second) r.Fail(a, "management address given twice on this node");
                addrs.push_back(l);
            }
            plan.addresses += addrs.size();
            plan.nodeOf.push_back(id);
            plan.nodeSetup.push_back([addrs](Daemon &d) {
                for (const LocalManAddr &l : addrs) d.localManAddrs[l.key] = l;
            });
        }
    });
}

uint32_t ReadAgentNo(const Reader &r, const Doc &n) { return static_cast<uint32_t>(r.Named(n, "agent", kAgents, 1, 3)); }

void ReadPortLldp(const Reader &r, const Doc &n, const Interface &intf, const std::set<ManKey> &nodeAddrs,
                  Plan &plan) {
    r.Keys(n, "lldp", {"port-id", "description", "pvid", "vlans", "proto-vlans", "management-vid",
                       "link-aggregation", "mac-phy", "power", "max-frame-size", "neighbour-limit", "dcbx", "agents"});
    if (PortClassOf(intf.type) == PortClass::NotLldp) {
        r.Fail(n, "lldp: interface type " + InterfaceTypeName(intf.type) + " is not an LLDP port");
    }
    std::vector<std::function<void(PortState &)>> steps;
    if (n["port-id"]) {
        auto id = ReadId(r, n["port-id"], "port-id", false);
        steps.push_back([id](PortState &p) { std::tie(p.local.portIdSubtype, p.local.portId) = id; });
    }
    if (n["description"]) {
        const std::string d = Text(r, n["description"], "description", 255);
        steps.push_back([d](PortState &p) { p.local.portDesc = d; });
    }
    if (n["pvid"]) {
        const uint16_t v = static_cast<uint16_t>(r.UInt(n["pvid"], "pvid", 0, 4094));
        steps.push_back([v](PortState &p) { p.local.pvid = v; });
    }
    std::vector<lldp::VlanName> vlans;
    bool haveVlans = false;
    if (n["vlans"]) {
        vlans = ReadVlans(r, n["vlans"]);
        haveVlans = true;
        steps.push_back([vlans](PortState &p) { p.local.vlans = vlans; });
    }
    std::vector<lldp::ProtoVlan> ppvids;
    if (n["proto-vlans"]) {
        ppvids = ReadProtoVlans(r, n["proto-vlans"]);
        steps.push_back([ppvids](PortState &p) { p.local.protoVlans = ppvids; });
    }
    if (n["management-vid"]) {
        const uint16_t v = static_cast<uint16_t>(r.UInt(n["management-vid"], "management-vid", 0, 4094));
        steps.push_back([v](PortState &p) { p.local.managementVid = v; });
    }
    if (n["link-aggregation"]) {
        const auto l = ReadLinkAgg(r, n["link-aggregation"]);
        steps.push_back([l](PortState &p) { p.local.linkAgg = l; });
    }
    if (n["mac-phy"]) {
        const auto m = ReadMacPhy(r, n["mac-phy"]);
        steps.push_back([m](PortState &p) { p.local.macPhy = m; });
    }
    if (n["power"]) {
        const auto m = ReadPower(r, n["power"]);
        steps.push_back([m](PortState &p) { p.local.power = m; });
    }
    if (n["max-frame-size"]) {
        const uint16_t v = static_cast<uint16_t>(r.UInt(n["max-frame-size"], "max-frame-size", 64, 0xFFFF));
        steps.push_back([v](PortState &p) { p.local.maxFrameSize = v; });
    }
    if (n["neighbour-limit"]) {
        const uint32_t v = static_cast<uint32_t>(r.UInt(n["neighbour-limit"], "neighbour-limit", 1, 1000000));
        steps.push_back([v](PortState &p) { p.neighbourLimit = v; });
    }
    if (n["dcbx"]) {
        const Doc &x = n["dcbx"];
        r.Keys(x, "dcbx", {"ets", "ets-recommendation", "pfc", "applications"});
        DcbxAdmin a;
        if (x["ets"]) {
            a.etsValid = true;
            a.ets = ReadEts(r, x["ets"]);
        }
        if (x["ets-recommendation"]) {
            if (!x["ets"]) r.Fail(x["ets-recommendation"], "ets-recommendation: needs 'ets' too");
            a.reco = ReadEtsReco(r, x["ets-recommendation"]);
        }
        if (x["pfc"]) {
            a.pfcValid = true;
            a.pfc = ReadPfc(r, x["pfc"]);
        }
        if (x["applications"]) {
            a.appValid = true;
            a.apps = ReadApps(r, x["applications"]);
        }
        steps.push_back([a](PortState &p) { p.dcbx = a; });
    }
    if (n["agents"]) {
        r.Seq(n["agents"], "agents");
        std::set<uint32_t> seen;
        for (const auto &a : n["agents"]) {
            r.Keys(a, "agent", {"agent", "admin-status", "notification", "tlvs", "vlan-name-id", "proto-vlan-id",
                                "management-address"});
            if (!a["agent"]) r.Fail(a, "agent: 'agent' is required");
            const uint32_t no = ReadAgentNo(r, a["agent"]);
            if (!AgentAllowed(intf.type, no)) {
                r.Fail(a["agent"], "agent " + std::to_string(no) + " does not run on a port of type " +
                                       InterfaceTypeName(intf.type));
            }
            if (!seen.insert(no).second) r.Fail(a["agent"], "agent " + std::to_string(no) + " given twice");
            std::vector<std::function<void(AgentState &)>> agentSteps;
            if (a["admin-status"]) {
                const uint8_t v = static_cast<uint8_t>(r.Named(a["admin-status"], "admin-status", kAdmin, 0, 3));
                if (v != kAdminRxOnly && v != kAdminTxRx) plan.notReceiving.insert({intf.ifIndex, no});
                agentSteps.push_back([v](AgentState &s) { s.adminStatus = v; });
            }
            if (a["notification"]) {
                const bool v = r.Bool(a["notification"], "notification");
                agentSteps.push_back([v](AgentState &s) { s.notification = v; });
            }
            if (a["tlvs"]) {
                r.Seq(a["tlvs"], "tlvs");
                uint32_t mask = 0;
                for (const auto &t : a["tlvs"]) mask |= 1u << r.Named(t, "tlv", kTlvBits, 0, 31);
                if ((mask & ~kKnownTlvBits) != 0) r.Fail(a["tlvs"], "tlvs: unknown TLV bit");
                agentSteps.push_back([mask](AgentState &s) { s.tlvMask = mask; });
            }
            if (a["vlan-name-id"]) {
                const uint16_t v = static_cast<uint16_t>(r.UInt(a["vlan-name-id"], "vlan-name-id", 1, 4094));
                const bool known = haveVlans ? std::any_of(vlans.begin(), vlans.end(), [v](const lldp::VlanName &x) { return x.vid == v; })
                                             : v == 1;
                if (!known) r.Fail(a["vlan-name-id"], "vlan-name-id: VLAN " + std::to_string(v) + " is not a VLAN of the port");
                agentSteps.push_back([v](AgentState &s) { s.vlanNameId = v; });
            }
            if (a["proto-vlan-id"]) {
                const uint16_t v = static_cast<uint16_t>(r.UInt(a["proto-vlan-id"], "proto-vlan-id", 1, 4094));
                if (std::none_of(ppvids.begin(), ppvids.end(), [v](const lldp::ProtoVlan &x) { return x.ppvid == v; })) {
                    r.Fail(a["proto-vlan-id"], "proto-vlan-id: " + std::to_string(v) + " is not a proto-vlan of the port");
                }
                agentSteps.push_back([v](AgentState &s) { s.protoVlanId = v; });
            }
            if (a["management-address"]) {
                const Doc &m = a["management-address"];
                r.Keys(m, "management-address", {"address", "transmit"});
                if (!m["address"]) r.Fail(m, "management-address: 'address' is required");
                auto [family, octets] = r.Ip(m["address"], "management-address");
                const ManKey key{family, octets};
                if (nodeAddrs.count(key) == 0) {
                    r.Fail(m["address"], "management-address: not a management address of node " + std::to_string(intf.node));
                }
                const bool tx = m["transmit"] ? r.Bool(m["transmit"], "transmit") : true;
                agentSteps.push_back([key, tx](AgentState &s) { s.manAddrTx = ManAddrTx{key, tx, 1}; });
            }
            steps.push_back([no, agentSteps](PortState &p) {
                for (const auto &step : agentSteps) step(p.Agent(no));
            });
        }
    }
    plan.portSetup.emplace_back(intf.ifIndex, [steps](PortState &p) {
        for (const auto &step : steps) step(p);
    });
}

void ReadInterfaces(const Reader &r, const Doc &n, const std::map<uint16_t, std::set<ManKey>> &nodeAddrs,
                    Plan &plan) {
    r.Seq(n, "interfaces");
    std::set<uint32_t> seen;
    std::set<std::string> names;
    std::set<std::string> linuxNames;
    for (const auto &i : n) r.Item([&] {
        r.Keys(i, "interface", {"ifindex", "name", "node", "type", "valid", "temporary", "sub-interface", "lldp-data",
                                "type-readable", "linux", "mac", "link", "speed", "lldp"});
        for (const char *k : {"ifindex", "node", "type"}) {
            if (!i[k]) r.Fail(i, std::string("interface: '") + k + "' is required");
        }
        Interface intf;
        intf.ifIndex = static_cast<uint32_t>(r.UInt(i["ifindex"], "ifindex", 1, UINT32_MAX));
        if (!seen.insert(intf.ifIndex).second) r.Fail(i["ifindex"], "ifindex " + std::to_string(intf.ifIndex) + " given twice");
        intf.node = static_cast<uint16_t>(r.UInt(i["node"], "node", 0, 0xFFFF));
        if (nodeAddrs.count(intf.node) == 0) r.Fail(i["node"], "node " + std::to_string(intf.node) + " is not in 'nodes'");
        const std::string type = r.Str(i["type"], "type");
        const std::optional<uint32_t> code = InterfaceTypeByName(type);
        if (!code) r.Fail(i["type"], "type: unknown interface type '" + type + "'");
        intf.type = *code;
        intf.name = i["name"] ? Text(r, i["name"], "name", 255) : "if-" + std::to_string(intf.ifIndex);
        if (!names.insert(intf.name).second) r.Fail(i["name"] ? i["name"] : Doc(i), "name '" + intf.name + "' given twice");
        if (i["valid"]) intf.valid = r.Bool(i["valid"], "valid");
        if (i["temporary"]) intf.temporary = r.Bool(i["temporary"], "temporary");
        if (i["sub-interface"]) intf.subInterface = r.Bool(i["sub-interface"], "sub-interface");
        if (i["lldp-data"]) intf.lldpData = static_cast<uint32_t>(r.UInt(i["lldp-data"], "lldp-data", 0, UINT32_MAX));
        if (i["type-readable"]) intf.typeReadable = r.Bool(i["type-readable"], "type-readable");
        if (i["linux"]) {
            intf.linuxName = r.Str(i["linux"], "linux");
            // IFNAMSIZ - 1 octets, no '/' or white space.
            if (intf.linuxName.empty() || intf.linuxName.size() > 15 ||
                intf.linuxName.find_first_of("/ \t") != std::string::npos) {
                r.Fail(i["linux"], "linux: '" + intf.linuxName + "' is not a Linux interface name");
            }
            if (!linuxNames.insert(intf.linuxName).second) {
                r.Fail(i["linux"], "linux: interface " + intf.linuxName + " given twice");
            }
        }
        if (i["mac"]) {
            const std::vector<uint8_t> mac = r.Mac(i["mac"], "mac");
            std::copy(mac.begin(), mac.end(), intf.mac.begin());
        }
        if (i["link"]) {
            const std::string link = r.Str(i["link"], "link");
            if (link != "up" && link != "down") r.Fail(i["link"], "link: '" + link + "' is not up or down");
            intf.operUp = link == "up";
        }
        if (i["speed"]) intf.speedMbps = static_cast<uint32_t>(r.UInt(i["speed"], "speed", 0, UINT32_MAX));
        plan.interfaces.push_back(intf);
        if (i["lldp"]) {
            if (!IsLldpPort(intf)) r.Fail(i["lldp"], "lldp: interface " + intf.name + " is not an LLDP port");
            ReadPortLldp(r, i["lldp"], intf, nodeAddrs.at(intf.node), plan);
        }
    });
}

std::vector<uint8_t> ReadNeighbourPdu(const Reader &r, const Doc &n) {
    if (n["lldpdu"]) {
        for (const auto &kv : n) {
            const std::string key = kv.first.KeyText();
            if (key != "lldpdu" && key != "port" && key != "agent" && key != "at" && key != "refresh" &&
                key != "silent") {
                r.Fail(kv.first, "neighbour: '" + key + "' cannot be combined with 'lldpdu'");
            }
        }
        std::vector<uint8_t> bytes = r.Hex(n["lldpdu"], "lldpdu");
        const lldp::DecodeResult d = lldp::DecodeLldpdu(bytes);
        if (!d.accepted) r.Fail(n["lldpdu"], std::string("lldpdu: the LLDPDU is discarded: ") + lldp::DiscardReasonName(d.reason));
        return bytes;
    }
    lldp::Lldpdu p;
    for (const char *k : {"chassis-id", "port-id"}) {
        if (!n[k]) r.Fail(n, std::string("neighbour: '") + k + "' is required (or 'lldpdu')");
    }
    std::tie(p.chassisIdSubtype, p.chassisId) = ReadId(r, n["chassis-id"], "chassis-id", true);
    std::tie(p.portIdSubtype, p.portId) = ReadId(r, n["port-id"], "port-id", false);
    if (n["ttl"]) p.ttl = static_cast<uint16_t>(r.UInt(n["ttl"], "ttl", 0, 65535));
    if (n["port-description"]) p.portDesc = Text(r, n["port-description"], "port-description", 255);
    if (n["system-name"]) p.sysName = Text(r, n["system-name"], "system-name", 255);
    if (n["system-description"]) p.sysDesc = Text(r, n["system-description"], "system-description", 255);
    if (n["capabilities"]) {
        p.hasSysCap = true;
        std::tie(p.capSupported, p.capEnabled) = ReadCaps(r, n["capabilities"]);
    }
    if (n["management-addresses"]) {
        r.Seq(n["management-addresses"], "management-addresses");
        for (const auto &a : n["management-addresses"]) p.manAddrs.push_back(ReadManAddr(r, a));
    }
    if (n["port-vlan"]) p.portVlanId = static_cast<uint16_t>(r.UInt(n["port-vlan"], "port-vlan", 0, 4094));
    if (n["proto-vlans"]) p.protoVlans = ReadProtoVlans(r, n["proto-vlans"]);
    if (n["vlan-names"]) p.vlanNames = ReadVlans(r, n["vlan-names"]);
    if (n["protocol-ids"]) {
        r.Seq(n["protocol-ids"], "protocol-ids");
        for (const auto &id : n["protocol-ids"]) {
            std::vector<uint8_t> b = r.Hex(id, "protocol-id");
            if (b.empty() || b.size() > 255) r.Fail(id, "protocol-id: 1..255 octets");
            p.protocolIds.push_back(b);
        }
    }
    if (n["vid-usage-digest"]) {
        std::vector<uint8_t> b = r.Hex(n["vid-usage-digest"], "vid-usage-digest");
        if (b.size() != 4) r.Fail(n["vid-usage-digest"], "vid-usage-digest: exactly 4 octets");
        p.vidUsageDigest = std::array<uint8_t, 4>{b[0], b[1], b[2], b[3]};
    }
    if (n["management-vid"]) p.managementVid = static_cast<uint16_t>(r.UInt(n["management-vid"], "management-vid", 0, 4094));
    if (n["link-aggregation"]) p.linkAgg = ReadLinkAgg(r, n["link-aggregation"]);
    if (n["mac-phy"]) p.macPhy = ReadMacPhy(r, n["mac-phy"]);
    if (n["power"]) p.powerMdi = ReadPower(r, n["power"]);
    if (n["max-frame-size"]) p.maxFrameSize = static_cast<uint16_t>(r.UInt(n["max-frame-size"], "max-frame-size", 64, 0xFFFF));
    if (n["ets"]) p.etsConfig = ReadEts(r, n["ets"]);
    if (n["ets-recommendation"]) p.etsRecommendation = ReadEtsReco(r, n["ets-recommendation"]);
    if (n["pfc"]) p.pfc = ReadPfc(r, n["pfc"]);
    if (n["applications"]) p.appPriority = ReadApps(r, n["applications"]);
    if (n["unknown-tlvs"]) {
        r.Seq(n["unknown-tlvs"], "unknown-tlvs");
        for (const auto &u : n["unknown-tlvs"]) {
            r.Keys(u, "unknown-tlv", {"type", "info"});
            if (!u["type"]) r.Fail(u, "unknown-tlv: 'type' is required");
            lldp::UnknownTlv t;
            t.type = static_cast<uint8_t>(r.UInt(u["type"], "unknown-tlv type", 9, 126));
            if (u["info"]) t.info = r.Hex(u["info"], "unknown-tlv info");
            if (t.info.size() > 511) r.Fail(u["info"], "unknown-tlv info: at most 511 octets");
            p.unknownTlvs.push_back(t);
        }
    }
    if (n["org-tlvs"]) {
        r.Seq(n["org-tlvs"], "org-tlvs");
        for (const auto &o : n["org-tlvs"]) {
            r.Keys(o, "org-tlv", {"oui", "subtype", "info"});
            if (!o["oui"] || !o["subtype"]) r.Fail(o, "org-tlv: 'oui' and 'subtype' are required");
            lldp::OrgTlv t;
            const std::vector<uint8_t> oui = r.Hex(o["oui"], "org-tlv oui");
            if (oui.size() != 3) r.Fail(o["oui"], "org-tlv oui: exactly 3 octets");
            t.oui = {oui[0], oui[1], oui[2]};
            t.subtype = static_cast<uint8_t>(r.UInt(o["subtype"], "org-tlv subtype", 0, 255));
            if (lldp::IsDecodedOrgTlv(t.oui, t.subtype)) {
                r.Fail(o, "org-tlv: this OUI and subtype has its own field");
            }
            if (o["info"]) t.info = r.Hex(o["info"], "org-tlv info");
            if (t.info.size() > 507) r.Fail(o["info"], "org-tlv info: at most 507 octets");
            p.orgTlvs.push_back(t);
        }
    }
    return lldp::EncodeLldpdu(p);
}

// Reads neighbours one at a time against the plan's interfaces, which must
// have been read before.
class NeighbourReader {
public:
    NeighbourReader(const Reader &r, Plan &plan) : r_(r), plan_(plan) {
        for (const Interface &i : plan.interfaces) {
            byName_[i.name] = &i;
            byIndex_[i.ifIndex] = &i;
        }
    }

    void Read(const Doc &nb) { r_.Item([&] { ReadOne(nb); }); }

private:
    void ReadOne(const Doc &nb) {
        const Reader &r = r_;
        r.Keys(nb, "neighbour",
               {"port", "agent", "at", "refresh", "silent", "lldpdu", "chassis-id", "port-id", "ttl", "port-description", "system-name",
                "system-description", "capabilities", "management-addresses", "port-vlan", "proto-vlans",
                "vlan-names", "protocol-ids", "vid-usage-digest", "management-vid", "link-aggregation", "mac-phy",
                "power", "max-frame-size", "ets", "ets-recommendation", "pfc", "applications", "unknown-tlvs",
                "org-tlvs"});
        if (!nb["port"]) r.Fail(nb, "neighbour: 'port' is required");
        NeighbourPlan np;
        const std::string port = r.Str(nb["port"], "port");
        const Interface *intf = nullptr;
        if (auto it = byName_.find(port); it != byName_.end()) {
            intf = it->second;
        } else if (port.find_first_not_of("0123456789") == std::string::npos) {
            auto j = byIndex_.find(static_cast<uint32_t>(r.UInt(nb["port"], "port", 1, UINT32_MAX)));
            if (j != byIndex_.end()) intf = j->second;
        }
        if (intf == nullptr) r.Fail(nb["port"], "port: no interface '" + port + "'");
        if (!IsLldpPort(*intf)) r.Fail(nb["port"], "port: " + intf->name + " is not an LLDP port");
        if (!intf->operUp) r.Fail(nb["port"], "port: " + intf->name + " is down (link: down) and receives nothing");
        np.ifIndex = intf->ifIndex;
        np.agent = nb["agent"] ? ReadAgentNo(r, nb["agent"]) : FirstAgentOf(intf->type);
        if (!AgentAllowed(intf->type, np.agent)) {
            r.Fail(nb["agent"], "agent " + std::to_string(np.agent) + " does not run on " + intf->name);
        }
        if (plan_.notReceiving.count({np.ifIndex, np.agent}) != 0) {
            r.Fail(nb["port"], "neighbour: agent " + std::to_string(np.agent) + " of " + intf->name +
                                   " does not receive (admin status)");
        }
        np.at = nb["at"] ? static_cast<uint32_t>(r.UInt(nb["at"], "at", 0, UINT32_MAX)) : 0;
        if (nb["refresh"]) np.refresh = r.Bool(nb["refresh"], "refresh");
        if (nb["silent"]) {
            const Doc sn = nb["silent"];
            r.Keys(sn, "silent", {"every", "for"});
            if (!sn["every"] || !sn["for"]) r.Fail(sn, "silent: 'every' and 'for' are required");
            np.silentEvery = static_cast<uint32_t>(r.UInt(sn["every"], "silent every", 2, 86400));
            np.silentFor = static_cast<uint32_t>(r.UInt(sn["for"], "silent for", 1, np.silentEvery - 1));
            if (nb["refresh"] && !np.refresh) r.Fail(nb["refresh"], "refresh: a silent neighbour is refreshed");
            np.refresh = true;
        }
        np.lldpdu = ReadNeighbourPdu(r, nb);
        np.line = static_cast<uint32_t>(nb.Mark().line + 1);
        plan_.lastAt = std::max(plan_.lastAt, np.at);
        plan_.neighbours.push_back(std::move(np));
    }

    const Reader &r_;
    Plan &plan_;
    std::map<std::string, const Interface *> byName_;
    std::map<uint32_t, const Interface *> byIndex_;
};

// Mistakes of the document as a whole, found before its fields are read:
// keys given twice in one mapping (YAML would silently keep the first) and
// nesting deeper than any field lies.
// Where a node lies in the document, as a chain up to the root; written out
// as "a.b[2].c" only for a mistake.
struct PathPart {
    const PathPart *parent = nullptr;
    std::string_view key;  // a mapping entry's key, or
    size_t index = 0;      // a list item's index
    bool isIndex = false;
};

std::string PathText(const PathPart *p) {
    if (p == nullptr) return {};
    std::string out = PathText(p->parent);
    if (p->isIndex) return out + "[" + std::to_string(p->index) + "]";
    return out.empty() ? std::string(p->key) : out + "." + std::string(p->key);
}

void Inspect(const Reader &r, const Doc &n, const PathPart *path, int depth) {
    if (depth > kMaxNesting) {
        r.errors().Add(r.At(n) + PathText(path) + ": nested " + std::to_string(depth) +
                       " levels deep (a scenario nests at most " + std::to_string(kMaxNesting) + ")");
        return;
    }
    static const std::string kOther = "?";
    if (n.IsMap()) {
        // Keys given twice: small mappings are searched, large ones indexed.
        const DocEntry *begin = n.begin();
        const size_t count = n.size();
        std::map<std::string_view, int> lines;
        for (size_t j = 0; j < count; ++j) {
            const DocEntry &kv = begin[j];
            const std::string &key = kv.first.IsScalar() ? kv.first.Scalar() : kOther;
            const int line = kv.first.Mark().line + 1;
            int first = 0;
            if (count <= 32) {
                for (size_t i = 0; i < j && first == 0; ++i) {
                    const std::string &earlier = begin[i].first.IsScalar() ? begin[i].first.Scalar() : kOther;
                    if (earlier == key) first = begin[i].first.Mark().line + 1;
                }
            } else if (auto [it, added] = lines.emplace(key, line); !added) {
                first = it->second;
            }
            if (first != 0) {
                const std::string where = PathText(path);
                r.errors().Add(r.At(kv.first) + (where.empty() ? "" : where + ": ") + "key '" + key +
                               "' given twice (lines " + std::to_string(first) + " and " + std::to_string(line) + ")");
            }
            const PathPart part{path, key, 0, false};
            Inspect(r, kv.second, &part, depth + 1);
        }
    } else if (n.IsSequence()) {
        size_t i = 0;
        for (const auto &item : n) {
            const PathPart part{path, {}, i++, true};
            Inspect(r, item, &part, depth + 1);
        }
    }
}

// Reads a scenario while it is parsed. The neighbours list, the bulk of a
// large file, arrives item by item and each item is read and dropped at
// once, when the nodes and interfaces it refers to came before it (as they
// do in files written by hand or generated); otherwise its items wait for the
// end of the document. The mistakes are collected per part and reported in
// the order of a reading of the whole document: first those of its shape
// (keys given twice, nesting), then those of the sections in a fixed order.
class PlanReader {
public:
    PlanReader(const std::string &file, Errors &errors) : file_(file), errors_(errors) { plan_.file = file; }

    // The callbacks of a parse; without streamList the neighbours list is
    // read with the rest once the whole document is parsed.
    DocStream Stream(bool streamList) {
        DocStream s;
        if (streamList) {
            s.listStart = [this](const Doc &root, const Doc &key) { ListStart(root, key); };
            s.listItem = [this](const Doc &item) { ListItem(item); };
        }
        s.rootEntry = [this](const Doc &key, const Doc &value, bool streamed) { RootEntry(key, value, streamed); };
        return s;
    }

    // The document is complete: reads what remains and reports.
    Plan Finish(const Doc &root) {
        ReadRest(root);
        for (const Errors *e : {&shape_, &keys_, &system_, &global_, &clock_, &nodes_, &interfaces_, &neighbours_, &last_}) {
            for (const std::string &what : e->List()) errors_.Add(what);
            if (e->More()) errors_.SetMore();
        }
        return std::move(plan_);
    }

private:
    Reader R(Errors &e) const { return Reader(file_, &e); }

    // A key of the root mapping, checked for a second occurrence.
    void RootKey(const Doc &key) {
        const std::string text = key.IsScalar() ? key.Scalar() : "?";
        const int line = key.Mark().line + 1;
        auto [it, added] = rootLines_.emplace(text, line);
        if (!added) {
            shape_.Add(R(shape_).At(key) + "key '" + text + "' given twice (lines " + std::to_string(it->second) +
                       " and " + std::to_string(line) + ")");
        }
    }

    void RootEntry(const Doc &key, const Doc &value, bool streamed) {
        if (streamed) return;  // its key was checked at its start, its items one by one
        RootKey(key);
        const std::string text = key.IsScalar() ? key.Scalar() : "?";
        const PathPart part{nullptr, text, 0, false};
        Inspect(R(shape_), value, &part, 1);
    }

    void ListStart(const Doc &root, const Doc &key) {
        streamed_ = true;
        RootKey(key);
        if (root["nodes"] && root["interfaces"]) {
            ReadFront(root);
            if (!frontFailed_) neighbourReader_.emplace(reader_, plan_);
        }
    }

    void ListItem(const Doc &item) {
        static const PathPart list{nullptr, "neighbours", 0, false};
        const PathPart part{&list, {}, items_++, true};
        Inspect(R(shape_), item, &part, 2);
        if (neighbourReader_) {
            neighbourReader_->Read(item);
        } else {
            held_.push_back(item);
        }
    }

    // The nodes and interfaces, which the neighbours refer to.
    void ReadFront(const Doc &root) {
        frontRead_ = true;
        if (!root["nodes"]) {
            nodes_.Add(R(nodes_).At(root) + "scenario: 'nodes' is required");
            frontFailed_ = true;
            return;
        }
        const Reader rn = R(nodes_);
        rn.Item([&] { ReadNodes(rn, root["nodes"], plan_); });
        for (const auto &[id, up] : plan_.nodes) nodeAddrs_[id];
        if (root["nodes"].IsSequence()) {
            for (const auto &node : root["nodes"]) rn.Item([&] {
                if (!node.IsMap() || !node["id"] || !node["management-addresses"] ||
                    !node["management-addresses"].IsSequence()) {
                    return;  // a node without an id is reported as such
                }
                const uint16_t id = static_cast<uint16_t>(rn.UInt(node["id"], "node id", 0, 0xFFFF));
                for (const auto &a : node["management-addresses"]) {
                    const lldp::ManagementAddress m = ReadManAddr(rn, a);
                    nodeAddrs_[id].insert(ManKey{m.subtype, m.address});
                }
            });
        }
        const Reader ri = R(interfaces_);
        if (root["interfaces"]) ri.Item([&] { ReadInterfaces(ri, root["interfaces"], nodeAddrs_, plan_); });
    }

    void ReadRest(const Doc &root) {
        const Reader r = R(keys_);
        if (!root.IsDefined() || root.IsNull()) {
            keys_.Add(file_ + ":1: the scenario is empty");
            return;
        }
        if (!root.IsMap()) {
            keys_.Add(r.At(root) + "scenario: expected a mapping, found " + KindOf(root));
            return;
        }
        r.Item([&] { r.Keys(root, "scenario", {"system", "lldp", "clock", "nodes", "interfaces", "neighbours"}); });
        const Reader rs = R(system_);
        if (root["system"]) rs.Item([&] { ReadSystem(rs, root["system"], plan_); });
        const Reader rg = R(global_);
        if (root["lldp"]) rg.Item([&] { ReadGlobal(rg, root["lldp"], plan_); });
        const Reader rc = R(clock_);
        if (root["clock"]) {
            rc.Item([&] { plan_.clock = static_cast<uint32_t>(rc.UInt(root["clock"], "clock", 0, UINT32_MAX)); });
        }
        if (!frontRead_) ReadFront(root);
        if (frontFailed_) {
            neighbours_ = Errors();
            plan_.neighbours.clear();
            return;
        }
        if (!neighbourReader_) neighbourReader_.emplace(reader_, plan_);
        if (streamed_) {
            for (const Doc &item : held_) neighbourReader_->Read(item);
            held_.clear();
        } else if (root["neighbours"]) {
            reader_.Item([&] {
                reader_.Seq(root["neighbours"], "neighbours");
                for (const auto &nb : root["neighbours"]) neighbourReader_->Read(nb);
            });
        }
        if (plan_.clock && *plan_.clock < plan_.lastAt) {
            last_.Add(R(last_).At(root["clock"]) + "clock: " + std::to_string(*plan_.clock) +
                      " lies before the last neighbour's 'at' (" + std::to_string(plan_.lastAt) + ")");
        }
    }

    const std::string &file_;
    Errors &errors_;
    Plan plan_;
    // The mistakes by part, in the order they are reported.
    Errors shape_{kPartLimit}, keys_{kPartLimit}, system_{kPartLimit}, global_{kPartLimit}, clock_{kPartLimit},
        nodes_{kPartLimit}, interfaces_{kPartLimit}, neighbours_{kPartLimit}, last_{kPartLimit};
    const Reader reader_{file_, &neighbours_};
    std::map<std::string, int> rootLines_;
    std::map<uint16_t, std::set<ManKey>> nodeAddrs_;
    std::optional<NeighbourReader> neighbourReader_;
    std::vector<Doc> held_;
    size_t items_ = 0;
    bool streamed_ = false;
    bool frontRead_ = false;
    bool frontFailed_ = false;
};

// Applies a checked plan; an error here is a fault of the loader, reported
// after the switch was emptied again.
std::string Apply(const Plan &plan) {
    ResetSwitch();
    ResetLldp();
    std::lock_guard<std::recursive_mutex> guard(StateLock());
    for (const auto &[id, up] : plan.nodes) AddNode(id, true);
    for (const Interface &i : plan.interfaces) AddInterface(i);
    if (plan.system) LocalSystem() = *plan.system;
    if (plan.config && SetGlobalConfig(*plan.config) != 0) return "the global configuration was refused";
    for (size_t i = 0; i < plan.nodeSetup.size(); ++i) {
        Daemon *d = DaemonOf(plan.nodeOf[i]);
        if (d == nullptr) return "node " + std::to_string(plan.nodeOf[i]) + " has no daemon";
        plan.nodeSetup[i](*d);
    }
    for (const auto &[ifIndex, setup] : plan.portSetup) {
        PortState *p = PortOf(ifIndex);
        if (p == nullptr) return "interface " + std::to_string(ifIndex) + " is not an LLDP port";
        setup(*p);
    }
    std::vector<const NeighbourPlan *> order;
    for (const NeighbourPlan &np : plan.neighbours) order.push_back(&np);
    std::stable_sort(order.begin(), order.end(), [](const NeighbourPlan *a, const NeighbourPlan *b) { return a->at < b->at; });
    for (const NeighbourPlan *np : order) {
        if (np->at > Clock()) MoveClock(np->at);
        const ReceiveResult res = ReceiveFrame(np->ifIndex, np->agent, np->lldpdu.data(), np->lldpdu.size());
        if (res.outcome == ReceiveOutcome::Discarded || res.outcome == ReceiveOutcome::NoSuchAgent ||
            res.outcome == ReceiveOutcome::Ignored) {
            return plan.file + ":" + std::to_string(np->line) + ": neighbour not received (" + ReceiveOutcomeName(res.outcome) +
                   "): is the agent's admin status receiving?";
        }
        if (np->refresh) {
            SimNeighbour sim;
            sim.ifIndex = np->ifIndex;
            sim.agent = np->agent;
            sim.lldpdu = np->lldpdu;
            sim.at = np->at;
            sim.every = uint64_t{np->silentEvery} * 100;
            sim.silentFor = uint64_t{np->silentFor} * 100;
            AddSimNeighbour(std::move(sim));
        }
    }
    if (plan.clock && *plan.clock > Clock()) MoveClock(*plan.clock);
    // Nodes start up so that the neighbours reach their daemons; the plan's
    // down nodes go down last.
    for (const auto &[id, up] : plan.nodes) {
        if (!up) SetNodeUp(id, false);
    }
    return {};
}

std::string SizeError(const std::string &file, uint64_t size) {
    return file + ": " + std::to_string(size) + " bytes, more than the scenario size limit of " +
           std::to_string(g_sizeLimit) + " bytes";
}

// The octets of a text as an input stream, without a copy.
class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(const std::string &text) {
        char *begin = const_cast<char *>(text.data());  // only read: the get area
        setg(begin, begin, begin + text.size());
    }
};

// Reads text into a plan; the mistakes go to errors.
Plan Read(const std::string &text, const std::string &file, Errors &errors) {
    if (text.size() > g_sizeLimit) {
        errors.Add(SizeError(file, text.size()));
        return {};
    }
    Errors found;
    try {
        {
            // The fast parser first, the neighbours read as they are parsed.
            // A file it cannot parse, or one with a mistake, is read again
            // from the start with yaml-cpp, so that its mistakes are told as
            // yaml-cpp tells the document (the two parsers differ on some
            // malformed YAML).
            try {
                PlanReader reader(file, found);
                const DocStream stream = reader.Stream(true);
                Doc root;
                if (ParseDocFast(text, "neighbours", stream, &root)) {
                    Plan plan = reader.Finish(root);
                    if (found.Empty()) return plan;
                }
            } catch (const YAML::Exception &) {
                // Told again below.
            }
        }
        found = Errors();
        TextBuffer buffer(text);
        std::istream in(&buffer);
        // The whole document first, as yaml-cpp reports a YAML mistake
        // before any other.
        PlanReader reader(file, found);
        const DocStream stream = reader.Stream(false);
        Plan plan = reader.Finish(ParseDoc(in, "neighbours", stream));
        errors = std::move(found);
        return plan;
    } catch (const YAML::DeepRecursion &e) {
        errors.Add(file + ":" + std::to_string(e.mark.line + 1) + ": nested " + std::to_string(e.depth()) +
                   " or more levels deep (a scenario nests at most " + std::to_string(kMaxNesting) + ")");
    } catch (const YAML::Exception &e) {
        errors.Add(file + ":" + std::to_string(e.mark.line + 1) + ": " + e.msg);
    }
    return {};
}

size_t AgentsOf(const Plan &plan) {
    size_t agents = 0;
    for (const Interface &i : plan.interfaces) {
        if (!IsLldpPort(i)) continue;
        for (uint32_t a = 1; a <= 3; ++a) agents += AgentAllowed(i.type, a) ? 1 : 0;
    }
    return agents;
}

ScenarioCheck Check(const std::string &text, const std::string &file) {
    Errors errors;
    const Plan plan = Read(text, file, errors);
    ScenarioCheck c;
    c.errors = errors.List();
    c.moreErrors = errors.More();
    c.nodes = plan.nodes.size();
    c.interfaces = plan.interfaces.size();
    c.neighbours = plan.neighbours.size();
    c.addresses = plan.addresses;
    c.agents = AgentsOf(plan);
    return c;
}

bool Load(const std::string &text, const std::string &file, std::string *error) {
    std::string failure;
    {
        Errors errors;
        const Plan plan = Read(text, file, errors);
        if (!errors.Empty()) {
            if (error != nullptr) {
                error->clear();
                for (const std::string &e : errors.List()) *error += (error->empty() ? "" : "\n") + e;
                if (errors.More()) *error += "\n(more mistakes follow; the first " + std::to_string(kMaxScenarioErrors) + " are shown)";
            }
            return false;
        }
        failure = Apply(plan);
    }
    // The plan and the parser's buffers are gone: the allocator hands the
    // pages they held back to the system instead of keeping them for a load
    // that does not come again.
    malloc_trim(0);
    if (!failure.empty()) {
        ResetSwitch();
        ResetLldp();
        if (error != nullptr) *error = failure;
        return false;
    }
    return true;
}

// The text of a file, or an error (missing, unreadable, above the limit).
std::optional<std::string> ReadFile(const std::string &path, std::string &error) {
    std::error_code ec;
    const uintmax_t size = std::filesystem::file_size(path, ec);
    if (!ec && size > g_sizeLimit) {
        error = SizeError(path, size);
        return std::nullopt;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = path + ": cannot be read";
        return std::nullopt;
    }
    // Read at most one octet past the limit: a file that grows (or a pipe)
    // is refused without reading all of it.
    std::string text(static_cast<size_t>(std::min<uint64_t>(g_sizeLimit + 1, uint64_t{1} << 20)), '\0');
    std::string out;
    while (in && out.size() <= g_sizeLimit) {
        in.read(text.data(), static_cast<std::streamsize>(std::min<uint64_t>(text.size(), g_sizeLimit + 1 - out.size())));
        out.append(text.data(), static_cast<size_t>(in.gcount()));
        if (in.gcount() == 0) break;
    }
    if (out.size() > g_sizeLimit) {
        error = SizeError(path, out.size()) + " (or more)";
        return std::nullopt;
    }
    return out;
}

}  // namespace

bool LoadScenarioText(const std::string &text, std::string *error, const std::string &name) {
    return Load(text, name, error);
}

bool LoadScenarioFile(const std::string &path, std::string *error) {
    std::string failure;
    std::optional<std::string> text = ReadFile(path, failure);
    if (!text) {
        if (error != nullptr) *error = failure;
        return false;
    }
    return Load(*text, path, error);
}

void SetScenarioSizeLimit(uint64_t bytes) { g_sizeLimit = bytes; }
uint64_t ScenarioSizeLimit() { return g_sizeLimit; }

ScenarioCheck CheckScenarioText(const std::string &text, const std::string &name) { return Check(text, name); }

ScenarioCheck CheckScenarioFile(const std::string &path) {
    std::string failure;
    std::optional<std::string> text = ReadFile(path, failure);
    if (!text) {
        ScenarioCheck c;
        c.errors.push_back(failure);
        return c;
    }
    return Check(*text, path);
}

bool LoadDefaultScenario(std::string *error) { return Load(DefaultScenarioText(), "<default scenario>", error); }

}  // namespace lldpv2host
