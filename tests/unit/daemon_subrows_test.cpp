// The remote sub-tables' get-next (item 21) against the rows a decoding of
// the neighbour's LLDPDU gives: sub-indexes in order, equal sub-indexes
// answered once (the first TLV), every result as decoded, and get-next from
// keys that name no row.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "lldp/lldpdu.h"
#include "lldpv2/lldp_client.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/switch.h"

namespace {

using namespace lldpv2host;
using Bytes = std::vector<uint8_t>;

Bytes operator+(Bytes a, const Bytes &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
void Put32(Bytes &out, uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) out.push_back(static_cast<uint8_t>(v >> s));
}
Bytes U32(uint32_t v) {
    Bytes b;
    Put32(b, v);
    return b;
}
Bytes Index(uint32_t k2, uint32_t k3) { return U32(k2) + U32(k3); }
// memcpy that takes the empty vectors' null data.
void Copy(void *to, const Bytes &from) {
    if (!from.empty()) std::memcpy(to, from.data(), from.size());
}
Bytes Raw(const void *p, size_t n) { return Bytes(static_cast<const uint8_t *>(p), static_cast<const uint8_t *>(p) + n); }

// A row: its sub-index in byte-comparable form, and its result.
struct Row {
    Bytes order;
    Bytes result;
    bool operator==(const Row &) const = default;
};


Bytes ManOrder(uint32_t subtype, const Bytes &addr) { return U32(subtype) + U32(static_cast<uint32_t>(addr.size())) + addr; }

// The rows of one neighbour's sub-table, from its decoded information.
// Octet-wise order of two sub-indexes, written out: g++ 12 at -O3 misreads
// the library's memcmp-based vector comparison inlined into stable_sort as
// a read beyond any object.
bool OctetsLess(const Bytes &a, const Bytes &b) {
    const size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
        if (a[i] != b[i]) return a[i] < b[i];
    }
    return a.size() < b.size();
}

