// The DCBX tables: the transmit switches, and the ETS, PFC and application
// priority data of the ports (Loc), their neighbours (Rem) and the ports'
// administrative data (Admin), across a two-node stack.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "lldpv2host/scenario.h"
#include "module_fixture.h"
#include "walk_get.h"

namespace lldpv2test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

// Port 1 sends its DCBX data; port 2 has admin data only (it does not send
// DCBX TLVs); ports 3 (type 56) and 5 (type 7) are not DCBX port types;
// port 101 on node 2 sends PFC and application data. Neighbours on ports 1
// and 101 (remote index 1 each).
constexpr char kScenario[] = R"(
nodes: [{id: 1}, {id: 2}]
interfaces:
  - ifindex: 1
    node: 1
    type: 18
    lldp:
      port-id: {subtype: interface-name, value: ge-1}
      dcbx:
        ets: {willing: true, cbs: false, traffic-classes: 8, priority-tc: [0, 1, 2, 3, 4, 5, 6, 7],
              bandwidth: [10, 20, 30, 40, 0, 0, 0, 0],
              tsa: [ets, ets, ets, ets, strict-priority, strict-priority, credit-based-shaper, vendor-specific]}
        ets-recommendation: {priority-tc: [0, 0, 0, 0, 1, 1, 1, 1], bandwidth: [25, 25, 25, 25, 0, 0, 0, 0],
                             tsa: [strict-priority, ets, ets, ets, ets, ets, ets, ets]}
        pfc: {willing: false, mbc: true, cap: 4, enabled: [3, 7]}
        applications:
          - {selector: ethertype, protocol: 0x8906, priority: 3}
          - {selector: tcp-sctp-port, protocol: 3260, priority: 4}
          - {selector: tcp-sctp-port, protocol: 3260, priority: 6}
          - {selector: ethertype, protocol: 0, priority: 1}
      agents: [{agent: 1, tlvs: [dcbx]}]
  - ifindex: 2
    node: 1
    type: 88
    lldp:
      port-id: {subtype: interface-name, value: ge-2}
      dcbx:
        ets: {willing: false, cbs: true, traffic-classes: 3, priority-tc: [7, 6, 5, 4, 3, 2, 1, 0],
              bandwidth: [60, 40, 0, 0, 0, 0, 0, 0]}
  - {ifindex: 3, node: 1, type: 56}
  - {ifindex: 5, node: 1, type: 7}
  - ifindex: 101
    node: 2
    type: 19
    lldp:
      port-id: {subtype: interface-name, value: ge-101}
      dcbx:
        pfc: {willing: true, cap: 8, enabled: [0]}
        applications: [{selector: udp-dccp-port, protocol: 4791, priority: 5}]
      agents: [{agent: 1, tlvs: [dcbx]}]
neighbours:
  - port: 1
    agent: 1
    chassis-id: {subtype: mac-address, value: "02:00:00:00:00:01"}
    port-id: {subtype: interface-name, value: eth1}
    ets: {willing: false, cbs: true, traffic-classes: 4, priority-tc: [1, 1, 2, 2, 3, 3, 0, 0],
          bandwidth: [50, 50, 0, 0, 0, 0, 0, 0], tsa: [ets, ets, strict-priority, strict-priority,
          strict-priority, strict-priority, strict-priority, strict-priority]}
    ets-recommendation: {bandwidth: [70, 30, 0, 0, 0, 0, 0, 0], tsa: [ets, ets, ets, ets, ets, ets, ets, ets]}
    pfc: {willing: true, mbc: false, cap: 2, enabled: [1]}
    applications: [{selector: udp-dccp-port, protocol: 4791, priority: 5}, {selector: ethertype, protocol: 0, priority: 2}]
  - port: 101
    agent: 1
    chassis-id: {subtype: mac-address, value: "02:00:00:00:00:02"}
    port-id: {subtype: interface-name, value: eth2}
    pfc: {cap: 3, enabled: [2]}
)";

