// Neighbour tables on the edges the default data never reaches: flags that
// are true, rows spread over two nodes with ties between them, information
// longer than its column, and management-address slots that share a subtype.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "lldp/lldpdu.h"
#include "lldpv2/lldp_client.h"
#include "lldpv2host/scenario.h"
#include "module_fixture.h"

namespace lldpv2test {
namespace {

namespace lldp = lldpv2host::lldp;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

constexpr uint32_t kNoInstance = 0x61010058;

// Port 5 is on node 2, ports 10 and 20 on node 1: in (port) order the rows
// of the later node come first. Each port has one neighbour on agent 1.
constexpr char kScenario[] = R"(
nodes: [{id: 1}, {id: 2}]
interfaces:
  - ifindex: 5
    node: 2
    type: 18
    lldp: {pvid: 50, vlans: [{id: 50, name: fifty}], agents: [{agent: 1, tlvs: [port-vlan, vlan-name]}]}
  - ifindex: 10
    node: 1
    type: 18
    lldp: {pvid: 100, vlans: [{id: 100, name: hundred}], agents: [{agent: 1, tlvs: [port-vlan, vlan-name]}]}
  - {ifindex: 20, node: 1, type: 18}
neighbours:
  - port: 5
    chassis-id: {subtype: local, value: n5}
    port-id: {subtype: local, value: p5}
    management-addresses: [{address: 198.51.100.5, if-subtype: 2, if-id: 5}]
    unknown-tlvs: [{type: 100, info: "05"}]
    org-tlvs: [{oui: "ac-de-48", subtype: 1, info: "05"}]
  - port: 10
    chassis-id: {subtype: local, value: n10}
    port-id: {subtype: local, value: p10}
    management-addresses: [{address: 198.51.100.11, if-subtype: 2, if-id: 11},
                           {address: 198.51.100.10, if-subtype: 2, if-id: 10}]
    unknown-tlvs: [{type: 100, info: "0a"}, {type: 30, info: "0b"}]
    org-tlvs: [{oui: "ac-de-48", subtype: 1, info: "01"}, {oui: "ac-de-48", subtype: 1, info: "02"}]
  - port: 20
    chassis-id: {subtype: local, value: n20}
    port-id: {subtype: local, value: p20}
    management-addresses: [{address: "2001:db8::20", if-subtype: 2, if-id: 20}]
    unknown-tlvs: [{type: 126, info: "20"}]
    org-tlvs: [{oui: "00-11-22", subtype: 3, info: "20"}]
)";

constexpr uint32_t kTfaiIds[] = {Mor(12, 1), Mor(12, 2), Mor(12, 3), Mor(12, 4)};

// A table walked by one column: its index columns after the local port or
// the TFAI, and the column read.
struct WalkedTable {
    uint32_t table;
    bool remote;                     // indexed by the TFAI, else by the local port
    std::vector<uint32_t> subIndex;  // the table's own index columns
    uint32_t column;
};

// A walked row: the port of its index and the column's value, as a number
// when it has 4 octets and the column is not an octet string.
struct Row {
    uint32_t port;
    std::vector<uint8_t> value;
    bool operator==(const Row &) const = default;
};

void PrintTo(const Row &r, std::ostream *os) {
    *os << "{" << r.port << ":";
    for (uint8_t b : r.value) *os << " " << static_cast<int>(b);
    *os << "}";
}

std::vector<uint8_t> U32Bytes(uint32_t v) {
    std::vector<uint8_t> b(4);
    std::memcpy(b.data(), &v, 4);
    return b;
}

std::vector<Row> Walk(const WalkedTable &t) {
    std::vector<Row> rows;
    std::vector<lldpv2host::MorParam> from;
    for (size_t guard = 0; guard < 50; ++guard) {
        lldpv2host::MorMessage request = lldpv2host::MakeRequest(3, t.table);
        request.params = from;
        lldpv2host::AddColumn(request, t.column);
        lldpv2host::MorMessage reply;
        if (lldpv2host::Deliver(kModuleId, request, reply) != 0) break;
        from.clear();
        std::vector<uint32_t> ids;
        if (t.remote) {
            ids.assign(std::begin(kTfaiIds), std::end(kTfaiIds));
        } else {
            ids.push_back(Mor(10, 1));
        }
        ids.insert(ids.end(), t.subIndex.begin(), t.subIndex.end());
        for (uint32_t id : ids) {
            const lldpv2host::MorParam *p = lldpv2host::FindParam(reply, id);
            if (p == nullptr) {
                ADD_FAILURE() << "no index " << std::hex << id << " in " << lldpv2host::Describe(reply);
                return rows;
            }
            from.push_back(*p);
        }
        const lldpv2host::MorParam *value = lldpv2host::FindParam(reply, t.column);
        if (value == nullptr) {
            ADD_FAILURE() << lldpv2host::Describe(reply);
            return rows;
        }
        rows.push_back(Row{lldpv2host::ParamU32(from[t.remote ? 1 : 0]), value->value});
    }
    return rows;
}

const WalkedTable kManAddr{13, true, {Mor(13, 1), Mor(13, 2)}, Mor(13, 4)};
const WalkedTable kUnknown{14, true, {Mor(14, 1)}, Mor(14, 2)};
const WalkedTable kOrgDef{15, true, {Mor(15, 1), Mor(15, 2), Mor(15, 3)}, Mor(15, 4)};
const WalkedTable kPortVlan{27, false, {}, Mor(27, 1)};
const WalkedTable kVlanName{29, false, {Mor(29, 1)}, Mor(29, 2)};

class RemoteEdgesTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        std::string error;
        ASSERT_TRUE(lldpv2host::LoadScenarioText(kScenario, &error)) << error;
    }

    static std::vector<P> TfaiParams(uint32_t port, uint32_t agent, uint32_t remIndex) {
        return {P::N(kTfaiIds[0], 0), P::N(kTfaiIds[1], port), P::N(kTfaiIds[2], agent), P::N(kTfaiIds[3], remIndex)};
    }
    static std::vector<P> With(std::vector<P> a, std::initializer_list<P> b) {
        a.insert(a.end(), b);
        return a;
    }
    static lldp::Lldpdu Pdu(const std::string &chassis) {
        lldp::Lldpdu pdu;
        pdu.chassisIdSubtype = 7;
        pdu.chassisId.assign(chassis.begin(), chassis.end());
        pdu.portId = {'p'};
        return pdu;
    }
};

