// Internal state of the LLDP daemons of the simulated switch: one Daemon per
// member node, attached to the node in the switch model, plus the state the
// whole stack shares (global configuration, local system data, the clock).
// Everything is guarded by one lock, held by each client library call and
// each control call for its whole run.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lldp/daemon/neighbour_index.h"
#include "lldp/daemon/neighbour_store.h"
#include "lldp/daemon/remote.h"
#include "lldp/lldpdu.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/switch.h"

namespace lldpv2host::daemon {

// Admin status as the daemon keeps it (the interface status buffer's values).
enum DaemonAdmin : uint8_t { kAdminDisabled = 0, kAdminTxOnly = 1, kAdminRxOnly = 2, kAdminTxRx = 3 };

// TLV transmit bits that exist (see LLDP_TLVBIT_*).
constexpr uint32_t kKnownTlvBits = (1u << 3) | (1u << 4) | (1u << 5) | (1u << 6) | (1u << 7) | (1u << 8) |
                                   (1u << 9) | (1u << 10) | (1u << 11) | (1u << 15) | (1u << 16) |
                                   (1u << 17) | (1u << 18) | (1u << 24);
// What a new agent transmits: the four basic optional TLVs, the port VLAN id,
// link aggregation and the three 802.3 TLVs.
constexpr uint32_t kDefaultTlvMask = (1u << 3) | (1u << 4) | (1u << 5) | (1u << 6) | (1u << 8) | (1u << 15) |
                                     (1u << 16) | (1u << 17) | (1u << 18);

// A management address key in its index order: subtype, length, octets.
struct ManKey {
    uint32_t subtype = 0;
    std::vector<uint8_t> addr;
    bool operator<(const ManKey &o) const {
        if (subtype != o.subtype) return subtype < o.subtype;
        if (addr.size() != o.addr.size()) return addr.size() < o.addr.size();
        return addr < o.addr;
    }
    bool operator==(const ManKey &o) const = default;
};

// A management-address transmit entry of one (port, agent).
struct ManAddrTx {
    ManKey key;
    bool txEnable = false;
    uint32_t rowStatus = 1;  // active
};

struct AgentState {
    uint8_t adminStatus = kAdminTxRx;
    bool notification = false;
    uint32_t tlvMask = kDefaultTlvMask;
    std::optional<uint16_t> vlanNameId;   // configured VLAN of the VLAN name TLV
    std::optional<uint16_t> protoVlanId;  // configured port and protocol VLAN id
    std::optional<ManAddrTx> manAddrTx;
    AgentCounters counters;
    // Neighbours of this agent by MSAP identifier (chassis id and port id).
    std::map<std::vector<uint8_t>, uint32_t> msap;
    uint32_t nextRemIndex = 1;
    uint32_t tooManyUntil = 0;  // clock until which too many neighbours is reported
    bool tooManySeen = false;
    uint32_t nextTx = 0;        // clock of the next regular transmission
};

// Local data of one port: what its LLDPDUs carry besides the stack's system data.
struct PortLocal {
    uint8_t portIdSubtype = 5;  // interface name
    std::vector<uint8_t> portId;
    std::string portDesc;
    uint16_t pvid = 1;           // 0: no port VLAN
    std::vector<lldp::VlanName> vlans;
    std::vector<lldp::ProtoVlan> protoVlans;
    std::optional<uint16_t> managementVid;
    std::optional<lldp::LinkAggregation> linkAgg;
    std::optional<lldp::MacPhy> macPhy;
    std::optional<lldp::PowerMdi> power;
    std::optional<uint16_t> maxFrameSize;
};

// DCBX administrative data of one port.
struct DcbxAdmin {
    bool etsValid = false;
    lldp::EtsConfig ets;
    lldp::EtsRecommendation reco;
    bool pfcValid = false;
    lldp::Pfc pfc;
    bool appValid = false;
    std::vector<lldp::AppPriority> apps;
};

struct PortState {
    uint32_t ifIndex = 0;
    uint32_t type = 0;
    PortLocal local;
    DcbxAdmin dcbx;
    uint32_t neighbourLimit = kDefaultNeighbourLimit;
    std::array<AgentState, 3> agents;  // agent 1..3 at 0..2

