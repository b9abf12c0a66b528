// Scenario loading: the default scenario and the example files load and
// give the switch they describe; a mistake refuses the whole scenario with
// the file, the line and what is wrong, and leaves the switch as it was.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "lldpv2/lldp_client.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/scenario.h"
#include "lldpv2host/switch.h"

namespace {

using namespace lldpv2host;

const std::filesystem::path kScenarioDir =
    std::filesystem::path(__FILE__).parent_path().parent_path().parent_path() / "host" / "scenarios";

class DaemonScenario : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSwitch();
        ResetLldp();
    }
};

TEST_F(DaemonScenario, DefaultScenarioDescribesTheStack) {
    std::string error;
    ASSERT_TRUE(LoadDefaultScenario(&error)) << error;
    EXPECT_EQ(Nodes(), (std::vector<uint16_t>{1, 2}));
    EXPECT_EQ(Now(), 1000u);
    // Every agent class is in use: agent 1, 2 on ge-1/0/1, 2 on the aggregate,
    // 3 on the customer network port.
    EXPECT_EQ(Neighbours(1, 1).size(), 1u);
    EXPECT_EQ(Neighbours(1, 2).size(), 1u);
    EXPECT_EQ(Neighbours(50, 2).size(), 1u);
    EXPECT_EQ(Neighbours(60, 3).size(), 1u);
    EXPECT_EQ(NeighbourCount(), 11u);
    EXPECT_EQ(NodeStats(1).inserts, 8u);
    EXPECT_EQ(NodeStats(2).inserts, 3u);
    // The raw LLDPDU neighbour came through the receive rules.
    const std::vector<NeighbourView> raw = Neighbours(101, 1);
    ASSERT_EQ(raw.size(), 1u);
    EXPECT_EQ(raw[0].changeTime, 600u);
    EXPECT_EQ(std::string(raw[0].portId.begin(), raw[0].portId.end()), "gi0/1");
    // Local system data of the scenario.
    uint8_t buf[4096];
    uint16_t len = 0;
    ASSERT_EQ(LLDP_mor_MibGet(0, 0, LLDP_ITEM_LOC_SYSTEM, sizeof buf, buf, &len), 0u);
    LLDP_LOC_SYSTEM_S sys;
    ASSERT_EQ(LLDP_util_CreateFromSysInfoBuf(buf, len, &sys), 0u);
    EXPECT_STREQ(sys.sysName, "stack-sw-1");
    EXPECT_EQ(sys.capSupported, 0x14);
}

TEST_F(DaemonScenario, ShippedScenarioFilesLoadAndTheDefaultMatchesItsFile) {
    size_t files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(kScenarioDir)) {
        if (entry.path().extension() != ".yaml") continue;
        ++files;
        std::string error;
        EXPECT_TRUE(LoadScenarioFile(entry.path().string(), &error)) << error;
    }
    EXPECT_GE(files, 1u);
    std::ifstream in(kScenarioDir / "default.yaml");
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str(), DefaultScenarioText());
}

// A small valid scenario; each error case replaces one line.
const char *kBase =
    "nodes:\n"                                        // 1
    "  - id: 1\n"                                     // 2
    "interfaces:\n"                                   // 3
    "  - ifindex: 10\n"                               // 4
    "    node: 1\n"                                   // 5
    "    type: gigabit-ethernet\n"                    // 6
    "    name: ge-1/0/10\n"                           // 7
    "neighbours:\n"                                   // 8
    "  - port: ge-1/0/10\n"                           // 9
    "    chassis-id: {subtype: local, value: a}\n"    // 10
    "    port-id: {subtype: local, value: b}\n"       // 11
    "    ttl: 120\n";                                 // 12

std::string Replace(int line, const std::string &text) {
    std::stringstream in(kBase);
    std::string out;
    std::string l;
    for (int n = 1; std::getline(in, l); ++n) out += (n == line ? text : l) + "\n";
    return out;
}

