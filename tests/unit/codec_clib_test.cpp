// The TLV side of the LLDP client library: the TLV list manager, the codec
// registrations (trace and faults), the basic, 802.1, 802.3 and DCBX decoders
// over TLV lists split from encoded LLDPDUs, and the comparison and bit-order
// helpers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "lldp/lldpdu.h"
#include "lldpv2/dcbx_lib.h"
#include "lldpv2/lldp_client.h"
#include "lldpv2host/trace.h"

namespace {

using namespace lldpv2host::lldp;
using Bytes = std::vector<uint8_t>;

// A TLV list split from its own copy of the bytes, freed on scope exit.
class Split {
public:
    explicit Split(Bytes bytes) : bytes_(std::move(bytes)) {
        status_ = LLDP_tlvmng_SplitTLV(bytes_.data(), static_cast<uint16_t>(bytes_.size()), &list_);
    }
    explicit Split(const Lldpdu &pdu) : Split(EncodeLldpdu(pdu)) {}
    ~Split() { LLDP_tlvmng_FreeNbTLVNode(&list_); }
    Split(const Split &) = delete;
    Split &operator=(const Split &) = delete;

    const LLDP_TLV_LIST_S *list() const { return &list_; }
    uint32_t status() const { return status_; }
    const Bytes &bytes() const { return bytes_; }

private:
    Bytes bytes_;
    LLDP_TLV_LIST_S list_{};
    uint32_t status_ = 0;
};

Lldpdu Base() {
    Lldpdu p;
    p.chassisIdSubtype = 4;
    p.chassisId = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    p.portIdSubtype = 5;
    p.portId = {'g', 'e', '1'};
    p.ttl = 120;
    return p;
}

Bytes Tlv(uint8_t type, const Bytes &info) {
    Bytes out;
    AppendTlv(out, type, info);
    return out;
}
Bytes Org(const Oui &oui, uint8_t subtype, const Bytes &info) {
    Bytes out;
    AppendOrgTlv(out, oui, subtype, info);
    return out;
}
Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes &p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

// ---------------------------------------------------------------------------
// TLV list manager

struct SplitCase {
    const char *name;
    Bytes bytes;
    std::vector<std::pair<uint16_t, uint16_t>> tlvs;  // (type, length) in order
};

const SplitCase kSplitCases[] = {
    {"empty", {}, {}},
    {"end only", {0, 0}, {}},
    {"three tlvs and end", Cat({Tlv(1, {4, 1}), Tlv(2, {5, 'a'}), Tlv(3, {0, 9}), {0, 0}}),
     {{1, 2}, {2, 2}, {3, 2}}},
    {"stops at end", Cat({Tlv(5, {'x'}), {0, 0}, Tlv(6, {'y'})}), {{5, 1}}},
    {"no end tlv", Cat({Tlv(5, {'x'}), Tlv(127, Bytes(300, 1))}), {{5, 1}, {127, 300}}},
    {"length with the ninth bit", Cat({Tlv(100, Bytes(511, 0))}), {{100, 511}}},
    {"zero-length tlv", Cat({Tlv(4, {}), Tlv(5, {'n'})}), {{4, 0}, {5, 1}}},
    {"overrunning tlv ends the split", Cat({Tlv(5, {'x'}), {0x0C, 0x05, 'a', 'b'}}), {{5, 1}}},
    {"partial header ends the split", Cat({Tlv(5, {'x'}), {0x0C}}), {{5, 1}}},
};

void PrintTo(const SplitCase &c, std::ostream *os) { *os << c.name; }

class SplitTlv : public ::testing::TestWithParam<SplitCase> {};

TEST_P(SplitTlv, ListsTheTlvsInOrder) {
    const SplitCase &c = GetParam();
    Split s(c.bytes);
    ASSERT_EQ(s.status(), 0u);
    ASSERT_EQ(s.list()->count, c.tlvs.size());
    const LLDP_TLV_NODE_S *n = s.list()->head;
    size_t offset = 0;
    for (const auto &[type, len] : c.tlvs) {
        ASSERT_NE(n, nullptr);
        EXPECT_EQ(n->type, type);
        EXPECT_EQ(n->len, len);
        // The value points into the caller's buffer, just after the header.
        EXPECT_EQ(n->value, s.bytes().data() + offset + 2);
        offset += 2u + len;
        if (n->next == nullptr) {
            EXPECT_EQ(s.list()->tail, n);
        }
        n = n->next;
    }
    EXPECT_EQ(n, nullptr);
    if (c.tlvs.empty()) {
        EXPECT_EQ(s.list()->head, nullptr);
        EXPECT_EQ(s.list()->tail, nullptr);
    }
}

INSTANTIATE_TEST_SUITE_P(Buffers, SplitTlv, ::testing::ValuesIn(kSplitCases), [](const auto &info) {
    std::string n = info.param.name;
    std::replace_if(n.begin(), n.end(), [](char c) { return !isalnum(static_cast<unsigned char>(c)); }, '_');
    return n;
});

TEST(SplitTlvList, ResetsTheListWithoutReadingIt) {
    const Bytes bytes = Tlv(5, {'a'});
    LLDP_TLV_LIST_S list;
    std::memset(&list, 0xA5, sizeof list);  // garbage, as on a caller's stack
    ASSERT_EQ(LLDP_tlvmng_SplitTLV(bytes.data(), static_cast<uint16_t>(bytes.size()), &list), 0u);
    EXPECT_EQ(list.count, 1u);
    // Splitting again into the same list after freeing it.
    EXPECT_EQ(LLDP_tlvmng_FreeNbTLVNode(&list), 0u);
    EXPECT_EQ(list.head, nullptr);
    EXPECT_EQ(list.count, 0u);
    EXPECT_EQ(LLDP_tlvmng_FreeNbTLVNode(&list), 0u);  // freeing an empty list is harmless
}

TEST(SplitTlvList, RefusesMissingArguments) {
    const uint8_t b[2] = {0, 0};
    LLDP_TLV_LIST_S list{};
    EXPECT_NE(LLDP_tlvmng_SplitTLV(b, 2, nullptr), 0u);
    EXPECT_NE(LLDP_tlvmng_SplitTLV(nullptr, 4, &list), 0u);
    EXPECT_EQ(list.head, nullptr);
    EXPECT_EQ(LLDP_tlvmng_SplitTLV(nullptr, 0, &list), 0u);
    EXPECT_NE(LLDP_tlvmng_FreeNbTLVNode(nullptr), 0u);
}

// ---------------------------------------------------------------------------
// Registrations: traced by name, and an injected fault is their result.

struct RegCase {
    const char *name;
    uint32_t (*call)();
};

const RegCase kRegCases[] = {
    {"LLDP_tlvmng_Init", LLDP_tlvmng_Init},       {"LLDP_tlvmng_Exit", LLDP_tlvmng_Exit},
    {"LLDP_libbasic_Reg", LLDP_libbasic_Reg},     {"LLDP_libbasic_UnReg", LLDP_libbasic_UnReg},
    {"LLDP_libdot1_Reg", LLDP_libdot1_Reg},       {"LLDP_libdot1_UnReg", LLDP_libdot1_UnReg},
    {"LLDP_libdot3_Reg", LLDP_libdot3_Reg},       {"LLDP_libdot3_UnReg", LLDP_libdot3_UnReg},
    {"LLDP_libDcbx_Reg", LLDP_libDcbx_Reg},       {"LLDP_libDcbx_UnReg", LLDP_libDcbx_UnReg},
};

void PrintTo(const RegCase &c, std::ostream *os) { *os << c.name; }

class Registration : public ::testing::TestWithParam<RegCase> {
protected:
    void TearDown() override { lldpv2host::ClearFaults(); }
};

TEST_P(Registration, IsTracedAndTakesFaults) {
    const RegCase &c = GetParam();
    lldpv2host::StartTrace();
    EXPECT_EQ(c.call(), 0u);
    lldpv2host::SetFault(c.name, 0x40010001);
    EXPECT_EQ(c.call(), 0x40010001u);
    lldpv2host::SetFault(c.name, 0);
    EXPECT_EQ(c.call(), 0u);
    EXPECT_EQ(lldpv2host::StopTrace(), std::vector<std::string>(3, c.name));
}

TEST_P(Registration, AFaultOnAnotherCallDoesNotLeak) {
    const RegCase &c = GetParam();
    for (const RegCase &other : kRegCases) {
        if (std::strcmp(other.name, c.name) != 0) lldpv2host::SetFault(other.name, 7);
    }
    EXPECT_EQ(c.call(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Calls, Registration, ::testing::ValuesIn(kRegCases),
                         [](const auto &info) { return std::string(info.param.name); });

// ---------------------------------------------------------------------------
// Basic codec

TEST(BasicCodec, RemoteSystemRecord) {
    Lldpdu p = Base();
    p.chassisIdSubtype = 7;
    p.chassisId = Bytes(255, 'c');
    p.portIdSubtype = 3;
    p.portId = {0, 1, 2, 3, 4, 5};
    p.portDesc = std::string(255, 'p');
    p.sysName = "sw-a";
    p.sysDesc = "";
    p.hasSysCap = true;
    p.capSupported = 0x0014;
    p.capEnabled = 0x0004;
    Split s(p);
    LLDP_REM_SYSTEM_S r;
    std::memset(&r, 0x5A, sizeof r);
    ASSERT_EQ(LLDP_libbasic_V2RemTableBufToData(s.list(), &r), 0u);
    EXPECT_EQ(r.chassisIdSubtype, 7u);
    EXPECT_EQ(r.chassisIdLen, 255u);
    EXPECT_EQ(Bytes(r.chassisId, r.chassisId + 255), p.chassisId);
    EXPECT_EQ(r.portIdSubtype, 3u);
    EXPECT_EQ(r.portIdLen, 6u);
    EXPECT_EQ(Bytes(r.portId, r.portId + 6), p.portId);
    EXPECT_EQ(std::string(r.portDesc), *p.portDesc);
    EXPECT_EQ(std::string(r.sysName), "sw-a");
    EXPECT_EQ(std::string(r.sysDesc), "");
    EXPECT_EQ(r.capSupported, 0x0014);  // host order, bit i = capability i
    EXPECT_EQ(r.capEnabled, 0x0004);
}

TEST(BasicCodec, RemoteRecordWithoutOptionalTlvsLeavesThemAlone) {
    Split s(Base());
    LLDP_REM_SYSTEM_S r{};
    ASSERT_EQ(LLDP_libbasic_V2RemTableBufToData(s.list(), &r), 0u);
    EXPECT_EQ(r.sysName[0], '\0');
    EXPECT_EQ(r.capSupported, 0);
    EXPECT_EQ(r.chassisIdLen, 6u);

    Split noPort(Tlv(kTlvChassisId, {4, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(LLDP_libbasic_V2RemTableBufToData(noPort.list(), &r), LLDP_ERR_NO_ENTRY);
    EXPECT_NE(LLDP_libbasic_V2RemTableBufToData(nullptr, &r), 0u);
}

TEST(BasicCodec, LocalPortRecord) {
    const struct {
        std::optional<std::string> desc;
        const char *expect;
    } cases[] = {{std::nullopt, ""}, {"", ""}, {"uplink", "uplink"}, {std::string(255, 'd'), nullptr}};
    for (const auto &c : cases) {
        Lldpdu p = Base();
        p.portDesc = c.desc;
        Split s(p);
        LLDP_LOC_PORT_S r{};
        ASSERT_EQ(LLDP_libbasic_LocPortTableBufToData(s.list(), &r), 0u);
        EXPECT_EQ(r.portIdSubtype, 5u);
        EXPECT_EQ(r.portIdLen, 3u);
        EXPECT_EQ(std::memcmp(r.portId, "ge1", 3), 0);
        EXPECT_EQ(std::string(r.portDesc), c.expect ? std::string(c.expect) : *c.desc);
    }
    Split none(Bytes{});
    LLDP_LOC_PORT_S r{};
    EXPECT_EQ(LLDP_libbasic_LocPortTableBufToData(none.list(), &r), LLDP_ERR_NO_ENTRY);
}

TEST(BasicCodec, ManagementAddressSlotsBySubtypeInOrderOfAppearance) {
    Lldpdu p = Base();
    p.manAddrs = {{1, {10, 0, 0, 1}, 2, 11, {}},
                  {2, Bytes(16, 0xFE), 3, 22, {0x2B, 6}},
                  {1, {10, 0, 0, 2}, 1, 33, {}},
                  {6, {0, 1, 2, 3, 4, 5}, 2, 44, {}},
                  {2, Bytes(16, 0x01), 2, 55, {}},
                  {200, Bytes(31, 7), 2, 66, {}}};
    Split s(p);
    LLDP_REM_MANADDR_DATA_S *d = LLDP_libbasic_ManAddrTLVBufToData(s.list(), 0);
    ASSERT_NE(d, nullptr);
    const struct {
        uint16_t subtype;
        std::vector<uint32_t> ifIds;
    } slots[] = {{1, {11, 33}}, {2, {22, 55}}, {6, {44}}, {200, {66}}};
    size_t i = 0;
    for (const auto &slot : slots) {
        std::vector<uint32_t> ids;
        for (const LLDP_REM_MANADDR_S *e = d->slot[i]; e != nullptr; e = e->next) {
            EXPECT_EQ(e->subtype, slot.subtype);
            ids.push_back(e->ifId);
        }
        EXPECT_EQ(ids, slot.ifIds) << "slot " << i;
        ++i;
    }
    for (; i < LLDP_MANADDR_SLOTS; ++i) EXPECT_EQ(d->slot[i], nullptr);
    const LLDP_REM_MANADDR_S *second = d->slot[0]->next;
    EXPECT_EQ(second->addrLen, 4);
    EXPECT_EQ(Bytes(second->addr, second->addr + 4), Bytes({10, 0, 0, 2}));
    EXPECT_EQ(second->ifSubtype, 1);
    EXPECT_EQ(d->slot[3]->addrLen, 31);
    LLDP_libbasic_FreeManAddrTLVData(d);
    LLDP_libbasic_FreeManAddrTLVData(nullptr);
}

TEST(BasicCodec, ManagementAddressesBeyondTwentyFiveSubtypesAreDropped) {
    Lldpdu p = Base();
    for (uint8_t st = 1; st <= 30; ++st) p.manAddrs.push_back({st, {st}, 2, st, {}});
    Split s(p);
    LLDP_REM_MANADDR_DATA_S *d = LLDP_libbasic_ManAddrTLVBufToData(s.list(), 0);
    ASSERT_NE(d, nullptr);
    for (size_t i = 0; i < LLDP_MANADDR_SLOTS; ++i) {
        ASSERT_NE(d->slot[i], nullptr);
        EXPECT_EQ(d->slot[i]->subtype, i + 1);
        EXPECT_EQ(d->slot[i]->next, nullptr);
    }
    LLDP_libbasic_FreeManAddrTLVData(d);
}

TEST(BasicCodec, NoManagementAddressGivesNull) {
    Split s(Cat({EncodeLldpdu(Base())}));
    EXPECT_EQ(LLDP_libbasic_ManAddrTLVBufToData(s.list(), 0), nullptr);
    // A malformed management address TLV is no address.
    Split bad(Cat({Tlv(kTlvManAddr, {5, 1, 10, 0, 0, 1, 2, 0, 0, 0, 1, 1})}));
    EXPECT_EQ(LLDP_libbasic_ManAddrTLVBufToData(bad.list(), 0), nullptr);
    EXPECT_EQ(LLDP_libbasic_ManAddrTLVBufToData(nullptr, 0), nullptr);
}

TEST(BasicCodec, UnknownAndOtherOrgTlvs) {
    const Oui foreign = {0xAA, 0xBB, 0xCC};
    Lldpdu p = Base();
    // Decoded families never show up among the org-defined TLVs.
    p.portVlanId = 5;
    p.maxFrameSize = 1500;
    p.pfc = Pfc{};
    p.unknownTlvs = {{9, {1, 2}}, {126, Bytes(511, 3)}, {9, {}}};
    p.orgTlvs = {{foreign, 1, {1}},
                 {kOuiDot1, kDot1CongestionNotification, {2, 3}},
                 {foreign, 1, {}},
                 {kOuiDot3, kDot3LinkAgg, {1, 0, 0, 0, 9}},
                 {foreign, 2, Bytes(507, 4)},
                 {foreign, 1, {5}}};
    Split s(p);
    LLDP_ORGDEF_TLV_S *org = nullptr;
    LLDP_UNKNOWN_TLV_S *unknown = nullptr;
    ASSERT_EQ(LLDP_libbasic_ParseUnknownTLV(s.list(), &org, &unknown), 0u);

    struct OrgRow {
        Oui oui;
        uint8_t subtype;
        uint32_t index;
        uint16_t len;
    };
    const std::vector<OrgRow> expectOrg = {{foreign, 1, 1, 1},  {kOuiDot1, 8, 1, 2}, {foreign, 1, 2, 0},
                                           {kOuiDot3, 3, 1, 5}, {foreign, 2, 1, 507}, {foreign, 1, 3, 1}};
    size_t i = 0;
    for (const LLDP_ORGDEF_TLV_S *e = org; e != nullptr; e = e->next, ++i) {
        ASSERT_LT(i, expectOrg.size());
        EXPECT_EQ(Oui({e->oui[0], e->oui[1], e->oui[2]}), expectOrg[i].oui) << i;
        EXPECT_EQ(e->subtype, expectOrg[i].subtype) << i;
        EXPECT_EQ(e->index, expectOrg[i].index) << i;
        ASSERT_EQ(e->len, expectOrg[i].len) << i;
        EXPECT_EQ(Bytes(e->info, e->info + e->len), p.orgTlvs[i].info) << i;
    }
    EXPECT_EQ(i, expectOrg.size());

    i = 0;
    for (const LLDP_UNKNOWN_TLV_S *e = unknown; e != nullptr; e = e->next, ++i) {
        ASSERT_LT(i, p.unknownTlvs.size());
        EXPECT_EQ(e->type, p.unknownTlvs[i].type);
        ASSERT_EQ(e->len, p.unknownTlvs[i].info.size());
        EXPECT_EQ(Bytes(e->info, e->info + e->len), p.unknownTlvs[i].info);
    }
    EXPECT_EQ(i, p.unknownTlvs.size());
    EXPECT_EQ(LLDP_libbasic_FreeUnknownTLV(org, LLDP_tlv_FreeOrgUnknownNode), 0u);
    EXPECT_EQ(LLDP_libbasic_FreeUnknownTLV(unknown, LLDP_tlv_FreeBasicUnknownNode), 0u);
}

TEST(BasicCodec, ParseUnknownTlvFillsOnlyTheListsAskedFor) {
    Lldpdu p = Base();
    p.unknownTlvs = {{50, {1}}};
    p.orgTlvs = {{{1, 2, 3}, 4, {5}}};
    Split s(p);
    LLDP_ORGDEF_TLV_S *org = reinterpret_cast<LLDP_ORGDEF_TLV_S *>(0x1);
    ASSERT_EQ(LLDP_libbasic_ParseUnknownTLV(s.list(), &org, nullptr), 0u);
    ASSERT_NE(org, nullptr);
    EXPECT_EQ(org->next, nullptr);
    LLDP_libbasic_FreeUnknownTLV(org, LLDP_tlv_FreeOrgUnknownNode);

    LLDP_UNKNOWN_TLV_S *unknown = nullptr;
    ASSERT_EQ(LLDP_libbasic_ParseUnknownTLV(s.list(), nullptr, &unknown), 0u);
    ASSERT_NE(unknown, nullptr);
    EXPECT_EQ(unknown->type, 50);
    EXPECT_EQ(unknown->next, nullptr);
    LLDP_libbasic_FreeUnknownTLV(unknown, LLDP_tlv_FreeBasicUnknownNode);

    Split plain(Base());
    org = reinterpret_cast<LLDP_ORGDEF_TLV_S *>(0x1);
    unknown = reinterpret_cast<LLDP_UNKNOWN_TLV_S *>(0x1);
    EXPECT_EQ(LLDP_libbasic_ParseUnknownTLV(plain.list(), &org, &unknown), 0u);
    EXPECT_EQ(org, nullptr);
    EXPECT_EQ(unknown, nullptr);
    EXPECT_NE(LLDP_libbasic_ParseUnknownTLV(nullptr, &org, &unknown), 0u);
    EXPECT_EQ(LLDP_libbasic_FreeUnknownTLV(nullptr, LLDP_tlv_FreeBasicUnknownNode), 0u);
}

// ---------------------------------------------------------------------------
// IEEE 802.1 codec

TEST(Dot1Codec, DecodesEveryTlv) {
    Lldpdu p = Base();
    p.portVlanId = 4094;
    p.managementVid = 10;
    p.protoVlans = {{0x06, 200}, {0x02, 300}, {0x00, 0}};
    p.vlanNames = {{100, "users"}, {4094, std::string(32, 'v')}, {1, ""}};
    p.protocolIds = {{0x00, 0x26, 0x42, 0x42, 0x03}, Bytes(255, 0x5A)};
    p.vidUsageDigest = std::array<uint8_t, 4>{0xDE, 0xAD, 0xBE, 0xEF};
    p.linkAgg = LinkAggregation{0x03, 0x01020304};
    Split s(p);

    uint16_t v = 0;
    ASSERT_EQ(LLDP_libdot1_PortVlanIdBufToData(s.list(), &v), 0u);
    EXPECT_EQ(v, 4094);
    ASSERT_EQ(LLDP_libdot1_ManVlanIdBufToData(s.list(), &v), 0u);
    EXPECT_EQ(v, 10);

    LLDP_PPVID_S *ppv = nullptr;
    ASSERT_EQ(LLDP_libdot1_PPVlanIdBufToData(s.list(), &ppv), 0u);
    size_t i = 0;
    for (const LLDP_PPVID_S *e = ppv; e != nullptr; e = e->next, ++i) {
        ASSERT_LT(i, p.protoVlans.size());
        EXPECT_EQ(e->flags, p.protoVlans[i].flags);
        EXPECT_EQ(e->ppvid, p.protoVlans[i].ppvid);
    }
    EXPECT_EQ(i, p.protoVlans.size());
    LLDP_libdot1_FreePPVlanIdData(ppv);

    LLDP_VLAN_NAME_S *names = nullptr;
    ASSERT_EQ(LLDP_libdot1_VlanNameBufToData(s.list(), &names), 0u);
    i = 0;
    for (const LLDP_VLAN_NAME_S *e = names; e != nullptr; e = e->next, ++i) {
        ASSERT_LT(i, p.vlanNames.size());
        EXPECT_EQ(e->vlanId, p.vlanNames[i].vid);
        ASSERT_EQ(e->nameLen, p.vlanNames[i].name.size());
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(e->name), e->nameLen), p.vlanNames[i].name);
    }
    EXPECT_EQ(i, p.vlanNames.size());
    LLDP_libdot1_FreeVlanNameData(names);

    LLDP_PROTOCOL_ID_S *ids = nullptr;
    ASSERT_EQ(LLDP_libdot1_ProtocolIdBufToData(s.list(), &ids), 0u);
    i = 0;
    for (const LLDP_PROTOCOL_ID_S *e = ids; e != nullptr; e = e->next, ++i) {
        ASSERT_LT(i, p.protocolIds.size());
        EXPECT_EQ(Bytes(e->id, e->id + e->len), p.protocolIds[i]);
    }
    EXPECT_EQ(i, p.protocolIds.size());
    LLDP_libdot1_FreeProtocolIdData(ids);

    uint8_t digest[4] = {};
    ASSERT_EQ(LLDP_libdot1_VidUsageBufToData(s.list(), digest), 0u);
    EXPECT_EQ(Bytes(digest, digest + 4), Bytes({0xDE, 0xAD, 0xBE, 0xEF}));

    LLDP_LINK_AGG_S agg{};
    ASSERT_EQ(LLDP_libdot1_LinkAggBufToData(s.list(), &agg), 0u);
    EXPECT_EQ(agg.status, 0x03);  // TLV bit order
    EXPECT_EQ(agg.portId, 0x01020304u);
}

// A decoder of a single-valued TLV: answers NO_ENTRY and leaves its output
// alone when the TLV is missing; skips a malformed TLV for a later good one.
struct SingleCase {
    const char *name;
    uint32_t (*decode)(const LLDP_TLV_LIST_S *, uint8_t out[8]);
    Bytes malformed;  // a TLV of the kind with a bad length
    Bytes good;       // a well-formed one
    Bytes expect;     // the first bytes of the output for good
};

const SingleCase kSingleCases[] = {
    {"port vlan id",
     [](const LLDP_TLV_LIST_S *l, uint8_t o[8]) {
         uint16_t v;
         std::memcpy(&v, o, 2);
         const uint32_t rc = LLDP_libdot1_PortVlanIdBufToData(l, &v);
         std::memcpy(o, &v, 2);
         return rc;
     },
     Org(kOuiDot1, kDot1PortVlanId, {1}), Org(kOuiDot1, kDot1PortVlanId, {0x01, 0x02}), {0x02, 0x01}},
    {"management vid",
     [](const LLDP_TLV_LIST_S *l, uint8_t o[8]) {
         uint16_t v;
         std::memcpy(&v, o, 2);
         const uint32_t rc = LLDP_libdot1_ManVlanIdBufToData(l, &v);
         std::memcpy(o, &v, 2);
         return rc;
     },
     Org(kOuiDot1, kDot1ManagementVid, {1, 2, 3}), Org(kOuiDot1, kDot1ManagementVid, {0x00, 0x0A}), {0x0A, 0x00}},
    {"vid usage digest",
     [](const LLDP_TLV_LIST_S *l, uint8_t o[8]) { return LLDP_libdot1_VidUsageBufToData(l, o); },
     Org(kOuiDot1, kDot1VidUsageDigest, {1, 2, 3}), Org(kOuiDot1, kDot1VidUsageDigest, {1, 2, 3, 4}),
     {1, 2, 3, 4}},
    {"link aggregation",
     [](const LLDP_TLV_LIST_S *l, uint8_t o[8]) {
         LLDP_LINK_AGG_S a;
         std::memcpy(&a, o, sizeof a);
         const uint32_t rc = LLDP_libdot1_LinkAggBufToData(l, &a);
         std::memcpy(o, &a, sizeof a);
         return rc;
     },
     Org(kOuiDot1, kDot1LinkAgg, {1, 0, 0, 0}), Org(kOuiDot1, kDot1LinkAgg, {0x01, 0, 0, 0x01, 0x02}),
     {0x01, 0x02, 0x01, 0, 0}},
    {"mac/phy",
     [](const LLDP_TLV_LIST_S *l, uint8_t o[8]) {
         LLDP_MAC_PHY_S m;
         std::memcpy(&m, o, sizeof m);
         const uint32_t rc = LLDP_libdot3_MacPhysicBufToData(l, &m);
         std::memcpy(o, &m, sizeof m);
         return rc;
     },
     Org(kOuiDot3, kDot3MacPhy, {1, 2, 3, 4, 5, 6}), Org(kOuiDot3, kDot3MacPhy, {0x02, 0x6C, 0x01, 0x00, 0x10}),
     {0x02, 0x01, 0x6C, 0x10, 0x00}},
    {"power via mdi",
     [](const LLDP_TLV_LIST_S *l, uint8_t o[8]) {
         LLDP_POWER_MDI_S m;
         std::memcpy(&m, o, sizeof m);
         const uint32_t rc = LLDP_libdot3_PowerMDIBufToData(l, &m);
         std::memcpy(o, &m, sizeof m);
         return rc;
     },
     Org(kOuiDot3, kDot3PowerMdi, {1, 2}), Org(kOuiDot3, kDot3PowerMdi, {0x07, 0x02, 0x04, 0x11, 0x22}),
     {0x07, 0x02, 0x04}},
    {"max frame size",
     [](const LLDP_TLV_LIST_S *l, uint8_t o[8]) {
         uint16_t v;
         std::memcpy(&v, o, 2);
         const uint32_t rc = LLDP_libdot3_MaxFrameSizeBufToData(l, &v);
         std::memcpy(o, &v, 2);
         return rc;
     },
     Org(kOuiDot3, kDot3MaxFrameSize, {0x05}), Org(kOuiDot3, kDot3MaxFrameSize, {0x05, 0xF2}), {0xF2, 0x05}},
};

void PrintTo(const SingleCase &c, std::ostream *os) { *os << c.name; }

class SingleDecoder : public ::testing::TestWithParam<SingleCase> {};

TEST_P(SingleDecoder, MissingMalformedAndGood) {
    const SingleCase &c = GetParam();
    const Bytes head = EncodeLldpdu(Base());
    const Bytes mandatory(head.begin(), head.end() - 2);  // without the End TLV
    uint8_t out[8];

    Split missing(head);
    std::memset(out, 0xEE, sizeof out);
    EXPECT_EQ(c.decode(missing.list(), out), LLDP_ERR_NO_ENTRY);
    EXPECT_TRUE(std::all_of(out, out + 8, [](uint8_t b) { return b == 0xEE; }));

    Split onlyBad(Cat({mandatory, c.malformed}));
    EXPECT_EQ(c.decode(onlyBad.list(), out), LLDP_ERR_NO_ENTRY);
    EXPECT_TRUE(std::all_of(out, out + 8, [](uint8_t b) { return b == 0xEE; }));

    // The same TLV under another OUI is not it.
    Bytes otherOui = c.good;
    otherOui[2] = 0x99;
    Split foreign(Cat({mandatory, otherOui}));
    EXPECT_EQ(c.decode(foreign.list(), out), LLDP_ERR_NO_ENTRY);

    Split badThenGood(Cat({mandatory, c.malformed, c.good}));
    ASSERT_EQ(c.decode(badThenGood.list(), out), 0u);
    EXPECT_EQ(Bytes(out, out + c.expect.size()), c.expect);

    EXPECT_NE(c.decode(nullptr, out), 0u);
}

INSTANTIATE_TEST_SUITE_P(Dot1AndDot3, SingleDecoder, ::testing::ValuesIn(kSingleCases), [](const auto &info) {
    std::string n = info.param.name;
    std::replace_if(n.begin(), n.end(), [](char c) { return !isalnum(static_cast<unsigned char>(c)); }, '_');
    return n;
});

TEST(Dot1Codec, ListDecodersSkipMalformedTlvsAndGiveNullWhenNone) {
    const Bytes head = EncodeLldpdu(Base());
    Split none(head);
    LLDP_VLAN_NAME_S *names = reinterpret_cast<LLDP_VLAN_NAME_S *>(0x1);
    EXPECT_EQ(LLDP_libdot1_VlanNameBufToData(none.list(), &names), 0u);
    EXPECT_EQ(names, nullptr);
    LLDP_PPVID_S *ppv = reinterpret_cast<LLDP_PPVID_S *>(0x1);
    EXPECT_EQ(LLDP_libdot1_PPVlanIdBufToData(none.list(), &ppv), 0u);
    EXPECT_EQ(ppv, nullptr);
    LLDP_PROTOCOL_ID_S *ids = reinterpret_cast<LLDP_PROTOCOL_ID_S *>(0x1);
    EXPECT_EQ(LLDP_libdot1_ProtocolIdBufToData(none.list(), &ids), 0u);
    EXPECT_EQ(ids, nullptr);

    const Bytes mandatory(head.begin(), head.end() - 2);
    Split mixed(Cat({mandatory, Org(kOuiDot1, kDot1VlanName, {0, 1, 3, 'a'}), Org(kOuiDot1, kDot1VlanName, {0, 2, 1, 'b'}),
                     Org(kOuiDot1, kDot1PortProtoVlanId, {2, 0}), Org(kOuiDot1, kDot1PortProtoVlanId, {2, 0, 9}),
                     Org(kOuiDot1, kDot1ProtocolId, {4, 1}), Org(kOuiDot1, kDot1ProtocolId, {1, 7})}));
    ASSERT_EQ(LLDP_libdot1_VlanNameBufToData(mixed.list(), &names), 0u);
    ASSERT_NE(names, nullptr);
    EXPECT_EQ(names->vlanId, 2);
    EXPECT_EQ(names->next, nullptr);
    LLDP_libdot1_FreeVlanNameData(names);
    ASSERT_EQ(LLDP_libdot1_PPVlanIdBufToData(mixed.list(), &ppv), 0u);
    ASSERT_NE(ppv, nullptr);
    EXPECT_EQ(ppv->ppvid, 9);
    EXPECT_EQ(ppv->next, nullptr);
    LLDP_libdot1_FreePPVlanIdData(ppv);
    ASSERT_EQ(LLDP_libdot1_ProtocolIdBufToData(mixed.list(), &ids), 0u);
    ASSERT_NE(ids, nullptr);
    EXPECT_EQ(ids->len, 1);
    EXPECT_EQ(ids->id[0], 7);
    EXPECT_EQ(ids->next, nullptr);
    LLDP_libdot1_FreeProtocolIdData(ids);
    EXPECT_NE(LLDP_libdot1_VlanNameBufToData(mixed.list(), nullptr), 0u);
}

TEST(Dot3Codec, DecodesEveryTlv) {
    Lldpdu p = Base();
    p.macPhy = MacPhy{0x03, 0x8001, 30};
    p.powerMdi = PowerMdi{0x0D, 2, 5, {}};
    p.maxFrameSize = 9216;
    Split s(p);
    LLDP_MAC_PHY_S m{};
    ASSERT_EQ(LLDP_libdot3_MacPhysicBufToData(s.list(), &m), 0u);
    EXPECT_EQ(m.autoNeg, 0x03);
    EXPECT_EQ(m.advertisedCap, 0x8001);
    EXPECT_EQ(m.operMauType, 30);
    LLDP_POWER_MDI_S pw{};
    ASSERT_EQ(LLDP_libdot3_PowerMDIBufToData(s.list(), &pw), 0u);
    EXPECT_EQ(pw.support, 0x0D);
    EXPECT_EQ(pw.pairs, 2);
    EXPECT_EQ(pw.powerClass, 5);
    uint16_t size = 0;
    ASSERT_EQ(LLDP_libdot3_MaxFrameSizeBufToData(s.list(), &size), 0u);
    EXPECT_EQ(size, 9216);
}

// ---------------------------------------------------------------------------
// DCBX library

Lldpdu DcbxPdu() {
    Lldpdu p = Base();
    EtsConfig e;
    e.willing = true;
    e.cbs = true;
    e.maxTcs = 0;
    e.priorityTc = {7, 6, 5, 4, 3, 2, 1, 0};
    e.bandwidth = {10, 20, 30, 40, 0, 0, 0, 0};
    e.tsa = {2, 2, 2, 2, 0, 0, 1, 255};
    p.etsConfig = e;
    EtsRecommendation r;
    r.priorityTc = {0, 0, 1, 1, 2, 2, 3, 3};
    r.bandwidth = {50, 50, 0, 0, 0, 0, 0, 0};
    r.tsa = {2, 1, 0, 0, 0, 0, 0, 255};
    p.etsRecommendation = r;
    p.pfc = Pfc{false, true, 8, 0x0D};
    p.appPriority = std::vector<AppPriority>{{3, 1, 0x8906}, {5, 2, 3260}, {4, 3, 4791}, {6, 4, 80}, {1, 0, 5}};
    return p;
}

TEST(DcbxLib, EtsConfiguration) {
    Split s(DcbxPdu());
    DCBX_ETS_DATA_S d;
    std::memset(&d, 0xEE, sizeof d);
    ASSERT_EQ(DCBX_lib_GetETSConfDataFromTLVList(s.list(), &d), 0u);
    EXPECT_EQ(d.cbs, 1);
    EXPECT_EQ(d.willing, 1);
    EXPECT_EQ(d.tcs, 0);  // the 3-bit field: 0 stands for 8 classes
    EXPECT_EQ(d.cbsPresent, 1);
    EXPECT_EQ(d.tcsPresent, 1);
    EXPECT_EQ(Bytes(d.priorityTc, d.priorityTc + 8), Bytes({7, 6, 5, 4, 3, 2, 1, 0}));
    EXPECT_EQ(Bytes(d.bandwidth, d.bandwidth + 8), Bytes({10, 20, 30, 40, 0, 0, 0, 0}));
    EXPECT_EQ(Bytes(d.tsa, d.tsa + 8), Bytes({2, 2, 2, 2, 0, 0, 1, 255}));
    // The module reads the bandwidth of class t at byte 24 + t.
    EXPECT_EQ(reinterpret_cast<const uint8_t *>(&d)[24 + 3], 40);
}

TEST(DcbxLib, EtsRecommendationHasNoBasicFields) {
    Split s(DcbxPdu());
    DCBX_ETS_DATA_S d;
    std::memset(&d, 0xEE, sizeof d);
    ASSERT_EQ(DCBX_lib_GetETSRecoDataFromTLVList(s.list(), &d), 0u);
    EXPECT_EQ(d.cbs, 0);
    EXPECT_EQ(d.willing, 0);
    EXPECT_EQ(d.cbsPresent, 0);
    EXPECT_EQ(d.tcsPresent, 0);
    EXPECT_EQ(Bytes(d.priorityTc, d.priorityTc + 8), Bytes({0, 0, 1, 1, 2, 2, 3, 3}));
    EXPECT_EQ(Bytes(d.bandwidth, d.bandwidth + 8), Bytes({50, 50, 0, 0, 0, 0, 0, 0}));
}

TEST(DcbxLib, TsaBySubtype) {
    Split s(DcbxPdu());
    const struct {
        uint32_t subtype;
        uint32_t rc;
        Bytes tsa;
    } cases[] = {
        {9, 0, {2, 2, 2, 2, 0, 0, 1, 255}},
        {10, 0, {2, 1, 0, 0, 0, 0, 0, 255}},
        {11, LLDP_ERR_BAD_VALUE, {}},
        {0, LLDP_ERR_BAD_VALUE, {}},
    };
    for (const auto &c : cases) {
        DCBX_TSA_DATA_S t{};
        EXPECT_EQ(DCBX_lib_GetETSTSAFromTLVList(s.list(), c.subtype, &t), c.rc) << c.subtype;
        if (c.rc == 0) {
            EXPECT_EQ(Bytes(t.tsa, t.tsa + 8), c.tsa) << c.subtype;
        }
    }
    Lldpdu onlyConf = Base();
    onlyConf.etsConfig = EtsConfig{};
    Split conf(onlyConf);
    DCBX_TSA_DATA_S t{};
    EXPECT_EQ(DCBX_lib_GetETSTSAFromTLVList(conf.list(), 10, &t), LLDP_ERR_NO_ENTRY);
}

TEST(DcbxLib, Pfc) {
    Split s(DcbxPdu());
    DCBX_PFC_DATA_S d;
    std::memset(&d, 0xEE, sizeof d);
    ASSERT_EQ(DCBX_lib_GetPFCDataFromTLVList(s.list(), &d), 0u);
    EXPECT_EQ(d.willing, 0);
    EXPECT_EQ(d.mbc, 1);
    EXPECT_EQ(d.cap, 8);
    EXPECT_EQ(d.mbcPresent, 1);
    EXPECT_EQ(d.capPresent, 1);
    EXPECT_EQ(Bytes(d.enable, d.enable + 8), Bytes({1, 0, 1, 1, 0, 0, 0, 0}));
}

TEST(DcbxLib, ApplicationPriority) {
    const Lldpdu p = DcbxPdu();
    Split s(p);
    for (uint32_t origin : {DCBX_ORIGIN_REMOTE, DCBX_ORIGIN_LOCAL}) {
        DCBX_APP_DATA_S d;
        std::memset(&d, 0xEE, sizeof d);
        ASSERT_EQ(DCBX_lib_GetAPPDataFromTLVList(origin, s.list(), &d), 0u);
        ASSERT_EQ(d.count, p.appPriority->size());
        for (size_t i = 0; i < d.count; ++i) {
            EXPECT_EQ(d.entry[i].protocol, (*p.appPriority)[i].protocol);
            EXPECT_EQ(d.entry[i].priority, (*p.appPriority)[i].priority);
            EXPECT_EQ(d.entry[i].selector, (*p.appPriority)[i].selector);
        }
    }
    DCBX_APP_DATA_S d{};
    EXPECT_EQ(DCBX_lib_GetAPPDataFromTLVList(2, s.list(), &d), LLDP_ERR_BAD_VALUE);
}

TEST(DcbxLib, MissingOrMalformedTlvsLeaveTheRecordAlone) {
    const Bytes head = EncodeLldpdu(Base());
    const Bytes mandatory(head.begin(), head.end() - 2);
    Split s(Cat({mandatory, Org(kOuiDot1, kDot1EtsConfig, Bytes(20, 0)), Org(kOuiDot1, kDot1EtsRecommendation, Bytes(22, 0)),
                 Org(kOuiDot1, kDot1Pfc, {1}), Org(kOuiDot1, kDot1AppPriority, {0, 1})}));
    DCBX_ETS_DATA_S ets;
    std::memset(&ets, 0xEE, sizeof ets);
    EXPECT_EQ(DCBX_lib_GetETSConfDataFromTLVList(s.list(), &ets), LLDP_ERR_NO_ENTRY);
    EXPECT_EQ(DCBX_lib_GetETSRecoDataFromTLVList(s.list(), &ets), LLDP_ERR_NO_ENTRY);
    EXPECT_EQ(ets.cbs, 0xEE);
    DCBX_PFC_DATA_S pfc;
    std::memset(&pfc, 0xEE, sizeof pfc);
    EXPECT_EQ(DCBX_lib_GetPFCDataFromTLVList(s.list(), &pfc), LLDP_ERR_NO_ENTRY);
    EXPECT_EQ(pfc.willing, 0xEE);
    DCBX_APP_DATA_S app;
    std::memset(&app, 0xEE, sizeof app);
    EXPECT_EQ(DCBX_lib_GetAPPDataFromTLVList(DCBX_ORIGIN_REMOTE, s.list(), &app), LLDP_ERR_NO_ENTRY);
    EXPECT_EQ(app.count, 0xEEEEEEEEu);
    EXPECT_NE(DCBX_lib_GetPFCDataFromTLVList(nullptr, &pfc), 0u);
}

TEST(DcbxLib, CheckSelProtocol) {
    const struct {
        uint32_t selector, protocol;
        bool valid;
    } cases[] = {
        {1, 0x8906, true},  {1, 0x0600, true},  {1, 0, true},       {1, 0x05FF, false}, {1, 0x10000, false},
        {2, 3260, true},    {2, 0, false},      {3, 65535, true},   {3, 0, false},      {4, 80, true},
        {4, 0x10000, false}, {0, 80, false},    {5, 80, false},     {7, 0x8906, false},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(DCBX_lib_CheckSelProtocol(c.selector, c.protocol) == 0, c.valid)
            << c.selector << "/" << c.protocol;
    }
}

TEST(DcbxLib, TransformUPMapIsIdentity) {
    for (uint8_t p = 0; p < 8; ++p) EXPECT_EQ(DCBX_lib_TransformUPMap(p) & 0xFF, p);
}

// ---------------------------------------------------------------------------
// Helpers

TEST(Util, Overturn) {
    const struct {
        Bytes in, out;
        uint32_t count;
    } cases[] = {
        {{0x01}, {0x80}, 1},
        {{0x02, 0x04, 0x08}, {0x40, 0x20, 0x10}, 3},
        {{0xF0, 0x0F}, {0x0F, 0x0F}, 1},  // only the first octet turned
        {{0xA5}, {0xA5}, 1},
        {{0x12}, {0x12}, 0},
    };
    for (const auto &c : cases) {
        Bytes b = c.in;
        LLDP_util_Overturn(c.count, b.data());
        EXPECT_EQ(b, c.out);
    }
    const struct {
        uint16_t in, out;
    } shorts[] = {{0x0001, 0x8000}, {0x0004, 0x2000}, {0x8000, 0x0001}, {0x0014, 0x2800}, {0x1234, 0x2C48}};
    for (const auto &c : shorts) EXPECT_EQ(LLDP_util_OverturnS(c.in), c.out) << c.in;
}

TEST(Util, BitIsSet) {
    const uint8_t bytes[2] = {0x05, 0x80};
    const struct {
        uint32_t count, bit;
        uint32_t rc;
        uint16_t isSet;
    } cases[] = {
        {2, 0, 0, 1}, {2, 1, 0, 0}, {2, 2, 0, 1}, {2, 7, 0, 0}, {2, 8, 0, 0}, {2, 15, 0, 1},
        {2, 16, LLDP_ERR_BAD_VALUE, 0}, {1, 15, LLDP_ERR_BAD_VALUE, 0},
    };
    for (const auto &c : cases) {
        uint16_t isSet = 0xFFFF;
        EXPECT_EQ(LLDP_util_BitIsSet(bytes, c.count, c.bit, &isSet), c.rc) << c.bit;
        EXPECT_EQ(isSet, c.isSet) << c.bit;
    }
}

int Sign(int32_t v) { return v < 0 ? -1 : (v > 0 ? 1 : 0); }

TEST(Util, CmpTfaiOrdersFieldByFieldUnsigned) {
    const struct {
        LLDP_TFAI_S a, b;
        int sign;
    } cases[] = {
        {{0, 0, 0, 0}, {0, 0, 0, 0}, 0},
        {{1, 0, 0, 0}, {0, 9, 9, 9}, 1},
        {{5, 1, 3, 3}, {5, 2, 1, 1}, -1},
        {{5, 2, 1, 9}, {5, 2, 2, 0}, -1},
        {{5, 2, 2, 1}, {5, 2, 2, 0}, 1},
        {{0x80000000u, 0, 0, 0}, {1, 0, 0, 0}, 1},
        {{0, 0, 0, 0xFFFFFFFFu}, {0, 0, 0, 0}, 1},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(Sign(LLDP_util_CmpTfai(&c.a, &c.b)), c.sign);
        EXPECT_EQ(Sign(LLDP_util_CmpTfai(&c.b, &c.a)), -c.sign);
    }
}

LLDP_MANADDR_KEY_S ManKey(uint32_t subtype, Bytes addr) {
    LLDP_MANADDR_KEY_S k{};
    k.subtype = subtype;
    std::memcpy(k.addr, addr.data(), addr.size());
    k.len = static_cast<uint32_t>(addr.size());
    return k;
}

TEST(Util, CmpManAddrIndexFollowsSnmpInstanceOrder) {
    // An SNMP walk orders (subtype, address) instances by subtype, then by
    // the address length, then by the address octets.
    const struct {
        LLDP_MANADDR_KEY_S a, b;
        int sign;
    } cases[] = {
        {ManKey(1, {10, 0, 0, 1}), ManKey(1, {10, 0, 0, 1}), 0},
        {ManKey(1, {10, 0, 0, 1}), ManKey(1, {10, 0, 0, 2}), -1},
        {ManKey(1, {192, 0, 0, 0}), ManKey(2, Bytes(16, 0)), -1},
        {ManKey(2, {255}), ManKey(1, {0, 0, 0, 0}), 1},
        {ManKey(1, {255, 255, 255}), ManKey(1, {0, 0, 0, 0}), -1},  // shorter first
        {ManKey(6, {0xFF, 0, 0, 0, 0, 0}), ManKey(6, {0x01, 0, 0, 0, 0, 0}), 1},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(Sign(LLDP_util_CmpManAddrIndex(&c.a, &c.b)), c.sign);
        EXPECT_EQ(Sign(LLDP_util_CmpManAddrIndex(&c.b, &c.a)), -c.sign);
    }
}

LLDP_ORGDEF_SUBINDEX_S OrgKey(Bytes oui, uint32_t subtype, uint32_t index) {
    LLDP_ORGDEF_SUBINDEX_S k{};
    std::memcpy(k.oui, oui.data(), oui.size());
    k.ouiLen = static_cast<uint32_t>(oui.size());
    k.subtype = subtype;
    k.index = index;
    return k;
}

TEST(Util, CmpOrgDefSubIndex) {
    const struct {
        LLDP_ORGDEF_SUBINDEX_S a, b;
        int sign;
    } cases[] = {
        {OrgKey({0, 0x80, 0xC2}, 8, 1), OrgKey({0, 0x80, 0xC2}, 8, 1), 0},
        {OrgKey({0, 0x80, 0xC2}, 8, 1), OrgKey({0, 0x12, 0x0F}, 9, 1), 1},
        {OrgKey({0xAA, 0, 0}, 1, 1), OrgKey({0xAA, 0, 1}, 1, 1), -1},
        {OrgKey({1, 2, 3}, 2, 1), OrgKey({1, 2, 3}, 1, 9), 1},
        {OrgKey({1, 2, 3}, 1, 2), OrgKey({1, 2, 3}, 1, 10), -1},
        {OrgKey({1, 2, 3}, 1, 0x80000000u), OrgKey({1, 2, 3}, 1, 1), 1},
        {OrgKey({1, 2}, 1, 1), OrgKey({1, 2, 3}, 1, 1), -1},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(Sign(LLDP_util_CmpOrgDefSubIndex(&c.a, &c.b)), c.sign);
        EXPECT_EQ(Sign(LLDP_util_CmpOrgDefSubIndex(&c.b, &c.a)), -c.sign);
    }
}

TEST(Util, ProtoVlanFlags) {
    const struct {
        uint8_t flags;
        uint16_t supported, enabled;
    } cases[] = {{0x00, 0, 0}, {0x02, 1, 0}, {0x04, 0, 1}, {0x06, 1, 1}, {0xF9, 0, 0}, {0xFF, 1, 1}};
    for (const auto &c : cases) {
        uint16_t s = 9, e = 9;
        EXPECT_EQ(LLDP_util_GetValidProtoVlanValid(c.flags, &s, &e), 0u);
        EXPECT_EQ(s, c.supported) << int(c.flags);
        EXPECT_EQ(e, c.enabled) << int(c.flags);
    }
}

TEST(Util, ManagementAddressLengths) {
    const struct {
        uint8_t subtype, len;
    } cases[] = {{0, 0}, {1, 4}, {2, 16}, {3, 0}, {6, 6}, {16, 0}, {19, 4}, {20, 16}, {22, 8}, {23, 8}, {24, 0}, {255, 0}};
    for (const auto &c : cases) EXPECT_EQ(g_aucManaAddrLen[c.subtype], c.len) << int(c.subtype);
}

}  // namespace
