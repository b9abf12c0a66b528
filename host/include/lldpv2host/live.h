// The switch on real Linux interfaces: the host's links and addresses read
// over rtnetlink, a one-node switch built from them, LLDP frames sent and
// received on AF_PACKET sockets, and captures recorded and replayed with
// libpcap.
//
// Everything here runs on the caller's thread and never blocks once started:
// the owner of the event loop watches the descriptors LiveSwitch hands it,
// calls OnReadable when one is readable, and calls RunDue when the time of
// a replayed frame comes (NextReplayMicros).
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "lldpv2host/lldp.h"
#include "lldpv2host/switch.h"

namespace lldpv2host::live {

using Mac = std::array<uint8_t, 6>;

// "aa:bb:cc:dd:ee:ff".
std::string FormatMac(const Mac &mac);

// ---------------------------------------------------------------------------
// rtnetlink

struct LinkInfo {
    uint32_t ifIndex = 0;
    std::string name;
    Mac mac{};
    bool operUp = false;    // administratively up and the link is up
    bool ethernet = false;  // ARPHRD_ETHER
    bool loopback = false;
    uint32_t speedMbps = 0; // not in the message: filled in by LinkSpeedMbps
    bool operator==(const LinkInfo &) const = default;
};

struct AddressInfo {
    uint32_t ifIndex = 0;
    int family = 0;                 // AF_INET or AF_INET6
    std::vector<uint8_t> address;   // 4 or 16 octets
    uint8_t scope = 0;              // RT_SCOPE_*
    bool operator==(const AddressInfo &) const = default;
};

struct NetlinkEvent {
    enum class Kind { LinkNew, LinkDel, AddrNew, AddrDel, Done, Error };
    Kind kind = Kind::Done;
    LinkInfo link;        // LinkNew, LinkDel
    AddressInfo address;  // AddrNew, AddrDel
    int error = 0;        // Error: the errno the kernel reported
};

// The messages of one netlink datagram, in order. Messages of other types
// and truncated or malformed ones are skipped; parsing stops at the first
// header that does not fit.
std::vector<NetlinkEvent> ParseNetlink(const uint8_t *data, size_t len);

// Link speed (ethtool, else /sys/class/net/NAME/speed); 0 when unknown.
uint32_t LinkSpeedMbps(const std::string &name);

// The links (speed filled in) and addresses of the host, by a dump over a
// NETLINK_ROUTE socket. False with *error when the kernel does not answer.
bool QueryHost(std::vector<LinkInfo> &links, std::vector<AddressInfo> &addresses, std::string *error);

// A NETLINK_ROUTE socket subscribed to link and address changes.
class NetlinkMonitor {
public:
    // nullptr with *error when the socket cannot be opened.
    static std::unique_ptr<NetlinkMonitor> Open(std::string *error);
    ~NetlinkMonitor();
    NetlinkMonitor(const NetlinkMonitor &) = delete;
    NetlinkMonitor &operator=(const NetlinkMonitor &) = delete;
    int fd() const { return fd_; }
    // What is pending, without blocking (speeds of new links filled in).
    std::vector<NetlinkEvent> Read();
    // Whether notifications were lost since the last call (the socket's
    // buffer overflowed): the links must be read again.
    bool TakeLost() { return std::exchange(lost_, false); }

private:
    explicit NetlinkMonitor(int fd) : fd_(fd) {}
    int fd_ = -1;
    bool lost_ = false;
};

// ---------------------------------------------------------------------------
// The host as a switch

// The platform interface type name a link of this speed gets.
const char *InterfaceTypeForSpeed(uint32_t speedMbps);

struct HostInfo {
    std::string hostname;
    std::string description;  // "sysname release machine"
    std::vector<LinkInfo> links;
    std::vector<AddressInfo> addresses;
};
// Hostname, uname and the links and addresses of the host.
bool DescribeHost(HostInfo &host, std::string *error);

// Which interfaces: "all" (every Ethernet interface but loopback that is
// up) or names separated by commas.
struct InterfaceSelection {
    bool all = false;
    std::vector<std::string> names;
    static std::optional<InterfaceSelection> Parse(const std::string &text, std::string *error);
    // Whether a link that shows up later belongs to the selection.
    bool Wants(const LinkInfo &link) const;
};

// The links of the selection, in the order of the names (all: ifIndex
// order). Names that are missing are left out and listed in *missing; a
// named link that is not Ethernet is an error.
bool SelectLinks(const std::vector<LinkInfo> &links, const InterfaceSelection &selection,
                 std::vector<LinkInfo> &selected, std::vector<std::string> *missing, std::string *error);

// The scenario of a one-node switch whose ports are these links: system
// name, description and chassis id (the first link's MAC) from the host,
// one port per link under its kernel ifIndex, management addresses from the
// links' addresses (the nearest-bridge agent of each port sends the first).
std::string HostScenarioText(const HostInfo &host, const std::vector<LinkInfo> &ports);

// The platform interface (node 1) of a link that joins later.
Interface InterfaceOfLink(const LinkInfo &link);

// ---------------------------------------------------------------------------
// Frames

constexpr size_t kEthernetHeader = 14;
constexpr size_t kMinFrame = 60;  // without the frame check sequence

// An LLDP frame: destination, source, ethertype 0x88CC, the LLDPDU, zero
// padding up to 60 octets.
std::vector<uint8_t> BuildFrame(const Mac &destination, const Mac &source, const uint8_t *lldpdu, size_t len);

struct ParsedFrame {
    uint32_t agent = 0;  // the agent the destination names
    Mac source{};
    std::vector<uint8_t> lldpdu;  // everything after the Ethernet header, padding included
};
// nullopt for a frame that is not LLDP (ethertype, or too short) or whose
// destination is not one of the three group addresses.
std::optional<ParsedFrame> ParseFrame(const uint8_t *frame, size_t len);

// The source address of a frame of a port without a MAC of its own: the
// chassis id's MAC (or a hash of the chassis id), locally administered,
// plus the ifIndex in the low octets.
Mac DerivedPortMac(const uint8_t *lldpdu, size_t len, uint32_t ifIndex);

// ---------------------------------------------------------------------------
// Packet sockets

// An AF_PACKET socket bound to one interface and the LLDP ethertype, member
// of the three group addresses. Non-blocking.
class PacketSocket {
public:
    // nullptr with *error (and *errnoOut) when it cannot be opened.
    static std::unique_ptr<PacketSocket> Open(uint32_t kernelIfIndex, const std::string &name, std::string *error,
                                              int *errnoOut = nullptr);
    ~PacketSocket();
    PacketSocket(const PacketSocket &) = delete;
    PacketSocket &operator=(const PacketSocket &) = delete;
    int fd() const { return fd_; }
    uint32_t kernelIfIndex() const { return ifIndex_; }
    const std::string &name() const { return name_; }
    // 0 or the errno of the failure.
    int Send(const std::vector<uint8_t> &frame);
    // One frame that came in (frames the host sent are skipped); nullopt
    // when nothing is pending; *err set on a failure other than "nothing".
    std::optional<std::vector<uint8_t>> Receive(int *err);

private:
    PacketSocket(int fd, uint32_t ifIndex, std::string name) : fd_(fd), ifIndex_(ifIndex), name_(std::move(name)) {}
    int fd_ = -1;
    uint32_t ifIndex_ = 0;
    std::string name_;
};

// ---------------------------------------------------------------------------
// Captures

// Writes Ethernet frames to a pcap file, flushed after each frame.
class PcapWriter {
public:
    static std::unique_ptr<PcapWriter> Open(const std::string &path, std::string *error);
    ~PcapWriter();
    PcapWriter(const PcapWriter &) = delete;
    PcapWriter &operator=(const PcapWriter &) = delete;
    // Microseconds since the epoch; 0: now.
    void Write(const std::vector<uint8_t> &frame, uint64_t epochMicros = 0);

private:
    PcapWriter() = default;
    void *pcap_ = nullptr;
    void *dumper_ = nullptr;
};

struct CapturedFrame {
    uint64_t micros = 0;  // capture time, microseconds since the epoch
    std::vector<uint8_t> bytes;
};
// Every frame of a pcap or pcapng file of Ethernet frames. A file cut short
// (a capture stopped mid-write) gives its complete records, and `warning`
// says where it ends.
bool ReadCapture(const std::string &path, std::vector<CapturedFrame> &frames, std::string *error,
                 std::string *warning = nullptr);

// ---------------------------------------------------------------------------
// Time

// Monotonic clock (CLOCK_MONOTONIC) in microseconds.
uint64_t MonotonicMicros();

// The daemons' clock driven by a monotonic source: the daemons' clock value
// at a base plus the hundredths passed since.
class LoopClock {
public:
    explicit LoopClock(std::function<uint64_t()> source = MonotonicMicros);
    // From now on the daemons' clock reads `clock`.
    void Rebase(uint32_t clock);
    uint64_t Micros() const { return source_(); }
    // The daemons' clock now.
    uint32_t Now() const;
    // Microseconds from now until the daemons' clock reaches `deadline` (at
    // the earliest the next hundredth, so that a deadline that is already
    // due cannot make the loop spin), or until the monotonic time
    // `monotonicDeadline`, whichever comes first; nullopt when neither is set.
    std::optional<uint64_t> Delay(std::optional<uint32_t> deadline, std::optional<uint64_t> monotonicDeadline) const;

private:
    std::function<uint64_t()> source_;
    uint64_t baseMicros_ = 0;
    uint32_t baseClock_ = 0;
};

// ---------------------------------------------------------------------------
// The live switch

struct PcapInput {
    std::string path;
    std::string port;  // ifIndex or interface name; empty: the first LLDP port
    // "FILE[:PORT]"; a trailing ":PORT" is taken as the port only when the
    // whole text is not an existing file.
    static PcapInput Parse(const std::string &text);
};

// How fast captures are replayed: factor 1 at the recorded pace, 2 twice
// as fast; 0: all at once.
struct PcapSpeed {
    double factor = 1.0;
    static std::optional<PcapSpeed> Parse(const std::string &text);
};

struct LiveOptions {
    std::optional<std::string> interfaces;  // set: build the switch from the host
    std::optional<std::string> scenario;    // else: this scenario (none: the default one)
    std::vector<PcapInput> pcapIn;
    PcapSpeed pcapSpeed;
    std::optional<std::string> pcapOut;
};

class LiveSwitch {
public:
    enum class Level { Error, Warning, Notice, Info, Debug };
    struct Hooks {
        std::function<void(int fd)> watch;    // start watching fd for input
        std::function<void(int fd)> unwatch;  // stop (before it is closed)
        std::function<void(Level, const std::string &)> log;
        // Monotonic microseconds (injectable for tests).
        std::function<uint64_t()> monotonicMicros;
    };
    enum class StartError { None, Refused, NoPermission, Io };

