// What the switch itself advertises: the local system scalars, the local
// port table, the local management addresses across the stack and the
// management-address transmit table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "lldpv2host/scenario.h"
#include "module_fixture.h"

namespace lldpv2test {
namespace {

using ::testing::ElementsAre;

std::vector<uint8_t> Bytes(const std::string &s) { return {s.begin(), s.end()}; }

constexpr char kScenario[] = R"(
system:
  chassis-id: {subtype: mac-address, value: "02:00:5e:10:00:01"}
  name: core-sw-1
  description: "stack of two"
  capabilities: {supported: [bridge, router], enabled: [bridge]}
nodes:
  - id: 1
    management-addresses:
      - {address: 192.0.2.1, if-subtype: 2, if-id: 1}
      - {address: "2001:db8::1", if-subtype: 2, if-id: 3}
  - id: 2
    management-addresses:
      - {address: 192.0.2.2, if-subtype: 3, if-id: 7}
      - {address: 192.0.2.1, if-subtype: 2, if-id: 99}
interfaces:
  - ifindex: 1
    node: 1
    type: 18
    name: ge-1
    lldp:
      port-id: {subtype: interface-name, value: ge-1}
      description: uplink
      agents:
        - agent: 1
          management-address: {address: 192.0.2.1, transmit: true}
  - ifindex: 2
    node: 1
    type: 82
    name: ce-2
    lldp:
      port-id: {subtype: interface-name, value: ce-2}
  - {ifindex: 3, node: 1, type: 7, name: mgmt-3}
  - ifindex: 101
    node: 2
    type: 19
    name: ge-101
    lldp:
      port-id: {subtype: interface-name, value: ge-101}
)";

class LocalTablesTest : public ModuleTest {
protected:
    void SetUp() override {
        ModuleTest::SetUp();
        std::string error;
        ASSERT_TRUE(lldpv2host::LoadScenarioText(kScenario, &error)) << error;
    }
};

TEST_F(LocalTablesTest, LocalSystemScalars) {
    Result r = Get(9, {P::C(Mor(9, 1)), P::C(Mor(9, 2)), P::C(Mor(9, 3)), P::C(Mor(9, 4)), P::C(Mor(9, 5)),
                       P::C(Mor(9, 6))});
    ASSERT_EQ(r.status, 0u);
    ASSERT_EQ(r.Count(), 6u);
    EXPECT_EQ(r.U32(0), 4u);  // MAC address
    EXPECT_EQ(r.At(1).value, std::vector<uint8_t>({0x02, 0x00, 0x5e, 0x10, 0x00, 0x01}));
    EXPECT_EQ(r.At(2).value, Bytes("core-sw-1"));
    EXPECT_EQ(r.At(3).value, Bytes("stack of two"));
    EXPECT_EQ(r.At(4).value, std::vector<uint8_t>({0x28, 0x00}));  // bridge, router
    EXPECT_EQ(r.At(5).value, std::vector<uint8_t>({0x20, 0x00}));  // bridge
    for (size_t i = 1; i < 6; ++i) EXPECT_EQ(r.At(i).type, 5u);

    // Unknown columns do not stop the known ones.
    Result mixed = Get(9, {P::C(Mor(9, 7)), P::C(Mor(9, 3))});
    EXPECT_EQ(mixed.status, 0x61010052u);
    EXPECT_EQ(mixed.ErrorIndex(), kAll);
    EXPECT_THAT(mixed.MorIds(), ElementsAre(Mor(9, 3)));
    EXPECT_EQ(GetNext(9, {P::C(Mor(9, 1))}).status, 0x61010052u);
    EXPECT_EQ(Set(9, {P::N(Mor(9, 1), 1)}).status, 0x6101004Fu);
}

TEST_F(LocalTablesTest, LocalPortsWalkAndGet) {
    std::vector<uint32_t> ports;
    Result r = GetNext(10, {P::C(Mor(10, 2)), P::C(Mor(10, 3)), P::C(Mor(10, 4))});
    while (r.status == 0 && ports.size() < 10) {
        // The index comes first, then the asked columns in request order.
        ASSERT_THAT(r.MorIds(), ElementsAre(Mor(10, 1), Mor(10, 2), Mor(10, 3), Mor(10, 4)));
        ports.push_back(r.U32(0));
        r = GetNext(10, {P::N(Mor(10, 1), r.U32(0)), P::C(Mor(10, 2)), P::C(Mor(10, 3)), P::C(Mor(10, 4))});
    }
    EXPECT_NE(r.status, 0u);
    EXPECT_THAT(ports, ElementsAre(1u, 2u, 101u));

    Result get = Get(10, {P::N(Mor(10, 1), 1), P::C(Mor(10, 1)), P::C(Mor(10, 4)), P::C(Mor(10, 3))});
    ASSERT_EQ(get.status, 0u);
    // A get never echoes the index, even when asked.
    ASSERT_THAT(get.MorIds(), ElementsAre(Mor(10, 4), Mor(10, 3)));
    EXPECT_EQ(get.At(0).value, Bytes("uplink"));
    EXPECT_EQ(get.At(1).value, Bytes("ge-1"));

    Result node2 = Get(10, {P::N(Mor(10, 1), 101), P::C(Mor(10, 3))});
    ASSERT_EQ(node2.status, 0u);
    EXPECT_EQ(node2.At(0).value, Bytes("ge-101"));

    // The customer-bridge-only port passes the lenient port test.
    EXPECT_EQ(Get(10, {P::N(Mor(10, 1), 2), P::C(Mor(10, 2))}).status, 0u);
    for (const auto &params : {std::vector<P>{P::C(Mor(10, 2))}, std::vector<P>{P::N(Mor(10, 1), 3)}}) {
        Result r = Send(1, 10, params);
        EXPECT_EQ(r.status, 0x61010058u);
        EXPECT_EQ(r.ErrorIndex(), 0u);
    }
}

struct ManAddrRow {
    uint32_t subtype;
    std::vector<uint8_t> addr;
    uint32_t ifSubtype;
    uint32_t ifId;
    bool operator==(const ManAddrRow &) const = default;
};

TEST_F(LocalTablesTest, LocalManagementAddressesAcrossTheStack) {
    std::vector<ManAddrRow> rows;
    Result r = GetNext(11, {});
    while (r.status == 0 && rows.size() < 10) {
        ASSERT_THAT(r.MorIds(), ElementsAre(Mor(11, 1), Mor(11, 2), Mor(11, 3), Mor(11, 4), Mor(11, 5), Mor(11, 6)));
        // The length of the subtype and address fields of the TLV.
        EXPECT_EQ(r.U32(2), r.At(1).value.size() + 1);
        EXPECT_EQ(r.At(5).type, 7u);
        EXPECT_EQ(r.At(5).value, std::vector<uint8_t>(8, 0));
        rows.push_back({r.U32(0), r.At(1).value, r.U32(3), r.U32(4)});
        r = GetNext(11, {P::N(Mor(11, 1), r.U32(0)), P::B(Mor(11, 2), r.At(1).value)});
    }
    EXPECT_EQ(r.status, 0x61010059u);
    const std::vector<uint8_t> v6 = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    // 192.0.2.1 lives on both nodes: the first node in the node list wins.
    EXPECT_THAT(rows, ElementsAre(ManAddrRow{1, {192, 0, 2, 1}, 2, 1}, ManAddrRow{1, {192, 0, 2, 2}, 3, 7},
                                  ManAddrRow{2, v6, 2, 3}));

    Result get = Get(11, {P::N(Mor(11, 1), 1), P::B(Mor(11, 2), {192, 0, 2, 2})});
    ASSERT_EQ(get.status, 0u);
    ASSERT_THAT(get.MorIds(), ElementsAre(Mor(11, 3), Mor(11, 4), Mor(11, 5), Mor(11, 6)));
    EXPECT_EQ(get.U32(1), 3u);
    EXPECT_EQ(get.U32(2), 7u);

    struct Case {
        const char *name;
        uint32_t subtype;
        std::vector<uint8_t> addr;
        uint32_t code;
        uint32_t position;
    };
    const Case cases[] = {
        {"32-byte address", 1, std::vector<uint8_t>(32, 1), 0x61010058, 1},
        {"31-byte address passes the check", 1, std::vector<uint8_t>(31, 1), 0x61010058, kAll},
        {"subtype 3", 3, {192, 0, 2, 1}, 0x61010058, 0},
        {"not on any node", 1, {192, 0, 2, 9}, 0x61010058, kAll},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Result e = Get(11, {P::N(Mor(11, 1), c.subtype), P::B(Mor(11, 2), c.addr)});
        EXPECT_EQ(e.status, c.code);
        EXPECT_EQ(e.ErrorIndex(), c.position);
    }
    EXPECT_EQ(GetNext(11, {P::N(Mor(11, 1), 3)}).status, 0x61010059u);
    // Only the nodes that are up are asked.
    lldpv2host::SetNodeUp(2, false);
    EXPECT_EQ(Get(11, {P::N(Mor(11, 1), 1), P::B(Mor(11, 2), {192, 0, 2, 2})}).status, 0x61010058u);
}

TEST_F(LocalTablesTest, ManagementAddressTransmitRowsAreCreatedChangedAndDestroyed) {
    const auto key = [](uint32_t port, uint32_t agent, std::vector<uint8_t> addr) {
        return std::vector<P>{P::N(Mor(5, 1), port), P::N(Mor(5, 2), agent), P::N(Mor(5, 3), 1),
                              P::B(Mor(5, 4), std::move(addr))};
    };
    const auto send = [](uint32_t op, const std::vector<P> &params) { return Send(op, 5, params); };
    const auto with = [](std::vector<P> a, std::initializer_list<P> more) {
        a.insert(a.end(), more);
        return a;
    };

    // The scenario's row answers a get and a walk.
    Result get = send(1, key(1, 1, {192, 0, 2, 1}));
    ASSERT_EQ(get.status, 0u);
    ASSERT_THAT(get.MorIds(), ElementsAre(Mor(5, 5), Mor(5, 6)));
    EXPECT_EQ(get.U32(0), 1u);
    EXPECT_EQ(get.U32(1), 1u);
    Result first = send(3, {});
    ASSERT_EQ(first.status, 0u);
    ASSERT_THAT(first.MorIds(), ElementsAre(Mor(5, 1), Mor(5, 2), Mor(5, 3), Mor(5, 4), Mor(5, 5), Mor(5, 6)));
    EXPECT_EQ(first.U32(0), 1u);
    EXPECT_EQ(first.At(3).value, std::vector<uint8_t>({192, 0, 2, 1}));

    // createAndGo, then the new row is there with its transmit flag.
    Result created = send(2, with(key(1, 2, {192, 0, 2, 2}), {P::N(Mor(5, 5), 1), P::N(Mor(5, 6), 4)}));
    ASSERT_EQ(created.status, 0u);
    Result walk = send(3, key(1, 1, {192, 0, 2, 1}));
    ASSERT_EQ(walk.status, 0u);
    EXPECT_EQ(walk.U32(1), 2u);
    EXPECT_EQ(walk.At(3).value, std::vector<uint8_t>({192, 0, 2, 2}));
    EXPECT_EQ(walk.U32(4), 1u);

    // Change the transmit flag of the row through active.
    ASSERT_EQ(send(2, with(key(1, 2, {192, 0, 2, 2}), {P::N(Mor(5, 5), 2), P::N(Mor(5, 6), 1)})).status, 0u);
    EXPECT_EQ(send(3, key(1, 1, {192, 0, 2, 1})).U32(4), 2u);

    struct Case {
        const char *name;
        std::vector<P> params;
        uint32_t code;
        uint32_t position;
    };
    const Case cases[] = {
        {"createAndWait is not offered", with(key(1, 3, {10, 0, 0, 2}), {P::N(Mor(5, 6), 5)}), 0x61010048, 4},
        {"multicast address", with(key(1, 3, {224, 0, 0, 1}), {P::N(Mor(5, 6), 4)}), 0x61010049, 2},
        {"broadcast address", with(key(1, 3, {255, 255, 255, 255}), {P::N(Mor(5, 6), 4)}), 0x61010049, 2},
        {"second row on the same port and agent", with(key(1, 2, {192, 0, 2, 1}), {P::N(Mor(5, 6), 4)}),
         0x6101004B, kAll},
        // No lldpV2LocManAddrEntry backs the address: the daemon knows no such row.
        {"address that is no local management address", with(key(1, 3, {10, 0, 0, 3}), {P::N(Mor(5, 6), 4)}),
         0x61010049, kAll},
        {"create on a port outside the strict class", with(key(2, 3, {10, 0, 0, 4}), {P::N(Mor(5, 6), 4)}),
         0x61010049, 0},
        {"change without row status on an unknown row", with(key(1, 3, {10, 0, 0, 5}), {P::N(Mor(5, 5), 1)}),
         0x61010050, kAll},
        {"bad agent without row status", with(key(1, 7, {10, 0, 0, 5}), {P::N(Mor(5, 5), 1)}), 0x61010050, 1},
        {"destroy of an unknown row", with(key(1, 3, {10, 0, 0, 6}), {P::N(Mor(5, 6), 6)}), 0, kAll},
        {"destroy on a bad port", with(key(77, 3, {10, 0, 0, 6}), {P::N(Mor(5, 6), 6)}), 0, kAll},
        {"unknown column", with(key(1, 3, {10, 0, 0, 6}), {P::N(Mor(5, 7), 1)}), 0x61010052, 4},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Result r = send(2, c.params);
        EXPECT_EQ(r.status, c.code);
        if (c.code != 0) {
            EXPECT_EQ(r.ErrorIndex(), c.position);
        }
    }

    // Destroy removes the row.
    ASSERT_EQ(send(2, with(key(1, 2, {192, 0, 2, 2}), {P::N(Mor(5, 6), 6)})).status, 0u);
    EXPECT_EQ(send(3, key(1, 1, {192, 0, 2, 1})).status, 0x61010059u);
}

}  // namespace
}  // namespace lldpv2test
