// The host side of the live switch: rtnetlink messages as the kernel builds
// them, which links become ports, and the scenario of the host switch as
// the daemons take it.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <cstring>
#include <string>
#include <vector>

#include "lldp/lldpdu.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/live.h"
#include "lldpv2host/scenario.h"
#include "lldpv2host/switch.h"

namespace {

using namespace lldpv2host;
using namespace lldpv2host::live;
using Kind = NetlinkEvent::Kind;

// Builds netlink datagrams from the kernel's own structures.
class NlBuilder {
public:
    // Starts a message; its payload (struct T) follows the header.
    template <typename T>
    NlBuilder &Message(uint16_t type, const T &body) {
        Close();
        start_ = buf_.size();
        nlmsghdr h{};
        h.nlmsg_type = type;
        Append(&h, sizeof h);
        Append(&body, sizeof body);
        Align();
        return *this;
    }
    NlBuilder &Attr(uint16_t type, const void *data, size_t len) {
        rtattr a{};
        a.rta_type = type;
        a.rta_len = static_cast<unsigned short>(RTA_LENGTH(len));
        Append(&a, sizeof a);
        Append(data, len);
        Align();
        return *this;
    }
    NlBuilder &Attr(uint16_t type, const std::string &s) { return Attr(type, s.c_str(), s.size() + 1); }
    NlBuilder &Attr8(uint16_t type, uint8_t v) { return Attr(type, &v, 1); }
    // A bare header (NLMSG_DONE) or an error message.
    NlBuilder &Done() { return Message(NLMSG_DONE, 0); }
    NlBuilder &Error(int err) {
        nlmsgerr e{};
        e.error = err;
        return Message(NLMSG_ERROR, e);
    }
    std::vector<uint8_t> Bytes() {
        Close();
        return buf_;
    }

private:
    void Append(const void *p, size_t n) {
        const auto *b = static_cast<const uint8_t *>(p);
        buf_.insert(buf_.end(), b, b + n);
    }
    void Align() { buf_.resize(NLMSG_ALIGN(buf_.size()), 0); }
    void Close() {
        if (start_ == SIZE_MAX) return;
        const uint32_t len = static_cast<uint32_t>(buf_.size() - start_);
        std::memcpy(buf_.data() + start_, &len, sizeof len);  // nlmsg_len is the header's first field
        start_ = SIZE_MAX;
    }
    std::vector<uint8_t> buf_;
    size_t start_ = SIZE_MAX;
};

ifinfomsg Ifi(int index, unsigned short type, unsigned flags) {
    ifinfomsg i{};
    i.ifi_family = AF_UNSPEC;
    i.ifi_index = index;
    i.ifi_type = type;
    i.ifi_flags = flags;
    return i;
}

ifaddrmsg Ifa(uint8_t family, uint32_t index, uint8_t scope) {
    ifaddrmsg a{};
    a.ifa_family = family;
    a.ifa_index = index;
    a.ifa_scope = scope;
    a.ifa_prefixlen = family == AF_INET ? 24 : 64;
    return a;
}

const uint8_t kMac[6] = {0x02, 0x00, 0x5e, 0x10, 0x00, 0x07};

TEST(LiveNetlink, LinkMessages) {
    const unsigned upFlags = IFF_UP | IFF_RUNNING | IFF_LOWER_UP | IFF_BROADCAST | IFF_MULTICAST;
    struct Case {
        const char *what;
        uint16_t type;
        ifinfomsg ifi;
        int operState;  // -1: attribute absent
        bool withMac;
        Kind kind;
        bool operUp, ethernet, loopback;
    };
    const Case cases[] = {
        {"ethernet, up", RTM_NEWLINK, Ifi(7, ARPHRD_ETHER, upFlags), IF_OPER_UP, true, Kind::LinkNew, true, true, false},
        {"carrier lost", RTM_NEWLINK, Ifi(7, ARPHRD_ETHER, IFF_UP | IFF_BROADCAST), IF_OPER_DOWN, true, Kind::LinkNew,
         false, true, false},
        {"administratively down", RTM_NEWLINK, Ifi(7, ARPHRD_ETHER, IFF_BROADCAST), IF_OPER_DOWN, true, Kind::LinkNew,
         false, true, false},
        {"state unknown, lower layer up", RTM_NEWLINK, Ifi(7, ARPHRD_ETHER, upFlags), IF_OPER_UNKNOWN, true,
         Kind::LinkNew, true, true, false},
        {"state unknown, lower layer down", RTM_NEWLINK, Ifi(7, ARPHRD_ETHER, IFF_UP), IF_OPER_UNKNOWN, true,
         Kind::LinkNew, false, true, false},
        {"no state attribute", RTM_NEWLINK, Ifi(7, ARPHRD_ETHER, upFlags), -1, true, Kind::LinkNew, true, true, false},
        {"loopback", RTM_NEWLINK, Ifi(1, ARPHRD_LOOPBACK, IFF_UP | IFF_LOOPBACK | IFF_LOWER_UP), IF_OPER_UNKNOWN, false,
         Kind::LinkNew, true, false, true},
        {"tunnel", RTM_NEWLINK, Ifi(9, ARPHRD_NONE, upFlags), IF_OPER_UP, false, Kind::LinkNew, true, false, false},
        {"gone", RTM_DELLINK, Ifi(7, ARPHRD_ETHER, 0), IF_OPER_DOWN, true, Kind::LinkDel, false, true, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        NlBuilder b;
        b.Message(c.type, c.ifi).Attr(IFLA_IFNAME, "eth7");
        if (c.withMac) b.Attr(IFLA_ADDRESS, kMac, 6);
        if (c.operState >= 0) b.Attr8(IFLA_OPERSTATE, static_cast<uint8_t>(c.operState));
        b.Attr(IFLA_MTU, "\x00\x05\x00\x00", 4);  // an attribute nobody reads
        const std::vector<uint8_t> bytes = b.Bytes();
        const std::vector<NetlinkEvent> events = ParseNetlink(bytes.data(), bytes.size());
        ASSERT_EQ(events.size(), 1u);
        const NetlinkEvent &e = events[0];
        EXPECT_EQ(e.kind, c.kind);
        EXPECT_EQ(e.link.ifIndex, static_cast<uint32_t>(c.ifi.ifi_index));
        EXPECT_EQ(e.link.name, "eth7");
        EXPECT_EQ(e.link.operUp, c.operUp);
        EXPECT_EQ(e.link.ethernet, c.ethernet);
        EXPECT_EQ(e.link.loopback, c.loopback);
        EXPECT_EQ(e.link.mac, c.withMac ? (Mac{0x02, 0x00, 0x5e, 0x10, 0x00, 0x07}) : Mac{});
    }
}

TEST(LiveNetlink, AddressMessages) {
    const uint8_t v4[4] = {192, 0, 2, 7};
    const uint8_t peer[4] = {192, 0, 2, 254};
    uint8_t v6[16];
    inet_pton(AF_INET6, "2001:db8::7", v6);
    struct Case {
        const char *what;
        std::vector<uint8_t> bytes;
        size_t events;
        Kind kind;
        int family;
        std::vector<uint8_t> address;
    };
    const Case cases[] = {
        {"IPv4", NlBuilder().Message(RTM_NEWADDR, Ifa(AF_INET, 7, RT_SCOPE_UNIVERSE)).Attr(IFA_ADDRESS, v4, 4)
                     .Attr(IFA_LOCAL, v4, 4).Bytes(), 1, Kind::AddrNew, AF_INET, {192, 0, 2, 7}},
        {"point to point: the local end, not the peer",
         NlBuilder().Message(RTM_NEWADDR, Ifa(AF_INET, 7, RT_SCOPE_UNIVERSE)).Attr(IFA_ADDRESS, peer, 4)
             .Attr(IFA_LOCAL, v4, 4).Bytes(), 1, Kind::AddrNew, AF_INET, {192, 0, 2, 7}},
        {"IPv6, address only", NlBuilder().Message(RTM_NEWADDR, Ifa(AF_INET6, 7, RT_SCOPE_UNIVERSE))
                                   .Attr(IFA_ADDRESS, v6, 16).Bytes(), 1, Kind::AddrNew, AF_INET6,
         std::vector<uint8_t>(v6, v6 + 16)},
        {"removed", NlBuilder().Message(RTM_DELADDR, Ifa(AF_INET, 7, RT_SCOPE_UNIVERSE)).Attr(IFA_LOCAL, v4, 4).Bytes(),
         1, Kind::AddrDel, AF_INET, {192, 0, 2, 7}},
        {"address of the wrong length", NlBuilder().Message(RTM_NEWADDR, Ifa(AF_INET, 7, 0)).Attr(IFA_LOCAL, v6, 16)
                                            .Bytes(), 0, Kind::AddrNew, 0, {}},
        {"other family", NlBuilder().Message(RTM_NEWADDR, Ifa(AF_PACKET, 7, 0)).Attr(IFA_ADDRESS, kMac, 6).Bytes(), 0,
         Kind::AddrNew, 0, {}},
        {"no address", NlBuilder().Message(RTM_NEWADDR, Ifa(AF_INET, 7, 0)).Attr(IFA_LABEL, "eth7").Bytes(), 0,
         Kind::AddrNew, 0, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        const std::vector<NetlinkEvent> events = ParseNetlink(c.bytes.data(), c.bytes.size());
        ASSERT_EQ(events.size(), c.events);
        if (c.events == 0) continue;
        EXPECT_EQ(events[0].kind, c.kind);
        EXPECT_EQ(events[0].address.ifIndex, 7u);
        EXPECT_EQ(events[0].address.family, c.family);
        EXPECT_EQ(events[0].address.address, c.address);
    }
}

TEST(LiveNetlink, DatagramsOfSeveralMessagesAndDamagedOnes) {
    const uint8_t v4[4] = {192, 0, 2, 7};
    std::vector<uint8_t> dump = NlBuilder()
                                    .Message(RTM_NEWLINK, Ifi(2, ARPHRD_ETHER, IFF_UP | IFF_LOWER_UP))
                                    .Attr(IFLA_IFNAME, "eth0")
                                    .Message(RTM_NEWROUTE, rtmsg{})  // not ours: skipped
                                    .Message(RTM_NEWADDR, Ifa(AF_INET, 2, 0))
                                    .Attr(IFA_LOCAL, v4, 4)
                                    .Done()
                                    .Bytes();
    std::vector<NetlinkEvent> events = ParseNetlink(dump.data(), dump.size());
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0].kind, Kind::LinkNew);
    EXPECT_EQ(events[1].kind, Kind::AddrNew);
    EXPECT_EQ(events[2].kind, Kind::Done);

    // An error answer; an acknowledgement (error 0) is no event.
    std::vector<uint8_t> err = NlBuilder().Error(-EPERM).Error(0).Bytes();
    events = ParseNetlink(err.data(), err.size());
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].kind, Kind::Error);
    EXPECT_EQ(events[0].error, EPERM);

    // Cut short anywhere: what is whole is read, nothing beyond.
    const std::vector<uint8_t> one = NlBuilder().Message(RTM_NEWLINK, Ifi(2, ARPHRD_ETHER, 0)).Attr(IFLA_IFNAME, "eth0").Bytes();
    for (size_t cut = 0; cut < dump.size(); ++cut) {
        std::vector<uint8_t> part(dump.begin(), dump.begin() + static_cast<long>(cut));
        EXPECT_LE(ParseNetlink(part.data(), part.size()).size(), 3u);
    }
    std::vector<uint8_t> half(one.begin(), one.end() - 4);
    EXPECT_TRUE(ParseNetlink(half.data(), half.size()).empty());

    // An attribute whose length runs past the message ends the attributes.
    std::vector<uint8_t> bad = NlBuilder().Message(RTM_NEWLINK, Ifi(3, ARPHRD_ETHER, 0)).Attr(IFLA_IFNAME, "eth1")
                                   .Attr(IFLA_ADDRESS, kMac, 6).Bytes();
    const size_t macAttr = NLMSG_HDRLEN + NLMSG_ALIGN(sizeof(ifinfomsg)) + RTA_ALIGN(RTA_LENGTH(5));
    const unsigned short huge = 200;
    std::memcpy(bad.data() + macAttr, &huge, sizeof huge);
    events = ParseNetlink(bad.data(), bad.size());
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].link.name, "eth1");
    EXPECT_EQ(events[0].link.mac, Mac{});
}

