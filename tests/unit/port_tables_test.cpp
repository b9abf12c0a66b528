// The per (port, agent) tables of the base MIB: port configuration,
// destination addresses and the port statistics.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "stack_fixture.h"

namespace lldpv2test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using Pair = std::pair<uint32_t, uint32_t>;

class PortTablesTest : public StackTest {
protected:
    // Every (port, agent) row of a table, walked with get-next from an empty index.
    std::vector<Pair> Walk(uint32_t table) {
        std::vector<Pair> rows;
        Result r = GetNext(table, {P::C(Mor(table, 3))});
        while (r.status == 0 && rows.size() < 50) {
            EXPECT_EQ(r.At(0).morId, Mor(table, 1));
            EXPECT_EQ(r.At(0).type, 0u);
            EXPECT_EQ(r.At(1).morId, Mor(table, 2));
            EXPECT_EQ(r.At(1).type, 2u);
            rows.emplace_back(r.U32(0), r.U32(1));
            r = GetNext(table, {P::N(Mor(table, 1), r.U32(0)), P::N(Mor(table, 2), r.U32(1))});
        }
        EXPECT_EQ(r.status, 0x61010059u);
        return rows;
    }
};

TEST_F(PortTablesTest, PortConfigWalkSkipsCustomerBridgeOnlyPortsAndFollowsAgentClasses) {
    EXPECT_THAT(Walk(3), ElementsAre(Pair{1, 1}, Pair{1, 2}, Pair{1, 3}, Pair{2, 2}, Pair{2, 3}, Pair{4, 1},
                                     Pair{101, 1}, Pair{101, 2}, Pair{101, 3}, Pair{102, 1}, Pair{102, 2},
                                     Pair{102, 3}));
}

TEST_F(PortTablesTest, StatisticsWalkIncludesCustomerBridgeOnlyPorts) {
    const std::vector<Pair> expected = {{1, 1},   {1, 2},   {1, 3},   {2, 2},   {2, 3},   {3, 3},
                                        {4, 1},   {101, 1}, {101, 2}, {101, 3}, {102, 1}, {102, 2},
                                        {102, 3}};
    EXPECT_THAT(Walk(7), ElementsAreArray(expected));
    EXPECT_THAT(Walk(8), ElementsAreArray(expected));
}

TEST_F(PortTablesTest, PortConfigGetNextStartsAtThePortsFirstAgent) {
    Result r = GetNext(3, {P::N(Mor(3, 1), kSecondClass), P::N(Mor(3, 2), 0)});
    ASSERT_EQ(r.status, 0u);
    EXPECT_EQ(r.U32(0), kSecondClass);
    EXPECT_EQ(r.U32(1), 2u);
    // A bad agent still positions the search: agent 9 moves to the next port.
    r = GetNext(3, {P::N(Mor(3, 1), kOrdinary), P::N(Mor(3, 2), 9)});
    ASSERT_EQ(r.status, 0u);
    EXPECT_EQ(r.U32(0), kSecondClass);
}

struct IndexErrorCase {
    const char *name;
    uint32_t port;
    uint32_t agent;
    uint32_t code;
    uint32_t position;
};

TEST_F(PortTablesTest, PortConfigGetRefusesRowsOutsideTheAgentModel) {
    const IndexErrorCase cases[] = {
        {"agent 0", kOrdinary, 0, 0x61010058, 1},
        {"agent 4", kOrdinary, 4, 0x61010058, 1},
        {"customer-bridge-only port in the strict table", kCustomerOnly, 3, 0x61010058, 0},
        {"not an LLDP port", kNotLldp, 1, 0x61010058, 0},
        {"agent 1 on a second-class port", kSecondClass, 1, 0x61010058, kAll},
        {"agent 2 on a nearest-bridge-only port", kNearestOnly, 2, 0x61010058, kAll},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Get(3, {P::N(Mor(3, 1), c.port), P::N(Mor(3, 2), c.agent), P::C(Mor(3, 3))});
        EXPECT_EQ(r.status, c.code);
        EXPECT_EQ(r.ErrorIndex(), c.position);
        EXPECT_EQ(r.Count(), 0u);
    }
    Result unknown = Get(3, {P::N(Mor(3, 1), kOrdinary), P::C(Mor(3, 6))});
    EXPECT_EQ(unknown.status, 0x61010052u);
    EXPECT_EQ(unknown.ErrorIndex(), 1u);
}

struct TlvCase {
    uint8_t written;
    uint32_t maskBits;  // daemon TLV bits 3..6 after the write
    uint8_t readBack;
};

