// The daemons' receive rules: validation and its counters, MSAP identity
// deciding insert, update or refresh, remote indexes per agent, TTL 0 as
// shutdown, ageing on the clock, and the neighbour limit with
// too-many-neighbours and drops.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "lldpv2/lldp_client.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/switch.h"

namespace {

using namespace lldpv2host;
using Bytes = std::vector<uint8_t>;

void Tlv(Bytes &out, uint8_t type, const Bytes &info) {
    out.push_back(static_cast<uint8_t>((type << 1) | ((info.size() >> 8) & 1)));
    out.push_back(static_cast<uint8_t>(info.size()));
    out.insert(out.end(), info.begin(), info.end());
}
Bytes Text(uint8_t subtype, const std::string &s) {
    Bytes b(1 + s.size(), subtype);
    std::copy(s.begin(), s.end(), b.begin() + 1);
    return b;
}
Bytes Str(const std::string &s) { return Bytes(s.begin(), s.end()); }

// A neighbour's LLDPDU: chassis id (local name subtype), port id (interface
// name subtype), TTL, system name, then extra TLVs and End.
struct Pdu {
    std::string chassis = "peer-1";
    std::string port = "eth0";
    uint16_t ttl = 120;
    std::string sysName = "storage-srv-2";
    Bytes extra;
    Bytes Build() const {
        Bytes b;
        Tlv(b, 1, Text(7, chassis));
        Tlv(b, 2, Text(5, port));
        Tlv(b, 3, {static_cast<uint8_t>(ttl >> 8), static_cast<uint8_t>(ttl)});
        Tlv(b, 5, Str(sysName));
        b.insert(b.end(), extra.begin(), extra.end());
        Tlv(b, 0, {});
        return b;
    }
};

constexpr uint32_t kPort = 101;       // ordinary port on node 1
constexpr uint32_t kAggregate = 150;  // aggregate on node 1: agents 2 and 3 only
constexpr uint32_t kPort2 = 201;      // ordinary port on node 2

class DaemonReceive : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSwitch();
        ResetLldp();
        AddNode(1);
        AddNode(2);
        AddInterface(Interface{kPort, "ge-1/0/1", 1, 21});
        AddInterface(Interface{kAggregate, "agg-1", 1, 56});
        AddInterface(Interface{kPort2, "ge-2/0/1", 2, 21});
    }
};

// Reads too-many-neighbours and remote changes of one neighbour through the
// client library.
std::pair<bool, bool> RcAndTmn(uint32_t ifIndex, uint32_t agent, uint32_t remIndex) {
    LLDP_TFAI_S tfai{0, ifIndex, agent, remIndex};
    LLDP_REM_SYSTEM_S rec;
    EXPECT_EQ(LLDP_mor_GetRemTableRcAndTmnByTFAI(&tfai, sizeof rec, &rec), 0u);
    return {__builtin_bswap16(rec.remoteChanges) == 1, __builtin_bswap16(rec.tooManyNeighbors) == 1};
}

struct Step {
    const char *what;
    uint32_t ifIndex;
    uint32_t agent;
    Bytes frame;
    ReceiveOutcome outcome;
    uint32_t remIndex;  // expected remote index, 0 when none
};

struct RuleCase {
    const char *name;
    std::vector<Step> steps;
    AgentCounters counters;      // of (kPort, 1) at the end
    RemoteTableStats nodeStats;  // of node 1 at the end (lastChangeTime not compared)
    size_t neighbours;           // left on (kPort, 1)
};

Bytes Frame(Pdu p) { return p.Build(); }
Pdu WithTtl(uint16_t ttl) {
    Pdu p;
    p.ttl = ttl;
    return p;
}
Pdu WithName(const std::string &name) {
    Pdu p;
    p.sysName = name;
    return p;
}
Pdu WithPort(const std::string &port) {
    Pdu p;
    p.port = port;
    return p;
}
Pdu WithExtra(const Bytes &extra) {
    Pdu p;
    p.extra = extra;
    return p;
}
Bytes TlvBytes(uint8_t type, const Bytes &info) {
    Bytes b;
    Tlv(b, type, info);
    return b;
}

