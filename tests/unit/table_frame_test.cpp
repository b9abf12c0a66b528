// What every table shares: the phases 5 to 9, and the port type classes that
// decide which (port, agent) rows exist, for every interface type of each
// class.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "module_fixture.h"

namespace lldpv2test {
namespace {

constexpr uint32_t kNoProcessor = 0x61010041;
constexpr uint32_t kNoInstance = 0x61010058;
constexpr uint32_t kDaemonNoEntry = 0x40010003;

class TableFrameTest : public ModuleTest {};

TEST_F(TableFrameTest, PhasesDoNothingOnEveryServedTable) {
    lldpv2host::Interface port;
    port.ifIndex = 1;
    port.name = "port1";
    port.node = 1;
    port.type = 18;
    lldpv2host::AddInterface(port);
    const uint32_t maskBefore = lldpv2host::TlvTxMask(1, 1);
    size_t served = 0;
    for (uint32_t table = 0; table <= 81; ++table) {
        SCOPED_TRACE(table);
        // A get of the table tells whether it has a processor.
        if (Send(1, table, {P::N(Mor(table, 1), 1)}).status == kNoProcessor) continue;
        ++served;
        for (uint32_t op = 5; op <= 9; ++op) {
            // Whatever the parameters (a write to the table's first column
            // included), a phase answers nothing and changes nothing.
            Result r = Send(op, table, {P::N(Mor(3, 1), 1), P::N(Mor(table, 1), 1), P::N(0x12345678, 1)});
            EXPECT_EQ(r.status, 0u) << "op " << op;
            EXPECT_FALSE(r.HasError()) << "op " << op;
            EXPECT_EQ(r.Count(), 0u) << "op " << op;
        }
    }
    // Every table id but 0, 1, 16 to 20 and 41 to 43.
    EXPECT_EQ(served, 82u - 10u);
    EXPECT_EQ(lldpv2host::TlvTxMask(1, 1), maskBefore);
}

// The interface types of each port class and the agents that run on them.
struct PortClass {
    const char *name;
    std::vector<uint32_t> types;
    std::vector<uint32_t> agents;  // empty: not an LLDP port
};

const PortClass kClasses[] = {
    {"ordinary", {18, 19, 21, 88, 68, 69, 22, 23, 25, 89, 70, 71, 26, 28}, {1, 2, 3}},
    {"second class", {56, 67}, {2, 3}},
    {"customer bridge only", {82, 87}, {3}},
    {"nearest bridge only", {31, 35}, {1}},
    {"not LLDP", {0, 1, 6, 7, 24, 27, 57, 83, 117, 128}, {}},
};

TEST_F(TableFrameTest, EveryInterfaceTypeOfEachClassAllowsItsAgents) {
    // A get of a neighbour row checks the port type class and the agent
    // before it asks the daemon: a port that is not an LLDP port is refused at
    // its parameter, an agent its class does not run at the whole request, and
    // an allowed pair reaches the daemon, which has no neighbour there.
    uint32_t ifIndex = 0;
    for (const PortClass &c : kClasses) {
        for (uint32_t type : c.types) {
            lldpv2host::Interface port;
            port.ifIndex = ++ifIndex;
            port.name = "port" + std::to_string(ifIndex);
            port.node = 1;
            port.type = type;
            lldpv2host::AddInterface(port);
            for (uint32_t agent = 1; agent <= 3; ++agent) {
                SCOPED_TRACE(testing::Message() << c.name << " type " << type << " agent " << agent);
                Result r = Get(12, {P::N(Mor(12, 1), 0), P::N(Mor(12, 2), ifIndex), P::N(Mor(12, 3), agent),
                                    P::N(Mor(12, 4), 1), P::C(Mor(12, 5))});
                const bool lldpPort = !c.agents.empty();
                const bool allowed = std::find(c.agents.begin(), c.agents.end(), agent) != c.agents.end();
                EXPECT_EQ(r.status, allowed ? kDaemonNoEntry : kNoInstance);
                EXPECT_EQ(r.ErrorIndex(), lldpPort ? kAll : 1u);
                EXPECT_EQ(r.Count(), 0u);
            }
        }
    }
}

}  // namespace
}  // namespace lldpv2test
