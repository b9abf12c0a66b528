// The switch on the host's interfaces: loads it (from a scenario or from
// the host), keeps a packet socket on each port that is a Linux interface,
// follows the kernel's link changes, sends what the daemons transmit,
// records and replays captures.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <map>
#include <sstream>

#include "lldpv2host/live.h"
#include "lldpv2host/scenario.h"
#include "lldpv2host/switch.h"

namespace lldpv2host::live {

namespace {

std::optional<uint32_t> ParseUnsigned(const std::string &s) {
    uint32_t v = 0;
    auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (s.empty() || ec != std::errc() || end != s.data() + s.size()) return std::nullopt;
    return v;
}

bool IsFile(const std::string &path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0;
}

const char *AgentName(uint32_t agent) {
    switch (agent) {
        case 1: return "nearest-bridge";
        case 2: return "nearest-non-tpmr-bridge";
        case 3: return "nearest-customer-bridge";
        default: return "?";
    }
}

std::string PortText(uint32_t ifIndex) {
    std::string text = "port " + std::to_string(ifIndex);
    if (auto intf = FindInterface(ifIndex); intf && !intf->name.empty()) text += " (" + intf->name + ")";
    return text;
}

}  // namespace

PcapInput PcapInput::Parse(const std::string &text) {
    PcapInput in;
    in.path = text;
    const size_t colon = text.rfind(':');
    if (colon != std::string::npos && colon > 0 && colon + 1 < text.size() && !IsFile(text)) {
        in.path = text.substr(0, colon);
        in.port = text.substr(colon + 1);
    }
    return in;
}

std::optional<PcapSpeed> PcapSpeed::Parse(const std::string &text) {
    if (text == "recorded") return PcapSpeed{1.0};
    if (text == "max") return PcapSpeed{0.0};
    try {
        size_t used = 0;
        const double f = std::stod(text, &used);
        if (used == text.size() && std::isfinite(f) && f > 0 && f <= 1e6) return PcapSpeed{f};
    } catch (const std::exception &) {
    }
    return std::nullopt;
}

struct LiveSwitch::State {
    struct Port {
        std::string linuxName;
        std::unique_ptr<PacketSocket> socket;
        bool sendErrorLogged = false;
        bool receiveErrorLogged = false;
    };
    struct Replay {
        uint64_t at = 0;  // microseconds after the start of the replay
        uint32_t ifIndex = 0;
        std::vector<uint8_t> frame;
    };

    Hooks hooks;
    LiveOptions options;
    std::optional<InterfaceSelection> selection;  // host mode
    std::map<uint32_t, Port> ports;               // switch ifIndex -> socket
    std::map<int, uint32_t> portByFd;
    std::map<std::string, LinkInfo> links;        // the kernel's links by name
    std::unique_ptr<NetlinkMonitor> netlink;
    std::unique_ptr<PcapWriter> pcapOut;
    // By offset from the start of the replay, which is the first time the
    // loop asks for it (the agent is serving by then).
    std::multimap<uint64_t, Replay> replays;
    std::optional<uint64_t> replayStart;
    uint64_t frameSink = 0;
    uint64_t eventSink = 0;
    bool started = false;
    // While a switch loads, its Linux ports have no sockets yet: their first
    // frames wait here until the sockets are open.
    bool holding = false;
    std::vector<std::pair<uint32_t, std::vector<uint8_t>>> held;

    void Log(Level level, const std::string &text) const {
        if (hooks.log) hooks.log(level, text);
    }
    uint64_t Micros() const { return hooks.monotonicMicros ? hooks.monotonicMicros() : MonotonicMicros(); }

    // -- loading