std::vector<Row> Reference(uint32_t selector, const lldp::Lldpdu &pdu) {
    std::vector<Row> rows;
    auto eight = [&](const std::array<uint8_t, 8> &v) {
        for (uint32_t i = 0; i < 8; ++i) rows.push_back({Index(i, 0), U32(v[i])});
    };
    switch (selector) {
        case LLDP_REMSUB_MANADDR:
            for (const auto &m : pdu.manAddrs) {
                LLDP_REM_MANADDR_REC_S rec{};
                rec.ifSubtype = __builtin_bswap32(m.ifSubtype);
                rec.ifId = __builtin_bswap32(m.ifId);
                Copy(rec.reserved, m.oid);
                rec.tail = __builtin_bswap32(static_cast<uint32_t>(m.oid.size()));
                rows.push_back({ManOrder(m.subtype, m.address), Raw(&rec, sizeof rec)});
            }
            break;
        case LLDP_REMSUB_UNKNOWN:
            for (const auto &u : pdu.unknownTlvs) {
                LLDP_REM_UNKNOWN_REC_S rec{};
                Copy(rec.info, u.info);
                rec.len = __builtin_bswap32(static_cast<uint32_t>(u.info.size()));
                rows.push_back({U32(u.type), Raw(&rec, sizeof rec)});
            }
            break;
        case LLDP_REMSUB_ORGDEF: {
            std::map<std::pair<lldp::Oui, uint8_t>, uint32_t> seen;
            for (const auto &o : pdu.orgTlvs) {
                LLDP_REM_ORGDEF_REC_S rec{};
                Copy(rec.info, o.info);
                rec.len = __builtin_bswap32(static_cast<uint32_t>(o.info.size()));
                const Bytes order = Bytes(o.oui.begin(), o.oui.end()) + U32(3) + U32(o.subtype) + U32(++seen[{o.oui, o.subtype}]);
                rows.push_back({order, Raw(&rec, sizeof rec)});
            }
            break;
        }
        case LLDP_REMSUB_ETS_BANDWIDTH: eight(pdu.etsConfig->bandwidth); break;
        case LLDP_REMSUB_ETS_TSA: eight(pdu.etsConfig->tsa); break;
        case LLDP_REMSUB_ETS_PRIORITY: eight(pdu.etsConfig->priorityTc); break;
        case LLDP_REMSUB_RECO_BANDWIDTH: eight(pdu.etsRecommendation->bandwidth); break;
        case LLDP_REMSUB_RECO_TSA: eight(pdu.etsRecommendation->tsa); break;
        case LLDP_REMSUB_PFC_ENABLE:
            for (uint32_t p = 0; p < 8; ++p) rows.push_back({Index(p, 0), U32((pdu.pfc->enable >> p) & 1u)});
            break;
        case LLDP_REMSUB_APP_PRIORITY:
            for (const auto &a : *pdu.appPriority) rows.push_back({Index(a.selector, a.protocol), U32(a.priority)});
            break;
        case LLDP_REMSUB_PROTO_VLAN:
            for (const auto &p : pdu.protoVlans) {
                rows.push_back({Index(p.ppvid, 0), U32((p.flags & lldp::kPpvidSupported) ? 1 : 0) +
                                                       U32((p.flags & lldp::kPpvidEnabled) ? 1 : 0)});
            }
            break;
        case LLDP_REMSUB_VLAN_NAME:
            for (const auto &v : pdu.vlanNames) {
                Bytes r(40, 0);
                std::copy(v.name.begin(), v.name.end(), r.begin());
                r[39] = static_cast<uint8_t>(v.name.size());
                rows.push_back({Index(v.vid, 0), r});
            }
            break;
        case LLDP_REMSUB_PROTOCOL: {
            uint32_t i = 0;
            for (const Bytes &id : pdu.protocolIds) {
                Bytes r = U32(static_cast<uint32_t>(id.size())) + id;
                r.resize(260, 0);
                rows.push_back({Index(++i, 0), r});
            }
            break;
        }
        case LLDP_REMSUB_VID_USAGE_DIGEST:
            rows.push_back({Index(0, 0), Bytes(pdu.vidUsageDigest->begin(), pdu.vidUsageDigest->end())});
            break;
        case LLDP_REMSUB_MAN_VID:
            rows.push_back({Index(0, 0), Bytes{static_cast<uint8_t>(*pdu.managementVid >> 8),
                                               static_cast<uint8_t>(*pdu.managementVid), 0, 0}});
            break;
        default: break;
    }
    std::stable_sort(rows.begin(), rows.end(), [](const Row &a, const Row &b) { return OctetsLess(a.order, b.order); });
    rows.erase(std::unique(rows.begin(), rows.end(), [](const Row &a, const Row &b) { return a.order == b.order; }),
               rows.end());
    return rows;
}

// The sub-index a request or an answer carries, as Reference orders it.
Bytes OrderOf(uint32_t selector, const LLDP_INDEX_PARA_S &p) {
    switch (selector) {
        case LLDP_REMSUB_MANADDR: {
            const uint32_t n = __builtin_bswap32(p.manAddr.len);
            return ManOrder(__builtin_bswap32(p.manAddr.subtype), Bytes(p.manAddr.addr, p.manAddr.addr + n));
        }
        case LLDP_REMSUB_UNKNOWN: return U32(__builtin_bswap32(p.tlvType));
        case LLDP_REMSUB_ORGDEF:
            return Bytes(p.orgDef.oui, p.orgDef.oui + 3) + U32(__builtin_bswap32(p.orgDef.ouiLen)) +
                   U32(__builtin_bswap32(p.orgDef.subtype)) + U32(__builtin_bswap32(p.orgDef.index));
        default: return Index(__builtin_bswap32(p.index2), __builtin_bswap32(p.index3));
    }
}

// One get-next from para; false when there is no further row.
bool Next(uint32_t selector, LLDP_INDEX_PARA_S &para, Row &row) {
    uint8_t result[600] = {};
    uint16_t len = 516;
    para.selector = selector;
    if (LLDP_mor_MibGetNext(0, LLDP_ITEM_REM_SUBTABLE, 1, &para, &len, result) != 0 || len == 0) return false;
    row = Row{OrderOf(selector, para), Bytes(result, result + len)};
    return true;
}