constexpr uint32_t kTrue = 1;
constexpr uint32_t kFalse = 2;
constexpr uint32_t kNoNext = 0x61010059;
constexpr uint32_t kNoInstance = 0x61010058;
constexpr uint32_t kUnserved = 0x61010052;

const uint32_t kLocPort = Mor(10, 1);
const uint32_t kCfgPort = Mor(3, 1);
const uint32_t kCfgAgent = Mor(3, 2);

std::vector<uint32_t> Values(const Result &r) {
    std::vector<uint32_t> values;
    for (size_t i = 0; i < r.Count(); ++i) values.push_back(r.U32(i));
    return values;
}

std::vector<P> Port(uint32_t ifIndex) { return {P::N(kLocPort, ifIndex)}; }
// The neighbour on ifIndex, agent 1, remote index 1, seen from time mark 0.
std::vector<P> Tfai(uint32_t ifIndex) {
    return {P::N(Mor(12, 1), 0), P::N(Mor(12, 2), ifIndex), P::N(Mor(12, 3), 1), P::N(Mor(12, 4), 1)};
}
std::vector<P> With(std::vector<P> params, std::initializer_list<P> more) {
    params.insert(params.end(), more);
    return params;
}
// A row (class or priority) of a table with its value column.
std::vector<P> Row(std::vector<P> owner, uint32_t table, uint32_t row) {
    return With(std::move(owner), {P::N(Mor(table, 1), row), P::C(Mor(table, 2))});
}
// An application of a table, asking for its priority.
std::vector<P> App(std::vector<P> owner, uint32_t table, uint32_t selector, uint32_t protocol) {
    return With(std::move(owner), {P::N(Mor(table, 1), selector), P::N(Mor(table, 2), protocol), P::C(Mor(table, 3))});
}
std::vector<P> AllThree(std::vector<P> owner, uint32_t table) {
    return With(std::move(owner), {P::C(Mor(table, 3)), P::C(Mor(table, 2)), P::C(Mor(table, 1))});
}

class DcbxTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        std::string error;
        ASSERT_TRUE(lldpv2host::LoadScenarioText(kScenario, &error)) << error;
    }

    // Every row of a table from the start: the values of each reply.
    static std::vector<std::vector<uint32_t>> Walk(uint32_t table, uint32_t valueColumn) {
        std::vector<std::vector<uint32_t>> rows;
        Result r = Send(3, table, {P::C(valueColumn)});
        while (r.status == 0 && rows.size() < 40) {
            rows.push_back(Values(r));
            std::vector<P> next;
            for (size_t i = 0; i + 1 < r.Count(); ++i) next.push_back(P::N(r.At(i).morId, r.U32(i)));
            next.push_back(P::C(valueColumn));
            r = Send(3, table, next);
        }
        EXPECT_EQ(r.status, kNoNext);
        return rows;
    }
};

TEST_F(DcbxTest, OneTransmitSwitchServesAllFourTables) {
    const auto get = [](uint32_t table) {
        return Get(table, {P::N(kCfgPort, 1), P::N(kCfgAgent, 1), P::C(Mor(table, 1))});
    };
    struct Case {
        uint32_t table;
        std::vector<P> values;
        uint32_t expected;
    };
    // Only true enables; of several values the last counts; a set naming no
    // column disables.
    const Case cases[] = {
        {44, {P::N(Mor(44, 1), 2)}, kFalse},
        {45, {P::N(Mor(45, 1), 1)}, kTrue},
        {46, {P::N(Mor(46, 1), 0)}, kFalse},
        {47, {P::N(Mor(47, 1), 1)}, kTrue},
        {44, {P::N(Mor(44, 1), 3)}, kFalse},
        {45, {P::N(Mor(45, 1), 2), P::N(Mor(45, 1), 1)}, kTrue},
        {46, {}, kFalse},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << "set of table " << c.table << " to " << c.expected);
        std::vector<P> set = {P::N(kCfgPort, 1), P::N(kCfgAgent, 1)};
        set.insert(set.end(), c.values.begin(), c.values.end());
        Result r = Send(2, c.table, set);
        ASSERT_EQ(r.status, 0u);
        EXPECT_EQ(r.Count(), 0u);
        for (uint32_t t = 44; t <= 47; ++t) {
            Result read = get(t);
            ASSERT_EQ(read.status, 0u);
            EXPECT_THAT(read.MorIds(), ElementsAre(Mor(t, 1)));
            EXPECT_EQ(read.U32(0), c.expected) << t;
            EXPECT_EQ(read.At(0).type, 0u);
        }
        // The port's LLDPDU follows the switch: its Loc rows come and go.
        EXPECT_EQ(Send(1, 54, AllThree(Port(1), 54)).status, c.expected == kTrue ? 0u : kNoInstance);
    }
}

