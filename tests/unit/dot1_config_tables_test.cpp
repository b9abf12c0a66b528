// The 802.1 configuration tables: the transmit switches of the 802.1 TLVs,
// read, walked and written through to the daemons' TLV transmit masks.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lldpv2/lldp_client.h"
#include "lldpv2host/scenario.h"
#include "module_fixture.h"

namespace lldpv2test {
namespace {

constexpr uint32_t kPort = Mor(10, 1);         // lldpV2LocPortIfIndex
constexpr uint32_t kCfgPort = Mor(3, 1);       // lldpV2PortConfigIfIndex
constexpr uint32_t kCfgAgent = Mor(3, 2);      // lldpV2PortConfigDestAddressIndex
constexpr uint32_t kVlanId = Mor(29, 1);       // lldpV2Xdot1LocVlanId
constexpr uint32_t kProtoVlanId = Mor(28, 1);  // lldpV2Xdot1LocProtoVlanId
constexpr uint32_t kProtocolIndex = Mor(30, 1);

constexpr uint32_t kBitPortVlan = 1u << LLDP_TLVBIT_PORT_VLAN;
constexpr uint32_t kBitProtoVlan = 1u << LLDP_TLVBIT_PROTO_VLAN;
constexpr uint32_t kBitVlanName = 1u << LLDP_TLVBIT_VLAN_NAME;
constexpr uint32_t kBitManVid = 1u << LLDP_TLVBIT_MAN_VID;

// Port 1 (type 18) and port 2 (type 56: agents 2 and 3) on node 1, port 3
// of a type without 802.1 configuration, port 101 (type 19) on node 2.
constexpr char kScenario[] = R"(
nodes: [{id: 1}, {id: 2}]
interfaces:
  - ifindex: 1
    node: 1
    type: 18
    lldp:
      vlans: [{id: 10, name: users}, {id: 20, name: voice}]
      proto-vlans: [{id: 100}, {id: 200}]
      agents:
        - {agent: 1, tlvs: [port-vlan, vlan-name, proto-vlan, management-vid], vlan-name-id: 20, proto-vlan-id: 200}
        - {agent: 2, tlvs: [vlan-name]}
        - {agent: 3, tlvs: [sys-name]}
  - ifindex: 2
    node: 1
    type: 56
    lldp:
      vlans: [{id: 30}]
      agents:
        - {agent: 2, tlvs: [port-vlan]}
        - {agent: 3, tlvs: [management-vid]}
  - {ifindex: 3, node: 1, type: 82}
  - {ifindex: 101, node: 2, type: 19, lldp: {vlans: [{id: 5}], pvid: 7}}
)";


// The numbers of a reply, as "value/type" in reply order.
std::vector<std::string> Values(const Result &r) {
    std::vector<std::string> out;
    for (size_t i = 0; i < r.Count(); ++i) out.push_back(std::to_string(r.U32(i)) + "/" + std::to_string(r.At(i).type));
    return out;
}

using Strings = std::vector<std::string>;

class Dot1ConfigTablesTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        std::string error;
        ASSERT_TRUE(lldpv2host::LoadScenarioText(kScenario, &error)) << error;
    }

    // Walks by get-next from an empty request; each row as "index...=value".
    static Strings Walk(uint32_t table, size_t indexColumns, Result *end) {
        Strings rows;
        Result r = Send(3, table, {});
        while (r.status == 0 && rows.size() < 20) {
            std::string row;
            std::vector<P> next;
            for (size_t i = 0; i < r.Count(); ++i) {
                row += i == 0 ? "" : i == indexColumns ? "=" : ",";
                row += std::to_string(r.U32(i));
                if (i < indexColumns) next.push_back(P::N(r.At(i).morId, r.U32(i)));
            }
            rows.push_back(row);
            r = Send(3, table, next);
        }
        *end = r;
        return rows;
    }

    static uint32_t Mask(uint32_t port, uint32_t agent) { return lldpv2host::TlvTxMask(port, agent); }
};

