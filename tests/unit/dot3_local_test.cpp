// The IEEE 802.3 port configuration table and what the switch advertises in
// its 802.3 TLVs (tables 75 to 78).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "lldpv2/lldp_client.h"
#include "lldpv2host/scenario.h"
#include "module_fixture.h"

namespace lldpv2test {
namespace {

// The power column writer echoes an index parameter that comes before any
// column with type code 16 (PowerWriterEchoesTheIndexWithTheColumnBeforeIt);
// tests of the columns themselves leave those echoes out.
void DropEchoedIndexes(Result &r) {
    std::erase_if(r.reply.params, [](const lldpv2host::MorParam &p) { return p.type == 16; });
}

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

constexpr uint32_t kCfgPort = Mor(3, 1);
constexpr uint32_t kCfgAgent = Mor(3, 2);
constexpr uint32_t kTxEnable = Mor(75, 1);
constexpr uint32_t kLocPort = Mor(10, 1);
constexpr uint32_t kLinkAgg = 1u << LLDP_TLVBIT_LINK_AGG;
constexpr uint32_t kDot3Bits = 0x78000;  // TLV bits 15 to 18
constexpr uint32_t kNoEntry = 0x40010003;

// Ordinary ports have MAC/PHY and frame size data by default. Port 1 sends
// all four 802.3 TLVs; port 2 only MAC/PHY; port 3 carries no dot3 LLDP;
// port 4 sends nothing and is disabled; port 101 keeps the default transmit
// set; port 102 has no local row.
constexpr char kScenario[] = R"(
nodes: [{id: 1}, {id: 2}]
interfaces:
  - ifindex: 1
    node: 1
    type: 18
    lldp:
      mac-phy: {autoneg-supported: true, autoneg-enabled: true, advertised-cap: 0x6C01, mau-type: 30}
      power: {port-class: pse, supported: false, enabled: true, pair-control: true, pairs: 2, class: 4}
      agents: [{agent: 1, tlvs: [mac-phy, power, link-agg, max-frame]}]
  - ifindex: 2
    node: 1
    type: 18
    lldp:
      mac-phy: {autoneg-supported: false, autoneg-enabled: true, advertised-cap: 0x0001, mau-type: 16}
      power: {port-class: pd, supported: true, enabled: false, pair-control: false, pairs: 1, class: 1}
      agents: [{agent: 1, tlvs: [mac-phy]}]
  - {ifindex: 3, node: 1, type: 82}
  - {ifindex: 4, node: 1, type: 18, lldp: {agents: [{agent: 1, admin-status: disabled, tlvs: []}]}}
  - ifindex: 101
    node: 2
    type: 19
    lldp:
      power: {port-class: pse, supported: true, enabled: true, pair-control: false, pairs: 1, class: 2}
      max-frame-size: 9216
  - {ifindex: 102, node: 2, type: 18, lldp-data: 0}
)";

std::vector<uint8_t> U32Bytes(uint32_t v) {
    std::vector<uint8_t> b(4);
    std::memcpy(b.data(), &v, 4);
    return b;
}

class Dot3LocalTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        std::string error;
        ASSERT_TRUE(lldpv2host::LoadScenarioText(kScenario, &error)) << error;
    }
};

TEST_F(Dot3LocalTest, TxEnableReadsAndWritesTheDot3Group) {
    auto read = [](uint32_t port) {
        Result r = Get(75, {P::N(kCfgPort, port), P::N(kCfgAgent, 1), P::C(kTxEnable)});
        EXPECT_THAT(r.MorIds(), ElementsAre(kTxEnable));
        return r.Count() == 1 ? r.At(0).value : std::vector<uint8_t>{};
    };
    // linkAggregation never shows, though port 1 sends it.
    for (auto [port, bits] : {std::pair{1u, 0xD0}, {2u, 0x80}, {4u, 0x00}, {101u, 0xD0}})
        EXPECT_EQ(read(port), std::vector<uint8_t>{static_cast<uint8_t>(bits)}) << port;

    struct Case {
        uint8_t written;
        uint32_t daemonBits;
        uint8_t readBack;
    };
    // The write replaces the dot3 group; linkAggregation and the low nibble
    // are dropped, so link aggregation stays on.
    const Case cases[] = {{0xF0, 0x58000, 0xD0}, {0x80, 0x08000, 0x80}, {0x0F, 0, 0x00}, {0x50, 0x50000, 0x50}};
    for (const Case &c : cases) {
        SCOPED_TRACE(static_cast<int>(c.written));
        Result r = Set(75, {P::N(kCfgPort, 1), P::N(kCfgAgent, 1), P::B(kTxEnable, {c.written})});
        ASSERT_EQ(r.status, 0u);
        EXPECT_EQ(lldpv2host::TlvTxMask(1, 1) & kDot3Bits, c.daemonBits | kLinkAgg);
        EXPECT_EQ(read(1), std::vector<uint8_t>{c.readBack});
    }
}

