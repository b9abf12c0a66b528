// The daemons' per-port writes and local answers: interface configuration,
// the TLV transmit request forms, management-address transmit entries with
// their codes, and the per-node get-next of local data, DCBX admin rows and
// transmit entries (each node answering for its own ports only).
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "lldpv2/dcbx_lib.h"
#include "lldpv2/lldp_client.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/scenario.h"
#include "lldpv2host/switch.h"

namespace {

using namespace lldpv2host;

const char *kStack =
    "nodes:\n"
    "  - {id: 1, management-addresses: [{address: 192.0.2.1, if-id: 5}, {address: \"2001:db8::1\"}]}\n"
    "  - {id: 2, management-addresses: [{address: 192.0.2.2}]}\n"
    "interfaces:\n"
    "  - ifindex: 1\n"
    "    node: 1\n"
    "    type: gigabit-ethernet\n"
    "    lldp:\n"
    "      vlans: [{id: 10, name: ten}, {id: 20, name: twenty}]\n"
    "      proto-vlans: [{id: 30, supported: true, enabled: false}]\n"
    "      dcbx:\n"
    "        ets: {willing: true, cbs: true, traffic-classes: 4, priority-tc: [0, 1, 2, 3, 0, 1, 2, 3],\n"
    "              bandwidth: [40, 30, 20, 10, 0, 0, 0, 0]}\n"
    "        pfc: {willing: false, mbc: true, cap: 4, enabled: [3, 5]}\n"
    "        applications: [{selector: 2, protocol: 3260, priority: 4}, {selector: 1, protocol: 0x8906, priority: 3}]\n"
    "      agents: [{agent: 1, tlvs: [port-vlan, dcbx]}]\n"
    "  - {ifindex: 2, node: 1, type: aggregate}\n"
    "  - {ifindex: 3, node: 2, type: gigabit-ethernet, lldp: {dcbx: {pfc: {cap: 8}}}}\n"
    "  - {ifindex: 4, node: 2, type: gigabit-ethernet, lldp: {agents: [{agent: 1, tlvs: [port-vlan]}]}}\n";

class DaemonConfig : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(LoadScenarioText(kStack, &error)) << error;
    }
};

LLDP_TLV_CFG_S TlvCfg(uint32_t ifIndex, uint32_t agent) {
    uint8_t buf[4096];
    uint16_t len = 0;
    LLDP_TLV_CFG_S cfg;
    std::memset(&cfg, 0, sizeof cfg);
    EXPECT_EQ(LLDP_mor_MibGet(ifIndex, agent, LLDP_ITEM_TLV_CFG, sizeof buf, buf, &len), 0u);
    EXPECT_EQ(LLDP_util_CreateFromTLVCfgBuf(buf, len, &cfg), 0u);
    return cfg;
}

LLDP_TLV_CFG_REQ_S Request(uint32_t mask, uint32_t word2, uint32_t word3, uint16_t vid = 0) {
    LLDP_TLV_CFG_REQ_S req;
    std::memset(&req, 0, sizeof req);
    req.length = 1044;
    req.mask = mask;
    req.word2 = word2;
    req.word3 = word3;
    if (vid != 0) {
        req.dataLen = 2;
        std::memcpy(req.data, &vid, sizeof vid);
    }
    return req;
}

