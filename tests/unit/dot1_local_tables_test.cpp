// The 802.1 local data tables: what each port of a two-node stack
// advertises, read by get and walked across the nodes by get-next.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lldpv2host/scenario.h"
#include "module_fixture.h"

namespace lldpv2test {
namespace {

using ::testing::ElementsAre;

constexpr uint32_t kPort = Mor(10, 1);  // lldpV2LocPortIfIndex
constexpr char kName32[] = "abcdefghijklmnopqrstuvwxyz012345";

// Node 1 holds ports 1, 2 (type 56), 10, 11 (not LLDP) and 12 (no local
// data row); node 2 holds port 3, so the walks interleave the nodes.
constexpr char kScenario[] = R"(
nodes: [{id: 1}, {id: 2}]
interfaces:
  - ifindex: 1
    node: 1
    type: 18
    lldp:
      pvid: 10
      vlans: [{id: 10, name: users}, {id: 20, name: abcdefghijklmnopqrstuvwxyz012345}]
      proto-vlans: [{id: 100, supported: true, enabled: false}]
      management-vid: 100
      link-aggregation: {capable: true, enabled: true, port-id: 50}
      agents:
        - {agent: 1, tlvs: [port-vlan, proto-vlan, vlan-name, management-vid, link-agg], vlan-name-id: 20}
  - ifindex: 2
    node: 1
    type: 56
    lldp:
      pvid: 30
      vlans: [{id: 30, name: thirty}]
      proto-vlans: [{id: 0, supported: false}]
      management-vid: 30
      link-aggregation: {capable: true, enabled: false, port-id: 0}
      agents:
        - {agent: 2, tlvs: [port-vlan, proto-vlan, vlan-name, management-vid, link-agg]}
  - ifindex: 3
    node: 2
    type: 19
    lldp:
      pvid: 5
      vlans: [{id: 5, name: five}]
      proto-vlans: [{id: 5, supported: true, enabled: true}]
      agents:
        - {agent: 1, tlvs: [port-vlan, proto-vlan, vlan-name]}
  - {ifindex: 10, node: 1, type: 18, lldp: {pvid: 40}}
  - {ifindex: 11, node: 1, type: 7}
  - {ifindex: 12, node: 1, type: 18, lldp-data: 0, lldp: {pvid: 60}}
)";


// A reply as text: each parameter as "column:value/type", octets in quotes.
std::string Text(const Result &r) {
    std::string out;
    for (size_t i = 0; i < r.Count(); ++i) {
        const auto &p = r.At(i);
        out += i == 0 ? "" : " ";
        out.append(std::to_string(p.morId & 0xFF)).append(":");
        if (p.type == 5) {
            out.append("'").append(p.value.begin(), p.value.end()).append("'");
        } else {
            out += std::to_string(r.U32(i));
        }
        out.append("/").append(std::to_string(p.type));
    }
    return out;
}

class Dot1LocalTablesTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        std::string error;
        ASSERT_TRUE(lldpv2host::LoadScenarioText(kScenario, &error)) << error;
    }

    // Walks a table by get-next from an empty request, passing the index of
    // each answer on.
    static std::vector<std::string> Walk(uint32_t table, size_t indexColumns, Result *end) {
        std::vector<std::string> rows;
        Result r = Send(3, table, {});
        while (r.status == 0 && rows.size() < 20) {
            rows.push_back(Text(r));
            std::vector<P> next;
            for (size_t i = 0; i < indexColumns; ++i) next.push_back(P::N(r.At(i).morId, r.U32(i)));
            r = Send(3, table, next);
        }
        *end = r;
        return rows;
    }
};

