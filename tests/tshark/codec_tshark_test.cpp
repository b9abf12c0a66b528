// An independent reading of the LLDPDU encoder: LLDPDUs of every TLV family
// are written into a capture file, dissected by tshark, and every field that
// tshark shows is compared with the data the LLDPDU was built from. The TLV
// framing tshark sees must also match the client library's TLV splitter.
//
// tshark is taken from the TSHARK environment variable, else from the path
// found at configure time; without it the test is skipped.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "lldp/lldpdu.h"
#include "lldpv2/lldp_client.h"

#ifndef LLDPV2_TSHARK
#define LLDPV2_TSHARK ""
#endif

namespace {

using namespace lldpv2host::lldp;
using Bytes = std::vector<uint8_t>;
using Fields = std::map<std::string, std::vector<std::string>>;

// ---------------------------------------------------------------------------
// The LLDPDUs

struct Sample {
    const char *name;
    MacAddress dst;
    Lldpdu pdu;
};

Lldpdu EverythingPdu() {
    Lldpdu p;
    p.chassisIdSubtype = 4;
    p.chassisId = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    p.portIdSubtype = 5;
    p.portId = {'g', 'e', '1', '/', '0', '/', '1'};
    p.ttl = 121;
    p.portDesc = "uplink port";
    p.sysName = "sw1.example";
    p.sysDesc = "simulated stacked switch";
    p.hasSysCap = true;
    p.capSupported = 0x0014;
    p.capEnabled = 0x0004;
    p.manAddrs = {{1, {10, 0, 0, 1}, 2, 1001, EncodeOid({1, 3, 6, 1, 4, 1, 4242, 1})},
                  {2, {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 3, 7, {}},
                  {6, {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}, 1, 0, {}}};
    p.portVlanId = 100;
    p.protoVlans = {{0x06, 200}, {0x02, 300}};
    p.vlanNames = {{100, "users"}, {4094, std::string(32, 'v')}};
    p.protocolIds = {{0x00, 0x26, 0x42, 0x42, 0x03}, {0x88, 0x8E}};
    p.vidUsageDigest = std::array<uint8_t, 4>{0xDE, 0xAD, 0xBE, 0xEF};
    p.managementVid = 10;
    p.linkAgg = LinkAggregation{0x03, 0x01020304};
    EtsConfig e;
    e.willing = true;
    e.cbs = false;
    e.maxTcs = 3;
    e.priorityTc = {0, 1, 2, 3, 4, 5, 6, 7};
    e.bandwidth = {10, 20, 30, 40, 0, 0, 0, 0};
    e.tsa = {2, 2, 2, 2, 0, 0, 1, 255};
    p.etsConfig = e;
    EtsRecommendation r;
    r.priorityTc = {7, 6, 5, 4, 3, 2, 1, 0};
    r.bandwidth = {50, 50, 0, 0, 0, 0, 0, 0};
    r.tsa = {2, 2, 0, 0, 0, 0, 0, 0};
    p.etsRecommendation = r;
    p.pfc = Pfc{true, true, 8, 0x88};
    p.appPriority = std::vector<AppPriority>{{3, 1, 0x8906}, {5, 2, 3260}, {4, 3, 4791}, {6, 4, 80}};
    p.macPhy = MacPhy{0x03, 0x6C01, 16};
    p.powerMdi = PowerMdi{0x0F, 1, 3, {}};
    p.maxFrameSize = 1522;
    p.orgTlvs = {{{0xAA, 0xBB, 0xCC}, 1, {5, 6, 7}}, {{0xAA, 0xBB, 0xCC}, 9, {0xFF}}};
    p.unknownTlvs = {{9, {1, 2, 3}}, {126, {}}};
    return p;
}

Lldpdu VariantPdu() {
    Lldpdu p;
    p.chassisIdSubtype = 7;
    p.chassisId = {'c', 'h', 'a', 's', 's', 'i', 's', '-', '7'};
    p.portIdSubtype = 3;
    p.portId = {0x02, 0x00, 0x00, 0x00, 0x00, 0x09};
    p.ttl = 65535;
    p.sysDesc = std::string(255, 'd');
    p.hasSysCap = true;
    p.capSupported = 0xFFFF;
    p.capEnabled = 0x0081;
    p.manAddrs = {{2, {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0x02, 0x11, 0x22, 0xFF, 0xFE, 0x33, 0x44, 0x55}, 2, 0xFFFFFFFF,
                   EncodeOid({1, 3, 6, 1, 2, 1, 2, 2, 1, 1, 5})}};
    p.powerMdi = PowerMdi{0x07, 2, 5, {0x51, 0x01, 0x2C, 0x00, 0xFF}};
    EtsConfig e;
    e.willing = false;
    e.cbs = true;
    e.maxTcs = 0;
    e.priorityTc = {1, 1, 0, 0, 2, 2, 3, 7};
    e.bandwidth = {25, 25, 25, 25, 0, 0, 0, 0};
    e.tsa = {2, 2, 2, 2, 0, 0, 0, 0};
    p.etsConfig = e;
    std::vector<AppPriority> apps;
    for (uint16_t i = 0; i < 20; ++i) {
        apps.push_back({static_cast<uint8_t>(i % 8), static_cast<uint8_t>(1 + i % 4), static_cast<uint16_t>(0x0600 + i * 7)});
    }
    p.appPriority = apps;
    p.maxFrameSize = 9216;
    return p;
}

Lldpdu ShutdownPdu() {
    Lldpdu p;
    p.chassisIdSubtype = 5;
    p.chassisId = {1, 192, 0, 2, 10};  // IPv4 network address
    p.portIdSubtype = 4;
    p.portId = {2, 0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x02};  // IPv6
    p.ttl = 0;
    return p;
}

Lldpdu DcbxPartsPdu() {
    Lldpdu p;
    p.chassisIdSubtype = 4;
    p.chassisId = {0x02, 0, 0, 0, 0, 0x42};
    p.portIdSubtype = 5;
    p.portId = {'x', 'e', '9'};
    EtsRecommendation r;
    r.priorityTc = {0, 0, 0, 0, 1, 1, 1, 1};
    r.bandwidth = {60, 40, 0, 0, 0, 0, 0, 0};
    r.tsa = {2, 2, 0, 0, 0, 0, 0, 255};
    p.etsRecommendation = r;
    p.pfc = Pfc{false, false, 3, 0x01};
    p.macPhy = MacPhy{0x01, 0x0001, 30};
    return p;
}

std::vector<Sample> Samples() {
    return {{"everything", kNearestBridge, EverythingPdu()},
            {"variant", kNearestNonTpmrBridge, VariantPdu()},
            {"shutdown", kNearestCustomerBridge, ShutdownPdu()},
            {"dcbx parts", kNearestBridge, DcbxPartsPdu()}};
}

// ---------------------------------------------------------------------------
// What tshark should show, in the textual forms of its field output

std::string Dec(uint64_t v) { return std::to_string(v); }
std::string Hex(uint32_t v, int digits) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%0*x", digits, v);
    return buf;
}
std::string PlainHex(const Bytes &b) {
    std::string s;
    char buf[4];
    for (uint8_t x : b) {
        std::snprintf(buf, sizeof buf, "%02x", x);
        s += buf;
    }
    return s;
}
std::string ColonHex(const uint8_t *b, size_t n) {
    std::string s;
    char buf[4];
    for (size_t i = 0; i < n; ++i) {
        std::snprintf(buf, sizeof buf, i ? ":%02x" : "%02x", b[i]);
        s += buf;
    }
    return s;
}
std::string Ip4(const uint8_t *b) { return Dec(b[0]) + "." + Dec(b[1]) + "." + Dec(b[2]) + "." + Dec(b[3]); }
std::string Ip6(const uint8_t *b) {
    char buf[INET6_ADDRSTRLEN];
    return inet_ntop(AF_INET6, b, buf, sizeof buf) ? buf : "?";
}
std::string Text(const Bytes &b) { return std::string(b.begin(), b.end()); }
uint32_t OuiNumber(const Oui &o) { return (static_cast<uint32_t>(o[0]) << 16) | (o[1] << 8) | o[2]; }

Fields Expected(const Sample &s) {
    const Lldpdu &p = s.pdu;
    Fields f;
    auto add = [&f](const std::string &field, const std::string &value) { f[field].push_back(value); };
    add("eth.dst", ColonHex(s.dst.data(), 6));

    add("lldp.chassis.subtype", Dec(p.chassisIdSubtype));
    switch (p.chassisIdSubtype) {
    case 4: add("lldp.chassis.id.mac", ColonHex(p.chassisId.data(), 6)); break;
    case 5: add("lldp.chassis.id.ip4", Ip4(p.chassisId.data() + 1)); break;
    default: add("lldp.chassis.id", PlainHex(p.chassisId)); break;
    }
    add("lldp.port.subtype", Dec(p.portIdSubtype));
    switch (p.portIdSubtype) {
    case 3: add("lldp.port.id.mac", ColonHex(p.portId.data(), 6)); break;
    case 4: add("lldp.port.id.ip6", Ip6(p.portId.data() + 1)); break;
    default: add("lldp.port.id", Text(p.portId)); break;
    }
    add("lldp.time_to_live", Dec(p.ttl));
    if (p.portDesc) add("lldp.port.desc", *p.portDesc);
    if (p.sysName) add("lldp.tlv.system.name", *p.sysName);
    if (p.sysDesc) add("lldp.tlv.system.desc", *p.sysDesc);
    if (p.hasSysCap) {
        add("lldp.tlv.system_cap", Hex(p.capSupported, 4));
        add("lldp.tlv.enable_system_cap", Hex(p.capEnabled, 4));
    }
    for (const ManagementAddress &m : p.manAddrs) {
        add("lldp.mgn.address.subtype", Dec(m.subtype));
        if (m.subtype == 1) add("lldp.mgn.addr.ip4", Ip4(m.address.data()));
        else if (m.subtype == 2) add("lldp.mgn.addr.ip6", Ip6(m.address.data()));
        else add("lldp.mgn.addr.hex", PlainHex(m.address));
        add("lldp.mgn.interface.subtype", Dec(m.ifSubtype));
        add("lldp.mgn.interface.number", Dec(m.ifId));
        add("lldp.mgn.obj.len", Dec(m.oid.size()));
        if (!m.oid.empty()) {
            const std::vector<uint32_t> subIds = DecodeOid(m.oid).value();
            std::string dotted;
            for (uint32_t id : subIds) dotted += (dotted.empty() ? "" : ".") + Dec(id);
            add("lldp.mgn.obj.id", dotted);
        }
    }

    // Organizationally specific TLVs, in the encoder's order: 802.1, DCBX,
    // 802.3, others.
    auto dot1 = [&](uint8_t subtype) {
        add("lldp.orgtlv.oui", Dec(OuiNumber(kOuiDot1)));
        add("lldp.ieee.802_1.subtype", Hex(subtype, 2));
    };
    auto dot3 = [&](uint8_t subtype) {
        add("lldp.orgtlv.oui", Dec(OuiNumber(kOuiDot3)));
        add("lldp.ieee.802_3.subtype", Hex(subtype, 2));
    };
    if (p.portVlanId) {
        dot1(kDot1PortVlanId);
        add("lldp.ieee.802_1.port_vlan.id", Dec(*p.portVlanId));
    }
    for (const ProtoVlan &v : p.protoVlans) {
        dot1(kDot1PortProtoVlanId);
        add("lldp.ieee.802_1.port_and_vlan_id_flag", Hex(v.flags, 2));
        add("lldp.ieee.802_1.port_proto_vlan.id", Dec(v.ppvid));
    }
    for (const VlanName &v : p.vlanNames) {
        dot1(kDot1VlanName);
        add("lldp.ieee.802_1.vlan.id", Dec(v.vid));
        add("lldp.ieee.802_1.vlan.name_len", Dec(v.name.size()));
        add("lldp.ieee.802_1.vlan.name", v.name);
    }
    for (const Bytes &id : p.protocolIds) {
        dot1(kDot1ProtocolId);
        add("lldp.ieee.802_1.proto.id_length", Dec(id.size()));
        add("lldp.ieee.802_1.proto.id", PlainHex(id));
    }
    if (p.vidUsageDigest) dot1(kDot1VidUsageDigest);  // tshark shows no value fields for these two
    if (p.managementVid) dot1(kDot1ManagementVid);
    if (p.linkAgg) {
        dot1(kDot1LinkAgg);
        add("lldp.ieee.802_1.aggregation_status", Hex(p.linkAgg->status, 2));
        add("lldp.ieee.802_1.aggregation_status.cap", Dec(p.linkAgg->status & 1));
        add("lldp.ieee.802_1.aggregation_status.enabled", Dec((p.linkAgg->status >> 1) & 1));
        add("lldp.ieee.802_1.aggregated_port_id", Dec(p.linkAgg->portId));
    }
    auto etsTables = [&](const std::array<uint8_t, 8> &prio, const std::array<uint8_t, 8> &bw,
                         const std::array<uint8_t, 8> &tsa) {
        for (int i = 0; i < 8; ++i) {
            add("lldp.dcbx.feature.pg.pgid_prio" + Dec(i), Dec(prio[i]));
            add("lldp.dcbx.feature.pg.per" + Dec(i), Dec(bw[i]));
            add("lldp.dcbx.ieee.ets.tsa" + Dec(i), Dec(tsa[i]));
        }
    };
    if (p.etsConfig) {
        dot1(kDot1EtsConfig);
        add("lldp.dcbx.ieee.willing", Dec(p.etsConfig->willing));
        add("lldp.dcbx.ieee.ets.cbs", Dec(p.etsConfig->cbs));
        add("lldp.dcbx.ieee.ets.maxtcs", Dec(p.etsConfig->maxTcs));
        etsTables(p.etsConfig->priorityTc, p.etsConfig->bandwidth, p.etsConfig->tsa);
    }
    if (p.etsRecommendation) {
        dot1(kDot1EtsRecommendation);
        etsTables(p.etsRecommendation->priorityTc, p.etsRecommendation->bandwidth, p.etsRecommendation->tsa);
    }
    if (p.pfc) {
        dot1(kDot1Pfc);
        add("lldp.dcbx.ieee.willing", Dec(p.pfc->willing));
        add("lldp.dcbx.ieee.pfc.mbc", Dec(p.pfc->mbc));
        add("lldp.dcbx.ieee.pfc.numtcs", Dec(p.pfc->cap));
        for (int i = 0; i < 8; ++i) add("lldp.dcbx.feature.pfc.prio" + Dec(i), Dec((p.pfc->enable >> i) & 1));
    }
    if (p.appPriority) {
        dot1(kDot1AppPriority);
        for (const AppPriority &a : *p.appPriority) {
            add("lldp.dcbx.ieee.app.prio", Dec(a.priority));
            add("lldp.dcbx.iee.app.sf", Dec(a.selector));
            add("lldp.dcbx.feature.app.proto", Hex(a.protocol, 4));
        }
    }
    if (p.macPhy) {
        dot3(kDot3MacPhy);
        add("lldp.ieee.802_3.mac_phy_auto_neg_status", Hex(p.macPhy->autoNeg, 2));
        add("lldp.ieee.802_3.pmd_auto_neg_advertised_caps", Hex(p.macPhy->advertisedCap, 4));
        add("lldp.ieee.802_3.pmd_mau_type", Hex(p.macPhy->mauType, 4));
    }
    if (p.powerMdi) {
        dot3(kDot3PowerMdi);
        add("lldp.ieee.802_3.mdi_power_support", Hex(p.powerMdi->support, 2));
        add("lldp.ieee.802_3.mdi_pse_pair", Dec(p.powerMdi->pair));
        add("lldp.ieee.802_3.mdi_power_class", Dec(p.powerMdi->powerClass));
        const Bytes &x = p.powerMdi->extension;
        if (x.size() == 5) {
            add("lldp.ieee.802_3.mdi_pde_requested", Dec((x[1] << 8) | x[2]));
            add("lldp.ieee.802_3.mdi_pse_allocated", Dec((x[3] << 8) | x[4]));
        }
    }
    if (p.maxFrameSize) {
        dot3(kDot3MaxFrameSize);
        add("lldp.ieee.802_3.max_frame_size", Dec(*p.maxFrameSize));
    }
    for (const OrgTlv &o : p.orgTlvs) {  // OUIs that tshark does not know
        add("lldp.orgtlv.oui", Dec(OuiNumber(o.oui)));
        add("lldp.unknown_subtype", Dec(o.subtype));
        add("lldp.unknown_subtype.content", PlainHex(o.info));
    }
    return f;
}

// The TLV framing as the client library's splitter sees it, End TLV added.
void AddFraming(const Bytes &lldpdu, Fields &f) {
    LLDP_TLV_LIST_S list{};
    ASSERT_EQ(LLDP_tlvmng_SplitTLV(lldpdu.data(), static_cast<uint16_t>(lldpdu.size()), &list), 0u);
    for (const LLDP_TLV_NODE_S *n = list.head; n != nullptr; n = n->next) {
        f["lldp.tlv.type"].push_back(Dec(n->type));
        f["lldp.tlv.len"].push_back(Dec(n->len));
    }
    LLDP_tlvmng_FreeNbTLVNode(&list);
    f["lldp.tlv.type"].push_back("0");
    f["lldp.tlv.len"].push_back("0");
}

// ---------------------------------------------------------------------------
// Running tshark

std::string TsharkPath() {
    if (const char *env = std::getenv("TSHARK"); env != nullptr && *env != '\0') return env;
    return LLDPV2_TSHARK;
}

std::vector<std::string> Split(const std::string &s, char sep) {
    std::vector<std::string> out;
    size_t start = 0;
    for (;;) {
        const size_t pos = s.find(sep, start);
        out.push_back(s.substr(start, pos - start));
        if (pos == std::string::npos) break;
        start = pos + 1;
    }
    return out;
}

// One Fields map per frame, for the given field names.
std::vector<Fields> Dissect(const std::string &tshark, const std::string &pcap, const std::vector<std::string> &names) {
    std::string cmd = "'" + tshark + "' -n -r '" + pcap +
                      "' -T fields -E header=n -E separator=/t -E occurrence=a -E 'aggregator=|'";
    for (const std::string &n : names) cmd += " -e " + n;
    cmd += " 2>/dev/null";
    std::vector<Fields> frames;
    FILE *pipe = popen(cmd.c_str(), "r");
    if (pipe == nullptr) return frames;
    std::string out;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, pipe)) > 0) out.append(buf, n);
    pclose(pipe);
    for (const std::string &line : Split(out, '\n')) {
        if (line.empty()) continue;
        const std::vector<std::string> cols = Split(line, '\t');
        Fields f;
        for (size_t i = 0; i < names.size() && i < cols.size(); ++i) {
            if (!cols[i].empty()) f[names[i]] = Split(cols[i], '|');
        }
        frames.push_back(std::move(f));
    }
    return frames;
}

