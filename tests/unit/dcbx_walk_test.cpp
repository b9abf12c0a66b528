// Walks of the local DCBX tables over a stack whose ports are not all DCBX
// ports: every walk ends, and only DCBX ports show up in it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "lldpv2host/scenario.h"
#include "module_fixture.h"

namespace lldpv2test {
namespace {

// Port 4 is an ordinary LLDP port of a type that does not run DCBX, between
// two DCBX ports; every port advertises DCBX data.
constexpr char kScenario[] = R"(
nodes: [{id: 1}]
interfaces:
  - ifindex: 1
    node: 1
    type: 18
    lldp:
      dcbx: &dcbx
        ets: {willing: false, cbs: false, traffic-classes: 8, priority-tc: [0, 1, 2, 3, 4, 5, 6, 7],
              bandwidth: [10, 20, 30, 40, 0, 0, 0, 0]}
        pfc: {willing: false, mbc: false, cap: 4, enabled: [3, 4]}
        applications: [{selector: ethertype, protocol: 0x8906, priority: 3},
                       {selector: tcp-sctp-port, protocol: 3260, priority: 4}]
      agents: [{agent: 1, tlvs: [dcbx]}]
  - {ifindex: 4, node: 1, type: 22, lldp: {dcbx: *dcbx, agents: [{agent: 1, tlvs: [dcbx]}]}}
  - {ifindex: 6, node: 1, type: 19, lldp: {dcbx: *dcbx, agents: [{agent: 1, tlvs: [dcbx]}]}}
)";

constexpr uint32_t kPortIndex = 0x2320A01;

struct WalkCase {
    const char *name;
    uint32_t table;
    std::vector<uint32_t> subIndexColumns;  // MOR ids of the table's own index columns
    uint32_t valueColumn;
};

class DcbxWalkTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        std::string error;
        ASSERT_TRUE(lldpv2host::LoadScenarioText(kScenario, &error)) << error;
    }
};

TEST_F(DcbxWalkTest, WalksEndAndSkipPortsWithoutDcbx) {
    const WalkCase cases[] = {
        {"ETS configuration bandwidth", 50, {0x2323201}, 0x2323202},
        {"PFC enable", 55, {0x2323701}, 0x2323702},
        {"application priority", 56, {0x2323801, 0x2323802}, 0x2323803},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        std::set<uint32_t> ports;
        size_t rows = 0;
        lldpv2host::MorMessage request = lldpv2host::MakeRequest(3, c.table);
        lldpv2host::AddColumn(request, c.valueColumn);
        for (; rows < 200; ++rows) {
            lldpv2host::MorMessage reply;
            if (lldpv2host::Deliver(kModuleId, request, reply) != 0) break;
            ASSERT_GE(reply.params.size(), 1 + c.subIndexColumns.size());
            ports.insert(lldpv2host::ParamU32(reply.params[0]));
            request = lldpv2host::MakeRequest(3, c.table);
            lldpv2host::AddUint32(request, kPortIndex, lldpv2host::ParamU32(reply.params[0]));
            for (size_t i = 0; i < c.subIndexColumns.size(); ++i)
                lldpv2host::AddUint32(request, c.subIndexColumns[i], lldpv2host::ParamU32(reply.params[1 + i]));
            lldpv2host::AddColumn(request, c.valueColumn);
        }
        EXPECT_LT(rows, 200u) << "the walk did not end";
        EXPECT_THAT(ports, ::testing::ElementsAre(1u, 6u));
    }
}

}  // namespace
}  // namespace lldpv2test