TEST_F(Dot1ConfigTablesTest, WalksVisitTheDot1PortsOfBothNodes) {
    struct Case {
        uint32_t table;
        size_t indexColumns;
        Strings rows;
        uint32_t endPosition;
    };
    const Case cases[] = {
        // Port 2 runs agents 2 and 3 only; port 3 has no 802.1 configuration.
        {21, 2, {"1,1=1", "1,2=2", "1,3=2", "2,2=1", "2,3=2", "101,1=1", "101,2=1", "101,3=1"}, kAll},
        {24, 2, {"1,1=2", "2,1=2", "101,1=2"}, kAll},
        {25, 1, {"1=2", "2=2", "101=2"}, 0},
        // Read for the port's first agent.
        {26, 1, {"1=1", "2=2", "101=2"}, kAll},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE("table " + std::to_string(c.table));
        Result end;
        EXPECT_EQ(Walk(c.table, c.indexColumns, &end), c.rows);
        EXPECT_EQ(end.status, 0x61010059u);
        EXPECT_EQ(end.ErrorIndex(), c.endPosition);
    }
    // The reply types: interface index 0, agent and protocol index 2.
    EXPECT_EQ(Values(Send(3, 21, {})), (Strings{"1/0", "1/2", "1/0"}));
    EXPECT_EQ(Values(Send(3, 24, {})), (Strings{"1/0", "1/2", "2/0"}));
    EXPECT_EQ(Values(Send(3, 26, {})), (Strings{"1/0", "1/0"}));
}

TEST_F(Dot1ConfigTablesTest, VlanRowsExistForEveryIdOfAPort) {
    struct Case {
        const char *name;
        uint32_t table;
        std::vector<P> params;
        Strings reply;  // or the status
        uint32_t status;
    };
    const Case cases[] = {
        // The VLAN id goes as an enumeration, the protocol VLAN id as Unsigned32.
        {"port alone enters at id 0", 22, {P::N(kPort, 1)}, {"1/0", "0/0", "2/0"}, 0},
        {"port alone, protocol VLAN", 23, {P::N(kPort, 1)}, {"1/0", "0/2", "2/0"}, 0},
        {"the transmitted VLAN", 22, {P::N(kPort, 1), P::N(kVlanId, 19)}, {"1/0", "20/0", "1/0"}, 0},
        {"the transmitted protocol VLAN", 23, {P::N(kPort, 1), P::N(kProtoVlanId, 199)}, {"1/0", "200/2", "1/0"}, 0},
        {"past 4094", 22, {P::N(kPort, 1), P::N(kVlanId, 4094)}, {"2/0", "0/0", "2/0"}, 0},
        {"a bad id moves on", 23, {P::N(kPort, 2), P::N(kProtoVlanId, 70000)}, {"101/0", "0/2", "2/0"}, 0},
        {"port of another type", 22, {P::N(kPort, 3)}, {"101/0", "0/0", "2/0"}, 0},
        {"no index", 23, {}, {"1/0", "0/2", "2/0"}, 0},
        {"last row", 22, {P::N(kPort, 101), P::N(kVlanId, 4094)}, {}, 0x61010059},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Send(3, c.table, c.params);
        EXPECT_EQ(r.status, c.status);
        if (c.status == 0) EXPECT_EQ(Values(r), c.reply);
        else EXPECT_EQ(r.ErrorIndex(), kAll);
    }
}

TEST_F(Dot1ConfigTablesTest, GetsAndTheirErrors) {
    struct Case {
        const char *name;
        uint32_t table;
        std::vector<P> params;
        uint32_t status;
        uint32_t position;  // or the value read
    };
    const Case cases[] = {
        {"port VLAN", 21, {P::N(kCfgPort, 1), P::N(kCfgAgent, 1), P::C(Mor(21, 1))}, 0, 1},
        {"port VLAN, other agent", 21, {P::N(kCfgAgent, 2), P::N(kCfgPort, 1)}, 0, 2},
        {"type 56, agent 1", 21, {P::N(kCfgPort, 2), P::N(kCfgAgent, 1)}, 0x61010058, kAll},
        {"agent 4", 21, {P::N(kCfgPort, 1), P::N(kCfgAgent, 4)}, 0x61010058, 1},
        {"port without 802.1 configuration", 21, {P::N(kCfgPort, 3), P::N(kCfgAgent, 3)}, 0x61010058, 0},
        {"the first error stops the reader", 21, {P::N(kCfgAgent, 0), P::C(Mor(22, 1))}, 0x61010058, 0},
        {"foreign column", 21, {P::N(kCfgPort, 1), P::C(Mor(22, 1))}, 0x61010052, 1},
        {"VLAN name, transmitted", 22, {P::N(kPort, 1), P::N(kVlanId, 20)}, 0, 1},
        {"VLAN name, another VLAN", 22, {P::N(kPort, 1), P::N(kVlanId, 10)}, 0, 2},
        {"VLAN 4095", 22, {P::N(kPort, 1), P::N(kVlanId, 4095)}, 0x61010058, 1},
        {"protocol VLAN", 23, {P::N(kPort, 1), P::N(kProtoVlanId, 200)}, 0, 1},
        {"column of the local table", 23, {P::N(kPort, 1), P::C(Mor(28, 2))}, 0x61010052, 1},
        {"protocol row 1", 24, {P::N(kPort, 2), P::N(kProtocolIndex, 1)}, 0, 2},
        {"protocol row 2", 24, {P::N(kPort, 1), P::N(kProtocolIndex, 2)}, 0x61010058, kAll},
        {"protocol, bad port", 24, {P::N(kPort, 3), P::N(kProtocolIndex, 1)}, 0x61010058, 0},
        {"digest, bad port at any position", 25, {P::C(Mor(25, 1)), P::N(kPort, 3)}, 0x61010058, 0},
        {"management VID", 26, {P::N(kPort, 1)}, 0, 1},
        {"management VID of type 56 reads agent 2", 26, {P::N(kPort, 2)}, 0, 2},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Send(1, c.table, c.params);
        EXPECT_EQ(r.status, c.status);
        if (c.status == 0) {
            ASSERT_EQ(r.Count(), 1u);
            EXPECT_EQ(r.At(0).morId, Mor(c.table, 1));
            EXPECT_EQ(r.At(0).type, 0u);
            EXPECT_EQ(r.U32(0), c.position);
        } else {
            EXPECT_EQ(r.ErrorIndex(), c.position);
        }
    }
}