LinkInfo Link(uint32_t ifIndex, const std::string &name, bool up, bool ethernet = true, bool loopback = false,
              uint32_t speed = 1000) {
    LinkInfo l;
    l.ifIndex = ifIndex;
    l.name = name;
    l.mac = {0x02, 0x00, 0x5e, 0x00, 0x00, static_cast<uint8_t>(ifIndex)};
    l.operUp = up;
    l.ethernet = ethernet;
    l.loopback = loopback;
    l.speedMbps = speed;
    return l;
}

TEST(LiveHost, SelectionOfLinks) {
    const std::vector<LinkInfo> links = {Link(1, "lo", true, false, true), Link(4, "eth1", true),
                                         Link(2, "eth0", true), Link(3, "eth2", false), Link(5, "wg0", true, false)};
    struct Case {
        const char *text;
        bool ok;
        std::vector<uint32_t> ports;
        std::vector<std::string> missing;
    };
    const Case cases[] = {
        {"all", true, {2, 4}, {}},            // up Ethernet links in ifIndex order
        {"eth1,eth0", true, {4, 2}, {}},      // the order given
        {"eth2", true, {3}, {}},              // named: also when down
        {"eth0,eth9", true, {2}, {"eth9"}},   // missing: left for later
        {"eth0,eth0", true, {2}, {}},
        {"lo", false, {}, {}},
        {"wg0", false, {}, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.text);
        std::string error;
        std::optional<InterfaceSelection> sel = InterfaceSelection::Parse(c.text, &error);
        ASSERT_TRUE(sel) << error;
        std::vector<LinkInfo> selected;
        std::vector<std::string> missing;
        EXPECT_EQ(SelectLinks(links, *sel, selected, &missing, &error), c.ok) << error;
        if (!c.ok) continue;
        std::vector<uint32_t> got;
        for (const LinkInfo &l : selected) got.push_back(l.ifIndex);
        EXPECT_EQ(got, c.ports);
        EXPECT_EQ(missing, c.missing);
    }
    for (const char *bad : {"", ",", "eth0,a/b", "averyveryverylongname"}) {
        EXPECT_FALSE(InterfaceSelection::Parse(bad, nullptr)) << bad;
    }
    // Links that show up later.
    InterfaceSelection all = *InterfaceSelection::Parse("all", nullptr);
    EXPECT_TRUE(all.Wants(Link(9, "veth9", true)));
    EXPECT_FALSE(all.Wants(Link(9, "veth9", false)));
    EXPECT_FALSE(all.Wants(Link(9, "tun0", true, false)));
    InterfaceSelection named = *InterfaceSelection::Parse("veth9", nullptr);
    EXPECT_TRUE(named.Wants(Link(9, "veth9", false)));
    EXPECT_FALSE(named.Wants(Link(8, "veth8", true)));
}