TEST_F(Dot3LocalTest, PortConfigIndexErrors) {
    struct Case {
        uint32_t opType, port, agent, column;
        uint32_t status, position;
    };
    const Case cases[] = {
        {1, 1, 2, kTxEnable, 0x61010058, 1},  {1, 3, 1, kTxEnable, 0x61010058, 0},
        {1, 77, 1, kTxEnable, 0x61010058, 0}, {2, 1, 2, kTxEnable, 0x61010049, 1},
        {2, 1, 0, kTxEnable, 0x61010049, 1},  {2, 3, 1, kTxEnable, 0x61010049, 0},
        {1, 1, 1, Mor(3, 3), 0x61010052, 2},  {2, 1, 1, Mor(76, 1), 0x61010052, 2},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.opType << " " << c.port << " " << c.agent);
        Result r = Send(c.opType, 75, {P::N(kCfgPort, c.port), P::N(kCfgAgent, c.agent), P::B(c.column, {0})});
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.ErrorIndex(), c.position);
        EXPECT_EQ(r.Count(), 0u);
    }
    EXPECT_EQ(lldpv2host::TlvTxMask(1, 1) & kDot3Bits, kDot3Bits);  // nothing was written
}

TEST_F(Dot3LocalTest, PortConfigWalkVisitsAgentOneOfEachPort) {
    std::vector<uint32_t> ports;
    Result r = GetNext(75, {P::C(kTxEnable)});
    for (; r.status == 0 && ports.size() < 10; r = GetNext(75, {P::N(kCfgPort, ports.back()), P::N(kCfgAgent, 1)})) {
        ASSERT_THAT(r.MorIds(), ElementsAre(kCfgPort, kCfgAgent, kTxEnable));
        EXPECT_EQ(r.At(1).type, 2u);
        EXPECT_EQ(r.U32(1), 1u);
        ports.push_back(r.U32(0));
    }
    // Port 4 runs no dot3 LLDP but is reached by moving on, where only the read counts.
    EXPECT_THAT(ports, ElementsAre(1u, 2u, 4u, 101u, 102u));
    EXPECT_EQ(r.status, 0x61010059u);
    EXPECT_EQ(r.ErrorIndex(), kAll);

    // {port, agent, row}; agent 9 stands for "no agent given".
    const std::array<uint32_t, 3> cases[] = {{1, 9, 1}, {2, 0, 2}, {1, 1, 2}, {1, 2, 2}, {4, 9, 101}, {3, 9, 4}};
    for (const auto &[port, agent, row] : cases) {
        Result next = agent == 9 ? GetNext(75, {P::N(kCfgPort, port)})
                                 : GetNext(75, {P::N(kCfgPort, port), P::N(kCfgAgent, agent)});
        ASSERT_EQ(next.status, 0u);
        EXPECT_EQ(next.U32(0), row) << port << "/" << agent;
    }
}

