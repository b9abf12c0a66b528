// What neighbours advertised in their IEEE 802.3 TLVs (tables 79 to 81):
// a get decodes the stored TLVs, a get-next takes the daemon's decoded values.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "lldpv2host/scenario.h"
#include "module_fixture.h"

namespace lldpv2test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

constexpr uint32_t kTimeMark = Mor(12, 1);
constexpr uint32_t kPort = Mor(12, 2);
constexpr uint32_t kAgent = Mor(12, 3);
constexpr uint32_t kRemIndex = Mor(12, 4);
constexpr uint32_t kNoEntry = 0x40010003;

// Port 1's neighbour sends all three TLVs, port 2's MAC/PHY only, port
// 101's (node 2) power and frame size.
constexpr char kScenario[] = R"(
nodes: [{id: 1}, {id: 2}]
interfaces:
  - {ifindex: 1, node: 1, type: 18}
  - {ifindex: 2, node: 1, type: 18}
  - {ifindex: 101, node: 2, type: 19}
neighbours:
  - port: 1
    chassis-id: {subtype: local, value: sw-a}
    port-id: {subtype: local, value: p1}
    mac-phy: {autoneg-supported: true, autoneg-enabled: false, advertised-cap: 0x6C01, mau-type: 0x1E10}
    power: {port-class: pse, supported: false, enabled: true, pair-control: true, pairs: 2, class: 4}
    max-frame-size: 1522
  - port: 2
    chassis-id: {subtype: local, value: sw-b}
    port-id: {subtype: local, value: p2}
    mac-phy: {autoneg-supported: false, autoneg-enabled: true, advertised-cap: 0x0001, mau-type: 16}
  - port: 101
    chassis-id: {subtype: local, value: sw-c}
    port-id: {subtype: local, value: p3}
    power: {port-class: pd, supported: true, enabled: false, pair-control: false, pairs: 1, class: 1}
    max-frame-size: 9216
)";

using Tfai = std::array<uint32_t, 4>;

std::vector<uint8_t> U32Bytes(uint32_t v) {
    std::vector<uint8_t> b(4);
    std::memcpy(b.data(), &v, 4);
    return b;
}

// A request to table: the TFAI when given, then the parameters in order
// (a MOR id with a value, or a bare column).
Result Ask(uint32_t opType, uint32_t table, const Tfai *tfai, const std::vector<P> &params) {
    lldpv2host::MorMessage request = lldpv2host::MakeRequest(opType, table);
    if (tfai != nullptr)
        for (uint32_t i = 0; i < 4; ++i) lldpv2host::AddUint32(request, Mor(12, i + 1), (*tfai)[i]);
    for (const P &p : params)
        p.kind == P::Number ? lldpv2host::AddUint32(request, p.morId, p.value) : lldpv2host::AddColumn(request, p.morId);
    Result r;
    r.status = lldpv2host::Deliver(kModuleId, request, r.reply);
    // The power column writer echoes index parameters that come before any
    // column with type code 16; the checks here are about the columns.
    std::erase_if(r.reply.params, [](const lldpv2host::MorParam &p) { return p.type == 16; });
    return r;
}

class Dot3RemoteTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        std::string error;
        ASSERT_TRUE(lldpv2host::LoadScenarioText(kScenario, &error)) << error;
    }
};

TEST_F(Dot3RemoteTest, WalksAndGetsAgreeOnEveryNeighbour) {
    struct Case {
        uint32_t table;
        std::vector<uint32_t> ports, types;
        std::vector<std::vector<uint8_t>> firstRow;  // port 1's neighbour
    };
    const Case cases[] = {
        {79, {1, 2}, {0, 0, 5, 2}, {U32Bytes(1), U32Bytes(2), {0x6C, 0x01}, U32Bytes(0x1E10)}},
        // Support octet 0x0D: PSE, not supported, enabled, pairs controllable.
        {80, {1, 101}, {0, 0, 0, 0, 2, 2},
         {U32Bytes(1), U32Bytes(2), U32Bytes(1), U32Bytes(1), U32Bytes(2), U32Bytes(4)}},
        {81, {1, 101}, {2}, {U32Bytes(1522)}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.table);
        std::vector<P> columns;
        std::vector<uint32_t> expectedIds = {kTimeMark, kPort, kAgent, kRemIndex};
        for (uint32_t col = 1; col <= c.types.size(); ++col) {
            columns.push_back(P::C(Mor(c.table, col)));
            expectedIds.push_back(Mor(c.table, col));
        }
        std::vector<uint32_t> ports;
        Tfai at{};
        Result r = Ask(3, c.table, nullptr, columns);
        for (; r.status == 0 && ports.size() < 10; r = Ask(3, c.table, &at, columns)) {
            ASSERT_THAT(r.MorIds(), ElementsAreArray(expectedIds));
            EXPECT_THAT((std::vector<uint32_t>{r.At(0).type, r.At(1).type, r.At(2).type, r.At(3).type}),
                        ElementsAre(3u, 0u, 2u, 2u));
            at = Tfai{r.U32(0), r.U32(1), r.U32(2), r.U32(3)};
            ports.push_back(at[1]);
            // A get of the row decodes the stored TLVs to the same answer.
            Result get = Ask(1, c.table, &at, columns);
            ASSERT_EQ(get.Count(), columns.size());
            for (size_t i = 0; i < columns.size(); ++i) {
                EXPECT_EQ(r.At(4 + i).type, c.types[i]);
                if (ports.size() == 1) {
                    EXPECT_EQ(r.At(4 + i).value, c.firstRow[i]) << i;
                }
                EXPECT_EQ(get.At(i).morId, columns[i].morId);
                EXPECT_EQ(get.At(i).type, c.types[i]);
                EXPECT_EQ(get.At(i).value, r.At(4 + i).value);
            }
        }
        EXPECT_THAT(ports, ElementsAreArray(c.ports));
        EXPECT_EQ(r.status, kNoEntry);  // the daemon's end of table, untranslated
        EXPECT_EQ(r.ErrorIndex(), kAll);
    }
}