TEST(LiveHost, TypeBySpeed) {
    const std::pair<uint32_t, const char *> cases[] = {
        {0, "ethernet"},          {10, "ethernet"},           {100, "fast-ethernet"},
        {1000, "gigabit-ethernet"}, {2500, "multi-gigabit-ethernet"}, {10000, "ten-gigabit-ethernet"},
        {25000, "twenty-five-gigabit-ethernet"}, {100000, "hundred-gigabit-ethernet"}, {12345, "ethernet"},
    };
    for (const auto &[speed, name] : cases) {
        EXPECT_STREQ(InterfaceTypeForSpeed(speed), name) << speed;
        // Every name is a type of the platform whose ports run LLDP.
        std::optional<uint32_t> code = InterfaceTypeByName(name);
        ASSERT_TRUE(code) << name;
        EXPECT_EQ(PortClassOf(*code), PortClass::Ordinary) << name;
    }
}

class LiveHostSwitch : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSwitch();
        ResetLldp();
    }
    void TearDown() override {
        ResetSwitch();
        ResetLldp();
    }
};

AddressInfo Addr(uint32_t ifIndex, const char *text, uint8_t scope = RT_SCOPE_UNIVERSE) {
    AddressInfo a;
    a.ifIndex = ifIndex;
    uint8_t buf[16];
    if (inet_pton(AF_INET, text, buf) == 1) {
        a.family = AF_INET;
        a.address.assign(buf, buf + 4);
    } else {
        inet_pton(AF_INET6, text, buf);
        a.family = AF_INET6;
        a.address.assign(buf, buf + 16);
    }
    a.scope = scope;
    return a;
}

