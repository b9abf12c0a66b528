// Notification pacing, destinations and varbinds; the system group and
// IF-MIB values derived from the switch model.
#include <gtest/gtest.h>

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include "lldpv2host/lldp.h"
#include "lldpv2host/scenario.h"
#include "lldpv2host/switch.h"
#include "notify.h"
#include "operations.h"
#include "system_mib.h"

namespace lldpv2test {
namespace {

using namespace lldpv2agent;

// ---- Pacing ---------------------------------------------------------------

struct PaceStep {
    uint64_t at;        // ms
    bool change;        // a change happens at `at` (before the look)
    uint64_t interval;  // ms, as read at that moment
    std::optional<uint64_t> wait;  // what Wait answers
    bool send;          // the notification goes out when due
};

struct PaceCase {
    const char *name;
    std::vector<PaceStep> steps;
};

TEST(NotificationPacer, SendsFirstChangeAtOnceThenAtMostOnePerInterval) {
    const PaceCase cases[] = {
        {"quiet", {{0, false, 5000, std::nullopt, false}}},
        {"first change at once", {{100, true, 5000, 0, true}}},
        {"burst waits for the interval end",
         {{0, true, 5000, 0, true}, {10, true, 5000, 4990, false}, {20, true, 5000, 4980, false},
          {5000, false, 5000, 0, true}, {5001, false, 5000, std::nullopt, false}}},
        {"change after a quiet interval goes at once",
         {{0, true, 5000, 0, true}, {7000, true, 5000, 0, true}, {7001, true, 5000, 4999, false}}},
        {"a shorter interval written meanwhile applies at once",
         {{0, true, 30000, 0, true}, {1000, true, 30000, 29000, false}, {2000, false, 5000, 3000, false},
          {5000, false, 5000, 0, true}}},
        {"a longer interval written meanwhile delays",
         {{0, true, 5000, 0, true}, {1000, true, 5000, 4000, false}, {5000, false, 10000, 5000, false},
          {10000, false, 10000, 0, true}}},
    };
    for (const PaceCase &c : cases) {
        SCOPED_TRACE(c.name);
        NotificationPacer pacer;
        for (const PaceStep &s : c.steps) {
            SCOPED_TRACE(s.at);
            if (s.change) pacer.Change();
            EXPECT_EQ(pacer.Wait(s.at, s.interval), s.wait);
            if (s.send) {
                ASSERT_EQ(pacer.Wait(s.at, s.interval), std::optional<uint64_t>(0));
                pacer.Sent(s.at);
                EXPECT_FALSE(pacer.Pending());
            }
        }
    }
}

TEST(Notifications, OnlyRemoteTableChangesCount) {
    using K = lldpv2host::LldpEvent::Kind;
    const std::pair<K, bool> cases[] = {{K::Inserted, true}, {K::Updated, true}, {K::AgedOut, true},
                                        {K::Deleted, true},  {K::Dropped, true}, {K::Discarded, false}};
    for (auto [kind, counts] : cases) EXPECT_EQ(ChangesRemoteTables(kind), counts) << lldpv2host::LldpEventKindName(kind);
}

// ---- Destinations -----------------------------------------------------------

TEST(TrapTargets, ConfigurationLines) {
    struct Case {
        const char *name;
        TrapTargets targets;
        std::vector<std::string> lines;  // expected, in order, after the comment
    };
    TrapTargets v2;
    v2.trapSinks = {"127.0.0.1:9162", "nms.example.net", "[::1]:1162", "::1"};
    v2.informSinks = {"10.0.0.1"};
    v2.community = "traps";
    TrapTargets v3;
    v3.trapSinks = {"10.0.0.2:1162"};
    v3.informSinks = {"10.0.0.3"};
    v3.v3User = "nms";
    v3.v3AuthPass = "authpass1";
    v3.v3PrivPass = "privpass1";
    TrapTargets raw;
    raw.trapsess = {"-v 2c -c x 127.0.0.1:2000"};
    const Case cases[] = {
        {"v2c",
         v2,
         {"trap2sink 127.0.0.1:9162 traps", "trap2sink nms.example.net:162 traps", "trap2sink [::1]:1162 traps",
          "trap2sink [::1]:162 traps", "informsink 10.0.0.1:162 traps"}},
        {"v3",
         v3,
         {"trapsess -v 3 -u nms -l authPriv -a SHA -A \"authpass1\" -x AES -X \"privpass1\" 10.0.0.2:1162",
          "trapsess -Ci -v 3 -u nms -l authPriv -a SHA -A \"authpass1\" -x AES -X \"privpass1\" 10.0.0.3:162"}},
        {"trapsess passed through", raw, {"trapsess -v 2c -c x 127.0.0.1:2000"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(CheckTrapTargets(c.targets), "");
        std::istringstream in(TrapConfigText(c.targets));
        std::vector<std::string> lines;
        for (std::string l; std::getline(in, l);) {
            if (!l.empty() && l[0] != '#') lines.push_back(l);
        }
        EXPECT_EQ(lines, c.lines);
    }
}

TEST(TrapTargets, RefusesWhatNetSnmpWouldMisread) {
    auto sinks = [](std::string s) {
        TrapTargets t;
        t.trapSinks = {std::move(s)};
        return t;
    };
    TrapTargets shortPass;
    shortPass.v3User = "u";
    shortPass.v3AuthPass = "short";
    shortPass.v3PrivPass = "longenough";
    TrapTargets badCommunity;
    badCommunity.community = "two words";
    TrapTargets twoLines;
    twoLines.trapsess = {"-v 2c\nrwcommunity x"};
    const std::pair<const char *, TrapTargets> cases[] = {
        {"empty", sinks("")},           {"port 0", sinks("h:0")},          {"port too big", sinks("h:65536")},
        {"port not a number", sinks("h:abc")}, {"no port after colon", sinks("h:")}, {"space", sinks("a b")},
        {"bracket not closed", sinks("[::1")}, {"short v3 pass", shortPass},  {"community", badCommunity},
        {"trapsess with a newline", twoLines},
    };
    for (const auto &[name, t] : cases) EXPECT_NE(CheckTrapTargets(t), "") << name;
}

TEST(Operations, SinksAreRefusedForAnAgentXSubagent) {
    OperationsOptions o;
    o.traps.trapSinks = {"127.0.0.1"};
    EXPECT_NE(PrepareOperations(o, "/nonexistent", "x", false), "");
    OperationsOptions none;
    EXPECT_EQ(PrepareOperations(none, "/nonexistent", "x", false), "");
}

TEST(Operations, DottedOids) {
    const std::pair<const char *, std::vector<uint32_t>> cases[] = {
        {"1.3.6.1.4.1.8072.3.2.10", {1, 3, 6, 1, 4, 1, 8072, 3, 2, 10}},
        {".1.3.111.2.802.1.1.13", {1, 3, 111, 2, 802, 1, 1, 13}},
        {"1", {}}, {"1..3", {}}, {"1.3.", {}}, {"3.1", {}}, {"1.x", {}}, {"", {}}, {"1.3.99999999999", {}},
    };
    for (const auto &[text, arcs] : cases) EXPECT_EQ(ParseDottedOid(text), arcs) << text;
}

// ---- Varbinds and counters ------------------------------------------------

std::vector<oid> Name(const netsnmp_variable_list *v) { return {v->name, v->name + v->name_length}; }

TEST(Notifications, VarbindsNameTheNotificationAndCarryTheFourCounters) {
    netsnmp_variable_list *vars = RemTablesChangeVarbinds({7, 3, 2, 1});
    ASSERT_NE(vars, nullptr);
    const netsnmp_variable_list *v = vars;
    EXPECT_EQ(Name(v), (std::vector<oid>{1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0}));
    ASSERT_EQ(v->type, ASN_OBJECT_ID);
    EXPECT_EQ(std::vector<oid>(v->val.objid, v->val.objid + v->val_len / sizeof(oid)),
              (std::vector<oid>{1, 3, 111, 2, 802, 1, 1, 13, 0, 0, 1}));
    const unsigned long expected[] = {7, 3, 2, 1};
    for (unsigned column = 2; column <= 5; ++column) {
        v = v->next_variable;
        ASSERT_NE(v, nullptr);
        EXPECT_EQ(Name(v), (std::vector<oid>{1, 3, 111, 2, 802, 1, 1, 13, 1, 2, column, 0}));
        EXPECT_EQ(v->type, ASN_GAUGE);
        EXPECT_EQ(*v->val.integer, static_cast<long>(expected[column - 2]));
    }
    EXPECT_EQ(v->next_variable, nullptr);
    snmp_free_varbind(vars);
}

TEST(Notifications, CountersAreSummedOverNodesThatAreUp) {
    ASSERT_TRUE(lldpv2host::LoadDefaultScenario());
    RemTablesCounts all{};
    for (uint16_t n : lldpv2host::Nodes()) {
        const lldpv2host::RemoteTableStats s = lldpv2host::NodeStats(n);
        all.inserts += s.inserts;
        all.deletes += s.deletes;
        all.drops += s.drops;
        all.ageouts += s.ageouts;
    }
    ASSERT_GT(all.inserts, 0u);
    EXPECT_EQ(CurrentRemTablesCounts(), all);
    const uint16_t first = lldpv2host::Nodes().front();
    const lldpv2host::RemoteTableStats downStats = lldpv2host::NodeStats(first);
    lldpv2host::SetNodeUp(first, false);
    const RemTablesCounts up = CurrentRemTablesCounts();
    EXPECT_EQ(up.inserts, all.inserts - downStats.inserts);
    EXPECT_EQ(up.ageouts, all.ageouts - downStats.ageouts);
    lldpv2host::SetNodeUp(first, true);
}

TEST(Notifications, SwitchFollowsThePortConfiguration) {
    ASSERT_TRUE(lldpv2host::LoadDefaultScenario());
    // ge-1/0/1 (ifIndex 1) notifies on its nearest-bridge agent only.
    EXPECT_TRUE(lldpv2host::Notification(1, 1));
    EXPECT_FALSE(lldpv2host::Notification(1, 2));
    EXPECT_FALSE(lldpv2host::Notification(70, 1));  // not an LLDP port
    ASSERT_EQ(lldpv2host::SetNotification(1, 1, false), 0u);
    EXPECT_FALSE(lldpv2host::Notification(1, 1));
}

// ---- System group and IF-MIB ------------------------------------------------

TEST(SystemMib, ServicesFromEnabledCapabilities) {
    const std::pair<uint16_t, uint32_t> cases[] = {
        {0x0000, 0},        // none
        {0x0002, 1},        // repeater: physical
        {0x0004, 2},        // bridge: datalink
        {0x0014, 6},        // bridge and router
        {0x0010, 4},        // router
        {0x0080, 72},       // station: end-to-end and applications
        {0x0020, 72},       // telephone
        {0x0100, 2},        // C-VLAN component
        {0x0094, 78},       // bridge, router, station
    };
    for (auto [caps, services] : cases) EXPECT_EQ(SysServicesOf(caps), services) << std::hex << caps;
}

TEST(SystemMib, IfTypeByPortClass) {
    for (const lldpv2host::InterfaceTypeInfo &t : lldpv2host::InterfaceTypes()) {
        SCOPED_TRACE(t.name);
        const uint32_t iana = IanaIfTypeOf(t.code);
        const std::string name = t.name;
        switch (lldpv2host::PortClassOf(t.code)) {
            case lldpv2host::PortClass::Ordinary:
            case lldpv2host::PortClass::NearestBridgeOnly: EXPECT_EQ(iana, 6u); break;
            case lldpv2host::PortClass::Aggregate: EXPECT_EQ(iana, 161u); break;
            case lldpv2host::PortClass::CustomerBridgeOnly: EXPECT_EQ(iana, 1u); break;
            case lldpv2host::PortClass::NotLldp:
                EXPECT_EQ(iana, name == "loopback" ? 24u : name == "tunnel" ? 131u : name == "vlan-interface" ? 136u : 1u);
                break;
        }
        // A type named for its speed has that nominal speed.
        const std::pair<const char *, uint32_t> speeds[] = {
            {"fast-ethernet", 100}, {"gigabit-ethernet", 1000}, {"ten-gigabit-ethernet", 10000},
            {"twenty-five-gigabit-ethernet", 25000}, {"hundred-gigabit-ethernet", 100000}};
        for (auto [n, mbps] : speeds) {
            if (name == n) {
                EXPECT_EQ(NominalSpeedMbps(t.code), mbps);
            }
        }
    }
    EXPECT_EQ(IanaIfTypeOf(9999), 1u);
}

TEST(SystemMib, RowsOfSimulatedAndLinuxPorts) {
    lldpv2host::Interface ge;
    ge.ifIndex = 7;
    ge.name = "ge-1/0/7";
    ge.type = *lldpv2host::InterfaceTypeByName("gigabit-ethernet");
    struct Case {
        const char *name;
        lldpv2host::Interface intf;
        bool nodeUp;
        std::string descr, ifName, phys;
        uint32_t speed;
        bool operUp;
    };
    lldpv2host::Interface down = ge;
    down.operUp = false;
    lldpv2host::Interface fast = ge;
    fast.speedMbps = 2500;
    fast.mac = {0x02, 0, 0, 0, 0, 0x07};
    lldpv2host::Interface onLinux = ge;
    onLinux.linuxName = "lldpv2-no-such-if";  // no sysfs entry: values stay the model's
    onLinux.mac = {0x02, 0, 0, 0, 0, 0x08};
    lldpv2host::Interface unnamed = ge;
    unnamed.name.clear();
    const Case cases[] = {
        {"simulated", ge, true, "ge-1/0/7", "ge-1/0/7", "", 1000, true},
        {"link down", down, true, "ge-1/0/7", "ge-1/0/7", "", 1000, false},
        {"node down", ge, false, "ge-1/0/7", "ge-1/0/7", "", 1000, false},
        {"known speed and MAC", fast, true, "ge-1/0/7", "ge-1/0/7", std::string("\x02\0\0\0\0\x07", 6), 2500, true},
        {"linux port", onLinux, true, "lldpv2-no-such-if (ge-1/0/7)", "lldpv2-no-such-if",
         std::string("\x02\0\0\0\0\x08", 6), 1000, true},
        {"no name", unnamed, true, "if7", "if7", "", 1000, true},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const IfRow r = MakeIfRow(c.intf, c.nodeUp, "alias");
        EXPECT_EQ(IfTableValue(r, 1)->number, 7u);
        EXPECT_EQ(IfTableValue(r, 2)->bytes, c.descr);
        EXPECT_EQ(IfTableValue(r, 3)->number, 6u);
        EXPECT_EQ(IfTableValue(r, 5)->number, uint64_t{c.speed} * 1000000);
        EXPECT_EQ(IfTableValue(r, 6)->bytes, c.phys);
        EXPECT_EQ(IfTableValue(r, 7)->number, 1u);
        EXPECT_EQ(IfTableValue(r, 8)->number, c.operUp ? 1u : 2u);
        EXPECT_EQ(IfXTableValue(r, 1)->bytes, c.ifName);
        EXPECT_EQ(IfXTableValue(r, 15)->number, c.speed);
        EXPECT_EQ(IfXTableValue(r, 18)->bytes, "alias");
    }
}

TEST(SystemMib, ValueTypesAndRanges) {
    lldpv2host::Interface agg;
    agg.ifIndex = 50;
    agg.type = *lldpv2host::InterfaceTypeByName("aggregate");
    agg.speedMbps = 400000;  // beyond ifSpeed's range
    const IfRow r = MakeIfRow(agg, true, std::string(100, 'a'));
    EXPECT_EQ(IfTableValue(r, 3)->number, 161u);
    EXPECT_EQ(IfTableValue(r, 5)->type, ASN_GAUGE);
    EXPECT_EQ(IfTableValue(r, 5)->number, 4294967295u);
    EXPECT_EQ(IfXTableValue(r, 15)->number, 400000u);
    EXPECT_EQ(IfXTableValue(r, 18)->bytes.size(), 64u);  // ifAlias SIZE(0..64)
    EXPECT_EQ(IfXTableValue(r, 6)->type, ASN_COUNTER64);
    EXPECT_EQ(IfTableValue(r, 10)->type, ASN_COUNTER);
    EXPECT_EQ(IfXTableValue(r, 17)->number, 2u);  // no connector on an aggregate
    EXPECT_FALSE(IfTableValue(r, 0));
    EXPECT_FALSE(IfTableValue(r, 23));
    EXPECT_FALSE(IfXTableValue(r, 20));
}

TEST(SystemMib, LocalSystemAndPortDescriptionFromTheScenario) {
    ASSERT_TRUE(lldpv2host::LoadDefaultScenario());
    const lldpv2host::LocalSystemView sys = lldpv2host::LocalSystemInfo();
    EXPECT_EQ(sys.name, "stack-sw-1");
    EXPECT_EQ(sys.description, "Two-node stackable switch, LLDP-V2 host platform");
    EXPECT_EQ(SysServicesOf(sys.capEnabled), 6u);
    EXPECT_EQ(lldpv2host::PortDescription(1), "uplink to core-sw-2");
    EXPECT_EQ(lldpv2host::PortDescription(70), "");  // loopback: not an LLDP port
}

}  // namespace
}  // namespace lldpv2test
