// The remote systems table and its sub-tables across a two-node stack.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "stack_fixture.h"

namespace lldpv2test {
namespace {

using ::testing::ElementsAre;

std::vector<uint8_t> Bytes(const std::string &s) { return {s.begin(), s.end()}; }

struct Tfai {
    uint32_t timeMark, port, agent, remIndex;
    bool operator==(const Tfai &) const = default;
};

class RemoteTablesTest : public StackTest {
protected:
    void SetUp() override {
        StackTest::SetUp();
        lldp::Lldpdu a = Neighbour(1, "eth0");
        a.portDesc = "uplink";
        a.sysName = "core-sw-1";
        a.sysDesc = "core switch";
        a.hasSysCap = true;
        a.capSupported = 0x0014;  // bridge, router
        a.capEnabled = 0x0004;    // bridge
        a.manAddrs.push_back({1, {10, 0, 0, 1}, 2, 5, {}});
        a.manAddrs.push_back({2, {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 3, 77, {}});
        a.unknownTlvs.push_back({100, {1, 2, 3}});
        a.unknownTlvs.push_back({9, std::vector<uint8_t>(511, 0xAB)});
        a.orgTlvs.push_back({{0x00, 0x11, 0x22}, 7, Bytes("hello")});
        a.orgTlvs.push_back({{0x00, 0x11, 0x22}, 7, Bytes("world")});
        a.orgTlvs.push_back({{0x00, 0x11, 0x22}, 8, std::vector<uint8_t>(507, 0xCD)});
        auto ra = Receive(kOrdinary, 1, a);
        ASSERT_EQ(ra.outcome, lldpv2host::ReceiveOutcome::Inserted);
        remA = ra.remIndex;

        lldp::Lldpdu b = Neighbour(2, "port-9");
        b.sysName = "storage-srv-2";
        auto rb = Receive(kNode2First, 2, b);
        ASSERT_EQ(rb.outcome, lldpv2host::ReceiveOutcome::Inserted);
        remB = rb.remIndex;
    }

    static Tfai TfaiOf(const Result &r) { return Tfai{r.U32(0), r.U32(1), r.U32(2), r.U32(3)}; }
    static std::vector<P> TfaiParams(const Tfai &t) {
        return {P::N(Mor(12, 1), t.timeMark), P::N(Mor(12, 2), t.port), P::N(Mor(12, 3), t.agent),
                P::N(Mor(12, 4), t.remIndex)};
    }
    static std::vector<P> Concat(std::vector<P> a, const std::vector<P> &b) {
        a.insert(a.end(), b.begin(), b.end());
        return a;
    }

    uint32_t remA = 0;
    uint32_t remB = 0;
};

TEST_F(RemoteTablesTest, WalkListsEveryNeighbourOnceAcrossTheStack) {
    std::vector<Tfai> rows;
    Result r = Send(3, 12, {});
    while (r.status == 0 && rows.size() < 10) {
        ASSERT_EQ(r.Count(), 15u);
        EXPECT_THAT(std::vector<uint32_t>({r.At(0).type, r.At(1).type, r.At(2).type, r.At(3).type}),
                    ElementsAre(3u, 0u, 2u, 2u));
        rows.push_back(TfaiOf(r));
        r = Send(3, 12, TfaiParams(rows.back()));
    }
    EXPECT_NE(r.status, 0u);
    EXPECT_THAT(rows, ElementsAre(Tfai{0, kOrdinary, 1, remA}, Tfai{0, kNode2First, 2, remB}));
}

TEST_F(RemoteTablesTest, GetAnswersAllElevenColumnsInMibForm) {
    const Tfai a{0, kOrdinary, 1, remA};
    // Naming one column answers all eleven, and no index column.
    Result r = Send(1, 12, Concat(TfaiParams(a), {P::C(Mor(12, 10))}));
    ASSERT_EQ(r.status, 0u);
    ASSERT_EQ(r.Count(), 11u);
    EXPECT_EQ(r.At(0).morId, Mor(12, 5));
    EXPECT_EQ(r.U32(0), 4u);  // chassis id subtype: MAC address
    EXPECT_EQ(r.At(1).value, std::vector<uint8_t>({0x02, 0, 0, 0, 0, 1}));
    EXPECT_EQ(r.U32(2), 5u);
    EXPECT_EQ(r.At(3).value, Bytes("eth0"));
    EXPECT_EQ(r.At(4).value, Bytes("uplink"));
    EXPECT_EQ(r.At(5).value, Bytes("core-sw-1"));
    EXPECT_EQ(r.At(6).value, Bytes("core switch"));
    EXPECT_EQ(r.At(7).value, std::vector<uint8_t>({0x28, 0x00}));  // bridge, router
    EXPECT_EQ(r.At(8).value, std::vector<uint8_t>({0x20, 0x00}));  // bridge
    EXPECT_EQ(r.U32(9), 2u);   // remote changes: false
    EXPECT_EQ(r.U32(10), 2u);  // too many neighbours: false

    // The get-next of the row before answers the same columns.
    Result next = Send(3, 12, {});
    ASSERT_EQ(next.status, 0u);
    for (size_t i = 0; i < 11; ++i) EXPECT_EQ(next.At(4 + i).value, r.At(i).value) << i;

    // An empty description answers an empty string.
    Result b = Send(1, 12, TfaiParams({0, kNode2First, 2, remB}));
    ASSERT_EQ(b.status, 0u);
    EXPECT_TRUE(b.At(4).value.empty());
}

TEST_F(RemoteTablesTest, RemoteSystemsIndexErrors) {
    constexpr uint32_t kDaemonNoEntry = 0x40010003;
    constexpr uint32_t kTypeUnreadable = 9;
    lldpv2host::Interface unreadable;
    unreadable.ifIndex = kTypeUnreadable;
    unreadable.name = "port9";
    unreadable.node = 1;
    unreadable.type = 18;
    unreadable.typeReadable = false;
    lldpv2host::AddInterface(unreadable);
    struct Case {
        const char *name;
        std::vector<P> params;
        uint32_t code;
        uint32_t position;
    };
    const Case cases[] = {
        {"column beyond the table", Concat(TfaiParams({0, kOrdinary, 1, remA}), {P::C(Mor(12, 16))}), 0x61010052, 4},
        {"agent 4", TfaiParams({0, kOrdinary, 4, remA}), 0x61010058, 2},
        {"not an LLDP port", TfaiParams({0, kNotLldp, 1, remA}), 0x61010058, 1},
        {"agent not allowed on the port", TfaiParams({0, kSecondClass, 1, 1}), 0x61010058, kAll},
        {"no such neighbour", TfaiParams({0, kOrdinary, 1, remA + 50}), kDaemonNoEntry, kAll},
        {"no neighbour on the agent", TfaiParams({0, kNode2Second, 1, 1}), kDaemonNoEntry, kAll},
        {"port type unreadable", TfaiParams({0, kTypeUnreadable, 1, 1}), 0x61010058, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = Send(1, 12, c.params);
        EXPECT_EQ(r.status, c.code);
        EXPECT_EQ(r.ErrorIndex(), c.position);
        EXPECT_EQ(r.Count(), 0u);
    }
    // A get-next whose port part is bad still goes on from the partial index.
    Result r = Send(3, 12, {P::N(Mor(12, 1), 0), P::N(Mor(12, 2), kNotLldp)});
    ASSERT_EQ(r.status, 0u);
    EXPECT_EQ(TfaiOf(r), (Tfai{0, kNode2First, 2, remB}));
    EXPECT_EQ(Send(2, 12, {}).status, 0x6101004Fu);
}

TEST_F(RemoteTablesTest, ManagementAddressesWalkAndGet) {
    std::vector<std::pair<uint32_t, std::vector<uint8_t>>> keys;
    Result r = Send(3, 13, {});
    while (r.status == 0 && keys.size() < 10) {
        ASSERT_EQ(r.Count(), 9u);
        EXPECT_EQ(TfaiOf(r), (Tfai{0, kOrdinary, 1, remA}));
        EXPECT_EQ(r.At(4).morId, Mor(13, 1));
        keys.emplace_back(r.U32(4), r.At(5).value);
        EXPECT_EQ(r.At(8).type, 7u);
        EXPECT_EQ(r.At(8).value, std::vector<uint8_t>(8, 0));
        r = Send(3, 13, Concat(TfaiParams(TfaiOf(r)), {P::N(Mor(13, 1), r.U32(4)), P::B(Mor(13, 2), r.At(5).value)}));
    }
    EXPECT_EQ(r.status, 0x61010059u);
    ASSERT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys[0], (std::pair<uint32_t, std::vector<uint8_t>>{1, {10, 0, 0, 1}}));
    EXPECT_EQ(keys[1].first, 2u);

    Result get = Send(1, 13, Concat(TfaiParams({0, kOrdinary, 1, remA}),
                                    {P::N(Mor(13, 1), 2), P::B(Mor(13, 2), keys[1].second)}));
    ASSERT_EQ(get.status, 0u);
    ASSERT_THAT(get.MorIds(), ElementsAre(Mor(13, 3), Mor(13, 4), Mor(13, 5)));
    EXPECT_EQ(get.U32(0), 3u);
    EXPECT_EQ(get.U32(1), 77u);

    Result missing = Send(1, 13, Concat(TfaiParams({0, kOrdinary, 1, remA}),
                                        {P::N(Mor(13, 1), 1), P::B(Mor(13, 2), {10, 0, 0, 2})}));
    EXPECT_EQ(missing.status, 0x61010058u);
    EXPECT_EQ(missing.ErrorIndex(), kAll);
    Result tooLong = Send(1, 13, Concat(TfaiParams({0, kOrdinary, 1, remA}),
                                        {P::N(Mor(13, 1), 1), P::B(Mor(13, 2), std::vector<uint8_t>(32, 1))}));
    EXPECT_EQ(tooLong.status, 0x61010058u);
    EXPECT_EQ(tooLong.ErrorIndex(), 5u);
}

TEST_F(RemoteTablesTest, UnknownTlvsWalkAndGet) {
    std::vector<uint32_t> types;
    Result r = Send(3, 14, {});
    while (r.status == 0 && types.size() < 10) {
        ASSERT_EQ(r.Count(), 6u);
        types.push_back(r.U32(4));
        r = Send(3, 14, Concat(TfaiParams(TfaiOf(r)), {P::N(Mor(14, 1), r.U32(4))}));
    }
    EXPECT_THAT(types, ElementsAre(9u, 100u));

    const auto get = [&](uint32_t type) {
        return Send(1, 14, Concat(TfaiParams({0, kOrdinary, 1, remA}), {P::N(Mor(14, 1), type), P::C(Mor(14, 2))}));
    };
    Result info = get(100);
    ASSERT_EQ(info.status, 0u);
    ASSERT_THAT(info.MorIds(), ElementsAre(Mor(14, 2)));
    EXPECT_EQ(info.At(0).value, std::vector<uint8_t>({1, 2, 3}));
    EXPECT_EQ(get(9).At(0).value.size(), 511u);
    // Types outside 9..126 are refused at the type's position; 126 is a valid
    // type that this neighbour does not carry.
    for (uint32_t bad : {8u, 127u}) {
        Result e = get(bad);
        EXPECT_EQ(e.status, 0x61010058u);
        EXPECT_EQ(e.ErrorIndex(), 4u);
    }
    Result absent = get(126);
    EXPECT_EQ(absent.status, 0x61010058u);
    EXPECT_EQ(absent.ErrorIndex(), kAll);
}

TEST_F(RemoteTablesTest, OrganizationallyDefinedTlvsWalkAndGet) {
    struct Row {
        uint32_t subtype, index;
        size_t len;
        bool operator==(const Row &) const = default;
    };
    std::vector<Row> rows;
    Result r = Send(3, 15, {});
    while (r.status == 0 && rows.size() < 10) {
        ASSERT_EQ(r.Count(), 8u);
        EXPECT_EQ(r.At(4).value, std::vector<uint8_t>({0x00, 0x11, 0x22}));
        rows.push_back({r.U32(5), r.U32(6), r.At(7).value.size()});
        r = Send(3, 15, Concat(TfaiParams(TfaiOf(r)), {P::B(Mor(15, 1), r.At(4).value), P::N(Mor(15, 2), r.U32(5)),
                                                       P::N(Mor(15, 3), r.U32(6))}));
    }
    EXPECT_THAT(rows, ElementsAre(Row{7, 1, 5}, Row{7, 2, 5}, Row{8, 1, 507}));

    const auto get = [&](std::vector<uint8_t> oui, uint32_t subtype, uint32_t index) {
        return Send(1, 15, Concat(TfaiParams({0, kOrdinary, 1, remA}),
                                  {P::B(Mor(15, 1), std::move(oui)), P::N(Mor(15, 2), subtype), P::N(Mor(15, 3), index)}));
    };
    Result world = get({0x00, 0x11, 0x22}, 7, 2);
    ASSERT_EQ(world.status, 0u);
    ASSERT_THAT(world.MorIds(), ElementsAre(Mor(15, 4)));
    EXPECT_EQ(world.At(0).value, Bytes("world"));
    EXPECT_EQ(get({0x00, 0x11, 0x22}, 8, 1).At(0).value.size(), 507u);

    struct Bad {
        std::vector<uint8_t> oui;
        uint32_t subtype, index, position;
    };
    const Bad bad[] = {{{0x00, 0x11, 0x22, 0x33}, 7, 1, 4}, {{0x00, 0x11}, 7, 1, 4}, {{0x00, 0x11, 0x22}, 0, 1, 5},
                       {{0x00, 0x11, 0x22}, 256, 1, 5},     {{0x00, 0x11, 0x22}, 7, 0x80000000u, 6}};
    for (const auto &b : bad) {
        Result e = get(b.oui, b.subtype, b.index);
        EXPECT_EQ(e.status, 0x61010058u);
        EXPECT_EQ(e.ErrorIndex(), b.position);
    }
    EXPECT_EQ(get({0x00, 0x11, 0x22}, 7, 3).status, 0x61010058u);
}

TEST_F(RemoteTablesTest, SubTablesAreReadOnly) {
    for (uint32_t table : {13u, 14u, 15u}) {
        EXPECT_EQ(Send(2, table, {}).status, 0x6101004Fu);
        EXPECT_EQ(Send(4, table, {}).status, 0x61010052u);
        EXPECT_EQ(Send(7, table, {}).status, 0u);
    }
}

}  // namespace
}  // namespace lldpv2test