lldp::ManagementAddress Man(uint8_t subtype, Bytes addr, uint32_t ifId, Bytes oid = {}) {
    lldp::ManagementAddress m;
    m.subtype = subtype;
    m.address = std::move(addr);
    m.ifId = ifId;
    m.oid = std::move(oid);
    return m;
}

lldp::Lldpdu Base(const std::string &chassis) {
    lldp::Lldpdu p;
    p.chassisIdSubtype = 7;
    p.chassisId.assign(chassis.begin(), chassis.end());
    p.portIdSubtype = 5;
    p.portId = {'p', '1'};
    p.ttl = 3600;
    return p;
}

// A neighbour with rows in every sub-table, given out of order and with
// repeated sub-indexes.
lldp::Lldpdu Everything() {
    lldp::Lldpdu p = Base("everything");
    p.manAddrs = {Man(1, {10, 0, 0, 9}, 1, {0x2B, 6, 1}), Man(1, {10, 0, 0, 2}, 2), Man(6, {2, 0, 0, 0, 0, 1}, 3),
                  Man(1, {10, 0, 0, 2}, 4, {0x2B}), Man(2, Bytes(16, 0xFE), 5), Man(1, {10, 0, 1}, 6)};
    for (uint8_t t : {60, 20, 20, 126, 9, 33, 60}) p.unknownTlvs.push_back({t, Bytes{t, static_cast<uint8_t>(p.unknownTlvs.size())}});
    const lldp::Oui a{0xAC, 0xDE, 0x48}, b{0x00, 0x00, 0x01};
    p.orgTlvs = {{a, 5, {1}}, {b, 200, {2}}, {a, 5, {3}}, {a, 1, {4}}, {a, 5, {}}, {lldp::kOuiDot1, 8, {5, 5}}};
    p.protoVlans = {{0x06, 30}, {0x02, 10}, {0x04, 30}, {0x00, 20}};
    p.vlanNames = {{300, "c"}, {100, "a"}, {100, "dup"}, {200, std::string(32, 'n')}};
    p.protocolIds = {{0x88, 0xCC}, {0x00}, {1, 2, 3, 4, 5}};
    p.vidUsageDigest = std::array<uint8_t, 4>{1, 2, 3, 4};
    p.managementVid = 4094;
    lldp::EtsConfig ets;
    ets.priorityTc = {7, 6, 5, 4, 3, 2, 1, 0};
    ets.bandwidth = {10, 20, 30, 40, 0, 0, 0, 0};
    ets.tsa = {2, 2, 2, 2, 0, 0, 0, 255};
    p.etsConfig = ets;
    lldp::EtsRecommendation reco;
    reco.bandwidth = {50, 50, 0, 0, 0, 0, 0, 0};
    reco.tsa = {2, 2, 0, 0, 0, 0, 0, 0};
    p.etsRecommendation = reco;
    lldp::Pfc pfc;
    pfc.enable = 0xA5;
    p.pfc = pfc;
    p.appPriority = std::vector<lldp::AppPriority>{{3, 2, 80}, {5, 1, 0x8906}, {1, 2, 80}, {4, 2, 22}, {6, 4, 3260}};
    return p;
}

// Many unknown TLVs, most types twice, in a scrambled order.
lldp::Lldpdu ManyUnknown() {
    lldp::Lldpdu p = Base("many-unknown");
    for (uint32_t i = 0; i < 150; ++i) {
        const auto type = static_cast<uint8_t>(9 + (i * 37) % 118);
        p.unknownTlvs.push_back({type, Bytes{static_cast<uint8_t>(i)}});
    }
    return p;
}

class SubRows : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSwitch();
        ResetLldp();
        AddNode(1);
        AddInterface(Interface{101, "ge-1/0/1", 1, 18});
        AddInterface(Interface{102, "ge-1/0/2", 1, 18});
    }
    // Receives each pdu on its port; returns the decoded information in the
    // order the walk meets the neighbours.
    std::vector<lldp::Lldpdu> Receive(const std::vector<std::pair<uint32_t, lldp::Lldpdu>> &pdus) {
        std::vector<lldp::Lldpdu> held;
        for (const auto &[port, pdu] : pdus) {
            const Bytes bytes = lldp::EncodeLldpdu(pdu);
            EXPECT_EQ(lldpv2host::Receive(port, 1, bytes).outcome, ReceiveOutcome::Inserted);
            held.push_back(lldp::DecodeLldpdu(bytes).pdu);
        }
        return held;
    }
};