TEST_F(Dot3LocalTest, LocalTablesAnswerInRequestOrder) {
    struct Case {
        uint32_t table, port;
        std::vector<uint32_t> columns, types;
        std::vector<std::vector<uint8_t>> values;
    };
    const Case cases[] = {
        {76, 1, {Mor(76, 1), Mor(76, 2), Mor(76, 3), Mor(76, 4)}, {0, 0, 5, 2},
         {U32Bytes(1), U32Bytes(1), {0x6C, 0x01}, U32Bytes(30)}},
        {76, 2, {Mor(76, 4), Mor(76, 1), Mor(76, 3)}, {2, 0, 5}, {U32Bytes(16), U32Bytes(2), {0x00, 0x01}}},
        // Support octet 0x0D: PSE, not supported, enabled, pairs controllable.
        {77, 1, {Mor(77, 1), Mor(77, 2), Mor(77, 3), Mor(77, 4), Mor(77, 5), Mor(77, 6)}, {0, 0, 0, 0, 2, 2},
         {U32Bytes(1), U32Bytes(2), U32Bytes(1), U32Bytes(1), U32Bytes(2), U32Bytes(4)}},
        {78, 1, {Mor(78, 1)}, {2}, {U32Bytes(1522)}},
        {78, 101, {}, {2}, {U32Bytes(9216)}},  // the column comes whatever was asked
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.table << "/" << c.port);
        lldpv2host::MorMessage get = lldpv2host::MakeRequest(1, c.table);
        lldpv2host::AddUint32(get, kLocPort, c.port);
        for (uint32_t col : c.columns) lldpv2host::AddColumn(get, col);
        Result r;
        ASSERT_EQ(lldpv2host::Deliver(kModuleId, get, r.reply), 0u);
        DropEchoedIndexes(r);
        ASSERT_EQ(r.Count(), c.types.size());
        for (size_t i = 0; i < c.types.size(); ++i) {
            EXPECT_EQ(r.At(i).morId, c.columns.empty() ? Mor(78, 1) : c.columns[i]);
            EXPECT_EQ(r.At(i).type, c.types[i]);
            EXPECT_EQ(r.At(i).value, c.values[i]);
        }
    }
}

TEST_F(Dot3LocalTest, LocalTablesReportEveryFailureAtPositionZero) {
    struct Case {
        uint32_t opType, table, port, column, status;
    };
    const Case cases[] = {
        {1, 77, 2, Mor(77, 1), 0x61010058},    // power data not sent
        {1, 76, 4, Mor(76, 1), 0x61010058},    // nothing sent
        {1, 78, 102, Mor(78, 1), 0x61010058},  // no local row
        {1, 76, 3, Mor(76, 1), 0x61010058},    // not a dot3 port
        {1, 76, 1, Mor(77, 1), 0x61010058},    // a foreign column is no such instance here
        {3, 77, 1, Mor(80, 1), 0x61010058},
        {2, 76, 1, Mor(76, 1), 0x6101004F},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.table << "/" << c.port);
        Result r = Send(c.opType, c.table, {P::N(kLocPort, c.port), P::C(c.column)});
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.ErrorIndex(), 0u);
        EXPECT_EQ(r.Count(), 0u);
    }
}