TEST_F(DcbxTest, TransmitSwitchWalkVisitsDcbxPortsWithAgentOne) {
    const std::vector<std::vector<uint32_t>> rows = Walk(45, Mor(45, 1));
    EXPECT_THAT(rows, ElementsAre(ElementsAre(1u, 1u, kTrue), ElementsAre(2u, 1u, kFalse),
                                  ElementsAre(101u, 1u, kTrue)));
}

TEST_F(DcbxTest, OpTypeFrameOfEveryTable) {
    for (uint32_t table = 44; table <= 74; ++table) {
        SCOPED_TRACE(table);
        for (uint32_t op = 5; op <= 9; ++op) {
            Result phase = Send(op, table, {P::N(Mor(table, 1), 1)});
            EXPECT_EQ(phase.status, 0u);
            EXPECT_EQ(phase.Count(), 0u);
        }
        EXPECT_EQ(Send(0, table, {}).status, kUnserved);
        if (table < 48) continue;
        // Every data table is read-only, the Admin tables included.
        Result set = Send(2, table, {P::N(kLocPort, 1), P::N(Mor(table, 2), 1)});
        EXPECT_EQ(set.status, 0x6101004Fu);
        EXPECT_EQ(set.ErrorIndex(), kAll);
    }
}

struct Case {
    uint32_t opType;
    uint32_t table;
    std::vector<P> params;
    uint32_t status;
    std::vector<uint32_t> values;  // of the reply; the error position on failure
    std::vector<uint32_t> types;   // of the reply, when checked
};

