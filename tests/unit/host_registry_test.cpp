// The host platform's MIB tree registry, its observer, and the call trace
// and fault injection that the platform calls share.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lldpv2/snmp_agent.h"
#include "lldpv2host/registry.h"
#include "lldpv2host/trace.h"

namespace {

// Stand-ins for the roots of compiled trees; only their addresses matter.
const MIB_NODE_S kRootA{};
const MIB_NODE_S kRootB{};
const MIB_NODE_S kRootC{};

class HostRegistryTest : public ::testing::Test {
protected:
    void SetUp() override { Reset(); }
    void TearDown() override { Reset(); }
    static void Reset() {
        lldpv2host::SetTreeObserver(nullptr);
        lldpv2host::ClearTrees();
        lldpv2host::ClearFaults();
        lldpv2host::StopTrace();
    }
    static std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (const auto &t : lldpv2host::RegisteredTrees()) names.push_back(t.name);
        return names;
    }
};

TEST_F(HostRegistryTest, RegistrationSequence) {
    // Each observer call records the event and what the registry held then.
    std::vector<std::string> events;
    lldpv2host::SetTreeObserver([&](const lldpv2host::RegisteredTree &tree, bool added) {
        std::string e = (added ? "+" : "-") + tree.name + " (";
        for (const auto &t : lldpv2host::RegisteredTrees()) e += t.name + ";";
        events.push_back(e + ")");
    });

    const struct {
        bool reg;
        const char *name;
        const MIB_NODE_S *root;
        bool ok;
    } steps[] = {
        {true, "A", &kRootA, true},
        {true, "B", &kRootB, true},
        {true, "C", &kRootC, true},
        {true, "A", &kRootC, false},   // name taken
        {true, nullptr, &kRootA, false},
        {true, "D", nullptr, false},
        {false, "B", &kRootB, true},
        {false, "B", &kRootB, false},  // no longer registered
        {false, "C", &kRootA, false},  // not the root registered as C
        {false, nullptr, &kRootA, false},
        {true, "B", &kRootB, true},    // back, now last
    };
    for (const auto &s : steps) {
        SCOPED_TRACE(std::string(s.reg ? "register " : "deregister ") + (s.name ? s.name : "(null)"));
        uint32_t rc = s.reg ? SNMP_RegisterMibTree(s.name, 0, 1, s.root) : SNMP_DeregMibTree(s.name, 0, 1, s.root);
        EXPECT_EQ(rc == 0, s.ok);
    }
    EXPECT_EQ(Names(), (std::vector<std::string>{"A", "C", "B"}));
    EXPECT_EQ(events, (std::vector<std::string>{"+A (A;)", "+B (A;B;)", "+C (A;B;C;)", "-B (A;C;)", "+B (A;C;B;)"}));
}

TEST_F(HostRegistryTest, KeepsWhatWasRegistered) {
    ASSERT_EQ(SNMP_RegisterMibTree("LLDPV2-MIB", 7, 2, &kRootA), 0u);
    auto tree = lldpv2host::FindTree("LLDPV2-MIB");
    ASSERT_TRUE(tree.has_value());
    EXPECT_EQ(tree->context, 7u);
    EXPECT_EQ(tree->version, 2u);
    EXPECT_EQ(tree->root, &kRootA);
    EXPECT_FALSE(lldpv2host::FindTree("LLDPV2-EXT-DOT1-MIB").has_value());
}

TEST_F(HostRegistryTest, ClearTellsTheObserverAboutEachTree) {
    ASSERT_EQ(SNMP_RegisterMibTree("A", 0, 1, &kRootA), 0u);
    ASSERT_EQ(SNMP_RegisterMibTree("B", 0, 1, &kRootB), 0u);
    std::vector<std::string> removed;
    lldpv2host::SetTreeObserver([&](const lldpv2host::RegisteredTree &tree, bool added) {
        if (!added) removed.push_back(tree.name);
    });
    lldpv2host::ClearTrees();
    EXPECT_EQ(removed, (std::vector<std::string>{"A", "B"}));
    EXPECT_TRUE(Names().empty());
}