TEST_F(LiveHostSwitch, TheHostScenarioLoadsAsTheHostIs) {
    HostInfo host;
    host.hostname = "lab \"host\" #1";  // quoted in YAML
    host.description = "Linux 6.1.0 x86_64";
    host.addresses = {Addr(1, "127.0.0.1", RT_SCOPE_HOST), Addr(2, "fe80::1", RT_SCOPE_LINK),
                      Addr(2, "2001:db8::2"), Addr(4, "198.51.100.4"), Addr(9, "203.0.113.9")};
    const std::vector<LinkInfo> ports = {Link(4, "eth1", true, true, false, 10000), Link(2, "eth0", false, true, false, 0)};
    std::string error;
    ASSERT_TRUE(LoadScenarioText(HostScenarioText(host, ports), &error, "host")) << error << "\n"
                                                                                  << HostScenarioText(host, ports);

    const std::vector<Interface> intfs = Interfaces();
    ASSERT_EQ(intfs.size(), 2u);
    EXPECT_EQ(intfs[0].ifIndex, 2u);
    EXPECT_EQ(intfs[0].name, "eth0");
    EXPECT_EQ(intfs[0].linuxName, "eth0");
    EXPECT_FALSE(intfs[0].operUp);
    EXPECT_EQ(InterfaceTypeName(intfs[0].type), "ethernet");
    EXPECT_EQ(intfs[1].ifIndex, 4u);
    EXPECT_TRUE(intfs[1].operUp);
    EXPECT_EQ(intfs[1].speedMbps, 10000u);
    EXPECT_EQ(intfs[1].mac, (Mac{0x02, 0x00, 0x5e, 0x00, 0x00, 0x04}));
    EXPECT_EQ(InterfaceTypeName(intfs[1].type), "ten-gigabit-ethernet");

    // What the first port's nearest-bridge agent sends: chassis = first
    // port's MAC, port id = its name, the host's name and description, the
    // first IPv4 address of the ports as management address.
    const std::vector<uint8_t> tlvs = LocalLldpdu(4, 1);
    lldp::DecodeResult pdu = lldp::DecodeLldpdu(tlvs);
    ASSERT_TRUE(pdu.accepted);
    EXPECT_EQ(pdu.pdu.chassisIdSubtype, 4);
    EXPECT_EQ(pdu.pdu.chassisId, (std::vector<uint8_t>{0x02, 0x00, 0x5e, 0x00, 0x00, 0x04}));
    EXPECT_EQ(pdu.pdu.portIdSubtype, 5);
    EXPECT_EQ(pdu.pdu.portId, (std::vector<uint8_t>{'e', 't', 'h', '1'}));
    EXPECT_EQ(pdu.pdu.sysName, "lab \"host\" #1");
    EXPECT_EQ(pdu.pdu.sysDesc, "Linux 6.1.0 x86_64");
    ASSERT_EQ(pdu.pdu.manAddrs.size(), 1u);
    EXPECT_EQ(pdu.pdu.manAddrs[0].address, (std::vector<uint8_t>{198, 51, 100, 4}));
    EXPECT_EQ(pdu.pdu.manAddrs[0].ifSubtype, 2);
    EXPECT_EQ(pdu.pdu.manAddrs[0].ifId, 4u);
    // The node's management addresses: the ports' own (IPv4, then IPv6),
    // then the other interfaces'; never loopback or IPv6 link-local.
    const std::string text = HostScenarioText(host, ports);
    const size_t v4 = text.find("198.51.100.4"), v6 = text.find("2001:db8::2"), other = text.find("203.0.113.9");
    EXPECT_LT(v4, v6);
    EXPECT_LT(v6, other);
    EXPECT_NE(other, std::string::npos);
    EXPECT_EQ(text.find("127.0.0.1"), std::string::npos);
    EXPECT_EQ(text.find("fe80::1"), std::string::npos);
    // A host sends to its nearest bridge only and listens on all three.
    EXPECT_EQ(GetAdminStatus(4, 1), AdminStatus::TxAndRx);
    EXPECT_EQ(GetAdminStatus(4, 2), AdminStatus::RxOnly);
    EXPECT_EQ(GetAdminStatus(4, 3), AdminStatus::RxOnly);
}