TEST_F(Dot3RemoteTest, RequestErrors) {
    struct Case {
        uint32_t opType, table;
        Tfai tfai;
        uint32_t column, status, position;
    };
    const Case cases[] = {
        {1, 79, {0, 1, 4, 1}, Mor(79, 1), 0x61010058, 2},    // agent out of range
        {1, 79, {0, 999, 1, 1}, Mor(79, 1), 0x61010058, 1},  // no such interface
        {1, 79, {0, 1, 1, 1}, Mor(80, 6), 0x61010052, 4},    // column of another table
        {3, 81, {0, 1, 1, 1}, Mor(78, 1), 0x61010052, 4},
        {1, 80, {0, 2, 1, 1}, Mor(80, 1), 0x61010058, kAll},  // neighbour without the TLV
        {1, 81, {0, 1, 1, 9}, Mor(81, 1), kNoEntry, kAll},    // no such neighbour
        {2, 80, {0, 1, 1, 1}, Mor(80, 1), 0x6101004F, kAll},
        {4, 79, {0, 1, 1, 1}, Mor(79, 1), 0x61010052, kAll},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << c.opType << "/" << c.table << "/" << std::hex << c.status);
        Result r = Ask(c.opType, c.table, &c.tfai, {P::C(c.column)});
        EXPECT_EQ(r.status, c.status);
        EXPECT_EQ(r.ErrorIndex(), c.position);
        EXPECT_EQ(r.Count(), 0u);
    }
    // A get-next goes on from a bad agent: past (port 1, agent 4) comes port 2.
    const Tfai badAgent = {0, 1, 4, 0};
    Result next = Ask(3, 79, &badAgent, {P::C(Mor(79, 4))});
    ASSERT_EQ(next.status, 0u);
    EXPECT_EQ(next.U32(1), 2u);
    EXPECT_EQ(next.U32(4), 16u);
}

TEST_F(Dot3RemoteTest, GetNextPastAnIgnoredIndexPartBlamesTheWholeRequestForLaterFailures) {
    // The bad index part (agent 4, interface 999) is passed over; the
    // daemon's end of the table after it concerns the whole request, not
    // the part that was ignored.
    struct Case {
        uint32_t table;
        Tfai tfai;
    };
    const Case cases[] = {
        {79, {0, 101, 4, 0}},    // no MAC/PHY neighbour after port 101
        {80, {0, 999, 1, 0}},    // nothing after interface 999
        {81, {0, 101, 7, 5}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.table);
        Result r = Ask(3, c.table, &c.tfai, {P::C(Mor(c.table, 1))});
        EXPECT_EQ(r.status, kNoEntry);
        EXPECT_EQ(r.ErrorIndex(), kAll);
        EXPECT_EQ(r.Count(), 0u);
    }
}

TEST_F(Dot3RemoteTest, ColumnWritersTreatIndexParametersDifferently) {
    Result frame = Ask(3, 81, nullptr, {});
    EXPECT_THAT(frame.MorIds(), ElementsAre(kTimeMark, kPort, kAgent, kRemIndex, Mor(81, 1)));

    Result macPhy = Ask(3, 79, nullptr, {P::N(kPort, 0), P::C(Mor(79, 3)), P::N(kRemIndex, 0)});
    EXPECT_THAT(macPhy.MorIds(), ElementsAre(kTimeMark, kPort, kAgent, kRemIndex, Mor(79, 3)));

    // Power: an index parameter echoes the type and value of the column before it.
    Result power =
        Ask(3, 80, nullptr, {P::C(Mor(80, 6)), P::N(kRemIndex, 0), P::C(Mor(80, 1)), P::N(kAgent, 0)});
    ASSERT_THAT(power.MorIds(),
                ElementsAre(kTimeMark, kPort, kAgent, kRemIndex, Mor(80, 6), kRemIndex, Mor(80, 1), kAgent));
    EXPECT_EQ(power.At(5).type, 2u);
    EXPECT_EQ(power.U32(5), 4u);  // power class
    EXPECT_EQ(power.At(7).type, 0u);
    EXPECT_EQ(power.U32(7), 1u);  // port class
}

}  // namespace
}  // namespace lldpv2test