TEST(Tshark, DissectsEveryFieldAsEncoded) {
    const std::string tshark = TsharkPath();
    if (tshark.empty() || access(tshark.c_str(), X_OK) != 0) GTEST_SKIP() << "tshark not available";

    const std::vector<Sample> samples = Samples();
    const std::string pcap = ::testing::TempDir() + "codec_tshark_" + std::to_string(getpid()) + ".pcap";
    std::vector<Fields> expected;
    {
        PcapWriter w;
        ASSERT_TRUE(w.Open(pcap));
        const MacAddress src = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
        uint32_t second = 0;
        for (const Sample &s : samples) {
            const Bytes lldpdu = EncodeLldpdu(s.pdu);
            ASSERT_TRUE(w.Write(BuildFrame(s.dst, src, lldpdu), ++second));
            Fields f = Expected(s);
            AddFraming(lldpdu, f);
            expected.push_back(std::move(f));
        }
        ASSERT_TRUE(w.Close());
    }

    // Every field any sample expects, plus tshark's malformed-packet marker,
    // which must stay empty.
    std::vector<std::string> names = {"_ws.malformed"};
    for (const Fields &f : expected) {
        for (const auto &[name, values] : f) {
            if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
        }
    }
    const std::vector<Fields> actual = Dissect(tshark, pcap, names);
    std::remove(pcap.c_str());
    ASSERT_EQ(actual.size(), samples.size()) << "tshark did not read the capture";

    for (size_t i = 0; i < samples.size(); ++i) {
        for (const std::string &name : names) {
            const auto e = expected[i].find(name);
            const auto a = actual[i].find(name);
            const std::vector<std::string> none;
            EXPECT_EQ(a == actual[i].end() ? none : a->second, e == expected[i].end() ? none : e->second)
                << samples[i].name << ": " << name;
        }
    }
}

}  // namespace
