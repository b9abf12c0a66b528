// The daemons in time, against a fake clock: regular and fast-start frames,
// the transmit credit, local changes, shutdown LLDPDUs, the reinit delay,
// link state, ageing with its events, the events of the receive rules,
// refreshed and silent scenario neighbours, NextDeadline, and long clock
// jumps counting what frame-by-frame processing counts.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "lldp/lldpdu.h"
#include "lldpv2/lldp_client.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/scenario.h"
#include "lldpv2host/switch.h"

namespace {

using namespace lldpv2host;
namespace lldp = lldpv2host::lldp;
using Bytes = std::vector<uint8_t>;
using Kind = LldpEvent::Kind;

constexpr uint32_t kPort = 11;   // ordinary port on node 1
constexpr uint32_t kOther = 12;  // ordinary port on node 1
constexpr uint32_t kSecs = 100;  // one second in clock units

struct Frame {
    uint32_t ifIndex;
    uint32_t agent;
    uint32_t time;
    bool shutdown;
    lldp::Lldpdu pdu;
};

Interface Port(uint32_t ifIndex, bool up = true) {
    Interface i{ifIndex, "ge-1/0/" + std::to_string(ifIndex), 1, 21};
    i.operUp = up;
    return i;
}

lldp::Lldpdu Peer(uint8_t id, uint16_t ttl = 120) {
    lldp::Lldpdu p;
    p.chassisIdSubtype = 4;
    p.chassisId = {0x02, 0x00, 0x00, 0x00, 0x00, id};
    p.portIdSubtype = 5;
    p.portId = {'e', 't', 'h', '0'};
    p.ttl = ttl;
    p.sysName = "peer";
    return p;
}

ReceiveResult Send(uint32_t ifIndex, const lldp::Lldpdu &pdu, uint32_t agent = 1) {
    return Receive(ifIndex, agent, lldp::EncodeLldpdu(pdu));
}

class DaemonRealTime : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSwitch();
        ResetLldp();
        AddNode(1);
        AddInterface(Port(kPort));
        AddInterface(Port(kOther));
        frameSink_ = AddFrameSink([this](const TxFrame &f) {
            lldp::DecodeResult d = lldp::DecodeLldpdu(f.lldpdu, f.len);
            EXPECT_TRUE(d.accepted);
            frames_.push_back(Frame{f.ifIndex, f.agent, f.time, f.shutdown, d.pdu});
        });
        eventSink_ = AddEventSink([this](const LldpEvent &e) { events_.push_back(e); });
    }
    void TearDown() override {
        RemoveFrameSink(frameSink_);
        RemoveEventSink(eventSink_);
    }
    // A new stack for the next case of a table.
    void Fresh() {
        TearDown();
        frames_.clear();
        events_.clear();
        SetUp();
    }

    // Frames of (ifIndex, agent) sent at or after from.
    std::vector<Frame> FramesOf(uint32_t ifIndex, uint32_t agent = 1, uint32_t from = 0) const {
        std::vector<Frame> out;
        for (const Frame &f : frames_) {
            if (f.ifIndex == ifIndex && f.agent == agent && f.time >= from) out.push_back(f);
        }
        return out;
    }
    std::vector<uint32_t> TimesOf(uint32_t ifIndex, uint32_t agent = 1, uint32_t from = 0) const {
        std::vector<uint32_t> out;
        for (const Frame &f : FramesOf(ifIndex, agent, from)) out.push_back(f.time);
        return out;
    }
    std::vector<Kind> Kinds() const {
        std::vector<Kind> out;
        for (const LldpEvent &e : events_) out.push_back(e.kind);
        return out;
    }

    uint64_t frameSink_ = 0;
    uint64_t eventSink_ = 0;
    std::vector<Frame> frames_;
    std::vector<LldpEvent> events_;
};

TEST_F(DaemonRealTime, RegularFramesEveryTxIntervalCarryTheTtl) {
    struct Case {
        uint16_t txInterval;
        uint8_t hold;
        uint16_t ttl;
    };
    const Case cases[] = {{30, 4, 121}, {5, 2, 11}, {100, 10, 1001}, {32768, 10, 65535}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.txInterval);
        Fresh();
        ASSERT_EQ(SetGlobalValue(LLDP_GLB_TX_INTERVAL, c.txInterval), 0u);
        ASSERT_EQ(SetGlobalValue(LLDP_GLB_HOLD_MULTIPLIER, c.hold), 0u);
        const uint32_t period = c.txInterval * kSecs;
        AdvanceClock(3 * period + period / 2);
        EXPECT_EQ(TimesOf(kPort), (std::vector<uint32_t>{0, period, 2 * period, 3 * period}));
        for (const Frame &f : FramesOf(kPort)) {
            EXPECT_EQ(f.pdu.ttl, c.ttl);
            EXPECT_FALSE(f.shutdown);
        }
        EXPECT_EQ(Counters(kPort, 1).framesOut, 4u);
        EXPECT_EQ(Counters(kPort, 2).framesOut, 4u);  // every agent of the port sends
    }
}

