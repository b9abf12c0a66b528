// The daemons' answers to the client library's remote queries: the order of
// remote rows over the nodes, skipping of nodes that are down, the time-mark
// filter, the per-kind get-next, and the per-node remote sub-table get-next.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "lldpv2/lldp_client.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/switch.h"

namespace {

using namespace lldpv2host;
using Bytes = std::vector<uint8_t>;

void Tlv(Bytes &out, uint8_t type, const Bytes &info) {
    out.push_back(static_cast<uint8_t>((type << 1) | ((info.size() >> 8) & 1)));
    out.push_back(static_cast<uint8_t>(info.size()));
    out.insert(out.end(), info.begin(), info.end());
}
Bytes Text(uint8_t subtype, const std::string &s) {
    Bytes b(1 + s.size(), subtype);
    std::copy(s.begin(), s.end(), b.begin() + 1);
    return b;
}
Bytes PortVlanTlv(uint16_t pvid) {
    Bytes b;
    Tlv(b, 127, {0x00, 0x80, 0xC2, 1, static_cast<uint8_t>(pvid >> 8), static_cast<uint8_t>(pvid)});
    return b;
}
Bytes ManAddrTlv(uint8_t last) {
    Bytes b;
    Tlv(b, 8, {5, 1, 10, 0, 0, last, 2, 0, 0, 0, 7, 0});
    return b;
}
Bytes UnknownTlv(uint8_t type) {
    Bytes b;
    Tlv(b, type, {type});
    return b;
}
Bytes operator+(Bytes a, const Bytes &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
Bytes Lldpdu(const std::string &chassis, const Bytes &extra = {}) {
    Bytes b;
    Tlv(b, 1, Text(7, chassis));
    Tlv(b, 2, Text(5, "eth0"));
    Tlv(b, 3, {0x0E, 0x10});  // one hour
    b.insert(b.end(), extra.begin(), extra.end());
    Tlv(b, 0, {});
    return b;
}

using Row = std::tuple<uint32_t, uint32_t, uint32_t, uint32_t>;  // time mark, port, agent, remote index

std::vector<Row> Walk(uint32_t kind, uint32_t timeMark, size_t resultLen = sizeof(LLDP_REM_SYSTEM_S)) {
    std::vector<Row> rows;
    LLDP_TFAI_S tfai{timeMark, 0, 0, 0};
    std::vector<uint8_t> result(resultLen);
    while (LLDP_mor_GetNextRemTableByTFAI(kind, static_cast<uint32_t>(resultLen), &tfai, result.data()) == 0) {
        rows.emplace_back(tfai.timeMark, tfai.ifIndex, tfai.agent, tfai.remIndex);
        if (rows.size() > 100) break;
    }
    return rows;
}

class DaemonQuery : public ::testing::Test {
protected:
    // Node 1 owns ports 101 and 102, node 2 port 201. Neighbours:
    //   t=100: (102,1,1) with port VLAN, (201,1,1)
    //   t=200: (101,1,1), (101,2,1) with port VLAN
    //   t=300: (102,1,2)
    void SetUp() override {
        ResetSwitch();
        ResetLldp();
        AddNode(1);
        AddNode(2);
        AddInterface(Interface{101, "ge-1/0/1", 1, 21});
        AddInterface(Interface{102, "ge-1/0/2", 1, 21});
        AddInterface(Interface{201, "ge-2/0/1", 2, 21});
        SetClock(100);
        Add(102, 1, Lldpdu("core-sw-1", PortVlanTlv(10)));
        Add(201, 1, Lldpdu("core-sw-2", ManAddrTlv(9)));
        SetClock(200);
        Add(101, 1, Lldpdu("ip-phone-7", ManAddrTlv(2) + ManAddrTlv(1)));
        Add(101, 2, Lldpdu("edge-sw-4", PortVlanTlv(20) + UnknownTlv(60) + UnknownTlv(20)));
        SetClock(300);
        Add(102, 1, Lldpdu("storage-srv-2"));
    }
    static void Add(uint32_t ifIndex, uint32_t agent, const Bytes &pdu) {
        ASSERT_EQ(Receive(ifIndex, agent, pdu).outcome, ReceiveOutcome::Inserted);
    }
};

TEST_F(DaemonQuery, RemoteWalksFollowTimeMarkPortAgentIndexOverUpNodes) {
    struct Case {
        const char *name;
        uint32_t kind;
        uint32_t timeMark;
        size_t resultLen;
        bool node2Up;
        std::vector<Row> rows;
    };
    const std::vector<Case> cases = {
        {"every neighbour once under time mark 0", LLDP_REM_KIND_SYSTEM, 0, sizeof(LLDP_REM_SYSTEM_S), true,
         {{0, 101, 1, 1}, {0, 101, 2, 1}, {0, 102, 1, 1}, {0, 102, 1, 2}, {0, 201, 1, 1}}},
        {"time mark 200 sees rows changed at or after 200", LLDP_REM_KIND_SYSTEM, 200, sizeof(LLDP_REM_SYSTEM_S),
         true, {{200, 101, 1, 1}, {200, 101, 2, 1}, {200, 102, 1, 2}}},
        {"time mark past every change sees nothing", LLDP_REM_KIND_SYSTEM, 301, sizeof(LLDP_REM_SYSTEM_S), true, {}},
        {"a node that is down is skipped", LLDP_REM_KIND_SYSTEM, 0, sizeof(LLDP_REM_SYSTEM_S), false,
         {{0, 101, 1, 1}, {0, 101, 2, 1}, {0, 102, 1, 1}, {0, 102, 1, 2}}},
        {"the port VLAN kind lists only neighbours with a port VLAN id", LLDP_REM_KIND_PORT_VLAN, 0, 2, true,
         {{0, 101, 2, 1}, {0, 102, 1, 1}}},
        {"kind and time mark filter together", LLDP_REM_KIND_PORT_VLAN, 150, 2, true, {{150, 101, 2, 1}}},
        {"no neighbour has power via MDI", LLDP_REM_KIND_POWER, 0, 8, true, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        SetNodeUp(2, c.node2Up);
        EXPECT_EQ(Walk(c.kind, c.timeMark, c.resultLen), c.rows);
    }
}

TEST_F(DaemonQuery, GetNextStartsAfterAnyKeyEvenOneThatIsNoRow) {
    struct Case {
        LLDP_TFAI_S from;
        Row next;
    };
    const Case cases[] = {
        {{0, 101, 1, 1}, {0, 101, 2, 1}},
        {{0, 101, 5, 0}, {0, 102, 1, 1}},  // an agent out of range still positions the search
        {{0, 150, 0, 0}, {0, 201, 1, 1}},  // a port that does not exist too
        {{0, 102, 1, 2}, {0, 201, 1, 1}},  // from node 1's last row to node 2
    };
    for (const Case &c : cases) {
        LLDP_TFAI_S tfai = c.from;
        LLDP_REM_SYSTEM_S rec;
        ASSERT_EQ(LLDP_mor_GetNextRemTableByTFAI(LLDP_REM_KIND_SYSTEM, sizeof rec, &tfai, &rec), 0u);
        EXPECT_EQ(Row(tfai.timeMark, tfai.ifIndex, tfai.agent, tfai.remIndex), c.next);
    }
    LLDP_TFAI_S last{0, 201, 1, 1};
    LLDP_REM_SYSTEM_S rec;
    EXPECT_EQ(LLDP_mor_GetNextRemTableByTFAI(LLDP_REM_KIND_SYSTEM, sizeof rec, &last, &rec), LLDP_ERR_NO_ENTRY);
}

TEST_F(DaemonQuery, SystemRecordIsInNetworkOrder) {
    LLDP_TFAI_S tfai{0, 101, 1, 0};
    LLDP_REM_SYSTEM_S rec;
    ASSERT_EQ(LLDP_mor_GetNextRemTableByTFAI(LLDP_REM_KIND_SYSTEM, sizeof rec, &tfai, &rec), 0u);
    EXPECT_EQ(__builtin_bswap32(rec.chassisIdSubtype), 7u);
    EXPECT_EQ(__builtin_bswap32(rec.chassisIdLen), 10u);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(rec.chassisId), 10), "ip-phone-7");
    EXPECT_EQ(__builtin_bswap32(rec.portIdSubtype), 5u);
    EXPECT_EQ(__builtin_bswap16(rec.lastField), 3600u);
}

TEST_F(DaemonQuery, ExactGetsHonourTheTimeMark) {
    struct Case {
        LLDP_TFAI_S tfai;
        bool found;
    };
    const Case cases[] = {
        {{0, 102, 1, 1}, true},   {{100, 102, 1, 1}, true}, {{101, 102, 1, 1}, false},
        {{300, 102, 1, 2}, true}, {{0, 102, 1, 3}, false},  {{0, 102, 2, 1}, false},
    };
    for (const Case &c : cases) {
        uint8_t buf[8192];
        uint16_t len = 0;
        const uint32_t rc = LLDP_mor_GetRemTableByTFAI(&c.tfai, sizeof buf, buf, &len);
        EXPECT_EQ(rc == 0, c.found) << c.tfai.timeMark << " " << c.tfai.remIndex;
        if (c.found) {
            // 1-byte header, then the TLVs from the chassis id on.
            EXPECT_GT(len, 1);
            EXPECT_EQ(buf[1] >> 1, 1);
        }
    }
    LLDP_TFAI_S tfa{250, 102, 1, 0};
    uint8_t buf[8192];
    uint16_t len = 0;
    ASSERT_EQ(LLDP_mor_GetRemTableByTFA(&tfa, sizeof buf, buf, &len), 0u);
    EXPECT_NE(std::string(reinterpret_cast<char *>(buf), len).find("storage-srv-2"), std::string::npos);
}

// Item 21 walks of one node: (TFAI, sub-index) order, own ports only.
std::vector<std::pair<Row, uint32_t>> SubWalk(uint16_t node, uint32_t selector, uint32_t timeMark) {
    std::vector<std::pair<Row, uint32_t>> rows;
    LLDP_INDEX_PARA_S para;
    LLDP_mor_InitIndexPara(&para);
    para.selector = selector;
    para.tfai.timeMark = timeMark;
    for (int guard = 0; guard < 100; ++guard) {
        uint8_t result[600] = {};
        uint16_t len = selector == LLDP_REMSUB_MANADDR ? 140 : 516;
        if (LLDP_mor_MibGetNext(0, LLDP_ITEM_REM_SUBTABLE, node, &para, &len, result) != 0 || len == 0) break;
        const uint32_t sub = selector == LLDP_REMSUB_MANADDR ? para.manAddr.addr[3] : __builtin_bswap32(para.tlvType);
        rows.push_back({Row(para.tfai.timeMark, para.tfai.ifIndex, para.tfai.agent, para.tfai.remIndex), sub});
    }
    return rows;
}

TEST_F(DaemonQuery, RemoteSubTablesWalkPerNodeInKeyOrder) {
    using SubRows = std::vector<std::pair<Row, uint32_t>>;
    EXPECT_EQ(SubWalk(1, LLDP_REMSUB_MANADDR, 0), (SubRows{{{0, 101, 1, 1}, 1}, {{0, 101, 1, 1}, 2}}));
    EXPECT_EQ(SubWalk(2, LLDP_REMSUB_MANADDR, 0), (SubRows{{{0, 201, 1, 1}, 9}}));
    EXPECT_EQ(SubWalk(1, LLDP_REMSUB_UNKNOWN, 0), (SubRows{{{0, 101, 2, 1}, 20}, {{0, 101, 2, 1}, 60}}));
    EXPECT_EQ(SubWalk(2, LLDP_REMSUB_MANADDR, 150), SubRows{});
    SetNodeUp(2, false);
    LLDP_INDEX_PARA_S para;
    LLDP_mor_InitIndexPara(&para);
    para.selector = LLDP_REMSUB_MANADDR;
    uint8_t result[140];
    uint16_t len = sizeof result;
    EXPECT_NE(LLDP_mor_MibGetNext(0, LLDP_ITEM_REM_SUBTABLE, 2, &para, &len, result), 0u);
}

TEST_F(DaemonQuery, NodeStatisticsComeFromEachNode) {
    struct Case {
        uint16_t node;
        uint32_t inserts;
        uint32_t lastChange;
    };
    for (const Case &c : {Case{1, 4, 300}, Case{2, 1, 100}}) {
        uint8_t buf[512];
        uint16_t len = sizeof buf;
        ASSERT_EQ(LLDP_mor_Get(0, 0, LLDP_ITEM_GLOBAL_STATS, c.node, nullptr, &len, buf), 0u);
        LLDP_GLOBAL_STATS_S stats;
        ASSERT_EQ(LLDP_msg_CreateFromGStatBuf(buf, len, &stats), 0u);
        EXPECT_EQ(stats.inserts, c.inserts);
        EXPECT_EQ(stats.lastChangeTime, c.lastChange);
    }
}

}  // namespace
