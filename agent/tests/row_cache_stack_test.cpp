// Kept rows against the real module and daemons: an engine that keeps rows
// and one that asks the module every time walk the remote data after every
// kind of change the stack goes through (neighbours arriving, changing,
// refreshed, shut down, aged out or dropped for too many, admin status,
// nodes and ports going, the clock set back, testing hooks and faults), in
// a long random sequence; every walk must answer the same.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "engine.h"
#include "lldp/lldpdu.h"
#include "lldpv2host/registry.h"
#include "lldpv2host/trace.h"
#include "module_fixture.h"
#include "row_cache.h"
#include "walk_step.h"

namespace lldpv2test {
namespace {

namespace host = lldpv2host;
namespace lldp = lldpv2host::lldp;
using lldpv2agent::Engine;
using lldpv2agent::MibTree;
using lldpv2agent::NextResult;
using lldpv2agent::Oid;

constexpr uint32_t kPorts[] = {1, 2, 101, 102};  // 1, 2 on node 1; 101, 102 on node 2
// System names a neighbour's LLDPDU changes between.
constexpr const char *kNames[] = {"n0", "n1", "n2"};

using Step = WalkStep;

class RowCacheStackTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        host::AddNode(2);
        for (uint32_t ifIndex : kPorts) AddPort(ifIndex);
        for (const host::RegisteredTree &t : host::RegisteredTrees()) {
            trees.push_back(std::make_unique<MibTree>(t.name, t.root));
        }
        ASSERT_FALSE(trees.empty());
        cached.KeepRows(host::DataGeneration, nullptr, lldpv2agent::RemoteDataSubtrees(), size_t{1} << 20);
    }

    void TearDown() override {
        host::ClearFaults();
        ModuleTest::TearDown();
    }

    static void AddPort(uint32_t ifIndex) {
        host::Interface i;
        i.ifIndex = ifIndex;
        i.name = "port" + std::to_string(ifIndex);
        i.node = ifIndex > 100 ? 2 : 1;
        i.type = 18;
        host::AddInterface(i);
    }

    // Walks from `from` while the answers stay under `within`.
    std::vector<Step> Walk(Engine &engine, const Oid &within, Oid from, size_t limit = 100000) {
        std::vector<Step> steps;
        const MibTree &tree = TreeOf(within);
        while (steps.size() < limit) {
            NextResult r = engine.GetNext(tree, from, false, {});
            if (r.status == NextResult::Found && !lldpv2agent::IsPrefix(within, r.oid)) break;
            steps.push_back(WalkStep::Of(r));
            if (r.status != NextResult::Found) break;
            from = r.oid;
        }
        return steps;
    }

    const MibTree &TreeOf(const Oid &oid) {
        for (const auto &t : trees) {
            if (t->Locate(oid).inTree) return *t;
        }
        throw std::runtime_error("no tree serves " + lldpv2agent::OidToString(oid));
    }

    static std::vector<uint8_t> Pdu(uint8_t chassis, uint8_t port, uint16_t ttl, const std::string &name,
                                    bool extras) {
        lldp::Lldpdu pdu;
        pdu.chassisId = {0x02, 0x00, 0x00, 0x00, 0x01, chassis};
        pdu.portId = {'p', static_cast<uint8_t>('0' + port)};
        pdu.ttl = ttl;
        pdu.sysName = name;
        pdu.hasSysCap = true;
        pdu.capSupported = 0x14;
        pdu.capEnabled = 0x04;
        if (extras) {
            pdu.manAddrs.push_back({1, {10, 0, chassis, port}, 2, 7, {}});
            pdu.unknownTlvs.push_back({42, {chassis, port}});
            pdu.orgTlvs.push_back({{0x00, 0x12, 0x34}, 9, {port}});
        }
        return lldp::EncodeLldpdu(pdu);
    }

    std::vector<std::unique_ptr<MibTree>> trees;
    Engine cached{host::Deliver};
    Engine plain{host::Deliver};
};

