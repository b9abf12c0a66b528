// The LLDPDU data model: encoding checked against hand-assembled TLV bytes,
// encode/decode round trips of every TLV family, the IEEE 802.1AB receive
// validation of malformed LLDPDUs (verdicts and counters), object identifier
// coding and the Ethernet frame and pcap writers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "lldp/lldpdu.h"

namespace {

using namespace lldpv2host::lldp;
using Bytes = std::vector<uint8_t>;

// The smallest valid LLDPDU: MAC chassis id, interface-name port id, TTL.
Lldpdu Minimal() {
    Lldpdu p;
    p.chassisIdSubtype = 4;
    p.chassisId = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    p.portIdSubtype = 5;
    p.portId = {'e', 't', 'h', '0'};
    p.ttl = 120;
    return p;
}

// The mandatory TLVs of Minimal() as they stand on the wire.
Bytes MinimalHead() {
    return {0x02, 0x07, 0x04, 0x00, 0x11, 0x22, 0x33, 0x44, 0x55,  // chassis id
            0x04, 0x05, 0x05, 'e', 't', 'h', '0',                  // port id
            0x06, 0x02, 0x00, 0x78};                               // TTL 120
}

Bytes Cat(Bytes a, const Bytes &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// ---------------------------------------------------------------------------
// Encoding against hand-assembled bytes: catches errors that an encoder and
// decoder sharing one misreading would hide from a round trip.

struct EncodeCase {
    const char *name;
    void (*fill)(Lldpdu &);
    Bytes tlvs;  // the TLVs expected between the TTL and the End TLV
};

const EncodeCase kEncodeCases[] = {
    {"minimal", [](Lldpdu &) {}, {}},
    {"shutdown ttl 0", [](Lldpdu &p) { p.ttl = 0; }, {}},
    {"system capabilities",
     [](Lldpdu &p) {
         p.hasSysCap = true;
         p.capSupported = 0x0014;  // bridge, router
         p.capEnabled = 0x0004;
     },
     {0x0E, 0x04, 0x00, 0x14, 0x00, 0x04}},
    {"management address ipv4 with oid",
     [](Lldpdu &p) { p.manAddrs = {{1, {192, 0, 2, 1}, 2, 0x01020304, {0x2B, 0x06, 0x01}}}; },
     {0x10, 0x0F, 0x05, 0x01, 192, 0, 2, 1, 0x02, 0x01, 0x02, 0x03, 0x04, 0x03, 0x2B, 0x06, 0x01}},
    {"port and protocol vlan",
     [](Lldpdu &p) { p.protoVlans = {{kPpvidSupported | kPpvidEnabled, 0x0123}}; },
     {0xFE, 0x07, 0x00, 0x80, 0xC2, 0x02, 0x06, 0x01, 0x23}},
    {"vlan name",
     [](Lldpdu &p) { p.vlanNames = {{0x0FFE, "ab"}}; },
     {0xFE, 0x09, 0x00, 0x80, 0xC2, 0x03, 0x0F, 0xFE, 0x02, 'a', 'b'}},
    {"link aggregation",
     [](Lldpdu &p) { p.linkAgg = LinkAggregation{0x03, 0x0A0B0C0D}; },
     {0xFE, 0x09, 0x00, 0x80, 0xC2, 0x07, 0x03, 0x0A, 0x0B, 0x0C, 0x0D}},
    {"ets configuration",
     [](Lldpdu &p) {
         EtsConfig e;
         e.willing = true;
         e.cbs = false;
         e.maxTcs = 3;
         e.priorityTc = {0, 1, 2, 3, 4, 5, 6, 7};
         e.bandwidth = {10, 20, 30, 40, 0, 0, 0, 0};
         e.tsa = {2, 2, 2, 2, 0, 0, 1, 255};
         p.etsConfig = e;
     },
     {0xFE, 0x19, 0x00, 0x80, 0xC2, 0x09, 0x83, 0x01, 0x23, 0x45, 0x67, 10, 20, 30, 40, 0, 0, 0, 0, 2, 2, 2, 2, 0, 0,
      1, 255}},
    {"pfc",
     [](Lldpdu &p) { p.pfc = Pfc{false, true, 4, 0x09}; },
     {0xFE, 0x06, 0x00, 0x80, 0xC2, 0x0B, 0x44, 0x09}},
    {"application priority",
     [](Lldpdu &p) { p.appPriority = std::vector<AppPriority>{{3, 1, 0x8906}, {5, 2, 3260}}; },
     {0xFE, 0x0B, 0x00, 0x80, 0xC2, 0x0C, 0x00, 0x61, 0x89, 0x06, 0xA2, 0x0C, 0xBC}},
    {"mac/phy",
     [](Lldpdu &p) { p.macPhy = MacPhy{0x03, 0x6C01, 0x0010}; },
     {0xFE, 0x09, 0x00, 0x12, 0x0F, 0x01, 0x03, 0x6C, 0x01, 0x00, 0x10}},
    {"unknown tlv type 100 with 300 octets",
     [](Lldpdu &p) { p.unknownTlvs = {{100, Bytes(300, 0xAB)}}; },
     Cat({0xC9, 0x2C}, Bytes(300, 0xAB))},
};

void PrintTo(const EncodeCase &c, std::ostream *os) { *os << c.name; }

class Encode : public ::testing::TestWithParam<EncodeCase> {};

TEST_P(Encode, ProducesTheTlvBytes) {
    const EncodeCase &c = GetParam();
    Lldpdu p = Minimal();
    c.fill(p);
    Bytes expected = MinimalHead();
    if (p.ttl != 120) expected[19] = static_cast<uint8_t>(p.ttl);
    expected = Cat(Cat(expected, c.tlvs), {0x00, 0x00});
    EXPECT_EQ(EncodeLldpdu(p), expected);
}

INSTANTIATE_TEST_SUITE_P(Tlvs, Encode, ::testing::ValuesIn(kEncodeCases), [](const auto &info) {
    std::string n = info.param.name;
    for (char &ch : n) {
        if (!isalnum(static_cast<unsigned char>(ch))) ch = '_';
    }
    return n;
});

TEST(Encode, CutsFieldsToTheirTlvLimits) {
    Lldpdu p = Minimal();
    p.chassisId = Bytes(300, 1);
    p.sysDesc = std::string(400, 'd');
    p.vlanNames = {{1, std::string(40, 'n')}};
    p.orgTlvs = {{{1, 2, 3}, 9, Bytes(600, 7)}};
    p.appPriority = std::vector<AppPriority>(200, AppPriority{1, 1, 0x8906});
    const DecodeResult r = DecodeLldpdu(EncodeLldpdu(p));
    ASSERT_TRUE(r.accepted) << DiscardReasonName(r.reason);
    EXPECT_EQ(r.pdu.chassisId.size(), 255u);
    EXPECT_EQ(r.pdu.sysDesc->size(), 255u);
    EXPECT_EQ(r.pdu.vlanNames.at(0).name.size(), 32u);
    EXPECT_EQ(r.pdu.orgTlvs.at(0).info.size(), 507u);
    EXPECT_EQ(r.pdu.appPriority->size(), 168u);
    EXPECT_EQ(r.tlvsDiscarded, 0u);
}

// ---------------------------------------------------------------------------
// Round trips

Lldpdu FullBasic() {
    Lldpdu p = Minimal();
    p.chassisIdSubtype = 7;
    p.chassisId = {'c', 'h', 'a', 's', 's', 'i', 's'};
    p.portIdSubtype = 3;
    p.portId = {0x00, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE};
    p.ttl = 65535;
    p.portDesc = "";
    p.sysName = std::string(255, 'n');
    p.sysDesc = "desc";
    p.hasSysCap = true;
    p.capSupported = 0xFFFF;
    p.capEnabled = 0x8001;
    p.manAddrs = {{1, {10, 0, 0, 1}, 2, 1001, EncodeOid({1, 3, 6, 1, 4, 1, 4242})},
                  {2, Bytes(16, 0xFE), 3, 7, {}},
                  {6, {0, 1, 2, 3, 4, 5}, 1, 0, Bytes(128, 0x01)},
                  {1, {10, 0, 0, 2}, 2, 0xFFFFFFFF, {}},
                  {200, Bytes(31, 9), 2, 5, {}}};
    return p;
}

Lldpdu FullDot1() {
    Lldpdu p = Minimal();
    p.portVlanId = 4094;
    p.protoVlans = {{0x06, 200}, {0x02, 300}, {0x00, 0}};
    p.vlanNames = {{100, "users"}, {4094, std::string(32, 'v')}, {1, ""}};
    p.protocolIds = {{0x00, 0x26, 0x42, 0x42, 0x03}, {0x88, 0x8E}, {}, Bytes(255, 0x5A)};
    p.vidUsageDigest = std::array<uint8_t, 4>{0xDE, 0xAD, 0xBE, 0xEF};
    p.managementVid = 10;
    p.linkAgg = LinkAggregation{0x0F, 0xFFFFFFFF};
    return p;
}

Lldpdu FullDot3() {
    Lldpdu p = Minimal();
    p.macPhy = MacPhy{0x01, 0x8000, 30};
    p.powerMdi = PowerMdi{0x0F, 2, 5, {0x51, 0x01, 0x2C, 0x01, 0x2C}};
    p.maxFrameSize = 9216;
    return p;
}

Lldpdu FullDcbx() {
    Lldpdu p = Minimal();
    EtsConfig e;
    e.willing = false;
    e.cbs = true;
    e.maxTcs = 0;
    e.priorityTc = {7, 6, 5, 4, 3, 2, 1, 0};
    e.bandwidth = {100, 0, 0, 0, 0, 0, 0, 0};
    e.tsa = {2, 0, 1, 255, 2, 2, 2, 2};
    p.etsConfig = e;
    EtsRecommendation r;
    r.priorityTc = {0, 0, 1, 1, 2, 2, 15, 15};
    r.bandwidth = {50, 50, 0, 0, 0, 0, 0, 0};
    r.tsa = {2, 2, 0, 0, 0, 0, 0, 0};
    p.etsRecommendation = r;
    p.pfc = Pfc{true, false, 15, 0xA5};
    p.appPriority = std::vector<AppPriority>{{0, 1, 0}, {7, 4, 65535}, {3, 3, 4791}};
    return p;
}

Lldpdu Everything() {
    Lldpdu p = FullBasic();
    const Lldpdu d1 = FullDot1(), d3 = FullDot3(), dc = FullDcbx();
    p.portVlanId = d1.portVlanId;
    p.protoVlans = d1.protoVlans;
    p.vlanNames = d1.vlanNames;
    p.protocolIds = d1.protocolIds;
    p.vidUsageDigest = d1.vidUsageDigest;
    p.managementVid = d1.managementVid;
    p.linkAgg = d1.linkAgg;
    p.macPhy = d3.macPhy;
    p.powerMdi = d3.powerMdi;
    p.maxFrameSize = d3.maxFrameSize;
    p.etsConfig = dc.etsConfig;
    p.etsRecommendation = dc.etsRecommendation;
    p.pfc = dc.pfc;
    p.appPriority = dc.appPriority;
    p.unknownTlvs = {{9, {1, 2, 3}}, {126, {}}};
    p.orgTlvs = {{kOuiDot1, kDot1CongestionNotification, {0x12, 0x34}},
                 {kOuiDot3, kDot3LinkAgg, {0x03, 0, 0, 0, 1}},
                 {{0xAA, 0xBB, 0xCC}, 1, {5, 6, 7}},
                 {{0xAA, 0xBB, 0xCC}, 1, {}}};
    return p;
}

struct RoundTripCase {
    const char *name;
    Lldpdu (*make)();
    uint32_t unrecognized;
};

const RoundTripCase kRoundTrips[] = {
    {"minimal", Minimal, 0},
    {"basic", FullBasic, 0},
    {"dot1", FullDot1, 0},
    {"dot3", FullDot3, 0},
    {"dcbx", FullDcbx, 0},
    {"everything", Everything, 6},
    {"empty app priority",
     [] {
         Lldpdu p = Minimal();
         p.appPriority = std::vector<AppPriority>{};
         return p;
     },
     0},
};

void PrintTo(const RoundTripCase &c, std::ostream *os) { *os << c.name; }

class RoundTrip : public ::testing::TestWithParam<RoundTripCase> {};

TEST_P(RoundTrip, DecodesToTheSameData) {
    const Lldpdu p = GetParam().make();
    const Bytes bytes = EncodeLldpdu(p);
    const DecodeResult r = DecodeLldpdu(bytes);
    ASSERT_TRUE(r.accepted) << DiscardReasonName(r.reason);
    EXPECT_EQ(r.reason, DiscardReason::kNone);
    EXPECT_TRUE(r.sawEnd);
    EXPECT_EQ(r.tlvsDiscarded, 0u);
    EXPECT_EQ(r.tlvsUnrecognized, GetParam().unrecognized);
    EXPECT_TRUE(r.pdu == p);
    // Re-encoding what was decoded gives the same bytes.
    EXPECT_EQ(EncodeLldpdu(r.pdu), bytes);
}

INSTANTIATE_TEST_SUITE_P(Families, RoundTrip, ::testing::ValuesIn(kRoundTrips),
                         [](const auto &info) {
                             std::string n = info.param.name;
                             for (char &ch : n) {
                                 if (ch == ' ') ch = '_';
                             }
                             return n;
                         });

// ---------------------------------------------------------------------------
// Receive validation

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
Bytes Header(uint8_t type, uint16_t len) {
    Bytes out;
    AppendTlvHeader(out, type, len);
    return out;
}
const Bytes kChassis = Tlv(kTlvChassisId, {4, 0, 1, 2, 3, 4, 5});
const Bytes kPort = Tlv(kTlvPortId, {7, 'p'});
const Bytes kTtl = Tlv(kTlvTtl, {0, 30});
const Bytes kEnd = {0, 0};
Bytes Head() { return Cat(Cat(kChassis, kPort), kTtl); }

struct MalformedCase {
    const char *name;
    Bytes bytes;
    bool accepted;
    DiscardReason reason;
    uint32_t discarded;
    uint32_t unrecognized;
    void (*check)(const Lldpdu &);
};

void NoCheck(const Lldpdu &) {}

const MalformedCase kMalformed[] = {
    {"empty frame", {}, false, DiscardReason::kMissingChassisId, 0, 0, NoCheck},
    {"only an end tlv", kEnd, false, DiscardReason::kMissingChassisId, 0, 0, NoCheck},
    {"port id first", Cat(Cat(kPort, kChassis), kTtl), false, DiscardReason::kMissingChassisId, 0, 0, NoCheck},
    {"ttl before port id", Cat(Cat(kChassis, kTtl), kPort), false, DiscardReason::kMissingPortId, 0, 0, NoCheck},
    {"no ttl", Cat(Cat(kChassis, kPort), kEnd), false, DiscardReason::kMissingTtl, 0, 0, NoCheck},
    {"frame ends after port id", Cat(kChassis, kPort), false, DiscardReason::kMissingTtl, 0, 0, NoCheck},
    {"optional tlv before ttl", Cat(Cat(Cat(kChassis, kPort), Tlv(kTlvSysName, {'x'})), kTtl), false,
     DiscardReason::kMissingTtl, 0, 0, NoCheck},
    {"chassis id without id octets", Cat(Cat(Tlv(kTlvChassisId, {4}), kPort), kTtl), false,
     DiscardReason::kBadChassisId, 0, 0, NoCheck},
    {"chassis id of 256 octets", Cat(Cat(Tlv(kTlvChassisId, Bytes(257, 1)), kPort), kTtl), false,
     DiscardReason::kBadChassisId, 0, 0, NoCheck},
    {"empty port id", Cat(Cat(kChassis, Tlv(kTlvPortId, {})), kTtl), false, DiscardReason::kBadPortId, 0, 0,
     NoCheck},
    {"one-octet ttl", Cat(Cat(kChassis, kPort), Tlv(kTlvTtl, {5})), false, DiscardReason::kBadTtl, 0, 0, NoCheck},
    {"chassis id runs past the frame", Cat(Header(kTlvChassisId, 7), {4, 0, 1}), false,
     DiscardReason::kTruncatedMandatory, 0, 0, NoCheck},
    {"ttl runs past the frame", Cat(Cat(kChassis, kPort), {0x06, 0x02, 0x00}), false,
     DiscardReason::kTruncatedMandatory, 0, 0, NoCheck},
    {"duplicate ttl", Cat(Cat(Head(), kTtl), kEnd), false, DiscardReason::kDuplicateMandatory, 0, 0, NoCheck},
    {"second chassis id later", Cat(Cat(Cat(Head(), Tlv(kTlvSysName, {'a'})), kChassis), kEnd), false,
     DiscardReason::kDuplicateMandatory, 0, 0, NoCheck},
    {"second port id", Cat(Cat(Head(), kPort), kEnd), false, DiscardReason::kDuplicateMandatory, 0, 0, NoCheck},
    {"ttl longer than two octets uses the first two", Cat(Cat(Cat(kChassis, kPort), Tlv(kTlvTtl, {0, 90, 7})), kEnd),
     true, DiscardReason::kNone, 0, 0, [](const Lldpdu &p) { EXPECT_EQ(p.ttl, 90); }},
    {"no end tlv", Head(), true, DiscardReason::kNone, 0, 0, [](const Lldpdu &p) { EXPECT_EQ(p.ttl, 30); }},
    {"padding after end is ignored", Cat(Cat(Head(), kEnd), {0xFF, 0xFF, 0x01}), true, DiscardReason::kNone, 0, 0,
     NoCheck},
    {"optional tlv runs past the frame",
     Cat(Cat(Head(), Tlv(kTlvSysName, {'s'})), Cat(Header(kTlvSysDesc, 10), {'a', 'b'})), true,
     DiscardReason::kNone, 1, 0, [](const Lldpdu &p) {
         EXPECT_EQ(p.sysName, "s");
         EXPECT_FALSE(p.sysDesc.has_value());
     }},
    {"single stray octet after the ttl", Cat(Head(), {0x08}), true, DiscardReason::kNone, 1, 0, NoCheck},
    {"capabilities of 3 octets", Cat(Cat(Head(), Tlv(kTlvSysCap, {0, 4, 0})), kEnd), true, DiscardReason::kNone, 1,
     0, [](const Lldpdu &p) { EXPECT_FALSE(p.hasSysCap); }},
    {"duplicate system name keeps the first",
     Cat(Cat(Cat(Head(), Tlv(kTlvSysName, {'a'})), Tlv(kTlvSysName, {'b'})), kEnd), true, DiscardReason::kNone, 1, 0,
     [](const Lldpdu &p) { EXPECT_EQ(p.sysName, "a"); }},
    {"system description of 256 octets", Cat(Cat(Head(), Tlv(kTlvSysDesc, Bytes(256, 'x'))), kEnd), true,
     DiscardReason::kNone, 1, 0, [](const Lldpdu &p) { EXPECT_FALSE(p.sysDesc.has_value()); }},
    {"management address with inconsistent oid length",
     Cat(Cat(Head(), Tlv(kTlvManAddr, {5, 1, 10, 0, 0, 1, 2, 0, 0, 0, 1, 3, 0x2B})), kEnd), true,
     DiscardReason::kNone, 1, 0, [](const Lldpdu &p) { EXPECT_TRUE(p.manAddrs.empty()); }},
    {"management address of 32 octets",
     Cat(Cat(Head(), Tlv(kTlvManAddr, Cat(Cat({33, 1}, Bytes(32, 1)), {2, 0, 0, 0, 1, 0}))), kEnd), true,
     DiscardReason::kNone, 1, 0, NoCheck},
    {"reserved tlv types are unrecognized and kept",
     Cat(Cat(Cat(Head(), Tlv(9, {1})), Tlv(126, Bytes(511, 2))), kEnd), true, DiscardReason::kNone, 0, 2,
     [](const Lldpdu &p) {
         ASSERT_EQ(p.unknownTlvs.size(), 2u);
         EXPECT_EQ(p.unknownTlvs[1].type, 126);
         EXPECT_EQ(p.unknownTlvs[1].info.size(), 511u);
     }},
    {"org tlv shorter than its header", Cat(Cat(Head(), Tlv(kTlvOrgSpecific, {0x00, 0x80, 0xC2})), kEnd), true,
     DiscardReason::kNone, 1, 0, NoCheck},
    {"foreign org tlv is unrecognized and kept", Cat(Cat(Head(), Org({1, 2, 3}, 4, {9})), kEnd), true,
     DiscardReason::kNone, 0, 1, [](const Lldpdu &p) {
         ASSERT_EQ(p.orgTlvs.size(), 1u);
         EXPECT_EQ(p.orgTlvs[0].subtype, 4);
     }},
    {"port vlan id of 3 octets", Cat(Cat(Head(), Org(kOuiDot1, kDot1PortVlanId, {0, 1, 2})), kEnd), true,
     DiscardReason::kNone, 1, 0, [](const Lldpdu &p) { EXPECT_FALSE(p.portVlanId.has_value()); }},
    {"vlan name longer than its length octet says",
     Cat(Cat(Head(), Org(kOuiDot1, kDot1VlanName, {0, 5, 1, 'a', 'b'})), kEnd), true, DiscardReason::kNone, 1, 0,
     NoCheck},
    {"vlan name of 33 octets",
     Cat(Cat(Head(), Org(kOuiDot1, kDot1VlanName, Cat({0, 5, 33}, Bytes(33, 'v')))), kEnd), true,
     DiscardReason::kNone, 1, 0, NoCheck},
    {"malformed first port vlan id, good second kept",
     Cat(Cat(Cat(Head(), Org(kOuiDot1, kDot1PortVlanId, {1})), Org(kOuiDot1, kDot1PortVlanId, {0, 7})), kEnd), true,
     DiscardReason::kNone, 1, 0, [](const Lldpdu &p) { EXPECT_EQ(p.portVlanId, 7); }},
    {"duplicate max frame size keeps the first",
     Cat(Cat(Cat(Head(), Org(kOuiDot3, kDot3MaxFrameSize, {0x05, 0xEE})), Org(kOuiDot3, kDot3MaxFrameSize, {0x23, 0x28})),
         kEnd),
     true, DiscardReason::kNone, 1, 0, [](const Lldpdu &p) { EXPECT_EQ(p.maxFrameSize, 1518); }},
    {"repeated vlan names are all kept",
     Cat(Cat(Cat(Head(), Org(kOuiDot1, kDot1VlanName, {0, 1, 1, 'a'})), Org(kOuiDot1, kDot1VlanName, {0, 2, 0})),
         kEnd),
     true, DiscardReason::kNone, 0, 0, [](const Lldpdu &p) { EXPECT_EQ(p.vlanNames.size(), 2u); }},
    {"ets configuration of 24 octets", Cat(Cat(Head(), Org(kOuiDot1, kDot1EtsConfig, Bytes(20, 0))), kEnd), true,
     DiscardReason::kNone, 1, 0, [](const Lldpdu &p) { EXPECT_FALSE(p.etsConfig.has_value()); }},
    {"application priority with a partial entry",
     Cat(Cat(Head(), Org(kOuiDot1, kDot1AppPriority, {0, 0x61, 0x89})), kEnd), true, DiscardReason::kNone, 1, 0,
     NoCheck},
    {"duplicate pfc keeps the first",
     Cat(Cat(Cat(Head(), Org(kOuiDot1, kDot1Pfc, {0x84, 0x01})), Org(kOuiDot1, kDot1Pfc, {0x08, 0xFF})), kEnd), true,
     DiscardReason::kNone, 1, 0, [](const Lldpdu &p) {
         ASSERT_TRUE(p.pfc.has_value());
         EXPECT_TRUE(p.pfc->willing);
         EXPECT_EQ(p.pfc->enable, 0x01);
     }},
    {"power via mdi of 2 octets", Cat(Cat(Head(), Org(kOuiDot3, kDot3PowerMdi, {1, 1})), kEnd), true,
     DiscardReason::kNone, 1, 0, NoCheck},
    {"tlvs after the end tlv are not read",
     Cat(Cat(Cat(Head(), kEnd), Tlv(kTlvSysName, {'z'})), kTtl), true, DiscardReason::kNone, 0, 0,
     [](const Lldpdu &p) { EXPECT_FALSE(p.sysName.has_value()); }},
    {"counters add up",
     Cat(Cat(Cat(Cat(Cat(Head(), Tlv(50, {})), Org({9, 9, 9}, 1, {})), Tlv(kTlvSysCap, {})),
             Org(kOuiDot3, kDot3MacPhy, {1, 2, 3})),
         kEnd),
     true, DiscardReason::kNone, 2, 2, NoCheck},
};

void PrintTo(const MalformedCase &c, std::ostream *os) { *os << c.name; }

class Malformed : public ::testing::TestWithParam<MalformedCase> {};

TEST_P(Malformed, VerdictAndCounters) {
    const MalformedCase &c = GetParam();
    const DecodeResult r = DecodeLldpdu(c.bytes);
    EXPECT_EQ(r.accepted, c.accepted);
    EXPECT_EQ(r.reason, c.reason) << DiscardReasonName(r.reason);
    EXPECT_EQ(r.tlvsDiscarded, c.discarded);
    EXPECT_EQ(r.tlvsUnrecognized, c.unrecognized);
    c.check(r.pdu);
}

INSTANTIATE_TEST_SUITE_P(Lldpdus, Malformed, ::testing::ValuesIn(kMalformed), [](const auto &info) {
    std::string n = info.param.name;
    for (char &ch : n) {
        if (!isalnum(static_cast<unsigned char>(ch))) ch = '_';
    }
    return n;
});

TEST(Decode, NullDataIsAnEmptyFrame) {
    const DecodeResult r = DecodeLldpdu(nullptr, 10);
    EXPECT_FALSE(r.accepted);
    EXPECT_EQ(r.reason, DiscardReason::kMissingChassisId);
}

// ---------------------------------------------------------------------------
// Object identifiers

TEST(Oid, EncodesAndDecodes) {
    const struct {
        std::vector<uint32_t> subIds;
        Bytes ber;
    } cases[] = {
        {{1, 3, 6, 1, 4, 1, 9999}, {0x2B, 6, 1, 4, 1, 0xCE, 0x0F}},
        {{0, 0}, {0x00}},
        {{2, 999, 3}, {0x88, 0x37, 0x03}},
        {{1, 3, 0xFFFFFFFF}, {0x2B, 0x8F, 0xFF, 0xFF, 0xFF, 0x7F}},
        {{}, {}},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(EncodeOid(c.subIds), c.ber);
        const auto back = DecodeOid(c.ber);
        ASSERT_TRUE(back.has_value());
        EXPECT_EQ(*back, c.subIds);
    }
}

TEST(Oid, RejectsMalformedBer) {
    const Bytes bad[] = {
        {0x2B, 0x86},              // last sub-identifier unfinished
        {0x2B, 0x80, 0x01},        // leading zero septet
        {0x2B, 0x90, 0x80, 0x80, 0x80, 0x00},  // beyond 32 bits
    };
    for (const Bytes &b : bad) EXPECT_FALSE(DecodeOid(b).has_value());
}

// ---------------------------------------------------------------------------
// Frames and captures

TEST(Frame, CarriesTheLldpduToTheAgentAddress) {
    const struct {
        uint32_t agent;
        uint8_t last;
    } agents[] = {{1, 0x0E}, {2, 0x03}, {3, 0x00}};
    const MacAddress src = {0x02, 0, 0, 0, 0, 1};
    const Bytes lldpdu = EncodeLldpdu(Minimal());
    for (const auto &a : agents) {
        const auto dst = AgentDestination(a.agent);
        ASSERT_TRUE(dst.has_value());
        const Bytes f = BuildFrame(*dst, src, lldpdu);
        ASSERT_EQ(f.size(), 60u);  // padded to the Ethernet minimum
        EXPECT_EQ(Bytes(f.begin(), f.begin() + 6), Bytes({0x01, 0x80, 0xC2, 0x00, 0x00, a.last}));
        EXPECT_EQ(Bytes(f.begin() + 6, f.begin() + 12), Bytes(src.begin(), src.end()));
        EXPECT_EQ(f[12], 0x88);
        EXPECT_EQ(f[13], 0xCC);
        EXPECT_EQ(Bytes(f.begin() + 14, f.begin() + 14 + static_cast<long>(lldpdu.size())), lldpdu);
        EXPECT_TRUE(std::all_of(f.begin() + 14 + static_cast<long>(lldpdu.size()), f.end(),
                                [](uint8_t b) { return b == 0; }));
    }
    EXPECT_FALSE(AgentDestination(0).has_value());
    EXPECT_FALSE(AgentDestination(4).has_value());
    // A long LLDPDU is not padded.
    Lldpdu big = Minimal();
    big.sysDesc = std::string(200, 'x');
    EXPECT_EQ(BuildFrame(kNearestBridge, src, EncodeLldpdu(big)).size(), 14 + EncodeLldpdu(big).size());
}

TEST(Pcap, WritesHeaderAndRecords) {
    const std::string path = ::testing::TempDir() + "codec_pcap_test.pcap";
    const Bytes f1 = BuildFrame(kNearestBridge, {2, 0, 0, 0, 0, 1}, EncodeLldpdu(Minimal()));
    const Bytes f2(70, 0x5A);
    {
        PcapWriter w;
        EXPECT_FALSE(w.Write(f1));  // not open yet
        ASSERT_TRUE(w.Open(path));
        ASSERT_TRUE(w.Write(f1, 10, 20));
        ASSERT_TRUE(w.Write(f2, 11, 0));
        ASSERT_TRUE(w.Close());
    }
    std::ifstream in(path, std::ios::binary);
    const Bytes file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::remove(path.c_str());
    ASSERT_EQ(file.size(), 24u + 16 + f1.size() + 16 + f2.size());
    const Bytes header = {0xD4, 0xC3, 0xB2, 0xA1, 2, 0, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0, 1, 0, 0, 0};
    EXPECT_EQ(Bytes(file.begin(), file.begin() + 24), header);
    const Bytes rec1 = {10, 0, 0, 0, 20, 0, 0, 0, 60, 0, 0, 0, 60, 0, 0, 0};
    EXPECT_EQ(Bytes(file.begin() + 24, file.begin() + 40), rec1);
    EXPECT_EQ(Bytes(file.begin() + 40, file.begin() + 100), f1);
    EXPECT_EQ(file[100], 11);
    EXPECT_EQ(file[108], 70);
    EXPECT_EQ(Bytes(file.begin() + 116, file.end()), f2);

    PcapWriter bad;
    EXPECT_FALSE(bad.Open("/nonexistent-dir/x.pcap"));
}

}  // namespace
