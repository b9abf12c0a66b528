// The host's links and addresses over rtnetlink: dumps at start, link and
// address notifications afterwards.
#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/ethtool.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>

#include "linux/fd.h"
#include "lldpv2host/live.h"

namespace lldpv2host::live {

namespace {

// Attributes of one message: a view of each known attribute's payload.
template <size_t N>
struct Attributes {
    std::array<const uint8_t *, N> data{};
    std::array<size_t, N> len{};
    void Read(const uint8_t *p, size_t n) {
        while (n >= sizeof(rtattr)) {
            rtattr a;
            std::memcpy(&a, p, sizeof a);
            if (a.rta_len < sizeof(rtattr) || a.rta_len > n) return;
            const unsigned type = a.rta_type & NLA_TYPE_MASK;
            if (type < N) {
                data[type] = p + RTA_LENGTH(0);
                len[type] = a.rta_len - RTA_LENGTH(0);
            }
            const size_t step = RTA_ALIGN(a.rta_len);
            if (step >= n) return;
            p += step;
            n -= step;
        }
    }
    bool Has(unsigned type) const { return data[type] != nullptr; }
};

std::optional<LinkInfo> ParseLink(const uint8_t *payload, size_t len) {
    if (len < sizeof(ifinfomsg)) return std::nullopt;
    ifinfomsg ifi;
    std::memcpy(&ifi, payload, sizeof ifi);
    Attributes<IFLA_MAX + 1> attrs;
    const size_t head = NLMSG_ALIGN(sizeof(ifinfomsg));
    if (len > head) attrs.Read(payload + head, len - head);
    LinkInfo link;
    link.ifIndex = static_cast<uint32_t>(ifi.ifi_index);
    if (attrs.Has(IFLA_IFNAME)) {
        const char *name = reinterpret_cast<const char *>(attrs.data[IFLA_IFNAME]);
        link.name.assign(name, strnlen(name, attrs.len[IFLA_IFNAME]));
    }
    if (attrs.Has(IFLA_ADDRESS) && attrs.len[IFLA_ADDRESS] == link.mac.size()) {
        std::memcpy(link.mac.data(), attrs.data[IFLA_ADDRESS], link.mac.size());
    }
    uint8_t operState = IF_OPER_UNKNOWN;
    if (attrs.Has(IFLA_OPERSTATE) && attrs.len[IFLA_OPERSTATE] >= 1) operState = *attrs.data[IFLA_OPERSTATE];
    const bool adminUp = (ifi.ifi_flags & IFF_UP) != 0;
    const bool lowerUp = (ifi.ifi_flags & IFF_LOWER_UP) != 0;
    link.operUp = adminUp && (operState == IF_OPER_UP || (operState == IF_OPER_UNKNOWN && lowerUp));
    link.ethernet = ifi.ifi_type == ARPHRD_ETHER;
    link.loopback = ifi.ifi_type == ARPHRD_LOOPBACK || (ifi.ifi_flags & IFF_LOOPBACK) != 0;
    return link;
}

std::optional<AddressInfo> ParseAddress(const uint8_t *payload, size_t len) {
    if (len < sizeof(ifaddrmsg)) return std::nullopt;
    ifaddrmsg ifa;
    std::memcpy(&ifa, payload, sizeof ifa);
    if (ifa.ifa_family != AF_INET && ifa.ifa_family != AF_INET6) return std::nullopt;
    Attributes<IFA_MAX + 1> attrs;
    const size_t head = NLMSG_ALIGN(sizeof(ifaddrmsg));
    if (len > head) attrs.Read(payload + head, len - head);
    // IFA_LOCAL is the interface's own address; IFA_ADDRESS is the peer's
    // on point-to-point links and the same as IFA_LOCAL otherwise.
    const unsigned which = attrs.Has(IFA_LOCAL) ? IFA_LOCAL : IFA_ADDRESS;
    const size_t want = ifa.ifa_family == AF_INET ? 4 : 16;
    if (!attrs.Has(which) || attrs.len[which] != want) return std::nullopt;
    AddressInfo a;
    a.ifIndex = ifa.ifa_index;
    a.family = ifa.ifa_family;
    a.address.assign(attrs.data[which], attrs.data[which] + want);
    a.scope = ifa.ifa_scope;
    return a;
}

// Sends one dump request and collects the answer until NLMSG_DONE.
bool Dump(int fd, uint16_t type, uint8_t family, std::vector<NetlinkEvent> &out, std::string *error) {
    struct {
        nlmsghdr h;
        rtgenmsg g;
    } req{};
    static uint32_t seq = 0;
    req.h.nlmsg_len = NLMSG_LENGTH(sizeof(rtgenmsg));
    req.h.nlmsg_type = type;
    req.h.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    req.h.nlmsg_seq = ++seq;
    req.g.rtgen_family = family;
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    if (sendto(fd, &req, req.h.nlmsg_len, 0, reinterpret_cast<sockaddr *>(&kernel), sizeof kernel) < 0) {
        if (error) *error = std::string("netlink request: ") + std::strerror(errno);
        return false;
    }
    std::vector<uint8_t> buf(64 * 1024);
    // A dump of even a large host fits in a few hundred datagrams.
    for (int rounds = 0; rounds < 100000; ++rounds) {
        const ssize_t n = recv(fd, buf.data(), buf.size(), 0);
        if (n < 0) {
            if (errno == EINTR) continue;
            if (error) *error = std::string("netlink answer: ") + std::strerror(errno);
            return false;
        }
        for (NetlinkEvent &e : ParseNetlink(buf.data(), static_cast<size_t>(n))) {
            if (e.kind == NetlinkEvent::Kind::Done) return true;
            if (e.kind == NetlinkEvent::Kind::Error) {
                if (error) *error = std::string("netlink dump: ") + std::strerror(e.error);
                return false;
            }
            out.push_back(std::move(e));
        }
    }
    if (error) *error = "netlink dump does not end";
    return false;
}

Fd OpenRoute(uint32_t groups, std::string *error) {
    Fd fd(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (!fd) {
        if (error) *error = std::string("netlink socket: ") + std::strerror(errno);
        return fd;
    }
    // Each answer of a dump or burst of notifications comes whole.
    int size = 1 << 20;
    setsockopt(fd.get(), SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
    // A receive that would block never hangs a dump forever.
    timeval tv{5, 0};
    setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
    sockaddr_nl local{};
    local.nl_family = AF_NETLINK;
    local.nl_groups = groups;
    if (bind(fd.get(), reinterpret_cast<sockaddr *>(&local), sizeof local) < 0) {
        if (error) *error = std::string("netlink bind: ") + std::strerror(errno);
        return Fd();
    }
    return fd;
}

}  // namespace

std::vector<NetlinkEvent> ParseNetlink(const uint8_t *data, size_t len) {
    std::vector<NetlinkEvent> events;
    size_t off = 0;
    while (off + sizeof(nlmsghdr) <= len) {
        nlmsghdr h;
        std::memcpy(&h, data + off, sizeof h);
        if (h.nlmsg_len < sizeof(nlmsghdr) || h.nlmsg_len > len - off) break;
        const uint8_t *payload = data + off + NLMSG_HDRLEN;
        const size_t plen = h.nlmsg_len - NLMSG_HDRLEN;
        NetlinkEvent e;
        switch (h.nlmsg_type) {
            case NLMSG_DONE:
                e.kind = NetlinkEvent::Kind::Done;
                events.push_back(e);
                break;
            case NLMSG_ERROR: {
                nlmsgerr err{};
                if (plen >= sizeof(int)) std::memcpy(&err.error, payload, sizeof(int));
                // An error of 0 acknowledges a request.
                if (err.error != 0) {
                    e.kind = NetlinkEvent::Kind::Error;
                    e.error = -err.error;
                    events.push_back(e);
                }
                break;
            }
            case RTM_NEWLINK:
            case RTM_DELLINK:
                if (auto link = ParseLink(payload, plen)) {
                    e.kind = h.nlmsg_type == RTM_NEWLINK ? NetlinkEvent::Kind::LinkNew : NetlinkEvent::Kind::LinkDel;
                    e.link = std::move(*link);
                    events.push_back(std::move(e));
                }
                break;
            case RTM_NEWADDR:
            case RTM_DELADDR:
                if (auto a = ParseAddress(payload, plen)) {
                    e.kind = h.nlmsg_type == RTM_NEWADDR ? NetlinkEvent::Kind::AddrNew : NetlinkEvent::Kind::AddrDel;
                    e.address = std::move(*a);
                    events.push_back(std::move(e));
                }
                break;
            default:
                break;
        }
        off += NLMSG_ALIGN(h.nlmsg_len);
    }
    return events;
}

uint32_t LinkSpeedMbps(const std::string &name) {
    if (name.empty() || name.size() >= IFNAMSIZ || name.find('/') != std::string::npos || name == "." || name == "..") {
        return 0;
    }
    // The ethtool ioctl asks the kernel of this process's network namespace.
    Fd fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (fd) {
        ethtool_cmd cmd{};
        cmd.cmd = ETHTOOL_GSET;
        ifreq ifr{};
        std::memcpy(ifr.ifr_name, name.c_str(), name.size());
        ifr.ifr_data = reinterpret_cast<char *>(&cmd);
        if (ioctl(fd.get(), SIOCETHTOOL, &ifr) == 0) {
            const uint32_t speed = ethtool_cmd_speed(&cmd);
            return speed == static_cast<uint32_t>(SPEED_UNKNOWN) ? 0 : speed;
        }
    }
    std::ifstream in("/sys/class/net/" + name + "/speed");
    long long speed = 0;
    // Reading fails (EINVAL) for a link that is down or has no speed.
    if (!(in >> speed) || speed <= 0 || speed > 0xFFFFFFFFLL) return 0;
    return static_cast<uint32_t>(speed);
}

bool QueryHost(std::vector<LinkInfo> &links, std::vector<AddressInfo> &addresses, std::string *error) {
    Fd fd = OpenRoute(0, error);
    if (!fd) return false;
    std::vector<NetlinkEvent> linkEvents, addrEvents;
    if (!Dump(fd.get(), RTM_GETLINK, AF_UNSPEC, linkEvents, error)) return false;
    if (!Dump(fd.get(), RTM_GETADDR, AF_UNSPEC, addrEvents, error)) return false;
    links.clear();
    addresses.clear();
    for (NetlinkEvent &e : linkEvents) {
        if (e.kind != NetlinkEvent::Kind::LinkNew) continue;
        e.link.speedMbps = LinkSpeedMbps(e.link.name);
        links.push_back(std::move(e.link));
    }
    for (NetlinkEvent &e : addrEvents) {
        if (e.kind == NetlinkEvent::Kind::AddrNew) addresses.push_back(std::move(e.address));
    }
    return true;
}

std::unique_ptr<NetlinkMonitor> NetlinkMonitor::Open(std::string *error) {
    Fd fd = OpenRoute(RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR, error);
    if (!fd) return nullptr;
    const int flags = fcntl(fd.get(), F_GETFL);
    if (flags < 0 || fcntl(fd.get(), F_SETFL, flags | O_NONBLOCK) < 0) {
        if (error) *error = std::string("netlink: ") + std::strerror(errno);
        return nullptr;
    }
    return std::unique_ptr<NetlinkMonitor>(new NetlinkMonitor(fd.release()));
}

NetlinkMonitor::~NetlinkMonitor() {
    if (fd_ >= 0) close(fd_);
}

std::vector<NetlinkEvent> NetlinkMonitor::Read() {
    std::vector<NetlinkEvent> events;
    std::vector<uint8_t> buf(64 * 1024);
    // Bounded: what is queued now, not what keeps arriving.
    for (int i = 0; i < 64; ++i) {
        const ssize_t n = recv(fd_, buf.data(), buf.size(), MSG_DONTWAIT);
        if (n < 0) {
            if (errno == EINTR) continue;
            // ENOBUFS: the kernel dropped notifications; the caller reads the
            // whole state again.
            if (errno == ENOBUFS) lost_ = true;
            break;
        }
        for (NetlinkEvent &e : ParseNetlink(buf.data(), static_cast<size_t>(n))) {
            if (e.kind == NetlinkEvent::Kind::LinkNew) e.link.speedMbps = LinkSpeedMbps(e.link.name);
            events.push_back(std::move(e));
        }
    }
    return events;
}

}  // namespace lldpv2host::live
