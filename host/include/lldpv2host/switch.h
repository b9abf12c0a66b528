// The simulated stacked switch of the host platform: member nodes, their
// interfaces, the local logical unit and the LLDP service state. All of it
// lives in one process-wide model behind one lock; the platform's interface
// and device managers (lldpv2/ifm.h) answer from it, and the LLDP daemons of
// the nodes (lldpv2host/lldp.h) live on top of it.
//
// What the interface manager calls answer:
// - IF_GetDataByIfIndex(ifIndex, attribute, out): attribute 18 writes the
//   interface's type code, attribute 31 its lldpData value. It writes only
//   on success and fails with kIfNoSuchInterface for an unknown ifIndex,
//   kIfAttributeUnreadable for attribute 18 of an interface whose
//   typeReadable is false, kIfUnknownAttribute for any other attribute and
//   kIfBadArgument for a null out.
// - IF_IsValidIfIndex / IF_IsTempIf / IF_IsSubIf: 1 when the interface exists
//   and its valid / temporary / subInterface flag is set, else 0.
//   IF_IsNodeUp: 1 when the node exists and is up.
// - The selection iterator: IF_Select_Init(kind) empties the selection,
//   IF_SelectType_Set adds a type code (once; at most IF_SELECT_MAX_TYPES),
//   IF_SelectProperty_Set / IF_SelectCondition_Set set bit n of properties /
//   conditions (n below 32). IF_GetNextIfIndexByIfSelect gives the smallest
//   ifIndex above the given one whose type is in the selection and that
//   meets the selection's properties and conditions as they are at that call:
//     property 8  (kIfPropertyPlainPort): valid, not temporary and not a
//                 sub-interface, as IF_IsValidIfIndex, IF_IsTempIf and
//                 IF_IsSubIf tell it;
//     condition 10 (kIfConditionNodeUp): the owning node is up.
//   Other property and condition bits narrow nothing. The selection kind is
//   recorded but all kinds select by type. The type used is the interface's
//   type code also when typeReadable is false. 0 means there is none, and is
//   also the answer for a null selection or an iterator that is not live.
//   IF_IteratorInitialize returns a live iterator (null on an injected
//   fault); IF_IteratorFinalize releases it and nulls the caller's handle.
// - DEV_GetAllNodes: a malloc'ed array of the node ids in increasing order
//   and their count; null (count 0) when there is no node or on an injected
//   fault.
// - LIP_GetLocalLip: the local unit. LLDP_util_IsServiceStarted(unit,
//   "LLDP", flags): 1 when the LLDP service is started on that unit.
// - LLDP_util_SetIfFirstAgentID(ifIndex): FirstAgentOf the interface's type
//   (1 for an unknown interface).
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lldpv2host {

// Failures of IF_GetDataByIfIndex.
constexpr uint32_t kIfNoSuchInterface = 0x40020001;
constexpr uint32_t kIfAttributeUnreadable = 0x40020002;
constexpr uint32_t kIfUnknownAttribute = 0x40020003;
constexpr uint32_t kIfBadArgument = 0x40020004;

// Selection kind, property and condition understood by the iterator.
constexpr uint32_t kIfSelectByType = 5;
constexpr uint32_t kIfPropertyPlainPort = 8;
constexpr uint32_t kIfConditionNodeUp = 10;

struct Interface {
    uint32_t ifIndex = 0;
    std::string name;
    uint16_t node = 0;         // member node that owns the interface
    uint32_t type = 0;         // platform interface type code (attribute 18)
    bool valid = true;         // IF_IsValidIfIndex
    bool temporary = false;    // IF_IsTempIf
    bool subInterface = false; // IF_IsSubIf
    uint32_t lldpData = 1;     // attribute 31: non-zero when the port has a local LLDP row
    bool typeReadable = true;  // false: reading attribute 18 fails
    // What a real (or simulated real) port is beyond the platform's view.
    std::string linuxName{};        // the Linux interface this port is; empty: a simulated port
    std::array<uint8_t, 6> mac{};   // its MAC address (all zero: none known)
    bool operUp = true;             // link state: a port that is down neither sends nor receives
    uint32_t speedMbps = 0;         // link speed, 0 when unknown
};

// ---------------------------------------------------------------------------
// Model

// Removes every node and interface (and what is attached to the nodes); the
// local unit becomes 1 with the LLDP service running on it and on no other
// unit. Observers stay.
void ResetSwitch();

// Adds a node, or sets the up state of an existing one.
void AddNode(uint16_t node, bool up = true);
// Removes a node with its interfaces and attachments; nothing if unknown.
void RemoveNode(uint16_t node);
// Changes the up state of a known node (nothing if unknown).
void SetNodeUp(uint16_t node, bool up);
bool HasNode(uint16_t node);
bool NodeUp(uint16_t node);  // false for an unknown node
std::vector<uint16_t> Nodes();  // in increasing id order

// Adds or replaces the interface with the same ifIndex. Throws
// std::invalid_argument for ifIndex 0 or a node that is not in the model.
void AddInterface(const Interface &intf);
void RemoveInterface(uint32_t ifIndex);
std::optional<Interface> FindInterface(uint32_t ifIndex);
std::vector<Interface> Interfaces();                   // in ifIndex order
std::vector<Interface> InterfacesOfNode(uint16_t node);  // in ifIndex order

void SetLocalUnit(uint32_t unit);
uint32_t LocalUnit();
void SetServiceStarted(uint16_t unit, bool started);
bool ServiceStarted(uint16_t unit);

// Iterators made by IF_IteratorInitialize and not yet finalized.
size_t LiveIterators();

// ---------------------------------------------------------------------------
// Port type classes: which LLDP agents (1 nearest bridge, 2 nearest non-TPMR
// bridge, 3 nearest customer bridge) may run on an interface type.

enum class PortClass {
    Ordinary,            // agents 1, 2, 3
    Aggregate,           // agents 2, 3
    CustomerBridgeOnly,  // agent 3
    NearestBridgeOnly,   // agent 1
    NotLldp,             // no LLDP
};
PortClass PortClassOf(uint32_t type);
bool AgentAllowed(uint32_t type, uint32_t agent);
// The first agent LLDP uses on a port of the type: 2 for aggregates, 3 for
// customer-bridge-only ports, 1 for every other type.
uint32_t FirstAgentOf(uint32_t type);

// Readable names of the platform's interface type codes, for scenarios and
// tools. A code without a name is written "type-<code>"; InterfaceTypeByName
// reads that form and a plain decimal code as well. nullopt for anything else.
struct InterfaceTypeInfo {
    uint32_t code;
    const char *name;
};
const std::vector<InterfaceTypeInfo> &InterfaceTypes();  // in code order
std::optional<uint32_t> InterfaceTypeByName(const std::string &name);
std::string InterfaceTypeName(uint32_t code);

// ---------------------------------------------------------------------------
// Per-node state of other parts of the platform (the node's LLDP daemon),
// kept with the node so that it goes when the node goes. Several parts may
// attach under different keys.

class NodeAttachment {
public:
    virtual ~NodeAttachment() = default;
};

// Attaches (replaces) state under key; false when the node is not in the model.
bool Attach(uint16_t node, const std::string &key, std::shared_ptr<NodeAttachment> state);
void Detach(uint16_t node, const std::string &key);
std::shared_ptr<NodeAttachment> Attached(uint16_t node, const std::string &key);
template <typename T>
std::shared_ptr<T> AttachedAs(uint16_t node, const std::string &key) {
    return std::dynamic_pointer_cast<T>(Attached(node, key));
}

// ---------------------------------------------------------------------------
// Changes of the model. Observers are called after the change, on the thread
// that made it and without the model's lock held, so they may read the model.

struct SwitchEvent {
    enum class Kind {
        Reset,             // ResetSwitch: everything went at once
        NodeAdded,
        NodeRemoved,       // after its InterfaceRemoved events
        NodeUpChanged,     // node's up state changed (read it with NodeUp)
        InterfaceAdded,
        InterfaceChanged,  // AddInterface replaced an existing interface
        InterfaceRemoved,
    };
    Kind kind = Kind::Reset;
    uint16_t node = 0;     // for interface events, the owning node
    uint32_t ifIndex = 0;  // interface events only
};
using SwitchObserver = std::function<void(const SwitchEvent &event)>;
// Returns an id for RemoveSwitchObserver.
uint64_t AddSwitchObserver(SwitchObserver observer);
void RemoveSwitchObserver(uint64_t id);

}  // namespace lldpv2host