    AgentState &Agent(uint32_t agent) { return agents[agent - 1]; }
};

// A local management address of a node.
struct LocalManAddr {
    ManKey key;
    uint8_t ifSubtype = 2;  // ifIndex
    uint32_t ifId = 0;
    std::vector<uint8_t> oid;
};

struct NodeStats {
    uint32_t inserts = 0;
    uint32_t deletes = 0;
    uint32_t drops = 0;
    uint32_t ageouts = 0;
    uint32_t lastChangeTime = 0;
};

class Daemon : public NodeAttachment {
public:
    uint16_t node = 0;
    LldpGlobalConfig config;
    NodeStats stats;
    std::map<uint32_t, PortState> ports;
    // Neighbours by key. A neighbour's address changes only when its TLV
    // stream is replaced (NeighbourStore::SetTlvs), and the index, which
    // holds the addresses, is told then.
    NeighbourStore neighbours;
    NeighbourIndex index;
    std::set<std::pair<uint32_t, RemKey>> ageing;  // (expiry, key)
    std::map<ManKey, LocalManAddr> localManAddrs;
};

struct LocalSystemData {
    uint8_t chassisIdSubtype = 4;  // MAC address
    std::vector<uint8_t> chassisId{0x02, 0x00, 0x5E, 0x10, 0x00, 0x01};
    std::string sysName = "switch";
    std::string sysDesc = "Stackable LLDP switch";
    uint16_t capSupported = 0x0014;  // bridge, router
    uint16_t capEnabled = 0x0004;    // bridge
};

// The lock that guards every daemon.
std::recursive_mutex &StateLock();

// Stack-wide state.
LldpGlobalConfig &StackConfig();
LocalSystemData &LocalSystem();
uint32_t &Clock();

// The daemon of node, created on first use; null when the node is not in the
// switch model.
Daemon *DaemonOf(uint16_t node);
// The daemon of a node only if it is up.
Daemon *UpDaemonOf(uint16_t node);
// Daemons of every node of the model, in node order.
std::vector<Daemon *> AllDaemons();
// Daemons of the nodes that are up, in node order.
std::vector<Daemon *> UpDaemons();
// The daemons by node, after creating those of up nodes that have none, as
// UpDaemons does; the map may also hold daemons of nodes that are down, so
// callers check NodeUp. Unlike UpDaemons it allocates nothing when no node
// was added or came up since the last call.
const std::map<uint16_t, std::shared_ptr<Daemon>> &DaemonsOfUpNodes();

// An interface that the daemons treat as an LLDP port: it exists, is valid,
// neither temporary nor a sub-interface, and its type is of an LLDP class.
bool IsLldpPort(const Interface &intf);
// The state of the LLDP port ifIndex (created with default local data on
// first use) and its daemon; null when ifIndex is not an LLDP port.
PortState *PortOf(uint32_t ifIndex, Daemon **daemon = nullptr);
// Port and agent, when the agent runs on the port's type.
AgentState *AgentOf(uint32_t ifIndex, uint32_t agent, PortState **port = nullptr, Daemon **daemon = nullptr);
// The agent ifIndex uses when asked for agent but agent does not run there.
uint32_t EffectiveAgent(const PortState &port, uint32_t agent);

// Checks one global value against its MIB range; 0 or LLDP_ERR_BAD_VALUE.
uint32_t CheckGlobalValue(uint32_t id, uint32_t value);

// Too many neighbours is reported for the agent now.
bool TooMany(const AgentState &agent);
// Removes one neighbour from every structure of its daemon.
void EraseNeighbour(Daemon &d, const RemKey &key);
// Removes every neighbour of one agent, counting them as deletes when count.
void ClearAgentNeighbours(Daemon &d, PortState &port, uint32_t agent, bool count);

// The local LLDPDU of (port, agent) as data.
lldp::Lldpdu LocalPdu(const Daemon &d, const PortState &port, uint32_t agent);

// Receive rules for one LLDPDU on (ifIndex, agent).
ReceiveResult ReceiveFrame(uint32_t ifIndex, uint32_t agent, const uint8_t *data, size_t len);
// Moves the clock, ageing and counting transmissions when it goes forward.
void MoveClock(uint32_t to);
// Sets the admin status (daemon value); an agent that stops receiving forgets
// its neighbours. 0, LLDP_ERR_NO_ENTRY or LLDP_ERR_BAD_VALUE.
uint32_t ApplyAdminStatus(uint32_t ifIndex, uint32_t agent, uint8_t value);

// The daemon's buffers.
constexpr uint8_t kBufVersion = 1;
constexpr uint8_t kGlobalBufMagic = 0x47;   // global configuration
constexpr uint8_t kStatusBufMagic = 0x53;   // interface status
constexpr uint8_t kStatsBufMagic = 0x43;    // interface statistics
constexpr uint8_t kGStatsBufMagic = 0x52;   // remote-table statistics of a node
constexpr uint8_t kTlvCfgBufMagic = 0x54;   // TLV transmit configuration
constexpr uint8_t kSysInfoBufMagic = 0x49;  // local system information
constexpr uint16_t kGlobalBufLen = 18;
std::vector<uint8_t> GlobalBuffer(const LldpGlobalConfig &cfg);

}  // namespace lldpv2host::daemon