TEST_F(DaemonRealTime, FastStartAfterNewNeighbourAdminEnableAndLinkUp) {
    struct Case {
        const char *what;
        uint8_t fastInit;
        uint16_t msgFastTx;
        std::function<void()> before;  // at 5 s
        std::function<void()> trigger; // at 10 s
        std::vector<uint32_t> times;   // frames of (kPort, 1) from 10 s on, not shutdown
    };
    const auto neighbour = [] { ASSERT_EQ(Send(kPort, Peer(1)).outcome, ReceiveOutcome::Inserted); };
    const auto disable = [] { ASSERT_EQ(SetAdminStatus(kPort, 1, AdminStatus::Disabled), 0u); };
    const auto enable = [] { ASSERT_EQ(SetAdminStatus(kPort, 1, AdminStatus::TxAndRx), 0u); };
    const auto linkDown = [] { AddInterface(Port(kPort, false)); };
    const auto linkUp = [] { AddInterface(Port(kPort, true)); };
    const Case cases[] = {
        {"new neighbour", 4, 1, [] {}, neighbour, {1000, 1100, 1200, 1300, 4300}},
        {"new neighbour, 2 frames 2 s apart", 2, 2, [] {}, neighbour, {1000, 1200, 4200}},
        {"admin enable", 4, 1, disable, enable, {1000, 1100, 1200, 1300, 4300}},
        {"link up", 3, 3, linkDown, linkUp, {1000, 1300, 1600, 4600}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Fresh();
        ASSERT_EQ(SetGlobalValue(LLDP_GLB_TX_FAST_INIT, c.fastInit), 0u);
        ASSERT_EQ(SetGlobalValue(LLDP_GLB_MSG_FAST_TX, c.msgFastTx), 0u);
        SetClock(5 * kSecs);
        c.before();
        SetClock(10 * kSecs);
        c.trigger();
        AdvanceClock(40 * kSecs);
        std::vector<uint32_t> times;
        for (const Frame &f : FramesOf(kPort, 1, 1000)) {
            if (!f.shutdown) times.push_back(f.time);
        }
        EXPECT_EQ(times, c.times);
        // The other port keeps its regular frames.
        EXPECT_EQ(TimesOf(kOther), (std::vector<uint32_t>{0, 3000}));
    }
}

TEST_F(DaemonRealTime, CreditLimitsABurstOfLocalChanges) {
    ASSERT_EQ(SetGlobalValue(LLDP_GLB_TX_CREDIT_MAX, 2), 0u);
    SetClock(10 * kSecs);
    const uint32_t base = TlvTxMask(kPort, 1);
    const uint32_t name = 1u << LLDP_TLVBIT_SYS_NAME;
    const uint32_t desc = 1u << LLDP_TLVBIT_PORT_DESC;
    // Four changes at once: two credits, then the frame waits a second for
    // the next credit and carries the last state.
    const uint32_t masks[] = {base & ~name, base, base & ~desc, base & ~desc & ~name};
    for (uint32_t mask : masks) {
        ASSERT_EQ(SetTlvTxMask(kPort, 1, mask), 0u);
        SetClock(Now());
    }
    EXPECT_EQ(TimesOf(kPort, 1, 1000), (std::vector<uint32_t>{1000, 1000}));
    EXPECT_EQ(NextDeadline(), std::optional<uint32_t>(1100));
    AdvanceClock(10 * kSecs);
    const std::vector<Frame> sent = FramesOf(kPort, 1, 1000);
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[2].time, 1100u);
    EXPECT_FALSE(sent[2].pdu.sysName.has_value());
    EXPECT_FALSE(sent[2].pdu.portDesc.has_value());
    // The write restarted the regular timer: next regular frame 30 s after the change.
    AdvanceClock(30 * kSecs);
    EXPECT_EQ(TimesOf(kPort, 1, 1101), (std::vector<uint32_t>{4000}));
    // A write that changes nothing sends nothing.
    ASSERT_EQ(SetTlvTxMask(kPort, 1, masks[3]), 0u);
    SetClock(Now());
    EXPECT_EQ(TimesOf(kPort, 1, 4001).size(), 0u);
}