    bool Load(std::string *error, std::vector<LinkInfo> *hostLinks) {
        if (!selection) {
            return options.scenario ? LoadScenarioFile(*options.scenario, error) : LoadDefaultScenario(error);
        }
        HostInfo host;
        if (!DescribeHost(host, error)) return false;
        std::vector<LinkInfo> selected;
        std::vector<std::string> missing;
        if (!SelectLinks(host.links, *selection, selected, &missing, error)) return false;
        if (selection->all) {
            // All interfaces means those up at the start and those that come
            // up later; one that went down since is still a port, and a
            // reload keeps it.
            for (const LinkInfo &l : host.links) {
                const auto served = FindInterface(l.ifIndex);
                if (!l.operUp && served && served->linuxName == l.name) selected.push_back(l);
            }
            std::sort(selected.begin(), selected.end(),
                      [](const LinkInfo &a, const LinkInfo &b) { return a.ifIndex < b.ifIndex; });
        }
        for (const std::string &name : missing) {
            Log(Level::Warning, "interface " + name + " does not exist (yet); it becomes a port when it appears");
        }
        if (!LoadScenarioText(HostScenarioText(host, selected), error, "host interfaces")) return false;
        if (hostLinks) *hostLinks = std::move(host.links);
        return true;
    }

    bool NeedsKernel() const {
        if (selection) return true;
        for (const Interface &i : Interfaces()) {
            if (!i.linuxName.empty()) return true;
        }
        return false;
    }

    // Opens the netlink monitor and reads the kernel's links when the
    // switch has Linux ports (or is the host).
    bool FollowKernel(std::vector<LinkInfo> *known, std::string *error) {
        if (!NeedsKernel()) return true;
        if (!netlink) {
            netlink = NetlinkMonitor::Open(error);
            if (!netlink) return false;
            if (hooks.watch) hooks.watch(netlink->fd());
        }
        std::vector<LinkInfo> fresh;
        if (!known) {
            std::vector<AddressInfo> addrs;
            if (!QueryHost(fresh, addrs, error)) return false;
            known = &fresh;
        }
        links.clear();
        for (const LinkInfo &l : *known) links[l.name] = l;
        return true;
    }

    // -- the ports' link state and sockets

    const LinkInfo *LinkNamed(const std::string &name) const {
        auto it = links.find(name);
        return it == links.end() ? nullptr : &it->second;
    }

    // Makes each Linux port's link state follow the kernel.
    void SyncLinkState() {
        std::vector<Interface> changed;
        for (const Interface &i : Interfaces()) {
            if (i.linuxName.empty()) continue;
            Interface want = i;
            const LinkInfo *link = LinkNamed(i.linuxName);
            want.operUp = link != nullptr && link->operUp;
            if (link != nullptr) {
                if (link->speedMbps != 0) want.speedMbps = link->speedMbps;
                if (selection || std::all_of(i.mac.begin(), i.mac.end(), [](uint8_t b) { return b == 0; })) {
                    want.mac = link->mac;
                }
            }
            if (want.operUp != i.operUp || want.speedMbps != i.speedMbps || want.mac != i.mac) {
                changed.push_back(want);
            }
        }
        for (const Interface &i : changed) {
            const bool upChanged = FindInterface(i.ifIndex).value_or(i).operUp != i.operUp;
            AddInterface(i);
            if (upChanged) Log(Level::Notice, PortText(i.ifIndex) + ": link " + (i.operUp ? "up" : "down"));
        }
    }

    void ClosePort(std::map<uint32_t, Port>::iterator it) {
        if (it->second.socket) {
            const int fd = it->second.socket->fd();
            if (hooks.unwatch) hooks.unwatch(fd);
            portByFd.erase(fd);
        }
        ports.erase(it);
    }