TEST_F(DaemonConfig, TlvTransmitRequestForms) {
    struct Case {
        const char *name;
        uint32_t startMask;
        uint32_t enable;
        LLDP_TLV_CFG_REQ_S req;
        uint32_t rc;
        uint32_t mask;
    };
    const uint32_t basic = 0x78;
    const uint32_t dot3 = (1u << 15) | (1u << 16) | (1u << 18);
    const Case cases[] = {
        {"basic group replaced", basic | (1u << 8), 1, Request(0x10, 3, 1), 0, 0x10 | (1u << 8)},
        {"basic mask 0 switches all four off", basic, 1, Request(0, 3, 1), 0, 0},
        {"dot3 group replaced, link aggregation kept", dot3 | (1u << 17), 1, Request(1u << 15, 3, 3), 0,
         (1u << 15) | (1u << 17)},
        {"single bits switched on", 0, 1, Request((1u << 8) | (1u << 24), 1, 6), 0, (1u << 8) | (1u << 24)},
        {"single bits switched off", (1u << 11) | 0x8, 0, Request(1u << 11, 1, 6), 0, 0x8},
        {"link aggregation alone", 0, 1, Request(1u << 17, 0, 6), 0, 1u << 17},
        {"unknown group", basic, 1, Request(0x8, 3, 9), LLDP_ERR_BAD_VALUE, basic},
        {"unknown bit", basic, 1, Request(1u << 30, 1, 6), LLDP_ERR_BAD_VALUE, basic},
        {"VLAN of the port", 0, 1, Request(1u << 10, 1, 6, 20), 0, 1u << 10},
        {"VLAN not of the port", 0, 1, Request(1u << 10, 1, 6, 30), LLDP_ERR_BAD_VALUE, 0},
        {"VLAN 4095", 0, 1, Request(1u << 10, 1, 6, 4095), LLDP_ERR_BAD_VALUE, 0},
        {"protocol VLAN id of the port", 0, 1, Request(1u << 9, 1, 6, 30), 0, 1u << 9},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_EQ(SetTlvTxMask(1, 1, c.startMask), 0u);
        EXPECT_EQ(LLDP_mor_SetTlvCfg(1, 1, c.enable, &c.req), c.rc);
        EXPECT_EQ(TlvTxMask(1, 1), c.mask);
    }
    EXPECT_EQ(LLDP_mor_SetTlvCfg(2, 1, 1, &cases[0].req), LLDP_ERR_NO_ENTRY);  // agent 1 on an aggregate
    LLDP_TLV_CFG_S cfg = TlvCfg(1, 1);
    EXPECT_EQ(cfg.entry[LLDP_TLVBIT_VLAN_NAME].hasId, 1);
    EXPECT_EQ(cfg.entry[LLDP_TLVBIT_VLAN_NAME].id, 20);
    EXPECT_EQ(cfg.entry[LLDP_TLVBIT_PROTO_VLAN].id, 30);
    LLDP_util_ClearTLVCfg(&cfg);
    // The DCBX flag reads as 32 bits at byte 264.
    ASSERT_EQ(SetTlvTxMask(1, 1, 1u << LLDP_TLVBIT_DCBX), 0u);
    cfg = TlvCfg(1, 1);
    uint32_t dcbx = 0;
    std::memcpy(&dcbx, reinterpret_cast<const uint8_t *>(&cfg) + 264, sizeof dcbx);
    EXPECT_EQ(dcbx, 1u);
    LLDP_util_ClearTLVCfg(&cfg);
}

LLDP_TLV_CFG_REQ_S ManAddrBlock(const char *ipv4) {
    LLDP_TLV_CFG_REQ_S req = Request(128, 4, 6);
    if (ipv4 != nullptr) {
        LLDP_MANADDR_REC_S rec;
        std::memset(&rec, 0, sizeof rec);
        unsigned a, b, c, d;
        std::sscanf(ipv4, "%u.%u.%u.%u", &a, &b, &c, &d);
        rec.ipv4 = (a << 24) | (b << 16) | (c << 8) | d;
        rec.family = 0;
        req.dataLen = sizeof rec;
        std::memcpy(req.data, &rec, sizeof rec);
    }
    return req;
}