TEST_F(DaemonReceive, ReceiveRulesTable) {
    const Bytes noChassis = [] {
        Bytes b;
        Tlv(b, 2, Text(5, "eth0"));
        Tlv(b, 3, {0, 120});
        Tlv(b, 0, {});
        return b;
    }();
    const Bytes shortTtl = [] {
        Bytes b;
        Tlv(b, 1, Text(7, "peer-1"));
        Tlv(b, 2, Text(5, "eth0"));
        Tlv(b, 3, Bytes(1, 120));
        Tlv(b, 0, {});
        return b;
    }();
    const Bytes twoNames = TlvBytes(5, Str("again"));  // a second system name TLV: discarded, frame kept
    const Bytes reserved = TlvBytes(100, {1, 2, 3});    // reserved type: unrecognized, kept

    using O = ReceiveOutcome;
    const std::vector<RuleCase> cases = {
        {"new MSAP is inserted under remote index 1",
         {{"first", kPort, 1, Frame(Pdu{}), O::Inserted, 1}},
         {0, 1, 0, 0, 0, 0, 0, 0}, {1, 0, 0, 0, 0}, 1},
        {"same information refreshes",
         {{"first", kPort, 1, Frame(Pdu{}), O::Inserted, 1}, {"again", kPort, 1, Frame(Pdu{}), O::Refreshed, 1}},
         {0, 2, 0, 0, 0, 0, 0, 0}, {1, 0, 0, 0, 0}, 1},
        {"a new TTL alone is no change",
         {{"first", kPort, 1, Frame(Pdu{}), O::Inserted, 1}, {"ttl", kPort, 1, Frame(WithTtl(60)), O::Refreshed, 1}},
         {0, 2, 0, 0, 0, 0, 0, 0}, {1, 0, 0, 0, 0}, 1},
        {"changed information of a known MSAP updates",
         {{"first", kPort, 1, Frame(Pdu{}), O::Inserted, 1},
          {"renamed", kPort, 1, Frame(WithName("storage-srv-3")), O::Updated, 1}},
         {0, 2, 0, 0, 0, 0, 0, 0}, {1, 0, 0, 0, 0}, 1},
        {"another port id is another MSAP",
         {{"first", kPort, 1, Frame(Pdu{}), O::Inserted, 1}, {"eth1", kPort, 1, Frame(WithPort("eth1")), O::Inserted, 2}},
         {0, 2, 0, 0, 0, 0, 0, 0}, {2, 0, 0, 0, 0}, 2},
        {"TTL 0 deletes a known MSAP",
         {{"first", kPort, 1, Frame(Pdu{}), O::Inserted, 1}, {"shutdown", kPort, 1, Frame(WithTtl(0)), O::Deleted, 1}},
         {0, 2, 0, 0, 0, 0, 0, 0}, {1, 1, 0, 0, 0}, 0},
        {"TTL 0 of an unknown MSAP changes nothing",
         {{"shutdown", kPort, 1, Frame(WithTtl(0)), O::ShutdownUnknown, 0}},
         {0, 1, 0, 0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, 0},
        {"remote indexes are not reused after a delete",
         {{"first", kPort, 1, Frame(Pdu{}), O::Inserted, 1},
          {"shutdown", kPort, 1, Frame(WithTtl(0)), O::Deleted, 1},
          {"back", kPort, 1, Frame(Pdu{}), O::Inserted, 2}},
         {0, 3, 0, 0, 0, 0, 0, 0}, {2, 1, 0, 0, 0}, 1},
        {"each agent numbers its own neighbours",
         {{"agent 1", kPort, 1, Frame(Pdu{}), O::Inserted, 1},
          {"agent 2", kPort, 2, Frame(Pdu{}), O::Inserted, 1},
          {"agent 2 again", kPort, 2, Frame(WithPort("eth1")), O::Inserted, 2}},
         {0, 1, 0, 0, 0, 0, 0, 0}, {3, 0, 0, 0, 0}, 1},
        {"a frame without chassis id is discarded as an error",
         {{"bad", kPort, 1, noChassis, O::Discarded, 0}},
         {0, 0, 1, 1, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, 0},
        {"a short TTL TLV discards the frame",
         {{"bad", kPort, 1, shortTtl, O::Discarded, 0}},
         {0, 0, 1, 1, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, 0},
        {"a duplicate optional TLV is discarded, the frame kept",
         {{"dup", kPort, 1, Frame(WithExtra(twoNames)), O::Inserted, 1}},
         {0, 1, 0, 0, 1, 0, 0, 0}, {1, 0, 0, 0, 0}, 1},
        {"a reserved TLV type is counted unrecognized",
         {{"reserved", kPort, 1, Frame(WithExtra(reserved)), O::Inserted, 1}},
         {0, 1, 0, 0, 0, 1, 0, 0}, {1, 0, 0, 0, 0}, 1},
        {"agent 1 does not run on an aggregate",
         {{"agg", kAggregate, 1, Frame(Pdu{}), O::NoSuchAgent, 0}},
         {}, {0, 0, 0, 0, 0}, 0},
        {"an unknown port has no agent",
         {{"none", 999, 1, Frame(Pdu{}), O::NoSuchAgent, 0}},
         {}, {0, 0, 0, 0, 0}, 0},
    };
    for (const RuleCase &c : cases) {
        SCOPED_TRACE(c.name);
        SetUp();
        for (const Step &s : c.steps) {
            SCOPED_TRACE(s.what);
            const ReceiveResult r = Receive(s.ifIndex, s.agent, s.frame);
            EXPECT_EQ(r.outcome, s.outcome) << ReceiveOutcomeName(r.outcome);
            if (s.remIndex != 0) {
                EXPECT_EQ(r.remIndex, s.remIndex);
            }
        }
        EXPECT_EQ(Counters(kPort, 1), c.counters);
        RemoteTableStats stats = NodeStats(1);
        stats.lastChangeTime = 0;
        EXPECT_EQ(stats, c.nodeStats);
        EXPECT_EQ(Neighbours(kPort, 1).size(), c.neighbours);
    }
}

TEST_F(DaemonReceive, TimeMarkFollowsChangesNotRefreshes) {
    SetClock(1000);
    ASSERT_EQ(Receive(kPort, 1, Frame(Pdu{})).outcome, ReceiveOutcome::Inserted);
    AdvanceClock(500);
    ASSERT_EQ(Receive(kPort, 1, Frame(Pdu{})).outcome, ReceiveOutcome::Refreshed);
    EXPECT_EQ(Neighbours(kPort, 1).at(0).changeTime, 1000u);
    EXPECT_FALSE(RcAndTmn(kPort, 1, 1).first);
    AdvanceClock(500);
    ASSERT_EQ(Receive(kPort, 1, Frame(WithName("renamed"))).outcome, ReceiveOutcome::Updated);
    EXPECT_EQ(Neighbours(kPort, 1).at(0).changeTime, 2000u);
    EXPECT_TRUE(RcAndTmn(kPort, 1, 1).first);
    EXPECT_EQ(NodeStats(1).lastChangeTime, 2000u);
}

TEST_F(DaemonReceive, InformationAgesOutAfterItsTtl) {
    ASSERT_EQ(Receive(kPort, 1, Frame(WithTtl(30))).outcome, ReceiveOutcome::Inserted);
    AdvanceClock(2000);
    // A refresh restarts the TTL.
    ASSERT_EQ(Receive(kPort, 1, Frame(WithTtl(30))).outcome, ReceiveOutcome::Refreshed);
    AdvanceClock(2999);
    EXPECT_EQ(Neighbours(kPort, 1).size(), 1u);
    AdvanceClock(1);
    EXPECT_TRUE(Neighbours(kPort, 1).empty());
    EXPECT_EQ(Counters(kPort, 1).ageouts, 1u);
    const RemoteTableStats stats = NodeStats(1);
    EXPECT_EQ(stats.ageouts, 1u);
    EXPECT_EQ(stats.deletes, 0u);
    EXPECT_EQ(stats.lastChangeTime, 5000u);
}

TEST_F(DaemonReceive, NeighbourLimitDropsAndReportsTooManyForTheDroppedTtl) {
    ASSERT_EQ(SetNeighbourLimit(kPort, 2), 0u);
    EXPECT_EQ(Receive(kPort, 1, Frame(WithPort("a"))).outcome, ReceiveOutcome::Inserted);
    EXPECT_EQ(Receive(kPort, 1, Frame(WithPort("b"))).outcome, ReceiveOutcome::Inserted);
    EXPECT_FALSE(RcAndTmn(kPort, 1, 1).second);
    Pdu third = WithPort("c");
    third.ttl = 10;
    EXPECT_EQ(Receive(kPort, 1, Frame(third)).outcome, ReceiveOutcome::Dropped);
    // Known MSAPs still update while the table is full.
    EXPECT_EQ(Receive(kPort, 1, Frame(WithPort("a"))).outcome, ReceiveOutcome::Refreshed);
    EXPECT_TRUE(RcAndTmn(kPort, 1, 1).second);
    EXPECT_TRUE(RcAndTmn(kPort, 1, 2).second);
    EXPECT_EQ(NodeStats(1).drops, 1u);
    EXPECT_EQ(Counters(kPort, 1).framesDiscarded, 1u);
    EXPECT_EQ(Counters(kPort, 1).framesIn, 4u);
    // Another agent of the port keeps its own table.
    EXPECT_EQ(Receive(kPort, 2, Frame(WithPort("c"))).outcome, ReceiveOutcome::Inserted);
    AdvanceClock(1000);
    EXPECT_FALSE(RcAndTmn(kPort, 1, 1).second);
}

TEST_F(DaemonReceive, AgentsThatDoNotReceiveIgnoreFramesAndForgetNeighbours) {
    ASSERT_EQ(Receive(kPort, 1, Frame(Pdu{})).outcome, ReceiveOutcome::Inserted);
    ASSERT_EQ(SetAdminStatus(kPort, 1, AdminStatus::TxOnly), 0u);
    EXPECT_TRUE(Neighbours(kPort, 1).empty());
    EXPECT_EQ(NodeStats(1).deletes, 1u);
    EXPECT_EQ(Receive(kPort, 1, Frame(Pdu{})).outcome, ReceiveOutcome::Ignored);
    EXPECT_EQ(Counters(kPort, 1).framesIn, 1u);
    ASSERT_EQ(SetAdminStatus(kPort, 1, AdminStatus::RxOnly), 0u);
    EXPECT_EQ(Receive(kPort, 1, Frame(Pdu{})).outcome, ReceiveOutcome::Inserted);
    SetNodeUp(2, false);
    EXPECT_EQ(Receive(kPort2, 1, Frame(Pdu{})).outcome, ReceiveOutcome::Ignored);
}

TEST_F(DaemonReceive, TransmittingAgentsCountFramesPerTxInterval) {
    ASSERT_EQ(SetGlobalValue(LLDP_GLB_TX_INTERVAL, 10), 0u);
    ASSERT_EQ(SetAdminStatus(kPort, 2, AdminStatus::RxOnly), 0u);
    ASSERT_EQ(SetAdminStatus(kAggregate, 3, AdminStatus::Disabled), 0u);
    AdvanceClock(3500);  // frames at 0, 10, 20 and 30 seconds
    EXPECT_EQ(Counters(kPort, 1).framesOut, 4u);
    EXPECT_EQ(Counters(kPort, 2).framesOut, 0u);
    EXPECT_EQ(Counters(kPort2, 1).framesOut, 4u);  // a port no call touched before
    EXPECT_EQ(Counters(kAggregate, 2).framesOut, 4u);
    EXPECT_EQ(Counters(kAggregate, 3).framesOut, 0u);
    SetNodeUp(2, false);
    AdvanceClock(1000);
    EXPECT_EQ(Counters(kPort, 1).framesOut, 5u);
    EXPECT_EQ(Counters(kPort2, 1).framesOut, 4u);
}

}  // namespace