    // Opens and closes sockets so that every Linux port whose interface
    // exists has one. *permission is set when the system refuses raw sockets.
    bool SyncSockets(std::string *error, bool *permission) {
        std::map<uint32_t, std::pair<std::string, uint32_t>> want;  // ifIndex -> (linux name, kernel ifIndex)
        for (const Interface &i : Interfaces()) {
            if (i.linuxName.empty()) continue;
            if (const LinkInfo *link = LinkNamed(i.linuxName)) want[i.ifIndex] = {i.linuxName, link->ifIndex};
        }
        for (auto it = ports.begin(); it != ports.end();) {
            auto w = want.find(it->first);
            const bool keep = w != want.end() && it->second.socket && w->second.first == it->second.linuxName &&
                              w->second.second == it->second.socket->kernelIfIndex();
            if (keep) {
                ++it;
                continue;
            }
            Log(Level::Info, PortText(it->first) + ": socket on " + it->second.linuxName + " closed");
            auto next = std::next(it);
            ClosePort(it);
            it = next;
        }
        bool ok = true;
        for (const auto &[ifIndex, w] : want) {
            if (ports.count(ifIndex) != 0) continue;
            std::string why;
            int err = 0;
            auto socket = PacketSocket::Open(w.second, w.first, &why, &err);
            if (!socket) {
                if (err == EPERM || err == EACCES) {
                    if (permission) *permission = true;
                    if (error) *error = "sending and receiving LLDP frames needs CAP_NET_RAW (run as root): " + why;
                    return false;
                }
                Log(Level::Error, PortText(ifIndex) + ": " + why);
                if (ok && error) *error = why;
                ok = false;
                continue;
            }
            const int fd = socket->fd();
            Port port;
            port.linuxName = w.first;
            port.socket = std::move(socket);
            ports.emplace(ifIndex, std::move(port));
            portByFd[fd] = ifIndex;
            if (hooks.watch) hooks.watch(fd);
            std::string link = w.first;
            if (auto intf = FindInterface(ifIndex)) {
                link += " (" + InterfaceTypeName(intf->type) + ", " +
                        (intf->speedMbps != 0 ? std::to_string(intf->speedMbps) + " Mb/s" : "speed unknown") + ", link " +
                        (intf->operUp ? "up" : "down") + ")";
            }
            Log(Level::Info, PortText(ifIndex) + ": LLDP on " + link);
        }
        return ok;
    }

    void AddSinks() {
        if (frameSink == 0) frameSink = AddFrameSink([this](const TxFrame &f) { OnFrame(f); });
        if (eventSink == 0) eventSink = AddEventSink([this](const LldpEvent &e) { Log(Level::Info, Describe(e)); });
    }

    // Sends what was held while loading, now that the sockets are open.
    void SendHeld() {
        holding = false;
        for (const auto &[ifIndex, frame] : held) {
            auto port = ports.find(ifIndex);
            if (port != ports.end() && port->second.socket) port->second.socket->Send(frame);
        }
        held.clear();
    }

    void CloseAll() {
        holding = false;
        held.clear();
        if (frameSink != 0) RemoveFrameSink(frameSink);
        if (eventSink != 0) RemoveEventSink(eventSink);
        frameSink = eventSink = 0;
        while (!ports.empty()) ClosePort(ports.begin());
        if (netlink) {
            if (hooks.unwatch) hooks.unwatch(netlink->fd());
            netlink.reset();
        }
        pcapOut.reset();
        replays.clear();
        replayStart.reset();
        started = false;
    }

    // -- netlink