TEST_F(DaemonConfig, ManagementAddressTransmitEntryCodes) {
    struct Step {
        const char *what;
        uint32_t op;
        const char *addr;
        uint16_t tx;
        uint32_t rc;
    };
    const Step steps[] = {
        {"change before create", LLDP_MANADDR_OP_CHANGE, "192.0.2.1", 1, LLDP_ERR_ROW_NOT_READY},
        {"confirm before create", LLDP_MANADDR_OP_CONFIRM, "192.0.2.1", 0, LLDP_ERR_ROW_NOT_READY},
        {"destroy before create", LLDP_MANADDR_OP_DESTROY, "192.0.2.1", 0, LLDP_ERR_NO_SUCH_ROW},
        {"an address no node owns", LLDP_MANADDR_OP_CREATE, "192.0.2.9", 1, LLDP_ERR_NO_SUCH_ROW},
        {"create", LLDP_MANADDR_OP_CREATE, "192.0.2.1", 1, 0},
        {"create again", LLDP_MANADDR_OP_CREATE, "192.0.2.1", 1, LLDP_ERR_ROW_EXISTS},
        {"a second address", LLDP_MANADDR_OP_CREATE, "192.0.2.2", 1, LLDP_ERR_TABLE_FULL},
        {"change", LLDP_MANADDR_OP_CHANGE, "192.0.2.1", 0, 0},
        {"confirm", LLDP_MANADDR_OP_CONFIRM, "192.0.2.1", 0, 0},
        {"destroy another address", LLDP_MANADDR_OP_DESTROY, "192.0.2.9", 0, LLDP_ERR_NO_SUCH_ROW},
        {"destroy without a record", LLDP_MANADDR_OP_DESTROY, nullptr, 0, 0},
        {"unknown operation", 3, "192.0.2.1", 0, LLDP_ERR_BAD_VALUE},
    };
    for (const Step &s : steps) {
        SCOPED_TRACE(s.what);
        const LLDP_TLV_CFG_REQ_S block = ManAddrBlock(s.addr);
        EXPECT_EQ(LLDP_mor_SetV2MibManAddrTlvCfg(1, 1, s.tx, s.op, &block), s.rc);
    }
    const LLDP_TLV_CFG_REQ_S block = ManAddrBlock("192.0.2.1");
    EXPECT_NE(LLDP_mor_SetV2MibManAddrTlvCfg(2, 1, 1, LLDP_MANADDR_OP_CREATE, &block), 0u);
}

TEST_F(DaemonConfig, ManagementAddressEntriesReachTheConfigurationTheLldpduAndTheWalk) {
    const LLDP_TLV_CFG_REQ_S block = ManAddrBlock("192.0.2.1");
    ASSERT_EQ(LLDP_mor_SetV2MibManAddrTlvCfg(1, 2, 1, LLDP_MANADDR_OP_CREATE, &block), 0u);
    LLDP_TLV_CFG_S cfg = TlvCfg(1, 2);
    ASSERT_NE(cfg.entry[LLDP_TLVBIT_MAN_ADDR].data, nullptr);
    const auto *rec = static_cast<const LLDP_MANADDR_REC_S *>(cfg.entry[LLDP_TLVBIT_MAN_ADDR].data);
    EXPECT_EQ(rec->ipv4, 0xC0000201u);
    EXPECT_EQ(cfg.entry[LLDP_TLVBIT_MAN_ADDR].enable, 1);
    LLDP_util_ClearTLVCfg(&cfg);
    const std::vector<uint8_t> pdu = LocalLldpdu(1, 2);
    // Management address TLV: length 12, address string length 5, IPv4, 192.0.2.1, ifIndex subtype, if-id 5.
    const std::string tlv("\x10\x0c\x05\x01\xc0\x00\x02\x01\x02\x00\x00\x00\x05\x00", 14);
    EXPECT_NE(std::string(pdu.begin(), pdu.end()).find(tlv), std::string::npos);

    LLDP_INDEX_PARA_S para;
    LLDP_mor_InitIndexPara(&para);
    LLDP_MANADDR_TX_S tx;
    uint16_t len = sizeof tx;
    ASSERT_EQ(LLDP_mor_MibGetNext(0, LLDP_ITEM_MANADDR_TX, 1, &para, &len, &tx), 0u);
    ASSERT_EQ(len, sizeof tx);
    EXPECT_EQ(__builtin_bswap32(para.ifIndex), 1u);
    EXPECT_EQ(__builtin_bswap32(para.index2), 2u);
    EXPECT_EQ(__builtin_bswap32(tx.txEnable), 1u);
    EXPECT_EQ(__builtin_bswap32(tx.rowStatus), 1u);
    len = sizeof tx;
    ASSERT_EQ(LLDP_mor_MibGetNext(0, LLDP_ITEM_MANADDR_TX, 1, &para, &len, &tx), 0u);
    EXPECT_EQ(len, 0u);
    LLDP_mor_InitIndexPara(&para);
    len = sizeof tx;
    ASSERT_EQ(LLDP_mor_MibGetNext(0, LLDP_ITEM_MANADDR_TX, 2, &para, &len, &tx), 0u);
    EXPECT_EQ(len, 0u);  // node 2 has no entry
}