TEST_F(HostRegistryTest, InjectedFaults) {
    int notified = 0;
    lldpv2host::SetTreeObserver([&](const lldpv2host::RegisteredTree &, bool) { ++notified; });

    // A fault keyed by the whole entry breaks only that tree.
    lldpv2host::SetFault("SNMP_RegisterMibTree B", 0x51);
    EXPECT_EQ(SNMP_RegisterMibTree("A", 0, 1, &kRootA), 0u);
    EXPECT_EQ(SNMP_RegisterMibTree("B", 0, 1, &kRootB), 0x51u);
    EXPECT_EQ(SNMP_RegisterMibTree("C", 0, 1, &kRootC), 0u);
    EXPECT_EQ(Names(), (std::vector<std::string>{"A", "C"}));

    // A fault keyed by the call name breaks every tree, and leaves it registered.
    lldpv2host::SetFault("SNMP_DeregMibTree", 0x52);
    EXPECT_EQ(SNMP_DeregMibTree("A", 0, 1, &kRootA), 0x52u);
    EXPECT_EQ(SNMP_DeregMibTree("C", 0, 1, &kRootC), 0x52u);
    EXPECT_EQ(Names(), (std::vector<std::string>{"A", "C"}));
    EXPECT_EQ(notified, 2);
}

// ---------------------------------------------------------------------------
// Trace and faults

TEST_F(HostRegistryTest, TraceRecordsOnlyWhileOn) {
    SNMP_RegisterMibTree("before", 0, 1, &kRootA);
    lldpv2host::StartTrace();
    SNMP_RegisterMibTree("A", 0, 1, &kRootA);
    SNMP_RegisterMibTree("A", 0, 1, &kRootA);  // refused calls are recorded too
    lldpv2host::Trace("marker");
    EXPECT_EQ(lldpv2host::TraceSoFar().size(), 3u);
    SNMP_DeregMibTree("A", 0, 1, &kRootA);
    EXPECT_EQ(lldpv2host::StopTrace(), (std::vector<std::string>{"SNMP_RegisterMibTree A", "SNMP_RegisterMibTree A",
                                                                 "marker", "SNMP_DeregMibTree A"}));
    SNMP_DeregMibTree("before", 0, 1, &kRootA);
    EXPECT_TRUE(lldpv2host::StopTrace().empty());

    // A new trace starts empty.
    lldpv2host::StartTrace();
    lldpv2host::Trace("x");
    lldpv2host::StartTrace();
    EXPECT_TRUE(lldpv2host::StopTrace().empty());
}

TEST_F(HostRegistryTest, TraceCallFormatsArguments) {
    lldpv2host::StartTrace();
    lldpv2host::TraceCall("Plain");
    lldpv2host::TraceCall("Ints", 5u, uint16_t{7}, -3);
    lldpv2host::TraceCall("Hex", lldpv2host::TraceHex{0x2320C01}, lldpv2host::TraceHex{0xFFFFFFFF});
    lldpv2host::TraceCall("Text", "LLDP", std::string("x"), static_cast<const char *>(nullptr));
    EXPECT_EQ(lldpv2host::StopTrace(), (std::vector<std::string>{"Plain", "Ints 5 7 -3", "Hex 0x2320C01 0xFFFFFFFF",
                                                                 "Text LLDP x (null)"}));
}

TEST_F(HostRegistryTest, FaultLookup) {
    const struct {
        const char *name;
        std::vector<std::pair<std::string, uint32_t>> faults;
        uint32_t expected;  // what TraceCall("Call", 5) returns
    } cases[] = {
        {"none", {}, 0},
        {"by name", {{"Call", 1}}, 1},
        {"by entry", {{"Call 5", 2}}, 2},
        {"entry wins over name", {{"Call", 1}, {"Call 5", 2}}, 2},
        {"other entry", {{"Call 6", 2}}, 0},
        {"other call", {{"Caller", 3}}, 0},
        {"removed with 0", {{"Call", 1}, {"Call", 0}}, 0},
        {"entry removed, name stays", {{"Call", 1}, {"Call 5", 2}, {"Call 5", 0}}, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        lldpv2host::ClearFaults();
        for (const auto &[key, code] : c.faults) lldpv2host::SetFault(key, code);
        EXPECT_EQ(lldpv2host::TraceCall("Call", 5), c.expected);
    }
    lldpv2host::SetFault("Call", 4);
    EXPECT_EQ(lldpv2host::Fault("Call"), 4u);
    EXPECT_EQ(lldpv2host::Fault("Call 5"), 0u);
    lldpv2host::ClearFaults();
    EXPECT_EQ(lldpv2host::TraceCall("Call", 5), 0u);
}

}  // namespace