TEST_F(RowCacheStackTest, WalksAgreeThroughEveryKindOfChange) {
    const Oid remote = lldpv2agent::RemoteDataSubtrees().front();
    std::mt19937 rng(20261123);
    auto pick = [&](uint32_t n) { return static_cast<uint32_t>(rng() % n); };
    auto port = [&] { return kPorts[pick(4)]; };
    uint32_t now = 0;

    struct Change {
        const char *what;
        std::function<void()> apply;
    };
    const std::vector<Change> changes = {
        {"neighbour arrives or changes",
         [&] {
             host::Receive(port(), 1 + pick(3),
                           Pdu(static_cast<uint8_t>(pick(12)), static_cast<uint8_t>(pick(3)),
                               static_cast<uint16_t>(5 + pick(300)), kNames[pick(3)], pick(2) == 0));
         }},
        {"neighbour refreshed unchanged",
         [&] {
             const std::vector<host::NeighbourView> all = host::Neighbours();
             if (all.empty()) return;
             const host::NeighbourView &n = all[pick(static_cast<uint32_t>(all.size()))];
             host::Receive(n.ifIndex, n.agent, n.tlvs);
         }},
        {"neighbour shut down",
         [&] {
             host::Receive(port(), 1 + pick(3),
                           Pdu(static_cast<uint8_t>(pick(12)), static_cast<uint8_t>(pick(3)), 0, "x", false));
         }},
        {"clock moves on (ageing, too many ends)",
         [&] {
             now += pick(2000);
             host::SetClock(now);
         }},
        {"clock set back",
         [&] {
             now = now > 500 ? now - pick(500) : 0;
             host::SetClock(now);
         }},
        {"neighbour limit and drops",
         [&] {
             host::SetNeighbourLimit(port(), 1 + pick(3));
         }},
        {"admin status",
         [&] {
             host::SetAdminStatus(port(), 1 + pick(3),
                                  pick(3) == 0 ? host::AdminStatus::Disabled : host::AdminStatus::TxAndRx);
         }},
        {"node 2 down or up", [&] { host::SetNodeUp(2, pick(2) == 0); }},
        {"port removed or back",
         [&] {
             const uint32_t p = port();
             if (host::FindInterface(p)) {
                 host::RemoveInterface(p);
             } else {
                 AddPort(p);
             }
         }},
        {"management address slots", [&] { host::testing::SetManAddrSlotPerAddress(pick(2) == 0); }},
        {"fault", [&] { host::SetFault("DEV_GetAllNodes", pick(3) == 0 ? 1 : 0); }},
    };

    size_t walks = 0, kept = 0, longest = 0;
    for (int round = 0; round < 400; ++round) {
        // Neighbours arrive three times as often as anything else happens.
        const uint32_t draw = pick(static_cast<uint32_t>(changes.size()) + 2);
        const Change &c = changes[draw < changes.size() ? draw : 0];
        c.apply();
        // The same walk twice with the keeping engine: the second from what
        // the first kept. A walk in parts, as bulk requests make it, too.
        for (int w = 0; w < 2; ++w) {
            const std::vector<Step> expected = Walk(plain, remote, remote);
            ASSERT_EQ(Walk(cached, remote, remote), expected) << "after " << c.what << ", round " << round;
            ++walks;
        }
        const std::vector<Step> expected = Walk(plain, remote, remote);
        std::vector<Step> parts;
        Oid from = remote;
        while (parts.size() < expected.size()) {
            std::vector<Step> part = Walk(cached, remote, from, 1 + pick(7));
            if (part.empty()) break;
            parts.insert(parts.end(), part.begin(), part.end());
            if (part.back().status != NextResult::Found) break;
            from = part.back().oid;
        }
        ASSERT_EQ(parts, expected) << "walk in parts after " << c.what << ", round " << round;
        kept = std::max(kept, cached.KeptRows()->Bytes());
        longest = std::max(longest, expected.size());
    }
    EXPECT_GT(kept, 0u) << "no walk was ever answered from kept rows";
    EXPECT_GT(longest, 100u) << "the stack never held many neighbours";
    EXPECT_EQ(walks, 800u);
}