TEST_F(DaemonConfig, InterfaceConfigurationAndStatus) {
    struct Case {
        uint32_t agent;
        uint32_t value3;
        uint32_t item;
        uint32_t value5;
        uint32_t rc;
        uint8_t admin;
        uint16_t notification;
    };
    const Case cases[] = {
        {1, 1, LLDP_IFCFG_ADMIN_STATUS, 2, 0, 2, 0},
        {1, 1, LLDP_IFCFG_ADMIN_STATUS, 0, 0, 0, 0},
        {1, 1, LLDP_IFCFG_ADMIN_STATUS, 4, LLDP_ERR_BAD_VALUE, 0, 0},
        {1, 1, LLDP_IFCFG_NOTIFICATION, 0xFFFFFFFF, 0, 0, 1},
        {1, 0, LLDP_IFCFG_NOTIFICATION, 0xFFFFFFFF, 0, 0, 0},
        {1, 0, 99, 0, LLDP_ERR_BAD_VALUE, 0, 0},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(LLDP_mor_SetIfCfg(1, c.agent, c.value3, c.item, c.value5), c.rc);
        uint8_t buf[512];
        uint16_t len = 0;
        ASSERT_EQ(LLDP_mor_MibGet(1, c.agent, LLDP_ITEM_IF_STATUS, sizeof buf, buf, &len), 0u);
        LLDP_IF_STATUS_S st;
        ASSERT_EQ(LLDP_msg_CreateFromIfStatusBuf(buf, len, &st), 0u);
        EXPECT_EQ(st.adminStatus, c.admin);
        EXPECT_EQ(st.notification, c.notification);
    }
    EXPECT_EQ(LLDP_mor_SetIfCfg(2, 1, 1, LLDP_IFCFG_ADMIN_STATUS, 3), LLDP_ERR_NO_ENTRY);
    uint8_t buf[512];
    uint16_t len = 0;
    EXPECT_EQ(LLDP_mor_MibGet(2, 1, LLDP_ITEM_IF_STATS, sizeof buf, buf, &len), LLDP_ERR_NO_ENTRY);
    ASSERT_EQ(LLDP_mor_MibGet(2, 2, LLDP_ITEM_IF_STATS, sizeof buf, buf, &len), 0u);
    EXPECT_GE(len, 48);
}

struct Found {
    uint32_t ifIndex;
    uint32_t index2;
    uint32_t index3;
    uint32_t value;
    bool operator==(const Found &) const = default;
};

std::vector<Found> PortWalk(uint32_t item, uint16_t node, uint32_t selector, uint16_t size) {
    std::vector<Found> out;
    LLDP_INDEX_PARA_S para;
    LLDP_mor_InitIndexPara(&para);
    para.selector = selector;
    for (int guard = 0; guard < 100; ++guard) {
        uint8_t result[64] = {};
        uint16_t len = size;
        if (LLDP_mor_MibGetNext(0, item, node, &para, &len, result) != 0 || len == 0) break;
        uint32_t value = 0;
        std::memcpy(&value, result, 4);
        out.push_back({__builtin_bswap32(para.ifIndex), __builtin_bswap32(para.index2), __builtin_bswap32(para.index3),
                       __builtin_bswap32(value)});
    }
    return out;
}

