// The neighbours' 802.1 TLVs: the remote tables keyed by the TFAI, read by
// get and walked across the stack by get-next.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "stack_fixture.h"

namespace lldpv2test {
namespace {

using ::testing::ElementsAre;

constexpr uint32_t kTimeMark = Mor(12, 1);
constexpr uint32_t kLocalPort = Mor(12, 2);
constexpr uint32_t kLocalAgent = Mor(12, 3);
constexpr uint32_t kRemIndex = Mor(12, 4);
constexpr char kName32[] = "abcdefghijklmnopqrstuvwxyz012345";

// Extra ports so that the two nodes' neighbours interleave in port order.
constexpr uint32_t kNode2Low = 6;    // node 2, type 18
constexpr uint32_t kNode1High = 10;  // node 1, type 19

struct Peer {
    uint32_t port;
    uint32_t agent;
    uint32_t remIndex;
};


std::vector<P> Index(const Peer &n, std::vector<P> more = {}, uint32_t timeMark = 0) {
    std::vector<P> params = {P::N(kTimeMark, timeMark), P::N(kLocalPort, n.port), P::N(kLocalAgent, n.agent),
                             P::N(kRemIndex, n.remIndex)};
    params.insert(params.end(), more.begin(), more.end());
    return params;
}

std::string Hex(const std::string &s) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    for (unsigned char c : s) out += {kHex[c >> 4], kHex[c & 15]};
    return out;
}

// A reply as text: numbers in decimal, octets in hex, "/type" after each.
std::string Text(const Result &r, size_t from = 0) {
    std::string out;
    for (size_t i = from; i < r.Count(); ++i) {
        const auto &v = r.At(i).value;
        out += i == from ? "" : " ";
        out += r.At(i).type == 5 ? Hex({v.begin(), v.end()}) : std::to_string(r.U32(i));
        out.append("/").append(std::to_string(r.At(i).type));
    }
    return out;
}

class Dot1RemoteTablesTest : public StackTest {
protected:
    void SetUp() override {
        StackTest::SetUp();
        Port(kNode2Low, 2, 18);
        Port(kNode1High, 1, 19);

        lldp::Lldpdu a = Neighbour(1, "a");
        a.portVlanId = 10;
        a.protoVlans = {{0x06, 0}, {0x02, 100}};
        a.vlanNames = {{20, "voice"}, {10, "users"}};
        a.protocolIds = {{0x88, 0x8E}, {0x00, 0x27, 0x42}};
        a.vidUsageDigest = std::array<uint8_t, 4>{0x12, 0x34, 0x56, 0x78};
        a.managementVid = 100;
        a.linkAgg = lldp::LinkAggregation{0x03, 7};
        A = Add(kOrdinary, 1, a);

        lldp::Lldpdu b = Neighbour(2, "b");
        b.portVlanId = 30;
        b.protoVlans = {{0x00, 30}};
        b.vlanNames = {{30, "thirty"}};
        b.linkAgg = lldp::LinkAggregation{0x01, 0};
        B = Add(kSecondClass, 2, b);

        lldp::Lldpdu c = Neighbour(3, "c");
        c.portVlanId = 6;
        c.protoVlans = {{0x02, 6}};
        c.vlanNames = {{6, kName32}};
        c.protocolIds = {{0x01}};
        c.managementVid = 6;
        C = Add(kNode2Low, 1, c);

        lldp::Lldpdu e = Neighbour(5, "e");
        e.portVlanId = 101;
        e.vlanNames = {{4094, "last"}};
        E = Add(kNode2First, 2, e);

        // Received later than the others.
        lldpv2host::SetClock(500);
        lldp::Lldpdu d = Neighbour(4, "d");
        d.portVlanId = 40;
        d.vidUsageDigest = std::array<uint8_t, 4>{0, 0, 0, 1};
        d.managementVid = 40;
        d.linkAgg = lldp::LinkAggregation{0x02, 99};
        D = Add(kNode1High, 3, d);
    }

    static Peer Add(uint32_t port, uint32_t agent, const lldp::Lldpdu &pdu) {
        const lldpv2host::ReceiveResult r = Receive(port, agent, pdu);
        EXPECT_EQ(r.outcome, lldpv2host::ReceiveOutcome::Inserted);
        return Peer{port, agent, r.remIndex};
    }