TEST_F(RemoteEdgesTest, SubTableWalksTakeTheSmallestEntryOverTheNodes) {
    // Node 2's port 5 comes first although node 1 is asked first.
    EXPECT_THAT(Walk(kManAddr), ElementsAre(Row{5, U32Bytes(5)}, Row{10, U32Bytes(10)}, Row{10, U32Bytes(11)},
                                            Row{20, U32Bytes(20)}));
    EXPECT_THAT(Walk(kUnknown), ElementsAre(Row{5, {0x05}}, Row{10, {0x0b}}, Row{10, {0x0a}}, Row{20, {0x20}}));
    EXPECT_THAT(Walk(kOrgDef), ElementsAre(Row{5, {0x05}}, Row{10, {0x01}}, Row{10, {0x02}}, Row{20, {0x20}}));
    EXPECT_THAT(Walk(kPortVlan), ElementsAre(Row{5, U32Bytes(50)}, Row{10, U32Bytes(100)}, Row{20, U32Bytes(1)}));
    EXPECT_THAT(Walk(kVlanName), ElementsAre(Row{5, {'f', 'i', 'f', 't', 'y'}},
                                             Row{10, {'h', 'u', 'n', 'd', 'r', 'e', 'd'}}));
}

// Tells apart the answers of a node that answers like another: a changed
// octet in each result the walks read.
void Alter(uint32_t item, uint32_t selector, uint8_t *result, uint16_t len) {
    if (item == LLDP_ITEM_REM_SUBTABLE) {
        if (selector == LLDP_REMSUB_MANADDR && len >= 8) result[7] ^= 0x01;  // interface number, low octet
        if ((selector == LLDP_REMSUB_UNKNOWN || selector == LLDP_REMSUB_ORGDEF) && len > 4) result[4] ^= 0xFF;
    } else if (item == LLDP_ITEM_DOT1_LOC) {
        if (selector == 1 && len >= 2) result[1] ^= 0x01;  // the VLAN id, low octet
        if (selector == 3 && len >= 1) result[0] ^= 0x20;  // the name's first letter
    }
}