constexpr uint32_t kSelectors[] = {
    LLDP_REMSUB_MANADDR,       LLDP_REMSUB_UNKNOWN,        LLDP_REMSUB_ORGDEF,     LLDP_REMSUB_ETS_BANDWIDTH,
    LLDP_REMSUB_ETS_TSA,       LLDP_REMSUB_ETS_PRIORITY,   LLDP_REMSUB_RECO_BANDWIDTH, LLDP_REMSUB_RECO_TSA,
    LLDP_REMSUB_PFC_ENABLE,    LLDP_REMSUB_APP_PRIORITY,   LLDP_REMSUB_PROTO_VLAN, LLDP_REMSUB_VLAN_NAME,
    LLDP_REMSUB_PROTOCOL,      LLDP_REMSUB_VID_USAGE_DIGEST, LLDP_REMSUB_MAN_VID,
};

TEST_F(SubRows, WalksAnswerTheDecodedRowsInSubIndexOrder) {
    // Port 101 holds the neighbour with everything and one with many unknown
    // TLVs; port 102 one with a single management address after a neighbour
    // with nothing but its identity.
    lldp::Lldpdu single = Base("single");
    single.manAddrs = {Man(1, {192, 168, 0, 1}, 0)};
    const std::vector<lldp::Lldpdu> held =
        Receive({{101, Everything()}, {101, ManyUnknown()}, {102, Base("bare")}, {102, single}});
    for (uint32_t selector : kSelectors) {
        SCOPED_TRACE("selector " + std::to_string(selector));
        std::vector<Row> want;
        for (const lldp::Lldpdu &pdu : held) {
            const bool has = selector == LLDP_REMSUB_MANADDR || selector == LLDP_REMSUB_UNKNOWN ||
                             selector == LLDP_REMSUB_ORGDEF || pdu.chassisId == Everything().chassisId;
            if (!has) continue;
            for (Row &r : Reference(selector, pdu)) want.push_back(std::move(r));
        }
        std::vector<Row> got;
        LLDP_INDEX_PARA_S para;
        LLDP_mor_InitIndexPara(&para);
        Row row;
        while (got.size() < 1000 && Next(selector, para, row)) got.push_back(row);
        EXPECT_EQ(got.size(), want.size());
        for (size_t i = 0; i < std::min(got.size(), want.size()); ++i) {
            EXPECT_EQ(got[i].order, want[i].order) << "row " << i;
            EXPECT_EQ(got[i].result, want[i].result) << "row " << i;
        }
    }
}