TEST_F(PortTablesTest, PortConfigSetsReachTheDaemonAndReadBack) {
    const auto row = [&](uint32_t port, uint32_t agent) {
        return Get(3, {P::N(Mor(3, 1), port), P::N(Mor(3, 2), agent), P::C(Mor(3, 5))});
    };
    // Admin status: 1..3 kept, anything else written as disabled.
    for (uint32_t admin : {2u, 1u, 4u, 3u}) {
        ASSERT_EQ(Set(3, {P::N(Mor(3, 1), kOrdinary), P::N(Mor(3, 2), 2), P::N(Mor(3, 3), admin)}).status, 0u);
        Result r = row(kOrdinary, 2);
        ASSERT_EQ(r.Count(), 3u);
        EXPECT_EQ(r.U32(0), admin);
    }
    // Notification switch.
    ASSERT_EQ(Set(3, {P::N(Mor(3, 1), kOrdinary), P::N(Mor(3, 2), 1), P::N(Mor(3, 4), 1)}).status, 0u);
    EXPECT_EQ(row(kOrdinary, 1).U32(1), 1u);
    ASSERT_EQ(Set(3, {P::N(Mor(3, 1), kOrdinary), P::N(Mor(3, 2), 1), P::N(Mor(3, 4), 2)}).status, 0u);
    EXPECT_EQ(row(kOrdinary, 1).U32(1), 2u);

    // BITS of the basic TLVs: portDesc is the most significant bit.
    const TlvCase tlvs[] = {{0xF0, 0x78, 0xF0}, {0x40, 0x10, 0x40}, {0x0F, 0x00, 0x00}, {0xA5, 0x28, 0xA0}};
    for (const auto &c : tlvs) {
        SCOPED_TRACE(static_cast<int>(c.written));
        ASSERT_EQ(Set(3, {P::N(Mor(3, 1), kNode2First), P::N(Mor(3, 2), 3), P::B(Mor(3, 5), {c.written})}).status,
                  0u);
        EXPECT_EQ(lldpv2host::TlvTxMask(kNode2First, 3) & 0x78u, c.maskBits);
        Result r = row(kNode2First, 3);
        ASSERT_EQ(r.Count(), 3u);
        EXPECT_EQ(r.At(2).type, 5u);
        EXPECT_THAT(r.At(2).value, ElementsAre(c.readBack));
    }
}

