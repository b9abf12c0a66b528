// The LLDP daemons of the simulated switch: one per member node, attached to
// the node in the switch model (lldpv2host/switch.h). Each holds the global
// LLDP configuration, the state of the LLDP agents of its node's ports (admin
// status, TLV transmit configuration, management-address transmit entries,
// statistics), the ports' local data and DCBX admin data, and the neighbours
// received on its ports. The platform's LLDP client library
// (lldpv2/lldp_client.h) answers from these daemons; tests, scenarios
// (lldpv2host/scenario.h) and tools drive them through this interface.
//
// Time is a stack-wide clock in hundredths of a second (the unit of time
// marks). Whoever owns time moves it (SetClock / AdvanceClock): the agent's
// event loop from the monotonic clock, tests with a fake clock. Everything
// due on the way happens at its own time: neighbours age out, agents
// transmit, simulated neighbours are received again (see "Real time" below).
//
// Neighbours enter only through Receive: the LLDPDU is validated with the
// IEEE 802.1AB receive rules; its MSAP identifier (chassis id and port id)
// decides between an update of a known neighbour and an insert under a new
// remote index of that agent; a TTL of 0 deletes; a new neighbour beyond the
// port's limit is dropped and sets too-many-neighbours for the TTL of the
// dropped information.
//
// Answers of the client library, beyond what lldp_client.h says:
//
// Time marks. A remote query under time mark t sees only neighbours whose
// information was inserted or changed at or after t, and the rows it returns
// keep t as their time mark: a walk that starts without a time mark lists
// every neighbour once under time mark 0. Remote rows come in the order of
// (time mark, port, agent, remote index), then of their sub-index.
//
// Buffers (all multi-byte numbers in network order):
// - LLDP_ITEM_LOC_PORT and LLDP_mor_V2MibGetNextLocTable: a 4-byte header
//   (16-bit length of the TLV stream, the agent, the agent's admin status)
//   followed by the TLV stream of the LLDPDU the agent sends, End TLV
//   included. An agent that does not run on the port is answered with the
//   port's first agent.
// - Remote information (LLDP_mor_GetRemTableByTFAI / ByTFA): a 1-byte header,
//   the number of management address TLVs that follow (at most 255), then the
//   neighbour's TLV stream as stored (valid TLVs only), End TLV included.
// - The other items have buffers of the daemon's own layout, read only by the
//   matching LLDP_util_Create* / LLDP_msg_Create* parsers.
//
// LLDP_mor_MibGetNext (per node, the node's own ports only; 0 with *len 0
// when the node has no further entry; the index parameter's (n) fields in
// network order, its TFAI in host order; results are 32-bit values in
// network order unless said otherwise):
// - item 13, local management addresses: key manAddr, ordered by subtype,
//   length, octets; result LLDP_LOC_MANADDR_S (address string length =
//   address length + 1, interface subtype and number, the OID's BER octets in
//   the reserved bytes and their count in tail).
// - item 19, local 802.1 data of each port, selector = kind:
//     1 port VLAN id: ifIndex; result 4 bytes, the 16-bit id at byte 0;
//     2 port and protocol VLAN: ifIndex, index2 = PPVID; result 8 bytes,
//       supported and enabled (1 or 0);
//     3 VLAN name: ifIndex, index2 = VLAN id; result 40 bytes: the name
//       NUL-terminated in bytes 0..32, its length as 32 bits at byte 36;
//     4 management VID: as kind 1;
//     5 link aggregation: ifIndex; result 5 bytes, LLDP_LINK_AGG_S.
// - item 21, remote sub-tables, key tfai then the sub-index, by selector:
//     LLDP_REMSUB_MANADDR (1): manAddr; result LLDP_REM_MANADDR_REC_S
//       (interface subtype, number, OID octets in reserved, OID length in tail);
//     LLDP_REMSUB_UNKNOWN (2): tlvType; result LLDP_REM_UNKNOWN_REC_S (the
//       first TLV of each type);
//     LLDP_REMSUB_ORGDEF (3): orgDef (OUI, ouiLen 3, subtype, index from 1
//       per OUI and subtype); result LLDP_REM_ORGDEF_REC_S;
//     16..19 ETS configuration bandwidth, configuration TSA, recommendation
//       bandwidth, recommendation TSA: index2 = traffic class 0..7;
//     20 PFC enable: index2 = priority; value 1 enabled, 0 not;
//     21 ETS priority assignment: index2 = priority; value the traffic class;
//     22 application priority: index2 = selector, index3 = protocol; value
//       the priority (the first entry of a selector and protocol);
//     24 port and protocol VLAN: index2 = PPVID; result as item 19 kind 2;
//     25 VLAN name: index2 = VLAN id; result as item 19 kind 3;
//     26 protocol identity: index2 = index from 1; result 260 bytes, the
//       length as 32 bits then the octets;
//     27 VID usage digest: no sub-index; result the 4 digest octets;
//     28 management VID: no sub-index; result as item 19 kind 1.
// - item 23, DCBX admin rows of ports whose admin data is valid, key
//   ifIndex, index2, index3:
//     0 ETS basic: result 12 bytes, CBS, traffic classes (0 = 8), willing;
//     1 ETS priority assignment: index2 = priority; value the traffic class;
//     2..5 ETS configuration bandwidth, configuration TSA, recommendation
//       bandwidth, recommendation TSA (which answers the configuration
//       TSA bytes, as the admin record does): index2 = traffic class;
//     6 PFC basic: result 12 bytes, willing, MBC, capability;
//     7 PFC enable: index2 = priority; value 1 or 0;
//     8 application priority: index2 = selector, index3 = protocol; value
//       the priority.
// - item 24, local DCBX rows (what the port's LLDPDU carries), key ifIndex,
//   index2, index3, one 32-bit value each: 0 CBS, 1 traffic classes, 2
//   willing, 3 ETS priority assignment (index2 priority), 4..7 as item 23's
//   2..5, 8 PFC willing, 9 MBC, 10 capability, 11 PFC enable (index2
//   priority), 12 application priority (index2 selector, index3 protocol).
// - item 25, management-address transmit entries: key ifIndex, index2 =
//   agent, manAddr; result LLDP_MANADDR_TX_S (transmit 1 or 0, row status).
//
// Management-address transmit entries: one per (port, agent); a second
// create on the same (port, agent) is refused with LLDP_ERR_TABLE_FULL.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace lldpv2host {