TEST_F(SubRows, GetNextFromAKeyThatNamesNoRow) {
    const std::vector<lldp::Lldpdu> held = Receive({{101, Everything()}});
    LLDP_INDEX_PARA_S base;
    LLDP_mor_InitIndexPara(&base);
    base.tfai = LLDP_TFAI_S{0, 101, 1, 1};
    struct Case {
        const char *name;
        uint32_t selector;
        void (*set)(LLDP_INDEX_PARA_S &);
        bool any;  // a row follows
    };
    const Case cases[] = {
        {"address of another family in between", LLDP_REMSUB_MANADDR,
         [](LLDP_INDEX_PARA_S &p) {
             p.manAddr.subtype = __builtin_bswap32(1);
             p.manAddr.len = __builtin_bswap32(4);
             p.manAddr.addr[0] = 10;
             p.manAddr.addr[3] = 5;
         },
         true},
        {"shorter address", LLDP_REMSUB_MANADDR,
         [](LLDP_INDEX_PARA_S &p) {
             p.manAddr.subtype = __builtin_bswap32(1);
             p.manAddr.len = __builtin_bswap32(2);
         },
         true},
        {"address past every family", LLDP_REMSUB_MANADDR,
         [](LLDP_INDEX_PARA_S &p) { p.manAddr.subtype = __builtin_bswap32(7); }, false},
        {"unknown type between two", LLDP_REMSUB_UNKNOWN, [](LLDP_INDEX_PARA_S &p) { p.tlvType = __builtin_bswap32(21); }, true},
        {"unknown type past the last", LLDP_REMSUB_UNKNOWN, [](LLDP_INDEX_PARA_S &p) { p.tlvType = __builtin_bswap32(126); }, false},
        {"org index past the TLVs of its type", LLDP_REMSUB_ORGDEF,
         [](LLDP_INDEX_PARA_S &p) {
             const uint8_t oui[3] = {0xAC, 0xDE, 0x48};
             std::memcpy(p.orgDef.oui, oui, 3);
             p.orgDef.ouiLen = __builtin_bswap32(3);
             p.orgDef.subtype = __builtin_bswap32(5);
             p.orgDef.index = __builtin_bswap32(9);
         },
         false},
        {"org OUI length 2", LLDP_REMSUB_ORGDEF,
         [](LLDP_INDEX_PARA_S &p) {
             const uint8_t oui[3] = {0xAC, 0xDE, 0x48};
             std::memcpy(p.orgDef.oui, oui, 3);
             p.orgDef.ouiLen = __builtin_bswap32(2);
         },
         true},
        {"ETS priority 7", LLDP_REMSUB_ETS_BANDWIDTH, [](LLDP_INDEX_PARA_S &p) { p.index2 = __builtin_bswap32(7); }, false},
        {"ETS priority 3, any third index", LLDP_REMSUB_ETS_TSA,
         [](LLDP_INDEX_PARA_S &p) {
             p.index2 = __builtin_bswap32(3);
             p.index3 = __builtin_bswap32(99);
         },
         true},
        {"ETS priority beyond 32 bits' end", LLDP_REMSUB_PFC_ENABLE, [](LLDP_INDEX_PARA_S &p) { p.index2 = 0xFFFFFFFF; }, false},
        {"application between two", LLDP_REMSUB_APP_PRIORITY,
         [](LLDP_INDEX_PARA_S &p) {
             p.index2 = __builtin_bswap32(2);
             p.index3 = __builtin_bswap32(23);
         },
         true},
        {"VLAN between two names", LLDP_REMSUB_VLAN_NAME, [](LLDP_INDEX_PARA_S &p) { p.index2 = __builtin_bswap32(150); }, true},
        {"digest after any index", LLDP_REMSUB_VID_USAGE_DIGEST, [](LLDP_INDEX_PARA_S &p) { p.index2 = __builtin_bswap32(5); }, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        LLDP_INDEX_PARA_S para = base;
        c.set(para);
        const Bytes from = OrderOf(c.selector, para);
        const std::vector<Row> rows = Reference(c.selector, held[0]);
        const auto want = std::find_if(rows.begin(), rows.end(), [&](const Row &r) { return from < r.order; });
        Row got;
        ASSERT_EQ(Next(c.selector, para, got), c.any);
        ASSERT_EQ(want != rows.end(), c.any);
        if (c.any) {
            EXPECT_EQ(got, *want);
        }
    }
}

TEST_F(SubRows, AnUpdateReplacesTheRows) {
    lldp::Lldpdu p = Base("changing");
    p.manAddrs = {Man(1, {10, 0, 0, 3}, 0), Man(1, {10, 0, 0, 1}, 0)};
    Receive({{101, p}});
    p.manAddrs = {Man(1, {10, 0, 0, 2}, 0)};
    for (int i = 0; i < 40; ++i) p.unknownTlvs.push_back({static_cast<uint8_t>(100 - i), Bytes(20, 1)});  // a larger record
    EXPECT_EQ(lldpv2host::Receive(101, 1, lldp::EncodeLldpdu(p)).outcome, ReceiveOutcome::Updated);
    LLDP_INDEX_PARA_S para;
    LLDP_mor_InitIndexPara(&para);
    Row row;
    ASSERT_TRUE(Next(LLDP_REMSUB_MANADDR, para, row));
    EXPECT_EQ(row.order, ManOrder(1, {10, 0, 0, 2}));
    EXPECT_FALSE(Next(LLDP_REMSUB_MANADDR, para, row));
    LLDP_mor_InitIndexPara(&para);
    ASSERT_TRUE(Next(LLDP_REMSUB_UNKNOWN, para, row));
    EXPECT_EQ(row.order, U32(61));
}

}  // namespace