TEST_F(PortTablesTest, PortConfigSetErrors) {
    struct Case {
        const char *name;
        std::vector<P> params;
        uint32_t code;
        uint32_t position;
    };
    const Case cases[] = {
        {"no index", {P::N(Mor(3, 4), 1)}, 0x61010049, kAll},
        {"agent 4", {P::N(Mor(3, 1), kOrdinary), P::N(Mor(3, 2), 4), P::N(Mor(3, 4), 1)}, 0x61010049, 1},
        {"customer-bridge-only port", {P::N(Mor(3, 1), kCustomerOnly), P::N(Mor(3, 2), 3)}, 0x61010049, 0},
        {"agent not allowed on the port", {P::N(Mor(3, 1), kNearestOnly), P::N(Mor(3, 2), 3)}, 0x61010049, kAll},
        {"unknown column", {P::N(Mor(3, 1), kOrdinary), P::N(Mor(3, 9), 1)}, 0x61010052, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Send(2, 3, c.params);
        EXPECT_EQ(r.status, c.code);
        EXPECT_EQ(r.ErrorIndex(), c.position);
    }
}

TEST_F(PortTablesTest, DestinationAddressesAreFixed) {
    const std::vector<uint8_t> macs[] = {
        {0x01, 0x80, 0xC2, 0x00, 0x00, 0x0E}, {0x01, 0x80, 0xC2, 0x00, 0x00, 0x03}, {0x01, 0x80, 0xC2, 0x00, 0x00, 0x00}};
    for (uint32_t agent = 1; agent <= 3; ++agent) {
        Result r = Get(4, {P::N(Mor(4, 1), agent), P::C(Mor(4, 2))});
        ASSERT_EQ(r.status, 0u);
        ASSERT_EQ(r.Count(), 1u);
        EXPECT_EQ(r.At(0).value, macs[agent - 1]);
    }
    std::vector<uint32_t> walked;
    Result r = GetNext(4, {});
    while (r.status == 0) {
        ASSERT_EQ(r.Count(), 2u);
        walked.push_back(r.U32(0));
        EXPECT_EQ(r.At(1).value, macs[r.U32(0) - 1]);
        r = GetNext(4, {P::N(Mor(4, 1), r.U32(0))});
    }
    EXPECT_THAT(walked, ElementsAre(1u, 2u, 3u));
    EXPECT_EQ(r.status, 0x61010059u);
    EXPECT_EQ(r.ErrorIndex(), 0u);
    for (uint32_t bad : {0u, 4u}) {
        Result e = Get(4, {P::N(Mor(4, 1), bad)});
        EXPECT_EQ(e.status, 0x61010058u);
        EXPECT_EQ(e.ErrorIndex(), 0u);
    }
    EXPECT_EQ(Set(4, {P::N(Mor(4, 1), 1)}).ErrorIndex(), 0u);
    EXPECT_EQ(Set(4, {P::N(Mor(4, 1), 1)}).status, 0x6101004Fu);
}

TEST_F(PortTablesTest, ReceiveStatisticsComeFromWhatWasReceived) {
    lldp::Lldpdu pdu = Neighbour(1, "eth0");
    pdu.unknownTlvs.push_back({100, {1, 2, 3}});
    ASSERT_EQ(Receive(kOrdinary, 1, pdu).outcome, lldpv2host::ReceiveOutcome::Inserted);
    ASSERT_EQ(Receive(kOrdinary, 1, pdu).outcome, lldpv2host::ReceiveOutcome::Refreshed);
    // A frame without its mandatory TLVs is discarded and counted.
    lldpv2host::Receive(kOrdinary, 1, {0x00, 0x00});

    Result r = Get(8, {P::N(Mor(8, 1), kOrdinary), P::N(Mor(8, 2), 1), P::C(Mor(8, 5))});
    ASSERT_EQ(r.status, 0u);
    // All six counters, whichever was asked; the ageouts counter as type 2.
    ASSERT_THAT(r.MorIds(), ElementsAre(Mor(8, 3), Mor(8, 4), Mor(8, 5), Mor(8, 6), Mor(8, 7), Mor(8, 8)));
    const lldpv2host::AgentCounters c = lldpv2host::Counters(kOrdinary, 1);
    EXPECT_EQ(c.framesIn, 2u);  // valid frames only
    EXPECT_THAT(std::vector<uint32_t>({r.U32(0), r.U32(1), r.U32(2), r.U32(3), r.U32(4), r.U32(5)}),
                ElementsAre(c.framesDiscarded, c.framesInError, c.framesIn, c.tlvsDiscarded, c.tlvsUnrecognized,
                            c.ageouts));
    EXPECT_GE(c.framesDiscarded, 1u);
    EXPECT_EQ(c.tlvsUnrecognized, 2u);
    for (size_t i = 0; i < 5; ++i) EXPECT_EQ(r.At(i).type, 1u) << i;
    EXPECT_EQ(r.At(5).type, 2u);

    // Transmit counters: two columns.
    lldpv2host::AdvanceClock(3000);
    Result tx = Get(7, {P::N(Mor(7, 1), kOrdinary), P::N(Mor(7, 2), 1)});
    ASSERT_EQ(tx.status, 0u);
    ASSERT_THAT(tx.MorIds(), ElementsAre(Mor(7, 3), Mor(7, 4)));
    EXPECT_EQ(tx.U32(0), lldpv2host::Counters(kOrdinary, 1).framesOut);
    EXPECT_EQ(tx.At(0).type, 1u);

    // Rows outside the agent model and bad indexes.
    EXPECT_EQ(Get(8, {P::N(Mor(8, 1), kSecondClass), P::N(Mor(8, 2), 1)}).status, 0x61010058u);
    Result badAgent = Get(8, {P::N(Mor(8, 1), kOrdinary), P::N(Mor(8, 2), 7)});
    EXPECT_EQ(badAgent.status, 0x61010058u);
    EXPECT_EQ(badAgent.ErrorIndex(), 1u);
    Result unknown = Get(7, {P::N(Mor(7, 1), kOrdinary), P::C(Mor(7, 5))});
    EXPECT_EQ(unknown.status, 0x61010052u);
    EXPECT_EQ(unknown.ErrorIndex(), 1u);
    EXPECT_EQ(Set(7, {P::N(Mor(7, 1), kOrdinary)}).status, 0x6101004Fu);
}

TEST_F(PortTablesTest, RemoteTableStatisticsAreSummedOverNodesThatAreUp) {
    ASSERT_EQ(Receive(kOrdinary, 1, Neighbour(1, "a")).outcome, lldpv2host::ReceiveOutcome::Inserted);
    lldpv2host::AdvanceClock(100);
    ASSERT_EQ(Receive(kOrdinary, 2, Neighbour(2, "b")).outcome, lldpv2host::ReceiveOutcome::Inserted);
    lldpv2host::AdvanceClock(100);
    ASSERT_EQ(Receive(kNode2First, 1, Neighbour(3, "c")).outcome, lldpv2host::ReceiveOutcome::Inserted);

    const auto stats = [] {
        return Get(6, {P::C(Mor(6, 1)), P::C(Mor(6, 2)), P::C(Mor(6, 3)), P::C(Mor(6, 4)), P::C(Mor(6, 5))});
    };
    Result r = stats();
    ASSERT_EQ(r.status, 0u);
    ASSERT_EQ(r.Count(), 5u);
    EXPECT_EQ(r.At(0).type, 3u);
    EXPECT_EQ(r.U32(0), std::max(lldpv2host::NodeStats(1).lastChangeTime, lldpv2host::NodeStats(2).lastChangeTime));
    EXPECT_EQ(r.U32(1), 3u);
    for (size_t i = 1; i < 5; ++i) EXPECT_EQ(r.At(i).type, 2u);

    lldpv2host::SetNodeUp(2, false);
    EXPECT_EQ(stats().U32(1), 2u);
    lldpv2host::SetNodeUp(1, false);
    Result none = stats();
    EXPECT_EQ(none.U32(0), 0u);
    EXPECT_EQ(none.U32(1), 0u);
    lldpv2host::SetNodeUp(1, true);
    lldpv2host::SetNodeUp(2, true);

    // Unknown columns are refused at the end, after the known ones were answered.
    Result mixed = Get(6, {P::C(Mor(6, 2)), P::C(Mor(6, 9)), P::C(Mor(6, 3))});
    EXPECT_EQ(mixed.status, 0x61010052u);
    EXPECT_EQ(mixed.ErrorIndex(), kAll);
    EXPECT_THAT(mixed.MorIds(), ElementsAre(Mor(6, 2), Mor(6, 3)));
    EXPECT_EQ(GetNext(6, {}).status, 0x61010052u);
}

TEST_F(PortTablesTest, EveryCounterLandsInItsOwnColumn) {
    // Distinct, non-zero counters: a swapped pair of columns shows.
    lldpv2host::AgentCounters c;
    c.framesOut = 11;
    c.framesIn = 12;
    c.framesDiscarded = 13;
    c.framesInError = 14;
    c.tlvsDiscarded = 15;
    c.tlvsUnrecognized = 16;
    c.ageouts = 17;
    c.lengthErrors = 18;
    ASSERT_EQ(lldpv2host::testing::SetCounters(kOrdinary, 2, c), 0u);
    const auto values = [](const Result &r) {
        std::vector<uint32_t> v;
        for (size_t i = 0; i < r.Count(); ++i) v.push_back(r.U32(i));
        return v;
    };
    Result rx = Get(8, {P::N(Mor(8, 1), kOrdinary), P::N(Mor(8, 2), 2)});
    ASSERT_EQ(rx.status, 0u);
    EXPECT_THAT(values(rx), ElementsAre(13u, 14u, 12u, 15u, 16u, 17u));
    Result tx = Get(7, {P::N(Mor(7, 1), kOrdinary), P::N(Mor(7, 2), 2)});
    ASSERT_EQ(tx.status, 0u);
    EXPECT_THAT(values(tx), ElementsAre(11u, 18u));

    // Remote-table statistics: every counter of every node distinct, summed
    // over the nodes that are up; the last change time is the largest.
    ASSERT_EQ(lldpv2host::testing::SetNodeStats(1, {1, 20, 300, 4000, 70}), 0u);
    ASSERT_EQ(lldpv2host::testing::SetNodeStats(2, {10000, 200000, 3000000, 40000000, 60}), 0u);
    const auto stats = [&] {
        return values(Get(6, {P::C(Mor(6, 1)), P::C(Mor(6, 2)), P::C(Mor(6, 3)), P::C(Mor(6, 4)), P::C(Mor(6, 5))}));
    };
    EXPECT_THAT(stats(), ElementsAre(70u, 10001u, 200020u, 3000300u, 40004000u));
    lldpv2host::SetNodeUp(1, false);
    EXPECT_THAT(stats(), ElementsAre(60u, 10000u, 200000u, 3000000u, 40000000u));
    lldpv2host::SetNodeUp(1, true);
}

}  // namespace
}  // namespace lldpv2test