// ---------------------------------------------------------------------------
// Global configuration

// The lldpV2Configuration scalars and the transmit delay. The same values
// hold on every node's daemon.
struct LldpGlobalConfig {
    uint16_t txInterval = 30;            // seconds, 5..32768
    uint16_t txDelay = 2;                // seconds, kept for the daemon's own use
    uint16_t notificationInterval = 30;  // seconds, 5..3600
    uint16_t reinitDelay = 2;            // seconds, 1..10
    uint8_t txFastInit = 4;              // 1..8
    uint8_t holdMultiplier = 4;          // 2..10
    uint8_t txCreditMax = 5;             // 1..100
    uint16_t msgFastTx = 1;              // seconds, 1..3600
};

// The configuration every node's daemon currently uses.
LldpGlobalConfig GlobalConfig();
// Validates and applies one value by the id of LLDP_mor_SetGlobalCfg
// (2 txInterval, 3 holdMultiplier, 4 reinitDelay, 6 txFastInit,
// 7 notificationInterval, 9 txCreditMax, 10 msgFastTx). Returns 0 or
// LLDP_ERR_BAD_VALUE for a value out of range or an unknown id.
uint32_t SetGlobalValue(uint32_t id, uint32_t value);
// Replaces the whole configuration after checking every range; 0 or
// LLDP_ERR_BAD_VALUE (nothing is changed then).
uint32_t SetGlobalConfig(const LldpGlobalConfig &cfg);

// Drops every daemon (neighbours, port state, local data) and restores the
// default configuration, local system data and clock. Daemons come back,
// empty, for the nodes of the switch model as soon as they are used.
// ResetSwitch does the same.
void ResetLldp();

// Node ids that currently have a daemon.
std::vector<uint16_t> DaemonNodes();

// A number that changes whenever what a read of the remote tables could
// answer may have changed: a neighbour stored, changed, removed or aged out,
// its remote-changes flag cleared, too many neighbours starting or ending, a
// write, a reset or load, the clock set back, a change of the switch model,
// a testing hook or an injected fault. Reads never change it, nor do
// counters, transmissions or a clock that moves on with nothing due. A
// reader may keep what it read for as long as the number stays the same.
uint64_t DataGeneration();

// ---------------------------------------------------------------------------
// Clock

// Current time in hundredths of a second.
uint32_t Now();
// Moves the clock to t (as AdvanceClock when t lies ahead; a clock set back
// does nothing else, and what is scheduled keeps its time). Setting the clock
// to its current value does what is due now, e.g. the frame of a write.
void SetClock(uint32_t t);
// Moves the clock forward; on the way, at its own time each: neighbours whose
// TTL ran out are aged out, the too-many-neighbours state ends, simulated
// neighbours are received again, and the agents send their frames (regular,
// fast start, after a local change, as credit allows).
void AdvanceClock(uint32_t hundredths);

// ---------------------------------------------------------------------------
// Agents

// MIB admin status values.
enum class AdminStatus : uint32_t { TxOnly = 1, RxOnly = 2, TxAndRx = 3, Disabled = 4 };

// The default number of neighbours one agent of a port keeps.
constexpr uint32_t kDefaultNeighbourLimit = 64;

