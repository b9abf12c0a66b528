// The objects an NMS reads beside LLDP, served by the standalone agent: the
// system group of SNMPv2-MIB and the interface tables of IF-MIB (ifNumber,
// ifTable, ifXTable) for the switch model's interfaces, so that
// lldpV2LocPortIfIndex resolves to an interface name. Under AgentX the master
// serves its own.
//
// Values: sysDescr, sysName and sysServices come from the stack's local
// system data (falling back to the host's name and uname), sysObjectID is
// net-snmp's Linux agent identity unless configured. Interfaces of the
// switch model are listed when valid; a port backed by a Linux interface
// shows the kernel's name, MTU and counters.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lldpv2host/switch.h"

namespace lldpv2agent {

// One SNMP value (net-snmp's ASN_* type and its data).
struct MibValue {
    unsigned char type = 0;
    uint64_t number = 0;           // integers, gauges, counters, time ticks
    std::string bytes;             // OCTET STRING
    std::vector<uint32_t> oid;     // OBJECT IDENTIFIER
};

struct SystemInfo {
    std::string contact;
    std::string location;
    std::vector<uint32_t> objectId{1, 3, 6, 1, 4, 1, 8072, 3, 2, 10};  // net-snmp's Linux agent
};

// sysServices from LLDP enabled capabilities: repeater layer 1, bridge (and
// the bridge-like capabilities) layer 2, router layer 3, a station layers
// 4 and 7.
uint32_t SysServicesOf(uint16_t capEnabled);

// ifType (IANAifType) of a platform interface type.
uint32_t IanaIfTypeOf(uint32_t platformType);
// The nominal speed of a platform interface type in Mb/s, 0 when unknown.
uint32_t NominalSpeedMbps(uint32_t platformType);

// What the IF-MIB rows of one interface show.
struct IfRow {
    uint32_t ifIndex = 0;
    std::string descr;
    uint32_t type = 1;
    uint32_t mtu = 0;
    uint32_t speedMbps = 0;
    std::string physAddress;  // 6 octets, or empty
    bool adminUp = true;
    bool operUp = true;
    std::string name;
    std::string alias;
    // Counters of a Linux interface (0 on simulated ports).
    uint64_t inOctets = 0, inUcastPkts = 0, inDiscards = 0, inErrors = 0;
    uint64_t outOctets = 0, outUcastPkts = 0, outDiscards = 0, outErrors = 0;
    uint64_t inMulticast = 0;
};
IfRow MakeIfRow(const lldpv2host::Interface &intf, bool nodeUp, const std::string &alias);

// The value of column `column` of ifTable (table 2) or ifXTable (table 31)
// for a row; nullopt for a column not served.
std::optional<MibValue> IfTableValue(const IfRow &row, uint32_t column);
std::optional<MibValue> IfXTableValue(const IfRow &row, uint32_t column);

struct ColumnObjects;

// Registers the handlers with net-snmp (standalone agent, after init_agent).
// Unregisters them on destruction.
class SystemMib {
public:
    explicit SystemMib(SystemInfo info);
    ~SystemMib();
    SystemMib(const SystemMib &) = delete;
    SystemMib &operator=(const SystemMib &) = delete;

    const SystemInfo &info() const { return info_; }

private:
    SystemInfo info_;
    std::vector<std::vector<unsigned long>> registered_;  // subtrees to unregister
    std::vector<std::unique_ptr<ColumnObjects>> objects_;  // what the handlers serve
};

}  // namespace lldpv2agent