TEST_F(Dot1ConfigTablesTest, PortVlanSetWritesOneAgent) {
    ASSERT_EQ(Send(2, 21, {P::N(kCfgPort, 1), P::N(kCfgAgent, 2), P::N(Mor(21, 1), 1)}).status, 0u);
    EXPECT_NE(Mask(1, 2) & kBitPortVlan, 0u);
    EXPECT_EQ(Send(1, 21, {P::N(kCfgPort, 1), P::N(kCfgAgent, 2)}).U32(0), 1u);
    // Anything but true turns it off; only this agent is touched.
    ASSERT_EQ(Send(2, 21, {P::N(Mor(21, 1), 7), P::N(kCfgAgent, 1), P::N(kCfgPort, 1)}).status, 0u);
    EXPECT_EQ(Mask(1, 1) & kBitPortVlan, 0u);
    EXPECT_NE(Mask(1, 2) & kBitPortVlan, 0u);

    struct Case {
        const char *name;
        std::vector<P> params;
        uint32_t status;
        uint32_t position;
    };
    const Case cases[] = {
        {"type 56, agent 1", {P::N(kCfgPort, 2), P::N(kCfgAgent, 1), P::N(Mor(21, 1), 1)}, 0x61010049, kAll},
        {"agent 0", {P::N(kCfgPort, 1), P::N(kCfgAgent, 0), P::N(Mor(21, 1), 1)}, 0x61010049, 1},
        {"port without 802.1 configuration", {P::N(kCfgPort, 3), P::N(kCfgAgent, 3)}, 0x61010049, 0},
        {"foreign column", {P::N(kCfgPort, 1), P::N(kCfgAgent, 1), P::N(Mor(26, 1), 1)}, 0x61010052, 2},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Send(2, 21, c.params);
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.ErrorIndex(), c.position);
    }
}