TEST_F(DcbxTest, RowsAndErrors) {
    const Case cases[] = {
        // Transmit switches.
        {1, 44, {P::N(kCfgPort, 3), P::N(kCfgAgent, 1), P::C(Mor(44, 1))}, kNoInstance, {0}, {}},
        {1, 44, {P::N(kCfgPort, 1), P::N(kCfgAgent, 2), P::C(Mor(44, 1))}, kNoInstance, {1}, {}},
        {1, 44, {P::N(kCfgPort, 1), P::N(kCfgAgent, 1), P::C(Mor(46, 1))}, kUnserved, {2}, {}},
        {2, 47, {P::N(kCfgPort, 5), P::N(kCfgAgent, 1), P::N(Mor(47, 1), 1)}, 0x61010049, {0}, {}},
        {2, 47, {P::N(kCfgPort, 1), P::N(kCfgAgent, 3), P::N(Mor(47, 1), 1)}, 0x61010049, {1}, {}},
        {2, 47, {P::N(Mor(47, 1), 1)}, 0x61010049, {kAll}, {}},  // refused by the daemon
        {3, 45, {P::N(kCfgPort, 1), P::C(Mor(44, 1))}, kUnserved, {1}, {}},
        {3, 45, {P::N(kCfgPort, 2)}, 0, {2, 1}, {0, 2}},
        {4, 46, {}, kUnserved, {kAll}, {}},
        // ETS traffic classes.
        {1, 50, Row(Port(1), 50, 1), 0, {20}, {2}},
        {1, 51, Row(Port(1), 51, 6), 0, {1}, {0}},
        {1, 52, Row(Port(1), 52, 0), 0, {25}, {2}},
        {1, 53, Row(Port(1), 53, 0), 0, {0}, {0}},
        {1, 59, Row(Tfai(1), 59, 1), 0, {50}, {2}},
        {1, 60, Row(Tfai(1), 60, 2), 0, {0}, {0}},
        {1, 61, Row(Tfai(1), 61, 0), 0, {70}, {2}},
        {1, 62, Row(Tfai(1), 62, 7), 0, {2}, {0}},
        {1, 68, Row(Port(2), 68, 0), 0, {60}, {2}},
        {1, 69, Row(Port(1), 69, 6), 0, {1}, {0}},
        {1, 70, Row(Port(1), 70, 3), 0, {25}, {2}},
        // The Admin recommendation TSA table answers the configuration TSA.
        {1, 71, Row(Port(1), 71, 0), 0, {2}, {0}},
        {1, 71, Row(Port(1), 71, 6), 0, {1}, {0}},
        // ETS priority assignment, two priorities per admin octet.
        {1, 49, Row(Port(1), 49, 5), 0, {5}, {2}},
        {1, 58, Row(Tfai(1), 58, 3), 0, {2}, {2}},
        {1, 67, Row(Port(2), 67, 0), 0, {7}, {2}},
        {1, 67, Row(Port(2), 67, 1), 0, {6}, {2}},
        // PFC enable.
        {1, 55, Row(Port(1), 55, 3), 0, {kTrue}, {0}},
        {1, 55, Row(Port(1), 55, 4), 0, {kFalse}, {0}},
        {1, 64, Row(Tfai(1), 64, 1), 0, {kTrue}, {0}},
        {1, 73, Row(Port(1), 73, 7), 0, {kTrue}, {0}},
        {1, 73, Row(Port(101), 73, 0), 0, {kTrue}, {0}},
        // Index and row errors.
        {1, 50, Row(Port(1), 50, 8), kNoInstance, {1}, {}},
        {1, 50, With(Port(1), {P::N(Mor(50, 1), 0), P::C(Mor(51, 2))}), kUnserved, {2}, {}},
        {1, 50, Row(Port(3), 50, 0), kNoInstance, {0}, {}},
        {1, 59, Row(Port(1), 59, 0), kUnserved, {0}, {}},
        {1, 64, {P::N(Mor(12, 2), 1), P::N(Mor(12, 3), 4)}, kNoInstance, {1}, {}},
        {1, 50, Row(Port(2), 50, 0), kNoInstance, {kAll}, {}},     // sends no ETS data
        {1, 59, Row(Tfai(2), 59, 0), 0x40010003, {kAll}, {}},      // no such neighbour
        {1, 68, Row(Port(101), 68, 0), kNoInstance, {kAll}, {}},   // no valid ETS admin data
        {1, 73, Row(Port(2), 73, 0), kNoInstance, {kAll}, {}},     // no valid PFC admin data
        {1, 69, {P::N(Mor(69, 1), 0)}, kNoInstance, {kAll}, {}},   // port 0
        // Get-next tries the named port's first row only without a class.
        {3, 50, Port(1), 0, {1, 0}, {0, 2}},
        {3, 50, With(Port(1), {P::N(Mor(50, 1), 0)}), 0, {1, 1}, {}},
        {3, 50, Port(2), kNoNext, {kAll}, {}},
        {3, 50, With(Port(1), {P::N(Mor(50, 1), 7)}), kNoNext, {kAll}, {}},
        {3, 50, With(Port(1), {P::N(Mor(50, 1), 8)}), kNoNext, {1}, {}},  // searched, at the bad index
        {3, 73, Port(1), 0, {1, 0, kFalse}, {0, 2, 0}},
        {3, 73, With(Port(1), {P::N(Mor(73, 1), 7)}), 0, {101, 0, kTrue}, {}},
        {3, 64, With(Tfai(1), {P::N(Mor(64, 1), 7)}), 0, {0, 101, 1, 1, 0, kFalse}, {3, 0, 2, 2, 2, 0}},
        // ETS basic (columns 3, 2, 1: willing, traffic classes with 0 for 8,
        // CBS) and PFC basic (capability, MBC, willing).
        {1, 48, AllThree(Port(1), 48), 0, {kTrue, 8, kFalse}, {0, 2, 0}},
        {1, 57, AllThree(Tfai(1), 57), 0, {kFalse, 4, kTrue}, {}},
        {1, 66, AllThree(Port(2), 66), 0, {kFalse, 3, kTrue}, {}},
        {1, 54, AllThree(Port(1), 54), 0, {4, kTrue, kFalse}, {2, 0, 0}},
        {1, 63, AllThree(Tfai(1), 63), 0, {2, kFalse, kTrue}, {}},
        {1, 72, AllThree(Port(101), 72), 0, {8, kFalse, kTrue}, {}},
        // Each named column is searched from the row the previous search
        // found: willing finds port 1, the capability then port 101.
        {3, 54, {P::C(Mor(54, 1)), P::C(Mor(54, 3))}, 0, {101, kFalse, 8}, {}},
        {3, 54, {P::C(Mor(54, 3))}, 0, {1, 4}, {}},
        {3, 63, {P::C(Mor(63, 2)), P::C(Mor(63, 3))}, 0, {0, 101, 1, 1, kFalse, 3}, {}},
        {3, 72, With(Port(1), {P::C(Mor(72, 1)), P::C(Mor(72, 3))}), 0, {101, kTrue, 8}, {}},
        {3, 66, {}, 0, {1}, {}},
        {3, 48, {}, kNoNext, {kAll}, {}},
        {3, 54, {P::C(Mor(54, 1)), P::N(kLocPort, 1)}, kUnserved, {kAll}, {}},  // the last one counts
        {3, 57, With(Tfai(1), {P::C(Mor(57, 3))}), 0x40010003, {kAll}, {}},
        {3, 72, With(Port(101), {P::C(Mor(72, 1))}), kNoNext, {kAll}, {}},
        {3, 54, {P::C(Mor(48, 1))}, kUnserved, {0}, {}},
        // Application priority: of two entries of an application the first
        // answers.
        {1, 56, App(Port(1), 56, 1, 0x8906), 0, {3}, {2}},
        {1, 56, App(Port(1), 56, 2, 3260), 0, {4}, {}},
        {1, 56, App(Port(1), 56, 1, 0), 0, {1}, {}},
        {1, 56, App(Port(1), 56, 3, 53), kNoInstance, {kAll}, {}},
        {1, 56, App(Port(101), 56, 3, 4791), 0, {5}, {}},
        {1, 65, App(Tfai(1), 65, 3, 4791), 0, {5}, {2}},
        {1, 65, App(Tfai(101), 65, 3, 4791), kNoInstance, {kAll}, {}},
        {1, 74, App(Port(1), 74, 2, 3260), 0, {4}, {2}},
        {1, 74, App(Port(2), 74, 1, 0x8906), kNoInstance, {kAll}, {}},
        // Get-next tries the named row when the protocol is missing (Loc),
        // but when the selector is missing (Rem).
        {3, 56, With(Port(1), {P::N(Mor(56, 1), 1)}), 0, {1, 1, 0, 1}, {0, 0, 2, 2}},
        {3, 65, With(Tfai(1), {P::N(Mor(65, 1), 1)}), 0, {0, 1, 1, 1, 3, 4791, 5}, {}},
        {3, 65, With(Tfai(1), {P::N(Mor(65, 2), 0)}), 0, {0, 1, 1, 1, 1, 0, 2}, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << "op " << c.opType << " table " << c.table << " line " << (&c - cases));
        Result r = Send(c.opType, c.table, c.params);
        ASSERT_EQ(r.status, c.status);
        if (c.status != 0) {
            EXPECT_EQ(r.ErrorIndex(), c.values.at(0));
            EXPECT_EQ(r.Count(), 0u);
            continue;
        }
        EXPECT_EQ(Values(r), c.values);
        for (size_t i = 0; i < c.types.size(); ++i) EXPECT_EQ(r.At(i).type, c.types[i]) << i;
    }
}

