// LLDP frames on Ethernet, and the AF_PACKET sockets that carry them.
#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "linux/fd.h"
#include "lldpv2host/live.h"

namespace lldpv2host::live {

std::vector<uint8_t> BuildFrame(const Mac &destination, const Mac &source, const uint8_t *lldpdu, size_t len) {
    std::vector<uint8_t> frame;
    frame.reserve(std::max(kMinFrame, kEthernetHeader + len));
    frame.insert(frame.end(), destination.begin(), destination.end());
    frame.insert(frame.end(), source.begin(), source.end());
    frame.push_back(static_cast<uint8_t>(kLldpEthertype >> 8));
    frame.push_back(static_cast<uint8_t>(kLldpEthertype & 0xFF));
    if (len > 0) frame.insert(frame.end(), lldpdu, lldpdu + len);
    if (frame.size() < kMinFrame) frame.resize(kMinFrame, 0);
    return frame;
}

std::optional<ParsedFrame> ParseFrame(const uint8_t *frame, size_t len) {
    if (frame == nullptr || len < kEthernetHeader) return std::nullopt;
    const uint16_t type = static_cast<uint16_t>((frame[12] << 8) | frame[13]);
    if (type != kLldpEthertype) return std::nullopt;
    ParsedFrame p;
    p.agent = AgentOfGroupMac(frame);
    if (p.agent == 0) return std::nullopt;
    std::memcpy(p.source.data(), frame + 6, p.source.size());
    p.lldpdu.assign(frame + kEthernetHeader, frame + len);
    return p;
}

Mac DerivedPortMac(const uint8_t *lldpdu, size_t len, uint32_t ifIndex) {
    Mac base{};
    // The first TLV is the chassis id: type 1, subtype, id.
    bool found = false;
    if (lldpdu != nullptr && len >= 3 && (lldpdu[0] >> 1) == 1) {
        const size_t tlvLen = ((lldpdu[0] & 1u) << 8) | lldpdu[1];
        if (tlvLen >= 2 && 2 + tlvLen <= len) {
            const uint8_t subtype = lldpdu[2];
            const uint8_t *id = lldpdu + 3;
            const size_t idLen = tlvLen - 1;
            if (subtype == 4 && idLen == 6) {
                std::memcpy(base.data(), id, 6);
            } else {
                // FNV-1a of the identifier spread over the address.
                uint64_t h = 1469598103934665603ull;
                for (size_t i = 0; i < idLen; ++i) h = (h ^ id[i]) * 1099511628211ull;
                for (size_t i = 0; i < 6; ++i) base[i] = static_cast<uint8_t>(h >> (8 * i));
            }
            found = true;
        }
    }
    if (!found) base = {0x02, 0, 0, 0, 0, 0};
    // Unicast, locally administered.
    base[0] = static_cast<uint8_t>((base[0] & 0xFC) | 0x02);
    // Port number added to the low 24 bits.
    uint32_t low = (uint32_t{base[3]} << 16) | (uint32_t{base[4]} << 8) | base[5];
    low = (low + ifIndex) & 0xFFFFFF;
    base[3] = static_cast<uint8_t>(low >> 16);
    base[4] = static_cast<uint8_t>(low >> 8);
    base[5] = static_cast<uint8_t>(low);
    return base;
}

std::unique_ptr<PacketSocket> PacketSocket::Open(uint32_t kernelIfIndex, const std::string &name, std::string *error,
                                                 int *errnoOut) {
    auto fail = [&](const std::string &what) {
        const int e = errno;
        if (errnoOut) *errnoOut = e;
        if (error) *error = name + ": " + what + ": " + std::strerror(e);
        return nullptr;
    };
    Fd fd(socket(AF_PACKET, SOCK_RAW | SOCK_NONBLOCK | SOCK_CLOEXEC, htons(kLldpEthertype)));
    if (!fd) return fail("packet socket");
    sockaddr_ll sll{};
    sll.sll_family = AF_PACKET;
    sll.sll_protocol = htons(kLldpEthertype);
    sll.sll_ifindex = static_cast<int>(kernelIfIndex);
    if (bind(fd.get(), reinterpret_cast<sockaddr *>(&sll), sizeof sll) < 0) return fail("bind");
    for (uint32_t agent = 1; agent <= 3; ++agent) {
        packet_mreq mreq{};
        mreq.mr_ifindex = static_cast<int>(kernelIfIndex);
        mreq.mr_type = PACKET_MR_MULTICAST;
        mreq.mr_alen = 6;
        const Mac group = AgentGroupMac(agent);
        std::memcpy(mreq.mr_address, group.data(), group.size());
        if (setsockopt(fd.get(), SOL_PACKET, PACKET_ADD_MEMBERSHIP, &mreq, sizeof mreq) < 0) {
            return fail("group membership");
        }
    }
    if (errnoOut) *errnoOut = 0;
    return std::unique_ptr<PacketSocket>(new PacketSocket(fd.release(), kernelIfIndex, name));
}

PacketSocket::~PacketSocket() {
    if (fd_ >= 0) close(fd_);
}

int PacketSocket::Send(const std::vector<uint8_t> &frame) {
    if (frame.size() < kEthernetHeader) return EINVAL;
    sockaddr_ll sll{};
    sll.sll_family = AF_PACKET;
    sll.sll_protocol = htons(kLldpEthertype);
    sll.sll_ifindex = static_cast<int>(ifIndex_);
    sll.sll_halen = 6;
    std::memcpy(sll.sll_addr, frame.data(), 6);
    for (int tries = 0; tries < 3; ++tries) {
        const ssize_t n = sendto(fd_, frame.data(), frame.size(), 0, reinterpret_cast<sockaddr *>(&sll), sizeof sll);
        if (n >= 0) return 0;
        if (errno != EINTR) return errno;
    }
    return EINTR;
}

std::optional<std::vector<uint8_t>> PacketSocket::Receive(int *err) {
    if (err) *err = 0;
    std::vector<uint8_t> buf(9216 + 64);
    for (int tries = 0; tries < 64; ++tries) {
        sockaddr_ll from{};
        socklen_t fromLen = sizeof from;
        const ssize_t n = recvfrom(fd_, buf.data(), buf.size(), MSG_DONTWAIT | MSG_TRUNC,
                                   reinterpret_cast<sockaddr *>(&from), &fromLen);
        if (n < 0) {
            if (errno == EINTR) continue;
            // A link that went down reports it once on the socket; the
            // link state itself comes from netlink.
            if (errno != EAGAIN && errno != EWOULDBLOCK && errno != ENETDOWN && err) *err = errno;
            return std::nullopt;
        }
        // What the host itself sends comes back on a packet socket.
        if (from.sll_pkttype == PACKET_OUTGOING) continue;
        buf.resize(std::min(static_cast<size_t>(n), buf.size()));
        return buf;
    }
    return std::nullopt;
}

}  // namespace lldpv2host::live