TEST_F(DaemonRealTime, WritesChangeTheNextFrame) {
    struct Case {
        const char *what;
        std::function<void()> write;
        std::function<void(const lldp::Lldpdu &)> check;
        uint32_t nextRegular;  // the regular frame after the write's frame at 10 s
    };
    const Case cases[] = {
        {"txInterval takes effect at once and changes the TTL",
         [] { ASSERT_EQ(SetGlobalValue(LLDP_GLB_TX_INTERVAL, 10), 0u); },
         [](const lldp::Lldpdu &p) { EXPECT_EQ(p.ttl, 41); }, 2000},
        {"hold multiplier changes the TTL",
         [] { ASSERT_EQ(SetGlobalValue(LLDP_GLB_HOLD_MULTIPLIER, 2), 0u); },
         [](const lldp::Lldpdu &p) { EXPECT_EQ(p.ttl, 61); }, 4000},
        {"TLV switch removes the system name",
         [] { ASSERT_EQ(SetTlvTxMask(kPort, 1, TlvTxMask(kPort, 1) & ~(1u << LLDP_TLVBIT_SYS_NAME)), 0u); },
         [](const lldp::Lldpdu &p) { EXPECT_FALSE(p.sysName.has_value()); }, 4000},
        {"TLV switch through the client library",
         [] {
             LLDP_TLV_CFG_REQ_S req;
             std::memset(&req, 0, sizeof req);
             req.length = 1044;
             req.mask = 1u << LLDP_TLVBIT_SYS_NAME;
             ASSERT_EQ(LLDP_mor_SetTlvCfg(kPort, 1, 0, &req), 0u);
         },
         [](const lldp::Lldpdu &p) { EXPECT_FALSE(p.sysName.has_value()); }, 4000},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Fresh();
        SetClock(10 * kSecs);
        ASSERT_EQ(TimesOf(kPort), (std::vector<uint32_t>{0}));
        EXPECT_TRUE(FramesOf(kPort)[0].pdu.sysName.has_value());
        c.write();
        SetClock(Now());
        const std::vector<Frame> now = FramesOf(kPort, 1, 1000);
        ASSERT_EQ(now.size(), 1u);
        EXPECT_EQ(now[0].time, 1000u);
        c.check(now[0].pdu);
        AdvanceClock(c.nextRegular - 1000);
        EXPECT_EQ(TimesOf(kPort, 1, 1001), (std::vector<uint32_t>{c.nextRegular}));
    }
}