TEST_F(Dot1ConfigTablesTest, VlanNameSetWritesEveryAgentOfThePort) {
    const auto set = [](uint32_t port, uint32_t vlan, uint32_t value) {
        return Send(2, 22, {P::N(kPort, port), P::N(kVlanId, vlan), P::N(Mor(22, 1), value)});
    };
    const auto get = [](uint32_t port, uint32_t vlan) {
        return Send(1, 22, {P::N(kPort, port), P::N(kVlanId, vlan)}).U32(0);
    };
    // Switching VLAN 10 on names it for agents 1 to 3.
    ASSERT_EQ(set(1, 10, 1).status, 0u);
    for (uint32_t agent = 1; agent <= 3; ++agent) EXPECT_NE(Mask(1, agent) & kBitVlanName, 0u) << agent;
    EXPECT_EQ(get(1, 10), 1u);
    EXPECT_EQ(get(1, 20), 2u);
    // The port's LLDPDU now names VLAN 10.
    Result local = Send(1, 29, {P::N(kPort, 1), P::N(kVlanId, 10)});
    ASSERT_EQ(local.status, 0u);
    EXPECT_EQ(local.At(0).value, (std::vector<uint8_t>{'u', 's', 'e', 'r', 's'}));

    // Switching off a VLAN that is not the one sent changes nothing.
    ASSERT_EQ(set(1, 20, 2).status, 0u);
    EXPECT_NE(Mask(1, 1) & kBitVlanName, 0u);
    ASSERT_EQ(set(1, 10, 2).status, 0u);
    for (uint32_t agent = 1; agent <= 3; ++agent) EXPECT_EQ(Mask(1, agent) & kBitVlanName, 0u) << agent;

    // A port of type 56 starts at its first agent, 2.
    ASSERT_EQ(set(2, 30, 1).status, 0u);
    EXPECT_NE(Mask(2, 2) & kBitVlanName, 0u);
    EXPECT_NE(Mask(2, 3) & kBitVlanName, 0u);

    struct Case {
        const char *name;
        std::vector<P> params;
        uint32_t status;
        uint32_t position;
    };
    const Case cases[] = {
        {"VLAN 4095", {P::N(kPort, 1), P::N(kVlanId, 4095), P::N(Mor(22, 1), 1)}, 0x61010049, 1},
        {"port without 802.1 configuration", {P::N(kPort, 3), P::N(kVlanId, 10)}, 0x61010049, 0},
        {"a VLAN the port does not have", {P::N(kPort, 1), P::N(kVlanId, 99), P::N(Mor(22, 1), 1)}, 0x61010049, kAll},
        {"column of the local table", {P::N(kPort, 1), P::N(Mor(29, 2), 1)}, 0x61010052, 1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Send(2, 22, c.params);
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.ErrorIndex(), c.position);
    }
}

TEST_F(Dot1ConfigTablesTest, ProtoVlanAndManagementVidSets) {
    ASSERT_EQ(Send(2, 23, {P::N(kPort, 1), P::N(kProtoVlanId, 100), P::N(Mor(23, 1), 1)}).status, 0u);
    for (uint32_t agent = 1; agent <= 3; ++agent) EXPECT_NE(Mask(1, agent) & kBitProtoVlan, 0u) << agent;
    EXPECT_EQ(Send(1, 23, {P::N(kPort, 1), P::N(kProtoVlanId, 100)}).U32(0), 1u);
    EXPECT_EQ(Send(1, 23, {P::N(kPort, 1), P::N(kProtoVlanId, 200)}).U32(0), 2u);

    // The management VID switch: every agent from the port's first one.
    ASSERT_EQ(Send(2, 26, {P::N(Mor(26, 1), 1), P::N(kPort, 101)}).status, 0u);
    for (uint32_t agent = 1; agent <= 3; ++agent) EXPECT_NE(Mask(101, agent) & kBitManVid, 0u) << agent;
    EXPECT_EQ(Send(1, 26, {P::N(kPort, 101)}).U32(0), 1u);
    ASSERT_EQ(Send(2, 26, {P::N(kPort, 2), P::N(Mor(26, 1), 2)}).status, 0u);
    EXPECT_EQ(Mask(2, 3) & kBitManVid, 0u);

    struct Case {
        const char *name;
        uint32_t table;
        std::vector<P> params;
        uint32_t status;
        uint32_t position;
    };
    const Case cases[] = {
        {"management VID, bad port", 26, {P::N(Mor(26, 1), 1), P::N(kPort, 3)}, 0x61010049, 1},
        {"management VID, foreign column", 26, {P::N(kPort, 1), P::N(Mor(25, 1), 1)}, 0x61010052, 1},
        {"protocol table is read-only", 24, {P::N(kPort, 1), P::N(kProtocolIndex, 1)}, 0x6101004F, kAll},
        // Reported at position 0 like every error of this table.
        {"digest table is read-only", 25, {P::N(kPort, 1), P::N(Mor(25, 1), 1)}, 0x6101004F, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Send(2, c.table, c.params);
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.ErrorIndex(), c.position);
    }
}