    void OnNetlink() {
        std::vector<NetlinkEvent> events = netlink->Read();
        if (netlink->TakeLost()) {
            // Notifications were lost: the kernel's whole state, as events.
            std::vector<LinkInfo> now;
            std::vector<AddressInfo> addrs;
            std::string why;
            if (QueryHost(now, addrs, &why)) {
                Log(Level::Warning, "link notifications were lost; links read again");
                for (const auto &[name, old] : links) {
                    const bool still = std::any_of(now.begin(), now.end(), [&old = old](const LinkInfo &l) {
                        return l.ifIndex == old.ifIndex && l.name == old.name;
                    });
                    if (!still) events.push_back(NetlinkEvent{NetlinkEvent::Kind::LinkDel, old, {}, 0});
                }
                for (const LinkInfo &l : now) events.push_back(NetlinkEvent{NetlinkEvent::Kind::LinkNew, l, {}, 0});
            } else {
                Log(Level::Error, "link notifications were lost and the links cannot be read: " + why);
            }
        }
        bool linksChanged = false;
        for (const NetlinkEvent &e : events) {
            switch (e.kind) {
                case NetlinkEvent::Kind::LinkNew: {
                    // A renamed link leaves its old name.
                    for (auto it = links.begin(); it != links.end();) {
                        it = (it->second.ifIndex == e.link.ifIndex && it->first != e.link.name) ? links.erase(it)
                                                                                                : std::next(it);
                    }
                    links[e.link.name] = e.link;
                    linksChanged = true;
                    if (selection && !FindInterface(e.link.ifIndex) && selection->Wants(e.link)) {
                        AddInterface(InterfaceOfLink(e.link));
                        // As in the host's scenario: sent to the nearest
                        // bridge only, received from all three.
                        SetAdminStatus(e.link.ifIndex, 2, AdminStatus::RxOnly);
                        SetAdminStatus(e.link.ifIndex, 3, AdminStatus::RxOnly);
                        Log(Level::Notice, "interface " + e.link.name + " appeared: port " +
                                               std::to_string(e.link.ifIndex));
                    }
                    break;
                }
                case NetlinkEvent::Kind::LinkDel: {
                    for (auto it = links.begin(); it != links.end();) {
                        it = it->second.ifIndex == e.link.ifIndex ? links.erase(it) : std::next(it);
                    }
                    linksChanged = true;
                    if (selection) {
                        auto intf = FindInterface(e.link.ifIndex);
                        if (intf && !intf->linuxName.empty()) {
                            Log(Level::Notice, "interface " + intf->linuxName + " vanished: port " +
                                                   std::to_string(e.link.ifIndex) + " removed");
                            if (auto p = ports.find(e.link.ifIndex); p != ports.end()) ClosePort(p);
                            RemoveInterface(e.link.ifIndex);
                        }
                    }
                    break;
                }
                case NetlinkEvent::Kind::AddrNew:
                case NetlinkEvent::Kind::AddrDel:
                    Log(Level::Debug, std::string("address ") + (e.kind == NetlinkEvent::Kind::AddrNew ? "added" : "removed") +
                                          " on ifindex " + std::to_string(e.address.ifIndex) +
                                          " (management addresses follow on reload)");
                    break;
                default:
                    break;
            }
        }
        if (linksChanged) {
            SyncLinkState();
            SyncSockets(nullptr, nullptr);
        }
    }

    // -- transmission

    void OnFrame(const TxFrame &f) {
        const Mac group = AgentGroupMac(f.agent);
        auto port = ports.find(f.ifIndex);
        Mac source{};
        if (port != ports.end()) {
            if (const LinkInfo *link = LinkNamed(port->second.linuxName)) source = link->mac;
        }
        if (std::all_of(source.begin(), source.end(), [](uint8_t b) { return b == 0; })) {
            if (auto intf = FindInterface(f.ifIndex)) source = intf->mac;
        }
        if (std::all_of(source.begin(), source.end(), [](uint8_t b) { return b == 0; })) {
            source = DerivedPortMac(f.lldpdu, f.len, f.ifIndex);
        }
        const std::vector<uint8_t> frame = BuildFrame(group, source, f.lldpdu, f.len);
        if (holding && port == ports.end() && held.size() < 1024) {
            if (auto intf = FindInterface(f.ifIndex); intf && !intf->linuxName.empty()) held.emplace_back(f.ifIndex, frame);
        }
        if (port != ports.end() && port->second.socket) {
            const int err = port->second.socket->Send(frame);
            if (err != 0 && !port->second.sendErrorLogged) {
                port->second.sendErrorLogged = true;
                Log(Level::Error, PortText(f.ifIndex) + ": sending on " + port->second.linuxName + ": " +
                                      std::strerror(err) + " (further errors not logged)");
            }
        }
        if (pcapOut) pcapOut->Write(frame);
        Log(Level::Debug, PortText(f.ifIndex) + " " + AgentName(f.agent) + ": sent " + std::to_string(f.len) +
                              "-octet LLDPDU" + (f.shutdown ? " (shutdown)" : ""));
    }

    // -- captures