// Error of the control calls below: 0 or a daemon code (LLDP_ERR_NO_ENTRY
// when ifIndex is not an LLDP port or the agent does not run on it).
uint32_t SetAdminStatus(uint32_t ifIndex, uint32_t agent, AdminStatus status);
AdminStatus GetAdminStatus(uint32_t ifIndex, uint32_t agent);  // Disabled when unknown
uint32_t SetNotification(uint32_t ifIndex, uint32_t agent, bool enabled);
// The agent's TLV transmit mask: bit n is daemon TLV bit n (LLDP_TLVBIT_*).
uint32_t SetTlvTxMask(uint32_t ifIndex, uint32_t agent, uint32_t mask);
uint32_t TlvTxMask(uint32_t ifIndex, uint32_t agent);  // 0 when unknown
// Neighbours each agent of the port keeps at most (at least 1).
uint32_t SetNeighbourLimit(uint32_t ifIndex, uint32_t limit);

// Per-agent statistics.
struct AgentCounters {
    uint32_t framesOut = 0;
    uint32_t framesIn = 0;
    uint32_t framesDiscarded = 0;
    uint32_t framesInError = 0;
    uint32_t tlvsDiscarded = 0;
    uint32_t tlvsUnrecognized = 0;
    uint32_t ageouts = 0;
    uint32_t lengthErrors = 0;
    bool operator==(const AgentCounters &) const = default;
};
AgentCounters Counters(uint32_t ifIndex, uint32_t agent);

// Remote-table statistics of one node.
struct RemoteTableStats {
    uint32_t inserts = 0;
    uint32_t deletes = 0;
    uint32_t drops = 0;
    uint32_t ageouts = 0;
    uint32_t lastChangeTime = 0;
    bool operator==(const RemoteTableStats &) const = default;
};
RemoteTableStats NodeStats(uint16_t node);

// Whether changes of the remote table of (ifIndex, agent) are notified: its
// lldpV2PortConfigNotificationEnable. False when the agent does not run there.
bool Notification(uint32_t ifIndex, uint32_t agent);

// The stack's local system data (what every LLDPDU carries about the system).
struct LocalSystemView {
    uint8_t chassisIdSubtype = 0;
    std::vector<uint8_t> chassisId;
    std::string name;
    std::string description;
    uint16_t capSupported = 0;  // LLDP capability bits
    uint16_t capEnabled = 0;
};
LocalSystemView LocalSystemInfo();

// The port's local description (its lldpV2LocPortDesc whether or not it is
// transmitted); empty when there is none or ifIndex is not an LLDP port.
std::string PortDescription(uint32_t ifIndex);

// The TLV stream (End TLV included) of the LLDPDU that the agent sends now.
std::vector<uint8_t> LocalLldpdu(uint32_t ifIndex, uint32_t agent);

// ---------------------------------------------------------------------------
// Receiving

enum class ReceiveOutcome {
    Inserted,         // a new neighbour
    Updated,          // known MSAP, information changed
    Refreshed,        // known MSAP, same information: only its TTL restarts
    Deleted,          // TTL 0 of a known MSAP
    ShutdownUnknown,  // TTL 0 of an unknown MSAP: nothing to delete
    Discarded,        // the frame failed validation
    Dropped,          // a new neighbour beyond the limit
    Ignored,          // the agent does not receive (admin status, node down)
    NoSuchAgent,      // ifIndex is not an LLDP port or the agent does not run there
};
const char *ReceiveOutcomeName(ReceiveOutcome outcome);

struct ReceiveResult {
    ReceiveOutcome outcome = ReceiveOutcome::NoSuchAgent;
    uint32_t remIndex = 0;  // the neighbour's remote index (insert, update, refresh, delete)
};

// Hands the TLV stream of one received LLDPDU (the bytes after the Ethernet
// header) to the agent of (ifIndex, agent).
ReceiveResult Receive(uint32_t ifIndex, uint32_t agent, const std::vector<uint8_t> &lldpdu);

// A neighbour as stored.
struct NeighbourView {
    uint32_t ifIndex = 0;
    uint32_t agent = 0;
    uint32_t remIndex = 0;
    uint32_t changeTime = 0;  // its time mark
    uint32_t expiry = 0;
    bool remoteChanges = false;
    std::vector<uint8_t> chassisId;
    std::vector<uint8_t> portId;
    std::vector<uint8_t> tlvs;  // the stored TLV stream
};
// Neighbours of one agent (agent 0: of every agent of the port; ifIndex 0:
// of every port), in (port, agent, remote index) order.
std::vector<NeighbourView> Neighbours(uint32_t ifIndex = 0, uint32_t agent = 0);
size_t NeighbourCount();