TEST_F(DaemonConfig, PerNodeLocalWalks) {
    struct Case {
        const char *name;
        uint32_t item;
        uint16_t node;
        uint32_t selector;
        uint16_t size;
        std::vector<Found> rows;
    };
    const std::vector<Case> cases = {
        // Port VLAN id 1 in the first two bytes; every port sends it by default.
        {"local port VLAN ids of node 1", LLDP_ITEM_DOT1_LOC, 1, 1, 4, {{1, 0, 0, 1u << 16}, {2, 0, 0, 1u << 16}}},
        {"local port VLAN ids of node 2", LLDP_ITEM_DOT1_LOC, 2, 1, 4, {{3, 0, 0, 1u << 16}, {4, 0, 0, 1u << 16}}},
        {"admin ETS bandwidth rows", LLDP_ITEM_DCBX_ADMIN, 1, 2, 4,
         {{1, 0, 0, 40}, {1, 1, 0, 30}, {1, 2, 0, 20}, {1, 3, 0, 10}, {1, 4, 0, 0}, {1, 5, 0, 0}, {1, 6, 0, 0},
          {1, 7, 0, 0}}},
        {"admin PFC enable rows", LLDP_ITEM_DCBX_ADMIN, 1, 7, 4,
         {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 0, 0}, {1, 3, 0, 1}, {1, 4, 0, 0}, {1, 5, 0, 1}, {1, 6, 0, 0},
          {1, 7, 0, 0}}},
        {"admin applications by selector, then protocol", LLDP_ITEM_DCBX_ADMIN, 1, 8, 4,
         {{1, 1, 0x8906, 3}, {1, 2, 3260, 4}}},
        {"admin PFC of node 2 only", LLDP_ITEM_DCBX_ADMIN, 2, 6, 12, {{3, 0, 0, 0}}},
        {"local traffic classes (4 sent as 4)", LLDP_ITEM_DCBX_LOC, 1, 1, 4, {{1, 0, 0, 4}}},
        {"local PFC only where the LLDPDU carries it", LLDP_ITEM_DCBX_LOC, 2, 10, 4, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(PortWalk(c.item, c.node, c.selector, c.size), c.rows);
    }
    uint8_t buf[4096];
    uint16_t len = 0;
    ASSERT_EQ(LLDP_mor_MibGet(1, 1, LLDP_ITEM_DCBX_ADMIN, sizeof buf, buf, &len), 0u);
    ASSERT_GE(len, DCBX_ADMIN_MIN_LEN);
    DCBX_ADMIN_S admin;
    std::memcpy(&admin, buf, sizeof admin);
    EXPECT_EQ(__builtin_bswap16(admin.etsStatus), 1);
    EXPECT_EQ(admin.etsFirst, 0x80 | 0x40 | 4);
    EXPECT_EQ(admin.priorityTc[0], 0x01);
    EXPECT_EQ(admin.pfcFirst, 0x40 | 4);
    EXPECT_EQ(admin.pfcEnable, (1 << 3) | (1 << 5));
    EXPECT_EQ(__builtin_bswap32(admin.appCount), 2u);
}

TEST_F(DaemonConfig, LocalManagementAddressesPerNode) {
    std::vector<std::pair<uint16_t, std::vector<uint8_t>>> walk;
    for (uint16_t node : {1, 2}) {
        LLDP_INDEX_PARA_S para;
        LLDP_mor_InitIndexPara(&para);
        para.selector = 2;
        for (int guard = 0; guard < 10; ++guard) {
            LLDP_LOC_MANADDR_S rec;
            uint16_t len = sizeof rec;
            if (LLDP_mor_MibGetNext(0, LLDP_ITEM_LOC_MANADDR, node, &para, &len, &rec) != 0 || len == 0) break;
            const uint32_t n = __builtin_bswap32(para.manAddr.len);
            walk.push_back({node, std::vector<uint8_t>(para.manAddr.addr, para.manAddr.addr + n)});
            EXPECT_EQ(__builtin_bswap32(rec.addrLen), n + 1);
        }
    }
    ASSERT_EQ(walk.size(), 3u);
    EXPECT_EQ(walk[0].second, (std::vector<uint8_t>{192, 0, 2, 1}));  // IPv4 before IPv6
    EXPECT_EQ(walk[1].second.size(), 16u);
    EXPECT_EQ(walk[2], (std::pair<uint16_t, std::vector<uint8_t>>{2, {192, 0, 2, 2}}));
    LLDP_INDEX_PARA_S para;
    LLDP_mor_InitIndexPara(&para);
    para.manAddr.subtype = __builtin_bswap32(1);
    para.manAddr.len = __builtin_bswap32(4);
    const uint8_t addr[4] = {192, 0, 2, 1};
    std::memcpy(para.manAddr.addr, addr, 4);
    LLDP_LOC_MANADDR_S rec;
    uint16_t len = sizeof rec;
    ASSERT_EQ(LLDP_mor_Get(0, 1, LLDP_ITEM_LOC_MANADDR, 1, &para, &len, &rec), 0u);
    EXPECT_EQ(__builtin_bswap32(rec.ifId), 5u);
    len = sizeof rec;
    EXPECT_EQ(LLDP_mor_Get(0, 1, LLDP_ITEM_LOC_MANADDR, 2, &para, &len, &rec), LLDP_ERR_NO_ENTRY);
}

}  // namespace