TEST_F(DaemonScenario, MistakesNameTheLineAndWhatIsWrong) {
    struct Case {
        int line;
        const char *text;
        int errorLine;
        const char *what;
    };
    const Case cases[] = {
        {2, "  - id: 70000", 2, "node id: 70000 is outside"},
        {2, "  - id: 1\n    colour: red", 3, "unknown key 'colour'"},
        {5, "    node: 2", 5, "node 2 is not in 'nodes'"},
        {6, "    type: token-bus", 6, "unknown interface type 'token-bus'"},
        {6, "    type: loopback\n    lldp: {pvid: 1}", 7, "not an LLDP port"},
        {9, "  - port: ge-1/0/99", 9, "no interface 'ge-1/0/99'"},
        {9, "  - port: ge-1/0/10\n    agent: 4", 10, "agent: 4 is outside"},
        {10, "    chassis-id: {subtype: mac-address, value: zz}", 10, "is not hex"},
        {10, "    chassis-id: {subtype: bogus, value: a}", 10, "unknown value 'bogus'"},
        {11, "", 9, "'port-id' is required"},
        {12, "    ttl: 65536", 12, "ttl: 65536 is outside"},
        {12, "    ttl: ten", 12, "'ten' is not a number"},
        {12, "    lldpdu: \"0000\"", 10, "'chassis-id' cannot be combined with 'lldpdu'"},
        {12, "    pfc: {enabled: [8]}", 12, "pfc enabled priority: 8 is outside"},
        {12, "    org-tlvs: [{oui: 00-80-c2, subtype: 1}]", 12, "has its own field"},
        {12, "    management-addresses: [{address: 10.0.0.300}]", 12, "not an IPv4 or IPv6 address"},
        {12, "  bad: [", 12, "end of map not found"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        std::string error;
        EXPECT_FALSE(LoadScenarioText(Replace(c.line, c.text), &error, "lab.yaml"));
        const std::string where = "lab.yaml:" + std::to_string(c.errorLine) + ":";
        EXPECT_EQ(error.rfind(where, 0), 0u) << error;
        EXPECT_NE(error.find(c.what), std::string::npos) << error;
    }
}

TEST_F(DaemonScenario, ScenarioWideMistakes) {
    struct Case {
        const char *yaml;
        const char *what;
    };
    const Case cases[] = {
        {"", "lab.yaml:1: the scenario is empty"},
        {"interfaces: []\n", "lab.yaml:1: scenario: 'nodes' is required"},
        {"nodes: [{id: 1}]\nlldp: {tx-interval: 4}\n", "lab.yaml:2: tx-interval: 4 is out of range"},
        {"nodes: [{id: 1}, {id: 1}]\n", "lab.yaml:1: node id: 1 given twice"},
        {"nodes: [{id: 1}]\nclock: 5\nneighbours: []\n", ""},
        {"nodes: [{id: 1}]\ninterfaces:\n  - {ifindex: 5, node: 1, type: aggregate, lldp: {agents: [{agent: 1}]}}\n",
         "lab.yaml:3: agent 1 does not run on a port of type aggregate"},
        {"nodes: [{id: 1}]\ninterfaces:\n  - {ifindex: 5, node: 1, type: gigabit-ethernet, name: p5,\n"
         "     lldp: {agents: [{agent: 1, admin-status: tx-only}]}}\nneighbours:\n"
         "  - {port: p5, chassis-id: {subtype: local, value: a}, port-id: {subtype: local, value: b}}\n",
         "lab.yaml:6: neighbour: agent 1 of p5 does not receive"},
        {"nodes: [{id: 1}]\ninterfaces:\n  - {ifindex: 5, node: 1, type: gigabit-ethernet, name: p5}\nneighbours:\n"
         "  - {port: p5, lldpdu: \"0403056574683006020078\"}\n",
         "lab.yaml:5: lldpdu: the LLDPDU is discarded"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.yaml);
        std::string error;
        const bool ok = LoadScenarioText(c.yaml, &error, "lab.yaml");
        if (std::strlen(c.what) == 0) {
            EXPECT_TRUE(ok) << error;
        } else {
            EXPECT_FALSE(ok);
            EXPECT_EQ(error.rfind(c.what, 0), 0u) << error;
        }
    }
}

TEST_F(DaemonScenario, ARefusedScenarioLeavesTheSwitchAsItWas) {
    std::string error;
    ASSERT_TRUE(LoadDefaultScenario(&error)) << error;
    const size_t neighbours = NeighbourCount();
    const std::vector<Interface> interfaces = Interfaces();
    EXPECT_FALSE(LoadScenarioText(Replace(12, "    ttl: -1"), &error, "lab.yaml"));
    EXPECT_EQ(NeighbourCount(), neighbours);
    EXPECT_EQ(Interfaces().size(), interfaces.size());
    EXPECT_EQ(Now(), 1000u);
    EXPECT_FALSE(LoadScenarioFile((kScenarioDir / "no-such-file.yaml").string(), &error));
    EXPECT_NE(error.find("cannot be read"), std::string::npos);
    EXPECT_EQ(NeighbourCount(), neighbours);
}

TEST_F(DaemonScenario, FieldsReachTheDaemonAsWritten) {
    const char *yaml =
        "lldp: {tx-interval: 10, hold-multiplier: 3}\n"
        "nodes: [{id: 1, management-addresses: [{address: 192.0.2.9}]}]\n"
        "interfaces:\n"
        "  - ifindex: 7\n"
        "    node: 1\n"
        "    type: gigabit-ethernet\n"
        "    name: p7\n"
        "    lldp:\n"
        "      vlans: [{id: 5, name: five}, {id: 9}]\n"
        "      neighbour-limit: 1\n"
        "      agents:\n"
        "        - {agent: 1, tlvs: [sys-name, vlan-name], vlan-name-id: 9,\n"
        "           management-address: {address: 192.0.2.9}}\n"
        "neighbours:\n"
        "  - {port: p7, chassis-id: {subtype: local, value: a}, port-id: {subtype: local, value: x}}\n"
        "  - {port: p7, at: 50, chassis-id: {subtype: local, value: b}, port-id: {subtype: local, value: y}}\n";
    std::string error;
    ASSERT_TRUE(LoadScenarioText(yaml, &error)) << error;
    EXPECT_EQ(GlobalConfig().txInterval, 10);
    EXPECT_EQ(TlvTxMask(7, 1), (1u << LLDP_TLVBIT_SYS_NAME) | (1u << LLDP_TLVBIT_VLAN_NAME));
    // The limit of one dropped the second neighbour.
    EXPECT_EQ(Neighbours(7, 1).size(), 1u);
    EXPECT_EQ(NodeStats(1).drops, 1u);
    // TTL 10 * 3 + 1, the configured VLAN's name and the management address.
    const std::vector<uint8_t> pdu = LocalLldpdu(7, 1);
    const std::string text(pdu.begin(), pdu.end());
    EXPECT_NE(text.find(std::string("\x06\x02\x00\x1f", 4)), std::string::npos);
    EXPECT_NE(text.find("VLAN9"), std::string::npos);
    EXPECT_EQ(text.find("five"), std::string::npos);
    EXPECT_NE(text.find(std::string("\x05\x01\xc0\x00\x02\x09", 6)), std::string::npos);
}

}  // namespace