// ---------------------------------------------------------------------------
// Real time: transmission, timers and events
//
// The daemons run the IEEE 802.1AB transmit and receive state machines of
// every agent against the stack clock: regular transmission every
// txInterval, TTL = min(65535, txInterval x holdMultiplier + 1), fast start
// (txFastInit frames every msgFastTx after a new neighbour or an admin
// enable), the transmit credit (txCreditMax, one credit back per second), a
// shutdown LLDPDU (TTL 0) when an agent stops transmitting, reinitDelay
// before a disabled agent starts again, a frame on a local change, and
// ageing. Whoever owns time (the agent's event loop, or a test with a fake
// clock) moves the clock with SetClock / AdvanceClock and asks NextDeadline
// when the daemons next need it. A port whose Interface::operUp is false
// neither sends nor receives; its neighbours age out by their TTL.
//
// In detail:
// - A port's agents start when the daemons first see the port (its first
//   frame at once, then every txInterval); an admin enable, a link that comes
//   up, the node coming up and a new neighbour start fast transmission:
//   txFastInit frames msgFastTx apart (the first at once), then txInterval.
// - Each frame but a shutdown LLDPDU takes a credit; without one the frame
//   waits for the next credit.
// - A write that changes what an agent sends (TLV switches, management
//   address, VLAN choices, the global configuration) gives a frame at the
//   next clock move and restarts the timer; a changed txInterval always does.
// - An agent that stops transmitting by admin status or ShutdownAll sends a
//   shutdown LLDPDU if its link is up; after an admin stop it starts again no
//   earlier than reinitDelay later. A link or node going down stops it
//   without a frame. After ShutdownAll nothing transmits until ResetLldp or a
//   scenario load.
// - An LLDPDU larger than 1500 octets is sent without the TLVs that do not
//   fit, and counted as a length error.
// - Frames and counters are the same whether the clock moves in small steps
//   or one long jump.

// Group address of each agent: 1 nearest bridge 01-80-C2-00-00-0E,
// 2 nearest non-TPMR bridge 01-80-C2-00-00-03, 3 nearest customer bridge
// 01-80-C2-00-00-00.
std::array<uint8_t, 6> AgentGroupMac(uint32_t agent);
// The agent a destination address names; 0 for any other address.
uint32_t AgentOfGroupMac(const uint8_t *mac);
// The LLDP ethertype.
constexpr uint16_t kLldpEthertype = 0x88CC;

// One LLDPDU an agent sends.
struct TxFrame {
    uint32_t ifIndex = 0;
    uint32_t agent = 0;
    uint32_t time = 0;        // the clock when it was sent
    bool shutdown = false;    // TTL 0
    const uint8_t *lldpdu = nullptr;  // the TLV stream, End TLV included
    size_t len = 0;
};
// Called for every LLDPDU that is sent (also on simulated ports, whose
// frames go nowhere but are counted). Sinks run in the order they were added,
// with the daemons' lock held: they may read the switch model and the
// daemons' state, but must not change the daemons. Sinks survive ResetLldp
// and scenario loads. Add returns an id for Remove.
using FrameSink = std::function<void(const TxFrame &frame)>;
uint64_t AddFrameSink(FrameSink sink);
void RemoveFrameSink(uint64_t id);

// What happened in the daemons, for logs and notifications.
struct LldpEvent {
    enum class Kind {
        Inserted,   // a new neighbour
        Updated,    // a known neighbour's information changed
        AgedOut,    // its TTL ran out
        Deleted,    // shutdown LLDPDU, admin status, port gone
        Dropped,    // a new neighbour beyond the port's limit
        Discarded,  // a received frame failed validation (reason says why)
    };
    Kind kind = Kind::Inserted;
    uint32_t time = 0;
    uint32_t ifIndex = 0;
    uint32_t agent = 0;
    uint32_t remIndex = 0;   // 0 for Dropped and Discarded
    std::string chassisId;   // readable: MAC, address or text by subtype (empty for Discarded)
    std::string portId;
    std::string reason;      // Discarded: why
};
const char *LldpEventKindName(LldpEvent::Kind kind);
// Called after each event, as frame sinks are.
using EventSink = std::function<void(const LldpEvent &event)>;
uint64_t AddEventSink(EventSink sink);
void RemoveEventSink(uint64_t id);

// The earliest clock at which the daemons have something to do (a frame to
// send, a neighbour to age out, credit to restore, a simulated neighbour to
// refresh); nullopt when nothing is pending.
std::optional<uint32_t> NextDeadline();

// The agent is stopping: every agent that transmits sends its shutdown
// LLDPDU now.
void ShutdownAll();

// The time at which an agent that was disabled may start again (reinit
// delay), or 0 when it may now; for tests and logs.
uint32_t ReinitUntil(uint32_t ifIndex, uint32_t agent);

}  // namespace lldpv2host