TEST_F(Dot1LocalTablesTest, WalksListThePortsOfBothNodesInInterfaceOrder) {
    using Rows = std::vector<std::string>;
    struct Case {
        uint32_t table;
        size_t indexColumns;
        Rows rows;
        uint32_t endPosition;
    };
    const Case cases[] = {
        // The port index goes as Unsigned32 in this table only.
        {27, 1, {"1:1/2 1:10/2", "1:2/2 1:30/2", "1:3/2 1:5/2", "1:10/2 1:40/2"}, 0},
        {32, 1, {"1:1/0 1:100/2", "1:2/0 1:30/2"}, 0},
        // Status 0x03 (capable, enabled) goes as 0xC0 in BITS order. The
        // get-next does not apply the link aggregation port types: the
        // type-56 port is listed although its get fails.
        {33, 1, {"1:1/0 1:'\xC0'/5 2:50/2", "1:2/0 1:'\x80'/5 2:0/2", "1:10/0 1:'\x80'/5 2:0/2"}, 0},
        {28, 2, {"1:1/0 1:100/2 2:1/0 3:2/0", "1:2/0 1:0/2 2:2/0 3:2/0", "1:3/0 1:5/2 2:1/0 3:1/0"}, kAll},
        {29, 2, {"1:1/0 1:20/0 2:'" + std::string(kName32) + "'/5", "1:2/0 1:30/0 2:'thirty'/5", "1:3/0 1:5/0 2:'five'/5"},
         kAll},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE("table " + std::to_string(c.table));
        Result end;
        EXPECT_EQ(Walk(c.table, c.indexColumns, &end), c.rows);
        EXPECT_EQ(end.status, 0x61010059u);
        EXPECT_EQ(end.ErrorIndex(), c.endPosition);
    }
    // The index comes first: lldpV2LocPortIfIndex, then the table's own.
    EXPECT_THAT(Send(3, 28, {}).MorIds(), ElementsAre(kPort, Mor(28, 1), Mor(28, 2), Mor(28, 3)));

    // Only the nodes that are up are asked.
    lldpv2host::SetNodeUp(2, false);
    Result end;
    EXPECT_EQ(Walk(27, 1, &end).size(), 3u);
    // Without a node list there is no next row.
    lldpv2host::SetFault("DEV_GetAllNodes", 0x40010001);
    EXPECT_EQ(Send(3, 27, {}).ErrorIndex(), 0u);
    EXPECT_EQ(Send(3, 29, {}).status, 0x61010059u);
}