TEST_F(RemoteEdgesTest, OnATieBetweenNodesTheEarlierNodeKeepsItsEntry) {
    // Node 1 answers node 2's rows, altered: every key ties, and node 1's
    // altered answer, asked first, stands.
    lldpv2host::testing::AnswerLike(1, 2, Alter);
    EXPECT_THAT(Walk(kManAddr), ElementsAre(Row{5, U32Bytes(4)}));
    EXPECT_THAT(Walk(kUnknown), ElementsAre(Row{5, {0xFA}}));
    EXPECT_THAT(Walk(kOrgDef), ElementsAre(Row{5, {0xFA}}));
    EXPECT_THAT(Walk(kPortVlan), ElementsAre(Row{5, U32Bytes(51)}));
    EXPECT_THAT(Walk(kVlanName), ElementsAre(Row{5, {'F', 'i', 'f', 't', 'y'}}));

    // The other way round node 1's own answers stand, unaltered.
    lldpv2host::testing::ResetTesting();
    lldpv2host::testing::AnswerLike(2, 1, Alter);
    EXPECT_THAT(Walk(kManAddr), ElementsAre(Row{10, U32Bytes(10)}, Row{10, U32Bytes(11)}, Row{20, U32Bytes(20)}));
    EXPECT_THAT(Walk(kUnknown), ElementsAre(Row{10, {0x0b}}, Row{10, {0x0a}}, Row{20, {0x20}}));
    EXPECT_THAT(Walk(kOrgDef), ElementsAre(Row{10, {0x01}}, Row{10, {0x02}}, Row{20, {0x20}}));
    EXPECT_THAT(Walk(kPortVlan), ElementsAre(Row{10, U32Bytes(100)}, Row{20, U32Bytes(1)}));
    EXPECT_THAT(Walk(kVlanName), ElementsAre(Row{10, {'h', 'u', 'n', 'd', 'r', 'e', 'd'}}));
}

TEST_F(RemoteEdgesTest, RemoteChangesAndTooManyNeighboursReadTrue) {
    ASSERT_EQ(lldpv2host::SetNeighbourLimit(20, 1), 0u);
    lldp::Lldpdu a = Pdu("changing");
    a.sysName = "before";
    const lldpv2host::ReceiveResult first = lldpv2host::Receive(20, 2, lldp::EncodeLldpdu(a));
    ASSERT_EQ(first.outcome, lldpv2host::ReceiveOutcome::Inserted);
    a.sysName = "after";
    ASSERT_EQ(lldpv2host::Receive(20, 2, lldp::EncodeLldpdu(a)).outcome, lldpv2host::ReceiveOutcome::Updated);
    ASSERT_EQ(lldpv2host::Receive(20, 2, lldp::EncodeLldpdu(Pdu("one-too-many"))).outcome,
              lldpv2host::ReceiveOutcome::Dropped);

    // {port, agent, remote changes, too many}: only the changed neighbour of
    // the agent that dropped one reads true.
    const std::array<uint32_t, 4> rows[] = {{20, 1, 2, 2}, {20, 2, 1, 1}};
    for (const auto &[port, agent, changes, tooMany] : rows) {
        SCOPED_TRACE(testing::Message() << port << "/" << agent);
        const uint32_t remIndex = agent == 2 ? first.remIndex : 1;
        Result get = Send(1, 12, With(TfaiParams(port, agent, remIndex), {P::C(Mor(12, 14))}));
        ASSERT_EQ(get.status, 0u);
        ASSERT_EQ(get.Count(), 11u);
        EXPECT_EQ(get.U32(9), changes);
        EXPECT_EQ(get.U32(10), tooMany);
        // The get-next of the row before answers the same flags.
        Result next = Send(3, 12, TfaiParams(port, agent, remIndex - 1));
        ASSERT_EQ(next.status, 0u);
        ASSERT_EQ(next.Count(), 15u);
        EXPECT_EQ(next.U32(1), port);
        EXPECT_EQ(next.U32(2), agent);
        EXPECT_EQ(next.U32(13), changes);
        EXPECT_EQ(next.U32(14), tooMany);
    }
}