// One change each, after a walk that kept the rows: the walk after it must
// see it. Each is a change that only shows in the remote tables through a
// flag, a clock or a hook, not through a neighbour stored or removed.
struct Targeted {
    const char *name;
    std::function<void()> before;  // then a walk keeps the rows
    std::function<void()> change;
};

void PrintTo(const Targeted &t, std::ostream *os) { *os << t.name; }

class RowCacheChangeTest : public RowCacheStackTest, public ::testing::WithParamInterface<Targeted> {};

TEST_P(RowCacheChangeTest, WalkAfterTheChangeSeesIt) {
    const Oid remote = lldpv2agent::RemoteDataSubtrees().front();
    GetParam().before();
    const std::vector<Step> before = Walk(plain, remote, remote);
    ASSERT_EQ(Walk(cached, remote, remote), before);
    ASSERT_GT(cached.KeptRows()->Bytes(), 0u);
    GetParam().change();
    const std::vector<Step> after = Walk(plain, remote, remote);
    EXPECT_NE(after, before) << "the change does not show in the remote tables";
    EXPECT_EQ(Walk(cached, remote, remote), after);
}

std::vector<uint8_t> Neighbour(uint8_t chassis, const std::string &name, uint16_t ttl = 120) {
    lldp::Lldpdu pdu;
    pdu.chassisId = {0x02, 0x00, 0x00, 0x00, 0x02, chassis};
    pdu.portId = {'p', '1'};
    pdu.ttl = ttl;
    pdu.sysName = name;
    pdu.manAddrs.push_back({1, {10, 0, 0, chassis}, 2, 7, {}});
    return lldp::EncodeLldpdu(pdu);
}

// Two neighbours on port 1 whose limit is 1: the second is dropped, and too
// many neighbours is reported until its TTL (30 s) would have run out.
void TooMany() {
    host::SetNeighbourLimit(1, 1);
    host::Receive(1, 1, Neighbour(1, "kept"));
    host::Receive(1, 1, Neighbour(2, "dropped", 30));
}

const Targeted kTargeted[] = {
    {"RemoteChangesClearedByRefresh",
     [] {
         host::Receive(1, 1, Neighbour(1, "a"));
         host::Receive(1, 1, Neighbour(1, "b"));
     },
     [] { host::Receive(1, 1, Neighbour(1, "b")); }},
    {"TooManyEndsWithTime", TooMany, [] { host::SetClock(3100); }},
    {"TooManyAgainWithClockSetBack",
     [] {
         TooMany();
         host::SetClock(3100);
     },
     [] { host::SetClock(1000); }},
    {"AgedOut", [] { host::Receive(1, 1, Neighbour(1, "a", 10)); }, [] { host::SetClock(1100); }},
    {"Fault", [] { host::Receive(1, 1, Neighbour(1, "a")); }, [] { host::SetFault("DEV_GetAllNodes", 1); }},
    {"NodeDown", [] { host::Receive(101, 1, Neighbour(1, "a")); }, [] { host::SetNodeUp(2, false); }},
    {"PortRemoved", [] { host::Receive(102, 1, Neighbour(1, "a")); }, [] { host::RemoveInterface(102); }},
    {"ReceiveDisabled", [] { host::Receive(2, 2, Neighbour(1, "a")); },
     [] { host::SetAdminStatus(2, 2, host::AdminStatus::TxOnly); }},
    {"ServiceStopped", [] { host::Receive(2, 2, Neighbour(1, "a")); }, [] { host::SetServiceStarted(1, false); }},
};

INSTANTIATE_TEST_SUITE_P(Changes, RowCacheChangeTest, ::testing::ValuesIn(kTargeted),
                         [](const ::testing::TestParamInfo<Targeted> &info) { return info.param.name; });

}  // namespace
}  // namespace lldpv2test