    // "port.agent.remIndex[.sub] data" for each row of a get-next walk from
    // an empty request; the TFAI and sub-index of each answer are passed on.
    static std::vector<std::string> Walk(uint32_t table, size_t indexColumns, Result *end,
                                         std::vector<P> start = {}) {
        std::vector<std::string> rows;
        Result r = Send(3, table, start);
        while (r.status == 0 && rows.size() < 20) {
            std::string row = std::to_string(r.U32(1)) + "." + std::to_string(r.U32(2)) + "." +
                              std::to_string(r.U32(3));
            std::vector<P> next;
            for (size_t i = 0; i < indexColumns; ++i) {
                if (i >= 4) row.append(".").append(std::to_string(r.U32(i)));
                next.push_back(P::N(r.At(i).morId, r.U32(i)));
            }
            rows.push_back(row + " " + Text(r, indexColumns));
            r = Send(3, table, next);
        }
        *end = r;
        return rows;
    }

    Peer A, B, C, D, E;
};

TEST_F(Dot1RemoteTablesTest, WalksListTheNeighboursInTfaiOrderAcrossTheStack) {
    struct Case {
        uint32_t table;
        size_t indexColumns;
        std::vector<std::string> rows;
        uint32_t end;
    };
    const Case cases[] = {
        // Tables 34 and 40 end with the daemon's own status.
        {34, 4, {"1.1.1 10/2", "2.2.1 30/2", "6.1.1 6/2", "10.3.1 40/2", "101.2.1 101/2"}, 0x40010003},
        {40, 4, {"1.1.1 c0/5 7/2", "2.2.1 80/5 0/2", "10.3.1 40/5 99/2"}, 0x40010003},
        // PPVID 0 is a row; flags map to TruthValues.
        {35, 5, {"1.1.1.0 1/0 1/0", "1.1.1.100 1/0 2/0", "2.2.1.30 2/0 2/0", "6.1.1.6 1/0 2/0"}, 0x61010059},
        {36, 5,
         {"1.1.1.10 7573657273/5", "1.1.1.20 766f696365/5", "2.2.1.30 746869727479/5", "6.1.1.6 " + Hex(kName32) + "/5",
          "101.2.1.4094 6c617374/5"},
         0x61010059},
        {37, 5, {"1.1.1.1 888e/5", "1.1.1.2 002742/5", "6.1.1.1 01/5"}, 0x61010059},
        // The digest octets read as one number, first octet most significant.
        {38, 4, {"1.1.1 305419896/2", "10.3.1 1/2"}, 0x61010059},
        {39, 4, {"1.1.1 100/2", "6.1.1 6/2", "10.3.1 40/2"}, 0x61010059},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE("table " + std::to_string(c.table));
        Result end;
        EXPECT_EQ(Walk(c.table, c.indexColumns, &end), c.rows);
        EXPECT_EQ(end.status, c.end);
        EXPECT_EQ(end.ErrorIndex(), kAll);
    }
    // Index columns come first, with their type codes: time mark 3,
    // interface index 0, agent and remote index 2; then the sub-index.
    Result r = Send(3, 35, {});
    ASSERT_EQ(r.status, 0u);
    EXPECT_THAT(r.MorIds(), ElementsAre(kTimeMark, kLocalPort, kLocalAgent, kRemIndex, Mor(35, 1), Mor(35, 2), Mor(35, 3)));
    EXPECT_EQ(Text(r), "0/3 1/0 1/2 1/2 0/2 1/0 1/0");
    EXPECT_EQ(Text(Send(3, 36, {}), 4).substr(0, 4), "10/0");
}

TEST_F(Dot1RemoteTablesTest, GetNextKeepsTheTimeMark) {
    // Through the daemon's own get-next and through the walk over the nodes.
    for (uint32_t table : {34u, 39u}) {
        SCOPED_TRACE("table " + std::to_string(table));
        Result end;
        // Only the neighbour that changed at or after the time mark, under that mark.
        Result r = Send(3, table, {P::N(kTimeMark, 500)});
        ASSERT_EQ(r.status, 0u);
        EXPECT_EQ(Text(r).substr(0, 16), "500/3 10/0 3/2 1");
        EXPECT_EQ(Walk(table, 4, &end, {P::N(kTimeMark, 500)}).size(), 1u);
    }
}

TEST_F(Dot1RemoteTablesTest, GetNextEntersANeighbourAtItsRowZero) {
    // Without a sub-index the neighbour's PPVID 0 row is the answer.
    Result r = Send(3, 35, Index(A));
    ASSERT_EQ(r.status, 0u);
    EXPECT_EQ(Text(r, 4), "0/2 1/0 1/0");
    // With it, the row after.
    r = Send(3, 35, Index(A, {P::N(Mor(35, 1), 0)}));
    ASSERT_EQ(r.status, 0u);
    EXPECT_EQ(Text(r, 4), "100/2 1/0 2/0");
    // Without a row 0, the neighbour's first row.
    r = Send(3, 36, Index(A));
    ASSERT_EQ(r.status, 0u);
    EXPECT_EQ(Text(r, 4), "10/0 7573657273/5");
}

TEST_F(Dot1RemoteTablesTest, Gets) {
    struct Case {
        const char *name;
        uint32_t table;
        std::vector<P> params;
        uint32_t status;
        std::string reply;  // or the error position
        uint32_t position;
    };
    const Peer b1{kSecondClass, 1, 1};
    const Case cases[] = {
        {"port VLAN", 34, Index(A, {P::C(Mor(34, 1))}), 0, "10/2", 0},
        {"port VLAN on type 56", 34, Index(B), 0, "30/2", 0},
        // Checked before the daemon is asked.
        {"port VLAN on type 56, agent 1", 34, Index(b1), 0x61010058, "", kAll},
        {"link aggregation", 40, Index(A), 0, "c0/5 7/2", 0},
        {"proto VLAN", 35, Index(A, {P::N(Mor(35, 1), 100)}), 0, "1/0 2/0", 0},
        {"VLAN name", 36, Index(C, {P::N(Mor(36, 1), 6), P::C(Mor(36, 2))}), 0, Hex(kName32) + "/5", 0},
        {"protocol", 37, Index(A, {P::N(Mor(37, 1), 2)}), 0, "002742/5", 0},
        {"management VID", 39, Index(C), 0, "6/2", 0},
        {"no such TLV", 40, Index(E), 0x61010058, "", kAll},
        {"no such VLAN", 36, Index(A, {P::N(Mor(36, 1), 30)}), 0x61010058, "", kAll},
        {"no such neighbour", 39, Index(Peer{1, 1, 9}), 0x40010003, "", kAll},
        {"VLAN 4095", 36, Index(A, {P::N(Mor(36, 1), 4095)}), 0x61010058, "", 4},
        {"negative protocol index", 37, Index(A, {P::N(Mor(37, 1), 0x80000000)}), 0x61010058, "", 4},
        {"agent 4", 38, Index(Peer{1, 4, 1}), 0x61010058, "", 2},
        {"not an interface", 40, Index(Peer{99, 1, 1}), 0x61010058, "", 1},
        {"column of another table", 34, Index(A, {P::C(Mor(40, 1))}), 0x61010052, "", 4},
        {"sub-index of another table", 35, {P::N(Mor(36, 1), 10)}, 0x61010052, "", 0},
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

TEST_F(Dot1RemoteTablesTest, GetNextGoesOnFromABadIndex) {
    // Agent 5 is read and the walk continues from it: after (1, 5) comes port 2.
    for (uint32_t table : {34u, 35u, 39u}) {
        SCOPED_TRACE("table " + std::to_string(table));
        Result r = Send(3, table, {P::N(kLocalPort, 1), P::N(kLocalAgent, 5)});
        ASSERT_EQ(r.status, 0u);
        EXPECT_GT(r.U32(1), 1u);
    }
    // At the end, the failure is reported at the parameter that failed its check.
    struct Case {
        uint32_t table;
        uint32_t status;
    };
    for (const Case &c : {Case{34, 0x40010003}, Case{40, 0x40010003}, Case{36, 0x61010059}, Case{38, 0x61010059}}) {
        SCOPED_TRACE("table " + std::to_string(c.table));
        Result r = Send(3, c.table, {P::N(kLocalPort, 101), P::N(kLocalAgent, 5), P::N(kRemIndex, 1)});
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.ErrorIndex(), 1u);
    }
    // An unknown column ends a get-next too.
    Result r = Send(3, 37, {P::N(kLocalPort, 1), P::C(Mor(36, 2))});
    EXPECT_EQ(r.status, 0x61010052u);
    EXPECT_EQ(r.ErrorIndex(), 1u);
}

TEST_F(Dot1RemoteTablesTest, OpTypesOtherThanGetAndGetNext) {
    for (uint32_t table = 34; table <= 40; ++table) {
        SCOPED_TRACE("table " + std::to_string(table));
        Result set = Send(2, table, Index(A, {P::N(Mor(table, 1), 1)}));
        EXPECT_EQ(set.status, 0x6101004Fu);
        EXPECT_EQ(set.ErrorIndex(), kAll);
        Result unserved = Send(4, table, Index(A));
        EXPECT_EQ(unserved.status, 0x61010052u);
        EXPECT_EQ(unserved.ErrorIndex(), kAll);
        Result phase = Send(9, table, Index(A));
        EXPECT_EQ(phase.status, 0u);
        EXPECT_EQ(phase.Count(), 0u);
    }
}

}  // namespace
}  // namespace lldpv2test