TEST_F(LiveHostSwitch, AHostWithoutPortsOrAddresses) {
    HostInfo host;
    host.hostname = "bare";
    host.description = "Linux";
    std::string error;
    ASSERT_TRUE(LoadScenarioText(HostScenarioText(host, {}), &error, "host")) << error;
    EXPECT_TRUE(Interfaces().empty());
    EXPECT_EQ(Nodes(), std::vector<uint16_t>{1});
    // A port without addresses sends none.
    ASSERT_TRUE(LoadScenarioText(HostScenarioText(host, {Link(3, "eth0", true)}), &error, "host")) << error;
    lldp::DecodeResult pdu = lldp::DecodeLldpdu(LocalLldpdu(3, 1));
    ASSERT_TRUE(pdu.accepted);
    EXPECT_TRUE(pdu.pdu.manAddrs.empty());
}

TEST_F(LiveHostSwitch, ALinkThatJoinsLater) {
    HostInfo host;
    host.hostname = "h";
    host.description = "Linux";
    std::string error;
    ASSERT_TRUE(LoadScenarioText(HostScenarioText(host, {Link(3, "eth0", true)}), &error, "host")) << error;
    AddInterface(InterfaceOfLink(Link(8, "veth8", true, true, false, 10000)));
    std::optional<Interface> i = FindInterface(8);
    ASSERT_TRUE(i);
    EXPECT_EQ(i->linuxName, "veth8");
    EXPECT_EQ(InterfaceTypeName(i->type), "ten-gigabit-ethernet");
    lldp::DecodeResult pdu = lldp::DecodeLldpdu(LocalLldpdu(8, 1));
    ASSERT_TRUE(pdu.accepted);
    EXPECT_EQ(pdu.pdu.portId, (std::vector<uint8_t>{'v', 'e', 't', 'h', '8'}));
}

}  // namespace
