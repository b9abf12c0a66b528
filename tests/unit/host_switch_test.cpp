// The host platform's switch model and the interface and device managers
// that answer from it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "lldpv2/ifm.h"
#include "lldpv2/lldp_client.h"
#include "lldpv2host/switch.h"
#include "lldpv2host/trace.h"

namespace {

using lldpv2host::Interface;

// Interface types used below.
constexpr uint32_t kEth = 18;        // ordinary LLDP port
constexpr uint32_t kTenGig = 68;     // ordinary LLDP port
constexpr uint32_t kAgg = 56;        // agents 2 and 3
constexpr uint32_t kCustomer = 82;   // agent 3
constexpr uint32_t kMgmt = 31;       // agent 1
constexpr uint32_t kLoopback = 24;   // no LLDP

Interface Intf(uint32_t ifIndex, uint16_t node, uint32_t type) {
    Interface i;
    i.ifIndex = ifIndex;
    i.name = "if" + std::to_string(ifIndex);
    i.node = node;
    i.type = type;
    return i;
}

class HostSwitchTest : public ::testing::Test {
protected:
    void SetUp() override {
        lldpv2host::ClearFaults();
        lldpv2host::ResetSwitch();
    }
    void TearDown() override {
        lldpv2host::StopTrace();
        lldpv2host::ClearFaults();
        lldpv2host::ResetSwitch();
    }

    // Node 1 and 2 up, node 3 down; interfaces of several types and flags,
    // added out of ifIndex order.
    static void BuildStack() {
        lldpv2host::AddNode(2);
        lldpv2host::AddNode(1);
        lldpv2host::AddNode(3, false);
        Interface i;
        lldpv2host::AddInterface(Intf(40, 2, kEth));
        lldpv2host::AddInterface(Intf(10, 1, kEth));
        lldpv2host::AddInterface(Intf(20, 1, kTenGig));
        lldpv2host::AddInterface(Intf(25, 1, kAgg));
        i = Intf(30, 1, kEth);
        i.valid = false;
        lldpv2host::AddInterface(i);
        i = Intf(31, 1, kEth);
        i.temporary = true;
        lldpv2host::AddInterface(i);
        i = Intf(32, 1, kEth);
        i.subInterface = true;
        lldpv2host::AddInterface(i);
        lldpv2host::AddInterface(Intf(35, 1, kLoopback));
        lldpv2host::AddInterface(Intf(50, 3, kEth));       // node down
        lldpv2host::AddInterface(Intf(60, 2, kCustomer));
        i = Intf(70, 2, kMgmt);
        i.typeReadable = false;
        lldpv2host::AddInterface(i);
    }