TEST_F(Dot1ConfigTablesTest, TransmitRecordsHandedToTheDaemon) {
    // Each set hands the daemon one record per agent, from the port's first
    // agent to 3: words 1044, the TLV mask, 1 and 6, and for a switch that
    // names a VLAN the marker 2 at octet 1042 with the id at octet 1044.
    struct Expected {
        uint32_t agent, enable, mask;
        uint16_t marker, id;
    };
    struct Case {
        const char *name;
        uint32_t table;
        std::vector<P> params;
        std::vector<Expected> records;
    };
    const Case cases[] = {
        {"VLAN name on", 22, {P::N(kPort, 1), P::N(kVlanId, 10), P::N(Mor(22, 1), 1)},
         {{1, 1, kBitVlanName, 2, 10}, {2, 1, kBitVlanName, 2, 10}, {3, 1, kBitVlanName, 2, 10}}},
        {"VLAN name off for the VLAN sent", 22, {P::N(kPort, 1), P::N(kVlanId, 10), P::N(Mor(22, 1), 2)},
         {{1, 0, kBitVlanName, 0, 0}, {2, 0, kBitVlanName, 0, 0}, {3, 0, kBitVlanName, 0, 0}}},
        {"VLAN name off for another VLAN", 22, {P::N(kPort, 1), P::N(kVlanId, 20), P::N(Mor(22, 1), 2)}, {}},
        {"VLAN name on a type-56 port", 22, {P::N(kPort, 2), P::N(kVlanId, 30), P::N(Mor(22, 1), 1)},
         {{2, 1, kBitVlanName, 2, 30}, {3, 1, kBitVlanName, 2, 30}}},
        {"protocol VLAN on", 23, {P::N(kPort, 1), P::N(kProtoVlanId, 100), P::N(Mor(23, 1), 1)},
         {{1, 1, kBitProtoVlan, 2, 100}, {2, 1, kBitProtoVlan, 2, 100}, {3, 1, kBitProtoVlan, 2, 100}}},
        {"protocol VLAN off for the one sent", 23, {P::N(kPort, 1), P::N(kProtoVlanId, 100), P::N(Mor(23, 1), 2)},
         {{1, 0, kBitProtoVlan, 0, 0}, {2, 0, kBitProtoVlan, 0, 0}, {3, 0, kBitProtoVlan, 0, 0}}},
        {"management VID on", 26, {P::N(kPort, 101), P::N(Mor(26, 1), 1)},
         {{1, 1, kBitManVid, 0, 0}, {2, 1, kBitManVid, 0, 0}, {3, 1, kBitManVid, 0, 0}}},
        {"management VID off, type-56 port", 26, {P::N(kPort, 2), P::N(Mor(26, 1), 2)},
         {{2, 0, kBitManVid, 0, 0}, {3, 0, kBitManVid, 0, 0}}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        lldpv2host::testing::RecordTlvCfgRequests();
        ASSERT_EQ(Send(2, c.table, c.params).status, 0u);
        const std::vector<lldpv2host::testing::TlvCfgRequest> sent = lldpv2host::testing::TlvCfgRequests();
        ASSERT_EQ(sent.size(), c.records.size());
        const uint32_t port = c.params.front().value;
        for (size_t i = 0; i < sent.size(); ++i) {
            const auto &s = sent[i];
            const Expected &e = c.records[i];
            EXPECT_EQ(s.ifIndex, port);
            EXPECT_EQ(s.agent, e.agent);
            EXPECT_EQ(s.enable, e.enable);
            EXPECT_EQ(s.Word(0), 1044u);
            EXPECT_EQ(s.Word(1), e.mask);
            EXPECT_EQ(s.Word(2), 1u);
            EXPECT_EQ(s.Word(3), 6u);
            EXPECT_EQ(s.Half(1042), e.marker);
            EXPECT_EQ(s.Half(1044), e.id);
            // Nothing else of the block is written.
            size_t others = 0;
            for (size_t octet = 16; octet < s.block.size(); ++octet)
                if (octet != 1042 && octet != 1043 && octet != 1044 && octet != 1045 && s.block[octet] != 0) ++others;
            EXPECT_EQ(others, 0u);
        }
    }
}

TEST_F(Dot1ConfigTablesTest, OpTypesNotServed) {
    for (uint32_t table = 21; table <= 26; ++table) {
        SCOPED_TRACE("table " + std::to_string(table));
        for (uint32_t op : {0u, 4u, 10u}) {
            Result r = Send(op, table, {P::N(kPort, 1)});
            EXPECT_EQ(r.status, 0x61010052u);
            EXPECT_EQ(r.ErrorIndex(), kAll);
        }
        Result phase = Send(7, table, {P::N(kPort, 1), P::N(Mor(table, 1), 1)});
        EXPECT_EQ(phase.status, 0u);
        EXPECT_FALSE(phase.HasError());
        EXPECT_EQ(phase.Count(), 0u);
    }
}

}  // namespace
}  // namespace lldpv2test