TEST_F(DaemonRealTime, ShutdownLldpduWhenAnAgentStops) {
    struct Case {
        const char *what;
        std::function<void()> stop;
        size_t shutdowns;  // of (kPort, 1)
        uint32_t otherShutdowns;
    };
    const Case cases[] = {
        {"admin disabled", [] { ASSERT_EQ(SetAdminStatus(kPort, 1, AdminStatus::Disabled), 0u); }, 1, 0},
        {"admin rx-only", [] { ASSERT_EQ(SetAdminStatus(kPort, 1, AdminStatus::RxOnly), 0u); }, 1, 0},
        {"the agent stops", [] { ShutdownAll(); }, 1, 5},
        {"link down: no frame can go", [] { AddInterface(Port(kPort, false)); }, 0, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Fresh();
        SetClock(10 * kSecs);
        c.stop();
        SetClock(Now());
        const std::vector<Frame> sent = FramesOf(kPort, 1, 1000);
        ASSERT_EQ(sent.size(), c.shutdowns);
        for (const Frame &f : sent) {
            EXPECT_TRUE(f.shutdown);
            EXPECT_EQ(f.time, 1000u);
            EXPECT_EQ(f.pdu.ttl, 0);
            EXPECT_EQ(f.pdu.portId, Bytes({'g', 'e', '-', '1', '/', '0', '/', '1', '1'}));
            EXPECT_FALSE(f.pdu.sysName.has_value());
        }
        uint32_t others = 0;
        for (const Frame &f : frames_) others += f.shutdown && !(f.ifIndex == kPort && f.agent == 1);
        EXPECT_EQ(others, c.otherShutdowns);
        EXPECT_EQ(Counters(kPort, 1).framesOut, 1u + c.shutdowns);
        AdvanceClock(600 * kSecs);
        EXPECT_EQ(FramesOf(kPort, 1, 1001).size(), 0u);
    }
}

TEST_F(DaemonRealTime, ReinitDelayHoldsBackARestart) {
    ASSERT_EQ(SetGlobalValue(LLDP_GLB_REINIT_DELAY, 3), 0u);
    SetClock(10 * kSecs);
    ASSERT_EQ(SetAdminStatus(kPort, 1, AdminStatus::Disabled), 0u);
    EXPECT_EQ(ReinitUntil(kPort, 1), 1300u);
    AdvanceClock(1 * kSecs);
    ASSERT_EQ(SetAdminStatus(kPort, 1, AdminStatus::TxOnly), 0u);
    EXPECT_EQ(NextDeadline(), std::optional<uint32_t>(1300));
    AdvanceClock(199);
    EXPECT_EQ(TimesOf(kPort, 1, 1001).size(), 0u);
    AdvanceClock(1);
    EXPECT_EQ(TimesOf(kPort, 1, 1001), (std::vector<uint32_t>{1300}));
    EXPECT_EQ(ReinitUntil(kPort, 1), 0u);
    // Re-enabled after the delay: fast start at once.
    ASSERT_EQ(SetAdminStatus(kPort, 2, AdminStatus::Disabled), 0u);
    AdvanceClock(10 * kSecs);
    ASSERT_EQ(SetAdminStatus(kPort, 2, AdminStatus::TxAndRx), 0u);
    SetClock(Now());
    EXPECT_EQ(TimesOf(kPort, 2, 2300), (std::vector<uint32_t>{2300}));
}

TEST_F(DaemonRealTime, NeighboursAgeOutExactlyAtTheirTtl) {
    SetClock(10 * kSecs);
    ASSERT_EQ(Send(kPort, Peer(7, 30)).outcome, ReceiveOutcome::Inserted);
    AdvanceClock(30 * kSecs - 1);
    EXPECT_EQ(Neighbours(kPort, 1).size(), 1u);
    AdvanceClock(1);
    EXPECT_TRUE(Neighbours(kPort, 1).empty());
    EXPECT_EQ(Counters(kPort, 1).ageouts, 1u);
    const RemoteTableStats stats = NodeStats(1);
    EXPECT_EQ(stats.ageouts, 1u);
    EXPECT_EQ(stats.lastChangeTime, 4000u);
    ASSERT_EQ(events_.size(), 2u);
    EXPECT_EQ(events_[1].kind, Kind::AgedOut);
    EXPECT_EQ(events_[1].time, 4000u);
    EXPECT_EQ(events_[1].remIndex, 1u);
    EXPECT_EQ(events_[1].chassisId, "02:00:00:00:00:07");
    EXPECT_EQ(events_[1].portId, "eth0");
}

TEST_F(DaemonRealTime, EventsOfTheReceiveRules) {
    const auto raw = [](std::initializer_list<Bytes> tlvs) {
        Bytes b;
        for (const Bytes &t : tlvs) b.insert(b.end(), t.begin(), t.end());
        return b;
    };
    const Bytes chassis = {0x02, 0x07, 0x04, 0x02, 0, 0, 0, 0, 9};
    const Bytes port = {0x04, 0x05, 0x05, 'e', 't', 'h', '0'};
    const Bytes ttl = {0x06, 0x02, 0x00, 0x78};
    const Bytes end = {0x00, 0x00};
    struct Case {
        const char *what;
        Bytes frame;
        const char *reason;
    };
    const Case discards[] = {
        {"no chassis id", raw({port, ttl, end}), "missing chassis id TLV"},
        {"TLVs out of order", raw({chassis, ttl, port, end}), "out of order"},
        {"bad TLV length", raw({{0x02, 0x01, 0x04}, port, ttl, end}), "bad TLV length"},
        {"truncated", raw({chassis, {0x04, 0x09, 0x05, 'e'}}), "truncated"},
    };
    for (const Case &c : discards) {
        SCOPED_TRACE(c.what);
        events_.clear();
        EXPECT_EQ(Receive(kPort, 1, c.frame).outcome, ReceiveOutcome::Discarded);
        ASSERT_EQ(events_.size(), 1u);
        EXPECT_EQ(events_[0].kind, Kind::Discarded);
        EXPECT_EQ(events_[0].remIndex, 0u);
        EXPECT_TRUE(events_[0].chassisId.empty());
        EXPECT_NE(events_[0].reason.find(c.reason), std::string::npos) << events_[0].reason;
    }

    events_.clear();
    ASSERT_EQ(SetNeighbourLimit(kPort, 1), 0u);
    SetClock(5 * kSecs);
    lldp::Lldpdu renamed = Peer(1);
    renamed.sysName = "renamed";
    lldp::Lldpdu phone = Peer(2);
    phone.chassisIdSubtype = 5;
    phone.chassisId = {1, 192, 0, 2, 7};
    lldp::Lldpdu v6 = Peer(3);
    v6.chassisIdSubtype = 5;
    v6.chassisId = {2, 0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    v6.portIdSubtype = 7;
    v6.portId = {0x01, 0xff};
    EXPECT_EQ(Send(kPort, Peer(1)).outcome, ReceiveOutcome::Inserted);
    EXPECT_EQ(Send(kPort, Peer(1)).outcome, ReceiveOutcome::Refreshed);  // no event
    EXPECT_EQ(Send(kPort, renamed).outcome, ReceiveOutcome::Updated);
    EXPECT_EQ(Send(kPort, phone).outcome, ReceiveOutcome::Dropped);
    EXPECT_EQ(Send(kPort, Peer(1, 0)).outcome, ReceiveOutcome::Deleted);
    EXPECT_EQ(Send(kOther, v6).outcome, ReceiveOutcome::Inserted);
    EXPECT_EQ(Send(kOther, Peer(4), 2).outcome, ReceiveOutcome::Inserted);
    ASSERT_EQ(SetAdminStatus(kOther, 2, AdminStatus::TxOnly), 0u);  // forgets its neighbour
    EXPECT_EQ(Send(kOther, Peer(5), 3).outcome, ReceiveOutcome::Inserted);
    RemoveInterface(kOther);  // its neighbours go

    EXPECT_EQ(Kinds(), (std::vector<Kind>{Kind::Inserted, Kind::Updated, Kind::Dropped, Kind::Deleted, Kind::Inserted,
                                          Kind::Inserted, Kind::Deleted, Kind::Inserted, Kind::Deleted, Kind::Deleted}));
    const std::vector<std::string> chassisIds = {"02:00:00:00:00:01", "02:00:00:00:00:01", "192.0.2.7",
                                                 "02:00:00:00:00:01", "2001:db8::1",       "02:00:00:00:00:04",
                                                 "02:00:00:00:00:04", "02:00:00:00:00:05", "2001:db8::1",
                                                 "02:00:00:00:00:05"};
    ASSERT_EQ(events_.size(), chassisIds.size());
    for (size_t i = 0; i < events_.size(); ++i) {
        EXPECT_EQ(events_[i].chassisId, chassisIds[i]) << i;
        EXPECT_EQ(events_[i].time, 500u) << i;
    }
    EXPECT_EQ(events_[0].remIndex, 1u);
    EXPECT_EQ(events_[0].portId, "eth0");
    EXPECT_EQ(events_[2].remIndex, 0u);
    EXPECT_EQ(events_[4].portId, "01:ff");  // not printable: hex
    EXPECT_EQ(events_[6].ifIndex, kOther);
    EXPECT_EQ(events_[6].agent, 2u);
}

TEST_F(DaemonRealTime, APortThatIsDownNeitherSendsNorReceives) {
    SetClock(10 * kSecs);
    ASSERT_EQ(Send(kPort, Peer(1, 60)).outcome, ReceiveOutcome::Inserted);
    AdvanceClock(1 * kSecs);
    AddInterface(Port(kPort, false));
    const uint32_t sent = Counters(kPort, 1).framesOut;
    EXPECT_EQ(Send(kPort, Peer(1, 60)).outcome, ReceiveOutcome::Ignored);
    EXPECT_EQ(Send(kPort, Peer(2, 60)).outcome, ReceiveOutcome::Ignored);
    // Its neighbour stays until its TTL runs out.
    AdvanceClock(58 * kSecs);
    EXPECT_EQ(Neighbours(kPort, 1).size(), 1u);
    AdvanceClock(1 * kSecs);
    EXPECT_TRUE(Neighbours(kPort, 1).empty());
    EXPECT_EQ(Counters(kPort, 1).framesOut, sent);
    EXPECT_EQ(Counters(kPort, 1).framesIn, 1u);
    // A node that goes down stops its ports the same way.
    const uint32_t other = Counters(kOther, 1).framesOut;
    SetNodeUp(1, false);
    AdvanceClock(300 * kSecs);
    EXPECT_EQ(Counters(kOther, 1).framesOut, other);
    SetNodeUp(1, true);
    AddInterface(Port(kPort, true));
    SetClock(Now());
    EXPECT_EQ(TimesOf(kPort, 1, Now()).size(), 1u);
    EXPECT_EQ(TimesOf(kOther, 1, Now()).size(), 1u);
}

TEST_F(DaemonRealTime, RefreshedAndSilentScenarioNeighbours) {
    const char *yaml =
        "lldp: {tx-interval: 30}\n"
        "nodes: [{id: 1}]\n"
        "interfaces:\n"
        "  - {ifindex: 1, node: 1, type: gigabit-ethernet, name: p1, linux: veth-a, mac: \"02:00:00:00:01:01\",\n"
        "     speed: 1000}\n"
        "  - {ifindex: 2, node: 1, type: gigabit-ethernet, name: p2, link: down}\n"
        "neighbours:\n"
        "  - {port: p1, at: 0, refresh: true, ttl: 40,\n"
        "     chassis-id: {subtype: local, value: kept}, port-id: {subtype: local, value: a}}\n"
        "  - {port: p1, at: 0, ttl: 40,\n"
        "     chassis-id: {subtype: local, value: gone}, port-id: {subtype: local, value: b}}\n"
        "  - {port: p1, at: 0, silent: {every: 300, for: 150}, ttl: 40,\n"
        "     chassis-id: {subtype: local, value: blinking}, port-id: {subtype: local, value: c}}\n";
    std::string error;
    ASSERT_TRUE(LoadScenarioText(yaml, &error)) << error;
    const std::optional<Interface> p1 = FindInterface(1);
    ASSERT_TRUE(p1);
    EXPECT_EQ(p1->linuxName, "veth-a");
    EXPECT_EQ(p1->mac, (std::array<uint8_t, 6>{2, 0, 0, 0, 1, 1}));
    EXPECT_EQ(p1->speedMbps, 1000u);
    EXPECT_FALSE(FindInterface(2)->operUp);

    const auto names = [] {
        std::string out;
        for (const NeighbourView &n : Neighbours(1, 1)) out += std::string(n.chassisId.begin(), n.chassisId.end()) + " ";
        return out;
    };
    EXPECT_EQ(names(), "kept gone blinking ");
    // Receptions at 0, 30, .. s; blinking is silent in [150, 300) of every
    // 300 s, so it is last heard at 120 s and ages out at 160 s.
    struct Step {
        uint32_t at;  // seconds
        const char *present;
    };
    const Step steps[] = {{39, "kept gone blinking "}, {40, "kept blinking "},   {159, "kept blinking "},
                          {160, "kept "},              {299, "kept "},           {300, "kept blinking "},
                          {459, "kept blinking "},     {460, "kept "},           {3600 * 24 - 1, "kept "},
                          {3600 * 24 + 60, "kept blinking "}};
    for (const Step &s : steps) {
        SetClock(s.at * kSecs);
        EXPECT_EQ(names(), s.present) << s.at;
    }
    // Each return of blinking was a new neighbour.
    size_t inserted = 0, aged = 0;
    for (const LldpEvent &e : events_) {
        if (e.chassisId != "blinking") continue;
        inserted += e.kind == Kind::Inserted;
        aged += e.kind == Kind::AgedOut;
    }
    EXPECT_EQ(inserted, 24u * 12 + 1);  // one per 300 s, up to the day and a minute
    EXPECT_EQ(aged, inserted - 1);
    // A neighbour on a port that is down is refused when the scenario loads.
    EXPECT_FALSE(LoadScenarioText(
        "nodes: [{id: 1}]\ninterfaces: [{ifindex: 2, node: 1, type: gigabit-ethernet, name: p2, link: down}]\n"
        "neighbours: [{port: p2, chassis-id: {subtype: local, value: x}, port-id: {subtype: local, value: y}}]\n",
        &error, "lab.yaml"));
    EXPECT_NE(error.find("lab.yaml:3: port: p2 is down"), std::string::npos) << error;
}

TEST_F(DaemonRealTime, ScenarioKeysOfLinksAndRefreshAreChecked) {
    const std::string head = "nodes: [{id: 1}]\ninterfaces:\n";
    struct Case {
        const char *body;
        const char *what;
    };
    const Case cases[] = {
        {"  - {ifindex: 1, node: 1, type: gigabit-ethernet, link: sideways}\n", "lab.yaml:3: link: 'sideways' is not up or down"},
        {"  - {ifindex: 1, node: 1, type: gigabit-ethernet, mac: \"02:00\"}\n", "lab.yaml:3: mac: a MAC address has 6 octets"},
        {"  - {ifindex: 1, node: 1, type: gigabit-ethernet, linux: \"a/b\"}\n", "is not a Linux interface name"},
        {"  - {ifindex: 1, node: 1, type: gigabit-ethernet, name: a, linux: eth0}\n"
         "  - {ifindex: 2, node: 1, type: gigabit-ethernet, name: b, linux: eth0}\n",
         "lab.yaml:4: linux: interface eth0 given twice"},
        {"  - {ifindex: 1, node: 1, type: gigabit-ethernet, speed: -1}\n", "speed: -1 is negative (expected 0..4294967295)"},
        {"  - {ifindex: 1, node: 1, type: gigabit-ethernet, name: p}\nneighbours:\n"
         "  - {port: p, silent: {every: 60, for: 60}, chassis-id: {subtype: local, value: x},\n"
         "     port-id: {subtype: local, value: y}}\n",
         "silent for: 60 is outside 1..59"},
        {"  - {ifindex: 1, node: 1, type: gigabit-ethernet, name: p}\nneighbours:\n"
         "  - {port: p, silent: {every: 60}, chassis-id: {subtype: local, value: x},\n"
         "     port-id: {subtype: local, value: y}}\n",
         "silent: 'every' and 'for' are required"},
        {"  - {ifindex: 1, node: 1, type: gigabit-ethernet, name: p}\nneighbours:\n"
         "  - {port: p, refresh: false, silent: {every: 60, for: 5}, chassis-id: {subtype: local, value: x},\n"
         "     port-id: {subtype: local, value: y}}\n",
         "refresh: a silent neighbour is refreshed"},
        {"  - {ifindex: 1, node: 1, type: gigabit-ethernet, name: p}\nneighbours:\n"
         "  - {port: p, refresh: maybe, chassis-id: {subtype: local, value: x}, port-id: {subtype: local, value: y}}\n",
         "refresh: 'maybe' is not true or false"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.body);
        std::string error;
        EXPECT_FALSE(LoadScenarioText(head + c.body, &error, "lab.yaml"));
        EXPECT_NE(error.find(c.what), std::string::npos) << error;
    }
}

TEST_F(DaemonRealTime, NextDeadlineNamesTheEarliestWork) {
    struct Case {
        const char *what;
        std::function<void()> setup;  // at 10 s, after the first frames went out
        std::optional<uint32_t> deadline;
    };
    const auto silence = [] {
        for (uint32_t port : {kPort, kOther}) {
            for (uint32_t agent = 1; agent <= 3; ++agent) {
                ASSERT_EQ(SetAdminStatus(port, agent, AdminStatus::RxOnly), 0u);
            }
        }
        AdvanceClock(10 * kSecs);  // past the shutdown frames and the reinit delay
    };
    const Case cases[] = {
        {"the next regular frame", [] {}, 3000},
        {"a frame due now", [] { ASSERT_EQ(SetGlobalValue(LLDP_GLB_TX_INTERVAL, 10), 0u); }, 1000},
        {"a fast-start frame", [] {
             ASSERT_EQ(Send(kPort, Peer(1)).outcome, ReceiveOutcome::Inserted);
             SetClock(Now());
         }, 1100},
        {"nothing to do", silence, std::nullopt},
        {"a neighbour's expiry", [&] {
             silence();
             ASSERT_EQ(Send(kPort, Peer(1, 50)).outcome, ReceiveOutcome::Inserted);
         }, 7000},
        {"the end of too many neighbours", [&] {
             silence();
             ASSERT_EQ(SetNeighbourLimit(kPort, 1), 0u);
             ASSERT_EQ(Send(kPort, Peer(1, 50)).outcome, ReceiveOutcome::Inserted);
             ASSERT_EQ(Send(kPort, Peer(2, 20)).outcome, ReceiveOutcome::Dropped);
         }, 4000},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Fresh();
        EXPECT_EQ(NextDeadline(), std::optional<uint32_t>(0));  // the first frames
        SetClock(10 * kSecs);
        c.setup();
        EXPECT_EQ(NextDeadline(), c.deadline);
    }
    // A refreshed scenario neighbour with nothing else to do.
    ASSERT_TRUE(LoadScenarioText(
        "lldp: {tx-interval: 20}\nnodes: [{id: 1}]\n"
        "interfaces: [{ifindex: 1, node: 1, type: gigabit-ethernet, name: p,\n"
        "              lldp: {agents: [{agent: 1, admin-status: rx-only}, {agent: 2, admin-status: disabled},\n"
        "                              {agent: 3, admin-status: disabled}]}}]\n"
        "neighbours: [{port: p, at: 100, refresh: true, ttl: 60, chassis-id: {subtype: local, value: x},\n"
        "              port-id: {subtype: local, value: y}}]\n",
        nullptr));
    EXPECT_EQ(NextDeadline(), std::optional<uint32_t>(2100));
}

// Counters after a long jump without a frame sink equal those of small steps
// with one (each frame then goes one by one).
TEST(DaemonLongJump, CountsWhatStepByStepProcessingCounts) {
    const char *yaml =
        "lldp: {tx-interval: 7, tx-credit-max: 1, tx-fast-init: 8, msg-fast-tx: 1}\n"
        "nodes: [{id: 1}, {id: 2}]\n"
        "interfaces:\n"
        "  - {ifindex: 1, node: 1, type: gigabit-ethernet, name: p1}\n"
        "  - {ifindex: 2, node: 1, type: aggregate, name: a2}\n"
        "  - {ifindex: 3, node: 2, type: gigabit-ethernet, name: p3,\n"
        "     lldp: {agents: [{agent: 2, admin-status: rx-only}]}}\n"
        "neighbours:\n"
        "  - {port: p1, at: 50, silent: {every: 100, for: 60}, ttl: 20,\n"
        "     chassis-id: {subtype: local, value: x}, port-id: {subtype: local, value: y}}\n"
        "  - {port: p3, at: 90, ttl: 30, chassis-id: {subtype: local, value: z}, port-id: {subtype: local, value: w}}\n";
    struct Snapshot {
        std::vector<AgentCounters> counters;
        std::vector<RemoteTableStats> stats;
        size_t neighbours = 0;
        bool operator==(const Snapshot &) const = default;
    };
    const auto run = [&](bool steps) {
        std::string error;
        EXPECT_TRUE(LoadScenarioText(yaml, &error)) << error;
        // A fresh neighbour at the start: fast start still running at the jump.
        EXPECT_EQ(Receive(1, 2, lldp::EncodeLldpdu(Peer(9, 300))).outcome, ReceiveOutcome::Inserted);
        uint64_t sink = 0;
        if (steps) sink = AddFrameSink([](const TxFrame &) {});
        const uint32_t end = Now() + 24 * 3600 * kSecs;
        if (steps) {
            while (Now() < end) AdvanceClock(std::min<uint32_t>(2003, end - Now()));
        } else {
            SetClock(end);
        }
        if (steps) RemoveFrameSink(sink);
        Snapshot s;
        for (uint32_t ifIndex : {1u, 2u, 3u}) {
            for (uint32_t agent = 1; agent <= 3; ++agent) s.counters.push_back(Counters(ifIndex, agent));
        }
        s.stats = {NodeStats(1), NodeStats(2)};
        s.neighbours = NeighbourCount();
        return s;
    };
    const Snapshot jump = run(false);
    const Snapshot stepped = run(true);
    EXPECT_EQ(jump, stepped);
    EXPECT_GT(jump.counters[0].framesOut, 24u * 3600 / 7);
    EXPECT_GT(jump.stats[0].ageouts, 100u);
    ResetSwitch();
}

}  // namespace

namespace {

// Many ports over a month in one jump, with the counts regular frames give.
TEST(DaemonLongJump, AMonthOverAThousandPortsInOneJump) {
    ResetSwitch();
    ResetLldp();
    AddNode(1);
    for (uint32_t port = 1; port <= 1000; ++port) AddInterface(Interface{port, std::string("p").append(std::to_string(port)), 1, 21});
    const uint32_t month = 30u * 24 * 3600 * kSecs;
    AdvanceClock(month);
    const uint32_t frames = month / (30 * kSecs) + 1;  // at 0, 30 s, .. and at the end
    for (uint32_t port : {1u, 500u, 1000u}) {
        for (uint32_t agent = 1; agent <= 3; ++agent) EXPECT_EQ(Counters(port, agent).framesOut, frames);
    }
    EXPECT_EQ(NextDeadline(), std::optional<uint32_t>(month + 30 * kSecs));
    ResetSwitch();
}

// An LLDPDU that does not fit a frame goes without the TLVs that do not fit
// and counts as a length error.
TEST(DaemonLongJump, AnLldpduBeyondAFrameIsCutAndCounted) {
    std::string apps;
    for (int i = 0; i < 168; ++i) apps += std::string(i ? ", " : "") + "{selector: 2, protocol: " + std::to_string(1000 + i) + ", priority: 1}";
    const std::string text(255, 'x');
    std::string oid = "1.3";
    for (int i = 0; i < 120; ++i) oid += ".1";
    const std::string yaml =
        "system: {name: " + text + ", description: " + text + "}\n"
        "nodes: [{id: 1, management-addresses: [{address: 192.0.2.1, oid: " + oid + "}]}]\n"
        "interfaces:\n"
        "  - {ifindex: 1, node: 1, type: gigabit-ethernet, name: p1,\n"
        "     lldp: {description: " + text + ",\n"
        "            dcbx: {pfc: {cap: 8}, ets: {}, ets-recommendation: {}, applications: [" + apps + "]},\n"
        "            agents: [{agent: 1, tlvs: [port-desc, sys-name, sys-desc, sys-cap, dcbx, mac-phy, max-frame],\n"
        "                      management-address: {address: 192.0.2.1, transmit: true}}]}}\n";
    std::string error;
    ASSERT_TRUE(LoadScenarioText(yaml, &error)) << error;
    ASSERT_GT(LocalLldpdu(1, 1).size(), 1500u);
    std::vector<size_t> sizes;
    const uint64_t sink = AddFrameSink([&](const TxFrame &f) {
        if (f.ifIndex != 1 || f.agent != 1) return;
        sizes.push_back(f.len);
        const lldp::DecodeResult d = lldp::DecodeLldpdu(f.lldpdu, f.len);
        EXPECT_TRUE(d.accepted);
        EXPECT_TRUE(d.sawEnd);
        EXPECT_EQ(d.tlvsDiscarded, 0u);
        EXPECT_EQ(d.pdu.sysDesc, std::optional<std::string>(text));
    });
    AdvanceClock(65 * kSecs);
    RemoveFrameSink(sink);
    ASSERT_EQ(sizes.size(), 3u);
    for (size_t size : sizes) EXPECT_LE(size, 1500u);
    EXPECT_EQ(Counters(1, 1).lengthErrors, 3u);
    EXPECT_EQ(Counters(1, 1).framesOut, 3u);
    EXPECT_EQ(Counters(1, 2).lengthErrors, 0u);
    ResetSwitch();
}

}  // namespace

namespace {

// The default scenario stays populated as time runs, but for its neighbour
// that ages out and the one that comes and goes.
TEST(DaemonDefaultScenario, StaysPopulatedWhileOneNeighbourAgesOutAndOneComesAndGoes) {
    std::string error;
    ASSERT_TRUE(LoadDefaultScenario(&error)) << error;
    ASSERT_EQ(NeighbourCount(), 11u);
    struct Step {
        uint32_t at;  // seconds after loading
        size_t neighbours;
    };
    // The scenario's clock starts at 10 s. The test set was heard at 9 s with
    // TTL 120. The access point, first heard at 8 s, talks for 300 s of every
    // 600 s (heard every 30 s, last at 278 s + 600 k) and ages out 120 s
    // after it was last heard.
    const Step steps[] = {{118, 11}, {119, 10}, {387, 10}, {388, 9}, {597, 9}, {598, 10}, {3600, 10}, {3600 + 400, 9}};
    for (const Step &s : steps) {
        SetClock(1000 + s.at * kSecs);
        EXPECT_EQ(NeighbourCount(), s.neighbours) << s.at;
    }
    ResetSwitch();
}

}  // namespace
