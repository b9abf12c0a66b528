// Internal state of the LLDP daemons of the simulated switch: one Daemon per
// member node, attached to the node in the switch model, plus the state the
// whole stack shares (global configuration, local system data, the clock,
// the timer queue, sinks and simulated neighbours).
// Everything is guarded by one lock, held by each client library call and
// each control call for its whole run.
#pragma once

#include <array>
#include <compare>
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

// Octet-wise order of MSAP identifiers, written out: g++ 12 at -O3 misreads
// the memcmp of std::less<std::vector<uint8_t>>, inlined into the map's
// insertion, as a read beyond any object (a false -Wstringop-overread).
struct MsapLess {
    bool operator()(const std::vector<uint8_t> &a, const std::vector<uint8_t> &b) const {
        const size_t n = a.size() < b.size() ? a.size() : b.size();
        for (size_t i = 0; i < n; ++i) {
            if (a[i] != b[i]) return a[i] < b[i];
        }
        return a.size() < b.size();
    }
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
    std::map<std::vector<uint8_t>, uint32_t, MsapLess> msap;
    uint32_t nextRemIndex = 1;
    uint32_t tooManyUntil = 0;  // clock until which too many neighbours is reported
    bool tooManySeen = false;

    // Transmission (transmit.cpp). Times are clocks in hundredths, 64 bits
    // wide so that schedules past the end of the 32-bit clock do not wrap.
    bool txOn = false;         // the transmit machine runs (admin, link, reinit delay allow it)
    bool txDue = false;        // a frame waits to be sent (for a credit)
    bool txPduValid = false;   // txPdu is what the agent sends now
    bool txPduTooLong = false; // the LLDPDU did not fit a frame and was cut
    uint8_t txFast = 0;        // fast-start frames still to come
    uint8_t credit = 0;        // transmit credit
    uint64_t creditAt = 0;     // clock of the next credit while below the maximum
    uint64_t ttrAt = 0;        // next expiry of the transmit timer
    uint64_t reinitUntil = 0;  // no restart before this clock after a disable
    bool scheduled = false;    // wakeAt is in the timer queue
    uint64_t wakeAt = 0;
    std::vector<uint8_t> txPdu;  // the TLV stream the agent sends (End TLV included)
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
    bool started = false;  // the transmit side knows the port (link state followed since)
    bool linkUp = false;   // link up and node up, as last seen

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

// ---------------------------------------------------------------------------
// Real time (transmit.cpp)

// One entry of the stack's timer queue. Entries are ordered by time, then by
// kind: at equal times simulated neighbours are received before agents
// transmit (ageing, kept by each daemon, comes before both).
struct Timer {
    enum Kind : uint8_t { kSim = 0, kAgent = 1, kTooMany = 2 };
    uint64_t at = 0;
    uint8_t kind = kAgent;
    uint16_t node = 0;
    uint32_t id = 0;     // kAgent, kTooMany: ifIndex; kSim: the simulated neighbour
    uint32_t agent = 0;
    auto operator<=>(const Timer &) const = default;
};

// A scenario neighbour that the daemon receives again every txInterval.
struct SimNeighbour {
    uint32_t ifIndex = 0;
    uint32_t agent = 0;
    std::vector<uint8_t> lldpdu;
    uint32_t at = 0;          // its first reception
    uint64_t every = 0;       // hundredths; silent for the last silentFor of every
    uint64_t silentFor = 0;   // 0: never silent
};

// State of the stack's real-time behaviour that outlives the daemons.
struct RealTime {
    std::set<Timer> timers;
    std::vector<SimNeighbour> sims;
    std::set<std::pair<uint32_t, uint32_t>> simAgents;  // (ifIndex, agent) with simulated neighbours
    std::vector<std::pair<uint64_t, FrameSink>> frameSinks;  // survive resets
    std::vector<std::pair<uint64_t, EventSink>> eventSinks;
    uint64_t nextSinkId = 1;
    bool scanPorts = true;                 // find every LLDP port of the model
    std::set<uint32_t> portsChanged;       // ports whose link state or existence changed
    std::set<uint16_t> nodesChanged;       // nodes whose up state changed
    std::set<std::pair<uint32_t, uint32_t>> localChanged;  // (ifIndex, agent 0 = all) written to
    uint64_t configGen = 0;                // bumped by writes that concern every agent
    uint64_t sweptGen = 0;                 // configGen the agents were last checked against
    bool intervalChanged = false;          // txInterval changed since the last sweep
    bool stopped = false;                  // ShutdownAll: nothing transmits any more
};
RealTime &Rt();
// Forgets timers, simulated neighbours and pending work; sinks stay.
void ResetRealTime();
// Every daemon by node.
const std::map<uint16_t, std::shared_ptr<Daemon>> &DaemonMap();

// What the agent sends may have changed: checked at the next clock move.
void MarkLocalChange(uint32_t ifIndex, uint32_t agent);
// The global configuration or the stack's local data changed.
void MarkConfigChange(bool intervalChanged);
// The port's link or existence may have changed (switch observer).
void MarkPortChanged(uint32_t ifIndex);
void MarkNodeChanged(uint16_t node);
// Takes the port's timers out of the queue before its state goes.
void UnschedulePort(uint16_t node, PortState &port);
// Brings the transmit side up to date with the model and the writes.
void SyncPending();
// Starts the port's transmit side if it has not been yet; the port's link state.
bool PortLinkUp(Daemon &d, PortState &port);
// Admin status of the agent changed.
void AdminChanged(Daemon &d, PortState &port, uint32_t agent);
// A new neighbour was inserted on the agent: fast start.
void NewNeighbour(Daemon &d, PortState &port, uint32_t agent);
// Too many neighbours ends at until: a wakeup for whoever watches it.
void ScheduleTooManyEnd(uint16_t node, uint32_t ifIndex, uint32_t agent, uint32_t until);
// Registers a simulated neighbour received first at s.at.
void AddSimNeighbour(SimNeighbour s);

// Events.
bool EventSinksActive();
void EmitEvent(const LldpEvent &event);
// An event about a neighbour of known identity.
void EmitNeighbourEvent(LldpEvent::Kind kind, uint32_t ifIndex, uint32_t agent, uint32_t remIndex,
                        uint8_t chassisSubtype, const std::vector<uint8_t> &chassisId, uint8_t portSubtype,
                        const std::vector<uint8_t> &portId);
void EmitNeighbourEvent(LldpEvent::Kind kind, const Neighbour &n);
// An identifier as text: a MAC address as aa:bb:.., a network address as
// its IP address, printable text as itself, anything else as hex.
std::string ReadableId(bool chassis, uint8_t subtype, const std::vector<uint8_t> &id);

// Receive rules for one LLDPDU on (ifIndex, agent).
ReceiveResult ReceiveFrame(uint32_t ifIndex, uint32_t agent, const uint8_t *data, size_t len);
// Moves the clock: when it goes forward, everything due on the way (ageing,
// simulated neighbours, transmissions) happens at its own time.
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