TEST_F(DcbxTest, ValueColumnsFollowTheTableKind) {
    struct Shape {
        uint32_t table;
        std::vector<P> params;
        size_t values;
    };
    // Loc and Admin traffic-class tables answer their value column as often
    // as it is named; the other tables answer it once, named or not.
    const Shape shapes[] = {
        {50, With(Port(1), {P::N(Mor(50, 1), 0)}), 0},
        {69, With(Port(1), {P::C(Mor(69, 2)), P::N(Mor(69, 1), 0), P::C(Mor(69, 2))}), 2},
        {59, With(Tfai(1), {P::N(Mor(59, 1), 0)}), 1},
        {55, With(Port(1), {P::N(Mor(55, 1), 0)}), 1},
        {73, With(Port(1), {P::N(Mor(73, 1), 0), P::C(Mor(73, 2)), P::C(Mor(73, 2))}), 1},
    };
    for (const Shape &s : shapes) {
        SCOPED_TRACE(s.table);
        Result get = Send(1, s.table, s.params);
        ASSERT_EQ(get.status, 0u);
        EXPECT_EQ(get.Count(), s.values);
        Result next = Send(3, s.table, s.params);
        ASSERT_EQ(next.status, 0u);
        EXPECT_EQ(next.Count(), (s.table == 59 ? 5u : 2u) + s.values);
    }
}