TEST_F(RemoteEdgesTest, InformationLongerThanItsColumnIsCut) {
    lldp::Lldpdu pdu = Pdu("long");
    pdu.unknownTlvs.push_back({50, std::vector<uint8_t>(505, 0x11)});
    pdu.orgTlvs.push_back({{0x00, 0x11, 0x22}, 9, std::vector<uint8_t>(505, 0x22)});
    const lldpv2host::ReceiveResult r = lldpv2host::Receive(20, 2, lldp::EncodeLldpdu(pdu));
    ASSERT_EQ(r.outcome, lldpv2host::ReceiveOutcome::Inserted);
    const std::vector<P> unknownGet = With(TfaiParams(20, 2, r.remIndex), {P::N(Mor(14, 1), 50), P::C(Mor(14, 2))});
    const std::vector<P> orgGet = With(TfaiParams(20, 2, r.remIndex),
                                       {P::B(Mor(15, 1), {0x00, 0x11, 0x22}), P::N(Mor(15, 2), 9),
                                        P::N(Mor(15, 3), 1), P::C(Mor(15, 4))});
    // The row before each, for the get-next.
    const std::vector<P> unknownNext = With(TfaiParams(20, 2, r.remIndex), {P::N(Mor(14, 1), 49), P::C(Mor(14, 2))});
    const std::vector<P> orgNext = With(TfaiParams(20, 2, r.remIndex),
                                        {P::B(Mor(15, 1), {0x00, 0x11, 0x22}), P::N(Mor(15, 2), 9),
                                         P::N(Mor(15, 3), 0), P::C(Mor(15, 4))});
    struct Case {
        uint32_t filler;
        size_t unknownLen, orgLen;  // octets answered: the TLV's, then filler, at most 511 and 507
    };
    const Case cases[] = {{0, 505, 505}, {2, 507, 507}, {6, 511, 507}, {10, 511, 507}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.filler);
        lldpv2host::testing::SetTlvInfoFiller(c.filler);
        // The TLVs' 505 octets, then filler up to the length answered.
        std::vector<uint8_t> unknown(c.unknownLen, lldpv2host::testing::kTlvInfoFillerOctet);
        std::fill_n(unknown.begin(), 505, 0x11);
        std::vector<uint8_t> org(c.orgLen, lldpv2host::testing::kTlvInfoFillerOctet);
        std::fill_n(org.begin(), 505, 0x22);

        Result get = Send(1, 14, unknownGet);
        ASSERT_EQ(get.status, 0u);
        EXPECT_EQ(get.At(0).value, unknown);
        Result next = Send(3, 14, unknownNext);
        ASSERT_EQ(next.status, 0u);
        EXPECT_EQ(lldpv2host::FindParam(next.reply, Mor(14, 2))->value, unknown);

        get = Send(1, 15, orgGet);
        ASSERT_EQ(get.status, 0u);
        EXPECT_EQ(get.At(0).value, org);
        next = Send(3, 15, orgNext);
        ASSERT_EQ(next.status, 0u);
        EXPECT_EQ(lldpv2host::FindParam(next.reply, Mor(15, 4))->value, org);
    }
}

TEST_F(RemoteEdgesTest, AddressIsSearchedOnlyInTheFirstSlotOfItsSubtype) {
    lldp::Lldpdu pdu = Pdu("addresses");
    pdu.manAddrs.push_back({1, {10, 0, 0, 1}, 2, 1, {}});
    pdu.manAddrs.push_back({1, {10, 0, 0, 2}, 2, 2, {}});
    pdu.manAddrs.push_back({2, std::vector<uint8_t>(16, 0x20), 2, 3, {}});
    const lldpv2host::ReceiveResult r = lldpv2host::Receive(20, 3, lldp::EncodeLldpdu(pdu));
    ASSERT_EQ(r.outcome, lldpv2host::ReceiveOutcome::Inserted);
    const auto get = [&](uint32_t subtype, std::vector<uint8_t> addr) {
        return Send(1, 13, With(TfaiParams(20, 3, r.remIndex),
                                {P::N(Mor(13, 1), subtype), P::B(Mor(13, 2), std::move(addr)), P::C(Mor(13, 4))}));
    };
    // With one slot per address, 10.0.0.2 lies in a second slot of subtype 1,
    // after the slot of 10.0.0.1: the get looks in the first one only. (The
    // walk, which asks the daemon, still lists it: get and walk disagree on
    // such a neighbour.)
    for (bool slotPerAddress : {false, true}) {
        SCOPED_TRACE(slotPerAddress);
        lldpv2host::testing::SetManAddrSlotPerAddress(slotPerAddress);
        const std::pair<Result, uint32_t> cases[] = {
            {get(1, {10, 0, 0, 1}), 1},
            {get(1, {10, 0, 0, 2}), slotPerAddress ? 0 : 2},
            {get(2, std::vector<uint8_t>(16, 0x20)), 3},
        };
        for (const auto &[result, ifId] : cases) {
            if (ifId == 0) {
                EXPECT_EQ(result.status, kNoInstance);
                EXPECT_EQ(result.ErrorIndex(), kAll);
                EXPECT_EQ(result.Count(), 0u);
            } else {
                ASSERT_EQ(result.status, 0u);
                ASSERT_EQ(result.Count(), 3u);
                EXPECT_EQ(result.U32(1), ifId);
            }
        }
    }
}

}  // namespace
}  // namespace lldpv2test
