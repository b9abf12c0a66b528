#include "system_mib.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <limits>
#include <map>

#include "lldpv2host/lldp.h"

namespace lldpv2agent {

// ---- Serving columns ----------------------------------------------------

// Objects laid out as prefix.column.row with a one-arc row index: a table's
// entry, or a scalar group with the single row 0.
struct Snapshot {
    std::vector<uint32_t> rows;  // increasing
    std::function<std::optional<MibValue>(uint32_t column, uint32_t row)> value;
};

struct ColumnObjects {
    std::vector<oid> prefix;
    std::vector<uint32_t> columns;  // increasing
    std::function<Snapshot()> snapshot;
};

namespace {

// ---- Values -------------------------------------------------------------

MibValue Int(uint64_t v) { return MibValue{ASN_INTEGER, v, {}, {}}; }
MibValue Gauge(uint64_t v) { return MibValue{ASN_GAUGE, std::min<uint64_t>(v, UINT32_MAX), {}, {}}; }
MibValue Counter(uint64_t v) { return MibValue{ASN_COUNTER, v & UINT32_MAX, {}, {}}; }
MibValue Counter64(uint64_t v) { return MibValue{ASN_COUNTER64, v, {}, {}}; }
MibValue Ticks(uint64_t v) { return MibValue{ASN_TIMETICKS, v & UINT32_MAX, {}, {}}; }
MibValue Text(std::string s) {
    if (s.size() > 255) s.resize(255);  // DisplayString
    return MibValue{ASN_OCTET_STR, 0, std::move(s), {}};
}
MibValue ObjectId(std::vector<uint32_t> o) { return MibValue{ASN_OBJECT_ID, 0, {}, std::move(o)}; }
MibValue Truth(bool b) { return Int(b ? 1 : 2); }

// ---- Platform type codes --------------------------------------------------

constexpr uint32_t kIanaOther = 1;
constexpr uint32_t kIanaEthernetCsmacd = 6;
constexpr uint32_t kIanaSoftwareLoopback = 24;
constexpr uint32_t kIanaTunnel = 131;
constexpr uint32_t kIanaL3IpVlan = 136;
constexpr uint32_t kIanaIeee8023adLag = 161;

struct TypeFacts {
    uint32_t code;
    uint32_t ianaType;
    uint32_t speedMbps;
};

// Types not listed here are of class NotLldp or customer-bridge ports and show
// as "other".
constexpr TypeFacts kTypeFacts[] = {
    {18, kIanaEthernetCsmacd, 10},       // ethernet
    {19, kIanaEthernetCsmacd, 100},      // fast-ethernet
    {21, kIanaEthernetCsmacd, 1000},     // gigabit-ethernet
    {22, kIanaEthernetCsmacd, 40000},    // forty-gigabit-ethernet
    {23, kIanaEthernetCsmacd, 50000},    // fifty-gigabit-ethernet
    {25, kIanaEthernetCsmacd, 100000},   // hundred-gigabit-ethernet
    {26, kIanaEthernetCsmacd, 200000},   // two-hundred-gigabit-ethernet
    {28, kIanaEthernetCsmacd, 400000},   // four-hundred-gigabit-ethernet
    {31, kIanaEthernetCsmacd, 1000},     // management-ethernet
    {35, kIanaEthernetCsmacd, 0},        // stack-port
    {68, kIanaEthernetCsmacd, 10000},    // ten-gigabit-ethernet
    {69, kIanaEthernetCsmacd, 25000},    // twenty-five-gigabit-ethernet
    {70, kIanaEthernetCsmacd, 0},        // multi-gigabit-ethernet
    {71, kIanaEthernetCsmacd, 0},        // combo-ethernet
    {88, kIanaEthernetCsmacd, 0},        // breakout-ethernet
    {89, kIanaEthernetCsmacd, 800000},   // eight-hundred-gigabit-ethernet
    {56, kIanaIeee8023adLag, 0},         // aggregate
    {67, kIanaIeee8023adLag, 0},         // stack-aggregate
    {24, kIanaSoftwareLoopback, 0},      // loopback
    {29, kIanaL3IpVlan, 0},              // vlan-interface
    {40, kIanaTunnel, 0},                // tunnel
};

const TypeFacts *FactsOf(uint32_t code) {
    for (const TypeFacts &f : kTypeFacts) {
        if (f.code == code) return &f;
    }
    return nullptr;
}

// ---- Linux interfaces ---------------------------------------------------

std::optional<uint64_t> ReadSysfsNumber(const std::string &linuxName, const std::string &file) {
    if (linuxName.empty() || linuxName.find('/') != std::string::npos) return std::nullopt;
    std::ifstream in("/sys/class/net/" + linuxName + "/" + file);
    uint64_t v = 0;
    if (!(in >> v)) return std::nullopt;
    return v;
}

std::optional<std::pair<uint32_t, uint32_t>> NextInstance(const ColumnObjects &objs, const Snapshot &snap,
                                                          const oid *name, size_t len) {
    const std::vector<oid> &pre = objs.prefix;
    std::vector<oid> rest;
    const size_t common = std::min(len, pre.size());
    const int cmp = snmp_oid_compare(name, common, pre.data(), common);
    if (cmp > 0) return std::nullopt;  // after every object served here
    if (cmp == 0 && len > pre.size()) rest.assign(name + pre.size(), name + len);
    for (uint32_t column : objs.columns) {
        if (!rest.empty() && column < rest[0]) continue;
        for (uint32_t row : snap.rows) {
            if (!rest.empty() && column == rest[0] && rest.size() > 1 && row <= rest[1]) continue;
            if (snap.value(column, row)) return std::make_pair(column, row);
        }
    }
    return std::nullopt;
}

void SetValue(netsnmp_variable_list *vb, const MibValue &v) {
    switch (v.type) {
        case ASN_OCTET_STR:
            snmp_set_var_typed_value(vb, v.type, v.bytes.data(), v.bytes.size());
            break;
        case ASN_OBJECT_ID: {
            std::vector<oid> o(v.oid.begin(), v.oid.end());
            snmp_set_var_typed_value(vb, v.type, o.data(), o.size() * sizeof(oid));
            break;
        }
        case ASN_COUNTER64: {
            struct counter64 c {};
            c.high = static_cast<u_long>(v.number >> 32);
            c.low = static_cast<u_long>(v.number & UINT32_MAX);
            snmp_set_var_typed_value(vb, v.type, &c, sizeof(c));
            break;
        }
        case ASN_INTEGER: {
            const long n = static_cast<long>(v.number);
            snmp_set_var_typed_value(vb, v.type, &n, sizeof(n));
            break;
        }
        default: {
            const u_long n = static_cast<u_long>(v.number);
            snmp_set_var_typed_value(vb, v.type, &n, sizeof(n));
            break;
        }
    }
}

int HandleColumns(netsnmp_mib_handler *handler, netsnmp_handler_registration *, netsnmp_agent_request_info *reqinfo,
                  netsnmp_request_info *requests) {
    const auto *objs = static_cast<const ColumnObjects *>(handler->myvoid);
    const Snapshot snap = objs->snapshot();
    for (netsnmp_request_info *r = requests; r != nullptr; r = r->next) {
        if (r->processed) continue;
        netsnmp_variable_list *vb = r->requestvb;
        switch (reqinfo->mode) {
            case MODE_GET: {
                const size_t pre = objs->prefix.size();
                const bool column = vb->name_length > pre &&
                                    snmp_oid_compare(vb->name, pre, objs->prefix.data(), pre) == 0 &&
                                    std::binary_search(objs->columns.begin(), objs->columns.end(), vb->name[pre]);
                if (!column) {
                    netsnmp_set_request_error(reqinfo, r, SNMP_NOSUCHOBJECT);
                    break;
                }
                const oid row = vb->name_length == pre + 2 ? vb->name[pre + 1] : oid{UINT32_MAX} + 1;
                std::optional<MibValue> v;
                if (row <= UINT32_MAX && std::binary_search(snap.rows.begin(), snap.rows.end(), row))
                    v = snap.value(static_cast<uint32_t>(vb->name[pre]), static_cast<uint32_t>(row));
                if (v)
                    SetValue(vb, *v);
                else
                    netsnmp_set_request_error(reqinfo, r, SNMP_NOSUCHINSTANCE);
                break;
            }
            case MODE_GETNEXT: {
                const auto next = NextInstance(*objs, snap, vb->name, vb->name_length);
                if (!next) break;  // the agent goes on with the next registration
                std::vector<oid> name = objs->prefix;
                name.push_back(next->first);
                name.push_back(next->second);
                snmp_set_var_objid(vb, name.data(), name.size());
                SetValue(vb, *snap.value(next->first, next->second));
                break;
            }
            default:
                netsnmp_set_request_error(reqinfo, r, SNMP_ERR_NOTWRITABLE);
                break;
        }
    }
    return SNMP_ERR_NOERROR;
}

std::vector<uint32_t> Range(uint32_t first, uint32_t last) {
    std::vector<uint32_t> v;
    for (uint32_t i = first; i <= last; ++i) v.push_back(i);
    return v;
}

std::string HostName() {
    char buf[256] = {};
    if (gethostname(buf, sizeof(buf) - 1) != 0) return "";
    return buf;
}

std::string HostDescription() {
    struct utsname u {};
    if (uname(&u) != 0) return "Linux";
    return std::string(u.sysname) + " " + u.nodename + " " + u.release + " " + u.version + " " + u.machine;
}

// The interfaces IF-MIB shows, by ifIndex.
std::map<uint32_t, IfRow> InterfaceRows() {
    std::map<uint32_t, IfRow> rows;
    for (const lldpv2host::Interface &intf : lldpv2host::Interfaces()) {
        if (!intf.valid) continue;
        rows.emplace(intf.ifIndex,
                     MakeIfRow(intf, lldpv2host::NodeUp(intf.node), lldpv2host::PortDescription(intf.ifIndex)));
    }
    return rows;
}

Snapshot RowsSnapshot(std::optional<MibValue> (*value)(const IfRow &, uint32_t)) {
    auto rows = std::make_shared<std::map<uint32_t, IfRow>>(InterfaceRows());
    Snapshot s;
    for (const auto &[ifIndex, row] : *rows) s.rows.push_back(ifIndex);
    s.value = [rows, value](uint32_t column, uint32_t ifIndex) -> std::optional<MibValue> {
        auto it = rows->find(ifIndex);
        if (it == rows->end()) return std::nullopt;
        return value(it->second, column);
    };
    return s;
}

}  // namespace

uint32_t SysServicesOf(uint16_t capEnabled) {
    constexpr uint16_t kRepeater = 1 << 1, kBridge = 1 << 2, kWlanAp = 1 << 3, kRouter = 1 << 4,
                       kTelephone = 1 << 5, kStation = 1 << 7, kCVlan = 1 << 8, kSVlan = 1 << 9, kTpmr = 1 << 10;
    uint32_t services = 0;
    if (capEnabled & kRepeater) services |= 1u << 0;
    if (capEnabled & (kBridge | kWlanAp | kCVlan | kSVlan | kTpmr)) services |= 1u << 1;
    if (capEnabled & kRouter) services |= 1u << 2;
    if (capEnabled & (kStation | kTelephone)) services |= (1u << 3) | (1u << 6);
    return services;
}

uint32_t IanaIfTypeOf(uint32_t platformType) {
    const TypeFacts *f = FactsOf(platformType);
    return f == nullptr ? kIanaOther : f->ianaType;
}

uint32_t NominalSpeedMbps(uint32_t platformType) {
    const TypeFacts *f = FactsOf(platformType);
    return f == nullptr ? 0 : f->speedMbps;
}

IfRow MakeIfRow(const lldpv2host::Interface &intf, bool nodeUp, const std::string &alias) {
    IfRow r;
    r.ifIndex = intf.ifIndex;
    const bool onLinux = !intf.linuxName.empty();
    r.name = onLinux ? intf.linuxName : intf.name;
    if (r.name.empty()) r.name = "if" + std::to_string(intf.ifIndex);
    r.descr = onLinux && !intf.name.empty() && intf.name != intf.linuxName ? intf.linuxName + " (" + intf.name + ")"
                                                                        : r.name;
    r.type = IanaIfTypeOf(intf.type);
    const bool ethernetLike = r.type == kIanaEthernetCsmacd || r.type == kIanaIeee8023adLag;
    r.mtu = ethernetLike ? 1500 : 0;
    r.speedMbps = intf.speedMbps != 0 ? intf.speedMbps : NominalSpeedMbps(intf.type);
    if (std::any_of(intf.mac.begin(), intf.mac.end(), [](uint8_t b) { return b != 0; }))
        r.physAddress.assign(intf.mac.begin(), intf.mac.end());
    r.adminUp = true;
    r.operUp = nodeUp && intf.operUp;
    r.alias = alias;
    if (onLinux) {
        const std::string &n = intf.linuxName;
        r.mtu = static_cast<uint32_t>(ReadSysfsNumber(n, "mtu").value_or(r.mtu));
        auto stat = [&](const char *f) { return ReadSysfsNumber(n, std::string("statistics/") + f).value_or(0); };
        r.inOctets = stat("rx_bytes");
        r.inMulticast = stat("multicast");
        r.inUcastPkts = stat("rx_packets") - std::min(stat("rx_packets"), r.inMulticast);
        r.inDiscards = stat("rx_dropped");
        r.inErrors = stat("rx_errors");
        r.outOctets = stat("tx_bytes");
        r.outUcastPkts = stat("tx_packets");
        r.outDiscards = stat("tx_dropped");
        r.outErrors = stat("tx_errors");
    }
    return r;
}

std::optional<MibValue> IfTableValue(const IfRow &r, uint32_t column) {
    switch (column) {
        case 1: return Int(r.ifIndex);
        case 2: return Text(r.descr);
        case 3: return Int(r.type);
        case 4: return Int(r.mtu);
        case 5: return Gauge(uint64_t{r.speedMbps} * 1000000);
        case 6: return MibValue{ASN_OCTET_STR, 0, r.physAddress, {}};
        case 7: return Int(r.adminUp ? 1 : 2);
        case 8: return Int(r.operUp ? 1 : 2);
        case 9: return Ticks(0);  // ifLastChange: up since before the agent started
        case 10: return Counter(r.inOctets);
        case 11: return Counter(r.inUcastPkts);
        case 12: return Counter(r.inMulticast);  // ifInNUcastPkts
        case 13: return Counter(r.inDiscards);
        case 14: return Counter(r.inErrors);
        case 15: return Counter(0);  // ifInUnknownProtos
        case 16: return Counter(r.outOctets);
        case 17: return Counter(r.outUcastPkts);
        case 18: return Counter(0);  // ifOutNUcastPkts
        case 19: return Counter(r.outDiscards);
        case 20: return Counter(r.outErrors);
        case 21: return Gauge(0);                    // ifOutQLen
        case 22: return ObjectId({0, 0});                 // ifSpecific
        default: return std::nullopt;
    }
}

std::optional<MibValue> IfXTableValue(const IfRow &r, uint32_t column) {
    switch (column) {
        case 1: return Text(r.name);
        case 2: return Counter(r.inMulticast);
        case 3: case 4: case 5: return Counter(0);
        case 6: return Counter64(r.inOctets);
        case 7: return Counter64(r.inUcastPkts);
        case 8: return Counter64(r.inMulticast);
        case 9: return Counter64(0);
        case 10: return Counter64(r.outOctets);
        case 11: return Counter64(r.outUcastPkts);
        case 12: case 13: return Counter64(0);
        case 14: return Int(2);  // ifLinkUpDownTrapEnable: disabled
        case 15: return Gauge(r.speedMbps);
        case 16: return Truth(false);  // ifPromiscuousMode
        case 17: return Truth(r.type == kIanaEthernetCsmacd);  // ifConnectorPresent
        case 18: return Text(r.alias.substr(0, 64));
        case 19: return Ticks(0);  // ifCounterDiscontinuityTime
        default: return std::nullopt;
    }
}

SystemMib::SystemMib(SystemInfo info) : info_(std::move(info)) {
    auto add = [this](const char *name, std::vector<oid> registerAt, std::unique_ptr<ColumnObjects> objs) {
        netsnmp_handler_registration *reg = netsnmp_create_handler_registration(
            name, HandleColumns, registerAt.data(), registerAt.size(), HANDLER_CAN_RONLY);
        if (reg == nullptr) return;
        reg->handler->myvoid = objs.get();
        if (netsnmp_register_handler(reg) != MIB_REGISTERED_OK) {
            snmp_log(LOG_ERR, "lldpv2-agent: cannot register %s\n", name);
            return;
        }
        objects_.push_back(std::move(objs));
        registered_.emplace_back(registerAt.begin(), registerAt.end());
    };

    // system: sysDescr .. sysServices, instance 0.
    auto system = std::make_unique<ColumnObjects>();
    system->prefix = {1, 3, 6, 1, 2, 1, 1};
    system->columns = Range(1, 7);
    system->snapshot = [this] {
        const lldpv2host::LocalSystemView sys = lldpv2host::LocalSystemInfo();
        Snapshot s;
        s.rows = {0};
        s.value = [this, sys](uint32_t column, uint32_t) -> std::optional<MibValue> {
            switch (column) {
                case 1: return Text(sys.description.empty() ? HostDescription() : sys.description);
                case 2: return ObjectId(info_.objectId);
                case 3: return Ticks(netsnmp_get_agent_uptime());
                case 4: return Text(info_.contact);
                case 5: return Text(sys.name.empty() ? HostName() : sys.name);
                case 6: return Text(info_.location);
                case 7: return Int(SysServicesOf(sys.capEnabled));
                default: return std::nullopt;
            }
        };
        return s;
    };
    std::vector<oid> systemAt = system->prefix;
    add("lldpv2-system", systemAt, std::move(system));

    // ifNumber.0
    auto number = std::make_unique<ColumnObjects>();
    number->prefix = {1, 3, 6, 1, 2, 1, 2};
    number->columns = {1};
    number->snapshot = [] {
        const uint64_t n = InterfaceRows().size();
        Snapshot s;
        s.rows = {0};
        s.value = [n](uint32_t, uint32_t) -> std::optional<MibValue> { return Int(n); };
        return s;
    };
    add("lldpv2-ifNumber", {1, 3, 6, 1, 2, 1, 2, 1}, std::move(number));

    auto ifTable = std::make_unique<ColumnObjects>();
    ifTable->prefix = {1, 3, 6, 1, 2, 1, 2, 2, 1};
    ifTable->columns = Range(1, 22);
    ifTable->snapshot = [] { return RowsSnapshot(&IfTableValue); };
    add("lldpv2-ifTable", {1, 3, 6, 1, 2, 1, 2, 2}, std::move(ifTable));

    auto ifXTable = std::make_unique<ColumnObjects>();
    ifXTable->prefix = {1, 3, 6, 1, 2, 1, 31, 1, 1, 1};
    ifXTable->columns = Range(1, 19);
    ifXTable->snapshot = [] { return RowsSnapshot(&IfXTableValue); };
    add("lldpv2-ifXTable", {1, 3, 6, 1, 2, 1, 31, 1, 1}, std::move(ifXTable));
}

SystemMib::~SystemMib() {
    for (std::vector<unsigned long> &o : registered_) unregister_mib(o.data(), o.size());
}

}  // namespace lldpv2agent