TEST_F(DcbxTest, WalksCrossPortsNodesAndNeighbours) {
    const auto classRows = [](std::vector<uint32_t> ports) {
        std::vector<std::pair<uint32_t, uint32_t>> rows;
        for (uint32_t port : ports)
            for (uint32_t row = 0; row < 8; ++row) rows.emplace_back(port, row);
        return rows;
    };
    // (port, class or priority) at the given reply positions.
    const auto keys = [](const std::vector<std::vector<uint32_t>> &rows, size_t port, size_t row) {
        std::vector<std::pair<uint32_t, uint32_t>> out;
        for (const auto &r : rows) out.emplace_back(r.at(port), r.at(row));
        return out;
    };
    EXPECT_THAT(keys(Walk(55, Mor(55, 2)), 0, 1), ElementsAreArray(classRows({1, 101})));
    EXPECT_THAT(keys(Walk(64, Mor(64, 2)), 1, 4), ElementsAreArray(classRows({1, 101})));
    EXPECT_THAT(keys(Walk(68, Mor(68, 2)), 0, 1), ElementsAreArray(classRows({1, 2})));
    EXPECT_THAT(keys(Walk(50, Mor(50, 2)), 0, 1), ElementsAreArray(classRows({1})));
    // Applications in (port, selector, protocol) order, an application once.
    EXPECT_THAT(Walk(56, Mor(56, 3)), ElementsAre(ElementsAre(1u, 1u, 0u, 1u), ElementsAre(1u, 1u, 0x8906u, 3u),
                                                  ElementsAre(1u, 2u, 3260u, 4u), ElementsAre(101u, 3u, 4791u, 5u)));
}