    // Every ifIndex the iterator yields from start, stepping as the module does.
    static std::vector<uint32_t> Walk(const std::vector<uint32_t> &types, bool plainPorts, bool nodeUp,
                                      uint32_t start = 0) {
        IF_SELECT_S sel;
        IF_Select_Init(lldpv2host::kIfSelectByType, &sel);
        for (uint32_t t : types) IF_SelectType_Set(t, &sel);
        std::vector<uint32_t> out;
        for (uint32_t cur = start; out.size() < 100;) {
            IF_ITERATOR it = IF_IteratorInitialize(cur, &sel);
            if (it == nullptr) break;
            if (plainPorts) IF_SelectProperty_Set(lldpv2host::kIfPropertyPlainPort, &sel);
            if (nodeUp) IF_SelectCondition_Set(lldpv2host::kIfConditionNodeUp, &sel);
            cur = IF_GetNextIfIndexByIfSelect(&sel, it, cur);
            IF_IteratorFinalize(&it);
            EXPECT_EQ(it, nullptr);
            if (cur == 0) break;
            out.push_back(cur);
        }
        return out;
    }
};

// ---------------------------------------------------------------------------
// Interface attributes and flags

TEST_F(HostSwitchTest, GetDataByIfIndex) {
    BuildStack();
    Interface noLldp = Intf(80, 1, kEth);
    noLldp.lldpData = 0;
    lldpv2host::AddInterface(noLldp);

    const struct {
        const char *name;
        uint32_t ifIndex;
        uint32_t attribute;
        uint32_t status;
        uint32_t value;  // what out holds afterwards (written only on success)
    } cases[] = {
        {"type", 20, IF_ATTR_TYPE, 0, kTenGig},
        {"type of a non-LLDP interface", 35, IF_ATTR_TYPE, 0, kLoopback},
        {"type of an invalid interface", 30, IF_ATTR_TYPE, 0, kEth},
        {"lldp data", 10, IF_ATTR_LLDP_DATA, 0, 1},
        {"no lldp data", 80, IF_ATTR_LLDP_DATA, 0, 0},
        {"unknown interface", 11, IF_ATTR_TYPE, lldpv2host::kIfNoSuchInterface, 128},
        {"interface 0", 0, IF_ATTR_TYPE, lldpv2host::kIfNoSuchInterface, 128},
        {"unreadable type", 70, IF_ATTR_TYPE, lldpv2host::kIfAttributeUnreadable, 128},
        {"lldp data of unreadable type", 70, IF_ATTR_LLDP_DATA, 0, 1},
        {"unknown attribute", 10, 7, lldpv2host::kIfUnknownAttribute, 128},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        uint32_t out = 128;
        EXPECT_EQ(IF_GetDataByIfIndex(c.ifIndex, c.attribute, &out), c.status);
        EXPECT_EQ(out, c.value);
    }
    EXPECT_EQ(IF_GetDataByIfIndex(10, IF_ATTR_TYPE, nullptr), lldpv2host::kIfBadArgument);

    lldpv2host::SetFault("IF_GetDataByIfIndex 20 18", 0x4444);
    uint32_t out = 128;
    EXPECT_EQ(IF_GetDataByIfIndex(20, IF_ATTR_TYPE, &out), 0x4444u);
    EXPECT_EQ(out, 128u);
    EXPECT_EQ(IF_GetDataByIfIndex(10, IF_ATTR_TYPE, &out), 0u);
    EXPECT_EQ(out, kEth);
}

TEST_F(HostSwitchTest, InterfaceFlags) {
    BuildStack();
    const struct {
        uint32_t ifIndex;
        uint16_t valid, temp, sub;
    } cases[] = {
        {10, 1, 0, 0}, {30, 0, 0, 0}, {31, 1, 1, 0}, {32, 1, 0, 1}, {50, 1, 0, 0}, {0, 0, 0, 0}, {11, 0, 0, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.ifIndex);
        EXPECT_EQ(IF_IsValidIfIndex(c.ifIndex), c.valid);
        EXPECT_EQ(IF_IsTempIf(c.ifIndex), c.temp);
        EXPECT_EQ(IF_IsSubIf(c.ifIndex), c.sub);
    }
}

TEST_F(HostSwitchTest, NodesUpAndAll) {
    EXPECT_EQ(DEV_GetAllNodes(nullptr), nullptr);
    uint32_t count = 99;
    EXPECT_EQ(DEV_GetAllNodes(&count), nullptr);
    EXPECT_EQ(count, 0u);

    BuildStack();
    lldpv2host::AddNode(0x8001);
    const struct {
        uint16_t node;
        uint16_t up;
    } cases[] = {{1, 1}, {2, 1}, {3, 0}, {4, 0}, {0x8001, 1}, {0, 0}};
    for (const auto &c : cases) EXPECT_EQ(IF_IsNodeUp(c.node), c.up) << c.node;

    uint16_t *nodes = DEV_GetAllNodes(&count);
    ASSERT_NE(nodes, nullptr);
    EXPECT_EQ(std::vector<uint16_t>(nodes, nodes + count), (std::vector<uint16_t>{1, 2, 3, 0x8001}));
    std::free(nodes);

    lldpv2host::SetNodeUp(1, false);
    lldpv2host::SetNodeUp(3, true);
    lldpv2host::SetNodeUp(9, true);  // unknown: stays unknown
    EXPECT_EQ(IF_IsNodeUp(1), 0);
    EXPECT_EQ(IF_IsNodeUp(3), 1);
    EXPECT_FALSE(lldpv2host::HasNode(9));

    lldpv2host::SetFault("DEV_GetAllNodes", 1);
    count = 99;
    EXPECT_EQ(DEV_GetAllNodes(&count), nullptr);
    EXPECT_EQ(count, 0u);
}

// ---------------------------------------------------------------------------
// Selection iterator

TEST_F(HostSwitchTest, IteratorOrderAndSkipping) {
    BuildStack();
    const struct {
        const char *name;
        std::vector<uint32_t> types;
        bool plainPorts;
        bool nodeUp;
        uint32_t start;
        std::vector<uint32_t> expected;
    } cases[] = {
        {"one type, no narrowing", {kEth}, false, false, 0, {10, 30, 31, 32, 40, 50}},
        {"plain ports only", {kEth}, true, false, 0, {10, 40, 50}},
        {"owning node up only", {kEth}, false, true, 0, {10, 30, 31, 32, 40}},
        {"both", {kEth}, true, true, 0, {10, 40}},
        {"types merge in ifIndex order", {kCustomer, kEth, kTenGig, kAgg}, true, true, 0, {10, 20, 25, 40, 60}},
        {"type with an unreadable type attribute", {kMgmt}, true, true, 0, {70}},
        {"start in the middle", {kEth, kTenGig}, true, true, 15, {20, 40}},
        {"start on a match is excluded", {kEth, kTenGig}, true, true, 20, {40}},
        {"start past the last", {kEth}, false, false, 50, {}},
        {"type not present", {kLoopback + 1}, false, false, 0, {}},
        {"no type selected", {}, false, false, 0, {}},
        {"a type added twice", {kEth, kEth}, true, true, 0, {10, 40}},
        {"largest start", {kEth}, false, false, 0xFFFFFFFF, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Walk(c.types, c.plainPorts, c.nodeUp, c.start), c.expected);
    }
    EXPECT_EQ(lldpv2host::LiveIterators(), 0u);
}

TEST_F(HostSwitchTest, SelectionRecordsTypesOnceAndBits) {
    IF_SELECT_S sel;
    sel.typeCount = 7;  // garbage from the stack
    IF_Select_Init(5, &sel);
    EXPECT_EQ(sel.kind, 5u);
    EXPECT_EQ(sel.typeCount, 0u);
    for (uint32_t t : {18u, 19u, 18u}) IF_SelectType_Set(t, &sel);
    EXPECT_EQ(sel.typeCount, 2u);
    for (uint32_t t = 100; t < 140; ++t) IF_SelectType_Set(t, &sel);
    EXPECT_EQ(sel.typeCount, static_cast<uint32_t>(IF_SELECT_MAX_TYPES));
    IF_SelectProperty_Set(8, &sel);
    IF_SelectCondition_Set(10, &sel);
    IF_SelectCondition_Set(40, &sel);  // beyond the bits: ignored
    EXPECT_EQ(sel.properties, 1u << 8);
    EXPECT_EQ(sel.conditions, 1u << 10);
}

TEST_F(HostSwitchTest, IteratorSeesChangesOfTheModel) {
    BuildStack();
    EXPECT_EQ(Walk({kEth}, true, true), (std::vector<uint32_t>{10, 40}));
    // Retyping an interface moves it between selections.
    lldpv2host::AddInterface(Intf(10, 1, kTenGig));
    EXPECT_EQ(Walk({kEth}, true, true), (std::vector<uint32_t>{40}));
    EXPECT_EQ(Walk({kTenGig}, true, true), (std::vector<uint32_t>{10, 20}));
    // Moving an interface to a node that is down hides it under condition 10.
    lldpv2host::AddInterface(Intf(40, 3, kEth));
    EXPECT_EQ(Walk({kEth}, true, true), (std::vector<uint32_t>{}));
    lldpv2host::SetNodeUp(3, true);
    EXPECT_EQ(Walk({kEth}, true, true), (std::vector<uint32_t>{40, 50}));
    lldpv2host::RemoveInterface(40);
    EXPECT_EQ(Walk({kEth}, true, true), (std::vector<uint32_t>{50}));
}

TEST_F(HostSwitchTest, IteratorLifecycle) {
    BuildStack();
    IF_SELECT_S sel;
    IF_Select_Init(5, &sel);
    IF_SelectType_Set(kEth, &sel);

    IF_ITERATOR a = IF_IteratorInitialize(0, &sel);
    IF_ITERATOR b = IF_IteratorInitialize(10, &sel);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(lldpv2host::LiveIterators(), 2u);
    EXPECT_EQ(IF_GetNextIfIndexByIfSelect(&sel, a, 0), 10u);
    EXPECT_EQ(IF_GetNextIfIndexByIfSelect(nullptr, a, 0), 0u);

    IF_ITERATOR stale = a;
    IF_IteratorFinalize(&a);
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(lldpv2host::LiveIterators(), 1u);
    // A finalized iterator yields nothing, even if the selection matches.
    EXPECT_EQ(IF_GetNextIfIndexByIfSelect(&sel, stale, 0), 0u);
    IF_IteratorFinalize(&stale);  // second finalize of the same handle
    IF_IteratorFinalize(&a);      // null handle
    IF_IteratorFinalize(nullptr);
    EXPECT_EQ(lldpv2host::LiveIterators(), 1u);

    IF_IteratorFinalize(&b);
    EXPECT_EQ(lldpv2host::LiveIterators(), 0u);

    // A new iterator starts afresh, whatever handle it is given.
    IF_ITERATOR c = IF_IteratorInitialize(10, &sel);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(lldpv2host::LiveIterators(), 1u);
    EXPECT_EQ(IF_GetNextIfIndexByIfSelect(&sel, c, 0), 10u);
    IF_IteratorFinalize(&c);
    EXPECT_EQ(lldpv2host::LiveIterators(), 0u);

    lldpv2host::SetFault("IF_IteratorInitialize", 1);
    EXPECT_EQ(IF_IteratorInitialize(0, &sel), nullptr);
    EXPECT_EQ(lldpv2host::LiveIterators(), 0u);
}

TEST_F(HostSwitchTest, TracedStepOfAnIteration) {
    BuildStack();
    IF_SELECT_S sel;
    lldpv2host::StartTrace();
    IF_Select_Init(5, &sel);
    IF_SelectType_Set(kEth, &sel);
    IF_ITERATOR it = IF_IteratorInitialize(10, &sel);
    IF_SelectProperty_Set(8, &sel);
    IF_SelectCondition_Set(10, &sel);
    EXPECT_EQ(IF_GetNextIfIndexByIfSelect(&sel, it, 10), 40u);
    IF_IteratorFinalize(&it);
    EXPECT_EQ(lldpv2host::StopTrace(),
              (std::vector<std::string>{"IF_Select_Init 5", "IF_SelectType_Set 18", "IF_IteratorInitialize 10",
                                        "IF_SelectProperty_Set 8", "IF_SelectCondition_Set 10",
                                        "IF_GetNextIfIndexByIfSelect 10", "IF_IteratorFinalize"}));
}

// ---------------------------------------------------------------------------
// Port classes, first agents, type names

struct TypeClassCase {
    std::vector<uint32_t> codes;
    lldpv2host::PortClass portClass;
    std::set<uint32_t> agents;
    uint32_t firstAgent;
};

const std::vector<TypeClassCase> &TypeClasses() {
    static const std::vector<TypeClassCase> cases = {
        {{18, 19, 21, 88, 68, 69, 22, 23, 25, 89, 70, 71, 26, 28}, lldpv2host::PortClass::Ordinary, {1, 2, 3}, 1},
        {{56, 67}, lldpv2host::PortClass::Aggregate, {2, 3}, 2},
        {{82, 87}, lldpv2host::PortClass::CustomerBridgeOnly, {3}, 3},
        {{31, 35}, lldpv2host::PortClass::NearestBridgeOnly, {1}, 1},
        {{0, 1, 20, 24, 29, 57, 83, 128, 0xFFFFFFFF}, lldpv2host::PortClass::NotLldp, {}, 1},
    };
    return cases;
}

TEST_F(HostSwitchTest, PortClassesAndFirstAgents) {
    lldpv2host::AddNode(1);
    uint32_t ifIndex = 100;
    for (const TypeClassCase &c : TypeClasses()) {
        for (uint32_t code : c.codes) {
            SCOPED_TRACE(code);
            EXPECT_EQ(lldpv2host::PortClassOf(code), c.portClass);
            for (uint32_t agent = 0; agent <= 4; ++agent) {
                EXPECT_EQ(lldpv2host::AgentAllowed(code, agent), c.agents.contains(agent)) << "agent " << agent;
            }
            lldpv2host::AddInterface(Intf(++ifIndex, 1, code));
            EXPECT_EQ(LLDP_util_SetIfFirstAgentID(ifIndex), c.firstAgent);
        }
    }
    EXPECT_EQ(LLDP_util_SetIfFirstAgentID(99999), 1u);
}

TEST_F(HostSwitchTest, InterfaceTypeNames) {
    std::set<std::string> names;
    for (const auto &t : lldpv2host::InterfaceTypes()) {
        SCOPED_TRACE(t.code);
        EXPECT_TRUE(names.insert(t.name).second) << "duplicate name " << t.name;
        EXPECT_EQ(lldpv2host::InterfaceTypeName(t.code), t.name);
        EXPECT_EQ(lldpv2host::InterfaceTypeByName(t.name), t.code);
    }
    // Every LLDP port type has a name.
    for (const TypeClassCase &c : TypeClasses()) {
        if (c.portClass == lldpv2host::PortClass::NotLldp) continue;
        for (uint32_t code : c.codes) {
            EXPECT_EQ(lldpv2host::InterfaceTypeName(code).rfind("type-", 0), std::string::npos) << code;
        }
    }
    const struct {
        const char *name;
        std::optional<uint32_t> code;
    } lookups[] = {
        {"ethernet", 18}, {"type-200", 200}, {"200", 200}, {"type-", std::nullopt}, {"", std::nullopt},
        {"type-12x", std::nullopt}, {"ethernet ", std::nullopt}, {"99999999999", std::nullopt},
    };
    for (const auto &l : lookups) EXPECT_EQ(lldpv2host::InterfaceTypeByName(l.name), l.code) << l.name;
    EXPECT_EQ(lldpv2host::InterfaceTypeName(200), "type-200");
}

// ---------------------------------------------------------------------------
// Unit and service

TEST_F(HostSwitchTest, LocalUnitAndService) {
    EXPECT_EQ(LIP_GetLocalLip(), 1u);
    lldpv2host::SetServiceStarted(2, true);
    lldpv2host::SetLocalUnit(2);
    EXPECT_EQ(LIP_GetLocalLip(), 2u);
    const struct {
        uint16_t unit;
        const char *service;
        uint16_t started;
    } cases[] = {{1, "LLDP", 1}, {2, "LLDP", 1}, {3, "LLDP", 0}, {1, "lldp", 0},
                 {1, "LLDPX", 0}, {1, "", 0},   {1, nullptr, 0}};
    for (const auto &c : cases) {
        EXPECT_EQ(LLDP_util_IsServiceStarted(c.unit, c.service, 0), c.started)
            << c.unit << " " << (c.service ? c.service : "(null)");
    }
    lldpv2host::SetServiceStarted(1, false);
    EXPECT_EQ(LLDP_util_IsServiceStarted(1, "LLDP", 0), 0);

    lldpv2host::ResetSwitch();
    EXPECT_EQ(LIP_GetLocalLip(), 1u);
    EXPECT_EQ(LLDP_util_IsServiceStarted(1, "LLDP", 0), 1);
    EXPECT_EQ(LLDP_util_IsServiceStarted(2, "LLDP", 0), 0);
}

// ---------------------------------------------------------------------------
// Model edits, attachments, observers

TEST_F(HostSwitchTest, InterfacesNeedAKnownNodeAndAnIndex) {
    lldpv2host::AddNode(1);
    EXPECT_THROW(lldpv2host::AddInterface(Intf(5, 2, kEth)), std::invalid_argument);
    EXPECT_THROW(lldpv2host::AddInterface(Intf(0, 1, kEth)), std::invalid_argument);
    EXPECT_TRUE(lldpv2host::Interfaces().empty());
}

TEST_F(HostSwitchTest, RemovingANodeTakesItsInterfaces) {
    BuildStack();
    lldpv2host::RemoveNode(1);
    lldpv2host::RemoveNode(1);  // again: nothing
    EXPECT_FALSE(lldpv2host::FindInterface(10).has_value());
    EXPECT_TRUE(lldpv2host::InterfacesOfNode(1).empty());
    std::vector<uint32_t> left;
    for (const auto &i : lldpv2host::Interfaces()) left.push_back(i.ifIndex);
    EXPECT_EQ(left, (std::vector<uint32_t>{40, 50, 60, 70}));
    EXPECT_EQ(Walk({kEth, kTenGig, kAgg}, false, false), (std::vector<uint32_t>{40, 50}));
    EXPECT_EQ(lldpv2host::Nodes(), (std::vector<uint16_t>{2, 3}));
}

TEST_F(HostSwitchTest, InterfacesOfNode) {
    BuildStack();
    std::vector<uint32_t> ofNode2;
    for (const auto &i : lldpv2host::InterfacesOfNode(2)) ofNode2.push_back(i.ifIndex);
    EXPECT_EQ(ofNode2, (std::vector<uint32_t>{40, 60, 70}));
    // Moving an interface to another node moves it between the lists.
    lldpv2host::AddInterface(Intf(40, 1, kEth));
    ofNode2.clear();
    for (const auto &i : lldpv2host::InterfacesOfNode(2)) ofNode2.push_back(i.ifIndex);
    EXPECT_EQ(ofNode2, (std::vector<uint32_t>{60, 70}));
    EXPECT_EQ(lldpv2host::FindInterface(40)->node, 1);
}

struct Daemon : lldpv2host::NodeAttachment {
    explicit Daemon(int id) : id(id) {}
    int id;
};
struct Other : lldpv2host::NodeAttachment {};

TEST_F(HostSwitchTest, Attachments) {
    lldpv2host::AddNode(1);
    lldpv2host::AddNode(2);
    EXPECT_FALSE(lldpv2host::Attach(9, "lldp", std::make_shared<Daemon>(9)));

    auto d1 = std::make_shared<Daemon>(1);
    std::weak_ptr<Daemon> w1 = d1;
    ASSERT_TRUE(lldpv2host::Attach(1, "lldp", std::move(d1)));
    ASSERT_TRUE(lldpv2host::Attach(1, "other", std::make_shared<Other>()));
    ASSERT_TRUE(lldpv2host::Attach(2, "lldp", std::make_shared<Daemon>(2)));

    EXPECT_EQ(lldpv2host::AttachedAs<Daemon>(1, "lldp")->id, 1);
    EXPECT_EQ(lldpv2host::AttachedAs<Daemon>(2, "lldp")->id, 2);
    EXPECT_EQ(lldpv2host::AttachedAs<Daemon>(1, "other"), nullptr);  // another type
    EXPECT_EQ(lldpv2host::Attached(1, "missing"), nullptr);

    // Removing the node drops its state.
    lldpv2host::RemoveNode(1);
    EXPECT_TRUE(w1.expired());
    EXPECT_EQ(lldpv2host::Attached(1, "lldp"), nullptr);

    lldpv2host::Detach(2, "lldp");
    EXPECT_EQ(lldpv2host::Attached(2, "lldp"), nullptr);

    auto d3 = std::make_shared<Daemon>(3);
    std::weak_ptr<Daemon> w3 = d3;
    lldpv2host::Attach(2, "lldp", std::move(d3));
    lldpv2host::ResetSwitch();
    EXPECT_TRUE(w3.expired());
}

TEST_F(HostSwitchTest, Observers) {
    using Kind = lldpv2host::SwitchEvent::Kind;
    std::vector<std::string> seen;
    uint64_t id = lldpv2host::AddSwitchObserver([&](const lldpv2host::SwitchEvent &e) {
        static const char *kNames[] = {"reset", "node+", "node-", "node~", "if+", "if~", "if-"};
        std::string s = kNames[static_cast<int>(e.kind)];
        s += " " + std::to_string(e.node) + " " + std::to_string(e.ifIndex);
        // The model is readable from the observer and already changed.
        if (e.kind == Kind::NodeUpChanged) s += lldpv2host::NodeUp(e.node) ? " up" : " down";
        if (e.kind == Kind::InterfaceAdded) s += lldpv2host::FindInterface(e.ifIndex) ? " found" : " missing";
        seen.push_back(s);
    });

    lldpv2host::AddNode(1);
    lldpv2host::AddNode(1);  // no change
    lldpv2host::AddNode(2, false);
    lldpv2host::SetNodeUp(2, true);
    lldpv2host::AddInterface(Intf(10, 1, kEth));
    lldpv2host::AddInterface(Intf(10, 1, kTenGig));
    lldpv2host::AddInterface(Intf(11, 1, kEth));
    lldpv2host::RemoveInterface(10);
    lldpv2host::RemoveInterface(10);  // no change
    lldpv2host::RemoveNode(1);
    lldpv2host::ResetSwitch();
    lldpv2host::RemoveSwitchObserver(id);
    lldpv2host::AddNode(5);

    EXPECT_EQ(seen, (std::vector<std::string>{"node+ 1 0", "node+ 2 0", "node~ 2 0 up", "if+ 1 10 found", "if~ 1 10",
                                              "if+ 1 11 found", "if- 1 10", "if- 1 11", "node- 1 0", "reset 0 0"}));
}

}  // namespace