TEST_F(Dot1LocalTablesTest, Gets) {
    struct Case {
        const char *name;
        uint32_t table;
        std::vector<P> params;
        uint32_t status;
        std::string reply;  // or the error position
        uint32_t position;
    };
    const Case cases[] = {
        // A get answers the data columns only; the index may stand anywhere
        // and other columns are not looked at in the port-keyed tables.
        {"port VLAN", 27, {P::C(Mor(29, 2)), P::N(kPort, 1)}, 0, "1:10/2", 0},
        {"port VLAN of node 2", 27, {P::N(kPort, 3)}, 0, "1:5/2", 0},
        {"management VID of type 56", 32, {P::N(kPort, 2)}, 0, "1:30/2", 0},
        {"link aggregation", 33, {P::N(kPort, 1)}, 0, "1:'\xC0'/5 2:50/2", 0},
        {"proto VLAN", 28, {P::N(kPort, 1), P::N(Mor(28, 1), 100), P::C(Mor(23, 1))}, 0, "2:1/0 3:2/0", 0},
        {"VLAN name of 32 octets", 29, {P::N(Mor(29, 1), 20), P::N(kPort, 1)}, 0, "2:'" + std::string(kName32) + "'/5", 0},
        // Errors of the port-keyed tables go at position 0.
        {"link aggregation of type 56", 33, {P::C(Mor(33, 1)), P::N(kPort, 2)}, 0x61010058, "", 0},
        {"no link aggregation TLV", 33, {P::N(kPort, 3)}, 0x61010058, "", 0},
        {"no management VID TLV", 32, {P::N(kPort, 3)}, 0x61010058, "", 0},
        {"not an LLDP port", 27, {P::N(kPort, 11)}, 0x61010058, "", 0},
        {"no local data row", 27, {P::N(kPort, 12)}, 0x61010058, "", 0},
        {"no index", 27, {P::C(Mor(27, 1))}, 0x61010058, "", 0},
        // Those of the two-part tables at the parameter, or the whole request.
        {"VLAN not advertised", 29, {P::N(kPort, 1), P::N(Mor(29, 1), 10)}, 0x61010058, "", kAll},
        {"VLAN 0 passes the check", 29, {P::N(kPort, 1), P::N(Mor(29, 1), 0)}, 0x61010058, "", kAll},
        {"VLAN 4095", 29, {P::N(kPort, 1), P::N(Mor(29, 1), 4095)}, 0x61010058, "", 1},
        {"port of another type", 28, {P::N(Mor(28, 1), 100), P::N(kPort, 11)}, 0x61010058, "", 1},
        {"VLAN-name switch", 28, {P::N(kPort, 1), P::C(Mor(22, 1))}, 0x61010052, "", 1},
        {"column of table 28", 29, {P::N(kPort, 1), P::C(Mor(28, 2))}, 0x61010052, "", 1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Send(1, c.table, c.params);
        EXPECT_EQ(r.status, c.status);
        if (c.status == 0) {
            EXPECT_EQ(Text(r), c.reply);
        } else {
            EXPECT_EQ(r.ErrorIndex(), c.position);
            EXPECT_EQ(r.Count(), 0u);
        }
    }
}

TEST_F(Dot1LocalTablesTest, GetNextEntersAPortAtItsRowZero) {
    struct Case {
        const char *name;
        uint32_t table;
        std::vector<P> params;
        std::string reply;
    };
    const Case cases[] = {
        // The nodes' get-next would give the port's next row after 0.
        {"port alone", 28, {P::N(kPort, 2)}, "1:2/0 1:0/2 2:2/0 3:2/0"},
        {"index given", 28, {P::N(kPort, 2), P::N(Mor(28, 1), 0)}, "1:3/0 1:5/2 2:1/0 3:1/0"},
        {"no row 0", 29, {P::N(kPort, 1)}, "1:1/0 1:20/0 2:'" + std::string(kName32) + "'/5"},
        // A bad index positions the walk.
        {"VLAN past the range", 29, {P::N(kPort, 2), P::N(Mor(29, 1), 5000)}, "1:3/0 1:5/0 2:'five'/5"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Send(3, c.table, c.params);
        ASSERT_EQ(r.status, 0u);
        EXPECT_EQ(Text(r), c.reply);
    }
    // An unknown column ends it.
    Result r = Send(3, 29, {P::N(kPort, 1), P::C(Mor(27, 1))});
    EXPECT_EQ(r.status, 0x61010052u);
    EXPECT_EQ(r.ErrorIndex(), 1u);
}

TEST_F(Dot1LocalTablesTest, ProtocolAndVidUsageDigestTablesHaveNoRows) {
    struct Case {
        const char *name;
        uint32_t op;
        uint32_t table;
        std::vector<P> params;
        uint32_t status;
        uint32_t position;
    };
    const Case cases[] = {
        {"protocol get", 1, 30, {P::N(kPort, 1), P::N(Mor(30, 1), 1), P::C(Mor(30, 2))}, 0x61010058, kAll},
        {"protocol get, negative index", 1, 30, {P::N(kPort, 1), P::N(Mor(30, 1), 0x80000000)}, 0x61010058, 1},
        {"protocol get, foreign column", 1, 30, {P::N(kPort, 1), P::C(Mor(29, 2))}, 0x61010052, 1},
        {"protocol get-next", 3, 30, {}, 0x61010051, kAll},
        {"protocol get-next, bad port", 3, 30, {P::N(kPort, 11)}, 0x61010051, 0},
        {"digest get", 1, 31, {P::N(kPort, 1)}, 0x61010058, 0},
        {"digest get-next", 3, 31, {P::N(kPort, 1)}, 0x61010051, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Send(c.op, c.table, c.params);
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.ErrorIndex(), c.position);
        EXPECT_EQ(r.Count(), 0u);
    }
}

TEST_F(Dot1LocalTablesTest, OpTypesOtherThanGetAndGetNext) {
    // The port-keyed tables report every error at position 0, the two-part
    // tables at the whole request.
    const struct {
        uint32_t table;
        uint32_t position;
    } tables[] = {{27, 0}, {28, kAll}, {29, kAll}, {30, kAll}, {31, 0}, {32, 0}, {33, 0}};
    for (const auto &t : tables) {
        SCOPED_TRACE("table " + std::to_string(t.table));
        for (uint32_t op : {2u, 0u, 4u, 10u}) {
            Result r = Send(op, t.table, {P::N(kPort, 1), P::N(Mor(t.table, 2), 1)});
            EXPECT_EQ(r.status, op == 2 ? 0x6101004Fu : 0x61010052u);
            EXPECT_EQ(r.ErrorIndex(), t.position);
        }
        Result phase = Send(5, t.table, {P::N(kPort, 1)});
        EXPECT_EQ(phase.status, 0u);
        EXPECT_FALSE(phase.HasError());
        EXPECT_EQ(phase.Count(), 0u);
    }
}

}  // namespace
}  // namespace lldpv2test