TEST_F(DcbxTest, TransmitConfigurationIsReleasedWhetherOrNotItParsed) {
    for (uint32_t table = 44; table <= 47; ++table) {
        SCOPED_TRACE(table);
        const std::vector<P> row = {P::N(kCfgPort, 1), P::N(kCfgAgent, 1), P::C(Mor(table, 1))};
        for (bool parses : {true, false}) {
            if (!parses) lldpv2host::SetFault("LLDP_util_CreateFromTLVCfgBuf", 0x40010001);
            lldpv2host::StartTrace();
            Result r = Send(1, table, row);
            const std::vector<std::string> trace = lldpv2host::StopTrace();
            lldpv2host::ClearFaults();
            EXPECT_EQ(r.status, parses ? 0u : kNoInstance);
            EXPECT_EQ(std::count(trace.begin(), trace.end(), "LLDP_util_CreateFromTLVCfgBuf"), 1);
            EXPECT_EQ(std::count(trace.begin(), trace.end(), "LLDP_util_ClearTLVCfg"), 1) << "parses " << parses;
        }
    }
}

TEST_F(DcbxTest, EveryAdminTableWalkReadsWhatAGetReads) {
    size_t tables = 0;
    for (const auto &[morId, column] : ServedColumns()) {
        if (std::string(column.node->name).rfind("lldpXdot1dcbxAdmin", 0) != 0) continue;
        SCOPED_TRACE(column.node->name);
        ++tables;
        const ColumnReport report = WalkAndGet(*column.node);
        EXPECT_GT(report.rows, 0u);
        for (const std::string &problem : report.problems) ADD_FAILURE() << problem;
    }
    EXPECT_EQ(tables, 13u);  // the readable columns of tables 66 to 74
    // The recommendation TSA rows read the configuration TSA bytes.
    EXPECT_EQ(Walk(71, Mor(71, 2)), Walk(69, Mor(69, 2)));
}

TEST_F(DcbxTest, BasicColumnsTheDecodedDataLacksAreLeftOut) {
    // When the DCBX library reports the CBS and class count (ETS) or the MBC
    // and capability (PFC) absent, a get of the Loc and Rem basic tables
    // answers willing alone; the admin data always carries all three.
    struct Case {
        uint32_t table;
        std::vector<P> owner;
        bool optionalFirst;  // the optional columns are 1 and 2 (ETS), else 2 and 3 (PFC)
        bool fromAdmin;
    };
    const Case cases[] = {
        {48, Port(1), true, false}, {57, Tfai(1), true, false}, {66, Port(1), true, true},
        {54, Port(1), false, false}, {63, Tfai(1), false, false}, {72, Port(1), false, true},
    };
    for (bool absent : {false, true}) {
        lldpv2host::testing::SetDcbxOptionalFieldsAbsent(absent);
        for (const Case &c : cases) {
            SCOPED_TRACE(testing::Message() << c.table << (absent ? " absent" : " present"));
            Result r = Send(1, c.table, AllThree(c.owner, c.table));
            ASSERT_EQ(r.status, 0u);
            const uint32_t willing = c.optionalFirst ? Mor(c.table, 3) : Mor(c.table, 1);
            if (absent && !c.fromAdmin) {
                EXPECT_THAT(r.MorIds(), ElementsAre(willing));
            } else {
                EXPECT_THAT(r.MorIds(), ElementsAre(Mor(c.table, 3), Mor(c.table, 2), Mor(c.table, 1)));
            }
        }
    }
}

TEST_F(DcbxTest, ImpossibleApplicationIsRefusedBeforeThePortIsRead) {
    lldpv2host::StartTrace();
    Result r = Send(1, 56, App(Port(1), 56, 2, 0));
    const std::vector<std::string> trace = lldpv2host::StopTrace();
    EXPECT_EQ(r.status, kNoInstance);
    EXPECT_EQ(r.ErrorIndex(), kAll);
    EXPECT_THAT(trace, testing::Not(testing::Contains("IF_GetDataByIfIndex 1 31")));
    // A possible one reads the port's local data.
    lldpv2host::StartTrace();
    Send(1, 56, App(Port(1), 56, 2, 1));
    EXPECT_THAT(lldpv2host::StopTrace(), testing::Contains("IF_GetDataByIfIndex 1 31"));
}

}  // namespace
}  // namespace lldpv2test