    bool LoadReplays(std::string *error) {
        for (const PcapInput &in : options.pcapIn) {
            uint32_t ifIndex = 0;
            const std::vector<Interface> all = Interfaces();
            if (in.port.empty()) {
                for (const Interface &i : all) {
                    if (PortClassOf(i.type) != PortClass::NotLldp) {
                        ifIndex = i.ifIndex;
                        break;
                    }
                }
            } else if (auto n = ParseUnsigned(in.port); n && FindInterface(*n)) {
                ifIndex = *n;
            } else {
                for (const Interface &i : all) {
                    if (i.name == in.port || i.linuxName == in.port) {
                        ifIndex = i.ifIndex;
                        break;
                    }
                }
            }
            if (ifIndex == 0) {
                if (error) *error = in.path + ": no port " + (in.port.empty() ? "runs LLDP" : in.port);
                return false;
            }
            std::vector<CapturedFrame> frames;
            std::string warning;
            if (!ReadCapture(in.path, frames, error, &warning)) return false;
            if (!warning.empty()) Log(Level::Warning, warning);
            size_t lldp = 0;
            const uint64_t first = frames.empty() ? 0 : frames.front().micros;
            for (CapturedFrame &f : frames) {
                const bool isLldp = f.bytes.size() >= kEthernetHeader &&
                                    ((f.bytes[12] << 8) | f.bytes[13]) == kLldpEthertype;
                if (!isLldp) continue;
                ++lldp;
                const double offset = f.micros > first ? static_cast<double>(f.micros - first) : 0.0;
                const uint64_t at =
                    options.pcapSpeed.factor > 0 ? static_cast<uint64_t>(offset / options.pcapSpeed.factor) : 0;
                replays.emplace(at, Replay{at, ifIndex, std::move(f.bytes)});
            }
            Log(Level::Notice, "replaying " + std::to_string(lldp) + " LLDP frames of " + in.path + " into " +
                                   PortText(ifIndex) + " (" + std::to_string(frames.size() - lldp) +
                                   " other frames skipped)");
        }
        return true;
    }
};

LiveSwitch::LiveSwitch(Hooks hooks) : s_(std::make_unique<State>()) { s_->hooks = std::move(hooks); }

LiveSwitch::~LiveSwitch() { s_->CloseAll(); }

LiveSwitch::StartError LiveSwitch::Start(const LiveOptions &options, std::string *error) {
    s_->CloseAll();
    s_->options = options;
    s_->selection.reset();
    if (options.interfaces) {
        s_->selection = InterfaceSelection::Parse(*options.interfaces, error);
        if (!s_->selection) return StartError::Refused;
    }
    if (options.pcapOut) {
        s_->pcapOut = PcapWriter::Open(*options.pcapOut, error);
        if (!s_->pcapOut) return StartError::Io;
    }
    // The sinks are in place before the switch loads: loading may send.
    s_->AddSinks();
    s_->holding = true;
    std::vector<LinkInfo> hostLinks;
    if (!s_->Load(error, &hostLinks)) {
        s_->CloseAll();
        return StartError::Refused;
    }
    if (!s_->FollowKernel(s_->selection ? &hostLinks : nullptr, error)) {
        s_->CloseAll();
        return StartError::Io;
    }
    s_->SyncLinkState();
    bool permission = false;
    if (!s_->SyncSockets(error, &permission) && permission) {
        s_->CloseAll();
        return StartError::NoPermission;
    }
    s_->SendHeld();
    if (!s_->LoadReplays(error)) {
        // The switch is not at fault, the capture is: the message names it.
        s_->CloseAll();
        return StartError::Io;
    }
    s_->started = true;
    return StartError::None;
}

bool LiveSwitch::Reload(std::string *error) {
    if (!s_->started) {
        if (error) *error = "not started";
        return false;
    }
    std::vector<LinkInfo> hostLinks;
    s_->holding = true;
    if (!s_->Load(error, &hostLinks)) {
        s_->holding = false;
        s_->held.clear();
        return false;
    }
    std::string why;
    if (!s_->FollowKernel(s_->selection ? &hostLinks : nullptr, &why)) {
        s_->Log(Level::Error, "after reload: " + why);
    }
    s_->SyncLinkState();
    if (!s_->SyncSockets(&why, nullptr)) s_->Log(Level::Error, "after reload: " + why);
    s_->SendHeld();
    return true;
}

void LiveSwitch::Shutdown() {
    if (s_->started) ShutdownAll();
    s_->CloseAll();
}

void LiveSwitch::OnReadable(int fd) {
    if (s_->netlink && fd == s_->netlink->fd()) {
        s_->OnNetlink();
        return;
    }
    // Bounded: a flood on one port cannot starve the rest of the loop.
    for (int i = 0; i < 64; ++i) {
        auto it = s_->portByFd.find(fd);
        if (it == s_->portByFd.end()) return;
        const uint32_t ifIndex = it->second;
        State::Port &port = s_->ports.at(ifIndex);
        int err = 0;
        std::optional<std::vector<uint8_t>> frame = port.socket->Receive(&err);
        if (!frame) {
            if (err != 0 && !port.receiveErrorLogged) {
                port.receiveErrorLogged = true;
                s_->Log(Level::Error, PortText(ifIndex) + ": receiving on " + port.linuxName + ": " +
                                          std::strerror(err) + " (further errors not logged)");
            }
            return;
        }
        ReceiveFrame(ifIndex, *frame);
    }
}

std::optional<uint64_t> LiveSwitch::NextReplayMicros() {
    if (s_->replays.empty()) return std::nullopt;
    if (!s_->replayStart) s_->replayStart = s_->Micros();
    return *s_->replayStart + s_->replays.begin()->first;
}

void LiveSwitch::RunDue() {
    if (s_->replays.empty()) return;
    const uint64_t now = s_->Micros();
    if (!s_->replayStart) s_->replayStart = now;
    while (!s_->replays.empty() && *s_->replayStart + s_->replays.begin()->first <= now) {
        State::Replay r = std::move(s_->replays.begin()->second);
        s_->replays.erase(s_->replays.begin());
        ReceiveFrame(r.ifIndex, r.frame);
    }
}

std::optional<ReceiveOutcome> LiveSwitch::ReceiveFrame(uint32_t ifIndex, const std::vector<uint8_t> &frame) {
    const bool isLldp = frame.size() >= kEthernetHeader && ((frame[12] << 8) | frame[13]) == kLldpEthertype;
    if (!isLldp) return std::nullopt;
    if (s_->pcapOut) s_->pcapOut->Write(frame);
    std::optional<ParsedFrame> parsed = ParseFrame(frame.data(), frame.size());
    if (!parsed) {
        s_->Log(Level::Debug, PortText(ifIndex) + ": LLDP frame to an address of no agent ignored");
        return std::nullopt;
    }
    const ReceiveResult r = Receive(ifIndex, parsed->agent, parsed->lldpdu);
    s_->Log(Level::Debug, PortText(ifIndex) + " " + AgentName(parsed->agent) + ": received " +
                              std::to_string(parsed->lldpdu.size()) + " octets from " + FormatMac(parsed->source) +
                              ": " + ReceiveOutcomeName(r.outcome));
    return r.outcome;
}

std::set<uint32_t> LiveSwitch::SocketPorts() const {
    std::set<uint32_t> out;
    for (const auto &[ifIndex, port] : s_->ports) out.insert(ifIndex);
    return out;
}

bool LiveSwitch::HostMode() const { return s_->selection.has_value(); }

std::string LiveSwitch::Describe(const LldpEvent &e) {
    std::ostringstream o;
    o << (e.kind == LldpEvent::Kind::Discarded ? "frame " : "neighbour ") << LldpEventKindName(e.kind) << " on "
      << PortText(e.ifIndex) << " " << AgentName(e.agent);
    if (e.remIndex != 0) o << " index " << e.remIndex;
    if (!e.chassisId.empty() || !e.portId.empty()) o << ": chassis " << e.chassisId << " port " << e.portId;
    if (!e.reason.empty()) o << ": " << e.reason;
    return o.str();
}

}  // namespace lldpv2host::live