    explicit LiveSwitch(Hooks hooks);
    ~LiveSwitch();
    LiveSwitch(const LiveSwitch &) = delete;
    LiveSwitch &operator=(const LiveSwitch &) = delete;

    // Loads the switch, opens the sockets of its Linux ports, the netlink
    // monitor (when there are Linux ports or a host switch), the capture
    // output and inputs. On failure nothing stays open.
    StartError Start(const LiveOptions &options, std::string *error);
    // Loads the scenario again (or rebuilds the switch from the host); on
    // a refusal the running switch stays as it was.
    bool Reload(std::string *error);
    // Stops every agent (shutdown LLDPDUs) and closes everything.
    void Shutdown();

    // fd became readable: a packet socket or the netlink monitor.
    void OnReadable(int fd);

    // Monotonic time of the next replayed frame; nullopt when none is left.
    // Replays run at their pace from the first call of this or RunDue.
    std::optional<uint64_t> NextReplayMicros();
    // Replays the frames whose time has come.
    void RunDue();

    // A frame received on the port (the whole Ethernet frame): recorded,
    // then handed to the receive rules of the agent its destination names;
    // nullopt for a frame that is not LLDP or names no agent (ignored).
    std::optional<ReceiveOutcome> ReceiveFrame(uint32_t ifIndex, const std::vector<uint8_t> &frame);

    // The ports with a socket, by the switch's ifIndex.
    std::set<uint32_t> SocketPorts() const;
    bool HostMode() const;

    // Formats an event for the log.
    static std::string Describe(const LldpEvent &event);

private:
    struct State;
    std::unique_ptr<State> s_;
};

}  // namespace lldpv2host::live