TEST_F(Dot3LocalTest, UnservedOpTypesArePlacedLikeEveryOtherErrorOfTheTable) {
    // The local tables place every error at position 0, an op type they do
    // not serve included; the configuration table blames the whole request.
    const std::pair<uint32_t, uint32_t> tables[] = {{75, kAll}, {76, 0}, {77, 0}, {78, 0}};
    for (const auto &[table, position] : tables) {
        for (uint32_t opType : {0u, 4u, 10u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(testing::Message() << table << " op " << opType);
            Result r = Send(opType, table, {P::N(table == 75 ? kCfgPort : kLocPort, 1), P::C(Mor(table, 1))});
            EXPECT_EQ(r.status, 0x61010052u);
            EXPECT_EQ(r.ErrorIndex(), position);
            EXPECT_EQ(r.Count(), 0u);
        }
    }
}

TEST_F(Dot3LocalTest, UnparsedTransmitConfigurationIsLeftAloneOnlyParsedOneReleased) {
    // The configuration is released after a good parse; one that did not
    // parse is not cleared.
    lldpv2host::StartTrace();
    ASSERT_EQ(Get(75, {P::N(kCfgPort, 1), P::N(kCfgAgent, 1), P::C(kTxEnable)}).status, 0u);
    std::vector<std::string> trace = lldpv2host::StopTrace();
    EXPECT_EQ(std::count(trace.begin(), trace.end(), "LLDP_util_ClearTLVCfg"), 1);

    lldpv2host::SetFault("LLDP_util_CreateFromTLVCfgBuf", 0x40010001);
    lldpv2host::StartTrace();
    Result r = Get(75, {P::N(kCfgPort, 1), P::N(kCfgAgent, 1), P::C(kTxEnable)});
    trace = lldpv2host::StopTrace();
    lldpv2host::ClearFaults();
    EXPECT_EQ(r.status, 0x61010058u);
    EXPECT_EQ(r.ErrorIndex(), kAll);
    EXPECT_EQ(std::count(trace.begin(), trace.end(), "LLDP_util_CreateFromTLVCfgBuf"), 1);
    EXPECT_EQ(std::count(trace.begin(), trace.end(), "LLDP_util_ClearTLVCfg"), 0);
}

TEST_F(Dot3LocalTest, LocalWalksEndAtTheFirstPortLackingTheTlv) {
    // Ports 2 and 4 have data they do not send: each walk ends there,
    // although port 101 sends all three.
    for (auto [table, expected] : {std::pair{76u, std::vector<uint32_t>{1, 2}}, {77u, {1}}, {78u, {1}}}) {
        SCOPED_TRACE(table);
        std::vector<uint32_t> ports;
        Result r = GetNext(table, {P::C(Mor(table, 1))});
        for (; r.status == 0 && ports.size() < 10;
             r = GetNext(table, {P::N(kLocPort, ports.back()), P::C(Mor(table, 1))})) {
            ASSERT_THAT(r.MorIds(), ElementsAre(kLocPort, Mor(table, 1)));
            ports.push_back(r.U32(0));
        }
        EXPECT_THAT(ports, ElementsAreArray(expected));
        EXPECT_EQ(r.status, 0x61010059u);
        EXPECT_EQ(r.ErrorIndex(), 0u);

        // Past them comes port 101; after it the daemon's end comes back as it stands.
        EXPECT_EQ(GetNext(table, {P::N(kLocPort, 4), P::C(Mor(table, 1))}).U32(0), 101u);
        Result end = GetNext(table, {P::N(kLocPort, 101), P::C(Mor(table, 1))});
        EXPECT_EQ(end.status, kNoEntry);
        EXPECT_EQ(end.ErrorIndex(), 0u);
    }
}

TEST_F(Dot3LocalTest, PowerWriterEchoesTheIndexWithTheColumnBeforeIt) {
    Result macPhy = GetNext(76, {P::N(kLocPort, 0), P::C(Mor(76, 4))});
    EXPECT_THAT(macPhy.MorIds(), ElementsAre(kLocPort, Mor(76, 4)));

    Result after = GetNext(77, {P::C(Mor(77, 5)), P::N(kLocPort, 0)});
    ASSERT_THAT(after.MorIds(), ElementsAre(kLocPort, Mor(77, 5), kLocPort));
    EXPECT_EQ(after.At(2).type, 2u);
    EXPECT_EQ(after.U32(2), 2u);  // port 1's power pairs

    // First in the request the index goes with type code 16 and value 0.
    Result first = Get(77, {P::N(kLocPort, 1), P::C(Mor(77, 1))});
    ASSERT_THAT(first.MorIds(), ElementsAre(kLocPort, Mor(77, 1)));
    EXPECT_EQ(first.At(0).type, 16u);
    EXPECT_EQ(first.U32(0), 0u);
}

TEST_F(Dot3LocalTest, ModeZeroCarriesLinkAggregation) {
    auto *get = module().Function<uint32_t(uint32_t, uint32_t, uint8_t *)>("LLDP_mibpub_GetXdot3PortCfg");
    auto *set = module().Function<uint32_t(uint32_t, uint32_t, uint8_t)>("LLDP_mibpub_SetXdot3PortCfg");
    uint8_t bits = 0;
    ASSERT_EQ(get(1, 0, &bits), 0u);
    EXPECT_EQ(bits, 0xF0);
    // Mode 0 switches link aggregation both ways; mode 1 leaves it alone.
    const std::array<uint32_t, 3> cases[] = {{0, 0x80, 1u << LLDP_TLVBIT_MAC_PHY},
                                             {0, 0x20, kLinkAgg},
                                             {1, 0x10, kLinkAgg | (1u << LLDP_TLVBIT_MAX_FRAME)}};
    for (const auto &[mode, written, daemonBits] : cases) {
        ASSERT_EQ(set(1, mode, static_cast<uint8_t>(written)), 0u);
        EXPECT_EQ(lldpv2host::TlvTxMask(1, 1) & kDot3Bits, daemonBits) << mode << "/" << written;
    }
    EXPECT_NE(set(3, 0, 0x20), 0u);  // the daemon's refusal comes back
}

}  // namespace
}  // namespace lldpv2test
